// Per-MCU colour conversion, sampling, split and join, portable tier: the px formulas with 16
// fractional bits and flooring shifts, one pass over the pixels.
#include "frame/dispatch.h"
#include "jpeg/arith16.h"
#include "jpeg/mcu_scalar.h"

#include <type_traits>

namespace lum::mcu {
namespace {

int32_t lumaPx(const int32_t (&c)[3]) { return ((19595 * c[0] + 38470 * c[1] + 7471 * c[2]) >> 16) - 128; }

// Chroma of the sums of n = 2^shift pixels: one shift averages and scales.
int32_t cbPx(const int32_t (&s)[3], int shift)
{
    return (-11059 * s[0] - 21709 * s[1] + 32768 * s[2]) >> (16 + shift);
}
int32_t crPx(const int32_t (&s)[3], int shift)
{
    return (32768 * s[0] - 27439 * s[1] - 5329 * s[2]) >> (16 + shift);
}

// The three components of a pixel: R, G, B for colour layouts (inks inverted), else the bytes.
template <typename Layout>
void readPixel(const Lum8u* p, int32_t (&c)[3])
{
    c[0] = p[Layout::kR];
    c[1] = p[Layout::kG];
    c[2] = p[Layout::kB];
    if constexpr (Layout::kInk)
        for (int32_t& v : c) v = 255 - v;
}

template <typename Layout>
void writePixel(Lum8u* p, const Lum8u (&c)[3])
{
    p[Layout::kR] = Layout::kInk ? static_cast<Lum8u>(255 - c[0]) : c[0];
    p[Layout::kG] = Layout::kInk ? static_cast<Lum8u>(255 - c[1]) : c[1];
    p[Layout::kB] = Layout::kInk ? static_cast<Lum8u>(255 - c[2]) : c[2];
}

void split(const Lum8u* src, Lum32s step, Lum16s* const* planes)
{
    for (int y = 0; y < 8; ++y) {
        const Lum8u* p = row(src, step, y);
        for (int x = 0; x < 16; ++x) planes[0][lumaIndex(x, y)] = static_cast<Lum16s>(p[2 * x] - 128);
        for (int c = 0; c < 8; ++c) {
            planes[1][8 * y + c] = static_cast<Lum16s>(p[4 * c + 1] - 128);
            planes[2][8 * y + c] = static_cast<Lum16s>(p[4 * c + 3] - 128);
        }
    }
}

void join(const Lum16s* const* planes, Lum8u* dst, Lum32s step)
{
    for (int y = 0; y < 8; ++y) {
        Lum8u* p = row(dst, step, y);
        for (int c = 0; c < 8; ++c) {
            p[4 * c] = sat8u(planes[0][lumaIndex(2 * c, y)] + 128);
            p[4 * c + 1] = sat8u(planes[1][8 * y + c] + 128);
            p[4 * c + 2] = sat8u(planes[0][lumaIndex(2 * c + 1, y)] + 128);
            p[4 * c + 3] = sat8u(planes[2][8 * y + c] + 128);
        }
    }
}

}  // namespace

// Cell by cell: each pixel gives its luma (and K) at once and adds to the cell's chroma sums.
template <typename Layout, typename F>
void scalarToPlanes(const Lum8u* src, Lum32s step, Lum16s* const* planes)
{
    if constexpr (std::is_same_v<Layout, Packed422>) {
        split(src, step, planes);
    } else {
        for (int cy = 0; cy < 8; ++cy) {
            for (int cx = 0; cx < 8; ++cx) {
                int32_t sum[3] = {0, 0, 0};
                for (int dy = 0; dy < F::kFy; ++dy) {
                    const int y = cy * F::kFy + dy;
                    for (int dx = 0; dx < F::kFx; ++dx) {
                        const int x = cx * F::kFx + dx;
                        const Lum8u* p = row(src, step, y) + x * Layout::kBytes;
                        int32_t c[3];
                        readPixel<Layout>(p, c);
                        const int at = lumaIndex(x, y);
                        planes[0][at] = static_cast<Lum16s>(Layout::kColour ? lumaPx(c) : c[0] - 128);
                        if constexpr (Layout::kInk) planes[3][at] = static_cast<Lum16s>(p[3] - 128);
                        for (int k = 0; k < 3; ++k) sum[k] += c[k];
                    }
                }
                const int at = 8 * cy + cx;
                if constexpr (Layout::kColour) {
                    planes[1][at] = static_cast<Lum16s>(cbPx(sum, F::kShift));
                    planes[2][at] = static_cast<Lum16s>(crPx(sum, F::kShift));
                } else {
                    planes[1][at] = static_cast<Lum16s>((sum[1] >> F::kShift) - 128);
                    planes[2][at] = static_cast<Lum16s>((sum[2] >> F::kShift) - 128);
                }
            }
        }
    }
}

// Cell by cell: the chroma terms once per cell, replicated over its pixels. The products wrap in
// 32 bits, as the formulas are stated for the whole 16-bit input range.
template <typename Layout, typename F>
void scalarToPixels(const Lum16s* const* planes, Lum8u* dst, Lum32s step)
{
    if constexpr (std::is_same_v<Layout, Packed422>) {
        join(planes, dst, step);
    } else {
        for (int cy = 0; cy < 8; ++cy) {
            for (int cx = 0; cx < 8; ++cx) {
                const int32_t cb = planes[1][8 * cy + cx];
                const int32_t cr = planes[2][8 * cy + cx];
                int32_t term[3] = {0, 0, 0};
                if constexpr (Layout::kColour) {
                    term[0] = mul32(91881, cr) >> 16;
                    term[1] = add32(mul32(-22554, cb), mul32(-46802, cr)) >> 16;
                    term[2] = mul32(116130, cb) >> 16;
                }
                for (int dy = 0; dy < F::kFy; ++dy) {
                    const int y = cy * F::kFy + dy;
                    for (int dx = 0; dx < F::kFx; ++dx) {
                        const int x = cx * F::kFx + dx;
                        Lum8u* p = row(dst, step, y) + x * Layout::kBytes;
                        const int at = lumaIndex(x, y);
                        const int32_t luma = planes[0][at];
                        if constexpr (Layout::kColour) {
                            const Lum8u c[3] = {sat8u(luma + term[0] + 128), sat8u(luma + term[1] + 128),
                                                sat8u(luma + term[2] + 128)};
                            writePixel<Layout>(p, c);
                        } else {
                            const Lum8u c[3] = {sat8u(luma + 128), sat8u(cb + 128), sat8u(cr + 128)};
                            writePixel<Layout>(p, c);
                        }
                        // K wraps to its low byte here, unclamped.
                        if constexpr (Layout::kInk) p[3] = static_cast<Lum8u>(planes[3][at] + 128);
                    }
                }
            }
        }
    }
}

#define LUM_MCU_INSTANTIATE_Planes(Layout, F) \
    template void scalarToPlanes<Layout, F>(const Lum8u*, Lum32s, Lum16s* const*);
#define LUM_MCU_INSTANTIATE_Pixels(Layout, F) \
    template void scalarToPixels<Layout, F>(const Lum16s* const*, Lum8u*, Lum32s);
#define LUM_MCU_INSTANTIATE(direction, name, Layout, F) LUM_MCU_INSTANTIATE_##direction(Layout, F)
LUM_MCU_EXPORTS(LUM_MCU_INSTANTIATE)

}  // namespace lum::mcu

namespace lum::px {
namespace {

struct McuTier {
    template <typename Layout, typename F>
    static void toPlanes(const Lum8u* src, Lum32s step, Lum16s* const* planes)
    {
        mcu::scalarToPlanes<Layout, F>(src, step, planes);
    }
    template <typename Layout, typename F>
    static void toPixels(const Lum16s* const* planes, Lum8u* dst, Lum32s step)
    {
        mcu::scalarToPixels<Layout, F>(planes, dst, step);
    }
};

}  // namespace

LUM_MCU_EXPORTS(LUM_MCU_DEFINE_VARIANT)

}  // namespace lum::px
