// Helpers of the Huffman encoder tests: records at any byte address, the state's fields at their
// documented offsets, test tables, random quantized blocks, and a stream driver that encodes a block
// sequence through the exported primitives, into one buffer or into a chain of small ones.
#pragma once

#include "huffman_enc_model.h"
#include "test_support.h"

#include <lum.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <numeric>
#include <random>
#include <vector>

namespace lumtest {

constexpr int kSpecBytes = 1024;
constexpr int kStateBytes = 1048;

// Byte storage for a record at a chosen offset from a 16-byte boundary.
class RecordBuffer {
public:
    RecordBuffer(size_t size, size_t offset, uint8_t fill = 0) : bytes_(size + offset + 32, fill), offset_(offset) {}
    uint8_t* data()
    {
        const auto base = (reinterpret_cast<uintptr_t>(bytes_.data()) + 15) & ~uintptr_t{15};
        return reinterpret_cast<uint8_t*>(base) + offset_;
    }

private:
    std::vector<uint8_t> bytes_;
    size_t offset_;
};

class SpecRecord {
public:
    explicit SpecRecord(size_t offset = 0) : buf_(kSpecBytes, offset) {}
    LumEncodeHuffmanSpec* get() { return reinterpret_cast<LumEncodeHuffmanSpec*>(buf_.data()); }
    uint8_t* bytes() { return buf_.data(); }
    uint32_t entry(int symbol)
    {
        uint32_t e;
        std::memcpy(&e, bytes() + 4 * symbol, 4);
        return e;
    }

private:
    RecordBuffer buf_;
};

// Field offsets of LumEncodeHuffmanState, as the interface documents them.
enum StateField { kBitAcc = 0, kBitAccHigh = 4, kBitCount = 8, kEobRun = 12, kCorrBitCount = 16 };
constexpr int kCorrBits = 20;
constexpr int kReserved = 1044;

class State {
public:
    explicit State(size_t offset = 0, uint8_t fill = 0) : buf_(kStateBytes, offset, fill)
    {
        std::memset(buf_.data(), fill, kStateBytes);
    }
    LumEncodeHuffmanState* get() { return reinterpret_cast<LumEncodeHuffmanState*>(buf_.data()); }
    uint8_t* bytes() { return buf_.data(); }
    int32_t field(StateField f)
    {
        int32_t v;
        std::memcpy(&v, bytes() + f, 4);
        return v;
    }
    void setField(StateField f, int32_t v) { std::memcpy(bytes() + f, &v, 4); }
    std::vector<uint8_t> snapshot() { return {bytes(), bytes() + kStateBytes}; }
    void restore(const std::vector<uint8_t>& s) { std::memcpy(bytes(), s.data(), kStateBytes); }
    // The pending bits of the narrow form: bitCount bits under bit 24.
    uint32_t narrowPending()
    {
        const int n = field(kBitCount);
        return (static_cast<uint32_t>(field(kBitAcc)) >> (24 - n)) & ((1u << n) - 1);
    }

private:
    RecordBuffer buf_;
};

struct TableSpec {
    std::array<uint8_t, 16> bits{};
    std::vector<uint8_t> vals;
};

// The luminance DC table of the JPEG standard's examples.
inline TableSpec stdDcLuminance()
{
    TableSpec t;
    t.bits = {0, 1, 5, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0};
    t.vals = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    return t;
}

// All 17 DC categories, 3 to 7 bits.
inline TableSpec fullDcTable()
{
    TableSpec t;
    t.bits = {0, 0, 4, 4, 4, 4, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    t.vals.resize(17);
    std::iota(t.vals.begin(), t.vals.end(), 0);
    return t;
}

// All 256 symbols, 2 to 16 bits, the short codes for small sizes and short runs.
inline TableSpec fullAcTable()
{
    TableSpec t;
    t.bits = {0, 1, 1, 2, 2, 4, 6, 10, 14, 20, 30, 40, 40, 40, 30, 16};
    t.vals.resize(256);
    std::iota(t.vals.begin(), t.vals.end(), 0);
    std::stable_sort(t.vals.begin(), t.vals.end(),
                     [](int a, int b) { return (a & 15) + 2 * (a >> 4) < (b & 15) + 2 * (b >> 4); });
    return t;
}

// A small AC table with known codes: EOB 00, ZRL 01, run 14 size 1 10, size 1 110, size 2 1110,
// EOB1 11110, EOB2 111110.
inline TableSpec tinyAcTable()
{
    TableSpec t;
    t.bits = {0, 3, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    t.vals = {0x00, 0xF0, 0xE1, 0x01, 0x02, 0x10, 0x20};
    return t;
}

inline void initSpec(SpecRecord& huffTable, const TableSpec& t)
{
    ASSERT_EQ(lumiEncodeHuffmanSpecInit_JPEG_8u(t.bits.data(), t.vals.data(), huffTable.get()), lumStsNoErr);
}

inline model::Table modelTable(const TableSpec& t) { return model::makeTable(t.bits.data(), t.vals.data()); }

// Random quantized blocks: mostly zeros toward high frequencies, magnitudes up to `maxAc`, DC values
// up to `maxDc`.
inline std::vector<model::Block> randomBlocks(size_t count, uint32_t seed, int maxDc = 1023, int maxAc = 1023)
{
    std::mt19937 rng(seed);
    std::vector<model::Block> blocks(count);
    for (auto& b : blocks) {
        const int density = static_cast<int>(rng() % 100);
        b[0] = static_cast<Lum16s>(static_cast<int>(rng() % (2 * maxDc + 1)) - maxDc);
        for (int i = 1; i < 64; ++i) {
            b[i] = 0;
            if (static_cast<int>(rng() % 100) >= density / (1 + (i >> 3))) continue;
            const int scale = 1 << (rng() % 11);
            const int m = 1 + static_cast<int>(rng() % static_cast<uint32_t>(std::min(scale, maxAc)));
            b[i] = static_cast<Lum16s>(rng() & 1 ? -m : m);
        }
    }
    return blocks;
}

// One call of an encoding primitive on a block, or its flush when `block` is null.
using EncodeStep = std::function<LumStatus(const Lum16s* block, Lum8u* dst, Lum32s len, Lum32s* pos,
                                           LumEncodeHuffmanState* state, Lum32s flush)>;

// Encodes the blocks and a flush into one buffer.
inline std::vector<uint8_t> encodeWhole(const EncodeStep& step, const std::vector<model::Block>& blocks,
                                        LumEncodeHuffmanState* state)
{
    std::vector<uint8_t> buf(blocks.size() * 300 + 64);
    Lum32s pos = 0;
    const auto len = static_cast<Lum32s>(buf.size());
    for (const auto& b : blocks) EXPECT_EQ(step(b.data(), buf.data(), len, &pos, state, 0), lumStsNoErr);
    EXPECT_EQ(step(nullptr, buf.data(), len, &pos, state, 1), lumStsNoErr);
    buf.resize(static_cast<size_t>(pos));
    return buf;
}

// Encodes into a chain of buffers of `chunk` bytes: when a call runs out of room the caller restores
// its copies of the position, the state and whatever `saveCaller` covers, keeps the finished bytes
// and goes on in a fresh buffer at position 0.
inline std::vector<uint8_t> encodeChunked(const EncodeStep& step, const std::vector<model::Block>& blocks,
                                          State& state, size_t chunk, const std::function<void(bool)>& saveCaller,
                                          int* refills = nullptr)
{
    std::vector<uint8_t> out, buf(chunk, 0xEE);
    Lum32s pos = 0;
    const auto len = static_cast<Lum32s>(chunk);
    int fresh = 0;
    for (size_t i = 0; i <= blocks.size(); ++i) {
        const Lum16s* block = i < blocks.size() ? blocks[i].data() : nullptr;
        for (bool retried = false;; retried = true) {
            const auto saved = state.snapshot();
            const Lum32s savedPos = pos;
            saveCaller(true);
            const LumStatus s = step(block, buf.data(), len, &pos, state.get(), block == nullptr);
            if (s == lumStsNoErr) break;
            EXPECT_EQ(s, lumStsOutOfBuffer);
            EXPECT_FALSE(retried) << "a block does not fit an empty chunk";
            if (s != lumStsOutOfBuffer || retried) return out;
            out.insert(out.end(), buf.begin(), buf.begin() + savedPos);
            state.restore(saved);
            saveCaller(false);
            pos = 0;
            std::fill(buf.begin(), buf.end(), 0xEE);
            ++fresh;
        }
    }
    out.insert(out.end(), buf.begin(), buf.begin() + pos);
    if (refills != nullptr) *refills = fresh;
    return out;
}

// A block with the given values at zig-zag positions.
inline model::Block blockWith(std::initializer_list<std::pair<int, int>> zigzagValues, int dc = 0)
{
    static const auto zz = model::zigzag();
    model::Block b{};
    b[0] = static_cast<Lum16s>(dc);
    for (auto [k, v] : zigzagValues) b[static_cast<size_t>(zz[static_cast<size_t>(k)])] = static_cast<Lum16s>(v);
    return b;
}

// Records at odd addresses, the standard luminance DC table, an AC table, a canary-filled output.
struct EncoderFixture {
    SpecRecord dc{3}, ac{1};
    State state{5};
    std::vector<uint8_t> buf;
    Lum32s pos = 0;
    Lum16s lastDc = 0;

    EncoderFixture(const TableSpec& acTable, size_t bufSize) : buf(bufSize, kCanary)
    {
        initSpec(dc, stdDcLuminance());
        initSpec(ac, acTable);
        lumiEncodeHuffmanStateInit_JPEG_8u(state.get());
    }
    std::vector<uint8_t> written() const { return {buf.begin(), buf.begin() + pos}; }
};

inline std::vector<uint8_t> bytesOf(model::BitList& bits)
{
    std::vector<uint8_t> out;
    bits.flushTo(out);
    return out;
}

}  // namespace lumtest
