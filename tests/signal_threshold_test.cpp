// lumsThreshold_32f_I: argument checks, the relOp modes, the NaN and signed-zero table at every
// position of the peel, main loop and tail, and agreement with element models at every misalignment,
// with nothing written or read outside the buffer.
//
// Class: exact per tier. px follows plain comparisons; a6, w7 and t7 follow minps/maxps with the
// element as first operand, and agree with each other exactly.
#include "test_support.h"
#include "tier_fixture.h"

#include <lum.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <random>
#include <vector>

using lumtest::CanaryBuffer;
using lumtest::GuardedBuffer;
using lumtest::TierTest;

namespace {

constexpr Lum32s kLessThan = 0;
constexpr Lum32s kGreaterThan = 4;

float fromBits(uint32_t u)
{
    float x;
    std::memcpy(&x, &u, sizeof x);
    return x;
}

uint32_t bitsOf(float x)
{
    uint32_t u;
    std::memcpy(&u, &x, sizeof u);
    return u;
}

const float kNanX = fromBits(0x7FC12345u);
const float kNegNanX = fromBits(0xFFC00077u);
const float kNanLevel = fromBits(0x7FC54321u);

// px: replace in the less-than mode if x < level; in the greater-than mode if x > level or unordered.
float modelPx(float x, float level, bool greater)
{
    const bool replace = greater ? (x > level || std::isnan(x) || std::isnan(level)) : x < level;
    return replace ? level : x;
}

// Vector tiers: maxps / minps with x first, which return the second operand unless the comparison
// that selects the first holds.
float modelVector(float x, float level, bool greater)
{
    if (greater) return x < level ? x : level;
    return x > level ? x : level;
}

std::vector<float> readFloats(const uint8_t* p, size_t n)
{
    std::vector<float> v(n);
    std::memcpy(v.data(), p, n * 4);
    return v;
}

// Ordinary values on both sides of the levels used below, with no NaN and no zero.
std::vector<float> ordinaryValues(size_t n)
{
    std::vector<float> v(n);
    for (size_t i = 0; i < n; ++i) v[i] = (i % 2 ? 1.0f : -1.0f) * (0.75f + 0.5f * static_cast<float>(i % 7));
    return v;
}

// Random values with specials mixed in: NaNs, both zeros, infinities and the level itself.
std::vector<float> randomValues(size_t n, float level, std::mt19937& rng)
{
    std::uniform_real_distribution<float> value(-4.0f, 4.0f);
    const float specials[] = {kNanX, 0.0f, -0.0f, level, INFINITY, -INFINITY};
    std::uniform_int_distribution<size_t> pick(0, 15);
    std::vector<float> v(n);
    for (auto& x : v) {
        const size_t k = pick(rng);
        x = k < std::size(specials) ? specials[k] : value(rng);
    }
    return v;
}

// Offsets of the buffer from a 64-byte boundary: every offset from 0 to 15, odd ones included, and the
// 4-byte steps on to 32, since the a6 peel runs to a 32-byte boundary.
std::vector<size_t> offsets()
{
    std::vector<size_t> o;
    for (size_t k = 0; k < 36; ++k)
        if (k % 4 == 0 || k < 16) o.push_back(k);
    return o;
}

class ThresholdTest : public TierTest {
protected:
    float model(float x, float level, bool greater) const
    {
        return isPx() ? modelPx(x, level, greater) : modelVector(x, level, greater);
    }
    // Runs the threshold on `values` placed in a canary-guarded buffer at `offset`, checks the guards
    // and returns the result.
    std::vector<float> run(const std::vector<float>& values, size_t offset, float level, Lum32s relOp)
    {
        CanaryBuffer buf(values.size() * 4, 64, offset);
        std::memcpy(buf.data(), values.data(), values.size() * 4);
        EXPECT_EQ(lumsThreshold_32f_I(reinterpret_cast<Lum32f*>(buf.data()),
                                      static_cast<Lum32s>(values.size()), level, relOp),
                  lumStsNoErr);
        EXPECT_TRUE(buf.guardsIntact()) << "offset " << offset << " len " << values.size();
        return readFloats(buf.data(), values.size());
    }
    void expectModel(const std::vector<float>& in, const std::vector<float>& out, float level, bool greater,
                     size_t offset) const
    {
        for (size_t i = 0; i < in.size(); ++i)
            ASSERT_EQ(bitsOf(out[i]), bitsOf(model(in[i], level, greater)))
                << "element " << i << " of " << in.size() << ", offset " << offset << ", x " << in[i]
                << ", level " << level << (greater ? " greater" : " less");
    }
};

}  // namespace

// ---- Checks ------------------------------------------------------------------------------------

TEST_P(ThresholdTest, NullPointerComesBeforeBadSize)
{
    for (Lum32s len : {0, -1, INT_MIN, 8})
        for (Lum32s relOp : {kLessThan, kGreaterThan})
            EXPECT_EQ(lumsThreshold_32f_I(nullptr, len, 1.0f, relOp), lumStsNullPointer) << len;
}

TEST_P(ThresholdTest, LengthBelowOneIsBadSizeAndWritesNothing)
{
    CanaryBuffer buf(32, 64, 4);
    for (Lum32s len : {0, -1, INT_MIN})
        for (Lum32s relOp : {kLessThan, kGreaterThan})
            EXPECT_EQ(lumsThreshold_32f_I(reinterpret_cast<Lum32f*>(buf.data()), len, 1.0e30f, relOp),
                      lumStsBadSize);
    EXPECT_TRUE(buf.payloadIsCanary());
    EXPECT_TRUE(buf.guardsIntact());
}

// ---- Modes -------------------------------------------------------------------------------------

TEST_P(ThresholdTest, EveryRelOpButFourIsTheLessThanMode)
{
    const std::vector<float> in = {-3.0f, -1.0f, 0.5f, 1.0f, 1.5f, 2.0f, 7.0f, -8.0f, 9.0f, 0.25f, 3.0f};
    const float level = 1.0f;
    const std::vector<float> less = {1.0f, 1.0f, 1.0f, 1.0f, 1.5f, 2.0f, 7.0f, 1.0f, 9.0f, 1.0f, 3.0f};
    const std::vector<float> greater = {-3.0f, -1.0f, 0.5f, 1.0f, 1.0f, 1.0f, 1.0f, -8.0f, 1.0f, 0.25f, 1.0f};
    for (Lum32s relOp : {0, 1, 2, 3, -1, 5, INT_MIN, INT_MAX})
        EXPECT_EQ(run(in, 0, level, relOp), less) << relOp;
    EXPECT_EQ(run(in, 0, level, kGreaterThan), greater);
}

// ---- NaN and signed zeros ----------------------------------------------------------------------

struct SpecialCase {
    const char* name;
    float x;
    float level;
    bool greater;
    bool pxKeepsX;  // else px stores level; the vector tiers always store level in these cases
};

// The special element is put at every position of a 37-element buffer at every offset, so that it
// falls in the peel, the main loop and each part of the tail.
TEST_P(ThresholdTest, NanAndSignedZeroTableAtEveryPosition)
{
    const SpecialCase cases[] = {
        {"x NaN, less-than", kNanX, 1.0f, false, true},
        {"x NaN, greater-than", kNanX, 1.0f, true, false},
        {"x negative NaN, less-than", kNegNanX, -1.0f, false, true},
        {"x negative NaN, greater-than", kNegNanX, -1.0f, true, false},
        {"x -0, level +0, less-than", -0.0f, 0.0f, false, true},
        {"x -0, level +0, greater-than", -0.0f, 0.0f, true, true},
        {"x +0, level -0, less-than", 0.0f, -0.0f, false, true},
        {"x +0, level -0, greater-than", 0.0f, -0.0f, true, true},
    };
    constexpr size_t kLen = 37;
    for (const SpecialCase& c : cases) {
        for (size_t offset : offsets()) {
            for (size_t pos = 0; pos < kLen; ++pos) {
                std::vector<float> in = ordinaryValues(kLen);
                in[pos] = c.x;
                const std::vector<float> out = run(in, offset, c.level, c.greater ? kGreaterThan : kLessThan);
                const float want = isPx() && c.pxKeepsX ? c.x : c.level;
                ASSERT_EQ(bitsOf(out[pos]), bitsOf(want))
                    << c.name << ", position " << pos << ", offset " << offset;
                expectModel(in, out, c.level, c.greater, offset);
            }
        }
    }
}

// A NaN level: the less-than mode changes nothing in px and stores the level everywhere in the vector
// tiers; the greater-than mode stores the level everywhere in all tiers.
TEST_P(ThresholdTest, NanLevel)
{
    for (size_t offset : offsets()) {
        for (size_t len : {1, 3, 7, 8, 9, 16, 37}) {
            const std::vector<float> in = ordinaryValues(len);
            const std::vector<float> less = run(in, offset, kNanLevel, kLessThan);
            const std::vector<float> greater = run(in, offset, kNanLevel, kGreaterThan);
            for (size_t i = 0; i < len; ++i) {
                ASSERT_EQ(bitsOf(less[i]), bitsOf(isPx() ? in[i] : kNanLevel)) << i << " offset " << offset;
                ASSERT_EQ(bitsOf(greater[i]), bitsOf(kNanLevel)) << i << " offset " << offset;
            }
        }
    }
}

// ---- Random inputs -----------------------------------------------------------------------------

TEST_P(ThresholdTest, MatchesModelAtEveryMisalignmentAndLength)
{
    std::mt19937 rng(2024);
    std::vector<size_t> lengths;
    for (size_t n = 1; n <= 70; ++n) lengths.push_back(n);
    for (size_t n : {100, 257, 1000, 4099}) lengths.push_back(n);
    for (float level : {0.5f, -1.25f, 0.0f, -0.0f, INFINITY, kNanLevel}) {
        for (size_t offset : offsets()) {
            for (size_t n : lengths) {
                const std::vector<float> in = randomValues(n, level, rng);
                for (bool greater : {false, true}) {
                    const std::vector<float> out = run(in, offset, level, greater ? kGreaterThan : kLessThan);
                    expectModel(in, out, level, greater, offset);
                }
            }
        }
    }
}

// The buffer ends right before an inaccessible page: any access past the last element faults.
TEST_P(ThresholdTest, TouchesNothingPastTheEnd)
{
    std::mt19937 rng(7);
    for (size_t gap = 0; gap < 4; ++gap) {
        for (size_t n = 1; n <= 40; ++n) {
            GuardedBuffer buf(n * 4, gap);
            const std::vector<float> in = randomValues(n, 0.5f, rng);
            for (bool greater : {false, true}) {
                std::memcpy(buf.data(), in.data(), n * 4);
                ASSERT_EQ(lumsThreshold_32f_I(reinterpret_cast<Lum32f*>(buf.data()), static_cast<Lum32s>(n),
                                              0.5f, greater ? kGreaterThan : kLessThan),
                          lumStsNoErr);
                expectModel(in, readFloats(buf.data(), n), 0.5f, greater, gap);
            }
        }
    }
}

TEST(ThresholdVectorTiers, AgreeExactly)
{
    std::mt19937 rng(99);
    for (size_t offset : {0, 1, 4, 8, 12, 20, 28}) {
        for (size_t n : {1, 5, 13, 64, 333}) {
            const std::vector<float> in = randomValues(n, -0.0f, rng);
            for (Lum32s relOp : {kLessThan, kGreaterThan}) {
                std::vector<std::vector<float>> results;
                for (auto fn : {lum::a6::lumsThreshold_32f_I, lum::w7::lumsThreshold_32f_I,
                                lum::t7::lumsThreshold_32f_I}) {
                    CanaryBuffer buf(n * 4, 64, offset);
                    std::memcpy(buf.data(), in.data(), n * 4);
                    ASSERT_EQ(fn(reinterpret_cast<Lum32f*>(buf.data()), static_cast<Lum32s>(n), -0.0f, relOp),
                              lumStsNoErr);
                    results.push_back(readFloats(buf.data(), n));
                }
                for (size_t i = 0; i < n; ++i) {
                    EXPECT_EQ(bitsOf(results[0][i]), bitsOf(results[1][i])) << offset << " " << n << " " << i;
                    EXPECT_EQ(bitsOf(results[0][i]), bitsOf(results[2][i])) << offset << " " << n << " " << i;
                }
            }
        }
    }
}

LUM_ALL_TIERS(ThresholdTest);
