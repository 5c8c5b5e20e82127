// What a shape is outlined and filled with.
#pragma once

#include <cstdint>

#include "krdcmmn/platform/raster/canvas.h"

namespace krraster {

enum class StrokeKind { none, thin, dashed, wide };

// An outline. A dashed one is one pixel wide; its pattern repeats every 24 steps.
struct Stroke {
  static constexpr std::int64_t kPeriod = 24;

  StrokeKind kind;
  Ink ink;
  std::int64_t width;    // of a wide stroke, 2 or more
  std::uint32_t dashes;  // bit i: step i of the pattern is painted
  bool paints_gaps;      // the steps between dashes get `gap`
  Ink gap;

  // `position` counts steps along the outline from its start.
  bool dash_at(std::int64_t position) const { return dashes >> (position % kPeriod) & 1; }
};

struct Fill {
  bool solid;
  Ink ink;
};

}  // namespace krraster
