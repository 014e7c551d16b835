// Progressive encoding, tier a6: the DC primitives in the narrow form, the AC kernels and
// their flush in the wide form.
#include "jpeg/huffman_prog_enc.h"

namespace lum::a6 {

LumStatus lumiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(const Lum16s* pSrc, Lum8u* pDst, Lum32s dstLen, Lum32s* pDstPos,
                                                    Lum16s* pLastDc, Lum32s Al, const LumEncodeHuffmanSpec* pDcSpec,
                                                    LumEncodeHuffmanState* pState, Lum32s flush)
{
    return henc::encodeDcFirst<henc::A6Tier>(pSrc, pDst, dstLen, pDstPos, pLastDc, Al, pDcSpec, pState, flush);
}

LumStatus lumiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(const Lum16s* pSrc, Lum8u* pDst, Lum32s dstLen,
                                                     Lum32s* pDstPos, Lum32s Al, LumEncodeHuffmanState* pState,
                                                     Lum32s flush)
{
    return henc::encodeDcRefine<henc::A6Tier>(pSrc, pDst, dstLen, pDstPos, Al, pState, flush);
}

LumStatus lumiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(const Lum16s* pSrc, Lum8u* pDst, Lum32s dstLen, Lum32s* pDstPos,
                                                    Lum32s Ss, Lum32s Se, Lum32s Al,
                                                    const LumEncodeHuffmanSpec* pAcSpec, LumEncodeHuffmanState* pState,
                                                    Lum32s flush)
{
    return henc::encodeAc<henc::A6Tier, henc::AcPass::first>(pSrc, pDst, dstLen, pDstPos, Ss, Se, Al, pAcSpec, pState,
                                                           flush);
}

LumStatus lumiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(const Lum16s* pSrc, Lum8u* pDst, Lum32s dstLen,
                                                     Lum32s* pDstPos, Lum32s Ss, Lum32s Se, Lum32s Al,
                                                     const LumEncodeHuffmanSpec* pAcSpec,
                                                     LumEncodeHuffmanState* pState, Lum32s flush)
{
    return henc::encodeAc<henc::A6Tier, henc::AcPass::refine>(pSrc, pDst, dstLen, pDstPos, Ss, Se, Al, pAcSpec, pState,
                                                            flush);
}

}  // namespace lum::a6
