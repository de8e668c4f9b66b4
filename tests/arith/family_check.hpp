// One oracle per operation, run over every export of a family (every type,
// layout, out of place and in place) as the API description lists them.
// Oracles compute in long double: every integer result here (products of
// 32-bit parts included) stays below 2^64 and is exact there, and 2^-sf only
// moves the exponent. What the generic harness already checks (argument
// order, guard bands, alpha, in place = out of place, tiles) is not repeated.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "support/api.hpp"

namespace arithtest {

using namespace ovktest::api;
using ld = long double;

struct Cx {
    ld re = 0, im = 0;
};

// What one element must hold: each part within [lo, hi] (a NaN lo asks for a
// NaN), the undefined NaN 0xFFC00000, or anything. warn: what it raises.
struct Want {
    Cx lo, hi;
    OvkStatus warn = ovkStatusOk;
    bool undefined = false, any = false;
};
inline Want exact(Cx v, OvkStatus warn = ovkStatusOk) { return {v, v, warn}; }
inline Want undefinedResult(OvkStatus warn) { return {{}, {}, warn, true}; }
inline Want anything() { return {{}, {}, ovkStatusOk, false, true}; }

// One part of the element type: "16sc" has parts of 16s.
struct Elem {
    bool complex, floating;
    int bits;
    ld lo, hi;
};
inline Elem elemOf(const Function& f)
{
    std::string c = f.types.front();
    const bool cx = c.back() == 'c';
    if (cx) c.pop_back();
    const bool fl = c.back() == 'f', sgn = c.back() == 's';
    const int bits = std::stoi(c);
    const ld hi = fl ? std::numeric_limits<ld>::infinity() : std::ldexp(1.0L, bits - sgn) - 1;
    return {cx, fl, bits, fl ? -hi : sgn ? -hi - 1 : 0, hi};
}

// v * 2^-sf; beyond +-100000 the long double result is already 0 or infinite.
inline ld scaled(ld v, int sf) { return std::ldexp(v, -std::clamp(sf, -100000, 100000)); }

// v rounded to an integer (mode 0 toward zero, 1 ties to even as everywhere
// in the library, 2 ties away from zero) and saturated.
inline ld rounded(ld v, const Elem& e, int mode = 1)
{
    const ld n = mode == 0 ? std::trunc(v) : mode == 2 ? std::round(v) : std::nearbyint(v);
    return std::clamp(n, e.lo, e.hi);
}

// The integers a result computed with an error up to tol may take. An exact
// tie (or an exact integer, toward zero) stays exact when `strict`.
inline void roundRange(ld v, ld tol, const Elem& e, int mode, bool strict, ld& lo, ld& hi)
{
    const bool boundary = mode == 0 ? v == std::trunc(v) : v - std::floor(v) == 0.5L;
    if ((boundary && strict) || !std::isfinite(tol) || !std::isfinite(v)) tol = 0;
    lo = rounded(v - tol, e, mode);
    hi = rounded(v + tol, e, mode);
}
inline Want roundedWant(Cx v, const Elem& e, ld tol = 0, int mode = 1, bool strict = true)
{
    Want w;
    roundRange(v.re, tol, e, mode, strict, w.lo.re, w.hi.re);
    roundRange(v.im, tol, e, mode, strict, w.lo.im, w.hi.im);
    return w;
}

// A single-precision result known to within `ulps` units in the last place.
inline Want floatNear(Cx v, ld ulps)
{
    auto range = [ulps](ld x, ld& lo, ld& hi) {
        const float f = float(x);
        if (std::isnan(x) || ulps == 0 || !std::isfinite(f)) {
            lo = hi = f;
            if (std::isinf(f) && ulps > 0) lo = std::copysign(ld(std::numeric_limits<float>::max()), x);
            if (lo > hi) std::swap(lo, hi);
            return;
        }
        const ld ulp = std::ldexp(1.0L, x == 0 ? -149 : std::max(std::ilogb(x) - 23, -149));
        lo = x - ulps * ulp;
        hi = x + ulps * ulp;
    };
    Want w;
    range(v.re, w.lo.re, w.hi.re);
    range(v.im, w.lo.im, w.hi.im);
    return w;
}

inline int processedChannels(const Function& f)
{
    const std::string& l = f.layout.front();
    return l == "AC4" ? 3 : l[1] - '0';
}

// The operands in the order the oracles take them: the constant (if any),
// then the source images in parameter order (pSrc1, pSrc2 or pSrc, pSrcDst).
inline std::vector<std::string> inputImages(const Function& f)
{
    std::vector<std::string> in;
    for (const Param& p : f.params)
        if (p.role == "src" || p.role == "srcdst") in.push_back(p.name);
    return in;
}
inline bool hasConstant(const Function& f) { return f.param("value") != nullptr; }

// Replaces processed input elements: v(op, k, part, old) gives the new value
// of part `part` of element k (row order) of operand op.
using Placer = std::function<ld(int op, int k, int part, ld old)>;
inline void placeInputs(Invocation& inv, const Placer& v)
{
    const Function& f = inv.function();
    const std::vector<std::string> in = inputImages(f);
    const int ch = processedChannels(f), parts = elemOf(f).complex ? 2 : 1;
    for (std::size_t i = 0; i < in.size(); ++i)
        for (int y = 0, k = 0; y < inv.roi().height; ++y)
            for (int x = 0; x < inv.roi().width; ++x)
                for (int c = 0; c < ch; ++c, ++k)
                    for (int p = 0; p < parts; ++p)
                        inv.set(in[i], x, y, c, p, v(int(i) + hasConstant(f), k, p, inv.get(in[i], x, y, c, p)));
}

using Oracle = std::function<Want(const std::vector<Cx>& operands)>;

// Calls f once; every processed element of the result must be what the oracle
// says, and the call must return the first warning met in row order.
inline void checkCall(const Function& f, const CallSetup& s, const Oracle& oracle,
                      const std::function<void(Invocation&)>& prepare = {})
{
    Invocation inv(f, s);
    if (prepare) prepare(inv);
    const Elem e = elemOf(f);
    const int ch = processedChannels(f), parts = e.complex ? 2 : 1;
    const std::vector<std::string> in = inputImages(f);
    const std::string out = f.param("pDst") ? "pDst" : "pSrcDst";
    auto read = [&](const std::string& img, int x, int y, int c) {
        return Cx{inv.get(img, x, y, c, 0), parts == 2 ? inv.get(img, x, y, c, 1) : 0};
    };
    std::vector<std::vector<Cx>> operands;
    std::vector<Want> wants;
    OvkStatus status = ovkStatusOk;
    for (int y = 0; y < inv.roi().height; ++y)
        for (int x = 0; x < inv.roi().width; ++x)
            for (int c = 0; c < ch; ++c) {
                std::vector<Cx> ops;
                if (hasConstant(f)) ops.push_back({inv.arg("value", c, 0), parts == 2 ? inv.arg("value", c, 1) : 0});
                for (const std::string& img : in) ops.push_back(read(img, x, y, c));
                wants.push_back(oracle(ops));
                operands.push_back(ops);
                if (status == ovkStatusOk) status = wants.back().warn;
            }
    std::ostringstream whereText;
    whereText << f.name << " scaleFactor " << s.scale << " seed " << s.seed;
    const std::string where = whereText.str();
    EXPECT_EQ(inv.call(), status) << where;
    int failures = 0, k = 0;
    for (int y = 0; y < inv.roi().height; ++y)
        for (int x = 0; x < inv.roi().width; ++x)
            for (int c = 0; c < ch; ++c, ++k) {
                const Want& w = wants[k];
                for (int p = 0; p < parts && !w.any; ++p) {
                    const ld got = inv.get(out, x, y, c, p), lo = p ? w.lo.im : w.lo.re, hi = p ? w.hi.im : w.hi.re;
                    std::uint32_t bits = 0;
                    std::memcpy(&bits, inv.image(out)->at(x, y) + (c * parts + p) * e.bits / 8, 4);
                    const bool ok = w.undefined ? bits == 0xFFC00000u
                                    : std::isnan(lo) ? std::isnan(got)
                                                     : got >= lo && got <= hi;
                    if (ok) continue;
                    std::ostringstream msg;
                    msg << where << " at (" << x << ", " << y << ") channel " << c << " part " << p << ": got " << double(got);
                    if (w.undefined) msg << ", want the undefined NaN from";
                    else msg << ", want [" << double(lo) << ", " << double(hi) << "] from";
                    for (const Cx& o : operands[k]) msg << " (" << double(o.re) << ", " << double(o.im) << ")";
                    ADD_FAILURE() << msg.str();
                    if (++failures == 4) return;
                }
            }
}

// Runs fn on every export of the named families; each family must have some.
inline void forMembers(const std::vector<std::string>& families, const std::function<void(const Function&)>& fn)
{
    for (const std::string& fam : families) {
        int seen = 0;
        for (const Function& f : functions())
            if (f.family == fam) {
                ++seen;
                fn(f);
            }
        EXPECT_GT(seen, 0) << "no family " << fam;
    }
}

}  // namespace arithtest
