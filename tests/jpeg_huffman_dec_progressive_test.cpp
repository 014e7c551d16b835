// Progressive Huffman decoding: DC first, DC refine, AC first and AC refine with their literal edge
// cases in every tier, and the points where px and the wide kernels of a6, w7 and t7 differ.
#include "huffman_dec_support.h"
#include "test_support.h"
#include "tier_fixture.h"

#include <gtest/gtest.h>

namespace {

using namespace lumtest;

class HuffDecProgressive : public TierTest {
protected:
    // AC table with every symbol: symbol v has the 9-bit code v, so a stream is easy to write.
    void SetUp() override
    {
        TierTest::SetUp();
        HuffTable a;
        a.bits[8] = 255;
        a.bits[9] = 1;
        for (int v = 0; v < 256; ++v) a.vals.push_back(static_cast<uint8_t>(v));
        buildSpec(a, ac_.get());
        buildSpec(dcLuminance(), dc_.get());
        dcCodes_ = canonicalCodes(dcLuminance());
    }
    const LumDecodeHuffmanSpec* ac() { return ac_.get(); }
    const LumDecodeHuffmanSpec* dc() { return dc_.get(); }
    static void sym(BitString& bs, int v) { v == 255 ? bs.put(510, 10) : bs.put(static_cast<uint32_t>(v), 9); }

    bool wide() const { return !isPx(); }

    SpecBuffer ac_, dc_;
    std::map<int, Code> dcCodes_;
};

using Block = std::array<Lum16s, 64>;

// ---- DC first and DC refine --------------------------------------------------------------------

TEST_P(HuffDecProgressive, DcFirstKeepsThePredictorUnshiftedAndCutsTheCoefficient)
{
    BitString bs;
    bs.symbol(dcCodes_, 3);
    bs.value(5, 3);
    Session s(bs.bytes());
    s.lastDc = 0;
    Block b;
    b.fill(7);
    EXPECT_EQ(s.dcFirst(b.data(), 13, dc()), lumStsNoErr);
    EXPECT_EQ(s.lastDc, 5);
    EXPECT_EQ(b[0], static_cast<Lum16s>(static_cast<uint16_t>(5 << 13)));
    EXPECT_EQ(b[1], 7) << "DC first writes only the DC coefficient";
}

// The state holds the 8-bit code of category 10, so the look-up needs no fill and the value's fill
// is the one that meets the marker: the call reports it. Eight of the ten bits were there; the two
// missing ones read as 0.
TEST_P(HuffDecProgressive, DcFirstReportsAMarkerMetForItsValue)
{
    Session s({0xBF, 0xFF, 0xD0});
    writeState(&s.state, {0xFE, 0, 8, 0, 0});
    Block b{};
    EXPECT_EQ(s.dcFirst(b.data(), 0, dc()), lumStsJpegMarkerMet);
    EXPECT_EQ(s.marker, 0xD0);
    EXPECT_EQ(s.lastDc, 0x2FC);
    EXPECT_EQ(b[0], 0x2FC);
    EXPECT_EQ(s.dcFirst(b.data(), 0, dc()), lumStsOutOfBuffer);
}

TEST_P(HuffDecProgressive, DcRefineSetsBitAlOnlyForA1Bit)
{
    Session s({0x5F});  // 0, 1, 0, 1, ...
    Block b{};
    b[0] = -8;
    EXPECT_EQ(s.dcRefine(b.data(), 2), lumStsNoErr);
    EXPECT_EQ(b[0], -8);
    EXPECT_EQ(s.dcRefine(b.data(), 2), lumStsNoErr);
    EXPECT_EQ(b[0], -8 | 4) << "no sign test: the bit is set on a negative value too";
    EXPECT_EQ(s.dcRefine(b.data(), 0), lumStsNoErr);
    EXPECT_EQ(b[0], -4);
    EXPECT_EQ(s.view().bitCount, 5);
}

// ---- AC first ----------------------------------------------------------------------------------

TEST_P(HuffDecProgressive, AcFirstUnderAnEobRunTouchesNothing)
{
    Session s({0x12, 0x34});
    writeState(&s.state, {0xABCD, 0, 16, 5, 0});
    CanaryBuffer b(128);
    EXPECT_EQ(s.acFirst(reinterpret_cast<Lum16s*>(b.data()), 1, 63, 0, ac()), lumStsNoErr);
    EXPECT_EQ(s.view().eobRun, 4);
    EXPECT_EQ(s.view().bitCount, 16);
    EXPECT_EQ(s.view().bitAcc, 0xABCDu);
    EXPECT_EQ(s.pos, 0);
    EXPECT_TRUE(b.payloadIsCanary());
}

TEST_P(HuffDecProgressive, AcFirstEobRuns)
{
    BitString bs;
    sym(bs, 0x02);
    bs.value(-3, 2);
    sym(bs, 0x00);  // EOB0
    sym(bs, 0x11);  // run 1, size 1
    bs.value(1, 1);
    sym(bs, 0x10);  // EOB1 with bit 1: run of 2 blocks, this one included
    bs.put(1, 1);
    std::vector<uint8_t> bytes = bs.bytes();
    bytes.resize(bytes.size() + 16, 0);
    Session s(bytes);
    Block a{}, b{};
    EXPECT_EQ(s.acFirst(a.data(), 1, 63, 2, ac()), lumStsNoErr);
    EXPECT_EQ(a[kZigzag[1]], -12);
    EXPECT_EQ(s.view().eobRun, 0);
    EXPECT_EQ(s.acFirst(b.data(), 5, 63, 0, ac()), lumStsNoErr);
    EXPECT_EQ(b[kZigzag[6]], 1);
    EXPECT_EQ(s.view().eobRun, 2);
    for (int i = 0; i < 64; ++i) EXPECT_EQ(b[i], i == kZigzag[6] ? 1 : 0) << i;
}

TEST_P(HuffDecProgressive, AcFirstEndsWhenTheBandIsFull)
{
    BitString bs;
    for (int k = 3; k <= 5; ++k) {
        sym(bs, 0x03);
        bs.value(k + 1, 3);
    }
    sym(bs, 0x03);  // belongs to the next block
    bs.value(7, 3);
    Session s(bs.bytes());
    Block b{};
    EXPECT_EQ(s.acFirst(b.data(), 3, 5, 0, ac()), lumStsNoErr);
    for (int k = 3; k <= 5; ++k) EXPECT_EQ(b[kZigzag[k]], k + 1);
    Block c{};
    EXPECT_EQ(s.acFirst(c.data(), 3, 3, 0, ac()), lumStsNoErr);
    EXPECT_EQ(c[kZigzag[3]], 7);
}

TEST_P(HuffDecProgressive, AcFirstZrlPastTheBandEndsTheCall)
{
    BitString bs;
    sym(bs, 0xF0);
    sym(bs, 0x01);
    bs.value(1, 1);
    Session s(bs.bytes());
    Block b{};
    EXPECT_EQ(s.acFirst(b.data(), 1, 10, 0, ac()), lumStsNoErr);
    EXPECT_TRUE(std::all_of(b.begin(), b.end(), [](Lum16s v) { return v == 0; }));
    EXPECT_EQ(s.view().bitCount + 8 * (s.len() - s.pos), 24 - 9) << "only the ZRL was read";
}

// px stores a run past Se beyond the band; the kernels end the call without reading the value.
TEST_P(HuffDecProgressive, AcFirstRunPastTheBandDiffersByTier)
{
    BitString bs;
    sym(bs, 0x31);  // run 3 from k 1: k 4, past Se 2
    bs.value(1, 1);
    Session s(bs.bytes());
    Block b{};
    EXPECT_EQ(s.acFirst(b.data(), 1, 2, 0, ac()), lumStsNoErr);
    const int pending = s.view().bitCount + 8 * (s.len() - s.pos);
    if (wide()) {
        EXPECT_TRUE(std::all_of(b.begin(), b.end(), [](Lum16s v) { return v == 0; }));
        EXPECT_EQ(pending, 16 - 9) << "the value bit stays unread";
    } else {
        EXPECT_EQ(b[kZigzag[4]], 1);
        EXPECT_EQ(pending, 16 - 10);
    }
}

// An undecodable code is symbol 0, EOB0, in both; px consumes the walk's bits, the kernels none.
TEST_P(HuffDecProgressive, AcFirstUndecodableCodeDiffersInBitsConsumed)
{
    HuffTable small{{0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, {0x01}};  // one code: 00
    SpecBuffer huffTable;
    buildSpec(small, huffTable.get());
    std::vector<uint8_t> bytes(12, 0xC3);  // 11..., not a code
    Session s(bytes);
    writeState(&s.state, {0, 0, 0, -3, 0});  // not above 0: the block is decoded
    Block b{};
    EXPECT_EQ(s.acFirst(b.data(), 1, 63, 0, huffTable.get()), lumStsNoErr);
    EXPECT_EQ(s.view().eobRun, 0);
    const int consumed = 8 * s.pos - s.view().bitCount;
    EXPECT_EQ(consumed, wide() ? 0 : 32);
}

TEST_P(HuffDecProgressive, FillBytesInAnAcScanDifferByTier)
{
    BitString bs;
    sym(bs, 0x01);
    bs.value(1, 1);
    sym(bs, 0x00);
    std::vector<uint8_t> bytes = bs.bytes();  // 19 bits: 3 bytes
    const size_t end = bytes.size();
    bytes.insert(bytes.end(), {0xFF, 0xFF, 0xD9});
    Session s(bytes);
    Block b{};
    const LumStatus st = s.acFirst(b.data(), 1, 63, 0, ac());
    EXPECT_EQ(b[1], 1);
    if (wide()) {
        EXPECT_EQ(s.marker, 0xFF);
        EXPECT_EQ(s.pos, static_cast<Lum32s>(end + 2));
        EXPECT_EQ(st, lumStsJpegMarkerMet) << "a marker met in the call is its status";
    } else {
        EXPECT_EQ(s.marker, 0xD9);
        EXPECT_EQ(s.pos, static_cast<Lum32s>(end + 3));
        EXPECT_EQ(st, lumStsNoErr) << "met inside DecodeSymbol: not the call's status";
    }
}

// ---- AC refine ---------------------------------------------------------------------------------

TEST_P(HuffDecProgressive, AcRefineEob1RefinesTheRestOfTheBand)
{
    Block b{};
    b[kZigzag[2]] = 4;   // p1 bit (2) clear: a 1 makes it 6
    b[kZigzag[5]] = -4;  // a 0 leaves it
    b[kZigzag[9]] = 6;   // p1 bit set: a 1 changes nothing
    BitString bs;
    sym(bs, 0x10);
    bs.put(0, 1);        // EOB1 with bit 0: a run of 2
    bs.put(0b101, 3);    // corrections for k 2, 5, 9
    std::vector<uint8_t> bytes = bs.bytes();
    Session s(bytes);
    EXPECT_EQ(s.acRefine(b.data(), 1, 63, 1, ac()), lumStsNoErr);
    EXPECT_EQ(s.view().eobRun, 1);
    EXPECT_EQ(b[kZigzag[2]], 6);
    EXPECT_EQ(b[kZigzag[5]], -4);
    EXPECT_EQ(b[kZigzag[9]], 6);
    EXPECT_EQ(8 * s.pos - s.view().bitCount, 13);
}

TEST_P(HuffDecProgressive, AcRefineZrlSkipsSixteenZerosAndCorrectsOnTheWay)
{
    Block b{};
    b[kZigzag[3]] = -2;  // history inside the skipped stretch
    b[kZigzag[10]] = 2;
    BitString bs;
    sym(bs, 0xF0);
    bs.put(0b11, 2);     // corrections for k 3 and k 10
    sym(bs, 0x01);       // new coefficient, run 0
    bs.put(1, 1);        // positive
    sym(bs, 0x00);       // EOB0
    Session s(bs.bytes());
    EXPECT_EQ(s.acRefine(b.data(), 1, 63, 0, ac()), lumStsNoErr);
    EXPECT_EQ(b[kZigzag[3]], -3);
    EXPECT_EQ(b[kZigzag[10]], 3);
    // Sixteen zeros from k 1, two nonzero between: the ZRL ends at k 18; the new value goes to
    // the first zero from there.
    EXPECT_EQ(b[kZigzag[19]], 1);
    EXPECT_EQ(s.view().eobRun, 0);
}

TEST_P(HuffDecProgressive, AcRefineNewCoefficientGoesToTheFirstZero)
{
    Block b{};
    b[kZigzag[1]] = 8;
    b[kZigzag[2]] = -8;
    BitString bs;
    sym(bs, 0x01);
    bs.put(0, 1);     // negative: -1 << Al
    bs.put(0b01, 2);  // corrections for k 1 and 2
    sym(bs, 0x00);
    Session s(bs.bytes());
    EXPECT_EQ(s.acRefine(b.data(), 1, 63, 2, ac()), lumStsNoErr);
    EXPECT_EQ(b[kZigzag[1]], 8);
    EXPECT_EQ(b[kZigzag[2]], -12);
    EXPECT_EQ(b[kZigzag[3]], -4);
}

TEST_P(HuffDecProgressive, AcRefineUnderAnEobRunOnlyCorrects)
{
    Block b{};
    b[kZigzag[7]] = 16;
    Session s({0x80, 0x00});
    writeState(&s.state, {0, 0, 0, 3, 0});
    EXPECT_EQ(s.acRefine(b.data(), 1, 63, 3, ac()), lumStsNoErr);
    EXPECT_EQ(b[kZigzag[7]], 24);
    EXPECT_EQ(s.view().eobRun, 2);
    EXPECT_EQ(8 * s.pos - s.view().bitCount, 1);
}

// ---- Checks ------------------------------------------------------------------------------------

TEST_P(HuffDecProgressive, ZeroLengthIsBadSizeEvenWithBitsPending)
{
    Session s({0x00});
    writeState(&s.state, {0xFFFF, 0, 16, 0, 0});
    Block b{};
    const uint8_t* src = s.data.data();
    EXPECT_EQ(lumiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(src, 0, &s.pos, b.data(), &s.lastDc, &s.marker, 0, dc(),
                                                         &s.state),
              lumStsBadSize);
    EXPECT_EQ(lumiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(src, 0, &s.pos, b.data(), &s.marker, 0, &s.state),
              lumStsBadSize);
    EXPECT_EQ(lumiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(src, 0, &s.pos, b.data(), &s.marker, 1, 63, 0, ac(),
                                                         &s.state),
              lumStsBadSize);
    EXPECT_EQ(lumiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(src, 0, &s.pos, b.data(), &s.marker, 1, 63, 0, ac(),
                                                          &s.state),
              lumStsBadSize);
    EXPECT_EQ(s.view().bitCount, 16);
}

TEST_P(HuffDecProgressive, ChecksComeInOrderAndChangeNothing)
{
    LumDecodeHuffmanState state{};
    writeState(&state, {1, 2, 3, 4, 5});
    const uint8_t src[2] = {0x12, 0x34};
    Lum32s pos = 0, marker = 0;
    Lum16s last = 9;
    CanaryBuffer block(128);
    auto* dst = reinterpret_cast<Lum16s*>(block.data());
    const auto* a = ac();
    const auto* d = dc();
    auto acFirst = [](const uint8_t* p, Lum32s len, Lum32s* ppos, Lum16s* pd, Lum32s* pm, int ss, int se, int al,
                       const LumDecodeHuffmanSpec* sp, LumDecodeHuffmanState* st) {
        return lumiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(p, len, ppos, pd, pm, ss, se, al, sp, st);
    };
    auto acRefine = [](const uint8_t* p, Lum32s len, Lum32s* ppos, Lum16s* pd, Lum32s* pm, int ss, int se, int al,
                        const LumDecodeHuffmanSpec* sp, LumDecodeHuffmanState* st) {
        return lumiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(p, len, ppos, pd, pm, ss, se, al, sp, st);
    };
    for (auto fn : {+acFirst, +acRefine}) {
        EXPECT_EQ(fn(nullptr, 0, nullptr, dst, &marker, 0, 0, 14, nullptr, nullptr), lumStsNullPointer);
        EXPECT_EQ(fn(src, 0, nullptr, dst, &marker, 0, 0, 14, nullptr, nullptr), lumStsBadSize);
        EXPECT_EQ(fn(src, 2, nullptr, dst, &marker, 0, 0, 14, nullptr, nullptr), lumStsNullPointer);
        EXPECT_EQ(fn(src, 2, &pos, nullptr, &marker, 0, 0, 14, nullptr, nullptr), lumStsNullPointer);
        EXPECT_EQ(fn(src, 2, &pos, dst, nullptr, 0, 0, 14, nullptr, nullptr), lumStsNullPointer);
        EXPECT_EQ(fn(src, 2, &pos, dst, &marker, 1, 63, 14, nullptr, nullptr), lumStsBadArgument);
        EXPECT_EQ(fn(src, 2, &pos, dst, &marker, 1, 63, -1, nullptr, nullptr), lumStsBadArgument);
        EXPECT_EQ(fn(src, 2, &pos, dst, &marker, 0, 63, 0, nullptr, nullptr), lumStsBadArgument);
        EXPECT_EQ(fn(src, 2, &pos, dst, &marker, 64, 64, 0, nullptr, nullptr), lumStsBadArgument);
        EXPECT_EQ(fn(src, 2, &pos, dst, &marker, 5, 4, 0, nullptr, nullptr), lumStsBadArgument);
        EXPECT_EQ(fn(src, 2, &pos, dst, &marker, 1, 64, 0, nullptr, nullptr), lumStsBadArgument);
        EXPECT_EQ(fn(src, 2, &pos, dst, &marker, 63, 63, 13, nullptr, &state), lumStsNullPointer);
        EXPECT_EQ(fn(src, 2, &pos, dst, &marker, 63, 63, 13, a, nullptr), lumStsNullPointer);
    }
    EXPECT_EQ(lumiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(src, 2, &pos, dst, nullptr, &marker, 14, nullptr, nullptr),
              lumStsNullPointer);
    EXPECT_EQ(lumiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(src, 2, &pos, dst, &last, &marker, 14, nullptr, nullptr),
              lumStsBadArgument);
    EXPECT_EQ(lumiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(src, 2, &pos, dst, &last, &marker, 13, nullptr, &state),
              lumStsNullPointer);
    EXPECT_EQ(lumiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(src, 2, &pos, dst, &last, &marker, 0, d, nullptr),
              lumStsNullPointer);
    EXPECT_EQ(lumiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(nullptr, -1, &pos, dst, &marker, 0, &state),
              lumStsNullPointer);
    EXPECT_EQ(lumiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(src, -1, nullptr, dst, &marker, 0, &state), lumStsBadSize);
    EXPECT_EQ(lumiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(src, 2, &pos, dst, &marker, 14, nullptr), lumStsBadArgument);
    EXPECT_EQ(lumiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(src, 2, &pos, dst, &marker, 13, nullptr), lumStsNullPointer);
    EXPECT_TRUE(block.payloadIsCanary());
    EXPECT_EQ(pos, 0);
    EXPECT_EQ(last, 9);
    EXPECT_EQ(readState(&state).eobRun, 4);
}

// ---- Markers in the kernels ------------------------------------------------------------------

// Once a kernel meets a marker, the call says so even when the block ends normally afterwards;
// px reports it only when its last step met it.
TEST_P(HuffDecProgressive, MarkerStatusOfTheCallDiffersByTier)
{
    BitString bs;
    sym(bs, 0x01);
    bs.value(1, 1);
    sym(bs, 0x00);
    std::vector<uint8_t> bytes = bs.bytes();
    bytes.insert(bytes.end(), {0xFF, 0xD2});
    Session s(bytes);
    Block b{};
    const LumStatus st = s.acFirst(b.data(), 1, 63, 0, ac());
    EXPECT_EQ(s.marker, 0xD2);
    EXPECT_EQ(st, wide() ? lumStsJpegMarkerMet : lumStsNoErr);
    // After the marker, a block that needs more bits than are held fails.
    Block c{};
    EXPECT_EQ(s.acFirst(c.data(), 1, 63, 0, ac()), lumStsOutOfBuffer);
}

TEST_P(HuffDecProgressive, BufferEndingBehindFFIsOutOfBuffer)
{
    Session s({0x00, 0xFF});
    Block b{};
    EXPECT_EQ(s.acFirst(b.data(), 1, 63, 0, ac()), lumStsOutOfBuffer);
    EXPECT_EQ(s.pos, 2);
}

LUM_ALL_TIERS(HuffDecProgressive);

}  // namespace
