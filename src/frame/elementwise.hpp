// The element-wise engine behind arithmetic, logic, shifts, the elementary
// functions, copies and sets (and every family that works pixel by pixel).
//
// An operation is a row function over n contiguous elements:
//
//     OvkStatus row(const A* first, const B* second, D* dst, int n)   // two operands
//     OvkStatus row(const A* src, D* dst, int n)                      // one operand
//
// and the engine walks the ROI, each image with its own step. Layouts that
// process every stored channel (C1, C3, C4) hand whole rows of width x
// channels elements to the row function, which is where vector code pays off.
// AC4 hands it the three colour channels of one pixel at a time, so alpha is
// never written.
//
// Constant forms run the two-operand row function with the constant as the
// FIRST operand: a chunk of the per-channel constants repeated along the row.
// That one convention makes SubC (source minus constant) and DivC (source
// divided by constant) the two-image Sub and Div with the constant in place of
// the first source, whose second-minus-first and second-divided-by-first
// orders then come out right.
//
// Row functions may return a warning (a division by zero, a square root of a
// negative value); the first non-zero status of the call is kept and returned
// after every row has been processed.
#pragma once

#include <algorithm>
#include <cstdint>

#include "frame/check.hpp"
#include "frame/fill.hpp"
#include "frame/image.hpp"
#include "frame/layout.hpp"
#include "frame/types.hpp"

namespace ovk {

// Elements in one chunk of a repeated constant: a multiple of every channel
// count (1, 2, 3, 4, 6, 8) and of every vector width.
inline constexpr int kConstantChunk = 384;

// The value argument of a constant form: a scalar for one-channel layouts, an
// array of one value per processed channel otherwise.
template <class T, class L>
using ConstArg = std::conditional_t<L::stored == 1, T, const T*>;

template <class T, class L>
constexpr const T* constantValues(const ConstArg<T, L>& value)
{
    if constexpr (L::stored == 1)
        return &value;
    else
        return value;
}

template <class T, class L>
constexpr bool constantIsNull(const ConstArg<T, L>& value)
{
    if constexpr (L::stored == 1)
        return false;
    else
        return value == nullptr;
}

inline void keepFirst(OvkStatus& kept, OvkStatus s)
{
    if (kept == ovkStatusOk) kept = s;
}

// A row of more elements than an int counts reaches the row function in
// pieces of whole pixels (a multiple of every channel count, vector width and
// constant chunk), so no element count overflows.
inline constexpr std::int64_t kRowPiece = std::int64_t(kConstantChunk) << 20;

template <class F>
OvkStatus inPieces(std::int64_t n, F&& piece)
{
    OvkStatus kept = ovkStatusOk;
    for (std::int64_t x = 0; x < n; x += kRowPiece) keepFirst(kept, piece(x, int(std::min(kRowPiece, n - x))));
    return kept;
}

// When the rows of every image follow each other without padding, the ROI is
// walked as one long row: the per-row set-up disappears and vector loops run
// across row ends. Channels stay aligned, since each row holds whole pixels.
template <class L, class... T>
OvkiSize oneRowIfContiguous(OvkiSize roi, Image<T>... images)
{
    const long long elements = static_cast<long long>(roi.width) * roi.height * L::stored;
    const bool contiguous =
        ((static_cast<long long>(images.step()) == static_cast<long long>(roi.width) * L::stored * static_cast<long long>(sizeof(T))) && ...);
    if (roi.height > 1 && contiguous && elements <= (1LL << 30)) return {roi.width * roi.height, 1};
    return roi;
}

// Two images into a third.
template <class L, class A, class B, class D, class Row>
OvkStatus runBinary(Image<const A> first, Image<const B> second, Image<D> dst, OvkiSize roi, Row&& row)
{
    roi = oneRowIfContiguous<L>(roi, first, second, dst);
    const std::int64_t n = std::int64_t(roi.width) * L::stored;
    if constexpr (!L::keepsAlpha) {
        return forEachRowStatus(roi, [&](const A* a, const B* b, D* d) {
            return inPieces(n, [&](std::int64_t x, int m) { return row(a + x, b + x, d + x, m); });
        }, first, second, dst);
    } else {
        return forEachRowStatus(roi, [&](const A* a, const B* b, D* d) {
            OvkStatus kept = ovkStatusOk;
            for (std::int64_t x = 0; x < n; x += L::stored) keepFirst(kept, row(a + x, b + x, d + x, L::processed));
            return kept;
        }, first, second, dst);
    }
}

// One image into another.
template <class L, class A, class D, class Row>
OvkStatus runUnary(Image<const A> src, Image<D> dst, OvkiSize roi, Row&& row)
{
    roi = oneRowIfContiguous<L>(roi, src, dst);
    const std::int64_t n = std::int64_t(roi.width) * L::stored;
    if constexpr (!L::keepsAlpha) {
        return forEachRowStatus(roi, [&](const A* a, D* d) {
            return inPieces(n, [&](std::int64_t x, int m) { return row(a + x, d + x, m); });
        }, src, dst);
    } else {
        return forEachRowStatus(roi, [&](const A* a, D* d) {
            OvkStatus kept = ovkStatusOk;
            for (std::int64_t x = 0; x < n; x += L::stored) keepFirst(kept, row(a + x, d + x, L::processed));
            return kept;
        }, src, dst);
    }
}

// A per-channel constant (one value per processed channel) and an image into
// a destination; the constant is the row function's first operand.
template <class L, class C, class B, class D, class Row>
OvkStatus runConstant(const C* values, Image<const B> src, Image<D> dst, OvkiSize roi, Row&& row)
{
    roi = oneRowIfContiguous<L>(roi, src, dst);
    if constexpr (!L::keepsAlpha) {
        C pattern[kConstantChunk];
        for (int i = 0; i < kConstantChunk; ++i) pattern[i] = values[i % L::stored];
        const std::int64_t n = std::int64_t(roi.width) * L::stored;
        return forEachRowStatus(roi, [&](const B* b, D* d) {
            OvkStatus kept = ovkStatusOk;
            for (std::int64_t x = 0; x < n; x += kConstantChunk)
                keepFirst(kept, row(pattern, b + x, d + x, int(std::min<std::int64_t>(kConstantChunk, n - x))));
            return kept;
        }, src, dst);
    } else {
        return forEachRowStatus(roi, [&](const B* b, D* d) {
            OvkStatus kept = ovkStatusOk;
            for (std::int64_t x = 0; x < std::int64_t(roi.width) * L::stored; x += L::stored)
                keepFirst(kept, row(values, b + x, d + x, L::processed));
            return kept;
        }, src, dst);
    }
}

// A complex layout seen as a layout of its real and imaginary parts: a C3
// image of 16sc is a six-channel image of 16s. Additions and subtractions of
// complex values are additions and subtractions of their parts.
template <class T, class L>
struct PartsOf {
    using Type = T;
    using Layout = L;
};
template <class T, class L>
    requires isComplex<T>
struct PartsOf<T, L> {
    using Type = Part<T>;
    using Layout = Interleaved<2 * L::stored, 2 * L::processed>;
};

template <class T>
Image<const Part<T>> partsImage(const T* p, int step)
{
    return Image<const Part<T>>(reinterpret_cast<const Part<T>*>(p), step);
}
template <class T>
Image<Part<T>> partsImage(T* p, int step)
{
    return Image<Part<T>>(reinterpret_cast<Part<T>*>(p), step);
}

// In place, for the one in-place member without an out-of-place partner
// (the registry's `inplace` delegation serves every other one).
template <auto Fn, class T, class... Extra>
OvkStatus unaryInPlace(T* pSrcDst, int srcDstStep, OvkiSize roiSize, Extra... extra)
{
    return Fn(pSrcDst, srcDstStep, pSrcDst, srcDstStep, roiSize, extra...);
}

}  // namespace ovk
