// Lane types of the vector layer and the types derived from them, the same
// for every backend.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

// The layer's larger operations (the channel moves, block transposes) are
// always inlined: a call would pass whole vectors through memory.
#define OVK_SIMD_INLINE [[gnu::always_inline]] inline

namespace ovk::simd {

template <class T>
inline constexpr bool isLane = std::is_arithmetic_v<T> && !std::is_same_v<T, bool> && sizeof(T) <= 8 &&
                               !std::is_same_v<T, long double>;

// The integer type of twice the width and the same signedness.
template <class T> struct WiderOf;
template <> struct WiderOf<std::uint8_t> { using type = std::uint16_t; };
template <> struct WiderOf<std::int8_t> { using type = std::int16_t; };
template <> struct WiderOf<std::uint16_t> { using type = std::uint32_t; };
template <> struct WiderOf<std::int16_t> { using type = std::int32_t; };
template <> struct WiderOf<std::uint32_t> { using type = std::uint64_t; };
template <> struct WiderOf<std::int32_t> { using type = std::int64_t; };
template <class T> using Wider = typename WiderOf<T>::type;

// The exact sum of any number of integer lanes.
template <class T> using SumOf = std::conditional_t<std::is_signed_v<T>, std::int64_t, std::uint64_t>;

}  // namespace ovk::simd
