// Decodes every scan of a parsed JPEG file with the library's Huffman primitives, as a decoder
// built on the library would: interleaved scans in MCU order, single-component scans in the
// component's block order, restart markers stepped over by the caller with a fresh state and
// predictors. The stream can be handed over in one buffer or in windows of changing size.
#pragma once

#include "jpeg_file.h"

#include <lum.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace lumtest {

// One component's coefficients, natural order, covering whole MCUs.
struct CoefPlane {
    int cols = 0, rows = 0;
    std::vector<Lum16s> coef;
    Lum16s* block(int x, int y) { return coef.data() + 64 * (static_cast<size_t>(y) * cols + x); }
};

struct SpecRecord {
    std::vector<uint8_t> bytes = std::vector<uint8_t>(1644);
    LumDecodeHuffmanSpec* get() { return reinterpret_cast<LumDecodeHuffmanSpec*>(bytes.data()); }
};

inline void buildSpecOrThrow(const std::optional<JpegHuffmanTable>& t, SpecRecord& out)
{
    if (!t) throw std::runtime_error("scan uses an undefined Huffman table");
    if (lumiDecodeHuffmanSpecInit_JPEG_8u(t->bits.data(), t->vals.data(), out.get()) != lumStsNoErr)
        throw std::runtime_error("table refused");
}

// The blocks of a scan in coding order: (component, x, y) per block, and the unit (MCU) count.
struct ScanOrder {
    struct Block {
        int comp, x, y;
    };
    std::vector<Block> blocks;
    int blocksPerUnit = 1;
};

inline ScanOrder scanOrder(const JpegFile& f, const JpegScan& s)
{
    ScanOrder o;
    if (s.components.size() == 1) {
        const int c = s.components[0].index;
        for (int y = 0; y < f.blockRows(c); ++y)
            for (int x = 0; x < f.blockCols(c); ++x) o.blocks.push_back({c, x, y});
        return o;
    }
    o.blocksPerUnit = 0;
    for (const auto& sc : s.components) o.blocksPerUnit += f.components[sc.index].h * f.components[sc.index].v;
    for (int my = 0; my < f.mcuRows(); ++my)
        for (int mx = 0; mx < f.mcuCols(); ++mx)
            for (const auto& sc : s.components) {
                const JpegComponent& c = f.components[sc.index];
                for (int by = 0; by < c.v; ++by)
                    for (int bx = 0; bx < c.h; ++bx) o.blocks.push_back({sc.index, mx * c.h + bx, my * c.v + by});
            }
    return o;
}

enum class ScanKind { sequential, dcFirst, dcRefine, acFirst, acRefine };

inline ScanKind scanKind(const JpegFile& f, const JpegScan& s)
{
    if (!f.progressive) return ScanKind::sequential;
    if (s.ss == 0) return s.ah == 0 ? ScanKind::dcFirst : ScanKind::dcRefine;
    return s.ah == 0 ? ScanKind::acFirst : ScanKind::acRefine;
}

// What the driver reports besides the coefficients.
struct DecodeReport {
    int blocks = 0;
    int markersMet = 0;
    std::string firstProblem;  // empty when every call answered as a valid stream should
};

// The caller's side of the stream: a window of the scan's bytes handed to the library, moved on
// after every call when windows are small, and widened after lumStsOutOfBuffer by restoring what
// the call changed.
class ScanDecoder {
public:
    ScanDecoder(const JpegFile& f, std::vector<CoefPlane>& planes, uint32_t windowSeed)
        : f_(f), planes_(planes), rng_(windowSeed), chunked_(windowSeed != 0)
    {
    }

    void decodeScan(const JpegScan& s, DecodeReport& report)
    {
        const ScanKind kind = scanKind(f_, s);
        std::array<SpecRecord, 4> dc, ac;
        for (const auto& sc : s.components) {
            if (kind == ScanKind::sequential || kind == ScanKind::dcFirst) buildSpecOrThrow(s.dc[sc.td], dc[sc.td]);
            if (kind == ScanKind::sequential || kind == ScanKind::acFirst || kind == ScanKind::acRefine)
                buildSpecOrThrow(s.ac[sc.ta], ac[sc.ta]);
        }
        data_ = &s.data;
        base_ = 0;
        restart();
        const ScanOrder order = scanOrder(f_, s);
        const size_t unitBlocks = static_cast<size_t>(order.blocksPerUnit);
        const size_t interval = static_cast<size_t>(s.restartInterval) * unitBlocks;
        for (size_t i = 0; i < order.blocks.size(); ++i) {
            if (interval != 0 && i != 0 && i % interval == 0 && !stepOverRestart(report)) return;
            const auto& b = order.blocks[i];
            const JpegScanComponent* sc = nullptr;
            for (const auto& c : s.components)
                if (c.index == b.comp) sc = &c;
            Lum16s* block = planes_[static_cast<size_t>(b.comp)].block(b.x, b.y);
            Lum16s& lastDc = lastDc_[static_cast<size_t>(b.comp)];
            const LumStatus st = call(block, lastDc, [&](const Lum8u* src, Lum32s len, Lum32s* pos) -> LumStatus {
                switch (kind) {
                case ScanKind::sequential:
                    return lumiDecodeHuffman8x8_JPEG_1u16s_C1(src, len, pos, block, &lastDc, &marker_,
                                                              dc[sc->td].get(), ac[sc->ta].get(), state());
                case ScanKind::dcFirst:
                    return lumiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(src, len, pos, block, &lastDc, &marker_, s.al,
                                                                      dc[sc->td].get(), state());
                case ScanKind::dcRefine:
                    return lumiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(src, len, pos, block, &marker_, s.al, state());
                case ScanKind::acFirst:
                    return lumiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(src, len, pos, block, &marker_, s.ss, s.se,
                                                                      s.al, ac[sc->ta].get(), state());
                case ScanKind::acRefine:
                    return lumiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(src, len, pos, block, &marker_, s.ss, s.se,
                                                                       s.al, ac[sc->ta].get(), state());
                }
                return lumStsUnknown;
            });
            ++report.blocks;
            if (st == lumStsJpegMarkerMet) ++report.markersMet;
            if (st != lumStsNoErr && st != lumStsJpegMarkerMet && report.firstProblem.empty())
                report.firstProblem = "status " + std::to_string(st) + " at block " + std::to_string(i);
        }
    }

private:
    using Call = std::function<LumStatus(const Lum8u*, Lum32s, Lum32s*)>;

    LumDecodeHuffmanState* state() { return reinterpret_cast<LumDecodeHuffmanState*>(stateBytes_.data()); }

    void restart()
    {
        marker_ = 0;
        lastDc_.fill(0);
        lumiDecodeHuffmanStateInit_JPEG_8u(state());
        openWindow(base_);
    }

    // A window starting at the absolute offset `at`: all the rest, or a few bytes when chunked.
    void openWindow(size_t at, size_t minimum = 1)
    {
        const size_t rest = data_->size() - std::min(at, data_->size());
        size_t len = rest;
        if (chunked_) len = std::min(rest, std::max(minimum, static_cast<size_t>(1 + rng_() % 40)));
        base_ = at;
        window_.assign(data_->begin() + static_cast<long>(at), data_->begin() + static_cast<long>(at + len));
        pos_ = 0;
    }

    // One block call. In chunked mode each call gets a window of its own, and one that runs out is
    // repeated from a copy of everything it may have changed, with a wider window.
    LumStatus call(Lum16s* block, Lum16s& lastDc, const Call& fn)
    {
        if (!chunked_) return fn(window_.data(), static_cast<Lum32s>(window_.size()), &pos_);
        std::array<Lum16s, 64> savedBlock;
        std::memcpy(savedBlock.data(), block, sizeof savedBlock);
        const auto savedState = stateBytes_;
        const Lum16s savedDc = lastDc;
        const Lum32s savedMarker = marker_;
        const size_t at = base_ + static_cast<size_t>(pos_);
        size_t want = 1;
        for (;;) {
            openWindow(at, want);
            // A window may be empty at the end of the scan; the progressive primitives take no
            // empty buffer, so the last byte of the scan stands in, already consumed.
            if (window_.empty()) {
                const Lum8u last = data_->empty() ? 0 : data_->back();
                pos_ = 1;
                const LumStatus st = fn(&last, 1, &pos_);
                base_ = at - 1;
                return st;
            }
            const LumStatus st = fn(window_.data(), static_cast<Lum32s>(window_.size()), &pos_);
            if (st != lumStsOutOfBuffer || base_ + window_.size() >= data_->size()) return st;
            std::memcpy(block, savedBlock.data(), sizeof savedBlock);
            stateBytes_ = savedState;
            lastDc = savedDc;
            marker_ = savedMarker;
            want = window_.size() * 2;
        }
    }

    // The restart marker: met already, or ahead of the position behind at most the padding bits.
    bool stepOverRestart(DecodeReport& report)
    {
        size_t at = base_ + static_cast<size_t>(pos_);
        if (marker_ == 0) {
            while (at + 1 < data_->size() && !((*data_)[at] == 0xFF && ((*data_)[at + 1] & 0xF8) == 0xD0)) ++at;
            if (at + 1 >= data_->size()) {
                report.firstProblem = "restart marker not found";
                return false;
            }
            marker_ = (*data_)[at + 1];
            at += 2;
        }
        if ((marker_ & 0xF8) != 0xD0) {
            report.firstProblem = "marker " + std::to_string(marker_) + " where a restart was due";
            return false;
        }
        base_ = at;
        restart();
        return true;
    }

    const JpegFile& f_;
    std::vector<CoefPlane>& planes_;
    std::mt19937 rng_;
    bool chunked_;
    const std::vector<uint8_t>* data_ = nullptr;
    std::vector<uint8_t> window_;
    size_t base_ = 0;
    Lum32s pos_ = 0;
    Lum32s marker_ = 0;
    std::array<Lum16s, 4> lastDc_{};
    std::vector<uint8_t> stateBytes_ = std::vector<uint8_t>(24);
};

inline std::vector<CoefPlane> makePlanes(const JpegFile& f)
{
    std::vector<CoefPlane> planes;
    for (const auto& c : f.components) {
        CoefPlane p;
        p.cols = f.mcuCols() * c.h;
        p.rows = f.mcuRows() * c.v;
        p.coef.assign(static_cast<size_t>(p.cols) * p.rows * 64, 0);
        planes.push_back(std::move(p));
    }
    return planes;
}

// Decodes a whole file; windowSeed 0 hands each scan over in one buffer.
inline std::vector<CoefPlane> decodeAllScans(const JpegFile& f, DecodeReport& report, uint32_t windowSeed = 0)
{
    std::vector<CoefPlane> planes = makePlanes(f);
    ScanDecoder d(f, planes, windowSeed);
    for (const auto& s : f.scans) d.decodeScan(s, report);
    return planes;
}

}  // namespace lumtest
