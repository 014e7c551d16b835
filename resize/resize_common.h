// What every tier of the resize family shares word for word: the argument checks in their order, the
// mode table and its small-image fallback, the output rectangle of the region geometry, the result
// size of the ends-to-ends geometry, and the scratch size formula. Internal linkage throughout, so
// that the copies compiled for different instruction sets never merge.
#pragma once

#include <lum.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace lum::resize {

enum Mode : Lum32s { kNearest = 1, kLinear = 2, kCubic = 4, kSuper = 8, kLanczos = 16 };

// The modes of the position-table drivers; super-sampling has a driver of its own.
static inline bool isTableMode(Lum32s mode)
{
    return mode == kNearest || mode == kLinear || mode == kCubic || mode == kLanczos;
}

// Below 8 pixels six taps do not fit, below 4 four do not, below 2 two do not. Judged on the whole
// source image, not the region.
static inline Lum32s lowerMode(Lum32s mode, LumSize src)
{
    if (src.width < 8 || src.height < 8) {
        if (mode == kLanczos) mode = kCubic;
        if (src.width < 4 || src.height < 4) {
            if (mode == kCubic) mode = kLinear;
            if (src.width < 2 || src.height < 2) mode = kNearest;
        }
    }
    return mode;
}

// Truncation towards zero, held inside the 32-bit range so that out-of-range values stay defined;
// they only ever decide that an output is empty.
template <typename Real>
static inline Lum32s truncToInt(Real v)
{
    if (!(v > -2147483648.0)) return INT32_MIN;
    if (!(v < 2147483647.0)) return INT32_MAX;
    return static_cast<Lum32s>(v);
}

// trunc() and floor() without the maths library, which C programs linking the static library do not
// bring: from 2^62 on every floating-point value is whole already.
template <typename Real>
static inline Real truncReal(Real v)
{
    constexpr Real kWhole = Real(4611686018427387904.0);
    return (v > -kWhole && v < kWhole) ? Real(static_cast<int64_t>(v)) : v;
}

template <typename Real>
static inline Real floorReal(Real v)
{
    const Real t = truncReal(v);
    return t > v ? t - Real(1) : t;
}

// The region clipped to the image: only its far edge can pass the image's.
static inline Lum32s clippedLength(Lum32s roiLength, Lum32s roiOrigin, Lum32s imageLength)
{
    return std::min(roiLength, imageLength - roiOrigin);
}

// ---- Argument checks ---------------------------------------------------------------------------

static inline LumStatus checkBufSizeArgs(LumSize dstSize, Lum32s nChannel, Lum32s interpolation,
                                         const Lum32s* pBufferSize)
{
    if (pBufferSize == nullptr) return lumStsNullPointer;
    if (dstSize.width < 1 || dstSize.height < 1) return lumStsBadSize;
    if (nChannel != 1 && nChannel != 3 && nChannel != 4) return lumStsBadChannelCount;
    if (!isTableMode(interpolation)) return lumStsBadInterpolation;
    return lumStsNoErr;
}

static inline bool badSourceSize(LumSize srcSize, LumRect srcRoi)
{
    return srcSize.width < 1 || srcSize.height < 1 || srcRoi.x < 0 || srcRoi.y < 0 || srcRoi.width < 1 ||
           srcRoi.height < 1;
}

static inline bool badFactors(double xFactor, double yFactor) { return !(xFactor > 0.0) || !(yFactor > 0.0); }

static inline bool outsideImage(LumSize srcSize, LumRect srcRoi)
{
    return srcRoi.x >= srcSize.width || srcRoi.y >= srcSize.height;
}

// lumiResizeSqrPixel_8u_C1R up to the mapped rectangle.
static inline LumStatus checkRegionArgs(const void* pSrc, LumSize srcSize, LumRect srcRoi, const void* pDst,
                                        LumRect dstRoi, double xFactor, double yFactor, Lum32s interpolation,
                                        const void* pBuffer)
{
    if (pSrc == nullptr || pDst == nullptr || pBuffer == nullptr) return lumStsNullPointer;
    if (badSourceSize(srcSize, srcRoi) || dstRoi.x < 0 || dstRoi.y < 0 || dstRoi.width < 1 ||
        dstRoi.height < 1)
        return lumStsBadSize;
    if (badFactors(xFactor, yFactor)) return lumStsBadResizeFactor;
    if (!isTableMode(interpolation)) return lumStsBadInterpolation;
    if (outsideImage(srcSize, srcRoi)) return lumStsEmptyIntersection;
    return lumStsNoErr;
}

// The drivers of lumiResize_8u_C3R up to the result size; the super-sampling driver has no mode to
// test.
static inline LumStatus checkEndsArgs(const void* pSrc, LumSize srcSize, LumRect srcRoi, const void* pDst,
                                      LumSize dstRoiSize, double xFactor, double yFactor, bool testMode,
                                      Lum32s interpolation)
{
    if (pSrc == nullptr || pDst == nullptr) return lumStsNullPointer;
    if (badSourceSize(srcSize, srcRoi)) return lumStsBadSize;
    if (outsideImage(srcSize, srcRoi)) return lumStsEmptyIntersection;
    if (dstRoiSize.width < 1 || dstRoiSize.height < 1) return lumStsBadSize;
    if (badFactors(xFactor, yFactor)) return lumStsBadResizeFactor;
    if (testMode && !isTableMode(interpolation)) return lumStsBadInterpolation;
    return lumStsNoErr;
}

// ---- Region geometry ---------------------------------------------------------------------------

// Columns x0 to x1-1 and rows y0 to y1-1 of the destination image.
struct OutputRect {
    Lum32s x0, y0, x1, y1;
    Lum32s width() const { return x1 - x0; }
    Lum32s height() const { return y1 - y0; }
};

// One axis of the mapped rectangle, in 64-bit floating point. An exact half lands on the lower pixel.
static inline void mapAxis(Lum32s roiOrigin, Lum32s roiLength, Lum32s imageLength, double factor,
                           double shift, Lum32s clipOrigin, Lum32s clipLength, Lum32s& first, Lum32s& end)
{
    const Lum32s length = clippedLength(roiLength, roiOrigin, imageLength);
    double a = roiOrigin * factor + shift;
    double b = (static_cast<double>(roiOrigin) + length) * factor + shift;
    a = std::max(a, static_cast<double>(clipOrigin));
    b = std::min(b, static_cast<double>(clipOrigin) + clipLength);
    first = truncToInt(a + 0.4999999999);
    end = truncToInt(b + 0.4999999999);
}

// False if the rectangle is inverted on either axis.
static inline bool outputRect(LumSize srcSize, LumRect srcRoi, LumRect dstRoi, double xFactor, double yFactor,
                              double xShift, double yShift, OutputRect& r)
{
    mapAxis(srcRoi.x, srcRoi.width, srcSize.width, xFactor, xShift, dstRoi.x, dstRoi.width, r.x0, r.x1);
    mapAxis(srcRoi.y, srcRoi.height, srcSize.height, yFactor, yShift, dstRoi.y, dstRoi.height, r.y0, r.y1);
    return r.x0 <= r.x1 && r.y0 <= r.y1;
}

// ---- Ends-to-ends geometry ---------------------------------------------------------------------

// Result length on one axis from the mapped length u, capped by the destination size; false when it
// is below half a pixel.
template <typename Real>
static inline bool resultLength(Real u, Lum32s cap, Lum32s& length)
{
    const Real v = u + Real(1e-07);
    if (v >= cap) {
        length = cap;
    } else if (v >= 1) {
        length = truncToInt(v);
    } else {
        if (v < Real(0.5)) return false;
        length = 1;
    }
    return true;
}

// ---- Scratch -----------------------------------------------------------------------------------

// Bytes of scratch for lumiResizeSqrPixel_8u_C1R, in wrapping signed 32-bit arithmetic.
static inline Lum32s scratchSize(LumSize dstSize, Lum32s nChannel, Lum32s interpolation)
{
    const uint32_t w = static_cast<uint32_t>(dstSize.width);
    const uint32_t h = static_cast<uint32_t>(dstSize.height);
    const uint32_t c = static_cast<uint32_t>(nChannel);
    const uint32_t aw = (w + 15) & ~15u;
    const uint32_t ah = (h + 15) & ~15u;
    uint32_t size = 15;
    switch (interpolation) {
        case kNearest:
            size += 4 * (aw + ah);
            break;
        case kLinear:
            size += 8 * (aw + ah) + 4 * c * ((2 * w + 31) & ~15u);
            break;
        case kCubic:
            size += 8 * (aw + ah) + 4 * c * ((4 * w + 63) & ~15u);
            break;
        default:
            size += 8 * (aw + ah) + 4 * (c + 1) * ((6 * w + 95) & ~15u) + 4 * ((6 * h + 95) & ~15u);
            break;
    }
    return static_cast<Lum32s>(size);
}

// Carves the caller's scratch: every piece starts at the next 16-byte boundary after the previous one.
class ScratchCarver {
public:
    explicit ScratchCarver(Lum8u* block) : next_(reinterpret_cast<uintptr_t>(block)) {}

    template <typename T>
    T* take(size_t bytes)
    {
        next_ = (next_ + 15) & ~uintptr_t{15};
        T* piece = reinterpret_cast<T*>(next_);
        next_ += bytes;
        return piece;
    }

private:
    uintptr_t next_;
};

}  // namespace lum::resize
