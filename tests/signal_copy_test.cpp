// lumsCopy_8u, lumsZero_8u and the copy, clear, fill and move kernels behind them, in all tiers:
// exact bytes at every alignment and across every path threshold, nothing touched outside the
// buffers, and the non-temporal paths forced through fake CPUID leaves.
// Class: exact across all tiers. Every tier writes the same bytes as memcpy/memset/memmove would.
#include "fake_cpuid.h"
#include "signal/kernels.h"
#include "test_support.h"
#include "tier_fixture.h"

#include <climits>
#include <cstring>
#include <vector>

namespace {

using lumtest::CanaryBuffer;
using lumtest::FakeCpuid;
using lumtest::GuardedBuffer;

// The kernels of one tier, by slot.
struct Kernels {
    void (*copy)(const Lum8u*, Lum8u*, size_t);
    void (*zero)(Lum8u*, size_t);
    void (*fill)(uint32_t, void*, size_t);
    LumStatus (*move32)(const void*, void*, Lum32s);
    LumStatus (*move16)(const void*, void*, Lum32s);
};

const Kernels kKernels[4] = {
    {lum::px::lumCopyBytes, lum::px::lumZeroBytes, lum::px::lumFill32, lum::px::lumMove32,
     lum::px::lumMove16},
    {lum::a6::lumCopyBytes, lum::a6::lumZeroBytes, lum::a6::lumFill32, lum::a6::lumMove32,
     lum::a6::lumMove16},
    {lum::w7::lumCopyBytes, lum::w7::lumZeroBytes, lum::w7::lumFill32, lum::w7::lumMove32,
     lum::w7::lumMove16},
    {lum::t7::lumCopyBytes, lum::t7::lumZeroBytes, lum::t7::lumFill32, lum::t7::lumMove32,
     lum::t7::lumMove16},
};

// The large-path kernels that take a CPUID source, w7 then t7.
struct VectorKernels {
    void (*copy)(const Lum8u*, Lum8u*, size_t, const lum::CpuidSource&);
    void (*zero)(Lum8u*, size_t, const lum::CpuidSource&);
    void (*fill)(uint32_t, void*, size_t, const lum::CpuidSource&);
};
const VectorKernels kW7 = {lum::w7::lumCopyBytes, lum::w7::lumZeroBytes, lum::w7::lumFill32};
const VectorKernels kT7 = {lum::t7::lumCopyBytes, lum::t7::lumZeroBytes, lum::t7::lumFill32};

// The literal lengths of the copy edge cases, and lengths on both sides of every path threshold.
const std::vector<size_t> kCopyEdgeLengths = {1, 3, 4, 63, 64, 511, 512, 524287, 524288};
const std::vector<size_t> kCopyThresholds = {
    2,     5,     15,    16,    17,    65,    127,   128,    513,    4095,   4096,   8191,   8192,   8193,
    16383, 16384, 16385, 20479, 20480, 20481, 28679, 131072, 131073, 262144, 262145, 524289, 1048653};
const std::vector<size_t> kZeroEdgeLengths = {15, 16, 63, 64, 262144, 262145};
const std::vector<size_t> kZeroThresholds = {8191, 8192, 20479, 20480, 20481, 65536, 262143, 262146, 300001};

constexpr size_t kPoolSize = (1 << 20) + 4096;

// Random source bytes, 64-byte aligned at pool(0).
const uint8_t* pool(size_t offset)
{
    static const std::vector<uint8_t> bytes = lumtest::randomBytes(kPoolSize + 64, 20240611);
    const auto base = reinterpret_cast<uintptr_t>(bytes.data());
    return bytes.data() + ((64 - base % 64) % 64) + offset;
}

// `size` bytes starting right after a PROT_NONE page: any access before the start faults.
class LeadingGuardBuffer {
public:
    explicit LeadingGuardBuffer(size_t size)
    {
        page_ = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        mapSize_ = page_ + (size + page_ - 1) / page_ * page_ + page_;
        void* m = mmap(nullptr, mapSize_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (m == MAP_FAILED) throw std::bad_alloc();
        map_ = static_cast<uint8_t*>(m);
        mprotect(map_, page_, PROT_NONE);
    }
    ~LeadingGuardBuffer() { munmap(map_, mapSize_); }
    LeadingGuardBuffer(const LeadingGuardBuffer&) = delete;
    LeadingGuardBuffer& operator=(const LeadingGuardBuffer&) = delete;
    uint8_t* data() { return map_ + page_; }

private:
    size_t page_;
    size_t mapSize_;
    uint8_t* map_;
};

bool allZero(const uint8_t* p, size_t len)
{
    for (size_t i = 0; i < len; ++i)
        if (p[i] != 0) return false;
    return true;
}

// A processor of the primary vendor whose leaf 2 reports `descriptor`, with `cores` cores.
FakeCpuid knownCache(uint8_t descriptor, uint32_t cores = 1)
{
    FakeCpuid cpu;
    cpu.vendor(lum::kPrimaryVendor, 4);
    cpu.set(2, {0x00000001u | uint32_t{descriptor} << 8, 0, 0, 0});
    cpu.set(4, {(cores - 1) << 26, 0, 0, 0});
    return cpu;
}

class SignalCopy : public lumtest::TierTest {
protected:
    const Kernels& kernels() const { return kKernels[slot()]; }

    // Copies len pool bytes from source alignment sa to destination alignment da through the export.
    void expectCopy(size_t len, size_t sa, size_t da)
    {
        const uint8_t* src = pool(sa);
        CanaryBuffer dst(len, 64, da);
        ASSERT_EQ(lumsCopy_8u(src, dst.data(), static_cast<Lum32s>(len)), lumStsNoErr);
        EXPECT_EQ(std::memcmp(dst.data(), src, len), 0) << "len " << len << " sa " << sa << " da " << da;
        EXPECT_TRUE(dst.guardsIntact()) << "len " << len << " sa " << sa << " da " << da;
    }

    void expectZero(size_t len, size_t offset)
    {
        CanaryBuffer dst(len, 64, offset);
        ASSERT_EQ(lumsZero_8u(dst.data(), static_cast<Lum32s>(len)), lumStsNoErr);
        EXPECT_TRUE(allZero(dst.data(), len)) << "len " << len << " offset " << offset;
        EXPECT_TRUE(dst.guardsIntact()) << "len " << len << " offset " << offset;
    }
};

// ---- lumsCopy_8u

TEST_P(SignalCopy, CopyEdgeLengthsAtAllAlignmentsMatchMemcpy)
{
    for (const size_t len : kCopyEdgeLengths)
        for (size_t sa = 0; sa < 16; ++sa)
            for (size_t da = 0; da < 16; ++da) expectCopy(len, sa, da);
}

TEST_P(SignalCopy, CopyEveryLengthBelow300AtAllDestinationAlignments)
{
    for (size_t len = 1; len < 300; ++len)
        for (size_t da = 0; da < 16; ++da) expectCopy(len, (len * 7) % 16, da);
}

TEST_P(SignalCopy, CopyAcrossPathThresholds)
{
    for (const size_t len : kCopyThresholds)
        for (const size_t sa : {0, 1, 3, 4, 8, 12, 15})
            for (const size_t da : {0, 1, 8, 15}) expectCopy(len, sa, da);
}

TEST_P(SignalCopy, CopyReadsAndWritesNothingPastTheEnds)
{
    std::vector<size_t> lengths = kCopyEdgeLengths;
    lengths.insert(lengths.end(), kCopyThresholds.begin(), kCopyThresholds.end());
    for (const size_t len : lengths) {
        const auto n = static_cast<Lum32s>(len);
        // Source ending at a PROT_NONE page, destination at every alignment.
        GuardedBuffer src(len);
        std::memcpy(src.data(), pool(0), len);
        for (const size_t da : {0, 5, 12}) {
            CanaryBuffer dst(len, 64, da);
            ASSERT_EQ(lumsCopy_8u(src.data(), dst.data(), n), lumStsNoErr);
            EXPECT_EQ(std::memcmp(dst.data(), src.data(), len), 0) << len << " " << da;
            EXPECT_TRUE(dst.guardsIntact()) << len << " " << da;
        }
        // Destination ending at a PROT_NONE page, source at two alignments.
        GuardedBuffer dst(len);
        for (const size_t sa : {0, 7}) {
            ASSERT_EQ(lumsCopy_8u(pool(sa), dst.data(), n), lumStsNoErr);
            EXPECT_EQ(std::memcmp(dst.data(), pool(sa), len), 0) << len << " " << sa;
        }
        // Both starting right after a PROT_NONE page.
        LeadingGuardBuffer from(len), to(len);
        std::memcpy(from.data(), pool(3), len);
        ASSERT_EQ(lumsCopy_8u(from.data(), to.data(), n), lumStsNoErr);
        EXPECT_EQ(std::memcmp(to.data(), pool(3), len), 0) << len;
    }
}

TEST_P(SignalCopy, CopyChecksPointersThenLengthAndWritesNothingOnFailure)
{
    CanaryBuffer dst(32);
    const uint8_t* src = pool(0);
    EXPECT_EQ(lumsCopy_8u(nullptr, dst.data(), 0), lumStsNullPointer);
    EXPECT_EQ(lumsCopy_8u(src, nullptr, -1), lumStsNullPointer);
    EXPECT_EQ(lumsCopy_8u(nullptr, nullptr, 32), lumStsNullPointer);
    EXPECT_EQ(lumsCopy_8u(nullptr, dst.data(), 32), lumStsNullPointer);
    EXPECT_EQ(lumsCopy_8u(src, dst.data(), 0), lumStsBadSize);
    EXPECT_EQ(lumsCopy_8u(src, dst.data(), -1), lumStsBadSize);
    EXPECT_EQ(lumsCopy_8u(src, dst.data(), INT_MIN), lumStsBadSize);
    EXPECT_TRUE(dst.payloadIsCanary());
    EXPECT_TRUE(dst.guardsIntact());
}

// ---- lumsZero_8u

TEST_P(SignalCopy, ZeroEdgeLengthsAtEveryMisalignmentWriteExactlyLen)
{
    for (const size_t len : kZeroEdgeLengths)
        for (size_t offset = 0; offset < 16; ++offset) expectZero(len, offset);
}

TEST_P(SignalCopy, ZeroEveryLengthBelow200AtEveryMisalignment)
{
    for (size_t len = 1; len < 200; ++len)
        for (size_t offset = 0; offset < 16; ++offset) expectZero(len, offset);
}

TEST_P(SignalCopy, ZeroAcrossPathThresholds)
{
    for (const size_t len : kZeroThresholds)
        for (const size_t offset : {0, 1, 7, 8, 15}) expectZero(len, offset);
}

TEST_P(SignalCopy, ZeroWritesNothingPastTheEnds)
{
    std::vector<size_t> lengths = kZeroEdgeLengths;
    lengths.insert(lengths.end(), kZeroThresholds.begin(), kZeroThresholds.end());
    for (const size_t len : {1, 3, 7, 8, 9, 17, 100}) lengths.push_back(len);
    for (const size_t len : lengths) {
        GuardedBuffer end(len);
        std::memset(end.data(), 0xFF, len);
        ASSERT_EQ(lumsZero_8u(end.data(), static_cast<Lum32s>(len)), lumStsNoErr);
        EXPECT_TRUE(allZero(end.data(), len)) << len;
        LeadingGuardBuffer start(len);
        std::memset(start.data(), 0xFF, len);
        ASSERT_EQ(lumsZero_8u(start.data(), static_cast<Lum32s>(len)), lumStsNoErr);
        EXPECT_TRUE(allZero(start.data(), len)) << len;
    }
}

TEST_P(SignalCopy, ZeroChecksPointerThenLengthAndWritesNothingOnFailure)
{
    CanaryBuffer dst(32);
    EXPECT_EQ(lumsZero_8u(nullptr, 0), lumStsNullPointer);
    EXPECT_EQ(lumsZero_8u(nullptr, -1), lumStsNullPointer);
    EXPECT_EQ(lumsZero_8u(nullptr, 32), lumStsNullPointer);
    EXPECT_EQ(lumsZero_8u(dst.data(), 0), lumStsBadSize);
    EXPECT_EQ(lumsZero_8u(dst.data(), -1), lumStsBadSize);
    EXPECT_EQ(lumsZero_8u(dst.data(), INT_MIN), lumStsBadSize);
    EXPECT_TRUE(dst.payloadIsCanary());
    EXPECT_TRUE(dst.guardsIntact());
}

// ---- Kernels called directly

TEST_P(SignalCopy, CopyAndClearKernelsServeAnySize)
{
    // a6's kernels here are the cached ones, whatever the size.
    for (const size_t len : {0, 1, 33, 100, 8192, 16384, 20480, 50001}) {
        for (const size_t offset : {0, 3}) {
            CanaryBuffer copied(len, 64, offset);
            kernels().copy(pool(offset + 1), copied.data(), len);
            EXPECT_EQ(std::memcmp(copied.data(), pool(offset + 1), len), 0) << len;
            EXPECT_TRUE(copied.guardsIntact()) << len;
            CanaryBuffer cleared(len, 64, offset);
            kernels().zero(cleared.data(), len);
            EXPECT_TRUE(allZero(cleared.data(), len)) << len;
            EXPECT_TRUE(cleared.guardsIntact()) << len;
        }
    }
}

void expectFilled(const uint8_t* p, size_t count, uint32_t value, const char* what)
{
    uint8_t bytes[4];
    std::memcpy(bytes, &value, 4);
    for (size_t i = 0; i < 4 * count; ++i)
        ASSERT_EQ(p[i], bytes[i % 4]) << what << " count " << count << " byte " << i;
}

TEST_P(SignalCopy, Fill32LaysDownTheValueAtEveryAlignment)
{
    const uint32_t value = 0x8D3C5A17;
    std::vector<size_t> counts;
    for (size_t count = 0; count <= 100; ++count) counts.push_back(count);
    for (size_t offset = 0; offset < 16; ++offset) {
        for (const size_t count : counts) {
            CanaryBuffer dst(4 * count, 64, offset);
            kernels().fill(value, dst.data(), count);
            expectFilled(dst.data(), count, value, "small");
            EXPECT_TRUE(dst.guardsIntact()) << count << " " << offset;
        }
    }
    for (const size_t count : {65536, 65537, 70001}) {
        for (const size_t offset : {0, 1, 2, 3, 6, 12}) {
            CanaryBuffer dst(4 * count, 64, offset);
            kernels().fill(value, dst.data(), count);
            expectFilled(dst.data(), count, value, "large");
            EXPECT_TRUE(dst.guardsIntact()) << count << " " << offset;
        }
    }
}

// Moves of len elements of `size` bytes from dst + shift to dst, compared with memmove on a copy of
// the whole buffer; in px a shift of less than one element moves nothing.
TEST_P(SignalCopy, MovesOfOverlappingBuffersMatchMemmove)
{
    const std::vector<Lum32s> lengths = {1, 2, 3, 5, 8, 15, 16, 17, 31, 33, 64, 100, 255, 1000, 5000};
    const std::vector<ptrdiff_t> shifts = {-260, -67, -64, -17, -16, -5, -4, -3, -2, -1, 0,
                                           1,    2,   3,   4,   5,   16, 17, 64, 67, 260};
    constexpr ptrdiff_t kMargin = 272;
    for (const size_t size : {2, 4}) {
        const auto move = size == 4 ? kernels().move32 : kernels().move16;
        for (const Lum32s len : lengths) {
            const size_t bytes = size * static_cast<size_t>(len);
            std::vector<uint8_t> buffer(bytes + 2 * kMargin + 16);
            for (const ptrdiff_t shift : shifts) {
                for (size_t da = 0; da < 16; da += 5) {
                    std::memcpy(buffer.data(), pool(da), buffer.size());
                    std::vector<uint8_t> expected = buffer;
                    const size_t at = kMargin + da;
                    const bool moves = !isPx() || static_cast<size_t>(shift < 0 ? -shift : shift) >= size;
                    if (moves) std::memmove(expected.data() + at, expected.data() + at + shift, bytes);
                    ASSERT_EQ(move(buffer.data() + at + shift, buffer.data() + at, len), lumStsNoErr);
                    ASSERT_EQ(buffer, expected) << "size " << size << " len " << len << " shift " << shift;
                }
            }
        }
    }
}

TEST_P(SignalCopy, MovesCheckPointersThenLength)
{
    std::vector<uint8_t> buffer(64, 0x5A);
    const std::vector<uint8_t> before = buffer;
    for (const auto move : {kernels().move32, kernels().move16}) {
        EXPECT_EQ(move(nullptr, buffer.data(), 0), lumStsNullPointer);
        EXPECT_EQ(move(buffer.data(), nullptr, -1), lumStsNullPointer);
        EXPECT_EQ(move(buffer.data() + 8, buffer.data(), 0), lumStsBadSize);
        EXPECT_EQ(move(buffer.data() + 8, buffer.data(), -3), lumStsBadSize);
    }
    EXPECT_EQ(buffer, before);
}

TEST(SignalCopyPx, MoveByLessThanOneElementMovesNothing)
{
    std::vector<uint8_t> buffer(pool(0), pool(0) + 128);
    const std::vector<uint8_t> before = buffer;
    uint8_t* p = buffer.data() + 32;
    for (const ptrdiff_t shift : {-3, -2, -1, 1, 2, 3}) {
        ASSERT_EQ(lum::px::lumMove32(p + shift, p, 20), lumStsNoErr);
        EXPECT_EQ(buffer, before) << shift;
    }
    for (const ptrdiff_t shift : {-1, 1}) {
        ASSERT_EQ(lum::px::lumMove16(p + shift, p, 40), lumStsNoErr);
        EXPECT_EQ(buffer, before) << shift;
    }
    // One whole element apart, the move happens, forward and backward.
    std::vector<uint8_t> expected = buffer;
    std::memmove(expected.data() + 32, expected.data() + 37, 80);
    ASSERT_EQ(lum::px::lumMove32(p + 5, p, 20), lumStsNoErr);
    EXPECT_EQ(buffer, expected);
    std::memmove(expected.data() + 32, expected.data() + 30, 80);
    ASSERT_EQ(lum::px::lumMove16(p - 2, p, 40), lumStsNoErr);
    EXPECT_EQ(buffer, expected);
}

TEST(SignalCopyPx, Copy32CopiesWholeElementsWithTheCopyChecks)
{
    for (const Lum32s len : {1, 2, 7, 8, 9, 100, 4097}) {
        for (size_t da = 0; da < 8; ++da) {
            const size_t bytes = 4 * static_cast<size_t>(len);
            CanaryBuffer dst(bytes, 64, da);
            ASSERT_EQ(lum::px::lumCopy32(pool(da + 2), dst.data(), len), lumStsNoErr);
            EXPECT_EQ(std::memcmp(dst.data(), pool(da + 2), bytes), 0) << len;
            EXPECT_TRUE(dst.guardsIntact()) << len;
        }
    }
    CanaryBuffer dst(16);
    EXPECT_EQ(lum::px::lumCopy32(nullptr, dst.data(), 0), lumStsNullPointer);
    EXPECT_EQ(lum::px::lumCopy32(pool(0), nullptr, 4), lumStsNullPointer);
    EXPECT_EQ(lum::px::lumCopy32(pool(0), dst.data(), 0), lumStsBadSize);
    EXPECT_EQ(lum::px::lumCopy32(pool(0), dst.data(), -1), lumStsBadSize);
    EXPECT_TRUE(dst.payloadIsCanary());
}

LUM_ALL_TIERS(SignalCopy);

// ---- t7's direction rule for aligned buffers

// Overlapping buffers show the direction: with the source above the destination only a forward copy
// gives memmove's bytes, with the source below only a backward one.
TEST(SignalCopyT7, DirectionFollowsThePageOffsetDifference)
{
    struct Case {
        size_t dstOffset;
        ptrdiff_t shift;
        size_t len;
        bool forward;
    };
    const Case cases[] = {
        {0, 16, 1024, true},       // d = 16
        {0, 160, 1024, true},      // d = 160
        {0, 176, 1024, false},     // d = 176
        {4000, 144, 1024, true},   // d = -3952
        {3968, 176, 1024, false},  // d = -3920
        {0, 16, 448, false},       // below 512 bytes always backward
        {2048, -16, 1024, false},  // d = -16
        {0, 16, 1024 + 45, true},  // with a tail
        {3968, 176, 1024 + 45, false},
    };
    GuardedBuffer region(5 * 4096);
    const auto base = reinterpret_cast<uintptr_t>(region.data());
    uint8_t* page = region.data() + ((4096 - base % 4096) % 4096) + 4096;
    for (const Case& c : cases) {
        uint8_t* dst = page + c.dstOffset;
        const uint8_t* src = dst + c.shift;
        std::memcpy(page - 4096, pool(0), 3 * 4096);
        std::vector<uint8_t> expected(page - 4096, page + 2 * 4096);
        std::memmove(expected.data() + 4096 + c.dstOffset, expected.data() + 4096 + c.dstOffset + c.shift,
                     c.len);
        lum::t7::lumCopyBytes(src, dst, c.len);
        const bool matches = std::memcmp(page - 4096, expected.data(), expected.size()) == 0;
        const bool forwardWouldMatch = c.shift > 0;
        EXPECT_EQ(matches, c.forward == forwardWouldMatch)
            << "dst offset " << c.dstOffset << " shift " << c.shift << " len " << c.len;
    }
}

TEST(SignalCopyT7, BothDirectionsCopyExactlyAtEveryPageOffsetDifference)
{
    GuardedBuffer region(12 * 4096);
    const auto base = reinterpret_cast<uintptr_t>(region.data());
    uint8_t* from = region.data() + ((4096 - base % 4096) % 4096);
    uint8_t* to = from + 5 * 4096;
    std::memcpy(from, pool(0), 4 * 4096);
    for (const ptrdiff_t d : {-4080, -3952, -3936, -3920, -16, 0, 16, 160, 176, 4080}) {
        for (const size_t len : {512, 4096 + 48 + 7, 9000}) {
            const uint8_t* src = from + (d >= 0 ? d : 0);
            uint8_t* dst = to + (d >= 0 ? 0 : -d);
            std::memset(to - 4096, 0xA5, 7 * 4096);
            lum::t7::lumCopyBytes(src, dst, len);
            EXPECT_EQ(std::memcmp(dst, src, len), 0) << d << " " << len;
            EXPECT_EQ(dst[-1], 0xA5);
            EXPECT_EQ(dst[len], 0xA5);
        }
    }
}

// ---- Large paths with a cache size that reads as known

struct LargeCopyCase {
    size_t len, sa, da;
    bool w7Reads, t7Reads;
};

TEST(SignalCopyLarge, CopyStreamsWhenTheCacheIsKnownAndReadsItOnlyPastTheGates)
{
    // 256 KiB: half of it, 128 KiB, is below every length that passes a gate.
    const FakeCpuid cpu = knownCache(0x7A);
    const LargeCopyCase cases[] = {
        {131072, 0, 0, false, false},       {131073, 0, 0, true, false},
        {131073 + 15, 0, 1, true, false},   {131072 + 15, 0, 1, false, false},
        {524288, 0, 0, true, true},         {524287, 0, 0, true, false},
        {524288, 0, 4, true, false},        {524288 + 12, 0, 4, true, true},
        {600000, 4, 4, true, false},        {600000, 9, 0, true, true},
        {(1 << 20) + 77, 3, 0, true, true}, {(1 << 20) + 77, 0, 0, true, true},
        {(1 << 20) - 3, 5, 14, true, true},
    };
    for (const LargeCopyCase& c : cases) {
        for (const bool t7 : {false, true}) {
            CanaryBuffer dst(c.len, 64, c.da);
            cpu.queries = 0;
            (t7 ? kT7 : kW7).copy(pool(c.sa), dst.data(), c.len, cpu);
            const char* tier = t7 ? "t7 " : "w7 ";
            EXPECT_EQ(std::memcmp(dst.data(), pool(c.sa), c.len), 0)
                << tier << c.len << " " << c.sa << " " << c.da;
            EXPECT_TRUE(dst.guardsIntact()) << tier << c.len;
            EXPECT_EQ(cpu.queries > 0, t7 ? c.t7Reads : c.w7Reads)
                << tier << c.len << " " << c.sa << " " << c.da;
        }
    }
}

TEST(SignalCopyLarge, CopyOfFewerBytesThanHalfTheCacheStaysTemporal)
{
    const FakeCpuid cpu = knownCache(0x47);  // 8 MiB
    for (const auto& tier : {kW7, kT7}) {
        for (const size_t sa : {0, 6}) {
            const size_t len = (1 << 20) + 33;
            CanaryBuffer dst(len, 64, 0);
            cpu.queries = 0;
            tier.copy(pool(sa), dst.data(), len, cpu);
            EXPECT_GT(cpu.queries, 0);
            EXPECT_EQ(std::memcmp(dst.data(), pool(sa), len), 0);
            EXPECT_TRUE(dst.guardsIntact());
        }
    }
}

TEST(SignalCopyLarge, LargeCopyReadsNothingPastTheSource)
{
    const FakeCpuid cpu = knownCache(0x7A);
    for (const size_t len : {300001, 600000, 786432}) {
        GuardedBuffer src(len);
        std::memcpy(src.data(), pool(0), len);
        for (const auto& tier : {kW7, kT7}) {
            GuardedBuffer dst(len);
            tier.copy(src.data(), dst.data(), len, cpu);
            EXPECT_EQ(std::memcmp(dst.data(), src.data(), len), 0) << len;
        }
    }
}

TEST(SignalCopyLarge, ClearStreamsPastItsGateWithTheCachePerCore)
{
    // 256 KiB over two cores: 128 KiB, below every length that passes the gate.
    const FakeCpuid cpu = knownCache(0x7A, 2);
    struct Case {
        size_t len, offset;
        bool reads;
    };
    const Case cases[] = {{262144, 0, false}, {262145, 0, true}, {262145 + 7, 9, true},
                          {262150, 9, false}, {300001, 3, true}, {(1 << 20) + 5, 0, true}};
    for (const Case& c : cases) {
        for (const auto& tier : {kW7, kT7}) {
            CanaryBuffer dst(c.len, 64, c.offset);
            cpu.queries = 0;
            tier.zero(dst.data(), c.len, cpu);
            EXPECT_TRUE(allZero(dst.data(), c.len)) << c.len;
            EXPECT_TRUE(dst.guardsIntact()) << c.len;
            EXPECT_EQ(cpu.queries > 0, c.reads) << c.len << " " << c.offset;
        }
    }
}

TEST(SignalCopyLarge, FillStreamsAboveItsGateWithAQuarterOfTheCachePerCore)
{
    const uint32_t value = 0x01F2E3D4;
    // 256 KiB over two cores is 32768 words a quarter; 8 MiB on one core is 524288 words.
    for (const auto& cpu : {knownCache(0x7A, 2), knownCache(0x47)}) {
        for (const auto& tier : {kW7, kT7}) {
            for (const size_t count : {65536, 65537, 70001}) {
                for (const size_t offset : {0, 1, 3, 8}) {
                    CanaryBuffer dst(4 * count, 64, offset);
                    cpu.queries = 0;
                    tier.fill(value, dst.data(), count, cpu);
                    expectFilled(dst.data(), count, value, "streamed");
                    EXPECT_TRUE(dst.guardsIntact()) << count << " " << offset;
                    EXPECT_EQ(cpu.queries > 0, count > 65536) << count;
                }
            }
        }
    }
}

}  // namespace
