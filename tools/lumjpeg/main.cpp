// lumjpeg: a JPEG encoder and decoder built on lum-custom's public interface.
//   lumjpeg [demo [PHOTO.ppm] [--out DIR]]
//   lumjpeg encode IN.ppm|IN.pgm OUT.jpg [--quality N] [--sampling 444|422|420] [--progressive]
//                  [--optimize] [--restart N]
//   lumjpeg decode IN.jpg OUT.ppm|OUT.pgm|OUT.pam
//   lumjpeg info IN.jpg
//   lumjpeg resize IN.ppm|IN.pgm OUT.ppm|OUT.pgm (--size WxH | --scale F) [--mode MODE]
// Exit status: 0 done, 1 error, 2 decoded with warnings (damaged data).
#include <lum.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "image.h"
#include "info.h"
#include "codec.h"
#include "demo.h"
#include "jpeg_markers.h"
#include "resize.h"

namespace {

using namespace lumjpeg;

const char kUsage[] =
    "usage: lumjpeg demo [PHOTO.ppm] [--out DIR]   run the demo (also: lumjpeg with no arguments)\n"
    "       lumjpeg encode IN.ppm|IN.pgm OUT.jpg [--quality N] [--sampling 444|422|420]\n"
    "                      [--progressive] [--optimize] [--restart N]\n"
    "       lumjpeg decode IN.jpg OUT.ppm|OUT.pgm|OUT.pam\n"
    "       lumjpeg info IN.jpg\n"
    "       lumjpeg resize IN.ppm|IN.pgm OUT.ppm|OUT.pgm (--size WxH | --scale F)\n"
    "                      [--mode nearest|linear|cubic|lanczos|super]\n";

int info(const std::vector<std::string>& args)
{
    if (args.size() != 1) throw Error("info takes one file");
    const std::vector<uint8_t> bytes = readFile(args[0]);
    std::fputs(describeJpeg(parseJpeg(bytes.data(), bytes.size()), bytes.size()).c_str(), stdout);
    return 0;
}

int parseNumber(const std::string& text, int lo, int hi, const char* what)
{
    char* end = nullptr;
    const long v = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || v < lo || v > hi)
        throw Error(std::string(what) + " must be a number in " + std::to_string(lo) + ".." +
                    std::to_string(hi));
    return static_cast<int>(v);
}

int encode(const std::vector<std::string>& args)
{
    EncodeOptions options;
    std::vector<std::string> files;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        const auto value = [&]() -> const std::string& {
            if (i + 1 >= args.size()) throw Error(a + " needs a value");
            return args[++i];
        };
        if (a == "--quality") {
            options.quality = parseNumber(value(), 1, 100, "--quality");
        } else if (a == "--sampling") {
            const std::string& s = value();
            if (s == "444")
                options.sampling = Sampling::S444;
            else if (s == "422")
                options.sampling = Sampling::S422;
            else if (s == "420")
                options.sampling = Sampling::S420;
            else
                throw Error("--sampling must be 444, 422 or 420");
        } else if (a == "--progressive") {
            options.progressive = true;
        } else if (a == "--optimize") {
            options.optimize = true;
        } else if (a == "--restart") {
            options.restartInterval = parseNumber(value(), 0, 65535, "--restart");
        } else if (a.size() > 1 && a[0] == '-') {
            throw Error("unknown option " + a);
        } else {
            files.push_back(a);
        }
    }
    if (files.size() != 2) throw Error("encode takes an input and an output file");
    const std::vector<uint8_t> bytes = readFile(files[0]);
    const Image image = parsePnm(bytes.data(), bytes.size());
    if (image.channels == 4) throw Error("4-channel input is not supported by the encoder");
    writeFile(files[1], encodeJpeg(image, options));
    return 0;
}

int decode(const std::vector<std::string>& args)
{
    if (args.size() != 2) throw Error("decode takes an input and an output file");
    const std::vector<uint8_t> bytes = readFile(args[0]);
    const DecodeResult result = decodeJpeg(bytes.data(), bytes.size());
    for (const std::string& w : result.warnings) std::fprintf(stderr, "lumjpeg: warning: %s\n", w.c_str());
    writeFile(args[1], formatPnm(result.image));
    return result.warnings.empty() ? 0 : 2;
}

int resize(const std::vector<std::string>& args)
{
    std::vector<std::string> files;
    int width = 0, height = 0, mode = lumResizeLinear;
    double scale = 0.0;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        const auto value = [&]() -> const std::string& {
            if (i + 1 >= args.size()) throw Error(a + " needs a value");
            return args[++i];
        };
        if (a == "--size") {
            const std::string& v = value();
            const size_t x = v.find('x');
            if (x == std::string::npos) throw Error("--size must be WxH");
            width = parseNumber(v.substr(0, x), 1, 65535, "width");
            height = parseNumber(v.substr(x + 1), 1, 65535, "height");
        } else if (a == "--scale") {
            char* end = nullptr;
            scale = std::strtod(value().c_str(), &end);
            if (*end != '\0' || !(scale > 0.0 && scale <= 64.0)) throw Error("--scale must be in (0, 64]");
        } else if (a == "--mode") {
            mode = interpolationByName(value());
        } else if (a.size() > 1 && a[0] == '-') {
            throw Error("unknown option " + a);
        } else {
            files.push_back(a);
        }
    }
    if (files.size() != 2) throw Error("resize takes an input and an output file");
    const std::vector<uint8_t> bytes = readFile(files[0]);
    const Image image = parsePnm(bytes.data(), bytes.size());
    if (scale > 0.0) {
        width = std::max(1, static_cast<int>(image.width * scale + 0.5));
        height = std::max(1, static_cast<int>(image.height * scale + 0.5));
    }
    if (width < 1) throw Error("resize needs --size or --scale");
    writeFile(files[1], formatPnm(resizeImage(image, width, height, mode)));
    return 0;
}

int demo(const std::vector<std::string>& args)
{
    std::string photo, out = "lumjpeg-demo";
    for (size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--out" && i + 1 < args.size())
            out = args[++i];
        else if (photo.empty() && args[i][0] != '-')
            photo = args[i];
        else
            throw Error("demo takes an optional photo and --out DIR");
    }
    return runDemo(photo, out);
}

int run(int argc, char** argv)
{
    // The static library starts in the portable tier; the probe picks the one for this processor.
    lumStaticInit();
    const std::string command = argc > 1 ? argv[1] : "demo";
    const std::vector<std::string> args(argv + (argc > 1 ? 2 : 1), argv + argc);
    if (command == "info") return info(args);
    if (command == "encode") return encode(args);
    if (command == "decode") return decode(args);
    if (command == "resize") return resize(args);
    if (command == "demo") return demo(args);
    if (command == "-h" || command == "--help" || command == "help") {
        std::fputs(kUsage, stdout);
        return 0;
    }
    std::fputs(kUsage, stderr);
    return 1;
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        return run(argc, argv);
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "lumjpeg: out of memory\n");
    } catch (const std::exception& e) {
        std::fprintf(stderr, "lumjpeg: %s\n", e.what());
    }
    return 1;
}
