// The whole-block fast path of sequential encoding, shared by a6, w7 and t7: one right-justified
// 64-bit accumulator for the block, a mask of the nonzero coefficients in zig-zag order walked by bit
// scans, and eight-byte stores. Room is proved in advance, so that any doubt means declining and the
// plain path writes the same bytes.
#pragma once

#include "jpeg/huffman_seq_enc.h"

#include <array>

#include <emmintrin.h>
#include <mmintrin.h>
#include <xmmintrin.h>

namespace lum::henc {
namespace {

// Natural index to zig-zag position, and for each row of the block a table that turns the row's
// byte of a natural-order mask into the same bits in zig-zag order: eight look-ups in place of a
// gather of the whole block.
constexpr std::array<uint64_t, 8 * 256> makeZigzagBits()
{
    std::array<int, 64> position{};
    for (int k = 0; k < 64; ++k) position[static_cast<size_t>(detail::kZigzag[static_cast<size_t>(k)])] = k;
    std::array<uint64_t, 8 * 256> t{};
    for (int row = 0; row < 8; ++row)
        for (int byte = 0; byte < 256; ++byte)
            for (int j = 0; j < 8; ++j)
                if (byte >> j & 1) t[static_cast<size_t>(256 * row + byte)] |= uint64_t{1} << position[8 * row + j];
    return t;
}

}  // namespace

inline constexpr std::array<uint64_t, 8 * 256> kZigzagBits = makeZigzagBits();

namespace {

// Bit k set when zig-zag coefficient k is nonzero: the block compared with zero, packed to bytes,
// the bytes' sign bits gathered in natural order, then moved to zig-zag order. a6 compares eight
// bytes at a time in MMX registers.
template <typename Tier>
uint64_t nonzeroMask(const Lum16s* pSrc)
{
    uint64_t zeros = 0;
    if constexpr (Tier::kMmx) {
        const __m64 zero = _mm_setzero_si64();
        for (int i = 0; i < 8; ++i) {
            __m64 lo, hi;
            std::memcpy(&lo, pSrc + 8 * i, sizeof lo);
            std::memcpy(&hi, pSrc + 8 * i + 4, sizeof hi);
            const __m64 z = _mm_packs_pi16(_mm_cmpeq_pi16(lo, zero), _mm_cmpeq_pi16(hi, zero));
            zeros |= uint64_t{static_cast<uint8_t>(_mm_movemask_pi8(z))} << (8 * i);
        }
        _mm_empty();
    } else {
        const __m128i zero = _mm_setzero_si128();
        for (int i = 0; i < 4; ++i) {
            const __m128i lo = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pSrc + 16 * i));
            const __m128i hi = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pSrc + 16 * i + 8));
            const __m128i z = _mm_packs_epi16(_mm_cmpeq_epi16(lo, zero), _mm_cmpeq_epi16(hi, zero));
            zeros |= uint64_t{static_cast<uint16_t>(_mm_movemask_epi8(z))} << (16 * i);
        }
    }
    const uint64_t natural = ~zeros;
    uint64_t zigzag = 0;
    for (int row = 0; row < 8; ++row) zigzag |= kZigzagBits[static_cast<size_t>(256 * row) + (natural >> (8 * row) & 0xFF)];
    return zigzag;
}

// The block's accumulator. Its drain has no per-byte test: it declines below 8 bytes of room, and
// below 16 when a 0xFF needs its stuffing.
class FastWriter {
public:
    FastWriter(Lum8u* pDst, Lum32s dstLen, Lum32s pos, uint64_t acc, int used)
        : dst_(pDst), len_(dstLen), pos_(pos), acc_(acc), used_(used)
    {
    }

    // False on a symbol without a code or when room is in doubt. `value` holds no bits above n.
    bool codeAndValue(const LumEncodeHuffmanSpec* pSpec, int symbol, uint32_t value, int n)
    {
        const uint32_t e = specEntry(pSpec, symbol);
        const int length = codeLength(e) + n;
        if (codeLength(e) == 0) return false;
        if (length > 64 - used_ && !drain()) return false;
        acc_ = acc_ << length | uint64_t{codeBits(e)} << n | value;
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
    if (!w.codeAndValue(pDcSpec, dcSize, extraBits(diff) & static_cast<uint32_t>(lowMask(dcSize)), dcSize))
        return false;

    uint64_t nonzero = nonzeroMask<Tier>(pSrc) & ~uint64_t{1};
    int last = 0;
    while (nonzero != 0) {
        const int k = std::countr_zero(nonzero);
        nonzero &= nonzero - 1;
        int run = k - last - 1;
        last = k;
        for (; run > 15; run -= 16)
            if (!w.codeAndValue(pAcSpec, kZrl, 0, 0)) return false;
        // Size and extra bits without branches: the sign as a mask, the magnitude and c - 1 from it.
        const int32_t c = pSrc[ZigzagOrder[k]];
        const int32_t sign = c >> 31;
        const int size = std::bit_width(static_cast<uint32_t>((c ^ sign) - sign));
        const uint32_t extra = static_cast<uint32_t>(c + sign) & ((1u << size) - 1);
        if (!w.codeAndValue(pAcSpec, 16 * run + size, extra, size)) return false;
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
