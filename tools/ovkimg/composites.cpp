// ovkimg: the operations that take more than one library call (their table
// entries and help are in operations.cpp). Each reaches the library's members
// by family and layout through library.hpp, so one code path serves 8- and
// 16-bit images.
#include "library.hpp"
#include "operations.hpp"

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace ovkimg {
namespace {

// The member of `family` for samples of `type` in `layout`.
const Function& memberFor(const std::string& family, SampleType type, const std::string& layout, bool inPlace = false) {
    const Function* f = member(family, typeName(type), layout, inPlace);
    if (f == nullptr) throw std::runtime_error("the library has no " + family + " for " + typeName(type) + " " + layout);
    return *f;
}

std::string layoutOf(int channels) { return std::string(1, 'C') += std::to_string(channels); }

// Channel c of the first pixel.
void* channel(Image& image, int c) { return image.data<Ovk8u>() + c * bytesPerSample(image.type()); }
const void* channel(const Image& image, int c) { return image.data<Ovk8u>() + c * bytesPerSample(image.type()); }

double maxSample(SampleType type) { return type == SampleType::U8 ? 255 : 65535; }

// A whole number of option `name` from lo to hi; `fallback` when absent.
double wholeNumber(const Options& options, const char* name, double lo, double hi, double fallback) {
    if (!options.has(name)) return fallback;
    const double value = options.number(name, 0);
    if (value != std::floor(value) || value < lo || value > hi) {
        throw UsageError(std::string("--") + name + ": " + options.text(name) + " is out of range (whole numbers from " +
                         std::to_string((long long)lo) + " to " + std::to_string((long long)hi) + ")");
    }
    return value;
}

// One value for every channel or one per channel (three for four channels
// leave the alpha: `fourth` is then kept); samples of `type`.
std::vector<double> channelValues(const Options& options, const char* name, const Image& image,
                                  std::vector<double> values) {
    const std::vector<double> given = options.numbers(name);
    const int channels = image.channels();
    for (double v : given) {
        if (v != std::floor(v) || v < 0 || v > maxSample(image.type())) {
            throw UsageError(std::string("--") + name + ": " + options.text(name) + " is out of range (whole numbers from 0 to " +
                             std::to_string(int(maxSample(image.type()))) + " for " + typeName(image.type()) + " images)");
        }
    }
    if (given.size() == 1) {
        std::fill(values.begin(), values.begin() + channels, given[0]);
    } else if (int(given.size()) == channels || (channels == 4 && given.size() == 3)) {
        std::copy(given.begin(), given.end(), values.begin());
    } else {
        throw UsageError(std::string("--") + name + " takes " +
                         (channels == 1 ? "1 value" : channels == 3 ? "1 or 3 values" : "1, 3 or 4 values") +
                         " for an image of " + std::to_string(channels) + (channels == 1 ? " channel" : " channels") +
                         ", got " + std::to_string(given.size()));
    }
    values.resize(std::size_t(channels));
    return values;
}

// Calls body(plane) for every colour channel of `image` as a one-channel
// image and puts the plane back; the first error stops, the last warning is
// kept. A one-channel image is its own plane.
template <class Body>
OvkStatus perColourChannel(Image& image, Body&& body) {
    if (image.channels() == 1) return body(image);
    const std::string layout = layoutOf(image.channels());
    Image plane(image.type(), 1, image.width(), image.height());
    OvkStatus result = ovkStatusOk;
    for (int c = 0; c < 3; ++c) {
        OvkStatus s = invoke(memberFor("Copy", image.type(), layout + "C1"),
                             {channel(image, c), image.step(), plane.data<void>(), plane.step(), image.size()});
        if (s >= 0) s = body(plane);
        if (s >= 0) {
            s = invoke(memberFor("Copy", image.type(), "C1" + layout),
                       {plane.data<void>(), plane.step(), channel(image, c), image.step(), image.size()});
        }
        if (s < 0) return s;
        if (s > 0) result = s;
    }
    return result;
}

// The library wraps 32-bit one-channel images only: each plane goes to a
// 32-bit one (exactly: every 8- and 16-bit sample is a 32-bit one), gets its
// border there and comes back.
template <class T>
OvkStatus wrapBorder(const Image& src, Image& dst, OvkiSize dstSize, int top, int left) {
    const int channels = src.channels();
    int inStep = 0, outStep = 0;
    std::unique_ptr<Ovk32s, decltype(&ovkiFree)> in(ovkiMalloc_32s_C1(src.width(), src.height(), &inStep), ovkiFree);
    std::unique_ptr<Ovk32s, decltype(&ovkiFree)> out(ovkiMalloc_32s_C1(dst.width(), dst.height(), &outStep), ovkiFree);
    if (!in || !out) throw std::runtime_error("cannot allocate a 32-bit plane");
    auto row = [](Ovk32s* p, int step, int y) { return reinterpret_cast<Ovk32s*>(reinterpret_cast<char*>(p) + std::size_t(y) * step); };
    for (int c = 0; c < channels; ++c) {
        for (int y = 0; y < src.height(); ++y) {
            for (int x = 0; x < src.width(); ++x) row(in.get(), inStep, y)[x] = src.row<T>(y)[std::size_t(x) * channels + c];
        }
        const OvkStatus status = ovkiCopyWrapBorder_32s_C1R(in.get(), inStep, src.size(), out.get(), outStep, dstSize, top, left);
        if (status < 0) return status;
        for (int y = 0; y < dstSize.height; ++y) {
            for (int x = 0; x < dstSize.width; ++x) dst.row<T>(y)[std::size_t(x) * channels + c] = T(row(out.get(), outStep, y)[x]);
        }
    }
    return ovkStatusOk;
}

// The shape of a new image from --width, --height, --depth and --channels.
Image newImage(const Options& options) {
    const int width = options.integer("width", 512), height = options.integer("height", 512);
    if (width < 1 || height < 1) throw UsageError("--width and --height must be at least 1");
    const int depth = options.integer("depth", 8);
    if (depth != 8 && depth != 16) throw UsageError("--depth must be 8 or 16");
    const int channels = options.integer("channels", 1);
    if (channels != 1 && channels != 3 && channels != 4) throw UsageError("--channels must be 1, 3 or 4");
    return Image(depth == 8 ? SampleType::U8 : SampleType::U16, channels, width, height);
}

// Fills the colour channels of `image` by the generator `family` with
// `params` after the ROI; the alpha of four channels is opaque.
Result generate(Image&& image, const std::string& family, std::vector<Arg> params) {
    OvkStatus status = ovkStatusOk;
    if (image.channels() == 4) {
        status = invoke(memberFor("Set", image.type(), "C4"), {std::vector<double>{0, 0, 0, maxSample(image.type())},
                                                              image.data<void>(), image.step(), image.size()});
    }
    std::vector<Arg> args = {image.data<void>(), image.step(), image.size()};
    args.insert(args.end(), params.begin(), params.end());
    if (status >= 0) status = invoke(memberFor(family, image.type(), image.channels() == 4 ? "AC4" : layoutOf(image.channels())), args);
    return finish(std::move(image), status);
}

}  // namespace

Result runSwap(const Options& options, std::span<Image> inputs) {
    const Image& src = inputs[0];
    const int channels = src.channels();
    if (channels == 1) throw std::runtime_error("needs an image of 3 or 4 channels, got " + src.describe());
    if (!options.has("order")) throw UsageError("needs --order A,B,C" + std::string(channels == 4 ? "[,D]" : ""));
    std::vector<double> order = options.numbers("order");
    for (double v : order) {
        if (v != std::floor(v) || v < INT_MIN || v > INT_MAX) throw UsageError("--order: " + options.text("order") + " is not a list of channel numbers");
    }
    if (int(order.size()) != channels && !(channels == 4 && order.size() == 3)) {
        throw UsageError(std::string("--order takes ") + (channels == 4 ? "3 or 4 entries" : "3 entries") +
                         " for an image of " + std::to_string(channels) + " channels, got " + std::to_string(order.size()));
    }
    Image out(src.type(), channels, src.width(), src.height());
    const SampleType t = src.type();
    const OvkiSize size = src.size();
    auto swap = [&](const char* layout, std::vector<Arg> args) { return invoke(memberFor("SwapChannels", t, layout), args); };
    auto copyChannel = [&](int from, int to) {
        return invoke(memberFor("Copy", t, "C4CR"), {channel(src, from), src.step(), channel(out, to), out.step(), size});
    };
    OvkStatus status;
    if (channels == 3) {
        status = swap("C3", {src.data<void>(), src.step(), out.data<void>(), out.step(), size, order});
    } else if (order.size() == 3) {  // the colour channels only (AC4 leaves the alpha): the alpha is copied
        status = copyChannel(3, 3);
        if (status >= 0) status = swap("AC4", {src.data<void>(), src.step(), out.data<void>(), out.step(), size, order});
    } else if (std::find(order.begin(), order.end(), 3.0) == order.end()) {  // C4 entries name channels 0 to 2
        status = swap("C4", {src.data<void>(), src.step(), out.data<void>(), out.step(), size, order});
    } else {
        // The alpha as a source: C4C3 picks the colour channels of the output
        // from all four, C3C4 puts them into the output (the entry 4 leaves
        // its alpha), whose alpha is copied from the channel the fourth entry names.
        if (order[3] < 0 || order[3] > 3) throw UsageError("--order: the fourth entry names the alpha's source channel, 0 to 3");
        Image colour(t, 3, src.width(), src.height());
        status = swap("C4C3", {src.data<void>(), src.step(), colour.data<void>(), colour.step(), size,
                               std::vector<double>(order.begin(), order.begin() + 3)});
        if (status >= 0) status = copyChannel(int(order[3]), 3);
        if (status >= 0) {
            status = swap("C3C4", {colour.data<void>(), colour.step(), out.data<void>(), out.step(), size,
                                   std::vector<double>{0, 1, 2, 4}, 0});
        }
    }
    return finish(std::move(out), status);
}

Result runBorder(const Options& options, std::span<Image> inputs) {
    const Image& src = inputs[0];
    const std::string type = options.text("type", "replicate");
    if (type != "replicate" && type != "const" && type != "wrap") {
        throw UsageError("--type: '" + type + "' is not a border type (replicate, const or wrap)");
    }
    if (options.has("value") && type != "const") throw UsageError("--value is for --type const");
    const int top = options.integer("top", 0), left = options.integer("left", 0);
    const int bottom = options.integer("bottom", top), right = options.integer("right", left);
    const long long width = (long long)src.width() + left + right, height = (long long)src.height() + top + bottom;
    if (width > INT_MAX || height > INT_MAX) {
        throw std::runtime_error("unsupported image size " + std::to_string(width) + "x" + std::to_string(height));
    }
    // Negative borders go to the library, which refuses them (and sizes
    // below 1 x 1) before it writes anything: a placeholder pixel then
    // stands for an output without pixels.
    const OvkiSize dstSize = {int(std::max(width, 0LL)), int(std::max(height, 0LL))};
    Image out(src.type(), src.channels(), std::max(dstSize.width, 1), std::max(dstSize.height, 1));
    OvkStatus status;
    if (type == "wrap") {
        status = src.type() == SampleType::U8 ? wrapBorder<Ovk8u>(src, out, dstSize, top, left)
                                              : wrapBorder<Ovk16u>(src, out, dstSize, top, left);
    } else {
        std::vector<Arg> args = {src.data<void>(), src.step(), src.size(), out.data<void>(), out.step(), dstSize, top, left};
        if (type == "const") {  // black and opaque without --value
            const std::vector<double> v = channelValues(options, "value", src, {0, 0, 0, maxSample(src.type())});
            args.push_back(src.channels() == 1 ? Arg(v[0]) : Arg(v));
        }
        status = invoke(memberFor(type == "const" ? "CopyConstBorder" : "CopyReplicateBorder", src.type(),
                                  layoutOf(src.channels())), args);
    }
    return finish(std::move(out), status);
}

Result runNoise(const Options& options, std::span<Image> inputs) {
    Image& image = inputs[0];
    const std::string kind = options.text("kind", "uniform");
    const bool gauss = kind == "gauss";
    if (!gauss && kind != "uniform") throw UsageError("--kind: '" + kind + "' is not uniform or gauss");
    for (const char* name : gauss ? std::vector{"low", "high"} : std::vector{"mean", "stddev"}) {
        if (options.has(name)) throw UsageError(std::string("--") + name + " is for --kind " + (gauss ? "uniform" : "gauss"));
    }
    if (!gauss && !options.has("high")) throw UsageError("--kind uniform needs --high (and --low, default 0)");
    if (gauss && !options.has("stddev")) throw UsageError("--kind gauss needs --stddev (and --mean, default 0)");
    const double max = maxSample(image.type());
    const double a = wholeNumber(options, gauss ? "mean" : "low", 0, max, 0);
    const double b = wholeNumber(options, gauss ? "stddev" : "high", 0, max, 0);
    unsigned int seed = unsigned(wholeNumber(options, "seed", 0, std::numeric_limits<unsigned int>::max(), 1));
    const Function& noise = memberFor(gauss ? "AddRandGauss_Direct" : "AddRandUniform_Direct", image.type(), "C1", true);
    // The seed carries the generator's state on from channel to channel.
    const OvkStatus status = perColourChannel(image, [&](Image& plane) {
        return invoke(noise, {plane.data<void>(), plane.step(), plane.size(), a, b, &seed});
    });
    return finish(std::move(image), status);
}

Result runRamp(const Options& options, std::span<Image>) {
    Image image = newImage(options);
    const int axis = options.integer("axis", 0);
    if (axis < 0 || axis > 2) throw UsageError("--axis must be 0 (along x), 1 (along y) or 2 (along x * y)");
    const double w = image.width() - 1, h = image.height() - 1;
    const double span = std::max(1.0, axis == 0 ? w : axis == 1 ? h : w * h);
    const float offset = float(options.number("offset", 0));
    const float slope = float(options.number("slope", maxSample(image.type()) / span));
    return generate(std::move(image), "ImageRamp", {double(offset), double(slope), axis});
}

Result runJaehne(const Options& options, std::span<Image>) { return generate(newImage(options), "ImageJaehne", {}); }

// Per channel: sum, mean, extremes with their first positions, norms; a
// table with one column per channel.
Result runStats(const Options&, std::span<Image> inputs) {
    const Image& src = inputs[0];
    const int channels = src.channels();
    static const char* const kNames[] = {"R", "G", "B", "A"};
    std::printf("%-10s", src.describe().c_str());
    for (int c = 0; c < channels; ++c) std::printf("%22s", channels == 1 ? "gray" : kNames[c]);
    std::printf("\n");
    const std::pair<const char*, const char*> rows[] = {{"sum", "Sum"}, {"mean", "Mean"}, {"min", "MinIndx"}, {"max", "MaxIndx"},
                                                        {"norm Inf", "Norm_Inf"}, {"norm L1", "Norm_L1"}, {"norm L2", "Norm_L2"}};
    for (const auto& [label, family] : rows) {
        const Function& f = memberFor(family, src.type(), layoutOf(channels));
        std::vector<Arg> args = {src.data<void>(), src.step(), src.size()};
        std::vector<std::array<std::uint8_t, 64>> cells(f.params.size() - 3);
        for (auto& cell : cells) args.emplace_back(static_cast<const void*>(cell.data()));
        const OvkStatus status = invoke(f, args);
        if (status < 0) return status;
        std::printf("%-10s", label);
        for (int c = 0; c < channels; ++c) {
            auto at = [&](std::size_t k) {
                const std::string& elem = f.params[3 + k].elem;
                return ovk::apicall::readPart(elem, cells[k].data() + c * ovk::apicall::elementBytes(elem));
            };
            char text[64];
            if (cells.size() == 3) std::snprintf(text, sizeof text, "%.6Lg at (%d, %d)", at(0), int(at(1)), int(at(2)));
            else std::snprintf(text, sizeof text, "%.10Lg", at(0));
            std::printf("%22s", text);
        }
        std::printf("\n");
    }
    return ovkStatusOk;
}

// Per channel (alpha too) the structural similarity of two images: each
// channel goes to a 32-bit float plane, whose SSIM the library computes with
// the sample type's range as the dynamic range.
Result runSsim(const Options&, std::span<Image> inputs) {
    const Image& a = inputs[0];
    const Image& b = inputs[1];
    if (a.describe() != b.describe()) throw std::runtime_error("the images differ in layout: " + a.describe() + " and " + b.describe());
    const int channels = a.channels();
    const OvkiSize size = a.size();
    const int step = size.width * int(sizeof(Ovk32f));
    const Function& toFloat = exported(std::string("ovkiConvert_") + typeName(a.type()) + "32f_C1R");
    double total = 0;
    for (int c = 0; c < channels; ++c) {
        std::vector<Ovk32f> planes[2] = {std::vector<Ovk32f>(std::size_t(size.width) * size.height), std::vector<Ovk32f>(std::size_t(size.width) * size.height)};
        for (int k = 0; k < 2; ++k) {
            Image plane(a.type(), 1, size.width, size.height);
            const Image& from = k == 0 ? a : b;
            OvkStatus s = channels == 1 ? ovkStatusOk
                                        : invoke(memberFor("Copy", a.type(), layoutOf(channels) + "C1"),
                                                 {channel(from, c), from.step(), plane.data<void>(), plane.step(), size});
            const Image& one = channels == 1 ? from : plane;
            if (s >= 0) s = invoke(toFloat, {one.data<void>(), one.step(), planes[k].data(), step, size});
            if (s < 0) return s;
        }
        Ovk32f ssim = 0;
        const OvkStatus s = ovkiSSIM_32f_C1R(planes[0].data(), step, planes[1].data(), step, size, Ovk32f(maxSample(a.type())), &ssim);
        if (s < 0) return s;
        std::printf("ssim %s: %.6f\n", channels == 1 ? "gray" : std::string(1, "RGBA"[c]).c_str(), double(ssim));
        total += ssim;
    }
    if (channels > 1) std::printf("ssim mean: %.6f\n", total / channels);
    return ovkStatusOk;
}

Result runOtsu(const Options&, std::span<Image> inputs) {
    if (inputs[0].type() != SampleType::U8) throw std::runtime_error("needs an 8-bit image, got " + inputs[0].describe());
    const Image src = convertChannels(inputs[0], 1);  // colour images by their luma
    Ovk8u level = 0;
    OvkStatus status = ovkiComputeThreshold_Otsu_8u_C1R(src.data<Ovk8u>(), src.step(), src.size(), &level);
    if (status < 0) return status;
    std::printf("otsu threshold: %d (levels up to it form the dark class)\n", int(level));
    Image out(SampleType::U8, 1, src.width(), src.height());
    status = ovkiCompareC_8u_C1R(src.data<Ovk8u>(), src.step(), level, out.data<Ovk8u>(), out.step(), src.size(), ovkCmpGreater);
    return finish(std::move(out), status);
}

Result runDepth(const Options& options, std::span<Image> inputs) {
    const Image& src = inputs[0];
    const int to = options.integer("to", src.type() == SampleType::U8 ? 16 : 8);
    if (to != 8 && to != 16) throw UsageError("--to must be 8 or 16");
    const std::vector<std::string> modes = {"zero", "near", "financial"};
    const auto mode = std::find(modes.begin(), modes.end(), options.text("round", "near"));
    if (mode == modes.end()) throw UsageError("--round must be zero, near or financial");
    const std::vector<double> range = options.numbers("range", {});
    if (!range.empty() && (range.size() != 2 || !(range[1] > range[0]))) throw UsageError("--range takes LO,HI with LO < HI");

    const SampleType outType = to == 8 ? SampleType::U8 : SampleType::U16;
    if (outType == src.type()) return convertChannels(src, src.channels());  // already that depth: a copy
    // Every channel as one channel: the maps are the same for all.
    const OvkiSize row{src.width() * src.channels(), src.height()};
    Image out(outType, src.channels(), src.width(), src.height());
    const std::string from = typeName(src.type()), into = typeName(outType);
    auto call = [&](const std::string& name, std::vector<Arg> args) { return invoke(exported("ovki" + name + "_C1R"), args); };
    OvkStatus status;
    if (range.empty()) {  // the whole range: 0..255 onto 0..65535 or back (fast, or --accurate)
        std::vector<Arg> args = {src.data<void>(), src.step(), out.data<void>(), out.step(), row};
        if (outType == SampleType::U8) args.emplace_back(options.has("accurate") ? int(ovkAlgHintAccurate) : int(ovkAlgHintFast));
        status = call("Scale_" + from + into, args);
    } else {  // through 32-bit floats: 0..255 onto LO..HI then rounded, or LO..HI onto 0..255
        std::vector<Ovk32f> mid(std::size_t(row.width) * std::size_t(row.height));
        const int midStep = row.width * int(sizeof(Ovk32f));
        const bool up = outType == SampleType::U16;
        status = up ? call("Scale_8u32f", {src.data<void>(), src.step(), mid.data(), midStep, row, range[0], range[1]})
                    : call("Convert_16u32f", {src.data<void>(), src.step(), mid.data(), midStep, row});
        if (status >= 0) {
            status = up ? call("Convert_32f16u", {mid.data(), midStep, out.data<void>(), out.step(), row, int(mode - modes.begin())})
                        : call("Scale_32f8u", {mid.data(), midStep, out.data<void>(), out.step(), row, range[0], range[1]});
        }
    }
    return finish(std::move(out), status);
}

}  // namespace ovkimg
