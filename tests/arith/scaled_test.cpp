// Add, Sub, Mul, Div (with constants and rounding modes) and MulScale on
// every member. Integer results: the exact value times 2^-scaleFactor,
// rounded and saturated. Single-precision results: the exact value rounded
// once, except where the library's formula rounds more than once (complex
// products and quotients), which gets the error bound of that formula.
#include "arith/family_check.hpp"

namespace {

using namespace arithtest;

const int kScales[] = {INT_MIN, -40, -9, -1, 0, 1, 2, 9, 17, 31, 32, 33, 40, 62, 63, 64, INT_MAX};
const int kDivScales[] = {INT_MIN, -200, -16, -9, -1, 0, 1, 2, 8, 9, 17, 40, 200, INT_MAX};

bool scales(const Function& f)
{
    for (const Param& p : f.params)
        if (p.role == "scale") return true;
    return false;
}

std::uint32_t mix(std::uint32_t h)
{
    h *= 2654435761u;
    return h ^ (h >> 15);
}

// Range corners and units in a third of the elements: in every fourth corner
// element both operands and both parts are the same corner, so squares of the
// bounds, (min + min i)^2 among them, come up. Complex single-precision
// members get moderate values, whose products stay finite.
std::function<void(Invocation&)> corners(unsigned seed)
{
    return [seed](Invocation& inv) {
        const Elem e = elemOf(inv.function());
        placeInputs(inv, [&](int op, int k, int part, ld old) -> ld {
            if (e.floating) return e.complex ? ld(int(mix(k * 4 + op * 2 + part + seed) % 2001) - 1000) / 8 : old;
            const ld c[] = {e.lo, e.lo + 1, -1, 0, 1, e.hi - 1, e.hi};
            if (k % 3) return old;
            const std::uint32_t pick = (k / 3) % 4 ? mix(k * 4 + op * 2 + part + seed) : k / 12 + seed;
            return std::clamp(c[pick % 7], e.lo, e.hi);
        });
    };
}

bool startsWith(const std::string& s, const char* p) { return s.rfind(p, 0) == 0; }

Want arithmetic(const Function& f, int sf, const std::vector<Cx>& o)
{
    const Elem e = elemOf(f);
    const Cx a = o[0], b = o.back();
    Cx v{a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
    if (startsWith(f.family, "Add")) v = {a.re + b.re, a.im + b.im};
    if (startsWith(f.family, "Sub")) v = {b.re - a.re, b.im - a.im};  // second minus first: source minus constant
    if (!e.floating) return roundedWant({scaled(v.re, sf), scaled(v.im, sf)}, e);
    if (!e.complex || !startsWith(f.family, "Mul")) return floatNear(v, 0);
    // Each part is a difference or sum of two rounded products, rounded again.
    const ld terms = std::fabs(a.re * b.re) + std::fabs(a.im * b.im) + std::fabs(a.re * b.im) + std::fabs(a.im * b.re);
    if (!(terms < 1e30L)) return anything();
    const ld tol = terms * std::ldexp(1.0L, -22) + std::ldexp(1.0L, -140);
    return {{v.re - tol, v.im - tol}, {v.re + tol, v.im + tol}};
}

TEST(Arithmetic, ExactResultsScaledRoundedToEvenAndSaturated)
{
    forMembers({"Add", "AddC", "Sub", "SubC", "Mul", "MulC"}, [](const Function& f) {
        for (int sf : kScales)
            for (unsigned seed : {1u, 2u})
                if (sf == 0 || scales(f))
                    checkCall(f, {{37, 3}, false, seed, sf}, [&](const std::vector<Cx>& o) { return arithmetic(f, sf, o); },
                              corners(seed));
    });
}

// Divisor first (the first source or the constant), then the dividend.
Want quotient(const Function& f, int sf, int mode, const std::vector<Cx>& o)
{
    const Elem e = elemOf(f);
    const Cx a = o[0], b = o[1];
    const ld inf = std::numeric_limits<ld>::infinity();
    if (e.complex) {
        const ld den = a.re * a.re + a.im * a.im;
        const ld terms = std::fabs(a.re * b.re) + std::fabs(a.im * b.im) + std::fabs(a.re * b.im) + std::fabs(a.im * b.re);
        const Cx v{(a.re * b.re + a.im * b.im) / den, (a.re * b.im - a.im * b.re) / den};
        if (a.re == 0 && a.im == 0)
            return e.floating ? undefinedResult(ovkStatusDivByZero) : exact({0, 0}, ovkStatusDivByZero);
        if (e.floating) {
            if (!(terms / den < 1e30L) || !(den > 1e-30L)) return anything();
            const ld tol = terms / den * std::ldexp(1.0L, -20);
            return {{v.re - tol, v.im - tol}, {v.re + tol, v.im + tol}};
        }
        // Double precision: exact while the products are below 2^53, and
        // rounding is done near 2^31 (a few units of 2^-21).
        const bool exactTies = std::max(terms, den) < std::ldexp(1.0L, 53);
        const ld tol = std::ldexp(1.0L, -19) + scaled(terms / den, sf) * std::ldexp(1.0L, -50);
        return roundedWant({scaled(v.re, sf), scaled(v.im, sf)}, e, tol, 1, exactTies);
    }
    if (a.re == 0) {
        if (!e.floating) return exact({b.re > 0 ? e.hi : b.re < 0 ? e.lo : 0}, ovkStatusDivByZero);
        if (!(b.re > 0 || b.re < 0)) return undefinedResult(ovkStatusDivByZero);
        return exact({b.re > 0 ? inf : -inf}, ovkStatusDivByZero);  // whatever the sign of the zero
    }
    if (e.floating) return floatNear({f.family == "DivC" ? b.re * ld(float(1 / a.re)) : b.re / a.re}, 0);
    // Single precision, rounded near 2^15: exact ties stay exact, others are
    // known to within 2^-8.
    const ld v = scaled(b.re / a.re, sf);
    return roundedWant({v}, e, std::ldexp(1.0L, -8) + std::fabs(v) * std::ldexp(1.0L, -22), mode, true);
}

// A quarter of the elements get small divisors (zeros of both signs among
// them) and small dividends: exact ties of every kind and zero divisions.
std::function<void(Invocation&)> smallDivisions(unsigned seed, int mode)
{
    return [seed, mode](Invocation& inv) {
        if (inv.function().param("rndMode")) inv.setInt("rndMode", mode);
        const Elem e = elemOf(inv.function());
        placeInputs(inv, [&](int op, int k, int part, ld old) -> ld {
            const ld divisors[] = {0, 1, 2, 4, -2, -4, 8, -8, 3, -0.0L};
            if (k % 4) return e.floating && e.complex ? ld(int(mix(k * 4 + op * 2 + part + seed) % 2001) - 1000) / 8 : old;
            // Every other divisor takes both parts from one entry: complex zeros (0, 0) and (-0, -0) too.
            const int entry = (k / 4 + (k % 8 ? 3 * part : 0) + seed) % 10;
            const ld v = op == 0 ? divisors[entry] : ld(int(mix(k + part + seed) % 81) - 40);
            return e.lo == 0 ? std::fabs(v) : v;
        });
    };
}

TEST(Division, QuotientsRoundedByModeWithZeroDivisionValues)
{
    forMembers({"Div", "DivC", "Div_Round"}, [](const Function& f) {
        for (int mode = 0; mode < 3; ++mode)
            for (int sf : kDivScales)
                for (unsigned seed : {1u, 2u})
                    if ((sf == 0 || scales(f)) && (mode == 1 || f.param("rndMode")))
                        checkCall(f, {{37, 3}, false, seed, sf},
                                  [&](const std::vector<Cx>& o) { return quotient(f, sf, mode, o); },
                                  smallDivisions(seed, mode));
    });
}

TEST(MulScale, ProductsNormalisedByTheMaximum)
{
    forMembers({"MulScale", "MulCScale"}, [](const Function& f) {
        const int bits = elemOf(f).bits;
        for (unsigned seed : {1u, 2u, 3u})
            checkCall(f, {{37, 3}, false, seed, 0}, [&](const std::vector<Cx>& o) {
                // (p + floor(p / 2^bits) + 1) / 2^bits, floored: max * max = max, max * x = x.
                const ld p = o[0].re * o[1].re;
                return exact({std::floor(std::ldexp(p + std::floor(std::ldexp(p, -bits)) + 1, -bits))});
            });
    });
}

}  // namespace
