// Module entry shared by every way of loading the library.
#include "frame/module_entry.h"

#include <lum.h>

namespace lum {

int lumModuleEntry(void*, uint32_t reason, void*)
{
    if (reason == kProcessAttach) static_cast<void>(lumStaticInit());
    return 1;
}

}  // namespace lum
