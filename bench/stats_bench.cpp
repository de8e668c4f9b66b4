// Sums, means, extrema, norms and dot products against OpenCV's reductions
// (cv::sum, cv::mean, cv::minMaxLoc, cv::norm, Mat::dot). The destination
// image of the harness is unused: both sides only read. OpenCV's minMaxLoc
// also finds both positions, which MinMax does not.
#include "bench_common.hpp"

#include <opencv2/core.hpp>

using namespace ovkbench;

namespace {

using Mat = cv::Mat;

template <class T>
void keep(T v)
{
    volatile T sink = v;
    (void)sink;
}

}  // namespace

OVKB_FAMILY(stats)
{
    unary<Ovk8u>({.name = "Sum_8u_C1R", .opencv = "cv::sum"},
                 [](const Args<Ovk8u>& a) { Ovk64f s; return ovkiSum_8u_C1R(a.src1, a.src1Step, a.roi, &s); },
                 [](const Mat& a, Mat&) { keep(cv::sum(a)[0]); });
    unary<Ovk32f>({.name = "Sum_32f_C1R", .opencv = "cv::sum"},
                  [](const Args<Ovk32f>& a) { Ovk64f s; return ovkiSum_32f_C1R(a.src1, a.src1Step, a.roi, &s); },
                  [](const Mat& a, Mat&) { keep(cv::sum(a)[0]); });
    unary<Ovk8u>({.name = "Mean_8u_C3R", .channels = 3, .opencv = "cv::mean"},
                 [](const Args<Ovk8u>& a) { Ovk64f m[3]; return ovkiMean_8u_C3R(a.src1, a.src1Step, a.roi, m); },
                 [](const Mat& a, Mat&) { keep(cv::mean(a)[0]); });
    unary<Ovk8u>({.name = "MinMax_8u_C1R", .opencv = "cv::minMaxLoc"},
                 [](const Args<Ovk8u>& a) { Ovk8u lo, hi; return ovkiMinMax_8u_C1R(a.src1, a.src1Step, a.roi, &lo, &hi); },
                 [](const Mat& a, Mat&) { double lo, hi; cv::minMaxLoc(a, &lo, &hi); keep(lo + hi); });
    unary<Ovk32f>({.name = "MinIndx_32f_C1R", .opencv = "cv::minMaxLoc"},
                  [](const Args<Ovk32f>& a) {
                      Ovk32f lo;
                      int x, y;
                      return ovkiMinIndx_32f_C1R(a.src1, a.src1Step, a.roi, &lo, &x, &y);
                  },
                  [](const Mat& a, Mat&) { double lo; cv::Point at; cv::minMaxLoc(a, &lo, nullptr, &at); keep(lo + at.x); });
    unary<Ovk32f>({.name = "Norm_L2_32f_C1R", .opencv = "cv::norm(NORM_L2)"},
                  [](const Args<Ovk32f>& a) { Ovk64f n; return ovkiNorm_L2_32f_C1R(a.src1, a.src1Step, a.roi, &n); },
                  [](const Mat& a, Mat&) { keep(cv::norm(a, cv::NORM_L2)); });
    binary<Ovk8u>({.name = "NormDiff_L1_8u_C1R", .opencv = "cv::norm(a, b, NORM_L1)"},
                  [](const Args<Ovk8u>& a) { Ovk64f n; return ovkiNormDiff_L1_8u_C1R(a.src1, a.src1Step, a.src2, a.src2Step, a.roi, &n); },
                  [](const Mat& a, const Mat& b, Mat&) { keep(cv::norm(a, b, cv::NORM_L1)); });
    binary<Ovk32f>({.name = "DotProd_32f64f_C1R", .opencv = "Mat::dot"},
                   [](const Args<Ovk32f>& a) { Ovk64f d; return ovkiDotProd_32f64f_C1R(a.src1, a.src1Step, a.src2, a.src2Step, a.roi, &d); },
                   [](const Mat& a, const Mat& b, Mat&) { keep(a.dot(b)); });
}
