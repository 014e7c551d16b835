// The drivers of the resize exports, one body for all tiers, templated on a tier policy that supplies
// the width of the position arithmetic (Real), the allocators, the move and clear kernels, the Lanczos
// coefficient builder and the super-sampling row sums. The interior work goes to resizeRowTable.
#pragma once

#include "frame/alloc.h"
#include "frame/dispatch.h"
#include "resize/resize_border.h"
#include "resize/resize_common.h"
#include "resize/resize_rows.h"
#include "resize/resize_super.h"
#include "resize/resize_tables.h"

#include <lum.h>

#include <cstddef>
#include <cstdint>

namespace lum::resize {

// The memory side of a tier policy: its allocators (plain or prefetching), its move and clear
// kernels, and the one release.
template <Lum32f* (*AllocFloat)(Lum32s), Lum16s* (*Alloc16)(Lum32s),
          LumStatus (*Move16)(const void*, void*, Lum32s), LumStatus (*Move32)(const void*, void*, Lum32s),
          void (*Zero)(Lum8u*, size_t)>
struct TierMemory {
    static Lum32f* allocFloat(Lum32s n) { return AllocFloat(n); }
    static Lum16u* alloc16(Lum32s n) { return reinterpret_cast<Lum16u*>(Alloc16(n)); }
    static void release(void* p) { px::lumsFree(p); }
    static void move16(const void* s, void* d, Lum32s n) { Move16(s, d, n); }
    static void move32(const void* s, void* d, Lum32s n) { Move32(s, d, n); }
    static void zeroBytes(Lum8u* p, size_t n) { Zero(p, n); }
};

template <typename Tier>
LumStatus resizeBufSize(LumSize dstSize, Lum32s nChannel, Lum32s interpolation, Lum32s* pBufferSize)
{
    const LumStatus status = checkBufSizeArgs(dstSize, nChannel, interpolation, pBufferSize);
    if (status != lumStsNoErr) return status;
    *pBufferSize = scratchSize(dstSize, nChannel, interpolation);
    return lumStsNoErr;
}

// ---- Region geometry: lumiResizeSqrPixel_8u_C1R ------------------------------------------------

// Runs the border pass of a mode over the output rectangle.
template <typename Tier>
void resizeBorderPass(Lum32s mode, const BorderJob& border)
{
    if (mode == kLinear)
        linearBorderPass<Tier>(border);
    else if (mode == kCubic)
        cubicBorderPass<Tier>(border);
    else
        lanczosBorderPass<Tier>(border);
}

// The interior kernel of a mode, with the tables starting at the first interior row and column. The
// weight and fraction tables of modes 2 and 4 are moved down to start there.
template <typename Tier>
void runInterior(Lum32s mode, ResizeJob job, const AxisTables& rows, const AxisTables& cols,
                 const Lum32f* rowCoef, const Lum32f* colCoef, const BorderJob& border)
{
    const Lum32s top = border.top, left = border.left;
    job.dst = border.dst + static_cast<ptrdiff_t>(top) * border.dstStep + left * job.pixelStep;
    job.width = border.width - border.left - border.right;
    job.height = border.height - border.top - border.bottom;
    job.rowOffsets = rows.offsets + top;
    job.colOffsets = cols.offsets + left;
    if (job.width <= 0 || job.height <= 0) return;
    if (mode == kLinear) {
        if (top > 0) Tier::move16(rows.weights + top, rows.weights, job.height);
        if (left > 0) Tier::move32(cols.weights + 2 * left, cols.weights, job.width);
        job.yWeights = rows.weights;
        job.xWeights = cols.weights;
        resizeRowTable.linear[rowLayout(job.channels)](job);
    } else if (mode == kCubic) {
        if (top > 0) Tier::move32(rows.fractions + top, rows.fractions, job.height);
        if (left > 0) Tier::move32(cols.fractions + left, cols.fractions, job.width);
        job.yValues = rows.fractions;
        job.xValues = cols.fractions;
        resizeRowTable.cubic[rowLayout(job.channels)](job);
    } else {
        job.yValues = rowCoef + 6 * top;
        job.xValues = colCoef + 6 * left;
        resizeRowTable.lanczos[rowLayout(job.channels)](job);
    }
}

// Out of line: each tier's export is one call into the shared body, and the px exports carry none of
// the block moves that compilers generate for the job records.
template <typename Tier>
[[gnu::noinline]] LumStatus resizeRegionDriver(const Lum8u* pSrc, LumSize srcSize, Lum32s srcStep,
                                               LumRect srcRoi, Lum8u* pDst, Lum32s dstStep, LumRect dstRoi,
                                               double xFactor, double yFactor, double xShift, double yShift,
                                               Lum32s interpolation, Lum8u* pBuffer)
{
    constexpr Lum32s kPixelStep = 1;
    constexpr Lum32s kChannels = 1;
    const LumStatus status =
        checkRegionArgs(pSrc, srcSize, srcRoi, pDst, dstRoi, xFactor, yFactor, interpolation, pBuffer);
    if (status != lumStsNoErr) return status;
    const Lum32s mode = lowerMode(interpolation, srcSize);
    OutputRect rect;
    if (!outputRect(srcSize, srcRoi, dstRoi, xFactor, yFactor, xShift, yShift, rect))
        return lumStsNoOperation;
    const Lum32s width = rect.width(), height = rect.height();
    if (width == 0 || height == 0) return lumStsNoErr;

    ScratchCarver scratch(pBuffer);
    AxisTables cols{scratch.take<Lum32s>(4 * size_t(width)), nullptr, nullptr, kPixelStep, true};
    AxisTables rows{scratch.take<Lum32s>(4 * size_t(height)), nullptr, nullptr, srcStep, false};
    const RegionAxis<Tier> yAxis(yFactor, yShift, rect.y0, height, srcSize.height);
    const RegionAxis<Tier> xAxis(xFactor, xShift, rect.x0, width, srcSize.width);

    ResizeJob job{};
    job.src = pSrc;
    job.srcStep = srcStep;
    job.dstStep = dstStep;
    job.pixelStep = kPixelStep;
    job.channels = kChannels;
    Lum8u* out = pDst + static_cast<ptrdiff_t>(rect.y0) * dstStep + rect.x0 * kPixelStep;
    if (mode == kNearest) {
        yAxis.buildNearest(rows);
        xAxis.buildNearest(cols);
        job.dst = out;
        job.width = width;
        job.height = height;
        job.rowOffsets = rows.offsets;
        job.colOffsets = cols.offsets;
        resizeRowTable.nearest[nearestLayout(kChannels)](job);
        return lumStsNoErr;
    }

    if (mode == kLinear) {
        cols.weights = scratch.take<Lum16u>(4 * size_t(width));
        rows.weights = scratch.take<Lum16u>(2 * size_t(height));
    } else {
        cols.fractions = scratch.take<Lum32f>(4 * size_t(width));
        rows.fractions = scratch.take<Lum32f>(4 * size_t(height));
    }
    const BorderCounts cy = yAxis.build(mode, rows);
    const BorderCounts cx = xAxis.build(mode, cols);
    const size_t samples = size_t(width - cx.start - cx.end) * kChannels;
    if (mode == kLinear) {
        for (Lum16u*& b : job.buffers16) b = scratch.take<Lum16u>(2 * samples);
    } else {
        for (int b = 0; b < (mode == kCubic ? 4 : 6); ++b)
            job.buffers32[b] = scratch.take<Lum32f>(4 * samples);
    }
    const Lum32f* colValues = cols.fractions;
    const Lum32f* rowValues = rows.fractions;
    Lum32f* colCoef = nullptr;
    Lum32f* rowCoef = nullptr;
    if (mode == kLanczos) {
        colCoef = scratch.take<Lum32f>(24 * size_t(width));
        rowCoef = scratch.take<Lum32f>(24 * size_t(height));
        Tier::lanczosWeights(cols.fractions, width, colCoef);
        Tier::lanczosWeights(rows.fractions, height, rowCoef);
        colValues = colCoef;
        rowValues = rowCoef;
    }

    const BorderJob border{pSrc,      out,       srcStep,      dstStep,      srcSize.width, srcSize.height,
                           width,     height,    rows.offsets, cols.offsets, rows.weights,  cols.weights,
                           rowValues, colValues, cy.start,     cy.end,       cx.start,      cx.end};
    resizeBorderPass<Tier>(mode, border);
    runInterior<Tier>(mode, job, rows, cols, rowCoef, colCoef, border);
    return lumStsNoErr;
}

// ---- Ends-to-ends geometry: lumiResize_8u_C3R --------------------------------------------------

// The work memory of one call: each table allocated by itself, all released together on every exit.
template <typename Tier>
class WorkMemory {
public:
    WorkMemory() = default;
    WorkMemory(const WorkMemory&) = delete;
    WorkMemory& operator=(const WorkMemory&) = delete;
    ~WorkMemory()
    {
        for (int i = 0; i < count_; ++i) Tier::release(blocks_[i]);
    }

    // Element counts wrap in 32 bits like the allocators' own arithmetic; a count that wraps below 1
    // gets no block.
    template <typename T>
    bool take(T*& block, uint32_t elements)
    {
        const Lum32s n = static_cast<Lum32s>(elements);
        if constexpr (sizeof(T) == 2)
            block = Tier::alloc16(n);
        else
            block = reinterpret_cast<T*>(Tier::allocFloat(n));
        if (block == nullptr) return false;
        blocks_[count_++] = block;
        return true;
    }

private:
    void* blocks_[12];
    int count_ = 0;
};

// The tables and buffers of one call in the order they are allocated; false at the first failure.
template <typename Tier>
bool allocateTables(WorkMemory<Tier>& mem, Lum32s mode, uint32_t width, uint32_t height, uint32_t channels,
                    AxisTables& rows, AxisTables& cols, Lum32f*& rowCoef, Lum32f*& colCoef, ResizeJob& job)
{
    if (!mem.take(rows.offsets, height) || !mem.take(cols.offsets, width)) return false;
    if (mode == kNearest) return true;
    if (mode == kLinear) {
        if (!mem.take(rows.weights, height) || !mem.take(cols.weights, 2 * width)) return false;
    } else if (!mem.take(rows.fractions, height) || !mem.take(cols.fractions, width)) {
        return false;
    }
    if (mode == kLanczos && (!mem.take(rowCoef, 6 * height) || !mem.take(colCoef, 6 * width))) return false;
    // Each row buffer has four pixels of slack beyond the row.
    const uint32_t samples = width * channels + 4 * channels;
    if (mode == kLinear) {
        for (Lum16u*& b : job.buffers16)
            if (!mem.take(b, samples)) return false;
        return true;
    }
    for (int b = 0; b < (mode == kCubic ? 4 : 6); ++b)
        if (!mem.take(job.buffers32[b], samples)) return false;
    return true;
}

// Out of line: each tier's export is one call into the shared body, and the px exports carry none of
// the block moves that compilers generate for the job records.
template <typename Tier>
[[gnu::noinline]] LumStatus resizeDriver(const Lum8u* pSrc, LumSize srcSize, Lum32s srcStep, LumRect srcRoi,
                                         Lum8u* pDst, Lum32s dstStep, LumSize dstRoiSize, double xFactor,
                                         double yFactor, Lum32s interpolation, Lum32s pixelStep,
                                         Lum32s channels)
{
    using Real = typename Tier::Real;
    const LumStatus status =
        checkEndsArgs(pSrc, srcSize, srcRoi, pDst, dstRoiSize, xFactor, yFactor, true, interpolation);
    if (status != lumStsNoErr) return status;
    const Lum32s rw = clippedLength(srcRoi.width, srcRoi.x, srcSize.width);
    const Lum32s rh = clippedLength(srcRoi.height, srcRoi.y, srcSize.height);
    const Real u = Real(rw) * Real(xFactor);
    const Real v = Real(rh) * Real(yFactor);
    Lum32s width, height;
    if (!resultLength(u, dstRoiSize.width, width) || !resultLength(v, dstRoiSize.height, height))
        return lumStsDstBelowOnePixel;
    const Lum32s mode = lowerMode(interpolation, srcSize);

    WorkMemory<Tier> mem;
    AxisTables rows{nullptr, nullptr, nullptr, srcStep, false};
    AxisTables cols{nullptr, nullptr, nullptr, pixelStep, true};
    Lum32f* rowCoef = nullptr;
    Lum32f* colCoef = nullptr;
    ResizeJob job{};
    if (!allocateTables(mem, mode, uint32_t(width), uint32_t(height), uint32_t(channels), rows, cols, rowCoef,
                        colCoef, job))
        return lumStsBufferTooSmall;

    EndsAxis<Tier>(mode, v, rh, yFactor, height, srcSize.height, srcRoi.y).build(mode, rows);
    EndsAxis<Tier>(mode, u, rw, xFactor, width, srcSize.width, srcRoi.x).build(mode, cols);

    job.src = pSrc + static_cast<ptrdiff_t>(srcRoi.y) * srcStep + srcRoi.x * pixelStep;
    job.dst = pDst;
    job.srcStep = srcStep;
    job.dstStep = dstStep;
    job.width = width;
    job.height = height;
    job.rowOffsets = rows.offsets;
    job.colOffsets = cols.offsets;
    job.yWeights = rows.weights;
    job.xWeights = cols.weights;
    job.yValues = rows.fractions;
    job.xValues = cols.fractions;
    job.pixelStep = pixelStep;
    job.channels = channels;
    switch (mode) {
        case kNearest:
            resizeRowTable.nearest[nearestLayout(channels)](job);
            break;
        case kLinear:
            resizeRowTable.linear[rowLayout(channels)](job);
            break;
        case kCubic:
            resizeRowTable.cubic[rowLayout(channels)](job);
            break;
        default:
            Tier::lanczosWeights(rows.fractions, height, rowCoef);
            Tier::lanczosWeights(cols.fractions, width, colCoef);
            job.yValues = rowCoef;
            job.xValues = colCoef;
            job.originX = srcRoi.x;
            job.originY = srcRoi.y;
            job.availX = srcSize.width - srcRoi.x;
            job.availY = srcSize.height - srcRoi.y;
            job.upscale = yFactor >= 1.0;
            resizeRowTable.lanczosClamped[rowLayout(channels)](job);
            break;
    }
    return lumStsNoErr;
}

// lumiResize_8u_C3R: super-sampling has a driver of its own, for reduction only; any other code goes to
// resizeDriver, which refuses code 8 as an unknown mode.
template <typename Tier>
LumStatus resizeEnds(const Lum8u* pSrc, LumSize srcSize, Lum32s srcStep, LumRect srcRoi, Lum8u* pDst,
                     Lum32s dstStep, LumSize dstRoiSize, double xFactor, double yFactor, Lum32s interpolation)
{
    constexpr Lum32s kPixelStep = 3;
    constexpr Lum32s kChannels = 3;
    if (interpolation == kSuper && xFactor <= 1.0 && yFactor <= 1.0)
        return resizeSuperDriver<Tier>(pSrc, srcSize, srcStep, srcRoi, pDst, dstStep, dstRoiSize, xFactor,
                                       yFactor, kPixelStep, kChannels);
    return resizeDriver<Tier>(pSrc, srcSize, srcStep, srcRoi, pDst, dstStep, dstRoiSize, xFactor, yFactor,
                              interpolation, kPixelStep, kChannels);
}

}  // namespace lum::resize

// The resize variants of a tier namespace, each a call of the shared driver with the tier's policy.
#define LUM_RESIZE_VARIANTS(Tier)                                                                           \
    LumStatus lumiResizeSqrPixel_8u_C1R(const Lum8u* pSrc, LumSize srcSize, Lum32s srcStep, LumRect srcRoi, \
                                        Lum8u* pDst, Lum32s dstStep, LumRect dstRoi, Lum64f xFactor,        \
                                        Lum64f yFactor, Lum64f xShift, Lum64f yShift, Lum32s interpolation, \
                                        Lum8u* pBuffer)                                                     \
    {                                                                                                       \
        return resize::resizeRegionDriver<Tier>(pSrc, srcSize, srcStep, srcRoi, pDst, dstStep, dstRoi,      \
                                                xFactor, yFactor, xShift, yShift, interpolation, pBuffer);  \
    }                                                                                                       \
    LumStatus lumiResize_8u_C3R(const Lum8u* pSrc, LumSize srcSize, Lum32s srcStep, LumRect srcRoi,         \
                                Lum8u* pDst, Lum32s dstStep, LumSize dstRoiSize, Lum64f xFactor,            \
                                Lum64f yFactor, Lum32s interpolation)                                       \
    {                                                                                                       \
        return resize::resizeEnds<Tier>(pSrc, srcSize, srcStep, srcRoi, pDst, dstStep, dstRoiSize, xFactor, \
                                        yFactor, interpolation);                                            \
    }
