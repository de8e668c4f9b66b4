// Tests of ovkimg's arithmetic, logic and shift operations: the tool is run
// on tiny image files of known samples, and its output files are read back
// and compared with values worked out by hand.
#include "synthetic.hpp"
#include "tool_test.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace ovkimg {
namespace {

namespace fs = std::filesystem;
using namespace tooltest;

class Arithmetic : public ToolTest {};

// ---------------------------------------------------------------------------
// Two images
// ---------------------------------------------------------------------------

TEST_F(Arithmetic, AddRoundsHalfToEvenAndSaturates) {
    writePgm("a.pgm", {1, 2, 3, 200, 255, 0, 7});
    writePgm("b.pgm", {0, 1, 2, 100, 255, 0, 6});
    // Sums 1 3 5 300 510 0 13, halved: 0.5 -> 0, 1.5 -> 2, 2.5 -> 2, 6.5 -> 6.
    EXPECT_EQ(result({"add", "a.pgm", "b.pgm", "--scale", "1"}), (Samples{0, 2, 2, 150, 255, 0, 6}));
    EXPECT_EQ(result({"add", "a.pgm", "b.pgm"}), (Samples{1, 3, 5, 255, 255, 0, 13}));
    EXPECT_EQ(result({"add", "a.pgm", "b.pgm", "--scale", "-1"}), (Samples{2, 6, 10, 255, 255, 0, 26}));
    EXPECT_EQ(result({"add", "a.pgm", "b.pgm", "--scale", "9"}), (Samples{0, 0, 0, 1, 1, 0, 0}));
}

TEST_F(Arithmetic, AddSixteenBitRgb) {
    write("a.png", SampleType::U16, 3, {1, 60000, 65535, 3, 1000, 0});
    write("b.png", SampleType::U16, 3, {2, 10000, 65535, 2, 1001, 0});
    EXPECT_EQ(result({"add", "a.png", "b.png"}), (Samples{3, 65535, 65535, 5, 2001, 0}));
    EXPECT_EQ(result({"add", "a.png", "b.png", "--scale", "1"}), (Samples{2, 35000, 65535, 2, 1000, 0}));
}

TEST_F(Arithmetic, SubIsFirstMinusSecond) {
    writePgm("a.pgm", {10, 5, 200, 0});
    writePgm("b.pgm", {3, 9, 50, 0});
    EXPECT_EQ(result({"sub", "a.pgm", "b.pgm"}), (Samples{7, 0, 150, 0}));
    EXPECT_EQ(result({"sub", "b.pgm", "a.pgm"}), (Samples{0, 4, 0, 0}));
    EXPECT_EQ(result({"sub", "a.pgm", "b.pgm", "--scale", "1"}), (Samples{4, 0, 75, 0}));  // 3.5 -> 4
}

TEST_F(Arithmetic, SubOfFourChannelsTakesTheAlphaToo) {
    write("a.png", SampleType::U8, 4, {100, 100, 100, 255, 9, 8, 7, 6});
    write("b.png", SampleType::U8, 4, {1, 2, 3, 55, 10, 0, 0, 6});
    EXPECT_EQ(result({"sub", "a.png", "b.png"}), (Samples{99, 98, 97, 200, 0, 8, 7, 0}));
}

TEST_F(Arithmetic, MulScalesAndSaturates) {
    writePgm("a.pgm", {16, 8, 200, 0, 5});
    writePgm("b.pgm", {3, 3, 200, 99, 5});
    // 48/16 = 3, 24/16 = 1.5 -> 2, 40000/16 -> 255, 25/16 = 1.5625 -> 2.
    EXPECT_EQ(result({"mul", "a.pgm", "b.pgm", "--scale", "4"}), (Samples{3, 2, 255, 0, 2}));
    EXPECT_EQ(result({"mul", "a.pgm", "b.pgm"}), (Samples{48, 24, 255, 0, 25}));
}

TEST_F(Arithmetic, DivIsFirstByTheSecondAndZeroDivisorsWarn) {
    writePgm("a.pgm", {10, 7, 5, 100, 0, 9});
    writePgm("b.pgm", {2, 2, 2, 3, 0, 0});
    // 3.5 -> 4 and 2.5 -> 2 (ties to even), 33.3 -> 33; 0 / 0 -> 0, 9 / 0 -> 255.
    const ToolRun r = run({"div", "a.pgm", "b.pgm", "-o", "q.png"});
    EXPECT_EQ(r.exitCode, 0) << r.output;
    EXPECT_NE(r.output.find("div: warning: library status 6 (ovkStatusDivByZero)"), std::string::npos) << r.output;
    EXPECT_EQ(samplesOf(readImage(file("q.png"))), (Samples{5, 4, 2, 33, 0, 255}));

    // The other way round, without zero divisors: no warning.
    writePgm("c.pgm", {10, 7, 5, 100});
    writePgm("d.pgm", {2, 2, 2, 3});
    const ToolRun reversed = run({"div", "d.pgm", "c.pgm", "--scale", "-4", "-o", "r.png"});
    EXPECT_EQ(reversed.exitCode, 0) << reversed.output;
    EXPECT_EQ(reversed.output.find("ovkStatusDivByZero"), std::string::npos) << reversed.output;
    // 16 * 2/10 = 3.2, 16 * 2/7 = 4.57, 16 * 2/5 = 6.4, 16 * 3/100 = 0.48.
    EXPECT_EQ(samplesOf(readImage(file("r.png"))), (Samples{3, 5, 6, 0}));
}

TEST_F(Arithmetic, MulScaleIsNormalisedToTheLargestSample) {
    writePgm("a.pgm", {255, 128, 0, 128, 255});
    writePgm("b.pgm", {255, 255, 77, 128, 1});
    // (p + (p >> 8) + 1) >> 8 of the product p: 128 * 128 = 16384 -> 64.
    EXPECT_EQ(result({"mulscale", "a.pgm", "b.pgm"}), (Samples{255, 128, 0, 64, 1}));

    write("a.png", SampleType::U16, 1, {65535, 32768, 65535, 0});
    write("b.png", SampleType::U16, 1, {65535, 65535, 1, 1000});
    EXPECT_EQ(result({"mulscale", "a.png", "b.png"}), (Samples{65535, 32768, 1, 0}));
}

TEST_F(Arithmetic, BitwiseLogic) {
    writePgm("a.pgm", {12, 255, 0});
    writePgm("b.pgm", {10, 15, 0});
    EXPECT_EQ(result({"and", "a.pgm", "b.pgm"}), (Samples{8, 15, 0}));
    EXPECT_EQ(result({"or", "a.pgm", "b.pgm"}), (Samples{14, 255, 0}));
    EXPECT_EQ(result({"xor", "a.pgm", "b.pgm"}), (Samples{6, 240, 0}));

    write("a.png", SampleType::U16, 4, {0xFF00, 0x1234, 0xFFFF, 0x8001});
    write("b.png", SampleType::U16, 4, {0x0FF0, 0x4321, 0x0000, 0x8000});
    EXPECT_EQ(result({"and", "a.png", "b.png"}), (Samples{0x0F00, 0x0220, 0x0000, 0x8000}));
    EXPECT_EQ(result({"or", "a.png", "b.png"}), (Samples{0xFFF0, 0x5335, 0xFFFF, 0x8001}));
    EXPECT_EQ(result({"xor", "a.png", "b.png"}), (Samples{0xF0F0, 0x5115, 0xFFFF, 0x0001}));
}

TEST_F(Arithmetic, ImagesOfDifferentLayoutsAreRejected) {
    writePgm("a.pgm", {1, 2, 3});
    writePgm("b.pgm", {1, 2});
    write("c.png", SampleType::U16, 1, {1, 2, 3});
    ToolRun r = run({"add", "a.pgm", "b.pgm", "-o", "out.png"});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.output.find("add: the images differ in layout: 3x1 8u C1 and 2x1 8u C1"), std::string::npos)
        << r.output;
    r = run({"xor", "a.pgm", "c.png", "-o", "out.png"});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.output.find("3x1 8u C1 and 3x1 16u C1"), std::string::npos) << r.output;
    EXPECT_FALSE(fs::exists(file("out.png")));

    r = run({"add", "a.pgm", "-o", "out.png"});
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_NE(r.output.find("add: needs 2 input files, got 1"), std::string::npos) << r.output;
}

// ---------------------------------------------------------------------------
// Constants
// ---------------------------------------------------------------------------

TEST_F(Arithmetic, ConstantsOnGray) {
    writePgm("a.pgm", {0, 5, 3, 250, 10, 14, 255});
    EXPECT_EQ(result({"addc", "a.pgm", "--value", "10"}), (Samples{10, 15, 13, 255, 20, 24, 255}));
    EXPECT_EQ(result({"subc", "a.pgm", "--value", "10"}), (Samples{0, 0, 0, 240, 0, 4, 245}));
    // 7.5 -> 8, 4.5 -> 4, 375 -> 255, 15, 21, 382.5 -> 255.
    EXPECT_EQ(result({"mulc", "a.pgm", "--value", "3", "--scale", "1"}), (Samples{0, 8, 4, 255, 15, 21, 255}));
    // 1.25 -> 1, 0.75 -> 1, 62.5 -> 62, 2.5 -> 2, 3.5 -> 4, 63.75 -> 64.
    EXPECT_EQ(result({"divc", "a.pgm", "--value", "4"}), (Samples{0, 1, 1, 62, 2, 4, 64}));
    EXPECT_EQ(result({"addc", "a.pgm", "--value=1", "--scale=-2"}), (Samples{4, 24, 16, 255, 44, 60, 255}));
}

TEST_F(Arithmetic, ConstantsPerChannel) {
    write("rgb.ppm", SampleType::U8, 3, {10, 20, 30, 200, 100, 0});
    EXPECT_EQ(result({"addc", "rgb.ppm", "--value", "1,2,3"}), (Samples{11, 22, 33, 201, 102, 3}));
    EXPECT_EQ(result({"addc", "rgb.ppm", "--value", "60"}), (Samples{70, 80, 90, 255, 160, 60}));
    EXPECT_EQ(result({"subc", "rgb.ppm", "--value", "15,15,0"}), (Samples{0, 5, 30, 185, 85, 0}));

    write("rgba.png", SampleType::U8, 4, {10, 20, 30, 40, 200, 100, 0, 250});
    // Three values: the colour channels; the alpha is kept.
    EXPECT_EQ(result({"addc", "rgba.png", "--value", "1,2,3"}), (Samples{11, 22, 33, 40, 201, 102, 3, 250}));
    EXPECT_EQ(result({"mulc", "rgba.png", "--value", "2,2,2"}), (Samples{20, 40, 60, 40, 255, 200, 0, 250}));
    // One value or four: every channel.
    EXPECT_EQ(result({"addc", "rgba.png", "--value", "10"}), (Samples{20, 30, 40, 50, 210, 110, 10, 255}));
    EXPECT_EQ(result({"subc", "rgba.png", "--value", "0,0,0,40"}), (Samples{10, 20, 30, 0, 200, 100, 0, 210}));

    write("rgb16.png", SampleType::U16, 3, {65535, 1000, 3});
    EXPECT_EQ(result({"divc", "rgb16.png", "--value", "2,1000,2"}), (Samples{32768, 1, 2}));
    EXPECT_EQ(result({"addc", "rgb16.png", "--value", "65535"}), (Samples{65535, 65535, 65535}));
}

TEST_F(Arithmetic, DivisionByAConstantZeroIsAnError) {
    writePgm("a.pgm", {1, 2});
    ToolRun r = run({"divc", "a.pgm", "--value", "0", "-o", "out.png"});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.output.find("divc: library status -10 (ovkStatusDivByZeroError)"), std::string::npos) << r.output;
    EXPECT_FALSE(fs::exists(file("out.png")));

    write("rgb.ppm", SampleType::U8, 3, {10, 20, 30});
    r = run({"divc", "rgb.ppm", "--value", "2,0,1", "-o", "out.png"});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.output.find("ovkStatusDivByZeroError"), std::string::npos) << r.output;
    EXPECT_FALSE(fs::exists(file("out.png")));

    r = run({"divc", "--value", "0", "-o", "out.png"});  // the test image
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.output.find("ovkStatusDivByZeroError"), std::string::npos) << r.output;
}

TEST_F(Arithmetic, BadValuesAndScalesAreUsageErrors) {
    writePgm("a.pgm", {1, 2});
    write("rgba.png", SampleType::U8, 4, {1, 2, 3, 4});
    write("g16.png", SampleType::U16, 1, {1});
    const struct {
        std::vector<std::string> args;
        const char* message;
    } cases[] = {
        {{"add", "a.pgm", "a.pgm", "--scale", "x"}, "add: --scale: 'x' is not a whole number"},
        {{"add", "a.pgm", "a.pgm", "--scale", "1.5"}, "add: --scale: '1.5' is not a whole number"},
        {{"sqrt", "a.pgm", "--scale", ""}, "sqrt: --scale: '' is not a whole number"},
        {{"mulc", "a.pgm", "--value", "3", "--scale", "99999999999"}, "--scale: '99999999999' is not a whole number"},
        {{"addc", "a.pgm"}, "addc: needs --value"},
        {{"addc", "a.pgm", "--value", "256"},
         "--value: 256 is out of range (whole numbers from 0 to 255 for 8u images)"},
        {{"addc", "g16.png", "--value", "65536"}, "--value: 65536 is out of range (whole numbers from 0 to 65535"},
        {{"subc", "a.pgm", "--value", "-1"}, "--value: -1 is out of range"},
        {{"mulc", "a.pgm", "--value", "1.5"}, "--value: 1.5 is out of range"},
        {{"divc", "a.pgm", "--value", "1,2"}, "--value takes 1 value for an image of 1 channel, got 2"},
        {{"divc", "rgba.png", "--value", "1,2"}, "--value takes 1, 3 or 4 values for an image of 4 channels, got 2"},
        {{"addc", "a.pgm", "--value", "1,,2"}, "is not a comma-separated list of numbers"},
        {{"shift", "a.pgm"}, "shift: needs --left N or --right N"},
        {{"shift", "a.pgm", "--left", "1", "--right", "1"}, "shift: takes --left or --right, not both"},
        {{"shift", "a.pgm", "--left", "-1"}, "--left: -1 is out of range (bit counts from 0 to 4294967295)"},
        {{"mulscale", "a.pgm", "a.pgm", "--scale", "1"}, "mulscale: unknown option '--scale'"},
    };
    for (const auto& c : cases) {
        const ToolRun r = run(c.args);
        EXPECT_EQ(r.exitCode, 2) << c.args[0] << ": " << r.output;
        EXPECT_NE(r.output.find(c.message), std::string::npos) << r.output;
        EXPECT_NE(r.output.find("usage: ovkimg " + c.args[0]), std::string::npos) << r.output;
    }
}

// ---------------------------------------------------------------------------
// One image
// ---------------------------------------------------------------------------

TEST_F(Arithmetic, SquareRoot) {
    writePgm("a.pgm", {0, 1, 2, 4, 255, 6});
    EXPECT_EQ(result({"sqrt", "a.pgm"}), (Samples{0, 1, 1, 2, 16, 2}));
    // 16 * sqrt: 0, 16, 22.6, 32, 255.5 (just below: 255), 39.2.
    EXPECT_EQ(result({"sqrt", "a.pgm", "--scale", "-4"}), (Samples{0, 16, 23, 32, 255, 39}));

    write("a16.png", SampleType::U16, 3, {65535, 10000, 2});
    EXPECT_EQ(result({"sqrt", "a16.png"}), (Samples{256, 100, 1}));
}

TEST_F(Arithmetic, SquareRootOfFourChannelsKeepsTheAlpha) {
    write("rgba.png", SampleType::U8, 4, {16, 25, 100, 77, 0, 1, 255, 0});
    EXPECT_EQ(result({"sqrt", "rgba.png"}), (Samples{4, 5, 10, 77, 0, 1, 16, 0}));
    write("rgba16.png", SampleType::U16, 4, {65535, 4, 9, 1234});
    EXPECT_EQ(result({"sqrt", "rgba16.png", "--scale", "1"}), (Samples{128, 1, 2, 1234}));  // 1.5 -> 2
}

TEST_F(Arithmetic, Square) {
    writePgm("a.pgm", {3, 16, 255, 0});
    EXPECT_EQ(result({"sqr", "a.pgm"}), (Samples{9, 255, 255, 0}));
    EXPECT_EQ(result({"sqr", "a.pgm", "--scale", "8"}), (Samples{0, 1, 254, 0}));
    write("rgba16.png", SampleType::U16, 4, {3, 256, 255, 300});
    EXPECT_EQ(result({"sqr", "rgba16.png"}), (Samples{9, 65535, 65025, 65535}));
}

TEST_F(Arithmetic, NotIsForEightBitImages) {
    writePgm("a.pgm", {0, 1, 255, 170});
    EXPECT_EQ(result({"not", "a.pgm"}), (Samples{255, 254, 0, 85}));
    write("rgba.png", SampleType::U8, 4, {0, 10, 20, 200});
    EXPECT_EQ(result({"not", "rgba.png"}), (Samples{255, 245, 235, 55}));

    write("a16.png", SampleType::U16, 3, {1, 2, 3});
    const ToolRun r = run({"not", "a16.png", "-o", "fail.png"});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.output.find("not: no library function for 16u images of 3 channels (ovkiNot_16u_C3R does not exist"),
              std::string::npos)
        << r.output;
    EXPECT_FALSE(fs::exists(file("fail.png")));
}

TEST_F(Arithmetic, Shifts) {
    writePgm("a.pgm", {1, 128, 200, 255, 8, 7});
    EXPECT_EQ(result({"shift", "a.pgm", "--left", "1"}), (Samples{2, 0, 144, 254, 16, 14}));
    EXPECT_EQ(result({"shift", "a.pgm", "--right", "3"}), (Samples{0, 16, 25, 31, 1, 0}));
    EXPECT_EQ(result({"shift", "a.pgm", "--left", "8"}), (Samples{0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(result({"shift", "a.pgm", "--right", "0"}), (Samples{1, 128, 200, 255, 8, 7}));

    write("rgba16.png", SampleType::U16, 4, {0x8001, 0x00FF, 0xFFFF, 0x1234});
    EXPECT_EQ(result({"shift", "rgba16.png", "--left", "1,4,8"}), (Samples{0x0002, 0x0FF0, 0xFF00, 0x1234}));
    EXPECT_EQ(result({"shift", "rgba16.png", "--right", "4"}), (Samples{0x0800, 0x000F, 0x0FFF, 0x0123}));
    EXPECT_EQ(result({"shift", "rgba16.png", "--right", "16,0,1,2"}), (Samples{0, 0x00FF, 0x7FFF, 0x048D}));
}

// ---------------------------------------------------------------------------
// Without input files
// ---------------------------------------------------------------------------

// Two-image operations take the test image and its mirror image.
TEST_F(Arithmetic, TwoImageOperationsUseTheTestImageAndItsMirror) {
    writeImage(makeTestImage(512, 512, 3), file("a.png"));
    writeImage(makeMirroredTestImage(512, 512, 3), file("b.png"));
    for (const char* op : {"sub", "div", "xor"}) {
        SCOPED_TRACE(op);
        const Samples fromFiles = result({op, "a.png", "b.png"});
        const Samples builtIn = result({op});
        EXPECT_EQ(builtIn.size(), 512u * 512u * 3u);
        EXPECT_TRUE(builtIn == fromFiles);
    }
    const Image mirror = makeMirroredTestImage(512, 512, 3);
    const Image original = makeTestImage(512, 512, 3);
    EXPECT_EQ(mirror.row<Ovk8u>(100)[0], original.row<Ovk8u>(100)[511 * 3]);
    EXPECT_EQ(mirror.row<Ovk8u>(7)[3 * 20 + 2], original.row<Ovk8u>(7)[3 * 491 + 2]);

    const ToolRun help = run({"help", "add"});
    EXPECT_NE(help.output.find("test image mirrored left to right as the second"), std::string::npos) << help.output;
}

}  // namespace
}  // namespace ovkimg
