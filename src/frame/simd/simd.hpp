// The vector layer: every vector kernel of the library is written with these
// operations and nothing else, so the same source compiles for any vector
// width with the same results.
//
// A vector Vec<T> holds kLanes<T> lanes of one arithmetic type; its width is
// the compile target's (16 bytes for the generic x86-64 library, 32 with
// AVX2). The operations, all free functions on Vec:
//
//   memory       load, store, loadPartial, storePartial, splat, zero, bitcast
//   bitwise      bitAnd, bitOr, bitXor, bitAndNot
//   arithmetic   add, sub (wrapping); addSat, subSat (8/16-bit); averageRound
//                (8u/16u, ties up); mulLow, mulHigh, mulWide, mulAddPairs;
//                mul, div, sqrt (floating point); toFloat, truncate, roundToInt (int32 <->
//                float; NearestRounding sets the rounding control for a scope)
//   shifts       shiftLeft<K>, shiftRight<K> (arithmetic on signed lanes)
//   compares     eq, ne, gt, ge, ordered: mask vectors; select; maskBits
//   min, max
//   width        widen (into Halves of twice the width), narrowSat (back,
//                saturating); the order inside the halves is the backend's;
//                widenInOrder, narrowSatInOrder keep memory order (a little dearer)
//   blocks       zipLower, zipUpper (within each 128-bit block)
//   moves        reverse; bytesFrom<K> (bytes across two vectors); loadInterleaved<N>, storeInterleaved<N> (bytes of
//                2, 3, 4 channels); PixelBytePermutation<N>; transposeBlock (kBlockSide<T> square)
//   lookup       shuffleBytes, loadEveryBlock (byte table lookup within 128-bit blocks; native where
//                kHasByteShuffle, emulated otherwise)
//   sums         sumOfLanes (integer lanes, exact); absDiffSums (|a - b| of bytes, summed per 64-bit lane)
//
// Kernels loop over whole vectors and finish the tail with the scalar
// formula of the same operation; nothing in the layer depends on the width
// in a way that changes a result (there are no floating-point horizontal
// sums, whose association would).
//
// Each backend lives in a namespace of its own (ovk::simd::sse2, ...,
// inline), so variants built for different targets can share one library.
#pragma once

#include "frame/simd/lanes.hpp"

#if defined(__AVX2__)
#include "frame/simd/avx2.hpp"
#else
#include "frame/simd/sse2.hpp"
#endif

#include "frame/simd/generic.hpp"
#include "frame/simd/rounding_control.hpp"
