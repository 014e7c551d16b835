// Per-MCU colour conversion, sampling, split and join, tier w7: 128-bit kernels with aligned access
// to the planes named below; a call with any of them off a 16-byte boundary runs the px formulas.
#include "frame/dispatch.h"
#include "jpeg/mcu_vector.h"

namespace lum::w7 {
namespace {

struct McuTier {
    using V = mcu::Sse<McuTier>;

    // Bit k: plane k is written with aligned stores. The 4:1:1 colour kernel stores luma aligned, the
    // CMYK kernels luma and K, and in 4:4:4 chroma too; SampleDown needs nothing aligned.
    template <typename Layout, typename F>
    static constexpr unsigned alignedOutputs()
    {
        if constexpr (std::is_same_v<Layout, mcu::Cmyk>)
            return std::is_same_v<F, mcu::Form444> ? 0b1111u : 0b1001u;
        else if constexpr (Layout::kColour)
            return std::is_same_v<F, mcu::Form411> ? 0b0001u : 0u;
        else
            return 0u;
    }

    template <typename Layout, typename F>
    static void toPlanes(const Lum8u* src, Lum32s step, Lum16s* const* planes)
    {
        if constexpr (std::is_same_v<Layout, mcu::Packed422>) {
            mcu::splitByAlignment<V>(src, step, planes);
        } else {
            constexpr unsigned kAligned = alignedOutputs<Layout, F>();
            if (mcu::planesAligned(planes, Layout::kPlanes, kAligned))
                mcu::vectorToPlanes<V, Layout, F, kAligned>(src, step, planes);
            else
                mcu::scalarToPlanes<Layout, F>(src, step, planes);
        }
    }

    // Every planes-to-pixels kernel loads all planes aligned.
    template <typename Layout, typename F>
    static void toPixels(const Lum16s* const* planes, Lum8u* dst, Lum32s step)
    {
        constexpr unsigned kAll = (1u << Layout::kPlanes) - 1;
        if constexpr (std::is_same_v<Layout, mcu::Packed422>)
            mcu::joinByAlignment<V>(planes, dst, step);
        else if (mcu::planesAligned(planes, Layout::kPlanes, kAll))
            mcu::vectorToPixels<V, Layout, F, kAll, false>(planes, dst, step);
        else
            mcu::scalarToPixels<Layout, F>(planes, dst, step);
    }
};

}  // namespace

LUM_MCU_EXPORTS(LUM_MCU_DEFINE_VARIANT)

}  // namespace lum::w7
