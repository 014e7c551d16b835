// The inner loops of the row kernels in SSE2. Loads never reach past the samples that the scalar
// formulas read: gathers take 2 or 4 bytes at a time, and the tails fall back to the formulas.
#include "resize/row_vector.h"

#include <emmintrin.h>

#include <cstring>

namespace lum::rowvec {
namespace {

int load16(const Lum8u* p)
{
    uint16_t v;
    std::memcpy(&v, p, 2);
    return v;
}

int32_t load32(const Lum8u* p)
{
    int32_t v;
    std::memcpy(&v, p, 4);
    return v;
}

// Four bytes as four float lanes.
__m128 bytesToFloats(int32_t bytes)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i b = _mm_cvtsi32_si128(bytes);
    return _mm_cvtepi32_ps(_mm_unpacklo_epi16(_mm_unpacklo_epi8(b, zero), zero));
}

// The cubic through p0..p3 in four float lanes, in the order of the scalar form.
__m128 cubicLanes(__m128 p0, __m128 p1, __m128 p2, __m128 p3, __m128 a, __m128 b, __m128 c)
{
    const __m128 d1 = _mm_sub_ps(p1, p0);
    const __m128 d2 = _mm_sub_ps(_mm_sub_ps(p2, p1), d1);
    const __m128 d3 = _mm_sub_ps(_mm_add_ps(_mm_sub_ps(_mm_sub_ps(p3, p2), p2), p1), d2);
    return _mm_add_ps(_mm_add_ps(_mm_add_ps(p0, _mm_mul_ps(a, d1)), _mm_mul_ps(b, d2)), _mm_mul_ps(c, d3));
}

// Adds the rounding constant, truncates and clamps 8 float lanes to bytes (in the low 8 bytes).
__m128i finishLanes(__m128 lo, __m128 hi)
{
    const __m128 half = _mm_set1_ps(0.5000001f);
    const __m128i a = _mm_cvttps_epi32(_mm_add_ps(lo, half));
    const __m128i b = _mm_cvttps_epi32(_mm_add_ps(hi, half));
    return _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_setzero_si128());
}

// a, b and c of four columns from their fractions, computed in 64-bit lanes two columns at a time and
// kept as floats.
struct CubicLanes {
    __m128 a, b, c;
};

CubicLanes cubicCoefficientLanes(const Lum32f* fractions)
{
    const __m128 t = _mm_loadu_ps(fractions);
    const __m128d one = _mm_set1_pd(1.0), half = _mm_set1_pd(0.5), three = _mm_set1_pd(3.0);
    __m128 k[2][3];
    for (int h = 0; h < 2; ++h) {
        const __m128d th = _mm_cvtps_pd(h == 0 ? t : _mm_movehl_ps(t, t));
        const __m128d a = _mm_add_pd(th, one);
        const __m128d b = _mm_mul_pd(_mm_mul_pd(th, a), half);
        const __m128d c = _mm_div_pd(_mm_mul_pd(_mm_sub_pd(th, one), b), three);
        k[h][0] = _mm_cvtpd_ps(a);
        k[h][1] = _mm_cvtpd_ps(b);
        k[h][2] = _mm_cvtpd_ps(c);
    }
    return {_mm_movelh_ps(k[0][0], k[1][0]), _mm_movelh_ps(k[0][1], k[1][1]),
            _mm_movelh_ps(k[0][2], k[1][2])};
}

template <int Lane>
__m128 broadcast(__m128 v)
{
    return _mm_shuffle_ps(v, v, _MM_SHUFFLE(Lane, Lane, Lane, Lane));
}

}  // namespace

void gatherBytes(const Lum8u* s, const Lum32s* offsets, Lum8u* d, Lum32s n)
{
    Lum32s j = 0;
    for (; j + 4 <= n; j += 4) {
        d[j] = s[offsets[j]];
        d[j + 1] = s[offsets[j + 1]];
        d[j + 2] = s[offsets[j + 2]];
        d[j + 3] = s[offsets[j + 3]];
    }
    for (; j < n; ++j) d[j] = s[offsets[j]];
}

// Three bytes per pixel as one 16-bit and one 8-bit load and one 32-bit store, whose fourth byte the
// next pixel overwrites; the last pixel is stored bytewise.
void gatherPixels3(const Lum8u* s, const Lum32s* offsets, Lum8u* d, Lum32s n)
{
    Lum32s j = 0;
    for (; j + 1 < n; ++j) {
        const Lum8u* p = s + offsets[j];
        const uint32_t v = uint32_t(load16(p)) | uint32_t(p[2]) << 16;
        std::memcpy(d + 3 * j, &v, 4);
    }
    for (; j < n; ++j)
        for (int c = 0; c < 3; ++c) d[3 * j + c] = s[offsets[j] + c];
}

// Eight columns at a time: each pair s[x], s[x+1] is one 16-bit gather, and one multiply-add per
// column applies the weight pair, which the table already holds interleaved.
void linearHorizontalC1(const Lum8u* s, const Lum32s* offsets, const Lum16u* weights, Lum16u* out, Lum32s n)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i round = _mm_set1_epi32(128);
    Lum32s j = 0;
    for (; j + 8 <= n; j += 8) {
        __m128i pairs = _mm_cvtsi32_si128(load16(s + offsets[j]));
        pairs = _mm_insert_epi16(pairs, load16(s + offsets[j + 1]), 1);
        pairs = _mm_insert_epi16(pairs, load16(s + offsets[j + 2]), 2);
        pairs = _mm_insert_epi16(pairs, load16(s + offsets[j + 3]), 3);
        pairs = _mm_insert_epi16(pairs, load16(s + offsets[j + 4]), 4);
        pairs = _mm_insert_epi16(pairs, load16(s + offsets[j + 5]), 5);
        pairs = _mm_insert_epi16(pairs, load16(s + offsets[j + 6]), 6);
        pairs = _mm_insert_epi16(pairs, load16(s + offsets[j + 7]), 7);
        const __m128i w = _mm_loadu_si128(reinterpret_cast<const __m128i*>(weights + 2 * j));
        const __m128i w2 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(weights + 2 * j + 8));
        const __m128i a = _mm_madd_epi16(_mm_unpacklo_epi8(pairs, zero), w);
        const __m128i b = _mm_madd_epi16(_mm_unpackhi_epi8(pairs, zero), w2);
        const __m128i ra = _mm_srli_epi32(_mm_add_epi32(a, round), 8);
        const __m128i rb = _mm_srli_epi32(_mm_add_epi32(b, round), 8);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + j), _mm_packs_epi32(ra, rb));
    }
    for (; j < n; ++j) {
        const Lum8u* p = s + offsets[j];
        out[j] = resize::linearHorizontal(p[0], p[1], weights[2 * j], weights[2 * j + 1]);
    }
}

// One pixel per multiply-add: the six bytes x to x+5 become the pairs (s[x+c], s[x+3+c]) of the three
// channels, and the fourth pair is weighted zero.
void linearHorizontalC3(const Lum8u* s, const Lum32s* offsets, const Lum16u* weights, Lum16u* out, Lum32s n)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i round = _mm_set1_epi32(128);
    auto pixel = [&](Lum32s j) {
        const Lum8u* p = s + offsets[j];
        const __m128i near = _mm_cvtsi32_si128(load32(p));
        const __m128i far = _mm_srli_epi32(_mm_cvtsi32_si128(load32(p + 2)), 8);
        return _mm_unpacklo_epi8(_mm_unpacklo_epi8(near, far), zero);
    };
    auto weight = [&](Lum32s j) {
        uint32_t pair;
        std::memcpy(&pair, weights + 2 * j, 4);
        return _mm_set_epi32(0, int32_t(pair), int32_t(pair), int32_t(pair));
    };
    Lum32s j = 0;
    for (; j + 2 < n; j += 2) {
        const __m128i a = _mm_srli_epi32(_mm_add_epi32(_mm_madd_epi16(pixel(j), weight(j)), round), 8);
        const __m128i b =
            _mm_srli_epi32(_mm_add_epi32(_mm_madd_epi16(pixel(j + 1), weight(j + 1)), round), 8);
        const __m128i v = _mm_packs_epi32(a, b);
        // Four values per pixel, the fourth overwritten by the next pixel; the last pixel is scalar.
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 3 * j), v);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 3 * j + 3), _mm_unpackhi_epi64(v, v));
    }
    for (; j < n; ++j) {
        const Lum8u* p = s + offsets[j];
        for (int c = 0; c < 3; ++c)
            out[3 * j + c] = resize::linearHorizontal(p[c], p[3 + c], weights[2 * j], weights[2 * j + 1]);
    }
}

// Sixteen samples at a time: the lower and upper values interleave into pairs for one multiply-add
// with the pair (wy, 16384 - wy).
void linearVertical(const Lum16u* upper, const Lum16u* lower, uint32_t wy, Lum8u* d, Lum32s n)
{
    const __m128i w = _mm_set1_epi32(int32_t(wy | ((resize::kQ14 - wy) << 16)));
    const __m128i round = _mm_set1_epi32(524288);
    auto eight = [&](Lum32s k) {
        const __m128i u = _mm_loadu_si128(reinterpret_cast<const __m128i*>(upper + k));
        const __m128i l = _mm_loadu_si128(reinterpret_cast<const __m128i*>(lower + k));
        const __m128i a = _mm_madd_epi16(_mm_unpacklo_epi16(l, u), w);
        const __m128i b = _mm_madd_epi16(_mm_unpackhi_epi16(l, u), w);
        return _mm_packs_epi32(_mm_srli_epi32(_mm_add_epi32(a, round), 20),
                               _mm_srli_epi32(_mm_add_epi32(b, round), 20));
    };
    Lum32s k = 0;
    for (; k + 16 <= n; k += 16)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d + k), _mm_packus_epi16(eight(k), eight(k + 8)));
    for (; k + 8 <= n; k += 8)
        _mm_storel_epi64(reinterpret_cast<__m128i*>(d + k), _mm_packus_epi16(eight(k), _mm_setzero_si128()));
    for (; k < n; ++k) d[k] = resize::linearVertical(upper[k], lower[k], wy);
}

// Four columns at a time: each column's four samples are one 32-bit gather, and p0 to p3 are its four
// bytes, one column per lane.
void cubicHorizontalC1(const Lum8u* s, const Lum32s* offsets, const Lum32f* fractions, Lum32f* out, Lum32s n)
{
    Lum32s j = 0;
    for (; j + 4 <= n; j += 4) {
        const __m128i v = _mm_setr_epi32(load32(s + offsets[j] - 1), load32(s + offsets[j + 1] - 1),
                                         load32(s + offsets[j + 2] - 1), load32(s + offsets[j + 3] - 1));
        const __m128i low = _mm_set1_epi32(0xFF);
        const __m128 p0 = _mm_cvtepi32_ps(_mm_and_si128(v, low));
        const __m128 p1 = _mm_cvtepi32_ps(_mm_and_si128(_mm_srli_epi32(v, 8), low));
        const __m128 p2 = _mm_cvtepi32_ps(_mm_and_si128(_mm_srli_epi32(v, 16), low));
        const __m128 p3 = _mm_cvtepi32_ps(_mm_srli_epi32(v, 24));
        const CubicLanes k = cubicCoefficientLanes(fractions + j);
        _mm_storeu_ps(out + j, cubicLanes(p0, p1, p2, p3, k.a, k.b, k.c));
    }
    for (; j < n; ++j) {
        const Lum8u* p = s + offsets[j];
        out[j] = static_cast<Lum32f>(
            resize::cubicValue(p[-1], p[0], p[1], p[2], resize::cubicCoefficients(fractions[j])));
    }
}

// One pixel in the lanes of its three channels: the taps at x-3, x, x+3 and x+6 are 32-bit loads that
// stay within bytes x-3 to x+8. Four values are stored per pixel and the fourth is overwritten by the
// next pixel, so the last pixel takes the scalar form.
void cubicHorizontalC3(const Lum8u* s, const Lum32s* offsets, const Lum32f* fractions, Lum32f* out, Lum32s n)
{
    auto pixel = [&](Lum32s j, __m128 a, __m128 b, __m128 c) {
        const Lum8u* p = s + offsets[j];
        const __m128 p3 = bytesToFloats(int32_t(uint32_t(load32(p + 5)) >> 8));
        const __m128 v = cubicLanes(bytesToFloats(load32(p - 3)), bytesToFloats(load32(p)),
                                    bytesToFloats(load32(p + 3)), p3, a, b, c);
        _mm_storeu_ps(out + 3 * j, v);
    };
    Lum32s j = 0;
    for (; j + 4 < n; j += 4) {
        const CubicLanes k = cubicCoefficientLanes(fractions + j);
        pixel(j, broadcast<0>(k.a), broadcast<0>(k.b), broadcast<0>(k.c));
        pixel(j + 1, broadcast<1>(k.a), broadcast<1>(k.b), broadcast<1>(k.c));
        pixel(j + 2, broadcast<2>(k.a), broadcast<2>(k.b), broadcast<2>(k.c));
        pixel(j + 3, broadcast<3>(k.a), broadcast<3>(k.b), broadcast<3>(k.c));
    }
    for (; j < n; ++j) {
        const Lum8u* p = s + offsets[j];
        const resize::CubicCoefficients k = resize::cubicCoefficients(fractions[j]);
        for (int c = 0; c < 3; ++c)
            out[3 * j + c] = static_cast<Lum32f>(resize::cubicValue(p[c - 3], p[c], p[c + 3], p[c + 6], k));
    }
}

void cubicVertical(Lum32f* const* rows, const resize::CubicCoefficients& k, Lum8u* d, Lum32s n)
{
    const __m128 a = _mm_set1_ps(static_cast<Lum32f>(k.a));
    const __m128 b = _mm_set1_ps(static_cast<Lum32f>(k.b));
    const __m128 c = _mm_set1_ps(static_cast<Lum32f>(k.c));
    auto four = [&](Lum32s i) {
        return cubicLanes(_mm_loadu_ps(rows[0] + i), _mm_loadu_ps(rows[1] + i), _mm_loadu_ps(rows[2] + i),
                          _mm_loadu_ps(rows[3] + i), a, b, c);
    };
    Lum32s i = 0;
    for (; i + 8 <= n; i += 8)
        _mm_storel_epi64(reinterpret_cast<__m128i*>(d + i), finishLanes(four(i), four(i + 4)));
    for (; i < n; ++i)
        d[i] = resize::roundClamp(resize::cubicValue(rows[0][i], rows[1][i], rows[2][i], rows[3][i], k));
}

// Two samples at a time in 64-bit lanes, the sum in the order of the scalar form.
void lanczosVertical(Lum32f* const* rows, const Lum32f* coefficients, Lum8u* d, Lum32s n)
{
    __m128d r[6];
    for (int m = 0; m < 6; ++m) r[m] = _mm_set1_pd(coefficients[m]);
    const __m128d half = _mm_set1_pd(0.5000001);
    Lum32s i = 0;
    for (; i + 4 <= n; i += 4) {
        __m128d lo = _mm_setzero_pd(), hi = _mm_setzero_pd();
        for (int m = 0; m < 6; ++m) {
            const __m128 v = _mm_loadu_ps(rows[m] + i);
            lo = _mm_add_pd(lo, _mm_mul_pd(r[m], _mm_cvtps_pd(v)));
            hi = _mm_add_pd(hi, _mm_mul_pd(r[m], _mm_cvtps_pd(_mm_movehl_ps(v, v))));
        }
        // Truncation of the 64-bit lanes, then the clamp through saturating packs.
        const __m128i a = _mm_cvttpd_epi32(_mm_add_pd(lo, half));
        const __m128i b = _mm_cvttpd_epi32(_mm_add_pd(hi, half));
        const __m128i v = _mm_packs_epi32(_mm_unpacklo_epi64(a, b), _mm_setzero_si128());
        const int32_t bytes = _mm_cvtsi128_si32(_mm_packus_epi16(v, v));
        std::memcpy(d + i, &bytes, 4);
    }
    for (; i < n; ++i) {
        double sum = 0.0;
        for (int m = 0; m < 6; ++m) sum += static_cast<double>(coefficients[m]) * rows[m][i];
        d[i] = resize::roundClamp(sum);
    }
}

}  // namespace lum::rowvec
