// The interior row kernels of every resize mode, one table shared by all four tiers: the drivers of a
// tier build the position tables and then hand the interior to an entry of resizeRowTable.
#pragma once

#include <lum.h>

namespace lum {

// One interior of one resize call: where it reads and writes, and the tables from its first entry.
struct ResizeJob {
    const Lum8u* src;  // source base: sample (0,0) of the image, or the region's corner
    Lum8u* dst;        // first destination sample of the interior
    Lum32s srcStep;
    Lum32s dstStep;
    Lum32s width;  // interior size in pixels
    Lum32s height;
    const Lum32s* rowOffsets;  // source row times srcStep, one per destination row
    const Lum32s* colOffsets;  // source column times pixelStep, one per destination column
    const Lum16u* yWeights;    // linear: Q14 share of the lower row
    const Lum16u* xWeights;    // linear: Q14 pairs, left share then right share
    const Lum32f* yValues;     // cubic: fractions; Lanczos: six coefficients per row
    const Lum32f* xValues;     // the same per column
    Lum16u* buffers16[2];      // linear row buffers, each width * channels long
    Lum32f* buffers32[6];      // cubic (four) and Lanczos (six) row buffers, each width * channels long
    Lum32s pixelStep;          // samples between pixels
    Lum32s channels;           // samples produced per pixel
    // The clamped Lanczos kernel of the ends-to-ends geometry only.
    Lum32s originX;  // srcRoi.x and srcRoi.y
    Lum32s originY;
    Lum32s availX;  // image width and height minus the origin
    Lum32s availY;
    bool upscale;  // yFactor >= 1.0: the source row advances by at most one per destination row
};

using RowKernel = void (*)(const ResizeJob& job);

// 8-bit samples, interleaved. The multi-channel members serve three and four channels through
// `channels`; nearest keeps a four-channel member of its own.
struct ResizeRowTable {
    RowKernel nearest[3];         // three channels, one channel, four channels
    RowKernel linear[2];          // multi-channel, one channel
    RowKernel cubic[2];           // multi-channel, one channel
    RowKernel lanczos[2];         // region geometry: every tap inside the image
    RowKernel lanczosClamped[2];  // ends-to-ends geometry: taps clamped to the image
};

extern const ResizeRowTable resizeRowTable;

inline int rowLayout(Lum32s channels) { return channels == 1 ? 1 : 0; }
inline int nearestLayout(Lum32s channels) { return channels == 1 ? 1 : channels == 4 ? 2 : 0; }

}  // namespace lum
