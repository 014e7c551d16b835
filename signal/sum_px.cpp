// Sum of floats, portable tier: two extended-precision accumulators, one rounding at the end.
#include "frame/dispatch.h"
#include "signal/checks.h"

#include <cstring>

namespace lum {
namespace {

// The source need not be a multiple of 4 bytes, so elements are read bytewise.
long double element(const Lum32f* p)
{
    Lum32f x;
    std::memcpy(&x, p, sizeof x);
    return x;
}

}  // namespace

namespace px {

LumStatus lumsSum_32f(const Lum32f* pSrc, Lum32s len, Lum32f* pSum, Lum32s /*hint*/)
{
    const LumStatus status = checkVectorArgs(len, pSrc, pSum);
    if (status != lumStsNoErr) return status;

    long double even = 0.0L;
    long double odd = 0.0L;
    Lum32s i = 0;
    for (; i <= len - 4; i += 4) {
        even += element(pSrc + i);
        even += element(pSrc + i + 2);
        odd += element(pSrc + i + 1);
        odd += element(pSrc + i + 3);
    }
    long double sum = even + odd;
    for (; i < len; ++i) sum += element(pSrc + i);
    *pSum = static_cast<Lum32f>(sum);
    return lumStsNoErr;
}

}  // namespace px
}  // namespace lum
