#include "krdcmmn/font/text_sight.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "krdcmmn/draw/draw_device.h"
#include "krdcmmn/font/drawfont.h"

using KRD::DOT;
using KRD::FDOT;

namespace kr {

namespace {

// Beyond this a coordinate may have been cut to 32 bits on its way, and nothing is said of it.
constexpr double kSafe = 5e8;

// What rounding can move a point by: cursor and point, the turn, a radius.
constexpr double kModelSlack = 3.0;
// The mapping, a radius, and the least radius of an arc.
constexpr double kPixelSlack = 3.0;

bool IsSafe(double v) {
  return std::abs(v) <= kSafe;  // not for a number that is none
}

}  // namespace

void TEXT_SIGHT::RANGE::Clear() {
  left = bottom = std::numeric_limits<double>::infinity();
  right = top = -std::numeric_limits<double>::infinity();
}

void TEXT_SIGHT::RANGE::Take(double x, double y) {
  left = std::min(left, x);
  right = std::max(right, x);
  bottom = std::min(bottom, y);
  top = std::max(top, y);
}

void TEXT_SIGHT::RANGE::Take(const RANGE& other, double dx, double dy) {
  left = std::min(left, other.left + dx);
  right = std::max(right, other.right + dx);
  bottom = std::min(bottom, other.bottom + dy);
  top = std::max(top, other.top + dy);
}

TEXT_SIGHT::TEXT_SIGHT(const font& glyphs, const drawfont& text, DOT origin, int stroke,
                       DRAW_DEVICE& device)
    : glyphs_(glyphs),
      width_scale_(text.widthScale),
      height_scale_(text.heightScale),
      stroke_(stroke),
      widest_(std::max({1.0, std::abs(width_scale_), std::abs(height_scale_), std::abs(stroke_)})),
      scale_(device.GetScale()) {
  const TURN turn(text.mirror, text.angle);
  const FDOT x = turn.OfDoubles(1.0, 0.0);
  const FDOT y = turn.OfDoubles(0.0, 1.0);
  const double zero_x = device.wX(0);
  const double zero_y = device.wY(0);
  across_ = {zero_x + origin.x * scale_, x.x * scale_, y.x * scale_,
             static_cast<double>(device.w())};
  down_ = {zero_y - origin.y * scale_, -x.y * scale_, -y.y * scale_,
           static_cast<double>(device.h())};
  margin_ = std::max(device.wR(stroke), 0) + kPixelSlack + kModelSlack * scale_;
  if (!(scale_ > 0.0) || !IsSafe(zero_x) || !IsSafe(zero_y) || !IsSafe(across_.start) ||
      !IsSafe(down_.start) || !IsSafe(margin_) || !IsSafe(origin.x) || !IsSafe(origin.y)) {
    scale_ = 0.0;
  }
}

void TEXT_SIGHT::INK::Clear() {
  scaled.Clear();
  by_width.Clear();
  reach = 0.0;
  circles = false;
}

void TEXT_SIGHT::INK::Take(const INK& other, double dx, double dy) {
  scaled.Take(other.scaled, dx, dy);
  reach = std::max(reach, other.reach);
  if (other.circles) {
    circles = true;
    by_width.Take(other.by_width, dx, dy);
  }
}

void TEXT_SIGHT::Measure(unsigned char slot, INK& ink) const {
  ink.Clear();
  const font::PRIM_RANGE prims = glyphs_.Prims(slot);
  double farthest = 0.0;  // of a font point from the cursor
  for (int i = prims.first; i < prims.last; ++i) {
    const unsigned record = static_cast<unsigned>(glyphs_.primData[static_cast<unsigned>(i)]);
    switch (glyphs_.primKind[static_cast<unsigned>(i)]) {
      case PRIM_LINE: {
        const DOT* line = &glyphs_.linePoints[record];
        ink.scaled.Take(line[0].x, line[0].y);
        ink.scaled.Take(line[1].x, line[1].y);
        break;
      }
      case PRIM_ARC: {
        const FDOT* arc = &glyphs_.arcPoints[record];
        ink.scaled.Take(arc[0].x, arc[0].y);
        ink.reach = std::max(ink.reach, std::abs(arc[1].x * width_scale_));
        // What is no number is lost in a maximum, so it is asked for here.
        if (!IsSafe(arc[0].x) || !IsSafe(arc[0].y) || !IsSafe(arc[1].x)) {
          farthest = std::numeric_limits<double>::infinity();
        }
        break;
      }
      default: {
        const DOT* circle = &glyphs_.circlePoints[record];
        ink.circles = true;
        ink.by_width.Take(circle[0].x, circle[0].y);
        ink.reach = std::max(ink.reach, std::abs(circle[1].x * stroke_));
        break;
      }
    }
  }
  for (const RANGE& range : {ink.scaled, ink.by_width}) {
    if (range.left <= range.right) {
      farthest = std::max({farthest, -range.left, -range.bottom, range.right, range.top});
    }
  }
  // Cursor and point are scaled apart, so each must be safe by itself.
  if (!IsSafe(farthest * widest_)) {
    ink.reach = std::numeric_limits<double>::infinity();
  }
}

const TEXT_SIGHT::INK& TEXT_SIGHT::InkOf(unsigned char slot) {
  INK& ink = ink_[slot];
  if (!measured_[slot]) {
    measured_[slot] = true;
    Measure(slot, ink);
  }
  return ink;
}

// `margin` already holds the reach; the box is in model units.
TEXT_SIGHT::PLACE TEXT_SIGHT::PlaceOn(const AXIS& axis, double left, double right, double bottom,
                                      double top, double margin) {
  const double x0 = left * axis.by_x;
  const double x1 = right * axis.by_x;
  const double y0 = bottom * axis.by_y;
  const double y1 = top * axis.by_y;
  const double low = axis.start + std::min(x0, x1) + std::min(y0, y1) - margin;
  const double high = axis.start + std::max(x0, x1) + std::max(y0, y1) + margin;
  if (!IsSafe(low) || !IsSafe(high)) {
    return PLACE::kUnknown;
  }
  if (high < 0.0 || low > axis.size) {
    return PLACE::kOutside;
  }
  return low >= 0.0 && high <= axis.size ? PLACE::kInside : PLACE::kAcross;
}

TEXT_SIGHT::PLACE TEXT_SIGHT::PlaceOf(const RANGE& range, double x_scale, double y_scale,
                                      double reach) const {
  const auto [left, right] = std::minmax({range.left * x_scale, range.right * x_scale});
  const auto [bottom, top] = std::minmax({range.bottom * y_scale, range.top * y_scale});
  for (const double v :
       {range.left, range.right, range.bottom, range.top, left, right, bottom, top, reach}) {
    if (!IsSafe(v)) {
      return PLACE::kUnknown;
    }
  }
  const double margin = margin_ + reach * scale_;
  const PLACE across = PlaceOn(across_, left, right, bottom, top, margin);
  const PLACE down = PlaceOn(down_, left, right, bottom, top, margin);
  if (across == PLACE::kUnknown || down == PLACE::kUnknown) {
    return PLACE::kUnknown;
  }
  if (across == PLACE::kOutside || down == PLACE::kOutside) {
    return PLACE::kOutside;
  }
  return across == PLACE::kInside && down == PLACE::kInside ? PLACE::kInside : PLACE::kAcross;
}

TEXT_SIGHT::PLACE TEXT_SIGHT::PlaceOf(const INK& ink) const {
  PLACE place = PLACE::kOutside;
  if (ink.scaled.left <= ink.scaled.right) {
    place = PlaceOf(ink.scaled, width_scale_, height_scale_, ink.reach);
  }
  if (ink.circles) {
    const PLACE circles = PlaceOf(ink.by_width, stroke_, stroke_, ink.reach);
    place = place == PLACE::kOutside ? circles : circles == PLACE::kUnknown ? circles : place;
  }
  return place;
}

// The place of a font point, taken for a glyph without extent.
bool TEXT_SIGHT::IsInside(double x, double y) const {
  const RANGE point = {x, y, x, y};
  return PlaceOf(point, width_scale_, height_scale_, 0.0) == PLACE::kInside;
}

bool TEXT_SIGHT::HidesAll(const char* s, std::size_t n) {
  if (scale_ == 0.0) {
    return false;
  }
  double x = 0.0;
  double y = 0.0;
  double farthest = 0.0;
  for (std::size_t k = 0; k < n; ++k) {
    const unsigned char c = static_cast<unsigned char>(s[k]);
    x = (c == kCarriageReturn ? 0.0 : x) + glyphs_.advance[c].x;
    y += glyphs_.advance[c].y;
    farthest = std::max({farthest, std::abs(x), std::abs(y)});
  }
  if (!IsSafe(farthest * widest_)) {
    return false;
  }
  // A text that begins in sight is drawn; its glyphs are looked at one by one when it leaves.
  if (IsInside(0.0, 0.0)) {
    partial_ = !IsInside(x, y);
    return false;
  }
  INK all;
  all.Clear();
  x = y = 0.0;
  for (std::size_t k = 0; k < n; ++k) {
    const unsigned char c = static_cast<unsigned char>(s[k]);
    x = c == kCarriageReturn ? 0.0 : x;
    all.Take(InkOf(c), x, y);
    x += glyphs_.advance[c].x;
    y += glyphs_.advance[c].y;
  }
  const PLACE place = PlaceOf(all);
  partial_ = place == PLACE::kAcross;
  return place == PLACE::kOutside;
}

bool TEXT_SIGHT::HidesGlyph(unsigned char slot, DOT cursor) {
  INK moved;
  moved.Clear();
  moved.Take(InkOf(slot), cursor.x, cursor.y);
  return PlaceOf(moved) == PLACE::kOutside;
}

}  // namespace kr
