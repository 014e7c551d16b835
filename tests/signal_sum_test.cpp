// lumsSum_32f: argument checks, the stated edge cases, and bit-exact agreement of every tier with
// independent scalar models of its arithmetic at every source misalignment.
//
// Class: exact per tier. px follows its two-accumulator formula; a6, w7 and t7 follow the accurate
// formula for any hint but 1 and the fast formula for hint 1; the three vector tiers agree exactly.
#include "test_support.h"
#include "tier_fixture.h"

#include <lum.h>

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <set>
#include <vector>

using lumtest::GuardedBuffer;
using lumtest::TierTest;

namespace {

// ---- Scalar models, written from the description of each formula ------------------------------

// Element i of a float array starting at any byte address.
float elementAt(const uint8_t* src, size_t i)
{
    float x;
    std::memcpy(&x, src + 4 * i, sizeof x);
    return x;
}

// px: two extended accumulators over steps of four (i, i+2 to the first; i+1, i+3 to the second),
// their sum, then the at most three remaining elements in order; one rounding.
float modelPx(const uint8_t* src, size_t len)
{
    long double first = 0.0L;
    long double second = 0.0L;
    size_t i = 0;
    while (i + 4 <= len) {
        first += elementAt(src, i);
        first += elementAt(src, i + 2);
        second += elementAt(src, i + 1);
        second += elementAt(src, i + 3);
        i += 4;
    }
    long double total = first + second;
    while (i < len) total += elementAt(src, i++);
    return static_cast<float>(total);
}

// Accurate: element j of block b goes to accumulator (j - b) mod 8, so each block starts with the
// accumulator that took the previous block's last element. The rest goes to the accumulator next in
// line, and the reduction names accumulators by their distance from it.
float modelAccurate(const uint8_t* src, size_t len)
{
    long double acc[8] = {};
    const size_t blocks = len / 8;
    for (size_t b = 0; b < blocks; ++b)
        for (size_t j = 0; j < 8; ++j) acc[(j + 8 - b % 8) % 8] += elementAt(src, 8 * b + j);
    const size_t next = (8 - blocks % 8) % 8;
    for (size_t i = 8 * blocks; i < len; ++i) acc[next] += elementAt(src, i);
    auto s = [&](size_t k) { return acc[(next + k) % 8]; };
    return static_cast<float>(((s(0) + s(4)) + (s(2) + s(6))) + ((s(1) + s(5)) + (s(3) + s(7))));
}

// Fast: peel into the extended outer sum until address bits 2 and 3 are clear; chunks of 32768 summed
// lane by lane in single precision; each chunk's lanes 0+2 and 1+3 added to the outer sum.
float modelFast(const uint8_t* src, size_t len)
{
    const uintptr_t address = reinterpret_cast<uintptr_t>(src);
    long double outer = 0.0L;
    size_t i = 0;
    while (((address + 4 * i) & 0xC) != 0) {
        outer += elementAt(src, i++);
        if (i == len) return static_cast<float>(outer);
    }
    while (i < len) {
        const size_t n = std::min<size_t>(len - i, 32768);
        const size_t end = i + n;
        float lane[4] = {0.0f, 0.0f, 0.0f, 0.0f};
        if (n >= 16) {
            float vec[4][4] = {};
            for (; end - i >= 16; i += 16)
                for (size_t v = 0; v < 4; ++v)
                    for (size_t l = 0; l < 4; ++l) vec[v][l] += elementAt(src, i + 4 * v + l);
            for (size_t l = 0; l < 4; ++l) lane[l] = (vec[0][l] + vec[2][l]) + (vec[1][l] + vec[3][l]);
        }
        for (; end - i >= 4; i += 4)
            for (size_t l = 0; l < 4; ++l) lane[l] += elementAt(src, i + l);
        if (end - i >= 2) {
            lane[0] += elementAt(src, i);
            lane[1] += elementAt(src, i + 1);
            i += 2;
        }
        if (end - i == 1) lane[0] += elementAt(src, i++);
        const float low = lane[0] + lane[2];
        const float high = lane[1] + lane[3];
        outer += low;
        outer += high;
    }
    return static_cast<float>(outer);
}

uint32_t bitsOf(float x)
{
    uint32_t u;
    std::memcpy(&u, &x, sizeof u);
    return u;
}

// Values over a wide range of magnitudes and both signs, with pairs of opposite values near 2^60
// scattered among them: while an accumulator holds one of those, it drops the low bits of what it
// takes, even at extended precision, so the order of additions shows in the rounded result.
std::vector<float> randomFloats(size_t n, uint32_t seed)
{
    std::mt19937 rng(seed);
    std::uniform_real_distribution<float> mantissa(-1.0f, 1.0f);
    std::uniform_int_distribution<int> exponent(-12, 12);
    std::vector<float> v(n);
    for (auto& x : v) x = std::ldexp(mantissa(rng), exponent(rng));
    std::vector<size_t> index(n);
    for (size_t i = 0; i < n; ++i) index[i] = i;
    std::shuffle(index.begin(), index.end(), rng);
    for (size_t k = 0; k < n / 64; ++k) {
        const float big = std::ldexp(mantissa(rng), 60);
        v[index[2 * k]] = big;
        v[index[2 * k + 1]] = -big;
    }
    return v;
}

// A byte buffer holding `values` at `offset` bytes past a 64-byte boundary.
class Placed {
public:
    Placed(const std::vector<float>& values, size_t offset)
        : bytes_(values.size() * 4 + offset + 64), offset_(offset)
    {
        if (!values.empty()) std::memcpy(data(), values.data(), values.size() * 4);
    }
    uint8_t* data()
    {
        const auto base = (reinterpret_cast<uintptr_t>(bytes_.data()) + 63) & ~uintptr_t{63};
        return reinterpret_cast<uint8_t*>(base) + offset_;
    }
    const Lum32f* floats() { return reinterpret_cast<const Lum32f*>(data()); }

private:
    std::vector<uint8_t> bytes_;
    size_t offset_;
};

class SumTest : public TierTest {
protected:
    // The model of the forced tier for a hint.
    float expected(const uint8_t* src, size_t len, Lum32s hint) const
    {
        if (isPx()) return modelPx(src, len);
        return hint == 1 ? modelFast(src, len) : modelAccurate(src, len);
    }
    float sum(const Lum32f* src, Lum32s len, Lum32s hint)
    {
        Lum32f out = -1.0f;
        EXPECT_EQ(lumsSum_32f(src, len, &out, hint), lumStsNoErr);
        return out;
    }
};

constexpr float kUntouched = 1234.5f;

}  // namespace

// ---- Checks ------------------------------------------------------------------------------------

TEST_P(SumTest, NullPointerComesBeforeBadSize)
{
    const float src[4] = {1.0f, 2.0f, 3.0f, 4.0f};
    Lum32f out = kUntouched;
    for (Lum32s len : {0, -1, INT_MIN, 4}) {
        EXPECT_EQ(lumsSum_32f(nullptr, len, &out, 0), lumStsNullPointer) << len;
        EXPECT_EQ(lumsSum_32f(src, len, nullptr, 1), lumStsNullPointer) << len;
        EXPECT_EQ(lumsSum_32f(nullptr, len, nullptr, 1), lumStsNullPointer) << len;
    }
    EXPECT_EQ(bitsOf(out), bitsOf(kUntouched));
}

TEST_P(SumTest, LengthBelowOneIsBadSizeAndLeavesSumUntouched)
{
    const float src[4] = {1.0f, 2.0f, 3.0f, 4.0f};
    for (Lum32s hint : {0, 1, 7}) {
        for (Lum32s len : {0, -1, INT_MIN}) {
            Lum32f out = kUntouched;
            EXPECT_EQ(lumsSum_32f(src, len, &out, hint), lumStsBadSize) << len;
            EXPECT_EQ(bitsOf(out), bitsOf(kUntouched));
        }
    }
}

TEST_P(SumTest, HintIsNeverRejected)
{
    const float src[3] = {1.0f, 2.0f, 4.0f};
    for (Lum32s hint : {INT_MIN, -1, 0, 1, 2, INT_MAX}) EXPECT_EQ(sum(src, 3, hint), 7.0f) << hint;
}

// ---- Edge cases --------------------------------------------------------------------------------

TEST_P(SumTest, SingleElementFastIsExact)
{
    const float values[] = {1.5f, -3.25f, 0.1f, FLT_MAX, -FLT_MAX, FLT_MIN, 1e-45f, -7e-39f, 1.0e20f};
    for (size_t offset = 0; offset < 16; ++offset) {
        for (float v : values) {
            Placed buf({v}, offset);
            EXPECT_EQ(bitsOf(sum(buf.floats(), 1, 1)), bitsOf(v)) << v << " at offset " << offset;
        }
    }
}

// 70000 ones with ten values of 2^24 among them: the exact total 10 * 2^24 + 69990 rounds to
// 167842144. Single-precision lanes that hold 2^24 drop every later 1.0, so the fast mode falls short.
TEST_P(SumTest, ScatteredLargeValuesFastModeDiffersAccurateModeDoesNot)
{
    std::vector<float> v(70000, 1.0f);
    for (size_t k = 0; k < 10; ++k) v[123 + k * 6991] = 16777216.0f;
    constexpr float kExact = 167842144.0f;
    for (size_t offset : {0, 4, 8, 12, 1, 6}) {
        Placed buf(v, offset);
        const float accurate = sum(buf.floats(), 70000, 0);
        EXPECT_EQ(accurate, kExact) << "offset " << offset;
        EXPECT_EQ(modelPx(buf.data(), v.size()), kExact);
        const float fast = sum(buf.floats(), 70000, 1);
        EXPECT_EQ(bitsOf(fast), bitsOf(expected(buf.data(), v.size(), 1)));
        if (isPx())
            EXPECT_EQ(fast, kExact);
        else
            EXPECT_LT(fast, kExact) << "offset " << offset;
    }
}

// A source that is not a multiple of 4 bytes takes the unaligned loop and still peels until address
// bits 2 and 3 are clear: offsets 1, 5, 9, 13 peel 0, 3, 2, 1 elements, which changes the result.
TEST_P(SumTest, SourceNotMultipleOfFourBytesIsLegal)
{
    std::vector<float> v = randomFloats(1000, 17);
    v[0] = 3.0e7f;
    v[1] = 1.0f;
    v[2] = -3.0e7f;
    std::set<uint32_t> fastResults;
    for (size_t offset : {1, 2, 3, 5, 6, 7, 9, 10, 11, 13, 14, 15}) {
        Placed buf(v, offset);
        for (Lum32s hint : {0, 1}) {
            const float got = sum(buf.floats(), static_cast<Lum32s>(v.size()), hint);
            EXPECT_EQ(bitsOf(got), bitsOf(expected(buf.data(), v.size(), hint)))
                << offset << " hint " << hint;
        }
        fastResults.insert(bitsOf(modelFast(buf.data(), v.size())));
    }
    EXPECT_GT(fastResults.size(), 1u) << "the data must make the peel visible";
}

// ---- Agreement with the models -----------------------------------------------------------------

TEST_P(SumTest, MatchesModelAtEveryMisalignmentAndLength)
{
    std::vector<size_t> lengths;
    for (size_t n = 1; n <= 100; ++n) lengths.push_back(n);
    for (size_t n = 32767; n <= 32769 + 16; ++n) lengths.push_back(n);
    for (size_t n : {65535, 65536, 65536 + 37, 98304 + 15, 131072 + 5}) lengths.push_back(n);
    const std::vector<float> v = randomFloats(131072 + 5, 42);
    for (size_t offset = 0; offset < 16; ++offset) {
        Placed buf(v, offset);
        for (size_t n : lengths) {
            for (Lum32s hint : {1, 0, -3}) {
                const float got = sum(buf.floats(), static_cast<Lum32s>(n), hint);
                ASSERT_EQ(bitsOf(got), bitsOf(expected(buf.data(), n, hint)))
                    << "offset " << offset << " len " << n << " hint " << hint;
            }
        }
    }
}

// 1.0, then 2^-24, then 2^-66 at every even index. px's first accumulator meets each 2^-66 while it
// holds 1.0 and drops it, leaving the tie 1 + 2^-24, which rounds to even: 1.0f. The accurate mode
// gathers the small terms in accumulators that do not hold 1.0, so the total lies above the tie and
// rounds up to 1 + 2^-23. The fast mode at a 16-byte boundary loses them in single precision: 1.0f.
std::vector<float> tinyTerms()
{
    std::vector<float> v(1024, 0.0f);
    v[0] = 1.0f;
    v[1] = std::ldexp(1.0f, -24);
    for (size_t i = 2; i < v.size(); i += 2) v[i] = std::ldexp(1.0f, -66);
    return v;
}

TEST_P(SumTest, SmallTermsLostByPxAreKeptByTheAccurateMode)
{
    const std::vector<float> v = tinyTerms();
    const float above = std::nextafter(1.0f, 2.0f);
    for (size_t offset : {0, 4, 8, 12, 2}) {
        Placed buf(v, offset);
        EXPECT_EQ(sum(buf.floats(), 1024, 0), isPx() ? 1.0f : above) << offset;
    }
    Placed aligned(v, 0);
    EXPECT_EQ(sum(aligned.floats(), 1024, 1), 1.0f);
}

// The models are distinct formulas: on these data each pair disagrees, so matching the right one per
// tier and mode is a real test.
TEST(SumModels, FormulasAreDistinguishable)
{
    const std::vector<float> tiny = tinyTerms();
    Placed tinyBuf(tiny, 0);
    EXPECT_NE(modelPx(tinyBuf.data(), tiny.size()), modelAccurate(tinyBuf.data(), tiny.size()));
    const std::vector<float> v = randomFloats(4099, 5);
    Placed buf(v, 0);
    const uint8_t* p = buf.data();
    EXPECT_NE(bitsOf(modelPx(p, v.size())), bitsOf(modelAccurate(p, v.size())));
    EXPECT_NE(bitsOf(modelPx(p, v.size())), bitsOf(modelFast(p, v.size())));
    EXPECT_NE(bitsOf(modelAccurate(p, v.size())), bitsOf(modelFast(p, v.size())));
}

TEST(SumVectorTiers, AgreeExactlyInBothModes)
{
    const std::vector<float> v = randomFloats(70001, 9);
    for (size_t offset : {0, 3, 4, 8, 12, 13}) {
        Placed buf(v, offset);
        for (Lum32s len : {1, 15, 16, 33, 70001}) {
            for (Lum32s hint : {0, 1}) {
                Lum32f a = 0.0f, w = 0.0f, t = 0.0f;
                ASSERT_EQ(lum::a6::lumsSum_32f(buf.floats(), len, &a, hint), lumStsNoErr);
                ASSERT_EQ(lum::w7::lumsSum_32f(buf.floats(), len, &w, hint), lumStsNoErr);
                ASSERT_EQ(lum::t7::lumsSum_32f(buf.floats(), len, &t, hint), lumStsNoErr);
                EXPECT_EQ(bitsOf(a), bitsOf(w)) << offset << " " << len << " " << hint;
                EXPECT_EQ(bitsOf(a), bitsOf(t)) << offset << " " << len << " " << hint;
            }
        }
    }
}

// The source ends right before an inaccessible page: any read past the last element faults.
TEST_P(SumTest, ReadsNothingPastTheEnd)
{
    const std::vector<float> v = randomFloats(32800, 3);
    for (size_t gap = 0; gap < 4; ++gap) {
        for (size_t n : {1, 2, 3, 4, 5, 7, 15, 16, 17, 18, 19, 31, 33, 32768, 32769, 32770, 32771, 32800}) {
            GuardedBuffer buf(n * 4, gap);
            std::memcpy(buf.data(), v.data(), n * 4);
            for (size_t start = 0; start < 4 && start < n; ++start) {
                const uint8_t* src = buf.data() + 4 * start;
                const Lum32s len = static_cast<Lum32s>(n - start);
                for (Lum32s hint : {0, 1}) {
                    const float got = sum(reinterpret_cast<const Lum32f*>(src), len, hint);
                    ASSERT_EQ(bitsOf(got), bitsOf(expected(src, n - start, hint))) << n << " gap " << gap;
                }
            }
        }
    }
}

LUM_ALL_TIERS(SumTest);
