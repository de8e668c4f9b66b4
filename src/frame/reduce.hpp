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
#include <optional>
#include <tuple>
#include <type_traits>

#include "frame/image.hpp"
#include "frame/layout.hpp"

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

// Per channel, the largest term of the ROI; terms are at least 0, a NaN term
// never counts (norms of the largest magnitude).
template <class L, class Term, class... T>
Totals largest(OvkiSize roi, Term term, Image<const T>... images);

// Whether a value beats the current extreme: strictly smaller (Max: larger);
// a NaN beats nothing and anything beats a NaN, so a NaN is the result only
// when every value is NaN.
template <bool Max, class T>
constexpr bool beats(T candidate, T current)
{
    if constexpr (std::is_floating_point_v<T>) {
        if (candidate != candidate) return false;
        if (current != current) return true;
    }
    return Max ? candidate > current : candidate < current;
}

template <bool Max, class T>
constexpr T better(T candidate, T current)
{
    return beats<Max>(candidate, current) ? candidate : current;
}

// Per channel, the smallest (Max: largest) value of the ROI.
template <bool Max, class L, class T>
void extreme(Image<const T> src, OvkiSize roi, T* out)
{
    constexpr int stored = L::stored, period = 8 * stored;
    const std::int64_t n = std::int64_t(roi.width) * stored;
    T best[period];
    for (int j = 0; j < period; ++j) best[j] = src.row(0)[j % stored];
    for (int y = 0; y < roi.height; ++y) {
        const T* row = src.row(y);
        std::int64_t i = 0;
        for (; i + period <= n; i += period)
            for (int j = 0; j < period; ++j) best[j] = better<Max>(row[i + j], best[j]);
        for (int j = 0; i + j < n; ++j) best[j] = better<Max>(row[i + j], best[j]);
    }
    for (int c = 0; c < L::processed; ++c) {
        out[c] = best[c];
        for (int j = c + stored; j < period; j += stored) out[c] = better<Max>(best[j], out[c]);
    }
}

// Per channel, the smallest (Max: largest) value and its first position.
// `stopAt` ends the scan after a row once every channel holds that value
// (nothing can beat it); the result is the full scan's.
template <bool Max, class L, class T>
void extremeAt(Image<const T> src, OvkiSize roi, T* out, int* indexX, int* indexY, std::optional<T> stopAt = {})
{
    constexpr int stored = L::stored;
    for (int c = 0; c < L::processed; ++c) {
        out[c] = src.row(0)[c];
        indexX[c] = indexY[c] = 0;
    }
    for (int y = 0; y < roi.height; ++y) {
        const T* row = src.row(y);
        bool done = true;
        for (int c = 0; c < L::processed; ++c) {
            T rowBest = row[c];
            for (std::int64_t x = 1; x < roi.width; ++x) rowBest = better<Max>(row[x * stored + c], rowBest);
            if (beats<Max>(rowBest, out[c])) {
                std::int64_t x = 0;
                while (!(row[x * stored + c] == rowBest)) ++x;
                out[c] = rowBest;
                indexX[c] = int(x);
                indexY[c] = y;
            }
            done = done && stopAt && out[c] == *stopAt;
        }
        if (done) break;
    }
}

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
                for (int j = 0; j < period; ++j) best[j] = better<true>(Value(term(r[i + j]...)), best[j]);
            for (int j = 0; i + j < n; ++j) best[j] = better<true>(Value(term(r[i + j]...)), best[j]);
        }, rows);
    }
    Totals totals;
    for (int c = 0; c < L::processed; ++c) {
        Value v = best[c];
        for (int j = c + stored; j < period; j += stored) v = better<true>(best[j], v);
        totals.v[c] = double(v);
    }
    return totals;
}

// Per channel, the smallest and the largest value of the ROI in one pass.
template <class L, class T>
void extremes(Image<const T> src, OvkiSize roi, T* minimum, T* maximum)
{
    constexpr int stored = L::stored, period = 8 * stored;
    const std::int64_t n = std::int64_t(roi.width) * stored;
    T lo[period], hi[period];
    for (int j = 0; j < period; ++j) lo[j] = hi[j] = src.row(0)[j % stored];
    for (int y = 0; y < roi.height; ++y) {
        const T* row = src.row(y);
        std::int64_t i = 0;
        for (; i + period <= n; i += period)
            for (int j = 0; j < period; ++j) {
                lo[j] = better<false>(row[i + j], lo[j]);
                hi[j] = better<true>(row[i + j], hi[j]);
            }
        for (int j = 0; i + j < n; ++j) {
            lo[j] = better<false>(row[i + j], lo[j]);
            hi[j] = better<true>(row[i + j], hi[j]);
        }
    }
    for (int c = 0; c < L::processed; ++c) {
        minimum[c] = lo[c];
        maximum[c] = hi[c];
        for (int j = c + stored; j < period; j += stored) {
            minimum[c] = better<false>(lo[j], minimum[c]);
            maximum[c] = better<true>(hi[j], maximum[c]);
        }
    }
}

}  // namespace ovk::reduce
