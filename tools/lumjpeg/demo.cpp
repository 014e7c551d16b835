// The demo: the tier in use, then baseline and progressive encoding of one photo, decoded back, with
// a table of sizes, bits per pixel, PSNR against the source and speed in megapixels per second; then
// a thumbnail and an enlargement through the library's resize.
#include "demo.h"

#include <lum.h>

#include <chrono>
#include <cstdio>
#include <filesystem>

#include "codec.h"
#include "image.h"
#include "resize.h"

extern "C" const unsigned char lumjpegDemoPhoto[];
extern "C" const unsigned char lumjpegDemoPhotoEnd[];

namespace lumjpeg {

namespace {

using Clock = std::chrono::steady_clock;

double seconds(Clock::duration d) { return std::chrono::duration<double>(d).count(); }

// Runs `work` until it has run three times and for at least half a second, and returns the best time
// of one run. Work that goes on for more than a second gets a progress line on stderr.
template <typename Work>
double bestTime(const char* label, Work work)
{
    const auto start = Clock::now();
    double best = 1e30;
    bool progress = false;
    for (int runs = 0; runs < 3 || seconds(Clock::now() - start) < 0.5; ++runs) {
        const auto t0 = Clock::now();
        work();
        best = std::min(best, seconds(Clock::now() - t0));
        if (seconds(Clock::now() - start) > 1.0) {
            std::fprintf(stderr, "\r  %s: %d runs, %.1f s", label, runs + 1, seconds(Clock::now() - start));
            progress = true;
        }
        if (runs >= 50) break;
    }
    if (progress) std::fprintf(stderr, "\r%60s\r", "");
    return best;
}

struct Mode {
    const char* label;
    const char* file;
    EncodeOptions options;
};

}  // namespace

int runDemo(const std::string& photoPath, const std::string& outDir)
{
    lumStaticInit();
    const LumLibraryVersion* v = lumiGetLibVersion();
    std::printf("lumjpeg demo: a JPEG codec on lum-custom, tier %.3s (%s %s)\n", v->tierTag, v->libraryName,
                v->versionText);

    Image source;
    if (photoPath.empty()) {
        source = parsePnm(lumjpegDemoPhoto, static_cast<size_t>(lumjpegDemoPhotoEnd - lumjpegDemoPhoto));
        std::printf("photo: built-in \"coffee\" (Rachel Michetti, CC0), %dx%d\n", source.width,
                    source.height);
    } else {
        const std::vector<uint8_t> bytes = readFile(photoPath);
        source = parsePnm(bytes.data(), bytes.size());
        std::printf("photo: %s, %dx%d, %d channel%s\n", photoPath.c_str(), source.width, source.height,
                    source.channels, source.channels == 1 ? "" : "s");
    }
    std::filesystem::create_directories(outDir);
    writeFile(outDir + "/source" + (source.channels == 1 ? ".pgm" : ".ppm"), formatPnm(source));

    const Mode modes[] = {
        {"baseline 4:2:0 q85", "baseline-420-q85", {85, Sampling::S420, false, false, 0}},
        {"progressive 4:2:0 q85", "progressive-420-q85", {85, Sampling::S420, true, true, 0}},
    };
    const double megapixels = static_cast<double>(source.width) * source.height / 1e6;
    std::printf("\n%-24s %10s %9s %9s %13s %13s\n", "mode", "bytes", "bits/px", "PSNR dB", "encode MP/s",
                "decode MP/s");
    for (const Mode& m : modes) {
        std::vector<uint8_t> jpeg;
        const double enc = bestTime(m.label, [&] { jpeg = encodeJpeg(source, m.options); });
        DecodeResult decoded;
        const double dec = bestTime(m.label, [&] { decoded = decodeJpeg(jpeg.data(), jpeg.size()); });
        const std::string base = outDir + "/" + m.file;
        writeFile(base + ".jpg", jpeg);
        writeFile(base + (decoded.image.channels == 1 ? ".pgm" : ".ppm"), formatPnm(decoded.image));
        std::printf("%-24s %10zu %9.3f %9.2f %13.1f %13.1f\n", m.label, jpeg.size(),
                    8.0 * static_cast<double>(jpeg.size()) / (megapixels * 1e6), psnr(source, decoded.image),
                    megapixels / enc, megapixels / dec);
    }

    // A thumbnail by exact area means and a 2x enlargement, both through the library's resize.
    const bool rgb = source.channels == 3;
    const struct {
        const char* label;
        const char* file;
        int width, height, mode;
    } scalings[] = {
        {"thumbnail 1/4, super", "thumbnail", std::max(1, source.width / 4), std::max(1, source.height / 4),
         rgb ? lumResizeSuper : lumResizeLinear},
        {"enlargement 2x, cubic", "enlarged-2x", source.width * 2, source.height * 2, lumResizeCubic},
    };
    std::printf("\n%-24s %11s %13s\n", "resize", "size", "MP/s out");
    for (const auto& s : scalings) {
        Image scaled;
        const double t = bestTime(s.label, [&] { scaled = resizeImage(source, s.width, s.height, s.mode); });
        writeFile(outDir + "/" + s.file + (rgb ? ".ppm" : ".pgm"), formatPnm(scaled));
        std::printf("%-24s %5dx%-5d %13.1f\n", s.label, scaled.width, scaled.height,
                    static_cast<double>(scaled.width) * scaled.height / 1e6 / t);
    }

    std::printf("\nfiles written to %s/ (source, JPEG files, their decoded images, thumbnail, enlargement)\n",
                outDir.c_str());
    return 0;
}

}  // namespace lumjpeg
