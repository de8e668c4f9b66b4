// ovkimg: the library reached through its API description, by name.
//
// Operations find the member they need ("the CopyConstBorder member for 16u
// images of three channels") and call it with arguments given as pointers,
// sizes and numbers; each number is converted to the parameter's own C type
// (an element type, int, float or an enumeration) and a list of numbers
// becomes an array of that type. No operation needs a table of function
// pointers or a template per sample type.
#pragma once

#include "image.hpp"

#include <apicall/apicall.hpp>

#include <initializer_list>
#include <string>
#include <vector>

namespace ovkimg {

using ovk::apicall::Function;

// One argument: a pointer, a size, a number or a list of numbers.
struct Arg {
    enum Kind { Pointer, Size, Number, Numbers } kind;
    const void* pointer = nullptr;
    OvkiSize size{};
    long double number = 0;
    std::vector<double> numbers;

    Arg(const void* p) : kind(Pointer), pointer(p) {}
    Arg(OvkiSize s) : kind(Size), size(s) {}
    Arg(int v) : kind(Number), number(v) {}
    Arg(unsigned v) : kind(Number), number(v) {}
    Arg(long long v) : kind(Number), number(v) {}
    Arg(double v) : kind(Number), number(v) {}
    Arg(std::vector<double> v) : kind(Numbers), numbers(std::move(v)) {}
};

// Calls f with one argument per parameter; the library's status, or the
// result of a function that returns something else, widened to 64 bits.
OvkStatus invoke(const Function& f, const std::vector<Arg>& args);
std::int64_t invokeRaw(const Function& f, const std::vector<Arg>& args);

// The export called `name`; throws when there is none.
const Function& exported(const std::string& name);

// The member of `family` for samples of `type` ("8u") in `layout` ("C3",
// "AC4", "C4C3"), out of place unless `inPlace`; null when there is none.
const Function* member(const std::string& family, const std::string& type, const std::string& layout,
                       bool inPlace = false);

// Every member of `family`.
std::vector<const Function*> members(const std::string& family);

// Where the API description is: next to an installed tool
// (<prefix>/share/ovk/api.json), else in the build tree it was built in; the
// functions are those of the library the tool runs with.
void locateDescription(const char* argv0);

}  // namespace ovkimg
