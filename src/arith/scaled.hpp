// Row functions of the scale-factor rule: the exact result of an operation in
// 64-bit arithmetic, multiplied by 2^-scaleFactor, rounded half to even and
// saturated. The scale factor is examined once per call and selects one of
// three row kernels, so the element loops carry no branches on it.
#pragma once

#include "frame/elementwise.hpp"
#include "arith/scaled_vectors.hpp"
#include "frame/scaling.hpp"

namespace ovk::arith {

// Exact results of the scaled operations. "first" is the first source (or the
// constant), "second" the second source: Sub gives second minus first.
struct AddExact {
    static constexpr i64 apply(i64 first, i64 second) { return first + second; }
    template <class F> static F applyFloat(F first, F second) { return first + second; }
};
struct SubExact {
    static constexpr i64 apply(i64 first, i64 second) { return second - first; }
    template <class F> static F applyFloat(F first, F second) { return second - first; }
};
struct MulExact {
    static constexpr i64 apply(i64 first, i64 second) { return first * second; }
    template <class F> static F applyFloat(F first, F second) { return first * second; }
};

// The three ways of applying the scale factor.
struct Saturating {
    template <class T> T apply(i64 v) const { return saturate<T>(v); }
};
struct RoundingDown {  // scaleFactor > 0
    int sf;
    template <class T> T apply(i64 v) const { return saturate<T>(shiftRoundHalfEven(v, sf)); }
};
struct ScalingUp {  // scaleFactor < 0
    int sf;
    template <class T> T apply(i64 v) const { return scaleResult<T>(v, sf); }
};

// Calls f with the scaler that matches the scale factor.
template <class F>
OvkStatus withScale(int scaleFactor, F&& f)
{
    if (scaleFactor == 0) return f(Saturating{});
    if (scaleFactor > 0) return f(RoundingDown{scaleFactor});
    return f(ScalingUp{scaleFactor});
}

// Range of an operation's exact result over all operand values of T: the
// extremes of addition, subtraction and multiplication lie at the corners.
template <class Exact, class T>
constexpr std::pair<i64, i64> exactRange()
{
    const i64 corners[2] = {Elem<T>::min, Elem<T>::max};
    i64 lo = Exact::apply(corners[0], corners[0]), hi = lo;
    for (i64 a : corners)
        for (i64 b : corners) {
            lo = std::min(lo, Exact::apply(a, b));
            hi = std::max(hi, Exact::apply(a, b));
        }
    return {lo, hi};
}

// True when the scale factor is so large that every result rounds to zero:
// the call then only fills the destination (alpha untouched for AC4).
template <class Exact, class T>
bool resultIsZero(int scaleFactor)
{
    if constexpr (isComplex<T>) {
        return false;
    } else {
        const auto [lo, hi] = exactRange<Exact, T>();
        return scaleFactor > 0 && shiftRoundHalfEven(lo, scaleFactor) == 0 && shiftRoundHalfEven(hi, scaleFactor) == 0;
    }
}

// Integer rows: a[i] op b[i] -> d[i].
template <class Exact, class T, class Scale>
OvkStatus scaledRow(const T* a, const T* b, T* d, int n, Scale scale)
{
    for (int i = 0; i < n; ++i) d[i] = scale.template apply<T>(Exact::apply(a[i], b[i]));
    return ovkStatusOk;
}

// Complex integer multiplication with exact parts. Only (-2^31 - 2^31 i)
// squared leaves 64 bits (its imaginary part is 2^63); it is held as 2^63 - 1,
// which scales and rounds to the same result for every scale factor.
template <class T, class Scale>
OvkStatus complexMulRow(const T* a, const T* b, T* d, int n, Scale scale)
{
    using P = Part<T>;
    const auto exact = [](__int128 v) {
        constexpr __int128 hi = std::numeric_limits<i64>::max(), lo = std::numeric_limits<i64>::min();
        return static_cast<i64>(v > hi ? hi : (v < lo ? lo : v));
    };
    for (int i = 0; i < n; ++i) {
        const __int128 re = __int128(i64(a[i].re) * b[i].re) - i64(a[i].im) * b[i].im;
        const __int128 im = __int128(i64(a[i].re) * b[i].im) + i64(a[i].im) * b[i].re;
        d[i].re = scale.template apply<P>(exact(re));
        d[i].im = scale.template apply<P>(exact(im));
    }
    return ovkStatusOk;
}

// The row function for an integer (or complex integer) scaled operation,
// handed to a callback: fast vector rows where they exist, else the scalar
// kernel for the scale factor's kind.
template <class Exact, class T, class F>
OvkStatus withScaledRow(int scaleFactor, F&& f)
{
    if constexpr (std::is_same_v<Exact, MulExact> && isComplex<T>) {
        return withScale(scaleFactor, [&](auto scale) {
            return f([scale](const T* a, const T* b, T* d, int n) { return complexMulRow(a, b, d, n, scale); });
        });
    } else {
        if constexpr (vectors::HasScaledRow<Exact, T>) {
            if (scaleFactor == 0 || scaleFactor == 1)
                return f([scaleFactor](const T* a, const T* b, T* d, int n) {
                    vectors::ScaledRow<Exact, T>::run(a, b, d, n, scaleFactor);
                    return ovkStatusOk;
                });
        }
        return withScale(scaleFactor, [&](auto scale) {
            return f([scale](const T* a, const T* b, T* d, int n) { return scaledRow<Exact>(a, b, d, n, scale); });
        });
    }
}

}  // namespace ovk::arith
