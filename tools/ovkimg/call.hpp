// ovkimg call: any export of the library by name (see call.cpp).
#pragma once

#include "options.hpp"

#include <span>
#include <string>

namespace ovkimg {

// Runs `ovkimg call` with the arguments after "call"; the exit status.
// Throws UsageError for mistakes on the command line.
int runCall(std::span<const std::string> args);

}  // namespace ovkimg
