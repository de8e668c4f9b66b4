#include "status.hpp"

#include <apicall/apicall.hpp>

#include <cstdio>

namespace ovkimg {

// The names come from the API description, which reads them off ovkdefs.h.
std::string statusName(OvkStatus status) {
    const std::string name = ovk::apicall::statusName(status);
    return name == std::to_string(int(status)) ? "unknown status" : name;
}

bool reportStatus(const char* operation, OvkStatus status) {
    if (status == ovkStatusOk) return true;
    const bool warning = status > 0;
    std::fprintf(stderr, "ovkimg: %s: %slibrary status %d (%s)\n", operation, warning ? "warning: " : "",
                 static_cast<int>(status), statusName(status).c_str());
    return warning;
}

}  // namespace ovkimg
