// Huffman decoding, tier a6: DecodeBlockFast before the sequential plain path, clearing the block
// in 8-byte stores; the wide AC kernels.
#include "frame/dispatch.h"
#include "jpeg/huffman_dec_entry.h"
#include "signal/kernels.h"

#include <emmintrin.h>

namespace lum::a6 {
namespace {

struct Tier {
    static constexpr bool kFastPath = true;
    using AcReader = hdec::WideReader<Tier>;
    static void zeroBytes(Lum8u* p, size_t n) { lumZeroBytes(p, n); }
    static void* allocate(Lum32s n) { return lumMalloc(n); }
    static void clearBlock(Lum8u* block)
    {
        for (int i = 0; i < 128; i += 8) _mm_storel_epi64(reinterpret_cast<__m128i*>(block + i), _mm_setzero_si128());
    }
};

}  // namespace

LUM_HUFFMAN_DEC_VARIANTS(Tier)
LUM_HUFFMAN_DEC_DC_REFINE(Tier)

}  // namespace lum::a6
