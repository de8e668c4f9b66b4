// The processor's rounding control for vector conversions (the same MXCSR
// register serves every x86 vector width).
#pragma once

#include <xmmintrin.h>

namespace ovk::simd {

// Round to nearest (ties to even) for the lifetime of the object; the
// caller's setting is restored afterwards. Inside it, roundToInt() rounds
// half to even whatever the caller had chosen.
class NearestRounding {
public:
    NearestRounding() : saved_(_mm_getcsr())
    {
        if (saved_ & kRoundingBits) _mm_setcsr(saved_ & ~kRoundingBits);
    }
    ~NearestRounding()
    {
        if (saved_ & kRoundingBits) _mm_setcsr(saved_);
    }
    NearestRounding(const NearestRounding&) = delete;
    NearestRounding& operator=(const NearestRounding&) = delete;

private:
    static constexpr unsigned kRoundingBits = 0x6000;
    unsigned saved_;
};

}  // namespace ovk::simd
