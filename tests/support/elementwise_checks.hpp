// Checks shared by the tests of element-wise families that map each element
// (or each element and a per-channel constant) to one result:
//
//  - FunctionCase: one named test of an exported function or R/IR pair, so
//    that a family is a table of rows run through one parametrized test;
//  - expectArgumentChecks: every null pointer, bad step and bad size, alone
//    and combined, against a family's check order, nothing written;
//  - Expected / ExpectedImage: per-element expectations built from an
//    oracle, with an optional second acceptable value (near-ties of
//    transcendental results) or a tolerance in units in the last place;
//  - checkUnary / checkConstant: out of place and in place against the oracle
//    over many widths and every layout, with the write discipline of the
//    destination (guard band, AC4 alpha);
//  - PackedImage and check...Packed: images in plain, exactly sized buffers
//    whose rows follow each other without padding (the engine may then walk
//    the ROI as one row) or whose steps are not multiples of the element size
//    (one-source functions advance by the step rounded down).
#pragma once

#include <gtest/gtest.h>
#include <ovk/ovkimx.h>

#include <bit>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <optional>
#include <ostream>
#include <random>
#include <set>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

#include "support/guarded_image.hpp"
#include "support/sweep.hpp"

namespace ovktest::elementwise {

// ---------------------------------------------------------------------------
// Named cases.
// ---------------------------------------------------------------------------
using AnyFunction = void (*)();

template <class F>
AnyFunction anyFunction(F* f)
{
    return reinterpret_cast<AnyFunction>(f);
}

struct FunctionCase {
    std::string name;
    std::function<void()> run;
    std::vector<AnyFunction> functions;  // the exported functions the case calls
};

inline void PrintTo(const FunctionCase& c, std::ostream* os) { *os << c.name; }
inline std::string caseName(const ::testing::TestParamInfo<FunctionCase>& info) { return info.param.name; }

// A seed derived from a case name, so that every member gets its own data.
constexpr unsigned seedOf(const char* name)
{
    unsigned h = 2166136261u;
    for (; *name; ++name) h = (h ^ static_cast<unsigned char>(*name)) * 16777619u;
    return h;
}

// Distinct exported functions called by a table of cases.
inline std::size_t distinctFunctions(const std::vector<FunctionCase>& cases)
{
    std::set<AnyFunction> all;
    for (const FunctionCase& c : cases) all.insert(c.functions.begin(), c.functions.end());
    return all.size();
}

// Widths for the slower sweeps: a scalar row, a vector plus a tail, and rows
// that span more than one internal chunk of a repeated constant.
inline const int kShortWidths[] = {1, 9, 33, 129};

inline std::vector<int> sweepWidthsAnd(std::initializer_list<int> more)
{
    std::vector<int> w(std::begin(kSweepWidths), std::end(kSweepWidths));
    w.insert(w.end(), more);
    return w;
}

// ---------------------------------------------------------------------------
// Argument checks.
// ---------------------------------------------------------------------------
enum class CheckOrder {
    StepsBeforeSize,  // pointers, steps, size
    SizeBeforeSteps,  // pointers, size, steps
};

// The arguments a rejection test spoils: a call lambda passes every pointer
// through ptr(index, p), every step through step(index, s) and the size through
// roi(good).
struct Spoil {
    int nullPointer = -1;
    int badStep = -1;
    int stepValue = 1;
    std::optional<OvkiSize> size;

    template <class P>
    P* ptr(int index, P* p) const
    {
        return index == nullPointer ? nullptr : p;
    }
    int step(int index, int s) const { return index == badStep ? stepValue : s; }
    OvkiSize roi(OvkiSize good) const { return size ? *size : good; }
};

// Every single bad argument, and the combinations that tell the check order
// apart. Each call must return its status and leave every buffer untouched.
template <class Call, class... B>
void expectArgumentChecks(CheckOrder order, int pointers, int steps, Call&& call, const B&... buffers)
{
    const int badSteps[] = {0, -1, INT_MIN};
    const OvkiSize badSizes[] = {{0, 2}, {2, 0}, {-1, 2}, {2, -3}, {0, 0}, {INT_MIN, INT_MIN}};
    auto expect = [&](OvkStatus status, const Spoil& s) {
        SCOPED_TRACE(::testing::Message() << "null pointer #" << s.nullPointer << ", step #" << s.badStep << " = "
                                          << s.stepValue << ", size "
                                          << (s.size ? std::to_string(s.size->width) + "x" + std::to_string(s.size->height)
                                                     : std::string("good")));
        expectRejected(status, [&] { return call(s); }, buffers...);
    };
    for (int p = 0; p < pointers; ++p) {
        expect(ovkStatusNullPointer, Spoil{p, -1, 1, std::nullopt});
        expect(ovkStatusNullPointer, Spoil{p, 0, 0, OvkiSize{0, 0}});  // pointers are tested first
    }
    for (int i = 0; i < steps; ++i)
        for (int v : badSteps) expect(ovkStatusStepError, Spoil{-1, i, v, std::nullopt});
    for (OvkiSize size : badSizes) expect(ovkStatusSizeError, Spoil{-1, -1, 1, size});
    const OvkStatus both = order == CheckOrder::StepsBeforeSize ? ovkStatusStepError : ovkStatusSizeError;
    for (int i = 0; i < steps; ++i) {
        expect(both, Spoil{-1, i, 0, OvkiSize{0, 0}});
        expect(both, Spoil{-1, i, -7, OvkiSize{3, -1}});
    }
}

// ---------------------------------------------------------------------------
// Expected elements.
// ---------------------------------------------------------------------------
template <class T>
struct Expected {
    Expected() = default;
    Expected(T v, OvkStatus s = ovkStatusOk) : value(v), status(s) {}

    T value{};
    OvkStatus status = ovkStatusOk;  // the warning this element raises
    std::optional<T> alternative;    // a second acceptable result
    int ulps = 0;                    // floating results: accepted distance in units in the last place
    bool anyNaN = false;             // floating results: a NaN of any bit pattern is accepted
};

// Distance of two finite or infinite floats in units in the last place (the
// number of representable values between them; +0 and -0 coincide).
inline std::int64_t ulpDistance(float a, float b)
{
    auto ordered = [](float f) {
        const std::int64_t i = std::bit_cast<std::int32_t>(f);
        return i >= 0 ? i : -(i & 0x7FFFFFFF);
    };
    const std::int64_t d = ordered(a) - ordered(b);
    return d < 0 ? -d : d;
}

template <class T>
bool accepts(const Expected<T>& e, T got)
{
    if (sameElement(got, e.value)) return true;
    if (e.alternative && sameElement(got, *e.alternative)) return true;
    if constexpr (std::is_floating_point_v<T>) {
        if (std::isnan(e.value)) return e.anyNaN && std::isnan(got);
        if (std::isnan(got)) return false;
        return ulpDistance(got, e.value) <= e.ulps;
    }
    return false;
}

template <class T>
std::string describeBits(T v)
{
    std::string s = describe(v);
    if constexpr (std::is_floating_point_v<T>) {
        char hex[16];
        std::snprintf(hex, sizeof hex, "%08X", std::bit_cast<std::uint32_t>(v));
        s += std::string(" (0x") + hex + ")";
    }
    return s;
}

// The expectations for the processed channels of a ROI, and the status the
// call must return: the first element warning in row order, else success.
template <class T>
class ExpectedImage {
public:
    template <class Oracle>
    ExpectedImage(OvkiSize size, int channels, Oracle&& oracle) : size_(size), channels_(channels)
    {
        for (int y = 0; y < size.height; ++y)
            for (int x = 0; x < size.width; ++x)
                for (int c = 0; c < channels; ++c) {
                    Expected<T> e = oracle(x, y, c);
                    if (status_ == ovkStatusOk) status_ = e.status;
                    elements_.push_back(e);
                }
    }

    OvkStatus status() const { return status_; }

    ::testing::AssertionResult check(const GuardedImage<T>& out) const
    {
        int wrong = 0;
        std::string first;
        std::size_t i = 0;
        for (int y = 0; y < size_.height; ++y)
            for (int x = 0; x < size_.width; ++x)
                for (int c = 0; c < channels_; ++c, ++i) {
                    const T got = out.get(x, y, c);
                    if (accepts(elements_[i], got)) continue;
                    if (wrong++ == 0)
                        first = "at x=" + std::to_string(x) + " y=" + std::to_string(y) + " channel " + std::to_string(c) +
                                ": got " + describeBits(got) + ", expected " + describeBits(elements_[i].value);
                }
        if (wrong == 0) return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << wrong << " wrong element(s), first " << first;
    }

private:
    OvkiSize size_;
    int channels_;
    OvkStatus status_ = ovkStatusOk;
    std::vector<Expected<T>> elements_;
};

// ---------------------------------------------------------------------------
// Test images.
// ---------------------------------------------------------------------------

// Random values over the type's range with the given special values mixed
// in (about one element in four), then a snapshot.
template <class T>
void fillMixed(GuardedImage<T>& img, unsigned seed, const std::vector<T>& specials)
{
    img.fillRandom(seed);
    if (specials.empty()) return;
    std::mt19937 rng(seed ^ 0x9E3779B9u);
    const OvkiSize s = img.size();
    for (int y = 0; y < s.height; ++y)
        for (int x = 0; x < s.width; ++x)
            for (int c = 0; c < img.channels(); ++c)
                if (rng() % 4 == 0) img.set(x, y, c, specials[rng() % specials.size()]);
    img.snapshot();
}

// Gives `to` (its own guard band and step) the ROI contents of `from`.
template <class T>
void copyRoi(const GuardedImage<T>& from, GuardedImage<T>& to, unsigned seed)
{
    to.scramble(seed);
    to.fill([&](int x, int y, int c) { return from.get(x, y, c); });
}

// ---------------------------------------------------------------------------
// One-source functions: pDst = f(pSrc), and in place.
// ---------------------------------------------------------------------------
template <class T>
struct UnaryForms {
    std::function<OvkStatus(const T*, int, T*, int, OvkiSize)> r;  // empty when only the in-place form exists
    std::function<OvkStatus(T*, int, OvkiSize)> ir;
};

// Both forms against oracle(x) -> Expected<T> for a source element x. The
// in-place result must be bit for bit the out-of-place one.
template <class L, class T, class Oracle>
void checkUnary(const UnaryForms<T>& f, Oracle&& oracle, const std::vector<T>& specials, unsigned seed,
                std::span<const int> widths = kSweepWidths)
{
    for (int w : widths) {
        SCOPED_TRACE(::testing::Message() << "width " << w);
        const int h = 2;
        GuardedImage<T> src(w, h, L::stored, 5), dst(w, h, L::stored, 8), io(w, h, L::stored, 2);
        fillMixed(src, seed + unsigned(w), specials);
        const ExpectedImage<T> want(src.size(), L::processed,
                                    [&](int x, int y, int c) { return oracle(src.get(x, y, c)); });
        if (f.r) {
            dst.scramble(seed + 1000u + unsigned(w));
            EXPECT_EQ(f.r(src.roi(), src.step(), dst.roi(), dst.step(), src.size()), want.status());
            EXPECT_TRUE(src.unchanged());
            expectWriteDiscipline<L>(dst);
            EXPECT_TRUE(want.check(dst));
        }
        copyRoi(src, io, seed + 2000u + unsigned(w));
        EXPECT_EQ(f.ir(io.roi(), io.step(), io.size()), want.status());
        expectWriteDiscipline<L>(io);
        if (f.r) {
            EXPECT_TRUE(roiEqual(io, dst, L::processed)) << "in place differs from out of place";
        } else {
            EXPECT_TRUE(want.check(io));
        }
    }
}

template <class L, class T>
void checkUnaryArguments(const UnaryForms<T>& f, CheckOrder order)
{
    GuardedImage<T> src(4, 3, L::stored), dst(4, 3, L::stored, 3);
    src.fillRandom(11);
    dst.scramble(12);
    if (f.r) {
        SCOPED_TRACE("out of place");
        expectArgumentChecks(order, 2, 2, [&](const Spoil& s) {
            return f.r(s.ptr(0, src.roi()), s.step(0, src.step()), s.ptr(1, dst.roi()), s.step(1, dst.step()),
                       s.roi(src.size()));
        }, src, dst);
    }
    SCOPED_TRACE("in place");
    expectArgumentChecks(order, 1, 1, [&](const Spoil& s) {
        return f.ir(s.ptr(0, dst.roi()), s.step(0, dst.step()), s.roi(dst.size()));
    }, src, dst);
}

// ---------------------------------------------------------------------------
// Packed images: plain buffers whose rows lie `row` elements apart, passed
// with a step that may exceed row * sizeof(T) by a few bytes. With no padding
// the rows follow each other (the engine may then walk the ROI as one long
// row); the buffers are exactly as long as the rows, so that a sanitizer
// catches any access past the last one.
// ---------------------------------------------------------------------------
template <class T>
struct PackedImage {
    int width, height, channels, row, step;
    std::vector<T> data, before;

    // pad: elements after each row; extra: bytes added to the step
    PackedImage(int w, int h, int ch, int pad, int extra)
        : width(w), height(h), channels(ch), row(w * ch + pad), step(row * int(sizeof(T)) + extra),
          data(std::size_t(h) * std::size_t(row))
    {
    }
    OvkiSize size() const { return {width, height}; }
    T& at(int x, int y, int c) { return data[std::size_t(y) * row + std::size_t(x) * channels + c]; }
    const T& at(int x, int y, int c) const { return data[std::size_t(y) * row + std::size_t(x) * channels + c]; }

    // Random values (some of them specials) everywhere, then a snapshot.
    void fill(std::mt19937& rng, const std::vector<T>& specials)
    {
        for (T& v : data) v = (!specials.empty() && rng() % 3 == 0) ? specials[rng() % specials.size()] : randomValue<T>(rng);
        before = data;
    }
    void copyFrom(const PackedImage& other)
    {
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                for (int c = 0; c < channels; ++c) at(x, y, c) = other.at(x, y, c);
        before = data;
    }
};

// The processed channels of the ROI against expect(x, y, c); every other
// element must keep its value.
template <class T, class Expect>
::testing::AssertionResult packedMatches(const PackedImage<T>& img, int processed, Expect&& expect)
{
    int wrong = 0;
    std::string first;
    for (std::size_t k = 0; k < img.data.size(); ++k) {
        const int y = int(k / img.row), i = int(k % img.row);
        const bool inRoi = i < img.width * img.channels && i % img.channels < processed;
        const T got = img.data[k];
        const Expected<T> e = inRoi ? expect(i / img.channels, y, i % img.channels) : Expected<T>(img.before[k]);
        if (accepts(e, got)) continue;
        if (wrong++ == 0)
            first = "element " + std::to_string(i) + " of row " + std::to_string(y) + (inRoi ? "" : " (outside the ROI)") +
                    ": got " + describeBits(got) + ", expected " + describeBits(e.value);
    }
    if (wrong == 0) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << wrong << " wrong element(s), first " << first;
}

// The first element warning in row order.
template <class T, class Expect>
OvkStatus packedStatus(const PackedImage<T>& img, int processed, Expect&& expect)
{
    for (int y = 0; y < img.height; ++y)
        for (int x = 0; x < img.width; ++x)
            for (int c = 0; c < processed; ++c)
                if (const OvkStatus s = expect(x, y, c).status; s != ovkStatusOk) return s;
    return ovkStatusOk;
}

// Geometries of packed images: rows without padding (the whole ROI one block
// of memory), rows that lie apart with steps that are not multiples of the
// element size (the one-source functions round them down), and both at once.
struct Packing {
    const char* what;
    int srcPad, dstPad;      // elements after each row
    bool unroundedSteps;     // steps a few bytes beyond the rows (for functions that round them down)
};
inline const Packing kContiguous[] = {{"contiguous rows", 0, 0, false}};
inline const Packing kRoundedSteps[] = {
    {"contiguous rows", 0, 0, false},
    {"padded rows, steps not multiples of the element size", 3, 6, true},
    {"contiguous rows, steps not multiples of the element size", 0, 0, true},
};
inline const int kPackedWidths[] = {1, 3, 8, 33};

// One-source functions on packed images, out of place and in place.
template <class L, class T, class Oracle>
void checkUnaryPacked(const UnaryForms<T>& f, Oracle&& oracle, const std::vector<T>& specials, unsigned seed,
                      std::span<const Packing> packings)
{
    constexpr int bytes = sizeof(T);
    for (const Packing& p : packings)
        for (int w : kPackedWidths) {
            SCOPED_TRACE(::testing::Message() << p.what << ", width " << w);
            std::mt19937 rng(seed + unsigned(w));
            const int h = 3;
            PackedImage<T> src(w, h, L::stored, p.srcPad, p.unroundedSteps ? bytes - 1 : 0);
            PackedImage<T> dst(w, h, L::stored, p.dstPad, p.unroundedSteps && bytes > 1 ? 1 : 0);
            PackedImage<T> io(w, h, L::stored, p.srcPad, src.step - src.row * bytes);
            src.fill(rng, specials);
            dst.fill(rng, {});
            auto expect = [&](int x, int y, int c) { return oracle(src.at(x, y, c)); };
            const OvkStatus status = packedStatus(src, L::processed, expect);
            if (f.r) {
                EXPECT_EQ(f.r(src.data.data(), src.step, dst.data.data(), dst.step, src.size()), status);
                EXPECT_TRUE(packedMatches(src, 0, expect)) << "source written";
                EXPECT_TRUE(packedMatches(dst, L::processed, expect));
            }
            io.fill(rng, {});
            io.copyFrom(src);
            EXPECT_EQ(f.ir(io.data.data(), io.step, io.size()), status);
            EXPECT_TRUE(packedMatches(io, L::processed, expect)) << "in place";
        }
}

// ---------------------------------------------------------------------------
// An image and per-channel values (constants or shift counts): pDst =
// f(pSrc, value of the channel), and in place with the values first.
// ---------------------------------------------------------------------------
template <class T, class V>
struct ConstantForms {
    // values: one per processed channel (the C1 forms take the scalar values[0])
    std::function<OvkStatus(const T*, int, const V*, T*, int, OvkiSize)> r;
    std::function<OvkStatus(const V*, T*, int, OvkiSize)> ir;
};

// Wraps an exported pair whose value is a scalar for C1 and an array otherwise.
template <class L, class T, class V, class R, class IR>
ConstantForms<T, V> constantForms(R* r, IR* ir)
{
    ConstantForms<T, V> f;
    f.r = [r](const T* s, int ss, const V* v, T* d, int ds, OvkiSize roi) {
        if constexpr (L::stored == 1)
            return r(s, ss, v[0], d, ds, roi);
        else
            return r(s, ss, v, d, ds, roi);
    };
    f.ir = [ir](const V* v, T* p, int step, OvkiSize roi) {
        if constexpr (L::stored == 1)
            return ir(v[0], p, step, roi);
        else
            return ir(v, p, step, roi);
    };
    return f;
}

// Both forms against oracle(x, value) -> Expected<T> for every set of values
// (each holding one value per processed channel).
template <class L, class T, class V, class Oracle>
void checkConstant(const ConstantForms<T, V>& f, const std::vector<V>& values, Oracle&& oracle,
                   const std::vector<T>& specials, unsigned seed, std::span<const int> widths)
{
    // Exactly as many values as the function may read.
    const std::vector<V> v(values.begin(), values.begin() + L::processed);
    for (int w : widths) {
        SCOPED_TRACE(::testing::Message() << "width " << w);
        const int h = 2;
        GuardedImage<T> src(w, h, L::stored, 5), dst(w, h, L::stored, 8), io(w, h, L::stored, 2);
        fillMixed(src, seed + unsigned(w), specials);
        dst.scramble(seed + 1000u + unsigned(w));
        const ExpectedImage<T> want(src.size(), L::processed,
                                    [&](int x, int y, int c) { return oracle(src.get(x, y, c), v[c]); });
        EXPECT_EQ(f.r(src.roi(), src.step(), v.data(), dst.roi(), dst.step(), src.size()), want.status());
        EXPECT_TRUE(src.unchanged());
        expectWriteDiscipline<L>(dst);
        EXPECT_TRUE(want.check(dst));

        copyRoi(src, io, seed + 2000u + unsigned(w));
        EXPECT_EQ(f.ir(v.data(), io.roi(), io.step(), io.size()), want.status());
        expectWriteDiscipline<L>(io);
        EXPECT_TRUE(roiEqual(io, dst, L::processed)) << "in place differs from out of place";
    }
}

// Constant forms on images whose rows follow each other without padding.
template <class L, class T, class V, class Oracle>
void checkConstantContiguous(const ConstantForms<T, V>& f, const std::vector<V>& values, Oracle&& oracle,
                             const std::vector<T>& specials, unsigned seed)
{
    const std::vector<V> v(values.begin(), values.begin() + L::processed);
    for (int w : kPackedWidths) {
        SCOPED_TRACE(::testing::Message() << "contiguous rows, width " << w);
        std::mt19937 rng(seed + unsigned(w));
        const int h = 3;
        PackedImage<T> src(w, h, L::stored, 0, 0), dst(w, h, L::stored, 0, 0), io(w, h, L::stored, 0, 0);
        src.fill(rng, specials);
        dst.fill(rng, {});
        auto expect = [&](int x, int y, int c) { return oracle(src.at(x, y, c), v[c]); };
        const OvkStatus status = packedStatus(src, L::processed, expect);
        EXPECT_EQ(f.r(src.data.data(), src.step, v.data(), dst.data.data(), dst.step, src.size()), status);
        EXPECT_TRUE(packedMatches(src, 0, expect)) << "source written";
        EXPECT_TRUE(packedMatches(dst, L::processed, expect));
        io.copyFrom(src);
        EXPECT_EQ(f.ir(v.data(), io.data.data(), io.step, io.size()), status);
        EXPECT_TRUE(packedMatches(io, L::processed, expect)) << "in place";
    }
}

template <class L, class T, class V>
void checkConstantArguments(const ConstantForms<T, V>& f, CheckOrder order)
{
    GuardedImage<T> src(4, 3, L::stored), dst(4, 3, L::stored, 3);
    src.fillRandom(21);
    dst.scramble(22);
    const std::vector<V> v(L::processed, V(1));
    // Pointers: 0 the source, 1 the destination, 2 the value array (not for C1).
    const int pointers = L::stored == 1 ? 2 : 3;
    {
        SCOPED_TRACE("out of place");
        expectArgumentChecks(order, pointers, 2, [&](const Spoil& s) {
            return f.r(s.ptr(0, src.roi()), s.step(0, src.step()), s.ptr(2, v.data()), s.ptr(1, dst.roi()),
                       s.step(1, dst.step()), s.roi(src.size()));
        }, src, dst);
    }
    SCOPED_TRACE("in place");
    expectArgumentChecks(order, pointers - 1, 1, [&](const Spoil& s) {
        return f.ir(s.ptr(1, v.data()), s.ptr(0, dst.roi()), s.step(0, dst.step()), s.roi(dst.size()));
    }, src, dst);
}

}  // namespace ovktest::elementwise
