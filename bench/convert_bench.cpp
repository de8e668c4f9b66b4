// Conversions and scaling against cv::Mat::convertTo (which rounds half to
// even and saturates, as our nearest mode does).
#include "bench_common.hpp"

#include <opencv2/core.hpp>

using namespace ovkbench;

OVKB_FAMILY(convert)
{
    unary<Ovk8u, Ovk32f>({.name = "Convert_8u32f_C1R", .bound = Bound::memory, .opencv = "convertTo(CV_32F)"},
                         un(ovkiConvert_8u32f_C1R), [](const cv::Mat& a, cv::Mat& d) { a.convertTo(d, CV_32F); });
    unary<Ovk32f, Ovk8u>({.name = "Convert_32f8u_C1R", .bound = Bound::memory, .opencv = "convertTo(CV_8U)",
                          .src1 = {-20.0, 280.0}},
                         [](const Args<Ovk32f, Ovk8u>& a) {
                             return ovkiConvert_32f8u_C1R(a.src1, a.src1Step, a.dst, a.dstStep, a.roi, ovkRndNear);
                         },
                         [](const cv::Mat& a, cv::Mat& d) { a.convertTo(d, CV_8U); });
    unary<Ovk16s, Ovk8u>({.name = "Convert_16s8u_C1R", .bound = Bound::memory, .opencv = "convertTo(CV_8U)",
                          .src1 = {-300.0, 600.0}},
                         un(ovkiConvert_16s8u_C1R), [](const cv::Mat& a, cv::Mat& d) { a.convertTo(d, CV_8U); });
    unary<Ovk8u, Ovk32f>({.name = "Scale_8u32f_C1R", .bound = Bound::memory, .opencv = "convertTo(CV_32F, 1/255.)"},
                         [](const Args<Ovk8u, Ovk32f>& a) {
                             return ovkiScale_8u32f_C1R(a.src1, a.src1Step, a.dst, a.dstStep, a.roi, 0.0f, 1.0f);
                         },
                         [](const cv::Mat& a, cv::Mat& d) { a.convertTo(d, CV_32F, 1.0 / 255.0); });
}
