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
