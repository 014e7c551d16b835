// In-place threshold of floats for the vector tiers: maxps for the less-than mode, minps for the
// greater-than mode, with the element as first operand so that NaNs and zero pairs yield the level.
// The tiers differ only in their alignment paths and prefetch, given by the including tier's policy;
// everything is templated on it, so that instantiations from the SSE3 file never merge.
#pragma once

#include "signal/checks.h"

#include <xmmintrin.h>

#include <cstdint>
#include <cstring>

namespace lum::thresholdvec {

inline constexpr Lum32s kGreaterThan = 4;

template <typename Tier>
bool aligned16(const Lum32f* p)
{
    return (reinterpret_cast<uintptr_t>(p) & 15) == 0;
}

template <typename Tier, bool Greater>
__m128 clamp(__m128 x, __m128 level)
{
    if constexpr (Greater)
        return _mm_min_ps(x, level);
    else
        return _mm_max_ps(x, level);
}

// Single elements take the scalar forms of the same instructions, so that every position of the
// buffer follows the same NaN and signed-zero rules.
template <typename Tier, bool Greater>
void clamp1(Lum32f* p, __m128 level)
{
    Lum32f x;
    std::memcpy(&x, p, sizeof x);
    const __m128 v = _mm_set_ss(x);
    x = _mm_cvtss_f32(Greater ? _mm_min_ss(v, level) : _mm_max_ss(v, level));
    std::memcpy(p, &x, sizeof x);
}

template <typename Tier, bool Greater>
void clamp2(Lum32f* p, __m128 level)
{
    __m64* q = reinterpret_cast<__m64*>(p);
    _mm_storel_pi(q, clamp<Tier, Greater>(_mm_loadl_pi(level, q), level));
}

template <typename Tier, bool Greater, bool Aligned>
void clamp4(Lum32f* p, __m128 level)
{
    if constexpr (Aligned)
        _mm_store_ps(p, clamp<Tier, Greater>(_mm_load_ps(p), level));
    else
        _mm_storeu_ps(p, clamp<Tier, Greater>(_mm_loadu_ps(p), level));
}

// Eight elements per pass, then the tier's tail.
template <typename Tier, bool Greater, bool Aligned>
void clampRun(Lum32f* p, Lum32s len, __m128 level)
{
    constexpr bool prefetch = Aligned ? Tier::kPrefetchAligned : Tier::kPrefetchUnaligned;
    for (; len >= 8; len -= 8, p += 8) {
        if constexpr (prefetch) _mm_prefetch(reinterpret_cast<const char*>(p) + 64, _MM_HINT_T0);
        clamp4<Tier, Greater, Aligned>(p, level);
        clamp4<Tier, Greater, Aligned>(p + 4, level);
    }
    if constexpr (Tier::kVectorTail) {
        if (len >= 4) {
            clamp4<Tier, Greater, Aligned>(p, level);
            p += 4;
            len -= 4;
        }
        if (len >= 2) {
            clamp2<Tier, Greater>(p, level);
            p += 2;
            len -= 2;
        }
    }
    for (; len > 0; --len, ++p) clamp1<Tier, Greater>(p, level);
}

template <typename Tier, bool Greater>
void thresholdKernel(Lum32f* p, Lum32s len, Lum32f level)
{
    const __m128 wide = _mm_set1_ps(level);
    const bool peel = !Tier::kPeelOnlyIfFloatAligned || (reinterpret_cast<uintptr_t>(p) & 3) == 0;
    if (peel) {
        for (; len > 0 && (reinterpret_cast<uintptr_t>(p) & Tier::kPeelMask) != 0; --len, ++p)
            clamp1<Tier, Greater>(p, wide);
    }
    if (aligned16<Tier>(p))
        clampRun<Tier, Greater, true>(p, len, wide);
    else
        clampRun<Tier, Greater, false>(p, len, wide);
}

template <typename Tier>
LumStatus threshold(Lum32f* pSrcDst, Lum32s len, Lum32f level, Lum32s relOp)
{
    const LumStatus status = checkVectorArgs(len, pSrcDst);
    if (status != lumStsNoErr) return status;
    if (relOp == kGreaterThan)
        thresholdKernel<Tier, true>(pSrcDst, len, level);
    else
        thresholdKernel<Tier, false>(pSrcDst, len, level);
    return lumStsNoErr;
}

}  // namespace lum::thresholdvec
