// Mirror, tier t7: the shared vector kernels with lddqu for the unaligned loads.
#include "frame/dispatch.h"
#include "image/mirror_vector.h"

#include <pmmintrin.h>

namespace lum::t7 {
namespace {

struct Tier {
    static __m128i loadUnaligned(const Lum8u* p)
    {
        return _mm_lddqu_si128(reinterpret_cast<const __m128i*>(p));
    }
};

}  // namespace

LUM_VECTOR_MIRROR_FAMILY

}  // namespace lum::t7
