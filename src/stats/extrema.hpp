// Minimum and maximum per channel, with or without their first position
// (rows top to bottom, columns left to right; only a strictly better value
// replaces the current one), and the element-wise MinEvery / MaxEvery. A NaN
// is an extreme only when every value is one. The walks are the reduction
// engine's (frame/reduce.hpp).
#pragma once

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

}  // namespace ovk::stats
