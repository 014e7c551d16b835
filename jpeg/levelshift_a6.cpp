// Level shift, tier a6: rows peeled to an 8-byte aligned source, then 64-bit MMX steps.
#include "frame/dispatch.h"
#include "jpeg/levelshift_vector.h"

#include <mmintrin.h>

namespace lum::a6 {
namespace {

struct Tier {
    static constexpr uintptr_t kAlign = 8;
    static constexpr int kPrefetchLines = 1;
    static constexpr int kPrefetchAhead = 128;
};

__m64 load64(const Lum8u* p)
{
    __m64 v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

void store64(Lum8u* p, __m64 v) { std::memcpy(p, &v, sizeof v); }

template <typename>
struct SubSteps {
    using Shift = levelshift::Sub128;
    static __m64 widen(__m64 bytes) { return _mm_sub_pi16(_mm_unpacklo_pi8(bytes, _mm_setzero_si64()), _mm_set1_pi16(128)); }
    static void step8(const Lum8u* s, Lum8u* d)
    {
        const __m64 x = load64(s);
        store64(d, widen(x));
        store64(d + 8, widen(_mm_srli_si64(x, 32)));
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
        store64(d, widen(_mm_cvtsi32_si64(x)));
    }
    static void done() { _mm_empty(); }
};

template <typename>
struct AddSteps {
    using Shift = levelshift::Add128;
    static __m64 narrow(__m64 a, __m64 b)
    {
        const __m64 k = _mm_set1_pi16(128);
        return _mm_packs_pu16(_mm_adds_pi16(a, k), _mm_adds_pi16(b, k));
    }
    static void step8(const Lum8u* s, Lum8u* d) { store64(d, narrow(load64(s), load64(s + 8))); }
    static void step16(const Lum8u* s, Lum8u* d)
    {
        step8(s, d);
        step8(s + 16, d + 8);
    }
    static void step4(const Lum8u* s, Lum8u* d)
    {
        const __m64 x = load64(s);
        const int32_t v = _mm_cvtsi64_si32(narrow(x, x));
        std::memcpy(d, &v, sizeof v);
    }
    static void done() { _mm_empty(); }
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
