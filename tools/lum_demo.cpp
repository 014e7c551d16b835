// lum-demo: what an application sees of the library through its public interface. Prints the
// tier the loader chose and the version records, then times the signal primitives.
#include <lum.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

// Runs `body` until a quarter second has passed and returns the bytes per second it moved.
template <typename Body>
double throughput(size_t bytesPerCall, Body body)
{
    size_t calls = 0;
    const auto start = Clock::now();
    auto elapsed = Clock::duration::zero();
    do {
        for (int i = 0; i < 16; ++i) body();
        calls += 16;
        elapsed = Clock::now() - start;
    } while (elapsed < std::chrono::milliseconds(250));
    return static_cast<double>(bytesPerCall * calls) / std::chrono::duration<double>(elapsed).count();
}

void printRecord(const char* family, const LumLibraryVersion* v)
{
    std::printf("  %-7s %-12s tier %-3s v%d.%d build %d.%d  \"%s\"  \"%s\"\n", family, v->libraryName, v->tierTag,
                v->versionMajor, v->versionMinor, v->buildSeries, v->buildNumber, v->versionText, v->buildDateText);
}

bool check(LumStatus status, const char* what)
{
    if (status == lumStsNoErr) return true;
    std::fprintf(stderr, "%s failed: %s\n", what, lumGetStatusString(status));
    return false;
}

}  // namespace

int main()
{
    // The loader already ran the probe; calling it again tells its status and stores the same tier.
    const LumStatus init = lumStaticInit();
    std::printf("lum-custom demo\n");
    std::printf("  probe: %d \"%s\"\n", init, lumGetStatusString(init));
    printRecord("image", lumiGetLibVersion());
    printRecord("signal", lumsGetLibVersion());

    std::printf("\n%-22s %10s %12s\n", "primitive", "bytes", "GB/s");
    const Lum32s sizes[] = {4096, 262144, 16 << 20};
    for (Lum32s bytes : sizes) {
        Lum8u* src = static_cast<Lum8u*>(lumMalloc(bytes));
        Lum8u* dst = static_cast<Lum8u*>(lumMalloc(bytes));
        if (src == nullptr || dst == nullptr) return EXIT_FAILURE;
        if (!check(lumsZero_8u(src, bytes), "lumsZero_8u")) return EXIT_FAILURE;

        const double copy = throughput(static_cast<size_t>(bytes), [&] { lumsCopy_8u(src, dst, bytes); });
        const double zero = throughput(static_cast<size_t>(bytes), [&] { lumsZero_8u(dst, bytes); });
        std::printf("%-22s %10d %12.2f\n", "lumsCopy_8u", bytes, copy / 1e9);
        std::printf("%-22s %10d %12.2f\n", "lumsZero_8u", bytes, zero / 1e9);
        lumFree(src);
        lumFree(dst);
    }

    const Lum32s count = 1 << 20;
    Lum32f* values = lumsMalloc_32f(count);
    if (values == nullptr) return EXIT_FAILURE;
    for (Lum32s i = 0; i < count; ++i) values[i] = static_cast<Lum32f>(i % 1000) * 0.001f;
    const size_t bytes = sizeof(Lum32f) * count;
    Lum32f sum = 0;
    const double accurate = throughput(bytes, [&] { lumsSum_32f(values, count, &sum, 0); });
    std::printf("%-22s %10zu %12.2f   sum %.6g\n", "lumsSum_32f accurate", bytes, accurate / 1e9, sum);
    const double fast = throughput(bytes, [&] { lumsSum_32f(values, count, &sum, 1); });
    std::printf("%-22s %10zu %12.2f   sum %.6g\n", "lumsSum_32f fast", bytes, fast / 1e9, sum);
    const double threshold = throughput(bytes, [&] { lumsThreshold_32f_I(values, count, 0.5f, 0); });
    std::printf("%-22s %10zu %12.2f\n", "lumsThreshold_32f_I", bytes, threshold / 1e9);
    lumsFree(values);

    // A failing call reports, never crashes.
    const LumStatus bad = lumsCopy_8u(nullptr, nullptr, -1);
    std::printf("\nlumsCopy_8u(null, null, -1): %d \"%s\"\n", bad, lumGetStatusString(bad));
    return EXIT_SUCCESS;
}
