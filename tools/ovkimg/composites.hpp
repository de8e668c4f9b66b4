// ovkimg: run functions of the operations that take more than one library
// call, for the table in operations.cpp. Where the library has no member for
// a layout they combine others, as their help tells: noise goes through the
// channels one by one, a wrapped border through 32-bit copies of them.
#pragma once

#include "operations.hpp"

namespace ovkimg {

// One image.
Result runSwap(const Options& options, std::span<Image> inputs);   // --order
Result runBorder(const Options& options, std::span<Image> inputs); // --type, --top, --left, ...
Result runNoise(const Options& options, std::span<Image> inputs);  // --kind, --low/--high or --mean/--stddev
Result runOtsu(const Options& options, std::span<Image> inputs);
Result runDepth(const Options& options, std::span<Image> inputs);  // --to, --range, --round, --accurate

// No input: a new image.
Result runRamp(const Options& options, std::span<Image> inputs);
Result runJaehne(const Options& options, std::span<Image> inputs);

}  // namespace ovkimg
