// The stroke of a wide pen along a segment, as runs of pixels: all pixels whose centre is within
// half the width of the segment, which makes round ends.
//
// A pen of odd width has its middle on a pixel's centre. One of even width has no middle pixel: the
// segment then runs through the upper left corners of the pixels, half a pixel up and to the left,
// so that a straight stroke is exactly `width` pixels thick.
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>

#include "krdcmmn/platform/raster/canvas.h"
#include "krdcmmn/platform/raster/exact.h"

namespace krraster {

// Columns [low, high], empty when low > high.
struct Columns {
  std::int64_t low;
  std::int64_t high;

  void join(Columns other) {
    if (other.low <= other.high) {
      *this = low <= high ? Columns{std::min(low, other.low), std::max(high, other.high)} : other;
    }
  }
};

// The columns of a disc of that diameter in the row whose doubled distance from its middle is qy;
// columns and middle relative to the middle's pixel. `even` is 1 for an even diameter, else 0.
inline Columns DiscColumns(std::int64_t diameter, std::int64_t even, std::int64_t qy) {
  if (qy > diameter || qy < -diameter) {
    return {1, 0};
  }
  const auto half = static_cast<std::int64_t>(SquareRoot(
      static_cast<std::uint64_t>(diameter - qy) * static_cast<std::uint64_t>(diameter + qy)));
  return {-((half + even) >> 1), (half - even) >> 1};
}

// The straight part of a stroke, between the two perpendiculars at its ends, row by row. Relative
// to the upper end a pixel (x, y) has the doubled place q = (2x + even, 2y + even), and with the
// segment's vector d = (dx, dy), dy >= 0, it belongs to the part when
//     |qx dy - qy dx| <= reach   (reach = floor(width |d|): the long sides)
//     0 <= qx dx + qy dy <= 2 |d|^2   (the ends)
template <class Int>
class StraightPart {
 public:
  // The first row is the one `row` below the upper end.
  StraightPart(Int dx, Int dy, Int reach, Int even, Int row)
      : high_side_(0, 0, 1), low_side_(0, 0, 1), high_end_(0, 0, 1), low_end_(0, 0, 1) {
    const Int qy = 2 * row + even;
    const Int length2 = dx * dx + dy * dy;
    sides_ = dy != 0;
    ends_ = dx != 0;
    if (sides_) {
      high_side_ = {qy * dx + reach - even * dy, 2 * dx, 2 * dy};
      low_side_ = {-qy * dx + reach + even * dy, -2 * dx, 2 * dy};
    }
    if (dx > 0) {
      high_end_ = {2 * length2 - qy * dy - even * dx, -2 * dy, 2 * dx};
      low_end_ = {qy * dy + even * dx, 2 * dy, 2 * dx};
    } else if (dx < 0) {
      high_end_ = {qy * dy + even * dx, 2 * dy, -2 * dx};
      low_end_ = {2 * length2 - qy * dy - even * dx, -2 * dy, -2 * dx};
    }
    upright_rows_ = dx == 0 && dy != 0;
    qy_ = qy;
    dy2_ = 2 * dy;
  }

  // The columns of the current row within [least, most].
  Columns columns(Int least, Int most) const {
    if (upright_rows_ && (qy_ < 0 || qy_ > dy2_)) {
      return {1, 0};
    }
    Int low = least;
    Int high = most;
    if (sides_) {
      low = std::max<Int>(low, -low_side_.value());
      high = std::min<Int>(high, high_side_.value());
    }
    if (ends_) {
      low = std::max<Int>(low, -low_end_.value());
      high = std::min<Int>(high, high_end_.value());
    }
    return low > high ? Columns{1, 0}
                      : Columns{static_cast<std::int64_t>(low), static_cast<std::int64_t>(high)};
  }

  void next() {
    high_side_.next();
    low_side_.next();
    high_end_.next();
    low_end_.next();
    qy_ += 2;
  }

 private:
  FloorWalk<Int> high_side_;  // the greatest column within the long sides
  FloorWalk<Int> low_side_;   // minus the least
  FloorWalk<Int> high_end_;
  FloorWalk<Int> low_end_;
  bool sides_;
  bool ends_;
  bool upright_rows_;
  Int qy_;
  Int dy2_;
};

template <class Int, class Sink>
void CapsuleRows(const Area& area, Place a, Place b, std::int64_t width, std::int64_t even,
                 std::int64_t first, std::int64_t last, Sink&& sink) {
  const std::int64_t dx = b.x - a.x;
  const std::int64_t dy = b.y - a.y;
  const auto square = [](std::int64_t v) {
    return static_cast<uint128>(static_cast<int128>(v) * v);
  };
  const auto reach = static_cast<Int>(SquareRoot128(square(width) * (square(dx) + square(dy))));
  StraightPart<Int> straight(dx, dy, reach, even, first - a.y);
  const bool dot = dx == 0 && dy == 0;
  // Wide enough for every column of the stroke, narrow enough for 64 bits.
  const Int least = std::min<std::int64_t>(dx, 0) - width;
  const Int most = std::max<std::int64_t>(dx, 0) + width;
  for (std::int64_t y = first; y <= last; ++y, straight.next()) {
    const std::int64_t qy = 2 * (y - a.y) + even;
    Columns row = dot ? Columns{1, 0} : straight.columns(least, most);
    if (qy <= width) {
      row.join(DiscColumns(width, even, qy));
    }
    if (qy - 2 * dy >= -width) {
      const Columns end = DiscColumns(width, even, qy - 2 * dy);
      if (end.low <= end.high) {
        row.join({end.low + dx, end.high + dx});
      }
    }
    if (row.low <= row.high) {
      ClippedRun(area, sink, y, a.x + row.low, a.x + row.high + 1);
    }
  }
}

// Narrows the rows [first, last] of a stroke to those in which it can meet the area's columns: a
// pixel of the stroke is within `width` of a point of the segment on both axes. a is the upper end.
inline void NarrowRows(const Area& area, Place a, Place b, std::int64_t width, std::int64_t* first,
                       std::int64_t* last) {
  const std::int64_t dx = b.x > a.x ? b.x - a.x : a.x - b.x;
  const std::int64_t dy = b.y - a.y;
  if (dx == 0) {
    return;
  }
  // How far the columns are from the start, in the segment's direction.
  const std::int64_t near = b.x > a.x ? area.left - a.x : a.x - area.right;
  const std::int64_t far = b.x > a.x ? area.right - a.x : a.x - area.left;
  const auto row = [&](std::int64_t x) {
    return a.y + static_cast<std::int64_t>(int128{dy} * std::clamp<std::int64_t>(x, 0, dx) / dx);
  };
  *first = std::max(*first, row(near - width) - width);
  *last = std::min(*last, row(far + width) + 1 + width);
}

// Hands each visible row of the stroke from a to b to `sink(y, x0, x1)`, one run [x0, x1) a row.
// `width` is 2 or more.
template <class Sink>
void CapsuleRuns(const Area& area, Place a, Place b, std::int64_t width, Sink&& sink) {
  if (a.y > b.y) {
    std::swap(a, b);
  }
  const std::int64_t even = width % 2 == 0 ? 1 : 0;
  std::int64_t first = std::max<std::int64_t>(area.top, a.y - (width + even) / 2);
  std::int64_t last = std::min<std::int64_t>(area.bottom - 1, b.y + (width - even) / 2);
  if (first > last || std::max(a.x, b.x) + width < area.left ||
      std::min(a.x, b.x) - width >= area.right) {
    return;
  }
  if (std::min(a.x, b.x) < area.left || std::max(a.x, b.x) >= area.right) {
    NarrowRows(area, a, b, width, &first, &last);
  }
  constexpr std::int64_t kSmall = std::int64_t{1} << 28;  // sums and products stay below 2^63
  if (width < kSmall && b.y - a.y < kSmall && b.x - a.x < kSmall && a.x - b.x < kSmall) {
    CapsuleRows<std::int64_t>(area, a, b, width, even, first, last, sink);
  } else {
    CapsuleRows<int128>(area, a, b, width, even, first, last, sink);
  }
}

}  // namespace krraster
