// Huffman decoding speed: every scan of a real photo stream decoded block by block with the
// library's primitives, per tier, in blocks per second; beside it libjpeg-turbo's
// jpeg_read_coefficients on the same file, which does the same entropy decoding (plus the marker
// parsing, a small share).
#include "frame/dispatch.h"
#include "jpeg/huffman_dec.h"
#include "tests/huffman_dec_scan.h"
#include "tests/jpeg_file.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <jpeglib.h>
#include <string>

namespace {

using namespace lumtest;

struct Photo {
    const char* label;
    const char* file;
};

const Photo kPhotos[] = {
    {"baseline_q75", "coffee_q75.jpg"},
    {"baseline_q95", "gen_q95_420.jpg"},
    {"progressive_q75", "coffee_q75_progressive.jpg"},
};

std::vector<uint8_t> readPhoto(const char* file)
{
    return readFileBytes(std::string(LUM_BENCH_DATA_DIR) + "/" + file);
}

// One scan made ready: its tables built, its blocks in coding order as pointers into the planes.
struct PreparedScan {
    ScanKind kind;
    int ss, se, al;
    std::vector<uint8_t> data;
    std::array<SpecRecord, 4> dc, ac;
    struct Block {
        Lum16s* dst;
        int comp;
        const LumDecodeHuffmanSpec* dc;
        const LumDecodeHuffmanSpec* ac;
    };
    std::vector<Block> blocks;
};

struct PreparedFile {
    JpegFile file;
    std::vector<CoefPlane> planes;
    std::vector<PreparedScan> scans;
    int64_t blocks = 0;
};

PreparedFile prepare(const char* name)
{
    PreparedFile p;
    p.file = parseJpeg(readPhoto(name));
    p.planes = makePlanes(p.file);
    for (const JpegScan& s : p.file.scans) {
        if (s.restartInterval != 0) throw std::runtime_error("benchmark files have no restart markers");
        PreparedScan ps;
        ps.kind = scanKind(p.file, s);
        ps.ss = s.ss;
        ps.se = s.se;
        ps.al = s.al;
        ps.data = s.data;
        for (const auto& sc : s.components) {
            if (s.dc[sc.td]) buildSpecOrThrow(s.dc[sc.td], ps.dc[sc.td]);
            if (s.ac[sc.ta]) buildSpecOrThrow(s.ac[sc.ta], ps.ac[sc.ta]);
        }
        for (const auto& b : scanOrder(p.file, s).blocks) {
            const JpegScanComponent* sc = nullptr;
            for (const auto& c : s.components)
                if (c.index == b.comp) sc = &c;
            ps.blocks.push_back({p.planes[static_cast<size_t>(b.comp)].block(b.x, b.y), b.comp,
                                 ps.dc[sc->td].get(), ps.ac[sc->ta].get()});
        }
        p.blocks += static_cast<int64_t>(ps.blocks.size());
        p.scans.push_back(std::move(ps));
    }
    return p;
}

// Decodes every scan once; returns the number of calls that did not answer as a valid stream does.
int decodeFile(PreparedFile& p)
{
    int bad = 0;
    LumDecodeHuffmanState state;
    for (PreparedScan& s : p.scans) {
        lumiDecodeHuffmanStateInit_JPEG_8u(&state);
        const Lum8u* src = s.data.data();
        const Lum32s len = static_cast<Lum32s>(s.data.size());
        Lum32s pos = 0, marker = 0;
        std::array<Lum16s, 4> lastDc{};
        for (const auto& b : s.blocks) {
            LumStatus st = lumStsNoErr;
            Lum16s* last = &lastDc[static_cast<size_t>(b.comp)];
            switch (s.kind) {
            case ScanKind::sequential:
                st = lumiDecodeHuffman8x8_JPEG_1u16s_C1(src, len, &pos, b.dst, last, &marker, b.dc, b.ac, &state);
                break;
            case ScanKind::dcFirst:
                st = lumiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(src, len, &pos, b.dst, last, &marker, s.al, b.dc,
                                                                &state);
                break;
            case ScanKind::dcRefine:
                st = lumiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(src, len, &pos, b.dst, &marker, s.al, &state);
                break;
            case ScanKind::acFirst:
                st = lumiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(src, len, &pos, b.dst, &marker, s.ss, s.se, s.al, b.ac,
                                                                &state);
                break;
            case ScanKind::acRefine:
                st = lumiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(src, len, &pos, b.dst, &marker, s.ss, s.se, s.al,
                                                                 b.ac, &state);
                break;
            }
            bad += st != lumStsNoErr && st != lumStsJpegMarkerMet;
        }
    }
    return bad;
}

void BM_Decode(benchmark::State& state, const Photo photo, Lum32s tierCode)
{
    PreparedFile p = prepare(photo.file);
    lumSetTierByCpuCode(tierCode);
    int bad = 0;
    for (auto _ : state) {
        // Progressive scans add to the blocks, so every pass starts from zero coefficients.
        if (p.file.progressive)
            for (auto& plane : p.planes) std::fill(plane.coef.begin(), plane.coef.end(), 0);
        bad += decodeFile(p);
        benchmark::DoNotOptimize(p.planes.front().coef.data());
    }
    lumSetTierByCpuCode(-1);
    if (bad != 0) state.SkipWithError("the stream did not decode");
    state.counters["blocks/s"] = benchmark::Counter(static_cast<double>(p.blocks), benchmark::Counter::kIsIterationInvariantRate);
}

// libjpeg-turbo's entropy decoder on the whole file, into its own coefficient arrays.
void BM_Libjpeg(benchmark::State& state, const Photo photo)
{
    const std::vector<uint8_t> bytes = readPhoto(photo.file);
    const PreparedFile p = prepare(photo.file);
    for (auto _ : state) {
        jpeg_decompress_struct cinfo;
        jpeg_error_mgr jerr;
        cinfo.err = jpeg_std_error(&jerr);
        jpeg_create_decompress(&cinfo);
        jpeg_mem_src(&cinfo, bytes.data(), static_cast<unsigned long>(bytes.size()));
        jpeg_read_header(&cinfo, TRUE);
        benchmark::DoNotOptimize(jpeg_read_coefficients(&cinfo));
        jpeg_finish_decompress(&cinfo);
        jpeg_destroy_decompress(&cinfo);
    }
    state.counters["blocks/s"] = benchmark::Counter(static_cast<double>(p.blocks), benchmark::Counter::kIsIterationInvariantRate);
}

const int kRegistered = [] {
    constexpr std::pair<const char*, Lum32s> kTiers[] = {{"px", -1}, {"a6", 5}, {"w7", 6}, {"t7", 8}};
    for (const Photo& photo : kPhotos) {
        for (const auto& [tag, code] : kTiers)
            benchmark::RegisterBenchmark((std::string("HuffDecode/") + photo.label + "/" + tag).c_str(), BM_Decode,
                                         photo, code);
        benchmark::RegisterBenchmark((std::string("HuffDecode/") + photo.label + "/libjpeg-turbo").c_str(),
                                     BM_Libjpeg, photo);
    }
    return 0;
}();

}  // namespace

BENCHMARK_MAIN();
