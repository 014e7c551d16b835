// The per-MCU family: forms, pixel layouts, the block layout of the planes, the argument checks and
// the list of the 26 exports, which every tier defines from its own policy.
#pragma once

#include <lum.h>

#include <cstddef>
#include <cstdint>

namespace lum::mcu {

// An MCU of Width x Height pixels. A chroma sample covers Fx x Fy pixels, and the chroma sums
// divide by 2^kShift.
template <int Width, int Height>
struct Form {
    static constexpr int kWidth = Width;
    static constexpr int kHeight = Height;
    static constexpr int kFx = Width / 8;
    static constexpr int kFy = Height / 8;
    static constexpr int kShift = kFx + kFy - 2;
    static constexpr int kLumaElements = Width * Height;
};
using Form444 = Form<8, 8>;
using Form422 = Form<16, 8>;
using Form411 = Form<16, 16>;

// Interleaved pixel layouts. kR, kG, kB are the byte positions of the colour channels within a
// pixel; inks are stored inverted (255 - R, ...) with K as the fourth byte.
struct Rgb {
    static constexpr int kBytes = 3, kPlanes = 3, kR = 0, kG = 1, kB = 2;
    static constexpr bool kColour = true, kInk = false;
};
struct Bgr {
    static constexpr int kBytes = 3, kPlanes = 3, kR = 2, kG = 1, kB = 0;
    static constexpr bool kColour = true, kInk = false;
};
struct Cmyk {
    static constexpr int kBytes = 4, kPlanes = 4, kR = 0, kG = 1, kB = 2;
    static constexpr bool kColour = true, kInk = true;
};
// Three components that pass through without colour conversion (SampleDown, SampleUp).
struct Plain {
    static constexpr int kBytes = 3, kPlanes = 3, kR = 0, kG = 1, kB = 2;
    static constexpr bool kColour = false, kInk = false;
};
// Packed 4:2:2 video bytes Y0 Cb Y1 Cr (Split, Join); only in the 422 form.
struct Packed422 {
    static constexpr int kBytes = 2, kPlanes = 3;
};

// Plane index of pixel (x, y): blocks of 8x8 in raster order, two blocks across.
static constexpr int lumaIndex(int x, int y)
{
    return 64 * ((x >> 3) + 2 * (y >> 3)) + 8 * (y & 7) + (x & 7);
}

static inline const Lum8u* row(const Lum8u* p, Lum32s step, int y)
{
    return p + static_cast<ptrdiff_t>(step) * y;
}
static inline Lum8u* row(Lum8u* p, Lum32s step, int y) { return p + static_cast<ptrdiff_t>(step) * y; }

// Bit k of `mask` set: plane k must be on a 16-byte boundary.
template <typename Plane>
static bool planesAligned(const Plane* const* planes, int count, unsigned mask)
{
    for (int k = 0; k < count; ++k)
        if ((mask >> k & 1u) != 0 && (reinterpret_cast<uintptr_t>(planes[k]) & 15) != 0) return false;
    return true;
}

// Pixels to planes: pointers, then the step, then each plane.
template <int Planes>
static LumStatus checkToPlanes(const Lum8u* pSrc, Lum32s srcStep, Lum16s* const* pDstMCU)
{
    if (pSrc == nullptr || pDstMCU == nullptr) return lumStsNullPointer;
    if (srcStep < 1) return lumStsBadStep;
    for (int k = 0; k < Planes; ++k)
        if (pDstMCU[k] == nullptr) return lumStsNullPointer;
    return lumStsNoErr;
}

// Planes to pixels: pointers, then each plane, then the step.
template <int Planes>
static LumStatus checkToPixels(const Lum16s* const* pSrcMCU, const Lum8u* pDst, Lum32s dstStep)
{
    if (pSrcMCU == nullptr || pDst == nullptr) return lumStsNullPointer;
    for (int k = 0; k < Planes; ++k)
        if (pSrcMCU[k] == nullptr) return lumStsNullPointer;
    if (dstStep < 1) return lumStsBadStep;
    return lumStsNoErr;
}

// A tier is a policy with toPlanes<Layout, Form> and toPixels<Layout, Form>; the variants only check.
template <typename Tier, typename Layout, typename F>
LumStatus toPlanesVariant(const Lum8u* pSrc, Lum32s srcStep, Lum16s* const* pDstMCU)
{
    const LumStatus status = checkToPlanes<Layout::kPlanes>(pSrc, srcStep, pDstMCU);
    if (status == lumStsNoErr) Tier::template toPlanes<Layout, F>(pSrc, srcStep, pDstMCU);
    return status;
}

template <typename Tier, typename Layout, typename F>
LumStatus toPixelsVariant(const Lum16s* const* pSrcMCU, Lum8u* pDst, Lum32s dstStep)
{
    const LumStatus status = checkToPixels<Layout::kPlanes>(pSrcMCU, pDst, dstStep);
    if (status == lumStsNoErr) Tier::template toPixels<Layout, F>(pSrcMCU, pDst, dstStep);
    return status;
}

}  // namespace lum::mcu

// The 26 exports with their direction, layout and form: X(direction, name, layout, form).
#define LUM_MCU_EXPORTS(X)                                         \
    X(Planes, lumiRGBToYCbCr444LS_MCU_8u16s_C3P3R, Rgb, Form444)   \
    X(Planes, lumiRGBToYCbCr422LS_MCU_8u16s_C3P3R, Rgb, Form422)   \
    X(Planes, lumiRGBToYCbCr411LS_MCU_8u16s_C3P3R, Rgb, Form411)   \
    X(Planes, lumiBGRToYCbCr444LS_MCU_8u16s_C3P3R, Bgr, Form444)   \
    X(Planes, lumiBGRToYCbCr422LS_MCU_8u16s_C3P3R, Bgr, Form422)   \
    X(Planes, lumiBGRToYCbCr411LS_MCU_8u16s_C3P3R, Bgr, Form411)   \
    X(Planes, lumiCMYKToYCCK444LS_MCU_8u16s_C4P4R, Cmyk, Form444)  \
    X(Planes, lumiCMYKToYCCK422LS_MCU_8u16s_C4P4R, Cmyk, Form422)  \
    X(Planes, lumiCMYKToYCCK411LS_MCU_8u16s_C4P4R, Cmyk, Form411)  \
    X(Planes, lumiSampleDown444LS_MCU_8u16s_C3P3R, Plain, Form444) \
    X(Planes, lumiSampleDown422LS_MCU_8u16s_C3P3R, Plain, Form422) \
    X(Planes, lumiSampleDown411LS_MCU_8u16s_C3P3R, Plain, Form411) \
    X(Planes, lumiSplit422LS_MCU_8u16s_C2P3R, Packed422, Form422)  \
    X(Pixels, lumiYCbCr444ToRGBLS_MCU_16s8u_P3C3R, Rgb, Form444)   \
    X(Pixels, lumiYCbCr422ToRGBLS_MCU_16s8u_P3C3R, Rgb, Form422)   \
    X(Pixels, lumiYCbCr411ToRGBLS_MCU_16s8u_P3C3R, Rgb, Form411)   \
    X(Pixels, lumiYCbCr444ToBGRLS_MCU_16s8u_P3C3R, Bgr, Form444)   \
    X(Pixels, lumiYCbCr422ToBGRLS_MCU_16s8u_P3C3R, Bgr, Form422)   \
    X(Pixels, lumiYCbCr411ToBGRLS_MCU_16s8u_P3C3R, Bgr, Form411)   \
    X(Pixels, lumiYCCK444ToCMYKLS_MCU_16s8u_P4C4R, Cmyk, Form444)  \
    X(Pixels, lumiYCCK422ToCMYKLS_MCU_16s8u_P4C4R, Cmyk, Form422)  \
    X(Pixels, lumiYCCK411ToCMYKLS_MCU_16s8u_P4C4R, Cmyk, Form411)  \
    X(Pixels, lumiSampleUp444LS_MCU_16s8u_P3C3R, Plain, Form444)   \
    X(Pixels, lumiSampleUp422LS_MCU_16s8u_P3C3R, Plain, Form422)   \
    X(Pixels, lumiSampleUp411LS_MCU_16s8u_P3C3R, Plain, Form411)   \
    X(Pixels, lumiJoin422LS_MCU_16s8u_P3C2R, Packed422, Form422)

// Each tier file names its policy McuTier and expands LUM_MCU_EXPORTS(LUM_MCU_DEFINE_VARIANT).
#define LUM_MCU_DEFINE_VARIANT(direction, name, Layout, F) \
    LUM_MCU_VARIANT_##direction(McuTier, name, Layout, F)
#define LUM_MCU_VARIANT_Planes(Tier, name, Layout, F)                                                        \
    LumStatus name(const Lum8u* pSrc, Lum32s srcStep, Lum16s* const pDstMCU[])                               \
    {                                                                                                        \
        return ::lum::mcu::toPlanesVariant<Tier, ::lum::mcu::Layout, ::lum::mcu::F>(pSrc, srcStep, pDstMCU); \
    }
#define LUM_MCU_VARIANT_Pixels(Tier, name, Layout, F)                                                        \
    LumStatus name(const Lum16s* const pSrcMCU[], Lum8u* pDst, Lum32s dstStep)                               \
    {                                                                                                        \
        return ::lum::mcu::toPixelsVariant<Tier, ::lum::mcu::Layout, ::lum::mcu::F>(pSrcMCU, pDst, dstStep); \
    }
