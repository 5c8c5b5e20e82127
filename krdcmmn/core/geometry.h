// Points, rectangles and the one rounding of the drawing and font code.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

namespace KRD {

// An integer point in model units or pixels.
struct DOT {
  std::int32_t x;
  std::int32_t y;
};

// A point of doubles.
struct FDOT {
  double x;
  double y;
};

// A rectangle. In model coordinates y points up, so `top` is the greater y.
struct LTRB {
  std::int32_t left;
  std::int32_t top;
  std::int32_t right;
  std::int32_t bottom;
};

// Half away from zero: the truncation of v + 0.5 for v >= 0 and of v - 0.5 for a negative v. What
// lies outside 32 bits gives the nearest end of the range, not-a-number gives 0.
inline std::int32_t RoundHalfAway(double v) {
  if (std::abs(v) < 2147483647.0) [[likely]] {
    return static_cast<std::int32_t>(v + std::copysign(0.5, v));
  }
  if (v >= 2147483647.0) {
    return std::numeric_limits<std::int32_t>::max();
  }
  if (v <= -2147483647.5) {
    return std::numeric_limits<std::int32_t>::min();
  }
  return v < 0 ? -std::numeric_limits<std::int32_t>::max() : 0;
}

}  // namespace KRD
