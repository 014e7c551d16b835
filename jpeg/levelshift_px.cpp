// Level shift, portable tier: one element at a time.
#include "frame/dispatch.h"
#include "jpeg/levelshift.h"

namespace lum {
namespace {

template <typename Shift>
void shiftRow(const Lum8u* src, Lum8u* dst, int width)
{
    levelshift::shiftScalar<Shift>(src, dst, 0, width);
}

}  // namespace

namespace px {

LumStatus lumiSub128_JPEG_8u16s_C1R(const Lum8u* pSrc, Lum32s srcStep, Lum16s* pDst, Lum32s dstStep, LumSize roiSize)
{
    using levelshift::Sub128;
    return levelshift::shiftRegion<Sub128, shiftRow<Sub128>>(pSrc, srcStep, pDst, dstStep, roiSize);
}

LumStatus lumiAdd128_JPEG_16s8u_C1R(const Lum16s* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roiSize)
{
    using levelshift::Add128;
    return levelshift::shiftRegion<Add128, shiftRow<Add128>>(pSrc, srcStep, pDst, dstStep, roiSize);
}

}  // namespace px
}  // namespace lum
