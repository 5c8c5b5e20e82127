// Rectangles of pixels: copied and filled.
#pragma once

#include <cstdint>

#include "krdcmmn/platform/raster/canvas.h"

namespace krraster {

// Copies w by h pixels of `source` from `at` to `to`. Only pixels that both canvases have are
// touched; the canvases may be one, with the areas overlapping.
void CopyPixels(const Canvas& target, Place to, std::int64_t w, std::int64_t h,
                const Canvas& source, Place at);

void FillPixels(const Canvas& target, Place to, std::int64_t w, std::int64_t h,
                std::uint32_t pixel);

}  // namespace krraster
