// CountInRange: per channel, the pixels with lowerBound <= x <= upperBound
// (a NaN is never counted); counts beyond 2^31 - 1 saturate. 8u counts are
// the sum of the histogram's cells from lowerBound to upperBound.
//
// ComputeThreshold_Otsu: the grey level that maximises the between-class
// variance, computed in double precision from the histogram with bin
// centres at i + 0.5; the lowest level wins a tie, one grey level gives 0.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "frame/check.hpp"
#include "frame/elementwise.hpp"
#include "frame/histogram.hpp"
#include "frame/simd/simd.hpp"

namespace ovk::threshold {

inline Ovk32s saturatedCount(std::int64_t n)
{
    return Ovk32s(std::min<std::int64_t>(n, std::numeric_limits<Ovk32s>::max()));
}

// Bytes of one packed row within [lo, hi]: x - lo, wrapped, is at most
// hi - lo exactly for them. Per-lane counters of bytes are emptied before
// they can wrap.
inline std::int64_t countBytesInRange(const Ovk8u* row, int n, Ovk8u lo, Ovk8u hi)
{
    using namespace simd;
    constexpr int kLanes = simd::kLanes<std::uint8_t>;
    const Vec<std::uint8_t> low = splat<std::uint8_t>(lo), span = splat<std::uint8_t>(std::uint8_t(hi - lo));
    std::int64_t count = 0;
    int x = 0;
    while (x + kLanes <= n) {
        Vec<std::uint8_t> counters = zero<std::uint8_t>();
        for (int round = 0; round < 255 && x + kLanes <= n; ++round, x += kLanes) {
            const Vec<std::uint8_t> offset = sub(load(row + x), low);
            counters = sub(counters, eq(min(offset, span), offset));  // a mask lane is -1
        }
        count += std::int64_t(sumOfLanes(counters));
    }
    for (; x < n; ++x) count += row[x] >= lo && row[x] <= hi;
    return count;
}

template <class T, class L>
OvkStatus countInRange(const T* pSrc, int srcStep, OvkiSize roiSize, Ovk32s* pCounts, ConstArg<T, L> lowerBound,
                       ConstArg<T, L> upperBound)
{
    OVK_CHECK(check::pointers(pSrc, pCounts));
    OVK_CHECK(check::require(!constantIsNull<T, L>(lowerBound) && !constantIsNull<T, L>(upperBound), ovkStatusNullPointer));
    OVK_CHECK(check::steps(srcStep));
    OVK_CHECK(check::size(roiSize));
    const T* lo = constantValues<T, L>(lowerBound);
    const T* hi = constantValues<T, L>(upperBound);
    for (int c = 0; c < L::processed; ++c) OVK_CHECK(check::require(!(lo[c] > hi[c]), ovkStatusRangeError));
    const Image<const T> src(pSrc, srcStep);
    for (int c = 0; c < L::processed; ++c) {
        std::int64_t n = 0;
        if constexpr (std::is_same_v<T, Ovk8u> && L::stored == 1) {
            forEachRow(roiSize, [&](const Ovk8u* row) { n += countBytesInRange(row, roiSize.width, lo[c], hi[c]); }, src);
        } else if constexpr (std::is_same_v<T, Ovk8u>) {
            std::int64_t h[256] = {};
            addByteHistogram(src, roiSize, L::stored, c, h);
            for (int v = lo[c]; v <= hi[c]; ++v) n += h[v];
        } else {
            forEachRow(roiSize, [&](const T* row) {
                for (std::int64_t x = 0; x < roiSize.width; ++x) {
                    const T v = row[x * L::stored + c];
                    n += v >= lo[c] && v <= hi[c];
                }
            }, src);
        }
        pCounts[c] = saturatedCount(n);
    }
    return ovkStatusOk;
}

inline OvkStatus computeThresholdOtsu(const Ovk8u* pSrc, int srcStep, OvkiSize roiSize, Ovk8u* pThreshold)
{
    OVK_CHECK(check::pointers(pSrc, pThreshold));
    OVK_CHECK(check::size(roiSize));
    OVK_CHECK(check::require(srcStep >= roiSize.width, ovkStatusStepError));
    std::int64_t h[256] = {};
    addByteHistogram(Image<const Ovk8u>(pSrc, srcStep), roiSize, 1, 0, h);

    constexpr double kTiny = 1.1920928955078125e-7, kNearlyOne = 0.9999998807907104;
    double total = 0;
    for (std::int64_t c : h) total += double(c);
    const double invN = std::fabs(total) > kTiny ? 1.0 / total : 0.0;
    double meanSum = 0;
    for (int i = 0; i < 256; ++i) meanSum += (i + 0.5) * double(h[i]);
    const double muT = invN * meanSum;

    double w0 = 0, m0 = 0, best = 0, thr = 0;
    for (int t = 0; t < 256; ++t) {
        const double p = invN * double(h[t]);
        m0 *= w0;  // back to a sum
        w0 += p;
        const double w1 = 1 - w0;
        if (std::min(w0, w1) >= kTiny && std::max(w0, w1) <= kNearlyOne) {
            m0 = (m0 + p * (t + 0.5)) / w0;
            const double m1 = (muT - w0 * m0) / w1;
            const double var = w0 * w1 * (m0 - m1) * (m0 - m1);
            if (var > best) thr = t + 0.5;
            best = std::max(best, var);
        }
    }
    *pThreshold = Ovk8u(std::trunc(thr));
    return ovkStatusOk;
}

}  // namespace ovk::threshold
