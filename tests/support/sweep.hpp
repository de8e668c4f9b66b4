// Sweeps of one test over element types, layouts and widths.
#pragma once

#include <gtest/gtest.h>

#include <utility>

#include "frame/layout.hpp"
#include "support/guarded_image.hpp"

namespace ovktest {

// One member of a family: element type and layout (ovk::C1, C3, C4, AC4).
template <class T, class L>
struct Member {
    using Type = T;
    using Layout = L;
};

template <class T>
using InterleavedMembers = ::testing::Types<Member<T, ovk::C1>, Member<T, ovk::C3>, Member<T, ovk::C4>, Member<T, ovk::AC4>>;

// Widths that exercise every tail length of a 16-byte vector loop for every
// element size, plus a few wide rows.
inline const int kSweepWidths[] = {1, 2, 3, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 47, 63, 64, 65, 100};

// Calls f(width) for every sweep width.
template <class F>
void forEachWidth(F&& f)
{
    for (int w : kSweepWidths) {
        SCOPED_TRACE(::testing::Message() << "width " << w);
        f(w);
    }
}

// Runs a call that must fail its argument checks: asserts the status and that
// none of the given images changed at all.
template <class F, class... B>
void expectRejected(OvkStatus expected, F&& call, const B&... buffers)
{
    EXPECT_EQ(call(), expected);
    for (const GuardedBuffer* b : {static_cast<const GuardedBuffer*>(&buffers)...}) EXPECT_TRUE(b->unchanged());
}

// Asserts the write discipline of a successful call on a destination: nothing
// outside the ROI changed and, for layouts that keep alpha, channel 3 neither.
template <class L>
void expectWriteDiscipline(const GuardedBuffer& dst)
{
    EXPECT_TRUE(dst.outsideRoiUnchanged());
    if constexpr (L::keepsAlpha) {
        EXPECT_TRUE(dst.channelUnchanged(3));
    }
}

}  // namespace ovktest
