// Fuzz targets: progressive AC first (LUM_FUZZ_REFINE 0) and AC refine (1), px's plain code and
// the wide kernel that a6, w7 and t7 share; the three vector tiers must agree on every stream.
// Input: Al, Ss, Se, the AC table, the stream.
#include "fuzz_hdec.h"

#if LUM_FUZZ_REFINE
#define LUM_FUZZ_ROW lumRow_lumiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1
#else
#define LUM_FUZZ_ROW lumRow_lumiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1
#endif

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    lumfuzz::Input in(data, size);
    const Lum32s al = in.byte() % 14;
    const Lum32s ss = 1 + in.byte() % 63;
    const Lum32s se = ss + in.byte() % (64 - ss);
    lumfuzz::SpecRecord ac;
    if (!in.table(ac.get())) return 0;
    // px is the reference of its own: it differs from the kernels on corrupt streams.
    lumfuzz::runAllTiers(
        in.rest(),
        [&](int slot) {
            const auto decode = LUM_FUZZ_ROW[slot];
            return [&, decode](lumfuzz::Stream& s, Lum16s* b) {
                return decode(s.src.get(), s.len, &s.pos, b, &s.marker, ss, se, al, ac.get(), s.state);
            };
        },
        1, true);
    return 0;
}
