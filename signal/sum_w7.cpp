// Sum of floats, tier w7: the shared vector routines; this tier has no prefetch.
#include "frame/dispatch.h"
#include "signal/sum_vector.h"

namespace lum::w7 {
namespace {

struct SumTier {
    static constexpr bool kSumPrefetch = false;
};

}  // namespace

LumStatus lumsSum_32f(const Lum32f* pSrc, Lum32s len, Lum32f* pSum, Lum32s hint)
{
    return sumvec::sum<SumTier>(pSrc, len, pSum, hint);
}

}  // namespace lum::w7
