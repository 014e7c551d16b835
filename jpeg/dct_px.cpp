// 8x8 DCT, portable tier: the plain algorithm in wrapping 32-bit integer arithmetic, rows then columns
// forward, columns then rows inverse, each pass unrolled over its eight lines.
#include "frame/dispatch.h"
#include "jpeg/arith16.h"
#include "jpeg/dct_block.h"

#include <cstdint>
#include <utility>

namespace lum {
namespace {

// 32-bit two's complement that wraps silently, as the formulas want, without the undefined
// behaviour of signed overflow. >> is arithmetic.
struct Wrap32 {
    uint32_t bits;
    Wrap32(int32_t v) : bits(static_cast<uint32_t>(v)) {}
    int32_t value() const { return static_cast<int32_t>(bits); }
};

Wrap32 operator+(Wrap32 a, Wrap32 b) { return static_cast<int32_t>(a.bits + b.bits); }
Wrap32 operator-(Wrap32 a, Wrap32 b) { return static_cast<int32_t>(a.bits - b.bits); }
Wrap32 operator*(Wrap32 a, Wrap32 b) { return static_cast<int32_t>(a.bits * b.bits); }
Wrap32 operator<<(Wrap32 a, int n) { return static_cast<int32_t>(a.bits << n); }
Wrap32 operator>>(Wrap32 a, int n) { return a.value() >> n; }

// (v + half) >> shift, cut to 16 bits.
template <int Shift>
Lum16s descale(Wrap32 v)
{
    return wrap16(((v + (1 << (Shift - 1))) >> Shift).value());
}

// A line of the caller's block, at any address: eight elements from `start`, `stride` apart. Every
// butterfly reads its whole line before it writes, so the passes run in place.
struct Line {
    Lum16s* b;
    int start;
    int stride;
    Wrap32 operator[](int i) const { return loadElement<Lum16s>(b, start + i * stride); }
    void set(int i, Lum16s v) const { storeElement<Lum16s>(b, start + i * stride, v); }
};

// Forward butterfly. The first pass keeps three more bits than the second takes away.
template <bool FirstPass>
void forwardLine(Line x)
{
    const Wrap32 s07 = x[0] + x[7], s16 = x[1] + x[6], s25 = x[2] + x[5], s34 = x[3] + x[4];
    const Wrap32 d07 = x[0] - x[7], d16 = x[1] - x[6], d25 = x[2] - x[5], d34 = x[3] - x[4];
    const Wrap32 a = s07 + s34, c = s07 - s34, b = s16 + s25, d = s16 - s25;
    const Wrap32 t = (c + d) * 17734;
    const Wrap32 out2 = t + c * 25080, out6 = t - d * 60547;
    const Wrap32 u = (d16 + d25) * 8, v = (d16 - d25) * 8;
    const Wrap32 p = (d34 * 46341 + 2048) >> 12, q = (d07 * 46341 + 2048) >> 12;
    const Wrap32 A = q + u, B = q - u, C = p + v, D = p - v;
    const Wrap32 w = (A + C) * 799, z = (B + D) * 3406;
    const Wrap32 out1 = w + A * 3218, out7 = w - C * 4816, out3 = z - D * 5681, out5 = z - B * 1130;

    constexpr int kShift = FirstPass ? 12 : 21;
    if constexpr (FirstPass) {
        x.set(0, wrap16(((a + b) * 8).value()));
        x.set(4, wrap16(((a - b) * 8).value()));
    } else {
        x.set(0, descale<6>(a + b));
        x.set(4, descale<6>(a - b));
    }
    x.set(1, descale<kShift>(out1));
    x.set(2, descale<kShift>(out2));
    x.set(3, descale<kShift>(out3));
    x.set(5, descale<kShift>(out5));
    x.set(6, descale<kShift>(out6));
    x.set(7, descale<kShift>(out7));
}

// Inverse butterfly; the passes differ only in the final shift.
template <bool FirstPass>
void inverseLine(Line x)
{
    Wrap32 t = (x[5] + x[3]) * 27246;
    const Wrap32 p5 = t - x[5] * 9041, p3 = t - x[3] * 45451;
    t = (x[1] + x[7]) * 6393;
    const Wrap32 p1 = t + x[1] * 25746, p7 = t - x[7] * 38531;
    const Wrap32 e = p1 - p5, f = p7 - p3, m = e + f, n = e - f;
    const Wrap32 g = ((p5 + p1 + 2048) >> 12) * 5793, h = ((p3 + p7 + 2048) >> 12) * 5793;
    t = (x[2] + x[6]) * 17734;
    const Wrap32 q2 = t + x[2] * 25080, q6 = t - x[6] * 60547;
    const Wrap32 E = (x[0] + x[4]) << 15, F = (x[0] - x[4]) << 15;
    const Wrap32 A = E + q2, B = E - q2, C = F + q6, D = F - q6;

    constexpr int kShift = FirstPass ? 12 : 21;
    const Wrap32 out[8] = {A + g, C + m, D + n, B + h, B - h, D - n, C - m, A - g};
    for (int i = 0; i < 8; ++i) x.set(i, descale<kShift>(out[i]));
}

// Rows are lines with stride 1, columns lines with stride 8; every pass is straight-line code.
template <void (*Butterfly)(Line), bool Rows, size_t... L>
void pass(Lum16s* b, std::index_sequence<L...>)
{
    (Butterfly(Rows ? Line{b, 8 * static_cast<int>(L), 1} : Line{b, static_cast<int>(L), 8}), ...);
}

template <void (*First)(Line), bool FirstRows, void (*Second)(Line)>
LumStatus transform(Lum16s* pSrcDst)
{
    const LumStatus status = checkBlockPointers(pSrcDst);
    if (status != lumStsNoErr) return status;
    pass<First, FirstRows>(pSrcDst, std::make_index_sequence<8>{});
    pass<Second, !FirstRows>(pSrcDst, std::make_index_sequence<8>{});
    return lumStsNoErr;
}

}  // namespace

namespace px {

LumStatus lumiDCT8x8Fwd_16s_C1I(Lum16s* pSrcDst)
{
    return transform<forwardLine<true>, true, forwardLine<false>>(pSrcDst);
}

LumStatus lumiDCT8x8Inv_16s_C1I(Lum16s* pSrcDst)
{
    return transform<inverseLine<true>, false, inverseLine<false>>(pSrcDst);
}

}  // namespace px
}  // namespace lum
