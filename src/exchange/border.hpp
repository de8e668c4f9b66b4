// Border extension copies: the source lands in a larger destination at
// (leftBorderWidth, topBorderHeight) and the frame around it is filled by
// replication of the nearest edge pixel, with a constant, or by wrapping
// around. The in-place forms write only the frame around a region that
// already sits inside a larger image (they never read frame memory before
// writing it). AC4 never writes the fourth channel, inside or in the frame.
//
// Checks: pointers, steps, then every size: both ROIs at least 1 x 1, frames
// not negative, and the destination large enough for source and frames.
#pragma once

#include <cstring>

#include "exchange/copy.hpp"
#include <cstdint>

#include "frame/fill.hpp"

namespace ovk::exchange {

struct Frame {
    OvkiSize src, dst;
    int top, left;
    int right() const { return dst.width - src.width - left; }
    int bottom() const { return dst.height - src.height - top; }
};

// Both images at least 1 x 1, and source plus frames within the destination.
inline OvkStatus checkFrame(const Frame& f)
{
    const bool ok = f.src.width >= 1 && f.src.height >= 1 && check::fitsWithin(f.left, f.src.width, f.dst.width) &&
                    check::fitsWithin(f.top, f.src.height, f.dst.height);
    return ok ? ovkStatusOk : ovkStatusSizeError;
}

// Copies the processed channels of n pixels (whole rows of non-alpha layouts
// in one block).
template <class L, class T>
void movePixels(const T* s, T* d, int n)
{
    if constexpr (!L::keepsAlpha) {
        copyForward(s, d, std::size_t(n) * L::stored);
    } else {
        for (std::ptrdiff_t x = 0; x < n; ++x)
            for (int c = 0; c < L::processed; ++c) d[x * L::stored + c] = s[x * L::stored + c];
    }
}

template <class L, class T>
void repeatPixel(const T* px, T* d, int n)
{
    for (std::ptrdiff_t x = 0; x < n; ++x)
        for (int c = 0; c < L::processed; ++c) d[x * L::stored + c] = px[c];
}

// The destination rows above and below the source band are copies of a
// completed band row, chosen by the fill rule.
template <class L, class T, class SourceRowOf>
void fillFrameRows(Image<T> dst, const Frame& f, SourceRowOf bandRowFor)
{
    for (int y = 0; y < f.top; ++y) movePixels<L>(dst.row(bandRowFor(y)), dst.row(y), f.dst.width);
    for (int y = f.top + f.src.height; y < f.dst.height; ++y) movePixels<L>(dst.row(bandRowFor(y)), dst.row(y), f.dst.width);
}

// ---------------------------------------------------------------------------
// Replicate. dst is the destination's first pixel (frame included).
// ---------------------------------------------------------------------------
template <class L, class T>
void replicateBorder(Image<const T> src, Image<T> dst, const Frame& f, bool inPlace)
{
    constexpr int S = L::stored;
    for (int y = 0; y < f.src.height; ++y) {
        T* d = dst.row(f.top + y);
        const T* first = inPlace ? d + std::ptrdiff_t(f.left) * S : src.row(y);
        if (!inPlace) movePixels<L>(first, d + std::ptrdiff_t(f.left) * S, f.src.width);
        const T* firstPx = d + std::ptrdiff_t(f.left) * S;
        const T* lastPx = d + (f.left + f.src.width - 1) * S;
        repeatPixel<L>(firstPx, d, f.left);
        repeatPixel<L>(lastPx, d + (f.left + f.src.width) * S, f.right());
    }
    fillFrameRows<L>(dst, f, [&](int y) { return y < f.top ? f.top : f.top + f.src.height - 1; });
}

template <class T, class L>
OvkStatus copyReplicateBorderInPlace(const T* pSrc, int srcDstStep, OvkiSize srcRoiSize, OvkiSize dstRoiSize,
                                     int topBorderHeight, int leftBorderWidth)
{
    OVK_CHECK(check::pointers(pSrc));
    OVK_CHECK(check::steps(srcDstStep));
    const Frame f{srcRoiSize, dstRoiSize, topBorderHeight, leftBorderWidth};
    OVK_CHECK(checkFrame(f));
    T* inside = const_cast<T*>(pSrc);  // in place: the source is part of the destination
    T* first = Image<T>(inside, srcDstStep).row(-topBorderHeight) - std::int64_t(leftBorderWidth) * L::stored;
    replicateBorder<L>(Image<const T>(pSrc, srcDstStep), Image<T>(first, srcDstStep), f, true);
    return ovkStatusOk;
}

// With the source pointer equal to the destination pointer this becomes the
// in-place form at once, before any other check, with the destination step.
template <class T, class L>
OvkStatus copyReplicateBorder(const T* pSrc, int srcStep, OvkiSize srcRoiSize, T* pDst, int dstStep,
                              OvkiSize dstRoiSize, int topBorderHeight, int leftBorderWidth)
{
    if (pSrc == pDst)
        return copyReplicateBorderInPlace<T, L>(pSrc, dstStep, srcRoiSize, dstRoiSize, topBorderHeight, leftBorderWidth);
    OVK_CHECK(check::pointers(pSrc, pDst));
    OVK_CHECK(check::steps(srcStep, dstStep));
    const Frame f{srcRoiSize, dstRoiSize, topBorderHeight, leftBorderWidth};
    OVK_CHECK(checkFrame(f));
    replicateBorder<L>(Image<const T>(pSrc, srcStep), Image<T>(pDst, dstStep), f, false);
    return ovkStatusOk;
}

// ---------------------------------------------------------------------------
// Constant.
// ---------------------------------------------------------------------------
template <class T, class L>
OvkStatus copyConstBorder(const T* pSrc, int srcStep, OvkiSize srcRoiSize, T* pDst, int dstStep, OvkiSize dstRoiSize,
                          int topBorderHeight, int leftBorderWidth, ConstArg<T, L> value)
{
    const T* values = constantValues<T, L>(value);
    OVK_CHECK(check::pointers(pSrc, pDst, values));
    OVK_CHECK(check::steps(srcStep, dstStep));
    const Frame f{srcRoiSize, dstRoiSize, topBorderHeight, leftBorderWidth};
    OVK_CHECK(checkFrame(f));
    constexpr int S = L::stored;
    const Image<const T> src(pSrc, srcStep);
    const Image<T> dst(pDst, dstStep);
    fillRows<L>(dst, {f.dst.width, f.top}, values);
    for (int y = 0; y < f.src.height; ++y) {
        T* d = dst.row(f.top + y);
        repeatPixel<L>(values, d, f.left);
        movePixels<L>(src.row(y), d + std::ptrdiff_t(f.left) * S, f.src.width);
        repeatPixel<L>(values, d + (f.left + f.src.width) * S, f.right());
    }
    fillRows<L>(Image<T>(dst.row(f.top + f.src.height), dstStep), {f.dst.width, f.bottom()}, values);
    return ovkStatusOk;
}

// ---------------------------------------------------------------------------
// Wrap (32-bit elements, one channel): dst(x, y) = src(sx mod W, sy mod H)
// with non-negative remainders; frames wider than the source repeat it.
// ---------------------------------------------------------------------------
inline int wrapIndex(int i, int n)
{
    const int r = i % n;
    return r < 0 ? r + n : r;
}

template <class T>
void wrapBorder(Image<const T> src, Image<T> dst, const Frame& f, bool inPlace)
{
    const int W = f.src.width;
    for (int y = 0; y < f.src.height; ++y) {
        T* d = dst.row(f.top + y);
        T* band = d + f.left;
        if (!inPlace) copyForward(src.row(y), band, std::size_t(W));
        for (int x = 0; x < f.left; ++x) d[x] = band[wrapIndex(x - f.left, W)];
        for (int x = f.left + W; x < f.dst.width; ++x) d[x] = band[wrapIndex(x - f.left, W)];
    }
    fillFrameRows<C1>(dst, f, [&](int y) { return f.top + wrapIndex(y - f.top, f.src.height); });
}

template <class T>
OvkStatus copyWrapBorderInPlace(const T* pSrc, int srcDstStep, OvkiSize srcRoiSize, OvkiSize dstRoiSize,
                                int topBorderHeight, int leftBorderWidth)
{
    OVK_CHECK(check::pointers(pSrc));
    OVK_CHECK(check::steps(srcDstStep));
    const Frame f{srcRoiSize, dstRoiSize, topBorderHeight, leftBorderWidth};
    OVK_CHECK(checkFrame(f));
    T* inside = const_cast<T*>(pSrc);
    T* first = Image<T>(inside, srcDstStep).row(-topBorderHeight) - leftBorderWidth;
    wrapBorder(Image<const T>(pSrc, srcDstStep), Image<T>(first, srcDstStep), f, true);
    return ovkStatusOk;
}

// Switches to the in-place form for equal pointers only after every check.
template <class T>
OvkStatus copyWrapBorder(const T* pSrc, int srcStep, OvkiSize srcRoiSize, T* pDst, int dstStep, OvkiSize dstRoiSize,
                         int topBorderHeight, int leftBorderWidth)
{
    OVK_CHECK(check::pointers(pSrc, pDst));
    OVK_CHECK(check::steps(srcStep, dstStep));
    const Frame f{srcRoiSize, dstRoiSize, topBorderHeight, leftBorderWidth};
    OVK_CHECK(checkFrame(f));
    if (pSrc == pDst)
        return copyWrapBorderInPlace(pSrc, dstStep, srcRoiSize, dstRoiSize, topBorderHeight, leftBorderWidth);
    wrapBorder(Image<const T>(pSrc, srcStep), Image<T>(pDst, dstStep), f, false);
    return ovkStatusOk;
}

}  // namespace ovk::exchange
