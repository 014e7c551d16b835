// Huffman decoding, tier t7: as w7, with the prefetching allocator for an allocated state. DC
// refine is w7's.
#include "frame/alloc.h"
#include "frame/dispatch.h"
#include "jpeg/huffman_dec_entry.h"
#include "signal/kernels.h"

namespace lum::t7 {
namespace {

struct Tier {
    static constexpr bool kFastPath = true;
    using AcReader = hdec::WideReader<Tier>;
    static void zeroBytes(Lum8u* p, size_t n) { lumZeroBytes(p, n); }
    static void* allocate(Lum32s n) { return lumMallocPf(n); }
    static void clearBlock(Lum8u* block) { hdec::clearBlock16<Tier>(block); }
};

}  // namespace

LUM_HUFFMAN_DEC_VARIANTS(Tier)

}  // namespace lum::t7
