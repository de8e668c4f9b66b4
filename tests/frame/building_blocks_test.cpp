// The pieces every family is built from: argument checks in order, image
// views with 64-bit row offsets, and row iteration over independent steps.
#include <gtest/gtest.h>

#include <vector>

#include "frame/check.hpp"
#include "frame/image.hpp"
#include "frame/layout.hpp"

namespace {

using namespace ovk;

OvkStatus exampleChecks(const Ovk8u* src, int srcStep, Ovk8u* dst, int dstStep, OvkiSize roi, int order)
{
    OVK_CHECK(check::pointers(src, dst));
    OVK_CHECK(check::size(roi));
    OVK_CHECK(check::steps(srcStep, dstStep));
    OVK_CHECK(check::require(order >= 0 && order < 3, ovkStatusBadArgument));
    return ovkStatusOk;
}

TEST(Checks, FirstFailureWins)
{
    Ovk8u a = 0, b = 0;
    EXPECT_EQ(exampleChecks(nullptr, 0, &b, 0, {0, 0}, 9), ovkStatusNullPointer);
    EXPECT_EQ(exampleChecks(&a, 1, nullptr, 1, {1, 1}, 0), ovkStatusNullPointer);
    EXPECT_EQ(exampleChecks(&a, 0, &b, 0, {0, 1}, 9), ovkStatusSizeError);
    EXPECT_EQ(exampleChecks(&a, 0, &b, 0, {1, -1}, 9), ovkStatusSizeError);
    EXPECT_EQ(exampleChecks(&a, 1, &b, 0, {1, 1}, 9), ovkStatusStepError);
    EXPECT_EQ(exampleChecks(&a, 1, &b, 1, {1, 1}, 9), ovkStatusBadArgument);
    EXPECT_EQ(exampleChecks(&a, 1, &b, 1, {1, 1}, 2), ovkStatusOk);
}

TEST(Checks, PlanePointers)
{
    Ovk8u p0 = 0, p1 = 0;
    const Ovk8u* good[3] = {&p0, &p1, &p0};
    const Ovk8u* bad[3] = {&p0, nullptr, &p0};
    EXPECT_EQ(check::planes(good, 3), ovkStatusOk);
    EXPECT_EQ(check::planes(bad, 3), ovkStatusNullPointer);
    EXPECT_EQ(check::planes<Ovk8u>(nullptr, 3), ovkStatusNullPointer);
}

TEST(ImageView, RowsUse64BitOffsets)
{
    // A step times a row beyond 2^31 must not wrap: compute the address only.
    // Addresses are compared as integers: nothing is dereferenced.
    std::vector<unsigned char> anchor(4096);
    const Image<unsigned char> img(anchor.data(), 1 << 30);
    const auto diff = reinterpret_cast<std::uintptr_t>(img.row(5)) - reinterpret_cast<std::uintptr_t>(anchor.data());
    EXPECT_EQ(diff, std::uintptr_t(5) << 30);
    const Image<const Ovk16s> back(reinterpret_cast<const Ovk16s*>(anchor.data() + 4000), -400);
    EXPECT_EQ(reinterpret_cast<const unsigned char*>(back.row(3)), anchor.data() + 4000 - 1200);
}

TEST(ImageView, ForEachRowWalksIndependentSteps)
{
    std::vector<Ovk8u> a(5 * 7), b(5 * 13);
    for (std::size_t i = 0; i < a.size(); ++i) a[i] = Ovk8u(i);
    Image<const Ovk8u> src(a.data(), 7);
    Image<Ovk8u> dst(b.data(), 13);
    forEachRow({4, 5}, [](const Ovk8u* s, Ovk8u* d) { for (int x = 0; x < 4; ++x) d[x] = s[x]; }, src, dst);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 4; ++x) EXPECT_EQ(b[y * 13 + x], a[y * 7 + x]);
    EXPECT_EQ(b[4], 0);  // beyond the ROI width
}

TEST(ImageView, RowStatusKeepsTheFirstWarning)
{
    Ovk8u buf[4] = {};
    int rowNo = 0;
    const OvkStatus s = forEachRowStatus(
        {1, 4},
        [&](Ovk8u*) { return ++rowNo == 2 ? ovkStatusDivByZero : (rowNo == 3 ? ovkStatusSqrtNegArg : ovkStatusOk); },
        Image<Ovk8u>(buf, 1));
    EXPECT_EQ(rowNo, 4);  // every row runs
    EXPECT_EQ(s, ovkStatusDivByZero);
}

TEST(Layouts, Ac4ProcessesThreeOfFour)
{
    static_assert(AC4::stored == 4 && AC4::processed == 3 && AC4::keepsAlpha);
    static_assert(C4::stored == 4 && C4::processed == 4 && !C4::keepsAlpha);
    static_assert(P3::planes == 3 && P3::planar);
}

}  // namespace
