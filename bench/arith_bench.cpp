// Arithmetic and logic: ovk against the nearest OpenCV call.
//
// Argument order: ovk's Sub and Div compute src2 - src1 and src2 / src1, so
// the OpenCV side swaps its operands. Scale factor 1 (halving, ties to even)
// is compared with OpenCV's scaled forms (addWeighted with 0.5, multiply with
// scale 0.5), which round differently but do the same amount of work.
#include "bench_common.hpp"

#include <opencv2/core.hpp>

using namespace ovkbench;

namespace {

using Mat = cv::Mat;

}  // namespace

OVKB_FAMILY(arith)
{
    // --- Add: dst = src1 + src2 -------------------------------------------
    binary<Ovk8u>({.name = "Add_8u_C1RSfs:sf0", .bound = Bound::memory, .opencv = "cv::add"},
                  binSfs(ovkiAdd_8u_C1RSfs, 0), [](const Mat& a, const Mat& b, Mat& d) { cv::add(a, b, d); });
    binary<Ovk8u>({.name = "Add_8u_C1RSfs:sf1", .opencv = "cv::addWeighted(a, .5, b, .5, 0)"},
                  binSfs(ovkiAdd_8u_C1RSfs, 1),
                  [](const Mat& a, const Mat& b, Mat& d) { cv::addWeighted(a, 0.5, b, 0.5, 0.0, d); });
    binary<Ovk8u>({.name = "Add_8u_C3RSfs:sf0", .channels = 3, .bound = Bound::memory, .opencv = "cv::add"},
                  binSfs(ovkiAdd_8u_C3RSfs, 0), [](const Mat& a, const Mat& b, Mat& d) { cv::add(a, b, d); });
    binary<Ovk8u>({.name = "Add_8u_C3RSfs:sf1", .channels = 3, .opencv = "cv::addWeighted(a, .5, b, .5, 0)"},
                  binSfs(ovkiAdd_8u_C3RSfs, 1),
                  [](const Mat& a, const Mat& b, Mat& d) { cv::addWeighted(a, 0.5, b, 0.5, 0.0, d); });
    binary<Ovk16s>({.name = "Add_16s_C1RSfs:sf0", .bound = Bound::memory, .opencv = "cv::add"},
                   binSfs(ovkiAdd_16s_C1RSfs, 0), [](const Mat& a, const Mat& b, Mat& d) { cv::add(a, b, d); });
    binary<Ovk32f>({.name = "Add_32f_C1R", .bound = Bound::memory, .opencv = "cv::add"},
                   bin(ovkiAdd_32f_C1R), [](const Mat& a, const Mat& b, Mat& d) { cv::add(a, b, d); });

    // --- Sub: dst = src2 - src1 -------------------------------------------
    binary<Ovk8u>({.name = "Sub_8u_C1RSfs:sf0", .bound = Bound::memory, .opencv = "cv::subtract(b, a)"},
                  binSfs(ovkiSub_8u_C1RSfs, 0), [](const Mat& a, const Mat& b, Mat& d) { cv::subtract(b, a, d); });
    binary<Ovk8u>({.name = "Sub_8u_C1RSfs:sf1", .opencv = "cv::addWeighted(b, .5, a, -.5, 0)"},
                  binSfs(ovkiSub_8u_C1RSfs, 1),
                  [](const Mat& a, const Mat& b, Mat& d) { cv::addWeighted(b, 0.5, a, -0.5, 0.0, d); });
    binary<Ovk8u>({.name = "Sub_8u_C3RSfs:sf0", .channels = 3, .bound = Bound::memory, .opencv = "cv::subtract(b, a)"},
                  binSfs(ovkiSub_8u_C3RSfs, 0), [](const Mat& a, const Mat& b, Mat& d) { cv::subtract(b, a, d); });
    binary<Ovk8u>({.name = "Sub_8u_C3RSfs:sf1", .channels = 3, .opencv = "cv::addWeighted(b, .5, a, -.5, 0)"},
                  binSfs(ovkiSub_8u_C3RSfs, 1),
                  [](const Mat& a, const Mat& b, Mat& d) { cv::addWeighted(b, 0.5, a, -0.5, 0.0, d); });
    binary<Ovk16s>({.name = "Sub_16s_C1RSfs:sf0", .bound = Bound::memory, .opencv = "cv::subtract(b, a)"},
                   binSfs(ovkiSub_16s_C1RSfs, 0), [](const Mat& a, const Mat& b, Mat& d) { cv::subtract(b, a, d); });
    binary<Ovk32f>({.name = "Sub_32f_C1R", .bound = Bound::memory, .opencv = "cv::subtract(b, a)"},
                   bin(ovkiSub_32f_C1R), [](const Mat& a, const Mat& b, Mat& d) { cv::subtract(b, a, d); });

    // --- Mul: dst = src1 * src2 -------------------------------------------
    binary<Ovk8u>({.name = "Mul_8u_C1RSfs:sf0", .opencv = "cv::multiply"},
                  binSfs(ovkiMul_8u_C1RSfs, 0), [](const Mat& a, const Mat& b, Mat& d) { cv::multiply(a, b, d); });
    binary<Ovk8u>({.name = "Mul_8u_C1RSfs:sf1", .opencv = "cv::multiply(a, b, scale .5)"},
                  binSfs(ovkiMul_8u_C1RSfs, 1),
                  [](const Mat& a, const Mat& b, Mat& d) { cv::multiply(a, b, d, 0.5); });
    binary<Ovk8u>({.name = "Mul_8u_C3RSfs:sf0", .channels = 3, .opencv = "cv::multiply"},
                  binSfs(ovkiMul_8u_C3RSfs, 0), [](const Mat& a, const Mat& b, Mat& d) { cv::multiply(a, b, d); });
    binary<Ovk8u>({.name = "Mul_8u_C3RSfs:sf1", .channels = 3, .opencv = "cv::multiply(a, b, scale .5)"},
                  binSfs(ovkiMul_8u_C3RSfs, 1),
                  [](const Mat& a, const Mat& b, Mat& d) { cv::multiply(a, b, d, 0.5); });
    binary<Ovk16s>({.name = "Mul_16s_C1RSfs:sf0", .opencv = "cv::multiply"},
                   binSfs(ovkiMul_16s_C1RSfs, 0), [](const Mat& a, const Mat& b, Mat& d) { cv::multiply(a, b, d); });
    binary<Ovk32f>({.name = "Mul_32f_C1R", .bound = Bound::memory, .opencv = "cv::multiply"},
                   bin(ovkiMul_32f_C1R), [](const Mat& a, const Mat& b, Mat& d) { cv::multiply(a, b, d); });

    // --- Div: dst = src2 / src1 (divisors kept away from zero) -------------
    binary<Ovk32f>({.name = "Div_32f_C1R", .opencv = "cv::divide(b, a)", .src1 = {0.5, 100.0}},
                   bin(ovkiDiv_32f_C1R), [](const Mat& a, const Mat& b, Mat& d) { cv::divide(b, a, d); });

    // --- AddC: dst = src + constant ---------------------------------------
    unary<Ovk8u>({.name = "AddC_8u_C1RSfs:sf0", .bound = Bound::memory, .opencv = "cv::add(a, Scalar)"},
                 [](const Args<Ovk8u>& x) { return ovkiAddC_8u_C1RSfs(x.src1, x.src1Step, 37, x.dst, x.dstStep, x.roi, 0); },
                 [](const Mat& a, Mat& d) { cv::add(a, cv::Scalar::all(37), d); });

    // --- And --------------------------------------------------------------
    binary<Ovk8u>({.name = "And_8u_C1R", .bound = Bound::memory, .opencv = "cv::bitwise_and"},
                  bin(ovkiAnd_8u_C1R), [](const Mat& a, const Mat& b, Mat& d) { cv::bitwise_and(a, b, d); });

    // --- Abs, Sqrt --------------------------------------------------------
    unary<Ovk16s>({.name = "Abs_16s_C1R", .bound = Bound::memory, .opencv = "cv::absdiff(a, 0)"},
                  un(ovkiAbs_16s_C1R), [](const Mat& a, Mat& d) { cv::absdiff(a, cv::Scalar::all(0), d); });
    unary<Ovk32f>({.name = "Sqrt_32f_C1R", .opencv = "cv::sqrt", .src1 = {0.0, 1000.0}},
                  un(ovkiSqrt_32f_C1R), [](const Mat& a, Mat& d) { cv::sqrt(a, d); });
}
