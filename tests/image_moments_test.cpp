// Spatial moments in all tiers: the record and its lifecycle, argument checks and their order, the
// edge cases, raw moments matched bit for bit against scalar models of each tier's kernel, the
// re-centring table, the agreement between tiers on large images, and OpenCV's moments as an
// independent oracle.
#include "image/moments.h"
#include "test_support.h"
#include "tier_fixture.h"

#include <opencv2/imgproc.hpp>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

namespace {

// Raw moments at index 4 j + i, as the record holds them.
using Raw = std::array<double, 16>;

// A float image with a step in bytes, laid out `misalign` bytes past a 16-byte boundary.
struct FloatImage {
    std::vector<Lum8u> bytes;
    size_t offset;
    Lum32s step;
    LumSize roi;

    FloatImage(LumSize size, Lum32s stepBytes, size_t misalign, uint32_t seed, float lo = -100,
               float hi = 100)
        : step(stepBytes), roi(size)
    {
        bytes.assign(size_t(stepBytes) * size_t(size.height) + 64, 0);
        offset = (16 - reinterpret_cast<uintptr_t>(bytes.data()) % 16) % 16 + misalign;
        std::mt19937 rng(seed);
        std::uniform_real_distribution<float> value(lo, hi);
        for (int y = 0; y < size.height; ++y)
            for (int x = 0; x < size.width; ++x) set(x, y, value(rng));
    }
    const Lum8u* row(int y) const { return bytes.data() + offset + size_t(y) * size_t(step); }
    const Lum32f* data() const { return reinterpret_cast<const Lum32f*>(row(0)); }
    float at(int x, int y) const
    {
        float f;
        std::memcpy(&f, row(y) + 4 * x, 4);
        return f;
    }
    void set(int x, int y, float f)
    {
        std::memcpy(bytes.data() + offset + size_t(y) * size_t(step) + 4 * x, &f, 4);
    }
};

// The row-sum update, products and sums in the type W, each sum rounded back to double.
template <typename W>
void update(Raw& m, W s0, W s1, W s2, W s3, W y)
{
    m[0] = double(m[0] + s0);
    m[1] = double(m[1] + s1);
    m[2] = double(m[2] + s2);
    m[3] = double(m[3] + s3);
    const W t0 = s0 * y, t1 = s1 * y, t2 = t0 * y;
    m[4] = double(m[4] + t0);
    m[5] = double(m[5] + t1);
    m[6] = double(m[6] + s2 * y);
    m[8] = double(m[8] + t2);
    m[9] = double(m[9] + t1 * y);
    m[12] = double(m[12] + t2 * y);
}

// px (and a6 with hint 2): double row sums pixel by pixel.
Raw modelPx(const FloatImage& im)
{
    Raw m{};
    for (int y = 0; y < im.roi.height; ++y) {
        double s[4] = {}, x = 0;
        for (int i = 0; i < im.roi.width; ++i) {
            const double f = im.at(i, y);
            double p = f * x;
            s[0] += f;
            s[1] += p;
            p *= x;
            s[2] += p;
            p *= x;
            s[3] += p;
            x += 1;
        }
        update<double>(m, s[0], s[1], s[2], s[3], double(y));
    }
    return m;
}

// w7: two double lanes, even columns in lane 0 and odd in lane 1, four pixels per pass, the rest in
// lane 0, the lanes added at the end of the row.
Raw modelW7(const FloatImage& im)
{
    Raw m{};
    for (int y = 0; y < im.roi.height; ++y) {
        double s[4][2] = {}, x[2] = {0, 1};
        const auto add = [&](int lane, double f) {
            double p = f * x[lane];
            s[0][lane] += f;
            s[1][lane] += p;
            p *= x[lane];
            s[2][lane] += p;
            p *= x[lane];
            s[3][lane] += p;
        };
        int i = 0;
        for (; im.roi.width - i >= 4; i += 4)
            for (int half = 0; half < 2; ++half) {
                add(0, im.at(i + 2 * half, y));
                add(1, im.at(i + 2 * half + 1, y));
                x[0] += 2;
                x[1] += 2;
            }
        for (; i < im.roi.width; ++i) {
            add(0, im.at(i, y));
            x[0] += 1;
        }
        update<double>(m, s[0][0] + s[0][1], s[1][0] + s[1][1], s[2][0] + s[2][1], s[3][0] + s[3][1],
                       double(y));
    }
    return m;
}

// a6 (hint not 2) and t7: four float lanes; single pixels in lane 0 until the pixel address is a
// multiple of 16, four per pass with consecutive columns, the rest in lane 0; lanes added high pair
// onto low pair, then lane 1 onto lane 0; the update at x87 width.
Raw modelFloatLanes(const FloatImage& im)
{
    Raw m{};
    for (int y = 0; y < im.roi.height; ++y) {
        float s[4][4] = {}, x[4] = {};
        const auto single = [&](int i) {
            const float f = im.at(i, y);
            float p = f * x[0];
            s[0][0] += f;
            s[1][0] += p;
            p *= x[0];
            s[2][0] += p;
            p *= x[0];
            s[3][0] += p;
            for (float& v : x) v += 1;
        };
        int i = 0;
        for (; i < im.roi.width && reinterpret_cast<uintptr_t>(im.row(y) + 4 * i) % 16 != 0; ++i) single(i);
        for (int k = 0; k < 4; ++k) x[k] += float(k);
        for (; im.roi.width - i >= 4; i += 4)
            for (int k = 0; k < 4; ++k) {
                const float f = im.at(i + k, y);
                float p = f * x[k];
                s[0][k] += f;
                s[1][k] += p;
                p *= x[k];
                s[2][k] += p;
                p *= x[k];
                s[3][k] += p;
                x[k] += 4;
            }
        for (; i < im.roi.width; ++i) single(i);
        long double r[4];
        for (int j = 0; j < 4; ++j) r[j] = (s[j][0] + s[j][2]) + (s[j][1] + s[j][3]);
        update<long double>(m, r[0], r[1], r[2], r[3], y);
    }
    return m;
}

Raw rawOf(const LumMomentRecord* record)
{
    Raw m;
    std::memcpy(m.data(), record->sums, sizeof m);
    return m;
}

// The re-centring table, terms in its order.
double recentred(const Raw& M, int mo, int no, double ox, double oy)
{
    const auto at = [&](int i, int j) { return M[size_t(4 * j + i)]; };
    switch (4 * mo + no) {
        case 0:
            return at(0, 0);
        case 1:
            return oy * at(0, 0) + at(0, 1);
        case 2:
            return 2 * oy * at(0, 1) + at(0, 2) + oy * oy * at(0, 0);
        case 3:
            return 3 * oy * at(0, 2) + at(0, 3) + 3 * oy * oy * at(0, 1) + oy * oy * oy * at(0, 0);
        case 4:
            return ox * at(0, 0) + at(1, 0);
        case 5:
            return ox * at(0, 1) + at(1, 1) + oy * at(1, 0) + ox * oy * at(0, 0);
        case 6:
            return ox * at(0, 2) + at(1, 2) + 2 * oy * at(1, 1) + oy * oy * at(1, 0) +
                   2 * ox * oy * at(0, 1) + ox * oy * oy * at(0, 0);
        case 8:
            return 2 * ox * at(1, 0) + at(2, 0) + ox * ox * at(0, 0);
        case 9:
            return 2 * ox * at(1, 1) + at(2, 1) + ox * ox * at(0, 1) + oy * at(2, 0) +
                   2 * ox * oy * at(1, 0) + ox * ox * oy * at(0, 0);
        case 12:
            return 3 * ox * at(2, 0) + at(3, 0) + 3 * ox * ox * at(1, 0) + ox * ox * ox * at(0, 0);
    }
    return NAN;
}

const std::pair<int, int> kOrders[10] = {{0, 0}, {0, 1}, {0, 2}, {0, 3}, {1, 0},
                                         {1, 1}, {1, 2}, {2, 0}, {2, 1}, {3, 0}};

class ImageMoments : public lumtest::TierTest {
protected:
    void TearDown() override
    {
        for (LumMomentRecord* r : records_) lumiMomentFree_64f(r);
        TierTest::TearDown();
    }
    LumMomentRecord* make(Lum32s hint = 0)
    {
        LumMomentRecord* r = nullptr;
        EXPECT_EQ(lumiMomentInitAlloc_64f(&r, hint), lumStsNoErr);
        records_.push_back(r);
        return r;
    }
    // The model of this tier's kernel for a record of `hint`.
    Raw model(const FloatImage& im, Lum32s hint) const
    {
        switch (slot()) {
            case 0:
                return modelPx(im);
            case 1:
                return hint == 2 ? modelPx(im) : modelFloatLanes(im);
            case 2:
                return modelW7(im);
            default:
                return modelFloatLanes(im);
        }
    }

private:
    std::vector<LumMomentRecord*> records_;
};

TEST_P(ImageMoments, RecordIsTaggedAndAligned)
{
    EXPECT_EQ(lumiMomentInitAlloc_64f(nullptr, 0), lumStsNullPointer);
    LumMomentRecord* r = make(-7);
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(r) % 32, 0u);
    EXPECT_EQ(r->tag, 33);
    EXPECT_EQ(r->hint, -7);
    EXPECT_EQ(r->channelCount, -1);
}

TEST_P(ImageMoments, FreeChecksPointerThenTag)
{
    EXPECT_EQ(lumiMomentFree_64f(nullptr), lumStsNullPointer);
    LumMomentRecord foreign{};
    foreign.tag = 32;
    EXPECT_EQ(lumiMomentFree_64f(&foreign), lumStsContextMismatch);
    LumMomentRecord* r = nullptr;
    ASSERT_EQ(lumiMomentInitAlloc_64f(&r, 0), lumStsNoErr);
    EXPECT_EQ(lumiMomentFree_64f(r), lumStsNoErr);
}

TEST_P(ImageMoments, FillChecksInOrderAndLeavesTheRecord)
{
    LumMomentRecord* r = make();
    const float pixels[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    LumMomentRecord foreign{};
    EXPECT_EQ(lumiMoments64f_32f_C1R(nullptr, 16, {4, 2}, r), lumStsNullPointer);
    EXPECT_EQ(lumiMoments64f_32f_C1R(pixels, 16, {4, 2}, nullptr), lumStsNullPointer);
    EXPECT_EQ(lumiMoments64f_32f_C1R(pixels, 0, {0, 2}, &foreign), lumStsContextMismatch);
    EXPECT_EQ(lumiMoments64f_32f_C1R(pixels, 0, {0, 2}, r), lumStsBadStep);
    EXPECT_EQ(lumiMoments64f_32f_C1R(pixels, -16, {4, 2}, r), lumStsBadStep);
    EXPECT_EQ(lumiMoments64f_32f_C1R(pixels, 3, {0, 2}, r), lumStsBadSize);
    EXPECT_EQ(lumiMoments64f_32f_C1R(pixels, 16, {4, 0}, r), lumStsBadSize);
    EXPECT_EQ(lumiMoments64f_32f_C1R(pixels, 15, {4, 2}, r), lumStsStrideTooSmall);
    EXPECT_EQ(lumiMoments64f_32f_C1R(pixels, 3, {1, 2}, r), lumStsStrideTooSmall);
    EXPECT_EQ(r->channelCount, -1);
    // A fill, then a failed fill: the record keeps the first one.
    ASSERT_EQ(lumiMoments64f_32f_C1R(pixels, 16, {4, 2}, r), lumStsNoErr);
    const Raw filled = rawOf(r);
    EXPECT_EQ(lumiMoments64f_32f_C1R(pixels, 12, {4, 2}, r), lumStsStrideTooSmall);
    EXPECT_EQ(rawOf(r), filled);
    EXPECT_EQ(r->channelCount, 1);
    // Width times 4 equal to the step is accepted.
    EXPECT_EQ(lumiMoments64f_32f_C1R(pixels, 4, {1, 2}, r), lumStsNoErr);
}

TEST_P(ImageMoments, ReadChecksInOrder)
{
    LumMomentRecord* r = make();
    double v = 123;
    LumMomentRecord foreign{};
    EXPECT_EQ(lumiGetSpatialMoment_64f(nullptr, 0, 0, 0, {0, 0}, &v), lumStsNullPointer);
    EXPECT_EQ(lumiGetSpatialMoment_64f(r, 0, 0, 0, {0, 0}, nullptr), lumStsNullPointer);
    EXPECT_EQ(lumiGetSpatialMoment_64f(&foreign, 5, 5, 0, {0, 0}, &v), lumStsContextMismatch);
    // Before the first fill every valid order reports a bad channel.
    EXPECT_EQ(lumiGetSpatialMoment_64f(r, 2, 2, 0, {0, 0}, &v), lumStsBadSize);
    EXPECT_EQ(lumiGetSpatialMoment_64f(r, 0, 0, 0, {0, 0}, &v), lumStsBadChannel);
    EXPECT_EQ(lumiGetSpatialMoment_64f(r, -1, 2, 0, {0, 0}, &v), lumStsBadChannel);
    const float pixel = 2.5f;
    ASSERT_EQ(lumiMoments64f_32f_C1R(&pixel, 4, {1, 1}, r), lumStsNoErr);
    EXPECT_EQ(lumiGetSpatialMoment_64f(r, 0, 0, 1, {0, 0}, &v), lumStsBadChannel);
    EXPECT_EQ(lumiGetSpatialMoment_64f(r, 0, 0, -1, {0, 0}, &v), lumStsBadChannel);
    EXPECT_EQ(lumiGetSpatialMoment_64f(r, 2, 2, 0, {0, 0}, &v), lumStsBadSize);
    EXPECT_EQ(lumiGetSpatialMoment_64f(r, 1, 3, 0, {0, 0}, &v), lumStsBadSize);
    // Orders whose selection falls outside the table succeed and leave the value alone.
    for (auto [mo, no] : {std::pair{-1, 2}, {2, -1}, {0, -5}, {-3, 0}, {-1, 4}})
        EXPECT_EQ(lumiGetSpatialMoment_64f(r, mo, no, 0, {0, 0}, &v), lumStsNoErr) << mo << " " << no;
    EXPECT_EQ(v, 123);
}

// One pixel of value v: M(0,0) is v, every other raw moment 0; (1,1) about (2, 3) is 6 v.
TEST_P(ImageMoments, OnePixel)
{
    LumMomentRecord* r = make();
    const float pixel = -3.75f;
    ASSERT_EQ(lumiMoments64f_32f_C1R(&pixel, 4, {1, 1}, r), lumStsNoErr);
    const Raw m = rawOf(r);
    EXPECT_EQ(m[0], -3.75);
    for (size_t i = 1; i < 16; ++i) EXPECT_EQ(m[i], 0) << i;
    double v = 0;
    ASSERT_EQ(lumiGetSpatialMoment_64f(r, 1, 1, 0, {2, 3}, &v), lumStsNoErr);
    EXPECT_EQ(v, 6 * -3.75);
}

TEST_P(ImageMoments, ZeroImageGivesZeroMoments)
{
    LumMomentRecord* r = make();
    std::vector<float> zeros(40 * 7, 0.0f);
    ASSERT_EQ(lumiMoments64f_32f_C1R(zeros.data(), 160, {40, 7}, r), lumStsNoErr);
    for (double m : rawOf(r)) EXPECT_EQ(m, 0);
}

// Raw moments bit for bit against the model of the tier, over widths around the four-pixel pass,
// every float misalignment, steps that are not multiples of 4 (the vector head then takes the whole
// row) and both hints.
TEST_P(ImageMoments, RawMomentsMatchTheTierModel)
{
    std::mt19937 rng(41);
    for (int n = 0; n < 60; ++n) {
        const LumSize roi = {1 + int(rng() % 70), 1 + int(rng() % 20)};
        const Lum32s step = 4 * roi.width + int(rng() % 3) * (n % 3 == 0 ? 1 : 4);
        const FloatImage im(roi, step, 4 * (rng() % 4) + (n % 5 == 0 ? 1 : 0), uint32_t(n));
        for (Lum32s hint : {0, 2}) {
            LumMomentRecord* r = make(hint);
            ASSERT_EQ(lumiMoments64f_32f_C1R(im.data(), step, roi, r), lumStsNoErr);
            ASSERT_EQ(r->channelCount, 1);
            const Raw expected = model(im, hint), got = rawOf(r);
            for (size_t i = 0; i < 16; ++i)
                ASSERT_EQ(got[i], expected[i]) << "n " << n << " hint " << hint << " index " << i << " "
                                               << roi.width << "x" << roi.height << " step " << step;
        }
    }
}

// A second fill replaces the first; reads repeat and follow the table for any origin.
TEST_P(ImageMoments, RecentredMomentsFollowTheTable)
{
    LumMomentRecord* r = make();
    const FloatImage first({30, 9}, 120, 0, 1), second({23, 11}, 100, 4, 2, 0, 255);
    ASSERT_EQ(lumiMoments64f_32f_C1R(first.data(), first.step, first.roi, r), lumStsNoErr);
    ASSERT_EQ(lumiMoments64f_32f_C1R(second.data(), second.step, second.roi, r), lumStsNoErr);
    const Raw m = rawOf(r);
    EXPECT_EQ(m, model(second, 0));
    for (const LumPoint origin :
         {LumPoint{0, 0}, LumPoint{2, 3}, LumPoint{-11, 7}, LumPoint{100000, -250000}})
        for (auto [mo, no] : kOrders)
            for (int repeat = 0; repeat < 2; ++repeat) {
                double v = NAN;
                ASSERT_EQ(lumiGetSpatialMoment_64f(r, mo, no, 0, origin, &v), lumStsNoErr);
                EXPECT_EQ(v, recentred(m, mo, no, origin.x, origin.y)) << mo << " " << no;
            }
}

LUM_ALL_TIERS(ImageMoments);

// The tiers on one large image with wide-ranging values: a6 with hint 2 equals px exactly, w7 agrees
// to the last few bits, and the single-precision row sums of a6 and t7 differ in the low digits.
TEST(ImageMomentsTiers, LargeImageAgreement)
{
    const FloatImage im({1000, 300}, 4000, 0, 5, -1e4f, 1e4f);
    std::vector<Raw> byTier;
    for (int slot = 0; slot < 4; ++slot) {
        ASSERT_EQ(lumSetTierByCpuCode(lumtest::kTierCodes[slot]), lumStsNoErr);
        LumMomentRecord* r = nullptr;
        ASSERT_EQ(lumiMomentInitAlloc_64f(&r, 2), lumStsNoErr);
        ASSERT_EQ(lumiMoments64f_32f_C1R(im.data(), im.step, im.roi, r), lumStsNoErr);
        byTier.push_back(rawOf(r));
        lumiMomentFree_64f(r);
    }
    lumSetTierByCpuCode(-1);
    // Relative to the scale of each moment: the sum of the magnitudes of its terms.
    const Raw scale = [&] {
        FloatImage absolute = im;
        for (int y = 0; y < im.roi.height; ++y)
            for (int x = 0; x < im.roi.width; ++x) absolute.set(x, y, std::fabs(im.at(x, y)));
        return modelPx(absolute);
    }();
    EXPECT_EQ(byTier[1], byTier[0]);
    bool t7Differs = false;
    for (size_t i : {0, 1, 2, 3, 4, 5, 6, 8, 9, 12}) {
        EXPECT_LE(std::fabs(byTier[2][i] - byTier[0][i]), 1e-13 * scale[i]) << i;
        EXPECT_LE(std::fabs(byTier[3][i] - byTier[0][i]), 1e-5 * scale[i]) << i;
        t7Differs = t7Differs || byTier[3][i] != byTier[0][i];
    }
    EXPECT_TRUE(t7Differs);
    EXPECT_NE(byTier[3][3], byTier[0][3]);
    EXPECT_NE(byTier[3][12], byTier[0][12]);
}

// OpenCV's spatial moments of the same float image, in every tier, within single-precision
// accumulation error.
TEST(ImageMomentsOracle, AgreesWithOpenCv)
{
    std::mt19937 rng(9);
    for (int n = 0; n < 6; ++n) {
        const int width = 1 + int(rng() % 400), height = 1 + int(rng() % 200);
        cv::Mat image(height, width, CV_32FC1);
        cv::randu(image, 0.0, 255.0);
        const cv::Moments cm = cv::moments(image, false);
        const double oracle[10] = {cm.m00, cm.m01, cm.m02, cm.m03, cm.m10,
                                   cm.m11, cm.m12, cm.m20, cm.m21, cm.m30};
        for (int slot = 0; slot < 4; ++slot) {
            ASSERT_EQ(lumSetTierByCpuCode(lumtest::kTierCodes[slot]), lumStsNoErr);
            LumMomentRecord* r = nullptr;
            ASSERT_EQ(lumiMomentInitAlloc_64f(&r, 0), lumStsNoErr);
            ASSERT_EQ(lumiMoments64f_32f_C1R(image.ptr<float>(), Lum32s(image.step), {width, height}, r),
                      lumStsNoErr);
            for (int k = 0; k < 10; ++k) {
                double v = 0;
                ASSERT_EQ(lumiGetSpatialMoment_64f(r, kOrders[k].first, kOrders[k].second, 0, {0, 0}, &v),
                          lumStsNoErr);
                EXPECT_NEAR(v, oracle[k], 2e-5 * std::fabs(oracle[k]) + 1e-9)
                    << "slot " << slot << " order " << k;
            }
            lumiMomentFree_64f(r);
        }
        lumSetTierByCpuCode(-1);
    }
}

}  // namespace
