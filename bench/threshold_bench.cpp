// Thresholds, comparisons, counting and Otsu's threshold against the nearest
// OpenCV calls. Where OpenCV needs two calls (the two-sided clamp, inRange
// followed by countNonZero) both are timed; its Otsu call also writes the
// binarised image, which ours does not.
#include "bench_common.hpp"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

using namespace ovkbench;

namespace {

using Mat = cv::Mat;

}  // namespace

OVKB_FAMILY(threshold)
{
    unary<Ovk8u>({.name = "Threshold_GT_8u_C1R", .bound = Bound::memory, .opencv = "cv::threshold(THRESH_TRUNC)"},
                 [](const Args<Ovk8u>& a) { return ovkiThreshold_GT_8u_C1R(a.src1, a.src1Step, a.dst, a.dstStep, a.roi, 100); },
                 [](const Mat& a, Mat& d) { cv::threshold(a, d, 100, 255, cv::THRESH_TRUNC); });
    // Values equal to the thresholds: a clamp to [50, 200].
    unary<Ovk8u>({.name = "Threshold_LTValGTVal_8u_C1R", .bound = Bound::memory, .opencv = "cv::max + cv::min"},
                 [](const Args<Ovk8u>& a) {
                     return ovkiThreshold_LTValGTVal_8u_C1R(a.src1, a.src1Step, a.dst, a.dstStep, a.roi, 50, 50, 200, 200);
                 },
                 [](const Mat& a, Mat& d) {
                     cv::max(a, 50, d);
                     cv::min(d, 200, d);
                 });
    unary<Ovk32f>({.name = "Threshold_LTVal_32f_C1R", .bound = Bound::memory, .opencv = "cv::threshold(THRESH_TOZERO)"},
                  [](const Args<Ovk32f>& a) {
                      return ovkiThreshold_LTVal_32f_C1R(a.src1, a.src1Step, a.dst, a.dstStep, a.roi, 0.0f, 0.0f);
                  },
                  [](const Mat& a, Mat& d) { cv::threshold(a, d, 0.0, 0.0, cv::THRESH_TOZERO); });
    binary<Ovk8u>({.name = "Compare_8u_C1R", .bound = Bound::memory, .opencv = "cv::compare(CMP_GT)"},
                  [](const Args<Ovk8u>& a) {
                      return ovkiCompare_8u_C1R(a.src1, a.src1Step, a.src2, a.src2Step, a.dst, a.dstStep, a.roi, ovkCmpGreater);
                  },
                  [](const Mat& a, const Mat& b, Mat& d) { cv::compare(a, b, d, cv::CMP_GT); });
    binary<Ovk32f, Ovk8u>({.name = "Compare_32f_C1R", .opencv = "cv::compare(CMP_LE)"},
                          [](const Args<Ovk32f, Ovk8u>& a) {
                              return ovkiCompare_32f_C1R(a.src1, a.src1Step, a.src2, a.src2Step, a.dst, a.dstStep, a.roi,
                                                         ovkCmpLessEq);
                          },
                          [](const Mat& a, const Mat& b, Mat& d) { cv::compare(a, b, d, cv::CMP_LE); });
    unary<Ovk8u>({.name = "CountInRange_8u_C1R", .opencv = "cv::inRange + cv::countNonZero"},
                 [](const Args<Ovk8u>& a) {
                     Ovk32s count = 0;
                     return ovkiCountInRange_8u_C1R(a.src1, a.src1Step, a.roi, &count, 60, 180);
                 },
                 [](const Mat& a, Mat& d) {  // the mask goes to the destination's memory
                     cv::inRange(a, 60, 180, d);
                     volatile int n = cv::countNonZero(d);
                     (void)n;
                 });
    unary<Ovk8u>({.name = "ComputeThreshold_Otsu_8u_C1R", .opencv = "cv::threshold(THRESH_OTSU)"},
                 [](const Args<Ovk8u>& a) {
                     Ovk8u level = 0;
                     return ovkiComputeThreshold_Otsu_8u_C1R(a.src1, a.src1Step, a.roi, &level);
                 },
                 [](const Mat& a, Mat& d) { cv::threshold(a, d, 0, 255, cv::THRESH_BINARY | cv::THRESH_OTSU); });
}
