// Test helpers for region primitives: an image region with any step, including zero and negative
// ones, inside a canary-filled buffer, so that every byte outside its rows can be checked.
#pragma once

#include "test_support.h"

#include <lum.h>

#include <cstdint>
#include <cstdlib>
#include <random>
#include <vector>

namespace lumtest {

class RegionBuffer {
public:
    // `height` rows of `rowBytes` bytes, `step` apart, the lowest row `misalign` bytes past a 64-byte
    // boundary, `guard` canary bytes on both sides of the whole span.
    RegionBuffer(size_t rowBytes, int height, Lum32s step, size_t misalign = 0, size_t guard = 64)
        : rowBytes_(rowBytes), height_(height), step_(step)
    {
        const size_t stride = size_t(std::llabs(step));
        span_ = stride * size_t(height - 1) + rowBytes;
        bytes_.assign(span_ + 2 * guard + 128 + misalign, kCanary);
        auto base = reinterpret_cast<uintptr_t>(bytes_.data()) + guard;
        base = (base + 63) & ~uintptr_t{63};
        low_ = reinterpret_cast<uint8_t*>(base) + misalign;
        first_ = step < 0 ? low_ + stride * size_t(height - 1) : low_;
        inRows_.assign(bytes_.size(), false);
        for (int r = 0; r < height; ++r)
            for (size_t i = 0; i < rowBytes; ++i) inRows_[size_t(row(r) + i - bytes_.data())] = true;
    }

    uint8_t* data() { return first_; }
    uint8_t* row(int r) { return first_ + ptrdiff_t(r) * step_; }
    Lum32s step() const { return step_; }

    void randomize(uint32_t seed)
    {
        std::mt19937 rng(seed);
        for (int r = 0; r < height_; ++r)
            for (size_t i = 0; i < rowBytes_; ++i) row(r)[i] = static_cast<uint8_t>(rng());
    }

    // The region's rows, top to bottom, without the gaps.
    std::vector<uint8_t> rows()
    {
        std::vector<uint8_t> out;
        for (int r = 0; r < height_; ++r) out.insert(out.end(), row(r), row(r) + rowBytes_);
        return out;
    }

    // True if every byte outside the rows still holds the canary.
    bool outsideIntact() const
    {
        for (size_t i = 0; i < bytes_.size(); ++i)
            if (!inRows_[i] && bytes_[i] != kCanary) return false;
        return true;
    }

    bool allCanary() const
    {
        for (uint8_t b : bytes_)
            if (b != kCanary) return false;
        return true;
    }

private:
    std::vector<uint8_t> bytes_;
    std::vector<bool> inRows_;
    size_t rowBytes_;
    int height_;
    Lum32s step_;
    size_t span_ = 0;
    uint8_t* low_ = nullptr;
    uint8_t* first_ = nullptr;
};

// A step for a row of `rowBytes`: the row itself or larger by `extra`, negative if asked.
inline Lum32s stepFor(size_t rowBytes, size_t extra, bool negative)
{
    const auto s = static_cast<Lum32s>(rowBytes + extra);
    return negative ? -s : s;
}

}  // namespace lumtest
