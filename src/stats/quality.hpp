// The quality index of two images (the universal image quality index over
// the whole ROI) and the structural similarity (SSIM) of two 32f images.
//
// QualityIndex, per channel: the means m1, m2 of both images (as Mean,
// double); per row, a = x1 - m1 and b = x2 - m2 in single precision into two
// scratch rows, the row's dot product of a and b and the sums of a^2 and b^2
// (each summed left to right in single precision) added to single-precision
// running sums cov, var1, var2; den = (var1 + var2) * (m1^2 + m2^2) in
// double. Below 2^-23 the result is NaN and the status -210; else
// m1 * m2 * (4 * cov) / den (4 * cov in single precision). 8u and 16u samples
// are read as their values.
//
// SSIM: the mean over every 11 x 11 window inside the ROI of
// ((2 mx my + C1)(2 sxy + C2)) / ((mx^2 + my^2 + C1)(sx^2 + sy^2 + C2)), the
// moments weighted by the normalised Gaussian of sigma 1.5 (separable, in
// double), C1 = (0.01 L)^2, C2 = (0.03 L)^2 for the dynamic range L. Work
// memory: eleven rows of the five horizontally filtered moments.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

#include "frame/check.hpp"
#include "frame/layout.hpp"
#include "frame/memory.hpp"
#include "stats/sums.hpp"

namespace ovk::stats {

template <class T, class R, class L>
OvkStatus qualityIndex(const T* pSrc1, int src1Step, const T* pSrc2, int src2Step, OvkiSize roiSize, R* pQualityIndex)
{
    OVK_CHECK(check::pointers(pSrc1, pSrc2, pQualityIndex));
    OVK_CHECK(check::size(roiSize));
    OVK_CHECK(check::steps(src1Step, src2Step));
    const std::int64_t padded = (std::int64_t(roiSize.width) + 15) / 16 * 16;
    frame::Scratch<Ovk32f> scratch(2 * padded);
    OVK_CHECK(check::require(!scratch.empty(), ovkStatusNoMemory));
    Ovk64f m1[4], m2[4];
    OVK_CHECK(mean<T, L>(pSrc1, src1Step, roiSize, m1));
    OVK_CHECK(mean<T, L>(pSrc2, src2Step, roiSize, m2));
    const Image<const T> src1(pSrc1, src1Step), src2(pSrc2, src2Step);
    Ovk32f* a = scratch.data();
    Ovk32f* b = a + padded;
    OvkStatus status = ovkStatusOk;
    for (int c = 0; c < L::processed; ++c) {
        const Ovk32f mean1 = Ovk32f(m1[c]), mean2 = Ovk32f(m2[c]);
        Ovk32f cov = 0, var1 = 0, var2 = 0;
        for (int y = 0; y < roiSize.height; ++y) {
            const T* r1 = src1.row(y);
            const T* r2 = src2.row(y);
            for (std::int64_t x = 0; x < roiSize.width; ++x) {
                a[x] = Ovk32f(r1[x * L::stored + c]) - mean1;
                b[x] = Ovk32f(r2[x * L::stored + c]) - mean2;
            }
            Ovk32f dot = 0, aa = 0, bb = 0;
            for (std::int64_t x = 0; x < roiSize.width; ++x) {
                dot += a[x] * b[x];
                aa += a[x] * a[x];
                bb += b[x] * b[x];
            }
            cov += dot, var1 += aa, var2 += bb;
        }
        const double den = (double(var1) + double(var2)) * (m1[c] * m1[c] + m2[c] * m2[c]);
        if (den < 1.1920928955078125e-7) {
            pQualityIndex[c] = std::numeric_limits<R>::quiet_NaN();
            status = ovkStatusQualityIndexError;
        } else {
            pQualityIndex[c] = R(m1[c] * m2[c] * double(4.0f * cov) / den);
        }
    }
    return status;
}

inline constexpr int kSsimWindow = 11;

inline OvkStatus ssim(const Ovk32f* pSrc1, int src1Step, const Ovk32f* pSrc2, int src2Step, OvkiSize roiSize,
                      Ovk32f dynamicRange, Ovk32f* pSsim)
{
    constexpr int K = kSsimWindow;
    OVK_CHECK(check::pointers(pSrc1, pSrc2, pSsim));
    OVK_CHECK(check::size(roiSize));
    OVK_CHECK(check::require(roiSize.width >= K && roiSize.height >= K, ovkStatusSizeError));
    OVK_CHECK(check::steps(src1Step, src2Step));
    double weight[K], total = 0;
    for (int k = 0; k < K; ++k) total += weight[k] = std::exp(-double((k - K / 2) * (k - K / 2)) / (2 * 1.5 * 1.5));
    for (double& w : weight) w /= total;
    const double c1 = (0.01 * dynamicRange) * (0.01 * dynamicRange), c2 = (0.03 * dynamicRange) * (0.03 * dynamicRange);

    // Ring of K rows of the horizontally filtered moments x, y, x^2, y^2, xy.
    const std::int64_t outWidth = roiSize.width - K + 1;
    frame::Scratch<double> ring(std::int64_t(K) * 5 * outWidth);
    OVK_CHECK(check::require(!ring.empty(), ovkStatusNoMemory));
    const Image<const Ovk32f> src1(pSrc1, src1Step), src2(pSrc2, src2Step);
    double sum = 0;
    for (int y = 0; y < roiSize.height; ++y) {
        double* row = ring.data() + std::int64_t(y % K) * 5 * outWidth;
        const Ovk32f* p = src1.row(y);
        const Ovk32f* q = src2.row(y);
        for (std::int64_t x = 0; x < outWidth; ++x) {
            double m[5] = {0, 0, 0, 0, 0};
            for (int k = 0; k < K; ++k) {
                const double u = p[x + k], v = q[x + k], w = weight[k];
                m[0] += w * u, m[1] += w * v, m[2] += w * (u * u), m[3] += w * (v * v), m[4] += w * (u * v);
            }
            for (int i = 0; i < 5; ++i) row[i * outWidth + x] = m[i];
        }
        if (y < K - 1) continue;
        for (std::int64_t x = 0; x < outWidth; ++x) {
            double m[5] = {0, 0, 0, 0, 0};
            for (int k = 0; k < K; ++k) {  // rows y - K + 1 .. y, oldest first
                const double* r = ring.data() + std::int64_t((y - K + 1 + k) % K) * 5 * outWidth;
                for (int i = 0; i < 5; ++i) m[i] += weight[k] * r[i * outWidth + x];
            }
            const double vx = m[2] - m[0] * m[0], vy = m[3] - m[1] * m[1], cxy = m[4] - m[0] * m[1];
            sum += ((2 * m[0] * m[1] + c1) * (2 * cxy + c2)) / ((m[0] * m[0] + m[1] * m[1] + c1) * (vx + vy + c2));
        }
    }
    *pSsim = Ovk32f(sum / (double(outWidth) * double(roiSize.height - K + 1)));
    return ovkStatusOk;
}

}  // namespace ovk::stats
