// Quantization tables and block quantization in all tiers. Exact across tiers: quality scaling, the
// forward table for steps 0..255 and the inverse table. Exact per tier: block quantization and
// dequantization, px with ties to even and saturation, the vector tiers with their own rounding and
// wrap, checked against models written here at every misalignment of block and table. A quality of
// 0 raises the processor's divide fault, checked in a child process.
// Class: exact across all tiers for the three tables; exact per tier for the block functions.
#include "test_support.h"
#include "tier_fixture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <random>
#include <unistd.h>
#include <vector>

namespace {

using lumtest::CanaryBuffer;
using Block = std::array<int16_t, 64>;
using Table = std::array<uint16_t, 64>;
using RawTable = std::array<uint8_t, 64>;

// The zigzag sequence: position k of a raw table holds natural index kZigzag[k].
constexpr int kZigzag[64] = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,
                             12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,
                             35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,
                             58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

int32_t wrap32(int64_t v) { return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(v))); }
int16_t low16(int64_t v) { return static_cast<int16_t>(static_cast<uint16_t>(static_cast<uint64_t>(v))); }
int16_t clamp16(int64_t v) { return static_cast<int16_t>(std::clamp<int64_t>(v, -32768, 32767)); }

// ---- Models

RawTable scaleModel(RawTable t, int32_t quality)
{
    const int32_t scale = quality < 50 ? 5000 / quality : wrap32(200 - 2 * int64_t{quality});
    for (auto& b : t) b = static_cast<uint8_t>(std::clamp<int32_t>(wrap32(int64_t{b} * scale + 50) / 100, 1, 255));
    return t;
}

Table naturalModel(const RawTable& raw)
{
    Table t;
    for (int k = 0; k < 64; ++k) t[kZigzag[k]] = raw[k];
    return t;
}

// 32768/x to the nearest integer; no step of 1..255 has a quotient at a tie.
uint16_t reciprocalModel(uint16_t x) { return x == 0 ? 65535 : static_cast<uint16_t>(std::lround(32768.0 / x)); }

// s*q/32768 rounded to nearest, ties to even, saturated.
int16_t pxQuantModel(int16_t s, uint16_t q)
{
    const int64_t p = int64_t{s} * q;
    int64_t quotient = p >= 0 ? p / 32768 : -((-p + 32767) / 32768);  // floor
    const int64_t twiceRemainder = 2 * (p - quotient * 32768);
    if (twiceRemainder > 32768 || (twiceRemainder == 32768 && (quotient & 1) != 0)) ++quotient;
    return clamp16(quotient);
}

int16_t vectorQuantModel(int16_t s, uint16_t q)
{
    const int16_t shifted = low16(int32_t{s} * 8);
    const int16_t high = static_cast<int16_t>((int32_t{shifted} * int32_t{static_cast<int16_t>(q >> 1)}) >> 16);
    return static_cast<int16_t>((high + 1) >> 1);
}

// ---- Running the exports on misaligned copies between canaries

template <typename T, size_t N>
struct Placed {
    explicit Placed(const std::array<T, N>& init, int offset) : buf(sizeof(T) * N, 32, static_cast<size_t>(offset))
    {
        std::memcpy(buf.data(), init.data(), sizeof(T) * N);
    }
    T* ptr() { return reinterpret_cast<T*>(buf.data()); }
    std::array<T, N> value()
    {
        std::array<T, N> v;
        std::memcpy(v.data(), buf.data(), sizeof(T) * N);
        return v;
    }
    CanaryBuffer buf;
};

Block quantize(LumStatus (*fn)(Lum16s*, const Lum16u*), const Block& in, const Table& table, int blockOffset = 0,
               int tableOffset = 0)
{
    Placed<int16_t, 64> block(in, blockOffset);
    Placed<uint16_t, 64> t(table, tableOffset);
    EXPECT_EQ(fn(block.ptr(), t.ptr()), lumStsNoErr);
    EXPECT_TRUE(block.buf.guardsIntact());
    EXPECT_EQ(t.value(), table);
    return block.value();
}

Block quantFwd(const Block& in, const Table& t, int bo = 0, int to = 0)
{
    return quantize(lumiQuantFwd8x8_JPEG_16s_C1I, in, t, bo, to);
}
Block quantInv(const Block& in, const Table& t, int bo = 0, int to = 0)
{
    return quantize(lumiQuantInv8x8_JPEG_16s_C1I, in, t, bo, to);
}

Table buildTable(LumStatus (*fn)(const Lum8u*, Lum16u*), const RawTable& raw, LumStatus expected, int offset = 0)
{
    Placed<uint16_t, 64> t(Table{}, offset);
    EXPECT_EQ(fn(raw.data(), t.ptr()), expected) << "offset " << offset;
    EXPECT_TRUE(t.buf.guardsIntact());
    return t.value();
}

Table fwdTable(const RawTable& raw, LumStatus expected = lumStsNoErr, int offset = 0)
{
    return buildTable(lumiQuantFwdTableInit_JPEG_8u16u, raw, expected, offset);
}

// An array of one value throughout.
template <typename A>
A filled(typename A::value_type v)
{
    A a;
    a.fill(v);
    return a;
}

RawTable randomRaw(std::mt19937& rng, int lo = 1)
{
    std::uniform_int_distribution<int> d(lo, 255);
    RawTable t;
    for (auto& b : t) b = static_cast<uint8_t>(d(rng));
    return t;
}

class QuantTest : public lumtest::TierTest {
protected:
    int16_t quantModel(int16_t s, uint16_t q) const { return isPx() ? pxQuantModel(s, q) : vectorQuantModel(s, q); }
    int16_t dequantModel(int16_t s, uint16_t q) const
    {
        return isPx() ? clamp16(int64_t{s} * q) : low16(int64_t{s} * q);
    }
};

// ---- Statuses and check order

TEST_P(QuantTest, NullPointersAreRejectedAndNothingIsWritten)
{
    RawTable raw = filled<RawTable>(7);
    Table table = filled<Table>(0xA5A5);
    Block block = filled<Block>(3);
    EXPECT_EQ(lumiQuantFwdRawTableInit_JPEG_8u(nullptr, 50), lumStsNullPointer);
    EXPECT_EQ(lumiQuantFwdRawTableInit_JPEG_8u(nullptr, 0), lumStsNullPointer);  // the check comes first
    EXPECT_EQ(lumiQuantFwdTableInit_JPEG_8u16u(nullptr, table.data()), lumStsNullPointer);
    EXPECT_EQ(lumiQuantFwdTableInit_JPEG_8u16u(raw.data(), nullptr), lumStsNullPointer);
    EXPECT_EQ(lumiQuantInvTableInit_JPEG_8u16u(nullptr, table.data()), lumStsNullPointer);
    EXPECT_EQ(lumiQuantInvTableInit_JPEG_8u16u(raw.data(), nullptr), lumStsNullPointer);
    EXPECT_EQ(lumiQuantFwd8x8_JPEG_16s_C1I(nullptr, table.data()), lumStsNullPointer);
    EXPECT_EQ(lumiQuantFwd8x8_JPEG_16s_C1I(block.data(), nullptr), lumStsNullPointer);
    EXPECT_EQ(lumiQuantInv8x8_JPEG_16s_C1I(nullptr, table.data()), lumStsNullPointer);
    EXPECT_EQ(lumiQuantInv8x8_JPEG_16s_C1I(block.data(), nullptr), lumStsNullPointer);
    EXPECT_EQ(table, filled<Table>(0xA5A5));
    EXPECT_EQ(block, filled<Block>(3));
    EXPECT_EQ(raw, filled<RawTable>(7));
}

// ---- Quality scaling

TEST_P(QuantTest, QualityScalingEdgeCases)
{
    RawTable t = filled<RawTable>(255);
    EXPECT_EQ(lumiQuantFwdRawTableInit_JPEG_8u(t.data(), 1), lumStsNoErr);
    EXPECT_EQ(t, filled<RawTable>(255));
    EXPECT_EQ(lumiQuantFwdRawTableInit_JPEG_8u(t.data(), 100), lumStsNoErr);
    EXPECT_EQ(t, filled<RawTable>(1));

    std::mt19937 rng(7);
    const RawTable base = randomRaw(rng);
    t = base;
    EXPECT_EQ(lumiQuantFwdRawTableInit_JPEG_8u(t.data(), 50), lumStsNoErr);
    EXPECT_EQ(t, base);
    for (const int32_t quality : {101, 1000, -1, -49, -5001, INT32_MIN}) {
        t = base;
        EXPECT_EQ(lumiQuantFwdRawTableInit_JPEG_8u(t.data(), quality), lumStsNoErr);
        EXPECT_EQ(t, filled<RawTable>(1)) << quality;
    }
}

TEST_P(QuantTest, QualityScalingMatchesModel)
{
    std::mt19937 rng(8);
    for (int n = 0; n < 20; ++n) {
        const RawTable base = randomRaw(rng, 0);
        std::vector<int32_t> qualities = {INT32_MIN, INT32_MIN + 1, -1000000, 1000000, INT32_MAX - 1, INT32_MAX};
        for (int32_t quality = -60; quality <= 260; ++quality)
            if (quality != 0) qualities.push_back(quality);
        for (const int32_t quality : qualities) {
            RawTable t = base;
            ASSERT_EQ(lumiQuantFwdRawTableInit_JPEG_8u(t.data(), quality), lumStsNoErr);
            ASSERT_EQ(t, scaleModel(base, quality)) << "quality " << quality;
        }
    }
}

// The child installs a handler for the fault: it exits with a code of its own only for an integer
// divide fault that left the table untouched.
RawTable gFaultTable;
RawTable gFaultOriginal;

void onDivideFault(int, siginfo_t* info, void*)
{
    const bool unchanged = std::memcmp(gFaultTable.data(), gFaultOriginal.data(), 64) == 0;
    _exit(info->si_code == FPE_INTDIV && unchanged ? 42 : 43);
}

void scaleWithQualityZero()
{
    struct sigaction action = {};
    action.sa_sigaction = onDivideFault;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGFPE, &action, nullptr);
    gFaultOriginal = filled<RawTable>(16);
    gFaultTable = gFaultOriginal;
    volatile Lum32s quality = 0;
    lumiQuantFwdRawTableInit_JPEG_8u(gFaultTable.data(), quality);
    _exit(0);  // not reached when the division faults
}

TEST_P(QuantTest, QualityZeroRaisesTheDivideFault)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(scaleWithQualityZero(), ::testing::ExitedWithCode(42), "");
}

// ---- Table construction

TEST_P(QuantTest, InverseTableIsTheRawTableInNaturalOrder)
{
    RawTable raw = filled<RawTable>(99);
    const uint8_t first[8] = {16, 11, 10, 16, 24, 40, 51, 61};
    std::copy(first, first + 8, raw.begin());
    const Table t = buildTable(lumiQuantInvTableInit_JPEG_8u16u, raw, lumStsNoErr);
    EXPECT_EQ(t[0], 16);
    EXPECT_EQ(t[1], 11);
    EXPECT_EQ(t[8], 10);
    EXPECT_EQ(t[2], 40);
    EXPECT_EQ(t[3], 51);

    std::mt19937 rng(9);
    for (int offset = 0; offset < 16; ++offset) {
        RawTable r = randomRaw(rng, 0);
        r[offset * 4] = 0;  // a zero step is copied without a warning
        EXPECT_EQ(buildTable(lumiQuantInvTableInit_JPEG_8u16u, r, lumStsNoErr, offset), naturalModel(r));
    }
}

TEST_P(QuantTest, ForwardTableOfListedSteps)
{
    const std::pair<uint8_t, uint16_t> cases[] = {{1, 32768}, {2, 16384}, {3, 10923}, {5, 6554}, {7, 4681}, {255, 129}};
    for (const auto& [step, reciprocal] : cases) {
        for (const int offset : {0, 1, 2, 6, 8, 14}) EXPECT_EQ(fwdTable(filled<RawTable>(step), lumStsNoErr, offset), filled<Table>(reciprocal));
    }
}

// Every step 1..255 at every position and every destination misalignment (the vector tiers split
// the table into scalar and vector runs by the destination's alignment).
TEST_P(QuantTest, ForwardTableOfEveryStepAtEveryOffset)
{
    for (int offset = 0; offset < 16; ++offset) {
        for (int first = 1; first <= 255; first += 16) {
            RawTable raw;
            for (int k = 0; k < 64; ++k) raw[k] = static_cast<uint8_t>((first - 1 + k * 4 + offset) % 255 + 1);
            Table expected;
            for (int k = 0; k < 64; ++k) expected[kZigzag[k]] = reciprocalModel(raw[k]);
            ASSERT_EQ(fwdTable(raw, lumStsNoErr, offset), expected) << "offset " << offset;
        }
    }
}

TEST_P(QuantTest, ZeroStepGives65535AndAWarning)
{
    EXPECT_EQ(lumStsDivByZeroWarning, 6);
    std::mt19937 rng(10);
    for (int offset = 0; offset < 16; ++offset) {
        for (const int zeroAt : {0, 1, 7, 8, 30, 56, 63}) {
            RawTable raw = randomRaw(rng);
            raw[zeroAt] = 0;
            raw[(zeroAt + 33) % 64] = 1;
            Table expected;
            for (int k = 0; k < 64; ++k) expected[kZigzag[k]] = reciprocalModel(raw[k]);
            EXPECT_EQ(fwdTable(raw, lumStsDivByZeroWarning, offset), expected) << offset << " " << zeroAt;
        }
    }
    EXPECT_EQ(fwdTable(filled<RawTable>(0), lumStsDivByZeroWarning), filled<Table>(65535));
}

// ---- Block quantization

TEST_P(QuantTest, HalfwayQuotientsShowEachRounding)
{
    const auto single = [](int16_t s, uint16_t q) { return quantFwd(filled<Block>(s), filled<Table>(q))[0]; };
    EXPECT_EQ(single(-11, 16384), isPx() ? -6 : -5);
    EXPECT_EQ(single(41, 16384), isPx() ? 20 : 21);
    EXPECT_EQ(single(8, 2048), isPx() ? 0 : 1);
}

TEST_P(QuantTest, ForwardMatchesModelAtEveryOffset)
{
    std::mt19937 rng(11 + slot());
    for (int blockOffset = 0; blockOffset < 16; ++blockOffset) {
        for (int n = 0; n < 12; ++n) {
            const int tableOffset = (blockOffset * 5 + n) % 16;
            const Table table = fwdTable(randomRaw(rng));
            const int range = n < 8 ? 4095 : 32768;
            std::uniform_int_distribution<int> d(-range, std::min(range, 32767));
            Block in;
            for (auto& v : in) v = static_cast<int16_t>(d(rng));
            Block expected;
            for (int i = 0; i < 64; ++i) expected[i] = quantModel(in[i], table[i]);
            ASSERT_EQ(quantFwd(in, table, blockOffset, tableOffset), expected) << blockOffset << " " << n;
        }
    }
}

// The vector rounding is round-half-up of s*(q with its low bit cleared)/32768, so a coefficient
// differs from px with a probability of about |s|/32768 when q is odd: 1.6% for coefficients uniform
// in -2047..2047 and random steps, near the 1.75% known for typical data. Within -4095..4095 no
// difference exceeds one.
TEST_P(QuantTest, VectorRoundingDiffersFromPxByAtMostOne)
{
    if (isPx()) GTEST_SKIP() << "compares a vector tier with px";
    std::mt19937 rng(12);
    for (const int range : {2047, 4095}) {
        std::uniform_int_distribution<int> d(-range, range);
        int differing = 0, total = 0;
        for (int n = 0; n < 400; ++n) {
            const Table table = fwdTable(randomRaw(rng));
            Block in;
            for (auto& v : in) v = static_cast<int16_t>(d(rng));
            Block reference = in;
            lum::px::lumiQuantFwd8x8_JPEG_16s_C1I(reference.data(), table.data());
            const Block out = quantFwd(in, table);
            for (int i = 0; i < 64; ++i, ++total) {
                ASSERT_LE(std::abs(out[i] - reference[i]), 1) << in[i] << " " << table[i];
                differing += out[i] != reference[i];
            }
        }
        const double rate = 100.0 * differing / total, expected = 100.0 * (range + 1) / 2 / 65536;
        EXPECT_NEAR(rate, expected, expected / 4) << "range " << range;
    }
}

TEST_P(QuantTest, InverseSaturatesInPxAndWrapsInVectorTiers)
{
    Block in = filled<Block>(1000);
    in[5] = -1000;
    in[6] = 7;
    const Block out = quantInv(in, filled<Table>(100));
    EXPECT_EQ(out[0], isPx() ? 32767 : low16(100000));
    EXPECT_EQ(out[5], isPx() ? -32768 : low16(-100000));
    EXPECT_EQ(out[6], 700);
}

TEST_P(QuantTest, InverseMatchesModelAtEveryOffset)
{
    std::mt19937 rng(13 + slot());
    for (int blockOffset = 0; blockOffset < 16; ++blockOffset) {
        for (int tableOffset = 0; tableOffset < 16; ++tableOffset) {
            const bool large = tableOffset % 4 == 3;
            std::uniform_int_distribution<int> d(large ? -32768 : -2047, large ? 32767 : 2047);
            const Table table = naturalModel(randomRaw(rng));
            Block in;
            for (auto& v : in) v = static_cast<int16_t>(d(rng));
            Block expected;
            for (int i = 0; i < 64; ++i) expected[i] = dequantModel(in[i], table[i]);
            ASSERT_EQ(quantInv(in, table, blockOffset, tableOffset), expected) << blockOffset << " " << tableOffset;
        }
    }
}

TEST(QuantRows, RawTableScalingIsSharedByW7AndT7)
{
    EXPECT_EQ(lumRow_lumiQuantFwdRawTableInit_JPEG_8u[0], &lum::px::lumiQuantFwdRawTableInit_JPEG_8u);
    EXPECT_EQ(lumRow_lumiQuantFwdRawTableInit_JPEG_8u[1], &lum::a6::lumiQuantFwdRawTableInit_JPEG_8u);
    EXPECT_EQ(lumRow_lumiQuantFwdRawTableInit_JPEG_8u[2], &lum::w7::lumiQuantFwdRawTableInit_JPEG_8u);
    EXPECT_EQ(lumRow_lumiQuantFwdRawTableInit_JPEG_8u[3], &lum::w7::lumiQuantFwdRawTableInit_JPEG_8u);
    EXPECT_EQ(lumRow_lumiQuantFwd8x8_JPEG_16s_C1I[3], &lum::t7::lumiQuantFwd8x8_JPEG_16s_C1I);
    EXPECT_NE(lumRow_lumiQuantFwd8x8_JPEG_16s_C1I[2], lumRow_lumiQuantFwd8x8_JPEG_16s_C1I[3]);
}

LUM_ALL_TIERS(QuantTest);

}  // namespace
