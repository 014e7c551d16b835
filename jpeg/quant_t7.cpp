// Quantization, tier t7: w7's arithmetic and paths, with t7's zigzag kernel in table construction.
// Quality scaling is w7's own function in t7's slot.
#include "frame/dispatch.h"
#include "jpeg/quant_vector.h"

namespace lum::t7 {
namespace {

struct Tier {
    static constexpr int kZigzagStep = 2;
};
using O = simd::Ops128<Tier>;

}  // namespace

LumStatus lumiQuantFwdTableInit_JPEG_8u16u(const Lum8u* pRawTable, Lum16u* pFwdTable)
{
    return quantvec::fwdTableFloat<Tier>(pRawTable, pFwdTable);
}

LumStatus lumiQuantInvTableInit_JPEG_8u16u(const Lum8u* pRawTable, Lum16u* pInvTable)
{
    return quant::invTable<Tier::kZigzagStep>(pRawTable, pInvTable);
}

LumStatus lumiQuantFwd8x8_JPEG_16s_C1I(Lum16s* pSrcDst, const Lum16u* pFwdTable)
{
    return quantvec::blockPasses<O, quantvec::quantize<O>>(pSrcDst, pFwdTable);
}

LumStatus lumiQuantInv8x8_JPEG_16s_C1I(Lum16s* pSrcDst, const Lum16u* pInvTable)
{
    return quantvec::dequantizeBlockPeeled<Tier>(pSrcDst, pInvTable);
}

}  // namespace lum::t7
