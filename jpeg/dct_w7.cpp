// 8x8 DCT, tier w7: the vector algorithm on all eight columns at once in 128-bit registers, in place
// for a block on a 16-byte boundary and through an aligned stack block otherwise.
#include "frame/dispatch.h"
#include "jpeg/dct_vector.h"

namespace lum::w7 {
namespace {

struct Tier {
    static __m128i loadUnaligned(const Lum16s* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
};

}  // namespace

LumStatus lumiDCT8x8Fwd_16s_C1I(Lum16s* pSrcDst) { return dctvec::forward<Tier>(pSrcDst); }

LumStatus lumiDCT8x8Inv_16s_C1I(Lum16s* pSrcDst) { return dctvec::inverse<Tier>(pSrcDst); }

}  // namespace lum::w7
