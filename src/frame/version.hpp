#pragma once

#include <ovk/ovkdefs.h>

namespace ovk::frame {

// The library's constant version record; the same pointer on every call.
const OvkLibraryVersion* libraryVersion();

}  // namespace ovk::frame
