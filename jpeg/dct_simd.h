// 16-bit lane operations of the JPEG block family's vector tiers, on 64-bit vectors (a6) and
// 128-bit vectors (w7, t7), under one set of names so that the block algorithms are written
// once. Templated on the including tier's tag, so that SSE3 and baseline instantiations never merge.
#pragma once

#include <lum.h>

#include <emmintrin.h>

// The block kernels are a few dozen instructions each; a call per row or stage, with the registers
// spilled around it, would cost as much as the arithmetic.
#define LUM_BLOCK_INLINE inline __attribute__((always_inline))

namespace lum::simd {

template <typename Tier>
struct Ops128 {
    using V = __m128i;
    static constexpr int kLanes = 8;

    static V load(const void* p) { return _mm_load_si128(static_cast<const __m128i*>(p)); }
    static V loadu(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }
    static void store(void* p, V v) { _mm_store_si128(static_cast<__m128i*>(p), v); }
    static void storeu(void* p, V v) { _mm_storeu_si128(static_cast<__m128i*>(p), v); }
    static V set1(Lum16s k) { return _mm_set1_epi16(k); }
    static V add(V a, V b) { return _mm_add_epi16(a, b); }
    static V sadd(V a, V b) { return _mm_adds_epi16(a, b); }
    static V ssub(V a, V b) { return _mm_subs_epi16(a, b); }
    static V mulh(V a, V b) { return _mm_mulhi_epi16(a, b); }
    static V mulh(V a, Lum16s k) { return _mm_mulhi_epi16(a, _mm_set1_epi16(k)); }
    static V mullo(V a, V b) { return _mm_mullo_epi16(a, b); }
    static V shl(V a, int n) { return _mm_slli_epi16(a, n); }
    static V sra(V a, int n) { return _mm_srai_epi16(a, n); }
    static V srl(V a, int n) { return _mm_srli_epi16(a, n); }
    static V or1(V a) { return _mm_or_si128(a, _mm_set1_epi16(1)); }
};

// a6's 64-bit vectors: the low halves of SSE2 registers, read and written eight bytes at a time.
// Lane arithmetic is the same; only the width of the data moved differs. (MMX registers would
// alias the x87 stack, and not every compiler keeps their clearing after the last MMX instruction.)
template <typename Tier>
struct Ops64 : Ops128<Tier> {
    using V = __m128i;
    static constexpr int kLanes = 4;

    static V load(const void* p) { return loadu(p); }
    static V loadu(const void* p) { return _mm_loadl_epi64(static_cast<const __m128i*>(p)); }
    static void store(void* p, V v) { storeu(p, v); }
    static void storeu(void* p, V v) { _mm_storel_epi64(static_cast<__m128i*>(p), v); }
};

}  // namespace lum::simd
