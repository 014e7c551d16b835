// Helpers of the lumjpeg tests: running the oracles (djpeg, cjpeg, jpegtran, identify) and the tool,
// reading the test corpus manifest, and a scratch folder.
#pragma once

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <memory>
#include <vector>

#include "image.h"
#include "test_support.h"

namespace lumjpegtest {

struct CommandResult {
    int exitCode = -1;
    std::string output;  // stdout and stderr together
};

// Runs a shell command and collects what it prints.
inline CommandResult run(const std::string& command)
{
    CommandResult r;
    FILE* p = popen((command + " 2>&1").c_str(), "r");
    if (p == nullptr) return r;
    std::array<char, 4096> chunk;
    size_t n;
    while ((n = fread(chunk.data(), 1, chunk.size(), p)) > 0) r.output.append(chunk.data(), n);
    const int status = pclose(p);
    r.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return r;
}

inline std::string quoted(const std::string& path) { return "'" + path + "'"; }

// A PGM, PPM or PAM file as an image.
inline lumjpeg::Image readPnmFile(const std::string& path)
{
    const std::vector<uint8_t> bytes = lumjpeg::readFile(path);
    return lumjpeg::parsePnm(bytes.data(), bytes.size());
}

inline std::string lumjpegTool() { return LUMJPEG_TOOL; }

inline std::string testDataDir() { return std::string(LUM_SOURCE_DIR) + "/tests/data/jpeg"; }

// The shared team corpus next to the repository, when this checkout has it.
inline std::string sharedCorpusDir() { return std::string(LUM_SOURCE_DIR) + "/../shared/testdata/jpeg"; }

inline std::string demoPhoto() { return std::string(LUM_SOURCE_DIR) + "/tools/lumjpeg/data/coffee.ppm"; }

struct CorpusFile {
    std::string path;  // absolute
    std::string name;  // as in the manifest
    std::map<std::string, std::string> fields;
    const std::string& operator[](const std::string& key) const { return fields.at(key); }
};

// The rows of a corpus MANIFEST.tsv; empty when the folder does not exist.
inline std::vector<CorpusFile> readManifest(const std::string& dir)
{
    std::vector<CorpusFile> files;
    std::ifstream in(dir + "/MANIFEST.tsv");
    if (!in) return files;
    std::string line;
    std::vector<std::string> header;
    const auto split = [](const std::string& s) {
        std::vector<std::string> parts;
        std::string cur;
        for (char c : s) {
            if (c == '\t') {
                parts.push_back(cur);
                cur.clear();
            } else {
                cur += c;
            }
        }
        parts.push_back(cur);
        return parts;
    };
    std::getline(in, line);
    header = split(line);
    while (std::getline(in, line)) {
        const std::vector<std::string> parts = split(line);
        CorpusFile f;
        for (size_t i = 0; i < header.size() && i < parts.size(); ++i) f.fields[header[i]] = parts[i];
        f.name = f.fields["file"];
        f.path = dir + "/" + f.name;
        files.push_back(f);
    }
    return files;
}

// The files of one `expect` class (ok, unsupported, corrupt) of this repository's corpus and, when
// the checkout has it, of the shared one.
inline std::vector<CorpusFile> corpus(const std::string& expect)
{
    std::vector<CorpusFile> files;
    for (const std::string& dir : {testDataDir(), sharedCorpusDir()})
        for (const CorpusFile& f : readManifest(dir))
            if (f["expect"] == expect) files.push_back(f);
    return files;
}

// A fresh folder under the build's temporary space, removed at the end of the test.
class ScratchDir {
public:
    explicit ScratchDir(const std::string& name)
    {
        path_ = std::filesystem::temp_directory_path() / ("lumjpeg_" + name + "_" + std::to_string(getpid()));
        std::filesystem::remove_all(path_);
        std::filesystem::create_directories(path_);
    }
    ~ScratchDir() { std::filesystem::remove_all(path_); }
    std::string file(const std::string& name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

// A copy of `bytes` that ends right before an inaccessible page, so that reading past it faults.
inline std::unique_ptr<lumtest::GuardedBuffer> guardedCopy(const std::vector<uint8_t>& bytes)
{
    auto buf = std::make_unique<lumtest::GuardedBuffer>(bytes.size());
    if (!bytes.empty()) std::memcpy(buf->data(), bytes.data(), bytes.size());
    return buf;
}

inline std::vector<std::string> lines(const std::string& text)
{
    std::vector<std::string> out;
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line)) out.push_back(line);
    return out;
}

}  // namespace lumjpegtest
