// lum-probe: what the processor probe saw on this machine: the feature record, the code, the slot,
// the status of the selection and the tier tag. Uses the library's internal probe interface.
#include "frame/cpu.h"
#include "frame/dispatch.h"

#include <cstdio>
#include <cstring>

int main()
{
    const lum::CpuidSource& cpu = lum::hardwareCpuid();
    const bool hasCpuid = lum::lumHasCpuid(cpu);
    std::printf("cpuid           %s\n", hasCpuid ? "yes" : "no");
    if (hasCpuid) {
        const lum::CpuidRegs leaf0 = cpu.leaf(0, 0);
        char vendor[13] = {};
        std::memcpy(vendor, &leaf0.ebx, 4);
        std::memcpy(vendor + 4, &leaf0.edx, 4);
        std::memcpy(vendor + 8, &leaf0.ecx, 4);
        std::printf("vendor          %s (%s)\n", vendor,
                    lum::lumIsPrimaryVendor(cpu) ? "primary" : "not the primary vendor");
        std::printf("max basic leaf  %u\n", lum::lumMaxBasicLeaf(cpu));
        std::printf("time stamps     %s\n", lum::lumHasTsc(cpu) ? "yes" : "no");

        lum::LumCpuFeatures f;
        lum::lumReadCpuFeatures(cpu, &f);
        std::printf("family %u model %u stepping %u type %u\n", f.family, f.model, f.stepping, f.type);
        std::printf("featureWord 0x%08x  leaf 2 EAX 0x%08x EDX 0x%08x\n", f.featureWord, f.cacheDescriptorsA,
                    f.cacheDescriptorsD);
        std::printf("mmx %u sse %u sse2 %u sse3 %u ssse3 %u longMode %u manyLogical %u cores %u\n", f.hasMmx,
                    f.hasSse, f.hasSse2, f.hasSse3, f.hasSsse3, f.hasLongMode, f.manyLogical, f.coreCount);
    }
    const Lum32s code = lum::lumProbeCpuCode(cpu);
    const LumStatus status = lumStaticInit();
    std::printf("code            %d\n", code);
    std::printf("slot            %d\n", LumTierIndex.load());
    std::printf("status          %d \"%s\"\n", status, lumGetStatusString(status));
    std::printf("tier tag        %s\n", lumsGetLibVersion()->tierTag);
    return 0;
}
