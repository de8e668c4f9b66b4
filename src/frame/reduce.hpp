// The reduction engine behind sums, means, norms, dot products, extrema and
// counts: it walks the ROI and owns the order in which terms are combined, so
// that no result depends on the vector width a build targets.
//
// Sums. A family gives a term function of one element (or of one element of
// each of two images); the engine adds the terms of each processed channel:
//   - integer terms exactly: within a row in 32-bit chunks while they cannot
//     overflow, else in 64 bits (128 for products of 32-bit values); each
//     row's exact total is then added to the channel's double accumulator,
//     rows from top to bottom;
//   - floating-point terms in double, two partial sums per channel (even and
//     odd columns, each row by row and left to right), added at the end.
// A row is seen as a flat run of width x channels elements whose terms are
// gathered by position modulo a period of whole pixels, which is what lets
// the compiler keep the accumulators in vector registers; the grouping of
// integer terms cannot change an exact total, and floating-point terms are
// only ever added in the order above. AC4 alpha is read with its pixel and
// never counted.
//
// Extrema. Per channel, the smallest or largest value (a NaN never is one
// unless every value is NaN), or with its first position: rows from top to
// bottom, columns from left to right, replaced only by a strictly better value.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <tuple>
#include <type_traits>

#include "frame/image.hpp"
#include "frame/layout.hpp"
#include "frame/simd/simd.hpp"

namespace ovk::reduce {

// Per-channel results of a reduction (up to four channels).
struct Totals {
    double v[4] = {0, 0, 0, 0};
};

// Adds term(a[i]) (or term(a[i], b[i])) over the processed channels of the ROI
// into per-channel totals. `Bound` is the largest magnitude one integer term
// can have (it picks the exact accumulator); floating-point terms ignore it.
template <class L, class Term, unsigned long long Bound, class... T>
Totals sum(OvkiSize roi, Term term, Image<const T>... images)
{
    using Value = decltype(term(*images.data()...));
    constexpr int stored = L::stored;
    Totals totals;
    const std::int64_t n = std::int64_t(roi.width) * stored;
    if constexpr (std::is_floating_point_v<Value>) {
        constexpr int period = 2 * stored;  // even and odd columns of each channel
        double partial[period] = {};
        for (int y = 0; y < roi.height; ++y) {
            const auto rows = std::make_tuple(images.row(y)...);
            std::int64_t i = 0;
            auto add = [&](std::int64_t at, int j) {
                std::apply([&](auto... r) { partial[j] += double(term(r[at]...)); }, rows);
            };
            for (; i + period <= n; i += period)
                for (int j = 0; j < period; ++j) add(i + j, j);
            for (int j = 0; i + j < n; ++j) add(i + j, j);
        }
        for (int c = 0; c < L::processed; ++c) totals.v[c] = partial[c] + partial[c + stored];
    } else {
        // Terms per pixel column that a 32-bit chunk can hold; wider sums when one term is too large.
        constexpr unsigned long long kChunk32 = Bound == 0 ? 1 : 0x7fffffffull / Bound;
        using Wide = std::conditional_t<(Bound <= (1ull << 32)), std::int64_t, __int128>;
        constexpr int period = 8 * stored;
        for (int y = 0; y < roi.height; ++y) {
            const auto rows = std::make_tuple(images.row(y)...);
            Wide rowTotal[4] = {0, 0, 0, 0};
            std::int64_t i = 0;
            if constexpr (kChunk32 >= 1024) {
                const std::int64_t chunk = std::int64_t(std::min<unsigned long long>(kChunk32, 1ull << 20)) * period;
                while (i + period <= n) {
                    std::int32_t acc[period] = {};
                    const std::int64_t end = i + std::min<std::int64_t>(chunk, (n - i) / period * period);
                    for (; i < end; i += period)
                        std::apply([&](auto... r) {
                            for (int j = 0; j < period; ++j) acc[j] += std::int32_t(term(r[i + j]...));
                        }, rows);
                    for (int j = 0; j < period; ++j) rowTotal[j % stored] += acc[j];
                }
            } else {
                Wide acc[period] = {};
                for (; i + period <= n; i += period)
                    std::apply([&](auto... r) {
                        for (int j = 0; j < period; ++j) acc[j] += Wide(term(r[i + j]...));
                    }, rows);
                for (int j = 0; j < period; ++j) rowTotal[j % stored] += acc[j];
            }
            for (int j = 0; i + j < n; ++j)
                std::apply([&](auto... r) { rowTotal[j % stored] += Wide(term(r[i + j]...)); }, rows);
            for (int c = 0; c < L::processed; ++c) totals.v[c] += double(rowTotal[c]);
        }
    }
    return totals;
}

// The exact total of |a - b| over one-channel 8u images (of a alone when b
// is absent), eight bytes at a time; the same row-by-row totals as sum().
template <class... B>
Totals byteSums(OvkiSize roi, Image<const Ovk8u> a, B... b)
{
    using namespace simd;
    constexpr int kLanes = simd::kLanes<std::uint8_t>;
    Totals totals;
    for (int y = 0; y < roi.height; ++y) {
        const Ovk8u* pa = a.row(y);
        const Ovk8u* pb = nullptr;
        if constexpr (sizeof...(B) == 1) pb = (b.row(y), ...);
        Vec<std::uint64_t> acc = zero<std::uint64_t>();
        std::int64_t x = 0;
        for (; x + kLanes <= roi.width; x += kLanes) acc = add(acc, absDiffSums(load(pa + x), pb ? load(pb + x) : zero<std::uint8_t>()));
        std::int64_t row = std::int64_t(sumOfLanes(acc));
        for (; x < roi.width; ++x) row += std::abs(int(pa[x]) - (pb ? int(pb[x]) : 0));
        totals.v[0] += double(row);
    }
    return totals;
}

// Extrema. Accumulators start from the worst value an element can have and
// are replaced by a strictly better one with a plain comparison, which a NaN
// never passes: the loops stay simple enough to run in vector registers.
// An extreme still at the start value is checked against the image: unless
// an element equals it, every element was NaN and so is the result.
template <bool Max, class T>
constexpr T worst()
{
    if constexpr (std::is_floating_point_v<T>) return Max ? -std::numeric_limits<T>::infinity() : std::numeric_limits<T>::infinity();
    else return Max ? std::numeric_limits<T>::lowest() : std::numeric_limits<T>::max();
}

template <bool Max, class T>
constexpr T pick(T candidate, T current)
{
    return (Max ? candidate > current : candidate < current) ? candidate : current;
}

// Accumulators per position modulo a period of whole pixels, 64 bytes of them.
template <class L, class T>
inline constexpr int kPeriod = (64 / int(sizeof(T))) * L::stored;

// best[j] = the best of best[j] and every element at position j modulo the period.
template <bool Max, class L, class T>
void scanRow(const T* row, std::int64_t n, T* best)
{
    constexpr int period = kPeriod<L, T>;
    std::int64_t i = 0;
    for (; i + period <= n; i += period)
        for (int j = 0; j < period; ++j) best[j] = pick<Max>(row[i + j], best[j]);
    for (int j = 0; i + j < n; ++j) best[j] = pick<Max>(row[i + j], best[j]);
}

template <bool Max, class L, class T>
T channelBest(const T* best, int c)
{
    T v = best[c];
    for (int j = c + L::stored; j < kPeriod<L, T>; j += L::stored) v = pick<Max>(best[j], v);
    return v;
}

// An extreme still at the start value: the value itself when an element has it, else NaN.
template <bool Max, class L, class T>
T confirmed(T v, Image<const T> src, OvkiSize roi, int c)
{
    if constexpr (std::is_floating_point_v<T>) {
        if (v == worst<Max, T>()) {
            for (int y = 0; y < roi.height; ++y)
                for (std::int64_t x = 0; x < roi.width; ++x)
                    if (src.row(y)[x * L::stored + c] == v) return v;
            return std::numeric_limits<T>::quiet_NaN();
        }
    }
    return v;
}

// Per channel, the smallest (Max: largest) value of the ROI.
template <bool Max, class L, class T>
void extreme(Image<const T> src, OvkiSize roi, T* out)
{
    T best[kPeriod<L, T>];
    std::fill(best, best + kPeriod<L, T>, worst<Max, T>());
    for (int y = 0; y < roi.height; ++y) scanRow<Max, L>(src.row(y), std::int64_t(roi.width) * L::stored, best);
    for (int c = 0; c < L::processed; ++c) out[c] = confirmed<Max, L>(channelBest<Max, L>(best, c), src, roi, c);
}

// Per channel, the smallest and the largest value in one pass.
template <class L, class T>
void extremes(Image<const T> src, OvkiSize roi, T* minimum, T* maximum)
{
    T lo[kPeriod<L, T>], hi[kPeriod<L, T>];
    std::fill(lo, lo + kPeriod<L, T>, worst<false, T>());
    std::fill(hi, hi + kPeriod<L, T>, worst<true, T>());
    for (int y = 0; y < roi.height; ++y) {
        scanRow<false, L>(src.row(y), std::int64_t(roi.width) * L::stored, lo);
        scanRow<true, L>(src.row(y), std::int64_t(roi.width) * L::stored, hi);
    }
    for (int c = 0; c < L::processed; ++c) {
        minimum[c] = confirmed<false, L>(channelBest<false, L>(lo, c), src, roi, c);
        maximum[c] = confirmed<true, L>(channelBest<true, L>(hi, c), src, roi, c);
    }
}

// Per channel, the smallest (Max: largest) value and its first position:
// each row's best is found first, and only a row that beats the running
// extreme is searched for its first occurrence. `stopAt` ends the scan after
// a row once every channel holds that value (nothing can beat it).
template <bool Max, class L, class T>
void extremeAt(Image<const T> src, OvkiSize roi, T* out, int* indexX, int* indexY, std::optional<T> stopAt = {})
{
    bool found[4] = {};
    for (int c = 0; c < L::processed; ++c) {
        out[c] = std::is_floating_point_v<T> ? std::numeric_limits<T>::quiet_NaN() : worst<Max, T>();
        indexX[c] = indexY[c] = 0;
    }
    for (int y = 0; y < roi.height; ++y) {
        const T* row = src.row(y);
        T best[kPeriod<L, T>];
        std::fill(best, best + kPeriod<L, T>, worst<Max, T>());
        scanRow<Max, L>(row, std::int64_t(roi.width) * L::stored, best);
        bool done = bool(stopAt);
        for (int c = 0; c < L::processed; ++c) {
            const T rowBest = channelBest<Max, L>(best, c);
            if (!found[c] || pick<Max>(rowBest, out[c]) != out[c]) {
                for (std::int64_t x = 0; x < roi.width; ++x) {
                    if (row[x * L::stored + c] == rowBest) {  // none for a row of NaN
                        out[c] = rowBest, indexX[c] = int(x), indexY[c] = y, found[c] = true;
                        break;
                    }
                }
            }
            done = done && found[c] && out[c] == *stopAt;
        }
        if (done) break;
    }
}

// Per channel, the largest term of the ROI; terms are at least 0, a NaN term
// never counts (norms of the largest magnitude).
template <class L, class Term, class... T>
Totals largest(OvkiSize roi, Term term, Image<const T>... images)
{
    using Value = decltype(term(*images.data()...));
    constexpr int stored = L::stored, period = 8 * stored;
    const std::int64_t n = std::int64_t(roi.width) * stored;
    Value best[period] = {};
    for (int y = 0; y < roi.height; ++y) {
        const auto rows = std::make_tuple(images.row(y)...);
        std::apply([&](auto... r) {
            std::int64_t i = 0;
            for (; i + period <= n; i += period)
                for (int j = 0; j < period; ++j) best[j] = pick<true>(Value(term(r[i + j]...)), best[j]);
            for (int j = 0; i + j < n; ++j) best[j] = pick<true>(Value(term(r[i + j]...)), best[j]);
        }, rows);
    }
    Totals totals;
    for (int c = 0; c < L::processed; ++c) {
        Value v = best[c];
        for (int j = c + stored; j < period; j += stored) v = pick<true>(best[j], v);
        totals.v[c] = double(v);
    }
    return totals;
}

}  // namespace ovk::reduce
