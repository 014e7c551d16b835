// Sequential block encoding, tier a6: the shared fast path, its masks built in MMX registers,
// in front of the plain path.
#include "jpeg/huffman_seq_enc_vector.h"

namespace lum::a6 {

LumStatus lumiEncodeHuffman8x8_JPEG_16s1u_C1(const Lum16s* pSrc, Lum8u* pDst, Lum32s dstLen, Lum32s* pDstPos,
                                            Lum16s* pLastDc, const LumEncodeHuffmanSpec* pDcSpec,
                                            const LumEncodeHuffmanSpec* pAcSpec, LumEncodeHuffmanState* pState,
                                            Lum32s flush)
{
    return henc::encodeSequential<henc::A6Tier, &henc::encodeBlockFast<henc::A6Tier>>(pSrc, pDst, dstLen, pDstPos, pLastDc, pDcSpec, pAcSpec,
                                                      pState, flush);
}

}  // namespace lum::a6
