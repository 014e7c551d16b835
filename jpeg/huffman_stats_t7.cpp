// Huffman statistics and table construction, tier t7: the shared logic over the copy and fill kernels of t7.
#include "jpeg/huffman_stats.h"

namespace lum::t7 {

LumStatus lumiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(const Lum16s* pSrc, Lum32s* pFreq, Lum16s* pLastDc, Lum32s Al)
{
    return henc::statsDcFirst<henc::T7Tier>(pSrc, pFreq, pLastDc, Al);
}

LumStatus lumiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(const Lum16s* pSrc, Lum32s* pFreq, Lum32s Ss, Lum32s Se,
                                                          Lum32s Al, LumEncodeHuffmanState* pState, Lum32s flush)
{
    return henc::statsAc<henc::T7Tier, henc::AcPass::first>(pSrc, pFreq, Ss, Se, Al, pState, flush);
}

LumStatus lumiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(const Lum16s* pSrc, Lum32s* pFreq, Lum32s Ss, Lum32s Se,
                                                           Lum32s Al, LumEncodeHuffmanState* pState, Lum32s flush)
{
    return henc::statsAc<henc::T7Tier, henc::AcPass::refine>(pSrc, pFreq, Ss, Se, Al, pState, flush);
}

LumStatus lumiEncodeHuffmanRawTableInit_JPEG_8u(const Lum32s* pFreq, Lum8u* pBits, Lum8u* pVals)
{
    return henc::rawTableInit<henc::T7Tier>(pFreq, pBits, pVals);
}

}  // namespace lum::t7
