// Transpose: dst(c, r) = src(r, c); roiSize is the source's size. Pixels are
// moved whole (channels keep their order). The work runs in square tiles so
// that both images are walked in cache-sized pieces: 64 x 64 pixels out of
// place; in place, 32 x 32 tiles are swapped with their mirror tiles across
// the diagonal (the region must be square).
#pragma once

#include <emmintrin.h>

#include <algorithm>
#include <cstring>

#include "frame/check.hpp"
#include "frame/image.hpp"

namespace ovk::exchange {

// One pixel of Channels elements as a single value, so a move is one load
// and one store.
template <class T, int Channels>
struct Pixel {
    T v[Channels];
};

// Square blocks moved in registers: 16 x 16 one-byte pixels by four rounds
// of byte interleaving (each round pairs register i with i + 8), and 4 x 4
// four-byte pixels by the usual two rounds of 32- and 64-bit interleaving.
inline void transposeBlock16(const unsigned char* s, int sStep, unsigned char* d, int dStep)
{
    __m128i r[16], n[16];
    for (int i = 0; i < 16; ++i) r[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + std::int64_t(i) * sStep));
    for (int round = 0; round < 4; ++round) {
        for (int i = 0; i < 8; ++i) {
            n[2 * i] = _mm_unpacklo_epi8(r[i], r[i + 8]);
            n[2 * i + 1] = _mm_unpackhi_epi8(r[i], r[i + 8]);
        }
        for (int i = 0; i < 16; ++i) r[i] = n[i];
    }
    for (int i = 0; i < 16; ++i) _mm_storeu_si128(reinterpret_cast<__m128i*>(d + std::int64_t(i) * dStep), r[i]);
}

inline void transposeBlock4(const unsigned char* s, int sStep, unsigned char* d, int dStep)
{
    const auto load = [&](int i) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + std::int64_t(i) * sStep)); };
    const __m128i r0 = load(0), r1 = load(1), r2 = load(2), r3 = load(3);
    const __m128i t0 = _mm_unpacklo_epi32(r0, r1), t1 = _mm_unpackhi_epi32(r0, r1);
    const __m128i t2 = _mm_unpacklo_epi32(r2, r3), t3 = _mm_unpackhi_epi32(r2, r3);
    const __m128i out[4] = {_mm_unpacklo_epi64(t0, t2), _mm_unpackhi_epi64(t0, t2), _mm_unpacklo_epi64(t1, t3),
                            _mm_unpackhi_epi64(t1, t3)};
    for (int i = 0; i < 4; ++i) _mm_storeu_si128(reinterpret_cast<__m128i*>(d + std::int64_t(i) * dStep), out[i]);
}

template <class P>
void transposeTiles(Image<const P> src, Image<P> dst, OvkiSize roi)
{
    constexpr int kTile = 64;
    constexpr int kBlock = sizeof(P) == 1 ? 16 : (sizeof(P) == 4 ? 4 : 0);  // register blocks, where there are any
    for (int y0 = 0; y0 < roi.height; y0 += kTile)
        for (int x0 = 0; x0 < roi.width; x0 += kTile) {
            const int y1 = std::min(y0 + kTile, roi.height), x1 = std::min(x0 + kTile, roi.width);
            int yb = y0;
            if constexpr (kBlock != 0) {
                for (; yb + kBlock <= y1; yb += kBlock) {
                    int xb = x0;
                    for (; xb + kBlock <= x1; xb += kBlock) {
                        const auto* s = reinterpret_cast<const unsigned char*>(src.row(yb) + xb);
                        auto* d = reinterpret_cast<unsigned char*>(dst.row(xb) + yb);
                        if constexpr (kBlock == 16)
                            transposeBlock16(s, src.step(), d, dst.step());
                        else
                            transposeBlock4(s, src.step(), d, dst.step());
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
