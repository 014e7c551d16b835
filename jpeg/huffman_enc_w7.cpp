// Encoder code table and state initialisation, tier w7: the shared code over this tier's clear kernel.
#include "jpeg/huffman_enc.h"

namespace lum::w7 {

LumStatus lumiEncodeHuffmanSpecInit_JPEG_8u(const Lum8u* pBits, const Lum8u* pVals, LumEncodeHuffmanSpec* pSpec)
{
    return henc::specInit<henc::W7Tier>(pBits, pVals, pSpec);
}

LumStatus lumiEncodeHuffmanStateInit_JPEG_8u(LumEncodeHuffmanState* pState)
{
    return henc::stateInit<henc::W7Tier>(pState);
}

}  // namespace lum::w7
