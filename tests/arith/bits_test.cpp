// Logic and shifts on every member, from the bit patterns: an element is its
// value modulo 2^bits; a left shift by n multiplies by 2^n modulo 2^bits, a
// right shift divides by 2^n rounding toward minus infinity (logical for
// unsigned types, sign filling for signed ones), for counts of any size.
#include "arith/family_check.hpp"

namespace {

using namespace arithtest;

std::uint64_t pattern(ld v, int bits) { return std::uint64_t(std::int64_t(v)) & ((std::uint64_t(1) << bits) - 1); }
ld value(std::uint64_t u, const Elem& e) { return e.lo < 0 && u >> (e.bits - 1) ? ld(u) - std::ldexp(1.0L, e.bits) : ld(u); }

TEST(Logic, BitwiseOnPatterns)
{
    forMembers({"And", "AndC", "Or", "OrC", "Xor", "XorC", "Not"}, [](const Function& f) {
        const Elem e = elemOf(f);
        const char op = f.family[0];
        for (unsigned seed : {1u, 2u, 3u})
            checkCall(f, {{37, 3}, false, seed, 0}, [&](const std::vector<Cx>& o) {
                const std::uint64_t a = pattern(o[0].re, e.bits), b = pattern(o.back().re, e.bits);
                const std::uint64_t r = op == 'A' ? a & b : op == 'O' ? a | b : op == 'X' ? a ^ b : ~a;
                return exact({value(r & ((std::uint64_t(1) << e.bits) - 1), e)});
            });
    });
}

TEST(Shift, MultiplyOrFloorDivideByPowersOfTwo)
{
    // One count per channel: equal ones, mixed ones, the element width and
    // beyond, and negative counts as the huge unsigned values they become.
    const std::vector<std::vector<int>> countSets = {
        {1, 1, 1, 1}, {0, 8, 1, 7}, {3, 3, 3, 7}, {5, 5, -3, 5}, {15, 16, 17, 0}, {31, 32, 33, 63},
        {8, 8, 8, 8}, {16, 16, 16, 16}, {32, 32, 32, 32}, {1000, 1000, 1000, 1000}, {INT_MIN, 2, INT_MAX, -1}, {-1, -1, -1, -1}};
    forMembers({"LShiftC", "RShiftC"}, [&](const Function& f) {
        const Elem e = elemOf(f);
        const bool left = f.family[0] == 'L';
        for (std::size_t s = 0; s < countSets.size(); ++s)
            checkCall(f, {{37, 3}, false, unsigned(s), 0},
                      [&](const std::vector<Cx>& o) {
                          const int n = int(std::min(o[0].re, ld(200)));  // every bit is gone long before 200
                          if (left) return exact({value(std::uint64_t(std::fmod(std::ldexp(ld(pattern(o[1].re, e.bits)), n), std::ldexp(1.0L, e.bits))), e)});
                          return exact({std::floor(std::ldexp(o[1].re, -n))});
                      },
                      [&](Invocation& inv) {
                          for (int c = 0; c < processedChannels(f); ++c) inv.setInt("value", countSets[s][c], c);
                      });
    });
}

}  // namespace
