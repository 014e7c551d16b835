// Huffman statistics of the progressive passes and table construction. Exactness class: exact across
// all tiers (counts, BITS, HUFFVAL and statuses are the same in every tier).
#include "huffman_enc_support.h"
#include "test_support.h"
#include "tier_fixture.h"

#include <lum.h>

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

using namespace lumtest;

class HuffmanStats : public TierTest {};
class RawTable : public TierTest {};

// ---- Table construction ------------------------------------------------------------------------------

struct TableResult {
    LumStatus status;
    std::array<uint8_t, 16> bits;
    std::vector<uint8_t> vals;  // 256 bytes, canary-filled before the call
};

TableResult build(const std::vector<int32_t>& counts)
{
    std::vector<int32_t> freq(257, 0);
    std::copy(counts.begin(), counts.end(), freq.begin());
    const auto before = freq;
    TableResult r;
    r.bits.fill(kCanary);
    r.vals.assign(256, kCanary);
    r.status = lumiEncodeHuffmanRawTableInit_JPEG_8u(freq.data(), r.bits.data(), r.vals.data());
    EXPECT_EQ(freq, before);
    return r;
}

std::vector<int32_t> countsOf(std::initializer_list<std::pair<int, int32_t>> entries)
{
    std::vector<int32_t> c(256, 0);
    for (auto [s, n] : entries) c[s] = n;
    return c;
}

TEST_P(RawTable, NullArguments)
{
    std::vector<int32_t> freq(257, 1);
    uint8_t bits[16], vals[256];
    EXPECT_EQ(lumiEncodeHuffmanRawTableInit_JPEG_8u(nullptr, bits, vals), lumStsNullPointer);
    EXPECT_EQ(lumiEncodeHuffmanRawTableInit_JPEG_8u(freq.data(), nullptr, vals), lumStsNullPointer);
    EXPECT_EQ(lumiEncodeHuffmanRawTableInit_JPEG_8u(freq.data(), bits, nullptr), lumStsNullPointer);
}

TEST_P(RawTable, AllZeroCounts)
{
    const auto r = build({});
    EXPECT_EQ(r.status, lumStsNoErr);
    for (uint8_t b : r.bits) EXPECT_EQ(b, 0);
    for (uint8_t v : r.vals) ASSERT_EQ(v, kCanary);
}

TEST_P(RawTable, OneSymbol)
{
    const auto r = build(countsOf({{77, 5}}));
    EXPECT_EQ(r.status, lumStsNoErr);
    EXPECT_EQ(r.bits, (std::array<uint8_t, 16>{1}));
    EXPECT_EQ(r.vals[0], 77);
    EXPECT_EQ(r.vals[1], kCanary);
}

TEST_P(RawTable, TiesGoToTheHighestSymbol)
{
    // The reserved symbol merges first with 20, the higher of the tie: 10 gets one bit, 20 two.
    const auto r = build(countsOf({{10, 5}, {20, 5}}));
    EXPECT_EQ(r.status, lumStsNoErr);
    EXPECT_EQ(r.bits, (std::array<uint8_t, 16>{1, 1}));
    EXPECT_EQ(r.vals[0], 10);
    EXPECT_EQ(r.vals[1], 20);
    EXPECT_EQ(r.vals[2], kCanary);
}

TEST_P(RawTable, AllSymbolsOnce)
{
    const auto r = build(std::vector<int32_t>(256, 1));
    EXPECT_EQ(r.status, lumStsNoErr);
    EXPECT_EQ(r.bits, (std::array<uint8_t, 16>{0, 0, 0, 0, 0, 0, 0, 255, 1}));
    for (int i = 0; i < 256; ++i) ASSERT_EQ(r.vals[i], i);
}

TEST_P(RawTable, CountsAboveOneBillionAreNeverPicked)
{
    const auto r = build(countsOf({{5, 1000000001}, {6, 3}, {7, 1000000000}}));
    EXPECT_EQ(r.status, lumStsNoErr);
    EXPECT_EQ(r.bits, (std::array<uint8_t, 16>{1, 1}));
    EXPECT_EQ(r.vals[0], 7);
    EXPECT_EQ(r.vals[1], 6);
    EXPECT_EQ(r.vals[2], kCanary);
}

// Fibonacci counts from 2, 3 make a tree as deep as there are symbols (from 1, 1 the reserved
// symbol's ties would pair them up).
std::vector<int32_t> fibonacciCounts(int symbols)
{
    std::vector<int32_t> c(256, 0);
    int32_t a = 2, b = 3;
    for (int i = 0; i < symbols; ++i) {
        c[static_cast<size_t>(3 * i)] = a;
        const int32_t next = a + b;
        a = b;
        b = next;
    }
    return c;
}

TEST_P(RawTable, LongCodesAreCutToSixteenBits)
{
    // Sizes 1 to 24 before the cut; eleven codes end up at 16 bits.
    const auto r = build(fibonacciCounts(24));
    ASSERT_EQ(r.status, lumStsNoErr);
    EXPECT_EQ(r.bits, (std::array<uint8_t, 16>{1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 1, 0, 11}));
    // HUFFVAL follows the sizes from before the cut: the most frequent first, the rarest last.
    for (int i = 0; i < 24; ++i) ASSERT_EQ(r.vals[i], 3 * (23 - i));
    EXPECT_EQ(r.vals[24], kCanary);
    SpecRecord huffTable;
    EXPECT_EQ(lumiEncodeHuffmanSpecInit_JPEG_8u(r.bits.data(), r.vals.data(), huffTable.get()), lumStsNoErr);
}

TEST_P(RawTable, CodeSizesAbove32AreRefused)
{
    const auto r = build(fibonacciCounts(36));  // size 36 before any cut
    EXPECT_EQ(r.status, lumStsJpegTableDestroyed);
    for (uint8_t b : r.bits) EXPECT_EQ(b, kCanary);
    for (uint8_t v : r.vals) ASSERT_EQ(v, kCanary);
}

TEST_P(RawTable, ReadsNoMoreThan256Counts)
{
    // The 257th count is replaced anyway; this implementation does not read it.
    GuardedBuffer freq(256 * 4);
    std::memset(freq.data(), 0, 256 * 4);
    const int32_t seven = 7;
    std::memcpy(freq.data() + 4 * 200, &seven, 4);
    uint8_t bits[16], vals[256];
    EXPECT_EQ(lumiEncodeHuffmanRawTableInit_JPEG_8u(reinterpret_cast<const Lum32s*>(freq.data()), bits, vals),
              lumStsNoErr);
    EXPECT_EQ(bits[0], 1);
    EXPECT_EQ(vals[0], 200);
}

TEST_P(RawTable, RandomCountsGiveValidTables)
{
    std::mt19937 rng(71);
    for (int round = 0; round < 200; ++round) {
        std::vector<int32_t> c(256, 0);
        const int used = 1 + static_cast<int>(rng() % 256);
        for (int i = 0; i < used; ++i) c[rng() % 256] = static_cast<int32_t>(1 + (rng() % 4 == 0 ? rng() % 100000 : rng() % 30));
        const auto r = build(c);
        ASSERT_EQ(r.status, lumStsNoErr);
        const auto nonzero = static_cast<int>(std::count_if(c.begin(), c.end(), [](int32_t x) { return x != 0; }));
        int total = 0;
        for (uint8_t b : r.bits) total += b;
        ASSERT_EQ(total, nonzero);
        std::vector<uint8_t> vals(r.vals.begin(), r.vals.begin() + total);
        std::vector<uint8_t> sorted = vals;
        std::sort(sorted.begin(), sorted.end());
        ASSERT_TRUE(std::adjacent_find(sorted.begin(), sorted.end()) == sorted.end());
        for (uint8_t v : vals) ASSERT_NE(c[v], 0);
        SpecRecord huffTable;
        ASSERT_EQ(lumiEncodeHuffmanSpecInit_JPEG_8u(r.bits.data(), r.vals.data(), huffTable.get()), lumStsNoErr);
    }
}

// ---- Statistics ---------------------------------------------------------------------------------------

TEST_P(HuffmanStats, CheckOrder)
{
    std::vector<int32_t> freq(257, 0);
    Lum16s lastDc = 3;
    const auto b = blockWith({{1, 1}}, 9);
    EXPECT_EQ(lumiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(nullptr, freq.data(), &lastDc, 99), lumStsNullPointer);
    EXPECT_EQ(lumiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(b.data(), nullptr, &lastDc, 99), lumStsNullPointer);
    EXPECT_EQ(lumiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(b.data(), freq.data(), nullptr, 99), lumStsNullPointer);
    EXPECT_EQ(lumiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(b.data(), freq.data(), &lastDc, 14), lumStsBadArgument);
    EXPECT_EQ(lumiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(b.data(), freq.data(), &lastDc, -1), lumStsBadArgument);
    EXPECT_EQ(lastDc, 3);

    using AcFn = decltype(::lumiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1);
    for (AcFn* fn : {&lumiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1,
                     &lumiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1}) {
        State state(1, 0x11);
        state.setField(kEobRun, 5);
        state.setField(kCorrBitCount, 2);
        const auto before = state.snapshot();
        EXPECT_EQ(fn(nullptr, nullptr, 0, 99, 99, nullptr, 0), lumStsNullPointer);
        EXPECT_EQ(fn(b.data(), nullptr, 1, 63, 0, state.get(), 1), lumStsNullPointer);
        EXPECT_EQ(fn(b.data(), freq.data(), 1, 63, 0, nullptr, 1), lumStsNullPointer);
        EXPECT_EQ(fn(nullptr, freq.data(), 0, 99, 99, state.get(), 0), lumStsNullPointer);
        EXPECT_EQ(fn(b.data(), freq.data(), 0, 63, 0, state.get(), 0), lumStsBadArgument);
        EXPECT_EQ(fn(b.data(), freq.data(), 64, 64, 0, state.get(), 0), lumStsBadArgument);
        EXPECT_EQ(fn(b.data(), freq.data(), 9, 8, 0, state.get(), 0), lumStsBadArgument);
        EXPECT_EQ(fn(b.data(), freq.data(), 1, 64, 0, state.get(), 0), lumStsBadArgument);
        EXPECT_EQ(fn(b.data(), freq.data(), 1, 63, 14, state.get(), 0), lumStsBadArgument);
        EXPECT_EQ(state.snapshot(), before);
        // A flush needs no block and no band: the run of 5 is counted as EOB2.
        EXPECT_EQ(fn(nullptr, freq.data(), 0, 99, 99, state.get(), 1), lumStsNoErr);
        EXPECT_EQ(freq[0x20], 1);
        freq[0x20] = 0;
        for (int i = 0; i < kReserved; ++i) ASSERT_EQ(state.bytes()[i], 0);
        for (int i = kReserved; i < kStateBytes; ++i) ASSERT_EQ(state.bytes()[i], 0x11);
    }
    for (int32_t f : freq) EXPECT_EQ(f, 0);
}

TEST_P(HuffmanStats, DcFirstCountsCategories)
{
    GuardedBuffer room(256 * 4);  // counting needs no 257th entry
    std::memset(room.data(), 0, 256 * 4);
    auto* freq = reinterpret_cast<Lum32s*>(room.data());
    Lum16s lastDc = 0;
    EXPECT_EQ(lumiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(blockWith({}, 20).data(), freq, &lastDc, 2), lumStsNoErr);
    EXPECT_EQ(lastDc, 5);
    EXPECT_EQ(lumiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(blockWith({}, 20).data(), freq, &lastDc, 2), lumStsNoErr);
    EXPECT_EQ(freq[3], 1);
    EXPECT_EQ(freq[0], 1);
    EXPECT_EQ(lumiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(blockWith({}, 2052).data(), freq, &lastDc, 0),
              lumStsNoErr);  // 2047: category 11
    EXPECT_EQ(freq[11], 1);
    EXPECT_EQ(lumiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(blockWith({}, -2000).data(), freq, &lastDc, 0),
              lumStsJpegCoefOutOfRange);  // -4052: category 12
    EXPECT_EQ(lastDc, -2000);
    EXPECT_EQ(freq[12], 0);
}

TEST_P(HuffmanStats, AcFirstAllZeroBlockOnlyGrowsTheRun)
{
    std::vector<int32_t> freq(257, 0);
    State state(3, 0x6B);
    lumiEncodeHuffmanStateInit_JPEG_8u(state.get());
    std::memset(state.bytes(), 0x6B, kStateBytes);
    state.setField(kEobRun, 0);
    state.setField(kCorrBitCount, 0);
    const auto zero = blockWith({}, 100);
    EXPECT_EQ(lumiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(zero.data(), freq.data(), 1, 63, 0, state.get(), 0),
              lumStsNoErr);
    for (int32_t f : freq) ASSERT_EQ(f, 0);
    EXPECT_EQ(state.field(kEobRun), 1);
    // Only the run and the correction-bit count are used: the accumulator and corrBits stay.
    EXPECT_EQ(state.field(kBitAcc), 0x6B6B6B6B);
    EXPECT_EQ(state.field(kBitCount), 0x6B6B6B6B);
    for (int i = kCorrBits; i < kStateBytes; ++i) ASSERT_EQ(state.bytes()[i], 0x6B);
    EXPECT_EQ(lumiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(nullptr, freq.data(), 0, 0, 0, state.get(), 1),
              lumStsNoErr);
    EXPECT_EQ(freq[0], 1);
    EXPECT_EQ(std::accumulate(freq.begin(), freq.end(), 0), 1);
}

TEST_P(HuffmanStats, AcFirstRefusesSizeEleven)
{
    std::vector<int32_t> freq(257, 0);
    State state;
    lumiEncodeHuffmanStateInit_JPEG_8u(state.get());
    const auto zero = blockWith({});
    for (int i = 0; i < 2; ++i)
        lumiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(zero.data(), freq.data(), 1, 63, 0, state.get(), 0);
    // Size 10 counts; size 11, which encoding accepts, is refused after the run and the ZRL counted.
    EXPECT_EQ(lumiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(blockWith({{1, -1023}}).data(), freq.data(), 1, 63, 0,
                                                              state.get(), 0),
              lumStsNoErr);
    EXPECT_EQ(freq[0x10], 1);  // the run of two
    EXPECT_EQ(freq[0x0A], 1);
    EXPECT_EQ(lumiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(blockWith({{18, 1024}}).data(), freq.data(), 1, 63, 0,
                                                              state.get(), 0),
              lumStsJpegCoefOutOfRange);
    EXPECT_EQ(freq[0x00], 1);  // the run of one from the size-10 block
    EXPECT_EQ(freq[0xF0], 1);
    EXPECT_EQ(freq[0x1B], 0);
    EXPECT_EQ(state.field(kEobRun), 0);
}

TEST_P(HuffmanStats, AcRefineZrlOnlyWithSomethingNewBehind)
{
    for (bool somethingNew : {true, false}) {
        std::vector<int32_t> freq(257, 0);
        State state;
        lumiEncodeHuffmanStateInit_JPEG_8u(state.get());
        const auto b = blockWith({{1, 2}, {20, somethingNew ? 1 : 3}});
        EXPECT_EQ(lumiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(b.data(), freq.data(), 1, 63, 0, state.get(), 0),
                  lumStsNoErr);
        EXPECT_EQ(freq[0xF0], somethingNew ? 1 : 0);
        EXPECT_EQ(freq[0x21], somethingNew ? 1 : 0);
        EXPECT_EQ(state.field(kEobRun), 1);
        EXPECT_EQ(state.field(kCorrBitCount), somethingNew ? 0 : 2);
    }
}

// Counts of a whole scan, with flushes at restart points.
template <typename Fn>
std::vector<int32_t> countScan(Fn fn, const std::vector<model::Block>& blocks, int restart)
{
    std::vector<int32_t> freq(257, 0);
    State state(5);
    lumiEncodeHuffmanStateInit_JPEG_8u(state.get());
    for (size_t i = 0; i < blocks.size(); ++i) {
        EXPECT_EQ(fn(blocks[i].data(), freq.data(), state.get(), 0), lumStsNoErr);
        if (restart != 0 && (i + 1) % static_cast<size_t>(restart) == 0) fn(nullptr, freq.data(), state.get(), 1);
    }
    EXPECT_EQ(fn(nullptr, freq.data(), state.get(), 1), lumStsNoErr);
    return freq;
}

TEST_P(HuffmanStats, RandomScansCountWhatTheModelSends)
{
    auto blocks = randomBlocks(1500, 81, 1023, 1023);
    const model::Table none{};
    struct Setup {
        int ss, se, al, restart;
    };
    for (const Setup s : {Setup{1, 63, 0, 0}, Setup{1, 5, 1, 10}, Setup{6, 63, 2, 0}, Setup{1, 63, 0, 1}}) {
        for (bool refine : {false, true}) {
            model::Counter counter;
            model::AcScan<model::Counter> scan(counter, none, s.ss, s.se, s.al);
            for (size_t i = 0; i < blocks.size(); ++i) {
                refine ? scan.refine(blocks[i]) : scan.first(blocks[i]);
                if (s.restart != 0 && (i + 1) % static_cast<size_t>(s.restart) == 0) scan.finish();
            }
            scan.finish();
            const auto got = countScan(
                [&](const Lum16s* b, Lum32s* freq, LumEncodeHuffmanState* st, Lum32s flush) {
                    return refine ? lumiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(b, freq, s.ss, s.se, s.al, st, flush)
                                  : lumiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(b, freq, s.ss, s.se, s.al, st, flush);
                },
                blocks, s.restart);
            EXPECT_TRUE(std::equal(got.begin(), got.begin() + 256, counter.freq.begin()))
                << "refine " << refine << " Ss " << s.ss << " Al " << s.al;
        }
    }
    model::Counter dcCounter;
    std::vector<int32_t> freq(257, 0);
    int modelDc = 0;
    Lum16s lastDc = 0;
    for (const auto& b : blocks) {
        model::dcFirstBlock(dcCounter, b, modelDc, 1, none);
        ASSERT_EQ(lumiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(b.data(), freq.data(), &lastDc, 1), lumStsNoErr);
    }
    EXPECT_TRUE(std::equal(freq.begin(), freq.begin() + 256, dcCounter.freq.begin()));
}

TEST_P(HuffmanStats, TwoPassesGiveAFittedTableThatEncodesTheScan)
{
    // Counts, then a table from them, then the encoding pass with the same state record.
    const auto blocks = randomBlocks(800, 91, 255, 255);
    State state(9);
    lumiEncodeHuffmanStateInit_JPEG_8u(state.get());
    std::vector<int32_t> freq(257, 0);
    for (const auto& b : blocks)
        ASSERT_EQ(lumiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(b.data(), freq.data(), 1, 63, 0, state.get(), 0),
                  lumStsNoErr);
    ASSERT_EQ(lumiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(nullptr, freq.data(), 0, 0, 0, state.get(), 1),
              lumStsNoErr);
    TableSpec table;
    table.vals.resize(256);
    ASSERT_EQ(lumiEncodeHuffmanRawTableInit_JPEG_8u(freq.data(), table.bits.data(), table.vals.data()), lumStsNoErr);
    SpecRecord huffTable;
    initSpec(huffTable, table);
    std::vector<uint8_t> out(200000);
    Lum32s pos = 0;
    for (const auto& b : blocks)
        ASSERT_EQ(lumiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(b.data(), out.data(), 200000, &pos, 1, 63, 0, huffTable.get(),
                                                            state.get(), 0),
                  lumStsNoErr);
    ASSERT_EQ(lumiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(nullptr, out.data(), 200000, &pos, 0, 0, 0, huffTable.get(),
                                                        state.get(), 1),
              lumStsNoErr);
    out.resize(static_cast<size_t>(pos));
    model::BitList bits;
    const auto t = modelTable(table);
    model::AcScan<model::BitList> scan(bits, t, 1, 63, 0);
    for (const auto& b : blocks) scan.first(b);
    scan.finish();
    EXPECT_EQ(out, bytesOf(bits));
}

LUM_ALL_TIERS(HuffmanStats);
LUM_ALL_TIERS(RawTable);

}  // namespace
