// Level shift between 8-bit regions and 16-bit samples, shared by every tier: the argument checks,
// the element formulas, and the walk over the rows of a region with a tier's row kernel.
#pragma once

#include "jpeg/arith16.h"
#include "jpeg/dct_block.h"

#include <cstddef>

namespace lum::levelshift {

// dst = src - 128.
struct Sub128 {
    using In = Lum8u;
    using Out = Lum16s;
    static Out apply(In v) { return static_cast<Lum16s>(v - 128); }
};

// dst = src + 128 clamped to 0..255; every 16-bit input is accepted.
struct Add128 {
    using In = Lum16s;
    using Out = Lum8u;
    static Out apply(In v) { return sat8u(int32_t{v} + 128); }
};

// Elements [from, to) of a row, one at a time; rows are byte addresses, as either side may be odd.
template <typename Shift>
static inline void shiftScalar(const Lum8u* src, Lum8u* dst, int from, int to)
{
    for (int i = from; i < to; ++i)
        storeElement<typename Shift::Out>(dst, i, Shift::apply(loadElement<typename Shift::In>(src, i)));
}

// Checks in the order source, its step, destination, its step, size; then runs the row kernel on
// every row. Neither step is compared with the row width.
template <typename Shift, void (*Row)(const Lum8u*, Lum8u*, int)>
static inline LumStatus shiftRegion(const typename Shift::In* pSrc, Lum32s srcStep, typename Shift::Out* pDst,
                                    Lum32s dstStep, LumSize roiSize)
{
    if (pSrc == nullptr) return lumStsNullPointer;
    if (srcStep < 1) return lumStsBadStep;
    if (pDst == nullptr) return lumStsNullPointer;
    if (dstStep < 1) return lumStsBadStep;
    if (roiSize.width < 1 || roiSize.height < 1) return lumStsBadSize;
    const auto* src = reinterpret_cast<const Lum8u*>(pSrc);
    auto* dst = reinterpret_cast<Lum8u*>(pDst);
    for (Lum32s y = 0; y < roiSize.height; ++y)
        Row(src + static_cast<ptrdiff_t>(y) * srcStep, dst + static_cast<ptrdiff_t>(y) * dstStep, roiSize.width);
    return lumStsNoErr;
}

}  // namespace lum::levelshift
