// Images, worksets and the three timed runs (ovk, OpenCV, memcpy) of every
// registered operation.
#include "bench_common.hpp"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

namespace ovkbench {

// ---------------------------------------------------------------------------
// Image
// ---------------------------------------------------------------------------

Image::Image(OvkiSize size, int channels, int elemSize, int cvDepth, Kind kind, Layout layout)
    : size_(size), channels_(channels), elemSize_(elemSize), depth_(cvDepth), kind_(kind), layout_(layout)
{
    // An 8u image as wide as one row's bytes has the same 64-byte aligned
    // layout as the typed allocation; planes are stacked below each other.
    const long long widthBytes = static_cast<long long>(rowBytes());
    const long long height = rows();
    if (widthBytes > std::numeric_limits<int>::max() || height > std::numeric_limits<int>::max())
        throw std::runtime_error("image too large");
    data_ = ovkiMalloc_8u_C1(static_cast<int>(widthBytes), static_cast<int>(height), &step_);
    if (data_ == nullptr)
        throw std::runtime_error("ovkiMalloc_8u_C1 failed");
}

Image::Image(Image&& other) noexcept { *this = std::move(other); }

Image& Image::operator=(Image&& other) noexcept
{
    if (this != &other) {
        ovkiFree(data_);
        data_ = std::exchange(other.data_, nullptr);
        size_ = other.size_;
        step_ = other.step_;
        channels_ = other.channels_;
        elemSize_ = other.elemSize_;
        depth_ = other.depth_;
        kind_ = other.kind_;
        layout_ = other.layout_;
    }
    return *this;
}

Image::~Image() { ovkiFree(data_); }

cv::Mat Image::mat() const
{
    return cv::Mat(rows(), size_.width, CV_MAKETYPE(depth_, planar() ? 1 : channels_), data_,
                   static_cast<std::size_t>(step_));
}

void planesOf(const cv::Mat& stacked, int n, cv::Mat* planes)
{
    CV_Assert(n > 0 && stacked.rows % n == 0);
    const int h = stacked.rows / n;
    for (int k = 0; k < n; ++k)
        planes[k] = stacked.rowRange(k * h, (k + 1) * h);
}

void requireSameData(const cv::Mat* planes, const unsigned char* const* data, int n)
{
    for (int k = 0; k < n; ++k)
        if (planes[k].data != data[k])
            CV_Error(cv::Error::StsError, "a destination plane was reallocated");
}

namespace {

std::uint64_t splitmix64(std::uint64_t& state)
{
    std::uint64_t z = (state += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
}

template <class T>
void fillRows(unsigned char* data, int step, OvkiSize size, int channels, Range range, std::uint64_t seed)
{
    const double lo = range.empty() ? Elem<T>::lo : range.lo;
    const double hi = range.empty() ? Elem<T>::hi : range.hi;
    std::uint64_t state = seed;
    const std::size_t n = std::size_t(size.width) * channels;
    for (int y = 0; y < size.height; ++y) {
        T* row = reinterpret_cast<T*>(data + std::ptrdiff_t(y) * step);
        if constexpr (std::numeric_limits<T>::is_integer) {
            const auto base = static_cast<long long>(lo);
            const auto span = static_cast<std::uint64_t>(static_cast<long long>(hi) - base) + 1;
            for (std::size_t i = 0; i < n; ++i)
                row[i] = static_cast<T>(base + static_cast<long long>(splitmix64(state) % span));
        } else {
            for (std::size_t i = 0; i < n; ++i) {
                const double u = double(splitmix64(state) >> 11) * 0x1.0p-53;  // [0, 1)
                row[i] = static_cast<T>(lo + (hi - lo) * u);
            }
        }
    }
}

}  // namespace

void Image::fillRandom(Range range, unsigned long long seed)
{
    const OvkiSize stored{size_.width, rows()};
    const int c = planar() ? 1 : channels_;
    switch (depth_) {
    case CV_8U:  fillRows<Ovk8u>(data_, step_, stored, c, range, seed); break;
    case CV_16U: fillRows<Ovk16u>(data_, step_, stored, c, range, seed); break;
    case CV_16S: fillRows<Ovk16s>(data_, step_, stored, c, range, seed); break;
    case CV_32S: fillRows<Ovk32s>(data_, step_, stored, c, range, seed); break;
    case CV_32F: fillRows<Ovk32f>(data_, step_, stored, c, range, seed); break;
    case CV_64F: fillRows<Ovk64f>(data_, step_, stored, c, range, seed); break;
    default: throw std::runtime_error("fillRandom: unsupported depth");
    }
}

void Image::fillByte(unsigned char value)
{
    for (int y = 0; y < rows(); ++y)
        std::memset(row(y), value, rowBytes());
}

// ---------------------------------------------------------------------------
// Worksets: the images of the operation and size being timed. The runs of
// one operation at one size are registered next to each other, so keeping
// only the current set lets ovk, OpenCV and memcpy share the same data while
// the largest images of other operations are already released.
// ---------------------------------------------------------------------------

namespace {

std::string g_worksetKey;
std::unique_ptr<Workset> g_workset;

Workset& workset(const Registered& op, const std::string& key, OvkiSize size)
{
    if (g_workset && g_worksetKey == key)
        return *g_workset;
    g_workset.reset();
    auto w = std::make_unique<Workset>();
    const int c = op.info.channels;
    w->src1 = op.makeSrc(size, c);
    w->src1.fillRandom(op.info.src1, 0x5EED0001);
    if (op.inputs > 1) {
        w->src2 = op.makeSrc(size, c);
        w->src2.fillRandom(op.info.src2, 0x5EED0002);
    }
    w->dst = op.makeDst(op.info.dstSize ? op.info.dstSize(size) : size, c);
    w->dst.fillByte(0);
    g_workset = std::move(w);
    g_worksetKey = key;
    return *g_workset;
}

enum class Impl { ovk, opencv, memcpy };

const char* implName(Impl impl)
{
    switch (impl) {
    case Impl::ovk: return "ovk";
    case Impl::opencv: return "opencv";
    case Impl::memcpy: return "memcpy";
    }
    return "?";
}

void runOvk(benchmark::State& st, const Registered& op, const Workset& w)
{
    const OvkStatus status = op.ovk(w);
    if (status < 0) {
        st.SkipWithError(("ovk returned status " + std::to_string(int(status))).c_str());
        return;
    }
    if (status > 0)
        st.SetLabel("warning status " + std::to_string(int(status)));
    for (auto _ : st)
        benchmark::DoNotOptimize(op.ovk(w));
}

void runOpenCv(benchmark::State& st, const Registered& op, const Workset& w)
{
    cv::Mat dst = w.dst.mat();
    try {
        op.opencv(w, dst);
    } catch (const cv::Exception& e) {
        st.SkipWithError(("OpenCV: " + e.msg).c_str());
        return;
    }
    // OpenCV reallocates when the destination does not match the result's
    // type and size; that would time an allocation and leave ovk's memory.
    if (dst.data != w.dst.row(0)) {
        st.SkipWithError("OpenCV did not write into the destination image (type or size mismatch)");
        return;
    }
    st.SetLabel(op.info.opencv);
    for (auto _ : st) {
        op.opencv(w, dst);
        benchmark::ClobberMemory();
    }
}

void runMemcpy(benchmark::State& st, const Registered& op, Workset& w)
{
    if (!w.copySource.valid()) {
        w.copySource = op.makeDst(w.dst.size(), op.info.channels);
        w.copySource.fillByte(0x5A);
    }
    const std::size_t rowBytes = w.dst.rowBytes();
    const int rows = w.dst.rows();
    for (auto _ : st) {
        for (int y = 0; y < rows; ++y)
            std::memcpy(w.dst.row(y), w.copySource.row(y), rowBytes);
        benchmark::ClobberMemory();
    }
}

void run(benchmark::State& st, const Registered& op, Impl impl, OvkiSize size, const std::string& key)
{
    Workset* w = nullptr;
    try {
        w = &workset(op, key, size);
    } catch (const std::exception& e) {
        st.SkipWithError(e.what());
        return;
    }
    std::size_t bytes = 0;
    switch (impl) {
    case Impl::ovk:
        runOvk(st, op, *w);
        bytes = w->src1.bytes() + (w->src2.valid() ? w->src2.bytes() : 0) + w->dst.bytes();
        break;
    case Impl::opencv:
        runOpenCv(st, op, *w);
        bytes = w->src1.bytes() + (w->src2.valid() ? w->src2.bytes() : 0) + w->dst.bytes();
        break;
    case Impl::memcpy:
        runMemcpy(st, op, *w);
        bytes = 2 * w->dst.bytes();
        break;
    }
    st.SetBytesProcessed(static_cast<std::int64_t>(st.iterations()) * static_cast<std::int64_t>(bytes));
}

std::string g_family = "misc";

std::vector<std::pair<std::string, void (*)()>>& families()
{
    static std::vector<std::pair<std::string, void (*)()>> list;
    return list;
}

}  // namespace

void registerOp(Registered op)
{
    auto shared = std::make_shared<const Registered>(std::move(op));
    for (const OvkiSize size : kSizes) {
        const std::string sizeName = std::to_string(size.width) + "x" + std::to_string(size.height);
        const std::string key = g_family + "/" + shared->info.name + "/" + sizeName;
        std::vector<Impl> impls = {Impl::ovk, Impl::opencv};
        if (shared->info.bound == Bound::memory)
            impls.push_back(Impl::memcpy);
        for (const Impl impl : impls) {
            const std::string name = g_family + "/" + shared->info.name + "/" + implName(impl) + "/" + sizeName;
            benchmark::RegisterBenchmark(name.c_str(),
                                         [shared, impl, size, key](benchmark::State& st) {
                                             run(st, *shared, impl, size, key);
                                         })
                ->UseRealTime()
                ->Unit(benchmark::kMicrosecond);
        }
    }
}

int addFamily(const char* name, void (*fn)())
{
    families().emplace_back(name, fn);
    return static_cast<int>(families().size());
}

void registerFamilies()
{
    auto list = families();
    std::sort(list.begin(), list.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    for (const auto& [name, fn] : list) {
        g_family = name;
        fn();
    }
}

}  // namespace ovkbench
