// Transpose and Mirror, every member: each source pixel must land where the
// definition puts it (the processed channels moved whole, AC4 alpha of the
// destination kept), in place as out of place, over shapes that cross the
// tile sizes; then each member's argument checks: the square region of the
// in-place transpose, the axes each form accepts, single rows and columns,
// steps (tested for the diagonals only) and overlapping diagonal regions.
#include <gtest/gtest.h>
#include <ovk/ovkimx.h>

#include <vector>

#include "move_checks.hpp"

namespace {

using namespace ovktest;
using namespace ovktest::moves;

template <class T>
using UnFn = OvkStatus (*)(const T*, int, T*, int, OvkiSize);
template <class T>
using UnIFn = OvkStatus (*)(T*, int, OvkiSize);
template <class T>
using MirrorFn = OvkStatus (*)(const T*, int, T*, int, OvkiSize, OvkiAxis);
template <class T>
using MirrorIFn = OvkStatus (*)(T*, int, OvkiSize, OvkiAxis);

const OvkiAxis kAxes[] = {ovkAxsHorizontal, ovkAxsVertical, ovkAxsBoth, ovkAxs45, ovkAxs135};

bool diagonal(OvkiAxis a) { return a == ovkAxs45 || a == ovkAxs135; }

// Where pixel (x, y) of a w x h source lands, written as (column, row).
struct Place {
    int x, y;
};

Place land(OvkiAxis axis, int x, int y, int w, int h)
{
    switch (axis) {
    case ovkAxsHorizontal: return {x, h - 1 - y};
    case ovkAxsVertical: return {w - 1 - x, y};
    case ovkAxsBoth: return {w - 1 - x, h - 1 - y};
    case ovkAxs45: return {y, x};                   // dst(c, r) = src(r, c)
    default: return {h - 1 - y, w - 1 - x};         // dst(w-1-c, h-1-r) = src(r, c)
    }
}

OvkiSize landedSize(OvkiAxis axis, OvkiSize s) { return diagonal(axis) ? OvkiSize{s.height, s.width} : s; }

// Mirror refuses a single row about the horizontal axis and a single column
// about the vertical one.
bool shapeAllowed(OvkiAxis axis, OvkiSize s)
{
    if ((axis == ovkAxsHorizontal || axis == ovkAxsBoth) && s.height < 2) return false;
    if ((axis == ovkAxsVertical || axis == ovkAxsBoth) && s.width < 2) return false;
    return true;
}

// Shapes around the vector and tile sizes, thin ones included.
const OvkiSize kShapes[] = {{1, 1}, {2, 2}, {1, 4}, {6, 1}, {3, 2}, {7, 5}, {16, 3}, {33, 4}, {2, 65}, {65, 3}, {100, 2}, {70, 67}};
const int kSquares[] = {1, 2, 3, 5, 31, 32, 33, 63, 64, 65, 70};

// Out of place: call(src, srcStep, dst, dstStep, size) with the source
// passed top down, or bottom up (from its last row, negative step).
template <class T, class Call>
void runOutOfPlace(Call&& call, OvkiAxis axis, OvkiSize s, int stored, int processed, bool bottomUp, unsigned seed)
{
    SCOPED_TRACE(::testing::Message() << "axis " << int(axis) << ", " << s.width << "x" << s.height
                                      << (bottomUp ? ", source bottom up" : ""));
    const OvkiSize d = landedSize(axis, s);
    GuardedImage<T> src(s.width, s.height, stored, 3), dst(d.width, d.height, stored, 5);
    fillPattern(src, seed);
    fillPattern(dst, seed + 1);
    GuardedImage<T> want = dst;
    for (int y = 0; y < s.height; ++y)
        for (int x = 0; x < s.width; ++x) {
            const Place p = land(axis, x, y, s.width, s.height);
            for (int c = 0; c < processed; ++c) want.set(p.x, p.y, c, src.get(x, bottomUp ? s.height - 1 - y : y, c));
        }
    const T* first = elementAt(src, 0, bottomUp ? s.height - 1 : 0);
    ASSERT_EQ(call(first, bottomUp ? -src.step() : src.step(), dst.roi(), dst.step(), s), ovkStatusOk);
    EXPECT_TRUE(src.unchanged());
    EXPECT_TRUE(dst.outsideRoiUnchanged());
    EXPECT_TRUE(roiEqual(dst, want, stored));
}

// In place: call(image, step, size). The result is the out-of-place one.
template <class T, class Call>
void runInPlace(Call&& call, OvkiAxis axis, OvkiSize s, int stored, int processed, unsigned seed)
{
    SCOPED_TRACE(::testing::Message() << "in place, axis " << int(axis) << ", " << s.width << "x" << s.height);
    GuardedImage<T> img(s.width, s.height, stored, 4);
    fillPattern(img, seed);
    const GuardedImage<T> before = img;
    GuardedImage<T> want = img;
    for (int y = 0; y < s.height; ++y)
        for (int x = 0; x < s.width; ++x) {
            const Place p = land(axis, x, y, s.width, s.height);
            for (int c = 0; c < processed; ++c) want.set(p.x, p.y, c, before.get(x, y, c));
        }
    ASSERT_EQ(call(img.roi(), img.step(), s), ovkStatusOk);
    EXPECT_TRUE(img.outsideRoiUnchanged());
    EXPECT_TRUE(roiEqual(img, want, stored));
}

// ---------------------------------------------------------------------------
// Transpose.
// ---------------------------------------------------------------------------
template <class T, int N>
void checkTranspose(UnFn<T> r, UnIFn<T> ir, unsigned seed)
{
    for (OvkiSize s : kShapes) runOutOfPlace<T>(r, ovkAxs45, s, N, N, false, seed++);
    runOutOfPlace<T>(r, ovkAxs45, {129, 66}, N, N, false, seed++);
    runOutOfPlace<T>(r, ovkAxs45, {9, 4}, N, N, true, seed++);  // steps are not tested: a bottom-up source works
    for (int n : kSquares) runInPlace<T>(ir, ovkAxs45, {n, n}, N, N, seed++);

    GuardedImage<T> src(4, 3, N), dst(3, 4, N, 2), sq(3, 3, N, 3);
    fillPattern(src, seed++);
    fillPattern(dst, seed++);
    fillPattern(sq, seed++);
    {
        SCOPED_TRACE("out of place");
        expectCheckOrder({2, 2, 0, {pointersCheck({0, 1}), sizeCheck()}}, [&](const Faults& f) {
            return r(f.ptr(0, src.roi()), f.step(0, src.step()), f.ptr(1, dst.roi()), f.step(1, dst.step()),
                     f.roi(src.size()));
        }, src, dst);
    }
    // In place the region must be square: bad parameter 0 passes 3x2, 1 passes 2x3.
    SCOPED_TRACE("in place");
    expectCheckOrder({1, 1, 2, {pointersCheck({0}), sizeCheck(), parameterCheck(ovkStatusSizeError)}}, [&](const Faults& f) {
        const OvkiSize s = f.bad(0) ? OvkiSize{3, 2} : f.bad(1) ? OvkiSize{2, 3} : sq.size();
        return ir(f.ptr(0, sq.roi()), f.step(0, sq.step()), f.roi(s));
    }, sq);
}

// C1R with the same pointer and step for both images is the in-place form.
template <class T>
void checkTransposeSamePointer(UnFn<T> r, unsigned seed)
{
    for (int n : {1, 4, 33, 65})
        runInPlace<T>([r](T* p, int step, OvkiSize s) { return r(p, step, p, step, s); }, ovkAxs45, {n, n}, 1, 1, seed++);
    GuardedImage<T> img(5, 5, 1);
    fillPattern(img, seed);
    for (OvkiSize s : {OvkiSize{5, 4}, OvkiSize{2, 5}})
        expectRejected(ovkStatusSizeError, [&] { return r(img.roi(), img.step(), img.roi(), img.step(), s); }, img);
}

// ---------------------------------------------------------------------------
// Mirror.
// ---------------------------------------------------------------------------
template <class T, class L>
void checkMirror(MirrorFn<T> r, MirrorIFn<T> ir, unsigned seed)
{
    constexpr int S = L::stored, P = L::processed;
    for (OvkiAxis axis : kAxes) {
        for (OvkiSize s : kShapes)
            if (shapeAllowed(axis, s))
                runOutOfPlace<T>([&](const T* a, int as, T* b, int bs, OvkiSize z) { return r(a, as, b, bs, z, axis); }, axis,
                                 s, S, P, false, seed++);
        if (diagonal(axis)) continue;
        // Axes 0 to 2 do not test steps: a bottom-up source, and zero steps on one row or column.
        runOutOfPlace<T>([&](const T* a, int as, T* b, int bs, OvkiSize z) { return r(a, as, b, bs, z, axis); }, axis,
                         {9, 4}, S, P, true, seed++);
        for (OvkiSize s : kShapes)
            if (shapeAllowed(axis, s)) {
                runInPlace<T>([&](T* p, int step, OvkiSize z) { return ir(p, step, z, axis); }, axis, s, S, P, seed++);
                // Equal pointers and steps make the two-image form the in-place one.
                runInPlace<T>([&](T* p, int step, OvkiSize z) { return r(p, step, p, step, z, axis); }, axis, s, S, P,
                              seed++);
            }
        if (axis == ovkAxsVertical) {
            runInPlace<T>([&](T* p, int, OvkiSize z) { return ir(p, 0, z, axis); }, axis, {8, 1}, S, P, seed++);
            runInPlace<T>([&](T* p, int, OvkiSize z) { return r(p, 0, p, 0, z, axis); }, axis, {8, 1}, S, P, seed++);
        }
    }

    GuardedImage<T> src(4, 3, S), dst(4, 3, S, 2), tdst(3, 4, S, 3);
    GuardedImage<T> canvas(12, 12, S, 4);  // holds overlapping source and destination regions
    fillPattern(src, seed++);
    fillPattern(dst, seed++);
    fillPattern(tdst, seed++);
    fillPattern(canvas, seed++);
    // Axis values beyond the enumerators (C++ only allows those within the
    // enumeration's bit range, 0 to 7).
    const OvkiAxis badAxes[] = {OvkiAxis(5), OvkiAxis(6), OvkiAxis(7)};
    for (OvkiAxis axis : {ovkAxsHorizontal, ovkAxsVertical, ovkAxsBoth}) {
        SCOPED_TRACE(::testing::Message() << "axis " << int(axis));
        expectCheckOrder({2, 2, 3, {pointersCheck({0, 1}), sizeCheck(), parameterCheck(ovkStatusMirrorFlipError)}},
                         [&](const Faults& f) {
                             return r(f.ptr(0, src.roi()), f.step(0, src.step()), f.ptr(1, dst.roi()), f.step(1, dst.step()),
                                      f.roi(src.size()), f.badParameter >= 0 ? badAxes[f.badParameter] : axis);
                         },
                         src, dst);
    }
    // The diagonals test the steps, before the size, and refuse regions that
    // overlap in memory: the destination starting inside the source (0), at
    // the source's first pixel with another step (1), or the source starting
    // inside the destination (2).
    const int px = S * int(sizeof(T));
    for (OvkiAxis axis : {ovkAxs45, ovkAxs135}) {
        SCOPED_TRACE(::testing::Message() << "axis " << int(axis));
        expectCheckOrder({2, 2, 3,
                          {pointersCheck({0, 1}), stepsCheck({0, 1}), sizeCheck(), parameterCheck(ovkStatusModeNotSupported)}},
                         [&](const Faults& f) {
                             const T* s = src.roi();
                             T* d = tdst.roi();
                             int ss = src.step(), ds = tdst.step();
                             if (f.badParameter >= 0) {
                                 const int k = f.badParameter;
                                 s = elementAt(canvas, k == 2 ? 2 : 0, k == 2 ? 2 : 0);
                                 d = elementAt(canvas, k == 0 ? 1 : 0, k == 0 ? 1 : 0);
                                 ss = ds = canvas.step();
                                 if (k == 1) ds += px;
                             }
                             return r(f.ptr(0, s), f.step(0, ss), f.ptr(1, d), f.step(1, ds), f.roi(src.size()), axis);
                         },
                         src, tdst, canvas);
        // Regions of one buffer that do not overlap are fine: the source in rows
        // 0 to 2, the destination from row 5 on.
        GuardedImage<T> want = canvas;
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 4; ++x) {
                const Place p = land(axis, x, y, 4, 3);
                for (int c = 0; c < P; ++c) want.set(p.x, 5 + p.y, c, canvas.get(x, y, c));
            }
        EXPECT_EQ(r(canvas.roi(), canvas.step(), elementAt(canvas, 0, 5), canvas.step(), {4, 3}, axis), ovkStatusOk);
        EXPECT_TRUE(canvas.outsideRoiUnchanged());
        EXPECT_TRUE(roiEqual(canvas, want, S));
        fillPattern(canvas, seed++);
        // Equal pointers and steps select the in-place form, which has no diagonal.
        expectRejected(ovkStatusMirrorFlipError, [&] { return r(canvas.roi(), canvas.step(), canvas.roi(), canvas.step(), {3, 3}, axis); },
                       canvas);
    }
    {
        SCOPED_TRACE("in place");
        const OvkiAxis badInPlace[] = {ovkAxs45, ovkAxs135, OvkiAxis(5), OvkiAxis(7)};
        expectCheckOrder({1, 1, 4, {pointersCheck({0}), sizeCheck(), parameterCheck(ovkStatusMirrorFlipError)}},
                         [&](const Faults& f) {
                             return ir(f.ptr(0, dst.roi()), f.step(0, dst.step()), f.roi(dst.size()),
                                       f.badParameter >= 0 ? badInPlace[f.badParameter] : ovkAxsBoth);
                         },
                         dst);
    }

    // A single row about the horizontal axis, a single column about the
    // vertical one: -6, after the pointers, the size and the axis.
    struct Refused {
        OvkiAxis axis;
        OvkiSize size;
    };
    const Refused refused[] = {{ovkAxsHorizontal, {4, 1}}, {ovkAxsBoth, {4, 1}}, {ovkAxsVertical, {1, 3}},
                               {ovkAxsBoth, {1, 3}},       {ovkAxsHorizontal, {1, 1}}, {ovkAxsVertical, {1, 1}}};
    for (const Refused& c : refused) {
        SCOPED_TRACE(::testing::Message() << "axis " << int(c.axis) << ", " << c.size.width << "x" << c.size.height);
        expectRejected(ovkStatusSizeError, [&] { return r(src.roi(), src.step(), dst.roi(), dst.step(), c.size, c.axis); }, src, dst);
        expectRejected(ovkStatusSizeError, [&] { return ir(dst.roi(), dst.step(), c.size, c.axis); }, dst);
        expectRejected(ovkStatusNullPointer, [&] { return r(src.roi(), src.step(), nullptr, dst.step(), c.size, c.axis); }, src, dst);
        expectRejected(ovkStatusNullPointer, [&] { return ir(nullptr, dst.step(), c.size, c.axis); }, dst);
        expectRejected(ovkStatusMirrorFlipError, [&] { return r(src.roi(), src.step(), dst.roi(), dst.step(), c.size, OvkiAxis(7)); },
                       src, dst);
        expectRejected(ovkStatusMirrorFlipError, [&] { return ir(dst.roi(), dst.step(), c.size, ovkAxs45); }, dst);
    }
}

#define OVK_TRANSPOSE_CASE(n, t)                                                                                  \
    FunctionCase{"Transpose_" #t "_C" #n,                                                                         \
                 [] { checkTranspose<Ovk##t, n>(ovkiTranspose_##t##_C##n##R, ovkiTranspose_##t##_C##n##IR, seedOf("T" #t #n)); }, \
                 {anyFunction(ovkiTranspose_##t##_C##n##R), anyFunction(ovkiTranspose_##t##_C##n##IR)}}
#define OVK_TRANSPOSE_SAME_CASE(t)                                                                                \
    FunctionCase{"Transpose_" #t "_C1R_SamePointer",                                                              \
                 [] { checkTransposeSamePointer<Ovk##t>(ovkiTranspose_##t##_C1R, seedOf("TS" #t)); },             \
                 {anyFunction(ovkiTranspose_##t##_C1R)}}
#define OVK_MIRROR_CASE(l, t)                                                                                     \
    FunctionCase{"Mirror_" #t "_" #l,                                                                             \
                 [] { checkMirror<Ovk##t, ovk::l>(ovkiMirror_##t##_##l##R, ovkiMirror_##t##_##l##IR, seedOf("M" #t #l)); }, \
                 {anyFunction(ovkiMirror_##t##_##l##R), anyFunction(ovkiMirror_##t##_##l##IR)}}

std::vector<FunctionCase> geometryCases()
{
    return {
        OVK_MOVE_TYPES(OVK_TRANSPOSE_CASE, 1),
        OVK_MOVE_TYPES(OVK_TRANSPOSE_CASE, 3),
        OVK_MOVE_TYPES(OVK_TRANSPOSE_CASE, 4),
        OVK_MOVE_TYPES(OVK_TRANSPOSE_SAME_CASE),
        OVK_MOVE_TYPES(OVK_MIRROR_CASE, C1),
        OVK_MOVE_TYPES(OVK_MIRROR_CASE, C3),
        OVK_MOVE_TYPES(OVK_MIRROR_CASE, C4),
        OVK_MOVE_TYPES(OVK_MIRROR_CASE, AC4),
    };
}

class GeometryMember : public ::testing::TestWithParam<FunctionCase> {};

TEST_P(GeometryMember, MovesEveryPixelByDefinition) { GetParam().run(); }

INSTANTIATE_TEST_SUITE_P(TransposeMirror, GeometryMember, ::testing::ValuesIn(geometryCases()), caseName);

TEST(TransposeMirrorCoverage, EveryMemberIsCalled)
{
    // Transpose: 5 types x 3 layouts x (R, IR); Mirror: 5 types x 4 layouts x (R, IR).
    EXPECT_EQ(distinctFunctions(geometryCases()), 30u + 40u);
}

// Independent of the definitions above: transposing twice, mirroring twice
// about any axis, and the 135-degree mirror as the 45-degree one followed by
// a half turn all give back the source.
TEST(TransposeMirrorProperties, InvolutionsAndComposition)
{
    const OvkiSize s{13, 7}, t{7, 13};
    GuardedImage<Ovk32f> src(s.width, s.height, 3), mid(t.width, t.height, 3), back(s.width, s.height, 3, 2);
    fillPattern(src, 1);
    fillPattern(mid, 2);
    fillPattern(back, 3);
    ASSERT_EQ(ovkiTranspose_32f_C3R(src.roi(), src.step(), mid.roi(), mid.step(), s), ovkStatusOk);
    ASSERT_EQ(ovkiTranspose_32f_C3R(mid.roi(), mid.step(), back.roi(), back.step(), t), ovkStatusOk);
    EXPECT_TRUE(roiEqual(back, src, 3));
    for (OvkiAxis axis : kAxes) {
        SCOPED_TRACE(::testing::Message() << "axis " << int(axis));
        GuardedImage<Ovk16s> a(s.width, s.height, 4), b(landedSize(axis, s).width, landedSize(axis, s).height, 4), c(s.width, s.height, 4);
        fillPattern(a, 4);
        fillPattern(b, 5);
        fillPattern(c, 6);
        ASSERT_EQ(ovkiMirror_16s_C4R(a.roi(), a.step(), b.roi(), b.step(), s, axis), ovkStatusOk);
        ASSERT_EQ(ovkiMirror_16s_C4R(b.roi(), b.step(), c.roi(), c.step(), landedSize(axis, s), axis), ovkStatusOk);
        EXPECT_TRUE(roiEqual(c, a, 4));
    }
    GuardedImage<Ovk8u> a(s.width, s.height, 1), d135(t.width, t.height, 1), d45(t.width, t.height, 1, 3);
    fillPattern(a, 7);
    fillPattern(d135, 8);
    fillPattern(d45, 9);
    ASSERT_EQ(ovkiMirror_8u_C1R(a.roi(), a.step(), d135.roi(), d135.step(), s, ovkAxs135), ovkStatusOk);
    ASSERT_EQ(ovkiTranspose_8u_C1R(a.roi(), a.step(), d45.roi(), d45.step(), s), ovkStatusOk);
    ASSERT_EQ(ovkiMirror_8u_C1IR(d45.roi(), d45.step(), t, ovkAxsBoth), ovkStatusOk);
    EXPECT_TRUE(roiEqual(d45, d135, 1));
}

}  // namespace
