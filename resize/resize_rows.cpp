// resizeRowTable: the interior row kernels of every mode, common to all tiers. The separable modes
// filter each needed source row once into a ring of row buffers and blend destination rows from it.
#include "resize/resize_math.h"
#include "resize/resize_rows.h"
#include "resize/row_vector.h"
#include "signal/kernels.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace lum {
namespace {

using resize::CubicCoefficients;

const Lum8u* sourceRow(const ResizeJob& job, int64_t offset)
{
    return job.src + static_cast<ptrdiff_t>(offset);
}

Lum8u* destinationRow(const ResizeJob& job, Lum32s i)
{
    return job.dst + static_cast<ptrdiff_t>(i) * job.dstStep;
}

// The layout of a member: one channel is fixed at compile time, the multi-channel members read
// pixelStep and channels from the job.
template <bool One>
struct Layout {
    Lum32s pixelStep;
    Lum32s channels;
    explicit Layout(const ResizeJob& job)
        : pixelStep(One ? 1 : job.pixelStep), channels(One ? 1 : job.channels)
    {
    }
    // Samples of one buffer row.
    Lum32s samples(Lum32s width) const { return width * channels; }
    // A blended row is one flat run when pixels are packed.
    bool flat() const { return pixelStep == channels; }

    // Writes one destination row of `width` pixels: a flat row through the vector loop flatRun(d, n),
    // any other sample by sample, from buffer index k to its place among pixelStep samples.
    template <typename Flat, typename Sample>
    void blend(Lum32s width, Lum8u* d, Flat flatRun, Sample sample) const
    {
        if (flat()) {
            flatRun(d, samples(width));
            return;
        }
        for (Lum32s j = 0; j < width; ++j)
            for (Lum32s c = 0; c < channels; ++c) d[j * pixelStep + c] = sample(j * channels + c);
    }
};

// ---- Source-row cursor -------------------------------------------------------------------------

// Compares row offsets in the direction in which rows advance: mirrored for a step of zero or below.
class RowCursor {
public:
    RowCursor(Lum32s step, Lum32s first)
        : step_(step), last_(step > 0 ? int64_t{first} - 1 : int64_t{first} + 1)
    {
    }

    // How many rows offset r lies past the last one, counted up to `cap`: 0 when the ring is still
    // valid; k when the k newest roles must be filtered anew. Makes r the last offset.
    int advance(Lum32s r, int cap)
    {
        if (!(step_ > 0 ? r > last_ : r < last_)) return 0;
        int k = 1;
        while (k < cap && atOrPast(r, last_ + int64_t{k + 1} * step_)) ++k;
        last_ = r;
        return k;
    }

    bool atOrPast(int64_t r, int64_t bound) const { return step_ > 0 ? r >= bound : r <= bound; }

private:
    Lum32s step_;
    int64_t last_;
};

// Runs the destination rows of a separable mode. The ring of N buffers holds the filtered source
// rows Centre rows above to N-1-Centre rows below the current one. `prefill(m)` gives the offset
// filtered into role m (1 to N-1) before the loop.
template <int N, int Centre, typename T, typename Prefill, typename Filter, typename Blend>
void rotateRows(const ResizeJob& job, T* const* buffers, Prefill prefill, Filter filter, Blend blend)
{
    if (job.width <= 0 || job.height <= 0) return;
    T* ring[N];
    std::copy(buffers, buffers + N, ring);
    for (int m = 1; m < N; ++m) filter(sourceRow(job, prefill(m)), ring[m]);
    RowCursor cursor(job.srcStep, job.rowOffsets[0]);
    for (Lum32s i = 0; i < job.height; ++i) {
        const Lum32s r = job.rowOffsets[i];
        const int k = cursor.advance(r, N);
        if (k > 0) {
            std::rotate(ring, ring + k % N, ring + N);
            for (int m = N - k; m < N; ++m)
                filter(sourceRow(job, int64_t{r} + int64_t{m - Centre} * job.srcStep), ring[m]);
        }
        blend(ring, i);
    }
}

// ---- Nearest neighbour -------------------------------------------------------------------------

template <int Channels>
void nearestRows(const ResizeJob& job)
{
    const Lum32s ps = Channels == 1 ? 1 : job.pixelStep;
    for (Lum32s i = 0; i < job.height; ++i) {
        const Lum8u* s = sourceRow(job, job.rowOffsets[i]);
        Lum8u* d = destinationRow(job, i);
        if constexpr (Channels == 1) {
            rowvec::gatherBytes(s, job.colOffsets, d, job.width);
        } else if (Channels == 3 && ps == 3) {
            rowvec::gatherPixels3(s, job.colOffsets, d, job.width);
        } else {
            for (Lum32s j = 0; j < job.width; ++j, d += ps)
                for (int c = 0; c < Channels; ++c) d[c] = s[job.colOffsets[j] + c];
        }
    }
}

// ---- Linear ------------------------------------------------------------------------------------

template <bool One>
void linearFilter(const ResizeJob& job, const Layout<One>& lay, const Lum8u* s, Lum16u* out)
{
    if constexpr (One) {
        rowvec::linearHorizontalC1(s, job.colOffsets, job.xWeights, out, job.width);
    } else {
        if (lay.pixelStep == 3 && lay.channels == 3) {
            rowvec::linearHorizontalC3(s, job.colOffsets, job.xWeights, out, job.width);
            return;
        }
        for (Lum32s j = 0; j < job.width; ++j) {
            const Lum8u* p = s + job.colOffsets[j];
            const uint32_t w0 = job.xWeights[2 * j], w1 = job.xWeights[2 * j + 1];
            for (Lum32s c = 0; c < lay.channels; ++c)
                out[j * lay.channels + c] = resize::linearHorizontal(p[c], p[lay.pixelStep + c], w0, w1);
        }
    }
}

template <bool One>
void linearBlend(const ResizeJob& job, const Layout<One>& lay, const Lum16u* upper, const Lum16u* lower,
                 uint32_t wy, Lum8u* d)
{
    lay.blend(
        job.width, d, [&](Lum8u* out, Lum32s n) { rowvec::linearVertical(upper, lower, wy, out, n); },
        [&](Lum32s k) { return resize::linearVertical(upper[k], lower[k], wy); });
}

template <bool One>
void linearRows(const ResizeJob& job)
{
    const Layout<One> lay(job);
    // Before the loop the row at the source base fills the buffer that becomes `upper`, whatever the
    // first row offset is; the first destination row keeps it.
    rotateRows<2, 0>(
        job, job.buffers16, [](int) { return int64_t{0}; },
        [&](const Lum8u* s, Lum16u* out) { linearFilter(job, lay, s, out); },
        [&](Lum16u* const* ring, Lum32s i) {
            linearBlend(job, lay, ring[0], ring[1], job.yWeights[i], destinationRow(job, i));
        });
}

// ---- Cubic -------------------------------------------------------------------------------------

template <bool One>
void cubicFilter(const ResizeJob& job, const Layout<One>& lay, const Lum8u* s, Lum32f* out)
{
    if constexpr (One) {
        rowvec::cubicHorizontalC1(s, job.colOffsets, job.xValues, out, job.width);
    } else if (lay.pixelStep == 3 && lay.channels == 3) {
        rowvec::cubicHorizontalC3(s, job.colOffsets, job.xValues, out, job.width);
    } else {
        const Lum32s ps = lay.pixelStep;
        for (Lum32s j = 0; j < job.width; ++j) {
            const Lum8u* p = s + job.colOffsets[j];
            const CubicCoefficients k = resize::cubicCoefficients(job.xValues[j]);
            for (Lum32s c = 0; c < lay.channels; ++c)
                out[j * lay.channels + c] =
                    static_cast<Lum32f>(resize::cubicValue(p[c - ps], p[c], p[c + ps], p[c + 2 * ps], k));
        }
    }
}

template <bool One>
void cubicBlend(const ResizeJob& job, const Layout<One>& lay, Lum32f* const* rows, Lum32f t, Lum8u* d)
{
    const CubicCoefficients k = resize::cubicRowCoefficients(t);
    lay.blend(
        job.width, d, [&](Lum8u* out, Lum32s n) { rowvec::cubicVertical(rows, k, out, n); },
        [&](Lum32s n) {
            return resize::roundClamp(resize::cubicValue(rows[0][n], rows[1][n], rows[2][n], rows[3][n], k));
        });
}

// Cubic and Lanczos: before the loop the ring is filled as if the row before the first had been the
// current one, so that the first row always filters just its newest row.
template <int N, int Centre, typename Filter, typename Blend>
void floatRows(const ResizeJob& job, Filter filter, Blend blend)
{
    const Lum32s r0 = job.rowOffsets[0];
    rotateRows<N, Centre>(
        job, job.buffers32, [&](int m) { return int64_t{r0} + int64_t{m - 1 - Centre} * job.srcStep; },
        filter, [&](Lum32f* const* ring, Lum32s i) { blend(ring, i, destinationRow(job, i)); });
}

template <bool One>
void cubicRows(const ResizeJob& job)
{
    const Layout<One> lay(job);
    floatRows<4, 1>(
        job, [&](const Lum8u* s, Lum32f* out) { cubicFilter(job, lay, s, out); },
        [&](Lum32f* const* ring, Lum32s i, Lum8u* d) { cubicBlend(job, lay, ring, job.yValues[i], d); });
}

// ---- Lanczos -----------------------------------------------------------------------------------

// Six taps around column offset x, at steps of ps, with the column's six coefficients.
static inline Lum32f lanczosTaps(const Lum8u* p, Lum32s ps, const Lum32f* c)
{
    double sum = 0.0;
    for (int m = 0; m < 6; ++m) sum += static_cast<double>(c[m]) * p[(m - 2) * ps];
    return static_cast<Lum32f>(sum);
}

template <bool One>
void lanczosFilter(const ResizeJob& job, const Layout<One>& lay, const Lum8u* s, Lum32f* out)
{
    for (Lum32s j = 0; j < job.width; ++j) {
        const Lum8u* p = s + job.colOffsets[j];
        for (Lum32s c = 0; c < lay.channels; ++c)
            out[j * lay.channels + c] = lanczosTaps(p + c, lay.pixelStep, job.xValues + 6 * j);
    }
}

template <bool One>
void lanczosBlend(const ResizeJob& job, const Layout<One>& lay, Lum32f* const* rows, const Lum32f* r,
                  Lum8u* d)
{
    lay.blend(
        job.width, d, [&](Lum8u* out, Lum32s n) { rowvec::lanczosVertical(rows, r, out, n); },
        [&](Lum32s n) {
            double sum = 0.0;
            for (int m = 0; m < 6; ++m) sum += static_cast<double>(r[m]) * rows[m][n];
            return resize::roundClamp(sum);
        });
}

template <bool One>
void lanczosRows(const ResizeJob& job)
{
    const Layout<One> lay(job);
    floatRows<6, 2>(
        job, [&](const Lum8u* s, Lum32f* out) { lanczosFilter(job, lay, s, out); },
        [&](Lum32f* const* ring, Lum32s i, Lum8u* d) {
            lanczosBlend(job, lay, ring, job.yValues + 6 * i, d);
        });
}

// ---- Lanczos with clamped taps (ends-to-ends geometry) ----------------------------------------

// Columns near the image's edges, where some tap is clamped to the image in absolute coordinates.
// Column offsets never fall, so they are a run at each end of the table.
struct ClampPhases {
    Lum32s left;   // columns 0 to left-1 reach past the image's first column
    Lum32s right;  // columns right to width-1 reach past its last
};

ClampPhases clampPhases(const ResizeJob& job)
{
    const int64_t ps = job.pixelStep;
    const int64_t first = -int64_t{job.originX} * ps;     // offset of the image's first column
    const int64_t last = (int64_t{job.availX} - 1) * ps;  // offset of its last column
    ClampPhases ph{0, job.width};
    while (ph.left < job.width && job.colOffsets[ph.left] - 2 * ps < first) ++ph.left;
    while (ph.right > ph.left && job.colOffsets[ph.right - 1] + 3 * ps > last) --ph.right;
    return ph;
}

template <bool One>
void lanczosClampedFilter(const ResizeJob& job, const Layout<One>& lay, const ClampPhases& ph, const Lum8u* s,
                          Lum32f* out)
{
    const Lum32s ps = lay.pixelStep;
    const int64_t first = -int64_t{job.originX};
    const int64_t last = int64_t{job.availX} - 1;
    for (Lum32s j = 0; j < job.width; ++j) {
        const Lum32f* c = job.xValues + 6 * j;
        if (j >= ph.left && j < ph.right) {
            const Lum8u* p = s + job.colOffsets[j];
            for (Lum32s ch = 0; ch < lay.channels; ++ch)
                out[j * lay.channels + ch] = lanczosTaps(p + ch, ps, c);
            continue;
        }
        const int64_t x = job.colOffsets[j] / ps;
        for (Lum32s ch = 0; ch < lay.channels; ++ch) {
            double sum = 0.0;
            for (int m = 0; m < 6; ++m) {
                const int64_t tap = std::clamp<int64_t>(x + m - 2, first, last);
                sum += static_cast<double>(c[m]) * s[tap * ps + ch];
            }
            out[j * lay.channels + ch] = static_cast<Lum32f>(sum);
        }
    }
}

// Source row r + o at the image's end: the rows past the last one repeat it.
int64_t rowHeldAtEnd(int64_t r, int o, int64_t avail, int64_t s)
{
    for (int64_t back = 1; back <= 3; ++back)
        if (r == (avail - back) * s && o >= back) return r + (back - 1) * s;
    return r + o * s;
}

// Rows above the image's top repeat its first row, rows past its end its last. Under `upscale` the
// newest row, once it would pass the end, is copied from the buffer before it instead of filtered.
template <bool One>
void lanczosClampedRows(const ResizeJob& job)
{
    if (job.width <= 0 || job.height <= 0) return;
    const Layout<One> lay(job);
    const ClampPhases ph = clampPhases(job);
    const int64_t s = job.srcStep;
    const int64_t avail = job.availY;
    const int64_t top = job.originY;
    auto filter = [&](int64_t offset, Lum32f* out) {
        lanczosClampedFilter(job, lay, ph, sourceRow(job, offset), out);
    };
    auto copy = [&](const Lum32f* from, Lum32f* to) { px::lumCopy32(from, to, lay.samples(job.width)); };

    Lum32f* ring[6];
    std::copy(job.buffers32, job.buffers32 + 6, ring);
    const int64_t r0 = job.rowOffsets[0];
    filter(r0, ring[3]);
    if (avail == 1)
        copy(ring[3], ring[4]);
    else
        filter(r0 + s, ring[4]);
    if (avail <= 2)
        copy(ring[4], ring[5]);
    else
        filter(r0 + 2 * s, ring[5]);
    if (top == 0)
        copy(ring[3], ring[2]);
    else
        filter(r0 - s, ring[2]);
    if (top <= 1)
        copy(ring[2], ring[1]);
    else
        filter(r0 - 2 * s, ring[1]);

    RowCursor cursor(job.srcStep, job.rowOffsets[0]);
    for (Lum32s i = 0; i < job.height; ++i) {
        const int64_t r = job.rowOffsets[i];
        const int k = cursor.advance(job.rowOffsets[i], job.upscale ? 1 : 6);
        if (k > 0) {
            std::rotate(ring, ring + k % 6, ring + 6);
            if (!job.upscale) {
                for (int m = 6 - k; m < 6; ++m) filter(rowHeldAtEnd(r, m - 2, avail, s), ring[m]);
            } else if (cursor.atOrPast(r, (avail - 3) * s)) {
                copy(ring[4], ring[5]);
            } else {
                filter(r + 3 * s, ring[5]);
            }
        }
        lanczosBlend(job, lay, ring, job.yValues + 6 * i, destinationRow(job, i));
    }
}

}  // namespace

const ResizeRowTable resizeRowTable = {
    {nearestRows<3>, nearestRows<1>, nearestRows<4>},
    {linearRows<false>, linearRows<true>},
    {cubicRows<false>, cubicRows<true>},
    {lanczosRows<false>, lanczosRows<true>},
    {lanczosClampedRows<false>, lanczosClampedRows<true>},
};

}  // namespace lum
