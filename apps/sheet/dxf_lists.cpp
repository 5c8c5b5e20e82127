// Entities with lists in them: polylines, leaders, splines.
#include <algorithm>
#include <array>

#include "apps/sheet/dxf_collector.h"

namespace kr_sheet {

void Collector::lightPolyline(const Chunk& chunk) {
  Item item = begin(Shape::kPath);
  item.closed = (chunk.integer(70, 0) & 1) != 0;
  const double width = chunk.number(43, 0);
  std::array<double, 5> at{};
  bool any = false;
  const auto flush = [&] {
    if (any) {
      source_.numbers.insert(source_.numbers.end(), at.begin(), at.end());
    }
  };
  for (const Group& group : chunk.groups) {
    const double v = ToNumber(group.value);
    switch (group.code) {
      case 10:
        flush();
        at = {v, 0, 0, width, width};
        any = true;
        break;
      case 20:
        at[1] = v;
        break;
      case 42:
        at[2] = v;
        break;
      case 40:
        at[3] = v;
        break;
      case 41:
        at[4] = v;
        break;
      default:
        break;
    }
  }
  flush();
  if (any) {
    add(item);
  }
}

void Collector::polyline(const Chunk& chunk) {
  constexpr int kClosed = 1;
  constexpr int kInSpace = 8;
  constexpr int kMeshes = 16 | 64;
  const int flags = chunk.integer(70, 0);
  if ((flags & kMeshes) != 0) {
    unread("a mesh");
    return;
  }
  if ((flags & kInSpace) != 0) {
    flipped_ = false;
  }
  path_ = begin(Shape::kPath);
  path_.closed = (flags & kClosed) != 0;
  start_width_ = chunk.number(40, 0);
  end_width_ = chunk.number(41, start_width_);
  path_open_ = true;
  taken_ = true;
}

void Collector::vertex(const Chunk& chunk) {
  constexpr int kFrame = 16;  // a control point of a curve, which is not on it
  if ((chunk.integer(70, 0) & kFrame) != 0) {
    return;
  }
  for (double v : {chunk.number(10, 0), chunk.number(20, 0), chunk.number(42, 0),
                   chunk.number(40, start_width_), chunk.number(41, end_width_)}) {
    number(v);
  }
}

void Collector::endPath() {
  if (path_open_) {
    path_open_ = false;
    add(path_);
  }
}

void Collector::leader(const Chunk& chunk) {
  const Item item = begin(Shape::kPath);
  const int vertices = std::min(chunk.countOf(10), chunk.countOf(20));
  if (vertices < 2) {
    return;
  }
  for (const Group& group : chunk.groups) {
    if (group.code == 10) {
      number(ToNumber(group.value));
    } else if (group.code == 20) {
      for (double v : {ToNumber(group.value), 0.0, 0.0, 0.0}) {
        number(v);
      }
    }
  }
  if ((source_.numbers.size() - item.first) % 5 != 0) {
    source_.numbers.resize(item.first);
    return;
  }
  add(item);
}

void Collector::spline(const Chunk& chunk) {
  Spline s;
  s.degree = chunk.integer(71, 3);
  std::size_t weights = 0;
  for (const Group& group : chunk.groups) {
    const double v = ToNumber(group.value);
    if (group.code == 40) {
      s.knots.push_back(v);
    } else if (group.code == 10) {
      s.controls.push_back({{v, 0}, 1});
    } else if (group.code == 20 && !s.controls.empty()) {
      s.controls.back().at.y = v;
    } else if (group.code == 41) {
      ++weights;
    }
  }
  std::size_t next = 0;
  for (const Group& group : chunk.groups) {
    if (group.code == 41 && weights == s.controls.size()) {
      s.controls[next++].weight = ToNumber(group.value);
    }
  }
  if (!s.sound()) {
    unread(s.controls.empty() ? "without control points" : "damaged");
    return;
  }
  const Item item = begin(Shape::kSpline);
  number(s.degree);
  number(static_cast<double>(s.controls.size()));
  for (double knot : s.knots) {
    number(knot);
  }
  for (const Spline::Control& c : s.controls) {
    for (double v : {c.at.x, c.at.y, c.weight}) {
      number(v);
    }
  }
  add(item);
}

}  // namespace kr_sheet
