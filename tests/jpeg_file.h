// A small JPEG marker parser for tests: frame, tables, restart interval and the entropy-coded
// bytes of every scan, so that scans can be re-encoded or decoded with the library's primitives
// and compared with an independent decoder's coefficients.
#pragma once

#include <array>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace lumtest {

struct JpegHuffmanTable {
    std::array<uint8_t, 16> bits{};  // counts of codes of length 1..16
    std::vector<uint8_t> vals;       // symbols in order of rising code
};

struct JpegComponent {
    int id = 0;
    int h = 1;  // horizontal sampling factor
    int v = 1;  // vertical sampling factor
    int tq = 0;
};

struct JpegScanComponent {
    int index = 0;  // index into JpegFile::components
    int td = 0;     // DC table
    int ta = 0;     // AC table
};

struct JpegScan {
    std::vector<JpegScanComponent> components;
    int ss = 0, se = 63, ah = 0, al = 0;
    int restartInterval = 0;                 // in MCUs, as in force for this scan
    std::vector<uint8_t> data;               // entropy-coded bytes, restart markers included
    std::array<std::optional<JpegHuffmanTable>, 4> dc, ac;  // tables in force for this scan
};

struct JpegFile {
    int width = 0, height = 0, precision = 8;
    int sofMarker = 0;  // 0xC0, 0xC1 or 0xC2
    bool progressive = false;
    std::vector<JpegComponent> components;
    std::array<std::array<uint16_t, 64>, 4> quant{};  // zigzag order, as in the file
    std::vector<JpegScan> scans;

    int maxH() const
    {
        int m = 1;
        for (const auto& c : components) m = std::max(m, c.h);
        return m;
    }
    int maxV() const
    {
        int m = 1;
        for (const auto& c : components) m = std::max(m, c.v);
        return m;
    }
    int mcuCols() const { return (width + 8 * maxH() - 1) / (8 * maxH()); }
    int mcuRows() const { return (height + 8 * maxV() - 1) / (8 * maxV()); }
    // Blocks of a component that carry image data (the non-interleaved scan order covers these).
    int blockCols(int c) const { return (width * components[c].h + 8 * maxH() - 1) / (8 * maxH()); }
    int blockRows(int c) const { return (height * components[c].v + 8 * maxV() - 1) / (8 * maxV()); }
};

inline std::vector<uint8_t> readFileBytes(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error("cannot open " + path);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// Parses a baseline, extended or progressive Huffman JPEG. Throws on anything it does not follow.
inline JpegFile parseJpeg(const std::vector<uint8_t>& b)
{
    JpegFile f;
    std::array<std::optional<JpegHuffmanTable>, 4> dc, ac;
    int restart = 0;
    size_t p = 0;
    auto need = [&](size_t n) {
        if (p + n > b.size()) throw std::runtime_error("truncated JPEG");
    };
    auto u16 = [&](size_t at) { return static_cast<int>(b[at] << 8 | b[at + 1]); };
    need(2);
    if (b[0] != 0xFF || b[1] != 0xD8) throw std::runtime_error("no SOI");
    p = 2;
    while (true) {
        need(2);
        if (b[p] != 0xFF) throw std::runtime_error("marker expected");
        while (p < b.size() && b[p] == 0xFF) ++p;
        need(1);
        const int marker = b[p++];
        if (marker == 0xD9) break;
        need(2);
        const size_t len = static_cast<size_t>(u16(p));
        need(len);
        const size_t end = p + len;
        size_t q = p + 2;
        switch (marker) {
        case 0xC0:
        case 0xC1:
        case 0xC2: {
            f.sofMarker = marker;
            f.progressive = marker == 0xC2;
            f.precision = b[q];
            f.height = u16(q + 1);
            f.width = u16(q + 3);
            const int n = b[q + 5];
            q += 6;
            for (int i = 0; i < n; ++i, q += 3)
                f.components.push_back({b[q], b[q + 1] >> 4, b[q + 1] & 15, b[q + 2]});
            break;
        }
        case 0xC4:
            while (q < end) {
                const int tc = b[q] >> 4, th = b[q] & 15;
                JpegHuffmanTable t;
                size_t total = 0;
                for (int i = 0; i < 16; ++i) total += t.bits[i] = b[q + 1 + i];
                t.vals.assign(b.begin() + static_cast<long>(q + 17), b.begin() + static_cast<long>(q + 17 + total));
                (tc == 0 ? dc : ac)[th & 3] = t;
                q += 17 + total;
            }
            break;
        case 0xDB:
            while (q < end) {
                const int pq = b[q] >> 4, tq = b[q] & 3;
                ++q;
                for (int i = 0; i < 64; ++i) {
                    f.quant[tq][i] = static_cast<uint16_t>(pq ? u16(q) : b[q]);
                    q += pq ? 2 : 1;
                }
            }
            break;
        case 0xDD:
            restart = u16(q);
            break;
        case 0xDA: {
            JpegScan s;
            const int n = b[q++];
            for (int i = 0; i < n; ++i, q += 2) {
                JpegScanComponent c;
                for (size_t k = 0; k < f.components.size(); ++k)
                    if (f.components[k].id == b[q]) c.index = static_cast<int>(k);
                c.td = b[q + 1] >> 4;
                c.ta = b[q + 1] & 15;
                s.components.push_back(c);
            }
            s.ss = b[q];
            s.se = b[q + 1];
            s.ah = b[q + 2] >> 4;
            s.al = b[q + 2] & 15;
            s.restartInterval = restart;
            s.dc = dc;
            s.ac = ac;
            // The entropy-coded segment runs to the first marker that is neither a stuffed zero
            // nor a restart marker.
            size_t e = end;
            while (e + 1 < b.size() &&
                   !(b[e] == 0xFF && b[e + 1] != 0x00 && !(b[e + 1] >= 0xD0 && b[e + 1] <= 0xD7)))
                ++e;
            s.data.assign(b.begin() + static_cast<long>(end), b.begin() + static_cast<long>(e));
            f.scans.push_back(std::move(s));
            p = e;
            continue;
        }
        default:
            if (marker >= 0xC3 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC)
                throw std::runtime_error("unsupported coding process");
            break;
        }
        p = end;
    }
    return f;
}

}  // namespace lumtest
