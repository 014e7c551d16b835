// Resize, tier w7: positions in 64-bit floats, row sums and Lanczos coefficients four lanes at a time.
#include "frame/alloc.h"
#include "frame/dispatch.h"
#include "resize/resize_driver.h"
#include "resize/resize_vector.h"
#include "signal/kernels.h"

#include <emmintrin.h>

namespace lum::w7 {
namespace {

struct Tier : resize::TierMemory<px::lumsMalloc_32f, lumMalloc16, lumMove16, lumMove32, lumZeroBytes>,
              resize::PackedRowSums<Tier> {
    using Real = double;
    static constexpr Lum32s kRowBytes = 16;
    static __m128i load16(const Lum8u* s) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(s)); }
    static void lanczosWeights(const Lum32f* f, Lum32s n, Lum32f* out)
    {
        resize::lanczosWeightsPacked<Tier>(f, n, out);
    }
};

}  // namespace

// Shared with t7 through the dispatch row.
LumStatus lumiResizeSqrPixelGetBufSize(LumSize dstSize, Lum32s nChannel, Lum32s interpolation,
                                       Lum32s* pBufferSize)
{
    return resize::resizeBufSize<Tier>(dstSize, nChannel, interpolation, pBufferSize);
}

LUM_RESIZE_VARIANTS(Tier)

}  // namespace lum::w7
