// Zigzag to natural order for one block: the order table and the kernel that every tier's
// lumiZigzagInv8x8_16s_C1 and quantization-table builder runs.
#pragma once

#include "jpeg/dct_block.h"
#include "jpeg/jpeg_tables.h"

#include <array>
#include <cstdint>

namespace lum {

namespace detail {

constexpr std::array<int32_t, kBlockSize> makeZigzagInvOrder()
{
    std::array<int32_t, kBlockSize> t{};
    for (int k = 0; k < kBlockSize; ++k) t[ZigzagOrder[k]] = k;
    return t;
}

}  // namespace detail

// Entry i is the position in the zigzag sequence of natural index i.
inline constexpr std::array<int32_t, kBlockSize> ZigzagInvOrder = detail::makeZigzagInvOrder();

static_assert(ZigzagInvOrder[0] == 0 && ZigzagInvOrder[2] == 5 && ZigzagInvOrder[7] == 28);
static_assert(ZigzagInvOrder[8] == 2 && ZigzagInvOrder[11] == 13 && ZigzagInvOrder[63] == 63);

// pDst[i] = pSrc[ZigzagInvOrder[i]] in ascending i, Step elements a pass. Source and destination
// must not overlap. Elements of T, at any address.
template <int Step, typename T>
static inline void zigzagInv(const void* pSrc, void* pDst)
{
    for (int i = 0; i < kBlockSize; i += Step)
        for (int e = i; e < i + Step; ++e) storeElement<T>(pDst, e, loadElement<T>(pSrc, ZigzagInvOrder[e]));
}

template <int Step>
static inline LumStatus zigzagInvBlock(const Lum16s* pSrc, Lum16s* pDst)
{
    const LumStatus status = checkBlockPointers(pSrc, pDst);
    if (status == lumStsNoErr) zigzagInv<Step, Lum16s>(pSrc, pDst);
    return status;
}

}  // namespace lum
