// Images as the tool reads and writes them: 8-bit samples, interleaved, rows packed without padding.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace lumjpeg {

// Every failure the tool reports is one of these, with a one-line message.
class Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct Image {
    int width = 0;
    int height = 0;
    int channels = 0;  // 1 grey, 3 RGB, 4 CMYK
    std::vector<uint8_t> pixels;

    Image() = default;
    Image(int w, int h, int c);
    size_t stride() const { return static_cast<size_t>(width) * static_cast<size_t>(channels); }
    uint8_t* row(int y) { return pixels.data() + stride() * static_cast<size_t>(y); }
    const uint8_t* row(int y) const { return pixels.data() + stride() * static_cast<size_t>(y); }
};

// Binary PGM (P5), PPM (P6) and PAM (P7, depth 1, 3 or 4), maxval 255.
Image parsePnm(const uint8_t* data, size_t size);
std::vector<uint8_t> formatPnm(const Image& image);

std::vector<uint8_t> readFile(const std::string& path);
void writeFile(const std::string& path, const std::vector<uint8_t>& bytes);

// Peak signal-to-noise ratio in dB over all samples; infinity for identical images.
double psnr(const Image& a, const Image& b);
// Largest absolute difference of two samples at the same place.
int maxDifference(const Image& a, const Image& b);

}  // namespace lumjpeg
