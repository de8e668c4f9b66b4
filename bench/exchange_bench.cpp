// Data exchange: copies, channel reordering, transposition, mirroring and
// bordered copies, ovk against the nearest OpenCV call. All of them only move
// bytes, so each is also compared with memcpy of the destination's bytes.
//
// Planar images (Copy_8u_C3P3R's destination, Copy_8u_P3C3R's source) are
// three stacked planes with one step (Layout::planar); OpenCV gets headers
// over the same planes. Set has no source: its ovk/memcpy floor is about 0.5
// (it only writes). The SwapChannels rows time the same ovk call against two
// OpenCV calls that do the same reordering.
#include "bench_common.hpp"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <string>

using namespace ovkbench;

namespace {

using Mat = cv::Mat;

OvkiSize transposed(OvkiSize s) { return {s.height, s.width}; }

// Destination of a bordered copy: a frame of B pixels on every side.
template <int B>
OvkiSize framed(OvkiSize s)
{
    return {s.width + 2 * B, s.height + 2 * B};
}

// "Function:variant" (appended, not "literal" + string, which trips a false
// -Wrestrict in GCC 12).
std::string variant(const char* function, const std::string& v)
{
    std::string name(function);
    name += ':';
    name += v;
    return name;
}

constexpr Ovk8u kSetValue[3] = {17, 99, 201};
constexpr int kReversed[3] = {2, 1, 0};  // RGB <-> BGR
constexpr Ovk8u kBorderValue = 0;

void mirror(OvkiAxis axis, const char* which, int cvFlipCode, const char* cvText)
{
    unary<Ovk8u>({.name = variant("Mirror_8u_C3R", which), .channels = 3, .bound = Bound::memory,
                  .opencv = cvText},
                 [axis](const Args<Ovk8u>& a) {
                     return ovkiMirror_8u_C3R(a.src1, a.src1Step, a.dst, a.dstStep, a.roi, axis);
                 },
                 [cvFlipCode](const Mat& a, Mat& d) { cv::flip(a, d, cvFlipCode); });
}

template <int B>
void borders()
{
    const std::string px = std::to_string(B) + "px";
    unary<Ovk8u>({.name = variant("CopyReplicateBorder_8u_C1R", px), .bound = Bound::memory,
                  .opencv = "cv::copyMakeBorder(BORDER_REPLICATE)", .dstSize = framed<B>},
                 [](const Args<Ovk8u>& a) {
                     return ovkiCopyReplicateBorder_8u_C1R(a.src1, a.src1Step, a.roi, a.dst, a.dstStep, a.dstRoi, B, B);
                 },
                 [](const Mat& a, Mat& d) { cv::copyMakeBorder(a, d, B, B, B, B, cv::BORDER_REPLICATE); });
    unary<Ovk8u>({.name = variant("CopyConstBorder_8u_C1R", px), .bound = Bound::memory,
                  .opencv = "cv::copyMakeBorder(BORDER_CONSTANT)", .dstSize = framed<B>},
                 [](const Args<Ovk8u>& a) {
                     return ovkiCopyConstBorder_8u_C1R(a.src1, a.src1Step, a.roi, a.dst, a.dstStep, a.dstRoi, B, B,
                                                       kBorderValue);
                 },
                 [](const Mat& a, Mat& d) {
                     cv::copyMakeBorder(a, d, B, B, B, B, cv::BORDER_CONSTANT, cv::Scalar::all(kBorderValue));
                 });
}

}  // namespace

OVKB_FAMILY(exchange)
{
    // --- Copy -------------------------------------------------------------
    unary<Ovk8u>({.name = "Copy_8u_C1R", .bound = Bound::memory, .opencv = "Mat::copyTo"},
                 un(ovkiCopy_8u_C1R), [](const Mat& a, Mat& d) { a.copyTo(d); });
    unary<Ovk8u>({.name = "Copy_8u_C3R", .channels = 3, .bound = Bound::memory, .opencv = "Mat::copyTo"},
                 un(ovkiCopy_8u_C3R), [](const Mat& a, Mat& d) { a.copyTo(d); });

    // --- Packed <-> planar --------------------------------------------------
    unary<Ovk8u>({.name = "Copy_8u_C3P3R", .channels = 3, .bound = Bound::memory, .opencv = "cv::split",
                  .dstLayout = Layout::planar},
                 [](const Args<Ovk8u>& a) {
                     Ovk8u* const planes[3] = {a.dst, planeAt(a.dst, a.dstStep, a.dstRoi, 1),
                                               planeAt(a.dst, a.dstStep, a.dstRoi, 2)};
                     return ovkiCopy_8u_C3P3R(a.src1, a.src1Step, planes, a.dstStep, a.roi);
                 },
                 [](const Mat& a, Mat& d) {
                     Mat planes[3];
                     planesOf(d, 3, planes);
                     const unsigned char* const data[3] = {planes[0].data, planes[1].data, planes[2].data};
                     cv::split(a, planes);
                     requireSameData(planes, data, 3);
                 });
    unary<Ovk8u>({.name = "Copy_8u_P3C3R", .channels = 3, .bound = Bound::memory, .opencv = "cv::merge",
                  .srcLayout = Layout::planar},
                 [](const Args<Ovk8u>& a) {
                     const Ovk8u* const planes[3] = {a.src1, planeAt(a.src1, a.src1Step, a.roi, 1),
                                                     planeAt(a.src1, a.src1Step, a.roi, 2)};
                     return ovkiCopy_8u_P3C3R(planes, a.src1Step, a.dst, a.dstStep, a.roi);
                 },
                 [](const Mat& a, Mat& d) {
                     Mat planes[3];
                     planesOf(a, 3, planes);
                     cv::merge(planes, 3, d);
                 });

    // --- Set (the source is not used) --------------------------------------
    unary<Ovk8u>({.name = "Set_8u_C3R", .channels = 3, .bound = Bound::memory, .opencv = "Mat::setTo"},
                 [](const Args<Ovk8u>& a) { return ovkiSet_8u_C3R(kSetValue, a.dst, a.dstStep, a.dstRoi); },
                 [](const Mat&, Mat& d) { d.setTo(cv::Scalar(kSetValue[0], kSetValue[1], kSetValue[2])); });

    // --- SwapChannels {2, 1, 0} --------------------------------------------
    unary<Ovk8u>({.name = "SwapChannels_8u_C3R:210", .channels = 3, .bound = Bound::memory,
                  .opencv = "cv::cvtColor(COLOR_RGB2BGR)"},
                 [](const Args<Ovk8u>& a) {
                     return ovkiSwapChannels_8u_C3R(a.src1, a.src1Step, a.dst, a.dstStep, a.roi, kReversed);
                 },
                 [](const Mat& a, Mat& d) { cv::cvtColor(a, d, cv::COLOR_RGB2BGR); });
    unary<Ovk8u>({.name = "SwapChannels_8u_C3R:210-mixChannels", .channels = 3, .bound = Bound::memory,
                  .opencv = "cv::mixChannels({0,2, 1,1, 2,0})"},
                 [](const Args<Ovk8u>& a) {
                     return ovkiSwapChannels_8u_C3R(a.src1, a.src1Step, a.dst, a.dstStep, a.roi, kReversed);
                 },
                 [](const Mat& a, Mat& d) {
                     static constexpr int fromTo[] = {0, 2, 1, 1, 2, 0};
                     cv::mixChannels(&a, 1, &d, 1, fromTo, 3);
                 });

    // --- Transpose (destination height x width) -----------------------------
    unary<Ovk8u>({.name = "Transpose_8u_C1R", .bound = Bound::memory, .opencv = "cv::transpose",
                  .dstSize = transposed},
                 un(ovkiTranspose_8u_C1R), [](const Mat& a, Mat& d) { cv::transpose(a, d); });
    unary<Ovk32f>({.name = "Transpose_32f_C1R", .bound = Bound::memory, .opencv = "cv::transpose",
                   .dstSize = transposed},
                  un(ovkiTranspose_32f_C1R), [](const Mat& a, Mat& d) { cv::transpose(a, d); });

    // --- Mirror ------------------------------------------------------------
    mirror(ovkAxsHorizontal, "horizontal", 0, "cv::flip(0)");
    mirror(ovkAxsVertical, "vertical", 1, "cv::flip(1)");
    mirror(ovkAxsBoth, "both", -1, "cv::flip(-1)");

    // --- Bordered copies: frames of 2 and 16 pixels on every side -----------
    borders<2>();
    borders<16>();
}
