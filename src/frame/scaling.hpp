// The scale-factor rule for integer results: multiply the exact result by
// 2^-scaleFactor, round ties to even, saturate to the destination type.
// Every family that rescales integer results by a power of two uses these.
#pragma once

#include "frame/types.hpp"

namespace ovk {

// v / 2^sf rounded half to even, for sf >= 1, with an arithmetic shift so that
// negative ties also go to the even neighbour (-1.5 -> -2, -0.5 -> 0).
// The sum is formed in 128 bits, so values near the ends of the 64-bit range
// (complex 32-bit products) cannot overflow.
constexpr i64 shiftRoundHalfEven(i64 v, int sf)
{
    if (sf >= 64) return 0;  // |v| <= 2^63: the quotient is at most 1/2, and a tie goes to 0
    const __int128 w = v;
    return static_cast<i64>((w + (__int128(1) << (sf - 1)) - 1 + ((w >> sf) & 1)) >> sf);
}

// v * 2^-sf for any sf, rounded and saturated to T.
template <class T>
constexpr T scaleResult(i64 v, int sf)
{
    if (sf == 0) return saturate<T>(v);
    if (sf > 0) return saturate<T>(shiftRoundHalfEven(v, sf));
    // Left shift: any non-zero value that leaves T saturates to the bound of its sign.
    if (v == 0) return T(0);
    constexpr i64 limit = i64(1) << 40;  // larger than any T's range, small enough to shift safely
    const int k = sf <= -40 ? 40 : -sf;  // never negates INT_MIN
    if (k >= 40 || v >= (limit >> k) || v <= -(limit >> k)) return saturate<T>(v > 0 ? limit : -limit);
    return saturate<T>(v * (i64(1) << k));
}

// 2^-sf as a float, formed by repeated doubling or halving of 1 (exact).
inline float scaleFloat(int sf)
{
    if (sf > 160) return 0.0f;  // beyond these bounds the result is 0 or infinity anyway
    if (sf < -160) return std::numeric_limits<float>::infinity();
    float s = 1.0f;
    for (int i = 0; i < sf; ++i) s *= 0.5f;
    for (int i = 0; i > sf; --i) s *= 2.0f;
    return s;
}

// 2^-sf as a double, formed the same way.
inline double scaleDouble(int sf)
{
    if (sf > 1100) return 0.0;
    if (sf < -1100) return std::numeric_limits<double>::infinity();
    double s = 1.0;
    for (int i = 0; i < sf; ++i) s *= 0.5;
    for (int i = 0; i > sf; --i) s *= 2.0;
    return s;
}

}  // namespace ovk
