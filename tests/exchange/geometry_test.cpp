// Transpose, Mirror and the border copies, every member: each source pixel
// placed where the definition puts it, over shapes that cross the block and
// tile sizes; twice in place is the identity; the frame rules (replicate clamps the source
// coordinate, wrap takes its non-negative remainder, constant fills what lies
// outside) with frames wider than the source.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <tuple>

#include "oracle.hpp"

namespace {

using namespace exchange_test;

// Calls and compares the destination with the definition: what it held, with
// every processed channel of source pixel (x, y) at land(x, y).
template <class Land>
std::string placed(Invocation& inv, OvkiSize roi, OvkiSize dstSize, Land land)
{
    const bool inPlace = inv.function().param("pSrcDst") != nullptr;
    const std::string src = inPlace ? "pSrcDst" : "pSrc", dst = inPlace ? "pSrcDst" : "pDst";
    const std::string token = inv.function().layout.front();
    const int ch = stored(token);
    const Before s(inv, src), d(inv, dst);
    std::map<std::tuple<int, int, int>, long double> want;
    for (int y = 0; y < roi.height; ++y)
        for (int x = 0; x < roi.width; ++x)
            for (int c = 0; c < processed(token); ++c) want[std::tuple_cat(land(x, y), std::tuple{c})] = s(x, y, c);
    if (inv.call() != ovkStatusOk) return inv.function().name + " failed";
    return mismatch(inv, dst, dstSize.width, dstSize.height, ch, [&](int x, int y, int c) {
        const auto it = want.find({x, y, c});
        return it != want.end() ? it->second : d(x, y, c);
    });
}

TEST(Transpose, PixelXYLandsAtYX)
{
    const std::vector<OvkiSize> shapes = {{70, 67}, {129, 5}, {1, 17}, {16, 16}, {5, 4}},
                                squares = {{1, 1}, {33, 33}, {65, 65}, {70, 70}};
    for (const Function* f : members("Transpose"))
        for (OvkiSize roi : f->has("square") ? squares : shapes) {
            Invocation inv(*f, setup(*f, roi));
            EXPECT_EQ(placed(inv, roi, {roi.height, roi.width}, [](int x, int y) { return std::pair{y, x}; }), "")
                << roi.width << "x" << roi.height;
        }
}

// Steps of a power of two give the source other tile shapes.
TEST(Transpose, PowerOfTwoStepsPlaceEveryPixel)
{
    const auto check = [](auto lane, auto fn) {
        using T = decltype(lane);
        const OvkiSize roi{std::min(300, 1024 / int(sizeof(T))), 70};  // rows fit the smallest step
        for (int step : {1024, 2048, 4096}) {
            std::vector<T> src(std::size_t(step) / sizeof(T) * roi.height), dst(std::size_t(step) / sizeof(T) * roi.width);
            const int pitch = step / int(sizeof(T));
            for (std::size_t i = 0; i < src.size(); ++i) src[i] = T(i * 7 % 251);
            ASSERT_EQ(fn(src.data(), step, dst.data(), step, roi), ovkStatusOk);
            for (int y = 0; y < roi.height; ++y)
                for (int x = 0; x < roi.width; ++x)
                    ASSERT_EQ(dst[std::size_t(x) * pitch + y], src[std::size_t(y) * pitch + x]) << sizeof(T) << " bytes, step " << step;
        }
    };
    check(Ovk8u{}, ovkiTranspose_8u_C1R);
    check(Ovk16u{}, ovkiTranspose_16u_C1R);
    check(Ovk32f{}, ovkiTranspose_32f_C1R);
}

std::pair<int, int> mirrored(int axis, int x, int y, OvkiSize s)
{
    switch (axis) {
    case 0: return {x, s.height - 1 - y};
    case 1: return {s.width - 1 - x, y};
    case 2: return {s.width - 1 - x, s.height - 1 - y};
    case 3: return {y, x};
    default: return {s.height - 1 - y, s.width - 1 - x};
    }
}

// Diagonals into a destination of the transposed size.
TEST(Mirror, EveryAxisPlacesEachPixel)
{
    for (const Function* f : members("Mirror"))
        for (OvkiSize roi : {OvkiSize{35, 4}, OvkiSize{17, 17}, OvkiSize{2, 3}, OvkiSize{33, 2}})
            for (int axis = 0; axis <= int(*f->param("flip")->domain->max); ++axis) {
                CallSetup s = setup(*f, roi, axis);
                s.values["flip"] = axis;
                Invocation inv(*f, s);
                const OvkiSize out = axis > 2 ? OvkiSize{roi.height, roi.width} : roi;
                EXPECT_EQ(placed(inv, roi, out, [&](int x, int y) { return mirrored(axis, x, y, roi); }), "")
                    << "axis " << axis << ", " << roi.width << "x" << roi.height;
            }
}

// In place, mirroring or transposing twice gives the image back.
TEST(Mirror, TwiceInPlaceIsIdentity)
{
    std::vector<std::pair<const Function*, int>> cases;
    for (const Function* f : members("Mirror", "IR"))
        for (int axis = 0; axis < 3; ++axis) cases.push_back({f, axis});
    for (const Function* f : members("Transpose", "IR")) cases.push_back({f, -1});
    for (auto [f, axis] : cases) {
        Invocation inv(*f, setup(*f, {23, 23}, axis));
        if (axis >= 0) inv.setInt("flip", axis);
        const Before before(inv, "pSrcDst");
        ASSERT_EQ(inv.call(), ovkStatusOk);
        ASSERT_EQ(inv.call(), ovkStatusOk);
        EXPECT_EQ(mismatch(inv, "pSrcDst", 23, 23, stored(f->layout[0]), before), "") << "axis " << axis;
    }
}

// The destination is 5 wider and 4 higher than the source; top and left
// frames vary out of place, in place the source sits at (3, 2).
TEST(Border, FrameFollowsTheRule)
{
    struct Case { OvkiSize roi; int top, left; };
    const Case cases[] = {{{19, 3}, 2, 3}, {{19, 3}, 0, 0}, {{19, 3}, 4, 5},
                          {{2, 1}, 2, 3}, {{1, 1}, 1, 4}, {{3, 2}, 0, 5}};
    for (const char* family : {"CopyReplicateBorder", "CopyConstBorder", "CopyWrapBorder"})
        for (const Function* f : members(family))
            for (const Case& k : cases) {
                const bool inPlace = f->param("pDst") == nullptr;
                if (inPlace && (k.top != 2 || k.left != 3)) continue;
                Invocation inv(*f, setup(*f, k.roi, k.top * 8 + k.left));
                inv.setInt("topBorderHeight", k.top);
                inv.setInt("leftBorderWidth", k.left);
                const std::string dst = inPlace ? "pSrc" : "pDst", token = f->layout[0];
                const int ox = inPlace ? 3 : 0, oy = inPlace ? 2 : 0, W = k.roi.width, H = k.roi.height;
                const Before s(inv, "pSrc"), d(inv, dst);
                ASSERT_EQ(inv.call(), ovkStatusOk) << f->name;
                const bool constant = f->family == "CopyConstBorder", wrap = f->family == "CopyWrapBorder";
                EXPECT_EQ(mismatch(inv, dst, W + 5, H + 4, stored(token), [&](int x, int y, int c) {
                              int sx = x - k.left, sy = y - k.top;
                              if (c >= processed(token)) return d(x, y, c);
                              const bool inside = sx >= 0 && sx < W && sy >= 0 && sy < H;
                              if (constant && !inside) return inv.arg("value", f->param("value")->count ? c : 0);
                              if (wrap) {
                                  sx = ((sx % W) + W) % W;
                                  sy = ((sy % H) + H) % H;
                              }
                              return s(std::clamp(sx, 0, W - 1) + ox, std::clamp(sy, 0, H - 1) + oy, c);
                          }), "") << k.roi.width << "x" << k.roi.height << " top " << k.top << " left " << k.left;
            }
}

}  // namespace
