// The machine-readable API description (api.json, written by apigen.py from
// the registry) read into C++, and calls to any export built from it with
// libffi. Shared by everything that reaches exports by name: the test
// harness, the fuzz target and the command-line tool.
#pragma once

#include <ovk/ovkimx.h>

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace ovk::apicall {

struct Domain {
    std::optional<long long> min, max;
    std::vector<long long> values;
    bool nonzero = false;
    long long first() const { return values.empty() ? min.value_or(0) : values[0]; }
};

struct Param {
    std::string name, type, role, elem, of;  // elem: element code of the type ("8u", "32fc"), or empty
    int count = 0;                           // array length, 0 for a single value
    std::optional<Domain> domain;
    bool pointer() const { return count > 0 || type.find('*') != std::string::npos; }
    bool image() const;  // src, srcdst, dst, srcPlanes, dstPlanes
};

struct Check {
    std::string kind;                 // pointers, size, steps, minWidth, minHeight, param
    OvkStatus status;
    std::vector<std::string> params;  // pointers: which ones; param: its name
    int min = 0;                      // minWidth, minHeight: the smallest side
    std::string when;                 // the check runs only when this parameter
    std::vector<long long> whenValues;  // has one of these values
};

// A trait that holds only while a parameter has one of some values.
struct ConditionalTrait {
    std::string trait, param;
    std::vector<long long> values;
};

struct Function {
    std::string name, family, flags, partner, returns, doc, shape;
    std::vector<std::string> types, layout, partnerArgs;
    std::vector<Param> params;
    std::vector<Check> checks;
    std::set<std::string> traits;
    std::vector<ConditionalTrait> traitsWhen;
    void* address = nullptr;
    bool has(const char* trait) const { return traits.count(trait) != 0; }
    const Param* param(const std::string& n) const;
};

// Where the description and the library come from, when not from the build
// tree this was compiled in (an installed tool); before the first use.
void useDescription(std::string path);
void useLibrary(std::string path);

// Every export of the description, in registry order, with its address.
const std::vector<Function>& functions();
const Function& find(const std::string& name);

// Element codes: bytes of one element, of one part of a complex element.
int elementBytes(const std::string& code);
int partBytes(const std::string& code);

// Writes v into one element (both parts of a complex one get v); reads and
// writes one part of an element as a number.
void writeNumber(const std::string& code, long long v, std::uint8_t* dst);
long double readPart(const std::string& code, const std::uint8_t* p);
void writePart(const std::string& code, std::uint8_t* p, long double v);

// Calls f with values[i] pointing at the bytes of argument i; the result
// widened to 64 bits (a status, or a pointer).
std::int64_t call(const Function& f, void* const* values);

// The enumerations of the description: member names and values, by type.
struct EnumMember {
    std::string name;
    long long value;
};
const std::vector<EnumMember>* enumeration(const std::string& type);
// The integer constants of the public headers (OVK_..., ovkCpuFeature...), by name.
const std::map<std::string, long long>& constants();

// "ovkStatusSizeError"; the number for a code the description does not name.
std::string statusName(long long status);

// The arguments of one call, each in storage of its C type: set them by
// parameter, then call.
class Arguments {
public:
    explicit Arguments(const Function& f);
    void pointer(std::size_t i, const void* p);
    void size(std::size_t i, OvkiSize s);
    void number(std::size_t i, long double v);  // in the parameter's type: element, int, float, enumeration
    std::int64_t call() const;

private:
    const Function& f_;
    std::vector<std::array<std::uint8_t, 16>> slots_;
    std::vector<void*> values_;
};

}  // namespace ovk::apicall
