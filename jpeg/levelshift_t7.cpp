// Level shift, tier t7: w7's 128-bit steps, with one further prefetch line.
#include "frame/dispatch.h"
#include "jpeg/levelshift_vector.h"

namespace lum::t7 {
namespace {

struct Tier {
    static constexpr uintptr_t kAlign = 16;
    static constexpr int kPrefetchLines = 2;
    static constexpr int kPrefetchAhead = 128;
};

using Kernels = levelshift::Kernels<Tier, levelshift::SubSteps128, levelshift::AddSteps128>;

}  // namespace

LumStatus lumiSub128_JPEG_8u16s_C1R(const Lum8u* pSrc, Lum32s srcStep, Lum16s* pDst, Lum32s dstStep, LumSize roiSize)
{
    return Kernels::sub(pSrc, srcStep, pDst, dstStep, roiSize);
}

LumStatus lumiAdd128_JPEG_16s8u_C1R(const Lum16s* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roiSize)
{
    return Kernels::add(pSrc, srcStep, pDst, dstStep, roiSize);
}

}  // namespace lum::t7
