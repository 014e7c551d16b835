// Test support for the Huffman decoders: an independent model of canonical codes, a bit string
// builder that stuffs and pads as an entropy-coded segment does, the T.81 example tables, and a
// small session that carries position, marker, predictor and state across calls.
#pragma once

#include "jpeg/huffman_dec.h"

#include <lum.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <map>
#include <stdexcept>
#include <vector>

namespace lumtest {

struct HuffTable {
    std::array<uint8_t, 16> bits{};
    std::vector<uint8_t> vals;
};

// T.81 Annex K, tables K.3 and K.5 (luminance DC and AC).
inline HuffTable dcLuminance()
{
    return {{0, 1, 5, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0}, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}};
}

inline HuffTable acLuminance()
{
    HuffTable t{{0, 2, 1, 3, 3, 2, 4, 3, 5, 5, 4, 4, 0, 0, 1, 0x7d}, {}};
    t.vals = {0x01, 0x02, 0x03, 0x00, 0x04, 0x11, 0x05, 0x12, 0x21, 0x31, 0x41, 0x06, 0x13, 0x51, 0x61, 0x07,
              0x22, 0x71, 0x14, 0x32, 0x81, 0x91, 0xa1, 0x08, 0x23, 0x42, 0xb1, 0xc1, 0x15, 0x52, 0xd1, 0xf0,
              0x24, 0x33, 0x62, 0x72, 0x82, 0x09, 0x0a, 0x16, 0x17, 0x18, 0x19, 0x1a, 0x25, 0x26, 0x27, 0x28,
              0x29, 0x2a, 0x34, 0x35, 0x36, 0x37, 0x38, 0x39, 0x3a, 0x43, 0x44, 0x45, 0x46, 0x47, 0x48, 0x49,
              0x4a, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x5a, 0x63, 0x64, 0x65, 0x66, 0x67, 0x68, 0x69,
              0x6a, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7a, 0x83, 0x84, 0x85, 0x86, 0x87, 0x88, 0x89,
              0x8a, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97, 0x98, 0x99, 0x9a, 0xa2, 0xa3, 0xa4, 0xa5, 0xa6, 0xa7,
              0xa8, 0xa9, 0xaa, 0xb2, 0xb3, 0xb4, 0xb5, 0xb6, 0xb7, 0xb8, 0xb9, 0xba, 0xc2, 0xc3, 0xc4, 0xc5,
              0xc6, 0xc7, 0xc8, 0xc9, 0xca, 0xd2, 0xd3, 0xd4, 0xd5, 0xd6, 0xd7, 0xd8, 0xd9, 0xda, 0xe1, 0xe2,
              0xe3, 0xe4, 0xe5, 0xe6, 0xe7, 0xe8, 0xe9, 0xea, 0xf1, 0xf2, 0xf3, 0xf4, 0xf5, 0xf6, 0xf7, 0xf8,
              0xf9, 0xfa};
    return t;
}

struct Code {
    uint32_t code;
    int length;
};

// Canonical codes, counted up within a length and doubled from one length to the next.
inline std::map<int, Code> canonicalCodes(const HuffTable& t)
{
    std::map<int, Code> codes;
    uint32_t code = 0;
    size_t k = 0;
    for (int length = 1; length <= 16; ++length, code <<= 1)
        for (int i = 0; i < t.bits[length - 1]; ++i) codes[t.vals.at(k++)] = {code++, length};
    return codes;
}

// A bit string, most significant bit first, turned into segment bytes: 1-bits pad the last byte
// and every 0xFF is followed by a stuffed 0x00.
class BitString {
public:
    void put(uint32_t v, int n)
    {
        for (int i = n - 1; i >= 0; --i) bits_.push_back((v >> i) & 1);
    }
    void symbol(const std::map<int, Code>& codes, int s)
    {
        const Code c = codes.at(s);
        put(c.code, c.length);
    }
    // The s extra bits of a value, negative values as T.81 sends them.
    void value(int v, int s)
    {
        if (s == 0) return;
        put(static_cast<uint32_t>(v < 0 ? v + (1 << s) - 1 : v), s);
    }
    size_t size() const { return bits_.size(); }
    std::vector<uint8_t> bytes() const
    {
        std::vector<uint8_t> out;
        for (size_t i = 0; i < bits_.size(); i += 8) {
            uint32_t b = 0;
            for (size_t j = i; j < i + 8; ++j) b = b << 1 | (j < bits_.size() ? bits_[j] : 1);
            out.push_back(static_cast<uint8_t>(b));
            if (b == 0xFF) out.push_back(0);
        }
        return out;
    }

private:
    std::vector<int> bits_;
};

// Number of magnitude bits of v.
inline int sizeOfValue(int v)
{
    int a = v < 0 ? -v : v, s = 0;
    for (; a != 0; a >>= 1) ++s;
    return s;
}

// Code-table records with room around them, at a chosen byte offset.
class SpecBuffer {
public:
    explicit SpecBuffer(size_t offset = 0) : bytes_(1644 + 64 + offset, 0xA5), offset_(offset) {}
    LumDecodeHuffmanSpec* get() { return reinterpret_cast<LumDecodeHuffmanSpec*>(bytes_.data() + 32 + offset_); }
    const uint8_t* raw() { return bytes_.data() + 32 + offset_; }
    bool guardsIntact() const
    {
        for (size_t i = 0; i < bytes_.size(); ++i)
            if ((i < 32 + offset_ || i >= 32 + offset_ + 1644) && bytes_[i] != 0xA5) return false;
        return true;
    }

private:
    std::vector<uint8_t> bytes_;
    size_t offset_;
};

inline void buildSpec(const HuffTable& t, LumDecodeHuffmanSpec* huffTable)
{
    ASSERT_EQ(lumiDecodeHuffmanSpecInit_JPEG_8u(t.bits.data(), t.vals.data(), huffTable), lumStsNoErr);
}

// Field readers of a built decoder code table, by byte offset as the record lies.
inline uint32_t lookup8Of(const LumDecodeHuffmanSpec* s, int i)
{
    return lum::hdec::loadAt<uint32_t>(s, 512 + 4 * i);
}
inline uint16_t u16Of(const LumDecodeHuffmanSpec* s, size_t field, int i)
{
    return lum::hdec::loadAt<uint16_t>(s, field + 2 * i);
}
inline uint16_t minCodeOf(const LumDecodeHuffmanSpec* s, int l) { return u16Of(s, 1536, l); }
inline uint16_t maxCodeOf(const LumDecodeHuffmanSpec* s, int l) { return u16Of(s, 1572, l); }
inline uint16_t firstIndexOf(const LumDecodeHuffmanSpec* s, int l) { return u16Of(s, 1608, l); }
inline uint16_t symbolOf(const LumDecodeHuffmanSpec* s, int i) { return u16Of(s, 0, i); }

// State fields, read bytewise.
struct StateView {
    uint32_t bitAcc, bitAccHigh;
    int32_t bitCount, eobRun, coefsLeft;
};
inline StateView readState(const LumDecodeHuffmanState* s)
{
    StateView v;
    std::memcpy(&v, s, sizeof v);
    return v;
}
inline void writeState(LumDecodeHuffmanState* s, const StateView& v) { std::memcpy(s, &v, sizeof v); }

// One stream in one buffer with everything a caller carries between calls.
struct Session {
    std::vector<uint8_t> data;
    Lum32s pos = 0;
    Lum32s marker = 0;
    Lum16s lastDc = 0;
    LumDecodeHuffmanState state{};

    explicit Session(std::vector<uint8_t> bytes) : data(std::move(bytes))
    {
        lumiDecodeHuffmanStateInit_JPEG_8u(&state);
    }
    Lum32s len() const { return static_cast<Lum32s>(data.size()); }

    LumStatus sequential(Lum16s* block, const LumDecodeHuffmanSpec* dc, const LumDecodeHuffmanSpec* ac)
    {
        return lumiDecodeHuffman8x8_JPEG_1u16s_C1(data.data(), len(), &pos, block, &lastDc, &marker, dc, ac, &state);
    }
    LumStatus dcFirst(Lum16s* block, int al, const LumDecodeHuffmanSpec* dc)
    {
        return lumiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(data.data(), len(), &pos, block, &lastDc, &marker, al, dc,
                                                         &state);
    }
    LumStatus dcRefine(Lum16s* block, int al)
    {
        return lumiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(data.data(), len(), &pos, block, &marker, al, &state);
    }
    LumStatus acFirst(Lum16s* block, int ss, int se, int al, const LumDecodeHuffmanSpec* ac)
    {
        return lumiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(data.data(), len(), &pos, block, &marker, ss, se, al, ac,
                                                         &state);
    }
    LumStatus acRefine(Lum16s* block, int ss, int se, int al, const LumDecodeHuffmanSpec* ac)
    {
        return lumiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(data.data(), len(), &pos, block, &marker, ss, se, al, ac,
                                                          &state);
    }
    StateView view() const { return readState(&state); }
};

// The zig-zag sequence, written out independently of the library's table.
inline constexpr int kZigzag[64] = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,
                                    12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,
                                    35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,
                                    58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

// Statuses a decoding primitive may answer for a stream, whatever the stream holds.
inline bool isStreamStatus(LumStatus s)
{
    return s == lumStsNoErr || s == lumStsJpegMarkerMet || s == lumStsOutOfBuffer;
}

}  // namespace lumtest
