// The 8x8 block of the JPEG block family: 64 Lum16s in natural order, row by row. Blocks and tables
// may sit at any address, odd ones included, so scalar code moves their elements with memcpy.
#pragma once

#include <lum.h>

#include <cstring>

namespace lum {

inline constexpr int kBlockSize = 64;

// Element i of an array of T at any address.
template <typename T>
static inline T loadElement(const void* p, int i)
{
    T v;
    std::memcpy(&v, static_cast<const unsigned char*>(p) + i * static_cast<int>(sizeof(T)), sizeof v);
    return v;
}

template <typename T>
static inline void storeElement(void* p, int i, T v)
{
    std::memcpy(static_cast<unsigned char*>(p) + i * static_cast<int>(sizeof(T)), &v, sizeof v);
}

// The block functions check only their pointers.
template <typename... Pointers>
static inline LumStatus checkBlockPointers(const Pointers*... pointers)
{
    return (false || ... || (pointers == nullptr)) ? lumStsNullPointer : lumStsNoErr;
}

}  // namespace lum
