// Filling a ROI with one value per channel. The processed channels of each
// pixel are written; for layouts that keep alpha the fourth channel is never
// touched. Shared by the set-to-value operations and by every family whose
// result is constant.
#pragma once

#include <cstring>

#include "frame/image.hpp"

namespace ovk {

template <class L, class T>
void fillRows(Image<T> dst, OvkiSize roi, const T* values)
{
    const int n = roi.width * L::stored;
    if constexpr (!L::keepsAlpha) {
        bool allSame = true;
        for (int c = 1; c < L::stored; ++c) allSame = allSame && std::memcmp(&values[c], &values[0], sizeof(T)) == 0;
        forEachRow(roi, [&](T* d) {
            if (allSame) {
                for (int i = 0; i < n; ++i) d[i] = values[0];
            } else {
                for (int i = 0; i < n; i += L::stored)
                    for (int c = 0; c < L::stored; ++c) d[i + c] = values[c];
            }
        }, dst);
    } else {
        forEachRow(roi, [&](T* d) {
            for (int i = 0; i < n; i += L::stored)
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
