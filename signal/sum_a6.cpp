// Sum of floats, tier a6: the shared vector routines, with a prefetch in the aligned fast loop.
#include "frame/dispatch.h"
#include "signal/sum_vector.h"

namespace lum::a6 {
namespace {

struct SumTier {
    static constexpr bool kSumPrefetch = true;
};

}  // namespace

LumStatus lumsSum_32f(const Lum32f* pSrc, Lum32s len, Lum32f* pSum, Lum32s hint)
{
    return sumvec::sum<SumTier>(pSrc, len, pSum, hint);
}

}  // namespace lum::a6
