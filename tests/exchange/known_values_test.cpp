// Known values of the copy, channel, border and generator families.
#include <gtest/gtest.h>
#include <ovk/ovkimx.h>

#include <vector>

namespace {

TEST(KnownValues, OverlappingCopyIsForwardElementByElement)
{
    std::vector<Ovk8u> buf = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    // Destination two bytes after the source: a forward element copy repeats the first two values.
    ASSERT_EQ(ovkiCopy_8u_C1R(buf.data(), 10, buf.data() + 2, 10, {8, 1}), ovkStatusOk);
    EXPECT_EQ(buf, (std::vector<Ovk8u>{1, 2, 1, 2, 1, 2, 1, 2, 1, 2}));
}

TEST(KnownValues, SwapChannelsWithAlphaValue)
{
    const Ovk8u rgb[3] = {10, 20, 30};
    Ovk8u dst[4] = {1, 2, 3, 4};
    const int order[4] = {2, 1, 0, 3};
    ASSERT_EQ(ovkiSwapChannels_8u_C3C4R(rgb, 3, dst, 4, {1, 1}, order, 255), ovkStatusOk);
    EXPECT_EQ(std::vector<Ovk8u>(dst, dst + 4), (std::vector<Ovk8u>{30, 20, 10, 255}));
    const int keep[4] = {2, 1, 0, 5};
    dst[3] = 77;
    ASSERT_EQ(ovkiSwapChannels_8u_C3C4R(rgb, 3, dst, 4, {1, 1}, keep, 255), ovkStatusOk);
    EXPECT_EQ(dst[3], 77);

    Ovk8u px[3] = {5, 6, 7};
    const int rep[3] = {0, 0, 0};
    ASSERT_EQ(ovkiSwapChannels_8u_C3IR(px, 3, {1, 1}, rep), ovkStatusOk);
    EXPECT_EQ(std::vector<Ovk8u>(px, px + 3), (std::vector<Ovk8u>{5, 5, 5}));
}

TEST(KnownValues, MirrorOfOneRow)
{
    Ovk8u row[3] = {1, 2, 3};
    EXPECT_EQ(ovkiMirror_8u_C1IR(row, 3, {3, 1}, ovkAxsHorizontal), ovkStatusSizeError);
    ASSERT_EQ(ovkiMirror_8u_C1IR(row, 3, {3, 1}, ovkAxsVertical), ovkStatusOk);
    EXPECT_EQ(std::vector<Ovk8u>(row, row + 3), (std::vector<Ovk8u>{3, 2, 1}));
}

TEST(KnownValues, SetOneChannel)
{
    Ovk8u img[6] = {0, 0, 0, 0, 0, 0};
    ASSERT_EQ(ovkiSet_8u_C3CR(9, img + 1, 6, {2, 1}), ovkStatusOk);
    EXPECT_EQ(std::vector<Ovk8u>(img, img + 6), (std::vector<Ovk8u>{0, 9, 0, 0, 9, 0}));
}

TEST(KnownValues, BorderRows)
{
    const Ovk8u src[3] = {1, 2, 3};
    Ovk8u dst[7] = {};
    ASSERT_EQ(ovkiCopyReplicateBorder_8u_C1R(src, 3, {3, 1}, dst, 7, {7, 1}, 0, 2), ovkStatusOk);
    EXPECT_EQ(std::vector<Ovk8u>(dst, dst + 7), (std::vector<Ovk8u>{1, 1, 1, 2, 3, 3, 3}));

    const Ovk32s wsrc[3] = {1, 2, 3};
    Ovk32s wdst[10] = {};
    ASSERT_EQ(ovkiCopyWrapBorder_32s_C1R(wsrc, 12, {3, 1}, wdst, 40, {10, 1}, 0, 4), ovkStatusOk);
    EXPECT_EQ(std::vector<Ovk32s>(wdst, wdst + 10), (std::vector<Ovk32s>{3, 1, 2, 3, 1, 2, 3, 1, 2, 3}));

    EXPECT_EQ(ovkiCopyReplicateBorder_8u_C1R(src, 3, {3, 1}, dst, 7, {4, 1}, 0, 2), ovkStatusSizeError);
}

TEST(KnownValues, Ramp8u)
{
    std::vector<Ovk8u> row(300);
    ASSERT_EQ(ovkiImageRamp_8u_C1R(row.data(), 300, {300, 1}, 0.0f, 1.0f, 0), ovkStatusOk);
    EXPECT_EQ(row[254], 254);
    EXPECT_EQ(row[255], 255);
    EXPECT_EQ(row[299], 255);
    ASSERT_EQ(ovkiImageRamp_8u_C1R(row.data(), 300, {300, 1}, -3.0f, 1.0f, 0), ovkStatusOk);
    EXPECT_EQ(row[3], 0);
    EXPECT_EQ(row[4], 1);
}

TEST(KnownValues, UniformNoiseOfZeroWidthAddsTheMidpoint)
{
    std::vector<Ovk8u> img = {0, 100, 250};
    unsigned seed = 12345;
    ASSERT_EQ(ovkiAddRandUniform_Direct_8u_C1IR(img.data(), 3, {3, 1}, 10, 10, &seed), ovkStatusOk);
    EXPECT_EQ(img, (std::vector<Ovk8u>{10, 110, 255}));
    EXPECT_NE(seed, 12345u);
}

}  // namespace
