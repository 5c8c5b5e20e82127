// Pictures as PNG.
#pragma once

#include <string>

#include "krdcmmn/platform/gdi.h"

namespace kr_app {

// The pixels as a PNG of 24 bits, with `dots_per_metre` as its resolution unless that is 0. Throws
// Failure for a picture without pixels and when there is no memory.
std::string PngOf(const PIXELS& pixels, unsigned dots_per_metre = 0);

}  // namespace kr_app
