// ovkimg: applies operations of the ovk image library to image files.
#include "image_io.hpp"
#include "library.hpp"
#include "operations.hpp"
#include "status.hpp"
#include "synthetic.hpp"

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace ovkimg {
namespace {

constexpr const char* kDefaultOutput = "ovkimg-out.png";
constexpr const char* kCallUsage =
    "usage: ovkimg call <function> [image...] [-o FILE[,FILE...]] [--parameter value...]\n"
    "       ovkimg call <function> --help    its parameters, description and C prototype\n"
    "       ovkimg call --list [TEXT]        the functions whose names contain TEXT\n"
    "\n"
    "Calls any function of the library. Images fill its image parameters (sources,\n"
    "in-place images, masks) in order; each missing one is the built-in test image.\n"
    "Samples become the function's element type as numbers (a .npy file gives any\n"
    "type exactly), channels its layout. Other parameters go by their names:\n"
    "numbers (one, or one per channel for arrays), enumerations by name or value,\n"
    "sizes as WxH (roiSize defaults to the first image's size, or 512x512).\n"
    "Outputs, of the region's size (transposed where the function transposes, or\n"
    "--dstRoiSize), go to the -o files in parameter order: .png, .pgm or .ppm for\n"
    "8u and 16u images of 1, 3 or 4 channels, .npy for any; results are printed.\n";
constexpr int kTestImageSize = 512;
constexpr int kTestImageChannels = 3;

// "--name VALUE", or "--name" for a flag.
std::string optionUsage(const OptionSpec& option) {
    std::string text = std::string("--") + option.name;
    if (*option.value) text += std::string(" ") + option.value;
    return text;
}

std::string usageLine(const Operation& op) {
    std::string line = std::string("ovkimg ") + op.name;
    if (*op.operands) line += std::string(" ") + op.operands;
    if (op.writesImage) line += " [-o output]";
    for (const OptionSpec& option : op.options) line += " [" + optionUsage(option) + "]";
    return line;
}

void printUsage(std::FILE* out) {
    std::fprintf(out,
                 "usage: ovkimg <operation> [input...] [-o output] [--option value...]\n"
                 "\n"
                 "Applies an operation of the ovk image library to image files: PNG and\n"
                 "binary PGM/PPM, 8 or 16 bits per sample. Operations that take an image use\n"
                 "a built-in %dx%d RGB test image when no input file is given: the library's\n"
                 "own ramps (red left to right, blue from the top left corner) and zone plate\n"
                 "(green). Those that take two use the test image and its mirror image\n"
                 "(flipped left to right).\n"
                 "\n"
                 "Operations:\n",
                 kTestImageSize, kTestImageSize);
    for (const Operation& op : operations()) std::fprintf(out, "  %-12s %s\n", op.name, op.help);
    std::fprintf(out, "  %-12s %s\n", "call", "call any function of the library by name: ovkimg call <function> --help");
    std::fprintf(out, "  %-12s %s\n", "help", "list the operations, or show how to use one: ovkimg help <operation>");
    std::fprintf(out,
                 "\n"
                 "Common options:\n"
                 "  -o FILE      the output image (default %s); its extension picks the\n"
                 "               format: .png, .pgm, .ppm or .pnm\n"
                 "  -h, --help   the usage of the operation\n"
                 "\n"
                 "Exit status: 0 success (library warnings included), 1 failure, 2 usage error.\n",
                 kDefaultOutput);
}

void printOperationHelp(const Operation& op) {
    std::printf("usage: %s\n\n%s\n", usageLine(op).c_str(), op.help);
    if (op.testImage() && op.inputs() >= 2) {
        std::printf("Without input files, uses the built-in test image as the first image and the\n"
                    "test image mirrored left to right as the second.\n");
    } else if (op.testImage()) {
        std::printf("Without an input file, uses the built-in test image.\n");
    }
    if (*op.details) std::printf("%s", op.details);
    if (!op.options.empty()) {
        std::printf("\nOptions:\n");
        for (const OptionSpec& option : op.options) {
            std::printf("  %-20s %s\n", optionUsage(option).c_str(), option.help);
        }
    }
}

std::string files(int n) { return std::to_string(n) + (n == 1 ? " input file" : " input files"); }

int runOperation(const Operation& op, std::span<const std::string> args) {
    const Options options = parseOptions(args, op.options);
    if (options.help) {
        printOperationHelp(op);
        return 0;
    }
    const int given = int(options.inputs.size());
    if (given > op.inputs()) {
        if (op.inputs() == 0) throw UsageError("takes no input files");
        throw UsageError("takes at most " + files(op.inputs()) + ", got " + std::to_string(given));
    }
    if (given < op.inputs() && !(given == 0 && op.testImage())) {
        throw UsageError("needs " + files(op.inputs()) + ", got " + std::to_string(given));
    }
    if (!op.writesImage && !options.output.empty()) throw UsageError("writes no image: -o is not accepted");
    const std::string output = options.output.empty() ? kDefaultOutput : options.output;
    if (op.writesImage) checkOutputPath(output);  // before any work

    std::vector<Image> inputs;
    for (const std::string& path : options.inputs) inputs.push_back(readImage(path));
    if (given == 0 && op.testImage()) {
        inputs.push_back(makeTestImage(kTestImageSize, kTestImageSize, kTestImageChannels));
        if (op.inputs() >= 2) {
            inputs.push_back(makeMirroredTestImage(kTestImageSize, kTestImageSize, kTestImageChannels));
        }
    }

    Result result = op.family ? runFamily(op, options, inputs) : op.run(options, inputs);
    if (!reportStatus(op.name, result.status)) return 1;
    if (op.writesImage) {
        if (!result.image) throw std::logic_error("the operation made no image");
        writeImage(*result.image, output);
        std::printf("wrote %s (%s)\n", output.c_str(), result.image->describe().c_str());
    }
    return 0;
}

int runTool(const std::vector<std::string>& args) {
    if (args.empty()) {
        printUsage(stderr);
        return 2;
    }
    const bool help = args[0] == "help" || args[0] == "-h" || args[0] == "--help";
    if (help && args.size() == 1) {
        printUsage(stdout);
        return 0;
    }
    const std::string& name = help ? args[1] : args[0];
    if (name == "call") {  // every export by name: its options come from the API description
        std::vector<std::string> rest(args.begin() + 1, args.end());
        if (help) rest.push_back("--help");
        if (rest.empty() || rest[0] == "--help") {
            std::printf("%s", kCallUsage);
            return 0;
        }
        try {
            return runCall(rest);
        } catch (const UsageError& e) {
            std::fprintf(stderr, "ovkimg: call: %s\nusage: ovkimg call <function> [image...] [-o FILE[,FILE...]] "
                                 "[--parameter value...] (see 'ovkimg help call')\n", e.what());
            return 2;
        } catch (const std::exception& e) {
            std::fprintf(stderr, "ovkimg: call: %s\n", e.what());
            return 1;
        }
    }
    const Operation* op = findOperation(name);
    if (op == nullptr) {
        std::fprintf(stderr, "ovkimg: unknown operation '%s' (see 'ovkimg help')\n", name.c_str());
        return 2;
    }
    if (help) {
        printOperationHelp(*op);
        return 0;
    }
    try {
        return runOperation(*op, std::span(args).subspan(1));
    } catch (const UsageError& e) {
        std::fprintf(stderr, "ovkimg: %s: %s\nusage: %s\n", op->name, e.what(), usageLine(*op).c_str());
        return 2;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "ovkimg: %s: %s\n", op->name, e.what());
        return 1;
    }
}

}  // namespace
}  // namespace ovkimg

int main(int argc, char** argv) {
    try {
        ovkimg::locateDescription(argv[0]);
        return ovkimg::runTool(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const std::exception& e) {
        std::fprintf(stderr, "ovkimg: %s\n", e.what());
        return 1;
    }
}
