// What the exchange tests share: the members of a family from the API
// description, snapshots of images before a call (in-place calls overwrite
// them), and an element-by-element comparison against a definition.
#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "support/api.hpp"

namespace exchange_test {

using namespace ovktest::api;

inline std::vector<const Function*> members(const std::string& family, const std::string& flags = "*")
{
    std::vector<const Function*> out;
    for (const Function& f : functions())
        if (f.family == family && (flags == "*" || f.flags == flags)) out.push_back(&f);
    EXPECT_FALSE(out.empty()) << family;
    return out;
}

// Elements per pixel of a layout token (C3, AC4, P3, ...) and the ones written.
inline int stored(const std::string& token) { return token == "AC4" ? 4 : token.back() - '0'; }
inline int processed(const std::string& token) { return token == "AC4" ? 3 : stored(token); }

// A region and a seed of its own for case k of a member.
inline CallSetup setup(const Function& f, OvkiSize roi, int k = 0)
{
    unsigned h = 2166136261u ^ unsigned(k);
    for (char c : f.name) h = (h ^ static_cast<unsigned char>(c)) * 16777619u;
    return CallSetup{roi, false, h, 1};
}

// Writes a float argument (the description has no typed setter for them).
inline void setFloat(Invocation& inv, const std::string& param, float v) { inv.setInt(param, std::bit_cast<int>(v)); }

// An image as it was before the call.
class Before {
public:
    Before(Invocation& inv, const std::string& param)
    {
        const Image* im = inv.image(param);
        w_ = im->width;
        ch_ = im->channels;
        for (int y = 0; y < im->height; ++y)
            for (int x = 0; x < w_; ++x)
                for (int c = 0; c < ch_; ++c) v_.push_back(inv.get(param, x, y, c));
    }
    long double operator()(int x, int y, int c) const { return v_[(std::size_t(y) * w_ + x) * ch_ + c]; }

private:
    int w_ = 0, ch_ = 0;
    std::vector<long double> v_;
};

// Moved values compare as equal numbers, NaN with NaN, and zeros by sign.
inline bool same(long double a, long double b)
{
    if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
    return a == b && std::signbit(a) == std::signbit(b);
}

using Want = std::function<long double(int x, int y, int c)>;

// The first element of `out` (w x h pixels, channels 0 .. ch-1) that differs
// from want, described; empty when all agree. tol > 0 allows that much.
inline std::string mismatch(const Invocation& inv, const std::string& out, int w, int h, int ch, const Want& want,
                            long double tol = 0)
{
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            for (int c = 0; c < ch; ++c) {
                const long double got = inv.get(out, x, y, c), exp = want(x, y, c);
                if (same(got, exp) || std::fabs(got - exp) <= tol) continue;
                return inv.function().name + ": " + out + "(" + std::to_string(x) + ", " + std::to_string(y) + ", " +
                       std::to_string(c) + ") = " + std::to_string(double(got)) + ", want " +
                       std::to_string(double(exp));
            }
    return "";
}

}  // namespace exchange_test
