// Per-MCU colour conversion, sampling, split and join, tier t7: the colour conversions and SampleUp
// run the 64-bit kernels of a6, for any alignment; SampleDown, split and join run the w7 kernels.
#include "frame/dispatch.h"
#include "jpeg/mcu_vector.h"

namespace lum::t7 {
namespace {

struct McuTier {
    using Narrow = mcu::Mmx<McuTier>;
    using Wide = mcu::Sse<McuTier>;

    template <typename Layout, typename F>
    static void toPlanes(const Lum8u* src, Lum32s step, Lum16s* const* planes)
    {
        if constexpr (std::is_same_v<Layout, mcu::Packed422>)
            mcu::splitByAlignment<Wide>(src, step, planes);
        else if constexpr (Layout::kColour)
            mcu::vectorToPlanes<Narrow, Layout, F, 0>(src, step, planes);
        else
            mcu::vectorToPlanes<Wide, Layout, F, 0>(src, step, planes);
    }

    template <typename Layout, typename F>
    static void toPixels(const Lum16s* const* planes, Lum8u* dst, Lum32s step)
    {
        if constexpr (std::is_same_v<Layout, mcu::Packed422>)
            mcu::joinByAlignment<Wide>(planes, dst, step);
        else
            mcu::vectorToPixels<Narrow, Layout, F, 0, !Layout::kColour && F::kFx == 2>(planes, dst, step);
    }
};

}  // namespace

LUM_MCU_EXPORTS(LUM_MCU_DEFINE_VARIANT)

}  // namespace lum::t7
