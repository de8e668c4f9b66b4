// Element-type traits shared by every family: the C type behind a type code,
// its range, and saturating conversions into it.
#pragma once

#include <ovk/ovkdefs.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace ovk {

using i64 = std::int64_t;
using u64 = std::uint64_t;

template <class T>
inline constexpr bool isComplex = std::is_same_v<T, Ovk16sc> || std::is_same_v<T, Ovk32sc> ||
                                  std::is_same_v<T, Ovk32fc> || std::is_same_v<T, Ovk64fc>;

// The scalar type of one part: Ovk16s for Ovk16sc, the type itself otherwise.
template <class T> struct PartOf { using type = T; };
template <> struct PartOf<Ovk16sc> { using type = Ovk16s; };
template <> struct PartOf<Ovk32sc> { using type = Ovk32s; };
template <> struct PartOf<Ovk32fc> { using type = Ovk32f; };
template <> struct PartOf<Ovk64fc> { using type = Ovk64f; };
template <class T> using Part = typename PartOf<T>::type;

template <class T>
struct Elem {
    using Scalar = Part<T>;
    static constexpr bool integer = std::is_integral_v<Scalar>;
    static constexpr bool floating = std::is_floating_point_v<Scalar>;
    static constexpr bool complex = isComplex<T>;
    static constexpr Scalar min = std::numeric_limits<Scalar>::lowest();
    static constexpr Scalar max = std::numeric_limits<Scalar>::max();
};

// Clamps an exact integer value to an integer element type's range.
template <class T>
constexpr T saturate(i64 v)
{
    static_assert(std::is_integral_v<T>);
    if constexpr (sizeof(T) >= sizeof(i64)) {
        return static_cast<T>(v);
    } else {
        constexpr i64 lo = std::numeric_limits<T>::lowest(), hi = std::numeric_limits<T>::max();
        return static_cast<T>(v < lo ? lo : (v > hi ? hi : v));
    }
}

// Rounds to the nearest integer, ties to even, in the default floating-point
// environment (the library never changes the rounding mode). Valid for
// |x| < 2^63; compiles to one conversion instruction.
inline i64 roundHalfEven(double x) { return std::llrint(x); }
inline i64 roundHalfEven(float x) { return std::llrint(x); }

// Rounds ties to even, then saturates; NaN gives 0. The order (clamp the value
// first, then round) keeps out-of-range inputs away from undefined conversions.
template <class T, class F>
inline T saturateRound(F x)
{
    static_assert(std::is_integral_v<T> && std::is_floating_point_v<F>);
    constexpr double lo = static_cast<double>(std::numeric_limits<T>::lowest());
    constexpr double hi = static_cast<double>(std::numeric_limits<T>::max());
    const double d = static_cast<double>(x);
    if (!(d == d)) return T(0);
    if (d <= lo) return std::numeric_limits<T>::lowest();
    if (d >= hi) return std::numeric_limits<T>::max();
    return saturate<T>(roundHalfEven(d));
}

}  // namespace ovk
