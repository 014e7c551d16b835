// Resize, tier px: the portable reference. Positions in extended precision, scalar row sums, the
// tested Lanczos builder with a double argument.
#include "frame/alloc.h"
#include "frame/dispatch.h"
#include "resize/resize_driver.h"
#include "resize/resize_lanczos.h"
#include "signal/kernels.h"

namespace lum::px {
namespace {

struct Tier {
    using Real = long double;
    static Lum32f* allocFloat(Lum32s n) { return lumsMalloc_32f(n); }
    static Lum16u* alloc16(Lum32s n) { return reinterpret_cast<Lum16u*>(lumMalloc16(n)); }
    static void release(void* p) { lumsFree(p); }
    static void move16(const void* s, void* d, Lum32s n) { lumMove16(s, d, n); }
    static void move32(const void* s, void* d, Lum32s n) { lumMove32(s, d, n); }
    static void zeroBytes(Lum8u* p, size_t n) { lumZeroBytes(p, n); }
    static void lanczosWeights(const Lum32f* f, Lum32s n, Lum32f* out)
    {
        resize::lanczosWeightsTested<double>(f, n, out);
    }
    static void addRow(uint32_t* acc, const Lum8u* s, Lum32s n)
    {
        for (Lum32s i = 0; i < n; ++i) acc[i] += s[i];
    }
    static void addRow(Lum32f* acc, const Lum8u* s, Lum32s n)
    {
        for (Lum32s i = 0; i < n; ++i) acc[i] += Lum32f(s[i]);
    }
    static void addRowScaled(Lum32f* acc, const Lum8u* s, Lum32s n, Lum32f w)
    {
        for (Lum32s i = 0; i < n; ++i) acc[i] += Lum32f(s[i]) * w;
    }
};

}  // namespace

// Shared with a6 through the dispatch row.
LumStatus lumiResizeSqrPixelGetBufSize(LumSize dstSize, Lum32s nChannel, Lum32s interpolation, Lum32s* pBufferSize)
{
    return resize::resizeBufSize<Tier>(dstSize, nChannel, interpolation, pBufferSize);
}

LUM_RESIZE_VARIANTS(Tier)

}  // namespace lum::px
