// Add, Sub and Mul of two images or of an image and a per-channel constant.
// Integer and complex-integer forms follow the scale-factor rule; 32f and
// 32fc forms compute in single precision with no scaling. Exact is AddExact,
// SubExact or MulExact.
#pragma once

#include "arith/scaled.hpp"

namespace ovk::arith {

// Complex single-precision multiplication by the usual formula.
inline OvkStatus complexMulFloatRow(const Ovk32fc* a, const Ovk32fc* b, Ovk32fc* d, int n)
{
    for (int i = 0; i < n; ++i) {
        const float re = a[i].re * b[i].re - a[i].im * b[i].im;
        const float im = a[i].re * b[i].im + a[i].im * b[i].re;
        d[i] = {re, im};
    }
    return ovkStatusOk;
}

template <class Exact, class F>
OvkStatus floatRow(const F* a, const F* b, F* d, int n)
{
    for (int i = 0; i < n; ++i) d[i] = Exact::applyFloat(a[i], b[i]);
    return ovkStatusOk;
}

// Runs the rows of one scaled operation on any integer or complex-integer
// member, the first operand either an image or a constant.
template <class Exact, class T, class L, class FirstOperand>
OvkStatus scaledRows(FirstOperand first, Image<const T> second, Image<T> dst, OvkiSize roi, int scaleFactor)
{
    if (resultIsZero<Exact, T>(scaleFactor)) {
        fillRows<L>(dst, roi, T{});
        return ovkStatusOk;
    }
    constexpr bool byParts = isComplex<T> && !std::is_same_v<Exact, MulExact>;
    if constexpr (byParts) {
        using PL = typename PartsOf<T, L>::Layout;
        using P = Part<T>;
        const Image<const P> s = partsImage(second.data(), second.step());
        const Image<P> d = partsImage(dst.data(), dst.step());
        return withScaledRow<Exact, P>(scaleFactor, [&](auto row) {
            if constexpr (std::is_pointer_v<FirstOperand>)
                return runConstant<PL>(reinterpret_cast<const P*>(first), s, d, roi, row);
            else
                return runBinary<PL>(partsImage(first.data(), first.step()), s, d, roi, row);
        });
    } else {
        return withScaledRow<Exact, T>(scaleFactor, [&](auto row) {
            if constexpr (std::is_pointer_v<FirstOperand>)
                return runConstant<L>(first, second, dst, roi, row);
            else
                return runBinary<L>(first, second, dst, roi, row);
        });
    }
}

template <class Exact, class T, class L, class FirstOperand>
OvkStatus floatRows(FirstOperand first, Image<const T> second, Image<T> dst, OvkiSize roi)
{
    if constexpr (isComplex<T> && std::is_same_v<Exact, MulExact>) {
        if constexpr (std::is_pointer_v<FirstOperand>)
            return runConstant<L>(first, second, dst, roi, complexMulFloatRow);
        else
            return runBinary<L>(first, second, dst, roi, complexMulFloatRow);
    } else {
        using PL = typename PartsOf<T, L>::Layout;
        using P = Part<T>;
        const auto row = floatRow<Exact, P>;
        const Image<const P> s = partsImage(second.data(), second.step());
        const Image<P> d = partsImage(dst.data(), dst.step());
        if constexpr (std::is_pointer_v<FirstOperand>)
            return runConstant<PL>(reinterpret_cast<const P*>(first), s, d, roi, row);
        else
            return runBinary<PL>(partsImage(first.data(), first.step()), s, d, roi, row);
    }
}

// Two images, scale factor (integer and complex-integer members). Complex
// members are computed row by row and also check their steps.
template <class Exact, class T, class L>
OvkStatus scaledImages(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, T* pDst, int dstStep,
                       OvkiSize roiSize, int scaleFactor)
{
    OVK_CHECK(check::pointers(pSrc1, pSrc2, pDst));
    OVK_CHECK(check::size(roiSize));
    if constexpr (isComplex<T>) OVK_CHECK(check::steps(src1Step, src2Step, dstStep));
    return scaledRows<Exact, T, L>(image(pSrc1, src1Step), image(pSrc2, src2Step), image(pDst, dstStep), roiSize,
                                   scaleFactor);
}

// Image and constant, scale factor.
template <class Exact, class T, class L>
OvkStatus scaledConstant(const T* pSrc, int srcStep, ConstArg<T, L> value, T* pDst, int dstStep, OvkiSize roiSize,
                         int scaleFactor)
{
    OVK_CHECK(check::pointers(pSrc, pDst, constantValues<T, L>(value)));
    OVK_CHECK(check::size(roiSize));
    if constexpr (isComplex<T>) OVK_CHECK(check::steps(srcStep, dstStep));
    return scaledRows<Exact, T, L>(constantValues<T, L>(value), image(pSrc, srcStep), image(pDst, dstStep), roiSize,
                                   scaleFactor);
}

// Two images, single precision.
template <class Exact, class T, class L>
OvkStatus floatImages(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, T* pDst, int dstStep,
                      OvkiSize roiSize)
{
    OVK_CHECK(check::pointers(pSrc1, pSrc2, pDst));
    OVK_CHECK(check::size(roiSize));
    if constexpr (isComplex<T>) OVK_CHECK(check::steps(src1Step, src2Step, dstStep));
    return floatRows<Exact, T, L>(image(pSrc1, src1Step), image(pSrc2, src2Step), image(pDst, dstStep), roiSize);
}

// Image and constant, single precision.
template <class Exact, class T, class L>
OvkStatus floatConstant(const T* pSrc, int srcStep, ConstArg<T, L> value, T* pDst, int dstStep, OvkiSize roiSize)
{
    OVK_CHECK(check::pointers(pSrc, pDst, constantValues<T, L>(value)));
    OVK_CHECK(check::size(roiSize));
    if constexpr (isComplex<T>) OVK_CHECK(check::steps(srcStep, dstStep));
    return floatRows<Exact, T, L>(constantValues<T, L>(value), image(pSrc, srcStep), image(pDst, dstStep), roiSize);
}

}  // namespace ovk::arith
