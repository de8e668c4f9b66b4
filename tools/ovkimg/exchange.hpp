// ovkimg: run functions of the operations that move, copy and generate
// pixels (the library's exchange functions), for the table in
// operations.cpp.
//
// Each picks the library's member for the image's layout: 8u or 16u, C1, C3
// or C4 (AC4 where only the colour channels are to change). Where the library
// has no member for a layout, the run function combines others, as its help
// in operations.cpp tells: noise goes through the channels one by one, a
// wrapped border through 32-bit copies of them.
#pragma once

#include "operations.hpp"

namespace ovkimg {

// One image.
Result runMirror(const Options& options, std::span<Image> inputs);     // --axis
Result runTranspose(const Options& options, std::span<Image> inputs);
Result runSwap(const Options& options, std::span<Image> inputs);       // --order
Result runBorder(const Options& options, std::span<Image> inputs);     // --type, --top, --left, ...
Result runNoise(const Options& options, std::span<Image> inputs);      // --kind, --low/--high or --mean/--stddev

// No input: a new image.
Result runRamp(const Options& options, std::span<Image> inputs);
Result runJaehne(const Options& options, std::span<Image> inputs);

}  // namespace ovkimg
