// Operations of the vector layer written once on top of every backend's
// primitives: selection, partial vectors, full-width products, and the
// interleaved loads and stores of 2, 3 and 4 channels of bytes.
//
// The channel moves work inside 128-bit blocks (zips and packs), after the
// backend has regrouped the loaded registers so that each block position
// holds consecutive pixels (groupBlocks); the same steps therefore serve any
// vector width.
#pragma once

#include <cstring>

namespace ovk::simd {
inline namespace OVK_SIMD_TARGET {

// yes where the mask lane is all ones, no where it is zero.
template <class T>
OVK_SIMD_INLINE Vec<T> select(Vec<T> mask, Vec<T> yes, Vec<T> no)
{
    return bitOr(bitAnd(mask, yes), bitAndNot(mask, no));
}

// The first n lanes from memory (0 <= n <= kLanes), the rest zero; nothing
// past p + n is read.
template <class T>
Vec<T> loadPartial(const T* p, int n)
{
    T lanes[kLanes<T>] = {};
    std::memcpy(lanes, p, sizeof(T) * std::size_t(n));
    return load(lanes);
}

// Writes the first n lanes; nothing past p + n is touched.
template <class T>
void storePartial(Vec<T> v, T* p, int n)
{
    T lanes[kLanes<T>];
    store(v, lanes);
    std::memcpy(p, lanes, sizeof(T) * std::size_t(n));
}

// The exact products of 16-bit lanes as 32-bit lanes, in widen()'s order.
template <class T>
OVK_SIMD_INLINE Halves<Wider<T>> mulWide(Vec<T> a, Vec<T> b)
{
    static_assert(std::is_integral_v<T> && sizeof(T) == 2);
    const Vec<T> low = mulLow(a, b), high = mulHigh(a, b);
    return {bitcast<Wider<T>>(zipLower(low, high)), bitcast<Wider<T>>(zipUpper(low, high))};
}

// --- Interleaved channels of bytes -------------------------------------------

using Bytes = Vec<std::uint8_t>;

template <int N>
struct Channels {
    Bytes c[N];
};

namespace detail {

OVK_SIMD_INLINE Bytes upperHalfTwice(Bytes v)
{
    const Vec<std::uint64_t> q = bitcast<std::uint64_t>(v);
    return bitcast<std::uint8_t>(zipUpper(q, q));
}

// Bytes of 16-bit lanes, and two vectors of them packed back into bytes
// (per block: the first vector's, then the second's).
OVK_SIMD_INLINE Vec<std::int16_t> evenOf(Bytes v) { return bitAnd(bitcast<std::int16_t>(v), splat<std::int16_t>(0x00FF)); }
OVK_SIMD_INLINE Vec<std::int16_t> oddOf(Bytes v) { return bitcast<std::int16_t>(shiftRight<8>(bitcast<std::uint16_t>(v))); }
OVK_SIMD_INLINE Bytes pack(Vec<std::int16_t> a, Vec<std::int16_t> b) { return narrowSat<std::uint8_t>(a, b); }

// Three channels: one fixed permutation of three blocks; applied four times
// it turns interleaved pixels into planes, and its inverse four times back.
OVK_SIMD_INLINE void splitStage(Bytes (&t)[3])
{
    const Bytes a = zipLower(t[0], upperHalfTwice(t[1])), b = zipLower(upperHalfTwice(t[0]), t[2]),
                c = zipLower(t[1], upperHalfTwice(t[2]));
    t[0] = a, t[1] = b, t[2] = c;
}
OVK_SIMD_INLINE void mergeStage(Bytes (&n)[3])
{
    const Bytes a = pack(evenOf(n[0]), evenOf(n[1])), b = pack(evenOf(n[2]), oddOf(n[0])),
                c = pack(oddOf(n[1]), oddOf(n[2]));
    n[0] = a, n[1] = b, n[2] = c;
}

// With a byte shuffle, three channels take a table per pair of a plane and a
// block: in a group of 16 pixels (blocks 0 to 2 of 16 bytes), byte q is
// channel q % 3 of pixel q / 3.
inline constexpr std::uint8_t kZeroByte = 0x80;  // the shuffleBytes() index that yields zero
struct ThreeChannelTables {
    std::uint8_t split[3][3][16];  // [plane][block]: where the block's bytes of the plane go
    std::uint8_t merge[3][3][16];  // [block][plane]: where the plane's bytes of the block go
};
constexpr ThreeChannelTables makeThreeChannelTables()
{
    ThreeChannelTables t{};
    for (int c = 0; c < 3; ++c)
        for (int k = 0; k < 3; ++k)
            for (int i = 0; i < 16; ++i) {
                const int from = 3 * i + c, to = 16 * k + i;
                t.split[c][k][i] = from / 16 == k ? std::uint8_t(from % 16) : kZeroByte;
                t.merge[k][c][i] = to % 3 == c ? std::uint8_t(to / 3) : kZeroByte;
            }
    return t;
}
inline constexpr ThreeChannelTables kThreeChannels = makeThreeChannelTables();

OVK_SIMD_INLINE Bytes shuffleThree(const Bytes (&from)[3], const std::uint8_t (&tables)[3][16])
{
    Bytes out = shuffleBytes(from[0], loadEveryBlock(tables[0]));
    for (int k = 1; k < 3; ++k) out = bitOr(out, shuffleBytes(from[k], loadEveryBlock(tables[k])));
    return out;
}

// Four channels: pairing register i with i + 2 is a rotation of the byte
// index; four rounds split, two merge.
OVK_SIMD_INLINE void zipRound(Bytes (&r)[4])
{
    const Bytes t[4] = {zipLower(r[0], r[2]), zipUpper(r[0], r[2]), zipLower(r[1], r[3]), zipUpper(r[1], r[3])};
    for (int i = 0; i < 4; ++i) r[i] = t[i];
}

}  // namespace detail

// kLanes<uint8_t> pixels of N interleaved channels from p (N * kLanes bytes)
// into N planes.
template <int N>
OVK_SIMD_INLINE Channels<N> loadInterleaved(const std::uint8_t* p)
{
    static_assert(N >= 2 && N <= 4);
    Bytes r[N];
    for (int i = 0; i < N; ++i) r[i] = load(p + i * kLanes<std::uint8_t>);
    groupBlocks(r);
    Channels<N> out;
    if constexpr (N == 2) {
        out.c[0] = detail::pack(detail::evenOf(r[0]), detail::evenOf(r[1]));
        out.c[1] = detail::pack(detail::oddOf(r[0]), detail::oddOf(r[1]));
    } else if constexpr (N == 3 && kHasByteShuffle) {
        for (int c = 0; c < 3; ++c) out.c[c] = detail::shuffleThree(r, detail::kThreeChannels.split[c]);
    } else if constexpr (N == 3) {
        for (int i = 0; i < 4; ++i) detail::splitStage(r);
        for (int i = 0; i < 3; ++i) out.c[i] = r[i];
    } else {
        for (int i = 0; i < 4; ++i) detail::zipRound(r);
        for (int i = 0; i < 4; ++i) out.c[i] = r[i];
    }
    return out;
}

// The inverse: N planes of kLanes<uint8_t> pixels interleaved into p.
template <int N>
OVK_SIMD_INLINE void storeInterleaved(const Channels<N>& planes, std::uint8_t* p)
{
    static_assert(N >= 2 && N <= 4);
    Bytes r[N];
    for (int i = 0; i < N; ++i) r[i] = planes.c[i];
    if constexpr (N == 2) {
        const Bytes a = zipLower(r[0], r[1]), b = zipUpper(r[0], r[1]);
        r[0] = a, r[1] = b;
    } else if constexpr (N == 3 && kHasByteShuffle) {
        for (int k = 0; k < 3; ++k) r[k] = detail::shuffleThree(planes.c, detail::kThreeChannels.merge[k]);
    } else if constexpr (N == 3) {
        for (int i = 0; i < 4; ++i) detail::mergeStage(r);
    } else {
        for (int i = 0; i < 2; ++i) detail::zipRound(r);
    }
    ungroupBlocks(r);
    for (int i = 0; i < N; ++i) store(r[i], p + i * kLanes<std::uint8_t>);
}

// Rearranges the bytes inside every pixel of N bytes (N = 2, 3, 4): byte c
// of an output pixel is byte order[c] (0 <= order[c] < N) of the same input
// pixel, so a channel may also be repeated. apply() moves kLanes<uint8_t>
// pixels (N vectors) and reads them all before it writes: src may be dst.
template <int N>
class PixelBytePermutation {
public:
    explicit PixelBytePermutation(const int* order)
    {
        static_assert(N >= 2 && N <= 4);
        for (int c = 0; c < N; ++c) order_[c] = order[c];
        if constexpr (kHasByteShuffle) {
            for (int k = 0; k < N; ++k)
                for (int m = 0; m < N; ++m) {
                    std::uint8_t index[16];
                    for (int i = 0; i < 16; ++i) {
                        const int to = 16 * k + i, from = to - to % N + order[to % N];
                        index[i] = from / 16 == m ? std::uint8_t(from % 16) : detail::kZeroByte;
                    }
                    tables_[k][m] = loadEveryBlock(index);
                }
        }
    }

    OVK_SIMD_INLINE void apply(const std::uint8_t* src, std::uint8_t* dst) const
    {
        if constexpr (kHasByteShuffle) {
            Bytes in[N], out[N];
            for (int k = 0; k < N; ++k) in[k] = load(src + k * kLanes<std::uint8_t>);
            groupBlocks(in);
            for (int k = 0; k < N; ++k) {
                out[k] = shuffleBytes(in[k], tables_[k][k]);
                for (int m = 0; m < N; ++m)
                    if (m != k && sharesPixels(k, m)) out[k] = bitOr(out[k], shuffleBytes(in[m], tables_[k][m]));
            }
            ungroupBlocks(out);
            for (int k = 0; k < N; ++k) store(out[k], dst + k * kLanes<std::uint8_t>);
        } else {
            const Channels<N> planes = loadInterleaved<N>(src);
            Channels<N> chosen;
            for (int c = 0; c < N; ++c) chosen.c[c] = planes.c[order_[c]];
            storeInterleaved<N>(chosen, dst);
        }
    }

private:
    // Whether a pixel has bytes in both block k and block m of a group.
    static constexpr bool sharesPixels(int k, int m)
    {
        const int first = 16 * k / N, last = (16 * k + 15) / N;  // the pixels block k touches
        return first * N < 16 * m + 16 && 16 * m < (last + 1) * N;
    }

    int order_[N];
    Bytes tables_[kHasByteShuffle ? N : 1][kHasByteShuffle ? N : 1];
};

}  // namespace OVK_SIMD_TARGET
}  // namespace ovk::simd
