// Quantization, tier a6: integer reciprocal tables as px builds them, and the vector block
// arithmetic on 64-bit vectors, eight elements a pass.
#include "frame/dispatch.h"
#include "jpeg/quant_vector.h"

namespace lum::a6 {
namespace {

struct Tier {};
using O = simd::Ops64<Tier>;

}  // namespace

LumStatus lumiQuantFwdRawTableInit_JPEG_8u(Lum8u* pRawTable, Lum32s quality)
{
    return quant::scaleRawTable(pRawTable, quality);
}

LumStatus lumiQuantFwdTableInit_JPEG_8u16u(const Lum8u* pRawTable, Lum16u* pFwdTable)
{
    return quant::fwdTableInteger<1>(pRawTable, pFwdTable);
}

LumStatus lumiQuantInvTableInit_JPEG_8u16u(const Lum8u* pRawTable, Lum16u* pInvTable)
{
    return quant::invTable<1>(pRawTable, pInvTable);
}

LumStatus lumiQuantFwd8x8_JPEG_16s_C1I(Lum16s* pSrcDst, const Lum16u* pFwdTable)
{
    return quantvec::blockPasses<O, quantvec::quantize<O>>(pSrcDst, pFwdTable);
}

LumStatus lumiQuantInv8x8_JPEG_16s_C1I(Lum16s* pSrcDst, const Lum16u* pInvTable)
{
    return quantvec::blockPasses<O, quantvec::dequantize<O>>(pSrcDst, pInvTable);
}

}  // namespace lum::a6
