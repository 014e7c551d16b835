// Sum of floats for the vector tiers: the accurate rotating eight-accumulator routine and the fast
// chunked single-precision routine. Everything is templated on the including tier's policy, so that
// instantiations from the SSE3 file never merge with baseline ones.
#pragma once

#include "signal/checks.h"

#include <xmmintrin.h>

#include <cstdint>
#include <cstring>
#include <utility>

namespace lum::sumvec {

template <typename Tier>
long double element(const Lum32f* p)
{
    Lum32f x;
    std::memcpy(&x, p, sizeof x);
    return x;
}

// The accurate mode: eight extended accumulators in a ring. The elements of a block of eight go to
// the accumulators in turn, and after each block the ring turns by one, so that the accumulator that
// took a block's last element takes the next block's first. After eight blocks, a round, the ring is
// back where it started: element j of block b of a round goes to accumulator (j - b) mod 8.

constexpr Lum32s kRound = 64;
// Rounds per tile: 4 KiB of source, read twice from the first-level cache.
constexpr Lum32s kTileRounds = 16;

// Accumulator First + k takes element (First + k + B) mod 8 of block B.
template <typename Tier, int First, int B, int... K>
void addBlock(long double (&s)[4], const Lum32f* p, std::integer_sequence<int, K...>)
{
    ((s[K] += element<Tier>(p + 8 * B + ((First + K + B) & 7))), ...);
}

template <typename Tier, int First, int... B>
void addRound(long double (&s)[4], const Lum32f* p, std::integer_sequence<int, B...>)
{
    (addBlock<Tier, First, B>(s, p, std::make_integer_sequence<int, 4>{}), ...);
}

// Each accumulator adds its own elements in index order whatever the others do, so a tile is summed
// four accumulators at a time: that many stay in x87 registers, eight do not.
template <typename Tier, int First>
void addRounds(long double (&acc)[8], const Lum32f* p, Lum32s rounds)
{
    long double s[4] = {acc[First], acc[First + 1], acc[First + 2], acc[First + 3]};
    for (; rounds > 0; --rounds, p += kRound)
        addRound<Tier, First>(s, p, std::make_integer_sequence<int, 8>{});
    for (int k = 0; k < 4; ++k) acc[First + k] = s[k];
}

template <typename Tier>
long double sumAccurate(const Lum32f* p, Lum32s len)
{
    long double acc[8] = {};
    while (len >= kRound) {
        const Lum32s rounds = len / kRound < kTileRounds ? len / kRound : kTileRounds;
        addRounds<Tier, 0>(acc, p, rounds);
        addRounds<Tier, 4>(acc, p, rounds);
        p += rounds * kRound;
        len -= rounds * kRound;
    }
    // Fewer than eight blocks left. Here sk is the accumulator k places after s0, the one next in line.
    long double s0 = acc[0], s1 = acc[1], s2 = acc[2], s3 = acc[3];
    long double s4 = acc[4], s5 = acc[5], s6 = acc[6], s7 = acc[7];
    for (; len >= 8; len -= 8, p += 8) {
        s0 += element<Tier>(p);
        s1 += element<Tier>(p + 1);
        s2 += element<Tier>(p + 2);
        s3 += element<Tier>(p + 3);
        s4 += element<Tier>(p + 4);
        s5 += element<Tier>(p + 5);
        s6 += element<Tier>(p + 6);
        s7 += element<Tier>(p + 7);
        const long double last = s7;
        s7 = s6;
        s6 = s5;
        s5 = s4;
        s4 = s3;
        s3 = s2;
        s2 = s1;
        s1 = s0;
        s0 = last;
    }
    for (; len > 0; --len, ++p) s0 += element<Tier>(p);
    return ((s0 + s4) + (s2 + s6)) + ((s1 + s5) + (s3 + s7));
}

template <typename Tier, bool Aligned>
__m128 load4(const Lum32f* p)
{
    if constexpr (Aligned)
        return _mm_load_ps(p);
    else
        return _mm_loadu_ps(p);
}

template <typename Tier>
__m128 load1(const Lum32f* p)
{
    Lum32f x;
    std::memcpy(&x, p, sizeof x);
    return _mm_set_ss(x);
}

// One chunk of at most 32768 elements in single precision; lanes 0 and 1 of the result hold the
// chunk's two partial sums.
template <typename Tier, bool Aligned>
__m128 sumChunk(const Lum32f* p, Lum32s n)
{
    __m128 v = _mm_setzero_ps();
    if (n >= 16) {
        __m128 v0 = _mm_setzero_ps();
        __m128 v1 = _mm_setzero_ps();
        __m128 v2 = _mm_setzero_ps();
        __m128 v3 = _mm_setzero_ps();
        do {
            if constexpr (Aligned && Tier::kSumPrefetch) {
                _mm_prefetch(reinterpret_cast<const char*>(p) + 128, _MM_HINT_T0);
                _mm_prefetch(reinterpret_cast<const char*>(p) + 160, _MM_HINT_T0);
            }
            v0 = _mm_add_ps(v0, load4<Tier, Aligned>(p));
            v1 = _mm_add_ps(v1, load4<Tier, Aligned>(p + 4));
            v2 = _mm_add_ps(v2, load4<Tier, Aligned>(p + 8));
            v3 = _mm_add_ps(v3, load4<Tier, Aligned>(p + 12));
            p += 16;
            n -= 16;
        } while (n >= 16);
        v = _mm_add_ps(_mm_add_ps(v0, v2), _mm_add_ps(v1, v3));
    }
    for (; n >= 4; n -= 4, p += 4) v = _mm_add_ps(v, load4<Tier, Aligned>(p));
    if (n >= 2) {
        // Lanes 2 and 3 get +0, which leaves them as they are: a lane that started at +0 is never -0.
        v = _mm_add_ps(v, _mm_loadl_pi(_mm_setzero_ps(), reinterpret_cast<const __m64*>(p)));
        p += 2;
        n -= 2;
    }
    if (n == 1) v = _mm_add_ss(v, load1<Tier>(p));
    return _mm_add_ps(v, _mm_movehl_ps(v, v));
}

template <typename Tier, bool Aligned>
long double sumChunks(const Lum32f* p, Lum32s len, long double outer)
{
    constexpr Lum32s kChunk = 32768;
    while (len > 0) {
        const Lum32s n = len < kChunk ? len : kChunk;
        const __m128 r = sumChunk<Tier, Aligned>(p, n);
        outer += _mm_cvtss_f32(r);
        outer += _mm_cvtss_f32(_mm_shuffle_ps(r, r, 1));
        p += n;
        len -= n;
    }
    return outer;
}

// Single precision within a chunk, extended precision across chunks and for the peeled head.
template <typename Tier>
long double sumFast(const Lum32f* p, Lum32s len)
{
    const bool aligned = (reinterpret_cast<uintptr_t>(p) & 3) == 0;
    long double outer = 0.0L;
    for (; (reinterpret_cast<uintptr_t>(p) & 0xC) != 0; ++p) {
        outer += element<Tier>(p);
        if (--len == 0) return outer;
    }
    return aligned ? sumChunks<Tier, true>(p, len, outer) : sumChunks<Tier, false>(p, len, outer);
}

template <typename Tier>
LumStatus sum(const Lum32f* pSrc, Lum32s len, Lum32f* pSum, Lum32s hint)
{
    const LumStatus status = checkVectorArgs(len, pSrc, pSum);
    if (status != lumStsNoErr) return status;
    const long double sum = hint == 1 ? sumFast<Tier>(pSrc, len) : sumAccurate<Tier>(pSrc, len);
    *pSum = static_cast<Lum32f>(sum);
    return lumStsNoErr;
}

}  // namespace lum::sumvec
