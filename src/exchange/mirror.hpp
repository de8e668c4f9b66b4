// Mirror about the horizontal axis (rows reversed), the vertical axis (pixels
// of each row reversed, channels keeping their order), both, or a diagonal
// (out of place only; the destination is the source's size transposed).
//
// Checks: pointers; steps, for the diagonals only; size; the axis; a single
// row about the horizontal axis or a single column about the vertical one
// (mirroring it is refused on purpose rather than treated as a no-op); for the
// diagonals, source and destination regions that overlap in memory.
#pragma once

#include <algorithm>

#include "exchange/transpose.hpp"
#include "frame/layout.hpp"
#include "frame/simd/simd.hpp"

namespace ovk::exchange {

template <class L, class T>
void copyPixel(const T* s, T* d)
{
    for (int c = 0; c < L::processed; ++c) d[c] = s[c];
}

template <class L, class T>
void swapPixel(T* a, T* b)
{
    for (int c = 0; c < L::processed; ++c) std::swap(a[c], b[c]);
}

// A pixel of one, two, four or eight bytes as one unsigned lane.
template <int Bytes>
using PixelLane = std::conditional_t<Bytes == 1, std::uint8_t,
                  std::conditional_t<Bytes == 2, std::uint16_t,
                  std::conditional_t<Bytes == 4, std::uint32_t, std::uint64_t>>>;

// Where a byte of a row of three-byte pixels sits in its pixel: kPlaceMask.at[k]
// is 0xFF at the bytes that are channel k, over three vectors' worth.
struct PlaceMasks {
    std::uint8_t at[3][3 * simd::kVectorBytes];
};
constexpr PlaceMasks kPlaceMask = [] {
    PlaceMasks m{};
    for (int k = 0; k < 3; ++k)
        for (int b = 0; b < 3 * simd::kVectorBytes; ++b) m.at[k][b] = b % 3 == k ? 0xFF : 0;
    return m;
}();

// Three-byte pixels, a vector's worth at a time: the bytes of three vectors
// reversed as one row (pixels in reverse order, each with its channels
// reversed), then the first and last byte of every pixel exchanged by
// reading the row two bytes further on and two bytes back. Advances x.
inline void reverseThreeByteRow(const Ovk8u* s, Ovk8u* d, int w, std::ptrdiff_t& x)
{
    using namespace simd;
    constexpr int n = kLanes<Ovk8u>;
    Vec<Ovk8u> masks[3][3];
    for (int k = 0; k < 3; ++k)
        for (int i = 0; i < 3; ++i) masks[k][i] = load(kPlaceMask.at[k] + i * n);
    for (; x + n <= w; x += n) {
        const Ovk8u* p = s + 3 * x;
        const Vec<Ovk8u> q[3] = {reverse(load(p + 2 * n)), reverse(load(p + n)), reverse(load(p))};
        Ovk8u* out = d + 3 * (w - x - n);
        for (int i = 0; i < 3; ++i) {
            const Vec<Ovk8u> ahead = bytesFrom<2>(q[i], q[i < 2 ? i + 1 : 2]);      // byte j: q[j + 2]
            const Vec<Ovk8u> behind = bytesFrom<n - 2>(q[i > 0 ? i - 1 : 0], q[i]);  // byte j: q[j - 2]
            store(bitOr(bitOr(bitAnd(ahead, masks[0][i]), bitAnd(q[i], masks[1][i])), bitAnd(behind, masks[2][i])),
                  out + i * n);
        }
    }
}

// d receives the w pixels of s in reverse order. Pixels of 1, 2, 4 or 8 bytes
// (every channel written) are reversed as lanes of a vector; three-channel
// 8u pixels as bytes, with their channels put back in order.
template <class L, class T>
void reverseRow(const T* s, T* d, int w)
{
    constexpr int S = L::stored, bytes = S * int(sizeof(T));
    std::ptrdiff_t x = 0;
    if constexpr (!L::keepsAlpha && (bytes == 1 || bytes == 2 || bytes == 4 || bytes == 8)) {
        using P = PixelLane<bytes>;
        constexpr int n = simd::kLanes<P>;
        const P* sp = reinterpret_cast<const P*>(s);
        P* dp = reinterpret_cast<P*>(d);
        for (; x + n <= w; x += n) simd::store(simd::reverse(simd::load(sp + x)), dp + (w - x - n));
    } else if constexpr (std::is_same_v<T, Ovk8u> && S == 3 && !L::keepsAlpha) {
        reverseThreeByteRow(s, d, w, x);
    }
    for (; x < w; ++x) copyPixel<L>(s + x * S, d + (w - 1 - x) * S);
}

constexpr OvkStatus mirrorAxisSize(OvkiAxis flip, OvkiSize roi)
{
    if ((flip == ovkAxsHorizontal || flip == ovkAxsBoth) && roi.height < 2) return ovkStatusSizeError;
    if ((flip == ovkAxsVertical || flip == ovkAxsBoth) && roi.width < 2) return ovkStatusSizeError;
    return ovkStatusOk;
}

template <class T, class L>
OvkStatus mirrorInPlace(T* pSrcDst, int srcDstStep, OvkiSize roiSize, OvkiAxis flip)
{
    OVK_CHECK(check::pointers(pSrcDst));
    OVK_CHECK(check::size(roiSize));
    OVK_CHECK(check::require(flip == ovkAxsHorizontal || flip == ovkAxsVertical || flip == ovkAxsBoth,
                             ovkStatusMirrorFlipError));
    OVK_CHECK(mirrorAxisSize(flip, roiSize));
    const Image<T> img(pSrcDst, srcDstStep);
    const int w = roiSize.width, h = roiSize.height;
    constexpr int S = L::stored;
    if (flip == ovkAxsHorizontal) {
        for (int y = 0; y < h / 2; ++y) {
            T* a = img.row(y);
            T* b = img.row(h - 1 - y);
            for (std::ptrdiff_t x = 0; x < w; ++x) swapPixel<L>(a + x * S, b + x * S);
        }
    } else if (flip == ovkAxsVertical) {
        for (int y = 0; y < h; ++y) {
            T* r = img.row(y);
            for (std::ptrdiff_t x = 0; x < w / 2; ++x) swapPixel<L>(r + x * S, r + (w - 1 - x) * S);
        }
    } else {  // both: a rotation by 180 degrees, pixel (x, y) with (w-1-x, h-1-y)
        for (int y = 0; y < (h + 1) / 2; ++y) {
            T* a = img.row(y);
            T* b = img.row(h - 1 - y);
            const int xEnd = (y == h - 1 - y) ? w / 2 : w;  // the middle row swaps its halves only
            for (std::ptrdiff_t x = 0; x < xEnd; ++x) swapPixel<L>(a + x * S, b + (w - 1 - x) * S);
        }
    }
    return ovkStatusOk;
}

// True when the byte ranges the two regions span intersect.
inline bool regionsOverlap(const void* a, int aStep, OvkiSize aSize, int aPixelBytes, const void* b, int bStep,
                           OvkiSize bSize, int bPixelBytes)
{
    const auto lo = [](const void* p) { return reinterpret_cast<std::uintptr_t>(p); };
    const auto end = [&](const void* p, int step, OvkiSize s, int px) {
        return lo(p) + std::uintptr_t(std::int64_t(s.height - 1) * step + std::int64_t(s.width) * px);
    };
    return lo(a) < end(b, bStep, bSize, bPixelBytes) && lo(b) < end(a, aStep, aSize, aPixelBytes);
}

template <class T, class L>
OvkStatus mirror(const T* pSrc, int srcStep, T* pDst, int dstStep, OvkiSize roiSize, OvkiAxis flip)
{
    if (pSrc == pDst && srcStep == dstStep && pSrc != nullptr) return mirrorInPlace<T, L>(pDst, dstStep, roiSize, flip);
    const bool diagonal = flip == ovkAxs45 || flip == ovkAxs135;
    OVK_CHECK(check::pointers(pSrc, pDst));
    if (diagonal) OVK_CHECK(check::steps(srcStep, dstStep));
    OVK_CHECK(check::size(roiSize));
    OVK_CHECK(check::require(flip >= ovkAxsHorizontal && flip <= ovkAxs135, ovkStatusMirrorFlipError));
    OVK_CHECK(mirrorAxisSize(flip, roiSize));
    constexpr int S = L::stored;
    const int w = roiSize.width, h = roiSize.height;
    if (diagonal) {
        const OvkiSize dstSize{h, w};
        OVK_CHECK(check::require(!regionsOverlap(pSrc, srcStep, roiSize, S * sizeof(T), pDst, dstStep, dstSize, S * sizeof(T)),
                                 ovkStatusModeNotSupported));
    }
    const Image<const T> src(pSrc, srcStep);
    const Image<T> dst(pDst, dstStep);
    switch (flip) {
    case ovkAxsHorizontal:
        for (int y = 0; y < h; ++y) {
            const T* s = src.row(y);
            T* d = dst.row(h - 1 - y);
            if constexpr (L::keepsAlpha)
                for (std::ptrdiff_t x = 0; x < w; ++x) copyPixel<L>(s + x * S, d + x * S);
            else
                std::memcpy(d, s, sizeof(T) * S * w);
        }
        break;
    case ovkAxsVertical:
    case ovkAxsBoth:
        for (int y = 0; y < h; ++y) {
            const T* s = src.row(y);
            T* d = dst.row(flip == ovkAxsBoth ? h - 1 - y : y);
            reverseRow<L>(s, d, w);
        }
        break;
    case ovkAxs45:
        for (int y = 0; y < h; ++y)
            for (std::ptrdiff_t x = 0; x < w; ++x) copyPixel<L>(src.row(y) + x * S, dst.row(int(x)) + std::ptrdiff_t(y) * S);
        break;
    default:  // ovkAxs135: dst(w-1-c, h-1-r) = src(r, c)
        for (int y = 0; y < h; ++y)
            for (std::ptrdiff_t x = 0; x < w; ++x) copyPixel<L>(src.row(y) + x * S, dst.row(int(w - 1 - x)) + std::ptrdiff_t(h - 1 - y) * S);
        break;
    }
    return ovkStatusOk;
}

}  // namespace ovk::exchange
