#include "krdcmmn/platform/raster/line.h"

#include <algorithm>

#include "krdcmmn/platform/raster/capsule.h"

namespace krraster {

namespace {

// One axis of a line: where it starts, which way it goes, and the area's extent on it.
struct Axis {
  std::int64_t start;
  std::int64_t step;
  std::int64_t low;
  std::int64_t high;

  // The pixels from the start to the first that is inside, and to the first beyond.
  std::int64_t enter() const { return step > 0 ? low - start : start - high + 1; }
  std::int64_t leave() const { return step > 0 ? high - start : start - low + 1; }
};

// Narrows the steps of a line to those in the area. `along` is the longer axis, with n steps, and
// `across` the shorter, with k; at step i the line has moved (2 i k + round) / 2n pixels across.
bool Narrow(const Axis& along, const Axis& across, std::int64_t n, std::int64_t k,
            std::int64_t round, LineSteps* s, std::int64_t* moved) {
  std::int64_t first = std::max<std::int64_t>(0, along.enter());
  std::int64_t end = std::min(n, along.leave());
  // The first step that has moved j pixels across, for j from 1 to k.
  const auto reaches = [&](std::int64_t j) {
    const int128 n2 = int128{2} * n;
    return static_cast<std::int64_t>(-FloorDiv<int128>(round - n2 * j, int128{2} * k));
  };
  const std::int64_t enter = across.enter();
  const std::int64_t leave = across.leave();
  if (enter > k || leave <= 0) {
    return false;
  }
  if (enter > 0) {
    first = std::max(first, reaches(enter));
  }
  if (leave <= k) {
    end = std::min(end, reaches(leave));
  }
  if (first >= end) {
    return false;
  }
  const int128 n2 = int128{2} * n;
  const int128 position = int128{2} * first * k + round;
  *moved = static_cast<std::int64_t>(position / n2);
  s->error = static_cast<std::int64_t>(position % n2 - n2);
  s->first = first;
  s->count = end - first;
  return true;
}

template <class Kernel>
void PaintSteps(const Canvas& canvas, const LineSteps& s, Kernel kernel) {
  std::uint32_t* p = canvas.at(s.x, s.y);
  const std::ptrdiff_t down = s.y_step * canvas.stride;
  if (s.across == 0 && s.flat) {
    kernel.run(s.x_step > 0 ? p : p - (s.count - 1), s.count);
    return;
  }
  const std::ptrdiff_t along = s.flat ? s.x_step : down;
  const std::ptrdiff_t across = s.flat ? down : s.x_step;
  if (s.is_short()) {
    SlopeWalk moved = s.moves();
    for (std::int64_t i = 0; i < s.count; ++i, moved.next()) {
      kernel.dot(p + i * along + moved.value() * across);
    }
    return;
  }
  std::int64_t error = s.error;
  for (std::int64_t left = s.count;;) {
    kernel.dot(p);
    if (--left == 0) {
      return;
    }
    error += 2 * s.across;
    const std::int64_t stays = error >> 63;  // all bits while the error is below 0
    p += along + (across & ~stays);
    error -= 2 * s.along & ~stays;
  }
}

void DrawDashes(const Canvas& canvas, const Stroke& stroke, const LineSteps& s) {
  const auto paint = [&](Ink ink, bool dashes) {
    WithKernel(ink, [&](auto kernel) {
      ForEachStep(s, [&](std::int64_t x, std::int64_t y, std::int64_t step) {
        if (stroke.dash_at(step) == dashes) {
          kernel.dot(canvas.at(x, y));
        }
      });
    });
  };
  paint(stroke.ink, true);
  if (stroke.paints_gaps) {
    paint(stroke.gap, false);
  }
}

}  // namespace

bool VisibleSteps(const Area& area, Place a, Place b, LineSteps* s) {
  const std::int64_t dx = b.x - a.x;
  const std::int64_t dy = b.y - a.y;
  const std::int64_t nx = dx < 0 ? -dx : dx;
  const std::int64_t ny = dy < 0 ? -dy : dy;
  s->flat = nx >= ny;
  s->x_step = dx < 0 ? -1 : 1;
  s->y_step = dy < 0 ? -1 : 1;
  const std::int64_t n = s->flat ? nx : ny;
  const std::int64_t k = s->flat ? ny : nx;
  if (n == 0) {
    return false;
  }
  s->along = n;
  s->across = k;
  // Half a pixel, less the least bit when moving across goes to greater coordinates: ties stay low.
  const std::int64_t round = n - ((s->flat ? s->y_step : s->x_step) > 0 ? 1 : 0);
  if (area.holds(a) && area.holds(b)) {
    s->first = 0;
    s->count = n;
    s->x = a.x;
    s->y = a.y;
    s->error = round - 2 * n;
    return true;
  }
  const Axis x{a.x, s->x_step, area.left, area.right};
  const Axis y{a.y, s->y_step, area.top, area.bottom};
  std::int64_t moved = 0;
  if (!Narrow(s->flat ? x : y, s->flat ? y : x, n, k, round, s, &moved)) {
    return false;
  }
  s->x = a.x + s->x_step * (s->flat ? s->first : moved);
  s->y = a.y + s->y_step * (s->flat ? moved : s->first);
  return true;
}

void DrawSegment(const Canvas& canvas, const Stroke& stroke, Place a, Place b) {
  if (stroke.kind == StrokeKind::wide) {
    WithKernel(stroke.ink, [&](auto kernel) {
      CapsuleRuns(canvas.area(), a, b, stroke.width, CanvasSink<decltype(kernel)>{canvas, kernel});
    });
    return;
  }
  LineSteps steps;
  if (stroke.kind == StrokeKind::none || !VisibleSteps(canvas.area(), a, b, &steps)) {
    return;
  }
  if (stroke.kind == StrokeKind::dashed) {
    DrawDashes(canvas, stroke, steps);
    return;
  }
  WithKernel(stroke.ink, [&](auto kernel) { PaintSteps(canvas, steps, kernel); });
}

}  // namespace krraster
