// The px formulas of the per-MCU family as kernels: the px tier runs them, and the w7 and t7 tiers
// run them where their alignment rules fall back to px. Defined once, in mcu_px.cpp, for every
// layout and form of the export list.
#pragma once

#include "jpeg/mcu_layout.h"

namespace lum::mcu {

template <typename Layout, typename F>
void scalarToPlanes(const Lum8u* src, Lum32s step, Lum16s* const* planes);

template <typename Layout, typename F>
void scalarToPixels(const Lum16s* const* planes, Lum8u* dst, Lum32s step);

}  // namespace lum::mcu
