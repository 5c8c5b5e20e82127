#include "apps/kr/text/stroke_sink.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "krdcmmn/font/font.h"

namespace kr_app {

using KRD::DOT;
using KRD::FDOT;

namespace {

FDOT Ray(DOT centre, DOT p) {
  return {static_cast<double>(p.x) - centre.x, static_cast<double>(p.y) - centre.y};
}

int Distance(FDOT v) {
  return KRD::RoundHalfAway(std::hypot(v.x, v.y));
}

}  // namespace

FDOT ArcStroke::At(double part) const {
  const double angle = start + part * sweep;
  return {centre.x + radius * std::cos(angle), centre.y + radius * std::sin(angle)};
}

std::vector<int> ArcRadii(const kr::drawfont& text, const char* s) {
  std::vector<int> radii;
  const kr::font& glyphs = *text.fontData;
  std::size_t n = std::strlen(s);
  while (n > 0 && (s[n - 1] == '\r' || s[n - 1] == '\n')) {
    --n;
  }
  for (std::size_t k = 0; k < n; ++k) {
    const kr::font::PRIM_RANGE prims = glyphs.Prims(static_cast<unsigned char>(s[k]));
    for (int i = prims.first; i < prims.last; ++i) {
      if (glyphs.primKind[static_cast<unsigned>(i)] == kr::PRIM_ARC) {
        const auto record = static_cast<unsigned>(glyphs.primData[static_cast<unsigned>(i)]);
        radii.push_back(KRD::RoundHalfAway(glyphs.arcPoints[record + 1].x * text.widthScale));
      }
    }
  }
  return radii;
}

void StrokeSink::Expect(std::vector<int> radii) {
  radii_ = std::move(radii);
  arcs_ = 0;
}

int StrokeSink::line(int, DOT from, DOT to) {
  Line(from, to);
  return 1;
}

int StrokeSink::arc(int, DOT centre, DOT first, DOT second) {
  // The stream's arc is the clockwise one.
  const FDOT from = Ray(centre, second);
  const FDOT to = Ray(centre, first);
  const int radius = arcs_ < radii_.size() ? radii_[arcs_] : std::max(Distance(from), Distance(to));
  ++arcs_;
  if (radius <= 0) {
    return 1;
  }
  const double start = std::atan2(from.y, from.x);
  double sweep = std::atan2(to.y, to.x) - start;
  if (from.x * to.y == from.y * to.x && from.x * to.x + from.y * to.y > 0.0) {
    return 1;
  }
  if (sweep <= 0.0) {
    sweep += 2.0 * std::numbers::pi;
  }
  Arc({centre, radius, start, sweep});
  return 1;
}

int StrokeSink::circle(int, DOT centre, int radius) {
  if (radius != 0) {
    Circle(centre, std::abs(std::max(radius, -0x7fffffff)));
  }
  return 1;
}

}  // namespace kr_app
