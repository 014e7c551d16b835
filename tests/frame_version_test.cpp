// Version records of both families in every tier.
#include "tier_fixture.h"

#include <gtest/gtest.h>

#include <string>

namespace {

const char* const kImageNames[4] = {"lumipxl.lib", "lumia6l.lib", "lumiw7l.lib", "lumit7l.lib"};
const char* const kSignalNames[4] = {"lumspxl.lib", "lumsa6l.lib", "lumsw7l.lib", "lumst7l.lib"};

void expectRecord(const LumLibraryVersion* v, Lum32s build, const char* tag, const char* name)
{
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->versionMajor, 5);
    EXPECT_EQ(v->versionMinor, 1);
    EXPECT_EQ(v->buildSeries, 80);
    EXPECT_EQ(v->buildNumber, build);
    EXPECT_EQ(v->tierTag[0], tag[0]);
    EXPECT_EQ(v->tierTag[1], tag[1]);
    EXPECT_EQ(v->tierTag[2], '\0');
    EXPECT_EQ(v->tierTag[3], '\0');
    EXPECT_STREQ(v->libraryName, name);
    EXPECT_STREQ(v->versionText, "v5.1");
    EXPECT_STREQ(v->buildDateText, "Mar  1 2006");
}

}  // namespace

class VersionTier : public lumtest::TierTest {};

TEST_P(VersionTier, BothFamiliesReportThisTier)
{
    const LumLibraryVersion* image = lumiGetLibVersion();
    const LumLibraryVersion* signal = lumsGetLibVersion();
    expectRecord(image, 217, lumtest::kTierTags[slot()], kImageNames[slot()]);
    expectRecord(signal, 219, lumtest::kTierTags[slot()], kSignalNames[slot()]);
    EXPECT_NE(image, signal);
    // The two records share only the version and date strings.
    EXPECT_EQ(image->versionText, signal->versionText);
    EXPECT_EQ(image->buildDateText, signal->buildDateText);
    EXPECT_NE(image->libraryName, signal->libraryName);
    // Constant records: the same address on every call.
    EXPECT_EQ(lumiGetLibVersion(), image);
}

LUM_ALL_TIERS(VersionTier);

TEST(Version, RecordsDifferBetweenTiersButShareTheStrings)
{
    lumSetTierByCpuCode(-1);
    const LumLibraryVersion* px = lumiGetLibVersion();
    lumSetTierByCpuCode(8);
    const LumLibraryVersion* t7 = lumiGetLibVersion();
    lumSetTierByCpuCode(-1);
    EXPECT_NE(px, t7);
    EXPECT_STREQ(px->tierTag, "px");
    EXPECT_STREQ(px->libraryName, "lumipxl.lib");
    EXPECT_STREQ(t7->tierTag, "t7");
    EXPECT_STREQ(t7->libraryName, "lumit7l.lib");
    EXPECT_EQ(px->versionText, t7->versionText);
}
