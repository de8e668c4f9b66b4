// ovkimg: the operations the tool offers.
//
// Each operation is one entry of the table in operations.cpp. To add one:
//   1. write its run function: it gets the parsed options and the input
//      images, calls the library and returns the output image together with
//      the library's status (or just the status when the call failed);
//   2. add an entry {name, help, details, operands, options, inputs, output,
//      run}.
// The tool does the rest: parsing and checking the options, reading the
// inputs (or making the test image, and for two-image operations its mirror
// image as the second input), reporting the status, writing the output, and
// the help. The arithmetic, logic and shift operations are in
// arithmetic.cpp; their table entries use its run functions.
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
    const char* operands = "";  // the positional part of the usage, e.g. "[input]" or "image1 image2"
    std::vector<OptionSpec> options = {};
    int minInputs = 0;         // input files the operation needs ...
    int maxInputs = 0;         // ... and accepts
    bool testImage = false;    // without input files, each needed input is the built-in test image
    bool writesImage = false;  // takes -o and writes the image it returns
    RunFunction run = nullptr;
};

// Helpers of the run functions.

// The member for images of `channels` channels.
template <class F>
F byChannels(int channels, F c1, F c3, F c4) {
    switch (channels) {
    case 1: return c1;
    case 3: return c3;
    case 4: return c4;
    }
    throw std::runtime_error("unsupported channel count " + std::to_string(channels));
}

// Calls body(T{}) with the sample type T of `type`.
template <class Body>
Result withType(SampleType type, Body&& body) {
    if (type == SampleType::U8) return body(Ovk8u{});
    return body(Ovk16u{});
}

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
