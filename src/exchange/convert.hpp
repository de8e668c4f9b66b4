// Convert: every pixel into another element type.
//
//   exact      widening copies, saturating narrowing, signed to unsigned
//              (the Rs forms: negative values become 0), integers to float
//              (32s and 32u round to the nearest float)
//   rounded    32f to 8u, 8s, 16u, 16s: values at or beyond a limit give the
//              limit, NaN gives 0; the rest truncate (mode 0), round half to
//              even (1) or half away from zero (any other value)
//   scaled     the Sfs forms, one channel: the exact value times
//              2^-scaleFactor, rounded as above and saturated
//
// Scalar rounding uses exact operations (a truncation and the fraction it
// leaves); the vector form of ties-to-even uses the processor's conversion
// with the rounding control set to nearest for the call and restored after,
// so results never depend on the caller's setting.
#pragma once

#include <bit>
#include <concepts>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "exchange/convert_rows.hpp"
#include "frame/check.hpp"
#include "frame/elementwise.hpp"

namespace ovk::exchange {

enum class Rounding { zero, nearEven, awayFromZero };

constexpr Rounding roundingOf(OvkRoundMode mode)
{
    return mode == ovkRndZero ? Rounding::zero : mode == ovkRndNear ? Rounding::nearEven : Rounding::awayFromZero;
}

template <class D, class V>
constexpr D saturate(V v)
{
    if (v <= V(std::numeric_limits<D>::lowest())) return std::numeric_limits<D>::lowest();
    if (v >= V(std::numeric_limits<D>::max())) return std::numeric_limits<D>::max();
    return D(v);
}

// --- Exact ----------------------------------------------------------------------

template <class S, class D>
struct ExactRule {
    D operator()(S x) const
    {
        if constexpr (std::is_floating_point_v<D>) return D(x);
        else return saturate<D>(std::int64_t(x));
    }
    simd::Vec<WorkLane<D>> operator()(simd::Vec<std::int32_t> v) const
        requires(!std::is_floating_point_v<S>)
    {
        if constexpr (std::is_floating_point_v<D>) return simd::toFloat(v);
        else return v;  // the store saturates
    }
    // 16 to 8 bits: one saturating narrowing; 8 to 16 bits where the sign
    // needs no clamping: one widening.
    OVK_SIMD_INLINE void block(const S* src, D* dst) const
        requires((sizeof(S) == 2 && sizeof(D) == 1 && std::is_integral_v<S>) ||
                 (sizeof(S) == 1 && sizeof(D) == 2 && (std::is_unsigned_v<S> || std::is_signed_v<D>)))
    {
        using namespace simd;
        if constexpr (sizeof(S) == 2) {
            store(narrowSatInOrder<D>(load(src), load(src + kLanes<S>)), dst);
        } else {
            const Halves<Wider<S>> h = widenInOrder(load(src));
            store(bitcast<D>(h.lo), dst);
            store(bitcast<D>(h.hi), dst + kLanes<D>);
        }
    }
};

// --- Float to integer, rounded --------------------------------------------------

// x rounded to an integer by `R`, for |x| < 2^23 (so x + 0.5 and the
// fraction are exact).
template <Rounding R>
float roundedFloat(float x)
{
    const float t = std::trunc(x);
    if constexpr (R == Rounding::zero) {
        return t;
    } else if constexpr (R == Rounding::awayFromZero) {
        return std::trunc(x + (x < 0 ? -0.5f : 0.5f));
    } else {
        const float frac = x - t;
        const bool odd = std::fmod(t, 2.0f) != 0;
        if (frac > 0.5f || (frac == 0.5f && odd)) return t + 1;
        if (frac < -0.5f || (frac == -0.5f && odd)) return t - 1;
        return t;
    }
}

template <Rounding R>
OVK_SIMD_INLINE simd::Vec<std::int32_t> roundedLanes(simd::Vec<float> x)
{
    using namespace simd;
    if constexpr (R == Rounding::zero) {
        return truncate(x);
    } else if constexpr (R == Rounding::awayFromZero) {
        return truncate(add(x, select(gt(zero<float>(), x), splat(-0.5f), splat(0.5f))));
    } else {
        return roundToInt(x);  // within a NearestRounding
    }
}

// 32f to an integer type of at most 16 bits.
template <class D, Rounding R>
struct RoundRule {
    static constexpr float kLow = float(std::numeric_limits<D>::lowest()), kHigh = float(std::numeric_limits<D>::max());

    D operator()(float x) const
    {
        if (x >= kHigh) return std::numeric_limits<D>::max();
        if (x <= kLow) return std::numeric_limits<D>::lowest();
        if (x != x) return 0;
        return D(roundedFloat<R>(x));
    }
    simd::Vec<std::int32_t> operator()(simd::Vec<float> x) const
    {
        using namespace simd;
        if constexpr (std::is_unsigned_v<D>) {
            // min keeps a NaN, which converts to INT32_MIN like anything far below
            // 0; the narrowing store saturates all of those to 0
            return roundedLanes<R>(min(splat(kHigh), x));
        } else {
            const Vec<float> number = select(ordered(x, x), x, zero<float>());
            return roundedLanes<R>(min(max(number, splat(kLow)), splat(kHigh)));
        }
    }
};

// --- Scaled (Sfs) ---------------------------------------------------------------

// Integer to integer: the magnitude is shifted and rounded, the sign put
// back, the result saturated.
template <class S, class D>
struct IntegerScaleRule {
    Rounding rounding;
    int scaleFactor;

    D operator()(S x) const
    {
        const std::int64_t v = x;
        if (scaleFactor <= 0) {
            if (v == 0) return 0;
            // |v| < 2^32: beyond 2^31, every non-zero value overflows every destination
            if (scaleFactor < -31) return v > 0 ? std::numeric_limits<D>::max() : std::numeric_limits<D>::lowest();
            return saturate<D>(v * (std::int64_t(1) << -scaleFactor));
        }
        if (scaleFactor > 40) return 0;
        const std::uint64_t m = std::uint64_t(v < 0 ? -v : v), half = std::uint64_t(1) << (scaleFactor - 1);
        std::uint64_t r;
        if (rounding == Rounding::zero) r = m >> scaleFactor;
        else if (rounding == Rounding::nearEven) r = (m + half - 1 + ((m >> scaleFactor) & 1)) >> scaleFactor;
        else r = (m + half) >> scaleFactor;
        return saturate<D>(v < 0 ? -std::int64_t(r) : std::int64_t(r));
    }
};

// 2^-scaleFactor in single precision, by repeated halving or doubling (exact
// until it underflows or overflows).
inline float powerOfTwo(int scaleFactor)
{
    float f = 1.0f;
    for (int i = 0; i < scaleFactor && f != 0.0f; ++i) f *= 0.5f;
    for (int i = 0; i > scaleFactor && f != INFINITY; --i) f *= 2.0f;
    return f;
}

// Float to integer: y = x * 2^-scaleFactor, clamped to the destination's
// range, then rounded (ties away from zero in both directions for any mode
// other than 0 and 1).
template <class D>
struct FloatScaleRule {
    Rounding rounding;
    float factor;

    D operator()(float x) const
    {
        const float y = x * factor;
        if (y >= float(std::numeric_limits<D>::max())) return std::numeric_limits<D>::max();
        if (y <= float(std::numeric_limits<D>::lowest())) return std::numeric_limits<D>::lowest();
        if (y != y) return 0;
        const double t = std::trunc(double(y));
        double r = t;
        if (rounding == Rounding::nearEven) {
            const double frac = double(y) - t;
            const bool odd = std::fmod(t, 2.0) != 0;
            r = frac > 0.5 || (frac == 0.5 && odd) ? t + 1 : frac < -0.5 || (frac == -0.5 && odd) ? t - 1 : t;
        } else if (rounding == Rounding::awayFromZero) {
            const double m = std::trunc(2 * std::fabs(double(y)));
            r = std::copysign(std::floor((m + 1) / 2), double(y));
        }
        return saturate<D>(r);
    }
};

// --- Entry points ---------------------------------------------------------------

// The checks of the rounded conversions and of Scale: pointers, size, steps.
inline OvkStatus checkImagePair(const void* pSrc, int srcStep, const void* pDst, int dstStep, OvkiSize roi)
{
    OVK_CHECK(check::pointers(pSrc, pDst));
    OVK_CHECK(check::size(roi));
    return check::steps(srcStep, dstStep);
}

template <class S, class D, class L, class Rule>
OvkStatus convertImage(const S* pSrc, int srcStep, D* pDst, int dstStep, OvkiSize roi, const Rule& rule)
{
    return runUnary<L>(Image<const S>(pSrc, srcStep), Image<D>(pDst, dstStep), roi, [&](const S* s, D* d, int n) {
        convertRow(s, d, n, rule);
        return ovkStatusOk;
    });
}

template <class S, class D, class L>
OvkStatus convert(const S* pSrc, int srcStep, D* pDst, int dstStep, OvkiSize roiSize)
{
    OVK_CHECK(check::pointers(pSrc, pDst));
    OVK_CHECK(check::size(roiSize));
    return convertImage<S, D, L>(pSrc, srcStep, pDst, dstStep, roiSize, ExactRule<S, D>{});
}

template <class S, class D, class L>
OvkStatus convertRounded(const S* pSrc, int srcStep, D* pDst, int dstStep, OvkiSize roiSize, OvkRoundMode roundMode)
{
    OVK_CHECK(checkImagePair(pSrc, srcStep, pDst, dstStep, roiSize));
    switch (roundingOf(roundMode)) {
    case Rounding::zero: return convertImage<Ovk32f, D, L>(pSrc, srcStep, pDst, dstStep, roiSize, RoundRule<D, Rounding::zero>{});
    case Rounding::nearEven: {
        const simd::NearestRounding nearest;
        return convertImage<Ovk32f, D, L>(pSrc, srcStep, pDst, dstStep, roiSize, RoundRule<D, Rounding::nearEven>{});
    }
    default:
        return convertImage<Ovk32f, D, L>(pSrc, srcStep, pDst, dstStep, roiSize, RoundRule<D, Rounding::awayFromZero>{});
    }
}

template <class S, class D>
OvkStatus convertScaled(const S* pSrc, int srcStep, D* pDst, int dstStep, OvkiSize roiSize, OvkRoundMode roundMode,
                        int scaleFactor)
{
    OVK_CHECK(check::pointers(pSrc, pDst));
    OVK_CHECK(check::size(roiSize));
    if constexpr (std::is_floating_point_v<S>)
        return convertImage<S, D, C1>(pSrc, srcStep, pDst, dstStep, roiSize,
                                      FloatScaleRule<D>{roundingOf(roundMode), powerOfTwo(scaleFactor)});
    else
        return convertImage<S, D, C1>(pSrc, srcStep, pDst, dstStep, roiSize,
                                      IntegerScaleRule<S, D>{roundingOf(roundMode), scaleFactor});
}

// 32f into 32u in the same memory: each element is read whole before its
// result is written over it.
template <class S, class D>
OvkStatus convertInPlace(S* pSrcDst, int srcDstStep, OvkiSize roiSize, OvkRoundMode roundMode,
                                      int scaleFactor)
{
    OVK_CHECK(check::pointers(pSrcDst));
    OVK_CHECK(check::size(roiSize));
    const FloatScaleRule<D> rule{roundingOf(roundMode), powerOfTwo(scaleFactor)};
    forEachRow(roiSize, [&](S* row) {
        auto* bytes = reinterpret_cast<unsigned char*>(row);
        for (std::int64_t x = 0; x < roiSize.width; ++x) {
            S v;
            std::memcpy(&v, bytes + sizeof(S) * x, sizeof(S));
            const D r = rule(v);
            std::memcpy(bytes + sizeof(D) * x, &r, sizeof(D));
        }
    }, Image<S>(pSrcDst, srcDstStep));
    return ovkStatusOk;
}

}  // namespace ovk::exchange
