// Region copy and fill for w7 and t7, which run the same kernels: the row kernel lumCopyRow, the
// merged interleaved copies and the planar kernels. Templated on the including tier's tag, so that
// instantiations of the SSE3 file never merge with baseline ones.
#pragma once

#include "image/copy_row.h"
#include "image/region.h"
#include "signal/copy_vector.h"

#include <emmintrin.h>

#include <cstring>

namespace lum::regionvec {

using copyvec::address;
using copyvec::advance;

// Load forms of the cached loop, chosen by the source alignment: two 8-byte loads, or four 32-bit
// loads for a source 4 bytes past an 8-byte boundary.
template <typename Tier>
inline constexpr auto halvesLoad = [](const Lum8u* p) {
    return _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)),
                              _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + 8)));
};

template <typename Tier>
inline constexpr auto wordsLoad = [](const Lum8u* p) {
    int32_t w[4];
    std::memcpy(w, p, 16);
    const __m128i lo = _mm_unpacklo_epi32(_mm_cvtsi32_si128(w[0]), _mm_cvtsi32_si128(w[1]));
    const __m128i hi = _mm_unpacklo_epi32(_mm_cvtsi32_si128(w[2]), _mm_cvtsi32_si128(w[3]));
    return _mm_unpacklo_epi64(lo, hi);
};

// The non-temporal loop: 64 bytes per pass, two 8-byte loads per 16-byte store, then a fence.
template <typename Tier>
void streamPasses(const Lum8u*& s, Lum8u*& d, size_t& len)
{
    for (; len >= 64; advance<Tier>(s, d, len, 64))
        for (size_t i = 0; i < 64; i += 16)
            _mm_stream_si128(reinterpret_cast<__m128i*>(d + i), halvesLoad<Tier>(s + i));
    _mm_sfence();
}

// 8 bytes per step while 8 remain, then units of 4, 2 and 1 by the bits of the rest.
template <typename Tier>
void copyRowTail(const Lum8u* s, Lum8u* d, size_t len)
{
    for (; len >= 8; advance<Tier>(s, d, len, 8)) copyvec::moveUnit<Tier, 8>(s, d);
    copyvec::peelForward<Tier>(s, d, len, len);
}

// The row kernel: an unaligned destination gets one unaligned 16-byte copy and both pointers step
// to its next boundary (later stores overlap it); then 64-byte passes into aligned stores, streamed
// when asked unless the source trails closely, cached by the source's alignment otherwise.
template <typename Tier>
void copyRow(const Lum8u* s, Lum8u* d, size_t len, bool stream)
{
    if (len >= 64 && (address<Tier>(d) & 15) != 0) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm_loadu_si128(reinterpret_cast<const __m128i*>(s)));
        advance<Tier>(s, d, len, 16 - (address<Tier>(d) & 15));
    }
    if (len >= 64) {
        const uintptr_t a = address<Tier>(s);
        if (stream && copyRowGoesNonTemporal(s, d))
            streamPasses<Tier>(s, d, len);
        else if ((a & 15) == 0)
            copyvec::passesForward<Tier>(s, d, len, copyvec::alignedLoad<Tier>);
        else if ((a & 7) == 4)
            copyvec::passesForward<Tier>(s, d, len, wordsLoad<Tier>);
        else
            copyvec::passesForward<Tier>(s, d, len, halvesLoad<Tier>);
    }
    copyRowTail<Tier>(s, d, len);
}

// The interleaved copies: merged rows, one kernel call per row, streaming by the region's size.
template <typename Tier, int Channels>
LumStatus copyRegion(const Lum8u* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roi)
{
    const LumStatus status = checkRegionArgs(roi, pSrc, pDst);
    if (status != lumStsNoErr) return status;
    const bool stream = regionBytes(roi, Channels) > kCopyStreamAbove;
    forEachMergedRow(pSrc, srcStep, pDst, dstStep, roi, Channels,
                     [stream](const Lum8u* s, Lum8u* d, size_t len) { copyRow<Tier>(s, d, len, stream); });
    return status;
}

template <typename Tier>
uint32_t load32(const Lum8u* p)
{
    uint32_t v;
    std::memcpy(&v, p, 4);
    return v;
}

template <typename Tier>
void store32(Lum8u* d, uint32_t v, bool stream)
{
    if (stream)
        _mm_stream_si32(reinterpret_cast<int*>(d), static_cast<int>(v));
    else
        std::memcpy(d, &v, 4);
}

// One row of three planes: single pixels up to a 4-byte boundary of the destination, then four
// pixels per pass as three words, then single pixels.
template <typename Tier>
void planar3Row(const Lum8u* const* planes, Lum8u* d, size_t width, bool stream)
{
    const Lum8u *p0 = planes[0], *p1 = planes[1], *p2 = planes[2];
    size_t i = 0;
    for (; i < width && (address<Tier>(d + 3 * i) & 3) != 0; ++i) interleavePixel<3>(planes, i, d + 3 * i);
    for (; i + 4 <= width; i += 4) {
        const uint32_t a = load32<Tier>(p0 + i), b = load32<Tier>(p1 + i), c = load32<Tier>(p2 + i);
        // Pixels i..i+3 as bytes a0 b0 c0 a1 | b1 c1 a2 b2 | c2 a3 b3 c3.
        const uint32_t w0 = (a & 0xFF) | (b & 0xFF) << 8 | (c & 0xFF) << 16 | (a & 0xFF00) << 16;
        const uint32_t w1 = (b >> 8 & 0xFF) | (c & 0xFF00) | (a & 0xFF0000) | (b & 0xFF0000) << 8;
        const uint32_t w2 = (c >> 16 & 0xFF) | (a >> 16 & 0xFF00) | (b >> 8 & 0xFF0000) | (c & 0xFF000000);
        store32<Tier>(d + 3 * i, w0, stream);
        store32<Tier>(d + 3 * i + 4, w1, stream);
        store32<Tier>(d + 3 * i + 8, w2, stream);
    }
    for (; i < width; ++i) interleavePixel<3>(planes, i, d + 3 * i);
}

// Eight bytes of a plane as two 4-byte loads.
template <typename Tier>
__m128i planeLoad8(const Lum8u* p)
{
    return _mm_unpacklo_epi32(_mm_cvtsi32_si128(static_cast<int>(load32<Tier>(p))),
                              _mm_cvtsi32_si128(static_cast<int>(load32<Tier>(p + 4))));
}

// One row of four planes: with a 16-byte aligned destination eight pixels per pass, interleaved in
// registers; otherwise the whole row pixel by pixel.
template <typename Tier>
void planar4Row(const Lum8u* const* planes, Lum8u* d, size_t width, bool stream)
{
    size_t i = 0;
    if ((address<Tier>(d) & 15) == 0) {
        for (; i + 8 <= width; i += 8) {
            const __m128i c01 =
                _mm_unpacklo_epi8(planeLoad8<Tier>(planes[0] + i), planeLoad8<Tier>(planes[1] + i));
            const __m128i c23 =
                _mm_unpacklo_epi8(planeLoad8<Tier>(planes[2] + i), planeLoad8<Tier>(planes[3] + i));
            auto* q = reinterpret_cast<__m128i*>(d + 4 * i);
            if (stream) {
                _mm_stream_si128(q, _mm_unpacklo_epi16(c01, c23));
                _mm_stream_si128(q + 1, _mm_unpackhi_epi16(c01, c23));
            } else {
                _mm_store_si128(q, _mm_unpacklo_epi16(c01, c23));
                _mm_store_si128(q + 1, _mm_unpackhi_epi16(c01, c23));
            }
        }
    }
    for (; i < width; ++i) interleavePixel<4>(planes, i, d + 4 * i);
}

// The planar copies: merging as in px, streaming from `streamFrom` bytes of region, a fence after
// the last row when streaming.
template <typename Tier, int Planes, uint64_t StreamFrom, auto RowFn>
LumStatus copyPlanar(const Lum8u* const* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roi)
{
    const LumStatus status = checkPlanarArgs<Planes>(pSrc, pDst, roi);
    if (status != lumStsNoErr) return status;
    const bool stream = regionBytes(roi, Planes) >= StreamFrom;
    roi = mergePlanarRows(srcStep, dstStep, roi, Planes);
    for (int64_t r = 0; r < roi.height; ++r) {
        const Lum8u* planes[Planes];
        for (int p = 0; p < Planes; ++p) planes[p] = rowAt(pSrc[p], srcStep, r);
        RowFn(planes, rowAt(pDst, dstStep, r), size_t(roi.width), stream);
    }
    if (stream) _mm_sfence();
    return status;
}

}  // namespace lum::regionvec

// Defines in the including tier's namespace the w7 and t7 region copies and fill; the tier supplies
// its tag `Tier`.
#define LUM_VECTOR_REGION_FAMILY                                                                           \
    void lumCopyRow(const Lum8u* pSrc, Lum8u* pDst, size_t len, bool stream)                               \
    {                                                                                                      \
        regionvec::copyRow<Tier>(pSrc, pDst, len, stream);                                                 \
    }                                                                                                      \
    template <int Channels>                                                                                \
    LumStatus copyInterleaved(const Lum8u* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roi) \
    {                                                                                                      \
        return regionvec::copyRegion<Tier, Channels>(pSrc, srcStep, pDst, dstStep, roi);                   \
    }                                                                                                      \
    LUM_INTERLEAVED_COPY_EXPORTS                                                                           \
    LumStatus lumiCopy_8u_C3AC4R(const Lum8u* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep,           \
                                 LumSize roi)                                                              \
    {                                                                                                      \
        return copyAlphaKept(pSrc, srcStep, pDst, dstStep, roi);                                           \
    }                                                                                                      \
    LumStatus lumiCopy_8u_P3C3R(const Lum8u* const pSrc[3], Lum32s srcStep, Lum8u* pDst, Lum32s dstStep,   \
                                LumSize roi)                                                               \
    {                                                                                                      \
        return regionvec::copyPlanar<Tier, 3, kP3C3StreamFrom, regionvec::planar3Row<Tier>>(               \
            pSrc, srcStep, pDst, dstStep, roi);                                                            \
    }                                                                                                      \
    LumStatus lumiCopy_8u_P4C4R(const Lum8u* const pSrc[4], Lum32s srcStep, Lum8u* pDst, Lum32s dstStep,   \
                                LumSize roi)                                                               \
    {                                                                                                      \
        return regionvec::copyPlanar<Tier, 4, kP4C4StreamFrom, regionvec::planar4Row<Tier>>(               \
            pSrc, srcStep, pDst, dstStep, roi);                                                            \
    }                                                                                                      \
    LumStatus lumiSet_8u_C4CR(Lum8u value, Lum8u* pDst, Lum32s dstStep, LumSize roi)                       \
    {                                                                                                      \
        return setChannel(value, pDst, dstStep, roi);                                                      \
    }
