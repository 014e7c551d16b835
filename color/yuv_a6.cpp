// Video colour conversions, tier a6: RGB to YUV by the vector formulas with a prefetch of the next
// source lines; YUV 4:2:0 to BGR and the 4:2:0 to 4:2:2 repacking by the scalar px logic, so that
// they agree with px exactly.
#include "color/yuv_vector.h"
#include "frame/dispatch.h"

namespace lum::a6 {
namespace {

struct Tier {
    static constexpr bool kPrefetch = true;
    static __m128i loadUnaligned(const Lum8u* p)
    {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    }
};

}  // namespace

LUM_VECTOR_RGB_TO_YUV

LumStatus lumiYUV420ToBGR_8u_P3C3R(const Lum8u* const pSrc[3], const Lum32s srcStep[3], Lum8u* pDst,
                                   Lum32s dstStep, LumSize roiSize)
{
    return yuv::scalarYuv420ToBgr(pSrc, srcStep, pDst, dstStep, roiSize);
}

LumStatus lumiYCrCb420ToYCbCr422_8u_P3C2R(const Lum8u* const pSrc[3], const Lum32s srcStep[3], Lum8u* pDst,
                                          Lum32s dstStep, LumSize roiSize)
{
    return yuv::scalarYcrcb420To422(pSrc, srcStep, pDst, dstStep, roiSize);
}

}  // namespace lum::a6
