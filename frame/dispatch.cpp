// The selector, the dispatch rows of the built exports, and the forced-tier seam.
#include "frame/dispatch.h"

#include "frame/cpu.h"

std::atomic<Lum32s> LumTierIndex{0};

// Rows are read by the assembly stubs as lumRow_<name>; C linkage keeps the names plain.
#define LUM_ROW(name, s0, s1, s2, s3)                                              \
    extern "C" const lum::Row<decltype(::name)> lumRow_##name = {                  \
        lum::s0::name, lum::s1::name, lum::s2::name, lum::s3::name};
#include "frame/exports.inc"

extern "C" LumStatus lumSetTierByCpuCode(Lum32s code)
{
    const Lum32s slot = code == -1 ? lum::kSlotPx : lum::slotOfCpuCode(code);
    if (slot < 0) return lumStsCpuNotSet;
    LumTierIndex.store(slot, std::memory_order_relaxed);
    return lumStsNoErr;
}
