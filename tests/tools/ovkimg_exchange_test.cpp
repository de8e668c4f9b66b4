// Tests of ovkimg's mirror, transpose, swap, border, noise, ramp and jaehne
// operations: the tool is run on tiny image files of known samples and on the
// built-in test image, and its output files are read back and compared with
// values worked out by hand or with the library's own results.
#include "synthetic.hpp"
#include "tool_test.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace ovkimg {
namespace {

using namespace tooltest;

class Exchange : public ToolTest {
protected:
    // Runs the tool, which must fail with exit code `code` and print
    // `message`, and must write no out.png.
    void expectFailure(const std::vector<std::string>& args, int code, const std::string& message) const {
        std::vector<std::string> withOutput = args;
        withOutput.insert(withOutput.end(), {"-o", "out.png"});
        const ToolRun r = run(withOutput);
        EXPECT_EQ(r.exitCode, code) << r.output;
        EXPECT_NE(r.output.find(message), std::string::npos) << r.output;
        EXPECT_FALSE(exists("out.png"));
    }

    // The test image as a file, to compare built-in runs with.
    void writeTestImage(const std::string& name, int channels = 3) const {
        writeImage(makeTestImage(512, 512, channels), file(name));
    }
};

bool samePixels(const Image& a, const Image& b) {
    return a.describe() == b.describe() && samplesOf(a) == samplesOf(b);
}

// ---------------------------------------------------------------------------
// mirror
// ---------------------------------------------------------------------------

TEST_F(Exchange, MirrorAThreeByTwoImage) {
    writePgm("a.pgm", {1, 2, 3, 4, 5, 6}, 2);  // 1 2 3 / 4 5 6
    EXPECT_EQ(result({"mirror", "a.pgm", "--axis", "h"}), (Samples{4, 5, 6, 1, 2, 3}));  // upside down
    EXPECT_EQ(result({"mirror", "a.pgm", "--axis", "v"}), (Samples{3, 2, 1, 6, 5, 4}));  // left to right
    EXPECT_EQ(result({"mirror", "a.pgm", "--axis", "both"}), (Samples{6, 5, 4, 3, 2, 1}));

    const Image d45 = resultImage({"mirror", "a.pgm", "--axis", "d45"});
    EXPECT_EQ(d45.describe(), "2x3 8u C1");
    EXPECT_EQ(samplesOf(d45), (Samples{1, 4, 2, 5, 3, 6}));  // 1 4 / 2 5 / 3 6
    const Image d135 = resultImage({"mirror", "a.pgm", "--axis=d135"});
    EXPECT_EQ(d135.describe(), "2x3 8u C1");
    EXPECT_EQ(samplesOf(d135), (Samples{6, 3, 5, 2, 4, 1}));  // 6 3 / 5 2 / 4 1
}

TEST_F(Exchange, MirrorMovesWholePixels) {
    write("rgb.ppm", SampleType::U8, 3, {1, 2, 3, 4, 5, 6});
    EXPECT_EQ(result({"mirror", "rgb.ppm", "--axis", "v"}), (Samples{4, 5, 6, 1, 2, 3}));
    write("rgba16.png", SampleType::U16, 4, {1, 2, 3, 4, 50000, 6, 7, 8, 9, 10, 11, 65535}, 3);
    EXPECT_EQ(result({"mirror", "rgba16.png", "--axis", "h"}),
              (Samples{9, 10, 11, 65535, 50000, 6, 7, 8, 1, 2, 3, 4}));
}

TEST_F(Exchange, MirrorErrors) {
    writePgm("row.pgm", {1, 2, 3});
    expectFailure({"mirror", "row.pgm", "--axis", "x"}, 2, "mirror: --axis: 'x' is not an axis (h, v, both, d45 or d135)");
    expectFailure({"mirror", "row.pgm", "--axis", "H"}, 2, "--axis: 'H' is not an axis");
    expectFailure({"mirror", "row.pgm"}, 2, "mirror: needs --axis h|v|both|d45|d135");
    // A single row has nothing to turn upside down: the library refuses.
    expectFailure({"mirror", "row.pgm", "--axis", "h"}, 1, "mirror: library status -6 (ovkStatusSizeError)");
    EXPECT_EQ(result({"mirror", "row.pgm", "--axis", "v"}), (Samples{3, 2, 1}));
}

TEST_F(Exchange, MirrorOfTheTestImage) {
    // About the vertical axis, it is the second image of two-image operations.
    const Image mirrored = resultImage({"mirror", "--axis", "v"});
    EXPECT_TRUE(samePixels(mirrored, makeMirroredTestImage(512, 512, 3)));
    writeTestImage("test.png");
    const Image flipped = resultImage({"mirror", "--axis", "h"});
    EXPECT_EQ(flipped.describe(), "512x512 8u C3");
    const Image original = readImage(file("test.png"));
    EXPECT_EQ(flipped.row<Ovk8u>(0)[3 * 7 + 2], original.row<Ovk8u>(511)[3 * 7 + 2]);
    EXPECT_NE(samplesOf(flipped), samplesOf(original));
}

// ---------------------------------------------------------------------------
// transpose
// ---------------------------------------------------------------------------

TEST_F(Exchange, TransposeSwapsRowsAndColumns) {
    writePgm("a.pgm", {1, 2, 3, 4, 5, 6}, 2);
    const Image t = resultImage({"transpose", "a.pgm"});
    EXPECT_EQ(t.describe(), "2x3 8u C1");
    EXPECT_EQ(samplesOf(t), (Samples{1, 4, 2, 5, 3, 6}));

    write("rgb16.png", SampleType::U16, 3, {1, 2, 3, 400, 500, 65535});  // 2x1
    const Image column = resultImage({"transpose", "rgb16.png"});
    EXPECT_EQ(column.describe(), "1x2 16u C3");
    EXPECT_EQ(samplesOf(column), (Samples{1, 2, 3, 400, 500, 65535}));

    write("rgba.png", SampleType::U8, 4, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}, 2);  // 2x2
    EXPECT_EQ(result({"transpose", "rgba.png"}), (Samples{1, 2, 3, 4, 9, 10, 11, 12, 5, 6, 7, 8, 13, 14, 15, 16}));
}

TEST_F(Exchange, TransposeOfTheTestImageIsItsMirrorAboutTheMainDiagonal) {
    writeTestImage("test.png");
    const Image t = resultImage({"transpose"});
    EXPECT_TRUE(samePixels(t, resultImage({"mirror", "--axis", "d45"})));
    const Image original = readImage(file("test.png"));
    EXPECT_EQ(t.row<Ovk8u>(10)[3 * 300], original.row<Ovk8u>(300)[3 * 10]);
    EXPECT_EQ(t.row<Ovk8u>(500)[3 * 3 + 2], original.row<Ovk8u>(3)[3 * 500 + 2]);
    EXPECT_NE(samplesOf(t), samplesOf(original));  // the ramps run the other way
}

// ---------------------------------------------------------------------------
// swap
// ---------------------------------------------------------------------------

TEST_F(Exchange, SwapReordersChannels) {
    write("rgb.ppm", SampleType::U8, 3, {10, 20, 30, 40, 50, 60});
    EXPECT_EQ(result({"swap", "rgb.ppm", "--order", "2,1,0"}), (Samples{30, 20, 10, 60, 50, 40}));
    EXPECT_EQ(result({"swap", "rgb.ppm", "--order", "1,2,0"}), (Samples{20, 30, 10, 50, 60, 40}));
    EXPECT_EQ(result({"swap", "rgb.ppm", "--order", "0,0,0"}), (Samples{10, 10, 10, 40, 40, 40}));
    write("rgb16.png", SampleType::U16, 3, {1, 2, 65535});
    EXPECT_EQ(result({"swap", "rgb16.png", "--order", "2,1,0"}), (Samples{65535, 2, 1}));
}

TEST_F(Exchange, SwapOfFourChannels) {
    write("rgba.png", SampleType::U8, 4, {1, 2, 3, 4, 5, 6, 7, 8});
    // Three entries: the colour channels; the alpha is kept.
    EXPECT_EQ(result({"swap", "rgba.png", "--order", "2,1,0"}), (Samples{3, 2, 1, 4, 7, 6, 5, 8}));
    // Four from the colour channels: one call.
    EXPECT_EQ(result({"swap", "rgba.png", "--order", "2,1,0,0"}), (Samples{3, 2, 1, 1, 7, 6, 5, 5}));
    // The alpha as a source.
    EXPECT_EQ(result({"swap", "rgba.png", "--order", "3,1,2,0"}), (Samples{4, 2, 3, 1, 8, 6, 7, 5}));
    EXPECT_EQ(result({"swap", "rgba.png", "--order", "0,1,2,3"}), (Samples{1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(result({"swap", "rgba.png", "--order", "3,3,3,3"}), (Samples{4, 4, 4, 4, 8, 8, 8, 8}));
    write("rgba16.png", SampleType::U16, 4, {1000, 2000, 3000, 65535});
    EXPECT_EQ(result({"swap", "rgba16.png", "--order", "3,0,1,2"}), (Samples{65535, 1000, 2000, 3000}));
}

TEST_F(Exchange, SwapErrors) {
    write("rgb.ppm", SampleType::U8, 3, {10, 20, 30});
    write("rgba.png", SampleType::U8, 4, {1, 2, 3, 4});
    writePgm("gray.pgm", {1, 2});
    expectFailure({"swap", "rgb.ppm", "--order", "2,1,3"}, 1, "swap: library status -60 (ovkStatusChannelOrderError)");
    expectFailure({"swap", "rgb.ppm", "--order", "-1,1,0"}, 1, "ovkStatusChannelOrderError");
    expectFailure({"swap", "rgba.png", "--order", "0,1,4"}, 1, "ovkStatusChannelOrderError");
    expectFailure({"swap", "rgba.png", "--order", "3,1,4,0"}, 1, "ovkStatusChannelOrderError");
    expectFailure({"swap", "rgba.png", "--order", "3,1,2,4"}, 2, "--order: the fourth entry names the alpha's source");
    expectFailure({"swap", "rgb.ppm", "--order", "2,1"}, 2,
                  "--order takes 3 entries for an image of 3 channels, got 2");
    expectFailure({"swap", "rgba.png", "--order", "2,1"}, 2, "--order takes 3 or 4 entries");
    expectFailure({"swap", "rgb.ppm", "--order", "1.5,0,2"}, 2, "--order: 1.5 is not a channel number");
    expectFailure({"swap", "rgb.ppm"}, 2, "swap: needs --order");
    expectFailure({"swap", "gray.pgm", "--order", "0,0,0"}, 1, "swap: needs an image of 3 or 4 channels, got 2x1 8u C1");
}

TEST_F(Exchange, SwapOfTheTestImage) {
    writeTestImage("test.png");
    ASSERT_EQ(run({"swap", "--order", "2,1,0", "-o", "bgr.png"}).exitCode, 0);
    const Image original = readImage(file("test.png"));
    const Image bgr = readImage(file("bgr.png"));
    for (int y : {0, 100, 511}) {
        for (int x : {0, 257, 511}) {
            const Ovk8u* o = original.row<Ovk8u>(y) + 3 * x;
            const Ovk8u* s = bgr.row<Ovk8u>(y) + 3 * x;
            EXPECT_EQ((Samples{s[0], s[1], s[2]}), (Samples{o[2], o[1], o[0]})) << x << "," << y;
        }
    }
    EXPECT_TRUE(samePixels(resultImage({"swap", "bgr.png", "--order", "2,1,0"}), original));
}

// ---------------------------------------------------------------------------
// border
// ---------------------------------------------------------------------------

TEST_F(Exchange, ReplicateBorder) {
    writePgm("row.pgm", {1, 2, 3});
    EXPECT_EQ(result({"border", "row.pgm", "--type", "replicate", "--left", "2", "--right", "2"}),
              (Samples{1, 1, 1, 2, 3, 3, 3}));
    EXPECT_EQ(result({"border", "row.pgm", "--left", "2"}), (Samples{1, 1, 1, 2, 3, 3, 3}));  // right = left
    const Image framed = resultImage({"border", "row.pgm", "--top", "1", "--bottom", "0", "--left", "1", "--right", "0"});
    EXPECT_EQ(framed.describe(), "4x2 8u C1");
    EXPECT_EQ(samplesOf(framed), (Samples{1, 1, 2, 3, 1, 1, 2, 3}));

    write("rgb.ppm", SampleType::U8, 3, {1, 2, 3, 4, 5, 6}, 2);  // one column of two pixels
    const Image rgb = resultImage({"border", "rgb.ppm", "--top", "1", "--left", "1", "--bottom", "0", "--right", "0"});
    EXPECT_EQ(rgb.describe(), "2x3 8u C3");
    EXPECT_EQ(samplesOf(rgb), (Samples{1, 2, 3, 1, 2, 3, 1, 2, 3, 1, 2, 3, 4, 5, 6, 4, 5, 6}));
}

TEST_F(Exchange, ConstBorder) {
    writePgm("row.pgm", {1, 2, 3});
    const Image gray = resultImage({"border", "row.pgm", "--type", "const", "--top", "1", "--bottom", "0", "--left",
                                    "1", "--right", "2", "--value", "9"});
    EXPECT_EQ(gray.describe(), "6x2 8u C1");
    EXPECT_EQ(samplesOf(gray), (Samples{9, 9, 9, 9, 9, 9, 9, 1, 2, 3, 9, 9}));
    EXPECT_EQ(result({"border", "row.pgm", "--type", "const", "--left", "1"}), (Samples{0, 1, 2, 3, 0}));  // black

    write("rgb16.png", SampleType::U16, 3, {1, 2, 3});
    EXPECT_EQ(result({"border", "rgb16.png", "--type", "const", "--left", "1", "--right", "0", "--value",
                      "65535,7,0"}),
              (Samples{65535, 7, 0, 1, 2, 3}));
    write("rgba.png", SampleType::U8, 4, {1, 2, 3, 4});
    EXPECT_EQ(result({"border", "rgba.png", "--type", "const", "--left", "1", "--right", "0", "--value", "5,6,7"}),
              (Samples{5, 6, 7, 255, 1, 2, 3, 4}));  // three values: an opaque border
    EXPECT_EQ(result({"border", "rgba.png", "--type", "const", "--left", "1", "--right", "0", "--value", "5"}),
              (Samples{5, 5, 5, 5, 1, 2, 3, 4}));
    EXPECT_EQ(result({"border", "rgba.png", "--type", "const", "--left", "0", "--right", "1"}),
              (Samples{1, 2, 3, 4, 0, 0, 0, 255}));
}

TEST_F(Exchange, WrapBorderOfEveryLayout) {
    writePgm("row.pgm", {1, 2, 3});
    EXPECT_EQ(result({"border", "row.pgm", "--type", "wrap", "--left", "2", "--right", "4"}),
              (Samples{2, 3, 1, 2, 3, 1, 2, 3, 1}));
    writePgm("square.pgm", {1, 2, 3, 4}, 2);  // 1 2 / 3 4
    const Image square = resultImage({"border", "square.pgm", "--type", "wrap", "--top", "1", "--left", "1",
                                      "--right", "0"});
    EXPECT_EQ(square.describe(), "3x4 8u C1");
    EXPECT_EQ(samplesOf(square), (Samples{4, 3, 4, 2, 1, 2, 4, 3, 4, 2, 1, 2}));
    // 16-bit samples go through 32 bits and back unchanged; channels stay apart.
    write("rgb16.png", SampleType::U16, 3, {65535, 300, 1, 2, 40000, 0});
    EXPECT_EQ(result({"border", "rgb16.png", "--type", "wrap", "--left", "1", "--right", "0"}),
              (Samples{2, 40000, 0, 65535, 300, 1, 2, 40000, 0}));
    write("rgba.png", SampleType::U8, 4, {1, 2, 3, 4, 5, 6, 7, 8});
    EXPECT_EQ(result({"border", "rgba.png", "--type", "wrap", "--left", "0", "--right", "1"}),
              (Samples{1, 2, 3, 4, 5, 6, 7, 8, 1, 2, 3, 4}));
}

TEST_F(Exchange, BorderErrors) {
    writePgm("row.pgm", {1, 2, 3});
    // Negative borders go to the library, which refuses them.
    expectFailure({"border", "row.pgm", "--left", "-1"}, 1, "border: library status -6 (ovkStatusSizeError)");
    expectFailure({"border", "row.pgm", "--top", "-1", "--bottom", "3"}, 1, "ovkStatusSizeError");
    expectFailure({"border", "row.pgm", "--left", "1", "--right", "-1"}, 1, "ovkStatusSizeError");
    expectFailure({"border", "row.pgm", "--left", "-5"}, 1, "ovkStatusSizeError");  // no pixel left
    expectFailure({"border", "row.pgm", "--type", "wrap", "--top", "-1"}, 1, "ovkStatusSizeError");
    expectFailure({"border", "row.pgm", "--type", "const", "--value", "1", "--right", "-2"}, 1,
                  "ovkStatusSizeError");
    expectFailure({"border", "row.pgm", "--type", "mirror"}, 2,
                  "--type: 'mirror' is not a border type (replicate, const or wrap)");
    expectFailure({"border", "row.pgm", "--value", "3"}, 2, "--value is for --type const");
    expectFailure({"border", "row.pgm", "--type", "const", "--value", "256"}, 2,
                  "--value: 256 is out of range (whole numbers from 0 to 255 for 8u images)");
    expectFailure({"border", "row.pgm", "--type", "const", "--value", "1,2,3"}, 2,
                  "--value takes 1 value for an image of 1 channel, got 3");
    expectFailure({"border", "row.pgm", "--top", "x"}, 2, "--top: 'x' is not a whole number");
}

TEST_F(Exchange, BorderOfTheTestImage) {
    writeTestImage("test.png");
    const Image none = resultImage({"border"});  // no border: the image itself
    EXPECT_TRUE(samePixels(none, readImage(file("test.png"))));
    for (const char* type : {"replicate", "const", "wrap"}) {
        SCOPED_TRACE(type);
        const Image framed = resultImage({"border", "--type", type, "--top", "3", "--left", "600", "--bottom", "0",
                                          "--right", "1"});
        ASSERT_EQ(framed.describe(), "1113x515 8u C3");
        const Image original = readImage(file("test.png"));
        for (int y = 0; y < 512; y += 73) {  // the image itself at (600, 3)
            const Ovk8u* o = original.row<Ovk8u>(y);
            const Ovk8u* f = framed.row<Ovk8u>(y + 3) + 3 * 600;
            EXPECT_TRUE(std::equal(o, o + 3 * 512, f)) << "row " << y;
        }
        // The top left pixel: the image's own (replicate), black (const), or
        // pixel (-600, -3) wrapped: (424, 509).
        const Ovk8u* corner = framed.row<Ovk8u>(0);
        Samples expected = {0, 0, 0};
        if (std::string(type) == "replicate") {
            const Ovk8u* p = original.row<Ovk8u>(0);
            expected = {p[0], p[1], p[2]};
        } else if (std::string(type) == "wrap") {
            const Ovk8u* p = original.row<Ovk8u>(509) + 3 * 424;
            expected = {p[0], p[1], p[2]};
        }
        EXPECT_EQ((Samples{corner[0], corner[1], corner[2]}), expected);
    }
}

// ---------------------------------------------------------------------------
// noise
// ---------------------------------------------------------------------------

TEST_F(Exchange, UniformNoiseOfOneValueAddsIt) {
    writePgm("a.pgm", {0, 100, 245, 250, 255});
    EXPECT_EQ(result({"noise", "a.pgm", "--low", "10", "--high", "10"}), (Samples{10, 110, 255, 255, 255}));
    EXPECT_EQ(result({"noise", "a.pgm", "--kind", "uniform", "--low", "0", "--high", "0"}),
              (Samples{0, 100, 245, 250, 255}));
    // Gaussian noise of no spread adds the mean.
    EXPECT_EQ(result({"noise", "a.pgm", "--kind", "gauss", "--mean", "7", "--stddev", "0"}),
              (Samples{7, 107, 252, 255, 255}));
    write("rgba16.png", SampleType::U16, 4, {0, 1000, 65000, 77});
    EXPECT_EQ(result({"noise", "rgba16.png", "--low", "1000", "--high", "1000"}),
              (Samples{1000, 2000, 65535, 77}));  // the alpha is kept
}

TEST_F(Exchange, NoiseDependsOnTheSeedOnly) {
    writeTestImage("test.png");
    for (const std::vector<std::string>& kind : {std::vector<std::string>{"--high", "40"},
                                                std::vector<std::string>{"--kind", "gauss", "--stddev", "9"}}) {
        auto noise = [&](const std::string& seed, const std::vector<std::string>& input) {
            std::vector<std::string> args = {"noise", "--seed", seed};
            args.insert(args.end(), input.begin(), input.end());
            args.insert(args.end(), kind.begin(), kind.end());
            return result(args);
        };
        const Samples first = noise("42", {});
        EXPECT_EQ(first.size(), 512u * 512u * 3u);
        EXPECT_EQ(first, noise("42", {}));
        EXPECT_EQ(first, noise("42", {"test.png"}));  // the built-in image is the test image
        EXPECT_NE(first, noise("43", {}));
        EXPECT_NE(first, samplesOf(readImage(file("test.png"))));
    }
    // Without --seed: seed 1.
    EXPECT_EQ(result({"noise", "--high", "40"}), result({"noise", "--high", "40", "--seed", "1"}));
}

// The tool adds noise to the colour channels one by one, red first, and the
// seed carries on: the library's own calls on the channels give the same.
TEST_F(Exchange, NoiseGoesThroughTheChannelsWithOneGenerator) {
    const int width = 37, height = 5;
    Samples rgb;
    for (int i = 0; i < width * height; ++i) rgb.insert(rgb.end(), {i % 200, 50, 255 - i % 256, 123});
    write("rgba.png", SampleType::U8, 4, rgb, height);
    const Samples tool = result({"noise", "rgba.png", "--kind", "gauss", "--mean", "3", "--stddev", "20",
                                 "--seed", "2024"});
    ASSERT_EQ(tool.size(), rgb.size());

    Samples expected = rgb;
    unsigned int seed = 2024;
    Image plane(SampleType::U8, 1, width, height);
    for (int c = 0; c < 3; ++c) {
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) plane.row<Ovk8u>(y)[x] = Ovk8u(rgb[(y * width + x) * 4 + c]);
        }
        ASSERT_EQ(ovkiAddRandGauss_Direct_8u_C1IR(plane.data<Ovk8u>(), plane.step(), plane.size(), 3, 20, &seed),
                  ovkStatusOk);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) expected[(y * width + x) * 4 + c] = plane.row<Ovk8u>(y)[x];
        }
    }
    EXPECT_EQ(tool, expected);
    // Red and green get different noise.
    bool differ = false;
    for (int i = 0; i < width * height; ++i) differ |= tool[i * 4] - rgb[i * 4] != tool[i * 4 + 1] - rgb[i * 4 + 1];
    EXPECT_TRUE(differ);
}

TEST_F(Exchange, NoiseErrors) {
    writePgm("a.pgm", {1, 2});
    expectFailure({"noise", "a.pgm"}, 2, "noise: --kind uniform needs --high");
    expectFailure({"noise", "a.pgm", "--kind", "gauss"}, 2, "--kind gauss needs --stddev");
    expectFailure({"noise", "a.pgm", "--kind", "pink", "--high", "3"}, 2, "--kind: 'pink' is not uniform or gauss");
    expectFailure({"noise", "a.pgm", "--high", "3", "--stddev", "2"}, 2, "--stddev is for --kind gauss");
    expectFailure({"noise", "a.pgm", "--kind", "gauss", "--stddev", "2", "--low", "1"}, 2,
                  "--low is for --kind uniform");
    expectFailure({"noise", "a.pgm", "--high", "256"}, 2,
                  "--high: 256 is out of range (whole numbers from 0 to 255 for 8u images)");
    expectFailure({"noise", "a.pgm", "--high", "-1"}, 2, "--high: -1 is out of range");
    expectFailure({"noise", "a.pgm", "--high", "3", "--seed", "4294967296"}, 2, "--seed: 4294967296 is out of range");
    expectFailure({"noise", "a.pgm", "--high", "3", "--seed", "one"}, 2, "--seed: 'one' is not a number");
}

// ---------------------------------------------------------------------------
// ramp, jaehne
// ---------------------------------------------------------------------------

TEST_F(Exchange, Ramps) {
    const std::vector<std::string> size = {"--width", "4", "--height", "2", "--offset", "10", "--slope", "20"};
    auto ramp = [&](const std::vector<std::string>& args) {  // a later option wins
        std::vector<std::string> all = {"ramp"};
        all.insert(all.end(), size.begin(), size.end());
        all.insert(all.end(), args.begin(), args.end());
        return resultImage(all);
    };
    const Image x = ramp({"--axis", "0"});
    EXPECT_EQ(x.describe(), "4x2 8u C1");
    EXPECT_EQ(samplesOf(x), (Samples{10, 30, 50, 70, 10, 30, 50, 70}));
    EXPECT_EQ(samplesOf(ramp({})), samplesOf(x));  // --axis 0 is the default
    EXPECT_EQ(samplesOf(ramp({"--axis", "1"})), (Samples{10, 10, 10, 10, 30, 30, 30, 30}));
    EXPECT_EQ(samplesOf(ramp({"--axis", "2"})), (Samples{10, 10, 10, 10, 10, 30, 50, 70}));
    EXPECT_EQ(samplesOf(ramp({"--slope", "100"})), (Samples{10, 110, 210, 255, 10, 110, 210, 255}));  // clamped
    EXPECT_EQ(samplesOf(ramp({"--offset", "-15"})), (Samples{0, 5, 25, 45, 0, 5, 25, 45}));
    EXPECT_EQ(samplesOf(ramp({"--offset", "0.5", "--slope", "1"})), (Samples{1, 2, 3, 4, 1, 2, 3, 4}));  // half up

    const Image rgba = ramp({"--channels", "4", "--depth", "16"});
    EXPECT_EQ(rgba.describe(), "4x2 16u C4");
    const Samples rgbaSamples = samplesOf(rgba);
    EXPECT_EQ((Samples(rgbaSamples.begin(), rgbaSamples.begin() + 8)), (Samples{10, 10, 10, 65535, 30, 30, 30, 65535}));

    // Without --slope: the whole range across the image.
    EXPECT_EQ(result({"ramp", "--width", "3", "--height", "1"}), (Samples{0, 128, 255}));  // 127.5 rounds up
    EXPECT_EQ(result({"ramp", "--width", "2", "--height", "2", "--axis", "1", "--depth", "16"}),
              (Samples{0, 0, 65535, 65535}));
    const Image big = resultImage({"ramp"});
    EXPECT_EQ(big.describe(), "512x512 8u C1");
    EXPECT_EQ(big.row<Ovk8u>(9)[0], 0);
    EXPECT_EQ(big.row<Ovk8u>(9)[511], 255);
}

TEST_F(Exchange, ZonePlateIsTheLibrarys) {
    for (const int depth : {8, 16}) {
        SCOPED_TRACE(depth);
        const Image plate = resultImage({"jaehne", "--width", "9", "--height", "7", "--depth", std::to_string(depth)});
        ASSERT_EQ(plate.describe(), std::string("9x7 ") + (depth == 8 ? "8u" : "16u") + " C1");
        Image expected(depth == 8 ? SampleType::U8 : SampleType::U16, 1, 9, 7);
        if (depth == 8) {
            ASSERT_EQ(ovkiImageJaehne_8u_C1R(expected.data<Ovk8u>(), expected.step(), expected.size()), ovkStatusOk);
        } else {
            ASSERT_EQ(ovkiImageJaehne_16u_C1R(expected.data<Ovk16u>(), expected.step(), expected.size()),
                      ovkStatusOk);
        }
        EXPECT_TRUE(samePixels(plate, expected));
    }
    // The centre of an odd size is the crest: sin(0) = 0 maps to the middle.
    EXPECT_EQ(samplesOf(resultImage({"jaehne", "--width", "3", "--height", "3"}))[4], 128);
    const Samples rgb = result({"jaehne", "--width", "5", "--height", "4", "--channels", "3"});
    const Samples gray = result({"jaehne", "--width", "5", "--height", "4"});
    ASSERT_EQ(rgb.size(), 3 * gray.size());
    for (std::size_t i = 0; i < gray.size(); ++i) {
        EXPECT_EQ((Samples{rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2]}), (Samples{gray[i], gray[i], gray[i]}));
    }
}

TEST_F(Exchange, GeneratorErrors) {
    writePgm("a.pgm", {1});
    expectFailure({"ramp", "a.pgm"}, 2, "ramp: takes no input files");
    expectFailure({"ramp", "--axis", "3"}, 2, "--axis must be 0 (along x), 1 (along y) or 2 (along x * y)");
    expectFailure({"ramp", "--width", "0"}, 2, "--width and --height must be at least 1");
    expectFailure({"jaehne", "--height", "-4"}, 2, "--width and --height must be at least 1");
    expectFailure({"jaehne", "--depth", "12"}, 2, "--depth must be 8 or 16");
    expectFailure({"jaehne", "--channels", "2"}, 2, "--channels must be 1, 3 or 4");
    expectFailure({"ramp", "--slope", "steep"}, 2, "--slope: 'steep' is not a number");
}

}  // namespace
}  // namespace ovkimg
