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

// A riffle on 48 bytes read as 24 16-bit words held in three registers: word k goes to 2k and
// word k + 12 to 2k + 1. Three rounds take word 3j + c to word j of register c, so that 16
// three-byte pixels come out as the byte pairs (R, G) of the even pixels, (B even, R odd) and
// (G odd, B odd), each register in pixel order. The first round takes the halves it needs from
// unaligned loads at bytes 8 and 24 instead of byte shifts.
template <typename Tier>
void riffle16(__m128i& a, __m128i& b, __m128i& c)
{
    const __m128i o0 = _mm_unpacklo_epi16(a, _mm_srli_si128(b, 8));
    const __m128i o1 = _mm_unpackhi_epi16(a, _mm_slli_si128(c, 8));
    const __m128i o2 = _mm_unpackhi_epi16(_mm_slli_si128(b, 8), c);
    a = o0;
    b = o1;
    c = o2;
}

template <typename Tier>
void loadRiffled(const Lum8u* s, __m128i& a, __m128i& b, __m128i& c)
{
    const __m128i first = load16<Tier>(s), middle = load16<Tier>(s + 24);
    a = _mm_unpacklo_epi16(first, middle);
    b = _mm_unpackhi_epi16(first, middle);
    c = _mm_unpackhi_epi16(load16<Tier>(s + 8), load16<Tier>(s + 32));
    riffle16<Tier>(a, b, c);
    riffle16<Tier>(a, b, c);
}

// The inverse of a byte riffle round (byte k to 2k, byte k + 24 to 2k + 1): even bytes first, then
// odd ones. Three rounds take the eight-byte runs (channel 0, 1, 2 of the even pixels, then of the
// odd ones) to 16 interleaved three-byte pixels.
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

// Luma with one fractional bit of eight pixels from their (R, G) word pairs and B words, the two
// partial products shifted separately: (9798 R + 19235 G) >> 14 by pmaddwd, (3736 B) >> 14 as the
// high half of 14944 B.
template <typename Tier>
__m128i luma1(__m128i rgLow, __m128i rgHigh, __m128i b)
{
    const __m128i rg = _mm_set1_epi32(9798 | 19235 << 16);
    const __m128i lo = _mm_srai_epi32(_mm_madd_epi16(rgLow, rg), 14);
    const __m128i hi = _mm_srai_epi32(_mm_madd_epi16(rgHigh, rg), 14);
    const __m128i blue = _mm_mulhi_epu16(b, _mm_set1_epi16(4 * 3736));
    return _mm_add_epi16(_mm_packs_epi32(lo, hi), blue);
}

// 16 RGB pixels split into their eight even and eight odd pixels, as 16-bit R, B and luma1. Every
// chroma sum is then a plain addition of even and odd lanes.
template <typename Tier>
struct RgbPass {
    __m128i rEven, rOdd, bEven, bOdd, lumaEven, lumaOdd;

    explicit RgbPass(const Lum8u* s)
    {
        __m128i rg, br, gb;
        loadRiffled<Tier>(s, rg, br, gb);
        const __m128i zero = _mm_setzero_si128(), low = _mm_set1_epi16(0x00FF);
        const __m128i gOdd = _mm_and_si128(gb, low);
        rEven = _mm_and_si128(rg, low);
        rOdd = _mm_srli_epi16(br, 8);
        bEven = _mm_and_si128(br, low);
        bOdd = _mm_srli_epi16(gb, 8);
        lumaEven = luma1<Tier>(_mm_unpacklo_epi8(rg, zero), _mm_unpackhi_epi8(rg, zero), bEven);
        lumaOdd = luma1<Tier>(_mm_unpacklo_epi16(rOdd, gOdd), _mm_unpackhi_epi16(rOdd, gOdd), bOdd);
    }

    // Y = luma1 >> 1, which stays within 0 to 254, so no saturation is needed: the even pixels'
    // luma in the low bytes, the odd ones' in the high bytes.
    void storeLuma(Lum8u* y) const
    {
        const __m128i odd = _mm_and_si128(_mm_slli_epi16(lumaOdd, 7), _mm_set1_epi16(-256));
        store16<Tier>(y, _mm_or_si128(_mm_srli_epi16(lumaEven, 1), odd));
    }
};

// Eight chroma differences of each plane to bytes, ((d * k) >> 16) + 128 saturated: U into the low
// eight bytes, V into the high ones. x + 128 saturated to 0..255 is x saturated to -128..127 with
// the top bit flipped.
template <typename Tier>
void storeChroma(Lum8u* u, Lum8u* v, __m128i db, __m128i dr)
{
    const __m128i both = _mm_xor_si128(_mm_packs_epi16(_mm_mulhi_epi16(db, _mm_set1_epi16(16121)),
                                                       _mm_mulhi_epi16(dr, _mm_set1_epi16(28737))),
                                       _mm_set1_epi8(-128));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(u), both);
    _mm_storeh_pi(reinterpret_cast<__m64*>(v), _mm_castsi128_ps(both));
}

// Eight 2 by 2 blocks: D = (S >> 1) - (S1 >> 2) with S1 the sum of the four luma1 values. Every sum
// fits 16 bits.
template <typename Tier>
void pass420(const Lum8u* s0, const Lum8u* s1, Lum8u* y0, Lum8u* y1, Lum8u* u, Lum8u* v)
{
    const RgbPass<Tier> a(s0), b(s1);
    a.storeLuma(y0);
    b.storeLuma(y1);
    const auto sum4 = [](__m128i p, __m128i q, __m128i r, __m128i s) {
        return _mm_add_epi16(_mm_add_epi16(p, q), _mm_add_epi16(r, s));
    };
    const __m128i s1q = _mm_srai_epi16(sum4(a.lumaEven, a.lumaOdd, b.lumaEven, b.lumaOdd), 2);
    const __m128i db = _mm_sub_epi16(_mm_srai_epi16(sum4(a.bEven, a.bOdd, b.bEven, b.bOdd), 1), s1q);
    const __m128i dr = _mm_sub_epi16(_mm_srai_epi16(sum4(a.rEven, a.rOdd, b.rEven, b.rOdd), 1), s1q);
    storeChroma<Tier>(u, v, db, dr);
}

// Eight pairs of one row: D = S - ((luma1a + luma1b) >> 1).
template <typename Tier>
void pass422(const Lum8u* s, Lum8u* y, Lum8u* u, Lum8u* v)
{
    const RgbPass<Tier> a(s);
    a.storeLuma(y);
    const __m128i half = _mm_srai_epi16(_mm_add_epi16(a.lumaEven, a.lumaOdd), 1);
    storeChroma<Tier>(u, v, _mm_sub_epi16(_mm_add_epi16(a.bEven, a.bOdd), half),
                      _mm_sub_epi16(_mm_add_epi16(a.rEven, a.rOdd), half));
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

// The chroma terms of eight samples, each serving two columns. 16 U - 2048 and 16 V - 2048 times
// their coefficients, high halves; green's two terms joined. No 16-bit sum of 2 Y and the terms can
// saturate (2 Y is at most 510, a term at most 521 in size), so (2 Y + t) >> 1 equals Y + (t >> 1),
// and the halved terms are added to Y once per pixel.
struct BgrTerms {
    __m128i blue, green, red;
};

template <typename Tier>
__m128i chroma1(const Lum8u* p)
{
    const __m128i c =
        _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)), _mm_setzero_si128());
    return _mm_subs_epi16(_mm_slli_epi16(c, 4), _mm_set1_epi16(2048));
}

template <typename Tier>
BgrTerms bgrTerms(const Lum8u* u, const Lum8u* v)
{
    const __m128i u1 = chroma1<Tier>(u), v1 = chroma1<Tier>(v);
    const __m128i greenU = _mm_mulhi_epi16(u1, _mm_set1_epi16(-3228));
    const __m128i greenV = _mm_mulhi_epi16(v1, _mm_set1_epi16(-4760));
    return {_mm_srai_epi16(_mm_mulhi_epi16(u1, _mm_set1_epi16(16646)), 1),
            _mm_srai_epi16(_mm_add_epi16(greenU, greenV), 1),
            _mm_srai_epi16(_mm_mulhi_epi16(v1, _mm_set1_epi16(9339)), 1)};
}

// 16 columns of one row: the even and the odd columns each take the eight terms as they are; the
// sums packed with saturation straight into the runs that three unzip rounds join into BGR pixels.
template <typename Tier>
void bgrRow16(const Lum8u* y, Lum8u* d, const BgrTerms& t)
{
    const __m128i yv = load16<Tier>(y);
    const __m128i even = _mm_and_si128(yv, _mm_set1_epi16(0x00FF)), odd = _mm_srli_epi16(yv, 8);
    __m128i a = _mm_packus_epi16(_mm_add_epi16(even, t.blue), _mm_add_epi16(even, t.green));
    __m128i b = _mm_packus_epi16(_mm_add_epi16(even, t.red), _mm_add_epi16(odd, t.blue));
    __m128i c = _mm_packus_epi16(_mm_add_epi16(odd, t.green), _mm_add_epi16(odd, t.red));
    unzip<Tier>(a, b, c);
    unzip<Tier>(a, b, c);
    unzip<Tier>(a, b, c);
    store16<Tier>(d, a);
    store16<Tier>(d + 16, b);
    store16<Tier>(d + 32, c);
}

// A pair of rows: blocks of 16 columns; the column pairs left over by the same formulas, scalar.
template <typename Tier>
void pairRowsBgr(const Lum8u* y0, const Lum8u* y1, const Lum8u* u, const Lum8u* v, Lum8u* d0, Lum8u* d1,
                 size_t pairs)
{
    size_t c = 0;
    for (; pairs - c >= 8; c += 8) {
        const BgrTerms t = bgrTerms<Tier>(u + c, v + c);
        bgrRow16<Tier>(y0 + 2 * c, d0 + 6 * c, t);
        bgrRow16<Tier>(y1 + 2 * c, d1 + 6 * c, t);
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
