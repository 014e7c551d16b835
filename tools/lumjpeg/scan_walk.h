// The order in which a scan visits blocks, shared by the encoder and the decoder: MCUs in raster
// order, grouped into restart intervals; within an interleaved MCU each component's blocks in raster
// order; a scan of one component visits that component's blocks one by one.
#pragma once

#include <algorithm>
#include <vector>

#include "jpeg_markers.h"
#include "lum_support.h"

namespace lumjpeg {

constexpr int kMaxBlocksInMcu = 16;

struct BlockRef {
    int component;  // frame component index
    int local;      // index of the block within the component's part of the MCU
    int bx, by;     // block position within the component
};

class ScanWalk {
public:
    ScanWalk(const JpegStream& frame, const std::vector<int>& components)
        : frame_(frame), components_(components)
    {
        interleaved_ = components.size() > 1;
        if (interleaved_) {
            cols_ = frame.mcuCols();
            rows_ = frame.mcuRows();
        } else {
            cols_ = frame.codedBlockCols(components[0]);
            rows_ = frame.codedBlockRows(components[0]);
        }
    }

    int mcuCols() const { return cols_; }
    int mcuCount() const { return cols_ * rows_; }

    int blocksOfMcu(int mcu, BlockRef* out) const
    {
        const int mx = mcu % cols_, my = mcu / cols_;
        if (!interleaved_) {
            out[0] = {components_[0], 0, mx, my};
            return 1;
        }
        int n = 0;
        for (int c : components_) {
            const FrameComponent& fc = frame_.components[static_cast<size_t>(c)];
            for (int j = 0; j < fc.v; ++j)
                for (int i = 0; i < fc.h; ++i) out[n++] = {c, j * fc.h + i, mx * fc.h + i, my * fc.v + j};
        }
        return n;
    }

    // Calls onInterval(index) at the start of every restart interval, then onMcu(mcu, blocks, count)
    // for each of its MCUs.
    template <typename OnInterval, typename OnMcu>
    void run(int restartInterval, OnInterval onInterval, OnMcu onMcu) const
    {
        const int total = mcuCount();
        const int per = restartInterval > 0 ? restartInterval : std::max(total, 1);
        BlockRef refs[kMaxBlocksInMcu];
        for (int first = 0, index = 0; first < total; first += per, ++index) {
            onInterval(index);
            const int last = std::min(total, first + per);
            for (int m = first; m < last; ++m) onMcu(m, refs, blocksOfMcu(m, refs));
        }
    }

private:
    const JpegStream& frame_;
    std::vector<int> components_;
    bool interleaved_ = false;
    int cols_ = 0, rows_ = 0;
};

// The coefficient blocks of a whole image, one array per component, covering whole MCUs.
class CoefficientStore {
public:
    explicit CoefficientStore(const JpegStream& frame)
    {
        for (const FrameComponent& c : frame.components) {
            Plane p;
            p.cols = frame.mcuCols() * c.h;
            p.rows = frame.mcuRows() * c.v;
            p.blocks = LumArray<Lum16s>(static_cast<size_t>(p.cols) * static_cast<size_t>(p.rows) * 64);
            p.blocks.clear();
            planes_.push_back(std::move(p));
        }
    }
    Lum16s* block(int component, int bx, int by)
    {
        Plane& p = planes_[static_cast<size_t>(component)];
        return p.blocks.data() +
               (static_cast<size_t>(by) * static_cast<size_t>(p.cols) + static_cast<size_t>(bx)) * 64;
    }

private:
    struct Plane {
        int cols = 0, rows = 0;
        LumArray<Lum16s> blocks;
    };
    std::vector<Plane> planes_;
};

enum class ScanKind { Sequential, DcFirst, DcRefine, AcFirst, AcRefine };

inline ScanKind scanKind(bool progressive, int ss, int ah)
{
    if (!progressive) return ScanKind::Sequential;
    if (ss == 0) return ah == 0 ? ScanKind::DcFirst : ScanKind::DcRefine;
    return ah == 0 ? ScanKind::AcFirst : ScanKind::AcRefine;
}

}  // namespace lumjpeg
