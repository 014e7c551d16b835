// Quantization, portable tier: integer reciprocal tables, and block quantization that rounds to
// nearest with ties to even and saturates.
#include "frame/dispatch.h"
#include "jpeg/quant.h"

namespace lum {
namespace {

// s*q/32768 to nearest, ties to even, in fixed point: the low bit of the product decides whether
// the half that is added loses one, which happens exactly when the quotient below it is even.
Lum16s quantize(Lum16s s, Lum16u q)
{
    const int32_t p = int32_t{s} * int32_t{q};
    const int32_t h = p >> 1;
    const int32_t c = (p & 1) + 16384 - (((h >> 14) & 1) == 0 ? 1 : 0);
    return sat16((h + (c >> 1)) >> 14);
}

Lum16s dequantize(Lum16s s, Lum16u q) { return sat16(int32_t{s} * int32_t{q}); }

template <Lum16s (*Op)(Lum16s, Lum16u)>
LumStatus blockOp(Lum16s* pSrcDst, const Lum16u* pTable)
{
    const LumStatus status = checkBlockPointers(pSrcDst, pTable);
    if (status != lumStsNoErr) return status;
    for (int i = 0; i < kBlockSize; ++i)
        storeElement<Lum16s>(pSrcDst, i, Op(loadElement<Lum16s>(pSrcDst, i), loadElement<Lum16u>(pTable, i)));
    return lumStsNoErr;
}

}  // namespace

namespace px {

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
    return blockOp<quantize>(pSrcDst, pFwdTable);
}

LumStatus lumiQuantInv8x8_JPEG_16s_C1I(Lum16s* pSrcDst, const Lum16u* pInvTable)
{
    return blockOp<dequantize>(pSrcDst, pInvTable);
}

}  // namespace px
}  // namespace lum
