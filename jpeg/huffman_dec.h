// Huffman decoding: the two caller-held records, their byte-exact field access, and the argument
// checks shared by every tier. Records sit at any address the caller chooses, so every multi-byte
// field goes through memcpy.
#pragma once

#include <lum.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>

struct LumDecodeHuffmanSpec {
    uint16_t symbolValues[256];  // symbols in code order, widened
    uint32_t lookup8[256];       // next 8 bits -> length << 16 | symbol; 0: no code of up to 8 bits
    uint16_t minCode[18];        // smallest code of each length
    uint16_t maxCode[18];        // largest code of each length, 0xFFFF for none
    uint16_t firstIndex[18];     // index in symbolValues of each length's first code
};

struct LumDecodeHuffmanState {
    uint32_t bitAcc;      // accumulator, low word
    uint32_t bitAccHigh;  // high word: 0 in the narrow form
    int32_t bitCount;     // bits still to be used, right-justified
    int32_t eobRun;       // blocks left in a progressive AC band's EOB run
    int32_t coefsLeft;    // written by the sequential decoder, never read
    uint8_t reserved[4];  // neither read nor written
};

static_assert(sizeof(LumDecodeHuffmanSpec) == 1644);
static_assert(offsetof(LumDecodeHuffmanSpec, symbolValues) == 0);
static_assert(offsetof(LumDecodeHuffmanSpec, lookup8) == 512);
static_assert(offsetof(LumDecodeHuffmanSpec, minCode) == 1536);
static_assert(offsetof(LumDecodeHuffmanSpec, maxCode) == 1572);
static_assert(offsetof(LumDecodeHuffmanSpec, firstIndex) == 1608);
static_assert(sizeof(LumDecodeHuffmanState) == 24);
static_assert(offsetof(LumDecodeHuffmanState, bitAcc) == 0);
static_assert(offsetof(LumDecodeHuffmanState, bitAccHigh) == 4);
static_assert(offsetof(LumDecodeHuffmanState, bitCount) == 8);
static_assert(offsetof(LumDecodeHuffmanState, eobRun) == 12);
static_assert(offsetof(LumDecodeHuffmanState, coefsLeft) == 16);
static_assert(offsetof(LumDecodeHuffmanState, reserved) == 20);

namespace lum::hdec {
// Internal linkage throughout, here and in the other huffman_dec headers: they are compiled for
// the baseline and for SSE3, and copies must never merge.
namespace {

inline constexpr Lum32s kSpecSize = sizeof(LumDecodeHuffmanSpec);
inline constexpr Lum32s kStateSize = sizeof(LumDecodeHuffmanState);
// The bytes of the state that the library ever writes: all but the reserved tail.
inline constexpr size_t kStateUsedBytes = offsetof(LumDecodeHuffmanState, reserved);

template <typename T>
static inline T loadAt(const void* base, size_t offset)
{
    T v;
    std::memcpy(&v, static_cast<const Lum8u*>(base) + offset, sizeof v);
    return v;
}

template <typename T>
static inline void storeAt(void* base, size_t offset, T v)
{
    std::memcpy(static_cast<Lum8u*>(base) + offset, &v, sizeof v);
}

// Read-only view of a built decoder code table at any address.
struct SpecView {
    const Lum8u* p;

    explicit SpecView(const LumDecodeHuffmanSpec* huffTable) : p(reinterpret_cast<const Lum8u*>(huffTable)) {}

    uint32_t lookup8(uint32_t bits8) const
    {
        return loadAt<uint32_t>(p, offsetof(LumDecodeHuffmanSpec, lookup8) + 4 * bits8);
    }
    // The walk's limit at length L. maxCode reads as signed only where it is 0xFFFF, so 16-bit codes
    // from 0x8000 up compare as the unsigned values they are. Behind maxCode[17] the comparison
    // runs on into firstIndex, as the record lies; past the record's end every length counts as
    // empty, which lets the walk run until the code turns negative without reading outside.
    int32_t walkLimit(int32_t length) const
    {
        constexpr int32_t kLastInRecord = 17 + 18;
        if (length > kLastInRecord) return -1;
        const uint16_t v =
            loadAt<uint16_t>(p, offsetof(LumDecodeHuffmanSpec, maxCode) + 2 * static_cast<size_t>(length));
        return v == 0xFFFF ? -1 : v;
    }
    // Symbol of code c, which stopped the walk at length L (1..16). The index stays inside the
    // 256 entries whatever an over-subscribed table holds.
    uint32_t symbol(int32_t length, uint32_t c) const
    {
        const size_t at = 2 * static_cast<size_t>(length);
        const uint32_t first = loadAt<uint16_t>(p, offsetof(LumDecodeHuffmanSpec, firstIndex) + at);
        const uint32_t min = loadAt<uint16_t>(p, offsetof(LumDecodeHuffmanSpec, minCode) + at);
        const uint32_t index = (first - min + c) & 0xFF;
        return loadAt<uint16_t>(p, offsetof(LumDecodeHuffmanSpec, symbolValues) + 2 * index);
    }
};

// The state's fields as one working copy: the accumulator as 64 bits, high word above low.
struct StateFields {
    uint64_t acc;
    int32_t count;
    int32_t eobRun;
    int32_t coefsLeft;
};

// A count outside 0..64 can only come from a record the library never wrote; it is pinned so that
// no shift ever goes out of range.
static inline StateFields loadState(const LumDecodeHuffmanState* state)
{
    const void* s = state;
    StateFields f;
    f.acc = static_cast<uint64_t>(loadAt<uint32_t>(s, offsetof(LumDecodeHuffmanState, bitAccHigh))) << 32 |
            loadAt<uint32_t>(s, offsetof(LumDecodeHuffmanState, bitAcc));
    const int32_t count = loadAt<int32_t>(s, offsetof(LumDecodeHuffmanState, bitCount));
    f.count = count < 0 ? 0 : (count > 64 ? 64 : count);
    f.eobRun = loadAt<int32_t>(s, offsetof(LumDecodeHuffmanState, eobRun));
    f.coefsLeft = loadAt<int32_t>(s, offsetof(LumDecodeHuffmanState, coefsLeft));
    return f;
}

static inline void storeState(LumDecodeHuffmanState* state, const StateFields& f)
{
    void* s = state;
    storeAt(s, offsetof(LumDecodeHuffmanState, bitAcc), static_cast<uint32_t>(f.acc));
    storeAt(s, offsetof(LumDecodeHuffmanState, bitAccHigh), static_cast<uint32_t>(f.acc >> 32));
    storeAt(s, offsetof(LumDecodeHuffmanState, bitCount), f.count);
    storeAt(s, offsetof(LumDecodeHuffmanState, eobRun), f.eobRun);
    storeAt(s, offsetof(LumDecodeHuffmanState, coefsLeft), f.coefsLeft);
}

// Coefficients are read and written bytewise: a block may sit at any address.
static inline Lum16s loadCoef(const Lum8u* block, int32_t index) { return loadAt<Lum16s>(block, 2 * index); }
static inline void storeCoef(Lum8u* block, int32_t index, int32_t v)
{
    storeAt(block, 2 * static_cast<size_t>(index), static_cast<Lum16s>(static_cast<uint16_t>(v)));
}

static inline bool anyNull(std::initializer_list<const void*> pointers)
{
    for (const void* p : pointers)
        if (p == nullptr) return true;
    return false;
}

// The sequential decoder's order: source, its length (0 is allowed), then every other pointer.
static inline LumStatus checkSequentialArgs(const void* pSrc, Lum32s srcLen,
                                            std::initializer_list<const void*> pointers)
{
    if (pSrc == nullptr) return lumStsNullPointer;
    if (srcLen < 0) return lumStsBadArgument;
    if (anyNull(pointers)) return lumStsNullPointer;
    return lumStsNoErr;
}

// Scan parameters of the progressive primitives; DC scans have no band.
struct ScanParams {
    Lum32s Ss, Se, Al;
    bool band;
};

// The progressive decoders' order: source, its length (at least 1), the stream and block pointers,
// the scan parameters, then the tables and the state.
static inline LumStatus checkProgressiveArgs(const void* pSrc, Lum32s srcLen,
                                             std::initializer_list<const void*> pointers, ScanParams scan,
                                             std::initializer_list<const void*> records)
{
    if (pSrc == nullptr) return lumStsNullPointer;
    if (srcLen < 1) return lumStsBadSize;
    if (anyNull(pointers)) return lumStsNullPointer;
    if (scan.Al < 0 || scan.Al > 13) return lumStsBadArgument;
    if (scan.band && (scan.Ss < 1 || scan.Ss > 63 || scan.Se < scan.Ss || scan.Se > 63)) return lumStsBadArgument;
    if (anyNull(records)) return lumStsNullPointer;
    return lumStsNoErr;
}

// The EXTEND step on s bits (s is 0..15): a value whose top bit is clear gets ExtendTable[s],
// 1 - 2^s, added. Written without a branch, as the sign of a coefficient is a coin toss: the mask
// is 2^s - 1 exactly when bit s - 1 of v is clear.
static inline int32_t extendValue(uint32_t v, int32_t s)
{
    const uint32_t topBit = (v << 1) >> s;
    return static_cast<int32_t>(v - ((topBit - 1) & ((1u << s) - 1)));
}

}  // namespace
}  // namespace lum::hdec
