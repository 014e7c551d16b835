// In-place threshold of floats, tier w7: peeled to 16 bytes, eight per pass, then four, two and one.
#include "frame/dispatch.h"
#include "signal/threshold_vector.h"

namespace lum::w7 {
namespace {

struct ThresholdTier {
    static constexpr uintptr_t kPeelMask = 0xC;
    static constexpr bool kPeelOnlyIfFloatAligned = false;
    static constexpr bool kPrefetchAligned = false;
    static constexpr bool kPrefetchUnaligned = false;
    static constexpr bool kVectorTail = true;
};

}  // namespace

LumStatus lumsThreshold_32f_I(Lum32f* pSrcDst, Lum32s len, Lum32f level, Lum32s relOp)
{
    return thresholdvec::threshold<ThresholdTier>(pSrcDst, len, level, relOp);
}

}  // namespace lum::w7
