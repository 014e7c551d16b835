// The whole-block fast path of sequential encoding, shared by a6, w7 and t7: one right-justified
// 64-bit accumulator for the block, a mask of the nonzero coefficients in zig-zag order walked by bit
// scans, and eight-byte stores. Room is proved in advance, so that any doubt means declining and the
// plain path writes the same bytes.
#pragma once

#include "jpeg/huffman_seq_enc.h"

#include <emmintrin.h>
#include <mmintrin.h>
#include <xmmintrin.h>

namespace lum::henc {
namespace {

// Bit k set when zig-zag coefficient k is nonzero: compares against zero, packed to bytes, and the
// bytes' sign bits gathered. a6 does it eight bytes at a time in MMX registers.
template <typename Tier>
uint64_t nonzeroMask(const Lum16s (&zz)[64])
{
    uint64_t zeros = 0;
    if constexpr (Tier::kMmx) {
        const __m64 zero = _mm_setzero_si64();
        for (int i = 0; i < 8; ++i) {
            __m64 lo, hi;
            std::memcpy(&lo, zz + 8 * i, sizeof lo);
            std::memcpy(&hi, zz + 8 * i + 4, sizeof hi);
            const __m64 z = _mm_packs_pi16(_mm_cmpeq_pi16(lo, zero), _mm_cmpeq_pi16(hi, zero));
            zeros |= uint64_t{static_cast<uint8_t>(_mm_movemask_pi8(z))} << (8 * i);
        }
        _mm_empty();
    } else {
        const __m128i zero = _mm_setzero_si128();
        for (int i = 0; i < 4; ++i) {
            const __m128i lo = _mm_load_si128(reinterpret_cast<const __m128i*>(zz + 16 * i));
            const __m128i hi = _mm_load_si128(reinterpret_cast<const __m128i*>(zz + 16 * i + 8));
            const __m128i z = _mm_packs_epi16(_mm_cmpeq_epi16(lo, zero), _mm_cmpeq_epi16(hi, zero));
            zeros |= uint64_t{static_cast<uint16_t>(_mm_movemask_epi8(z))} << (16 * i);
        }
    }
    return ~zeros;
}

// The block's accumulator. Its drain has no per-byte test: it declines below 8 bytes of room, and
// below 16 when a 0xFF needs its stuffing.
class FastWriter {
public:
    FastWriter(Lum8u* pDst, Lum32s dstLen, Lum32s pos, uint64_t acc, int used)
        : dst_(pDst), len_(dstLen), pos_(pos), acc_(acc), used_(used)
    {
    }

    // False on a symbol without a code or when room is in doubt.
    bool codeAndValue(const LumEncodeHuffmanSpec* pSpec, int symbol, uint32_t value, int n)
    {
        const uint32_t e = specEntry(pSpec, symbol);
        const int length = codeLength(e) + n;
        if (codeLength(e) == 0) return false;
        if (length > 64 - used_ && !drain()) return false;
        acc_ = acc_ << length | uint64_t{codeBits(e)} << n | (value & lowMask(n));
        used_ += length;
        return true;
    }

    bool drain()
    {
        const int64_t room = int64_t{len_} - pos_;
        if (room < 8) return false;
        uint64_t top = acc_ << (64 - used_);
        if (!hasByteFF(top)) {
            if (used_ >= 32) {
                storeBigEndian64(dst_ + pos_, top);
                pos_ += used_ / 8;
                used_ %= 8;
                return true;
            }
        } else if (room < 16) {
            return false;
        }
        for (; used_ >= 8; used_ -= 8, top <<= 8) {
            const auto byte = static_cast<Lum8u>(top >> 56);
            dst_[pos_++] = byte;
            if (byte == 0xFF) dst_[pos_++] = 0;
        }
        return true;
    }

    Lum32s pos() const { return pos_; }
    int used() const { return used_; }
    uint64_t acc() const { return acc_; }

private:
    Lum8u* dst_;
    Lum32s len_;
    Lum32s pos_;
    uint64_t acc_;
    int used_;
};

// EncodeBlockFast. Everything stays local until the block is done; a decline leaves the caller's
// position, state and predictor untouched, and what it wrote lies beyond the position.
template <typename Tier>
bool encodeBlockFast(const Lum16s* pSrc, Lum8u* pDst, Lum32s dstLen, Lum32s* pDstPos, Lum16s* pLastDc,
                     const LumEncodeHuffmanSpec* pDcSpec, const LumEncodeHuffmanSpec* pAcSpec,
                     LumEncodeHuffmanState* pState)
{
    if (int64_t{dstLen} - *pDstPos < 24) return false;
    StateHead head = loadHead(pState);
    const int pending = head.bitCount;
    FastWriter w(pDst, dstLen, *pDstPos, (head.bitAcc >> (24 - pending)) & lowMask(pending), pending);

    // At most 7 + 16 + 16 bits so far: no drain yet.
    const int32_t diff = int32_t{pSrc[0]} - *pLastDc;
    const int dcSize = valueSize(diff);
    if (!w.codeAndValue(pDcSpec, dcSize, extraBits(diff), dcSize)) return false;

    alignas(16) Lum16s zz[64];
    for (int k = 0; k < 64; ++k) zz[k] = pSrc[ZigzagOrder[k]];
    uint64_t nonzero = nonzeroMask<Tier>(zz) & ~uint64_t{1};
    int last = 0;
    while (nonzero != 0) {
        const int k = std::countr_zero(nonzero);
        nonzero &= nonzero - 1;
        int run = k - last - 1;
        last = k;
        for (; run > 15; run -= 16)
            if (!w.codeAndValue(pAcSpec, kZrl, 0, 0)) return false;
        const int size = valueSize(zz[k]);
        if (!w.codeAndValue(pAcSpec, 16 * run + size, extraBits(zz[k]), size)) return false;
    }
    if (last != 63 && !w.codeAndValue(pAcSpec, kEob0, 0, 0)) return false;
    if (w.used() >= 8 && !w.drain()) return false;

    // Back to the narrow form: the last 0 to 7 bits left-justified under bit 24.
    head.bitAcc = static_cast<uint32_t>((w.acc() & lowMask(w.used())) << (24 - w.used()));
    head.bitCount = w.used();
    storeHead(pState, head);
    *pDstPos = w.pos();
    *pLastDc = pSrc[0];
    return true;
}

}  // namespace
}  // namespace lum::henc
