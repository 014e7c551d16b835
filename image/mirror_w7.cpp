// Mirror, tier w7: the shared vector kernels with plain unaligned loads.
#include "frame/dispatch.h"
#include "image/mirror_vector.h"

namespace lum::w7 {
namespace {

struct Tier {
    static __m128i loadUnaligned(const Lum8u* p)
    {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    }
};

}  // namespace

LUM_VECTOR_MIRROR_FAMILY

}  // namespace lum::w7
