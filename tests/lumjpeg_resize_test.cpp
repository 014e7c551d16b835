// lumjpeg's resize: the library's two resize exports driven the way the tool drives them.
#include <lum.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "image.h"
#include "lumjpeg_test_support.h"
#include "resize.h"

namespace {

using namespace lumjpegtest;

lumjpeg::Image gradient(int width, int height, int channels)
{
    lumjpeg::Image image(width, height, channels);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < channels; ++c)
                image.row(y)[x * channels + c] = static_cast<uint8_t>((x * 3 + y * 2 + c * 40) & 255);
    return image;
}

}  // namespace

TEST(LumjpegResize, NearestAtScaleOneIsTheIdentityInBothLayouts)
{
    for (int channels : {1, 3}) {
        const lumjpeg::Image source = gradient(37, 23, channels);
        const lumjpeg::Image same = lumjpeg::resizeImage(source, 37, 23, lumResizeNearest);
        EXPECT_EQ(same.pixels, source.pixels) << channels << " channels";
    }
}

TEST(LumjpegResize, EveryModeGivesTheAskedSizeAndKeepsAFlatImageFlat)
{
    for (const char* name : {"nearest", "linear", "cubic", "lanczos", "super"}) {
        const int mode = lumjpeg::interpolationByName(name);
        for (int channels : {1, 3}) {
            if (channels == 1 && mode == lumResizeSuper) continue;
            lumjpeg::Image flat(64, 40, channels);
            std::fill(flat.pixels.begin(), flat.pixels.end(), uint8_t{117});
            for (const auto& [w, h] : {std::pair{16, 10}, std::pair{100, 70}}) {
                if (mode == lumResizeSuper && w > 64) continue;
                const lumjpeg::Image out = lumjpeg::resizeImage(flat, w, h, mode);
                ASSERT_EQ(out.width, w);
                ASSERT_EQ(out.height, h);
                for (uint8_t v : out.pixels) ASSERT_EQ(v, 117) << name << " " << channels << " " << w;
            }
        }
    }
}

TEST(LumjpegResize, ThumbnailByAreaMeansIsTheExactAverage)
{
    // A 2x2 checker of 0 and 200 reduced by 2 with super-sampling averages every cell to 100.
    lumjpeg::Image checker(32, 32, 3);
    for (int y = 0; y < 32; ++y)
        for (int x = 0; x < 32; ++x)
            for (int c = 0; c < 3; ++c) checker.row(y)[x * 3 + c] = ((x + y) & 1) ? 200 : 0;
    const lumjpeg::Image half = lumjpeg::resizeImage(checker, 16, 16, lumResizeSuper);
    for (uint8_t v : half.pixels) ASSERT_EQ(v, 100);
}

TEST(LumjpegResize, BadRequestsAreOneLineErrors)
{
    const lumjpeg::Image grey = gradient(8, 8, 1);
    EXPECT_THROW(lumjpeg::resizeImage(grey, 4, 4, lumResizeSuper), lumjpeg::Error);
    EXPECT_THROW(lumjpeg::resizeImage(grey, 0, 4, lumResizeLinear), lumjpeg::Error);
    EXPECT_THROW(lumjpeg::resizeImage(gradient(8, 8, 3), 16, 16, lumResizeSuper), lumjpeg::Error);
    EXPECT_THROW(lumjpeg::interpolationByName("bilinear"), lumjpeg::Error);
}

TEST(LumjpegResize, ToolCommandWritesTheScaledImage)
{
    ScratchDir dir("resize");
    const std::string in = dir.file("in.ppm"), out = dir.file("out.ppm");
    lumjpeg::writeFile(in, lumjpeg::formatPnm(gradient(40, 30, 3)));
    EXPECT_EQ(run(lumjpegTool() + " resize " + in + " " + out + " --scale 0.5 --mode super").exitCode, 0);
    EXPECT_EQ(readPnmFile(out).width, 20);
    EXPECT_EQ(readPnmFile(out).height, 15);
    EXPECT_EQ(run(lumjpegTool() + " resize " + in + " " + out + " --size 7x5 --mode lanczos").exitCode, 0);
    EXPECT_EQ(readPnmFile(out).width, 7);
    EXPECT_EQ(run(lumjpegTool() + " resize " + in + " " + out + " --mode cubic").exitCode, 1);
}
