// Scale: the whole range of one type mapped linearly onto another.
//
//   8u to 16u, 16s, 32s   exact stretches: x * 257, x * 257 - 32768, and
//                         x * 16843009 + 2^31 modulo 2^32
//   8u to 32f             x * k + vMin, k = (vMax - vMin) / 255
//   32f to 8u             at or beyond vMax 255, at or below vMin 0; else
//                         b + x * k with k = 255 / (vMax - vMin) and
//                         b = 0.5 + (0 - vMin * k), truncated, an exact odd
//                         result moved down by one (ties to even)
//   16u, 16s, 32s to 8u   accurate (hint 2): x * c + d rounded the same way;
//                         fast (any other hint): subtract-and-shift forms of
//                         a division by 257 (2^24 + 2^16 + 2^8 + 1 for 32s),
//                         which may differ from the accurate result by one
// All arithmetic in single precision except the accurate 32s path (double).
// A range with vMax - vMin <= 0 is refused before anything else is looked at.
#pragma once

#include <cmath>
#include <cstdint>

#include "exchange/convert.hpp"

namespace ovk::exchange {

template <class D>
struct StretchRule {
    D operator()(Ovk8u x) const
    {
        if constexpr (std::is_same_v<D, Ovk16u>) return D(x * 257);
        else if constexpr (std::is_same_v<D, Ovk16s>) return D(x * 257 - 32768);
        else return D(std::uint32_t(x) * 16843009u + 2147483648u);  // modulo 2^32
    }
    simd::Vec<std::int32_t> operator()(simd::Vec<std::int32_t> x) const
    {
        using namespace simd;
        if constexpr (std::is_same_v<D, Ovk16u>) return mulLow(x, splat(257));
        else if constexpr (std::is_same_v<D, Ovk16s>) return sub(mulLow(x, splat(257)), splat(32768));
        else return add(mulLow(x, splat(16843009)), splat(std::numeric_limits<std::int32_t>::min()));  // wraps
    }
};

struct ToFloatRangeRule {
    float k, vMin;
    Ovk32f operator()(Ovk8u x) const { return float(x) * k + vMin; }
    simd::Vec<float> operator()(simd::Vec<std::int32_t> x) const
    {
        return simd::add(simd::mul(simd::toFloat(x), simd::splat(k)), simd::splat(vMin));
    }
};

// trunc(v), moved down by one when v is exactly an odd integer; v >= 0.
inline std::int32_t truncTieEven(float v)
{
    if (!(v == v)) return 0;
    const auto t = std::int32_t(v);
    return (t & 1) && float(t) == v ? t - 1 : t;
}

OVK_SIMD_INLINE simd::Vec<std::int32_t> truncTieEvenLanes(simd::Vec<float> v)
{
    using namespace simd;
    const Vec<std::int32_t> t = truncate(v);  // NaN gives INT32_MIN, which the store saturates to 0
    const Vec<std::int32_t> exactOdd = bitAnd(eq(bitAnd(t, splat(1)), splat(1)), bitcast<std::int32_t>(eq(toFloat(t), v)));
    return add(t, exactOdd);  // the mask is -1
}

struct FromFloatRangeRule {
    float vMin, vMax, k, b;
    Ovk8u operator()(float x) const
    {
        if (x >= vMax) return 255;
        if (x <= vMin) return 0;
        return saturate<Ovk8u>(truncTieEven(b + x * k));
    }
    simd::Vec<std::int32_t> operator()(simd::Vec<float> x) const
    {
        using namespace simd;
        const Vec<std::int32_t> inside = truncTieEvenLanes(add(splat(b), mul(x, splat(k))));
        const Vec<std::int32_t> high = bitcast<std::int32_t>(ge(x, splat(vMax))), low = bitcast<std::int32_t>(ge(splat(vMin), x));
        return select(high, splat(255), select(low, zero<std::int32_t>(), inside));
    }
};

// 16u, 16s, 32s to 8u.
template <class S, bool Accurate>
struct ToByteRule {
    Ovk8u operator()(S x) const
    {
        if constexpr (Accurate && std::is_same_v<S, Ovk32s>) {
            const double v = double(x) * 5.937181414556033e-8 + 128.0000000296859;
            const auto t = std::int64_t(v);
            return saturate<Ovk8u>((t & 1) && double(t) == v ? t - 1 : t);
        } else if constexpr (Accurate) {
            return saturate<Ovk8u>(truncTieEven(float(x) * 0.0038910506f + offset()));
        } else {
            const std::int64_t s = std::is_same_v<S, Ovk16u> ? std::int64_t(x) - 32768 : std::int64_t(x);
            const int shift = std::is_same_v<S, Ovk32s> ? 24 : 8;
            return Ovk8u((((s - (s >> 8)) >> shift) + 128) & 255);
        }
    }
    simd::Vec<std::int32_t> operator()(simd::Vec<std::int32_t> x) const
        requires(!(Accurate && std::is_same_v<S, Ovk32s>))
    {
        using namespace simd;
        if constexpr (Accurate) {
            return truncTieEvenLanes(add(mul(toFloat(x), splat(0.0038910506f)), splat(offset())));
        } else {
            const Vec<std::int32_t> s = std::is_same_v<S, Ovk16u> ? sub(x, splat(32768)) : x;
            const Vec<std::int32_t> d = sub(s, shiftRight<8>(s));
            const Vec<std::int32_t> q = std::is_same_v<S, Ovk32s> ? shiftRight<24>(d) : shiftRight<8>(d);
            return bitAnd(add(q, splat(128)), splat(255));
        }
    }
    static constexpr float offset() { return std::is_same_v<S, Ovk16s> ? 128.00195f : 0.5f; }
};

template <class S, class D, class L>
OvkStatus scaleFrom8u(const S* pSrc, int srcStep, D* pDst, int dstStep, OvkiSize roiSize)
{
    OVK_CHECK(checkImagePair(pSrc, srcStep, pDst, dstStep, roiSize));
    return convertImage<Ovk8u, D, L>(pSrc, srcStep, pDst, dstStep, roiSize, StretchRule<D>{});
}

template <class S, class D, class L>
OvkStatus scale8u32f(const S* pSrc, int srcStep, D* pDst, int dstStep, OvkiSize roiSize, Ovk32f vMin, Ovk32f vMax)
{
    OVK_CHECK(check::require(vMax - vMin > 0, ovkStatusScaleRangeError));
    OVK_CHECK(checkImagePair(pSrc, srcStep, pDst, dstStep, roiSize));
    return convertImage<Ovk8u, Ovk32f, L>(pSrc, srcStep, pDst, dstStep, roiSize, ToFloatRangeRule{(vMax - vMin) / 255.0f, vMin});
}

template <class S, class D, class L>
OvkStatus scale32f8u(const S* pSrc, int srcStep, D* pDst, int dstStep, OvkiSize roiSize, Ovk32f vMin, Ovk32f vMax)
{
    OVK_CHECK(check::require(vMax - vMin > 0, ovkStatusScaleRangeError));
    OVK_CHECK(checkImagePair(pSrc, srcStep, pDst, dstStep, roiSize));
    const float k = 255.0f / (vMax - vMin);
    const float b = 0.5f + (0.0f - vMin * k);
    return convertImage<Ovk32f, Ovk8u, L>(pSrc, srcStep, pDst, dstStep, roiSize, FromFloatRangeRule{vMin, vMax, k, b});
}

template <class S, class D, class L>
OvkStatus scaleTo8u(const S* pSrc, int srcStep, D* pDst, int dstStep, OvkiSize roiSize, OvkHintAlgorithm hint)
{
    OVK_CHECK(checkImagePair(pSrc, srcStep, pDst, dstStep, roiSize));
    if (hint == ovkAlgHintAccurate) return convertImage<S, Ovk8u, L>(pSrc, srcStep, pDst, dstStep, roiSize, ToByteRule<S, true>{});
    return convertImage<S, Ovk8u, L>(pSrc, srcStep, pDst, dstStep, roiSize, ToByteRule<S, false>{});
}

}  // namespace ovk::exchange
