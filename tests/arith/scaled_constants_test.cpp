// AddC, SubC, MulC, DivC and MulCScale: every member, out of place and in
// place (constant first), against the reference rules, with its argument
// checks. SubC is source minus constant and DivC source divided by constant:
// the rules take the constant as their first operand.
#include <gtest/gtest.h>
#include <ovk/ovkimx.h>

#include "support/arith_harness.hpp"

namespace {

using namespace ovktest::scaled;
namespace ref = ovktest::ref;

#define SCALED_ROW(Op, t, L, Rule, steps, scales, zeroIsBad)                                                   \
    scaledConstantCase<Ovk##t>(#Op "_" #t "_" #L, layOf<ovk::L>(), ovki##Op##_##t##_##L##RSfs,                 \
                               ovki##Op##_##t##_##L##IRSfs, &applyRule<ref::Rule, Ovk##t, int>, steps, scales, \
                               zeroIsBad)
#define FLOAT_ROW(Op, t, L, Rule, steps, zeroIsBad)                                                         \
    floatConstantCase<Ovk##t>(#Op "_" #t "_" #L, layOf<ovk::L>(), ovki##Op##_##t##_##L##R,                  \
                              ovki##Op##_##t##_##L##IR, &applyRule<ref::Rule, Ovk##t>, steps, zeroIsBad)

#define ADD_SUB_MUL_C(Op, Rule)                                                                \
    OVKT_LAYOUTS4(SCALED_ROW, Op, 8u, Rule, StepCheck::None, kIntegerScales, false),           \
    OVKT_LAYOUTS4(SCALED_ROW, Op, 16u, Rule, StepCheck::None, kIntegerScales, false),          \
    OVKT_LAYOUTS4(SCALED_ROW, Op, 16s, Rule, StepCheck::None, kIntegerScales, false),          \
    OVKT_LAYOUTS3(SCALED_ROW, Op, 16sc, Rule, StepCheck::AfterSize, kComplexScales, false),    \
    OVKT_LAYOUTS3(SCALED_ROW, Op, 32sc, Rule, StepCheck::AfterSize, kComplexScales, false),    \
    OVKT_LAYOUTS4(FLOAT_ROW, Op, 32f, Rule, StepCheck::None, false),                           \
    OVKT_LAYOUTS3(FLOAT_ROW, Op, 32fc, Rule, StepCheck::AfterSize, false)

std::vector<MemberCase> constantMembers()
{
    return {
        ADD_SUB_MUL_C(AddC, AddRule),
        ADD_SUB_MUL_C(SubC, SubRule),
        ADD_SUB_MUL_C(MulC, MulRule),
        OVKT_LAYOUTS4(SCALED_ROW, DivC, 8u, DivCRule, StepCheck::AfterSize, kDiv8uScales, true),
        OVKT_LAYOUTS4(SCALED_ROW, DivC, 16u, DivCRule, StepCheck::AfterSize, kDivScales, true),
        OVKT_LAYOUTS4(SCALED_ROW, DivC, 16s, DivCRule, StepCheck::AfterSize, kDivScales, true),
        OVKT_LAYOUTS3(SCALED_ROW, DivC, 16sc, DivCRule, StepCheck::AfterSize, kComplexDivScales, true),
        OVKT_LAYOUTS3(SCALED_ROW, DivC, 32sc, DivCRule, StepCheck::AfterSize, kComplexDivScales, true),
        OVKT_LAYOUTS4(FLOAT_ROW, DivC, 32f, DivCRule, StepCheck::AfterSize, true),
        OVKT_LAYOUTS3(FLOAT_ROW, DivC, 32fc, DivCRule, StepCheck::AfterSize, true),
        OVKT_LAYOUTS4(FLOAT_ROW, MulCScale, 8u, MulScaleRule, StepCheck::BeforeSize, false),
        OVKT_LAYOUTS4(FLOAT_ROW, MulCScale, 16u, MulScaleRule, StepCheck::BeforeSize, false),
    };
}

class ConstantMembers : public ::testing::TestWithParam<MemberCase> {};

TEST_P(ConstantMembers, FollowTheRule) { GetParam().values(); }
TEST_P(ConstantMembers, CheckArgumentsInOrder) { GetParam().checks(); }

INSTANTIATE_TEST_SUITE_P(Arith, ConstantMembers, ::testing::ValuesIn(constantMembers()), caseName);

}  // namespace
