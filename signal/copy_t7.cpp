// Copy, clear, fill and move, tier t7: the shared vector kernels, and a copy with lddqu loads, a
// direction chosen by the 4 KiB offsets of the two buffers, and a large path from 524288 bytes.
#include "frame/dispatch.h"
#include "signal/copy_vector.h"

#include <pmmintrin.h>

namespace lum::t7 {
namespace {

constexpr size_t kLargeGate = 524288;
constexpr size_t kBackwardBelow = 512;

struct Tier {
    static constexpr size_t kTouchStride = 64;
    static __m128i loadUnaligned(const Lum8u* p)
    {
        return _mm_lddqu_si128(reinterpret_cast<const __m128i*>(p));
    }
};

// Both pointers aligned: the direction by the difference of their offsets within a 4 KiB page, so
// that loads do not run into the addresses of the stores just issued.
bool copiesForward(const Lum8u* s, const Lum8u* d)
{
    const auto offset = [](const Lum8u* p) {
        return static_cast<int32_t>(copyvec::address<Tier>(p) & 0xFFF);
    };
    const int32_t diff = offset(s) - offset(d);
    return (diff >= 1 && diff <= 160) || diff < -3936;
}

void copyKernel(const Lum8u* s, Lum8u* d, size_t len, const CpuidSource* cpu)
{
    using namespace copyvec;
    const Start start = copyStart<Tier>(s, d, len);
    if (start == Start::done) return;
    const bool sourceAligned = (address<Tier>(s) & 15) == 0;
    // After the pDst step an aligned source goes straight to the aligned copy, whatever the size.
    const bool mayStream = start == Start::dstAligned || !sourceAligned;
    if (mayStream && len >= kLargeGate && copyLarge<Tier>(s, d, len, cpu)) return;
    if (!sourceAligned) {
        passesForward<Tier>(s, d, len, tierLoad<Tier>);
        copySmall<Tier>(s, d, len);
    } else if (len >= kBackwardBelow && copiesForward(s, d)) {
        copyForward<Tier>(s, d, len, alignedLoad<Tier>);
    } else {
        copyBackward<Tier>(s, d, len, alignedLoad<Tier>);
    }
}

}  // namespace

LUM_VECTOR_COPY_FAMILY

}  // namespace lum::t7
