// Border extension copies: every replicate, constant and wrap member, out of
// place and in place, against the definitions written pixel by pixel
// (replicate clamps the source coordinates, wrap takes their non-negative
// remainders, constant fills everything outside the source), over frames of
// every shape, with the write discipline and the argument checks.
#include <gtest/gtest.h>
#include <ovk/ovkimx.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "frame/layout.hpp"
#include "support/guarded_image.hpp"
#include "support/sweep.hpp"

namespace {

using namespace ovktest;

// Source size, destination size and the top and left frames; the bottom and
// right frames are what the destination leaves.
struct Geometry {
    int srcW, srcH, dstW, dstH, top, left;
    OvkiSize src() const { return {srcW, srcH}; }
    OvkiSize dst() const { return {dstW, dstH}; }
};

std::ostream& operator<<(std::ostream& os, const Geometry& g)
{
    return os << "src " << g.srcW << "x" << g.srcH << " dst " << g.dstW << "x" << g.dstH << " top " << g.top
              << " left " << g.left << " bottom " << g.dstH - g.srcH - g.top << " right " << g.dstW - g.srcW - g.left;
}

const Geometry kGeometries[] = {
    {1, 1, 1, 1, 0, 0},     // one pixel, no frame
    {5, 3, 5, 3, 0, 0},     // no frame: a plain copy
    {1, 1, 4, 5, 2, 1},     // one source pixel, four frames
    {6, 4, 11, 9, 2, 3},    // four frames
    {6, 4, 9, 6, 2, 3},     // right and bottom frames 0
    {6, 4, 8, 7, 0, 0},     // only right and bottom frames
    {3, 2, 14, 9, 4, 5},    // every frame wider or taller than the source
    {1, 3, 9, 3, 0, 8},     // one column, left frame only
    {2, 1, 3, 8, 7, 0},     // one row, top frame only
    {33, 2, 40, 5, 1, 2},   // a row longer than a vector
};

// A valid geometry for the argument checks.
constexpr Geometry kCheckGeometry{4, 3, 9, 7, 2, 3};

int clampTo(int v, int lo, int hi) { return std::min(std::max(v, lo), hi); }
int wrapTo(int v, int n) { return ((v % n) + n) % n; }

// Every element of the buffer, guard band included, gets random bits: for 32f
// that includes NaN payloads and subnormals, which must be moved unchanged.
template <class T>
void randomBits(GuardedImage<T>& img, unsigned seed)
{
    img.scramble(seed);
}

template <class T>
std::vector<T> randomBitValues(int n, unsigned seed)
{
    std::mt19937 rng(seed);
    std::vector<T> v(static_cast<std::size_t>(n));
    for (auto& e : v) {
        unsigned char bytes[sizeof(T)];
        for (auto& b : bytes) b = static_cast<unsigned char>(rng() >> 24);
        std::memcpy(&e, bytes, sizeof(T));
    }
    return v;
}

// The uniform face of a border member: out of place, with the constant (if
// any) already bound.
template <class T>
using BorderCall = std::function<OvkStatus(const T*, int, OvkiSize, T*, int, OvkiSize, int, int)>;
template <class T>
using BorderInPlaceCall = std::function<OvkStatus(const T*, int, OvkiSize, OvkiSize, int, int)>;
// The expected destination element from the source image and source
// coordinates that may lie outside it.
template <class T>
using BorderRule = std::function<T(const GuardedImage<T>& src, int sx, int sy, int c)>;

template <class T>
BorderRule<T> replicateRule()
{
    return [](const GuardedImage<T>& s, int sx, int sy, int c) {
        return s.get(clampTo(sx, 0, s.size().width - 1), clampTo(sy, 0, s.size().height - 1), c);
    };
}

template <class T>
BorderRule<T> wrapRule()
{
    return [](const GuardedImage<T>& s, int sx, int sy, int c) {
        return s.get(wrapTo(sx, s.size().width), wrapTo(sy, s.size().height), c);
    };
}

template <class T>
BorderRule<T> constRule(std::vector<T> value)
{
    return [value](const GuardedImage<T>& s, int sx, int sy, int c) {
        const bool inside = sx >= 0 && sy >= 0 && sx < s.size().width && sy < s.size().height;
        return inside ? s.get(sx, sy, c) : value[std::size_t(c)];
    };
}

// Compares the processed channels of the destination with the rule.
template <class T, class L>
::testing::AssertionResult matchesRule(const GuardedImage<T>& dst, const GuardedImage<T>& src, const Geometry& g,
                                       const BorderRule<T>& rule)
{
    for (int y = 0; y < g.dstH; ++y)
        for (int x = 0; x < g.dstW; ++x)
            for (int c = 0; c < L::processed; ++c) {
                const T want = rule(src, x - g.left, y - g.top, c);
                if (!sameElement(dst.get(x, y, c), want))
                    return ::testing::AssertionFailure() << "at x=" << x << " y=" << y << " channel " << c << ": got "
                                                         << describe(dst.get(x, y, c)) << ", expected "
                                                         << describe(want);
            }
    return ::testing::AssertionSuccess();
}

template <class T, class L>
void outOfPlaceValues(const BorderCall<T>& call, const BorderRule<T>& rule, const Geometry& g, unsigned seed)
{
    SCOPED_TRACE(::testing::Message() << g);
    GuardedImage<T> src(g.srcW, g.srcH, L::stored), dst(g.dstW, g.dstH, L::stored);
    randomBits(src, seed);
    randomBits(dst, seed + 1);
    ASSERT_EQ(call(src.roi(), src.step(), g.src(), dst.roi(), dst.step(), g.dst(), g.top, g.left), ovkStatusOk);
    EXPECT_TRUE(src.unchanged());
    expectWriteDiscipline<L>(dst);
    EXPECT_TRUE((matchesRule<T, L>(dst, src, g, rule)));
}

// The in-place form in an image whose guard band surrounds the whole
// destination: only the frame changes, the source pixels keep every bit, and
// the result is the one of the out-of-place form.
template <class T, class L>
void inPlaceValues(const BorderInPlaceCall<T>& ir, const BorderCall<T>& r, const BorderRule<T>& rule, const Geometry& g,
                   unsigned seed)
{
    SCOPED_TRACE(::testing::Message() << g);
    constexpr int S = L::stored;
    GuardedImage<T> big(g.dstW, g.dstH, S);
    randomBits(big, seed);
    GuardedImage<T> src(g.srcW, g.srcH, S);
    src.fill([&](int x, int y, int c) { return big.get(g.left + x, g.top + y, c); });

    const T* inner = reinterpret_cast<const T*>(big.pixelBytes(g.left, g.top));
    ASSERT_EQ(ir(inner, big.step(), g.src(), g.dst(), g.top, g.left), ovkStatusOk);
    expectWriteDiscipline<L>(big);
    for (int y = 0; y < g.srcH; ++y)
        for (int x = 0; x < g.srcW; ++x)
            for (int c = 0; c < S; ++c)
                ASSERT_TRUE(sameElement(big.get(g.left + x, g.top + y, c), src.get(x, y, c)))
                    << "source pixel moved at x=" << x << " y=" << y;
    EXPECT_TRUE((matchesRule<T, L>(big, src, g, rule)));

    GuardedImage<T> dst(g.dstW, g.dstH, S);
    randomBits(dst, seed + 7);
    ASSERT_EQ(r(src.roi(), src.step(), g.src(), dst.roi(), dst.step(), g.dst(), g.top, g.left), ovkStatusOk);
    EXPECT_TRUE(roiEqual(big, dst, L::processed));
}

// Size errors: each size below 1, negative frames (with a destination that
// would otherwise hold them) and a destination short by one column or row.
std::vector<Geometry> badGeometries()
{
    const Geometry g = kCheckGeometry;
    std::vector<Geometry> v;
    auto with = [&](auto edit) {
        Geometry b = g;
        edit(b);
        v.push_back(b);
    };
    with([](Geometry& b) { b.srcW = 0; });
    with([](Geometry& b) { b.srcH = 0; });
    with([](Geometry& b) { b.dstW = 0; });
    with([](Geometry& b) { b.dstH = 0; });
    with([](Geometry& b) { b.srcW = -1; });
    with([](Geometry& b) { b.srcH = -3; });
    with([](Geometry& b) { b.dstW = -9; });
    with([](Geometry& b) { b.dstH = -1; });
    with([](Geometry& b) { b.top = -1; });
    with([](Geometry& b) { b.left = -1; });
    with([](Geometry& b) { b.top = -1, b.dstH = b.srcH; });
    with([](Geometry& b) { b.left = -2, b.dstW = b.srcW; });
    with([](Geometry& b) { b.dstW = b.srcW + b.left - 1; });
    with([](Geometry& b) { b.dstH = b.srcH + b.top - 1; });
    with([](Geometry& b) { b.left = b.dstW - b.srcW + 1; });
    with([](Geometry& b) { b.top = b.dstH - b.srcH + 1; });
    return v;
}

template <class T, class L>
void outOfPlaceChecks(const BorderCall<T>& call)
{
    const Geometry g = kCheckGeometry;
    GuardedImage<T> src(g.srcW, g.srcH, L::stored), dst(g.dstW, g.dstH, L::stored);
    randomBits(src, 3);
    randomBits(dst, 4);
    const OvkiSize zero{0, 0};
    auto reject = [&](OvkStatus want, const T* ps, int ss, OvkiSize s, T* pd, int ds, OvkiSize d, int top, int left) {
        expectRejected(want, [&] { return call(ps, ss, s, pd, ds, d, top, left); }, src, dst);
    };
    // Pointers first, then steps, then sizes.
    reject(ovkStatusNullPointer, nullptr, src.step(), g.src(), dst.roi(), dst.step(), g.dst(), g.top, g.left);
    reject(ovkStatusNullPointer, src.roi(), src.step(), g.src(), nullptr, dst.step(), g.dst(), g.top, g.left);
    reject(ovkStatusNullPointer, nullptr, 0, zero, dst.roi(), -1, zero, -1, -1);
    reject(ovkStatusNullPointer, src.roi(), 0, zero, nullptr, 0, zero, -1, -1);
    reject(ovkStatusStepError, src.roi(), 0, g.src(), dst.roi(), dst.step(), g.dst(), g.top, g.left);
    reject(ovkStatusStepError, src.roi(), src.step(), g.src(), dst.roi(), 0, g.dst(), g.top, g.left);
    reject(ovkStatusStepError, src.roi(), -src.step(), g.src(), dst.roi(), dst.step(), g.dst(), g.top, g.left);
    reject(ovkStatusStepError, src.roi(), src.step(), g.src(), dst.roi(), -1, g.dst(), g.top, g.left);
    reject(ovkStatusStepError, src.roi(), src.step(), zero, dst.roi(), 0, zero, -1, -1);
    for (const Geometry& b : badGeometries()) {
        SCOPED_TRACE(::testing::Message() << b);
        reject(ovkStatusSizeError, src.roi(), src.step(), b.src(), dst.roi(), dst.step(), b.dst(), b.top, b.left);
    }
}

template <class T, class L>
void inPlaceChecks(const BorderInPlaceCall<T>& ir)
{
    const Geometry g = kCheckGeometry;
    GuardedImage<T> big(g.dstW, g.dstH, L::stored);
    randomBits(big, 5);
    const T* inner = reinterpret_cast<const T*>(big.pixelBytes(g.left, g.top));
    const OvkiSize zero{0, 0};
    auto reject = [&](OvkStatus want, const T* p, int step, OvkiSize s, OvkiSize d, int top, int left) {
        expectRejected(want, [&] { return ir(p, step, s, d, top, left); }, big);
    };
    reject(ovkStatusNullPointer, nullptr, big.step(), g.src(), g.dst(), g.top, g.left);
    reject(ovkStatusNullPointer, nullptr, 0, zero, zero, -1, -1);
    reject(ovkStatusStepError, inner, 0, g.src(), g.dst(), g.top, g.left);
    reject(ovkStatusStepError, inner, -big.step(), g.src(), g.dst(), g.top, g.left);
    reject(ovkStatusStepError, inner, 0, zero, zero, -1, -1);
    for (const Geometry& b : badGeometries()) {
        SCOPED_TRACE(::testing::Message() << b);
        reject(ovkStatusSizeError, inner, big.step(), b.src(), b.dst(), b.top, b.left);
    }
}

// The out-of-place form called with one pointer for source and destination.
// Replicate takes the in-place path before any check (so a bad source step
// goes unnoticed); wrap checks everything first, then takes the in-place path.
// Either way the destination step is the common one.
template <class T, class L>
void samePointer(const BorderInPlaceCall<T>& ir, const BorderCall<T>& r, bool switchesFirst)
{
    const Geometry g{5, 3, 12, 8, 2, 4};
    GuardedImage<T> viaR(g.dstW, g.dstH, L::stored), viaIR(g.dstW, g.dstH, L::stored);
    randomBits(viaR, 11);
    randomBits(viaIR, 11);
    T* innerR = reinterpret_cast<T*>(viaR.pixelBytes(g.left, g.top));
    const T* innerIR = reinterpret_cast<const T*>(viaIR.pixelBytes(g.left, g.top));

    // The source step is never used; a valid one must not be needed either.
    const int srcStep = switchesFirst ? 0 : 1;
    if (!switchesFirst) {
        expectRejected(ovkStatusStepError,
                       [&] { return r(innerR, 0, g.src(), innerR, viaR.step(), g.dst(), g.top, g.left); }, viaR);
        expectRejected(ovkStatusStepError,
                       [&] { return r(innerR, -4, g.src(), innerR, viaR.step(), g.dst(), g.top, g.left); }, viaR);
    }
    // A bad destination step is reported (by the in-place checks when the
    // switch comes first).
    expectRejected(ovkStatusStepError,
                   [&] { return r(innerR, viaR.step(), g.src(), innerR, 0, g.dst(), g.top, g.left); }, viaR);
    const OvkiSize narrow{g.srcW + g.left - 1, g.dstH};
    expectRejected(ovkStatusSizeError,
                   [&] { return r(innerR, viaR.step(), g.src(), innerR, viaR.step(), narrow, g.top, g.left); }, viaR);

    ASSERT_EQ(r(innerR, srcStep, g.src(), innerR, viaR.step(), g.dst(), g.top, g.left), ovkStatusOk);
    ASSERT_EQ(ir(innerIR, viaIR.step(), g.src(), g.dst(), g.top, g.left), ovkStatusOk);
    expectWriteDiscipline<L>(viaR);
    EXPECT_TRUE(roiEqual(viaR, viaIR, L::stored));
}

// ---------------------------------------------------------------------------
// Member tables
// ---------------------------------------------------------------------------

struct BorderCase {
    std::string name;
    std::function<void()> values, inPlace, samePointer, checks;
};

std::ostream& operator<<(std::ostream& os, const BorderCase& c) { return os << c.name; }
std::string borderCaseName(const ::testing::TestParamInfo<BorderCase>& info) { return info.param.name; }

unsigned seedOf(const std::string& name)
{
    unsigned h = 2166136261u;
    for (char c : name) h = (h ^ static_cast<unsigned char>(c)) * 16777619u;
    return h;
}

template <class T, class L, class R, class IR>
BorderCase replicateCase(std::string name, R r, IR ir)
{
    const BorderCall<T> call = r;
    const BorderInPlaceCall<T> inPlace = ir;
    const unsigned seed = seedOf(name);
    return {name,
            [=] {
                for (const Geometry& g : kGeometries) outOfPlaceValues<T, L>(call, replicateRule<T>(), g, seed);
            },
            [=] {
                for (const Geometry& g : kGeometries) inPlaceValues<T, L>(inPlace, call, replicateRule<T>(), g, seed);
            },
            [=] { samePointer<T, L>(inPlace, call, true); },
            [=] {
                outOfPlaceChecks<T, L>(call);
                inPlaceChecks<T, L>(inPlace);
            }};
}

template <class T, class R, class IR>
BorderCase wrapCase(std::string name, R r, IR ir)
{
    const BorderCall<T> call = r;
    const BorderInPlaceCall<T> inPlace = ir;
    const unsigned seed = seedOf(name);
    return {name,
            [=] {
                for (const Geometry& g : kGeometries) outOfPlaceValues<T, ovk::C1>(call, wrapRule<T>(), g, seed);
            },
            [=] {
                for (const Geometry& g : kGeometries) inPlaceValues<T, ovk::C1>(inPlace, call, wrapRule<T>(), g, seed);
            },
            [=] { samePointer<T, ovk::C1>(inPlace, call, false); },
            [=] {
                outOfPlaceChecks<T, ovk::C1>(call);
                inPlaceChecks<T, ovk::C1>(inPlace);
            }};
}

// The constant form with its value bound: a scalar for C1, an array of the
// processed channels otherwise (allocated to exactly that length).
template <class T, class L, class F>
BorderCall<T> bindConstant(F f, std::vector<T> value)
{
    return [f, value](const T* ps, int ss, OvkiSize s, T* pd, int ds, OvkiSize d, int top, int left) {
        if constexpr (L::stored == 1)
            return f(ps, ss, s, pd, ds, d, top, left, value[0]);
        else
            return f(ps, ss, s, pd, ds, d, top, left, value.data());
    };
}

// A null value array is a null pointer, reported before the steps.
template <class T, class L, class F>
void constNullValue(F f)
{
    const Geometry g = kCheckGeometry;
    GuardedImage<T> src(g.srcW, g.srcH, L::stored), dst(g.dstW, g.dstH, L::stored);
    randomBits(src, 1);
    randomBits(dst, 2);
    const T* none = nullptr;
    expectRejected(
        ovkStatusNullPointer,
        [&] { return f(src.roi(), src.step(), g.src(), dst.roi(), dst.step(), g.dst(), g.top, g.left, none); }, src,
        dst);
    expectRejected(
        ovkStatusNullPointer, [&] { return f(src.roi(), 0, g.src(), dst.roi(), 0, {0, 0}, g.top, g.left, none); }, src,
        dst);
}

template <class T, class L, class F>
BorderCase constCase(std::string name, F f)
{
    const unsigned seed = seedOf(name);
    return {name,
            [=] {
                for (unsigned k = 0; k < 3; ++k) {
                    const std::vector<T> value = randomBitValues<T>(L::processed, seed + 100 * k);
                    for (const Geometry& g : kGeometries)
                        outOfPlaceValues<T, L>(bindConstant<T, L>(f, value), constRule<T>(value), g, seed + k);
                }
            },
            {},
            {},
            [=] {
                outOfPlaceChecks<T, L>(bindConstant<T, L>(f, randomBitValues<T>(L::processed, seed)));
                if constexpr (L::stored > 1) constNullValue<T, L>(f);
            }};
}

#define REPLICATE_ROW(t, L)                                                                        \
    replicateCase<Ovk##t, ovk::L>(#t "_" #L, ovkiCopyReplicateBorder_##t##_##L##R,                 \
                                  ovkiCopyReplicateBorder_##t##_##L##IR)
#define REPLICATE_TYPE(t) REPLICATE_ROW(t, C1), REPLICATE_ROW(t, C3), REPLICATE_ROW(t, C4), REPLICATE_ROW(t, AC4)
#define CONST_ROW(t, L) constCase<Ovk##t, ovk::L>(#t "_" #L, ovkiCopyConstBorder_##t##_##L##R)
#define CONST_TYPE(t) CONST_ROW(t, C1), CONST_ROW(t, C3), CONST_ROW(t, C4), CONST_ROW(t, AC4)
#define WRAP_ROW(t) wrapCase<Ovk##t>(#t "_C1", ovkiCopyWrapBorder_##t##_C1R, ovkiCopyWrapBorder_##t##_C1IR)

std::vector<BorderCase> replicateMembers()
{
    return {REPLICATE_TYPE(8u), REPLICATE_TYPE(16u), REPLICATE_TYPE(16s), REPLICATE_TYPE(32s), REPLICATE_TYPE(32f)};
}
std::vector<BorderCase> constMembers()
{
    return {CONST_TYPE(8u), CONST_TYPE(16u), CONST_TYPE(16s), CONST_TYPE(32s), CONST_TYPE(32f)};
}
std::vector<BorderCase> wrapMembers() { return {WRAP_ROW(32s), WRAP_ROW(32f)}; }

class ReplicateBorder : public ::testing::TestWithParam<BorderCase> {};
TEST_P(ReplicateBorder, ClampsCoordinates) { GetParam().values(); }
TEST_P(ReplicateBorder, InPlaceWritesOnlyTheFrame) { GetParam().inPlace(); }
TEST_P(ReplicateBorder, EqualPointersSwitchToInPlaceBeforeChecks) { GetParam().samePointer(); }
TEST_P(ReplicateBorder, ChecksArgumentsInOrder) { GetParam().checks(); }
INSTANTIATE_TEST_SUITE_P(Exchange, ReplicateBorder, ::testing::ValuesIn(replicateMembers()), borderCaseName);

class ConstBorder : public ::testing::TestWithParam<BorderCase> {};
TEST_P(ConstBorder, FillsOutsideTheSource) { GetParam().values(); }
TEST_P(ConstBorder, ChecksArgumentsInOrder) { GetParam().checks(); }
INSTANTIATE_TEST_SUITE_P(Exchange, ConstBorder, ::testing::ValuesIn(constMembers()), borderCaseName);

class WrapBorder : public ::testing::TestWithParam<BorderCase> {};
TEST_P(WrapBorder, TakesNonNegativeRemainders) { GetParam().values(); }
TEST_P(WrapBorder, InPlaceWritesOnlyTheFrame) { GetParam().inPlace(); }
TEST_P(WrapBorder, EqualPointersSwitchToInPlaceAfterChecks) { GetParam().samePointer(); }
TEST_P(WrapBorder, ChecksArgumentsInOrder) { GetParam().checks(); }
INSTANTIATE_TEST_SUITE_P(Exchange, WrapBorder, ::testing::ValuesIn(wrapMembers()), borderCaseName);

}  // namespace
