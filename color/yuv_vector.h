// The vector kernels of the video colour family, for a6 (RGB to YUV), w7 and t7. Templated on the
// including tier's policy (its unaligned load, whether it prefetches), so that instantiations of the
// SSE3 file never merge with baseline ones.
#pragma once

#include "color/yuv.h"

#include <emmintrin.h>

#include <utility>

namespace lum::yuvvec {

template <typename Tier>
__m128i load16(const Lum8u* p)
{
    return Tier::loadUnaligned(p);
}

template <typename Tier>
void store16(Lum8u* p, __m128i v)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
}

// One round of the riffle on 48 bytes held in three registers: byte k goes to 2k and byte k + 24
// to 2k + 1. Four rounds take byte 3m + c to 16c + m, which splits 16 three-byte pixels into planes.
template <typename Tier>
void riffle(__m128i& a, __m128i& b, __m128i& c)
{
    const __m128i o0 = _mm_unpacklo_epi8(a, _mm_srli_si128(b, 8));
    const __m128i o1 = _mm_unpackhi_epi8(a, _mm_slli_si128(c, 8));
    const __m128i o2 = _mm_unpackhi_epi8(_mm_slli_si128(b, 8), c);
    a = o0;
    b = o1;
    c = o2;
}

// The inverse round: even bytes first, then odd ones. Four rounds take byte 16c + m to 3m + c,
// which joins three planes into 16 three-byte pixels.
template <typename Tier>
void unzip(__m128i& a, __m128i& b, __m128i& c)
{
    const __m128i low = _mm_set1_epi16(0x00FF);
    const __m128i o0 = _mm_packus_epi16(_mm_and_si128(a, low), _mm_and_si128(b, low));
    const __m128i o1 = _mm_packus_epi16(_mm_and_si128(c, low), _mm_srli_epi16(a, 8));
    const __m128i o2 = _mm_packus_epi16(_mm_srli_epi16(b, 8), _mm_srli_epi16(c, 8));
    a = o0;
    b = o1;
    c = o2;
}

// 16 RGB pixels as 16-bit planes and their luma with one fractional bit, the two partial products
// shifted separately: (9798 R + 19235 G) >> 14 by pmaddwd, (3736 B) >> 14 as a high product of 4 B.
template <typename Tier>
struct RgbPass {
    __m128i r[2], b[2], luma1[2];

    explicit RgbPass(const Lum8u* s)
    {
        __m128i vr = load16<Tier>(s), vg = load16<Tier>(s + 16), vb = load16<Tier>(s + 32);
        for (int round = 0; round < 4; ++round) riffle<Tier>(vr, vg, vb);
        const __m128i zero = _mm_setzero_si128();
        const __m128i rg = _mm_set1_epi32(9798 | 19235 << 16);
        const __m128i g[2] = {_mm_unpacklo_epi8(vg, zero), _mm_unpackhi_epi8(vg, zero)};
        r[0] = _mm_unpacklo_epi8(vr, zero);
        r[1] = _mm_unpackhi_epi8(vr, zero);
        b[0] = _mm_unpacklo_epi8(vb, zero);
        b[1] = _mm_unpackhi_epi8(vb, zero);
        for (int h = 0; h < 2; ++h) {
            const __m128i lo = _mm_srai_epi32(_mm_madd_epi16(_mm_unpacklo_epi16(r[h], g[h]), rg), 14);
            const __m128i hi = _mm_srai_epi32(_mm_madd_epi16(_mm_unpackhi_epi16(r[h], g[h]), rg), 14);
            const __m128i blue = _mm_mulhi_epu16(_mm_slli_epi16(b[h], 2), _mm_set1_epi16(3736));
            luma1[h] = _mm_add_epi16(_mm_packs_epi32(lo, hi), blue);
        }
    }

    void storeLuma(Lum8u* y) const
    {
        store16<Tier>(y, _mm_packus_epi16(_mm_srai_epi16(luma1[0], 1), _mm_srai_epi16(luma1[1], 1)));
    }
};

// Sums of adjacent 16-bit pairs, as 32-bit lanes.
template <typename Tier>
__m128i pairSums(__m128i v)
{
    return _mm_madd_epi16(v, _mm_set1_epi16(1));
}

// Eight chroma differences to bytes: ((d * k) >> 16) + 128, saturated, into the low 8 bytes.
template <typename Tier>
void storeChroma(Lum8u* p, __m128i d0, __m128i d1, short k)
{
    const __m128i scaled = _mm_mulhi_epi16(_mm_packs_epi32(d0, d1), _mm_set1_epi16(k));
    const __m128i biased = _mm_add_epi16(scaled, _mm_set1_epi16(128));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_packus_epi16(biased, biased));
}

// Eight 2 by 2 blocks: D = (S >> 1) - (S1 >> 2) with S1 the sum of the four luma1 values.
template <typename Tier>
void pass420(const Lum8u* s0, const Lum8u* s1, Lum8u* y0, Lum8u* y1, Lum8u* u, Lum8u* v)
{
    const RgbPass<Tier> a(s0), b(s1);
    a.storeLuma(y0);
    b.storeLuma(y1);
    __m128i db[2], dr[2];
    for (int h = 0; h < 2; ++h) {
        const __m128i s1q = _mm_srai_epi32(pairSums<Tier>(_mm_add_epi16(a.luma1[h], b.luma1[h])), 2);
        db[h] = _mm_sub_epi32(_mm_srai_epi32(pairSums<Tier>(_mm_add_epi16(a.b[h], b.b[h])), 1), s1q);
        dr[h] = _mm_sub_epi32(_mm_srai_epi32(pairSums<Tier>(_mm_add_epi16(a.r[h], b.r[h])), 1), s1q);
    }
    storeChroma<Tier>(u, db[0], db[1], 16121);
    storeChroma<Tier>(v, dr[0], dr[1], 28737);
}

// Eight pairs of one row: D = S - ((luma1a + luma1b) >> 1).
template <typename Tier>
void pass422(const Lum8u* s, Lum8u* y, Lum8u* u, Lum8u* v)
{
    const RgbPass<Tier> a(s);
    a.storeLuma(y);
    __m128i db[2], dr[2];
    for (int h = 0; h < 2; ++h) {
        const __m128i half = _mm_srai_epi32(pairSums<Tier>(a.luma1[h]), 1);
        db[h] = _mm_sub_epi32(pairSums<Tier>(a.b[h]), half);
        dr[h] = _mm_sub_epi32(pairSums<Tier>(a.r[h]), half);
    }
    storeChroma<Tier>(u, db[0], db[1], 16121);
    storeChroma<Tier>(v, dr[0], dr[1], 28737);
}

template <typename Tier>
void prefetchSource(const Lum8u* s)
{
    if constexpr (Tier::kPrefetch) _mm_prefetch(reinterpret_cast<const char*>(s + 96), _MM_HINT_NTA);
}

// A pair of rows of 4:2:0: eight pairs of columns per pass; the pairs left over take the formula
// with one shift of the whole luma sum.
template <typename Tier>
void pairRows420(const Lum8u* s0, const Lum8u* s1, Lum8u* y0, Lum8u* y1, Lum8u* u, Lum8u* v, size_t pairs)
{
    size_t c = 0;
    for (; pairs - c >= 8; c += 8) {
        prefetchSource<Tier>(s0 + 6 * c);
        prefetchSource<Tier>(s1 + 6 * c);
        pass420<Tier>(s0 + 6 * c, s1 + 6 * c, y0 + 2 * c, y1 + 2 * c, u + c, v + c);
    }
    for (; c < pairs; ++c)
        yuv::vectorBlock420<yuv::luma1OneShift>(s0 + 6 * c, s1 + 6 * c, y0 + 2 * c, y1 + 2 * c, u + c, v + c);
}

// A row of 4:2:2: eight pairs per pass; the left-over pairs keep the two-shift luma.
template <typename Tier>
void row422(const Lum8u* s, Lum8u* y, Lum8u* u, Lum8u* v, size_t pairs)
{
    size_t c = 0;
    for (; pairs - c >= 8; c += 8) {
        prefetchSource<Tier>(s + 6 * c);
        pass422<Tier>(s + 6 * c, y + 2 * c, u + c, v + c);
    }
    for (; c < pairs; ++c) yuv::vectorPair422(s + 6 * c, y + 2 * c, u + c, v + c);
}

// ---- YUV 4:2:0 to BGR

// 16 columns of one row: 2 Y plus the chroma terms, saturating, halved, packed, joined as BGR.
template <typename Tier>
void bgrRow16(const Lum8u* y, Lum8u* d, const __m128i (&blue)[2], const __m128i (&greenU)[2],
              const __m128i (&greenV)[2], const __m128i (&red)[2])
{
    const __m128i yv = load16<Tier>(y), zero = _mm_setzero_si128();
    const __m128i y2[2] = {_mm_slli_epi16(_mm_unpacklo_epi8(yv, zero), 1),
                           _mm_slli_epi16(_mm_unpackhi_epi8(yv, zero), 1)};
    __m128i out[3][2];
    for (int h = 0; h < 2; ++h) {
        out[0][h] = _mm_srai_epi16(_mm_adds_epi16(y2[h], blue[h]), 1);
        out[1][h] = _mm_srai_epi16(_mm_adds_epi16(_mm_adds_epi16(y2[h], greenU[h]), greenV[h]), 1);
        out[2][h] = _mm_srai_epi16(_mm_adds_epi16(y2[h], red[h]), 1);
    }
    __m128i b = _mm_packus_epi16(out[0][0], out[0][1]), g = _mm_packus_epi16(out[1][0], out[1][1]),
            r = _mm_packus_epi16(out[2][0], out[2][1]);
    for (int round = 0; round < 4; ++round) unzip<Tier>(b, g, r);
    store16<Tier>(d, b);
    store16<Tier>(d + 16, g);
    store16<Tier>(d + 32, r);
}

// Eight chroma samples, 16 U - 2048 saturated, times a coefficient, high half, each doubled for
// the two columns it serves.
template <typename Tier>
void chromaTerm(__m128i c1, short k, __m128i (&out)[2])
{
    const __m128i t = _mm_mulhi_epi16(c1, _mm_set1_epi16(k));
    out[0] = _mm_unpacklo_epi16(t, t);
    out[1] = _mm_unpackhi_epi16(t, t);
}

template <typename Tier>
__m128i chroma1(const Lum8u* p)
{
    const __m128i c =
        _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)), _mm_setzero_si128());
    return _mm_subs_epi16(_mm_slli_epi16(c, 4), _mm_set1_epi16(2048));
}

// A pair of rows: blocks of 16 columns; the column pairs left over by the same formulas, scalar.
template <typename Tier>
void pairRowsBgr(const Lum8u* y0, const Lum8u* y1, const Lum8u* u, const Lum8u* v, Lum8u* d0, Lum8u* d1,
                 size_t pairs)
{
    size_t c = 0;
    for (; pairs - c >= 8; c += 8) {
        const __m128i u1 = chroma1<Tier>(u + c), v1 = chroma1<Tier>(v + c);
        __m128i blue[2], greenU[2], greenV[2], red[2];
        chromaTerm<Tier>(u1, 16646, blue);
        chromaTerm<Tier>(u1, -3228, greenU);
        chromaTerm<Tier>(v1, -4760, greenV);
        chromaTerm<Tier>(v1, 9339, red);
        bgrRow16<Tier>(y0 + 2 * c, d0 + 6 * c, blue, greenU, greenV, red);
        bgrRow16<Tier>(y1 + 2 * c, d1 + 6 * c, blue, greenU, greenV, red);
    }
    for (size_t x = 2 * c; x < 2 * pairs; ++x) {
        yuv::vectorBgr(y0[x], u[x / 2], v[x / 2], d0 + 3 * x);
        yuv::vectorBgr(y1[x], u[x / 2], v[x / 2], d1 + 3 * x);
    }
}

// ---- YCbCr repacking

// Packed 4:2:2 to 4:2:0, 32 pixels per pass: bytes separated by masks, luma of both rows, chroma
// of the upper one. `swapChroma` exchanges the two chroma destinations.
template <typename Tier>
void rows422To420(const Lum8u* s0, const Lum8u* s1, Lum8u* y0, Lum8u* y1, Lum8u* cb, Lum8u* cr, size_t pairs,
                  bool swapChroma)
{
    if (swapChroma) std::swap(cb, cr);
    const __m128i low = _mm_set1_epi16(0x00FF);
    const auto evens = [low](__m128i a, __m128i b) {
        return _mm_packus_epi16(_mm_and_si128(a, low), _mm_and_si128(b, low));
    };
    const auto odds = [](__m128i a, __m128i b) {
        return _mm_packus_epi16(_mm_srli_epi16(a, 8), _mm_srli_epi16(b, 8));
    };
    size_t c = 0;
    for (; pairs - c >= 16; c += 16) {
        __m128i a[4], b[4];
        for (int k = 0; k < 4; ++k) {
            a[k] = load16<Tier>(s0 + 4 * c + 16 * k);
            b[k] = load16<Tier>(s1 + 4 * c + 16 * k);
        }
        store16<Tier>(y0 + 2 * c, evens(a[0], a[1]));
        store16<Tier>(y0 + 2 * c + 16, evens(a[2], a[3]));
        store16<Tier>(y1 + 2 * c, evens(b[0], b[1]));
        store16<Tier>(y1 + 2 * c + 16, evens(b[2], b[3]));
        const __m128i ch0 = odds(a[0], a[1]), ch1 = odds(a[2], a[3]);
        store16<Tier>(cb + c, evens(ch0, ch1));
        store16<Tier>(cr + c, odds(ch0, ch1));
    }
    yuv::scalarRows422To420(s0 + 4 * c, s1 + 4 * c, y0 + 2 * c, y1 + 2 * c, cb + c, cr + c, pairs - c);
}

// Planar 4:2:0 to packed 4:2:2, 32 pixels per pass; with `Stream`, every pointer is 16-byte aligned
// and the stores are non-temporal.
template <typename Tier, bool Stream>
void row420To422(const Lum8u* y, const Lum8u* cb, const Lum8u* cr, Lum8u* d, size_t pairs)
{
    const auto load = [](const Lum8u* p) {
        if constexpr (Stream) return _mm_load_si128(reinterpret_cast<const __m128i*>(p));
        return load16<Tier>(p);
    };
    const auto store = [](Lum8u* p, __m128i v) {
        if constexpr (Stream)
            _mm_stream_si128(reinterpret_cast<__m128i*>(p), v);
        else
            store16<Tier>(p, v);
    };
    size_t c = 0;
    for (; pairs - c >= 16; c += 16) {
        const __m128i ya = load(y + 2 * c), yb = load(y + 2 * c + 16);
        const __m128i cbv = load(cb + c), crv = load(cr + c);
        const __m128i lo = _mm_unpacklo_epi8(cbv, crv), hi = _mm_unpackhi_epi8(cbv, crv);
        store(d + 4 * c, _mm_unpacklo_epi8(ya, lo));
        store(d + 4 * c + 16, _mm_unpackhi_epi8(ya, lo));
        store(d + 4 * c + 32, _mm_unpacklo_epi8(yb, hi));
        store(d + 4 * c + 48, _mm_unpackhi_epi8(yb, hi));
    }
    yuv::scalarRow420To422(y + 2 * c, cb + c, cr + c, d + 4 * c, pairs - c);
}

// The non-temporal kernel runs when every pointer and step is a multiple of 16 and the rows of all
// planes together exceed 524288 bytes.
template <typename Tier>
bool repackStreams(const Lum8u* const pSrc[3], const Lum32s srcStep[3], const Lum8u* pDst, Lum32s dstStep,
                   LumSize roi)
{
    uintptr_t bits = reinterpret_cast<uintptr_t>(pDst) | uint32_t(dstStep);
    int64_t stepSum = dstStep;
    for (int p = 0; p < 3; ++p) {
        bits |= reinterpret_cast<uintptr_t>(pSrc[p]) | uint32_t(srcStep[p]);
        stepSum += srcStep[p];
    }
    return (bits & 15) == 0 && stepSum * roi.height > 524288;
}

}  // namespace lum::yuvvec

// Defines the RGB to YUV conversions in the including tier's namespace, with its policy `Tier`.
#define LUM_VECTOR_RGB_TO_YUV                                                                              \
    LumStatus lumiRGBToYUV420_8u_C3P3R(const Lum8u* pSrc, Lum32s srcStep, Lum8u* const pDst[3],            \
                                       const Lum32s dstStep[3], LumSize roi)                               \
    {                                                                                                      \
        const LumStatus status = yuv::checkPlanesLast(pSrc, pDst, pDst, roi);                              \
        if (status == lumStsNoErr)                                                                         \
            yuv::rgbToYuv420(pSrc, srcStep, pDst, dstStep, roi, yuvvec::pairRows420<Tier>);                \
        return status;                                                                                     \
    }                                                                                                      \
    LumStatus lumiRGBToYUV422_8u_C3P3R(const Lum8u* pSrc, Lum32s srcStep, Lum8u* const pDst[3],            \
                                       const Lum32s dstStep[3], LumSize roi)                               \
    {                                                                                                      \
        const LumStatus status = yuv::checkPlanesLast(pSrc, pDst, pDst, roi);                              \
        if (status == lumStsNoErr)                                                                         \
            yuv::rgbToYuv422(pSrc, srcStep, pDst, dstStep, roi, yuvvec::row422<Tier>, yuv::vectorLast422); \
        return status;                                                                                     \
    }

// Defines the other three conversions of w7 and t7.
#define LUM_VECTOR_YUV_OTHERS                                                                            \
    LumStatus lumiYUV420ToBGR_8u_P3C3R(const Lum8u* const pSrc[3], const Lum32s srcStep[3], Lum8u* pDst, \
                                       Lum32s dstStep, LumSize roi)                                      \
    {                                                                                                    \
        const LumStatus status = yuv::checkPlanesLast(pSrc, pDst, pSrc, roi);                            \
        if (status == lumStsNoErr)                                                                       \
            yuv::yuv420ToBgr(pSrc, srcStep, pDst, dstStep, roi, yuvvec::pairRowsBgr<Tier>);              \
        return status;                                                                                   \
    }                                                                                                    \
    LumStatus lumiYCbCr422ToYCbCr420_8u_C2P3R(const Lum8u* pSrc, Lum32s srcStep, Lum8u* const pDst[3],   \
                                              const Lum32s dstStep[3], LumSize roi)                      \
    {                                                                                                    \
        const LumStatus status = yuv::checkRepackToPlanes(pSrc, pDst, roi);                              \
        if (status == lumStsNoErr)                                                                       \
            yuv::ycbcr422To420(                                                                          \
                pSrc, srcStep, pDst, dstStep, roi,                                                       \
                [](const Lum8u* s0, const Lum8u* s1, Lum8u* y0, Lum8u* y1, Lum8u* cb, Lum8u* cr,         \
                   size_t pairs) { yuvvec::rows422To420<Tier>(s0, s1, y0, y1, cb, cr, pairs, false); }); \
        return status;                                                                                   \
    }                                                                                                    \
    LumStatus lumiYCrCb420ToYCbCr422_8u_P3C2R(const Lum8u* const pSrc[3], const Lum32s srcStep[3],       \
                                              Lum8u* pDst, Lum32s dstStep, LumSize roi)                  \
    {                                                                                                    \
        const LumStatus status = yuv::checkRepackToPacked(pSrc, pDst, roi);                              \
        if (status != lumStsNoErr) return status;                                                        \
        if (yuvvec::repackStreams<Tier>(pSrc, srcStep, pDst, dstStep, roi)) {                            \
            yuv::ycrcb420To422(pSrc, srcStep, pDst, dstStep, roi, yuvvec::row420To422<Tier, true>);      \
            _mm_sfence();                                                                                \
        } else {                                                                                         \
            yuv::ycrcb420To422(pSrc, srcStep, pDst, dstStep, roi, yuvvec::row420To422<Tier, false>);     \
        }                                                                                                \
        return status;                                                                                   \
    }
