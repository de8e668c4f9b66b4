// One-bit images: eight pixels per byte, a row's first pixel at a bit offset
// (0 to 7) of its first byte.
//
//   GrayToBin        bit = src > threshold, least significant bit first;
//                    destination bits outside the region keep their values
//   BinToGray        least significant bit first: set bits give hiVal,
//                    clear bits loVal
//   Convert_1u8u     most significant bit first (bit 7 - offset of the first
//                    byte is the first pixel): 255 or 0
// A bit offset outside 0..7 gives the size status.
#pragma once

#include <cstdint>

#include "frame/check.hpp"
#include "frame/image.hpp"
#include "frame/simd/simd.hpp"

namespace ovk::exchange {

// Whether pixel i of a row starting at bit `offset` is set, in either order.
template <bool MostSignificantFirst>
inline bool bitAt(const Ovk8u* row, int offset, std::int64_t i)
{
    const std::int64_t at = offset + i;
    const int bit = int(at & 7);
    return (row[at >> 3] >> (MostSignificantFirst ? 7 - bit : bit)) & 1;
}

// The bits of kLanes<uint8_t> bytes above the threshold, least significant first.
inline std::uint64_t bitsAbove(const Ovk8u* src, Ovk8u threshold)
{
    using namespace simd;
    return maskBits(gt(load(src), splat(threshold)));
}

template <class S>
void grayRowToBits(const S* src, Ovk8u* dst, int offset, int width, S threshold)
{
    std::int64_t i = 0, at = offset;
    const auto put = [&](bool on) {
        const Ovk8u bit = Ovk8u(1u << (at & 7));
        dst[at >> 3] = Ovk8u(on ? dst[at >> 3] | bit : dst[at >> 3] & ~bit);
        ++at, ++i;
    };
    while (i < width && (at & 7) != 0) put(src[i] > threshold);  // up to the first whole byte
    if constexpr (std::is_same_v<S, Ovk8u>) {
        constexpr int n = simd::kLanes<std::uint8_t>;
        for (; i + n <= width; i += n, at += n) {
            const std::uint64_t bits = bitsAbove(src + i, threshold);
            for (int b = 0; b < n / 8; ++b) dst[(at >> 3) + b] = Ovk8u(bits >> (8 * b));
        }
    }
    for (; i + 8 <= width; i += 8, at += 8) {
        unsigned byte = 0;
        for (int b = 0; b < 8; ++b) byte |= unsigned(src[i + b] > threshold) << b;
        dst[at >> 3] = Ovk8u(byte);
    }
    while (i < width) put(src[i] > threshold);
}

inline OvkStatus checkBitImage(const void* pSrc, int srcStep, const void* pDst, int dstStep, OvkiSize roi, int bitOffset)
{
    OVK_CHECK(check::pointers(pSrc, pDst));
    OVK_CHECK(check::size(roi));
    OVK_CHECK(check::steps(srcStep, dstStep));
    return check::require(bitOffset >= 0 && bitOffset <= 7, ovkStatusSizeError);
}

template <class S, class D>
OvkStatus grayToBin(const S* pSrc, int srcStep, D* pDst, int dstStep, int dstBitOffset, OvkiSize roiSize, S threshold)
{
    OVK_CHECK(checkBitImage(pSrc, srcStep, pDst, dstStep, roiSize, dstBitOffset));
    forEachRow(roiSize, [&](const S* s, D* d) { grayRowToBits(s, d, dstBitOffset, roiSize.width, threshold); },
               Image<const S>(pSrc, srcStep), Image<D>(pDst, dstStep));
    return ovkStatusOk;
}

template <class S, class D>
OvkStatus binToGray(const S* pSrc, int srcStep, int srcBitOffset, D* pDst, int dstStep, OvkiSize roiSize, D loVal, D hiVal)
{
    OVK_CHECK(checkBitImage(pSrc, srcStep, pDst, dstStep, roiSize, srcBitOffset));
    forEachRow(roiSize, [&](const S* s, D* d) {
        for (std::int64_t i = 0; i < roiSize.width; ++i) d[i] = bitAt<false>(s, srcBitOffset, i) ? hiVal : loVal;
    }, Image<const S>(pSrc, srcStep), Image<D>(pDst, dstStep));
    return ovkStatusOk;
}

template <class S, class D>
OvkStatus convertBitsToBytes(const S* pSrc, int srcStep, int srcBitOffset, D* pDst, int dstStep, OvkiSize roiSize)
{
    OVK_CHECK(checkBitImage(pSrc, srcStep, pDst, dstStep, roiSize, srcBitOffset));
    forEachRow(roiSize, [&](const S* s, D* d) {
        for (std::int64_t i = 0; i < roiSize.width; ++i) d[i] = bitAt<true>(s, srcBitOffset, i) ? 255 : 0;
    }, Image<const S>(pSrc, srcStep), Image<D>(pDst, dstStep));
    return ovkStatusOk;
}

}  // namespace ovk::exchange
