// Abs, Sqr, Sqrt, Exp, Ln and Complement: every member, out of place and in
// place, against oracles written from the definitions:
//  - integer results of Sqr: the exact square, then the scale factor applied
//    by floor division and an explicit remainder test;
//  - integer Sqrt: the correctly rounded value decided by comparing squares in
//    128-bit integers;
//  - 32f Sqrt: a guess whose correct rounding is proven by squaring the
//    midpoints to its neighbours exactly in long double;
//  - Exp and Ln: long double values (either neighbour of a near-tie is
//    accepted for integers, one unit in the last place for 32f).
// Each integer function is also run over every input value for many scale
// factors, and every one-source function on rows without padding and with
// steps that are not multiples of the element size.
#include <gtest/gtest.h>
#include <ovk/ovkimx.h>

#include <bit>
#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <span>
#include <vector>

#include "support/elementwise_checks.hpp"

namespace {

using namespace ovktest;
using namespace ovktest::elementwise;

using i64 = std::int64_t;
using i128 = __int128;
using u128 = unsigned __int128;

template <class T>
constexpr i64 kLow = std::numeric_limits<T>::lowest();
template <class T>
constexpr i64 kHigh = std::numeric_limits<T>::max();

template <class T>
T clampTo(i128 v)
{
    return T(v < kLow<T> ? kLow<T> : (v > kHigh<T> ? kHigh<T> : v));
}

float bitsToFloat(std::uint32_t b) { return std::bit_cast<float>(b); }
const float kUndefined = bitsToFloat(0xFFC00000u);  // the NaN written for undefined results
const float kInf = std::numeric_limits<float>::infinity();

// ---------------------------------------------------------------------------
// Oracles.
// ---------------------------------------------------------------------------

// v * 2^-sf, ties to even, saturated to T, for an exact |v| < 2^40.
template <class T>
T scaledExact(i64 v, int sf)
{
    if (sf == 0) return clampTo<T>(v);
    if (sf < 0) {
        if (v == 0) return T(0);
        if (sf < -60) return clampTo<T>(v > 0 ? kHigh<i64> : kLow<i64>);  // far beyond every bound
        return clampTo<T>(i128(v) * (i128(1) << -sf));
    }
    if (sf > 60) return T(0);  // |v| / 2^sf < 2^-20
    const i128 d = i128(1) << sf;
    i128 q = v / d, r = v % d;
    if (r < 0) {
        q -= 1;
        r += d;
    }
    if (2 * r > d || (2 * r == d && (q & 1) != 0)) q += 1;
    return clampTo<T>(q);
}

// A real value, known to far better than double precision, rounded half to
// even and saturated. Unless the value is exact, a near-tie (the library
// computes in double precision) accepts either neighbour.
template <class T>
Expected<T> roundedReal(long double y, bool exact)
{
    if (y <= kLow<T>) return Expected<T>(T(kLow<T>));
    if (y >= kHigh<T>) return Expected<T>(T(kHigh<T>));
    const long double f = std::floor(y), frac = y - f;
    const bool up = frac > 0.5L || (frac == 0.5L && std::fmod(f, 2.0L) != 0);
    const i128 n = i128(f) + (up ? 1 : 0);
    Expected<T> e(clampTo<T>(n));
    if (!exact && std::fabs(frac - 0.5L) <= 1e-12L * std::fmax(1.0L, std::fabs(y)))
        e.alternative = clampTo<T>(up ? n - 1 : n + 1);
    return e;
}

// sqrt(x) * 2^-sf rounded half to even and saturated. With s that value, s
// rounds to the largest n for which s >= n - 1/2, which compares squares:
// 4x * 4^-sf against (2n - 1)^2.
template <class T>
Expected<T> sqrtScaledOracle(T x, int sf)
{
    if (x < 0) return {T(0), ovkStatusSqrtNegArg};
    if (x == 0) return Expected<T>(T(0));
    if (sf > 40) return Expected<T>(T(0));         // sqrt(x) < 2^8: s < 2^-32
    if (sf < -40) return Expected<T>(T(kHigh<T>));  // s >= 2^40
    auto compare = [&](u128 n) {  // the sign of s - (n - 1/2), for n >= 1
        u128 lhs = u128(4) * u128(x), rhs = (2 * n - 1) * (2 * n - 1);
        if (sf < 0)
            lhs <<= 2 * -sf;
        else
            rhs <<= 2 * sf;
        return lhs < rhs ? -1 : (lhs > rhs ? 1 : 0);
    };
    u128 n = u128(std::floor(std::ldexp(std::sqrt((long double)x), -sf) + 0.5L));  // a guess, then exact steps
    while (n > 0 && compare(n) < 0) --n;
    while (compare(n + 1) >= 0) ++n;
    if (n > 0 && compare(n) == 0 && (n & 1) != 0) --n;  // s = n - 1/2 exactly: the even neighbour
    return Expected<T>(n > u128(kHigh<T>) ? T(kHigh<T>) : T(n));
}

// The correctly rounded single-precision square root of a positive finite x:
// r is right when the midpoints to its neighbours bracket sqrt(x). Midpoints
// have 25 significant bits, so their squares are exact in long double.
float correctlyRoundedSqrt(float x)
{
    float r = float(std::sqrt((long double)x));
    for (;;) {
        const long double above = ((long double)r + std::nextafter(r, kInf)) / 2;
        const long double below = ((long double)r + std::nextafter(r, 0.0f)) / 2;
        if (above * above < x)
            r = std::nextafter(r, kInf);
        else if (below * below > x)
            r = std::nextafter(r, 0.0f);
        else
            return r;
    }
}

struct AbsFamily {
    static Expected<Ovk16s> oracle(Ovk16s x) { return Expected<Ovk16s>(clampTo<Ovk16s>(x < 0 ? -i64(x) : i64(x))); }
    static Expected<float> oracle(float x) { return Expected<float>(std::fabs(x)); }
};

struct SqrFamily {
    static constexpr int kScales[] = {0, 1, 3, -2, 9, 17};
    template <class T>
    static Expected<T> oracle(T x, int sf)
    {
        return Expected<T>(scaledExact<T>(i64(x) * i64(x), sf));
    }
    static Expected<float> oracle(float x)
    {
        Expected<float> e(float(double(x) * double(x)));  // exact in double, rounded once
        e.anyNaN = true;
        return e;
    }
};

struct SqrtFamily {
    static constexpr int kScales[] = {0, 1, 2, -3, -7};
    template <class T>
    static Expected<T> oracle(T x, int sf)
    {
        return sqrtScaledOracle(x, sf);
    }
    static Expected<float> oracle(float x)
    {
        if (!(x >= 0.0f)) return {kUndefined, ovkStatusSqrtNegArg};  // negative or NaN
        if (x == 0.0f || x == kInf) return Expected<float>(x);        // sqrt(-0) is -0
        return Expected<float>(correctlyRoundedSqrt(x));
    }
};

struct ExpFamily {
    static constexpr int kScales[] = {0, 1, 4, -4, 10};
    template <class T>
    static Expected<T> oracle(T x, int sf)
    {
        return roundedReal<T>(std::ldexp(std::exp((long double)x), -sf), x == 0);
    }
    static Expected<float> oracle(float x)
    {
        Expected<float> e(float(std::exp((long double)x)));
        e.ulps = 1;
        e.anyNaN = true;
        return e;
    }
};

struct LnFamily {
    static constexpr int kScales[] = {0, 1, -3, -10};
    template <class T>
    static Expected<T> oracle(T x, int sf)
    {
        if (x == 0) return {T(kLow<T>), ovkStatusLnZeroArg};
        if (x < 0) return {T(0), ovkStatusLnNegArg};
        return roundedReal<T>(std::ldexp(std::log((long double)x), -sf), x == 1);
    }
    static Expected<float> oracle(float x)
    {
        if (x == 0.0f) return {-kInf, ovkStatusLnZeroArg};          // either zero
        if (!(x > 0.0f)) return {kUndefined, ovkStatusLnNegArg};  // negative or NaN
        Expected<float> e(float(std::log((long double)x)));
        e.ulps = 1;
        return e;
    }
};

Expected<Ovk32s> complementOracle(Ovk32s x)
{
    if (x >= 0) return Expected<Ovk32s>(x);
    const std::uint32_t magnitude = std::uint32_t(-i64(x));  // 2^31 for the most negative value
    return Expected<Ovk32s>(Ovk32s(magnitude | 0x80000000u));
}

// ---------------------------------------------------------------------------
// Special inputs mixed into the random data.
// ---------------------------------------------------------------------------
template <class T>
std::vector<T> integerSpecials()
{
    std::vector<T> v = {T(kLow<T>), T(kHigh<T>), T(0), T(1), T(2), T(3), T(4), T(5), T(10), T(11), T(255)};
    if constexpr (std::is_signed_v<T>) v.insert(v.end(), {T(-1), T(-2), T(-20), T(kLow<T> + 1), T(181), T(182)});
    if constexpr (sizeof(T) == 2) v.insert(v.end(), {T(256), T(16383), T(16384), T(kHigh<T> - 1)});
    return v;
}

template <class T>
std::vector<T> specials()
{
    if constexpr (std::is_floating_point_v<T>) {
        std::vector<float> v = {0.0f, -0.0f, 1.0f, -1.0f, 0.5f, 2.0f, kInf, -kInf,
                                std::numeric_limits<float>::quiet_NaN(), bitsToFloat(0xFFC00000u), bitsToFloat(0x7FC12345u),
                                std::numeric_limits<float>::max(), -std::numeric_limits<float>::max(),
                                std::numeric_limits<float>::min(), std::numeric_limits<float>::denorm_min(),
                                -std::numeric_limits<float>::denorm_min(), 88.72f, 88.73f, -103.9f, 1e-30f};
        std::mt19937 rng(5);
        std::uniform_real_distribution<float> moderate(-20.0f, 20.0f), positive(0.0f, 4.0f);
        for (int i = 0; i < 24; ++i) v.push_back(moderate(rng));
        for (int i = 0; i < 8; ++i) v.push_back(positive(rng));
        return v;
    } else {
        return integerSpecials<T>();
    }
}

// ---------------------------------------------------------------------------
// Member checks.
// ---------------------------------------------------------------------------
template <class T>
using UnSfsR = OvkStatus (*)(const T*, int, T*, int, OvkiSize, int);
template <class T>
using UnSfsIR = OvkStatus (*)(T*, int, OvkiSize, int);
template <class T>
using UnR = OvkStatus (*)(const T*, int, T*, int, OvkiSize);
template <class T>
using UnIR = OvkStatus (*)(T*, int, OvkiSize);

template <class T>
UnaryForms<T> scaledForms(UnSfsR<T> r, UnSfsIR<T> ir, int sf)
{
    return {[r, sf](const T* s, int ss, T* d, int ds, OvkiSize roi) { return r(s, ss, d, ds, roi, sf); },
            [ir, sf](T* p, int step, OvkiSize roi) { return ir(p, step, roi, sf); }};
}

// An integer member with a scale factor: every width for the first scale
// factor of the family, a few widths for the others.
template <class Family, class T, class L>
void checkScaledMember(UnSfsR<T> r, UnSfsIR<T> ir, unsigned seed)
{
    bool first = true;
    for (int sf : Family::kScales) {
        SCOPED_TRACE(::testing::Message() << "scaleFactor " << sf);
        auto oracle = [sf](T x) { return Family::oracle(x, sf); };
        checkUnary<L>(scaledForms<T>(r, ir, sf), oracle, specials<T>(), seed + unsigned(sf),
                      first ? std::span<const int>(kSweepWidths) : std::span<const int>(kShortWidths));
        if (first) checkUnaryPacked<L>(scaledForms<T>(r, ir, sf), oracle, specials<T>(), seed, kRoundedSteps);
        first = false;
    }
    checkUnaryArguments<L>(scaledForms<T>(r, ir, 0), CheckOrder::SizeBeforeSteps);
}

// A member without a scale factor (r may be null: the function exists in
// place only).
template <class Family, class T, class L>
void checkPlainMember(UnR<T> r, UnIR<T> ir, unsigned seed)
{
    UnaryForms<T> f;
    if (r) f.r = r;
    f.ir = ir;
    auto oracle = [](T x) { return Family::oracle(x); };
    checkUnary<L>(f, oracle, specials<T>(), seed);
    checkUnaryPacked<L>(f, oracle, specials<T>(), seed, kRoundedSteps);
    checkUnaryArguments<L>(f, CheckOrder::SizeBeforeSteps);
}

#define OVK_SCALED_CASE(fam, t, l)                                                                        \
    FunctionCase{#fam "_" #t "_" #l,                                                                      \
                 [] {                                                                                     \
                     checkScaledMember<fam##Family, Ovk##t, ovk::l>(ovki##fam##_##t##_##l##RSfs,          \
                                                                    ovki##fam##_##t##_##l##IRSfs,         \
                                                                    seedOf(#fam #t #l));                  \
                 },                                                                                       \
                 {anyFunction(ovki##fam##_##t##_##l##RSfs), anyFunction(ovki##fam##_##t##_##l##IRSfs)}}

#define OVK_PLAIN_CASE(fam, t, l)                                                                          \
    FunctionCase{#fam "_" #t "_" #l,                                                                       \
                 [] {                                                                                      \
                     checkPlainMember<fam##Family, Ovk##t, ovk::l>(ovki##fam##_##t##_##l##R,               \
                                                                   ovki##fam##_##t##_##l##IR, seedOf(#fam #t #l)); \
                 },                                                                                        \
                 {anyFunction(ovki##fam##_##t##_##l##R), anyFunction(ovki##fam##_##t##_##l##IR)}}

#define OVK_EACH_LAYOUT(M, ...) M(__VA_ARGS__, C1), M(__VA_ARGS__, C3), M(__VA_ARGS__, C4), M(__VA_ARGS__, AC4)
#define OVK_C1_C3_AC4(M, ...) M(__VA_ARGS__, C1), M(__VA_ARGS__, C3), M(__VA_ARGS__, AC4)
#define OVK_C1_C3(M, ...) M(__VA_ARGS__, C1), M(__VA_ARGS__, C3)
#define OVK_SCALED_TYPES(LAYOUTS, fam) \
    LAYOUTS(OVK_SCALED_CASE, fam, 8u), LAYOUTS(OVK_SCALED_CASE, fam, 16u), LAYOUTS(OVK_SCALED_CASE, fam, 16s)

std::vector<FunctionCase> elementaryCases()
{
    return {
        OVK_EACH_LAYOUT(OVK_PLAIN_CASE, Abs, 16s),
        OVK_EACH_LAYOUT(OVK_PLAIN_CASE, Abs, 32f),
        OVK_SCALED_TYPES(OVK_EACH_LAYOUT, Sqr),
        OVK_EACH_LAYOUT(OVK_PLAIN_CASE, Sqr, 32f),
        OVK_SCALED_TYPES(OVK_C1_C3_AC4, Sqrt),
        OVK_C1_C3_AC4(OVK_PLAIN_CASE, Sqrt, 32f),
        FunctionCase{"Sqrt_32f_C4", [] { checkPlainMember<SqrtFamily, Ovk32f, ovk::C4>(nullptr, ovkiSqrt_32f_C4IR, 4); },
                     {anyFunction(ovkiSqrt_32f_C4IR)}},
        OVK_SCALED_TYPES(OVK_C1_C3, Exp),
        OVK_C1_C3(OVK_PLAIN_CASE, Exp, 32f),
        OVK_SCALED_TYPES(OVK_C1_C3, Ln),
        OVK_C1_C3(OVK_PLAIN_CASE, Ln, 32f),
        FunctionCase{"Complement_32s_C1", [] {
                         UnaryForms<Ovk32s> f;
                         f.ir = ovkiComplement_32s_C1IR;
                         checkUnary<ovk::C1>(f, complementOracle, integerSpecials<Ovk32s>(), 9);
                         checkUnaryPacked<ovk::C1>(f, complementOracle, integerSpecials<Ovk32s>(), 9, kRoundedSteps);
                         checkUnaryArguments<ovk::C1>(f, CheckOrder::StepsBeforeSize);
                     },
                     {anyFunction(ovkiComplement_32s_C1IR)}},
    };
}

class ElementaryMember : public ::testing::TestWithParam<FunctionCase> {};

TEST_P(ElementaryMember, MatchesOracle) { GetParam().run(); }

INSTANTIATE_TEST_SUITE_P(Elementary, ElementaryMember, ::testing::ValuesIn(elementaryCases()), caseName);

TEST(ElementaryCoverage, EveryMemberIsCalled)
{
    // Abs 16, Sqr 32, Sqrt 25, Exp 16, Ln 16, Complement 1.
    EXPECT_EQ(distinctFunctions(elementaryCases()), 106u);
}

// ---------------------------------------------------------------------------
// Every input value of the integer types, one-channel out of place, over
// scale factors from far negative to far positive.
// ---------------------------------------------------------------------------
template <class T, class Oracle>
void checkAllInputs(const std::function<OvkStatus(const T*, int, T*, int, OvkiSize)>& call, Oracle&& oracle)
{
    const int w = 256, h = int((kHigh<T> - kLow<T> + 1) / 256);
    GuardedImage<T> src(w, h, 1), dst(w, h, 1, 3);
    src.scramble(1);
    src.fill([](int x, int y, int) { return T(kLow<T> + i64(y) * 256 + x); });
    dst.scramble(2);
    const ExpectedImage<T> want(src.size(), 1, [&](int x, int y, int c) { return oracle(src.get(x, y, c)); });
    EXPECT_EQ(call(src.roi(), src.step(), dst.roi(), dst.step(), src.size()), want.status());
    EXPECT_TRUE(want.check(dst));
    EXPECT_TRUE(dst.outsideRoiUnchanged());
}

std::vector<int> range(int from, int to, const std::vector<int>& more)
{
    std::vector<int> v(more);
    for (int i = from; i <= to; ++i) v.push_back(i);
    return v;
}

template <class Family, class T>
void checkAllInputsScaled(UnSfsR<T> r, const std::vector<int>& scales)
{
    for (int sf : scales) {
        SCOPED_TRACE(::testing::Message() << "scaleFactor " << sf);
        checkAllInputs<T>(scaledForms<T>(r, nullptr, sf).r, [sf](T x) { return Family::oracle(x, sf); });
    }
}

TEST(ElementaryAllInputs, Abs16s)
{
    checkAllInputs<Ovk16s>(ovkiAbs_16s_C1R, [](Ovk16s x) { return AbsFamily::oracle(x); });
}

TEST(ElementaryAllInputs, Sqr)
{
    // Squares reach 2^32: scale factors around 32 decide ties such as 2^32 / 2^33.
    const std::vector<int> extremes = {INT_MIN, INT_MIN + 1, -1000, -64, -63, -40, -33, -32, 40, 62, 63, 64, 1000, INT_MAX};
    checkAllInputsScaled<SqrFamily, Ovk8u>(ovkiSqr_8u_C1RSfs, range(-18, 34, extremes));
    const auto scales = range(-1, 2, {-17, -16, -15, -9, -8, 7, 8, 9, 15, 16, 17, 31, 32, 33, 34});
    for (const auto& s : {scales, extremes}) {
        checkAllInputsScaled<SqrFamily, Ovk16u>(ovkiSqr_16u_C1RSfs, s);
        checkAllInputsScaled<SqrFamily, Ovk16s>(ovkiSqr_16s_C1RSfs, s);
    }
}

TEST(ElementaryAllInputs, Sqrt)
{
    const std::vector<int> extremes = {INT_MIN, INT_MIN + 1, -1000, -41, -40, 40, 41, 1000, INT_MAX};
    checkAllInputsScaled<SqrtFamily, Ovk8u>(ovkiSqrt_8u_C1RSfs, range(-17, 21, extremes));
    // sqrt(x) < 2^8 for 16 bits: from 9 on every result is 0.
    const auto scales = range(-2, 3, {-17, -16, -15, -8, -7, 5, 7, 8, 9, 10, 21});
    for (const auto& s : {scales, extremes}) {
        checkAllInputsScaled<SqrtFamily, Ovk16u>(ovkiSqrt_16u_C1RSfs, s);
        checkAllInputsScaled<SqrtFamily, Ovk16s>(ovkiSqrt_16s_C1RSfs, s);
    }
}

TEST(ElementaryAllInputs, Exp)
{
    const std::vector<int> scales = {-30, -16, -8, -4, -2, -1, 0, 1, 2, 3, 8, 16, 30};
    checkAllInputsScaled<ExpFamily, Ovk8u>(ovkiExp_8u_C1RSfs, scales);
    // e^255 is about 2^367.9: large scale factors bring it back into range.
    checkAllInputsScaled<ExpFamily, Ovk8u>(ovkiExp_8u_C1RSfs, {300, 360, 368, 2000, -2000});
    checkAllInputsScaled<ExpFamily, Ovk16u>(ovkiExp_16u_C1RSfs, scales);
    checkAllInputsScaled<ExpFamily, Ovk16s>(ovkiExp_16s_C1RSfs, scales);
}

TEST(ElementaryAllInputs, Ln)
{
    const std::vector<int> scales = {-2000, -20, -16, -12, -8, -4, -2, -1, 0, 1, 2, 3, 5, 8, 2000};
    checkAllInputsScaled<LnFamily, Ovk8u>(ovkiLn_8u_C1RSfs, scales);
    checkAllInputsScaled<LnFamily, Ovk16u>(ovkiLn_16u_C1RSfs, scales);
    checkAllInputsScaled<LnFamily, Ovk16s>(ovkiLn_16s_C1RSfs, scales);
}

// Random bit patterns: every exponent, denormals, infinities and NaNs.
TEST(ElementaryAllInputs, FloatBitPatterns)
{
    const int w = 256, h = 64;
    GuardedImage<float> src(w, h, 1);
    src.scramble(3);
    std::mt19937 rng(4);
    src.fill([&](int, int, int) { return bitsToFloat(std::uint32_t(rng())); });
    auto run = [&](UnR<float> r, Expected<float> (*oracle)(float)) {
        GuardedImage<float> dst(w, h, 1, 3);
        dst.scramble(5);
        const ExpectedImage<float> want(src.size(), 1, [&](int x, int y, int c) { return oracle(src.get(x, y, c)); });
        EXPECT_EQ(r(src.roi(), src.step(), dst.roi(), dst.step(), src.size()), want.status());
        EXPECT_TRUE(want.check(dst));
    };
    {
        SCOPED_TRACE("Abs");
        run(ovkiAbs_32f_C1R, AbsFamily::oracle);
    }
    {
        SCOPED_TRACE("Sqr");
        run(ovkiSqr_32f_C1R, SqrFamily::oracle);
    }
    {
        SCOPED_TRACE("Sqrt");
        run(ovkiSqrt_32f_C1R, SqrtFamily::oracle);
    }
    {
        SCOPED_TRACE("Exp");
        run(ovkiExp_32f_C1R, ExpFamily::oracle);
    }
    {
        SCOPED_TRACE("Ln");
        run(ovkiLn_32f_C1R, LnFamily::oracle);
    }
}

// ---------------------------------------------------------------------------
// Warnings and properties.
// ---------------------------------------------------------------------------

// The first warning met in row order is returned, once every row is done.
TEST(ElementaryWarnings, LnReturnsTheFirstWarningInRowOrder)
{
    struct Case {
        std::vector<Ovk16s> rows[2];
        OvkStatus status;
    };
    const Case cases[] = {
        {{{5, -1, 0}, {7, 0, 1}}, ovkStatusLnNegArg},
        {{{5, 0, -1}, {7, -3, 1}}, ovkStatusLnZeroArg},
        {{{5, 9, 1}, {-7, 0, 1}}, ovkStatusLnNegArg},
        {{{5, 9, 1}, {7, 0, -1}}, ovkStatusLnZeroArg},
        {{{5, 9, 1}, {7, 3, 1}}, ovkStatusOk},
    };
    for (const Case& c : cases) {
        GuardedImage<Ovk16s> src(3, 2, 1), dst(3, 2, 1, 2);
        GuardedImage<float> fsrc(3, 2, 1), fdst(3, 2, 1, 2);
        src.fill([&](int x, int y, int) { return c.rows[y][x]; });
        fsrc.fill([&](int x, int y, int) { return float(c.rows[y][x]); });
        EXPECT_EQ(ovkiLn_16s_C1RSfs(src.roi(), src.step(), dst.roi(), dst.step(), src.size(), 0), c.status);
        EXPECT_EQ(ovkiLn_32f_C1R(fsrc.roi(), fsrc.step(), fdst.roi(), fdst.step(), fsrc.size()), c.status);
        // Every element is written, the ones after the warnings included.
        EXPECT_TRUE(sameElement(dst.get(2, 1, 0), LnFamily::oracle(c.rows[1][2], 0).value));
        EXPECT_TRUE(sameElement(fdst.get(2, 1, 0), LnFamily::oracle(float(c.rows[1][2])).value));
    }
}

// The alpha channel of an AC4 source is not an element of the operation: a
// negative alpha raises no warning.
TEST(ElementaryWarnings, Ac4AlphaOfTheSourceIsIgnored)
{
    GuardedImage<Ovk16s> src(5, 2, 4), dst(5, 2, 4, 2);
    src.fill([](int x, int y, int c) { return c == 3 ? -1 - x - y : 4 * x + y + c; });
    dst.scramble(1);
    EXPECT_EQ(ovkiSqrt_16s_AC4RSfs(src.roi(), src.step(), dst.roi(), dst.step(), src.size(), 0), ovkStatusOk);
    EXPECT_EQ(ovkiSqrt_16s_AC4IRSfs(src.roi(), src.step(), src.size(), 0), ovkStatusOk);
    EXPECT_TRUE(src.channelUnchanged(3));

    GuardedImage<float> fsrc(5, 2, 4), fdst(5, 2, 4, 2);
    fsrc.fill([](int x, int, int c) { return c == 3 ? (x % 2 ? -1.0f : std::nanf("")) : float(x + c); });
    fdst.scramble(2);
    EXPECT_EQ(ovkiSqrt_32f_AC4R(fsrc.roi(), fsrc.step(), fdst.roi(), fdst.step(), fsrc.size()), ovkStatusOk);
    EXPECT_EQ(ovkiSqrt_32f_AC4IR(fsrc.roi(), fsrc.step(), fsrc.size()), ovkStatusOk);
    EXPECT_TRUE(fsrc.channelUnchanged(3));
}

TEST(ElementaryProperties, ComplementTwiceIsIdentity)
{
    forEachWidth([](int w) {
        GuardedImage<Ovk32s> img(w, 3, 1);
        fillMixed(img, 100u + unsigned(w), integerSpecials<Ovk32s>());
        GuardedImage<Ovk32s> original(w, 3, 1, 2);
        copyRoi(img, original, 7);
        ASSERT_EQ(ovkiComplement_32s_C1IR(img.roi(), img.step(), img.size()), ovkStatusOk);
        ASSERT_EQ(ovkiComplement_32s_C1IR(img.roi(), img.step(), img.size()), ovkStatusOk);
        EXPECT_TRUE(roiEqual(img, original, 1));
        EXPECT_TRUE(img.outsideRoiUnchanged());
    });
    Ovk32s v[3] = {INT_MIN, -1, INT_MAX};
    ASSERT_EQ(ovkiComplement_32s_C1IR(v, 12, {3, 1}), ovkStatusOk);
    EXPECT_EQ(v[0], INT_MIN);  // -2^31 maps to itself
    EXPECT_EQ(std::uint32_t(v[1]), 0x80000001u);
    EXPECT_EQ(v[2], INT_MAX);
}

}  // namespace
