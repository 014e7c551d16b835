// Per-MCU colour conversion, sampling, split and join, tier a6: every kernel on 64-bit registers,
// with the vector formulas, for any alignment of any argument.
#include "frame/dispatch.h"
#include "jpeg/mcu_vector.h"

namespace lum::a6 {
namespace {

struct McuTier {
    using V = mcu::Mmx<McuTier>;

    template <typename Layout, typename F>
    static void toPlanes(const Lum8u* src, Lum32s step, Lum16s* const* planes)
    {
        if constexpr (std::is_same_v<Layout, mcu::Packed422>)
            mcu::vectorSplit<V, false>(src, step, planes);
        else
            mcu::vectorToPlanes<V, Layout, F, 0>(src, step, planes);
    }
    // SampleUp 4:2:2 and 4:1:1 interleave the third component from its unclamped sum.
    template <typename Layout, typename F>
    static void toPixels(const Lum16s* const* planes, Lum8u* dst, Lum32s step)
    {
        if constexpr (std::is_same_v<Layout, mcu::Packed422>)
            mcu::vectorJoin<V, false, false>(planes, dst, step);
        else
            mcu::vectorToPixels<V, Layout, F, 0, !Layout::kColour && F::kFx == 2>(planes, dst, step);
    }
};

}  // namespace

LUM_MCU_EXPORTS(LUM_MCU_DEFINE_VARIANT)

}  // namespace lum::a6
