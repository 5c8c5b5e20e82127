#include "apps/sheet/model.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "krdcmmn/platform/gdi.h"

#include "apps/sheet/bounds.h"

namespace kr_sheet {
namespace {

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

// A point that stands for the element.
KRD::DOT PlaceOf(const Drawing& d, const Polygon& e) {
  return d.corners[static_cast<unsigned>(e.first)];
}
template <class Element>
KRD::DOT PlaceOf(const Drawing&, const Element& e) {
  if constexpr (requires { e.at; }) {
    return e.at;
  } else if constexpr (requires { e.centre; }) {
    return e.centre;
  } else {
    return e.from;
  }
}

// The order of a curve that goes through the quarters of the plane, through the quarters of each
// quarter, and so on: what is near in it is near in the plane.
bool ZOrderLess(KRD::DOT a, KRD::DOT b) {
  const auto lifted = [](std::int32_t v) { return static_cast<std::uint32_t>(v) ^ 0x80000000u; };
  const std::uint32_t x = lifted(a.x) ^ lifted(b.x);
  const std::uint32_t y = lifted(a.y) ^ lifted(b.y);
  // The axis in which the two differ in the higher bit decides.
  const bool by_y = x < y && x < (x ^ y);
  return by_y ? lifted(a.y) < lifted(b.y) : lifted(a.x) < lifted(b.x);
}

bool PenSeen(const Drawing& d, std::int32_t pen) {
  const Pen& p = d.pens[static_cast<unsigned>(pen)];
  return (d.layers[static_cast<unsigned>(p.layer)].flags & kLayerHidden) == 0;
}

Bounds BoxOf(const Drawing& d, bool hidden_too) {
  Bounds box;
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

void Grow(Bounds& box, const Drawing&, const Point& e) {
  box.add(e.at);
}
void Grow(Bounds& box, const Drawing&, const Line& e) {
  box.add(e.from);
  box.add(e.to);
}
void Grow(Bounds& box, const Drawing&, const Circle& e) {
  box.add(e.centre, e.radius);
}
void Grow(Bounds& box, const Drawing&, const Arc& e) {
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
void Grow(Bounds& box, const Drawing&, const Track& e) {
  box.add(e.from, e.width / 2);
  box.add(e.to, e.width / 2);
}
void Grow(Bounds& box, const Drawing& d, const Polygon& e) {
  for (std::int32_t i = 0; i < e.count; ++i) {
    box.add(d.corners[static_cast<unsigned>(e.first + i)]);
  }
}
namespace {

struct TextSize {
  std::int64_t letters = 0;  // of the longest line, in bytes
  std::int64_t lines = 1;
};

TextSize SizeOf(const char* text) {
  TextSize size;
  std::int64_t letters = 0;
  for (; *text != '\0'; ++text) {
    // Bytes that continue a character are no letters.
    letters += (static_cast<unsigned char>(*text) & 0xc0) != 0x80;
    if (*text == '\n') {
      ++size.lines;
      letters = 0;
    }
    size.letters = std::max(size.letters, letters);
  }
  return size;
}

}  // namespace

// Fonts differ, so this is a guess at how far a text reaches: letters nearly as wide as high, and
// lines one and two thirds apart.
void Grow(Bounds& box, const Drawing& d, const Text& e) {
  constexpr double kLetter = 0.8;
  constexpr double kLine = 1.67;
  const TextSize size = SizeOf(d.texts(static_cast<unsigned>(e.text)));
  const double w = kLetter * static_cast<double>(size.letters) * e.height * e.width_factor / 1000 *
                   (e.mirrored != 0 ? -1 : 1);
  const double h = e.height * (1 + kLine * static_cast<double>(size.lines - 1));
  const int column = e.align % 3;
  const int row = 2 - e.align / 3;  // from below
  const double left = -w * column / 2;
  const double bottom = -h * row / 2;
  const double angle = e.angle * std::numbers::pi / 1800;
  for (const auto& [x, y] : {std::pair(left, bottom), std::pair(left + w, bottom),
                             std::pair(left, bottom + h), std::pair(left + w, bottom + h)}) {
    box.add({KRD::RoundHalfAway(e.at.x + x * std::cos(angle) - y * std::sin(angle)),
             KRD::RoundHalfAway(e.at.y + x * std::sin(angle) + y * std::cos(angle))});
  }
}

void Cover(Bounds& box, const Drawing& d, const Text& e) {
  const TextSize size = SizeOf(d.texts(static_cast<unsigned>(e.text)));
  constexpr double kWidest = 4;
  const double reach = kWidest * e.height * static_cast<double>(size.letters + size.lines) *
                       std::max(1.0, e.width_factor / 1000.0);
  box.add(e.at, KRD::RoundHalfAway(reach));
}

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
  Bounds sum = BoxOf(*this, false);
  if (!sum.any()) {
    sum = BoxOf(*this, true);
  }
  box = sum.any() ? sum.get() : KRD::LTRB{0, 0, 0, 0};
  return sum.any();
}

void Drawing::sortByPen() {
  ForEachKind(*this, [&](const char*, auto& elements) {
    std::stable_sort(elements.begin(), elements.end(), [&](const auto& a, const auto& b) {
      return a.pen != b.pen ? a.pen < b.pen : ZOrderLess(PlaceOf(*this, a), PlaceOf(*this, b));
    });
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
