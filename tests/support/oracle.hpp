// Reference arithmetic for the element-wise families, written from the rules
// rather than from the library's kernels: exact integer results in 128 bits,
// rounding decided by floor division and an explicit remainder comparison,
// saturation by comparison with the type's bounds. Division follows the
// library's single-precision recipe step by step, since that recipe (not the
// exact quotient) defines its result.
#pragma once

#include <ovk/ovkdefs.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "frame/types.hpp"

namespace ovktest::ref {

using i128 = __int128;

// An element result, with a flag for a division by a zero element.
template <class T>
struct Expect {
    T value;
    bool divByZero = false;
};

template <class T>
constexpr T saturateTo(i128 v)
{
    constexpr i128 lo = std::numeric_limits<T>::lowest(), hi = std::numeric_limits<T>::max();
    return static_cast<T>(v < lo ? lo : (v > hi ? hi : v));
}

// Floor division by 2^k (k <= 120): q and 0 <= r < 2^k with v = q * 2^k + r.
inline void floorDivPow2(i128 v, int k, i128& q, i128& r)
{
    const i128 d = i128(1) << k;
    q = v / d;
    r = v % d;
    if (r < 0) {
        q -= 1;
        r += d;
    }
}

// v * 2^-sf, ties to even, saturated to T; v is exact (|v| <= 2^64).
template <class T>
T scaled(i128 v, int sf)
{
    if (sf == 0) return saturateTo<T>(v);
    if (sf < 0) {
        if (v == 0) return T(0);
        const long long k = -static_cast<long long>(sf);
        if (k > 60) return saturateTo<T>(v > 0 ? std::numeric_limits<i128>::max() : std::numeric_limits<i128>::lowest());
        return saturateTo<T>(v * (i128(1) << k));
    }
    if (sf > 100) return T(0);  // |v| / 2^sf < 1/2
    i128 q, r;
    floorDivPow2(v, sf, q, r);
    const i128 half = i128(1) << (sf - 1);
    if (r > half || (r == half && (q & 1) != 0)) q += 1;
    return saturateTo<T>(q);
}

// 2^-sf in single or double precision, exact wherever it is representable.
template <class F>
F powerOfTwo(int sf)
{
    if (sf > 2000) return F(0);
    if (sf < -2000) return std::numeric_limits<F>::infinity();
    return std::ldexp(F(1), -sf);
}

inline float undefinedFloat() { return std::bit_cast<float>(std::uint32_t{0xFFC00000u}); }

// Rounds a single-precision quotient to T by a rounding mode (0 toward zero,
// 1 half to even, 2 half away from zero) and saturates.
template <class T>
T roundQuotient(float q, int mode)
{
    constexpr float lo = float(std::numeric_limits<T>::lowest()), hi = float(std::numeric_limits<T>::max());
    // Far outside the range every mode saturates; this keeps conversions defined.
    if (q >= hi + 2.0f) return std::numeric_limits<T>::max();
    if (q <= lo - 2.0f) return std::numeric_limits<T>::lowest();
    long long n;
    switch (mode) {
    case 0: n = static_cast<long long>(std::trunc(q)); break;
    case 2: n = q >= 0 ? static_cast<long long>(std::trunc(q + 0.5f)) : -static_cast<long long>(std::trunc(-q + 0.5f)); break;
    default:
        if constexpr (std::is_signed_v<T>) {
            static_assert(std::is_same_v<T, Ovk16s>);
            // Clamped first, then rounded in the domain shifted by 32768 so
            // that truncation acts on non-negative values.
            if (q < lo) return std::numeric_limits<T>::lowest();
            if (q > hi) return std::numeric_limits<T>::max();
            const float t = (q + 32768.0f) + 0.5f;
            n = static_cast<long long>(std::trunc(t));
            if ((n & 1) && t == static_cast<float>(n)) n -= 1;
            n -= 32768;
        } else {
            const float t = q + 0.5f;
            n = static_cast<long long>(std::trunc(t));
            if ((n & 1) && t == static_cast<float>(n)) n -= 1;
        }
    }
    return saturateTo<T>(n);
}

// Integer division of dividend by divisor with scale factor sf and rounding mode.
template <class T>
Expect<T> divide(T divisor, T dividend, int sf, int mode)
{
    if (divisor == 0) {
        if constexpr (std::is_unsigned_v<T>)
            return {dividend != 0 ? std::numeric_limits<T>::max() : T(0), true};
        else
            return {dividend > 0 ? std::numeric_limits<T>::max() : (dividend < 0 ? std::numeric_limits<T>::lowest() : T(0)),
                    true};
    }
    if constexpr (std::is_same_v<T, Ovk8u>) {
        // Outside -15..8 every 8u quotient is a constant.
        if (sf > 8) return {0};
        if (sf < -15) return {dividend != 0 ? Ovk8u(255) : Ovk8u(0)};
    }
    const float q = (static_cast<float>(dividend) * powerOfTwo<float>(sf)) / static_cast<float>(divisor);
    return {roundQuotient<T>(q, mode)};
}

// One part of a complex integer quotient: clamped, then rounded half to even
// in the domain shifted by -min, in double precision.
template <class P>
P roundComplexPart(double q)
{
    constexpr double lo = double(std::numeric_limits<P>::lowest()), hi = double(std::numeric_limits<P>::max());
    if (q < lo) return std::numeric_limits<P>::lowest();
    if (q > hi) return std::numeric_limits<P>::max();
    const double t = (q - lo) + 0.5;
    long long n = static_cast<long long>(std::trunc(t));
    if ((n & 1) && t == static_cast<double>(n)) n -= 1;
    return saturateTo<P>(static_cast<i128>(n) + static_cast<i128>(lo));
}

template <class T>
Expect<T> divideComplex(T a, T b, int sf)
{
    using P = ovk::Part<T>;
    const double ar = a.re, ai = a.im, br = b.re, bi = b.im;
    const double den = ar * ar + ai * ai;
    if (den == 0) return {T{0, 0}, true};
    const double s = powerOfTwo<double>(sf);
    return {T{roundComplexPart<P>((ar * br + ai * bi) / den * s), roundComplexPart<P>((ar * bi - ai * br) / den * s)}};
}

// The operations, one function object each: call with (first, second) for the
// single-precision members and with (first, second, scaleFactor) for the
// scaled ones. "first" is the first source or the constant.
struct AddRule {
    template <class T>
    Expect<T> operator()(T a, T b, int sf) const
    {
        using P = ovk::Part<T>;
        if constexpr (ovk::isComplex<T>)
            return {T{scaled<P>(i128(a.re) + b.re, sf), scaled<P>(i128(a.im) + b.im, sf)}};
        else
            return {scaled<T>(i128(a) + b, sf)};
    }
    template <class T>
    Expect<T> operator()(T a, T b) const
    {
        if constexpr (ovk::isComplex<T>)
            return {T{a.re + b.re, a.im + b.im}};
        else
            return {a + b};
    }
};

// Second minus first: for the constant forms, source minus constant.
struct SubRule {
    template <class T>
    Expect<T> operator()(T a, T b, int sf) const
    {
        using P = ovk::Part<T>;
        if constexpr (ovk::isComplex<T>)
            return {T{scaled<P>(i128(b.re) - a.re, sf), scaled<P>(i128(b.im) - a.im, sf)}};
        else
            return {scaled<T>(i128(b) - a, sf)};
    }
    template <class T>
    Expect<T> operator()(T a, T b) const
    {
        if constexpr (ovk::isComplex<T>)
            return {T{b.re - a.re, b.im - a.im}};
        else
            return {b - a};
    }
};

struct MulRule {
    template <class T>
    Expect<T> operator()(T a, T b, int sf) const
    {
        using P = ovk::Part<T>;
        if constexpr (ovk::isComplex<T>)
            return {T{scaled<P>(i128(a.re) * b.re - i128(a.im) * b.im, sf),
                      scaled<P>(i128(a.re) * b.im + i128(a.im) * b.re, sf)}};
        else
            return {scaled<T>(i128(a) * b, sf)};
    }
    template <class T>
    Expect<T> operator()(T a, T b) const
    {
        if constexpr (ovk::isComplex<T>)
            return {T{a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re}};
        else
            return {a * b};
    }
};

// Complex single-precision quotient b / a by the textbook formula.
inline Expect<Ovk32fc> divideFloatComplex(Ovk32fc a, Ovk32fc b)
{
    const float den = a.re * a.re + a.im * a.im;
    return {Ovk32fc{(b.re * a.re + b.im * a.im) / den, (b.im * a.re - b.re * a.im) / den}, a.re == 0 && a.im == 0};
}

// Second divided by first: the first source (or the constant) is the divisor.
struct DivRule {
    template <class T>
    Expect<T> operator()(T a, T b, int sf) const
    {
        if constexpr (ovk::isComplex<T>)
            return divideComplex(a, b, sf);
        else
            return divide(a, b, sf, 1);
    }
    Expect<Ovk32f> operator()(Ovk32f a, Ovk32f b) const
    {
        if (a != 0) return {b / a};
        if (b > 0) return {std::numeric_limits<float>::infinity(), true};
        if (b < 0) return {-std::numeric_limits<float>::infinity(), true};
        return {undefinedFloat(), true};
    }
    Expect<Ovk32fc> operator()(Ovk32fc a, Ovk32fc b) const { return divideFloatComplex(a, b); }
};

// DivC: as Div, except that 32f multiplies by the single-precision reciprocal
// of the constant.
struct DivCRule : DivRule {
    using DivRule::operator();
    Expect<Ovk32f> operator()(Ovk32f c, Ovk32f x) const { return {x * (1.0f / c)}; }
};

struct DivRoundRule {
    template <class T>
    Expect<T> operator()(T a, T b, OvkRoundMode mode, int sf) const
    {
        return divide(a, b, sf, int(mode));
    }
};

// Products normalised so that max * max = max.
struct MulScaleRule {
    template <class T>
    Expect<T> operator()(T a, T b) const
    {
        constexpr int bits = 8 * sizeof(T);
        const std::uint64_t p = std::uint64_t(a) * b;
        return {static_cast<T>((p + (p >> bits) + 1) >> bits)};
    }
};

}  // namespace ovktest::ref
