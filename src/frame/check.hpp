// Argument checks. A family lists its checks in the documented order, one
// line each:
//
//     OVK_CHECK(check::pointers(pSrc, pDst));
//     OVK_CHECK(check::size(roi));
//     OVK_CHECK(check::steps(srcStep, dstStep));
//     OVK_CHECK(check::require(scaleFactor >= 0, ovkStatusBadArgument));
//
// The first failing check returns its status; nothing is written before all
// of them pass.
#pragma once

#include <ovk/ovkdefs.h>

#include <cstdint>

namespace ovk::check {

template <class... P>
constexpr OvkStatus pointers(const P*... p)
{
    return ((p == nullptr) || ...) ? ovkStatusNullPointer : ovkStatusOk;
}

// Every plane pointer of a planar image, and the array itself.
template <class P>
constexpr OvkStatus planes(const P* const* planes, int count)
{
    if (planes == nullptr) return ovkStatusNullPointer;
    for (int i = 0; i < count; ++i)
        if (planes[i] == nullptr) return ovkStatusNullPointer;
    return ovkStatusOk;
}

constexpr OvkStatus size(OvkiSize roi)
{
    return (roi.width < 1 || roi.height < 1) ? ovkStatusSizeError : ovkStatusOk;
}

template <class... S>
constexpr OvkStatus steps(S... s)
{
    return ((s < 1) || ...) ? ovkStatusStepError : ovkStatusOk;
}

// Whether a part that starts at `offset` and is `length` long lies within
// `total`. Caller integers are summed in 64 bits, so values near INT_MAX fail
// the test instead of wrapping around and passing it. Every check that adds
// or multiplies caller sizes goes through a helper of this kind.
constexpr bool fitsWithin(int offset, int length, int total)
{
    return offset >= 0 && length >= 0 && std::int64_t(offset) + length <= total;
}

constexpr OvkStatus require(bool condition, OvkStatus failure)
{
    return condition ? ovkStatusOk : failure;
}

}  // namespace ovk::check

#define OVK_CHECK(...)                                   \
    do {                                                 \
        if (const OvkStatus ovkCheck_ = (__VA_ARGS__);   \
            ovkCheck_ != ovkStatusOk)                    \
            return ovkCheck_;                            \
    } while (0)
