// The 26 per-MCU exports against scalar models of their formulas, in every tier: random MCUs, planes
// aligned and off 16-byte boundaries (w7's fallbacks), steps larger than a row with guard bytes,
// rows that end at a PROT_NONE page, and the argument checks in their order.
//
// Class: exact per tier. px follows the px formulas; a6 and t7 the vector formulas; w7 the vector
// formulas or, where a plane that it accesses aligned is not, the px formulas. Sampling, split and
// join are exact across all tiers, except the third SampleUp byte of a6 and t7 in 4:2:2 and 4:1:1.
#include "jpeg_mcu_models.h"
#include "test_support.h"
#include "tier_fixture.h"

#include <lum.h>

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

using lumtest::CanaryBuffer;
using lumtest::GuardedBuffer;
using lumtest::kCanary;
using lumtest::TierTest;
using namespace mcutest;

namespace {

class McuModelTest : public TierTest {};

// Plane alignments to try, as byte offsets from a 16-byte boundary for planes 0..3.
std::vector<std::vector<int>> alignmentCases(int planes)
{
    std::vector<std::vector<int>> cases = {{0, 0, 0, 0}, {8, 8, 8, 8}, {2, 14, 6, 10}};
    for (int k = 0; k < planes; ++k) {
        std::vector<int> one(4, 0);
        one[k] = 6;
        cases.push_back(one);
    }
    return cases;
}

// Output planes with canary bytes around each, at the given offsets from 16-byte boundaries.
struct OutputPlanes {
    OutputPlanes(const Export& e, const std::vector<int>& offsets)
    {
        for (int k = 0; k < planeCount(e.kind); ++k) {
            buffers.push_back(std::make_unique<CanaryBuffer>(2 * planeSize(e, k), 48, offsets[k]));
            planes[k] = reinterpret_cast<Lum16s*>(buffers.back()->data());
        }
    }
    std::vector<std::unique_ptr<CanaryBuffer>> buffers;
    Lum16s* planes[4] = {};
};

// Input planes, each ending as close to a PROT_NONE page as its alignment allows.
struct InputPlanes {
    InputPlanes(const Export& e, const std::vector<int>& offsets, std::mt19937& rng, int lo, int hi)
    {
        std::uniform_int_distribution<int> value(lo, hi);
        for (int k = 0; k < planeCount(e.kind); ++k) {
            const size_t bytes = 2 * static_cast<size_t>(planeSize(e, k));
            buffers.push_back(std::make_unique<GuardedBuffer>(bytes, (16 - offsets[k]) % 16));
            auto* p = reinterpret_cast<Lum16s*>(buffers.back()->data());
            for (int i = 0; i < planeSize(e, k); ++i) p[i] = static_cast<Lum16s>(value(rng));
            model.p[k].assign(p, p + planeSize(e, k));
            planes[k] = p;
        }
    }
    std::vector<std::unique_ptr<GuardedBuffer>> buffers;
    const Lum16s* planes[4] = {};
    Planes model;
};

void fill(uint8_t* p, size_t n, std::mt19937& rng)
{
    for (size_t i = 0; i < n; ++i) p[i] = static_cast<uint8_t>(rng());
}

void expectPlanes(const Export& e, int slot, const uint8_t* src, Lum32s step, OutputPlanes& out)
{
    const void* addresses[4] = {out.planes[0], out.planes[1], out.planes[2], out.planes[3]};
    const Planes m = modelToPlanes(e, expectedArith(slot, e, addresses), src, step);
    for (int k = 0; k < planeCount(e.kind); ++k) {
        EXPECT_EQ(std::memcmp(out.planes[k], m.p[k].data(), 2 * m.p[k].size()), 0) << "plane " << k;
        EXPECT_TRUE(out.buffers[k]->guardsIntact()) << "plane " << k;
    }
}

// One call on a source laid out by `src`/`step`, for every alignment case.
void checkToPlanes(const Export& e, int slot, const uint8_t* src, Lum32s step)
{
    for (const auto& offsets : alignmentCases(planeCount(e.kind))) {
        SCOPED_TRACE(testing::Message() << "offsets " << offsets[0] << " " << offsets[1] << " " << offsets[2]
                                        << " " << offsets[3] << ", step " << step);
        OutputPlanes out(e, offsets);
        // Split's aligned path wants aligned rows: a caller with aligned pointers passes such a step.
        const bool alignedSplit = e.kind == Kind::packed && slot >= 2 &&
                                  reinterpret_cast<uintptr_t>(src) % 16 == 0 && offsets[0] == 0 &&
                                  offsets[1] == 0 && offsets[2] == 0;
        if (alignedSplit && step % 16 != 0) continue;
        ASSERT_EQ(e.toPlanes(src, step, out.planes), lumStsNoErr);
        expectPlanes(e, slot, src, step, out);
    }
}

TEST_P(McuModelTest, PixelsToPlanesMatchTheModels)
{
    std::mt19937 rng(601);
    for (const Export& e : allExports()) {
        if (e.toPlanes == nullptr) continue;
        SCOPED_TRACE(e.name);
        const Geometry g = geometry(e.form);
        const int rb = rowBytes(e);
        // Every row ends right before an inaccessible page.
        StripedRows striped(g.height, rb);
        for (int y = 0; y < g.height; ++y)
            fill(striped.data() + static_cast<size_t>(y) * striped.step(), rb, rng);
        checkToPlanes(e, slot(), striped.data(), striped.step());
        // Packed rows, and rows with an odd gap, the last one against an inaccessible page, at
        // several source alignments.
        for (int gap : {0, 5, 16}) {
            const Lum32s step = rb + gap;
            for (size_t tail : {0, 3, 8}) {
                GuardedBuffer src(static_cast<size_t>(step) * (g.height - 1) + rb, tail);
                fill(src.data(), src.size(), rng);
                checkToPlanes(e, slot(), src.data(), step);
            }
        }
    }
}

// Destination rows `step` apart inside a canary-filled buffer at `offset` from a 64-byte boundary.
void checkToPixels(const Export& e, int slot, const InputPlanes& in, Lum32s step, size_t offset)
{
    const Geometry g = geometry(e.form);
    const int rb = rowBytes(e);
    const size_t span = static_cast<size_t>(step) * (g.height - 1) + rb;
    CanaryBuffer dst(span, 64, offset);
    const void* addresses[4] = {in.planes[0], in.planes[1], in.planes[2], in.planes[3]};
    const std::vector<uint8_t> m =
        modelToPixels(e, expectedArith(slot, e, addresses), wrapsThird(slot, e), in.model);
    ASSERT_EQ(e.toPixels(in.planes, dst.data(), step), lumStsNoErr);
    for (int y = 0; y < g.height; ++y) {
        EXPECT_EQ(
            std::memcmp(dst.data() + static_cast<size_t>(y) * step, &m[static_cast<size_t>(y) * rb], rb), 0)
            << "row " << y;
        if (y + 1 < g.height) {
            for (int i = rb; i < step; ++i)
                ASSERT_EQ(dst.data()[static_cast<size_t>(y) * step + i], kCanary) << "gap after row " << y;
        }
    }
    EXPECT_TRUE(dst.guardsIntact());
}

TEST_P(McuModelTest, PlanesToPixelsMatchTheModels)
{
    std::mt19937 rng(602);
    // Samples of a decoded stream, then well beyond, then the whole 16-bit range.
    const int ranges[3][2] = {{-128, 127}, {-1000, 1000}, {-32768, 32767}};
    for (const Export& e : allExports()) {
        if (e.toPixels == nullptr) continue;
        SCOPED_TRACE(e.name);
        const int rb = rowBytes(e);
        for (const auto& offsets : alignmentCases(planeCount(e.kind))) {
            SCOPED_TRACE(testing::Message() << "offsets " << offsets[0] << " " << offsets[1] << " "
                                            << offsets[2] << " " << offsets[3]);
            for (const auto& range : ranges) {
                const InputPlanes in(e, offsets, rng, range[0], range[1]);
                // An aligned destination with a step of whole 16-byte units, then unaligned ones.
                checkToPixels(e, slot(), in, rb + 16, 0);
                checkToPixels(e, slot(), in, rb + 7, 3);
                checkToPixels(e, slot(), in, rb, 9);
            }
        }
    }
}

// Writes past the end of any row fault at once.
TEST_P(McuModelTest, PlanesToPixelsStayInsideEachRow)
{
    std::mt19937 rng(603);
    for (const Export& e : allExports()) {
        if (e.toPixels == nullptr) continue;
        SCOPED_TRACE(e.name);
        const Geometry g = geometry(e.form);
        const int rb = rowBytes(e);
        for (const auto& offsets : alignmentCases(planeCount(e.kind))) {
            const InputPlanes in(e, offsets, rng, -300, 300);
            StripedRows dst(g.height, rb);
            ASSERT_EQ(e.toPixels(in.planes, dst.data(), dst.step()), lumStsNoErr);
            const void* addresses[4] = {in.planes[0], in.planes[1], in.planes[2], in.planes[3]};
            const auto m =
                modelToPixels(e, expectedArith(slot(), e, addresses), wrapsThird(slot(), e), in.model);
            for (int y = 0; y < g.height; ++y)
                EXPECT_EQ(std::memcmp(dst.data() + static_cast<size_t>(y) * dst.step(),
                                      &m[static_cast<size_t>(y) * rb], rb),
                          0);
        }
    }
}

// ---- Argument checks --------------------------------------------------------------------------

TEST_P(McuModelTest, PixelsToPlanesCheckPointersThenStepThenPlanes)
{
    for (const Export& e : allExports()) {
        if (e.toPlanes == nullptr) continue;
        SCOPED_TRACE(e.name);
        const int n = planeCount(e.kind);
        std::vector<uint8_t> src(static_cast<size_t>(rowBytes(e)) * 16, 7);
        OutputPlanes out(e, {0, 0, 0, 0});
        Lum16s* withNull[4] = {nullptr, nullptr, nullptr, nullptr};
        const Lum32s step = rowBytes(e);
        EXPECT_EQ(e.toPlanes(nullptr, 0, nullptr), lumStsNullPointer);
        EXPECT_EQ(e.toPlanes(src.data(), 0, nullptr), lumStsNullPointer);
        EXPECT_EQ(e.toPlanes(nullptr, -1, out.planes), lumStsNullPointer);
        EXPECT_EQ(e.toPlanes(src.data(), 0, withNull), lumStsBadStep);
        EXPECT_EQ(e.toPlanes(src.data(), -38, out.planes), lumStsBadStep);
        for (int k = 0; k < n; ++k) {
            Lum16s* planes[4] = {out.planes[0], out.planes[1], out.planes[2], out.planes[3]};
            planes[k] = nullptr;
            EXPECT_EQ(e.toPlanes(src.data(), step, planes), lumStsNullPointer) << "plane " << k;
        }
        for (int k = 0; k < n; ++k)
            EXPECT_TRUE(out.buffers[k]->payloadIsCanary() && out.buffers[k]->guardsIntact()) << "plane " << k;
    }
}

TEST_P(McuModelTest, PlanesToPixelsCheckPointersThenPlanesThenStep)
{
    std::mt19937 rng(604);
    for (const Export& e : allExports()) {
        if (e.toPixels == nullptr) continue;
        SCOPED_TRACE(e.name);
        const int n = planeCount(e.kind);
        const InputPlanes in(e, {0, 0, 0, 0}, rng, -128, 127);
        const Lum32s step = rowBytes(e);
        CanaryBuffer dst(static_cast<size_t>(step) * 16);
        const Lum16s* withNull[4] = {nullptr, nullptr, nullptr, nullptr};
        EXPECT_EQ(e.toPixels(nullptr, dst.data(), 0), lumStsNullPointer);
        EXPECT_EQ(e.toPixels(in.planes, nullptr, 0), lumStsNullPointer);
        EXPECT_EQ(e.toPixels(withNull, dst.data(), 0), lumStsNullPointer);
        EXPECT_EQ(e.toPixels(in.planes, dst.data(), 0), lumStsBadStep);
        EXPECT_EQ(e.toPixels(in.planes, dst.data(), -48), lumStsBadStep);
        for (int k = 0; k < n; ++k) {
            const Lum16s* planes[4] = {in.planes[0], in.planes[1], in.planes[2], in.planes[3]};
            planes[k] = nullptr;
            EXPECT_EQ(e.toPixels(planes, dst.data(), 0), lumStsNullPointer) << "plane " << k;
        }
        EXPECT_TRUE(dst.payloadIsCanary() && dst.guardsIntact());
    }
}

LUM_ALL_TIERS(McuModelTest);

}  // namespace
