// A sink for the strokes of a text, which callers implement.
#pragma once

#include "krdcmmn/core/geometry.h"
#include "krdcmmn/platform/export.h"

namespace kr {

// Coordinates and widths are model units, y upward. The results are the sink's own: drawfont::Write
// gives their sum, so that a count of strokes is the natural choice.
class KRDCMMN_API fontstream {
 public:
  virtual int line(int width, KRD::DOT from, KRD::DOT to) = 0;
  // The clockwise sweep from the ray through `first` to the ray through `second`. The two points
  // need not lie at the same distance from the centre: an arc that starts or ends on a diagonal
  // octant has them on the square about the circle.
  virtual int arc(int width, KRD::DOT centre, KRD::DOT first, KRD::DOT second) = 0;
  virtual int circle(int width, KRD::DOT centre, int radius) = 0;
  virtual ~fontstream() = default;
};

}  // namespace kr
