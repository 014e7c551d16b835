// lumsSum_32f and lumsThreshold_32f_I per tier, beside plain-loop and SSE baselines, in bytes per
// second of source data.
#include "frame/dispatch.h"

#include <lum.h>

#include <benchmark/benchmark.h>
#include <xmmintrin.h>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <random>
#include <vector>

namespace {

using SumFn = decltype(::lumsSum_32f);
using ThresholdFn = decltype(::lumsThreshold_32f_I);

// 32-byte aligned random floats in [-1, 1).
class Floats {
public:
    explicit Floats(size_t n) : storage_(n + 8)
    {
        std::mt19937 rng(1);
        std::uniform_real_distribution<float> value(-1.0f, 1.0f);
        for (size_t i = 0; i < n; ++i) data()[i] = value(rng);
    }
    float* data()
    {
        const auto p = reinterpret_cast<uintptr_t>(storage_.data());
        return reinterpret_cast<float*>((p + 31) & ~uintptr_t{31});
    }

private:
    std::vector<float> storage_;
};

void setBytes(benchmark::State& state, int64_t n)
{
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * n * 4);
}

template <SumFn* Fn, Lum32s Hint>
void sumTier(benchmark::State& state)
{
    const auto n = static_cast<Lum32s>(state.range(0));
    Floats src(n);
    for (auto _ : state) {
        Lum32f sum;
        Fn(src.data(), n, &sum, Hint);
        benchmark::DoNotOptimize(sum);
    }
    setBytes(state, n);
}

void sumAccumulate(benchmark::State& state)
{
    const auto n = static_cast<size_t>(state.range(0));
    Floats src(n);
    for (auto _ : state) {
        float sum = std::accumulate(src.data(), src.data() + n, 0.0f);
        benchmark::DoNotOptimize(sum);
    }
    setBytes(state, static_cast<int64_t>(n));
}

// Four single-precision vectors over aligned data, n a multiple of 16.
void sumSse(benchmark::State& state)
{
    const auto n = static_cast<size_t>(state.range(0));
    Floats src(n);
    for (auto _ : state) {
        const float* p = src.data();
        __m128 a = _mm_setzero_ps(), b = _mm_setzero_ps(), c = _mm_setzero_ps(), d = _mm_setzero_ps();
        for (size_t i = 0; i < n; i += 16) {
            a = _mm_add_ps(a, _mm_load_ps(p + i));
            b = _mm_add_ps(b, _mm_load_ps(p + i + 4));
            c = _mm_add_ps(c, _mm_load_ps(p + i + 8));
            d = _mm_add_ps(d, _mm_load_ps(p + i + 12));
        }
        __m128 s = _mm_add_ps(_mm_add_ps(a, c), _mm_add_ps(b, d));
        s = _mm_add_ps(s, _mm_movehl_ps(s, s));
        s = _mm_add_ss(s, _mm_shuffle_ps(s, s, 1));
        float sum = _mm_cvtss_f32(s);
        benchmark::DoNotOptimize(sum);
    }
    setBytes(state, static_cast<int64_t>(n));
}

// Thresholding is idempotent, so every pass first restores the random data with a cached copy; the
// copy-only row shows what that refresh costs.
template <ThresholdFn* Fn, Lum32s RelOp>
void thresholdTier(benchmark::State& state)
{
    const auto n = static_cast<Lum32s>(state.range(0));
    Floats pristine(n);
    Floats work(n);
    for (auto _ : state) {
        std::memcpy(work.data(), pristine.data(), static_cast<size_t>(n) * 4);
        Fn(work.data(), n, 0.0f, RelOp);
        benchmark::ClobberMemory();
    }
    setBytes(state, n);
}

void thresholdCopyOnly(benchmark::State& state)
{
    const auto n = static_cast<size_t>(state.range(0));
    Floats pristine(n);
    Floats work(n);
    for (auto _ : state) {
        std::memcpy(work.data(), pristine.data(), n * 4);
        benchmark::ClobberMemory();
    }
    setBytes(state, static_cast<int64_t>(n));
}

void thresholdStdMax(benchmark::State& state)
{
    const auto n = static_cast<size_t>(state.range(0));
    Floats pristine(n);
    Floats work(n);
    for (auto _ : state) {
        std::memcpy(work.data(), pristine.data(), n * 4);
        float* p = work.data();
        for (size_t i = 0; i < n; ++i) p[i] = std::max(p[i], 0.0f);
        benchmark::ClobberMemory();
    }
    setBytes(state, static_cast<int64_t>(n));
}

constexpr int64_t kSizes[] = {1 << 10, 1 << 16, 1 << 20};

void sizes(benchmark::internal::Benchmark* b)
{
    for (int64_t n : kSizes) b->Arg(n);
}

}  // namespace

BENCHMARK(sumTier<lum::px::lumsSum_32f, 0>)->Name("Sum/px")->Apply(sizes);
BENCHMARK(sumTier<lum::a6::lumsSum_32f, 0>)->Name("Sum/a6/accurate")->Apply(sizes);
BENCHMARK(sumTier<lum::w7::lumsSum_32f, 0>)->Name("Sum/w7/accurate")->Apply(sizes);
BENCHMARK(sumTier<lum::t7::lumsSum_32f, 0>)->Name("Sum/t7/accurate")->Apply(sizes);
BENCHMARK(sumTier<lum::a6::lumsSum_32f, 1>)->Name("Sum/a6/fast")->Apply(sizes);
BENCHMARK(sumTier<lum::w7::lumsSum_32f, 1>)->Name("Sum/w7/fast")->Apply(sizes);
BENCHMARK(sumTier<lum::t7::lumsSum_32f, 1>)->Name("Sum/t7/fast")->Apply(sizes);
BENCHMARK(sumAccumulate)->Name("Sum/std::accumulate<float>")->Apply(sizes);
BENCHMARK(sumSse)->Name("Sum/sse-baseline")->Apply(sizes);

BENCHMARK(thresholdTier<lum::px::lumsThreshold_32f_I, 0>)->Name("Threshold/px/less")->Apply(sizes);
BENCHMARK(thresholdTier<lum::a6::lumsThreshold_32f_I, 0>)->Name("Threshold/a6/less")->Apply(sizes);
BENCHMARK(thresholdTier<lum::w7::lumsThreshold_32f_I, 0>)->Name("Threshold/w7/less")->Apply(sizes);
BENCHMARK(thresholdTier<lum::t7::lumsThreshold_32f_I, 0>)->Name("Threshold/t7/less")->Apply(sizes);
BENCHMARK(thresholdTier<lum::px::lumsThreshold_32f_I, 4>)->Name("Threshold/px/greater")->Apply(sizes);
BENCHMARK(thresholdTier<lum::t7::lumsThreshold_32f_I, 4>)->Name("Threshold/t7/greater")->Apply(sizes);
BENCHMARK(thresholdStdMax)->Name("Threshold/std::max-loop")->Apply(sizes);
BENCHMARK(thresholdCopyOnly)->Name("Threshold/copy-only")->Apply(sizes);

BENCHMARK_MAIN();
