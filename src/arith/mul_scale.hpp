// MulScale and MulCScale: products normalised by the type's maximum, so that
// max * max = max. The normalisation (p + (p >> bits) + 1) >> bits of the
// 32-bit product p stands for p / max rounded; it is the required arithmetic,
// not an approximation to be replaced by a division.
//
// These check their steps BEFORE the size.
#pragma once

#include "frame/elementwise.hpp"
#include "frame/simd/simd.hpp"

namespace ovk::arith {

template <class T>
constexpr T normalisedProduct(std::uint32_t a, std::uint32_t b)
{
    constexpr int bits = 8 * sizeof(T);
    const std::uint32_t p = a * b;
    return static_cast<T>((p + (p >> bits) + 1) >> bits);
}

template <class T>
OvkStatus mulScaleRow(const T* a, const T* b, T* d, int n)
{
    int i = 0;
    if constexpr (std::is_same_v<T, Ovk8u>) {
        // 16-bit lanes: p <= 65025, and p + (p >> 8) + 1 <= 65280 still fits;
        // the result (at most 255) is a signed 16-bit lane for the narrowing.
        using namespace simd;
        const auto normalised = [](Vec<Ovk16u> x, Vec<Ovk16u> y) {
            const Vec<Ovk16u> p = mulLow(x, y);
            return bitcast<Ovk16s>(shiftRight<8>(add(add(p, shiftRight<8>(p)), splat<Ovk16u>(1))));
        };
        for (; i + kLanes<Ovk8u> <= n; i += kLanes<Ovk8u>) {
            const Halves<Ovk16u> x = widen(load(a + i)), y = widen(load(b + i));
            store(narrowSat<Ovk8u>(normalised(x.lo, y.lo), normalised(x.hi, y.hi)), d + i);
        }
    }
    for (; i < n; ++i) d[i] = normalisedProduct<T>(a[i], b[i]);
    return ovkStatusOk;
}

template <class T, class L>
OvkStatus mulScaleImages(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, T* pDst, int dstStep,
                         OvkiSize roiSize)
{
    OVK_CHECK(check::pointers(pSrc1, pSrc2, pDst));
    OVK_CHECK(check::steps(src1Step, src2Step, dstStep));
    OVK_CHECK(check::size(roiSize));
    return runBinary<L>(image(pSrc1, src1Step), image(pSrc2, src2Step), image(pDst, dstStep), roiSize, mulScaleRow<T>);
}

template <class T, class L>
OvkStatus mulScaleConstant(const T* pSrc, int srcStep, ConstArg<T, L> value, T* pDst, int dstStep, OvkiSize roiSize)
{
    OVK_CHECK(check::pointers(pSrc, pDst, constantValues<T, L>(value)));
    OVK_CHECK(check::steps(srcStep, dstStep));
    OVK_CHECK(check::size(roiSize));
    return runConstant<L>(constantValues<T, L>(value), image(pSrc, srcStep), image(pDst, dstStep), roiSize,
                          mulScaleRow<T>);
}

}  // namespace ovk::arith
