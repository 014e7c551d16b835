// Region copy, tier a6: rows merged where the region has no gaps, each row through the a6 row
// kernel, which always streams with 8-byte non-temporal stores.
#include "frame/dispatch.h"
#include "image/copy_row.h"
#include "image/region.h"

#include <mmintrin.h>
#include <xmmintrin.h>

#include <cstring>

namespace lum::a6 {
namespace {

__m64 load8(const Lum8u* p)
{
    __m64 v;
    std::memcpy(&v, p, 8);
    return v;
}

void stream8(Lum8u* d, const Lum8u* s) { _mm_stream_pi(reinterpret_cast<__m64*>(d), load8(s)); }

// `Units` non-temporal 8-byte stores.
template <size_t Units>
void streamUnits(const Lum8u*& s, Lum8u*& d, size_t& len)
{
    for (size_t i = 0; i < 8 * Units; i += 8) stream8(d + i, s + i);
    s += 8 * Units;
    d += 8 * Units;
    len -= 8 * Units;
}

template <int Channels>
LumStatus copyInterleaved(const Lum8u* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roi)
{
    const LumStatus status = checkRegionArgs(roi, pSrc, pDst);
    if (status != lumStsNoErr) return status;
    forEachMergedRow(pSrc, srcStep, pDst, dstStep, roi, Channels,
                     [](const Lum8u* s, Lum8u* d, size_t len) { lumCopyRow(s, d, len); });
    return status;
}

}  // namespace

void lumCopyRow(const Lum8u* s, Lum8u* d, size_t len)
{
    if (len >= 8) {
        const size_t misalignment = reinterpret_cast<uintptr_t>(d) & 7;
        if (misalignment != 0) {
            const __m64 head = load8(s);
            std::memcpy(d, &head, 8);
            s += 8 - misalignment;
            d += 8 - misalignment;
            len -= 8 - misalignment;
        }
        while (len >= 64) streamUnits<8>(s, d, len);
        if (len & 32) streamUnits<4>(s, d, len);
        if (len & 16) streamUnits<2>(s, d, len);
        if (len & 8) streamUnits<1>(s, d, len);
        if (len & 4) {
            std::memcpy(d, s, 4);
            s += 4;
            d += 4;
            len -= 4;
        }
    }
    for (size_t i = 0; i < len; ++i) d[i] = s[i];
    _mm_sfence();
    _mm_empty();
}

LUM_INTERLEAVED_COPY_EXPORTS

}  // namespace lum::a6
