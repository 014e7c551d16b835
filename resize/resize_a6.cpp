// Resize, tier a6: positions in extended precision, row sums on 64-bit lanes, the tested Lanczos
// builder in 32-bit floats.
#include "frame/alloc.h"
#include "frame/dispatch.h"
#include "resize/resize_driver.h"
#include "resize/resize_lanczos.h"
#include "resize/resize_vector.h"
#include "signal/kernels.h"

namespace lum::a6 {
namespace {

struct Tier {
    using Real = long double;
    static constexpr Lum32s kRowBytes = 8;
    static Lum32f* allocFloat(Lum32s n) { return px::lumsMalloc_32f(n); }
    static Lum16u* alloc16(Lum32s n) { return reinterpret_cast<Lum16u*>(lumMalloc16(n)); }
    static void release(void* p) { px::lumsFree(p); }
    static void move16(const void* s, void* d, Lum32s n) { lumMove16(s, d, n); }
    static void move32(const void* s, void* d, Lum32s n) { lumMove32(s, d, n); }
    static void zeroBytes(Lum8u* p, size_t n) { lumZeroBytes(p, n); }
    static void lanczosWeights(const Lum32f* f, Lum32s n, Lum32f* out)
    {
        resize::lanczosWeightsTested<float>(f, n, out);
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

}  // namespace lum::a6
