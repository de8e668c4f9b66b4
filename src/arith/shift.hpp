// Shifts by per-channel counts. Left shifts truncate to the element width;
// right shifts are logical for unsigned types and arithmetic (sign filling)
// for signed ones. A count of the element width or more is never an error: it
// shifts every bit out (0, or the sign fill for signed right shifts). A
// caller's negative count arrives as a very large unsigned one and takes that
// path. Checks: pointers, steps, then size.
#pragma once

#include "frame/elementwise.hpp"

namespace ovk::arith {

struct LeftShift {
    template <class T>
    static T apply(T x, Ovk32u count)
    {
        constexpr Ovk32u bits = 8 * sizeof(T);
        if (count >= bits) return T(0);
        using U = std::make_unsigned_t<T>;
        return static_cast<T>(static_cast<U>(static_cast<U>(x) << count));  // bits beyond the element are lost
    }
};

struct RightShift {
    template <class T>
    static T apply(T x, Ovk32u count)
    {
        constexpr Ovk32u bits = 8 * sizeof(T);
        if constexpr (std::is_signed_v<T>) {
            return static_cast<T>(x >> (count < bits ? count : bits - 1));  // arithmetic: the sign is replicated
        } else {
            return count >= bits ? T(0) : static_cast<T>(x >> count);
        }
    }
};

// Per-element counts (a repeated chunk of the per-channel counts).
template <class Shift, class T>
OvkStatus shiftRow(const Ovk32u* counts, const T* src, T* d, int n)
{
    for (int i = 0; i < n; ++i) d[i] = Shift::template apply<T>(src[i], counts[i]);
    return ovkStatusOk;
}

template <class Shift, class T, class L>
OvkStatus shiftImage(const T* pSrc, int srcStep, ConstArg<Ovk32u, L> value, T* pDst, int dstStep, OvkiSize roiSize)
{
    const Ovk32u* counts = constantValues<Ovk32u, L>(value);
    OVK_CHECK(check::pointers(pSrc, pDst, counts));
    OVK_CHECK(check::steps(srcStep, dstStep));
    OVK_CHECK(check::size(roiSize));
    const auto src = image(pSrc, srcStep);
    const auto dst = image(pDst, dstStep);

    bool uniform = true;
    for (int c = 1; c < L::processed; ++c) uniform = uniform && counts[c] == counts[0];
    if (uniform) {
        // One count for every channel: a loop the compiler vectorises, with the
        // shifted-out case as a fill.
        const Ovk32u count = counts[0];
        constexpr bool signFills = std::is_signed_v<T> && std::is_same_v<Shift, RightShift>;
        if (!signFills && count >= 8 * sizeof(T)) {
            fillRows<L>(dst, roiSize, T(0));
            return ovkStatusOk;
        }
        return runUnary<L>(src, dst, roiSize, [count](const T* s, T* d, int n) {
            for (int i = 0; i < n; ++i) d[i] = Shift::template apply<T>(s[i], count);
            return ovkStatusOk;
        });
    }
    return runConstant<L>(counts, src, dst, roiSize, shiftRow<Shift, T>);
}

}  // namespace ovk::arith
