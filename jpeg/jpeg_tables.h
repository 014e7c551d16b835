// Constant tables shared by the JPEG block primitives: the zig-zag sequence, bit lengths, the
// EXTEND offsets and floor(log2).
#pragma once

#include <array>
#include <cstdint>

namespace lum {

namespace detail {

constexpr std::array<int32_t, 64> kZigzag = {
    0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,  12, 19, 26, 33, 40, 48,
    41, 34, 27, 20, 13, 6,  7,  14, 21, 28, 35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23,
    30, 37, 44, 51, 58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

constexpr int32_t bitLength(uint32_t v)
{
    int32_t n = 0;
    for (; v != 0; v >>= 1) ++n;
    return n;
}

// ZigzagOrder's 64 natural indices, eight entries of 63, then the 256 bit lengths: a corrupt block
// whose run overshoots the 72 entries reads the first bit lengths as positions, and must.
constexpr std::array<int32_t, 72 + 256> makeZigzagAndBitLength()
{
    std::array<int32_t, 72 + 256> t{};
    for (int i = 0; i < 64; ++i) t[i] = kZigzag[i];
    for (int i = 64; i < 72; ++i) t[i] = 63;
    for (int v = 0; v < 256; ++v) t[72 + v] = bitLength(static_cast<uint32_t>(v));
    return t;
}

constexpr std::array<int32_t, 16> makeExtend()
{
    std::array<int32_t, 16> t{};
    for (int s = 1; s < 16; ++s) t[s] = 1 - (1 << s);
    return t;
}

constexpr std::array<uint8_t, 256> makeFloorLog2()
{
    std::array<uint8_t, 256> t{};
    for (int v = 2; v < 256; ++v) t[v] = static_cast<uint8_t>(bitLength(static_cast<uint32_t>(v)) - 1);
    return t;
}

inline constexpr std::array<int32_t, 72 + 256> kZigzagAndBitLength = makeZigzagAndBitLength();

}  // namespace detail

// Zig-zag position k to natural index, 72 entries (the last eight are 63).
inline constexpr const int32_t* ZigzagOrder = detail::kZigzagAndBitLength.data();
inline constexpr int kZigzagOrderEntries = 72;
// Number of significant bits of 0..255, directly behind ZigzagOrder in memory.
inline constexpr const int32_t* BitLengthTable = detail::kZigzagAndBitLength.data() + 72;
// Offsets of the EXTEND procedure: entry s is 1 - 2^s, entry 0 is 0.
inline constexpr std::array<int32_t, 16> ExtendTable = detail::makeExtend();
// floor(log2(v)) for 1..255; entries 0 and 1 are 0.
inline constexpr std::array<uint8_t, 256> FloorLog2Table = detail::makeFloorLog2();

static_assert(BitLengthTable[0] == 0 && BitLengthTable[1] == 1 && BitLengthTable[3] == 2 && BitLengthTable[255] == 8);
static_assert(ZigzagOrder[72] == 0 && ZigzagOrder[78] == 3);

}  // namespace lum
