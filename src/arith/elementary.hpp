// One-source element-wise functions: Abs, Sqr, Sqrt, Exp, Ln and Complement.
//
// These advance their row pointers by the step rounded DOWN to a multiple of
// the element size (an odd step on 16-bit data is used as the next lower even
// number). Checks: pointers, size, then steps; Complement tests its step
// before the size.
//
// Elements without a real result are not errors. Sqrt of a negative (or NaN)
// 32f element gives the quiet NaN 0xFFC00000, Ln of a negative (or NaN) one
// the same NaN and Ln of zero -infinity; integer types give 0 for a negative
// element and the type's minimum (the saturated -infinity) for Ln of zero. The
// call then returns a warning after every row is done: ovkStatusSqrtNegArg,
// ovkStatusLnNegArg or ovkStatusLnZeroArg (the first one met is kept).
#pragma once

#include <algorithm>
#include <cmath>

#include "arith/div.hpp"
#include "arith/scaled.hpp"

namespace ovk::arith {

template <class T>
constexpr int elementStep(int step)
{
    return step & ~static_cast<int>(sizeof(T) - 1);
}

// Checks and row walk shared by the one-source functions.
template <class T, class L, class Row>
OvkStatus unaryImage(const T* pSrc, int srcStep, T* pDst, int dstStep, OvkiSize roiSize, Row&& row)
{
    OVK_CHECK(check::pointers(pSrc, pDst));
    OVK_CHECK(check::size(roiSize));
    OVK_CHECK(check::steps(srcStep, dstStep));
    return runUnary<L>(image(pSrc, elementStep<T>(srcStep)), image(pDst, elementStep<T>(dstStep)), roiSize, row);
}

// ---------------------------------------------------------------------------
// Abs: 16s saturates (-32768 gives 32767); 32f clears the sign bit.
// ---------------------------------------------------------------------------
inline OvkStatus absRow(const Ovk16s* s, Ovk16s* d, int n)
{
    using namespace simd;
    int i = 0;
    for (; i + kLanes<Ovk16s> <= n; i += kLanes<Ovk16s>) {  // max(x, 0 -sat x): -32768 becomes 32767
        const Vec<Ovk16s> x = load(s + i);
        store(max(x, subSat(zero<Ovk16s>(), x)), d + i);
    }
    for (; i < n; ++i) d[i] = s[i] == -32768 ? Ovk16s(32767) : static_cast<Ovk16s>(s[i] < 0 ? -s[i] : s[i]);
    return ovkStatusOk;
}

inline OvkStatus absRow(const Ovk32f* s, Ovk32f* d, int n)
{
    for (int i = 0; i < n; ++i) d[i] = std::bit_cast<Ovk32f>(std::bit_cast<Ovk32u>(s[i]) & 0x7FFFFFFFu);
    return ovkStatusOk;
}

template <class T, class L>
OvkStatus absImage(const T* pSrc, int srcStep, T* pDst, int dstStep, OvkiSize roiSize)
{
    return unaryImage<T, L>(pSrc, srcStep, pDst, dstStep, roiSize, [](const T* s, T* d, int n) { return absRow(s, d, n); });
}

// ---------------------------------------------------------------------------
// Sqr: the exact square, then the scale-factor rule.
// ---------------------------------------------------------------------------
template <class T, class L>
OvkStatus sqrScaled(const T* pSrc, int srcStep, T* pDst, int dstStep, OvkiSize roiSize, int scaleFactor)
{
    return withScale(scaleFactor, [&](auto scale) {
        return unaryImage<T, L>(pSrc, srcStep, pDst, dstStep, roiSize, [scale](const T* s, T* d, int n) {
            for (int i = 0; i < n; ++i) d[i] = scale.template apply<T>(i64(s[i]) * s[i]);
            return ovkStatusOk;
        });
    });
}

template <class T, class L>
OvkStatus sqrFloat(const T* pSrc, int srcStep, T* pDst, int dstStep, OvkiSize roiSize)
{
    return unaryImage<T, L>(pSrc, srcStep, pDst, dstStep, roiSize, [](const T* s, T* d, int n) {
        for (int i = 0; i < n; ++i) d[i] = s[i] * s[i];
        return ovkStatusOk;
    });
}

// ---------------------------------------------------------------------------
// Sqrt.
// ---------------------------------------------------------------------------

// floor(sqrt(m)) for m < 2^52: the double square root, corrected exactly.
constexpr u64 floorSqrt(u64 m)
{
    u64 r = static_cast<u64>(std::sqrt(static_cast<double>(m)));
    while (r * r > m) --r;
    while ((r + 1) * (r + 1) <= m) ++r;
    return r;
}

// sqrt(x) * 2^-sf rounded to nearest, ties to even, for x < 2^16; the caller
// saturates. Decided with integer arithmetic only.
constexpr u64 sqrtScaled(u64 x, int sf)
{
    if (x == 0) return 0;
    if (sf <= 0) {
        if (sf < -16) return ~u64(0);  // at least 2^17: beyond every 16-bit type (tested before negating sf)
        const int e = -sf;
        const u64 m = x << (2 * e);  // sqrt(x) * 2^e = sqrt(m); a tie would need m = (n + 1/2)^2
        const u64 n = floorSqrt(m);
        return m - n * n > n ? n + 1 : n;
    }
    if (sf > 20) return 0;  // sqrt(x) < 2^8, so the result is below 1/2
    const u64 n = floorSqrt(x) >> sf;
    // The midpoint (n + 1/2) * 2^sf, squared: (2n + 1)^2 * 4^(sf - 1).
    const u64 mid = (2 * n + 1) * (2 * n + 1) << (2 * (sf - 1));
    if (x > mid) return n + 1;
    if (x == mid) return (n & 1) ? n + 1 : n;
    return n;
}

template <class T, class L>
OvkStatus sqrtScaledImage(const T* pSrc, int srcStep, T* pDst, int dstStep, OvkiSize roiSize, int scaleFactor)
{
    auto result = [scaleFactor](T x) { return static_cast<T>(std::min<u64>(sqrtScaled(u64(x), scaleFactor), u64(Elem<T>::max))); };
    if constexpr (std::is_same_v<T, Ovk8u>) {
        // A table of the 256 results, made once per call.
        Ovk8u table[256];
        for (int x = 0; x < 256; ++x) table[x] = result(Ovk8u(x));
        return unaryImage<T, L>(pSrc, srcStep, pDst, dstStep, roiSize, [&table](const T* s, T* d, int n) {
            for (int i = 0; i < n; ++i) d[i] = table[s[i]];
            return ovkStatusOk;
        });
    } else {
        return unaryImage<T, L>(pSrc, srcStep, pDst, dstStep, roiSize, [result](const T* s, T* d, int n) {
            OvkStatus status = ovkStatusOk;
            for (int i = 0; i < n; ++i) {
                if (s[i] < 0) {
                    d[i] = T(0);
                    status = ovkStatusSqrtNegArg;
                } else {
                    d[i] = result(s[i]);
                }
            }
            return status;
        });
    }
}

inline OvkStatus sqrtFloatRow(const Ovk32f* s, Ovk32f* d, int n)
{
    // Negative and NaN lanes take the NaN 0xFFC00000.
    using namespace simd;
    const Vec<float> undefined = splat(undefinedFloat());
    constexpr unsigned kAllLanes = (1u << kLanes<float>) - 1;
    unsigned badLanes = 0;
    int i = 0;
    for (; i + kLanes<float> <= n; i += kLanes<float>) {
        const Vec<float> x = load(s + i);
        const Vec<float> good = ge(x, zero<float>());  // false for negative and NaN
        badLanes |= maskBits(good) ^ kAllLanes;
        store(select(good, sqrt(x), undefined), d + i);
    }
    OvkStatus status = badLanes ? ovkStatusSqrtNegArg : ovkStatusOk;
    for (; i < n; ++i) {
        const float x = s[i];
        if (!(x >= 0.0f)) {
            d[i] = undefinedFloat();
            status = ovkStatusSqrtNegArg;
        } else {
            d[i] = std::sqrt(x);
        }
    }
    return status;
}

template <class T, class L>
OvkStatus sqrtFloatImage(const T* pSrc, int srcStep, T* pDst, int dstStep, OvkiSize roiSize)
{
    return unaryImage<T, L>(pSrc, srcStep, pDst, dstStep, roiSize, sqrtFloatRow);
}

// ---------------------------------------------------------------------------
// Exp and Ln: integer types compute in double precision, then scale by
// 2^-scaleFactor, round half to even and saturate.
// ---------------------------------------------------------------------------
// e^x * 2^-sf. When e^x or 2^-sf leaves the double range, the power of two
// is split off first (x = k ln 2 + r), so that a result in the destination's
// range comes out right for any scale factor (e^65535 * 2^-94548 is about 1).
inline double expTimesPowerOfTwo(double x, int sf, double scale)
{
    const double e = std::exp(x);
    if (std::isfinite(e) && sf >= -1000 && sf <= 1000) return e * scale;
    constexpr long double ln2 = 0.693147180559945309417232121458176568L;
    const long double k = std::nearbyint(x / ln2);
    const double r = static_cast<double>(x - k * ln2);
    const long long shift = static_cast<long long>(k) - std::clamp(sf, -200000, 200000);
    return std::ldexp(std::exp(r), static_cast<int>(std::clamp(shift, -400000LL, 400000LL)));
}

template <class T, class L>
OvkStatus expScaled(const T* pSrc, int srcStep, T* pDst, int dstStep, OvkiSize roiSize, int scaleFactor)
{
    const double scale = scaleDouble(scaleFactor);
    return unaryImage<T, L>(pSrc, srcStep, pDst, dstStep, roiSize, [scale, scaleFactor](const T* s, T* d, int n) {
        for (int i = 0; i < n; ++i)
            d[i] = saturateRound<T>(expTimesPowerOfTwo(static_cast<double>(s[i]), scaleFactor, scale));
        return ovkStatusOk;
    });
}

template <class T, class L>
OvkStatus expFloat(const T* pSrc, int srcStep, T* pDst, int dstStep, OvkiSize roiSize)
{
    return unaryImage<T, L>(pSrc, srcStep, pDst, dstStep, roiSize, [](const T* s, T* d, int n) {
        for (int i = 0; i < n; ++i) d[i] = std::exp(s[i]);
        return ovkStatusOk;
    });
}

template <class T, class L>
OvkStatus lnScaled(const T* pSrc, int srcStep, T* pDst, int dstStep, OvkiSize roiSize, int scaleFactor)
{
    const double scale = scaleDouble(scaleFactor);
    return unaryImage<T, L>(pSrc, srcStep, pDst, dstStep, roiSize, [scale](const T* s, T* d, int n) {
        OvkStatus status = ovkStatusOk;
        for (int i = 0; i < n; ++i) {
            if (s[i] > 0) {
                d[i] = saturateRound<T>(std::log(static_cast<double>(s[i])) * scale);
            } else if (s[i] == 0) {
                d[i] = Elem<T>::min;
                if (status == ovkStatusOk) status = ovkStatusLnZeroArg;
            } else {
                d[i] = T(0);
                if (status == ovkStatusOk) status = ovkStatusLnNegArg;
            }
        }
        return status;
    });
}

inline OvkStatus lnFloatRow(const Ovk32f* s, Ovk32f* d, int n)
{
    OvkStatus status = ovkStatusOk;
    for (int i = 0; i < n; ++i) {
        const float x = s[i];
        if (x > 0.0f) {
            d[i] = std::log(x);
        } else if (x == 0.0f) {
            d[i] = -std::numeric_limits<float>::infinity();
            if (status == ovkStatusOk) status = ovkStatusLnZeroArg;
        } else {  // negative or NaN
            d[i] = undefinedFloat();
            if (status == ovkStatusOk) status = ovkStatusLnNegArg;
        }
    }
    return status;
}

template <class T, class L>
OvkStatus lnFloat(const T* pSrc, int srcStep, T* pDst, int dstStep, OvkiSize roiSize)
{
    return unaryImage<T, L>(pSrc, srcStep, pDst, dstStep, roiSize, lnFloatRow);
}

// ---------------------------------------------------------------------------
// Complement: two's complement to sign-magnitude. Non-negative values stay;
// a negative x becomes -x with the top bit set. Applying it twice restores
// the input; 0x80000000 maps to itself.
// ---------------------------------------------------------------------------
inline OvkStatus complementImage(Ovk32s* pSrcDst, int srcDstStep, OvkiSize roiSize)
{
    OVK_CHECK(check::pointers(pSrcDst));
    OVK_CHECK(check::steps(srcDstStep));
    OVK_CHECK(check::size(roiSize));
    const auto img = image(pSrcDst, elementStep<Ovk32s>(srcDstStep));
    forEachRow(roiSize, [&](Ovk32s* p) {
        for (int i = 0; i < roiSize.width; ++i) {
            const Ovk32u u = static_cast<Ovk32u>(p[i]);
            p[i] = static_cast<Ovk32s>((u & 0x80000000u) ? ((0u - u) | 0x80000000u) : u);
        }
    }, img);
    return ovkStatusOk;
}

}  // namespace ovk::arith
