// Encoder code table and state initialisation, tier a6: the shared code over this tier's clear kernel.
#include "jpeg/huffman_enc.h"

namespace lum::a6 {

LumStatus lumiEncodeHuffmanSpecInit_JPEG_8u(const Lum8u* pBits, const Lum8u* pVals, LumEncodeHuffmanSpec* pSpec)
{
    return henc::specInit<henc::A6Tier>(pBits, pVals, pSpec);
}

LumStatus lumiEncodeHuffmanStateInit_JPEG_8u(LumEncodeHuffmanState* pState)
{
    return henc::stateInit<henc::A6Tier>(pState);
}

}  // namespace lum::a6
