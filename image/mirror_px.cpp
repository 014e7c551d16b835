// Mirror, tier px: every pixel written straight to its mirrored place, and in place by swaps that
// touch each pixel once.
#include "frame/dispatch.h"
#include "image/mirror.h"

namespace lum::px {
namespace {

template <int Channels>
LumStatus mirrorInto(const Lum8u* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roi, Lum32s flip)
{
    const LumStatus status = checkMirrorArgs(roi, flip, pSrc, pDst);
    if (status != lumStsNoErr) return status;
    const size_t width = size_t(roi.width);
    for (int64_t r = 0; r < roi.height; ++r) {
        const Lum8u* s = rowAt(pSrc, srcStep, r);
        Lum8u* d = rowAt(pDst, dstStep, flip == 1 ? r : roi.height - 1 - r);
        if (flip == 0)
            for (size_t i = 0; i < width * Channels; ++i) d[i] = s[i];
        else
            mirror::reversePixels<Channels>(s, d + width * Channels, width);
    }
    return status;
}

template <int Channels>
LumStatus mirrorInPlace(Lum8u* pSrcDst, Lum32s step, LumSize roi, Lum32s flip)
{
    const LumStatus status = checkMirrorArgs(roi, flip, pSrcDst);
    if (status == lumStsNoErr)
        mirror::mirrorInPlace<Channels>(pSrcDst, step, roi, flip, mirror::ScalarInPlace<Channels>{});
    return status;
}

}  // namespace

LUM_MIRROR_EXPORTS

}  // namespace lum::px
