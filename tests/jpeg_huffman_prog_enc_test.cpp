// Progressive encoding: DC first, DC refine, AC first and AC refine. Exactness class: exact across all
// tiers for the bytes of every flushed scan and for every status on a valid stream. The tiers differ,
// as designed, in where their position stands between calls (the wide accumulator of a6, w7 and t7
// holds up to 64 bits) and in what the AC flush reports and keeps after a failure; the tests name the
// tier where they differ.
#include "huffman_enc_support.h"
#include "test_support.h"
#include "tier_fixture.h"

#include <lum.h>

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

using namespace lumtest;

class EncodeProgressive : public TierTest {};

struct ProgFixture : EncoderFixture {
    explicit ProgFixture(const TableSpec& acTable = tinyAcTable()) : EncoderFixture(acTable, 4096) {}
    LumStatus dcFirst(const model::Block& b, int al, Lum32s flush = 0)
    {
        return lumiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(b.data(), buf.data(), len(), &pos, &lastDc, al, dc.get(),
                                                         state.get(), flush);
    }
    LumStatus dcRefine(const model::Block& b, int al, Lum32s flush = 0)
    {
        return lumiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(b.data(), buf.data(), len(), &pos, al, state.get(), flush);
    }
    LumStatus acFirst(const model::Block* b, int ss, int se, int al)
    {
        return lumiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(b ? b->data() : nullptr, buf.data(), len(), &pos, ss, se,
                                                         al, ac.get(), state.get(), b == nullptr);
    }
    LumStatus acRefine(const model::Block* b, int ss, int se, int al)
    {
        return lumiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(b ? b->data() : nullptr, buf.data(), len(), &pos, ss, se,
                                                          al, ac.get(), state.get(), b == nullptr);
    }
    Lum32s len() const { return static_cast<Lum32s>(buf.size()); }
};

// ---- Checks --------------------------------------------------------------------------------------

TEST_P(EncodeProgressive, CheckOrderOfTheDcPrimitives)
{
    ProgFixture f;
    const auto b = blockWith({}, 40);
    Lum8u* d = f.buf.data();
    LumEncodeHuffmanState* st = f.state.get();
    const auto state = f.state.snapshot();
    auto dcFirst = [&](const Lum16s* s, Lum8u* dst, Lum32s len, Lum32s* pos, Lum16s* last, Lum32s al,
                       const LumEncodeHuffmanSpec* huffTable, LumEncodeHuffmanState* state, Lum32s flush) {
        return lumiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(s, dst, len, pos, last, al, huffTable, state, flush);
    };
    EXPECT_EQ(dcFirst(nullptr, nullptr, 0, nullptr, nullptr, 99, nullptr, nullptr, 0), lumStsNullPointer);
    EXPECT_EQ(dcFirst(nullptr, d, 0, nullptr, nullptr, 99, nullptr, nullptr, 0), lumStsBadSize);
    EXPECT_EQ(dcFirst(nullptr, d, 9, nullptr, nullptr, 99, nullptr, st, 1), lumStsNullPointer);
    EXPECT_EQ(dcFirst(nullptr, d, 9, &f.pos, nullptr, 99, nullptr, nullptr, 1), lumStsNullPointer);
    EXPECT_EQ(dcFirst(nullptr, d, 9, &f.pos, &f.lastDc, 99, nullptr, st, 0), lumStsNullPointer);
    EXPECT_EQ(dcFirst(b.data(), d, 9, &f.pos, nullptr, 99, nullptr, st, 0), lumStsNullPointer);
    EXPECT_EQ(dcFirst(b.data(), d, 9, &f.pos, &f.lastDc, 14, nullptr, st, 0), lumStsBadArgument);
    EXPECT_EQ(dcFirst(b.data(), d, 9, &f.pos, &f.lastDc, -1, nullptr, st, 0), lumStsBadArgument);
    // The table pointer comes after the range test.
    EXPECT_EQ(dcFirst(b.data(), d, 9, &f.pos, &f.lastDc, 13, nullptr, st, 0), lumStsNullPointer);

    auto dcRefine = [&](const Lum16s* s, Lum8u* dst, Lum32s len, Lum32s* pos, Lum32s al,
                        LumEncodeHuffmanState* state, Lum32s flush) {
        return lumiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(s, dst, len, pos, al, state, flush);
    };
    EXPECT_EQ(dcRefine(nullptr, nullptr, 0, nullptr, 99, nullptr, 0), lumStsNullPointer);
    EXPECT_EQ(dcRefine(nullptr, d, -1, nullptr, 99, nullptr, 0), lumStsBadSize);
    EXPECT_EQ(dcRefine(nullptr, d, 9, &f.pos, 99, nullptr, 1), lumStsNullPointer);
    EXPECT_EQ(dcRefine(nullptr, d, 9, &f.pos, 99, st, 0), lumStsNullPointer);
    EXPECT_EQ(dcRefine(b.data(), d, 9, &f.pos, 14, st, 0), lumStsBadArgument);

    EXPECT_EQ(f.pos, 0);
    EXPECT_EQ(f.lastDc, 0);
    EXPECT_EQ(f.state.snapshot(), state);
    for (uint8_t x : f.buf) ASSERT_EQ(x, kCanary);

    // Flushes look at nothing else.
    EXPECT_EQ(dcFirst(nullptr, d, 9, &f.pos, nullptr, 99, nullptr, st, 1), lumStsNoErr);
    EXPECT_EQ(dcRefine(nullptr, d, 9, &f.pos, 99, st, 1), lumStsNoErr);
    EXPECT_EQ(f.pos, 0);
}

TEST_P(EncodeProgressive, CheckOrderOfTheAcPrimitives)
{
    using AcFn = decltype(::lumiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1);
    for (AcFn* fn : {&lumiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1, &lumiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1}) {
        ProgFixture f;
        const auto b = blockWith({{1, 5}});
        Lum8u* d = f.buf.data();
        LumEncodeHuffmanState* st = f.state.get();
        const LumEncodeHuffmanSpec* ac = f.ac.get();
        const auto state = f.state.snapshot();
        EXPECT_EQ(fn(nullptr, nullptr, 0, nullptr, 0, 99, 99, nullptr, nullptr, 0), lumStsNullPointer);
        EXPECT_EQ(fn(nullptr, d, 0, nullptr, 0, 99, 99, nullptr, nullptr, 0), lumStsBadSize);
        EXPECT_EQ(fn(nullptr, d, 9, nullptr, 0, 99, 99, ac, st, 1), lumStsNullPointer);
        EXPECT_EQ(fn(nullptr, d, 9, &f.pos, 0, 99, 99, ac, nullptr, 1), lumStsNullPointer);
        // The AC table is needed by the flush too.
        EXPECT_EQ(fn(nullptr, d, 9, &f.pos, 0, 99, 99, nullptr, st, 1), lumStsNullPointer);
        EXPECT_EQ(fn(nullptr, d, 9, &f.pos, 0, 99, 99, ac, st, 0), lumStsNullPointer);
        EXPECT_EQ(fn(b.data(), d, 9, &f.pos, 0, 63, 0, ac, st, 0), lumStsBadArgument);   // Ss 0
        EXPECT_EQ(fn(b.data(), d, 9, &f.pos, 64, 64, 0, ac, st, 0), lumStsBadArgument);  // Ss 64
        EXPECT_EQ(fn(b.data(), d, 9, &f.pos, 5, 4, 0, ac, st, 0), lumStsBadArgument);    // Se < Ss
        EXPECT_EQ(fn(b.data(), d, 9, &f.pos, 1, 64, 0, ac, st, 0), lumStsBadArgument);   // Se 64
        EXPECT_EQ(fn(b.data(), d, 9, &f.pos, 1, 63, 14, ac, st, 0), lumStsBadArgument);  // Al 14
        EXPECT_EQ(fn(b.data(), d, 9, &f.pos, 1, 63, -1, ac, st, 0), lumStsBadArgument);
        EXPECT_EQ(f.pos, 0);
        EXPECT_EQ(f.state.snapshot(), state);
        for (uint8_t x : f.buf) ASSERT_EQ(x, kCanary);
        // Al 13 is accepted; 5 >> 13 is 0, so the block only grows the run. A flush needs no block.
        EXPECT_EQ(fn(b.data(), d, 9, &f.pos, 1, 63, 13, ac, st, 0), lumStsNoErr);
        EXPECT_EQ(f.state.field(kEobRun), 1);
        EXPECT_EQ(fn(nullptr, d, 9, &f.pos, 0, 99, 99, ac, st, 1), lumStsNoErr);
        EXPECT_EQ(f.written(), (std::vector<uint8_t>{0x3F}));  // EOB0: 00, padded
    }
}

// ---- DC passes ------------------------------------------------------------------------------------

TEST_P(EncodeProgressive, DcFirstCodesThePointTransformedDifference)
{
    // 20 >> 2 = 5 from 0: category 3 (100) and 101. -20 >> 2 = -5: difference -10, category 4 (101)
    // and the low four bits of -11, 0101.
    ProgFixture f;
    EXPECT_EQ(f.dcFirst(blockWith({}, 20), 2), lumStsNoErr);
    EXPECT_EQ(f.lastDc, 5);
    EXPECT_EQ(f.dcFirst(blockWith({}, -20), 2), lumStsNoErr);
    EXPECT_EQ(f.lastDc, -5);
    EXPECT_EQ(f.dcFirst(blockWith({}), 0, 1), lumStsNoErr);
    EXPECT_EQ(f.written(), (std::vector<uint8_t>{0x96, 0xAF}));
    // -3 >> 1 is -2: the shift is arithmetic.
    EXPECT_EQ(f.dcFirst(blockWith({}, -3), 1), lumStsNoErr);
    EXPECT_EQ(f.lastDc, -2);
}

TEST_P(EncodeProgressive, DcFirstRefusesCategoriesAboveEleven)
{
    ProgFixture f;
    const auto state = f.state.snapshot();
    EXPECT_EQ(f.dcFirst(blockWith({}, 4096), 0), lumStsJpegCoefOutOfRange);
    EXPECT_EQ(f.lastDc, 4096);
    EXPECT_EQ(f.pos, 0);
    EXPECT_EQ(f.state.snapshot(), state);
    // Category 11 passes the range test; the standard table has it.
    EXPECT_EQ(f.dcFirst(blockWith({}, 4096 - 2047), 0), lumStsNoErr);
}

TEST_P(EncodeProgressive, DcRefineSendsBitAl)
{
    ProgFixture f;
    for (int v : {4, 5, -4, -3, 0, 1, 2, 3})  // bit 1 of each: 0 0 0 0 0 0 1 1
        EXPECT_EQ(f.dcRefine(blockWith({}, v), 1), lumStsNoErr);
    EXPECT_EQ(f.pos, 1);
    EXPECT_EQ(f.buf[0], 0x03);
    EXPECT_EQ(f.dcRefine(blockWith({}, 0x2000), 13), lumStsNoErr);
    EXPECT_EQ(f.dcRefine(blockWith({}), 0, 1), lumStsNoErr);
    EXPECT_EQ(f.written(), (std::vector<uint8_t>{0x03, 0xFF, 0x00}));
}

// ---- AC first --------------------------------------------------------------------------------------

TEST_P(EncodeProgressive, AcFirstRunsAtTheFlush)
{
    // Runs of 1, 2 and 3 blocks: EOB0 (00); EOB1 (11110) and bit 0; EOB1 and bit 1. A coefficient
    // that the point transform takes to 0 counts as zero.
    const std::vector<uint8_t> expected[3] = {{0x3F}, {0xF3}, {0xF7}};
    for (int run = 1; run <= 3; ++run) {
        ProgFixture f;
        const auto vanishing = blockWith({{1, 1}, {2, -1}, {40, 1}});
        for (int i = 0; i < run; ++i) {
            EXPECT_EQ(f.acFirst(&vanishing, 1, 63, 1), lumStsNoErr);
            EXPECT_EQ(f.state.field(kEobRun), i + 1);
        }
        EXPECT_EQ(f.pos, 0);
        EXPECT_EQ(f.acFirst(nullptr, 0, 0, 0), lumStsNoErr);
        EXPECT_EQ(f.written(), expected[run - 1]) << run;
        for (int i = 0; i < kReserved; ++i) ASSERT_EQ(f.state.bytes()[i], 0);
    }
}

TEST_P(EncodeProgressive, AcFirstBandOfOne)
{
    // -2 alone at k = 5: size 2 (1110), the complement of 2 in two bits (01).
    ProgFixture f;
    const auto b = blockWith({{4, 7}, {5, -2}, {6, 7}});
    EXPECT_EQ(f.acFirst(&b, 5, 5, 0), lumStsNoErr);
    EXPECT_EQ(f.state.field(kEobRun), 0);
    EXPECT_EQ(f.acFirst(nullptr, 0, 0, 0), lumStsNoErr);
    EXPECT_EQ(f.written(), (std::vector<uint8_t>{0xE7}));
}

TEST_P(EncodeProgressive, AcFirstRunOf32767)
{
    ProgFixture f(fullAcTable());
    const auto zero = blockWith({});
    for (int i = 1; i < 32767; ++i) ASSERT_EQ(f.acFirst(&zero, 1, 63, 0), lumStsNoErr);
    EXPECT_EQ(f.state.field(kEobRun), 32766);
    EXPECT_EQ(f.pos, 0);
    EXPECT_EQ(f.state.field(kBitCount), 0);
    EXPECT_EQ(f.acFirst(&zero, 1, 63, 0), lumStsNoErr);
    EXPECT_EQ(f.state.field(kEobRun), 0);
    EXPECT_EQ(f.acFirst(nullptr, 0, 0, 0), lumStsNoErr);
    // EOB14 and the low 14 bits of 32767, padded.
    const auto table = modelTable(fullAcTable());
    model::BitList bits;
    bits.code(table, 0xE0);
    bits.put(0x3FFF, 14);
    EXPECT_EQ(f.written(), bytesOf(bits));
}

TEST_P(EncodeProgressive, AcFirstSizeElevenEncodesAndTwelveFails)
{
    const auto table = modelTable(fullAcTable());
    for (int size : {11, 12}) {
        ProgFixture f(fullAcTable());
        const auto zero = blockWith({});
        for (int i = 0; i < 3; ++i) ASSERT_EQ(f.acFirst(&zero, 1, 63, 0), lumStsNoErr);
        // Twenty zeros, then 2047 << 1 or 4095 << 1 with Al 1.
        const int value = ((1 << size) - 1) << 1;
        const auto big = blockWith({{21, -value}});
        const auto state = f.state.snapshot();
        model::BitList bits;
        bits.code(table, 0x10);  // the run of three: EOB1 and bit 1
        bits.put(1, 1);
        bits.code(table, 0xF0);  // sixteen of the twenty zeros
        if (size == 11) {
            EXPECT_EQ(f.acFirst(&big, 1, 63, 1), lumStsNoErr);
            bits.code(table, 0x4B);
            bits.put(0, 11);  // the complement of 2047
            bits.code(table, 0x00);
        } else {
            EXPECT_EQ(f.acFirst(&big, 1, 63, 1), lumStsJpegCoefOutOfRange);
            EXPECT_EQ(f.state.field(kEobRun), 0);
            EXPECT_NE(f.state.snapshot(), state);
        }
        EXPECT_EQ(f.acFirst(nullptr, 0, 0, 0), lumStsNoErr);
        EXPECT_EQ(f.written(), bytesOf(bits)) << size;
    }
}

// ---- AC refine ------------------------------------------------------------------------------------

TEST_P(EncodeProgressive, AcRefineWithOnlyOldCoefficientsSendsNothing)
{
    ProgFixture f;
    const auto b = blockWith({{3, 2}, {4, -3}, {7, 5}, {9, 4}});
    EXPECT_EQ(f.acRefine(&b, 3, 9, 0), lumStsNoErr);
    EXPECT_EQ(f.pos, 0);
    EXPECT_EQ(f.state.field(kBitCount), 0);
    EXPECT_EQ(f.state.field(kEobRun), 1);
    EXPECT_EQ(f.state.field(kCorrBitCount), 4);
    const uint8_t* bits = f.state.bytes() + kCorrBits;
    EXPECT_EQ(bits[0], 0);
    EXPECT_EQ(bits[1], 1);
    EXPECT_EQ(bits[2], 1);
    EXPECT_EQ(bits[3], 0);
    // The flush: EOB0 (00), then the four bits 0110, padded.
    EXPECT_EQ(f.acRefine(nullptr, 0, 0, 0), lumStsNoErr);
    EXPECT_EQ(f.written(), (std::vector<uint8_t>{0x1B}));
}

TEST_P(EncodeProgressive, AcRefineNewCoefficientCarriesTheEarlierBits)
{
    // Block 1: old 3 at k = 1, a zero at k = 2: its bit 1 waits with a run of one block. Block 2: new
    // -1 at k = 1, old 2 at k = 2. The stream: EOB0 (00), block 1's bit (1), symbol 0x01 (110), the
    // sign (0); block 2 ends on an old coefficient and starts a run: at the flush EOB0 (00) and its
    // bit (0).
    ProgFixture f;
    const auto b1 = blockWith({{1, 3}});
    const auto b2 = blockWith({{1, -1}, {2, 2}});
    EXPECT_EQ(f.acRefine(&b1, 1, 2, 0), lumStsNoErr);
    EXPECT_EQ(f.acRefine(&b2, 1, 2, 0), lumStsNoErr);
    EXPECT_EQ(f.state.field(kEobRun), 1);
    EXPECT_EQ(f.state.field(kCorrBitCount), 1);
    EXPECT_EQ(f.state.bytes()[kCorrBits], 0);
    EXPECT_EQ(f.acRefine(nullptr, 0, 0, 0), lumStsNoErr);
    EXPECT_EQ(f.written(), (std::vector<uint8_t>{0x38, 0x3F}));
}

TEST_P(EncodeProgressive, AcRefineCorrectionBitsForceTheRunAt938)
{
    ProgFixture f(fullAcTable());
    model::Block old;
    for (int i = 0; i < 64; ++i) old[i] = static_cast<Lum16s>(2 + (i % 3 == 0));
    for (int i = 1; i <= 14; ++i) {
        ASSERT_EQ(f.acRefine(&old, 1, 63, 0), lumStsNoErr);
        EXPECT_EQ(f.state.field(kCorrBitCount), 63 * i);
        EXPECT_EQ(f.state.field(kEobRun), i);
    }
    // 15 blocks would make 945 bits: the run and the bits go out at the end of that block.
    ASSERT_EQ(f.acRefine(&old, 1, 63, 0), lumStsNoErr);
    EXPECT_EQ(f.state.field(kCorrBitCount), 0);
    EXPECT_EQ(f.state.field(kEobRun), 0);
    EXPECT_EQ(f.acRefine(nullptr, 0, 0, 0), lumStsNoErr);
    const auto table = modelTable(fullAcTable());
    model::BitList bits;
    model::AcScan<model::BitList> scan(bits, table, 1, 63, 0);
    for (int i = 0; i < 15; ++i) scan.refine(old);
    EXPECT_EQ(scan.eobRun(), 0);
    scan.finish();
    EXPECT_EQ(f.written(), bytesOf(bits));
}

TEST_P(EncodeProgressive, AcRefineLongRunsNeedZrlOnlyWithSomethingNewBehind)
{
    const auto table = modelTable(fullAcTable());
    // Old 2 at k = 1, eighteen zeros, then a new 1 at k = 20: ZRL before run 2.
    const auto withNew = blockWith({{1, 2}, {20, 1}});
    // The same run with an old coefficient behind it: no ZRL, left to the EOB run.
    const auto withOld = blockWith({{1, 2}, {20, 3}});
    for (const bool somethingNew : {true, false}) {
        const auto& b = somethingNew ? withNew : withOld;
        ProgFixture f(fullAcTable());
        EXPECT_EQ(f.acRefine(&b, 1, 63, 0), lumStsNoErr);
        EXPECT_EQ(f.acRefine(nullptr, 0, 0, 0), lumStsNoErr);
        model::BitList bits;
        if (somethingNew) {
            bits.code(table, 0xF0);
            bits.put(0, 1);  // the old coefficient's bit goes with the ZRL
            bits.code(table, 0x21);
            bits.put(1, 1);
            bits.code(table, 0x00);  // 43 zeros left: a run of one block
        } else {
            bits.code(table, 0x00);
            bits.put(0, 1);
            bits.put(1, 1);
        }
        EXPECT_EQ(f.written(), bytesOf(bits));
    }
}

// ---- Flush rules --------------------------------------------------------------------------------------

TEST_P(EncodeProgressive, EobRunsAboveTheLimitFromARecord)
{
    const auto table = modelTable(fullAcTable());
    struct Case {
        int32_t run;
        std::vector<std::pair<int, int>> codes;  // symbol, then n bits of the run's remainder
    };
    // 40000: EOB14 with the low 14 bits, then 7233 as EOB12 with 12 bits. 32768: EOB14, then a run
    // of 1, which is EOB0 without bits.
    for (int32_t run : {40000, 32768}) {
        ProgFixture f(fullAcTable());
        f.state.setField(kEobRun, run);
        EXPECT_EQ(f.acFirst(nullptr, 0, 0, 0), lumStsNoErr);
        model::BitList bits;
        bits.code(table, 0xE0);
        bits.put(static_cast<uint32_t>(run), 14);
        const int rest = run - 32767;
        const int n = model::bitsOf(static_cast<uint32_t>(rest)) - 1;
        bits.code(table, 16 * n);
        bits.put(static_cast<uint32_t>(rest), n);
        EXPECT_EQ(f.written(), bytesOf(bits)) << run;
        EXPECT_EQ(f.state.field(kEobRun), 0);
    }
}

TEST_P(EncodeProgressive, FlushFailuresPerTier)
{
    // An oversized run (EOB14 goes out, then the rest is too large) and a missing EOBn code (the tiny
    // table has no EOB3) at the flush. px: AC first reports only the padding and clears the run; AC
    // refine reports the failure. The wide tiers report it in both and keep the run. What was sent
    // and the padding go out everywhere.
    struct Case {
        TableSpec table;
        int32_t run;
        LumStatus failure;
        int32_t keptRun;
    };
    const Case cases[] = {{fullAcTable(), 1 << 20, lumStsJpegCoefOutOfRange, (1 << 20) - 32767},
                          {tinyAcTable(), 8, lumStsJpegTableDestroyed, 8}};
    for (const Case& c : cases) {
        const auto table = modelTable(c.table);
        model::BitList bits;
        for (int i = 0; i < 2; ++i) {
            bits.code(table, 0x01);
            bits.put(1, 1);
        }
        if (c.run > 32767) {
            bits.code(table, 0xE0);
            bits.put(static_cast<uint32_t>(c.run), 14);
        }
        const auto expected = bytesOf(bits);
        for (bool refine : {false, true}) {
            ProgFixture f(c.table);
            const auto b = blockWith({{1, 1}, {2, 1}});
            EXPECT_EQ(refine ? f.acRefine(&b, 1, 3, 0) : f.acFirst(&b, 1, 3, 0), lumStsNoErr);
            f.state.setField(kEobRun, c.run);
            const LumStatus s = refine ? f.acRefine(nullptr, 0, 0, 0) : f.acFirst(nullptr, 0, 0, 0);
            EXPECT_EQ(f.written(), expected) << c.run << " refine " << refine;
            if (isPx()) {
                EXPECT_EQ(s, refine ? c.failure : lumStsNoErr);
                EXPECT_EQ(f.state.field(kEobRun), 0);
            } else {
                EXPECT_EQ(s, c.failure);
                EXPECT_EQ(f.state.field(kEobRun), c.keptRun);
            }
            EXPECT_EQ(f.state.field(kBitCount), 0);
            EXPECT_EQ(f.state.field(kCorrBitCount), 0);
        }
    }
}

// ---- Random scans against the model ----------------------------------------------------------------

struct ScanSetup {
    int ss, se, al;
    int restart;  // blocks per restart interval, 0 for none
};

// Encodes a progressive scan of one kind with flushes at the restart points, as a caller does.
std::vector<uint8_t> encodeScan(int kind, const ScanSetup& s, const std::vector<model::Block>& blocks, SpecRecord& dc,
                                SpecRecord& ac, State& state)
{
    std::vector<uint8_t> out(blocks.size() * 300 + 1024);
    Lum32s pos = 0;
    Lum16s lastDc = 0;
    const auto len = static_cast<Lum32s>(out.size());
    auto call = [&](const model::Block* b) {
        const Lum16s* src = b ? b->data() : nullptr;
        const Lum32s flush = b == nullptr;
        switch (kind) {
        case 0:
            return lumiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(src, out.data(), len, &pos, &lastDc, s.al, dc.get(),
                                                             state.get(), flush);
        case 1:
            return lumiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(src, out.data(), len, &pos, s.al, state.get(), flush);
        case 2:
            return lumiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(src, out.data(), len, &pos, s.ss, s.se, s.al, ac.get(),
                                                             state.get(), flush);
        default:
            return lumiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(src, out.data(), len, &pos, s.ss, s.se, s.al,
                                                              ac.get(), state.get(), flush);
        }
    };
    for (size_t i = 0; i < blocks.size(); ++i) {
        EXPECT_EQ(call(&blocks[i]), lumStsNoErr);
        if (s.restart != 0 && (i + 1) % static_cast<size_t>(s.restart) == 0 && i + 1 < blocks.size()) {
            EXPECT_EQ(call(nullptr), lumStsNoErr);
            lastDc = 0;
        }
    }
    EXPECT_EQ(call(nullptr), lumStsNoErr);
    out.resize(static_cast<size_t>(pos));
    return out;
}

std::vector<uint8_t> modelScan(int kind, const ScanSetup& s, const std::vector<model::Block>& blocks)
{
    const auto dc = modelTable(fullDcTable()), ac = modelTable(fullAcTable());
    std::vector<uint8_t> out;
    model::BitList bits;
    model::AcScan<model::BitList> scan(bits, ac, s.ss, s.se, s.al);
    int lastDc = 0;
    for (size_t i = 0; i < blocks.size(); ++i) {
        if (kind == 0) model::dcFirstBlock(bits, blocks[i], lastDc, s.al, dc);
        if (kind == 1) model::dcRefineBlock(bits, blocks[i], s.al);
        if (kind == 2) scan.first(blocks[i]);
        if (kind == 3) scan.refine(blocks[i]);
        const bool restart = s.restart != 0 && (i + 1) % static_cast<size_t>(s.restart) == 0;
        if (restart || i + 1 == blocks.size()) {
            scan.finish();
            bits.flushTo(out);
            lastDc = 0;
        }
    }
    return out;
}

TEST_P(EncodeProgressive, RandomScansMatchTheModel)
{
    const auto blocks = randomBlocks(700, 31, 1023, 1023);
    const ScanSetup setups[] = {{1, 63, 0, 0}, {1, 5, 2, 0}, {6, 63, 1, 37}, {3, 3, 0, 0}, {1, 63, 13, 0},
                                {10, 40, 3, 5}, {1, 63, 1, 1}};
    for (size_t offset : {0, 7}) {
        SpecRecord dc(offset), ac(offset + 1);
        initSpec(dc, fullDcTable());
        initSpec(ac, fullAcTable());
        State state(offset + 2, 0x3C);
        lumiEncodeHuffmanStateInit_JPEG_8u(state.get());
        for (int kind = 0; kind < 4; ++kind)
            for (const auto& s : setups)
                EXPECT_EQ(encodeScan(kind, s, blocks, dc, ac, state), modelScan(kind, s, blocks))
                    << "kind " << kind << " Ss " << s.ss << " Se " << s.se << " Al " << s.al;
    }
}

TEST_P(EncodeProgressive, SparseRefinementScansMatchTheModel)
{
    // Mostly old coefficients and long runs: correction bits pile up, runs grow long.
    auto blocks = randomBlocks(3000, 41, 255, 3);
    std::mt19937 rng(5);
    for (auto& b : blocks)
        for (int i = 1; i < 64; ++i)
            if (rng() % 8 != 0) b[i] = static_cast<Lum16s>(b[i] * 2 + (b[i] > 0 ? 1 : -1) * (b[i] != 0));
    SpecRecord dc, ac;
    initSpec(dc, fullDcTable());
    initSpec(ac, fullAcTable());
    State state;
    lumiEncodeHuffmanStateInit_JPEG_8u(state.get());
    for (const ScanSetup s : {ScanSetup{1, 63, 1, 0}, ScanSetup{1, 63, 0, 0}, ScanSetup{20, 63, 1, 200}})
        for (int kind : {2, 3}) EXPECT_EQ(encodeScan(kind, s, blocks, dc, ac, state), modelScan(kind, s, blocks));
}

TEST_P(EncodeProgressive, ChunkedOutputGivesTheSameBytes)
{
    const auto blocks = randomBlocks(500, 51, 1023, 1023);
    SpecRecord ac;
    initSpec(ac, fullAcTable());
    const ScanSetup s{1, 63, 0, 0};
    for (int kind : {2, 3}) {
        const auto expected = modelScan(kind, s, blocks);
        for (size_t chunk : {200, 301}) {
            State state(chunk % 5);
            lumiEncodeHuffmanStateInit_JPEG_8u(state.get());
            const EncodeStep step = [&](const Lum16s* b, Lum8u* dst, Lum32s len, Lum32s* pos,
                                        LumEncodeHuffmanState* st, Lum32s flush) {
                return kind == 2 ? lumiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(b, dst, len, pos, 1, 63, 0, ac.get(), st,
                                                                             flush)
                                 : lumiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(b, dst, len, pos, 1, 63, 0, ac.get(),
                                                                              st, flush);
            };
            int refills = 0;
            EXPECT_EQ(encodeChunked(step, blocks, state, chunk, [](bool) {}, &refills), expected);
            EXPECT_GT(refills, 5);
        }
    }
}

// After a full buffer the wide tiers hold position and accumulator consistently: the bytes written
// and the pending bits are a prefix of the stream. px keeps the state from before the failed PutBits.
TEST_P(EncodeProgressive, WideStateIsConsistentAfterAFullBuffer)
{
    const auto blocks = randomBlocks(200, 61, 1023, 1023);
    const auto table = modelTable(fullAcTable());
    model::BitList bits;
    model::AcScan<model::BitList> scan(bits, table, 1, 63, 0);
    for (const auto& b : blocks) scan.first(b);
    const auto& expected = bits.bits();
    SpecRecord ac;
    initSpec(ac, fullAcTable());
    for (Lum32s len : {50, 97, 301}) {
        State state(1);
        lumiEncodeHuffmanStateInit_JPEG_8u(state.get());
        std::vector<uint8_t> buf(static_cast<size_t>(len) + 64, kCanary);
        Lum32s pos = 0;
        LumStatus s = lumStsNoErr;
        for (size_t i = 0; i < blocks.size() && s == lumStsNoErr; ++i)
            s = lumiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(blocks[i].data(), buf.data(), len, &pos, 1, 63, 0, ac.get(),
                                                          state.get(), 0);
        ASSERT_EQ(s, lumStsOutOfBuffer);
        EXPECT_LE(pos, len);
        for (size_t i = static_cast<size_t>(len); i < buf.size(); ++i) ASSERT_EQ(buf[i], kCanary);
        if (isPx()) continue;
        std::vector<uint8_t> got;
        for (Lum32s i = 0; i < pos; ++i) {
            for (int j = 7; j >= 0; --j) got.push_back((buf[i] >> j) & 1);
            if (buf[i] == 0xFF && i + 1 < pos) ++i;  // the stuffed 0x00
        }
        const uint64_t acc = uint64_t(uint32_t(state.field(kBitAccHigh))) << 32 | uint32_t(state.field(kBitAcc));
        const int pending = state.field(kBitCount);
        ASSERT_LE(pending, 64);
        for (int j = pending - 1; j >= 0; --j) got.push_back((acc >> j) & 1);
        ASSERT_LE(got.size(), expected.size());
        EXPECT_TRUE(std::equal(got.begin(), got.end(), expected.begin())) << len;
    }
}

LUM_ALL_TIERS(EncodeProgressive);

}  // namespace
