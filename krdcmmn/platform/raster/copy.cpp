#include "krdcmmn/platform/raster/copy.h"

#include <cstring>

#include "krdcmmn/platform/raster/mask.h"

namespace krraster {

void CopyPixels(const Canvas& target, Place to, std::int64_t w, std::int64_t h,
                const Canvas& source, Place at) {
  // The first and the end offset that lie on both canvases, on each axis.
  const std::int64_t x0 = std::max<std::int64_t>({0, -to.x, -at.x});
  const std::int64_t y0 = std::max<std::int64_t>({0, -to.y, -at.y});
  const std::int64_t x1 = std::min({w, target.width - to.x, source.width - at.x});
  const std::int64_t y1 = std::min({h, target.height - to.y, source.height - at.y});
  if (x0 >= x1 || y0 >= y1) {
    return;
  }
  const std::size_t bytes = static_cast<std::size_t>(x1 - x0) * sizeof(std::uint32_t);
  // Within one bitmap from the last row up when the rows move down: the first ones are read last.
  const bool upward = target.data == source.data && to.y > at.y;
  const std::ptrdiff_t step = upward ? -1 : 1;
  const std::int64_t first = upward ? y1 - 1 : y0;
  std::uint32_t* into = target.at(to.x + x0, to.y + first);
  const std::uint32_t* from = source.at(at.x + x0, at.y + first);
  for (std::int64_t left = y1 - y0;;) {
    std::memmove(into, from, bytes);
    if (--left == 0) {
      return;
    }
    into += step * target.stride;
    from += step * source.stride;
  }
}

void FillPixels(const Canvas& target, Place to, std::int64_t w, std::int64_t h,
                std::uint32_t pixel) {
  const Area area = Intersection(target.area(), to.x, to.y, to.x + w, to.y + h);
  for (std::int64_t y = area.top; y < area.bottom && area.left < area.right; ++y) {
    CopyKernel{pixel}.run(target.at(area.left, y), area.right - area.left);
  }
}

}  // namespace krraster
