// Scaling through the library: three channels with lumiResize_8u_C3R, one with
// lumiResizeSqrPixel_8u_C1R and the scratch block it asks for.
#pragma once

#include <string>

#include "image.h"

namespace lumjpeg {

// The library's interpolation code for "nearest", "linear", "cubic", "lanczos" or "super".
int interpolationByName(const std::string& name);

// Scales `source` to width by height. Three channels map the first and last samples onto the first
// and last; one channel maps pixel centres. Throws Error with the library's status text on failure.
Image resizeImage(const Image& source, int width, int height, int interpolation);

}  // namespace lumjpeg
