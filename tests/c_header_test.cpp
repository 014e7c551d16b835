// Calls into the C translation unit that includes the public header.
#include <gtest/gtest.h>

extern "C" int lumtestCHeaderCalls(void);

TEST(CHeader, CompilesAsC99AndCallsThroughTheCAbi) { EXPECT_EQ(lumtestCHeaderCalls(), 1); }
