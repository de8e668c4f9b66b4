// Filling a ROI with one value per channel. The processed channels of each
// pixel are written; for layouts that keep alpha the fourth channel is never
// touched. Shared by the set-to-value operations and by every family whose
// result is constant.
#pragma once

#include <cstdint>
#include <cstring>

#include "frame/image.hpp"

namespace ovk {

template <class L, class T>
void fillRows(Image<T> dst, OvkiSize roi, const T* values)
{
    const std::int64_t n = std::int64_t(roi.width) * L::stored;  // beyond an int for wide C4 rows
    if constexpr (!L::keepsAlpha) {
        // A chunk of the repeated pixel value, a multiple of 1, 2, 3 and 4
        // channels, copied along each row in blocks.
        constexpr int kChunk = 192;
        T pattern[kChunk];
        for (int i = 0; i < kChunk; ++i) pattern[i] = values[i % L::stored];
        forEachRow(roi, [&](T* d) {
            std::int64_t x = 0;
            for (; x + kChunk <= n; x += kChunk) std::memcpy(d + x, pattern, sizeof(pattern));
            std::memcpy(d + x, pattern, sizeof(T) * std::size_t(n - x));
        }, dst);
    } else {
        forEachRow(roi, [&](T* d) {
            for (std::int64_t i = 0; i < n; i += L::stored)
                for (int c = 0; c < L::processed; ++c) d[i + c] = values[c];
        }, dst);
    }
}

// Fills every processed channel with the same value.
template <class L, class T>
void fillRows(Image<T> dst, OvkiSize roi, T value)
{
    T values[4] = {value, value, value, value};
    fillRows<L>(dst, roi, values);
}

}  // namespace ovk
