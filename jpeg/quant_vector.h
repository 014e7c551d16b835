// Quantization for the vector tiers: block quantization with the truncating high product and one
// further rounding bit, wrapping dequantization, and the single-precision reciprocal table of w7
// and t7. Written over the lane operations of dct_simd.h and templated on the including tier.
#pragma once

#include "jpeg/dct_simd.h"
#include "jpeg/quant.h"

#include <emmintrin.h>
#include <xmmintrin.h>

#include <cstdint>

namespace lum::quantvec {

template <typename Tier>
uintptr_t address(const void* p)
{
    return reinterpret_cast<uintptr_t>(p);
}

// (mulh(shl(s,3), q>>1) + 1) >> 1: the table's low bit is lost and ties round upwards.
template <typename O>
typename O::V quantize(typename O::V s, typename O::V q)
{
    return O::sra(O::add(O::mulh(O::shl(s, 3), O::srl(q, 1)), O::set1(1)), 1);
}

template <typename O>
typename O::V dequantize(typename O::V s, typename O::V q)
{
    return O::mullo(s, q);
}

// A block function as two vectors a pass with unaligned loads of both pointers: eight passes of
// eight elements on 64-bit registers, four of sixteen on 128-bit ones.
template <typename O, typename O::V (*Op)(typename O::V, typename O::V)>
LumStatus blockPasses(Lum16s* pSrcDst, const Lum16u* pTable)
{
    const LumStatus status = checkBlockPointers(pSrcDst, pTable);
    if (status != lumStsNoErr) return status;
    for (int i = 0; i < kBlockSize; i += 2 * O::kLanes) {
        for (int j = i; j < i + 2 * O::kLanes; j += O::kLanes)
            O::storeu(pSrcDst + j, Op(O::loadu(pSrcDst + j), O::loadu(pTable + j)));
    }
    return lumStsNoErr;
}

// The elements before the first 16-byte boundary of a block or table (all of them at an odd address).
template <typename Tier>
int headElements(const void* p)
{
    const uintptr_t a = address<Tier>(p);
    return (a & 1) != 0 ? kBlockSize : static_cast<int>(((16 - (a & 15)) & 15) / 2);
}

// Dequantization in w7 and t7: scalar elements up to the block's 16-byte boundary, then whole
// vectors stored aligned, with the table loaded aligned or not by its own alignment, then the rest
// as scalars. Every path keeps the low 16 bits of the product.
template <typename Tier, bool TableAligned>
int dequantizeVectors(Lum16s* p, const Lum16u* q, int i)
{
    using O = simd::Ops128<Tier>;
    for (; i + O::kLanes <= kBlockSize; i += O::kLanes)
        O::store(p + i, dequantize<O>(O::load(p + i), TableAligned ? O::load(q + i) : O::loadu(q + i)));
    return i;
}

template <typename Tier>
void dequantizeScalar(Lum16s* p, const Lum16u* q, int from, int to)
{
    for (int i = from; i < to; ++i)
        storeElement<Lum16s>(p, i, wrap16(int32_t{loadElement<Lum16s>(p, i)} * loadElement<Lum16u>(q, i)));
}

template <typename Tier>
LumStatus dequantizeBlockPeeled(Lum16s* pSrcDst, const Lum16u* pInvTable)
{
    const LumStatus status = checkBlockPointers(pSrcDst, pInvTable);
    if (status != lumStsNoErr) return status;
    const int head = headElements<Tier>(pSrcDst);
    dequantizeScalar<Tier>(pSrcDst, pInvTable, 0, head);
    const int end = (address<Tier>(pInvTable + head) & 15) == 0
                        ? dequantizeVectors<Tier, true>(pSrcDst, pInvTable, head)
                        : dequantizeVectors<Tier, false>(pSrcDst, pInvTable, head);
    dequantizeScalar<Tier>(pSrcDst, pInvTable, end, kBlockSize);
    return lumStsNoErr;
}

// ---- The forward table of w7 and t7 in single precision

// Scalar path: a true division, rounded to nearest by the conversion.
template <typename Tier>
Lum16u reciprocalScalar(Lum16u x)
{
    if (x == 0) return quant::kZeroStepEntry;
    return static_cast<Lum16u>(_mm_cvtss_si32(_mm_div_ss(_mm_set_ss(32768.0f), _mm_set_ss(x))));
}

// Reciprocal estimate r refined twice: e = 1 - x*r, y = 32768*r, y1 = y + y*e, y1 + y1*e*e.
template <typename Tier>
__m128i reciprocalQuad(__m128i x32)
{
    const __m128 x = _mm_cvtepi32_ps(x32);
    const __m128 r = _mm_rcp_ps(x);
    const __m128 e = _mm_sub_ps(_mm_set1_ps(1.0f), _mm_mul_ps(x, r));
    const __m128 y = _mm_mul_ps(_mm_set1_ps(32768.0f), r);
    const __m128 y1 = _mm_add_ps(y, _mm_mul_ps(y, e));
    return _mm_cvtps_epi32(_mm_add_ps(y1, _mm_mul_ps(_mm_mul_ps(y1, e), e)));
}

// Eight entries at an aligned address. Signed packing cannot hold 32768, so step 1 is written apart,
// and zero steps (whose estimate is not a number) become 65535. Returns whether a step was zero.
template <typename Tier>
bool reciprocalVector(Lum16u* p)
{
    const __m128i x = _mm_load_si128(reinterpret_cast<const __m128i*>(p));
    const __m128i zero = _mm_setzero_si128();
    __m128i y = _mm_packs_epi32(reciprocalQuad<Tier>(_mm_unpacklo_epi16(x, zero)),
                                reciprocalQuad<Tier>(_mm_unpackhi_epi16(x, zero)));
    const __m128i one = _mm_cmpeq_epi16(x, _mm_set1_epi16(1));
    y = _mm_or_si128(_mm_andnot_si128(one, y), _mm_and_si128(one, _mm_set1_epi16(-32768)));
    const __m128i isZero = _mm_cmpeq_epi16(x, zero);
    _mm_store_si128(reinterpret_cast<__m128i*>(p), _mm_or_si128(y, isZero));
    return _mm_movemask_epi8(isZero) != 0;
}

template <typename Tier>
bool reciprocalScalarRun(Lum16u* p, int from, int to)
{
    bool zero = false;
    for (int i = from; i < to; ++i) {
        const Lum16u x = loadElement<Lum16u>(p, i);
        zero = zero || x == 0;
        storeElement<Lum16u>(p, i, reciprocalScalar<Tier>(x));
    }
    return zero;
}

template <typename Tier>
LumStatus fwdTableFloat(const Lum8u* pRawTable, Lum16u* pFwdTable)
{
    const LumStatus status = checkBlockPointers(pRawTable, pFwdTable);
    if (status != lumStsNoErr) return status;
    quant::widenToNatural<Tier::kZigzagStep>(pRawTable, pFwdTable);
    const int head = headElements<Tier>(pFwdTable);
    bool zero = reciprocalScalarRun<Tier>(pFwdTable, 0, head);
    int i = head;
    for (; i + 8 <= kBlockSize; i += 8) zero = reciprocalVector<Tier>(pFwdTable + i) || zero;
    zero = reciprocalScalarRun<Tier>(pFwdTable, i, kBlockSize) || zero;
    return zero ? lumStsDivByZeroWarning : lumStsNoErr;
}

}  // namespace lum::quantvec
