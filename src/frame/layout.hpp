// Layout traits: how many channels a pixel stores and how many an operation
// processes. AC4 stores four and processes three: the fourth (alpha) channel
// of a destination is never written.
#pragma once

namespace ovk {

template <int Stored, int Processed>
struct Interleaved {
    static constexpr int stored = Stored;        // channels per pixel in memory
    static constexpr int processed = Processed;  // channels an operation reads and writes
    static constexpr bool keepsAlpha = Stored != Processed;
    static constexpr bool planar = false;
};

using C1 = Interleaved<1, 1>;
using C2 = Interleaved<2, 2>;
using C3 = Interleaved<3, 3>;
using C4 = Interleaved<4, 4>;
using AC4 = Interleaved<4, 3>;

// Planar layouts: the image argument is an array of plane pointers, each plane
// a one-channel image with the call's step.
template <int Planes>
struct Planar {
    static constexpr int stored = 1;
    static constexpr int processed = 1;
    static constexpr int planes = Planes;
    static constexpr bool keepsAlpha = false;
    static constexpr bool planar = true;
};

using P3 = Planar<3>;
using P4 = Planar<4>;

}  // namespace ovk
