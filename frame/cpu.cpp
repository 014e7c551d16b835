// Processor probe and tier selection.
#include "frame/cpu.h"

#include "frame/dispatch.h"

#include <cpuid.h>
#include <cstring>
#include <x86intrin.h>

namespace lum {
namespace {

class HardwareCpuid final : public CpuidSource {
public:
    // Invert the ID flag (bit 21) and see whether the change sticks. The flags are not restored:
    // the ID bit has no effect on anything else.
    bool hasCpuid() const override
    {
        uint64_t before = 0;
        uint64_t after = 0;
        __asm__ volatile(
            "pushfq\n\t"
            "popq %0\n\t"
            "movq %0, %1\n\t"
            "xorq $0x200000, %1\n\t"
            "pushq %1\n\t"
            "popfq\n\t"
            "pushfq\n\t"
            "popq %1\n\t"
            : "=&r"(before), "=&r"(after)
            :
            : "cc");
        return before != after;
    }

    CpuidRegs leaf(uint32_t leaf, uint32_t subleaf) const override
    {
        CpuidRegs r{};
        __cpuid_count(leaf, subleaf, r.eax, r.ebx, r.ecx, r.edx);
        return r;
    }
};

constexpr uint32_t bit(uint32_t word, unsigned n) { return (word >> n) & 1u; }

}  // namespace

const CpuidSource& hardwareCpuid()
{
    static const HardwareCpuid source;
    return source;
}

Lum32s slotOfCpuCode(Lum32s code)
{
    switch (code) {
    case -1:
    case cpuGeneric:
    case cpuFam5:
    case cpuFam5Mmx:
    case cpuFam6:
    case cpuFam6Mmx:
        return kSlotPx;
    case cpuFam6Sse:
    case cpuFam7:
    case cpuFam15NoSse2:
    case cpuOtherSse:
        return kSlotA6;
    case cpuFam15Sse2:
    case cpuFam15Sse2Ht:
    case cpuFam6Sse2:
    case cpuOtherSse2:
        return kSlotW7;
    case cpuFam15Sse3:
    case cpuFam6Sse3:
    case cpuFam15Sse3Long:
    case cpuSsse3:
    case cpuOtherSse3:
        return kSlotT7;
    default:
        return -1;
    }
}

bool lumHasCpuid(const CpuidSource& cpu) { return cpu.hasCpuid(); }

bool lumIsPrimaryVendor(const CpuidSource& cpu)
{
    const CpuidRegs r = cpu.leaf(0, 0);
    uint32_t expected[3];
    std::memcpy(expected, kPrimaryVendor, 12);
    return r.ebx == expected[0] && r.edx == expected[1] && r.ecx == expected[2];
}

uint32_t lumCoreCount(const CpuidSource& cpu)
{
    if (static_cast<int32_t>(cpu.leaf(0, 0).eax) < 4) return 1;
    return (cpu.leaf(4, 0).eax >> 26) + 1;
}

void lumReadCpuFeatures(const CpuidSource& cpu, LumCpuFeatures* f)
{
    const CpuidRegs l1 = cpu.leaf(1, 0);
    f->family = (l1.eax >> 8) & 0xF;
    f->stepping = l1.eax & 0xF;
    f->model = (l1.eax >> 4) & 0xF;
    f->type = 0;
    f->featureWord = l1.edx;
    f->hasMmx = bit(l1.edx, 23);
    f->hasSse = bit(l1.edx, 25);
    f->hasSse2 = bit(l1.edx, 26);
    f->manyLogical = (bit(l1.edx, 28) && ((l1.ebx >> 16) & 0xFF) > 1) ? 1 : 0;
    f->hasSse3 = bit(l1.ecx, 0);
    f->hasSsse3 = bit(l1.ecx, 9);

    const uint32_t maxExtended = cpu.leaf(0x80000000u, 0).eax;
    f->hasLongMode = maxExtended >= 0x80000001u ? bit(cpu.leaf(0x80000001u, 0).edx, 29) : 0;

    f->coreCount = lumCoreCount(cpu);

    const CpuidRegs l2 = cpu.leaf(2, 0);
    f->cacheDescriptorsA = l2.eax;
    f->cacheDescriptorsD = l2.edx;
}

LumCpuCode lumProbeCpuCode(const CpuidSource& cpu)
{
    if (!lumHasCpuid(cpu)) return cpuGeneric;
    LumCpuFeatures f;
    lumReadCpuFeatures(cpu, &f);
    if (lumIsPrimaryVendor(cpu)) {
        // The family field has four bits, so the old family-31 rule (code 17) can never hold.
        if (f.family == 7) return cpuFam7;
        if (f.family == 15) {
            if (!f.hasSse2) return cpuFam15NoSse2;
            if (!f.hasSse3) return f.manyLogical ? cpuFam15Sse2Ht : cpuFam15Sse2;
            if (!f.hasLongMode) return cpuFam15Sse3;
            return f.hasSsse3 ? cpuSsse3 : cpuFam15Sse3Long;
        }
        if (f.family == 5) return f.hasMmx ? cpuFam5Mmx : cpuFam5;
        if (f.family == 6) {
            if (f.hasSse2) return f.hasSse3 ? cpuFam6Sse3 : cpuFam6Sse2;
            if (f.hasSse) return cpuFam6Sse;
            return f.hasMmx ? cpuFam6Mmx : cpuFam6;
        }
    }
    // Other families and other vendors are classified by their best feature alone.
    if (f.hasSsse3) return cpuSsse3;
    if (f.hasSse3) return cpuOtherSse3;
    if (f.hasSse2) return cpuOtherSse2;
    if (f.hasSse) return cpuOtherSse;
    return cpuGeneric;
}

LumStatus staticInitWith(const CpuidSource& cpu)
{
    const Lum32s slot = slotOfCpuCode(lumProbeCpuCode(cpu));
    // One store of the final value: concurrent and repeated runs store the same word.
    LumTierIndex.store(slot < 0 ? kSlotPx : slot, std::memory_order_relaxed);
    if (!lumHasCpuid(cpu) || !lumIsPrimaryVendor(cpu)) return lumStsNonPrimaryVendor;
    return lumStsNoErr;
}

uint32_t lumMaxBasicLeaf(const CpuidSource& cpu) { return cpu.leaf(0, 0).eax; }
bool lumHasTsc(const CpuidSource& cpu) { return bit(cpu.leaf(1, 0).edx, 4); }
uint64_t lumReadTsc() { return __rdtsc(); }

}  // namespace lum

extern "C" LUM_API LumStatus lumStaticInit(void) { return lum::staticInitWith(lum::hardwareCpuid()); }
