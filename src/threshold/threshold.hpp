// Thresholds: each channel of each pixel is compared with its own threshold
// and, where the comparison holds, replaced by its own value. Comparisons are
// strict, so a value equal to its threshold always stays.
//
// Every form runs one kernel per type and layout: a list of rules "x op T
// gives V", tested from the first; the first that holds decides. The Val
// kernel has one rule (GT, LT, GTVal, LTVal and the plain form pass their
// fixed operation, and the threshold as the value where there is none);
// LTValGTVal has two, the upper one first.
//
// On lanes of signed integers of the element's width, every rule becomes
// "(x ^ M) > (T ^ M)": M moves an unsigned range into signed order and, for
// `<`, inverts it (a bitwise not reverses signed order and cannot overflow).
// The same form states the float rule, which compares bit patterns: as
// signed integers when the threshold is >= 0.0, as unsigned integers with the
// sense reversed when it is below. So a pixel of -0.0 lies below a threshold
// of +0.0, and a threshold of -0.0 (which passes the >= 0.0 test) compares as
// the most negative pattern: LT with it replaces nothing, GT everything but
// -0.0 itself.
#pragma once

#include <bit>
#include <cstdint>
#include <limits>

#include "frame/check.hpp"
#include "frame/elementwise.hpp"
#include "frame/simd/simd.hpp"

namespace ovk::threshold {

// The signed lane of the element's width.
template <class T>
using Lane = std::conditional_t<sizeof(T) == 1, std::int8_t, std::conditional_t<sizeof(T) == 2, std::int16_t, std::int32_t>>;

template <class T>
struct Rule {
    Lane<T> flip;   // M
    Lane<T> bound;  // T ^ M
    Lane<T> value;  // V
};

template <class T>
Rule<T> ruleOf(T threshold, T value, bool greater)
{
    using S = Lane<T>;
    constexpr S kSignBit = std::numeric_limits<S>::min();
    S flip = 0;
    if constexpr (std::is_floating_point_v<T>) {
        if (!(threshold >= T(0))) flip = kSignBit, greater = !greater;  // unsigned patterns, sense reversed
    } else if constexpr (std::is_unsigned_v<T>) {
        flip = kSignBit;
    }
    if (!greater) flip = S(~flip);
    return {flip, S(std::bit_cast<S>(threshold) ^ flip), std::bit_cast<S>(value)};
}

// The rules of every channel laid out along a chunk of the row, so that a
// chunk of any layout that starts at a pixel meets its channel's rule in
// every lane.
template <class T, int Rules>
struct RuleRow {
    using S = Lane<T>;
    alignas(64) S flip[Rules][kConstantChunk];
    alignas(64) S bound[Rules][kConstantChunk];
    alignas(64) S value[Rules][kConstantChunk];

    RuleRow(const Rule<T> (&perChannel)[Rules][4], int channels)
    {
        for (int k = 0; k < Rules; ++k)
            for (int i = 0; i < kConstantChunk; ++i) {
                const Rule<T>& r = perChannel[k][i % channels];
                flip[k][i] = r.flip, bound[k][i] = r.bound, value[k][i] = r.value;
            }
    }

    // n <= kConstantChunk elements starting at a pixel. With one channel
    // (uniform) every lane has the same rule, held in registers; a single
    // such rule may also need no flip (signed lanes, `>`) or replace by zero,
    // and those steps then drop out of the loop.
    void apply(const T* src, T* dst, int n, bool uniform) const
    {
        if constexpr (Rules == 1) {
            if (uniform && flip[0][0] == 0)
                return value[0][0] == 0 ? apply<true, false, true>(src, dst, n) : apply<true, false, false>(src, dst, n);
            if (uniform && value[0][0] == 0) return apply<true, true, true>(src, dst, n);
        }
        return uniform ? apply<true, true, false>(src, dst, n) : apply<false, true, false>(src, dst, n);
    }

    template <bool Uniform, bool Flips, bool ZeroValue>
    void apply(const T* src, T* dst, int n) const
    {
        using namespace simd;
        constexpr int kLanes = simd::kLanes<S>;
        const auto at = [](const S* pattern, int i) { return Uniform ? splat(pattern[0]) : load(pattern + i); };
        int i = 0;
        for (; i + kLanes <= n; i += kLanes) {
            const Vec<S> x = load(reinterpret_cast<const S*>(src + i));
            Vec<S> r = x;
            for (int k = Rules - 1; k >= 0; --k) {  // the first rule is applied last, so it wins
                const Vec<S> holds = gt(Flips ? bitXor(x, at(flip[k], i)) : x, at(bound[k], i));
                r = ZeroValue ? bitAndNot(holds, r) : select(holds, at(value[k], i), r);
            }
            store(r, reinterpret_cast<S*>(dst + i));
        }
        for (; i < n; ++i) {
            const S x = std::bit_cast<S>(src[i]);
            S r = x;
            for (int k = Rules - 1; k >= 0; --k)
                if (S(x ^ flip[k][i]) > bound[k][i]) r = value[k][i];
            dst[i] = std::bit_cast<T>(r);
        }
    }
};

template <class T, class L, int Rules>
OvkStatus applyRules(const T* pSrc, int srcStep, T* pDst, int dstStep, OvkiSize roi, const Rule<T> (&rules)[Rules][4])
{
    const RuleRow<T, Rules> row(rules, L::stored);
    return runUnary<L>(Image<const T>(pSrc, srcStep), Image<T>(pDst, dstStep), roi, [&](const T* s, T* d, int n) {
        for (int x = 0; x < n; x += kConstantChunk)
            row.apply(s + x, d + x, std::min(kConstantChunk, n - x), L::stored == 1);
        return ovkStatusOk;
    });
}

// An integer rule whose value is its threshold clips: "x > T gives T" is
// min(x, T), "x < T gives T" is max(x, T), in the element's own order.
template <class T, class L>
OvkStatus applyClip(const T* pSrc, int srcStep, T* pDst, int dstStep, OvkiSize roi, const T* limits, bool above)
{
    alignas(64) T limit[kConstantChunk];
    for (int i = 0; i < kConstantChunk; ++i) limit[i] = limits[i % L::stored % L::processed];
    const auto clip = [&](auto bound) {
        return runUnary<L>(Image<const T>(pSrc, srcStep), Image<T>(pDst, dstStep), roi, [&](const T* s, T* d, int n) {
            const T* const lim = limit;  // a local: byte stores could alias the captured one, and force reloads
            for (int x = 0; x < n; x += kConstantChunk) {
                const int m = std::min(kConstantChunk, n - x);
                int i = 0;
                for (constexpr int kLanes = simd::kLanes<T>; i + kLanes <= m; i += kLanes)
                    simd::store(bound(simd::load(s + x + i), simd::load(lim + i)), d + x + i);
                for (; i < m; ++i) d[x + i] = bound(s[x + i], lim[i]);
            }
            return ovkStatusOk;
        });
    };
    if (above) return clip([](auto x, auto t) { using std::min, simd::min; return min(x, t); });
    return clip([](auto x, auto t) { using std::max, simd::max; return max(x, t); });
}

// --- The Val kernel and the forms built on it ---------------------------------

template <class T, class L>
OvkStatus thresholdVal(const T* pSrc, int srcStep, T* pDst, int dstStep, OvkiSize roiSize, ConstArg<T, L> threshold,
                       ConstArg<T, L> value, OvkCmpOp cmpOp)
{
    OVK_CHECK(check::require(cmpOp == ovkCmpLess || cmpOp == ovkCmpGreater, ovkStatusModeNotSupported));
    OVK_CHECK(check::pointers(pSrc, pDst));
    OVK_CHECK(check::size(roiSize));
    OVK_CHECK(check::steps(srcStep, dstStep));
    OVK_CHECK(check::require(!constantIsNull<T, L>(threshold) && !constantIsNull<T, L>(value), ovkStatusNullPointer));
    const T* t = constantValues<T, L>(threshold);
    const T* v = constantValues<T, L>(value);
    if constexpr (std::is_integral_v<T>) {
        bool clips = true;
        for (int c = 0; c < L::processed; ++c) clips = clips && t[c] == v[c];
        if (clips) return applyClip<T, L>(pSrc, srcStep, pDst, dstStep, roiSize, t, cmpOp == ovkCmpGreater);
    }
    Rule<T> rules[1][4];
    for (int c = 0; c < L::processed; ++c) rules[0][c] = ruleOf(t[c], v[c], cmpOp == ovkCmpGreater);
    return applyRules<T, L>(pSrc, srcStep, pDst, dstStep, roiSize, rules);
}

template <class T, class L>
OvkStatus thresholdOp(const T* pSrc, int srcStep, T* pDst, int dstStep, OvkiSize roiSize, ConstArg<T, L> threshold,
                      OvkCmpOp cmpOp)
{
    return thresholdVal<T, L>(pSrc, srcStep, pDst, dstStep, roiSize, threshold, threshold, cmpOp);
}

template <class T, class L, OvkCmpOp Op>
OvkStatus thresholdFixed(const T* pSrc, int srcStep, T* pDst, int dstStep, OvkiSize roiSize, ConstArg<T, L> threshold)
{
    return thresholdVal<T, L>(pSrc, srcStep, pDst, dstStep, roiSize, threshold, threshold, Op);
}

template <class T, class L, OvkCmpOp Op>
OvkStatus thresholdFixedVal(const T* pSrc, int srcStep, T* pDst, int dstStep, OvkiSize roiSize, ConstArg<T, L> threshold,
                            ConstArg<T, L> value)
{
    return thresholdVal<T, L>(pSrc, srcStep, pDst, dstStep, roiSize, threshold, value, Op);
}

// --- Two-sided ------------------------------------------------------------------

// x > thresholdGT gives valueGT; else x < thresholdLT gives valueLT. The
// thresholds must be ordered (equal ones are accepted).
template <class T, class L>
OvkStatus thresholdLTValGTVal(const T* pSrc, int srcStep, T* pDst, int dstStep, OvkiSize roiSize,
                              ConstArg<T, L> thresholdLT, ConstArg<T, L> valueLT, ConstArg<T, L> thresholdGT,
                              ConstArg<T, L> valueGT)
{
    OVK_CHECK(check::pointers(pSrc, pDst));
    OVK_CHECK(check::require(!constantIsNull<T, L>(thresholdLT) && !constantIsNull<T, L>(valueLT) &&
                                 !constantIsNull<T, L>(thresholdGT) && !constantIsNull<T, L>(valueGT),
                             ovkStatusNullPointer));
    OVK_CHECK(check::size(roiSize));
    OVK_CHECK(check::steps(srcStep, dstStep));
    const T *tLT = constantValues<T, L>(thresholdLT), *vLT = constantValues<T, L>(valueLT);
    const T *tGT = constantValues<T, L>(thresholdGT), *vGT = constantValues<T, L>(valueGT);
    for (int c = 0; c < L::processed; ++c) OVK_CHECK(check::require(!(tLT[c] > tGT[c]), ovkStatusThresholdError));
    Rule<T> rules[2][4];
    for (int c = 0; c < L::processed; ++c) {
        rules[0][c] = ruleOf(tGT[c], vGT[c], true);
        rules[1][c] = ruleOf(tLT[c], vLT[c], false);
    }
    return applyRules<T, L>(pSrc, srcStep, pDst, dstStep, roiSize, rules);
}

}  // namespace ovk::threshold
