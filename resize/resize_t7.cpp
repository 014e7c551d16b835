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

struct Tier {
    using Real = long double;
    static constexpr Lum32s kRowBytes = 16;
    static __m128i load16(const Lum8u* s) { return _mm_lddqu_si128(reinterpret_cast<const __m128i*>(s)); }
    static Lum32f* allocFloat(Lum32s n) { return lumsMalloc_32f(n); }
    static Lum16u* alloc16(Lum32s n) { return reinterpret_cast<Lum16u*>(lumMalloc16Pf(n)); }
    static void release(void* p) { px::lumsFree(p); }
    static void move16(const void* s, void* d, Lum32s n) { lumMove16(s, d, n); }
    static void move32(const void* s, void* d, Lum32s n) { lumMove32(s, d, n); }
    static void zeroBytes(Lum8u* p, size_t n) { lumZeroBytes(p, n); }
    static void lanczosWeights(const Lum32f* f, Lum32s n, Lum32f* out)
    {
        resize::lanczosWeightsPacked<Tier>(f, n, out);
    }
    static void addRow(uint32_t* acc, const Lum8u* s, Lum32s n) { resize::addRowPacked<Tier>(acc, s, n); }
    static void addRow(Lum32f* acc, const Lum8u* s, Lum32s n)
    {
        resize::addRowFloatPacked<Tier, false>(acc, s, n, 1.0f);
    }
    static void addRowScaled(Lum32f* acc, const Lum8u* s, Lum32s n, Lum32f w)
    {
        resize::addRowFloatPacked<Tier, true>(acc, s, n, w);
    }
};

}  // namespace

LUM_RESIZE_VARIANTS(Tier)

}  // namespace lum::t7
