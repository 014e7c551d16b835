// Encoder code table and state initialisation, tier t7: the shared code over this tier's clear kernel.
#include "jpeg/huffman_enc.h"

namespace lum::t7 {

LumStatus lumiEncodeHuffmanSpecInit_JPEG_8u(const Lum8u* pBits, const Lum8u* pVals, LumEncodeHuffmanSpec* pSpec)
{
    return henc::specInit<henc::T7Tier>(pBits, pVals, pSpec);
}

LumStatus lumiEncodeHuffmanStateInit_JPEG_8u(LumEncodeHuffmanState* pState)
{
    return henc::stateInit<henc::T7Tier>(pState);
}

}  // namespace lum::t7
