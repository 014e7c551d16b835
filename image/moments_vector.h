// The four-lane single-precision moment kernel of a6 and t7. Templated on the including tier's tag,
// so that instantiations of the SSE3 file never merge with baseline ones.
#pragma once

#include "image/moments.h"

#include <xmmintrin.h>

namespace lum::momentsvec {

// Lane 0 alone, or all four lanes.
template <typename Tier>
inline constexpr auto addSs = [](__m128 a, __m128 b) { return _mm_add_ss(a, b); };
template <typename Tier>
inline constexpr auto mulSs = [](__m128 a, __m128 b) { return _mm_mul_ss(a, b); };
template <typename Tier>
inline constexpr auto addPs = [](__m128 a, __m128 b) { return _mm_add_ps(a, b); };
template <typename Tier>
inline constexpr auto mulPs = [](__m128 a, __m128 b) { return _mm_mul_ps(a, b); };

// One pixel into lane 0 of the sums, from any address; x grows by 1 in every lane.
template <typename Tier>
[[gnu::always_inline]] inline void addSingle(const Lum8u* p, __m128 (&s)[4], __m128& x)
{
    moments::accumulate(s, _mm_set_ss(moments::pixelAt(p, 0)), x, addSs<Tier>, mulSs<Tier>);
    x = _mm_add_ps(x, _mm_set1_ps(1.0f));
}

// High pair onto low pair, then lane 1 onto lane 0.
template <typename Tier>
float lanesAdded(__m128 v)
{
    v = _mm_add_ps(v, _mm_movehl_ps(v, v));
    return _mm_cvtss_f32(_mm_add_ss(v, _mm_shuffle_ps(v, v, 1)));
}

// Per row: single pixels in lane 0 up to a 16-byte boundary (a row that cannot reach one goes
// whole), four pixels per pass with aligned loads and consecutive columns in the x lanes, the rest
// in lane 0; the lanes added and the sums widened once per row to x87 width.
template <typename Tier>
void kernel(const Lum32f* pSrc, Lum32s srcStep, LumSize roi, Lum64f* m)
{
    for (int64_t y = 0; y < roi.height; ++y) {
        const Lum8u* p = rowAt(reinterpret_cast<const Lum8u*>(pSrc), srcStep, y);
        const Lum8u* end = p + 4 * size_t(roi.width);
        __m128 s[4] = {_mm_setzero_ps(), _mm_setzero_ps(), _mm_setzero_ps(), _mm_setzero_ps()};
        __m128 x = _mm_setzero_ps();
        for (; p < end && (reinterpret_cast<uintptr_t>(p) & 15) != 0; p += 4) addSingle<Tier>(p, s, x);
        x = _mm_add_ps(x, _mm_setr_ps(0, 1, 2, 3));
        const __m128 four = _mm_set1_ps(4.0f);
        for (; end - p >= 16; p += 16) {
            // One line ahead at every 32 bytes of row.
            if ((reinterpret_cast<uintptr_t>(p) & 31) == 0)
                _mm_prefetch(reinterpret_cast<const char*>(p + 32), _MM_HINT_NTA);
            moments::accumulate(s, _mm_load_ps(reinterpret_cast<const float*>(p)), x, addPs<Tier>,
                                mulPs<Tier>);
            x = _mm_add_ps(x, four);
        }
        for (; p < end; p += 4) addSingle<Tier>(p, s, x);
        using Wide = long double;
        moments::addRowSums<Wide>(m, lanesAdded<Tier>(s[0]), lanesAdded<Tier>(s[1]), lanesAdded<Tier>(s[2]),
                                  lanesAdded<Tier>(s[3]), Wide(y));
    }
}

}  // namespace lum::momentsvec
