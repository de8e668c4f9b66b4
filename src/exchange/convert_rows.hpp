// Rows of one element type into rows of another, for conversion and
// scaling. A rule states the arithmetic once per element,
//
//     D operator()(S x) const
//
// and, where it has a vector form, once per vector of 32-bit lanes: every
// source type of 8, 16 or 32 bits is loaded as int32 lanes (float lanes for
// 32f), and the rule returns int32 lanes (float lanes for a 32f destination)
// that the store narrows to the destination with saturation. Rules that rely
// on that saturation say so; it is exact because every lane is an integer.
// A block is kLanes<uint8_t> elements, the same for every pair of types.
#pragma once

#include <concepts>
#include <cstdint>
#include <type_traits>

#include "frame/simd/simd.hpp"
#include "frame/types.hpp"

namespace ovk::exchange {

// The lanes a type travels in: float for 32f, int32 for the integers that
// fit it.
template <class T>
using WorkLane = std::conditional_t<std::is_same_v<T, Ovk32f>, float, std::int32_t>;

template <class T>
inline constexpr bool kBlockType = std::is_same_v<T, Ovk8u> || std::is_same_v<T, Ovk8s> || std::is_same_v<T, Ovk16u> ||
                                   std::is_same_v<T, Ovk16s> || std::is_same_v<T, Ovk32s> || std::is_same_v<T, Ovk32f>;

inline constexpr int kBlock = simd::kLanes<std::uint8_t>;
inline constexpr int kQuarter = simd::kLanes<std::int32_t>;  // kBlock / 4

template <class S>
OVK_SIMD_INLINE void loadBlock(const S* p, simd::Vec<WorkLane<S>> (&v)[4])
{
    using namespace simd;
    if constexpr (sizeof(S) == 1) {
        const Halves<Wider<S>> h = widenInOrder(load(p));
        const Halves<Wider<Wider<S>>> a = widenInOrder(h.lo), b = widenInOrder(h.hi);
        v[0] = bitcast<std::int32_t>(a.lo), v[1] = bitcast<std::int32_t>(a.hi);
        v[2] = bitcast<std::int32_t>(b.lo), v[3] = bitcast<std::int32_t>(b.hi);
    } else if constexpr (sizeof(S) == 2) {
        for (int k = 0; k < 2; ++k) {
            const Halves<Wider<S>> h = widenInOrder(load(p + k * 2 * kQuarter));
            v[2 * k] = bitcast<std::int32_t>(h.lo), v[2 * k + 1] = bitcast<std::int32_t>(h.hi);
        }
    } else {
        for (int k = 0; k < 4; ++k) v[k] = bitcast<WorkLane<S>>(load(p + k * kQuarter));
    }
}

// Narrows with saturation (integer destinations) or stores (32f, 32s).
template <class D>
OVK_SIMD_INLINE void storeBlock(const simd::Vec<WorkLane<D>> (&v)[4], D* p)
{
    using namespace simd;
    if constexpr (sizeof(D) == 1) {
        const Vec<std::int16_t> a = narrowSatInOrder<std::int16_t>(v[0], v[1]), b = narrowSatInOrder<std::int16_t>(v[2], v[3]);
        store(narrowSatInOrder<D>(a, b), p);
    } else if constexpr (sizeof(D) == 2) {
        store(narrowSatInOrder<D>(v[0], v[1]), p);
        store(narrowSatInOrder<D>(v[2], v[3]), p + 2 * kQuarter);
    } else {
        for (int k = 0; k < 4; ++k) store(bitcast<D>(v[k]), p + k * kQuarter);
    }
}

// Whether Rule has a vector form for S to D.
template <class Rule, class S, class D>
concept VectorRule = kBlockType<S> && kBlockType<D> && requires(const Rule& r, simd::Vec<WorkLane<S>> v) {
    { r(v) } -> std::same_as<simd::Vec<WorkLane<D>>>;
};

// A rule may also move a whole block itself (block(src, dst)) where one
// narrowing or widening step does the work without the 32-bit lanes.
template <class S, class D, class Rule>
void convertRow(const S* src, D* dst, int n, const Rule& rule)
{
    int x = 0;
    if constexpr (requires { rule.block(src, dst); }) {
        for (; x + kBlock <= n; x += kBlock) rule.block(src + x, dst + x);
    } else if constexpr (VectorRule<Rule, S, D>) {
        for (; x + kBlock <= n; x += kBlock) {
            simd::Vec<WorkLane<S>> in[4];
            simd::Vec<WorkLane<D>> out[4];
            loadBlock(src + x, in);
            for (int k = 0; k < 4; ++k) out[k] = rule(in[k]);
            storeBlock(out, dst + x);
        }
    }
    for (; x < n; ++x) dst[x] = rule(src[x]);
}

}  // namespace ovk::exchange
