// Region copy and fill, tier px: a row at a time, byte by byte. The alpha-kept, planar and fill
// forms are shared with a6.
#include "frame/dispatch.h"
#include "image/region.h"
#include "signal/kernels.h"

namespace lum::px {
namespace {

// No merging: every row, every byte, in order.
template <int Channels>
LumStatus copyInterleaved(const Lum8u* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roi)
{
    const LumStatus status = checkRegionArgs(roi, pSrc, pDst);
    if (status != lumStsNoErr) return status;
    const size_t rowBytes = size_t(roi.width) * Channels;
    for (int64_t r = 0; r < roi.height; ++r) {
        const Lum8u* s = rowAt(pSrc, srcStep, r);
        Lum8u* d = rowAt(pDst, dstStep, r);
        keepLoop(d);
        for (size_t i = 0; i < rowBytes; ++i) d[i] = s[i];
    }
    return status;
}

template <int Planes>
LumStatus copyPlanar(const Lum8u* const* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roi)
{
    const LumStatus status = checkPlanarArgs<Planes>(pSrc, pDst, roi);
    if (status == lumStsNoErr) planarToPixels<Planes>(pSrc, srcStep, pDst, dstStep, roi);
    return status;
}

}  // namespace

LUM_INTERLEAVED_COPY_EXPORTS

LumStatus lumiCopy_8u_C3AC4R(const Lum8u* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roiSize)
{
    return copyAlphaKept(pSrc, srcStep, pDst, dstStep, roiSize);
}

LumStatus lumiCopy_8u_P3C3R(const Lum8u* const pSrc[3], Lum32s srcStep, Lum8u* pDst, Lum32s dstStep,
                            LumSize roiSize)
{
    return copyPlanar<3>(pSrc, srcStep, pDst, dstStep, roiSize);
}

LumStatus lumiCopy_8u_P4C4R(const Lum8u* const pSrc[4], Lum32s srcStep, Lum8u* pDst, Lum32s dstStep,
                            LumSize roiSize)
{
    return copyPlanar<4>(pSrc, srcStep, pDst, dstStep, roiSize);
}

LumStatus lumiSet_8u_C4CR(Lum8u value, Lum8u* pDst, Lum32s dstStep, LumSize roiSize)
{
    return setChannel(value, pDst, dstStep, roiSize);
}

}  // namespace lum::px
