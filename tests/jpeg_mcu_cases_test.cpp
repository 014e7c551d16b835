// The per-MCU exports on their stated cases, with literal values, in every tier: the example tables
// of pixels and samples, the block layout, K, w7's alignment rules, SampleUp's third byte in a6 and
// t7, round trips, and split's and join's alignment precondition in w7 and t7.
#include "jpeg_mcu_models.h"
#include "test_support.h"
#include "tier_fixture.h"

#include <lum.h>

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

using lumtest::TierTest;
using namespace mcutest;

namespace {

const Export& find(const std::string& name)
{
    for (const Export& e : allExports())
        if (name == e.name) return e;
    throw std::invalid_argument(name);
}

// Four planes of up to 256 elements in 16-byte aligned storage; each may be moved off the boundary
// by a number of elements.
struct PlaneSet {
    alignas(16) Lum16s storage[4][272] = {};
    Lum16s* planes[4];
    explicit PlaneSet(std::array<int, 4> shift = {0, 0, 0, 0})
    {
        for (int k = 0; k < 4; ++k) planes[k] = storage[k] + shift[k];
    }
    const Lum16s* const* in() const { return planes; }
    Lum16s* at(int k, int i) { return &planes[k][i]; }
};

// An MCU of pixels, rows packed, every pixel the same bytes.
std::vector<Lum8u> uniformPixels(const Export& e, const std::vector<int>& pixel)
{
    const Geometry g = geometry(e.form);
    std::vector<Lum8u> src(static_cast<size_t>(rowBytes(e)) * g.height);
    for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<Lum8u>(pixel[i % pixel.size()]);
    return src;
}

// Planes holding one value each, for all elements.
void fillPlanes(PlaneSet& s, const Export& e, const std::vector<int>& values)
{
    for (int k = 0; k < planeCount(e.kind); ++k)
        for (int i = 0; i < planeSize(e, k); ++i) s.planes[k][i] = static_cast<Lum16s>(values[k]);
}

// Every element of plane k must be `value`.
void expectUniformPlane(const PlaneSet& s, const Export& e, int k, int value)
{
    for (int i = 0; i < planeSize(e, k); ++i)
        ASSERT_EQ(s.planes[k][i], value) << e.name << " plane " << k << " element " << i;
}

// Every pixel of the MCU must be `pixel`.
void expectUniformPixels(const std::vector<Lum8u>& dst, const Export& e, const std::vector<int>& pixel)
{
    for (size_t i = 0; i < dst.size(); ++i)
        ASSERT_EQ(dst[i], pixel[i % pixel.size()]) << e.name << " byte " << i;
}

std::vector<Lum8u> toPixels(const Export& e, const PlaneSet& s, Lum8u fill = 0)
{
    std::vector<Lum8u> dst(static_cast<size_t>(rowBytes(e)) * geometry(e.form).height, fill);
    EXPECT_EQ(e.toPixels(s.in(), dst.data(), rowBytes(e)), lumStsNoErr);
    return dst;
}

class McuCasesTest : public TierTest {};

// ---- RGB and BGR to YCbCr ---------------------------------------------------------------------

TEST_P(McuCasesTest, ColourToPlanesTable)
{
    // R, G, B; px Y, Cb, Cr; vector Y, Cb, Cr.
    const int table[][9] = {
        {255, 0, 0, -52, -44, 127, -52, -43, 128}, {0, 0, 255, -99, 127, -21, -99, 128, -21},
        {255, 255, 255, 127, 0, 0, 127, 0, 0},     {0, 0, 0, -128, 0, 0, -128, 0, 0},
        {128, 128, 128, 0, 0, 0, 0, 0, 0},
    };
    for (const char* name : {"RGBToYCbCr444", "RGBToYCbCr422", "RGBToYCbCr411", "BGRToYCbCr444",
                             "BGRToYCbCr422", "BGRToYCbCr411"}) {
        const Export& e = find(name);
        for (const auto& row : table) {
            const bool bgr = e.kind == Kind::bgr;
            const auto src = uniformPixels(e, {row[bgr ? 2 : 0], row[1], row[bgr ? 0 : 2]});
            PlaneSet s;
            ASSERT_EQ(e.toPlanes(src.data(), rowBytes(e), s.planes), lumStsNoErr);
            const int* want = isPx() ? row + 3 : row + 6;
            for (int k = 0; k < 3; ++k) expectUniformPlane(s, e, k, want[k]);
        }
    }
}

// Sets pixel (x, y) of a grey MCU to red, and returns the plane elements that changed.
std::vector<std::pair<int, int>> changedBy(const Export& e, int x, int y)
{
    auto src = uniformPixels(e, {128, 128, 128});
    PlaneSet grey, marked;
    EXPECT_EQ(e.toPlanes(src.data(), rowBytes(e), grey.planes), lumStsNoErr);
    Lum8u* p = &src[static_cast<size_t>(y) * rowBytes(e) + 3 * x];
    p[0] = 255, p[1] = 0, p[2] = 0;
    EXPECT_EQ(e.toPlanes(src.data(), rowBytes(e), marked.planes), lumStsNoErr);
    std::vector<std::pair<int, int>> changed;
    for (int k = 0; k < 3; ++k)
        for (int i = 0; i < planeSize(e, k); ++i)
            if (grey.planes[k][i] != marked.planes[k][i]) changed.emplace_back(k, i);
    return changed;
}

using Changes = std::vector<std::pair<int, int>>;

TEST_P(McuCasesTest, ColourToPlanesLayout)
{
    const Export& e422 = find("RGBToYCbCr422");
    const Export& e411 = find("RGBToYCbCr411");
    EXPECT_EQ(changedBy(e422, 1, 0), (Changes{{0, 1}, {1, 0}, {2, 0}}));
    EXPECT_EQ(changedBy(e422, 2, 0), (Changes{{0, 2}, {1, 1}, {2, 1}}));
    for (auto [x, y] : {std::pair{0, 0}, {1, 0}, {0, 1}, {1, 1}})
        EXPECT_EQ(changedBy(e411, x, y), (Changes{{0, 8 * y + x}, {1, 0}, {2, 0}}));
    EXPECT_EQ(changedBy(e411, 0, 2), (Changes{{0, 16}, {1, 8}, {2, 8}}));
    EXPECT_EQ(changedBy(e422, 8, 0), (Changes{{0, 64}, {1, 4}, {2, 4}}));
    EXPECT_EQ(changedBy(e411, 8, 0), (Changes{{0, 64}, {1, 4}, {2, 4}}));
    EXPECT_EQ(changedBy(e411, 0, 8), (Changes{{0, 128}, {1, 32}, {2, 32}}));
    EXPECT_EQ(changedBy(e411, 15, 15), (Changes{{0, 255}, {1, 63}, {2, 63}}));
}

TEST_P(McuCasesTest, AStepOfOneReadsOverlappingRows)
{
    std::mt19937 rng(611);
    std::vector<Lum8u> bytes(80);
    for (auto& b : bytes) b = static_cast<Lum8u>(rng());
    // Off a 16-byte boundary, so that split takes no aligned path, which would need aligned rows.
    const Lum8u* src = bytes.data() + 1;
    for (const Export& e : allExports()) {
        if (e.toPlanes == nullptr) continue;
        PlaneSet s;
        ASSERT_EQ(e.toPlanes(src, 1, s.planes), lumStsNoErr) << e.name;
        const Planes m = modelToPlanes(e, isPx() ? Arith::px : Arith::vector, src, 1);
        for (int k = 0; k < planeCount(e.kind); ++k)
            EXPECT_EQ(std::memcmp(s.planes[k], m.p[k].data(), 2 * m.p[k].size()), 0)
                << e.name << " plane " << k;
    }
}

// BGR results are RGB results with the first and third byte of each pixel exchanged.
TEST_P(McuCasesTest, BgrIsRgbWithTheOuterBytesExchanged)
{
    std::mt19937 rng(612);
    for (int form : {444, 422, 411}) {
        const std::string f = std::to_string(form);
        const Export& rgbIn = find("RGBToYCbCr" + f);
        const Export& bgrIn = find("BGRToYCbCr" + f);
        std::vector<Lum8u> rgb(static_cast<size_t>(rowBytes(rgbIn)) * geometry(form).height);
        for (auto& b : rgb) b = static_cast<Lum8u>(rng());
        std::vector<Lum8u> bgr = rgb;
        for (size_t i = 0; i < bgr.size(); i += 3) std::swap(bgr[i], bgr[i + 2]);
        PlaneSet a, b;
        ASSERT_EQ(rgbIn.toPlanes(rgb.data(), rowBytes(rgbIn), a.planes), lumStsNoErr);
        ASSERT_EQ(bgrIn.toPlanes(bgr.data(), rowBytes(bgrIn), b.planes), lumStsNoErr);
        EXPECT_EQ(std::memcmp(a.storage, b.storage, sizeof a.storage), 0) << form;

        const Export& rgbOut = find("YCbCr" + f + "ToRGB");
        const Export& bgrOut = find("YCbCr" + f + "ToBGR");
        for (int k = 0; k < 3; ++k)
            for (int i = 0; i < 256; ++i)
                a.planes[k][i] = static_cast<Lum16s>(static_cast<int>(rng() % 1201) - 600);
        auto fromRgb = toPixels(rgbOut, a);
        const auto fromBgr = toPixels(bgrOut, a);
        for (size_t i = 0; i < fromRgb.size(); i += 3) std::swap(fromRgb[i], fromRgb[i + 2]);
        EXPECT_EQ(fromRgb, fromBgr) << form;
    }
}

// ---- YCbCr to RGB and BGR ---------------------------------------------------------------------

TEST_P(McuCasesTest, PlanesToColourTable)
{
    // Y, Cb, Cr; px R, G, B; vector R, G, B.
    const int table[][9] = {
        {-128, 0, 0, 0, 0, 0, 0, 0, 0},
        {127, 0, 0, 255, 255, 255, 255, 255, 255},
        {0, 0, 0, 128, 128, 128, 128, 128, 128},
        {0, 127, 0, 128, 84, 255, 128, 84, 255},
        {0, 0, 127, 255, 37, 128, 255, 37, 128},
        {0, -128, -128, 0, 255, 0, 0, 255, 0},
        {10, 37, -50, 67, 160, 203, 68, 161, 204},
        {-20, -3, 5, 115, 105, 102, 115, 105, 103},
    };
    for (const char* name : {"YCbCr444ToRGB", "YCbCr422ToRGB", "YCbCr411ToRGB", "YCbCr444ToBGR",
                             "YCbCr422ToBGR", "YCbCr411ToBGR"}) {
        const Export& e = find(name);
        for (const auto& row : table) {
            PlaneSet s;
            fillPlanes(s, e, {row[0], row[1], row[2]});
            const int* rgb = isPx() ? row + 3 : row + 6;
            const bool bgr = e.kind == Kind::bgr;
            expectUniformPixels(toPixels(e, s), e, {rgb[bgr ? 2 : 0], rgb[1], rgb[bgr ? 0 : 2]});
        }
    }
}

// Gives chroma element `at` a value of its own and returns the pixels whose bytes changed.
std::vector<std::pair<int, int>> pixelsOfChroma(const Export& e, int at)
{
    PlaneSet s;
    const auto before = toPixels(e, s);
    s.planes[1][at] = 60;
    s.planes[2][at] = -60;
    const auto after = toPixels(e, s);
    std::vector<std::pair<int, int>> pixels;
    const Geometry g = geometry(e.form);
    for (int y = 0; y < g.height; ++y)
        for (int x = 0; x < g.width; ++x)
            if (std::memcmp(&before[y * rowBytes(e) + 3 * x], &after[y * rowBytes(e) + 3 * x], 3) != 0)
                pixels.emplace_back(x, y);
    return pixels;
}

TEST_P(McuCasesTest, PlanesToColourReplicateChroma)
{
    const Export& e444 = find("YCbCr444ToRGB");
    const Export& e422 = find("YCbCr422ToRGB");
    const Export& e411 = find("YCbCr411ToRGB");
    EXPECT_EQ(pixelsOfChroma(e444, 9), (Changes{{1, 1}}));
    EXPECT_EQ(pixelsOfChroma(e422, 0), (Changes{{0, 0}, {1, 0}}));
    EXPECT_EQ(pixelsOfChroma(e422, 1), (Changes{{2, 0}, {3, 0}}));
    EXPECT_EQ(pixelsOfChroma(e422, 63), (Changes{{14, 7}, {15, 7}}));
    EXPECT_EQ(pixelsOfChroma(e411, 0), (Changes{{0, 0}, {1, 0}, {0, 1}, {1, 1}}));
    EXPECT_EQ(pixelsOfChroma(e411, 1), (Changes{{2, 0}, {3, 0}, {2, 1}, {3, 1}}));
    EXPECT_EQ(pixelsOfChroma(e411, 8), (Changes{{0, 2}, {1, 2}, {0, 3}, {1, 3}}));
}

// ---- w7's alignment rules, and the tiers that ignore alignment --------------------------------

// Y, Cb, Cr of 10, 37, -50 decode to 67, 160, 203 in px and to 68, 161, 204 in the vector formulas.
TEST_P(McuCasesTest, PlanesToColourFollowPlaneAlignment)
{
    const std::vector<int> px = {67, 160, 203}, vec = {68, 161, 204};
    for (const char* name : {"YCbCr444ToRGB", "YCbCr422ToRGB", "YCbCr411ToRGB"}) {
        const Export& e = find(name);
        for (int k = -1; k < 3; ++k) {
            std::array<int, 4> shift = {0, 0, 0, 0};
            if (k >= 0) shift[k] = 1;  // 2 bytes past a 16-byte boundary
            PlaneSet s(shift);
            fillPlanes(s, e, {10, 37, -50});
            const bool pxResult = isPx() || (slot() == 2 && k >= 0);
            expectUniformPixels(toPixels(e, s), e, pxResult ? px : vec);
            // pDst off every boundary plays no part.
            std::vector<Lum8u> dst(static_cast<size_t>(rowBytes(e)) * 16 + 1);
            ASSERT_EQ(e.toPixels(s.in(), dst.data() + 1, rowBytes(e)), lumStsNoErr);
            dst.erase(dst.begin());
            dst.resize(static_cast<size_t>(rowBytes(e)) * geometry(e.form).height);
            expectUniformPixels(dst, e, pxResult ? px : vec);
        }
    }
}

// Pixel 255, 0, 0 gives Cb, Cr -44, 127 in px and -43, 128 in the vector formulas. w7's 4:1:1 kernel
// stores luma aligned and falls back when the luma plane is not; chroma alignment does not matter.
TEST_P(McuCasesTest, ColourToPlanesFollowLumaAlignmentIn411Only)
{
    for (const char* name : {"RGBToYCbCr444", "RGBToYCbCr422", "RGBToYCbCr411", "BGRToYCbCr411"}) {
        const Export& e = find(name);
        for (int k = -1; k < 3; ++k) {
            std::array<int, 4> shift = {0, 0, 0, 0};
            if (k >= 0) shift[k] = 4;  // 8 bytes past a 16-byte boundary
            PlaneSet s(shift);
            const bool bgr = e.kind == Kind::bgr;
            const auto src = uniformPixels(e, {bgr ? 0 : 255, 0, bgr ? 255 : 0});
            ASSERT_EQ(e.toPlanes(src.data(), rowBytes(e), s.planes), lumStsNoErr);
            const bool pxResult = isPx() || (slot() == 2 && e.form == 411 && k == 0);
            expectUniformPlane(s, e, 1, pxResult ? -44 : -43);
            expectUniformPlane(s, e, 2, pxResult ? 127 : 128);
        }
    }
}

// ---- CMYK and YCCK ----------------------------------------------------------------------------

TEST_P(McuCasesTest, CmykToPlanesCases)
{
    for (const char* name : {"CMYKToYCCK444", "CMYKToYCCK422", "CMYKToYCCK411"}) {
        const Export& e = find(name);
        PlaneSet s;
        auto src = uniformPixels(e, {0, 0, 0, 0});
        ASSERT_EQ(e.toPlanes(src.data(), rowBytes(e), s.planes), lumStsNoErr);
        for (int k = 0; k < 4; ++k) expectUniformPlane(s, e, k, std::array{127, 0, 0, -128}[k]);
        src = uniformPixels(e, {255, 255, 255, 255});
        ASSERT_EQ(e.toPlanes(src.data(), rowBytes(e), s.planes), lumStsNoErr);
        for (int k = 0; k < 4; ++k) expectUniformPlane(s, e, k, std::array{-128, 0, 0, 127}[k]);
    }
    // Pixel (15, 15)'s K lands at index 255 of the K plane.
    const Export& e = find("CMYKToYCCK411");
    auto src = uniformPixels(e, {0, 0, 0, 0});
    src[15 * 64 + 15 * 4 + 3] = 255;
    PlaneSet s;
    ASSERT_EQ(e.toPlanes(src.data(), rowBytes(e), s.planes), lumStsNoErr);
    for (int i = 0; i < 256; ++i) EXPECT_EQ(s.planes[3][i], i == 255 ? 127 : -128) << i;
}

TEST_P(McuCasesTest, PlanesToCmykCases)
{
    for (const char* name : {"YCCK444ToCMYK", "YCCK422ToCMYK", "YCCK411ToCMYK"}) {
        const Export& e = find(name);
        PlaneSet s;
        fillPlanes(s, e, {-128, 0, 0, 127});
        expectUniformPixels(toPixels(e, s), e, {255, 255, 255, 255});
        fillPlanes(s, e, {127, 0, 0, -128});
        expectUniformPixels(toPixels(e, s), e, {0, 0, 0, 0});
        // K 200: the low byte of 328 in px, clamped in the vector formulas.
        fillPlanes(s, e, {0, 0, 0, 200});
        expectUniformPixels(toPixels(e, s), e, {127, 127, 127, isPx() ? 72 : 255});
        // The last pixel's K comes from the last element: index 255 in 4:1:1.
        s.planes[3][planeSize(e, 3) - 1] = -128;
        const auto dst = toPixels(e, s);
        const Geometry g = geometry(e.form);
        EXPECT_EQ(dst[(g.height - 1) * rowBytes(e) + 4 * (g.width - 1) + 3], 0);
        EXPECT_EQ(dst[(g.height - 1) * rowBytes(e) + 4 * (g.width - 2) + 3], isPx() ? 72 : 255);
    }
}

// The planes that w7 needs aligned: all four in both directions of 4:4:4 and for every inverse,
// luma and K for the forward 4:2:2 and 4:1:1. One plane off is enough to get px results.
TEST_P(McuCasesTest, CmykFollowsItsAlignmentTable)
{
    for (int form : {444, 422, 411}) {
        const std::string f = std::to_string(form);
        const Export& fwd = find("CMYKToYCCK" + f);
        const Export& inv = find("YCCK" + f + "ToCMYK");
        for (int k = -1; k < 4; ++k) {
            std::array<int, 4> shift = {0, 0, 0, 0};
            if (k >= 0) shift[k] = 7;
            PlaneSet s(shift);
            // Inks 0, 255, 255: R, G, B 255, 0, 0, whose Cb is -44 in px and -43 in vector.
            const auto src = uniformPixels(fwd, {0, 255, 255, 9});
            ASSERT_EQ(fwd.toPlanes(src.data(), rowBytes(fwd), s.planes), lumStsNoErr);
            const bool needed = k == 0 || k == 3 || (form == 444 && k >= 0);
            const bool pxForward = isPx() || (slot() == 2 && needed);
            expectUniformPlane(s, fwd, 1, pxForward ? -44 : -43);
            expectUniformPlane(s, fwd, 3, 9 - 128);

            fillPlanes(s, inv, {10, 37, -50, 200});
            const bool pxInverse = isPx() || (slot() == 2 && k >= 0);
            const std::vector<int> want = pxInverse ? std::vector<int>{255 - 67, 255 - 160, 255 - 203, 72}
                                                    : std::vector<int>{255 - 68, 255 - 161, 255 - 204, 255};
            expectUniformPixels(toPixels(inv, s), inv, want);
        }
    }
}

// ---- SampleDown and SampleUp ------------------------------------------------------------------

TEST_P(McuCasesTest, SampleDownCases)
{
    for (const char* name : {"SampleDown444", "SampleDown422", "SampleDown411"}) {
        const Export& e = find(name);
        for (int v : {0, 255}) {
            PlaneSet s;
            const auto src = uniformPixels(e, {v, v, v});
            ASSERT_EQ(e.toPlanes(src.data(), rowBytes(e), s.planes), lumStsNoErr);
            for (int k = 0; k < 3; ++k) expectUniformPlane(s, e, k, v - 128);
        }
    }
    // 4:2:2: second bytes 1 and 2 of a cell give -127, 0 and 255 give -1.
    const Export& e422 = find("SampleDown422");
    for (auto [a, b, want] : {std::array{1, 2, -127}, std::array{0, 255, -1}}) {
        auto src = uniformPixels(e422, {0, a, 0, 0, b, 0});
        PlaneSet s;
        ASSERT_EQ(e422.toPlanes(src.data(), rowBytes(e422), s.planes), lumStsNoErr);
        expectUniformPlane(s, e422, 1, want);
        expectUniformPlane(s, e422, 2, -128);
    }
    // 4:1:1: bytes 0, 0, 0, 3 in a cell give -128; the floor drops three quarters.
    const Export& e411 = find("SampleDown411");
    std::vector<Lum8u> src(48 * 16, 0);
    for (int y = 1; y < 16; y += 2)
        for (int x = 1; x < 16; x += 2) src[y * 48 + 3 * x + 2] = 3;
    PlaneSet s;
    ASSERT_EQ(e411.toPlanes(src.data(), 48, s.planes), lumStsNoErr);
    expectUniformPlane(s, e411, 2, -128);
}

TEST_P(McuCasesTest, SampleUpCases)
{
    for (const char* name : {"SampleUp444", "SampleUp422", "SampleUp411"}) {
        const Export& e = find(name);
        PlaneSet s;
        for (auto [v, want] : {std::pair{0, 128}, {-128, 0}, {127, 255}}) {
            fillPlanes(s, e, {v, v, v});
            expectUniformPixels(toPixels(e, s), e, {want, want, want});
        }
        // Out of range: planes 0 and 1 clamp in every tier; plane 2 keeps the low byte of
        // element + 128 in a6 and t7 for 4:2:2 and 4:1:1.
        const bool wraps = (slot() == 1 || slot() == 3) && e.form != 444;
        fillPlanes(s, e, {1000, 1000, 1000});
        expectUniformPixels(toPixels(e, s), e, {255, 255, wraps ? (1128 & 255) : 255});
        fillPlanes(s, e, {-1000, -1000, -1000});
        expectUniformPixels(toPixels(e, s), e, {0, 0, wraps ? (-872 & 255) : 0});
        fillPlanes(s, e, {32767, -32768, 32767});
        expectUniformPixels(toPixels(e, s), e, {255, 0, wraps ? (32895 & 255) : 255});
    }
}

// w7 takes its vector kernel only with all planes aligned; either path gives the same bytes.
TEST_P(McuCasesTest, SampleUpIgnoresAlignmentInItsResult)
{
    std::mt19937 rng(613);
    for (const char* name : {"SampleUp444", "SampleUp422", "SampleUp411"}) {
        const Export& e = find(name);
        PlaneSet aligned;
        for (int k = 0; k < 3; ++k)
            for (int i = 0; i < 256; ++i)
                aligned.planes[k][i] = static_cast<Lum16s>(static_cast<int>(rng() % 256) - 128);
        const auto want = toPixels(e, aligned);
        for (int k = 0; k < 3; ++k) {
            std::array<int, 4> shift = {0, 0, 0, 0};
            shift[k] = 3;
            PlaneSet off(shift);
            for (int j = 0; j < 3; ++j) std::memcpy(off.planes[j], aligned.planes[j], 512);
            EXPECT_EQ(toPixels(e, off), want) << name << " plane " << k;
        }
    }
}

TEST_P(McuCasesTest, SamplingRoundTrips)
{
    std::mt19937 rng(614);
    // 4:4:4 down and up is the identity on bytes.
    const Export& down = find("SampleDown444");
    const Export& up = find("SampleUp444");
    std::vector<Lum8u> src(24 * 8);
    for (auto& b : src) b = static_cast<Lum8u>(rng());
    PlaneSet s;
    ASSERT_EQ(down.toPlanes(src.data(), 24, s.planes), lumStsNoErr);
    EXPECT_EQ(toPixels(up, s), src);
    // 4:2:2: pixels 2c and 2c+1 come back with their first bytes and one shared pair of chroma.
    const Export& down422 = find("SampleDown422");
    const Export& up422 = find("SampleUp422");
    src.resize(48 * 8);
    for (auto& b : src) b = static_cast<Lum8u>(rng());
    ASSERT_EQ(down422.toPlanes(src.data(), 48, s.planes), lumStsNoErr);
    const auto back = toPixels(up422, s);
    for (size_t i = 0; i < back.size(); i += 6) {
        EXPECT_EQ(back[i], src[i]);
        EXPECT_EQ(back[i + 3], src[i + 3]);
        EXPECT_EQ(back[i + 1], back[i + 4]);
        EXPECT_EQ(back[i + 2], back[i + 5]);
        EXPECT_EQ(back[i + 1], (src[i + 1] + src[i + 4]) >> 1);
    }
}

// ---- Split and join ---------------------------------------------------------------------------

TEST_P(McuCasesTest, SplitCases)
{
    const Export& e = find("Split422");
    for (int v : {0, 255}) {
        PlaneSet s;
        const std::vector<Lum8u> src(32 * 8, static_cast<Lum8u>(v));
        ASSERT_EQ(e.toPlanes(src.data(), 32, s.planes), lumStsNoErr);
        for (int k = 0; k < 3; ++k) expectUniformPlane(s, e, k, v - 128);
    }
    // One byte at a time, from a source of 128s: where does it land?
    const auto landing = [&](int at) {
        std::vector<Lum8u> src(32 * 8, 128);
        src[at] = 200;
        PlaneSet s;
        EXPECT_EQ(e.toPlanes(src.data(), 32, s.planes), lumStsNoErr);
        Changes where;
        for (int k = 0; k < 3; ++k)
            for (int i = 0; i < planeSize(e, k); ++i)
                if (s.planes[k][i] != 0) where.emplace_back(k, i);
        return where;
    };
    EXPECT_EQ(landing(16), (Changes{{0, 64}}));
    EXPECT_EQ(landing(1), (Changes{{1, 0}}));
    EXPECT_EQ(landing(3), (Changes{{2, 0}}));
    EXPECT_EQ(landing(32), (Changes{{0, 8}}));
    EXPECT_EQ(landing(33), (Changes{{1, 8}}));
}

TEST_P(McuCasesTest, JoinClampsEveryElement)
{
    const Export& e = find("Join422");
    PlaneSet s;
    for (auto [v, want] :
         {std::pair{127, 255}, {-128, 0}, {1000, 255}, {-1000, 0}, {32767, 255}, {-32768, 0}}) {
        fillPlanes(s, e, {v, v, v});
        expectUniformPixels(toPixels(e, s), e, {want});
    }
}

TEST_P(McuCasesTest, SplitAndJoinRoundTrip)
{
    std::mt19937 rng(615);
    const Export& split = find("Split422");
    const Export& join = find("Join422");
    // Aligned and unaligned sources and planes, steps of 32, 38 and 48.
    alignas(16) Lum8u src[48 * 8 + 16];
    for (auto& b : src) b = static_cast<Lum8u>(rng());
    for (int offset : {0, 1, 8}) {
        for (Lum32s step : {32, 38, 48}) {
            if (offset == 0 && step % 16 != 0) continue;  // the aligned path wants aligned rows
            for (int shift : {0, 1}) {
                PlaneSet s({shift, shift, shift, 0});
                ASSERT_EQ(split.toPlanes(src + offset, step, s.planes), lumStsNoErr);
                alignas(16) Lum8u dst[48 * 8 + 16];
                std::memset(dst, 0xA5, sizeof dst);
                ASSERT_EQ(join.toPixels(s.in(), dst + offset, step), lumStsNoErr);
                for (int y = 0; y < 8; ++y)
                    EXPECT_EQ(std::memcmp(dst + offset + y * step, src + offset + y * step, 32), 0)
                        << "offset " << offset << " step " << step << " row " << y;
            }
        }
    }
}

// A step of 38 works wherever the aligned path is not taken: in px and a6 always.
TEST_P(McuCasesTest, SplitWithAnUnalignedStep)
{
    const Export& e = find("Split422");
    alignas(16) Lum8u src[38 * 8 + 16];
    for (size_t i = 0; i < sizeof src; ++i) src[i] = static_cast<Lum8u>(i * 7);
    for (int offset : {0, 3}) {
        if (offset == 0 && slot() >= 2) continue;
        PlaneSet s;
        ASSERT_EQ(e.toPlanes(src + offset, 38, s.planes), lumStsNoErr);
        const Planes m = modelToPlanes(e, Arith::px, src + offset, 38);
        for (int k = 0; k < 3; ++k) EXPECT_EQ(std::memcmp(s.planes[k], m.p[k].data(), 2 * m.p[k].size()), 0);
    }
}

// In w7 and t7, aligned pointers select aligned accesses for every row, so a step that is not a
// multiple of 16 faults on the second row: a precondition of those tiers, not a status.
class McuCasesDeathTest : public TierTest {};

TEST_P(McuCasesDeathTest, AlignedSplitAndJoinNeedAlignedRows)
{
    alignas(16) Lum8u pixels[40 * 8 + 16] = {};
    PlaneSet s;
    if (slot() < 2) {
        // px and a6 have no aligned path: the same calls simply work.
        EXPECT_EQ(lumiSplit422LS_MCU_8u16s_C2P3R(pixels, 38, s.planes), lumStsNoErr);
        EXPECT_EQ(lumiJoin422LS_MCU_16s8u_P3C2R(s.in(), pixels, 40), lumStsNoErr);
        return;
    }
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(lumiSplit422LS_MCU_8u16s_C2P3R(pixels, 38, s.planes), "");
    EXPECT_DEATH(lumiJoin422LS_MCU_16s8u_P3C2R(s.in(), pixels, 40), "");
}

LUM_ALL_TIERS(McuCasesTest);
LUM_ALL_TIERS(McuCasesDeathTest);

}  // namespace
