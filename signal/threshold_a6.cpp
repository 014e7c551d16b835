// In-place threshold of floats, tier a6: a float-aligned buffer is peeled to 32 bytes and
// prefetched; any other runs unaligned from its first element; the tail goes one element at a time.
#include "frame/dispatch.h"
#include "signal/threshold_vector.h"

namespace lum::a6 {
namespace {

struct ThresholdTier {
    static constexpr uintptr_t kPeelMask = 0x1C;
    static constexpr bool kPeelOnlyIfFloatAligned = true;
    static constexpr bool kPrefetchAligned = true;
    static constexpr bool kPrefetchUnaligned = false;
    static constexpr bool kVectorTail = false;
};

}  // namespace

LumStatus lumsThreshold_32f_I(Lum32f* pSrcDst, Lum32s len, Lum32f level, Lum32s relOp)
{
    return thresholdvec::threshold<ThresholdTier>(pSrcDst, len, level, relOp);
}

}  // namespace lum::a6
