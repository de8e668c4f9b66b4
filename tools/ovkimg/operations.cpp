#include "operations.hpp"

#include <algorithm>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

namespace ovkimg {
namespace {

// ---------------------------------------------------------------------------
// info
// ---------------------------------------------------------------------------

struct CpuFeature {
    const char* name;
    Ovk64u bit;
};

#define OVKIMG_FEATURE(name) {#name, ovkCpuFeature##name}
constexpr CpuFeature kCpuFeatures[] = {
    OVKIMG_FEATURE(MMX),        OVKIMG_FEATURE(SSE),           OVKIMG_FEATURE(SSE2),
    OVKIMG_FEATURE(SSE3),       OVKIMG_FEATURE(SSSE3),         OVKIMG_FEATURE(MOVBE),
    OVKIMG_FEATURE(SSE41),      OVKIMG_FEATURE(SSE42),         OVKIMG_FEATURE(AVX),
    OVKIMG_FEATURE(AES),        OVKIMG_FEATURE(PCLMULQDQ),     OVKIMG_FEATURE(RDRAND),
    OVKIMG_FEATURE(F16C),       OVKIMG_FEATURE(AVX2),          OVKIMG_FEATURE(BMI1),
    OVKIMG_FEATURE(BMI2),       OVKIMG_FEATURE(LZCNT),         OVKIMG_FEATURE(ADX),
    OVKIMG_FEATURE(RDSEED),     OVKIMG_FEATURE(SHA),           OVKIMG_FEATURE(FMA),
    OVKIMG_FEATURE(POPCNT),     OVKIMG_FEATURE(AVX512F),       OVKIMG_FEATURE(AVX512CD),
    OVKIMG_FEATURE(AVX512BW),   OVKIMG_FEATURE(AVX512DQ),      OVKIMG_FEATURE(AVX512VL),
    OVKIMG_FEATURE(AVX512IFMA), OVKIMG_FEATURE(AVX512VBMI),    OVKIMG_FEATURE(AVX512VBMI2),
    OVKIMG_FEATURE(AVX512VNNI), OVKIMG_FEATURE(AVX512BITALG),  OVKIMG_FEATURE(AVX512VPOPCNT),
    OVKIMG_FEATURE(AVX512FP16), OVKIMG_FEATURE(GFNI),          OVKIMG_FEATURE(VAES),
    OVKIMG_FEATURE(VPCLMULQDQ), OVKIMG_FEATURE(AVXVNNI),       OVKIMG_FEATURE(XSAVE),
    OVKIMG_FEATURE(OSXSAVE),    OVKIMG_FEATURE(CX16),          OVKIMG_FEATURE(HYPERVISOR),
};
#undef OVKIMG_FEATURE

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
    Ovk64u known = 0;
    for (const CpuFeature& feature : kCpuFeatures) {
        known |= feature.bit;
        if (mask & feature.bit) add(feature.name);
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

struct Difference {
    std::uint64_t count = 0;  // samples differing by more than the tolerance
    long largest = 0;
    int x = -1, y = -1, channel = -1;  // the first of them
};

template <class T>
Difference differences(const Image& a, const Image& b, long tolerance) {
    Difference d;
    const int channels = a.channels();
    for (int y = 0; y < a.height(); ++y) {
        const T* pa = a.row<T>(y);
        const T* pb = b.row<T>(y);
        for (int i = 0; i < a.width() * channels; ++i) {
            const long diff = std::labs(long(pa[i]) - long(pb[i]));
            if (diff <= tolerance) continue;
            if (d.count++ == 0) {
                d.x = i / channels;
                d.y = y;
                d.channel = i % channels;
            }
            if (diff > d.largest) d.largest = diff;
        }
    }
    return d;
}

Result runCompare(const Options& options, std::span<Image> inputs) {
    const Image& a = inputs[0];
    const Image& b = inputs[1];
    const int tolerance = options.integer("tolerance", 0);
    if (tolerance < 0) throw UsageError("--tolerance must not be negative");
    if (a.type() != b.type() || a.channels() != b.channels() || a.width() != b.width() ||
        a.height() != b.height()) {
        throw std::runtime_error("images differ in layout: " + a.describe() + " and " + b.describe());
    }
    const Difference d = a.type() == SampleType::U8 ? differences<Ovk8u>(a, b, tolerance)
                                                    : differences<Ovk16u>(a, b, tolerance);
    if (d.count != 0) {
        throw std::runtime_error("images differ: " + std::to_string(d.count) + " samples by more than " +
                                 std::to_string(tolerance) + ", largest difference " + std::to_string(d.largest) +
                                 ", first at x=" + std::to_string(d.x) + " y=" + std::to_string(d.y) +
                                 " channel " + std::to_string(d.channel));
    }
    std::printf("%s: %s\n", tolerance == 0 ? "identical" : "equal within tolerance", a.describe().c_str());
    return {};
}

}  // namespace

// ---------------------------------------------------------------------------
// The table
// ---------------------------------------------------------------------------

std::span<const Operation> operations() {
    static const std::vector<Operation> table = {
        {
            .name = "info",
            .help = "show the library's version record and the processor's features",
            .run = runInfo,
        },
        {
            .name = "convert",
            .help = "read an image (or the test image) and write it in the output file's format",
            .operands = "[input]",
            .options = {{"depth", "8|16", "bits per sample of the output (default: as the input)"},
                        {"channels", "1|3|4", "gray, RGB or RGBA output (default: as the input)"}},
            .minInputs = 0,
            .maxInputs = 1,
            .testImage = true,
            .writesImage = true,
            .run = runConvert,
        },
        {
            .name = "compare",
            .help = "succeed when two images have the same layout and pixels",
            .operands = "image1 image2",
            .options = {{"tolerance", "N", "largest difference of a sample still taken as equal (default 0)"}},
            .minInputs = 2,
            .maxInputs = 2,
            .run = runCompare,
        },
    };
    return table;
}

const Operation* findOperation(std::string_view name) {
    for (const Operation& op : operations()) {
        if (name == op.name) return &op;
    }
    return nullptr;
}

}  // namespace ovkimg
