// Polygons: even-odd filling and a closed outline of any stroke, each pixel painted once.
#pragma once

#include <cstddef>
#include <cstdint>

#include "krdcmmn/platform/raster/stroke.h"
#include "krdcmmn/platform/types.h"

namespace krraster {

// The corners of a polygon, each moved by `origin`; borrowed.
struct Corners {
  const POINT* points;
  std::size_t count;
  Place origin;

  Place at(std::size_t i) const {
    return {std::int64_t{points[i].x} + origin.x, std::int64_t{points[i].y} + origin.y};
  }
};

// The inside is where the count of edges to the left is odd, at pixel centres: a centre on a left
// or upper edge is inside, one on a right or lower edge is not. Where the outline paints, the fill
// does not. A dashed outline's pattern runs on from edge to edge; gaps that are not painted stay as
// they were. At least 1 corner.
void DrawPolygon(const Canvas& canvas, const Stroke& stroke, const Fill& fill,
                 const Corners& corners);

// The rectangle with these corner pixels, both included.
void DrawRectangle(const Canvas& canvas, const Stroke& stroke, const Fill& fill, Place low,
                   Place high);

}  // namespace krraster
