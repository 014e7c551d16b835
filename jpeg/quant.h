// Quantization tables and their construction, shared by every tier: quality scaling (bit-exact in
// all tiers), the widening and zigzag reordering of a raw table, and the integer reciprocal of px
// and a6.
#pragma once

#include "jpeg/arith16.h"
#include "jpeg/zigzag.h"

#include <cstdint>

namespace lum::quant {

// Signed 32-bit division carried out by the idiv instruction itself. A quality of 0 must raise the
// processor's divide fault, as the function has no status to report it: in C++ the division would
// be undefined, so a compiler could assume the divisor nonzero and a sanitizer would report instead
// of faulting. The asm keeps the fault deliberate and unguarded.
static inline int32_t divideUnguarded(int32_t dividend, int32_t divisor)
{
    int32_t remainder;
    __asm__ volatile("cltd\n\tidivl %[divisor]"
                     : "+a"(dividend), "=&d"(remainder)
                     : [divisor] "r"(divisor)
                     : "cc");
    return dividend;
}

// Scales the 64 steps of a raw table by a quality figure, in wrapping signed 32-bit arithmetic.
static inline LumStatus scaleRawTable(Lum8u* pRawTable, Lum32s quality)
{
    const LumStatus status = checkBlockPointers(pRawTable);
    if (status != lumStsNoErr) return status;
    const int32_t scale = quality < 50 ? divideUnguarded(5000, quality) : sub32(200, mul32(2, quality));
    for (int i = 0; i < kBlockSize; ++i) {
        const int32_t v = add32(mul32(pRawTable[i], scale), 50) / 100;
        pRawTable[i] = static_cast<Lum8u>(v < 1 ? 1 : (v > 255 ? 255 : v));
    }
    return lumStsNoErr;
}

// Steps 1 and 2 of every table: the raw bytes widened to 16 bits in a local block, then put in
// natural order into the table with the tier's zigzag kernel.
template <int ZigzagStep>
static inline void widenToNatural(const Lum8u* pRawTable, Lum16u* pTable)
{
    Lum16u wide[kBlockSize];
    for (int i = 0; i < kBlockSize; ++i) wide[i] = pRawTable[i];
    zigzagInv<ZigzagStep, Lum16u>(wide, pTable);
}

template <int ZigzagStep>
static inline LumStatus invTable(const Lum8u* pRawTable, Lum16u* pInvTable)
{
    const LumStatus status = checkBlockPointers(pRawTable, pInvTable);
    if (status == lumStsNoErr) widenToNatural<ZigzagStep>(pRawTable, pInvTable);
    return status;
}

inline constexpr Lum16u kZeroStepEntry = 65535;

// 32768/x to the nearest integer for x of 1..255: 2^31/x in unsigned division, then a rounding that
// is not quite half-to-even but never meets a tie for those steps.
static inline Lum16u reciprocalInteger(Lum16u x)
{
    const uint32_t v = 2147483648u / x;
    return static_cast<Lum16u>((v + 32767 + 2 * ((v >> 16) & 1)) >> 16);
}

// The forward table of px and a6, in integer arithmetic. A zero step becomes 65535 and a warning.
template <int ZigzagStep>
static inline LumStatus fwdTableInteger(const Lum8u* pRawTable, Lum16u* pFwdTable)
{
    const LumStatus status = checkBlockPointers(pRawTable, pFwdTable);
    if (status != lumStsNoErr) return status;
    widenToNatural<ZigzagStep>(pRawTable, pFwdTable);
    bool zero = false;
    for (int i = 0; i < kBlockSize; ++i) {
        const Lum16u x = loadElement<Lum16u>(pFwdTable, i);
        zero = zero || x == 0;
        storeElement<Lum16u>(pFwdTable, i, x == 0 ? kZeroStepEntry : reciprocalInteger(x));
    }
    return zero ? lumStsDivByZeroWarning : lumStsNoErr;
}

}  // namespace lum::quant
