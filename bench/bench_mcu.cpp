// Per-MCU colour conversion, sampling, split and join per tier, in MCUs per second; and a whole
// image converted MCU by MCU beside libjpeg-turbo's planar YUV encode and decode of the same image.
#include "frame/dispatch.h"

#include <lum.h>

#include <benchmark/benchmark.h>
#include <turbojpeg.h>

#include <random>
#include <string>
#include <vector>

namespace {

using PlanesFn = LumStatus (*)(const Lum8u*, Lum32s, Lum16s* const*);
using PixelsFn = LumStatus (*)(const Lum16s* const*, Lum8u*, Lum32s);

const char* const kTiers[4] = {"px", "a6", "w7", "t7"};

#define LUM_TIERS_OF(name)                                         \
    {                                                              \
        lum::px::name, lum::a6::name, lum::w7::name, lum::t7::name \
    }

struct ToPlanes {
    const char* name;
    int rowBytes, rows;
    PlanesFn fn[4];
};
struct ToPixels {
    const char* name;
    int rowBytes, rows;
    PixelsFn fn[4];
};

const ToPlanes kToPlanes[] = {
    {"RGBToYCbCr444", 24, 8, LUM_TIERS_OF(lumiRGBToYCbCr444LS_MCU_8u16s_C3P3R)},
    {"RGBToYCbCr422", 48, 8, LUM_TIERS_OF(lumiRGBToYCbCr422LS_MCU_8u16s_C3P3R)},
    {"RGBToYCbCr411", 48, 16, LUM_TIERS_OF(lumiRGBToYCbCr411LS_MCU_8u16s_C3P3R)},
    {"CMYKToYCCK444", 32, 8, LUM_TIERS_OF(lumiCMYKToYCCK444LS_MCU_8u16s_C4P4R)},
    {"CMYKToYCCK411", 64, 16, LUM_TIERS_OF(lumiCMYKToYCCK411LS_MCU_8u16s_C4P4R)},
    {"SampleDown444", 24, 8, LUM_TIERS_OF(lumiSampleDown444LS_MCU_8u16s_C3P3R)},
    {"SampleDown411", 48, 16, LUM_TIERS_OF(lumiSampleDown411LS_MCU_8u16s_C3P3R)},
    {"Split422", 32, 8, LUM_TIERS_OF(lumiSplit422LS_MCU_8u16s_C2P3R)},
};

const ToPixels kToPixels[] = {
    {"YCbCr444ToRGB", 24, 8, LUM_TIERS_OF(lumiYCbCr444ToRGBLS_MCU_16s8u_P3C3R)},
    {"YCbCr422ToRGB", 48, 8, LUM_TIERS_OF(lumiYCbCr422ToRGBLS_MCU_16s8u_P3C3R)},
    {"YCbCr411ToRGB", 48, 16, LUM_TIERS_OF(lumiYCbCr411ToRGBLS_MCU_16s8u_P3C3R)},
    {"YCCK444ToCMYK", 32, 8, LUM_TIERS_OF(lumiYCCK444ToCMYKLS_MCU_16s8u_P4C4R)},
    {"YCCK411ToCMYK", 64, 16, LUM_TIERS_OF(lumiYCCK411ToCMYKLS_MCU_16s8u_P4C4R)},
    {"SampleUp444", 24, 8, LUM_TIERS_OF(lumiSampleUp444LS_MCU_16s8u_P3C3R)},
    {"SampleUp411", 48, 16, LUM_TIERS_OF(lumiSampleUp411LS_MCU_16s8u_P3C3R)},
    {"Join422", 32, 8, LUM_TIERS_OF(lumiJoin422LS_MCU_16s8u_P3C2R)},
};

// Four 16-byte aligned planes of 256 elements, so that w7 takes its vector kernels.
struct Planes {
    alignas(16) Lum16s data[4][256];
    Lum16s* out[4] = {data[0], data[1], data[2], data[3]};
    const Lum16s* in[4] = {data[0], data[1], data[2], data[3]};
    Planes()
    {
        std::mt19937 rng(3);
        for (auto& plane : data)
            for (auto& v : plane) v = static_cast<Lum16s>(static_cast<int>(rng() % 256) - 128);
    }
};

std::vector<Lum8u> randomBytes(size_t n)
{
    std::mt19937 rng(2);
    std::vector<Lum8u> v(n);
    for (auto& b : v) b = static_cast<Lum8u>(rng());
    return v;
}

void toPlanes(benchmark::State& state, PlanesFn fn, int rowBytes, int rows)
{
    alignas(16) Lum8u src[64 * 16];
    const auto bytes = randomBytes(sizeof src);
    std::copy(bytes.begin(), bytes.end(), src);
    Planes planes;
    for (auto _ : state) {
        benchmark::DoNotOptimize(fn(src, rowBytes, planes.out));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(state.iterations() * rowBytes * rows);
}

void toPixels(benchmark::State& state, PixelsFn fn, int rowBytes, int rows)
{
    alignas(16) Lum8u dst[64 * 16];
    Planes planes;
    for (auto _ : state) {
        benchmark::DoNotOptimize(fn(planes.in, dst, rowBytes));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(state.iterations() * rowBytes * rows);
}

// ---- A 512 x 512 image, 4:2:0 ------------------------------------------------------------------

constexpr int kSide = 512;

// MCU by MCU into one MCU's planes, as an encoder would before its DCT.
void imageToPlanes(benchmark::State& state, PlanesFn fn)
{
    const auto rgb = randomBytes(kSide * kSide * 3);
    Planes planes;
    for (auto _ : state) {
        for (int y = 0; y < kSide; y += 16)
            for (int x = 0; x < kSide; x += 16) fn(&rgb[(y * kSide + x) * 3], kSide * 3, planes.out);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kSide * kSide);
}

void imageToPixels(benchmark::State& state, PixelsFn fn)
{
    std::vector<Lum8u> rgb(kSide * kSide * 3);
    Planes planes;
    for (auto _ : state) {
        for (int y = 0; y < kSide; y += 16)
            for (int x = 0; x < kSide; x += 16) fn(planes.in, &rgb[(y * kSide + x) * 3], kSide * 3);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kSide * kSide);
}

void turboEncode(benchmark::State& state)
{
    const auto rgb = randomBytes(kSide * kSide * 3);
    std::vector<unsigned char> y(kSide * kSide), cb(kSide * kSide / 4), cr(kSide * kSide / 4);
    unsigned char* planes[3] = {y.data(), cb.data(), cr.data()};
    int strides[3] = {kSide, kSide / 2, kSide / 2};
    tjhandle handle = tjInitCompress();
    for (auto _ : state) {
        tjEncodeYUVPlanes(handle, rgb.data(), kSide, kSide * 3, kSide, TJPF_RGB, planes, strides, TJSAMP_420,
                          0);
        benchmark::ClobberMemory();
    }
    tjDestroy(handle);
    state.SetItemsProcessed(state.iterations() * kSide * kSide);
}

void turboDecode(benchmark::State& state)
{
    const auto y = randomBytes(kSide * kSide);
    const auto c = randomBytes(kSide * kSide / 4);
    const unsigned char* planes[3] = {y.data(), c.data(), c.data()};
    int strides[3] = {kSide, kSide / 2, kSide / 2};
    std::vector<unsigned char> rgb(kSide * kSide * 3);
    tjhandle handle = tjInitDecompress();
    for (auto _ : state) {
        tjDecodeYUVPlanes(handle, planes, strides, TJSAMP_420, rgb.data(), kSide, kSide * 3, kSide, TJPF_RGB,
                          TJFLAG_FASTUPSAMPLE);
        benchmark::ClobberMemory();
    }
    tjDestroy(handle);
    state.SetItemsProcessed(state.iterations() * kSide * kSide);
}

int registerAll()
{
    for (const ToPlanes& f : kToPlanes)
        for (int t = 0; t < 4; ++t)
            benchmark::RegisterBenchmark((std::string(f.name) + "/" + kTiers[t]).c_str(), toPlanes, f.fn[t],
                                         f.rowBytes, f.rows);
    for (const ToPixels& f : kToPixels)
        for (int t = 0; t < 4; ++t)
            benchmark::RegisterBenchmark((std::string(f.name) + "/" + kTiers[t]).c_str(), toPixels, f.fn[t],
                                         f.rowBytes, f.rows);
    for (int t = 0; t < 4; ++t) {
        benchmark::RegisterBenchmark((std::string("Image420ToPlanes/") + kTiers[t]).c_str(), imageToPlanes,
                                     kToPlanes[2].fn[t]);
        benchmark::RegisterBenchmark((std::string("Image420ToRGB/") + kTiers[t]).c_str(), imageToPixels,
                                     kToPixels[2].fn[t]);
    }
    benchmark::RegisterBenchmark("Image420ToPlanes/libjpeg-turbo", turboEncode);
    benchmark::RegisterBenchmark("Image420ToRGB/libjpeg-turbo", turboDecode);
    return 0;
}

const int kRegistered = registerAll();

}  // namespace

BENCHMARK_MAIN();
