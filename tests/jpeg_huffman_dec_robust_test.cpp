// Robustness of the Huffman decoders on corrupt streams, in every tier: truncated, bit-flipped and
// random segments, and random tables, over-subscribed ones included. Every stream ends against a
// PROT_NONE page, every block sits between canary bytes, and every status is one of the three a
// stream may give. The number of calls is fixed, so a decoder that looped would show as a timeout.
#include "huffman_dec_scan.h"
#include "huffman_dec_support.h"
#include "jpeg_file.h"
#include "test_support.h"
#include "tier_fixture.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using namespace lumtest;

std::vector<uint8_t> readData(const std::string& name)
{
    return readFileBytes(std::string(LUM_SOURCE_DIR) + "/tests/data/jpeg/" + name);
}

// One kind of call with its parameters and tables, as a scan of a file or a random draw gives them.
struct CallPlan {
    ScanKind kind = ScanKind::sequential;
    int ss = 0, se = 63, al = 0;
    const LumDecodeHuffmanSpec* dc = nullptr;
    const LumDecodeHuffmanSpec* ac = nullptr;
};

struct HostileRun {
    int calls = 0;
    int badStatus = 0;
    int guardHits = 0;
    std::vector<Lum16s> coefs;     // every block as it came out
    std::vector<LumStatus> statuses;
};

// A caller that goes on whatever happens: after a marker it starts afresh behind it, after running
// out it stops. Each call's block sits in a canary buffer at an offset that changes with the call.
HostileRun decodeHostile(const std::vector<uint8_t>& stream, const CallPlan& plan, int maxCalls)
{
    HostileRun run;
    if (stream.empty()) return run;
    GuardedBuffer src(stream.size());
    std::memcpy(src.data(), stream.data(), stream.size());
    const Lum32s len = static_cast<Lum32s>(stream.size());
    Lum32s pos = 0, marker = 0;
    Lum16s lastDc = 0;
    LumDecodeHuffmanState state;
    lumiDecodeHuffmanStateInit_JPEG_8u(&state);
    std::array<Lum16s, 64> carried{};
    for (int i = 0; i < maxCalls; ++i) {
        CanaryBuffer block(128, 32, static_cast<size_t>(i % 7));
        std::memcpy(block.data(), carried.data(), 128);
        auto* dst = reinterpret_cast<Lum16s*>(block.data());
        LumStatus st = lumStsUnknown;
        switch (plan.kind) {
        case ScanKind::sequential:
            st = lumiDecodeHuffman8x8_JPEG_1u16s_C1(src.data(), len, &pos, dst, &lastDc, &marker, plan.dc, plan.ac,
                                                    &state);
            break;
        case ScanKind::dcFirst:
            st = lumiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(src.data(), len, &pos, dst, &lastDc, &marker, plan.al,
                                                            plan.dc, &state);
            break;
        case ScanKind::dcRefine:
            st = lumiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(src.data(), len, &pos, dst, &marker, plan.al, &state);
            break;
        case ScanKind::acFirst:
            st = lumiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(src.data(), len, &pos, dst, &marker, plan.ss, plan.se,
                                                            plan.al, plan.ac, &state);
            break;
        case ScanKind::acRefine:
            st = lumiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(src.data(), len, &pos, dst, &marker, plan.ss, plan.se,
                                                             plan.al, plan.ac, &state);
            break;
        }
        ++run.calls;
        run.statuses.push_back(st);
        if (!isStreamStatus(st)) ++run.badStatus;
        if (!block.guardsIntact()) ++run.guardHits;
        std::memcpy(carried.data(), block.data(), 128);
        run.coefs.insert(run.coefs.end(), carried.begin(), carried.end());
        if (pos < 0 || pos > len) ++run.badStatus;
        if (st == lumStsOutOfBuffer) break;
        if (marker != 0) {
            marker = 0;
            lastDc = 0;
            lumiDecodeHuffmanStateInit_JPEG_8u(&state);
        }
    }
    return run;
}

// Damaged copies of a segment: cut short, a few bits flipped, a run of bytes overwritten.
std::vector<std::vector<uint8_t>> damagedCopies(const std::vector<uint8_t>& data, std::mt19937& rng, int count)
{
    std::vector<std::vector<uint8_t>> out;
    for (int i = 0; i < count && !data.empty(); ++i) {
        std::vector<uint8_t> d = data;
        switch (i % 3) {
        case 0:
            d.resize(1 + rng() % d.size());
            break;
        case 1:
            for (int f = 0; f < 1 + static_cast<int>(rng() % 8); ++f) d[rng() % d.size()] ^= static_cast<uint8_t>(1u << (rng() % 8));
            break;
        default: {
            const size_t at = rng() % d.size();
            for (size_t j = at; j < std::min(d.size(), at + 1 + rng() % 64); ++j) d[j] = static_cast<uint8_t>(rng());
            break;
        }
        }
        out.push_back(std::move(d));
    }
    return out;
}

class HuffDecRobust : public TierTest {};

TEST_P(HuffDecRobust, DamagedScansOfRealFiles)
{
    std::mt19937 rng(2024);
    for (const char* name : {"gen_q85_420_restart1row.jpg", "gen_jpegtran_scans_refine.jpg"}) {
        SCOPED_TRACE(name);
        const JpegFile f = parseJpeg(readData(name));
        for (const JpegScan& s : f.scans) {
            std::array<SpecRecord, 4> dc, ac;
            CallPlan plan;
            plan.kind = scanKind(f, s);
            plan.ss = s.ss;
            plan.se = s.se;
            plan.al = s.al;
            const auto& sc = s.components[0];
            if (s.dc[sc.td]) buildSpecOrThrow(s.dc[sc.td], dc[0]);
            if (s.ac[sc.ta]) buildSpecOrThrow(s.ac[sc.ta], ac[0]);
            plan.dc = dc[0].get();
            plan.ac = ac[0].get();
            // A refinement scan decoded on its own sees zero history: that is fine for robustness.
            for (const auto& bad : damagedCopies(s.data, rng, 6)) {
                const HostileRun run = decodeHostile(bad, plan, 400);
                EXPECT_EQ(run.badStatus, 0);
                EXPECT_EQ(run.guardHits, 0);
            }
        }
    }
}

TEST_P(HuffDecRobust, RandomStreamsWithRandomTables)
{
    std::mt19937 rng(77);
    for (int round = 0; round < 60; ++round) {
        HuffTable t;
        int total = 0;
        const int style = round % 3;  // sparse, complete-ish, over-subscribed
        for (int l = 0; l < 16; ++l) {
            int n = static_cast<int>(rng() % (style == 2 ? 40 : 6));
            if (style == 1 && l == 7) n = 200;
            n = std::min(n, 256 - total);
            t.bits[l] = static_cast<uint8_t>(n);
            total += n;
        }
        for (int i = 0; i < total; ++i) t.vals.push_back(static_cast<uint8_t>(rng()));
        SpecBuffer huffTable;
        buildSpec(t, huffTable.get());
        ASSERT_TRUE(huffTable.guardsIntact());
        std::vector<uint8_t> stream(1 + rng() % 300);
        const bool manyFF = round % 2 == 0;
        for (auto& b : stream) b = manyFF && rng() % 4 == 0 ? 0xFF : static_cast<uint8_t>(rng());
        for (ScanKind kind : {ScanKind::sequential, ScanKind::dcFirst, ScanKind::dcRefine, ScanKind::acFirst,
                              ScanKind::acRefine}) {
            CallPlan plan;
            plan.kind = kind;
            plan.ss = 1 + static_cast<int>(rng() % 63);
            plan.se = plan.ss + static_cast<int>(rng() % (64 - plan.ss));
            plan.al = static_cast<int>(rng() % 14);
            plan.dc = huffTable.get();
            plan.ac = huffTable.get();
            const HostileRun run = decodeHostile(stream, plan, 200);
            EXPECT_EQ(run.badStatus, 0);
            EXPECT_EQ(run.guardHits, 0);
        }
    }
}

// Without a 0xFF there is no marker, and the sequential decoder of every tier must decode exactly
// what px decodes, also where the stream is garbage: the fast path leaves every doubtful case to the
// same plain path.
TEST_P(HuffDecRobust, SequentialAgreesWithPxOnGarbageWithoutFF)
{
    std::mt19937 rng(4242);
    SpecBuffer dc, ac;
    buildSpec(dcLuminance(), dc.get());
    buildSpec(acLuminance(), ac.get());
    for (int round = 0; round < 40; ++round) {
        std::vector<uint8_t> stream(1 + rng() % 2000);
        for (auto& b : stream) b = static_cast<uint8_t>(rng() % 255);
        CallPlan plan;
        plan.dc = dc.get();
        plan.ac = ac.get();
        const HostileRun mine = decodeHostile(stream, plan, 300);
        lumSetTierByCpuCode(-1);
        const HostileRun ref = decodeHostile(stream, plan, 300);
        lumSetTierByCpuCode(kTierCodes[slot()]);
        EXPECT_EQ(mine.statuses, ref.statuses) << round;
        EXPECT_TRUE(mine.coefs == ref.coefs) << round;
    }
}

LUM_ALL_TIERS(HuffDecRobust);

}  // namespace
