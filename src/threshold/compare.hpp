// Compare, CompareC, CompareEqualEps, CompareEqualEpsC: one mask byte per
// pixel, 255 where the condition holds in every compared channel (three for
// C3 and AC4, four for C4), 0 elsewhere. Comparisons are made in the image's
// own type (floating-point ones for 32f, so a NaN satisfies nothing); the
// tolerance forms take the single-precision difference and accept
// |a - b| <= eps.
//
// An operation code outside 0..4 is a success that writes nothing, after
// the argument checks.
#pragma once

#include <cmath>
#include <cstdint>

#include "frame/check.hpp"
#include "frame/elementwise.hpp"
#include "frame/simd/simd.hpp"

namespace ovk::threshold {

// a op b for one element, and for whole vectors (all-ones lanes where it holds).
template <class T, OvkCmpOp Op>
struct Comparison {
    bool operator()(T a, T b) const
    {
        if constexpr (Op == ovkCmpLess) return a < b;
        else if constexpr (Op == ovkCmpLessEq) return a <= b;
        else if constexpr (Op == ovkCmpEq) return a == b;
        else if constexpr (Op == ovkCmpGreaterEq) return a >= b;
        else return a > b;
    }
    simd::Vec<T> operator()(simd::Vec<T> a, simd::Vec<T> b) const
    {
        if constexpr (Op == ovkCmpLess) return simd::gt(b, a);
        else if constexpr (Op == ovkCmpLessEq) return simd::ge(b, a);
        else if constexpr (Op == ovkCmpEq) return simd::eq(a, b);
        else if constexpr (Op == ovkCmpGreaterEq) return simd::ge(a, b);
        else return simd::gt(a, b);
    }
};

struct WithinEps {
    float eps;
    bool operator()(float a, float b) const { return std::fabs(a - b) <= eps; }
    simd::Vec<float> operator()(simd::Vec<float> a, simd::Vec<float> b) const
    {
        const simd::Vec<float> distance = simd::bitAndNot(simd::splat(-0.0f), simd::sub(a, b));
        return simd::ge(simd::splat(eps), distance);
    }
};

// A vector of byte masks from the masks of sizeof(T) vectors of T lanes, in
// memory order (each lane is all ones or zero, so narrowing keeps it).
template <class T, class Next>
OVK_SIMD_INLINE simd::Vec<std::uint8_t> maskBytes(Next&& next)
{
    using simd::bitcast, simd::narrowSatInOrder;
    if constexpr (sizeof(T) == 1) {
        return bitcast<std::uint8_t>(next());
    } else if constexpr (sizeof(T) == 2) {
        const auto m0 = bitcast<std::int16_t>(next()), m1 = bitcast<std::int16_t>(next());
        return bitcast<std::uint8_t>(narrowSatInOrder<std::int8_t>(m0, m1));
    } else {
        const auto m0 = bitcast<std::int32_t>(next()), m1 = bitcast<std::int32_t>(next());
        const auto m2 = bitcast<std::int32_t>(next()), m3 = bitcast<std::int32_t>(next());
        return bitcast<std::uint8_t>(
            narrowSatInOrder<std::int8_t>(narrowSatInOrder<std::int16_t>(m0, m1), narrowSatInOrder<std::int16_t>(m2, m3)));
    }
}

// m pixels of a against m pixels of b into m mask bytes.
template <class T, class L, class Pred>
void maskPixels(const T* a, const T* b, Ovk8u* d, int m, const Pred& holds)
{
    std::ptrdiff_t x = 0;
    if constexpr (L::stored == 1) {
        constexpr int kBytes = simd::kLanes<std::uint8_t>, kLanes = simd::kLanes<T>;
        for (; x + kBytes <= m; x += kBytes) {
            int at = x;
            const auto next = [&] {
                const simd::Vec<T> r = holds(simd::load(a + at), simd::load(b + at));
                at += kLanes;
                return r;
            };
            simd::store(maskBytes<T>(next), d + x);
        }
    }
    for (; x < m; ++x) {
        bool all = true;
        for (int c = 0; c < L::processed; ++c) all = all && holds(a[x * L::stored + c], b[x * L::stored + c]);
        d[x] = all ? 255 : 0;
    }
}

template <class T, class L, class Pred>
void maskOfImages(Image<const T> a, Image<const T> b, Image<Ovk8u> dst, OvkiSize roi, const Pred& holds)
{
    forEachRow(roi, [&](const T* ra, const T* rb, Ovk8u* rd) { maskPixels<T, L>(ra, rb, rd, roi.width, holds); }, a, b, dst);
}

// The constant is laid out along a chunk of pixels and stands for the second image.
template <class T, class L, class Pred>
void maskOfConstant(Image<const T> a, const T* values, Image<Ovk8u> dst, OvkiSize roi, const Pred& holds)
{
    constexpr int kPixels = kConstantChunk / L::stored;
    T pattern[kConstantChunk];
    for (int i = 0; i < kConstantChunk; ++i) pattern[i] = values[i % L::stored % L::processed];
    forEachRow(roi, [&](const T* ra, Ovk8u* rd) {
        for (int x = 0; x < roi.width; x += kPixels)
            maskPixels<T, L>(ra + std::int64_t(x) * L::stored, pattern, rd + x, std::min(kPixels, roi.width - x), holds);
    }, a, dst);
}

// Runs f with the comparison for op as a compile-time operation; false for
// an operation outside 0..4.
template <class T, class F>
bool withComparison(OvkCmpOp op, F&& f)
{
    switch (op) {
    case ovkCmpLess: f(Comparison<T, ovkCmpLess>{}); return true;
    case ovkCmpLessEq: f(Comparison<T, ovkCmpLessEq>{}); return true;
    case ovkCmpEq: f(Comparison<T, ovkCmpEq>{}); return true;
    case ovkCmpGreaterEq: f(Comparison<T, ovkCmpGreaterEq>{}); return true;
    case ovkCmpGreater: f(Comparison<T, ovkCmpGreater>{}); return true;
    default: return false;
    }
}

template <class T, class L>
OvkStatus compare(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, Ovk8u* pDst, int dstStep, OvkiSize roiSize,
                  OvkCmpOp cmpOp)
{
    OVK_CHECK(check::pointers(pSrc1, pSrc2, pDst));
    OVK_CHECK(check::steps(src1Step, src2Step, dstStep));
    OVK_CHECK(check::size(roiSize));
    withComparison<T>(cmpOp, [&](const auto& holds) {
        maskOfImages<T, L>(Image<const T>(pSrc1, src1Step), Image<const T>(pSrc2, src2Step), Image<Ovk8u>(pDst, dstStep),
                           roiSize, holds);
    });
    return ovkStatusOk;
}

template <class T, class L>
OvkStatus compareC(const T* pSrc, int srcStep, ConstArg<T, L> value, Ovk8u* pDst, int dstStep, OvkiSize roiSize,
                   OvkCmpOp cmpOp)
{
    OVK_CHECK(check::pointers(pSrc, pDst));
    OVK_CHECK(check::require(!constantIsNull<T, L>(value), ovkStatusNullPointer));
    OVK_CHECK(check::steps(srcStep, dstStep));
    OVK_CHECK(check::size(roiSize));
    withComparison<T>(cmpOp, [&](const auto& holds) {
        maskOfConstant<T, L>(Image<const T>(pSrc, srcStep), constantValues<T, L>(value), Image<Ovk8u>(pDst, dstStep),
                             roiSize, holds);
    });
    return ovkStatusOk;
}

template <class L>
OvkStatus compareEqualEps(const Ovk32f* pSrc1, int src1Step, const Ovk32f* pSrc2, int src2Step, Ovk8u* pDst, int dstStep,
                          OvkiSize roiSize, Ovk32f eps)
{
    OVK_CHECK(check::pointers(pSrc1, pSrc2, pDst));
    OVK_CHECK(check::steps(src1Step, src2Step, dstStep));
    OVK_CHECK(check::size(roiSize));
    OVK_CHECK(check::require(!(eps < 0), ovkStatusEpsilonError));
    maskOfImages<Ovk32f, L>(Image<const Ovk32f>(pSrc1, src1Step), Image<const Ovk32f>(pSrc2, src2Step),
                            Image<Ovk8u>(pDst, dstStep), roiSize, WithinEps{eps});
    return ovkStatusOk;
}

template <class L>
OvkStatus compareEqualEpsC(const Ovk32f* pSrc, int srcStep, Ovk8u* pDst, int dstStep, OvkiSize roiSize,
                           ConstArg<Ovk32f, L> value, Ovk32f eps)
{
    OVK_CHECK(check::pointers(pSrc, pDst));
    OVK_CHECK(check::require(!constantIsNull<Ovk32f, L>(value), ovkStatusNullPointer));
    OVK_CHECK(check::steps(srcStep, dstStep));
    OVK_CHECK(check::size(roiSize));
    OVK_CHECK(check::require(!(eps < 0), ovkStatusEpsilonError));
    maskOfConstant<Ovk32f, L>(Image<const Ovk32f>(pSrc, srcStep), constantValues<Ovk32f, L>(value),
                              Image<Ovk8u>(pDst, dstStep), roiSize, WithinEps{eps});
    return ovkStatusOk;
}

}  // namespace ovk::threshold
