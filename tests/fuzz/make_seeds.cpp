// Writes the seed corpus of the Huffman decoding fuzz targets: every scan of every JPEG file in a
// folder, in each target's input layout (parameters, tables as DHT carries them, the first bytes
// of the entropy-coded segment).
//   fuzz_hdec_make_seeds <folder of .jpg files> <output folder>
#include "jpeg_file.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr size_t kMaxStreamBytes = 4096;

void appendTable(std::vector<uint8_t>& out, const std::optional<lumtest::JpegHuffmanTable>& t)
{
    if (!t) {
        out.insert(out.end(), 16, 0);
        return;
    }
    out.insert(out.end(), t->bits.begin(), t->bits.end());
    out.insert(out.end(), t->vals.begin(), t->vals.end());
}

void write(const fs::path& dir, const std::string& name, std::vector<uint8_t> seed, const std::vector<uint8_t>& data)
{
    seed.insert(seed.end(), data.begin(), data.begin() + static_cast<long>(std::min(data.size(), kMaxStreamBytes)));
    fs::create_directories(dir);
    std::ofstream(dir / name, std::ios::binary).write(reinterpret_cast<const char*>(seed.data()),
                                                      static_cast<std::streamsize>(seed.size()));
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s <jpeg folder> <output folder>\n", argv[0]);
        return 2;
    }
    const fs::path out = argv[2];
    int seeds = 0;
    for (const auto& entry : fs::directory_iterator(argv[1])) {
        if (entry.path().extension() != ".jpg") continue;
        const lumtest::JpegFile f = lumtest::parseJpeg(lumtest::readFileBytes(entry.path().string()));
        int index = 0;
        for (const auto& s : f.scans) {
            const auto& c = s.components[0];
            const std::string name = entry.path().stem().string() + "_scan" + std::to_string(index++);
            std::vector<uint8_t> seed;
            if (!f.progressive) {
                appendTable(seed, s.dc[c.td]);
                appendTable(seed, s.ac[c.ta]);
                write(out / "sequential", name, seed, s.data);
            } else if (s.ss == 0) {
                seed = {static_cast<uint8_t>(s.al), static_cast<uint8_t>(s.ah != 0)};
                appendTable(seed, s.ah == 0 ? s.dc[c.td] : std::nullopt);
                write(out / "dc", name, seed, s.data);
            } else {
                seed = {static_cast<uint8_t>(s.al), static_cast<uint8_t>(s.ss - 1), static_cast<uint8_t>(s.se - s.ss)};
                appendTable(seed, s.ac[c.ta]);
                write(out / (s.ah == 0 ? "ac_first" : "ac_refine"), name, seed, s.data);
            }
            ++seeds;
        }
    }
    std::printf("%d seeds in %s\n", seeds, argv[2]);
    return 0;
}
