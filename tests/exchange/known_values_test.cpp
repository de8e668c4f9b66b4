// Known values: small cases worked out by hand, the edge cases of the
// definitions, and the first noise values of a fixed seed as this library
// produces them (a change of generator must be deliberate).
#include <gtest/gtest.h>
#include <ovk/ovkimx.h>

#include <vector>

namespace {

// The array after a call that must succeed (nothing if it fails).
template <class T, std::size_t N>
std::vector<T> after(OvkStatus s, const T (&a)[N])
{
    return s == ovkStatusOk ? std::vector<T>(a, a + N) : std::vector<T>{};
}

TEST(KnownValues, OverlappingCopyIsForwardElementByElement)
{
    std::vector<Ovk8u> buf = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    ASSERT_EQ(ovkiCopy_8u_C1R(buf.data(), 10, buf.data() + 2, 10, {8, 1}), ovkStatusOk);
    EXPECT_EQ(buf, (std::vector<Ovk8u>{1, 2, 1, 2, 1, 2, 1, 2, 1, 2}));
    buf = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};  // toward lower addresses the element order does not show
    ASSERT_EQ(ovkiCopy_8u_C1R(buf.data() + 2, 10, buf.data(), 10, {8, 1}), ovkStatusOk);
    EXPECT_EQ(buf, (std::vector<Ovk8u>{3, 4, 5, 6, 7, 8, 9, 10, 9, 10}));
}

TEST(KnownValues, ChannelOfInterestAtThePointer)
{
    const Ovk8u src[6] = {1, 2, 3, 4, 5, 6};
    Ovk8u dst[6] = {0, 0, 0, 0, 0, 0};
    EXPECT_EQ(after(ovkiCopy_8u_C3CR(src + 1, 6, dst + 2, 6, {2, 1}), dst), (std::vector<Ovk8u>{0, 0, 2, 0, 0, 5}));
    EXPECT_EQ(after(ovkiSet_8u_C3CR(9, dst + 1, 6, {2, 1}), dst), (std::vector<Ovk8u>{0, 9, 2, 0, 9, 5}));
}

TEST(KnownValues, SwapChannelsWithAlphaValue)
{
    const Ovk8u rgb[3] = {10, 20, 30};
    Ovk8u dst[4] = {1, 2, 3, 4};
    const int order[4] = {2, 1, 0, 3};
    EXPECT_EQ(after(ovkiSwapChannels_8u_C3C4R(rgb, 3, dst, 4, {1, 1}, order, 255), dst),
              (std::vector<Ovk8u>{30, 20, 10, 255}));
    const int keep[4] = {2, 1, 0, 5};
    dst[3] = 77;
    ASSERT_EQ(ovkiSwapChannels_8u_C3C4R(rgb, 3, dst, 4, {1, 1}, keep, 255), ovkStatusOk);
    EXPECT_EQ(dst[3], 77);
}

// Four channels into three read three order entries: what follows them in
// the caller's memory is never looked at.
TEST(KnownValues, SwapFourIntoThreeReadsThreeEntries)
{
    const Ovk8u rgba[4] = {10, 20, 30, 40};
    Ovk8u dst[3] = {};
    const int order[4] = {3, 0, 2, -1};
    EXPECT_EQ(after(ovkiSwapChannels_8u_C4C3R(rgba, 4, dst, 3, {1, 1}, order), dst), (std::vector<Ovk8u>{40, 10, 30}));
}

TEST(KnownValues, MirrorEdgeCases)
{
    Ovk8u row[3] = {1, 2, 3};
    EXPECT_EQ(ovkiMirror_8u_C1IR(row, 3, {3, 1}, ovkAxsHorizontal), ovkStatusSizeError);
    EXPECT_EQ(after(ovkiMirror_8u_C1IR(row, 3, {3, 1}, ovkAxsVertical), row), (std::vector<Ovk8u>{3, 2, 1}));
    EXPECT_EQ(ovkiMirror_8u_C1IR(row, 1, {1, 3}, ovkAxsVertical), ovkStatusSizeError);  // a single column
    // Diagonals refuse regions that overlap in memory; equal pointers and
    // steps mean in place, which has no diagonal.
    Ovk8u canvas[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    EXPECT_EQ(ovkiMirror_8u_C1R(canvas, 4, canvas + 5, 4, {2, 2}, ovkAxs45), ovkStatusModeNotSupported);
    EXPECT_EQ(ovkiMirror_8u_C1R(canvas + 5, 4, canvas, 4, {2, 2}, ovkAxs135), ovkStatusModeNotSupported);
    EXPECT_EQ(ovkiMirror_8u_C1R(canvas, 4, canvas, 5, {2, 2}, ovkAxs45), ovkStatusModeNotSupported);
    EXPECT_EQ(ovkiMirror_8u_C1R(canvas, 4, canvas, 4, {2, 2}, ovkAxs45), ovkStatusMirrorFlipError);
    EXPECT_EQ(after(ovkiMirror_8u_C1R(canvas, 4, canvas + 8, 4, {2, 2}, ovkAxs135), canvas),
              (std::vector<Ovk8u>{1, 2, 3, 4, 5, 6, 7, 8, 6, 2, 11, 12, 5, 1, 15, 16}));
}

TEST(KnownValues, TransposeWithEqualPointersIsInPlace)
{
    Ovk16u m[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    EXPECT_EQ(after(ovkiTranspose_16u_C1R(m, 6, m, 6, {3, 3}), m), (std::vector<Ovk16u>{1, 4, 7, 2, 5, 8, 3, 6, 9}));
}

TEST(KnownValues, BorderRows)
{
    const Ovk8u src[3] = {1, 2, 3};
    Ovk8u dst[7] = {};
    EXPECT_EQ(after(ovkiCopyReplicateBorder_8u_C1R(src, 3, {3, 1}, dst, 7, {7, 1}, 0, 2), dst),
              (std::vector<Ovk8u>{1, 1, 1, 2, 3, 3, 3}));
    const Ovk32s wsrc[3] = {1, 2, 3};
    Ovk32s wdst[10] = {};
    EXPECT_EQ(after(ovkiCopyWrapBorder_32s_C1R(wsrc, 12, {3, 1}, wdst, 40, {10, 1}, 0, 4), wdst),
              (std::vector<Ovk32s>{3, 1, 2, 3, 1, 2, 3, 1, 2, 3}));
    const Ovk16u rgb[3] = {1, 2, 3};
    Ovk16u cdst[9] = {};
    const Ovk16u value[3] = {7, 8, 9};
    EXPECT_EQ(after(ovkiCopyConstBorder_16u_C3R(rgb, 6, {1, 1}, cdst, 18, {3, 1}, 0, 1, value), cdst),
              (std::vector<Ovk16u>{7, 8, 9, 1, 2, 3, 7, 8, 9}));
    EXPECT_EQ(ovkiCopyReplicateBorder_8u_C1R(src, 3, {3, 1}, dst, 7, {4, 1}, 0, 2), ovkStatusSizeError);
    // The same pointer for both images means in place, whatever the source step.
    Ovk8u frame[5] = {0, 4, 5, 0, 0};
    EXPECT_EQ(after(ovkiCopyReplicateBorder_8u_C1R(frame + 1, -7, {2, 1}, frame + 1, 5, {5, 1}, 0, 1), frame),
              (std::vector<Ovk8u>{4, 4, 5, 5, 5}));
    Ovk32s wframe[5] = {0, 4, 5, 0, 0};
    EXPECT_EQ(after(ovkiCopyWrapBorder_32s_C1R(wframe + 1, 20, {2, 1}, wframe + 1, 20, {5, 1}, 0, 1), wframe),
              (std::vector<Ovk32s>{5, 4, 5, 4, 5}));
}

TEST(KnownValues, Ramp8u)
{
    std::vector<Ovk8u> row(300);
    ASSERT_EQ(ovkiImageRamp_8u_C1R(row.data(), 300, {300, 1}, 0.5f, 1.0f, 0), ovkStatusOk);
    EXPECT_EQ((std::vector<int>{row[0], row[253], row[254]}), (std::vector<int>{1, 254, 255}));  // 254.5 gives 255
    ASSERT_EQ(ovkiImageRamp_8u_C1R(row.data(), 300, {300, 1}, -3.0f, 1.0f, 0), ovkStatusOk);
    EXPECT_EQ((std::vector<int>{row[2], row[3], row[4], row[299]}), (std::vector<int>{0, 0, 1, 255}));
}

TEST(KnownValues, NoiseOfSeed12345)
{
    Ovk8u u[8] = {};
    unsigned seed = 12345;
    EXPECT_EQ(after(ovkiAddRandUniform_Direct_8u_C1IR(u, 8, {8, 1}, 0, 255, &seed), u),
              (std::vector<Ovk8u>{76, 237, 130, 230, 217, 239, 209, 239}));
    EXPECT_EQ(seed, 713992268u);
    Ovk32f g[6] = {};
    seed = 12345;
    ASSERT_EQ(ovkiAddRandGauss_Direct_32f_C1IR(g, 24, {6, 1}, 0.0f, 1.0f, &seed), ovkStatusOk);
    const float want[6] = {-0.604596913f, 0.27693975f, -2.44076037f, 1.68154252f, -1.34682846f, 0.523018062f};
    for (int i = 0; i < 6; ++i) EXPECT_NEAR(g[i], want[i], 1e-6) << i;
    EXPECT_EQ(seed, 3961485150u);
}

// Zero width or deviation adds exactly that value, saturating, and the seed still moves.
TEST(KnownValues, NoiseOfZeroSpread)
{
    std::vector<Ovk8u> img = {0, 100, 250};
    unsigned seed = 12345;
    ASSERT_EQ(ovkiAddRandUniform_Direct_8u_C1IR(img.data(), 3, {3, 1}, 10, 10, &seed), ovkStatusOk);
    EXPECT_EQ(img, (std::vector<Ovk8u>{10, 110, 255}));
    EXPECT_NE(seed, 12345u);
    std::vector<Ovk16s> s = {-32760, 0, 5};
    ASSERT_EQ(ovkiAddRandGauss_Direct_16s_C1IR(s.data(), 6, {3, 1}, -20, 0, &seed), ovkStatusOk);
    EXPECT_EQ(s, (std::vector<Ovk16s>{-32768, -20, -15}));
}

}  // namespace
