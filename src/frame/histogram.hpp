// Counts of the 256 values of one channel of an 8u image: the exact integer
// histogram that counting, Otsu's threshold and the statistics start from.
#pragma once

#include <cstdint>

#include "frame/image.hpp"

namespace ovk {

using ByteHistogram = std::int64_t[256];

// Adds the counts of channel `channel` of `stride`-channel pixels. One
// channel of packed rows is counted into four interleaved tables, so that
// runs of equal bytes do not wait on one counter.
inline void addByteHistogram(Image<const Ovk8u> img, OvkiSize roi, int stride, int channel, ByteHistogram& counts)
{
    if (stride == 1) {
        std::int64_t part[4][256] = {};
        forEachRow(roi, [&](const Ovk8u* row) {
            int x = 0;
            for (; x + 4 <= roi.width; x += 4) {
                ++part[0][row[x]];
                ++part[1][row[x + 1]];
                ++part[2][row[x + 2]];
                ++part[3][row[x + 3]];
            }
            for (; x < roi.width; ++x) ++part[0][row[x]];
        }, img);
        for (int v = 0; v < 256; ++v) counts[v] += part[0][v] + part[1][v] + part[2][v] + part[3][v];
        return;
    }
    forEachRow(roi, [&](const Ovk8u* row) {
        for (std::int64_t x = 0; x < roi.width; ++x) ++counts[row[x * stride + channel]];
    }, img);
}

}  // namespace ovk
