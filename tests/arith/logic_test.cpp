// Bitwise And, Or, Xor (of two images and with per-channel constants) and Not:
// every member, out of place and in place, against an oracle that builds each
// result bit from a truth table, over widths that cover every vector tail.
#include <gtest/gtest.h>
#include <ovk/ovkimx.h>

#include <random>
#include <type_traits>
#include <vector>

#include "support/elementwise_checks.hpp"

namespace {

using namespace ovktest;
using namespace ovktest::elementwise;

// Result bit for input bits (a, b) is out[2 * a + b].
struct Truth {
    unsigned char out[4];
};
constexpr Truth kAnd{{0, 0, 0, 1}};
constexpr Truth kOr{{0, 1, 1, 1}};
constexpr Truth kXor{{0, 1, 1, 0}};

template <class T>
T bitwise(const Truth& t, T a, T b)
{
    using U = std::make_unsigned_t<T>;
    U r = 0;
    for (unsigned i = 0; i < 8 * sizeof(T); ++i) {
        const unsigned ba = (U(a) >> i) & 1u, bb = (U(b) >> i) & 1u;
        if (t.out[2 * ba + bb]) r = U(r | (U(1) << i));
    }
    return T(r);
}

template <class T>
T invertedBits(T a)
{
    using U = std::make_unsigned_t<T>;
    U r = 0;
    for (unsigned i = 0; i < 8 * sizeof(T); ++i)
        if (((U(a) >> i) & 1u) == 0) r = U(r | (U(1) << i));
    return T(r);
}

template <class T>
std::vector<T> bitSpecials()
{
    return {T(0), T(~T(0)), std::numeric_limits<T>::min(), std::numeric_limits<T>::max(), T(1)};
}

template <class T>
using BinR = OvkStatus (*)(const T*, int, const T*, int, T*, int, OvkiSize);
template <class T>
using BinIR = OvkStatus (*)(const T*, int, T*, int, OvkiSize);

// Two images: out of place, and in place where the second source is the
// destination. Steps are checked before the size.
template <class T, class L>
void checkBinary(BinR<T> r, BinIR<T> ir, const Truth& truth, unsigned seed)
{
    forEachWidth([&](int w) {
        const int h = 2;
        GuardedImage<T> a(w, h, L::stored, 5), b(w, h, L::stored, 9), d(w, h, L::stored, 2), io(w, h, L::stored, 12);
        fillMixed(a, seed + unsigned(w), bitSpecials<T>());
        fillMixed(b, seed + 500u + unsigned(w), bitSpecials<T>());
        d.scramble(seed + 1000u + unsigned(w));
        const ExpectedImage<T> want(a.size(), L::processed, [&](int x, int y, int c) {
            return Expected<T>(bitwise(truth, a.get(x, y, c), b.get(x, y, c)));
        });

        EXPECT_EQ(r(a.roi(), a.step(), b.roi(), b.step(), d.roi(), d.step(), a.size()), ovkStatusOk);
        EXPECT_TRUE(a.unchanged());
        EXPECT_TRUE(b.unchanged());
        expectWriteDiscipline<L>(d);
        EXPECT_TRUE(want.check(d));

        copyRoi(b, io, seed + 2000u + unsigned(w));
        EXPECT_EQ(ir(a.roi(), a.step(), io.roi(), io.step(), a.size()), ovkStatusOk);
        EXPECT_TRUE(a.unchanged());
        expectWriteDiscipline<L>(io);
        EXPECT_TRUE(want.check(io));
    });

    // Rows without padding: the ROI is one block of memory.
    for (int w : kPackedWidths) {
        SCOPED_TRACE(::testing::Message() << "contiguous rows, width " << w);
        std::mt19937 rng(seed + unsigned(w));
        PackedImage<T> pa(w, 3, L::stored, 0, 0), pb(w, 3, L::stored, 0, 0), pd(w, 3, L::stored, 0, 0);
        pa.fill(rng, bitSpecials<T>());
        pb.fill(rng, bitSpecials<T>());
        pd.fill(rng, {});
        const PackedImage<T> second = pb;  // pb becomes the in-place destination
        auto expect = [&](int x, int y, int c) { return Expected<T>(bitwise(truth, pa.at(x, y, c), second.at(x, y, c))); };
        EXPECT_EQ(r(pa.data.data(), pa.step, pb.data.data(), pb.step, pd.data.data(), pd.step, pa.size()), ovkStatusOk);
        EXPECT_TRUE(packedMatches(pd, L::processed, expect));
        EXPECT_EQ(ir(pa.data.data(), pa.step, pb.data.data(), pb.step, pa.size()), ovkStatusOk);
        EXPECT_TRUE(packedMatches(pb, L::processed, expect)) << "in place";
        EXPECT_TRUE(packedMatches(pa, 0, expect)) << "source written";
    }

    GuardedImage<T> a(4, 3, L::stored), b(4, 3, L::stored, 2), d(4, 3, L::stored, 3);
    a.fillRandom(1);
    b.fillRandom(2);
    d.scramble(3);
    {
        SCOPED_TRACE("out of place");
        expectArgumentChecks(CheckOrder::StepsBeforeSize, 3, 3, [&](const Spoil& s) {
            return r(s.ptr(0, a.roi()), s.step(0, a.step()), s.ptr(1, b.roi()), s.step(1, b.step()), s.ptr(2, d.roi()),
                     s.step(2, d.step()), s.roi(a.size()));
        }, a, b, d);
    }
    SCOPED_TRACE("in place");
    expectArgumentChecks(CheckOrder::StepsBeforeSize, 2, 2, [&](const Spoil& s) {
        return ir(s.ptr(0, a.roi()), s.step(0, a.step()), s.ptr(1, d.roi()), s.step(1, d.step()), s.roi(a.size()));
    }, a, d);
}

// An image and one constant per channel. Value sets: distinct random values,
// three (or four) equal ones, and all-zero / all-one bit patterns.
template <class T, class L, class R, class IR>
void checkBitsConstant(R* r, IR* ir, const Truth& truth, unsigned seed)
{
    const auto f = constantForms<L, T, T>(r, ir);
    std::mt19937 rng(seed);
    std::vector<T> distinct(4), equal(4, randomValue<T>(rng)), patterns = {T(0), T(~T(0)), T(0x5A), T(~T(0))};
    for (T& v : distinct) v = randomValue<T>(rng);
    auto oracle = [&](T x, T v) { return Expected<T>(bitwise(truth, x, v)); };
    const std::vector<int> widths = sweepWidthsAnd({129});
    {
        SCOPED_TRACE("distinct values");
        checkConstant<L>(f, distinct, oracle, bitSpecials<T>(), seed, widths);
    }
    {
        SCOPED_TRACE("equal values");
        checkConstant<L>(f, equal, oracle, bitSpecials<T>(), seed + 1, kShortWidths);
    }
    {
        SCOPED_TRACE("bit patterns");
        checkConstant<L>(f, patterns, oracle, bitSpecials<T>(), seed + 2, kShortWidths);
    }
    checkConstantContiguous<L>(f, distinct, oracle, bitSpecials<T>(), seed + 3);
    checkConstantArguments<L>(f, CheckOrder::StepsBeforeSize);
}

template <class L>
void checkNot(OvkStatus (*r)(const Ovk8u*, int, Ovk8u*, int, OvkiSize), OvkStatus (*ir)(Ovk8u*, int, OvkiSize))
{
    const UnaryForms<Ovk8u> f{r, ir};
    auto oracle = [](Ovk8u x) { return Expected<Ovk8u>(invertedBits(x)); };
    checkUnary<L>(f, oracle, bitSpecials<Ovk8u>(), 77);
    checkUnaryPacked<L>(f, oracle, bitSpecials<Ovk8u>(), 78, kContiguous);
    checkUnaryArguments<L>(f, CheckOrder::StepsBeforeSize);
}

// One row per (operation, type, layout); the R and IR forms are checked together.
#define OVK_EACH_LAYOUT(M, ...) M(__VA_ARGS__, C1), M(__VA_ARGS__, C3), M(__VA_ARGS__, C4), M(__VA_ARGS__, AC4)
#define OVK_LOGIC_TYPES(M, ...) \
    OVK_EACH_LAYOUT(M, __VA_ARGS__, 8u), OVK_EACH_LAYOUT(M, __VA_ARGS__, 16u), OVK_EACH_LAYOUT(M, __VA_ARGS__, 32s)

#define OVK_BINARY_CASE(op, truth, t, l)                                                                  \
    FunctionCase{#op "_" #t "_" #l,                                                                       \
                 [] { checkBinary<Ovk##t, ovk::l>(ovki##op##_##t##_##l##R, ovki##op##_##t##_##l##IR, truth, \
                                                  seedOf(#op #t #l)); },                                     \
                 {anyFunction(ovki##op##_##t##_##l##R), anyFunction(ovki##op##_##t##_##l##IR)}}

#define OVK_CONSTANT_CASE(op, truth, t, l)                                                                  \
    FunctionCase{#op "_" #t "_" #l,                                                                         \
                 [] {                                                                                       \
                     checkBitsConstant<Ovk##t, ovk::l>(ovki##op##_##t##_##l##R, ovki##op##_##t##_##l##IR, truth, \
                                                       seedOf(#op #t #l));                                     \
                 },                                                                                         \
                 {anyFunction(ovki##op##_##t##_##l##R), anyFunction(ovki##op##_##t##_##l##IR)}}

#define OVK_NOT_CASE(l)                                                                    \
    FunctionCase{"Not_8u_" #l, [] { checkNot<ovk::l>(ovkiNot_8u_##l##R, ovkiNot_8u_##l##IR); }, \
                 {anyFunction(ovkiNot_8u_##l##R), anyFunction(ovkiNot_8u_##l##IR)}}

std::vector<FunctionCase> logicCases()
{
    return {
        OVK_LOGIC_TYPES(OVK_BINARY_CASE, And, kAnd),
        OVK_LOGIC_TYPES(OVK_BINARY_CASE, Or, kOr),
        OVK_LOGIC_TYPES(OVK_BINARY_CASE, Xor, kXor),
        OVK_LOGIC_TYPES(OVK_CONSTANT_CASE, AndC, kAnd),
        OVK_LOGIC_TYPES(OVK_CONSTANT_CASE, OrC, kOr),
        OVK_LOGIC_TYPES(OVK_CONSTANT_CASE, XorC, kXor),
        OVK_NOT_CASE(C1), OVK_NOT_CASE(C3), OVK_NOT_CASE(C4), OVK_NOT_CASE(AC4),
    };
}

class LogicMember : public ::testing::TestWithParam<FunctionCase> {};

TEST_P(LogicMember, MatchesTruthTable) { GetParam().run(); }

INSTANTIATE_TEST_SUITE_P(Logic, LogicMember, ::testing::ValuesIn(logicCases()), caseName);

TEST(LogicCoverage, EveryMemberIsCalled)
{
    // And, Or, Xor and their constant forms: 3 types x 4 layouts x (R, IR); Not: 4 layouts x (R, IR).
    EXPECT_EQ(distinctFunctions(logicCases()), 6u * 24u + 8u);
}

}  // namespace
