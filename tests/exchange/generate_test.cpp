// Generated images and noise: every ramp and Jaehne member and the four
// uniform and four Gaussian noise members, with their argument checks.
//
// The ramp is checked against offset + slope * k evaluated in single
// precision and rounded half up in exact arithmetic; the zone plate against
// its formula, its symmetries and its range; uniform noise against a model of
// the generator written here from its description; Gaussian noise by its
// determinism and sample statistics.
#include <gtest/gtest.h>
#include <ovk/ovkimx.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <numbers>
#include <string>
#include <type_traits>
#include <vector>

#include "frame/layout.hpp"
#include "support/guarded_image.hpp"
#include "support/sweep.hpp"

namespace {

using namespace ovktest;

template <class T>
constexpr double kMin = double(std::numeric_limits<T>::lowest());
template <class T>
constexpr double kMax = double(std::numeric_limits<T>::max());

// An exact value (never NaN) rounded half up and clamped to an integer type.
template <class T>
T roundHalfUpClamped(double v)
{
    const double r = std::floor(v + 0.5);
    if (r <= kMin<T>) return std::numeric_limits<T>::lowest();
    if (r >= kMax<T>) return std::numeric_limits<T>::max();
    return static_cast<T>(r);
}

template <class T>
T clampedSum(double v)
{
    if (v <= kMin<T>) return std::numeric_limits<T>::lowest();
    if (v >= kMax<T>) return std::numeric_limits<T>::max();
    return static_cast<T>(v);
}

unsigned seedOf(const std::string& name)
{
    unsigned h = 2166136261u;
    for (char c : name) h = (h ^ static_cast<unsigned char>(c)) * 16777619u;
    return h;
}

template <class C>
std::string caseName(const ::testing::TestParamInfo<C>& info)
{
    return info.param.name;
}

// ---------------------------------------------------------------------------
// Ramp
// ---------------------------------------------------------------------------

template <class T>
using RampFn = OvkStatus (*)(T*, int, OvkiSize, float, float, int);

template <class T>
T expectedRamp(float offset, float slope, int axis, int x, int y)
{
    const float k = axis == 0 ? float(x) : axis == 1 ? float(y) : float(x) * float(y);
    const float v = offset + slope * k;
    if constexpr (std::is_floating_point_v<T>)
        return v;
    else
        return roundHalfUpClamped<T>(double(v));
}

// Offsets and slopes: ties on both sides of zero, both ends of the range,
// odd integers between 2^23 and 2^24 (where adding one half in single
// precision would round up), and a slope that leaves the range.
template <class T>
std::vector<std::pair<float, float>> rampParameters()
{
    const float lo = float(kMin<T>), hi = float(kMax<T>);
    return {{0.0f, 1.0f},      {0.5f, 0.25f},        {-2.5f, 0.5f},       {-7.0f, 3.0f},
            {hi - 4.5f, 1.0f}, {lo + 3.0f, -1.0f},   {10000001.0f, 2.0f}, {8388609.0f, -2.0f},
            {0.0f, hi / 7.0f}, {-0.75f, -hi / 9.0f}, {126.5f, 1.0f},      {-129.5f, 1.0f}};
}

const OvkiSize kRampSizes[] = {{1, 1}, {7, 5}, {33, 3}};

template <class T, class L>
void rampValues(RampFn<T> f)
{
    for (OvkiSize s : kRampSizes)
        for (int axis = 0; axis < 3; ++axis)
            for (auto [offset, slope] : rampParameters<T>()) {
                SCOPED_TRACE(::testing::Message() << s.width << "x" << s.height << " axis " << axis << " offset "
                                                  << offset << " slope " << slope);
                GuardedImage<T> dst(s.width, s.height, L::stored);
                dst.scramble(seedOf("ramp") + unsigned(axis));
                ASSERT_EQ(f(dst.roi(), dst.step(), s, offset, slope, axis), ovkStatusOk);
                expectWriteDiscipline<L>(dst);
                for (int y = 0; y < s.height; ++y)
                    for (int x = 0; x < s.width; ++x)
                        for (int c = 0; c < L::processed; ++c) {
                            const T want = expectedRamp<T>(offset, slope, axis, x, y);
                            ASSERT_TRUE(sameElement(dst.get(x, y, c), want))
                                << "at x=" << x << " y=" << y << " channel " << c << ": got "
                                << describe(dst.get(x, y, c)) << ", expected " << describe(want);
                        }
            }
}

template <class T, class L>
void rampInvalidAxis(RampFn<T> f)
{
    GuardedImage<T> dst(6, 3, L::stored);
    dst.scramble(77);
    for (int axis : {-1, 3, 4, 100, INT_MIN, INT_MAX}) {
        SCOPED_TRACE(::testing::Message() << "axis " << axis);
        expectRejected(ovkStatusOk, [&] { return f(dst.roi(), dst.step(), dst.size(), 1.0f, 2.0f, axis); }, dst);
    }
}

// Pointer, then step, then size; each failure writes nothing. The caller
// supplies the call with the family's own parameters bound.
template <class T, class L, class Call>
void generatorChecks(Call call)
{
    GuardedImage<T> dst(5, 3, L::stored);
    dst.scramble(78);
    const OvkiSize s = dst.size(), zero{0, 0};
    auto reject = [&](OvkStatus want, T* p, int step, OvkiSize size) {
        expectRejected(want, [&] { return call(p, step, size); }, dst);
    };
    reject(ovkStatusNullPointer, nullptr, dst.step(), s);
    reject(ovkStatusNullPointer, nullptr, 0, zero);
    reject(ovkStatusStepError, dst.roi(), 0, s);
    reject(ovkStatusStepError, dst.roi(), -dst.step(), s);
    reject(ovkStatusStepError, dst.roi(), 0, zero);
    for (OvkiSize bad : {OvkiSize{0, 3}, OvkiSize{5, 0}, OvkiSize{-1, 3}, OvkiSize{5, -2}, OvkiSize{INT_MIN, 0}}) {
        SCOPED_TRACE(::testing::Message() << "size " << bad.width << "x" << bad.height);
        reject(ovkStatusSizeError, dst.roi(), dst.step(), bad);
    }
}

struct RampCase {
    std::string name;
    std::function<void()> values, invalidAxis, checks;
};
std::ostream& operator<<(std::ostream& os, const RampCase& c) { return os << c.name; }

template <class T, class L>
RampCase rampCase(std::string name, RampFn<T> f)
{
    return {name, [=] { rampValues<T, L>(f); }, [=] { rampInvalidAxis<T, L>(f); },
            [=] {
                generatorChecks<T, L>([f](T* p, int step, OvkiSize s) { return f(p, step, s, 1.0f, 1.0f, 0); });
                // The axis is a parameter: tested after the image arguments.
                generatorChecks<T, L>([f](T* p, int step, OvkiSize s) { return f(p, step, s, 1.0f, 1.0f, 3); });
            }};
}

// ---------------------------------------------------------------------------
// Jaehne zone plate
// ---------------------------------------------------------------------------

template <class T>
using JaehneFn = OvkStatus (*)(T*, int, OvkiSize);

// z = sin(pi/2 * r^2 / R) about the centre ((W-1)/2, (H-1)/2), R half the
// larger side.
double zonePlate(OvkiSize s, int x, int y)
{
    const double dx = x - (s.width - 1) / 2.0, dy = y - (s.height - 1) / 2.0;
    const double R = std::max(s.width, s.height) / 2.0;
    return std::sin(std::numbers::pi / 2.0 * (dx * dx + dy * dy) / R);
}

// z on the type's range: unsigned (z + 1) / 2 * max, signed z * max, 32f z.
template <class T>
double zoneValue(double z)
{
    if constexpr (std::is_floating_point_v<T>)
        return z;
    else if constexpr (std::is_unsigned_v<T>)
        return (z + 1.0) / 2.0 * kMax<T>;
    else
        return z * kMax<T>;
}

const OvkiSize kJaehneSizes[] = {{1, 1}, {9, 9}, {16, 5}, {5, 16}, {12, 12}, {31, 2}};

template <class T, class L>
GuardedImage<T> jaehneImage(JaehneFn<T> f, OvkiSize s)
{
    GuardedImage<T> dst(s.width, s.height, L::stored);
    dst.scramble(seedOf("jaehne") + unsigned(s.width));
    EXPECT_EQ(f(dst.roi(), dst.step(), s), ovkStatusOk);
    expectWriteDiscipline<L>(dst);
    return dst;
}

// Every processed channel of every pixel follows the formula (within one unit
// for integers, rounding of the sine aside); the centre of an odd-sized image
// is exactly the middle of the range (z = 0, ties rounded up).
template <class T, class L>
void jaehneValues(JaehneFn<T> f)
{
    for (OvkiSize s : kJaehneSizes) {
        SCOPED_TRACE(::testing::Message() << s.width << "x" << s.height);
        const GuardedImage<T> dst = jaehneImage<T, L>(f, s);
        for (int y = 0; y < s.height; ++y)
            for (int x = 0; x < s.width; ++x) {
                const double want = zoneValue<T>(zonePlate(s, x, y));
                for (int c = 0; c < L::processed; ++c) {
                    const double got = double(dst.get(x, y, c));
                    if constexpr (std::is_floating_point_v<T>)
                        ASSERT_NEAR(got, want, 1e-6) << "at x=" << x << " y=" << y << " channel " << c;
                    else
                        ASSERT_NEAR(got, double(roundHalfUpClamped<T>(want)), 1.0)
                            << "at x=" << x << " y=" << y << " channel " << c;
                    ASSERT_TRUE(sameElement(dst.get(x, y, c), dst.get(x, y, 0))) << "channels differ at x=" << x;
                }
            }
        if (s.width % 2 == 1 && s.height % 2 == 1) {
            const T centre = dst.get(s.width / 2, s.height / 2, 0);
            if constexpr (std::is_unsigned_v<T>)
                EXPECT_EQ(double(centre), (kMax<T> + 1) / 2);
            else
                EXPECT_EQ(double(centre), 0.0);
        }
    }
}

// Mirror symmetry about both centre lines, and about the diagonal of a square.
template <class T, class L>
void jaehneSymmetry(JaehneFn<T> f)
{
    for (OvkiSize s : kJaehneSizes) {
        SCOPED_TRACE(::testing::Message() << s.width << "x" << s.height);
        const GuardedImage<T> dst = jaehneImage<T, L>(f, s);
        for (int y = 0; y < s.height; ++y)
            for (int x = 0; x < s.width; ++x) {
                const T v = dst.get(x, y, 0);
                ASSERT_TRUE(sameElement(v, dst.get(s.width - 1 - x, y, 0))) << "x=" << x << " y=" << y;
                ASSERT_TRUE(sameElement(v, dst.get(x, s.height - 1 - y, 0))) << "x=" << x << " y=" << y;
                if (s.width == s.height) {
                    ASSERT_TRUE(sameElement(v, dst.get(y, x, 0))) << "x=" << x << " y=" << y;
                }
            }
    }
}

// A large plate sweeps the whole range of the type: z reaches both -1 and 1
// closely, and no value leaves [-1, 1] mapped.
template <class T, class L>
void jaehneRange(JaehneFn<T> f)
{
    const OvkiSize s{64, 48};
    const GuardedImage<T> dst = jaehneImage<T, L>(f, s);
    const double top = zoneValue<T>(1.0), bottom = zoneValue<T>(-1.0), span = top - bottom;
    double lo = top, hi = bottom;
    for (int y = 0; y < s.height; ++y)
        for (int x = 0; x < s.width; ++x) {
            const double v = double(dst.get(x, y, 0));
            ASSERT_GE(v, bottom);
            ASSERT_LE(v, top);
            lo = std::min(lo, v);
            hi = std::max(hi, v);
        }
    EXPECT_LE(lo, bottom + 0.01 * span);
    EXPECT_GE(hi, top - 0.01 * span);
}

struct JaehneCase {
    std::string name;
    std::function<void()> values, symmetry, range, checks;
};
std::ostream& operator<<(std::ostream& os, const JaehneCase& c) { return os << c.name; }

template <class T, class L>
JaehneCase jaehneCase(std::string name, JaehneFn<T> f)
{
    return {name, [=] { jaehneValues<T, L>(f); }, [=] { jaehneSymmetry<T, L>(f); }, [=] { jaehneRange<T, L>(f); },
            [=] { generatorChecks<T, L>(f); }};
}

// ---------------------------------------------------------------------------
// Noise
// ---------------------------------------------------------------------------

template <class T>
using NoiseFn = OvkStatus (*)(T*, int, OvkiSize, T, T, unsigned int*);

// The uniform generator, written out from its definition: a
// subtract-with-borrow recurrence on x1, x2, x3 with borrow c, plus a
// congruential word L; the output of a step is the 32-bit sum t + L read as
// signed.
struct UniformModel {
    std::uint32_t x1, x2, x3, c = 0xFFFFFFFFu, L = 1131199209u, t = 0;

    explicit UniformModel(std::uint32_t seed) : x1(seed)
    {
        x2 = x1 * 69069u + 1013904243u;
        x3 = x2 * 69069u + 1013904243u;
    }

    std::int32_t step()
    {
        t = x2 - x3 + c;
        if (t >> 31) {
            t -= 18u;
            c = 0xFFFFFFFFu;
        } else {
            c = 0u;
        }
        x3 = x2;
        x2 = x1;
        x1 = t;
        L = L * 69069u + 1013904243u;
        const std::uint32_t sum = t + L;
        return static_cast<std::int32_t>(sum);
    }
};

// The image the uniform noise should give, and the seed it should leave.
// Integer noise is truncated; 32f keeps the unrounded value.
template <class T>
std::uint32_t uniformReference(GuardedImage<T>& img, T low, T high, std::uint32_t seed)
{
    const double scale = (double(high) - double(low)) * 2.3283064365387e-10;
    const double mid = (double(low) + double(high)) * 0.5;
    UniformModel g(seed);
    for (int y = 0; y < img.size().height; ++y)
        for (int x = 0; x < img.size().width; ++x) {
            const double v = double(g.step()) * scale + mid;
            if constexpr (std::is_floating_point_v<T>)
                img.set(x, y, 0, static_cast<T>(double(img.get(x, y, 0)) + v));
            else
                img.set(x, y, 0, clampedSum<T>(double(img.get(x, y, 0)) + std::trunc(v)));
        }
    return g.t;
}

// Random images with about one element in eight at a bound of the type, so
// that saturation shows.
template <class T>
void fillNoiseSource(GuardedImage<T>& img, unsigned seed)
{
    img.fillRandom(seed);
    std::mt19937 rng(seed + 1);
    for (int y = 0; y < img.size().height; ++y)
        for (int x = 0; x < img.size().width; ++x) {
            const unsigned r = rng() % 16;
            if (r == 0) img.set(x, y, 0, std::numeric_limits<T>::lowest());
            if (r == 1) img.set(x, y, 0, std::numeric_limits<T>::max());
            if (r == 2) img.set(x, y, 0, T(0));
        }
    img.snapshot();
}

// Ranges per type: the whole type, a narrow band, an odd band and a width 1.
template <class T>
std::vector<std::pair<T, T>> uniformRanges()
{
    if constexpr (std::is_same_v<T, Ovk8u>)
        return {{0, 255}, {10, 20}, {3, 200}, {7, 8}, {255, 255}};
    else if constexpr (std::is_same_v<T, Ovk16u>)
        return {{0, 65535}, {100, 1000}, {1, 2}, {40000, 40001}};
    else if constexpr (std::is_same_v<T, Ovk16s>)
        return {{-32768, 32767}, {-50, 50}, {-7, 300}, {-1, 0}};
    else
        return {{-1.0f, 1.0f}, {-100.0f, 300.0f}, {0.0f, 1e-3f}, {-1e30f, 1e30f}};
}

const std::uint32_t kSeeds[] = {0u, 1u, 12345u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu, 2463534242u};

template <class T>
void uniformFollowsModel(NoiseFn<T> f)
{
    std::size_t k = 0;
    for (auto [low, high] : uniformRanges<T>())
        for (std::uint32_t seed : kSeeds) {
            SCOPED_TRACE(::testing::Message() << "low " << describe(low) << " high " << describe(high) << " seed "
                                              << seed);
            const OvkiSize s{int(19 + 7 * (k % 3)), int(1 + k % 4)};
            ++k;
            GuardedImage<T> img(s.width, s.height, 1), want(s.width, s.height, 1);
            fillNoiseSource(img, seed ^ 0x5A5A5A5Au);
            want.fill([&](int x, int y, int) { return img.get(x, y, 0); });
            const std::uint32_t wantSeed = uniformReference(want, low, high, seed);
            unsigned int state = seed;
            ASSERT_EQ(f(img.roi(), img.step(), s, low, high, &state), ovkStatusOk);
            EXPECT_TRUE(img.outsideRoiUnchanged());
            EXPECT_TRUE(roiEqual(img, want, 1));
            EXPECT_EQ(state, wantSeed);
        }
}

// Without saturation every added value lies in [low, high], and a few
// thousand values come close to both ends (integer values are truncated
// toward zero, so an end may stay one unit away) and average near the middle.
template <class T>
void uniformStaysInRange(NoiseFn<T> f)
{
    T base, low, high;
    if constexpr (std::is_same_v<T, Ovk8u>)
        base = 100, low = 20, high = 60;
    else if constexpr (std::is_same_v<T, Ovk16u>)
        base = 1000, low = 0, high = 5000;
    else if constexpr (std::is_same_v<T, Ovk16s>)
        base = 0, low = -3000, high = 700;
    else
        base = 0.5f, low = -2.0f, high = 6.0f;
    const OvkiSize s{64, 64};
    GuardedImage<T> img(s.width, s.height, 1);
    img.fill([&](int, int, int) { return base; });
    unsigned int seed = 99;
    ASSERT_EQ(f(img.roi(), img.step(), s, low, high, &seed), ovkStatusOk);
    double lo = INFINITY, hi = -INFINITY, sum = 0;
    for (int y = 0; y < s.height; ++y)
        for (int x = 0; x < s.width; ++x) {
            const double n = double(img.get(x, y, 0)) - double(base);
            ASSERT_GE(n, double(low));
            ASSERT_LE(n, double(high));
            lo = std::min(lo, n);
            hi = std::max(hi, n);
            sum += n;
        }
    const double width = double(high) - double(low), count = double(s.width) * s.height;
    const double slack = 0.01 * width + (std::is_floating_point_v<T> ? 0.0 : 1.0);
    EXPECT_LE(lo, double(low) + slack);
    EXPECT_GE(hi, double(high) - slack);
    // The mean of n uniform values has a standard error of width / sqrt(12 n);
    // truncation moves integer means down by up to one half.
    EXPECT_NEAR(sum / count, (double(low) + double(high)) / 2, 5 * width / std::sqrt(12 * count) + 0.5);
}

// The congruential word restarts with every call: noise added to two halves
// in two calls (the second from the seed the first left) is not the noise of
// one call on the whole.
template <class T>
void uniformHalvesDiffer(NoiseFn<T> f)
{
    const T low = std::is_same_v<T, Ovk16s> ? T(-100) : T(0), high = T(200);
    GuardedImage<T> whole(40, 2, 1), halves(40, 2, 1);
    whole.fill([](int, int, int) { return T(20); });
    halves.fill([](int, int, int) { return T(20); });
    unsigned int wholeSeed = 4711, halfSeed = 4711;
    ASSERT_EQ(f(whole.roi(), whole.step(), {40, 2}, low, high, &wholeSeed), ovkStatusOk);
    ASSERT_EQ(f(halves.roi(), halves.step(), {40, 1}, low, high, &halfSeed), ovkStatusOk);
    T* second = reinterpret_cast<T*>(halves.pixelBytes(0, 1));
    ASSERT_EQ(f(second, halves.step(), {40, 1}, low, high, &halfSeed), ovkStatusOk);
    int differences = 0;
    for (int x = 0; x < 40; ++x) {
        EXPECT_TRUE(sameElement(whole.get(x, 0, 0), halves.get(x, 0, 0))) << "first row, x=" << x;
        differences += !sameElement(whole.get(x, 1, 0), halves.get(x, 1, 0));
    }
    EXPECT_GT(differences, 20);
}

// low == high adds exactly that value (saturating) and still moves the seed
// as the generator runs.
template <class T>
void uniformZeroWidth(NoiseFn<T> f)
{
    std::vector<T> values;
    if constexpr (std::is_same_v<T, Ovk8u>)
        values = {0, 10, 255};
    else if constexpr (std::is_same_v<T, Ovk16u>)
        values = {0, 999, 65535};
    else if constexpr (std::is_same_v<T, Ovk16s>)
        values = {0, -7, 32767, -32768};
    else
        values = {0.0f, 2.5f, -1e-3f};
    for (T v : values) {
        SCOPED_TRACE(::testing::Message() << "value " << describe(v));
        GuardedImage<T> img(23, 3, 1);
        fillNoiseSource(img, 31);
        unsigned int seed = 8086;
        std::uint32_t wantSeed = 0;
        {
            UniformModel g(8086);
            for (int i = 0; i < 23 * 3; ++i) g.step();
            wantSeed = g.t;
        }
        GuardedImage<T> before(23, 3, 1);
        before.fill([&](int x, int y, int) { return img.get(x, y, 0); });
        ASSERT_EQ(f(img.roi(), img.step(), img.size(), v, v, &seed), ovkStatusOk);
        EXPECT_EQ(seed, wantSeed);
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 23; ++x) {
                const double sum = double(before.get(x, y, 0)) + double(v);
                T want;
                if constexpr (std::is_floating_point_v<T>)
                    want = static_cast<T>(sum);
                else
                    want = clampedSum<T>(sum);
                ASSERT_TRUE(sameElement(img.get(x, y, 0), want))
                    << "at x=" << x << " y=" << y << ": got " << describe(img.get(x, y, 0)) << ", expected "
                    << describe(want);
            }
    }
}

// Image or seed null (-8), then the size (-6), then the step (-14); neither the
// image nor the seed changes.
template <class T>
void noiseChecks(NoiseFn<T> f, T a, T b)
{
    GuardedImage<T> img(6, 4, 1);
    img.scramble(55);
    const OvkiSize s = img.size(), zero{0, 0};
    auto reject = [&](OvkStatus want, T* p, int step, OvkiSize size, bool withSeed) {
        unsigned int seed = 1234;
        expectRejected(want, [&] { return f(p, step, size, a, b, withSeed ? &seed : nullptr); }, img);
        EXPECT_EQ(seed, 1234u);
    };
    reject(ovkStatusNullPointer, nullptr, img.step(), s, true);
    reject(ovkStatusNullPointer, img.roi(), img.step(), s, false);
    reject(ovkStatusNullPointer, nullptr, 0, zero, true);
    reject(ovkStatusNullPointer, img.roi(), 0, zero, false);
    for (OvkiSize bad : {OvkiSize{0, 4}, OvkiSize{6, 0}, OvkiSize{-6, 4}, OvkiSize{6, INT_MIN}}) {
        SCOPED_TRACE(::testing::Message() << "size " << bad.width << "x" << bad.height);
        reject(ovkStatusSizeError, img.roi(), img.step(), bad, true);
    }
    reject(ovkStatusSizeError, img.roi(), 0, zero, true);
    reject(ovkStatusSizeError, img.roi(), -1, {6, 0}, true);
    reject(ovkStatusStepError, img.roi(), 0, s, true);
    reject(ovkStatusStepError, img.roi(), -img.step(), s, true);
}

struct UniformCase {
    std::string name;
    std::function<void()> model, range, halves, zeroWidth, checks;
};
std::ostream& operator<<(std::ostream& os, const UniformCase& c) { return os << c.name; }

template <class T>
UniformCase uniformCase(std::string name, NoiseFn<T> f)
{
    return {name,
            [=] { uniformFollowsModel<T>(f); },
            [=] { uniformStaysInRange<T>(f); },
            [=] { uniformHalvesDiffer<T>(f); },
            [=] { uniformZeroWidth<T>(f); },
            [=] { noiseChecks<T>(f, T(0), T(10)); }};
}

// Gaussian parameters per type: base image value, mean and deviation.
template <class T>
struct GaussSetting {
    T base, mean, stdDev;
};

template <class T>
GaussSetting<T> gaussSetting()
{
    if constexpr (std::is_same_v<T, Ovk8u>)
        return {Ovk8u(0), Ovk8u(100), Ovk8u(20)};
    else if constexpr (std::is_same_v<T, Ovk16u>)
        return {Ovk16u(1000), Ovk16u(2000), Ovk16u(300)};
    else if constexpr (std::is_same_v<T, Ovk16s>)
        return {Ovk16s(-1000), Ovk16s(-500), Ovk16s(400)};
    else
        return {1.5f, -2.0f, 3.0f};
}

// The same seed gives the same noise and the same new seed; the new seed
// differs from the old and continues the stream with different noise.
template <class T>
void gaussDeterministic(NoiseFn<T> f)
{
    const GaussSetting<T> g = gaussSetting<T>();
    GuardedImage<T> a(29, 3, 1), b(29, 3, 1), c(29, 3, 1);
    for (auto* img : {&a, &b, &c}) img->fill([&](int, int, int) { return g.base; });
    unsigned int seedA = 0xC0FFEEu, seedB = 0xC0FFEEu;
    ASSERT_EQ(f(a.roi(), a.step(), a.size(), g.mean, g.stdDev, &seedA), ovkStatusOk);
    ASSERT_EQ(f(b.roi(), b.step(), b.size(), g.mean, g.stdDev, &seedB), ovkStatusOk);
    EXPECT_TRUE(a.outsideRoiUnchanged());
    EXPECT_TRUE(roiEqual(a, b, 1));
    EXPECT_EQ(seedA, seedB);
    EXPECT_NE(seedA, 0xC0FFEEu);
    unsigned int seedC = seedA;
    ASSERT_EQ(f(c.roi(), c.step(), c.size(), g.mean, g.stdDev, &seedC), ovkStatusOk);
    EXPECT_NE(seedC, seedA);
    int differences = 0;
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 29; ++x) differences += !sameElement(a.get(x, y, 0), c.get(x, y, 0));
    EXPECT_GT(differences, 29 * 3 / 2);
}

// Sample statistics of 128 x 128 values: mean, deviation, the shares within
// one and two deviations (0.6827 and 0.9545 for a normal law, 0.577 and 1 for
// a uniform one) and the correlation of horizontal neighbours. The bounds are
// several standard errors wide.
template <class T>
void gaussStatistics(NoiseFn<T> f)
{
    const GaussSetting<T> g = gaussSetting<T>();
    const OvkiSize s{128, 128};
    GuardedImage<T> img(s.width, s.height, 1);
    img.fill([&](int, int, int) { return g.base; });
    unsigned int seed = 2024;
    ASSERT_EQ(f(img.roi(), img.step(), s, g.mean, g.stdDev, &seed), ovkStatusOk);
    const double mean = double(g.mean), sd = double(g.stdDev), count = double(s.width) * s.height;
    double sum = 0, sum2 = 0, within1 = 0, within2 = 0, cross = 0;
    for (int y = 0; y < s.height; ++y)
        for (int x = 0; x < s.width; ++x) {
            const double n = double(img.get(x, y, 0)) - double(g.base);
            sum += n;
            sum2 += (n - mean) * (n - mean);
            within1 += std::abs(n - mean) < sd;
            within2 += std::abs(n - mean) < 2 * sd;
            if (x > 0) cross += (n - mean) * (double(img.get(x - 1, y, 0)) - double(g.base) - mean);
        }
    const double sampleMean = sum / count, sampleSd = std::sqrt(sum2 / count);
    EXPECT_NEAR(sampleMean, mean, 5 * sd / std::sqrt(count));
    EXPECT_NEAR(sampleSd, sd, 0.03 * sd);
    EXPECT_NEAR(within1 / count, 0.6827, 0.03);
    EXPECT_NEAR(within2 / count, 0.9545, 0.015);
    EXPECT_NEAR(cross / (count - s.height) / (sd * sd), 0.0, 0.05);
}

// A deviation of 0 adds exactly the mean (saturating).
template <class T>
void gaussZeroDeviation(NoiseFn<T> f)
{
    T mean;
    if constexpr (std::is_same_v<T, Ovk8u>)
        mean = 7;
    else if constexpr (std::is_same_v<T, Ovk16u>)
        mean = 60000;
    else if constexpr (std::is_same_v<T, Ovk16s>)
        mean = -9;
    else
        mean = 0.25f;
    GuardedImage<T> img(21, 4, 1), before(21, 4, 1);
    fillNoiseSource(img, 64);
    before.fill([&](int x, int y, int) { return img.get(x, y, 0); });
    unsigned int seed = 3;
    ASSERT_EQ(f(img.roi(), img.step(), img.size(), mean, T(0), &seed), ovkStatusOk);
    EXPECT_NE(seed, 3u);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 21; ++x) {
            const double sum = double(before.get(x, y, 0)) + double(mean);
            T want;
            if constexpr (std::is_floating_point_v<T>)
                want = static_cast<T>(sum);
            else
                want = clampedSum<T>(sum);
            ASSERT_TRUE(sameElement(img.get(x, y, 0), want))
                << "at x=" << x << " y=" << y << ": got " << describe(img.get(x, y, 0)) << ", expected "
                << describe(want);
        }
}

// Integer results saturate instead of wrapping: noise far beyond the range
// leaves every element at the bound. 32f values are not rounded.
template <class T>
void gaussResultType(NoiseFn<T> f)
{
    if constexpr (std::is_floating_point_v<T>) {
        GuardedImage<T> img(32, 4, 1);
        img.fill([](int, int, int) { return 0.0f; });
        unsigned int seed = 17;
        ASSERT_EQ(f(img.roi(), img.step(), img.size(), 0.25f, 0.5f, &seed), ovkStatusOk);
        int fractional = 0;
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 32; ++x) fractional += img.get(x, y, 0) != std::round(img.get(x, y, 0));
        EXPECT_GT(fractional, 32 * 4 * 9 / 10);
    } else {
        T base, mean, sd, bound;
        if constexpr (std::is_same_v<T, Ovk8u>)
            base = 250, mean = 20, sd = 3, bound = 255;
        else if constexpr (std::is_same_v<T, Ovk16u>)
            base = 65000, mean = 1000, sd = 10, bound = 65535;
        else
            base = -32000, mean = -1000, sd = 50, bound = -32768;
        GuardedImage<T> img(32, 4, 1);
        img.fill([&](int, int, int) { return base; });
        unsigned int seed = 17;
        ASSERT_EQ(f(img.roi(), img.step(), img.size(), mean, sd, &seed), ovkStatusOk);
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 32; ++x) ASSERT_EQ(img.get(x, y, 0), bound) << "at x=" << x << " y=" << y;
    }
}

struct GaussCase {
    std::string name;
    std::function<void()> deterministic, statistics, zeroDeviation, resultType, checks;
};
std::ostream& operator<<(std::ostream& os, const GaussCase& c) { return os << c.name; }

template <class T>
GaussCase gaussCase(std::string name, NoiseFn<T> f)
{
    return {name,
            [=] { gaussDeterministic<T>(f); },
            [=] { gaussStatistics<T>(f); },
            [=] { gaussZeroDeviation<T>(f); },
            [=] { gaussResultType<T>(f); },
            [=] { noiseChecks<T>(f, T(1), T(2)); }};
}

// ---------------------------------------------------------------------------
// Member tables
// ---------------------------------------------------------------------------

#define RAMP_ROW(t, L) rampCase<Ovk##t, ovk::L>(#t "_" #L, ovkiImageRamp_##t##_##L##R)
#define JAEHNE_ROW(t, L) jaehneCase<Ovk##t, ovk::L>(#t "_" #L, ovkiImageJaehne_##t##_##L##R)
#define LAYOUTS(ROW, t) ROW(t, C1), ROW(t, C3), ROW(t, C4), ROW(t, AC4)
#define ALL_TYPES(ROW) \
    LAYOUTS(ROW, 8u), LAYOUTS(ROW, 8s), LAYOUTS(ROW, 16u), LAYOUTS(ROW, 16s), LAYOUTS(ROW, 32s), LAYOUTS(ROW, 32f)

std::vector<RampCase> rampMembers() { return {ALL_TYPES(RAMP_ROW)}; }
std::vector<JaehneCase> jaehneMembers() { return {ALL_TYPES(JAEHNE_ROW)}; }

std::vector<UniformCase> uniformMembers()
{
    return {uniformCase<Ovk8u>("8u", ovkiAddRandUniform_Direct_8u_C1IR),
            uniformCase<Ovk16u>("16u", ovkiAddRandUniform_Direct_16u_C1IR),
            uniformCase<Ovk16s>("16s", ovkiAddRandUniform_Direct_16s_C1IR),
            uniformCase<Ovk32f>("32f", ovkiAddRandUniform_Direct_32f_C1IR)};
}

std::vector<GaussCase> gaussMembers()
{
    return {gaussCase<Ovk8u>("8u", ovkiAddRandGauss_Direct_8u_C1IR),
            gaussCase<Ovk16u>("16u", ovkiAddRandGauss_Direct_16u_C1IR),
            gaussCase<Ovk16s>("16s", ovkiAddRandGauss_Direct_16s_C1IR),
            gaussCase<Ovk32f>("32f", ovkiAddRandGauss_Direct_32f_C1IR)};
}

class ImageRamp : public ::testing::TestWithParam<RampCase> {};
TEST_P(ImageRamp, RoundsHalfUpAndClamps) { GetParam().values(); }
TEST_P(ImageRamp, OtherAxesWriteNothing) { GetParam().invalidAxis(); }
TEST_P(ImageRamp, ChecksArgumentsInOrder) { GetParam().checks(); }
INSTANTIATE_TEST_SUITE_P(Exchange, ImageRamp, ::testing::ValuesIn(rampMembers()), caseName<RampCase>);

class ImageJaehne : public ::testing::TestWithParam<JaehneCase> {};
TEST_P(ImageJaehne, FollowsTheZonePlate) { GetParam().values(); }
TEST_P(ImageJaehne, IsSymmetricAboutTheCentre) { GetParam().symmetry(); }
TEST_P(ImageJaehne, SpansTheRange) { GetParam().range(); }
TEST_P(ImageJaehne, ChecksArgumentsInOrder) { GetParam().checks(); }
INSTANTIATE_TEST_SUITE_P(Exchange, ImageJaehne, ::testing::ValuesIn(jaehneMembers()), caseName<JaehneCase>);

class AddRandUniform : public ::testing::TestWithParam<UniformCase> {};
TEST_P(AddRandUniform, FollowsTheGenerator) { GetParam().model(); }
TEST_P(AddRandUniform, StaysWithinLowAndHigh) { GetParam().range(); }
TEST_P(AddRandUniform, RestartsTheCongruentialWordPerCall) { GetParam().halves(); }
TEST_P(AddRandUniform, EqualBoundsAddThatValue) { GetParam().zeroWidth(); }
TEST_P(AddRandUniform, ChecksArgumentsInOrder) { GetParam().checks(); }
INSTANTIATE_TEST_SUITE_P(Exchange, AddRandUniform, ::testing::ValuesIn(uniformMembers()), caseName<UniformCase>);

class AddRandGauss : public ::testing::TestWithParam<GaussCase> {};
TEST_P(AddRandGauss, IsDeterministicPerSeed) { GetParam().deterministic(); }
TEST_P(AddRandGauss, HasNormalStatistics) { GetParam().statistics(); }
TEST_P(AddRandGauss, ZeroDeviationAddsTheMean) { GetParam().zeroDeviation(); }
TEST_P(AddRandGauss, SaturatesIntegersKeepsFractions) { GetParam().resultType(); }
TEST_P(AddRandGauss, ChecksArgumentsInOrder) { GetParam().checks(); }
INSTANTIATE_TEST_SUITE_P(Exchange, AddRandGauss, ::testing::ValuesIn(gaussMembers()), caseName<GaussCase>);

}  // namespace
