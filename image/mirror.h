// What the mirror family shares across tiers: pixel reversal into a buffer, swaps of rows and of
// reversed rows in place, and the driver that walks a flip code over a region. Internal linkage, so
// that the copies compiled for different instruction sets never merge.
#pragma once

#include "image/region.h"

#include <utility>

namespace lum::mirror {

// Pixels s[0..count) to the `count` pixels that end at dEnd, in reverse order, bytes kept in order.
template <int Channels>
static inline void reversePixels(const Lum8u* s, Lum8u* dEnd, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        for (int k = 0; k < Channels; ++k) dEnd[Channels * (-ptrdiff_t(i) - 1) + k] = s[Channels * i + k];
}

// Swaps pixel i of `nearRow` with pixel i counted back from `farEnd`, for i below count.
template <int Channels>
static inline void swapReversedPixels(Lum8u* nearRow, Lum8u* farEnd, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        for (int k = 0; k < Channels; ++k)
            std::swap(nearRow[Channels * i + k], farEnd[Channels * (-ptrdiff_t(i) - 1) + k]);
}

// Swaps `len` bytes of two rows.
static inline void swapBytes(Lum8u* a, Lum8u* b, size_t len)
{
    for (size_t i = 0; i < len; ++i) std::swap(a[i], b[i]);
}

// The pointer setup of the flips that reverse rows: the end of the first destination row to be
// written, and the step that walks from it; for both axes the last row, with the step negated.
static inline std::pair<Lum8u*, Lum32s> reversedDestination(Lum8u* pDst, Lum32s dstStep, LumSize roi,
                                                            int channels, bool both)
{
    Lum8u* end = pDst + size_t(roi.width) * size_t(channels);
    if (!both) return {end, dstStep};
    return {rowAt(end, dstStep, roi.height - 1), static_cast<Lum32s>(0u - static_cast<uint32_t>(dstStep))};
}

// In place: rows exchanged for flip 0; each row reversed for flip 1; for flip 2 every pixel of the
// upper half swapped with its opposite, then the middle row of an odd height reversed. The tier's
// kernels do the work:
//   swapRows(a, b, bytes)              two rows exchanged
//   swapPair(nearRow, farEnd, pixels)  a row exchanged with the reversed other row
//   reverseRow(row, pixels)            one row reversed (flip 1)
//   reverseMiddle(row, pixels)         the middle row of flip 2
template <int Channels, typename Kernels>
static inline void mirrorInPlace(Lum8u* p, Lum32s step, LumSize roi, Lum32s flip, const Kernels& k)
{
    const size_t width = size_t(roi.width);
    const int64_t h = roi.height;
    if (flip == 1) {
        for (int64_t r = 0; r < h; ++r) k.reverseRow(rowAt(p, step, r), width);
        return;
    }
    for (int64_t r = 0; r < h / 2; ++r) {
        Lum8u* upper = rowAt(p, step, r);
        Lum8u* lower = rowAt(p, step, h - 1 - r);
        if (flip == 0)
            k.swapRows(upper, lower, width * Channels);
        else
            k.swapPair(upper, lower + width * Channels, width);
    }
    if (flip == 2 && (h & 1) != 0) k.reverseMiddle(rowAt(p, step, (h - 1) / 2), width);
}

// The px kernels: one byte or one pixel at a time.
template <int Channels>
struct ScalarInPlace {
    static void swapRows(Lum8u* a, Lum8u* b, size_t len) { swapBytes(a, b, len); }
    static void swapPair(Lum8u* nearRow, Lum8u* farEnd, size_t pixels)
    {
        swapReversedPixels<Channels>(nearRow, farEnd, pixels);
    }
    static void reverseRow(Lum8u* row, size_t pixels)
    {
        swapReversedPixels<Channels>(row, row + Channels * pixels, pixels / 2);
    }
    static void reverseMiddle(Lum8u* row, size_t pixels) { reverseRow(row, pixels); }
};

}  // namespace lum::mirror

// Defines the four mirror exports in the including tier's namespace, over the tier's templates
// mirrorInto<Channels>(pSrc, srcStep, pDst, dstStep, roi, flip) and
// mirrorInPlace<Channels>(pSrcDst, step, roi, flip).
#define LUM_MIRROR_EXPORTS                                                                                   \
    LumStatus lumiMirror_8u_C1R(const Lum8u* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roi, \
                                Lum32s flip)                                                                 \
    {                                                                                                        \
        return mirrorInto<1>(pSrc, srcStep, pDst, dstStep, roi, flip);                                       \
    }                                                                                                        \
    LumStatus lumiMirror_8u_C3R(const Lum8u* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roi, \
                                Lum32s flip)                                                                 \
    {                                                                                                        \
        return mirrorInto<3>(pSrc, srcStep, pDst, dstStep, roi, flip);                                       \
    }                                                                                                        \
    LumStatus lumiMirror_8u_C1IR(Lum8u* pSrcDst, Lum32s step, LumSize roi, Lum32s flip)                      \
    {                                                                                                        \
        return mirrorInPlace<1>(pSrcDst, step, roi, flip);                                                   \
    }                                                                                                        \
    LumStatus lumiMirror_8u_C3IR(Lum8u* pSrcDst, Lum32s step, LumSize roi, Lum32s flip)                      \
    {                                                                                                        \
        return mirrorInPlace<3>(pSrcDst, step, roi, flip);                                                   \
    }
