// Both resize exports in every tier against the scalar model of resize_model.h on random cases:
// sizes, regions, factors (among them exactly 0.5, 2 and 1/3), shifts, negative steps and all modes.
// Nearest, linear and whole-factor super-sampling must agree bit for bit; cubic, Lanczos and
// fractional super-sampling within one level. Every region call runs on a scratch block of exactly
// the size that lumiResizeSqrPixelGetBufSize gives, ending at a PROT_NONE page, and the whole
// destination image is compared, so that a write outside the output shows.
#include "resize_model.h"
#include "test_support.h"
#include "tier_fixture.h"

#include <cstdlib>
#include <random>
#include <sstream>
#include <string>

namespace {

using lumtest::GuardedBuffer;
using rmodel::Image;

class ResizeModelTest : public lumtest::TierTest {};

// An image with a spare row above and two below, and two spare pixels per row, since the modes read
// the sample and the row after the last where a position lands exactly on the last one.
Image randomImage(int width, int height, int channels, bool bottomUp, std::mt19937& rng)
{
    Image im;
    im.width = width;
    im.height = height;
    im.channels = channels;
    const int rowBytes = (width + 2) * channels + int(rng() % 5);
    im.step = bottomUp ? -rowBytes : rowBytes;
    im.bytes.resize(size_t(rowBytes) * size_t(height + 3));
    for (auto& b : im.bytes) b = uint8_t(rng());
    im.origin = bottomUp ? int64_t(rowBytes) * (height + 1) : rowBytes;
    // Smooth some images so that the floating-point modes see gradients as well as noise.
    if (rng() % 2 == 0)
        for (int r = 0; r < height; ++r)
            for (int c = 0; c < width * channels; ++c)
                im.bytes[size_t(im.origin + int64_t(r) * im.step + c)] = uint8_t((r * 7 + c * 5) & 0xFF);
    return im;
}

double randomFactor(std::mt19937& rng)
{
    static const double kPicked[] = {0.5, 2.0, 1.0 / 3.0, 3.0, 1.0, 0.25, 4.0, 1.5, 0.75, 2.5};
    if (rng() % 2 == 0) return kPicked[rng() % 10];
    return 0.15 + (rng() % 4000) / 1000.0;
}

// The source side of a random case: image size (small images now and then, for the fallbacks), a
// region that may pass the image's end, and factors.
template <typename Call>
void randomSource(Call& c, int n, std::mt19937& rng)
{
    c.srcWidth = 1 + int(rng() % (n % 5 == 0 ? 9 : 40));
    c.srcHeight = 1 + int(rng() % (n % 7 == 0 ? 9 : 40));
    c.srcRoi = {int(rng() % c.srcWidth), int(rng() % c.srcHeight), 1 + int(rng() % 45), 1 + int(rng() % 45)};
    c.xFactor = randomFactor(rng);
    c.yFactor = n % 3 == 0 ? c.xFactor : randomFactor(rng);
}

// Largest difference between two images' bytes.
int maxDifference(const Image& a, const Image& b)
{
    int worst = 0;
    for (size_t i = 0; i < a.bytes.size(); ++i)
        worst = std::max(worst, std::abs(int(a.bytes[i]) - int(b.bytes[i])));
    return worst;
}

// Super-sampling sums in integers, and so exactly, when both inverse factors are whole in 64-bit
// floats.
bool wholeInverses(double xFactor, double yFactor)
{
    const double ix = 1.0 / xFactor, iy = 1.0 / yFactor;
    return ix == std::trunc(ix) && iy == std::trunc(iy);
}

template <typename Real>
LumStatus runRegionModel(const rmodel::RegionCall& c, const Image& src, Image& dst)
{
    return rmodel::regionModel<Real>(c, src, dst);
}

TEST_P(ResizeModelTest, RegionGeometryAgreesWithTheModel)
{
    std::mt19937 rng(9100 + slot());
    const int kModes[] = {1, 2, 4, 16};
    int compared = 0;
    for (int n = 0; n < 300; ++n) {
        rmodel::RegionCall c{};
        c.mode = kModes[n % 4];
        randomSource(c, n, rng);
        const bool shifted = rng() % 2 == 0;
        c.xShift = shifted ? (int(rng() % 1000) - 500) / 100.0 : 0.0;
        c.yShift = shifted ? (int(rng() % 1000) - 500) / 100.0 : 0.0;
        // Mostly near where the region lands, so that most calls have an output.
        auto near = [&](int origin, double factor, double shift) {
            return std::max(0, int(origin * factor + shift) - int(rng() % 8));
        };
        c.dstRoi = {near(c.srcRoi.x, c.xFactor, c.xShift), near(c.srcRoi.y, c.yFactor, c.yShift),
                    1 + int(rng() % 70), 1 + int(rng() % 70)};
        if (n % 10 == 0) c.dstRoi.x = int(rng() % 12);
        const Image src = randomImage(c.srcWidth, c.srcHeight, 1, rng() % 4 == 0, rng);
        Image dst =
            randomImage(c.dstRoi.x + c.dstRoi.width + 1, c.dstRoi.y + c.dstRoi.height + 1, 1, false, rng);
        Image expected = dst;

        Lum32s size = 0;
        ASSERT_EQ(lumiResizeSqrPixelGetBufSize({c.dstRoi.width, c.dstRoi.height}, 1, c.mode, &size),
                  lumStsNoErr);
        const size_t misalign = rng() % 16;
        GuardedBuffer scratch(size_t(size) + misalign);
        const LumStatus got = lumiResizeSqrPixel_8u_C1R(
            src.base(), {c.srcWidth, c.srcHeight}, src.step, c.srcRoi, dst.base(), dst.step, c.dstRoi,
            c.xFactor, c.yFactor, c.xShift, c.yShift, c.mode, scratch.data() + misalign);
        const LumStatus want = slot() == 2 ? runRegionModel<double>(c, src, expected)
                                           : runRegionModel<long double>(c, src, expected);
        std::ostringstream what;
        what << "case " << n << " mode " << c.mode << " src " << c.srcWidth << "x" << c.srcHeight << " roi "
             << c.srcRoi.x << "," << c.srcRoi.y << "," << c.srcRoi.width << "," << c.srcRoi.height
             << " factors " << c.xFactor << "," << c.yFactor << " shifts " << c.xShift << "," << c.yShift
             << " dstRoi " << c.dstRoi.x << "," << c.dstRoi.y << "," << c.dstRoi.width << ","
             << c.dstRoi.height;
        ASSERT_EQ(got, want) << what.str();
        const int mode = rmodel::lowered(c.mode, c.srcWidth, c.srcHeight);
        const int allowed = mode >= 4 ? 1 : 0;
        ASSERT_LE(maxDifference(dst, expected), allowed) << what.str();
        compared += got == lumStsNoErr;
    }
    EXPECT_GT(compared, 200);
}

TEST_P(ResizeModelTest, EndsGeometryAgreesWithTheModel)
{
    std::mt19937 rng(9200 + slot());
    const int kModes[] = {1, 2, 4, 16, 8};
    int compared = 0;
    for (int n = 0; n < 300; ++n) {
        rmodel::EndsCall c{};
        c.mode = kModes[n % 5];
        randomSource(c, n, rng);
        if (c.mode == 8) {
            c.xFactor = std::min(c.xFactor, 1.0 / (1 + rng() % 4));
            c.yFactor = std::min(c.yFactor, 1.0 / (1 + rng() % 4));
            if (n % 2 == 0) c.xFactor = c.yFactor = 1.0 / 3.0;
        }
        c.dstRoiSize = {1 + int(rng() % 80), 1 + int(rng() % 80)};
        const Image src = randomImage(c.srcWidth, c.srcHeight, 3, rng() % 4 == 0, rng);
        Image dst = randomImage(c.dstRoiSize.width + 1, c.dstRoiSize.height + 1, 3, rng() % 4 == 0, rng);
        Image expected = dst;
        const LumStatus got =
            lumiResize_8u_C3R(src.base(), {c.srcWidth, c.srcHeight}, src.step, c.srcRoi, dst.base(), dst.step,
                              c.dstRoiSize, c.xFactor, c.yFactor, c.mode);
        const LumStatus want = slot() == 2 ? rmodel::endsModel<double>(c, src, expected)
                                           : rmodel::endsModel<long double>(c, src, expected);
        std::ostringstream what;
        what << "case " << n << " mode " << c.mode << " src " << c.srcWidth << "x" << c.srcHeight << " roi "
             << c.srcRoi.x << "," << c.srcRoi.y << "," << c.srcRoi.width << "," << c.srcRoi.height
             << " factors " << c.xFactor << "," << c.yFactor << " dst " << c.dstRoiSize.width << "x"
             << c.dstRoiSize.height;
        ASSERT_EQ(got, want) << what.str();
        int mode = c.mode == 8 ? 8 : rmodel::lowered(c.mode, c.srcWidth, c.srcHeight);
        const bool wholeSuper = wholeInverses(c.xFactor, c.yFactor);
        const int allowed = (mode == 4 || mode == 16 || (mode == 8 && !wholeSuper)) ? 1 : 0;
        ASSERT_LE(maxDifference(dst, expected), allowed) << what.str();
        compared += got == lumStsNoErr;
    }
    EXPECT_GT(compared, 250);
}

LUM_ALL_TIERS(ResizeModelTest);

// The class of each mode across tiers, on the same inputs: nearest, linear and whole-factor
// super-sampling are exact across all tiers where positions are exact in every width (factors and
// shifts that are binary fractions); cubic, Lanczos and fractional super-sampling agree within one
// level, as the tiers' floating-point widths differ.
TEST(ResizeTiers, ModesKeepTheirClassAcrossTiers)
{
    std::mt19937 rng(9300);
    const double kExact[] = {0.5, 2.0, 0.25, 1.5, 0.75, 4.0};
    const int kModes[] = {1, 2, 4, 16};
    for (int n = 0; n < 60; ++n) {
        const int mode = kModes[n % 4];
        const double xf = kExact[rng() % 6], yf = kExact[rng() % 6];
        const double shift = (int(rng() % 16) - 8) / 4.0;
        const Image src = randomImage(24 + int(rng() % 20), 24 + int(rng() % 20), 1, false, rng);
        const Image rgb = randomImage(src.width, src.height, 3, false, rng);
        const LumRect roi{int(rng() % 4), int(rng() % 4), src.width, src.height};
        const LumRect dstRoi{0, 0, 90, 90};
        Lum32s size = 0;
        ASSERT_EQ(lumiResizeSqrPixelGetBufSize({90, 90}, 1, mode, &size), lumStsNoErr);
        std::vector<uint8_t> scratch(static_cast<size_t>(size));
        const double sf = n % 2 == 0 ? 1.0 / (1 + rng() % 4) : 0.3 + (rng() % 700) / 1000.0;
        const Image d0 = randomImage(91, 91, 1, false, rng), e0 = randomImage(91, 91, 3, false, rng);
        std::vector<Image> region, ends, super;
        for (int slot = 0; slot < 4; ++slot) {
            ASSERT_EQ(lumSetTierByCpuCode(lumtest::kTierCodes[slot]), lumStsNoErr);
            Image d = d0, e = e0, f = e0;
            ASSERT_EQ(lumiResizeSqrPixel_8u_C1R(src.base(), {src.width, src.height}, src.step, roi, d.base(),
                                                d.step, dstRoi, xf, yf, shift, -shift, mode, scratch.data()),
                      lumStsNoErr);
            ASSERT_EQ(lumiResize_8u_C3R(rgb.base(), {rgb.width, rgb.height}, rgb.step, roi, e.base(), e.step,
                                        {90, 90}, xf, yf, mode),
                      lumStsNoErr);
            ASSERT_EQ(lumiResize_8u_C3R(rgb.base(), {rgb.width, rgb.height}, rgb.step, roi, f.base(), f.step,
                                        {90, 90}, sf, sf, lumResizeSuper),
                      lumStsNoErr);
            region.push_back(d);
            ends.push_back(e);
            super.push_back(f);
        }
        lumSetTierByCpuCode(-1);
        for (int slot = 1; slot < 4; ++slot) {
            const int allowed = mode >= 4 ? 1 : 0;
            EXPECT_LE(maxDifference(region[slot], region[0]), allowed) << n << " slot " << slot;
            EXPECT_LE(maxDifference(ends[slot], ends[0]), allowed) << n << " slot " << slot;
            EXPECT_LE(maxDifference(super[slot], super[0]), n % 2 == 0 ? 0 : 1) << n << " slot " << slot;
        }
    }
}

}  // namespace
