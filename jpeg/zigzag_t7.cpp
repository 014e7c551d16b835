// Zigzag to natural order, tier t7: the order table read entry by entry, two elements a step.
#include "frame/dispatch.h"
#include "jpeg/zigzag.h"

namespace lum::t7 {

LumStatus lumiZigzagInv8x8_16s_C1(const Lum16s* pSrc, Lum16s* pDst) { return zigzagInvBlock<2>(pSrc, pDst); }

}  // namespace lum::t7
