#include "arithmetic.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace ovkimg {
namespace {

// ---------------------------------------------------------------------------
// The library's functions, by family and member
// ---------------------------------------------------------------------------

// Signatures of the members. Those of C3, C4 and AC4 members that take a
// constant take it as an array; the C1 member takes one value.
template <class T> using BinarySfs = OvkStatus (*)(const T*, int, const T*, int, T*, int, OvkiSize, int);
template <class T> using Binary = OvkStatus (*)(const T*, int, const T*, int, T*, int, OvkiSize);
template <class T> using UnarySfs = OvkStatus (*)(const T*, int, T*, int, OvkiSize, int);
template <class T> using Unary = OvkStatus (*)(const T*, int, T*, int, OvkiSize);
template <class T> using ConstantSfs = OvkStatus (*)(const T*, int, T, T*, int, OvkiSize, int);
template <class T> using ConstantsSfs = OvkStatus (*)(const T*, int, const T*, T*, int, OvkiSize, int);
template <class T> using Shift = OvkStatus (*)(const T*, int, Ovk32u, T*, int, OvkiSize);
template <class T> using Shifts = OvkStatus (*)(const T*, int, const Ovk32u*, T*, int, OvkiSize);

// The members of one family for one sample type; null where the library has
// none.
template <class Fn1, class FnN = Fn1>
struct Members {
    Fn1 c1 = nullptr;
    FnN c3 = nullptr;
    FnN c4 = nullptr;
    FnN ac4 = nullptr;
};

template <class M8, class M16>
struct Family {
    const char* name;    // as in the library's function names: "Add"
    const char* suffix;  // what follows the channel code: "RSfs"
    M8 u8;
    M16 u16;
};

template <template <class> class Fn>
using FamilyOf = Family<Members<Fn<Ovk8u>>, Members<Fn<Ovk16u>>>;
template <template <class> class Fn1, template <class> class FnN>
using ConstantFamilyOf = Family<Members<Fn1<Ovk8u>, FnN<Ovk8u>>, Members<Fn1<Ovk16u>, FnN<Ovk16u>>>;

// The members ovki<fn>_<depth>_{C1,C3,C4,AC4}<suffix>, and a family of all
// eight.
#define OVKIMG_MEMBERS(fn, depth, suffix)                                   \
    {ovki##fn##_##depth##_C1##suffix, ovki##fn##_##depth##_C3##suffix,     \
     ovki##fn##_##depth##_C4##suffix, ovki##fn##_##depth##_AC4##suffix}
#define OVKIMG_FAMILY(fn, suffix) \
    {#fn, #suffix, OVKIMG_MEMBERS(fn, 8u, suffix), OVKIMG_MEMBERS(fn, 16u, suffix)}

const FamilyOf<BinarySfs> kAdd = OVKIMG_FAMILY(Add, RSfs);
const FamilyOf<BinarySfs> kSub = OVKIMG_FAMILY(Sub, RSfs);
const FamilyOf<BinarySfs> kMul = OVKIMG_FAMILY(Mul, RSfs);
const FamilyOf<BinarySfs> kDiv = OVKIMG_FAMILY(Div, RSfs);
const FamilyOf<Binary> kMulScale = OVKIMG_FAMILY(MulScale, R);
const FamilyOf<Binary> kAnd = OVKIMG_FAMILY(And, R);
const FamilyOf<Binary> kOr = OVKIMG_FAMILY(Or, R);
const FamilyOf<Binary> kXor = OVKIMG_FAMILY(Xor, R);

const ConstantFamilyOf<ConstantSfs, ConstantsSfs> kAddC = OVKIMG_FAMILY(AddC, RSfs);
const ConstantFamilyOf<ConstantSfs, ConstantsSfs> kSubC = OVKIMG_FAMILY(SubC, RSfs);
const ConstantFamilyOf<ConstantSfs, ConstantsSfs> kMulC = OVKIMG_FAMILY(MulC, RSfs);
const ConstantFamilyOf<ConstantSfs, ConstantsSfs> kDivC = OVKIMG_FAMILY(DivC, RSfs);
const ConstantFamilyOf<Shift, Shifts> kLShiftC = OVKIMG_FAMILY(LShiftC, R);
const ConstantFamilyOf<Shift, Shifts> kRShiftC = OVKIMG_FAMILY(RShiftC, R);

const FamilyOf<UnarySfs> kSqr = OVKIMG_FAMILY(Sqr, RSfs);
// Square roots of four channels exist only as AC4.
const FamilyOf<UnarySfs> kSqrt = {"Sqrt",
                                  "RSfs",
                                  {ovkiSqrt_8u_C1RSfs, ovkiSqrt_8u_C3RSfs, nullptr, ovkiSqrt_8u_AC4RSfs},
                                  {ovkiSqrt_16u_C1RSfs, ovkiSqrt_16u_C3RSfs, nullptr, ovkiSqrt_16u_AC4RSfs}};
// Not exists for 8u only.
const FamilyOf<Unary> kNot = {"Not", "R", OVKIMG_MEMBERS(Not, 8u, R), {}};

#undef OVKIMG_FAMILY
#undef OVKIMG_MEMBERS

// ---------------------------------------------------------------------------
// Choosing and calling a member
// ---------------------------------------------------------------------------

enum class Layout { C1, C3, C4, AC4 };

const char* layoutName(Layout layout) {
    switch (layout) {
    case Layout::C1: return "C1";
    case Layout::C3: return "C3";
    case Layout::C4: return "C4";
    case Layout::AC4: return "AC4";
    }
    return "?";
}

template <class M>
bool hasMember(const M& m, Layout layout) {
    switch (layout) {
    case Layout::C1: return m.c1 != nullptr;
    case Layout::C3: return m.c3 != nullptr;
    case Layout::C4: return m.c4 != nullptr;
    case Layout::AC4: return m.ac4 != nullptr;
    }
    return false;
}

// "ovkiSqrt_16u_C4RSfs"
std::string functionName(const char* family, SampleType type, Layout layout, const char* suffix) {
    return std::string("ovki") + family + "_" + typeName(type) + "_" + layoutName(layout) + suffix;
}

// The member for images of `type` with `channels` channels. Four channels
// take C4, or AC4 when `colourOnly` or when the library has no C4 member.
template <class M8, class M16>
Layout chooseLayout(const Family<M8, M16>& family, SampleType type, int channels, bool colourOnly) {
    auto has = [&](Layout layout) {
        return type == SampleType::U8 ? hasMember(family.u8, layout) : hasMember(family.u16, layout);
    };
    std::vector<Layout> wanted;
    switch (channels) {
    case 1: wanted = {Layout::C1}; break;
    case 3: wanted = {Layout::C3}; break;
    case 4: wanted = colourOnly ? std::vector{Layout::AC4} : std::vector{Layout::C4, Layout::AC4}; break;
    default: throw std::runtime_error("unsupported channel count " + std::to_string(channels));
    }
    for (Layout layout : wanted) {
        if (has(layout)) return layout;
    }
    std::string missing;
    for (Layout layout : wanted) {
        missing += (missing.empty() ? "" : " or ") + functionName(family.name, type, layout, family.suffix);
    }
    std::string offered;
    for (SampleType t : {SampleType::U8, SampleType::U16}) {
        for (Layout layout : {Layout::C1, Layout::C3, Layout::C4, Layout::AC4}) {
            const bool present = t == SampleType::U8 ? hasMember(family.u8, layout) : hasMember(family.u16, layout);
            if (present) offered += std::string(offered.empty() ? "" : ", ") + typeName(t) + " " + layoutName(layout);
        }
    }
    throw std::runtime_error(std::string("no library function for ") + typeName(type) + " images of " +
                             std::to_string(channels) + (channels == 1 ? " channel" : " channels") + " (" + missing +
                             " does not exist; " + family.name + " takes " + offered + ")");
}

// Copies the fourth channel of `src` into `dst`: AC4 members leave the
// destination's alpha as it is.
template <class T>
void copyAlpha(const Image& src, Image& dst) {
    for (int y = 0; y < src.height(); ++y) {
        const T* s = src.row<T>(y);
        T* d = dst.row<T>(y);
        for (int x = 0; x < src.width(); ++x) d[4 * x + 3] = s[4 * x + 3];
    }
}

// Calls `body(T{}, member, output)` with the member for `layout`.
template <class T, class M, class Body>
OvkStatus callMember(const M& m, Layout layout, Image& output, Body&& body) {
    switch (layout) {
    case Layout::C1: return body(T{}, m.c1, output);
    case Layout::C3: return body(T{}, m.c3, output);
    case Layout::C4: return body(T{}, m.c4, output);
    case Layout::AC4: return body(T{}, m.ac4, output);
    }
    throw std::logic_error("no layout");
}

// Calls `body(T{}, member, output)` with the member of `family` for the
// layout of `layoutOf` and a new output image of that layout; the output's
// alpha is `layoutOf`'s when the member is AC4. An error status gives no
// image.
template <class M8, class M16, class Body>
Result apply(const Family<M8, M16>& family, const Image& layoutOf, bool colourOnly, Body&& body) {
    const Layout layout = chooseLayout(family, layoutOf.type(), layoutOf.channels(), colourOnly);
    Image output(layoutOf.type(), layoutOf.channels(), layoutOf.width(), layoutOf.height());
    OvkStatus status;
    if (layoutOf.type() == SampleType::U8) {
        if (layout == Layout::AC4) copyAlpha<Ovk8u>(layoutOf, output);
        status = callMember<Ovk8u>(family.u8, layout, output, body);
    } else {
        if (layout == Layout::AC4) copyAlpha<Ovk16u>(layoutOf, output);
        status = callMember<Ovk16u>(family.u16, layout, output, body);
    }
    if (status < 0) return status;  // the output holds nothing worth writing
    return Result(std::move(output), status);
}

// Calls `fn(args..., scaleFactor)`, or `fn(args...)` for members without a
// scale factor.
template <class Fn, class... Args>
OvkStatus callScaled(Fn fn, int scaleFactor, Args... args) {
    if constexpr (std::is_invocable_v<Fn, Args..., int>) {
        return fn(args..., scaleFactor);
    } else {
        return fn(args...);
    }
}

// ---------------------------------------------------------------------------
// Options
// ---------------------------------------------------------------------------

int scaleFactor(const Options& options) { return options.integer("scale", 0); }

std::string formatNumber(double value) {
    std::string text = std::to_string(value);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
    return text;
}

// Per-channel constants from the comma-separated list of option `name`:
// whole numbers from 0 to `max` (`range` says so in messages). One is used
// for every channel; otherwise there is one per channel, or, for four
// channels, three for the colour channels (`colourOnly` is then set: the
// alpha stays as it is).
std::array<double, 4> channelValues(const Options& options, const char* name, const Image& image, double max,
                                    const std::string& range, bool& colourOnly) {
    const std::vector<double> given = options.numbers(name);
    const int channels = image.channels();
    const std::string option = std::string("--") + name;
    for (double v : given) {
        if (v != std::floor(v) || v < 0 || v > max) {
            throw UsageError(option + ": " + formatNumber(v) + " is out of range (" + range + ")");
        }
    }
    std::array<double, 4> values{};
    colourOnly = false;
    if (given.size() == 1) {
        values.fill(given[0]);
    } else if (int(given.size()) == channels || (channels == 4 && given.size() == 3)) {
        std::copy(given.begin(), given.end(), values.begin());
        colourOnly = channels == 4 && given.size() == 3;
    } else {
        std::string counts = channels == 1 ? "1 value" : channels == 3 ? "1 or 3 values" : "1, 3 or 4 values";
        throw UsageError(option + " takes " + counts + " for an image of " + std::to_string(channels) +
                         (channels == 1 ? " channel" : " channels") + ", got " + std::to_string(given.size()));
    }
    return values;
}

template <class T>
std::array<T, 4> asSamples(const std::array<double, 4>& values) {
    std::array<T, 4> out{};
    for (int i = 0; i < 4; ++i) out[i] = T(values[i]);
    return out;
}

double maxSample(SampleType type) { return type == SampleType::U8 ? 255 : 65535; }

// ---------------------------------------------------------------------------
// Run functions
// ---------------------------------------------------------------------------

void checkSameLayout(const Image& a, const Image& b) {
    if (a.type() != b.type() || a.channels() != b.channels() || a.width() != b.width() ||
        a.height() != b.height()) {
        throw std::runtime_error("the images differ in layout: " + a.describe() + " and " + b.describe() +
                                 " (convert one with --depth or --channels)");
    }
}

// A op B. The library's Sub and Div take the subtrahend and the divisor
// first: `swap` passes B as the first source.
template <class F>
Result twoImages(const F& family, const Options& options, std::span<Image> inputs, bool swap) {
    const Image& a = inputs[0];
    const Image& b = inputs[1];
    checkSameLayout(a, b);
    const Image& first = swap ? b : a;
    const Image& second = swap ? a : b;
    const int sf = scaleFactor(options);
    return apply(family, a, false, [&](auto tag, auto fn, Image& out) {
        using T = decltype(tag);
        return callScaled(fn, sf, first.data<T>(), first.step(), second.data<T>(), second.step(), out.data<T>(),
                          out.step(), a.size());
    });
}

template <class F>
Result oneImage(const F& family, const Options& options, std::span<Image> inputs) {
    const Image& src = inputs[0];
    const int sf = scaleFactor(options);
    return apply(family, src, false, [&](auto tag, auto fn, Image& out) {
        using T = decltype(tag);
        return callScaled(fn, sf, src.data<T>(), src.step(), out.data<T>(), out.step(), src.size());
    });
}

// The image and --value: one value per channel, or a single value given
// alone for C1 members.
template <class F>
Result withConstant(const F& family, const Options& options, std::span<Image> inputs) {
    const Image& src = inputs[0];
    if (!options.has("value")) throw UsageError("needs --value");
    bool colourOnly = false;
    const double max = maxSample(src.type());
    const std::array<double, 4> values = channelValues(
        options, "value", src, max,
        std::string("whole numbers from 0 to ") + formatNumber(max) + " for " + typeName(src.type()) + " images",
        colourOnly);
    const int sf = scaleFactor(options);
    return apply(family, src, colourOnly, [&](auto tag, auto fn, Image& out) {
        using T = decltype(tag);
        const std::array<T, 4> v = asSamples<T>(values);
        if constexpr (std::is_invocable_v<decltype(fn), const T*, int, T, T*, int, OvkiSize, int>) {
            return fn(src.data<T>(), src.step(), v[0], out.data<T>(), out.step(), src.size(), sf);
        } else {
            return fn(src.data<T>(), src.step(), v.data(), out.data<T>(), out.step(), src.size(), sf);
        }
    });
}

}  // namespace

Result runAdd(const Options& options, std::span<Image> inputs) { return twoImages(kAdd, options, inputs, false); }
Result runSub(const Options& options, std::span<Image> inputs) { return twoImages(kSub, options, inputs, true); }
Result runMul(const Options& options, std::span<Image> inputs) { return twoImages(kMul, options, inputs, false); }
Result runDiv(const Options& options, std::span<Image> inputs) { return twoImages(kDiv, options, inputs, true); }
Result runMulScale(const Options& options, std::span<Image> inputs) {
    return twoImages(kMulScale, options, inputs, false);
}
Result runAnd(const Options& options, std::span<Image> inputs) { return twoImages(kAnd, options, inputs, false); }
Result runOr(const Options& options, std::span<Image> inputs) { return twoImages(kOr, options, inputs, false); }
Result runXor(const Options& options, std::span<Image> inputs) { return twoImages(kXor, options, inputs, false); }

Result runAddC(const Options& options, std::span<Image> inputs) { return withConstant(kAddC, options, inputs); }
Result runSubC(const Options& options, std::span<Image> inputs) { return withConstant(kSubC, options, inputs); }
Result runMulC(const Options& options, std::span<Image> inputs) { return withConstant(kMulC, options, inputs); }
Result runDivC(const Options& options, std::span<Image> inputs) { return withConstant(kDivC, options, inputs); }

Result runSqrt(const Options& options, std::span<Image> inputs) { return oneImage(kSqrt, options, inputs); }
Result runSqr(const Options& options, std::span<Image> inputs) { return oneImage(kSqr, options, inputs); }
Result runNot(const Options& options, std::span<Image> inputs) { return oneImage(kNot, options, inputs); }

Result runShift(const Options& options, std::span<Image> inputs) {
    const bool left = options.has("left");
    const bool right = options.has("right");
    if (left && right) throw UsageError("takes --left or --right, not both");
    if (!left && !right) throw UsageError("needs --left N or --right N");
    const Image& src = inputs[0];
    bool colourOnly = false;
    const double max = std::numeric_limits<Ovk32u>::max();
    const std::array<double, 4> counts = channelValues(options, left ? "left" : "right", src, max,
                                                       "bit counts from 0 to " + formatNumber(max), colourOnly);
    return apply(left ? kLShiftC : kRShiftC, src, colourOnly, [&](auto tag, auto fn, Image& out) {
        using T = decltype(tag);
        const std::array<Ovk32u, 4> n = asSamples<Ovk32u>(counts);
        if constexpr (std::is_invocable_v<decltype(fn), const T*, int, Ovk32u, T*, int, OvkiSize>) {
            return fn(src.data<T>(), src.step(), n[0], out.data<T>(), out.step(), src.size());
        } else {
            return fn(src.data<T>(), src.step(), n.data(), out.data<T>(), out.step(), src.size());
        }
    });
}

}  // namespace ovkimg
