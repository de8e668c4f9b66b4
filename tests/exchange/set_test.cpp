// Set in all its forms (every layout, one channel of interest, masked) and
// Dup, every element type. Values are raw bit patterns (NaN payloads
// included) that must land unchanged; the guard band, AC4 alpha and the
// channels beside a channel of interest keep their bytes. Set tests pointers
// and size only: any step is accepted.
#include <gtest/gtest.h>
#include <ovk/ovkimx.h>

#include <functional>
#include <span>
#include <vector>

#include "move_checks.hpp"

namespace {

using namespace ovktest;
using namespace ovktest::moves;

// Every Set form seen through one call: values, destination, its step, size,
// mask and its step (the unmasked forms ignore the mask, the scalar forms
// take values[0]).
template <class T>
struct FillForm {
    std::function<OvkStatus(const T*, T*, int, OvkiSize, const Ovk8u*, int)> call;
    int stored;              // channels per destination pixel
    int processed;           // channels written from the pointer on
    bool channelOfInterest;  // the pointer is offset to each channel in turn
    bool valueArray;         // the values are passed by pointer
    bool masked;
};

template <class T>
FillForm<T> form(OvkStatus (*f)(T, T*, int, OvkiSize), int stored, bool channelOfInterest)
{
    return {[f](const T* v, T* d, int s, OvkiSize r, const Ovk8u*, int) { return f(*v, d, s, r); }, stored, 1,
            channelOfInterest, false, false};
}
template <class T>
FillForm<T> form(OvkStatus (*f)(const T*, T*, int, OvkiSize), int stored, int processed)
{
    return {[f](const T* v, T* d, int s, OvkiSize r, const Ovk8u*, int) { return f(v, d, s, r); }, stored, processed,
            false, true, false};
}
template <class T>
FillForm<T> form(OvkStatus (*f)(T, T*, int, OvkiSize, const Ovk8u*, int))
{
    return {[f](const T* v, T* d, int s, OvkiSize r, const Ovk8u* m, int ms) { return f(*v, d, s, r, m, ms); }, 1, 1,
            false, false, true};
}
template <class T>
FillForm<T> form(OvkStatus (*f)(const T*, T*, int, OvkiSize, const Ovk8u*, int), int stored, int processed)
{
    return {f, stored, processed, false, true, true};
}

enum class Rows { TopDown, BottomUp, OneRowZeroSteps };

template <class T>
void runFill(const FillForm<T>& f, int w, int h, int k, Rows rows, unsigned seed)
{
    SCOPED_TRACE(::testing::Message() << w << "x" << h << ", channel " << k);
    GuardedImage<T> dst(w, h, f.stored, 6);
    GuardedImage<Ovk8u> mask(w, h, 1, 5);
    fillPattern(dst, seed);
    fillMask(mask, seed + 1);
    const std::vector<T> values = patternValues<T>(f.processed, seed + 2);  // exactly as many as are read
    GuardedImage<T> want = dst;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            if (!f.masked || mask.get(x, y, 0) != 0)
                for (int c = 0; c < f.processed; ++c) want.set(x, y, k + c, values[c]);

    // Bottom up, the destination and the mask are both passed from their last row.
    const int first = rows == Rows::BottomUp ? h - 1 : 0, sign = rows == Rows::BottomUp ? -1 : 1,
              zero = rows == Rows::OneRowZeroSteps ? 0 : 1;
    ASSERT_EQ(f.call(values.data(), elementAt(dst, 0, first, k), sign * zero * dst.step(), {w, h},
                     elementAt(mask, 0, first), sign * zero * mask.step()),
              ovkStatusOk);
    EXPECT_TRUE(mask.unchanged());
    EXPECT_TRUE(dst.outsideRoiUnchanged());
    EXPECT_TRUE(roiEqual(dst, want, f.stored));
}

template <class T>
void checkFill(const FillForm<T>& f, unsigned seed)
{
    const int offsets = f.channelOfInterest ? f.stored : 1;
    const int fewWidths[] = {1, 9, 33};
    std::vector<int> widths(std::begin(kSweepWidths), std::end(kSweepWidths));
    widths.insert(widths.end(), {200, 257});  // rows longer than any internal block of repeated values
    for (int k = 0; k < offsets; ++k)
        for (int w : k == 0 ? std::span<const int>(widths) : std::span<const int>(fewWidths))
            runFill(f, w, 3, k, Rows::TopDown, seed += 3);
    runFill(f, 10, 4, offsets - 1, Rows::BottomUp, seed += 3);
    runFill(f, 11, 1, 0, Rows::OneRowZeroSteps, seed += 3);

    GuardedImage<T> dst(4, 3, f.stored, 2);
    GuardedImage<Ovk8u> mask(4, 3, 1, 3);
    fillPattern(dst, seed + 1);
    fillMask(mask, seed + 2);
    const std::vector<T> values = patternValues<T>(f.processed, seed + 3);
    int pointers = 1;
    const int maskIndex = f.masked ? pointers++ : -1, valueIndex = f.valueArray ? pointers++ : -1;
    expectCheckOrder({pointers, 2, 0, {pointersCheck({0, 1, 2}), sizeCheck()}}, [&](const Faults& e) {
        auto ptr = [&](int i, auto* p) { return i < 0 ? p : e.ptr(i, p); };
        return f.call(ptr(valueIndex, values.data()), e.ptr(0, dst.roi()), e.step(0, dst.step()), e.roi(dst.size()),
                      ptr(maskIndex, static_cast<const Ovk8u*>(mask.roi())), e.step(1, mask.step()));
    }, dst, mask);
}

// Dup: every channel of the destination pixel is the grey value.
template <int N>
void checkDup(OvkStatus (*fn)(const Ovk8u*, int, Ovk8u*, int, OvkiSize), unsigned seed)
{
    auto run = [&](int w, int h, bool zeroSteps) {
        SCOPED_TRACE(::testing::Message() << w << "x" << h);
        GuardedImage<Ovk8u> src(w, h, 1, 3), dst(w, h, N, 4);
        fillPattern(src, seed++);
        fillPattern(dst, seed++);
        GuardedImage<Ovk8u> want = dst;
        want.fill([&](int x, int y, int) { return src.get(x, y, 0); });
        const int z = zeroSteps ? 0 : 1;
        ASSERT_EQ(fn(src.roi(), z * src.step(), dst.roi(), z * dst.step(), {w, h}), ovkStatusOk);
        EXPECT_TRUE(src.unchanged());
        EXPECT_TRUE(dst.outsideRoiUnchanged());
        EXPECT_TRUE(roiEqual(dst, want, N));
    };
    forEachWidth([&](int w) { run(w, 3, false); });
    run(7, 1, true);

    GuardedImage<Ovk8u> src(4, 3, 1), dst(4, 3, N, 2);
    fillPattern(src, seed++);
    fillPattern(dst, seed++);
    expectCheckOrder({2, 2, 0, {pointersCheck({0, 1}), sizeCheck()}}, [&](const Faults& f) {
        return fn(f.ptr(0, src.roi()), f.step(0, src.step()), f.ptr(1, dst.roi()), f.step(1, dst.step()),
                  f.roi(src.size()));
    }, src, dst);
}

std::vector<FunctionCase> setCases()
{
#define OVK_SET(l, stored, processed, t)                                                                   \
    FunctionCase{"Set_" #t "_" #l,                                                                        \
                 [] { checkFill<Ovk##t>(form<Ovk##t>(ovkiSet_##t##_##l##R, stored, processed), seedOf("Set" #t #l)); }, \
                 {anyFunction(ovkiSet_##t##_##l##R)}}
#define OVK_SET_C1(t)                                                                                     \
    FunctionCase{"Set_" #t "_C1", [] { checkFill<Ovk##t>(form<Ovk##t>(ovkiSet_##t##_C1R, 1, false), seedOf("Set" #t)); }, \
                 {anyFunction(ovkiSet_##t##_C1R)}}
#define OVK_SET_CR(n, t)                                                                                  \
    FunctionCase{"Set_" #t "_C" #n "CR",                                                                   \
                 [] { checkFill<Ovk##t>(form<Ovk##t>(ovkiSet_##t##_C##n##CR, n, true), seedOf("SetCR" #t #n)); }, \
                 {anyFunction(ovkiSet_##t##_C##n##CR)}}
#define OVK_SET_M(l, stored, processed, t)                                                                 \
    FunctionCase{"SetMasked_" #t "_" #l,                                                                   \
                 [] {                                                                                      \
                     checkFill<Ovk##t>(form<Ovk##t>(ovkiSet_##t##_##l##MR, stored, processed),              \
                                       seedOf("SetMasked" #t #l));                                        \
                 },                                                                                        \
                 {anyFunction(ovkiSet_##t##_##l##MR)}}
#define OVK_SET_C1M(t)                                                                                     \
    FunctionCase{"SetMasked_" #t "_C1", [] { checkFill<Ovk##t>(form<Ovk##t>(ovkiSet_##t##_C1MR), seedOf("SetM" #t)); }, \
                 {anyFunction(ovkiSet_##t##_C1MR)}}
    return {
        OVK_MOVE_TYPES(OVK_SET_C1),
        OVK_MOVE_TYPES(OVK_SET, C3, 3, 3),
        OVK_MOVE_TYPES(OVK_SET, C4, 4, 4),
        OVK_MOVE_TYPES(OVK_SET, AC4, 4, 3),
        OVK_MOVE_TYPES(OVK_SET_CR, 3),
        OVK_MOVE_TYPES(OVK_SET_CR, 4),
        OVK_MOVE_TYPES(OVK_SET_C1M),
        OVK_MOVE_TYPES(OVK_SET_M, C3, 3, 3),
        OVK_MOVE_TYPES(OVK_SET_M, C4, 4, 4),
        OVK_MOVE_TYPES(OVK_SET_M, AC4, 4, 3),
        FunctionCase{"Dup_8u_C1C3", [] { checkDup<3>(ovkiDup_8u_C1C3R, 3); }, {anyFunction(ovkiDup_8u_C1C3R)}},
        FunctionCase{"Dup_8u_C1C4", [] { checkDup<4>(ovkiDup_8u_C1C4R, 4); }, {anyFunction(ovkiDup_8u_C1C4R)}},
    };
}

class SetMember : public ::testing::TestWithParam<FunctionCase> {};

TEST_P(SetMember, WritesTheValuesByDefinition) { GetParam().run(); }

INSTANTIATE_TEST_SUITE_P(Set, SetMember, ::testing::ValuesIn(setCases()), caseName);

TEST(SetCoverage, EveryMemberIsCalled)
{
    // 5 types x (4 layouts + 2 channel-of-interest + 4 masked), and Dup C1C3, C1C4.
    EXPECT_EQ(distinctFunctions(setCases()), 5u * 10u + 2u);
}

}  // namespace
