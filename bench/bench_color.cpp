// RGB to YUV 4:2:0 and YUV 4:2:0 to BGR of a 1920x1080 image in every tier, side by side with
// OpenCV's cvtColor (I420) and libyuv (RAWToI420, I420ToRGB24), single thread, in pixels per second.
// The peers use video-range coefficients where the library uses full range; the work per pixel is
// the same.
#include "frame/dispatch.h"

#include <benchmark/benchmark.h>
#include <libyuv/convert.h>
#include <libyuv/convert_argb.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <string>

namespace {

constexpr int kWidth = 1920, kHeight = 1080;
constexpr LumSize kRoi = {kWidth, kHeight};
constexpr const char* kTiers[4] = {"px", "a6", "w7", "t7"};
constexpr int64_t kPixels = int64_t(kWidth) * kHeight;

const decltype(&lumiRGBToYUV420_8u_C3P3R) kToYuv[4] = {
    lum::px::lumiRGBToYUV420_8u_C3P3R, lum::a6::lumiRGBToYUV420_8u_C3P3R, lum::w7::lumiRGBToYUV420_8u_C3P3R,
    lum::t7::lumiRGBToYUV420_8u_C3P3R};
const decltype(&lumiYUV420ToBGR_8u_P3C3R) kToBgr[4] = {
    lum::px::lumiYUV420ToBGR_8u_P3C3R, lum::a6::lumiYUV420ToBGR_8u_P3C3R, lum::w7::lumiYUV420ToBGR_8u_P3C3R,
    lum::t7::lumiYUV420ToBGR_8u_P3C3R};

// One I420 buffer: the Y plane, then U and V of a quarter each, as OpenCV's I420 layout has them.
struct I420 {
    cv::Mat all = cv::Mat(kHeight * 3 / 2, kWidth, CV_8UC1);
    Lum8u* planes[3] = {all.data, all.data + kPixels, all.data + kPixels + kPixels / 4};
    Lum32s steps[3] = {kWidth, kWidth / 2, kWidth / 2};
};

struct Images {
    cv::Mat rgb = cv::Mat(kHeight, kWidth, CV_8UC3);
    cv::Mat bgr = cv::Mat(kHeight, kWidth, CV_8UC3);
    I420 yuv;
    Images()
    {
        cv::randu(rgb, 0, 256);
        cv::cvtColor(rgb, yuv.all, cv::COLOR_RGB2YUV_I420);
    }
};

Images& images()
{
    static Images im;
    return im;
}

template <typename Body>
void run(benchmark::State& state, Body body)
{
    for (auto _ : state) {
        body();
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * kPixels);
}

void registerAll()
{
    for (int t = 0; t < 4; ++t)
        benchmark::RegisterBenchmark(
            ("RGBToYUV420/" + std::string(kTiers[t])).c_str(), [t](benchmark::State& s) {
                Images& im = images();
                I420 out;
                run(s, [&] { kToYuv[t](im.rgb.data, Lum32s(im.rgb.step), out.planes, out.steps, kRoi); });
            });
    benchmark::RegisterBenchmark("RGBToYUV420/opencv", [](benchmark::State& s) {
        Images& im = images();
        I420 out;
        run(s, [&] { cv::cvtColor(im.rgb, out.all, cv::COLOR_RGB2YUV_I420); });
    });
    benchmark::RegisterBenchmark("RGBToYUV420/libyuv", [](benchmark::State& s) {
        Images& im = images();
        I420 out;
        run(s, [&] {
            libyuv::RAWToI420(im.rgb.data, int(im.rgb.step), out.planes[0], out.steps[0], out.planes[1],
                              out.steps[1], out.planes[2], out.steps[2], kWidth, kHeight);
        });
    });
    for (int t = 0; t < 4; ++t)
        benchmark::RegisterBenchmark(
            ("YUV420ToBGR/" + std::string(kTiers[t])).c_str(), [t](benchmark::State& s) {
                Images& im = images();
                const Lum8u* planes[3] = {im.yuv.planes[0], im.yuv.planes[1], im.yuv.planes[2]};
                run(s, [&] { kToBgr[t](planes, im.yuv.steps, im.bgr.data, Lum32s(im.bgr.step), kRoi); });
            });
    benchmark::RegisterBenchmark("YUV420ToBGR/opencv", [](benchmark::State& s) {
        Images& im = images();
        run(s, [&] { cv::cvtColor(im.yuv.all, im.bgr, cv::COLOR_YUV2BGR_I420); });
    });
    benchmark::RegisterBenchmark("YUV420ToBGR/libyuv", [](benchmark::State& s) {
        Images& im = images();
        run(s, [&] {
            libyuv::I420ToRGB24(im.yuv.planes[0], im.yuv.steps[0], im.yuv.planes[1], im.yuv.steps[1],
                                im.yuv.planes[2], im.yuv.steps[2], im.bgr.data, int(im.bgr.step), kWidth,
                                kHeight);
        });
    });
}

}  // namespace

int main(int argc, char** argv)
{
    cv::setNumThreads(1);
    registerAll();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
