// 8x8 DCT, tier a6: the vector algorithm on 64-bit vectors. The column stages run on four columns at
// a time, in two halves; the row stages use the multiply-add of 16-bit pairs, two outputs at a time.
#include "frame/dispatch.h"
#include "jpeg/dct_vector.h"

namespace lum::a6 {
namespace {

struct Tier {};
using O = simd::Ops64<Tier>;

// Four 16-bit weights: quarter q of a row-weight vector.
__m128i quarter(const Lum16s (&w)[8], int q) { return O::loadu(w + 4 * q); }

// Two 32-bit sums to four 16-bit outputs: (first, second) saturated side by side.
__m128i packPairs(__m128i first, __m128i second)
{
    const __m128i both = _mm_unpacklo_epi64(first, second);
    return _mm_packs_epi32(both, both);
}

// Outputs 2q and 2q+1 of the forward row stage.
__m128i forwardPair(__m128i v01, __m128i v23, const Lum16s (&w)[4][8], int q)
{
    const int h = q / 2, part = q % 2;
    const __m128i sum = _mm_add_epi32(_mm_madd_epi16(v01, quarter(w[2 * h], part)),
                                      _mm_madd_epi16(v23, quarter(w[2 * h + 1], part)));
    return _mm_srai_epi32(_mm_add_epi32(sum, _mm_set1_epi32(524288)), 20);
}

void forwardRow(Lum16s* row, const Lum16s (&w)[4][8])
{
    const __m128i mirrored = _mm_shufflelo_epi16(O::loadu(row + 4), 0x1B);
    const __m128i lo = O::loadu(row);
    const __m128i s = _mm_adds_epi16(lo, mirrored), d = _mm_subs_epi16(lo, mirrored);
    // [s0 s1 d0 d1] and [s2 s3 d2 d3].
    const __m128i v01 = _mm_unpacklo_epi32(s, d), v23 = _mm_srli_si128(v01, 8);
    O::storeu(row, packPairs(forwardPair(v01, v23, w, 0), forwardPair(v01, v23, w, 1)));
    O::storeu(row + 4, packPairs(forwardPair(v01, v23, w, 2), forwardPair(v01, v23, w, 3)));
}

// Inverse row stage in pairs of outputs: n, n+1 = E + O and 7-n, 6-n = E - O with the lanes swapped.
void inverseRow(Lum16s* row, const Lum16s (&w)[4][8], int32_t rounding)
{
    const __m128i lo = O::loadu(row), hi = O::loadu(row + 4);
    const __m128i x02 = _mm_shufflelo_epi16(lo, 0x88), x13 = _mm_shufflelo_epi16(lo, 0xDD);
    const __m128i x46 = _mm_shufflelo_epi16(hi, 0x88), x57 = _mm_shufflelo_epi16(hi, 0xDD);
    __m128i out[4];
    for (int part = 0; part < 2; ++part) {
        const __m128i even = _mm_add_epi32(
            _mm_add_epi32(_mm_madd_epi16(x02, quarter(w[0], part)), _mm_madd_epi16(x46, quarter(w[2], part))),
            _mm_set1_epi32(rounding));
        const __m128i odd = _mm_add_epi32(_mm_madd_epi16(x13, quarter(w[1], part)), _mm_madd_epi16(x57, quarter(w[3], part)));
        out[part] = _mm_srai_epi32(_mm_add_epi32(even, odd), 12);
        out[3 - part] = _mm_srai_epi32(_mm_shufflelo_epi16(_mm_sub_epi32(even, odd), 0x4E), 12);
    }
    O::storeu(row, packPairs(out[0], out[1]));
    O::storeu(row + 4, packPairs(out[2], out[3]));
}

// Runs a column stage on the left four columns, then on the right four.
template <void (*Stage)(__m128i (&)[8])>
void columnHalves(Lum16s* block)
{
    for (int half = 0; half < 2; ++half) {
        __m128i x[8];
        for (int i = 0; i < 8; ++i) x[i] = O::loadu(block + 8 * i + 4 * half);
        Stage(x);
        for (int i = 0; i < 8; ++i) O::storeu(block + 8 * i + 4 * half, x[i]);
    }
}

}  // namespace

LumStatus lumiDCT8x8Fwd_16s_C1I(Lum16s* pSrcDst)
{
    const LumStatus status = checkBlockPointers(pSrcDst);
    if (status != lumStsNoErr) return status;
    columnHalves<dctvec::forwardColumns<O, false>>(pSrcDst);
    for (int r = 0; r < 8; ++r) forwardRow(pSrcDst + 8 * r, dctvec::kForwardWeights.v[dctvec::kRowClass[r]]);
    return lumStsNoErr;
}

LumStatus lumiDCT8x8Inv_16s_C1I(Lum16s* pSrcDst)
{
    const LumStatus status = checkBlockPointers(pSrcDst);
    if (status != lumStsNoErr) return status;
    for (int r = 0; r < 8; ++r)
        inverseRow(pSrcDst + 8 * r, dctvec::kInverseWeights.v[dctvec::kRowClass[r]], dctvec::kInverseRounding[r]);
    columnHalves<dctvec::inverseColumns<O>>(pSrcDst);
    return lumStsNoErr;
}

}  // namespace lum::a6
