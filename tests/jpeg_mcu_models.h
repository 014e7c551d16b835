// Scalar models of the per-MCU exports, written from their stated formulas, and the table of the
// 26 exports with their layout, form and the rule that says which arithmetic a tier must give.
#pragma once

#include <lum.h>

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

namespace mcutest {

enum class Kind { rgb, bgr, cmyk, plain, packed };
enum class Arith { px, vector };

struct Geometry {
    int width, height, fx, fy, shift;
};

inline Geometry geometry(int form)
{
    if (form == 444) return {8, 8, 1, 1, 0};
    if (form == 422) return {16, 8, 2, 1, 1};
    return {16, 16, 2, 2, 2};
}

using PlanesFn = LumStatus (*)(const Lum8u*, Lum32s, Lum16s* const*);
using PixelsFn = LumStatus (*)(const Lum16s* const*, Lum8u*, Lum32s);

struct Export {
    const char* name;
    Kind kind;
    int form;
    PlanesFn toPlanes;  // exactly one of the two is set
    PixelsFn toPixels;
};

inline const std::vector<Export>& allExports()
{
    static const std::vector<Export> table = {
        {"RGBToYCbCr444", Kind::rgb, 444, lumiRGBToYCbCr444LS_MCU_8u16s_C3P3R, nullptr},
        {"RGBToYCbCr422", Kind::rgb, 422, lumiRGBToYCbCr422LS_MCU_8u16s_C3P3R, nullptr},
        {"RGBToYCbCr411", Kind::rgb, 411, lumiRGBToYCbCr411LS_MCU_8u16s_C3P3R, nullptr},
        {"BGRToYCbCr444", Kind::bgr, 444, lumiBGRToYCbCr444LS_MCU_8u16s_C3P3R, nullptr},
        {"BGRToYCbCr422", Kind::bgr, 422, lumiBGRToYCbCr422LS_MCU_8u16s_C3P3R, nullptr},
        {"BGRToYCbCr411", Kind::bgr, 411, lumiBGRToYCbCr411LS_MCU_8u16s_C3P3R, nullptr},
        {"CMYKToYCCK444", Kind::cmyk, 444, lumiCMYKToYCCK444LS_MCU_8u16s_C4P4R, nullptr},
        {"CMYKToYCCK422", Kind::cmyk, 422, lumiCMYKToYCCK422LS_MCU_8u16s_C4P4R, nullptr},
        {"CMYKToYCCK411", Kind::cmyk, 411, lumiCMYKToYCCK411LS_MCU_8u16s_C4P4R, nullptr},
        {"SampleDown444", Kind::plain, 444, lumiSampleDown444LS_MCU_8u16s_C3P3R, nullptr},
        {"SampleDown422", Kind::plain, 422, lumiSampleDown422LS_MCU_8u16s_C3P3R, nullptr},
        {"SampleDown411", Kind::plain, 411, lumiSampleDown411LS_MCU_8u16s_C3P3R, nullptr},
        {"Split422", Kind::packed, 422, lumiSplit422LS_MCU_8u16s_C2P3R, nullptr},
        {"YCbCr444ToRGB", Kind::rgb, 444, nullptr, lumiYCbCr444ToRGBLS_MCU_16s8u_P3C3R},
        {"YCbCr422ToRGB", Kind::rgb, 422, nullptr, lumiYCbCr422ToRGBLS_MCU_16s8u_P3C3R},
        {"YCbCr411ToRGB", Kind::rgb, 411, nullptr, lumiYCbCr411ToRGBLS_MCU_16s8u_P3C3R},
        {"YCbCr444ToBGR", Kind::bgr, 444, nullptr, lumiYCbCr444ToBGRLS_MCU_16s8u_P3C3R},
        {"YCbCr422ToBGR", Kind::bgr, 422, nullptr, lumiYCbCr422ToBGRLS_MCU_16s8u_P3C3R},
        {"YCbCr411ToBGR", Kind::bgr, 411, nullptr, lumiYCbCr411ToBGRLS_MCU_16s8u_P3C3R},
        {"YCCK444ToCMYK", Kind::cmyk, 444, nullptr, lumiYCCK444ToCMYKLS_MCU_16s8u_P4C4R},
        {"YCCK422ToCMYK", Kind::cmyk, 422, nullptr, lumiYCCK422ToCMYKLS_MCU_16s8u_P4C4R},
        {"YCCK411ToCMYK", Kind::cmyk, 411, nullptr, lumiYCCK411ToCMYKLS_MCU_16s8u_P4C4R},
        {"SampleUp444", Kind::plain, 444, nullptr, lumiSampleUp444LS_MCU_16s8u_P3C3R},
        {"SampleUp422", Kind::plain, 422, nullptr, lumiSampleUp422LS_MCU_16s8u_P3C3R},
        {"SampleUp411", Kind::plain, 411, nullptr, lumiSampleUp411LS_MCU_16s8u_P3C3R},
        {"Join422", Kind::packed, 422, nullptr, lumiJoin422LS_MCU_16s8u_P3C2R},
    };
    return table;
}

inline int bytesPerPixel(Kind k) { return k == Kind::cmyk ? 4 : (k == Kind::packed ? 2 : 3); }
inline int planeCount(Kind k) { return k == Kind::cmyk ? 4 : 3; }
inline int rowBytes(const Export& e) { return geometry(e.form).width * bytesPerPixel(e.kind); }
// Elements of plane k: luma and K have one per pixel, chroma one block.
inline int planeSize(const Export& e, int k)
{
    const Geometry g = geometry(e.form);
    return k == 1 || k == 2 ? 64 : g.width * g.height;
}
inline int lumaAt(int x, int y) { return 64 * (x / 8 + 2 * (y / 8)) + 8 * (y % 8) + x % 8; }

// The arithmetic that a tier owes for a call, from the planes' addresses: w7 gives px results when
// a plane that its kernel accesses aligned is off a 16-byte boundary.
inline Arith expectedArith(int slot, const Export& e, const void* const* planes)
{
    if (slot == 0) return Arith::px;
    if (slot != 2 || e.kind == Kind::plain || e.kind == Kind::packed) return Arith::vector;
    const auto aligned = [&](int k) { return reinterpret_cast<uintptr_t>(planes[k]) % 16 == 0; };
    bool vectorPath;
    if (e.toPixels != nullptr) {
        vectorPath = true;
        for (int k = 0; k < planeCount(e.kind); ++k) vectorPath = vectorPath && aligned(k);
    } else if (e.kind == Kind::cmyk) {
        vectorPath = aligned(0) && aligned(3) && (e.form != 444 || (aligned(1) && aligned(2)));
    } else {
        vectorPath = e.form != 411 || aligned(0);
    }
    return vectorPath ? Arith::vector : Arith::px;
}

// a6 and t7 keep the low byte of the third component in SampleUp 4:2:2 and 4:1:1.
inline bool wrapsThird(int slot, const Export& e)
{
    return (slot == 1 || slot == 3) && e.kind == Kind::plain && e.toPixels != nullptr && e.form != 444;
}

struct Planes {
    std::vector<int16_t> p[4];
};

inline int32_t wrap32(int64_t v)
{
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(v)));
}
inline int32_t clampTo(int32_t v, int32_t lo, int32_t hi) { return v < lo ? lo : (v > hi ? hi : v); }
inline uint8_t clamp8(int32_t v) { return static_cast<uint8_t>(clampTo(v, 0, 255)); }
inline int16_t wrapTo16(int32_t v)
{
    return static_cast<int16_t>(static_cast<uint16_t>(static_cast<uint32_t>(v)));
}

// R, G, B of a pixel in memory (inks inverted); for the plain layout, its three bytes.
inline void colourOf(Kind kind, const uint8_t* p, int32_t (&c)[3])
{
    if (kind == Kind::bgr) {
        c[0] = p[2], c[1] = p[1], c[2] = p[0];
    } else if (kind == Kind::cmyk) {
        c[0] = 255 - p[0], c[1] = 255 - p[1], c[2] = 255 - p[2];
    } else {
        c[0] = p[0], c[1] = p[1], c[2] = p[2];
    }
}

inline Planes modelToPlanes(const Export& e, Arith arith, const uint8_t* src, ptrdiff_t step)
{
    const Geometry g = geometry(e.form);
    const int bpp = bytesPerPixel(e.kind);
    Planes out;
    for (int k = 0; k < planeCount(e.kind); ++k) out.p[k].assign(planeSize(e, k), 0);
    if (e.kind == Kind::packed) {
        for (int y = 0; y < 8; ++y)
            for (int b = 0; b < 32; ++b) {
                const int v = src[y * step + b] - 128;
                if (b % 2 == 0)
                    out.p[0][lumaAt(b / 2, y)] = static_cast<int16_t>(v);
                else
                    out.p[b % 4 == 1 ? 1 : 2][8 * y + b / 4] = static_cast<int16_t>(v);
            }
        return out;
    }
    for (int y = 0; y < g.height; ++y)
        for (int x = 0; x < g.width; ++x) {
            const uint8_t* p = src + y * step + x * bpp;
            int32_t c[3];
            colourOf(e.kind, p, c);
            int32_t luma;
            if (e.kind == Kind::plain)
                luma = c[0] - 128;
            else if (arith == Arith::px)
                luma = ((19595 * c[0] + 38470 * c[1] + 7471 * c[2]) >> 16) - 128;
            else
                luma = (4899 * c[0] + 9617 * c[1] + 1868 * c[2] - 2088960) >> 14;
            out.p[0][lumaAt(x, y)] = static_cast<int16_t>(luma);
            if (e.kind == Kind::cmyk) out.p[3][lumaAt(x, y)] = static_cast<int16_t>(p[3] - 128);
        }
    for (int cy = 0; cy < 8; ++cy)
        for (int cx = 0; cx < 8; ++cx) {
            int32_t s[3] = {0, 0, 0};
            for (int dy = 0; dy < g.fy; ++dy)
                for (int dx = 0; dx < g.fx; ++dx) {
                    int32_t c[3];
                    colourOf(e.kind, src + (cy * g.fy + dy) * step + (cx * g.fx + dx) * bpp, c);
                    for (int k = 0; k < 3; ++k) s[k] += c[k];
                }
            int32_t cb, cr;
            const int n = g.shift;
            if (e.kind == Kind::plain) {
                cb = (s[1] >> n) - 128;
                cr = (s[2] >> n) - 128;
            } else if (arith == Arith::px) {
                cb = (-11059 * s[0] - 21709 * s[1] + 32768 * s[2]) >> (16 + n);
                cr = (32768 * s[0] - 27439 * s[1] - 5329 * s[2]) >> (16 + n);
            } else {
                cb = (-2764 * s[0] - 5428 * s[1] + 8192 * s[2] + (8192 << n)) >> (14 + n);
                cr = (8192 * s[0] - 6860 * s[1] - 1332 * s[2] + (8192 << n)) >> (14 + n);
            }
            out.p[1][8 * cy + cx] = static_cast<int16_t>(cb);
            out.p[2][8 * cy + cx] = static_cast<int16_t>(cr);
        }
    return out;
}

// The MCU's pixel bytes, rows packed without gaps.
inline std::vector<uint8_t> modelToPixels(const Export& e, Arith arith, bool wrapThird, const Planes& in)
{
    const Geometry g = geometry(e.form);
    const int bpp = bytesPerPixel(e.kind);
    const int rb = rowBytes(e);
    std::vector<uint8_t> out(static_cast<size_t>(rb) * g.height);
    if (e.kind == Kind::packed) {
        for (int y = 0; y < 8; ++y)
            for (int b = 0; b < 32; ++b) {
                const int v =
                    b % 2 == 0 ? in.p[0][lumaAt(b / 2, y)] : in.p[b % 4 == 1 ? 1 : 2][8 * y + b / 4];
                out[y * rb + b] = clamp8(v + 128);
            }
        return out;
    }
    for (int y = 0; y < g.height; ++y)
        for (int x = 0; x < g.width; ++x) {
            const int32_t Y = in.p[0][lumaAt(x, y)];
            const int ci = 8 * (y / g.fy) + x / g.fx;
            const int32_t cb = in.p[1][ci], cr = in.p[2][ci];
            uint8_t* p = &out[y * rb + x * bpp];
            if (e.kind == Kind::plain) {
                p[0] = clamp8(Y + 128);
                p[1] = clamp8(cb + 128);
                p[2] = wrapThird ? static_cast<uint8_t>(cr + 128) : clamp8(cr + 128);
                continue;
            }
            int32_t rgb[3];
            if (arith == Arith::px) {
                rgb[0] = clamp8(Y + (wrap32(int64_t{91881} * cr) >> 16) + 128);
                rgb[1] = clamp8(Y + (wrap32(int64_t{-22554} * cb - int64_t{46802} * cr) >> 16) + 128);
                rgb[2] = clamp8(Y + (wrap32(int64_t{116130} * cb) >> 16) + 128);
            } else {
                const int32_t tr = clampTo((11485 * cr + 1052672) >> 13, -32768, 32767);
                const int32_t tg = clampTo((5638 * cb + 11700 * cr - 2088960) >> 14, -32768, 32767);
                const int32_t tb = clampTo((14516 * cb + 1052672) >> 13, -32768, 32767);
                rgb[0] = clamp8(wrapTo16(Y + tr));
                rgb[1] = clamp8(wrapTo16(Y - tg));
                rgb[2] = clamp8(wrapTo16(Y + tb));
            }
            if (e.kind == Kind::bgr) {
                p[0] = static_cast<uint8_t>(rgb[2]), p[1] = static_cast<uint8_t>(rgb[1]),
                p[2] = static_cast<uint8_t>(rgb[0]);
            } else if (e.kind == Kind::cmyk) {
                for (int k = 0; k < 3; ++k) p[k] = static_cast<uint8_t>(255 - rgb[k]);
                const int32_t kv = in.p[3][lumaAt(x, y)] + 128;
                p[3] = arith == Arith::px ? static_cast<uint8_t>(kv) : clamp8(kv);
            } else {
                for (int k = 0; k < 3; ++k) p[k] = static_cast<uint8_t>(rgb[k]);
            }
        }
    return out;
}

// `rows` rows of `width` bytes, each ending directly before a PROT_NONE page, `step` bytes apart.
class StripedRows {
public:
    StripedRows(int rows, int width) : page_(static_cast<size_t>(sysconf(_SC_PAGESIZE))), rows_(rows)
    {
        size_ = 2 * page_ * rows;
        void* m = mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (m == MAP_FAILED) throw std::bad_alloc();
        map_ = static_cast<uint8_t*>(m);
        for (int r = 0; r < rows; ++r) mprotect(map_ + (2 * r + 1) * page_, page_, PROT_NONE);
        first_ = map_ + page_ - width;
    }
    ~StripedRows() { munmap(map_, size_); }
    StripedRows(const StripedRows&) = delete;
    StripedRows& operator=(const StripedRows&) = delete;

    uint8_t* data() { return first_; }
    Lum32s step() const { return static_cast<Lum32s>(2 * page_); }

private:
    size_t page_;
    int rows_;
    size_t size_;
    uint8_t* map_;
    uint8_t* first_;
};

}  // namespace mcutest
