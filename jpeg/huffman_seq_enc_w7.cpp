// Sequential block encoding, tier w7: the shared fast path, its masks built with SSE2, in front
// of the plain path.
#include "jpeg/huffman_seq_enc_vector.h"

namespace lum::w7 {

LumStatus lumiEncodeHuffman8x8_JPEG_16s1u_C1(const Lum16s* pSrc, Lum8u* pDst, Lum32s dstLen, Lum32s* pDstPos,
                                            Lum16s* pLastDc, const LumEncodeHuffmanSpec* pDcSpec,
                                            const LumEncodeHuffmanSpec* pAcSpec, LumEncodeHuffmanState* pState,
                                            Lum32s flush)
{
    return henc::encodeSequential<henc::W7Tier, &henc::encodeBlockFast<henc::W7Tier>>(pSrc, pDst, dstLen, pDstPos, pLastDc, pDcSpec, pAcSpec,
                                                      pState, flush);
}

}  // namespace lum::w7
