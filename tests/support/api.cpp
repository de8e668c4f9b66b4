#include "support/api.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <map>
#include <stdexcept>

namespace ovktest::api {

bool Image::inside(std::size_t offset) const
{
    if (offset < std::size_t(roiOffset)) return false;
    const std::size_t rel = offset - roiOffset;
    return rel / step < std::size_t(height) && rel % step < std::size_t(width) * channels * elem;
}

static bool guardPages = false;

void useGuardPages(bool on) { guardPages = on; }

// Guarded blocks are kept for reuse by their page count: unmapping costs a
// TLB flush on every core, which would dominate a fuzz run.
static std::map<std::size_t, std::vector<std::uint8_t*>>& spareMappings()
{
    static std::map<std::size_t, std::vector<std::uint8_t*>> spare;
    return spare;
}

static std::size_t pageSize() { return std::size_t(sysconf(_SC_PAGESIZE)); }

// The block sits at the end of its pages (its start aligned to 16 bytes, so
// at most 15 bytes short of the end), followed by one inaccessible page.
std::uint8_t* ImageAllocator::allocate(std::size_t bytes)
{
    if (!guardPages) return static_cast<std::uint8_t*>(::operator new(bytes));
    const std::size_t page = pageSize(), data = (bytes + page - 1) / page * page;
    std::vector<std::uint8_t*>& spare = spareMappings()[data];
    std::uint8_t* base;
    if (!spare.empty()) {
        base = spare.back();
        spare.pop_back();
    } else {
        void* m = mmap(nullptr, data + page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (m == MAP_FAILED) throw std::bad_alloc();
        base = static_cast<std::uint8_t*>(m);
        mprotect(base + data, page, PROT_NONE);
    }
    return base + ((data - bytes) & ~std::size_t(15));
}

void ImageAllocator::deallocate(std::uint8_t* p, std::size_t bytes)
{
    if (!guardPages) return ::operator delete(p);
    const std::size_t page = pageSize(), data = (bytes + page - 1) / page * page;
    std::uint8_t* base = p - ((data - bytes) & ~std::size_t(15));
    std::vector<std::uint8_t*>& spare = spareMappings()[data];
    if (spare.size() < 16) spare.push_back(base);
    else munmap(base, data + page);
}

// ---------------------------------------------------------------------------

static std::size_t indexOf(const Function& f, const std::string& name)
{
    for (std::size_t i = 0; i < f.params.size(); ++i)
        if (f.params[i].name == name) return i;
    throw std::runtime_error(f.name + " has no parameter " + name);
}

std::uint32_t Invocation::next()
{
    rng_ ^= rng_ << 13;
    rng_ ^= rng_ >> 17;
    rng_ ^= rng_ << 5;
    return rng_;
}

Invocation::Invocation(const Function& f, const CallSetup& s) : f_(f), setup_(s), roi_(s.roi), rng_(s.seed * 2654435761u + 1)
{
    args_.resize(f.params.size());
    for (std::size_t i = 0; i < f.params.size(); ++i) {
        const Param& p = f.params[i];
        Arg& a = args_[i];
        if (p.image() || p.role == "mask" || p.role == "out")
            makeImage(p, int(i));
        else if (p.role == "step") {
            const int s = imageOf(p)->step *
                          (setup_.bottomUp ? -1 : 1);
            std::memcpy(a.bytes, &s, 4);
        } else if (p.role == "roi") {
            std::memcpy(a.bytes, &roi_, sizeof roi_);
        } else if (p.role == "srcRoi" || p.role == "dstRoi") {
            const OvkiSize sz = p.role == "srcRoi" ? roi_ : OvkiSize{roi_.width + 5, roi_.height + 4};
            std::memcpy(a.bytes, &sz, sizeof sz);
        } else if (p.type == "OvkiSize") {  // a size of its own (a block): a few pixels
            const OvkiSize few{3, 2};
            std::memcpy(a.bytes, &few, sizeof few);
        } else if (p.role == "scale") {
            std::memcpy(a.bytes, &setup_.scale, 4);
        } else if (p.role == "seed") {
            a.array.assign(4, 0);
            const std::uint32_t seed = 12345u + s.seed;
            std::memcpy(a.array.data(), &seed, 4);
            pointAt(a, a.array.data());
        } else {
            fillValue(p, a);
        }
    }
}

void Invocation::pointAt(Arg& a, void* where)
{
    a.target = where;
    std::memcpy(a.bytes, &where, sizeof where);
}

void Invocation::makeImage(const Param& p, int index)
{
    const bool planes = p.role.find("Planes") != std::string::npos;
    const bool dst = p.role == "dst" || p.role == "dstPlanes";
    const bool border = f_.has("border");
    const bool borderInPlace = border && !f_.param("pDst");
    const std::string token = f_.layout.empty() ? "C1"
                              : dst && f_.layout.back() != "CR" ? f_.layout.back()
                                                                : f_.layout.front();
    // A result behind a pointer (a count per channel, a threshold) is a
    // one-row image of one element per processed channel.
    const bool out = p.role == "out";
    const bool oneChannel = planes || p.role == "mask" || out || (dst && f_.has("writesMask"));
    Image im;
    im.elem = p.role == "mask" ? 1 : elementBytes(p.elem);
    im.channels = oneChannel ? 1 : token == "AC4" ? 4 : token[1] - '0';
    im.output = dst || out || p.role == "srcdst" || borderInPlace;
    im.keepsAlpha = im.output && !oneChannel && token == "AC4" && !f_.has("writesAlpha");
    OvkiSize size = roi_;
    if (out) size = {token == "AC4" ? 3 : token[1] - '0', 1};
    bool transposed = f_.has("transposed");
    for (const ConditionalTrait& t : f_.traitsWhen) {  // by the value the parameter will get
        const Param& q = *f_.param(t.param);
        const auto given = setup_.values.find(t.param);
        const long long v = given != setup_.values.end() ? given->second : q.domain ? q.domain->first() : 0;
        transposed |= t.trait == "transposed" && std::find(t.values.begin(), t.values.end(), v) != t.values.end();
    }
    if (dst && transposed) size = {roi_.height, roi_.width};
    if ((dst && border) || borderInPlace) size = {roi_.width + 5, roi_.height + 4};
    im.width = size.width;
    im.height = size.height;
    const int rowBytes = im.width * im.channels * im.elem;
    const int padding = setup_.tight ? 0 : setup_.padding >= 0 ? setup_.padding : int(1 + 2 * (next() % 5));
    im.step = rowBytes + im.elem * padding;
    const int lead = setup_.lead >= 0 ? setup_.lead * im.elem : 48 + 3 * im.elem;
    im.roiOffset = lead;
    im.bytes.resize(std::size_t(lead) * 2 + std::size_t(im.step) * im.height);
    for (auto& b : im.bytes) b = std::uint8_t(next() >> 7);
    if (p.role == "mask")
        for (auto& b : im.bytes) b = (next() & 1) ? b : 0;
    im.saved = im.bytes;
    Arg& a = args_[index];
    for (int k = 0; k < (planes ? p.count : 1); ++k) {
        im.param = planes ? p.name + "#" + std::to_string(k) : p.name;
        images_.push_back(im);
        Image& placed = images_.back();
        // Bottom-up images start at the last ROI row (the in-place border's ROI is inside the frame).
        const int rows = borderInPlace ? roi_.height : placed.height;
        std::uint8_t* at = placed.at(borderInPlace ? 3 : 0, (borderInPlace ? 2 : 0) + (setup_.bottomUp ? rows - 1 : 0));
        if (planes) a.planes.push_back(at);
        else pointAt(a, at);
        for (auto& b : im.bytes) b = std::uint8_t(next() >> 9);  // the next plane differs
        im.saved = im.bytes;
    }
    if (planes) pointAt(a, a.planes.data());
}

void Invocation::fillValue(const Param& p, Arg& a)
{
    const Domain d = p.domain.value_or(Domain{});
    const long long lo = d.min.value_or(0), span = d.max ? *d.max - lo + 1 : 4;
    if (p.count > 0) {  // an array behind a pointer
        const int bytes = p.elem.empty() ? 4 : elementBytes(p.elem);
        a.array.assign(std::size_t(bytes) * p.count, 0);
        for (int k = 0; k < p.count; ++k) {
            std::uint8_t* at = a.array.data() + std::size_t(k) * bytes;
            if (p.elem.empty()) {
                const int v = int(lo + (p.count - 1 - k) % span);
                std::memcpy(at, &v, 4);
            } else if (p.domain && !d.nonzero) {
                writeNumber(p.elem, lo + long(next() % span), at);
            } else {
                writeNumber(p.elem, d.nonzero ? 1 + next() % 9 : long(next() % 200) - 50, at);
                if (!d.nonzero && next() % 2)
                    for (int b = 0; b < bytes; ++b) at[b] = std::uint8_t(next());
            }
        }
        pointAt(a, a.array.data());
    } else if (!p.elem.empty()) {
        writeNumber(p.elem, d.nonzero ? 1 + next() % 9 : p.domain ? lo + long(next() % span) : long(next() % 100), a.bytes);
    } else if (p.type == "float" || p.type == "double") {
        const double v = 0.75 + (next() % 8) * 0.5;
        if (p.type == "float") {
            const float f = float(v);
            std::memcpy(a.bytes, &f, 4);
        } else {
            std::memcpy(a.bytes, &v, 8);
        }
    } else {
        int v = p.domain ? int(d.first()) : 0;
        if (p.name == "topBorderHeight") v = 2;
        if (p.name == "leftBorderWidth") v = 3;
        if (const auto it = setup_.values.find(p.name); it != setup_.values.end()) v = int(it->second);
        std::memcpy(a.bytes, &v, 4);
    }
}


Image* Invocation::imageOf(const Param& step)
{
    return image(step.of + (f_.param(step.of)->role.find("Planes") != std::string::npos ? "#0" : ""));
}

OvkStatus Invocation::call()
{
    std::vector<void*> values;
    for (Arg& a : args_) values.push_back(a.bytes);
    return OvkStatus(ovk::apicall::call(f_, values.data()));
}

Image* Invocation::image(const std::string& param)
{
    for (Image& im : images_)
        if (im.param == param) return &im;
    return nullptr;
}

// One part of an element of type `code` at p, as a number, and back.

static const std::string& elemOf(const Function& f, const std::string& param)
{
    return f.param(param.substr(0, param.find('#')))->elem;
}

long double Invocation::get(const std::string& param, int x, int y, int c, int part) const
{
    const std::string& code = elemOf(f_, param);
    for (const Image& im : images_)
        if (im.param == param)
            return readPart(code, im.bytes.data() + im.roiOffset + std::size_t(y) * im.step +
                                      (std::size_t(x) * im.channels + c) * im.elem + part * partBytes(code));
    throw std::runtime_error("no image " + param);
}

void Invocation::set(const std::string& param, int x, int y, int c, int part, long double v)
{
    const std::string& code = elemOf(f_, param);
    Image* im = image(param);
    const std::size_t at = im->roiOffset + std::size_t(y) * im->step + (std::size_t(x) * im->channels + c) * im->elem +
                           part * partBytes(code);
    writePart(code, im->bytes.data() + at, v);
    std::memcpy(im->saved.data() + at, im->bytes.data() + at, partBytes(code));
}

long double Invocation::arg(const std::string& param, int k, int part) const
{
    const std::size_t i = indexOf(f_, param);
    const Param& p = f_.params[i];
    const Arg& a = args_[i];
    const std::uint8_t* base = a.array.empty() ? a.bytes : a.array.data();
    if (p.elem.empty()) {
        int v;
        std::memcpy(&v, base + 4 * k, 4);
        return v;
    }
    return readPart(p.elem, base + std::size_t(k) * elementBytes(p.elem) + part * partBytes(p.elem));
}

std::vector<std::string> Invocation::images(bool outputsOnly) const
{
    std::vector<std::string> names;
    for (const Image& im : images_)
        if (im.output || !outputsOnly) names.push_back(im.param);
    return names;
}


void Invocation::setNull(const std::string& param, int plane)
{
    Arg& a = args_[indexOf(f_, param)];
    if (plane >= 0)
        a.planes[plane] = nullptr;
    else
        std::memset(a.bytes, 0, sizeof(void*));
}

void Invocation::setSize(const std::string& param, OvkiSize size)
{
    std::memcpy(args_[indexOf(f_, param)].bytes, &size, sizeof size);
}

void Invocation::setInt(const std::string& param, int value, int element)
{
    Arg& a = args_[indexOf(f_, param)];
    std::memcpy(a.array.empty() ? a.bytes : a.array.data() + 4 * element, &value, 4);
}

void Invocation::setNumber(const std::string& param, int element, long double v)
{
    const Param& p = f_.params[indexOf(f_, param)];
    std::uint8_t bytes[16] = {};
    writePart(p.elem, bytes, v);
    setRaw(param, element, bytes, elementBytes(p.elem));
}

void Invocation::setRaw(const std::string& param, int element, const void* bytes, int count)
{
    Arg& a = args_[indexOf(f_, param)];
    std::memcpy(a.array.empty() ? a.bytes : a.array.data() + std::size_t(count) * element, bytes, count);
}

OvkiSize Invocation::size(const std::string& param) const
{
    OvkiSize s;
    std::memcpy(&s, args_[indexOf(f_, param)].bytes, sizeof s);
    return s;
}

bool Invocation::isNull(const std::string& param) const
{
    const Arg& a = args_[indexOf(f_, param)];
    void* p;
    std::memcpy(&p, a.bytes, sizeof p);
    return p == nullptr || std::find(a.planes.begin(), a.planes.end(), nullptr) != a.planes.end();
}

bool Invocation::runs(const Check& c) const
{
    if (c.when.empty()) return true;
    const long long v = static_cast<long long>(arg(c.when));
    return std::find(c.whenValues.begin(), c.whenValues.end(), v) != c.whenValues.end();
}

bool Invocation::breakParam(const std::string& param, int variant)
{
    const Param& p = f_.params[indexOf(f_, param)];
    const Domain d = p.domain.value();
    Arg& a = args_[indexOf(f_, param)];
    const int elements = std::max(1, p.count);
    if (d.nonzero) {
        if (variant >= elements) return false;
        const int bytes = elementBytes(p.elem);
        std::memset((p.count ? a.array.data() : a.bytes) + bytes * variant, 0, bytes);
        return true;
    }
    std::vector<long long> bad;
    if (!d.values.empty()) {
        bad = {*std::max_element(d.values.begin(), d.values.end()) + 1, *std::min_element(d.values.begin(), d.values.end()) - 1};
    } else {
        if (d.min) bad.push_back(*d.min - 1);
        if (d.max) bad.push_back(*d.max + 1);
        bad.push_back(INT_MIN);
    }
    if (variant >= int(bad.size()) * elements) return false;
    const long long v = bad[variant % bad.size()];
    const int element = variant / int(bad.size());
    if (p.elem.empty()) {
        setInt(param, int(v), element);
    } else {  // an element type, also a float
        std::uint8_t bytes[16];
        writeNumber(p.elem, v, bytes);
        setRaw(param, element, bytes, elementBytes(p.elem));
    }
    return true;
}

void Invocation::copyImage(const Invocation& other, const std::string& from, const std::string& to, int x0, int y0)
{
    Image* dst = image(to);
    const Image* src = nullptr;
    for (const Image& im : other.images_)
        if (im.param == from) src = &im;
    const int rowBytes = dst->width * dst->channels * dst->elem;
    const std::size_t srcRoi = src->roiOffset + std::size_t(y0) * src->step + std::size_t(x0) * src->channels * src->elem;
    for (int y = 0; y < dst->height; ++y)
        std::memcpy(dst->roi() + std::size_t(y) * dst->step, src->saved.data() + srcRoi + std::size_t(y) * src->step, rowBytes);
    dst->saved = dst->bytes;
}

void Invocation::copyScalars(const Invocation& other)
{
    for (std::size_t i = 0; i < f_.params.size(); ++i) {
        const Param& p = f_.params[i];
        const Param* q = other.f_.param(p.name);
        if (p.image() || p.role == "mask" || p.role == "step" || p.role == "roi" || !q || q->role != p.role) continue;
        const Arg& o = other.args_[indexOf(other.f_, p.name)];
        if (!o.array.empty()) {
            args_[i].array = o.array;
            pointAt(args_[i], args_[i].array.data());
        } else if (!p.pointer()) {
            std::memcpy(args_[i].bytes, o.bytes, sizeof o.bytes);
        }
    }
}

std::string Invocation::unchanged() const
{
    for (const Image& im : images_)
        if (im.bytes != im.saved) return im.param + " was written";
    return "";
}

std::string Invocation::writeDiscipline() const
{
    for (const Image& im : images_) {
        for (std::size_t i = 0; i < im.bytes.size(); ++i) {
            if (im.bytes[i] == im.saved[i]) continue;
            if (!im.output) return im.param + ": a source was written";
            if (!im.inside(i)) return im.param + ": written outside the region";
            if (im.keepsAlpha && (i - im.roiOffset) % im.step / im.elem % 4 == 3) return im.param + ": alpha written";
        }
    }
    return "";
}

std::vector<std::uint8_t> Invocation::region(const std::string& param, int x0, int y0, int w, int h) const
{
    const Image* im = nullptr;
    for (const Image& i : images_)
        if (i.param == param) im = &i;
    if (w < 0) w = im->width - x0;
    if (h < 0) h = im->height - y0;
    std::vector<std::uint8_t> out;
    for (int y = y0; y < y0 + h; ++y)
        for (int x = x0; x < x0 + w; ++x)
            for (int c = 0; c < (im->keepsAlpha ? 3 : im->channels); ++c) {
                const std::uint8_t* e = im->bytes.data() + im->roiOffset + std::size_t(y) * im->step +
                                        (std::size_t(x) * im->channels + c) * im->elem;
                out.insert(out.end(), e, e + im->elem);
            }
    return out;
}

}  // namespace ovktest::api
