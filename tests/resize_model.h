// A scalar model of both resize geometries and of every mode, written for the tests from the rules of
// the resize family and independent of the library's code. It evaluates each destination pixel by
// itself, with no row buffers: the one place where the buffers show (the first-row rule of linear
// mode) is modelled as the rule it produces. Real is the width of a tier's position arithmetic.
#pragma once

#include <lum.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace rmodel {

// An 8-bit interleaved image in a byte vector, addressed like the library addresses it.
struct Image {
    std::vector<uint8_t> bytes;
    int64_t origin = 0;  // byte index of sample (0,0)
    int width = 0;
    int height = 0;
    int step = 0;  // bytes between rows, may be negative
    int channels = 1;

    uint8_t at(int64_t row, int64_t col, int c = 0) const
    {
        return bytes[size_t(origin + row * step + col * channels + c)];
    }
    const uint8_t* base() const { return bytes.data() + origin; }
    uint8_t* base() { return bytes.data() + origin; }
    uint8_t& ref(int64_t row, int64_t col, int c = 0)
    {
        return bytes[size_t(origin + row * step + col * channels + c)];
    }
};

inline int lowered(int mode, int w, int h)
{
    if (w < 8 || h < 8) {
        if (mode == 16) mode = 4;
        if (w < 4 || h < 4) {
            if (mode == 4) mode = 2;
            if (w < 2 || h < 2) mode = 1;
        }
    }
    return mode;
}

inline uint8_t finish(double v)
{
    const double r = std::trunc(v + 0.5000001);
    return uint8_t(std::clamp(r, 0.0, 255.0));
}

inline double cubic(double p0, double p1, double p2, double p3, double t, bool floatC)
{
    const double a = t + 1, b = t * a * 0.5;
    double c = (t - 1) * b / 3;
    if (floatC) c = float(c);
    const double d1 = p1 - p0, d2 = p2 - p1 - d1, d3 = p3 - p2 - p2 + p1 - d2;
    return p0 + a * d1 + b * d2 + c * d3;
}

inline double window(double x)
{
    if (x == 0) return 1;
    const double pi = 3.14159265358979323846;
    return std::sin(pi * x) / (pi * x) * std::sin(pi * x / 3) / (pi * x / 3);
}

// Six coefficients for a fraction, in double with the window evaluated directly (the library reads a
// table of 301 points; the tests allow one level for the difference).
inline std::vector<double> lanczosCoefficients(float f)
{
    std::vector<double> w(6);
    double sum = 0;
    for (int k = 0; k < 6; ++k) {
        const double t = -2.0 - double(f) + k;
        w[k] = (t > -3 && t < 3) ? window(std::fabs(t)) : 0.0;
        sum += w[k];
    }
    for (double& x : w) x /= sum;
    return w;
}

inline int clampTap(int q, int o, int n) { return std::clamp(std::clamp(q, -1, n - 1) + o, 0, n - 1); }

template <typename Real>
int truncInt(Real v)
{
    return int(std::trunc(v));
}

// ---- Region geometry -----------------------------------------------------------------------------

struct RegionCall {
    int srcWidth, srcHeight;
    LumRect srcRoi;
    LumRect dstRoi;
    double xFactor, yFactor, xShift, yShift;
    int mode;
};

struct RegionAxisModel {
    std::vector<int> index;       // nearest index, or floor index
    std::vector<long double> p;   // positions (modes 2, 4, 16), kept for the classes
    std::vector<int> weight;      // linear Q14 weight
    std::vector<float> fraction;  // cubic, Lanczos
    int start = 0, end = 0;       // border counts
};

// Output rectangle; false when inverted.
inline bool regionRect(const RegionCall& c, int& x0, int& y0, int& x1, int& y1)
{
    auto axis = [](int o, int len, int n, double f, double s, int co, int cl, int& a0, int& a1) {
        const int rl = std::min(len, n - o);
        double a = o * f + s, b = (double(o) + rl) * f + s;
        a = std::max(a, double(co));
        b = std::min(b, double(co) + cl);
        a0 = int(std::trunc(a + 0.4999999999));
        a1 = int(std::trunc(b + 0.4999999999));
    };
    axis(c.srcRoi.x, c.srcRoi.width, c.srcWidth, c.xFactor, c.xShift, c.dstRoi.x, c.dstRoi.width, x0, x1);
    axis(c.srcRoi.y, c.srcRoi.height, c.srcHeight, c.yFactor, c.yShift, c.dstRoi.y, c.dstRoi.height, y0, y1);
    return x0 <= x1 && y0 <= y1;
}

template <typename Real>
RegionAxisModel regionAxis(int mode, double factor, double shift, int first, int count, int n)
{
    RegionAxisModel m;
    const Real inv = Real(1.0) / Real(factor);
    const Real s = -Real(shift) / Real(factor);
    for (int e = 0; e < count; ++e) {
        const Real k = Real(first + e);
        if (mode == 1) {
            m.index.push_back(truncInt<Real>((k + Real(0.5)) * inv + (s + Real(1e-10))));
            continue;
        }
        const Real p = (k + Real(0.5)) * inv - Real(0.5) + s;
        const Real q = std::floor(p);
        const Real f = p - q;
        m.index.push_back(int(q));
        m.p.push_back(p);
        m.weight.push_back(truncInt<Real>(f * Real(16384.0) + Real(1e-07)));
        float fr = float(f);
        if (mode == 4 && f == 0 && int(q) == n - 1) fr = 1.0f;
        m.fraction.push_back(fr);
        if (mode == 2) {
            m.start += p < 0;
            m.end += p > n - 1;
        } else if (mode == 4) {
            m.start += p < 1;
            m.end += p > n - 2;
        } else {
            m.start += p < 2;
            m.end += p >= n - 3;
        }
    }
    return m;
}

// Writes the output rectangle of one call into `dst` (which holds the destination image as it was).
// Returns the status the call should give.
template <typename Real>
LumStatus regionModel(const RegionCall& c, const Image& src, Image& dst)
{
    int x0, y0, x1, y1;
    if (!regionRect(c, x0, y0, x1, y1)) return lumStsNoOperation;
    const int W = x1 - x0, H = y1 - y0;
    if (W == 0 || H == 0) return lumStsNoErr;
    const int mode = lowered(c.mode, c.srcWidth, c.srcHeight);
    const int n = c.srcWidth, m = c.srcHeight;
    const RegionAxisModel ys = regionAxis<Real>(mode, c.yFactor, c.yShift, y0, H, m);
    const RegionAxisModel xs = regionAxis<Real>(mode, c.xFactor, c.xShift, x0, W, n);
    std::vector<std::vector<double>> cx, cy;
    if (mode == 16) {
        for (float f : xs.fraction) cx.push_back(lanczosCoefficients(f));
        for (float f : ys.fraction) cy.push_back(lanczosCoefficients(f));
    }
    const int T = ys.start, B = ys.end, L = xs.start, R = xs.end;
    // The first interior row's upper buffer holds image row 0, and keeps it while the row index stays.
    const int firstInteriorRow = T < H - B ? ys.index[T] : 0;
    auto hLinear = [&](int row, int j) {
        const int x = xs.index[j], w = xs.weight[j];
        return ((16384u - w) * src.at(row, x) + uint32_t(w) * src.at(row, x + 1) + 128) >> 8;
    };
    for (int i = 0; i < H; ++i)
        for (int j = 0; j < W; ++j) {
            uint8_t v = 0;
            const bool border = i < T || i >= H - B || j < L || j >= W - R;
            if (mode == 1) {
                v = src.at(ys.index[i], xs.index[j]);
            } else if (mode == 2 && border) {
                const int w = xs.weight[j], wy = ys.weight[i];
                auto row = [&](int r) {
                    const int x = xs.index[j];
                    const int a = x < 0 ? 0 : x > n - 2 ? n - 1 : x;
                    const int b = x < 0 ? 0 : x > n - 2 ? n - 1 : x + 1;
                    return uint8_t((src.at(r, a) * (16384u - w) + src.at(r, b) * uint32_t(w) + 8192) >> 14);
                };
                if (i < T) {
                    v = row(0);
                } else if (i >= H - B) {
                    v = row(m - 1);
                } else {
                    const int col = j < L ? 0 : n - 1, q = ys.index[i];
                    v = uint8_t((src.at(q, col) * (16384u - wy) + src.at(q + 1, col) * uint32_t(wy) + 8192) >>
                                14);
                }
            } else if (mode == 2) {
                const int q = ys.index[i], wy = ys.weight[i];
                const uint32_t upper = hLinear(q == firstInteriorRow ? 0 : q, j), lower = hLinear(q + 1, j);
                v = uint8_t((lower * wy + upper * (16384u - wy) + 524288) >> 20);
            } else if (mode == 4) {
                const int qx = xs.index[j], qy = ys.index[i];
                double h[4];
                for (int k = 0; k < 4; ++k) {
                    const int r = border ? clampTap(qy, k - 1, m) : qy + k - 1;
                    auto col = [&](int o) { return src.at(r, border ? clampTap(qx, o, n) : qx + o); };
                    h[k] = float(cubic(col(-1), col(0), col(1), col(2), xs.fraction[j], false));
                }
                v = finish(cubic(h[0], h[1], h[2], h[3], ys.fraction[i], true));
            } else {
                const int qx = xs.index[j], qy = ys.index[i];
                double sum = 0;
                for (int k = 0; k < 6; ++k) {
                    const int r = border ? clampTap(qy, k - 2, m) : qy + k - 2;
                    double hs = 0;
                    for (int o = 0; o < 6; ++o)
                        hs += cx[j][o] * src.at(r, border ? clampTap(qx, o - 2, n) : qx + o - 2);
                    sum += cy[i][k] * float(hs);
                }
                v = finish(sum);
            }
            dst.ref(y0 + i, x0 + j) = v;
        }
    return lumStsNoErr;
}

// ---- Ends-to-ends geometry -----------------------------------------------------------------------

struct EndsCall {
    int srcWidth, srcHeight;
    LumRect srcRoi;
    LumSize dstRoiSize;
    double xFactor, yFactor;
    int mode;
};

template <typename Real>
bool endsLength(Real u, int cap, int& len)
{
    const Real v = u + Real(1e-07);
    const int t = v >= Real(cap) ? cap : int(std::trunc(v));
    if (t >= 1) {
        len = t;
        return true;
    }
    if (v < Real(0.5)) return false;
    len = 1;
    return true;
}

struct EndsAxisModel {
    std::vector<int> index;  // relative to the region
    std::vector<int> weight;
    std::vector<float> fraction;
};

template <typename Real>
EndsAxisModel endsAxis(int mode, int rl, double factor, int count, int n, int origin)
{
    EndsAxisModel a;
    const Real u = Real(rl) * Real(factor);
    Real step, p;
    if (mode == 1) {
        step = Real(1.0) / Real(factor);
        p = step * Real(0.5);
    } else {
        step = u <= 1 ? Real(0) : Real(rl - 1) / (u - Real(1.0));
        p = 0;
    }
    for (int e = 0; e < count; ++e, p += step) {
        const Real qt = std::trunc(p + Real(1e-07));
        int q = int(qt);
        const Real f = p - qt;
        int w = 0;
        float fr = float(f);
        if (mode == 2) {
            if (origin + q == n - 1) {
                q -= 1;
                w = 16384;
            } else {
                w = truncInt<Real>(f * Real(16384.0) + Real(1e-07));
            }
        } else if (mode == 4) {
            const int abs = origin + q;
            if (abs == n - 1) {
                q -= 2;
                fr = 2.0f;
            } else {
                if (abs == 0) q += 1;
                if (abs == n - 2) q -= 1;
                fr = float(p - Real(q));
            }
        }
        a.index.push_back(q);
        a.weight.push_back(w);
        a.fraction.push_back(fr);
    }
    return a;
}

// Super-sampling, step by step as the rule goes, with the accumulator kept as the library keeps it.
// Its inverse factors and progress values are 64-bit floats in every tier.
inline void superModel(const EndsCall& c, const Image& src, int W, int H, Image& dst)
{
    using Real = double;
    const int rw = std::min(c.srcRoi.width, c.srcWidth - c.srcRoi.x);
    const Real ix = Real(1.0) / Real(c.xFactor), iy = Real(1.0) / Real(c.yFactor);
    const double scale = c.xFactor * c.yFactor;
    const int cols = std::min(int(std::trunc(Real(W + 1) * ix)) + 1, rw);
    const bool wx = ix == std::trunc(ix), wy = iy == std::trunc(iy);
    const int nx = int(std::floor(ix)), ny = int(std::floor(iy));
    int cursor = 0;  // region row
    Real fracY = 0;
    std::vector<double> acc;  // holds integers or floats exactly as the library's sums
    auto sample = [&](int row, int col, int ch) { return src.at(c.srcRoi.y + row, c.srcRoi.x + col, ch); };
    for (int i = 0; i < H; ++i) {
        // Pixels past the summed columns read as zero, and so do rows past the image's end.
        std::vector<float> fa(size_t(std::max(cols, nx) + 1) * 3, 0.0f);
        std::vector<uint32_t> ia(fa.size(), 0);
        auto addRow = [&](float w, bool scaled) {
            if (c.srcRoi.y + cursor >= c.srcHeight) return;
            for (int e = 0; e < cols * 3; ++e) {
                const uint8_t s = sample(cursor, e / 3, e % 3);
                ia[e] += s;
                fa[e] += scaled ? float(s) * w : float(s);
            }
        };
        if (wy) {
            for (int r = 0; r < ny; ++r, ++cursor) addRow(1, false);
        } else if (i == 0) {
            fracY = iy - Real(ny);
            for (int r = 0; r < ny; ++r, ++cursor) addRow(1, false);
            addRow(float(fracY), true);
        } else {
            const Real rem = 1 - fracY;
            const Real n = std::floor(Real(1e-07) + (iy - rem));
            fracY = (iy - rem) - n;
            if (rem > Real(1e-07)) {
                addRow(float(rem), true);
                ++cursor;
            }
            for (int r = 0; r < int(n); ++r, ++cursor) addRow(1, false);
            if (fracY > Real(1e-07)) addRow(float(fracY), true);
        }
        const bool integer = wx && wy;
        if (wx) {
            for (int g = 0; g * nx <= cols - nx; ++g)
                for (int ch = 0; ch < 3; ++ch) {
                    uint32_t si = 0;
                    float sf = 0;
                    for (int k = 0; k < nx; ++k) {
                        si += ia[(g * nx + k) * 3 + ch];
                        sf += fa[(g * nx + k) * 3 + ch];
                    }
                    ia[g * 3 + ch] = si;
                    fa[g * 3 + ch] = sf;
                }
        } else {
            for (int ch = 0; ch < 3; ++ch) {
                Real fracX = ix - Real(nx);
                float a = 0;
                for (int k = 0; k < nx; ++k) a += fa[k * 3 + ch];
                fa[ch] = a + fa[nx * 3 + ch] * float(fracX);
                int idx = nx, d = 1;
                while (idx < cols - nx) {
                    const Real rem = 1 - fracX;
                    const Real n = std::floor(Real(1e-07) + (ix - rem));
                    fracX = (ix - rem) - n;
                    float s = 0;
                    int k = 0;
                    if (rem > Real(1e-07)) {
                        s = fa[idx * 3 + ch] * float(rem);
                        k = 1;
                    }
                    for (; k <= int(n); ++k) s += fa[(idx + k) * 3 + ch];
                    idx += k;
                    if (fracX > Real(1e-07)) s += fa[idx * 3 + ch] * float(fracX);
                    fa[d * 3 + ch] = s;
                    ++d;
                }
            }
        }
        for (int j = 0; j < W; ++j)
            for (int ch = 0; ch < 3; ++ch) {
                const double sum = integer ? double(ia[j * 3 + ch]) : double(fa[j * 3 + ch]);
                dst.ref(i, j, ch) = uint8_t(int(std::trunc(sum * scale + 0.5)));
            }
    }
}

// lumiResize_8u_C3R into `dst` (its sample (0,0) is the call's pDst). Returns the status it should give
// for a valid call.
template <typename Real>
LumStatus endsModel(const EndsCall& c, const Image& src, Image& dst)
{
    const int rw = std::min(c.srcRoi.width, c.srcWidth - c.srcRoi.x);
    const int rh = std::min(c.srcRoi.height, c.srcHeight - c.srcRoi.y);
    int W, H;
    if (c.mode == 8) {
        if (!endsLength(double(rw) * c.xFactor, c.dstRoiSize.width, W) ||
            !endsLength(double(rh) * c.yFactor, c.dstRoiSize.height, H))
            return lumStsDstBelowOnePixel;
        superModel(c, src, W, H, dst);
        return lumStsNoErr;
    }
    if (!endsLength(Real(rw) * Real(c.xFactor), c.dstRoiSize.width, W) ||
        !endsLength(Real(rh) * Real(c.yFactor), c.dstRoiSize.height, H))
        return lumStsDstBelowOnePixel;
    const int mode = lowered(c.mode, c.srcWidth, c.srcHeight);
    const int ox = c.srcRoi.x, oy = c.srcRoi.y;
    const EndsAxisModel ys = endsAxis<Real>(mode, rh, c.yFactor, H, c.srcHeight, oy);
    const EndsAxisModel xs = endsAxis<Real>(mode, rw, c.xFactor, W, c.srcWidth, ox);
    auto at = [&](int row, int col, int ch) { return src.at(oy + row, ox + col, ch); };
    std::vector<std::vector<double>> cx, cy;
    if (mode == 16) {
        for (float f : xs.fraction) cx.push_back(lanczosCoefficients(f));
        for (float f : ys.fraction) cy.push_back(lanczosCoefficients(f));
    }
    for (int i = 0; i < H; ++i)
        for (int j = 0; j < W; ++j)
            for (int ch = 0; ch < 3; ++ch) {
                const int qy = ys.index[i], qx = xs.index[j];
                uint8_t v;
                if (mode == 1) {
                    v = at(qy, qx, ch);
                } else if (mode == 2) {
                    auto h = [&](int row) {
                        const int w = xs.weight[j];
                        return ((16384u - w) * at(row, qx, ch) + uint32_t(w) * at(row, qx + 1, ch) + 128) >>
                               8;
                    };
                    const uint32_t upper = h(qy == ys.index[0] ? 0 : qy), lower = h(qy + 1);
                    const uint32_t wy = ys.weight[i];
                    v = uint8_t((lower * wy + upper * (16384u - wy) + 524288) >> 20);
                } else if (mode == 4) {
                    double hv[4];
                    for (int k = 0; k < 4; ++k) {
                        const int r = qy + k - 1;
                        hv[k] = float(cubic(at(r, qx - 1, ch), at(r, qx, ch), at(r, qx + 1, ch),
                                            at(r, qx + 2, ch), xs.fraction[j], false));
                    }
                    v = finish(cubic(hv[0], hv[1], hv[2], hv[3], ys.fraction[i], true));
                } else {
                    const std::vector<double>& wx = cx[j];
                    const std::vector<double>& wy = cy[i];
                    double sum = 0;
                    for (int k = 0; k < 6; ++k) {
                        const int r = std::clamp(qy + k - 2, -oy, c.srcHeight - oy - 1);
                        double hs = 0;
                        for (int o = 0; o < 6; ++o)
                            hs += wx[o] * at(r, std::clamp(qx + o - 2, -ox, c.srcWidth - ox - 1), ch);
                        sum += wy[k] * float(hs);
                    }
                    v = finish(sum);
                }
                dst.ref(i, j, ch) = v;
            }
    return lumStsNoErr;
}

}  // namespace rmodel
