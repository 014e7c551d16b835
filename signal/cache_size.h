// The processor's cache size as the large copy, clear and fill kernels read it: CPUID leaf 2
// descriptors looked up in a fixed table.
#pragma once

#include "frame/cpu.h"

#include <cstdint>

namespace lum {

// Pairs of bytes, descriptor then encoded size, closed by a zero descriptor. The size in bytes is
// (high nibble) << (low nibble + 18). The first row whose descriptor the processor reports wins, so
// the order of the rows matters.
// clang-format off
inline constexpr uint8_t cacheDescriptorSizes[] = {
    0x47, 0x15,
    0x49, 0x14, 0x29, 0x14, 0x46, 0x14,
    0x25, 0x13, 0x7D, 0x13, 0x85, 0x13, 0x45, 0x13,
    0x23, 0x12, 0x87, 0x12, 0x7C, 0x12, 0x78, 0x12, 0x84, 0x12, 0x44, 0x12,
    0x22, 0x11, 0x7B, 0x11, 0x86, 0x11, 0x7F, 0x11, 0x83, 0x11, 0x43, 0x11,
    0x7A, 0x10, 0x82, 0x10, 0x3C, 0x10, 0x42, 0x10,
    0x00, 0x00,
};
// clang-format on

// Whether the size is shared out among the cores: the clear and fill kernels divide it, the copy
// kernels do not.
enum class CacheShare { whole, perCore };

// The cache size in bytes, or 0 when unknown (another vendor, no usable leaf 2, no descriptor of the
// table). Read anew on every call: the kernels call it only on large inputs.
uint32_t lumReadCacheSize(CacheShare share, const CpuidSource& cpu = hardwareCpuid());

}  // namespace lum
