// lumjpeg's encode and decode paths as library calls, side by side with TurboJPEG at the same
// settings: baseline 4:2:0 q85, baseline 4:4:4 q95 and progressive 4:2:0 q85, on the demo photo and
// on a 12-megapixel scene made of it. Single thread; throughput in pixels per second. lumjpeg runs in
// the two SSE2 tiers a processor of today selects, t7 and w7.
#include <benchmark/benchmark.h>

#include <lum.h>
#include <turbojpeg.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "codec.h"
#include "frame/dispatch.h"
#include "image.h"

namespace {

using lumjpeg::Image;

const Image& demoPhoto()
{
    static const Image p = [] {
        const std::vector<uint8_t> b = lumjpeg::readFile(LUM_SOURCE_DIR "/tools/lumjpeg/data/coffee.ppm");
        return lumjpeg::parsePnm(b.data(), b.size());
    }();
    return p;
}

// 4000x3000 pixels of the photo, mirrored at its edges so that detail stays photographic.
const Image& twelveMegapixels()
{
    static const Image big = [] {
        const Image& src = demoPhoto();
        Image out(4000, 3000, 3);
        const auto fold = [](int i, int n) {
            i %= 2 * n;
            return i < n ? i : 2 * n - 1 - i;
        };
        for (int y = 0; y < out.height; ++y)
            for (int x = 0; x < out.width; ++x)
                for (int c = 0; c < 3; ++c)
                    out.row(y)[3 * x + c] = src.row(fold(y, src.height))[3 * fold(x, src.width) + c];
        return out;
    }();
    return big;
}

struct Setting {
    const char* name;
    lumjpeg::Sampling sampling;
    int tjSampling;
    int quality;
    bool progressive;
};

const Setting kSettings[] = {
    {"baseline420q85", lumjpeg::Sampling::S420, TJSAMP_420, 85, false},
    {"baseline444q95", lumjpeg::Sampling::S444, TJSAMP_444, 95, false},
    {"progressive420q85", lumjpeg::Sampling::S420, TJSAMP_420, 85, true},
};

const Image& imageFor(int which) { return which == 0 ? demoPhoto() : twelveMegapixels(); }

// Into a buffer of TurboJPEG's worst-case size, kept across calls as a caller of it would.
class TjEncoder {
public:
    TjEncoder() : handle_(tjInitCompress()) {}
    ~TjEncoder()
    {
        tjFree(buffer_);
        tjDestroy(handle_);
    }
    TjEncoder(const TjEncoder&) = delete;
    TjEncoder& operator=(const TjEncoder&) = delete;

    unsigned long encode(const Image& img, const Setting& s)
    {
        const unsigned long bound = tjBufSize(img.width, img.height, s.tjSampling);
        if (bound > capacity_) {
            tjFree(buffer_);
            buffer_ = tjAlloc(static_cast<int>(bound));
            capacity_ = bound;
        }
        unsigned long size = capacity_;
        if (tjCompress2(handle_, img.pixels.data(), img.width, 0, img.height, TJPF_RGB, &buffer_, &size,
                        s.tjSampling, s.quality,
                        TJFLAG_NOREALLOC | (s.progressive ? TJFLAG_PROGRESSIVE : 0)) != 0)
            throw std::runtime_error(tjGetErrorStr2(handle_));
        return size;
    }
    const unsigned char* data() const { return buffer_; }

private:
    tjhandle handle_;
    unsigned char* buffer_ = nullptr;
    unsigned long capacity_ = 0;
};

void setPixels(benchmark::State& state, const Image& img)
{
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * img.width * img.height);
}

// Processor codes of the tiers, as the selector's test seam takes them.
constexpr int kTierCodes[] = {8, 6};
constexpr const char* kTierNames[] = {"t7", "w7"};

void lumEncode(benchmark::State& state, int tier, int setting, int which)
{
    lumSetTierByCpuCode(kTierCodes[tier]);
    const Setting& s = kSettings[setting];
    const Image& img = imageFor(which);
    lumjpeg::EncodeOptions o;
    o.quality = s.quality;
    o.sampling = s.sampling;
    o.progressive = s.progressive;
    for (auto _ : state) benchmark::DoNotOptimize(lumjpeg::encodeJpeg(img, o));
    setPixels(state, img);
}

void tjEncodeBench(benchmark::State& state, int setting, int which)
{
    TjEncoder tj;
    const Image& img = imageFor(which);
    for (auto _ : state) benchmark::DoNotOptimize(tj.encode(img, kSettings[setting]));
    setPixels(state, img);
}

// Both decoders read the same file, which TurboJPEG wrote at the setting.
std::vector<uint8_t> referenceFile(int setting, int which)
{
    TjEncoder tj;
    const unsigned long size = tj.encode(imageFor(which), kSettings[setting]);
    return std::vector<uint8_t>(tj.data(), tj.data() + size);
}

void lumDecode(benchmark::State& state, int tier, int setting, int which)
{
    lumSetTierByCpuCode(kTierCodes[tier]);
    const std::vector<uint8_t> jpeg = referenceFile(setting, which);
    Image out;
    for (auto _ : state) {
        lumjpeg::decodeJpegInto(jpeg.data(), jpeg.size(), out);
        benchmark::DoNotOptimize(out.pixels.data());
    }
    setPixels(state, imageFor(which));
}

// Chroma replicated, as lumjpeg up-samples; accurate integer IDCT, TurboJPEG's default.
void tjDecodeBench(benchmark::State& state, int setting, int which)
{
    const std::vector<uint8_t> jpeg = referenceFile(setting, which);
    const Image& img = imageFor(which);
    std::vector<uint8_t> out(img.pixels.size());
    tjhandle h = tjInitDecompress();
    for (auto _ : state) {
        if (tjDecompress2(h, jpeg.data(), jpeg.size(), out.data(), img.width, 0, img.height, TJPF_RGB,
                          TJFLAG_FASTUPSAMPLE) != 0)
            state.SkipWithError(tjGetErrorStr2(h));
        benchmark::DoNotOptimize(out.data());
    }
    tjDestroy(h);
    setPixels(state, img);
}

void registerAll()
{
    const char* images[] = {"photo", "12MP"};
    for (int which = 0; which < 2; ++which) {
        for (int s = 0; s < 3; ++s) {
            const std::string tail = std::string("/") + kSettings[s].name + "/" + images[which];
            for (int t = 0; t < 2; ++t)
                benchmark::RegisterBenchmark(("Encode/lumjpeg-" + std::string(kTierNames[t]) + tail).c_str(),
                                             lumEncode, t, s, which);
            benchmark::RegisterBenchmark(("Encode/turbojpeg" + tail).c_str(), tjEncodeBench, s, which);
            for (int t = 0; t < 2; ++t)
                benchmark::RegisterBenchmark(("Decode/lumjpeg-" + std::string(kTierNames[t]) + tail).c_str(),
                                             lumDecode, t, s, which);
            benchmark::RegisterBenchmark(("Decode/turbojpeg" + tail).c_str(), tjDecodeBench, s, which);
        }
    }
}

const int kRegistered = (registerAll(), 0);

}  // namespace

BENCHMARK_MAIN();
