// Every threshold member against the rule written out literally: integer
// values compared as values, floats as bit patterns (signed when the
// threshold is >= 0.0, unsigned with the sense reversed below it). Sources
// hold the thresholds themselves (strictness), their neighbours, and for 32f
// signed zeros, infinities and NaNs. The generic harness covers check order,
// guard bands, alpha and in place.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "support/api.hpp"

namespace {

using namespace ovktest::api;
using ld = long double;

bool holds32f(float x, float t, bool greater)
{
    if (t >= 0.0f) {
        const std::int32_t xi = std::bit_cast<std::int32_t>(x), ti = std::bit_cast<std::int32_t>(t);
        return greater ? xi > ti : xi < ti;
    }
    const std::uint32_t xu = std::bit_cast<std::uint32_t>(x), tu = std::bit_cast<std::uint32_t>(t);
    return greater ? xu < tu : xu > tu;
}

bool holds(const std::string& type, ld x, ld t, bool greater)
{
    if (type == "32f") return holds32f(float(x), float(t), greater);
    return greater ? x > t : x < t;
}

bool same(ld a, ld b) { return (std::isnan(a) && std::isnan(b)) || (a == b && std::signbit(a) == std::signbit(b)); }

int channelsOf(const Function& f) { return f.layout.front() == "AC4" ? 3 : f.layout.front()[1] - '0'; }

// A threshold for channel c in round r, and a source value near it.
ld pickThreshold(const std::string& type, std::mt19937& rng, int round)
{
    if (type == "32f") {
        static const float set[] = {0.0f, -0.0f, 1.5f, -1.5f, -100.0f, 3e-42f, -3e-42f, 50.0f};
        return set[(rng() + round) % std::size(set)];
    }
    const ld lo = type == "16s" ? -300 : 0, hi = type == "8u" ? 255 : 300;
    return lo + ld(rng() % unsigned(hi - lo + 1));
}

ld pickSource(const std::string& type, std::mt19937& rng, const std::vector<ld>& near)
{
    const ld t = near[rng() % near.size()];
    switch (rng() % 6) {
    case 0: return t;
    case 1: return type == "32f" ? ld(std::nextafter(float(t), 1e30f)) : t + 1;
    case 2: return type == "32f" ? ld(std::nextafter(float(t), -1e30f)) : t - 1;
    default: break;
    }
    if (type == "32f") {
        static const float specials[] = {0.0f, -0.0f, INFINITY, -INFINITY, NAN, -NAN, 1e-40f, -1e-40f, 7.25f, -7.25f};
        return specials[rng() % std::size(specials)];
    }
    return type == "16s" ? ld(int(rng() % 65536) - 32768) : ld(rng() % (type == "8u" ? 256 : 65536));
}

TEST(Threshold, EveryMemberFollowsTheLiteralRule)
{
    int members = 0;
    for (const Function& f : functions()) {
        if (f.family.rfind("Threshold", 0) != 0) continue;
        ++members;
        const std::string type = f.types.front(), family = f.family;
        const bool twoSided = family == "Threshold_LTValGTVal";
        const int channels = channelsOf(f);
        const std::string src = f.param("pSrcDst") ? "pSrcDst" : "pSrc", dst = f.param("pSrcDst") ? "pSrcDst" : "pDst";
        std::mt19937 rng(std::hash<std::string>{}(f.name));
        for (int round = 0; round < 6; ++round) {
            Invocation inv(f, {{37, 3}, false, unsigned(round + 1)});
            // Per channel: the operation, thresholds and values of the rules (upper rule first).
            bool greater = family.find("GT") != std::string::npos;
            if (f.param("cmpOp")) {
                greater = round % 2 == 1;
                inv.setInt("cmpOp", greater ? ovkCmpGreater : ovkCmpLess);
            }
            std::vector<std::vector<ld>> t(channels), v(channels);
            std::vector<ld> near;
            for (int c = 0; c < channels; ++c) {
                ld a = pickThreshold(type, rng, round), b = pickThreshold(type, rng, round + 1);
                if (twoSided && b < a) std::swap(a, b);  // thresholdLT <= thresholdGT
                const ld va = pickThreshold(type, rng, round + 2), vb = pickThreshold(type, rng, round + 3);
                if (twoSided) {
                    t[c] = {b, a}, v[c] = {vb, va};
                    inv.setNumber("thresholdGT", c, b), inv.setNumber("valueGT", c, vb);
                    inv.setNumber("thresholdLT", c, a), inv.setNumber("valueLT", c, va);
                } else {
                    const bool hasValue = f.param("value") != nullptr;
                    t[c] = {a}, v[c] = {hasValue ? va : a};
                    inv.setNumber("threshold", c, a);
                    if (hasValue) inv.setNumber("value", c, va);
                }
                near.insert(near.end(), t[c].begin(), t[c].end());
            }
            for (int y = 0; y < 3; ++y)
                for (int x = 0; x < 37; ++x)
                    for (int c = 0; c < channels; ++c) inv.set(src, x, y, c, 0, pickSource(type, rng, near));
            std::vector<ld> in;
            for (int y = 0; y < 3; ++y)
                for (int x = 0; x < 37; ++x)
                    for (int c = 0; c < channels; ++c) in.push_back(inv.get(src, x, y, c));
            ASSERT_EQ(inv.call(), ovkStatusOk) << f.name;
            for (int y = 0, k = 0; y < 3; ++y)
                for (int x = 0; x < 37; ++x)
                    for (int c = 0; c < channels; ++c, ++k) {
                        const ld s = in[std::size_t(k)];
                        ld want = s;
                        if (twoSided) {
                            if (holds(type, s, t[c][0], true)) want = v[c][0];
                            else if (holds(type, s, t[c][1], false)) want = v[c][1];
                        } else if (holds(type, s, t[c][0], greater)) {
                            want = v[c][0];
                        }
                        const ld got = inv.get(dst, x, y, c);
                        ASSERT_TRUE(same(got, want)) << f.name << " round " << round << " at (" << x << ", " << y << ", " << c
                                                     << "): source " << s << ", threshold " << t[c][0] << ", got " << got
                                                     << ", want " << want;
                    }
        }
    }
    EXPECT_GT(members, 0);
}

TEST(Threshold, KnownValues)
{
    Ovk8u px[4] = {99, 100, 101, 255};
    ASSERT_EQ(ovkiThreshold_GT_8u_C1IR(px, 4, {4, 1}, 100), ovkStatusOk);
    EXPECT_EQ(std::vector<Ovk8u>(px, px + 4), (std::vector<Ovk8u>{99, 100, 100, 100}));
    EXPECT_EQ(ovkiThreshold_Val_8u_C1R(nullptr, 1, nullptr, 1, {1, 1}, 1, 2, ovkCmpEq), ovkStatusModeNotSupported);

    Ovk8u band[4] = {49, 50, 51, 0};
    ASSERT_EQ(ovkiThreshold_LTValGTVal_8u_C1IR(band, 4, {4, 1}, 50, 7, 50, 9), ovkStatusOk);
    EXPECT_EQ(std::vector<Ovk8u>(band, band + 4), (std::vector<Ovk8u>{7, 50, 9, 7}));
    EXPECT_EQ(ovkiThreshold_LTValGTVal_8u_C1IR(band, 4, {4, 1}, 60, 7, 50, 9), ovkStatusThresholdError);

    float f[4] = {-0.5f, -0.0f, 0.0f, -5.0f};
    ASSERT_EQ(ovkiThreshold_LTVal_32f_C1IR(f, 16, {4, 1}, 0.0f, 1.0f), ovkStatusOk);
    EXPECT_EQ(std::vector<float>(f, f + 4), (std::vector<float>{1, 1, 0, 1}));
    EXPECT_FALSE(std::signbit(f[2]));
    float g[3] = {-5.0f, -0.0f, 3.0f};
    ASSERT_EQ(ovkiThreshold_LTVal_32f_C1IR(g, 12, {3, 1}, -0.0f, 1.0f), ovkStatusOk);
    EXPECT_EQ(g[0], -5.0f);
    ASSERT_EQ(ovkiThreshold_GTVal_32f_C1IR(g, 12, {3, 1}, -0.0f, 1.0f), ovkStatusOk);
    EXPECT_TRUE(g[0] == 1.0f && std::signbit(g[1]) && g[1] == 0.0f && g[2] == 1.0f);
}

}  // namespace
