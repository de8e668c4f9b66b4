// Minimum and maximum per channel, with or without their first position
// (rows top to bottom, columns left to right; only a strictly better value
// replaces the current one), and the element-wise MinEvery / MaxEvery. A NaN
// is an extreme only when every value is one. The walks are the reduction
// engine's (frame/reduce.hpp).
#pragma once

#include <algorithm>
#include <iterator>
#include <limits>
#include <optional>

#include "frame/check.hpp"
#include "frame/elementwise.hpp"
#include "frame/reduce.hpp"

namespace ovk::stats {

template <bool Max, class T, class L>
OvkStatus extreme(const T* pSrc, int srcStep, OvkiSize roiSize, T* pValue)
{
    OVK_CHECK(check::pointers(pSrc, pValue));
    OVK_CHECK(check::size(roiSize));
    reduce::extreme<Max, L>(Image<const T>(pSrc, srcStep), roiSize, pValue);
    return ovkStatusOk;
}

template <class T, class L>
OvkStatus minMax(const T* pSrc, int srcStep, OvkiSize roiSize, T* pMin, T* pMax)
{
    OVK_CHECK(check::pointers(pSrc, pMin, pMax));
    OVK_CHECK(check::size(roiSize));
    reduce::extremes<L>(Image<const T>(pSrc, srcStep), roiSize, pMin, pMax);
    return ovkStatusOk;
}

// 8u scans end after the row in which every channel reached 0 (255 for the
// maximum): nothing can beat it, and the first occurrence is already known.
template <bool Max, class T, class L>
OvkStatus extremeIndex(const T* pSrc, int srcStep, OvkiSize roiSize, T* pValue, int* pIndexX, int* pIndexY)
{
    OVK_CHECK(check::pointers(pSrc, pValue, pIndexX, pIndexY));
    OVK_CHECK(check::size(roiSize));
    std::optional<T> stopAt;
    if constexpr (std::is_same_v<T, Ovk8u>) stopAt = Max ? 255 : 0;
    reduce::extremeAt<Max, L>(Image<const T>(pSrc, srcStep), roiSize, pValue, pIndexX, pIndexY, stopAt);
    return ovkStatusOk;
}

// pSrcDst = the smaller (Max: larger) of pSrc and pSrcDst, element by
// element: pSrc where it compares strictly smaller (larger), else pSrcDst.
template <bool Max, class T, class L>
OvkStatus every(const T* pSrc, int srcStep, T* pSrcDst, int srcDstStep, OvkiSize roiSize)
{
    OVK_CHECK(check::pointers(pSrc, pSrcDst));
    OVK_CHECK(check::size(roiSize));
    OVK_CHECK(check::steps(srcStep, srcDstStep));
    return runBinary<L>(Image<const T>(pSrc, srcStep), Image<const T>(pSrcDst, srcDstStep), Image<T>(pSrcDst, srcDstStep),
                        roiSize, [](const T* s, const T* d, T* out, int n) {
                            for (int i = 0; i < n; ++i) out[i] = (Max ? s[i] > d[i] : s[i] < d[i]) ? s[i] : d[i];
                            return ovkStatusOk;
                        });
}

// The ROI cut into blocks of blockSize from its top left corner (the last
// column and row of blocks may be narrower): the minimum and maximum of each
// block go to pixel (bx, by) of pDstMin and pDstMax, images of
// ceil(width / blockWidth) x ceil(height / blockHeight) pixels, and those of
// the whole ROI to pGlobalMin and pGlobalMax. A block's extreme is NaN only
// when all its values are.
template <class T>
OvkStatus blockMinMax(const T* pSrc, int srcStep, OvkiSize roiSize, T* pDstMin, int dstMinStep, T* pDstMax, int dstMaxStep,
                      OvkiSize blockSize, T* pGlobalMin, T* pGlobalMax)
{
    OVK_CHECK(check::pointers(pSrc, pDstMin, pDstMax, pGlobalMin, pGlobalMax));
    OVK_CHECK(check::size(roiSize));
    OVK_CHECK(check::size(blockSize));
    OVK_CHECK(check::steps(srcStep, dstMinStep, dstMaxStep));
    const Image<const T> src(pSrc, srcStep);
    const Image<T> mins(pDstMin, dstMinStep), maxs(pDstMax, dstMaxStep);
    const int bw = std::min(blockSize.width, roiSize.width), bh = std::min(blockSize.height, roiSize.height);
    const int blocksX = int((std::int64_t(roiSize.width) + bw - 1) / bw);
    T globalLo = reduce::worst<false, T>(), globalHi = reduce::worst<true, T>();
    for (std::int64_t y0 = 0; y0 < roiSize.height; y0 += bh) {  // 64-bit: a last block may end past INT_MAX
        const int rows = int(std::min<std::int64_t>(bh, roiSize.height - y0));
        T* lo = mins.row(int(y0 / bh));
        T* hi = maxs.row(int(y0 / bh));
        for (int bx = 0; bx < blocksX; ++bx) {
            const std::int64_t x0 = std::int64_t(bx) * bw;
            const int cols = int(std::min<std::int64_t>(bw, roiSize.width - x0));
            T l[reduce::kPeriod<C1, T>], h[reduce::kPeriod<C1, T>];
            std::fill(std::begin(l), std::end(l), reduce::worst<false, T>());
            std::fill(std::begin(h), std::end(h), reduce::worst<true, T>());
            for (int y = int(y0); y < int(y0) + rows; ++y) {
                reduce::scanRow<false, C1>(src.row(y) + x0, cols, l);
                reduce::scanRow<true, C1>(src.row(y) + x0, cols, h);
            }
            const OvkiSize block{cols, rows};
            const Image<const T> at(src.row(int(y0)) + x0, srcStep);
            lo[bx] = reduce::confirmed<false, C1>(reduce::channelBest<false, C1>(l, 0), at, block, 0);
            hi[bx] = reduce::confirmed<true, C1>(reduce::channelBest<true, C1>(h, 0), at, block, 0);
            globalLo = reduce::pick<false>(lo[bx], globalLo);
            globalHi = reduce::pick<true>(hi[bx], globalHi);
        }
    }
    *pGlobalMin = reduce::confirmed<false, C1>(globalLo, src, roiSize, 0);
    *pGlobalMax = reduce::confirmed<true, C1>(globalHi, src, roiSize, 0);
    return ovkStatusOk;
}

}  // namespace ovk::stats
