// The Huffman encoder's records and the one way its bits reach the caller's buffer: the narrow
// accumulator with PutBits, the wide one with DrainWide, the flushes of both, and the record
// operations. Everything below the records has internal linkage, so that the copies compiled for
// different instruction sets never merge.
#pragma once

#include "frame/dispatch.h"
#include "signal/kernels.h"

#include <lum.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

// The records fix the layout only: a record may sit at any address, so the library never reaches
// a field through these types but copies the fields in and out with memcpy.
struct LumEncodeHuffmanSpec {
    uint32_t entries[256];  // by symbol: bits 16..31 the code length, bits 0..15 the code; 0: no code
};

struct LumEncodeHuffmanState {
    uint32_t bitAcc;      // narrow form: pending bits left-justified under bit 24
    uint32_t bitAccHigh;  // wide form: the high half of a right-justified 64-bit accumulator
    int32_t bitCount;
    int32_t eobRun;
    int32_t corrBitCount;
    uint8_t corrBits[1024];  // correction bits of a refinement scan, one to a byte, oldest first
    uint8_t reserved[4];
};

static_assert(sizeof(LumEncodeHuffmanSpec) == 1024);
static_assert(sizeof(LumEncodeHuffmanState) == 1048);
static_assert(offsetof(LumEncodeHuffmanState, bitAcc) == 0);
static_assert(offsetof(LumEncodeHuffmanState, bitAccHigh) == 4);
static_assert(offsetof(LumEncodeHuffmanState, bitCount) == 8);
static_assert(offsetof(LumEncodeHuffmanState, eobRun) == 12);
static_assert(offsetof(LumEncodeHuffmanState, corrBitCount) == 16);
static_assert(offsetof(LumEncodeHuffmanState, corrBits) == 20);
static_assert(offsetof(LumEncodeHuffmanState, reserved) == 1044);

namespace lum::henc {
namespace {

constexpr Lum32s kSpecSize = 1024;
constexpr Lum32s kStateSize = 1048;
constexpr int32_t kEobRunLimit = 32767;
constexpr int32_t kCorrBitLimit = 938;
constexpr int kEob0 = 0x00;
constexpr int kEob14 = 0xE0;
constexpr int kZrl = 0xF0;

// The kernels each tier calls. A constant function pointer makes a direct call, so no code of the
// shared templates depends on which one it is. The vector tiers keep the AC accumulator wide and put
// the fast path in front of sequential encoding; a6 builds its masks with MMX.
#define LUM_HENC_TIER(Name, ns, vector, mmx)                                                   \
    struct Name {                                                                              \
        static constexpr void (*zeroBytes)(Lum8u*, size_t) = &ns::lumZeroBytes;                \
        static constexpr void (*copyBytes)(const Lum8u*, Lum8u*, size_t) = &ns::lumCopyBytes;  \
        static constexpr void (*fill32)(uint32_t, void*, size_t) = &ns::lumFill32;             \
        static constexpr bool kVector = vector;                                                \
        static constexpr bool kMmx = mmx;                                                      \
    };
LUM_HENC_TIER(PxTier, px, false, false)
LUM_HENC_TIER(A6Tier, a6, true, true)
LUM_HENC_TIER(W7Tier, w7, true, false)
LUM_HENC_TIER(T7Tier, t7, true, false)
#undef LUM_HENC_TIER

// ---- Access to the records ---------------------------------------------------------------------

// The scalar fields of a state, as one block in front of corrBits.
struct StateHead {
    uint32_t bitAcc;
    uint32_t bitAccHigh;
    int32_t bitCount;
    int32_t eobRun;
    int32_t corrBitCount;
};
static_assert(sizeof(StateHead) == offsetof(LumEncodeHuffmanState, corrBits));

inline StateHead loadHead(const LumEncodeHuffmanState* pState)
{
    StateHead h;
    std::memcpy(&h, pState, sizeof h);
    return h;
}

inline void storeHead(LumEncodeHuffmanState* pState, const StateHead& h) { std::memcpy(pState, &h, sizeof h); }

inline uint8_t* corrBitsOf(LumEncodeHuffmanState* pState)
{
    return reinterpret_cast<uint8_t*>(pState) + offsetof(LumEncodeHuffmanState, corrBits);
}

// The entry of a symbol. A coefficient of size 16 after a run of 15 asks for symbol 256, one past
// the table: it has no code, rather than whatever lies behind the caller's record.
inline uint32_t specEntry(const LumEncodeHuffmanSpec* pSpec, int symbol)
{
    if (symbol > 255) return 0;
    uint32_t e;
    std::memcpy(&e, reinterpret_cast<const uint8_t*>(pSpec) + 4 * symbol, sizeof e);
    return e;
}

inline int codeLength(uint32_t entry) { return static_cast<int>(entry >> 16); }
inline uint32_t codeBits(uint32_t entry) { return entry & 0xFFFF; }

inline uint64_t lowMask(int n) { return n >= 64 ? ~uint64_t{0} : (uint64_t{1} << n) - 1; }

// |v| without overflow, for values up to 32 bits; without a branch, as the sign of a coefficient is
// as good as random.
inline uint32_t magnitude(int32_t v)
{
    const auto sign = static_cast<uint32_t>(v >> 31);
    return (static_cast<uint32_t>(v) ^ sign) - sign;
}

// The size category of a value: the number of significant bits of its magnitude, 0 for 0.
inline int valueSize(int32_t v) { return std::bit_width(magnitude(v)); }

// The extra bits of a value of size s: the value itself, or one less if it is negative; the writers
// keep only the low s bits.
inline uint32_t extraBits(int32_t v) { return static_cast<uint32_t>(v < 0 ? v - 1 : v); }

// ---- Output ------------------------------------------------------------------------------------

// The caller's buffer and a local copy of the position, stored back when a primitive returns.
struct Output {
    Lum8u* dst;
    int32_t len;
    int32_t pos;
};

// Stores one byte, room for which has been tested, and the 0x00 that follows a 0xFF. False when
// no room is left for the 0x00: the 0xFF then stays written and counted.
inline bool writeByte(Output& out, uint32_t byte)
{
    out.dst[out.pos++] = static_cast<Lum8u>(byte);
    if (byte != 0xFF) return true;
    if (out.pos == out.len) return false;
    out.dst[out.pos++] = 0;
    return true;
}

// Writes the whole bytes of `used` bits, left-justified in `bits`, one at a time; `used` counts
// what is still pending when the buffer fills.
inline LumStatus writeBytes(Output& out, uint64_t bits, int& used)
{
    for (; used >= 8; bits <<= 8) {
        if (out.pos >= out.len) return lumStsOutOfBuffer;
        used -= 8;
        if (!writeByte(out, static_cast<uint32_t>(bits >> 56))) return lumStsOutOfBuffer;
    }
    return lumStsNoErr;
}

// ---- Narrow form -------------------------------------------------------------------------------

// PutBits: n new bits behind the 0 to 7 pending ones, whole bytes out. The position moves byte by
// byte, the state only on success. A count of 0 is a symbol without a code.
inline LumStatus putBits(Output& out, StateHead& st, uint32_t value, int n)
{
    if (n == 0) return lumStsJpegTableDestroyed;
    int t = st.bitCount + n;
    uint32_t acc = st.bitAcc | (static_cast<uint32_t>(value & lowMask(n)) << (24 - t));
    for (; t >= 8; t -= 8, acc <<= 8) {
        if (out.pos >= out.len) return lumStsOutOfBuffer;
        if (!writeByte(out, (acc >> 16) & 0xFF)) return lumStsOutOfBuffer;
    }
    st.bitAcc = acc;
    st.bitAccHigh = 0;
    st.bitCount = t;
    return lumStsNoErr;
}

// Codes and bits through PutBits, one call each: px throughout, and every tier's sequential and DC
// primitives.
class NarrowWriter {
public:
    NarrowWriter(Lum8u* pDst, Lum32s dstLen, Lum32s pos, const StateHead& head) : out_{pDst, dstLen, pos}, st_(head)
    {
    }

    LumStatus code(const LumEncodeHuffmanSpec* pSpec, int symbol)
    {
        const uint32_t e = specEntry(pSpec, symbol);
        return putBits(out_, st_, codeBits(e), codeLength(e));
    }
    LumStatus codeAndValue(const LumEncodeHuffmanSpec* pSpec, int symbol, uint32_t value, int n)
    {
        const LumStatus status = code(pSpec, symbol);
        return status != lumStsNoErr ? status : putBits(out_, st_, value, n);
    }
    LumStatus bits(uint32_t value, int n) { return putBits(out_, st_, value, n); }

    // EmitCorrBits: one PutBits per stored bit, counting down in place.
    LumStatus corrBits(const uint8_t* p, int32_t& count)
    {
        for (; count > 0; --count) {
            const LumStatus status = putBits(out_, st_, *p++, 1);
            if (status != lumStsNoErr) return status;
        }
        return lumStsNoErr;
    }
    static void storeCorrBit(uint8_t* p, uint32_t bit) { *p = static_cast<uint8_t>(bit); }

    // The padding of a flush: the pending bits and 1-bits up to the byte boundary.
    LumStatus pad() { return putBits(out_, st_, 127, 7); }

    Lum32s pos() const { return out_.pos; }
    void storeBits(StateHead& h) const
    {
        h.bitAcc = st_.bitAcc;
        h.bitAccHigh = st_.bitAccHigh;
        h.bitCount = st_.bitCount;
    }

private:
    Output out_;
    StateHead st_;
};

// ---- Wide form ---------------------------------------------------------------------------------

// True if any of the eight bytes of x is 0xFF: a zero byte of ~x, found exactly by the borrow trick.
inline bool hasByteFF(uint64_t x)
{
    const uint64_t y = ~x;
    return ((y - 0x0101010101010101ull) & ~y & 0x8080808080808080ull) != 0;
}

inline void storeBigEndian64(Lum8u* p, uint64_t v)
{
    const uint64_t be = __builtin_bswap64(v);
    std::memcpy(p, &be, sizeof be);
}

// Codes and bits through a right-justified 64-bit accumulator that goes to the buffer only when a
// code does not fit: the AC kernels of a6, w7 and t7. A failure leaves position and accumulator
// consistent, the bits not yet written pending.
class WideWriter {
public:
    WideWriter(Lum8u* pDst, Lum32s dstLen, Lum32s pos, const StateHead& head)
        : out_{pDst, dstLen, pos}, acc_(uint64_t{head.bitAccHigh} << 32 | head.bitAcc), used_(head.bitCount)
    {
    }

    LumStatus code(const LumEncodeHuffmanSpec* pSpec, int symbol)
    {
        const uint32_t e = specEntry(pSpec, symbol);
        if (codeLength(e) == 0) return lumStsJpegTableDestroyed;
        return put(codeBits(e), codeLength(e));
    }
    // A code and its value in one accumulator step.
    LumStatus codeAndValue(const LumEncodeHuffmanSpec* pSpec, int symbol, uint32_t value, int n)
    {
        const uint32_t e = specEntry(pSpec, symbol);
        if (codeLength(e) == 0) return lumStsJpegTableDestroyed;
        return put(uint64_t{codeBits(e)} << n | (value & lowMask(n)), codeLength(e) + n);
    }
    LumStatus bits(uint32_t value, int n) { return put(value, n); }

    // Correction bits go in 32 at a time; the count goes down by what went in.
    LumStatus corrBits(const uint8_t* p, int32_t& count)
    {
        while (count > 0) {
            const int n = count < 32 ? count : 32;
            uint32_t word = 0;
            for (int i = 0; i < n; ++i) word = word << 1 | (p[i] & 1u);
            const LumStatus status = put(word, n);
            if (status != lumStsNoErr) return status;
            p += n;
            count -= n;
        }
        return lumStsNoErr;
    }
    static void storeCorrBit(uint8_t* p, uint32_t bit) { *p = static_cast<uint8_t>(bit); }

    // DrainWide: eight bytes at once when they are ordinary and enough are pending, else one by one
    // with the tests and stuffing of PutBits.
    LumStatus drain()
    {
        if (used_ == 0) return lumStsNoErr;
        const uint64_t top = acc_ << (64 - used_);
        if (int64_t{out_.len} - out_.pos >= 8 && used_ >= 32 && !hasByteFF(top)) {
            storeBigEndian64(out_.dst + out_.pos, top);
            out_.pos += used_ / 8;
            used_ %= 8;
            return lumStsNoErr;
        }
        return writeBytes(out_, top, used_);
    }

    // The padding of a flush: 1-bits up to the byte boundary, then every byte one at a time.
    LumStatus pad()
    {
        if (used_ % 8 != 0) {
            const int gap = 8 - used_ % 8;
            acc_ = acc_ << gap | lowMask(gap);
            used_ += gap;
        }
        if (used_ == 0) return lumStsNoErr;
        return writeBytes(out_, acc_ << (64 - used_), used_);
    }

    Lum32s pos() const { return out_.pos; }
    void storeBits(StateHead& h) const
    {
        h.bitAcc = static_cast<uint32_t>(acc_);
        h.bitAccHigh = static_cast<uint32_t>(acc_ >> 32);
        h.bitCount = used_;
    }

private:
    LumStatus put(uint64_t value, int n)
    {
        if (n > 64 - used_) {
            const LumStatus status = drain();
            if (status != lumStsNoErr) return status;
        }
        acc_ = acc_ << n | (value & lowMask(n));
        used_ += n;
        return lumStsNoErr;
    }

    Output out_;
    uint64_t acc_;
    int used_;
};

// ---- State reset and the narrow flush ------------------------------------------------------------

// Clears the scalar fields and corrBits, all but the reserved tail.
template <typename Tier>
void resetState(LumEncodeHuffmanState* pState)
{
    Tier::zeroBytes(reinterpret_cast<Lum8u*>(pState), offsetof(LumEncodeHuffmanState, reserved));
}

// The flush of the sequential and DC primitives: PutBits of seven 1-bits, then the reset whatever
// its status.
template <typename Tier>
LumStatus flushNarrow(Lum8u* pDst, Lum32s dstLen, Lum32s* pDstPos, LumEncodeHuffmanState* pState)
{
    NarrowWriter w(pDst, dstLen, *pDstPos, loadHead(pState));
    const LumStatus status = w.pad();
    *pDstPos = w.pos();
    resetState<Tier>(pState);
    return status;
}

// The checks that every encoding primitive makes first: the output, then its position and state.
inline LumStatus checkOutputArgs(const Lum8u* pDst, Lum32s dstLen, const Lum32s* pDstPos,
                                 const LumEncodeHuffmanState* pState)
{
    if (pDst == nullptr) return lumStsNullPointer;
    if (dstLen < 1) return lumStsBadSize;
    if (pDstPos == nullptr || pState == nullptr) return lumStsNullPointer;
    return lumStsNoErr;
}

// ---- Record operations ----------------------------------------------------------------------------

inline LumStatus writeSize(Lum32s* pSize, Lum32s size)
{
    if (pSize == nullptr) return lumStsNullPointer;
    *pSize = size;
    return lumStsNoErr;
}

// Builds the code table from the BITS and HUFFVAL lists. Refuses more than 256 codes before any
// code is given out, and a code that reaches all ones at a length in use; a refused code table is zero.
template <typename Tier>
LumStatus specInit(const Lum8u* pBits, const Lum8u* pVals, LumEncodeHuffmanSpec* pSpec)
{
    if (pBits == nullptr || pVals == nullptr || pSpec == nullptr) return lumStsNullPointer;
    Tier::zeroBytes(reinterpret_cast<Lum8u*>(pSpec), kSpecSize);

    uint8_t sizes[257];
    int count = 0;
    for (int length = 1; length <= 16; ++length) {
        const int n = pBits[length - 1];
        if (count + n > 256) return lumStsJpegTableDestroyed;
        for (int i = 0; i < n; ++i) sizes[count++] = static_cast<uint8_t>(length);
    }
    sizes[count] = 0;

    uint16_t codes[256];
    uint32_t code = 0;
    for (int p = 0, size = sizes[0]; sizes[p] != 0; code <<= 1, ++size) {
        while (sizes[p] == size) codes[p++] = static_cast<uint16_t>(code++);
        if (code >= uint32_t{1} << size) return lumStsJpegTableDestroyed;
    }

    auto* entries = reinterpret_cast<uint8_t*>(pSpec);
    for (int p = 0; p < count; ++p) {
        const uint32_t e = uint32_t{sizes[p]} << 16 | codes[p];
        std::memcpy(entries + 4 * pVals[p], &e, sizeof e);
    }
    return lumStsNoErr;
}

template <typename Tier>
LumStatus stateInit(LumEncodeHuffmanState* pState)
{
    if (pState == nullptr) return lumStsNullPointer;
    resetState<Tier>(pState);
    return lumStsNoErr;
}

}  // namespace
}  // namespace lum::henc
