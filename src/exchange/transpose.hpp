// Transpose: dst(c, r) = src(r, c); roiSize is the source's size. Pixels are
// moved whole (channels keep their order). The work runs in square tiles so
// that both images are walked in cache-sized pieces: 64 x 64 pixels out of
// place; in place, 32 x 32 tiles are swapped with their mirror tiles across
// the diagonal (the region must be square).
#pragma once

#include <algorithm>
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

template <class P>
void transposeTiles(Image<const P> src, Image<P> dst, OvkiSize roi)
{
    constexpr int kTile = 64;
    using Lane = BlockLane<int(sizeof(P))>;
    constexpr int kBlock = blockSide<Lane>();
    for (int y0 = 0; y0 < roi.height; y0 += kTile)
        for (int x0 = 0; x0 < roi.width; x0 += kTile) {
            const int y1 = std::min(y0 + kTile, roi.height), x1 = std::min(x0 + kTile, roi.width);
            int yb = y0;
            if constexpr (kBlock != 0) {
                for (; yb + kBlock <= y1; yb += kBlock) {
                    int xb = x0;
                    for (; xb + kBlock <= x1; xb += kBlock) {
                        simd::transposeBlock(reinterpret_cast<const Lane*>(src.row(yb) + xb), src.step(),
                                             reinterpret_cast<Lane*>(dst.row(xb) + yb), dst.step());
                    }
                    for (int x = xb; x < x1; ++x)  // the columns right of the last block
                        for (int y = yb; y < yb + kBlock; ++y) dst.row(x)[y] = src.row(y)[x];
                }
            }
            for (int x = x0; x < x1; ++x) {  // the rows below the last block
                P* d = dst.row(x);
                for (int y = yb; y < y1; ++y) d[y] = src.row(y)[x];
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
