// Tests of ovkimg's building blocks: image files of every kind the reader
// accepts, the writer, the test image, the options and the status names.
#include "image_io.hpp"
#include "options.hpp"
#include "status.hpp"
#include "synthetic.hpp"

#include <gtest/gtest.h>
#include <png.h>

#include <csetjmp>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>
#include <unistd.h>

namespace ovkimg {
namespace {

namespace fs = std::filesystem;

// ---------------------------------------------------------------------------
// Helpers
// ---------------------------------------------------------------------------

// A PNG to write byte for byte: rows are given as PNG stores them (16-bit
// samples most significant byte first, low bit depths packed).
struct RawPng {
    int width = 0;
    int height = 0;
    int bitDepth = 8;
    int colorType = PNG_COLOR_TYPE_GRAY;
    bool interlaced = false;
    std::vector<png_color> palette = {};
    std::vector<png_byte> paletteAlpha = {};  // tRNS of a palette image
    bool colourKey = false;              // tRNS of a gray or RGB image ...
    png_color_16 key = {};               // ... and its value
    std::vector<std::vector<png_byte>> rows = {};
};

bool writeRawPngTo(std::FILE* file, const RawPng& p, png_bytepp rows) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        return false;
    }
    png_init_io(png, file);
    png_set_IHDR(png, info, p.width, p.height, p.bitDepth, p.colorType,
                 p.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    if (!p.palette.empty()) png_set_PLTE(png, info, p.palette.data(), int(p.palette.size()));
    if (!p.paletteAlpha.empty()) png_set_tRNS(png, info, p.paletteAlpha.data(), int(p.paletteAlpha.size()), nullptr);
    if (p.colourKey) png_set_tRNS(png, info, nullptr, 0, &p.key);
    png_write_info(png, info);
    png_write_image(png, rows);
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return true;
}

void writeRawPng(const fs::path& path, const RawPng& p) {
    std::vector<png_bytep> rows;
    for (const auto& row : p.rows) rows.push_back(const_cast<png_bytep>(row.data()));
    std::FILE* file = std::fopen(path.c_str(), "wb");
    ASSERT_NE(file, nullptr);
    const bool ok = writeRawPngTo(file, p, rows.data());
    std::fclose(file);
    ASSERT_TRUE(ok);
}

void writeBytes(const fs::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

std::string readBytes(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// The message of the runtime_error that `f` throws; "" when it throws none.
template <class F>
std::string errorOf(F f) {
    try {
        f();
    } catch (const std::runtime_error& e) {
        return e.what();
    }
    return "";
}

std::vector<int> samples(const Image& image, int y) {
    std::vector<int> out;
    for (int i = 0; i < image.width() * image.channels(); ++i) {
        out.push_back(image.type() == SampleType::U8 ? image.row<Ovk8u>(y)[i] : image.row<Ovk16u>(y)[i]);
    }
    return out;
}

bool samePixels(const Image& a, const Image& b) {
    if (a.type() != b.type() || a.channels() != b.channels() || a.width() != b.width() || a.height() != b.height()) {
        return false;
    }
    for (int y = 0; y < a.height(); ++y) {
        if (samples(a, y) != samples(b, y)) return false;
    }
    return true;
}

// An image of the given layout whose samples all differ from their neighbours.
Image pattern(SampleType type, int channels, int width, int height) {
    Image image(type, channels, width, height);
    for (int y = 0; y < height; ++y) {
        for (int i = 0; i < width * channels; ++i) {
            const unsigned v = unsigned(y * 7919 + i * 104729 + 12345);
            if (type == SampleType::U8) {
                image.row<Ovk8u>(y)[i] = Ovk8u(v);
            } else {
                image.row<Ovk16u>(y)[i] = Ovk16u(v * 31);
            }
        }
    }
    return image;
}

class ImageFiles : public ::testing::Test {
protected:
    void SetUp() override {
        const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
        dir_ = fs::temp_directory_path() /
               ("ovkimg_test_" + std::to_string(::getpid()) + "_" + test->name());
        fs::create_directories(dir_);
    }
    void TearDown() override { fs::remove_all(dir_); }
    std::string file(const std::string& name) const { return (dir_ / name).string(); }

private:
    fs::path dir_;
};

// ---------------------------------------------------------------------------
// PNG variants
// ---------------------------------------------------------------------------

TEST_F(ImageFiles, PalettePngIsReadAsRgb) {
    RawPng p{.width = 3, .height = 1, .colorType = PNG_COLOR_TYPE_PALETTE};
    p.palette = {{10, 20, 30}, {40, 50, 60}, {70, 80, 90}};
    p.rows = {{2, 0, 1}};
    writeRawPng(file("p.png"), p);
    const Image image = readImage(file("p.png"));
    EXPECT_EQ(image.describe(), "3x1 8u C3");
    EXPECT_EQ(samples(image, 0), (std::vector<int>{70, 80, 90, 10, 20, 30, 40, 50, 60}));
}

TEST_F(ImageFiles, PalettePngWithTransparencyIsReadAsRgba) {
    RawPng p{.width = 2, .height = 1, .colorType = PNG_COLOR_TYPE_PALETTE};
    p.palette = {{1, 2, 3}, {4, 5, 6}};
    p.paletteAlpha = {0};  // entry 0 transparent, the rest opaque
    p.rows = {{0, 1}};
    writeRawPng(file("p.png"), p);
    const Image image = readImage(file("p.png"));
    EXPECT_EQ(image.describe(), "2x1 8u C4");
    EXPECT_EQ(samples(image, 0), (std::vector<int>{1, 2, 3, 0, 4, 5, 6, 255}));
}

TEST_F(ImageFiles, FourBitPalettePngIsExpanded) {
    RawPng p{.width = 3, .height = 1, .bitDepth = 4, .colorType = PNG_COLOR_TYPE_PALETTE};
    for (int i = 0; i < 16; ++i) p.palette.push_back({png_byte(i), png_byte(16 * i), png_byte(255 - i)});
    p.rows = {{0xF3, 0x70}};  // indices 15, 3, 7
    writeRawPng(file("p.png"), p);
    const Image image = readImage(file("p.png"));
    EXPECT_EQ(image.describe(), "3x1 8u C3");
    EXPECT_EQ(samples(image, 0), (std::vector<int>{15, 240, 240, 3, 48, 252, 7, 112, 248}));
}

TEST_F(ImageFiles, OneBitGrayPngIsScaledToEightBits) {
    RawPng p{.width = 10, .height = 1, .bitDepth = 1};
    p.rows = {{0b10110000, 0b01000000}};
    writeRawPng(file("g.png"), p);
    const Image image = readImage(file("g.png"));
    EXPECT_EQ(image.describe(), "10x1 8u C1");
    EXPECT_EQ(samples(image, 0), (std::vector<int>{255, 0, 255, 255, 0, 0, 0, 0, 0, 255}));
}

TEST_F(ImageFiles, GrayAlphaPngIsReadAsRgba) {
    RawPng p{.width = 2, .height = 1, .colorType = PNG_COLOR_TYPE_GRAY_ALPHA};
    p.rows = {{100, 200, 7, 0}};
    writeRawPng(file("ga.png"), p);
    const Image image = readImage(file("ga.png"));
    EXPECT_EQ(image.describe(), "2x1 8u C4");
    EXPECT_EQ(samples(image, 0), (std::vector<int>{100, 100, 100, 200, 7, 7, 7, 0}));
}

TEST_F(ImageFiles, SixteenBitGrayAlphaPngIsReadAsRgba) {
    RawPng p{.width = 1, .height = 1, .bitDepth = 16, .colorType = PNG_COLOR_TYPE_GRAY_ALPHA};
    p.rows = {{0x12, 0x34, 0xAB, 0xCD}};
    writeRawPng(file("ga.png"), p);
    const Image image = readImage(file("ga.png"));
    EXPECT_EQ(image.describe(), "1x1 16u C4");
    EXPECT_EQ(samples(image, 0), (std::vector<int>{0x1234, 0x1234, 0x1234, 0xABCD}));
}

TEST_F(ImageFiles, GrayColourKeyBecomesAlpha) {
    RawPng p{.width = 3, .height = 1};
    p.colourKey = true;
    p.key.gray = 50;
    p.rows = {{49, 50, 51}};
    writeRawPng(file("k.png"), p);
    const Image image = readImage(file("k.png"));
    EXPECT_EQ(image.describe(), "3x1 8u C4");
    EXPECT_EQ(samples(image, 0), (std::vector<int>{49, 49, 49, 255, 50, 50, 50, 0, 51, 51, 51, 255}));
}

TEST_F(ImageFiles, InterlacedSixteenBitRgbPngKeepsSamples) {
    RawPng p{.width = 9, .height = 7, .bitDepth = 16, .colorType = PNG_COLOR_TYPE_RGB, .interlaced = true};
    for (int y = 0; y < p.height; ++y) {
        std::vector<png_byte> row;
        for (int i = 0; i < p.width * 3; ++i) {
            const int v = y * 1000 + i * 37 + 40000;
            row.push_back(png_byte(v >> 8));
            row.push_back(png_byte(v & 0xFF));
        }
        p.rows.push_back(row);
    }
    writeRawPng(file("i.png"), p);
    const Image image = readImage(file("i.png"));
    ASSERT_EQ(image.describe(), "9x7 16u C3");
    for (int y = 0; y < p.height; ++y) {
        for (int i = 0; i < p.width * 3; ++i) EXPECT_EQ(image.row<Ovk16u>(y)[i], y * 1000 + i * 37 + 40000);
    }
}

TEST_F(ImageFiles, DamagedPngIsRejected) {
    writeImage(pattern(SampleType::U8, 3, 40, 30), file("ok.png"));
    const std::string bytes = readBytes(file("ok.png"));

    writeBytes(file("short.png"), bytes.substr(0, bytes.size() / 2));
    EXPECT_NE(errorOf([&] { readImage(file("short.png")); }).find("corrupt or truncated PNG"), std::string::npos);

    std::string flipped = bytes;
    flipped[bytes.size() / 2] ^= 0x40;  // inside the image data: a CRC error
    writeBytes(file("crc.png"), flipped);
    EXPECT_NE(errorOf([&] { readImage(file("crc.png")); }).find("corrupt or truncated PNG"), std::string::npos);
}

// ---------------------------------------------------------------------------
// PGM / PPM
// ---------------------------------------------------------------------------

TEST_F(ImageFiles, PnmHeaderMayHoldComments) {
    writeBytes(file("c.pgm"), "P5 # size next\n# a full comment line\n3\n2 # maxval\n255\nabcdef");
    const Image image = readImage(file("c.pgm"));
    EXPECT_EQ(image.describe(), "3x2 8u C1");
    EXPECT_EQ(samples(image, 1), (std::vector<int>{'d', 'e', 'f'}));
}

TEST_F(ImageFiles, PnmSamplesAreKeptAsStored) {
    writeBytes(file("m.ppm"), std::string("P6\n1 1\n1000\n\x03\xE8\x00\x01\x01\x00", 18));
    const Image wide = readImage(file("m.ppm"));
    EXPECT_EQ(wide.describe(), "1x1 16u C3");
    EXPECT_EQ(samples(wide, 0), (std::vector<int>{1000, 1, 256}));

    writeBytes(file("m.pgm"), "P5\n2 1\n100\n\x05\x64");
    const Image narrow = readImage(file("m.pgm"));
    EXPECT_EQ(narrow.describe(), "2x1 8u C1");
    EXPECT_EQ(samples(narrow, 0), (std::vector<int>{5, 100}));
}

TEST_F(ImageFiles, SixteenBitPnmIsWrittenMostSignificantByteFirst) {
    Image image(SampleType::U16, 1, 2, 1);
    image.row<Ovk16u>(0)[0] = 0x0102;
    image.row<Ovk16u>(0)[1] = 0xFFFE;
    writeImage(image, file("w.pgm"));
    EXPECT_EQ(readBytes(file("w.pgm")), std::string("P5\n2 1\n65535\n\x01\x02\xFF\xFE"));
}

// ---------------------------------------------------------------------------
// Round trips, errors, output checks
// ---------------------------------------------------------------------------

TEST_F(ImageFiles, EveryLayoutSurvivesEveryFormatThatHoldsIt) {
    for (SampleType type : {SampleType::U8, SampleType::U16}) {
        for (int channels : {1, 3, 4}) {
            const Image original = pattern(type, channels, 37, 5);  // rows padded in memory
            std::vector<std::string> names = {"x.png", "X.PNG"};
            if (channels == 1) names.insert(names.end(), {"x.pgm", "x.pnm"});
            if (channels == 3) names.insert(names.end(), {"x.ppm", "x.pnm"});
            for (const std::string& name : names) {
                SCOPED_TRACE(original.describe() + " as " + name);
                writeImage(original, file(name));
                EXPECT_TRUE(samePixels(readImage(file(name)), original));
            }
        }
    }
}

TEST_F(ImageFiles, ReadErrorsNameFileAndProblem) {
    EXPECT_EQ(errorOf([&] { readImage(file("none.png")); }),
              "cannot open '" + file("none.png") + "': No such file or directory");
    writeBytes(file("empty.ppm"), "");
    EXPECT_EQ(errorOf([&] { readImage(file("empty.ppm")); }), "'" + file("empty.ppm") + "': empty file");
    writeBytes(file("j.png"), "\xFF\xD8\xFF\xE0 not really");
    EXPECT_NE(errorOf([&] { readImage(file("j.png")); }).find("unsupported format JPEG"), std::string::npos);
    writeBytes(file("huge.pgm"), "P5\n100000 100000\n255\n");
    EXPECT_NE(errorOf([&] { readImage(file("huge.pgm")); }).find("unsupported image size"), std::string::npos);
}

TEST_F(ImageFiles, FailedWriteLeavesExistingFileAlone) {
    writeBytes(file("keep.pgm"), "precious");
    EXPECT_NE(errorOf([&] { writeImage(pattern(SampleType::U8, 3, 4, 4), file("keep.pgm")); })
                  .find("PGM holds 1 channel, the image has 3"),
              std::string::npos);
    EXPECT_EQ(readBytes(file("keep.pgm")), "precious");

    EXPECT_NE(errorOf([&] { checkOutputPath(file("a.tif")); }).find("unsupported output format '.tif'"),
              std::string::npos);
    EXPECT_NE(errorOf([&] { checkOutputPath(file("dir.png/noext")); }).find("no file extension"), std::string::npos);
    EXPECT_NO_THROW(checkOutputPath(file("a.Pnm")));
}

// ---------------------------------------------------------------------------
// Conversions and the test image
// ---------------------------------------------------------------------------

TEST(Conversions, EightToSixteenToEightBitsIsExact) {
    const Image original = pattern(SampleType::U8, 3, 70, 3);
    const Image wide = convertType(original, SampleType::U16);
    EXPECT_EQ(wide.row<Ovk16u>(0)[0], original.row<Ovk8u>(0)[0] * 257);
    EXPECT_TRUE(samePixels(convertType(wide, SampleType::U8), original));
}

TEST(Conversions, Channels) {
    Image rgb(SampleType::U8, 3, 1, 1);
    Ovk8u* px = rgb.row<Ovk8u>(0);
    px[0] = 200, px[1] = 100, px[2] = 50;
    EXPECT_EQ(samples(convertChannels(rgb, 1), 0), (std::vector<int>{124}));  // .299*200 + .587*100 + .114*50
    EXPECT_EQ(samples(convertChannels(rgb, 4), 0), (std::vector<int>{200, 100, 50, 255}));
    EXPECT_EQ(samples(convertChannels(convertChannels(rgb, 4), 3), 0), (std::vector<int>{200, 100, 50}));
    const Image gray = convertChannels(convertType(rgb, SampleType::U16), 1);
    EXPECT_EQ(samples(convertChannels(gray, 4), 0), (std::vector<int>{31919, 31919, 31919, 65535}));
}

TEST(TestImage, IsDeterministicAndVaried) {
    const Image a = makeTestImage(512, 512, 3);
    const Image b = makeTestImage(512, 512, 3);
    EXPECT_EQ(a.describe(), "512x512 8u C3");
    EXPECT_TRUE(samePixels(a, b));
    int lowest[3] = {255, 255, 255}, highest[3] = {0, 0, 0};
    for (int y = 0; y < a.height(); ++y) {
        const std::vector<int> row = samples(a, y);
        for (std::size_t i = 0; i < row.size(); ++i) {
            lowest[i % 3] = std::min(lowest[i % 3], row[i]);
            highest[i % 3] = std::max(highest[i % 3], row[i]);
        }
    }
    for (int c = 0; c < 3; ++c) {
        EXPECT_LE(lowest[c], 5) << "channel " << c;
        EXPECT_GE(highest[c], 250) << "channel " << c;
    }
}

// The library's generators make the channels: ramps and the zone plate.
TEST(TestImage, IsMadeOfRampsAndTheZonePlate) {
    const int w = 64, h = 48;
    const Image rgb = makeTestImage(w, h, 3);
    Image plate(SampleType::U8, 1, w, h);
    ASSERT_EQ(ovkiImageJaehne_8u_C1R(plate.data<Ovk8u>(), plate.step(), plate.size()), ovkStatusOk);
    Image red(SampleType::U8, 1, w, h);
    for (int y = 0; y < h; ++y) {
        const Ovk8u* px = rgb.row<Ovk8u>(y);
        for (int x = 0; x < w; ++x) {
            red.row<Ovk8u>(y)[x] = px[3 * x];
            EXPECT_EQ(px[3 * x], rgb.row<Ovk8u>(0)[3 * x]) << "red is the same in every row";
            EXPECT_EQ(px[3 * x + 1], plate.row<Ovk8u>(y)[x]) << "green at " << x << "," << y;
        }
    }
    const Ovk8u* top = rgb.row<Ovk8u>(0);
    const Ovk8u* bottom = rgb.row<Ovk8u>(h - 1);
    EXPECT_EQ(top[0], 0);                   // red: 0 at the left edge ...
    EXPECT_EQ(top[3 * (w - 1)], 255);       // ... 255 at the right one
    EXPECT_EQ(top[3 * 21], 85);             // 255 * 21 / 63
    EXPECT_EQ(top[3 * (w - 1) + 2], 255);   // blue: 255 along the top ...
    EXPECT_EQ(bottom[2], 255);              // ... and the left edge,
    EXPECT_EQ(bottom[3 * (w - 1) + 2], 0);  // 0 in the bottom right corner
    EXPECT_EQ(rgb.row<Ovk8u>(24)[3 * 32 + 2], 189);  // 255 - 255 * 32 * 24 / (63 * 47) = 188.86

    // One channel: the zone plate times the red ramp, normalised.
    const Image gray = makeTestImage(w, h, 1);
    EXPECT_EQ(gray.describe(), "64x48 8u C1");
    Image expected(SampleType::U8, 1, w, h);
    ASSERT_EQ(ovkiMulScale_8u_C1R(plate.data<Ovk8u>(), plate.step(), red.data<Ovk8u>(), red.step(),
                                  expected.data<Ovk8u>(), expected.step(), expected.size()),
              ovkStatusOk);
    EXPECT_TRUE(samePixels(gray, expected));
    for (int y = 0; y < h; ++y) EXPECT_EQ(gray.row<Ovk8u>(y)[0], 0);  // black at the left edge
}

TEST(TestImage, GrayAndAlphaVariants) {
    const Image rgba = makeTestImage(64, 48, 4);
    EXPECT_EQ(rgba.row<Ovk8u>(0)[3], 255);
    EXPECT_EQ(rgba.row<Ovk8u>(47)[3], 128);
    EXPECT_TRUE(samePixels(convertChannels(rgba, 3), makeTestImage(64, 48, 3)));
}

TEST(TestImage, MirrorImageIsFlippedLeftToRight) {
    for (int channels : {1, 3, 4}) {
        SCOPED_TRACE(channels);
        const Image original = makeTestImage(40, 30, channels);
        const Image mirror = makeMirroredTestImage(40, 30, channels);
        ASSERT_EQ(mirror.describe(), original.describe());
        for (int y = 0; y < 30; ++y) {
            for (int x = 0; x < 40; ++x) {
                for (int c = 0; c < channels; ++c) {
                    ASSERT_EQ(mirror.row<Ovk8u>(y)[x * channels + c], original.row<Ovk8u>(y)[(39 - x) * channels + c]);
                }
            }
        }
    }
    EXPECT_NE(errorOf([] { makeMirroredTestImage(1, 5, 3); }).find("ovkStatusSizeError"), std::string::npos);
}

// ---------------------------------------------------------------------------
// Options and status names
// ---------------------------------------------------------------------------

TEST(Options, ParsesOperandsOutputAndDeclaredOptions) {
    const OptionSpec specs[] = {{"scale", "N", ""}, {"value", "V,...", ""}, {"inplace", "", ""}};
    const std::vector<std::string> args = {"a.png", "--scale", "-2", "-o", "out.ppm", "--value=10,20.5,-3",
                                           "--inplace", "--", "--odd-name.png"};
    const Options options = parseOptions(args, specs);
    EXPECT_EQ(options.inputs, (std::vector<std::string>{"a.png", "--odd-name.png"}));
    EXPECT_EQ(options.output, "out.ppm");
    EXPECT_EQ(options.integer("scale", 0), -2);
    EXPECT_EQ(options.numbers("value"), (std::vector<double>{10, 20.5, -3}));
    EXPECT_TRUE(options.has("inplace"));
    EXPECT_FALSE(options.help);
    EXPECT_EQ(options.integer("absent", 7), 7);
}

TEST(Options, RejectsWhatTheOperationDoesNotDeclare) {
    const OptionSpec specs[] = {{"scale", "N", ""}, {"inplace", "", ""}};
    auto parse = [&](std::vector<std::string> args) { return parseOptions(args, specs); };
    EXPECT_THROW(parse({"--bogus", "1"}), UsageError);
    EXPECT_THROW(parse({"-x"}), UsageError);
    EXPECT_THROW(parse({"--scale"}), UsageError);
    EXPECT_THROW(parse({"-o"}), UsageError);
    EXPECT_THROW(parse({"--inplace=1"}), UsageError);
    EXPECT_THROW(parse({"--scale", "2x"}).integer("scale", 0), UsageError);
    EXPECT_THROW(parse({"--scale", "1,,2"}).numbers("scale"), UsageError);
    EXPECT_TRUE(parse({"--help"}).help);
}

TEST(Status, Names) {
    EXPECT_STREQ(statusName(ovkStatusOk), "ovkStatusOk");
    EXPECT_STREQ(statusName(static_cast<OvkStatus>(-8)), "ovkStatusNullPointer");
    EXPECT_STREQ(statusName(static_cast<OvkStatus>(6)), "ovkStatusDivByZero");
    EXPECT_STREQ(statusName(static_cast<OvkStatus>(-9999)), "ovkStatusModeNotSupported");
    EXPECT_STREQ(statusName(static_cast<OvkStatus>(-4)), "unknown status");
    EXPECT_TRUE(reportStatus("test", ovkStatusOk));
    EXPECT_TRUE(reportStatus("test", ovkStatusNoOperation));
    EXPECT_FALSE(reportStatus("test", ovkStatusSizeError));
}

}  // namespace
}  // namespace ovkimg
