#include "status.hpp"

#include <cstdio>

namespace ovkimg {

// A switch over the enumeration without a default: the compiler warns when a
// status is added to ovkdefs.h and not here.
const char* statusName(OvkStatus status) {
    switch (status) {
#define OVKIMG_STATUS(name) \
    case name: return #name;
    OVKIMG_STATUS(ovkStatusSizeWarning)
    OVKIMG_STATUS(ovkStatusQuadNoIntersection)
    OVKIMG_STATUS(ovkStatusNoIntersection)
    OVKIMG_STATUS(ovkStatusNotParallelogram)
    OVKIMG_STATUS(ovkStatusLnNegArg)
    OVKIMG_STATUS(ovkStatusLnZeroArg)
    OVKIMG_STATUS(ovkStatusDivByZero)
    OVKIMG_STATUS(ovkStatusSqrtNegArg)
    OVKIMG_STATUS(ovkStatusNoOperation)
    OVKIMG_STATUS(ovkStatusOk)
    OVKIMG_STATUS(ovkStatusBadArgument)
    OVKIMG_STATUS(ovkStatusSizeError)
    OVKIMG_STATUS(ovkStatusRangeError)
    OVKIMG_STATUS(ovkStatusNullPointer)
    OVKIMG_STATUS(ovkStatusNoMemory)
    OVKIMG_STATUS(ovkStatusDivByZeroError)
    OVKIMG_STATUS(ovkStatusOutOfRange)
    OVKIMG_STATUS(ovkStatusDataTypeError)
    OVKIMG_STATUS(ovkStatusScaleRangeError)
    OVKIMG_STATUS(ovkStatusStepError)
    OVKIMG_STATUS(ovkStatusFftOrderError)
    OVKIMG_STATUS(ovkStatusFftFlagError)
    OVKIMG_STATUS(ovkStatusContextMismatch)
    OVKIMG_STATUS(ovkStatusThresholdError)
    OVKIMG_STATUS(ovkStatusMomentOrderError)
    OVKIMG_STATUS(ovkStatusMirrorFlipError)
    OVKIMG_STATUS(ovkStatusInterpolationError)
    OVKIMG_STATUS(ovkStatusFirLengthError)
    OVKIMG_STATUS(ovkStatusMaskSizeError)
    OVKIMG_STATUS(ovkStatusAnchorError)
    OVKIMG_STATUS(ovkStatusEpsilonError)
    OVKIMG_STATUS(ovkStatusStrideError)
    OVKIMG_STATUS(ovkStatusChannelError)
    OVKIMG_STATUS(ovkStatusAlphaTypeError)
    OVKIMG_STATUS(ovkStatusDivisorError)
    OVKIMG_STATUS(ovkStatusNumChannelsError)
    OVKIMG_STATUS(ovkStatusCoeffError)
    OVKIMG_STATUS(ovkStatusRectError)
    OVKIMG_STATUS(ovkStatusQuadError)
    OVKIMG_STATUS(ovkStatusZeroMaskError)
    OVKIMG_STATUS(ovkStatusChannelOrderError)
    OVKIMG_STATUS(ovkStatusLutLevelsError)
    OVKIMG_STATUS(ovkStatusHistogramLevelsError)
    OVKIMG_STATUS(ovkStatusNotEvenStepError)
    OVKIMG_STATUS(ovkStatusNoiseRangeError)
    OVKIMG_STATUS(ovkStatusQualityIndexError)
    OVKIMG_STATUS(ovkStatusRoundModeError)
    OVKIMG_STATUS(ovkStatusBorderError)
    OVKIMG_STATUS(ovkStatusAlgorithmTypeError)
    OVKIMG_STATUS(ovkStatusModeNotSupported)
#undef OVKIMG_STATUS
    }
    return "unknown status";
}

bool reportStatus(const char* operation, OvkStatus status) {
    if (status == ovkStatusOk) return true;
    const bool warning = status > 0;
    std::fprintf(stderr, "ovkimg: %s: %slibrary status %d (%s)\n", operation, warning ? "warning: " : "",
                 static_cast<int>(status), statusName(status));
    return warning;
}

}  // namespace ovkimg
