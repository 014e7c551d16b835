// Processor probe: the CPUID source, the feature record, the classification code and its tier.
#pragma once

#include <lum.h>

#include <cstdint>

namespace lum {

struct CpuidRegs {
    uint32_t eax, ebx, ecx, edx;
};

// Where the probe gets its answers. The hardware source executes the instructions; tests supply
// fake leaves to walk the whole decode table.
class CpuidSource {
public:
    virtual ~CpuidSource() = default;
    // The flags-register test: whether bit 21 (ID) can be toggled.
    virtual bool hasCpuid() const = 0;
    virtual CpuidRegs leaf(uint32_t leaf, uint32_t subleaf) const = 0;
};

const CpuidSource& hardwareCpuid();

// Filled by lumReadCpuFeatures; every field is a 32-bit word, in this order.
struct LumCpuFeatures {
    uint32_t family;
    uint32_t stepping;
    uint32_t model;
    uint32_t type;
    uint32_t featureWord;
    uint32_t cacheDescriptorsA;
    uint32_t cacheDescriptorsD;
    uint32_t hasMmx;
    uint32_t hasSse;
    uint32_t hasSse2;
    uint32_t manyLogical;
    uint32_t hasSse3;
    uint32_t hasLongMode;
    uint32_t hasSsse3;
    uint32_t coreCount;
};

// Processor classification; the values are a sparse set, each mapped to one slot.
enum LumCpuCode : Lum32s {
    cpuGeneric = 0,
    cpuFam5 = 1,
    cpuFam5Mmx = 2,
    cpuFam6 = 3,
    cpuFam6Mmx = 4,
    cpuFam6Sse = 5,
    cpuFam15Sse2 = 6,
    cpuFam15Sse2Ht = 7,
    cpuFam15Sse3 = 8,
    cpuFam6Sse2 = 9,
    cpuFam6Sse3 = 10,
    cpuFam7 = 16,
    cpuFam15NoSse2 = 17,
    cpuFam15Sse3Long = 32,
    cpuSsse3 = 33,
    cpuOtherSse = 64,
    cpuOtherSse2 = 65,
    cpuOtherSse3 = 66,
};

inline constexpr char kPrimaryVendor[13] = "GenuineOrvex";

// Slot of a code of the table, or -1 for a value the table does not hold.
Lum32s slotOfCpuCode(Lum32s code);

bool lumHasCpuid(const CpuidSource& cpu);
bool lumIsPrimaryVendor(const CpuidSource& cpu);
void lumReadCpuFeatures(const CpuidSource& cpu, LumCpuFeatures* features);
// The number of cores as the feature record counts them (leaf 4 when leaf 0 offers it, else 1).
uint32_t lumCoreCount(const CpuidSource& cpu);
LumCpuCode lumProbeCpuCode(const CpuidSource& cpu);
// lumStaticInit against any source: sets the selector once and returns 0 or lumStsNonPrimaryVendor.
LumStatus staticInitWith(const CpuidSource& cpu);

// Single-question probes the decode does not need; the probe tool prints them. The feature record
// answers the others (MMX, SSE, SSE2, SSE3, SSSE3, logical processors, cores, long mode).
uint32_t lumMaxBasicLeaf(const CpuidSource& cpu);
bool lumHasTsc(const CpuidSource& cpu);
uint64_t lumReadTsc();

}  // namespace lum
