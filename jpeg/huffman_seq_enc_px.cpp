// Sequential block encoding, portable tier: the plain path: one PutBits per code.
#include "jpeg/huffman_seq_enc.h"

namespace lum::px {

LumStatus lumiEncodeHuffman8x8_JPEG_16s1u_C1(const Lum16s* pSrc, Lum8u* pDst, Lum32s dstLen, Lum32s* pDstPos,
                                            Lum16s* pLastDc, const LumEncodeHuffmanSpec* pDcSpec,
                                            const LumEncodeHuffmanSpec* pAcSpec, LumEncodeHuffmanState* pState,
                                            Lum32s flush)
{
    return henc::encodeSequential<henc::PxTier, nullptr>(pSrc, pDst, dstLen, pDstPos, pLastDc, pDcSpec, pAcSpec,
                                                      pState, flush);
}

}  // namespace lum::px
