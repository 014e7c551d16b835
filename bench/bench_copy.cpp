// lumsCopy_8u and lumsZero_8u in every tier beside glibc memcpy and memset, in bytes per second, on
// page-aligned buffers from 64 bytes to 64 MiB. Two more t7 rows run its kernels against processors
// answered from memory: t7_no_cpuid takes this machine's paths without executing CPUID, t7_streaming
// sees a known cache and takes the non-temporal large paths.
#include "frame/dispatch.h"
#include "signal/kernels.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

using CopyFn = LumStatus (*)(const Lum8u*, Lum8u*, Lum32s);
using ZeroFn = LumStatus (*)(Lum8u*, Lum32s);

// Called through a pointer like the tier variants, so that both sides pay for one call.
LumStatus glibcCopy(const Lum8u* pSrc, Lum8u* pDst, Lum32s len)
{
    std::memcpy(pDst, pSrc, static_cast<size_t>(len));
    return lumStsNoErr;
}

LumStatus glibcZero(Lum8u* pDst, Lum32s len)
{
    std::memset(pDst, 0, static_cast<size_t>(len));
    return lumStsNoErr;
}

// A processor answered from memory: no CPUID instruction is executed. `vendor` and the leaf 2 EAX
// decide what the cache size read sees.
class FakeProcessor final : public lum::CpuidSource {
public:
    FakeProcessor(const char (&vendor)[13], uint32_t leaf2Eax) : leaf2Eax_(leaf2Eax)
    {
        std::memcpy(vendor_, vendor, 12);
    }
    bool hasCpuid() const override { return true; }
    lum::CpuidRegs leaf(uint32_t leaf, uint32_t) const override
    {
        lum::CpuidRegs r{};
        if (leaf == 0) {
            r.eax = 2;
            std::memcpy(&r.ebx, vendor_, 4);
            std::memcpy(&r.edx, vendor_ + 4, 4);
            std::memcpy(&r.ecx, vendor_ + 8, 4);
        } else if (leaf == 2) {
            r.eax = leaf2Eax_;
        }
        return r;
    }

private:
    char vendor_[12];
    uint32_t leaf2Eax_;
};

// The primary vendor with a 256 KiB cache on one core: large copies and clears stream.
const FakeProcessor kKnownCache(lum::kPrimaryVendor, 0x00004201);
// Another vendor: the temporal paths that this machine takes, without the cost of CPUID itself.
const FakeProcessor kOtherVendor("OtherVendorX", 0x00004201);

template <const FakeProcessor& Cpu>
LumStatus t7Copy(const Lum8u* pSrc, Lum8u* pDst, Lum32s len)
{
    lum::t7::lumCopyBytes(pSrc, pDst, static_cast<size_t>(len), Cpu);
    return lumStsNoErr;
}

template <const FakeProcessor& Cpu>
LumStatus t7Zero(Lum8u* pDst, Lum32s len)
{
    lum::t7::lumZeroBytes(pDst, static_cast<size_t>(len), Cpu);
    return lumStsNoErr;
}

struct FreeDeleter {
    void operator()(Lum8u* p) const { std::free(p); }
};
using Buffer = std::unique_ptr<Lum8u, FreeDeleter>;

// A page-aligned buffer with every page already written, so that no page fault is timed.
Buffer pageAligned(size_t len, int value)
{
    const size_t rounded = (len + 4095) / 4096 * 4096;
    Buffer buffer(static_cast<Lum8u*>(std::aligned_alloc(4096, rounded)));
    std::memset(buffer.get(), value, rounded);
    return buffer;
}

void copyBytes(benchmark::State& state, CopyFn copy)
{
    const auto len = static_cast<Lum32s>(state.range(0));
    const Buffer src = pageAligned(static_cast<size_t>(len), 0x5A);
    const Buffer dst = pageAligned(static_cast<size_t>(len), 0);
    for (auto _ : state) {
        benchmark::DoNotOptimize(copy(src.get(), dst.get(), len));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(len));
}

void zeroBytes(benchmark::State& state, ZeroFn zero)
{
    const auto len = static_cast<Lum32s>(state.range(0));
    const Buffer dst = pageAligned(static_cast<size_t>(len), 0x5A);
    for (auto _ : state) {
        benchmark::DoNotOptimize(zero(dst.get(), len));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(len));
}

void sizes(benchmark::internal::Benchmark* b)
{
    for (const int64_t size :
         {64, 256, 1 << 10, 4 << 10, 16 << 10, 64 << 10, 256 << 10, 1 << 20, 4 << 20, 16 << 20, 64 << 20})
        b->Arg(size);
}

// Where t7 reads the cache size and the streaming paths can start.
void largeSizes(benchmark::internal::Benchmark* b)
{
    for (const int64_t size : {256 << 10, 1 << 20, 4 << 20, 16 << 20, 64 << 20}) b->Arg(size);
}

BENCHMARK_CAPTURE(copyBytes, memcpy, glibcCopy)->Apply(sizes);
BENCHMARK_CAPTURE(copyBytes, px, lum::px::lumsCopy_8u)->Apply(sizes);
BENCHMARK_CAPTURE(copyBytes, a6, lum::a6::lumsCopy_8u)->Apply(sizes);
BENCHMARK_CAPTURE(copyBytes, w7, lum::w7::lumsCopy_8u)->Apply(sizes);
BENCHMARK_CAPTURE(copyBytes, t7, lum::t7::lumsCopy_8u)->Apply(sizes);
BENCHMARK_CAPTURE(copyBytes, t7_no_cpuid, t7Copy<kOtherVendor>)->Apply(largeSizes);
BENCHMARK_CAPTURE(copyBytes, t7_streaming, t7Copy<kKnownCache>)->Apply(largeSizes);

BENCHMARK_CAPTURE(zeroBytes, memset, glibcZero)->Apply(sizes);
BENCHMARK_CAPTURE(zeroBytes, px, lum::px::lumsZero_8u)->Apply(sizes);
BENCHMARK_CAPTURE(zeroBytes, a6, lum::a6::lumsZero_8u)->Apply(sizes);
BENCHMARK_CAPTURE(zeroBytes, w7, lum::w7::lumsZero_8u)->Apply(sizes);
BENCHMARK_CAPTURE(zeroBytes, t7, lum::t7::lumsZero_8u)->Apply(sizes);
BENCHMARK_CAPTURE(zeroBytes, t7_no_cpuid, t7Zero<kOtherVendor>)->Apply(largeSizes);
BENCHMARK_CAPTURE(zeroBytes, t7_streaming, t7Zero<kKnownCache>)->Apply(largeSizes);

}  // namespace

BENCHMARK_MAIN();
