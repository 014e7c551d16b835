// `lumjpeg info` against two independent readers of the same marker segments: djpeg's -verbose trace
// (frame, components, every table and restart definition, every scan header) and ImageMagick's
// identify (size, sampling factors, progressive or not). Unsupported and damaged files must end in
// one line of error or a description.
#include <gtest/gtest.h>

#include <cstdio>
#include <set>

#include "lumjpeg_test_support.h"

namespace {

using namespace lumjpegtest;

std::string trimCommas(std::string s)
{
    while (!s.empty() && s.back() == ',') s.pop_back();
    return s;
}

// One canonical line per fact, in file order within each kind, from djpeg's trace.
std::vector<std::string> factsFromDjpeg(const std::string& trace)
{
    std::vector<std::string> facts;
    std::string scanIds, scanDc, scanAc;
    for (const std::string& line : lines(trace)) {
        const char* l = line.c_str();
        int a, b, c, d;
        unsigned x;
        if (std::sscanf(l, "Start Of Frame 0x%x: width=%d, height=%d, components=%d", &x, &a, &b, &c) == 4) {
            char sof[8];
            std::snprintf(sof, sizeof sof, "%x", x);
            facts.push_back("frame " + std::string(sof) + " " + std::to_string(a) + "x" + std::to_string(b) +
                            " components " + std::to_string(c));
        } else if (std::sscanf(l, " Component %d: %dhx%dv q=%d", &a, &b, &c, &d) == 4) {
            facts.push_back("component " + std::to_string(a) + " " + std::to_string(b) + "x" +
                            std::to_string(c) + " q" + std::to_string(d));
        } else if (std::sscanf(l, "Define Quantization Table %d precision %d", &a, &b) == 2) {
            facts.push_back("table Q " + std::to_string(a) + " " + (b == 0 ? "8" : "16"));
        } else if (std::sscanf(l, "Define Huffman Table 0x%x", &x) == 1) {
            facts.push_back(std::string("table ") + (x >> 4 == 0 ? "D " : "A ") + std::to_string(x & 15));
        } else if (std::sscanf(l, "Define Restart Interval %d", &a) == 1) {
            facts.push_back("dri " + std::to_string(a));
        } else if (std::sscanf(l, "Start Of Scan: %d components", &a) == 1) {
            scanIds = scanDc = scanAc = "";
        } else if (std::sscanf(l, " Component %d: dc=%d ac=%d", &a, &b, &c) == 3) {
            const std::string sep = scanIds.empty() ? "" : ",";
            scanIds += sep + std::to_string(a);
            scanDc += sep + std::to_string(b);
            scanAc += sep + std::to_string(c);
        } else if (std::sscanf(l, " Ss=%d, Se=%d, Ah=%d, Al=%d", &a, &b, &c, &d) == 4) {
            facts.push_back("scan " + scanIds + " dc " + scanDc + " ac " + scanAc + " ss " +
                            std::to_string(a) + " se " + std::to_string(b) + " ah " + std::to_string(c) +
                            " al " + std::to_string(d));
        }
    }
    return facts;
}

// The same facts from the text of `lumjpeg info`.
std::vector<std::string> factsFromInfo(const std::string& text)
{
    std::vector<std::string> facts;
    std::string sof, size;
    for (const std::string& line : lines(text)) {
        const char* l = line.c_str();
        int a, b, c, d;
        char ids[64], dc[64], ac[64], cls[4];
        if (std::sscanf(l, "process: %*[^(](SOF%d)", &a) == 1) {
            sof = "c" + std::to_string(a);
        } else if (std::sscanf(l, "size: %dx%d", &a, &b) == 2) {
            size = std::to_string(a) + "x" + std::to_string(b);
        } else if (std::sscanf(l, "components: %d", &a) == 1) {
            facts.push_back("frame " + sof + " " + size + " components " + std::to_string(a));
        } else if (std::sscanf(l, " component %*d: id %d, sampling %dx%d, quantization table %d", &a, &b, &c,
                               &d) == 4) {
            facts.push_back("component " + std::to_string(a) + " " + std::to_string(b) + "x" +
                            std::to_string(c) + " q" + std::to_string(d));
        } else if (std::sscanf(l, " quantization table %d: %d-bit", &a, &b) == 2) {
            facts.push_back("table Q " + std::to_string(a) + " " + std::to_string(b));
        } else if (std::sscanf(l, " Huffman table %3s %d:", cls, &a) == 2) {
            facts.push_back(std::string("table ") + (std::string(cls) == "DC" ? "D " : "A ") +
                            std::to_string(a));
        } else if (std::sscanf(l, "restart interval: %63[0-9,]", ids) == 1) {
            std::stringstream values(ids);
            std::string v;
            while (std::getline(values, v, ',')) facts.push_back("dri " + v);
        } else if (std::sscanf(l,
                               " scan %*d: components %63[0-9,] Ss %d Se %d Ah %d Al %d, DC tables %63[0-9,] "
                               "AC tables %63[0-9,]",
                               ids, &a, &b, &c, &d, dc, ac) == 7) {
            facts.push_back("scan " + trimCommas(ids) + " dc " + trimCommas(dc) + " ac " + trimCommas(ac) +
                            " ss " + std::to_string(a) + " se " + std::to_string(b) + " ah " +
                            std::to_string(c) + " al " + std::to_string(d));
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

// Runs `lumjpeg info` on every corpus file of one class (at least `atLeast` of them) and hands the
// file and the result to `check`.
template <typename Check>
void forEachInfo(const std::string& expect, size_t atLeast, Check check)
{
    const std::vector<CorpusFile> files = corpus(expect);
    ASSERT_GE(files.size(), atLeast);
    for (const CorpusFile& f : files) {
        SCOPED_TRACE(f.path);
        check(f, run(lumjpegTool() + " info " + quoted(f.path)));
    }
}

TEST(LumjpegInfo, AgreesWithTheDjpegTraceOnEveryValidFile)
{
    forEachInfo("ok", 50, [](const CorpusFile& f, const CommandResult& info) {
        ASSERT_EQ(info.exitCode, 0) << info.output;
        const CommandResult trace = run("djpeg -verbose -outfile /dev/null " + quoted(f.path));
        ASSERT_EQ(trace.exitCode, 0);
        const auto mine = byKind(factsFromInfo(info.output));
        EXPECT_EQ(mine, byKind(factsFromDjpeg(trace.output)));
        EXPECT_EQ(mine.at("scan").size(), std::stoul(f["scans"]));
    });
}

// identify's view of every valid file, by path, from one run over all of them.
std::map<std::string, std::string> identifyAll()
{
    std::string command = "identify -format '%i|%w %h %[jpeg:sampling-factor] %[interlace]\\n'";
    for (const CorpusFile& f : corpus("ok")) command += " " + quoted(f.path);
    std::map<std::string, std::string> seen;
    // identify may add warnings about metadata between the lines asked for.
    for (const std::string& line : lines(run(command).output))
        if (line.find('|') != std::string::npos)
            seen[line.substr(0, line.find('|'))] = line.substr(line.find('|') + 1);
    return seen;
}

TEST(LumjpegInfo, AgreesWithIdentifyOnSizeSamplingAndInterlace)
{
    const std::map<std::string, std::string> identified = identifyAll();
    forEachInfo("ok", 50, [&](const CorpusFile& f, const CommandResult& info) {
        ASSERT_EQ(identified.count(f.path), 1u);
        int w = 0, h = 0;
        char sampling[64] = "", interlace[16] = "";
        ASSERT_EQ(std::sscanf(identified.at(f.path).c_str(), "%d %d %63s %15s", &w, &h, sampling, interlace),
                  4);
        const std::string& text = info.output;
        EXPECT_NE(text.find("\nsize: " + std::to_string(w) + "x" + std::to_string(h) + "\n"),
                  std::string::npos)
            << text;
        EXPECT_NE(text.find("\nsampling: " + std::string(sampling) + "\n"), std::string::npos) << text;
        EXPECT_EQ(text.find("process: progressive") != std::string::npos, std::string(interlace) == "JPEG")
            << text;
    });
}

TEST(LumjpegInfo, UnsupportedFilesGiveOneLineAndFailure)
{
    forEachInfo("unsupported", 3, [](const CorpusFile&, const CommandResult& r) {
        EXPECT_EQ(r.exitCode, 1);
        ASSERT_EQ(lines(r.output).size(), 1u) << r.output;
        EXPECT_EQ(r.output.rfind("lumjpeg: unsupported JPEG", 0), 0u) << r.output;
    });
}

TEST(LumjpegInfo, DamagedFilesGiveADescriptionOrOneLineOfError)
{
    forEachInfo("corrupt", 20, [](const CorpusFile&, const CommandResult& r) {
        if (r.exitCode == 0) {
            EXPECT_NE(r.output.find("\nscans: "), std::string::npos) << r.output;
        } else {
            EXPECT_EQ(r.exitCode, 1);
            EXPECT_EQ(lines(r.output).size(), 1u) << r.output;
            EXPECT_EQ(r.output.rfind("lumjpeg: ", 0), 0u) << r.output;
        }
    });
}

}  // namespace
