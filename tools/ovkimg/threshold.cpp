#include "threshold.hpp"

#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

namespace ovkimg {
namespace {

template <class T> struct Lib;

#define OVKIMG_LIB(d, T)                                                         \
    template <> struct Lib<T> {                                                  \
        static constexpr auto aboveC1 = ovkiThreshold_GTVal_##d##_C1R;           \
        static constexpr auto aboveC3 = ovkiThreshold_GTVal_##d##_C3R;           \
        static constexpr auto aboveAC4 = ovkiThreshold_GTVal_##d##_AC4R;         \
        static constexpr auto belowC1 = ovkiThreshold_LTVal_##d##_C1R;           \
        static constexpr auto belowC3 = ovkiThreshold_LTVal_##d##_C3R;           \
        static constexpr auto belowAC4 = ovkiThreshold_LTVal_##d##_AC4R;         \
        static constexpr auto bothC1 = ovkiThreshold_LTValGTVal_##d##_C1R;       \
        static constexpr auto bothC3 = ovkiThreshold_LTValGTVal_##d##_C3R;       \
        static constexpr auto bothAC4 = ovkiThreshold_LTValGTVal_##d##_AC4R;     \
        static constexpr auto maskC1 = ovkiCompareC_##d##_C1R;                   \
        static constexpr auto maskC3 = ovkiCompareC_##d##_C3R;                   \
        static constexpr auto maskC4 = ovkiCompareC_##d##_C4R;                   \
    };
OVKIMG_LIB(8u, Ovk8u)
OVKIMG_LIB(16u, Ovk16u)
#undef OVKIMG_LIB

// One value per colour channel from an option: a single number for all, or
// one per channel; each within the sample type's range.
template <class T>
std::vector<T> perChannel(const Options& options, const char* name, int channels, double fallback) {
    std::vector<double> v = options.numbers(name, {fallback});
    if (v.size() == 1) v.assign(std::size_t(channels), v[0]);
    if (int(v.size()) != channels) {
        throw UsageError("--" + std::string(name) + " takes 1 or " + std::to_string(channels) + " values");
    }
    std::vector<T> out;
    for (double x : v) {
        if (x < 0 || x > double(T(~T(0))) || x != double(T(x))) {
            throw UsageError("--" + std::string(name) + " values must be whole numbers from 0 to " + std::to_string(T(~T(0))));
        }
        out.push_back(T(x));
    }
    return out;
}

}  // namespace

Result runThreshold(const Options& options, std::span<Image> inputs) {
    const Image& src = inputs[0];
    const bool above = options.has("above"), below = options.has("below");
    if (!above && !below) throw UsageError("give --above T, --below T or both");
    const int colours = src.channels() == 4 ? 3 : src.channels();  // four channels keep their alpha
    // A copy first: the four-channel members leave the destination's alpha as it was.
    Image out = convertChannels(src, src.channels());
    return withType(src.type(), [&](auto tag) -> Result {
        using T = decltype(tag);
        using L = Lib<T>;
        const std::vector<T> hi = perChannel<T>(options, "above", colours, 0), lo = perChannel<T>(options, "below", colours, 0);
        const std::vector<T> hiValue = options.has("high") ? perChannel<T>(options, "high", colours, 0) : hi;
        const std::vector<T> loValue = options.has("low") ? perChannel<T>(options, "low", colours, 0) : lo;
        const T* s = src.data<T>();
        T* d = out.data<T>();
        const int ss = src.step(), ds = out.step();
        const OvkiSize size = src.size();
        OvkStatus status;
        if (colours == 1) {
            status = above && below ? L::bothC1(s, ss, d, ds, size, lo[0], loValue[0], hi[0], hiValue[0])
                     : above        ? L::aboveC1(s, ss, d, ds, size, hi[0], hiValue[0])
                                    : L::belowC1(s, ss, d, ds, size, lo[0], loValue[0]);
        } else {
            const bool c3 = src.channels() == 3;
            status = above && below ? (c3 ? L::bothC3 : L::bothAC4)(s, ss, d, ds, size, lo.data(), loValue.data(), hi.data(),
                                                                   hiValue.data())
                     : above        ? (c3 ? L::aboveC3 : L::aboveAC4)(s, ss, d, ds, size, hi.data(), hiValue.data())
                                    : (c3 ? L::belowC3 : L::belowAC4)(s, ss, d, ds, size, lo.data(), loValue.data());
        }
        if (status == ovkStatusThresholdError) throw UsageError("--below must not exceed --above");
        return finish(std::move(out), status);
    });
}

Result runMask(const Options& options, std::span<Image> inputs) {
    const Image& src = inputs[0];
    static const std::pair<const char*, OvkCmpOp> kOps[] = {{"lt", ovkCmpLess},       {"le", ovkCmpLessEq}, {"eq", ovkCmpEq},
                                                            {"ge", ovkCmpGreaterEq}, {"gt", ovkCmpGreater}};
    const std::string opName = options.text("op", "gt");
    OvkCmpOp op = OvkCmpOp(-1);
    for (const auto& [name, code] : kOps)
        if (opName == name) op = code;
    if (op < 0) throw UsageError("--op must be lt, le, eq, ge or gt");
    Image out(SampleType::U8, 1, src.width(), src.height());
    return withType(src.type(), [&](auto tag) -> Result {
        using T = decltype(tag);
        using L = Lib<T>;
        const std::vector<T> value = perChannel<T>(options, "value", src.channels(), 128);
        const T* s = src.data<T>();
        Ovk8u* d = out.data<Ovk8u>();
        const OvkStatus status =
            src.channels() == 1 ? L::maskC1(s, src.step(), value[0], d, out.step(), src.size(), op)
            : src.channels() == 3 ? L::maskC3(s, src.step(), value.data(), d, out.step(), src.size(), op)
                                  : L::maskC4(s, src.step(), value.data(), d, out.step(), src.size(), op);
        return finish(std::move(out), status);
    });
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
    static const std::pair<const char*, OvkRoundMode> kModes[] = {{"zero", ovkRndZero}, {"near", ovkRndNear}, {"financial", ovkRndFinancial}};
    const std::string modeName = options.text("round", "near");
    OvkRoundMode mode = OvkRoundMode(-1);
    for (const auto& [name, code] : kModes)
        if (modeName == name) mode = code;
    if (mode < 0) throw UsageError("--round must be zero, near or financial");
    const std::vector<double> range = options.numbers("range", {});
    if (!range.empty() && (range.size() != 2 || !(range[1] > range[0]))) throw UsageError("--range takes LO,HI with LO < HI");

    const int c = src.channels(), w = src.width() * c;
    const OvkiSize row{w, src.height()};  // every channel as one channel: the maps are the same for all
    Image out(to == 8 ? SampleType::U8 : SampleType::U16, c, src.width(), src.height());
    const bool from8 = src.type() == SampleType::U8;
    if (from8 == (to == 8)) return convertChannels(src, c);  // already that depth: a copy
    std::vector<Ovk32f> mid(std::size_t(w) * std::size_t(src.height()));
    const int midStep = w * int(sizeof(Ovk32f));
    OvkStatus status;
    if (from8) {  // 0..255 onto 0..65535, or onto LO..HI then rounded to 16 bits
        status = range.empty()
                     ? ovkiScale_8u16u_C1R(src.data<Ovk8u>(), src.step(), out.data<Ovk16u>(), out.step(), row)
                     : ovkiScale_8u32f_C1R(src.data<Ovk8u>(), src.step(), mid.data(), midStep, row, Ovk32f(range[0]), Ovk32f(range[1]));
        if (!range.empty() && status >= 0) status = ovkiConvert_32f16u_C1R(mid.data(), midStep, out.data<Ovk16u>(), out.step(), row, mode);
    } else {  // 0..65535 (or LO..HI) onto 0..255
        const OvkHintAlgorithm hint = options.has("accurate") ? ovkAlgHintAccurate : ovkAlgHintFast;
        status = range.empty()
                     ? ovkiScale_16u8u_C1R(src.data<Ovk16u>(), src.step(), out.data<Ovk8u>(), out.step(), row, hint)
                     : ovkiConvert_16u32f_C1R(src.data<Ovk16u>(), src.step(), mid.data(), midStep, row);
        if (!range.empty() && status >= 0)
            status = ovkiScale_32f8u_C1R(mid.data(), midStep, out.data<Ovk8u>(), out.step(), row, Ovk32f(range[0]), Ovk32f(range[1]));
    }
    return finish(std::move(out), status);
}

}  // namespace ovkimg
