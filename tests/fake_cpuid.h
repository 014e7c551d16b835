// A CPUID source with leaves set by the test, for walking the processor decode.
#pragma once

#include "frame/cpu.h"

#include <cstring>
#include <map>
#include <utility>

namespace lumtest {

class FakeCpuid final : public lum::CpuidSource {
public:
    bool cpuid = true;
    std::map<std::pair<uint32_t, uint32_t>, lum::CpuidRegs> leaves;
    mutable int queries = 0;

    bool hasCpuid() const override { return cpuid; }
    lum::CpuidRegs leaf(uint32_t leaf, uint32_t subleaf) const override
    {
        ++queries;
        const auto it = leaves.find({leaf, subleaf});
        return it == leaves.end() ? lum::CpuidRegs{} : it->second;
    }

    // Leaf 0: highest basic leaf and the twelve vendor characters in EBX, EDX, ECX.
    FakeCpuid& vendor(const char (&name)[13], uint32_t maxLeaf = 4)
    {
        lum::CpuidRegs r{maxLeaf, 0, 0, 0};
        std::memcpy(&r.ebx, name, 4);
        std::memcpy(&r.edx, name + 4, 4);
        std::memcpy(&r.ecx, name + 8, 4);
        leaves[{0, 0}] = r;
        return *this;
    }
    FakeCpuid& set(uint32_t leaf, lum::CpuidRegs r, uint32_t subleaf = 0)
    {
        leaves[{leaf, subleaf}] = r;
        return *this;
    }
    lum::CpuidRegs& at(uint32_t leaf, uint32_t subleaf = 0) { return leaves[{leaf, subleaf}]; }
};

// Leaf 1 EDX feature bits and ECX bits.
inline constexpr uint32_t kEdxTsc = 1u << 4, kEdxMmx = 1u << 23, kEdxSse = 1u << 25, kEdxSse2 = 1u << 26,
                          kEdxHtt = 1u << 28;
inline constexpr uint32_t kEcxSse3 = 1u << 0, kEcxSsse3 = 1u << 9;

}  // namespace lumtest
