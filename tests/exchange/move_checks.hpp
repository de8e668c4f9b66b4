// Shared by the tests of the pixel-moving families (copy, set, channel moves,
// transpose, mirror):
//
//  - fillPattern: images of raw bit patterns. Nothing here may convert a
//    value, so 32f images carry NaNs with payloads (signalling ones too),
//    infinities, signed zeros and denormals, and results are compared bit for
//    bit;
//  - fillMask: mask images with zero and several non-zero bytes;
//  - expectCheckOrder: every combination of one null pointer, one bad step,
//    one bad size and one bad operation parameter against a family's ordered
//    list of checks. Each call must return the status of the first check that
//    fails and leave every image untouched.
#pragma once

#include <gtest/gtest.h>
#include <ovk/ovkimx.h>

#include <algorithm>
#include <bit>
#include <climits>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "support/elementwise_checks.hpp"
#include "support/guarded_image.hpp"
#include "support/sweep.hpp"

namespace ovktest::moves {

using elementwise::anyFunction;
using elementwise::caseName;
using elementwise::distinctFunctions;
using elementwise::FunctionCase;
using elementwise::seedOf;

// Every element type of the families.
#define OVK_MOVE_TYPES(M, ...)                                                                      \
    M(__VA_ARGS__ __VA_OPT__(, ) 8u), M(__VA_ARGS__ __VA_OPT__(, ) 16u), M(__VA_ARGS__ __VA_OPT__(, ) 16s), \
        M(__VA_ARGS__ __VA_OPT__(, ) 32s), M(__VA_ARGS__ __VA_OPT__(, ) 32f)

// Random bytes everywhere (guard band included), floating specials mixed into
// the ROI of 32f images, then a snapshot.
template <class T>
void fillPattern(GuardedImage<T>& img, unsigned seed)
{
    img.scramble(seed);
    if constexpr (std::is_same_v<T, Ovk32f>) {
        static constexpr std::uint32_t kSpecials[] = {
            0x7FA00001u,  // signalling NaN
            0xFFC12345u,  // negative quiet NaN with a payload
            0x80000000u,  // -0
            0x7F800000u, 0xFF800000u,  // infinities
            0x00000001u, 0x807FFFFFu,  // denormals
        };
        std::size_t k = 0;
        const OvkiSize s = img.size();
        for (int y = 0; y < s.height; ++y)
            for (int x = 0; x < s.width; ++x)
                for (int c = 0; c < img.channels(); ++c, ++k)
                    if (k % 5 == 2) img.set(x, y, c, std::bit_cast<Ovk32f>(kSpecials[(k / 5) % std::size(kSpecials)]));
        img.snapshot();
    }
}

// A value list of n raw patterns (with the same specials for 32f).
template <class T>
std::vector<T> patternValues(int n, unsigned seed)
{
    GuardedImage<T> tmp(n, 1, 1, 0, 0);
    fillPattern(tmp, seed);
    std::vector<T> v(n);
    for (int i = 0; i < n; ++i) v[i] = tmp.get(i, 0, 0);
    return v;
}

// About half the mask bytes zero, the others 1, 0x80, 0xFF or 0x3C.
inline void fillMask(GuardedImage<Ovk8u>& mask, unsigned seed)
{
    static constexpr Ovk8u kOn[] = {1, 0x80, 0xFF, 0x3C};
    mask.scramble(seed);
    std::mt19937 rng(seed * 31u + 7u);
    const OvkiSize s = mask.size();
    for (int y = 0; y < s.height; ++y)
        for (int x = 0; x < s.width; ++x) {
            const unsigned r = rng() % 8;
            mask.set(x, y, 0, r < 4 ? Ovk8u(0) : kOn[r - 4]);
        }
    mask.snapshot();
}

// The pointer to pixel (x, y) of an image, offset by `channel` elements: the
// first element of a channel-of-interest view, or a bottom-up view's first row.
template <class T>
T* elementAt(GuardedImage<T>& img, int x, int y, int channel = 0)
{
    return reinterpret_cast<T*>(img.pixelBytes(x, y)) + channel;
}

// ---------------------------------------------------------------------------
// Check order.
// ---------------------------------------------------------------------------

// The faults of one rejected call. A call lambda passes every pointer through
// ptr(index, p), every step through step(index, s), the size through
// roi(good) and asks bad(k) whether to pass its k-th bad operation parameter.
struct Faults {
    int nullPointer = -1;
    int badStep = -1;
    int stepValue = 0;
    std::optional<OvkiSize> size;
    int badParameter = -1;

    template <class P>
    P* ptr(int index, P* p) const
    {
        return index == nullPointer ? nullptr : p;
    }
    int step(int index, int s) const { return index == badStep ? stepValue : s; }
    OvkiSize roi(OvkiSize good) const { return size ? *size : good; }
    bool bad(int k) const { return badParameter == k; }
};

// One check of a family. Pointer and step checks name the indices they test;
// a parameter check covers every bad parameter the call can pass.
struct Check {
    enum Kind { Pointers, Steps, Size, Parameter } kind;
    std::vector<int> indices;
    OvkStatus status;
};

inline Check pointersCheck(std::vector<int> i) { return {Check::Pointers, std::move(i), ovkStatusNullPointer}; }
inline Check stepsCheck(std::vector<int> i) { return {Check::Steps, std::move(i), ovkStatusStepError}; }
inline Check sizeCheck() { return {Check::Size, {}, ovkStatusSizeError}; }
inline Check parameterCheck(OvkStatus s) { return {Check::Parameter, {}, s}; }

// How many pointers, steps and bad parameters a call has, and the checks the
// family runs, first to last. Steps that no check names are accepted whatever
// their value; a combination whose only faults are unchecked is not run.
struct CheckPlan {
    int pointers = 0;
    int steps = 0;
    int badParameters = 0;
    std::vector<Check> checks;
};

inline bool triggers(const Check& c, const Faults& f)
{
    auto named = [&](int i) { return i >= 0 && std::find(c.indices.begin(), c.indices.end(), i) != c.indices.end(); };
    switch (c.kind) {
    case Check::Pointers: return named(f.nullPointer);
    case Check::Steps: return named(f.badStep);
    case Check::Size: return f.size.has_value();
    case Check::Parameter: return f.badParameter >= 0;
    }
    return false;
}

template <class Call, class... B>
void expectCheckOrder(const CheckPlan& plan, Call&& call, const B&... buffers)
{
    const int badSteps[] = {0, -1, INT_MIN};
    const std::optional<OvkiSize> sizes[] = {std::nullopt,      OvkiSize{0, 2},  OvkiSize{2, 0},          OvkiSize{-1, 2},
                                             OvkiSize{2, -3},   OvkiSize{0, 0},  OvkiSize{INT_MIN, INT_MIN}};
    for (int p = -1; p < plan.pointers; ++p)
        for (int s = -1; s < plan.steps; ++s)
            for (int v : badSteps) {
                if (s < 0 && v != 0) continue;
                for (const auto& size : sizes)
                    for (int k = -1; k < plan.badParameters; ++k) {
                        const Faults f{p, s, v, size, k};
                        const Check* first = nullptr;
                        for (const Check& c : plan.checks)
                            if (triggers(c, f)) {
                                first = &c;
                                break;
                            }
                        if (!first) continue;
                        SCOPED_TRACE(::testing::Message()
                                     << "null pointer #" << p << ", step #" << s << " = " << v << ", size "
                                     << (size ? std::to_string(size->width) + "x" + std::to_string(size->height)
                                              : std::string("good"))
                                     << ", bad parameter #" << k);
                        expectRejected(first->status, [&] { return call(f); }, buffers...);
                    }
            }
}

}  // namespace ovktest::moves
