// Aligned allocators: alignment, the hidden heap pointer, null on bad counts, one release for all.
#include "tier_fixture.h"

#include "frame/alloc.h"

#include <gtest/gtest.h>

#include <cstring>
#include <malloc.h>

namespace {

uintptr_t addressOf(const void* p) { return reinterpret_cast<uintptr_t>(p); }

// The pointer-sized word below an aligned block: the heap's own pointer, 8 to 39 bytes lower.
void expectHiddenWord(const void* block)
{
    void* raw;
    std::memcpy(&raw, static_cast<const char*>(block) - sizeof(void*), sizeof raw);
    const uintptr_t distance = addressOf(block) - addressOf(raw);
    EXPECT_GE(distance, sizeof(void*));
    EXPECT_LE(distance, lum::kBlockOverhead - 1);
}

}  // namespace

TEST(Alloc, BadCountsGiveNull)
{
    EXPECT_EQ(lumMalloc(0), nullptr);
    EXPECT_EQ(lumMalloc(-1), nullptr);
    EXPECT_EQ(lumMalloc(-2147483647 - 1), nullptr);
    EXPECT_EQ(lum::lumMallocPf(0), nullptr);
    EXPECT_EQ(lum::lumMalloc16(0), nullptr);
    EXPECT_EQ(lum::lumMalloc16Pf(-5), nullptr);
}

TEST(Alloc, EveryBlockIsOn32BytesWithItsHeapPointerBelow)
{
    std::vector<void*> blocks;
    for (Lum32s n = 1; n < 300; ++n) {
        for (void* p : {lumMalloc(n), lum::lumMallocPf(n), static_cast<void*>(lum::lumMalloc16(n)),
                        static_cast<void*>(lum::lumMalloc16Pf(n))}) {
            ASSERT_NE(p, nullptr);
            EXPECT_EQ(addressOf(p) % 32, 0u);
            expectHiddenWord(p);
            blocks.push_back(p);
        }
    }
    for (void* p : blocks) lumFree(p);
}

TEST(Alloc, OneByteBlockIsAMultipleOf32)
{
    void* p = lumMalloc(1);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(addressOf(p) % 32, 0u);
    lumFree(p);
}

TEST(Alloc, PayloadIsUsableToTheLastElement)
{
    // The heap block must hold the payload after the rounding; malloc_usable_size tells its extent.
    for (Lum32s n : {1, 7, 31, 32, 33, 4096, 100000}) {
        Lum16s* p = lum::lumMalloc16(n);
        ASSERT_NE(p, nullptr);
        void* raw;
        std::memcpy(&raw, reinterpret_cast<char*>(p) - sizeof(void*), sizeof raw);
        EXPECT_GE(addressOf(raw) + malloc_usable_size(raw), addressOf(p + n));
        std::memset(p, 0x5A, static_cast<size_t>(n) * 2);
        lumFree(p);
    }
}

TEST(Alloc, FreeOfNullDoesNothing)
{
    lumFree(nullptr);
    lumsFree(nullptr);
    SUCCEED() << "no crash";
}

TEST(Alloc, BlocksCrossBetweenTheTwoReleases)
{
    void* a = lumMalloc(100);
    Lum32f* b = lumsMalloc_32f(100);
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    lumsFree(a);
    lumFree(b);
}

TEST(Alloc, CountsThatWouldWrapIn32BitsGetTheWholeBlock)
{
    // 2^30 floats are 4 GiB: the request is computed at pointer width, so the heap is asked for
    // the whole payload (or fails), never for a wrapped size of a few bytes.
    Lum32f* p = lumsMalloc_32f(1 << 30);
    if (p == nullptr) GTEST_SKIP() << "the heap refused 4 GiB here";
    void* raw;
    std::memcpy(&raw, reinterpret_cast<char*>(p) - sizeof(void*), sizeof raw);
    EXPECT_GE(addressOf(raw) + malloc_usable_size(raw), addressOf(p) + (size_t{1} << 32));
    lumsFree(p);
}

TEST(AlignPtr, LiteralCases)
{
    auto* p33 = reinterpret_cast<void*>(33);
    auto* p64 = reinterpret_cast<void*>(64);
    EXPECT_EQ(lumAlignPtr(p33, 32), p64);
    EXPECT_EQ(lumAlignPtr(p64, 32), p64);
    EXPECT_EQ(lumAlignPtr(p33, 1), p33);
    EXPECT_EQ(lumAlignPtr(p33, 0), nullptr);
    EXPECT_EQ(lumAlignPtr(nullptr, 16), nullptr);
}

TEST(AlignPtr, EveryPowerOfTwoAtPointerWidth)
{
    const uintptr_t bases[] = {1, 0x1234567, 0x7FFFFFFFFFF1, 0x100000001};
    for (uintptr_t base : bases) {
        for (int shift = 0; shift < 31; ++shift) {
            const Lum32s align = 1 << shift;
            const uintptr_t got = addressOf(lumAlignPtr(reinterpret_cast<void*>(base), align));
            EXPECT_EQ(got % static_cast<uintptr_t>(align), 0u);
            EXPECT_GE(got, base);
            EXPECT_LT(got - base, static_cast<uintptr_t>(align));
        }
    }
}

class AllocTier : public lumtest::TierTest {};

TEST_P(AllocTier, FloatBlocksInEveryTier)
{
    EXPECT_EQ(lumsMalloc_32f(0), nullptr);
    EXPECT_EQ(lumsMalloc_32f(-1), nullptr);
    for (Lum32s n : {1, 2, 3, 8, 33, 1000, 1 << 20}) {
        Lum32f* p = lumsMalloc_32f(n);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(addressOf(p) % 32, 0u);
        expectHiddenWord(p);
        p[0] = 1.0f;
        p[n - 1] = 2.0f;
        lumsFree(p);
    }
}

LUM_ALL_TIERS(AllocTier);
