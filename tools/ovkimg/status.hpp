// ovkimg: the library's status codes by name.
#pragma once

#include <ovk/ovkdefs.h>

#include <string>

namespace ovkimg {

// The enumerator's name, e.g. "ovkStatusNullPointer" for -8; "unknown
// status" for a value the enumeration does not have.
std::string statusName(OvkStatus status);

// Reports a non-zero status on stderr:
//   ovkimg: <operation>: library status -8 (ovkStatusNullPointer)
//   ovkimg: <operation>: warning: library status 6 (ovkStatusDivByZero)
// Returns false for an error (negative), true for success or a warning.
bool reportStatus(const char* operation, OvkStatus status);

}  // namespace ovkimg
