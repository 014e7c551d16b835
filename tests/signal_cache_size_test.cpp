// The cache size read of the large copy, clear and fill kernels, on fake CPUID leaves.
#include "fake_cpuid.h"
#include "signal/cache_size.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace {

using lum::CacheShare;
using lum::lumReadCacheSize;
using lumtest::FakeCpuid;

constexpr uint32_t KiB = 1024, MiB = 1024 * 1024;
constexpr char kOtherVendor[13] = "OtherVendorX";

// A primary-vendor processor with `cores` cores whose leaf 2 holds the given four words.
FakeCpuid leaf2Cpu(uint32_t eax, uint32_t ebx, uint32_t ecx, uint32_t edx, uint32_t cores = 1)
{
    FakeCpuid cpu;
    cpu.vendor(lum::kPrimaryVendor, 4);
    cpu.set(2, {eax, ebx, ecx, edx});
    cpu.set(4, {(cores - 1) << 26, 0, 0, 0});
    return cpu;
}

uint32_t wholeSize(const FakeCpuid& cpu) { return lumReadCacheSize(CacheShare::whole, cpu); }

TEST(CacheSize, TableHasTheRowsInOrderClosedByZero)
{
    const std::vector<std::pair<uint8_t, uint8_t>> rows = {
        {0x47, 0x15}, {0x49, 0x14}, {0x29, 0x14}, {0x46, 0x14}, {0x25, 0x13}, {0x7D, 0x13},
        {0x85, 0x13}, {0x45, 0x13}, {0x23, 0x12}, {0x87, 0x12}, {0x7C, 0x12}, {0x78, 0x12},
        {0x84, 0x12}, {0x44, 0x12}, {0x22, 0x11}, {0x7B, 0x11}, {0x86, 0x11}, {0x7F, 0x11},
        {0x83, 0x11}, {0x43, 0x11}, {0x7A, 0x10}, {0x82, 0x10}, {0x3C, 0x10}, {0x42, 0x10}};
    ASSERT_EQ(sizeof lum::cacheDescriptorSizes, 2 * rows.size() + 2);
    for (size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(lum::cacheDescriptorSizes[2 * i], rows[i].first) << i;
        EXPECT_EQ(lum::cacheDescriptorSizes[2 * i + 1], rows[i].second) << i;
    }
    EXPECT_EQ(lum::cacheDescriptorSizes[2 * rows.size()], 0);
}

TEST(CacheSize, EveryDescriptorGivesItsSize)
{
    const std::vector<std::pair<uint8_t, uint32_t>> sizes = {
        {0x47, 8 * MiB},   {0x49, 4 * MiB},   {0x29, 4 * MiB},   {0x46, 4 * MiB},   {0x25, 2 * MiB},
        {0x7D, 2 * MiB},   {0x85, 2 * MiB},   {0x45, 2 * MiB},   {0x23, 1 * MiB},   {0x87, 1 * MiB},
        {0x7C, 1 * MiB},   {0x78, 1 * MiB},   {0x84, 1 * MiB},   {0x44, 1 * MiB},   {0x22, 512 * KiB},
        {0x7B, 512 * KiB}, {0x86, 512 * KiB}, {0x7F, 512 * KiB}, {0x83, 512 * KiB}, {0x43, 512 * KiB},
        {0x7A, 256 * KiB}, {0x82, 256 * KiB}, {0x3C, 256 * KiB}, {0x42, 256 * KiB}};
    for (const auto& [descriptor, size] : sizes) {
        // The descriptor in each byte position of each register but the count byte, and not in a top
        // byte where it would set bit 31.
        for (int reg = 0; reg < 4; ++reg) {
            for (int byte = reg == 0 ? 1 : 0; byte < (descriptor & 0x80 ? 3 : 4); ++byte) {
                uint32_t words[4] = {1, 0, 0, 0};
                words[reg] |= uint32_t{descriptor} << (8 * byte);
                EXPECT_EQ(wholeSize(leaf2Cpu(words[0], words[1], words[2], words[3])), size)
                    << std::hex << int{descriptor} << " reg " << reg << " byte " << byte;
            }
        }
    }
}

TEST(CacheSize, OtherVendorIsUnknown)
{
    FakeCpuid cpu = leaf2Cpu(0x00004701, 0, 0, 0);
    ASSERT_EQ(wholeSize(cpu), 8 * MiB);
    cpu.vendor(kOtherVendor, 4);
    cpu.queries = 0;
    EXPECT_EQ(wholeSize(cpu), 0u);
    EXPECT_EQ(lumReadCacheSize(CacheShare::perCore, cpu), 0u);
    // One vendor query per call, nothing beyond it.
    EXPECT_LE(cpu.queries, 2);
}

TEST(CacheSize, LeafTwoCountByteOtherThanOneIsUnknown)
{
    EXPECT_EQ(wholeSize(leaf2Cpu(0x00004701, 0, 0, 0)), 8 * MiB);
    EXPECT_EQ(wholeSize(leaf2Cpu(0x00004702, 0, 0, 0)), 0u);
    EXPECT_EQ(wholeSize(leaf2Cpu(0x00004700, 0, 0, 0)), 0u);
    EXPECT_EQ(wholeSize(leaf2Cpu(0x000047FF, 0x47, 0x47, 0x47)), 0u);
}

TEST(CacheSize, NoLeafTwoIsUnknown)
{
    FakeCpuid cpu = leaf2Cpu(0x00004701, 0, 0, 0);
    cpu.vendor(lum::kPrimaryVendor, 1);
    EXPECT_EQ(wholeSize(cpu), 0u);
}

TEST(CacheSize, WordsWithBitThirtyOneCarryNoDescriptors)
{
    // 0x47 in a word with bit 31 set does not count; 0x44 in a valid word does.
    EXPECT_EQ(wholeSize(leaf2Cpu(0x00004401, 0x80000047, 0, 0)), 1 * MiB);
    EXPECT_EQ(wholeSize(leaf2Cpu(0x00004401, 0, 0x80470000, 0)), 1 * MiB);
    EXPECT_EQ(wholeSize(leaf2Cpu(0x00000001, 0, 0, 0x80474747)), 0u);
    EXPECT_EQ(wholeSize(leaf2Cpu(0x00000001, 0, 0, 0x00470000)), 8 * MiB);
}

TEST(CacheSize, FirstByteOfTheListIsNotCompared)
{
    // EAX is dropped for its bit 31 although its count byte is 1; the list then starts with EBX, and
    // EBX's first byte is the one left out.
    EXPECT_EQ(wholeSize(leaf2Cpu(0x80000001, 0x00000047, 0, 0)), 0u);
    EXPECT_EQ(wholeSize(leaf2Cpu(0x80000001, 0x00004700, 0, 0)), 8 * MiB);
    EXPECT_EQ(wholeSize(leaf2Cpu(0x80000001, 0, 0x00000044, 0)), 0u);
    EXPECT_EQ(wholeSize(leaf2Cpu(0x80000001, 0, 0x00000044, 0x00000042)), 256 * KiB);
}

TEST(CacheSize, TableOrderWinsOverListOrder)
{
    EXPECT_EQ(wholeSize(leaf2Cpu(0x00474401, 0, 0, 0)), 8 * MiB);
    EXPECT_EQ(wholeSize(leaf2Cpu(0x00000001, 0x44, 0, 0x47000000)), 8 * MiB);
    EXPECT_EQ(wholeSize(leaf2Cpu(0x00422201, 0, 0, 0)), 512 * KiB);
    EXPECT_EQ(wholeSize(leaf2Cpu(0x00000001, 0x0000427A, 0x23, 0)), 1 * MiB);
}

TEST(CacheSize, NoMatchIsUnknown)
{
    EXPECT_EQ(wholeSize(leaf2Cpu(0x00000001, 0, 0, 0)), 0u);
    EXPECT_EQ(wholeSize(leaf2Cpu(0x0302FF01, 0x0B0A0908, 0x5B5A5958, 0xF0B1B0FF)), 0u);
}

TEST(CacheSize, PerCoreDividesByTheCoresOfLeafFour)
{
    const FakeCpuid four = leaf2Cpu(0x00004701, 0, 0, 0, 4);
    EXPECT_EQ(lumReadCacheSize(CacheShare::perCore, four), 2 * MiB);
    EXPECT_EQ(lumReadCacheSize(CacheShare::whole, four), 8 * MiB);
    const FakeCpuid three = leaf2Cpu(0x00004401, 0, 0, 0, 3);
    EXPECT_EQ(lumReadCacheSize(CacheShare::perCore, three), 1 * MiB / 3);
    // A highest basic leaf below 4 counts one core.
    FakeCpuid noLeafFour = leaf2Cpu(0x00004701, 0, 0, 0, 4);
    noLeafFour.vendor(lum::kPrimaryVendor, 3);
    EXPECT_EQ(lumReadCacheSize(CacheShare::perCore, noLeafFour), 8 * MiB);
}

TEST(CacheSize, ReadAnewOnEveryCall)
{
    FakeCpuid cpu = leaf2Cpu(0x00004701, 0, 0, 0);
    EXPECT_EQ(wholeSize(cpu), 8 * MiB);
    cpu.set(2, {0x00004201, 0, 0, 0});
    EXPECT_EQ(wholeSize(cpu), 256 * KiB);
}

TEST(CacheSize, HardwareOfAnotherVendorIsUnknown)
{
    if (lum::lumIsPrimaryVendor(lum::hardwareCpuid()))
        GTEST_SKIP() << "primary vendor: size depends on leaf 2";
    EXPECT_EQ(lumReadCacheSize(CacheShare::whole), 0u);
    EXPECT_EQ(lumReadCacheSize(CacheShare::perCore), 0u);
}

}  // namespace
