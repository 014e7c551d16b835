// Tables of the JPEG standard itself (ISO/IEC 10918-1 Annex K) and the tool's progressive scan script.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace lumjpeg {

// zigzagToNatural[k] is the natural (row-major) index of the k-th coefficient in zigzag order.
extern const std::array<uint8_t, 64> zigzagToNatural;

// The example quantization tables of Annex K.1, in zigzag order as a DQT segment holds them.
std::array<uint8_t, 64> standardLumaQuant();
std::array<uint8_t, 64> standardChromaQuant();

struct HuffmanTable {
    std::array<uint8_t, 16> bits{};  // number of codes of each length 1..16
    std::vector<uint8_t> vals;       // symbols in order of rising code
};

// The example Huffman tables of Annex K.3.
const HuffmanTable& standardDcLuma();
const HuffmanTable& standardAcLuma();
const HuffmanTable& standardDcChroma();
const HuffmanTable& standardAcChroma();

struct ScanSpec {
    std::vector<int> components;  // frame component indexes, in frame order
    int ss, se, ah, al;
};

// The usual progressive script: DC first with one bit held back, a low AC band of luma, chroma AC,
// the rest of luma, then the refinement scans that bring back the held-back bits.
std::vector<ScanSpec> progressiveScript(int componentCount);

}  // namespace lumjpeg
