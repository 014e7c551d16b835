// Copy, clear, fill and move for w7 and t7. Everything is templated on the including tier's policy
// (its unaligned load and its touch stride), so that instantiations of the SSE3 file never merge with
// baseline ones. Each tier file adds its own middle part of the copy kernel.
#pragma once

#include "signal/cache_size.h"
#include "signal/kernels.h"

#include <emmintrin.h>

#include <cstring>

namespace lum::copyvec {

constexpr size_t kLargeBlock = 262144;
constexpr size_t kClearGate = 262144;
constexpr size_t kFillGate = 65536;

template <typename Tier>
uintptr_t address(const void* p)
{
    return reinterpret_cast<uintptr_t>(p);
}

// The CPUID source of a large call: the processor unless a test passed its own.
template <typename Tier>
const CpuidSource& source(const CpuidSource* cpu)
{
    return cpu != nullptr ? *cpu : hardwareCpuid();
}

template <typename Tier, size_t N>
void moveUnit(const Lum8u* s, Lum8u* d)
{
    Lum8u unit[N];
    std::memcpy(unit, s, N);
    std::memcpy(d, unit, N);
}

// Load policies, passed to the pass loops as function objects so that they inline.
template <typename Tier>
inline constexpr auto alignedLoad =
    [](const Lum8u* p) { return _mm_load_si128(reinterpret_cast<const __m128i*>(p)); };
// The tier's unaligned load (t7: lddqu), for the copy kernels.
template <typename Tier>
inline constexpr auto tierLoad = [](const Lum8u* p) { return Tier::loadUnaligned(p); };
// The plain unaligned load, for the move kernels.
template <typename Tier>
inline constexpr auto unalignedLoad =
    [](const Lum8u* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); };

template <typename Tier>
void storeAligned(Lum8u* d, __m128i v)
{
    _mm_store_si128(reinterpret_cast<__m128i*>(d), v);
}

template <typename Tier>
void advance(const Lum8u*& s, Lum8u*& d, size_t& len, size_t step)
{
    s += step;
    d += step;
    len -= step;
}

// Fewer than 64 bytes. Under 4, bytes from the last one back; else the last word, then the words at
// 4-byte aligned pDst addresses from the end towards the start, then the first word if bytes are
// left before the first aligned address. Stores overlap; no byte outside the range is touched.
template <typename Tier>
void copySmall(const Lum8u* s, Lum8u* d, size_t len)
{
    if (len < 4) {
        for (size_t i = len; i > 0; --i) d[i - 1] = s[i - 1];
        return;
    }
    moveUnit<Tier, 4>(s + len - 4, d + len - 4);
    const size_t head = (0 - address<Tier>(d)) & 3;
    for (size_t end = len - ((address<Tier>(d) + len) & 3); end >= head + 4; end -= 4)
        moveUnit<Tier, 4>(s + end - 4, d + end - 4);
    if (head != 0) moveUnit<Tier, 4>(s, d);
}

// How the common start of the w7 and t7 copies left things.
enum class Start { done, dstAligned, dstStepped };

// Fewer than 64 bytes go by the small path. Otherwise an unaligned pDst gets one unaligned 16-byte
// copy, and both pointers step to its next 16-byte boundary (later stores overlap that first one);
// if fewer than 64 bytes are then left, the small path finishes.
template <typename Tier>
Start copyStart(const Lum8u*& s, Lum8u*& d, size_t& len)
{
    if (len >= 64 && (address<Tier>(d) & 15) == 0) return Start::dstAligned;
    if (len >= 64) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), Tier::loadUnaligned(s));
        advance<Tier>(s, d, len, 16 - (address<Tier>(d) & 15));
        if (len >= 64) return Start::dstStepped;
    }
    copySmall<Tier>(s, d, len);
    return Start::done;
}

// 64 bytes per pass into aligned stores while 64 are left. All four loads of a pass come before its
// stores, which keeps forward moves of overlapping buffers right.
template <typename Tier, typename Load>
void passesForward(const Lum8u*& s, Lum8u*& d, size_t& len, Load load)
{
    for (; len >= 64; advance<Tier>(s, d, len, 64)) {
        const __m128i a = load(s), b = load(s + 16), c = load(s + 32), e = load(s + 48);
        storeAligned<Tier>(d, a);
        storeAligned<Tier>(d + 16, b);
        storeAligned<Tier>(d + 32, c);
        storeAligned<Tier>(d + 48, e);
    }
}

// Units of 1, 2, 4, 8 bytes by the bits of n, in that order, going forward.
template <typename Tier>
[[gnu::always_inline]] inline void peelForward(const Lum8u*& s, Lum8u*& d, size_t& len, size_t n)
{
    if (n & 1) *d = *s;
    if (n & 2) moveUnit<Tier, 2>(s + (n & 1), d + (n & 1));
    if (n & 4) moveUnit<Tier, 4>(s + (n & 3), d + (n & 3));
    if (n & 8) moveUnit<Tier, 8>(s + (n & 7), d + (n & 7));
    advance<Tier>(s, d, len, n);
}

// Forward copy: single units up to a 16-byte boundary of pDst, 64 bytes per pass, then 32, 16, 8,
// 4, 2, 1 by the bits of the rest. Needs at least 16 bytes when pDst is not aligned.
template <typename Tier, typename Load>
void copyForward(const Lum8u* s, Lum8u* d, size_t len, Load load)
{
    peelForward<Tier>(s, d, len, (0 - address<Tier>(d)) & 15);
    passesForward<Tier>(s, d, len, load);
    if (len & 32) {
        const __m128i a = load(s), b = load(s + 16);
        storeAligned<Tier>(d, a);
        storeAligned<Tier>(d + 16, b);
        advance<Tier>(s, d, len, 32);
    }
    if (len & 16) {
        storeAligned<Tier>(d, load(s));
        advance<Tier>(s, d, len, 16);
    }
    peelForward<Tier>(s, d, len, len);
}

// Units of 1, 2, 4, 8 bytes by the bits of n, in that order, going backward from the ends.
template <typename Tier>
[[gnu::always_inline]] inline void peelBackward(const Lum8u*& se, Lum8u*& de, size_t n)
{
    se -= n;
    de -= n;
    if (n & 1) de[n - 1] = se[n - 1];
    if (n & 2) moveUnit<Tier, 2>(se + (n & 12), de + (n & 12));
    if (n & 4) moveUnit<Tier, 4>(se + (n & 8), de + (n & 8));
    if (n & 8) moveUnit<Tier, 8>(se, de);
}

// Backward copy from the ends: 1, 2, 4, 8 bytes down to a 16-byte boundary of the end of pDst, then
// 16 and 32 by the bits of the rest, 64 bytes per pass towards the start, and the bytes before the
// first aligned address peeled the same way. With both pointers aligned that is the peel of 1 to 32
// bytes by the bits of len. Needs at least 16 bytes when the end of pDst is not aligned.
template <typename Tier, typename Load>
void copyBackward(const Lum8u* s, Lum8u* d, size_t len, Load load)
{
    const Lum8u* se = s + len;
    Lum8u* de = d + len;
    const size_t tail = address<Tier>(de) & 15;
    peelBackward<Tier>(se, de, tail);
    size_t rest = len - tail;
    if (rest & 16) {
        se -= 16;
        de -= 16;
        storeAligned<Tier>(de, load(se));
    }
    if (rest & 32) {
        se -= 32;
        de -= 32;
        const __m128i a = load(se + 16), b = load(se);
        storeAligned<Tier>(de + 16, a);
        storeAligned<Tier>(de, b);
    }
    rest &= ~size_t{48};
    for (; rest >= 64; rest -= 64) {
        se -= 64;
        de -= 64;
        const __m128i a = load(se + 48), b = load(se + 32), c = load(se + 16), e = load(se);
        storeAligned<Tier>(de + 48, a);
        storeAligned<Tier>(de + 32, b);
        storeAligned<Tier>(de + 16, c);
        storeAligned<Tier>(de, e);
    }
    // What is left lies before the first aligned address.
    peelBackward<Tier>(se, de, rest);
}

// Reads one byte of every line of [s, s + len), ascending or descending, so that the block is in
// the cache before the non-temporal stores go out. Volatile, so the reads stay.
template <typename Tier>
void touch(const Lum8u* s, size_t len, bool ascending)
{
    const volatile Lum8u* v = s;
    const size_t lines = (len + Tier::kTouchStride - 1) / Tier::kTouchStride;
    for (size_t i = 0; i < lines; ++i) {
        const size_t line = ascending ? i : lines - 1 - i;
        static_cast<void>(v[line * Tier::kTouchStride]);
    }
}

// 16-byte non-temporal stores to an aligned pDst while 16 bytes are left.
template <typename Tier, typename Load>
void streamUnits(const Lum8u*& s, Lum8u*& d, size_t& len, Load load)
{
    for (; len >= 64; advance<Tier>(s, d, len, 64)) {
        const __m128i a = load(s), b = load(s + 16), c = load(s + 32), e = load(s + 48);
        _mm_stream_si128(reinterpret_cast<__m128i*>(d), a);
        _mm_stream_si128(reinterpret_cast<__m128i*>(d + 16), b);
        _mm_stream_si128(reinterpret_cast<__m128i*>(d + 32), c);
        _mm_stream_si128(reinterpret_cast<__m128i*>(d + 48), e);
    }
    for (; len >= 16; advance<Tier>(s, d, len, 16)) _mm_stream_si128(reinterpret_cast<__m128i*>(d), load(s));
}

// The large path, pDst aligned: false, with nothing copied, when the cache is unknown or len is
// below half of it. Otherwise blocks of 262144 bytes, each touched and then streamed; the rest
// touched backwards, streamed, fenced, and its last bytes by the small path.
template <typename Tier>
bool copyLarge(const Lum8u* s, Lum8u* d, size_t len, const CpuidSource* cpu)
{
    const size_t cache = lumReadCacheSize(CacheShare::whole, source<Tier>(cpu));
    if (cache == 0 || len < cache / 2) return false;
    const auto load = tierLoad<Tier>;
    while (len >= kLargeBlock) {
        touch<Tier>(s, kLargeBlock, true);
        size_t block = kLargeBlock;
        streamUnits<Tier>(s, d, block, load);
        len -= kLargeBlock;
    }
    touch<Tier>(s, len, false);
    streamUnits<Tier>(s, d, len, load);
    _mm_sfence();
    copySmall<Tier>(s, d, len);
    return true;
}

// ---- Clear

// Fewer than 16 bytes: 8-byte or 4-byte stores at the start and the end, which may overlap (one store
// when len is exactly 8 or 4), or single bytes.
template <typename Tier>
void zeroTiny(Lum8u* d, size_t len)
{
    const uint64_t zero = 0;
    if (len >= 8) {
        std::memcpy(d, &zero, 8);
        if (len > 8) std::memcpy(d + len - 8, &zero, 8);
    } else if (len >= 4) {
        std::memcpy(d, &zero, 4);
        if (len > 4) std::memcpy(d + len - 4, &zero, 4);
    } else {
        if (len & 2) std::memcpy(d, &zero, 2);
        if (len & 1) d[len - 1] = 0;
    }
}

// Fewer than 64 bytes from an aligned pointer: up to three 16-byte stores, then the tiny path.
template <typename Tier>
void zeroBelow64(Lum8u* d, size_t len)
{
    const __m128i zero = _mm_setzero_si128();
    if (len & 32) {
        storeAligned<Tier>(d, zero);
        storeAligned<Tier>(d + 16, zero);
        d += 32;
    }
    if (len & 16) {
        storeAligned<Tier>(d, zero);
        d += 16;
    }
    zeroTiny<Tier>(d, len & 15);
}

template <typename Tier>
void zeroBytes(Lum8u* d, size_t len, const CpuidSource* cpu)
{
    if (len < 16) {
        zeroTiny<Tier>(d, len);
        return;
    }
    const size_t n = (0 - address<Tier>(d)) & 15;
    if (n != 0) {
        if (n & 1) *d = 0;
        if (n & 2) std::memset(d + (n & 1), 0, 2);
        if (n & 4) std::memset(d + (n & 3), 0, 4);
        if (n & 8) std::memset(d + (n & 7), 0, 8);
        d += n;
        len -= n;
    }
    const __m128i zero = _mm_setzero_si128();
    if (len > kClearGate) {
        const size_t cache = lumReadCacheSize(CacheShare::perCore, source<Tier>(cpu));
        if (cache != 0 && len >= cache) {
            for (; len >= 16; len -= 16, d += 16) _mm_stream_si128(reinterpret_cast<__m128i*>(d), zero);
            _mm_sfence();
        }
    }
    for (; len >= 64; len -= 64, d += 64) {
        keepLoop(d);
        for (size_t i = 0; i < 64; i += 16) storeAligned<Tier>(d + i, zero);
    }
    zeroBelow64<Tier>(d, len);
}

// ---- Fill

// Whether a fill of count words goes non-temporal: more than a quarter of the cache per core.
template <typename Tier>
bool streamFill(size_t count, const CpuidSource* cpu)
{
    if (count <= kFillGate) return false;
    const size_t cache = lumReadCacheSize(CacheShare::perCore, source<Tier>(cpu));
    return cache != 0 && count > cache / 4;
}

// The first n bytes (fewer than 4) of a word.
template <typename Tier>
void storeBytes(Lum8u* d, uint32_t word, size_t n)
{
    if (n & 1) *d = static_cast<Lum8u>(word);
    if (n & 2) {
        const uint16_t pair = static_cast<uint16_t>(word >> (8 * (n & 1)));
        std::memcpy(d + (n & 1), &pair, 2);
    }
}

// A pointer that is not a multiple of 4 gets the first bytes of the value, then the value rotated
// by as many bytes, so that aligned words go on laying down the same byte pattern.
template <typename Tier>
void fill32(uint32_t value, void* pDst, size_t count, const CpuidSource* cpu)
{
    if (count == 0) return;
    auto d = static_cast<Lum8u*>(pDst);
    size_t bytes = 4 * count;
    const size_t head = (0 - address<Tier>(d)) & 3;
    if (head != 0) {
        storeBytes<Tier>(d, value, head);
        d += head;
        bytes -= head;
        value = value >> (8 * head) | value << (32 - 8 * head);
    }
    for (; bytes >= 4 && (address<Tier>(d) & 15) != 0; bytes -= 4, d += 4) std::memcpy(d, &value, 4);
    const __m128i v = _mm_set1_epi32(static_cast<int>(value));
    if (streamFill<Tier>(count, cpu)) {
        for (; bytes >= 16; bytes -= 16, d += 16) _mm_stream_si128(reinterpret_cast<__m128i*>(d), v);
        _mm_sfence();
    }
    for (; bytes >= 64; bytes -= 64, d += 64)
        for (size_t i = 0; i < 64; i += 16) storeAligned<Tier>(d + i, v);
    for (; bytes >= 16; bytes -= 16, d += 16) storeAligned<Tier>(d, v);
    for (; bytes >= 4; bytes -= 4, d += 4) std::memcpy(d, &value, 4);
    storeBytes<Tier>(d, value, bytes);
}

// ---- Move

// Overlap-safe: forward when pDst is lower, backward when higher, unaligned loads, aligned stores.
template <typename Tier>
void moveBytes(const Lum8u* s, Lum8u* d, size_t len)
{
    if (s == d) return;
    if (len < 16) {
        if (d < s)
            for (size_t i = 0; i < len; ++i) d[i] = s[i];
        else
            for (size_t i = len; i > 0; --i) d[i - 1] = s[i - 1];
        return;
    }
    const auto load = unalignedLoad<Tier>;
    if (d < s)
        copyForward<Tier>(s, d, len, load);
    else
        copyBackward<Tier>(s, d, len, load);
}

}  // namespace lum::copyvec

// Defines in the including tier's namespace everything that w7 and t7 share: the kernels of
// kernels.h and the two exports. The tier supplies its policy `Tier` and
// `copyKernel(pSrc, pDst, len, cpu)`, cpu being null for the processor itself.
#define LUM_VECTOR_COPY_FAMILY                                                                  \
    void lumCopyBytes(const Lum8u* s, Lum8u* d, size_t len) { copyKernel(s, d, len, nullptr); } \
    void lumCopyBytes(const Lum8u* s, Lum8u* d, size_t len, const CpuidSource& cpu)             \
    {                                                                                           \
        copyKernel(s, d, len, &cpu);                                                            \
    }                                                                                           \
    void lumZeroBytes(Lum8u* d, size_t len) { copyvec::zeroBytes<Tier>(d, len, nullptr); }      \
    void lumZeroBytes(Lum8u* d, size_t len, const CpuidSource& cpu)                             \
    {                                                                                           \
        copyvec::zeroBytes<Tier>(d, len, &cpu);                                                 \
    }                                                                                           \
    void lumFill32(uint32_t v, void* d, size_t n) { copyvec::fill32<Tier>(v, d, n, nullptr); }  \
    void lumFill32(uint32_t v, void* d, size_t n, const CpuidSource& cpu)                       \
    {                                                                                           \
        copyvec::fill32<Tier>(v, d, n, &cpu);                                                   \
    }                                                                                           \
    LumStatus lumMove32(const void* s, void* d, Lum32s len)                                     \
    {                                                                                           \
        return checkedElements<4, copyvec::moveBytes<Tier>>(s, d, len);                         \
    }                                                                                           \
    LumStatus lumMove16(const void* s, void* d, Lum32s len)                                     \
    {                                                                                           \
        return checkedElements<2, copyvec::moveBytes<Tier>>(s, d, len);                         \
    }                                                                                           \
    LumStatus lumsCopy_8u(const Lum8u* pSrc, Lum8u* pDst, Lum32s len)                           \
    {                                                                                           \
        return checkedCopy<lumCopyBytes>(pSrc, pDst, len);                                      \
    }                                                                                           \
    LumStatus lumsZero_8u(Lum8u* pDst, Lum32s len) { return checkedZero<lumZeroBytes>(pDst, len); }
