// Ellipses and arcs. All arithmetic is about the box's middle in doubled units, in which pixel
// centres and the middle are integers: X = 2x - (left + right - 1), Y likewise, |X| <= a, |Y| <= b
// with a = width - 1 and b = height - 1.
#pragma once

#include <cstdint>

#include "krdcmmn/platform/raster/stroke.h"

namespace krraster {

// The box of an ellipse: its upper left pixel, and what lies between the centres of its outermost
// pixels (0 and up; below 0 the box holds no pixel).
struct Box {
  std::int64_t left;
  std::int64_t top;
  std::int64_t a;
  std::int64_t b;
};

// The solid shape whose border is the one-pixel outline. A pixel belongs to it when its centre,
// moved half a pixel toward the middle along either axis, is within the ellipse through the centres
// of the box's outermost pixels. It touches all four sides of the box and has both mirror
// symmetries.
class OutlineExtent {
 public:
  OutlineExtent(std::int64_t a, std::int64_t b);
  // The greatest X of row Y, which has the parity of b and lies in [0, b].
  std::int64_t at(std::int64_t y) const;

 private:
  std::int64_t root(std::int64_t y) const;  // floor(a sqrt(1 - y^2 / b^2))

  enum class Size { circle, small, large };
  std::int64_t a_;
  std::int64_t b_;
  Size size_;
};

// The same for the rows first, first + 2, ..., last of a circle with a = b = `a` below 2048.
void CircleExtents(std::int32_t a, std::int32_t first, std::int32_t last, std::int32_t* extents);

// The pixels whose centre is inside an ellipse of diameters da and db (in pixels, any parity).
class InsideExtent {
 public:
  InsideExtent(std::int64_t da, std::int64_t db) : da_(da), db_(db) {}
  // The greatest X of row Y >= 0 with X of the given parity; below 0 when the row has none.
  std::int64_t at(std::int64_t y, std::int64_t parity) const;

 private:
  std::int64_t da_;
  std::int64_t db_;
};

// Where an area lies to the outline of an ellipse, `reach` pixels to each side of it: quite
// outside, or quite inside, where no outline is to be seen; or neither can be said.
enum class Where { outside, inside, near };
Where Locate(const Area& area, const Box& box, std::int64_t reach);

// The directions between which an arc runs, anticlockwise on the screen: from the ray of the start,
// included, to the ray of the end, left out. Rays that point the same way, or have no direction
// because their point is the middle, take in everything.
class Sector {
 public:
  Sector(const Box& box, Place start, Place end);
  bool whole() const { return whole_; }
  // The pixel at doubled place (x, y) from the middle. The middle itself
  // counts as lying to the right.
  bool holds(std::int64_t x, std::int64_t y) const { return takes(sides(x, y)); }

  // Hands those pieces of the row's run [low, high], not empty, that lie in the sector to
  // `sink(low, high)`. `middle2` is the doubled column of the middle, y the row's doubled place.
  template <class Sink>
  void Pieces(std::int64_t low, std::int64_t high, std::int64_t middle2, std::int64_t y,
              Sink&& sink) const {
    for (;;) {
      const Sides here = sides(2 * low - middle2, y);
      const std::int64_t end = low == high ? low : SameUntil(here, low, high, middle2, y);
      if (takes(here)) {
        sink(low, end);
      }
      if (end == high) {
        return;
      }
      low = end + 1;
    }
  }

  // Unit-free directions of the two rays, for the round ends of a wide arc.
  Place start() const { return start_; }
  Place end() const { return end_; }

 private:
  // On which sides of the two rays a pixel lies: on the ray or anticlockwise of it by less than
  // half a turn, or not.
  struct Sides {
    bool past_start;
    bool past_end;
    bool operator==(const Sides&) const = default;
  };
  Sides sides(std::int64_t x, std::int64_t y) const;
  bool takes(Sides s) const {
    return whole_ || (wide_ ? s.past_start || !s.past_end : s.past_start && !s.past_end);
  }
  // The last pixel of [low, high] with the same sides as `low`.
  std::int64_t SameUntil(Sides here, std::int64_t low, std::int64_t high, std::int64_t middle2,
                         std::int64_t y) const;

  Place start_;
  Place end_;
  bool whole_;
  bool wide_;   // the end is more than half a turn from the start
  bool short_;  // both rays are below 2^30
};

void DrawEllipse(const Canvas& canvas, const Stroke& stroke, const Fill& fill, const Box& box);
// The outline alone, from the ray through `start` to that through `end`.
void DrawArc(const Canvas& canvas, const Stroke& stroke, const Box& box, Place start, Place end);

}  // namespace krraster
