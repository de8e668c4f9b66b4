// Masks, counts and Otsu's threshold against brute force: every Compare,
// CompareC, CompareEqualEps(C) and CountInRange member over sources drawn
// from a few values (so that equality and both bounds occur, NaN and signed
// zeros for 32f); Otsu against the between-class variance of every split
// computed directly.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "support/api.hpp"

namespace {

using namespace ovktest::api;
using ld = long double;

int channelsOf(const Function& f) { return f.layout.front() == "AC4" ? 3 : f.layout.front()[1] - '0'; }

ld drawValue(const std::string& type, std::mt19937& rng)
{
    static const ld any[] = {0, 1, 7, 30, 50, 99};
    static const ld floats[] = {0, -0.0L, 1, 1.25L, 7, 50, NAN, -INFINITY};
    return type == "32f" ? floats[rng() % std::size(floats)] : any[rng() % std::size(any)];
}

bool holds(int op, ld a, ld b)
{
    switch (op) {
    case ovkCmpLess: return a < b;
    case ovkCmpLessEq: return a <= b;
    case ovkCmpEq: return a == b;
    case ovkCmpGreaterEq: return a >= b;
    default: return a > b;
    }
}

TEST(Compare, EveryMemberMarksPixelsWhereEveryChannelHolds)
{
    for (const Function& f : functions()) {
        if (f.family.rfind("Compare", 0) != 0) continue;
        const bool eps = f.family.find("Eps") != std::string::npos, constant = f.param("pSrc") != nullptr;
        const std::string type = f.types.front(), first = constant ? "pSrc" : "pSrc1";
        const int channels = channelsOf(f);
        std::mt19937 rng(std::hash<std::string>{}(f.name));
        for (int op = 0; op <= (eps ? 2 : 4); ++op) {
            Invocation inv(f, {{37, 3}, false, unsigned(op + 1)});
            const float tolerance = float(op) * 0.25f;  // eps forms: 0, 0.25, 0.5
            if (eps) inv.setNumber("eps", 0, tolerance);
            else inv.setInt("cmpOp", op);
            std::vector<ld> value(channels);
            for (int c = 0; c < channels; ++c) {
                value[c] = drawValue(type, rng);
                if (constant) inv.setNumber("value", c, value[c]);
            }
            for (int y = 0; y < 3; ++y)
                for (int x = 0; x < 37; ++x)
                    for (int c = 0; c < 4; ++c) {
                        if (c < channels) inv.set(first, x, y, c, 0, drawValue(type, rng));
                        if (!constant && c < channels) inv.set("pSrc2", x, y, c, 0, drawValue(type, rng));
                    }
            ASSERT_EQ(inv.call(), ovkStatusOk) << f.name;
            for (int y = 0; y < 3; ++y)
                for (int x = 0; x < 37; ++x) {
                    bool all = true;
                    for (int c = 0; c < channels; ++c) {
                        const ld a = inv.get(first, x, y, c), b = constant ? value[c] : inv.get("pSrc2", x, y, c);
                        all = all && (eps ? std::fabs(float(a) - float(b)) <= tolerance : holds(op, a, b));
                    }
                    ASSERT_EQ(inv.get("pDst", x, y, 0), all ? 255 : 0) << f.name << " op " << op << " at " << x << ", " << y;
                }
        }
    }
}

TEST(Compare, KnownValues)
{
    Ovk8u a[2] = {1, 2}, b[2] = {1, 3}, mask[2] = {9, 9};
    EXPECT_EQ(ovkiCompare_8u_C1R(a, 2, b, 2, mask, 2, {2, 1}, OvkCmpOp(5)), ovkStatusOk);
    EXPECT_EQ(mask[0], 9);
    float p[2] = {1, 2}, q[2] = {1, 2.5f};
    EXPECT_EQ(ovkiCompareEqualEps_32f_C1R(p, 8, q, 8, mask, 2, {2, 1}, -1.0f), ovkStatusEpsilonError);
    ASSERT_EQ(ovkiCompareEqualEps_32f_C1R(p, 8, q, 8, mask, 2, {2, 1}, 0.0f), ovkStatusOk);
    EXPECT_EQ(mask[0] * 1000 + mask[1], 255000);
}

TEST(CountInRange, EveryMemberCountsEachChannel)
{
    for (const Function& f : functions()) {
        if (f.family != "CountInRange") continue;
        const std::string type = f.types.front();
        const int channels = channelsOf(f);
        Invocation inv(f, {{53, 5}, false, 3});
        std::mt19937 rng(7);
        for (int y = 0; y < 5; ++y)
            for (int x = 0; x < 53; ++x)
                for (int c = 0; c < channels; ++c) inv.set("pSrc", x, y, c, 0, rng() % 4 ? drawValue(type, rng) : ld(rng() % 120));
        ASSERT_EQ(inv.call(), ovkStatusOk) << f.name;
        for (int c = 0; c < channels; ++c) {
            const ld lo = inv.arg("lowerBound", c), hi = inv.arg("upperBound", c);
            long want = 0;
            for (int y = 0; y < 5; ++y)
                for (int x = 0; x < 53; ++x) want += inv.get("pSrc", x, y, c) >= lo && inv.get("pSrc", x, y, c) <= hi;
            EXPECT_EQ(inv.get("pCounts", c, 0, 0), want) << f.name << " channel " << c;
        }
    }
    Ovk8u tens[3] = {10, 11, 10};
    Ovk32s count = -1;
    ASSERT_EQ(ovkiCountInRange_8u_C1R(tens, 3, {3, 1}, &count, 10, 10), ovkStatusOk);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(ovkiCountInRange_8u_C1R(tens, 3, {3, 1}, &count, 11, 10), ovkStatusRangeError);
}

// The between-class variance w0 * w1 * (m0 - m1)^2 of splitting after each
// level, each term summed afresh (-1 where a class is empty).
std::vector<double> splitVariances(const std::vector<Ovk8u>& img)
{
    double h[256] = {};
    for (Ovk8u v : img) h[v] += 1.0 / double(img.size());
    std::vector<double> var(256, -1);
    for (int t = 0; t < 255; ++t) {
        double w0 = 0, s0 = 0, s1 = 0;
        for (int i = 0; i < 256; ++i) (i <= t ? s0 : s1) += (i + 0.5) * h[i], w0 += i <= t ? h[i] : 0;
        if (w0 > 1e-6 && 1 - w0 > 1e-6) var[t] = w0 * (1 - w0) * std::pow(s0 / w0 - s1 / (1 - w0), 2);
    }
    return var;
}

// Levels that split nothing apart tie exactly; which of them the running sums
// settle on is left to their rounding, so any split of (nearly) the largest
// variance is accepted here, and the known values pin the tie rule.
TEST(Otsu, ChoosesASplitOfLargestVariance)
{
    std::mt19937 rng(11);
    for (int trial = 0; trial < 40; ++trial) {
        const int w = 1 + int(rng() % 90), hgt = 1 + int(rng() % 7);
        const int c0 = int(rng() % 200), c1 = c0 + 5 + int(rng() % 40);
        std::vector<Ovk8u> img(std::size_t(w) * hgt);
        for (Ovk8u& v : img) v = Ovk8u((rng() % 2 ? c0 : c1) + int(rng() % 15));
        Ovk8u got = 0;
        ASSERT_EQ(ovkiComputeThreshold_Otsu_8u_C1R(img.data(), w, {w, hgt}, &got), ovkStatusOk);
        const std::vector<double> var = splitVariances(img);
        const double best = *std::max_element(var.begin(), var.end());
        EXPECT_GE(best > 0 ? var[got] : 0, best * (1 - 1e-9)) << "trial " << trial << ": split after " << int(got);
    }
    std::vector<Ovk8u> halves(64, 0), flat(64, 77);
    std::fill(halves.begin() + 32, halves.end(), 255);
    Ovk8u got = 9;
    ASSERT_EQ(ovkiComputeThreshold_Otsu_8u_C1R(halves.data(), 8, {8, 8}, &got), ovkStatusOk);
    EXPECT_EQ(got, 0);
    ASSERT_EQ(ovkiComputeThreshold_Otsu_8u_C1R(flat.data(), 8, {8, 8}, &got), ovkStatusOk);
    EXPECT_EQ(got, 0);
    EXPECT_EQ(ovkiComputeThreshold_Otsu_8u_C1R(flat.data(), 7, {8, 8}, &got), ovkStatusStepError);
}

}  // namespace
