#include "frame/version.hpp"

namespace ovk::frame {
namespace {

constexpr OvkLibraryVersion kVersion = {
    8,      // major
    1,      // minor
    1,      // majorBuild
    42291,  // build
    {'m', 'x', '\0', '\0'},
    "ovkIP PX (mx)",
    "8.1.1 (r42291)",
    "Apr 10 2014",
};

}  // namespace

const OvkLibraryVersion* libraryVersion() { return &kVersion; }

}  // namespace ovk::frame
