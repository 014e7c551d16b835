// lumCopyRow, the row copy behind the region copies and the row flips, for any subsystem to call.
// The a6 kernel always streams; w7 and t7 run one kernel whose non-temporal loop is asked for by
// `stream`. The thresholds below decide `stream` for their callers.
#pragma once

#include <lum.h>

#include <cstddef>
#include <cstdint>

namespace lum {

// The interleaved copies stream above this many bytes of region.
inline constexpr uint64_t kCopyStreamAbove = 131072;
// The planar copies stream from these many bytes of region on.
inline constexpr uint64_t kP3C3StreamFrom = 140001;
inline constexpr uint64_t kP4C4StreamFrom = 180001;
// The row flip streams when |step| times height exceeds this: reckoned from the step, not the width.
inline constexpr uint64_t kMirrorStreamAbove = 131000;

// With `stream` set, the w7 and t7 row kernel still keeps to the cache when the source trails the
// destination by 16 to 320 bytes modulo 65536, where its loads would hit lines just streamed out.
static inline bool copyRowGoesNonTemporal(const void* pSrc, const void* pDst)
{
    const uintptr_t d =
        (reinterpret_cast<uintptr_t>(pSrc) - (reinterpret_cast<uintptr_t>(pDst) & 0xFFFF)) & 0xFFFF;
    return d == 0 || d < 0xFEC0 || d > 0xFFF0;
}

namespace a6 {
void lumCopyRow(const Lum8u* pSrc, Lum8u* pDst, size_t len);
}  // namespace a6

namespace w7 {
void lumCopyRow(const Lum8u* pSrc, Lum8u* pDst, size_t len, bool stream);
}  // namespace w7

namespace t7 {
void lumCopyRow(const Lum8u* pSrc, Lum8u* pDst, size_t len, bool stream);
}  // namespace t7

}  // namespace lum
