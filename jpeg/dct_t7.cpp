// 8x8 DCT, tier t7: w7's algorithm and paths; the forward transform reads an unaligned block with
// lddqu, which does not split cache lines.
#include "frame/dispatch.h"
#include "jpeg/dct_vector.h"

#include <pmmintrin.h>

namespace lum::t7 {
namespace {

struct Tier {
    static __m128i loadUnaligned(const Lum16s* p) { return _mm_lddqu_si128(reinterpret_cast<const __m128i*>(p)); }
};

}  // namespace

LumStatus lumiDCT8x8Fwd_16s_C1I(Lum16s* pSrcDst) { return dctvec::forward<Tier>(pSrcDst); }

LumStatus lumiDCT8x8Inv_16s_C1I(Lum16s* pSrcDst) { return dctvec::inverse<Tier>(pSrcDst); }

}  // namespace lum::t7
