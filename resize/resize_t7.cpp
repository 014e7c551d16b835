// Resize, tier t7: positions in extended precision, row sums with the SSE3 unaligned load, Lanczos
// coefficients four lanes at a time, and the prefetching allocators.
#include "frame/alloc.h"
#include "frame/dispatch.h"
#include "resize/resize_driver.h"
#include "resize/resize_vector.h"
#include "signal/kernels.h"

#include <pmmintrin.h>

namespace lum::t7 {
namespace {

struct Tier : resize::TierMemory<lumsMalloc_32f, lumMalloc16Pf, lumMove16, lumMove32, lumZeroBytes>,
              resize::PackedRowSums<Tier> {
    using Real = long double;
    static constexpr Lum32s kRowBytes = 16;
    static __m128i load16(const Lum8u* s) { return _mm_lddqu_si128(reinterpret_cast<const __m128i*>(s)); }
    static void lanczosWeights(const Lum32f* f, Lum32s n, Lum32f* out)
    {
        resize::lanczosWeightsPacked<Tier>(f, n, out);
    }
};

}  // namespace

LUM_RESIZE_VARIANTS(Tier)

}  // namespace lum::t7
