// DecodeBlockFast: the whole-block path that a6, w7 and t7 put in front of the sequential plain
// path. One left-justified 64-bit accumulator, eight-byte refills, no call per symbol. It declines,
// having changed nothing that counts, wherever the plain path has something to decide: a marker,
// a short buffer, a missing code, a run past the block.
#pragma once

#include "jpeg/arith16.h"
#include "jpeg/huffman_dec_blocks.h"

#include <emmintrin.h>

#include <array>
#include <cstdint>

namespace lum::hdec {
namespace {

// Natural index of the coefficient at countdown position kk = 63 - k.
inline constexpr std::array<uint8_t, 64> kReverseZigzag = [] {
    std::array<uint8_t, 64> t{};
    for (int kk = 0; kk < 64; ++kk) t[kk] = static_cast<uint8_t>(ZigzagOrder[63 - kk]);
    return t;
}();

// The fast path needs this many bytes ahead, so that its refills seldom fall short.
inline constexpr int64_t kFastMinBytes = 24;

// Clears a block at any address with 16-byte stores: the unaligned head and tail go separately
// from the aligned middle, and nothing outside the 128 bytes is touched.
template <typename Tier>
static inline void clearBlock16(Lum8u* block)
{
    const __m128i zero = _mm_setzero_si128();
    const uintptr_t start = reinterpret_cast<uintptr_t>(block);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(block), zero);
    for (uintptr_t a = (start + 15) & ~uintptr_t{15}; a + 16 <= start + 128; a += 16)
        _mm_store_si128(reinterpret_cast<__m128i*>(a), zero);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(block + 112), zero);
}

template <typename Tier>
struct FastReader {
    const Lum8u* src;
    int64_t srcLen;
    int64_t pos;
    uint64_t acc;  // left-justified, bits below the count are 0
    int32_t count;

    // false: decline. Eight bytes at once where none is 0xFF, otherwise byte by byte to more than
    // 24 bits, unstuffing 0xFF 0x00; any other 0xFF is left to the plain path.
    bool refill()
    {
        if (srcLen - pos < 8) return false;
        const uint64_t w = loadBigEndian64(src + pos);
        if (!hasFF(w)) {
            pos += appendWholeBytes(acc, count, w);
            return true;
        }
        while (count <= 24) {
            if (pos >= srcLen) return false;
            const uint32_t byte = src[pos++];
            if (byte == 0xFF) {
                if (pos >= srcLen || src[pos] != 0) return false;
                ++pos;
            }
            acc |= static_cast<uint64_t>(byte) << (56 - count);
            count += 8;
        }
        return true;
    }

    void drop(int32_t n)
    {
        acc <<= n;
        count -= n;
    }

    bool symbol(SpecView huffTable, uint32_t& symbol)
    {
        if (count < 8 && !refill()) return false;
        const uint32_t entry = huffTable.lookup8(static_cast<uint32_t>(acc >> 56));
        if ((entry >> 16) != 0) {
            drop(static_cast<int32_t>(entry >> 16));
            symbol = entry & 0xFFFF;
            return true;
        }
        if (count < 16 && !refill()) return false;
        for (int32_t length = 9; length <= 16; ++length) {
            const uint32_t c = static_cast<uint32_t>(acc >> (64 - length));
            if (static_cast<int32_t>(c) <= huffTable.walkLimit(length)) {
                drop(length);
                symbol = huffTable.symbol(length, c);
                return true;
            }
        }
        return false;
    }

    // An extended value of s bits (0..15).
    bool value(int32_t s, int32_t& v)
    {
        if (count < s && !refill()) return false;
        const uint32_t bits = s == 0 ? 0 : static_cast<uint32_t>(acc >> (64 - s));
        drop(s);
        v = extendValue(bits, s);
        return true;
    }
};

// true: the block is decoded, position and state stored. false: the block may hold values, but the
// position, the state and *pLastDc are as they were.
template <typename Tier>
bool decodeBlockFast(const Lum8u* pSrc, Lum32s srcLen, Lum32s* pSrcPos, Lum8u* block, Lum16s* pLastDc,
                     const Lum32s* pMarker, SpecView dc, SpecView ac, LumDecodeHuffmanState* pState)
{
    if (*pMarker != 0) return false;
    Tier::clearBlock(block);
    // Only a narrow accumulator fits; a record with more bits pending goes to the plain path.
    const int32_t count = loadAt<int32_t>(pState, offsetof(LumDecodeHuffmanState, bitCount));
    if (count < 0 || count > 32) return false;
    const uint64_t bitAcc = loadAt<uint32_t>(pState, offsetof(LumDecodeHuffmanState, bitAcc));
    const int64_t pos = *pSrcPos;
    if (pos < 0 || srcLen - pos < kFastMinBytes) return false;
    FastReader<Tier> rd{pSrc, srcLen, pos, count == 0 ? 0 : bitAcc << (64 - count), count};

    uint32_t symbol;
    int32_t v;
    if (!rd.symbol(dc, symbol)) return false;
    int32_t lastDc = loadDc(pLastDc);
    if (symbol != 0) {
        if (!rd.value(sizeOf(symbol), v)) return false;
        lastDc = wrap16(lastDc + v);
    }
    storeCoef(block, 0, lastDc);

    for (int32_t kk = 62;;) {
        if (!rd.symbol(ac, symbol)) return false;
        const int32_t r = runOf(symbol);
        const int32_t s = sizeOf(symbol);
        if (s != 0) {
            kk -= r;
            if (kk < 0 || !rd.value(s, v)) return false;
            storeCoef(block, kReverseZigzag[static_cast<size_t>(kk)], v);
            if (--kk < 0) break;
        } else if (r == 15) {
            kk -= 16;
            if (kk < 0) return false;
        } else {
            break;
        }
    }

    // Back to the narrow form: whole bytes beyond 32 bits go back to the buffer. They came from an
    // eight-byte read, which held no 0xFF, so the position stays meaningful.
    uint64_t right = rd.count == 0 ? 0 : rd.acc >> (64 - rd.count);
    if (rd.count >= 32) {
        const int32_t back = ((rd.count + 7) & ~7) - 32;
        right >>= back;
        rd.count -= back;
        rd.pos -= back / 8;
    }
    *pSrcPos = static_cast<Lum32s>(rd.pos);
    storeAt(pState, offsetof(LumDecodeHuffmanState, bitAcc), static_cast<uint32_t>(right));
    storeAt(pState, offsetof(LumDecodeHuffmanState, bitCount), rd.count);
    storeDc(pLastDc, static_cast<Lum16s>(lastDc));
    return true;
}

}  // namespace
}  // namespace lum::hdec
