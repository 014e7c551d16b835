// What the spatial moment family shares across tiers: the record, the argument checks, the px row
// kernel (also a6's with hint 2), the row-sum update and the re-centring table. Internal linkage,
// so that the copies compiled for different instruction sets never merge.
#pragma once

#include "image/region.h"

#include <lum.h>

#include <cstddef>
#include <cstring>

// The record behind the opaque LumMomentRecord: three channel blocks of 16 raw moments, the moment
// with power i of x and power j of y at index 4 j + i.
struct LumMomentRecord {
    Lum32s tag;
    Lum32s hint;
    Lum32s channelCount;
    Lum64f sums[48];
};
static_assert(offsetof(LumMomentRecord, tag) == 0);
static_assert(offsetof(LumMomentRecord, hint) == 4);
static_assert(offsetof(LumMomentRecord, channelCount) == 8);
static_assert(offsetof(LumMomentRecord, sums) == 16);
static_assert(sizeof(LumMomentRecord) == 16 + 48 * sizeof(Lum64f));

namespace lum::moments {

inline constexpr Lum32s kTag = 33;
// The hint that a6 honours with the px kernel.
inline constexpr Lum32s kAccurateHint = 2;

// Allocates a record with the tier's allocator and sets it up; the sums stay uninitialised.
template <void* (*Allocate)(Lum32s)>
static inline LumStatus allocRecord(LumMomentRecord** ppState, Lum32s hint)
{
    if (ppState == nullptr) return lumStsNullPointer;
    auto* record = static_cast<LumMomentRecord*>(Allocate(static_cast<Lum32s>(sizeof(LumMomentRecord))));
    if (record == nullptr) return lumStsBufferTooSmall;
    record->tag = kTag;
    record->hint = hint;
    record->channelCount = -1;
    *ppState = record;
    return lumStsNoErr;
}

static inline LumStatus freeRecord(LumMomentRecord* pState)
{
    if (pState == nullptr) return lumStsNullPointer;
    if (pState->tag != kTag) return lumStsContextMismatch;
    lumFree(pState);
    return lumStsNoErr;
}

static inline LumStatus checkMomentArgs(const Lum32f* pSrc, Lum32s srcStep, LumSize roi,
                                        const LumMomentRecord* pState)
{
    if (pSrc == nullptr || pState == nullptr) return lumStsNullPointer;
    if (pState->tag != kTag) return lumStsContextMismatch;
    if (srcStep < 1) return lumStsBadStep;
    if (roi.width < 1 || roi.height < 1) return lumStsBadSize;
    if (int64_t(roi.width) * 4 > srcStep) return lumStsStrideTooSmall;
    return lumStsNoErr;
}

// Float i of a row whose step in bytes need not keep floats aligned.
static inline Lum32f pixelAt(const Lum8u* row, size_t i)
{
    Lum32f f;
    std::memcpy(&f, row + 4 * i, 4);
    return f;
}

// Row sums s0..s3 of row y into the raw moments, in the order that fixes the rounding. `Wide` is the
// type the products are formed in: Lum64f, or long double where a tier widens to x87 width.
template <typename Wide>
static inline void addRowSums(Lum64f* m, Wide s0, Wide s1, Wide s2, Wide s3, Wide y)
{
    m[0] = Lum64f(m[0] + s0);
    m[1] = Lum64f(m[1] + s1);
    m[2] = Lum64f(m[2] + s2);
    m[3] = Lum64f(m[3] + s3);
    const Wide t0 = s0 * y;
    m[4] = Lum64f(m[4] + t0);
    const Wide t1 = s1 * y;
    m[5] = Lum64f(m[5] + t1);
    m[6] = Lum64f(m[6] + s2 * y);
    const Wide t2 = t0 * y;
    m[8] = Lum64f(m[8] + t2);
    m[9] = Lum64f(m[9] + t1 * y);
    m[12] = Lum64f(m[12] + t2 * y);
}

// One step of the row sums: f into s0; f times x into s1, that times x into s2, that times x into
// s3. `add` and `mul` are the arithmetic of the tier (scalar, or one or all lanes of a register).
template <typename V, typename Add, typename Mul>
[[gnu::always_inline]] static inline void accumulate(V (&s)[4], V f, V x, Add add, Mul mul)
{
    s[0] = add(s[0], f);
    V p = mul(f, x);
    s[1] = add(s[1], p);
    p = mul(p, x);
    s[2] = add(s[2], p);
    p = mul(p, x);
    s[3] = add(s[3], p);
}

// The px kernel: per row four Lum64f sums and a Lum64f x, pixel by pixel.
static inline void scalarKernel(const Lum32f* pSrc, Lum32s srcStep, LumSize roi, Lum64f* m)
{
    const auto add = [](Lum64f a, Lum64f b) { return a + b; };
    const auto mul = [](Lum64f a, Lum64f b) { return a * b; };
    for (int64_t y = 0; y < roi.height; ++y) {
        const Lum8u* row = rowAt(reinterpret_cast<const Lum8u*>(pSrc), srcStep, y);
        Lum64f s[4] = {0, 0, 0, 0}, x = 0;
        for (size_t i = 0; i < size_t(roi.width); ++i, x += 1)
            accumulate<Lum64f>(s, pixelAt(row, i), x, add, mul);
        addRowSums<Lum64f>(m, s[0], s[1], s[2], s[3], Lum64f(y));
    }
}

// Common to all tiers: checks, then every sum cleared, one channel, the tier's kernel on block 0.
template <typename Kernel>
static inline LumStatus fill(const Lum32f* pSrc, Lum32s srcStep, LumSize roi, LumMomentRecord* pState,
                             Kernel kernel)
{
    const LumStatus status = checkMomentArgs(pSrc, srcStep, roi, pState);
    if (status != lumStsNoErr) return status;
    for (Lum64f& s : pState->sums) s = 0;
    pState->channelCount = 1;
    kernel(pSrc, srcStep, roi, pState->sums);
    return status;
}

// The moment of order (xOrder, yOrder) about `origin`, from the raw moments, terms in table order.
// The selection 4 xOrder | yOrder, unsigned, leaves codes 7, 10, 11 and above 12 without a result.
static inline LumStatus spatialMoment(const LumMomentRecord* pState, Lum32s xOrder, Lum32s yOrder,
                                      Lum32s channel, LumPoint origin, Lum64f* pValue)
{
    if (pState == nullptr || pValue == nullptr) return lumStsNullPointer;
    if (pState->tag != kTag) return lumStsContextMismatch;
    if (static_cast<Lum32s>(uint32_t(xOrder) + uint32_t(yOrder)) > 3) return lumStsBadSize;
    if (channel < 0 || channel >= pState->channelCount) return lumStsBadChannel;
    const Lum64f* M = pState->sums + 16 * channel;
    const auto at = [M](int i, int j) { return M[4 * j + i]; };
    const Lum64f ox = origin.x, oy = origin.y;
    switch (uint32_t(xOrder) * 4u | uint32_t(yOrder)) {
        case 0:
            *pValue = at(0, 0);
            break;
        case 1:
            *pValue = oy * at(0, 0) + at(0, 1);
            break;
        case 2:
            *pValue = 2 * oy * at(0, 1) + at(0, 2) + oy * oy * at(0, 0);
            break;
        case 3:
            *pValue = 3 * oy * at(0, 2) + at(0, 3) + 3 * oy * oy * at(0, 1) + oy * oy * oy * at(0, 0);
            break;
        case 4:
            *pValue = ox * at(0, 0) + at(1, 0);
            break;
        case 5:
            *pValue = ox * at(0, 1) + at(1, 1) + oy * at(1, 0) + ox * oy * at(0, 0);
            break;
        case 6:
            *pValue = ox * at(0, 2) + at(1, 2) + 2 * oy * at(1, 1) + oy * oy * at(1, 0) +
                      2 * ox * oy * at(0, 1) + ox * oy * oy * at(0, 0);
            break;
        case 8:
            *pValue = 2 * ox * at(1, 0) + at(2, 0) + ox * ox * at(0, 0);
            break;
        case 9:
            *pValue = 2 * ox * at(1, 1) + at(2, 1) + ox * ox * at(0, 1) + oy * at(2, 0) +
                      2 * ox * oy * at(1, 0) + ox * ox * oy * at(0, 0);
            break;
        case 12:
            *pValue = 3 * ox * at(2, 0) + at(3, 0) + 3 * ox * ox * at(1, 0) + ox * ox * ox * at(0, 0);
            break;
        default:
            break;
    }
    return lumStsNoErr;
}

}  // namespace lum::moments
