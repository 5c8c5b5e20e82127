// Random shapes for the properties that hold for all of them: small ones, and ones with coordinates
// at the ends of 32 bits that are looked at somewhere along their outline.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "krdcmmn/platform/gdi.h"

#include "tests/support/canvas.h"

namespace krtest {

struct AnyShape {
  enum Kind { line, ellipse, rectangle, arc, polygon, kinds };
  int kind = line;
  int style = PS_SOLID;
  int width = 1;
  bool filled = false;
  std::vector<POINT> points;  // of a box: two corners, then the rays

  void draw(HDC dc) const {
    const POINT* p = points.data();
    switch (kind) {
      case line:
        MoveToEx(dc, p[0].x, p[0].y, nullptr);
        LineTo(dc, p[1].x, p[1].y);
        break;
      case ellipse:
        Ellipse(dc, p[0].x, p[0].y, p[1].x, p[1].y);
        break;
      case rectangle:
        Rectangle(dc, p[0].x, p[0].y, p[1].x, p[1].y);
        break;
      case arc:
        Arc(dc, p[0].x, p[0].y, p[1].x, p[1].y, p[2].x, p[2].y, p[3].x, p[3].y);
        break;
      default:
        Polygon(dc, p, static_cast<int>(points.size()));
    }
  }

  // A window of `size` pixels that begins at (x, y), drawn with a pen of 1 and a brush of 2.
  std::string view(int x, int y, int w, int h, int times, int operation) const {
    Canvas canvas(w, h);
    canvas.pen(style, width, 0x010000);
    if (filled) {
      canvas.brush(0x020000);
    }
    SetROP2(canvas.dc, operation);
    SetViewportOrgEx(canvas.dc, -x, -y, nullptr);
    for (int i = 0; i < times; ++i) {
      draw(canvas.dc);
    }
    return Picture(canvas.dc, 1, 2);
  }

  std::string text() const {
    std::ostringstream out;
    out << "kind " << kind << " style " << style << " width " << width << " filled " << filled;
    for (const POINT& p : points) {
      out << " (" << p.x << ", " << p.y << ")";
    }
    return out.str();
  }
};

class ShapeMaker {
 public:
  explicit ShapeMaker(unsigned seed) : random_(seed) {}

  std::int64_t number(std::int64_t low, std::int64_t high) {
    return std::uniform_int_distribution<std::int64_t>(low, high)(random_);
  }

  AnyShape shape(int extent) {
    AnyShape s;
    s.kind = static_cast<int>(number(0, AnyShape::kinds - 1));
    s.style = static_cast<int>(number(0, 3) == 0 ? number(0, 5) : 0);
    s.width = static_cast<int>(number(0, 1) == 0 ? 1 : number(2, 14));
    s.filled = number(0, 1) == 1;
    const auto points = s.kind == AnyShape::polygon ? number(2, 7) : 4;
    for (std::int64_t i = 0; i < points; ++i) {
      s.points.push_back({coordinate(extent), coordinate(extent)});
    }
    return s;
  }

  // Somewhere on the shape's outline, kept within 32 bits with room for a view.
  POINT place_on(const AnyShape& s) {
    const double t = static_cast<double>(number(0, 1000)) / 1000;
    const auto& p = s.points;
    double x = p[0].x + t * (static_cast<double>(p[1].x) - p[0].x);
    double y = p[0].y + t * (static_cast<double>(p[1].y) - p[0].y);
    if (s.kind == AnyShape::ellipse || s.kind == AnyShape::arc) {
      const double turn = t * 6.283185307179586;
      x = (static_cast<double>(p[0].x) + p[1].x +
           std::cos(turn) * (static_cast<double>(p[1].x) - p[0].x)) /
          2;
      y = (static_cast<double>(p[0].y) + p[1].y +
           std::sin(turn) * (static_cast<double>(p[1].y) - p[0].y)) /
          2;
    } else if (s.kind == AnyShape::rectangle) {
      y = p[0].y;
    }
    const auto within = [](double v) {
      return static_cast<LONG>(std::clamp(v, -2147483000.0, 2147483000.0));
    };
    return {within(x), within(y)};
  }

 private:
  LONG coordinate(int extent) {
    if (extent != 0) {
      return static_cast<LONG>(number(-extent / 2, extent + extent / 2));
    }
    constexpr LONG kLeast = -2147483647 - 1;
    switch (number(0, 6)) {
      case 0:
        return kLeast;
      case 1:
        return 2147483647;
      case 2:
        return static_cast<LONG>(number(-100, 100));
      case 3:
        return static_cast<LONG>(number(-100000, 100000));
      default:
        return static_cast<LONG>(number(kLeast, 2147483647));
    }
  }

  std::mt19937 random_;
};

}  // namespace krtest
