// The inner loops of the row kernels that carry most of the work, in SSE2 (the x86-64 baseline that
// every tier has). They compute the same values as the scalar formulas of resize_math.h: exactly for
// nearest and linear, within the rounding of float row buffers for cubic and Lanczos.
#pragma once

#include "resize/resize_math.h"

#include <lum.h>

#include <cstdint>

namespace lum::rowvec {

// d[j] = s[offsets[j]]
void gatherBytes(const Lum8u* s, const Lum32s* offsets, Lum8u* d, Lum32s n);

// Packed three-channel pixels: d[3j + c] = s[offsets[j] + c]
void gatherPixels3(const Lum8u* s, const Lum32s* offsets, Lum8u* d, Lum32s n);

// Horizontal linear filter of one source row, one channel and packed three channels.
void linearHorizontalC1(const Lum8u* s, const Lum32s* offsets, const Lum16u* weights, Lum16u* out, Lum32s n);
void linearHorizontalC3(const Lum8u* s, const Lum32s* offsets, const Lum16u* weights, Lum16u* out, Lum32s n);

// Vertical linear blend of n samples.
void linearVertical(const Lum16u* upper, const Lum16u* lower, uint32_t wy, Lum8u* d, Lum32s n);

// Horizontal cubic filter of one source row, one channel and packed three channels.
void cubicHorizontalC1(const Lum8u* s, const Lum32s* offsets, const Lum32f* fractions, Lum32f* out, Lum32s n);
void cubicHorizontalC3(const Lum8u* s, const Lum32s* offsets, const Lum32f* fractions, Lum32f* out, Lum32s n);

// Vertical cubic blend of n samples of the four rows.
void cubicVertical(Lum32f* const* rows, const resize::CubicCoefficients& k, Lum8u* d, Lum32s n);

// Vertical Lanczos blend of n samples of the six rows with the row's coefficients.
void lanczosVertical(Lum32f* const* rows, const Lum32f* coefficients, Lum8u* d, Lum32s n);

}  // namespace lum::rowvec
