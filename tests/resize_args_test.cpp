// The resize exports' argument checks and their order, the scratch size formula, the allocation
// failure path, and the edge cases of the resize family with their literal values, in every tier.
#include "resize/resize_lanczos.h"
#include "test_support.h"
#include "tier_fixture.h"

#include <malloc.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

using lumtest::CanaryBuffer;
using lumtest::kCanary;

class ResizeArgsTest : public lumtest::TierTest {};

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// The scratch size, written from the rule: index tables rounded to 16 bytes, row buffers sized for
// samples of up to four bytes with their alignment slack, 15 for aligning the start.
Lum32s expectedScratch(int w, int h, int c, int mode)
{
    const int64_t aw = (w + 15) / 16 * 16, ah = (h + 15) / 16 * 16;
    int64_t size;
    switch (mode) {
        case 1:
            size = 4 * (aw + ah) + 15;
            break;
        case 2:
            size = 8 * (aw + ah) + 4 * c * ((2 * int64_t(w) + 31) / 16 * 16) + 15;
            break;
        case 4:
            size = 8 * (aw + ah) + 4 * c * ((4 * int64_t(w) + 63) / 16 * 16) + 15;
            break;
        default:
            size = 8 * (aw + ah) + 4 * (c + 1) * ((6 * int64_t(w) + 95) / 16 * 16) +
                   4 * ((6 * int64_t(h) + 95) / 16 * 16) + 15;
            break;
    }
    return Lum32s(size);
}

// An interleaved image with a spare row and two spare pixels per row, which the modes may read past
// the last sample.
struct Picture {
    int width, height, channels, step;
    std::vector<uint8_t> bytes;
    Picture(int w, int h, int ch = 1, uint8_t fill = 0)
        : width(w), height(h), channels(ch), step((w + 2) * ch + 1), bytes(size_t(step) * (h + 2), fill)
    {
    }
    uint8_t& at(int r, int c, int ch = 0) { return bytes[size_t(r) * step + size_t(c) * channels + ch]; }
    uint8_t at(int r, int c, int ch = 0) const { return bytes[size_t(r) * step + size_t(c) * channels + ch]; }
    LumSize size() const { return {width, height}; }
    LumRect whole() const { return {0, 0, width, height}; }
};

Picture randomPicture(int w, int h, int channels, uint32_t seed)
{
    Picture p(w, h, channels);
    const auto r = lumtest::randomBytes(p.bytes.size(), seed);
    p.bytes.assign(r.begin(), r.end());
    return p;
}

// Resizes the whole of `src` into `dst` (same origin) with a scratch of the given size.
LumStatus resizeRegion(const Picture& src, LumRect srcRoi, Picture& dst, LumRect dstRoi, double xf, double yf,
                       double xs, double ys, int mode)
{
    Lum32s size = 0;
    if (lumiResizeSqrPixelGetBufSize({dstRoi.width, dstRoi.height}, 1, mode == 8 ? 1 : mode, &size) !=
        lumStsNoErr)
        return lumStsUnknown;
    std::vector<uint8_t> scratch(static_cast<size_t>(size));
    return lumiResizeSqrPixel_8u_C1R(src.bytes.data(), src.size(), src.step, srcRoi, dst.bytes.data(),
                                     dst.step, dstRoi, xf, yf, xs, ys, mode, scratch.data());
}

LumStatus resizeEnds(const Picture& src, LumRect roi, Picture& dst, double xf, double yf, int mode)
{
    return lumiResize_8u_C3R(src.bytes.data(), src.size(), src.step, roi, dst.bytes.data(), dst.step,
                             {dst.width, dst.height}, xf, yf, mode);
}

// ---- lumiResizeSqrPixelGetBufSize --------------------------------------------------------------

TEST_P(ResizeArgsTest, BufSizeChecksInOrder)
{
    Lum32s size = -1;
    EXPECT_EQ(lumiResizeSqrPixelGetBufSize({0, 0}, 2, 8, nullptr), lumStsNullPointer);
    EXPECT_EQ(lumiResizeSqrPixelGetBufSize({0, 5}, 2, 8, &size), lumStsBadSize);
    EXPECT_EQ(lumiResizeSqrPixelGetBufSize({5, 0}, 1, 1, &size), lumStsBadSize);
    EXPECT_EQ(lumiResizeSqrPixelGetBufSize({5, 5}, 2, 8, &size), lumStsBadChannelCount);
    EXPECT_EQ(lumiResizeSqrPixelGetBufSize({5, 5}, 0, 1, &size), lumStsBadChannelCount);
    for (int mode : {0, 3, 8, 32, -1})
        EXPECT_EQ(lumiResizeSqrPixelGetBufSize({5, 5}, 1, mode, &size), lumStsBadInterpolation);
    EXPECT_EQ(size, -1);
}

TEST_P(ResizeArgsTest, BufSizeFollowsTheFormula)
{
    std::mt19937 rng(31);
    std::vector<std::pair<int, int>> sizes = {{1, 1}, {15, 16}, {16, 17}, {17, 1}, {1920, 1080}, {4096, 3}};
    for (int n = 0; n < 300; ++n) sizes.push_back({1 + int(rng() % 3000), 1 + int(rng() % 3000)});
    for (auto [w, h] : sizes)
        for (int c : {1, 3, 4})
            for (int mode : {1, 2, 4, 16}) {
                Lum32s size = 0;
                ASSERT_EQ(lumiResizeSqrPixelGetBufSize({w, h}, c, mode, &size), lumStsNoErr);
                ASSERT_EQ(size, expectedScratch(w, h, c, mode))
                    << w << "x" << h << " c" << c << " mode " << mode;
            }
    // Literal values: a 1x1 destination, and 100x50 with three channels in mode 16.
    Lum32s size = 0;
    ASSERT_EQ(lumiResizeSqrPixelGetBufSize({1, 1}, 1, 1, &size), lumStsNoErr);
    EXPECT_EQ(size, 4 * (16 + 16) + 15);
    ASSERT_EQ(lumiResizeSqrPixelGetBufSize({100, 50}, 3, 16, &size), lumStsNoErr);
    EXPECT_EQ(size, 8 * (112 + 64) + 16 * 688 + 4 * 384 + 15);
}

// ---- lumiResizeSqrPixel_8u_C1R checks ----------------------------------------------------------

TEST_P(ResizeArgsTest, RegionChecksInOrderAndWriteNothing)
{
    const Picture src = randomPicture(16, 16, 1, 1);
    CanaryBuffer dst(64 * 64);
    std::vector<uint8_t> scratch(100000);
    auto call = [&](const void* s, LumSize ss, LumRect sr, uint8_t* d, LumRect dr, double xf, double yf,
                    int mode, uint8_t* buf) {
        return lumiResizeSqrPixel_8u_C1R(static_cast<const Lum8u*>(s), ss, src.step, sr, d, 64, dr, xf, yf,
                                         0.0, 0.0, mode, buf);
    };
    uint8_t* d = dst.data();
    const LumRect roi{0, 0, 16, 16}, droi{0, 0, 32, 32};
    // Several bad arguments at once: the first in the order wins.
    EXPECT_EQ(call(nullptr, {0, 0}, roi, d, droi, 0.0, 0.0, 3, scratch.data()), lumStsNullPointer);
    EXPECT_EQ(call(src.bytes.data(), {0, 0}, roi, nullptr, droi, 0.0, 0.0, 3, scratch.data()),
              lumStsNullPointer);
    EXPECT_EQ(call(src.bytes.data(), {0, 0}, roi, d, droi, 0.0, 0.0, 3, nullptr), lumStsNullPointer);
    EXPECT_EQ(call(src.bytes.data(), {16, 0}, roi, d, droi, 0.0, 0.0, 3, scratch.data()), lumStsBadSize);
    EXPECT_EQ(call(src.bytes.data(), {16, 16}, {-1, 0, 16, 16}, d, droi, 0.0, 0.0, 3, scratch.data()),
              lumStsBadSize);
    EXPECT_EQ(call(src.bytes.data(), {16, 16}, {0, -1, 16, 16}, d, droi, 0.0, 0.0, 3, scratch.data()),
              lumStsBadSize);
    EXPECT_EQ(call(src.bytes.data(), {16, 16}, {0, 0, 0, 16}, d, droi, 0.0, 0.0, 3, scratch.data()),
              lumStsBadSize);
    EXPECT_EQ(call(src.bytes.data(), {16, 16}, {0, 0, 16, 0}, d, droi, 0.0, 0.0, 3, scratch.data()),
              lumStsBadSize);
    EXPECT_EQ(call(src.bytes.data(), {16, 16}, roi, d, {-1, 0, 32, 32}, 0.0, 0.0, 3, scratch.data()),
              lumStsBadSize);
    EXPECT_EQ(call(src.bytes.data(), {16, 16}, roi, d, {0, -1, 32, 32}, 0.0, 0.0, 3, scratch.data()),
              lumStsBadSize);
    EXPECT_EQ(call(src.bytes.data(), {16, 16}, roi, d, {0, 0, 0, 32}, 0.0, 0.0, 3, scratch.data()),
              lumStsBadSize);
    EXPECT_EQ(call(src.bytes.data(), {16, 16}, roi, d, {0, 0, 32, 0}, 0.0, 0.0, 3, scratch.data()),
              lumStsBadSize);
    // The size check comes before the empty intersection.
    EXPECT_EQ(call(src.bytes.data(), {16, 16}, {16, 0, 0, 16}, d, droi, 1.0, 1.0, 1, scratch.data()),
              lumStsBadSize);
    for (double bad : {0.0, -1.0, kNaN}) {
        EXPECT_EQ(call(src.bytes.data(), {16, 16}, roi, d, droi, bad, 1.0, 3, scratch.data()),
                  lumStsBadResizeFactor);
        EXPECT_EQ(call(src.bytes.data(), {16, 16}, roi, d, droi, 1.0, bad, 3, scratch.data()),
                  lumStsBadResizeFactor);
    }
    for (int mode : {0, 3, 8, 32})
        EXPECT_EQ(call(src.bytes.data(), {16, 16}, {16, 0, 4, 4}, d, droi, 1.0, 1.0, mode, scratch.data()),
                  lumStsBadInterpolation);
    EXPECT_EQ(call(src.bytes.data(), {16, 16}, {16, 0, 4, 4}, d, droi, 1.0, 1.0, 1, scratch.data()),
              lumStsEmptyIntersection);
    EXPECT_EQ(call(src.bytes.data(), {16, 16}, {0, 16, 4, 4}, d, droi, 1.0, 1.0, 2, scratch.data()),
              lumStsEmptyIntersection);
    // A region mapped entirely left of dstRoi: X0 > X1.
    EXPECT_EQ(lumiResizeSqrPixel_8u_C1R(src.bytes.data(), {16, 16}, src.step, roi, d, 64, {40, 0, 10, 10},
                                        1.0, 1.0, 0.0, 0.0, 2, scratch.data()),
              lumStsNoOperation);
    EXPECT_TRUE(dst.payloadIsCanary());
    EXPECT_TRUE(dst.guardsIntact());
}

TEST_P(ResizeArgsTest, EmptyOutputRectangleIsNoErrAndWritesNothing)
{
    const Picture src = randomPicture(16, 16, 1, 2);
    CanaryBuffer dst(64 * 64);
    std::vector<uint8_t> scratch(100000);
    // The region maps to 0..16; a shift of -16.2 puts it at -16.2..-0.2, so X0 = 0 (clipped) and X1 = 0;
    // at -18 it ends at -2, X1 = trunc(-1.5) = -1 is below X0.
    for (int mode : {1, 2, 4, 16}) {
        EXPECT_EQ(lumiResizeSqrPixel_8u_C1R(src.bytes.data(), {16, 16}, src.step, src.whole(), dst.data(), 64,
                                            {0, 0, 32, 32}, 1.0, 1.0, -16.2, 0.0, mode, scratch.data()),
                  lumStsNoErr);
        EXPECT_EQ(lumiResizeSqrPixel_8u_C1R(src.bytes.data(), {16, 16}, src.step, src.whole(), dst.data(), 64,
                                            {0, 0, 32, 32}, 1.0, 1.0, -18.0, 0.0, mode, scratch.data()),
                  lumStsNoOperation);
    }
    EXPECT_TRUE(dst.payloadIsCanary());
}

// An exact half lands on the lower pixel: a region mapped onto 0.5..10.5 covers columns 0 to 9.
TEST_P(ResizeArgsTest, OutputRectangleRoundsHalvesDown)
{
    const Picture src = randomPicture(10, 4, 1, 3);
    Picture dst(16, 8, 1, kCanary);
    ASSERT_EQ(resizeRegion(src, src.whole(), dst, {0, 0, 16, 8}, 1.0, 1.0, 0.5, 0.0, 1), lumStsNoErr);
    for (int r = 0; r < 4; ++r) {
        // Nearest at a shift of a half: index trunc((k + 0.5) - 0.5 + 1e-10) = k.
        for (int c = 0; c < 10; ++c) EXPECT_EQ(dst.at(r, c), src.at(r, c));
        EXPECT_EQ(dst.at(r, 10), kCanary);
    }
}

// ---- lumiResize_8u_C3R checks -----------------------------------------------------------------

TEST_P(ResizeArgsTest, EndsChecksInOrderAndWriteNothing)
{
    const Picture src = randomPicture(10, 10, 3, 4);
    CanaryBuffer dst(3 * 64 * 64);
    uint8_t* d = dst.data();
    auto call = [&](const void* s, LumSize ss, LumRect sr, uint8_t* out, LumSize ds, double xf, double yf,
                    int mode) {
        return lumiResize_8u_C3R(static_cast<const Lum8u*>(s), ss, src.step, sr, out, 3 * 64, ds, xf, yf,
                                 mode);
    };
    const LumRect roi{0, 0, 10, 10};
    for (int mode : {1, 8}) {
        EXPECT_EQ(call(nullptr, {0, 0}, roi, d, {0, 0}, 0.0, 0.0, mode), lumStsNullPointer);
        EXPECT_EQ(call(src.bytes.data(), {0, 0}, roi, nullptr, {0, 0}, 0.0, 0.0, mode), lumStsNullPointer);
        EXPECT_EQ(call(src.bytes.data(), {10, 0}, roi, d, {0, 0}, 0.0, 0.0, mode), lumStsBadSize);
        EXPECT_EQ(call(src.bytes.data(), {10, 10}, {-1, 0, 5, 5}, d, {0, 0}, 0.0, 0.0, mode), lumStsBadSize);
        EXPECT_EQ(call(src.bytes.data(), {10, 10}, {0, 0, 5, 0}, d, {0, 0}, 0.0, 0.0, mode), lumStsBadSize);
        // The empty intersection comes before the destination size.
        EXPECT_EQ(call(src.bytes.data(), {10, 10}, {10, 0, 5, 5}, d, {0, 0}, 0.0, 0.0, mode),
                  lumStsEmptyIntersection);
        EXPECT_EQ(call(src.bytes.data(), {10, 10}, {0, 10, 5, 5}, d, {0, 0}, 0.0, 0.0, mode),
                  lumStsEmptyIntersection);
        EXPECT_EQ(call(src.bytes.data(), {10, 10}, roi, d, {0, 5}, 0.0, 0.0, mode), lumStsBadSize);
        EXPECT_EQ(call(src.bytes.data(), {10, 10}, roi, d, {5, 0}, 0.0, 0.0, mode), lumStsBadSize);
        EXPECT_EQ(call(src.bytes.data(), {10, 10}, roi, d, {5, 5}, 0.0, 0.5, mode), lumStsBadResizeFactor);
        EXPECT_EQ(call(src.bytes.data(), {10, 10}, roi, d, {5, 5}, 0.5, -2.0, mode), lumStsBadResizeFactor);
    }
    EXPECT_EQ(call(src.bytes.data(), {10, 10}, roi, d, {5, 5}, kNaN, 0.5, 8), lumStsBadResizeFactor);
    for (int mode : {0, 3, 32, -8})
        EXPECT_EQ(call(src.bytes.data(), {10, 10}, roi, d, {5, 5}, 0.5, 0.5, mode), lumStsBadInterpolation);
    // Super-sampling only reduces: a factor above 1.0 sends code 8 to the table driver, which refuses it.
    EXPECT_EQ(call(src.bytes.data(), {10, 10}, roi, d, {40, 40}, 1.5, 0.5, 8), lumStsBadInterpolation);
    EXPECT_EQ(call(src.bytes.data(), {10, 10}, roi, d, {40, 40}, 0.5, 1.01, 8), lumStsBadInterpolation);
    // 10 columns at 0.01: u + 1e-07 is below one half.
    for (int mode : {1, 2, 4, 16, 8}) {
        EXPECT_EQ(call(src.bytes.data(), {10, 10}, roi, d, {5, 5}, 0.01, 0.5, mode), lumStsDstBelowOnePixel);
        EXPECT_EQ(call(src.bytes.data(), {10, 10}, roi, d, {5, 5}, 0.5, 0.01, mode), lumStsDstBelowOnePixel);
    }
    EXPECT_TRUE(dst.payloadIsCanary());
    EXPECT_TRUE(dst.guardsIntact());
}

// 10 columns at 0.06 make 0.6 of a pixel: the result is one column wide, and nothing beyond it is
// written.
TEST_P(ResizeArgsTest, ResultRaisedToOnePixel)
{
    const Picture src = randomPicture(10, 10, 3, 5);
    for (int mode : {1, 2, 4, 16, 8}) {
        Picture dst(4, 4, 3, kCanary);
        ASSERT_EQ(resizeEnds(src, src.whole(), dst, 0.06, 0.3, mode), lumStsNoErr) << mode;
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c)
                for (int ch = 0; ch < 3; ++ch)
                    if (r >= 3 || c >= 1) {
                        EXPECT_EQ(dst.at(r, c, ch), kCanary) << mode << " " << r << "," << c;
                    }
    }
}

// The table driver's allocations run in a fixed order; a count that wraps below one fails, every
// block obtained before it is released and nothing is written.
TEST_P(ResizeArgsTest, AllocationFailureReleasesEverything)
{
    const Picture src = randomPicture(8, 8, 3, 6);
    CanaryBuffer dst(3 * 64);
    const struct mallinfo2 before = mallinfo2();
    // 357913942 rows in mode 16: six coefficients per row wrap the element count past 2^31, after
    // 2.9 GB of tables were obtained. a6 and w7 allocate with px's plain allocators, t7 with the
    // prefetching ones; the large case runs once per allocator, as it is slow under AddressSanitizer.
    if (slot() == 0 || slot() == 3) {
        EXPECT_EQ(lumiResize_8u_C3R(src.bytes.data(), src.size(), src.step, src.whole(), dst.data(), 3 * 8,
                                    {8, 357913942}, 1.0, 1e8, 16),
                  lumStsBufferTooSmall);
    }
    // Super-sampling at 1e-9 across a 6e8-pixel region: the accumulator's count wraps.
    EXPECT_EQ(lumiResize_8u_C3R(src.bytes.data(), {600000000, 1}, src.step, {0, 0, 600000000, 1}, dst.data(),
                                3 * 8, {8, 8}, 1e-9, 1.0, 8),
              lumStsBufferTooSmall);
    const struct mallinfo2 after = mallinfo2();
    EXPECT_EQ(after.uordblks, before.uordblks);
    EXPECT_EQ(after.hblkhd, before.hblkhd);
    EXPECT_TRUE(dst.payloadIsCanary());
    EXPECT_TRUE(dst.guardsIntact());
}

// ---- Edge cases of the geometries -------------------------------------------------------------

TEST_P(ResizeArgsTest, IdentityAtFactorOne)
{
    const Picture src = randomPicture(23, 17, 1, 7);
    for (int mode : {1, 2, 4, 16}) {
        Picture dst(23, 17, 1, kCanary);
        ASSERT_EQ(resizeRegion(src, src.whole(), dst, dst.whole(), 1.0, 1.0, 0.0, 0.0, mode), lumStsNoErr);
        for (int r = 0; r < 17; ++r)
            for (int c = 0; c < 23; ++c)
                ASSERT_EQ(dst.at(r, c), src.at(r, c)) << mode << " " << r << "," << c;
    }
    const Picture rgb = randomPicture(23, 17, 3, 8);
    for (int mode : {1, 2, 4, 16, 8}) {
        Picture dst(23, 17, 3, kCanary);
        ASSERT_EQ(resizeEnds(rgb, rgb.whole(), dst, 1.0, 1.0, mode), lumStsNoErr);
        for (int r = 0; r < 17; ++r)
            for (int c = 0; c < 23; ++c)
                for (int ch = 0; ch < 3; ++ch)
                    ASSERT_EQ(dst.at(r, c, ch), rgb.at(r, c, ch)) << mode << " " << r << "," << c;
    }
}

TEST_P(ResizeArgsTest, FlatImagesStayFlat)
{
    const double kFactors[] = {0.3, 0.5, 1.0 / 3.0, 0.77, 1.0, 1.6, 2.0, 3.3};
    for (uint8_t v : {uint8_t(0), uint8_t(97), uint8_t(255)}) {
        Picture src(19, 21, 1, v);
        Picture rgb(19, 21, 3, v);
        for (double f : kFactors) {
            for (int mode : {1, 2, 4, 16}) {
                Picture dst(70, 70, 1, kCanary);
                ASSERT_EQ(resizeRegion(src, src.whole(), dst, {0, 0, 70, 70}, f, f * 1.1, 0.3, -0.2, mode),
                          lumStsNoErr);
                for (uint8_t x : dst.bytes)
                    ASSERT_TRUE(x == v || x == kCanary) << int(v) << " " << f << " " << mode;
            }
            for (int mode : {1, 2, 4, 16, 8}) {
                if (mode == 8 && f > 1.0) continue;
                Picture dst(70, 70, 3, kCanary);
                ASSERT_EQ(resizeEnds(rgb, rgb.whole(), dst, f, f * 0.9, mode), lumStsNoErr);
                for (uint8_t x : dst.bytes)
                    ASSERT_TRUE(x == v || x == kCanary) << int(v) << " " << f << " " << mode;
            }
        }
    }
}

// A region extending past the image is clipped silently: the result is that of the clipped region.
TEST_P(ResizeArgsTest, RegionPastTheImageIsClipped)
{
    const Picture src = randomPicture(20, 20, 1, 9);
    for (int mode : {1, 2, 4, 16}) {
        Picture a(60, 60, 1, kCanary), b(60, 60, 1, kCanary);
        ASSERT_EQ(resizeRegion(src, {5, 6, 100, 100}, a, a.whole(), 1.7, 1.3, 0.0, 0.0, mode), lumStsNoErr);
        ASSERT_EQ(resizeRegion(src, {5, 6, 15, 14}, b, b.whole(), 1.7, 1.3, 0.0, 0.0, mode), lumStsNoErr);
        EXPECT_EQ(a.bytes, b.bytes) << mode;
    }
}

// The small-image fallback judges the whole image: 7 pixels wide runs Lanczos as cubic, 3 wide as
// linear, 1 wide as nearest, in both drivers.
TEST_P(ResizeArgsTest, SmallImagesLowerTheMode)
{
    const struct {
        int width;
        int asMode;
    } kCases[] = {{7, 4}, {3, 2}, {1, 1}};
    for (const auto& k : kCases) {
        const Picture src = randomPicture(k.width, 12, 1, 10);
        Picture a(40, 40), b(40, 40);
        ASSERT_EQ(resizeRegion(src, src.whole(), a, a.whole(), 2.3, 1.7, 0.4, 0.1, 16), lumStsNoErr);
        ASSERT_EQ(resizeRegion(src, src.whole(), b, b.whole(), 2.3, 1.7, 0.4, 0.1, k.asMode), lumStsNoErr);
        EXPECT_EQ(a.bytes, b.bytes) << k.width;
        const Picture rgb = randomPicture(k.width, 12, 3, 11);
        Picture c(40, 40, 3), d(40, 40, 3);
        ASSERT_EQ(resizeEnds(rgb, {0, 2, k.width, 9}, c, 2.3, 1.7, 16), lumStsNoErr);
        ASSERT_EQ(resizeEnds(rgb, {0, 2, k.width, 9}, d, 2.3, 1.7, k.asMode), lumStsNoErr);
        EXPECT_EQ(c.bytes, d.bytes) << k.width;
    }
    // Eight pixels are enough for six taps: the result differs from cubic's on noise.
    const Picture src = randomPicture(8, 8, 1, 12);
    Picture a(30, 30), b(30, 30);
    ASSERT_EQ(resizeRegion(src, src.whole(), a, a.whole(), 2.5, 2.5, 0.0, 0.0, 16), lumStsNoErr);
    ASSERT_EQ(resizeRegion(src, src.whole(), b, b.whole(), 2.5, 2.5, 0.0, 0.0, 4), lumStsNoErr);
    EXPECT_NE(a.bytes, b.bytes);
}

// Nearest at 2.0: destination columns 0 and 1 both read column 0, since trunc(0.5 * 0.5) and
// trunc(1.5 * 0.5) are 0.
TEST_P(ResizeArgsTest, NearestDoublesPixels)
{
    const Picture src = randomPicture(9, 5, 1, 13);
    Picture dst(18, 10, 1, kCanary);
    ASSERT_EQ(resizeRegion(src, src.whole(), dst, dst.whole(), 2.0, 2.0, 0.0, 0.0, 1), lumStsNoErr);
    for (int r = 0; r < 10; ++r)
        for (int c = 0; c < 18; ++c) ASSERT_EQ(dst.at(r, c), src.at(r / 2, c / 2));
}

// Linear at 1.0 with the region starting at row 10 and dstRoi below it: destination row 10 has weight
// 0 and takes image row 0, the row the buffer was filled from before the loop; rows 11 on are right.
TEST_P(ResizeArgsTest, LinearFirstInteriorRowQuirk)
{
    const Picture src = randomPicture(12, 20, 1, 14);
    Picture dst(12, 20, 1, kCanary);
    ASSERT_EQ(resizeRegion(src, {0, 10, 12, 10}, dst, {0, 10, 12, 10}, 1.0, 1.0, 0.0, 0.0, 2), lumStsNoErr);
    for (int c = 0; c < 12; ++c) {
        EXPECT_EQ(dst.at(10, c), src.at(0, c)) << c;
        EXPECT_EQ(dst.at(9, c), kCanary);
        for (int r = 11; r < 20; ++r) EXPECT_EQ(dst.at(r, c), src.at(r, c)) << r << "," << c;
    }
}

// Linear up-scaling by 2: the first row has p = -0.25, a border row blended along image row 0 in one
// Q14 step; so is the first column down column 0.
TEST_P(ResizeArgsTest, LinearBorderRoundsOnce)
{
    const Picture src = randomPicture(10, 10, 1, 15);
    Picture dst(20, 20);
    ASSERT_EQ(resizeRegion(src, src.whole(), dst, dst.whole(), 2.0, 2.0, 0.0, 0.0, 2), lumStsNoErr);
    // Column j > 0 of row 0: p = (j + 0.5) / 2 - 0.5; for odd j the weights are 4096 and 12288 ...
    for (int j = 1; j < 19; ++j) {
        const double p = (j + 0.5) / 2 - 0.5;
        const int x = int(std::floor(p));
        const int w = int(std::trunc((p - x) * 16384 + 1e-7));
        const int want = (src.at(0, x) * (16384 - w) + src.at(0, x + 1) * w + 8192) >> 14;
        EXPECT_EQ(dst.at(0, j), want) << j;
    }
    EXPECT_EQ(dst.at(0, 0), src.at(0, 0));    // corner
    EXPECT_EQ(dst.at(19, 19), src.at(9, 9));  // corner
    // Row 5 has p = 2.25: its first column blends rows 2 and 3 of column 0.
    EXPECT_EQ(dst.at(5, 0), (src.at(2, 0) * 12288 + src.at(3, 0) * 4096 + 8192) >> 14);
}

// Linear with a position exactly on the last sample: the row and the sample after the last are read
// with weight zero and do not show.
TEST_P(ResizeArgsTest, LinearOnTheLastSample)
{
    Picture src = randomPicture(10, 10, 1, 16);
    for (int c = 0; c < src.step; ++c) src.at(10, c) = 255;
    for (int r = 0; r < 11; ++r) src.at(r, 10) = 255;
    Picture dst(10, 10);
    ASSERT_EQ(resizeRegion(src, src.whole(), dst, dst.whole(), 1.0, 1.0, 0.0, 0.0, 2), lumStsNoErr);
    for (int r = 0; r < 10; ++r)
        for (int c = 0; c < 10; ++c) ASSERT_EQ(dst.at(r, c), src.at(r, c));
}

// A bottom-up image (negative step) gives the same result as the same picture stored top-down.
TEST_P(ResizeArgsTest, NegativeSourceStep)
{
    const Picture top = randomPicture(15, 13, 1, 17);
    std::vector<uint8_t> flipped(top.bytes.size());
    for (int r = 0; r < 13; ++r)
        std::copy_n(&top.bytes[size_t(r) * top.step], top.step, &flipped[size_t(13 - r) * top.step]);
    const uint8_t* bottomUp = &flipped[size_t(13) * top.step];
    for (int mode : {1, 2, 4, 16}) {
        Picture a(40, 40, 1, kCanary), b(40, 40, 1, kCanary);
        ASSERT_EQ(resizeRegion(top, {1, 2, 13, 10}, a, a.whole(), 1.9, 1.45, 0.3, 0.2, mode), lumStsNoErr);
        Lum32s size = 0;
        ASSERT_EQ(lumiResizeSqrPixelGetBufSize({40, 40}, 1, mode, &size), lumStsNoErr);
        std::vector<uint8_t> scratch(static_cast<size_t>(size));
        ASSERT_EQ(lumiResizeSqrPixel_8u_C1R(bottomUp, top.size(), -top.step, {1, 2, 13, 10}, b.bytes.data(),
                                            b.step, b.whole(), 1.9, 1.45, 0.3, 0.2, mode, scratch.data()),
                  lumStsNoErr);
        EXPECT_EQ(a.bytes, b.bytes) << mode;
    }
}

// ---- Cubic ------------------------------------------------------------------------------------

// Rows of four samples at t = 0.5 (a shift of -0.5 at factor 1 puts every column half-way): a sharp
// edge gives 127.5 and so 128; overshoots are clamped.
TEST_P(ResizeArgsTest, CubicEdgesAndOvershoot)
{
    const struct {
        uint8_t s[4];
        uint8_t want;
    } kCases[] = {{{0, 0, 255, 255}, 128}, {{255, 0, 0, 255}, 0}, {{0, 255, 255, 0}, 255}};
    for (const auto& k : kCases) {
        Picture src(8, 8);
        for (int r = 0; r < 10; ++r)
            for (int c = 0; c < 11; ++c) src.at(r, c) = k.s[std::min(3, std::max(0, c - 1))];
        Picture dst(8, 8, 1, kCanary);
        // p = k + 0.5: column 1 of the output has q = 1 and samples at columns 0 to 3.
        ASSERT_EQ(resizeRegion(src, src.whole(), dst, dst.whole(), 1.0, 1.0, -0.5, 0.0, 4), lumStsNoErr);
        for (int r = 0; r < 8; ++r) EXPECT_EQ(dst.at(r, 2), k.want) << int(k.s[1]);
    }
}

// In the ends-to-ends geometry the taps move inward: the first column has q = 1 and t = -1, the last
// q lowered by 2 and t = 2, both exact; a 4-pixel-wide image works.
TEST_P(ResizeArgsTest, CubicEndsMovesTapsInward)
{
    const Picture src = randomPicture(4, 4, 3, 18);
    Picture dst(9, 9, 3);
    ASSERT_EQ(resizeEnds(src, src.whole(), dst, 2.25, 2.25, 4), lumStsNoErr);
    for (int ch = 0; ch < 3; ++ch) {
        EXPECT_EQ(dst.at(0, 0, ch), src.at(0, 0, ch));
        EXPECT_EQ(dst.at(0, 8, ch), src.at(0, 3, ch));
        EXPECT_EQ(dst.at(8, 0, ch), src.at(3, 0, ch));
        EXPECT_EQ(dst.at(8, 8, ch), src.at(3, 3, ch));
    }
}

// ---- Lanczos ----------------------------------------------------------------------------------

TEST(ResizeLanczosTable, HoldsTheWindow)
{
    const double pi = 3.14159265358979323846;
    for (int i = 1; i < 300; ++i) {
        const double x = i / 100.0;
        const double want = std::sin(pi * x) / (pi * x) * std::sin(pi * x / 3) / (pi * x / 3);
        if (i % 100 == 0)
            EXPECT_EQ(lum::lanczos3Table[i], 0.0f) << i;
        else
            EXPECT_NEAR(lum::lanczos3Table[i], want, 1e-7) << i;
    }
    EXPECT_EQ(lum::lanczos3Table[0], 1.0f);
    for (int i = 300; i < 304; ++i) EXPECT_EQ(lum::lanczos3Table[i], 0.0f);
}

// A sharp edge rings and is clamped to 0 and 255.
TEST_P(ResizeArgsTest, LanczosRingsAndClamps)
{
    Picture src(16, 16);
    for (int r = 0; r < 18; ++r)
        for (int c = 0; c < src.step; ++c) src.at(r, c) = c < 8 ? 0 : 255;
    Picture dst(48, 48);
    ASSERT_EQ(resizeRegion(src, src.whole(), dst, dst.whole(), 3.0, 3.0, 0.0, 0.0, 16), lumStsNoErr);
    int zeros = 0, fulls = 0;
    for (int c = 0; c < 48; ++c) {
        zeros += dst.at(20, c) == 0;
        fulls += dst.at(20, c) == 255;
    }
    EXPECT_GT(zeros, 3);
    EXPECT_GT(fulls, 3);
}

// A region that leaves one row to the image's end: all six row roles hold that row or rows above it,
// so at factor 1 across, every output row is the last image row.
TEST_P(ResizeArgsTest, LanczosEndsWithOneRowLeft)
{
    const Picture src = randomPicture(10, 10, 3, 19);
    Picture dst(10, 5, 3);
    ASSERT_EQ(resizeEnds(src, {0, 9, 10, 1}, dst, 1.0, 5.0, 16), lumStsNoErr);
    for (int r = 0; r < 5; ++r)
        for (int c = 0; c < 10; ++c)
            for (int ch = 0; ch < 3; ++ch) ASSERT_EQ(dst.at(r, c, ch), src.at(9, c, ch));
}

// ---- Super-sampling ---------------------------------------------------------------------------

// Whole factors: every result is the area mean with halves rounded up. The inverse of 1/3 as a 64-bit
// float is exactly 3 in 64-bit arithmetic, which super-sampling uses in every tier.
TEST_P(ResizeArgsTest, SuperWholeFactorsAreAreaMeans)
{
    const Picture src = randomPicture(24, 18, 3, 20);
    for (int k : {2, 3, 4}) {
        const double f = k == 2 ? 0.5 : k == 4 ? 0.25 : 1.0 / 3.0;
        Picture dst(24 / k, 18 / k, 3, kCanary);
        ASSERT_EQ(resizeEnds(src, src.whole(), dst, f, f, 8), lumStsNoErr);
        for (int r = 0; r < 18 / k; ++r)
            for (int c = 0; c < 24 / k; ++c)
                for (int ch = 0; ch < 3; ++ch) {
                    int sum = 0;
                    for (int y = 0; y < k; ++y)
                        for (int x = 0; x < k; ++x) sum += src.at(r * k + y, c * k + x, ch);
                    const int want = (2 * sum + k * k) / (2 * k * k);
                    ASSERT_EQ(dst.at(r, c, ch), want) << k << " " << r << "," << c;
                }
    }
}

// xFactor 0.4: destination pixel 0 takes columns 0, 1 and half of 2; pixel 1 the other half, 3, 4.
TEST_P(ResizeArgsTest, SuperFractionalShares)
{
    const Picture src = randomPicture(10, 3, 3, 21);
    Picture dst(4, 3, 3);
    ASSERT_EQ(resizeEnds(src, src.whole(), dst, 0.4, 1.0, 8), lumStsNoErr);
    for (int r = 0; r < 3; ++r)
        for (int ch = 0; ch < 3; ++ch) {
            auto s = [&](int c) { return double(src.at(r, c, ch)); };
            EXPECT_NEAR(dst.at(r, 0, ch), std::trunc((s(0) + s(1) + 0.5 * s(2)) * 0.4 + 0.5), 1) << r;
            EXPECT_NEAR(dst.at(r, 1, ch), std::trunc((0.5 * s(2) + s(3) + s(4)) * 0.4 + 0.5), 1) << r;
        }
}

LUM_ALL_TIERS(ResizeArgsTest);

}  // namespace
