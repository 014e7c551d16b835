// PNM reading and writing, file helpers and image comparison.
#include "image.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>

namespace lumjpeg {

namespace {

// Largest image the tool accepts in either direction: enough for any real photo, small enough that
// a corrupt header cannot make it allocate without bound.
constexpr long long kMaxPixels = 1LL << 28;

void checkDimensions(long long w, long long h, int channels)
{
    if (w < 1 || h < 1 || w > 65535 || h > 65535) throw Error("image dimensions out of range");
    if (w * h > kMaxPixels || w * h * channels > std::numeric_limits<int32_t>::max())
        throw Error("image too large");
}

// Reads the whitespace-separated header fields of P5 and P6, skipping comments.
class PnmHeader {
public:
    PnmHeader(const uint8_t* data, size_t size) : data_(data), size_(size) {}

    long long number()
    {
        skipSpaceAndComments();
        long long v = 0;
        size_t digits = 0;
        while (pos_ < size_ && data_[pos_] >= '0' && data_[pos_] <= '9' && digits < 10) {
            v = v * 10 + (data_[pos_++] - '0');
            ++digits;
        }
        if (digits == 0) throw Error("malformed PNM header");
        return v;
    }
    std::string word()
    {
        skipSpaceAndComments();
        std::string w;
        while (pos_ < size_ && !isSpace(data_[pos_]) && w.size() < 64) w += static_cast<char>(data_[pos_++]);
        return w;
    }
    // The raster starts after exactly one whitespace byte behind the last field.
    size_t rasterStart()
    {
        if (pos_ >= size_ || !isSpace(data_[pos_])) throw Error("malformed PNM header");
        return pos_ + 1;
    }
    // PAM: the raster starts behind the line that holds ENDHDR.
    size_t afterLine()
    {
        while (pos_ < size_ && data_[pos_] != '\n') ++pos_;
        if (pos_ >= size_) throw Error("malformed PAM header");
        return pos_ + 1;
    }

private:
    static bool isSpace(uint8_t c)
    {
        return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
    }
    void skipSpaceAndComments()
    {
        while (pos_ < size_) {
            if (isSpace(data_[pos_])) {
                ++pos_;
            } else if (data_[pos_] == '#') {
                while (pos_ < size_ && data_[pos_] != '\n') ++pos_;
            } else {
                break;
            }
        }
    }

    const uint8_t* data_;
    size_t size_;
    size_t pos_ = 2;
};

struct PamFields {
    long long width = -1, height = -1, depth = -1, maxval = -1;
};

PamFields readPamHeader(PnmHeader& header)
{
    PamFields f;
    for (int lines = 0; lines < 64; ++lines) {
        const std::string key = header.word();
        if (key == "ENDHDR") return f;
        if (key == "WIDTH")
            f.width = header.number();
        else if (key == "HEIGHT")
            f.height = header.number();
        else if (key == "DEPTH")
            f.depth = header.number();
        else if (key == "MAXVAL")
            f.maxval = header.number();
        else if (key == "TUPLTYPE")
            header.word();
        else
            throw Error("malformed PAM header");
    }
    throw Error("malformed PAM header");
}

}  // namespace

Image::Image(int w, int h, int c) : width(w), height(h), channels(c)
{
    checkDimensions(w, h, c);
    pixels.resize(stride() * static_cast<size_t>(h));
}

Image parsePnm(const uint8_t* data, size_t size)
{
    if (size < 3 || data[0] != 'P' || (data[1] != '5' && data[1] != '6' && data[1] != '7'))
        throw Error("not a binary PGM, PPM or PAM file");
    PnmHeader header(data, size);
    long long w, h, maxval;
    int channels;
    size_t start;
    if (data[1] == '7') {
        const PamFields f = readPamHeader(header);
        if (f.depth != 1 && f.depth != 3 && f.depth != 4) throw Error("PAM depth must be 1, 3 or 4");
        w = f.width;
        h = f.height;
        maxval = f.maxval;
        channels = static_cast<int>(f.depth);
        start = header.afterLine();
    } else {
        channels = data[1] == '5' ? 1 : 3;
        w = header.number();
        h = header.number();
        maxval = header.number();
        start = header.rasterStart();
    }
    if (maxval != 255) throw Error("only 8-bit PNM files (maxval 255) are supported");
    checkDimensions(w, h, channels);
    Image image(static_cast<int>(w), static_cast<int>(h), channels);
    if (size - start < image.pixels.size()) throw Error("PNM raster is truncated");
    std::memcpy(image.pixels.data(), data + start, image.pixels.size());
    return image;
}

std::vector<uint8_t> formatPnm(const Image& image)
{
    char header[128];
    int n;
    if (image.channels == 4) {
        n = std::snprintf(header, sizeof header,
                          "P7\nWIDTH %d\nHEIGHT %d\nDEPTH 4\nMAXVAL 255\nTUPLTYPE CMYK\nENDHDR\n",
                          image.width, image.height);
    } else {
        n = std::snprintf(header, sizeof header, "P%c\n%d %d\n255\n", image.channels == 1 ? '5' : '6',
                          image.width, image.height);
    }
    std::vector<uint8_t> out(header, header + n);
    out.insert(out.end(), image.pixels.begin(), image.pixels.end());
    return out;
}

std::vector<uint8_t> readFile(const std::string& path)
{
    std::unique_ptr<FILE, int (*)(FILE*)> f(std::fopen(path.c_str(), "rb"), std::fclose);
    if (!f) throw Error("cannot open " + path);
    std::vector<uint8_t> bytes;
    uint8_t chunk[1 << 16];
    size_t n;
    while ((n = std::fread(chunk, 1, sizeof chunk, f.get())) > 0) {
        bytes.insert(bytes.end(), chunk, chunk + n);
        if (bytes.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max()))
            throw Error(path + " is too large");
    }
    if (std::ferror(f.get())) throw Error("cannot read " + path);
    return bytes;
}

void writeFile(const std::string& path, const std::vector<uint8_t>& bytes)
{
    std::unique_ptr<FILE, int (*)(FILE*)> f(std::fopen(path.c_str(), "wb"), std::fclose);
    if (!f || std::fwrite(bytes.data(), 1, bytes.size(), f.get()) != bytes.size() ||
        std::fflush(f.get()) != 0)
        throw Error("cannot write " + path);
}

double psnr(const Image& a, const Image& b)
{
    if (a.width != b.width || a.height != b.height || a.channels != b.channels)
        throw Error("images of different shapes cannot be compared");
    double sum = 0;
    for (size_t i = 0; i < a.pixels.size(); ++i) {
        const double d = static_cast<double>(a.pixels[i]) - b.pixels[i];
        sum += d * d;
    }
    if (sum == 0) return std::numeric_limits<double>::infinity();
    return 10.0 * std::log10(255.0 * 255.0 * static_cast<double>(a.pixels.size()) / sum);
}

int maxDifference(const Image& a, const Image& b)
{
    if (a.pixels.size() != b.pixels.size()) throw Error("images of different shapes cannot be compared");
    int m = 0;
    for (size_t i = 0; i < a.pixels.size(); ++i) m = std::max(m, std::abs(a.pixels[i] - b.pixels[i]));
    return m;
}

}  // namespace lumjpeg
