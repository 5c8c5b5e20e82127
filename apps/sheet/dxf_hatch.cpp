// Hatches: loops of edges, or polylines, that bound a filled area.
#include <numbers>

#include "apps/sheet/dxf_collector.h"

namespace kr_sheet {
namespace {

constexpr double kRadians = std::numbers::pi / 180;

// Walks along the groups of a hatch, which have to come in their order.
class Cursor {
 public:
  explicit Cursor(const std::vector<Group>& groups) : groups_(groups) {}

  bool at(int code) const { return at_ < groups_.size() && groups_[at_].code == code; }
  bool done() const { return at_ >= groups_.size(); }
  bool good() const { return good_; }
  void skip() { ++at_; }
  // The number of a group that has to be here.
  double take(int code) {
    if (!at(code)) {
      good_ = false;
      return 0;
    }
    return ToNumber(groups_[at_++].value);
  }
  int integer(int code) {
    if (!at(code)) {
      good_ = false;
      return 0;
    }
    return ToInteger(groups_[at_++].value);
  }
  int count(int code) {
    const double v = take(code);
    // More than there are groups left is damaged.
    if (v < 0 || v > static_cast<double>(groups_.size() - at_)) {
      good_ = false;
      return 0;
    }
    return static_cast<int>(v);
  }
  double optional(int code, double missing) { return at(code) ? take(code) : missing; }

 private:
  const std::vector<Group>& groups_;
  std::size_t at_ = 0;
  bool good_ = true;
};

// Appends pieces to the numbers of an item.
class Pieces {
 public:
  explicit Pieces(std::vector<double>& out) : out_(out) {}

  void put(PieceTag tag) { out_.push_back(static_cast<double>(tag)); }
  void point(FDOT p) {
    put(PieceTag::kPoint);
    out_.insert(out_.end(), {p.x, p.y});
  }
  void curve(const Curve& c, bool reverse) {
    put(reverse ? PieceTag::kReverse : PieceTag::kCurve);
    out_.insert(out_.end(), {c.centre.x, c.centre.y, c.u.x, c.u.y, c.v.x, c.v.y, c.from, c.to});
  }
  void spline(const Spline& s) {
    put(PieceTag::kSpline);
    out_.push_back(s.degree);
    out_.push_back(static_cast<double>(s.controls.size()));
    out_.insert(out_.end(), s.knots.begin(), s.knots.end());
    for (const Spline::Control& c : s.controls) {
      out_.insert(out_.end(), {c.at.x, c.at.y, c.weight});
    }
  }

 private:
  std::vector<double>& out_;
};

void PolylineLoop(Cursor& c, Pieces& out) {
  const bool bulges = c.take(72) != 0;
  c.optional(73, 1);
  struct Vertex {
    FDOT at;
    double bulge;
  };
  std::vector<Vertex> vertices;
  for (int n = c.count(93); n > 0 && c.good(); --n) {
    const double x = c.take(10);
    const double y = c.take(20);
    vertices.push_back({{x, y}, bulges ? c.optional(42, 0) : 0});
  }
  for (std::size_t i = 0; i < vertices.size(); ++i) {
    const Vertex& v = vertices[i];
    const Vertex& next = vertices[(i + 1) % vertices.size()];
    out.point(v.at);
    if (v.bulge != 0 && Length(next.at - v.at) > 0) {
      out.curve(BulgeCurve(v.at, next.at, v.bulge), v.bulge < 0);
    }
  }
}

// An arc of a circle (v at a right angle to u and `ratio` as long): clockwise ones count their
// angles the other way round.
void ArcEdge(Cursor& c, Pieces& out, FDOT centre, FDOT u, double ratio) {
  double from = c.take(50) * kRadians;
  double to = c.take(51) * kRadians;
  const bool clockwise = c.take(73) == 0;
  constexpr double kTurn = 2 * std::numbers::pi;
  double sweep = std::fmod(to - from, kTurn);
  sweep = sweep <= 1e-9 ? sweep + kTurn : sweep;
  from = std::remainder(from, kTurn);
  const FDOT v = FDOT{-u.y, u.x} * ratio;
  const Curve curve = {centre, u, clockwise ? v * -1 : v, from, from + sweep};
  out.point(curve.at(curve.from));
  out.curve(curve, false);
}

void SplineEdge(Cursor& c, Pieces& out, bool& sound) {
  Spline s;
  s.degree = c.integer(94);
  const bool rational = c.take(73) != 0;
  c.take(74);
  const int knots = c.count(95);
  const int controls = c.count(96);
  for (int i = 0; i < knots && c.good(); ++i) {
    s.knots.push_back(c.take(40));
  }
  for (int i = 0; i < controls && c.good(); ++i) {
    const double x = c.take(10);
    const double y = c.take(20);
    s.controls.push_back({{x, y}, rational ? c.optional(42, 1) : 1});
  }
  if (c.at(97)) {
    // Fit points, which the control points already follow; and the tangents at the ends.
    for (int n = c.count(97); n > 0 && c.good(); --n) {
      c.take(11);
      c.take(21);
    }
    for (int code : {12, 22, 13, 23}) {
      c.optional(code, 0);
    }
  }
  sound = s.sound();
  if (sound) {
    out.spline(s);
  }
}

void EdgeLoop(Cursor& c, Pieces& out, bool& sound) {
  enum { kLine = 1, kArc, kEllipse, kSpline };
  for (int n = c.count(93); n > 0 && c.good() && sound; --n) {
    const int kind = c.integer(72);
    if (kind == kSpline) {
      SplineEdge(c, out, sound);
      continue;
    }
    const double x = c.take(10);
    const double y = c.take(20);
    if (kind == kLine) {
      out.point({x, y});
      const double to_x = c.take(11);
      const double to_y = c.take(21);
      out.point({to_x, to_y});
    } else if (kind == kArc) {
      ArcEdge(c, out, {x, y}, {c.take(40), 0}, 1);
    } else if (kind == kEllipse) {
      const double u_x = c.take(11);
      const double u_y = c.take(21);
      const double ratio = c.take(40);
      ArcEdge(c, out, {x, y}, {u_x, u_y}, ratio);
    } else {
      sound = false;
    }
  }
}

}  // namespace

void Collector::hatch(const Chunk& chunk) {
  constexpr int kPolyline = 2;
  if (chunk.integer(70, 0) == 0) {
    unread("a pattern of lines");
    return;
  }
  const Item item = begin(Shape::kFill);
  Cursor cursor(chunk.groups);
  Pieces pieces(source_.numbers);
  while (!cursor.done() && !cursor.at(91)) {
    cursor.skip();
  }
  bool sound = true;
  for (int loops = cursor.count(91); loops > 0 && cursor.good() && sound; --loops) {
    const int flags = cursor.integer(92);
    pieces.put(PieceTag::kLoop);
    if ((flags & kPolyline) != 0) {
      PolylineLoop(cursor, pieces);
    } else {
      EdgeLoop(cursor, pieces, sound);
    }
    for (int n = cursor.at(97) ? cursor.count(97) : 0; n > 0 && cursor.good(); --n) {
      cursor.take(330);
    }
  }
  if (!cursor.good() || !sound) {
    source_.numbers.resize(item.first);
    unread("damaged");
    return;
  }
  add(item);
}

}  // namespace kr_sheet
