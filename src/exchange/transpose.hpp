// Transpose: dst(c, r) = src(r, c); roiSize is the source's size. Pixels are
// moved whole (channels keep their order). Out of place, strips of source
// rows are moved in square register blocks where a pixel fits a vector lane;
// in place, 32 x 32 tiles are swapped with their mirror tiles across the
// diagonal (the region must be square).
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <numeric>
#include <cstring>

#include "frame/check.hpp"
#include "frame/image.hpp"
#include "frame/simd/simd.hpp"

namespace ovk::exchange {

// One pixel of Channels elements as a single value, so a move is one load
// and one store.
template <class T, int Channels>
struct Pixel {
    T v[Channels];
};

// The vector lane a whole pixel fits, where there is one: square blocks of
// such pixels are transposed in registers.
template <int Bytes>
using BlockLane = std::conditional_t<Bytes == 1, std::uint8_t,
                  std::conditional_t<Bytes == 2, std::uint16_t, std::conditional_t<Bytes == 4, std::uint32_t, void>>>;

template <class Lane>
constexpr int blockSide()
{
    if constexpr (std::is_void_v<Lane>) return 0;
    else return simd::kBlockSide<Lane>;
}

// The source is walked in tiles of a few dozen rows; within a tile, one
// column of blocks after another, so that each destination row receives a
// whole cache line or more in consecutive stores while the tile's source
// lines stay in cache for the next column. (Walking a tile row by row
// instead sends every store to another destination row.)
//
// The tile's shape follows the source step: row starts a multiple of 4 KiB
// apart share their L1 sets, so with steps of a power of two a tall tile
// evicts itself, and a flatter, wider one keeps the cache lines it needs.
struct TileShape {
    int rows, columns;
};

template <class P>
TileShape transposeTileShape(int srcStep)
{
    if constexpr (sizeof(P) > 4) {
        return {32, 64};
    } else {
        const int period = 4096 / int(std::gcd(std::abs(std::int64_t(srcStep)), std::int64_t(4096)));  // rows
        if (period >= 8) return {64, 64};
        if (period >= 2) return {32, 256 / int(sizeof(P))};
        return {sizeof(P) == 4 ? 16 : 32, 256};
    }
}

template <class P>
void transposeTiles(Image<const P> src, Image<P> dst, OvkiSize roi)
{
    using Lane = BlockLane<int(sizeof(P))>;
    constexpr int kBlock = blockSide<Lane>();
    const auto [rows, columns] = transposeTileShape<P>(src.step());
    for (int y0 = 0; y0 < roi.height; y0 += rows)
        for (int x0 = 0; x0 < roi.width; x0 += columns) {
            const int y1 = std::min(y0 + rows, roi.height), x1 = std::min(x0 + columns, roi.width);
            int yEnd = y0, xEnd = x0;  // the part covered by whole blocks
            if constexpr (kBlock != 0) {
                yEnd = y0 + (y1 - y0) / kBlock * kBlock;
                xEnd = x0 + (x1 - x0) / kBlock * kBlock;
                for (int xb = x0; xb < xEnd; xb += kBlock)
                    for (int yb = y0; yb < yEnd; yb += kBlock)
                        simd::transposeBlock(reinterpret_cast<const Lane*>(src.row(yb) + xb), src.step(),
                                             reinterpret_cast<Lane*>(dst.row(xb) + yb), dst.step());
            }
            for (int x = x0; x < x1; ++x) {  // the rest: rows below the blocks, and columns right of them
                P* d = dst.row(x);
                for (int y = x < xEnd ? yEnd : y0; y < y1; ++y) d[y] = src.row(y)[x];
            }
        }
}

template <class P>
void transposeSquareInPlace(Image<P> img, int n)
{
    constexpr int kTile = 32;
    for (int y0 = 0; y0 < n; y0 += kTile)
        for (int x0 = y0; x0 < n; x0 += kTile) {
            const int y1 = std::min(y0 + kTile, n), x1 = std::min(x0 + kTile, n);
            for (int y = y0; y < y1; ++y)
                for (int x = (x0 == y0 ? y + 1 : x0); x < x1; ++x) std::swap(img.row(y)[x], img.row(x)[y]);
        }
}

template <class T, int Channels>
OvkStatus transposeInPlace(T* pSrcDst, int srcDstStep, OvkiSize roiSize)
{
    OVK_CHECK(check::pointers(pSrcDst));
    OVK_CHECK(check::size(roiSize));
    OVK_CHECK(check::require(roiSize.width == roiSize.height, ovkStatusSizeError));
    using P = Pixel<T, Channels>;
    transposeSquareInPlace(Image<P>(reinterpret_cast<P*>(pSrcDst), srcDstStep), roiSize.width);
    return ovkStatusOk;
}

// Called with the same pointer and step for both images, this is the
// in-place form.
template <class T, int Channels>
OvkStatus transpose(const T* pSrc, int srcStep, T* pDst, int dstStep, OvkiSize roiSize)
{
    if (pSrc == pDst && srcStep == dstStep && pSrc != nullptr)
        return transposeInPlace<T, Channels>(pDst, dstStep, roiSize);
    OVK_CHECK(check::pointers(pSrc, pDst));
    OVK_CHECK(check::size(roiSize));
    using P = Pixel<T, Channels>;
    transposeTiles(Image<const P>(reinterpret_cast<const P*>(pSrc), srcStep), Image<P>(reinterpret_cast<P*>(pDst), dstStep),
                   roiSize);
    return ovkStatusOk;
}

}  // namespace ovk::exchange
