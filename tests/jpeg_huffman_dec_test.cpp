// Huffman decoding: the records and their operations, the table builder, the narrow and wide bit
// input, and the sequential block decoder with its fast path, in every tier.
#include "huffman_dec_support.h"
#include "jpeg/huffman_dec_bits.h"
#include "test_support.h"
#include "tier_fixture.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using namespace lumtest;

class HuffDecRecords : public TierTest {};
class HuffDecSequential : public TierTest {};

// ---- Records -----------------------------------------------------------------------------------

TEST_P(HuffDecRecords, GetBufSizeWritesTheRecordSizes)
{
    Lum32s size = 0;
    EXPECT_EQ(lumiDecodeHuffmanSpecGetBufSize_JPEG_8u(&size), lumStsNoErr);
    EXPECT_EQ(size, 1644);
    EXPECT_EQ(lumiDecodeHuffmanStateGetBufSize_JPEG_8u(&size), lumStsNoErr);
    EXPECT_EQ(size, 24);
    EXPECT_EQ(lumiDecodeHuffmanSpecGetBufSize_JPEG_8u(nullptr), lumStsNullPointer);
    EXPECT_EQ(lumiDecodeHuffmanStateGetBufSize_JPEG_8u(nullptr), lumStsNullPointer);
}

TEST_P(HuffDecRecords, StateInitZeroesTwentyBytesAndKeepsTheReservedFour)
{
    for (size_t offset : {0u, 1u, 3u}) {
        std::vector<uint8_t> bytes(24 + offset, 0x5C);
        auto* state = reinterpret_cast<LumDecodeHuffmanState*>(bytes.data() + offset);
        EXPECT_EQ(lumiDecodeHuffmanStateInit_JPEG_8u(state), lumStsNoErr);
        for (size_t i = 0; i < 20; ++i) EXPECT_EQ(bytes[offset + i], 0) << i;
        for (size_t i = 20; i < 24; ++i) EXPECT_EQ(bytes[offset + i], 0x5C) << i;
    }
    EXPECT_EQ(lumiDecodeHuffmanStateInit_JPEG_8u(nullptr), lumStsNullPointer);
}

TEST_P(HuffDecRecords, InitAllocGivesAZeroedAlignedStateAndFreeReleasesIt)
{
    LumDecodeHuffmanState* state = nullptr;
    ASSERT_EQ(lumiDecodeHuffmanStateInitAlloc_JPEG_8u(&state), lumStsNoErr);
    ASSERT_NE(state, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(state) % 32, 0u);
    const StateView v = readState(state);
    EXPECT_EQ(v.bitAcc | v.bitAccHigh, 0u);
    EXPECT_EQ(v.bitCount | v.eobRun | v.coefsLeft, 0);
    EXPECT_EQ(lumiDecodeHuffmanStateFree_JPEG_8u(state), lumStsNoErr);
    EXPECT_EQ(lumiDecodeHuffmanStateInitAlloc_JPEG_8u(nullptr), lumStsNullPointer);
    EXPECT_EQ(lumiDecodeHuffmanStateFree_JPEG_8u(nullptr), lumStsNullPointer);
}

TEST_P(HuffDecRecords, SpecOfTheLuminanceDcTableHoldsItsLiteralFields)
{
    SpecBuffer buf;
    LumDecodeHuffmanSpec* s = buf.get();
    buildSpec(dcLuminance(), s);
    EXPECT_TRUE(buf.guardsIntact());
    const int minCode[18] = {0, 0, 0, 2, 14, 30, 62, 126, 254, 510, 0, 0, 0, 0, 0, 0, 0, 0};
    const int maxCode[18] = {0,   0xFFFF, 0, 6, 14, 30, 62, 126, 254, 510, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF,
                             0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF};
    const int firstIndex[18] = {0, 0, 0, 1, 6, 7, 8, 9, 10, 11, 0, 0, 0, 0, 0, 0, 0, 0};
    for (int l = 0; l < 18; ++l) {
        EXPECT_EQ(minCodeOf(s, l), minCode[l]) << l;
        EXPECT_EQ(maxCodeOf(s, l), maxCode[l]) << l;
        EXPECT_EQ(firstIndexOf(s, l), firstIndex[l]) << l;
    }
    for (int i = 0; i < 256; ++i) EXPECT_EQ(symbolOf(s, i), i < 12 ? i : 0) << i;
    EXPECT_EQ(lookup8Of(s, 0x00), 0x20000u);
    EXPECT_EQ(lookup8Of(s, 0x3F), 0x20000u);
    EXPECT_EQ(lookup8Of(s, 0x40), 0x30001u);
    EXPECT_EQ(lookup8Of(s, 0xDF), 0x30005u);
    EXPECT_EQ(lookup8Of(s, 0xE0), 0x40006u);
    EXPECT_EQ(lookup8Of(s, 0xFC), 0x70009u);
    EXPECT_EQ(lookup8Of(s, 0xFE), 0x8000Au);
    EXPECT_EQ(lookup8Of(s, 0xFF), 0u);  // the 9-bit code of symbol 11
}

TEST_P(HuffDecRecords, SpecIsTheSameAtEveryByteOffset)
{
    SpecBuffer aligned;
    buildSpec(acLuminance(), aligned.get());
    for (size_t offset = 1; offset < 8; ++offset) {
        SpecBuffer buf(offset);
        buildSpec(acLuminance(), buf.get());
        EXPECT_EQ(std::memcmp(buf.raw(), aligned.raw(), 1644), 0) << offset;
        EXPECT_TRUE(buf.guardsIntact());
    }
}

TEST_P(HuffDecRecords, SpecInitChecksPointersAndTheCodeCount)
{
    HuffTable t = dcLuminance();
    SpecBuffer buf;
    EXPECT_EQ(lumiDecodeHuffmanSpecInit_JPEG_8u(nullptr, t.vals.data(), buf.get()), lumStsNullPointer);
    EXPECT_EQ(lumiDecodeHuffmanSpecInit_JPEG_8u(t.bits.data(), nullptr, buf.get()), lumStsNullPointer);
    EXPECT_EQ(lumiDecodeHuffmanSpecInit_JPEG_8u(t.bits.data(), t.vals.data(), nullptr), lumStsNullPointer);
    EXPECT_TRUE(buf.guardsIntact());

    // 257 codes: refused, and the record is all zero.
    std::vector<uint8_t> vals(257, 7);
    std::array<uint8_t, 16> bits{};
    bits[8] = 200;
    bits[9] = 57;
    EXPECT_EQ(lumiDecodeHuffmanSpecInit_JPEG_8u(bits.data(), vals.data(), buf.get()), lumStsJpegTableDestroyed);
    for (int i = 0; i < 1644; ++i) ASSERT_EQ(buf.raw()[i], 0) << i;
    EXPECT_TRUE(buf.guardsIntact());

    // Exactly 256 pass, even with the all-ones code in use.
    bits = {};
    bits[7] = 255;
    bits[8] = 1;
    EXPECT_EQ(lumiDecodeHuffmanSpecInit_JPEG_8u(bits.data(), vals.data(), buf.get()), lumStsNoErr);
    EXPECT_EQ(maxCodeOf(buf.get(), 8), 254);
    EXPECT_EQ(maxCodeOf(buf.get(), 9), 510);
}

TEST_P(HuffDecRecords, OverSubscribedTablesBuildWithoutWritingOutside)
{
    std::vector<uint8_t> vals(256);
    for (int i = 0; i < 256; ++i) vals[i] = static_cast<uint8_t>(i);
    const std::array<std::array<uint8_t, 16>, 4> tables = {{
        {3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
        {2, 4, 8, 16, 32, 64, 128, 2, 0, 0, 0, 0, 0, 0, 0, 0},
        {0, 0, 0, 0, 0, 0, 0, 200, 56, 0, 0, 0, 0, 0, 0, 0},
        {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 200},
    }};
    for (const auto& bits : tables) {
        SpecBuffer buf;
        EXPECT_EQ(lumiDecodeHuffmanSpecInit_JPEG_8u(bits.data(), vals.data(), buf.get()), lumStsNoErr);
        EXPECT_TRUE(buf.guardsIntact());
        EXPECT_EQ(maxCodeOf(buf.get(), 17), 0xFFFF);
    }
}

TEST_P(HuffDecRecords, OnlyLongCodesLeaveLookup8Empty)
{
    HuffTable t;
    t.bits[8] = 3;
    t.bits[11] = 4;
    t.vals = {1, 2, 3, 4, 5, 6, 7};
    SpecBuffer buf;
    buildSpec(t, buf.get());
    for (int i = 0; i < 256; ++i) EXPECT_EQ(lookup8Of(buf.get(), i), 0u) << i;
}

// ---- Bit input, on the readers themselves ------------------------------------------------------

struct TestTier {};
using Narrow = lum::hdec::NarrowReader<TestTier>;
using Wide = lum::hdec::WideReader<TestTier>;

template <typename Reader>
struct ReaderRig {
    std::vector<uint8_t> bytes;
    Lum32s marker = 0;
    LumDecodeHuffmanState state{};
    Reader rd;
    explicit ReaderRig(std::vector<uint8_t> b, Lum32s pos = 0)
        : bytes(std::move(b)), rd({bytes.data(), static_cast<uint32_t>(bytes.size()), pos, &marker}, &state)
    {
    }
};

TEST(HuffDecBits, StuffedFFIsOneDataByte)
{
    ReaderRig<Narrow> r({0xFF, 0x00, 0x12});
    EXPECT_EQ(r.rd.fill(0), lumStsNoErr);
    EXPECT_EQ(r.rd.st.count, 16);
    EXPECT_EQ(r.rd.in.pos, 3);
    EXPECT_EQ(r.rd.take(16), 0xFF12u);
    ReaderRig<Wide> w({0xFF, 0x00, 0x12});
    EXPECT_EQ(w.rd.fill(0), lumStsNoErr);
    EXPECT_EQ(w.rd.take(16), 0xFF12u);
}

TEST(HuffDecBits, NarrowFormPassesFillBytesBeforeAMarker)
{
    ReaderRig<Narrow> r({0xFF, 0xFF, 0xFF, 0xD9, 0x55});
    EXPECT_EQ(r.rd.fill(0), lumStsJpegMarkerMet);
    EXPECT_EQ(r.marker, 0xD9);
    EXPECT_EQ(r.rd.in.pos, 4);
    EXPECT_EQ(r.rd.st.count, 0);
}

TEST(HuffDecBits, WideFormTakesTheSecondFFAsTheMarker)
{
    ReaderRig<Wide> r({0xFF, 0xFF, 0xFF, 0xD9, 0x55});
    EXPECT_EQ(r.rd.fill(0), lumStsJpegMarkerMet);
    EXPECT_EQ(r.marker, 0xFF);
    EXPECT_EQ(r.rd.in.pos, 2);
    EXPECT_TRUE(r.rd.markerMet);
}

TEST(HuffDecBits, BufferEndingInFFIsOutOfBufferWithTheFFConsumed)
{
    ReaderRig<Narrow> r({0x12, 0xFF});
    EXPECT_EQ(r.rd.fill(0), lumStsOutOfBuffer);
    EXPECT_EQ(r.rd.in.pos, 2);
    EXPECT_EQ(r.rd.st.count, 8);
    ReaderRig<Wide> w({0x12, 0xFF});
    EXPECT_EQ(w.rd.fill(0), lumStsOutOfBuffer);
    EXPECT_EQ(w.rd.in.pos, 2);
}

TEST(HuffDecBits, EmptyBufferFillsNothingAndTheWalkRunsOut)
{
    ReaderRig<Narrow> r({});
    EXPECT_EQ(r.rd.fill(0), lumStsNoErr);
    EXPECT_EQ(r.rd.fill(1), lumStsOutOfBuffer);
    SpecBuffer huffTable;
    buildSpec(dcLuminance(), huffTable.get());
    uint32_t symbol = 99;
    EXPECT_EQ(r.rd.decodeSymbol(lum::hdec::SpecView(huffTable.get()), symbol), lumStsOutOfBuffer);
    EXPECT_EQ(symbol, 99u);
}

TEST(HuffDecBits, BufferEndKeepsTheBitsItRead)
{
    ReaderRig<Narrow> r({0xA5, 0x5A});
    EXPECT_EQ(r.rd.fill(16), lumStsNoErr);
    EXPECT_EQ(r.rd.st.count, 16);
    ReaderRig<Narrow> s({0xA5, 0x5A});
    EXPECT_EQ(s.rd.fill(17), lumStsOutOfBuffer);
    EXPECT_EQ(s.rd.st.count, 16);
    EXPECT_EQ(s.rd.take(16), 0xA55Au);
}

TEST(HuffDecBits, AfterAMarkerNoByteIsTakenAndNoZeroIsMadeUp)
{
    for (int wide = 0; wide < 2; ++wide) {
        ReaderRig<Narrow> n({0x81, 0xFF, 0xD0, 0x42, 0x42});
        ReaderRig<Wide> w({0x81, 0xFF, 0xD0, 0x42, 0x42});
        auto check = [](auto& r) {
            EXPECT_EQ(r.rd.fill(0), lumStsJpegMarkerMet);
            EXPECT_EQ(r.marker, 0xD0);
            EXPECT_EQ(r.rd.in.pos, 3);
            EXPECT_EQ(r.rd.fill(8), lumStsNoErr);
            EXPECT_EQ(r.rd.fill(9), lumStsOutOfBuffer);
            EXPECT_EQ(r.rd.in.pos, 3);
            EXPECT_EQ(r.rd.take(8), 0x81u);
        };
        if (wide) check(w); else check(n);
    }
}

TEST(HuffDecBits, NarrowFormHoldsAtMost32BitsAndClearsTheHighWord)
{
    ReaderRig<Narrow> r({1, 2, 3, 4, 5, 6, 7, 8});
    r.rd.st.acc = 0xFFFFFFFF00000000ull;
    EXPECT_EQ(r.rd.fill(0), lumStsNoErr);
    EXPECT_EQ(r.rd.st.count, 32);
    EXPECT_EQ(r.rd.in.pos, 4);
    EXPECT_EQ(r.rd.st.acc, 0x01020304ull);
}

TEST(HuffDecBits, WideFormTakesWholeBytesEightAtATime)
{
    ReaderRig<Wide> r({0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xAA});
    EXPECT_EQ(r.rd.take(0), 0u);
    r.rd.st.count = 3;
    r.rd.st.acc = 0xA000000000000000ull;  // pending 101
    EXPECT_EQ(r.rd.fill(0), lumStsNoErr);
    EXPECT_EQ(r.rd.st.count, 3 + 56);
    EXPECT_EQ(r.rd.in.pos, 7);
    EXPECT_EQ(r.rd.take(3), 5u);
    EXPECT_EQ(r.rd.take(16), 0x1122u);
}

// A table whose only code is 0 (length 1): a run of 1-bits is no code. The narrow walk goes on past
// the record's limits until the code turns negative, 32 bits in all; the wide walk consumes nothing.
TEST(HuffDecBits, UndecodableCodeWalksUntilTheCodeTurnsNegative)
{
    HuffTable t;
    t.bits[0] = 1;
    t.vals = {5};
    SpecBuffer huffTable;
    buildSpec(t, huffTable.get());
    const lum::hdec::SpecView view(huffTable.get());
    std::vector<uint8_t> ones(12, 0xFF);
    for (size_t i = 1; i < ones.size(); i += 2) ones[i] = 0x00;  // six stuffed bytes of 1-bits
    ones.push_back(0x7F);
    ReaderRig<Narrow> n(ones);
    uint32_t symbol = 99;
    EXPECT_EQ(n.rd.decodeSymbol(view, symbol), lumStsNoErr);
    EXPECT_EQ(symbol, 0u);
    EXPECT_EQ(n.rd.in.pos, 8) << "four data bytes read";
    EXPECT_EQ(n.rd.st.count, 0) << "all 32 bits consumed";
    ReaderRig<Wide> w(ones);
    EXPECT_EQ(w.rd.decodeSymbol(view, symbol), lumStsNoErr);
    EXPECT_EQ(symbol, 0u);
    EXPECT_EQ(w.rd.take(8), 0xFFu) << "nothing consumed";
    // A 0-bit still decodes.
    ReaderRig<Narrow> z({0x7F});
    EXPECT_EQ(z.rd.decodeSymbol(view, symbol), lumStsNoErr);
    EXPECT_EQ(symbol, 5u);
    EXPECT_EQ(z.rd.st.count, 7);
}

// Codes of 16 bits from 0x8000 up compare unsigned; 0xFFFF as the largest code counts as none.
TEST(HuffDecBits, SixteenBitCodesAtOrAbove0x8000Decode)
{
    HuffTable t;
    t.bits[0] = 1;
    t.bits[15] = 3;  // 0x8000, 0x8001, 0x8002
    t.vals = {1, 2, 3, 4};
    SpecBuffer huffTable;
    buildSpec(t, huffTable.get());
    EXPECT_EQ(maxCodeOf(huffTable.get(), 16), 0x8002);
    for (uint32_t code = 0x8000; code <= 0x8002; ++code) {
        const std::vector<uint8_t> bytes = {static_cast<uint8_t>(code >> 8), static_cast<uint8_t>(code), 0x00};
        ReaderRig<Narrow> n(bytes);
        ReaderRig<Wide> w(bytes);
        uint32_t a = 0, b = 0;
        EXPECT_EQ(n.rd.decodeSymbol(lum::hdec::SpecView(huffTable.get()), a), lumStsNoErr);
        EXPECT_EQ(w.rd.decodeSymbol(lum::hdec::SpecView(huffTable.get()), b), lumStsNoErr);
        EXPECT_EQ(a, code - 0x8000 + 2);
        EXPECT_EQ(b, code - 0x8000 + 2);
    }

    HuffTable full;
    for (int l = 1; l <= 15; ++l) full.bits[l - 1] = 1;  // 0, 10, 110, ...
    full.bits[15] = 2;                                       // 0xFFFE and 0xFFFF
    for (int i = 0; i < 17; ++i) full.vals.push_back(static_cast<uint8_t>(i + 1));
    buildSpec(full, huffTable.get());
    EXPECT_EQ(maxCodeOf(huffTable.get(), 16), 0xFFFF);
    ReaderRig<Wide> w({0xFF, 0x00, 0xFE, 0x00, 0x00});
    uint32_t symbol = 99;
    EXPECT_EQ(w.rd.decodeSymbol(lum::hdec::SpecView(huffTable.get()), symbol), lumStsNoErr);
    EXPECT_EQ(symbol, 0u) << "length 16 reads as empty";
}

TEST(HuffDecBits, StateFieldsRoundTripInBothForms)
{
    LumDecodeHuffmanState state{};
    writeState(&state, {0x89ABCDEF, 0x01234567, 40, 3, 9});
    Lum32s marker = 0;
    const uint8_t byte = 0;
    Wide w({&byte, 1, 0, &marker}, &state);
    EXPECT_EQ(w.take(8), 0x67u) << "top of the 40 pending bits";
    LumDecodeHuffmanState out{};
    Lum32s pos = -1;
    w.save(&pos, &out);
    const StateView v = readState(&out);
    EXPECT_EQ(v.bitCount, 32);
    EXPECT_EQ(v.bitAcc, 0x89ABCDEFu);
    EXPECT_EQ(v.bitAccHigh, 0u);
    EXPECT_EQ(v.eobRun, 3);
    EXPECT_EQ(v.coefsLeft, 9);
    EXPECT_EQ(pos, 0);
}

// ---- Sequential decoding -----------------------------------------------------------------------

struct SeqTables {
    SpecBuffer dcBuf, acBuf;
    std::map<int, Code> dc, ac;
    SeqTables(const HuffTable& d = dcLuminance(), const HuffTable& a = acLuminance())
        : dc(canonicalCodes(d)), ac(canonicalCodes(a))
    {
        buildSpec(d, dcBuf.get());
        buildSpec(a, acBuf.get());
    }
    const LumDecodeHuffmanSpec* dcSpec() { return dcBuf.get(); }
    const LumDecodeHuffmanSpec* acSpec() { return acBuf.get(); }
};

// Appends one block as T.81 codes it: DC difference, then runs and sizes, ZRL, EOB.
void putBlock(BitString& bs, SeqTables& t, const std::array<int, 64>& natural, int& lastDc)
{
    const int diff = natural[0] - lastDc;
    lastDc = natural[0];
    bs.symbol(t.dc, sizeOfValue(diff));
    bs.value(diff, sizeOfValue(diff));
    int run = 0;
    for (int k = 1; k < 64; ++k) {
        const int v = natural[kZigzag[k]];
        if (v == 0) {
            ++run;
            continue;
        }
        for (; run > 15; run -= 16) bs.symbol(t.ac, 0xF0);
        bs.symbol(t.ac, run * 16 + sizeOfValue(v));
        bs.value(v, sizeOfValue(v));
        run = 0;
    }
    if (run > 0) bs.symbol(t.ac, 0x00);
}

std::array<int, 64> randomBlock(std::mt19937& rng, int density)
{
    std::array<int, 64> b{};
    b[0] = static_cast<int>(rng() % 2001) - 1000;
    for (int i = 1; i < 64; ++i)
        if (static_cast<int>(rng() % 100) < density) b[i] = static_cast<int>(rng() % 1023) - 511;
    return b;
}

std::array<Lum16s, 64> decodeOne(Session& s, SeqTables& t, LumStatus expect = lumStsNoErr)
{
    std::array<Lum16s, 64> out;
    out.fill(0x3333);
    EXPECT_EQ(s.sequential(out.data(), t.dcSpec(), t.acSpec()), expect);
    return out;
}

void expectBlock(const std::array<Lum16s, 64>& got, const std::array<int, 64>& want)
{
    for (int i = 0; i < 64; ++i) ASSERT_EQ(got[i], want[i]) << "coefficient " << i;
}

TEST_P(HuffDecSequential, RandomBlocksDecodeToWhatWasCoded)
{
    SeqTables t;
    std::mt19937 rng(1234);
    for (int density : {0, 5, 30, 80, 100}) {
        BitString bs;
        std::vector<std::array<int, 64>> blocks;
        int dc = 0;
        for (int i = 0; i < 60; ++i) {
            blocks.push_back(randomBlock(rng, density));
            putBlock(bs, t, blocks.back(), dc);
        }
        Session s(bs.bytes());
        for (const auto& want : blocks) expectBlock(decodeOne(s, t), want);
        EXPECT_EQ(s.marker, 0);
    }
}

TEST_P(HuffDecSequential, EmptyBlockGivesThePredictorAndZeros)
{
    SeqTables t;
    BitString bs;
    bs.symbol(t.dc, 0);
    bs.symbol(t.ac, 0x00);
    Session s(bs.bytes());
    s.lastDc = -77;
    std::array<int, 64> want{};
    want[0] = -77;
    expectBlock(decodeOne(s, t), want);
    EXPECT_EQ(s.lastDc, -77);
}

TEST_P(HuffDecSequential, DcSymbol0x10TakesNoBitsAndKeepsThePredictor)
{
    HuffTable d{{0, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, {0x00, 0x10, 0x02}};
    SeqTables t(d);
    BitString bs;
    bs.symbol(t.dc, 0x10);
    bs.symbol(t.ac, 0x01);
    bs.value(-1, 1);
    bs.symbol(t.ac, 0x00);
    Session s(bs.bytes());
    s.lastDc = 300;
    std::array<int, 64> want{};
    want[0] = 300;
    want[1] = -1;
    expectBlock(decodeOne(s, t), want);
}

TEST_P(HuffDecSequential, AcSymbolWithRunAndSizeZeroEndsTheBlock)
{
    HuffTable a{{0, 0, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, {0x30, 0x02, 0x00}};
    SeqTables u(dcLuminance(), a);
    BitString b2;
    b2.symbol(u.dc, 0);
    b2.symbol(u.ac, 0x02);
    b2.value(3, 2);
    b2.symbol(u.ac, 0x30);
    b2.symbol(u.ac, 0x02);  // starts the next block's bits: not read as part of this one
    Session s(b2.bytes());
    std::array<int, 64> want{};
    want[1] = 3;
    expectBlock(decodeOne(s, u), want);
}

TEST_P(HuffDecSequential, FullBlockEndsWithoutEob)
{
    SeqTables t;
    std::array<int, 64> block;
    for (int i = 0; i < 64; ++i) block[i] = (i % 7) - 3 == 0 ? 1 : (i % 7) - 3;
    BitString bs;
    int dc = 0;
    putBlock(bs, t, block, dc);
    putBlock(bs, t, block, dc);
    Session s(bs.bytes());
    expectBlock(decodeOne(s, t), block);
    expectBlock(decodeOne(s, t), block);
}

TEST_P(HuffDecSequential, MarkerRightAfterTheLastCode)
{
    SeqTables t;
    std::mt19937 rng(77);
    const auto block = randomBlock(rng, 40);
    BitString bs;
    int dc = 0;
    putBlock(bs, t, block, dc);
    std::vector<uint8_t> bytes = bs.bytes();
    bytes.push_back(0xFF);
    bytes.push_back(0xD3);
    Session s(bytes);
    std::array<Lum16s, 64> out;
    const LumStatus st = s.sequential(out.data(), t.dcSpec(), t.acSpec());
    EXPECT_TRUE(st == lumStsNoErr || st == lumStsJpegMarkerMet) << st;
    expectBlock(out, block);
    // The marker stands; the next block has only the padding bits in the state.
    std::array<Lum16s, 64> next;
    EXPECT_EQ(s.sequential(next.data(), t.dcSpec(), t.acSpec()), lumStsOutOfBuffer);
    EXPECT_EQ(s.marker, 0xD3);
    EXPECT_EQ(s.pos, s.len());
}

// A marker met by the fill for the last value of the block is the call's status. The state holds
// every code of the block, at least 8 bits before each symbol, so that the only fill is the one for
// the last value: a 1-bit value in the byte 0x7F, then FF D7.
TEST_P(HuffDecSequential, MarkerMetForTheLastValueIsReported)
{
    HuffTable a{{1, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0}, {0xF0, 0xE1}};  // 0 and 10000000
    SeqTables t(dcLuminance(), a);
    Session s({0x7F, 0xFF, 0xD7});
    writeState(&s.state, {0x080, 0, 13, 0, 0});  // 00 0 0 0 10000000: DC 0, three ZRL, run 14 size 1
    std::array<int, 64> want{};
    want[63] = -1;
    expectBlock(decodeOne(s, t, lumStsJpegMarkerMet), want);
    EXPECT_EQ(s.marker, 0xD7);
    EXPECT_EQ(s.pos, 3);
    // Nothing is left for a next block.
    decodeOne(s, t, lumStsOutOfBuffer);
}

TEST_P(HuffDecSequential, TwentyThreeAndTwentyFourBytesToSpareGiveTheSameBlock)
{
    SeqTables t;
    std::array<int, 64> first{}, second{};
    first[0] = 3;
    first[1] = 2;
    first[8] = -1;
    first[40] = 17;
    second[0] = -6;
    second[2] = 1;
    second[63] = -3;
    BitString bs;
    int dc = 0;
    putBlock(bs, t, first, dc);
    putBlock(bs, t, second, dc);
    const std::vector<uint8_t> coded = bs.bytes();
    ASSERT_LT(coded.size(), 23u);
    for (size_t spare : {23u, 24u, 25u}) {
        std::vector<uint8_t> bytes = coded;
        bytes.resize(spare, 0x00);
        Session s(bytes);
        expectBlock(decodeOne(s, t), first);
        EXPECT_LE(s.view().bitCount, 32);
        expectBlock(decodeOne(s, t), second);
    }
}

TEST_P(HuffDecSequential, ChecksArgumentsInOrderAndChangesNothingOnFailure)
{
    SeqTables t;
    LumDecodeHuffmanState state{};
    uint8_t src[4] = {};
    Lum32s pos = 0, marker = 0;
    Lum16s dc = 0;
    CanaryBuffer block(128);
    auto* dst = reinterpret_cast<Lum16s*>(block.data());
    const auto* d = t.dcSpec();
    const auto* a = t.acSpec();
    EXPECT_EQ(lumiDecodeHuffman8x8_JPEG_1u16s_C1(nullptr, -1, nullptr, dst, &dc, &marker, d, a, &state),
              lumStsNullPointer);
    EXPECT_EQ(lumiDecodeHuffman8x8_JPEG_1u16s_C1(src, -1, nullptr, dst, &dc, &marker, d, a, &state),
              lumStsBadArgument);
    EXPECT_EQ(lumiDecodeHuffman8x8_JPEG_1u16s_C1(src, 0, nullptr, dst, &dc, &marker, d, a, &state), lumStsNullPointer);
    EXPECT_EQ(lumiDecodeHuffman8x8_JPEG_1u16s_C1(src, 4, &pos, nullptr, &dc, &marker, d, a, &state), lumStsNullPointer);
    EXPECT_EQ(lumiDecodeHuffman8x8_JPEG_1u16s_C1(src, 4, &pos, dst, nullptr, &marker, d, a, &state), lumStsNullPointer);
    EXPECT_EQ(lumiDecodeHuffman8x8_JPEG_1u16s_C1(src, 4, &pos, dst, &dc, nullptr, d, a, &state), lumStsNullPointer);
    EXPECT_EQ(lumiDecodeHuffman8x8_JPEG_1u16s_C1(src, 4, &pos, dst, &dc, &marker, nullptr, a, &state),
              lumStsNullPointer);
    EXPECT_EQ(lumiDecodeHuffman8x8_JPEG_1u16s_C1(src, 4, &pos, dst, &dc, &marker, d, nullptr, &state),
              lumStsNullPointer);
    EXPECT_EQ(lumiDecodeHuffman8x8_JPEG_1u16s_C1(src, 4, &pos, dst, &dc, &marker, d, a, nullptr), lumStsNullPointer);
    EXPECT_TRUE(block.payloadIsCanary());
    EXPECT_TRUE(block.guardsIntact());
    EXPECT_EQ(pos, 0);
}

// A length of 0 is accepted: the block comes from the bits in the state.
TEST_P(HuffDecSequential, ZeroLengthBufferDecodesFromTheState)
{
    SeqTables t;
    BitString bs;
    bs.symbol(t.dc, 2);
    bs.value(-3, 2);
    bs.symbol(t.ac, 0x00);
    ASSERT_LE(bs.size(), 24u);
    const std::vector<uint8_t> bytes = bs.bytes();
    Session s(bytes);
    uint32_t acc = 0;
    for (uint8_t b : bytes) acc = acc << 8 | b;
    writeState(&s.state, {acc, 0, static_cast<int32_t>(8 * bytes.size()), 0, 0});
    std::array<Lum16s, 64> out;
    EXPECT_EQ(lumiDecodeHuffman8x8_JPEG_1u16s_C1(bytes.data(), 0, &s.pos, out.data(), &s.lastDc, &s.marker,
                                                 t.dcSpec(), t.acSpec(), &s.state),
              lumStsNoErr);
    EXPECT_EQ(out[0], -3);
    EXPECT_EQ(s.pos, 0);
    EXPECT_EQ(s.view().bitCount, static_cast<int>(8 * bytes.size() - bs.size()));
}

// Runs past the block's end land through ZigzagOrder and the bit lengths behind it: k of 64 to
// 71 at natural index 63, k of 72 to 78 at 0, 1, 2, 2, 3, 3, 3.
TEST_P(HuffDecSequential, RunOvershootLandsWhereTheTablesSay)
{
    SeqTables t;
    const int beyond[7] = {0, 1, 2, 2, 3, 3, 3};
    for (int run = 0; run < 16; ++run) {
        // Three ZRL and a run of 13 put one value at k 62 and leave one coefficient.
        BitString bs;
        bs.symbol(t.dc, 0);
        for (int i = 0; i < 3; ++i) bs.symbol(t.ac, 0xF0);
        bs.symbol(t.ac, 0xD1);
        bs.value(1, 1);
        bs.symbol(t.ac, run * 16 + 2);
        bs.value(-2, 2);
        Session s(bs.bytes());
        const int k = 63 + run;
        std::array<int, 64> want{};
        want[kZigzag[62]] = 1;
        want[k < 72 ? 63 : beyond[k - 72]] = -2;
        expectBlock(decodeOne(s, t), want);
        EXPECT_EQ(s.view().coefsLeft, -run);
    }
}

TEST_P(HuffDecSequential, UndecodableAcCodeEndsTheBlockWithoutError)
{
    HuffTable a{{0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, {0x01, 0x00}};  // codes 00, 01
    SeqTables t(dcLuminance(), a);
    BitString bs;
    bs.symbol(t.dc, 0);
    bs.symbol(t.ac, 0x01);
    bs.value(1, 1);
    bs.put(0xFFFFFFFF, 32);  // no code starts with 1
    std::vector<uint8_t> bytes = bs.bytes();
    bytes.resize(bytes.size() + 40, 0x00);
    Session s(bytes);
    std::array<int, 64> want{};
    want[1] = 1;
    expectBlock(decodeOne(s, t), want);
}

TEST_P(HuffDecSequential, CoefsLeftHoldsTheCountOfThePlainPath)
{
    SeqTables t;
    BitString bs;
    bs.symbol(t.dc, 0);
    bs.symbol(t.ac, 0x01);
    bs.value(1, 1);
    bs.symbol(t.ac, 0x21);
    bs.value(-1, 1);
    bs.symbol(t.ac, 0x00);
    Session s(bs.bytes());  // short: the plain path runs in every tier
    decodeOne(s, t);
    EXPECT_EQ(s.view().coefsLeft, 63 - 1 - 3);
}

// The fast path does not write coefsLeft, so a sentinel there shows which path decoded the block:
// with 24 bytes to spare it is the fast path in a6, w7 and t7, with 23 the plain path everywhere.
TEST_P(HuffDecSequential, FastPathRunsWithTwentyFourBytesToSpare)
{
    SeqTables t;
    BitString bs;
    bs.symbol(t.dc, 1);
    bs.value(1, 1);
    bs.symbol(t.ac, 0x00);
    for (size_t spare : {23u, 24u}) {
        std::vector<uint8_t> bytes = bs.bytes();
        bytes.resize(spare, 0x00);
        Session s(bytes);
        writeState(&s.state, {0, 0, 0, 0, 1234});
        std::array<int, 64> want{};
        want[0] = 1;
        expectBlock(decodeOne(s, t), want);
        const bool fast = !isPx() && spare == 24;
        EXPECT_EQ(s.view().coefsLeft, fast ? 1234 : 63) << spare;
        if (fast) {
            EXPECT_EQ(s.pos * 8 - s.view().bitCount, 8) << "whole bytes given back";
        }
    }
}

TEST_P(HuffDecSequential, BlocksAtAnyAddressAreWrittenExactly)
{
    SeqTables t;
    std::mt19937 rng(99);
    for (size_t offset = 0; offset < 16; ++offset) {
        const auto block = randomBlock(rng, 50);
        BitString bs;
        int dc = 0;
        putBlock(bs, t, block, dc);
        std::vector<uint8_t> bytes = bs.bytes();
        bytes.resize(bytes.size() + 32, 0);
        for (int fast = 0; fast < 2; ++fast) {
            Session s(fast ? bytes : bs.bytes());
            CanaryBuffer out(128, 64, offset);
            ASSERT_EQ(s.sequential(reinterpret_cast<Lum16s*>(out.data()), t.dcSpec(), t.acSpec()), lumStsNoErr);
            EXPECT_TRUE(out.guardsIntact()) << offset;
            for (int i = 0; i < 64; ++i) {
                Lum16s v;
                std::memcpy(&v, out.data() + 2 * i, 2);
                ASSERT_EQ(v, block[i]) << offset << " " << i;
            }
        }
    }
}

TEST_P(HuffDecSequential, RecordsAtOddAddressesWork)
{
    std::vector<uint8_t> dcBytes(1644 + 3), acBytes(1644 + 5), stateBytes(24 + 7);
    auto* dc = reinterpret_cast<LumDecodeHuffmanSpec*>(dcBytes.data() + 3);
    auto* ac = reinterpret_cast<LumDecodeHuffmanSpec*>(acBytes.data() + 5);
    auto* state = reinterpret_cast<LumDecodeHuffmanState*>(stateBytes.data() + 7);
    buildSpec(dcLuminance(), dc);
    buildSpec(acLuminance(), ac);
    ASSERT_EQ(lumiDecodeHuffmanStateInit_JPEG_8u(state), lumStsNoErr);
    SeqTables t;
    std::mt19937 rng(3);
    BitString bs;
    std::vector<std::array<int, 64>> blocks;
    int last = 0;
    for (int i = 0; i < 20; ++i) {
        blocks.push_back(randomBlock(rng, 30));
        putBlock(bs, t, blocks.back(), last);
    }
    const std::vector<uint8_t> bytes = bs.bytes();
    Lum32s pos = 0, marker = 0;
    Lum16s lastDc = 0;
    for (const auto& want : blocks) {
        std::array<Lum16s, 64> out;
        ASSERT_EQ(lumiDecodeHuffman8x8_JPEG_1u16s_C1(bytes.data(), static_cast<Lum32s>(bytes.size()), &pos, out.data(),
                                                     &lastDc, &marker, dc, ac, state),
                  lumStsNoErr);
        expectBlock(out, want);
    }
}

TEST_P(HuffDecSequential, OutOfBufferKeepsWhatWasDecoded)
{
    SeqTables t;
    std::array<int, 64> block{};
    block[0] = 5;
    block[1] = 7;
    block[2] = -9;
    BitString bs;
    int dc = 0;
    putBlock(bs, t, block, dc);
    std::vector<uint8_t> bytes = bs.bytes();
    bytes.pop_back();  // the last byte holds the EOB
    Session s(bytes);
    std::array<Lum16s, 64> out = decodeOne(s, t, lumStsOutOfBuffer);
    EXPECT_EQ(s.lastDc, 5);
    EXPECT_EQ(out[0], 5);
    EXPECT_EQ(out[1], 7);
    EXPECT_EQ(s.pos, s.len());
}

LUM_ALL_TIERS(HuffDecRecords);
LUM_ALL_TIERS(HuffDecSequential);

}  // namespace
