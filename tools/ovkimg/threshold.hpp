// ovkimg: run functions of the thresholding, comparison and depth
// operations, for the table in operations.cpp.
#pragma once

#include "operations.hpp"

namespace ovkimg {

Result runThreshold(const Options& options, std::span<Image> inputs);  // --above, --below, --high, --low
Result runMask(const Options& options, std::span<Image> inputs);       // --op, --value
Result runOtsu(const Options& options, std::span<Image> inputs);
Result runDepth(const Options& options, std::span<Image> inputs);      // --to, --range, --round, --accurate

}  // namespace ovkimg
