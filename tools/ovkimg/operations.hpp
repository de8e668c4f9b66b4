// ovkimg: the operations the tool offers.
//
// Each operation is one entry of the table in operations.cpp. An operation
// that is one library call is data: the entry names the family and says
// which parameter each option fills (family.cpp runs it). Others have a run
// function: it gets the parsed options and the input images, calls the
// library and returns the output image together with the library's status
// (or just the status when the call failed).
// The tool does the rest: parsing and checking the options, reading the
// inputs (or making the test image, and for two-image operations its mirror
// image as the second input), reporting the status, writing the output, and
// the help. `ovkimg call` (call.cpp) reaches every export by name.
#pragma once

#include "image.hpp"
#include "options.hpp"

#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace ovkimg {

// What a run function gives back.
struct Result {
    OvkStatus status = ovkStatusOk;  // the library's status: < 0 error, > 0 warning
    std::optional<Image> image;      // the image to write, for operations that make one

    Result() = default;
    Result(OvkStatus s) : status(s) {}
    Result(Image output, OvkStatus s = ovkStatusOk) : status(s), image(std::move(output)) {}
};

// Run functions throw std::runtime_error for failures of their own (e.g.
// images of the wrong type) and UsageError for bad option values.
using RunFunction = Result (*)(const Options& options, std::span<Image> inputs);

struct Operation {
    const char* name;
    const char* help;      // one line for the listing
    const char* details = "";  // more for `ovkimg help <operation>`: whole lines, each ending in '\n'
    // The input files, as the usage shows them: "IN", "image1 image2"; in
    // brackets ("[A B]") when the test image stands in for them.
    const char* operands = "";
    std::vector<OptionSpec> options = {};
    bool writesImage = true;  // takes -o and writes the image it returns
    RunFunction run = nullptr;
    // One library call: the family, or alternatives picked by the options
    // given ("LShiftC:left|RShiftC:right"); the images in reverse parameter
    // order (the library's Sub and Div take the subtrahend and the divisor
    // first); four channels always by the AC4 member (alpha kept).
    const char* family = nullptr;
    bool swapSources = false;
    bool keepAlpha = false;

    // The input files it takes; whether the test image stands in for them.
    int inputs() const {
        int n = 0;
        for (const char* c = operands; *c; ++c) n += *c != ' ' && *c != '[' && *c != ']' && (c == operands || c[-1] == ' ' || c[-1] == '[');
        return n;
    }
    bool testImage() const { return operands[0] == '['; }
};

// Runs an operation that is one library call (family.cpp).
Result runFamily(const Operation& op, const Options& options, std::span<Image> inputs);

// The operations of more than one library call (composites.cpp). Where the
// library has no member for a layout they combine others, as their help
// tells: noise goes through the channels one by one, a wrapped border through
// 32-bit copies of them.
Result runSwap(const Options& options, std::span<Image> inputs);    // --order
Result runBorder(const Options& options, std::span<Image> inputs);  // --type, --top, --left, ...
Result runNoise(const Options& options, std::span<Image> inputs);   // --kind, --low/--high or --mean/--stddev
Result runOtsu(const Options& options, std::span<Image> inputs);
Result runStats(const Options& options, std::span<Image> inputs);
Result runSsim(const Options& options, std::span<Image> inputs);
Result runDepth(const Options& options, std::span<Image> inputs);   // --to, --range, --round, --accurate
Result runRamp(const Options& options, std::span<Image> inputs);    // no input: a new image
Result runJaehne(const Options& options, std::span<Image> inputs);  // no input: a new image

// `ovkimg call` with the arguments after "call" (call.cpp): the exit status.
// Throws UsageError for mistakes on the command line.
int runCall(std::span<const std::string> args);

// The output image with the library's status; no image after an error.
// (Callers compute the status first: the image is moved here.)
inline Result finish(Image&& image, OvkStatus status) {
    if (status < 0) return status;
    return Result(std::move(image), status);
}

// Every operation, in the order of the help listing.
std::span<const Operation> operations();

// The operation called `name`; null when there is none.
const Operation* findOperation(std::string_view name);

}  // namespace ovkimg
