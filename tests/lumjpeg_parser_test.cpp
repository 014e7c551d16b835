// The tool's marker layer: its copies of the standard tables against what cjpeg writes, its parser
// against the test suite's own parser and against damaged input read from the edge of a guarded
// page, and its writer read back by that parser.
#include <gtest/gtest.h>

#include <random>

#include "jpeg_file.h"
#include "jpeg_markers.h"
#include "lumjpeg_test_support.h"
#include "std_tables.h"
#include "test_support.h"

namespace {

using namespace lumjpegtest;

std::vector<uint8_t> readBytes(const std::string& path) { return lumtest::readFileBytes(path); }

// Runs the tool's parser on bytes that end right before an inaccessible page.
lumjpeg::JpegStream parseGuarded(const std::vector<uint8_t>& bytes)
{
    return lumjpeg::parseJpeg(guardedCopy(bytes)->data(), bytes.size());
}

// cjpeg at quality 50 writes the example tables of the standard unscaled.
TEST(LumjpegTables, EqualTheTablesCjpegWritesAtQuality50)
{
    const lumtest::JpegFile f = lumtest::parseJpeg(readBytes(testDataDir() + "/gen_q50_420.jpg"));
    const auto luma = lumjpeg::standardLumaQuant(), chroma = lumjpeg::standardChromaQuant();
    for (int k = 0; k < 64; ++k) {
        EXPECT_EQ(f.quant[0][k], luma[k]) << k;
        EXPECT_EQ(f.quant[1][k], chroma[k]) << k;
    }
    const lumtest::JpegScan& s = f.scans.at(0);
    const auto same = [](const lumtest::JpegHuffmanTable& a, const lumjpeg::HuffmanTable& b) {
        return std::equal(a.bits.begin(), a.bits.end(), b.bits.begin()) && a.vals == b.vals;
    };
    EXPECT_TRUE(same(*s.dc[0], lumjpeg::standardDcLuma()));
    EXPECT_TRUE(same(*s.ac[0], lumjpeg::standardAcLuma()));
    EXPECT_TRUE(same(*s.dc[1], lumjpeg::standardDcChroma()));
    EXPECT_TRUE(same(*s.ac[1], lumjpeg::standardAcChroma()));
}

TEST(LumjpegTables, ZigzagOrderVisitsEveryIndexAlongTheAntiDiagonals)
{
    std::array<bool, 64> seen{};
    int previousDiagonal = 0;
    for (int k = 0; k < 64; ++k) {
        const int n = lumjpeg::zigzagToNatural[k];
        ASSERT_FALSE(seen[n]);
        seen[n] = true;
        const int diagonal = n / 8 + n % 8;
        EXPECT_GE(diagonal, previousDiagonal);
        EXPECT_LE(diagonal, previousDiagonal + 1);
        previousDiagonal = diagonal;
    }
    EXPECT_EQ(lumjpeg::zigzagToNatural[1], 1);
    EXPECT_EQ(lumjpeg::zigzagToNatural[2], 8);
    EXPECT_EQ(lumjpeg::zigzagToNatural[63], 63);
}

// The progressive script must be one the standard allows and must bring every bit of every
// coefficient of every component.
TEST(LumjpegTables, ProgressiveScriptCoversEveryCoefficientBit)
{
    for (int comps : {1, 3}) {
        std::vector<std::array<int, 64>> knownFrom(static_cast<size_t>(comps));  // lowest bit coded so far
        for (auto& k : knownFrom) k.fill(-1);
        for (const lumjpeg::ScanSpec& s : lumjpeg::progressiveScript(comps)) {
            ASSERT_LE(s.ss, s.se);
            if (s.ss == 0) {
                ASSERT_EQ(s.se, 0);
            } else {
                ASSERT_EQ(s.components.size(), 1u);
            }
            for (int c : s.components) {
                for (int k = s.ss; k <= s.se; ++k) {
                    int& known = knownFrom[static_cast<size_t>(c)][static_cast<size_t>(k)];
                    if (s.ah == 0) {
                        ASSERT_EQ(known, -1) << "first scan twice";
                    } else {
                        ASSERT_EQ(known, s.ah) << "refinement out of order";
                        ASSERT_EQ(s.al, s.ah - 1);
                    }
                    known = s.al;
                }
            }
        }
        for (const auto& k : knownFrom)
            for (int bit : k) EXPECT_EQ(bit, 0);
    }
}

TEST(LumjpegParser, AgreesWithTheTestParserOnEveryValidFile)
{
    for (const CorpusFile& f : readManifest(testDataDir())) {
        if (f["expect"] != "ok") continue;
        SCOPED_TRACE(f.name);
        const std::vector<uint8_t> bytes = readBytes(f.path);
        const lumjpeg::JpegStream mine = parseGuarded(bytes);
        const lumtest::JpegFile theirs = lumtest::parseJpeg(bytes);
        EXPECT_EQ(mine.width, theirs.width);
        EXPECT_EQ(mine.height, theirs.height);
        EXPECT_EQ(mine.sofMarker, theirs.sofMarker);
        EXPECT_EQ(std::to_string(mine.width), f["width"]);
        ASSERT_EQ(mine.components.size(), theirs.components.size());
        for (size_t c = 0; c < mine.components.size(); ++c) {
            EXPECT_EQ(mine.components[c].id, theirs.components[c].id);
            EXPECT_EQ(mine.components[c].declaredH, theirs.components[c].h);
            EXPECT_EQ(mine.components[c].declaredV, theirs.components[c].v);
        }
        ASSERT_EQ(mine.scans.size(), theirs.scans.size());
        for (size_t i = 0; i < mine.scans.size(); ++i) {
            const lumjpeg::Scan& a = mine.scans[i];
            const lumtest::JpegScan& b = theirs.scans[i];
            EXPECT_EQ(a.ss, b.ss);
            EXPECT_EQ(a.se, b.se);
            EXPECT_EQ(a.ah, b.ah);
            EXPECT_EQ(a.al, b.al);
            EXPECT_EQ(a.restartInterval, b.restartInterval);
            ASSERT_EQ(a.components.size(), b.components.size());
            // The intervals, joined with their restart markers, are the test parser's scan data.
            std::vector<uint8_t> joined;
            for (size_t k = 0; k < a.intervals.size(); ++k) {
                if (k > 0) {
                    joined.push_back(0xFF);
                    joined.push_back(static_cast<uint8_t>(0xD0 + ((k - 1) & 7)));
                }
                joined.insert(joined.end(), bytes.begin() + static_cast<long>(a.intervals[k].begin),
                              bytes.begin() + static_cast<long>(a.intervals[k].end));
            }
            EXPECT_EQ(joined, b.data);
        }
        EXPECT_TRUE(mine.warnings.empty());
    }
}

TEST(LumjpegParser, RejectsUnsupportedProcessesByName)
{
    int seen = 0;
    for (const CorpusFile& f : readManifest(testDataDir())) {
        if (f["expect"] != "unsupported") continue;
        ++seen;
        try {
            parseGuarded(readBytes(f.path));
            ADD_FAILURE() << f.name << " parsed";
        } catch (const lumjpeg::Error& e) {
            EXPECT_EQ(std::string(e.what()).rfind("unsupported JPEG process: arithmetic coding", 0), 0u)
                << e.what();
        }
    }
    EXPECT_EQ(seen, 3);
}

// Every prefix of a file, and copies with damaged header bytes, parse or fail with an Error, reading
// nothing beyond the data (the guard page would fault).
TEST(LumjpegParser, DamagedAndTruncatedHeadersFailCleanly)
{
    std::mt19937 rng(7);
    int parsed = 0, failed = 0;
    const auto attempt = [&](const std::vector<uint8_t>& b) {
        try {
            parseGuarded(b);
            ++parsed;
        } catch (const lumjpeg::Error&) {
            ++failed;
        }
    };
    for (const char* name :
         {"gen_q85_420_progressive_restart1row.jpg", "gen_cmyk_q85.jpg", "gen_gray_q85.jpg"}) {
        const std::vector<uint8_t> bytes = readBytes(testDataDir() + "/" + name);
        const size_t firstScan = parseGuarded(bytes).scans.at(0).headerOffset;
        for (size_t n = 0; n <= firstScan + 40; ++n)
            attempt(std::vector<uint8_t>(bytes.begin(), bytes.begin() + static_cast<long>(n)));
        for (int i = 0; i < 300; ++i) {
            std::vector<uint8_t> b = bytes;
            for (int k = 0; k < 1 + i % 4; ++k)
                b[rng() % (firstScan + 20)] ^= static_cast<uint8_t>(1u << (rng() % 8));
            attempt(b);
        }
    }
    for (int i = 0; i < 200; ++i) {
        std::vector<uint8_t> b(rng() % 2000);
        for (uint8_t& x : b) x = static_cast<uint8_t>(rng() % 4 == 0 ? 0xFF : rng());
        if (b.size() >= 2) b[0] = 0xFF, b[1] = 0xD8;
        attempt(b);
    }
    EXPECT_GT(parsed, 0);
    EXPECT_GT(failed, 0);
}

TEST(LumjpegWriter, SegmentsReadBackThroughTheTestParser)
{
    lumjpeg::JpegWriter w;
    const std::vector<lumjpeg::FrameComponent> frame = {
        {1, 2, 2, 0, 2, 2}, {2, 1, 1, 1, 1, 1}, {3, 1, 1, 1, 1, 1}};
    w.marker(0xD8);
    w.jfifApp0();
    w.quantTable(0, lumjpeg::standardLumaQuant());
    w.quantTable(1, lumjpeg::standardChromaQuant());
    w.startOfFrame(0xC2, 1000, 667, frame);
    w.huffmanTable(0, 1, lumjpeg::standardDcChroma());
    w.restartInterval(7);
    w.startOfScan(frame, {{0, 0, 0}, {1, 1, 0}, {2, 1, 0}}, 0, 0, 0, 1);
    w.marker(0xD9);
    const std::vector<uint8_t> bytes = w.finish();
    const lumtest::JpegFile f = lumtest::parseJpeg(bytes);
    EXPECT_EQ(f.width, 1000);
    EXPECT_EQ(f.height, 667);
    EXPECT_EQ(f.sofMarker, 0xC2);
    ASSERT_EQ(f.components.size(), 3u);
    EXPECT_EQ(f.components[0].h, 2);
    EXPECT_EQ(f.components[2].tq, 1);
    ASSERT_EQ(f.scans.size(), 1u);
    EXPECT_EQ(f.scans[0].restartInterval, 7);
    EXPECT_EQ(f.scans[0].al, 1);
    EXPECT_EQ(f.scans[0].components[1].td, 1);
    EXPECT_EQ(f.scans[0].dc[1]->vals, lumjpeg::standardDcChroma().vals);
    EXPECT_EQ(f.quant[1][5], lumjpeg::standardChromaQuant()[5]);
    const lumjpeg::JpegStream mine = parseGuarded(bytes);
    EXPECT_TRUE(mine.jfif);
    EXPECT_EQ(mine.restartIntervals, std::vector<int>{7});
}

}  // namespace
