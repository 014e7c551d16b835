// Cache size read from the CPUID leaf 2 descriptors.
#include "signal/cache_size.h"

#include <initializer_list>

namespace lum {
namespace {

bool listHolds(const uint8_t* list, int count, uint8_t descriptor)
{
    for (int i = 0; i < count; ++i)
        if (list[i] == descriptor) return true;
    return false;
}

}  // namespace

uint32_t lumReadCacheSize(CacheShare share, const CpuidSource& cpu)
{
    if (!lumIsPrimaryVendor(cpu)) return 0;
    // Leaf 0 tells whether leaf 2 exists at all; without it the size stays unknown.
    if (static_cast<int32_t>(lumMaxBasicLeaf(cpu)) < 2) return 0;
    const uint32_t cores = share == CacheShare::perCore ? lumCoreCount(cpu) : 1;

    const CpuidRegs r = cpu.leaf(2, 0);
    if ((r.eax & 0xFF) != 1) return 0;

    // The descriptor bytes of the valid words, EAX first; a word with bit 31 set carries none.
    uint8_t list[16];
    int count = 0;
    for (const uint32_t word : {r.eax, r.ebx, r.ecx, r.edx}) {
        if ((word & 0x80000000u) != 0 || word == 0) continue;
        for (int b = 0; b < 4; ++b) list[count++] = static_cast<uint8_t>(word >> (8 * b));
    }
    // The first byte is the iteration count when EAX was kept, never a descriptor.
    if (count == 0) return 0;
    for (const uint8_t* row = cacheDescriptorSizes; row[0] != 0; row += 2) {
        if (!listHolds(list + 1, count - 1, row[0])) continue;
        const uint32_t size = static_cast<uint32_t>(row[1] >> 4) << ((row[1] & 0xF) + 18);
        return size / cores;
    }
    return 0;
}

}  // namespace lum
