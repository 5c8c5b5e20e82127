// The shapes of a DRAW_DEVICE: mapped, rejected when they cannot be seen, and handed to the
// platform whole.
#include <array>
#include <cmath>
#include <cstring>
#include <memory>

#include "krdcmmn/draw/draw_device.h"

using KRD::RoundHalfAway;

namespace {

// A grid finer than this many pixels is not drawn.
constexpr int kFinestGrid = 10;
// Arcs whose ends are closer than this in both directions are drawn as their chord.
constexpr int kShortArc = 4;

struct SPAN {
  std::int64_t low;
  std::int64_t high;
};

SPAN SpanOf(const POINT* points, int count, LONG POINT::*axis) {
  SPAN span{points[0].*axis, points[0].*axis};
  for (int i = 1; i < count; ++i) {
    span.low = std::min<std::int64_t>(span.low, points[i].*axis);
    span.high = std::max<std::int64_t>(span.high, points[i].*axis);
  }
  return span;
}

int Narrow(std::int64_t v) {
  return static_cast<int>(std::clamp<std::int64_t>(v, std::numeric_limits<std::int32_t>::min(),
                                                   std::numeric_limits<std::int32_t>::max()));
}

// A model length of a track's side, cut toward zero.
std::int64_t Truncate(double v) {
  return Narrow(static_cast<std::int64_t>(std::clamp(v, -4e9, 4e9)));
}

KRD::DOT Sum(std::int64_t x, std::int64_t y) {
  return {Narrow(x), Narrow(y)};
}

}  // namespace

HDC& DRAW_DEVICE::hdc() {
  return directDraw ? wndDC : extraBuffer ? extraDC : memDC;
}

bool DRAW_DEVICE::Hidden(const POINT* points, int count, std::int64_t margin, bool closed) const {
  const PAIR size = TargetSize();
  const std::int64_t open = closed ? 0 : 1;
  const SPAN x = SpanOf(points, count, &POINT::x);
  const SPAN y = SpanOf(points, count, &POINT::y);
  return x.high < -margin || x.low > size.w + margin - open || y.high < -margin ||
         y.low > size.h + margin - open;
}

bool DRAW_DEVICE::HiddenRound(const POINT* points, int count, std::int64_t reach) const {
  const PAIR size = TargetSize();
  const SPAN x = SpanOf(points, count, &POINT::x);
  const SPAN y = SpanOf(points, count, &POINT::y);
  return x.high + reach < 0 || x.low - reach >= size.w || y.high + reach < 0 ||
         y.low - reach >= size.h;
}

int DRAW_DEVICE::pixel(int x, int y, std::uint32_t colour) {
  const POINT p = Map({x, y});
  if (Hidden(&p, 1, 0, false)) {
    return 0;
  }
  return SetPixelV(hdc(), p.x, p.y, colour);
}

int DRAW_DEVICE::dot(DOT p) {
  constexpr int kReach = 2;
  const POINT at = Map(p);
  if (Hidden(&at, 1, kReach, true)) {
    return 0;
  }
  return EllipseOf(at, kReach);
}

int DRAW_DEVICE::Stroke(POINT a, POINT b) {
  HDC const target = hdc();
  MoveToEx(target, a.x, a.y, nullptr);
  return LineTo(target, b.x, b.y);
}

int DRAW_DEVICE::line(DOT a, DOT b) {
  const POINT ends[] = {Map(a), Map(b)};
  if (Hidden(ends, 2, penWidth, true)) {
    return 0;
  }
  return Stroke(ends[0], ends[1]);
}

int DRAW_DEVICE::rectangle(DOT a, DOT b) {
  const POINT corners[] = {Map(a), Map(b)};
  if (Hidden(corners, 2, penWidth, false)) {
    return 0;
  }
  const auto [x0, x1] = std::minmax(corners[0].x, corners[1].x);
  const auto [y0, y1] = std::minmax(corners[0].y, corners[1].y);
  HDC const target = hdc();
  MoveToEx(target, x0, y0, nullptr);
  LineTo(target, x1, y0);
  LineTo(target, x1, y1);
  LineTo(target, x0, y1);
  return LineTo(target, x0, y0);
}

int DRAW_DEVICE::fillrect(std::int32_t x1, std::int32_t y1, std::int32_t x2, std::int32_t y2) {
  return fillrect({x1, y1}, {x2, y2});
}

int DRAW_DEVICE::fillrect(DOT a, DOT b) {
  const POINT corners[] = {Map(a), Map(b)};
  if (Hidden(corners, 2, penWidth, false)) {
    return 0;
  }
  const auto [x0, x1] = std::minmax(corners[0].x, corners[1].x);
  const auto [y0, y1] = std::minmax(corners[0].y, corners[1].y);
  return Rectangle(hdc(), x0, y0, x1, y1);
}

// The box has the greater y second.
int DRAW_DEVICE::EllipseOf(POINT centre, int radius) {
  const std::int64_t x = centre.x;
  const std::int64_t y = centre.y;
  return Ellipse(hdc(), Narrow(x - radius), Narrow(y + radius), Narrow(x + radius),
                 Narrow(y - radius));
}

int DRAW_DEVICE::circle(DOT c, std::int32_t r) {
  const POINT centre = Map(c);
  const int radius = wR(r);
  if (HiddenRound(&centre, 1, std::int64_t{penWidth} + radius)) {
    return 0;
  }
  HDC const target = hdc();
  HGDIOBJ const brush = SelectObject(target, GetStockObject(NULL_BRUSH));
  const int result = EllipseOf(centre, radius);
  SelectObject(target, brush);
  return result;
}

int DRAW_DEVICE::fillcirc(DOT c, std::int32_t r) {
  const POINT centre = Map(c);
  const int radius = wR(r);
  if (HiddenRound(&centre, 1, std::int64_t{penWidth} + radius)) {
    return 0;
  }
  return EllipseOf(centre, radius);
}

int DRAW_DEVICE::arc(DOT c, std::int32_t r, DOT from, DOT to) {
  const POINT centre = Map(c);
  const int mapped = wR(r);
  const int radius = mapped < 2 ? 1 : mapped;
  if (HiddenRound(&centre, 1, std::int64_t{penWidth} + radius)) {
    return 0;
  }
  const POINT first = Map(from);
  const POINT last = Map(to);
  const auto less = [](std::int32_t a, std::int32_t b) {
    return static_cast<double>(std::int64_t{a} - b);
  };
  // Negative when the way from `from` to `to` is the long way round.
  const double turn = less(to.y, c.y) * less(from.x, to.x) - less(from.y, to.y) * less(to.x, c.x);
  const bool long_way = turn < 0;
  if (first.x == last.x && first.y == last.y) {
    return long_way ? circle(c, r) : 0;
  }
  if (std::abs(std::int64_t{first.x} - last.x) < kShortArc &&
      std::abs(std::int64_t{first.y} - last.y) < kShortArc) {
    return long_way ? circle(c, r) : Stroke(first, last);
  }
  const std::int64_t x = centre.x;
  const std::int64_t y = centre.y;
  return Arc(hdc(), Narrow(x - radius), Narrow(y + radius), Narrow(x + radius), Narrow(y - radius),
             first.x, first.y, last.x, last.y);
}

int DRAW_DEVICE::sousage(DOT c, std::int32_t r, DOT half, bool thick) {
  const std::int64_t cx = c.x;
  const std::int64_t cy = c.y;
  const POINT ends[] = {Map(Sum(cx + half.x, cy + half.y)), Map(Sum(cx - half.x, cy - half.y))};
  const int radius = wR(r);
  if (HiddenRound(ends, 2, radius)) {
    return 0;
  }
  if (thick) {
    setPenStyle(PS_SOLID, Narrow(std::int64_t{r} * 2), penColour);
    Stroke(ends[0], ends[1]);
    setPenStyle(PS_SOLID, 0, penColour);
    return 1;
  }
  if (half.x == 0 && half.y == 0) {
    EllipseOf(ends[0], radius);
    return 1;
  }
  const double hx = half.x;
  const double hy = half.y;
  const double k = r / std::sqrt(hx * hx + hy * hy);
  const std::int64_t nx = Truncate(-hy * k);
  const std::int64_t ny = Truncate(hx * k);
  const DOT corners[] = {
      Sum(cx + half.x + nx, cy + half.y + ny), Sum(cx + half.x - nx, cy + half.y - ny),
      Sum(cx - half.x - nx, cy - half.y - ny), Sum(cx - half.x + nx, cy - half.y + ny)};
  std::array<POINT, 4> mapped;
  std::transform(std::begin(corners), std::end(corners), mapped.begin(),
                 [this](DOT p) { return Map(p); });
  Polygon(hdc(), mapped.data(), 4);
  return 1;
}

int DRAW_DEVICE::PolygonOf(const DOT* points, int count) {
  std::array<POINT, 4> mapped;
  std::transform(points, points + count, mapped.begin(), [this](DOT p) { return Map(p); });
  if (Hidden(mapped.data(), count, penWidth, false)) {
    return 0;
  }
  return Polygon(hdc(), mapped.data(), count);
}

int DRAW_DEVICE::fillpoly3(DOT a, DOT b, DOT c) {
  const DOT points[] = {a, b, c};
  return PolygonOf(points, 3);
}

int DRAW_DEVICE::fillpoly4(DOT a, DOT b, DOT c, DOT d) {
  const DOT points[] = {a, b, c, d};
  return PolygonOf(points, 4);
}

int DRAW_DEVICE::fillpoly(unsigned int n, DOT offset, const DOT* pts) {
  if (n == 0 || n > static_cast<unsigned>(std::numeric_limits<int>::max())) {
    return 0;
  }
  const auto mapped = std::make_unique_for_overwrite<POINT[]>(n);
  for (unsigned i = 0; i < n; ++i) {
    mapped[i] = Map(Sum(std::int64_t{pts[i].x} + offset.x, std::int64_t{pts[i].y} + offset.y));
  }
  return Polygon(hdc(), mapped.get(), static_cast<int>(n));
}

int DRAW_DEVICE::fillpoly(unsigned int n, const DOT* pts) {
  return fillpoly(n, {0, 0}, pts);
}

void DRAW_DEVICE::cleardevice(std::uint32_t colour) {
  setColorBrush(colour);
  const PAIR size = TargetSize();
  PatBlt(hdc(), 0, 0, size.w, size.h, PATCOPY);
}

void DRAW_DEVICE::DrawGrid(const DOT& step, std::uint32_t colour, bool lines) {
  if (wR(step.x) < kFinestGrid || wR(step.y) < kFinestGrid) {
    return;
  }
  LTRB area;
  GetDrawingRect(area);
  // The grid coordinate nearest to `edge`, up to half a step outside.
  const auto first = [](std::int32_t edge, std::int32_t origin, std::int32_t pitch) {
    const double steps = static_cast<double>(std::int64_t{edge} - origin) / pitch;
    return std::int64_t{RoundHalfAway(steps)} * pitch + origin;
  };
  const std::int64_t x0 = first(area.left, gridOrigin.x, step.x);
  const std::int64_t y0 = first(area.bottom, gridOrigin.y, step.y);
  if (!lines) {
    for (std::int64_t x = x0; x <= area.right; x += step.x) {
      for (std::int64_t y = y0; y <= area.top; y += step.y) {
        pixel(Narrow(x), Narrow(y), colour);
      }
    }
    return;
  }
  setPenStyle(PS_SOLID, 0, colour);
  for (std::int64_t x = x0; x <= area.right; x += step.x) {
    line({Narrow(x), area.bottom}, {Narrow(x), area.top});
  }
  for (std::int64_t y = y0; y <= area.top; y += step.y) {
    line({area.left, Narrow(y)}, {area.right, Narrow(y)});
  }
}

// One object serves all three surfaces, so that a change of target selects nothing. Gives what the
// window's context held before.
HGDIOBJ DRAW_DEVICE::SelectEverywhere(HGDIOBJ object) {
  HGDIOBJ const replaced = SelectObject(wndDC, object);
  SelectObject(memDC, object);
  SelectObject(extraDC, object);
  return replaced;
}

void DRAW_DEVICE::DropReplaced(HGDIOBJ replaced, HGDIOBJ original) {
  if (replaced != original) {
    DeleteObject(replaced);
  }
}

void DRAW_DEVICE::setPenStyle(int style, int width, std::uint32_t colour) {
  const int pixels = RoundHalfAway(width * scale);
  if (penColour == colour && penWidth == pixels && penStyle == style) {
    return;
  }
  DropReplaced(SelectEverywhere(CreatePen(style, pixels, colour)), origPen);
  penColour = colour;
  penStyle = style;
  penWidth = pixels;
}

void DRAW_DEVICE::setColorBrush(std::uint32_t colour) {
  if (brushColour == colour) {
    return;
  }
  HBRUSH const brush = colour == kHollow ? GetStockObject(NULL_BRUSH) : CreateSolidBrush(colour);
  DropReplaced(SelectEverywhere(brush), origBrush);
  brushColour = colour;
}

void DRAW_DEVICE::SelectFont(const LOGFONTA& description) {
  DropReplaced(SelectEverywhere(CreateFontIndirectA(&description)), origFont);
}

bool DRAW_DEVICE::SetFont(const LOGFONTA& font) {
  if (fontSet == 1 && std::memcmp(&font, &fonts[1], sizeof(font)) == 0) {
    return true;
  }
  fonts[1] = font;
  fontSet = 1;
  SelectFont(font);
  return true;
}

void DRAW_DEVICE::RestoreFont() {
  if (fontSet == 0) {
    return;
  }
  fontSet = 0;
  SelectFont(fonts[0]);
}
