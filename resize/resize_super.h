// resizeSuperDriver: area means for reduction in lumiResize_8u_C3R. One accumulator row collects the
// column sums of the source rows that belong to a destination row, is compressed in place to one
// entry per destination pixel, and is written out. Templated on the tier, whose Tier::addRow kernels
// do the row sums.
#pragma once

#include "resize/resize_common.h"

#include <lum.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace lum::resize {

// The inverse factors and the progress values are 64-bit floats in every tier, so that the inverse of
// a 64-bit 1/3 comes out whole (3.0) and the sums stay integers everywhere.
using SuperReal = double;

template <typename Tier>
class SuperSampler {
public:
    using Real = SuperReal;

    SuperSampler(const Lum8u* src, Lum32s srcStep, Lum32s rowsInImage, Lum32s cols, Real ix, Real iy,
                 Lum32s pixelStep, Lum32s channels)
        : cursor_(src),
          srcStep_(srcStep),
          rowsInImage_(rowsInImage),
          cols_(cols),
          ix_(ix),
          iy_(iy),
          nx_(truncToInt<Real>(floorReal(ix))),
          ny_(truncToInt<Real>(floorReal(iy))),
          pixelStep_(pixelStep),
          channels_(channels),
          wholeX_(ix == truncReal(ix)),
          wholeY_(iy == truncReal(iy))
    {
    }

    // 0: both inverse factors whole, 32-bit integer sums; 1: x whole; 2: y whole; 3: neither.
    int kind() const { return (wholeX_ ? 0 : 2) + (wholeY_ ? 0 : 1); }

    // Entries of the accumulator row. The pixels past the summed columns stay zero: a fractional share
    // can reach the entry just past the last column, and when a one-pixel result is raised from half a
    // pixel, the first destination pixel spans more columns than the region has.
    Lum32s accumulatorLength() const
    {
        return static_cast<Lum32s>((static_cast<uint32_t>(std::max(cols_, nx_)) + 1) *
                                   static_cast<uint32_t>(pixelStep_));
    }

    template <typename Acc>
    void destinationRow(Acc* acc, Lum32s row)
    {
        Tier::zeroBytes(reinterpret_cast<Lum8u*>(acc),
                        sizeof(Acc) * static_cast<size_t>(accumulatorLength()));
        if constexpr (std::is_floating_point_v<Acc>) {
            if (wholeY_)
                addWholeRows(acc, ny_);
            else
                addFractionalRows(acc, row == 0);
            if (wholeX_)
                compressWhole(acc);
            else
                compressFractional(acc);
        } else {
            addWholeRows(acc, ny_);
            compressWhole(acc);
        }
    }

    // Area mean: the sum times the scale, rounded half up, kept to its low 8 bits.
    template <typename Acc>
    void store(const Acc* acc, double scale, Lum8u* d, Lum32s width) const
    {
        for (Lum32s j = 0; j < width; ++j)
            for (Lum32s c = 0; c < channels_; ++c) {
                const Lum32s e = j * pixelStep_ + c;
                const double v = static_cast<double>(acc[e]) * scale + 0.5;
                d[e] = static_cast<Lum8u>(truncToInt(v));
            }
    }

private:
    // Rows past the image's end, which only a result raised from half a pixel reaches, add nothing.
    bool rowInImage() const { return row_ < rowsInImage_; }
    void nextRow()
    {
        cursor_ += srcStep_;
        ++row_;
    }

    template <typename Acc>
    void addWholeRows(Acc* acc, Lum32s rows)
    {
        for (Lum32s r = 0; r < rows; ++r, nextRow())
            if (rowInImage()) Tier::addRow(acc, cursor_, cols_ * pixelStep_);
    }

    void addShare(Lum32f* acc, Real share)
    {
        if (rowInImage()) Tier::addRowScaled(acc, cursor_, cols_ * pixelStep_, Lum32f(share));
    }

    // A source row cut by the border between two destination rows counts in both by its shares.
    void addFractionalRows(Lum32f* acc, bool first)
    {
        if (first) {
            fracY_ = iy_ - Real(ny_);
            addWholeRows(acc, ny_);
            addShare(acc, fracY_);
            return;
        }
        const Real rem = Real(1) - fracY_;
        // floor() of a value that is never negative: the shares left over are at least -1e-07 and the
        // inverse factors above 1.
        const Real n = truncReal(Real(1e-07) + (iy_ - rem));
        fracY_ = (iy_ - rem) - n;
        if (rem > Real(1e-07)) {
            addShare(acc, rem);
            nextRow();
        }
        addWholeRows(acc, truncToInt<Real>(n));
        if (fracY_ > Real(1e-07)) addShare(acc, fracY_);
    }

    template <typename Acc>
    Acc& entry(Acc* acc, Lum32s pixel, Lum32s c) const
    {
        return acc[pixel * pixelStep_ + c];
    }

    // Groups of nx pixels summed into their group's index; the index never passes the group's start.
    template <typename Acc>
    void compressWhole(Acc* acc) const
    {
        for (Lum32s g = 0; g * nx_ <= cols_ - nx_; ++g)
            for (Lum32s c = 0; c < channels_; ++c) {
                Acc sum = 0;
                for (Lum32s m = 0; m < nx_; ++m) sum += entry(acc, g * nx_ + m, c);
                entry(acc, g, c) = sum;
            }
    }

    void compressFractional(Lum32f* acc) const
    {
        Real fracX = ix_ - Real(nx_);
        for (Lum32s c = 0; c < channels_; ++c) {
            Lum32f a = 0;
            for (Lum32s m = 0; m < nx_; ++m) a += entry(acc, m, c);
            entry(acc, 0, c) = a + entry(acc, nx_, c) * Lum32f(fracX);
        }
        Lum32s i = nx_;
        for (Lum32s d = 1; i < cols_ - nx_; ++d) {
            const Real rem = Real(1) - fracX;
            const Real n = truncReal(Real(1e-07) + (ix_ - rem));
            fracX = (ix_ - rem) - n;
            const Lum32s whole = truncToInt<Real>(n);
            // A share of at most 1e-07 is skipped; the entry then counts whole in this pixel too.
            const Lum32s m0 = rem > Real(1e-07) ? 1 : 0;
            for (Lum32s c = 0; c < channels_; ++c) {
                Lum32f a = m0 ? entry(acc, i, c) * Lum32f(rem) : 0.0f;
                for (Lum32s m = m0; m <= whole; ++m) a += entry(acc, i + m, c);
                if (fracX > Real(1e-07)) a += entry(acc, i + whole + 1, c) * Lum32f(fracX);
                entry(acc, d, c) = a;
            }
            i += whole + 1;
        }
    }

    const Lum8u* cursor_;
    Lum32s srcStep_;
    Lum32s rowsInImage_;
    Lum32s row_ = 0;  // the cursor's row, counted from the region's first
    Lum32s cols_;
    Real ix_;
    Real iy_;
    Lum32s nx_;
    Lum32s ny_;
    Lum32s pixelStep_;
    Lum32s channels_;
    bool wholeX_;
    bool wholeY_;
    Real fracY_ = 0;
};

// resizeSuperDriver with the export's parameters: three interleaved 8-bit channels.
// Out of line like the other drivers: the px export stays one call.
template <typename Tier>
[[gnu::noinline]] LumStatus resizeSuperDriver(const Lum8u* pSrc, LumSize srcSize, Lum32s srcStep,
                                              LumRect srcRoi, Lum8u* pDst, Lum32s dstStep, LumSize dstRoiSize,
                                              double xFactor, double yFactor, Lum32s pixelStep,
                                              Lum32s channels)
{
    using Real = SuperReal;
    const LumStatus status =
        checkEndsArgs(pSrc, srcSize, srcRoi, pDst, dstRoiSize, xFactor, yFactor, false, 0);
    if (status != lumStsNoErr) return status;
    const Lum32s rw = clippedLength(srcRoi.width, srcRoi.x, srcSize.width);
    const Lum32s rh = clippedLength(srcRoi.height, srcRoi.y, srcSize.height);
    Lum32s width, height;
    if (!resultLength(Real(rw) * Real(xFactor), dstRoiSize.width, width) ||
        !resultLength(Real(rh) * Real(yFactor), dstRoiSize.height, height))
        return lumStsDstBelowOnePixel;

    const Real ix = Real(1.0) / Real(xFactor);
    const Real iy = Real(1.0) / Real(yFactor);
    const double scale = xFactor * yFactor;
    const Lum32s cols = std::min(truncToInt<Real>(Real(width + 1) * ix) + 1, rw);
    const Lum8u* base = pSrc + static_cast<ptrdiff_t>(srcRoi.y) * srcStep + srcRoi.x * pixelStep;
    SuperSampler<Tier> sampler(base, srcStep, srcSize.height - srcRoi.y, cols, ix, iy, pixelStep, channels);

    Lum32f* acc = Tier::allocFloat(sampler.accumulatorLength());
    if (acc == nullptr) return lumStsBufferTooSmall;
    for (Lum32s i = 0; i < height; ++i) {
        Lum8u* d = pDst + static_cast<ptrdiff_t>(i) * dstStep;
        if (sampler.kind() == 0) {
            uint32_t* sums = reinterpret_cast<uint32_t*>(acc);
            sampler.destinationRow(sums, i);
            sampler.store(sums, scale, d, width);
        } else {
            sampler.destinationRow(acc, i);
            sampler.store(acc, scale, d, width);
        }
    }
    Tier::release(acc);
    return lumStsNoErr;
}

}  // namespace lum::resize
