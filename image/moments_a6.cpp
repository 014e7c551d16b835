// Spatial moments, tier a6: the four-lane single-precision kernel, or the px kernel when the record
// was allocated with hint 2.
#include "frame/dispatch.h"
#include "image/moments_vector.h"

namespace lum::a6 {
namespace {

struct Tier {};

}  // namespace

LumStatus lumiMoments64f_32f_C1R(const Lum32f* pSrc, Lum32s srcStep, LumSize roiSize, LumMomentRecord* pState)
{
    // fill() has checked the record by the time the kernel reads its hint.
    return moments::fill(pSrc, srcStep, roiSize, pState,
                         [pState](const Lum32f* s, Lum32s step, LumSize roi, Lum64f* m) {
                             if (pState->hint == moments::kAccurateHint)
                                 moments::scalarKernel(s, step, roi, m);
                             else
                                 momentsvec::kernel<Tier>(s, step, roi, m);
                         });
}

LumStatus lumiGetSpatialMoment_64f(const LumMomentRecord* pState, Lum32s xOrder, Lum32s yOrder,
                                   Lum32s channel, LumPoint origin, Lum64f* pValue)
{
    return moments::spatialMoment(pState, xOrder, yOrder, channel, origin, pValue);
}

}  // namespace lum::a6
