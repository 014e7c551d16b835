// Linked into the shared library only: the ELF constructor that delivers process attach. The
// static library has none, so a program linking it runs px until it selects a tier.
#include "frame/module_entry.h"

namespace {

__attribute__((constructor)) void attachProcess() { lum::lumModuleEntry(nullptr, lum::kProcessAttach, nullptr); }

}  // namespace
