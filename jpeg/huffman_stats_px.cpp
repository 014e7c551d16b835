// Huffman statistics and table construction, portable tier: the shared logic over px's copy and fill kernels.
#include "jpeg/huffman_stats.h"

namespace lum::px {

LumStatus lumiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(const Lum16s* pSrc, Lum32s* pFreq, Lum16s* pLastDc, Lum32s Al)
{
    return henc::statsDcFirst<henc::PxTier>(pSrc, pFreq, pLastDc, Al);
}

LumStatus lumiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(const Lum16s* pSrc, Lum32s* pFreq, Lum32s Ss, Lum32s Se,
                                                          Lum32s Al, LumEncodeHuffmanState* pState, Lum32s flush)
{
    return henc::statsAc<henc::PxTier, henc::AcPass::first>(pSrc, pFreq, Ss, Se, Al, pState, flush);
}

LumStatus lumiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(const Lum16s* pSrc, Lum32s* pFreq, Lum32s Ss, Lum32s Se,
                                                           Lum32s Al, LumEncodeHuffmanState* pState, Lum32s flush)
{
    return henc::statsAc<henc::PxTier, henc::AcPass::refine>(pSrc, pFreq, Ss, Se, Al, pState, flush);
}

LumStatus lumiEncodeHuffmanRawTableInit_JPEG_8u(const Lum32s* pFreq, Lum8u* pBits, Lum8u* pVals)
{
    return henc::rawTableInit<henc::PxTier>(pFreq, pBits, pVals);
}

}  // namespace lum::px
