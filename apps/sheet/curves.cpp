#include "apps/sheet/curves.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <numbers>

namespace kr_sheet {
namespace {

constexpr double kTurn = 2 * std::numbers::pi;
// A chord this short stands for any curve: halving stops there.
constexpr int kMostHalvings = 16;

struct Homogeneous {
  double x, y, w;
};

Homogeneous Mix(const Homogeneous& a, const Homogeneous& b, double t) {
  return {a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t, a.w + (b.w - a.w) * t};
}

FDOT Plane(const Homogeneous& h) {
  return {h.x / h.w, h.y / h.w};
}

using Bezier = std::array<Homogeneous, Spline::kMostDegree + 1>;

double DistanceToChord(FDOT p, FDOT a, FDOT b) {
  const FDOT along = b - a;
  const double square = Dot(along, along);
  const double t = square > 0 ? std::clamp(Dot(p - a, along) / square, 0.0, 1.0) : 0.0;
  return Length(p - (a + along * t));
}

// The curve lies in the hull of its control points when all weights are positive, so their
// distance from the chord bounds its distance.
void Halve(const Bezier& bezier, int degree, double tolerance, int depth, std::vector<FDOT>& out) {
  const FDOT first = Plane(bezier[0]);
  const FDOT last = Plane(bezier[static_cast<std::size_t>(degree)]);
  double distance = 0;
  for (int i = 1; i < degree; ++i) {
    distance = std::max(distance,
                        DistanceToChord(Plane(bezier[static_cast<std::size_t>(i)]), first, last));
  }
  if (!(distance > tolerance) || depth == kMostHalvings || out.size() >= kMostCurvePoints) {
    out.push_back(last);
    return;
  }
  Bezier left = bezier;
  Bezier right = bezier;
  for (int level = 1; level <= degree; ++level) {
    for (int i = 0; i <= degree - level; ++i) {
      const auto at = static_cast<std::size_t>(i);
      right[at] = Mix(right[at], right[at + 1], 0.5);
    }
    left[static_cast<std::size_t>(level)] = right[0];
  }
  // `right` was worked from its front: its last column is the other half, in order.
  Halve(left, degree, tolerance, depth + 1, out);
  Halve(right, degree, tolerance, depth + 1, out);
}

// The value of the polar form of the span's polynomial at `arguments`.
Homogeneous Blossom(const Spline& s, std::size_t span, const double* arguments) {
  const auto degree = static_cast<std::size_t>(s.degree);
  Bezier points;
  for (std::size_t i = 0; i <= degree; ++i) {
    const Spline::Control& c = s.controls[span - degree + i];
    points[i] = {c.at.x * c.weight, c.at.y * c.weight, c.weight};
  }
  for (std::size_t level = 1; level <= degree; ++level) {
    for (std::size_t i = degree; i >= level; --i) {
      const double low = s.knots[span - degree + i];
      const double high = s.knots[span + 1 + i - level];
      points[i] = Mix(points[i - 1], points[i], (arguments[level - 1] - low) / (high - low));
    }
  }
  return points[degree];
}

}  // namespace

bool Curve::full() const {
  return to - from >= kTurn * (1 - 1e-9);
}

bool Curve::circular() const {
  const double a = Length(u);
  const double b = Length(v);
  return std::abs(a - b) <= 1e-6 * a && std::abs(Dot(u, v)) <= 1e-6 * a * b;
}

Curve Curve::moved(const Affine& by) const {
  return {by.apply(centre), by.turn(u), by.turn(v), from, to};
}

Curve BulgeCurve(FDOT a, FDOT b, double bulge) {
  const FDOT along = b - a;
  const FDOT left = {-along.y, along.x};
  const FDOT centre = (a + b) * 0.5 + left * ((1 - bulge * bulge) / (4 * bulge));
  const double radius = Length(along) * (1 + bulge * bulge) / (4 * std::abs(bulge));
  const FDOT start = bulge > 0 ? a : b;
  const double from = std::atan2(start.y - centre.y, start.x - centre.x);
  return {centre, {radius, 0}, {0, radius}, from, from + 4 * std::atan(std::abs(bulge))};
}

void Flatten(const Curve& curve, double tolerance, bool reverse, std::vector<FDOT>& out) {
  // The image of a circle's chord is no further from the ellipse than the longest half-axis lets
  // it; that is at most the root of the squares of u and v.
  const double reach = std::hypot(Length(curve.u), Length(curve.v));
  const double span = curve.to - curve.from;
  constexpr double kFewest = 8;     // a full turn of the smallest circle
  constexpr double kMost = 100000;  // and of the largest that 32 bits hold
  double steps = kFewest * span / kTurn;
  if (tolerance < reach) {
    // A quarter of the angle whose chord is that far from its arc.
    steps = std::max(steps, span / (4 * std::asin(std::sqrt(tolerance / reach / 2))));
  }
  // What is not a number at all is one step.
  const int n = steps > 1 ? static_cast<int>(std::ceil(std::min(steps, kMost))) : 1;
  for (int i = 1; i <= n; ++i) {
    const double t = span * i / n;
    out.push_back(curve.at(reverse ? curve.to - t : curve.from + t));
  }
}

bool Spline::sound() const {
  const auto order = static_cast<std::size_t>(degree) + 1;
  if (degree < 1 || degree > kMostDegree || controls.size() < order ||
      knots.size() != controls.size() + order || !std::is_sorted(knots.begin(), knots.end())) {
    return false;
  }
  const auto good = [](double v) { return std::isfinite(v); };
  return std::all_of(knots.begin(), knots.end(), good) &&
         std::all_of(controls.begin(), controls.end(), [&](const Control& c) {
           return good(c.at.x) && good(c.at.y) && c.weight > 1e-12 && c.weight < 1e12;
         });
}

Spline Spline::moved(const Affine& by) const {
  Spline result = *this;
  for (Control& c : result.controls) {
    c.at = by.apply(c.at);
  }
  return result;
}

void Flatten(const Spline& s, double tolerance, std::vector<FDOT>& out) {
  const auto degree = static_cast<std::size_t>(s.degree);
  bool begun = false;
  for (std::size_t span = degree; span < s.controls.size(); ++span) {
    const double low = s.knots[span];
    const double high = s.knots[span + 1];
    if (!(low < high)) {
      continue;
    }
    Bezier bezier;
    std::array<double, Spline::kMostDegree> arguments;
    for (std::size_t i = 0; i <= degree; ++i) {
      std::fill(arguments.begin(), arguments.end(), low);
      std::fill(arguments.begin(), arguments.begin() + static_cast<std::ptrdiff_t>(i), high);
      bezier[i] = Blossom(s, span, arguments.data());
    }
    if (!begun) {
      out.push_back(Plane(bezier[0]));
      begun = true;
    }
    Halve(bezier, s.degree, tolerance, 0, out);
  }
}

}  // namespace kr_sheet
