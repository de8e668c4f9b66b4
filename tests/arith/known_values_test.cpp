// Hand-checked values of the rules the oracles follow, so that a shared
// misreading of a rule by the library and the oracles cannot go unnoticed.
#include <gtest/gtest.h>
#include <ovk/ovkimx.h>

#include <bit>
#include <cmath>
#include <cstdint>

namespace {

TEST(KnownValues, ScaledSumsTieToEven)
{
    Ovk8u a[4] = {1, 1, 2, 3}, b[4] = {0, 2, 3, 4}, d[4];
    ASSERT_EQ(ovkiAdd_8u_C1RSfs(a, 4, b, 4, d, 4, {4, 1}, 1), ovkStatusOk);
    EXPECT_EQ(d[0] + 10 * d[1] + 100 * d[2] + 1000 * d[3], 0 + 20 + 200 + 4000);  // 0.5 1.5 2.5 3.5
    Ovk16s s[2] = {-1, -3}, z[2] = {0, 0}, r[2];
    ASSERT_EQ(ovkiAdd_16s_C1RSfs(s, 4, z, 4, r, 4, {2, 1}, 1), ovkStatusOk);
    EXPECT_EQ(r[0], 0);   // -0.5
    EXPECT_EQ(r[1], -2);  // -1.5
    Ovk8u big = 255;
    ASSERT_EQ(ovkiAdd_8u_C1RSfs(&big, 1, &big, 1, d, 1, {1, 1}, 9), ovkStatusOk);
    EXPECT_EQ(d[0], 1);  // 510 / 512
}

TEST(KnownValues, OperandOrder)
{
    Ovk8u ten = 10, three = 3, d = 0;
    ASSERT_EQ(ovkiSub_8u_C1RSfs(&three, 1, &ten, 1, &d, 1, {1, 1}, 0), ovkStatusOk);
    EXPECT_EQ(d, 7);
    ASSERT_EQ(ovkiSubC_8u_C1RSfs(&ten, 1, 4, &d, 1, {1, 1}, 0), ovkStatusOk);
    EXPECT_EQ(d, 6);
    ASSERT_EQ(ovkiDiv_8u_C1RSfs(&three, 1, &ten, 1, &d, 1, {1, 1}, 0), ovkStatusOk);
    EXPECT_EQ(d, 3);
    ASSERT_EQ(ovkiDivC_8u_C1RSfs(&ten, 1, 4, &d, 1, {1, 1}, 0), ovkStatusOk);
    EXPECT_EQ(d, 2);  // 2.5
}

TEST(KnownValues, DivisionByZero)
{
    Ovk8u zero[2] = {0, 0}, num[2] = {5, 0}, d[2];
    EXPECT_EQ(ovkiDiv_8u_C1RSfs(zero, 2, num, 2, d, 2, {2, 1}, 0), ovkStatusDivByZero);
    EXPECT_EQ(d[0], 255);
    EXPECT_EQ(d[1], 0);
    float fz[3] = {0.0f, -0.0f, 0.0f}, fn[3] = {2.0f, 3.0f, 0.0f}, fd[3];
    EXPECT_EQ(ovkiDiv_32f_C1R(fz, 12, fn, 12, fd, 12, {3, 1}), ovkStatusDivByZero);
    EXPECT_EQ(fd[0], INFINITY);
    EXPECT_EQ(fd[1], INFINITY);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(fd[2]), 0xFFC00000u);
    // A complex constant is zero only when both parts are: 2 / i = -2i.
    const Ovk16sc two{2, 0}, i{0, 1};
    Ovk16sc q{};
    EXPECT_EQ(ovkiDivC_16sc_C1RSfs(&two, 4, i, &q, 4, {1, 1}, 0), ovkStatusOk);
    EXPECT_EQ(q.re, 0);
    EXPECT_EQ(q.im, -2);
}

TEST(KnownValues, RoundingModesOnNegativeHalves)
{
    const Ovk16s divisor[4] = {2, 2, 2, -2}, dividend[4] = {-5, -3, 5, 7};
    const Ovk16s want[3][4] = {{-2, -1, 2, -3}, {-2, -2, 2, -4}, {-3, -2, 3, -4}};
    for (int mode = 0; mode < 3; ++mode) {
        Ovk16s d[4];
        ASSERT_EQ(ovkiDiv_Round_16s_C1RSfs(divisor, 8, dividend, 8, d, 8, {4, 1}, OvkRoundMode(mode), 0), ovkStatusOk);
        for (int i = 0; i < 4; ++i) EXPECT_EQ(d[i], want[mode][i]) << "mode " << mode << ", element " << i;
    }
}

TEST(KnownValues, OtherRules)
{
    Ovk8u a[3] = {255, 128, 1}, b[3] = {255, 255, 1}, d[3];
    ASSERT_EQ(ovkiMulScale_8u_C1R(a, 3, b, 3, d, 3, {3, 1}), ovkStatusOk);
    EXPECT_EQ(d[0] + 1000 * d[1] + 1000000 * d[2], 255 + 128000);
    Ovk16s m = -32768, r = 0;
    ASSERT_EQ(ovkiAbs_16s_C1R(&m, 2, &r, 2, {1, 1}), ovkStatusOk);
    EXPECT_EQ(r, 32767);
    Ovk8u x[3] = {64, 63, 9}, y[3];
    ASSERT_EQ(ovkiSqrt_8u_C1RSfs(x, 2, y, 2, {2, 1}, -5), ovkStatusOk);
    EXPECT_EQ(y[0] + 1000 * y[1], 255 + 254000);  // 256 saturated, 253.98
    ASSERT_EQ(ovkiSqrt_8u_C1RSfs(x + 2, 1, y + 2, 1, {1, 1}, 1), ovkStatusOk);
    EXPECT_EQ(y[2], 2);  // 1.5
    Ovk8s s = -5, sd = 0;
    ASSERT_EQ(ovkiRShiftC_8s_C1R(&s, 1, 40, &sd, 1, {1, 1}), ovkStatusOk);
    EXPECT_EQ(sd, -1);
    Ovk32s c = -5;
    ASSERT_EQ(ovkiComplement_32s_C1IR(&c, 4, {1, 1}), ovkStatusOk);
    EXPECT_EQ(static_cast<Ovk32u>(c), 0x80000005u);
}

}  // namespace
