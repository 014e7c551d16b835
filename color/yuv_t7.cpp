// Video colour conversions, tier t7: the vector kernels with lddqu for the unaligned loads.
#include "color/yuv_vector.h"
#include "frame/dispatch.h"

#include <pmmintrin.h>

namespace lum::t7 {
namespace {

struct Tier {
    static constexpr bool kPrefetch = false;
    static __m128i loadUnaligned(const Lum8u* p)
    {
        return _mm_lddqu_si128(reinterpret_cast<const __m128i*>(p));
    }
};

}  // namespace

LUM_VECTOR_RGB_TO_YUV
LUM_VECTOR_YUV_OTHERS

}  // namespace lum::t7
