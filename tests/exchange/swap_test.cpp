// SwapChannels, every member: dst[c] = src[order[c]] for every valid order
// (repeated channels included), in place and with equal pointers as well;
// C3C4R's fill value and kept channels; C4C3R's access to the fourth
// channel; the order entries each member refuses; and each member's own
// check order. AC4 and kept C3C4R channels must keep their bytes.
#include <gtest/gtest.h>
#include <ovk/ovkimx.h>

#include <climits>
#include <functional>
#include <vector>

#include "move_checks.hpp"

namespace {

using namespace ovktest;
using namespace ovktest::moves;

using Order = std::vector<int>;

// Every member seen through one call: source, its step, destination, its
// step, size, order, value. The in-place members (and C3R called with equal
// pointers and steps) take the image as the destination and ignore the source.
template <class T>
struct SwapForm {
    std::function<OvkStatus(const T*, int, T*, int, OvkiSize, const int*, T)> call;
    int srcStride, dstStride, orderLength;
    bool inPlace;
    bool threeToFour;      // entry 3 writes the value, entries above 3 keep the channel
    std::vector<Order> valid, invalid;
    CheckPlan plan;        // pointers: image(s) then the order; steps: the image(s)
};

// All orders of `length` entries drawn from `entries`.
std::vector<Order> allOrders(int length, const Order& entries)
{
    std::vector<Order> out{{}};
    for (int i = 0; i < length; ++i) {
        std::vector<Order> next;
        for (const Order& o : out)
            for (int e : entries) {
                Order n = o;
                n.push_back(e);
                next.push_back(n);
            }
        out = next;
    }
    return out;
}

// A good order with one entry replaced by each bad value in turn.
std::vector<Order> spoiledOrders(const Order& good, const Order& badValues)
{
    std::vector<Order> out;
    for (std::size_t p = 0; p < good.size(); ++p)
        for (int v : badValues) {
            Order o = good;
            o[p] = v;
            out.push_back(o);
        }
    return out;
}

template <class T>
void runSwap(const SwapForm<T>& f, const Order& order, int w, int h, bool zeroSteps, unsigned seed)
{
    SCOPED_TRACE(::testing::Message() << w << "x" << h << ", order " << ::testing::PrintToString(order));
    GuardedImage<T> src(w, h, f.srcStride, 3), dst(w, h, f.dstStride, 6);
    fillPattern(src, seed);
    fillPattern(dst, seed + 1);
    const T val = patternValues<T>(1, seed + 2)[0];
    GuardedImage<T>& out = f.inPlace ? src : dst;
    const GuardedImage<T> before = src;
    GuardedImage<T> want = out;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            for (int c = 0; c < f.orderLength; ++c) {
                const int k = order[c];
                if (f.threeToFour && k > 3) continue;
                want.set(x, y, c, f.threeToFour && k == 3 ? val : before.get(x, y, k));
            }
    const int z = zeroSteps ? 0 : 1;
    ASSERT_EQ(f.call(src.roi(), z * src.step(), out.roi(), z * out.step(), {w, h}, order.data(), val), ovkStatusOk);
    if (!f.inPlace) {
        EXPECT_TRUE(src.unchanged());
    }
    EXPECT_TRUE(out.outsideRoiUnchanged());
    EXPECT_TRUE(roiEqual(out, want, f.dstStride));
}

template <class T>
bool checksSteps(const SwapForm<T>& f)
{
    for (const Check& c : f.plan.checks)
        if (c.kind == Check::Steps) return true;
    return false;
}

template <class T>
void checkSwap(const SwapForm<T>& f, unsigned seed)
{
    const std::size_t widths = std::size(kSweepWidths);
    for (std::size_t i = 0; i < f.valid.size(); ++i) runSwap(f, f.valid[i], kSweepWidths[i % widths], 2, false, seed++);
    if (!checksSteps(f)) runSwap(f, f.valid.back(), 6, 1, true, seed++);

    GuardedImage<T> src(4, 3, f.srcStride), dst(4, 3, f.dstStride, 2);
    fillPattern(src, seed++);
    fillPattern(dst, seed++);
    const Order good = f.valid[f.valid.size() / 2];
    const T val = patternValues<T>(1, seed)[0];
    CheckPlan plan = f.plan;
    plan.badParameters = int(f.invalid.size());
    expectCheckOrder(plan, [&](const Faults& e) {
        const int* order = e.badParameter >= 0 ? f.invalid[e.badParameter].data() : good.data();
        if (f.inPlace)
            return f.call(src.roi(), src.step(), e.ptr(0, dst.roi()), e.step(0, dst.step()), e.roi(dst.size()),
                          e.ptr(1, order), val);
        return f.call(e.ptr(0, src.roi()), e.step(0, src.step()), e.ptr(1, dst.roi()), e.step(1, dst.step()),
                      e.roi(src.size()), e.ptr(2, order), val);
    }, src, dst);
}

template <class T>
using SwapFn = OvkStatus (*)(const T*, int, T*, int, OvkiSize, const int*);

const Order kColour = {0, 1, 2};

// C3R, C4R, AC4R: entries 0 to 2 only, also in the fourth slot of C4R.
template <class T>
SwapForm<T> sameLayout(SwapFn<T> fn, int stride, int length, CheckPlan plan)
{
    return {[fn](const T* s, int ss, T* d, int ds, OvkiSize r, const int* o, T) { return fn(s, ss, d, ds, r, o); },
            stride,
            stride,
            length,
            false,
            false,
            allOrders(length, kColour),
            spoiledOrders(Order(length, 1), {-1, 3, 4, INT_MIN, INT_MAX}),
            plan};
}

template <class T>
SwapForm<T> swapC3(SwapFn<T> fn)
{
    return sameLayout(fn, 3, 3, {3, 2, 15, {pointersCheck({0, 1, 2}), sizeCheck(), stepsCheck({0, 1}),
                                           parameterCheck(ovkStatusChannelOrderError)}});
}
template <class T>
SwapForm<T> swapC4(SwapFn<T> fn)
{
    return sameLayout(fn, 4, 4, {3, 2, 20, {pointersCheck({0, 1, 2}), sizeCheck(), parameterCheck(ovkStatusChannelOrderError)}});
}
template <class T>
SwapForm<T> swapAC4(SwapFn<T> fn)
{
    return sameLayout(fn, 4, 3, {3, 2, 15, {pointersCheck({0, 1}), stepsCheck({0, 1}), sizeCheck(), pointersCheck({2}),
                                           parameterCheck(ovkStatusChannelOrderError)}});
}

// C3R called with the same pointer and step for both images works in place.
template <class T>
SwapForm<T> swapC3EqualPointers(SwapFn<T> fn)
{
    SwapForm<T> f = swapC3(fn);
    f.call = [fn](const T*, int, T* d, int ds, OvkiSize r, const int* o, T) { return fn(d, ds, d, ds, r, o); };
    f.inPlace = true;
    f.plan = {2, 1, 0, {pointersCheck({0, 1}), sizeCheck(), stepsCheck({0}), parameterCheck(ovkStatusChannelOrderError)}};
    return f;
}

SwapForm<Ovk8u> swapInPlace(OvkStatus (*fn)(Ovk8u*, int, OvkiSize, const int*), int stride, CheckPlan plan)
{
    return {[fn](const Ovk8u*, int, Ovk8u* d, int ds, OvkiSize r, const int* o, Ovk8u) { return fn(d, ds, r, o); },
            stride,
            stride,
            stride,
            true,
            false,
            allOrders(stride, kColour),
            spoiledOrders(Order(stride, 1), {-1, 3, 4, INT_MIN, INT_MAX}),
            plan};
}

// C3C4R: entries 0 to 2 move a channel, 3 writes the value, above 3 keep the
// destination channel; only negative entries are refused.
template <class T>
SwapForm<T> swapC3C4(OvkStatus (*fn)(const T*, int, T*, int, OvkiSize, const int*, T))
{
    std::vector<Order> valid = allOrders(4, {0, 1, 2, 3, 5});
    valid.push_back({4, INT_MAX, 3, 0});
    valid.push_back({3, 3, 6, 1000});
    return {fn, 3, 4, 4, false, true, valid, spoiledOrders({2, 1, 0, 3}, {-1, INT_MIN}),
            {3, 2, 8, {pointersCheck({0, 1, 2}), sizeCheck(), parameterCheck(ovkStatusChannelOrderError)}}};
}

// C4C3R: entries 0 to 3, so the fourth source channel can be moved too.
template <class T>
SwapForm<T> swapC4C3(SwapFn<T> fn)
{
    return {[fn](const T* s, int ss, T* d, int ds, OvkiSize r, const int* o, T) { return fn(s, ss, d, ds, r, o); },
            4,
            3,
            3,
            false,
            false,
            allOrders(3, {0, 1, 2, 3}),
            spoiledOrders({3, 1, 0}, {-1, 4, INT_MIN, INT_MAX}),
            {3, 2, 12, {pointersCheck({0, 1, 2}), sizeCheck(), parameterCheck(ovkStatusChannelOrderError)}}};
}

#define OVK_SWAP_CASE(form, maker, t)                                                                         \
    FunctionCase{"SwapChannels_" #t "_" #form,                                                                \
                 [] { checkSwap<Ovk##t>(maker<Ovk##t>(ovkiSwapChannels_##t##_##form), seedOf(#t #form)); }, \
                 {anyFunction(ovkiSwapChannels_##t##_##form)}}

std::vector<FunctionCase> swapCases()
{
    return {
        OVK_MOVE_TYPES(OVK_SWAP_CASE, C3R, swapC3),
        OVK_MOVE_TYPES(OVK_SWAP_CASE, C4R, swapC4),
        OVK_MOVE_TYPES(OVK_SWAP_CASE, AC4R, swapAC4),
        OVK_MOVE_TYPES(OVK_SWAP_CASE, C3C4R, swapC3C4),
        OVK_MOVE_TYPES(OVK_SWAP_CASE, C4C3R, swapC4C3),
        FunctionCase{"SwapChannels_8u_C3R_EqualPointers",
                     [] { checkSwap<Ovk8u>(swapC3EqualPointers<Ovk8u>(ovkiSwapChannels_8u_C3R), 91); },
                     {anyFunction(ovkiSwapChannels_8u_C3R)}},
        FunctionCase{"SwapChannels_32f_C3R_EqualPointers",
                     [] { checkSwap<Ovk32f>(swapC3EqualPointers<Ovk32f>(ovkiSwapChannels_32f_C3R), 92); },
                     {anyFunction(ovkiSwapChannels_32f_C3R)}},
        FunctionCase{"SwapChannels_8u_C3IR",
                     [] {
                         checkSwap(swapInPlace(ovkiSwapChannels_8u_C3IR, 3,
                                               {2, 1, 15,
                                                {pointersCheck({0}), stepsCheck({0}), sizeCheck(), pointersCheck({1}),
                                                 parameterCheck(ovkStatusChannelOrderError)}}),
                                   93);
                     },
                     {anyFunction(ovkiSwapChannels_8u_C3IR)}},
        FunctionCase{"SwapChannels_8u_C4IR",
                     [] {
                         checkSwap(swapInPlace(ovkiSwapChannels_8u_C4IR, 4,
                                               {2, 1, 20,
                                                {pointersCheck({0, 1}), sizeCheck(),
                                                 parameterCheck(ovkStatusChannelOrderError)}}),
                                   94);
                     },
                     {anyFunction(ovkiSwapChannels_8u_C4IR)}},
    };
}

class SwapMember : public ::testing::TestWithParam<FunctionCase> {};

TEST_P(SwapMember, ReordersChannelsByDefinition) { GetParam().run(); }

INSTANTIATE_TEST_SUITE_P(SwapChannels, SwapMember, ::testing::ValuesIn(swapCases()), caseName);

TEST(SwapCoverage, EveryMemberIsCalled)
{
    // 5 types x (C3R, C4R, AC4R, C3C4R, C4C3R), and 8u C3IR, C4IR.
    EXPECT_EQ(distinctFunctions(swapCases()), 5u * 5u + 2u);
}

// The in-place members give what the two-image members give for the same data.
TEST(SwapInPlace, EqualsOutOfPlace)
{
    for (const Order& order : allOrders(4, kColour)) {
        SCOPED_TRACE(::testing::PrintToString(order));
        for (int n : {3, 4}) {
            GuardedImage<Ovk8u> src(7, 2, n), dst(7, 2, n, 2), io(7, 2, n, 4);
            fillPattern(src, 5);
            fillPattern(dst, 6);
            io.fill([&](int x, int y, int c) { return src.get(x, y, c); });
            const OvkStatus r = n == 3 ? ovkiSwapChannels_8u_C3R(src.roi(), src.step(), dst.roi(), dst.step(), src.size(), order.data())
                                       : ovkiSwapChannels_8u_C4R(src.roi(), src.step(), dst.roi(), dst.step(), src.size(), order.data());
            const OvkStatus i = n == 3 ? ovkiSwapChannels_8u_C3IR(io.roi(), io.step(), io.size(), order.data())
                                       : ovkiSwapChannels_8u_C4IR(io.roi(), io.step(), io.size(), order.data());
            ASSERT_EQ(r, ovkStatusOk);
            ASSERT_EQ(i, ovkStatusOk);
            EXPECT_TRUE(roiEqual(io, dst, n));
        }
    }
}

}  // namespace
