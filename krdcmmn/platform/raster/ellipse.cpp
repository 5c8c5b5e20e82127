#include "krdcmmn/platform/raster/ellipse.h"

#include <algorithm>
#include <cmath>

#include "krdcmmn/platform/raster/mask.h"

namespace krraster {

namespace {

constexpr std::int64_t kNoRow = -1;

// The doubled places of visible rows in one half of the box: rows Y = first, first + 2, ..., last
// on the side where the row is top + (b + side Y) / 2. Empty when first > last.
struct HalfRows {
  std::int64_t first;
  std::int64_t last;

  bool holds(std::int64_t y) const { return y >= first && y <= last; }
};

HalfRows VisibleUpperRows(const Area& area, const Box& box) {
  const std::int64_t top = std::max<std::int64_t>(area.top, box.top) - box.top;
  const std::int64_t bottom = std::min<std::int64_t>(area.bottom - 1 - box.top, box.b / 2);
  return {box.b - 2 * bottom, box.b - 2 * top};
}

HalfRows VisibleLowerRows(const Area& area, const Box& box) {
  const std::int64_t top = std::max<std::int64_t>(area.top - box.top, box.b / 2 + 1);
  const std::int64_t bottom = std::min(area.bottom - 1 - box.top, box.b);
  return {2 * top - box.b, 2 * bottom - box.b};
}

// Calls `row(y, Y, extent, outer)` for each visible row of the outline's solid shape: its extent
// and that of the next row away from the middle, kNoRow beyond the last. Works outward row by row,
// so that each extent serves the row and its mirror image.
template <class Row>
void ForEachRow(const Area& area, const Box& box, Row&& row) {
  if (box.a < 0 || box.b < 0 || area.empty()) {
    return;
  }
  if (box.left >= area.right || box.left + box.a < area.left) {
    return;
  }
  const HalfRows upper = VisibleUpperRows(area, box);
  const HalfRows lower = VisibleLowerRows(area, box);
  if (upper.first > upper.last && lower.first > lower.last) {
    return;
  }
  std::int64_t first = upper.first;
  std::int64_t last = upper.last;
  if (lower.first <= lower.last) {
    const bool both = upper.first <= upper.last;
    first = both ? std::min(first, lower.first) : lower.first;
    last = both ? std::max(last, lower.last) : lower.last;
  }
  const OutlineExtent shape(box.a, box.b);
  std::int64_t outer = last + 2 <= box.b ? shape.at(last + 2) : kNoRow;
  for (std::int64_t y = last; y >= first; y -= 2) {
    const std::int64_t extent = shape.at(y);
    if (upper.holds(y)) {
      row(box.top + (box.b - y) / 2, -y, extent, outer);
    }
    if (lower.holds(y)) {
      row(box.top + (box.b + y) / 2, y, extent, outer);
    }
    outer = extent;
  }
}

// The outline's pixels of a row as columns: `left` and `right`, mirror images; `right` is empty
// when one run has them all.
struct OutlineRuns {
  std::int64_t left_low;
  std::int64_t left_high;
  std::int64_t right_low;
  std::int64_t right_high;
};

OutlineRuns RunsOf(const Box& box, std::int64_t extent, std::int64_t outer) {
  const std::int64_t low = box.left + (box.a - extent) / 2;
  const std::int64_t high = box.left + (box.a + extent) / 2;
  if (outer == kNoRow || extent == 0) {
    return {low, high, high + 1, high};
  }
  const std::int64_t start = std::min(extent, outer + 2);
  return {low, box.left + (box.a - start) / 2, box.left + (box.a + start) / 2, high};
}

template <class Kernel>
void PaintOutline(const Canvas& canvas, const Box& box, Kernel kernel) {
  const Area area = canvas.area();
  const CanvasSink<Kernel> sink{canvas, kernel};
  ForEachRow(area, box, [&](std::int64_t y, std::int64_t, std::int64_t extent, std::int64_t outer) {
    const OutlineRuns runs = RunsOf(box, extent, outer);
    ClippedRun(area, sink, y, runs.left_low, runs.left_high + 1);
    ClippedRun(area, sink, y, runs.right_low, runs.right_high + 1);
  });
}

// What is inside the outline, or with it when the shape has none.
template <class Kernel>
void PaintInside(const Canvas& canvas, const Box& box, bool with_outline, Kernel kernel) {
  const Area area = canvas.area();
  const CanvasSink<Kernel> sink{canvas, kernel};
  ForEachRow(area, box, [&](std::int64_t y, std::int64_t, std::int64_t extent, std::int64_t outer) {
    const OutlineRuns runs = RunsOf(box, extent, outer);
    if (with_outline) {
      ClippedRun(area, sink, y, runs.left_low, std::max(runs.left_high, runs.right_high) + 1);
    } else if (runs.right_low <= runs.right_high) {
      ClippedRun(area, sink, y, runs.left_high + 1, runs.right_low);
    }
  });
}

// Steps of a dashed outline are counted from the rightmost point anticlockwise, one for each column
// and one for each row that the way to a pixel crosses.
std::int64_t DashPosition(const Box& box, std::int64_t x, std::int64_t y) {
  const std::int64_t quarter = box.a / 2 + box.b / 2 + 1;
  const std::int64_t across = (box.a - std::abs(x)) / 2 + std::abs(y) / 2;
  const int turn = y <= 0 ? (x >= 0 ? 0 : 1) : (x < 0 ? 2 : 3);
  return turn % 2 == 0 ? turn * quarter + across : (turn + 1) * quarter - 1 - across;
}

void DrawDashedArc(const Canvas& canvas, const Stroke& stroke, const Box& box,
                   const Sector& sector) {
  const std::int64_t middle2 = 2 * box.left + box.a;
  const Area area = canvas.area();
  const auto paint = [&](Ink ink, bool dashes) {
    WithKernel(ink, [&](auto kernel) {
      ForEachRow(
          area, box, [&](std::int64_t y, std::int64_t qy, std::int64_t extent, std::int64_t outer) {
            const auto dots = [&](std::int64_t row, std::int64_t x0, std::int64_t x1) {
              for (std::int64_t x = x0; x < x1; ++x) {
                const std::int64_t qx = 2 * x - middle2;
                if (sector.holds(qx, qy) && stroke.dash_at(DashPosition(box, qx, qy)) == dashes) {
                  kernel.dot(canvas.at(x, row));
                }
              }
            };
            const OutlineRuns runs = RunsOf(box, extent, outer);
            ClippedRun(area, dots, y, runs.left_low, runs.left_high + 1);
            ClippedRun(area, dots, y, runs.right_low, runs.right_high + 1);
          });
    });
  };
  paint(stroke.ink, true);
  if (stroke.paints_gaps) {
    paint(stroke.gap, false);
  }
}

template <class Kernel>
void PaintArc(const Canvas& canvas, const Box& box, const Sector& sector, Kernel kernel) {
  const std::int64_t middle2 = 2 * box.left + box.a;
  const Area area = canvas.area();
  ForEachRow(area, box,
             [&](std::int64_t y, std::int64_t qy, std::int64_t extent, std::int64_t outer) {
               const auto pieces = [&](std::int64_t row, std::int64_t x0, std::int64_t x1) {
                 sector.Pieces(x0, x1 - 1, middle2, qy, [&](std::int64_t low, std::int64_t high) {
                   kernel.run(canvas.at(low, row), high - low + 1);
                 });
               };
               const OutlineRuns runs = RunsOf(box, extent, outer);
               ClippedRun(area, pieces, y, runs.left_low, runs.left_high + 1);
               ClippedRun(area, pieces, y, runs.right_low, runs.right_high + 1);
             });
}

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

void DrawWideArc(const Canvas& canvas, const Stroke& stroke, const Box& box, const Sector& sector) {
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

}  // namespace

void DrawEllipse(const Canvas& canvas, const Stroke& stroke, const Fill& fill, const Box& box) {
  if (fill.solid) {
    WithKernel(fill.ink, [&](auto kernel) {
      if (stroke.kind == StrokeKind::wide) {
        PaintInsideRing(canvas, box, stroke.width, kernel);
      } else {
        PaintInside(canvas, box, stroke.kind == StrokeKind::none, kernel);
      }
    });
  }
  switch (stroke.kind) {
    case StrokeKind::none:
      return;
    case StrokeKind::thin:
      WithKernel(stroke.ink, [&](auto kernel) { PaintOutline(canvas, box, kernel); });
      return;
    case StrokeKind::dashed:
      DrawDashedArc(canvas, stroke, box, Sector(box, {box.left, box.top}, {box.left, box.top}));
      return;
    case StrokeKind::wide:
      WithKernel(stroke.ink, [&](auto kernel) { PaintRing(canvas, box, stroke.width, kernel); });
      return;
  }
}

void DrawArc(const Canvas& canvas, const Stroke& stroke, const Box& box, Place start, Place end) {
  if (stroke.kind == StrokeKind::none || box.a < 0 || box.b < 0) {
    return;
  }
  const Sector sector(box, start, end);
  if (stroke.kind == StrokeKind::dashed) {
    DrawDashedArc(canvas, stroke, box, sector);
  } else if (sector.whole()) {
    DrawEllipse(canvas, stroke, Fill{false, {}}, box);
  } else if (stroke.kind == StrokeKind::wide) {
    DrawWideArc(canvas, stroke, box, sector);
  } else {
    WithKernel(stroke.ink, [&](auto kernel) { PaintArc(canvas, box, sector, kernel); });
  }
}

}  // namespace krraster
