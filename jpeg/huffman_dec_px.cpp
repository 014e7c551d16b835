// Huffman decoding, portable tier: the narrow reader in every primitive, no fast path. The record
// sizes and the release of an allocated state live here too; all four slots share them.
#include "frame/alloc.h"
#include "frame/dispatch.h"
#include "jpeg/huffman_dec_entry.h"
#include "signal/kernels.h"

namespace lum::px {
namespace {

struct Tier {
    static constexpr bool kFastPath = false;
    using AcReader = hdec::NarrowReader<Tier>;
    static void zeroBytes(Lum8u* p, size_t n) { lumZeroBytes(p, n); }
    static void* allocate(Lum32s n) { return lumMalloc(n); }
};

LumStatus writeSize(Lum32s* pSize, Lum32s size)
{
    if (pSize == nullptr) return lumStsNullPointer;
    *pSize = size;
    return lumStsNoErr;
}

}  // namespace

LUM_HUFFMAN_DEC_VARIANTS(Tier)
LUM_HUFFMAN_DEC_DC_REFINE(Tier)

LumStatus lumiDecodeHuffmanSpecGetBufSize_JPEG_8u(Lum32s* pSize) { return writeSize(pSize, hdec::kSpecSize); }

LumStatus lumiDecodeHuffmanStateGetBufSize_JPEG_8u(Lum32s* pSize) { return writeSize(pSize, hdec::kStateSize); }

LumStatus lumiDecodeHuffmanStateFree_JPEG_8u(LumDecodeHuffmanState* pState)
{
    if (pState == nullptr) return lumStsNullPointer;
    lumFree(pState);
    return lumStsNoErr;
}

}  // namespace lum::px
