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

struct Tier : resize::TierMemory<px::lumsMalloc_32f, lumMalloc16, lumMove16, lumMove32, lumZeroBytes>,
              resize::PackedRowSums<Tier> {
    using Real = long double;
    static constexpr Lum32s kRowBytes = 8;
    static void lanczosWeights(const Lum32f* f, Lum32s n, Lum32f* out)
    {
        resize::lanczosWeightsTested<float>(f, n, out);
    }
};

}  // namespace

LUM_RESIZE_VARIANTS(Tier)

}  // namespace lum::a6
