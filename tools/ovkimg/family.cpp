// ovkimg: operations that are one library call, run from their table entry.
//
// The entry names the family (or alternatives chosen by the options given)
// and says which parameter each option fills; the member comes from the
// images' sample type and channels, the images fill the image parameters in
// order, and the output gets the source's layout (a one-channel mask for
// comparisons, rows and columns swapped where the member transposes).
#include "library.hpp"
#include "operations.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <sstream>

namespace ovkimg {
namespace {

namespace apicall = ovk::apicall;

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> out;
    std::stringstream in(text);
    for (std::string item; std::getline(in, item, separator);) out.push_back(item);
    return out;
}

std::string joinOr(const std::vector<std::string>& items) {
    std::string out;
    for (std::size_t i = 0; i < items.size(); ++i) {
        out += (i == 0 ? "" : i + 1 == items.size() ? " or " : ", ") + items[i];
    }
    return out;
}

// "Threshold_LTValGTVal:above+below|Threshold_GTVal:above|Threshold_LTVal:below":
// the family whose options are exactly those given of all the alternatives name.
std::string chooseFamily(const Operation& op, const Options& options, std::set<std::string>& selectors) {
    if (std::string(op.family).find(':') == std::string::npos) return op.family;
    std::vector<std::pair<std::string, std::set<std::string>>> alternatives;
    std::vector<std::string> texts;
    for (const std::string& alternative : split(op.family, '|')) {
        const auto colon = alternative.find(':');
        std::set<std::string> names;
        std::string text;
        for (const std::string& name : split(alternative.substr(colon + 1), '+')) {
            names.insert(name);
            selectors.insert(name);
            text += (text.empty() ? "--" : " and --") + name;
        }
        alternatives.emplace_back(alternative.substr(0, colon), names);
        texts.push_back(text);
    }
    std::set<std::string> given;
    for (const std::string& name : selectors)
        if (options.has(name)) given.insert(name);
    for (const auto& [family, names] : alternatives)
        if (names == given) return family;
    std::vector<std::string> names;
    for (const std::string& name : selectors) names.push_back("--" + name);
    if (given.empty()) throw UsageError("needs " + joinOr(names));
    throw UsageError("takes " + joinOr(texts) + ", not those options together");
}

// The smallest and largest value of a parameter's C type, and whether it holds whole numbers only.
struct Range {
    long double lo, hi;
    bool whole;
};

Range rangeOf(const apicall::Param& p) {
    const std::string code = !p.elem.empty() ? p.elem : p.type == "float" ? "32f" : p.type == "double" ? "64f"
                                                    : p.type == "unsigned int" || p.type == "Ovk32u" ? "32u" : "32s";
    auto whole = [](auto t) {
        using T = decltype(t);
        return Range{(long double)std::numeric_limits<T>::lowest(), (long double)std::numeric_limits<T>::max(), true};
    };
    if (code == "8u") return whole(Ovk8u{});
    if (code == "8s") return whole(Ovk8s{});
    if (code == "16u") return whole(Ovk16u{});
    if (code == "16s") return whole(Ovk16s{});
    if (code == "32u") return whole(Ovk32u{});
    if (code == "32s") return whole(Ovk32s{});
    return {-std::numeric_limits<long double>::infinity(), std::numeric_limits<long double>::infinity(), false};
}

// The numbers an option gives: its words ("h=0,v=1") or a comma-separated list.
std::vector<double> optionNumbers(const OptionSpec& spec, const std::string& text) {
    if (spec.words == nullptr) {
        Options one;
        one.set(spec.name, text);
        return one.numbers(spec.name);
    }
    std::vector<std::string> names;
    for (const std::string& word : split(spec.words, ',')) {
        const auto eq = word.find('=');
        if (text == word.substr(0, eq)) return {std::stod(word.substr(eq + 1))};
        names.push_back(word.substr(0, eq));
    }
    throw UsageError(std::string("--") + spec.name + ": '" + text + "' is not one of " + joinOr(names));
}

std::string valueCounts(int channels, bool keepAlpha) {
    if (channels == 1) return "1 value";
    return channels == 3 || keepAlpha ? "1 or 3 values" : "1, 3 or 4 values";
}

std::string formatNumber(long double value) {
    std::ostringstream out;
    out.precision(17);
    out << double(value);
    return out.str();
}

// The member for the images; AC4 when `colourOnly` or when the family has no C4 member.
const Function& chooseMember(const std::string& family, const Image& image, bool colourOnly) {
    const std::string type = typeName(image.type());
    const int channels = image.channels();
    std::vector<std::string> wanted = channels == 1 ? std::vector<std::string>{"C1"}
                                      : channels == 3 ? std::vector<std::string>{"C3"}
                                      : colourOnly    ? std::vector<std::string>{"AC4"}
                                                      : std::vector<std::string>{"C4", "AC4"};
    for (const std::string& layout : wanted)
        if (const Function* f = member(family, type, layout)) return *f;
    std::string flags, offered, missing;
    for (const Function* f : members(family)) {
        if (f->flags.find('I') != std::string::npos) continue;
        flags = f->flags;
        offered += (offered.empty() ? "" : ", ") + f->types[0] + " " + f->layout[0];
    }
    for (const std::string& layout : wanted) {
        missing += (missing.empty() ? "ovki" : " or ovki") + family + "_" + type + "_" + layout + flags;
    }
    throw std::runtime_error("no library function for " + type + " images of " + std::to_string(channels) +
                             (channels == 1 ? " channel" : " channels") + " (" + missing + " does not exist; " + family +
                             " takes " + offered + ")");
}

void checkSameLayout(const Image& a, const Image& b) {
    if (a.type() != b.type() || a.channels() != b.channels() || a.width() != b.width() || a.height() != b.height()) {
        throw std::runtime_error("the images differ in layout: " + a.describe() + " and " + b.describe() +
                                 " (convert one with --depth or --channels)");
    }
}

}  // namespace

Result runFamily(const Operation& op, const Options& options, std::span<Image> inputs) {
    std::set<std::string> selectors;
    const std::string family = chooseFamily(op, options, selectors);
    const Image& first = inputs[0];
    for (const Image& other : inputs.subspan(1)) checkSameLayout(first, other);
    const int channels = first.channels();

    // The numbers of every option given (or defaulted), by the parameters they may fill.
    std::vector<std::pair<const OptionSpec*, std::vector<double>>> given;
    bool colourOnly = op.keepAlpha && channels == 4;
    for (const OptionSpec& spec : op.options) {
        if (spec.param == nullptr) continue;
        const bool companion = spec.fallback != nullptr && spec.fallback[0] == '@';  // applies with that option only
        if (companion && !options.has(spec.fallback + 1)) {
            if (options.has(spec.name)) throw UsageError(std::string("--") + spec.name + " goes with --" + (spec.fallback + 1));
            continue;
        }
        std::string text;
        if (options.has(spec.name)) {
            text = options.text(spec.name);
        } else if (spec.fallback != nullptr) {
            text = companion ? options.text(spec.fallback + 1) : spec.fallback;
        } else if (selectors.count(spec.name) != 0) {
            continue;
        } else {
            throw UsageError(std::string("needs --") + spec.name + " " + spec.value);
        }
        given.emplace_back(&spec, optionNumbers(spec, text));
        if (channels == 4 && given.back().second.size() == 3 && spec.words == nullptr) colourOnly = true;
    }
    const Function& f = chooseMember(family, first, colourOnly);

    // Parameter values: each parameter from the first option that names it.
    std::map<std::string, std::pair<const OptionSpec*, std::vector<double>>> values;
    for (const auto& [spec, numbers] : given) {
        for (const std::string& name : split(spec->param, ',')) {
            if (f.param(name) != nullptr) {
                values.try_emplace(name, spec, numbers);
                break;
            }
        }
    }
    bool transposed = f.has("transposed");
    for (const apicall::ConditionalTrait& t : f.traitsWhen) {
        if (t.trait == "transposed" && values.count(t.param) != 0) {
            for (long long v : t.values) transposed |= values[t.param].second[0] == double(v);
        }
    }

    const OvkiSize size = first.size();
    Image out = f.has("writesMask")    ? Image(SampleType::U8, 1, size.width, size.height)
                : transposed           ? Image(first.type(), channels, size.height, size.width)
                : f.layout[0] == "AC4" ? convertChannels(first, 4)  // the member leaves the alpha: the source's
                                       : Image(first.type(), channels, size.width, size.height);
    std::vector<const Image*> sources;
    for (const Image& image : inputs) sources.push_back(&image);
    if (op.swapSources) std::reverse(sources.begin(), sources.end());

    std::vector<Arg> args;
    std::map<std::string, const Image*> imageOf;
    std::size_t nextSource = 0;
    for (const apicall::Param& p : f.params) {
        if (p.role == "src") {
            imageOf[p.name] = sources.at(nextSource++);
            args.emplace_back(imageOf[p.name]->data<void>());
        } else if (p.role == "dst") {
            imageOf[p.name] = &out;
            args.emplace_back(out.data<void>());
        } else if (p.role == "step") {
            args.emplace_back(imageOf.at(p.of)->step());
        } else if (p.role == "roi") {
            args.emplace_back(size);
        } else if (values.count(p.name) != 0) {
            const auto& [spec, numbers] = values[p.name];
            const std::string option = std::string("--") + spec->name;
            const std::size_t count = p.count > 0 ? std::size_t(p.count) : 1;
            if (numbers.size() != 1 && numbers.size() != count) {
                throw UsageError(option + " takes " + valueCounts(channels, op.keepAlpha) + " for an image of " +
                                 std::to_string(channels) + (channels == 1 ? " channel" : " channels") + ", got " +
                                 std::to_string(numbers.size()));
            }
            const Range range = rangeOf(p);
            for (double v : numbers) {
                if (v < range.lo || v > range.hi || (range.whole && v != std::floor(v))) {
                    const bool sample = p.elem == typeName(first.type());
                    throw UsageError(option + ": " + formatNumber(v) + " is out of range (whole numbers from " +
                                     formatNumber(range.lo) + " to " + formatNumber(range.hi) +
                                     (sample ? std::string(" for ") + typeName(first.type()) + " images)" : ")"));
                }
            }
            if (p.count > 0) {
                args.emplace_back(numbers.size() == 1 ? std::vector<double>(count, numbers[0]) : numbers);
            } else {
                args.emplace_back(double(numbers[0]));
            }
        } else {
            throw std::logic_error("the operation gives no value for " + p.name + " of " + f.name);
        }
    }
    const OvkStatus status = invoke(f, args);
    return finish(std::move(out), status);
}

}  // namespace ovkimg
