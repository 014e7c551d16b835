// Tier selection and dispatch: the selector, the tier namespaces of every variant, and the test seam.
#pragma once

#include <lum.h>

#include <atomic>
#include <cstdint>

// Index of the tier in use: 0 px, 1 a6, 2 w7, 3 t7. The only writable global of the library; a
// relaxed atomic compiles to a plain load and store. Starts at 0 so that an uninitialised library
// runs px.
extern "C" std::atomic<Lum32s> LumTierIndex;

// Forces the tier that a processor code maps to; lumStsCpuNotSet for codes outside the table.
// Internal: not exported from the shared library, reachable from the static one for tests.
extern "C" LumStatus lumSetTierByCpuCode(Lum32s code);

namespace lum {

enum Slot : Lum32s { kSlotPx = 0, kSlotA6 = 1, kSlotW7 = 2, kSlotT7 = 3, kSlotCount = 4 };

// The dispatch row of an export: slot k holds the variant of tier k.
template <typename Fn>
using Row = Fn* const[kSlotCount];

// Every variant of a dispatched export is declared here with exactly the export's type, in the
// namespace of its tier, so that a definition with a different signature fails to link its row.
#define LUM_VARIANTS(name)                    \
    namespace px { decltype(::name) name; }   \
    namespace a6 { decltype(::name) name; }   \
    namespace w7 { decltype(::name) name; }   \
    namespace t7 { decltype(::name) name; }
#define LUM_ROW(name, s0, s1, s2, s3) LUM_VARIANTS(name)
#define LUM_PENDING(name, s0, s1, s2, s3) LUM_VARIANTS(name)
#include "frame/exports.inc"
#undef LUM_VARIANTS

}  // namespace lum

// The rows of the built exports, named lumRow_<export>; the stubs jump through them.
#define LUM_ROW(name, s0, s1, s2, s3) extern "C" const lum::Row<decltype(::name)> lumRow_##name;
#include "frame/exports.inc"
