// The AVX2 backend of the vector layer: 256-bit vectors, two 128-bit blocks
// each. Only frame/simd/simd.hpp includes this file, in units compiled with
// AVX2 enabled (the sibling library); the generic library never sees it.
//
// Every operation gives, lane for lane, what the SSE2 backend gives: zips,
// widening and narrowing work inside blocks as the layer defines them, and
// the floating-point compares are the ordered/unordered predicates of the
// SSE2 instructions.
#pragma once

#include <immintrin.h>

#include "frame/simd/lanes.hpp"

#define OVK_SIMD_TARGET avx2

namespace ovk::simd {
inline namespace avx2 {

inline constexpr int kVectorBytes = 32;
inline constexpr const char* kTargetName = "AVX2";

// The register type of each lane type (a typedef, not a template argument:
// the vector types' alignment attributes would be dropped there).
template <class T> struct RawOf { using type = __m256i; };
template <> struct RawOf<float> { using type = __m256; };
template <> struct RawOf<double> { using type = __m256d; };

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
__m256i bits(Vec<T> v)
{
    if constexpr (std::is_same_v<T, float>) return _mm256_castps_si256(v.raw);
    else if constexpr (std::is_same_v<T, double>) return _mm256_castpd_si256(v.raw);
    else return v.raw;
}
template <class T>
Vec<T> fromBits(__m256i b)
{
    if constexpr (std::is_same_v<T, float>) return {_mm256_castsi256_ps(b)};
    else if constexpr (std::is_same_v<T, double>) return {_mm256_castsi256_pd(b)};
    else return {b};
}
}  // namespace raw

// --- Memory and constants ---------------------------------------------------

template <class T>
Vec<T> load(const T* p)
{
    if constexpr (std::is_same_v<T, float>) return {_mm256_loadu_ps(p)};
    else if constexpr (std::is_same_v<T, double>) return {_mm256_loadu_pd(p)};
    else return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))};
}

template <class T>
void store(Vec<T> v, T* p)
{
    if constexpr (std::is_same_v<T, float>) _mm256_storeu_ps(p, v.raw);
    else if constexpr (std::is_same_v<T, double>) _mm256_storeu_pd(p, v.raw);
    else _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v.raw);
}

template <class T>
Vec<T> splat(T x)
{
    if constexpr (std::is_same_v<T, float>) return {_mm256_set1_ps(x)};
    else if constexpr (std::is_same_v<T, double>) return {_mm256_set1_pd(x)};
    else if constexpr (sizeof(T) == 1) return {_mm256_set1_epi8(static_cast<char>(x))};
    else if constexpr (sizeof(T) == 2) return {_mm256_set1_epi16(static_cast<short>(x))};
    else if constexpr (sizeof(T) == 4) return {_mm256_set1_epi32(static_cast<int>(x))};
    else return {_mm256_set1_epi64x(static_cast<long long>(x))};
}

template <class T>
Vec<T> zero()
{
    return raw::fromBits<T>(_mm256_setzero_si256());
}

template <class To, class From>
Vec<To> bitcast(Vec<From> v)
{
    return raw::fromBits<To>(raw::bits(v));
}

// --- Bitwise ---------------------------------------------------------------

template <class T> Vec<T> bitAnd(Vec<T> a, Vec<T> b) { return raw::fromBits<T>(_mm256_and_si256(raw::bits(a), raw::bits(b))); }
template <class T> Vec<T> bitOr(Vec<T> a, Vec<T> b) { return raw::fromBits<T>(_mm256_or_si256(raw::bits(a), raw::bits(b))); }
template <class T> Vec<T> bitXor(Vec<T> a, Vec<T> b) { return raw::fromBits<T>(_mm256_xor_si256(raw::bits(a), raw::bits(b))); }
template <class T> Vec<T> bitAndNot(Vec<T> a, Vec<T> b) { return raw::fromBits<T>(_mm256_andnot_si256(raw::bits(a), raw::bits(b))); }

// --- Arithmetic --------------------------------------------------------------

template <class T>
Vec<T> add(Vec<T> a, Vec<T> b)
{
    if constexpr (std::is_same_v<T, float>) return {_mm256_add_ps(a.raw, b.raw)};
    else if constexpr (std::is_same_v<T, double>) return {_mm256_add_pd(a.raw, b.raw)};
    else if constexpr (sizeof(T) == 1) return {_mm256_add_epi8(a.raw, b.raw)};
    else if constexpr (sizeof(T) == 2) return {_mm256_add_epi16(a.raw, b.raw)};
    else if constexpr (sizeof(T) == 4) return {_mm256_add_epi32(a.raw, b.raw)};
    else return {_mm256_add_epi64(a.raw, b.raw)};
}

template <class T>
Vec<T> sub(Vec<T> a, Vec<T> b)
{
    if constexpr (std::is_same_v<T, float>) return {_mm256_sub_ps(a.raw, b.raw)};
    else if constexpr (std::is_same_v<T, double>) return {_mm256_sub_pd(a.raw, b.raw)};
    else if constexpr (sizeof(T) == 1) return {_mm256_sub_epi8(a.raw, b.raw)};
    else if constexpr (sizeof(T) == 2) return {_mm256_sub_epi16(a.raw, b.raw)};
    else if constexpr (sizeof(T) == 4) return {_mm256_sub_epi32(a.raw, b.raw)};
    else return {_mm256_sub_epi64(a.raw, b.raw)};
}

template <class T>
Vec<T> addSat(Vec<T> a, Vec<T> b)
{
    static_assert(std::is_integral_v<T> && sizeof(T) <= 2);
    if constexpr (sizeof(T) == 1) return {std::is_signed_v<T> ? _mm256_adds_epi8(a.raw, b.raw) : _mm256_adds_epu8(a.raw, b.raw)};
    else return {std::is_signed_v<T> ? _mm256_adds_epi16(a.raw, b.raw) : _mm256_adds_epu16(a.raw, b.raw)};
}

template <class T>
Vec<T> subSat(Vec<T> a, Vec<T> b)
{
    static_assert(std::is_integral_v<T> && sizeof(T) <= 2);
    if constexpr (sizeof(T) == 1) return {std::is_signed_v<T> ? _mm256_subs_epi8(a.raw, b.raw) : _mm256_subs_epu8(a.raw, b.raw)};
    else return {std::is_signed_v<T> ? _mm256_subs_epi16(a.raw, b.raw) : _mm256_subs_epu16(a.raw, b.raw)};
}

template <class T>
Vec<T> averageRound(Vec<T> a, Vec<T> b)
{
    static_assert(std::is_unsigned_v<T> && sizeof(T) <= 2);
    if constexpr (sizeof(T) == 1) return {_mm256_avg_epu8(a.raw, b.raw)};
    else return {_mm256_avg_epu16(a.raw, b.raw)};
}

template <class T>
Vec<T> mulLow(Vec<T> a, Vec<T> b)
{
    static_assert(std::is_integral_v<T> && (sizeof(T) == 2 || sizeof(T) == 4));
    if constexpr (sizeof(T) == 2) return {_mm256_mullo_epi16(a.raw, b.raw)};
    else return {_mm256_mullo_epi32(a.raw, b.raw)};
}

template <class T>
Vec<T> mulHigh(Vec<T> a, Vec<T> b)
{
    static_assert(std::is_integral_v<T> && sizeof(T) == 2);
    return {std::is_signed_v<T> ? _mm256_mulhi_epi16(a.raw, b.raw) : _mm256_mulhi_epu16(a.raw, b.raw)};
}

inline Vec<std::int32_t> mulAddPairs(Vec<std::int16_t> a, Vec<std::int16_t> b) { return {_mm256_madd_epi16(a.raw, b.raw)}; }

template <class T>
Vec<T> mul(Vec<T> a, Vec<T> b)
{
    if constexpr (std::is_same_v<T, float>) return {_mm256_mul_ps(a.raw, b.raw)};
    else return {_mm256_mul_pd(a.raw, b.raw)};
}

template <class T>
Vec<T> div(Vec<T> a, Vec<T> b)
{
    if constexpr (std::is_same_v<T, float>) return {_mm256_div_ps(a.raw, b.raw)};
    else return {_mm256_div_pd(a.raw, b.raw)};
}

template <class T>
Vec<T> sqrt(Vec<T> a)
{
    if constexpr (std::is_same_v<T, float>) return {_mm256_sqrt_ps(a.raw)};
    else return {_mm256_sqrt_pd(a.raw)};
}

// Between 32-bit integer and float lanes: toFloat rounds as the processor's
// rounding control says (to nearest unless a caller changed it); truncate
// rounds toward zero, and a value outside the int32 range gives INT32_MIN.
OVK_SIMD_INLINE Vec<float> toFloat(Vec<std::int32_t> v) { return {_mm256_cvtepi32_ps(v.raw)}; }
OVK_SIMD_INLINE Vec<std::int32_t> truncate(Vec<float> v) { return {_mm256_cvttps_epi32(v.raw)}; }
// Rounded as the rounding control says (half to even within a NearestRounding).
OVK_SIMD_INLINE Vec<std::int32_t> roundToInt(Vec<float> v) { return {_mm256_cvtps_epi32(v.raw)}; }

// --- Shifts by a constant -----------------------------------------------------

template <int K, class T>
Vec<T> shiftLeft(Vec<T> v)
{
    static_assert(std::is_integral_v<T> && K >= 0 && K < 8 * int(sizeof(T)));
    if constexpr (sizeof(T) == 1)
        return {_mm256_and_si256(_mm256_slli_epi16(v.raw, K), _mm256_set1_epi8(static_cast<char>(0xFF << K)))};
    else if constexpr (sizeof(T) == 2) return {_mm256_slli_epi16(v.raw, K)};
    else if constexpr (sizeof(T) == 4) return {_mm256_slli_epi32(v.raw, K)};
    else return {_mm256_slli_epi64(v.raw, K)};
}

template <int K, class T>
Vec<T> shiftRight(Vec<T> v)
{
    static_assert(std::is_integral_v<T> && K >= 0 && K < 8 * int(sizeof(T)));
    static_assert(!(std::is_signed_v<T> && sizeof(T) == 8), "no arithmetic shift of 64-bit lanes");
    if constexpr (sizeof(T) == 1) {
        const __m256i keep = _mm256_set1_epi8(static_cast<char>(0xFF >> K));
        if constexpr (std::is_unsigned_v<T>) return {_mm256_and_si256(_mm256_srli_epi16(v.raw, K), keep)};
        const __m256i flipped =
            _mm256_and_si256(_mm256_srli_epi16(_mm256_xor_si256(v.raw, _mm256_set1_epi8(char(0x80))), K), keep);
        return {_mm256_sub_epi8(flipped, _mm256_set1_epi8(static_cast<char>(0x80 >> K)))};
    } else if constexpr (sizeof(T) == 2) {
        return {std::is_signed_v<T> ? _mm256_srai_epi16(v.raw, K) : _mm256_srli_epi16(v.raw, K)};
    } else if constexpr (sizeof(T) == 4) {
        return {std::is_signed_v<T> ? _mm256_srai_epi32(v.raw, K) : _mm256_srli_epi32(v.raw, K)};
    } else {
        return {_mm256_srli_epi64(v.raw, K)};
    }
}

// --- Comparisons ----------------------------------------------------------------

template <class T>
Vec<T> eq(Vec<T> a, Vec<T> b)
{
    if constexpr (std::is_same_v<T, float>) return {_mm256_cmp_ps(a.raw, b.raw, _CMP_EQ_OQ)};
    else if constexpr (std::is_same_v<T, double>) return {_mm256_cmp_pd(a.raw, b.raw, _CMP_EQ_OQ)};
    else if constexpr (sizeof(T) == 1) return {_mm256_cmpeq_epi8(a.raw, b.raw)};
    else if constexpr (sizeof(T) == 2) return {_mm256_cmpeq_epi16(a.raw, b.raw)};
    else if constexpr (sizeof(T) == 4) return {_mm256_cmpeq_epi32(a.raw, b.raw)};
    else return {_mm256_cmpeq_epi64(a.raw, b.raw)};
}

template <class T>
Vec<T> gt(Vec<T> a, Vec<T> b)
{
    static_assert(sizeof(T) <= 4 || std::is_floating_point_v<T>, "no 64-bit integer order compare");
    if constexpr (std::is_same_v<T, float>) {
        return {_mm256_cmp_ps(a.raw, b.raw, _CMP_GT_OQ)};
    } else if constexpr (std::is_same_v<T, double>) {
        return {_mm256_cmp_pd(a.raw, b.raw, _CMP_GT_OQ)};
    } else {
        __m256i x = a.raw, y = b.raw;
        if constexpr (std::is_unsigned_v<T>) {
            const Vec<T> sign = splat<T>(T(T(1) << (8 * sizeof(T) - 1)));
            x = _mm256_xor_si256(x, sign.raw);
            y = _mm256_xor_si256(y, sign.raw);
        }
        if constexpr (sizeof(T) == 1) return {_mm256_cmpgt_epi8(x, y)};
        else if constexpr (sizeof(T) == 2) return {_mm256_cmpgt_epi16(x, y)};
        else return {_mm256_cmpgt_epi32(x, y)};
    }
}

template <class T>
Vec<T> ge(Vec<T> a, Vec<T> b)
{
    if constexpr (std::is_same_v<T, float>) return {_mm256_cmp_ps(a.raw, b.raw, _CMP_GE_OQ)};
    else if constexpr (std::is_same_v<T, double>) return {_mm256_cmp_pd(a.raw, b.raw, _CMP_GE_OQ)};
    else return bitXor(gt(b, a), splat<T>(T(~T(0))));
}

template <class T>
Vec<T> ne(Vec<T> a, Vec<T> b)
{
    if constexpr (std::is_same_v<T, float>) return {_mm256_cmp_ps(a.raw, b.raw, _CMP_NEQ_UQ)};
    else if constexpr (std::is_same_v<T, double>) return {_mm256_cmp_pd(a.raw, b.raw, _CMP_NEQ_UQ)};
    else return bitXor(eq(a, b), splat<T>(T(~T(0))));
}

template <class T>
Vec<T> ordered(Vec<T> a, Vec<T> b)
{
    if constexpr (std::is_same_v<T, float>) return {_mm256_cmp_ps(a.raw, b.raw, _CMP_ORD_Q)};
    else return {_mm256_cmp_pd(a.raw, b.raw, _CMP_ORD_Q)};
}

template <class T>
unsigned maskBits(Vec<T> mask)
{
    const __m256i m = raw::bits(mask);
    if constexpr (sizeof(T) == 1) {
        return unsigned(_mm256_movemask_epi8(m));
    } else if constexpr (sizeof(T) == 2) {  // packing works per block: put the two halves' bytes side by side
        const __m256i packed = _mm256_permute4x64_epi64(_mm256_packs_epi16(m, _mm256_setzero_si256()), 0xD8);
        return unsigned(_mm256_movemask_epi8(packed)) & 0xFFFFu;
    } else if constexpr (sizeof(T) == 4) {
        return unsigned(_mm256_movemask_ps(_mm256_castsi256_ps(m)));
    } else {
        return unsigned(_mm256_movemask_pd(_mm256_castsi256_pd(m)));
    }
}

// --- Minimum and maximum ----------------------------------------------------------

template <class T>
Vec<T> min(Vec<T> a, Vec<T> b)
{
    static_assert(sizeof(T) <= 4 || std::is_floating_point_v<T>);
    if constexpr (std::is_same_v<T, float>) return {_mm256_min_ps(a.raw, b.raw)};
    else if constexpr (std::is_same_v<T, double>) return {_mm256_min_pd(a.raw, b.raw)};
    else if constexpr (sizeof(T) == 1) return {std::is_signed_v<T> ? _mm256_min_epi8(a.raw, b.raw) : _mm256_min_epu8(a.raw, b.raw)};
    else if constexpr (sizeof(T) == 2) return {std::is_signed_v<T> ? _mm256_min_epi16(a.raw, b.raw) : _mm256_min_epu16(a.raw, b.raw)};
    else return {std::is_signed_v<T> ? _mm256_min_epi32(a.raw, b.raw) : _mm256_min_epu32(a.raw, b.raw)};
}

template <class T>
Vec<T> max(Vec<T> a, Vec<T> b)
{
    static_assert(sizeof(T) <= 4 || std::is_floating_point_v<T>);
    if constexpr (std::is_same_v<T, float>) return {_mm256_max_ps(a.raw, b.raw)};
    else if constexpr (std::is_same_v<T, double>) return {_mm256_max_pd(a.raw, b.raw)};
    else if constexpr (sizeof(T) == 1) return {std::is_signed_v<T> ? _mm256_max_epi8(a.raw, b.raw) : _mm256_max_epu8(a.raw, b.raw)};
    else if constexpr (sizeof(T) == 2) return {std::is_signed_v<T> ? _mm256_max_epi16(a.raw, b.raw) : _mm256_max_epu16(a.raw, b.raw)};
    else return {std::is_signed_v<T> ? _mm256_max_epi32(a.raw, b.raw) : _mm256_max_epu32(a.raw, b.raw)};
}

// --- Within 128-bit blocks ----------------------------------------------------

template <class T>
Vec<T> zipLower(Vec<T> a, Vec<T> b)
{
    const __m256i x = raw::bits(a), y = raw::bits(b);
    if constexpr (sizeof(T) == 1) return raw::fromBits<T>(_mm256_unpacklo_epi8(x, y));
    else if constexpr (sizeof(T) == 2) return raw::fromBits<T>(_mm256_unpacklo_epi16(x, y));
    else if constexpr (sizeof(T) == 4) return raw::fromBits<T>(_mm256_unpacklo_epi32(x, y));
    else return raw::fromBits<T>(_mm256_unpacklo_epi64(x, y));
}

template <class T>
Vec<T> zipUpper(Vec<T> a, Vec<T> b)
{
    const __m256i x = raw::bits(a), y = raw::bits(b);
    if constexpr (sizeof(T) == 1) return raw::fromBits<T>(_mm256_unpackhi_epi8(x, y));
    else if constexpr (sizeof(T) == 2) return raw::fromBits<T>(_mm256_unpackhi_epi16(x, y));
    else if constexpr (sizeof(T) == 4) return raw::fromBits<T>(_mm256_unpackhi_epi32(x, y));
    else return raw::fromBits<T>(_mm256_unpackhi_epi64(x, y));
}

// --- Widening and narrowing (per block: the halves hold each block's lower
// and upper eight bytes, which the in-block narrowing puts back) -------------

template <class T>
OVK_SIMD_INLINE Halves<Wider<T>> widen(Vec<T> v)
{
    static_assert(std::is_integral_v<T> && sizeof(T) <= 4);
    const Vec<T> ext = std::is_unsigned_v<T> ? zero<T>() : gt(zero<T>(), v);
    return {{zipLower(v, ext).raw}, {zipUpper(v, ext).raw}};
}

template <class To, class From>
OVK_SIMD_INLINE Vec<To> narrowSat(Vec<From> lo, Vec<From> hi)
{
    static_assert(std::is_integral_v<From> && sizeof(To) * 2 == sizeof(From));
    if constexpr (std::is_unsigned_v<From>) {
        const Vec<From> top = splat<From>(From(std::numeric_limits<To>::max()));
        using S = std::make_signed_t<From>;
        return narrowSat<To>(bitcast<S>(min(lo, top)), bitcast<S>(min(hi, top)));
    } else if constexpr (sizeof(From) == 2) {
        return {std::is_signed_v<To> ? _mm256_packs_epi16(lo.raw, hi.raw) : _mm256_packus_epi16(lo.raw, hi.raw)};
    } else {
        return {std::is_signed_v<To> ? _mm256_packs_epi32(lo.raw, hi.raw) : _mm256_packus_epi32(lo.raw, hi.raw)};
    }
}

// The same in memory order (lo's lanes first, then hi's; the lower half of
// v first): the 64-bit quarters are reordered around the in-block steps.
template <class T>
OVK_SIMD_INLINE Halves<Wider<T>> widenInOrder(Vec<T> v)
{
    return widen(raw::fromBits<T>(_mm256_permute4x64_epi64(raw::bits(v), _MM_SHUFFLE(3, 1, 2, 0))));
}
template <class To, class From>
OVK_SIMD_INLINE Vec<To> narrowSatInOrder(Vec<From> lo, Vec<From> hi)
{
    return raw::fromBits<To>(_mm256_permute4x64_epi64(raw::bits(narrowSat<To>(lo, hi)), _MM_SHUFFLE(3, 1, 2, 0)));
}

// --- Whole-vector moves -------------------------------------------------------

template <class T>
OVK_SIMD_INLINE Vec<T> reverse(Vec<T> v)
{
    const __m256i x = raw::bits(v);
    if constexpr (sizeof(T) == 8) {
        return raw::fromBits<T>(_mm256_permute4x64_epi64(x, _MM_SHUFFLE(0, 1, 2, 3)));
    } else if constexpr (sizeof(T) == 4) {
        return raw::fromBits<T>(_mm256_permutevar8x32_epi32(x, _mm256_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0)));
    } else {  // reverse inside each block, then swap the blocks
        const __m256i order = sizeof(T) == 1
            ? _mm256_setr_epi8(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0,
                               15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0)
            : _mm256_setr_epi8(14, 15, 12, 13, 10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1,
                               14, 15, 12, 13, 10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1);
        return raw::fromBits<T>(_mm256_permute4x64_epi64(_mm256_shuffle_epi8(x, order), _MM_SHUFFLE(1, 0, 3, 2)));
    }
}

// The kVectorBytes bytes that start K bytes into lo and run on into hi, as
// if the two were one row in memory (lo first).
template <int K>
Vec<std::uint8_t> bytesFrom(Vec<std::uint8_t> lo, Vec<std::uint8_t> hi)
{
    static_assert(K > 0 && K < kVectorBytes);
    const __m256i middle = _mm256_permute2x128_si256(lo.raw, hi.raw, 0x21);  // lo's upper block, hi's lower
    if constexpr (K < 16) return {_mm256_alignr_epi8(middle, lo.raw, K)};
    else if constexpr (K == 16) return {middle};
    else return {_mm256_alignr_epi8(hi.raw, middle, K - 16)};
}

// Byte table lookup inside each 128-bit block: byte i of the result is the
// byte of table's block that index[i] names (its low four bits), or zero
// where index[i] has its top bit set.
inline constexpr bool kHasByteShuffle = true;
OVK_SIMD_INLINE Vec<std::uint8_t> shuffleBytes(Vec<std::uint8_t> table, Vec<std::uint8_t> index)
{
    return {_mm256_shuffle_epi8(table.raw, index.raw)};
}

// The 16 bytes at p in every block (the tables of shuffleBytes).
OVK_SIMD_INLINE Vec<std::uint8_t> loadEveryBlock(const std::uint8_t* p)
{
    return {_mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)))};
}

// Loaded registers of an interleaved row regrouped so that block 0 of every
// register holds the first N blocks of the row and block 1 the next N
// (registers a = [0|1], b = [2|3], ... in; [0|N], [1|N+1], ... out).
namespace raw {
// Blocks of x and y chosen by the immediate: low nibble for the lower block,
// high nibble for the upper (0, 1: x's blocks; 2, 3: y's).
template <int Imm>
Vec<std::uint8_t> blocks(Vec<std::uint8_t> x, Vec<std::uint8_t> y)
{
    return {_mm256_permute2x128_si256(x.raw, y.raw, Imm)};
}
}  // namespace raw

template <int N>
OVK_SIMD_INLINE void groupBlocks(Vec<std::uint8_t> (&r)[N])
{
    static_assert(N >= 2 && N <= 4);
    using raw::blocks;
    if constexpr (N == 2) {
        const Vec<std::uint8_t> a = r[0], b = r[1];
        r[0] = blocks<0x20>(a, b), r[1] = blocks<0x31>(a, b);
    } else if constexpr (N == 3) {
        const Vec<std::uint8_t> a = r[0], b = r[1], c = r[2];
        r[0] = blocks<0x30>(a, b), r[1] = blocks<0x21>(a, c), r[2] = blocks<0x30>(b, c);
    } else {
        const Vec<std::uint8_t> a = r[0], b = r[1], c = r[2], d = r[3];
        r[0] = blocks<0x20>(a, c), r[1] = blocks<0x31>(a, c), r[2] = blocks<0x20>(b, d), r[3] = blocks<0x31>(b, d);
    }
}

template <int N>
OVK_SIMD_INLINE void ungroupBlocks(Vec<std::uint8_t> (&r)[N])
{
    static_assert(N >= 2 && N <= 4);
    using raw::blocks;
    if constexpr (N == 2) {
        const Vec<std::uint8_t> a = r[0], b = r[1];
        r[0] = blocks<0x20>(a, b), r[1] = blocks<0x31>(a, b);
    } else if constexpr (N == 3) {
        const Vec<std::uint8_t> a = r[0], b = r[1], c = r[2];
        r[0] = blocks<0x20>(a, b), r[1] = blocks<0x30>(c, a), r[2] = blocks<0x31>(b, c);
    } else {
        const Vec<std::uint8_t> a = r[0], b = r[1], c = r[2], d = r[3];
        r[0] = blocks<0x20>(a, b), r[1] = blocks<0x20>(c, d), r[2] = blocks<0x31>(a, b), r[3] = blocks<0x31>(c, d);
    }
}

// --- Square blocks ----------------------------------------------------------------

// Bytes and 16-bit lanes move in 128-bit blocks (a 32 x 32 byte block would
// not fit the registers); 32-bit lanes in 8 x 8 blocks.
template <class T>
inline constexpr int kBlockSide = sizeof(T) == 4 ? 8 : 16 / int(sizeof(T));

template <class T>
OVK_SIMD_INLINE void transposeBlock(const T* s, std::ptrdiff_t sStep, T* d, std::ptrdiff_t dStep)
{
    static_assert(sizeof(T) <= 4);
    const auto* sb = reinterpret_cast<const unsigned char*>(s);
    auto* db = reinterpret_cast<unsigned char*>(d);
    if constexpr (sizeof(T) == 4) {
        // 4 x 4 transposes inside the blocks of rows 0-3 and of rows 4-7, then
        // the blocks of row i and row i + 4 exchanged.
        __m256i r[8], t[8];
        for (int i = 0; i < 8; ++i) r[i] = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(sb + i * sStep));
        for (int g = 0; g < 8; g += 4)
            for (int round = 0; round < 2; ++round) {
                t[g + 0] = _mm256_unpacklo_epi32(r[g + 0], r[g + 2]);
                t[g + 1] = _mm256_unpackhi_epi32(r[g + 0], r[g + 2]);
                t[g + 2] = _mm256_unpacklo_epi32(r[g + 1], r[g + 3]);
                t[g + 3] = _mm256_unpackhi_epi32(r[g + 1], r[g + 3]);
                for (int i = g; i < g + 4; ++i) r[i] = t[i];
            }
        for (int i = 0; i < 4; ++i) {
            t[i] = _mm256_permute2x128_si256(r[i], r[i + 4], 0x20);
            t[i + 4] = _mm256_permute2x128_si256(r[i], r[i + 4], 0x31);
        }
        for (int i = 0; i < 8; ++i) _mm256_storeu_si256(reinterpret_cast<__m256i*>(db + i * dStep), t[i]);
    } else {
        constexpr int n = kBlockSide<T>;
        constexpr int rounds = sizeof(T) == 1 ? 4 : 3;
        __m128i r[n], t[n];
        for (int i = 0; i < n; ++i) r[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(sb + i * sStep));
        for (int round = 0; round < rounds; ++round) {
            for (int i = 0; i < n / 2; ++i) {
                t[2 * i] = sizeof(T) == 1 ? _mm_unpacklo_epi8(r[i], r[i + n / 2]) : _mm_unpacklo_epi16(r[i], r[i + n / 2]);
                t[2 * i + 1] = sizeof(T) == 1 ? _mm_unpackhi_epi8(r[i], r[i + n / 2]) : _mm_unpackhi_epi16(r[i], r[i + n / 2]);
            }
            for (int i = 0; i < n; ++i) r[i] = t[i];
        }
        for (int i = 0; i < n; ++i) _mm_storeu_si128(reinterpret_cast<__m128i*>(db + i * dStep), r[i]);
    }
}

// --- Sums of all lanes ----------------------------------------------------------

// Each 64-bit lane: the sum of |a - b| over the lane's eight bytes.
inline Vec<std::uint64_t> absDiffSums(Vec<std::uint8_t> a, Vec<std::uint8_t> b) { return {_mm256_sad_epu8(a.raw, b.raw)}; }

template <class T>
SumOf<T> sumOfLanes(Vec<T> v)
{
    static_assert(std::is_integral_v<T>);
    if constexpr (std::is_same_v<T, std::uint8_t>) {
        alignas(32) std::uint64_t q[4];
        _mm256_store_si256(reinterpret_cast<__m256i*>(q), _mm256_sad_epu8(v.raw, _mm256_setzero_si256()));
        return q[0] + q[1] + q[2] + q[3];
    } else {
        alignas(32) T lanes[kLanes<T>];
        _mm256_store_si256(reinterpret_cast<__m256i*>(lanes), v.raw);
        SumOf<T> s = 0;
        for (T x : lanes) s += x;
        return s;
    }
}

}  // namespace avx2
}  // namespace ovk::simd
