// Copy in all its forms. Values are moved unchanged; only the element width
// matters, so 16u and 16s (and 32s and 32f) share their kernels.
//
// Copy and Set check pointers and size, never steps.
#pragma once

#include <cstring>

#include "frame/elementwise.hpp"
#include "frame/check.hpp"
#include "frame/image.hpp"
#include "frame/layout.hpp"
#include "frame/simd/simd.hpp"

namespace ovk::exchange {

// Copies n elements forward. When the two rows overlap (their distance is less
// than the row length) the copy runs element by element from first to last,
// so callers always get the forward element-by-element result; otherwise the
// system's block copy moves the bytes.
template <class T>
void copyForward(const T* src, T* dst, std::size_t n)
{
    const auto s = reinterpret_cast<std::uintptr_t>(src), d = reinterpret_cast<std::uintptr_t>(dst);
    const std::size_t bytes = n * sizeof(T);
    const std::size_t distance = s > d ? s - d : d - s;
    if (distance >= bytes) {
        std::memcpy(dst, src, bytes);
        return;
    }
    if (d <= s) {  // forward element copy toward lower addresses is an ordinary move
        std::memmove(dst, src, bytes);
        return;
    }
    for (std::size_t i = 0; i < n; ++i) {
        T v;
        std::memcpy(&v, src + i, sizeof(T));
        std::memcpy(dst + i, &v, sizeof(T));
    }
}

// Plain copy of every stored channel (C1, C3, C4).
template <class T, class L>
OvkStatus copy(const T* pSrc, int srcStep, T* pDst, int dstStep, OvkiSize roiSize)
{
    OVK_CHECK(check::pointers(pSrc, pDst));
    OVK_CHECK(check::size(roiSize));
    const std::size_t n = std::size_t(roiSize.width) * L::stored;
    forEachRow(roiSize, [n](const T* s, T* d) { copyForward(s, d, n); }, image(pSrc, srcStep), image(pDst, dstStep));
    return ovkStatusOk;
}

// Copies `count` channels of every pixel from a source pixel of SrcStride
// elements into a destination pixel of DstStride elements; other destination
// elements are left as they were. Serves AC4, C3AC4, AC4C3 and the
// channel-of-interest forms (count 1, the pointers at the channel).
template <class T, int SrcStride, int DstStride, int Count>
OvkStatus copyChannels(const T* pSrc, int srcStep, T* pDst, int dstStep, OvkiSize roiSize)
{
    OVK_CHECK(check::pointers(pSrc, pDst));
    OVK_CHECK(check::size(roiSize));
    forEachRow(roiSize, [w = roiSize.width](const T* s, T* d) {
        for (std::ptrdiff_t x = 0; x < w; ++x)
            for (int c = 0; c < Count; ++c) d[x * DstStride + c] = s[x * SrcStride + c];
    }, image(pSrc, srcStep), image(pDst, dstStep));
    return ovkStatusOk;
}

// Interleaved to planar: plane c receives channel c.
template <class T, int Planes>
OvkStatus copyToPlanes(const T* pSrc, int srcStep, T* const pDst[Planes], int dstStep, OvkiSize roiSize)
{
    OVK_CHECK(check::pointers(pSrc));
    OVK_CHECK(check::planes(pDst, Planes));
    OVK_CHECK(check::size(roiSize));
    const Image<const T> src(pSrc, srcStep);
    for (int y = 0; y < roiSize.height; ++y) {
        const T* s = src.row(y);
        T* d[Planes];
        for (int c = 0; c < Planes; ++c) d[c] = Image<T>(pDst[c], dstStep).row(y);
        std::ptrdiff_t x = 0;
        if constexpr (std::is_same_v<T, Ovk8u>) {
            constexpr int n = simd::kLanes<Ovk8u>;
            for (; x + n <= roiSize.width; x += n) {
                const simd::Channels<Planes> planes = simd::loadInterleaved<Planes>(s + Planes * x);
                for (int c = 0; c < Planes; ++c) simd::store(planes.c[c], d[c] + x);
            }
        }
        for (; x < roiSize.width; ++x)
            for (int c = 0; c < Planes; ++c) d[c][x] = s[x * Planes + c];
    }
    return ovkStatusOk;
}

// Planar to interleaved: channel c receives plane c.
template <class T, int Planes>
OvkStatus copyFromPlanes(const T* const pSrc[Planes], int srcStep, T* pDst, int dstStep, OvkiSize roiSize)
{
    OVK_CHECK(check::planes(pSrc, Planes));
    OVK_CHECK(check::pointers(pDst));
    OVK_CHECK(check::size(roiSize));
    const Image<T> dst(pDst, dstStep);
    for (int y = 0; y < roiSize.height; ++y) {
        const T* s[Planes];
        for (int c = 0; c < Planes; ++c) s[c] = Image<const T>(pSrc[c], srcStep).row(y);
        T* d = dst.row(y);
        std::ptrdiff_t x = 0;
        if constexpr (std::is_same_v<T, Ovk8u>) {
            constexpr int n = simd::kLanes<Ovk8u>;
            for (; x + n <= roiSize.width; x += n) {
                simd::Channels<Planes> planes;
                for (int c = 0; c < Planes; ++c) planes.c[c] = simd::load(s[c] + x);
                simd::storeInterleaved<Planes>(planes, d + Planes * x);
            }
        }
        for (; x < roiSize.width; ++x)
            for (int c = 0; c < Planes; ++c) d[x * Planes + c] = s[c][x];
    }
    return ovkStatusOk;
}

// Masked copy: the processed channels of pixels whose mask byte is non-zero.
template <class T, class L>
OvkStatus copyMasked(const T* pSrc, int srcStep, T* pDst, int dstStep, OvkiSize roiSize, const Ovk8u* pMask,
                     int maskStep)
{
    OVK_CHECK(check::pointers(pSrc, pDst, pMask));
    OVK_CHECK(check::size(roiSize));
    forEachRow(roiSize, [w = roiSize.width](const T* s, T* d, const Ovk8u* m) {
        for (std::ptrdiff_t x = 0; x < w; ++x)
            if (m[x])
                for (int c = 0; c < L::processed; ++c) d[x * L::stored + c] = s[x * L::stored + c];
    }, image(pSrc, srcStep), image(pDst, dstStep), image(pMask, maskStep));
    return ovkStatusOk;
}

// CopyManaged: Copy with a hint about the caller's later use of the
// destination (OVK_COPY_TEMPORAL or OVK_COPY_NONTEMPORAL). The result is that
// of Copy whatever the hint.
inline OvkStatus copyManaged(const Ovk8u* pSrc, int srcStep, Ovk8u* pDst, int dstStep, OvkiSize roiSize, int flags)
{
    (void)flags;  // the block copy of the system already streams large rows
    OVK_CHECK(check::pointers(pSrc, pDst));
    OVK_CHECK(check::size(roiSize));
    return copy<Ovk8u, C1>(pSrc, srcStep, pDst, dstStep, roiSize);
}

}  // namespace ovk::exchange
