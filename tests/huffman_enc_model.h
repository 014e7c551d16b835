// An independent model of JPEG Huffman encoding for the tests: canonical codes from BITS and HUFFVAL,
// a bit list packed at the end with 1-bit padding and 0x00 stuffing, the sequential coder and the four
// progressive passes with their EOB runs and correction bits, and symbol counting.
#pragma once

#include <lum.h>

#include <array>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <vector>

namespace model {

// Zig-zag position to natural index, by walking the anti-diagonals.
inline std::array<int, 64> zigzag()
{
    std::array<int, 64> z{};
    int k = 0;
    for (int d = 0; d < 15; ++d) {
        for (int i = 0; i <= d; ++i) {
            const int row = d % 2 == 0 ? d - i : i;
            const int col = d - row;
            if (row < 8 && col < 8) z[k++] = 8 * row + col;
        }
    }
    return z;
}

struct Code {
    uint32_t bits = 0;
    int length = 0;
};

struct Table {
    std::array<Code, 256> codes{};  // length 0: no code
};

// Canonical codes: counting up within a length, doubling between lengths.
inline Table makeTable(const uint8_t* bits, const uint8_t* vals)
{
    Table t;
    uint32_t code = 0;
    int p = 0;
    for (int length = 1; length <= 16; ++length) {
        for (int i = 0; i < bits[length - 1]; ++i) t.codes[vals[p++]] = {code++, length};
        code <<= 1;
    }
    return t;
}

// Thrown where the library reports a symbol without a code.
struct NoCode : std::runtime_error {
    NoCode() : std::runtime_error("symbol without code") {}
};

// Number of significant bits.
inline int bitsOf(uint32_t v)
{
    int n = 0;
    while (v >> n) ++n;
    return n;
}

// Low s bits of the T.81 extra bits of v: v itself, or v + 2^s - 1 for a negative v.
inline uint32_t extra(int32_t v, int s) { return static_cast<uint32_t>(v < 0 ? v + (1 << s) - 1 : v); }

class BitList {
public:
    void put(uint32_t value, int n)
    {
        for (int i = n - 1; i >= 0; --i) bits_.push_back(static_cast<uint8_t>((value >> i) & 1));
    }
    void code(const Table& t, int symbol)
    {
        if (symbol > 255 || t.codes[symbol].length == 0) throw NoCode();
        put(t.codes[symbol].bits, t.codes[symbol].length);
    }
    // Pads with 1-bits to a byte boundary and appends the bytes, each 0xFF followed by 0x00.
    void flushTo(std::vector<uint8_t>& out)
    {
        while (bits_.size() % 8 != 0) bits_.push_back(1);
        for (size_t i = 0; i < bits_.size(); i += 8) {
            uint32_t b = 0;
            for (size_t j = 0; j < 8; ++j) b = b << 1 | bits_[i + j];
            out.push_back(static_cast<uint8_t>(b));
            if (b == 0xFF) out.push_back(0);
        }
        bits_.clear();
    }
    const std::vector<uint8_t>& bits() const { return bits_; }

private:
    std::vector<uint8_t> bits_;
};

// Symbol counts in place of bits.
class Counter {
public:
    std::array<int32_t, 257> freq{};
    void put(uint32_t, int) {}
    void code(const Table&, int symbol) { ++freq.at(static_cast<size_t>(symbol)); }
};

using Block = std::array<Lum16s, 64>;

// Baseline: DC difference category and bits, then run/size pairs, ZRL for runs of 16 before a
// nonzero coefficient, EOB unless the last coefficient is nonzero.
template <typename Out>
void sequentialBlock(Out& out, const Block& b, int& lastDc, const Table& dc, const Table& ac)
{
    static const auto zz = zigzag();
    const int diff = b[0] - lastDc;
    lastDc = b[0];
    const int s = bitsOf(static_cast<uint32_t>(diff < 0 ? -diff : diff));
    out.code(dc, s);
    out.put(extra(diff, s), s);
    int run = 0;
    for (int k = 1; k < 64; ++k) {
        const int c = b[zz[k]];
        if (c == 0) {
            ++run;
            continue;
        }
        while (run >= 16) {
            out.code(ac, 0xF0);
            run -= 16;
        }
        const int size = bitsOf(static_cast<uint32_t>(c < 0 ? -c : c));
        out.code(ac, 16 * run + size);
        out.put(extra(c, size), size);
        run = 0;
    }
    if (run != 0) out.code(ac, 0x00);
}

inline int arithmeticShift(int v, int al) { return v >= 0 ? v >> al : -((-v + (1 << al) - 1) >> al); }

template <typename Out>
void dcFirstBlock(Out& out, const Block& b, int& lastDc, int al, const Table& dc)
{
    const int t = arithmeticShift(b[0], al);
    const int diff = t - lastDc;
    lastDc = t;
    const int s = bitsOf(static_cast<uint32_t>(diff < 0 ? -diff : diff));
    out.code(dc, s);
    out.put(extra(diff, s), s);
}

inline void dcRefineBlock(BitList& out, const Block& b, int al) { out.put(static_cast<uint32_t>(b[0]) >> al, 1); }

// The progressive AC passes of one scan, with the EOB run and correction bits carried across blocks.
template <typename Out>
class AcScan {
public:
    AcScan(Out& out, const Table& ac, int ss, int se, int al) : out_(out), ac_(ac), ss_(ss), se_(se), al_(al) {}

    void first(const Block& b)
    {
        int run = 0;
        for (int k = ss_; k <= se_; ++k) {
            const int c = at(b, k);
            const int a = transformed(c);
            if (a == 0) {
                ++run;
                continue;
            }
            endRun();
            for (; run >= 16; run -= 16) out_.code(ac_, 0xF0);
            const int s = bitsOf(static_cast<uint32_t>(a));
            out_.code(ac_, 16 * run + s);
            out_.put(c < 0 ? static_cast<uint32_t>((1 << s) - 1 - a) : static_cast<uint32_t>(a), s);
            run = 0;
        }
        if (run > 0 && ++eobRun_ == 0x7FFF) endRun();
    }

    void refine(const Block& b)
    {
        int lastNew = 0;
        for (int k = ss_; k <= se_; ++k)
            if (transformed(at(b, k)) == 1) lastNew = k;
        std::vector<uint8_t> own;
        int run = 0;
        for (int k = ss_; k <= se_; ++k) {
            const int c = at(b, k);
            const int a = transformed(c);
            if (a == 0) {
                ++run;
                continue;
            }
            while (run >= 16 && k <= lastNew) {
                endRun();
                out_.code(ac_, 0xF0);
                run -= 16;
                putBits(own);
            }
            if (a > 1) {
                own.push_back(static_cast<uint8_t>(a & 1));
                continue;
            }
            endRun();
            out_.code(ac_, 16 * run + 1);
            out_.put(c < 0 ? 0 : 1, 1);
            putBits(own);
            run = 0;
        }
        if (run > 0 || !own.empty()) {
            ++eobRun_;
            pending_.insert(pending_.end(), own.begin(), own.end());
            if (eobRun_ == 0x7FFF || pending_.size() > 937) endRun();
        }
    }

    // The end of the scan or of a restart interval.
    void finish() { endRun(); }

    int eobRun() const { return eobRun_; }
    size_t pendingBits() const { return pending_.size(); }

private:
    static int at(const Block& b, int k)
    {
        static const auto zz = zigzag();
        return b[static_cast<size_t>(zz[static_cast<size_t>(k)])];
    }
    // The point transform acts on the magnitude.
    int transformed(int c) const { return (c < 0 ? -c : c) >> al_; }

    void putBits(std::vector<uint8_t>& bits)
    {
        for (uint8_t b : bits) out_.put(b, 1);
        bits.clear();
    }
    void endRun()
    {
        if (eobRun_ == 0) return;
        const int n = bitsOf(static_cast<uint32_t>(eobRun_)) - 1;
        out_.code(ac_, 16 * n);
        out_.put(static_cast<uint32_t>(eobRun_), n);
        eobRun_ = 0;
        putBits(pending_);
    }

    Out& out_;
    const Table& ac_;
    int ss_, se_, al_;
    int eobRun_ = 0;
    std::vector<uint8_t> pending_;
};

}  // namespace model
