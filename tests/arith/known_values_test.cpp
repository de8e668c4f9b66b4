// Known values of the arithmetic family: small hand-checked cases of the
// rounding, saturation, operand-order and check-order rules.
#include <gtest/gtest.h>
#include <ovk/ovkimx.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

namespace {

// Runs a one-row 8u C1 binary function on pairs (first, second).
std::vector<int> add8u(std::vector<Ovk8u> a, std::vector<Ovk8u> b, int sf)
{
    std::vector<Ovk8u> d(a.size(), 77);
    const int w = int(a.size());
    EXPECT_EQ(ovkiAdd_8u_C1RSfs(a.data(), w, b.data(), w, d.data(), w, {w, 1}, sf), ovkStatusOk);
    return {d.begin(), d.end()};
}

TEST(KnownValues, AddTiesGoToEven)
{
    EXPECT_EQ(add8u({1, 1, 2, 3}, {0, 2, 3, 4}, 1), (std::vector<int>{0, 2, 2, 4}));
    Ovk16s a[2] = {-1, -3}, b[2] = {0, 0}, d[2] = {};
    ASSERT_EQ(ovkiAdd_16s_C1RSfs(a, 4, b, 4, d, 4, {2, 1}, 1), ovkStatusOk);
    EXPECT_EQ(d[0], 0);
    EXPECT_EQ(d[1], -2);
}

TEST(KnownValues, AddLargeScaleFactors)
{
    EXPECT_EQ(add8u({0, 0}, {0, 1}, -8), (std::vector<int>{0, 255}));
    EXPECT_EQ(add8u({255}, {255}, 10), (std::vector<int>{0}));
    EXPECT_EQ(add8u({255}, {255}, 9), (std::vector<int>{1}));
}

TEST(KnownValues, SubIsSecondMinusFirst)
{
    Ovk8u a = 10, b = 3, d = 99;
    ASSERT_EQ(ovkiSub_8u_C1RSfs(&a, 1, &b, 1, &d, 1, {1, 1}, 0), ovkStatusOk);
    EXPECT_EQ(d, 0);
    ASSERT_EQ(ovkiSub_8u_C1RSfs(&b, 1, &a, 1, &d, 1, {1, 1}, 0), ovkStatusOk);
    EXPECT_EQ(d, 7);
    Ovk8u c = 4;
    ASSERT_EQ(ovkiSubC_8u_C1RSfs(&a, 1, c, &d, 1, {1, 1}, 0), ovkStatusOk);  // source minus constant
    EXPECT_EQ(d, 6);
}

TEST(KnownValues, DivisionByZero)
{
    Ovk8u divisor[2] = {0, 0}, dividend[2] = {5, 0}, d[2] = {1, 1};
    EXPECT_EQ(ovkiDiv_8u_C1RSfs(divisor, 2, dividend, 2, d, 2, {2, 1}, 0), ovkStatusDivByZero);
    EXPECT_EQ(d[0], 255);
    EXPECT_EQ(d[1], 0);

    Ovk8u keep = 42;
    EXPECT_EQ(ovkiDivC_8u_C1RSfs(dividend, 2, 0, &keep, 1, {1, 1}, 0), ovkStatusDivByZeroError);
    EXPECT_EQ(keep, 42);

    float fdiv[3] = {0.0f, -0.0f, 0.0f}, fnum[3] = {2.0f, 3.0f, 0.0f}, fd[3];
    EXPECT_EQ(ovkiDiv_32f_C1R(fdiv, 12, fnum, 12, fd, 12, {3, 1}), ovkStatusDivByZero);
    EXPECT_EQ(fd[0], INFINITY);
    EXPECT_EQ(fd[1], INFINITY);  // the sign of the zero divisor does not matter
    EXPECT_EQ(std::bit_cast<std::uint32_t>(fd[2]), 0xFFC00000u);
}

TEST(KnownValues, DivRoundModes)
{
    Ovk8u divisor = 2, dividend = 5, d = 0;
    EXPECT_EQ(ovkiDiv_Round_8u_C1RSfs(&divisor, 1, &dividend, 1, &d, 1, {1, 1}, ovkRndZero, 0), ovkStatusOk);
    EXPECT_EQ(d, 2);
    EXPECT_EQ(ovkiDiv_Round_8u_C1RSfs(&divisor, 1, &dividend, 1, &d, 1, {1, 1}, ovkRndNear, 0), ovkStatusOk);
    EXPECT_EQ(d, 2);
    EXPECT_EQ(ovkiDiv_Round_8u_C1RSfs(&divisor, 1, &dividend, 1, &d, 1, {1, 1}, ovkRndFinancial, 0), ovkStatusOk);
    EXPECT_EQ(d, 3);
    d = 9;
    EXPECT_EQ(ovkiDiv_Round_8u_C1RSfs(&divisor, 1, &dividend, 1, &d, 1, {1, 1}, OvkRoundMode(3), 0),
              ovkStatusRoundModeError);
    EXPECT_EQ(d, 9);
}

TEST(KnownValues, MulScale)
{
    Ovk8u a[3] = {255, 128, 1}, b[3] = {255, 255, 1}, d[3];
    ASSERT_EQ(ovkiMulScale_8u_C1R(a, 3, b, 3, d, 3, {3, 1}), ovkStatusOk);
    EXPECT_EQ(d[0], 255);
    EXPECT_EQ(d[1], 128);
    EXPECT_EQ(d[2], 0);
}

TEST(KnownValues, CheckOrderDiffersByFamily)
{
    Ovk8u a = 0, b = 0, d = 0;
    EXPECT_EQ(ovkiMulScale_8u_C1R(&a, 0, &b, 0, &d, 0, {0, 0}), ovkStatusStepError);
    EXPECT_EQ(ovkiDiv_8u_C1RSfs(&a, 0, &b, 0, &d, 0, {0, 0}, 0), ovkStatusSizeError);
    EXPECT_EQ(ovkiAnd_8u_C1R(&a, 0, &b, 0, &d, 0, {0, 0}), ovkStatusStepError);
    EXPECT_EQ(ovkiAdd_8u_C1RSfs(&a, 0, &b, 0, &d, 0, {1, 1}, 0), ovkStatusOk);  // Add does not test steps
    EXPECT_EQ(ovkiAdd_8u_C1RSfs(&a, 1, &b, 1, nullptr, 1, {0, 0}, 0), ovkStatusNullPointer);
}

TEST(KnownValues, Shifts)
{
    Ovk8u s = 200, d = 0;
    ASSERT_EQ(ovkiLShiftC_8u_C1R(&s, 1, 1, &d, 1, {1, 1}), ovkStatusOk);
    EXPECT_EQ(d, 144);
    ASSERT_EQ(ovkiLShiftC_8u_C1R(&s, 1, 8, &d, 1, {1, 1}), ovkStatusOk);
    EXPECT_EQ(d, 0);
    ASSERT_EQ(ovkiLShiftC_8u_C1R(&s, 1, 0, &d, 1, {1, 1}), ovkStatusOk);
    EXPECT_EQ(d, 200);
    Ovk8s ss[2] = {-5, 5}, sd[2];
    ASSERT_EQ(ovkiRShiftC_8s_C1R(ss, 2, 40, sd, 2, {2, 1}), ovkStatusOk);
    EXPECT_EQ(sd[0], -1);
    EXPECT_EQ(sd[1], 0);
    Ovk16u us = 65535, ud = 1;
    ASSERT_EQ(ovkiRShiftC_16u_C1R(&us, 2, 16, &ud, 2, {1, 1}), ovkStatusOk);
    EXPECT_EQ(ud, 0);
    EXPECT_EQ(ovkiRShiftC_16u_C1R(&us, 0, 1, &ud, 2, {0, 1}), ovkStatusStepError);
}

TEST(KnownValues, Elementary)
{
    Ovk16s a = -32768, ad = 0;
    ASSERT_EQ(ovkiAbs_16s_C1R(&a, 2, &ad, 2, {1, 1}), ovkStatusOk);
    EXPECT_EQ(ad, 32767);

    float neg = -1.0f, zero = 0.0f, r = 5.0f;
    EXPECT_EQ(ovkiSqrt_32f_C1R(&neg, 4, &r, 4, {1, 1}), ovkStatusSqrtNegArg);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(r), 0xFFC00000u);
    EXPECT_EQ(ovkiSqrt_32f_C1R(&zero, 4, &r, 4, {1, 1}), ovkStatusOk);
    EXPECT_EQ(r, 0.0f);

    Ovk8u x[5] = {2, 3, 255, 64, 63}, y[5];
    ASSERT_EQ(ovkiSqrt_8u_C1RSfs(x, 5, y, 5, {3, 1}, 0), ovkStatusOk);
    EXPECT_EQ(y[0], 1);
    EXPECT_EQ(y[1], 2);
    EXPECT_EQ(y[2], 16);
    ASSERT_EQ(ovkiSqrt_8u_C1RSfs(x + 3, 2, y + 3, 2, {2, 1}, -5), ovkStatusOk);
    EXPECT_EQ(y[3], 255);
    EXPECT_EQ(y[4], 254);

    Ovk32s c = -5;
    ASSERT_EQ(ovkiComplement_32s_C1IR(&c, 4, {1, 1}), ovkStatusOk);
    EXPECT_EQ(static_cast<Ovk32u>(c), 0x80000005u);
    ASSERT_EQ(ovkiComplement_32s_C1IR(&c, 4, {1, 1}), ovkStatusOk);
    EXPECT_EQ(c, -5);
}

}  // namespace
