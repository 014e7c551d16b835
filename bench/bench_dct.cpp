// The block transforms in every tier, in blocks per second: the 8x8 DCT both ways, block
// quantization and dequantization, zigzag reordering, the level shift of one 8x8 block, and the two
// chains of a codec (Sub128 -> DCT -> quantize; dequantize -> IDCT -> Add128). Each pass runs over
// 64 blocks (8 KiB) that stay in the first-level cache; the functions have no data-dependent branch,
// so blocks are transformed again in place without being refreshed.
#include "frame/dispatch.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr int kBlocks = 64;

struct Tier {
    const char* name;
    decltype(&lumiDCT8x8Fwd_16s_C1I) dctFwd;
    decltype(&lumiDCT8x8Inv_16s_C1I) dctInv;
    decltype(&lumiQuantFwd8x8_JPEG_16s_C1I) quantFwd;
    decltype(&lumiQuantInv8x8_JPEG_16s_C1I) quantInv;
    decltype(&lumiZigzagInv8x8_16s_C1) zigzag;
    decltype(&lumiSub128_JPEG_8u16s_C1R) sub128;
    decltype(&lumiAdd128_JPEG_16s8u_C1R) add128;
};

#define LUM_TIER(t)                                                                                          \
    Tier                                                                                                     \
    {                                                                                                        \
#t, lum::t::lumiDCT8x8Fwd_16s_C1I, lum::t::lumiDCT8x8Inv_16s_C1I, lum::t::lumiQuantFwd8x8_JPEG_16s_C1I,      \
            lum::t::lumiQuantInv8x8_JPEG_16s_C1I, lum::t::lumiZigzagInv8x8_16s_C1,                           \
            lum::t::lumiSub128_JPEG_8u16s_C1R, lum::t::lumiAdd128_JPEG_16s8u_C1R                             \
    }
const Tier kTiers[] = {LUM_TIER(px), LUM_TIER(a6), LUM_TIER(w7), LUM_TIER(t7)};
#undef LUM_TIER

// Working data: aligned blocks of samples, an image they come from (64 blocks side by side, as an
// encoder reads them), and the tables of the standard luminance steps at quality 75.
struct Data {
    std::vector<Lum16s> blocksStorage = std::vector<Lum16s>(64 * kBlocks + 8);
    Lum16s* blocks;  // on a 16-byte boundary inside the storage
    std::vector<Lum8u> image = std::vector<Lum8u>(64 * kBlocks);
    alignas(16) Lum16u fwdTable[64];
    alignas(16) Lum16u invTable[64];

    Data()
    {
        auto address = reinterpret_cast<uintptr_t>(blocksStorage.data());
        blocks = blocksStorage.data() + ((16 - (address & 15)) & 15) / 2;
        std::mt19937 rng(5);
        for (auto& p : image) p = static_cast<Lum8u>(rng());
        for (int i = 0; i < 64 * kBlocks; ++i) blocks[i] = static_cast<Lum16s>(static_cast<int>(rng() % 256) - 128);
        Lum8u raw[64] = {16, 11, 12, 14, 12, 10, 16, 14, 13, 14, 18, 17, 16, 19, 24, 40, 26, 24, 22, 22, 24, 49,
                         35, 37, 29, 40, 58, 51, 61, 60, 57, 51, 56, 55, 64, 72, 92, 78, 64, 68, 87, 69, 55, 56,
                         80, 109, 81, 87, 95, 98, 103, 104, 103, 62, 77, 113, 121, 112, 100, 120, 92, 101, 103, 99};
        lum::px::lumiQuantFwdRawTableInit_JPEG_8u(raw, 75);
        lum::px::lumiQuantFwdTableInit_JPEG_8u16u(raw, fwdTable);
        lum::px::lumiQuantInvTableInit_JPEG_8u16u(raw, invTable);
    }
    Lum16s* block(int i) { return blocks + 64 * i; }
    // Block i of the image: 8 rows of a 512-pixel-wide strip.
    Lum8u* pixels(int i) { return image.data() + 8 * i; }
};

constexpr Lum32s kImageStep = 8 * kBlocks;

template <typename Body>
void runBlocks(benchmark::State& state, Body body)
{
    Data data;
    for (auto _ : state) {
        for (int i = 0; i < kBlocks; ++i) body(data, i);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kBlocks);
    state.counters["blocks/s"] = benchmark::Counter(static_cast<double>(state.iterations()) * kBlocks,
                                                    benchmark::Counter::kIsRate);
}

void dctFwd(benchmark::State& s, const Tier& t)
{
    runBlocks(s, [&](Data& d, int i) { t.dctFwd(d.block(i)); });
}
void dctInv(benchmark::State& s, const Tier& t)
{
    runBlocks(s, [&](Data& d, int i) { t.dctInv(d.block(i)); });
}
void quantFwd(benchmark::State& s, const Tier& t)
{
    runBlocks(s, [&](Data& d, int i) { t.quantFwd(d.block(i), d.fwdTable); });
}
void quantInv(benchmark::State& s, const Tier& t)
{
    runBlocks(s, [&](Data& d, int i) { t.quantInv(d.block(i), d.invTable); });
}
void zigzag(benchmark::State& s, const Tier& t)
{
    runBlocks(s, [&](Data& d, int i) { t.zigzag(d.block(i), d.block((i + 1) % kBlocks)); });
}
void sub128(benchmark::State& s, const Tier& t)
{
    runBlocks(s, [&](Data& d, int i) { t.sub128(d.pixels(i), kImageStep, d.block(i), 16, {8, 8}); });
}
void add128(benchmark::State& s, const Tier& t)
{
    runBlocks(s, [&](Data& d, int i) { t.add128(d.block(i), 16, d.pixels(i), kImageStep, {8, 8}); });
}
void forwardChain(benchmark::State& s, const Tier& t)
{
    runBlocks(s, [&](Data& d, int i) {
        t.sub128(d.pixels(i), kImageStep, d.block(i), 16, {8, 8});
        t.dctFwd(d.block(i));
        t.quantFwd(d.block(i), d.fwdTable);
    });
}
void inverseChain(benchmark::State& s, const Tier& t)
{
    runBlocks(s, [&](Data& d, int i) {
        t.quantInv(d.block(i), d.invTable);
        t.dctInv(d.block(i));
        t.add128(d.block(i), 16, d.pixels(i), kImageStep, {8, 8});
    });
}

const int kRegistered = [] {
    const std::pair<const char*, void (*)(benchmark::State&, const Tier&)> functions[] = {
        {"DCTFwd", dctFwd},   {"DCTInv", dctInv}, {"QuantFwd", quantFwd},         {"QuantInv", quantInv},
        {"ZigzagInv", zigzag}, {"Sub128", sub128}, {"Add128", add128},             {"ForwardChain", forwardChain},
        {"InverseChain", inverseChain},
    };
    for (const auto& [name, fn] : functions)
        for (const Tier& t : kTiers)
            benchmark::RegisterBenchmark((std::string(name) + "/" + t.name).c_str(), fn, t);
    return 0;
}();

}  // namespace

BENCHMARK_MAIN();
