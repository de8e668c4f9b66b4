#include "library.hpp"

#include <filesystem>
#include <stdexcept>
#include <string>

namespace ovkimg {

namespace apicall = ovk::apicall;

OvkStatus invoke(const Function& f, const std::vector<Arg>& args) { return OvkStatus(invokeRaw(f, args)); }

std::int64_t invokeRaw(const Function& f, const std::vector<Arg>& args) {
    if (args.size() != f.params.size()) {
        throw std::logic_error(f.name + " takes " + std::to_string(f.params.size()) + " arguments, got " +
                               std::to_string(args.size()));
    }
    apicall::Arguments call(f);
    std::vector<std::vector<std::uint8_t>> arrays;  // the lists of numbers, in their parameters' types
    for (std::size_t i = 0; i < args.size(); ++i) {
        const Arg& a = args[i];
        const apicall::Param& p = f.params[i];
        switch (a.kind) {
        case Arg::Pointer: call.pointer(i, a.pointer); break;
        case Arg::Size: call.size(i, a.size); break;
        case Arg::Number: call.number(i, a.number); break;
        case Arg::Numbers: {
            const std::string elem = p.elem.empty() ? "32s" : p.elem;  // int arrays: channel orders
            const int bytes = apicall::elementBytes(elem), part = apicall::partBytes(elem);
            std::vector<std::uint8_t>& storage = arrays.emplace_back(a.numbers.size() * std::size_t(bytes));
            for (std::size_t k = 0; k < a.numbers.size(); ++k) {
                for (int off = 0; off < bytes; off += part) apicall::writePart(elem, &storage[k * bytes + off], a.numbers[k]);
            }
            call.pointer(i, storage.data());
            break;
        }
        }
    }
    return call.call();
}

const Function& exported(const std::string& name) { return apicall::find(name); }

std::vector<const Function*> members(const std::string& family) {
    std::vector<const Function*> out;
    for (const Function& f : apicall::functions()) {
        if (f.family == family) out.push_back(&f);
    }
    return out;
}

const Function* member(const std::string& family, const std::string& type, const std::string& layout, bool inPlace) {
    for (const Function* f : members(family)) {
        std::string fLayout;
        for (const std::string& l : f->layout) fLayout += l;
        std::string fTypes;
        for (const std::string& t : f->types) fTypes += t;
        if (fTypes == type && fLayout == layout && (f->flags.find('I') != std::string::npos) == inPlace) return f;
    }
    return nullptr;
}

void locateDescription(const char* argv0) {
    namespace fs = std::filesystem;
    std::error_code error;
    fs::path self = fs::read_symlink("/proc/self/exe", error);
    if (error) self = fs::absolute(argv0, error);
    const fs::path installed = self.parent_path().parent_path() / "share" / "ovk" / "api.json";
    if (fs::exists(installed, error)) apicall::useDescription(installed.string());
    // The library the tool is linked against (or a sibling put in its place),
    // already loaded: found by its name.
    apicall::useLibrary("libovkimx.so.8.1");
}

}  // namespace ovkimg
