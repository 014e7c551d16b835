// Resize against an independent implementation: OpenCV's cv::resize with matching conventions. Linear
// mode of lumiResizeSqrPixel_8u_C1R maps pixel centres like INTER_LINEAR; super-sampling of
// lumiResize_8u_C3R at whole factors is the box mean of INTER_AREA. The two use different fixed-point
// weights, so they may differ by two levels; the comparison runs over the interior, away from the
// border rows and columns and from the rows that the linear first-row rule fills from image row 0.
#include "test_support.h"
#include "tier_fixture.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <vector>

namespace {

class ResizeOracleTest : public lumtest::TierTest {};

// A photograph-like test card: gradients, a few edges and some noise.
cv::Mat testCard(int width, int height, int channels, uint32_t seed)
{
    cv::Mat m(height, width, CV_8UC(channels));
    const auto noise = lumtest::randomBytes(size_t(width) * height * channels, seed);
    for (int r = 0; r < height; ++r)
        for (int c = 0; c < width; ++c)
            for (int ch = 0; ch < channels; ++ch) {
                int v = (r * 3 + c * (ch + 2)) % 256;
                if ((r / 9 + c / 13) % 2 == 0) v = 255 - v;
                v += int(noise[(size_t(r) * width + c) * channels + ch] % 21) - 10;
                m.ptr<uint8_t>(r)[c * channels + ch] = uint8_t(std::clamp(v, 0, 255));
            }
    return m;
}

// The floor index of the pixel-centre position of destination pixel k.
int floorIndex(int k, double inverse) { return int(std::floor((k + 0.5) * inverse - 0.5)); }

TEST_P(ResizeOracleTest, LinearAgreesWithOpenCv)
{
    const int w = 97, h = 61;
    const cv::Mat src = testCard(w, h, 1, 77);
    const struct {
        int dw, dh;
    } kSizes[] = {{194, 122}, {48, 30}, {73, 46}, {155, 97}, {32, 20}};
    for (const auto& s : kSizes) {
        const double xf = double(s.dw) / w, yf = double(s.dh) / h;
        cv::Mat want;
        cv::resize(src, want, cv::Size(s.dw, s.dh), 0, 0, cv::INTER_LINEAR);

        cv::Mat got(s.dh, s.dw, CV_8UC1, cv::Scalar(0));
        Lum32s size = 0;
        ASSERT_EQ(lumiResizeSqrPixelGetBufSize({s.dw, s.dh}, 1, lumResizeLinear, &size), lumStsNoErr);
        std::vector<uint8_t> scratch(static_cast<size_t>(size));
        // The source is read one row and one sample past the last where a position lands on it.
        cv::Mat padded;
        cv::copyMakeBorder(src, padded, 0, 1, 0, 1, cv::BORDER_REPLICATE);
        ASSERT_EQ(lumiResizeSqrPixel_8u_C1R(padded.data, {w, h}, int(padded.step), {0, 0, w, h}, got.data,
                                            int(got.step), {0, 0, s.dw, s.dh}, xf, yf, 0.0, 0.0,
                                            lumResizeLinear, scratch.data()),
                  lumStsNoErr);

        // The floor index of the first interior row, whose rows the first-row rule fills from row 0.
        int firstRow = 0;
        for (int r = 0; r < s.dh; ++r)
            if ((firstRow = floorIndex(r, 1.0 / yf)) >= 0) break;
        int compared = 0, worst = 0;
        for (int r = 0; r < s.dh; ++r) {
            const int qy = floorIndex(r, 1.0 / yf);
            if (qy < 0 || qy >= h - 1 || qy == firstRow) continue;
            for (int c = 0; c < s.dw; ++c) {
                const int qx = floorIndex(c, 1.0 / xf);
                if (qx < 0 || qx >= w - 1) continue;
                worst = std::max(worst, std::abs(int(got.at<uint8_t>(r, c)) - int(want.at<uint8_t>(r, c))));
                ++compared;
            }
        }
        EXPECT_GT(compared, s.dw * s.dh / 2) << s.dw << "x" << s.dh;
        EXPECT_LE(worst, 2) << s.dw << "x" << s.dh;
    }
}

TEST_P(ResizeOracleTest, WholeFactorSuperSamplingAgreesWithAreaMeans)
{
    const int w = 96, h = 60;
    const cv::Mat src = testCard(w, h, 3, 78);
    for (int k : {2, 3, 4}) {
        const double f = 1.0 / k;
        cv::Mat want;
        cv::resize(src, want, cv::Size(w / k, h / k), 0, 0, cv::INTER_AREA);
        cv::Mat got(h / k, w / k, CV_8UC3, cv::Scalar(0, 0, 0));
        ASSERT_EQ(lumiResize_8u_C3R(src.data, {w, h}, int(src.step), {0, 0, w, h}, got.data, int(got.step),
                                    {w / k, h / k}, f, f, lumResizeSuper),
                  lumStsNoErr);
        double worst = cv::norm(got, want, cv::NORM_INF);
        EXPECT_LE(worst, 2) << k;
    }
}

LUM_ALL_TIERS(ResizeOracleTest);

}  // namespace
