// The inner loops of the row kernels.
#include "resize/row_vector.h"

#include <cstring>

namespace lum::rowvec {

void gatherBytes(const Lum8u* s, const Lum32s* offsets, Lum8u* d, Lum32s n)
{
    for (Lum32s j = 0; j < n; ++j) d[j] = s[offsets[j]];
}

void linearHorizontalC1(const Lum8u* s, const Lum32s* offsets, const Lum16u* weights, Lum16u* out, Lum32s n)
{
    for (Lum32s j = 0; j < n; ++j) {
        const Lum8u* p = s + offsets[j];
        out[j] = resize::linearHorizontal(p[0], p[1], weights[2 * j], weights[2 * j + 1]);
    }
}

void linearHorizontalC3(const Lum8u* s, const Lum32s* offsets, const Lum16u* weights, Lum16u* out, Lum32s n)
{
    for (Lum32s j = 0; j < n; ++j) {
        const Lum8u* p = s + offsets[j];
        for (int c = 0; c < 3; ++c)
            out[3 * j + c] = resize::linearHorizontal(p[c], p[3 + c], weights[2 * j], weights[2 * j + 1]);
    }
}

void linearVertical(const Lum16u* upper, const Lum16u* lower, uint32_t wy, Lum8u* d, Lum32s n)
{
    for (Lum32s k = 0; k < n; ++k) d[k] = resize::linearVertical(upper[k], lower[k], wy);
}

void cubicHorizontalC1(const Lum8u* s, const Lum32s* offsets, const Lum32f* fractions, Lum32f* out, Lum32s n)
{
    for (Lum32s j = 0; j < n; ++j) {
        const Lum8u* p = s + offsets[j];
        out[j] = static_cast<Lum32f>(
            resize::cubicValue(p[-1], p[0], p[1], p[2], resize::cubicCoefficients(fractions[j])));
    }
}

void cubicVertical(Lum32f* const* rows, const resize::CubicCoefficients& k, Lum8u* d, Lum32s n)
{
    for (Lum32s i = 0; i < n; ++i)
        d[i] = resize::roundClamp(resize::cubicValue(rows[0][i], rows[1][i], rows[2][i], rows[3][i], k));
}

void lanczosVertical(Lum32f* const* rows, const Lum32f* coefficients, Lum8u* d, Lum32s n)
{
    for (Lum32s i = 0; i < n; ++i) {
        double sum = 0.0;
        for (int m = 0; m < 6; ++m) sum += static_cast<double>(coefficients[m]) * rows[m][i];
        d[i] = resize::roundClamp(sum);
    }
}

}  // namespace lum::rowvec
