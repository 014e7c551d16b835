// Resize, tier px: the portable reference. Positions in extended precision, scalar row sums, the
// tested Lanczos builder with a double argument.
#include "frame/alloc.h"
#include "frame/dispatch.h"
#include "resize/resize_driver.h"
#include "resize/resize_lanczos.h"
#include "signal/kernels.h"

namespace lum::px {
namespace {

struct Tier : resize::TierMemory<lumsMalloc_32f, lumMalloc16, lumMove16, lumMove32, lumZeroBytes> {
    using Real = long double;
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
LumStatus lumiResizeSqrPixelGetBufSize(LumSize dstSize, Lum32s nChannel, Lum32s interpolation,
                                       Lum32s* pBufferSize)
{
    return resize::resizeBufSize<Tier>(dstSize, nChannel, interpolation, pBufferSize);
}

LUM_RESIZE_VARIANTS(Tier)

}  // namespace lum::px
