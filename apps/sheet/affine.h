// Plane geometry in doubles for the way from a drawing's own units to micrometres.
#pragma once

#include <cmath>

#include "krdcmmn/core/geometry.h"

namespace kr_sheet {

using KRD::FDOT;

inline FDOT operator+(FDOT a, FDOT b) {
  return {a.x + b.x, a.y + b.y};
}
inline FDOT operator-(FDOT a, FDOT b) {
  return {a.x - b.x, a.y - b.y};
}
inline FDOT operator*(FDOT a, double s) {
  return {a.x * s, a.y * s};
}
inline double Length(FDOT a) {
  return std::hypot(a.x, a.y);
}
inline double Cross(FDOT a, FDOT b) {
  return a.x * b.y - a.y * b.x;
}
inline double Dot(FDOT a, FDOT b) {
  return a.x * b.x + a.y * b.y;
}

// x' = a x + c y + tx, y' = b x + d y + ty.
struct Affine {
  double a = 1, b = 0, c = 0, d = 1, tx = 0, ty = 0;

  FDOT turn(FDOT p) const { return {a * p.x + c * p.y, b * p.x + d * p.y}; }
  FDOT apply(FDOT p) const { return turn(p) + FDOT{tx, ty}; }
  double det() const { return a * d - b * c; }
};

// First `inner`, then `outer`.
inline Affine operator*(const Affine& outer, const Affine& inner) {
  const FDOT x = outer.turn({inner.a, inner.b});
  const FDOT y = outer.turn({inner.c, inner.d});
  const FDOT t = outer.apply({inner.tx, inner.ty});
  return {x.x, x.y, y.x, y.y, t.x, t.y};
}

inline Affine Moved(double x, double y) {
  return {1, 0, 0, 1, x, y};
}
inline Affine Scaled(double x, double y) {
  return {x, 0, 0, y, 0, 0};
}
inline Affine Turned(double angle_rad) {
  const double c = std::cos(angle_rad);
  const double s = std::sin(angle_rad);
  return {c, s, -s, c, 0, 0};
}

}  // namespace kr_sheet
