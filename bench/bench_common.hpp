// Shared pieces of the ovk benchmarks.
//
// Every operation is timed three ways in the same process, on the same
// images: the ovk function, its nearest OpenCV equivalent (single-threaded)
// and, for memory-bound operations, a plain memcpy. The benchmark names are
//
//     <family>/<operation>/<impl>/<width>x<height>      impl: ovk | opencv | memcpy
//
// e.g. "arith/Add_8u_C1RSfs:sf0/ovk/1920x1080"; bench/run.py groups them into
// one table per operation.
//
// The memcpy reference copies the DESTINATION's bytes: one memcpy per row of
// the destination ROI (width * channels * element size bytes; planar: of each
// plane, width * element size), from a buffer of the destination's geometry
// into the destination. It reads N bytes and
// writes N bytes, where N is the destination's byte count; a binary operation
// reads 2N and writes N, so a perfectly memory-bound binary operation sits
// near 1.5x memcpy and a unary one near 1x.
//
// Adding an operation to a family file is a few lines:
//
//     OVKB_FAMILY(arith)
//     {
//         binary<Ovk8u>({.name = "And_8u_C1R", .bound = Bound::memory, .opencv = "cv::bitwise_and"},
//                       bin(ovkiAnd_8u_C1R),
//                       [](const cv::Mat& a, const cv::Mat& b, cv::Mat& d) { cv::bitwise_and(a, b, d); });
//     }
#pragma once

#include <ovk/ovkimx.h>

#include <opencv2/core.hpp>

#include <cstddef>
#include <functional>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>

namespace ovkbench {

// The image sizes every operation runs on.
inline constexpr OvkiSize kSizes[] = {{256, 256}, {1920, 1080}, {7680, 4320}};

// Memory-bound operations also get the memcpy reference.
enum class Bound { compute, memory };

// How an image's channels are laid out: interleaved in one image, or one
// plane per channel. A planar image of width x height with c channels is
// stored as c planes of one channel stacked in one allocation (width x
// c*height, one step): plane k starts at row k*height. OpenCV sees it as
// that stacked one-channel cv::Mat; planesOf() cuts it into its planes.
enum class Layout { packed, planar };

// Closed range of the random values an input is filled with. An empty range
// (lo > hi) means the element type's default: the full range of integer
// types, [-100, 100] for floating point.
struct Range {
    double lo = 1.0;
    double hi = 0.0;
    bool empty() const { return lo > hi; }
};

// What the tables show about one operation.
struct OpInfo {
    std::string name;                        // "Add_8u_C1RSfs:sf1": function name, optional ":variant"
    int channels = 1;                        // channels of source and destination
    Bound bound = Bound::compute;
    std::string opencv;                      // the OpenCV call it is compared with
    Range src1;                              // value ranges of the inputs
    Range src2;
    OvkiSize (*dstSize)(OvkiSize) = nullptr; // destination size from the source size; null: the same
    Layout srcLayout = Layout::packed;       // of the sources
    Layout dstLayout = Layout::packed;       // of the destination
};

// Element types: OpenCV depth and default fill range.
template <class T> struct Elem;
template <> struct Elem<Ovk8u>  { static constexpr int depth = CV_8U;  static constexpr double lo = 0, hi = 255; };
template <> struct Elem<Ovk16u> { static constexpr int depth = CV_16U; static constexpr double lo = 0, hi = 65535; };
template <> struct Elem<Ovk16s> { static constexpr int depth = CV_16S; static constexpr double lo = -32768, hi = 32767; };
template <> struct Elem<Ovk32s> { static constexpr int depth = CV_32S; static constexpr double lo = -2147483648.0, hi = 2147483647.0; };
template <> struct Elem<Ovk32f> { static constexpr int depth = CV_32F; static constexpr double lo = -100, hi = 100; };
template <> struct Elem<Ovk64f> { static constexpr int depth = CV_64F; static constexpr double lo = -100, hi = 100; };

// One image of ovk memory (rows 64-byte aligned, from ovkiMalloc), which
// OpenCV sees through a cv::Mat header over the same bytes.
class Image {
public:
    enum class Kind { integer, floating };

    Image() = default;
    Image(OvkiSize size, int channels, int elemSize, int cvDepth, Kind kind, Layout layout = Layout::packed);
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;
    Image(Image&& other) noexcept;
    Image& operator=(Image&& other) noexcept;
    ~Image();

    bool valid() const { return data_ != nullptr; }
    OvkiSize size() const { return size_; }  // of the image (of one plane when planar)
    int step() const { return step_; }
    bool planar() const { return layout_ == Layout::planar; }
    // The stored rows (height, or channels * height when planar) and the
    // bytes of each.
    int rows() const { return planar() ? size_.height * channels_ : size_.height; }
    std::size_t rowBytes() const { return std::size_t(size_.width) * (planar() ? 1 : channels_) * elemSize_; }
    std::size_t bytes() const { return rowBytes() * std::size_t(rows()); }
    unsigned char* row(int y) const { return data_ + std::ptrdiff_t(y) * step_; }
    template <class T> T* ptr() const { return reinterpret_cast<T*>(data_); }
    // Packed: the image; planar: the stacked planes as one single-channel Mat.
    cv::Mat mat() const;

    // Uniform random values in [lo, hi] (an empty range: the type's default);
    // the same seed gives the same image.
    void fillRandom(Range range, unsigned long long seed);
    void fillByte(unsigned char value);

private:
    unsigned char* data_ = nullptr;
    OvkiSize size_{0, 0};
    int step_ = 0;
    int channels_ = 0;
    int elemSize_ = 0;
    int depth_ = 0;
    Kind kind_ = Kind::integer;
    Layout layout_ = Layout::packed;
};

template <class T>
Image makeImage(OvkiSize size, int channels, Layout layout = Layout::packed)
{
    return Image(size, channels, int(sizeof(T)), Elem<T>::depth,
                 std::numeric_limits<T>::is_integer ? Image::Kind::integer : Image::Kind::floating, layout);
}

// Plane k of a planar image whose first plane starts at p (step in bytes,
// size of one plane), for the ovk side.
template <class T>
T* planeAt(T* p, int step, OvkiSize size, int k)
{
    using Byte = std::conditional_t<std::is_const_v<T>, const unsigned char, unsigned char>;
    return reinterpret_cast<T*>(reinterpret_cast<Byte*>(p) + std::ptrdiff_t(k) * size.height * step);
}

// The n planes of a planar image as OpenCV sees it (the stacked Mat of
// Image::mat()), as headers over its memory, for the OpenCV side.
void planesOf(const cv::Mat& stacked, int n, cv::Mat* planes);

// Throws a cv::Exception unless every planes[k] still points at data[k]: an
// OpenCV call that reallocated a plane destination did not write into the
// image (reported by the harness like any other OpenCV error).
void requireSameData(const cv::Mat* planes, const unsigned char* const* data, int n);

// The images of one run, as the ovk call sees them. src2 is null for unary
// operations.
template <class TS, class TD = TS>
struct Args {
    const TS* src1;
    int src1Step;
    const TS* src2;
    int src2Step;
    TD* dst;
    int dstStep;
    OvkiSize roi;     // source size (the ROI of most calls)
    OvkiSize dstRoi;  // destination size
    // Planar images: src1 and dst point at plane 0; planeAt() finds the others.
};

// The images of one operation at one size, shared by its ovk, OpenCV and
// memcpy runs.
struct Workset {
    Image src1, src2, dst;
    Image copySource;  // the memcpy reference's source, made on first use
};

// Type-erased form of a registered operation.
struct Registered {
    OpInfo info;
    int inputs = 2;
    std::function<Image(OvkiSize, int)> makeSrc;
    std::function<Image(OvkiSize, int)> makeDst;
    std::function<OvkStatus(const Workset&)> ovk;
    std::function<void(const Workset&, cv::Mat&)> opencv;
};

void registerOp(Registered op);

template <class TS, class TD>
Args<TS, TD> argsOf(const Workset& w)
{
    return {w.src1.ptr<const TS>(), w.src1.step(),
            w.src2.valid() ? w.src2.ptr<const TS>() : nullptr, w.src2.step(),
            w.dst.ptr<TD>(), w.dst.step(), w.src1.size(), w.dst.size()};
}

template <class TS, class TD>
Registered registered(OpInfo info, int inputs)
{
    Registered r;
    r.info = std::move(info);
    r.inputs = inputs;
    r.makeSrc = [layout = r.info.srcLayout](OvkiSize s, int c) { return makeImage<TS>(s, c, layout); };
    r.makeDst = [layout = r.info.dstLayout](OvkiSize s, int c) { return makeImage<TD>(s, c, layout); };
    return r;
}

// Registers a two-source operation: ovk(Args) and opencv(src1, src2, dst),
// with OpenCV writing into the destination's memory.
template <class TS, class TD = TS>
void binary(OpInfo info, std::type_identity_t<std::function<OvkStatus(const Args<TS, TD>&)>> ovk,
            std::function<void(const cv::Mat&, const cv::Mat&, cv::Mat&)> opencv)
{
    Registered r = registered<TS, TD>(std::move(info), 2);
    r.ovk = [ovk](const Workset& w) { return ovk(argsOf<TS, TD>(w)); };
    r.opencv = [opencv](const Workset& w, cv::Mat& d) { opencv(w.src1.mat(), w.src2.mat(), d); };
    registerOp(std::move(r));
}

// Registers a one-source operation: ovk(Args) and opencv(src, dst).
template <class TS, class TD = TS>
void unary(OpInfo info, std::type_identity_t<std::function<OvkStatus(const Args<TS, TD>&)>> ovk,
           std::function<void(const cv::Mat&, cv::Mat&)> opencv)
{
    Registered r = registered<TS, TD>(std::move(info), 1);
    r.ovk = [ovk](const Workset& w) { return ovk(argsOf<TS, TD>(w)); };
    r.opencv = [opencv](const Workset& w, cv::Mat& d) { opencv(w.src1.mat(), d); };
    registerOp(std::move(r));
}

// Adapters from the usual ovk signatures to the Args form.
template <class T>
auto bin(OvkStatus (*f)(const T*, int, const T*, int, T*, int, OvkiSize))
{
    return [f](const Args<T>& a) { return f(a.src1, a.src1Step, a.src2, a.src2Step, a.dst, a.dstStep, a.roi); };
}

template <class T>
auto binSfs(OvkStatus (*f)(const T*, int, const T*, int, T*, int, OvkiSize, int), int scaleFactor)
{
    return [f, scaleFactor](const Args<T>& a) {
        return f(a.src1, a.src1Step, a.src2, a.src2Step, a.dst, a.dstStep, a.roi, scaleFactor);
    };
}

template <class TS, class TD>
auto un(OvkStatus (*f)(const TS*, int, TD*, int, OvkiSize))
{
    return [f](const Args<TS, TD>& a) { return f(a.src1, a.src1Step, a.dst, a.dstStep, a.roi); };
}

template <class TS, class TD>
auto unSfs(OvkStatus (*f)(const TS*, int, TD*, int, OvkiSize, int), int scaleFactor)
{
    return [f, scaleFactor](const Args<TS, TD>& a) { return f(a.src1, a.src1Step, a.dst, a.dstStep, a.roi, scaleFactor); };
}

// Family registration: OVKB_FAMILY(name) { ...binary/unary calls... }.
// The families register before the benchmarks start, in name order.
int addFamily(const char* name, void (*fn)());

// Runs every family's registration (main does, once).
void registerFamilies();

}  // namespace ovkbench

#define OVKB_FAMILY(name)                                                              \
    static void ovkbFamily_##name();                                                   \
    [[maybe_unused]] static const int ovkbFamilyAdded_##name =                         \
        ::ovkbench::addFamily(#name, &ovkbFamily_##name);                              \
    static void ovkbFamily_##name()
