// The guard-band fixture must itself catch what it promises to catch.
#include "support/guarded_image.hpp"
#include "support/sweep.hpp"

namespace {

using ovktest::GuardedImage;

TEST(GuardedImage, StepIsAnOddNumberOfElements)
{
    for (int w : ovktest::kSweepWidths) {
        GuardedImage<Ovk16s> img(w, 3, 3);
        EXPECT_EQ(img.step() % 2, 0);
        EXPECT_EQ((img.step() / 2) % 2, 1);
        EXPECT_GE(img.step(), w * 3 * 2);
    }
}

TEST(GuardedImage, DetectsWritesJustOutsideTheRoi)
{
    GuardedImage<Ovk8u> img(5, 4, 3);
    img.fillRandom(1);
    EXPECT_TRUE(img.outsideRoiUnchanged());
    img.roi()[-1] ^= 1;  // the byte before the first pixel
    EXPECT_FALSE(img.outsideRoiUnchanged());

    img.fillRandom(2);
    img.set(4, 3, 2, img.get(4, 3, 2) ^ 0x80);  // last element of the ROI: allowed
    EXPECT_TRUE(img.outsideRoiUnchanged());
    EXPECT_FALSE(img.unchanged());
    img.roi()[3 * img.step() + 5 * 3] ^= 1;  // first byte after the last row's ROI
    EXPECT_FALSE(img.outsideRoiUnchanged());
}

TEST(GuardedImage, DetectsAlphaWrites)
{
    GuardedImage<Ovk32f> img(4, 2, 4);
    img.fillRandom(3);
    img.set(1, 1, 2, 0.5f);
    EXPECT_TRUE(img.channelUnchanged(3));
    img.set(3, 0, 3, 123.0f);
    EXPECT_FALSE(img.channelUnchanged(3));
}

}  // namespace
