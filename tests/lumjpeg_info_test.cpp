// `lumjpeg info` against two independent readers of the same marker segments: djpeg's -verbose trace
// (frame, components, every table and restart definition, every scan header) and ImageMagick's
// identify (size, sampling factors, progressive or not). Unsupported and damaged files must end in
// one line of error or a description.
#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "lumjpeg_test_support.h"

namespace {

using namespace lumjpegtest;

// One canonical line per fact, in file order within each kind, from djpeg's trace.
std::vector<std::string> factsFromDjpeg(const std::string& trace)
{
    std::vector<std::string> facts;
    std::smatch m;
    std::string scanIds, scanDc, scanAc;
    bool inFrame = false, inScan = false;
    for (const std::string& line : lines(trace)) {
        if (std::regex_search(line, m, std::regex(R"(Start Of Frame 0x(c[0-9a-f]): width=(\d+), height=(\d+), components=(\d+))"))) {
            facts.push_back("frame " + m[1].str() + " " + m[2].str() + "x" + m[3].str() + " components " + m[4].str());
            inFrame = true;
            inScan = false;
        } else if (std::regex_search(line, m, std::regex(R"(^    Component (\d+): (\d+)hx(\d+)v q=(\d+))")) && inFrame) {
            facts.push_back("component " + m[1].str() + " " + m[2].str() + "x" + m[3].str() + " q" + m[4].str());
        } else if (std::regex_search(line, m, std::regex(R"(Define Quantization Table (\d+)  precision (\d+))"))) {
            facts.push_back("table Q " + m[1].str() + " " + (m[2].str() == "0" ? "8" : "16"));
            inFrame = false;
        } else if (std::regex_search(line, m, std::regex(R"(Define Huffman Table 0x([01])([0-9a-f]))"))) {
            facts.push_back(std::string("table ") + (m[1].str() == "0" ? "D " : "A ") + m[2].str());
            inFrame = false;
        } else if (std::regex_search(line, m, std::regex(R"(Define Restart Interval (\d+))"))) {
            facts.push_back("dri " + m[1].str());
            inFrame = false;
        } else if (line.find("Start Of Scan:") != std::string::npos) {
            scanIds = scanDc = scanAc = "";
            inScan = true;
            inFrame = false;
        } else if (std::regex_search(line, m, std::regex(R"(^    Component (\d+): dc=(\d+) ac=(\d+))")) && inScan) {
            const std::string sep = scanIds.empty() ? "" : ",";
            scanIds += sep + m[1].str();
            scanDc += sep + m[2].str();
            scanAc += sep + m[3].str();
        } else if (std::regex_search(line, m, std::regex(R"(Ss=(\d+), Se=(\d+), Ah=(\d+), Al=(\d+))")) && inScan) {
            facts.push_back("scan " + scanIds + " dc " + scanDc + " ac " + scanAc + " ss " + m[1].str() + " se " +
                            m[2].str() + " ah " + m[3].str() + " al " + m[4].str());
            inScan = false;
        }
    }
    return facts;
}

// The same facts from the text of `lumjpeg info`.
std::vector<std::string> factsFromInfo(const std::string& text)
{
    std::vector<std::string> facts;
    std::smatch m;
    std::string sof, size;
    for (const std::string& line : lines(text)) {
        if (std::regex_search(line, m, std::regex(R"(^process: .*\(SOF(\d+)\))"))) {
            sof = "c" + m[1].str();
        } else if (std::regex_search(line, m, std::regex(R"(^size: (\d+x\d+))"))) {
            size = m[1].str();
        } else if (std::regex_search(line, m, std::regex(R"(^components: (\d+))"))) {
            facts.push_back("frame " + sof + " " + size + " components " + m[1].str());
        } else if (std::regex_search(line, m, std::regex(R"(^  component \d+: id (\d+), sampling (\d+x\d+), quantization table (\d+))"))) {
            facts.push_back("component " + m[1].str() + " " + m[2].str() + " q" + m[3].str());
        } else if (std::regex_search(line, m, std::regex(R"(^  quantization table (\d+): (\d+)-bit)"))) {
            facts.push_back("table Q " + m[1].str() + " " + m[2].str());
        } else if (std::regex_search(line, m, std::regex(R"(^  Huffman table (DC|AC) (\d+):)"))) {
            facts.push_back(std::string("table ") + (m[1].str() == "DC" ? "D " : "A ") + m[2].str());
        } else if (std::regex_search(line, m, std::regex(R"(^restart interval: ([0-9,]+))"))) {
            std::stringstream values(m[1].str());
            std::string v;
            while (std::getline(values, v, ',')) facts.push_back("dri " + v);
        } else if (std::regex_search(line, m, std::regex(R"(^  scan \d+: components ([0-9,]+), Ss (\d+) Se (\d+) Ah (\d+) Al (\d+), DC tables ([0-9]+(?:,[0-9]+)*), AC tables ([0-9]+(?:,[0-9]+)*))"))) {
            facts.push_back("scan " + m[1].str() + " dc " + m[6].str() + " ac " + m[7].str() + " ss " + m[2].str() +
                            " se " + m[3].str() + " ah " + m[4].str() + " al " + m[5].str());
        }
    }
    return facts;
}

// Groups facts by kind, keeping the file order within each kind; the info text lists tables, restart
// intervals and scans apart, djpeg interleaves them.
std::map<std::string, std::vector<std::string>> byKind(const std::vector<std::string>& facts)
{
    std::map<std::string, std::vector<std::string>> groups;
    for (const std::string& f : facts) groups[f.substr(0, f.find(' '))].push_back(f);
    return groups;
}

TEST(LumjpegInfo, AgreesWithTheDjpegTraceOnEveryValidFile)
{
    const std::vector<CorpusFile> files = corpus("ok");
    ASSERT_GE(files.size(), 50u);
    for (const CorpusFile& f : files) {
        SCOPED_TRACE(f.path);
        const CommandResult info = run(lumjpegTool() + " info " + quoted(f.path));
        ASSERT_EQ(info.exitCode, 0) << info.output;
        const CommandResult trace = run("djpeg -verbose -outfile /dev/null " + quoted(f.path));
        ASSERT_EQ(trace.exitCode, 0);
        const auto mine = byKind(factsFromInfo(info.output));
        const auto theirs = byKind(factsFromDjpeg(trace.output));
        EXPECT_EQ(mine, theirs);
        EXPECT_EQ(mine.at("scan").size(), std::stoul(f["scans"]));
    }
}

TEST(LumjpegInfo, AgreesWithIdentifyOnSizeSamplingAndInterlace)
{
    const std::vector<CorpusFile> files = corpus("ok");
    for (const CorpusFile& f : files) {
        SCOPED_TRACE(f.path);
        const CommandResult id =
            run("identify -format '%w %h %[jpeg:sampling-factor] %[interlace]\\n' " + quoted(f.path));
        ASSERT_EQ(id.exitCode, 0) << id.output;
        // identify may add warnings about metadata around the line asked for.
        std::smatch m;
        ASSERT_TRUE(std::regex_search(id.output, m, std::regex(R"((?:^|\n)(\d+) (\d+) (\S+) (\S+)\n)"))) << id.output;
        const std::string w = m[1], h = m[2], sampling = m[3], interlace = m[4];
        const std::string info = run(lumjpegTool() + " info " + quoted(f.path)).output;
        EXPECT_NE(info.find("\nsize: " + w + "x" + h + "\n"), std::string::npos) << info;
        EXPECT_NE(info.find("\nsampling: " + sampling + "\n"), std::string::npos) << info;
        EXPECT_EQ(info.find("process: progressive") != std::string::npos, interlace == "JPEG") << info;
    }
}

TEST(LumjpegInfo, UnsupportedFilesGiveOneLineAndFailure)
{
    const std::vector<CorpusFile> files = corpus("unsupported");
    ASSERT_GE(files.size(), 3u);
    for (const CorpusFile& f : files) {
        SCOPED_TRACE(f.path);
        const CommandResult r = run(lumjpegTool() + " info " + quoted(f.path));
        EXPECT_EQ(r.exitCode, 1);
        ASSERT_EQ(lines(r.output).size(), 1u) << r.output;
        EXPECT_EQ(r.output.rfind("lumjpeg: unsupported JPEG", 0), 0u) << r.output;
    }
}

TEST(LumjpegInfo, DamagedFilesGiveADescriptionOrOneLineOfError)
{
    const std::vector<CorpusFile> files = corpus("corrupt");
    ASSERT_GE(files.size(), 20u);
    for (const CorpusFile& f : files) {
        SCOPED_TRACE(f.path);
        const CommandResult r = run(lumjpegTool() + " info " + quoted(f.path));
        if (r.exitCode == 0) {
            EXPECT_NE(r.output.find("\nscans: "), std::string::npos) << r.output;
        } else {
            EXPECT_EQ(r.exitCode, 1);
            EXPECT_EQ(lines(r.output).size(), 1u) << r.output;
            EXPECT_EQ(r.output.rfind("lumjpeg: ", 0), 0u) << r.output;
        }
    }
}

}  // namespace
