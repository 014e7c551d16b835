// Level shift and zigzag in all tiers, exact across tiers: literal values, the check order with
// several bad arguments at once, nothing written on failure, every width and misalignment against
// a model, sources that end at a PROT_NONE page, and no byte written between or beyond the rows.
// Class: exact across all tiers.
#include "test_support.h"
#include "tier_fixture.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace {

using lumtest::CanaryBuffer;
using lumtest::GuardedBuffer;
using lumtest::kCanary;

int16_t load16(const uint8_t* p)
{
    int16_t v;
    std::memcpy(&v, p, 2);
    return v;
}

void store16(uint8_t* p, int16_t v) { std::memcpy(p, &v, 2); }

// A region of `height` rows of `rowBytes` bytes, `step` apart, in a canary-filled buffer whose
// first row starts `offset` bytes past a 64-byte boundary.
struct Region {
    Region(int rowBytes, int height, int step, int offset)
        : rowBytes(rowBytes), height(height), step(step),
          buf(static_cast<size_t>(step) * (height - 1) + rowBytes, 32, static_cast<size_t>(offset))
    {
    }
    uint8_t* row(int y) { return buf.data() + static_cast<size_t>(y) * step; }
    // Every byte that is not part of a row, between rows included, still holds the canary.
    bool gapsIntact()
    {
        if (!buf.guardsIntact()) return false;
        for (int y = 0; y + 1 < height; ++y)
            for (int i = rowBytes; i < step; ++i)
                if (row(y)[i] != kCanary) return false;
        return true;
    }
    int rowBytes, height, step;
    CanaryBuffer buf;
};

using LevelShiftTest = lumtest::TierTest;

// ---- Literal values

TEST_P(LevelShiftTest, Sub128Values)
{
    const uint8_t src[4] = {0, 255, 128, 1};
    int16_t dst[4] = {};
    ASSERT_EQ(lumiSub128_JPEG_8u16s_C1R(src, 4, dst, 8, {4, 1}), lumStsNoErr);
    EXPECT_EQ(dst[0], -128);
    EXPECT_EQ(dst[1], 127);
    EXPECT_EQ(dst[2], 0);
    EXPECT_EQ(dst[3], -127);
}

TEST_P(LevelShiftTest, Add128ValuesAcrossTheWholeInputRange)
{
    const int16_t src[8] = {-129, -128, 127, 128, 32767, -32768, 0, -1};
    const uint8_t expected[8] = {0, 0, 255, 255, 255, 0, 128, 127};
    // Width 8 runs a vector step, width 1 a scalar one, in every tier.
    uint8_t dst[8] = {};
    ASSERT_EQ(lumiAdd128_JPEG_16s8u_C1R(src, 16, dst, 8, {8, 1}), lumStsNoErr);
    for (int i = 0; i < 8; ++i) EXPECT_EQ(dst[i], expected[i]) << src[i];
    for (int i = 0; i < 8; ++i) {
        uint8_t one = 77;
        ASSERT_EQ(lumiAdd128_JPEG_16s8u_C1R(src + i, 2, &one, 1, {1, 1}), lumStsNoErr);
        EXPECT_EQ(one, expected[i]) << src[i];
    }
}

// ---- Checks

TEST_P(LevelShiftTest, ChecksRunInOrderAndWriteNothing)
{
    uint8_t bytes[64];
    std::fill(std::begin(bytes), std::end(bytes), kCanary);
    int16_t words[64];
    std::fill(std::begin(words), std::end(words), int16_t{0x5A5A});
    const LumSize ok = {8, 8}, empty = {0, 8};
    struct Case {
        bool srcNull;
        Lum32s srcStep;
        bool dstNull;
        Lum32s dstStep;
        LumSize roi;
        LumStatus expected;
    };
    const Case cases[] = {
        {true, 0, true, 0, empty, lumStsNullPointer}, {false, 0, true, 0, empty, lumStsBadStep},
        {false, 8, true, 0, empty, lumStsNullPointer}, {false, 8, false, 0, empty, lumStsBadStep},
        {false, 8, false, -4, ok, lumStsBadStep},      {false, 16, false, 16, empty, lumStsBadSize},
        {false, 16, false, 16, {8, 0}, lumStsBadSize}, {false, 16, false, 16, {-1, -1}, lumStsBadSize},
        {false, -1, false, 16, ok, lumStsBadStep},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(lumiSub128_JPEG_8u16s_C1R(c.srcNull ? nullptr : bytes, c.srcStep, c.dstNull ? nullptr : words,
                                            c.dstStep, c.roi),
                  c.expected);
        EXPECT_EQ(lumiAdd128_JPEG_16s8u_C1R(c.srcNull ? nullptr : words, c.srcStep, c.dstNull ? nullptr : bytes,
                                            c.dstStep, c.roi),
                  c.expected);
    }
    EXPECT_TRUE(std::all_of(std::begin(bytes), std::end(bytes), [](uint8_t b) { return b == kCanary; }));
    EXPECT_TRUE(std::all_of(std::begin(words), std::end(words), [](int16_t w) { return w == 0x5A5A; }));
}

TEST_P(LevelShiftTest, StepsAreNotComparedWithTheWidth)
{
    // A step of 1 with a width of 4 makes the rows overlap: allowed, and computed row by row.
    const uint8_t src[8] = {10, 20, 30, 40, 50, 60, 70, 80};
    int16_t dst[8] = {};
    ASSERT_EQ(lumiSub128_JPEG_8u16s_C1R(src, 1, dst, 8, {4, 2}), lumStsNoErr);
    EXPECT_EQ(dst[0], 10 - 128);
    EXPECT_EQ(dst[4], 20 - 128);
    EXPECT_EQ(dst[7], 50 - 128);
}

// ---- Every width and misalignment against the model

const int kWidths[] = {1, 2, 3, 4, 5, 7, 8, 9, 12, 15, 16, 17, 20, 23, 24, 28, 31, 32, 33, 37, 47, 48, 63, 64, 65, 100};

TEST_P(LevelShiftTest, Sub128MatchesModelAtEveryWidthAndOffset)
{
    std::mt19937 rng(21);
    for (const int width : kWidths) {
        for (int srcOffset = 0; srcOffset < 16; ++srcOffset) {
            const int dstOffset = (srcOffset * 7 + width) % 16;
            Region src(width, 3, width + 5, srcOffset), dst(2 * width, 3, 2 * width + 6, dstOffset);
            for (int y = 0; y < 3; ++y)
                for (int x = 0; x < width; ++x) src.row(y)[x] = static_cast<uint8_t>(rng());
            ASSERT_EQ(lumiSub128_JPEG_8u16s_C1R(src.row(0), src.step, reinterpret_cast<Lum16s*>(dst.row(0)), dst.step,
                                                {width, 3}),
                      lumStsNoErr);
            for (int y = 0; y < 3; ++y)
                for (int x = 0; x < width; ++x)
                    ASSERT_EQ(load16(dst.row(y) + 2 * x), src.row(y)[x] - 128) << width << " " << srcOffset;
            ASSERT_TRUE(dst.gapsIntact()) << width << " " << srcOffset << " " << dstOffset;
        }
    }
}

TEST_P(LevelShiftTest, Add128MatchesModelAtEveryWidthAndOffset)
{
    std::mt19937 rng(22);
    std::uniform_int_distribution<int> wide(-32768, 32767), near(-300, 400);
    for (const int width : kWidths) {
        for (int srcOffset = 0; srcOffset < 16; ++srcOffset) {
            const int dstOffset = (srcOffset * 5 + width) % 16;
            Region src(2 * width, 3, 2 * width + 6, srcOffset), dst(width, 3, width + 3, dstOffset);
            for (int y = 0; y < 3; ++y)
                for (int x = 0; x < width; ++x)
                    store16(src.row(y) + 2 * x, static_cast<int16_t>(x % 3 == 0 ? wide(rng) : near(rng)));
            ASSERT_EQ(lumiAdd128_JPEG_16s8u_C1R(reinterpret_cast<const Lum16s*>(src.row(0)), src.step, dst.row(0),
                                                dst.step, {width, 3}),
                      lumStsNoErr);
            for (int y = 0; y < 3; ++y)
                for (int x = 0; x < width; ++x)
                    ASSERT_EQ(dst.row(y)[x], std::clamp(load16(src.row(y) + 2 * x) + 128, 0, 255))
                        << width << " " << srcOffset;
            ASSERT_TRUE(dst.gapsIntact()) << width << " " << srcOffset << " " << dstOffset;
        }
    }
}

// The last source row ends directly before a PROT_NONE page: reading one byte past it faults.
TEST_P(LevelShiftTest, NoByteIsReadBeyondTheLastRow)
{
    for (const int width : kWidths) {
        const int height = 2, srcStep = width + 16;
        GuardedBuffer src(static_cast<size_t>(srcStep) + width);
        std::memset(src.data(), 200, src.size());
        std::vector<int16_t> words(static_cast<size_t>(width) * height);
        ASSERT_EQ(lumiSub128_JPEG_8u16s_C1R(src.data(), srcStep, words.data(), 2 * width, {width, height}), lumStsNoErr);
        EXPECT_TRUE(std::all_of(words.begin(), words.end(), [](int16_t w) { return w == 72; })) << width;

        GuardedBuffer src16(static_cast<size_t>(2 * srcStep) + 2 * width);
        std::memset(src16.data(), 0, src16.size());
        std::vector<uint8_t> bytes(static_cast<size_t>(width) * height, 9);
        ASSERT_EQ(lumiAdd128_JPEG_16s8u_C1R(reinterpret_cast<const Lum16s*>(src16.data()), 2 * srcStep, bytes.data(),
                                            width, {width, height}),
                  lumStsNoErr);
        EXPECT_TRUE(std::all_of(bytes.begin(), bytes.end(), [](uint8_t b) { return b == 128; })) << width;
    }
}

TEST_P(LevelShiftTest, OneByOneRegion)
{
    const uint8_t src = 200;
    int16_t dst = 0;
    ASSERT_EQ(lumiSub128_JPEG_8u16s_C1R(&src, 1, &dst, 1, {1, 1}), lumStsNoErr);
    EXPECT_EQ(dst, 72);
    uint8_t back = 0;
    ASSERT_EQ(lumiAdd128_JPEG_16s8u_C1R(&dst, 1, &back, 1, {1, 1}), lumStsNoErr);
    EXPECT_EQ(back, 200);
}

// ---- Zigzag

// Natural index of zigzag position k.
constexpr int kZigzag[64] = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,
                             12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,
                             35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,
                             58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

TEST_P(LevelShiftTest, ZigzagOfPositionsIsTheOrderTable)
{
    std::array<int16_t, 64> src, dst;
    for (int i = 0; i < 64; ++i) src[i] = static_cast<int16_t>(i);
    ASSERT_EQ(lumiZigzagInv8x8_16s_C1(src.data(), dst.data()), lumStsNoErr);
    const int16_t firstRow[8] = {0, 1, 5, 6, 14, 15, 27, 28};
    const int16_t secondRow[4] = {2, 4, 7, 13};
    EXPECT_TRUE(std::equal(firstRow, firstRow + 8, dst.begin()));
    EXPECT_TRUE(std::equal(secondRow, secondRow + 4, dst.begin() + 8));
    EXPECT_EQ(dst[63], 63);
    for (int k = 0; k < 64; ++k) EXPECT_EQ(dst[kZigzag[k]], k);
}

TEST_P(LevelShiftTest, ZigzagAtEveryOffset)
{
    std::mt19937 rng(23);
    for (int srcOffset = 0; srcOffset < 16; ++srcOffset) {
        const int dstOffset = 15 - srcOffset;
        CanaryBuffer src(128, 32, static_cast<size_t>(srcOffset)), dst(128, 32, static_cast<size_t>(dstOffset));
        for (int i = 0; i < 64; ++i) store16(src.data() + 2 * i, static_cast<int16_t>(rng()));
        ASSERT_EQ(lumiZigzagInv8x8_16s_C1(reinterpret_cast<const Lum16s*>(src.data()), reinterpret_cast<Lum16s*>(dst.data())),
                  lumStsNoErr);
        for (int k = 0; k < 64; ++k) ASSERT_EQ(load16(dst.data() + 2 * kZigzag[k]), load16(src.data() + 2 * k));
        EXPECT_TRUE(dst.guardsIntact());
        EXPECT_TRUE(src.guardsIntact());
    }
}

TEST_P(LevelShiftTest, ZigzagRejectsNullPointers)
{
    std::array<int16_t, 64> block{};
    std::array<int16_t, 64> out;
    out.fill(3);
    EXPECT_EQ(lumiZigzagInv8x8_16s_C1(nullptr, out.data()), lumStsNullPointer);
    EXPECT_EQ(lumiZigzagInv8x8_16s_C1(block.data(), nullptr), lumStsNullPointer);
    EXPECT_EQ(lumiZigzagInv8x8_16s_C1(nullptr, nullptr), lumStsNullPointer);
    EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](int16_t v) { return v == 3; }));
}

LUM_ALL_TIERS(LevelShiftTest);

}  // namespace
