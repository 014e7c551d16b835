// The text of `lumjpeg info`.
#include "info.h"

#include <sstream>

namespace lumjpeg {

namespace {

const char* processName(int sof)
{
    switch (sof) {
        case 0xC0:
            return "baseline";
        case 0xC1:
            return "extended sequential";
        default:
            return "progressive";
    }
}

std::string joined(const std::vector<int>& values)
{
    std::string s;
    for (size_t i = 0; i < values.size(); ++i) s += (i ? "," : "") + std::to_string(values[i]);
    return s;
}

}  // namespace

std::string describeJpeg(const JpegStream& s, size_t fileSize)
{
    std::ostringstream o;
    o << "file size: " << fileSize << " bytes\n";
    o << "process: " << processName(s.sofMarker) << " (SOF" << (s.sofMarker - 0xC0) << "), Huffman coding, "
      << s.precision << "-bit samples\n";
    o << "size: " << s.width << "x" << s.height << "\n";
    o << "colour: " << colourModelName(s.colourModel());
    if (s.jfif) o << ", JFIF";
    if (s.adobeTransform >= 0) o << ", Adobe transform " << s.adobeTransform;
    o << "\n";
    o << "components: " << s.components.size() << "\n";
    std::string sampling;
    for (size_t i = 0; i < s.components.size(); ++i) {
        const FrameComponent& c = s.components[i];
        o << "  component " << i + 1 << ": id " << c.id << ", sampling " << c.declaredH << "x" << c.declaredV
          << ", quantization table " << c.tq << "\n";
        sampling += (i ? "," : "") + std::to_string(c.declaredH) + "x" + std::to_string(c.declaredV);
    }
    o << "sampling: " << sampling << "\n";
    o << "MCU: " << s.mcuWidth() << "x" << s.mcuHeight() << " pixels, " << s.mcuCols() << "x" << s.mcuRows()
      << "\n";
    o << "restart interval: " << (s.restartIntervals.empty() ? "none" : joined(s.restartIntervals)) << "\n";
    o << "tables: " << s.tables.size() << "\n";
    for (const TableDefinition& t : s.tables) {
        if (t.kind == 'Q') {
            o << "  quantization table " << t.id << ": " << t.precision << "-bit\n";
        } else {
            o << "  Huffman table " << (t.kind == 'D' ? "DC " : "AC ") << t.id << ": " << t.count
              << " codes, longest " << t.precision << " bits\n";
        }
    }
    o << "scans: " << s.scans.size() << "\n";
    for (size_t i = 0; i < s.scans.size(); ++i) {
        const Scan& sc = s.scans[i];
        std::vector<int> ids, dc, ac;
        for (const ScanComponent& c : sc.components) {
            ids.push_back(s.components[static_cast<size_t>(c.component)].id);
            dc.push_back(c.td);
            ac.push_back(c.ta);
        }
        size_t bytes = 0;
        for (const ByteRange& r : sc.intervals) bytes += r.end - r.begin;
        o << "  scan " << i + 1 << ": components " << joined(ids) << ", Ss " << sc.ss << " Se " << sc.se
          << " Ah " << sc.ah << " Al " << sc.al << ", DC tables " << joined(dc) << ", AC tables "
          << joined(ac) << ", restart interval " << sc.restartInterval << ", " << sc.intervals.size()
          << " segment" << (sc.intervals.size() == 1 ? "" : "s") << ", " << bytes << " bytes\n";
    }
    for (const std::string& w : s.warnings) o << "warning: " << w << "\n";
    return o.str();
}

}  // namespace lumjpeg
