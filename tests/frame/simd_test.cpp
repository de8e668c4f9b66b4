// The vector layer against the scalar definition of every operation, lane by
// lane, for every lane type it takes. Compiled once per backend (the AVX2
// program is skipped on a processor without AVX2).
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "frame/simd/simd.hpp"

namespace {

using namespace ovk::simd;
using std::int16_t, std::int32_t, std::int64_t, std::int8_t, std::uint16_t, std::uint32_t, std::uint64_t, std::uint8_t;

bool cpuHasTarget()
{
#if defined(__AVX2__)
    return __builtin_cpu_supports("avx2");
#else
    return true;
#endif
}

#define REQUIRE_TARGET() \
    if (!cpuHasTarget()) GTEST_SKIP() << kTargetName << " not available"

template <class T>
using Lanes = std::array<T, std::size_t(kLanes<T>)>;

// Random lanes, a third of them the type's special values.
template <class T>
Lanes<T> randomLanes(std::mt19937& rng)
{
    static const T specials[] = {std::numeric_limits<T>::lowest(), std::numeric_limits<T>::max(), T(0), T(1),
                                 T(std::is_signed_v<T> ? -1 : 2),
                                 std::is_floating_point_v<T> ? std::numeric_limits<T>::quiet_NaN() : T(3),
                                 std::is_floating_point_v<T> ? std::numeric_limits<T>::infinity() : T(4),
                                 std::is_floating_point_v<T> ? T(-0.0) : T(5)};
    Lanes<T> out;
    for (T& x : out) {
        if (rng() % 3 == 0) {
            x = specials[rng() % std::size(specials)];
        } else if constexpr (std::is_floating_point_v<T>) {
            x = T(std::uniform_real_distribution<double>(-1000, 1000)(rng));
        } else {
            std::uint64_t bits = (std::uint64_t(rng()) << 32) | rng();
            std::memcpy(&x, &bits, sizeof(T));
        }
    }
    return out;
}

template <class T>
Lanes<T> lanesOf(Vec<T> v)
{
    Lanes<T> out;
    store(v, out.data());
    return out;
}

template <class T>
Vec<T> vecOf(const Lanes<T>& l)
{
    return load(l.data());
}

// Equal bit patterns (so NaNs compare, and -0.0 differs from 0.0).
template <class T>
bool same(T a, T b)
{
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}

template <class T>
T mask(bool on)
{
    T m;
    std::memset(&m, on ? 0xFF : 0, sizeof(T));
    return m;
}

template <class T>
T wrap(int64_t v)  // two's complement truncation
{
    return T(std::make_unsigned_t<T>(std::uint64_t(v)));
}

template <class T>
T sat(int64_t v)
{
    return T(std::clamp<int64_t>(v, std::numeric_limits<T>::lowest(), std::numeric_limits<T>::max()));
}

// Runs vop on random vectors and compares every lane with lop.
template <class T, class VecOp, class LaneOp>
void expectLanewise(VecOp vop, LaneOp lop, const char* what)
{
    std::mt19937 rng(7);
    for (int trial = 0; trial < 400; ++trial) {
        const Lanes<T> a = randomLanes<T>(rng), b = randomLanes<T>(rng);
        const auto r = lanesOf(vop(vecOf(a), vecOf(b)));
        for (int i = 0; i < kLanes<T>; ++i) {
            const auto want = lop(a[i], b[i]);
            ASSERT_TRUE(same(r[i], want)) << what << " lane " << i << ": " << +a[i] << ", " << +b[i] << " gave "
                                         << +r[i] << ", expected " << +want;
        }
    }
}

template <class T>
class SimdLanes : public ::testing::Test {};
using AllLanes = ::testing::Types<uint8_t, int8_t, uint16_t, int16_t, uint32_t, int32_t, uint64_t, int64_t, float, double>;
TYPED_TEST_SUITE(SimdLanes, AllLanes);

TYPED_TEST(SimdLanes, LanewiseOperationsMatchTheirScalarDefinitions)
{
    REQUIRE_TARGET();
    using T = TypeParam;
    constexpr bool fp = std::is_floating_point_v<T>;
    constexpr bool narrowInt = std::is_integral_v<T> && sizeof(T) <= 2;
    constexpr bool orderedInt = std::is_integral_v<T> && sizeof(T) <= 4;
    const auto widened = [](T x) { return int64_t(x); };

    if constexpr (fp) {
        expectLanewise<T>([](auto a, auto b) { return add(a, b); }, [](T a, T b) { return T(a + b); }, "add");
        expectLanewise<T>([](auto a, auto b) { return sub(a, b); }, [](T a, T b) { return T(a - b); }, "sub");
        expectLanewise<T>([](auto a, auto b) { return mul(a, b); }, [](T a, T b) { return T(a * b); }, "mul");
        expectLanewise<T>([](auto a, auto b) { return div(a, b); }, [](T a, T b) { return T(a / b); }, "div");
        expectLanewise<T>([](auto a, auto) { return sqrt(a); },
                          [](T a, T) { return a < 0 ? -std::numeric_limits<T>::quiet_NaN() : std::sqrt(a); }, "sqrt");
        expectLanewise<T>([](auto a, auto b) { return ordered(a, b); },
                          [](T a, T b) { return mask<T>(!std::isnan(a) && !std::isnan(b)); }, "ordered");
    } else {
        // modulo 2^64, then truncated: no signed overflow even for 64-bit lanes
        expectLanewise<T>([](auto a, auto b) { return add(a, b); },
                          [](T a, T b) { return wrap<T>(int64_t(uint64_t(a) + uint64_t(b))); }, "add");
        expectLanewise<T>([](auto a, auto b) { return sub(a, b); },
                          [](T a, T b) { return wrap<T>(int64_t(uint64_t(a) - uint64_t(b))); }, "sub");
        expectLanewise<T>([](auto a, auto b) { return bitAndNot(a, b); }, [](T a, T b) { return T(~a & b); }, "andNot");
        expectLanewise<T>([](auto a, auto b) { return bitXor(bitOr(a, b), bitAnd(a, b)); },
                          [](T a, T b) { return T((a | b) ^ (a & b)); }, "or/and/xor");
        constexpr int bits = 8 * sizeof(T);
        expectLanewise<T>([](auto a, auto) { return shiftLeft<bits - 1>(a); },
                          [](T a, T) { return wrap<T>(int64_t(uint64_t(a) << (bits - 1))); }, "shiftLeft");
        if constexpr (!(std::is_signed_v<T> && sizeof(T) == 8)) {
            expectLanewise<T>([](auto a, auto) { return shiftRight<1>(a); }, [](T a, T) { return T(a >> 1); }, "shr 1");
            expectLanewise<T>([](auto a, auto) { return shiftRight<bits - 1>(a); },
                              [](T a, T) { return T(a >> (bits - 1)); }, "shr max");
        }
    }
    if constexpr (narrowInt) {
        expectLanewise<T>([](auto a, auto b) { return addSat(a, b); },
                          [&](T a, T b) { return sat<T>(widened(a) + widened(b)); }, "addSat");
        expectLanewise<T>([](auto a, auto b) { return subSat(a, b); },
                          [&](T a, T b) { return sat<T>(widened(a) - widened(b)); }, "subSat");
        if constexpr (std::is_unsigned_v<T>)
            expectLanewise<T>([](auto a, auto b) { return averageRound(a, b); },
                              [&](T a, T b) { return T((widened(a) + widened(b) + 1) >> 1); }, "averageRound");
    }
    if constexpr (std::is_integral_v<T> && (sizeof(T) == 2 || sizeof(T) == 4))
        expectLanewise<T>([](auto a, auto b) { return mulLow(a, b); },
                          [&](T a, T b) { return wrap<T>(int64_t(uint64_t(widened(a)) * uint64_t(widened(b)))); },
                          "mulLow");
    if constexpr (std::is_integral_v<T> && sizeof(T) == 2)
        expectLanewise<T>([](auto a, auto b) { return mulHigh(a, b); },
                          [&](T a, T b) { return T((widened(a) * widened(b)) >> 16); }, "mulHigh");
    if constexpr (fp || orderedInt) {
        expectLanewise<T>([](auto a, auto b) { return gt(a, b); }, [](T a, T b) { return mask<T>(a > b); }, "gt");
        expectLanewise<T>([](auto a, auto b) { return ge(a, b); }, [](T a, T b) { return mask<T>(a >= b); }, "ge");
        expectLanewise<T>([](auto a, auto b) { return min(a, b); }, [](T a, T b) { return a < b ? a : b; }, "min");
        expectLanewise<T>([](auto a, auto b) { return max(a, b); }, [](T a, T b) { return a > b ? a : b; }, "max");
        expectLanewise<T>([](auto a, auto b) { return select(gt(a, b), a, b); },
                          [](T a, T b) { return a > b ? a : b; }, "select");
    }
    expectLanewise<T>([](auto a, auto b) { return eq(a, b); }, [](T a, T b) { return mask<T>(a == b); }, "eq");
    expectLanewise<T>([](auto a, auto b) { return ne(a, b); }, [](T a, T b) { return mask<T>(a != b); }, "ne");
}

TYPED_TEST(SimdLanes, MovesAndMasksKeepTheirLanes)
{
    REQUIRE_TARGET();
    using T = TypeParam;
    constexpr int n = kLanes<T>, perBlock = 16 / int(sizeof(T));
    std::mt19937 rng(11);
    for (int trial = 0; trial < 50; ++trial) {
        const Lanes<T> a = randomLanes<T>(rng), b = randomLanes<T>(rng);
        const auto rev = lanesOf(reverse(vecOf(a)));
        const auto lo = lanesOf(zipLower(vecOf(a), vecOf(b))), hi = lanesOf(zipUpper(vecOf(a), vecOf(b)));
        const unsigned bits = maskBits(eq(vecOf(a), vecOf(a)));
        const unsigned signs = maskBits(vecOf(a));
        for (int i = 0; i < n; ++i) {
            EXPECT_TRUE(same(rev[i], a[n - 1 - i]));
            const int block = i / perBlock * perBlock, j = (i % perBlock) / 2;
            const Lanes<T>& from = i % 2 ? b : a;
            EXPECT_TRUE(same(lo[i], from[block + j])) << "zipLower lane " << i;
            EXPECT_TRUE(same(hi[i], from[block + perBlock / 2 + j])) << "zipUpper lane " << i;
            EXPECT_EQ((bits >> i) & 1, same(a[i], a[i]) && !(std::is_floating_point_v<T> && a[i] != a[i]));
            uint64_t raw = 0;
            std::memcpy(&raw, &a[i], sizeof(T));
            EXPECT_EQ((signs >> i) & 1, (raw >> (8 * sizeof(T) - 1)) & 1) << "maskBits lane " << i;
        }
        EXPECT_TRUE(same(lanesOf(splat(a[0]))[n - 1], a[0]));
        EXPECT_TRUE(same(lanesOf(zero<T>())[n - 1], T(0)));
    }
    // Partial vectors: n lanes in and out, nothing beyond them touched.
    for (int count = 0; count <= n; ++count) {
        Lanes<T> src = randomLanes<T>(rng), dst;
        std::memset(dst.data(), 0x5A, sizeof(dst));
        const Lanes<T> before = dst;
        storePartial(loadPartial(src.data(), count), dst.data(), count);
        const auto loaded = lanesOf(loadPartial(src.data(), count));
        for (int i = 0; i < n; ++i) {
            EXPECT_TRUE(same(dst[i], i < count ? src[i] : before[i])) << count << " lanes, lane " << i;
            EXPECT_TRUE(same(loaded[i], i < count ? src[i] : T(0))) << count << " lanes, lane " << i;
        }
    }
}

// Widening into halves and saturating back, in whatever order the backend
// puts lanes into halves: narrowing a widened vector restores it, and the
// halves narrowed and widened again hold each wide lane saturated.
template <class T>
void checkWidth()
{
    using W = Wider<T>;
    std::mt19937 rng(5);
    for (int trial = 0; trial < 200; ++trial) {
        const Lanes<T> a = randomLanes<T>(rng), b = randomLanes<T>(rng);
        const Halves<W> h = widen(vecOf(a));
        EXPECT_EQ(lanesOf(narrowSat<T>(h.lo, h.hi)), a);
        Lanes<T> sortedA = a;
        std::array<W, std::size_t(kLanes<T>)> all;
        const auto lo = lanesOf(h.lo), hi = lanesOf(h.hi);
        std::copy(lo.begin(), lo.end(), all.begin());
        std::copy(hi.begin(), hi.end(), all.begin() + lo.size());
        std::sort(sortedA.begin(), sortedA.end());
        std::sort(all.begin(), all.end());
        for (int i = 0; i < kLanes<T>; ++i) EXPECT_EQ(W(sortedA[i]), all[i]);

        if constexpr (sizeof(T) == 2) {  // full products in the same order as widen()
            const Halves<W> p = mulWide(vecOf(a), vecOf(b)), wb = widen(vecOf(b));
            for (int i = 0; i < kLanes<W>; ++i) {
                EXPECT_EQ(lanesOf(p.lo)[i], W(int64_t(lo[i]) * int64_t(lanesOf(wb.lo)[i])));
                EXPECT_EQ(lanesOf(p.hi)[i], W(int64_t(hi[i]) * int64_t(lanesOf(wb.hi)[i])));
            }
        }
    }
}

// Saturating narrowing from any wide lane type it takes, checked through
// widen(), which shares its order.
template <class To, class From>
void checkNarrow()
{
    std::mt19937 rng(6);
    for (int trial = 0; trial < 200; ++trial) {
        const Lanes<From> x = randomLanes<From>(rng), y = randomLanes<From>(rng);
        const auto back = widen(narrowSat<To>(vecOf(x), vecOf(y)));
        for (int i = 0; i < kLanes<From>; ++i) {
            EXPECT_EQ(lanesOf(back.lo)[i], sat<To>(int64_t(x[i])));
            EXPECT_EQ(lanesOf(back.hi)[i], sat<To>(int64_t(y[i])));
        }
    }
}

TEST(SimdWidth, WidenAndNarrowSaturateInTheBackendsOrder)
{
    REQUIRE_TARGET();
    checkWidth<uint8_t>();
    checkWidth<int8_t>();
    checkWidth<uint16_t>();
    checkWidth<int16_t>();
    checkNarrow<uint8_t, int16_t>();
    checkNarrow<int8_t, int16_t>();
    checkNarrow<uint8_t, uint16_t>();
    checkNarrow<int16_t, int32_t>();
    checkNarrow<uint16_t, int32_t>();
    checkNarrow<uint16_t, uint32_t>();
    // 32-bit lanes from wider ones do not exist; widening them is checked by
    // the round trip of the signed and unsigned 32-bit types through 64 bits.
    std::mt19937 rng(9);
    for (int trial = 0; trial < 100; ++trial) {
        const Lanes<int32_t> a = randomLanes<int32_t>(rng);
        const Halves<int64_t> h = widen(vecOf(a));
        int64_t sum = 0;
        for (int64_t v : lanesOf(h.lo)) sum += v;
        for (int64_t v : lanesOf(h.hi)) sum += v;
        int64_t want = 0;
        for (int32_t v : a) want += v;
        EXPECT_EQ(sum, want);
    }
}

// The in-order forms keep memory order: lane i of the input is lane i of the
// concatenated halves, and back.
template <class T>
void checkInOrder()
{
    std::mt19937 rng(5);
    const Lanes<T> a = randomLanes<T>(rng);
    const Halves<Wider<T>> h = widenInOrder(vecOf(a));
    const auto lo = lanesOf(h.lo), hi = lanesOf(h.hi);
    for (int i = 0; i < kLanes<T>; ++i) ASSERT_EQ(i < kLanes<T> / 2 ? lo[i] : hi[i - kLanes<T> / 2], Wider<T>(a[i]));
    EXPECT_EQ(lanesOf(narrowSatInOrder<T>(h.lo, h.hi)), a);
}

TEST(SimdWidth, InOrderWideningAndNarrowing)
{
    REQUIRE_TARGET();
    checkInOrder<uint8_t>();
    checkInOrder<int8_t>();
    checkInOrder<int16_t>();
    checkInOrder<uint16_t>();
}

TEST(SimdWidth, IntegerFloatConversions)
{
    REQUIRE_TARGET();
    std::mt19937 rng(3);
    for (int trial = 0; trial < 100; ++trial) {
        const Lanes<int32_t> i = randomLanes<int32_t>(rng);
        const Lanes<float> f = randomLanes<float>(rng);
        const auto asFloat = lanesOf(toFloat(vecOf(i)));
        const auto truncated = lanesOf(truncate(vecOf(f)));
        for (int k = 0; k < kLanes<float>; ++k) {
            EXPECT_EQ(asFloat[k], float(i[k]));
            const bool fits = f[k] > -2147483904.0f && f[k] < 2147483648.0f;  // NaN fails both
            EXPECT_EQ(truncated[k], fits ? int32_t(f[k]) : INT32_MIN) << f[k];
        }
    }
}

TEST(SimdWidth, PairProductsAndExactSums)
{
    REQUIRE_TARGET();
    std::mt19937 rng(3);
    for (int trial = 0; trial < 200; ++trial) {
        const Lanes<int16_t> a = randomLanes<int16_t>(rng), b = randomLanes<int16_t>(rng);
        const auto pairs = lanesOf(mulAddPairs(vecOf(a), vecOf(b)));
        for (int i = 0; i < kLanes<int32_t>; ++i)
            EXPECT_EQ(pairs[i], wrap<int32_t>(int64_t(a[2 * i]) * b[2 * i] + int64_t(a[2 * i + 1]) * b[2 * i + 1]));
        const auto sumOf = [](const auto& lanes) {
            SumOf<std::decay_t<decltype(lanes[0])>> s = 0;
            for (auto v : lanes) s += v;
            return s;
        };
        const Lanes<uint8_t> u8 = randomLanes<uint8_t>(rng);
        const Lanes<int32_t> i32 = randomLanes<int32_t>(rng);
        const Lanes<uint16_t> u16 = randomLanes<uint16_t>(rng);
        EXPECT_EQ(sumOfLanes(vecOf(u8)), sumOf(u8));
        EXPECT_EQ(sumOfLanes(vecOf(i32)), sumOf(i32));
        EXPECT_EQ(sumOfLanes(vecOf(u16)), sumOf(u16));
        EXPECT_EQ(sumOfLanes(vecOf(a)), sumOf(a));
        const Lanes<uint8_t> v8 = randomLanes<uint8_t>(rng);
        const auto eights = lanesOf(absDiffSums(vecOf(u8), vecOf(v8)));
        for (int i = 0; i < kLanes<uint64_t>; ++i) {
            uint64_t want = 0;
            for (int k = 8 * i; k < 8 * i + 8; ++k) want += uint64_t(std::abs(int(u8[k]) - int(v8[k])));
            EXPECT_EQ(eights[i], want);
        }
    }
}

template <int N>
void checkInterleaved()
{
    constexpr int n = kLanes<uint8_t>;
    std::array<uint8_t, N * n> row, back;
    for (int i = 0; i < N * n; ++i) row[i] = uint8_t(i * 7 + 3);
    const Channels<N> planes = loadInterleaved<N>(row.data());
    for (int c = 0; c < N; ++c) {
        const auto p = lanesOf(planes.c[c]);
        for (int x = 0; x < n; ++x) ASSERT_EQ(p[x], row[x * N + c]) << N << " channels, pixel " << x << ", channel " << c;
    }
    storeInterleaved<N>(planes, back.data());
    EXPECT_EQ(back, row);
}

// Every order of N channels, repeats included.
template <int N>
void checkPixelPermutations()
{
    constexpr int n = kLanes<uint8_t>;
    std::array<uint8_t, N * n> row, out;
    for (int i = 0; i < N * n; ++i) row[i] = uint8_t(i * 7 + 3);
    int order[N];
    for (int code = 0; code < N * N * N * N; ++code) {
        for (int c = 0, rest = code; c < N; ++c, rest /= N) order[c] = rest % N;
        const PixelBytePermutation<N> permutation(order);
        permutation.apply(row.data(), out.data());
        for (int i = 0; i < N * n; ++i) ASSERT_EQ(out[i], row[i - i % N + order[i % N]]) << N << " bytes, code " << code;
        out = row;
        permutation.apply(out.data(), out.data());
        for (int i = 0; i < N * n; ++i) ASSERT_EQ(out[i], row[i - i % N + order[i % N]]) << N << " bytes in place";
    }
}

TEST(SimdMoves, InterleavedChannelsAndBlockTransposes)
{
    REQUIRE_TARGET();
    checkInterleaved<2>();
    checkInterleaved<3>();
    checkInterleaved<4>();
    checkPixelPermutations<2>();
    checkPixelPermutations<3>();
    checkPixelPermutations<4>();

    std::mt19937 rng(9);
    for (int round = 0; round < 50; ++round) {
        const Lanes<uint8_t> table = randomLanes<uint8_t>(rng), index = randomLanes<uint8_t>(rng);
        const auto r = lanesOf(shuffleBytes(vecOf(table), vecOf(index)));
        for (int i = 0; i < kLanes<uint8_t>; ++i)
            ASSERT_EQ(r[i], index[i] & 0x80 ? 0 : table[i - i % 16 + (index[i] & 15)]) << "shuffleBytes lane " << i;
    }
    uint8_t block[16];
    for (int i = 0; i < 16; ++i) block[i] = uint8_t(100 + i);
    const auto every = lanesOf(loadEveryBlock(block));
    for (int i = 0; i < kLanes<uint8_t>; ++i) ASSERT_EQ(every[i], block[i % 16]);

    std::array<uint8_t, 2 * kLanes<uint8_t>> two;
    for (std::size_t i = 0; i < two.size(); ++i) two[i] = uint8_t(i + 1);
    const auto from = [&](auto k) {
        const auto r = lanesOf(bytesFrom<decltype(k)::value>(load(two.data()), load(two.data() + kLanes<uint8_t>)));
        for (int i = 0; i < kLanes<uint8_t>; ++i) ASSERT_EQ(r[i], two[i + k]) << "bytesFrom<" << k << ">";
    };
    from(std::integral_constant<int, 1>{});
    from(std::integral_constant<int, 2>{});
    from(std::integral_constant<int, kLanes<uint8_t> / 2>{});
    from(std::integral_constant<int, kLanes<uint8_t> - 2>{});
    from(std::integral_constant<int, kLanes<uint8_t> - 1>{});

    const auto transposes = [](auto lane) {
        using T = decltype(lane);
        constexpr int side = kBlockSide<T>, pitch = side + 3;  // steps wider than the block
        std::vector<T> src(side * pitch), dst(side * pitch, T(0));
        for (std::size_t i = 0; i < src.size(); ++i) src[i] = T(i * 2654435761u);
        transposeBlock(src.data(), pitch * sizeof(T), dst.data(), pitch * sizeof(T));
        for (int y = 0; y < side; ++y)
            for (int x = 0; x < pitch; ++x)
                ASSERT_EQ(dst[y * pitch + x], x < side ? src[x * pitch + y] : T(0)) << sizeof(T) << "-byte lanes";
    };
    transposes(uint8_t{});
    transposes(uint16_t{});
    transposes(uint32_t{});
}

}  // namespace
