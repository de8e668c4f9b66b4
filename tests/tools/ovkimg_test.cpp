// Tests of the ovkimg tool: its image files, options, messages and exit codes,
// status names and test image, and one run of every operation it lists. The
// library's arithmetic is tested elsewhere; here the operations only have to
// run and write an image of the right layout.
#include "image_io.hpp"
#include "library.hpp"
#include "operations.hpp"
#include "status.hpp"
#include "synthetic.hpp"

#include <gtest/gtest.h>
#include <png.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace ovkimg {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using Samples = std::vector<int>;
using Args = std::vector<std::string>;
constexpr auto npos = std::string::npos;

void writeBytes(const std::string& path, const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }

std::string readBytes(const std::string& path) { return (std::ostringstream() << std::ifstream(path).rdbuf()).str(); }

// The message of what `f` throws; "" when it throws nothing.
template <class F>
std::string errorOf(F f) try { return f(), ""; } catch (const std::exception& e) { return e.what(); }

Samples samples(const Image& image) {
    Samples out;
    const int n = image.width() * image.channels();
    for (int i = 0; i < n * image.height(); ++i) {
        out.push_back(image.type() == SampleType::U8 ? image.row<Ovk8u>(i / n)[i % n] : image.row<Ovk16u>(i / n)[i % n]);
    }
    return out;
}

bool samePixels(const Image& a, const Image& b) { return a.describe() == b.describe() && samples(a) == samples(b); }

// An image whose samples differ from their neighbours, in both bytes of 16-bit ones too.
Image pattern(SampleType type, int channels, int width, int height) {
    Image image(type, channels, width, height);
    const int n = width * channels;
    for (int i = 0; i < n * height; ++i) {
        const unsigned v = unsigned(i) * 104729u + 12345u;
        if (type == SampleType::U8) image.row<Ovk8u>(i / n)[i % n] = Ovk8u(v);
        else image.row<Ovk16u>(i / n)[i % n] = Ovk16u(v * 31);
    }
    return image;
}

// An interlaced PNG of one row as the format stores it (16-bit samples most
// significant byte first, low bit depths packed), written by libpng without
// our writer. Palette images get the palette {1, 2, 3}, {4, 5, 6}.
void writePng(const std::string& path, int width, int depth, int colorType, std::vector<png_byte> bytes,
              std::vector<png_byte> paletteAlpha) {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_set_IHDR(png, info, width, 1, depth, colorType, PNG_INTERLACE_ADAM7, 0, 0);
    png_color palette[] = {{1, 2, 3}, {4, 5, 6}};
    if (colorType == PNG_COLOR_TYPE_PALETTE) png_set_PLTE(png, info, palette, 2);
    if (!paletteAlpha.empty()) png_set_tRNS(png, info, paletteAlpha.data(), int(paletteAlpha.size()), nullptr);
    png_write_info(png, info);
    png_bytep row = bytes.data();
    png_write_image(png, &row);
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    std::fclose(file);
}

// A directory of the test's own, in which the tool runs, holding a tiny RGB image t.png.
class Tool : public ::testing::Test {
protected:
    fs::path dir = fs::temp_directory_path() / ("ovkimg_" + std::to_string(::getpid()) + "_" +
                                                ::testing::UnitTest::GetInstance()->current_test_info()->name());
    void SetUp() override { fs::create_directories(dir), writeImage(pattern(SampleType::U8, 3, 4, 4), file("t.png")); }
    void TearDown() override { fs::remove_all(dir); }
    std::string file(const std::string& name) const { return (dir / name).string(); }

    // Runs `ovkimg args...` in the directory: its exit code and all it printed (kept in the file .out).
    std::pair<int, std::string> run(const Args& args) const {
        std::string command = "cd '" + dir.string() + "' && '" OVKIMG_EXECUTABLE "'";
        for (const std::string& arg : args) command += " '" + arg + "'";
        const int status = std::system((command + " >.out 2>&1").c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readBytes(file(".out"))};
    }

    // The operation with what it needs to run: input files (copies of t.png)
    // unless it takes the test image, and the options it cannot do without.
    static Args runnable(const Operation& op) {
        static const std::map<std::string, Args> needed = {{"addc", {"--value", "3"}}, {"subc", {"--value", "3"}},
            {"mulc", {"--value", "3"}}, {"divc", {"--value", "3"}}, {"shift", {"--left", "1"}}, {"mirror", {"--axis", "h"}},
            {"swap", {"--order", "2,1,0"}}, {"noise", {"--high", "3"}}, {"threshold", {"--above", "200"}}};
        Args args = {op.name};
        if (!op.testImage()) args.insert(args.end(), op.inputs(), "t.png");
        if (const auto it = needed.find(op.name); it != needed.end()) args.insert(args.end(), it->second.begin(), it->second.end());
        return args;
    }
};

// ---------------------------------------------------------------------------
// Image files
// ---------------------------------------------------------------------------

TEST_F(Tool, FilesKeepTheSamplesOfEveryLayout) {
    for (SampleType type : {SampleType::U8, SampleType::U16}) {
        for (int channels : {1, 3, 4}) {
            const Image original = pattern(type, channels, 37, 5);  // rows padded in memory
            Args names = {"x.png", "X.PNG"};
            if (channels != 4) names.insert(names.end(), {channels == 1 ? "x.pgm" : "x.ppm", "x.pnm"});
            for (const std::string& name : names) {
                writeImage(original, file(name));
                EXPECT_TRUE(samePixels(readImage(file(name)), original)) << original.describe() << " as " << name;
            }
        }
    }
    // PNM: 16-bit samples most significant byte first; samples kept as stored, whatever the maxval.
    Image wide(SampleType::U16, 1, 2, 1);
    wide.row<Ovk16u>(0)[0] = 0x0102, wide.row<Ovk16u>(0)[1] = 0xFFFE;
    writeImage(wide, file("w.pgm"));
    EXPECT_EQ(readBytes(file("w.pgm")), "P5\n2 1\n65535\n\x01\x02\xFF\xFE");
    writeBytes(file("c.ppm"), "P6 # size next\n1\n# full line\n1 1000\n\x03\xE8\x00\x01\x01\x00"s);
    EXPECT_EQ(samples(readImage(file("c.ppm"))), (Samples{1000, 1, 256}));
}

TEST_F(Tool, PngVariantsAreReadAsGrayRgbOrRgba) {
    const struct { int width, depth, colorType; std::vector<png_byte> bytes, paletteAlpha; Samples expected; } cases[] = {
        {2, 8, PNG_COLOR_TYPE_PALETTE, {1, 0}, {}, {4, 5, 6, 1, 2, 3}},
        {2, 8, PNG_COLOR_TYPE_PALETTE, {1, 0}, {0}, {4, 5, 6, 255, 1, 2, 3, 0}},  // entry 0 transparent
        {2, 8, PNG_COLOR_TYPE_GRAY_ALPHA, {100, 200, 7, 0}, {}, {100, 100, 100, 200, 7, 7, 7, 0}},
        {2, 16, PNG_COLOR_TYPE_RGB, {0x9C, 0x40, 0, 1, 1, 0, 0xFF, 0xFE, 0x80, 0, 0x12, 0x34}, {},
         {40000, 1, 256, 0xFFFE, 0x8000, 0x1234}},
        {3, 1, PNG_COLOR_TYPE_GRAY, {0b10100000}, {}, {255, 0, 255}},
    };
    for (const auto& c : cases) {
        writePng(file("v.png"), c.width, c.depth, c.colorType, c.bytes, c.paletteAlpha);
        const Image image = readImage(file("v.png"));  // one row: the samples show the channels
        EXPECT_EQ(samples(image), c.expected) << "colour type " << c.colorType << ": " << image.describe();
    }
}

TEST_F(Tool, DamagedAndForeignFilesAreRejectedNamingFileAndProblem) {
    const std::string png = readBytes(file("t.png"));
    const std::pair<std::string, std::string> cases[] = {
        {"", "empty file"},
        {png.substr(0, png.size() / 2), "corrupt or truncated PNG"},
        {"\xFF\xD8\xFF\xE0 jpeg", "unsupported format JPEG"},
        {"just text", "unsupported or unrecognised format"},
        {"P5\n4 4\n255\nabcd", "truncated PNM pixel data"},
        {"P5\n4 x\n255\n", "corrupt PNM header"},
        {"P6\n1 1\n70000\nabcdef", "corrupt PNM header: maxval 70000"},
    };
    for (const auto& [bytes, problem] : cases) {
        writeBytes(file("bad"), bytes);
        EXPECT_NE(errorOf([&] { readImage(file("bad")); }).find(std::string("'") + file("bad") + "': " + problem), npos) << problem;
    }
    EXPECT_EQ(errorOf([&] { readImage(file("none")); }), "cannot open '" + file("none") + "': No such file or directory");
    writeBytes(file("huge.pgm"), "P5\n100000 100000\n255\n");
    EXPECT_NE(errorOf([&] { readImage(file("huge.pgm")); }).find("'" + file("huge.pgm") + "': unsupported image size"), npos);
}

TEST_F(Tool, FailedWritesLeaveNoFileBehind) {
    writeBytes(file("keep.pgm"), "precious");
    EXPECT_NE(errorOf([&] { writeImage(pattern(SampleType::U8, 3, 4, 4), file("keep.pgm")); })
                  .find("'" + file("keep.pgm") + "': PGM holds 1 channel, the image has 3"), npos);
    EXPECT_EQ(readBytes(file("keep.pgm")), "precious");
    for (const char* name : {"full.png", "full.ppm"}) {  // a full disk: the half-written file is removed
        fs::create_symlink("/dev/full", dir / name);
        EXPECT_NE(errorOf([&] { writeImage(pattern(SampleType::U16, 3, 300, 300), file(name)); }).find("cannot write"), npos);
        EXPECT_FALSE(fs::exists(dir / name)) << name;
    }
}

// ---------------------------------------------------------------------------
// Options, messages, exit codes, status names
// ---------------------------------------------------------------------------

TEST(Options, DeclaredOnesAreParsedOthersRejected) {
    const OptionSpec specs[] = {{"scale", "N", ""}, {"value", "V,...", ""}, {"inplace", "", ""}};
    auto parse = [&](Args args) { return parseOptions(args, specs); };
    const Options o = parse({"a.png", "--scale", "-2", "-o", "o.ppm", "-", "--value=10,20.5,-3", "--inplace", "--", "--b", "-o"});
    EXPECT_EQ(o.inputs, (Args{"a.png", "-", "--b", "-o"}));
    EXPECT_EQ(o.output, "o.ppm");
    EXPECT_EQ(o.integer("scale", 0), -2);
    EXPECT_EQ(o.numbers("value"), (std::vector<double>{10, 20.5, -3}));
    EXPECT_TRUE(o.has("inplace") && !o.help && parse({"-h"}).help);
    EXPECT_EQ(o.integer("absent", 7) + o.number("absent", 0.5), 7.5);
    for (const Args& bad : {Args{"--bogus", "1"}, Args{"-x"}, Args{"--scale"}, Args{"-o"}, Args{"--inplace=1"}})
        EXPECT_THROW(parse(bad), UsageError) << bad[0];
    for (const char* bad : {"2x", "1.5", ""}) EXPECT_THROW(parse({"--scale", bad}).integer("scale", 0), UsageError);
    EXPECT_THROW(parse({"--value", "1,,2"}).numbers("value"), UsageError);
}

TEST_F(Tool, FailuresExitNonZeroWithAMessageAndWriteNothing) {
    Image other = pattern(SampleType::U8, 3, 4, 4);
    other.row<Ovk8u>(2)[5] ^= 1;
    writeImage(other, file("b.png"));
    const struct { Args args; int code; std::string message; } cases[] = {
        {{}, 2, "usage: ovkimg <operation>"},
        {{"frobnicate"}, 2, "ovkimg: unknown operation 'frobnicate' (see 'ovkimg help')"},
        {{"convert", "--bogus", "1"}, 2, "ovkimg: convert: unknown option '--bogus' (its options: --depth --channels)"},
        {{"convert", "--depth"}, 2, "convert: --depth needs a value: --depth 8|16"},
        {{"convert", "t.png", "t.png"}, 2, "convert: takes at most 1 input file, got 2"},
        {{"compare", "t.png"}, 2, "compare: needs 2 input files, got 1"},
        {{"info", "t.png"}, 2, "info: takes no input files"},
        {{"info", "-o", "x.png"}, 2, "info: writes no image: -o is not accepted"},
        {{"convert", "missing.png"}, 1, "ovkimg: convert: cannot open 'missing.png': No such file or directory"},
        {{"convert", "-o", "out.jpg"}, 1, "'out.jpg': unsupported output format '.jpg' (use .png, .pgm, .ppm or .pnm)"},
        {{"convert", "-o", "out"}, 1, "'out': no file extension"},
        {{"convert", "--channels", "4", "-o", "out.ppm"}, 1, "'out.ppm': PPM holds 3 channels, the image has 4"},
        {{"compare", "t.png", "b.png"}, 1, "images differ: 1 samples by more than 0, largest difference 1, first at x=1 y=2 channel 2"},
        {{"divc", "--value", "0"}, 1, "ovkimg: divc: library status -10 (ovkStatusDivByZeroError)\n"},
    };
    for (const auto& c : cases) {
        const auto [code, out] = run(c.args);
        EXPECT_EQ(code, c.code) << out;
        EXPECT_NE(out.find(c.message), npos) << out;
        const bool usage = code == 2 && !c.args.empty() && findOperation(c.args[0]);  // and its usage
        EXPECT_TRUE(!usage || out.find("\nusage: ovkimg " + c.args[0]) != npos) << out;
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(dir), {}), 3) << "a failed run wrote a file";  // t.png b.png .out
    EXPECT_EQ(run({"compare", "t.png", "b.png", "--tolerance", "1"}).second, "equal within tolerance: 4x4 8u C3\n");
}

// A bad value of any option is reported, naming the option: the operation reads it.
TEST_F(Tool, EveryOptionOfEveryOperationReportsABadValue) {
    for (const Operation& op : operations()) {
        for (const OptionSpec& option : op.options) {
            if (*option.value == '\0') continue;  // a flag has no value to get wrong
            Args args = runnable(op);
            args.insert(args.end(), {"--"s + option.name, "x"});
            const auto [code, out] = run(args);
            EXPECT_EQ(code, 2) << op.name << " --" << option.name << ": " << out;
            EXPECT_NE(out.substr(0, out.find("usage:")).find("--"s + option.name), npos) << out;
        }
    }
}

TEST(Status, NamesAndReports) {
    const std::map<int, std::string> expected = {{0, "ovkStatusOk"}, {-8, "ovkStatusNullPointer"},
        {6, "ovkStatusDivByZero"}, {-9999, "ovkStatusModeNotSupported"}, {-4, "unknown status"}};
    for (const auto& [status, name] : expected) EXPECT_EQ(statusName(static_cast<OvkStatus>(status)), name);
    EXPECT_TRUE(reportStatus("test", ovkStatusOk) && reportStatus("test", ovkStatusNoOperation));
    EXPECT_FALSE(reportStatus("test", ovkStatusSizeError));
}

// ---------------------------------------------------------------------------
// The test image, and one run of every operation
// ---------------------------------------------------------------------------

// The test image, and what convert makes of it.
TEST_F(Tool, TestImageAndConversions) {
    const Image image = makeTestImage(512, 512, 3);
    EXPECT_TRUE(samePixels(makeTestImage(512, 512, 3), image));
    ASSERT_EQ(run({"convert", "--depth", "16", "--channels", "4", "-o", "c.png"}).first, 0);
    EXPECT_TRUE(samePixels(readImage(file("c.png")), convertType(convertChannels(image, 4), SampleType::U16)));
    const Image rgb = pattern(SampleType::U8, 3, 70, 3);
    EXPECT_TRUE(samePixels(convertType(convertType(rgb, SampleType::U16), SampleType::U8), rgb));  // exact
    const Image p16 = pattern(SampleType::U16, 3, 70, 3);
    const Samples wide = samples(p16), narrow = samples(convertType(p16, SampleType::U8));
    for (std::size_t i = 0; i < wide.size(); ++i) ASSERT_EQ(narrow[i], (wide[i] * 255 + 32767) / 65535) << "rounded";
    EXPECT_TRUE(samePixels(convertChannels(convertChannels(rgb, 4), 3), rgb));
    const Samples rgba = samples(convertChannels(rgb, 4)), luma = samples(convertChannels(rgb, 1));
    EXPECT_EQ(luma[1], (299 * rgba[4] + 587 * rgba[5] + 114 * rgba[6] + 500) / 1000);  // luma
    EXPECT_EQ(rgba[7], 255);  // opaque
    const Image gray = makeTestImage(64, 48, 1), mirror = makeMirroredTestImage(64, 48, 1);
    for (int i = 0; i < 64 * 48; ++i) ASSERT_EQ(mirror.row<Ovk8u>(i / 64)[i % 64], gray.row<Ovk8u>(i / 64)[63 - i % 64]) << i;
}

// The threshold verbs map their options onto the library's members.
TEST_F(Tool, ThresholdMaskOtsuAndDepthOptions) {
    Image gray(SampleType::U8, 1, 4, 1);
    const Ovk8u samples[4] = {10, 100, 150, 250};
    std::copy(samples, samples + 4, gray.row<Ovk8u>(0));
    writeImage(gray, file("g.png"));
    const auto samplesOf = [&](const Args& args) {
        EXPECT_EQ(run(args).first, 0);
        const Image out = readImage(file("o.png"));
        std::vector<int> v;
        for (int x = 0; x < out.width(); ++x) v.push_back(out.type() == SampleType::U8 ? out.row<Ovk8u>(0)[x] : out.row<Ovk16u>(0)[x]);
        return v;
    };
    EXPECT_EQ(samplesOf({"threshold", "g.png", "--above", "120", "--high", "255", "--below", "50", "--low", "0", "-o", "o.png"}),
              (std::vector<int>{0, 100, 255, 255}));
    EXPECT_EQ(samplesOf({"mask", "g.png", "--op", "ge", "--value", "100", "-o", "o.png"}), (std::vector<int>{0, 255, 255, 255}));
    ASSERT_EQ(run({"convert", "g.png", "--channels", "4", "-o", "g4.png"}).first, 0);  // three values: the colours only
    EXPECT_EQ(samplesOf({"mask", "g4.png", "--value", "100,100,100", "-o", "o.png"}), (std::vector<int>{0, 0, 255, 255}));
    EXPECT_EQ(samplesOf({"depth", "g.png", "--range", "0,1000", "-o", "o.png"}), (std::vector<int>{39, 392, 588, 980}));
    EXPECT_NE(run({"otsu", "g.png", "-o", "o.png"}).second.find("otsu threshold: 100"), npos);
    const std::string stats = run({"stats", "g.png"}).second;
    for (const char* row : {" 510\n", " 10 at (0, 0)\n", " 250 at (3, 0)\n"})
        EXPECT_NE(stats.find(row), npos) << stats;
}

// Every operation the tool lists runs once, on the test image or tiny files,
// and writes an image of the test image's layout (a new one: 512x512 gray)
// to the default output file.
TEST_F(Tool, EveryOperationRuns) {
    const std::string listing = run({"help"}).second;
    for (const Operation& op : operations()) {
        EXPECT_NE(listing.find("\n  "s + op.name + " "), npos) << op.name;
        const auto [code, out] = run(runnable(op));
        EXPECT_EQ(code, 0) << op.name << ": " << out;
        // Dividing by the mirror image meets zero divisors: a warning, not a failure.
        EXPECT_TRUE(op.name != "div"s || out.find("div: warning: library status 6 (ovkStatusDivByZero)") != npos);
        if (!op.writesImage) continue;
        static const std::map<std::string, std::string> other = {
            {"mask", "512x512 8u C1"}, {"otsu", "4x4 8u C1"}, {"depth", "512x512 16u C3"}};
        const auto it = other.find(op.name);
        const std::string layout = it != other.end() ? it->second
                                   : op.inputs() == 0 ? "512x512 8u C1" : op.testImage() ? "512x512 8u C3" : "4x4 8u C3";
        EXPECT_NE(out.find("wrote ovkimg-out.png (" + layout + ")"), npos) << op.name << ": " << out;
        EXPECT_EQ(readImage(file("ovkimg-out.png")).describe(), layout) << op.name;
        fs::remove(dir / "ovkimg-out.png");
    }
}

// `call` reaches every export: one of each signature and layout, with every
// parameter given, succeeds or reports a library status (never a usage error
// or a crash). A family operation writes what the call of its member
// writes, and .npy files carry any element type exactly.
TEST_F(Tool, CallReachesEveryExport) {
    const fs::path here = fs::current_path();
    fs::current_path(dir);  // outputs go to the working directory
    std::set<std::string> tried;
    for (const ovk::apicall::Function& f : ovk::apicall::functions()) {
        std::string key = f.shape;
        for (const std::string& l : f.layout) key += l;
        if (!tried.insert(key).second) continue;
        Args args = {"call", f.name};
        for (const ovk::apicall::Param& p : f.params) {
            if (p.role == "src" || p.role == "srcdst" || p.role == "srcPlanes" || p.role == "mask") args.push_back("t.png");
            if (p.role == "dstRoi") args.insert(args.end(), {"--dstRoiSize", "6x7"});
            if (!p.image() && p.role != "step" && p.role != "mask" && p.role != "out" && p.type != "OvkiSize" && p.type != "void*") {
                args.insert(args.end(), {"--" + p.name, "1"});
            }
        }
        const int code = runCall(std::span(args).subspan(1));  // in this process: the description is read once
        EXPECT_TRUE(code == 0 || code == 1) << f.name;
    }
    fs::current_path(here);
    ASSERT_EQ(run({"add", "t.png", "t.png", "--scale", "1", "-o", "a.png"}).first, 0);
    ASSERT_EQ(run({"call", "ovkiAdd_8u_C3RSfs", "t.png", "t.png", "--scaleFactor", "1", "-o", "b.png"}).first, 0);
    EXPECT_TRUE(samePixels(readImage(file("a.png")), readImage(file("b.png"))));
    ASSERT_EQ(run({"call", "ovkiConvert_8u16s_C3R", "t.png", "-o", "s.npy"}).first, 0);
    ASSERT_EQ(run({"call", "ovkiConvert_16s8u_C3R", "s.npy", "-o", "back.png"}).first, 0);
    EXPECT_TRUE(samePixels(readImage(file("t.png")), readImage(file("back.png"))));
    EXPECT_EQ(run({"call", "ovkiNope"}).first, 2);
}

}  // namespace
}  // namespace ovkimg
