// Sequential (baseline) block encoding: the checks and flush every tier shares, and the plain path,
// which is all of px and what the vector tiers fall back on when their fast path declines.
#pragma once

#include "jpeg/huffman_enc.h"
#include "jpeg/jpeg_tables.h"

namespace lum::henc {
namespace {

// The DC difference, then the AC run/size pairs in zig-zag order, each code through the writer.
// A trailing run of zeros costs one EOB and no ZRL; a block whose coefficient 63 is nonzero has no
// EOB.
template <typename Writer>
LumStatus sequentialCodes(Writer& w, const Lum16s* pSrc, int32_t diff, const LumEncodeHuffmanSpec* pDcSpec,
                          const LumEncodeHuffmanSpec* pAcSpec)
{
    const int dcSize = valueSize(diff);
    LumStatus status = w.code(pDcSpec, dcSize);
    if (status == lumStsNoErr && dcSize != 0) status = w.bits(extraBits(diff), dcSize);
    if (status != lumStsNoErr) return status;

    int run = 0;
    for (int k = 1; k < 64; ++k) {
        const int32_t c = pSrc[ZigzagOrder[k]];
        if (c == 0) {
            ++run;
            continue;
        }
        for (; run > 15; run -= 16) {
            status = w.code(pAcSpec, kZrl);
            if (status != lumStsNoErr) return status;
        }
        const int size = valueSize(c);
        status = w.codeAndValue(pAcSpec, 16 * run + size, extraBits(c), size);
        if (status != lumStsNoErr) return status;
        run = 0;
    }
    return run > 0 ? w.code(pAcSpec, kEob0) : lumStsNoErr;
}

// The plain path: the predictor moves first and is not rolled back; then one PutBits per code.
inline LumStatus encodeBlockPlain(const Lum16s* pSrc, Lum8u* pDst, Lum32s dstLen, Lum32s* pDstPos,
                                  Lum16s* pLastDc, const LumEncodeHuffmanSpec* pDcSpec,
                                  const LumEncodeHuffmanSpec* pAcSpec, LumEncodeHuffmanState* pState)
{
    const int32_t diff = int32_t{pSrc[0]} - *pLastDc;
    *pLastDc = pSrc[0];
    StateHead head = loadHead(pState);
    NarrowWriter w(pDst, dstLen, *pDstPos, head);
    const LumStatus status = sequentialCodes(w, pSrc, diff, pDcSpec, pAcSpec);
    *pDstPos = w.pos();
    w.storeBits(head);
    storeHead(pState, head);
    return status;
}

// A whole-block fast path: true when it encoded the block, false when it declined and left the
// position, state and predictor as they were.
using FastPath = bool (*)(const Lum16s*, Lum8u*, Lum32s, Lum32s*, Lum16s*, const LumEncodeHuffmanSpec*,
                          const LumEncodeHuffmanSpec*, LumEncodeHuffmanState*);

// The body of lumiEncodeHuffman8x8_JPEG_16s1u_C1 in every tier.
template <typename Tier, FastPath Fast>
LumStatus encodeSequential(const Lum16s* pSrc, Lum8u* pDst, Lum32s dstLen, Lum32s* pDstPos, Lum16s* pLastDc,
                           const LumEncodeHuffmanSpec* pDcSpec, const LumEncodeHuffmanSpec* pAcSpec,
                           LumEncodeHuffmanState* pState, Lum32s flush)
{
    const LumStatus status = checkOutputArgs(pDst, dstLen, pDstPos, pState);
    if (status != lumStsNoErr) return status;
    if (flush != 0) return flushNarrow<Tier>(pDst, dstLen, pDstPos, pState);
    if (pSrc == nullptr || pLastDc == nullptr || pDcSpec == nullptr || pAcSpec == nullptr)
        return lumStsNullPointer;
    if constexpr (Fast != nullptr) {
        if (Fast(pSrc, pDst, dstLen, pDstPos, pLastDc, pDcSpec, pAcSpec, pState)) return lumStsNoErr;
    }
    return encodeBlockPlain(pSrc, pDst, dstLen, pDstPos, pLastDc, pDcSpec, pAcSpec, pState);
}

}  // namespace
}  // namespace lum::henc
