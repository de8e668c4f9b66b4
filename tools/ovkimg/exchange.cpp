#include "exchange.hpp"

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstddef>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace ovkimg {
namespace {

// ---------------------------------------------------------------------------
// The library's members, by sample type
// ---------------------------------------------------------------------------

template <class T> struct Lib;

#define OVKIMG_LIB(d, T)                                                              \
    template <> struct Lib<T> {                                                       \
        static constexpr auto mirrorC1 = ovkiMirror_##d##_C1R;                        \
        static constexpr auto mirrorC3 = ovkiMirror_##d##_C3R;                        \
        static constexpr auto mirrorC4 = ovkiMirror_##d##_C4R;                        \
        static constexpr auto transposeC1 = ovkiTranspose_##d##_C1R;                  \
        static constexpr auto transposeC3 = ovkiTranspose_##d##_C3R;                  \
        static constexpr auto transposeC4 = ovkiTranspose_##d##_C4R;                  \
        static constexpr auto swapC3 = ovkiSwapChannels_##d##_C3R;                    \
        static constexpr auto swapC4 = ovkiSwapChannels_##d##_C4R;                    \
        static constexpr auto swapAC4 = ovkiSwapChannels_##d##_AC4R;                  \
        static constexpr auto swapC4C3 = ovkiSwapChannels_##d##_C4C3R;                \
        static constexpr auto swapC3C4 = ovkiSwapChannels_##d##_C3C4R;                \
        static constexpr auto replicateC1 = ovkiCopyReplicateBorder_##d##_C1R;        \
        static constexpr auto replicateC3 = ovkiCopyReplicateBorder_##d##_C3R;        \
        static constexpr auto replicateC4 = ovkiCopyReplicateBorder_##d##_C4R;        \
        static constexpr auto constC1 = ovkiCopyConstBorder_##d##_C1R;                \
        static constexpr auto constC3 = ovkiCopyConstBorder_##d##_C3R;                \
        static constexpr auto constC4 = ovkiCopyConstBorder_##d##_C4R;                \
        static constexpr auto copyC3C1 = ovkiCopy_##d##_C3C1R;                        \
        static constexpr auto copyC4C1 = ovkiCopy_##d##_C4C1R;                        \
        static constexpr auto copyC1C3 = ovkiCopy_##d##_C1C3R;                        \
        static constexpr auto copyC1C4 = ovkiCopy_##d##_C1C4R;                        \
        static constexpr auto copyC4C = ovkiCopy_##d##_C4CR;                          \
        static constexpr auto uniform = ovkiAddRandUniform_Direct_##d##_C1IR;         \
        static constexpr auto gauss = ovkiAddRandGauss_Direct_##d##_C1IR;             \
        static constexpr auto setC4 = ovkiSet_##d##_C4R;                              \
        static constexpr auto rampC1 = ovkiImageRamp_##d##_C1R;                       \
        static constexpr auto rampC3 = ovkiImageRamp_##d##_C3R;                       \
        static constexpr auto rampAC4 = ovkiImageRamp_##d##_AC4R;                     \
        static constexpr auto jaehneC1 = ovkiImageJaehne_##d##_C1R;                   \
        static constexpr auto jaehneC3 = ovkiImageJaehne_##d##_C3R;                   \
        static constexpr auto jaehneAC4 = ovkiImageJaehne_##d##_AC4R;                 \
    };
OVKIMG_LIB(8u, Ovk8u)
OVKIMG_LIB(16u, Ovk16u)
#undef OVKIMG_LIB


// ---------------------------------------------------------------------------
// Options
// ---------------------------------------------------------------------------

long long maxSample(SampleType type) { return type == SampleType::U8 ? 255 : 65535; }

std::string sampleRange(SampleType type) {
    return "whole numbers from 0 to " + std::to_string(maxSample(type)) + " for " + typeName(type) + " images";
}

std::string formatNumber(double value) {
    std::string text = std::to_string(value);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
    return text;
}

// The whole number of option `name` from lo to hi (`range` says so in the
// message); `fallback` when absent.
long long wholeNumber(const Options& options, const char* name, long long lo, long long hi, long long fallback,
                      const std::string& range) {
    if (!options.has(name)) return fallback;
    const double value = options.number(name, 0);
    if (value != std::floor(value) || value < double(lo) || value > double(hi)) {
        throw UsageError(std::string("--") + name + ": " + options.text(name) + " is out of range (" + range + ")");
    }
    return static_cast<long long>(value);
}

long long sampleValue(const Options& options, const char* name, SampleType type, long long fallback) {
    return wholeNumber(options, name, 0, maxSample(type), fallback, sampleRange(type));
}

// ---------------------------------------------------------------------------
// mirror, transpose
// ---------------------------------------------------------------------------

OvkiAxis mirrorAxis(const Options& options) {
    if (!options.has("axis")) throw UsageError("needs --axis h|v|both|d45|d135");
    const std::string axis = options.text("axis");
    if (axis == "h") return ovkAxsHorizontal;
    if (axis == "v") return ovkAxsVertical;
    if (axis == "both") return ovkAxsBoth;
    if (axis == "d45") return ovkAxs45;
    if (axis == "d135") return ovkAxs135;
    throw UsageError("--axis: '" + axis + "' is not an axis (h, v, both, d45 or d135)");
}

// ---------------------------------------------------------------------------
// swap
// ---------------------------------------------------------------------------

std::vector<int> channelOrder(const Options& options, int channels) {
    if (!options.has("order")) throw UsageError("needs --order A,B,C" + std::string(channels == 4 ? "[,D]" : ""));
    std::vector<int> order;
    for (double v : options.numbers("order")) {
        if (v != std::floor(v) || v < INT_MIN || v > INT_MAX) {
            throw UsageError("--order: " + formatNumber(v) + " is not a channel number");
        }
        order.push_back(int(v));
    }
    if (int(order.size()) != channels && !(channels == 4 && order.size() == 3)) {
        throw UsageError(std::string("--order takes ") + (channels == 4 ? "3 or 4 entries" : "3 entries") +
                         " for an image of " + std::to_string(channels) + " channels, got " +
                         std::to_string(order.size()));
    }
    return order;
}

// ---------------------------------------------------------------------------
// border
// ---------------------------------------------------------------------------

// The constant of a const border: --value, one for every channel or one per
// channel (three for a 4-channel image give an opaque frame); black, opaque,
// without it.
template <class T>
std::array<T, 4> borderValues(const Options& options, const Image& image) {
    const long long max = maxSample(image.type());
    std::array<T, 4> values = {0, 0, 0, T(max)};
    if (!options.has("value")) return values;
    const std::vector<double> given = options.numbers("value");
    for (double v : given) {
        if (v != std::floor(v) || v < 0 || v > double(max)) {
            throw UsageError("--value: " + formatNumber(v) + " is out of range (" + sampleRange(image.type()) + ")");
        }
    }
    const int channels = image.channels();
    if (given.size() == 1) {
        values.fill(T(given[0]));
    } else if (int(given.size()) == channels || (channels == 4 && given.size() == 3)) {
        for (std::size_t c = 0; c < given.size(); ++c) values[c] = T(given[c]);
    } else {
        const std::string counts = channels == 1 ? "1 value" : channels == 3 ? "1 or 3 values" : "1, 3 or 4 values";
        throw UsageError("--value takes " + counts + " for an image of " + std::to_string(channels) +
                         (channels == 1 ? " channel" : " channels") + ", got " + std::to_string(given.size()));
    }
    return values;
}

// A one-channel 32-bit image from the library's allocator.
class Plane32 {
public:
    Plane32(int width, int height) : data_(ovkiMalloc_32s_C1(width, height, &step_)) {
        if (data_ == nullptr) throw std::runtime_error("cannot allocate a 32-bit plane");
    }
    ~Plane32() { ovkiFree(data_); }
    Plane32(const Plane32&) = delete;
    Plane32& operator=(const Plane32&) = delete;

    Ovk32s* data() { return data_; }
    int step() const { return step_; }
    Ovk32s* row(int y) { return reinterpret_cast<Ovk32s*>(reinterpret_cast<char*>(data_) + std::size_t(y) * step_); }

private:
    int step_ = 0;  // before data_: the allocation sets it
    Ovk32s* data_;
};

// The library wraps 32-bit one-channel images only: each channel goes out
// to a 32-bit plane (exactly: every 8- and 16-bit sample is a 32-bit one),
// gets its border there and comes back.
template <class T>
OvkStatus wrapBorder(const Image& src, Image& dst, OvkiSize dstSize, int top, int left) {
    const int channels = src.channels();
    Plane32 in(src.width(), src.height());
    Plane32 out(dst.width(), dst.height());
    for (int c = 0; c < channels; ++c) {
        for (int y = 0; y < src.height(); ++y) {
            const T* s = src.row<T>(y);
            Ovk32s* d = in.row(y);
            for (int x = 0; x < src.width(); ++x) d[x] = s[std::size_t(x) * channels + c];
        }
        const OvkStatus status =
            ovkiCopyWrapBorder_32s_C1R(in.data(), in.step(), src.size(), out.data(), out.step(), dstSize, top, left);
        if (status < 0) return status;
        for (int y = 0; y < dstSize.height; ++y) {
            const Ovk32s* s = out.row(y);
            T* d = dst.row<T>(y);
            for (int x = 0; x < dstSize.width; ++x) d[std::size_t(x) * channels + c] = T(s[x]);
        }
    }
    return ovkStatusOk;
}

// ---------------------------------------------------------------------------
// ramp, jaehne
// ---------------------------------------------------------------------------

struct NewImageShape {
    SampleType type;
    int channels;
    int width;
    int height;
};

NewImageShape newImageShape(const Options& options) {
    NewImageShape shape{};
    shape.width = options.integer("width", 512);
    shape.height = options.integer("height", 512);
    if (shape.width < 1 || shape.height < 1) throw UsageError("--width and --height must be at least 1");
    const int depth = options.integer("depth", 8);
    if (depth != 8 && depth != 16) throw UsageError("--depth must be 8 or 16");
    shape.type = depth == 8 ? SampleType::U8 : SampleType::U16;
    shape.channels = options.integer("channels", 1);
    if (shape.channels != 1 && shape.channels != 3 && shape.channels != 4) {
        throw UsageError("--channels must be 1, 3 or 4");
    }
    return shape;
}

// A new image of `shape` whose colour channels fill(T{}, image) writes; the
// alpha of four channels is opaque.
template <class Fill>
Result newImage(const NewImageShape& shape, Fill&& fill) {
    Image image(shape.type, shape.channels, shape.width, shape.height);
    return withType(shape.type, [&](auto tag) -> Result {
        using T = decltype(tag);
        if (shape.channels == 4) {
            const T opaque[4] = {0, 0, 0, std::numeric_limits<T>::max()};
            const OvkStatus status = Lib<T>::setC4(opaque, image.data<T>(), image.step(), image.size());
            if (status < 0) return status;
        }
        const OvkStatus status = fill(tag, image);
        return finish(std::move(image), status);
    });
}

}  // namespace

// ---------------------------------------------------------------------------
// Run functions
// ---------------------------------------------------------------------------

Result runMirror(const Options& options, std::span<Image> inputs) {
    const Image& src = inputs[0];
    const OvkiAxis axis = mirrorAxis(options);
    const bool diagonal = axis == ovkAxs45 || axis == ovkAxs135;
    Image out(src.type(), src.channels(), diagonal ? src.height() : src.width(),
              diagonal ? src.width() : src.height());
    return withType(src.type(), [&](auto tag) -> Result {
        using T = decltype(tag);
        using L = Lib<T>;
        const auto fn = byChannels(src.channels(), L::mirrorC1, L::mirrorC3, L::mirrorC4);
        const OvkStatus status = fn(src.data<T>(), src.step(), out.data<T>(), out.step(), src.size(), axis);
        return finish(std::move(out), status);
    });
}

Result runTranspose(const Options&, std::span<Image> inputs) {
    const Image& src = inputs[0];
    Image out(src.type(), src.channels(), src.height(), src.width());
    return withType(src.type(), [&](auto tag) -> Result {
        using T = decltype(tag);
        using L = Lib<T>;
        const auto fn = byChannels(src.channels(), L::transposeC1, L::transposeC3, L::transposeC4);
        const OvkStatus status = fn(src.data<T>(), src.step(), out.data<T>(), out.step(), src.size());
        return finish(std::move(out), status);
    });
}

Result runSwap(const Options& options, std::span<Image> inputs) {
    const Image& src = inputs[0];
    if (src.channels() == 1) {
        throw std::runtime_error("needs an image of 3 or 4 channels, got " + src.describe());
    }
    const std::vector<int> order = channelOrder(options, src.channels());
    Image out(src.type(), src.channels(), src.width(), src.height());
    return withType(src.type(), [&](auto tag) -> Result {
        using T = decltype(tag);
        using L = Lib<T>;
        const T* s = src.data<T>();
        T* d = out.data<T>();
        const OvkiSize size = src.size();
        OvkStatus status;
        if (src.channels() == 3) {
            status = L::swapC3(s, src.step(), d, out.step(), size, order.data());
        } else if (order.size() == 3) {
            // The colour channels only (AC4, which leaves the destination's
            // alpha): the alpha is copied.
            status = L::copyC4C(s + 3, src.step(), d + 3, out.step(), size);
            if (status >= 0) status = L::swapAC4(s, src.step(), d, out.step(), size, order.data());
        } else if (std::find(order.begin(), order.end(), 3) == order.end()) {
            // Every output channel from a colour channel: C4, whose entries
            // name channels 0 to 2.
            status = L::swapC4(s, src.step(), d, out.step(), size, order.data());
        } else {
            // The alpha as a source: C4C3 picks the three colour channels of
            // the output from all four, C3C4 puts them into the output (the
            // entry 4 leaves its alpha), whose alpha is copied from the
            // source channel the fourth entry names.
            if (order[3] < 0 || order[3] > 3) {
                throw UsageError("--order: the fourth entry names the alpha's source channel, 0 to 3");
            }
            Image colour(src.type(), 3, src.width(), src.height());
            const int intoColour[4] = {0, 1, 2, 4};
            status = L::swapC4C3(s, src.step(), colour.data<T>(), colour.step(), size, order.data());
            if (status >= 0) status = L::copyC4C(s + order[3], src.step(), d + 3, out.step(), size);
            if (status >= 0) {
                status = L::swapC3C4(colour.data<T>(), colour.step(), d, out.step(), size, intoColour, T(0));
            }
        }
        return finish(std::move(out), status);
    });
}

Result runBorder(const Options& options, std::span<Image> inputs) {
    const Image& src = inputs[0];
    const std::string type = options.text("type", "replicate");
    if (type != "replicate" && type != "const" && type != "wrap") {
        throw UsageError("--type: '" + type + "' is not a border type (replicate, const or wrap)");
    }
    if (options.has("value") && type != "const") throw UsageError("--value is for --type const");
    const int top = options.integer("top", 0);
    const int left = options.integer("left", 0);
    const int bottom = options.integer("bottom", top);
    const int right = options.integer("right", left);
    const long long width = (long long)src.width() + left + right;
    const long long height = (long long)src.height() + top + bottom;
    if (width > INT_MAX || height > INT_MAX) {
        throw std::runtime_error("unsupported image size " + std::to_string(width) + "x" + std::to_string(height));
    }
    // Negative borders go to the library, which refuses them (and sizes
    // below 1 x 1) before it writes anything: a placeholder pixel then
    // stands for an output without pixels.
    const OvkiSize dstSize = {int(std::max(width, 0LL)), int(std::max(height, 0LL))};
    Image out(src.type(), src.channels(), std::max(dstSize.width, 1), std::max(dstSize.height, 1));
    return withType(src.type(), [&](auto tag) -> Result {
        using T = decltype(tag);
        using L = Lib<T>;
        const T* s = src.data<T>();
        T* d = out.data<T>();
        OvkStatus status;
        if (type == "wrap") {
            status = wrapBorder<T>(src, out, dstSize, top, left);
        } else if (type == "replicate") {
            const auto fn = byChannels(src.channels(), L::replicateC1, L::replicateC3, L::replicateC4);
            status = fn(s, src.step(), src.size(), d, out.step(), dstSize, top, left);
        } else {
            const std::array<T, 4> v = borderValues<T>(options, src);
            switch (src.channels()) {
            case 1: status = L::constC1(s, src.step(), src.size(), d, out.step(), dstSize, top, left, v[0]); break;
            case 3: status = L::constC3(s, src.step(), src.size(), d, out.step(), dstSize, top, left, v.data()); break;
            default: status = L::constC4(s, src.step(), src.size(), d, out.step(), dstSize, top, left, v.data()); break;
            }
        }
        return finish(std::move(out), status);
    });
}

Result runNoise(const Options& options, std::span<Image> inputs) {
    Image& image = inputs[0];
    const std::string kind = options.text("kind", "uniform");
    const bool gauss = kind == "gauss";
    if (!gauss && kind != "uniform") throw UsageError("--kind: '" + kind + "' is not uniform or gauss");
    for (const char* name : gauss ? std::array{"low", "high"} : std::array{"mean", "stddev"}) {
        if (options.has(name)) {
            throw UsageError(std::string("--") + name + " is for --kind " + (gauss ? "uniform" : "gauss"));
        }
    }
    if (!gauss && !options.has("high")) throw UsageError("--kind uniform needs --high (and --low, default 0)");
    if (gauss && !options.has("stddev")) throw UsageError("--kind gauss needs --stddev (and --mean, default 0)");
    const long long a = sampleValue(options, gauss ? "mean" : "low", image.type(), 0);
    const long long b = sampleValue(options, gauss ? "stddev" : "high", image.type(), 0);
    unsigned int seed = unsigned(wholeNumber(options, "seed", 0, std::numeric_limits<unsigned int>::max(), 1,
                                             "whole numbers from 0 to 4294967295"));
    return withType(image.type(), [&](auto tag) -> Result {
        using T = decltype(tag);
        using L = Lib<T>;
        const OvkiSize size = image.size();
        // The seed carries the generator's state on from call to call.
        auto addNoise = [&](T* p, int step) {
            return gauss ? L::gauss(p, step, size, T(a), T(b), &seed) : L::uniform(p, step, size, T(a), T(b), &seed);
        };
        OvkStatus status = ovkStatusOk;
        if (image.channels() == 1) {
            status = addNoise(image.data<T>(), image.step());
            return finish(std::move(image), status);
        }
        // Noise comes for one channel at a time: each colour channel goes
        // out to a plane, gets its noise there and comes back.
        const bool three = image.channels() == 3;
        const auto extract = three ? L::copyC3C1 : L::copyC4C1;
        const auto insert = three ? L::copyC1C3 : L::copyC1C4;
        Image plane(image.type(), 1, image.width(), image.height());
        for (int c = 0; c < 3; ++c) {
            OvkStatus s = extract(image.data<T>() + c, image.step(), plane.data<T>(), plane.step(), size);
            if (s >= 0) s = addNoise(plane.data<T>(), plane.step());
            if (s >= 0) s = insert(plane.data<T>(), plane.step(), image.data<T>() + c, image.step(), size);
            if (s < 0) return s;
            if (s > 0) status = s;
        }
        return finish(std::move(image), status);
    });
}

Result runRamp(const Options& options, std::span<Image>) {
    const NewImageShape shape = newImageShape(options);
    const int axis = options.integer("axis", 0);
    if (axis < 0 || axis > 2) throw UsageError("--axis must be 0 (along x), 1 (along y) or 2 (along x * y)");
    const double w = shape.width - 1, h = shape.height - 1;
    const double span = std::max(1.0, axis == 0 ? w : axis == 1 ? h : w * h);
    const float offset = float(options.number("offset", 0));
    const float slope = float(options.number("slope", double(maxSample(shape.type)) / span));
    return newImage(shape, [&](auto tag, Image& image) {
        using T = decltype(tag);
        using L = Lib<T>;
        const auto fn = byChannels(shape.channels, L::rampC1, L::rampC3, L::rampAC4);
        return fn(image.data<T>(), image.step(), image.size(), offset, slope, axis);
    });
}

Result runJaehne(const Options& options, std::span<Image>) {
    const NewImageShape shape = newImageShape(options);
    return newImage(shape, [&](auto tag, Image& image) {
        using T = decltype(tag);
        using L = Lib<T>;
        const auto fn = byChannels(shape.channels, L::jaehneC1, L::jaehneC3, L::jaehneAC4);
        return fn(image.data<T>(), image.step(), image.size());
    });
}

}  // namespace ovkimg
