// Region copies, mirrors and spatial moments of a 1920x1080 image in every tier, side by side with
// OpenCV (copyTo, merge, flip, moments) and libyuv (CopyPlane, MergeRGBPlane, MirrorPlane,
// RGB24Mirror), single thread. Copies and mirrors report bytes of destination per second, moments
// pixels per second.
#include "frame/dispatch.h"

#include <benchmark/benchmark.h>
#include <libyuv/planar_functions.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <functional>
#include <string>

namespace {

constexpr int kWidth = 1920, kHeight = 1080;
constexpr LumSize kRoi = {kWidth, kHeight};
constexpr size_t kPixels = size_t(kWidth) * kHeight;
constexpr const char* kTiers[4] = {"px", "a6", "w7", "t7"};

// The variants of one export, by slot, so that the benchmark calls the tier's code directly.
#define LUM_TIER_VARIANTS(name)                                    \
    {                                                              \
        lum::px::name, lum::a6::name, lum::w7::name, lum::t7::name \
    }
#define LUM_SHARED_A6_VARIANTS(name)                               \
    {                                                              \
        lum::px::name, lum::px::name, lum::w7::name, lum::t7::name \
    }

using CopyFn = decltype(&lumiCopy_8u_C1R);
using PlanarFn = decltype(&lumiCopy_8u_P3C3R);
using MirrorFn = decltype(&lumiMirror_8u_C1R);
using MirrorInPlaceFn = decltype(&lumiMirror_8u_C1IR);

const CopyFn kCopyC1[4] = LUM_TIER_VARIANTS(lumiCopy_8u_C1R);
const CopyFn kCopyC3[4] = LUM_TIER_VARIANTS(lumiCopy_8u_C3R);
const PlanarFn kCopyP3C3[4] = LUM_SHARED_A6_VARIANTS(lumiCopy_8u_P3C3R);
const MirrorFn kMirrorC1[4] = LUM_TIER_VARIANTS(lumiMirror_8u_C1R);
const MirrorFn kMirrorC3[4] = LUM_TIER_VARIANTS(lumiMirror_8u_C3R);
const MirrorInPlaceFn kMirrorC1I[4] = LUM_TIER_VARIANTS(lumiMirror_8u_C1IR);
const MirrorInPlaceFn kMirrorC3I[4] = LUM_TIER_VARIANTS(lumiMirror_8u_C3IR);
const decltype(&lumiMoments64f_32f_C1R) kMoments[4] = LUM_TIER_VARIANTS(lumiMoments64f_32f_C1R);

cv::Mat randomImage(int type)
{
    cv::Mat m(kHeight, kWidth, type);
    cv::randu(m, 0, 256);
    return m;
}

// Runs `body` in the timed loop and counts `bytes` per iteration.
void run(benchmark::State& state, size_t bytes, const std::function<void()>& body)
{
    for (auto _ : state) {
        body();
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(bytes));
}

void registerCopies()
{
    static const cv::Mat c1 = randomImage(CV_8UC1), c3 = randomImage(CV_8UC3);
    static cv::Mat d1(kHeight, kWidth, CV_8UC1), d3(kHeight, kWidth, CV_8UC3);
    static const cv::Mat planes[3] = {randomImage(CV_8UC1), randomImage(CV_8UC1), randomImage(CV_8UC1)};
    static const Lum8u* planePointers[3] = {planes[0].data, planes[1].data, planes[2].data};
    for (int t = 0; t < 4; ++t) {
        benchmark::RegisterBenchmark(("Copy/C1/" + std::string(kTiers[t])).c_str(), [t](benchmark::State& s) {
            run(s, kPixels, [t] { kCopyC1[t](c1.data, kWidth, d1.data, kWidth, kRoi); });
        });
    }
    benchmark::RegisterBenchmark("Copy/C1/opencv-copyTo",
                                 [](benchmark::State& s) { run(s, kPixels, [] { c1.copyTo(d1); }); });
    benchmark::RegisterBenchmark("Copy/C1/libyuv-CopyPlane", [](benchmark::State& s) {
        run(s, kPixels, [] { libyuv::CopyPlane(c1.data, kWidth, d1.data, kWidth, kWidth, kHeight); });
    });
    for (int t = 0; t < 4; ++t) {
        benchmark::RegisterBenchmark(("Copy/C3/" + std::string(kTiers[t])).c_str(), [t](benchmark::State& s) {
            run(s, 3 * kPixels, [t] { kCopyC3[t](c3.data, 3 * kWidth, d3.data, 3 * kWidth, kRoi); });
        });
    }
    benchmark::RegisterBenchmark("Copy/C3/opencv-copyTo",
                                 [](benchmark::State& s) { run(s, 3 * kPixels, [] { c3.copyTo(d3); }); });
    for (int t = 0; t < 4; ++t) {
        benchmark::RegisterBenchmark(
            ("Copy/P3C3/" + std::string(kTiers[t])).c_str(), [t](benchmark::State& s) {
                run(s, 3 * kPixels, [t] { kCopyP3C3[t](planePointers, kWidth, d3.data, 3 * kWidth, kRoi); });
            });
    }
    benchmark::RegisterBenchmark("Copy/P3C3/opencv-merge", [](benchmark::State& s) {
        run(s, 3 * kPixels, [] { cv::merge(planes, 3, d3); });
    });
    benchmark::RegisterBenchmark("Copy/P3C3/libyuv-MergeRGBPlane", [](benchmark::State& s) {
        run(s, 3 * kPixels, [] {
            libyuv::MergeRGBPlane(planes[0].data, kWidth, planes[1].data, kWidth, planes[2].data, kWidth,
                                  d3.data, 3 * kWidth, kWidth, kHeight);
        });
    });
}

void registerMirrors()
{
    static const cv::Mat c1 = randomImage(CV_8UC1), c3 = randomImage(CV_8UC3);
    static cv::Mat d1(kHeight, kWidth, CV_8UC1), d3(kHeight, kWidth, CV_8UC3);
    static cv::Mat i1 = c1.clone(), i3 = c3.clone();
    const int cvCodes[3] = {0, 1, -1};
    for (int ch : {1, 3}) {
        const size_t bytes = size_t(kWidth) * kHeight * ch;
        const Lum32s step = kWidth * ch;
        const std::string c = "C" + std::to_string(ch);
        for (int flip = 0; flip < 3; ++flip) {
            const std::string base = "Mirror/" + c + "/flip" + std::to_string(flip) + "/";
            for (int t = 0; t < 4; ++t) {
                benchmark::RegisterBenchmark((base + kTiers[t]).c_str(), [=](benchmark::State& s) {
                    const MirrorFn f = ch == 1 ? kMirrorC1[t] : kMirrorC3[t];
                    const cv::Mat& src = ch == 1 ? c1 : c3;
                    cv::Mat& dst = ch == 1 ? d1 : d3;
                    run(s, bytes, [&] { f(src.data, step, dst.data, step, kRoi, flip); });
                });
                benchmark::RegisterBenchmark(
                    (base + "inplace/" + kTiers[t]).c_str(), [=](benchmark::State& s) {
                        const MirrorInPlaceFn f = ch == 1 ? kMirrorC1I[t] : kMirrorC3I[t];
                        cv::Mat& img = ch == 1 ? i1 : i3;
                        run(s, bytes, [&] { f(img.data, step, kRoi, flip); });
                    });
            }
            const int code = cvCodes[flip];
            benchmark::RegisterBenchmark((base + "opencv-flip").c_str(), [=](benchmark::State& s) {
                const cv::Mat& src = ch == 1 ? c1 : c3;
                cv::Mat& dst = ch == 1 ? d1 : d3;
                run(s, bytes, [&] { cv::flip(src, dst, code); });
            });
            benchmark::RegisterBenchmark((base + "inplace/opencv-flip").c_str(), [=](benchmark::State& s) {
                cv::Mat& img = ch == 1 ? i1 : i3;
                run(s, bytes, [&] { cv::flip(img, img, code); });
            });
        }
        benchmark::RegisterBenchmark(("Mirror/" + c + "/flip1/libyuv").c_str(), [=](benchmark::State& s) {
            run(s, bytes, [&] {
                if (ch == 1)
                    libyuv::MirrorPlane(c1.data, step, d1.data, step, kWidth, kHeight);
                else
                    libyuv::RGB24Mirror(c3.data, step, d3.data, step, kWidth, kHeight);
            });
        });
    }
}

void registerMoments()
{
    static const cv::Mat image = [] {
        cv::Mat m(kHeight, kWidth, CV_32FC1);
        cv::randu(m, 0.0, 255.0);
        return m;
    }();
    for (int t = 0; t < 4; ++t) {
        benchmark::RegisterBenchmark(("Moments/" + std::string(kTiers[t])).c_str(), [t](benchmark::State& s) {
            LumMomentRecord* record = nullptr;
            lum::px::lumiMomentInitAlloc_64f(&record, 0);
            for (auto _ : s) {
                kMoments[t](image.ptr<float>(), Lum32s(image.step), kRoi, record);
                benchmark::ClobberMemory();
            }
            s.SetItemsProcessed(int64_t(s.iterations()) * int64_t(kPixels));
            lum::px::lumiMomentFree_64f(record);
        });
    }
    benchmark::RegisterBenchmark("Moments/opencv-moments", [](benchmark::State& s) {
        for (auto _ : s) benchmark::DoNotOptimize(cv::moments(image, false));
        s.SetItemsProcessed(int64_t(s.iterations()) * int64_t(kPixels));
    });
}

}  // namespace

int main(int argc, char** argv)
{
    cv::setNumThreads(1);
    registerCopies();
    registerMirrors();
    registerMoments();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
