// Generated images and noise, every member: the ramp from offset + slope * k
// (rounded half up, clamped), the zone plate from sin(pi/2 r^2 / R) mapped on
// the type's range and its symmetries; noise by its range, its moments and
// its determinism per seed. The generator's own values are pinned by the
// known values elsewhere, not modelled here.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <numbers>

#include "oracle.hpp"

namespace {

using namespace exchange_test;

struct Range {
    long double lo, hi;
};
const std::map<std::string, Range> kRanges = {
    {"8u", {0, 255}}, {"8s", {-128, 127}}, {"16u", {0, 65535}}, {"16s", {-32768, 32767}},
    {"32s", {-2147483648.0L, 2147483647}}};
Range rangeOf(const std::string& code) { return kRanges.at(code); }

// An exact value to an element: integers round half up and clamp.
long double toElement(long double v, const std::string& code)
{
    if (code == "32f") return v;
    const Range r = rangeOf(code);
    return std::clamp(std::floor(v + 0.5L), r.lo, r.hi);
}

// Ties on both sides of zero, 254.5 for 8u, odd values between 2^23 and 2^24
// (x * y), slopes that leave every range, and axes that write nothing.
TEST(ImageRamp, OffsetPlusSlopeTimesK)
{
    struct Case { float offset, slope; int axis; OvkiSize roi; };
    const Case cases[] = {{0.5f, 1.0f, 0, {300, 2}}, {-2.5f, 0.25f, 1, {3, 24}}, {8388609.0f, 2.0f, 2, {7, 5}},
                          {100.0f, -3.5f, 0, {80, 2}}, {-1e10f, 3e8f, 2, {9, 9}}, {1, 1, 3, {5, 2}},
                          {1, 1, -1, {5, 2}}};
    for (const Function* f : members("ImageRamp"))
        for (const Case& k : cases) {
            Invocation inv(*f, setup(*f, k.roi));
            setFloat(inv, "offset", k.offset);
            setFloat(inv, "slope", k.slope);
            inv.setInt("axis", k.axis);
            const Before before(inv, "pDst");
            ASSERT_EQ(inv.call(), ovkStatusOk);
            const std::string token = f->layout[0];
            EXPECT_EQ(mismatch(inv, "pDst", k.roi.width, k.roi.height, stored(token), [&](int x, int y, int c) {
                          if (c >= processed(token) || unsigned(k.axis) > 2) return before(x, y, c);
                          const float t = k.axis == 0 ? float(x) : k.axis == 1 ? float(y) : float(x) * float(y);
                          volatile float product = k.slope * t;  // single precision, no fused multiply-add
                          return toElement(float(k.offset + product), f->types[0]);
                      }), "") << "offset " << k.offset << ", slope " << k.slope << ", axis " << k.axis;
        }
}

long double zonePlate(int x, int y, OvkiSize s, const std::string& code)
{
    const long double dx = x - (s.width - 1) / 2.0L, dy = y - (s.height - 1) / 2.0L;
    const long double R = std::max(s.width, s.height) / 2.0L;
    const long double z = std::sin(std::numbers::pi_v<long double> / 2 * (dx * dx + dy * dy) / R);
    if (code == "32f") return z;
    const Range r = rangeOf(code);
    return toElement(r.lo == 0 ? (z + 1) / 2 * r.hi : z * r.hi, code);
}

// Within one unit of the formula for integers (the sine's rounding aside);
// the centre of an odd-sized image exactly the middle of the range.
TEST(ImageJaehne, FollowsTheZonePlate)
{
    for (const Function* f : members("ImageJaehne"))
        for (OvkiSize roi : {OvkiSize{19, 3}, OvkiSize{64, 64}, OvkiSize{1, 1}, OvkiSize{15, 9}}) {
            Invocation inv(*f, setup(*f, roi));
            const Before before(inv, "pDst");
            ASSERT_EQ(inv.call(), ovkStatusOk);
            const std::string token = f->layout[0], code = f->types[0];
            EXPECT_EQ(mismatch(inv, "pDst", roi.width, roi.height, stored(token), [&](int x, int y, int c) {
                          return c < processed(token) ? zonePlate(x, y, roi, code) : before(x, y, c);
                      }, code == "32f" ? 1e-6L : 1.0L), "");
            if (roi.width % 2) {
                EXPECT_EQ(inv.get("pDst", roi.width / 2, roi.height / 2, 0), zonePlate(0, 0, {1, 1}, code)) << f->name;
            }
        }
}

// Per type: the image value, then low and high (uniform) or mean and
// deviation (Gaussian), all far from saturation.
const std::map<std::string, std::array<long double, 5>> kNoise = {
    {"8u", {50, 10, 200, 20, 15}}, {"16u", {1000, 3, 30000, 500, 100}},
    {"16s", {0, -1000, 3000, -50, 300}}, {"32f", {0, -2.5, 7.25, 1.5, 2}}};

// The noise added to a constant image of 128 x 64, and the seed left behind.
std::vector<long double> noise(const Function& f, unsigned seed, unsigned* seedOut = nullptr)
{
    const std::string code = f.types[0];
    const auto& p = kNoise.at(code);
    const bool uniform = f.family == "AddRandUniform_Direct";
    Invocation inv(f, setup(f, {128, 64}));
    for (int k = 0; k < 2; ++k) {
        const std::string param = uniform ? (k ? "high" : "low") : (k ? "stdDev" : "mean");
        const long double value = p[1 + 2 * !uniform + k];
        code == "32f" ? setFloat(inv, param, float(value)) : inv.setInt(param, int(value));
    }
    inv.setInt("pSeed", int(seed));
    for (int i = 0; i < 128 * 64; ++i) inv.set("pSrcDst", i % 128, i / 128, 0, 0, p[0]);
    EXPECT_EQ(inv.call(), ovkStatusOk);
    std::vector<long double> v;
    for (int i = 0; i < 128 * 64; ++i) v.push_back(inv.get("pSrcDst", i % 128, i / 128, 0) - p[0]);
    if (seedOut) *seedOut = unsigned(inv.arg("pSeed"));
    return v;
}

TEST(AddRandUniform, WithinLowAndHighMeanInTheMiddle)
{
    for (const Function* f : members("AddRandUniform_Direct")) {
        const auto& p = kNoise.at(f->types[0]);
        const long double low = p[1], high = p[2], width = high - low;
        const std::vector<long double> v = noise(*f, 777);
        long double sum = 0;
        for (long double e : v) sum += e;
        const auto [mn, mx] = std::minmax_element(v.begin(), v.end());
        EXPECT_GE(*mn, low) << f->name;
        EXPECT_LE(*mx, high) << f->name;
        EXPECT_LT(*mn - low, width * 0.01L + 1) << f->name;
        EXPECT_LT(high - *mx, width * 0.01L + 1) << f->name;
        const double error = double(5 * width / std::sqrt(12.0L * v.size())) + 0.5;  // and truncation
        EXPECT_NEAR(double(sum / v.size()), double(low + high) / 2, error) << f->name;
    }
}

TEST(AddRandGauss, MeanDeviationAndShareWithinOneDeviation)
{
    for (const Function* f : members("AddRandGauss_Direct")) {
        const auto& p = kNoise.at(f->types[0]);
        const long double mean = p[3], dev = p[4];
        const std::vector<long double> v = noise(*f, 4242);
        long double sum = 0, squares = 0;
        int within = 0;
        for (long double e : v) {
            sum += e;
            squares += (e - mean) * (e - mean);
            within += std::fabs(e - mean) <= dev;
        }
        const double n = double(v.size());
        EXPECT_NEAR(double(sum) / n, double(mean), 5 * double(dev) / std::sqrt(n) + 0.5) << f->name;
        EXPECT_NEAR(std::sqrt(double(squares) / n), double(dev), 0.05 * double(dev)) << f->name;
        EXPECT_NEAR(within / n, 0.6827, 0.03) << f->name;
    }
}

// The same seed gives the same noise and the same new seed; the new seed
// differs from the old one and continues with other noise.
TEST(AddRand, DeterministicPerSeedAndTheSeedMoves)
{
    std::vector<const Function*> all = members("AddRandUniform_Direct");
    for (const Function* f : members("AddRandGauss_Direct")) all.push_back(f);
    for (const Function* f : all) {
        unsigned s1 = 0, s2 = 0, s3 = 0;
        const auto a = noise(*f, 99, &s1), b = noise(*f, 99, &s2), c = noise(*f, s1, &s3);
        EXPECT_TRUE(a == b && s1 == s2) << f->name;
        EXPECT_NE(s1, 99u) << f->name;
        EXPECT_NE(s3, s1) << f->name;
        EXPECT_NE(a, c) << f->name;
    }
}

}  // namespace
