// Video colour conversions, tier px: the formulas with 16 fractional bits, pixel by pixel. The
// 4:2:2 to 4:2:0 repacking is shared with a6.
#include "color/yuv.h"
#include "frame/dispatch.h"

namespace lum::px {

LumStatus lumiRGBToYUV420_8u_C3P3R(const Lum8u* pSrc, Lum32s srcStep, Lum8u* const pDst[3],
                                   const Lum32s dstStep[3], LumSize roiSize)
{
    const LumStatus status = yuv::checkPlanesLast(pSrc, pDst, pDst, roiSize);
    if (status == lumStsNoErr) yuv::rgbToYuv420(pSrc, srcStep, pDst, dstStep, roiSize, yuv::pxPairRows420);
    return status;
}

LumStatus lumiRGBToYUV422_8u_C3P3R(const Lum8u* pSrc, Lum32s srcStep, Lum8u* const pDst[3],
                                   const Lum32s dstStep[3], LumSize roiSize)
{
    const LumStatus status = yuv::checkPlanesLast(pSrc, pDst, pDst, roiSize);
    if (status == lumStsNoErr)
        yuv::rgbToYuv422(pSrc, srcStep, pDst, dstStep, roiSize, yuv::pxRow422, yuv::pxLast422);
    return status;
}

LumStatus lumiYUV420ToBGR_8u_P3C3R(const Lum8u* const pSrc[3], const Lum32s srcStep[3], Lum8u* pDst,
                                   Lum32s dstStep, LumSize roiSize)
{
    return yuv::scalarYuv420ToBgr(pSrc, srcStep, pDst, dstStep, roiSize);
}

LumStatus lumiYCbCr422ToYCbCr420_8u_C2P3R(const Lum8u* pSrc, Lum32s srcStep, Lum8u* const pDst[3],
                                          const Lum32s dstStep[3], LumSize roiSize)
{
    const LumStatus status = yuv::checkRepackToPlanes(pSrc, pDst, roiSize);
    if (status == lumStsNoErr)
        yuv::ycbcr422To420(pSrc, srcStep, pDst, dstStep, roiSize, yuv::scalarRows422To420);
    return status;
}

LumStatus lumiYCrCb420ToYCbCr422_8u_P3C2R(const Lum8u* const pSrc[3], const Lum32s srcStep[3], Lum8u* pDst,
                                          Lum32s dstStep, LumSize roiSize)
{
    return yuv::scalarYcrcb420To422(pSrc, srcStep, pDst, dstStep, roiSize);
}

}  // namespace lum::px
