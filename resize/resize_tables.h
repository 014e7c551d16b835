// Position tables of both geometries, templated on the tier (whose Real is the width of its position
// arithmetic), so that the instantiations of different tiers never merge.
#pragma once

#include "resize/resize_common.h"
#include "resize/resize_math.h"

#include <lum.h>

#include <cmath>
#include <cstdint>

namespace lum::resize {

// The tables of one axis; the weight tables that the mode has no use for stay null.
struct AxisTables {
    Lum32s* offsets;    // source index times `unit` (srcStep for rows, pixelStep for columns)
    Lum16u* weights;    // linear: Q14 share of the far sample; in pairs (near, far) when `pairs`
    Lum32f* fractions;  // cubic and Lanczos
    Lum32s unit;
    bool pairs;
};

static inline Lum32s scaledOffset(Lum32s index, Lum32s unit)
{
    return static_cast<Lum32s>(static_cast<uint32_t>(static_cast<int64_t>(index) * unit));
}

// The Q14 weight of the far sample from a fraction.
template <typename Real>
static inline Lum32s q14Weight(Real f)
{
    return truncToInt<Real>(f * Real(16384.0) + Real(1e-07));
}

static inline void storeWeight(const AxisTables& t, Lum32s e, Lum32s w)
{
    if (t.pairs) {
        t.weights[2 * e] = static_cast<Lum16u>(kQ14 - w);
        t.weights[2 * e + 1] = static_cast<Lum16u>(w);
    } else {
        t.weights[e] = static_cast<Lum16u>(w);
    }
}

// ---- Region geometry: every position computed anew from the destination coordinate -------------

// How many entries of one axis lie at its start and at its end in the border classes of the mode.
struct BorderCounts {
    Lum32s start;
    Lum32s end;
};

template <typename Tier>
struct RegionAxis {
    using Real = typename Tier::Real;
    Real inverse;  // 1 / factor
    Real shift;    // -shift / factor
    Lum32s first;  // absolute destination coordinate of entry 0
    Lum32s count;
    Lum32s size;  // the whole image's size on this axis

    RegionAxis(double factor, double dstShift, Lum32s firstCoordinate, Lum32s entries, Lum32s imageSize)
        : inverse(Real(1.0) / Real(factor)),
          shift(-Real(dstShift) / Real(factor)),
          first(firstCoordinate),
          count(entries),
          size(imageSize)
    {
    }

    // Nearest: source pixel n covers n to n+1.
    Lum32s nearestIndex(Lum32s e) const
    {
        const Real k = Real(first) + Real(e);
        return truncToInt<Real>((k + Real(0.5)) * inverse + (shift + Real(1e-10)));
    }

    // The other modes: source pixel n has its centre at n.
    Real position(Lum32s e) const
    {
        const Real k = Real(first) + Real(e);
        return (k + Real(0.5)) * inverse - Real(0.5) + shift;
    }

    void buildNearest(const AxisTables& t) const
    {
        for (Lum32s e = 0; e < count; ++e) t.offsets[e] = scaledOffset(nearestIndex(e), t.unit);
    }

    // Builds the tables of modes 2, 4 and 16 and counts their border classes.
    BorderCounts build(Lum32s mode, const AxisTables& t) const
    {
        const Real n = Real(size);
        BorderCounts counts{0, 0};
        for (Lum32s e = 0; e < count; ++e) {
            const Real p = position(e);
            const Real qf = floorReal(p);
            const Lum32s q = truncToInt<Real>(qf);
            const Real f = p - qf;
            t.offsets[e] = scaledOffset(q, t.unit);
            if (mode == kLinear) {
                storeWeight(t, e, q14Weight(f));
                counts.start += p < Real(0);
                counts.end += p > n - Real(1);
            } else if (mode == kCubic) {
                // On the last sample exactly, the fraction is kept as 1 rather than 0.
                t.fractions[e] = (f == Real(0) && q == size - 1) ? 1.0f : static_cast<Lum32f>(f);
                counts.start += p < Real(1);
                counts.end += p > n - Real(2);
            } else {
                t.fractions[e] = static_cast<Lum32f>(f);
                counts.start += p < Real(2);
                counts.end += p >= n - Real(3);
            }
        }
        return counts;
    }
};

// ---- Ends-to-ends geometry: positions accumulated from the first ------------------------------

template <typename Tier>
struct EndsAxis {
    using Real = typename Tier::Real;
    Real start;
    Real step;
    Lum32s count;   // result length
    Lum32s size;    // the whole image's size on this axis
    Lum32s origin;  // the region's origin on this axis

    // Nearest maps pixel centres; the other modes map the first and last samples onto each other.
    EndsAxis(Lum32s mode, Real mapped, Lum32s regionLength, double factor, Lum32s entries, Lum32s imageSize,
             Lum32s regionOrigin)
        : count(entries), size(imageSize), origin(regionOrigin)
    {
        if (mode == kNearest) {
            step = Real(1.0) / Real(factor);
            start = step * Real(0.5);
        } else {
            step = mapped <= Real(1.0) ? Real(0) : Real(regionLength - 1) / (mapped - Real(1.0));
            start = Real(0);
        }
    }

    void build(Lum32s mode, const AxisTables& t) const
    {
        const Lum32s last = size - origin - 1;  // the image's last sample, relative to the region
        Real p = start;
        for (Lum32s e = 0; e < count; ++e, p += step) {
            const Real qf = truncReal(p + Real(1e-07));
            Lum32s q = truncToInt<Real>(qf);
            const Real f = p - qf;
            if (mode == kLinear) {
                Lum32s w;
                if (q == last) {
                    // On the last sample: blend from the one before it with all weight on the last.
                    q -= 1;
                    w = static_cast<Lum32s>(kQ14);
                } else {
                    w = q14Weight(f);
                }
                storeWeight(t, e, w);
            } else if (mode == kCubic) {
                // Move the four taps inside the image; the polynomial is then evaluated outside the
                // span between its middle points, from -1 to 2.
                const Lum32s a = q;  // relative to the region; `last` and `-origin` are the image's ends
                if (a == last) {
                    q -= 2;
                    t.fractions[e] = 2.0f;
                } else {
                    if (a == -origin) q += 1;
                    if (a == last - 1) q -= 1;
                    t.fractions[e] = static_cast<Lum32f>(p - Real(q));
                }
            } else if (mode == kLanczos) {
                t.fractions[e] = static_cast<Lum32f>(f);
            }
            t.offsets[e] = scaledOffset(q, t.unit);
        }
    }
};

}  // namespace lum::resize
