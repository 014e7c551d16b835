// Copy, clear, fill and move, tier a6: 8- and 16-byte moves, MMX non-temporal stores from 8192 bytes
// (copy) and 20480 bytes (clear), and page-wise touching for large copies.
#include "frame/dispatch.h"
#include "signal/kernels.h"

#include <mmintrin.h>
#include <xmmintrin.h>

#include <cstring>

namespace lum::a6 {
namespace {

constexpr size_t kStreamingCopy = 8192;
constexpr size_t kPagedCopy = 16384;
constexpr size_t kPagedMinimum = 20480;
constexpr size_t kStreamingClear = 20480;
constexpr size_t kPage = 4096;

uintptr_t address(const void* p) { return reinterpret_cast<uintptr_t>(p); }

template <size_t N>
void move(const Lum8u* s, Lum8u* d)
{
    Lum8u unit[N];
    std::memcpy(unit, s, N);
    std::memcpy(d, unit, N);
}

void move16(const Lum8u* s, Lum8u* d)
{
    _mm_storeu_ps(reinterpret_cast<float*>(d), _mm_loadu_ps(reinterpret_cast<const float*>(s)));
}

void move16Aligned(const Lum8u* s, Lum8u* d)
{
    _mm_store_ps(reinterpret_cast<float*>(d), _mm_load_ps(reinterpret_cast<const float*>(s)));
}

void move8Streaming(const Lum8u* s, Lum8u* d)
{
    __m64 unit;
    std::memcpy(&unit, s, 8);
    _mm_stream_pi(reinterpret_cast<__m64*>(d), unit);
}

void advance(const Lum8u*& s, Lum8u*& d, size_t& len, size_t step)
{
    s += step;
    d += step;
    len -= step;
}

// One unaligned 16-byte copy, then both pointers move on to the next 16-byte boundary of pDst;
// later stores overlap the first one.
void alignDestination16(const Lum8u*& s, Lum8u*& d, size_t& len)
{
    if ((address(d) & 15) == 0) return;
    move16(s, d);
    advance(s, d, len, 16 - (address(d) & 15));
}

// 64 bytes per pass while 64 are left, each pass by `pass`.
template <typename Pass>
void passes64(const Lum8u*& s, Lum8u*& d, size_t& len, Pass pass)
{
    for (; len >= 64; advance(s, d, len, 64)) pass(s, d);
}

void eightMoves(const Lum8u* s, Lum8u* d)
{
    for (size_t i = 0; i < 64; i += 8) move<8>(s + i, d + i);
}

// 16 bytes per pass, then 8, 4, 2, 1 by the bits of what is left.
void copyTail(const Lum8u* s, Lum8u* d, size_t len)
{
    for (; len >= 16; advance(s, d, len, 16)) move16(s, d);
    if (len & 8) {
        move<8>(s, d);
        advance(s, d, len, 8);
    }
    if (len & 4) {
        move<4>(s, d);
        advance(s, d, len, 4);
    }
    if (len & 2) {
        move<2>(s, d);
        advance(s, d, len, 2);
    }
    if (len & 1) *d = *s;
}

// Below 8192 bytes. The form of the 64-byte pass follows from the source alignment.
void cachedCopy(const Lum8u* s, Lum8u* d, size_t len)
{
    if (len >= 64) {
        alignDestination16(s, d, len);
        const uintptr_t a = address(s);
        if ((a & 15) == 0) {
            passes64(s, d, len, [](const Lum8u* ps, Lum8u* pd) {
                for (size_t i = 0; i < 64; i += 16) move16Aligned(ps + i, pd + i);
            });
        } else if ((a & 7) == 0) {
            passes64(s, d, len, eightMoves);
        } else if ((a & 3) == 0) {
            passes64(s, d, len, [](const Lum8u* ps, Lum8u* pd) {
                for (size_t i = 0; i < 64; i += 16) {
                    move<4>(ps + i, pd + i);
                    move<8>(ps + i + 4, pd + i + 4);
                    move<4>(ps + i + 12, pd + i + 12);
                }
            });
        } else {
            move<8>(s, d);
            advance(s, d, len, 8 - (a & 7));
            passes64(s, d, len, eightMoves);
        }
    }
    copyTail(s, d, len);
    _mm_empty();
}

// 8192 to 16383 bytes, and the pieces of the paged kernel: 8-byte non-temporal stores from an
// 8-byte aligned source.
void streamingCopy(const Lum8u* s, Lum8u* d, size_t len)
{
    if (len >= 64) {
        alignDestination16(s, d, len);
        if ((address(s) & 7) != 0) {
            move16(s, d);
            advance(s, d, len, 16 - (address(s) & 15));
        }
        passes64(s, d, len, [](const Lum8u* ps, Lum8u* pd) {
            for (size_t i = 0; i < 64; i += 8) move8Streaming(ps + i, pd + i);
        });
    }
    copyTail(s, d, len);
    _mm_sfence();
    _mm_empty();
}

// Reads the first and last byte of a source page and prefetches every 32nd byte of it, so that the
// streaming copy of the page finds it on its way in.
void touchPage(const Lum8u* s)
{
    const volatile Lum8u* v = s;
    static_cast<void>(v[0]);
    static_cast<void>(v[kPage - 1]);
    for (size_t i = 0; i < kPage; i += 32) _mm_prefetch(reinterpret_cast<const char*>(s + i), _MM_HINT_NTA);
}

// From 16384 bytes: pDst to 8 bytes, the source up to its next page (the low three address bits do
// not count), then page by page, each touched before it is copied.
void pagedCopy(const Lum8u* s, Lum8u* d, size_t len)
{
    for (; (address(d) & 7) != 0; advance(s, d, len, 1)) *d = *s;
    if (len < kPagedMinimum) {
        streamingCopy(s, d, len);
        return;
    }
    const size_t head = (0 - (address(s) & 0xFF8)) & 0xFFF;
    streamingCopy(s, d, head);
    advance(s, d, len, head);
    for (; len >= kPage; advance(s, d, len, kPage)) {
        touchPage(s);
        streamingCopy(s, d, kPage);
    }
    streamingCopy(s, d, len);
}

void copyBySize(const Lum8u* s, Lum8u* d, size_t len)
{
    if (len < kStreamingCopy)
        cachedCopy(s, d, len);
    else if (len < kPagedCopy)
        streamingCopy(s, d, len);
    else
        pagedCopy(s, d, len);
}

void zero8(Lum8u* d) { std::memset(d, 0, 8); }
void zero8Streaming(Lum8u* d) { _mm_stream_pi(reinterpret_cast<__m64*>(d), _mm_setzero_si64()); }

// Both clear kernels: below 64 bytes straight to the tail; else one 8-byte store to reach an 8-byte
// boundary and 64 bytes per pass (non-temporal when streaming, then fenced). The tail takes 32, 16, 8,
// 4 bytes by the bits of the rest, then single bytes.
template <bool Streaming>
void clear(Lum8u* d, size_t len)
{
    if (len >= 64) {
        if ((address(d) & 7) != 0) {
            zero8(d);
            const size_t step = 8 - (address(d) & 7);
            d += step;
            len -= step;
        }
        for (; len >= 64; len -= 64, d += 64) {
            keepLoop(d);
            for (size_t i = 0; i < 64; i += 8) Streaming ? zero8Streaming(d + i) : zero8(d + i);
        }
    }
    for (size_t unit = 32; unit >= 4; unit /= 2) {
        if ((len & unit) == 0) continue;
        std::memset(d, 0, unit);
        d += unit;
    }
    if (len & 2) {
        d[0] = 0;
        d[1] = 0;
        d += 2;
    }
    if (len & 1) d[0] = 0;
    if (Streaming) _mm_sfence();
    _mm_empty();
}

void zeroBySize(Lum8u* d, size_t len) { len >= kStreamingClear ? clear<true>(d, len) : clear<false>(d, len); }

void moveBytes(const Lum8u* s, Lum8u* d, size_t len) { std::memmove(d, s, len); }

}  // namespace

void lumCopyBytes(const Lum8u* pSrc, Lum8u* pDst, size_t len) { cachedCopy(pSrc, pDst, len); }
void lumZeroBytes(Lum8u* pDst, size_t len) { clear<false>(pDst, len); }

void lumFill32(uint32_t value, void* pDst, size_t count)
{
    auto d = static_cast<Lum8u*>(pDst);
    const uint64_t pattern = value | uint64_t{value} << 32;
    if (count > 0 && (address(d) & 7) == 4) {
        std::memcpy(d, &value, 4);
        d += 4;
        --count;
    }
    for (; count >= 16; count -= 16, d += 64)
        for (size_t i = 0; i < 64; i += 8) std::memcpy(d + i, &pattern, 8);
    for (; count >= 2; count -= 2, d += 8) std::memcpy(d, &pattern, 8);
    if (count > 0) std::memcpy(d, &value, 4);
}

LumStatus lumMove32(const void* pSrc, void* pDst, Lum32s len)
{
    return checkedElements<4, moveBytes>(pSrc, pDst, len);
}
LumStatus lumMove16(const void* pSrc, void* pDst, Lum32s len)
{
    return checkedElements<2, moveBytes>(pSrc, pDst, len);
}

LumStatus lumsCopy_8u(const Lum8u* pSrc, Lum8u* pDst, Lum32s len)
{
    return checkedCopy<copyBySize>(pSrc, pDst, len);
}
LumStatus lumsZero_8u(Lum8u* pDst, Lum32s len) { return checkedZero<zeroBySize>(pDst, len); }

}  // namespace lum::a6
