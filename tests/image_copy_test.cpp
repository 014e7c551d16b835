// Region copies and the channel fill in all tiers: argument checks and their order, the edge cases,
// exact bytes on random regions with gaps and misalignment against a model, nothing written outside
// the rows, reads that stop at the region's last byte, and the row kernels with their streaming rule.
#include "image/copy_row.h"
#include "image_test_support.h"
#include "tier_fixture.h"

#include <cstring>
#include <random>
#include <vector>

namespace {

using lumtest::GuardedBuffer;
using lumtest::RegionBuffer;
using lumtest::stepFor;

using CopyFn = LumStatus (*)(const Lum8u*, Lum32s, Lum8u*, Lum32s, LumSize);

struct Interleaved {
    CopyFn fn;
    int srcChannels;
    int dstChannels;
};
const Interleaved kInterleaved[] = {
    {lumiCopy_8u_C1R, 1, 1}, {lumiCopy_8u_C3R, 3, 3}, {lumiCopy_8u_C4R, 4, 4}, {lumiCopy_8u_C3AC4R, 3, 4}};

LumStatus copyP3(const Lum8u* const* planes, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roi)
{
    return lumiCopy_8u_P3C3R(planes, srcStep, pDst, dstStep, roi);
}

LumStatus copyP4(const Lum8u* const* planes, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roi)
{
    return lumiCopy_8u_P4C4R(planes, srcStep, pDst, dstStep, roi);
}

// The model: pixel bytes moved channel by channel; a fourth destination byte that the source lacks
// stays as it was.
void modelInterleaved(RegionBuffer& src, RegionBuffer& expected, LumSize roi, int sc, int dc)
{
    for (int r = 0; r < roi.height; ++r)
        for (int c = 0; c < roi.width; ++c)
            for (int k = 0; k < sc; ++k) expected.row(r)[dc * c + k] = src.row(r)[sc * c + k];
}

class ImageCopy : public lumtest::TierTest {};

TEST_P(ImageCopy, ChecksPointersThenSize)
{
    Lum8u src[64] = {}, dst[64];
    std::memset(dst, 0x5A, sizeof dst);
    for (const auto& f : kInterleaved) {
        EXPECT_EQ(f.fn(nullptr, 8, dst, 8, {2, 2}), lumStsNullPointer);
        EXPECT_EQ(f.fn(src, 8, nullptr, 8, {2, 2}), lumStsNullPointer);
        EXPECT_EQ(f.fn(nullptr, 8, dst, 8, {0, 0}), lumStsNullPointer);
        EXPECT_EQ(f.fn(src, 8, dst, 8, {0, 2}), lumStsBadSize);
        EXPECT_EQ(f.fn(src, 8, dst, 8, {2, -1}), lumStsBadSize);
        // Steps are not checked: zero and negative steps are valid.
        EXPECT_EQ(f.fn(src, 0, dst, 0, {1, 1}), lumStsNoErr);
    }
    for (int i = 4; i < 64; ++i) EXPECT_EQ(dst[i], 0x5A) << i;
}

TEST_P(ImageCopy, PlanarChecksEveryPlane)
{
    Lum8u a[16] = {}, b[16] = {}, c[16] = {}, e[16] = {}, dst[64];
    std::memset(dst, 0x5A, sizeof dst);
    const Lum8u* planes[4] = {a, b, c, e};
    for (int missing = 0; missing < 4; ++missing) {
        const Lum8u* holed[4] = {a, b, c, e};
        holed[missing] = nullptr;
        if (missing < 3) {
            EXPECT_EQ(copyP3(holed, 4, dst, 12, {0, 0}), lumStsNullPointer) << missing;
        }
        EXPECT_EQ(copyP4(holed, 4, dst, 16, {0, 0}), lumStsNullPointer) << missing;
    }
    EXPECT_EQ(copyP3(nullptr, 4, dst, 12, {1, 1}), lumStsNullPointer);
    EXPECT_EQ(copyP4(planes, 4, nullptr, 16, {1, 1}), lumStsNullPointer);
    EXPECT_EQ(copyP3(planes, 4, dst, 12, {1, 0}), lumStsBadSize);
    EXPECT_EQ(copyP4(planes, 4, dst, 16, {0, 1}), lumStsBadSize);
    for (Lum8u v : dst) EXPECT_EQ(v, 0x5A);
}

TEST_P(ImageCopy, SetChecksPointerSizeThenStep)
{
    Lum8u dst[64];
    std::memset(dst, 0x5A, sizeof dst);
    EXPECT_EQ(lumiSet_8u_C4CR(1, nullptr, 0, {0, 0}), lumStsNullPointer);
    EXPECT_EQ(lumiSet_8u_C4CR(1, dst, 0, {0, 1}), lumStsBadSize);
    EXPECT_EQ(lumiSet_8u_C4CR(1, dst, 0, {2, 2}), lumStsBadStep);
    EXPECT_EQ(lumiSet_8u_C4CR(1, dst, -8, {2, 2}), lumStsBadStep);
    for (Lum8u v : dst) EXPECT_EQ(v, 0x5A);
}

TEST_P(ImageCopy, OnePixelOfEveryForm)
{
    const Lum8u src[4] = {11, 22, 33, 44};
    for (const auto& f : kInterleaved) {
        Lum8u dst[8] = {9, 9, 9, 9, 9, 9, 9, 9};
        ASSERT_EQ(f.fn(src, 4, dst, 4, {1, 1}), lumStsNoErr);
        for (int k = 0; k < 8; ++k) EXPECT_EQ(dst[k], k < f.srcChannels ? src[k] : 9) << k;
    }
    const Lum8u p0 = 1, p1 = 2, p2 = 3, p3 = 4;
    const Lum8u* planes[4] = {&p0, &p1, &p2, &p3};
    Lum8u dst[6] = {9, 9, 9, 9, 9, 9};
    ASSERT_EQ(copyP3(planes, 1, dst, 3, {1, 1}), lumStsNoErr);
    EXPECT_EQ(std::vector<Lum8u>(dst, dst + 6), (std::vector<Lum8u>{1, 2, 3, 9, 9, 9}));
    ASSERT_EQ(copyP4(planes, 1, dst, 4, {1, 1}), lumStsNoErr);
    EXPECT_EQ(std::vector<Lum8u>(dst, dst + 6), (std::vector<Lum8u>{1, 2, 3, 4, 9, 9}));
}

// Width 4, steps 4, height 1000: merged into one call in the vector tiers, bytes as in px.
TEST_P(ImageCopy, MergedRegionMatchesRowByRow)
{
    const auto src = lumtest::randomBytes(4000, 17);
    GuardedBuffer dst(4000);
    std::memset(dst.data(), 0, 4000);
    ASSERT_EQ(lumiCopy_8u_C1R(src.data(), 4, dst.data(), 4, {4, 1000}), lumStsNoErr);
    EXPECT_EQ(std::memcmp(dst.data(), src.data(), 4000), 0);
}

TEST_P(ImageCopy, AlphaKeptLeavesTheFourthByte)
{
    RegionBuffer src(3 * 37, 5, 3 * 37 + 5), dst(4 * 37, 5, 4 * 37 + 3, 1);
    src.randomize(3);
    dst.randomize(4);
    RegionBuffer expected(4 * 37, 5, 4 * 37 + 3, 1);
    expected.randomize(4);
    modelInterleaved(src, expected, {37, 5}, 3, 4);
    ASSERT_EQ(lumiCopy_8u_C3AC4R(src.data(), src.step(), dst.data(), dst.step(), {37, 5}), lumStsNoErr);
    EXPECT_EQ(dst.rows(), expected.rows());
    EXPECT_TRUE(dst.outsideIntact());
}

// A zero step writes every row onto the same place: the last row wins.
TEST_P(ImageCopy, ZeroStepTakesEffect)
{
    const auto src = lumtest::randomBytes(5 * 24, 5);
    Lum8u dst[24 + 16];
    std::memset(dst, 0x5A, sizeof dst);
    ASSERT_EQ(lumiCopy_8u_C1R(src.data(), 24, dst, 0, {24, 5}), lumStsNoErr);
    EXPECT_EQ(std::memcmp(dst, src.data() + 4 * 24, 24), 0);
    for (size_t i = 24; i < sizeof dst; ++i) EXPECT_EQ(dst[i], 0x5A);
    std::memset(dst, 0, sizeof dst);
    ASSERT_EQ(lumiCopy_8u_C1R(src.data(), 0, dst, 24, {24, 1}), lumStsNoErr);
    EXPECT_EQ(std::memcmp(dst, src.data(), 24), 0);
}

TEST_P(ImageCopy, RandomInterleavedRegions)
{
    std::mt19937 rng(2024);
    for (int n = 0; n < 120; ++n) {
        const auto& f = kInterleaved[n % 4];
        const LumSize roi = {1 + int(rng() % 300), 1 + int(rng() % (n % 3 == 0 ? 300 : 12))};
        const size_t sRow = size_t(roi.width) * f.srcChannels, dRow = size_t(roi.width) * f.dstChannels;
        // Every fifth region has no gaps, so that the vector tiers merge it; some steps are negative.
        const bool packed = n % 5 == 0 && f.srcChannels == f.dstChannels;
        const Lum32s sStep = stepFor(sRow, packed ? 0 : rng() % 40, !packed && n % 7 == 3);
        const Lum32s dStep = stepFor(dRow, packed ? 0 : rng() % 40, !packed && n % 11 == 5);
        RegionBuffer src(sRow, roi.height, sStep, rng() % 16), dst(dRow, roi.height, dStep, rng() % 16),
            expected(dRow, roi.height, dStep);
        src.randomize(n);
        dst.randomize(n + 1000);
        expected.randomize(n + 1000);
        modelInterleaved(src, expected, roi, f.srcChannels, f.dstChannels);
        ASSERT_EQ(f.fn(src.data(), sStep, dst.data(), dStep, roi), lumStsNoErr);
        ASSERT_EQ(dst.rows(), expected.rows()) << n << " " << roi.width << "x" << roi.height;
        ASSERT_TRUE(dst.outsideIntact()) << n;
    }
}

template <int Planes>
void checkPlanar(std::mt19937& rng, int n, LumSize roi, bool packed)
{
    const Lum32s sStep = packed ? roi.width : stepFor(size_t(roi.width), rng() % 40, n % 3 == 1);
    const Lum32s dStep =
        packed ? Planes * roi.width : stepFor(size_t(roi.width) * Planes, rng() % 40, n % 4 == 2);
    std::vector<RegionBuffer> planes;
    planes.reserve(Planes);
    for (int p = 0; p < Planes; ++p) {
        planes.emplace_back(size_t(roi.width), roi.height, sStep, rng() % 16);
        planes.back().randomize(n * 8 + p);
    }
    const Lum8u* pointers[Planes];
    for (int p = 0; p < Planes; ++p) pointers[p] = planes[p].data();
    RegionBuffer dst(size_t(roi.width) * Planes, roi.height, dStep, rng() % 16);
    RegionBuffer expected(size_t(roi.width) * Planes, roi.height, dStep);
    for (int r = 0; r < roi.height; ++r)
        for (int c = 0; c < roi.width; ++c)
            for (int p = 0; p < Planes; ++p) expected.row(r)[Planes * c + p] = planes[p].row(r)[c];
    const LumStatus status = Planes == 3 ? copyP3(pointers, sStep, dst.data(), dStep, roi)
                                         : copyP4(pointers, sStep, dst.data(), dStep, roi);
    ASSERT_EQ(status, lumStsNoErr);
    ASSERT_EQ(dst.rows(), expected.rows()) << Planes << " " << n << " " << roi.width << "x" << roi.height;
    ASSERT_TRUE(dst.outsideIntact()) << n;
}

TEST_P(ImageCopy, RandomPlanarRegions)
{
    std::mt19937 rng(77);
    for (int n = 0; n < 80; ++n) {
        const LumSize roi = {1 + int(rng() % 300), 1 + int(rng() % 10)};
        checkPlanar<3>(rng, n, roi, n % 5 == 0);
        checkPlanar<4>(rng, n, roi, n % 5 == 0);
    }
    // Past the streaming thresholds, merged and not.
    checkPlanar<3>(rng, 1, {300, 160}, true);
    checkPlanar<4>(rng, 2, {300, 160}, false);
}

// A destination step 8 past a multiple of 16 alternates rows between the aligned and the slow path.
TEST_P(ImageCopy, P4C4AlternatingRowPaths)
{
    for (size_t misalign : {0, 4, 8}) {
        const LumSize roi = {29, 6};
        const Lum32s dStep = 136;
        ASSERT_EQ(dStep % 16, 8);
        std::vector<RegionBuffer> planes;
        for (int p = 0; p < 4; ++p) {
            planes.emplace_back(29, 6, 31);
            planes.back().randomize(p + 40);
        }
        const Lum8u* pointers[4] = {planes[0].data(), planes[1].data(), planes[2].data(), planes[3].data()};
        RegionBuffer dst(4 * 29, 6, dStep, misalign);
        ASSERT_EQ(copyP4(pointers, 31, dst.data(), dStep, roi), lumStsNoErr);
        for (int r = 0; r < 6; ++r)
            for (int c = 0; c < 29; ++c)
                for (int p = 0; p < 4; ++p)
                    ASSERT_EQ(dst.row(r)[4 * c + p], planes[p].row(r)[c]) << r << " " << c;
        EXPECT_TRUE(dst.outsideIntact());
    }
}

TEST_P(ImageCopy, SetWritesOnlyTheAddressedChannel)
{
    std::mt19937 rng(8);
    for (int n = 0; n < 40; ++n) {
        const LumSize roi = {1 + int(rng() % 200), 1 + int(rng() % 9)};
        const Lum32s step = stepFor(size_t(roi.width) * 4, rng() % 20, false);
        RegionBuffer dst(size_t(roi.width) * 4, roi.height, step, rng() % 16),
            expected(size_t(roi.width) * 4, roi.height, step);
        dst.randomize(n);
        expected.randomize(n);
        const int channel = n % 4;
        const Lum8u value = static_cast<Lum8u>(rng());
        for (int r = 0; r < roi.height; ++r)
            for (int c = 0; c < roi.width; ++c) expected.row(r)[4 * c + channel] = value;
        // The last pixel's channel is at most 3 bytes before the row's end: the region is addressed
        // from the channel, so its last written byte is inside the row.
        ASSERT_EQ(lumiSet_8u_C4CR(value, dst.data() + channel, step, roi), lumStsNoErr);
        ASSERT_EQ(dst.rows(), expected.rows()) << n;
        ASSERT_TRUE(dst.outsideIntact());
    }
}

// Source and destination both end right before a PROT_NONE page: no tier reads or writes past the
// region's last byte, whatever the width.
TEST_P(ImageCopy, StopsAtTheLastByte)
{
    for (int width : {1, 3, 15, 16, 17, 63, 64, 65, 100, 131}) {
        for (const auto& f : kInterleaved) {
            const size_t sRow = size_t(width) * f.srcChannels, dRow = size_t(width) * f.dstChannels;
            GuardedBuffer src(sRow * 3), dst(dRow * 3);
            std::memset(src.data(), 7, sRow * 3);
            ASSERT_EQ(f.fn(src.data(), Lum32s(sRow), dst.data(), Lum32s(dRow), {width, 3}), lumStsNoErr);
            EXPECT_EQ(dst.data()[dRow * 3 - 2], 7);
        }
        const size_t w = size_t(width);
        GuardedBuffer p0{w}, p1{w}, p2{w}, p3{w}, dst{4 * w};
        for (auto* p : {&p0, &p1, &p2, &p3}) std::memset(p->data(), 9, size_t(width));
        const Lum8u* planes[4] = {p0.data(), p1.data(), p2.data(), p3.data()};
        ASSERT_EQ(copyP3(planes, width, dst.data() + width, 3 * width, {width, 1}), lumStsNoErr);
        ASSERT_EQ(copyP4(planes, width, dst.data(), 4 * width, {width, 1}), lumStsNoErr);
        EXPECT_EQ(dst.data()[4 * width - 1], 9);
        ASSERT_EQ(lumiSet_8u_C4CR(5, dst.data() + 3, 4 * width, {width, 1}), lumStsNoErr);
        EXPECT_EQ(dst.data()[4 * width - 1], 5);
    }
}

LUM_ALL_TIERS(ImageCopy);

// ---- Row kernels and their thresholds

TEST(ImageCopyThresholds, StreamingLimits)
{
    EXPECT_EQ(lum::kCopyStreamAbove, 131072u);
    EXPECT_EQ(lum::kP3C3StreamFrom, 140001u);
    EXPECT_EQ(lum::kP4C4StreamFrom, 180001u);
    EXPECT_EQ(lum::kMirrorStreamAbove, 131000u);
}

// With stream set, a source 16 to 320 bytes behind the destination, modulo 65536, keeps to the cache.
TEST(ImageCopyThresholds, NonTemporalUnlessTheSourceTrailsClosely)
{
    const auto at = [](uintptr_t a) { return reinterpret_cast<const void*>(a); };
    const uintptr_t d = 0x12340000;
    EXPECT_TRUE(lum::copyRowGoesNonTemporal(at(d), at(d)));
    EXPECT_TRUE(lum::copyRowGoesNonTemporal(at(d - 15), at(d)));
    EXPECT_FALSE(lum::copyRowGoesNonTemporal(at(d - 16), at(d)));
    EXPECT_FALSE(lum::copyRowGoesNonTemporal(at(d - 320), at(d)));
    EXPECT_TRUE(lum::copyRowGoesNonTemporal(at(d - 321), at(d)));
    EXPECT_FALSE(lum::copyRowGoesNonTemporal(at(d + 0x10000 - 100), at(d)));
    EXPECT_FALSE(lum::copyRowGoesNonTemporal(at(d + 0x5555 - 0x30000 - 200), at(d + 0x5555)));
    EXPECT_TRUE(lum::copyRowGoesNonTemporal(at(d + 64), at(d)));
}

using RowKernel = void (*)(const Lum8u*, Lum8u*, size_t, bool);

void a6Row(const Lum8u* s, Lum8u* d, size_t len, bool) { lum::a6::lumCopyRow(s, d, len); }

// Every kernel at every source and destination alignment, both stream settings, lengths around the
// 64-byte pass and its tail units; bytes exact, neighbours untouched.
TEST(ImageCopyRow, ExactAtEveryAlignment)
{
    const RowKernel kernels[] = {a6Row, lum::w7::lumCopyRow, lum::t7::lumCopyRow};
    const auto src = lumtest::randomBytes(1024 + 64, 99);
    const uintptr_t base = (64 - reinterpret_cast<uintptr_t>(src.data()) % 64) % 64;
    for (RowKernel kernel : kernels) {
        for (size_t len : {0, 1, 7, 8, 9, 63, 64, 65, 79, 127, 128, 200, 1000}) {
            for (size_t sa = 0; sa < 16; ++sa) {
                for (size_t da = 0; da < 16; da += (len > 100 ? 3 : 1)) {
                    for (bool stream : {false, true}) {
                        lumtest::CanaryBuffer dst(len, 64, da);
                        kernel(src.data() + base + sa, dst.data(), len, stream);
                        ASSERT_EQ(std::memcmp(dst.data(), src.data() + base + sa, len), 0)
                            << len << " " << sa << " " << da;
                        ASSERT_TRUE(dst.guardsIntact()) << len << " " << sa << " " << da;
                    }
                }
            }
        }
    }
}

// With stream set and a source that trails the destination by 16 to 320 bytes modulo 65536, the
// cached loops run; the bytes are the same either way.
TEST(ImageCopyRow, StreamWithCloseTrailingSource)
{
    std::vector<Lum8u> buffer(0x10000 + 4096, 0);
    auto* base = buffer.data() + (64 - reinterpret_cast<uintptr_t>(buffer.data()) % 64) % 64;
    for (size_t lag : {0, 8, 16, 100, 320, 400}) {
        Lum8u* s = base + 0x10000 - lag;
        Lum8u* d = base;
        std::mt19937 rng{static_cast<unsigned>(lag)};
        for (size_t i = 0; i < 2000; ++i) s[i] = static_cast<Lum8u>(rng());
        const std::vector<Lum8u> expected(s, s + 2000);
        std::memset(d, 0, 2000);
        ASSERT_GE(size_t(s - d), 2000u);
        lum::w7::lumCopyRow(s, d, 2000, true);
        EXPECT_EQ(std::vector<Lum8u>(d, d + 2000), expected) << lag;
        std::memset(d, 0, 2000);
        lum::t7::lumCopyRow(s, d, 2000, true);
        EXPECT_EQ(std::vector<Lum8u>(d, d + 2000), expected) << lag;
    }
}

}  // namespace
