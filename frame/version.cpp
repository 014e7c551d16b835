// Version records: one per family and tier, constant; tierTag tells which tier answered.
#include "frame/dispatch.h"

namespace lum {
namespace {

constexpr char kVersionText[] = "v5.1";
constexpr char kBuildDate[] = "Mar  1 2006";
constexpr Lum32s kImageBuild = 217;
constexpr Lum32s kSignalBuild = 219;

constexpr LumLibraryVersion record(Lum32s build, const char (&tag)[3], const char* name)
{
    return {5, 1, 80, build, {tag[0], tag[1], 0, 0}, name, kVersionText, kBuildDate};
}

}  // namespace

#define LUM_TIER_VERSIONS(tier)                                                                  \
    namespace tier {                                                                             \
    const LumLibraryVersion* lumiGetLibVersion()                                                 \
    {                                                                                            \
        static constexpr LumLibraryVersion kImage = record(kImageBuild, #tier, "lumi" #tier "l.lib"); \
        return &kImage;                                                                          \
    }                                                                                            \
    const LumLibraryVersion* lumsGetLibVersion()                                                 \
    {                                                                                            \
        static constexpr LumLibraryVersion kSignal = record(kSignalBuild, #tier, "lums" #tier "l.lib"); \
        return &kSignal;                                                                         \
    }                                                                                            \
    }

LUM_TIER_VERSIONS(px)
LUM_TIER_VERSIONS(a6)
LUM_TIER_VERSIONS(w7)
LUM_TIER_VERSIONS(t7)

}  // namespace lum
