// Huffman encoding per tier in blocks per second: sequential blocks of a real photo quantized at
// quality 75 and 95, each progressive pass, and statistics plus table construction per image, beside
// libjpeg-turbo's own entropy coder (jpeg_write_coefficients, which codes coefficients and nothing
// else) on the same coefficients.
#include "frame/dispatch.h"
#include "jpeg_file.h"
#include "libjpeg_coefficients.h"

#include <lum.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <jpeglib.h>

#include <array>
#include <string>
#include <vector>

namespace {

using Block = model::Block;

// A photo, its pixels taken from a test file, compressed by libjpeg at one quality: the file, its
// coefficients in component order (every block of libjpeg's arrays, padded to whole MCUs) and its
// parsed tables.
struct Image {
    std::vector<uint8_t> jpeg;
    std::vector<std::vector<Block>> blocks;  // per component
    lumtest::JpegFile file;
    size_t blockCount = 0;
};

std::vector<uint8_t> decodePixels(const std::vector<uint8_t>& file, int& w, int& h)
{
    jpeg_decompress_struct d;
    jpeg_error_mgr err;
    d.err = jpeg_std_error(&err);
    jpeg_create_decompress(&d);
    jpeg_mem_src(&d, file.data(), static_cast<unsigned long>(file.size()));
    jpeg_read_header(&d, TRUE);
    jpeg_start_decompress(&d);
    w = static_cast<int>(d.output_width);
    h = static_cast<int>(d.output_height);
    std::vector<uint8_t> px(static_cast<size_t>(w) * h * 3);
    while (d.output_scanline < d.output_height) {
        JSAMPROW row = px.data() + static_cast<size_t>(d.output_scanline) * w * 3;
        jpeg_read_scanlines(&d, &row, 1);
    }
    jpeg_finish_decompress(&d);
    jpeg_destroy_decompress(&d);
    return px;
}

// A libjpeg compressor that writes to memory.
class MemoryCompressor {
public:
    MemoryCompressor()
    {
        c.err = jpeg_std_error(&err_);
        jpeg_create_compress(&c);
        jpeg_mem_dest(&c, &out_, &size_);
    }
    ~MemoryCompressor()
    {
        jpeg_destroy_compress(&c);
        free(out_);
    }
    MemoryCompressor(const MemoryCompressor&) = delete;
    MemoryCompressor& operator=(const MemoryCompressor&) = delete;
    std::vector<uint8_t> bytes() const { return {out_, out_ + size_}; }

    jpeg_compress_struct c;

private:
    jpeg_error_mgr err_;
    unsigned char* out_ = nullptr;
    unsigned long size_ = 0;
};

std::vector<uint8_t> compress(const std::vector<uint8_t>& px, int w, int h, int quality)
{
    MemoryCompressor mc;
    jpeg_compress_struct& c = mc.c;
    c.image_width = static_cast<JDIMENSION>(w);
    c.image_height = static_cast<JDIMENSION>(h);
    c.input_components = 3;
    c.in_color_space = JCS_RGB;
    jpeg_set_defaults(&c);
    jpeg_set_quality(&c, quality, TRUE);
    jpeg_start_compress(&c, TRUE);
    while (c.next_scanline < c.image_height) {
        JSAMPROW row = const_cast<uint8_t*>(px.data()) + static_cast<size_t>(c.next_scanline) * w * 3;
        jpeg_write_scanlines(&c, &row, 1);
    }
    jpeg_finish_compress(&c);
    return mc.bytes();
}

Image makeImage(int quality)
{
    int w = 0, h = 0;
    const auto px = decodePixels(lumtest::readFileBytes(LUM_SOURCE_DIR "/tests/data/jpeg/gen_q85_422_restart7mcu_opt.jpg"),
                                 w, h);
    Image img;
    img.jpeg = compress(px, w, h, quality);
    img.file = lumtest::parseJpeg(img.jpeg);
    for (auto& component : lumtest::readCoefficients(img.jpeg)) {
        img.blockCount += component.blocks.size();
        img.blocks.push_back(std::move(component.blocks));
    }
    return img;
}

const Image& image(int quality)
{
    static const Image q75 = makeImage(75), q95 = makeImage(95);
    return quality == 75 ? q75 : q95;
}

// Code table and state records, at the addresses the caller gives.
struct Records {
    std::vector<uint8_t> dc[2], ac[2], state;
    Records() : state(1048)
    {
        for (auto& v : dc) v.resize(1024);
        for (auto& v : ac) v.resize(1024);
    }
    LumEncodeHuffmanSpec* dcSpec(int i) { return reinterpret_cast<LumEncodeHuffmanSpec*>(dc[i].data()); }
    LumEncodeHuffmanSpec* acSpec(int i) { return reinterpret_cast<LumEncodeHuffmanSpec*>(ac[i].data()); }
    LumEncodeHuffmanState* st() { return reinterpret_cast<LumEncodeHuffmanState*>(state.data()); }
};

// The image's own tables: luminance for component 0, chrominance for the others.
void fileTables(const Image& img, Records& r)
{
    for (int t = 0; t < 2; ++t) {
        const auto& dc = *img.file.scans[0].dc[static_cast<size_t>(t)];
        const auto& ac = *img.file.scans[0].ac[static_cast<size_t>(t)];
        lumiEncodeHuffmanSpecInit_JPEG_8u(dc.bits.data(), dc.vals.data(), r.dcSpec(t));
        lumiEncodeHuffmanSpecInit_JPEG_8u(ac.bits.data(), ac.vals.data(), r.acSpec(t));
    }
    lumiEncodeHuffmanStateInit_JPEG_8u(r.st());
}

void setTier(benchmark::State& state, Lum32s code)
{
    if (lumSetTierByCpuCode(code) != lumStsNoErr) state.SkipWithError("tier not set");
}

void sequential(benchmark::State& state, Lum32s tier, int quality)
{
    setTier(state, tier);
    const Image& img = image(quality);
    Records r;
    fileTables(img, r);
    std::vector<uint8_t> out(img.jpeg.size() * 2);
    const auto len = static_cast<Lum32s>(out.size());
    for (auto _ : state) {
        Lum32s pos = 0;
        for (size_t c = 0; c < img.blocks.size(); ++c) {
            const int t = c == 0 ? 0 : 1;
            Lum16s lastDc = 0;
            for (const auto& b : img.blocks[c])
                lumiEncodeHuffman8x8_JPEG_16s1u_C1(b.data(), out.data(), len, &pos, &lastDc, r.dcSpec(t), r.acSpec(t),
                                                  r.st(), 0);
        }
        lumiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, out.data(), len, &pos, nullptr, nullptr, nullptr, r.st(), 1);
        benchmark::DoNotOptimize(pos);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * img.blockCount));
    lumSetTierByCpuCode(-1);
}

// libjpeg-turbo writing the same coefficients with the same standard tables: entropy coding plus a
// few hundred bytes of markers per image.
void libjpegSequential(benchmark::State& state, int quality)
{
    const Image& img = image(quality);
    jpeg_decompress_struct d;
    jpeg_error_mgr derr;
    d.err = jpeg_std_error(&derr);
    jpeg_create_decompress(&d);
    jpeg_mem_src(&d, img.jpeg.data(), static_cast<unsigned long>(img.jpeg.size()));
    jpeg_read_header(&d, TRUE);
    jvirt_barray_ptr* arrays = jpeg_read_coefficients(&d);
    for (auto _ : state) {
        MemoryCompressor mc;
        jpeg_copy_critical_parameters(&d, &mc.c);
        mc.c.optimize_coding = FALSE;
        jpeg_write_coefficients(&mc.c, arrays);
        jpeg_finish_compress(&mc.c);
        benchmark::DoNotOptimize(mc.c.dest);
    }
    jpeg_finish_decompress(&d);
    jpeg_destroy_decompress(&d);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * img.blockCount));
}

// Fitted tables for the progressive passes: counts of the pass over the luminance blocks.
enum Pass { kDcFirst, kDcRefine, kAcFirst, kAcRefine };

struct PassSetup {
    int ss, se, al;
};
constexpr PassSetup kPassSetup[4] = {{0, 0, 1}, {0, 0, 0}, {1, 63, 1}, {1, 63, 0}};

void fittedTable(const std::vector<Block>& blocks, Pass pass, Records& r)
{
    std::vector<Lum32s> freq(257, 0);
    const PassSetup s = kPassSetup[pass];
    lumiEncodeHuffmanStateInit_JPEG_8u(r.st());
    Lum16s lastDc = 0;
    for (const auto& b : blocks) {
        if (pass == kDcFirst) lumiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(b.data(), freq.data(), &lastDc, s.al);
        if (pass == kAcFirst)
            lumiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(b.data(), freq.data(), s.ss, s.se, s.al, r.st(), 0);
        if (pass == kAcRefine)
            lumiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(b.data(), freq.data(), s.ss, s.se, s.al, r.st(), 0);
    }
    if (pass == kAcFirst) lumiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(nullptr, freq.data(), 0, 0, 0, r.st(), 1);
    if (pass == kAcRefine) lumiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(nullptr, freq.data(), 0, 0, 0, r.st(), 1);
    uint8_t bits[16], vals[256];
    lumiEncodeHuffmanRawTableInit_JPEG_8u(freq.data(), bits, vals);
    lumiEncodeHuffmanSpecInit_JPEG_8u(bits, vals, pass == kDcFirst ? r.dcSpec(0) : r.acSpec(0));
    lumiEncodeHuffmanStateInit_JPEG_8u(r.st());
}

void progressive(benchmark::State& state, Lum32s tier, Pass pass)
{
    const Image& img = image(75);
    const auto& blocks = img.blocks[0];
    Records r;
    fittedTable(blocks, pass, r);
    setTier(state, tier);
    const PassSetup s = kPassSetup[pass];
    std::vector<uint8_t> out(img.jpeg.size() * 2);
    const auto len = static_cast<Lum32s>(out.size());
    for (auto _ : state) {
        Lum32s pos = 0;
        Lum16s lastDc = 0;
        for (const auto& b : blocks) {
            switch (pass) {
            case kDcFirst:
                lumiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(b.data(), out.data(), len, &pos, &lastDc, s.al, r.dcSpec(0),
                                                          r.st(), 0);
                break;
            case kDcRefine:
                lumiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(b.data(), out.data(), len, &pos, s.al, r.st(), 0);
                break;
            case kAcFirst:
                lumiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(b.data(), out.data(), len, &pos, s.ss, s.se, s.al,
                                                          r.acSpec(0), r.st(), 0);
                break;
            case kAcRefine:
                lumiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(b.data(), out.data(), len, &pos, s.ss, s.se, s.al,
                                                           r.acSpec(0), r.st(), 0);
                break;
            }
        }
        lumiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(nullptr, out.data(), len, &pos, 0, 0, 0, r.acSpec(0), r.st(), 1);
        benchmark::DoNotOptimize(pos);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * blocks.size()));
    lumSetTierByCpuCode(-1);
}

// One image's optimal tables: DC and AC counts of every component (a DC first pass with Al 0 and an
// AC first pass over the whole band), then the four tables.
void statistics(benchmark::State& state, Lum32s tier)
{
    setTier(state, tier);
    const Image& img = image(75);
    Records r;
    lumiEncodeHuffmanStateInit_JPEG_8u(r.st());
    for (auto _ : state) {
        std::vector<Lum32s> dcFreq[2] = {std::vector<Lum32s>(257), std::vector<Lum32s>(257)};
        std::vector<Lum32s> acFreq[2] = {std::vector<Lum32s>(257), std::vector<Lum32s>(257)};
        for (size_t c = 0; c < img.blocks.size(); ++c) {
            const size_t t = c == 0 ? 0 : 1;
            Lum16s lastDc = 0;
            for (const auto& b : img.blocks[c]) {
                lumiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(b.data(), dcFreq[t].data(), &lastDc, 0);
                lumiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(b.data(), acFreq[t].data(), 1, 63, 0, r.st(), 0);
            }
            lumiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(nullptr, acFreq[t].data(), 0, 0, 0, r.st(), 1);
        }
        uint8_t bits[16], vals[256];
        for (int t = 0; t < 2; ++t) {
            lumiEncodeHuffmanRawTableInit_JPEG_8u(dcFreq[t].data(), bits, vals);
            lumiEncodeHuffmanRawTableInit_JPEG_8u(acFreq[t].data(), bits, vals);
            benchmark::DoNotOptimize(bits);
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * img.blockCount));
    lumSetTierByCpuCode(-1);
}

constexpr struct {
    const char* name;
    Lum32s code;
} kTiers[] = {{"px", -1}, {"a6", 5}, {"w7", 6}, {"t7", 8}};

const int kRegistered = [] {
    for (int q : {75, 95}) {
        for (const auto& t : kTiers)
            benchmark::RegisterBenchmark(("Sequential/q" + std::to_string(q) + "/" + t.name).c_str(), sequential,
                                         t.code, q);
        benchmark::RegisterBenchmark(("Sequential/q" + std::to_string(q) + "/libjpeg-turbo").c_str(),
                                     libjpegSequential, q);
    }
    const char* passes[] = {"DCFirst", "DCRefine", "ACFirst", "ACRefine"};
    for (int p = 0; p < 4; ++p)
        for (const auto& t : kTiers)
            benchmark::RegisterBenchmark((std::string("Progressive/") + passes[p] + "/" + t.name).c_str(), progressive,
                                         t.code, static_cast<Pass>(p));
    for (const auto& t : kTiers)
        benchmark::RegisterBenchmark((std::string("StatisticsAndTables/") + t.name).c_str(), statistics, t.code);
    return 0;
}();

}  // namespace

BENCHMARK_MAIN();
