// A sink of text strokes that knows the radius of every arc.
//
// A stream of strokes gives an arc as its centre and two rays. What Draw paints is the circle of
// the font's radius times the width scale between those rays, whatever the distance of the two
// points is: on a diagonal octant they lie on the square about the circle, and at unequal scales
// they lie anywhere. So the radii come from the font, in the order of the strokes.
#pragma once

#include <cstddef>
#include <numbers>
#include <vector>

#include "krdcmmn/core/geometry.h"
#include "krdcmmn/font/drawfont.h"
#include "krdcmmn/font/fontstream.h"

namespace kr_app {

inline constexpr double kDegree = std::numbers::pi / 180.0;

// An arc in model units and radians: counter-clockwise from `start` over `sweep`, which is more
// than 0 and at most a full turn.
struct ArcStroke {
  KRD::DOT centre;
  int radius;
  double start;
  double sweep;

  // The point at `part` of the sweep.
  KRD::FDOT At(double part) const;
};

// The radii in model units of the arcs that Write gives for the text, in their order.
std::vector<int> ArcRadii(const kr::drawfont& text, const char* s);

// Hands lines, arcs and circles on. Left out is what shows nothing: an arc whose two rays are one,
// an arc or circle without a radius. Each result is 1, so that Write gives the number of strokes.
class StrokeSink : public kr::fontstream {
 public:
  // The radii of one text; an arc beyond them takes the greater distance of its ends.
  void Expect(std::vector<int> radii);

  int line(int width, KRD::DOT from, KRD::DOT to) final;
  int arc(int width, KRD::DOT centre, KRD::DOT first, KRD::DOT second) final;
  int circle(int width, KRD::DOT centre, int radius) final;

 protected:
  virtual void Line(KRD::DOT from, KRD::DOT to) = 0;
  virtual void Arc(const ArcStroke& arc) = 0;
  virtual void Circle(KRD::DOT centre, int radius) = 0;

 private:
  std::vector<int> radii_;
  std::size_t arcs_ = 0;
};

}  // namespace kr_app
