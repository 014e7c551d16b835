// Resize in every tier and mode beside OpenCV's cv::resize and libyuv's ScalePlane, single thread:
// 1920x1080 to 1280x720 and to 3840x2160, one channel (lumiResizeSqrPixel_8u_C1R) and three
// (lumiResize_8u_C3R). Figures are destination pixels per second. libyuv scales planes only; for three
// channels it runs ScalePlane on three planes of the same size, the same amount of work.
#include "frame/dispatch.h"

#include <benchmark/benchmark.h>
#include <libyuv/scale.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace {

constexpr int kSrcWidth = 1920;
constexpr int kSrcHeight = 1080;

struct Target {
    const char* name;
    int width;
    int height;
};
const Target kTargets[] = {{"1280x720", 1280, 720}, {"3840x2160", 3840, 2160}};

struct Mode {
    const char* name;
    Lum32s code;
    int opencv;
    libyuv::FilterMode yuv;
    bool yuvHasIt;
};
const Mode kModes[] = {
    {"nearest", lumResizeNearest, cv::INTER_NEAREST, libyuv::kFilterNone, true},
    {"linear", lumResizeLinear, cv::INTER_LINEAR, libyuv::kFilterBilinear, true},
    {"cubic", lumResizeCubic, cv::INTER_CUBIC, libyuv::kFilterNone, false},
    {"lanczos", lumResizeLanczos, cv::INTER_LANCZOS4, libyuv::kFilterNone, false},
    {"super", lumResizeSuper, cv::INTER_AREA, libyuv::kFilterBox, true},
};

struct Tier {
    const char* name;
    Lum32s code;
};
const Tier kTiers[] = {{"px", -1}, {"a6", 5}, {"w7", 6}, {"t7", 8}};

// A photograph-like card: gradients and edges, so that no mode meets a trivial image.
cv::Mat testCard(int channels)
{
    cv::Mat m(kSrcHeight, kSrcWidth, CV_8UC(channels));
    for (int r = 0; r < kSrcHeight; ++r)
        for (int c = 0; c < kSrcWidth * channels; ++c) {
            int v = (r + c * 3) % 256;
            if ((r / 37 + c / 53) % 2 == 0) v = 255 - v;
            m.ptr<uint8_t>(r)[c] = uint8_t(v);
        }
    return m;
}

// The source with one spare row and column: region-geometry linear and cubic may read one past the
// last sample.
const cv::Mat& source(int channels)
{
    static const cv::Mat one = [] {
        cv::Mat padded;
        cv::copyMakeBorder(testCard(1), padded, 0, 1, 0, 1, cv::BORDER_REPLICATE);
        return padded;
    }();
    static const cv::Mat three = testCard(3);
    return channels == 1 ? one : three;
}

void setItems(benchmark::State& state, const Target& t)
{
    state.SetItemsProcessed(int64_t(state.iterations()) * t.width * t.height);
}

void lumOneChannel(benchmark::State& state, const Tier& tier, const Mode& mode, const Target& t)
{
    const cv::Mat& src = source(1);
    cv::Mat dst(t.height, t.width, CV_8UC1);
    Lum32s size = 0;
    lumiResizeSqrPixelGetBufSize({t.width, t.height}, 1, mode.code, &size);
    std::vector<uint8_t> scratch(static_cast<size_t>(size));
    lumSetTierByCpuCode(tier.code);
    const double xf = double(t.width) / kSrcWidth, yf = double(t.height) / kSrcHeight;
    for (auto _ : state) {
        const LumStatus s = lumiResizeSqrPixel_8u_C1R(
            src.data, {kSrcWidth, kSrcHeight}, int(src.step), {0, 0, kSrcWidth, kSrcHeight}, dst.data,
            int(dst.step), {0, 0, t.width, t.height}, xf, yf, 0.0, 0.0, mode.code, scratch.data());
        if (s != lumStsNoErr) state.SkipWithError("resize failed");
        benchmark::DoNotOptimize(dst.data);
    }
    lumSetTierByCpuCode(-1);
    setItems(state, t);
}

void lumThreeChannels(benchmark::State& state, const Tier& tier, const Mode& mode, const Target& t)
{
    const cv::Mat& src = source(3);
    cv::Mat dst(t.height, t.width, CV_8UC3);
    lumSetTierByCpuCode(tier.code);
    const double xf = double(t.width) / kSrcWidth, yf = double(t.height) / kSrcHeight;
    for (auto _ : state) {
        const LumStatus s =
            lumiResize_8u_C3R(src.data, {kSrcWidth, kSrcHeight}, int(src.step), {0, 0, kSrcWidth, kSrcHeight},
                              dst.data, int(dst.step), {t.width, t.height}, xf, yf, mode.code);
        if (s != lumStsNoErr) state.SkipWithError("resize failed");
        benchmark::DoNotOptimize(dst.data);
    }
    lumSetTierByCpuCode(-1);
    setItems(state, t);
}

void openCv(benchmark::State& state, int channels, const Mode& mode, const Target& t)
{
    const cv::Mat src = testCard(channels);
    cv::Mat dst(t.height, t.width, CV_8UC(channels));
    for (auto _ : state) {
        cv::resize(src, dst, cv::Size(t.width, t.height), 0, 0, mode.opencv);
        benchmark::DoNotOptimize(dst.data);
    }
    setItems(state, t);
}

void libYuv(benchmark::State& state, int planes, const Mode& mode, const Target& t)
{
    const cv::Mat src = testCard(1);
    cv::Mat dst(t.height, t.width, CV_8UC1);
    for (auto _ : state) {
        for (int p = 0; p < planes; ++p)
            libyuv::ScalePlane(src.data, int(src.step), kSrcWidth, kSrcHeight, dst.data, int(dst.step),
                               t.width, t.height, mode.yuv);
        benchmark::DoNotOptimize(dst.data);
    }
    setItems(state, t);
}

void registerAll()
{
    for (const Target& t : kTargets)
        for (int channels : {1, 3})
            for (const Mode& m : kModes) {
                const bool reduces = t.width < kSrcWidth;
                // Super-sampling exists for three channels and for reduction only.
                if (m.code == lumResizeSuper && (channels == 1 || !reduces)) continue;
                const std::string prefix =
                    std::string("C") + std::to_string(channels) + "/" + t.name + "/" + m.name + "/";
                for (const Tier& tier : kTiers) {
                    if (channels == 1)
                        benchmark::RegisterBenchmark((prefix + tier.name).c_str(), lumOneChannel, tier, m, t);
                    else
                        benchmark::RegisterBenchmark((prefix + tier.name).c_str(), lumThreeChannels, tier, m,
                                                     t);
                }
                benchmark::RegisterBenchmark((prefix + "opencv").c_str(), openCv, channels, m, t);
                if (m.yuvHasIt)
                    benchmark::RegisterBenchmark((prefix + "libyuv").c_str(), libYuv, channels, m, t);
            }
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
