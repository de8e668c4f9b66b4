#include "apicall/apicall.hpp"

#include <cstdlib>
#include <dlfcn.h>
#include <ffi.h>

#include <cstring>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>

namespace ovk::apicall {
namespace {


struct ElementInfo {
    int bytes, part;
    ffi_type* ffi;
    bool floating;
};

ffi_type* pairOf(ffi_type* part)
{
    static std::map<ffi_type*, std::pair<ffi_type, std::vector<ffi_type*>>> pairs;
    auto& [t, members] = pairs[part];
    if (members.empty()) {
        members = {part, part, nullptr};
        t = ffi_type{0, 0, FFI_TYPE_STRUCT, members.data()};
    }
    return &t;
}

const ElementInfo& info(const std::string& code)
{
    static const std::map<std::string, ElementInfo> table = {
        {"8u", {1, 1, &ffi_type_uint8, false}},       {"8s", {1, 1, &ffi_type_sint8, false}},
        {"16u", {2, 2, &ffi_type_uint16, false}},     {"16s", {2, 2, &ffi_type_sint16, false}},
        {"32u", {4, 4, &ffi_type_uint32, false}},     {"32s", {4, 4, &ffi_type_sint32, false}},
        {"64s", {8, 8, &ffi_type_sint64, false}},     {"32f", {4, 4, &ffi_type_float, true}},
        {"64f", {8, 8, &ffi_type_double, true}},      {"16sc", {4, 2, pairOf(&ffi_type_sint16), false}},
        {"32sc", {8, 4, pairOf(&ffi_type_sint32), false}}, {"32fc", {8, 4, pairOf(&ffi_type_float), true}},
        {"64fc", {16, 8, pairOf(&ffi_type_double), true}}};
    auto it = table.find(code);
    if (it == table.end()) throw std::runtime_error("unknown element type " + code);
    return it->second;
}


ffi_type* ffiTypeOf(const Param& p)
{
    if (p.pointer()) return &ffi_type_pointer;
    if (!p.elem.empty()) return info(p.elem).ffi;
    if (p.type == "OvkiSize") return pairOf(&ffi_type_sint32);
    if (p.type == "float") return &ffi_type_float;
    if (p.type == "double") return &ffi_type_double;
    if (p.type == "unsigned int" || p.type == "Ovk32u") return &ffi_type_uint32;
    return &ffi_type_sint32;  // int and every enumeration
}

std::string readFile(const char* path)
{
    std::ifstream in(path);
    if (!in) throw std::runtime_error(std::string("cannot read ") + path);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

std::string& descriptionPath()
{
    static std::string path = OVK_API_JSON;
    return path;
}

std::string& libraryPath()
{
    static std::string path = [] {
        const char* sibling = std::getenv("OVK_IMX_PATH");  // when the tests run against a sibling of the library
        return std::string(sibling ? sibling : OVK_IMX_PATH);
    }();
    return path;
}

const nlohmann::json& description()
{
    static const nlohmann::json d = nlohmann::json::parse(readFile(descriptionPath().c_str()));
    return d;
}

std::vector<Function> load()
{
    void* lib = dlopen(libraryPath().c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!lib) throw std::runtime_error(dlerror());
    std::vector<Function> out;
    for (const auto& j : description()["functions"]) {
        Function f;
        f.name = j["name"];
        f.family = j["family"];
        f.flags = j["flags"];
        f.returns = j["returns"];
        f.types = j["types"].get<std::vector<std::string>>();
        f.layout = j["layout"].get<std::vector<std::string>>();
        for (const auto& t : j["traits"]) f.traits.insert(t.get<std::string>());
        if (j.contains("doc")) f.doc = j["doc"];
        f.shape = j["shape"];
        if (j.contains("traitsWhen")) {
            for (const auto& t : j["traitsWhen"]) {
                f.traitsWhen.push_back({t["trait"], t["when"]["param"], t["when"]["values"].get<std::vector<long long>>()});
            }
        }
        for (const auto& jp : j["params"]) {
            Param p;
            p.name = jp["name"];
            p.type = jp["type"];
            p.role = jp["role"];
            if (!jp["elem"].is_null()) p.elem = jp["elem"];
            if (!jp["count"].is_null()) p.count = jp["count"];
            if (jp.contains("of") && !jp["of"].is_null()) p.of = jp["of"];
            if (jp.contains("domain")) {
                const auto& d = jp["domain"];
                Domain dom;
                if (d.contains("min")) dom.min = d["min"].get<long long>();
                if (d.contains("max")) dom.max = d["max"].get<long long>();
                if (d.contains("values")) dom.values = d["values"].get<std::vector<long long>>();
                dom.nonzero = d.contains("nonzero");
                p.domain = dom;
            }
            f.params.push_back(p);
        }
        for (const auto& jc : j["checks"]) {
            Check c;
            c.kind = jc["check"];
            c.status = OvkStatus(jc["status"].get<int>());
            if (jc.contains("params")) c.params = jc["params"].get<std::vector<std::string>>();
            if (jc.contains("param")) c.params = {jc["param"].get<std::string>()};
            if (jc.contains("min")) c.min = jc["min"];
            if (jc.contains("when")) {
                c.when = jc["when"]["param"];
                c.whenValues = jc["when"]["values"].get<std::vector<long long>>();
            }
            f.checks.push_back(c);
        }
        if (j.contains("inplace")) {
            f.partner = j["inplace"]["partner"];
            f.partnerArgs = j["inplace"]["args"].get<std::vector<std::string>>();
        }
        f.address = dlsym(lib, f.name.c_str());
        out.push_back(std::move(f));
    }
    return out;
}

}  // namespace

bool Param::image() const
{
    return role == "src" || role == "srcdst" || role == "dst" || role == "srcPlanes" || role == "dstPlanes";
}

const Param* Function::param(const std::string& n) const
{
    for (const Param& p : params)
        if (p.name == n) return &p;
    return nullptr;
}

const std::vector<Function>& functions()
{
    static const std::vector<Function> all = load();
    return all;
}

const Function& find(const std::string& name)
{
    for (const Function& f : functions())
        if (f.name == name) return f;
    throw std::runtime_error("no export " + name);
}

int elementBytes(const std::string& code) { return info(code).bytes; }
int partBytes(const std::string& code) { return info(code).part; }

void writeNumber(const std::string& code, long long v, std::uint8_t* dst)
{
    const ElementInfo& e = info(code);
    for (int off = 0; off < e.bytes; off += e.part) {
        if (e.floating && e.part == 4) {
            const float f = float(v);
            std::memcpy(dst + off, &f, 4);
        } else if (e.floating) {
            const double d = double(v);
            std::memcpy(dst + off, &d, 8);
        } else {
            std::memcpy(dst + off, &v, e.part);  // little-endian: the low bytes
        }
    }
}

long double readPart(const std::string& code, const std::uint8_t* p)
{
    const std::string base = code.back() == 'c' ? code.substr(0, code.size() - 1) : code;
    auto as = [p](auto v) { std::memcpy(&v, p, sizeof v); return static_cast<long double>(v); };
    if (base == "8u") return as(std::uint8_t{});
    if (base == "8s") return as(std::int8_t{});
    if (base == "16u") return as(std::uint16_t{});
    if (base == "16s") return as(std::int16_t{});
    if (base == "32u") return as(std::uint32_t{});
    if (base == "32s") return as(std::int32_t{});
    if (base == "64s") return as(std::int64_t{});
    if (base == "32f") return as(float{});
    return as(double{});
}

void writePart(const std::string& code, std::uint8_t* p, long double v)
{
    const std::string base = code.back() == 'c' ? code.substr(0, code.size() - 1) : code;
    auto put = [p, v](auto t) { t = static_cast<decltype(t)>(v); std::memcpy(p, &t, sizeof t); };
    if (base == "8u") put(std::uint8_t{});
    else if (base == "8s") put(std::int8_t{});
    else if (base == "16u") put(std::uint16_t{});
    else if (base == "16s") put(std::int16_t{});
    else if (base == "32u") put(std::uint32_t{});
    else if (base == "32s") put(std::int32_t{});
    else if (base == "64s") put(std::int64_t{});
    else if (base == "32f") put(float{});
    else put(double{});
}

void useDescription(std::string path) { descriptionPath() = std::move(path); }
void useLibrary(std::string path) { libraryPath() = std::move(path); }

const std::vector<EnumMember>* enumeration(const std::string& type)
{
    static const std::map<std::string, std::vector<EnumMember>> all = [] {
        std::map<std::string, std::vector<EnumMember>> m;
        if (!description().contains("enums")) return m;
        for (const auto& [name, members] : description()["enums"].items()) {
            for (const auto& e : members) m[name].push_back({e["name"], e["value"].get<long long>()});
        }
        return m;
    }();
    auto it = all.find(type);
    return it == all.end() ? nullptr : &it->second;
}

const std::map<std::string, long long>& constants()
{
    static const std::map<std::string, long long> all = [] {
        std::map<std::string, long long> m;
        if (description().contains("constants"))
            for (const auto& [name, value] : description()["constants"].items()) m[name] = value.get<long long>();
        return m;
    }();
    return all;
}

std::string statusName(long long status)
{
    if (const auto* members = enumeration("OvkStatus")) {
        for (const EnumMember& e : *members)
            if (e.value == status) return e.name;
    }
    return std::to_string(status);
}

Arguments::Arguments(const Function& f) : f_(f), slots_(f.params.size()), values_(f.params.size())
{
    for (std::size_t i = 0; i < slots_.size(); ++i) {
        slots_[i].fill(0);
        values_[i] = slots_[i].data();
    }
}

void Arguments::pointer(std::size_t i, const void* p) { std::memcpy(slots_.at(i).data(), &p, sizeof p); }

void Arguments::size(std::size_t i, OvkiSize s) { std::memcpy(slots_.at(i).data(), &s, sizeof s); }

void Arguments::number(std::size_t i, long double v)
{
    const Param& p = f_.params.at(i);
    std::uint8_t* slot = slots_.at(i).data();
    if (!p.elem.empty()) {
        for (int off = 0; off < elementBytes(p.elem); off += partBytes(p.elem)) writePart(p.elem, slot + off, v);
    } else if (p.type == "float") {
        writePart("32f", slot, v);
    } else if (p.type == "double") {
        writePart("64f", slot, v);
    } else if (p.type == "unsigned int" || p.type == "Ovk32u") {
        writePart("32u", slot, v);
    } else {
        writePart("32s", slot, v);  // int and every enumeration
    }
}

std::int64_t Arguments::call() const { return apicall::call(f_, values_.data()); }

std::int64_t call(const Function& f, void* const* values)
{
    std::vector<ffi_type*> types;
    for (const Param& p : f.params) types.push_back(ffiTypeOf(p));
    ffi_type* result = f.returns == "void" ? &ffi_type_void : f.returns.find('*') != std::string::npos ? &ffi_type_pointer
                                                                                                     : &ffi_type_sint32;
    ffi_cif cif;
    if (ffi_prep_cif(&cif, FFI_DEFAULT_ABI, unsigned(types.size()), result, types.data()) != FFI_OK)
        throw std::runtime_error("libffi cannot call " + f.name);
    ffi_arg out = 0;
    ffi_call(&cif, FFI_FN(f.address), &out, const_cast<void**>(values));
    return result == &ffi_type_sint32 ? std::int64_t(std::int32_t(out)) : std::int64_t(out);
}

}  // namespace ovk::apicall
