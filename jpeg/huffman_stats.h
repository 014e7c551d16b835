// Symbol statistics of the progressive passes and the construction of a code table from them. The
// AC passes run the encoding kernels over a sink that counts instead of sending, so that the counted
// symbols are the sent ones decision for decision.
#pragma once

#include "jpeg/arith16.h"
#include "jpeg/huffman_prog_enc.h"

namespace lum::henc {
namespace {

// Adds to the caller's counts, never clears them. Only the size limit differs from encoding: a
// two-pass encoder catches a coefficient of size 11 in its first pass.
class CountSink {
public:
    static constexpr int kSizeLimit = 10;

    explicit CountSink(Lum32s* pFreq) : freq_(pFreq) {}

    LumStatus code(const LumEncodeHuffmanSpec*, int symbol)
    {
        freq_[symbol] = add32(freq_[symbol], 1);
        return lumStsNoErr;
    }
    LumStatus codeAndValue(const LumEncodeHuffmanSpec* pSpec, int symbol, uint32_t, int) { return code(pSpec, symbol); }
    static LumStatus corrBits(const uint8_t*, int32_t& count)
    {
        count = 0;
        return lumStsNoErr;
    }
    static void storeCorrBit(uint8_t*, uint32_t) {}

private:
    Lum32s* freq_;
};

template <typename Tier>
LumStatus statsDcFirst(const Lum16s* pSrc, Lum32s* pFreq, Lum16s* pLastDc, Lum32s Al)
{
    if (pSrc == nullptr || pFreq == nullptr || pLastDc == nullptr) return lumStsNullPointer;
    if (Al < 0 || Al > kMaxAl) return lumStsBadArgument;
    const int32_t t = pSrc[0] >> Al;
    const int32_t diff = t - *pLastDc;
    *pLastDc = static_cast<Lum16s>(t);
    const int size = valueSize(diff);
    if (size > 11) return lumStsJpegCoefOutOfRange;
    pFreq[size] = add32(pFreq[size], 1);
    return lumStsNoErr;
}

// The body of both AC statistics primitives. Only eobRun and corrBitCount of the state are used;
// the flush counts the run left at the end of the scan and resets the state.
template <typename Tier, AcPass Pass>
LumStatus statsAc(const Lum16s* pSrc, Lum32s* pFreq, Lum32s Ss, Lum32s Se, Lum32s Al, LumEncodeHuffmanState* pState,
                  Lum32s flush)
{
    if (pFreq == nullptr || pState == nullptr) return lumStsNullPointer;
    StateHead head = loadHead(pState);
    CountSink sink(pFreq);
    LumStatus status;
    if (flush != 0) {
        status = emitEobRun(sink, nullptr, head.eobRun);
        resetState<Tier>(pState);
        return status;
    }
    if (pSrc == nullptr) return lumStsNullPointer;
    status = checkBand(Ss, Se, Al);
    if (status != lumStsNoErr) return status;

    if constexpr (Pass == AcPass::first)
        status = acFirstBlock(sink, nullptr, pSrc, Ss, Se, Al, head.eobRun);
    else
        status = acRefineBlock(sink, nullptr, pSrc, Ss, Se, Al, head.eobRun, head.corrBitCount,
                               corrBitsOf(pState));
    storeHead(pState, head);
    return status;
}

// Working data of the table construction, local to the call.
constexpr int kSymbols = 257;  // 256 symbols and the reserved one, which keeps all-ones codes out
constexpr int32_t kNoPick = 1000000000;
constexpr int kMaxCodeSize = 32;

// The symbol with the smallest nonzero count not above kNoPick, the highest one among equals.
inline int smallestCount(const int32_t (&freq)[kSymbols], int skip)
{
    int found = -1;
    int32_t best = kNoPick;
    for (int i = 0; i < kSymbols; ++i) {
        if (freq[i] != 0 && freq[i] <= best && i != skip) {
            best = freq[i];
            found = i;
        }
    }
    return found;
}

// One more bit for a symbol and every symbol chained behind it; returns the chain's last symbol.
inline int deepenChain(int32_t (&codeSize)[kSymbols], const int32_t (&others)[kSymbols], int symbol)
{
    ++codeSize[symbol];
    while (others[symbol] >= 0) {
        symbol = others[symbol];
        ++codeSize[symbol];
    }
    return symbol;
}

// BITS and HUFFVAL of an optimal table for the counts, code lengths limited to 16.
template <typename Tier>
LumStatus rawTableInit(const Lum32s* pFreq, Lum8u* pBits, Lum8u* pVals)
{
    if (pFreq == nullptr || pBits == nullptr || pVals == nullptr) return lumStsNullPointer;

    int32_t freq[kSymbols];
    int32_t codeSize[kSymbols];
    int32_t others[kSymbols];
    uint8_t bits[kMaxCodeSize + 1] = {};
    // The 257th count is replaced anyway, so only 256 are read.
    Tier::copyBytes(reinterpret_cast<const Lum8u*>(pFreq), reinterpret_cast<Lum8u*>(freq), 256 * sizeof(int32_t));
    freq[256] = 1;
    Tier::fill32(0, codeSize, kSymbols);
    Tier::fill32(~0u, others, kSymbols);

    // Merge the two rarest trees until one is left. A tree is a chain of symbols through `others`.
    for (;;) {
        const int c1 = smallestCount(freq, -1);
        const int c2 = smallestCount(freq, c1);
        if (c2 < 0) break;
        freq[c1] = add32(freq[c1], freq[c2]);
        freq[c2] = 0;
        others[deepenChain(codeSize, others, c1)] = c2;
        deepenChain(codeSize, others, c2);
    }

    for (int i = 0; i < kSymbols; ++i) {
        if (codeSize[i] == 0) continue;
        if (codeSize[i] > kMaxCodeSize) return lumStsJpegTableDestroyed;
        ++bits[codeSize[i]];
    }

    // Limit to 16 bits: two codes of the longest length go; one moves up a level, the other joins a
    // code taken from the next shorter level that has one, both one level below it.
    for (int i = kMaxCodeSize; i > 16; --i) {
        while (bits[i] > 0) {
            int j = i - 2;
            while (j > 0 && bits[j] == 0) --j;
            bits[i] -= 2;
            ++bits[i - 1];
            bits[j + 1] += 2;
            --bits[j];
        }
    }
    // Drop the reserved symbol, which holds a longest code.
    int longest = 16;
    while (longest > 0 && bits[longest] == 0) --longest;
    if (longest > 0) --bits[longest];

    std::memcpy(pBits, bits + 1, 16);
    // Symbols by the sizes found before the limiting, then by value; the reserved one never stands.
    int p = 0;
    for (int size = 1; size <= kMaxCodeSize; ++size)
        for (int symbol = 0; symbol < 256; ++symbol)
            if (codeSize[symbol] == size) pVals[p++] = static_cast<Lum8u>(symbol);
    return lumStsNoErr;
}

}  // namespace
}  // namespace lum::henc
