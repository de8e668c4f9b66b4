// SSE2 moves of three-channel 8-bit pixels, 16 pixels (48 bytes) at a time.
//
// Deinterleaving uses one fixed shuffle stage built from byte unpacks: applied
// four times it turns three registers of interleaved pixels into three
// registers of planes. Interleaving applies the inverse stage (even and odd
// bytes gathered by packs) four times. Both are pure permutations, so the
// results equal the element-by-element moves.
#pragma once

#include <emmintrin.h>

#include <ovk/ovkdefs.h>

namespace ovk::exchange::simd {

struct Planes3 {
    __m128i c0, c1, c2;
};

inline __m128i highHalfTwice(__m128i v) { return _mm_unpackhi_epi64(v, v); }

inline Planes3 shuffleStage(Planes3 t)
{
    return {_mm_unpacklo_epi8(t.c0, highHalfTwice(t.c1)), _mm_unpacklo_epi8(highHalfTwice(t.c0), t.c2),
            _mm_unpacklo_epi8(t.c1, highHalfTwice(t.c2))};
}

inline Planes3 inverseStage(Planes3 n)
{
    const __m128i lowBytes = _mm_set1_epi16(0x00FF);
    const auto even = [&](__m128i v) { return _mm_and_si128(v, lowBytes); };
    const auto odd = [](__m128i v) { return _mm_srli_epi16(v, 8); };
    return {_mm_packus_epi16(even(n.c0), even(n.c1)), _mm_packus_epi16(even(n.c2), odd(n.c0)),
            _mm_packus_epi16(odd(n.c1), odd(n.c2))};
}

// 48 bytes of pixels c0 c1 c2 c0 c1 c2 ... into three planes of 16.
inline Planes3 deinterleave3(const Ovk8u* p)
{
    Planes3 t{_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)),
              _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16)),
              _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 32))};
    for (int i = 0; i < 4; ++i) t = shuffleStage(t);
    return t;
}

inline void interleave3(Planes3 t, Ovk8u* p)
{
    for (int i = 0; i < 4; ++i) t = inverseStage(t);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), t.c0);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 16), t.c1);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 32), t.c2);
}

inline __m128i plane(const Planes3& t, int c) { return c == 0 ? t.c0 : (c == 1 ? t.c1 : t.c2); }

// The 16 bytes of a register in reverse order.
inline __m128i reverseBytes(__m128i x)
{
    x = _mm_shuffle_epi32(x, _MM_SHUFFLE(0, 1, 2, 3));
    x = _mm_shufflelo_epi16(x, _MM_SHUFFLE(2, 3, 0, 1));
    x = _mm_shufflehi_epi16(x, _MM_SHUFFLE(2, 3, 0, 1));
    return _mm_or_si128(_mm_slli_epi16(x, 8), _mm_srli_epi16(x, 8));
}

}  // namespace ovk::exchange::simd
