// Lines one pixel wide, and the stroke of a wide pen along a segment.
#pragma once

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
  std::int64_t error;  // below 0; plus `rise` a step; at 0 or above the line moves across
  std::int64_t rise;
  std::int64_t fall;  // what moving across takes from `error`
  std::int32_t x_step;
  std::int32_t y_step;
  bool flat;  // x is the longer axis
};

// False when no step of the line from a to b lies in `area`. The step on b is left out.
bool VisibleSteps(const Area& area, Place a, Place b, LineSteps* out);

// Calls `put(x, y, step)` for each visible pixel.
template <class Put>
void ForEachStep(LineSteps s, Put&& put) {
  for (std::int64_t i = 0; i < s.count; ++i) {
    put(s.x, s.y, s.first + i);
    s.error += s.rise;
    const bool across = s.error >= 0;
    s.error -= across ? s.fall : 0;
    s.x += s.flat || across ? s.x_step : 0;
    s.y += !s.flat || across ? s.y_step : 0;
  }
}

// A segment of any stroke; a thin and a dashed one leave out b, a wide one has round ends.
void DrawSegment(const Canvas& canvas, const Stroke& stroke, Place a, Place b);

}  // namespace krraster
