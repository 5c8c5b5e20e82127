// The rows of an ellipse's one-pixel outline that are visible, and the runs of its pixels in them.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "krdcmmn/platform/raster/ellipse.h"

namespace krraster {

inline constexpr std::int64_t kNoRow = -1;

// The doubled places of visible rows in one half of the box: rows Y = first, first + 2, ..., last
// on the side where the row is top + (b + side Y) / 2. Empty when first > last.
struct HalfRows {
  std::int64_t first;
  std::int64_t last;

  bool holds(std::int64_t y) const { return y >= first && y <= last; }
};

inline HalfRows VisibleUpperRows(const Area& area, const Box& box) {
  const std::int64_t top = std::max<std::int64_t>(area.top, box.top) - box.top;
  const std::int64_t bottom = std::min<std::int64_t>(area.bottom - 1 - box.top, box.b / 2);
  return {box.b - 2 * bottom, box.b - 2 * top};
}

inline HalfRows VisibleLowerRows(const Area& area, const Box& box) {
  const std::int64_t top = std::max<std::int64_t>(area.top - box.top, box.b / 2 + 1);
  const std::int64_t bottom = std::min(area.bottom - 1 - box.top, box.b);
  return {2 * top - box.b, 2 * bottom - box.b};
}

// The extents of rows first, first + 2, ..., last + 2, those of a small circle all at once.
class RowExtents {
 public:
  RowExtents(const Box& box, std::int64_t first, std::int64_t last)
      : shape_(box.a, box.b), first_(first), table_(box.a == box.b && box.b <= kMostTable) {
    if (table_) {
      CircleExtents(static_cast<std::int32_t>(box.b), static_cast<std::int32_t>(first),
                    static_cast<std::int32_t>(std::min(last + 2, box.b)), extents_.data());
    }
  }
  std::int64_t at(std::int64_t y) const {
    return table_ ? extents_[static_cast<std::size_t>(y - first_) / 2] : shape_.at(y);
  }

 private:
  static constexpr std::int64_t kMostTable = 510;
  OutlineExtent shape_;
  std::int64_t first_;
  bool table_;
  std::array<std::int32_t, kMostTable / 2 + 4> extents_;
};

// Calls `row(y, Y, extent, outer)` for each visible row of the outline's solid shape: its extent
// and that of the next row away from the middle, kNoRow beyond the last. Works outward row by row,
// so that each extent serves the row and its mirror image.
template <class Row>
void ForEachRow(const Area& area, const Box& box, Row&& row) {
  if (box.a < 0 || box.b < 0 || area.empty()) {
    return;
  }
  if (box.left >= area.right || box.left + box.a < area.left) {
    return;
  }
  const HalfRows upper = VisibleUpperRows(area, box);
  const HalfRows lower = VisibleLowerRows(area, box);
  if (upper.first > upper.last && lower.first > lower.last) {
    return;
  }
  std::int64_t first = upper.first;
  std::int64_t last = upper.last;
  if (lower.first <= lower.last) {
    const bool both = upper.first <= upper.last;
    first = both ? std::min(first, lower.first) : lower.first;
    last = both ? std::max(last, lower.last) : lower.last;
  }
  const RowExtents shape(box, first, last);
  std::int64_t outer = last + 2 <= box.b ? shape.at(last + 2) : kNoRow;
  for (std::int64_t y = last; y >= first; y -= 2) {
    const std::int64_t extent = shape.at(y);
    if (upper.holds(y)) {
      row(box.top + (box.b - y) / 2, -y, extent, outer);
    }
    if (lower.holds(y)) {
      row(box.top + (box.b + y) / 2, y, extent, outer);
    }
    outer = extent;
  }
}

// The outline's pixels of a row as columns: `left` and `right`, mirror images; `right` is empty
// when one run has them all.
struct OutlineRuns {
  std::int64_t left_low;
  std::int64_t left_high;
  std::int64_t right_low;
  std::int64_t right_high;
};

inline OutlineRuns RunsOf(const Box& box, std::int64_t extent, std::int64_t outer) {
  const std::int64_t low = box.left + (box.a - extent) / 2;
  const std::int64_t high = box.left + (box.a + extent) / 2;
  if (outer == kNoRow || extent == 0) {
    return {low, high, high + 1, high};
  }
  const std::int64_t start = std::min(extent, outer + 2);
  return {low, box.left + (box.a - start) / 2, box.left + (box.a + start) / 2, high};
}

}  // namespace krraster
