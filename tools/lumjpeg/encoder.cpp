// The encoder: pixels to MCU planes (colour conversion, down-sampling and level shift in one library
// call), forward DCT and quantization per block, then Huffman coding per scan. Marker segments,
// restart markers, DC predictors and the edge replication of partial MCUs are the tool's part.
#include <lum.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <optional>

#include "codec.h"
#include "jpeg_markers.h"
#include "lum_support.h"
#include "scan_walk.h"
#include "std_tables.h"

namespace lumjpeg {

namespace {

// Room that one block call may need: a block's codes and values with every byte stuffed, or what a
// flush of a refinement scan writes (the EOB run and up to 1000 correction bits).
constexpr size_t kRoomPerCall = 1024;

using McuConvert = LumStatus (*)(const Lum8u*, Lum32s, Lum16s* const[3]);

LumStatus greyToPlane(const Lum8u* src, Lum32s step, Lum16s* const planes[3])
{
    return lumiSub128_JPEG_8u16s_C1R(src, step, planes[0], 8 * sizeof(Lum16s), LumSize{8, 8});
}

// Hands out the pixels of one MCU: straight from the image where the MCU lies inside it, otherwise
// from a buffer in which the last column and row are repeated to fill the MCU.
class McuSource {
public:
    McuSource(const Image& image, int mcuW, int mcuH)
        : image_(image), mcuW_(mcuW), mcuH_(mcuH), edge_(static_cast<size_t>(mcuW * mcuH * image.channels))
    {
    }

    const Lum8u* at(int mx, int my, Lum32s* step)
    {
        const int x0 = mx * mcuW_, y0 = my * mcuH_, ch = image_.channels;
        if (x0 + mcuW_ <= image_.width && y0 + mcuH_ <= image_.height) {
            *step = static_cast<Lum32s>(image_.stride());
            return image_.row(y0) + static_cast<size_t>(x0 * ch);
        }
        const int cols = std::min(mcuW_, image_.width - x0);
        for (int r = 0; r < mcuH_; ++r) {
            const uint8_t* src =
                image_.row(std::min(y0 + r, image_.height - 1)) + static_cast<size_t>(x0 * ch);
            uint8_t* dst = edge_.data() + static_cast<size_t>(r * mcuW_ * ch);
            std::memcpy(dst, src, static_cast<size_t>(cols * ch));
            for (int c = cols; c < mcuW_; ++c)
                std::memcpy(dst + c * ch, src + (cols - 1) * ch, static_cast<size_t>(ch));
        }
        *step = mcuW_ * ch;
        return edge_.data();
    }

private:
    const Image& image_;
    int mcuW_, mcuH_;
    std::vector<uint8_t> edge_;
};

using EncoderSpec = HuffmanSpec<LumEncodeHuffmanSpec, lumiEncodeHuffmanSpecGetBufSize_JPEG_8u,
                                lumiEncodeHuffmanSpecInit_JPEG_8u>;

HuffmanTable tableFromCounts(const std::array<Lum32s, 257>& counts)
{
    HuffmanTable t;
    Lum8u vals[256];
    check(lumiEncodeHuffmanRawTableInit_JPEG_8u(counts.data(), t.bits.data(), vals),
          "building an optimal table");
    size_t n = 0;
    for (uint8_t b : t.bits) n += b;
    t.vals.assign(vals, vals + n);
    return t;
}

// Scan parameters in the form both passes over a scan need.
struct ScanPlan {
    ScanKind kind;
    std::vector<int> components;
    int ss, se, ah, al;
};

class Encoder {
public:
    Encoder(const Image& image, const EncodeOptions& options)
        : image_(image), options_(options), state_(lumiEncodeHuffmanStateGetBufSize_JPEG_8u)
    {
        if (image.channels != 1 && image.channels != 3)
            throw Error("only grey and RGB images can be encoded");
        if (options.quality < 1 || options.quality > 100) throw Error("quality must lie in 1..100");
        if (options.restartInterval < 0 || options.restartInterval > 65535)
            throw Error("restart interval must lie in 0..65535");
        frame_.width = image.width;
        frame_.height = image.height;
        frame_.sofMarker = options.progressive ? 0xC2 : 0xC0;
        if (image.channels == 1) {
            frame_.components = {{1, 1, 1, 0}};
            convert_ = greyToPlane;
        } else {
            const int h = options.sampling == Sampling::S444 ? 1 : 2;
            const int v = options.sampling == Sampling::S420 ? 2 : 1;
            frame_.components = {{1, h, v, 0, h, v}, {2, 1, 1, 1, 1, 1}, {3, 1, 1, 1, 1, 1}};
            convert_ = options.sampling == Sampling::S444   ? lumiRGBToYCbCr444LS_MCU_8u16s_C3P3R
                       : options.sampling == Sampling::S422 ? lumiRGBToYCbCr422LS_MCU_8u16s_C3P3R
                                                            : lumiRGBToYCbCr411LS_MCU_8u16s_C3P3R;
        }
        source_.emplace(image_, frame_.mcuWidth(), frame_.mcuHeight());
        // Luma plane of up to four blocks, then one block each of Cb and Cr.
        planes_ = LumArray<Lum16s>(64 * 6);
        planePtr_[0] = planes_.data();
        planePtr_[1] = planes_.data() + 64 * 4;
        planePtr_[2] = planes_.data() + 64 * 5;
        check(lumiEncodeHuffmanStateInit_JPEG_8u(state_.get()), "initialising the Huffman state");
    }

    std::vector<uint8_t> run()
    {
        out_.reserve(static_cast<size_t>(image_.width) * static_cast<size_t>(image_.height) *
                         image_.channels / 4 +
                     65536);
        writeHeaders();
        if (!options_.progressive && !options_.optimize) {
            encodeStreaming();
        } else {
            store_ = std::make_unique<CoefficientStore>(frame_);
            transformAll();
            if (options_.progressive) {
                for (const ScanSpec& s : progressiveScript(static_cast<int>(frame_.components.size())))
                    encodeStoredScan({scanKind(true, s.ss, s.ah), s.components, s.ss, s.se, s.ah, s.al});
            } else {
                encodeStoredScan({ScanKind::Sequential, allComponents(), 0, 63, 0, 0});
            }
        }
        out_.marker(0xD9);
        return out_.finish();
    }

private:
    int tableClass(int component) const { return component == 0 ? 0 : 1; }

    std::vector<int> allComponents() const
    {
        std::vector<int> all;
        for (size_t c = 0; c < frame_.components.size(); ++c) all.push_back(static_cast<int>(c));
        return all;
    }

    void writeHeaders()
    {
        out_.marker(0xD8);
        out_.jfifApp0();
        const int tables = image_.channels == 1 ? 1 : 2;
        for (int t = 0; t < tables; ++t) {
            std::array<uint8_t, 64> raw = t == 0 ? standardLumaQuant() : standardChromaQuant();
            check(lumiQuantFwdRawTableInit_JPEG_8u(raw.data(), options_.quality),
                  "scaling a quantization table");
            check(lumiQuantFwdTableInit_JPEG_8u16u(raw.data(), fwdQuant_[t].data()),
                  "building a quantization table");
            out_.quantTable(t, raw);
        }
        out_.startOfFrame(frame_.sofMarker, frame_.width, frame_.height, frame_.components);
        if (!options_.progressive && !options_.optimize) {
            useTables(0, standardDcLuma(), standardAcLuma());
            if (tables == 2) useTables(1, standardDcChroma(), standardAcChroma());
        }
        if (options_.restartInterval > 0) out_.restartInterval(options_.restartInterval);
    }

    void useDcTable(int cls, const HuffmanTable& t)
    {
        out_.huffmanTable(0, cls, t);
        dcSpec_[cls] = std::make_unique<EncoderSpec>(t);
    }
    void useAcTable(int cls, const HuffmanTable& t)
    {
        out_.huffmanTable(1, cls, t);
        acSpec_[cls] = std::make_unique<EncoderSpec>(t);
    }
    void useTables(int cls, const HuffmanTable& dc, const HuffmanTable& ac)
    {
        useDcTable(cls, dc);
        useAcTable(cls, ac);
    }

    void writeScanHeader(const ScanPlan& p)
    {
        std::vector<ScanComponent> comps;
        for (int c : p.components) comps.push_back({c, tableClass(c), tableClass(c)});
        out_.startOfScan(frame_.components, comps, p.ss, p.se, p.ah, p.al);
    }

    // Colour conversion, DCT and quantization of one MCU into planes_.
    void transformMcu(int mx, int my)
    {
        Lum32s step = 0;
        const Lum8u* src = source_->at(mx, my, &step);
        check(convert_(src, step, planePtr_), "converting an MCU");
        for (size_t c = 0; c < frame_.components.size(); ++c) {
            const FrameComponent& fc = frame_.components[c];
            for (int b = 0; b < fc.h * fc.v; ++b) {
                Lum16s* block = planePtr_[c] + 64 * b;
                check(lumiDCT8x8Fwd_16s_C1I(block), "forward DCT");
                check(lumiQuantFwd8x8_JPEG_16s_C1I(block, fwdQuant_[fc.tq].data()), "quantization");
            }
        }
    }

    void transformAll()
    {
        for (int my = 0; my < frame_.mcuRows(); ++my) {
            for (int mx = 0; mx < frame_.mcuCols(); ++mx) {
                transformMcu(mx, my);
                for (size_t c = 0; c < frame_.components.size(); ++c) {
                    const FrameComponent& fc = frame_.components[c];
                    for (int j = 0; j < fc.v; ++j)
                        for (int i = 0; i < fc.h; ++i)
                            std::memcpy(store_->block(static_cast<int>(c), mx * fc.h + i, my * fc.v + j),
                                        planePtr_[c] + 64 * (j * fc.h + i), 64 * sizeof(Lum16s));
                }
            }
        }
    }

    // One block of the scan, or with flush set the end of the scan or of a restart interval.
    LumStatus codeBlock(const ScanPlan& p, const Lum16s* block, int component, int flush)
    {
        out_.reserve(kRoomPerCall);
        Lum8u* dst = out_.data();
        const Lum32s len = out_.capacity();
        Lum32s* pos = &out_.position();
        const int cls = tableClass(component);
        Lum16s* lastDc = &lastDc_[component];
        switch (p.kind) {
            case ScanKind::Sequential:
                return lumiEncodeHuffman8x8_JPEG_16s1u_C1(block, dst, len, pos, lastDc, dcSpec_[cls]->get(),
                                                          acSpec_[cls]->get(), state_.get(), flush);
            case ScanKind::DcFirst:
                return lumiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(block, dst, len, pos, lastDc, p.al,
                                                                  dcSpec_[cls]->get(), state_.get(), flush);
            case ScanKind::DcRefine:
                return lumiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(block, dst, len, pos, p.al, state_.get(),
                                                                   flush);
            case ScanKind::AcFirst:
                return lumiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(block, dst, len, pos, p.ss, p.se, p.al,
                                                                  acSpec_[cls]->get(), state_.get(), flush);
            case ScanKind::AcRefine:
                return lumiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(block, dst, len, pos, p.ss, p.se, p.al,
                                                                   acSpec_[cls]->get(), state_.get(), flush);
        }
        return lumStsUnknown;
    }

    // Ends a restart interval or the scan: pads the entropy-coded bytes, then resets the predictors.
    void flushInterval(const ScanPlan& p)
    {
        check(codeBlock(p, nullptr, p.components[0], 1), "ending a scan");
        lastDc_.fill(0);
    }

    // Called at the start of every restart interval of the coding pass.
    void startInterval(const ScanPlan& p, int index)
    {
        if (index == 0) return;
        flushInterval(p);
        out_.marker(0xD0 + ((index - 1) & 7));
    }

    void encodeStreaming()
    {
        const ScanPlan plan{ScanKind::Sequential, allComponents(), 0, 63, 0, 0};
        writeScanHeader(plan);
        const ScanWalk walk(frame_, plan.components);
        walk.run(
            options_.restartInterval, [&](int index) { startInterval(plan, index); },
            [&](int mcu, const BlockRef* refs, int n) {
                transformMcu(mcu % walk.mcuCols(), mcu / walk.mcuCols());
                for (int i = 0; i < n; ++i)
                    check(codeBlock(plan, planePtr_[refs[i].component] + 64 * refs[i].local,
                                    refs[i].component, 0),
                          "Huffman encoding");
            });
        flushInterval(plan);
    }

    // The statistics pass: counts the symbols that the coding pass will send, per table class.
    void countSymbols(const ScanPlan& p, std::array<Lum32s, 257> (&dc)[2], std::array<Lum32s, 257> (&ac)[2])
    {
        const ScanWalk walk(frame_, p.components);
        const auto endAcRun = [&] {
            const int cls = tableClass(p.components[0]);
            if (p.kind == ScanKind::AcFirst)
                check(lumiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(nullptr, ac[cls].data(), p.ss, p.se,
                                                                      p.al, state_.get(), 1),
                      "counting symbols");
            if (p.kind == ScanKind::AcRefine)
                check(lumiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(nullptr, ac[cls].data(), p.ss, p.se,
                                                                       p.al, state_.get(), 1),
                      "counting symbols");
        };
        walk.run(
            options_.restartInterval,
            [&](int index) {
                if (index > 0) endAcRun();
                lastDc_.fill(0);
            },
            [&](int, const BlockRef* refs, int n) {
                for (int i = 0; i < n; ++i) countBlock(p, refs[i], dc, ac);
            });
        endAcRun();
        lastDc_.fill(0);
    }

    void countBlock(const ScanPlan& p, const BlockRef& r, std::array<Lum32s, 257> (&dc)[2],
                    std::array<Lum32s, 257> (&ac)[2])
    {
        const Lum16s* block = store_->block(r.component, r.bx, r.by);
        const int cls = tableClass(r.component);
        LumEncodeHuffmanState* st = state_.get();
        switch (p.kind) {
            case ScanKind::Sequential:
                // A sequential block is a first DC pass without point transform plus a full AC band
                // whose end-of-block run is announced at once, as EOB.
                check(lumiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(block, dc[cls].data(),
                                                                      &lastDc_[r.component], 0),
                      "counting symbols");
                check(lumiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(block, ac[cls].data(), 1, 63, 0, st, 0),
                      "counting symbols");
                check(
                    lumiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(nullptr, ac[cls].data(), 1, 63, 0, st, 1),
                    "counting symbols");
                break;
            case ScanKind::DcFirst:
                check(lumiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(block, dc[cls].data(),
                                                                      &lastDc_[r.component], p.al),
                      "counting symbols");
                break;
            case ScanKind::DcRefine:
                break;
            case ScanKind::AcFirst:
                check(lumiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(block, ac[cls].data(), p.ss, p.se, p.al,
                                                                      st, 0),
                      "counting symbols");
                break;
            case ScanKind::AcRefine:
                check(lumiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(block, ac[cls].data(), p.ss, p.se,
                                                                       p.al, st, 0),
                      "counting symbols");
                break;
        }
    }

    // Fits the tables that the scan uses to its statistics and writes them in front of it.
    void fitTables(const ScanPlan& p)
    {
        if (p.kind == ScanKind::DcRefine) return;
        std::array<Lum32s, 257> dc[2] = {}, ac[2] = {};
        countSymbols(p, dc, ac);
        const bool usesDc = p.kind == ScanKind::Sequential || p.kind == ScanKind::DcFirst;
        const bool usesAc = p.kind != ScanKind::DcFirst;
        bool done[2] = {false, false};
        for (int c : p.components) {
            const int cls = tableClass(c);
            if (done[cls]) continue;
            done[cls] = true;
            if (usesDc) useDcTable(cls, tableFromCounts(dc[cls]));
            if (usesAc) useAcTable(cls, tableFromCounts(ac[cls]));
        }
    }

    void encodeStoredScan(const ScanPlan& p)
    {
        fitTables(p);
        writeScanHeader(p);
        const ScanWalk walk(frame_, p.components);
        walk.run(
            options_.restartInterval, [&](int index) { startInterval(p, index); },
            [&](int, const BlockRef* refs, int n) {
                for (int i = 0; i < n; ++i)
                    check(codeBlock(p, store_->block(refs[i].component, refs[i].bx, refs[i].by),
                                    refs[i].component, 0),
                          "Huffman encoding");
            });
        flushInterval(p);
    }

    const Image& image_;
    EncodeOptions options_;
    JpegStream frame_;
    McuConvert convert_ = nullptr;
    std::optional<McuSource> source_;
    LumArray<Lum16s> planes_;
    Lum16s* planePtr_[3] = {};
    std::array<LumArray<Lum16u>, 2> fwdQuant_{LumArray<Lum16u>(64), LumArray<Lum16u>(64)};
    std::unique_ptr<EncoderSpec> dcSpec_[2], acSpec_[2];
    LumRecord<LumEncodeHuffmanState> state_;
    std::array<Lum16s, 3> lastDc_{};
    JpegWriter out_;
    std::unique_ptr<CoefficientStore> store_;
};

}  // namespace

std::vector<uint8_t> encodeJpeg(const Image& image, const EncodeOptions& options)
{
    return Encoder(image, options).run();
}

}  // namespace lumjpeg
