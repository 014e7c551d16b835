// The Lanczos window table and the tested-form coefficient builder of the scalar tiers.
#pragma once

#include <lum.h>

namespace lum {

// 301 points of the window at steps of 0.01 from 0 to 3, then three zeros.
inline constexpr int kLanczosTableSize = 304;
extern const Lum32f lanczos3Table[kLanczosTableSize];

namespace resize {

// Six coefficients per fraction f, for the taps two before to three after the floor index, read from
// the table by linear interpolation and normalised to sum to one. A tap outside (-3, 3) weighs
// nothing. Real is the width of the arithmetic: double in px, float in a6.
template <typename Real>
static inline void lanczosWeightsTested(const Lum32f* fractions, Lum32s len, Lum32f* out)
{
    const Lum32f* table = lanczos3Table;
    for (Lum32s e = 0; e < len; ++e, out += 6) {
        Real t = Real(-2) - Real(fractions[e]);
        Lum32f raw[6];
        Real sum = 0;
        for (int k = 0; k < 6; ++k, t += Real(1)) {
            raw[k] = 0.0f;
            if (t > Real(-3) && t < Real(3)) {
                // A comparison rather than fabs(), which compilers build from a packed mask.
                const Real a = (t < Real(0) ? Real(0) - t : t) * Real(100);
                const int i = static_cast<int>(a);
                raw[k] = static_cast<Lum32f>(Real(table[i]) +
                                             (a - Real(i)) * (Real(table[i + 1]) - Real(table[i])));
            }
            sum += Real(raw[k]);
        }
        for (int k = 0; k < 6; ++k) out[k] = static_cast<Lum32f>(Real(raw[k]) / sum);
    }
}

}  // namespace resize
}  // namespace lum
