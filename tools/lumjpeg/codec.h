// The encoder and decoder: whole images in memory, driven through the library's public interface.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "image.h"

namespace lumjpeg {

enum class Sampling { S444, S422, S420 };

struct EncodeOptions {
    int quality = 85;  // 1..100, scales the standard tables
    Sampling sampling = Sampling::S420;
    bool progressive = false;
    bool optimize = false;    // tables fitted to the image; progressive files always have them
    int restartInterval = 0;  // in MCUs, 0 for none
};

// Encodes a grey (1 channel) or RGB (3 channel) image into a complete JPEG file.
std::vector<uint8_t> encodeJpeg(const Image& image, const EncodeOptions& options);

struct DecodeResult {
    Image image;  // 1 channel grey, 3 RGB, 4 CMYK as stored
    std::vector<std::string> warnings;
};

// Decodes a whole JPEG file. Throws Error for files it cannot read at all; damaged entropy-coded
// data gives a best-effort image and warnings.
DecodeResult decodeJpeg(const uint8_t* data, size_t size);

// The same into `image`, whose memory is reused when it already has the file's size and channels.
std::vector<std::string> decodeJpegInto(const uint8_t* data, size_t size, Image& image);

}  // namespace lumjpeg
