// Div, DivC and Div_Round. The first source (or the constant) is the divisor.
//
// Integer quotients are computed in single precision, q = (dividend * 2^-sf) /
// divisor, and rounded in the non-negative domain: for 16s the quotient is
// shifted by 32768 first, so that the truncation of q + 0.5 with a tie
// correction rounds half to even for negative quotients as well. Complex
// integer quotients use double precision and the same shifted rounding.
//
// A zero divisor element is not an error: the element gets the type's
// zero-division value and the call returns ovkStatusDivByZero once every row
// is done. A zero constant in DivC is an error, and nothing is written.
#pragma once

#include <bit>
#include <cstdint>

#include "arith/add_sub_mul.hpp"
#include "frame/simd/simd.hpp"

namespace ovk::arith {

// The quiet NaN that marks an undefined floating-point result.
inline float undefinedFloat() { return std::bit_cast<float>(std::uint32_t{0xFFC00000u}); }

// Value of a zero-divisor element.
template <class T>
constexpr T divByZeroResult(T dividend)
{
    if constexpr (std::is_floating_point_v<T>) {
        if (dividend > 0) return std::numeric_limits<T>::infinity();
        if (dividend < 0) return -std::numeric_limits<T>::infinity();
        return undefinedFloat();  // zero or NaN dividend
    } else if constexpr (std::is_unsigned_v<T>) {
        return dividend != 0 ? Elem<T>::max : T(0);
    } else {
        return dividend > 0 ? Elem<T>::max : (dividend < 0 ? Elem<T>::min : T(0));
    }
}

// Rounds a quotient to T by the rounding mode, then saturates. For ties to
// even the rounding is done on q + 0.5, truncated, with one taken back from an
// odd result that was exactly a tie; the 16s and complex domains are shifted
// by -min first so that truncation acts on non-negative values.
template <class T, OvkRoundMode Mode, class F>
T roundQuotient(F q)
{
    constexpr F lo = F(Elem<T>::min), hi = F(Elem<T>::max);
    if (!(q == q)) return T(0);  // 0 * infinity from an extreme scale factor
    if (q <= lo) return Elem<T>::min;
    if (q >= hi) return Elem<T>::max;
    if constexpr (Mode == ovkRndZero) {
        return static_cast<T>(static_cast<i64>(q));
    } else if constexpr (Mode == ovkRndFinancial) {
        return static_cast<T>(q >= 0 ? static_cast<i64>(q + F(0.5)) : -static_cast<i64>(-q + F(0.5)));
    } else {
        constexpr F shift = -lo;  // 0 for unsigned types
        const F t = (q + shift) + F(0.5);
        i64 n = static_cast<i64>(t);
        if ((n & 1) && t == static_cast<F>(n)) --n;
        return saturate<T>(n - static_cast<i64>(shift));
    }
}

template <class T, OvkRoundMode Mode>
OvkStatus intDivRow(const T* divisor, const T* dividend, T* d, int n, float scale)
{
    OvkStatus status = ovkStatusOk;
    for (int i = 0; i < n; ++i) {
        if (divisor[i] == 0) {
            d[i] = divByZeroResult(dividend[i]);
            status = ovkStatusDivByZero;
        } else {
            d[i] = roundQuotient<T, Mode>((static_cast<float>(dividend[i]) * scale) / static_cast<float>(divisor[i]));
        }
    }
    return status;
}

template <class T>
OvkStatus complexIntDivRow(const T* divisor, const T* dividend, T* d, int n, double scale)
{
    using P = Part<T>;
    OvkStatus status = ovkStatusOk;
    for (int i = 0; i < n; ++i) {
        const double ar = divisor[i].re, ai = divisor[i].im, br = dividend[i].re, bi = dividend[i].im;
        const double den = ar * ar + ai * ai;
        if (den == 0) {
            d[i] = T{0, 0};
            status = ovkStatusDivByZero;
            continue;
        }
        d[i].re = roundQuotient<P, ovkRndNear>((ar * br + ai * bi) / den * scale);
        d[i].im = roundQuotient<P, ovkRndNear>((ar * bi - ai * br) / den * scale);
    }
    return status;
}

inline OvkStatus floatDivRow(const Ovk32f* divisor, const Ovk32f* dividend, Ovk32f* d, int n)
{
    // Lanes with a zero divisor take the zero-division value: +inf or -inf
    // by the dividend's sign, else the NaN.
    using namespace simd;
    using F = Vec<float>;
    const F zeros = zero<float>(), inf = splat(std::numeric_limits<float>::infinity()), signBit = splat(-0.0f);
    const F undefined = splat(undefinedFloat());
    unsigned zeroLanes = 0;
    int i = 0;
    for (; i + kLanes<float> <= n; i += kLanes<float>) {
        const F a = load(divisor + i), b = load(dividend + i);
        const F q = div(b, a);
        const F byZero = eq(a, zeros);
        const unsigned mask = maskBits(byZero);
        if (mask == 0) {
            store(q, d + i);
            continue;
        }
        zeroLanes |= mask;
        const F infLanes = bitAnd(ne(b, zeros), ordered(b, b));  // ne is also true for NaN, which ordered excludes
        const F signedInf = bitOr(inf, bitAnd(b, signBit));
        store(select(byZero, select(infLanes, signedInf, undefined), q), d + i);
    }
    OvkStatus status = zeroLanes ? ovkStatusDivByZero : ovkStatusOk;
    for (; i < n; ++i) {
        if (divisor[i] == 0.0f) {
            d[i] = divByZeroResult(dividend[i]);
            status = ovkStatusDivByZero;
        } else {
            d[i] = dividend[i] / divisor[i];
        }
    }
    return status;
}

// Complex single-precision division; a zero divisor gives the undefined
// value in both parts (the quotient 0/0 of the formula).
inline OvkStatus complexFloatDivRow(const Ovk32fc* divisor, const Ovk32fc* dividend, Ovk32fc* d, int n)
{
    OvkStatus status = ovkStatusOk;
    for (int i = 0; i < n; ++i) {
        const float ar = divisor[i].re, ai = divisor[i].im, br = dividend[i].re, bi = dividend[i].im;
        const float den = ar * ar + ai * ai;
        if (ar == 0.0f && ai == 0.0f) {
            d[i] = {undefinedFloat(), undefinedFloat()};
            status = ovkStatusDivByZero;
            continue;
        }
        d[i] = {(br * ar + bi * ai) / den, (bi * ar - br * ai) / den};
    }
    return status;
}

// Rows of any Div member with a divisor operand that is an image or a
// constant chunk.
template <class T, class L, OvkRoundMode Mode, class Divisor>
OvkStatus divRows(Divisor divisor, Image<const T> dividend, Image<T> dst, OvkiSize roi, int scaleFactor)
{
    auto run = [&](auto row) {
        if constexpr (std::is_pointer_v<Divisor>)
            return runConstant<L>(divisor, dividend, dst, roi, row);
        else
            return runBinary<L>(divisor, dividend, dst, roi, row);
    };
    if constexpr (std::is_same_v<T, Ovk32f>) {
        return run(floatDivRow);
    } else if constexpr (std::is_same_v<T, Ovk32fc>) {
        return run(complexFloatDivRow);
    } else if constexpr (isComplex<T>) {
        const double scale = scaleDouble(scaleFactor);
        return run([scale](const T* a, const T* b, T* d, int n) { return complexIntDivRow(a, b, d, n, scale); });
    } else {
        const float scale = scaleFloat(scaleFactor);
        return run([scale](const T* a, const T* b, T* d, int n) { return intDivRow<T, Mode>(a, b, d, n, scale); });
    }
}

template <class T>
bool isZeroConstant(const T& v)
{
    if constexpr (isComplex<T>)
        return v.re == 0 && v.im == 0;
    else
        return v == 0;
}

// Div, scaled (integer and complex-integer members).
template <class T, class L>
OvkStatus divScaled(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, T* pDst, int dstStep,
                    OvkiSize roiSize, int scaleFactor)
{
    OVK_CHECK(check::pointers(pSrc1, pSrc2, pDst));
    OVK_CHECK(check::size(roiSize));
    OVK_CHECK(check::steps(src1Step, src2Step, dstStep));
    return divRows<T, L, ovkRndNear>(image(pSrc1, src1Step), image(pSrc2, src2Step), image(pDst, dstStep), roiSize,
                                     scaleFactor);
}

// Div, single precision.
template <class T, class L>
OvkStatus divFloat(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, T* pDst, int dstStep, OvkiSize roiSize)
{
    return divScaled<T, L>(pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize, 0);
}

// Div_Round: Div with a choice of rounding.
template <class T, class L>
OvkStatus divRound(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, T* pDst, int dstStep,
                   OvkiSize roiSize, OvkRoundMode rndMode, int scaleFactor)
{
    OVK_CHECK(check::pointers(pSrc1, pSrc2, pDst));
    OVK_CHECK(check::size(roiSize));
    OVK_CHECK(check::steps(src1Step, src2Step, dstStep));
    OVK_CHECK(check::require(rndMode == ovkRndZero || rndMode == ovkRndNear || rndMode == ovkRndFinancial,
                             ovkStatusRoundModeError));
    const auto a = image(pSrc1, src1Step), b = image(pSrc2, src2Step);
    const auto d = image(pDst, dstStep);
    switch (rndMode) {
    case ovkRndZero: return divRows<T, L, ovkRndZero>(a, b, d, roiSize, scaleFactor);
    case ovkRndFinancial: return divRows<T, L, ovkRndFinancial>(a, b, d, roiSize, scaleFactor);
    default: return divRows<T, L, ovkRndNear>(a, b, d, roiSize, scaleFactor);
    }
}

// DivC, scaled: a zero constant in any channel is an error.
template <class T, class L>
OvkStatus divConstantScaled(const T* pSrc, int srcStep, ConstArg<T, L> value, T* pDst, int dstStep,
                            OvkiSize roiSize, int scaleFactor)
{
    const T* values = constantValues<T, L>(value);
    OVK_CHECK(check::pointers(pSrc, pDst, values));
    OVK_CHECK(check::size(roiSize));
    OVK_CHECK(check::steps(srcStep, dstStep));
    for (int c = 0; c < L::processed; ++c) OVK_CHECK(check::require(!isZeroConstant(values[c]), ovkStatusDivByZeroError));
    return divRows<T, L, ovkRndNear>(values, image(pSrc, srcStep), image(pDst, dstStep), roiSize, scaleFactor);
}

// DivC, single precision. 32f multiplies by the reciprocal of each constant,
// computed once in single precision (results may differ from a true division
// in the last bit); 32fc divides by the complex constant.
template <class T, class L>
OvkStatus divConstantFloat(const T* pSrc, int srcStep, ConstArg<T, L> value, T* pDst, int dstStep, OvkiSize roiSize)
{
    const T* values = constantValues<T, L>(value);
    OVK_CHECK(check::pointers(pSrc, pDst, values));
    OVK_CHECK(check::size(roiSize));
    OVK_CHECK(check::steps(srcStep, dstStep));
    for (int c = 0; c < L::processed; ++c) OVK_CHECK(check::require(!isZeroConstant(values[c]), ovkStatusDivByZeroError));
    if constexpr (std::is_same_v<T, Ovk32f>) {
        T reciprocals[4];
        for (int c = 0; c < L::processed; ++c) reciprocals[c] = 1.0f / values[c];
        return floatRows<MulExact, T, L>(static_cast<const T*>(reciprocals), image(pSrc, srcStep), image(pDst, dstStep),
                                         roiSize);
    } else {
        return divRows<T, L, ovkRndNear>(values, image(pSrc, srcStep), image(pDst, dstStep), roiSize, 0);
    }
}

}  // namespace ovk::arith
