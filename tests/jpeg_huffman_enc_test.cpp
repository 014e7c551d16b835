// Huffman encoder records, bit output and sequential block encoding. Exactness class: exact across
// all tiers. Every tier writes the same bytes and reports the same statuses; where the narrow and wide
// accumulators or the fast path leave different traces (bytes beyond the position, stale accumulator
// bits), the tests say so.
#include "huffman_enc_support.h"
#include "test_support.h"
#include "tier_fixture.h"

#include <lum.h>

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

using namespace lumtest;

class EncodeRecords : public TierTest {};
class EncodeSequential : public TierTest {};

// ---- Sizes and records ---------------------------------------------------------------------------

TEST_P(EncodeRecords, BufferSizes)
{
    Lum32s size = 0;
    EXPECT_EQ(lumiEncodeHuffmanSpecGetBufSize_JPEG_8u(&size), lumStsNoErr);
    EXPECT_EQ(size, 1024);
    EXPECT_EQ(lumiEncodeHuffmanStateGetBufSize_JPEG_8u(&size), lumStsNoErr);
    EXPECT_EQ(size, 1048);
    EXPECT_EQ(lumiEncodeHuffmanSpecGetBufSize_JPEG_8u(nullptr), lumStsNullPointer);
    EXPECT_EQ(lumiEncodeHuffmanStateGetBufSize_JPEG_8u(nullptr), lumStsNullPointer);
}

TEST_P(EncodeRecords, StandardDcTableEntries)
{
    const auto t = stdDcLuminance();
    for (size_t offset : {0, 1, 3, 7}) {
        SpecRecord huffTable(offset);
        std::memset(huffTable.bytes(), 0x5A, kSpecBytes);
        initSpec(huffTable, t);
        const uint32_t expected[12] = {0x00020000, 0x00030002, 0x00030003, 0x00030004, 0x00030005, 0x00030006,
                                       0x0004000E, 0x0005001E, 0x0006003E, 0x0007007E, 0x000800FE, 0x000901FE};
        for (int s = 0; s < 256; ++s) EXPECT_EQ(huffTable.entry(s), s < 12 ? expected[s] : 0u) << s;
    }
}

TEST_P(EncodeRecords, NullArgumentsLeaveTheSpecAlone)
{
    const auto t = stdDcLuminance();
    SpecRecord huffTable;
    std::memset(huffTable.bytes(), 0x5A, kSpecBytes);
    EXPECT_EQ(lumiEncodeHuffmanSpecInit_JPEG_8u(nullptr, t.vals.data(), huffTable.get()), lumStsNullPointer);
    EXPECT_EQ(lumiEncodeHuffmanSpecInit_JPEG_8u(t.bits.data(), nullptr, huffTable.get()), lumStsNullPointer);
    EXPECT_EQ(lumiEncodeHuffmanSpecInit_JPEG_8u(t.bits.data(), t.vals.data(), nullptr), lumStsNullPointer);
    for (int i = 0; i < kSpecBytes; ++i) ASSERT_EQ(huffTable.bytes()[i], 0x5A);
}

// Refused tables leave an all-zero code table.
void expectRefused(const std::array<uint8_t, 16>& bits)
{
    std::vector<uint8_t> vals(300);
    std::iota(vals.begin(), vals.end(), 0);
    SpecRecord huffTable(5);
    std::memset(huffTable.bytes(), 0x5A, kSpecBytes);
    EXPECT_EQ(lumiEncodeHuffmanSpecInit_JPEG_8u(bits.data(), vals.data(), huffTable.get()), lumStsJpegTableDestroyed);
    for (int i = 0; i < kSpecBytes; ++i) ASSERT_EQ(huffTable.bytes()[i], 0) << i;
}

TEST_P(EncodeRecords, TwoHundredFiftySixCodesPassAndOneMoreIsRefused)
{
    // 255 codes of 8 bits and one of 9: no all-ones code.
    std::array<uint8_t, 16> bits{};
    bits[7] = 255;
    bits[8] = 1;
    std::vector<uint8_t> vals(256);
    std::iota(vals.begin(), vals.end(), 0);
    GuardedBuffer guardedVals(256);
    std::memcpy(guardedVals.data(), vals.data(), 256);
    SpecRecord huffTable;
    EXPECT_EQ(lumiEncodeHuffmanSpecInit_JPEG_8u(bits.data(), guardedVals.data(), huffTable.get()), lumStsNoErr);
    EXPECT_EQ(huffTable.entry(0), 0x00080000u);
    EXPECT_EQ(huffTable.entry(254), 0x000800FEu);
    EXPECT_EQ(huffTable.entry(255), 0x000901FEu);
    // A 257th code is refused, and the code table is left all zero.
    bits[8] = 2;
    expectRefused(bits);
}

TEST_P(EncodeRecords, AllOnesCodesAreRefused)
{
    expectRefused({2});                        // the second code of length 1 is 1
    expectRefused({0, 4});                     // 11 at length 2
    expectRefused({1, 1, 1, 1, 1, 1, 1, 2});   // all ones at the last length in use
    expectRefused({0, 0, 0, 0, 0, 0, 0, 0, 255, 2});
}

TEST_P(EncodeRecords, EmptyTableAndDuplicates)
{
    const std::array<uint8_t, 16> none{};
    const uint8_t vals[4] = {9, 9, 9, 9};
    SpecRecord huffTable;
    std::memset(huffTable.bytes(), 0x5A, kSpecBytes);
    EXPECT_EQ(lumiEncodeHuffmanSpecInit_JPEG_8u(none.data(), vals, huffTable.get()), lumStsNoErr);
    for (int i = 0; i < kSpecBytes; ++i) ASSERT_EQ(huffTable.bytes()[i], 0);

    // The same symbol twice: the later code wins.
    const std::array<uint8_t, 16> three{0, 3};
    const uint8_t dup[3] = {4, 5, 4};
    EXPECT_EQ(lumiEncodeHuffmanSpecInit_JPEG_8u(three.data(), dup, huffTable.get()), lumStsNoErr);
    EXPECT_EQ(huffTable.entry(4), 0x00020002u);
    EXPECT_EQ(huffTable.entry(5), 0x00020001u);
}

TEST_P(EncodeRecords, StateInitClearsAllButTheReservedBytes)
{
    for (size_t offset : {0, 1, 2, 13}) {
        State state(offset, 0xC3);
        EXPECT_EQ(lumiEncodeHuffmanStateInit_JPEG_8u(state.get()), lumStsNoErr);
        for (int i = 0; i < kReserved; ++i) ASSERT_EQ(state.bytes()[i], 0) << i;
        for (int i = kReserved; i < kStateBytes; ++i) EXPECT_EQ(state.bytes()[i], 0xC3);
    }
    EXPECT_EQ(lumiEncodeHuffmanStateInit_JPEG_8u(nullptr), lumStsNullPointer);
}

// ---- Sequential encoding: literal streams --------------------------------------------------------

struct SeqFixture : EncoderFixture {
    explicit SeqFixture(const TableSpec& acTable = tinyAcTable()) : EncoderFixture(acTable, 256) {}
    LumStatus encode(const model::Block& b, Lum32s len = 256)
    {
        return lumiEncodeHuffman8x8_JPEG_16s1u_C1(b.data(), buf.data(), len, &pos, &lastDc, dc.get(), ac.get(),
                                                 state.get(), 0);
    }
    LumStatus flush(Lum32s len = 256)
    {
        return lumiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, buf.data(), len, &pos, nullptr, nullptr, nullptr,
                                                 state.get(), 1);
    }
};

TEST_P(EncodeSequential, AllZeroBlock)
{
    // DC category 0 (00) and EOB (00): four bits pending, then padded.
    SeqFixture f;
    EXPECT_EQ(f.encode(blockWith({})), lumStsNoErr);
    EXPECT_EQ(f.pos, 0);
    EXPECT_EQ(f.state.field(kBitCount), 4);
    EXPECT_EQ(f.state.narrowPending(), 0u);
    EXPECT_EQ(f.lastDc, 0);
    EXPECT_EQ(f.flush(), lumStsNoErr);
    EXPECT_EQ(f.written(), (std::vector<uint8_t>{0x0F}));
}

TEST_P(EncodeSequential, OnlyCoefficient63)
{
    // DC 00, three ZRL 01 01 01, run 14 size 1 (10) and the bit 1, no EOB: 00010101 101. The flush
    // of three pending bits writes one byte whose low five bits are 1.
    SeqFixture f;
    EXPECT_EQ(f.encode(blockWith({{63, 1}})), lumStsNoErr);
    EXPECT_EQ(f.pos, 1);
    EXPECT_EQ(f.state.field(kBitCount), 3);
    EXPECT_EQ(f.state.narrowPending(), 5u);
    EXPECT_EQ(f.flush(), lumStsNoErr);
    EXPECT_EQ(f.written(), (std::vector<uint8_t>{0x15, 0xBF}));
}

TEST_P(EncodeSequential, SixteenZerosThenACoefficient)
{
    // DC 00, ZRL 01, run 0 size 1 (110) and 1, EOB 00: 00011101 00.
    SeqFixture f;
    EXPECT_EQ(f.encode(blockWith({{17, 1}})), lumStsNoErr);
    EXPECT_EQ(f.flush(), lumStsNoErr);
    EXPECT_EQ(f.written(), (std::vector<uint8_t>{0x1D, 0x3F}));
}

TEST_P(EncodeSequential, LongTrailingRunCostsOneEobAndAnAlignedFlushWritesNothing)
{
    // DC 00, 110 1, then 62 zeros: one EOB 00 and no ZRL. Exactly one byte.
    SeqFixture f;
    EXPECT_EQ(f.encode(blockWith({{1, 1}})), lumStsNoErr);
    EXPECT_EQ(f.state.field(kBitCount), 0);
    EXPECT_EQ(f.written(), (std::vector<uint8_t>{0x34}));
    EXPECT_EQ(f.flush(), lumStsNoErr);
    EXPECT_EQ(f.written(), (std::vector<uint8_t>{0x34}));
}

TEST_P(EncodeSequential, DcDifferencesAndNegativeValues)
{
    // DC 5 from 0: category 3 (100) and 101; -2 at k = 1: size 2 (1110) and 01; EOB 00. The next
    // block has DC 5 again: difference 0, the category code alone, then EOB.
    SeqFixture f;
    EXPECT_EQ(f.encode(blockWith({{1, -2}}, 5)), lumStsNoErr);
    EXPECT_EQ(f.lastDc, 5);
    EXPECT_EQ(f.encode(blockWith({}, 5)), lumStsNoErr);
    EXPECT_EQ(f.flush(), lumStsNoErr);
    EXPECT_EQ(f.written(), (std::vector<uint8_t>{0x97, 0x90, 0x3F}));
}

TEST_P(EncodeSequential, SizeSixteenTakesTheNextRowsEntry)
{
    // -32768 has size 16: after run 0 that is symbol 0x10 (11110 here), with the low 16 bits of
    // -32769 behind it. After run 15 it would be symbol 256, which no table has.
    SeqFixture f;
    EXPECT_EQ(f.encode(blockWith({{1, -32768}})), lumStsNoErr);
    EXPECT_EQ(f.flush(), lumStsNoErr);
    // 00 11110 0111111111111111 00 -> 00111100 11111111 (stuffed) 11111110 0 + padding
    EXPECT_EQ(f.written(), (std::vector<uint8_t>{0x3C, 0xFF, 0x00, 0xFE, 0x7F}));

    SeqFixture g(fullAcTable());
    const Lum32s before = g.pos;
    const auto state = g.state.snapshot();
    EXPECT_EQ(g.encode(blockWith({{16, -32768}}, 7)), lumStsJpegTableDestroyed);
    EXPECT_EQ(g.lastDc, 7);
    // The DC code went out before the AC symbol failed; the state holds what succeeded.
    EXPECT_EQ(g.pos, before);
    EXPECT_EQ(g.state.field(kBitCount), 6);
    EXPECT_NE(g.state.snapshot(), state);
}

TEST_P(EncodeSequential, MissingDcCategoryFailsAfterThePredictorMoved)
{
    SeqFixture f;
    const auto state = f.state.snapshot();
    EXPECT_EQ(f.encode(blockWith({}, 2048)), lumStsJpegTableDestroyed);  // category 12: no entry
    EXPECT_EQ(f.lastDc, 2048);
    EXPECT_EQ(f.pos, 0);
    EXPECT_EQ(f.state.snapshot(), state);
    EXPECT_EQ(f.buf[0], kCanary);
}

TEST_P(EncodeSequential, FlushIgnoresTheBlockArguments)
{
    SeqFixture f;
    EXPECT_EQ(f.encode(blockWith({{63, 1}})), lumStsNoErr);
    EXPECT_EQ(f.flush(), lumStsNoErr);
    for (int i = 0; i < kReserved; ++i) ASSERT_EQ(f.state.bytes()[i], 0);
    EXPECT_EQ(f.flush(), lumStsNoErr);  // nothing pending: nothing written
    EXPECT_EQ(f.pos, 2);
}

// 36 bits, no 0xFF: DC 100 101, then 1 -1 2 1 -2 1 at k = 1..6, EOB.
model::Block fastPathBlock() { return blockWith({{1, 1}, {2, -1}, {3, 2}, {4, 1}, {5, -2}, {6, 1}}, 5); }

TEST_P(EncodeSequential, FastPathNeedsTwentyFourBytesAndWritesTheSameBytes)
{
    std::vector<uint8_t> reference;
    for (Lum32s room : {23, 24, 40}) {
        SeqFixture f;
        const Lum32s start = 100;
        f.pos = start;
        EXPECT_EQ(f.encode(fastPathBlock(), start + room), lumStsNoErr);
        EXPECT_EQ(f.pos, start + 4);
        EXPECT_EQ(f.state.field(kBitCount), 4);
        const std::vector<uint8_t> out(f.buf.begin() + start, f.buf.begin() + f.pos);
        if (reference.empty()) reference = out;
        EXPECT_EQ(out, reference) << room;
        for (uint8_t b : out) ASSERT_NE(b, 0xFF);
        // The fast path drains with one eight-byte store, whose bytes beyond the position hold the
        // pending bits and zeros; the plain path writes whole bytes only. So the byte at the
        // position tells which path ran.
        const bool fast = !isPx() && room >= 24;
        EXPECT_EQ(f.buf[f.pos] != kCanary, fast) << room;
        for (Lum32s i = f.pos + 8; i < 256; ++i) ASSERT_EQ(f.buf[i], kCanary);
        EXPECT_EQ(f.flush(start + room), lumStsNoErr);
        EXPECT_EQ(f.pos, start + 5);
    }
}

TEST_P(EncodeSequential, CheckOrder)
{
    SeqFixture f;
    const auto b = fastPathBlock();
    const auto state = f.state.snapshot();
    auto call = [&](const Lum16s* src, Lum8u* dst, Lum32s len, Lum32s* pos, Lum16s* dc,
                    const LumEncodeHuffmanSpec* dcs, const LumEncodeHuffmanSpec* acs, LumEncodeHuffmanState* st,
                    Lum32s flush) { return lumiEncodeHuffman8x8_JPEG_16s1u_C1(src, dst, len, pos, dc, dcs, acs, st, flush); };
    Lum8u* d = f.buf.data();
    EXPECT_EQ(call(nullptr, nullptr, 0, nullptr, nullptr, nullptr, nullptr, nullptr, 1), lumStsNullPointer);
    EXPECT_EQ(call(b.data(), d, 0, nullptr, &f.lastDc, f.dc.get(), f.ac.get(), nullptr, 0), lumStsBadSize);
    EXPECT_EQ(call(b.data(), d, -5, &f.pos, &f.lastDc, f.dc.get(), f.ac.get(), f.state.get(), 1), lumStsBadSize);
    EXPECT_EQ(call(nullptr, d, 256, nullptr, &f.lastDc, f.dc.get(), f.ac.get(), f.state.get(), 0),
              lumStsNullPointer);
    EXPECT_EQ(call(b.data(), d, 256, &f.pos, &f.lastDc, f.dc.get(), f.ac.get(), nullptr, 1), lumStsNullPointer);
    EXPECT_EQ(call(nullptr, d, 256, &f.pos, &f.lastDc, f.dc.get(), f.ac.get(), f.state.get(), 0),
              lumStsNullPointer);
    EXPECT_EQ(call(b.data(), d, 256, &f.pos, nullptr, f.dc.get(), f.ac.get(), f.state.get(), 0), lumStsNullPointer);
    EXPECT_EQ(call(b.data(), d, 256, &f.pos, &f.lastDc, nullptr, f.ac.get(), f.state.get(), 0), lumStsNullPointer);
    EXPECT_EQ(call(b.data(), d, 256, &f.pos, &f.lastDc, f.dc.get(), nullptr, f.state.get(), 0), lumStsNullPointer);
    // Nothing changed by any refused call.
    EXPECT_EQ(f.pos, 0);
    EXPECT_EQ(f.lastDc, 0);
    EXPECT_EQ(f.state.snapshot(), state);
    for (uint8_t x : f.buf) ASSERT_EQ(x, kCanary);
}

// ---- PutBits, watched through DC refine, which sends one bit per call in every tier ---------------

struct BitFixture {
    State state{3};
    std::vector<uint8_t> buf = std::vector<uint8_t>(16, 0xA5);
    Lum32s pos = 0;
    BitFixture() { lumiEncodeHuffmanStateInit_JPEG_8u(state.get()); }
    LumStatus bit(int b, Lum32s len = 16)
    {
        const Lum16s v[64] = {static_cast<Lum16s>(b)};
        return lumiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(v, buf.data(), len, &pos, 0, state.get(), 0);
    }
    LumStatus bits(const char* s, Lum32s len = 16)
    {
        for (; *s; ++s) {
            const LumStatus st = bit(*s - '0', len);
            if (st != lumStsNoErr) return st;
        }
        return lumStsNoErr;
    }
    // The sequential primitive's flush, on the same narrow state.
    LumStatus flush(Lum32s len = 16)
    {
        return lumiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, buf.data(), len, &pos, nullptr, nullptr, nullptr,
                                                 state.get(), 1);
    }
};

class EncodeBitOutput : public TierTest {};

TEST_P(EncodeBitOutput, PaddingFFGetsItsStuffing)
{
    BitFixture f;
    EXPECT_EQ(f.bits("111"), lumStsNoErr);
    EXPECT_EQ(f.flush(), lumStsNoErr);
    EXPECT_EQ(f.pos, 2);
    EXPECT_EQ(f.buf[0], 0xFF);
    EXPECT_EQ(f.buf[1], 0x00);

    // With one byte of room the 0xFF goes in and counts, its 0x00 does not; the reset happens.
    BitFixture g;
    EXPECT_EQ(g.bits("111"), lumStsNoErr);
    EXPECT_EQ(g.flush(1), lumStsOutOfBuffer);
    EXPECT_EQ(g.pos, 1);
    EXPECT_EQ(g.buf[0], 0xFF);
    EXPECT_EQ(g.buf[1], kCanary);
    for (int i = 0; i < kReserved; ++i) ASSERT_EQ(g.state.bytes()[i], 0);
}

TEST_P(EncodeBitOutput, CodeCompletingFFInTheLastByte)
{
    BitFixture f;
    EXPECT_EQ(f.bits("1111111"), lumStsNoErr);
    EXPECT_EQ(f.pos, 0);
    const auto before = f.state.snapshot();
    EXPECT_EQ(f.bit(1, 1), lumStsOutOfBuffer);
    EXPECT_EQ(f.pos, 1);
    EXPECT_EQ(f.buf[0], 0xFF);
    EXPECT_EQ(f.buf[1], kCanary);
    // The state is the one from before the call: seven bits pending.
    EXPECT_EQ(f.state.snapshot(), before);
    EXPECT_EQ(f.state.field(kBitCount), 7);
}

TEST_P(EncodeBitOutput, FullBufferKeepsTheStateFromBeforeTheCall)
{
    BitFixture f;
    EXPECT_EQ(f.bits("0101010"), lumStsNoErr);
    const auto before = f.state.snapshot();
    EXPECT_EQ(f.bit(1, 1), lumStsNoErr);  // the byte 0x55 just fits
    EXPECT_EQ(f.pos, 1);
    EXPECT_EQ(f.bits("0110011"), lumStsNoErr);
    const auto second = f.state.snapshot();
    EXPECT_EQ(f.bit(0, 1), lumStsOutOfBuffer);  // position 1 is at the end
    EXPECT_EQ(f.pos, 1);
    EXPECT_EQ(f.state.snapshot(), second);
    EXPECT_NE(before, second);
    EXPECT_EQ(f.buf[0], 0x55);
    EXPECT_EQ(f.buf[1], kCanary);
}

TEST_P(EncodeBitOutput, FlushWithoutPendingBitsWritesNothing)
{
    BitFixture f;
    EXPECT_EQ(f.flush(), lumStsNoErr);
    EXPECT_EQ(f.pos, 0);
    EXPECT_EQ(f.bits("10101010"), lumStsNoErr);
    EXPECT_EQ(f.flush(), lumStsNoErr);
    EXPECT_EQ(f.pos, 1);
    EXPECT_EQ(f.buf[0], 0xAA);
    EXPECT_EQ(f.buf[1], kCanary);
}

// ---- Random streams against the model ----------------------------------------------------------------

std::vector<uint8_t> modelSequential(const std::vector<model::Block>& blocks, const TableSpec& dc,
                                     const TableSpec& ac)
{
    const auto dcTable = modelTable(dc), acTable = modelTable(ac);
    model::BitList bits;
    int lastDc = 0;
    for (const auto& b : blocks) model::sequentialBlock(bits, b, lastDc, dcTable, acTable);
    return bytesOf(bits);
}

EncodeStep sequentialStep(SpecRecord& dc, SpecRecord& ac, Lum16s& lastDc)
{
    return [&](const Lum16s* block, Lum8u* dst, Lum32s len, Lum32s* pos, LumEncodeHuffmanState* state, Lum32s flush) {
        return lumiEncodeHuffman8x8_JPEG_16s1u_C1(block, dst, len, pos, &lastDc, dc.get(), ac.get(), state, flush);
    };
}

TEST_P(EncodeSequential, RandomBlocksMatchTheModelAtAnyRecordAddress)
{
    const auto blocks = randomBlocks(1500, 11, 2047, 1023);
    // Sizes up to 16 need the full tables; differences of up to 4094 need category 12.
    const auto expected = modelSequential(blocks, fullDcTable(), fullAcTable());
    for (size_t offset : {0, 1, 6, 15}) {
        SpecRecord dc(offset), ac(offset + 3);
        initSpec(dc, fullDcTable());
        initSpec(ac, fullAcTable());
        State state(offset + 1, 0x77);
        ASSERT_EQ(lumiEncodeHuffmanStateInit_JPEG_8u(state.get()), lumStsNoErr);
        Lum16s lastDc = 0;
        EXPECT_EQ(encodeWhole(sequentialStep(dc, ac, lastDc), blocks, state.get()), expected) << offset;
        EXPECT_EQ(lastDc, blocks.back()[0]);
    }
}

TEST_P(EncodeSequential, ExtremeValuesMatchTheModel)
{
    // Full-range coefficients, dense blocks full of 0xFF bytes: every drain path and stuffing.
    auto blocks = randomBlocks(400, 12, 32767, 32767);
    for (auto& b : blocks)
        for (auto& c : b)
            if (c == -32768) c = -32767;
    std::mt19937 rng(3);
    for (size_t i = 0; i < blocks.size(); i += 7)
        for (int k = 0; k < 64; ++k) blocks[i][k] = static_cast<Lum16s>(rng() % 2 ? -1 : 32767);
    SpecRecord dc, ac;
    initSpec(dc, fullDcTable());
    // The frequent low symbols get the codes nearest to all ones, so that 0xFF bytes are common.
    TableSpec ones;
    ones.bits = {0, 0, 0, 0, 0, 0, 0, 255, 1};
    ones.vals.resize(256);
    std::iota(ones.vals.rbegin(), ones.vals.rend(), 0);
    initSpec(ac, ones);
    State state;
    lumiEncodeHuffmanStateInit_JPEG_8u(state.get());
    Lum16s lastDc = 0;
    const auto expected = modelSequential(blocks, fullDcTable(), ones);
    EXPECT_GT(std::count(expected.begin(), expected.end(), 0xFF), 1000);
    EXPECT_EQ(encodeWhole(sequentialStep(dc, ac, lastDc), blocks, state.get()), expected);
}

TEST_P(EncodeSequential, ChunkedOutputGivesTheSameBytes)
{
    const auto blocks = randomBlocks(600, 21, 1023, 255);
    SpecRecord dc, ac;
    initSpec(dc, fullDcTable());
    initSpec(ac, fullAcTable());
    const auto expected = modelSequential(blocks, fullDcTable(), fullAcTable());
    for (size_t chunk : {160, 200, 333}) {
        State state(chunk % 7);
        lumiEncodeHuffmanStateInit_JPEG_8u(state.get());
        Lum16s lastDc = 0, savedDc = 0;
        int refills = 0;
        const auto out = encodeChunked(
            sequentialStep(dc, ac, lastDc), blocks, state, chunk,
            [&](bool save) { save ? void(savedDc = lastDc) : void(lastDc = savedDc); }, &refills);
        EXPECT_EQ(out, expected) << chunk;
        EXPECT_GT(refills, 10);
    }
}

LUM_ALL_TIERS(EncodeRecords);
LUM_ALL_TIERS(EncodeSequential);
LUM_ALL_TIERS(EncodeBitOutput);

}  // namespace
