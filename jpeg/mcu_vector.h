// Per-MCU vector kernels, written once over a register policy: Mmx (64-bit registers, the a6
// kernels and t7's colour and SampleUp kernels) or Sse (128-bit registers, w7 and the rest of t7).
// Everything is templated on the including tier's tag, so that instantiations of the SSE3 file
// never merge with baseline ones.
#pragma once

#include "jpeg/mcu_layout.h"
#include "jpeg/mcu_scalar.h"

#include <emmintrin.h>
#include <mmintrin.h>

#include <cstring>
#include <type_traits>
#include <utility>

namespace lum::mcu {

template <typename Tag>
struct Mmx {
    using Reg = __m64;
    static constexpr int kBytes = 8;
    static constexpr int kRounds = 3;  // log2(kBytes) rounds of the channel shuffle separate pixels

    static Reg zero() { return _mm_setzero_si64(); }
    static Reg set16(int v) { return _mm_set1_pi16(static_cast<short>(v)); }
    static Reg set32(int32_t v) { return _mm_set1_pi32(v); }
    static Reg set64(uint64_t v) { return _mm_set_pi32(static_cast<int>(v >> 32), static_cast<int>(v)); }
    static Reg lo8(Reg a, Reg b) { return _mm_unpacklo_pi8(a, b); }
    static Reg hi8(Reg a, Reg b) { return _mm_unpackhi_pi8(a, b); }
    static Reg lo16(Reg a, Reg b) { return _mm_unpacklo_pi16(a, b); }
    static Reg hi16(Reg a, Reg b) { return _mm_unpackhi_pi16(a, b); }
    static Reg hiToLo(Reg a) { return _mm_srli_si64(a, 32); }
    static Reg madd(Reg a, Reg b) { return _mm_madd_pi16(a, b); }
    static Reg add32(Reg a, Reg b) { return _mm_add_pi32(a, b); }
    template <int N>
    static Reg srai32(Reg a) { return _mm_srai_pi32(a, N); }
    static Reg packs32(Reg a, Reg b) { return _mm_packs_pi32(a, b); }
    static Reg add16(Reg a, Reg b) { return _mm_add_pi16(a, b); }
    static Reg sub16(Reg a, Reg b) { return _mm_sub_pi16(a, b); }
    static Reg adds16(Reg a, Reg b) { return _mm_adds_pi16(a, b); }
    template <int N>
    static Reg srli16(Reg a) { return _mm_srli_pi16(a, N); }
    static Reg packus16(Reg a, Reg b) { return _mm_packs_pu16(a, b); }
    static Reg and_(Reg a, Reg b) { return _mm_and_si64(a, b); }
    static Reg or_(Reg a, Reg b) { return _mm_or_si64(a, b); }
    static Reg xor_(Reg a, Reg b) { return _mm_xor_si64(a, b); }
    template <int N>
    static Reg shlBytes(Reg a) { return _mm_slli_si64(a, 8 * N); }
    template <int N>
    static Reg shrBytes(Reg a) { return _mm_srli_si64(a, 8 * N); }
    template <int N>
    static Reg srli64(Reg a) { return _mm_srli_si64(a, N); }
    template <bool Aligned>
    static Reg load(const void* p)
    {
        Reg r;
        std::memcpy(&r, p, sizeof r);
        return r;
    }
    static Reg loadHalves(const void* p) { return load<false>(p); }
    static Reg loadHalf(const void* p)
    {
        int32_t v;
        std::memcpy(&v, p, sizeof v);
        return _mm_cvtsi32_si64(v);
    }
    template <bool Aligned>
    static void store(void* p, Reg r) { std::memcpy(p, &r, sizeof r); }
    static void storeHalf(void* p, Reg r)
    {
        const int32_t v = _mm_cvtsi64_si32(r);
        std::memcpy(p, &v, sizeof v);
    }
    // One 64-bit lane is already contiguous.
    static Reg joinLanes(Reg a) { return a; }
    static void finish() { _mm_empty(); }
};

template <typename Tag>
struct Sse {
    using Reg = __m128i;
    static constexpr int kBytes = 16;
    static constexpr int kRounds = 4;

    static Reg zero() { return _mm_setzero_si128(); }
    static Reg set16(int v) { return _mm_set1_epi16(static_cast<short>(v)); }
    static Reg set32(int32_t v) { return _mm_set1_epi32(v); }
    static Reg set64(uint64_t v) { return _mm_set1_epi64x(static_cast<long long>(v)); }
    static Reg lo8(Reg a, Reg b) { return _mm_unpacklo_epi8(a, b); }
    static Reg hi8(Reg a, Reg b) { return _mm_unpackhi_epi8(a, b); }
    static Reg lo16(Reg a, Reg b) { return _mm_unpacklo_epi16(a, b); }
    static Reg hi16(Reg a, Reg b) { return _mm_unpackhi_epi16(a, b); }
    static Reg hiToLo(Reg a) { return _mm_unpackhi_epi64(a, a); }
    static Reg madd(Reg a, Reg b) { return _mm_madd_epi16(a, b); }
    static Reg add32(Reg a, Reg b) { return _mm_add_epi32(a, b); }
    template <int N>
    static Reg srai32(Reg a) { return _mm_srai_epi32(a, N); }
    static Reg packs32(Reg a, Reg b) { return _mm_packs_epi32(a, b); }
    static Reg add16(Reg a, Reg b) { return _mm_add_epi16(a, b); }
    static Reg sub16(Reg a, Reg b) { return _mm_sub_epi16(a, b); }
    static Reg adds16(Reg a, Reg b) { return _mm_adds_epi16(a, b); }
    template <int N>
    static Reg srli16(Reg a) { return _mm_srli_epi16(a, N); }
    static Reg packus16(Reg a, Reg b) { return _mm_packus_epi16(a, b); }
    static Reg and_(Reg a, Reg b) { return _mm_and_si128(a, b); }
    static Reg or_(Reg a, Reg b) { return _mm_or_si128(a, b); }
    static Reg xor_(Reg a, Reg b) { return _mm_xor_si128(a, b); }
    template <int N>
    static Reg shlBytes(Reg a) { return _mm_slli_si128(a, N); }
    template <int N>
    static Reg shrBytes(Reg a) { return _mm_srli_si128(a, N); }
    template <int N>
    static Reg srli64(Reg a) { return _mm_srli_epi64(a, N); }
    template <bool Aligned>
    static Reg load(const void* p)
    {
        if constexpr (Aligned)
            return _mm_load_si128(static_cast<const __m128i*>(p));
        else
            return _mm_loadu_si128(static_cast<const __m128i*>(p));
    }
    static Reg loadHalves(const void* p)
    {
        const auto* q = static_cast<const Lum8u*>(p);
        return _mm_unpacklo_epi64(loadHalf(q), loadHalf(q + 8));
    }
    static Reg loadHalf(const void* p) { return _mm_loadl_epi64(static_cast<const __m128i*>(p)); }
    template <bool Aligned>
    static void store(void* p, Reg r)
    {
        if constexpr (Aligned)
            _mm_store_si128(static_cast<__m128i*>(p), r);
        else
            _mm_storeu_si128(static_cast<__m128i*>(p), r);
    }
    static void storeHalf(void* p, Reg r) { _mm_storel_epi64(static_cast<__m128i*>(p), r); }
    // Six bytes at the bottom of each 64-bit lane to twelve at the bottom of the register.
    static Reg joinLanes(Reg a) { return _mm_or_si128(_mm_move_epi64(a), _mm_srli_si128(_mm_unpackhi_epi64(zero(), a), 2)); }
    static void finish() {}
};

// Calls fn(std::integral_constant<int, I>) for I = 0 .. N-1, so that register indices and shift
// counts stay compile-time constants.
template <int N, typename Fn>
static inline void unroll(Fn&& fn)
{
    [&]<int... I>(std::integer_sequence<int, I...>) { (fn(std::integral_constant<int, I>{}), ...); }(
        std::make_integer_sequence<int, N>{});
}

// ---- Channel shuffle --------------------------------------------------------------------------
// Out register i interleaves the bytes of register halves i and i + N of the N input registers
// (2N halves). log2(kBytes) rounds turn N registers of interleaved N-byte pixels into one register
// per channel; on four registers, two rounds do the reverse.

template <typename V, int N, int I>
typename V::Reg zipHalves(const typename V::Reg (&t)[N])
{
    constexpr int a = I, b = I + N;
    if constexpr (a % 2 == 0 && b % 2 == 0)
        return V::lo8(t[a / 2], t[b / 2]);
    else if constexpr (a % 2 == 1 && b % 2 == 1)
        return V::hi8(t[a / 2], t[b / 2]);
    else if constexpr (a % 2 == 0)
        return V::lo8(t[a / 2], V::hiToLo(t[b / 2]));
    else
        return V::lo8(V::hiToLo(t[a / 2]), t[b / 2]);
}

template <typename V, int N>
void shuffleRounds(typename V::Reg (&t)[N], int rounds)
{
    for (int r = 0; r < rounds; ++r) {
        typename V::Reg in[N];
        for (int i = 0; i < N; ++i) in[i] = t[i];
        unroll<N>([&](auto i) { t[i] = zipHalves<V, N, i>(in); });
    }
}

// P pixels of N bytes each, read exactly (whole registers, then a half register), as one register
// of bytes per channel; lanes past P are zero.
template <typename V, int N, int P>
void loadChannels(const Lum8u* p, typename V::Reg (&t)[N])
{
    constexpr int kBytes = N * P;
    unroll<N>([&](auto i) {
        constexpr int offset = i * V::kBytes;
        if constexpr (offset + V::kBytes <= kBytes)
            t[i] = V::template load<false>(p + offset);
        else if constexpr (offset + V::kBytes / 2 <= kBytes)
            t[i] = V::loadHalf(p + offset);
        else
            t[i] = V::zero();
    });
    shuffleRounds<V, N>(t, V::kRounds);
}

// Groups of G bytes at the bottom of their registers, laid end to end: whole-register stores, then
// a half-register store, nothing past the last group.
template <typename V, int Groups>
void storeGroups(Lum8u* p, const typename V::Reg (&g)[Groups])
{
    constexpr int W = V::kBytes, G = 3 * W / 4, kTotal = Groups * G;
    auto gather = [&](auto j) {
        constexpr int J = decltype(j)::value;
        typename V::Reg out = V::zero();
        unroll<Groups>([&](auto k) {
            constexpr int offset = k * G - J * W;
            if constexpr (offset >= 0 && offset < W)
                out = V::or_(out, V::template shlBytes<offset>(g[k]));
            else if constexpr (offset < 0 && offset > -G)
                out = V::or_(out, V::template shrBytes<-offset>(g[k]));
        });
        return out;
    };
    unroll<kTotal / W>([&](auto j) { V::template store<false>(p + j * W, gather(j)); });
    if constexpr (kTotal % W != 0)
        V::storeHalf(p + kTotal / W * W, gather(std::integral_constant<int, kTotal / W>{}));
}

// ---- Colour and sampling arithmetic -----------------------------------------------------------

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
    return V::packs32(V::template srai32<Shift>(sums(LowLanes<V>{})), V::template srai32<Shift>(sums(HighLanes<V>{})));
}

// (wx * x + wy * y + wz * z + bias) >> Shift on 16-bit lanes, with the bias carried as z's partner
// 128 so that one multiply-add per pair of terms does all.
template <typename V, int Shift>
typename V::Reg weigh(typename V::Reg x, typename V::Reg y, typename V::Reg z, typename V::Reg wxy,
                      typename V::Reg wz)
{
    const typename V::Reg k128 = V::set16(128);
    return narrow<V, Shift>([&](auto lanes) {
        return V::add32(V::madd(lanes.unpack(x, y), wxy), V::madd(lanes.unpack(z, k128), wz));
    });
}

// (w * x + 128 * bias) >> Shift on 16-bit lanes.
template <typename V, int Shift>
typename V::Reg weighOne(typename V::Reg x, typename V::Reg w)
{
    const typename V::Reg k128 = V::set16(128);
    return narrow<V, Shift>([&](auto lanes) { return V::madd(lanes.unpack(x, k128), w); });
}

// Luma of 16-bit R, G, B (or the level-shifted first component).
template <typename V, typename Layout>
typename V::Reg forwardLuma(const typename V::Reg (&c)[3])
{
    if constexpr (Layout::kColour)
        return weigh<V, 14>(c[0], c[1], c[2], pair<V>(4899, 9617), pair<V>(1868, -16320));
    else
        return V::sub16(c[0], V::set16(128));
}

// Cb and Cr of sums over 2^Shift pixels.
template <typename V, typename Layout, int Shift>
void forwardChroma(const typename V::Reg (&s)[3], typename V::Reg& cb, typename V::Reg& cr)
{
    if constexpr (Layout::kColour) {
        cb = weigh<V, 14 + Shift>(s[0], s[1], s[2], pair<V>(-2764, -5428), pair<V>(8192, 64 << Shift));
        cr = weigh<V, 14 + Shift>(s[0], s[1], s[2], pair<V>(8192, -6860), pair<V>(-1332, 64 << Shift));
    } else {
        cb = V::sub16(V::template srli16<Shift>(s[1]), V::set16(128));
        cr = V::sub16(V::template srli16<Shift>(s[2]), V::set16(128));
    }
}

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
        t[1] = V::adds16(cb, k128);
        // The 64-bit SampleUp kernels keep the low byte of the unclamped third component.
        t[2] = WrapThird ? V::and_(V::add16(cr, k128), V::set16(0xFF)) : V::adds16(cr, k128);
    }
}

// 16-bit channel values of pixels from their luma and their cell's terms; packing clamps them.
template <typename V, typename Layout>
void inversePixels(typename V::Reg y, const typename V::Reg (&t)[3], typename V::Reg (&c)[3])
{
    if constexpr (Layout::kColour) {
        c[0] = V::add16(y, t[0]);
        c[1] = V::sub16(y, t[1]);
        c[2] = V::add16(y, t[2]);
    } else {
        c[0] = V::adds16(y, V::set16(128));
        c[1] = t[1];
        c[2] = t[2];
    }
}

// ---- Pixels to planes -------------------------------------------------------------------------

// The 64-bit kernels take strips of 8 pixels (a block row), the 128-bit kernels a whole MCU row.
template <typename V, typename F>
constexpr int stripPixels()
{
    return V::kBytes == 8 ? 8 : F::kWidth;
}

// Bytes to 16-bit lanes: part 0 is the low half of the register, part 1 the high half.
template <typename V, int Part>
typename V::Reg widen(typename V::Reg b)
{
    return Part == 0 ? V::lo8(b, V::zero()) : V::hi8(b, V::zero());
}

// Sums of horizontal pairs of bytes, as 16-bit lanes.
template <typename V>
typename V::Reg pairSums(typename V::Reg b)
{
    return V::add16(V::and_(b, V::set16(0xFF)), V::template srli16<8>(b));
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
    constexpr int H = V::kBytes / 2;  // 16-bit lanes of a register
    constexpr int P = stripPixels<V, F>();
    constexpr int N = Layout::kBytes;
    const Reg k128 = V::set16(128);
    for (int cy = 0; cy < 8; ++cy) {
        for (int x0 = 0; x0 < F::kWidth; x0 += P) {
            [[maybe_unused]] Reg sums[3] = {V::zero(), V::zero(), V::zero()};
            for (int r = 0; r < F::kFy; ++r) {
                const int y = cy * F::kFy + r;
                Reg t[N];
                loadChannels<V, N, P>(row(src, step, y) + x0 * N, t);
                Reg c[3] = {t[Layout::kR], t[Layout::kG], t[Layout::kB]};
                if constexpr (Layout::kInk)
                    for (Reg& v : c) v = V::xor_(v, V::set16(-1));
                unroll<P / H>([&](auto j) {
                    const Reg w[3] = {widen<V, j>(c[0]), widen<V, j>(c[1]), widen<V, j>(c[2])};
                    const int at = lumaIndex(x0 + j * H, y);
                    storePlane<AlignedPlanes, 0, V>(planes, at, forwardLuma<V, Layout>(w));
                    if constexpr (Layout::kInk)
                        storePlane<AlignedPlanes, 3, V>(planes, at, V::sub16(widen<V, j>(t[3]), k128));
                    if constexpr (F::kFx == 1) {
                        Reg cb, cr;
                        forwardChroma<V, Layout, 0>(w, cb, cr);
                        storePlane<AlignedPlanes, 1, V>(planes, 8 * y + x0 + j * H, cb);
                        storePlane<AlignedPlanes, 2, V>(planes, 8 * y + x0 + j * H, cr);
                    }
                });
                if constexpr (F::kFx == 2)
                    for (int k = 0; k < 3; ++k) sums[k] = V::add16(sums[k], pairSums<V>(c[k]));
            }
            if constexpr (F::kFx == 2) {
                Reg cb, cr;
                forwardChroma<V, Layout, F::kShift>(sums, cb, cr);
                storePlane<AlignedPlanes, 1, V>(planes, 8 * cy + x0 / 2, cb);
                storePlane<AlignedPlanes, 2, V>(planes, 8 * cy + x0 / 2, cr);
            }
        }
    }
    V::finish();
}

// ---- Planes to pixels -------------------------------------------------------------------------

// Four registers of bytes, one per channel in memory order, to P interleaved pixels of N bytes.
template <typename V, int N, int P>
void storePixels(Lum8u* p, typename V::Reg (&t)[4])
{
    constexpr int kRegs = 4 * P / V::kBytes;  // registers of 4-byte pixels that hold the P pixels
    shuffleRounds<V, 4>(t, 2);
    if constexpr (N == 4) {
        unroll<kRegs>([&](auto k) { V::template store<false>(p + k * V::kBytes, t[k]); });
    } else {
        // Drop every fourth byte: within each 64-bit lane, then across lanes.
        const typename V::Reg first = V::set64(0x0000000000FFFFFFull);
        const typename V::Reg second = V::set64(0x0000FFFFFF000000ull);
        typename V::Reg g[kRegs];
        unroll<kRegs>([&](auto k) {
            g[k] = V::joinLanes(V::or_(V::and_(t[k], first), V::and_(V::template srli64<8>(t[k]), second)));
        });
        storeGroups<V, kRegs>(p, g);
    }
}

template <typename V, typename Layout, typename F, unsigned AlignedPlanes, bool WrapThird>
void vectorToPixels(const Lum16s* const* planes, Lum8u* dst, Lum32s step)
{
    using Reg = typename V::Reg;
    constexpr int H = V::kBytes / 2;
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
                Reg c[3][kLumaRegs];
                [[maybe_unused]] Reg k[kLumaRegs];
                unroll<kLumaRegs>([&](auto j) {
                    const int at = lumaIndex(x0 + j * H, y);
                    Reg t[3];
                    for (int n = 0; n < 3; ++n) {
                        // 4:2:2 and 4:1:1 replicate each chroma lane over two pixels.
                        const Reg u = terms[F::kFx == 1 ? j : 0][n];
                        t[n] = F::kFx == 1 ? u : (j == 0 ? V::lo16(u, u) : V::hi16(u, u));
                    }
                    Reg v[3];
                    inversePixels<V, Layout>(loadPlane<AlignedPlanes, 0, V>(planes, at), t, v);
                    for (int n = 0; n < 3; ++n) c[n][j] = v[n];
                    if constexpr (Layout::kInk)
                        k[j] = V::adds16(loadPlane<AlignedPlanes, 3, V>(planes, at), V::set16(128));
                });
                const auto bytes = [&](const Reg(&v)[kLumaRegs]) {
                    return V::packus16(v[0], kLumaRegs == 2 ? v[kLumaRegs - 1] : V::zero());
                };
                Reg out[4];
                out[Layout::kR] = bytes(c[0]);
                out[Layout::kG] = bytes(c[1]);
                out[Layout::kB] = bytes(c[2]);
                if constexpr (Layout::kInk) {
                    for (int n = 0; n < 3; ++n) out[n] = V::xor_(out[n], V::set16(-1));
                    out[3] = bytes(k);
                } else {
                    out[3] = V::zero();
                }
                storePixels<V, Layout::kBytes, P>(row(dst, step, y) + x0 * Layout::kBytes, out);
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
            V::template store<Aligned>(planes[0] + lumaIndex((i + 1) * H, y), V::sub16(V::and_(b, low), k128));
            const Reg chroma = V::packus16(V::template srli16<8>(a), V::template srli16<8>(b));
            V::template store<Aligned>(planes[1] + 8 * y + i * H / 2, V::sub16(V::and_(chroma, low), k128));
            V::template store<Aligned>(planes[2] + 8 * y + i * H / 2, V::sub16(V::template srli16<8>(chroma), k128));
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
