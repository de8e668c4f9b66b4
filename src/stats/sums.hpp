// Sums, means, norms and dot products: each states its term and leaves the
// walk, the exact integer row totals and the order of floating-point
// additions to the reduction engine (frame/reduce.hpp). Results are one
// double per processed channel (three for AC4).
//
// Norms: Inf the largest |x|, L1 the sum of |x|, L2 the square root of the sum
// of x^2. Differences are of the element type's arithmetic: exact for
// integers, a single-precision subtraction for 32f. NormRel divides the
// norm of pSrc1 - pSrc2 by that of pSrc2 (L2: sqrt(sum d^2 / sum r^2)); a
// reference below the smallest normal double leaves the difference norm
// unscaled and returns the warning ovkStatusDivByZero.
#pragma once

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "frame/check.hpp"
#include "frame/reduce.hpp"
#include "frame/types.hpp"

namespace ovk::stats {

enum class Norm { Inf, L1, L2 };

// The largest magnitude of an element, of a difference of two, and of a product of two.
template <class T>
inline constexpr unsigned long long kMagnitude =
    std::is_floating_point_v<T> ? 0 : std::is_signed_v<T> ? (1ull << (8 * sizeof(T) - 1)) : (1ull << (8 * sizeof(T))) - 1;
template <class T>
inline constexpr unsigned long long kDifference = std::is_signed_v<T> ? 2 * kMagnitude<T> : kMagnitude<T>;
constexpr unsigned long long kSquare(unsigned long long m)
{
    return m > 0xffffffffull ? ~0ull : m * m;
}

// One-channel 8u images: sums of bytes and of their distances, eight at a time.
template <class T, class L>
inline constexpr bool kOneChannelBytes = std::is_same_v<T, Ovk8u> && L::stored == 1;

// Exact integer arithmetic for integer elements, double for floating point.
template <class T>
using Exact = std::conditional_t<std::is_floating_point_v<T>, double, std::conditional_t<(sizeof(T) < 4), int, std::int64_t>>;

template <class T, class L>
OvkStatus sum(const T* pSrc, int srcStep, OvkiSize roiSize, Ovk64f* pSum)
{
    OVK_CHECK(check::pointers(pSrc, pSum));
    OVK_CHECK(check::size(roiSize));
    const Image<const T> src(pSrc, srcStep);
    reduce::Totals totals;
    if constexpr (kOneChannelBytes<T, L>) totals = reduce::byteSums(roiSize, src);
    else totals = reduce::sum<L, decltype([](T x) { return Exact<T>(x); }), kMagnitude<T>>(roiSize, {}, src);
    for (int c = 0; c < L::processed; ++c) pSum[c] = totals.v[c];
    return ovkStatusOk;
}

// The sum divided by the pixel count, formed as a 32-bit integer product.
template <class T, class L>
OvkStatus mean(const T* pSrc, int srcStep, OvkiSize roiSize, Ovk64f* pMean)
{
    OVK_CHECK(sum<T, L>(pSrc, srcStep, roiSize, pMean));
    const std::int32_t pixels = std::int32_t(std::uint32_t(roiSize.width) * std::uint32_t(roiSize.height));
    for (int c = 0; c < L::processed; ++c) pMean[c] /= double(pixels);
    return ovkStatusOk;
}

// The norm of one image (the differences d when two are given).
template <Norm N, class L, class T, class Term>
reduce::Totals normOf(OvkiSize roi, Term term, Image<const T> a)
{
    if constexpr (N == Norm::Inf) {
        return reduce::largest<L>(roi, [&](T x) { return std::abs(term(x)); }, a);
    } else if constexpr (N == Norm::L1 && kOneChannelBytes<T, L>) {
        return reduce::byteSums(roi, a);
    } else if constexpr (N == Norm::L1) {
        return reduce::sum<L, decltype([](T x) { return std::abs(Term{}(x)); }), kDifference<T>>(roi, {}, a);
    } else {
        auto square = [](T x) { const auto d = Term{}(x); return std::conditional_t<std::is_floating_point_v<T>, double, std::int64_t>(d) * d; };
        return reduce::sum<L, decltype(square), kSquare(kDifference<T>)>(roi, square, a);
    }
}

template <Norm N, class L, class T, class Term>
reduce::Totals normOf(OvkiSize roi, Term, Image<const T> a, Image<const T> b)
{
    auto diff = [](T x, T y) { return Term{}(x, y); };
    if constexpr (N == Norm::Inf) {
        return reduce::largest<L>(roi, [&](T x, T y) { return std::abs(diff(x, y)); }, a, b);
    } else if constexpr (N == Norm::L1 && kOneChannelBytes<T, L>) {
        return reduce::byteSums(roi, a, b);
    } else if constexpr (N == Norm::L1) {
        return reduce::sum<L, decltype([](T x, T y) { return std::abs(Term{}(x, y)); }), kDifference<T>>(roi, {}, a, b);
    } else {
        auto square = [](T x, T y) {
            const auto d = Term{}(x, y);
            return std::conditional_t<std::is_floating_point_v<T>, double, std::int64_t>(d) * d;
        };
        return reduce::sum<L, decltype(square), kSquare(kDifference<T>)>(roi, square, a, b);
    }
}

// The value itself, and the difference of two, in exact (or single-precision) arithmetic.
template <class T>
struct Value {
    auto operator()(T x) const { return Exact<T>(x); }
};
template <class T>
struct Difference {
    auto operator()(T x, T y) const
    {
        if constexpr (std::is_floating_point_v<T>) return T(x - y);
        else return Exact<T>(x) - Exact<T>(y);
    }
};

template <Norm N>
double finish(double v)
{
    return N == Norm::L2 ? std::sqrt(v) : v;
}

template <Norm N, class T, class L>
OvkStatus norm(const T* pSrc, int srcStep, OvkiSize roiSize, Ovk64f* pValue)
{
    OVK_CHECK(check::pointers(pSrc, pValue));
    OVK_CHECK(check::size(roiSize));
    OVK_CHECK(check::steps(srcStep));
    const auto totals = normOf<N, L>(roiSize, Value<T>{}, Image<const T>(pSrc, srcStep));
    for (int c = 0; c < L::processed; ++c) pValue[c] = finish<N>(totals.v[c]);
    return ovkStatusOk;
}

template <Norm N, class T, class L>
OvkStatus normDiff(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, OvkiSize roiSize, Ovk64f* pValue)
{
    OVK_CHECK(check::pointers(pSrc1, pSrc2, pValue));
    OVK_CHECK(check::size(roiSize));
    OVK_CHECK(check::steps(src1Step, src2Step));
    const auto totals =
        normOf<N, L>(roiSize, Difference<T>{}, Image<const T>(pSrc1, src1Step), Image<const T>(pSrc2, src2Step));
    for (int c = 0; c < L::processed; ++c) pValue[c] = finish<N>(totals.v[c]);
    return ovkStatusOk;
}

template <Norm N, class T, class L>
OvkStatus normRel(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, OvkiSize roiSize, Ovk64f* pValue)
{
    OVK_CHECK(check::pointers(pSrc1, pSrc2, pValue));
    OVK_CHECK(check::size(roiSize));
    OVK_CHECK(check::steps(src1Step, src2Step));
    const Image<const T> a(pSrc1, src1Step), b(pSrc2, src2Step);
    const auto difference = normOf<N, L>(roiSize, Difference<T>{}, a, b);
    const auto reference = normOf<N, L>(roiSize, Value<T>{}, b);
    OvkStatus status = ovkStatusOk;
    for (int c = 0; c < L::processed; ++c) {
        if (reference.v[c] < DBL_MIN) {
            pValue[c] = finish<N>(difference.v[c]);
            status = ovkStatusDivByZero;
        } else {
            pValue[c] = finish<N>(difference.v[c] / reference.v[c]);
        }
    }
    return status;
}

// Products of 32-bit values need 64 bits (unsigned for 32u) and 128-bit row totals.
template <class T>
struct Product {
    auto operator()(T x, T y) const
    {
        if constexpr (std::is_floating_point_v<T>) return double(x) * double(y);
        else if constexpr (std::is_same_v<T, Ovk32u>) return std::uint64_t(x) * y;
        else return std::int64_t(x) * y;
    }
};

template <class T, class R, class L>
OvkStatus dotProd(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, OvkiSize roiSize, R* pDp)
{
    OVK_CHECK(check::pointers(pSrc1, pSrc2, pDp));
    OVK_CHECK(check::size(roiSize));
    const auto totals = reduce::sum<L, Product<T>, kSquare(kMagnitude<T>)>(roiSize, {}, Image<const T>(pSrc1, src1Step),
                                                                          Image<const T>(pSrc2, src2Step));
    for (int c = 0; c < L::processed; ++c) pDp[c] = totals.v[c];
    return ovkStatusOk;
}

}  // namespace ovk::stats
