// Div_Round in its three rounding modes, and the ties of integer division:
// quotients that land exactly halfway between two integers, positive and
// negative, where the modes differ (toward zero, half to even, half away from
// zero).
#include <gtest/gtest.h>
#include <ovk/ovkimx.h>

#include <climits>
#include <cstdlib>

#include "support/arith_harness.hpp"

namespace {

using namespace ovktest::scaled;
namespace ref = ovktest::ref;

constexpr OvkRoundMode kModes[] = {ovkRndZero, ovkRndNear, ovkRndFinancial};
const OvkRoundMode kBadModes[] = {OvkRoundMode(3), OvkRoundMode(-1), OvkRoundMode(100), OvkRoundMode(INT_MIN)};

// Divisors of a few powers of two and small dividends of both parities: a
// dense grid of exact halves and quarters (unsigned types take magnitudes).
template <class T>
T tieDivisor(int x, int y, int c)
{
    static const int divisors[] = {2, 4, -2, 8, -4, 1, -8};
    const int v = divisors[(x + 2 * y + 3 * c) % 7];
    return static_cast<T>(std::is_signed_v<T> ? v : std::abs(v));
}
template <class T>
T tieDividend(int x, int y, int c)
{
    const int v = (x * 7 + y * 13 + c * 5) % 81 - 40;
    return static_cast<T>(std::is_signed_v<T> ? v : v + 40);
}

template <class T, class R, class I>
MemberCase divRoundCase(std::string name, Lay lay, R r, I ir)
{
    const std::vector<int>& scales = std::is_same_v<T, Ovk8u> ? kDiv8uScales : kDivScales;
    const RuleFn<T, OvkRoundMode, int> rule = &applyRule<ref::DivRoundRule, T, OvkRoundMode, int>;
    return {name,
            [=] {
                for (OvkRoundMode mode : kModes)
                    for (std::size_t k = 0; k < scales.size(); ++k) {
                        SCOPED_TRACE(::testing::Message() << "mode " << int(mode) << ", scaleFactor " << scales[k]);
                        const OvkiSize s = runSize(name, k + 3 * int(mode));
                        binaryValues<T>(r, ir, rule, lay, StepCheck::AfterSize, s.width, s.height,
                                        seedOf(name, k + 100 * int(mode)), {}, {}, mode, scales[k]);
                    }
                for (OvkRoundMode mode : kModes)
                    for (int sf : {0, 1, -1, 3}) {
                        SCOPED_TRACE(::testing::Message() << "ties, mode " << int(mode) << ", scaleFactor " << sf);
                        binaryValues<T>(r, ir, rule, lay, StepCheck::AfterSize, 33, 3, seedOf(name, 7), tieDivisor<T>,
                                        tieDividend<T>, mode, sf);
                    }
            },
            [=] {
                for (OvkRoundMode mode : kModes)
                    for (int sf : {0, 40}) {
                        SCOPED_TRACE(::testing::Message() << "mode " << int(mode) << ", scaleFactor " << sf);
                        binaryChecks<T, R, I, OvkRoundMode, int>(
                            r, ir, lay, StepCheck::AfterSize, int(std::size(kBadModes)), ovkStatusRoundModeError,
                            [mode, sf](int bad) { return std::tuple{bad < 0 ? mode : kBadModes[bad], sf}; });
                    }
            }};
}

// Div rounds exactly as Div_Round in mode ovkRndNear: its ties.
template <class T, class R, class I>
MemberCase divTiesCase(std::string name, Lay lay, R r, I ir)
{
    return {name,
            [=] {
                for (int sf : {0, 1, -1, 3}) {
                    SCOPED_TRACE(::testing::Message() << "scaleFactor " << sf);
                    binaryValues<T>(r, ir, &applyRule<ref::DivRule, T, int>, lay, StepCheck::AfterSize, 33, 2,
                                    seedOf(name, 5), tieDivisor<T>, tieDividend<T>, sf);
                }
            },
            [] {}};
}

#define ROUND_ROW(Op, t, L, unused)                                                                   \
    divRoundCase<Ovk##t>(#Op "_" #t "_" #L, layOf<ovk::L>(), ovki##Op##_##t##_##L##RSfs, \
                         ovki##Op##_##t##_##L##IRSfs)
#define TIES_ROW(Op, t, L, unused)                                                                   \
    divTiesCase<Ovk##t>(#Op "_" #t "_" #L, layOf<ovk::L>(), ovki##Op##_##t##_##L##RSfs, \
                        ovki##Op##_##t##_##L##IRSfs)

std::vector<MemberCase> divRoundMembers()
{
    return {OVKT_LAYOUTS4(ROUND_ROW, Div_Round, 8u, 0), OVKT_LAYOUTS4(ROUND_ROW, Div_Round, 16u, 0),
            OVKT_LAYOUTS4(ROUND_ROW, Div_Round, 16s, 0)};
}

std::vector<MemberCase> divTieMembers()
{
    return {OVKT_LAYOUTS4(TIES_ROW, Div, 8u, 0), OVKT_LAYOUTS4(TIES_ROW, Div, 16u, 0),
            OVKT_LAYOUTS4(TIES_ROW, Div, 16s, 0)};
}

class DivRoundMembers : public ::testing::TestWithParam<MemberCase> {};

TEST_P(DivRoundMembers, FollowTheRule) { GetParam().values(); }
TEST_P(DivRoundMembers, CheckArgumentsInOrder) { GetParam().checks(); }

INSTANTIATE_TEST_SUITE_P(Arith, DivRoundMembers, ::testing::ValuesIn(divRoundMembers()), caseName);

class DivTies : public ::testing::TestWithParam<MemberCase> {};

TEST_P(DivTies, RoundHalfToEven) { GetParam().values(); }

INSTANTIATE_TEST_SUITE_P(Arith, DivTies, ::testing::ValuesIn(divTieMembers()), caseName);

// The three modes differ on the halves; a few spelled out for 16s, so that the
// rule's reading of negative quotients is pinned down independently of the
// reference code.
TEST(DivRoundModes, NegativeHalves16s)
{
    const Ovk16s divisor[4] = {2, 2, 2, -2}, dividend[4] = {-5, -3, 5, 7};
    struct {
        OvkRoundMode mode;
        Ovk16s want[4];
    } const cases[] = {
        {ovkRndZero, {-2, -1, 2, -3}},
        {ovkRndNear, {-2, -2, 2, -4}},
        {ovkRndFinancial, {-3, -2, 3, -4}},
    };
    for (const auto& k : cases) {
        Ovk16s d[4] = {};
        ASSERT_EQ(ovkiDiv_Round_16s_C1RSfs(divisor, 8, dividend, 8, d, 8, {4, 1}, k.mode, 0), ovkStatusOk);
        for (int i = 0; i < 4; ++i) EXPECT_EQ(d[i], k.want[i]) << "mode " << int(k.mode) << ", element " << i;
    }
}

}  // namespace
