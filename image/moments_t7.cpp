// Spatial moments, tier t7: the four-lane single-precision kernel whatever the hint, and a record
// allocated with the prefetching allocator.
#include "frame/alloc.h"
#include "frame/dispatch.h"
#include "image/moments_vector.h"

namespace lum::t7 {
namespace {

struct Tier {};

}  // namespace

LumStatus lumiMomentInitAlloc_64f(LumMomentRecord** ppState, Lum32s hint)
{
    return moments::allocRecord<lumMallocPf>(ppState, hint);
}

LumStatus lumiMoments64f_32f_C1R(const Lum32f* pSrc, Lum32s srcStep, LumSize roiSize, LumMomentRecord* pState)
{
    return moments::fill(pSrc, srcStep, roiSize, pState, momentsvec::kernel<Tier>);
}

LumStatus lumiGetSpatialMoment_64f(const LumMomentRecord* pState, Lum32s xOrder, Lum32s yOrder,
                                   Lum32s channel, LumPoint origin, Lum64f* pValue)
{
    return moments::spatialMoment(pState, xOrder, yOrder, channel, origin, pValue);
}

}  // namespace lum::t7
