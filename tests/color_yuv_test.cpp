// Video colour conversions in all tiers: argument checks and their order, the edge cases with their
// literal values, bit-exact agreement with scalar models of the px formulas and of the vector
// formulas (full passes, left-over pairs, odd edges), planes with gaps and misalignment with nothing
// written outside their rows, and OpenCV's full-range YUV conversions as a sanity oracle.
#include "image_test_support.h"
#include "tier_fixture.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

namespace {

using lumtest::RegionBuffer;

int clamp8(int v) { return std::min(255, std::max(0, v)); }
int sat16(int v) { return std::min(32767, std::max(-32768, v)); }

// ---- Models of the px formulas

int qy(const Lum8u* p) { return 19595 * p[0] + 38470 * p[1] + 7471 * p[2]; }

// Y of each pixel given, U and V of their sums.
void pxModelBlock(std::vector<const Lum8u*> px, std::vector<Lum8u*> ys, int bias, int shift, Lum8u* u,
                  Lum8u* v)
{
    int sb = 0, sr = 0, sq = 0;
    for (size_t k = 0; k < px.size(); ++k) {
        *ys[k] = Lum8u(qy(px[k]) >> 16);
        sb += px[k][2];
        sr += px[k][0];
        sq += qy(px[k]);
    }
    *u = Lum8u(((((sb << 16) - sq + bias) >> 16) * 32244 >> shift) - 128);
    *v = Lum8u(clamp8(((((sr << 16) - sq + bias) >> 16) * 57475 >> shift) + 128));
}

// ---- Models of the vector formulas

int luma1(const Lum8u* p, bool oneShift)
{
    if (oneShift) return (9798 * p[0] + 19235 * p[1] + 3736 * p[2]) >> 14;
    return ((9798 * p[0] + 19235 * p[1]) >> 14) + ((3736 * p[2]) >> 14);
}

Lum8u vu(int d) { return Lum8u(clamp8(((d * 16121) >> 16) + 128)); }
Lum8u vv(int d) { return Lum8u(clamp8(((d * 28737) >> 16) + 128)); }

// An image with three planes of their own steps and misalignments.
struct Planes {
    std::vector<RegionBuffer> plane;
    const Lum8u* src[3];
    Lum8u* dst[3];
    Lum32s step[3];

    Planes(LumSize luma, LumSize chroma, std::mt19937& rng)
    {
        plane.reserve(3);
        for (int p = 0; p < 3; ++p) {
            const LumSize size = p == 0 ? luma : chroma;
            step[p] = size.width + Lum32s(rng() % 24);
            plane.emplace_back(size_t(size.width), size.height, step[p], rng() % 16);
            src[p] = dst[p] = plane.back().data();
        }
    }
    bool intact() const
    {
        for (const auto& p : plane)
            if (!p.outsideIntact()) return false;
        return true;
    }
};

LumSize half(LumSize s, bool rows) { return {(s.width + 1) / 2, rows ? (s.height + 1) / 2 : s.height}; }

// Expected output of RGB to YUV; `vector` selects the vector tiers' formulas.
void expectRgbToYuv(RegionBuffer& rgb, LumSize roi, bool is420, bool vector, Planes& out)
{
    const int w = roi.width, h = roi.height;
    auto Y = [&](int r, int c) { return out.plane[0].row(r) + c; };
    auto U = [&](int r, int c) { return out.plane[1].row(r) + c; };
    auto V = [&](int r, int c) { return out.plane[2].row(r) + c; };
    auto P = [&](int r, int c) { return static_cast<const Lum8u*>(rgb.row(r) + 3 * c); };
    const int pairs = w / 2, fullPairs = pairs / 8 * 8;
    if (!is420) {
        for (int r = 0; r < h; ++r) {
            for (int c = 0; c < pairs; ++c) {
                const Lum8u *a = P(r, 2 * c), *b = P(r, 2 * c + 1);
                if (!vector) {
                    pxModelBlock({a, b}, {Y(r, 2 * c), Y(r, 2 * c + 1)}, 65535, 17, U(r, c), V(r, c));
                    continue;
                }
                const int la = luma1(a, false), lb = luma1(b, false);
                *Y(r, 2 * c) = Lum8u(la >> 1);
                *Y(r, 2 * c + 1) = Lum8u(lb >> 1);
                *U(r, c) = vu(a[2] + b[2] - ((la + lb) >> 1));
                *V(r, c) = vv(a[0] + b[0] - ((la + lb) >> 1));
            }
            if (w % 2 == 0) continue;
            const Lum8u* p = P(r, w - 1);
            if (!vector) {
                pxModelBlock({p}, {Y(r, w - 1)}, 32767, 16, U(r, pairs), V(r, pairs));
                continue;
            }
            const int q = 9798 * p[0] + 19235 * p[1] + 3736 * p[2];
            *Y(r, w - 1) = Lum8u(q >> 15);
            *U(r, pairs) = Lum8u(((((p[2] << 15) - q + 16383) >> 15) * 16121 >> 15) - 128);
            *V(r, pairs) = Lum8u(clamp8(((((p[0] << 15) - q + 32767) >> 15) * 28737 >> 15) + 128));
        }
        return;
    }
    for (int r = 0; r + 1 < h; r += 2) {
        for (int c = 0; c < pairs; ++c) {
            std::vector<const Lum8u*> px = {P(r, 2 * c), P(r, 2 * c + 1), P(r + 1, 2 * c),
                                            P(r + 1, 2 * c + 1)};
            std::vector<Lum8u*> ys = {Y(r, 2 * c), Y(r, 2 * c + 1), Y(r + 1, 2 * c), Y(r + 1, 2 * c + 1)};
            if (!vector) {
                pxModelBlock(px, ys, 0x1FFFF, 18, U(r / 2, c), V(r / 2, c));
                continue;
            }
            int s1 = 0, sb = 0, sr = 0;
            for (int k = 0; k < 4; ++k) {
                const int l = luma1(px[size_t(k)], c >= fullPairs);
                *ys[size_t(k)] = Lum8u(l >> 1);
                s1 += l;
                sb += px[size_t(k)][2];
                sr += px[size_t(k)][0];
            }
            *U(r / 2, c) = vu((sb >> 1) - (s1 >> 2));
            *V(r / 2, c) = vv((sr >> 1) - (s1 >> 2));
        }
        if (w % 2)
            pxModelBlock({P(r, w - 1), P(r + 1, w - 1)}, {Y(r, w - 1), Y(r + 1, w - 1)}, 0, 17,
                         U(r / 2, pairs), V(r / 2, pairs));
    }
    if (h % 2 == 0) return;
    for (int c = 0; c < pairs; ++c)
        pxModelBlock({P(h - 1, 2 * c), P(h - 1, 2 * c + 1)}, {Y(h - 1, 2 * c), Y(h - 1, 2 * c + 1)}, 0, 17,
                     U(h / 2, c), V(h / 2, c));
    if (w % 2) pxModelBlock({P(h - 1, w - 1)}, {Y(h - 1, w - 1)}, 0, 16, U(h / 2, pairs), V(h / 2, pairs));
}

void pxBgr(int y, int u, int v, Lum8u* d)
{
    u -= 128;
    v -= 128;
    d[0] = Lum8u(clamp8(((y << 16) + 133169 * u) >> 16));
    d[1] = Lum8u(clamp8(((y << 16) - 38076 * v - 25821 * u) >> 16));
    d[2] = Lum8u(clamp8(((y << 16) + 74711 * v) >> 16));
}

void vectorBgr(int y, int u, int v, Lum8u* d)
{
    const int u1 = sat16(16 * u - 2048), v1 = sat16(16 * v - 2048), y2 = 2 * y;
    const auto hi = [](int a, int k) { return (a * k) >> 16; };
    d[0] = Lum8u(clamp8(sat16(y2 + hi(u1, 16646)) >> 1));
    d[1] = Lum8u(clamp8(sat16(sat16(y2 + hi(u1, -3228)) + hi(v1, -4760)) >> 1));
    d[2] = Lum8u(clamp8(sat16(y2 + hi(v1, 9339)) >> 1));
}

// The vector formulas serve the pairs of rows, column pairs included; odd edges are px.
void expectYuvToBgr(Planes& in, LumSize roi, bool vector, RegionBuffer& out)
{
    for (int r = 0; r < roi.height; ++r)
        for (int c = 0; c < roi.width; ++c) {
            const bool inner = r < roi.height / 2 * 2 && c < roi.width / 2 * 2;
            (vector && inner ? vectorBgr : pxBgr)(in.plane[0].row(r)[c], in.plane[1].row(r / 2)[c / 2],
                                                  in.plane[2].row(r / 2)[c / 2], out.row(r) + 3 * c);
        }
}

class ColorYuv : public lumtest::TierTest {
protected:
    // Which formulas this tier uses for RGB to YUV and for YUV to BGR.
    bool vectorRgb() const { return slot() != 0; }
    bool vectorBgr() const { return slot() >= 2; }
};

TEST_P(ColorYuv, ChecksInOrder)
{
    Lum8u buf[256];
    std::memset(buf, 0x5A, sizeof buf);
    Lum8u* planes[3] = {buf, buf + 64, buf + 128};
    Lum8u* holed[3] = {buf, nullptr, buf + 128};
    const Lum8u* cplanes[3] = {buf, buf + 64, buf + 128};
    const Lum8u* choled[3] = {buf, buf + 64, nullptr};
    const Lum32s steps[3] = {8, 4, 4};
    using ToYuv = LumStatus (*)(const Lum8u*, Lum32s, Lum8u* const*, const Lum32s*, LumSize);
    for (ToYuv f : {ToYuv(lumiRGBToYUV420_8u_C3P3R), ToYuv(lumiRGBToYUV422_8u_C3P3R)}) {
        EXPECT_EQ(f(nullptr, 24, planes, steps, {0, 0}), lumStsNullPointer);
        EXPECT_EQ(f(buf, 24, nullptr, steps, {0, 0}), lumStsNullPointer);
        EXPECT_EQ(f(buf, 24, holed, steps, {0, 2}), lumStsBadSize);
        EXPECT_EQ(f(buf, 24, holed, steps, {2, 2}), lumStsNullPointer);
    }
    EXPECT_EQ(lumiYUV420ToBGR_8u_P3C3R(nullptr, steps, buf, 24, {0, 0}), lumStsNullPointer);
    EXPECT_EQ(lumiYUV420ToBGR_8u_P3C3R(cplanes, steps, nullptr, 24, {0, 0}), lumStsNullPointer);
    EXPECT_EQ(lumiYUV420ToBGR_8u_P3C3R(choled, steps, buf, 24, {2, 0}), lumStsBadSize);
    EXPECT_EQ(lumiYUV420ToBGR_8u_P3C3R(choled, steps, buf, 24, {2, 2}), lumStsNullPointer);
    // The repacking tests every pointer before the size, and needs two rows and two columns.
    EXPECT_EQ(lumiYCbCr422ToYCbCr420_8u_C2P3R(nullptr, 8, planes, steps, {0, 0}), lumStsNullPointer);
    EXPECT_EQ(lumiYCbCr422ToYCbCr420_8u_C2P3R(buf, 8, nullptr, steps, {0, 0}), lumStsNullPointer);
    EXPECT_EQ(lumiYCbCr422ToYCbCr420_8u_C2P3R(buf, 8, holed, steps, {0, 0}), lumStsNullPointer);
    EXPECT_EQ(lumiYCbCr422ToYCbCr420_8u_C2P3R(buf, 8, planes, steps, {2, 1}), lumStsBadSize);
    EXPECT_EQ(lumiYCbCr422ToYCbCr420_8u_C2P3R(buf, 8, planes, steps, {1, 2}), lumStsBadSize);
    EXPECT_EQ(lumiYCrCb420ToYCbCr422_8u_P3C2R(choled, steps, buf, 8, {0, 0}), lumStsNullPointer);
    EXPECT_EQ(lumiYCrCb420ToYCbCr422_8u_P3C2R(cplanes, steps, nullptr, 8, {0, 0}), lumStsNullPointer);
    EXPECT_EQ(lumiYCrCb420ToYCbCr422_8u_P3C2R(cplanes, steps, buf, 8, {2, 1}), lumStsBadSize);
    for (Lum8u b : buf) EXPECT_EQ(b, 0x5A);
}

// A single pixel takes the corner path in every tier; black gives 0, 128, 128.
TEST_P(ColorYuv, OnePixelAndBlack)
{
    const Lum8u black[3] = {0, 0, 0}, red[3] = {255, 0, 0}, cyan[3] = {0, 255, 255};
    Lum8u y = 1, u = 1, v = 1;
    Lum8u* planes[3] = {&y, &u, &v};
    const Lum32s steps[3] = {1, 1, 1};
    ASSERT_EQ(lumiRGBToYUV420_8u_C3P3R(black, 3, planes, steps, {1, 1}), lumStsNoErr);
    EXPECT_EQ(std::vector<int>({y, u, v}), std::vector<int>({0, 128, 128}));
    // Pure red: V reaches 284 and is clamped; pure cyan reaches -29.
    ASSERT_EQ(lumiRGBToYUV420_8u_C3P3R(red, 3, planes, steps, {1, 1}), lumStsNoErr);
    EXPECT_EQ(v, 255);
    EXPECT_EQ(y, 76);
    ASSERT_EQ(lumiRGBToYUV420_8u_C3P3R(cyan, 3, planes, steps, {1, 1}), lumStsNoErr);
    EXPECT_EQ(v, 0);
}

// White: px gives 255, the vector passes 254 (451 + 58 = 509 halves to 254).
TEST_P(ColorYuv, WhiteDiffersByOneBetweenFormulas)
{
    std::vector<Lum8u> white(16 * 2 * 3, 255), y(32), u(8), v(8);
    Lum8u* planes[3] = {y.data(), u.data(), v.data()};
    const Lum32s steps[3] = {16, 8, 8};
    ASSERT_EQ(lumiRGBToYUV420_8u_C3P3R(white.data(), 48, planes, steps, {16, 2}), lumStsNoErr);
    for (Lum8u l : y) EXPECT_EQ(l, vectorRgb() ? 254 : 255);
    for (size_t i = 0; i < 8; ++i) {
        EXPECT_EQ(u[i], 128);
        EXPECT_EQ(v[i], 128);
    }
    const Lum8u* in[3] = {y.data(), u.data(), v.data()};
    std::vector<Lum8u> bgr(16 * 2 * 3);
    std::fill(y.begin(), y.end(), 255);
    ASSERT_EQ(lumiYUV420ToBGR_8u_P3C3R(in, steps, bgr.data(), 48, {16, 2}), lumStsNoErr);
    for (Lum8u b : bgr) EXPECT_EQ(b, 255);
}

TEST_P(ColorYuv, RgbToYuvMatchesTheTierFormulas)
{
    std::mt19937 rng(51);
    // Widths around the 16-pixel pass: 17 is one full pass, no left-over pair and the odd column.
    std::vector<LumSize> sizes = {{1, 1},  {2, 1},  {1, 2},  {17, 2}, {17, 3},
                                  {16, 4}, {31, 5}, {32, 2}, {33, 3}, {47, 1}};
    for (int n = 0; n < 40; ++n) sizes.push_back({1 + int(rng() % 120), 1 + int(rng() % 9)});
    for (size_t n = 0; n < sizes.size(); ++n) {
        const LumSize roi = sizes[n];
        for (bool is420 : {true, false}) {
            RegionBuffer rgb(size_t(roi.width) * 3, roi.height, 3 * roi.width + Lum32s(rng() % 20),
                             rng() % 16);
            rgb.randomize(uint32_t(n) * 2 + is420);
            Planes got(roi, half(roi, is420), rng), want(roi, half(roi, is420), rng);
            expectRgbToYuv(rgb, roi, is420, vectorRgb(), want);
            const auto f = is420 ? lumiRGBToYUV420_8u_C3P3R : lumiRGBToYUV422_8u_C3P3R;
            ASSERT_EQ(f(rgb.data(), rgb.step(), got.dst, got.step, roi), lumStsNoErr);
            for (int p = 0; p < 3; ++p)
                ASSERT_EQ(got.plane[size_t(p)].rows(), want.plane[size_t(p)].rows())
                    << "plane " << p << " " << roi.width << "x" << roi.height << (is420 ? " 420" : " 422");
            ASSERT_TRUE(got.intact());
        }
    }
}

// The same pixel values give a different Y in a full pass and in a left-over pair of 4:2:0.
TEST_P(ColorYuv, LeftOverPairsTakeTheOneShiftLuma)
{
    // 3736 * 7 = 26152 leaves a remainder that the separate shift drops and the joint shift keeps.
    const Lum8u pixel[3] = {1, 0, 7};
    EXPECT_NE(luma1(pixel, true), luma1(pixel, false));
    std::vector<Lum8u> rgb(18 * 2 * 3);
    for (size_t i = 0; i < rgb.size(); ++i) rgb[i] = pixel[i % 3];
    std::vector<Lum8u> y(36), u(9), v(9);
    Lum8u* planes[3] = {y.data(), u.data(), v.data()};
    const Lum32s steps[3] = {18, 9, 9};
    ASSERT_EQ(lumiRGBToYUV420_8u_C3P3R(rgb.data(), 54, planes, steps, {18, 2}), lumStsNoErr);
    EXPECT_EQ(y[0], vectorRgb() ? luma1(pixel, false) >> 1 : qy(pixel) >> 16);
    EXPECT_EQ(y[17], vectorRgb() ? luma1(pixel, true) >> 1 : qy(pixel) >> 16);
}

TEST_P(ColorYuv, YuvToBgrMatchesTheTierFormulas)
{
    std::mt19937 rng(52);
    std::vector<LumSize> sizes = {{1, 1}, {2, 2}, {16, 2}, {17, 3}, {18, 2}, {31, 1}, {32, 4}, {33, 5}};
    for (int n = 0; n < 40; ++n) sizes.push_back({1 + int(rng() % 120), 1 + int(rng() % 9)});
    for (size_t n = 0; n < sizes.size(); ++n) {
        const LumSize roi = sizes[n];
        Planes in(roi, half(roi, true), rng);
        for (int p = 0; p < 3; ++p) in.plane[size_t(p)].randomize(uint32_t(n * 3 + p));
        const Lum32s step = 3 * roi.width + Lum32s(rng() % 20);
        RegionBuffer got(size_t(roi.width) * 3, roi.height, step, rng() % 16),
            want(size_t(roi.width) * 3, roi.height, step);
        expectYuvToBgr(in, roi, vectorBgr(), want);
        ASSERT_EQ(lumiYUV420ToBGR_8u_P3C3R(in.src, in.step, got.data(), step, roi), lumStsNoErr);
        ASSERT_EQ(got.rows(), want.rows()) << roi.width << "x" << roi.height;
        ASSERT_TRUE(got.outsideIntact());
    }
}

// Extreme chroma, where the 16-bit sums of the vector formulas saturate before the final clamp.
TEST_P(ColorYuv, YuvToBgrExtremes)
{
    for (int yv : {0, 16, 128, 235, 255})
        for (int uv : {0, 255})
            for (int vv : {0, 255}) {
                std::vector<Lum8u> y(64, Lum8u(yv)), u(16, Lum8u(uv)), v(16, Lum8u(vv)), bgr(32 * 2 * 3);
                const Lum8u* in[3] = {y.data(), u.data(), v.data()};
                const Lum32s steps[3] = {32, 16, 16};
                ASSERT_EQ(lumiYUV420ToBGR_8u_P3C3R(in, steps, bgr.data(), 96, {32, 2}), lumStsNoErr);
                Lum8u expected[3];
                (vectorBgr() ? ::vectorBgr : pxBgr)(yv, uv, vv, expected);
                for (size_t i = 0; i < bgr.size(); ++i)
                    ASSERT_EQ(bgr[i], expected[i % 3]) << yv << " " << uv << " " << vv;
            }
}

TEST_P(ColorYuv, Packed422To420KeepsTheUpperChroma)
{
    std::mt19937 rng(53);
    std::vector<LumSize> sizes = {{2, 2}, {2, 3}, {3, 2}, {64, 2}, {66, 4}, {65, 5}};
    for (int n = 0; n < 30; ++n) sizes.push_back({2 + int(rng() % 150), 2 + int(rng() % 8)});
    for (const LumSize roi : sizes) {
        const int w = roi.width / 2 * 2, h = roi.height / 2 * 2;
        RegionBuffer src(size_t(roi.width) * 2, roi.height, 2 * roi.width + Lum32s(rng() % 20), rng() % 16);
        src.randomize(uint32_t(roi.width * 100 + roi.height));
        // The destination planes cover the whole region; only the even part is written.
        Planes got({roi.width, roi.height}, half(roi, true), rng),
            want({roi.width, roi.height}, half(roi, true), rng);
        for (int r = 0; r < h; ++r)
            for (int c = 0; c < w; ++c) {
                want.plane[0].row(r)[c] = src.row(r)[2 * c];
                if (r % 2 == 0 && c % 2 == 0) {
                    want.plane[1].row(r / 2)[c / 2] = src.row(r)[2 * c + 1];
                    want.plane[2].row(r / 2)[c / 2] = src.row(r)[2 * c + 3];
                }
            }
        ASSERT_EQ(lumiYCbCr422ToYCbCr420_8u_C2P3R(src.data(), src.step(), got.dst, got.step, roi),
                  lumStsNoErr);
        for (int p = 0; p < 3; ++p)
            ASSERT_EQ(got.plane[size_t(p)].rows(), want.plane[size_t(p)].rows())
                << p << " " << roi.width << "x" << roi.height;
        ASSERT_TRUE(got.intact());
    }
}

// Planes Y, Cr, Cb to Y0 Cb Y1 Cr; the non-temporal kernel runs on large aligned images.
TEST_P(ColorYuv, Planar420ToPacked422)
{
    std::mt19937 rng(54);
    std::vector<LumSize> sizes = {{2, 2}, {3, 3}, {32, 2}, {34, 4}, {65, 3}};
    for (int n = 0; n < 30; ++n) sizes.push_back({2 + int(rng() % 150), 2 + int(rng() % 8)});
    for (const LumSize roi : sizes) {
        const int w = roi.width / 2 * 2, h = roi.height / 2 * 2;
        Planes in(roi, half(roi, true), rng);
        for (int p = 0; p < 3; ++p) in.plane[size_t(p)].randomize(uint32_t(roi.width * 7 + p));
        const Lum32s step = 2 * roi.width + Lum32s(rng() % 20);
        RegionBuffer got(size_t(roi.width) * 2, roi.height, step, rng() % 16),
            want(size_t(roi.width) * 2, roi.height, step);
        for (int r = 0; r < h; ++r)
            for (int c = 0; c < w; c += 2) {
                Lum8u* d = want.row(r) + 2 * c;
                d[0] = in.plane[0].row(r)[c];
                d[1] = in.plane[2].row(r / 2)[c / 2];
                d[2] = in.plane[0].row(r)[c + 1];
                d[3] = in.plane[1].row(r / 2)[c / 2];
            }
        ASSERT_EQ(lumiYCrCb420ToYCbCr422_8u_P3C2R(in.src, in.step, got.data(), step, roi), lumStsNoErr);
        ASSERT_EQ(got.rows(), want.rows()) << roi.width << "x" << roi.height;
        ASSERT_TRUE(got.outsideIntact());
    }
    // Aligned planes and steps, (sum of steps) times height above 524288: the streaming kernel.
    const LumSize big = {512, 400};
    std::vector<RegionBuffer> planes;
    planes.emplace_back(512, 400, 512);
    planes.emplace_back(256, 200, 256);
    planes.emplace_back(256, 200, 256);
    for (int p = 0; p < 3; ++p) planes[size_t(p)].randomize(uint32_t(p));
    const Lum8u* src[3] = {planes[0].data(), planes[1].data(), planes[2].data()};
    const Lum32s steps[3] = {512, 256, 256};
    RegionBuffer out(1024, 400, 1024);
    ASSERT_EQ(lumiYCrCb420ToYCbCr422_8u_P3C2R(src, steps, out.data(), 1024, big), lumStsNoErr);
    for (int r = 0; r < 400; r += 37)
        for (int c = 0; c < 512; c += 2) {
            ASSERT_EQ(out.row(r)[2 * c], planes[0].row(r)[c]);
            ASSERT_EQ(out.row(r)[2 * c + 1], planes[2].row(r / 2)[c / 2]);
            ASSERT_EQ(out.row(r)[2 * c + 3], planes[1].row(r / 2)[c / 2]);
        }
    EXPECT_TRUE(out.outsideIntact());
}

LUM_ALL_TIERS(ColorYuv);

// OpenCV's full-range 4:4:4 conversions use the same coefficients: on images whose 2 by 2 blocks are
// uniform, every tier lands within two levels of them.
TEST(ColorYuvOracle, AgreesWithOpenCvWithinTwoLevels)
{
    const int w = 64, h = 32;
    cv::Mat small(h / 2, w / 2, CV_8UC3), rgb;
    cv::randu(small, 0, 256);
    cv::resize(small, rgb, {w, h}, 0, 0, cv::INTER_NEAREST);
    cv::Mat yuv;
    cv::cvtColor(rgb, yuv, cv::COLOR_RGB2YUV);
    for (int slot = 0; slot < 4; ++slot) {
        ASSERT_EQ(lumSetTierByCpuCode(lumtest::kTierCodes[slot]), lumStsNoErr);
        cv::Mat Y(h, w, CV_8UC1), U(h / 2, w / 2, CV_8UC1), V(h / 2, w / 2, CV_8UC1);
        Lum8u* planes[3] = {Y.data, U.data, V.data};
        const Lum32s steps[3] = {w, w / 2, w / 2};
        ASSERT_EQ(lumiRGBToYUV420_8u_C3P3R(rgb.data, Lum32s(rgb.step), planes, steps, {w, h}), lumStsNoErr);
        for (int r = 0; r < h; ++r)
            for (int c = 0; c < w; ++c) {
                const cv::Vec3b o = yuv.at<cv::Vec3b>(r, c);
                ASSERT_NEAR(Y.at<Lum8u>(r, c), o[0], 2) << slot << " " << r << " " << c;
                ASSERT_NEAR(U.at<Lum8u>(r / 2, c / 2), o[1], 2) << slot << " " << r << " " << c;
                ASSERT_NEAR(V.at<Lum8u>(r / 2, c / 2), o[2], 2) << slot << " " << r << " " << c;
            }
        // Back to BGR against OpenCV's 4:4:4 conversion of the same samples.
        cv::Mat up[3] = {Y, cv::Mat(), cv::Mat()}, full, bgrOracle, bgr(h, w, CV_8UC3);
        cv::resize(U, up[1], {w, h}, 0, 0, cv::INTER_NEAREST);
        cv::resize(V, up[2], {w, h}, 0, 0, cv::INTER_NEAREST);
        cv::merge(up, 3, full);
        cv::cvtColor(full, bgrOracle, cv::COLOR_YUV2BGR);
        const Lum8u* in[3] = {Y.data, U.data, V.data};
        ASSERT_EQ(lumiYUV420ToBGR_8u_P3C3R(in, steps, bgr.data, Lum32s(bgr.step), {w, h}), lumStsNoErr);
        EXPECT_LE(cv::norm(bgr, bgrOracle, cv::NORM_INF), 2) << slot;
    }
    lumSetTierByCpuCode(-1);
}

}  // namespace
