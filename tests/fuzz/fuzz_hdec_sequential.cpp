// Fuzz target: sequential block decoding, fast and plain paths, in all four tiers. Input: the DC
// table, the AC table, the stream. Where the stream holds no 0xFF every tier must decode exactly
// what px decodes.
#include "fuzz_hdec.h"

#include <algorithm>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    lumfuzz::Input in(data, size);
    lumfuzz::SpecRecord dc, ac;
    if (!in.table(dc.get()) || !in.table(ac.get())) return 0;
    const std::vector<uint8_t> bytes = in.rest();
    const bool noMarkers = std::find(bytes.begin(), bytes.end(), 0xFF) == bytes.end();
    lumfuzz::runAllTiers(
        bytes,
        [&](int slot) {
            const auto decode = lumRow_lumiDecodeHuffman8x8_JPEG_1u16s_C1[slot];
            return [&, decode](lumfuzz::Stream& s, Lum16s* b) {
                return decode(s.src.get(), s.len, &s.pos, b, &s.lastDc, &s.marker, dc.get(), ac.get(), s.state);
            };
        },
        0, noMarkers);
    return 0;
}
