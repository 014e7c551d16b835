// The decoder: Huffman decoding per block (sequential or the four progressive kinds), then per MCU
// dequantization, inverse DCT, and one library call that up-samples, converts colour and clamps.
// Sampling layouts other than the MCU functions' 4:4:4, 4:2:2 and 4:2:0 are replicated to 4:4:4 here
// and converted 8x8 at a time. Damaged entropy-coded data costs the rest of its restart interval.
#include <lum.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

#include "codec.h"
#include "jpeg_markers.h"
#include "lum_support.h"
#include "scan_walk.h"
#include "std_tables.h"

namespace lumjpeg {

namespace {

enum class McuForm { F444, F422, F411, Generic };

using Planes3ToPixels = LumStatus (*)(const Lum16s* const[3], Lum8u*, Lum32s);
using Planes4ToPixels = LumStatus (*)(const Lum16s* const[4], Lum8u*, Lum32s);

template <typename F>
F pick(McuForm form, F f444, F f422, F f411)
{
    return form == McuForm::F422 ? f422 : form == McuForm::F411 ? f411 : f444;
}

using DecoderSpec = HuffmanSpec<LumDecodeHuffmanSpec, lumiDecodeHuffmanSpecGetBufSize_JPEG_8u,
                                lumiDecodeHuffmanSpecInit_JPEG_8u>;

int channelsOf(ColourModel m)
{
    switch (m) {
        case ColourModel::Grey:
            return 1;
        case ColourModel::YCbCr:
        case ColourModel::RGB:
            return 3;
        case ColourModel::CMYK:
        case ColourModel::YCCK:
            return 4;
    }
    return 0;
}

class Decoder {
public:
    Decoder(const uint8_t* data, JpegStream stream, Image& out)
        : data_(data),
          s_(std::move(stream)),
          model_(s_.colourModel()),
          out_(out),
          state_(lumiDecodeHuffmanStateGetBufSize_JPEG_8u)
    {
        form_ = chooseForm();
        size_t blocks = 0;
        for (const FrameComponent& c : s_.components) {
            planeOffset_.push_back(blocks * 64);
            blocks += static_cast<size_t>(c.h * c.v);
            if (s_.maxH() % c.h != 0 || s_.maxV() % c.v != 0)
                throw Error("unsupported JPEG: fractional sampling factors");
        }
        planes_ = LumArray<Lum16s>(blocks * 64);
        if (form_ == McuForm::Generic)
            tiles_ = LumArray<Lum16s>(s_.components.size() * static_cast<size_t>(s_.maxH() * s_.maxV()) * 64);
        // Every pixel is written whatever the data, so memory of the right size is simply reused.
        if (out_.width != s_.width || out_.height != s_.height || out_.channels != channelsOf(model_))
            out_ = Image(s_.width, s_.height, channelsOf(model_));
        edge_.resize(static_cast<size_t>(s_.mcuWidth() * s_.mcuHeight() * out_.channels));
        latchQuantTables();
    }

    std::vector<std::string> run()
    {
        const Scan& first = s_.scans[0];
        if (!s_.progressive() && s_.scans.size() == 1 && first.components.size() == s_.components.size()) {
            decodeStreaming(first);
        } else {
            store_ = std::make_unique<CoefficientStore>(s_);
            for (size_t i = 0; i < s_.scans.size(); ++i) decodeScanToStore(s_.scans[i], static_cast<int>(i));
            outputStore();
        }
        return std::move(s_.warnings);
    }

private:
    McuForm chooseForm() const
    {
        const std::vector<FrameComponent>& c = s_.components;
        if (c.size() == 1) return McuForm::F444;
        if (model_ == ColourModel::CMYK) return McuForm::Generic;
        const bool chromaFull = c[1].h == 1 && c[1].v == 1 && c[2].h == 1 && c[2].v == 1;
        const bool kLikeLuma = c.size() == 3 || (c[3].h == c[0].h && c[3].v == c[0].v);
        if (!chromaFull || !kLikeLuma) return McuForm::Generic;
        if (c[0].h == 1 && c[0].v == 1) return McuForm::F444;
        if (c[0].h == 2 && c[0].v == 1) return McuForm::F422;
        if (c[0].h == 2 && c[0].v == 2) return McuForm::F411;
        return McuForm::Generic;
    }

    // Each component dequantizes with the table in force at the first scan that carries it.
    void latchQuantTables()
    {
        for (size_t c = 0; c < s_.components.size(); ++c) {
            const int tq = s_.components[c].tq;
            const QuantTable* table = nullptr;
            for (const Scan& sc : s_.scans) {
                const bool inScan =
                    std::any_of(sc.components.begin(), sc.components.end(),
                                [&](const ScanComponent& x) { return x.component == static_cast<int>(c); });
                if (inScan) {
                    if (!sc.quant[static_cast<size_t>(tq)])
                        throw Error("corrupt JPEG: quantization table " + std::to_string(tq) +
                                    " not defined");
                    table = &*sc.quant[static_cast<size_t>(tq)];
                    break;
                }
            }
            inverseQuant_[c] = LumArray<Lum16u>(64);
            if (table == nullptr) {
                // No scan carries this component: its coefficients stay zero whatever the steps are.
                std::fill_n(inverseQuant_[c].data(), 64, Lum16u{1});
            } else if (table->sixteenBit) {
                // Steps above 255 do not fit the library's 8-bit raw form, so the reordering is done here.
                for (int k = 0; k < 64; ++k) inverseQuant_[c][zigzagToNatural[k]] = table->zigzag[k];
            } else {
                std::array<Lum8u, 64> raw;
                for (int k = 0; k < 64; ++k) raw[k] = static_cast<Lum8u>(table->zigzag[k]);
                check(lumiQuantInvTableInit_JPEG_8u16u(raw.data(), inverseQuant_[c].data()),
                      "building a dequantization table");
            }
        }
    }

    std::vector<int> scanComponents(const Scan& sc) const
    {
        std::vector<int> comps;
        for (const ScanComponent& x : sc.components) comps.push_back(x.component);
        return comps;
    }

    void prepareScan(const Scan& sc, int index)
    {
        scanIndex_ = index;
        kind_ = scanKind(s_.progressive(), sc.ss, sc.ah);
        const bool usesDc = kind_ == ScanKind::Sequential || kind_ == ScanKind::DcFirst;
        const bool usesAc =
            kind_ == ScanKind::Sequential || kind_ == ScanKind::AcFirst || kind_ == ScanKind::AcRefine;
        for (const ScanComponent& x : sc.components) {
            const size_t c = static_cast<size_t>(x.component);
            dcSpec_[c].reset();
            acSpec_[c].reset();
            if (usesDc) dcSpec_[c] = buildSpec(sc.dc, x.td, "DC");
            if (usesAc) acSpec_[c] = buildSpec(sc.ac, x.ta, "AC");
        }
        reported_ = false;
    }

    std::unique_ptr<DecoderSpec> buildSpec(const HuffmanSet& set, int id, const char* cls)
    {
        if (!set[static_cast<size_t>(id)])
            throw Error(std::string("corrupt JPEG: Huffman table ") + cls + " " + std::to_string(id) +
                        " not defined");
        return std::make_unique<DecoderSpec>(*set[static_cast<size_t>(id)]);
    }

    void warn(const std::string& what)
    {
        if (reported_) return;
        reported_ = true;
        s_.warnings.push_back("scan " + std::to_string(scanIndex_ + 1) + ": " + what);
    }

    // Points the bit input at the bytes of restart interval `index` and resets what a restart resets.
    void startInterval(const Scan& sc, int index)
    {
        lastDc_.fill(0);
        marker_ = 0;
        check(lumiDecodeHuffmanStateInit_JPEG_8u(state_.get()), "initialising the Huffman state");
        if (static_cast<size_t>(index) >= sc.intervals.size()) {
            broken_ = true;
            warn("entropy-coded data missing");
            return;
        }
        pos_ = static_cast<Lum32s>(sc.intervals[static_cast<size_t>(index)].begin);
        end_ = static_cast<Lum32s>(sc.intervals[static_cast<size_t>(index)].end);
        broken_ = end_ <= pos_;
        if (broken_) warn("empty entropy-coded segment");
    }

    // Decodes one block of the current scan; false once the interval's data have failed.
    bool decodeBlock(const Scan& sc, Lum16s* block, int component)
    {
        if (broken_) return false;
        const size_t c = static_cast<size_t>(component);
        LumDecodeHuffmanState* st = state_.get();
        LumStatus status = lumStsNoErr;
        switch (kind_) {
            case ScanKind::Sequential:
                status = lumiDecodeHuffman8x8_JPEG_1u16s_C1(data_, end_, &pos_, block, &lastDc_[c], &marker_,
                                                            dcSpec_[c]->get(), acSpec_[c]->get(), st);
                break;
            case ScanKind::DcFirst:
                status = lumiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(data_, end_, &pos_, block, &lastDc_[c],
                                                                    &marker_, sc.al, dcSpec_[c]->get(), st);
                break;
            case ScanKind::DcRefine:
                status = lumiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(data_, end_, &pos_, block, &marker_,
                                                                     sc.al, st);
                break;
            case ScanKind::AcFirst:
                status = lumiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(
                    data_, end_, &pos_, block, &marker_, sc.ss, sc.se, sc.al, acSpec_[c]->get(), st);
                break;
            case ScanKind::AcRefine:
                status = lumiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(
                    data_, end_, &pos_, block, &marker_, sc.ss, sc.se, sc.al, acSpec_[c]->get(), st);
                break;
        }
        if (status < 0) {
            broken_ = true;
            warn(std::string("corrupt entropy-coded data (") + lumGetStatusString(status) + ")");
            return false;
        }
        return true;
    }

    void decodeStreaming(const Scan& sc)
    {
        prepareScan(sc, 0);
        const ScanWalk walk(s_, scanComponents(sc));
        walk.run(
            sc.restartInterval, [&](int index) { startInterval(sc, index); },
            [&](int mcu, const BlockRef* refs, int n) {
                for (int i = 0; i < n; ++i) {
                    Lum16s* block = plane(refs[i].component) + 64 * refs[i].local;
                    if (!decodeBlock(sc, block, refs[i].component))
                        std::memset(block, 0, 64 * sizeof(Lum16s));
                }
                outputMcu(mcu % walk.mcuCols(), mcu / walk.mcuCols());
            });
    }

    void decodeScanToStore(const Scan& sc, int index)
    {
        prepareScan(sc, index);
        const ScanWalk walk(s_, scanComponents(sc));
        walk.run(
            sc.restartInterval, [&](int i) { startInterval(sc, i); },
            [&](int, const BlockRef* refs, int n) {
                for (int i = 0; i < n; ++i)
                    decodeBlock(sc, store_->block(refs[i].component, refs[i].bx, refs[i].by),
                                refs[i].component);
            });
    }

    void outputStore()
    {
        for (int my = 0; my < s_.mcuRows(); ++my) {
            for (int mx = 0; mx < s_.mcuCols(); ++mx) {
                for (size_t c = 0; c < s_.components.size(); ++c) {
                    const FrameComponent& fc = s_.components[c];
                    for (int j = 0; j < fc.v; ++j)
                        for (int i = 0; i < fc.h; ++i)
                            std::memcpy(plane(static_cast<int>(c)) + 64 * (j * fc.h + i),
                                        store_->block(static_cast<int>(c), mx * fc.h + i, my * fc.v + j),
                                        64 * sizeof(Lum16s));
                }
                outputMcu(mx, my);
            }
        }
    }

    Lum16s* plane(int component) { return planes_.data() + planeOffset_[static_cast<size_t>(component)]; }

    // Dequantizes and transforms the blocks in planes_ and writes the MCU's pixels into the image.
    void outputMcu(int mx, int my)
    {
        const Lum16s* planePtr[4] = {};
        for (size_t c = 0; c < s_.components.size(); ++c) {
            const FrameComponent& fc = s_.components[c];
            Lum16s* p = plane(static_cast<int>(c));
            for (int b = 0; b < fc.h * fc.v; ++b) {
                check(lumiQuantInv8x8_JPEG_16s_C1I(p + 64 * b, inverseQuant_[c].data()), "dequantization");
                check(lumiDCT8x8Inv_16s_C1I(p + 64 * b), "inverse DCT");
                clampSamples(p + 64 * b);
            }
            planePtr[c] = p;
        }
        const int mcuW = s_.mcuWidth(), mcuH = s_.mcuHeight(), ch = out_.channels;
        const int x0 = mx * mcuW, y0 = my * mcuH;
        const bool inside = x0 + mcuW <= out_.width && y0 + mcuH <= out_.height;
        Lum8u* dst = inside ? out_.row(y0) + static_cast<size_t>(x0 * ch) : edge_.data();
        const Lum32s step = inside ? static_cast<Lum32s>(out_.stride()) : mcuW * ch;
        if (form_ == McuForm::Generic) {
            upsampledToPixels(planePtr, dst, step);
        } else {
            toPixels(form_, planePtr, dst, step);
        }
        if (!inside) {
            const int cols = std::min(mcuW, out_.width - x0), rows = std::min(mcuH, out_.height - y0);
            for (int r = 0; r < rows; ++r)
                std::memcpy(out_.row(y0 + r) + static_cast<size_t>(x0 * ch), edge_.data() + r * step,
                            static_cast<size_t>(cols * ch));
        }
    }

    // Reconstructed samples are 8-bit before any colour transform; the MCU functions clamp only their
    // output, so an inverse DCT that overshoots would otherwise leak into the other colour channels
    // (and px wraps K instead of clamping it). A fixed count lets the compiler use vector min and max.
    static void clampSamples(Lum16s* block)
    {
        for (int i = 0; i < 64; ++i) block[i] = std::clamp<Lum16s>(block[i], -128, 127);
    }

    // Replicates every component to full resolution, 8x8 tiles in the 4:4:4 MCU layout, and converts
    // the tiles one by one.
    void upsampledToPixels(const Lum16s* const planePtr[4], Lum8u* dst, Lum32s step)
    {
        const int maxH = s_.maxH(), maxV = s_.maxV(), tilesPerMcu = maxH * maxV, ch = out_.channels;
        for (size_t c = 0; c < s_.components.size(); ++c) {
            const FrameComponent& fc = s_.components[c];
            const int rx = maxH / fc.h, ry = maxV / fc.v;
            Lum16s* tiles = tiles_.data() + c * static_cast<size_t>(tilesPerMcu) * 64;
            for (int y = 0; y < 8 * maxV; ++y) {
                const int sy = y / ry;
                for (int x = 0; x < 8 * maxH; ++x) {
                    const int sx = x / rx;
                    tiles[((y / 8) * maxH + x / 8) * 64 + (y % 8) * 8 + x % 8] =
                        planePtr[c][((sy / 8) * fc.h + sx / 8) * 64 + (sy % 8) * 8 + sx % 8];
                }
            }
        }
        for (int t = 0; t < tilesPerMcu; ++t) {
            const Lum16s* tile[4] = {};
            for (size_t c = 0; c < s_.components.size(); ++c)
                tile[c] =
                    tiles_.data() + (c * static_cast<size_t>(tilesPerMcu) + static_cast<size_t>(t)) * 64;
            toPixels(McuForm::F444, tile, dst + (t / maxH) * 8 * step + (t % maxH) * 8 * ch, step);
        }
    }

    void toPixels(McuForm form, const Lum16s* const planePtr[4], Lum8u* dst, Lum32s step)
    {
        switch (model_) {
            case ColourModel::Grey:
                check(lumiAdd128_JPEG_16s8u_C1R(planePtr[0], 8 * sizeof(Lum16s), dst, step, LumSize{8, 8}),
                      "level shift");
                break;
            case ColourModel::YCbCr:
                check(pick<Planes3ToPixels>(form, lumiYCbCr444ToRGBLS_MCU_16s8u_P3C3R,
                                            lumiYCbCr422ToRGBLS_MCU_16s8u_P3C3R,
                                            lumiYCbCr411ToRGBLS_MCU_16s8u_P3C3R)(planePtr, dst, step),
                      "colour conversion");
                break;
            case ColourModel::RGB:
                check(pick<Planes3ToPixels>(form, lumiSampleUp444LS_MCU_16s8u_P3C3R,
                                            lumiSampleUp422LS_MCU_16s8u_P3C3R,
                                            lumiSampleUp411LS_MCU_16s8u_P3C3R)(planePtr, dst, step),
                      "up-sampling");
                break;
            case ColourModel::YCCK:
                check(pick<Planes4ToPixels>(form, lumiYCCK444ToCMYKLS_MCU_16s8u_P4C4R,
                                            lumiYCCK422ToCMYKLS_MCU_16s8u_P4C4R,
                                            lumiYCCK411ToCMYKLS_MCU_16s8u_P4C4R)(planePtr, dst, step),
                      "colour conversion");
                break;
            case ColourModel::CMYK:
                interleaveCmyk(planePtr, dst, step);
                break;
        }
    }

    // CMYK is stored without colour transform: each plane only needs the level shift back.
    static void interleaveCmyk(const Lum16s* const planePtr[4], Lum8u* dst, Lum32s step)
    {
        Lum8u bytes[4][64];
        for (int k = 0; k < 4; ++k)
            check(lumiAdd128_JPEG_16s8u_C1R(planePtr[k], 8 * sizeof(Lum16s), bytes[k], 8, LumSize{8, 8}),
                  "level shift");
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x)
                for (int k = 0; k < 4; ++k) dst[y * step + x * 4 + k] = bytes[k][y * 8 + x];
    }

    const uint8_t* data_;
    JpegStream s_;
    ColourModel model_;
    Image& out_;
    McuForm form_ = McuForm::F444;
    std::vector<size_t> planeOffset_;
    LumArray<Lum16s> planes_, tiles_;
    std::array<LumArray<Lum16u>, 4> inverseQuant_;
    std::array<std::unique_ptr<DecoderSpec>, 4> dcSpec_, acSpec_;
    LumRecord<LumDecodeHuffmanState> state_;
    std::array<Lum16s, 4> lastDc_{};
    Lum32s marker_ = 0, pos_ = 0, end_ = 0;
    ScanKind kind_ = ScanKind::Sequential;
    int scanIndex_ = 0;
    bool broken_ = false, reported_ = false;
    std::vector<uint8_t> edge_;
    std::unique_ptr<CoefficientStore> store_;
};

}  // namespace

std::vector<std::string> decodeJpegInto(const uint8_t* data, size_t size, Image& image)
{
    return Decoder(data, parseJpeg(data, size), image).run();
}

DecodeResult decodeJpeg(const uint8_t* data, size_t size)
{
    DecodeResult result;
    result.warnings = decodeJpegInto(data, size, result.image);
    return result;
}

}  // namespace lumjpeg
