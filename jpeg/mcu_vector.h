// Per-MCU vector kernels, written once over a register policy: Mmx (64-bit registers, the a6
// kernels and t7's colour and SampleUp kernels) or Sse (128-bit registers, w7 and the rest of t7).
// Everything is templated on the including tier's tag, so that instantiations of the SSE3 file
// never merge with baseline ones.
#pragma once

#include "jpeg/mcu_layout.h"
#include "jpeg/mcu_scalar.h"

#include <emmintrin.h>
#include <mmintrin.h>
#include <xmmintrin.h>

#include <cstring>
#include <type_traits>
#include <utility>

namespace lum::mcu {

template <typename Tag>
struct Mmx {
    using Reg = __m64;
    static constexpr int kBytes = 8;

    static Reg zero() { return _mm_setzero_si64(); }
    static Reg set16(int v) { return _mm_set1_pi16(static_cast<short>(v)); }
    static Reg set32(int32_t v) { return _mm_set1_pi32(v); }
    static Reg set64(uint64_t v) { return _mm_set_pi32(static_cast<int>(v >> 32), static_cast<int>(v)); }
    static Reg lo16(Reg a, Reg b) { return _mm_unpacklo_pi16(a, b); }
    static Reg hi16(Reg a, Reg b) { return _mm_unpackhi_pi16(a, b); }
    // The low 32-bit lanes of a and of b.
    static Reg evenLanes(Reg a, Reg b) { return _mm_unpacklo_pi32(a, b); }
    static Reg madd(Reg a, Reg b) { return _mm_madd_pi16(a, b); }
    static Reg add32(Reg a, Reg b) { return _mm_add_pi32(a, b); }
    static Reg sub32(Reg a, Reg b) { return _mm_sub_pi32(a, b); }
    template <int N>
    static Reg srai32(Reg a)
    {
        return _mm_srai_pi32(a, N);
    }
    template <int N>
    static Reg srli32(Reg a)
    {
        return _mm_srli_pi32(a, N);
    }
    static Reg packs32(Reg a, Reg b) { return _mm_packs_pi32(a, b); }
    static Reg add16(Reg a, Reg b) { return _mm_add_pi16(a, b); }
    static Reg sub16(Reg a, Reg b) { return _mm_sub_pi16(a, b); }
    static Reg adds16(Reg a, Reg b) { return _mm_adds_pi16(a, b); }
    static Reg max16(Reg a, Reg b) { return _mm_max_pi16(a, b); }
    static Reg min16(Reg a, Reg b) { return _mm_min_pi16(a, b); }
    template <int N>
    static Reg srli16(Reg a)
    {
        return _mm_srli_pi16(a, N);
    }
    template <int N>
    static Reg slli16(Reg a)
    {
        return _mm_slli_pi16(a, N);
    }
    template <int N>
    static Reg srli64(Reg a)
    {
        return _mm_srli_si64(a, N);
    }
    template <int N>
    static Reg slli64(Reg a)
    {
        return _mm_slli_si64(a, N);
    }
    static Reg packus16(Reg a, Reg b) { return _mm_packs_pu16(a, b); }
    static Reg and_(Reg a, Reg b) { return _mm_and_si64(a, b); }
    static Reg or_(Reg a, Reg b) { return _mm_or_si64(a, b); }
    static Reg xor_(Reg a, Reg b) { return _mm_xor_si64(a, b); }
    template <bool Aligned>
    static Reg load(const void* p)
    {
        Reg r;
        std::memcpy(&r, p, sizeof r);
        return r;
    }
    static Reg load8(const void* p) { return load<false>(p); }
    static Reg loadHalves(const void* p) { return load<false>(p); }
    template <bool Aligned>
    static void store(void* p, Reg r)
    {
        std::memcpy(p, &r, sizeof r);
    }
    template <int Lane>
    static void storeLane(void* p, Reg r)
    {
        std::memcpy(p, &r, sizeof r);
    }
    template <int Lane>
    static void store4Lane(void* p, Reg r)
    {
        const int32_t v = _mm_cvtsi64_si32(r);
        std::memcpy(p, &v, sizeof v);
    }
    static void finish() { _mm_empty(); }
};

template <typename Tag>
struct Sse {
    using Reg = __m128i;
    static constexpr int kBytes = 16;

    static Reg zero() { return _mm_setzero_si128(); }
    static Reg set16(int v) { return _mm_set1_epi16(static_cast<short>(v)); }
    static Reg set32(int32_t v) { return _mm_set1_epi32(v); }
    static Reg set64(uint64_t v) { return _mm_set1_epi64x(static_cast<long long>(v)); }
    static Reg lo16(Reg a, Reg b) { return _mm_unpacklo_epi16(a, b); }
    static Reg hi16(Reg a, Reg b) { return _mm_unpackhi_epi16(a, b); }
    // 32-bit lanes 0 and 2 of a, then of b.
    static Reg evenLanes(Reg a, Reg b)
    {
        return _mm_castps_si128(
            _mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), _MM_SHUFFLE(2, 0, 2, 0)));
    }
    static Reg madd(Reg a, Reg b) { return _mm_madd_epi16(a, b); }
    static Reg add32(Reg a, Reg b) { return _mm_add_epi32(a, b); }
    static Reg sub32(Reg a, Reg b) { return _mm_sub_epi32(a, b); }
    template <int N>
    static Reg srai32(Reg a)
    {
        return _mm_srai_epi32(a, N);
    }
    template <int N>
    static Reg srli32(Reg a)
    {
        return _mm_srli_epi32(a, N);
    }
    static Reg packs32(Reg a, Reg b) { return _mm_packs_epi32(a, b); }
    static Reg add16(Reg a, Reg b) { return _mm_add_epi16(a, b); }
    static Reg sub16(Reg a, Reg b) { return _mm_sub_epi16(a, b); }
    static Reg adds16(Reg a, Reg b) { return _mm_adds_epi16(a, b); }
    static Reg max16(Reg a, Reg b) { return _mm_max_epi16(a, b); }
    static Reg min16(Reg a, Reg b) { return _mm_min_epi16(a, b); }
    template <int N>
    static Reg srli16(Reg a)
    {
        return _mm_srli_epi16(a, N);
    }
    template <int N>
    static Reg slli16(Reg a)
    {
        return _mm_slli_epi16(a, N);
    }
    template <int N>
    static Reg srli64(Reg a)
    {
        return _mm_srli_epi64(a, N);
    }
    template <int N>
    static Reg slli64(Reg a)
    {
        return _mm_slli_epi64(a, N);
    }
    static Reg packus16(Reg a, Reg b) { return _mm_packus_epi16(a, b); }
    static Reg and_(Reg a, Reg b) { return _mm_and_si128(a, b); }
    static Reg or_(Reg a, Reg b) { return _mm_or_si128(a, b); }
    static Reg xor_(Reg a, Reg b) { return _mm_xor_si128(a, b); }
    template <bool Aligned>
    static Reg load(const void* p)
    {
        if constexpr (Aligned)
            return _mm_load_si128(static_cast<const __m128i*>(p));
        else
            return _mm_loadu_si128(static_cast<const __m128i*>(p));
    }
    static Reg load8(const void* p) { return _mm_loadl_epi64(static_cast<const __m128i*>(p)); }
    static Reg joinHalves(Reg lo, Reg hi) { return _mm_unpacklo_epi64(lo, hi); }
    static Reg loadHalves(const void* p)
    {
        const auto* q = static_cast<const Lum8u*>(p);
        return joinHalves(load8(q), load8(q + 8));
    }
    template <bool Aligned>
    static void store(void* p, Reg r)
    {
        if constexpr (Aligned)
            _mm_store_si128(static_cast<__m128i*>(p), r);
        else
            _mm_storeu_si128(static_cast<__m128i*>(p), r);
    }
    template <int Lane>
    static void storeLane(void* p, Reg r)
    {
        if constexpr (Lane == 0)
            _mm_storel_epi64(static_cast<__m128i*>(p), r);
        else
            _mm_storeh_pi(static_cast<__m64*>(p), _mm_castsi128_ps(r));
    }
    template <int Lane>
    static void store4Lane(void* p, Reg r)
    {
        const int32_t v = _mm_cvtsi128_si32(Lane == 0 ? r : _mm_unpackhi_epi64(r, r));
        std::memcpy(p, &v, sizeof v);
    }
    static void finish() {}
};

// Calls fn(std::integral_constant<int, I>) for I = 0 .. N-1, so that register indices and shift
// counts stay compile-time constants.
template <int N, typename Fn>
static inline void unroll(Fn&& fn)
{
    [&]<int... I>(std::integer_sequence<int, I...>) { (fn(std::integral_constant<int, I>{}), ...); }
    (std::make_integer_sequence<int, N>{});
}

// ---- Arithmetic on 16-bit lanes ---------------------------------------------------------------

// 16-bit pairs (a, b) in every 32-bit lane, for the multiply-add.
template <typename V>
typename V::Reg pair(int a, int b)
{
    return V::set32(static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint16_t>(b)) << 16 |
                                         static_cast<uint16_t>(a)));
}

// The low and the high 16-bit lanes of two registers, paired for the multiply-add.
template <typename V>
struct LowLanes {
    static typename V::Reg unpack(typename V::Reg a, typename V::Reg b) { return V::lo16(a, b); }
};
template <typename V>
struct HighLanes {
    static typename V::Reg unpack(typename V::Reg a, typename V::Reg b) { return V::hi16(a, b); }
};

// sums(lanes) gives 32-bit sums for one half of the lanes; both halves are shifted and packed back
// to 16 bits with saturation.
template <typename V, int Shift, typename Sums>
typename V::Reg narrow(Sums sums)
{
    return V::packs32(V::template srai32<Shift>(sums(LowLanes<V>{})),
                      V::template srai32<Shift>(sums(HighLanes<V>{})));
}

// (w * x + 128 * bias) >> Shift on 16-bit lanes.
template <typename V, int Shift>
typename V::Reg weighOne(typename V::Reg x, typename V::Reg w)
{
    const typename V::Reg k128 = V::set16(128);
    return narrow<V, Shift>([&](auto lanes) { return V::madd(lanes.unpack(x, k128), w); });
}

template <typename V>
typename V::Reg clamp8(typename V::Reg v)
{
    return V::min16(V::max16(v, V::zero()), V::set16(255));
}

// ---- Pixels to planes -------------------------------------------------------------------------
// A register holds kBytes / 4 pixels, one per 32-bit lane as bytes c0, c1, c2, 128, where c0..c2
// are the pixel's bytes (inks inverted). Its even bytes (c0, c2) and odd bytes (c1, 128) as 16-bit
// lanes then give every colour output with two multiply-adds: the weights of c0..c2 and of the
// constant 128, which carries the level shift and the rounding. Sampling only moves and shifts.

struct Weights {
    int w[4];
    int shift;
};

// Luma, Cb and Cr weights of the bytes of a pixel in memory.
template <typename Layout>
static constexpr Weights weightsOf(int output, int chromaShift)
{
    constexpr int rgb[3][4] = {
        {4899, 9617, 1868, -16320}, {-2764, -5428, 8192, 64}, {8192, -6860, -1332, 64}};
    Weights p = {{0, 0, 0, rgb[output][3]}, output == 0 ? 14 : 14 + chromaShift};
    p.w[Layout::kR] = rgb[output][0];
    p.w[Layout::kG] = rgb[output][1];
    p.w[Layout::kB] = rgb[output][2];
    return p;
}

// Output 0, 1 or 2 per 32-bit lane, from the even and odd byte lanes of the pixels (or of the sums
// over 2^ChromaShift pixels).
template <typename V, typename Layout, int Output, int ChromaShift>
typename V::Reg weighPixels(typename V::Reg even, typename V::Reg odd)
{
    if constexpr (Layout::kColour) {
        constexpr Weights p = weightsOf<Layout>(Output, ChromaShift);
        return V::template srai32<p.shift>(
            V::add32(V::madd(even, pair<V>(p.w[0], p.w[2])), V::madd(odd, pair<V>(p.w[1], p.w[3]))));
    } else {
        // Component Output itself, its sum shifted down, less 128.
        const typename V::Reg low = V::set32(0xFFFF);
        const typename V::Reg c = Output == 0   ? V::and_(even, low)
                                  : Output == 1 ? V::and_(odd, low)
                                                : V::template srli32<16>(even);
        return V::sub32(V::template srli32 < Output == 0 ? 0 : ChromaShift > (c), V::set32(128));
    }
}

// The 64-bit kernels take strips of 8 pixels (a block row), the 128-bit kernels a whole MCU row.
template <typename V, typename F>
constexpr int stripPixels()
{
    return V::kBytes == 8 ? 8 : F::kWidth;
}

// Register I of a strip of P pixels. Three-byte pixels are read in pairs of 8 bytes, the last pair
// 2 bytes early so that no load passes the strip's end, and spread to 4 bytes within each 64-bit
// lane. K, if any, goes to `k` as 32-bit lanes.
template <typename V, typename Layout, int P, int I>
typename V::Reg loadPixels(const Lum8u* p, typename V::Reg& k)
{
    using Reg = typename V::Reg;
    const Reg k128 = V::set64(0x8000000080000000ull);
    if constexpr (Layout::kBytes == 4) {
        const Reg c = V::template load<false>(p + I * V::kBytes);
        k = V::template srli32<24>(c);
        return V::or_(V::and_(V::xor_(c, V::set32(-1)), V::set32(0x00FFFFFF)), k128);
    } else {
        const auto pairAt = [&](auto pairIndex) {
            constexpr int at = 6 * decltype(pairIndex)::value;
            if constexpr (at + 8 <= 3 * P)
                return V::load8(p + at);
            else
                return V::template srli64<16>(V::load8(p + at - 2));
        };
        constexpr int kPairs = V::kBytes / 8;
        Reg q;
        if constexpr (kPairs == 1)
            q = pairAt(std::integral_constant<int, I>{});
        else
            q = V::joinHalves(pairAt(std::integral_constant<int, 2 * I>{}),
                              pairAt(std::integral_constant<int, 2 * I + 1>{}));
        const Reg first = V::and_(q, V::set64(0x0000000000FFFFFFull));
        const Reg second = V::and_(V::template slli64<8>(q), V::set64(0x00FFFFFF00000000ull));
        return V::or_(V::or_(first, second), k128);
    }
}

// Lanes of adjacent pixels added: the low 32 bits of each 64-bit lane hold the pair's sums.
template <typename V>
typename V::Reg pairSums(typename V::Reg v)
{
    return V::add16(v, V::template srli64<32>(v));
}

template <unsigned AlignedPlanes, int K, typename V>
void storePlane(Lum16s* const* planes, int at, typename V::Reg v)
{
    V::template store<(AlignedPlanes >> K & 1u) != 0>(planes[K] + at, v);
}

template <unsigned AlignedPlanes, int K, typename V>
typename V::Reg loadPlane(const Lum16s* const* planes, int at)
{
    return V::template load<(AlignedPlanes >> K & 1u) != 0>(planes[K] + at);
}

// Bit k of AlignedPlanes: plane k is accessed with aligned loads or stores.
template <typename V, typename Layout, typename F, unsigned AlignedPlanes>
void vectorToPlanes(const Lum8u* src, Lum32s step, Lum16s* const* planes)
{
    using Reg = typename V::Reg;
    constexpr int Q = V::kBytes / 4;  // pixels of a register
    constexpr int P = stripPixels<V, F>();
    constexpr int R = P / Q;  // registers of a strip
    const Reg k128 = V::set16(128);
    for (int cy = 0; cy < 8; ++cy) {
        for (int x0 = 0; x0 < F::kWidth; x0 += P) {
            [[maybe_unused]] Reg sumEven[R], sumOdd[R];
            for (int r = 0; r < F::kFy; ++r) {
                const int y = cy * F::kFy + r;
                const Lum8u* p = row(src, step, y) + x0 * Layout::kBytes;
                Reg even[R], odd[R];
                [[maybe_unused]] Reg k[R];
                unroll<R>([&](auto i) {
                    const Reg c = loadPixels<V, Layout, P, i>(p, k[i]);
                    even[i] = V::and_(c, V::set16(0xFF));
                    odd[i] = V::template srli16<8>(c);
                });
                // Two registers of 32-bit results make one of 16-bit samples.
                unroll<R / 2>([&](auto i) {
                    constexpr int a = 2 * i, b = 2 * i + 1;
                    const int at = lumaIndex(x0 + a * Q, y);
                    storePlane<AlignedPlanes, 0, V>(
                        planes, at,
                        V::packs32(weighPixels<V, Layout, 0, 0>(even[a], odd[a]),
                                   weighPixels<V, Layout, 0, 0>(even[b], odd[b])));
                    if constexpr (Layout::kInk)
                        storePlane<AlignedPlanes, 3, V>(planes, at, V::sub16(V::packs32(k[a], k[b]), k128));
                    if constexpr (F::kFx == 1) {
                        const int c = 8 * y + x0 + a * Q;
                        storePlane<AlignedPlanes, 1, V>(
                            planes, c,
                            V::packs32(weighPixels<V, Layout, 1, 0>(even[a], odd[a]),
                                       weighPixels<V, Layout, 1, 0>(even[b], odd[b])));
                        storePlane<AlignedPlanes, 2, V>(
                            planes, c,
                            V::packs32(weighPixels<V, Layout, 2, 0>(even[a], odd[a]),
                                       weighPixels<V, Layout, 2, 0>(even[b], odd[b])));
                    }
                });
                if constexpr (F::kFx == 2) {
                    for (int i = 0; i < R; ++i) {
                        sumEven[i] =
                            r == 0 ? pairSums<V>(even[i]) : V::add16(sumEven[i], pairSums<V>(even[i]));
                        sumOdd[i] = r == 0 ? pairSums<V>(odd[i]) : V::add16(sumOdd[i], pairSums<V>(odd[i]));
                    }
                }
            }
            if constexpr (F::kFx == 2) {
                // One sample per pair of pixels, in the even 32-bit lanes.
                const auto chroma = [&](auto output) {
                    Reg gathered[R / 2];
                    unroll<R / 2>([&](auto i) {
                        gathered[i] = V::evenLanes(
                            weighPixels<V, Layout, output, F::kShift>(sumEven[2 * i], sumOdd[2 * i]),
                            weighPixels<V, Layout, output, F::kShift>(sumEven[2 * i + 1], sumOdd[2 * i + 1]));
                    });
                    return V::packs32(gathered[0], gathered[R / 2 - 1]);
                };
                storePlane<AlignedPlanes, 1, V>(planes, 8 * cy + x0 / 2,
                                                chroma(std::integral_constant<int, 1>{}));
                storePlane<AlignedPlanes, 2, V>(planes, 8 * cy + x0 / 2,
                                                chroma(std::integral_constant<int, 2>{}));
            }
        }
    }
    V::finish();
}

// ---- Planes to pixels -------------------------------------------------------------------------

// What the chroma samples contribute to each output channel, before replication over the cell.
template <typename V, typename Layout, bool WrapThird>
void inverseTerms(typename V::Reg cb, typename V::Reg cr, typename V::Reg (&t)[3])
{
    const typename V::Reg k128 = V::set16(128);
    if constexpr (Layout::kColour) {
        // 1052672 = 128 * 8224 and 2088960 carry the level shift and the rounding.
        t[0] = weighOne<V, 13>(cr, pair<V>(11485, 8224));
        t[1] = narrow<V, 14>([&](auto lanes) {
            return V::add32(V::madd(lanes.unpack(cb, cr), pair<V>(5638, 11700)), V::set32(-2088960));
        });
        t[2] = weighOne<V, 13>(cb, pair<V>(14516, 8224));
    } else {
        t[1] = clamp8<V>(V::adds16(cb, k128));
        // The 64-bit SampleUp kernels keep the low byte of the unclamped third component.
        t[2] = WrapThird ? V::and_(V::add16(cr, k128), V::set16(0xFF)) : clamp8<V>(V::adds16(cr, k128));
    }
}

// Channel bytes 0..255 in 16-bit lanes, from pixels' luma and their cells' terms.
template <typename V, typename Layout>
void inversePixels(typename V::Reg y, const typename V::Reg (&t)[3], typename V::Reg (&c)[3])
{
    if constexpr (Layout::kColour) {
        c[0] = clamp8<V>(V::add16(y, t[0]));
        c[1] = clamp8<V>(V::sub16(y, t[1]));
        c[2] = clamp8<V>(V::add16(y, t[2]));
    } else {
        c[0] = clamp8<V>(V::adds16(y, V::set16(128)));
        c[1] = t[1];
        c[2] = t[2];
    }
}

// Register I of 4-byte pixels into a strip of P pixels of N bytes. Three-byte pixels are cut out of
// each 64-bit lane and written in pairs of 8 bytes, each store's last 2 bytes overwritten by the
// next; the strip's last pair is written as two overlapping 4-byte stores.
template <typename V, int N, int P, int I>
void storePixels(Lum8u* p, typename V::Reg v)
{
    constexpr int Q = V::kBytes / 4;
    if constexpr (N == 4) {
        V::template store<false>(p + 4 * Q * I, v);
    } else {
        const typename V::Reg c = V::or_(V::and_(v, V::set64(0x0000000000FFFFFFull)),
                                         V::and_(V::template srli64<8>(v), V::set64(0x0000FFFFFF000000ull)));
        unroll<Q / 2>([&](auto lane) {
            constexpr int at = 6 * (Q / 2 * I + lane);
            if constexpr (at + 8 <= 3 * P) {
                V::template storeLane<lane>(p + at, c);
            } else {
                V::template store4Lane<lane>(p + at, c);
                V::template store4Lane<lane>(p + at + 2, V::template srli64<16>(c));
            }
        });
    }
}

template <typename V, typename Layout, typename F, unsigned AlignedPlanes, bool WrapThird>
void vectorToPixels(const Lum16s* const* planes, Lum8u* dst, Lum32s step)
{
    using Reg = typename V::Reg;
    constexpr int H = V::kBytes / 2;  // 16-bit lanes of a register
    constexpr int P = stripPixels<V, F>();
    constexpr int kLumaRegs = P / H;
    constexpr int kChromaRegs = P / F::kFx / H;
    for (int cy = 0; cy < 8; ++cy) {
        for (int x0 = 0; x0 < F::kWidth; x0 += P) {
            Reg terms[kChromaRegs][3];
            unroll<kChromaRegs>([&](auto j) {
                const int at = 8 * cy + x0 / F::kFx + j * H;
                inverseTerms<V, Layout, WrapThird>(loadPlane<AlignedPlanes, 1, V>(planes, at),
                                                   loadPlane<AlignedPlanes, 2, V>(planes, at), terms[j]);
            });
            for (int r = 0; r < F::kFy; ++r) {
                const int y = cy * F::kFy + r;
                Lum8u* p = row(dst, step, y) + x0 * Layout::kBytes;
                unroll<kLumaRegs>([&](auto j) {
                    const int at = lumaIndex(x0 + j * H, y);
                    Reg t[3];
                    for (int n = 0; n < 3; ++n) {
                        // 4:2:2 and 4:1:1 replicate each chroma lane over two pixels.
                        const Reg u = terms[F::kFx == 1 ? j : 0][n];
                        t[n] = F::kFx == 1 ? u : (j == 0 ? V::lo16(u, u) : V::hi16(u, u));
                    }
                    Reg c[4];
                    Reg v[3];
                    inversePixels<V, Layout>(loadPlane<AlignedPlanes, 0, V>(planes, at), t, v);
                    c[Layout::kR] = v[0];
                    c[Layout::kG] = v[1];
                    c[Layout::kB] = v[2];
                    c[3] = V::zero();
                    if constexpr (Layout::kInk)
                        c[3] =
                            clamp8<V>(V::adds16(loadPlane<AlignedPlanes, 3, V>(planes, at), V::set16(128)));
                    // Bytes 0, 1 and bytes 2, 3 of each pixel as 16-bit lanes, then whole pixels.
                    Reg first = V::or_(c[0], V::template slli16<8>(c[1]));
                    Reg second = V::or_(c[2], V::template slli16<8>(c[3]));
                    if constexpr (Layout::kInk) {
                        // The inks are the complements of R, G and B; K is not.
                        first = V::xor_(first, V::set16(-1));
                        second = V::xor_(second, V::set16(0xFF));
                    }
                    storePixels<V, Layout::kBytes, P, 2 * j>(p, V::lo16(first, second));
                    storePixels<V, Layout::kBytes, P, 2 * j + 1>(p, V::hi16(first, second));
                });
            }
        }
    }
    V::finish();
}

// ---- Split and join 4:2:2 ---------------------------------------------------------------------

// Each pair of loads covers kBytes pixels; luma is the even bytes, the odd bytes alternate Cb, Cr.
template <typename V, bool Aligned>
void vectorSplit(const Lum8u* src, Lum32s step, Lum16s* const* planes)
{
    using Reg = typename V::Reg;
    constexpr int W = V::kBytes, H = W / 2;
    const Reg low = V::set16(0xFF);
    const Reg k128 = V::set16(128);
    for (int y = 0; y < 8; ++y) {
        const Lum8u* p = row(src, step, y);
        for (int i = 0; i < 32 / W; i += 2) {
            const Reg a = Aligned ? V::template load<true>(p + i * W) : V::loadHalves(p + i * W);
            const Reg b = Aligned ? V::template load<true>(p + (i + 1) * W) : V::loadHalves(p + (i + 1) * W);
            V::template store<Aligned>(planes[0] + lumaIndex(i * H, y), V::sub16(V::and_(a, low), k128));
            V::template store<Aligned>(planes[0] + lumaIndex((i + 1) * H, y),
                                       V::sub16(V::and_(b, low), k128));
            const Reg chroma = V::packus16(V::template srli16<8>(a), V::template srli16<8>(b));
            V::template store<Aligned>(planes[1] + 8 * y + i * H / 2, V::sub16(V::and_(chroma, low), k128));
            V::template store<Aligned>(planes[2] + 8 * y + i * H / 2,
                                       V::sub16(V::template srli16<8>(chroma), k128));
        }
    }
    V::finish();
}

template <typename V, bool AlignedPlanes, bool AlignedDst>
void vectorJoin(const Lum16s* const* planes, Lum8u* dst, Lum32s step)
{
    using Reg = typename V::Reg;
    constexpr int W = V::kBytes, H = W / 2;
    const Reg k128 = V::set16(128);
    const auto level = [&](const Lum16s* p) { return V::adds16(V::template load<AlignedPlanes>(p), k128); };
    for (int y = 0; y < 8; ++y) {
        Lum8u* p = row(dst, step, y);
        for (int i = 0; i < 32 / W; i += 2) {
            const Reg ya = level(planes[0] + lumaIndex(i * H, y));
            const Reg yb = level(planes[0] + lumaIndex((i + 1) * H, y));
            const Reg cb = level(planes[1] + 8 * y + i * H / 2);
            const Reg cr = level(planes[2] + 8 * y + i * H / 2);
            const Reg lo = V::lo16(cb, cr);
            const Reg hi = V::hi16(cb, cr);
            V::template store<AlignedDst>(p + i * W, V::packus16(V::lo16(ya, lo), V::hi16(ya, lo)));
            V::template store<AlignedDst>(p + (i + 1) * W, V::packus16(V::lo16(yb, hi), V::hi16(yb, hi)));
        }
    }
    V::finish();
}

// w7 and t7 split: aligned loads and stores when the source and the planes are on 16-byte
// boundaries (rows must then be too), else the source in 8-byte halves.
template <typename V>
void splitByAlignment(const Lum8u* src, Lum32s step, Lum16s* const* planes)
{
    if ((reinterpret_cast<uintptr_t>(src) & 15) == 0 && planesAligned(planes, 3, 7u))
        vectorSplit<V, true>(src, step, planes);
    else
        vectorSplit<V, false>(src, step, planes);
}

// w7 and t7 join: the vector kernel on aligned planes only; its stores follow pDst's alignment.
template <typename V>
void joinByAlignment(const Lum16s* const* planes, Lum8u* dst, Lum32s step)
{
    if (!planesAligned(planes, 3, 7u))
        scalarToPixels<Packed422, Form422>(planes, dst, step);
    else if ((reinterpret_cast<uintptr_t>(dst) & 15) == 0)
        vectorJoin<V, true, true>(planes, dst, step);
    else
        vectorJoin<V, true, false>(planes, dst, step);
}

}  // namespace lum::mcu
