// The allocating state initialiser when the heap says no: lumStsNullPointer, nothing stored. The
// program puts its own malloc in front of the C library's so that a flag can make it fail; under
// AddressSanitizer, which owns malloc itself, the test is skipped.
#include "tier_fixture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#define LUM_OWN_MALLOC 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define LUM_OWN_MALLOC 0
#endif
#endif
#ifndef LUM_OWN_MALLOC
#define LUM_OWN_MALLOC 1
#endif

namespace {
std::atomic<bool> gMallocFails{false};
}  // namespace

#if LUM_OWN_MALLOC
extern "C" void* __libc_malloc(size_t size);
extern "C" void* malloc(size_t size)
{
    return gMallocFails.load(std::memory_order_relaxed) ? nullptr : __libc_malloc(size);
}
#endif

namespace {

class HuffDecAlloc : public lumtest::TierTest {};

TEST_P(HuffDecAlloc, AllocatorFailureIsANullPointerStatusAndStoresNothing)
{
    if (!LUM_OWN_MALLOC) GTEST_SKIP() << "the sanitizer owns malloc";
    auto* const sentinel = reinterpret_cast<LumDecodeHuffmanState*>(uintptr_t{0x1234});
    LumDecodeHuffmanState* state = sentinel;
    gMallocFails = true;
    const LumStatus st = lumiDecodeHuffmanStateInitAlloc_JPEG_8u(&state);
    gMallocFails = false;
    EXPECT_EQ(st, lumStsNullPointer);
    EXPECT_EQ(state, sentinel);
    // And with the heap back, the same call succeeds.
    ASSERT_EQ(lumiDecodeHuffmanStateInitAlloc_JPEG_8u(&state), lumStsNoErr);
    EXPECT_NE(state, sentinel);
    EXPECT_EQ(lumiDecodeHuffmanStateFree_JPEG_8u(state), lumStsNoErr);
}

LUM_ALL_TIERS(HuffDecAlloc);

}  // namespace
