// Argument checks shared by every tier of the signal primitives: pointers first, then the length.
#pragma once

#include <lum.h>

namespace lum {

template <typename... Pointers>
inline LumStatus checkVectorArgs(Lum32s len, const Pointers*... pointers)
{
    if (((pointers == nullptr) || ...)) return lumStsNullPointer;
    if (len < 1) return lumStsBadSize;
    return lumStsNoErr;
}

}  // namespace lum
