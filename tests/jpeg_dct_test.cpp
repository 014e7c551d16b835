// 8x8 DCT in all tiers. Exact per tier: px follows the plain algorithm, a6, w7 and t7 the vector
// algorithm, each checked bit for bit against a scalar model written here, at every misalignment.
// Within a bound: every tier against a double-precision orthonormal DCT, and px against the vector
// tiers at the rates the two arithmetics are known for.
// Class: exact per tier (px its plain algorithm; a6, w7 and t7 the vector algorithm, identical
// among themselves), and within one unit of the exact DCT and of each other.
#include "test_support.h"
#include "tier_fixture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>

namespace {

using lumtest::CanaryBuffer;
using Block = std::array<int16_t, 64>;
using Transform = LumStatus (*)(Lum16s*);

// ---- Arithmetic of the models, independent of the library's helpers

int32_t wrap32(int64_t v) { return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(v))); }
int16_t low16(int64_t v) { return static_cast<int16_t>(static_cast<uint16_t>(static_cast<uint64_t>(v))); }
int16_t clamp16(int64_t v) { return static_cast<int16_t>(std::clamp<int64_t>(v, -32768, 32767)); }
int16_t sadd(int16_t a, int16_t b) { return clamp16(int64_t{a} + b); }
int16_t ssub(int16_t a, int16_t b) { return clamp16(int64_t{a} - b); }
int16_t mulh(int16_t a, int16_t b) { return static_cast<int16_t>((int32_t{a} * int32_t{b}) >> 16); }
int16_t shl(int16_t a, int n) { return low16(int64_t{a} * (int64_t{1} << n)); }
int16_t or1(int16_t a) { return static_cast<int16_t>(a | 1); }

// ---- Plain algorithm (px): 32-bit wrapping values, rows then columns forward, columns then rows
// inverse

// (v + round) >> shift on the wrapped value, cut to 16 bits.
int16_t pxDescale(int64_t v, int shift) { return low16(wrap32(v + (int64_t{1} << (shift - 1))) >> shift); }

std::array<int16_t, 8> pxForward1D(const std::array<int16_t, 8>& x, bool first)
{
    const int64_t s07 = x[0] + x[7], s16 = x[1] + x[6], s25 = x[2] + x[5], s34 = x[3] + x[4];
    const int64_t d07 = x[0] - x[7], d16 = x[1] - x[6], d25 = x[2] - x[5], d34 = x[3] - x[4];
    const int64_t a = s07 + s34, c = s07 - s34, b = s16 + s25, d = s16 - s25;
    const int64_t t = wrap32((c + d) * 17734);
    const int64_t v2 = wrap32(t + c * 25080), v6 = wrap32(t - d * 60547);
    const int64_t u = (d16 + d25) * 8, v = (d16 - d25) * 8;
    const int64_t p = wrap32(d34 * 46341 + 2048) >> 12, q = wrap32(d07 * 46341 + 2048) >> 12;
    const int64_t A = q + u, B = q - u, C = p + v, D = p - v;
    const int64_t w = wrap32((A + C) * 799), z = wrap32((B + D) * 3406);
    const int64_t v1 = wrap32(w + A * 3218), v7 = wrap32(w - C * 4816);
    const int64_t v3 = wrap32(z - D * 5681), v5 = wrap32(z - B * 1130);
    const int shift = first ? 12 : 21;
    std::array<int16_t, 8> y;
    y[0] = first ? low16((a + b) * 8) : pxDescale(a + b, 6);
    y[4] = first ? low16((a - b) * 8) : pxDescale(a - b, 6);
    y[1] = pxDescale(v1, shift);
    y[2] = pxDescale(v2, shift);
    y[3] = pxDescale(v3, shift);
    y[5] = pxDescale(v5, shift);
    y[6] = pxDescale(v6, shift);
    y[7] = pxDescale(v7, shift);
    return y;
}

std::array<int16_t, 8> pxInverse1D(const std::array<int16_t, 8>& x, bool first)
{
    int64_t t = (x[5] + x[3]) * 27246;
    const int64_t p5 = wrap32(t - x[5] * 9041), p3 = wrap32(t - x[3] * 45451);
    t = (x[1] + x[7]) * 6393;
    const int64_t p1 = wrap32(t + x[1] * 25746), p7 = wrap32(t - x[7] * 38531);
    const int64_t e = wrap32(p1 - p5), f = wrap32(p7 - p3), m = wrap32(e + f), n = wrap32(e - f);
    const int64_t g = wrap32(int64_t{wrap32(p5 + p1 + 2048) >> 12} * 5793);
    const int64_t h = wrap32(int64_t{wrap32(p3 + p7 + 2048) >> 12} * 5793);
    t = (x[2] + x[6]) * 17734;
    const int64_t q2 = wrap32(t + x[2] * 25080), q6 = wrap32(t - x[6] * 60547);
    const int64_t E = wrap32(int64_t{x[0] + x[4]} * 32768), F = wrap32(int64_t{x[0] - x[4]} * 32768);
    const int64_t A = E + q2, B = E - q2, C = F + q6, D = F - q6;
    const int shift = first ? 12 : 21;
    const int64_t r[8] = {A + g, C + m, D + n, B + h, B - h, D - n, C - m, A - g};
    std::array<int16_t, 8> y;
    for (int i = 0; i < 8; ++i) y[i] = pxDescale(r[i], shift);
    return y;
}

// Applies a one-dimensional transform to every row (stride 1) or every column (stride 8).
template <typename F>
void eachLine(Block& b, bool rows, F transform)
{
    for (int l = 0; l < 8; ++l) {
        const int start = rows ? 8 * l : l, stride = rows ? 1 : 8;
        std::array<int16_t, 8> x;
        for (int i = 0; i < 8; ++i) x[i] = b[start + i * stride];
        x = transform(x);
        for (int i = 0; i < 8; ++i) b[start + i * stride] = x[i];
    }
}

Block pxForwardModel(Block b)
{
    eachLine(b, true, [](const auto& x) { return pxForward1D(x, true); });
    eachLine(b, false, [](const auto& x) { return pxForward1D(x, false); });
    return b;
}

Block pxInverseModel(Block b)
{
    eachLine(b, false, [](const auto& x) { return pxInverse1D(x, true); });
    eachLine(b, true, [](const auto& x) { return pxInverse1D(x, false); });
    return b;
}

// ---- Vector algorithm (a6, w7, t7)

// w4 w1 w2 w3 w5 w6 w7 of the four row classes, as listed for the algorithm.
constexpr int kClassTable[4][7] = {
    {16384, 22725, 21407, 19266, 12873, 8867, 4520},
    {22725, 31521, 29692, 26722, 17855, 12299, 6270},
    {21407, 29692, 27969, 25172, 16819, 11585, 5906},
    {19266, 26722, 25172, 22654, 15137, 10426, 5315},
};
constexpr int kClassOfRow[8] = {0, 1, 2, 3, 0, 3, 2, 1};
constexpr int kRowRounding[8] = {65536, 5802, 4520, 3408, 2048, 910, 1024, 746};

int classWeight(int cls, int j)
{
    static constexpr int kColumn[8] = {-1, 1, 2, 3, 0, 4, 5, 6};  // j to the table's column
    return kClassTable[cls][kColumn[j]];
}

// M[k][n] by the folding rule for cos(((2n+1)k mod 32)*pi/16).
int matrix(int cls, int k, int n)
{
    if (k == 0) return classWeight(cls, 4);
    int j = ((2 * n + 1) * k) % 32;
    int sign = 1;
    if (j > 16) j = 32 - j;
    if (j > 8) {
        j = 16 - j;
        sign = -1;
    }
    return j == 8 ? 0 : sign * classWeight(cls, j);
}

// Vector row sums are 32-bit lanes that wrap, then a saturating pack.
int16_t vectorDescale(int64_t sum, int64_t rounding, int shift) { return clamp16(wrap32(wrap32(sum) + rounding) >> shift); }

Block vectorForwardModel(Block b, bool shiftLast)
{
    eachLine(b, false, [shiftLast](const std::array<int16_t, 8>& x) {
        const int16_t P = shl(sadd(x[1], x[6]), 3), Q = shl(sadd(x[2], x[5]), 3);
        const int16_t d = ssub(P, Q), b = sadd(P, Q);
        int16_t a, c;
        if (shiftLast) {
            c = shl(ssub(sadd(x[0], x[7]), sadd(x[3], x[4])), 3);
            a = shl(sadd(sadd(x[0], x[7]), sadd(x[3], x[4])), 3);
        } else {
            const int16_t R = shl(sadd(x[0], x[7]), 3), S = shl(sadd(x[3], x[4]), 3);
            c = ssub(R, S);
            a = sadd(R, S);
        }
        std::array<int16_t, 8> y;
        y[0] = sadd(a, b);
        y[4] = ssub(a, b);
        y[2] = or1(sadd(mulh(d, 27146), c));
        y[6] = or1(ssub(mulh(c, 27146), d));
        const int16_t d16 = shl(ssub(x[1], x[6]), 4), d25 = shl(ssub(x[2], x[5]), 4);
        const int16_t p = or1(mulh(sadd(d16, d25), 23170)), q = mulh(ssub(d16, d25), 23170);
        const int16_t d34 = shl(ssub(x[3], x[4]), 3), d07 = shl(ssub(x[0], x[7]), 3);
        const int16_t u = sadd(d34, q), v = ssub(d34, q), g = ssub(d07, p), h = sadd(d07, p);
        y[1] = or1(sadd(mulh(u, 13036), h));
        y[7] = ssub(mulh(h, 13036), u);
        y[3] = ssub(g, sadd(mulh(v, -21746), v));
        y[5] = sadd(sadd(mulh(g, -21746), g), v);
        return y;
    });
    for (int r = 0; r < 8; ++r) {
        int16_t s[4], d[4];
        for (int i = 0; i < 4; ++i) {
            s[i] = sadd(b[8 * r + i], b[8 * r + 7 - i]);
            d[i] = ssub(b[8 * r + i], b[8 * r + 7 - i]);
        }
        for (int k = 0; k < 8; ++k) {
            int64_t sum = 0;
            for (int n = 0; n < 4; ++n) sum += int64_t{matrix(kClassOfRow[r], k, n)} * (k % 2 == 0 ? s[n] : d[n]);
            b[8 * r + k] = vectorDescale(sum, 524288, 20);
        }
    }
    return b;
}

Block vectorInverseModel(Block b)
{
    for (int r = 0; r < 8; ++r) {
        int16_t out[8];
        for (int n = 0; n < 8; ++n) {
            int64_t sum = 0;
            for (int k = 0; k < 8; ++k) sum += int64_t{matrix(kClassOfRow[r], k, n)} * b[8 * r + k];
            out[n] = vectorDescale(sum, kRowRounding[r], 12);
        }
        std::copy(out, out + 8, b.begin() + 8 * r);
    }
    eachLine(b, false, [](const std::array<int16_t, 8>& r) {
        const int16_t m0 = sadd(sadd(mulh(r[5], -21746), r[5]), r[3]);
        const int16_t m2 = ssub(r[5], sadd(mulh(r[3], -21746), r[3]));
        const int16_t m4 = sadd(mulh(r[7], 13036), r[1]), m5 = ssub(mulh(r[1], 13036), r[7]);
        const int16_t m7 = sadd(mulh(r[6], 27146), r[2]), m3 = ssub(mulh(r[2], 27146), r[6]);
        const int16_t t = sadd(m0, m4), w = ssub(m4, m0), m6 = sadd(m5, m2), z = ssub(m5, m2);
        const int16_t e = sadd(w, z), f = ssub(w, z);
        const int16_t e2 = sadd(e, mulh(e, -19195)), f2 = sadd(f, mulh(f, -19195));
        const int16_t a = sadd(r[4], r[0]), b = ssub(r[0], r[4]);
        const int16_t p = sadd(a, m7), q = ssub(a, m7), u = sadd(b, m3), v = ssub(b, m3);
        const int16_t y[8] = {sadd(t, p), sadd(u, e2), sadd(v, f2), sadd(m6, q),
                              ssub(q, m6), ssub(v, f2), ssub(u, e2), ssub(p, t)};
        std::array<int16_t, 8> out;
        for (int i = 0; i < 8; ++i) out[i] = static_cast<int16_t>(y[i] >> 5);
        return out;
    });
    return b;
}

// ---- Reference: the orthonormal two-dimensional DCT in double precision

double basis(int k, int x)
{
    const double scale = k == 0 ? std::sqrt(0.125) : 0.5;
    return scale * std::cos((2 * x + 1) * k * std::acos(-1.0) / 16);
}

std::array<double, 64> exactForward(const Block& f)
{
    std::array<double, 64> out{};
    for (int v = 0; v < 8; ++v)
        for (int u = 0; u < 8; ++u)
            for (int y = 0; y < 8; ++y)
                for (int x = 0; x < 8; ++x) out[8 * v + u] += basis(v, y) * basis(u, x) * f[8 * y + x];
    return out;
}

std::array<double, 64> exactInverse(const Block& c)
{
    std::array<double, 64> out{};
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x)
            for (int v = 0; v < 8; ++v)
                for (int u = 0; u < 8; ++u) out[8 * y + x] += basis(v, y) * basis(u, x) * c[8 * v + u];
    return out;
}

// ---- Inputs

Block randomBlock(std::mt19937& rng, int lo, int hi)
{
    std::uniform_int_distribution<int> dist(lo, hi);
    Block b;
    for (auto& v : b) v = static_cast<int16_t>(dist(rng));
    return b;
}

// What a decoder meets: a DC anywhere in the sample range and a few low-magnitude AC terms.
Block sparseCoefficients(std::mt19937& rng)
{
    Block b{};
    b[0] = static_cast<int16_t>(std::uniform_int_distribution<int>(-1000, 1000)(rng));
    const int count = std::uniform_int_distribution<int>(1, 8)(rng);
    for (int i = 0; i < count; ++i)
        b[std::uniform_int_distribution<int>(1, 63)(rng)] = static_cast<int16_t>(std::uniform_int_distribution<int>(-150, 150)(rng));
    return b;
}

Block filled(int16_t v)
{
    Block b;
    b.fill(v);
    return b;
}

Block dcOnly(int16_t dc)
{
    Block b{};
    b[0] = dc;
    return b;
}

// Runs a transform on a copy of `in` placed `offset` bytes past a 64-byte boundary, between canaries.
Block run(Transform fn, const Block& in, int offset = 0)
{
    CanaryBuffer buf(sizeof(Block), 32, static_cast<size_t>(offset));
    std::memcpy(buf.data(), in.data(), sizeof(Block));
    EXPECT_EQ(fn(reinterpret_cast<Lum16s*>(buf.data())), lumStsNoErr);
    EXPECT_TRUE(buf.guardsIntact()) << "offset " << offset;
    Block out;
    std::memcpy(out.data(), buf.data(), sizeof(Block));
    return out;
}

Block forward(const Block& in, int offset = 0) { return run(lumiDCT8x8Fwd_16s_C1I, in, offset); }
Block inverse(const Block& in, int offset = 0) { return run(lumiDCT8x8Inv_16s_C1I, in, offset); }

class DctTest : public lumtest::TierTest {
protected:
    Block forwardModel(const Block& b) const
    {
        return isPx() ? pxForwardModel(b) : vectorForwardModel(b, slot() != lum::kSlotA6);
    }
    Block inverseModel(const Block& b) const { return isPx() ? pxInverseModel(b) : vectorInverseModel(b); }
};

// ---- Statuses

TEST_P(DctTest, NullBlockIsRejected)
{
    EXPECT_EQ(lumiDCT8x8Fwd_16s_C1I(nullptr), lumStsNullPointer);
    EXPECT_EQ(lumiDCT8x8Inv_16s_C1I(nullptr), lumStsNullPointer);
}

// ---- Literal edge cases

TEST_P(DctTest, FlatBlocksGiveOnlyDc)
{
    Block expected{};
    expected[0] = -1024;
    EXPECT_EQ(forward(filled(-128)), expected);
    expected[0] = 1016;
    EXPECT_EQ(forward(filled(127)), expected);
}

TEST_P(DctTest, DcOnlyInvertsToFlatBlocks)
{
    EXPECT_EQ(inverse(dcOnly(1016)), filled(127));
    EXPECT_EQ(inverse(dcOnly(3)), filled(0));
    EXPECT_EQ(inverse(dcOnly(-2)), filled(0));
}

TEST_P(DctTest, HalfwayDcShowsEachRounding)
{
    if (isPx()) {
        EXPECT_EQ(inverse(dcOnly(4)), filled(1));
        EXPECT_EQ(inverse(dcOnly(-4)), filled(0));
        return;
    }
    // The row rounding terms break the tie by row: rows 3 and 4 round down.
    const Block out = inverse(dcOnly(4));
    for (int r = 0; r < 8; ++r)
        for (int c = 0; c < 8; ++c) EXPECT_EQ(out[8 * r + c], (r == 3 || r == 4) ? 0 : 1) << r << "," << c;
}

TEST_P(DctTest, FirstHorizontalFrequencyGivesItsCosineRow)
{
    Block in{};
    in[1] = 2000;
    const Block out = inverse(in);
    const int16_t expected[8] = {347, 294, 196, 69, -69, -196, -294, -347};
    for (int c = 0; c < 8; ++c) EXPECT_EQ(out[c], expected[c]) << c;
}

TEST_P(DctTest, ExtremeDcWrapsInPxAndSaturatesInVectorTiers)
{
    EXPECT_EQ(inverse(dcOnly(32767)), filled(isPx() ? 0 : 1023));
    EXPECT_EQ(inverse(dcOnly(-32768)), filled(isPx() ? 0 : -1024));
}

TEST_P(DctTest, OutOfRangeForwardFollowsEachTiersArithmetic)
{
    const Block out = forward(filled(32767));
    if (isPx()) {
        Block expected{};
        expected[0] = -8;
        EXPECT_EQ(out, expected);
    }
    EXPECT_EQ(out, forwardModel(filled(32767)));
    EXPECT_LT(out[0], 0);
}

TEST(DctVectorTiers, OutOfRangeForwardDiffersBetweenA6AndW7)
{
    const Block in = filled(32767);
    auto runIn = [&](Transform fn) {
        Block b = in;
        fn(b.data());
        return b;
    };
    const Block a6 = runIn(lum::a6::lumiDCT8x8Fwd_16s_C1I);
    const Block w7 = runIn(lum::w7::lumiDCT8x8Fwd_16s_C1I);
    const Block t7 = runIn(lum::t7::lumiDCT8x8Fwd_16s_C1I);
    EXPECT_NE(a6, w7);
    EXPECT_EQ(w7, t7);
}

// ---- Bit-exact models at every misalignment

TEST_P(DctTest, ForwardMatchesModelAtEveryOffset)
{
    std::mt19937 rng(1234 + slot());
    for (int offset = 0; offset < 16; ++offset) {
        for (int n = 0; n < 40; ++n) {
            const Block in = n < 25 ? randomBlock(rng, -128, 127) : randomBlock(rng, -1024, 1023);
            ASSERT_EQ(forward(in, offset), forwardModel(in)) << "offset " << offset << " case " << n;
        }
    }
}

TEST_P(DctTest, InverseMatchesModelAtEveryOffset)
{
    std::mt19937 rng(5678 + slot());
    for (int offset = 0; offset < 16; ++offset) {
        for (int n = 0; n < 40; ++n) {
            const Block in = n < 25 ? sparseCoefficients(rng) : randomBlock(rng, -16384, 16383);
            ASSERT_EQ(inverse(in, offset), inverseModel(in)) << "offset " << offset << " case " << n;
        }
    }
}

TEST_P(DctTest, MisalignedBlockGivesTheAlignedResult)
{
    std::mt19937 rng(99);
    const Block samples = randomBlock(rng, -128, 127), coefficients = sparseCoefficients(rng);
    const Block fwd = forward(samples), inv = inverse(coefficients);
    for (int offset = 1; offset < 16; ++offset) {
        EXPECT_EQ(forward(samples, offset), fwd) << offset;
        EXPECT_EQ(inverse(coefficients, offset), inv) << offset;
    }
}

// ---- Accuracy

TEST_P(DctTest, ForwardStaysWithinOneUnitOfTheExactTransform)
{
    std::mt19937 rng(42);
    double worst = 0;
    for (int n = 0; n < 1000; ++n) {
        const Block in = randomBlock(rng, -128, 127);
        const Block out = forward(in);
        const auto exact = exactForward(in);
        for (int i = 0; i < 64; ++i) worst = std::max(worst, std::fabs(out[i] - exact[i]));
    }
    EXPECT_LT(worst, 1.0);
}

TEST_P(DctTest, InverseStaysWithinOneUnitOfTheExactTransform)
{
    std::mt19937 rng(43);
    double worst = 0;
    for (int n = 0; n < 1000; ++n) {
        const Block in = sparseCoefficients(rng);
        const Block out = inverse(in);
        const auto exact = exactInverse(in);
        for (int i = 0; i < 64; ++i) worst = std::max(worst, std::fabs(out[i] - exact[i]));
    }
    EXPECT_LT(worst, 1.0);
}

// About 3% of forward coefficients and 2.5% of inverse samples differ by one between px and the
// vector algorithm (2.6% and 2.4% measured with these inputs); never by more.
TEST_P(DctTest, VectorTierDiffersFromPxByAtMostOneAtTheKnownRate)
{
    if (isPx()) GTEST_SKIP() << "compares a vector tier with px";
    std::mt19937 rng(44);
    for (const bool isForward : {true, false}) {
        int differing = 0, total = 0;
        for (int n = 0; n < 1000; ++n) {
            const Block in = isForward ? randomBlock(rng, -128, 127) : sparseCoefficients(rng);
            Block reference = in;
            (isForward ? lum::px::lumiDCT8x8Fwd_16s_C1I : lum::px::lumiDCT8x8Inv_16s_C1I)(reference.data());
            const Block out = isForward ? forward(in) : inverse(in);
            for (int i = 0; i < 64; ++i, ++total) {
                ASSERT_LE(std::abs(out[i] - reference[i]), 1) << (isForward ? "forward" : "inverse");
                differing += out[i] != reference[i];
            }
        }
        const double rate = 100.0 * differing / total;
        EXPECT_GT(rate, 1.5) << (isForward ? "forward" : "inverse");
        EXPECT_LT(rate, 4.0) << (isForward ? "forward" : "inverse");
    }
}

// ---- Processor state

// The x87 tag word: 0xFFFF when every register is empty. A 64-bit vector kernel that used MMX
// registers without clearing them afterwards would leave it otherwise, and x87 arithmetic (long
// double) would then go wrong in the caller.
uint16_t x87TagWord()
{
    unsigned char env[28];
    __asm__ volatile("fnstenv %0\n\tfldenv %0" : "=m"(env));
    uint16_t tags;
    std::memcpy(&tags, env + 8, sizeof tags);
    return tags;
}

TEST_P(DctTest, BlockFunctionsLeaveTheX87RegistersEmpty)
{
    alignas(16) Lum16s block[64] = {}, other[64] = {};
    alignas(16) Lum16u table[64];
    Lum8u raw[64], pixels[64] = {};
    std::fill(std::begin(raw), std::end(raw), Lum8u{5});
    std::fill(std::begin(table), std::end(table), Lum16u{3});
    ASSERT_EQ(x87TagWord(), 0xFFFF);
    lumiDCT8x8Fwd_16s_C1I(block);
    lumiDCT8x8Inv_16s_C1I(block);
    lumiQuantFwdRawTableInit_JPEG_8u(raw, 75);
    lumiQuantFwdTableInit_JPEG_8u16u(raw, table);
    lumiQuantInvTableInit_JPEG_8u16u(raw, table);
    lumiQuantFwd8x8_JPEG_16s_C1I(block, table);
    lumiQuantInv8x8_JPEG_16s_C1I(block, table);
    lumiZigzagInv8x8_16s_C1(block, other);
    for (const int width : {3, 8}) {
        lumiSub128_JPEG_8u16s_C1R(pixels, 8, block, 16, {width, 4});
        lumiAdd128_JPEG_16s8u_C1R(block, 16, pixels, 8, {width, 4});
    }
    EXPECT_EQ(x87TagWord(), 0xFFFF);
}

// ---- Dispatch

TEST(DctRows, EverySlotHasItsOwnVariant)
{
    EXPECT_EQ(lumRow_lumiDCT8x8Fwd_16s_C1I[0], &lum::px::lumiDCT8x8Fwd_16s_C1I);
    EXPECT_EQ(lumRow_lumiDCT8x8Fwd_16s_C1I[1], &lum::a6::lumiDCT8x8Fwd_16s_C1I);
    EXPECT_EQ(lumRow_lumiDCT8x8Fwd_16s_C1I[2], &lum::w7::lumiDCT8x8Fwd_16s_C1I);
    EXPECT_EQ(lumRow_lumiDCT8x8Fwd_16s_C1I[3], &lum::t7::lumiDCT8x8Fwd_16s_C1I);
    EXPECT_EQ(lumRow_lumiDCT8x8Inv_16s_C1I[0], &lum::px::lumiDCT8x8Inv_16s_C1I);
    EXPECT_EQ(lumRow_lumiDCT8x8Inv_16s_C1I[1], &lum::a6::lumiDCT8x8Inv_16s_C1I);
    EXPECT_EQ(lumRow_lumiDCT8x8Inv_16s_C1I[2], &lum::w7::lumiDCT8x8Inv_16s_C1I);
    EXPECT_EQ(lumRow_lumiDCT8x8Inv_16s_C1I[3], &lum::t7::lumiDCT8x8Inv_16s_C1I);
}

LUM_ALL_TIERS(DctTest);

}  // namespace
