// The SSE2 backend of the vector layer: 128-bit vectors, the instruction set
// every x86-64 processor has. Only frame/simd/simd.hpp includes this file.
//
// What SSE2 lacks (8-bit shifts, unsigned compares, most integer min/max,
// 32-bit low multiply, unsigned 16-bit narrowing) is built here from what it
// has, with exactly the lane results of the native instructions of wider sets.
#pragma once

#include <emmintrin.h>

#include "frame/simd/lanes.hpp"

#define OVK_SIMD_TARGET sse2

namespace ovk::simd {
inline namespace sse2 {

inline constexpr int kVectorBytes = 16;
inline constexpr const char* kTargetName = "SSE2";

// The register type of each lane type (a typedef, not a template argument:
// the vector types' alignment attributes would be dropped there).
template <class T> struct RawOf { using type = __m128i; };
template <> struct RawOf<float> { using type = __m128; };
template <> struct RawOf<double> { using type = __m128d; };

template <class T>
struct Vec {
    static_assert(isLane<T>, "not a lane type");
    using Raw = typename RawOf<T>::type;
    Raw raw;
};

template <class T>
inline constexpr int kLanes = kVectorBytes / int(sizeof(T));

template <class T>
struct Halves {
    Vec<T> lo, hi;
};

namespace raw {
template <class T>
__m128i bits(Vec<T> v)
{
    if constexpr (std::is_same_v<T, float>) return _mm_castps_si128(v.raw);
    else if constexpr (std::is_same_v<T, double>) return _mm_castpd_si128(v.raw);
    else return v.raw;
}
template <class T>
Vec<T> fromBits(__m128i b)
{
    if constexpr (std::is_same_v<T, float>) return {_mm_castsi128_ps(b)};
    else if constexpr (std::is_same_v<T, double>) return {_mm_castsi128_pd(b)};
    else return {b};
}
}  // namespace raw

// --- Memory and constants ---------------------------------------------------

template <class T>
Vec<T> load(const T* p)
{
    if constexpr (std::is_same_v<T, float>) return {_mm_loadu_ps(p)};
    else if constexpr (std::is_same_v<T, double>) return {_mm_loadu_pd(p)};
    else return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))};
}

template <class T>
void store(Vec<T> v, T* p)
{
    if constexpr (std::is_same_v<T, float>) _mm_storeu_ps(p, v.raw);
    else if constexpr (std::is_same_v<T, double>) _mm_storeu_pd(p, v.raw);
    else _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v.raw);
}

template <class T>
Vec<T> splat(T x)
{
    if constexpr (std::is_same_v<T, float>) return {_mm_set1_ps(x)};
    else if constexpr (std::is_same_v<T, double>) return {_mm_set1_pd(x)};
    else if constexpr (sizeof(T) == 1) return {_mm_set1_epi8(static_cast<char>(x))};
    else if constexpr (sizeof(T) == 2) return {_mm_set1_epi16(static_cast<short>(x))};
    else if constexpr (sizeof(T) == 4) return {_mm_set1_epi32(static_cast<int>(x))};
    else return {_mm_set1_epi64x(static_cast<long long>(x))};
}

template <class T>
Vec<T> zero()
{
    return raw::fromBits<T>(_mm_setzero_si128());
}

// The same bits seen as lanes of another type.
template <class To, class From>
Vec<To> bitcast(Vec<From> v)
{
    static_assert(sizeof(Vec<To>) == sizeof(Vec<From>));
    return raw::fromBits<To>(raw::bits(v));
}

// --- Bitwise ---------------------------------------------------------------

template <class T> Vec<T> bitAnd(Vec<T> a, Vec<T> b) { return raw::fromBits<T>(_mm_and_si128(raw::bits(a), raw::bits(b))); }
template <class T> Vec<T> bitOr(Vec<T> a, Vec<T> b) { return raw::fromBits<T>(_mm_or_si128(raw::bits(a), raw::bits(b))); }
template <class T> Vec<T> bitXor(Vec<T> a, Vec<T> b) { return raw::fromBits<T>(_mm_xor_si128(raw::bits(a), raw::bits(b))); }
// ~a & b
template <class T> Vec<T> bitAndNot(Vec<T> a, Vec<T> b) { return raw::fromBits<T>(_mm_andnot_si128(raw::bits(a), raw::bits(b))); }

// --- Arithmetic --------------------------------------------------------------

template <class T>
Vec<T> add(Vec<T> a, Vec<T> b)  // wraps on integer lanes
{
    if constexpr (std::is_same_v<T, float>) return {_mm_add_ps(a.raw, b.raw)};
    else if constexpr (std::is_same_v<T, double>) return {_mm_add_pd(a.raw, b.raw)};
    else if constexpr (sizeof(T) == 1) return {_mm_add_epi8(a.raw, b.raw)};
    else if constexpr (sizeof(T) == 2) return {_mm_add_epi16(a.raw, b.raw)};
    else if constexpr (sizeof(T) == 4) return {_mm_add_epi32(a.raw, b.raw)};
    else return {_mm_add_epi64(a.raw, b.raw)};
}

template <class T>
Vec<T> sub(Vec<T> a, Vec<T> b)  // a - b, wraps on integer lanes
{
    if constexpr (std::is_same_v<T, float>) return {_mm_sub_ps(a.raw, b.raw)};
    else if constexpr (std::is_same_v<T, double>) return {_mm_sub_pd(a.raw, b.raw)};
    else if constexpr (sizeof(T) == 1) return {_mm_sub_epi8(a.raw, b.raw)};
    else if constexpr (sizeof(T) == 2) return {_mm_sub_epi16(a.raw, b.raw)};
    else if constexpr (sizeof(T) == 4) return {_mm_sub_epi32(a.raw, b.raw)};
    else return {_mm_sub_epi64(a.raw, b.raw)};
}

template <class T>
Vec<T> addSat(Vec<T> a, Vec<T> b)  // 8- and 16-bit integer lanes
{
    static_assert(std::is_integral_v<T> && sizeof(T) <= 2);
    if constexpr (sizeof(T) == 1) return {std::is_signed_v<T> ? _mm_adds_epi8(a.raw, b.raw) : _mm_adds_epu8(a.raw, b.raw)};
    else return {std::is_signed_v<T> ? _mm_adds_epi16(a.raw, b.raw) : _mm_adds_epu16(a.raw, b.raw)};
}

template <class T>
Vec<T> subSat(Vec<T> a, Vec<T> b)  // a - b, 8- and 16-bit integer lanes
{
    static_assert(std::is_integral_v<T> && sizeof(T) <= 2);
    if constexpr (sizeof(T) == 1) return {std::is_signed_v<T> ? _mm_subs_epi8(a.raw, b.raw) : _mm_subs_epu8(a.raw, b.raw)};
    else return {std::is_signed_v<T> ? _mm_subs_epi16(a.raw, b.raw) : _mm_subs_epu16(a.raw, b.raw)};
}

template <class T>
Vec<T> averageRound(Vec<T> a, Vec<T> b)  // (a + b + 1) >> 1 without overflow; 8u and 16u lanes
{
    static_assert(std::is_unsigned_v<T> && sizeof(T) <= 2);
    if constexpr (sizeof(T) == 1) return {_mm_avg_epu8(a.raw, b.raw)};
    else return {_mm_avg_epu16(a.raw, b.raw)};
}

template <class T>
Vec<T> mulLow(Vec<T> a, Vec<T> b)  // the low half of the product; 16- and 32-bit integer lanes
{
    static_assert(std::is_integral_v<T> && (sizeof(T) == 2 || sizeof(T) == 4));
    if constexpr (sizeof(T) == 2) {
        return {_mm_mullo_epi16(a.raw, b.raw)};
    } else {
        const __m128i even = _mm_mul_epu32(a.raw, b.raw);
        const __m128i odd = _mm_mul_epu32(_mm_srli_epi64(a.raw, 32), _mm_srli_epi64(b.raw, 32));
        return {_mm_unpacklo_epi32(_mm_shuffle_epi32(even, _MM_SHUFFLE(0, 0, 2, 0)),
                                   _mm_shuffle_epi32(odd, _MM_SHUFFLE(0, 0, 2, 0)))};
    }
}

template <class T>
Vec<T> mulHigh(Vec<T> a, Vec<T> b)  // the high half of the 32-bit product; 16-bit lanes
{
    static_assert(std::is_integral_v<T> && sizeof(T) == 2);
    return {std::is_signed_v<T> ? _mm_mulhi_epi16(a.raw, b.raw) : _mm_mulhi_epu16(a.raw, b.raw)};
}

// a0*b0 + a1*b1 of each pair of 16-bit lanes, as one 32-bit lane (wraps only
// when all four are -32768).
inline Vec<std::int32_t> mulAddPairs(Vec<std::int16_t> a, Vec<std::int16_t> b) { return {_mm_madd_epi16(a.raw, b.raw)}; }

template <class T>
Vec<T> mul(Vec<T> a, Vec<T> b)  // floating-point lanes (integer lanes: mulLow)
{
    if constexpr (std::is_same_v<T, float>) return {_mm_mul_ps(a.raw, b.raw)};
    else return {_mm_mul_pd(a.raw, b.raw)};
}

template <class T>
Vec<T> div(Vec<T> a, Vec<T> b)  // a / b, floating-point lanes
{
    if constexpr (std::is_same_v<T, float>) return {_mm_div_ps(a.raw, b.raw)};
    else return {_mm_div_pd(a.raw, b.raw)};
}

template <class T>
Vec<T> sqrt(Vec<T> a)  // floating-point lanes, correctly rounded
{
    if constexpr (std::is_same_v<T, float>) return {_mm_sqrt_ps(a.raw)};
    else return {_mm_sqrt_pd(a.raw)};
}

// Between 32-bit integer and float lanes: toFloat rounds as the processor's
// rounding control says (to nearest unless a caller changed it); truncate
// rounds toward zero, and a value outside the int32 range gives INT32_MIN.
OVK_SIMD_INLINE Vec<float> toFloat(Vec<std::int32_t> v) { return {_mm_cvtepi32_ps(v.raw)}; }
OVK_SIMD_INLINE Vec<std::int32_t> truncate(Vec<float> v) { return {_mm_cvttps_epi32(v.raw)}; }
// Rounded as the rounding control says (half to even within a NearestRounding).
OVK_SIMD_INLINE Vec<std::int32_t> roundToInt(Vec<float> v) { return {_mm_cvtps_epi32(v.raw)}; }

// --- Shifts by a constant: logical right on unsigned lanes, arithmetic on signed

template <int K, class T>
Vec<T> shiftLeft(Vec<T> v)
{
    static_assert(std::is_integral_v<T> && K >= 0 && K < 8 * int(sizeof(T)));
    if constexpr (sizeof(T) == 1) return {_mm_and_si128(_mm_slli_epi16(v.raw, K), _mm_set1_epi8(static_cast<char>(0xFF << K)))};
    else if constexpr (sizeof(T) == 2) return {_mm_slli_epi16(v.raw, K)};
    else if constexpr (sizeof(T) == 4) return {_mm_slli_epi32(v.raw, K)};
    else return {_mm_slli_epi64(v.raw, K)};
}

template <int K, class T>
Vec<T> shiftRight(Vec<T> v)
{
    static_assert(std::is_integral_v<T> && K >= 0 && K < 8 * int(sizeof(T)));
    static_assert(!(std::is_signed_v<T> && sizeof(T) == 8), "no arithmetic shift of 64-bit lanes");
    if constexpr (sizeof(T) == 1) {
        const __m128i logical = _mm_and_si128(_mm_srli_epi16(v.raw, K), _mm_set1_epi8(static_cast<char>(0xFF >> K)));
        if constexpr (std::is_unsigned_v<T>) return {logical};
        // ((x ^ 0x80) >> K) - (0x80 >> K) extends the sign
        const __m128i flipped = _mm_and_si128(_mm_srli_epi16(_mm_xor_si128(v.raw, _mm_set1_epi8(char(0x80))), K),
                                              _mm_set1_epi8(static_cast<char>(0xFF >> K)));
        return {_mm_sub_epi8(flipped, _mm_set1_epi8(static_cast<char>(0x80 >> K)))};
    } else if constexpr (sizeof(T) == 2) {
        return {std::is_signed_v<T> ? _mm_srai_epi16(v.raw, K) : _mm_srli_epi16(v.raw, K)};
    } else if constexpr (sizeof(T) == 4) {
        return {std::is_signed_v<T> ? _mm_srai_epi32(v.raw, K) : _mm_srli_epi32(v.raw, K)};
    } else {
        return {_mm_srli_epi64(v.raw, K)};
    }
}

// --- Comparisons: a mask vector of the same lane type, all ones where true --

template <class T>
Vec<T> eq(Vec<T> a, Vec<T> b)
{
    if constexpr (std::is_same_v<T, float>) return {_mm_cmpeq_ps(a.raw, b.raw)};
    else if constexpr (std::is_same_v<T, double>) return {_mm_cmpeq_pd(a.raw, b.raw)};
    else if constexpr (sizeof(T) == 1) return {_mm_cmpeq_epi8(a.raw, b.raw)};
    else if constexpr (sizeof(T) == 2) return {_mm_cmpeq_epi16(a.raw, b.raw)};
    else if constexpr (sizeof(T) == 4) return {_mm_cmpeq_epi32(a.raw, b.raw)};
    else {
        const __m128i e = _mm_cmpeq_epi32(a.raw, b.raw);  // both halves equal
        return {_mm_and_si128(e, _mm_shuffle_epi32(e, _MM_SHUFFLE(2, 3, 0, 1)))};
    }
}

template <class T>
Vec<T> gt(Vec<T> a, Vec<T> b)  // a > b (false where a float lane is NaN)
{
    static_assert(sizeof(T) <= 4 || std::is_floating_point_v<T>, "no 64-bit integer order compare");
    if constexpr (std::is_same_v<T, float>) {
        return {_mm_cmpgt_ps(a.raw, b.raw)};
    } else if constexpr (std::is_same_v<T, double>) {
        return {_mm_cmpgt_pd(a.raw, b.raw)};
    } else {
        __m128i x = a.raw, y = b.raw;
        if constexpr (std::is_unsigned_v<T>) {  // flipping the sign bit maps the unsigned order onto the signed one
            const Vec<T> sign = splat<T>(T(T(1) << (8 * sizeof(T) - 1)));
            x = _mm_xor_si128(x, sign.raw);
            y = _mm_xor_si128(y, sign.raw);
        }
        if constexpr (sizeof(T) == 1) return {_mm_cmpgt_epi8(x, y)};
        else if constexpr (sizeof(T) == 2) return {_mm_cmpgt_epi16(x, y)};
        else return {_mm_cmpgt_epi32(x, y)};
    }
}

template <class T>
Vec<T> ge(Vec<T> a, Vec<T> b)  // a >= b (false where a float lane is NaN)
{
    if constexpr (std::is_same_v<T, float>) return {_mm_cmpge_ps(a.raw, b.raw)};
    else if constexpr (std::is_same_v<T, double>) return {_mm_cmpge_pd(a.raw, b.raw)};
    else return bitXor(gt(b, a), splat<T>(T(~T(0))));
}

template <class T>
Vec<T> ne(Vec<T> a, Vec<T> b)  // a != b (true where a float lane is NaN)
{
    if constexpr (std::is_same_v<T, float>) return {_mm_cmpneq_ps(a.raw, b.raw)};
    else if constexpr (std::is_same_v<T, double>) return {_mm_cmpneq_pd(a.raw, b.raw)};
    else return bitXor(eq(a, b), splat<T>(T(~T(0))));
}

template <class T>
Vec<T> ordered(Vec<T> a, Vec<T> b)  // neither lane is NaN; floating-point lanes
{
    if constexpr (std::is_same_v<T, float>) return {_mm_cmpord_ps(a.raw, b.raw)};
    else return {_mm_cmpord_pd(a.raw, b.raw)};
}

// One bit per lane, lane 0 in bit 0: the lane's top bit (of a mask: the lane
// is true).
template <class T>
unsigned maskBits(Vec<T> mask)
{
    if constexpr (sizeof(T) == 1) return unsigned(_mm_movemask_epi8(raw::bits(mask)));
    else if constexpr (sizeof(T) == 2)
        return unsigned(_mm_movemask_epi8(_mm_packs_epi16(raw::bits(mask), _mm_setzero_si128())));
    else if constexpr (sizeof(T) == 4) return unsigned(_mm_movemask_ps(_mm_castsi128_ps(raw::bits(mask))));
    else return unsigned(_mm_movemask_pd(_mm_castsi128_pd(raw::bits(mask))));
}

// --- Minimum and maximum (floating point: the second operand when either is NaN)

template <class T>
Vec<T> min(Vec<T> a, Vec<T> b)
{
    if constexpr (std::is_same_v<T, float>) return {_mm_min_ps(a.raw, b.raw)};
    else if constexpr (std::is_same_v<T, double>) return {_mm_min_pd(a.raw, b.raw)};
    else if constexpr (std::is_same_v<T, std::uint8_t>) return {_mm_min_epu8(a.raw, b.raw)};
    else if constexpr (std::is_same_v<T, std::int16_t>) return {_mm_min_epi16(a.raw, b.raw)};
    else if constexpr (std::is_same_v<T, std::uint16_t>) return {_mm_sub_epi16(a.raw, _mm_subs_epu16(a.raw, b.raw))};
    else {
        const __m128i aBigger = gt(a, b).raw;
        return {_mm_or_si128(_mm_and_si128(aBigger, b.raw), _mm_andnot_si128(aBigger, a.raw))};
    }
}

template <class T>
Vec<T> max(Vec<T> a, Vec<T> b)
{
    if constexpr (std::is_same_v<T, float>) return {_mm_max_ps(a.raw, b.raw)};
    else if constexpr (std::is_same_v<T, double>) return {_mm_max_pd(a.raw, b.raw)};
    else if constexpr (std::is_same_v<T, std::uint8_t>) return {_mm_max_epu8(a.raw, b.raw)};
    else if constexpr (std::is_same_v<T, std::int16_t>) return {_mm_max_epi16(a.raw, b.raw)};
    else if constexpr (std::is_same_v<T, std::uint16_t>) return {_mm_add_epi16(b.raw, _mm_subs_epu16(a.raw, b.raw))};
    else {
        const __m128i aBigger = gt(a, b).raw;
        return {_mm_or_si128(_mm_and_si128(aBigger, a.raw), _mm_andnot_si128(aBigger, b.raw))};
    }
}

// --- Within 128-bit blocks ----------------------------------------------------

// Lanes of the lower (upper) halves of a and b, alternately: a0 b0 a1 b1 ...
// Wider vectors do this in every 128-bit block.
template <class T>
Vec<T> zipLower(Vec<T> a, Vec<T> b)
{
    const __m128i x = raw::bits(a), y = raw::bits(b);
    if constexpr (sizeof(T) == 1) return raw::fromBits<T>(_mm_unpacklo_epi8(x, y));
    else if constexpr (sizeof(T) == 2) return raw::fromBits<T>(_mm_unpacklo_epi16(x, y));
    else if constexpr (sizeof(T) == 4) return raw::fromBits<T>(_mm_unpacklo_epi32(x, y));
    else return raw::fromBits<T>(_mm_unpacklo_epi64(x, y));
}

template <class T>
Vec<T> zipUpper(Vec<T> a, Vec<T> b)
{
    const __m128i x = raw::bits(a), y = raw::bits(b);
    if constexpr (sizeof(T) == 1) return raw::fromBits<T>(_mm_unpackhi_epi8(x, y));
    else if constexpr (sizeof(T) == 2) return raw::fromBits<T>(_mm_unpackhi_epi16(x, y));
    else if constexpr (sizeof(T) == 4) return raw::fromBits<T>(_mm_unpackhi_epi32(x, y));
    else return raw::fromBits<T>(_mm_unpackhi_epi64(x, y));
}

// --- Widening and narrowing ------------------------------------------------------
//
// widen() extends every lane to twice its width (zero or sign by the lane
// type) into two vectors; narrowSat() saturates the lanes of two vectors to
// half their width into one, undoing widen()'s order. Which lanes go to which
// half is the backend's choice (here: the lower and the upper eight bytes);
// code that treats lanes alike never notices.

template <class T>
OVK_SIMD_INLINE Halves<Wider<T>> widen(Vec<T> v)
{
    static_assert(std::is_integral_v<T> && sizeof(T) <= 4);
    const Vec<T> ext = std::is_unsigned_v<T> ? zero<T>() : gt(zero<T>(), v);  // the upper half of each wide lane
    return {{zipLower(v, ext).raw}, {zipUpper(v, ext).raw}};
}

// From signed 16-bit lanes to 8u or 8s, from signed 32-bit lanes to 16s or
// 16u, and from unsigned 16- or 32-bit lanes to the unsigned half.
template <class To, class From>
OVK_SIMD_INLINE Vec<To> narrowSat(Vec<From> lo, Vec<From> hi)
{
    static_assert(std::is_integral_v<From> && sizeof(To) * 2 == sizeof(From));
    if constexpr (std::is_unsigned_v<From>) {  // clamp to the destination's maximum, then a signed narrowing is exact
        const Vec<From> top = splat<From>(From(std::numeric_limits<To>::max()));
        using S = std::make_signed_t<From>;
        return narrowSat<To>(bitcast<S>(min(lo, top)), bitcast<S>(min(hi, top)));
    } else if constexpr (sizeof(From) == 2) {
        return {std::is_signed_v<To> ? _mm_packs_epi16(lo.raw, hi.raw) : _mm_packus_epi16(lo.raw, hi.raw)};
    } else if constexpr (std::is_signed_v<To>) {
        return {_mm_packs_epi32(lo.raw, hi.raw)};
    } else {  // 32s to 16u: clamp to 0..65535, move to the signed range, pack, move back
        const __m128i bias = _mm_set1_epi32(32768), flip = _mm_set1_epi16(short(0x8000));
        const auto clampBias = [&](__m128i x) {
            const __m128i c = max(min(Vec<std::int32_t>{x}, splat<std::int32_t>(65535)), zero<std::int32_t>()).raw;
            return _mm_sub_epi32(c, bias);
        };
        return {_mm_xor_si128(_mm_packs_epi32(clampBias(lo.raw), clampBias(hi.raw)), flip)};
    }
}

// The same in memory order (lo's lanes first, then hi's; the lower half of
// v first): a single block has no other order.
template <class T>
OVK_SIMD_INLINE Halves<Wider<T>> widenInOrder(Vec<T> v)
{
    return widen(v);
}
template <class To, class From>
OVK_SIMD_INLINE Vec<To> narrowSatInOrder(Vec<From> lo, Vec<From> hi)
{
    return narrowSat<To>(lo, hi);
}

// --- Whole-vector moves -------------------------------------------------------

// The lanes in reverse order.
template <class T>
OVK_SIMD_INLINE Vec<T> reverse(Vec<T> v)
{
    __m128i x = _mm_shuffle_epi32(raw::bits(v), _MM_SHUFFLE(0, 1, 2, 3));
    if constexpr (sizeof(T) == 8) return raw::fromBits<T>(_mm_shuffle_epi32(raw::bits(v), _MM_SHUFFLE(1, 0, 3, 2)));
    if constexpr (sizeof(T) <= 2) {
        x = _mm_shufflelo_epi16(x, _MM_SHUFFLE(2, 3, 0, 1));
        x = _mm_shufflehi_epi16(x, _MM_SHUFFLE(2, 3, 0, 1));
    }
    if constexpr (sizeof(T) == 1) x = _mm_or_si128(_mm_slli_epi16(x, 8), _mm_srli_epi16(x, 8));
    return raw::fromBits<T>(x);
}

// The kVectorBytes bytes that start K bytes into lo and run on into hi, as
// if the two were one row in memory (lo first).
template <int K>
Vec<std::uint8_t> bytesFrom(Vec<std::uint8_t> lo, Vec<std::uint8_t> hi)
{
    static_assert(K > 0 && K < kVectorBytes);
    return {_mm_or_si128(_mm_srli_si128(lo.raw, K), _mm_slli_si128(hi.raw, kVectorBytes - K))};
}

// SSE2 has no byte table lookup (it came with SSSE3). shuffleBytes() is
// emulated lane by lane for completeness; the layer's own channel moves test
// kHasByteShuffle and use zips and packs instead.
inline constexpr bool kHasByteShuffle = false;
inline Vec<std::uint8_t> shuffleBytes(Vec<std::uint8_t> table, Vec<std::uint8_t> index)
{
    alignas(16) std::uint8_t t[16], i[16], out[16];
    store(table, t), store(index, i);
    for (int k = 0; k < 16; ++k) out[k] = i[k] & 0x80 ? 0 : t[i[k] & 15];
    return load(out);
}

// The 16 bytes at p in every block: on 128-bit vectors, a load.
OVK_SIMD_INLINE Vec<std::uint8_t> loadEveryBlock(const std::uint8_t* p) { return load(p); }

// Loaded registers of an interleaved row (pixels of N channels) regrouped so
// that each 128-bit block position holds N consecutive blocks of the row; on
// 128-bit vectors there is one block per register and nothing moves.
template <int N>
OVK_SIMD_INLINE void groupBlocks(Vec<std::uint8_t> (&)[N])
{
}
template <int N>
OVK_SIMD_INLINE void ungroupBlocks(Vec<std::uint8_t> (&)[N])
{
}

// --- Square blocks ----------------------------------------------------------------

// The side of the square block transposeBlock() moves for lanes of T.
template <class T>
inline constexpr int kBlockSide = kLanes<T>;

// Transposes a square block of kBlockSide<T> rows (steps in bytes): 16 x 16
// bytes by four rounds of byte interleaving (each pairs register i with
// i + 8), 8 x 8 16-bit lanes by three, 4 x 4 32-bit lanes by two.
template <class T>
OVK_SIMD_INLINE void transposeBlock(const T* s, std::ptrdiff_t sStep, T* d, std::ptrdiff_t dStep)
{
    static_assert(sizeof(T) <= 4);
    constexpr int n = kBlockSide<T>;
    constexpr int rounds = sizeof(T) == 1 ? 4 : (sizeof(T) == 2 ? 3 : 2);
    const auto* sb = reinterpret_cast<const unsigned char*>(s);
    auto* db = reinterpret_cast<unsigned char*>(d);
    Vec<T> r[n], t[n];
    for (int i = 0; i < n; ++i) r[i] = load(reinterpret_cast<const T*>(sb + i * sStep));
    for (int round = 0; round < rounds; ++round) {
        for (int i = 0; i < n / 2; ++i) {
            t[2 * i] = zipLower(r[i], r[i + n / 2]);
            t[2 * i + 1] = zipUpper(r[i], r[i + n / 2]);
        }
        for (int i = 0; i < n; ++i) r[i] = t[i];
    }
    for (int i = 0; i < n; ++i) store(r[i], reinterpret_cast<T*>(db + i * dStep));
}

// --- Sums of all lanes (integer lanes: exact, so the order does not matter) ---

// Each 64-bit lane: the sum of |a - b| over the lane's eight bytes.
inline Vec<std::uint64_t> absDiffSums(Vec<std::uint8_t> a, Vec<std::uint8_t> b) { return {_mm_sad_epu8(a.raw, b.raw)}; }

template <class T>
SumOf<T> sumOfLanes(Vec<T> v)
{
    static_assert(std::is_integral_v<T>);
    if constexpr (std::is_same_v<T, std::uint8_t>) {
        const __m128i s = _mm_sad_epu8(v.raw, _mm_setzero_si128());
        return SumOf<T>(_mm_cvtsi128_si64(s)) + SumOf<T>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(s, s)));
    } else {
        alignas(16) T lanes[kLanes<T>];
        _mm_store_si128(reinterpret_cast<__m128i*>(lanes), v.raw);
        SumOf<T> s = 0;
        for (T x : lanes) s += x;
        return s;
    }
}

}  // namespace sse2
}  // namespace ovk::simd
