#include "krdcmmn/platform/raster/ellipse.h"

#include <cstdlib>

#include "krdcmmn/platform/raster/ellipse_rows.h"
#include "krdcmmn/platform/raster/ring.h"

namespace krraster {

namespace {

// Hands the visible runs of the outline and of what is inside it to their sinks.
template <class Outline, class Inside>
void RowsOfEllipse(const Area& area, const Box& box, Outline&& outline, Inside&& inside) {
  ForEachRow(area, box, [&](std::int64_t y, std::int64_t, std::int64_t extent, std::int64_t outer) {
    const OutlineRuns runs = RunsOf(box, extent, outer);
    ClippedRun(area, outline, y, runs.left_low, runs.left_high + 1);
    if (runs.right_low <= runs.right_high) {
      ClippedRun(area, outline, y, runs.right_low, runs.right_high + 1);
      ClippedRun(area, inside, y, runs.left_high + 1, runs.right_low);
    }
  });
}

// The kernel of what is not painted.
struct NoKernel {
  void dot(std::uint32_t*) const {}
  void run(std::uint32_t*, std::int64_t) const {}
};

template <class Work>
void WithFillKernel(const Fill& fill, Work&& work) {
  if (fill.solid) {
    WithKernel(fill.ink, work);
  } else {
    work(NoKernel{});
  }
}

// An ellipse that lies on the canvas whole. A row's runs, left and right, and those of its mirror
// image have one length: one loop paints all four.
template <class Pen, class Brush>
void PaintWhole(const Canvas& canvas, const Box& box, Pen pen, Brush brush) {
  const std::int64_t first = box.b & 1;
  const RowExtents shape(box, first, box.b);
  std::uint32_t* upper = canvas.at(box.left, box.top);
  std::uint32_t* lower = upper + box.b * canvas.stride;
  std::int64_t outer = kNoRow;
  for (std::int64_t y = box.b; y >= first; y -= 2, upper += canvas.stride, lower -= canvas.stride) {
    const std::int64_t extent = shape.at(y);
    const std::int64_t low = (box.a - extent) / 2;
    if (outer == kNoRow || extent == 0) {
      pen.run(upper + low, extent + 1);
      if (y != 0) {
        pen.run(lower + low, extent + 1);
      }
    } else {
      const std::int64_t start = std::min(extent, outer + 2);
      const std::int64_t count = (extent - start) / 2 + 1;
      const std::int64_t high = (box.a + start) / 2;
      for (std::int64_t i = 0; i < count; ++i) {
        pen.dot(upper + low + i);
        pen.dot(upper + high + i);
        if (y != 0) {
          pen.dot(lower + low + i);
          pen.dot(lower + high + i);
        }
      }
      if (start > 1) {
        brush.run(upper + low + count, start - 1);
        if (y != 0) {
          brush.run(lower + low + count, start - 1);
        }
      }
    }
    outer = extent;
  }
}

void DrawThinEllipse(const Canvas& canvas, const Stroke& stroke, const Fill& fill, const Box& box) {
  const Area area = canvas.area();
  const bool whole = box.a >= 0 && box.b >= 0 && area.holds({box.left, box.top}) &&
                     area.holds({box.left + box.a, box.top + box.b});
  WithKernel(stroke.ink, [&](auto pen) {
    WithFillKernel(fill, [&](auto brush) {
      if (whole) {
        PaintWhole(canvas, box, pen, brush);
      } else {
        RowsOfEllipse(area, box, CanvasSink<decltype(pen)>{canvas, pen},
                      CanvasSink<decltype(brush)>{canvas, brush});
      }
    });
  });
}

// What is inside a dashed outline, without its gaps.
void FillInside(const Canvas& canvas, Ink ink, const Box& box) {
  WithKernel(ink, [&](auto brush) {
    RowsOfEllipse(canvas.area(), box, CanvasSink<NoKernel>{canvas, {}},
                  CanvasSink<decltype(brush)>{canvas, brush});
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

// What a sector takes of each quarter of an ellipse: all, nothing, or a part.
enum class Share { all, none, part };

struct Quarters {
  Share of[2][2];  // by the sides, 1 where Y > 0 and where X > 0

  explicit Quarters(const Sector& sector) {
    for (const int down : {0, 1}) {
      for (const int right : {0, 1}) {
        const auto x = right == 1 ? 1 : -1;
        const auto y = down == 1 ? 1 : -1;
        const auto meets = [&](Place ray) { return ray.x * x >= 0 && ray.y * y >= 0; };
        const bool met = meets(sector.start()) || meets(sector.end());
        of[down][right] = met ? Share::part : sector.holds(x, y) ? Share::all : Share::none;
      }
    }
  }
};

template <class Kernel>
void PaintArc(const Canvas& canvas, const Box& box, const Sector& sector, Kernel kernel) {
  const std::int64_t middle2 = 2 * box.left + box.a;
  const Area area = canvas.area();
  const Quarters quarters(sector);
  const CanvasSink<Kernel> sink{canvas, kernel};
  ForEachRow(area, box,
             [&](std::int64_t y, std::int64_t qy, std::int64_t extent, std::int64_t outer) {
               const auto pieces = [&](std::int64_t row, std::int64_t x0, std::int64_t x1) {
                 sector.Pieces(x0, x1 - 1, middle2, qy, [&](std::int64_t low, std::int64_t high) {
                   kernel.run(canvas.at(low, row), high - low + 1);
                 });
               };
               const OutlineRuns runs = RunsOf(box, extent, outer);
               const bool halves = runs.right_low <= runs.right_high && qy != 0;
               const auto paint = [&](int right, std::int64_t x0, std::int64_t x1) {
                 const Share share = halves ? quarters.of[qy > 0 ? 1 : 0][right] : Share::part;
                 if (share == Share::all) {
                   ClippedRun(area, sink, y, x0, x1);
                 } else if (share == Share::part) {
                   ClippedRun(area, pieces, y, x0, x1);
                 }
               };
               paint(0, runs.left_low, runs.left_high + 1);
               paint(1, runs.right_low, runs.right_high + 1);
             });
}

// Whether nothing of a large shape is to be seen.
bool PassesBy(const Canvas& canvas, const Stroke& stroke, const Box& box, bool filled) {
  constexpr std::int64_t kLarge = 1024;
  if (box.a < kLarge || box.b < kLarge) {
    return false;
  }
  const Where where = Locate(canvas.area(), box, stroke.width);
  return where == Where::outside || (where == Where::inside && !filled);
}

}  // namespace

void DrawEllipse(const Canvas& canvas, const Stroke& stroke, const Fill& fill, const Box& box) {
  if (PassesBy(canvas, stroke, box, fill.solid)) {
    return;
  }
  switch (stroke.kind) {
    case StrokeKind::none:  // the fill takes the outline's pixels too
      if (fill.solid) {
        DrawThinEllipse(canvas, Stroke{StrokeKind::thin, fill.ink, 1, 0, false, {}}, fill, box);
      }
      return;
    case StrokeKind::thin:
      DrawThinEllipse(canvas, stroke, fill, box);
      return;
    case StrokeKind::dashed:
      if (fill.solid) {
        FillInside(canvas, fill.ink, box);
      }
      DrawDashedArc(canvas, stroke, box, Sector(box, {box.left, box.top}, {box.left, box.top}));
      return;
    case StrokeKind::wide:
      DrawRing(canvas, stroke, fill, box);
      return;
  }
}

void DrawArc(const Canvas& canvas, const Stroke& stroke, const Box& box, Place start, Place end) {
  if (stroke.kind == StrokeKind::none || box.a < 0 || box.b < 0 ||
      PassesBy(canvas, stroke, box, false)) {
    return;
  }
  const Sector sector(box, start, end);
  if (stroke.kind == StrokeKind::dashed) {
    DrawDashedArc(canvas, stroke, box, sector);
  } else if (sector.whole()) {
    DrawEllipse(canvas, stroke, Fill{false, {}}, box);
  } else if (stroke.kind == StrokeKind::wide) {
    DrawRingPart(canvas, stroke, box, sector);
  } else {
    WithKernel(stroke.ink, [&](auto kernel) { PaintArc(canvas, box, sector, kernel); });
  }
}

}  // namespace krraster
