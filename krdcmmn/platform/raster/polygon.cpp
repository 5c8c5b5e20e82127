#include "krdcmmn/platform/raster/polygon.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "krdcmmn/platform/raster/capsule.h"
#include "krdcmmn/platform/raster/line.h"
#include "krdcmmn/platform/raster/mask.h"

namespace krraster {

namespace {

// The inside of a polygon, as it grows edge by edge: a bit is flipped where an edge crosses a row,
// at the first pixel centre on or right of it.
class Inside {
 public:
  explicit Inside(const Area& area) : mask_(area), width_(std::int64_t{area.right} - area.left) {}

  void add_edge(Place a, Place b) {
    if (a.y > b.y) {
      std::swap(a, b);
    }
    const std::int64_t first = std::max<std::int64_t>(a.y, mask_.area().top);
    const std::int64_t end = std::min<std::int64_t>(b.y, mask_.area().bottom);
    if (first >= end || std::min(a.x, b.x) >= mask_.area().right) {
      return;
    }
    const auto below = [&](std::int64_t limit) {
      return b.y - a.y < limit && b.x - a.x < limit && a.x - b.x < limit;
    };
    if (std::max(a.x, b.x) <= mask_.area().left) {
      flip_first_column(first, end);
    } else if (below(SlopeWalk::kLimit)) {
      flip(SlopeWalk(b.x - a.x, b.y - a.y, Rounding::up, first - a.y), a.x, first, end);
    } else if (below(std::int64_t{1} << 30)) {
      add_long_edge<std::int64_t>(a, b, first, end);
    } else {
      add_long_edge<int128>(a, b, first, end);
    }
  }

  // After the last edge. The mask is good as long as this.
  Mask& finish() {
    bool odd = false;
    for (std::size_t i = 0; i < first_column_.size(); ++i) {
      odd ^= first_column_[i];
      if (odd) {
        mask_.flip(mask_.area().left, mask_.area().top + static_cast<std::int64_t>(i));
      }
    }
    mask_.fill_between_flips();
    return mask_;
  }

 private:
  // An edge that may be far longer than what is seen of it: when it passes the area on one side its
  // rows are not walked.
  template <class Int>
  void add_long_edge(Place a, Place b, std::int64_t first, std::int64_t end) {
    const Int dx = b.x - a.x;
    const Int dy = b.y - a.y;
    const Int left = mask_.area().left - a.x;
    const auto crossing = [&](std::int64_t y) { return dx * (y - a.y) + dy - 1; };  // times dy
    const auto sides = std::minmax({crossing(first), crossing(end - 1)});
    if (FloorDiv<Int>(sides.first, dy) >= left + width_) {
      return;
    }
    if (FloorDiv<Int>(sides.second, dy) <= left) {
      flip_first_column(first, end);
      return;
    }
    flip(FloorWalk<Int>(crossing(first), dx, dy), a.x, first, end);
  }

  template <class Walk>
  void flip(Walk moved, std::int64_t start, std::int64_t first, std::int64_t end) {
    std::uint64_t* row = mask_.row(first);
    const std::int64_t left = start - mask_.area().left;
    for (std::int64_t y = first; y < end; ++y, row += mask_.words(), moved.next()) {
      const auto x =
          static_cast<std::int64_t>(std::max<decltype(moved.value())>(left + moved.value(), 0));
      if (x < width_) {
        row[x >> 6] ^= std::uint64_t{1} << (x & 63);
      }
    }
  }

  // For edges left of the area: their rows are kept as the two ends of a range.
  void flip_first_column(std::int64_t first, std::int64_t end) {
    if (first_column_.empty()) {
      first_column_.resize(static_cast<std::size_t>(mask_.area().bottom) -
                           static_cast<std::size_t>(mask_.area().top) + 1);
    }
    const std::int64_t top = mask_.area().top;
    for (const std::int64_t y : {first, end}) {
      const auto at = static_cast<std::size_t>(y - top);
      first_column_[at] = !first_column_[at];
    }
  }

  Mask mask_;
  std::int64_t width_;
  std::vector<bool> first_column_;  // rows where the first column's parity changes, and the end
};

// Calls `edge(from, to)` for each edge, the closing one last.
template <class Edge>
void ForEachEdge(const Corners& corners, Edge&& edge) {
  Place from = corners.at(0);
  for (std::size_t i = 1; i < corners.count; ++i) {
    const Place to = corners.at(i);
    edge(from, to);
    from = to;
  }
  edge(from, corners.at(0));
}

void AddThinOutline(Mask& mask, const Corners& corners) {
  ForEachEdge(corners, [&](Place a, Place b) {
    LineSteps steps;
    if (VisibleSteps(mask.area(), a, b, &steps)) {
      ForEachLineRun(steps, [&](std::int64_t y, std::int64_t x0, std::int64_t x1) {
        if (x1 - x0 == 1) {
          mask.set(x0, y);
        } else {
          mask.set(y, x0, x1);
        }
      });
    } else if (mask.area().holds(a)) {  // an edge of one pixel
      mask.set(a.x, a.y);
    }
  });
}

void AddDashedOutline(Mask& dashes, Mask& gaps, const Stroke& stroke, const Corners& corners) {
  std::int64_t start = 0;
  ForEachEdge(corners, [&](Place a, Place b) {
    LineSteps steps;
    if (VisibleSteps(dashes.area(), a, b, &steps)) {
      ForEachStep(steps, [&](std::int64_t x, std::int64_t y, std::int64_t step) {
        (stroke.dash_at(start + step) ? dashes : gaps).set(x, y);
      });
    } else if (dashes.area().holds(a)) {  // an edge of one pixel
      (stroke.dash_at(start) ? dashes : gaps).set(a.x, a.y);
    }
    const std::int64_t dx = a.x < b.x ? b.x - a.x : a.x - b.x;
    const std::int64_t dy = a.y < b.y ? b.y - a.y : a.y - b.y;
    start = (start + std::max(dx, dy)) % Stroke::kPeriod;
  });
}

void AddWideOutline(Mask& mask, const Stroke& stroke, const Corners& corners) {
  ForEachEdge(corners, [&](Place a, Place b) {
    CapsuleRuns(mask.area(), a, b, stroke.width,
                [&](std::int64_t y, std::int64_t x0, std::int64_t x1) { mask.set(y, x0, x1); });
  });
}

// The visible part of what the polygon can touch.
Area Extent(const Canvas& canvas, const Stroke& stroke, const Corners& corners) {
  Place low = corners.at(0);
  Place high = low;
  for (std::size_t i = 1; i < corners.count; ++i) {
    const Place p = corners.at(i);
    low = {std::min(low.x, p.x), std::min(low.y, p.y)};
    high = {std::max(high.x, p.x), std::max(high.y, p.y)};
  }
  const std::int64_t margin = stroke.kind == StrokeKind::wide ? stroke.width / 2 : 0;
  return Intersection(canvas.area(), low.x - margin, low.y - margin, high.x + margin + 1,
                      high.y + margin + 1);
}

// The inside, less what `taken` and `gaps` have.
void PaintInside(const Canvas& canvas, const Fill& fill, const Corners& corners, const Area& area,
                 const Mask* taken, const Mask* gaps) {
  if (!fill.solid) {
    return;
  }
  Inside edges(area);
  ForEachEdge(corners, [&](Place a, Place b) { edges.add_edge(a, b); });
  Mask& inside = edges.finish();
  if (taken != nullptr) {
    inside.remove(*taken);
  }
  if (gaps != nullptr) {
    inside.remove(*gaps);
  }
  Paint(canvas, inside, fill.ink);
}

// Edge by edge, over what is there: for inks that replace pixels.
void PaintOver(const Canvas& canvas, const Stroke& stroke, const Corners& corners) {
  ForEachEdge(corners, [&](Place a, Place b) {
    DrawSegment(canvas, stroke, a, b);
    if (stroke.kind == StrokeKind::thin && a.x == b.x && a.y == b.y && canvas.area().holds(a)) {
      *canvas.at(a.x, a.y) = stroke.ink.pixel;
    }
  });
}

}  // namespace

void DrawPolygon(const Canvas& canvas, const Stroke& stroke, const Fill& fill,
                 const Corners& corners) {
  const Area area = Extent(canvas, stroke, corners);
  if (area.empty()) {
    return;
  }
  if (stroke.kind == StrokeKind::none ||
      (!stroke.ink.inverts && stroke.kind != StrokeKind::dashed)) {
    PaintInside(canvas, fill, corners, area, nullptr, nullptr);
    PaintOver(canvas, stroke, corners);
    return;
  }
  Mask outline(area);
  if (stroke.kind == StrokeKind::dashed) {
    Mask gaps(area);
    AddDashedOutline(outline, gaps, stroke, corners);
    gaps.remove(outline);
    PaintInside(canvas, fill, corners, area, &outline, &gaps);
    if (stroke.paints_gaps) {
      Paint(canvas, gaps, stroke.gap);
    }
  } else {
    if (stroke.kind == StrokeKind::thin) {
      AddThinOutline(outline, corners);
    } else {
      AddWideOutline(outline, stroke, corners);
    }
    PaintInside(canvas, fill, corners, area, &outline, nullptr);
  }
  Paint(canvas, outline, stroke.ink);
}

namespace {

// [x0, x1] by [y0, y1], all of it.
void PaintBlock(const Canvas& canvas, Ink ink, std::int64_t x0, std::int64_t y0, std::int64_t x1,
                std::int64_t y1) {
  const Area area = Intersection(canvas.area(), x0, y0, x1 + 1, y1 + 1);
  if (area.empty()) {
    return;
  }
  WithKernel(ink, [&](auto kernel) {
    for (std::int64_t y = area.top; y < area.bottom; ++y) {
      kernel.run(canvas.at(area.left, y), area.right - area.left);
    }
  });
}

void PaintFrame(const Canvas& canvas, Ink ink, Place low, Place high) {
  PaintBlock(canvas, ink, low.x, low.y, high.x, low.y);
  if (low.y < high.y) {
    PaintBlock(canvas, ink, low.x, high.y, high.x, high.y);
    PaintBlock(canvas, ink, low.x, low.y + 1, low.x, high.y - 1);
    if (low.x < high.x) {
      PaintBlock(canvas, ink, high.x, low.y + 1, high.x, high.y - 1);
    }
  }
}

}  // namespace

void DrawRectangle(const Canvas& canvas, const Stroke& stroke, const Fill& fill, Place low,
                   Place high) {
  if (stroke.kind == StrokeKind::none) {
    if (fill.solid) {
      PaintBlock(canvas, fill.ink, low.x, low.y, high.x, high.y);
    }
    return;
  }
  if (stroke.kind == StrokeKind::thin) {
    PaintFrame(canvas, stroke.ink, low, high);
    if (fill.solid) {
      PaintBlock(canvas, fill.ink, low.x + 1, low.y + 1, high.x - 1, high.y - 1);
    }
    return;
  }
  // Differences from the low corner fit: a box's sides are below 2^32, and halves below 2^31.
  const auto dx = high.x - low.x;
  const auto dy = high.y - low.y;
  const Place middle{low.x + dx / 2, low.y + dy / 2};
  const auto near_x = static_cast<LONG>(low.x - middle.x);
  const auto near_y = static_cast<LONG>(low.y - middle.y);
  const auto far_x = static_cast<LONG>(high.x - middle.x);
  const auto far_y = static_cast<LONG>(high.y - middle.y);
  const POINT points[] = {{near_x, near_y}, {far_x, near_y}, {far_x, far_y}, {near_x, far_y}};
  DrawPolygon(canvas, stroke, fill, Corners{points, 4, middle});
}

}  // namespace krraster
