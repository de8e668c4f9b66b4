// Complex integer products at the corners of the range: every pairing of
// parts drawn from the bounds and the units, for scale factors where the
// rounding constant and the exact product sums (up to 2^63 in magnitude for
// 32sc) meet the limits of 64-bit arithmetic.
#include <gtest/gtest.h>
#include <ovk/ovkimx.h>

#include <climits>

#include "support/arith_harness.hpp"

namespace {

using namespace ovktest::scaled;
namespace ref = ovktest::ref;

const int kExtremeScales[] = {INT_MIN, -40, -1, 0, 1, 15, 16, 31, 32, 33, 40, 61, 62, 63, 64, 65, INT_MAX};

// Complex values whose parts come from the bounds, their neighbours and the
// units. (min, min) squared has the imaginary part 2^63, the one exact result
// beyond 64 bits.
template <class T>
std::vector<T> corners()
{
    using P = ovk::Part<T>;
    constexpr P lo = std::numeric_limits<P>::lowest(), hi = std::numeric_limits<P>::max();
    const P parts[] = {lo, P(lo + 1), P(-1), P(0), P(1), P(hi - 1), hi};
    std::vector<T> v;
    for (P re : parts)
        for (P im : parts) v.push_back(T{re, im});
    return v;
}

template <class T, class R, class I, class RC, class IC>
void productGrid(R mul, I mulI, RC mulC, IC mulCI)
{
    const std::vector<T> as = corners<T>(), bs = corners<T>();
    const int w = int(bs.size()), h = int(as.size());
    const Operand<T> first = [&](int, int y, int) { return as[y]; };
    const Operand<T> second = [&](int x, int, int) { return bs[x]; };
    const RuleFn<T, int> rule = &applyRule<ref::MulRule, T, int>;
    const Lay c1 = layOf<ovk::C1>();
    for (int sf : kExtremeScales) {
        SCOPED_TRACE(::testing::Message() << "scaleFactor " << sf);
        binaryValues<T>(mul, mulI, rule, c1, StepCheck::AfterSize, w, h, 1, first, second, sf);
        // The constant forms, one constant per row of the grid.
        for (int y = 0; y < h; y += 7)
            constantValues<T>(mulC, mulCI, rule, c1, StepCheck::AfterSize, std::vector<T>{as[y]}, w, 1, 2, sf);
    }
}

TEST(ExtremeOperands, ComplexProducts16sc)
{
    productGrid<Ovk16sc>(ovkiMul_16sc_C1RSfs, ovkiMul_16sc_C1IRSfs, ovkiMulC_16sc_C1RSfs, ovkiMulC_16sc_C1IRSfs);
}

TEST(ExtremeOperands, ComplexProducts32sc)
{
    productGrid<Ovk32sc>(ovkiMul_32sc_C1RSfs, ovkiMul_32sc_C1IRSfs, ovkiMulC_32sc_C1RSfs, ovkiMulC_32sc_C1IRSfs);
}

}  // namespace
