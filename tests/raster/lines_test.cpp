// Lines against a plain reference that decides pixel by pixel.
#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

#include "tests/raster/any_shape.h"

namespace {

using krtest::Canvas;
using krtest::ShapeMaker;
__extension__ typedef __int128 wide_int;

wide_int Abs(wide_int v) {
  return v < 0 ? -v : v;
}

// Whether a one-pixel line covers (x, y): the pixel nearest to the ideal line, of two the lower.
bool OnThinLine(POINT a, POINT b, std::int64_t x, std::int64_t y) {
  wide_int dx = wide_int{b.x} - a.x, dy = wide_int{b.y} - a.y;
  wide_int along = x - a.x, across = y - a.y;
  if (Abs(dy) > Abs(dx)) {
    std::swap(dx, dy);
    std::swap(along, across);
  }
  if (dx < 0) {
    dx = -dx;
    along = -along;
  }
  // Twice the distance across, in units of 1 / dx pixel: within half a pixel.
  const wide_int off = 2 * (across * dx - along * dy);
  return along >= 0 && along < dx && off >= -dx && off < dx;
}

// Whether a pen of `width` along the segment covers (x, y).
bool OnStroke(POINT a, POINT b, int width, std::int64_t x, std::int64_t y) {
  const int even = width % 2 == 0 ? 1 : 0;
  const wide_int qx = 2 * (x - a.x) + even, qy = 2 * (y - a.y) + even;
  const wide_int dx = 2 * (wide_int{b.x} - a.x), dy = 2 * (wide_int{b.y} - a.y);
  const wide_int w2 = wide_int{width} * width;
  const wide_int length2 = dx * dx + dy * dy;
  const wide_int dot = qx * dx + qy * dy;
  if (dot <= 0) {
    return qx * qx + qy * qy <= w2;
  }
  if (dot >= length2) {
    return (qx - dx) * (qx - dx) + (qy - dy) * (qy - dy) <= w2;
  }
  const wide_int cross = qx * dy - qy * dx;
  return cross * cross <= w2 * length2;
}

template <class Covers>
std::string Reference(int x, int y, int size, Covers covers) {
  std::string rows;
  for (int i = 0; i < size; ++i) {
    for (int j = 0; j < size; ++j) {
      rows += covers(std::int64_t{x} + j, std::int64_t{y} + i) ? '#' : '.';
    }
    rows += '\n';
  }
  return rows;
}

POINT Within(ShapeMaker& maker, std::int64_t limit) {
  return {static_cast<LONG>(maker.number(-limit, limit - 1)),
          static_cast<LONG>(maker.number(-limit, limit - 1))};
}

TEST(Lines, ThinOnesAreTheNearestPixels) {
  ShapeMaker maker(11);
  for (const std::int64_t limit : {6, 20, 1000, 1 << 20, 1 << 30}) {
    for (int i = 0; i < 150; ++i) {
      krtest::AnyShape line;
      line.points = {Within(maker, limit), Within(maker, limit)};
      const POINT at = maker.place_on(line);
      const int x = at.x - 12, y = at.y - 12;
      ASSERT_EQ(line.view(x, y, 24, 24, 1, R2_COPYPEN),
                Reference(x, y, 24,
                          [&](std::int64_t px, std::int64_t py) {
                            return OnThinLine(line.points[0], line.points[1], px, py);
                          }))
          << line.text();
    }
  }
}

TEST(Lines, WideOnesAreAllPixelsWithinHalfTheWidth) {
  ShapeMaker maker(12);
  for (const std::int64_t limit : {1, 4, 15, 1000, 1 << 22, 1 << 28}) {
    for (int i = 0; i < 150; ++i) {
      krtest::AnyShape line;
      line.points = {Within(maker, limit), Within(maker, limit)};
      line.width = static_cast<int>(
          maker.number(2, i % 10 == 0 ? 2 * std::min<std::int64_t>(limit, 1 << 26) + 2 : 12));
      if (i % 4 == 0) {
        line.points[1].y = line.points[0].y;
      } else if (i % 4 == 1) {
        line.points[1].x = line.points[0].x;
      }
      const POINT at = maker.place_on(line);
      const int x = at.x - 16, y = at.y - 16;
      ASSERT_EQ(line.view(x, y, 32, 32, 1, R2_COPYPEN),
                Reference(x, y, 32,
                          [&](std::int64_t px, std::int64_t py) {
                            return OnStroke(line.points[0], line.points[1], line.width, px, py);
                          }))
          << line.text();
    }
  }
}

TEST(Lines, TheLastPointIsLeftOutAndTheReverseIsTheSameLine) {
  Canvas canvas(9, 5);
  canvas.line(1, 1, 7, 4);
  EXPECT_EQ(canvas.picture(),
            ".........\n"
            ".##......\n"
            "...##....\n"
            ".....##..\n"
            ".........\n");
  SetROP2(canvas.dc, R2_XORPEN);
  canvas.line(7, 4, 1, 1);
  EXPECT_EQ(canvas.picture(),
            ".........\n"
            ".#.......\n"
            ".........\n"
            ".........\n"
            ".......#.\n");
  canvas.line(3, 3, 3, 3);
  EXPECT_EQ(krtest::PixelAt(canvas.dc, 3, 3), 0u) << "a line to its own start has no pixel";
}

TEST(Lines, WideOnesByWidth) {
  Canvas canvas(22, 8);
  canvas.pen(PS_DASH, 2);  // wide pens are solid
  canvas.line(2, 3, 6, 3);
  canvas.pen(PS_SOLID, 3);
  canvas.line(11, 3, 11, 3);
  canvas.pen(PS_SOLID, 6);
  canvas.line(18, 4, 18, 4);
  EXPECT_EQ(canvas.picture(),
            "......................\n"
            "................####..\n"
            ".######...###..######.\n"
            ".######...###..######.\n"
            "..........###..######.\n"
            "...............######.\n"
            "................####..\n"
            "......................\n");
}

TEST(Lines, DashesAreCountedFromTheStartOfTheWholeLine) {
  const struct {
    int style;
    const char* steps;
  } rows[] = {
      {PS_DASH, "##################......##################......"},
      {PS_DOT, "###...###...###...###...###...###...###...###..."},
      {PS_DASHDOT, "#########......###......#########......###......"},
      {PS_DASHDOTDOT, "#########...###...###...#########...###...###..."},
      {PS_NULL, "................................................"},
      {77, "################################################"},
  };
  for (const auto& row : rows) {
    Canvas canvas(48, 1);
    canvas.pen(row.style, 0);
    canvas.line(0, 0, 48, 0);
    EXPECT_EQ(canvas.picture(), std::string(row.steps) + '\n');
    Canvas upright(1, 24);  // begins a million periods before the view, and ends in it
    upright.pen(row.style, 1);
    SetROP2(upright.dc, R2_XORPEN);
    upright.line(0, -24000000, 0, 20);
    std::string column;
    for (int y = 0; y < 20; ++y) {
      column += krtest::PixelAt(upright.dc, 0, y) != 0 ? '#' : '.';
    }
    EXPECT_EQ(column, std::string(row.steps, 20));
  }
  Canvas canvas(12, 1);
  canvas.pen(PS_DOT, 1, 0xff0000);
  SetBkMode(canvas.dc, OPAQUE);
  canvas.line(0, 0, 10, 0);
  EXPECT_EQ(canvas.picture(0x0000ff), "ooo###ooo#..\n") << "opaque gaps are white";
}

TEST(Lines, AVeryLongOneCostsItsVisiblePart) {
  Canvas canvas(100, 100);
  for (int i = 0; i < 20000; ++i) {  // hours, if whole lines were walked
    canvas.line(-2147483647 + i, -2147483647, 2147483647, 2147483647 - i);
  }
  EXPECT_NE(krtest::PixelAt(canvas.dc, 50, 50), 0u);
}

}  // namespace
