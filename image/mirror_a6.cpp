// Mirror, tier a6: row flips through the streaming a6 row kernel, row reversal by byte-swapped
// 32-bit words, and in place a row swap that follows the rows' alignment.
#include "frame/dispatch.h"
#include "image/copy_row.h"
#include "image/mirror.h"

#include <cstring>

namespace lum::a6 {
namespace {

uintptr_t address(const void* p) { return reinterpret_cast<uintptr_t>(p); }

uint32_t load32(const Lum8u* p)
{
    uint32_t v;
    std::memcpy(&v, p, 4);
    return v;
}

void storeSwapped32(Lum8u* p, uint32_t v)
{
    v = __builtin_bswap32(v);
    std::memcpy(p, &v, 4);
}

// Bytes until the destination end is a multiple of 4, then 16 bytes per pass as four byte-swapped
// words stored at falling addresses, then single bytes.
void reverseRow(const Lum8u* s, Lum8u* dEnd, size_t len)
{
    size_t i = 0;
    for (; i < len && ((address(dEnd) - i) & 3) != 0; ++i) dEnd[-1 - ptrdiff_t(i)] = s[i];
    for (; len - i >= 16; i += 16)
        for (size_t k = 0; k < 16; k += 4) storeSwapped32(dEnd - i - k - 4, load32(s + i + k));
    for (; i < len; ++i) dEnd[-1 - ptrdiff_t(i)] = s[i];
}

template <size_t Bytes>
void swapUnit(Lum8u* a, Lum8u* b)
{
    Lum8u ta[Bytes], tb[Bytes];
    std::memcpy(ta, a, Bytes);
    std::memcpy(tb, b, Bytes);
    std::memcpy(a, tb, Bytes);
    std::memcpy(b, ta, Bytes);
}

template <size_t Bytes>
void swapStep(Lum8u*& a, Lum8u*& b, size_t& len)
{
    swapUnit<Bytes>(a, b);
    a += Bytes;
    b += Bytes;
    len -= Bytes;
}

// At most one unit of each size from `Unit` down to a byte.
template <size_t Unit>
void swapRest(Lum8u* a, Lum8u* b, size_t len)
{
    if (len >= Unit) swapStep<Unit>(a, b, len);
    if constexpr (Unit > 1) swapRest<Unit / 2>(a, b, len);
}

// Passes of two units of `Unit` bytes, then the smaller units down to a byte.
template <size_t Unit>
void swapPasses(Lum8u* a, Lum8u* b, size_t len)
{
    for (; len >= 2 * Unit; len -= 2 * Unit, a += 2 * Unit, b += 2 * Unit) {
        swapUnit<Unit>(a, b);
        swapUnit<Unit>(a + Unit, b + Unit);
    }
    swapRest<Unit>(a, b, len);
}

// Single bytes until the lower row is 16-byte aligned, then units as wide as the upper row's
// alignment allows.
void swapRows(Lum8u* upper, Lum8u* lower, size_t len)
{
    for (; len > 0 && (address(lower) & 15) != 0; --len) std::swap(*upper++, *lower++);
    const uintptr_t a = address(upper);
    if ((a & 15) == 0)
        swapPasses<16>(upper, lower, len);
    else if ((a & 7) == 0)
        swapPasses<8>(upper, lower, len);
    else if ((a & 3) == 0)
        swapPasses<4>(upper, lower, len);
    else if ((a & 1) == 0)
        swapPasses<2>(upper, lower, len);
    else
        swapPasses<1>(upper, lower, len);
}

// One row reversed in place. With an even width and both ends at even addresses of the same bit 1,
// at most two single swaps align both ends to 4 bytes, then 8 bytes from each end per pass by
// byte-swapped words; otherwise, and for the rest, two bytes from each end; a last single pair.
void reverseInPlace(Lum8u* lo, size_t width)
{
    Lum8u* hi = lo + width;
    size_t pairs = width / 2;
    if ((width & 1) == 0 && (address(lo) & 1) == 0 && ((address(lo) ^ address(hi)) & 2) == 0) {
        for (; pairs > 0 && (address(lo) & 3) != 0; --pairs) std::swap(*lo++, *--hi);
        for (; pairs >= 8; pairs -= 8, lo += 8, hi -= 8) {
            const uint32_t a0 = load32(lo), a1 = load32(lo + 4), b0 = load32(hi - 4), b1 = load32(hi - 8);
            storeSwapped32(lo, b0);
            storeSwapped32(lo + 4, b1);
            storeSwapped32(hi - 4, a0);
            storeSwapped32(hi - 8, a1);
        }
    }
    for (; pairs >= 2; pairs -= 2, lo += 2, hi -= 2) {
        const Lum8u a0 = lo[0], a1 = lo[1];
        lo[0] = hi[-1];
        lo[1] = hi[-2];
        hi[-1] = a0;
        hi[-2] = a1;
    }
    if (pairs == 1) std::swap(lo[0], hi[-1]);
}

// In place: the aligned row swap for flip 0, the rest pixel by pixel as in px but for the
// one-channel row reversal.
template <int Channels>
struct InPlace : mirror::ScalarInPlace<Channels> {
    static void swapRows(Lum8u* a, Lum8u* b, size_t len) { a6::swapRows(a, b, len); }
    static void reverseRow(Lum8u* row, size_t pixels)
    {
        if constexpr (Channels == 1)
            reverseInPlace(row, pixels);
        else
            mirror::ScalarInPlace<Channels>::reverseRow(row, pixels);
    }
};

template <int Channels>
LumStatus mirrorInto(const Lum8u* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roi, Lum32s flip)
{
    const LumStatus status = checkMirrorArgs(roi, flip, pSrc, pDst);
    if (status != lumStsNoErr) return status;
    const size_t width = size_t(roi.width);
    if (flip == 0) {
        for (int64_t r = 0; r < roi.height; ++r)
            lumCopyRow(rowAt(pSrc, srcStep, r), rowAt(pDst, dstStep, roi.height - 1 - r), width * Channels);
        return status;
    }
    const auto [dEnd, dStep] = mirror::reversedDestination(pDst, dstStep, roi, Channels, flip == 2);
    for (int64_t r = 0; r < roi.height; ++r) {
        const Lum8u* s = rowAt(pSrc, srcStep, r);
        if constexpr (Channels == 1)
            reverseRow(s, rowAt(dEnd, dStep, r), width);
        else
            mirror::reversePixels<Channels>(s, rowAt(dEnd, dStep, r), width);
    }
    return status;
}

template <int Channels>
LumStatus mirrorInPlace(Lum8u* pSrcDst, Lum32s step, LumSize roi, Lum32s flip)
{
    const LumStatus status = checkMirrorArgs(roi, flip, pSrcDst);
    if (status == lumStsNoErr) mirror::mirrorInPlace<Channels>(pSrcDst, step, roi, flip, InPlace<Channels>{});
    return status;
}

}  // namespace

LUM_MIRROR_EXPORTS

}  // namespace lum::a6
