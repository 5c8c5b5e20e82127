// Ellipses and splines as points, within a tolerance.
#pragma once

#include <cstddef>
#include <vector>

#include "apps/sheet/affine.h"

namespace kr_sheet {

// No curve adds points to a list that is this long: far beyond any real one.
inline constexpr std::size_t kMostCurvePoints = 10'000'000;

// The points centre + u cos t + v sin t for t in [from, to], from < to. Circles and their arcs are
// those with u and v of one length at a right angle.
struct Curve {
  FDOT centre, u, v;
  double from, to;

  FDOT at(double t) const { return centre + u * std::cos(t) + v * std::sin(t); }
  bool full() const;
  bool circular() const;
  Curve moved(const Affine& by) const;
};

// The arc of a polyline's segment: bulge is the tangent of a quarter of its angle, positive for an
// arc that runs anticlockwise from `a` to `b`. The curve always runs anticlockwise.
Curve BulgeCurve(FDOT a, FDOT b, double bulge);

// Appends points of the curve without the first one, so that no chord is further than `tolerance`
// from it. With `reverse` from the end to the start.
void Flatten(const Curve& curve, double tolerance, bool reverse, std::vector<FDOT>& out);

// A rational B-spline.
struct Spline {
  struct Control {
    FDOT at;
    double weight;
  };
  static constexpr int kMostDegree = 15;

  int degree = 3;
  std::vector<double> knots;
  std::vector<Control> controls;

  // Whether counts, knots and weights make a curve that can be drawn.
  bool sound() const;
  Spline moved(const Affine& by) const;
};

// Appends points of a sound spline, the first one too, within `tolerance`.
void Flatten(const Spline& spline, double tolerance, std::vector<FDOT>& out);

}  // namespace kr_sheet
