// `lumjpeg info`: what the marker segments of a file say.
#pragma once

#include <string>

#include "jpeg_markers.h"

namespace lumjpeg {

// A few lines of "key: value" text on frame, components, sampling, tables, restart interval and scans.
std::string describeJpeg(const JpegStream& s, size_t fileSize);

}  // namespace lumjpeg
