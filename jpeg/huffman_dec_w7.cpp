// Huffman decoding, tier w7: DecodeBlockFast before the sequential plain path, clearing the block
// in 16-byte stores; the wide AC kernels. Its DC refine serves t7 as well.
#include "frame/dispatch.h"
#include "jpeg/huffman_dec_entry.h"
#include "signal/kernels.h"

namespace lum::w7 {
namespace {

struct Tier {
    static constexpr bool kFastPath = true;
    using AcReader = hdec::WideReader<Tier>;
    static void zeroBytes(Lum8u* p, size_t n) { lumZeroBytes(p, n); }
    static void* allocate(Lum32s n) { return lumMalloc(n); }
    static void clearBlock(Lum8u* block) { hdec::clearBlock16<Tier>(block); }
};

}  // namespace

LUM_HUFFMAN_DEC_VARIANTS(Tier)
LUM_HUFFMAN_DEC_DC_REFINE(Tier)

}  // namespace lum::w7
