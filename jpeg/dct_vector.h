// 8x8 DCT, the vector algorithm of a6, w7 and t7: the weights of the row stages, the column stages
// written once over the lane operations of dct_simd.h, and the 128-bit row stages and block paths
// of w7 and t7. Everything is templated on the including tier, so that instantiations never merge.
#pragma once

#include "jpeg/dct_block.h"
#include "jpeg/dct_simd.h"

#include <emmintrin.h>

#include <cstdint>
#include <type_traits>
#include <utility>

namespace lum::dctvec {

// The seven weights of each row class, indexed by j = 1..7 of cos(j*pi/16); index 0 is unused.
// They carry the scaling of the one-dimensional column stage.
inline constexpr Lum16s kClassWeights[4][8] = {
    {0, 22725, 21407, 19266, 16384, 12873, 8867, 4520},
    {0, 31521, 29692, 26722, 22725, 17855, 12299, 6270},
    {0, 29692, 27969, 25172, 21407, 16819, 11585, 5906},
    {0, 26722, 25172, 22654, 19266, 15137, 10426, 5315},
};

// Rows 0 and 4 are class 0, 1 and 7 class 1, 2 and 6 class 2, 3 and 5 class 3.
inline constexpr int kRowClass[8] = {0, 1, 2, 3, 0, 3, 2, 1};

// Row r of class r (r < 4) and the other row of its class.
inline constexpr int kPartnerRow[4] = {4, 7, 6, 5};

// The inverse row stage's rounding terms: they pre-compensate the column stage's truncations, and
// row 0's also rounds the final shift by 5.
inline constexpr int32_t kInverseRounding[8] = {65536, 5802, 4520, 3408, 2048, 910, 1024, 746};

// The same terms, four to a row, for adding to 32-bit lanes.
struct alignas(16) RoundingQuads {
    int32_t v[8][4];
};

constexpr RoundingQuads makeRoundingQuads()
{
    RoundingQuads q{};
    for (int r = 0; r < 8; ++r)
        for (int i = 0; i < 4; ++i) q.v[r][i] = kInverseRounding[r];
    return q;
}

inline constexpr RoundingQuads kInverseRoundingQuads = makeRoundingQuads();

// M[k][n] of a class: frequency k, position n, cos(((2n+1)k mod 32)*pi/16) folded onto j = 0..8.
constexpr int weight(int cls, int k, int n)
{
    if (k == 0) return kClassWeights[cls][4];
    int j = (2 * n + 1) * k % 32;
    int sign = 1;
    if (j > 16) j = 32 - j;
    if (j > 8) {
        j = 16 - j;
        sign = -1;
    }
    return j == 8 ? 0 : sign * kClassWeights[cls][j];
}

// Forward row weights, laid out for the multiply-add of 16-bit pairs: even frequencies take the sums
// of mirrored elements, odd ones the differences. a6 and the 128-bit tiers order them differently.
struct alignas(16) ForwardWeights {
    Lum16s v[4][4][8];
};

// Inverse row weights, split by the parity of the frequency: output n of a row is E_n + O_n and
// output 7-n is E_n - O_n, where E sums the even frequencies and O the odd ones (M[k][7-n] is
// (-1)^k M[k][n]), which is the same 32-bit sum. Vector p of a class pairs frequencies
// (0,2), (1,3), (4,6), (5,7) for the positions 0..3, against the pair repeated.
struct alignas(16) InverseWeights {
    Lum16s v[4][4][8];
};

inline constexpr int kInversePairs[4][2] = {{0, 2}, {1, 3}, {4, 6}, {5, 7}};

// Vector 2h+p, lane q of a class: frequency 4h+q, positions 2 pairOf(p, q) and the next one.
template <typename PairOf>
constexpr ForwardWeights makeForwardWeights(PairOf pairOf)
{
    ForwardWeights w{};
    for (int c = 0; c < 4; ++c)
        for (int h = 0; h < 2; ++h)
            for (int p = 0; p < 2; ++p)
                for (int q = 0; q < 4; ++q)
                    for (int e = 0; e < 2; ++e)
                        w.v[c][2 * h + p][2 * q + e] =
                            static_cast<Lum16s>(weight(c, 4 * h + q, 2 * pairOf(p, q) + e));
    return w;
}

constexpr InverseWeights makeInverseWeights()
{
    InverseWeights w{};
    for (int c = 0; c < 4; ++c)
        for (int p = 0; p < 4; ++p)
            for (int n = 0; n < 4; ++n)
                for (int e = 0; e < 2; ++e)
                    w.v[c][p][2 * n + e] = static_cast<Lum16s>(weight(c, kInversePairs[p][e], n));
    return w;
}

// a6's forward row weights, against [s0 s1 d0 d1] (p = 0) or [s2 s3 d2 d3] (p = 1) repeated.
inline constexpr ForwardWeights kForwardWeights = makeForwardWeights([](int p, int) { return p; });

// w7's and t7's forward row weights, against [s01 d01 s23 d23] of a row (p = 0) or the same with its
// halves swapped (p = 1): lane q, a frequency of q's parity, meets the pair 2((q/2) xor p).
inline constexpr ForwardWeights kForwardPairWeights =
    makeForwardWeights([](int p, int q) { return (q / 2) ^ p; });
inline constexpr InverseWeights kInverseWeights = makeInverseWeights();

// Forward column stage: x[i] holds row i of the columns in hand, all in saturating 16-bit steps.
// The low bit set on y1, y2, y6 and p is a cheap rounding. ShiftLast is w7's and t7's form of the
// even part, which shifts after adding; it changes nothing for inputs in range.
template <typename O, bool ShiftLast>
LUM_BLOCK_INLINE void forwardColumns(typename O::V (&x)[8])
{
    using V = typename O::V;
    const V P = O::shl(O::sadd(x[1], x[6]), 3), Q = O::shl(O::sadd(x[2], x[5]), 3);
    const V d = O::ssub(P, Q), b = O::sadd(P, Q);
    V a, c;
    if constexpr (ShiftLast) {
        const V s07 = O::sadd(x[0], x[7]), s34 = O::sadd(x[3], x[4]);
        c = O::shl(O::ssub(s07, s34), 3);
        a = O::shl(O::sadd(s07, s34), 3);
    } else {
        const V R = O::shl(O::sadd(x[0], x[7]), 3), S = O::shl(O::sadd(x[3], x[4]), 3);
        c = O::ssub(R, S);
        a = O::sadd(R, S);
    }
    const V d16 = O::shl(O::ssub(x[1], x[6]), 4), d25 = O::shl(O::ssub(x[2], x[5]), 4);
    const V p = O::or1(O::mulh(O::sadd(d16, d25), 23170)), q = O::mulh(O::ssub(d16, d25), 23170);
    const V d34 = O::shl(O::ssub(x[3], x[4]), 3), d07 = O::shl(O::ssub(x[0], x[7]), 3);
    const V u = O::sadd(d34, q), v = O::ssub(d34, q), g = O::ssub(d07, p), h = O::sadd(d07, p);

    x[0] = O::sadd(a, b);
    x[4] = O::ssub(a, b);
    x[2] = O::or1(O::sadd(O::mulh(d, 27146), c));
    x[6] = O::or1(O::ssub(O::mulh(c, 27146), d));
    x[1] = O::or1(O::sadd(O::mulh(u, 13036), h));
    x[7] = O::ssub(O::mulh(h, 13036), u);
    x[3] = O::ssub(g, O::sadd(O::mulh(v, -21746), v));
    x[5] = O::sadd(O::sadd(O::mulh(g, -21746), g), v);
}

// Inverse column stage on the row stage's results, ending with the shift by 5. Constants of
// magnitude one or more do not fit mulh, hence the operand added back after -21746 and -19195.
template <typename O>
LUM_BLOCK_INLINE void inverseColumns(typename O::V (&r)[8])
{
    using V = typename O::V;
    const V m0 = O::sadd(O::sadd(O::mulh(r[5], -21746), r[5]), r[3]);
    const V m2 = O::ssub(r[5], O::sadd(O::mulh(r[3], -21746), r[3]));
    const V m4 = O::sadd(O::mulh(r[7], 13036), r[1]), m5 = O::ssub(O::mulh(r[1], 13036), r[7]);
    const V m7 = O::sadd(O::mulh(r[6], 27146), r[2]), m3 = O::ssub(O::mulh(r[2], 27146), r[6]);
    const V t = O::sadd(m0, m4), w = O::ssub(m4, m0), m6 = O::sadd(m5, m2), z = O::ssub(m5, m2);
    const V e = O::sadd(w, z), f = O::ssub(w, z);
    const V e2 = O::sadd(e, O::mulh(e, -19195)), f2 = O::sadd(f, O::mulh(f, -19195));
    const V a = O::sadd(r[4], r[0]), b = O::ssub(r[0], r[4]);
    const V p = O::sadd(a, m7), q = O::ssub(a, m7), u = O::sadd(b, m3), v = O::ssub(b, m3);

    r[0] = O::sra(O::sadd(t, p), 5);
    r[1] = O::sra(O::sadd(u, e2), 5);
    r[2] = O::sra(O::sadd(v, f2), 5);
    r[3] = O::sra(O::sadd(m6, q), 5);
    r[4] = O::sra(O::ssub(q, m6), 5);
    r[5] = O::sra(O::ssub(v, f2), 5);
    r[6] = O::sra(O::ssub(u, e2), 5);
    r[7] = O::sra(O::ssub(p, t), 5);
}

// ---- w7 and t7: whole rows in 128-bit registers

template <typename Tier>
LUM_BLOCK_INLINE __m128i weights(const Lum16s* w)
{
    return _mm_load_si128(reinterpret_cast<const __m128i*>(w));
}

// (sum + rounding) >> shift on 32-bit lanes, then both halves saturated to 16 bits.
template <typename Tier>
LUM_BLOCK_INLINE __m128i descale(__m128i lo, __m128i hi, int32_t rounding, int shift)
{
    const __m128i r = _mm_set1_epi32(rounding);
    return _mm_packs_epi32(_mm_srai_epi32(_mm_add_epi32(lo, r), shift),
                           _mm_srai_epi32(_mm_add_epi32(hi, r), shift));
}

// Forward row stage of two rows of one class, a and b: the mirrored halves of both rows meet in one
// register, so that one saturating add and one subtract give the sums and differences of both.
// [s01 d01 s23 d23] of a row against its weights, plus the same with the halves swapped against the
// other weights, gives four whole dot products; two such pairs give the row's eight outputs.
template <typename Tier>
LUM_BLOCK_INLINE void forwardRows(__m128i& a, __m128i& b, const Lum16s (&w)[4][8])
{
    const __m128i front = _mm_unpacklo_epi64(a, b);
    const __m128i back = _mm_shufflehi_epi16(_mm_shufflelo_epi16(_mm_unpackhi_epi64(a, b), 0x1B), 0x1B);
    const __m128i s = _mm_adds_epi16(front, back), d = _mm_subs_epi16(front, back);
    const auto row = [&](__m128i sd) {
        const __m128i swapped = _mm_shuffle_epi32(sd, 0x4E);
        const __m128i lo = _mm_add_epi32(_mm_madd_epi16(sd, weights<Tier>(w[0])),
                                         _mm_madd_epi16(swapped, weights<Tier>(w[1])));
        const __m128i hi = _mm_add_epi32(_mm_madd_epi16(sd, weights<Tier>(w[2])),
                                         _mm_madd_epi16(swapped, weights<Tier>(w[3])));
        return descale<Tier>(lo, hi, 524288, 20);
    };
    a = row(_mm_unpacklo_epi32(s, d));
    b = row(_mm_unpackhi_epi32(s, d));
}

// Inverse row stage: the row's rounding goes into the even sums, then both halves come from E +- O.
template <typename Tier>
LUM_BLOCK_INLINE __m128i inverseRow(__m128i x, const Lum16s (&w)[4][8], const int32_t (&rounding)[4])
{
    // [x0 x2 x1 x3 x4 x6 x5 x7]: each frequency pair is one 32-bit lane.
    const __m128i pairs = _mm_shufflehi_epi16(_mm_shufflelo_epi16(x, 0xD8), 0xD8);
    const __m128i even = _mm_add_epi32(
        _mm_add_epi32(_mm_madd_epi16(_mm_shuffle_epi32(pairs, 0x00), weights<Tier>(w[0])),
                      _mm_madd_epi16(_mm_shuffle_epi32(pairs, 0xAA), weights<Tier>(w[2]))),
        _mm_load_si128(reinterpret_cast<const __m128i*>(rounding)));
    const __m128i odd = _mm_add_epi32(_mm_madd_epi16(_mm_shuffle_epi32(pairs, 0x55), weights<Tier>(w[1])),
                                      _mm_madd_epi16(_mm_shuffle_epi32(pairs, 0xFF), weights<Tier>(w[3])));
    const __m128i lo = _mm_srai_epi32(_mm_add_epi32(even, odd), 12);
    const __m128i hi = _mm_srai_epi32(_mm_shuffle_epi32(_mm_sub_epi32(even, odd), 0x1B), 12);
    return _mm_packs_epi32(lo, hi);
}

// Calls f(0) .. f(N-1) as straight-line code, each index a constant: row classes, partner rows and
// weights are then fixed, and the rows stay in registers.
template <typename F, size_t... I>
LUM_BLOCK_INLINE void unrolled(F&& f, std::index_sequence<I...>)
{
    (f(std::integral_constant<int, I>{}), ...);
}

template <int N, typename F>
LUM_BLOCK_INLINE void unrolled(F&& f)
{
    unrolled(f, std::make_index_sequence<N>{});
}

// A block on a 16-byte boundary is read and written with aligned 16-byte moves. Any other is read
// with unaligned loads (the tier's own in the forward transform) and written back in 8-byte halves,
// so that no store splits across the caller's alignment. Between the stages the eight rows stay in
// registers in both paths.
template <typename Tier, bool Aligned>
struct BlockPath {
    using O = simd::Ops128<Tier>;

    static __m128i read(const Lum16s* p, bool tierLoad)
    {
        if constexpr (Aligned) return O::load(p);
        return tierLoad ? Tier::loadUnaligned(p) : O::loadu(p);
    }
    static void write(Lum16s* p, __m128i v)
    {
        if constexpr (Aligned) {
            O::store(p, v);
        } else {
            _mm_storel_epi64(reinterpret_cast<__m128i*>(p), v);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(p + 4), _mm_srli_si128(v, 8));
        }
    }

    static void forward(Lum16s* block)
    {
        __m128i x[8];
        for (int i = 0; i < 8; ++i) x[i] = read(block + 8 * i, true);
        forwardColumns<O, true>(x);
        unrolled<4>([&](auto c) { forwardRows<Tier>(x[c], x[kPartnerRow[c]], kForwardPairWeights.v[c]); });
        for (int i = 0; i < 8; ++i) write(block + 8 * i, x[i]);
    }

    static void inverse(Lum16s* block)
    {
        __m128i y[8];
        unrolled<8>([&](auto r) {
            y[r] = inverseRow<Tier>(read(block + 8 * r, false), kInverseWeights.v[kRowClass[r]],
                                    kInverseRoundingQuads.v[r]);
        });
        inverseColumns<O>(y);
        for (int i = 0; i < 8; ++i) write(block + 8 * i, y[i]);
    }
};

template <typename Tier, void (*AlignedPath)(Lum16s*), void (*UnalignedPath)(Lum16s*)>
LumStatus transform(Lum16s* pSrcDst)
{
    const LumStatus status = checkBlockPointers(pSrcDst);
    if (status != lumStsNoErr) return status;
    if ((reinterpret_cast<uintptr_t>(pSrcDst) & 15) == 0)
        AlignedPath(pSrcDst);
    else
        UnalignedPath(pSrcDst);
    return lumStsNoErr;
}

template <typename Tier>
LumStatus forward(Lum16s* pSrcDst)
{
    return transform<Tier, BlockPath<Tier, true>::forward, BlockPath<Tier, false>::forward>(pSrcDst);
}

template <typename Tier>
LumStatus inverse(Lum16s* pSrcDst)
{
    return transform<Tier, BlockPath<Tier, true>::inverse, BlockPath<Tier, false>::inverse>(pSrcDst);
}

}  // namespace lum::dctvec
