#include "apps/sheet/model.h"

#include <algorithm>
#include <limits>

#include "krdcmmn/platform/gdi.h"

namespace kr_sheet {
namespace {

constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();

std::int32_t Clamped(std::int64_t v) {
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(v, kLeast, kMost));
}

class Box {
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

// Whether the ray from `c` through `p` lies anticlockwise between those through `from` and `to`.
bool InSweep(const Arc& arc, std::int64_t dx, std::int64_t dy) {
  const auto cross = [](double ax, double ay, double bx, double by) { return ax * by - ay * bx; };
  const double fx = static_cast<double>(arc.from.x) - arc.centre.x;
  const double fy = static_cast<double>(arc.from.y) - arc.centre.y;
  const double tx = static_cast<double>(arc.to.x) - arc.centre.x;
  const double ty = static_cast<double>(arc.to.y) - arc.centre.y;
  const auto x = static_cast<double>(dx);
  const auto y = static_cast<double>(dy);
  const bool after_from = cross(fx, fy, x, y) >= 0;
  const bool before_to = cross(x, y, tx, ty) >= 0;
  return cross(fx, fy, tx, ty) >= 0 ? after_from && before_to : after_from || before_to;
}

void Grow(Box& box, const Drawing&, const Point& e) {
  box.add(e.at);
}
void Grow(Box& box, const Drawing&, const Line& e) {
  box.add(e.from);
  box.add(e.to);
}
void Grow(Box& box, const Drawing&, const Circle& e) {
  box.add(e.centre, e.radius);
}
void Grow(Box& box, const Drawing&, const Arc& e) {
  box.add(e.from);
  box.add(e.to);
  constexpr int kSides[4][2] = {{1, 0}, {0, 1}, {-1, 0}, {0, -1}};
  for (const auto& side : kSides) {
    if (InSweep(e, side[0], side[1])) {
      box.add({Clamped(e.centre.x + std::int64_t{side[0]} * e.radius),
               Clamped(e.centre.y + std::int64_t{side[1]} * e.radius)});
    }
  }
}
void Grow(Box& box, const Drawing&, const Track& e) {
  box.add(e.from, e.width / 2);
  box.add(e.to, e.width / 2);
}
void Grow(Box& box, const Drawing& d, const Polygon& e) {
  for (std::int32_t i = 0; i < e.count; ++i) {
    box.add(d.corners[static_cast<unsigned>(e.first + i)]);
  }
}
void Grow(Box& box, const Drawing&, const Text& e) {
  box.add(e.at, e.height);
}

bool PenSeen(const Drawing& d, std::int32_t pen) {
  const Pen& p = d.pens[static_cast<unsigned>(pen)];
  return (d.layers[static_cast<unsigned>(p.layer)].flags & kLayerHidden) == 0;
}

Box BoxOf(const Drawing& d, bool hidden_too) {
  Box box;
  ForEachKind(d, [&](const char*, const auto& elements) {
    for (const auto& e : elements) {
      if (hidden_too || PenSeen(d, e.pen)) {
        Grow(box, d, e);
      }
    }
  });
  return box;
}

bool IsIndex(std::int32_t i, std::int64_t count) {
  return i >= 0 && i < count;
}

bool IsColour(std::int32_t colour) {
  return colour >= kContrast && colour <= 0xffffff;
}

bool Sound(const Drawing&, const Point&) {
  return true;
}
bool Sound(const Drawing&, const Line&) {
  return true;
}
bool Sound(const Drawing&, const Circle& e) {
  return e.radius >= 0;
}
bool Sound(const Drawing&, const Arc& e) {
  return e.radius >= 0;
}
bool Sound(const Drawing&, const Track& e) {
  return e.width >= 0;
}
bool Sound(const Drawing& d, const Polygon& e) {
  return e.first >= 0 && e.count >= 3 && e.loops >= 1 &&
         std::int64_t{e.first} + e.count <= std::int64_t{d.corners.count()};
}
bool Sound(const Drawing& d, const Text& e) {
  return IsIndex(e.text, d.texts.nElem()) && e.height >= 0 && e.width_factor >= 0 && e.angle >= 0 &&
         e.angle < 3600 && IsIndex(e.align, 9) && IsIndex(e.mirrored, 2);
}

}  // namespace

bool TextTable::sound() const {
  if (offsets.count() == 0 || offsets[0] != 0 ||
      static_cast<std::int64_t>(pool.count()) != offsets[offsets.count() - 1]) {
    return false;
  }
  for (unsigned i = 1; i < offsets.count(); ++i) {
    if (offsets[i] <= offsets[i - 1] || offsets[i] > offsets[offsets.count() - 1] ||
        pool[static_cast<unsigned>(offsets[i] - 1)] != '\0') {
      return false;
    }
  }
  return true;
}

std::uint64_t Drawing::count() const {
  std::uint64_t sum = 0;
  ForEachKind(*this, [&](const char*, const auto& elements) { sum += elements.count(); });
  return sum;
}

bool Drawing::extents(KRD::LTRB& box) const {
  Box sum = BoxOf(*this, false);
  if (!sum.any()) {
    sum = BoxOf(*this, true);
  }
  box = sum.any() ? sum.get() : KRD::LTRB{0, 0, 0, 0};
  return sum.any();
}

void Drawing::sortByPen() {
  ForEachKind(*this, [](const char*, auto& elements) {
    std::stable_sort(elements.begin(), elements.end(),
                     [](const auto& a, const auto& b) { return a.pen < b.pen; });
  });
}

std::string Drawing::damage() const {
  if (!names.sound() || !texts.sound()) {
    return "a table of texts is damaged";
  }
  for (const Layer& layer : layers) {
    if (!IsIndex(layer.name, names.nElem()) || !IsColour(layer.colour) ||
        !IsIndex(layer.style, PS_NULL)) {
      return "a layer is damaged";
    }
  }
  for (const Pen& pen : pens) {
    if (!IsIndex(pen.layer, layers.count()) || !IsColour(pen.colour) ||
        (pen.style != kByLayer && !IsIndex(pen.style, PS_NULL))) {
      return "a pen is damaged";
    }
  }
  for (const Unread& row : unread) {
    if (!IsIndex(row.what, names.nElem()) || row.count < 0) {
      return "the list of what was not read is damaged";
    }
  }
  std::string text;
  ForEachKind(*this, [&](const char* kind, const auto& elements) {
    for (const auto& e : elements) {
      if (!IsIndex(e.pen, pens.count()) || !Sound(*this, e)) {
        text = std::string("an element of the ") + kind + " is damaged";
        return;
      }
    }
  });
  return text;
}

}  // namespace kr_sheet
