// A libFuzzer target over every export, driven by the API description: the
// input picks a function, a ROI shape, the memory layout (padding, guard band,
// bottom-up rows) and a few hostile changes to its arguments (null pointers,
// empty or huge sizes, bad steps, values out of their domain, extremes and
// NaN where any value is allowed). Images end where an inaccessible page
// begins. For every call:
//   - nothing crashes, hangs or trips the sanitizers;
//   - the status is the one of the first declared check that a change broke,
//     and not negative when no change broke one;
//   - a rejected call writes nothing; an accepted one writes only its output
//     regions, no source and no AC4 alpha.
// Functions with no status (allocators, the version) are called with extreme
// sizes and their blocks written end to end.
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

#include "support/api.hpp"

namespace {

using namespace ovktest::api;

// The fuzz input as a stream of choices; past its end every choice is 0.
class Choices {
public:
    Choices(const std::uint8_t* data, std::size_t size) : p_(data), n_(size) {}
    std::uint32_t bits(int count)
    {
        std::uint32_t v = 0;
        for (int i = 0; i < count; i += 8) v = v << 8 | (n_ ? (--n_, *p_++) : 0u);
        return count >= 32 ? v : v & ((1u << count) - 1);
    }
    bool flag() { return bits(8) & 1; }
    template <class T, std::size_t N>
    T among(const T (&options)[N]) { return options[bits(8) % N]; }

private:
    const std::uint8_t* p_;
    std::size_t n_;
};

[[noreturn]] void fail(const Function& f, const std::string& what, const std::string& changes)
{
    std::fprintf(stderr, "%s: %s (changes:%s)\n", f.name.c_str(), what.c_str(), changes.c_str());
    std::abort();
}

// Index of the first declared check of a kind that covers `param` (any
// parameter for size and steps), or -1.
int checkOf(const Function& f, const std::string& kind, const std::string& param = "")
{
    for (std::size_t i = 0; i < f.checks.size(); ++i) {
        const Check& c = f.checks[i];
        if (c.kind != kind) continue;
        if (param.empty() || kind == "size" || kind == "steps" || kind == "rowSteps") return int(i);
        for (const std::string& n : c.params)
            if (n == param) return int(i);
    }
    return -1;
}

const int kHostileInts[] = {INT_MAX, INT_MIN, -1, 0, 1, INT_MAX - 1, INT_MIN + 1, 65535, 256, -32769};

struct Call {
    const Function& f;
    Invocation& inv;
    Choices& in;
    std::string changes;

    void note(const std::string& what) { changes += " " + what; }

    // Whether a declared check fails on the final arguments: its definition,
    // read from the description.
    bool fails(const Check& c) const
    {
        if (c.kind == "pointers") {
            for (const std::string& n : c.params)
                if (inv.isNull(n)) return true;
            return false;
        }
        if (c.kind == "steps" || c.kind == "rowSteps") {
            for (const Param& p : f.params) {
                if (p.role != "step") continue;
                const Image* im = inv.imageOf(p);
                const long long least = c.kind == "steps" ? 1 : (long long)(im->width) * im->channels * im->elem;
                if (inv.arg(p.name) < least) return true;
            }
            return false;
        }
        if (c.kind == "size" && f.has("border")) {
            const OvkiSize src = inv.size("srcRoiSize"), dst = inv.size("dstRoiSize");
            const long long top = inv.arg("topBorderHeight"), left = inv.arg("leftBorderWidth");
            return !(src.width >= 1 && src.height >= 1 && top >= 0 && left >= 0 && left + src.width <= dst.width &&
                     top + src.height <= dst.height);
        }
        if (c.kind == "size" || c.kind == "minWidth" || c.kind == "minHeight") {
            const OvkiSize roi = inv.size("roiSize");
            if (c.kind == "minWidth") return roi.width < c.min;
            if (c.kind == "minHeight") return roi.height < c.min;
            return roi.width < 1 || roi.height < 1 || (f.has("square") && roi.width != roi.height);
        }
        const Param& p = *f.param(c.params.at(0));  // a parameter's own check: its domain
        const Domain& d = *p.domain;
        for (int k = 0; k < std::max(1, p.count); ++k) {
            if (d.nonzero) {
                const bool complex = !p.elem.empty() && p.elem.back() == 'c';
                if (inv.arg(p.name, k) == 0 && (!complex || inv.arg(p.name, k, 1) == 0)) return true;
                continue;
            }
            const long long v = static_cast<long long>(inv.arg(p.name, k));
            if (!d.values.empty() && std::find(d.values.begin(), d.values.end(), v) == d.values.end()) return true;
            if ((d.min && v < *d.min) || (d.max && v > *d.max)) return true;
        }
        return false;
    }

    // The index of the first declared check that runs and fails, or -1.
    int expected() const
    {
        for (std::size_t i = 0; i < f.checks.size(); ++i)
            if (inv.runs(f.checks[i]) && fails(f.checks[i])) return int(i);
        return -1;
    }

    void nullPointer()
    {
        std::vector<std::string> candidates;
        for (const Check& c : f.checks)
            if (c.kind == "pointers") candidates.insert(candidates.end(), c.params.begin(), c.params.end());
        if (candidates.empty()) return;
        const std::string n = candidates[in.bits(8) % candidates.size()];
        const bool plane = f.param(n)->role.find("Planes") != std::string::npos && in.flag();
        inv.setNull(n, plane ? 1 : -1);
        note(n + (plane ? "[1]" : "") + " null");
    }

    void emptySize()
    {
        const int size = checkOf(f, "size");
        if (size < 0) return;
        const OvkiSize bad[] = {{0, 1}, {1, 0}, {-1, 5}, {5, -1}, {INT_MIN, INT_MIN}, {INT_MAX, 0}, {0, INT_MAX}, {INT_MAX, INT_MIN}};
        for (const Param& p : f.params)
            if (p.role == "roi" || p.role == "srcRoi" || p.role == "dstRoi") {
                if (in.flag()) continue;
                const OvkiSize s = p.role == "srcRoi" && in.flag() ? OvkiSize{INT_MAX, INT_MAX} : in.among(bad);
                inv.setSize(p.name, s);
                note(p.name + "=" + std::to_string(s.width) + "x" + std::to_string(s.height));
                return;
            }
    }

    // Any step for a one-row image (its step never reaches memory); steps
    // below 1 for others, where a check rejects them.
    void badStep()
    {
        int steps = checkOf(f, "steps");
        if (steps < 0) steps = checkOf(f, "rowSteps");
        if (steps >= 0 && !inv.runs(f.checks[steps])) steps = -1;
        std::vector<std::pair<const Param*, bool>> candidates;  // the step, and whether any value goes
        for (const Param& p : f.params)
            if (p.role == "step") {
                const Image* im = inv.imageOf(p);
                if (steps >= 0 || im->height == 1) candidates.emplace_back(&p, im->height == 1);
            }
        if (candidates.empty()) return;
        const auto [p, anyValue] = candidates[in.bits(8) % candidates.size()];
        const int belowOne[] = {0, -1, INT_MIN, -32769};
        const int v = anyValue ? in.among(kHostileInts) : in.among(belowOne);
        inv.setInt(p->name, v);
        note(p->name + "=" + std::to_string(v));
    }

    // A value out of its declared domain, or any value where none is declared.
    void hostileValue()
    {
        std::vector<const Param*> candidates;
        for (const Param& p : f.params)
            if (p.role == "value" || p.role == "scalar" || p.role == "array" || p.role == "scale") candidates.push_back(&p);
        if (candidates.empty()) return;
        const Param& p = *candidates[in.bits(8) % candidates.size()];
        if (p.domain) {
            const int check = checkOf(f, "param", p.name);
            const int variant = int(in.bits(8) % 8);
            if (check >= 0 && inv.breakParam(p.name, variant)) note(p.name + " out of its domain");
            return;
        }
        if (f.has("border") && (p.name == "topBorderHeight" || p.name == "leftBorderWidth")) return borderOffset(p);
        if (p.role == "scalar" && p.elem.empty() && p.type != "float" && p.type != "double" && p.type != "int") return;
        rawValue(p, p.count > 0 ? int(in.bits(8) % p.count) : 0);
    }

    // Any bit pattern for an element (NaN, infinities and extremes included), or an extreme int.
    void rawValue(const Param& p, int element)
    {
        if (p.elem.empty() && p.type != "float" && p.type != "double") {
            const int v = in.among(kHostileInts);
            inv.setInt(p.name, v, element);
            note(p.name + "=" + std::to_string(v));
            return;
        }
        const std::string code = p.elem.empty() ? (p.type == "float" ? "32f" : "64f") : p.elem;
        const int bytes = p.elem.empty() ? (p.type == "float" ? 4 : 8) : elementBytes(code);
        std::uint8_t raw[16] = {};
        if (code.find('f') != std::string::npos && in.flag()) {
            const double special[] = {std::nan(""), INFINITY, -INFINITY, 1e300, -1e300, 3.4e38, -0.0, 1e-310, 2147483648.0, -2147483649.0};
            const double v = in.among(special);
            for (int part = 0; part < bytes / partBytes(code); ++part) {
                if (partBytes(code) == 4) {
                    const float fv = float(v);
                    std::memcpy(raw + 4 * part, &fv, 4);
                } else {
                    std::memcpy(raw + 8 * part, &v, 8);
                }
            }
        } else {
            for (int b = 0; b < bytes; ++b) raw[b] = std::uint8_t(in.bits(8));
        }
        inv.setRaw(p.name, element, raw, bytes);
        note(p.name + " raw");
    }

    // Border offsets: every value that keeps the source inside the
    // destination's memory, and values that must fail the frame check.
    void borderOffset(const Param& p)
    {
        const bool top = p.name == "topBorderHeight", inPlace = !f.param("pDst");
        const OvkiSize src = inv.size("srcRoiSize"), dst = inv.size("dstRoiSize");
        const long long room = top ? (long long)dst.height - src.height : (long long)dst.width - src.width;
        // In place the source sits at (3, 2) of the frame's memory: only that offset fits it.
        const int lo = inPlace ? (top ? 2 : 3) : 0;
        const int hi = inPlace ? lo : int(std::clamp<long long>(room, 0, INT_MAX));
        const int nearMax = int(std::clamp<long long>(INT_MAX - (long long)(top ? src.height : src.width), INT_MIN, INT_MAX));
        const int tooBig = int(std::clamp<long long>((long long)room + 1, INT_MIN, INT_MAX));
        const int options[] = {lo, hi, (lo + hi) / 2, -1, INT_MIN, INT_MAX, nearMax, tooBig};
        inv.setInt(p.name, in.among(options));
        note(p.name + "=" + std::to_string(int(inv.arg(p.name))));
    }

};

int channelsOf(const std::string& token) { return token == "AC4" ? 4 : token[1] - '0'; }

void fuzzUnchecked(const Function& f, Choices& in)
{
    if (f.returns == "void") {  // the matching free
        reinterpret_cast<void (*)(void*)>(f.address)(nullptr);
        return;
    }
    if (f.params.empty()) {  // the version record
        using Version = const OvkLibraryVersion* (*)();
        const OvkLibraryVersion* v = reinterpret_cast<Version>(f.address)();
        if (v == nullptr || v->major < 1 || v->Name == nullptr) fail(f, "no version", "");
        return;
    }
    // Image allocators at extreme sizes. The step and the block follow the
    // 32-bit rule (a wrapped total is what gets allocated); blocks the rule
    // makes larger than 64 MiB are not asked for.
    const int sizes[] = {INT_MAX, INT_MIN, -1, 0, 1, 3, 64, 65, 1921, 1 << 20, (1 << 26) + 1};
    const int w = in.among(sizes), h = in.among(sizes);
    const std::uint32_t bpp = std::uint32_t(elementBytes(f.types[0]) * channelsOf(f.layout[0]));
    const std::uint32_t step = (std::uint32_t(w) * bpp + 63u) & ~63u, total = step * std::uint32_t(h);
    const bool valid = w >= 1 && h >= 1;
    if (valid && total > (1u << 26) && int(total) > 0) return;
    int stepOut = -7;
    const bool noStep = in.flag();
    void* p = reinterpret_cast<void* (*)(int, int, int*)>(f.address)(w, h, noStep ? nullptr : &stepOut);
    if (!noStep && !valid && stepOut != 0) fail(f, "a step for an empty request", "");
    if (noStep || !valid || int(total) <= 0) {
        if (p != nullptr) fail(f, "a block for a request that has none", "");
        ovkiFree(p);
        return;
    }
    if (p == nullptr || stepOut != int(step)) fail(f, "no block, or a step off the 64-byte rule", "");
    if (reinterpret_cast<std::uintptr_t>(p) % 64 != 0) fail(f, "a block not aligned to 64 bytes", "");
    std::memset(p, 0x5A, total);
    ovkiFree(p);
}

std::vector<const Function*> allFunctions()
{
    useGuardPages(true);
    std::vector<const Function*> out;
    for (const Function& f : functions()) out.push_back(&f);
    return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const std::vector<const Function*> all = allFunctions();
    Choices in(data, size);
    const std::size_t chosen = in.bits(16) % all.size();
    const Function& f = *all[chosen];
    // One line when the run has called every export at least once.
    static std::vector<bool> called(all.size());
    static std::size_t calls = 0, distinct = 0;
    ++calls;
    if (!called[chosen]) {
        called[chosen] = true;
        if (++distinct == all.size()) std::fprintf(stderr, "every one of the %zu exports called (%zu calls)\n", distinct, calls);
    }
    if (f.returns != "OvkStatus") {
        fuzzUnchecked(f, in);
        return 0;
    }

    CallSetup s;
    const OvkiSize shapes[] = {{1, 1}, {7, 5}, {1, 37}, {301, 2}, {16, 16}, {33, 3}};
    s.roi = in.flag() ? in.among(shapes) : OvkiSize{int(1 + in.bits(8) % 70), int(1 + in.bits(8) % 6)};
    if (f.has("square")) s.roi.height = s.roi.width;
    s.tight = in.flag();
    s.seed = in.bits(32);
    const int scales[] = {0, 1, 2, 7, 15, 16, 31, 32, 40, -1, -7, -31, -40, INT_MAX, INT_MIN};
    s.scale = in.among(scales);
    s.bottomUp = in.flag() && in.flag();
    s.lead = int(in.bits(8) % 40);
    s.padding = int(in.bits(8) % 12);
    for (const ConditionalTrait& t : f.traitsWhen) {  // a value the trait holds for, or the first valid one
        if (in.flag()) s.values[t.param] = t.values[in.bits(8) % t.values.size()];
    }
    Invocation inv(f, s);
    Call call{f, inv, in, ""};
    if (s.bottomUp) call.note("bottom-up");

    for (int k = int(in.bits(8) % 4); k > 0; --k) {
        switch (in.bits(8) % 8) {
        case 0: call.nullPointer(); break;
        case 1: call.emptySize(); break;
        case 2: call.badStep(); break;
        default: call.hostileValue(); break;
        }
    }

    const int first = call.expected();
    if (std::getenv("OVK_FUZZ_TRACE"))  // to reproduce a finding: which call, with which changes
        std::fprintf(stderr, "%s %dx%d%s%s, changes:%s\n", f.name.c_str(), s.roi.width, s.roi.height,
                     s.tight ? " tight" : "", s.bottomUp ? " bottom-up" : "", call.changes.c_str());
    const OvkStatus status = inv.call();
    if (first >= 0) {
        const OvkStatus expected = f.checks[first].status;
        if (status != expected)
            fail(f, "status " + std::to_string(status) + ", expected " + std::to_string(expected), call.changes);
    } else if (status < 0 && !f.has("failsOnData")) {
        fail(f, "valid arguments rejected with status " + std::to_string(status), call.changes);
    }
    // A failure the data caused comes after the results are written.
    const std::string wrong = status < 0 && first >= 0 ? inv.unchanged() : inv.writeDiscipline();
    if (!wrong.empty()) fail(f, wrong, call.changes);
    return 0;
}
