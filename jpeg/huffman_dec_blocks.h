// The block algorithms of the Huffman decoders, written once over a bit reader: the sequential
// plain path, DC first and DC refine on the narrow reader, AC first and AC refine on either. What a
// reader type changes is its refill, its marker rules, its undecodable codes and, through
// kEndsRunPastBand, what AC first does with a run past the band.
#pragma once

#include "jpeg/arith16.h"
#include "jpeg/huffman_dec_bits.h"
#include "jpeg/jpeg_tables.h"

#include <lum.h>

#include <cstdint>

namespace lum::hdec {
namespace {

template <typename Reader>
inline constexpr bool kEndsRunPastBand = false;
template <typename Tier>
inline constexpr bool kEndsRunPastBand<WideReader<Tier>> = true;

static inline Lum16s loadDc(const Lum16s* p) { return loadAt<Lum16s>(p, 0); }
static inline void storeDc(Lum16s* p, Lum16s v) { storeAt(p, 0, v); }

// Run and size of an AC symbol; a symbol has 8 bits, the mask keeps k inside ZigzagOrder anyway.
static inline int32_t runOf(uint32_t symbol) { return static_cast<int32_t>(symbol >> 4) & 15; }
static inline int32_t sizeOf(uint32_t symbol) { return static_cast<int32_t>(symbol) & 15; }

// The DC coefficient: a difference of the symbol's low four bits added to the predictor in 16
// bits, then the predictor shifted left by Al into the block. A fill for the difference that is
// not an error becomes the current result, where the caller keeps one.
template <typename Reader>
LumStatus decodeDc(Reader& rd, Lum8u* block, Lum16s* pLastDc, int32_t Al, SpecView dc, LumStatus* result)
{
    uint32_t symbol;
    LumStatus st = rd.decodeSymbol(dc, symbol);
    if (st < 0) return st;
    if (symbol != 0) {
        const int32_t s = sizeOf(symbol);
        st = rd.need(s, result);
        if (st < 0) return st;
        storeDc(pLastDc, wrap16(loadDc(pLastDc) + extendValue(rd.take(s), s)));
    }
    storeCoef(block, 0, static_cast<int32_t>(static_cast<uint32_t>(loadDc(pLastDc)) << Al));
    return lumStsNoErr;
}

// The sequential plain path: the block is cleared by the caller. A run past the block lands where
// ZigzagOrder, with BitLengthTable behind it, puts it.
template <typename Reader>
LumStatus decodeSequentialPlain(Reader& rd, Lum8u* block, Lum16s* pLastDc, SpecView dc, SpecView ac)
{
    LumStatus st = decodeDc(rd, block, pLastDc, 0, dc, nullptr);
    if (st < 0) return st;

    LumStatus result = lumStsNoErr;
    int32_t left = 63;
    int32_t k = 1;
    do {
        uint32_t symbol;
        st = rd.decodeSymbol(ac, symbol);
        if (st < 0) return st;
        result = lumStsNoErr;
        const int32_t r = runOf(symbol);
        const int32_t s = sizeOf(symbol);
        if (s != 0) {
            left -= r + 1;
            k += r;
            st = rd.need(s, &result);
            if (st < 0) return st;
            const uint32_t bits = rd.take(s);
            const int32_t p = ZigzagOrder[k++];
            if (p > 63 || p < 0) return lumStsUnknown;
            storeCoef(block, p, extendValue(bits, s));
        } else if (r < 15) {
            break;
        } else {
            left -= 16;
            k += 16;
        }
    } while (left > 0);
    rd.st.coefsLeft = left;
    return result;
}

template <typename Reader>
LumStatus decodeDcFirst(Reader& rd, Lum8u* block, Lum16s* pLastDc, int32_t Al, SpecView dc)
{
    LumStatus result = lumStsNoErr;
    const LumStatus st = decodeDc(rd, block, pLastDc, Al, dc, &result);
    return st < 0 ? st : result;
}

template <typename Reader>
LumStatus decodeDcRefine(Reader& rd, Lum8u* block, int32_t Al)
{
    LumStatus result = lumStsNoErr;
    const LumStatus st = rd.need(1, &result);
    if (st < 0) return st;
    if (rd.take(1) != 0) storeCoef(block, 0, loadCoef(block, 0) | (1 << Al));
    return result;
}

template <typename Reader>
LumStatus decodeAcFirst(Reader& rd, Lum8u* block, ScanParams scan, SpecView ac)
{
    int32_t& eobRun = rd.st.eobRun;
    if (eobRun > 0) {
        --eobRun;
        return lumStsNoErr;
    }
    LumStatus result = lumStsNoErr;
    for (int32_t k = scan.Ss;; ++k) {
        uint32_t symbol;
        LumStatus st = rd.decodeSymbol(ac, symbol);
        if (st < 0) return st;
        result = lumStsNoErr;
        const int32_t r = runOf(symbol);
        const int32_t s = sizeOf(symbol);
        if (s != 0) {
            if (kEndsRunPastBand<Reader> && k + r > scan.Se) return rd.finish(result);
            k += r;
            st = rd.need(s, &result);
            if (st < 0) return st;
            const int32_t v = extendValue(rd.take(s), s);
            storeCoef(block, ZigzagOrder[k], static_cast<int32_t>(static_cast<uint32_t>(v) << scan.Al));
        } else if (r == 15) {
            k += 15;
        } else {
            eobRun = 0;
            if (r != 0) {
                st = rd.need(r, &result);
                if (st < 0) return st;
                eobRun = (1 << r) + static_cast<int32_t>(rd.take(r)) - 1;
            }
            return rd.finish(result);
        }
        if (k >= scan.Se) return rd.finish(result);
    }
}

// One correction bit for a coefficient with history: it adds p1 in the direction of the sign,
// unless that bit is already set.
template <typename Reader>
LumStatus refineCoef(Reader& rd, Lum8u* block, int32_t p, int32_t p1, LumStatus* result)
{
    const LumStatus st = rd.need(1, result);
    if (st < 0) return st;
    const int32_t c = loadCoef(block, p);
    if (rd.take(1) != 0 && (c & p1) == 0) storeCoef(block, p, c < 0 ? c - p1 : c + p1);
    return lumStsNoErr;
}

template <typename Reader>
LumStatus decodeAcRefine(Reader& rd, Lum8u* block, ScanParams scan, SpecView ac)
{
    const int32_t p1 = 1 << scan.Al;
    int32_t& eobRun = rd.st.eobRun;
    LumStatus result = lumStsNoErr;
    int32_t k = scan.Ss;
    if (eobRun == 0) {
        for (;;) {
            uint32_t symbol;
            LumStatus st = rd.decodeSymbol(ac, symbol);
            if (st < 0) return st;
            result = lumStsNoErr;
            int32_t r = runOf(symbol);
            int32_t n = 0;
            if (sizeOf(symbol) != 0) {
                st = rd.need(1, &result);
                if (st < 0) return st;
                n = rd.take(1) != 0 ? p1 : -p1;
            } else if (r != 15) {
                eobRun = 1 << r;
                if (r != 0) {
                    st = rd.need(r, &result);
                    if (st < 0) return st;
                    eobRun += static_cast<int32_t>(rd.take(r));
                }
                break;
            }
            // Skip r coefficients without history, refining the ones with history on the way.
            for (;;) {
                const int32_t p = ZigzagOrder[k];
                if (loadCoef(block, p) != 0) {
                    st = refineCoef(rd, block, p, p1, &result);
                    if (st < 0) return st;
                } else if (--r < 0) {
                    break;
                }
                if (++k > scan.Se) break;
            }
            if (n != 0) storeCoef(block, ZigzagOrder[k], n);
            if (++k > scan.Se) break;
        }
    }
    if (eobRun < 1) return rd.finish(result);
    // The rest of the band under the EOB run: only corrections, which leave the status as it was.
    for (; k <= scan.Se; ++k) {
        const int32_t p = ZigzagOrder[k];
        if (loadCoef(block, p) == 0) continue;
        const LumStatus st = refineCoef(rd, block, p, p1, nullptr);
        if (st < 0) return st;
    }
    --eobRun;
    return rd.finish(result);
}

}  // namespace
}  // namespace lum::hdec
