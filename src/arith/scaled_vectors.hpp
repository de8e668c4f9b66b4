// Vector rows of the common scaled cases: Add, Sub and Mul of 8u and 16s with
// scale factor 0 or 1. Each row runs whole vectors and finishes the tail with
// the scalar formula; both give the same result (the tests compare them on
// every tail length).
#pragma once

#include "frame/scaling.hpp"
#include "frame/simd/simd.hpp"
#include "frame/types.hpp"

namespace ovk::arith {
struct AddExact;
struct SubExact;
struct MulExact;
}  // namespace ovk::arith

namespace ovk::arith::vectors {

using namespace ovk::simd;
using U8 = Vec<Ovk8u>;
using I16 = Vec<Ovk16s>;
using I32 = Vec<Ovk32s>;

// Halving with ties to even of non-negative 8-bit values u:
// (u + ((u >> 1) & 1)) >> 1 = (u >> 1) + (u & (u >> 1) & 1).
inline U8 halveEven(U8 u)
{
    const U8 half = shiftRight<1>(u);
    return add(half, bitAnd(bitAnd(u, half), splat<Ovk8u>(1)));
}

// Halving with ties to even of 32-bit lanes: (v + ((v >> 1) & 1)) >> 1.
inline I32 halveEven(I32 v)
{
    return shiftRight<1>(add(v, bitAnd(shiftRight<1>(v), splat<Ovk32s>(1))));
}

inline I16 halveEvenNarrow(Halves<Ovk32s> h)
{
    return narrowSat<Ovk16s>(halveEven(h.lo), halveEven(h.hi));
}

// One function per operation and scale factor, each taking the first and
// second operands and returning the saturated result.
struct Add8u {
    static U8 sf0(U8 a, U8 b) { return addSat(a, b); }
    static U8 sf1(U8 a, U8 b)
    {
        // The rounding average takes ties up: (a + b + 1) >> 1; take one back
        // where the sum is odd and the rounded-up result is odd (the even
        // neighbour is below).
        const U8 avg = averageRound(a, b);
        return sub(avg, bitAnd(bitAnd(bitXor(a, b), avg), splat<Ovk8u>(1)));
    }
};
struct Sub8u {  // second minus first, negative results saturate to 0
    static U8 sf0(U8 a, U8 b) { return subSat(b, a); }
    static U8 sf1(U8 a, U8 b) { return halveEven(subSat(b, a)); }
};
struct Mul8u {
    static U8 sf0(U8 a, U8 b)
    {
        const Halves<Ovk16u> x = widen(a), y = widen(b);  // products up to 65025 fit 16 unsigned bits
        return narrowSat<Ovk8u>(mulLow(x.lo, y.lo), mulLow(x.hi, y.hi));
    }
    static U8 sf1(U8 a, U8 b)
    {
        const Halves<Ovk16u> x = widen(a), y = widen(b);
        const auto halved = [](Vec<Ovk16u> p) {  // at most 32513: a signed 16-bit lane
            return bitcast<Ovk16s>(shiftRight<1>(add(p, bitAnd(shiftRight<1>(p), splat<Ovk16u>(1)))));
        };
        return narrowSat<Ovk8u>(halved(mulLow(x.lo, y.lo)), halved(mulLow(x.hi, y.hi)));
    }
};

// 16s: scale factor 1 works in 32-bit lanes.
struct Add16s {
    static I16 sf0(I16 a, I16 b) { return addSat(a, b); }
    static I16 sf1(I16 a, I16 b)
    {
        const Halves<Ovk32s> x = widen(a), y = widen(b);
        return halveEvenNarrow({add(x.lo, y.lo), add(x.hi, y.hi)});
    }
};
struct Sub16s {
    static I16 sf0(I16 a, I16 b) { return subSat(b, a); }
    static I16 sf1(I16 a, I16 b)
    {
        const Halves<Ovk32s> x = widen(a), y = widen(b);
        return halveEvenNarrow({sub(y.lo, x.lo), sub(y.hi, x.hi)});
    }
};
struct Mul16s {
    static I16 sf0(I16 a, I16 b)
    {
        const Halves<Ovk32s> p = mulWide(a, b);  // exact
        return narrowSat<Ovk16s>(p.lo, p.hi);
    }
    static I16 sf1(I16 a, I16 b) { return halveEvenNarrow(mulWide(a, b)); }  // |product| <= 2^30: no overflow
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
    static constexpr int kStep = kLanes<T>;

    template <Vec<T> (*Op)(Vec<T>, Vec<T>)>
    static int vectors(const T* a, const T* b, T* d, int n)
    {
        int i = 0;
        for (; i + 2 * kStep <= n; i += 2 * kStep) {  // two vectors per turn: loads run ahead of stores
            const Vec<T> r0 = Op(load(a + i), load(b + i));
            const Vec<T> r1 = Op(load(a + i + kStep), load(b + i + kStep));
            store(r0, d + i);
            store(r1, d + i + kStep);
        }
        for (; i + kStep <= n; i += kStep) store(Op(load(a + i), load(b + i)), d + i);
        return i;
    }

    static void run(const T* a, const T* b, T* d, int n, int scaleFactor)
    {
        const int done = scaleFactor == 0 ? vectors<&V::sf0>(a, b, d, n) : vectors<&V::sf1>(a, b, d, n);
        for (int i = done; i < n; ++i) d[i] = scaleResult<T>(Exact::apply(a[i], b[i]), scaleFactor);
    }
};

}  // namespace ovk::arith::vectors
