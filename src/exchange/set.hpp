// Set (fill with per-channel values), its one-channel and masked forms, and
// Dup (a grey image written into every channel). Checks: pointers, size.
#pragma once

#include "frame/elementwise.hpp"
#include "frame/fill.hpp"

namespace ovk::exchange {

template <class T, class L>
OvkStatus set(ConstArg<T, L> value, T* pDst, int dstStep, OvkiSize roiSize)
{
    const T* values = constantValues<T, L>(value);
    OVK_CHECK(check::pointers(pDst, values));
    OVK_CHECK(check::size(roiSize));
    fillRows<L>(image(pDst, dstStep), roiSize, values);
    return ovkStatusOk;
}

// One channel of a Stride-channel image: the element at the pointer of each pixel.
template <class T, int Stride>
OvkStatus setChannel(T value, T* pDst, int dstStep, OvkiSize roiSize)
{
    OVK_CHECK(check::pointers(pDst));
    OVK_CHECK(check::size(roiSize));
    forEachRow(roiSize, [&](T* d) {
        for (std::ptrdiff_t x = 0; x < roiSize.width; ++x) d[x * Stride] = value;
    }, image(pDst, dstStep));
    return ovkStatusOk;
}

template <class T, class L>
OvkStatus setMasked(ConstArg<T, L> value, T* pDst, int dstStep, OvkiSize roiSize, const Ovk8u* pMask, int maskStep)
{
    const T* values = constantValues<T, L>(value);
    OVK_CHECK(check::pointers(pDst, values, pMask));
    OVK_CHECK(check::size(roiSize));
    forEachRow(roiSize, [&](T* d, const Ovk8u* m) {
        for (std::ptrdiff_t x = 0; x < roiSize.width; ++x)
            if (m[x])
                for (int c = 0; c < L::processed; ++c) d[x * L::stored + c] = values[c];
    }, image(pDst, dstStep), image(pMask, maskStep));
    return ovkStatusOk;
}

template <int Channels>
OvkStatus dup(const Ovk8u* pSrc, int srcStep, Ovk8u* pDst, int dstStep, OvkiSize roiSize)
{
    OVK_CHECK(check::pointers(pSrc, pDst));
    OVK_CHECK(check::size(roiSize));
    forEachRow(roiSize, [&](const Ovk8u* s, Ovk8u* d) {
        for (std::ptrdiff_t x = 0; x < roiSize.width; ++x)
            for (int c = 0; c < Channels; ++c) d[x * Channels + c] = s[x];
    }, image(pSrc, srcStep), image(pDst, dstStep));
    return ovkStatusOk;
}

}  // namespace ovk::exchange
