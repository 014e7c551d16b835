// Zigzag to natural order, portable tier: the order table read entry by entry, one element a step.
#include "frame/dispatch.h"
#include "jpeg/zigzag.h"

namespace lum::px {

LumStatus lumiZigzagInv8x8_16s_C1(const Lum16s* pSrc, Lum16s* pDst) { return zigzagInvBlock<1>(pSrc, pDst); }

}  // namespace lum::px
