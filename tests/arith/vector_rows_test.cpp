// The vector rows of Add, Sub and Mul (8u and 16s, scale factors 0 and 1) and
// of AddC against the scalar rule on every tail length: each sweep width
// leaves a different remainder after the 16-byte blocks, and the guarded rows
// start at every alignment.
#include <gtest/gtest.h>
#include <ovk/ovkimx.h>

#include "support/arith_harness.hpp"

namespace {

using namespace ovktest::scaled;
namespace ref = ovktest::ref;

template <class T, class R, class I>
MemberCase imageSweep(std::string name, Lay lay, R r, I ir, RuleFn<T, int> rule)
{
    return {name,
            [=] {
                for (int sf : {0, 1}) {
                    SCOPED_TRACE(::testing::Message() << "scaleFactor " << sf);
                    ovktest::forEachWidth([&](int w) {
                        binaryValues<T>(r, ir, rule, lay, StepCheck::None, w, 2, seedOf(name, w), {}, {}, sf);
                    });
                }
            },
            [] {}};
}

template <class T, class R, class I>
MemberCase constantSweep(std::string name, Lay lay, R r, I ir, RuleFn<T, int> rule)
{
    return {name,
            [=] {
                const auto sets = constantSets<T>(lay.processed, seedOf(name, 1), true);
                for (int sf : {0, 1}) {
                    SCOPED_TRACE(::testing::Message() << "scaleFactor " << sf);
                    ovktest::forEachWidth([&](int w) {
                        constantValues<T>(r, ir, rule, lay, StepCheck::None, sets[w % sets.size()], w, 2, seedOf(name, w),
                                          sf);
                    });
                }
            },
            [] {}};
}

#define IMAGE_SWEEP(Op, t, L, Rule)                                                                      \
    imageSweep<Ovk##t>(#Op "_" #t "_" #L, layOf<ovk::L>(), ovki##Op##_##t##_##L##RSfs, ovki##Op##_##t##_##L##IRSfs, \
                       &applyRule<ref::Rule, Ovk##t, int>)
#define CONSTANT_SWEEP(Op, t, L, Rule)                                                                       \
    constantSweep<Ovk##t>(#Op "_" #t "_" #L, layOf<ovk::L>(), ovki##Op##_##t##_##L##RSfs,                    \
                          ovki##Op##_##t##_##L##IRSfs, &applyRule<ref::Rule, Ovk##t, int>)
#define C1_C3(ROW, Op, t, Rule) ROW(Op, t, C1, Rule), ROW(Op, t, C3, Rule)

std::vector<MemberCase> sweeps()
{
    return {C1_C3(IMAGE_SWEEP, Add, 8u, AddRule),     C1_C3(IMAGE_SWEEP, Add, 16s, AddRule),
            C1_C3(IMAGE_SWEEP, Sub, 8u, SubRule),     C1_C3(IMAGE_SWEEP, Sub, 16s, SubRule),
            C1_C3(IMAGE_SWEEP, Mul, 8u, MulRule),     C1_C3(IMAGE_SWEEP, Mul, 16s, MulRule),
            C1_C3(CONSTANT_SWEEP, AddC, 8u, AddRule), C1_C3(CONSTANT_SWEEP, AddC, 16s, AddRule)};
}

class VectorRows : public ::testing::TestWithParam<MemberCase> {};

TEST_P(VectorRows, MatchTheScalarRuleOnEveryTail) { GetParam().values(); }

INSTANTIATE_TEST_SUITE_P(Arith, VectorRows, ::testing::ValuesIn(sweeps()), caseName);

}  // namespace
