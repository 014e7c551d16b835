// In-place threshold of floats, portable tier: plain comparisons, so NaNs and signed zeros follow
// the comparison rather than an instruction's operand order.
#include "frame/dispatch.h"
#include "signal/checks.h"

#include <cmath>
#include <cstring>

namespace lum {
namespace {

constexpr Lum32s kGreaterThan = 4;

template <bool Greater>
void threshold(Lum32f* p, Lum32s len, Lum32f level)
{
    const long double wide = level;
    for (Lum32s i = 0; i < len; ++i) {
        // The buffer need not be a multiple of 4 bytes, so elements are moved bytewise.
        Lum32f x;
        std::memcpy(&x, p + i, sizeof x);
        const long double v = x;
        const bool replace = Greater ? (v > wide || std::isunordered(v, wide)) : v < wide;
        if (replace) std::memcpy(p + i, &level, sizeof level);
    }
}

}  // namespace

namespace px {

LumStatus lumsThreshold_32f_I(Lum32f* pSrcDst, Lum32s len, Lum32f level, Lum32s relOp)
{
    const LumStatus status = checkVectorArgs(len, pSrcDst);
    if (status != lumStsNoErr) return status;
    if (relOp == kGreaterThan)
        threshold<true>(pSrcDst, len, level);
    else
        threshold<false>(pSrcDst, len, level);
    return lumStsNoErr;
}

}  // namespace px
}  // namespace lum
