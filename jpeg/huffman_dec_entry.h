// The bodies of every Huffman decoding variant, templated on the tier tag: argument checks, the
// table builder, the state operations, and each block primitive from loading the state to storing
// it back. A tier file names its tag and forwards its exports here.
//
// A tag provides zeroBytes (the tier's clear kernel), allocate (its allocator), clearBlock (the
// fast path's block clear), kFastPath (DecodeBlockFast in front of the sequential plain path) and
// AcReader (the reader of the AC primitives).
#pragma once

#include "jpeg/huffman_dec_blocks.h"
#include "jpeg/huffman_dec_fast.h"

#include <lum.h>

#include <cstdint>

namespace lum::hdec {
namespace {

template <typename Tier>
LumStatus specInit(const Lum8u* pBits, const Lum8u* pVals, LumDecodeHuffmanSpec* pSpec)
{
    if (anyNull({pBits, pVals, pSpec})) return lumStsNullPointer;
    Lum8u* out = reinterpret_cast<Lum8u*>(pSpec);
    Tier::zeroBytes(out, kSpecSize);
    int32_t total = 0;
    for (int32_t i = 0; i < 16; ++i) {
        if (total + pBits[i] > 256) return lumStsJpegTableDestroyed;
        total += pBits[i];
    }
    const auto put16 = [out](size_t field, int32_t index, uint32_t v) {
        storeAt(out, field + 2 * static_cast<size_t>(index), static_cast<uint16_t>(v));
    };
    // T.81 Annex C codes. An over-subscribed table is built, not refused: its codes outgrow their
    // lengths, and the bounds below keep its look-up entries inside the 256.
    uint32_t code = 0;
    int32_t index = 0;
    for (int32_t length = 1; length <= 16; ++length, code <<= 1) {
        const int32_t n = pBits[length - 1];
        if (n == 0) {
            put16(offsetof(LumDecodeHuffmanSpec, maxCode), length, 0xFFFF);
            continue;
        }
        put16(offsetof(LumDecodeHuffmanSpec, firstIndex), length, static_cast<uint32_t>(index));
        put16(offsetof(LumDecodeHuffmanSpec, minCode), length, code);
        for (int32_t i = 0; i < n; ++i, ++index, ++code) {
            put16(offsetof(LumDecodeHuffmanSpec, symbolValues), index, pVals[index]);
            if (length > 8) continue;
            const uint32_t entry = static_cast<uint32_t>(length) << 16 | pVals[index];
            const uint32_t first = code << (8 - length);
            const uint32_t end = first + (1u << (8 - length));
            for (uint32_t j = first; j < end && j < 256; ++j)
                storeAt(out, offsetof(LumDecodeHuffmanSpec, lookup8) + 4 * j, entry);
        }
        put16(offsetof(LumDecodeHuffmanSpec, maxCode), length, code - 1);
    }
    put16(offsetof(LumDecodeHuffmanSpec, maxCode), 17, 0xFFFF);
    return lumStsNoErr;
}

template <typename Tier>
LumStatus stateInit(LumDecodeHuffmanState* pState)
{
    if (pState == nullptr) return lumStsNullPointer;
    Tier::zeroBytes(reinterpret_cast<Lum8u*>(pState), kStateUsedBytes);
    return lumStsNoErr;
}

// An allocation failure answers lumStsNullPointer: that is how this operation reports it.
template <typename Tier>
LumStatus stateInitAlloc(LumDecodeHuffmanState** pStateOut)
{
    if (pStateOut == nullptr) return lumStsNullPointer;
    auto* state = static_cast<LumDecodeHuffmanState*>(Tier::allocate(kStateSize));
    if (state == nullptr) return lumStsNullPointer;
    stateInit<Tier>(state);
    *pStateOut = state;
    return lumStsNoErr;
}

template <typename Tier>
LumStatus decodeSequential(const Lum8u* pSrc, Lum32s srcLen, Lum32s* pSrcPos, Lum16s* pDst, Lum16s* pLastDc,
                           Lum32s* pMarker, const LumDecodeHuffmanSpec* pDcSpec,
                           const LumDecodeHuffmanSpec* pAcSpec, LumDecodeHuffmanState* pState)
{
    const LumStatus status =
        checkSequentialArgs(pSrc, srcLen, {pSrcPos, pDst, pLastDc, pMarker, pDcSpec, pAcSpec, pState});
    if (status != lumStsNoErr) return status;
    Lum8u* block = reinterpret_cast<Lum8u*>(pDst);
    const SpecView dc(pDcSpec), ac(pAcSpec);
    if constexpr (Tier::kFastPath) {
        if (decodeBlockFast<Tier>(pSrc, srcLen, pSrcPos, block, pLastDc, pMarker, dc, ac, pState))
            return lumStsNoErr;
    }
    // Cleared again after a declined fast path, which may have left values behind.
    Tier::zeroBytes(block, 128);
    NarrowReader<Tier> rd({pSrc, static_cast<uint32_t>(srcLen), *pSrcPos, pMarker}, pState);
    const LumStatus result = decodeSequentialPlain(rd, block, pLastDc, dc, ac);
    rd.save(pSrcPos, pState);
    return result;
}

// Runs one progressive block on a reader of type Reader and stores the position and state back.
template <typename Reader, typename Decode>
LumStatus runProgressive(const Lum8u* pSrc, Lum32s srcLen, Lum32s* pSrcPos, Lum32s* pMarker,
                         LumDecodeHuffmanState* pState, Decode decode)
{
    Reader rd({pSrc, static_cast<uint32_t>(srcLen), *pSrcPos, pMarker}, pState);
    const LumStatus result = decode(rd);
    rd.save(pSrcPos, pState);
    return result;
}

template <typename Tier>
LumStatus decodeDcFirstEntry(const Lum8u* pSrc, Lum32s srcLen, Lum32s* pSrcPos, Lum16s* pDst, Lum16s* pLastDc,
                             Lum32s* pMarker, Lum32s Al, const LumDecodeHuffmanSpec* pDcSpec,
                             LumDecodeHuffmanState* pState)
{
    const LumStatus status =
        checkProgressiveArgs(pSrc, srcLen, {pSrcPos, pDst, pMarker, pLastDc}, {0, 0, Al, false}, {pDcSpec, pState});
    if (status != lumStsNoErr) return status;
    return runProgressive<NarrowReader<Tier>>(pSrc, srcLen, pSrcPos, pMarker, pState, [&](auto& rd) {
        return decodeDcFirst(rd, reinterpret_cast<Lum8u*>(pDst), pLastDc, Al, SpecView(pDcSpec));
    });
}

template <typename Tier>
LumStatus decodeDcRefineEntry(const Lum8u* pSrc, Lum32s srcLen, Lum32s* pSrcPos, Lum16s* pDst, Lum32s* pMarker,
                              Lum32s Al, LumDecodeHuffmanState* pState)
{
    const LumStatus status =
        checkProgressiveArgs(pSrc, srcLen, {pSrcPos, pDst, pMarker}, {0, 0, Al, false}, {pState});
    if (status != lumStsNoErr) return status;
    return runProgressive<NarrowReader<Tier>>(pSrc, srcLen, pSrcPos, pMarker, pState, [&](auto& rd) {
        return decodeDcRefine(rd, reinterpret_cast<Lum8u*>(pDst), Al);
    });
}

// AC first and AC refine share their checks and differ in the algorithm only.
template <typename Tier, bool Refine>
LumStatus decodeAcEntry(const Lum8u* pSrc, Lum32s srcLen, Lum32s* pSrcPos, Lum16s* pDst, Lum32s* pMarker,
                        Lum32s Ss, Lum32s Se, Lum32s Al, const LumDecodeHuffmanSpec* pAcSpec,
                        LumDecodeHuffmanState* pState)
{
    const ScanParams scan{Ss, Se, Al, true};
    const LumStatus status = checkProgressiveArgs(pSrc, srcLen, {pSrcPos, pDst, pMarker}, scan, {pAcSpec, pState});
    if (status != lumStsNoErr) return status;
    using Reader = typename Tier::AcReader;
    return runProgressive<Reader>(pSrc, srcLen, pSrcPos, pMarker, pState, [&](auto& rd) {
        Lum8u* block = reinterpret_cast<Lum8u*>(pDst);
        if constexpr (Refine)
            return decodeAcRefine(rd, block, scan, SpecView(pAcSpec));
        else
            return decodeAcFirst(rd, block, scan, SpecView(pAcSpec));
    });
}

}  // namespace
}  // namespace lum::hdec

// The variants of one tier, each forwarding to its body above with the tier's tag. GetBufSize and
// Free are px's alone (all four slots share them) and are not part of this list.
#define LUM_HUFFMAN_DEC_VARIANTS(Tier)                                                                          \
    LumStatus lumiDecodeHuffmanSpecInit_JPEG_8u(const Lum8u* pBits, const Lum8u* pVals,                         \
                                                LumDecodeHuffmanSpec* pSpec)                                    \
    {                                                                                                           \
        return hdec::specInit<Tier>(pBits, pVals, pSpec);                                                       \
    }                                                                                                           \
    LumStatus lumiDecodeHuffmanStateInit_JPEG_8u(LumDecodeHuffmanState* pState)                                 \
    {                                                                                                           \
        return hdec::stateInit<Tier>(pState);                                                                   \
    }                                                                                                           \
    LumStatus lumiDecodeHuffmanStateInitAlloc_JPEG_8u(LumDecodeHuffmanState** pStateOut)                        \
    {                                                                                                           \
        return hdec::stateInitAlloc<Tier>(pStateOut);                                                           \
    }                                                                                                           \
    LumStatus lumiDecodeHuffman8x8_JPEG_1u16s_C1(const Lum8u* pSrc, Lum32s srcLen, Lum32s* pSrcPos,            \
                                                 Lum16s* pDst, Lum16s* pLastDc, Lum32s* pMarker,                \
                                                 const LumDecodeHuffmanSpec* pDcSpec,                           \
                                                 const LumDecodeHuffmanSpec* pAcSpec,                           \
                                                 LumDecodeHuffmanState* pState)                                 \
    {                                                                                                           \
        return hdec::decodeSequential<Tier>(pSrc, srcLen, pSrcPos, pDst, pLastDc, pMarker, pDcSpec, pAcSpec,    \
                                            pState);                                                            \
    }                                                                                                           \
    LumStatus lumiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(const Lum8u* pSrc, Lum32s srcLen, Lum32s* pSrcPos,    \
                                                         Lum16s* pDst, Lum16s* pLastDc, Lum32s* pMarker,        \
                                                         Lum32s Al, const LumDecodeHuffmanSpec* pDcSpec,        \
                                                         LumDecodeHuffmanState* pState)                         \
    {                                                                                                           \
        return hdec::decodeDcFirstEntry<Tier>(pSrc, srcLen, pSrcPos, pDst, pLastDc, pMarker, Al, pDcSpec,       \
                                              pState);                                                          \
    }                                                                                                           \
    LumStatus lumiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(const Lum8u* pSrc, Lum32s srcLen, Lum32s* pSrcPos,    \
                                                         Lum16s* pDst, Lum32s* pMarker, Lum32s Ss, Lum32s Se,   \
                                                         Lum32s Al, const LumDecodeHuffmanSpec* pAcSpec,        \
                                                         LumDecodeHuffmanState* pState)                         \
    {                                                                                                           \
        return hdec::decodeAcEntry<Tier, false>(pSrc, srcLen, pSrcPos, pDst, pMarker, Ss, Se, Al, pAcSpec,      \
                                                pState);                                                        \
    }                                                                                                           \
    LumStatus lumiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(const Lum8u* pSrc, Lum32s srcLen, Lum32s* pSrcPos,   \
                                                          Lum16s* pDst, Lum32s* pMarker, Lum32s Ss, Lum32s Se,  \
                                                          Lum32s Al, const LumDecodeHuffmanSpec* pAcSpec,       \
                                                          LumDecodeHuffmanState* pState)                        \
    {                                                                                                           \
        return hdec::decodeAcEntry<Tier, true>(pSrc, srcLen, pSrcPos, pDst, pMarker, Ss, Se, Al, pAcSpec,       \
                                               pState);                                                         \
    }

// DC refine has one variant for px, one for a6 and one that w7 and t7 share.
#define LUM_HUFFMAN_DEC_DC_REFINE(Tier)                                                                         \
    LumStatus lumiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(const Lum8u* pSrc, Lum32s srcLen, Lum32s* pSrcPos,   \
                                                          Lum16s* pDst, Lum32s* pMarker, Lum32s Al,             \
                                                          LumDecodeHuffmanState* pState)                        \
    {                                                                                                           \
        return hdec::decodeDcRefineEntry<Tier>(pSrc, srcLen, pSrcPos, pDst, pMarker, Al, pState);               \
    }
