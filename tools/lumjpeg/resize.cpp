// Scaling through the library's two resize exports.
#include "resize.h"

#include <lum.h>

#include <vector>

namespace lumjpeg {

namespace {

void check(LumStatus status, const char* what)
{
    if (status < 0) throw Error(std::string(what) + ": " + lumGetStatusString(status));
}

}  // namespace

int interpolationByName(const std::string& name)
{
    if (name == "nearest") return lumResizeNearest;
    if (name == "linear") return lumResizeLinear;
    if (name == "cubic") return lumResizeCubic;
    if (name == "lanczos") return lumResizeLanczos;
    if (name == "super") return lumResizeSuper;
    throw Error("--mode must be nearest, linear, cubic, lanczos or super");
}

Image resizeImage(const Image& source, int width, int height, int interpolation)
{
    if (width < 1 || height < 1) throw Error("the result must be at least 1x1");
    const LumSize srcSize{source.width, source.height};
    const LumRect srcRoi{0, 0, source.width, source.height};
    const Lum32s srcStep = static_cast<Lum32s>(source.stride());
    const double xFactor = static_cast<double>(width) / source.width;
    const double yFactor = static_cast<double>(height) / source.height;
    Image result(width, height, source.channels);
    const Lum32s dstStep = static_cast<Lum32s>(result.stride());

    if (source.channels == 3) {
        check(lumiResize_8u_C3R(source.pixels.data(), srcSize, srcStep, srcRoi, result.pixels.data(), dstStep,
                                LumSize{width, height}, xFactor, yFactor, interpolation),
              "lumiResize_8u_C3R");
    } else if (source.channels == 1) {
        if (interpolation == lumResizeSuper) throw Error("super-sampling takes three channels; use area by linear");
        Lum32s scratchSize = 0;
        check(lumiResizeSqrPixelGetBufSize(LumSize{width, height}, 1, interpolation, &scratchSize),
              "lumiResizeSqrPixelGetBufSize");
        std::vector<Lum8u> scratch(static_cast<size_t>(scratchSize > 0 ? scratchSize : 1));
        check(lumiResizeSqrPixel_8u_C1R(source.pixels.data(), srcSize, srcStep, srcRoi, result.pixels.data(),
                                        dstStep, LumRect{0, 0, width, height}, xFactor, yFactor, 0.0, 0.0,
                                        interpolation, scratch.data()),
              "lumiResizeSqrPixel_8u_C1R");
    } else {
        throw Error("resize takes grey or RGB images");
    }
    return result;
}

}  // namespace lumjpeg
