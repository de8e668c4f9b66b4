#include "options.hpp"

#include <charconv>

namespace ovkimg {
namespace {

template <class T>
bool parseNumber(std::string_view text, T& value) {
    const char* end = text.data() + text.size();
    const auto [ptr, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && ptr == end && !text.empty();
}

std::string optionList(std::span<const OptionSpec> specs) {
    if (specs.empty()) return "it takes no options";
    std::string list = "its options:";
    for (const OptionSpec& spec : specs) list += std::string(" --") + spec.name;
    return list;
}

}  // namespace

bool Options::has(std::string_view name) const { return values_.find(name) != values_.end(); }

std::string Options::text(std::string_view name, std::string_view fallback) const {
    const auto it = values_.find(name);
    return std::string(it != values_.end() ? std::string_view(it->second) : fallback);
}

int Options::integer(std::string_view name, int fallback) const {
    if (!has(name)) return fallback;
    const std::string value = text(name);
    int result = 0;
    if (!parseNumber(value, result)) {
        throw UsageError("--" + std::string(name) + ": '" + value + "' is not a whole number");
    }
    return result;
}

double Options::number(std::string_view name, double fallback) const {
    if (!has(name)) return fallback;
    const std::string value = text(name);
    double result = 0;
    if (!parseNumber(value, result)) {
        throw UsageError("--" + std::string(name) + ": '" + value + "' is not a number");
    }
    return result;
}

std::vector<double> Options::numbers(std::string_view name, std::vector<double> fallback) const {
    if (!has(name)) return fallback;
    const std::string value = text(name);
    std::vector<double> result;
    std::string_view rest = value;
    for (;;) {
        const auto comma = rest.find(',');
        double number = 0;
        if (!parseNumber(rest.substr(0, comma), number)) {
            throw UsageError("--" + std::string(name) + ": '" + value + "' is not a comma-separated list of numbers");
        }
        result.push_back(number);
        if (comma == std::string_view::npos) break;
        rest.remove_prefix(comma + 1);
    }
    return result;
}

Options parseOptions(std::span<const std::string> args, std::span<const OptionSpec> specs) {
    Options options;
    bool optionsEnded = false;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (optionsEnded || arg.size() < 2 || arg[0] != '-') {
            options.inputs.push_back(arg);
        } else if (arg == "--") {
            optionsEnded = true;
        } else if (arg == "-h" || arg == "--help") {
            options.help = true;
        } else if (arg == "-o" || arg == "--output") {
            if (i + 1 == args.size()) throw UsageError(arg + " needs a file name");
            options.output = args[++i];
        } else if (arg.starts_with("--")) {
            const auto equals = arg.find('=');
            const std::string name = arg.substr(2, equals == std::string::npos ? std::string::npos : equals - 2);
            const OptionSpec* spec = nullptr;
            for (const OptionSpec& s : specs) {
                if (name == s.name) spec = &s;
            }
            if (spec == nullptr) throw UsageError("unknown option '--" + name + "' (" + optionList(specs) + ")");
            const bool isFlag = *spec->value == '\0';
            if (isFlag) {
                if (equals != std::string::npos) throw UsageError("--" + name + " takes no value");
                options.set(name, "");
            } else if (equals != std::string::npos) {
                options.set(name, arg.substr(equals + 1));
            } else if (i + 1 < args.size()) {
                options.set(name, args[++i]);
            } else {
                throw UsageError("--" + name + " needs a value: --" + name + " " + spec->value);
            }
        } else {
            throw UsageError("unknown option '" + arg + "'");
        }
    }
    return options;
}

}  // namespace ovkimg
