// ovkimg call: any export of the library, by name, from its API description.
//
//   ovkimg call <export> [image...] [-o FILE[,FILE...]] [--parameter value...]
//
// Images fill the image parameters (sources, in-place images, masks) in the
// order of the C signature; each missing one is the built-in test image (the
// second its mirror image). A file's samples become the parameter's element
// type as numbers (a .npy file gives any type exactly) and its channels the
// member's layout. Parameters go by their registry names: numbers, one per
// channel for arrays (one value serves all), enumerations by name or value,
// sizes as WxH. Outputs go to the -o files in parameter order: PNG, PGM or
// PPM for 8u and 16u images of 1, 3 or 4 channels, .npy for everything.

#include "image_io.hpp"
#include "operations.hpp"
#include "library.hpp"
#include "status.hpp"
#include "synthetic.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>

namespace ovkimg {
namespace {

namespace apicall = ovk::apicall;

// An image of any element type, in memory the tool owns.
struct Buffer {
    std::string elem;
    int channels = 1, width = 0, height = 0;
    std::size_t step = 0;
    std::vector<std::uint8_t> bytes;

    Buffer(std::string e, int c, int w, int h)
        : elem(std::move(e)), channels(c), width(w), height(h),
          step(std::size_t(w) * c * apicall::elementBytes(elem)), bytes(step * std::size_t(h)) {}
    std::uint8_t* row(int y) { return bytes.data() + std::size_t(y) * step; }
    // Sample i of row y, one part of it for complex types.
    long double get(int y, std::size_t i) { return apicall::readPart(elem, row(y) + i * apicall::elementBytes(elem)); }
    void set(int y, std::size_t i, long double v) {
        const int b = apicall::elementBytes(elem), part = apicall::partBytes(elem);
        apicall::writePart(elem, row(y) + i * b, v);
        if (part < b) apicall::writePart(elem, row(y) + i * b + part, 0);  // complex: imaginary part 0
    }
};

// numpy's names of the element types ('descr'), and the types of complex
// integers written as pairs.
const std::map<std::string, std::string> kNumpyTypes = {
    {"8u", "|u1"}, {"8s", "|i1"}, {"16u", "<u2"}, {"16s", "<i2"}, {"32u", "<u4"}, {"32s", "<i4"}, {"64s", "<i8"},
    {"32f", "<f4"}, {"64f", "<f8"}, {"32fc", "<c8"}, {"64fc", "<c16"}, {"16sc", "<i2"}, {"32sc", "<i4"}};

void writeNpy(Buffer& b, const std::string& path) {
    std::string shape(1, '(');
    shape += std::to_string(b.height) + ", " + std::to_string(b.width);
    if (b.channels > 1) shape += ", " + std::to_string(b.channels);
    if (b.elem == "16sc" || b.elem == "32sc") shape += ", 2";  // numpy has no complex integers: pairs
    std::string header = "{'descr': '" + kNumpyTypes.at(b.elem) + "', 'fortran_order': False, 'shape': " + shape + "), }";
    header.append(63 - (10 + header.size()) % 64, ' ').push_back('\n');
    std::ofstream out(path, std::ios::binary);
    const std::uint16_t length = std::uint16_t(header.size());
    out.write("\x93NUMPY\x01\x00", 8).write(reinterpret_cast<const char*>(&length), 2) << header;
    out.write(reinterpret_cast<const char*>(b.bytes.data()), std::streamsize(b.bytes.size()));
    if (!out) throw std::runtime_error("cannot write " + path);
}

Buffer readNpy(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    char magic[10] = {};
    if (!in.read(magic, 10) || std::memcmp(magic, "\x93NUMPY", 6) != 0 || magic[6] != 1) {
        throw std::runtime_error(path + ": not a version 1 .npy file");
    }
    std::string header(std::uint8_t(magic[8]) | std::uint8_t(magic[9]) << 8, ' ');
    in.read(header.data(), std::streamsize(header.size()));
    auto field = [&](const char* key, char open, char close) {
        const auto at = header.find(key), from = header.find(open, at + std::strlen(key)), to = header.find(close, from + 1);
        if (at == std::string::npos || from == std::string::npos || to == std::string::npos) throw std::runtime_error(path + ": no " + key);
        return header.substr(from + 1, to - from - 1);
    };
    if (header.find("'fortran_order': True") != std::string::npos) throw std::runtime_error(path + ": Fortran order");
    const std::string descr = field("'descr'", '\'', '\'');
    std::string elem;
    for (const auto& [code, name] : kNumpyTypes)
        if (name == descr && code.back() != 'c') elem = code;
    if (descr == "<c8" || descr == "<c16") elem = descr == "<c8" ? "32fc" : "64fc";
    if (elem.empty()) throw std::runtime_error(path + ": element type " + descr + " is not one of the library's");
    std::vector<int> dims;
    std::stringstream shape(field("'shape'", '(', ')'));
    for (std::string d; std::getline(shape, d, ',');)
        if (d.find_first_not_of(' ') != std::string::npos) dims.push_back(std::stoi(d));
    if (dims.size() < 2 || dims.size() > 3) throw std::runtime_error(path + ": not an image (height, width[, channels])");
    Buffer b(elem, dims.size() == 3 ? dims[2] : 1, dims[1], dims[0]);
    if (!in.read(reinterpret_cast<char*>(b.bytes.data()), std::streamsize(b.bytes.size()))) throw std::runtime_error(path + ": too short");
    return b;
}

bool isNpy(const std::string& path) { return path.size() > 4 && path.compare(path.size() - 4, 4, ".npy") == 0; }

int channelsOf(const std::string& layout) {
    return layout == "C1" ? 1 : layout == "C3" || layout == "P3" ? 3 : layout == "C4" || layout == "AC4" || layout == "P4" ? 4 : 1;
}

// The image parameter's element type and channels in the member's layout:
// sources take the first layout code, destinations the last ("C4C3").
Buffer shapeFor(const Function& f, const apicall::Param& p, int width, int height) {
    std::vector<std::string> layout;
    for (const std::string& l : f.layout)
        if (l != "CR") layout.push_back(l);
    const bool destination = p.role == "dst" || p.role == "dstPlanes";
    const int channels = layout.empty() ? 1 : channelsOf(destination ? layout.back() : layout.front());
    return Buffer(p.elem, p.count > 0 ? 1 : channels, width, height);
}

// An input in the parameter's type and layout: from a file, or the test image.
Buffer inputFor(const Function& f, const apicall::Param& p, const std::string& path, int index) {
    Buffer shape = shapeFor(f, p, 0, 0);
    const int channels = p.count > 0 ? p.count : p.role == "mask" ? 1 : shape.channels;
    if (isNpy(path)) {
        Buffer b = readNpy(path);
        if (b.channels != channels) throw std::runtime_error(path + ": " + f.name + " takes " + std::to_string(channels) + " channels");
        if (b.elem == p.elem) return b;
        Buffer out(p.elem, channels, b.width, b.height);
        for (int y = 0; y < b.height; ++y)
            for (std::size_t i = 0; i < std::size_t(b.width) * channels; ++i) out.set(y, i, b.get(y, i));
        return out;
    }
    Image file = path.empty() ? (index == 0 ? makeTestImage(512, 512, 3) : makeMirroredTestImage(512, 512, 3)) : readImage(path);
    if (file.channels() != channels) file = convertChannels(file, channels);
    Buffer out(p.elem, channels, file.width(), file.height());
    for (int y = 0; y < file.height(); ++y) {
        for (std::size_t i = 0; i < std::size_t(file.width()) * channels; ++i) {
            out.set(y, i, file.type() == SampleType::U8 ? file.row<Ovk8u>(y)[i] : file.row<Ovk16u>(y)[i]);
        }
    }
    return out;
}

// Whether an image file (not only .npy) can hold the buffer.
bool pictured(const Buffer& b) { return (b.elem == "8u" || b.elem == "16u") && b.channels != 2 && b.channels <= 4; }

void writeOutput(Buffer& b, const std::string& path) {
    if (isNpy(path)) return writeNpy(b, path);
    if (!pictured(b)) {
        throw std::runtime_error(path + ": a " + b.elem + " image of " + std::to_string(b.channels) + " channels goes to a .npy file");
    }
    Image image(b.elem == "8u" ? SampleType::U8 : SampleType::U16, b.channels, b.width, b.height);
    for (int y = 0; y < b.height; ++y) std::memcpy(image.row<Ovk8u>(y), b.row(y), b.step);
    writeImage(image, path);
}

OvkiSize parseSize(const std::string& name, const std::string& text) {
    int w = 0, h = 0;
    char x = 0, rest = 0;
    if (std::sscanf(text.c_str(), "%d%c%d%c", &w, &x, &h, &rest) != 3 || (x != 'x' && x != ',')) {
        throw UsageError("--" + name + ": '" + text + "' is not a size WxH");
    }
    return {w, h};
}

// A number or, for an enumeration, a member's name.
std::vector<double> parameterValues(const apicall::Param& p, const Options& options) {
    const std::string text = options.text(p.name);
    const std::string type = p.type.rfind("const ", 0) == 0 ? p.type.substr(6) : p.type;
    if (const auto* members = apicall::enumeration(type)) {
        for (const apicall::EnumMember& e : *members)
            if (e.name == text) return {double(e.value)};
    }
    return options.numbers(p.name);
}

bool writes(const apicall::Param& p) { return p.role == "dst" || p.role == "srcdst" || p.role == "dstPlanes"; }
bool takesImage(const apicall::Param& p) { return p.role == "src" || p.role == "srcdst" || p.role == "srcPlanes" || p.role == "mask"; }
bool takesOption(const apicall::Param& p) { return !p.image() && p.role != "step" && p.role != "mask" && p.role != "out"; }

void printHelp(const Function& f) {
    std::printf("usage: ovkimg call %s", f.name.c_str());
    for (const apicall::Param& p : f.params)
        if (takesImage(p)) std::printf(" [%s]", p.name.c_str());
    std::printf(" [-o FILE[,FILE...]]");
    for (const apicall::Param& p : f.params) {
        if (!takesOption(p)) continue;
        const bool optional = p.role == "scale" || p.role == "seed" || p.domain || p.role == "roi" || p.role == "srcRoi";
        std::printf(" %s--%s %s%s", optional ? "[" : "", p.name.c_str(), p.type == "OvkiSize" ? "WxH" : p.count > 0 ? "V[,V...]" : "V",
                    optional ? "]" : "");
    }
    std::printf("\n\n%s\n\n%s %s(", f.doc.c_str(), f.returns.c_str(), f.name.c_str());
    for (std::size_t i = 0; i < f.params.size(); ++i) {
        const apicall::Param& p = f.params[i];
        std::printf("%s%s %s", i ? ", " : "", p.type.c_str(), p.name.c_str());
        if (p.count) std::printf("[%d]", p.count);
    }
    std::printf(");\n");
}

// The buffers of an image parameter: one, or one per plane.
using Images = std::map<std::string, std::vector<Buffer>>;

// Sample channel `from` of `src` into channel `to` of `dst` (same size and type).
void copyChannel(const Buffer& src, int from, Buffer& dst, int to) {
    const int bytes = apicall::elementBytes(src.elem);
    for (int y = 0; y < src.height; ++y) {
        for (int x = 0; x < src.width; ++x) {
            std::memcpy(dst.row(y) + (std::size_t(x) * dst.channels + to) * bytes,
                        src.bytes.data() + y * src.step + (std::size_t(x) * src.channels + from) * bytes, bytes);
        }
    }
}

// Every input image, from the files given in order or the test image; planes split.
Images readInputs(const Function& f, const Options& options) {
    Images images;
    std::size_t next = 0;
    for (const apicall::Param& p : f.params) {
        if (!takesImage(p)) continue;
        const std::string path = next < options.inputs.size() ? options.inputs[next] : "";
        Buffer b = inputFor(f, p, path, int(next++));
        for (int k = 0; k < p.count; ++k) {
            copyChannel(b, k, images[p.name].emplace_back(b.elem, 1, b.width, b.height), 0);
        }
        if (p.count == 0) images[p.name].push_back(std::move(b));
    }
    if (next < options.inputs.size()) throw UsageError(f.name + " takes " + std::to_string(next) + " images");
    return images;
}

// The values of the parameters given as options, or their defaults.
std::map<std::string, std::vector<double>> readNumbers(const Function& f, const Options& options) {
    std::map<std::string, std::vector<double>> numbers;
    for (const apicall::Param& p : f.params) {
        if (!takesOption(p) || p.type == "OvkiSize") continue;
        if (options.has(p.name)) {
            numbers[p.name] = parameterValues(p, options);
        } else if (p.role == "scale" || p.role == "seed" || p.domain) {
            numbers[p.name] = {double(p.role == "seed" ? 1 : p.domain ? p.domain->first() : 0)};
        } else {
            throw UsageError("needs --" + p.name + " (see 'ovkimg call " + f.name + " --help')");
        }
    }
    return numbers;
}

}  // namespace

int runCall(std::span<const std::string> args) {
    if (args.empty() || args[0] == "--list") {
        for (const Function& f : apicall::functions())
            if (args.size() < 2 || f.name.find(args[1]) != std::string::npos) std::printf("%s\n", f.name.c_str());
        return 0;
    }
    const auto& all = apicall::functions();
    const auto found = std::find_if(all.begin(), all.end(), [&](const Function& f) { return f.name == args[0]; });
    if (found == all.end()) throw UsageError("unknown function '" + args[0] + "' (see 'ovkimg call --list')");
    const Function& f = *found;
    std::vector<OptionSpec> specs;
    for (const apicall::Param& p : f.params)
        if (takesOption(p)) specs.push_back({p.name.c_str(), "V", ""});
    const Options options = parseOptions(args.subspan(1), specs);
    if (options.help) return printHelp(f), 0;

    Images images = readInputs(f, options);
    auto numbers = readNumbers(f, options);
    const apicall::Param* firstImage = nullptr;  // the region is its size
    for (const apicall::Param& p : f.params) {
        if (!firstImage && takesImage(p)) firstImage = &p;
    }
    const Buffer* first = firstImage ? &images.at(firstImage->name)[0] : nullptr;
    const OvkiSize roi = options.has("roiSize") ? parseSize("roiSize", options.text("roiSize"))
                         : first                ? OvkiSize{first->width, first->height}
                                                : OvkiSize{512, 512};
    bool transposed = f.has("transposed");
    for (const apicall::ConditionalTrait& t : f.traitsWhen) {
        for (long long v : t.values) transposed |= t.trait == "transposed" && numbers.count(t.param) && numbers[t.param][0] == double(v);
    }
    OvkiSize dstSize = options.has("dstRoiSize") ? parseSize("dstRoiSize", options.text("dstRoiSize"))
                       : transposed              ? OvkiSize{roi.height, roi.width}
                                                 : roi;
    dstSize = {std::max(dstSize.width, 1), std::max(dstSize.height, 1)};  // else the library refuses it first

    // An in-place border copy writes around its source: the source sits in a
    // frame of the destination's size, which is the output.
    std::size_t frameOffset = 0;
    const bool framed = f.has("border") && f.flags.find('I') != std::string::npos;
    if (framed) {
        const double top = numbers["topBorderHeight"][0], left = numbers["leftBorderWidth"][0];
        Buffer& src = images.at(firstImage->name)[0];
        Buffer frame(src.elem, src.channels, dstSize.width, dstSize.height);
        const std::size_t pixel = std::size_t(src.channels) * apicall::elementBytes(src.elem);
        if (top >= 0 && left >= 0 && top + src.height <= frame.height && left + src.width <= frame.width) {
            frameOffset = std::size_t(top) * frame.step + std::size_t(left) * pixel;
            for (int y = 0; y < src.height; ++y) std::memcpy(frame.bytes.data() + frameOffset + y * frame.step, src.row(y), src.step);
        }  // else the library refuses the sizes before it touches memory
        src = std::move(frame);
    }

    std::vector<Arg> arguments;
    std::vector<std::vector<std::uint8_t>> storage;  // plane pointers and results
    std::vector<std::pair<const apicall::Param*, std::uint8_t*>> results;
    for (const apicall::Param& p : f.params) {
        if (p.role == "dst" || p.role == "dstPlanes") {
            Buffer shape = f.has("writesMask") ? Buffer("8u", 1, dstSize.width, dstSize.height) : shapeFor(f, p, dstSize.width, dstSize.height);
            if (f.layout.back() == "AC4" && first && first->elem == shape.elem && first->bytes.size() == shape.bytes.size()) {
                shape.bytes = first->bytes;  // the alpha an AC4 member leaves is the source's
            }
            images[p.name].assign(std::size_t(std::max(1, p.count)), shape);
        }
        if (p.image() || p.role == "mask") {
            std::vector<Buffer>& list = images.at(p.name);
            std::vector<std::uint8_t>& pointers = storage.emplace_back(sizeof(void*) * list.size());
            for (std::size_t k = 0; k < list.size(); ++k) {
                void* q = list[k].bytes.data() + (framed && &p == firstImage ? frameOffset : 0);
                std::memcpy(pointers.data() + k * sizeof q, &q, sizeof q);
            }
            arguments.emplace_back(p.count > 0 ? static_cast<const void*>(pointers.data()) : list[0].bytes.data() + (framed && &p == firstImage ? frameOffset : 0));
        } else if (p.role == "step") {
            arguments.emplace_back(int(images.at(p.of)[0].step));
        } else if (p.type == "OvkiSize") {
            arguments.emplace_back(p.role == "dstRoi" ? dstSize : p.role == "roi" || p.role == "srcRoi" ? roi : parseSize(p.name, options.text(p.name, "512x512")));
        } else if (p.type == "void*") {
            arguments.emplace_back(static_cast<const void*>(nullptr));  // an untyped pointer (what ovkiFree releases): nothing here
        } else if (p.role == "out" || (p.pointer() && p.role == "seed")) {
            std::uint8_t* cell = storage.emplace_back(64, 0).data();
            if (p.role == "seed") apicall::writePart("32u", cell, numbers[p.name][0]);
            results.emplace_back(&p, cell);
            arguments.emplace_back(static_cast<const void*>(cell));
        } else if (p.count > 0) {
            std::vector<double> v = numbers.at(p.name);
            arguments.emplace_back(v.size() == 1 ? std::vector<double>(std::size_t(p.count), v[0]) : v);
        } else {
            arguments.emplace_back(numbers.at(p.name).at(0));
        }
    }

    const std::int64_t result = invokeRaw(f, arguments);
    if (f.returns == "OvkStatus" && !reportStatus(f.name.c_str(), OvkStatus(result))) return 1;
    if (f.returns.find('*') != std::string::npos) {
        std::printf("%s returned %s\n", f.name.c_str(), result ? "a pointer" : "null");
        if (f.name.rfind("ovkiMalloc", 0) == 0) ovkiFree(reinterpret_cast<void*>(result));  // the tool keeps nothing
    }
    for (const auto& [p, cell] : results) {
        const std::string elem = p->elem.empty() ? "32s" : p->elem;
        std::printf("%s =", p->name.c_str());
        for (int k = 0; k < (p->role == "seed" || !first ? 1 : std::min(4, first->channels)); ++k) {
            std::printf(" %.17Lg", apicall::readPart(elem, cell + k * apicall::elementBytes(elem)));
        }
        std::printf("\n");
    }
    std::stringstream paths(options.output);
    for (const apicall::Param& p : f.params) {
        if (!writes(p) && !(framed && &p == firstImage)) continue;
        const std::vector<Buffer>& planes = images.at(p.name);
        Buffer joined(planes[0].elem, int(planes.size()) * planes[0].channels, planes[0].width, planes[0].height);
        if (planes.size() == 1) joined = planes[0];
        for (std::size_t k = 0; planes.size() > 1 && k < planes.size(); ++k) copyChannel(planes[k], 0, joined, int(k));
        std::string path;
        if (!std::getline(paths, path, ',')) path = "ovkimg-" + p.name + (pictured(joined) ? ".png" : ".npy");
        writeOutput(joined, path);
        std::printf("wrote %s (%dx%d %s, %d channel%s)\n", path.c_str(), joined.width, joined.height, joined.elem.c_str(),
                    joined.channels, joined.channels == 1 ? "" : "s");
    }
    return 0;
}

}  // namespace ovkimg
