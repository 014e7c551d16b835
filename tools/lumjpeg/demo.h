// `lumjpeg demo`: the library at work on one photo, with sizes, quality and speed.
#pragma once

#include <string>

namespace lumjpeg {

// Runs the demo on `photoPath` (a PPM or PGM), or on the built-in photo when it is empty, and writes
// its files into `outDir`. Returns the exit status.
int runDemo(const std::string& photoPath, const std::string& outDir);

}  // namespace lumjpeg
