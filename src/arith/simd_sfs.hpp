// SSE2 rows of the common scaled cases: Add, Sub and Mul of 8u and 16s with
// scale factor 0 or 1. Each row runs 16 (8u) or 8 (16s) elements per vector
// and finishes the tail with the scalar formula; both give the same result
// (the tests compare them on every tail length).
#pragma once

#include <emmintrin.h>

#include "frame/scaling.hpp"
#include "frame/types.hpp"

namespace ovk::arith {
struct AddExact;
struct SubExact;
struct MulExact;
}  // namespace ovk::arith

namespace ovk::arith::simd {

inline __m128i load(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }
inline void store(void* p, __m128i v) { _mm_storeu_si128(static_cast<__m128i*>(p), v); }

// Halving with ties to even of non-negative 8-bit values u: (u + ((u >> 1) & 1)) >> 1.
inline __m128i halveEvenU8(__m128i u)
{
    const __m128i half = _mm_and_si128(_mm_srli_epi16(u, 1), _mm_set1_epi8(0x7F));
    return _mm_add_epi8(half, _mm_and_si128(_mm_and_si128(u, half), _mm_set1_epi8(1)));
}

// Halving with ties to even of signed 32-bit lanes.
inline __m128i halveEvenI32(__m128i v)
{
    return _mm_srai_epi32(_mm_add_epi32(v, _mm_and_si128(_mm_srai_epi32(v, 1), _mm_set1_epi32(1))), 1);
}

// Sign-extends the low or high four 16-bit lanes to 32 bits.
inline __m128i widenLo16(__m128i v) { return _mm_srai_epi32(_mm_unpacklo_epi16(v, v), 16); }
inline __m128i widenHi16(__m128i v) { return _mm_srai_epi32(_mm_unpackhi_epi16(v, v), 16); }

// 8u vectors: one function per operation and scale factor, each taking the
// first and second operands (16 lanes) and returning the saturated result.
struct Add8u {
    static __m128i sf0(__m128i a, __m128i b) { return _mm_adds_epu8(a, b); }
    static __m128i sf1(__m128i a, __m128i b)
    {
        // avg rounds ties up: (a + b + 1) >> 1; take one back where the sum is
        // odd and the rounded-up result is odd (the even neighbour is below).
        const __m128i avg = _mm_avg_epu8(a, b);
        const __m128i fix = _mm_and_si128(_mm_and_si128(_mm_xor_si128(a, b), avg), _mm_set1_epi8(1));
        return _mm_sub_epi8(avg, fix);
    }
};
struct Sub8u {  // second minus first, negative results saturate to 0
    static __m128i sf0(__m128i a, __m128i b) { return _mm_subs_epu8(b, a); }
    static __m128i sf1(__m128i a, __m128i b) { return halveEvenU8(_mm_subs_epu8(b, a)); }
};
struct Mul8u {
    template <int Sf>
    static __m128i half(__m128i a, __m128i b)  // 8 products in 16-bit lanes, saturated to 255
    {
        __m128i p = _mm_mullo_epi16(a, b);  // at most 65025: fits unsigned 16 bits
        if constexpr (Sf == 1) {
            p = _mm_srli_epi16(_mm_add_epi16(p, _mm_and_si128(_mm_srli_epi16(p, 1), _mm_set1_epi16(1))), 1);
            return p;  // at most 32513: packus saturates it correctly
        } else {
            // min(p, 255) in unsigned 16-bit lanes: p - max(p - 255, 0)
            return _mm_subs_epu16(p, _mm_subs_epu16(p, _mm_set1_epi16(0xFF)));
        }
    }
    template <int Sf>
    static __m128i run(__m128i a, __m128i b)
    {
        const __m128i z = _mm_setzero_si128();
        const __m128i lo = half<Sf>(_mm_unpacklo_epi8(a, z), _mm_unpacklo_epi8(b, z));
        const __m128i hi = half<Sf>(_mm_unpackhi_epi8(a, z), _mm_unpackhi_epi8(b, z));
        return _mm_packus_epi16(lo, hi);
    }
    static __m128i sf0(__m128i a, __m128i b) { return run<0>(a, b); }
    static __m128i sf1(__m128i a, __m128i b) { return run<1>(a, b); }
};

// 16s vectors (8 lanes); scale factor 1 works in 32-bit lanes.
struct Add16s {
    static __m128i sf0(__m128i a, __m128i b) { return _mm_adds_epi16(a, b); }
    static __m128i sf1(__m128i a, __m128i b)
    {
        const __m128i lo = halveEvenI32(_mm_add_epi32(widenLo16(a), widenLo16(b)));
        const __m128i hi = halveEvenI32(_mm_add_epi32(widenHi16(a), widenHi16(b)));
        return _mm_packs_epi32(lo, hi);
    }
};
struct Sub16s {
    static __m128i sf0(__m128i a, __m128i b) { return _mm_subs_epi16(b, a); }
    static __m128i sf1(__m128i a, __m128i b)
    {
        const __m128i lo = halveEvenI32(_mm_sub_epi32(widenLo16(b), widenLo16(a)));
        const __m128i hi = halveEvenI32(_mm_sub_epi32(widenHi16(b), widenHi16(a)));
        return _mm_packs_epi32(lo, hi);
    }
};
struct Mul16s {
    template <int Sf>
    static __m128i run(__m128i a, __m128i b)
    {
        const __m128i pl = _mm_mullo_epi16(a, b), ph = _mm_mulhi_epi16(a, b);
        __m128i lo = _mm_unpacklo_epi16(pl, ph), hi = _mm_unpackhi_epi16(pl, ph);  // exact 32-bit products
        if constexpr (Sf == 1) {
            lo = halveEvenI32(lo);  // |product| <= 2^30: no overflow
            hi = halveEvenI32(hi);
        }
        return _mm_packs_epi32(lo, hi);
    }
    static __m128i sf0(__m128i a, __m128i b) { return run<0>(a, b); }
    static __m128i sf1(__m128i a, __m128i b) { return run<1>(a, b); }
};

template <class Exact, class T> struct VectorOp;
template <> struct VectorOp<AddExact, Ovk8u> { using type = Add8u; };
template <> struct VectorOp<SubExact, Ovk8u> { using type = Sub8u; };
template <> struct VectorOp<MulExact, Ovk8u> { using type = Mul8u; };
template <> struct VectorOp<AddExact, Ovk16s> { using type = Add16s; };
template <> struct VectorOp<SubExact, Ovk16s> { using type = Sub16s; };
template <> struct VectorOp<MulExact, Ovk16s> { using type = Mul16s; };

template <class Exact, class T>
concept HasScaledRow = requires { typename VectorOp<Exact, T>::type; };

template <class Exact, class T>
struct ScaledRow {
    using V = typename VectorOp<Exact, T>::type;
    static constexpr int kLanes = 16 / sizeof(T);

    template <__m128i (*Op)(__m128i, __m128i)>
    static int vectors(const T* a, const T* b, T* d, int n)
    {
        int i = 0;
        for (; i + 2 * kLanes <= n; i += 2 * kLanes) {  // two vectors per turn: loads run ahead of stores
            const __m128i r0 = Op(load(a + i), load(b + i));
            const __m128i r1 = Op(load(a + i + kLanes), load(b + i + kLanes));
            store(d + i, r0);
            store(d + i + kLanes, r1);
        }
        for (; i + kLanes <= n; i += kLanes) store(d + i, Op(load(a + i), load(b + i)));
        return i;
    }

    static void run(const T* a, const T* b, T* d, int n, int scaleFactor)
    {
        const int done = scaleFactor == 0 ? vectors<&V::sf0>(a, b, d, n) : vectors<&V::sf1>(a, b, d, n);
        for (int i = done; i < n; ++i) d[i] = scaleResult<T>(Exact::apply(a[i], b[i]), scaleFactor);
    }
};

}  // namespace ovk::arith::simd
