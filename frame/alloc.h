// Aligned allocation: blocks on 32-byte boundaries with the heap pointer in the word below.
#pragma once

#include <lum.h>

#include <cstddef>

namespace lum {

inline constexpr size_t kBlockAlignment = 32;
// Worst-case rounding plus the hidden pointer-sized word.
inline constexpr size_t kBlockOverhead = kBlockAlignment + sizeof(void*);

// Internal typed forms. The Pf forms prefetch the start of the block; t7 code uses them.
void* lumMallocPf(Lum32s length);
Lum16s* lumMalloc16(Lum32s len);
Lum16s* lumMalloc16Pf(Lum32s len);

}  // namespace lum
