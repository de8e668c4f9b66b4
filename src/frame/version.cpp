#include "frame/version.hpp"

namespace ovk::frame {
namespace {

constexpr OvkLibraryVersion kVersion = {
    8,      // major
    1,      // minor
    1,      // majorBuild
    42291,  // build
#if defined(__AVX2__)  // the sibling built from the same sources for AVX2
    {'m', 'y', '\0', '\0'},
    "ovkIP AVX2 (my)",
#else
    {'m', 'x', '\0', '\0'},
    "ovkIP PX (mx)",
#endif
    "8.1.1 (r42291)",
    "Apr 10 2014",
};

}  // namespace

const OvkLibraryVersion* libraryVersion() { return &kVersion; }

}  // namespace ovk::frame
