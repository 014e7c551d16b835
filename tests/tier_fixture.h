// Runs a test once per tier by forcing the selector through the test seam, and proves that the
// forced tier is the one that answered.
#pragma once

#include "frame/dispatch.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace lumtest {

// A processor code per slot, as the seam takes codes, not slots.
inline constexpr Lum32s kTierCodes[4] = {-1, 5, 6, 8};
inline constexpr const char* kTierTags[4] = {"px", "a6", "w7", "t7"};

class TierTest : public ::testing::TestWithParam<int> {
protected:
    void SetUp() override
    {
        ASSERT_EQ(lumSetTierByCpuCode(kTierCodes[slot()]), lumStsNoErr);
        ASSERT_EQ(LumTierIndex.load(), slot());
        ASSERT_STREQ(lumsGetLibVersion()->tierTag, kTierTags[slot()]);
    }
    void TearDown() override { lumSetTierByCpuCode(-1); }

    int slot() const { return GetParam(); }
    bool isPx() const { return slot() == 0; }
};

inline std::string tierName(const ::testing::TestParamInfo<int>& info) { return kTierTags[info.param]; }

}  // namespace lumtest

// Instantiates a TEST_P suite derived from TierTest for the four tiers.
#define LUM_ALL_TIERS(Suite) \
    INSTANTIATE_TEST_SUITE_P(Tiers, Suite, ::testing::Range(0, 4), ::lumtest::tierName)
