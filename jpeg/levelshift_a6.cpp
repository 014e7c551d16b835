// Level shift, tier a6: rows peeled to an 8-byte aligned source, then steps of 64-bit vectors.
#include "frame/dispatch.h"
#include "jpeg/levelshift_vector.h"

#include <emmintrin.h>

#include <cstring>

namespace lum::a6 {
namespace {

struct Tier {
    static constexpr uintptr_t kAlign = 8;
    static constexpr int kPrefetchLines = 1;
    static constexpr int kPrefetchAhead = 128;
};

__m128i load64(const Lum8u* p) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)); }

void store64(Lum8u* p, __m128i v) { _mm_storel_epi64(reinterpret_cast<__m128i*>(p), v); }

// Four bytes widened against zero, less 128, in the low 64 bits.
template <typename>
struct SubSteps {
    using Shift = levelshift::Sub128;
    static __m128i widen(__m128i bytes)
    {
        return _mm_sub_epi16(_mm_unpacklo_epi8(bytes, _mm_setzero_si128()), _mm_set1_epi16(128));
    }
    static void step8(const Lum8u* s, Lum8u* d)
    {
        const __m128i x = load64(s);
        store64(d, widen(x));
        store64(d + 8, widen(_mm_srli_epi64(x, 32)));
    }
    static void step16(const Lum8u* s, Lum8u* d)
    {
        step8(s, d);
        step8(s + 8, d + 16);
    }
    static void step4(const Lum8u* s, Lum8u* d)
    {
        int32_t x;
        std::memcpy(&x, s, sizeof x);
        store64(d, widen(_mm_cvtsi32_si128(x)));
    }
};

// Two vectors of four samples plus 128, saturating at 32767, packed side by side to 0..255.
template <typename>
struct AddSteps {
    using Shift = levelshift::Add128;
    static __m128i narrow(__m128i a, __m128i b)
    {
        const __m128i k = _mm_set1_epi16(128);
        const __m128i both = _mm_unpacklo_epi64(_mm_adds_epi16(a, k), _mm_adds_epi16(b, k));
        return _mm_packus_epi16(both, both);
    }
    static void step8(const Lum8u* s, Lum8u* d) { store64(d, narrow(load64(s), load64(s + 8))); }
    static void step16(const Lum8u* s, Lum8u* d)
    {
        step8(s, d);
        step8(s + 16, d + 8);
    }
    static void step4(const Lum8u* s, Lum8u* d)
    {
        const __m128i x = load64(s);
        const int32_t v = _mm_cvtsi128_si32(narrow(x, x));
        std::memcpy(d, &v, sizeof v);
    }
};

using Kernels = levelshift::Kernels<Tier, SubSteps, AddSteps>;

}  // namespace

LumStatus lumiSub128_JPEG_8u16s_C1R(const Lum8u* pSrc, Lum32s srcStep, Lum16s* pDst, Lum32s dstStep, LumSize roiSize)
{
    return Kernels::sub(pSrc, srcStep, pDst, dstStep, roiSize);
}

LumStatus lumiAdd128_JPEG_16s8u_C1R(const Lum16s* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roiSize)
{
    return Kernels::add(pSrc, srcStep, pDst, dstStep, roiSize);
}

}  // namespace lum::a6
