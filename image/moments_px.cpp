// Spatial moments, tier px: Lum64f row sums pixel by pixel. The allocation and release are shared
// with a6.
#include "frame/dispatch.h"
#include "image/moments.h"

namespace lum::px {

LumStatus lumiMomentInitAlloc_64f(LumMomentRecord** ppState, Lum32s hint)
{
    return moments::allocRecord<lumMalloc>(ppState, hint);
}

LumStatus lumiMomentFree_64f(LumMomentRecord* pState) { return moments::freeRecord(pState); }

LumStatus lumiMoments64f_32f_C1R(const Lum32f* pSrc, Lum32s srcStep, LumSize roiSize, LumMomentRecord* pState)
{
    return moments::fill(pSrc, srcStep, roiSize, pState, moments::scalarKernel);
}

LumStatus lumiGetSpatialMoment_64f(const LumMomentRecord* pState, Lum32s xOrder, Lum32s yOrder,
                                   Lum32s channel, LumPoint origin, Lum64f* pValue)
{
    return moments::spatialMoment(pState, xOrder, yOrder, channel, origin, pValue);
}

}  // namespace lum::px
