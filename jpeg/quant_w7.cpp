// Quantization, tier w7 (and t7's quality scaling): single-precision reciprocal tables, block
// quantization in four passes of sixteen elements, dequantization peeled to the block's alignment.
#include "frame/dispatch.h"
#include "jpeg/quant_vector.h"

namespace lum::w7 {
namespace {

struct Tier {
    static constexpr int kZigzagStep = 1;
};
using O = simd::Ops128<Tier>;

}  // namespace

LumStatus lumiQuantFwdRawTableInit_JPEG_8u(Lum8u* pRawTable, Lum32s quality)
{
    return quant::scaleRawTable(pRawTable, quality);
}

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

}  // namespace lum::w7
