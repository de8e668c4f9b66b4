// Abs, Sqr, Sqrt, Exp, Ln and Complement on every member, against long
// double definitions: integer results scaled by 2^-scaleFactor, rounded half
// to even and saturated; square roots correctly rounded (their ties are exact
// in long double); Exp and Ln, computed by the library in double precision,
// within a unit in the last place of float or either neighbour of a near-tie.
#include "arith/family_check.hpp"

namespace {

using namespace arithtest;

// 94548: e^65535 * 2^-94548 is about 1.
const int kScales[] = {INT_MIN, -16, -5, -1, 0, 1, 3, 8, 9, 17, 40, 94548, INT_MAX};

Want elementary(const Function& f, int sf, ld x)
{
    const Elem e = elemOf(f);
    const std::string& fam = f.family;
    const ld inf = std::numeric_limits<ld>::infinity(), near = std::ldexp(1.0L, -50);
    if (fam == "Abs") return e.floating ? exact({std::fabs(x)}) : exact({std::min(std::fabs(x), e.hi)});
    if (fam == "Complement") return exact({x >= 0 || x == e.lo ? x : e.lo - x});  // the sign bit over |x|
    if (fam == "Sqr") return e.floating ? floatNear({x * x}, 0) : roundedWant({scaled(x * x, sf)}, e);
    if (fam == "Sqrt") {
        if (!(x >= 0)) return e.floating ? undefinedResult(ovkStatusSqrtNegArg) : exact({0}, ovkStatusSqrtNegArg);
        return e.floating ? floatNear({std::sqrt(x)}, 0) : roundedWant({scaled(std::sqrt(x), sf)}, e);
    }
    if (fam == "Exp") {
        if (e.floating) return floatNear({std::exp(x)}, 1);
        // e^x = e^r * 2^k (x = k ln 2 + r) reaches beyond long double's range.
        const ld k = std::nearbyint(x / std::log(2.0L)), shift = k - std::clamp(sf, -100000, 100000);
        const ld v = std::ldexp(std::exp(x - k * std::log(2.0L)), int(std::clamp(shift, -200000.0L, 200000.0L)));
        return roundedWant({v}, e, std::fabs(v) * near, 1, false);
    }
    // Ln.
    if (x == 0) return e.floating ? exact({-inf}, ovkStatusLnZeroArg) : exact({e.lo}, ovkStatusLnZeroArg);
    if (!(x > 0)) return e.floating ? undefinedResult(ovkStatusLnNegArg) : exact({0}, ovkStatusLnNegArg);
    if (e.floating) return floatNear({std::log(x)}, 1);
    const ld v = scaled(std::log(x), sf);
    return roundedWant({v}, e, std::fabs(v) * near + near, 1, false);
}

// Seed 1: special values (zeros, units, bounds, infinities, NaN) and moderate
// floats among the random ones; seed 2: random bytes only; seed 3: positive
// values only, so that nothing warns although an AC4 source's alpha (not
// processed) is random.
std::function<void(Invocation&)> inputs(unsigned seed)
{
    return [seed](Invocation& inv) {
        const Elem e = elemOf(inv.function());
        const ld inf = std::numeric_limits<ld>::infinity();
        placeInputs(inv, [&](int, int k, int, ld old) -> ld {
            if (seed == 3) return std::max(std::fabs(std::isnan(old) ? 2 : old), ld(1));
            if (seed == 2) return old;
            const ld specials[] = {0, -0.0L, 1, -1, e.lo, e.hi, e.floating ? inf : 2, e.floating ? NAN : 3, 4};
            if (k % 3 == 0) return std::clamp(specials[(k / 3) % 9], e.lo, e.hi);
            return e.floating && k % 3 == 1 ? ld((k * 7919) % 4001 - 2000) / 16 : old;
        });
    };
}

TEST(Elementary, MatchLongDoubleDefinitions)
{
    forMembers({"Abs", "Sqr", "Sqrt", "Exp", "Ln", "Complement"}, [](const Function& f) {
        for (int sf : kScales)
            for (unsigned seed : {1u, 2u, 3u}) {
                const bool scaling = f.param("scaleFactor") != nullptr;
                if (sf != 0 && !scaling) continue;
                checkCall(f, {{37, 3}, false, seed, sf},
                          [&](const std::vector<Cx>& o) { return elementary(f, sf, o[0].re); }, inputs(seed));
            }
    });
}

// Complement twice is the identity, -2^31 included (it maps to itself).
TEST(Elementary, ComplementTwiceRestores)
{
    const Function& f = find("ovkiComplement_32s_C1IR");
    Invocation inv(f, {{37, 3}, false, 5, 0});
    inv.set("pSrcDst", 0, 0, 0, 0, -2147483648.0L);
    const std::vector<std::uint8_t> before = inv.region("pSrcDst");
    ASSERT_EQ(inv.call(), ovkStatusOk);
    ASSERT_EQ(inv.call(), ovkStatusOk);
    EXPECT_EQ(inv.region("pSrcDst"), before);
}

}  // namespace
