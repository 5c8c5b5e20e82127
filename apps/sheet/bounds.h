// The boxes of elements.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "apps/sheet/model.h"

namespace kr_sheet {

inline std::int32_t Clamped(std::int64_t v) {
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(
      v, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()));
}

// A box that grows.
class Bounds {
 public:
  void add(KRD::DOT p, std::int64_t around = 0) {
    left_ = std::min<std::int64_t>(left_, p.x - around);
    right_ = std::max<std::int64_t>(right_, p.x + around);
    bottom_ = std::min<std::int64_t>(bottom_, p.y - around);
    top_ = std::max<std::int64_t>(top_, p.y + around);
  }
  bool any() const { return left_ <= right_; }
  KRD::LTRB get() const {
    return {Clamped(left_), Clamped(top_), Clamped(right_), Clamped(bottom_)};
  }

 private:
  std::int64_t left_ = std::numeric_limits<std::int64_t>::max();
  std::int64_t right_ = std::numeric_limits<std::int64_t>::min();
  std::int64_t bottom_ = std::numeric_limits<std::int64_t>::max();
  std::int64_t top_ = std::numeric_limits<std::int64_t>::min();
};

// Add an element of a sound drawing. How large a text is depends on the font: it counts with a
// guess.
void Grow(Bounds& box, const Drawing& drawing, const Point& element);
void Grow(Bounds& box, const Drawing& drawing, const Line& element);
void Grow(Bounds& box, const Drawing& drawing, const Circle& element);
void Grow(Bounds& box, const Drawing& drawing, const Arc& element);
void Grow(Bounds& box, const Drawing& drawing, const Track& element);
void Grow(Bounds& box, const Drawing& drawing, const Polygon& element);
void Grow(Bounds& box, const Drawing& drawing, const Text& element);

// The same for what must not be missed: a text counts with a square that holds it in any font, at
// any angle.
void Cover(Bounds& box, const Drawing& drawing, const Text& element);
template <class Element>
void Cover(Bounds& box, const Drawing& drawing, const Element& element) {
  Grow(box, drawing, element);
}

}  // namespace kr_sheet
