// Copy, clear, fill and move, tier px: the portable reference, 32-bit words at a time.
#include "frame/dispatch.h"
#include "signal/kernels.h"

#include <cstring>

namespace lum::px {
namespace {

constexpr size_t kBlock = 32;

void copyWord(const Lum8u* s, Lum8u* d)
{
    uint32_t w;
    std::memcpy(&w, s, 4);
    std::memcpy(d, &w, 4);
}

void storeWord(Lum8u* d, uint32_t w) { std::memcpy(d, &w, 4); }

bool wordAligned(const void* p) { return (reinterpret_cast<uintptr_t>(p) & 3) == 0; }

void forwardBytes(const Lum8u* s, Lum8u* d, size_t len)
{
    for (size_t i = 0; i < len; ++i) d[i] = s[i];
}

void backwardBytes(const Lum8u* s, Lum8u* d, size_t len)
{
    for (size_t i = len; i > 0; --i) d[i - 1] = s[i - 1];
}

// Moves len elements of size bytes. The address difference is counted in whole elements first, so a
// difference of less than one element moves nothing.
LumStatus moveElements(const void* pSrc, void* pDst, Lum32s len, size_t size)
{
    const LumStatus status = checkVectorArgs(len, pSrc, pDst);
    if (status != lumStsNoErr) return status;
    const auto s = static_cast<const Lum8u*>(pSrc);
    const auto d = static_cast<Lum8u*>(pDst);
    const auto diff = static_cast<intptr_t>(reinterpret_cast<uintptr_t>(s) - reinterpret_cast<uintptr_t>(d));
    const intptr_t elements = diff / static_cast<intptr_t>(size);
    const size_t bytes = size * static_cast<size_t>(len);
    if (elements > 0)
        forwardBytes(s, d, bytes);
    else if (elements < 0)
        backwardBytes(s, d, bytes);
    return lumStsNoErr;
}

}  // namespace

void lumCopyBytes(const Lum8u* pSrc, Lum8u* pDst, size_t len)
{
    for (; len > 0 && !wordAligned(pDst); --len) *pDst++ = *pSrc++;
    for (; len >= kBlock; len -= kBlock, pSrc += kBlock, pDst += kBlock) {
        keepLoop(pDst);
        for (size_t i = 0; i < kBlock; i += 4) copyWord(pSrc + i, pDst + i);
    }
    forwardBytes(pSrc, pDst, len);
}

void lumZeroBytes(Lum8u* pDst, size_t len)
{
    // A zero the optimiser cannot see as a constant, so that the word stores are not merged into
    // vector stores or a library call: px stays scalar.
    uint32_t zero = 0;
    __asm__("" : "+r"(zero));
    for (; len > 0 && !wordAligned(pDst); --len) *pDst++ = static_cast<Lum8u>(zero);
    for (; len >= kBlock; len -= kBlock, pDst += kBlock) {
        keepLoop(pDst);
        for (size_t i = 0; i < kBlock; i += 4) storeWord(pDst + i, zero);
    }
    for (; len > 0; --len) *pDst++ = static_cast<Lum8u>(zero);
}

void lumFill32(uint32_t value, void* pDst, size_t count)
{
    auto d = static_cast<Lum8u*>(pDst);
    for (; count >= 8; count -= 8, d += kBlock)
        for (size_t i = 0; i < kBlock; i += 4) storeWord(d + i, value);
    for (; count > 0; --count, d += 4) storeWord(d, value);
}

LumStatus lumMove32(const void* pSrc, void* pDst, Lum32s len) { return moveElements(pSrc, pDst, len, 4); }
LumStatus lumMove16(const void* pSrc, void* pDst, Lum32s len) { return moveElements(pSrc, pDst, len, 2); }
LumStatus lumCopy32(const void* pSrc, void* pDst, Lum32s len)
{
    return checkedElements<4, lumCopyBytes>(pSrc, pDst, len);
}

LumStatus lumsCopy_8u(const Lum8u* pSrc, Lum8u* pDst, Lum32s len)
{
    return checkedCopy<lumCopyBytes>(pSrc, pDst, len);
}

LumStatus lumsZero_8u(Lum8u* pDst, Lum32s len) { return checkedZero<lumZeroBytes>(pDst, len); }

}  // namespace lum::px
