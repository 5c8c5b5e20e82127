// Lines one pixel wide, and the stroke of a wide pen along a segment.
#pragma once

#include <algorithm>
#include <cstdint>

#include "krdcmmn/platform/raster/exact.h"
#include "krdcmmn/platform/raster/stroke.h"

namespace krraster {

// The visible steps of a one-pixel line. Step i of n (n being the longer of the two extents) lies i
// pixels along the longer axis and, across it, at the pixel nearest to the ideal line; of two
// equally near the one with the smaller coordinate. So a line and its reverse are the same pixels.
struct LineSteps {
  std::int64_t first;  // the step of the first visible pixel
  std::int64_t count;  // visible steps, 1 or more
  std::int64_t x;      // the first visible pixel
  std::int64_t y;
  std::int64_t error;   // below 0; plus 2 `across` a step; at 0 or above the line moves across
  std::int64_t along;   // the extent on the longer axis: all steps
  std::int64_t across;  // and on the shorter
  std::int32_t x_step;
  std::int32_t y_step;
  bool flat;  // x is the longer axis

  // Short enough for SlopeWalk.
  bool is_short() const { return along < SlopeWalk::kLimit; }
  // The pixels that a short line has moved across, from the first visible one on.
  SlopeWalk moves() const {
    SlopeWalk walk(across, along,
                   (flat ? y_step : x_step) > 0 ? Rounding::nearest_low : Rounding::nearest_high,
                   first);
    walk.restart();
    return walk;
  }
};

// False when no step of the line from a to b lies in `area`. The step on b is left out.
bool VisibleSteps(const Area& area, Place a, Place b, LineSteps* out);

// Calls `put(x, y, step)` for each visible pixel.
template <class Put>
void ForEachStep(LineSteps s, Put&& put) {
  for (std::int64_t i = 0; i < s.count; ++i) {
    put(s.x, s.y, s.first + i);
    s.error += 2 * s.across;
    const bool across = s.error >= 0;
    s.error -= across ? 2 * s.along : 0;
    s.x += s.flat || across ? s.x_step : 0;
    s.y += !s.flat || across ? s.y_step : 0;
  }
}

// Calls `run(y, x0, x1)` for each row of the visible part.
template <class Run>
void ForEachLineRun(const LineSteps& s, Run&& run) {
  if (s.is_short() && !s.flat) {
    SlopeWalk moved = s.moves();
    std::int64_t y = s.y;
    for (std::int64_t i = 0; i < s.count; ++i, y += s.y_step, moved.next()) {
      const std::int64_t x = s.x + s.x_step * moved.value();
      run(y, x, x + 1);
    }
    return;
  }
  if (s.is_short() && s.across > 0) {
    // From an error of e the line moves across after ceil(-e / 2 across) steps; each row adds 2
    // along.
    FloorWalk<std::int64_t> end(-s.error + 2 * s.across - 1, 2 * s.along, 2 * s.across);
    std::int64_t y = s.y;
    for (std::int64_t i = 0; i < s.count; y += s.y_step, end.next()) {
      const std::int64_t to = std::min(end.value(), s.count);
      const std::int64_t x = s.x + s.x_step * (s.x_step > 0 ? i : to - 1);
      run(y, x, x + to - i);
      i = to;
    }
    return;
  }
  ForEachStep(s, [&](std::int64_t x, std::int64_t y, std::int64_t) { run(y, x, x + 1); });
}

// A segment of any stroke; a thin and a dashed one leave out b, a wide one has round ends.
void DrawSegment(const Canvas& canvas, const Stroke& stroke, Place a, Place b);

}  // namespace krraster
