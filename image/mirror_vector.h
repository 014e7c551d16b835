// Mirror for w7 and t7, which are built alike and differ only in the unaligned 16-byte load (t7:
// lddqu). Templated on the including tier's policy, so that instantiations of the SSE3 file never
// merge with baseline ones.
#pragma once

#include "image/copy_row.h"
#include "image/mirror.h"

#include <emmintrin.h>

#include <cstdlib>
#include <cstring>

namespace lum::mirrorvec {

template <typename Tier>
uintptr_t address(const void* p)
{
    return reinterpret_cast<uintptr_t>(p);
}

template <typename Tier, bool Aligned>
__m128i load16(const Lum8u* p)
{
    if constexpr (Aligned) return _mm_load_si128(reinterpret_cast<const __m128i*>(p));
    return Tier::loadUnaligned(p);
}

template <typename Tier, bool Aligned>
void store16(Lum8u* p, __m128i v)
{
    if constexpr (Aligned)
        _mm_store_si128(reinterpret_cast<__m128i*>(p), v);
    else
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
}

// 16 bytes reversed in a register: the 8-byte halves exchanged, the four words of each half
// reversed, then the two bytes of each word exchanged.
template <typename Tier>
__m128i reverse16(__m128i v)
{
    v = _mm_shuffle_epi32(v, 0x4E);
    v = _mm_shufflehi_epi16(_mm_shufflelo_epi16(v, 0x1B), 0x1B);
    return _mm_or_si128(_mm_slli_epi16(v, 8), _mm_srli_epi16(v, 8));
}

template <typename Tier, typename T>
T loadScalar(const Lum8u* p)
{
    T v;
    std::memcpy(&v, p, sizeof(T));
    return v;
}

template <typename Tier, typename T>
void storeScalar(Lum8u* p, T v)
{
    std::memcpy(p, &v, sizeof(T));
}

// One row of `len` bytes reversed into the bytes that end at dEnd: 32 bytes per pass, then 16, 8
// and 4 byte units, then single bytes.
template <typename Tier, bool Aligned>
void reverseRow(const Lum8u* s, Lum8u* dEnd, size_t len)
{
    size_t i = 0;
    for (; len - i >= 32; i += 32) {
        const __m128i a = load16<Tier, Aligned>(s + i), b = load16<Tier, Aligned>(s + i + 16);
        store16<Tier, Aligned>(dEnd - i - 16, reverse16<Tier>(a));
        store16<Tier, Aligned>(dEnd - i - 32, reverse16<Tier>(b));
    }
    if (len - i >= 16) {
        store16<Tier, Aligned>(dEnd - i - 16, reverse16<Tier>(load16<Tier, Aligned>(s + i)));
        i += 16;
    }
    if (len - i >= 8) {
        storeScalar<Tier>(dEnd - i - 8, __builtin_bswap64(loadScalar<Tier, uint64_t>(s + i)));
        i += 8;
    }
    if (len - i >= 4) {
        storeScalar<Tier>(dEnd - i - 4, __builtin_bswap32(loadScalar<Tier, uint32_t>(s + i)));
        i += 4;
    }
    for (; i < len; ++i) dEnd[-1 - ptrdiff_t(i)] = s[i];
}

// Four three-byte pixels as three words, rebuilt by shifts and masks in reverse pixel order with
// each pixel's bytes kept: b0..b11 become b9 b10 b11 b6 | b7 b8 b3 b4 | b5 b0 b1 b2.
template <typename Tier>
void reverse4Pixels(uint32_t& w0, uint32_t& w1, uint32_t& w2)
{
    const uint32_t o0 = w2 >> 8 | (w1 << 8 & 0xFF000000u);
    const uint32_t o1 = w1 >> 24 | (w2 & 0xFF) << 8 | (w0 >> 24) << 16 | (w1 & 0xFF) << 24;
    const uint32_t o2 = (w1 >> 8 & 0xFF) | w0 << 8;
    w0 = o0;
    w1 = o1;
    w2 = o2;
}

// A three-channel row of `width` pixels reversed into the bytes that end at dEnd: four pixels per
// pass written descending, the rest singly.
template <typename Tier>
void reverseRowC3(const Lum8u* s, Lum8u* dEnd, size_t width)
{
    size_t i = 0;
    for (; i + 4 <= width; i += 4) {
        uint32_t w0 = loadScalar<Tier, uint32_t>(s + 3 * i), w1 = loadScalar<Tier, uint32_t>(s + 3 * i + 4),
                 w2 = loadScalar<Tier, uint32_t>(s + 3 * i + 8);
        reverse4Pixels<Tier>(w0, w1, w2);
        Lum8u* d = dEnd - 3 * i - 12;
        storeScalar<Tier>(d, w0);
        storeScalar<Tier>(d + 4, w1);
        storeScalar<Tier>(d + 8, w2);
    }
    mirror::reversePixels<3>(s + 3 * i, dEnd - 3 * i, width - i);
}

// flip 1 and 2 into a buffer. Rows whose source and destination are both 16-byte aligned take the
// aligned loop; with aligned pointers and steps that is every row.
template <typename Tier, int Channels>
void reverseRows(const Lum8u* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roi, bool both)
{
    const auto [dEnd, dStep] = mirror::reversedDestination(pDst, dstStep, roi, Channels, both);
    const size_t width = size_t(roi.width);
    for (int64_t r = 0; r < roi.height; ++r) {
        const Lum8u* s = rowAt(pSrc, srcStep, r);
        Lum8u* d = rowAt(dEnd, dStep, r);
        if constexpr (Channels == 3)
            reverseRowC3<Tier>(s, d, width);
        else if (((address<Tier>(s) | address<Tier>(d)) & 15) == 0)
            reverseRow<Tier, true>(s, d, width);
        else
            reverseRow<Tier, false>(s, d, width);
    }
}

// Two rows exchanged: 64 bytes per pass, then 16-byte units, then single bytes.
template <typename Tier, bool Aligned>
void swapRows(Lum8u* a, Lum8u* b, size_t len)
{
    size_t i = 0;
    for (; len - i >= 64; i += 64) {
        __m128i va[4], vb[4];
        for (int k = 0; k < 4; ++k) {
            va[k] = load16<Tier, Aligned>(a + i + 16 * k);
            vb[k] = load16<Tier, Aligned>(b + i + 16 * k);
        }
        for (int k = 0; k < 4; ++k) {
            store16<Tier, Aligned>(a + i + 16 * k, vb[k]);
            store16<Tier, Aligned>(b + i + 16 * k, va[k]);
        }
    }
    for (; len - i >= 16; i += 16) {
        const __m128i va = load16<Tier, Aligned>(a + i), vb = load16<Tier, Aligned>(b + i);
        store16<Tier, Aligned>(a + i, vb);
        store16<Tier, Aligned>(b + i, va);
    }
    mirror::swapBytes(a + i, b + i, len - i);
}

// A one-channel row exchanged with the reversed bytes that end at farEnd, `count` bytes from each
// side: 16-byte blocks from each end, reversed and stored at the other, then 8 and 4 byte units.
template <typename Tier>
void swapReversedC1(Lum8u* nearRow, Lum8u* farEnd, size_t count)
{
    size_t i = 0;
    for (; count - i >= 16; i += 16) {
        const __m128i n = load16<Tier, false>(nearRow + i), f = load16<Tier, false>(farEnd - i - 16);
        store16<Tier, false>(nearRow + i, reverse16<Tier>(f));
        store16<Tier, false>(farEnd - i - 16, reverse16<Tier>(n));
    }
    if (count - i >= 8) {
        const uint64_t n = loadScalar<Tier, uint64_t>(nearRow + i),
                       f = loadScalar<Tier, uint64_t>(farEnd - i - 8);
        storeScalar<Tier>(nearRow + i, __builtin_bswap64(f));
        storeScalar<Tier>(farEnd - i - 8, __builtin_bswap64(n));
        i += 8;
    }
    if (count - i >= 4) {
        const uint32_t n = loadScalar<Tier, uint32_t>(nearRow + i),
                       f = loadScalar<Tier, uint32_t>(farEnd - i - 4);
        storeScalar<Tier>(nearRow + i, __builtin_bswap32(f));
        storeScalar<Tier>(farEnd - i - 4, __builtin_bswap32(n));
        i += 4;
    }
    mirror::swapReversedPixels<1>(nearRow + i, farEnd - i, count - i);
}

// The same on three-byte pixels: four pixels from each end per block, reversed as words.
template <typename Tier>
void swapReversedC3(Lum8u* nearRow, Lum8u* farEnd, size_t count)
{
    size_t i = 0;
    for (; i + 4 <= count; i += 4) {
        Lum8u* n = nearRow + 3 * i;
        Lum8u* f = farEnd - 3 * i - 12;
        uint32_t n0 = loadScalar<Tier, uint32_t>(n), n1 = loadScalar<Tier, uint32_t>(n + 4),
                 n2 = loadScalar<Tier, uint32_t>(n + 8);
        uint32_t f0 = loadScalar<Tier, uint32_t>(f), f1 = loadScalar<Tier, uint32_t>(f + 4),
                 f2 = loadScalar<Tier, uint32_t>(f + 8);
        reverse4Pixels<Tier>(n0, n1, n2);
        reverse4Pixels<Tier>(f0, f1, f2);
        storeScalar<Tier>(n, f0);
        storeScalar<Tier>(n + 4, f1);
        storeScalar<Tier>(n + 8, f2);
        storeScalar<Tier>(f, n0);
        storeScalar<Tier>(f + 4, n1);
        storeScalar<Tier>(f + 8, n2);
    }
    mirror::swapReversedPixels<3>(nearRow + 3 * i, farEnd - 3 * i, count - i);
}

// In-place kernels for the shared driver; flip 0 takes the aligned row swap when the base pointer
// and the step are multiples of 16.
template <typename Tier, int Channels>
struct InPlace {
    bool alignedRows;

    void swapRows(Lum8u* a, Lum8u* b, size_t len) const
    {
        if (alignedRows)
            mirrorvec::swapRows<Tier, true>(a, b, len);
        else
            mirrorvec::swapRows<Tier, false>(a, b, len);
    }
    void swapPair(Lum8u* nearRow, Lum8u* farEnd, size_t pixels) const
    {
        if constexpr (Channels == 1)
            swapReversedC1<Tier>(nearRow, farEnd, pixels);
        else
            swapReversedC3<Tier>(nearRow, farEnd, pixels);
    }
    void reverseRow(Lum8u* row, size_t pixels) const { swapPair(row, row + Channels * pixels, pixels / 2); }
    void reverseMiddle(Lum8u* row, size_t pixels) const { reverseRow(row, pixels); }
};

// flip 0 of one channel streams like a large copy, judged by |srcStep| times height; three channels
// never stream.
template <typename Tier, int Channels, auto CopyRow>
LumStatus mirrorInto(const Lum8u* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roi, Lum32s flip)
{
    const LumStatus status = checkMirrorArgs(roi, flip, pSrc, pDst);
    if (status != lumStsNoErr) return status;
    if (flip != 0) {
        reverseRows<Tier, Channels>(pSrc, srcStep, pDst, dstStep, roi, flip == 2);
        return status;
    }
    const bool stream =
        Channels == 1 && uint64_t(std::llabs(srcStep)) * uint64_t(roi.height) > kMirrorStreamAbove;
    const size_t rowBytes = size_t(roi.width) * Channels;
    for (int64_t r = 0; r < roi.height; ++r)
        CopyRow(rowAt(pSrc, srcStep, r), rowAt(pDst, dstStep, roi.height - 1 - r), rowBytes, stream);
    return status;
}

template <typename Tier, int Channels>
LumStatus mirrorInPlace(Lum8u* p, Lum32s step, LumSize roi, Lum32s flip)
{
    const LumStatus status = checkMirrorArgs(roi, flip, p);
    if (status != lumStsNoErr) return status;
    const bool alignedRows = ((address<Tier>(p) | uintptr_t(uint32_t(step))) & 15) == 0;
    mirror::mirrorInPlace<Channels>(p, step, roi, flip, InPlace<Tier, Channels>{alignedRows});
    return status;
}

}  // namespace lum::mirrorvec

// Defines the four mirrors in the including tier's namespace; the tier supplies its policy `Tier`
// and its lumCopyRow.
#define LUM_VECTOR_MIRROR_FAMILY                                                                           \
    template <int Channels>                                                                                \
    LumStatus mirrorInto(const Lum8u* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roi,      \
                         Lum32s flip)                                                                      \
    {                                                                                                      \
        return mirrorvec::mirrorInto<Tier, Channels, lumCopyRow>(pSrc, srcStep, pDst, dstStep, roi, flip); \
    }                                                                                                      \
    template <int Channels>                                                                                \
    LumStatus mirrorInPlace(Lum8u* pSrcDst, Lum32s step, LumSize roi, Lum32s flip)                         \
    {                                                                                                      \
        return mirrorvec::mirrorInPlace<Tier, Channels>(pSrcDst, step, roi, flip);                         \
    }                                                                                                      \
    LUM_MIRROR_EXPORTS
