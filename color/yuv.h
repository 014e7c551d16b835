// What the video colour family shares across tiers: argument checks, the drivers that walk rows,
// pairs of rows and the odd edges, the px formulas with 16 fractional bits (every tier's edges), and
// scalar forms of the vector formulas for the left-over pixels of the vector tiers. Internal
// linkage, so that the copies compiled for different instruction sets never merge.
#pragma once

#include "image/region.h"
#include "jpeg/arith16.h"

#include <lum.h>

namespace lum::yuv {

// ---- Checks

// The RGB to YUV conversions and YUV 4:2:0 to BGR: pointers, size, then every plane.
static inline LumStatus checkPlanesLast(const void* pSrc, const void* pDst, const Lum8u* const* planes,
                                        LumSize roi)
{
    if (pSrc == nullptr || pDst == nullptr) return lumStsNullPointer;
    if (roi.width < 1 || roi.height < 1) return lumStsBadSize;
    for (int p = 0; p < 3; ++p)
        if (planes[p] == nullptr) return lumStsNullPointer;
    return lumStsNoErr;
}

// The YCbCr repacking: the pointers given, then at least two rows and two columns.
template <typename... Pointers>
static inline LumStatus checkRepack(LumSize roi, const Pointers*... pointers)
{
    if ((false || ... || (pointers == nullptr))) return lumStsNullPointer;
    if (roi.width < 2 || roi.height < 2) return lumStsBadSize;
    return lumStsNoErr;
}

// Packed to planar: pSrc, pDst, then each plane pointer, then the size.
static inline LumStatus checkRepackToPlanes(const Lum8u* pSrc, Lum8u* const* pDst, LumSize roi)
{
    if (pSrc == nullptr || pDst == nullptr) return lumStsNullPointer;
    return checkRepack(roi, pDst[0], pDst[1], pDst[2]);
}

// Planar to packed: each plane pointer, then pDst; the plane array itself is not tested.
static inline LumStatus checkRepackToPacked(const Lum8u* const* pSrc, const Lum8u* pDst, LumSize roi)
{
    return checkRepack(roi, pSrc[0], pSrc[1], pSrc[2], pDst);
}

// ---- px formulas, 16 fractional bits

static inline int32_t lumaSum(const Lum8u* rgb) { return 19595 * rgb[0] + 38470 * rgb[1] + 7471 * rgb[2]; }

// Y of `count` pixels, and U and V of their sums with the rounding bias and the shift of their
// position: U wraps to a byte (it cannot leave the byte's range), V is clamped.
static inline void pxBlock(const Lum8u* const* rgb, Lum8u* const* ys, int count, int32_t bias, int shift,
                           Lum8u* u, Lum8u* v)
{
    int32_t sb = 0, sr = 0, sq = 0;
    for (int k = 0; k < count; ++k) {
        const int32_t q = lumaSum(rgb[k]);
        *ys[k] = static_cast<Lum8u>(q >> 16);
        sr += rgb[k][0];
        sb += rgb[k][2];
        sq += q;
    }
    *u = static_cast<Lum8u>(((((sb << 16) - sq + bias) >> 16) * 32244 >> shift) - 128);
    *v = sat8u(((((sr << 16) - sq + bias) >> 16) * 57475 >> shift) + 128);
}

// One BGR pixel from Y and the chroma offsets u = U - 128, v = V - 128, no rounding term.
static inline void pxBgr(int32_t y, int32_t u, int32_t v, Lum8u* bgr)
{
    const int32_t y16 = y << 16;
    bgr[0] = sat8u((y16 + 133169 * u) >> 16);
    bgr[1] = sat8u((y16 - 38076 * v - 25821 * u) >> 16);
    bgr[2] = sat8u((y16 + 74711 * v) >> 16);
}

// ---- Scalar forms of the vector formulas

// Luma with one fractional bit; the vector passes shift the two partial products separately, the
// 4:2:0 left-over pairs shift the whole sum once.
static inline int32_t luma1TwoShifts(const Lum8u* rgb)
{
    return ((9798 * rgb[0] + 19235 * rgb[1]) >> 14) + ((3736 * rgb[2]) >> 14);
}
static inline int32_t luma1OneShift(const Lum8u* rgb)
{
    return (9798 * rgb[0] + 19235 * rgb[1] + 3736 * rgb[2]) >> 14;
}

static inline Lum8u chromaU(int32_t db) { return sat8u(((db * 16121) >> 16) + 128); }
static inline Lum8u chromaV(int32_t dr) { return sat8u(((dr * 28737) >> 16) + 128); }

// A 2 by 2 block by the vector formulas, luma by `Luma1`.
template <int32_t (*Luma1)(const Lum8u*)>
static inline void vectorBlock420(const Lum8u* s0, const Lum8u* s1, Lum8u* y0, Lum8u* y1, Lum8u* u, Lum8u* v)
{
    const Lum8u* rgb[4] = {s0, s0 + 3, s1, s1 + 3};
    Lum8u* ys[4] = {y0, y0 + 1, y1, y1 + 1};
    int32_t sb = 0, sr = 0, s1sum = 0;
    for (int k = 0; k < 4; ++k) {
        const int32_t l = Luma1(rgb[k]);
        *ys[k] = sat8u(l >> 1);
        s1sum += l;
        sr += rgb[k][0];
        sb += rgb[k][2];
    }
    *u = chromaU((sb >> 1) - (s1sum >> 2));
    *v = chromaV((sr >> 1) - (s1sum >> 2));
}

// A pair of one row by the vector formulas.
static inline void vectorPair422(const Lum8u* s, Lum8u* y, Lum8u* u, Lum8u* v)
{
    const int32_t a = luma1TwoShifts(s), b = luma1TwoShifts(s + 3);
    y[0] = sat8u(a >> 1);
    y[1] = sat8u(b >> 1);
    *u = chromaU(s[2] + s[5] - ((a + b) >> 1));
    *v = chromaV(s[0] + s[3] - ((a + b) >> 1));
}

// The last pixel of an odd 4:2:2 row in the vector tiers: 15 fractional bits, with rounding terms
// that differ between U and V.
static inline void vectorLast422(const Lum8u* s, Lum8u* y, Lum8u* u, Lum8u* v)
{
    const int32_t q = 9798 * s[0] + 19235 * s[1] + 3736 * s[2];
    *y = sat8u(q >> 15);
    *u = static_cast<Lum8u>(((((s[2] << 15) - q + 16383) >> 15) * 16121 >> 15) - 128);
    *v = sat8u(((((s[0] << 15) - q + 32767) >> 15) * 28737 >> 15) + 128);
}

// One BGR pixel by the vector formulas: chroma scaled by 16 and luma doubled, high products, 16-bit
// saturating additions, halved and clamped.
static inline void vectorBgr(int32_t y, int32_t uByte, int32_t vByte, Lum8u* bgr)
{
    const Lum16s u1 = sat16(16 * uByte - 2048), v1 = sat16(16 * vByte - 2048),
                 y2 = static_cast<Lum16s>(2 * y);
    bgr[0] = sat8u(sadd(y2, mulh(u1, 16646)) >> 1);
    bgr[1] = sat8u(sadd(sadd(y2, mulh(u1, -3228)), mulh(v1, -4760)) >> 1);
    bgr[2] = sat8u(sadd(y2, mulh(v1, 9339)) >> 1);
}

// ---- Drivers

// The px 4:2:0 edges, the same in every tier: two pixels with bias 0 and shift 17, one with shift 16.
static inline void pxEdge420(const Lum8u* a, const Lum8u* b, Lum8u* ya, Lum8u* yb, Lum8u* u, Lum8u* v)
{
    const Lum8u* rgb[2] = {a, b};
    Lum8u* ys[2] = {ya, yb};
    pxBlock(rgb, ys, b == nullptr ? 1 : 2, 0, b == nullptr ? 16 : 17, u, v);
}

// RGB to YUV 4:2:0: every pair of rows through `pairRows(s0, s1, y0, y1, u, v, pairs)` and its odd
// last column; then an odd last row in pairs of columns and the corner.
template <typename PairRows>
static inline void rgbToYuv420(const Lum8u* pSrc, Lum32s srcStep, Lum8u* const pDst[3],
                               const Lum32s dstStep[3], LumSize roi, PairRows pairRows)
{
    const int64_t w = roi.width, h = roi.height;
    const size_t pairs = size_t(w / 2);
    const int64_t last = 3 * (w - 1);
    for (int64_t r = 0; r + 1 < h; r += 2) {
        const Lum8u *s0 = rowAt(pSrc, srcStep, r), *s1 = rowAt(pSrc, srcStep, r + 1);
        Lum8u *y0 = rowAt(pDst[0], dstStep[0], r), *y1 = rowAt(pDst[0], dstStep[0], r + 1);
        Lum8u *u = rowAt(pDst[1], dstStep[1], r / 2), *v = rowAt(pDst[2], dstStep[2], r / 2);
        pairRows(s0, s1, y0, y1, u, v, pairs);
        if (w & 1) pxEdge420(s0 + last, s1 + last, y0 + w - 1, y1 + w - 1, u + pairs, v + pairs);
    }
    if ((h & 1) == 0) return;
    const Lum8u* s = rowAt(pSrc, srcStep, h - 1);
    Lum8u* y = rowAt(pDst[0], dstStep[0], h - 1);
    Lum8u *u = rowAt(pDst[1], dstStep[1], h / 2), *v = rowAt(pDst[2], dstStep[2], h / 2);
    for (size_t c = 0; c < pairs; ++c)
        pxEdge420(s + 6 * c, s + 6 * c + 3, y + 2 * c, y + 2 * c + 1, u + c, v + c);
    if (w & 1) pxEdge420(s + last, nullptr, y + w - 1, nullptr, u + pairs, v + pairs);
}

// RGB to YUV 4:2:2: every row through `row(s, y, u, v, pairs)`, and with an odd width its last
// pixel through `lastPixel(s, y, u, v)`.
template <typename Row, typename LastPixel>
static inline void rgbToYuv422(const Lum8u* pSrc, Lum32s srcStep, Lum8u* const pDst[3],
                               const Lum32s dstStep[3], LumSize roi, Row row, LastPixel lastPixel)
{
    const int64_t w = roi.width;
    const size_t pairs = size_t(w / 2);
    for (int64_t r = 0; r < roi.height; ++r) {
        const Lum8u* s = rowAt(pSrc, srcStep, r);
        Lum8u *y = rowAt(pDst[0], dstStep[0], r), *u = rowAt(pDst[1], dstStep[1], r),
              *v = rowAt(pDst[2], dstStep[2], r);
        row(s, y, u, v, pairs);
        if (w & 1) lastPixel(s + 3 * (w - 1), y + w - 1, u + pairs, v + pairs);
    }
}

// The px 4:2:2 row and last pixel.
static inline void pxRow422(const Lum8u* s, Lum8u* y, Lum8u* u, Lum8u* v, size_t pairs)
{
    for (size_t c = 0; c < pairs; ++c) {
        const Lum8u* rgb[2] = {s + 6 * c, s + 6 * c + 3};
        Lum8u* ys[2] = {y + 2 * c, y + 2 * c + 1};
        pxBlock(rgb, ys, 2, 65535, 17, u + c, v + c);
    }
}

static inline void pxLast422(const Lum8u* s, Lum8u* y, Lum8u* u, Lum8u* v)
{
    const Lum8u* rgb[1] = {s};
    Lum8u* ys[1] = {y};
    pxBlock(rgb, ys, 1, 32767, 16, u, v);
}

// The px 4:2:0 pair rows.
static inline void pxPairRows420(const Lum8u* s0, const Lum8u* s1, Lum8u* y0, Lum8u* y1, Lum8u* u, Lum8u* v,
                                 size_t pairs)
{
    for (size_t c = 0; c < pairs; ++c) {
        const Lum8u* rgb[4] = {s0 + 6 * c, s0 + 6 * c + 3, s1 + 6 * c, s1 + 6 * c + 3};
        Lum8u* ys[4] = {y0 + 2 * c, y0 + 2 * c + 1, y1 + 2 * c, y1 + 2 * c + 1};
        pxBlock(rgb, ys, 4, 0x1FFFF, 18, u + c, v + c);
    }
}

// YUV 4:2:0 to BGR: pairs of rows through `pairRows(y0, y1, u, v, d0, d1, pairs)`; the odd last
// column, the odd last row and the corner by the px formulas.
template <typename PairRows>
static inline void yuv420ToBgr(const Lum8u* const pSrc[3], const Lum32s srcStep[3], Lum8u* pDst,
                               Lum32s dstStep, LumSize roi, PairRows pairRows)
{
    const int64_t w = roi.width, h = roi.height;
    const size_t pairs = size_t(w / 2);
    const auto pixel = [](const Lum8u* y, const Lum8u* u, const Lum8u* v, int64_t c, Lum8u* d) {
        pxBgr(y[c], u[c / 2] - 128, v[c / 2] - 128, d + 3 * c);
    };
    for (int64_t r = 0; r + 1 < h; r += 2) {
        const Lum8u *y0 = rowAt(pSrc[0], srcStep[0], r), *y1 = rowAt(pSrc[0], srcStep[0], r + 1);
        const Lum8u *u = rowAt(pSrc[1], srcStep[1], r / 2), *v = rowAt(pSrc[2], srcStep[2], r / 2);
        Lum8u *d0 = rowAt(pDst, dstStep, r), *d1 = rowAt(pDst, dstStep, r + 1);
        pairRows(y0, y1, u, v, d0, d1, pairs);
        if (w & 1) {
            pixel(y0, u, v, w - 1, d0);
            pixel(y1, u, v, w - 1, d1);
        }
    }
    if ((h & 1) == 0) return;
    const Lum8u *y = rowAt(pSrc[0], srcStep[0], h - 1), *u = rowAt(pSrc[1], srcStep[1], h / 2),
                *v = rowAt(pSrc[2], srcStep[2], h / 2);
    Lum8u* d = rowAt(pDst, dstStep, h - 1);
    for (int64_t c = 0; c < w; ++c) pixel(y, u, v, c, d);
}

// The px pair rows of YUV 4:2:0 to BGR.
static inline void pxPairRowsBgr(const Lum8u* y0, const Lum8u* y1, const Lum8u* u, const Lum8u* v, Lum8u* d0,
                                 Lum8u* d1, size_t pairs)
{
    for (size_t c = 0; c < 2 * pairs; ++c) {
        pxBgr(y0[c], u[c / 2] - 128, v[c / 2] - 128, d0 + 3 * c);
        pxBgr(y1[c], u[c / 2] - 128, v[c / 2] - 128, d1 + 3 * c);
    }
}

// ---- YCbCr repacking

// Packed 4:2:2 (Y0 Cb Y1 Cr) to planar 4:2:0: even width and height; both rows' luma, the upper
// row's chroma. `rows(s0, s1, y0, y1, cb, cr, pairs)` does a pair of rows.
template <typename Rows>
static inline void ycbcr422To420(const Lum8u* pSrc, Lum32s srcStep, Lum8u* const pDst[3],
                                 const Lum32s dstStep[3], LumSize roi, Rows rows)
{
    const int64_t h = roi.height & ~1;
    const size_t pairs = size_t(roi.width / 2);
    for (int64_t r = 0; r < h; r += 2)
        rows(rowAt(pSrc, srcStep, r), rowAt(pSrc, srcStep, r + 1), rowAt(pDst[0], dstStep[0], r),
             rowAt(pDst[0], dstStep[0], r + 1), rowAt(pDst[1], dstStep[1], r / 2),
             rowAt(pDst[2], dstStep[2], r / 2), pairs);
}

static inline void scalarRows422To420(const Lum8u* s0, const Lum8u* s1, Lum8u* y0, Lum8u* y1, Lum8u* cb,
                                      Lum8u* cr, size_t pairs)
{
    for (size_t c = 0; c < pairs; ++c) {
        y0[2 * c] = s0[4 * c];
        y0[2 * c + 1] = s0[4 * c + 2];
        y1[2 * c] = s1[4 * c];
        y1[2 * c + 1] = s1[4 * c + 2];
        cb[c] = s0[4 * c + 1];
        cr[c] = s0[4 * c + 3];
    }
}

// Planar 4:2:0 with the planes Y, Cr, Cb to packed 4:2:2 (Y0 Cb Y1 Cr): even width and height, each
// chroma row serving two output rows. `row(y, cb, cr, d, pairs)` does one output row.
template <typename Row>
static inline void ycrcb420To422(const Lum8u* const pSrc[3], const Lum32s srcStep[3], Lum8u* pDst,
                                 Lum32s dstStep, LumSize roi, Row row)
{
    const int64_t h = roi.height & ~1;
    const size_t pairs = size_t(roi.width / 2);
    for (int64_t r = 0; r < h; ++r)
        row(rowAt(pSrc[0], srcStep[0], r), rowAt(pSrc[2], srcStep[2], r / 2),
            rowAt(pSrc[1], srcStep[1], r / 2), rowAt(pDst, dstStep, r), pairs);
}

static inline void scalarRow420To422(const Lum8u* y, const Lum8u* cb, const Lum8u* cr, Lum8u* d, size_t pairs)
{
    for (size_t c = 0; c < pairs; ++c) {
        d[4 * c] = y[2 * c];
        d[4 * c + 1] = cb[c];
        d[4 * c + 2] = y[2 * c + 1];
        d[4 * c + 3] = cr[c];
    }
}

// ---- Whole conversions by the px logic, checks included; px runs them, and a6 has its own
// functions with the same results.

static inline LumStatus scalarYuv420ToBgr(const Lum8u* const pSrc[3], const Lum32s srcStep[3], Lum8u* pDst,
                                          Lum32s dstStep, LumSize roi)
{
    const LumStatus status = checkPlanesLast(pSrc, pDst, pSrc, roi);
    if (status == lumStsNoErr) yuv420ToBgr(pSrc, srcStep, pDst, dstStep, roi, pxPairRowsBgr);
    return status;
}

static inline LumStatus scalarYcrcb420To422(const Lum8u* const pSrc[3], const Lum32s srcStep[3], Lum8u* pDst,
                                            Lum32s dstStep, LumSize roi)
{
    const LumStatus status = checkRepackToPacked(pSrc, pDst, roi);
    if (status == lumStsNoErr) ycrcb420To422(pSrc, srcStep, pDst, dstStep, roi, scalarRow420To422);
    return status;
}

}  // namespace lum::yuv
