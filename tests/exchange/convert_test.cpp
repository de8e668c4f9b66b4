// Every Convert and Scale member against the rules computed in long double:
// saturation to the destination's limits, the three rounding modes
// (nearbyint for ties to even, round for ties away from zero), 2^-scaleFactor
// applied exactly, and the range maps. Sources hold each type's extremes,
// exact ties, NaN and infinities; the harness covers check order and layout.
#include <gtest/gtest.h>

#include <bit>
#include <cfenv>
#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "support/api.hpp"

namespace {

using namespace ovktest::api;
using ld = long double;

struct Range {
    ld lo, hi;
};
Range rangeOf(const std::string& t)
{
    if (t == "32f") return {-INFINITY, INFINITY};
    const int bits = std::stoi(t);
    const bool sgn = t.back() == 's';
    return {sgn ? -std::ldexp(1.0L, bits - 1) : 0, std::ldexp(1.0L, bits - sgn) - 1};
}

ld draw(const std::string& t, std::mt19937& rng)
{
    const Range r = rangeOf(t);
    if (t == "32f") {
        static const ld special[] = {NAN, INFINITY, -INFINITY, 0.5L, 1.5L, 2.5L, -2.5L, -0.5L, 254.5L, 255.5L,
                                     -128.5L, 32767.5L, 65535.5L, 3e9L, -3e9L, 4294967295.0L, 1e-30L, 100.25L};
        if (rng() % 2) return special[rng() % std::size(special)];
        return ld(float(std::ldexp(ld(int(rng() % 2000001) - 1000000), -int(rng() % 14))));
    }
    switch (rng() % 4) {
    case 0: return rng() % 2 ? r.lo : r.hi;
    case 1: return ld(int(rng() % 41) - 20);
    default: return r.lo + std::floor(ld(rng()) / 4294967296.0L * (r.hi - r.lo + 1));
    }
}

ld saturated(ld v, const std::string& t)
{
    const Range r = rangeOf(t);
    return std::isnan(v) ? 0 : std::clamp(v, r.lo, r.hi);
}

ld rounded(ld v, int mode)
{
    return mode == 0 ? std::trunc(v) : mode == 1 ? std::nearbyint(v) : std::round(v);
}

// What member f makes of source value x.
ld expected(const Function& f, ld x, const Invocation& inv)
{
    const std::string s = f.types[0], d = f.types[1], fam = f.family;
    const bool sfs = f.param("scaleFactor") != nullptr;
    const int mode = f.param("roundMode") ? int(inv.arg("roundMode")) : 1;
    if (fam == "Scale") {
        if (s == "8u" && d != "32f") return d == "16u" ? x * 257 : d == "16s" ? x * 257 - 32768 : x * 16843009 - 2147483648.0L;
        if (!f.param("vMin")) return -1;  // 16u, 16s, 32s to 8u: the known values below
        const float vMin = float(inv.arg("vMin")), vMax = float(inv.arg("vMax"));
        if (s == "8u") return ld(float(float(x) * ((vMax - vMin) / 255.0f)) + vMin);
        if (s == "32f") {
            if (x >= vMax) return 255;
            if (x <= vMin) return 0;
            const float k = 255.0f / (vMax - vMin), b = 0.5f + (0.0f - vMin * k);
            return saturated(std::nearbyint(ld(b + float(x) * k) - 0.5L), "8u");  // b holds the 0.5 of rounding; NaN gives 0
        }
    }
    if (s == "32f") {
        const float y = sfs ? float(x) * std::ldexp(1.0f, -int(inv.arg("scaleFactor"))) : float(x);
        if (std::isnan(y)) return 0;
        const Range r = rangeOf(d);
        if (y >= float(r.hi)) return r.hi;
        if (y <= float(r.lo)) return r.lo;
        return saturated(rounded(y, mode), d);
    }
    if (sfs) return saturated(rounded(std::ldexp(x, -int(inv.arg("scaleFactor"))), mode), d);
    return d == "32f" ? ld(float(x)) : saturated(x, d);
}

TEST(Convert, EveryMemberFollowsItsRule)
{
    std::fesetround(FE_TONEAREST);
    for (const Function& f : functions()) {
        if ((f.family != "Convert" && f.family != "Scale") || f.types.size() != 2 || f.types[0] == "1u") continue;
        const int channels = f.layout.front() == "AC4" ? 3 : f.layout.front()[1] - '0';
        const std::string src = f.param("pSrcDst") ? "pSrcDst" : "pSrc", dst = f.param("pSrcDst") ? "pSrcDst" : "pDst";
        std::mt19937 rng(std::hash<std::string>{}(f.name));
        for (int round = 0; round < 8; ++round) {
            Invocation inv(f, {{37, 2}, false, unsigned(round + 1)});
            if (f.param("roundMode")) inv.setInt("roundMode", round % 4 == 3 ? 7 : round % 3);
            if (f.param("scaleFactor")) {
                static const int factors[] = {0, 1, 2, -1, -3, 5, 17, 40, -40, 160};
                inv.setInt("scaleFactor", factors[rng() % std::size(factors)]);
            }
            if (f.param("hint")) inv.setInt("hint", round % 2 ? 2 : 1);
            std::vector<ld> in;
            for (int y = 0; y < 2; ++y)
                for (int x = 0; x < 37; ++x)
                    for (int c = 0; c < channels; ++c) {
                        inv.set(src, x, y, c, 0, draw(f.types[0], rng));
                        in.push_back(inv.get(src, x, y, c));
                    }
            ASSERT_EQ(inv.call(), ovkStatusOk) << f.name;
            for (int y = 0, k = 0; y < 2; ++y)
                for (int x = 0; x < 37; ++x)
                    for (int c = 0; c < channels; ++c, ++k) {
                        const ld want = expected(f, in[std::size_t(k)], inv), raw = inv.get(dst, x, y, c);
                        const ld got = f.param("pSrcDst") ? ld(std::bit_cast<Ovk32u>(float(raw))) : raw;  // 32u over 32f
                        if (want == -1 && f.family == "Scale") continue;
                        ASSERT_TRUE(got == want || (std::isnan(got) && std::isnan(want)))
                            << f.name << " round " << round << ": " << in[std::size_t(k)] << " gave " << got << ", want " << want;
                    }
        }
    }
}

TEST(Convert, KnownValues)
{
    const float ties[] = {0.5f, 1.5f, 2.5f, 254.5f, 300.0f, -3.0f, NAN, 254.99f};
    Ovk8u out[8];
    const auto run = [&](int mode) {
        EXPECT_EQ(ovkiConvert_32f8u_C1R(ties, 32, out, 8, {8, 1}, OvkRoundMode(mode)), ovkStatusOk);
        return std::vector<int>(out, out + 8);
    };
    EXPECT_EQ(run(1), (std::vector<int>{0, 2, 2, 254, 255, 0, 0, 255}));
    std::fesetround(FE_UPWARD);  // the caller's rounding control neither matters nor changes
    const std::vector<float> halves(64, 2.5f);
    Ovk8u twos[64];
    ASSERT_EQ(ovkiConvert_32f8u_C1R(halves.data(), 256, twos, 64, {64, 1}, ovkRndNear), ovkStatusOk);
    EXPECT_EQ(std::vector<int>(twos, twos + 64), std::vector<int>(64, 2));
    EXPECT_EQ(std::fegetround(), FE_UPWARD);
    std::fesetround(FE_TONEAREST);
    EXPECT_EQ(run(2), (std::vector<int>{1, 2, 3, 255, 255, 0, 0, 255}));
    EXPECT_EQ(run(7), run(2));
    EXPECT_EQ(run(0)[7], 254);
    const Ovk16s small[] = {3, 5, -3, -300};
    Ovk8s s8[4];
    ASSERT_EQ(ovkiConvert_16s8s_C1RSfs(small, 8, s8, 4, {3, 1}, ovkRndNear, 1), ovkStatusOk);
    EXPECT_EQ(std::vector<int>(s8, s8 + 3), (std::vector<int>{2, 2, -2}));
    ASSERT_EQ(ovkiConvert_16s8s_C1RSfs(small, 8, s8, 4, {4, 1}, ovkRndZero, 0), ovkStatusOk);
    EXPECT_EQ(s8[3], -128);
    EXPECT_EQ(ovkiScale_32f8u_C1R(nullptr, 4, nullptr, 1, {1, 1}, 2.0f, 2.0f), ovkStatusScaleRangeError);
    const Ovk16s ends[] = {-32768, 32767};
    for (OvkHintAlgorithm hint : {ovkAlgHintFast, ovkAlgHintAccurate}) {
        Ovk8u e[2];
        ASSERT_EQ(ovkiScale_16s8u_C1R(ends, 4, e, 2, {2, 1}, hint), ovkStatusOk);
        EXPECT_EQ(e[0] * 1000 + e[1], 255) << hint;
    }
}

// The fast division by 257 and the accurate rounding agree within one, and
// the accurate path is the nearest byte of the exact map.
TEST(Scale, ToBytePathsAgree)
{
    for (int x = -32768; x <= 32767; x += 7) {
        const Ovk16s v = Ovk16s(x);
        Ovk8u fast, accurate;
        ASSERT_EQ(ovkiScale_16s8u_C1R(&v, 2, &fast, 1, {1, 1}, ovkAlgHintFast), ovkStatusOk);
        ASSERT_EQ(ovkiScale_16s8u_C1R(&v, 2, &accurate, 1, {1, 1}, ovkAlgHintAccurate), ovkStatusOk);
        EXPECT_LE(std::abs(int(fast) - int(accurate)), 1) << x;
        EXPECT_LE(std::fabs(ld(accurate) - (x + 32768) * 255.0L / 65535.0L), 0.5L + 1e-3L) << x;
    }
    for (const Ovk32s x : {INT32_MIN, -1, 0, 1, INT32_MAX}) {
        Ovk8u fast, accurate;
        ASSERT_EQ(ovkiScale_32s8u_C1R(&x, 4, &fast, 1, {1, 1}, ovkAlgHintFast), ovkStatusOk);
        ASSERT_EQ(ovkiScale_32s8u_C1R(&x, 4, &accurate, 1, {1, 1}, ovkAlgHintAccurate), ovkStatusOk);
        EXPECT_LE(std::abs(int(fast) - int(accurate)), 1) << x;
        EXPECT_LE(std::fabs(ld(accurate) - (ld(x) + 2147483648.0L) * 255.0L / 4294967295.0L), 0.5L + 1e-6L) << x;
    }
}

}  // namespace

namespace {

// Bit i of a row that starts at bit `offset`, in either order.
bool bitOf(const std::vector<Ovk8u>& row, int offset, int i, bool msbFirst)
{
    const int at = offset + i;
    return (row[std::size_t(at / 8)] >> (msbFirst ? 7 - at % 8 : at % 8)) & 1;
}

template <class T>
void checkBitPlanes(OvkStatus (*toBits)(const T*, int, Ovk8u*, int, int, OvkiSize, T),
                    OvkStatus (*fromBits)(const Ovk8u*, int, int, T*, int, OvkiSize, T, T))
{
    std::mt19937 rng(sizeof(T));
    for (int trial = 0; trial < 60; ++trial) {
        const int w = 1 + int(rng() % 70), offset = int(rng() % 8), bytes = (offset + w + 7) / 8 + 2;
        std::vector<T> gray(std::size_t(w) * 2);
        for (T& v : gray) v = T(int(rng() % 9) - 2);
        std::vector<Ovk8u> bits(std::size_t(bytes) * 2), before;
        for (Ovk8u& b : bits) b = Ovk8u(rng());
        before = bits;
        ASSERT_EQ(toBits(gray.data(), int(w * sizeof(T)), bits.data(), bytes, offset, {w, 2}, T(3)), ovkStatusOk);
        for (int y = 0; y < 2; ++y) {
            const std::vector<Ovk8u> row(bits.begin() + y * bytes, bits.begin() + (y + 1) * bytes),
                old(before.begin() + y * bytes, before.begin() + (y + 1) * bytes);
            for (int i = -offset; i < bytes * 8 - offset; ++i) {
                const bool inside = i >= 0 && i < w;
                ASSERT_EQ(bitOf(row, offset, i, false), inside ? gray[std::size_t(y * w + i)] > T(3) : bitOf(old, offset, i, false))
                    << "width " << w << ", offset " << offset << ", bit " << i;
            }
            std::vector<T> back(static_cast<std::size_t>(w));
            ASSERT_EQ(fromBits(row.data(), bytes, offset, back.data(), int(w * sizeof(T)), {w, 1}, T(-7), T(9)), ovkStatusOk);
            for (int i = 0; i < w; ++i) ASSERT_EQ(back[std::size_t(i)], gray[std::size_t(y * w + i)] > T(3) ? T(9) : T(-7));
        }
    }
}

TEST(BitPlanes, ThresholdIntoBitsAndBack)
{
    checkBitPlanes<Ovk8u>(ovkiGrayToBin_8u1u_C1R, ovkiBinToGray_1u8u_C1R);
    checkBitPlanes<Ovk16u>(ovkiGrayToBin_16u1u_C1R, ovkiBinToGray_1u16u_C1R);
    checkBitPlanes<Ovk16s>(ovkiGrayToBin_16s1u_C1R, ovkiBinToGray_1u16s_C1R);
    checkBitPlanes<Ovk32f>(ovkiGrayToBin_32f1u_C1R, ovkiBinToGray_1u32f_C1R);
}

TEST(BitPlanes, MostSignificantFirstForConvert)
{
    const Ovk8u one[2] = {0x80, 0x01};
    Ovk8u out[12];
    ASSERT_EQ(ovkiConvert_1u8u_C1R(one, 2, 0, out, 12, {12, 1}), ovkStatusOk);
    EXPECT_EQ(std::vector<int>(out, out + 12), (std::vector<int>{255, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    const Ovk8u nine = 0x09;  // from bit 7 - 3 down: 0, 1, 0, 0, 1
    ASSERT_EQ(ovkiConvert_1u8u_C1R(&nine, 1, 3, out, 12, {5, 1}), ovkStatusOk);
    EXPECT_EQ(std::vector<int>(out, out + 5), (std::vector<int>{0, 255, 0, 0, 255}));
    ASSERT_EQ(ovkiBinToGray_1u8u_C1R(one, 2, 0, out, 12, {8, 1}, 1, 2), ovkStatusOk);
    EXPECT_EQ(std::vector<int>(out, out + 8), (std::vector<int>{1, 1, 1, 1, 1, 1, 1, 2}));
    const Ovk8u hundred[2] = {100, 101};
    Ovk8u packed = 0xF0;
    ASSERT_EQ(ovkiGrayToBin_8u1u_C1R(hundred, 2, &packed, 1, 0, {2, 1}, 100), ovkStatusOk);
    EXPECT_EQ(packed, 0xF2);
    EXPECT_EQ(ovkiGrayToBin_8u1u_C1R(hundred, 2, &packed, 1, -1, {2, 1}, 100), ovkStatusSizeError);
}

}  // namespace
