// Copy, Dup, Set and SwapChannels, every member, against where each element
// must land: the layouts of a member name its source and destination
// channels, and every element the definition does not name keeps its value.
#include <gtest/gtest.h>

#include <algorithm>

#include "oracle.hpp"

namespace {

using namespace exchange_test;

// Widths around the 16-pixel blocks of the 8u three-channel paths, and one
// past the 192-element chunks that fills copy along a row.
const OvkiSize kRois[] = {{19, 3}, {37, 2}, {1, 1}, {200, 2}};

TEST(Copy, EveryElementLandsByLayout)
{
    std::vector<const Function*> all = members("Copy");
    for (const char* family : {"CopyManaged", "Dup"})
        for (const Function* f : members(family)) all.push_back(f);
    for (const Function* f : all)
        for (OvkiSize roi : kRois) {
            Invocation inv(*f, setup(*f, roi));
            const std::string in = f->layout.front(), out = f->layout.back();
            const bool masked = f->flags == "MR", fromPlanes = in[0] == 'P', toPlanes = out[0] == 'P';
            if (toPlanes) {
                ASSERT_EQ(inv.call(), ovkStatusOk) << f->name;
                for (int p = 0; p < stored(out); ++p)
                    EXPECT_EQ(mismatch(inv, "pDst#" + std::to_string(p), roi.width, roi.height, 1,
                                       [&](int x, int y, int) { return inv.get("pSrc", x, y, p); }), "");
                continue;
            }
            // A channel of interest (CR) moves channel 0 of images with the source's layout.
            const bool dup = f->family == "Dup";  // grey into every channel
            const int moved = out == "CR" ? 1
                              : fromPlanes || dup ? stored(fromPlanes ? in : out)
                              : std::min(processed(in), processed(out));
            const int channels = out == "CR" ? stored(in) : stored(out);
            const Before before(inv, "pDst");
            ASSERT_EQ(inv.call(), ovkStatusOk) << f->name;
            EXPECT_EQ(mismatch(inv, "pDst", roi.width, roi.height, channels, [&](int x, int y, int c) {
                          if (c >= moved || (masked && inv.get("pMask", x, y, 0) == 0)) return before(x, y, c);
                          if (fromPlanes) return inv.get("pSrc#" + std::to_string(c), x, y, 0);
                          return inv.get("pSrc", x, y, dup ? 0 : c);
                      }), "");
        }
}

TEST(Set, EveryPixelGetsTheValues)
{
    for (const Function* f : members("Set"))
        for (OvkiSize roi : kRois) {
            Invocation inv(*f, setup(*f, roi));
            const std::string token = f->layout.front();
            const bool masked = f->flags == "MR", scalar = f->param("value")->count == 0;
            const int written = f->layout.back() == "CR" ? 1 : processed(token);
            const Before before(inv, "pDst");
            ASSERT_EQ(inv.call(), ovkStatusOk) << f->name;
            EXPECT_EQ(mismatch(inv, "pDst", roi.width, roi.height, stored(token), [&](int x, int y, int c) {
                          if (c >= written || (masked && inv.get("pMask", x, y, 0) == 0)) return before(x, y, c);
                          return inv.arg("value", scalar ? 0 : c);
                      }), "");
        }
}

// dst[c] = src[order[c]] over many orders, repeated channels included; the
// C3C4 entries 3 (the value) and above (keep) too.
TEST(SwapChannels, DestinationChannelCTakesSourceChannelOrderC)
{
    for (const Function* f : members("SwapChannels")) {
        const Param& order = *f->param("dstOrder");
        const int span = int(order.domain->max.value_or(5)) + 1;
        int total = 1;
        for (int k = 0; k < order.count; ++k) total *= span;
        const bool inPlace = f->param("pSrcDst") != nullptr;
        const std::string src = inPlace ? "pSrcDst" : "pSrc", dst = inPlace ? "pSrcDst" : "pDst";
        const int srcChannels = stored(f->layout.front()), dstChannels = stored(f->layout.back());
        for (int i = 0; i < total; i += std::max(1, total / 60)) {
            Invocation inv(*f, setup(*f, {21, 2}, i));
            std::vector<int> o;
            for (int k = 0, r = i; k < order.count; ++k, r /= span) {
                o.push_back(r % span);
                inv.setInt("dstOrder", o.back(), k);
            }
            const Before s(inv, src), d(inv, dst);
            ASSERT_EQ(inv.call(), ovkStatusOk) << f->name;
            EXPECT_EQ(mismatch(inv, dst, 21, 2, dstChannels, [&](int x, int y, int c) {
                          if (c >= order.count || o[c] > srcChannels) return d(x, y, c);
                          return o[c] == srcChannels ? inv.arg("val") : s(x, y, o[c]);
                      }), "") << "order #" << i;
        }
    }
}

}  // namespace
