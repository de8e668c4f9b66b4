// Sums, means, norms, dot products and extrema against their definitions:
// exact totals in 128-bit integers (values kept small enough that every
// total is exact in double, so the library must give it exactly), brute-force
// scans for extrema and their first positions, and known values where the
// order of accumulation or the width of an accumulator shows.
#include <gtest/gtest.h>

#include <cfloat>
#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "support/api.hpp"

namespace {

using namespace ovktest::api;
using ld = long double;

constexpr int kW = 29, kH = 7;

int channelsOf(const Function& f) { return f.layout.front() == "AC4" ? 3 : f.layout.front()[1] - '0'; }
bool startsWith(const std::string& s, const char* p) { return s.rfind(p, 0) == 0; }

// Values of the element type whose totals stay exact in double: integers up
// to 2^20 in magnitude, eighths for 32f; a small set when ties matter.
ld draw(const std::string& type, std::mt19937& rng, bool ties)
{
    if (ties) return ld(int(rng() % 5) * (type == "32f" ? 0.5L : 3));
    const ld lo = type == "8u" || type == "16u" || type == "32u" ? 0 : -1;
    const ld span = type == "8u" || type == "8s" ? 127 : type == "32f" ? 4096 : type == "16u" || type == "16s" ? 32767 : 1 << 20;
    const ld v = lo * span + ld(rng() % std::uint32_t(span * (1 - lo) + 1));
    return type == "32f" ? v / 8 : v;
}

void fill(Invocation& inv, const std::string& param, int channels, std::mt19937& rng, bool ties = false)
{
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x)
            for (int c = 0; c < channels; ++c) inv.set(param, x, y, c, 0, draw(inv.function().types.front(), rng, ties));
}

TEST(Sums, EveryMemberGivesTheExactTotalOfItsTerms)
{
    for (const Function& f : functions()) {
        const bool sum = f.family == "Sum" || f.family == "Mean", dot = f.family == "DotProd";
        if (!sum && !dot && !startsWith(f.family, "Norm")) continue;
        const bool two = f.param("pSrc2") != nullptr, rel = startsWith(f.family, "NormRel");
        const std::string a = two ? "pSrc1" : "pSrc", out = f.params.back().name, type = f.types.front();
        const int norm = f.family.find("Inf") != std::string::npos ? 0 : f.family.find("L1") != std::string::npos ? 1 : 2;
        const int channels = channelsOf(f);
        std::mt19937 rng(std::hash<std::string>{}(f.name));
        for (bool zeroReference : {false, true}) {
            if (zeroReference && !rel) continue;
            Invocation inv(f, {{kW, kH}, false, 3});
            fill(inv, a, channels, rng);
            if (two) fill(inv, "pSrc2", channels, rng);
            for (int y = 0; zeroReference && y < kH; ++y)
                for (int x = 0; x < kW; ++x)
                    for (int c = 0; c < channels; ++c) inv.set("pSrc2", x, y, c, 0, 0);
            const OvkStatus status = inv.call();
            ASSERT_EQ(status, zeroReference ? ovkStatusDivByZero : ovkStatusOk) << f.name;
            for (int c = 0; c < channels; ++c) {
                // Every term and total is exact in long double, and every total in double.
                ld total = 0, absolute = 0, squares = 0, largest = 0, refAbsolute = 0, refSquares = 0, refLargest = 0;
                for (int y = 0; y < kH; ++y)
                    for (int x = 0; x < kW; ++x) {
                        const ld v = inv.get(a, x, y, c), w = two ? inv.get("pSrc2", x, y, c) : 0;
                        const ld t = dot ? v * w : two ? v - w : v;
                        total += t, absolute += std::fabs(t), squares += t * t, largest = std::max(largest, std::fabs(t));
                        refAbsolute += std::fabs(w), refSquares += w * w, refLargest = std::max(refLargest, std::fabs(w));
                    }
                const double norms[3] = {double(largest), double(absolute), std::sqrt(double(squares))};
                const double relative[3] = {double(largest) / double(refLargest), double(absolute) / double(refAbsolute),
                                            std::sqrt(double(squares) / double(refSquares))};
                const double want = f.family == "Mean" ? double(total) / (kW * kH)
                                    : sum || dot       ? double(total)
                                    : rel && !zeroReference ? relative[norm]
                                                            : norms[norm];
                EXPECT_EQ(double(inv.get(out, c, 0, 0)), double(want)) << f.name << " channel " << c;
            }
        }
    }
}

// The first position in row order of the smallest or largest value (a NaN
// only when all are), against a plain scan.
TEST(Extrema, EveryMemberFindsTheFirstExtreme)
{
    for (const Function& f : functions()) {
        if (f.family != "Min" && f.family != "Max" && f.family != "MinMax" && f.family != "MinIndx" && f.family != "MaxIndx") continue;
        const int channels = channelsOf(f);
        std::mt19937 rng(std::hash<std::string>{}(f.name));
        for (int round = 0; round < 4; ++round) {
            Invocation inv(f, {{kW, kH}, false, unsigned(round + 1)});
            fill(inv, "pSrc", channels, rng, true);
            if (f.types.front() == "32f" && round == 3) inv.set("pSrc", 0, 0, 0, 0, NAN);  // a NaN first never wins
            ASSERT_EQ(inv.call(), ovkStatusOk) << f.name;
            for (bool max : {false, true}) {
                const std::string out = max ? "pMax" : "pMin";
                if (!f.param(out)) continue;
                for (int c = 0; c < channels; ++c) {
                    ld best = NAN;
                    int bx = 0, by = 0;
                    for (int y = 0; y < kH; ++y)
                        for (int x = 0; x < kW; ++x) {
                            const ld v = inv.get("pSrc", x, y, c);
                            if (!std::isnan(v) && (std::isnan(best) || (max ? v > best : v < best))) best = v, bx = x, by = y;
                        }
                    EXPECT_EQ(inv.get(out, c, 0, 0), best) << f.name << " channel " << c;
                    if (f.param("pIndexX")) {
                        EXPECT_EQ(inv.get("pIndexX", c, 0, 0), bx) << f.name << " channel " << c;
                        EXPECT_EQ(inv.get("pIndexY", c, 0, 0), by) << f.name << " channel " << c;
                    }
                }
            }
        }
    }
}

TEST(Extrema, EveryKeepsTheStrictlyBetterSource)
{
    for (const Function& f : functions()) {
        if (f.family != "MinEvery" && f.family != "MaxEvery") continue;
        const int channels = channelsOf(f);
        std::mt19937 rng(std::hash<std::string>{}(f.name));
        Invocation inv(f, {{kW, kH}, false, 5});
        fill(inv, "pSrc", channels, rng, true);
        fill(inv, "pSrcDst", channels, rng, true);
        Invocation before(f, {{kW, kH}, false, 5});
        before.copyImage(inv, "pSrcDst", "pSrcDst");
        ASSERT_EQ(inv.call(), ovkStatusOk) << f.name;
        for (int y = 0; y < kH; ++y)
            for (int x = 0; x < kW; ++x)
                for (int c = 0; c < channels; ++c) {
                    const ld s = inv.get("pSrc", x, y, c), d = before.get("pSrcDst", x, y, c);
                    const ld want = (f.family == "MaxEvery" ? s > d : s < d) ? s : d;
                    ASSERT_EQ(inv.get("pSrcDst", x, y, c), want) << f.name << " at " << x << ", " << y;
                }
    }
}

TEST(Extrema, BlockMinMaxAgainstEachBlock)
{
    for (const Function& f : functions()) {
        if (f.family != "BlockMinMax") continue;
        std::mt19937 rng(std::hash<std::string>{}(f.name));
        for (OvkiSize block : {OvkiSize{4, 3}, OvkiSize{1, 7}, OvkiSize{40, 10}}) {
            Invocation inv(f, {{kW, kH}, false, 7});
            fill(inv, "pSrc", 1, rng);
            inv.setSize("blockSize", block);
            ASSERT_EQ(inv.call(), ovkStatusOk) << f.name;
            ld globalLo = INFINITY, globalHi = -INFINITY;
            for (int by = 0; by * block.height < kH; ++by)
                for (int bx = 0; bx * block.width < kW; ++bx) {
                    ld lo = INFINITY, hi = -INFINITY;
                    for (int y = by * block.height; y < std::min(kH, (by + 1) * block.height); ++y)
                        for (int x = bx * block.width; x < std::min(kW, (bx + 1) * block.width); ++x)
                            lo = std::min(lo, inv.get("pSrc", x, y, 0)), hi = std::max(hi, inv.get("pSrc", x, y, 0));
                    ASSERT_EQ(inv.get("pDstMin", bx, by, 0), lo) << f.name << " block " << bx << ", " << by;
                    ASSERT_EQ(inv.get("pDstMax", bx, by, 0), hi) << f.name << " block " << bx << ", " << by;
                    globalLo = std::min(globalLo, lo), globalHi = std::max(globalHi, hi);
                }
            EXPECT_EQ(inv.get("pGlobalMin", 0, 0, 0), globalLo) << f.name;
            EXPECT_EQ(inv.get("pGlobalMax", 0, 0, 0), globalHi) << f.name;
        }
    }
}

// The index from its definition in long double: 4 m1 m2 cov / ((var1 + var2)(m1^2 + m2^2)).
TEST(Quality, EveryQualityIndexMemberFollowsTheDefinition)
{
    for (const Function& f : functions()) {
        if (f.family != "QualityIndex") continue;
        const int channels = channelsOf(f);
        std::mt19937 rng(std::hash<std::string>{}(f.name));
        Invocation inv(f, {{kW, kH}, false, 9});
        for (int y = 0; y < kH; ++y)
            for (int x = 0; x < kW; ++x)
                for (int c = 0; c < channels; ++c) {
                    const ld v = ld(rng() % 200);
                    inv.set("pSrc1", x, y, c, 0, v);
                    inv.set("pSrc2", x, y, c, 0, v / 2 + ld(rng() % 40));
                }
        ASSERT_EQ(inv.call(), ovkStatusOk) << f.name;
        for (int c = 0; c < channels; ++c) {
            ld m1 = 0, m2 = 0, cov = 0, v1 = 0, v2 = 0;
            for (int y = 0; y < kH; ++y)
                for (int x = 0; x < kW; ++x) m1 += inv.get("pSrc1", x, y, c), m2 += inv.get("pSrc2", x, y, c);
            m1 /= kW * kH, m2 /= kW * kH;
            for (int y = 0; y < kH; ++y)
                for (int x = 0; x < kW; ++x) {
                    const ld a = inv.get("pSrc1", x, y, c) - m1, b = inv.get("pSrc2", x, y, c) - m2;
                    cov += a * b, v1 += a * a, v2 += b * b;
                }
            const ld want = 4 * m1 * m2 * cov / ((v1 + v2) * (m1 * m1 + m2 * m2));
            EXPECT_NEAR(inv.get("pQualityIndex", c, 0, 0), want, 1e-4) << f.name << " channel " << c;
        }
    }
}

// SSIM against every window computed directly.
TEST(Quality, SsimIsTheMeanOfTheWindowedIndex)
{
    constexpr int w = 23, h = 15;
    std::mt19937 rng(11);
    std::vector<Ovk32f> a(w * h), b(w * h);
    for (int i = 0; i < w * h; ++i) a[i] = Ovk32f(rng() % 256), b[i] = Ovk32f(std::min<int>(255, int(a[i]) + int(rng() % 60)));
    ld g[11], total = 0;
    for (int k = 0; k < 11; ++k) total += g[k] = std::exp(-ld((k - 5) * (k - 5)) / 4.5L);
    const ld c1 = 6.5025L, c2 = 58.5225L;  // (0.01 * 255)^2, (0.03 * 255)^2
    ld sum = 0;
    for (int y0 = 0; y0 + 11 <= h; ++y0)
        for (int x0 = 0; x0 + 11 <= w; ++x0) {
            ld mx = 0, my = 0, xx = 0, yy = 0, xy = 0;
            for (int y = 0; y < 11; ++y)
                for (int x = 0; x < 11; ++x) {
                    const ld wt = g[x] * g[y] / (total * total), u = a[(y0 + y) * w + x0 + x], v = b[(y0 + y) * w + x0 + x];
                    mx += wt * u, my += wt * v, xx += wt * u * u, yy += wt * v * v, xy += wt * u * v;
                }
            sum += (2 * mx * my + c1) * (2 * (xy - mx * my) + c2) / ((mx * mx + my * my + c1) * (xx - mx * mx + yy - my * my + c2));
        }
    Ovk32f ssim = 0;
    ASSERT_EQ(ovkiSSIM_32f_C1R(a.data(), w * 4, b.data(), w * 4, {w, h}, 255.0f, &ssim), ovkStatusOk);
    EXPECT_NEAR(ssim, double(sum / ((w - 10) * (h - 10))), 1e-6);
    ASSERT_EQ(ovkiSSIM_32f_C1R(a.data(), w * 4, a.data(), w * 4, {w, h}, 255.0f, &ssim), ovkStatusOk);
    EXPECT_NEAR(ssim, 1.0, 1e-6);
}

TEST(Stats, KnownValues)
{
    Ovk8u twoRows[2][8] = {{9, 9, 9, 9, 9, 0, 9, 9}, {9, 9, 0, 9, 9, 9, 9, 9}};
    Ovk8u min = 1;
    int ix = -1, iy = -1;
    ASSERT_EQ(ovkiMinIndx_8u_C1R(&twoRows[0][0], 8, {8, 2}, &min, &ix, &iy), ovkStatusOk);
    EXPECT_EQ(std::vector<int>({min, ix, iy}), std::vector<int>({0, 5, 0}));
    const Ovk32f level[4] = {1, 7, 2, 7};
    Ovk32f max = 0;
    ASSERT_EQ(ovkiMaxIndx_32f_C1R(level, 16, {4, 1}, &max, &ix, &iy), ovkStatusOk);
    EXPECT_EQ(ix, 1);
    const Ovk8u three[3] = {1, 2, 2};
    Ovk64f mean = 0;
    ASSERT_EQ(ovkiMean_8u_C1R(three, 3, {3, 1}, &mean), ovkStatusOk);
    EXPECT_EQ(mean, 1.6666666666666667);
    const Ovk8u zeros[3] = {}, ones[3] = {3, 4, 0};
    Ovk64f rel = 0;
    EXPECT_EQ(ovkiNormRel_L2_8u_C1R(ones, 3, zeros, 3, {3, 1}, &rel), ovkStatusDivByZero);
    EXPECT_EQ(rel, 5.0);
    // One million tenths: the double sum of the float values, not a float running sum.
    std::vector<Ovk32f> tenths(1000 * 1000, 0.1f);
    Ovk64f sum = 0;
    ASSERT_EQ(ovkiSum_32f_C1R(tenths.data(), 4000, {1000, 1000}, &sum), ovkStatusOk);
    EXPECT_NEAR(sum, 1e6 * double(0.1f), 1e-6);
    // Accumulators wide enough: 2^62 products of 32-bit values, 16u squares.
    const Ovk32s extreme[4] = {INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN};
    Ovk64f dot = 0;
    ASSERT_EQ(ovkiDotProd_32s64f_C1R(extreme, 16, extreme, 16, {4, 1}, &dot), ovkStatusOk);
    EXPECT_EQ(dot, 0x1p64);
    std::vector<Ovk16u> white(70000, 65535);
    Ovk64f l2 = 0;
    ASSERT_EQ(ovkiNorm_L2_16u_C1R(white.data(), 140000, {70000, 1}, &l2), ovkStatusOk);
    EXPECT_EQ(l2, std::sqrt(70000.0 * 65535.0 * 65535.0));
    // The quality index: identical images 1, constant ones NaN and -210, a negative about the mean below 0.
    const Ovk32f ramp[4] = {10, 20, 30, 40}, flat[4] = {5, 5, 5, 5}, mirrored[4] = {40, 30, 20, 10};
    Ovk32f q = 0;
    ASSERT_EQ(ovkiQualityIndex_32f_C1R(ramp, 16, ramp, 16, {4, 1}, &q), ovkStatusOk);
    EXPECT_NEAR(q, 1.0f, 1e-6f);
    EXPECT_EQ(ovkiQualityIndex_32f_C1R(flat, 16, flat, 16, {4, 1}, &q), ovkStatusQualityIndexError);
    EXPECT_TRUE(std::isnan(q));
    ASSERT_EQ(ovkiQualityIndex_32f_C1R(ramp, 16, mirrored, 16, {4, 1}, &q), ovkStatusOk);
    EXPECT_LT(q, 0.0f);
}

}  // namespace
