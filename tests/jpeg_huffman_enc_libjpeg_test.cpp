// Interoperability with libjpeg-turbo as an independent oracle. Files made by cjpeg and jpegtran are
// read twice: their quantized coefficients through libjpeg's jpeg_read_coefficients, their scans (tables,
// parameters, entropy-coded bytes) through the test parser. Every scan is encoded again with the
// library's primitives and the file's own tables, restart intervals handled as a caller does (flush,
// marker, predictors and state reset), and must come out byte for byte, in every tier. Where the file's
// tables were fitted to the image, statistics and table construction must give the file's DHT lists.
#include "huffman_enc_support.h"
#include "jpeg_file.h"
#include "libjpeg_coefficients.h"
#include "tier_fixture.h"

#include <lum.h>

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace {

using namespace lumtest;

struct TestFile {
    const char* name;
    bool fitted;  // Huffman tables fitted to the image (-optimize, and every progressive file)
};

const TestFile kFiles[] = {
    {"gen_size_227x149_420.jpg", false},          // baseline, standard tables, 4:2:0, partial MCUs
    {"gen_size_17x13_444.jpg", false},            // 4:4:4, partial blocks
    {"gen_noise_q100_444.jpg", false},            // quality 100 noise: large coefficients
    {"gen_jpegtran_restart5mcu.jpg", false},      // 4:2:2 with restarts every 5 MCUs
    {"gen_gray_q60_restart3mcu.jpg", false},      // greyscale with restarts
    {"gen_q75_420_optimize.jpg", true},           // -optimize
    {"gen_q85_422_restart7mcu_opt.jpg", true},    // -optimize with restarts, 4:2:2
    {"gen_jpegtran_scans_refine.jpg", true},      // progressive, DC and AC refinement, Al 2
    {"gen_noise_q100_444_progressive.jpg", true}, // progressive, large coefficients
    {"gen_flat_progressive_eobrun.jpg", true},    // progressive, long EOB runs
    {"gen_gray_q85_progressive.jpg", true},       // progressive greyscale
    {"gen_q85_420_progressive_restart1row.jpg", true},  // progressive with restarts
};

struct Loaded {
    JpegFile file;
    std::vector<ComponentBlocks> coefficients;
};

const Loaded& load(const std::string& name)
{
    static std::map<std::string, Loaded> cache;
    auto it = cache.find(name);
    if (it == cache.end()) {
        const auto bytes = readFileBytes(LUM_SOURCE_DIR "/tests/data/jpeg/" + name);
        it = cache.emplace(name, Loaded{parseJpeg(bytes), readCoefficients(bytes)}).first;
    }
    return it->second;
}

// One block of a scan with the component it belongs to (its index in the scan).
struct ScanBlock {
    const model::Block* block;
    int scanComponent;
};

// The blocks of a scan in coding order, grouped by MCU.
std::vector<std::vector<ScanBlock>> scanMcus(const Loaded& f, const JpegScan& scan)
{
    std::vector<std::vector<ScanBlock>> mcus;
    if (scan.components.size() == 1) {
        const int c = scan.components[0].index;
        const auto& cb = f.coefficients[static_cast<size_t>(c)];
        for (int r = 0; r < f.file.blockRows(c); ++r)
            for (int col = 0; col < f.file.blockCols(c); ++col) mcus.push_back({{&cb.at(r, col), 0}});
        return mcus;
    }
    for (int mr = 0; mr < f.file.mcuRows(); ++mr) {
        for (int mc = 0; mc < f.file.mcuCols(); ++mc) {
            std::vector<ScanBlock> mcu;
            for (size_t i = 0; i < scan.components.size(); ++i) {
                const int c = scan.components[i].index;
                const auto& comp = f.file.components[static_cast<size_t>(c)];
                const auto& cb = f.coefficients[static_cast<size_t>(c)];
                for (int v = 0; v < comp.v; ++v)
                    for (int h = 0; h < comp.h; ++h)
                        mcu.push_back({&cb.at(mr * comp.v + v, mc * comp.h + h), static_cast<int>(i)});
            }
            mcus.push_back(mcu);
        }
    }
    return mcus;
}

enum class Kind { sequential, dcFirst, dcRefine, acFirst, acRefine };

Kind kindOf(const JpegFile& f, const JpegScan& s)
{
    if (!f.progressive) return Kind::sequential;
    if (s.ss == 0) return s.ah == 0 ? Kind::dcFirst : Kind::dcRefine;
    return s.ah == 0 ? Kind::acFirst : Kind::acRefine;
}

SpecRecord makeSpec(const std::optional<JpegHuffmanTable>& t)
{
    SpecRecord huffTable(3);
    if (t) {
        EXPECT_EQ(lumiEncodeHuffmanSpecInit_JPEG_8u(t->bits.data(), t->vals.data(), huffTable.get()), lumStsNoErr);
    }
    return huffTable;
}

// Encodes a scan with the library, restart markers written by the caller.
std::vector<uint8_t> encodeScan(const Loaded& f, const JpegScan& scan)
{
    const Kind kind = kindOf(f.file, scan);
    std::vector<SpecRecord> dc, ac;
    for (const auto& c : scan.components) {
        dc.push_back(makeSpec(scan.dc[static_cast<size_t>(c.td)]));
        ac.push_back(makeSpec(scan.ac[static_cast<size_t>(c.ta)]));
    }
    std::vector<Lum16s> lastDc(scan.components.size(), 0);
    State state(1);
    lumiEncodeHuffmanStateInit_JPEG_8u(state.get());
    std::vector<uint8_t> out(scan.data.size() + 4096);
    Lum32s pos = 0;
    const auto len = static_cast<Lum32s>(out.size());

    auto call = [&](const Lum16s* b, int i, Lum32s flush) -> LumStatus {
        LumEncodeHuffmanState* st = state.get();
        Lum16s* last = &lastDc[static_cast<size_t>(i)];
        switch (kind) {
        case Kind::sequential:
            return lumiEncodeHuffman8x8_JPEG_16s1u_C1(b, out.data(), len, &pos, last, dc[i].get(), ac[i].get(), st,
                                                     flush);
        case Kind::dcFirst:
            return lumiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(b, out.data(), len, &pos, last, scan.al, dc[i].get(), st,
                                                             flush);
        case Kind::dcRefine:
            return lumiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(b, out.data(), len, &pos, scan.al, st, flush);
        case Kind::acFirst:
            return lumiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(b, out.data(), len, &pos, scan.ss, scan.se, scan.al,
                                                             ac[i].get(), st, flush);
        case Kind::acRefine:
            return lumiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(b, out.data(), len, &pos, scan.ss, scan.se, scan.al,
                                                              ac[i].get(), st, flush);
        }
        return lumStsUnknown;
    };

    const auto mcus = scanMcus(f, scan);
    int marker = 0;
    for (size_t m = 0; m < mcus.size(); ++m) {
        if (scan.restartInterval != 0 && m != 0 && m % static_cast<size_t>(scan.restartInterval) == 0) {
            EXPECT_EQ(call(nullptr, 0, 1), lumStsNoErr);
            out[static_cast<size_t>(pos++)] = 0xFF;
            out[static_cast<size_t>(pos++)] = static_cast<uint8_t>(0xD0 + (marker++ & 7));
            std::fill(lastDc.begin(), lastDc.end(), 0);
        }
        for (const auto& sb : mcus[m]) EXPECT_EQ(call(sb.block->data(), sb.scanComponent, 0), lumStsNoErr);
    }
    EXPECT_EQ(call(nullptr, 0, 1), lumStsNoErr);
    out.resize(static_cast<size_t>(pos));
    return out;
}

// Gathers the scan's statistics per table and builds BITS and HUFFVAL from them. A sequential scan
// is counted as a DC first pass with Al 0 and an AC first pass over 1..63 flushed after every block,
// which makes each block's trailing zeros one EOB, as baseline coding has it.
void expectFittedTables(const Loaded& f, const JpegScan& scan, const std::string& what)
{
    const Kind kind = kindOf(f.file, scan);
    if (kind == Kind::dcRefine) return;
    const bool countsDc = kind == Kind::sequential || kind == Kind::dcFirst;
    const bool countsAc = kind != Kind::dcFirst;
    std::map<int, std::vector<Lum32s>> dcFreq, acFreq;
    for (const auto& c : scan.components) {
        if (countsDc) dcFreq[c.td].assign(257, 0);
        if (countsAc) acFreq[c.ta].assign(257, 0);
    }
    std::vector<Lum16s> lastDc(scan.components.size(), 0);
    State state(2);
    lumiEncodeHuffmanStateInit_JPEG_8u(state.get());
    const int ss = kind == Kind::sequential ? 1 : scan.ss;
    const int se = kind == Kind::sequential ? 63 : scan.se;
    const int al = kind == Kind::sequential ? 0 : scan.al;
    auto acStats = [&](const Lum16s* b, Lum32s* freq, Lum32s flush) -> LumStatus {
        return kind == Kind::acRefine
                   ? lumiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(b, freq, ss, se, al, state.get(), flush)
                   : lumiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(b, freq, ss, se, al, state.get(), flush);
    };
    Lum32s* scanAcFreq = countsAc ? acFreq[scan.components[0].ta].data() : nullptr;

    const auto mcus = scanMcus(f, scan);
    for (size_t m = 0; m < mcus.size(); ++m) {
        if (scan.restartInterval != 0 && m != 0 && m % static_cast<size_t>(scan.restartInterval) == 0) {
            if (countsAc) {
                EXPECT_EQ(acStats(nullptr, scanAcFreq, 1), lumStsNoErr);
            }
            std::fill(lastDc.begin(), lastDc.end(), 0);
        }
        for (const auto& sb : mcus[m]) {
            const auto& c = scan.components[static_cast<size_t>(sb.scanComponent)];
            if (countsDc) {
                Lum16s* last = &lastDc[static_cast<size_t>(sb.scanComponent)];
                EXPECT_EQ(lumiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(sb.block->data(), dcFreq[c.td].data(), last,
                                                                          al),
                          lumStsNoErr);
            }
            if (countsAc) {
                EXPECT_EQ(acStats(sb.block->data(), acFreq[c.ta].data(), 0), lumStsNoErr);
                if (kind == Kind::sequential) {
                    EXPECT_EQ(acStats(nullptr, acFreq[c.ta].data(), 1), lumStsNoErr);
                }
            }
        }
    }
    if (countsAc) {
        EXPECT_EQ(acStats(nullptr, scanAcFreq, 1), lumStsNoErr);
    }

    auto compare = [&](const std::map<int, std::vector<Lum32s>>& freqs,
                       const std::array<std::optional<JpegHuffmanTable>, 4>& tables, const char* cls) {
        for (const auto& [id, freq] : freqs) {
            std::array<uint8_t, 16> bits{};
            std::vector<uint8_t> vals(256, 0);
            ASSERT_EQ(lumiEncodeHuffmanRawTableInit_JPEG_8u(freq.data(), bits.data(), vals.data()), lumStsNoErr);
            const auto& t = tables[static_cast<size_t>(id)];
            ASSERT_TRUE(t.has_value());
            EXPECT_EQ(bits, t->bits) << what << " " << cls << id;
            vals.resize(t->vals.size());
            EXPECT_EQ(vals, t->vals) << what << " " << cls << id;
        }
    };
    compare(dcFreq, scan.dc, "DC");
    compare(acFreq, scan.ac, "AC");
}

class LibjpegInterop : public TierTest {};

TEST_P(LibjpegInterop, EveryScanComesOutByteForByte)
{
    int scans = 0;
    for (const auto& tf : kFiles) {
        const Loaded& f = load(tf.name);
        for (size_t s = 0; s < f.file.scans.size(); ++s) {
            const auto& scan = f.file.scans[s];
            const auto out = encodeScan(f, scan);
            EXPECT_EQ(out.size(), scan.data.size()) << tf.name << " scan " << s;
            EXPECT_TRUE(out == scan.data) << tf.name << " scan " << s;
            ++scans;
        }
    }
    EXPECT_EQ(scans, 5 + 2 + 13 + 10 + 10 + 6 + 10);
}

TEST_P(LibjpegInterop, StatisticsGiveTheFilesFittedTables)
{
    for (const auto& tf : kFiles) {
        if (!tf.fitted) continue;
        const Loaded& f = load(tf.name);
        for (size_t s = 0; s < f.file.scans.size(); ++s)
            expectFittedTables(f, f.file.scans[s], std::string(tf.name) + " scan " + std::to_string(s));
    }
}

TEST(LibjpegInteropFiles, CoverTheIntendedCases)
{
    // The files hold what the tests claim: restarts, 4:2:2 and 4:2:0, greyscale, refinement with Al > 0.
    const auto& restart = load("gen_jpegtran_restart5mcu.jpg").file;
    EXPECT_EQ(restart.scans[0].restartInterval, 5);
    EXPECT_EQ(restart.components[0].h, 2);
    EXPECT_EQ(restart.components[0].v, 1);
    EXPECT_EQ(load("gen_gray_q60_restart3mcu.jpg").file.components.size(), 1u);
    const auto& refine = load("gen_jpegtran_scans_refine.jpg").file;
    bool dcRefineAl = false, acRefine = false;
    for (const auto& s : refine.scans) {
        dcRefineAl |= s.ss == 0 && s.ah > 0 && s.al > 0;
        acRefine |= s.ss > 0 && s.ah > 0;
    }
    EXPECT_TRUE(dcRefineAl);
    EXPECT_TRUE(acRefine);
    EXPECT_NE(load("gen_q85_420_progressive_restart1row.jpg").file.scans[0].restartInterval, 0);
}

LUM_ALL_TIERS(LibjpegInterop);

}  // namespace
