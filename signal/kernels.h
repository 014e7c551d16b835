// The copy, clear, fill and move kernels of each tier, for the primitives of every subsystem to call
// directly. Byte kernels take valid pointers and any count (0 does nothing); the Lum32s forms check
// their arguments as lumsCopy_8u does.
#pragma once

#include "frame/cpu.h"
#include "signal/checks.h"

#include <lum.h>

#include <cstddef>
#include <cstdint>

namespace lum {

namespace px {
void lumCopyBytes(const Lum8u* pSrc, Lum8u* pDst, size_t len);  // forward, 32-byte blocks of words
void lumZeroBytes(Lum8u* pDst, size_t len);                     // 32-byte blocks of words
void lumFill32(uint32_t value, void* pDst, size_t count);       // count words of value, any pointer
LumStatus lumMove32(const void* pSrc, void* pDst, Lum32s len);  // overlap-safe, len 32-bit elements
LumStatus lumMove16(const void* pSrc, void* pDst, Lum32s len);  // overlap-safe, len 16-bit elements
LumStatus lumCopy32(const void* pSrc, void* pDst, Lum32s len);  // lumCopyBytes of len 32-bit elements
}  // namespace px

namespace a6 {
void lumCopyBytes(const Lum8u* pSrc, Lum8u* pDst, size_t len);  // the cached kernel, any size
void lumZeroBytes(Lum8u* pDst, size_t len);                     // the cached kernel, any size
void lumFill32(uint32_t value, void* pDst, size_t count);       // 64-byte passes of the doubled value
LumStatus lumMove32(const void* pSrc, void* pDst, Lum32s len);  // overlap-safe, len 32-bit elements
LumStatus lumMove16(const void* pSrc, void* pDst, Lum32s len);  // overlap-safe, len 16-bit elements
}  // namespace a6

// w7 and t7 read the cache size on large calls; the overloads taking a CPUID source let tests force
// the non-temporal paths.
#define LUM_VECTOR_KERNELS                                                                             \
    void lumCopyBytes(const Lum8u* pSrc, Lum8u* pDst, size_t len); /* whole copy kernel */             \
    void lumCopyBytes(const Lum8u* pSrc, Lum8u* pDst, size_t len, const CpuidSource& cpu);             \
    void lumZeroBytes(Lum8u* pDst, size_t len); /* whole clear kernel */                               \
    void lumZeroBytes(Lum8u* pDst, size_t len, const CpuidSource& cpu);                                \
    void lumFill32(uint32_t value, void* pDst, size_t count); /* any pointer */                        \
    void lumFill32(uint32_t value, void* pDst, size_t count, const CpuidSource& cpu);                  \
    LumStatus lumMove32(const void* pSrc, void* pDst, Lum32s len); /* overlap-safe, 32-bit elements */ \
    LumStatus lumMove16(const void* pSrc, void* pDst, Lum32s len); /* overlap-safe, 16-bit elements */

namespace w7 {
LUM_VECTOR_KERNELS
}  // namespace w7

namespace t7 {
LUM_VECTOR_KERNELS
}  // namespace t7

#undef LUM_VECTOR_KERNELS

// Hides a pointer's value from the optimiser, so that a loop of plain stores stays the loop it is
// and is not replaced by a call to the C library.
template <typename T>
static inline void keepLoop(T*& p)
{
    __asm__("" : "+r"(p));
}

// Checks the arguments of a byte copy and runs a kernel on them: the body of every lumsCopy_8u.
template <void (*Kernel)(const Lum8u*, Lum8u*, size_t)>
LumStatus checkedCopy(const Lum8u* pSrc, Lum8u* pDst, Lum32s len)
{
    const LumStatus status = checkVectorArgs(len, pSrc, pDst);
    if (status == lumStsNoErr) Kernel(pSrc, pDst, static_cast<size_t>(len));
    return status;
}

// The same for a clear: the body of every lumsZero_8u.
template <void (*Kernel)(Lum8u*, size_t)>
LumStatus checkedZero(Lum8u* pDst, Lum32s len)
{
    const LumStatus status = checkVectorArgs(len, pDst);
    if (status == lumStsNoErr) Kernel(pDst, static_cast<size_t>(len));
    return status;
}

// Checks an element move or copy and runs a byte kernel on len elements of Size bytes.
template <size_t Size, void (*Kernel)(const Lum8u*, Lum8u*, size_t)>
LumStatus checkedElements(const void* pSrc, void* pDst, Lum32s len)
{
    const LumStatus status = checkVectorArgs(len, pSrc, pDst);
    if (status == lumStsNoErr)
        Kernel(static_cast<const Lum8u*>(pSrc), static_cast<Lum8u*>(pDst), Size * static_cast<size_t>(len));
    return status;
}

}  // namespace lum
