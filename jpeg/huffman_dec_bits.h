// Bit input of the Huffman decoders: the narrow reader (FillBits, DecodeSymbol, DecodeSymbolLong)
// that px uses throughout and the vector tiers for sequential and DC scans, and the wide reader of
// the vector tiers' AC kernels. Both are templated on the tier tag, so that the copies built for
// different instruction sets never merge.
//
// A reader works on a local copy of the position and the state; the primitive stores both back
// on every way out, failures included, since bits read stay read.
#pragma once

#include "jpeg/huffman_dec.h"

#include <lum.h>

#include <cstdint>
#include <cstring>

namespace lum::hdec {
namespace {

// Where the stream comes from, shared by both readers. The position is compared unsigned, so a
// position outside 0..srcLen reads as the buffer's end and nothing outside it is touched.
struct Source {
    const Lum8u* src;
    uint32_t srcLen;
    int32_t pos;
    Lum32s* pMarker;

    bool atEnd() const { return static_cast<uint32_t>(pos) >= srcLen; }
    uint32_t next() { return src[pos++]; }
};

// What both readers share: the stream, the working state, the byte-wise fill and the FillBits(n)
// of the block algorithms. Derived appends a byte to its accumulator and notes a marker.
template <typename Derived>
struct ReaderBase {
    Source in;
    StateFields st;

    ReaderBase(Source source, const LumDecodeHuffmanState* state) : in(source), st(loadState(state)) {}

    // Whole bytes until at least 25 bits are held. A 0xFF 0x00 is a data byte 0xFF; a 0xFF 0xFF
    // is a fill byte where passFillBytes holds and a marker otherwise; anything else is a marker.
    LumStatus fillBytewise(int32_t need, bool passFillBytes)
    {
        while (st.count < 25) {
            if (in.atEnd()) return st.count < need ? lumStsOutOfBuffer : lumStsNoErr;
            const uint32_t byte = in.next();
            if (byte == 0xFF) {
                for (;;) {
                    if (in.atEnd()) return lumStsOutOfBuffer;
                    const uint32_t b = in.next();
                    if (b == 0) break;
                    if (b != 0xFF || !passFillBytes) {
                        *in.pMarker = static_cast<Lum32s>(b);
                        static_cast<Derived&>(*this).noteMarker();
                        return lumStsJpegMarkerMet;
                    }
                }
            }
            static_cast<Derived&>(*this).append(byte);
        }
        return lumStsNoErr;
    }

    // Once a marker has been met no byte is taken and no zero is made up.
    bool markerStands(int32_t need, LumStatus& status) const
    {
        if (*in.pMarker == 0) return false;
        status = need > st.count ? lumStsOutOfBuffer : lumStsNoErr;
        return true;
    }

    // FillBits(n) only where fewer than n bits are held; a status it gives that is not an error
    // becomes the caller's current result, if the caller keeps one.
    LumStatus need(int32_t n, LumStatus* result)
    {
        if (st.count >= n) return lumStsNoErr;
        const LumStatus s = static_cast<Derived&>(*this).fill(n);
        if (s >= 0 && result != nullptr) *result = s;
        return s;
    }
};

// Narrow form: bits right-justified, the next one at bit count - 1; at most 32 are read ahead, and
// each byte taken clears the high word.
template <typename Tier>
struct NarrowReader : ReaderBase<NarrowReader<Tier>> {
    using ReaderBase<NarrowReader<Tier>>::ReaderBase;
    using ReaderBase<NarrowReader<Tier>>::in;
    using ReaderBase<NarrowReader<Tier>>::st;

    void save(Lum32s* pSrcPos, LumDecodeHuffmanState* state) const
    {
        *pSrcPos = in.pos;
        storeState(state, st);
    }

    void append(uint32_t byte)
    {
        st.acc = static_cast<uint32_t>(st.acc << 8) | byte;
        st.count += 8;
    }
    void noteMarker() {}

    // FillBits: tops the accumulator up to 25 bits or more, passing fill bytes over.
    LumStatus fill(int32_t need)
    {
        LumStatus status;
        if (this->markerStands(need, status)) return status;
        return this->fillBytewise(need, true);
    }

    // The next n bits (0..16). Fewer are held only when a marker cut the stream in the middle of a
    // value: the missing bits read as 0, the accumulator is empty afterwards, and the next need of a
    // bit fails.
    uint32_t take(int32_t n)
    {
        if (n == 0) return 0;
        const uint32_t mask = (1u << n) - 1;
        if (st.count >= n) {
            st.count -= n;
            return static_cast<uint32_t>(st.acc >> st.count) & mask;
        }
        const uint32_t v = static_cast<uint32_t>(st.acc << (n - st.count)) & mask;
        st.count = 0;
        return v;
    }

    LumStatus decodeSymbol(SpecView huffTable, uint32_t& symbol)
    {
        if (st.count < 8) {
            const LumStatus s = fill(0);
            if (s < 0) return s;
            if (st.count < 8) return decodeLong(1, huffTable, symbol);
        }
        const uint32_t entry = huffTable.lookup8(static_cast<uint32_t>(st.acc >> (st.count - 8)) & 0xFF);
        if ((entry >> 16) != 0) {
            st.count -= static_cast<int32_t>(entry >> 16);
            symbol = entry & 0xFFFF;
            return lumStsNoErr;
        }
        return decodeLong(9, huffTable, symbol);
    }

    // DecodeSymbolLong: the code grows one bit at a time until it is not above the length's limit.
    // A code that is not in the table ends past length 16 with symbol 0, all its bits consumed.
    LumStatus decodeLong(int32_t length, SpecView huffTable, uint32_t& symbol)
    {
        if (st.count < length) {
            const LumStatus s = fill(length);
            if (s < 0) return s;
        }
        uint32_t c = take(length);
        while (static_cast<int32_t>(c) > huffTable.walkLimit(length)) {
            if (st.count == 0) {
                const LumStatus s = fill(1);
                if (s < 0) return s;
            }
            c = c << 1 | take(1);
            ++length;
        }
        symbol = length <= 16 ? huffTable.symbol(length, c) : 0;
        return lumStsNoErr;
    }

    // The call's status: what its last step assigned.
    LumStatus finish(LumStatus result) const { return result; }
};

// True if one of the eight bytes of w is 0xFF.
static inline bool hasFF(uint64_t w)
{
    constexpr uint64_t kOnes = 0x0101010101010101ull;
    constexpr uint64_t kHighs = 0x8080808080808080ull;
    return ((~w - kOnes) & w & kHighs) != 0;
}

static inline uint64_t loadBigEndian64(const Lum8u* p)
{
    uint64_t w;
    std::memcpy(&w, p, sizeof w);
    return __builtin_bswap64(w);
}

// Appends to a left-justified accumulator as many whole bytes of w, eight bytes in stream order, as
// fit behind the pending count rounded up to a byte; returns how many it took.
static inline int32_t appendWholeBytes(uint64_t& acc, int32_t& count, uint64_t w)
{
    const int32_t taken = 64 - ((count + 7) & ~7);
    if (taken <= 0) return 0;
    const uint64_t bytes = taken == 64 ? w : (w >> (64 - taken)) << (64 - taken);
    acc |= bytes >> count;
    count += taken;
    return taken / 8;
}

// Wide form: up to 64 bits, left-justified during the call (the next bit is bit 63, bits below the
// count are 0) and right-justified in the record. Eight bytes at a time where none is 0xFF; a 0xFF
// followed by anything but 0x00 is a marker, 0xFF included. A marker met during the call makes
// the call's status lumStsJpegMarkerMet unless it fails.
template <typename Tier>
struct WideReader : ReaderBase<WideReader<Tier>> {
    using ReaderBase<WideReader<Tier>>::in;
    using ReaderBase<WideReader<Tier>>::st;
    bool markerMet = false;

    WideReader(Source source, const LumDecodeHuffmanState* state) : ReaderBase<WideReader<Tier>>(source, state)
    {
        st.acc = st.count == 0 ? 0 : st.acc << (64 - st.count);
    }

    void save(Lum32s* pSrcPos, LumDecodeHuffmanState* state) const
    {
        StateFields out = st;
        out.acc = st.count == 0 ? 0 : st.acc >> (64 - st.count);
        *pSrcPos = in.pos;
        storeState(state, out);
    }

    void append(uint32_t byte)
    {
        st.acc |= static_cast<uint64_t>(byte) << (56 - st.count);
        st.count += 8;
    }
    void noteMarker() { markerMet = true; }

    LumStatus fill(int32_t need)
    {
        LumStatus status;
        if (this->markerStands(need, status)) return status;
        if (!in.atEnd() && in.srcLen - static_cast<uint32_t>(in.pos) >= 8) {
            const uint64_t w = loadBigEndian64(in.src + in.pos);
            if (!hasFF(w)) {
                in.pos += appendWholeBytes(st.acc, st.count, w);
                return lumStsNoErr;
            }
        }
        return this->fillBytewise(need, false);
    }

    // As the narrow take: missing bits after a marker read as 0, the bits below the count being 0.
    uint32_t take(int32_t n)
    {
        if (n == 0) return 0;
        const uint32_t v = static_cast<uint32_t>(st.acc >> (64 - n));
        if (st.count >= n) {
            st.acc <<= n;
            st.count -= n;
        } else {
            st.acc = 0;
            st.count = 0;
        }
        return v;
    }

    // The walk stops at 16: a code that is not in the table gives symbol 0 and consumes nothing.
    LumStatus decodeSymbol(SpecView huffTable, uint32_t& symbol)
    {
        if (st.count < 16) {
            const LumStatus s = fill(0);
            if (s < 0) return s;
        }
        int32_t length = 1;
        if (st.count >= 8) {
            const uint32_t entry = huffTable.lookup8(static_cast<uint32_t>(st.acc >> 56));
            if ((entry >> 16) != 0) {
                take(static_cast<int32_t>(entry >> 16));
                symbol = entry & 0xFFFF;
                return lumStsNoErr;
            }
            length = 9;
        }
        for (; length <= 16; ++length) {
            if (st.count < length) return lumStsOutOfBuffer;
            const uint32_t c = static_cast<uint32_t>(st.acc >> (64 - length));
            if (static_cast<int32_t>(c) <= huffTable.walkLimit(length)) {
                take(length);
                symbol = huffTable.symbol(length, c);
                return lumStsNoErr;
            }
        }
        symbol = 0;
        return lumStsNoErr;
    }

    LumStatus finish(LumStatus) const { return markerMet ? lumStsJpegMarkerMet : lumStsNoErr; }
};

}  // namespace
}  // namespace lum::hdec
