// Parsing and writing of JPEG marker segments.
#include "jpeg_markers.h"

#include <algorithm>
#include <cstring>

namespace lumjpeg {

namespace {

constexpr int kSOI = 0xD8, kEOI = 0xD9, kSOS = 0xDA, kDQT = 0xDB, kDNL = 0xDC, kDRI = 0xDD, kDHT = 0xC4;
constexpr int kAPP0 = 0xE0, kAPP14 = 0xEE, kRST0 = 0xD0;
constexpr size_t kMaxScans = 1000;

bool isRestart(int m) { return m >= kRST0 && m <= kRST0 + 7; }

std::string hex2(int v)
{
    static const char digits[] = "0123456789ABCDEF";
    return std::string("0x") + digits[(v >> 4) & 15] + digits[v & 15];
}

// The processes this tool does not follow, named for the error message.
const char* unsupportedProcess(int m)
{
    switch (m) {
        case 0xC3:
            return "lossless (SOF3)";
        case 0xC5:
            return "hierarchical (SOF5)";
        case 0xC6:
            return "hierarchical progressive (SOF6)";
        case 0xC7:
            return "hierarchical lossless (SOF7)";
        case 0xC9:
            return "arithmetic coding (SOF9)";
        case 0xCA:
            return "arithmetic coding, progressive (SOF10)";
        case 0xCB:
            return "arithmetic coding, lossless (SOF11)";
        case 0xCC:
            return "arithmetic coding (DAC)";
        case 0xCD:
            return "arithmetic coding, hierarchical (SOF13)";
        case 0xCE:
            return "arithmetic coding, hierarchical progressive (SOF14)";
        case 0xCF:
            return "arithmetic coding, hierarchical lossless (SOF15)";
        case 0xDE:
            return "hierarchical (DHP)";
        case 0xDF:
            return "hierarchical (EXP)";
        default:
            return nullptr;
    }
}

Error corrupt(const std::string& what) { return Error("corrupt JPEG: " + what); }

// Rejects tables whose code lengths do not form a prefix code without the all-ones code.
void checkPrefixCode(const HuffmanTable& t)
{
    long code = 0;
    for (int len = 1; len <= 16; ++len) {
        code += t.bits[len - 1];
        if (t.bits[len - 1] != 0 && code >= (1L << len)) throw corrupt("Huffman table with too many codes");
        code <<= 1;
    }
}

class Parser {
public:
    Parser(const uint8_t* data, size_t size) : d_(data), n_(size) {}

    JpegStream run()
    {
        if (n_ < 2 || d_[0] != 0xFF || d_[1] != kSOI) throw Error("not a JPEG file (no SOI marker)");
        p_ = 2;
        while (true) {
            const int m = nextMarker();
            if (m < 0) {
                if (s_.scans.empty()) throw corrupt("file ends before the first scan");
                s_.warnings.push_back("premature end of file (no EOI marker)");
                break;
            }
            if (m == kEOI) break;
            if (m == kSOI) throw corrupt("second SOI marker");
            if (isRestart(m) || m == 0x01) continue;  // stray standalone markers carry nothing
            segment(m);
        }
        if (s_.sofMarker == 0) throw corrupt("no frame header (SOF)");
        if (s_.scans.empty()) throw corrupt("no scan");
        return std::move(s_);
    }

private:
    int u16(size_t at) const { return d_[at] << 8 | d_[at + 1]; }

    // Moves past the next marker and returns its code, or -1 at the end of the file.
    int nextMarker()
    {
        size_t skipped = 0;
        while (true) {
            while (p_ < n_ && d_[p_] != 0xFF) ++p_, ++skipped;
            while (p_ < n_ && d_[p_] == 0xFF) ++p_;
            if (p_ >= n_) return -1;
            const int m = d_[p_++];
            if (m != 0) {
                if (skipped != 0)
                    s_.warnings.push_back(std::to_string(skipped) + " extraneous bytes before marker " +
                                          hex2(m));
                return m;
            }
            skipped += 2;
        }
    }

    void segment(int m)
    {
        if (p_ + 2 > n_) throw corrupt("marker segment runs past the end of the file");
        const size_t len = static_cast<size_t>(u16(p_));
        if (len < 2) throw corrupt("marker segment " + hex2(m) + " with length below 2");
        if (p_ + len > n_) throw corrupt("marker segment " + hex2(m) + " runs past the end of the file");
        const size_t begin = p_ + 2, end = p_ + len;
        p_ = end;
        if (const char* process = unsupportedProcess(m))
            throw Error(std::string("unsupported JPEG process: ") + process);
        switch (m) {
            case 0xC0:
            case 0xC1:
            case 0xC2:
                frame(m, begin, end);
                break;
            case kDHT:
                huffman(begin, end);
                break;
            case kDQT:
                quant(begin, end);
                break;
            case kDRI:
                if (len != 4) throw corrupt("DRI segment of wrong length");
                restart_ = u16(begin);
                s_.restartIntervals.push_back(restart_);
                break;
            case kSOS:
                scan(begin, end);
                break;
            case kDNL:
                break;  // the height is always known from the frame header here
            case kAPP0:
                if (end - begin >= 5 && std::memcmp(d_ + begin, "JFIF\0", 5) == 0) s_.jfif = true;
                break;
            case kAPP14:
                if (end - begin >= 12 && std::memcmp(d_ + begin, "Adobe", 5) == 0)
                    s_.adobeTransform = d_[begin + 11];
                break;
            default:
                break;  // other APPn, COM and reserved segments carry nothing the decoder needs
        }
    }

    void frame(int m, size_t q, size_t end)
    {
        if (s_.sofMarker != 0) throw corrupt("second frame header");
        if (end - q < 6) throw corrupt("frame header too short");
        s_.sofMarker = m;
        s_.precision = d_[q];
        s_.height = u16(q + 1);
        s_.width = u16(q + 3);
        const int n = d_[q + 5];
        if (s_.precision != 8) throw Error("unsupported JPEG data precision " + std::to_string(s_.precision));
        if (s_.height == 0) throw Error("unsupported JPEG: image height defined by a DNL marker");
        if (s_.width == 0) throw corrupt("image width 0");
        if (n != 1 && n != 3 && n != 4) throw Error("unsupported JPEG: " + std::to_string(n) + " components");
        if (end - q != 6 + 3 * static_cast<size_t>(n)) throw corrupt("frame header of wrong length");
        for (int i = 0; i < n; ++i) {
            const size_t c = q + 6 + 3 * static_cast<size_t>(i);
            FrameComponent fc{d_[c],     d_[c + 1] >> 4, d_[c + 1] & 15,
                              d_[c + 2], d_[c + 1] >> 4, d_[c + 1] & 15};
            if (fc.h < 1 || fc.h > 4 || fc.v < 1 || fc.v > 4) throw corrupt("bad sampling factors");
            if (fc.tq > 3) throw corrupt("bad quantization table number");
            for (const FrameComponent& other : s_.components)
                if (other.id == fc.id) throw corrupt("two components with the same id");
            s_.components.push_back(fc);
        }
        // A single component is never interleaved, so its MCU is one block whatever its factors say.
        if (n == 1) s_.components[0].h = s_.components[0].v = 1;
    }

    void huffman(size_t q, size_t end)
    {
        while (q < end) {
            if (end - q < 17) throw corrupt("DHT segment too short");
            const int tc = d_[q] >> 4, th = d_[q] & 15;
            if (tc > 1 || th > 3) throw corrupt("bad Huffman table class or number");
            HuffmanTable t;
            size_t total = 0;
            int longest = 0;
            for (int i = 0; i < 16; ++i) {
                t.bits[i] = d_[q + 1 + i];
                total += t.bits[i];
                if (t.bits[i] != 0) longest = i + 1;
            }
            if (total > 256 || end - q - 17 < total) throw corrupt("bad Huffman table length");
            t.vals.assign(d_ + q + 17, d_ + q + 17 + total);
            checkPrefixCode(t);
            (tc == 0 ? dc_ : ac_)[th] = std::move(t);
            s_.tables.push_back({tc == 0 ? 'D' : 'A', th, longest, static_cast<int>(total)});
            q += 17 + total;
        }
    }

    void quant(size_t q, size_t end)
    {
        while (q < end) {
            const int pq = d_[q] >> 4, tq = d_[q] & 15;
            if (pq > 1 || tq > 3) throw corrupt("bad quantization table precision or number");
            const size_t size = 1 + 64 * static_cast<size_t>(pq + 1);
            if (end - q < size) throw corrupt("DQT segment too short");
            QuantTable t;
            t.sixteenBit = pq == 1;
            for (int k = 0; k < 64; ++k)
                t.zigzag[k] =
                    static_cast<uint16_t>(pq ? u16(q + 1 + 2 * static_cast<size_t>(k)) : d_[q + 1 + k]);
            quant_[tq] = t;
            s_.tables.push_back({'Q', tq, pq ? 16 : 8, 64});
            q += size;
        }
    }

    void scan(size_t q, size_t end)
    {
        if (s_.sofMarker == 0) throw corrupt("scan before the frame header");
        if (s_.scans.size() >= kMaxScans) throw corrupt("more than 1000 scans");
        if (end - q < 1) throw corrupt("scan header too short");
        const int ns = d_[q];
        if (ns < 1 || ns > 4 || end - q != 4 + 2 * static_cast<size_t>(ns))
            throw corrupt("scan header of wrong length");
        Scan sc;
        int blocksInMcu = 0;
        for (int i = 0; i < ns; ++i) {
            const size_t c = q + 1 + 2 * static_cast<size_t>(i);
            ScanComponent comp;
            comp.component = -1;
            for (size_t k = 0; k < s_.components.size(); ++k)
                if (s_.components[k].id == d_[c]) comp.component = static_cast<int>(k);
            if (comp.component < 0) throw corrupt("scan names a component that is not in the frame");
            for (const ScanComponent& other : sc.components)
                if (other.component >= comp.component) throw corrupt("scan components out of frame order");
            comp.td = d_[c + 1] >> 4;
            comp.ta = d_[c + 1] & 15;
            if (comp.td > 3 || comp.ta > 3) throw corrupt("bad Huffman table number in scan header");
            const FrameComponent& fc = s_.components[static_cast<size_t>(comp.component)];
            blocksInMcu += fc.h * fc.v;
            sc.components.push_back(comp);
        }
        if (ns > 1 && blocksInMcu > 10) throw corrupt("more than 10 blocks in an MCU");
        const size_t t = q + 1 + 2 * static_cast<size_t>(ns);
        sc.ss = d_[t];
        sc.se = d_[t + 1];
        sc.ah = d_[t + 2] >> 4;
        sc.al = d_[t + 2] & 15;
        if (s_.progressive()) {
            const bool bad = sc.ss > sc.se || sc.se > 63 || sc.al > 13 || (sc.ss == 0 && sc.se != 0) ||
                             (sc.ss != 0 && ns != 1) || (sc.ah != 0 && sc.al != sc.ah - 1);
            if (bad) throw corrupt("invalid progressive scan parameters");
        } else if (sc.ss != 0 || sc.se != 63 || sc.ah != 0 || sc.al != 0) {
            s_.warnings.push_back("sequential scan with progressive parameters (ignored)");
            sc.ss = 0, sc.se = 63, sc.ah = 0, sc.al = 0;
        }
        sc.restartInterval = restart_;
        sc.dc = dc_;
        sc.ac = ac_;
        sc.quant = quant_;
        sc.headerOffset = q - 4;
        entropyData(sc);
        s_.scans.push_back(std::move(sc));
    }

    // Splits the entropy-coded data behind a scan header at its restart markers and stops in front
    // of the first other marker.
    void entropyData(Scan& sc)
    {
        size_t begin = p_;
        int expected = 0;
        while (true) {
            const uint8_t* ff = static_cast<const uint8_t*>(std::memchr(d_ + p_, 0xFF, n_ - p_));
            if (ff == nullptr) {
                sc.intervals.push_back({begin, n_});
                p_ = n_;
                return;
            }
            const size_t at = static_cast<size_t>(ff - d_);
            size_t next = at + 1;
            while (next < n_ && d_[next] == 0xFF) ++next;
            if (next >= n_) {
                sc.intervals.push_back({begin, at});
                p_ = n_;
                return;
            }
            const int m = d_[next];
            if (m == 0) {
                p_ = next + 1;
            } else if (isRestart(m)) {
                sc.intervals.push_back({begin, at});
                if (m - kRST0 != expected)
                    s_.warnings.push_back("restart marker " + hex2(m) + " out of sequence");
                expected = (m - kRST0 + 1) & 7;
                begin = p_ = next + 1;
            } else {
                sc.intervals.push_back({begin, at});
                p_ = at;
                return;
            }
        }
    }

    const uint8_t* d_;
    size_t n_;
    size_t p_ = 0;
    JpegStream s_;
    HuffmanSet dc_, ac_;
    QuantSet quant_;
    int restart_ = 0;
};

}  // namespace

const char* colourModelName(ColourModel m)
{
    switch (m) {
        case ColourModel::Grey:
            return "grey";
        case ColourModel::YCbCr:
            return "YCbCr";
        case ColourModel::RGB:
            return "RGB";
        case ColourModel::CMYK:
            return "CMYK";
        case ColourModel::YCCK:
            return "YCCK";
    }
    return "?";
}

ColourModel JpegStream::colourModel() const
{
    if (components.size() == 1) return ColourModel::Grey;
    if (components.size() == 4) return adobeTransform == 2 ? ColourModel::YCCK : ColourModel::CMYK;
    if (adobeTransform == 0) return ColourModel::RGB;
    if (adobeTransform < 0 && !jfif && components[0].id == 'R' && components[1].id == 'G' &&
        components[2].id == 'B')
        return ColourModel::RGB;
    return ColourModel::YCbCr;
}

int JpegStream::maxH() const
{
    int m = 1;
    for (const FrameComponent& c : components) m = std::max(m, c.h);
    return m;
}

int JpegStream::maxV() const
{
    int m = 1;
    for (const FrameComponent& c : components) m = std::max(m, c.v);
    return m;
}

int JpegStream::codedBlockCols(int c) const
{
    const int samples = (width * components[static_cast<size_t>(c)].h + maxH() - 1) / maxH();
    return (samples + 7) / 8;
}

int JpegStream::codedBlockRows(int c) const
{
    const int samples = (height * components[static_cast<size_t>(c)].v + maxV() - 1) / maxV();
    return (samples + 7) / 8;
}

JpegStream parseJpeg(const uint8_t* data, size_t size) { return Parser(data, size).run(); }

// ---- Writer ---------------------------------------------------------------------------------------

void JpegWriter::reserve(size_t n)
{
    const size_t used = static_cast<size_t>(pos_);
    if (bytes_.size() - used >= n) return;
    const size_t wanted = std::max(bytes_.size() * 2, used + n + 4096);
    if (wanted > static_cast<size_t>(INT32_MAX)) throw Error("JPEG output too large");
    bytes_.resize(wanted);
}

std::vector<uint8_t> JpegWriter::finish()
{
    bytes_.resize(static_cast<size_t>(pos_));
    return std::move(bytes_);
}

void JpegWriter::put8(int v)
{
    reserve(1);
    bytes_[static_cast<size_t>(pos_++)] = static_cast<uint8_t>(v);
}

void JpegWriter::put16(int v)
{
    put8(v >> 8);
    put8(v & 0xFF);
}

void JpegWriter::marker(int code)
{
    put8(0xFF);
    put8(code);
}

void JpegWriter::jfifApp0()
{
    marker(kAPP0);
    put16(16);
    for (char c : {'J', 'F', 'I', 'F', '\0'}) put8(c);
    put8(1);  // version 1.01
    put8(1);
    put8(0);  // no density unit: the densities give the pixel aspect ratio, 1:1
    put16(1);
    put16(1);
    put8(0);  // no thumbnail
    put8(0);
}

void JpegWriter::quantTable(int id, const std::array<uint8_t, 64>& zigzag)
{
    marker(kDQT);
    put16(2 + 65);
    put8(id);
    for (uint8_t q : zigzag) put8(q);
}

void JpegWriter::startOfFrame(int sofMarker, int width, int height,
                              const std::vector<FrameComponent>& components)
{
    marker(sofMarker);
    put16(8 + 3 * static_cast<int>(components.size()));
    put8(8);
    put16(height);
    put16(width);
    put8(static_cast<int>(components.size()));
    for (const FrameComponent& c : components) {
        put8(c.id);
        put8(c.h << 4 | c.v);
        put8(c.tq);
    }
}

void JpegWriter::huffmanTable(int tableClass, int id, const HuffmanTable& table)
{
    marker(kDHT);
    put16(2 + 17 + static_cast<int>(table.vals.size()));
    put8(tableClass << 4 | id);
    for (uint8_t b : table.bits) put8(b);
    for (uint8_t v : table.vals) put8(v);
}

void JpegWriter::restartInterval(int mcus)
{
    marker(kDRI);
    put16(4);
    put16(mcus);
}

void JpegWriter::startOfScan(const std::vector<FrameComponent>& frame,
                             const std::vector<ScanComponent>& components, int ss, int se, int ah, int al)
{
    marker(kSOS);
    put16(6 + 2 * static_cast<int>(components.size()));
    put8(static_cast<int>(components.size()));
    for (const ScanComponent& c : components) {
        put8(frame[static_cast<size_t>(c.component)].id);
        put8(c.td << 4 | c.ta);
    }
    put8(ss);
    put8(se);
    put8(ah << 4 | al);
}

}  // namespace lumjpeg
