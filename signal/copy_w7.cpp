// Copy, clear, fill and move, tier w7: the shared vector kernels, and a copy whose 64-byte passes
// follow the source alignment, with a large path above 131072 bytes.
#include "frame/dispatch.h"
#include "signal/copy_vector.h"

namespace lum::w7 {
namespace {

constexpr size_t kLargeGate = 131072;

struct Tier {
    static constexpr size_t kTouchStride = 32;
    static __m128i loadUnaligned(const Lum8u* p)
    {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    }
};

// Two 8-byte loads to one register.
constexpr auto loadHalves = [](const Lum8u* p) {
    return _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)),
                              _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + 8)));
};

// Four 32-bit loads to one register, for a source 4 bytes past an 8-byte boundary.
constexpr auto loadWords = [](const Lum8u* p) {
    int32_t w[4];
    std::memcpy(w, p, 16);
    const __m128i lo = _mm_unpacklo_epi32(_mm_cvtsi32_si128(w[0]), _mm_cvtsi32_si128(w[1]));
    const __m128i hi = _mm_unpacklo_epi32(_mm_cvtsi32_si128(w[2]), _mm_cvtsi32_si128(w[3]));
    return _mm_unpacklo_epi64(lo, hi);
};

void copyKernel(const Lum8u* s, Lum8u* d, size_t len, const CpuidSource* cpu)
{
    using namespace copyvec;
    const Start start = copyStart<Tier>(s, d, len);
    if (start == Start::done) return;
    if (len > kLargeGate && copyLarge<Tier>(s, d, len, cpu)) return;
    const uintptr_t a = address<Tier>(s);
    if (start == Start::dstAligned && (a & 15) == 0) {
        passesForward<Tier>(s, d, len, alignedLoad<Tier>);
        for (; len >= 16; advance<Tier>(s, d, len, 16)) storeAligned<Tier>(d, alignedLoad<Tier>(s));
    } else if ((a & 7) == 4) {
        passesForward<Tier>(s, d, len, loadWords);
    } else {
        passesForward<Tier>(s, d, len, loadHalves);
    }
    copySmall<Tier>(s, d, len);
}

}  // namespace

LUM_VECTOR_COPY_FAMILY

}  // namespace lum::w7
