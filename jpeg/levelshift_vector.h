// Level shift for the vector tiers: the row kernel that peels to the source's alignment, runs
// sixteen elements a step with prefetch, then eight, four and single elements, and the 128-bit
// steps of w7 and t7. Templated on the including tier, so that instantiations never merge.
#pragma once

#include "jpeg/levelshift.h"

#include <emmintrin.h>
#include <xmmintrin.h>

#include <cstdint>
#include <cstring>

namespace lum::levelshift {

template <typename Tier>
void prefetch(const Lum8u* p)
{
    for (int k = 0; k < Tier::kPrefetchLines; ++k)
        _mm_prefetch(reinterpret_cast<const char*>(p) + Tier::kPrefetchAhead + 64 * k, _MM_HINT_T0);
}

// Steps read and write whole elements of the row only, so no byte beyond its width is touched.
template <typename Tier, typename Steps>
void shiftRow(const Lum8u* src, Lum8u* dst, int width)
{
    using Shift = typename Steps::Shift;
    constexpr int in = sizeof(typename Shift::In), out = sizeof(typename Shift::Out);
    const int peel = static_cast<int>(((0 - reinterpret_cast<uintptr_t>(src)) & (Tier::kAlign - 1)) / in);
    int i = 0;
    if (width > peel) {
        shiftScalar<Shift>(src, dst, 0, peel);
        i = peel;
    }
    for (; i + 16 <= width; i += 16) {
        prefetch<Tier>(src + i * in);
        Steps::step16(src + i * in, dst + i * out);
    }
    if (i + 8 <= width) {
        Steps::step8(src + i * in, dst + i * out);
        i += 8;
    }
    if (i + 4 <= width) {
        Steps::step4(src + i * in, dst + i * out);
        i += 4;
    }
    shiftScalar<Shift>(src, dst, i, width);
}

template <typename Tier>
__m128i loadu128(const Lum8u* p)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

template <typename Tier>
void storeu128(Lum8u* p, __m128i v)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
}

template <typename Tier>
__m128i load32(const Lum8u* p)
{
    int32_t v;
    std::memcpy(&v, p, sizeof v);
    return _mm_cvtsi32_si128(v);
}

template <typename Tier>
void store32(Lum8u* p, __m128i v)
{
    const int32_t x = _mm_cvtsi128_si32(v);
    std::memcpy(p, &x, sizeof x);
}

// Bytes widened against zero, less 128.
template <typename Tier>
struct SubSteps128 {
    using Shift = Sub128;
    static __m128i widen(__m128i bytes) { return _mm_sub_epi16(_mm_unpacklo_epi8(bytes, _mm_setzero_si128()), _mm_set1_epi16(128)); }
    static void step16(const Lum8u* s, Lum8u* d)
    {
        const __m128i x = loadu128<Tier>(s);
        storeu128<Tier>(d, widen(x));
        storeu128<Tier>(d + 16, widen(_mm_srli_si128(x, 8)));
    }
    static void step8(const Lum8u* s, Lum8u* d)
    {
        storeu128<Tier>(d, widen(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(s))));
    }
    static void step4(const Lum8u* s, Lum8u* d)
    {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(d), widen(load32<Tier>(s)));
    }
};

// Samples plus 128 saturating at 32767, then packed with unsigned saturation to 0..255.
template <typename Tier>
struct AddSteps128 {
    using Shift = Add128;
    static __m128i narrow(__m128i a, __m128i b)
    {
        const __m128i k = _mm_set1_epi16(128);
        return _mm_packus_epi16(_mm_adds_epi16(a, k), _mm_adds_epi16(b, k));
    }
    static void step16(const Lum8u* s, Lum8u* d) { storeu128<Tier>(d, narrow(loadu128<Tier>(s), loadu128<Tier>(s + 16))); }
    static void step8(const Lum8u* s, Lum8u* d)
    {
        const __m128i x = loadu128<Tier>(s);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(d), narrow(x, x));
    }
    static void step4(const Lum8u* s, Lum8u* d)
    {
        const __m128i x = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(s));
        store32<Tier>(d, narrow(x, x));
    }
};

template <typename Tier, template <typename> class SubSteps, template <typename> class AddSteps>
struct Kernels {
    static LumStatus sub(const Lum8u* pSrc, Lum32s srcStep, Lum16s* pDst, Lum32s dstStep, LumSize roiSize)
    {
        return shiftRegion<Sub128, shiftRow<Tier, SubSteps<Tier>>>(pSrc, srcStep, pDst, dstStep, roiSize);
    }
    static LumStatus add(const Lum16s* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roiSize)
    {
        return shiftRegion<Add128, shiftRow<Tier, AddSteps<Tier>>>(pSrc, srcStep, pDst, dstStep, roiSize);
    }
};

}  // namespace lum::levelshift
