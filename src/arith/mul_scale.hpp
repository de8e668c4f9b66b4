// MulScale and MulCScale: products normalised by the type's maximum, so that
// max * max = max. The normalisation (p + (p >> bits) + 1) >> bits of the
// 32-bit product p stands for p / max rounded; it is the required arithmetic,
// not an approximation to be replaced by a division.
//
// These check their steps BEFORE the size.
#pragma once

#include <emmintrin.h>

#include "frame/elementwise.hpp"

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
        // 16-bit lanes: p <= 65025, and p + (p >> 8) + 1 <= 65280 still fits.
        const __m128i z = _mm_setzero_si128(), one = _mm_set1_epi16(1);
        auto half = [&](__m128i x, __m128i y) {
            const __m128i p = _mm_mullo_epi16(x, y);
            return _mm_srli_epi16(_mm_add_epi16(_mm_add_epi16(p, _mm_srli_epi16(p, 8)), one), 8);
        };
        for (; i + 16 <= n; i += 16) {
            const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a + i));
            const __m128i y = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b + i));
            const __m128i lo = half(_mm_unpacklo_epi8(x, z), _mm_unpacklo_epi8(y, z));
            const __m128i hi = half(_mm_unpackhi_epi8(x, z), _mm_unpackhi_epi8(y, z));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d + i), _mm_packus_epi16(lo, hi));
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
