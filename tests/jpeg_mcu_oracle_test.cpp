// The per-MCU colour conversions against libjpeg-turbo's (TurboJPEG's planar YUV encode and decode),
// on random images cut into MCUs, in every tier.
//
// Class: within a stated bound of an independent implementation. libjpeg-turbo rounds every
// per-pixel chroma value and then averages them with an alternating bias; the library averages the
// pixels first and rounds (vector tiers) or floors (px) once. Every output must agree within one
// level; the printed histograms give the agreement.
#include "tier_fixture.h"

#include <lum.h>

#include <gtest/gtest.h>
#include <turbojpeg.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <string>
#include <vector>

using lumtest::TierTest;

namespace {

constexpr int kWidth = 64, kHeight = 32;

using PlanesFn = LumStatus (*)(const Lum8u*, Lum32s, Lum16s* const*);
using PixelsFn = LumStatus (*)(const Lum16s* const*, Lum8u*, Lum32s);

struct Form {
    int name, width, height, fx, fy, tjSamp;
    PlanesFn toPlanes;
    PixelsFn toPixels;
};

const Form kForms[] = {
    {444, 8, 8, 1, 1, TJSAMP_444, lumiRGBToYCbCr444LS_MCU_8u16s_C3P3R, lumiYCbCr444ToRGBLS_MCU_16s8u_P3C3R},
    {422, 16, 8, 2, 1, TJSAMP_422, lumiRGBToYCbCr422LS_MCU_8u16s_C3P3R, lumiYCbCr422ToRGBLS_MCU_16s8u_P3C3R},
    {411, 16, 16, 2, 2, TJSAMP_420, lumiRGBToYCbCr411LS_MCU_8u16s_C3P3R, lumiYCbCr411ToRGBLS_MCU_16s8u_P3C3R},
};

int lumaAt(int x, int y) { return 64 * (x / 8 + 2 * (y / 8)) + 8 * (y % 8) + x % 8; }

// Differences between two byte images, counted by size.
struct Agreement {
    std::map<int, long> counts;
    int worst = 0;
    void add(int a, int b)
    {
        const int d = std::abs(a - b);
        ++counts[d];
        worst = std::max(worst, d);
    }
    std::string text() const
    {
        long total = 0;
        for (const auto& [d, n] : counts) total += n;
        std::string s;
        for (const auto& [d, n] : counts) {
            char buf[64];
            std::snprintf(buf, sizeof buf, " |d|=%d: %.1f%%", d,
                          100.0 * static_cast<double>(n) / static_cast<double>(total));
            s += buf;
        }
        return s;
    }
};

class TurboJpeg {
public:
    TurboJpeg() : handle_(tjInitCompress()), decoder_(tjInitDecompress()) {}
    ~TurboJpeg()
    {
        tjDestroy(handle_);
        tjDestroy(decoder_);
    }
    TurboJpeg(const TurboJpeg&) = delete;
    TurboJpeg& operator=(const TurboJpeg&) = delete;
    tjhandle encoder() const { return handle_; }
    tjhandle decoder() const { return decoder_; }

private:
    tjhandle handle_;
    tjhandle decoder_;
};

class McuOracleTest : public TierTest {};

TEST_P(McuOracleTest, RgbToYCbCrAgreesWithLibjpegTurbo)
{
    std::mt19937 rng(621);
    std::vector<unsigned char> rgb(kWidth * kHeight * 3);
    for (auto& b : rgb) b = static_cast<unsigned char>(rng());
    TurboJpeg tj;
    for (const Form& f : kForms) {
        const int cw = kWidth / f.fx, ch = kHeight / f.fy;
        std::vector<unsigned char> y(kWidth * kHeight), cb(cw * ch), cr(cw * ch);
        unsigned char* planes[3] = {y.data(), cb.data(), cr.data()};
        int strides[3] = {kWidth, cw, cw};
        ASSERT_EQ(tjEncodeYUVPlanes(tj.encoder(), rgb.data(), kWidth, kWidth * 3, kHeight, TJPF_RGB, planes,
                                    strides, f.tjSamp, 0),
                  0)
            << tjGetErrorStr2(tj.encoder());
        Agreement luma, chroma;
        for (int my = 0; my < kHeight; my += f.height)
            for (int mx = 0; mx < kWidth; mx += f.width) {
                alignas(16) Lum16s mcu[3][256];
                Lum16s* out[3] = {mcu[0], mcu[1], mcu[2]};
                ASSERT_EQ(f.toPlanes(&rgb[(my * kWidth + mx) * 3], kWidth * 3, out), lumStsNoErr);
                for (int py = 0; py < f.height; ++py)
                    for (int px = 0; px < f.width; ++px)
                        luma.add(mcu[0][lumaAt(px, py)] + 128, y[(my + py) * kWidth + mx + px]);
                for (int c = 0; c < 64; ++c) {
                    const int at = (my / f.fy + c / 8) * cw + mx / f.fx + c % 8;
                    chroma.add(mcu[1][c] + 128, cb[at]);
                    chroma.add(mcu[2][c] + 128, cr[at]);
                }
            }
        std::printf("[ oracle   ] %s forward %d  Y:%s  CbCr:%s\n", lumtest::kTierTags[slot()], f.name,
                    luma.text().c_str(), chroma.text().c_str());
        EXPECT_LE(luma.worst, 1) << f.name;
        EXPECT_LE(chroma.worst, 1) << f.name;
    }
}

TEST_P(McuOracleTest, YCbCrToRgbAgreesWithLibjpegTurbo)
{
    std::mt19937 rng(622);
    TurboJpeg tj;
    for (const Form& f : kForms) {
        const int cw = kWidth / f.fx, ch = kHeight / f.fy;
        std::vector<unsigned char> y(kWidth * kHeight), cb(cw * ch), cr(cw * ch);
        for (auto* p : {&y, &cb, &cr})
            for (auto& b : *p) b = static_cast<unsigned char>(rng());
        const unsigned char* planes[3] = {y.data(), cb.data(), cr.data()};
        int strides[3] = {kWidth, cw, cw};
        std::vector<unsigned char> rgb(kWidth * kHeight * 3);
        // Fast upsampling replicates chroma, as the MCU functions do.
        ASSERT_EQ(tjDecodeYUVPlanes(tj.decoder(), planes, strides, f.tjSamp, rgb.data(), kWidth, kWidth * 3,
                                    kHeight, TJPF_RGB, TJFLAG_FASTUPSAMPLE),
                  0)
            << tjGetErrorStr2(tj.decoder());
        Agreement agreement;
        for (int my = 0; my < kHeight; my += f.height)
            for (int mx = 0; mx < kWidth; mx += f.width) {
                alignas(16) Lum16s mcu[3][256];
                for (int py = 0; py < f.height; ++py)
                    for (int px = 0; px < f.width; ++px)
                        mcu[0][lumaAt(px, py)] = static_cast<Lum16s>(y[(my + py) * kWidth + mx + px] - 128);
                for (int c = 0; c < 64; ++c) {
                    const int at = (my / f.fy + c / 8) * cw + mx / f.fx + c % 8;
                    mcu[1][c] = static_cast<Lum16s>(cb[at] - 128);
                    mcu[2][c] = static_cast<Lum16s>(cr[at] - 128);
                }
                const Lum16s* in[3] = {mcu[0], mcu[1], mcu[2]};
                Lum8u out[16 * 16 * 3];
                ASSERT_EQ(f.toPixels(in, out, f.width * 3), lumStsNoErr);
                for (int py = 0; py < f.height; ++py)
                    for (int i = 0; i < f.width * 3; ++i)
                        agreement.add(out[py * f.width * 3 + i], rgb[((my + py) * kWidth + mx) * 3 + i]);
            }
        std::printf("[ oracle   ] %s inverse %d  RGB:%s\n", lumtest::kTierTags[slot()], f.name,
                    agreement.text().c_str());
        EXPECT_LE(agreement.worst, 1) << f.name;
    }
}

LUM_ALL_TIERS(McuOracleTest);

}  // namespace
