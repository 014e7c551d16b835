// Module entry: the loader's call on attach and detach.
#pragma once

#include <cstdint>

namespace lum {

inline constexpr uint32_t kProcessAttach = 1;

// On process attach runs lumStaticInit and discards its status; every reason returns 1, so a
// load never fails because of the processor.
int lumModuleEntry(void* module, uint32_t reason, void* reserved);

}  // namespace lum
