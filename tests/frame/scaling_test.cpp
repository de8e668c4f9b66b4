// The scale-factor rule against an independent oracle: floor division with an
// explicit remainder comparison decides the rounding, so the shift formula of
// the library is checked rather than restated.
#include <gtest/gtest.h>

#include <limits>

#include "frame/scaling.hpp"

namespace {

using ovk::i64;

template <class T>
i64 clampTo(i64 v)
{
    return std::min<i64>(std::max<i64>(v, std::numeric_limits<T>::lowest()), std::numeric_limits<T>::max());
}

// v * 2^-sf, ties to even, saturated to T.
template <class T>
i64 oracle(i64 v, int sf)
{
    if (sf <= 0) {
        __int128 x = v;
        for (int i = 0; i < -sf && x != 0 && x < (__int128(1) << 70) && x > -(__int128(1) << 70); ++i) x *= 2;
        if (x > std::numeric_limits<T>::max()) return std::numeric_limits<T>::max();
        if (x < std::numeric_limits<T>::lowest()) return std::numeric_limits<T>::lowest();
        return static_cast<i64>(x);
    }
    const __int128 d = __int128(1) << sf;
    __int128 q = v / d, r = v % d;
    if (r < 0) { q -= 1; r += d; }  // floor division, 0 <= r < d
    if (2 * r > d || (2 * r == d && (q & 1))) q += 1;
    return clampTo<T>(static_cast<i64>(q));
}

template <class T>
void sweep()
{
    const i64 samples[] = {0, 1, -1, 2, -2, 3, -3, 5, -5, 127, 128, 255, 256, 257, 510, 511, 32767, 32768, -32768,
                           -32769, 65535, 65536, 131071, 2147483647, -2147483648LL, 4294967295LL, (i64(1) << 40) + 3,
                           -(i64(1) << 50) - 1};
    for (i64 base : samples)
        for (i64 d = -3; d <= 3; ++d)
            for (int sf = -40; sf <= 62; ++sf) {
                const i64 v = base + d;
                ASSERT_EQ(i64(ovk::scaleResult<T>(v, sf)), oracle<T>(v, sf)) << "v=" << v << " sf=" << sf;
            }
}

TEST(ScaleFactorRule, MatchesOracle8u) { sweep<Ovk8u>(); }
TEST(ScaleFactorRule, MatchesOracle16u) { sweep<Ovk16u>(); }
TEST(ScaleFactorRule, MatchesOracle16s) { sweep<Ovk16s>(); }
TEST(ScaleFactorRule, MatchesOracle32s) { sweep<Ovk32s>(); }

TEST(ScaleFactorRule, TiesGoToEven)
{
    // scale factor 1: 1 -> 0, 3 -> 2, 5 -> 2, 7 -> 4, and symmetrically for negatives
    EXPECT_EQ(ovk::scaleResult<Ovk16s>(1, 1), 0);
    EXPECT_EQ(ovk::scaleResult<Ovk16s>(3, 1), 2);
    EXPECT_EQ(ovk::scaleResult<Ovk16s>(5, 1), 2);
    EXPECT_EQ(ovk::scaleResult<Ovk16s>(7, 1), 4);
    EXPECT_EQ(ovk::scaleResult<Ovk16s>(-1, 1), 0);
    EXPECT_EQ(ovk::scaleResult<Ovk16s>(-3, 1), -2);
    EXPECT_EQ(ovk::scaleResult<Ovk8u>(510, 9), 1);
    EXPECT_EQ(ovk::scaleResult<Ovk8u>(510, 10), 0);
    EXPECT_EQ(ovk::scaleResult<Ovk8u>(1, -8), 255);
    EXPECT_EQ(ovk::scaleResult<Ovk8u>(0, -30), 0);
}

TEST(ScaleFloat, ExactPowersOfTwo)
{
    EXPECT_EQ(ovk::scaleFloat(0), 1.0f);
    EXPECT_EQ(ovk::scaleFloat(3), 0.125f);
    EXPECT_EQ(ovk::scaleFloat(-5), 32.0f);
    EXPECT_EQ(ovk::scaleFloat(1000), 0.0f);
    EXPECT_EQ(ovk::scaleFloat(-1000), std::numeric_limits<float>::infinity());
}

TEST(SaturateRound, TiesToEvenAndClamps)
{
    EXPECT_EQ(ovk::saturateRound<Ovk8u>(2.5), 2);
    EXPECT_EQ(ovk::saturateRound<Ovk8u>(3.5f), 4);
    EXPECT_EQ(ovk::saturateRound<Ovk8u>(-0.5), 0);
    EXPECT_EQ(ovk::saturateRound<Ovk8u>(255.5), 255);
    EXPECT_EQ(ovk::saturateRound<Ovk8u>(1e30), 255);
    EXPECT_EQ(ovk::saturateRound<Ovk16s>(-32768.5), -32768);
    EXPECT_EQ(ovk::saturateRound<Ovk16s>(-1.5), -2);
    EXPECT_EQ(ovk::saturateRound<Ovk32s>(3e9), 2147483647);
    EXPECT_EQ(ovk::saturateRound<Ovk32s>(std::numeric_limits<double>::quiet_NaN()), 0);
    EXPECT_EQ(ovk::saturateRound<Ovk16u>(-std::numeric_limits<float>::infinity()), 0);
}

}  // namespace
