// ovkimg: the command line of one operation.
//
//   ovkimg <operation> [input...] [-o FILE] [--name VALUE...] [--flag...]
//
// Positional arguments are input files. `--name VALUE` and `--name=VALUE`
// are the same; the value may start with '-' (e.g. `--value -5`). `--` ends
// the options: everything after it is an input file.
#pragma once

#include <map>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace ovkimg {

// A mistake on the command line; the tool points at the help for it.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// One option an operation accepts.
struct OptionSpec {
    const char* name;   // without the dashes: "scale"
    const char* value;  // the value as the help shows it: "N", "R,G,B"; "" for a flag without a value
    const char* help;   // one line
    // Operations that are one library call: the parameter the option fills
    // (the first of "a,b" the member has), the words it takes for the
    // parameter's values ("h=0,v=1"; else numbers, one or one per channel),
    // and its value when absent (null: required; "@name": the option applies
    // only with --name, whose value it takes when absent).
    const char* param = nullptr;
    const char* words = nullptr;
    const char* fallback = nullptr;
};

// The parsed arguments of one operation.
class Options {
public:
    std::vector<std::string> inputs;  // positional arguments
    std::string output;               // -o FILE; empty when not given
    bool help = false;                // -h or --help

    bool has(std::string_view name) const;

    // The option's value as given; `fallback` when the option is absent.
    std::string text(std::string_view name, std::string_view fallback = "") const;
    // The value as a whole number or any number; UsageError when it is not one.
    int integer(std::string_view name, int fallback) const;
    double number(std::string_view name, double fallback) const;
    // A comma-separated list of numbers, e.g. `--value 10,20,30`.
    std::vector<double> numbers(std::string_view name, std::vector<double> fallback = {}) const;

    void set(std::string name, std::string value) { values_[std::move(name)] = std::move(value); }

private:
    std::map<std::string, std::string, std::less<>> values_;
};

// Parses the arguments that follow the operation name; `specs` are the
// options the operation accepts. Throws UsageError for an unknown option or
// a missing value.
Options parseOptions(std::span<const std::string> args, std::span<const OptionSpec> specs);

}  // namespace ovkimg
