// What the region copy, fill and mirror families share across tiers: their argument checks, row
// addressing with signed steps, row merging, and the plain loops that every tier runs alike.
// Internal linkage throughout, so that the copies compiled for different instruction sets never merge.
#pragma once

#include <lum.h>

#include <climits>
#include <cstddef>
#include <cstdint>

namespace lum {

// Pointers first, then the size.
template <typename... Pointers>
static inline LumStatus checkRegionArgs(LumSize roi, const Pointers*... pointers)
{
    if ((false || ... || (pointers == nullptr))) return lumStsNullPointer;
    if (roi.width < 1 || roi.height < 1) return lumStsBadSize;
    return lumStsNoErr;
}

// The planar copies: the plane array and pDst, then every plane, then the size.
template <int Planes>
static inline LumStatus checkPlanarArgs(const Lum8u* const* pSrc, const Lum8u* pDst, LumSize roi)
{
    if (pSrc == nullptr || pDst == nullptr) return lumStsNullPointer;
    for (int p = 0; p < Planes; ++p)
        if (pSrc[p] == nullptr) return lumStsNullPointer;
    return checkRegionArgs(roi);
}

// The fill: pointer, size, then a step of at least 1.
static inline LumStatus checkSetArgs(const Lum8u* pDst, Lum32s dstStep, LumSize roi)
{
    const LumStatus status = checkRegionArgs(roi, pDst);
    if (status != lumStsNoErr) return status;
    return dstStep < 1 ? lumStsBadStep : lumStsNoErr;
}

// The mirrors: pointers, size, then the flip code.
template <typename... Pointers>
static inline LumStatus checkMirrorArgs(LumSize roi, Lum32s flip, const Pointers*... pointers)
{
    const LumStatus status = checkRegionArgs(roi, pointers...);
    if (status != lumStsNoErr) return status;
    return flip < 0 || flip > 2 ? lumStsBadFlipMode : lumStsNoErr;
}

// Row r of an image with a step that may be zero or negative.
template <typename T>
static inline T* rowAt(T* base, Lum32s step, int64_t r)
{
    return base + static_cast<ptrdiff_t>(r * step);
}

// Bytes of a region of `channels` bytes per pixel, in 64 bits so that no product wraps.
static inline uint64_t regionBytes(LumSize roi, int channels)
{
    return uint64_t(uint32_t(roi.width)) * uint64_t(channels) * uint64_t(uint32_t(roi.height));
}

// Runs `rowFn(src, dst, bytes)` on every row, or once on the whole region when both steps equal the
// row's byte count: an image without gaps is one long row, with one head and one tail.
template <typename RowFn>
static inline void forEachMergedRow(const Lum8u* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep,
                                    LumSize roi, int channels, RowFn rowFn)
{
    const size_t rowBytes = size_t(roi.width) * size_t(channels);
    if (srcStep == dstStep && int64_t(srcStep) == int64_t(rowBytes)) {
        rowFn(pSrc, pDst, rowBytes * size_t(roi.height));
        return;
    }
    for (int64_t r = 0; r < roi.height; ++r)
        rowFn(rowAt(pSrc, srcStep, r), rowAt(pDst, dstStep, r), rowBytes);
}

// The planar copies merge when the planes and the pixels both run without gaps: the region becomes
// one row of width times height pixels.
static inline LumSize mergePlanarRows(Lum32s srcStep, Lum32s dstStep, LumSize roi, int planes)
{
    const int64_t pixels = int64_t(roi.width) * roi.height;
    if (srcStep == roi.width && int64_t(dstStep) == int64_t(planes) * srcStep && pixels <= INT32_MAX)
        return {static_cast<Lum32s>(pixels), 1};
    return roi;
}

// One pixel of `Planes` planes, sample i, into the interleaved pixel at d.
template <int Planes>
static inline void interleavePixel(const Lum8u* const* planes, size_t i, Lum8u* d)
{
    for (int p = 0; p < Planes; ++p) d[p] = planes[p][i];
}

// The plain planar-to-pixel loop of px and a6, after the merge.
template <int Planes>
static inline void planarToPixels(const Lum8u* const* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep,
                                  LumSize roi)
{
    roi = mergePlanarRows(srcStep, dstStep, roi, Planes);
    for (int64_t r = 0; r < roi.height; ++r) {
        const Lum8u* planes[Planes];
        for (int p = 0; p < Planes; ++p) planes[p] = rowAt(pSrc[p], srcStep, r);
        Lum8u* d = rowAt(pDst, dstStep, r);
        for (size_t i = 0; i < size_t(roi.width); ++i) interleavePixel<Planes>(planes, i, d + Planes * i);
    }
}

// Three bytes of every pixel into four-byte pixels whose fourth byte stays; no merging. Every
// tier's whole lumiCopy_8u_C3AC4R.
static inline LumStatus copyAlphaKept(const Lum8u* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep,
                                      LumSize roi)
{
    const LumStatus status = checkRegionArgs(roi, pSrc, pDst);
    if (status != lumStsNoErr) return status;
    for (int64_t r = 0; r < roi.height; ++r) {
        const Lum8u* s = rowAt(pSrc, srcStep, r);
        Lum8u* d = rowAt(pDst, dstStep, r);
        for (int64_t c = 0; c < roi.width; ++c, s += 3, d += 4) {
            d[0] = s[0];
            d[1] = s[1];
            d[2] = s[2];
        }
    }
    return status;
}

// `value` at every fourth byte of each row, starting at pDst, which addresses the channel to set.
// Every tier's whole lumiSet_8u_C4CR.
static inline LumStatus setChannel(Lum8u value, Lum8u* pDst, Lum32s dstStep, LumSize roi)
{
    const LumStatus status = checkSetArgs(pDst, dstStep, roi);
    if (status != lumStsNoErr) return status;
    for (int64_t r = 0; r < roi.height; ++r) {
        Lum8u* d = rowAt(pDst, dstStep, r);
        for (int64_t c = 0; c < roi.width; ++c) d[4 * c] = value;
    }
    return status;
}

}  // namespace lum

// Defines the three interleaved copy exports in the including tier's namespace, over the tier's
// template copyInterleaved<Channels>(pSrc, srcStep, pDst, dstStep, roi).
#define LUM_INTERLEAVED_COPY_EXPORTS                                                                       \
    LumStatus lumiCopy_8u_C1R(const Lum8u* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roi) \
    {                                                                                                      \
        return copyInterleaved<1>(pSrc, srcStep, pDst, dstStep, roi);                                      \
    }                                                                                                      \
    LumStatus lumiCopy_8u_C3R(const Lum8u* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roi) \
    {                                                                                                      \
        return copyInterleaved<3>(pSrc, srcStep, pDst, dstStep, roi);                                      \
    }                                                                                                      \
    LumStatus lumiCopy_8u_C4R(const Lum8u* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roi) \
    {                                                                                                      \
        return copyInterleaved<4>(pSrc, srcStep, pDst, dstStep, roi);                                      \
    }
