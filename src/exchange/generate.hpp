// Generated images and noise: ramps, the Jaehne zone plate, and uniform or
// Gaussian noise added in place from a caller-held seed.
#pragma once

#include <cmath>
#include <numbers>

#include "frame/check.hpp"
#include "frame/image.hpp"
#include "frame/layout.hpp"
#include "frame/types.hpp"

namespace ovk::exchange {

// A value in single or double precision to an element: integers round half
// up (floor(v + 0.5)) and clamp to the type's range, so that 8u gives 255 from
// 254.5 on and 0 below 0; floating types take the value as it is.
template <class T, class F>
T rampValue(F v)
{
    if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(v);
    } else {
        constexpr F lo = F(Elem<T>::min), hi = F(Elem<T>::max);
        if (!(v == v)) return T(0);
        if (v >= hi - F(0.5)) return Elem<T>::max;
        if (v < lo) return Elem<T>::min;
        // The half is added in double precision, where it is exact: in single
        // precision odd values from 2^23 on would round up to the next even one.
        return static_cast<T>(static_cast<i64>(std::floor(double(v) + 0.5)));
    }
}

// Writes f(x, y) into every processed channel of every pixel.
template <class T, class L, class F>
void generate(Image<T> dst, OvkiSize roi, F&& f)
{
    for (int y = 0; y < roi.height; ++y) {
        T* d = dst.row(y);
        for (std::ptrdiff_t x = 0; x < roi.width; ++x) {
            const T v = f(x, y);
            for (int c = 0; c < L::processed; ++c) d[x * L::stored + c] = v;
        }
    }
}

// Ramp: offset + slope * k in single precision, k = x (axis 0), y (axis 1) or
// x * y (axis 2). Another axis writes nothing and returns success.
template <class T, class L>
OvkStatus imageRamp(T* pDst, int dstStep, OvkiSize roiSize, float offset, float slope, int axis)
{
    OVK_CHECK(check::pointers(pDst));
    OVK_CHECK(check::steps(dstStep));
    OVK_CHECK(check::size(roiSize));
    if (axis < 0 || axis > 2) return ovkStatusOk;
    generate<T, L>(image(pDst, dstStep), roiSize, [&](int x, int y) {
        const float k = axis == 0 ? float(x) : axis == 1 ? float(y) : float(x) * float(y);
        return rampValue<T>(offset + slope * k);
    });
    return ovkStatusOk;
}

// The Jaehne test pattern: a concentric zone plate z = sin(pi/2 * r^2 / R),
// r the distance from the image centre ((W-1)/2, (H-1)/2) and R half the larger
// side, so that the local frequency rises linearly from the centre and reaches
// the Nyquist limit (half a cycle per pixel) at distance R. z in [-1, 1] is
// mapped onto the type's range: unsigned types (z + 1) / 2 * max, signed types
// z * max, 32f z itself; integer values rounded half up.
template <class T, class L>
OvkStatus imageJaehne(T* pDst, int dstStep, OvkiSize roiSize)
{
    OVK_CHECK(check::pointers(pDst));
    OVK_CHECK(check::steps(dstStep));
    OVK_CHECK(check::size(roiSize));
    const double cx = (roiSize.width - 1) * 0.5, cy = (roiSize.height - 1) * 0.5;
    const double R = std::max(roiSize.width, roiSize.height) * 0.5;
    generate<T, L>(image(pDst, dstStep), roiSize, [&](int x, int y) {
        const double dx = x - cx, dy = y - cy;
        const double z = std::sin(std::numbers::pi / 2 * (dx * dx + dy * dy) / R);
        if constexpr (std::is_floating_point_v<T>)
            return static_cast<T>(z);
        else if constexpr (std::is_unsigned_v<T>)
            return rampValue<T>((z + 1.0) * 0.5 * double(Elem<T>::max));
        else
            return rampValue<T>(z * double(Elem<T>::max));
    });
    return ovkStatusOk;
}

// The uniform generator: a subtract-with-borrow sequence on three words
// combined with a linear congruential word. Each call restarts the
// congruential word, so noise added in two calls differs from noise added in
// one.
class UniformStream {
public:
    explicit UniformStream(Ovk32u seed) : x1_(seed)
    {
        x2_ = x1_ * 69069u + 1013904243u;
        x3_ = x2_ * 69069u + 1013904243u;
    }

    // The next value, as the signed 32-bit sum of the two generators.
    Ovk32s next()
    {
        Ovk32u t = x2_ - x3_ + c_;
        if (t & 0x80000000u) {
            t -= 18u;
            c_ = 0xFFFFFFFFu;
        } else {
            c_ = 0;
        }
        x3_ = x2_;
        x2_ = x1_;
        x1_ = t;
        l_ = l_ * 69069u + 1013904243u;
        return static_cast<Ovk32s>(t + l_);
    }

    // The state word written back to the caller's seed.
    Ovk32u last() const { return x1_; }

private:
    Ovk32u x1_, x2_ = 0, x3_ = 0;
    Ovk32u c_ = 0xFFFFFFFFu;
    Ovk32u l_ = 1131199209u;
};

// Adds noise(stream) to every element; integer results are clamped to the
// type's range.
template <class T, class Noise>
void addNoise(Image<T> img, OvkiSize roi, Noise&& noise)
{
    for (int y = 0; y < roi.height; ++y) {
        T* p = img.row(y);
        for (std::ptrdiff_t x = 0; x < roi.width; ++x) {
            if constexpr (std::is_floating_point_v<T>) {
                p[x] = static_cast<T>(p[x] + noise());
            } else {
                const double v = double(p[x]) + noise();
                p[x] = v <= double(Elem<T>::min) ? Elem<T>::min : v >= double(Elem<T>::max) ? Elem<T>::max : T(v);
            }
        }
    }
}

// Uniform noise in [low, high]: trunc(value * scale + mid) for integer types
// (the untruncated value for 32f), scale = (high - low) * 2^-32 (a hair above),
// mid = (low + high) / 2.
template <class T>
OvkStatus addRandUniform(T* pSrcDst, int srcDstStep, OvkiSize roiSize, T low, T high, unsigned int* pSeed)
{
    OVK_CHECK(check::pointers(pSrcDst, pSeed));
    OVK_CHECK(check::size(roiSize));
    OVK_CHECK(check::steps(srcDstStep));
    const double scale = (double(high) - double(low)) * 2.3283064365387e-10;
    const double mid = (double(low) + double(high)) * 0.5;
    UniformStream stream(*pSeed);
    addNoise(image(pSrcDst, srcDstStep), roiSize, [&] {
        const double v = double(stream.next()) * scale + mid;
        return std::is_floating_point_v<T> ? v : std::trunc(v);
    });
    *pSeed = stream.last();
    return ovkStatusOk;
}

// Gaussian noise N(mean, stdDev^2) by the Box-Muller transform on pairs of
// uniform variates u1, u2 in (0, 1] taken from the same stream:
// sqrt(-2 ln u1) * cos(2 pi u2) and sqrt(-2 ln u1) * sin(2 pi u2) are two
// independent standard normal values. Integer results are rounded to nearest.
template <class T>
OvkStatus addRandGauss(T* pSrcDst, int srcDstStep, OvkiSize roiSize, T mean, T stdDev, unsigned int* pSeed)
{
    OVK_CHECK(check::pointers(pSrcDst, pSeed));
    OVK_CHECK(check::size(roiSize));
    OVK_CHECK(check::steps(srcDstStep));
    UniformStream stream(*pSeed);
    const auto unit = [&] { return (double(Ovk32u(stream.next())) + 1.0) * (1.0 / 4294967296.0); };
    bool haveSpare = false;
    double spare = 0;
    addNoise(image(pSrcDst, srcDstStep), roiSize, [&] {
        double z;
        if (haveSpare) {
            z = spare;
        } else {
            const double r = std::sqrt(-2.0 * std::log(unit()));
            const double phi = 2.0 * std::numbers::pi * unit();
            z = r * std::cos(phi);
            spare = r * std::sin(phi);
        }
        haveSpare = !haveSpare;
        const double v = double(mean) + double(stdDev) * z;
        return std::is_floating_point_v<T> ? v : std::nearbyint(v);
    });
    *pSeed = stream.last();
    return ovkStatusOk;
}

}  // namespace ovk::exchange
