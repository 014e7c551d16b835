// Shared part of the Huffman decoding fuzz targets. An input is read as scan parameters, one or two
// tables in the DHT layout (16 counts, then the symbols) and the entropy-coded bytes. Every tier's
// variant decodes the same stream block after block, as a caller that steps over markers would;
// the stream sits in a heap block of exactly its size and each coefficient block in one of exactly
// 128 bytes, so that AddressSanitizer sees any access outside. A status other than the three a
// stream may give aborts.
#pragma once

#include "frame/dispatch.h"

#include <lum.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace lumfuzz {

inline constexpr int kMaxCalls = 96;

// Reads the input front to back; whatever runs short reads as zero.
class Input {
public:
    Input(const uint8_t* data, size_t size) : p_(data), end_(data + size) {}
    uint8_t byte() { return p_ < end_ ? *p_++ : 0; }
    std::vector<uint8_t> rest() { return {p_, end_}; }
    // A table as a DHT segment carries it; the builder sees the counts as they are.
    bool table(LumDecodeHuffmanSpec* huffTable)
    {
        std::array<uint8_t, 16> bits;
        size_t total = 0;
        for (auto& b : bits) total += b = byte();
        std::vector<uint8_t> vals(total);
        for (auto& v : vals) v = byte();
        vals.push_back(0);  // pVals must not be empty for a table without codes
        const LumStatus st = lumiDecodeHuffmanSpecInit_JPEG_8u(bits.data(), vals.data(), huffTable);
        if (st != lumStsNoErr && st != lumStsJpegTableDestroyed) abort();
        return st == lumStsNoErr;
    }

private:
    const uint8_t* p_;
    const uint8_t* end_;
};

struct SpecRecord {
    std::unique_ptr<uint8_t[]> bytes{new uint8_t[1644]};
    LumDecodeHuffmanSpec* get() { return reinterpret_cast<LumDecodeHuffmanSpec*>(bytes.get()); }
};

// The caller's side of one stream: position, marker, predictor, state, and the block carried
// across calls for the progressive scans.
struct Stream {
    std::unique_ptr<uint8_t[]> src;
    Lum32s len;
    Lum32s pos = 0;
    Lum32s marker = 0;
    Lum16s lastDc = 0;
    LumDecodeHuffmanState* state;
    std::array<Lum16s, 64> carried{};

    explicit Stream(const std::vector<uint8_t>& bytes)
        : src(new uint8_t[bytes.size() ? bytes.size() : 1]), len(static_cast<Lum32s>(bytes.size()))
    {
        std::memcpy(src.get(), bytes.data(), bytes.size());
        if (lumiDecodeHuffmanStateInitAlloc_JPEG_8u(&state) != lumStsNoErr) abort();
    }
    ~Stream() { lumiDecodeHuffmanStateFree_JPEG_8u(state); }

    // Runs one call on a fresh heap block holding the carried coefficients.
    template <typename Call>
    LumStatus block(Call call)
    {
        std::unique_ptr<Lum16s[]> b(new Lum16s[64]);
        std::memcpy(b.get(), carried.data(), sizeof carried);
        const LumStatus st = call(b.get());
        std::memcpy(carried.data(), b.get(), sizeof carried);
        if (st != lumStsNoErr && st != lumStsJpegMarkerMet && st != lumStsOutOfBuffer) abort();
        if (pos < 0 || pos > len) abort();
        if (marker != 0) {
            marker = 0;
            lastDc = 0;
            lumiDecodeHuffmanStateInit_JPEG_8u(state);
        }
        return st;
    }
};

// Decodes up to kMaxCalls blocks in tier `slot`, collecting coefficients and statuses.
template <typename Call>
void runTier(const std::vector<uint8_t>& bytes, Call call, std::vector<Lum16s>& coefs, std::vector<LumStatus>& sts)
{
    if (bytes.empty()) return;
    Stream s(bytes);
    for (int i = 0; i < kMaxCalls; ++i) {
        const LumStatus st = s.block([&](Lum16s* b) { return call(s, b); });
        coefs.insert(coefs.end(), s.carried.begin(), s.carried.end());
        sts.push_back(st);
        if (st == lumStsOutOfBuffer) break;
    }
}

// Decodes the stream in every tier, with the call that callFor(slot) gives. The tiers from
// agreeFrom on must decode alike, coefficients and statuses, where mustAgree holds.
template <typename CallFor>
void runAllTiers(const std::vector<uint8_t>& bytes, CallFor callFor, int agreeFrom, bool mustAgree)
{
    std::vector<Lum16s> refCoefs;
    std::vector<LumStatus> refStatuses;
    for (int slot = 0; slot < 4; ++slot) {
        std::vector<Lum16s> coefs;
        std::vector<LumStatus> statuses;
        runTier(bytes, callFor(slot), coefs, statuses);
        if (slot == agreeFrom) {
            refCoefs = std::move(coefs);
            refStatuses = std::move(statuses);
        } else if (slot > agreeFrom && mustAgree && (coefs != refCoefs || statuses != refStatuses)) {
            abort();
        }
    }
}

}  // namespace lumfuzz
