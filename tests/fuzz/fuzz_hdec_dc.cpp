// Fuzz target: progressive DC first and DC refine, the same narrow code in every tier, so all four
// must agree on every stream. Input: Al, a refine flag, the DC table, the stream.
#include "fuzz_hdec.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    lumfuzz::Input in(data, size);
    const Lum32s al = in.byte() % 14;
    const bool refine = in.byte() & 1;
    lumfuzz::SpecRecord dc;
    if (!in.table(dc.get())) return 0;
    lumfuzz::runAllTiers(
        in.rest(),
        [&](int slot) {
            const auto first = lumRow_lumiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1[slot];
            const auto refineRow = lumRow_lumiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1[slot];
            return [&, first, refineRow](lumfuzz::Stream& s, Lum16s* b) {
                return refine ? refineRow(s.src.get(), s.len, &s.pos, b, &s.marker, al, s.state)
                              : first(s.src.get(), s.len, &s.pos, b, &s.lastDc, &s.marker, al, dc.get(), s.state);
            };
        },
        0, true);
    return 0;
}
