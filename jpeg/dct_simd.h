// 16-bit lane operations of the JPEG block family's vector tiers, on 64-bit MMX registers (a6) and
// 128-bit SSE2 registers (w7, t7), under one set of names so that the block algorithms are written
// once. Templated on the including tier's tag, so that SSE3 and baseline instantiations never merge.
#pragma once

#include <lum.h>

#include <emmintrin.h>
#include <mmintrin.h>
#include <xmmintrin.h>

#include <cstring>

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
    static void done() {}
};

// MMX registers share the x87 stack: every kernel ends with done().
template <typename Tier>
struct Ops64 {
    using V = __m64;
    static constexpr int kLanes = 4;

    static V load(const void* p) { return loadu(p); }
    static V loadu(const void* p)
    {
        V v;
        std::memcpy(&v, p, sizeof v);
        return v;
    }
    static void store(void* p, V v) { storeu(p, v); }
    static void storeu(void* p, V v) { std::memcpy(p, &v, sizeof v); }
    static V set1(Lum16s k) { return _mm_set1_pi16(k); }
    static V add(V a, V b) { return _mm_add_pi16(a, b); }
    static V sadd(V a, V b) { return _mm_adds_pi16(a, b); }
    static V ssub(V a, V b) { return _mm_subs_pi16(a, b); }
    static V mulh(V a, V b) { return _mm_mulhi_pi16(a, b); }
    static V mulh(V a, Lum16s k) { return _mm_mulhi_pi16(a, _mm_set1_pi16(k)); }
    static V mullo(V a, V b) { return _mm_mullo_pi16(a, b); }
    static V shl(V a, int n) { return _mm_slli_pi16(a, n); }
    static V sra(V a, int n) { return _mm_srai_pi16(a, n); }
    static V srl(V a, int n) { return _mm_srli_pi16(a, n); }
    static V or1(V a) { return _mm_or_si64(a, _mm_set1_pi16(1)); }
    static void done() { _mm_empty(); }
};

}  // namespace lum::simd
