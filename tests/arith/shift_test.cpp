// Shifts by per-channel counts: every LShiftC and RShiftC member, out of place
// and in place. The oracle shifts by repeated doubling (modulo the element
// width) or repeated floor halving, so counts of any size, including the
// huge ones a negative count becomes, follow from the definition.
#include <gtest/gtest.h>
#include <ovk/ovkimx.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "support/elementwise_checks.hpp"

namespace {

using namespace ovktest;
using namespace ovktest::elementwise;

template <class T>
constexpr Ovk32u kBits = 8 * sizeof(T);

// x * 2^count modulo 2^bits. After `bits` doublings every bit is gone, so
// longer counts need no more steps.
template <class T>
T shiftedLeft(T x, Ovk32u count)
{
    const std::uint64_t modulus = std::uint64_t(1) << kBits<T>;
    std::uint64_t m = std::uint64_t(std::make_unsigned_t<T>(x));
    for (Ovk32u i = 0; i < std::min(count, 2 * kBits<T>); ++i) m = (m * 2) % modulus;
    return T(std::make_unsigned_t<T>(m));
}

// floor(x / 2^count): repeated halving rounded toward minus infinity. After
// `bits` halvings the value is 0 or -1 and stays there.
template <class T>
T shiftedRight(T x, Ovk32u count)
{
    std::int64_t v = x;
    for (Ovk32u i = 0; i < std::min(count, 2 * kBits<T>); ++i) {
        const std::int64_t odd = ((v % 2) + 2) % 2;
        v = (v - odd) / 2;
    }
    return T(v);
}

template <class T>
std::vector<T> shiftSpecials()
{
    return {std::numeric_limits<T>::min(), std::numeric_limits<T>::max(), T(0), T(1), T(~T(0)), T(T(1) << (kBits<T> - 1))};
}

// Count sets, one count per channel (C1 uses the first, C3/AC4 three, C4 four).
template <class T>
std::vector<std::vector<Ovk32u>> uniformCounts()
{
    const Ovk32u b = kBits<T>;
    const Ovk32u counts[] = {0,  1,  3,    b - 1,       b,           b + 1,      31,        32,
                             33, 63, 64, 1000, 0x7FFFFFFFu, 0x80000000u, Ovk32u(-5), Ovk32u(-1)};
    std::vector<std::vector<Ovk32u>> sets;
    for (Ovk32u c : counts) sets.push_back({c, c, c, c});
    return sets;
}

template <class T>
std::vector<std::vector<Ovk32u>> mixedCounts()
{
    const Ovk32u b = kBits<T>;
    return {
        {0, b, 1, b - 1},
        {b + 1, Ovk32u(-1), 2, 0x80000000u},
        {3, 3, 3, 7},           // C3 and AC4 see three equal counts, C4 a different fourth
        {5, 5, Ovk32u(-3), 5},  // only the third differs
        {b - 1, 0, 64, 1},
    };
}

template <class T, class L, class R, class IR>
void checkShift(R* r, IR* ir, T (*shift)(T, Ovk32u), unsigned seed)
{
    const auto f = constantForms<L, T, Ovk32u>(r, ir);
    auto oracle = [&](T x, Ovk32u count) { return Expected<T>(shift(x, count)); };
    const std::vector<int> widths = sweepWidthsAnd({129});
    {
        // The common single-count case, and counts that differ per channel,
        // over every tail length.
        SCOPED_TRACE("count 1 everywhere");
        checkConstant<L>(f, std::vector<Ovk32u>{1, 1, 1, 1}, oracle, shiftSpecials<T>(), seed, widths);
    }
    {
        SCOPED_TRACE("counts 0, width, 1, width - 1");
        checkConstant<L>(f, mixedCounts<T>()[0], oracle, shiftSpecials<T>(), seed + 1, widths);
    }
    for (const auto& counts : uniformCounts<T>()) {
        SCOPED_TRACE("count " + std::to_string(counts[0]) + " everywhere");
        checkConstant<L>(f, counts, oracle, shiftSpecials<T>(), seed + counts[0], kShortWidths);
    }
    for (const auto& counts : mixedCounts<T>()) {
        SCOPED_TRACE("counts " + std::to_string(counts[0]) + ", " + std::to_string(counts[1]) + ", " +
                     std::to_string(counts[2]) + ", " + std::to_string(counts[3]));
        checkConstant<L>(f, counts, oracle, shiftSpecials<T>(), seed + 7 * counts[1], kShortWidths);
    }
    for (const auto& counts : {std::vector<Ovk32u>{1, 1, 1, 1}, mixedCounts<T>()[0], uniformCounts<T>()[4]}) {
        SCOPED_TRACE("counts from " + std::to_string(counts[0]));
        checkConstantContiguous<L>(f, counts, oracle, shiftSpecials<T>(), seed + 5);
    }
    checkConstantArguments<L>(f, CheckOrder::StepsBeforeSize);
}

#define OVK_EACH_LAYOUT(M, ...) M(__VA_ARGS__, C1), M(__VA_ARGS__, C3), M(__VA_ARGS__, C4), M(__VA_ARGS__, AC4)

#define OVK_SHIFT_CASE(op, oracle, t, l)                                                                    \
    FunctionCase{#op "_" #t "_" #l,                                                                         \
                 [] {                                                                                       \
                     checkShift<Ovk##t, ovk::l>(                                 \
                         ovki##op##_##t##_##l##R, ovki##op##_##t##_##l##IR, &oracle<Ovk##t>, seedOf(#op #t #l)); \
                 },                                                                                         \
                 {anyFunction(ovki##op##_##t##_##l##R), anyFunction(ovki##op##_##t##_##l##IR)}}

std::vector<FunctionCase> shiftCases()
{
    return {
        OVK_EACH_LAYOUT(OVK_SHIFT_CASE, LShiftC, shiftedLeft, 8u),
        OVK_EACH_LAYOUT(OVK_SHIFT_CASE, LShiftC, shiftedLeft, 16u),
        OVK_EACH_LAYOUT(OVK_SHIFT_CASE, LShiftC, shiftedLeft, 32s),
        OVK_EACH_LAYOUT(OVK_SHIFT_CASE, RShiftC, shiftedRight, 8u),
        OVK_EACH_LAYOUT(OVK_SHIFT_CASE, RShiftC, shiftedRight, 8s),
        OVK_EACH_LAYOUT(OVK_SHIFT_CASE, RShiftC, shiftedRight, 16u),
        OVK_EACH_LAYOUT(OVK_SHIFT_CASE, RShiftC, shiftedRight, 16s),
        OVK_EACH_LAYOUT(OVK_SHIFT_CASE, RShiftC, shiftedRight, 32s),
    };
}

class ShiftMember : public ::testing::TestWithParam<FunctionCase> {};

TEST_P(ShiftMember, MatchesRepeatedDoublingOrHalving) { GetParam().run(); }

INSTANTIATE_TEST_SUITE_P(Shift, ShiftMember, ::testing::ValuesIn(shiftCases()), caseName);

TEST(ShiftCoverage, EveryMemberIsCalled)
{
    // LShiftC: 3 types, RShiftC: 5 types; 4 layouts; R and IR.
    EXPECT_EQ(distinctFunctions(shiftCases()), (3u + 5u) * 4u * 2u);
}

}  // namespace
