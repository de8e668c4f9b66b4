// SwapChannels: dst[c] = src[dstOrder[c]]. Every pixel's channels are read
// into temporaries before any is written, so the in-place forms (and a
// two-image call with equal pointers) honour any permutation, also one that
// repeats a channel.
//
// The check order differs between members on purpose:
//   C3R, C4R         pointers (order array included), size, [C3R: steps], order
//   AC4R             pointers, steps, size, order array pointer, order
//   C3IR             pointer, step, size, order array pointer, order
//   C4IR, C3C4R, C4C3R  pointers, size, order
//
// Order entries name one of the three colour channels (0 to 2), also for the
// four-channel C4R and C4IR; only C4C3R may take the fourth (0 to 3), and
// C3C4R gives 3 and above their own meanings.
#pragma once

#include "frame/check.hpp"
#include "frame/image.hpp"
#include "frame/simd/simd.hpp"

namespace ovk::exchange {

enum class SwapChecks { PointersSize, PointersSizeSteps, StepsFirst };

// Reads SrcStride channels per pixel and writes the first `Written` of
// DstStride. With WithValue (C3C4R), an entry equal to SrcStride writes
// `value` and one above it leaves the destination channel as it was.
template <class T, int SrcStride, int DstStride, int Written, bool WithValue = false>
void swapRows(Image<const T> src, Image<T> dst, OvkiSize roi, const int* order, T value = T{})
{
    int o[Written];
    for (int c = 0; c < Written; ++c) o[c] = order[c];
    constexpr bool kVectors = std::is_same_v<T, Ovk8u> && SrcStride == DstStride && Written == SrcStride && !WithValue;
    struct Scalar {
        explicit Scalar(const int*) {}
    };
    using Permutation = std::conditional_t<kVectors, simd::PixelBytePermutation<SrcStride>, Scalar>;
    const Permutation permutation(o);  // built once: its tables cost more than a short row
    for (int y = 0; y < roi.height; ++y) {
        const T* s = src.row(y);
        T* d = dst.row(y);
        std::ptrdiff_t x = 0;
        if constexpr (kVectors) {
            // A vector of pixels at a time (each reads its pixels before it
            // writes them, so in place works).
            constexpr int n = simd::kLanes<Ovk8u>;
            for (; x + n <= roi.width; x += n, s += n * SrcStride, d += n * SrcStride) permutation.apply(s, d);
        }
        for (; x < roi.width; ++x, s += SrcStride, d += DstStride) {
            T pixel[SrcStride + 1];
            for (int c = 0; c < SrcStride; ++c) pixel[c] = s[c];
            if constexpr (WithValue) {
                pixel[SrcStride] = value;
                for (int c = 0; c < Written; ++c)
                    if (o[c] <= SrcStride) d[c] = pixel[o[c]];
            } else {
                for (int c = 0; c < Written; ++c) d[c] = pixel[o[c]];
            }
        }
    }
}

template <int Count>
constexpr bool orderWithin(const int* order, int lo, int hi)
{
    for (int c = 0; c < Count; ++c)
        if (order[c] < lo || order[c] > hi) return false;
    return true;
}

// C3R, C4R, AC4R: same channel count in and out.
template <class T, int Stride, int Written, SwapChecks Checks>
OvkStatus swapChannels(const T* pSrc, int srcStep, T* pDst, int dstStep, OvkiSize roiSize, const int* dstOrder)
{
    if constexpr (Checks == SwapChecks::StepsFirst) {
        OVK_CHECK(check::pointers(pSrc, pDst));
        OVK_CHECK(check::steps(srcStep, dstStep));
        OVK_CHECK(check::size(roiSize));
        OVK_CHECK(check::pointers(dstOrder));
    } else {
        OVK_CHECK(check::pointers(pSrc, pDst, dstOrder));
        OVK_CHECK(check::size(roiSize));
        if constexpr (Checks == SwapChecks::PointersSizeSteps) OVK_CHECK(check::steps(srcStep, dstStep));
    }
    OVK_CHECK(check::require(orderWithin<Written>(dstOrder, 0, 2), ovkStatusChannelOrderError));
    swapRows<T, Stride, Stride, Written>(image(pSrc, srcStep), image(pDst, dstStep), roiSize, dstOrder);
    return ovkStatusOk;
}

// In place (8u C3IR, C4IR).
template <class T, int Stride, SwapChecks Checks>
OvkStatus swapChannelsInPlace(T* pSrcDst, int srcDstStep, OvkiSize roiSize, const int* dstOrder)
{
    if constexpr (Checks == SwapChecks::StepsFirst) {
        OVK_CHECK(check::pointers(pSrcDst));
        OVK_CHECK(check::steps(srcDstStep));
        OVK_CHECK(check::size(roiSize));
        OVK_CHECK(check::pointers(dstOrder));
    } else {
        OVK_CHECK(check::pointers(pSrcDst, dstOrder));
        OVK_CHECK(check::size(roiSize));
    }
    OVK_CHECK(check::require(orderWithin<Stride>(dstOrder, 0, 2), ovkStatusChannelOrderError));
    swapRows<T, Stride, Stride, Stride>(image(pSrcDst, srcDstStep), image(pSrcDst, srcDstStep), roiSize, dstOrder);
    return ovkStatusOk;
}

// C3C4R: entries 0..2 take that source channel, 3 writes val, above 3 leaves
// the destination channel as it was; negative entries are refused.
template <class T>
OvkStatus swapChannels3to4(const T* pSrc, int srcStep, T* pDst, int dstStep, OvkiSize roiSize, const int* dstOrder,
                           T val)
{
    OVK_CHECK(check::pointers(pSrc, pDst, dstOrder));
    OVK_CHECK(check::size(roiSize));
    for (int c = 0; c < 4; ++c) OVK_CHECK(check::require(dstOrder[c] >= 0, ovkStatusChannelOrderError));
    swapRows<T, 3, 4, 4, true>(image(pSrc, srcStep), image(pDst, dstStep), roiSize, dstOrder, val);
    return ovkStatusOk;
}

// C4C3R: entries 0..3 select any of the four source channels.
template <class T>
OvkStatus swapChannels4to3(const T* pSrc, int srcStep, T* pDst, int dstStep, OvkiSize roiSize, const int* dstOrder)
{
    OVK_CHECK(check::pointers(pSrc, pDst, dstOrder));
    OVK_CHECK(check::size(roiSize));
    OVK_CHECK(check::require(orderWithin<3>(dstOrder, 0, 3), ovkStatusChannelOrderError));
    swapRows<T, 4, 3, 3>(image(pSrc, srcStep), image(pDst, dstStep), roiSize, dstOrder);
    return ovkStatusOk;
}

}  // namespace ovk::exchange
