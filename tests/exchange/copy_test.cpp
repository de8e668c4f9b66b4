// Copy in all its forms and every element type: plain, AC4, mixed layouts,
// channel of interest, planar, masked, and CopyManaged. Results are compared
// bit for bit with the element moves written out from their definitions; the
// guard band, the destination alpha and the channels beside a channel of
// interest must keep their bytes. Copy tests pointers and size only: any step
// (zero, negative) is accepted.
#include <gtest/gtest.h>
#include <ovk/ovkimx.h>

#include <cstring>
#include <span>
#include <vector>

#include "move_checks.hpp"

namespace {

using namespace ovktest;
using namespace ovktest::moves;

template <class T>
using CopyFn = OvkStatus (*)(const T*, int, T*, int, OvkiSize);
template <class T>
using MaskedFn = OvkStatus (*)(const T*, int, T*, int, OvkiSize, const Ovk8u*, int);
template <class T>
using ToPlanesFn = OvkStatus (*)(const T*, int, T* const*, int, OvkiSize);
template <class T>
using FromPlanesFn = OvkStatus (*)(const T* const*, int, T*, int, OvkiSize);

const int kFewWidths[] = {1, 9, 33};

// The element moves of a one-source copy: `count` channels of every pixel go
// from an image of srcStride channels into one of dstStride channels. A side
// that is a channel of interest has its pointer offset to the channel, and
// every offset is tried.
struct Move {
    int srcStride, dstStride, count;
    bool srcChannel, dstChannel;
};

constexpr Move kPlainC1{1, 1, 1, false, false}, kPlainC3{3, 3, 3, false, false}, kPlainC4{4, 4, 4, false, false};
constexpr Move kAC4{4, 4, 3, false, false}, kAC4C3{4, 3, 3, false, false}, kC3AC4{3, 4, 3, false, false};
constexpr Move kC3C1{3, 1, 1, true, false}, kC4C1{4, 1, 1, true, false};
constexpr Move kC1C3{1, 3, 1, false, true}, kC1C4{1, 4, 1, false, true};
constexpr Move kC3CR{3, 3, 1, true, true}, kC4CR{4, 4, 1, true, true};

enum class Rows { TopDown, BottomUpSource, OneRowZeroSteps };

template <class T>
void runMove(CopyFn<T> fn, const Move& m, int w, int h, int ks, int kd, Rows rows, unsigned seed)
{
    SCOPED_TRACE(::testing::Message() << w << "x" << h << ", source channel " << ks << ", destination channel " << kd);
    GuardedImage<T> src(w, h, m.srcStride, 3), dst(w, h, m.dstStride, 6);
    fillPattern(src, seed);
    fillPattern(dst, seed ^ 0x5A5Au);
    const bool flip = rows == Rows::BottomUpSource;
    GuardedImage<T> want = dst;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            for (int c = 0; c < m.count; ++c) want.set(x, y, kd + c, src.get(x, flip ? h - 1 - y : y, ks + c));

    const T* s = elementAt(src, 0, flip ? h - 1 : 0, ks);
    int srcStep = flip ? -src.step() : src.step(), dstStep = dst.step();
    if (rows == Rows::OneRowZeroSteps) srcStep = dstStep = 0;
    ASSERT_EQ(fn(s, srcStep, elementAt(dst, 0, 0, kd), dstStep, {w, h}), ovkStatusOk);
    EXPECT_TRUE(src.unchanged());
    EXPECT_TRUE(dst.outsideRoiUnchanged());
    EXPECT_TRUE(roiEqual(dst, want, m.dstStride));
}

template <class T>
void checkMove(CopyFn<T> fn, const Move& m, unsigned seed)
{
    const int srcOffsets = m.srcChannel ? m.srcStride : 1, dstOffsets = m.dstChannel ? m.dstStride : 1;
    for (int ks = 0; ks < srcOffsets; ++ks)
        for (int kd = 0; kd < dstOffsets; ++kd) {
            const bool first = ks == 0 && kd == 0;
            for (int w : first ? std::span<const int>(kSweepWidths) : std::span<const int>(kFewWidths))
                runMove(fn, m, w, 3, ks, kd, Rows::TopDown, seed++);
        }
    runMove(fn, m, 9, 4, srcOffsets - 1, dstOffsets - 1, Rows::BottomUpSource, seed++);
    runMove(fn, m, 13, 1, 0, dstOffsets - 1, Rows::OneRowZeroSteps, seed++);

    GuardedImage<T> src(4, 3, m.srcStride), dst(4, 3, m.dstStride, 2);
    fillPattern(src, seed++);
    fillPattern(dst, seed++);
    expectCheckOrder({2, 2, 0, {pointersCheck({0, 1}), sizeCheck()}}, [&](const Faults& f) {
        return fn(f.ptr(0, src.roi()), f.step(0, src.step()), f.ptr(1, dst.roi()), f.step(1, dst.step()),
                  f.roi(src.size()));
    }, src, dst);
}

// Source and destination rows in one buffer, a few elements apart either way
// (and a row step apart, less a few elements), the destination step equal to
// the source's or a little larger: the result is that of moving the elements
// one at a time, row after row, first to last.
template <class T>
void checkOverlappingRows(CopyFn<T> fn)
{
    const int rows = 3, stride = 48;
    std::vector<int> shifts;
    for (int s = -9; s <= 9; ++s) shifts.push_back(s);
    for (int s : {stride - 3, stride - 1, 1 - stride, 3 - stride}) shifts.push_back(s);
    for (int extra : {0, 3})
        for (int w : {1, 2, 5, 16, 37})
            for (int shift : shifts) {
                SCOPED_TRACE(::testing::Message() << "width " << w << ", destination " << shift
                                                  << " elements after the source, step +" << extra);
                const int dstStride = stride + extra;
                std::vector<T> buf(std::size_t(6 * stride + 64));
                for (std::size_t i = 0; i < buf.size(); ++i) buf[i] = static_cast<T>((i * 5 + 1) % 251);
                const std::size_t srcAt = std::size_t(stride) + 8, dstAt = srcAt + shift;
                std::vector<T> want = buf;
                for (int y = 0; y < rows; ++y)
                    for (int x = 0; x < w; ++x) want[dstAt + std::size_t(y * dstStride + x)] = want[srcAt + std::size_t(y * stride + x)];
                ASSERT_EQ(fn(buf.data() + srcAt, stride * int(sizeof(T)), buf.data() + dstAt, dstStride * int(sizeof(T)),
                             {w, rows}),
                          ovkStatusOk);
                for (std::size_t i = 0; i < buf.size(); ++i)
                    if (std::memcmp(&buf[i], &want[i], sizeof(T)) != 0) {
                        ADD_FAILURE() << "element " << i << " (destination starts at " << dstAt << "): got "
                                      << describe(buf[i]) << ", expected " << describe(want[i]);
                        break;
                    }
            }
}

// Planar: plane c of the destination is channel c of the source, and copying
// the planes back gives the source again.
template <class T, int N>
void checkPlanar(ToPlanesFn<T> to, FromPlanesFn<T> from, unsigned seed)
{
    auto run = [&](int w, int h, bool zeroSteps) {
        SCOPED_TRACE(::testing::Message() << w << "x" << h << (zeroSteps ? ", zero steps" : ""));
        GuardedImage<T> src(w, h, N, 3), back(w, h, N, 5);
        std::vector<GuardedImage<T>> planes;
        for (int c = 0; c < N; ++c) planes.emplace_back(w, h, 1, 4);  // equal shapes: one step for all planes
        fillPattern(src, seed++);
        fillPattern(back, seed++);
        T* p[N];
        const T* q[N];
        for (int c = 0; c < N; ++c) {
            fillPattern(planes[c], seed++);
            p[c] = planes[c].roi();
            q[c] = p[c];
        }
        const int srcStep = zeroSteps ? 0 : src.step(), planeStep = zeroSteps ? 0 : planes[0].step(),
                  backStep = zeroSteps ? 0 : back.step();

        ASSERT_EQ(to(src.roi(), srcStep, p, planeStep, {w, h}), ovkStatusOk);
        EXPECT_TRUE(src.unchanged());
        for (int c = 0; c < N; ++c) {
            SCOPED_TRACE(::testing::Message() << "plane " << c);
            EXPECT_TRUE(planes[c].outsideRoiUnchanged());
            GuardedImage<T> want = planes[c];
            want.fill([&](int x, int y, int) { return src.get(x, y, c); });
            EXPECT_TRUE(roiEqual(planes[c], want, 1));
            planes[c].snapshot();
        }

        ASSERT_EQ(from(q, planeStep, back.roi(), backStep, {w, h}), ovkStatusOk);
        for (int c = 0; c < N; ++c) EXPECT_TRUE(planes[c].unchanged());
        EXPECT_TRUE(back.outsideRoiUnchanged());
        EXPECT_TRUE(roiEqual(back, src, N));
    };
    forEachWidth([&](int w) { run(w, 3, false); });
    run(10, 1, true);

    GuardedImage<T> src(4, 3, N), back(4, 3, N, 2);
    std::vector<GuardedImage<T>> planes;
    for (int c = 0; c < N; ++c) planes.emplace_back(4, 3, 1, 4);
    fillPattern(src, seed++);
    fillPattern(back, seed++);
    for (auto& pl : planes) fillPattern(pl, seed++);
    const CheckPlan toPlan{N + 2, 2, 0, {pointersCheck({0, 1, 2, 3, 4, 5}), sizeCheck()}};
    {
        SCOPED_TRACE("to planes");
        expectCheckOrder(toPlan, [&](const Faults& f) {
            T* p[N];
            for (int c = 0; c < N; ++c) p[c] = f.ptr(2 + c, planes[c].roi());
            return to(f.ptr(0, src.roi()), f.step(0, src.step()), f.ptr(1, static_cast<T**>(p)), f.step(1, planes[0].step()),
                      f.roi(src.size()));
        }, src, planes[0], planes[1], planes[N - 1]);
    }
    SCOPED_TRACE("from planes");
    expectCheckOrder(toPlan, [&](const Faults& f) {
        const T* q[N];
        for (int c = 0; c < N; ++c) q[c] = f.ptr(1 + c, static_cast<const T*>(planes[c].roi()));
        return from(f.ptr(0, static_cast<const T**>(q)), f.step(0, planes[0].step()), f.ptr(N + 1, back.roi()),
                    f.step(1, back.step()), f.roi(src.size()));
    }, back, planes[0], planes[1], planes[N - 1]);
}

// Masked: the processed channels of pixels whose mask byte is non-zero.
template <class T, class L>
void checkMaskedCopy(MaskedFn<T> fn, unsigned seed)
{
    auto run = [&](int w, int h, bool zeroSteps) {
        SCOPED_TRACE(::testing::Message() << w << "x" << h << (zeroSteps ? ", zero steps" : ""));
        GuardedImage<T> src(w, h, L::stored, 3), dst(w, h, L::stored, 6);
        GuardedImage<Ovk8u> mask(w, h, 1, 5);
        fillPattern(src, seed++);
        fillPattern(dst, seed++);
        fillMask(mask, seed++);
        GuardedImage<T> want = dst;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                if (mask.get(x, y, 0) != 0)
                    for (int c = 0; c < L::processed; ++c) want.set(x, y, c, src.get(x, y, c));
        const int z = zeroSteps ? 0 : 1;
        ASSERT_EQ(fn(src.roi(), z * src.step(), dst.roi(), z * dst.step(), {w, h}, mask.roi(), z * mask.step()),
                  ovkStatusOk);
        EXPECT_TRUE(src.unchanged());
        EXPECT_TRUE(mask.unchanged());
        EXPECT_TRUE(dst.outsideRoiUnchanged());
        EXPECT_TRUE(roiEqual(dst, want, L::stored));
    };
    forEachWidth([&](int w) { run(w, 3, false); });
    run(12, 1, true);

    GuardedImage<T> src(4, 3, L::stored), dst(4, 3, L::stored, 2);
    GuardedImage<Ovk8u> mask(4, 3, 1, 3);
    fillPattern(src, seed++);
    fillPattern(dst, seed++);
    fillMask(mask, seed++);
    expectCheckOrder({3, 3, 0, {pointersCheck({0, 1, 2}), sizeCheck()}}, [&](const Faults& f) {
        return fn(f.ptr(0, src.roi()), f.step(0, src.step()), f.ptr(1, dst.roi()), f.step(1, dst.step()),
                  f.roi(src.size()), f.ptr(2, mask.roi()), f.step(2, mask.step()));
    }, src, dst, mask);
}

// CopyManaged with either hint is Copy.
OvkStatus managedTemporal(const Ovk8u* s, int ss, Ovk8u* d, int ds, OvkiSize r)
{
    return ovkiCopyManaged_8u_C1R(s, ss, d, ds, r, OVK_COPY_TEMPORAL);
}
OvkStatus managedNonTemporal(const Ovk8u* s, int ss, Ovk8u* d, int ds, OvkiSize r)
{
    return ovkiCopyManaged_8u_C1R(s, ss, d, ds, r, OVK_COPY_NONTEMPORAL);
}

#define OVK_COPY_CASE(form, move, t)                                                                         \
    FunctionCase{"Copy_" #t "_" #form,                                                                       \
                 [] { checkMove<Ovk##t>(ovkiCopy_##t##_##form, move, seedOf("Copy_" #t "_" #form)); },       \
                 {anyFunction(ovkiCopy_##t##_##form)}}
#define OVK_OVERLAP_CASE(t) \
    FunctionCase{"CopyOverlap_" #t, [] { checkOverlappingRows<Ovk##t>(ovkiCopy_##t##_C1R); }, {anyFunction(ovkiCopy_##t##_C1R)}}
#define OVK_PLANAR_CASE(n, t)                                                                                  \
    FunctionCase{"CopyPlanar_" #t "_" #n,                                                                      \
                 [] {                                                                                          \
                     checkPlanar<Ovk##t, n>(ovkiCopy_##t##_C##n##P##n##R, ovkiCopy_##t##_P##n##C##n##R,          \
                                            seedOf("CopyPlanar_" #t #n));                                      \
                 },                                                                                            \
                 {anyFunction(ovkiCopy_##t##_C##n##P##n##R), anyFunction(ovkiCopy_##t##_P##n##C##n##R)}}
#define OVK_MASKED_CASE(l, t)                                                                                      \
    FunctionCase{"CopyMasked_" #t "_" #l,                                                                          \
                 [] { checkMaskedCopy<Ovk##t, ovk::l>(ovkiCopy_##t##_##l##MR, seedOf("CopyMasked_" #t #l)); }, \
                 {anyFunction(ovkiCopy_##t##_##l##MR)}}

std::vector<FunctionCase> copyCases()
{
    return {
        OVK_MOVE_TYPES(OVK_COPY_CASE, C1R, kPlainC1),
        OVK_MOVE_TYPES(OVK_COPY_CASE, C3R, kPlainC3),
        OVK_MOVE_TYPES(OVK_COPY_CASE, C4R, kPlainC4),
        OVK_MOVE_TYPES(OVK_COPY_CASE, AC4R, kAC4),
        OVK_MOVE_TYPES(OVK_COPY_CASE, AC4C3R, kAC4C3),
        OVK_MOVE_TYPES(OVK_COPY_CASE, C3AC4R, kC3AC4),
        OVK_MOVE_TYPES(OVK_COPY_CASE, C3C1R, kC3C1),
        OVK_MOVE_TYPES(OVK_COPY_CASE, C4C1R, kC4C1),
        OVK_MOVE_TYPES(OVK_COPY_CASE, C1C3R, kC1C3),
        OVK_MOVE_TYPES(OVK_COPY_CASE, C1C4R, kC1C4),
        OVK_MOVE_TYPES(OVK_COPY_CASE, C3CR, kC3CR),
        OVK_MOVE_TYPES(OVK_COPY_CASE, C4CR, kC4CR),
        OVK_MOVE_TYPES(OVK_OVERLAP_CASE),
        OVK_MOVE_TYPES(OVK_PLANAR_CASE, 3),
        OVK_MOVE_TYPES(OVK_PLANAR_CASE, 4),
        OVK_MOVE_TYPES(OVK_MASKED_CASE, C1),
        OVK_MOVE_TYPES(OVK_MASKED_CASE, C3),
        OVK_MOVE_TYPES(OVK_MASKED_CASE, C4),
        OVK_MOVE_TYPES(OVK_MASKED_CASE, AC4),
        FunctionCase{"CopyManaged_8u_Temporal", [] { checkMove<Ovk8u>(managedTemporal, kPlainC1, 17); },
                     {anyFunction(ovkiCopyManaged_8u_C1R)}},
        FunctionCase{"CopyManaged_8u_NonTemporal",
                     [] {
                         checkMove<Ovk8u>(managedNonTemporal, kPlainC1, 18);
                         checkOverlappingRows<Ovk8u>(managedNonTemporal);
                     },
                     {anyFunction(ovkiCopyManaged_8u_C1R)}},
    };
}

class CopyMember : public ::testing::TestWithParam<FunctionCase> {};

TEST_P(CopyMember, MovesEveryElementByDefinition) { GetParam().run(); }

INSTANTIATE_TEST_SUITE_P(Copy, CopyMember, ::testing::ValuesIn(copyCases()), caseName);

TEST(CopyCoverage, EveryMemberIsCalled)
{
    // 5 types x (4 plain + 8 mixed + 4 planar + 4 masked), and CopyManaged.
    EXPECT_EQ(distinctFunctions(copyCases()), 5u * 20u + 1u);
}

}  // namespace
