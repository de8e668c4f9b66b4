// Add, Sub, Mul, Div and MulScale of two images: every member, out of place
// and in place, against the reference rules, with its argument checks.
#include <gtest/gtest.h>
#include <ovk/ovkimx.h>

#include "support/arith_harness.hpp"

namespace {

using namespace ovktest::scaled;
namespace ref = ovktest::ref;

// Integer and complex-integer members with a scale factor.
#define SCALED_ROW(Op, t, L, Rule, steps, scales)                                                          \
    scaledImagesCase<Ovk##t>(#Op "_" #t "_" #L, layOf<ovk::L>(), ovki##Op##_##t##_##L##RSfs,               \
                             ovki##Op##_##t##_##L##IRSfs, &applyRule<ref::Rule, Ovk##t, int>, steps, scales)
// Single-precision members and MulScale: no scale factor.
#define FLOAT_ROW(Op, t, L, Rule, steps)                                                                          \
    floatImagesCase<Ovk##t>(#Op "_" #t "_" #L, layOf<ovk::L>(), ovki##Op##_##t##_##L##R, ovki##Op##_##t##_##L##IR, \
                            &applyRule<ref::Rule, Ovk##t>, steps)

// Add, Sub and Mul check no steps on 8u, 16u, 16s and 32f; the complex
// members, computed row by row, do.
#define ADD_SUB_MUL(Op, Rule)                                                         \
    OVKT_LAYOUTS4(SCALED_ROW, Op, 8u, Rule, StepCheck::None, kIntegerScales),         \
    OVKT_LAYOUTS4(SCALED_ROW, Op, 16u, Rule, StepCheck::None, kIntegerScales),        \
    OVKT_LAYOUTS4(SCALED_ROW, Op, 16s, Rule, StepCheck::None, kIntegerScales),        \
    OVKT_LAYOUTS3(SCALED_ROW, Op, 16sc, Rule, StepCheck::AfterSize, kComplexScales),  \
    OVKT_LAYOUTS3(SCALED_ROW, Op, 32sc, Rule, StepCheck::AfterSize, kComplexScales),  \
    OVKT_LAYOUTS4(FLOAT_ROW, Op, 32f, Rule, StepCheck::None),                         \
    OVKT_LAYOUTS3(FLOAT_ROW, Op, 32fc, Rule, StepCheck::AfterSize)

std::vector<MemberCase> imageMembers()
{
    return {
        ADD_SUB_MUL(Add, AddRule),
        ADD_SUB_MUL(Sub, SubRule),
        ADD_SUB_MUL(Mul, MulRule),
        OVKT_LAYOUTS4(SCALED_ROW, Div, 8u, DivRule, StepCheck::AfterSize, kDiv8uScales),
        OVKT_LAYOUTS4(SCALED_ROW, Div, 16u, DivRule, StepCheck::AfterSize, kDivScales),
        OVKT_LAYOUTS4(SCALED_ROW, Div, 16s, DivRule, StepCheck::AfterSize, kDivScales),
        OVKT_LAYOUTS3(SCALED_ROW, Div, 16sc, DivRule, StepCheck::AfterSize, kComplexDivScales),
        OVKT_LAYOUTS3(SCALED_ROW, Div, 32sc, DivRule, StepCheck::AfterSize, kComplexDivScales),
        OVKT_LAYOUTS4(FLOAT_ROW, Div, 32f, DivRule, StepCheck::AfterSize),
        OVKT_LAYOUTS3(FLOAT_ROW, Div, 32fc, DivRule, StepCheck::AfterSize),
        OVKT_LAYOUTS4(FLOAT_ROW, MulScale, 8u, MulScaleRule, StepCheck::BeforeSize),
        OVKT_LAYOUTS4(FLOAT_ROW, MulScale, 16u, MulScaleRule, StepCheck::BeforeSize),
    };
}

class ImageMembers : public ::testing::TestWithParam<MemberCase> {};

TEST_P(ImageMembers, FollowTheRule) { GetParam().values(); }
TEST_P(ImageMembers, CheckArgumentsInOrder) { GetParam().checks(); }

INSTANTIATE_TEST_SUITE_P(Arith, ImageMembers, ::testing::ValuesIn(imageMembers()), caseName);

}  // namespace
