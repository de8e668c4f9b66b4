#include "operations.hpp"

#include <apicall/apicall.hpp>

#include <algorithm>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

namespace ovkimg {
namespace {

// ---------------------------------------------------------------------------
// info
// ---------------------------------------------------------------------------

// Prints "  label       NAME NAME ...", wrapped under the first name.
void printFeatures(const char* label, Ovk64u mask) {
    constexpr std::size_t kLineWidth = 78;
    const std::string indent(14, ' ');
    std::string line = std::string("  ") + label;
    line.resize(indent.size(), ' ');
    bool any = false;
    auto add = [&](const std::string& word) {
        if (any && line.size() + 1 + word.size() > kLineWidth) {
            std::printf("%s\n", line.c_str());
            line = indent;
            any = false;
        }
        line += (any ? " " : "") + word;
        any = true;
    };
    // The feature bits by name, from the API description (which reads ovkcore.h), in bit order.
    std::vector<std::pair<Ovk64u, std::string>> features;
    for (const auto& [name, value] : ovk::apicall::constants())
        if (name.rfind("ovkCpuFeature", 0) == 0) features.emplace_back(Ovk64u(value), name.substr(13));
    std::sort(features.begin(), features.end());
    Ovk64u known = 0;
    for (const auto& [bit, name] : features) {
        known |= bit;
        if (mask & bit) add(name);
    }
    for (int bit = 0; bit < 64; ++bit) {  // bits this tool has no name for yet
        if ((mask & ~known) >> bit & 1) add("bit" + std::to_string(bit));
    }
    if (mask == 0) add("(none)");
    std::printf("%s\n", line.c_str());
}

Result runInfo(const Options&, std::span<Image>) {
    const OvkLibraryVersion* version = ovkiGetLibVersion();
    if (version == nullptr) throw std::runtime_error("ovkiGetLibVersion returned null");
    auto text = [](const char* s) { return s ? s : "(null)"; };
    const char* cpu = version->targetCpu;
    const std::string targetCpu(cpu, std::find(cpu, cpu + sizeof version->targetCpu, '\0'));  // zero-padded

    std::printf("Library\n");
    std::printf("  name        %s\n", text(version->Name));
    std::printf("  version     %s\n", text(version->Version));
    std::printf("  build date  %s\n", text(version->BuildDate));
    std::printf("  major       %d\n", version->major);
    std::printf("  minor       %d\n", version->minor);
    std::printf("  majorBuild  %d\n", version->majorBuild);
    std::printf("  build       %d\n", version->build);
    std::printf("  target CPU  %s\n", targetCpu.c_str());

    Ovk64u detected = 0;
    Ovk32u cpuid[4] = {};
    const OvkStatus status = ovkGetCpuFeatures(&detected, cpuid);
    const Ovk64u enabled = ovkGetEnabledCpuFeatures();
    std::printf("Processor\n");
    std::printf("  CPUID 1     eax=%08" PRIx32 " ebx=%08" PRIx32 " ecx=%08" PRIx32 " edx=%08" PRIx32 "\n", cpuid[0],
                cpuid[1], cpuid[2], cpuid[3]);
    printFeatures("detected", detected);
    printFeatures("enabled", enabled);
    if (detected & ~enabled) printFeatures("not used", detected & ~enabled);
    return status;
}

// ---------------------------------------------------------------------------
// convert
// ---------------------------------------------------------------------------

Result runConvert(const Options& options, std::span<Image> inputs) {
    Image& image = inputs[0];
    const int channels = options.integer("channels", image.channels());
    if (channels != 1 && channels != 3 && channels != 4) throw UsageError("--channels must be 1, 3 or 4");
    const int depth = options.integer("depth", image.type() == SampleType::U8 ? 8 : 16);
    if (depth != 8 && depth != 16) throw UsageError("--depth must be 8 or 16");

    Image output = std::move(image);
    if (channels != output.channels()) output = convertChannels(output, channels);
    const SampleType type = depth == 8 ? SampleType::U8 : SampleType::U16;
    if (type != output.type()) output = convertType(output, type);
    return output;
}

// ---------------------------------------------------------------------------
// compare
// ---------------------------------------------------------------------------

Result runCompare(const Options& options, std::span<Image> inputs) {
    const Image& a = inputs[0];
    const Image& b = inputs[1];
    const int tolerance = options.integer("tolerance", 0);
    if (tolerance < 0) throw UsageError("--tolerance must not be negative");
    if (a.describe() != b.describe()) throw std::runtime_error("images differ in layout: " + a.describe() + " and " + b.describe());
    auto sample = [](const Image& im, int y, int i) { return im.type() == SampleType::U8 ? long(im.row<Ovk8u>(y)[i]) : long(im.row<Ovk16u>(y)[i]); };
    std::uint64_t count = 0;  // samples differing by more than the tolerance
    long largest = 0;
    std::string first;
    for (int y = 0; y < a.height(); ++y) {
        for (int i = 0; i < a.width() * a.channels(); ++i) {
            const long diff = std::labs(sample(a, y, i) - sample(b, y, i));
            if (diff <= tolerance) continue;
            if (count++ == 0) first = std::string("x=") + std::to_string(i / a.channels()) + " y=" + std::to_string(y) + " channel " + std::to_string(i % a.channels());
            largest = std::max(largest, diff);
        }
    }
    if (count != 0) {
        throw std::runtime_error("images differ: " + std::to_string(count) + " samples by more than " + std::to_string(tolerance) +
                                 ", largest difference " + std::to_string(largest) + ", first at " + first);
    }
    std::printf("%s: %s\n", tolerance == 0 ? "identical" : "equal within tolerance", a.describe().c_str());
    return {};
}

// ---------------------------------------------------------------------------
// Arithmetic: help shared by the entries (run functions in arithmetic.cpp)
// ---------------------------------------------------------------------------

#define OVKIMG_SCALE_HELP                                                              \
    "\nResults are multiplied by 2^-N of --scale N (N may be negative), rounded to\n"  \
    "the nearest whole number (ties to the even one) and clamped to the sample\n"      \
    "range: --scale 1 halves the results (add --scale 1 gives the average),\n"         \
    "--scale -1 doubles them.\n"
#define OVKIMG_TWO_IMAGES_HELP                                                         \
    "\nA and B have the same size, bits per sample and channels, and so has the\n"      \
    "result; of 4-channel images the alpha is computed like the colours.\n"
#define OVKIMG_VALUE_HELP                                                              \
    "\n--value is one whole number for every channel, or one per channel (three for\n" \
    "the colour channels of a 4-channel image leave the alpha as it is), each from\n"  \
    "0 to 255 for 8-bit images or to 65535 for 16-bit ones.\n"

const OptionSpec kScaleOption = {"scale", "N", "multiply the results by 2^-N, rounding (default 0)", "scaleFactor",
                                 nullptr, "0"};
const OptionSpec kValueOption = {"value", "V[,V,V[,V]]", "the constant: one for every channel or one per channel",
                                 "value"};

}  // namespace

// ---------------------------------------------------------------------------
// The table
// ---------------------------------------------------------------------------

std::span<const Operation> operations() {
    static const std::vector<Operation> table = {
        {.name = "info", .help = "show the library's version record and the processor's features",
         .writesImage = false, .run = runInfo},
        {.name = "convert", .help = "read an image (or the test image) and write it in the output file's format",
         .operands = "[input]",
         .options = {{"depth", "8|16", "bits per sample of the output (default: as the input)"},
                     {"channels", "1|3|4", "gray, RGB or RGBA output (default: as the input)"}},
         .run = runConvert},
        {.name = "compare", .help = "succeed when two images have the same layout and pixels",
         .operands = "image1 image2",
         .options = {{"tolerance", "N", "largest difference of a sample still taken as equal (default 0)"}},
         .writesImage = false, .run = runCompare},

        // Arithmetic of two images of one layout (depth, channels and size).
        {.name = "add", .help = "add two images: A + B",
         .details = OVKIMG_TWO_IMAGES_HELP OVKIMG_SCALE_HELP,
         .operands = "[A B]", .options = {kScaleOption}, .family = "Add"},
        {.name = "sub", .help = "subtract the second image from the first: A - B (negative results give 0)",
         .details = OVKIMG_TWO_IMAGES_HELP OVKIMG_SCALE_HELP,
         .operands = "[A B]", .options = {kScaleOption}, .family = "Sub", .swapSources = true},
        {.name = "mul", .help = "multiply two images: A * B",
         .details = OVKIMG_TWO_IMAGES_HELP OVKIMG_SCALE_HELP,
         .operands = "[A B]", .options = {kScaleOption}, .family = "Mul"},
        {.name = "div", .help = "divide the first image by the second: A / B",
         .details = OVKIMG_TWO_IMAGES_HELP
                    "A sample divided by zero gives the largest sample value (0 for 0 / 0), and\n"
                    "the library's warning ovkStatusDivByZero is printed; the image is still\n"
                    "written.\n" OVKIMG_SCALE_HELP,
         .operands = "[A B]", .options = {kScaleOption}, .family = "Div", .swapSources = true},
        {.name = "mulscale", .help = "multiply two images normalised to the largest sample value: A * B / max",
         .details = OVKIMG_TWO_IMAGES_HELP
                    "With max the largest sample value (255 or 65535), max * max gives max and\n"
                    "0 * anything gives 0: an image multiplied by a mask or by another image.\n",
         .operands = "[A B]", .family = "MulScale"},

        // Arithmetic with a constant.
        {.name = "addc", .help = "add a constant to every pixel: IN + value",
         .details = OVKIMG_VALUE_HELP OVKIMG_SCALE_HELP,
         .operands = "[IN]", .options = {kValueOption, kScaleOption}, .family = "AddC"},
        {.name = "subc", .help = "subtract a constant from every pixel: IN - value (negative results give 0)",
         .details = OVKIMG_VALUE_HELP OVKIMG_SCALE_HELP,
         .operands = "[IN]", .options = {kValueOption, kScaleOption}, .family = "SubC"},
        {.name = "mulc", .help = "multiply every pixel by a constant: IN * value",
         .details = OVKIMG_VALUE_HELP OVKIMG_SCALE_HELP,
         .operands = "[IN]", .options = {kValueOption, kScaleOption}, .family = "MulC"},
        {.name = "divc", .help = "divide every pixel by a constant: IN / value",
         .details = OVKIMG_VALUE_HELP "A value of 0 is an error (ovkStatusDivByZeroError).\n" OVKIMG_SCALE_HELP,
         .operands = "[IN]", .options = {kValueOption, kScaleOption}, .family = "DivC"},

        // Functions of one image.
        {.name = "sqrt", .help = "square root of every sample",
         .details = "\nOf a 4-channel image the colour channels are changed; the alpha is kept.\n"
                    OVKIMG_SCALE_HELP
                    "E.g. --scale -4 maps 8-bit 0..255 to 0..255 (sqrt(255) * 16 rounds to 255).\n",
         .operands = "[IN]", .options = {kScaleOption}, .family = "Sqrt"},
        {.name = "sqr", .help = "square of every sample",
         .details = OVKIMG_SCALE_HELP "E.g. --scale 8 maps 8-bit 0..255 to 0..254 (255 * 255 / 256).\n",
         .operands = "[IN]", .options = {kScaleOption}, .family = "Sqr"},
        {.name = "not", .help = "invert every bit of an 8-bit image (a negative: 255 - sample)",
         .details = "\nThe library has this for 8-bit images only; of a 4-channel image the alpha is\n"
                    "inverted too.\n",
         .operands = "[IN]", .family = "Not"},
        {.name = "shift", .help = "shift the bits of every sample left or right by a count",
         .details = "\nBits shifted out are lost: a left shift does not saturate, and a count of the\n"
                    "sample width or more gives 0. As for --value of addc, one count serves every\n"
                    "channel, or there is one per channel (three for the colour channels of a\n"
                    "4-channel image leave the alpha as it is).\n",
         .operands = "[IN]",
         .options = {{"left", "N[,N,N[,N]]", "shift left by N bits", "value"},
                     {"right", "N[,N,N[,N]]", "shift right by N bits (zeros come in)", "value"}},
         .family = "LShiftC:left|RShiftC:right"},

        // Bitwise logic of two images of one layout.
        {.name = "and", .help = "bitwise AND of two images: A & B",
         .details = OVKIMG_TWO_IMAGES_HELP,
         .operands = "[A B]", .family = "And"},
        {.name = "or", .help = "bitwise OR of two images: A | B",
         .details = OVKIMG_TWO_IMAGES_HELP,
         .operands = "[A B]", .family = "Or"},
        {.name = "xor", .help = "bitwise exclusive OR of two images: A ^ B",
         .details = OVKIMG_TWO_IMAGES_HELP,
         .operands = "[A B]", .family = "Xor"},

        // Thresholds, masks and depth.
        {.name = "threshold", .help = "clip or replace samples above and/or below thresholds, channel by channel",
         .details = "\nSamples above --above T become T (or --high V); samples below --below T become T\n"
                    "(or --low V); with both, the upper test comes first. Comparisons are strict: a\n"
                    "sample equal to a threshold stays. One value for every colour channel or one each\n"
                    "(R,G,B); the alpha of a 4-channel image is kept.\n",
         .operands = "[IN]",
         .options = {{"above", "T", "upper threshold", "thresholdGT,threshold"},
                     {"below", "T", "lower threshold", "thresholdLT,threshold"},
                     {"high", "V", "value for samples above (default: the threshold)", "valueGT,value", nullptr, "@above"},
                     {"low", "V", "value for samples below (default: the threshold)", "valueLT,value", nullptr, "@below"}},
         .family = "Threshold_LTValGTVal:above+below|Threshold_GTVal:above|Threshold_LTVal:below", .keepAlpha = true},
        {.name = "mask",
         .help = "compare every pixel with a value: 255 where it holds in all channels, else 0 (gray)",
         .operands = "[IN]",
         .options = {{"op", "lt|le|eq|ge|gt", "the comparison (default gt)", "cmpOp", "lt=0,le=1,eq=2,ge=3,gt=4", "gt"},
                     {"value", "V", "the value, one for every channel or one each (default 128)", "value", nullptr, "128"}},
         .family = "CompareC"},
        {.name = "otsu",
         .help = "print Otsu's threshold of an 8-bit image (colour by its luma) and write it binarised",
         .operands = "IN", .run = runOtsu},
        {.name = "stats",
         .help = "print per channel the sum, mean, minimum and maximum (first positions) and norms",
         .details = "\nOf a 4-channel image every channel, the alpha too. Positions are (x, y) of the\n"
                    "first occurrence, rows from the top, columns from the left. The norms are the\n"
                    "largest sample (Inf), the sum of the samples (L1) and the square root of the sum\n"
                    "of their squares (L2).\n",
         .operands = "[IN]", .writesImage = false, .run = runStats},
        {.name = "ssim",
         .help = "print the structural similarity of two images per channel (1 for identical ones)",
         .details = "\nThe mean over every 11x11 window of the images (Gaussian weights of sigma 1.5,\n"
                    "constants from the sample range); both at least 11x11, of one layout.\n",
         .operands = "[A B]", .writesImage = false, .run = runSsim},
        {.name = "depth", .help = "change the bits per sample, mapping the whole range or a chosen one",
         .details = "\n8 to 16 bits multiplies by 257, or maps 0..255 onto --range LO,HI and rounds by\n"
                    "--round (zero, near: half to even, financial: half away from zero). 16 to 8 bits\n"
                    "divides by 257 (fast: may be one off; --accurate rounds), or maps LO..HI onto\n"
                    "0..255 (half to even; beyond the range the ends).\n",
         .operands = "[IN]",
         .options = {{"to", "8|16", "bits per sample of the output (default: the other depth)"},
                     {"range", "LO,HI", "the range to map from (16 to 8) or onto (8 to 16)"},
                     {"round", "zero|near|financial", "rounding onto 16 bits with --range (default near)"},
                     {"accurate", "", "16 to 8 bits: round instead of the fast division"}},
         .run = runDepth},

        // Moving pixels.
        {.name = "mirror", .help = "mirror an image about an axis or a diagonal",
         .details = "\nThe axes:\n"
                    "  h     about the horizontal axis: upside down (row y becomes row H-1-y)\n"
                    "  v     about the vertical axis: left to right (column x becomes column W-1-x)\n"
                    "  both  about both: a half turn\n"
                    "  d45   about the main diagonal: the transpose (W x H becomes H x W)\n"
                    "  d135  about the other diagonal: the top left pixel goes to the bottom right\n"
                    "Every channel moves, the alpha too. The library refuses to mirror a single\n"
                    "row about h or a single column about v (ovkStatusSizeError).\n",
         .operands = "[IN]",
         .options = {{"axis", "h|v|both|d45|d135", "the axis or diagonal to mirror about", "flip", "h=0,v=1,both=2,d45=3,d135=4"}},
         .family = "Mirror"},
        {.name = "transpose", .help = "swap rows and columns: pixel (x, y) goes to (y, x), W x H becomes H x W",
         .operands = "[IN]", .family = "Transpose"},
        {.name = "swap",
         .help = "reorder the channels of an RGB or RGBA image: output channel c = input channel order[c]",
         .details = "\n--order 2,1,0 turns RGB into BGR. Channels count from 0 (red); an entry may\n"
                    "repeat a channel: 0,0,0 shows the red channel in gray.\n"
                    "Of a 4-channel image, three entries reorder the colour channels and keep the\n"
                    "alpha; four reorder all: with entries from 0 to 2 the library does it in one\n"
                    "call, and an entry of 3 (the alpha as a source, e.g. 3,1,2,0 swaps red and\n"
                    "alpha) takes two: the colour channels of the output are picked from all four\n"
                    "into an RGB image, then put into the output, whose alpha is copied from the\n"
                    "channel the fourth entry names.\n"
                    "Entries the library does not accept give ovkStatusChannelOrderError.\n",
         .operands = "[IN]",
         .options = {{"order", "A,B,C[,D]", "the input channel of each output channel"}},
         .run = runSwap},
        {.name = "border",
         .help = "surround an image by a border: edge pixels repeated, a constant, or wrapped around",
         .details = "\nThe output is W + left + right by H + top + bottom pixels, the input at\n"
                    "(left, top). --bottom is --top and --right is --left unless given. The types:\n"
                    "  replicate  each border pixel is the nearest edge pixel (the default)\n"
                    "  const      border pixels are --value: one for every channel or one per\n"
                    "             channel; three for a 4-channel image give an opaque border;\n"
                    "             black (and opaque) without --value\n"
                    "  wrap       the image repeats: the right border continues from the left\n"
                    "             edge, the bottom one from the top edge\n"
                    "The library wraps 32-bit images of one channel only: each channel goes to\n"
                    "such an image (exactly: every 8- or 16-bit sample is a 32-bit one), gets its\n"
                    "border there and comes back.\n"
                    "A negative border is an error of the library (ovkStatusSizeError).\n",
         .operands = "[IN]",
         .options = {{"type", "replicate|const|wrap", "how the border is filled (default replicate)"},
                     {"top", "T", "rows above the image (default 0)"},
                     {"left", "L", "columns left of the image (default 0)"},
                     {"bottom", "B", "rows below the image (default: as --top)"},
                     {"right", "R", "columns right of the image (default: as --left)"},
                     {"value", "V[,V,V[,V]]", "the border's value for --type const"}},
         .run = runBorder},

        // Noise and generated images.
        {.name = "noise", .help = "add uniform or Gaussian random noise to every sample",
         .details = "\n--kind uniform adds whole numbers from --low to --high (default 0) to each\n"
                    "sample; --kind gauss adds --mean + --stddev * z, z from a standard normal\n"
                    "distribution, rounded. Sums are clamped to the sample range. The library\n"
                    "takes these values as samples, 0 to 255 for 8-bit images or to 65535 for\n"
                    "16-bit ones, so uniform noise only brightens: subtract a constant afterwards\n"
                    "(subc) to centre it. --low 10 --high 10 adds exactly 10.\n"
                    "The library adds noise to one channel at a time: the colour channels are\n"
                    "taken out one by one, red first, each gets its noise and goes back; the\n"
                    "alpha of a 4-channel image is kept. The generator's state carries on from\n"
                    "channel to channel, so the channels get different noise. The same --seed\n"
                    "(default 1) gives the same noise.\n",
         .operands = "[IN]",
         .options = {{"kind", "uniform|gauss", "the distribution (default uniform)"},
                     {"low", "A", "uniform: the smallest value added (default 0)"},
                     {"high", "B", "uniform: the largest value added"},
                     {"mean", "M", "gauss: the mean of the values added (default 0)"},
                     {"stddev", "S", "gauss: their standard deviation"},
                     {"seed", "N", "the generator's seed, 0 to 4294967295 (default 1)"}},
         .run = runNoise},
        {.name = "ramp", .help = "make an image of a linear ramp: offset + slope * x, y or x * y",
         .details = "\nEach sample is offset + slope * k with k = x (--axis 0), y (--axis 1) or x * y\n"
                    "(--axis 2), rounded and clamped to the sample range; offset and slope are in\n"
                    "sample units of the output's depth. Without --slope the ramp runs from the\n"
                    "offset up by the largest sample value (255 or 65535) across the image: from\n"
                    "black to white for --offset 0. Every colour channel gets the ramp; the alpha\n"
                    "of a 4-channel image is opaque.\n",
         .options = {{"width", "W", "the width (default 512)"},
                     {"height", "H", "the height (default 512)"},
                     {"offset", "O", "the value at x = 0 or y = 0 (default 0)"},
                     {"slope", "S", "the step from pixel to pixel (default: the whole range across)"},
                     {"axis", "0|1|2", "along x, along y, or along x * y (default 0)"},
                     {"depth", "8|16", "bits per sample (default 8)"},
                     {"channels", "1|3|4", "gray, RGB or RGBA (default 1)"}},
         .run = runRamp},
        {.name = "jaehne", .help = "make an image of a zone plate: concentric rings whose frequency grows outwards",
         .details = "\nThe rings are sin(pi/2 * r^2 / R), r the distance from the centre and R half\n"
                    "the larger side, mapped onto 0 to the largest sample value: the frequency\n"
                    "reaches half a cycle per pixel at distance R. Every colour channel gets the\n"
                    "rings; the alpha of a 4-channel image is opaque.\n",
         .options = {{"width", "W", "the width (default 512)"},
                     {"height", "H", "the height (default 512)"},
                     {"depth", "8|16", "bits per sample (default 8)"},
                     {"channels", "1|3|4", "gray, RGB or RGBA (default 1)"}},
         .run = runJaehne},
    };
    return table;
}

#undef OVKIMG_SCALE_HELP
#undef OVKIMG_TWO_IMAGES_HELP
#undef OVKIMG_VALUE_HELP

const Operation* findOperation(std::string_view name) {
    for (const Operation& op : operations()) {
        if (name == op.name) return &op;
    }
    return nullptr;
}

}  // namespace ovkimg
