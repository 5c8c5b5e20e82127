#include "apps/krview/nearest.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace kr_view {
namespace {

using kr_sheet::Bounds;
using KRD::DOT;
using KRD::LTRB;

constexpr std::size_t kRun = 16;
constexpr double kTextShare = 0.99;  // of the reach: a text comes ahead of the area under it
constexpr double kFar = std::numeric_limits<double>::infinity();

// Calls `f` with the array of a kind.
template <class F>
void WithKind(const kr_sheet::Drawing& drawing, int kind, F&& f) {
  int number = 0;
  kr_sheet::ForEachKind(drawing, [&](const char*, const auto& elements) {
    if (number++ == kind) {
      f(elements);
    }
  });
}

double Length(double x, double y) {
  return std::sqrt(x * x + y * y);
}

double Between(DOT a, DOT b) {
  return Length(double{1} * a.x - b.x, double{1} * a.y - b.y);
}

double ToSegment(DOT p, DOT a, DOT b) {
  const double dx = double{1} * b.x - a.x;
  const double dy = double{1} * b.y - a.y;
  const double px = double{1} * p.x - a.x;
  const double py = double{1} * p.y - a.y;
  const double squared = dx * dx + dy * dy;
  const double t = squared > 0 ? std::clamp((px * dx + py * dy) / squared, 0.0, 1.0) : 0.0;
  return Length(px - t * dx, py - t * dy);
}

double Direction(DOT from, DOT to) {
  return std::atan2(double{1} * to.y - from.y, double{1} * to.x - from.x);
}

double Apart(const kr_sheet::Drawing&, const kr_sheet::Point& e, DOT p, double) {
  return Between(p, e.at);
}

double Apart(const kr_sheet::Drawing&, const kr_sheet::Line& e, DOT p, double) {
  return ToSegment(p, e.from, e.to);
}

double Apart(const kr_sheet::Drawing&, const kr_sheet::Track& e, DOT p, double) {
  return std::max(ToSegment(p, e.from, e.to) - e.width / 2.0, 0.0);
}

double Apart(const kr_sheet::Drawing&, const kr_sheet::Circle& e, DOT p, double) {
  return std::abs(Between(p, e.centre) - e.radius);
}

double Apart(const kr_sheet::Drawing&, const kr_sheet::Arc& e, DOT p, double) {
  constexpr double kTurn = 6.283185307179586;
  const auto around = [](double angle) { return angle < 0 ? angle + kTurn : angle; };
  const double start = Direction(e.centre, e.from);
  if (around(Direction(e.centre, p) - start) <= around(Direction(e.centre, e.to) - start)) {
    return std::abs(Between(p, e.centre) - e.radius);
  }
  return std::min(Between(p, e.from), Between(p, e.to));
}

double Apart(const kr_sheet::Drawing& drawing, const kr_sheet::Polygon& e, DOT p, double reach) {
  double least = kFar;
  bool inside = false;
  const DOT* corners = &drawing.corners[static_cast<unsigned>(e.first)];
  DOT a = corners[e.count - 1];
  for (int i = 0; i < e.count; ++i) {
    const DOT b = corners[i];
    least = std::min(least, ToSegment(p, a, b));
    if ((a.y > p.y) != (b.y > p.y)) {
      const double x =
          a.x + (double{1} * p.y - a.y) * (double{1} * b.x - a.x) / (double{1} * b.y - a.y);
      inside ^= p.x < x;
    }
    a = b;
  }
  return inside ? std::min(least, reach) : least;
}

double Apart(const kr_sheet::Drawing& drawing, const kr_sheet::Text& e, DOT p, double reach) {
  Bounds bounds;
  Grow(bounds, drawing, e);
  const LTRB box = bounds.get();
  const bool inside = p.x >= box.left && p.x <= box.right && p.y >= box.bottom && p.y <= box.top;
  return inside ? reach * kTextShare : kFar;
}

// Interleaves 16 bits of each.
std::uint32_t OnCurve(std::uint32_t x, std::uint32_t y) {
  const auto spread = [](std::uint32_t v) {
    v = (v | v << 8) & 0x00ff00ff;
    v = (v | v << 4) & 0x0f0f0f0f;
    v = (v | v << 2) & 0x33333333;
    return (v | v << 1) & 0x55555555;
  };
  return spread(x) | spread(y) << 1;
}

void Unite(Bounds& box, const Bounds& other) {
  const LTRB r = other.get();
  box.add({r.left, r.bottom});
  box.add({r.right, r.top});
}

bool Near(const Bounds& bounds, DOT p, double reach) {
  const LTRB box = bounds.get();
  return p.x >= box.left - reach && p.x <= box.right + reach && p.y >= box.bottom - reach &&
         p.y <= box.top + reach;
}

}  // namespace

double DistanceTo(const kr_sheet::Drawing& drawing, Subject::Element element, DOT p, double reach) {
  double distance = kFar;
  WithKind(drawing, element.kind, [&](const auto& elements) {
    distance = Apart(drawing, elements[element.index], p, reach);
  });
  return distance;
}

NearestIndex::NearestIndex(const kr_sheet::Drawing& drawing) : drawing_(drawing) {
  gather();
  while (levels_.back().size() > 1) {
    const std::vector<Bounds>& below = levels_.back();
    std::vector<Bounds> level((below.size() + kRun - 1) / kRun);
    for (std::size_t i = 0; i < below.size(); ++i) {
      Unite(level[i / kRun], below[i]);
    }
    levels_.push_back(std::move(level));
  }
}

void NearestIndex::gather() {
  struct Placed {
    std::uint32_t place;
    Subject::Element element;
    Bounds box;
  };
  std::vector<Placed> placed;
  placed.reserve(drawing_.count());
  LTRB all{};
  drawing_.extents(all);
  // The curve's cells are as fine as the drawing's size allows.
  int shift = 16;
  while (shift > 0 && ((std::int64_t{all.right} - all.left) >> (shift - 1)) < 0x8000 &&
         ((std::int64_t{all.top} - all.bottom) >> (shift - 1)) < 0x8000) {
    --shift;
  }
  const auto cell = [shift](std::int64_t low, std::int64_t high, std::int32_t least) {
    const std::int64_t from_edge =
        std::clamp<std::int64_t>((low + high) / 2 - least, 0, 0xffffffff);
    return static_cast<std::uint32_t>(std::min<std::int64_t>(from_edge >> shift, 0xffff));
  };
  int kind = 0;
  kr_sheet::ForEachKind(drawing_, [&](const char*, const auto& elements) {
    for (std::uint32_t i = 0; i < elements.count(); ++i) {
      const auto& pen = drawing_.pens[static_cast<unsigned>(elements[i].pen)];
      if ((drawing_.layers[static_cast<unsigned>(pen.layer)].flags & kr_sheet::kLayerHidden) != 0) {
        continue;
      }
      Bounds box;
      Grow(box, drawing_, elements[i]);
      const LTRB r = box.get();
      placed.push_back({OnCurve(cell(r.left, r.right, all.left), cell(r.bottom, r.top, all.bottom)),
                        {kind, i},
                        box});
    }
    ++kind;
  });
  std::sort(placed.begin(), placed.end(),
            [](const Placed& a, const Placed& b) { return a.place < b.place; });
  elements_.reserve(placed.size());
  levels_.emplace_back((placed.size() + kRun - 1) / kRun);
  for (std::size_t i = 0; i < placed.size(); ++i) {
    elements_.push_back(placed[i].element);
    Unite(levels_[0][i / kRun], placed[i].box);
  }
}

std::optional<Subject::Element> NearestIndex::find(DOT p, double reach) const {
  std::optional<Subject::Element> best;
  double least = reach;
  struct Box {
    std::size_t level, index;
  };
  std::vector<Box> open;
  for (std::size_t i = 0; i < levels_.back().size(); ++i) {
    open.push_back({levels_.size() - 1, i});
  }
  while (!open.empty()) {
    const Box box = open.back();
    open.pop_back();
    if (!Near(levels_[box.level][box.index], p, least)) {
      continue;
    }
    const std::size_t first = box.index * kRun;
    if (box.level > 0) {
      const std::size_t last = std::min(first + kRun, levels_[box.level - 1].size());
      for (std::size_t i = first; i < last; ++i) {
        open.push_back({box.level - 1, i});
      }
      continue;
    }
    for (std::size_t i = first; i < std::min(first + kRun, elements_.size()); ++i) {
      const double distance = DistanceTo(drawing_, elements_[i], p, reach);
      if (distance < least || (!best && distance <= reach)) {
        least = distance;
        best = elements_[i];
      }
    }
  }
  return best;
}

}  // namespace kr_view
