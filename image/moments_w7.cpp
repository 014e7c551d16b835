// Spatial moments, tier w7: two Lum64f lanes, even columns in lane 0 and odd ones in lane 1, with
// the row sums updated as in px; the hint is ignored. The release is shared with t7.
#include "frame/dispatch.h"
#include "image/moments.h"

#include <emmintrin.h>

namespace lum::w7 {
namespace {

// Both lanes, or lane 0 alone.
constexpr auto addPd = [](__m128d a, __m128d b) { return _mm_add_pd(a, b); };
constexpr auto mulPd = [](__m128d a, __m128d b) { return _mm_mul_pd(a, b); };
constexpr auto addSd = [](__m128d a, __m128d b) { return _mm_add_sd(a, b); };
constexpr auto mulSd = [](__m128d a, __m128d b) { return _mm_mul_sd(a, b); };

__m128d widenPair(const Lum8u* p)
{
    return _mm_cvtps_pd(_mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))));
}

// Four pixels per pass as two pairs with lane x stepping by 2; left-over pixels in lane 0 with x
// stepping by 1; the lanes added at the end of the row.
void kernel(const Lum32f* pSrc, Lum32s srcStep, LumSize roi, Lum64f* m)
{
    for (int64_t y = 0; y < roi.height; ++y) {
        const Lum8u* row = rowAt(reinterpret_cast<const Lum8u*>(pSrc), srcStep, y);
        const size_t width = size_t(roi.width);
        __m128d s[4] = {_mm_setzero_pd(), _mm_setzero_pd(), _mm_setzero_pd(), _mm_setzero_pd()};
        __m128d x = _mm_setr_pd(0, 1);
        const __m128d two = _mm_set1_pd(2);
        size_t i = 0;
        for (; width - i >= 4; i += 4) {
            moments::accumulate(s, widenPair(row + 4 * i), x, addPd, mulPd);
            x = _mm_add_pd(x, two);
            moments::accumulate(s, widenPair(row + 4 * i + 8), x, addPd, mulPd);
            x = _mm_add_pd(x, two);
        }
        for (; i < width; ++i) {
            moments::accumulate(s, _mm_set_sd(moments::pixelAt(row, i)), x, addSd, mulSd);
            x = _mm_add_sd(x, _mm_set_sd(1));
        }
        Lum64f sum[4];
        for (int k = 0; k < 4; ++k) sum[k] = _mm_cvtsd_f64(_mm_add_sd(s[k], _mm_unpackhi_pd(s[k], s[k])));
        moments::addRowSums<Lum64f>(m, sum[0], sum[1], sum[2], sum[3], Lum64f(y));
    }
}

}  // namespace

LumStatus lumiMomentInitAlloc_64f(LumMomentRecord** ppState, Lum32s hint)
{
    return moments::allocRecord<lumMalloc>(ppState, hint);
}

LumStatus lumiMomentFree_64f(LumMomentRecord* pState) { return moments::freeRecord(pState); }

LumStatus lumiMoments64f_32f_C1R(const Lum32f* pSrc, Lum32s srcStep, LumSize roiSize, LumMomentRecord* pState)
{
    return moments::fill(pSrc, srcStep, roiSize, pState, kernel);
}

LumStatus lumiGetSpatialMoment_64f(const LumMomentRecord* pState, Lum32s xOrder, Lum32s yOrder,
                                   Lum32s channel, LumPoint origin, Lum64f* pValue)
{
    return moments::spatialMoment(pState, xOrder, yOrder, channel, origin, pValue);
}

}  // namespace lum::w7
