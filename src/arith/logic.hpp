// Bitwise And, Or, Xor of two images or of an image and per-channel
// constants, and Not. Results are the exact bit patterns: no scaling, no
// saturation. This family checks steps BEFORE the size.
#pragma once

#include "frame/elementwise.hpp"

namespace ovk::arith {

struct AndBits { template <class T> static T apply(T a, T b) { return static_cast<T>(a & b); } };
struct OrBits  { template <class T> static T apply(T a, T b) { return static_cast<T>(a | b); } };
struct XorBits { template <class T> static T apply(T a, T b) { return static_cast<T>(a ^ b); } };

template <class Bits, class T>
OvkStatus bitsRow(const T* a, const T* b, T* d, int n)
{
    for (int i = 0; i < n; ++i) d[i] = Bits::apply(a[i], b[i]);  // the compiler vectorises this loop
    return ovkStatusOk;
}

template <class Bits, class T, class L>
OvkStatus bitsImages(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, T* pDst, int dstStep,
                     OvkiSize roiSize)
{
    OVK_CHECK(check::pointers(pSrc1, pSrc2, pDst));
    OVK_CHECK(check::steps(src1Step, src2Step, dstStep));
    OVK_CHECK(check::size(roiSize));
    return runBinary<L>(image(pSrc1, src1Step), image(pSrc2, src2Step), image(pDst, dstStep), roiSize,
                        bitsRow<Bits, T>);
}

template <class Bits, class T, class L>
OvkStatus bitsConstant(const T* pSrc, int srcStep, ConstArg<T, L> value, T* pDst, int dstStep, OvkiSize roiSize)
{
    OVK_CHECK(check::pointers(pSrc, pDst, constantValues<T, L>(value)));
    OVK_CHECK(check::steps(srcStep, dstStep));
    OVK_CHECK(check::size(roiSize));
    return runConstant<L>(constantValues<T, L>(value), image(pSrc, srcStep), image(pDst, dstStep), roiSize,
                          bitsRow<Bits, T>);
}

// Not is Xor with all ones in every processed channel.
template <class T, class L>
OvkStatus notImage(const T* pSrc, int srcStep, T* pDst, int dstStep, OvkiSize roiSize)
{
    const T ones[4] = {T(~T(0)), T(~T(0)), T(~T(0)), T(~T(0))};
    if constexpr (L::stored == 1)
        return bitsConstant<XorBits, T, L>(pSrc, srcStep, ones[0], pDst, dstStep, roiSize);
    else
        return bitsConstant<XorBits, T, L>(pSrc, srcStep, ones, pDst, dstStep, roiSize);
}

}  // namespace ovk::arith
