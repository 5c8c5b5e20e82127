// Measuring a text and placing it on its anchor.
#include "krdcmmn/font/text_layout.h"

#include <cmath>

#include "krdcmmn/font/drawfont.h"
#include "krdcmmn/font/font.h"

using KRD::DOT;
using KRD::FDOT;
using KRD::RoundHalfAway;

namespace kr {

namespace {

constexpr double kPi = 3.14159265358979323846;

// The ratio of width to height that SetHeight sets; anchoring assumes it whatever SetSWidth says.
constexpr double kWidthRatio = 0.75;

int QuarterOf(int degrees) {
  return degrees >= 0 && degrees < 360 && degrees % 90 == 0 ? degrees / 90 : -1;
}

FDOT QuarterTurn(int quarter, double x, double y) {
  switch (quarter) {
    case 0:
      return {x, y};
    case 1:
      return {-y, x};
    case 2:
      return {-x, -y};
    default:
      return {y, -x};
  }
}

// Extents of a text in font units.
struct MEASURE {
  std::int64_t width = 0;   // of the widest line
  std::int64_t pitch = 0;   // of all further lines together; negative when lines go down
  std::int64_t bottom = 0;  // the lowest point of a glyph's lines, 0 at most
};

// Only CR starts a line over, and then steps by its own advance as any other byte does; a bare LF
// counts a line. The last byte is measured by its box.
MEASURE Measure(const font& glyphs, const char* s, std::size_t n) {
  MEASURE m;
  std::int64_t line = 0;
  std::int64_t lines = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const unsigned char c = static_cast<unsigned char>(s[i]);
    if (c == kLineFeed) {
      ++lines;
      continue;
    }
    if (c == kCarriageReturn) {
      line = 0;
    }
    line += i + 1 < n ? glyphs.advance[c].x : glyphs.boxMax[c].x;
    m.width = std::max(m.width, line);
    m.bottom = std::min<std::int64_t>(m.bottom, glyphs.boxMin[c].y);
  }
  m.pitch = glyphs.boxMin[kLineFeed].y * lines;
  return m;
}

}  // namespace

TURN::TURN(bool mirror, std::int32_t angle) : mirror_(mirror) {
  const int degrees = static_cast<int>(angle * 0.1);
  const int reduced = degrees < 0 ? (degrees % 360 + 360) % 360 : degrees;
  quarter_ = QuarterOf(reduced);
  exact_quarter_ = QuarterOf(degrees);
  sine_ = std::sin(degrees * kPi / 180.0);
  cosine_ = std::cos(degrees * kPi / 180.0);
  turn_sine_ = std::sin(reduced * kPi / 180.0);
  turn_cosine_ = std::cos(reduced * kPi / 180.0);
}

DOT TURN::Of(std::int64_t x, std::int64_t y) const {
  if (mirror_) {
    x = -x;
  }
  switch (quarter_) {
    case 0:
      return {Within32(x), Within32(y)};
    case 1:
      return {Within32(-y), Within32(x)};
    case 2:
      return {Within32(-x), Within32(-y)};
    case 3:
      return {Within32(y), Within32(-x)};
    default:
      break;
  }
  const double fx = static_cast<double>(x);
  const double fy = static_cast<double>(y);
  return {RoundHalfAway(fx * turn_cosine_ - fy * turn_sine_),
          RoundHalfAway(fy * turn_cosine_ + fx * turn_sine_)};
}

FDOT TURN::OfDoubles(double x, double y) const {
  if (mirror_) {
    x = -x;
  }
  return exact_quarter_ >= 0 ? QuarterTurn(exact_quarter_, x, y) : Plain(x, y);
}

FDOT TURN::Plain(double x, double y) const {
  return {x * cosine_ - y * sine_, y * cosine_ + x * sine_};
}

void drawfont::InitFont(font* f) {
  fontData = f;
  heightScale = 0.0;
  mirror = false;
  angle = 0;
  width = 0;
  align = ALIGN_MIDDLE_CENTRE;
  color = rectColor = 0xffffff;
}

void drawfont::SetHeight(int h) {
  const double units = fontData != nullptr ? fontData->height : 0.0;
  heightScale = units != 0.0 ? h / units : 0.0;
  widthScale = heightScale * kWidthRatio;
}

FDOT drawfont::GetStrAlign(const char* s) {
  const std::size_t n = TextLength(s);
  if (n == 0 || fontData == nullptr) {
    return {0.0, 0.0};
  }
  const MEASURE m = Measure(*fontData, s, n);
  const double w = static_cast<double>(m.width);
  const double h = fontData->height;
  const double p = static_cast<double>(m.pitch);
  const int place =
      align >= ALIGN_TOP_LEFT && align <= ALIGN_BOTTOM_RIGHT ? align : ALIGN_BOTTOM_LEFT;
  const double across[] = {0.5, -(w * kWidthRatio * 0.5), -0.5 - w * kWidthRatio};
  const double up[] = {-h - 0.5, (h - p) * 0.5 - h, (h - p) - h + 0.5};
  const TURN turn(mirror, angle);
  const double x = across[place % 3];
  const double y = up[place / 3];
  return mirror ? turn.OfDoubles(x, y) : turn.Plain(x, y);
}

void drawfont::GetStringSize(const char* s, DOT* rect) {
  const FDOT anchor = GetStrAlign(s);
  std::fill_n(rect, 4,
              DOT{RoundHalfAway(anchor.x * heightScale), RoundHalfAway(anchor.y * heightScale)});
  const std::size_t n = TextLength(s);
  if (n == 0 || fontData == nullptr) {
    const DOT up{0, RoundHalfAway(heightScale)};
    rect[1] = Plus(rect[1], up);
    rect[2] = Plus(rect[2], up);
    return;
  }
  const MEASURE m = Measure(*fontData, s, n);
  const double w = static_cast<double>(m.width);
  const std::int64_t right = std::int64_t{RoundHalfAway(w * widthScale + widthScale)} + width;
  const std::int64_t left = -std::int64_t{width};
  const std::int64_t bottom =
      RoundHalfAway(static_cast<double>(m.bottom + m.pitch) * heightScale - width);
  const std::int64_t top =
      RoundHalfAway((fontData->height - fontData->descent) * heightScale + width);
  const TURN turn(mirror, angle);
  const DOT corners[] = {turn.Of(right, bottom), turn.Of(right, top), turn.Of(left, top),
                         turn.Of(left, bottom)};
  for (int i = 0; i < 4; ++i) {
    DOT& corner = rect[mirror ? 3 - i : i];
    corner = Plus(corner, corners[i]);
  }
}

void drawfont::AddOffsetToRect(DOT* rect, DOT offset) const {
  for (int i = 0; i < 4; ++i) {
    rect[i] = Plus(rect[i], offset);
  }
}

}  // namespace kr
