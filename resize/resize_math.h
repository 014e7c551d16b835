// Scalar arithmetic of the resize modes that the row kernels and the border passes share: the linear
// Q14 blends, the four-point polynomial, the six-tap sums and the final rounding. Internal linkage,
// so that the copies compiled for different instruction sets never merge.
#pragma once

#include <lum.h>

#include <cstdint>

namespace lum::resize {

inline constexpr uint32_t kQ14 = 16384;

// Horizontal linear filter: a Q14 blend kept with 6 fractional bits.
static inline Lum16u linearHorizontal(uint32_t left, uint32_t right, uint32_t w0, uint32_t w1)
{
    return static_cast<Lum16u>((w1 * right + w0 * left + 128) >> 8);
}

// Vertical linear blend of two such values, with the one final rounding.
static inline Lum8u linearVertical(uint32_t upper, uint32_t lower, uint32_t wy)
{
    return static_cast<Lum8u>((lower * wy + upper * (kQ14 - wy) + 524288) >> 20);
}

// The border pass rounds once in Q14.
static inline Lum8u linearBorder(uint32_t a, uint32_t b, uint32_t wa, uint32_t wb)
{
    return static_cast<Lum8u>((a * wa + b * wb + 8192) >> 14);
}

// Newton's forward-difference form of the cubic through samples at -1, 0, 1, 2.
struct CubicCoefficients {
    double a;
    double b;
    double c;
};

static inline CubicCoefficients cubicCoefficients(double t)
{
    const double a = t + 1.0;
    const double b = t * a * 0.5;
    return {a, b, (t - 1.0) * b / 3.0};
}

// The vertical blend keeps c as a 32-bit float.
static inline CubicCoefficients cubicRowCoefficients(double t)
{
    CubicCoefficients k = cubicCoefficients(t);
    k.c = static_cast<Lum32f>(k.c);
    return k;
}

static inline double cubicValue(double p0, double p1, double p2, double p3, const CubicCoefficients& k)
{
    const double d1 = p1 - p0;
    const double d2 = p2 - p1 - d1;
    const double d3 = p3 - p2 - p2 + p1 - d2;
    return p0 + k.a * d1 + k.b * d2 + k.c * d3;
}

// Final step of the floating-point modes: a half rounds up, then truncation and the clamp.
static inline Lum8u roundClamp(double v)
{
    const double r = v + 0.5000001;
    if (!(r > 0.0)) return 0;
    if (r >= 255.0) return 255;
    return static_cast<Lum8u>(static_cast<int>(r));
}

// The tap of the region geometry's edge rule: floor index q, offset o, axis size n.
static inline Lum32s edgeTap(Lum32s q, Lum32s o, Lum32s n)
{
    const Lum32s c = q < -1 ? -1 : q > n - 1 ? n - 1 : q;
    const Lum32s t = c + o;
    return t < 0 ? 0 : t > n - 1 ? n - 1 : t;
}

}  // namespace lum::resize
