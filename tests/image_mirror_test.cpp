// Mirrors in all tiers: argument checks and their order, the edge cases, exact bytes into a buffer
// and in place on random regions with gaps, misalignment and negative steps against a model, the
// aligned paths, nothing written outside the rows, reads that stop at the region's end, and OpenCV's
// flip as an independent oracle.
#include "image_test_support.h"
#include "tier_fixture.h"

#include <opencv2/core.hpp>

#include <cstring>
#include <random>
#include <vector>

namespace {

using lumtest::GuardedBuffer;
using lumtest::RegionBuffer;
using lumtest::stepFor;

using IntoFn = LumStatus (*)(const Lum8u*, Lum32s, Lum8u*, Lum32s, LumSize, Lum32s);
using InPlaceFn = LumStatus (*)(Lum8u*, Lum32s, LumSize, Lum32s);

IntoFn intoFor(int channels) { return channels == 1 ? lumiMirror_8u_C1R : lumiMirror_8u_C3R; }
InPlaceFn inPlaceFor(int channels) { return channels == 1 ? lumiMirror_8u_C1IR : lumiMirror_8u_C3IR; }

// Where the pixel at (r, c) goes.
std::pair<int, int> mirrored(int r, int c, LumSize roi, int flip)
{
    const int rr = flip == 1 ? r : roi.height - 1 - r;
    const int cc = flip == 0 ? c : roi.width - 1 - c;
    return {rr, cc};
}

void model(RegionBuffer& src, RegionBuffer& expected, LumSize roi, int channels, int flip)
{
    for (int r = 0; r < roi.height; ++r)
        for (int c = 0; c < roi.width; ++c) {
            const auto [rr, cc] = mirrored(r, c, roi, flip);
            std::memcpy(expected.row(rr) + channels * cc, src.row(r) + channels * c, size_t(channels));
        }
}

class ImageMirror : public lumtest::TierTest {};

TEST_P(ImageMirror, ChecksPointersSizeThenFlip)
{
    Lum8u src[64] = {}, dst[64];
    std::memset(dst, 0x5A, sizeof dst);
    for (int ch : {1, 3}) {
        EXPECT_EQ(intoFor(ch)(nullptr, 8, dst, 8, {0, 0}, 7), lumStsNullPointer);
        EXPECT_EQ(intoFor(ch)(src, 8, nullptr, 8, {2, 2}, 0), lumStsNullPointer);
        EXPECT_EQ(intoFor(ch)(src, 8, dst, 8, {0, 2}, 3), lumStsBadSize);
        EXPECT_EQ(intoFor(ch)(src, 8, dst, 8, {2, 0}, 0), lumStsBadSize);
        EXPECT_EQ(intoFor(ch)(src, 8, dst, 8, {2, 2}, 3), lumStsBadFlipMode);
        EXPECT_EQ(intoFor(ch)(src, 8, dst, 8, {2, 2}, -1), lumStsBadFlipMode);
        EXPECT_EQ(inPlaceFor(ch)(nullptr, 8, {0, 0}, 9), lumStsNullPointer);
        EXPECT_EQ(inPlaceFor(ch)(dst, 8, {0, 2}, 3), lumStsBadSize);
        EXPECT_EQ(inPlaceFor(ch)(dst, 8, {2, 2}, 3), lumStsBadFlipMode);
    }
    for (Lum8u v : dst) EXPECT_EQ(v, 0x5A);
}

TEST_P(ImageMirror, InPlaceEdgeCases)
{
    for (int ch : {1, 3}) {
        // Height 1, flip 0 and width 1, flip 1: nothing changes.
        auto row = lumtest::randomBytes(size_t(ch) * 9, 5);
        const auto before = row;
        EXPECT_EQ(inPlaceFor(ch)(row.data(), 0, {9, 1}, 0), lumStsNoErr);
        EXPECT_EQ(row, before);
        auto column = lumtest::randomBytes(size_t(ch) * 7, 6);
        const auto columnBefore = column;
        EXPECT_EQ(inPlaceFor(ch)(column.data(), ch, {1, 7}, 1), lumStsNoErr);
        EXPECT_EQ(column, columnBefore);
        // 3 by 3, flip 2: only the centre stays; middle row and column exchange across it.
        std::vector<Lum8u> grid(size_t(ch) * 9);
        for (size_t i = 0; i < grid.size(); ++i) grid[i] = Lum8u(i);
        ASSERT_EQ(inPlaceFor(ch)(grid.data(), 3 * ch, {3, 3}, 2), lumStsNoErr);
        for (int p = 0; p < 9; ++p)
            for (int k = 0; k < ch; ++k)
                EXPECT_EQ(grid[size_t(ch * p + k)], Lum8u(ch * (8 - p) + k)) << ch << " " << p;
    }
}

TEST_P(ImageMirror, BadFlipChangesNothing)
{
    auto image = lumtest::randomBytes(48, 8);
    const auto before = image;
    std::vector<Lum8u> dst(48, 0x5A);
    EXPECT_EQ(lumiMirror_8u_C1IR(image.data(), 8, {8, 6}, 3), lumStsBadFlipMode);
    EXPECT_EQ(lumiMirror_8u_C3R(image.data(), 24, dst.data(), 24, {8, 2}, 3), lumStsBadFlipMode);
    EXPECT_EQ(lumiMirror_8u_C1IR(image.data(), 8, {0, 6}, 3), lumStsBadSize);
    EXPECT_EQ(image, before);
    EXPECT_EQ(dst, std::vector<Lum8u>(48, 0x5A));
}

TEST_P(ImageMirror, ThreeChannelFlipKeepsByteOrder)
{
    const Lum8u src[6] = {1, 2, 3, 4, 5, 6};
    Lum8u dst[6] = {};
    ASSERT_EQ(lumiMirror_8u_C3R(src, 6, dst, 6, {2, 1}, 1), lumStsNoErr);
    EXPECT_EQ(std::vector<Lum8u>(dst, dst + 6), (std::vector<Lum8u>{4, 5, 6, 1, 2, 3}));
}

// Random regions into a buffer: every flip, widths that are and are not multiples of 4, 16 and 32,
// steps with gaps, negative steps, any misalignment, and large regions past the streaming threshold.
TEST_P(ImageMirror, RandomRegionsIntoBuffer)
{
    std::mt19937 rng(31);
    for (int n = 0; n < 150; ++n) {
        const int ch = n % 2 == 0 ? 1 : 3, flip = (n / 2) % 3;
        const LumSize roi = {1 + int(rng() % 300), 1 + int(rng() % (n % 10 == 0 ? 450 : 9))};
        const size_t rowBytes = size_t(roi.width) * ch;
        const Lum32s sStep = stepFor(rowBytes, rng() % 48, n % 5 == 1);
        const Lum32s dStep = stepFor(rowBytes, rng() % 48, n % 7 == 2);
        RegionBuffer src(rowBytes, roi.height, sStep, rng() % 16),
            dst(rowBytes, roi.height, dStep, rng() % 16), expected(rowBytes, roi.height, dStep);
        src.randomize(n);
        model(src, expected, roi, ch, flip);
        ASSERT_EQ(intoFor(ch)(src.data(), sStep, dst.data(), dStep, roi, flip), lumStsNoErr);
        ASSERT_EQ(dst.rows(), expected.rows())
            << n << " ch " << ch << " flip " << flip << " " << roi.width << "x" << roi.height;
        ASSERT_TRUE(dst.outsideIntact()) << n;
    }
}

TEST_P(ImageMirror, RandomRegionsInPlace)
{
    std::mt19937 rng(32);
    for (int n = 0; n < 150; ++n) {
        const int ch = n % 2 == 0 ? 1 : 3, flip = (n / 2) % 3;
        const LumSize roi = {1 + int(rng() % 300), 1 + int(rng() % 9)};
        const size_t rowBytes = size_t(roi.width) * ch;
        const Lum32s step = stepFor(rowBytes, rng() % 48, n % 5 == 1);
        RegionBuffer image(rowBytes, roi.height, step, rng() % 16), expected(rowBytes, roi.height, step);
        image.randomize(n);
        model(image, expected, roi, ch, flip);
        ASSERT_EQ(inPlaceFor(ch)(image.data(), step, roi, flip), lumStsNoErr);
        ASSERT_EQ(image.rows(), expected.rows())
            << n << " ch " << ch << " flip " << flip << " " << roi.width << "x" << roi.height;
        ASSERT_TRUE(image.outsideIntact()) << n;
    }
}

// Pointers and steps multiples of 16: the aligned loops of the vector tiers serve the whole image.
TEST_P(ImageMirror, AlignedRegions)
{
    for (int width : {16, 32, 48, 64, 100, 256, 17, 31, 33}) {
        for (int ch : {1, 3})
            for (int flip = 0; flip < 3; ++flip) {
                const size_t rowBytes = size_t(width) * ch;
                const Lum32s step = Lum32s((rowBytes + 15) / 16 * 16);
                RegionBuffer src(rowBytes, 5, step), dst(rowBytes, 5, step), expected(rowBytes, 5, step),
                    image(rowBytes, 5, step);
                src.randomize(uint32_t(width * 10 + flip));
                image.randomize(uint32_t(width * 10 + flip));
                model(src, expected, {width, 5}, ch, flip);
                ASSERT_EQ(intoFor(ch)(src.data(), step, dst.data(), step, {width, 5}, flip), lumStsNoErr);
                EXPECT_EQ(dst.rows(), expected.rows()) << width << " " << ch << " " << flip;
                ASSERT_EQ(inPlaceFor(ch)(image.data(), step, {width, 5}, flip), lumStsNoErr);
                EXPECT_EQ(image.rows(), expected.rows()) << width << " " << ch << " " << flip;
            }
    }
}

// Images that end right before a PROT_NONE page: nothing is read or written past the last byte.
TEST_P(ImageMirror, StopsAtTheLastByte)
{
    for (int width : {1, 2, 5, 15, 16, 17, 31, 32, 33, 63, 64, 65}) {
        for (int ch : {1, 3})
            for (int flip = 0; flip < 3; ++flip) {
                const size_t bytes = size_t(width) * ch * 3;
                GuardedBuffer src(bytes), dst(bytes), image(bytes);
                std::memset(src.data(), 1, bytes);
                std::memset(image.data(), 2, bytes);
                const Lum32s step = width * ch;
                ASSERT_EQ(intoFor(ch)(src.data(), step, dst.data(), step, {width, 3}, flip), lumStsNoErr);
                ASSERT_EQ(inPlaceFor(ch)(image.data(), step, {width, 3}, flip), lumStsNoErr);
                EXPECT_EQ(dst.data()[bytes - 1], 1);
            }
    }
}

// OpenCV's flip on random images: flipCode 0 is our flip 0, 1 our 1, -1 our 2.
TEST_P(ImageMirror, AgreesWithOpenCvFlip)
{
    const int codes[3] = {0, 1, -1};
    std::mt19937 rng(33);
    for (int n = 0; n < 24; ++n) {
        const int ch = n % 2 == 0 ? 1 : 3, flip = (n / 2) % 3;
        const int width = 1 + int(rng() % 200), height = 1 + int(rng() % 60);
        cv::Mat src(height, width, ch == 1 ? CV_8UC1 : CV_8UC3);
        cv::randu(src, 0, 256);
        cv::Mat oracle, ours(height, width, src.type()), inPlace = src.clone();
        cv::flip(src, oracle, codes[flip]);
        ASSERT_EQ(
            intoFor(ch)(src.data, Lum32s(src.step), ours.data, Lum32s(ours.step), {width, height}, flip),
            lumStsNoErr);
        ASSERT_EQ(inPlaceFor(ch)(inPlace.data, Lum32s(inPlace.step), {width, height}, flip), lumStsNoErr);
        EXPECT_EQ(cv::norm(ours, oracle, cv::NORM_INF), 0) << n;
        EXPECT_EQ(cv::norm(inPlace, oracle, cv::NORM_INF), 0) << n;
    }
}

LUM_ALL_TIERS(ImageMirror);

}  // namespace
