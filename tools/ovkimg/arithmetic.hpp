// ovkimg: run functions of the arithmetic, logic and shift operations, for
// the table in operations.cpp.
//
// Each applies one family of the library's functions (ovkiAdd_*, ovkiNot_*,
// ...) to 8- or 16-bit images of 1, 3 or 4 channels, picking the member for
// the image's layout: C1, C3, C4, or AC4 where the library has no C4 member
// or only the colour channels are to change (the alpha is then copied from
// the first input). A layout without a member fails with a message naming
// the missing function. The output has the layout of the inputs.
#pragma once

#include "operations.hpp"

namespace ovkimg {

// Two images, A and B, of one layout.
Result runAdd(const Options& options, std::span<Image> inputs);       // A + B
Result runSub(const Options& options, std::span<Image> inputs);       // A - B
Result runMul(const Options& options, std::span<Image> inputs);       // A * B
Result runDiv(const Options& options, std::span<Image> inputs);       // A / B
Result runMulScale(const Options& options, std::span<Image> inputs);  // A * B / max
Result runAnd(const Options& options, std::span<Image> inputs);
Result runOr(const Options& options, std::span<Image> inputs);
Result runXor(const Options& options, std::span<Image> inputs);

// One image and --value.
Result runAddC(const Options& options, std::span<Image> inputs);
Result runSubC(const Options& options, std::span<Image> inputs);
Result runMulC(const Options& options, std::span<Image> inputs);
Result runDivC(const Options& options, std::span<Image> inputs);

// One image.
Result runSqrt(const Options& options, std::span<Image> inputs);
Result runSqr(const Options& options, std::span<Image> inputs);
Result runNot(const Options& options, std::span<Image> inputs);
Result runShift(const Options& options, std::span<Image> inputs);  // --left or --right

}  // namespace ovkimg
