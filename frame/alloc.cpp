// Aligned allocators. Every form over-allocates from the process heap, moves up to the next
// 32-byte boundary and keeps the heap's pointer in the pointer-sized word just below the block.
#include "frame/alloc.h"

#include "frame/dispatch.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <xmmintrin.h>

namespace lum {
namespace {

// Counts are below 2^31 and elements at most 4 bytes, so the request cannot wrap at pointer width.
template <size_t ElementSize, bool Prefetch>
void* allocate(Lum32s count)
{
    if (count < 1) return nullptr;
    const size_t request = static_cast<size_t>(count) * ElementSize + kBlockOverhead;
    void* raw = std::malloc(request);
    if (raw == nullptr) return nullptr;
    const uintptr_t aligned =
        (reinterpret_cast<uintptr_t>(raw) + kBlockOverhead - 1) & ~uintptr_t{kBlockAlignment - 1};
    std::memcpy(reinterpret_cast<void*>(aligned - sizeof(void*)), &raw, sizeof(void*));
    if constexpr (Prefetch) _mm_prefetch(reinterpret_cast<const char*>(aligned + 128), _MM_HINT_T0);
    return reinterpret_cast<void*>(aligned);
}

}  // namespace

void* lumMallocPf(Lum32s length) { return allocate<1, true>(length); }
Lum16s* lumMalloc16(Lum32s len) { return static_cast<Lum16s*>(allocate<2, false>(len)); }
Lum16s* lumMalloc16Pf(Lum32s len) { return static_cast<Lum16s*>(allocate<2, true>(len)); }

namespace px {

Lum32f* lumsMalloc_32f(Lum32s len) { return static_cast<Lum32f*>(allocate<4, false>(len)); }

// The one release of every block; lumFree is this same function under its exported name.
void lumsFree(void* ptr)
{
    if (ptr == nullptr) return;
    void* raw;
    std::memcpy(&raw, static_cast<char*>(ptr) - sizeof(void*), sizeof(void*));
    std::free(raw);
}

}  // namespace px

namespace t7 {

Lum32f* lumsMalloc_32f(Lum32s len) { return static_cast<Lum32f*>(allocate<4, true>(len)); }

}  // namespace t7
}  // namespace lum

extern "C" {

LUM_API void* lumMalloc(Lum32s length) { return lum::allocate<1, false>(length); }

// Alias, not a wrapper: lumFree and every slot of the lumsFree row are one function.
LUM_API void lumFree(void* ptr) __attribute__((alias("_ZN3lum2px8lumsFreeEPv")));

// Pointer-width arithmetic, so that an alignment of 0 (all-ones mask) gives 0.
LUM_API void* lumAlignPtr(void* ptr, Lum32s alignBytes)
{
    const uintptr_t p = reinterpret_cast<uintptr_t>(ptr);
    const uintptr_t m = static_cast<uintptr_t>(static_cast<intptr_t>(alignBytes)) - 1;
    return reinterpret_cast<void*>(p + ((0 - (p & m)) & m));
}

}  // extern "C"
