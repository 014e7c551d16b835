// Argument checks shared by every tier of the signal primitives: pointers first, then the length.
// Internal linkage, so that the copies compiled for different instruction sets never merge.
#pragma once

#include <lum.h>

namespace lum {

template <typename... Pointers>
static inline LumStatus checkVectorArgs(Lum32s len, const Pointers*... pointers)
{
    if ((false || ... || (pointers == nullptr))) return lumStsNullPointer;
    if (len < 1) return lumStsBadSize;
    return lumStsNoErr;
}

}  // namespace lum
