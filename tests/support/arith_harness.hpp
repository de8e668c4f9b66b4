// A table-driven harness for the scaled arithmetic members (Add, Sub, Mul,
// Div, their constant forms, Div_Round, MulScale, MulCScale).
//
// Each member is one row: a name, its out-of-place form, its in-place form and
// the rule its elements follow (tests/support/oracle.hpp). The harness runs a
// member on random operands salted with special values (zeros, units, the
// type's bounds), compares every processed channel with the rule, asserts the
// write discipline (nothing outside the ROI, alpha of AC4 untouched, sources
// unchanged), checks that the in-place form gives the out-of-place result,
// and walks the argument checks in their documented order.
//
// The rule and the layout are run-time values, so that the harness is
// compiled once per element type and signature, not once per member.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <functional>
#include <ostream>
#include <random>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "frame/layout.hpp"
#include "frame/types.hpp"
#include "support/guarded_image.hpp"
#include "support/oracle.hpp"
#include "support/sweep.hpp"

namespace ovktest::scaled {

// Where a family checks its steps, relative to the size check.
enum class StepCheck { None, AfterSize, BeforeSize };

// Channels stored per pixel and channels an operation writes (AC4: 4 and 3).
struct Lay {
    int stored;
    int processed;
    bool keepsAlpha() const { return stored != processed; }
};

template <class L>
constexpr Lay layOf()
{
    return {L::stored, L::processed};
}

inline void expectWrittenOnlyInRoi(const GuardedBuffer& dst, Lay lay)
{
    EXPECT_TRUE(dst.outsideRoiUnchanged());
    if (lay.keepsAlpha()) {
        EXPECT_TRUE(dst.channelUnchanged(3));
    }
}

// A rule as a plain function: (first, second, parameters...) -> expected element.
template <class T, class... P>
using RuleFn = ref::Expect<T> (*)(T, T, P...);

template <class Rule, class T, class... P>
ref::Expect<T> applyRule(T a, T b, P... p)
{
    return Rule{}(a, b, p...);
}

// Operand values at (x, y, c); an empty one means random operands.
template <class T>
using Operand = std::function<T(int, int, int)>;

// ---------------------------------------------------------------------------
// Operands
// ---------------------------------------------------------------------------

// Values that random data rarely hits: zeros, units, bounds and their
// neighbours; complex values pair the parts' special values.
template <class T>
std::vector<T> specialValues()
{
    if constexpr (ovk::isComplex<T>) {
        using P = ovk::Part<T>;
        std::vector<P> parts;
        if constexpr (std::is_floating_point_v<P>)
            parts = {P(0), P(-0.0), P(1), P(-1), P(0.5)};
        else
            parts = {P(0), P(1), P(-1), std::numeric_limits<P>::lowest(), std::numeric_limits<P>::max()};
        std::vector<T> v;
        for (P re : parts)
            for (P im : parts) v.push_back(T{re, im});
        return v;
    } else if constexpr (std::is_floating_point_v<T>) {
        return {T(0), T(-0.0), T(1), T(-1), T(0.5), T(3), T(-2.25)};
    } else {
        std::vector<T> v = {T(0), T(1), T(2), T(3), std::numeric_limits<T>::max(), T(std::numeric_limits<T>::max() - 1),
                            std::numeric_limits<T>::lowest()};
        if constexpr (std::is_signed_v<T>) {
            v.push_back(T(-1));
            v.push_back(T(-2));
            v.push_back(T(std::numeric_limits<T>::lowest() + 1));
        }
        return v;
    }
}

// Random values with about a quarter of the elements replaced by special
// ones, or the values of f when it is given; then a snapshot.
template <class T>
void fillOperand(GuardedImage<T>& img, unsigned seed, const Operand<T>& f = {})
{
    if (f) {
        img.scramble(seed);
        img.fill(f);
        return;
    }
    img.fillRandom(seed);
    const std::vector<T> specials = specialValues<T>();
    std::mt19937 rng(seed ^ 0x9E3779B9u);
    for (int y = 0; y < img.size().height; ++y)
        for (int x = 0; x < img.size().width; ++x)
            for (int c = 0; c < img.channels(); ++c)
                if (rng() % 4 == 0) img.set(x, y, c, specials[rng() % specials.size()]);
    img.snapshot();
}

template <class T>
bool isZero(const T& v)
{
    if constexpr (ovk::isComplex<T>)
        return v.re == 0 && v.im == 0;
    else
        return v == 0;
}

// Per-channel constants for the constant forms: three random sets and three
// built from special values; zeros are left out when the operation rejects
// them (DivC).
template <class T>
std::vector<std::vector<T>> constantSets(int processed, unsigned seed, bool allowZero)
{
    std::mt19937 rng(seed);
    const std::vector<T> specials = specialValues<T>();
    std::vector<std::vector<T>> sets;
    for (int k = 0; k < 6; ++k) {
        std::vector<T> v(processed);
        for (auto& x : v) {
            do {
                x = k < 3 ? randomValue<T>(rng) : specials[rng() % specials.size()];
            } while (!allowZero && isZero(x));
        }
        sets.push_back(v);
    }
    return sets;
}

// ---------------------------------------------------------------------------
// Expected results
// ---------------------------------------------------------------------------

template <class T>
struct ExpectedImage {
    int width = 0, height = 0, channels = 0;
    std::vector<T> first, second, value;
    bool divByZero = false;

    std::size_t index(int x, int y, int c) const { return (std::size_t(y) * width + x) * channels + c; }
    OvkStatus status() const { return divByZero ? ovkStatusDivByZero : ovkStatusOk; }
};

// Applies op(first, second) to every processed channel of the ROI.
template <class T>
ExpectedImage<T> expectedOf(OvkiSize roi, int processed, const Operand<T>& first, const Operand<T>& second,
                            const std::function<ref::Expect<T>(T, T)>& op)
{
    ExpectedImage<T> e;
    e.width = roi.width;
    e.height = roi.height;
    e.channels = processed;
    for (int y = 0; y < roi.height; ++y)
        for (int x = 0; x < roi.width; ++x)
            for (int c = 0; c < processed; ++c) {
                const T a = first(x, y, c), b = second(x, y, c);
                const ref::Expect<T> r = op(a, b);
                e.first.push_back(a);
                e.second.push_back(b);
                e.value.push_back(r.value);
                e.divByZero = e.divByZero || r.divByZero;
            }
    return e;
}

// An element for a failure message: complex values as (re, im), floating
// values with enough digits to tell neighbours apart.
template <class T>
struct Shown {
    T v;
};

template <class T>
std::ostream& operator<<(std::ostream& os, Shown<T> s)
{
    if constexpr (ovk::isComplex<T>)
        return os << "(" << Shown<ovk::Part<T>>{s.v.re} << ", " << Shown<ovk::Part<T>>{s.v.im} << ")";
    else if constexpr (std::is_floating_point_v<T>)
        return os << ::testing::PrintToString(s.v);
    else
        return os << static_cast<long long>(s.v);
}

template <class T>
::testing::AssertionResult matches(const GuardedImage<T>& d, const ExpectedImage<T>& e)
{
    for (int y = 0; y < e.height; ++y)
        for (int x = 0; x < e.width; ++x)
            for (int c = 0; c < e.channels; ++c) {
                const std::size_t i = e.index(x, y, c);
                if (!sameElement(d.get(x, y, c), e.value[i]))
                    return ::testing::AssertionFailure()
                           << "at x=" << x << " y=" << y << " channel " << c << ": first " << Shown<T>{e.first[i]}
                           << ", second " << Shown<T>{e.second[i]} << ": got " << Shown<T>{d.get(x, y, c)}
                           << ", expected " << Shown<T>{e.value[i]};
            }
    return ::testing::AssertionSuccess();
}

template <class T>
Operand<T> elementsOf(const GuardedImage<T>& img)
{
    return [&img](int x, int y, int c) { return img.get(x, y, c); };
}

// ---------------------------------------------------------------------------
// Value tests
// ---------------------------------------------------------------------------

// Two images: out of place, in place, and (where steps are not checked) with a
// zero step on the first source and a negative one on the second. fillA and
// fillB give the operands; empty ones mean random operands.
template <class T, class R, class I, class... P>
void binaryValues(R r, I ir, RuleFn<T, P...> rule, Lay lay, StepCheck steps, int w, int h, unsigned seed,
                  const Operand<T>& fillA, const Operand<T>& fillB, P... p)
{
    const int ch = lay.stored;
    GuardedImage<T> a(w, h, ch), b(w, h, ch), d(w, h, ch), bd(w, h, ch);
    fillOperand(a, seed, fillA);
    fillOperand(b, seed + 1, fillB);
    d.fillRandom(seed + 2);
    fillOperand(bd, seed + 1, fillB);  // the same content as b
    const OvkiSize roi{w, h};
    const std::function<ref::Expect<T>(T, T)> op = [&](T x, T y) { return rule(x, y, p...); };
    const auto e = expectedOf<T>(roi, lay.processed, elementsOf(a), elementsOf(b), op);

    EXPECT_EQ(r(a.roi(), a.step(), b.roi(), b.step(), d.roi(), d.step(), roi, p...), e.status());
    EXPECT_TRUE(matches(d, e));
    expectWrittenOnlyInRoi(d, lay);
    EXPECT_TRUE(a.unchanged());
    EXPECT_TRUE(b.unchanged());

    {
        SCOPED_TRACE("in place");
        EXPECT_EQ(ir(a.roi(), a.step(), bd.roi(), bd.step(), roi, p...), e.status());
        EXPECT_TRUE(matches(bd, e));
        expectWrittenOnlyInRoi(bd, lay);
        EXPECT_TRUE(a.unchanged());
    }

    if (steps == StepCheck::None && h > 1) {
        SCOPED_TRACE("zero and negative source steps");
        GuardedImage<T> d2(w, h, ch);
        d2.fillRandom(seed + 3);
        const T* bLast = reinterpret_cast<const T*>(b.pixelBytes(0, h - 1));
        const auto e2 = expectedOf<T>(
            roi, lay.processed, [&](int x, int, int c) { return a.get(x, 0, c); },
            [&](int x, int y, int c) { return b.get(x, h - 1 - y, c); }, op);
        EXPECT_EQ(r(a.roi(), 0, bLast, -b.step(), d2.roi(), d2.step(), roi, p...), e2.status());
        EXPECT_TRUE(matches(d2, e2));
        expectWrittenOnlyInRoi(d2, lay);
    }
}

// True when the constant form R takes its constant as a scalar (C1 members).
template <class R, class T>
constexpr bool takesScalar = std::is_invocable_v<R, const T*, int, T, T*, int, OvkiSize> ||
                             std::is_invocable_v<R, const T*, int, T, T*, int, OvkiSize, int>;

template <class R, class T>
auto constantArg(const std::vector<T>& values)
{
    if constexpr (takesScalar<R, T>)
        return values[0];
    else
        return values.data();
}

// An image and a per-channel constant: out of place and in place (constant
// first). The constant array has exactly one value per processed channel, on
// the heap, so that a read beyond it is caught by the address sanitizer.
template <class T, class R, class I, class... P>
void constantValues(R r, I ir, RuleFn<T, P...> rule, Lay lay, StepCheck steps, const std::vector<T>& values, int w,
                    int h, unsigned seed, P... p)
{
    const int ch = lay.stored;
    GuardedImage<T> s(w, h, ch), d(w, h, ch), sd(w, h, ch);
    fillOperand(s, seed);
    d.fillRandom(seed + 2);
    fillOperand(sd, seed);
    const OvkiSize roi{w, h};
    const std::vector<T> heapValues(values.begin(), values.end());
    const std::function<ref::Expect<T>(T, T)> op = [&](T x, T y) { return rule(x, y, p...); };
    const Operand<T> constant = [&](int, int, int c) { return values[c]; };
    const auto e = expectedOf<T>(roi, lay.processed, constant, elementsOf(s), op);

    EXPECT_EQ(r(s.roi(), s.step(), constantArg<R>(heapValues), d.roi(), d.step(), roi, p...), e.status());
    EXPECT_TRUE(matches(d, e));
    expectWrittenOnlyInRoi(d, lay);
    EXPECT_TRUE(s.unchanged());

    {
        SCOPED_TRACE("in place");
        EXPECT_EQ(ir(constantArg<R>(heapValues), sd.roi(), sd.step(), roi, p...), e.status());
        EXPECT_TRUE(matches(sd, e));
        expectWrittenOnlyInRoi(sd, lay);
    }

    if (steps == StepCheck::None && h > 1) {
        SCOPED_TRACE("negative source step");
        GuardedImage<T> d2(w, h, ch);
        d2.fillRandom(seed + 3);
        const T* sLast = reinterpret_cast<const T*>(s.pixelBytes(0, h - 1));
        const auto e2 = expectedOf<T>(roi, lay.processed, constant,
                                      [&](int x, int y, int c) { return s.get(x, h - 1 - y, c); }, op);
        EXPECT_EQ(r(sLast, -s.step(), constantArg<R>(heapValues), d2.roi(), d2.step(), roi, p...), e2.status());
        EXPECT_TRUE(matches(d2, e2));
        expectWrittenOnlyInRoi(d2, lay);
    }
}

// ---------------------------------------------------------------------------
// Argument checks
// ---------------------------------------------------------------------------

// One call's arguments as the check tests break them: which pointer is null,
// the steps, the size, and which operation parameter (if any) is made invalid.
struct CallArgs {
    std::array<bool, 3> null{};
    std::array<int, 3> steps{};
    OvkiSize roi{};
    int bad = -1;
};

// Walks the documented order: null pointers (-8) before everything, then the
// size (-6), then, where checked, the steps (-14; before the size for
// BeforeSize), then the operation's parameters (badStatus). Every rejected
// call must leave every buffer untouched.
inline void expectCheckOrder(const std::function<OvkStatus(const CallArgs&)>& call, int pointers,
                             std::array<int, 3> goodSteps, int stepCount, OvkiSize goodRoi, StepCheck stepCheck,
                             int badParams, OvkStatus badStatus, const std::vector<const GuardedBuffer*>& buffers)
{
    const OvkiSize badSizes[] = {{0, goodRoi.height}, {goodRoi.width, 0}, {-1, goodRoi.height},
                                 {goodRoi.width, -3}, {0, 0},            {INT_MIN, INT_MIN}};
    const int badSteps[] = {0, -1, INT_MIN};
    auto base = [&] {
        CallArgs x;
        x.steps = goodSteps;
        x.roi = goodRoi;
        return x;
    };
    auto reject = [&](OvkStatus want, const CallArgs& x, const ::testing::Message& what) {
        SCOPED_TRACE(what);
        EXPECT_EQ(call(x), want);
        for (const GuardedBuffer* b : buffers) EXPECT_TRUE(b->unchanged());
    };
    using M = ::testing::Message;

    for (int i = 0; i < pointers; ++i) {
        CallArgs x = base();
        x.null[i] = true;
        reject(ovkStatusNullPointer, x, M() << "pointer " << i << " null");
        x.roi = {0, 0};
        reject(ovkStatusNullPointer, x, M() << "pointer " << i << " null, zero size");
        for (int s = 0; s < stepCount; ++s) {
            CallArgs y = x;
            y.steps[s] = 0;
            reject(ovkStatusNullPointer, y, M() << "pointer " << i << " null, zero size and step " << s);
        }
        if (badParams > 0) {
            x = base();
            x.null[i] = true;
            x.bad = 0;
            reject(ovkStatusNullPointer, x, M() << "pointer " << i << " null, bad parameter");
        }
    }

    for (const OvkiSize s : badSizes) {
        CallArgs x = base();
        x.roi = s;
        reject(ovkStatusSizeError, x, M() << "size " << s.width << "x" << s.height);
        if (stepCheck != StepCheck::None) {
            for (int k = 0; k < stepCount; ++k) {
                CallArgs y = x;
                y.steps[k] = 0;
                reject(stepCheck == StepCheck::BeforeSize ? ovkStatusStepError : ovkStatusSizeError, y,
                       M() << "size " << s.width << "x" << s.height << ", step " << k << " zero");
            }
        }
        if (badParams > 0) {
            x.bad = badParams - 1;
            reject(ovkStatusSizeError, x, M() << "size " << s.width << "x" << s.height << ", bad parameter");
        }
    }

    if (stepCheck != StepCheck::None) {
        for (int k = 0; k < stepCount; ++k)
            for (int bs : badSteps) {
                CallArgs x = base();
                x.steps[k] = bs;
                reject(ovkStatusStepError, x, M() << "step " << k << " = " << bs);
                if (badParams > 0) {
                    x.bad = 0;
                    reject(ovkStatusStepError, x, M() << "step " << k << " = " << bs << ", bad parameter");
                }
            }
    }

    for (int k = 0; k < badParams; ++k) {
        CallArgs x = base();
        x.bad = k;
        reject(badStatus, x, M() << "bad parameter " << k);
    }
}

template <class P>
P* unlessNull(const CallArgs& x, int i, P* p)
{
    return x.null[i] ? nullptr : p;
}

// Two-image forms. paramsFor(bad) gives the trailing arguments, with the
// bad-th invalid variant when bad >= 0 (badParams variants in all).
template <class T, class R, class I, class... P>
void binaryChecks(R r, I ir, Lay lay, StepCheck steps, int badParams, OvkStatus badStatus,
                  const std::type_identity_t<std::function<std::tuple<P...>(int)>>& paramsFor)
{
    const int w = 3, h = 2;
    GuardedImage<T> a(w, h, lay.stored), b(w, h, lay.stored), d(w, h, lay.stored);
    a.fillRandom(11);
    b.fillRandom(12);
    d.fillRandom(13);
    {
        SCOPED_TRACE("out of place");
        auto call = [&](const CallArgs& x) {
            return std::apply(
                [&](P... p) {
                    return r(unlessNull(x, 0, a.roi()), x.steps[0], unlessNull(x, 1, b.roi()), x.steps[1],
                             unlessNull(x, 2, d.roi()), x.steps[2], x.roi, p...);
                },
                paramsFor(x.bad));
        };
        expectCheckOrder(call, 3, {a.step(), b.step(), d.step()}, 3, {w, h}, steps, badParams, badStatus, {&a, &b, &d});
    }
    {
        SCOPED_TRACE("in place");
        auto call = [&](const CallArgs& x) {
            return std::apply(
                [&](P... p) {
                    return ir(unlessNull(x, 0, a.roi()), x.steps[0], unlessNull(x, 1, d.roi()), x.steps[1], x.roi, p...);
                },
                paramsFor(x.bad));
        };
        expectCheckOrder(call, 2, {a.step(), d.step(), 0}, 2, {w, h}, steps, badParams, badStatus, {&a, &d});
    }
}

// Constant forms. The value array is a pointer to check for the multi-channel
// layouts; with zeroIsBad a zero constant in each channel is one bad
// parameter (DivC).
template <class T, class R, class I, class... P>
void constantChecks(R r, I ir, Lay lay, StepCheck steps, bool zeroIsBad, P... p)
{
    const int w = 3, h = 2;
    GuardedImage<T> s(w, h, lay.stored), d(w, h, lay.stored);
    s.fillRandom(21);
    d.fillRandom(22);
    std::vector<T> good(lay.processed);
    std::mt19937 rng(23);
    for (auto& v : good) do
            v = randomValue<T>(rng);
        while (isZero(v));
    std::vector<std::vector<T>> zeroAt;
    for (int c = 0; c < lay.processed; ++c) {
        zeroAt.push_back(good);
        zeroAt.back()[c] = T{};
    }
    const int badParams = zeroIsBad ? lay.processed : 0;
    constexpr bool valuePointer = !takesScalar<R, T>;
    auto value = [&](const CallArgs& x, int nullIndex) {
        const std::vector<T>& v = x.bad >= 0 ? zeroAt[x.bad] : good;
        if constexpr (valuePointer)
            return unlessNull(x, nullIndex, v.data());
        else
            return v[0];
    };
    {
        SCOPED_TRACE("out of place");
        auto call = [&](const CallArgs& x) {
            return r(unlessNull(x, 0, s.roi()), x.steps[0], value(x, 2), unlessNull(x, 1, d.roi()), x.steps[1], x.roi,
                     p...);
        };
        expectCheckOrder(call, valuePointer ? 3 : 2, {s.step(), d.step(), 0}, 2, {w, h}, steps, badParams,
                         ovkStatusDivByZeroError, {&s, &d});
    }
    {
        SCOPED_TRACE("in place");
        auto call = [&](const CallArgs& x) { return ir(value(x, 1), unlessNull(x, 0, d.roi()), x.steps[0], x.roi, p...); };
        expectCheckOrder(call, valuePointer ? 2 : 1, {d.step(), 0, 0}, 1, {w, h}, steps, badParams,
                         ovkStatusDivByZeroError, {&d});
    }
}

// ---------------------------------------------------------------------------
// Member tables
// ---------------------------------------------------------------------------

// One member (an out-of-place function and its in-place form) with its two
// test bodies.
struct MemberCase {
    std::string name;
    std::function<void()> values;
    std::function<void()> checks;
};

inline std::ostream& operator<<(std::ostream& os, const MemberCase& m) { return os << m.name; }

inline std::string caseName(const ::testing::TestParamInfo<MemberCase>& info) { return info.param.name; }

// Deterministic per-member seeds.
inline unsigned seedOf(const std::string& name, std::size_t k)
{
    unsigned h = 2166136261u;
    for (char c : name) h = (h ^ static_cast<unsigned char>(c)) * 16777619u;
    return h + 1000u * static_cast<unsigned>(k);
}

// Image geometry of the k-th run of a member: widths cycle through the sweep
// list, heights alternate between 2 and 3.
inline OvkiSize runSize(const std::string& name, std::size_t k)
{
    constexpr std::size_t n = sizeof(kSweepWidths) / sizeof(kSweepWidths[0]);
    return {kSweepWidths[(seedOf(name, 0) + 5 * k) % n], 2 + int(k % 2)};
}

// Scale factors: every shortcut threshold, the neighbours of 0, and the
// extremes of the argument.
inline const std::vector<int> kIntegerScales = {INT_MIN, -40, -16, -15, -9, -8, -7, -3, -1, 0, 1, 2, 3,
                                                5,       8,   9,   10,  15, 16, 17, 18, 31, 40, INT_MAX};
inline const std::vector<int> kComplexScales = {INT_MIN, -40, -16, -9, -3, -1, 0,  1,  2,  3,  5,
                                                9,       16,  17,  31, 32, 33, 40, 62, 63, 64, INT_MAX};
// Division computes 2^-scaleFactor in single precision: 16u and 16s are
// tested where that power is a normal number; 8u turns into constants outside
// -15..8 and is tested at the extremes too.
inline const std::vector<int> kDiv8uScales = {INT_MIN, -200, -16, -15, -9, -3, -1, 0, 1, 2, 5, 7, 8, 9, 40, 200, INT_MAX};
inline const std::vector<int> kDivScales = {-100, -40, -16, -15, -3, -1, 0, 1, 2, 5, 8, 9, 15, 16, 17, 40, 100};
inline const std::vector<int> kComplexDivScales = {-40, -16, -3, -1, 0, 1, 2, 5, 16, 17, 31, 32, 40, 100};

template <class T, class R, class I>
MemberCase scaledImagesCase(std::string name, Lay lay, R r, I ir, RuleFn<T, int> rule, StepCheck steps,
                            std::vector<int> scales)
{
    return {name,
            [=] {
                for (std::size_t k = 0; k < scales.size(); ++k) {
                    SCOPED_TRACE(::testing::Message() << "scaleFactor " << scales[k]);
                    const OvkiSize s = runSize(name, k);
                    binaryValues<T>(r, ir, rule, lay, steps, s.width, s.height, seedOf(name, k), {}, {}, scales[k]);
                }
            },
            [=] {
                for (int sf : {0, 40}) {
                    SCOPED_TRACE(::testing::Message() << "scaleFactor " << sf);
                    binaryChecks<T, R, I, int>(r, ir, lay, steps, 0, ovkStatusOk, [sf](int) { return std::tuple{sf}; });
                }
            }};
}

template <class T, class R, class I>
MemberCase floatImagesCase(std::string name, Lay lay, R r, I ir, RuleFn<T> rule, StepCheck steps)
{
    return {name,
            [=] {
                for (std::size_t k = 0; k < 4; ++k) {
                    const OvkiSize s = runSize(name, k);
                    binaryValues<T>(r, ir, rule, lay, steps, s.width, s.height, seedOf(name, k), {}, {});
                }
            },
            [=] { binaryChecks<T, R, I>(r, ir, lay, steps, 0, ovkStatusOk, [](int) { return std::tuple<>{}; }); }};
}

template <class T, class R, class I>
MemberCase scaledConstantCase(std::string name, Lay lay, R r, I ir, RuleFn<T, int> rule, StepCheck steps,
                              std::vector<int> scales, bool zeroIsBad)
{
    return {name,
            [=] {
                const auto sets = constantSets<T>(lay.processed, seedOf(name, 99), !zeroIsBad);
                for (std::size_t k = 0; k < scales.size(); ++k) {
                    SCOPED_TRACE(::testing::Message() << "scaleFactor " << scales[k]);
                    const OvkiSize s = runSize(name, k);
                    constantValues<T>(r, ir, rule, lay, steps, sets[k % sets.size()], s.width, s.height, seedOf(name, k),
                                      scales[k]);
                }
            },
            [=] {
                for (int sf : {0, 40}) {
                    SCOPED_TRACE(::testing::Message() << "scaleFactor " << sf);
                    constantChecks<T>(r, ir, lay, steps, zeroIsBad, sf);
                }
            }};
}

template <class T, class R, class I>
MemberCase floatConstantCase(std::string name, Lay lay, R r, I ir, RuleFn<T> rule, StepCheck steps, bool zeroIsBad)
{
    return {name,
            [=] {
                const auto sets = constantSets<T>(lay.processed, seedOf(name, 99), !zeroIsBad);
                for (std::size_t k = 0; k < sets.size(); ++k) {
                    const OvkiSize s = runSize(name, k);
                    constantValues<T>(r, ir, rule, lay, steps, sets[k], s.width, s.height, seedOf(name, k));
                }
            },
            [=] { constantChecks<T>(r, ir, lay, steps, zeroIsBad); }};
}

}  // namespace ovktest::scaled

// Row builders: OVKT_LAYOUTS4 expands a row macro for C1, C3, C4 and AC4,
// OVKT_LAYOUTS3 for C1, C3 and AC4 (the complex members).
#define OVKT_LAYOUTS4(ROW, Op, t, ...) \
    ROW(Op, t, C1, __VA_ARGS__), ROW(Op, t, C3, __VA_ARGS__), ROW(Op, t, C4, __VA_ARGS__), ROW(Op, t, AC4, __VA_ARGS__)
#define OVKT_LAYOUTS3(ROW, Op, t, ...) ROW(Op, t, C1, __VA_ARGS__), ROW(Op, t, C3, __VA_ARGS__), ROW(Op, t, AC4, __VA_ARGS__)
