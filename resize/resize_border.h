// resizeBorderPass of the region geometry: the pixels of the output rectangle whose taps leave the
// image, each evaluated by the formula of its mode with taps clamped by the edge rule. Templated on
// the tier, so that the instantiations of different instruction sets never merge.
#pragma once

#include "resize/resize_common.h"
#include "resize/resize_math.h"

#include <lum.h>

#include <cstddef>

namespace lum::resize {

// The output rectangle, its tables from entry 0 and the border counts of the mode.
struct BorderJob {
    const Lum8u* src;  // sample (0,0) of the image
    Lum8u* dst;        // first sample of the output rectangle
    Lum32s srcStep;
    Lum32s dstStep;
    Lum32s imageWidth;
    Lum32s imageHeight;
    Lum32s width;  // output rectangle
    Lum32s height;
    const Lum32s* rowOffsets;
    const Lum32s* colOffsets;  // the column itself: the region geometry has one channel
    const Lum16u* yWeights;    // linear
    const Lum16u* xWeights;
    const Lum32f* yValues;  // cubic: fractions; Lanczos: six coefficients per entry
    const Lum32f* xValues;
    Lum32s top;  // rows 0 to top-1 and height-bottom to height-1 are border rows
    Lum32s bottom;
    Lum32s left;  // columns 0 to left-1 and width-right to width-1 of the other rows
    Lum32s right;

    const Lum8u* row(Lum32s index) const { return src + static_cast<ptrdiff_t>(index) * srcStep; }
    Lum8u* out(Lum32s i, Lum32s j) const { return dst + static_cast<ptrdiff_t>(i) * dstStep + j; }
    // The floor index of a destination row; with a step of 0 every row is the first row's memory.
    Lum32s rowIndex(Lum32s i) const { return srcStep != 0 ? rowOffsets[i] / srcStep : 0; }
};

// Top rows across the full width, then the left and right columns of the interior rows, then the
// bottom rows across the full width.
template <typename Tier, typename Pixel>
void forEachBorderPixel(const BorderJob& b, Pixel pixel)
{
    auto fullRows = [&](Lum32s from, Lum32s to) {
        for (Lum32s i = from; i < to; ++i)
            for (Lum32s j = 0; j < b.width; ++j) pixel(i, j);
    };
    fullRows(0, b.top);
    for (Lum32s i = b.top; i < b.height - b.bottom; ++i) {
        for (Lum32s j = 0; j < b.left; ++j) pixel(i, j);
        for (Lum32s j = b.width - b.right; j < b.width; ++j) pixel(i, j);
    }
    fullRows(b.height - b.bottom, b.height);
}

// Linear, one Q14 rounding: the top and bottom rows blend along the image's first or last row, the
// left and right columns down the image's first or last column.
template <typename Tier>
void linearBorderPass(const BorderJob& b)
{
    const Lum32s n = b.imageWidth;
    auto alongRow = [&](const Lum8u* row, Lum32s j) {
        const Lum32s x = b.colOffsets[j];
        const Lum32s x0 = x < 0 ? 0 : x > n - 2 ? n - 1 : x;
        const Lum32s x1 = x < 0 ? 0 : x > n - 2 ? n - 1 : x + 1;
        return linearBorder(row[x0], row[x1], b.xWeights[2 * j], b.xWeights[2 * j + 1]);
    };
    auto downColumn = [&](Lum32s i, Lum32s x) {
        const Lum8u* upper = b.src + b.rowOffsets[i] + x;
        const uint32_t wy = b.yWeights[i];
        return linearBorder(upper[0], upper[b.srcStep], kQ14 - wy, wy);
    };
    forEachBorderPixel<Tier>(b, [&](Lum32s i, Lum32s j) {
        Lum8u v;
        if (i < b.top)
            v = alongRow(b.row(0), j);
        else if (i >= b.height - b.bottom)
            v = alongRow(b.row(b.imageHeight - 1), j);
        else
            v = downColumn(i, j < b.left ? 0 : n - 1);
        *b.out(i, j) = v;
    });
}

// Cubic and Lanczos: Taps rows and columns around the floor index, Before of them ahead of it, each
// clamped by the edge rule; the row sums are kept as floats like the interior's row buffers.
template <typename Tier, int Taps, int Before, typename Horizontal, typename Vertical>
void separableBorderPass(const BorderJob& b, Horizontal horizontal, Vertical vertical)
{
    forEachBorderPixel<Tier>(b, [&](Lum32s i, Lum32s j) {
        const Lum32s qy = b.rowIndex(i);
        const Lum32s qx = b.colOffsets[j];
        Lum32s columns[Taps];
        for (int k = 0; k < Taps; ++k) columns[k] = edgeTap(qx, k - Before, b.imageWidth);
        Lum32f sums[Taps];
        for (int k = 0; k < Taps; ++k)
            sums[k] = horizontal(b.row(edgeTap(qy, k - Before, b.imageHeight)), columns, j);
        *b.out(i, j) = vertical(sums, i);
    });
}

template <typename Tier>
void cubicBorderPass(const BorderJob& b)
{
    separableBorderPass<Tier, 4, 1>(
        b,
        [&](const Lum8u* row, const Lum32s* x, Lum32s j) {
            const CubicCoefficients k = cubicCoefficients(b.xValues[j]);
            return static_cast<Lum32f>(cubicValue(row[x[0]], row[x[1]], row[x[2]], row[x[3]], k));
        },
        [&](const Lum32f* h, Lum32s i) {
            return roundClamp(cubicValue(h[0], h[1], h[2], h[3], cubicRowCoefficients(b.yValues[i])));
        });
}

template <typename Tier>
void lanczosBorderPass(const BorderJob& b)
{
    separableBorderPass<Tier, 6, 2>(
        b,
        [&](const Lum8u* row, const Lum32s* x, Lum32s j) {
            const Lum32f* c = b.xValues + 6 * j;
            double sum = 0.0;
            for (int k = 0; k < 6; ++k) sum += static_cast<double>(c[k]) * row[x[k]];
            return static_cast<Lum32f>(sum);
        },
        [&](const Lum32f* h, Lum32s i) {
            const Lum32f* c = b.yValues + 6 * i;
            double sum = 0.0;
            for (int k = 0; k < 6; ++k) sum += static_cast<double>(c[k]) * h[k];
            return roundClamp(sum);
        });
}

}  // namespace lum::resize
