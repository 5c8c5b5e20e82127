#include "krdcmmn/platform/raster/ring.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "krdcmmn/platform/raster/mask.h"

namespace krraster {

namespace {

// A wide pen's ring lies between the ellipse grown and the ellipse shrunk by half the width: pixel
// centres inside the first and not inside the second. Calls `row(y, Y, outer, inner)` for each
// visible row, the extents below 0 where there are none.
template <class Row>
void ForEachRingRow(const Area& area, const Box& box, std::int64_t width, Row&& row) {
  if (box.a < 0 || box.b < 0 || box.left - width >= area.right ||
      box.left + box.a + width < area.left) {
    return;
  }
  const InsideExtent grown(box.a + width, box.b + width);
  const InsideExtent shrunk(box.a - width, box.b - width);
  const std::int64_t first = std::max<std::int64_t>(area.top, box.top - width / 2);
  const std::int64_t last = std::min<std::int64_t>(area.bottom - 1, box.top + box.b + width / 2);
  for (std::int64_t y = first; y <= last; ++y) {
    const std::int64_t qy = 2 * (y - box.top) - box.b;
    const std::int64_t outer = grown.at(std::abs(qy), box.a & 1);
    if (outer >= 0) {
      row(y, qy, outer, shrunk.at(std::abs(qy), box.a & 1));
    }
  }
}

// Columns of the doubled extents -x to x.
std::int64_t LowColumn(const Box& box, std::int64_t x) {
  return box.left + (box.a - x) / 2;
}
std::int64_t HighColumn(const Box& box, std::int64_t x) {
  return box.left + (box.a + x) / 2;
}

// Hands the runs of a ring's row to `sink(y, x0, x1)`.
template <class Sink>
void RingRuns(const Area& area, const Box& box, std::int64_t y, std::int64_t outer,
              std::int64_t inner, Sink&& sink) {
  if (inner < 0) {
    ClippedRun(area, sink, y, LowColumn(box, outer), HighColumn(box, outer) + 1);
    return;
  }
  ClippedRun(area, sink, y, LowColumn(box, outer), LowColumn(box, inner));
  ClippedRun(area, sink, y, HighColumn(box, inner) + 1, HighColumn(box, outer) + 1);
}

template <class Kernel>
void PaintRing(const Canvas& canvas, const Box& box, std::int64_t width, Kernel kernel) {
  const CanvasSink<Kernel> sink{canvas, kernel};
  ForEachRingRow(canvas.area(), box, width,
                 [&](std::int64_t y, std::int64_t, std::int64_t outer, std::int64_t inner) {
                   RingRuns(canvas.area(), box, y, outer, inner, sink);
                 });
}

template <class Kernel>
void PaintInsideRing(const Canvas& canvas, const Box& box, std::int64_t width, Kernel kernel) {
  const CanvasSink<Kernel> sink{canvas, kernel};
  ForEachRingRow(canvas.area(), box, width,
                 [&](std::int64_t y, std::int64_t, std::int64_t, std::int64_t inner) {
                   if (inner >= 0) {
                     ClippedRun(canvas.area(), sink, y, LowColumn(box, inner),
                                HighColumn(box, inner) + 1);
                   }
                 });
}

// The round end of a wide arc: the disc about the point where the ray meets the ellipse.
void AddRoundEnd(Mask& mask, const Box& box, std::int64_t width, Place ray) {
  const double rx = static_cast<double>(ray.x);
  const double ry = static_cast<double>(ray.y);
  const double a = static_cast<double>(std::max<std::int64_t>(box.a, 1));
  const double b = static_cast<double>(std::max<std::int64_t>(box.b, 1));
  const double scale = 1.0 / std::sqrt(rx / a * (rx / a) + ry / b * (ry / b));
  const double x = rx * scale;  // doubled, from the middle
  const double y = ry * scale;
  const double reach = static_cast<double>(width);
  const Area& area = mask.area();
  const double middle = static_cast<double>(box.b);
  const auto row_of = [&](double doubled) {
    return box.top + static_cast<std::int64_t>(std::floor((middle + doubled) / 2));
  };
  const std::int64_t first = std::max<std::int64_t>(area.top, row_of(y - reach));
  const std::int64_t last = std::min<std::int64_t>(area.bottom - 1, row_of(y + reach) + 1);
  for (std::int64_t row = first; row <= last; ++row) {
    const double dy = static_cast<double>(2 * (row - box.top) - box.b) - y;
    const double square = reach * reach - dy * dy;
    if (square >= 0) {
      const double half = std::sqrt(square);
      const double left = std::ceil((static_cast<double>(box.a) + x - half) / 2);
      const double right = std::floor((static_cast<double>(box.a) + x + half) / 2);
      ClippedRun(
          area, [&](std::int64_t r, std::int64_t x0, std::int64_t x1) { mask.set(r, x0, x1); }, row,
          box.left + static_cast<std::int64_t>(left),
          box.left + static_cast<std::int64_t>(right) + 1);
    }
  }
}

}  // namespace

void DrawRing(const Canvas& canvas, const Stroke& stroke, const Fill& fill, const Box& box) {
  WithKernel(stroke.ink, [&](auto kernel) { PaintRing(canvas, box, stroke.width, kernel); });
  if (fill.solid) {
    WithKernel(fill.ink, [&](auto kernel) { PaintInsideRing(canvas, box, stroke.width, kernel); });
  }
}

void DrawRingPart(const Canvas& canvas, const Stroke& stroke, const Box& box,
                  const Sector& sector) {
  const std::int64_t width = stroke.width;
  const Area area = Intersection(canvas.area(), box.left - width, box.top - width,
                                 box.left + box.a + width + 1, box.top + box.b + width + 1);
  if (area.empty()) {
    return;
  }
  const std::int64_t middle2 = 2 * box.left + box.a;
  Mask mask(area);
  ForEachRingRow(area, box, width,
                 [&](std::int64_t y, std::int64_t qy, std::int64_t outer, std::int64_t inner) {
                   RingRuns(area, box, y, outer, inner,
                            [&](std::int64_t row, std::int64_t x0, std::int64_t x1) {
                              sector.Pieces(x0, x1 - 1, middle2, qy,
                                            [&](std::int64_t low, std::int64_t high) {
                                              mask.set(row, low, high + 1);
                                            });
                            });
                 });
  AddRoundEnd(mask, box, width, sector.start());
  AddRoundEnd(mask, box, width, sector.end());
  Paint(canvas, mask, stroke.ink);
}

}  // namespace krraster
