// Encoder code table and state initialisation, portable tier: the shared code over this tier's clear kernel.
#include "jpeg/huffman_enc.h"

namespace lum::px {

// The sizes are the same in every tier: one function serves all four slots.
LumStatus lumiEncodeHuffmanSpecGetBufSize_JPEG_8u(Lum32s* pSize) { return henc::writeSize(pSize, henc::kSpecSize); }

LumStatus lumiEncodeHuffmanStateGetBufSize_JPEG_8u(Lum32s* pSize)
{
    return henc::writeSize(pSize, henc::kStateSize);
}

LumStatus lumiEncodeHuffmanSpecInit_JPEG_8u(const Lum8u* pBits, const Lum8u* pVals, LumEncodeHuffmanSpec* pSpec)
{
    return henc::specInit<henc::PxTier>(pBits, pVals, pSpec);
}

LumStatus lumiEncodeHuffmanStateInit_JPEG_8u(LumEncodeHuffmanState* pState)
{
    return henc::stateInit<henc::PxTier>(pState);
}

}  // namespace lum::px
