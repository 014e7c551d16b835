// Status texts: every code of the table, the holes, and the named constants of the header.
#include <lum.h>

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>

namespace {

struct Entry {
    std::string name;
    std::string text;
};

std::map<LumStatus, Entry> loadTable()
{
    std::map<LumStatus, Entry> table;
    std::ifstream in(LUM_SOURCE_DIR "/tests/data/status_texts.tsv");
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream fields(line);
        std::string code, name, text;
        std::getline(fields, code, '\t');
        std::getline(fields, name, '\t');
        std::getline(fields, text);
        table[std::stoi(code)] = {name, text};
    }
    return table;
}

constexpr const char* kUnknown = "Unknown Status Code";

}  // namespace

TEST(StatusString, EveryCodeOfTheTable)
{
    const auto table = loadTable();
    ASSERT_EQ(table.size(), 236u);
    for (const auto& [code, entry] : table) EXPECT_EQ(lumGetStatusString(code), entry.text) << "code " << code;
}

TEST(StatusString, EveryOtherCodeInAndAroundTheRangeIsUnknown)
{
    const auto table = loadTable();
    int holes = 0;
    for (LumStatus code = -10050; code <= 1050; ++code) {
        if (table.count(code)) continue;
        ASSERT_STREQ(lumGetStatusString(code), kUnknown) << "code " << code;
        ++holes;
    }
    EXPECT_GT(holes, 10000);
    for (LumStatus code : {-2147483647 - 1, -100000, 100000, 2147483647}) EXPECT_STREQ(lumGetStatusString(code), kUnknown);
}

TEST(StatusString, LiteralCases)
{
    EXPECT_STREQ(lumGetStatusString(0), "No error, it's OK");
    for (LumStatus code : {-1, -3, 39, 1000, -68, -84, -85, -86, -87, -88, -89, -165})
        EXPECT_STREQ(lumGetStatusString(code), kUnknown) << "code " << code;
    EXPECT_STREQ(lumGetStatusString(-9999), "The requested mode is currently not supported");
    EXPECT_STREQ(lumGetStatusString(-9998), "The target cpu is not supported");
    EXPECT_STREQ(lumGetStatusString(16), "Zero occupation count");
    EXPECT_STREQ(lumGetStatusString(20), "The target cpu is not Genuine Orvex");
}

TEST(StatusString, FiveMessagesStandUnderTwoCodes)
{
    const std::pair<LumStatus, LumStatus> pairs[] = {{-105, -193}, {-104, -192}, {-101, -75}, {-100, -74}, {-99, -73}};
    for (const auto& [older, later] : pairs) EXPECT_STREQ(lumGetStatusString(older), lumGetStatusString(later));
    EXPECT_STREQ(lumGetStatusString(-105), "Incorrect bit offset value");
    EXPECT_STREQ(lumGetStatusString(-73), "Illegal code during DC stream processing");

    std::multiset<std::string> texts;
    for (const auto& [code, entry] : loadTable()) texts.insert(entry.text);
    int doubled = 0;
    for (auto it = texts.begin(); it != texts.end(); it = texts.upper_bound(*it))
        if (texts.count(*it) == 2) ++doubled;
    EXPECT_EQ(doubled, 5);
}

TEST(StatusString, HeaderConstantsCarryTheCodesOfTheirNames)
{
    const std::map<std::string, LumStatus> constants = {
        {"lumStsDstBelowOnePixel", lumStsDstBelowOnePixel},
        {"lumStsCodeLenTooLong", lumStsCodeLenTooLong},
        {"lumStsBadCodeLenTable", lumStsBadCodeLenTable},
        {"lumStsBadFreqTable", lumStsBadFreqTable},
        {"lumStsJpegTableDestroyed", lumStsJpegTableDestroyed},
        {"lumStsJpegCoefOutOfRange", lumStsJpegCoefOutOfRange},
        {"lumStsOutOfBuffer", lumStsOutOfBuffer},
        {"lumStsRectTooSmall", lumStsRectTooSmall},
        {"lumStsBadChannelCount", lumStsBadChannelCount},
        {"lumStsBadChannel", lumStsBadChannel},
        {"lumStsStrideTooSmall", lumStsStrideTooSmall},
        {"lumStsBadResizeFactor", lumStsBadResizeFactor},
        {"lumStsBadInterpolation", lumStsBadInterpolation},
        {"lumStsBadFlipMode", lumStsBadFlipMode},
        {"lumStsMomentTooSmall", lumStsMomentTooSmall},
        {"lumStsBadThreshold", lumStsBadThreshold},
        {"lumStsContextMismatch", lumStsContextMismatch},
        {"lumStsBadStep", lumStsBadStep},
        {"lumStsOutOfRange", lumStsOutOfRange},
        {"lumStsDivideByZero", lumStsDivideByZero},
        {"lumStsBufferTooSmall", lumStsBufferTooSmall},
        {"lumStsNullPointer", lumStsNullPointer},
        {"lumStsBadSize", lumStsBadSize},
        {"lumStsBadArgument", lumStsBadArgument},
        {"lumStsNoMemory", lumStsNoMemory},
        {"lumStsUnknown", lumStsUnknown},
        {"lumStsNoErr", lumStsNoErr},
        {"lumStsNoOperation", lumStsNoOperation},
        {"lumStsDivByZeroWarning", lumStsDivByZeroWarning},
        {"lumStsJpegMarkerMet", lumStsJpegMarkerMet},
        {"lumStsEmptyIntersection", lumStsEmptyIntersection},
        {"lumStsNonPrimaryVendor", lumStsNonPrimaryVendor},
        {"lumStsCpuNotSet", lumStsCpuNotSet},
    };
    std::map<std::string, LumStatus> named;
    for (const auto& [code, entry] : loadTable())
        if (entry.name != "-") named[entry.name] = code;
    EXPECT_EQ(named, constants);
}
