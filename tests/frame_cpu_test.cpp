// Processor decode, feature record, tier selection and the forced-tier seam, on fake CPUID leaves.
#include "fake_cpuid.h"

#include "frame/cpu.h"
#include "frame/dispatch.h"

#include <gtest/gtest.h>

using namespace lumtest;
using lum::CpuidRegs;

namespace {

struct Processor {
    bool primary = true;
    uint32_t family = 6;
    uint32_t edx = 0;
    uint32_t ecx = 0;
    uint32_t logical = 1;
    bool longMode = false;
    bool extendedLeaves = true;
};

FakeCpuid makeCpu(const Processor& p)
{
    FakeCpuid cpu;
    if (p.primary)
        cpu.vendor("GenuineOrvex");
    else
        cpu.vendor("OtherVendorX");
    cpu.set(1, CpuidRegs{p.family << 8, p.logical << 16, p.ecx, p.edx});
    cpu.set(0x80000000u, CpuidRegs{p.extendedLeaves ? 0x80000008u : 0x80000000u, 0, 0, 0});
    cpu.set(0x80000001u, CpuidRegs{0, 0, 0, p.longMode ? (1u << 29) : 0u});
    return cpu;
}

Lum32s probe(const Processor& p) { return lum::lumProbeCpuCode(makeCpu(p)); }

class SelectorGuard : public ::testing::Test {
protected:
    void TearDown() override { LumTierIndex.store(0); }
};

using CpuDecode = SelectorGuard;
using StaticInit = SelectorGuard;
using TierSeam = SelectorGuard;

constexpr uint32_t kSse2Set = kEdxMmx | kEdxSse | kEdxSse2;

}  // namespace

TEST(CpuDecodeTable, NoCpuidIsGeneric)
{
    FakeCpuid cpu = makeCpu({});
    cpu.cpuid = false;
    EXPECT_EQ(lum::lumProbeCpuCode(cpu), lum::cpuGeneric);
    EXPECT_EQ(cpu.queries, 0) << "no leaf may be read without CPUID";
}

TEST(CpuDecodeTable, Family5)
{
    EXPECT_EQ(probe({.family = 5}), 1);
    EXPECT_EQ(probe({.family = 5, .edx = kEdxMmx}), 2);
    // Family 5 decides by MMX only, even with more features.
    EXPECT_EQ(probe({.family = 5, .edx = kSse2Set, .ecx = kEcxSse3}), 2);
}

TEST(CpuDecodeTable, Family6)
{
    EXPECT_EQ(probe({.family = 6}), 3);
    EXPECT_EQ(probe({.family = 6, .edx = kEdxMmx}), 4);
    EXPECT_EQ(probe({.family = 6, .edx = kEdxMmx | kEdxSse}), 5);
    EXPECT_EQ(probe({.family = 6, .edx = kSse2Set}), 9);
    EXPECT_EQ(probe({.family = 6, .edx = kSse2Set, .ecx = kEcxSse3}), 10);
    // SSSE3 is not looked at in family 6: code 10, not 33.
    EXPECT_EQ(probe({.family = 6, .edx = kSse2Set, .ecx = kEcxSse3 | kEcxSsse3}), 10);
    EXPECT_EQ(lum::slotOfCpuCode(10), 3);
}

TEST(CpuDecodeTable, Family7)
{
    EXPECT_EQ(probe({.family = 7}), 16);
    EXPECT_EQ(probe({.family = 7, .edx = kSse2Set, .ecx = kEcxSse3 | kEcxSsse3}), 16);
}

TEST(CpuDecodeTable, Family15)
{
    EXPECT_EQ(probe({.family = 15, .edx = kEdxMmx | kEdxSse}), 17);
    EXPECT_EQ(lum::slotOfCpuCode(17), 1);
    EXPECT_EQ(probe({.family = 15, .edx = kSse2Set}), 6);
    EXPECT_EQ(probe({.family = 15, .edx = kSse2Set | kEdxHtt, .logical = 1}), 6);
    EXPECT_EQ(probe({.family = 15, .edx = kSse2Set, .logical = 2}), 6) << "HTT flag off";
    EXPECT_EQ(probe({.family = 15, .edx = kSse2Set | kEdxHtt, .logical = 2}), 7);
    EXPECT_EQ(probe({.family = 15, .edx = kSse2Set, .ecx = kEcxSse3}), 8);
    EXPECT_EQ(probe({.family = 15, .edx = kSse2Set, .ecx = kEcxSse3, .longMode = true}), 32);
    EXPECT_EQ(probe({.family = 15, .edx = kSse2Set, .ecx = kEcxSse3 | kEcxSsse3, .longMode = true}), 33);
    // Long mode counts only when the extended leaf range reaches 0x80000001.
    EXPECT_EQ(probe({.family = 15, .edx = kSse2Set, .ecx = kEcxSse3, .longMode = true, .extendedLeaves = false}),
              8);
}

TEST(CpuDecodeTable, OtherFamiliesOfThePrimaryVendorByFeature)
{
    for (uint32_t family : {0u, 1u, 4u, 8u, 14u}) {
        EXPECT_EQ(probe({.family = family}), 0);
        EXPECT_EQ(probe({.family = family, .edx = kEdxSse}), 64);
        EXPECT_EQ(probe({.family = family, .edx = kSse2Set}), 65);
        EXPECT_EQ(probe({.family = family, .edx = kSse2Set, .ecx = kEcxSse3}), 66);
        EXPECT_EQ(probe({.family = family, .edx = kSse2Set, .ecx = kEcxSse3 | kEcxSsse3}), 33);
    }
}

TEST(CpuDecodeTable, OtherVendorByFeatureAlone)
{
    for (uint32_t family : {5u, 6u, 7u, 15u}) {
        EXPECT_EQ(probe({.primary = false, .family = family}), 0);
        EXPECT_EQ(probe({.primary = false, .family = family, .edx = kEdxMmx}), 0);
        EXPECT_EQ(probe({.primary = false, .family = family, .edx = kEdxSse}), 64);
        EXPECT_EQ(probe({.primary = false, .family = family, .edx = kSse2Set}), 65);
        EXPECT_EQ(probe({.primary = false, .family = family, .edx = kSse2Set, .ecx = kEcxSse3}), 66);
        // SSSE3 alone, without SSE3, still classifies as 33: the order of the questions decides.
        EXPECT_EQ(probe({.primary = false, .family = family, .ecx = kEcxSsse3}), 33);
    }
}

TEST(CpuDecodeTable, ExtendedFamilyAndModelFieldsAreNotRead)
{
    FakeCpuid cpu = makeCpu({.family = 15, .edx = kSse2Set});
    cpu.at(1).eax = (0xFFu << 20) | (0xFu << 16) | (15u << 8) | (0x3u << 12);
    EXPECT_EQ(lum::lumProbeCpuCode(cpu), 6);
}

TEST(CpuFeatures, EveryFieldFromItsLeaf)
{
    FakeCpuid cpu;
    cpu.vendor("GenuineOrvex", 4);
    cpu.set(1, CpuidRegs{0x00003F6Au | (0xAu << 16), 0x00020000u, kEcxSse3 | kEcxSsse3,
                         kSse2Set | kEdxHtt | kEdxTsc});
    cpu.set(0x80000000u, CpuidRegs{0x80000001u, 0, 0, 0});
    cpu.set(0x80000001u, CpuidRegs{0, 0, 0, 1u << 29});
    cpu.set(4, CpuidRegs{(5u << 26) | 0x121u, 0, 0, 0});
    cpu.set(2, CpuidRegs{0x665B5001u, 0x1u, 0x2u, 0x007A7000u});

    lum::LumCpuFeatures f;
    std::memset(&f, 0xCC, sizeof f);
    lum::lumReadCpuFeatures(cpu, &f);
    EXPECT_EQ(f.family, 0xFu);
    EXPECT_EQ(f.stepping, 0xAu);
    EXPECT_EQ(f.model, 0x6u);
    EXPECT_EQ(f.type, 0u) << "derived from the masked family, so always 0";
    EXPECT_EQ(f.featureWord, kSse2Set | kEdxHtt | kEdxTsc);
    EXPECT_EQ(f.cacheDescriptorsA, 0x665B5001u);
    EXPECT_EQ(f.cacheDescriptorsD, 0x007A7000u);
    EXPECT_EQ(f.hasMmx, 1u);
    EXPECT_EQ(f.hasSse, 1u);
    EXPECT_EQ(f.hasSse2, 1u);
    EXPECT_EQ(f.manyLogical, 1u);
    EXPECT_EQ(f.hasSse3, 1u);
    EXPECT_EQ(f.hasLongMode, 1u);
    EXPECT_EQ(f.hasSsse3, 1u);
    EXPECT_EQ(f.coreCount, 6u);
    static_assert(sizeof(lum::LumCpuFeatures) == 15 * 4);
}

TEST(CpuFeatures, ZeroWhereTheLeavesSayNo)
{
    FakeCpuid cpu;
    cpu.vendor("GenuineOrvex", 3);  // leaf 4 not offered: one core
    cpu.set(1, CpuidRegs{0x0600u, 0x00FF0000u, 0, kEdxHtt});
    cpu.set(4, CpuidRegs{7u << 26, 0, 0, 0});
    cpu.set(0x80000000u, CpuidRegs{0x80000000u, 0, 0, 0});
    cpu.set(0x80000001u, CpuidRegs{0, 0, 0, 1u << 29});
    lum::LumCpuFeatures f;
    lum::lumReadCpuFeatures(cpu, &f);
    EXPECT_EQ(f.hasMmx + f.hasSse + f.hasSse2 + f.hasSse3 + f.hasSsse3, 0u);
    EXPECT_EQ(f.manyLogical, 1u) << "HTT with 255 logical processors";
    EXPECT_EQ(f.hasLongMode, 0u) << "extended range stops below 0x80000001";
    EXPECT_EQ(f.coreCount, 1u);
}

TEST(CpuFeatures, CoreCountComparesTheHighestLeafSigned)
{
    FakeCpuid cpu;
    cpu.vendor("GenuineOrvex", 0x80000004u);  // negative as a signed word
    cpu.set(4, CpuidRegs{3u << 26, 0, 0, 0});
    EXPECT_EQ(lum::lumCoreCount(cpu), 1u);
    cpu.vendor("GenuineOrvex", 4);
    EXPECT_EQ(lum::lumCoreCount(cpu), 4u);
}

TEST(CpuFeatures, ManyLogicalNeedsMoreThanOne)
{
    FakeCpuid cpu = makeCpu({.edx = kEdxHtt, .logical = 1});
    lum::LumCpuFeatures f;
    lum::lumReadCpuFeatures(cpu, &f);
    EXPECT_EQ(f.manyLogical, 0u);
}

TEST(CpuVendor, ExactComparisonOfTheThreeWords)
{
    EXPECT_TRUE(lum::lumIsPrimaryVendor(FakeCpuid().vendor("GenuineOrvex")));
    EXPECT_FALSE(lum::lumIsPrimaryVendor(FakeCpuid().vendor("GenuineOrvey")));
    EXPECT_FALSE(lum::lumIsPrimaryVendor(FakeCpuid().vendor("genuineOrvex")));
    // The words are EBX, EDX, ECX in that order: swapping EDX and ECX must fail.
    FakeCpuid swapped;
    swapped.vendor("GenuineOrvex");
    std::swap(swapped.at(0).ecx, swapped.at(0).edx);
    EXPECT_FALSE(lum::lumIsPrimaryVendor(swapped));
}

TEST_F(StaticInit, PrimaryVendorSucceeds)
{
    const FakeCpuid cpu = makeCpu({.family = 6, .edx = kSse2Set});
    EXPECT_EQ(lum::staticInitWith(cpu), lumStsNoErr);
    EXPECT_EQ(LumTierIndex.load(), 2);
}

TEST_F(StaticInit, OtherVendorWithSse3GetsTheTopTierAndAWarning)
{
    const FakeCpuid cpu = makeCpu({.primary = false, .family = 6, .edx = kSse2Set, .ecx = kEcxSse3});
    EXPECT_EQ(lum::lumProbeCpuCode(cpu), 66);
    EXPECT_EQ(lum::staticInitWith(cpu), lumStsNonPrimaryVendor);
    EXPECT_EQ(LumTierIndex.load(), 3);
}

TEST_F(StaticInit, NoCpuidRunsPortableTierWithAWarning)
{
    LumTierIndex.store(3);
    FakeCpuid cpu = makeCpu({.family = 6, .edx = kSse2Set});
    cpu.cpuid = false;
    EXPECT_EQ(lum::staticInitWith(cpu), lumStsNonPrimaryVendor);
    EXPECT_EQ(LumTierIndex.load(), 0);
}

TEST_F(StaticInit, EveryCodeMapsToItsSlot)
{
    struct Case {
        Processor cpu;
        Lum32s code;
        Lum32s slot;
    };
    const Case cases[] = {
        {{.family = 5}, 1, 0},
        {{.family = 5, .edx = kEdxMmx}, 2, 0},
        {{.family = 6}, 3, 0},
        {{.family = 6, .edx = kEdxMmx}, 4, 0},
        {{.family = 6, .edx = kEdxMmx | kEdxSse}, 5, 1},
        {{.family = 15, .edx = kSse2Set}, 6, 2},
        {{.family = 15, .edx = kSse2Set | kEdxHtt, .logical = 2}, 7, 2},
        {{.family = 15, .edx = kSse2Set, .ecx = kEcxSse3}, 8, 3},
        {{.family = 6, .edx = kSse2Set}, 9, 2},
        {{.family = 6, .edx = kSse2Set, .ecx = kEcxSse3}, 10, 3},
        {{.family = 7}, 16, 1},
        {{.family = 15, .edx = kEdxSse}, 17, 1},
        {{.family = 15, .edx = kSse2Set, .ecx = kEcxSse3, .longMode = true}, 32, 3},
        {{.family = 15, .edx = kSse2Set, .ecx = kEcxSse3 | kEcxSsse3, .longMode = true}, 33, 3},
        {{.primary = false, .edx = kEdxSse}, 64, 1},
        {{.primary = false, .edx = kSse2Set}, 65, 2},
        {{.primary = false, .edx = kSse2Set, .ecx = kEcxSse3}, 66, 3},
        {{.primary = false}, 0, 0},
    };
    for (const Case& c : cases) {
        const FakeCpuid cpu = makeCpu(c.cpu);
        LumTierIndex.store(c.slot == 3 ? 0 : 3);
        ASSERT_EQ(lum::lumProbeCpuCode(cpu), c.code);
        const LumStatus expected = c.cpu.primary ? lumStsNoErr : lumStsNonPrimaryVendor;
        EXPECT_EQ(lum::staticInitWith(cpu), expected) << "code " << c.code;
        EXPECT_EQ(LumTierIndex.load(), c.slot) << "code " << c.code;
    }
}

TEST_F(StaticInit, RealProcessorSelectsATierAndRepeatsIt)
{
    const LumStatus first = lumStaticInit();
    EXPECT_TRUE(first == lumStsNoErr || first == lumStsNonPrimaryVendor);
    const Lum32s slot = LumTierIndex.load();
    EXPECT_GE(slot, 0);
    EXPECT_LE(slot, 3);
    EXPECT_EQ(lumStaticInit(), first);
    EXPECT_EQ(LumTierIndex.load(), slot);
    EXPECT_TRUE(lum::hardwareCpuid().hasCpuid());
    // Every x86-64 processor has SSE2, so the real probe never falls below w7.
    EXPECT_GE(slot, 2);
}

TEST_F(TierSeam, EveryCodeOfTheTable)
{
    const std::pair<Lum32s, Lum32s> table[] = {
        {-1, 0}, {0, 0},  {1, 0},  {2, 0},  {3, 0},  {4, 0},  {5, 1},  {16, 1}, {17, 1}, {64, 1},
        {6, 2},  {7, 2},  {9, 2},  {65, 2}, {8, 3},  {10, 3}, {32, 3}, {33, 3}, {66, 3},
    };
    for (const auto& [code, slot] : table) {
        LumTierIndex.store(slot == 2 ? 1 : 2);
        EXPECT_EQ(lumSetTierByCpuCode(code), lumStsNoErr) << "code " << code;
        EXPECT_EQ(LumTierIndex.load(), slot) << "code " << code;
    }
}

TEST_F(TierSeam, RefusedCodesLeaveTheSelectorAlone)
{
    for (Lum32s code : {11, 18, 31, 34, 63, 67, -2, 12, 15, 65536, -2147483647 - 1, 2147483647}) {
        for (Lum32s before = 0; before < 4; ++before) {
            LumTierIndex.store(before);
            EXPECT_EQ(lumSetTierByCpuCode(code), lumStsCpuNotSet) << "code " << code;
            EXPECT_EQ(LumTierIndex.load(), before);
        }
    }
}
