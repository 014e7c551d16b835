// JPEG marker segments: the stream model that the parser fills, and the writer the encoder uses.
// The library leaves all of this to its caller: it only sees entropy-coded bytes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "image.h"
#include "std_tables.h"

namespace lumjpeg {

struct QuantTable {
    std::array<uint16_t, 64> zigzag{};  // the steps in the order of the DQT segment
    bool sixteenBit = false;
};

struct FrameComponent {
    int id = 0;
    int h = 1, v = 1;  // sampling factors as coded: 1x1 for the only component of a grey frame
    int tq = 0;        // quantization table
    int declaredH = 1, declaredV = 1;  // sampling factors as the frame header states them
};

struct ScanComponent {
    int component = 0;  // index into the frame's components
    int td = 0, ta = 0;
};

// Bytes [begin, end) of the file between two markers of an entropy-coded segment.
struct ByteRange {
    size_t begin = 0, end = 0;
};

using HuffmanSet = std::array<std::optional<HuffmanTable>, 4>;
using QuantSet = std::array<std::optional<QuantTable>, 4>;

struct Scan {
    std::vector<ScanComponent> components;
    int ss = 0, se = 63, ah = 0, al = 0;
    int restartInterval = 0;  // in MCUs; 0 for none
    // Tables as they stood when the scan began.
    HuffmanSet dc, ac;
    QuantSet quant;
    // The entropy-coded data, cut at the restart markers: one range per restart interval.
    std::vector<ByteRange> intervals;
    size_t headerOffset = 0;
};

// A table segment as it appeared in the file, for `info`.
struct TableDefinition {
    char kind;  // 'Q' quantization, 'D' DC Huffman, 'A' AC Huffman
    int id;
    int precision;  // 8 or 16 for quantization tables, the longest code length for Huffman tables
    int count;      // number of codes of a Huffman table
};

enum class ColourModel { Grey, YCbCr, RGB, CMYK, YCCK };
const char* colourModelName(ColourModel m);

struct JpegStream {
    int sofMarker = 0;  // 0xC0 baseline, 0xC1 extended sequential, 0xC2 progressive
    int precision = 8;
    int width = 0, height = 0;
    std::vector<FrameComponent> components;
    bool jfif = false;
    int adobeTransform = -1;  // -1 when there is no Adobe APP14 segment
    std::vector<Scan> scans;
    std::vector<TableDefinition> tables;
    std::vector<int> restartIntervals;  // every DRI value, in file order
    std::vector<std::string> warnings;

    bool progressive() const { return sofMarker == 0xC2; }
    ColourModel colourModel() const;
    int maxH() const;
    int maxV() const;
    int mcuWidth() const { return 8 * maxH(); }
    int mcuHeight() const { return 8 * maxV(); }
    int mcuCols() const { return (width + mcuWidth() - 1) / mcuWidth(); }
    int mcuRows() const { return (height + mcuHeight() - 1) / mcuHeight(); }
    // Blocks of component c that hold image data: what a scan of that component alone covers.
    int codedBlockCols(int c) const;
    int codedBlockRows(int c) const;
};

// Parses every marker segment of a whole file held in memory. Never reads outside [data, data+size).
// Throws Error for files it cannot follow: unsupported processes, broken headers.
JpegStream parseJpeg(const uint8_t* data, size_t size);

// Appends marker segments and entropy-coded bytes to one growing buffer.
class JpegWriter {
public:
    std::vector<uint8_t>& bytes() { return bytes_; }
    // Makes room for n more bytes behind the write position, so that a library call can write there.
    void reserve(size_t n);
    uint8_t* data() { return bytes_.data(); }
    int32_t capacity() const { return static_cast<int32_t>(bytes_.size()); }
    int32_t& position() { return pos_; }
    std::vector<uint8_t> finish();

    void marker(int code);
    void jfifApp0();
    void quantTable(int id, const std::array<uint8_t, 64>& zigzag);
    void startOfFrame(int sofMarker, int width, int height, const std::vector<FrameComponent>& components);
    void huffmanTable(int tableClass, int id, const HuffmanTable& table);
    void restartInterval(int mcus);
    void startOfScan(const std::vector<FrameComponent>& frame, const std::vector<ScanComponent>& components,
                     int ss, int se, int ah, int al);

private:
    void put8(int v);
    void put16(int v);
    std::vector<uint8_t> bytes_;
    int32_t pos_ = 0;
};

}  // namespace lumjpeg
