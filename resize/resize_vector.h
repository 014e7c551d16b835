// The packed pieces of the vector tiers: super-sampling row sums and the capped Lanczos coefficient
// builder. Templated on the tier, which gives the bytes per step (8 in a6, 16 in w7 and t7) and its
// 16-byte load, so that the instantiations of different instruction sets never merge.
#pragma once

#include "resize/resize_lanczos.h"

#include <lum.h>

#include <emmintrin.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace lum::resize {

template <typename Tier>
__m128i loadRowBytes(const Lum8u* s)
{
    if constexpr (Tier::kRowBytes == 8)
        return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(s));
    else
        return Tier::load16(s);
}

// Runs op(index, four samples as 32-bit lanes) over whole steps of the row; returns the samples done.
template <typename Tier, typename Op>
Lum32s forEachQuad(const Lum8u* s, Lum32s n, Op op)
{
    const __m128i zero = _mm_setzero_si128();
    Lum32s i = 0;
    for (; i + Tier::kRowBytes <= n; i += Tier::kRowBytes) {
        const __m128i bytes = loadRowBytes<Tier>(s + i);
        const __m128i low = _mm_unpacklo_epi8(bytes, zero);
        op(i, _mm_unpacklo_epi16(low, zero));
        op(i + 4, _mm_unpackhi_epi16(low, zero));
        if constexpr (Tier::kRowBytes == 16) {
            const __m128i high = _mm_unpackhi_epi8(bytes, zero);
            op(i + 8, _mm_unpacklo_epi16(high, zero));
            op(i + 12, _mm_unpackhi_epi16(high, zero));
        }
    }
    return i;
}

// acc[i] += s[i]: whole rows into 32-bit integer sums.
template <typename Tier>
void addRowPacked(uint32_t* acc, const Lum8u* s, Lum32s n)
{
    Lum32s i = forEachQuad<Tier>(s, n, [&](Lum32s k, __m128i v) {
        auto p = reinterpret_cast<__m128i*>(acc + k);
        _mm_storeu_si128(p, _mm_add_epi32(_mm_loadu_si128(p), v));
    });
    for (; i < n; ++i) acc[i] += s[i];
}

// acc[i] += float(s[i]) * w, in the order of the scalar form: one product, one sum.
template <typename Tier, bool Scaled>
void addRowFloatPacked(Lum32f* acc, const Lum8u* s, Lum32s n, Lum32f w)
{
    const __m128 weight = _mm_set1_ps(w);
    Lum32s i = forEachQuad<Tier>(s, n, [&](Lum32s k, __m128i v) {
        __m128 x = _mm_cvtepi32_ps(v);
        if constexpr (Scaled) x = _mm_mul_ps(x, weight);
        _mm_storeu_ps(acc + k, _mm_add_ps(_mm_loadu_ps(acc + k), x));
    });
    for (; i < n; ++i) acc[i] += Scaled ? Lum32f(s[i]) * w : Lum32f(s[i]);
}

// The row sums of a vector tier's policy; Tier derives from it.
template <typename Tier>
struct PackedRowSums {
    static void addRow(uint32_t* acc, const Lum8u* s, Lum32s n) { addRowPacked<Tier>(acc, s, n); }
    static void addRow(Lum32f* acc, const Lum8u* s, Lum32s n)
    {
        addRowFloatPacked<Tier, false>(acc, s, n, 1.0f);
    }
    static void addRowScaled(Lum32f* acc, const Lum8u* s, Lum32s n, Lum32f w)
    {
        addRowFloatPacked<Tier, true>(acc, s, n, w);
    }
};

// Four fractions at a time in 32-bit floats. abs(t) is capped at 3, where entry 300 and the zero
// after it give a zero weight, instead of being tested.
template <typename Tier>
void lanczosWeightsPacked(const Lum32f* fractions, Lum32s len, Lum32f* out)
{
    const Lum32f* table = lanczos3Table;
    const __m128 sign = _mm_set1_ps(-0.0f);
    for (Lum32s e = 0; e < len; e += 4) {
        const Lum32s lanes = std::min<Lum32s>(4, len - e);
        alignas(16) Lum32f f[4] = {0.0f, 0.0f, 0.0f, 0.0f};
        std::memcpy(f, fractions + e, sizeof(Lum32f) * static_cast<size_t>(lanes));
        __m128 t = _mm_sub_ps(_mm_set1_ps(-2.0f), _mm_load_ps(f));
        __m128 raw[6];
        __m128 sum = _mm_setzero_ps();
        for (int k = 0; k < 6; ++k, t = _mm_add_ps(t, _mm_set1_ps(1.0f))) {
            const __m128 a =
                _mm_mul_ps(_mm_min_ps(_mm_andnot_ps(sign, t), _mm_set1_ps(3.0f)), _mm_set1_ps(100.0f));
            const __m128i index = _mm_cvttps_epi32(a);
            alignas(16) Lum32s i[4];
            _mm_store_si128(reinterpret_cast<__m128i*>(i), index);
            const __m128 lo = _mm_setr_ps(table[i[0]], table[i[1]], table[i[2]], table[i[3]]);
            const __m128 hi = _mm_setr_ps(table[i[0] + 1], table[i[1] + 1], table[i[2] + 1], table[i[3] + 1]);
            raw[k] = _mm_add_ps(lo, _mm_mul_ps(_mm_sub_ps(a, _mm_cvtepi32_ps(index)), _mm_sub_ps(hi, lo)));
            sum = _mm_add_ps(sum, raw[k]);
        }
        alignas(16) Lum32f w[6][4];
        for (int k = 0; k < 6; ++k) _mm_store_ps(w[k], _mm_div_ps(raw[k], sum));
        for (Lum32s lane = 0; lane < lanes; ++lane)
            for (int k = 0; k < 6; ++k) out[6 * (e + lane) + k] = w[k][lane];
    }
}

}  // namespace lum::resize
