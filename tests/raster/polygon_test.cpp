// Polygons and rectangles.
#include <chrono>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "tests/raster/any_shape.h"

namespace {

using krtest::Canvas;
using krtest::ShapeMaker;
__extension__ typedef __int128 wide_int;

// Whether an odd number of edges lies left of the pixel's centre, or on it.
bool Inside(const std::vector<POINT>& corners, std::int64_t x, std::int64_t y) {
  bool inside = false;
  for (std::size_t i = 0; i < corners.size(); ++i) {
    POINT a = corners[i], b = corners[(i + 1) % corners.size()];
    if (a.y > b.y) {
      std::swap(a, b);
    }
    if (a.y <= y && y < b.y) {
      const wide_int dy = wide_int{b.y} - a.y;
      inside ^= (x - a.x) * dy >= (wide_int{b.x} - a.x) * (y - a.y);
    }
  }
  return inside;
}

TEST(Polygon, WithoutPenItIsTheOddInside) {
  ShapeMaker maker(31);
  for (const int extent : {8, 40, 5000, 0}) {
    for (int i = 0; i < 300; ++i) {
      krtest::AnyShape shape = maker.shape(extent);
      shape.kind = krtest::AnyShape::polygon;
      shape.style = PS_NULL;
      shape.filled = true;
      const POINT at = maker.place_on(shape);
      const int x = at.x - 20, y = at.y - 20;
      std::string expected;
      for (int row = 0; row < 40; ++row) {
        for (int column = 0; column < 40; ++column) {
          expected +=
              Inside(shape.points, std::int64_t{x} + column, std::int64_t{y} + row) ? 'o' : '.';
        }
        expected += '\n';
      }
      ASSERT_EQ(shape.view(x, y, 40, 40, 1, R2_COPYPEN), expected) << shape.text();
    }
  }
}

TEST(Polygon, TheOutlineIsItsEdgesAndTheFillIsTheRest) {
  ShapeMaker maker(32);
  for (int i = 0; i < 300; ++i) {
    krtest::AnyShape shape = maker.shape(40);
    shape.kind = krtest::AnyShape::polygon;
    shape.style = PS_SOLID;
    shape.filled = true;
    Canvas lines(48, 48);
    lines.pen(PS_SOLID, shape.width, 0x010000);
    for (std::size_t k = 0; k < shape.points.size(); ++k) {
      const POINT a = shape.points[k], b = shape.points[(k + 1) % shape.points.size()];
      lines.line(a.x, a.y, b.x, b.y);
    }
    std::string expected = krtest::Picture(lines.dc, 1);
    for (int at = 0; at < 48 * 48; ++at) {
      char& dot = expected[static_cast<std::size_t>(at / 48 * 49 + at % 48)];
      if (dot == '.' && Inside(shape.points, at % 48, at / 48)) {
        dot = 'o';
      }
    }
    ASSERT_EQ(shape.view(0, 0, 48, 48, 1, R2_COPYPEN), expected) << shape.text();
  }
}

TEST(Polygon, NeighboursShareNoPixelAndLeaveNoGap) {
  // A fan of triangles about one point, without a pen, each painting by XOR: all of it once.
  Canvas canvas(40, 40);
  canvas.pen(PS_NULL, 1);
  canvas.brush(0xffffff);
  SetROP2(canvas.dc, R2_XORPEN);
  const POINT rim[] = {{0, 0}, {17, 0}, {40, 0}, {40, 23}, {40, 40}, {5, 40}, {0, 40}, {0, 9}};
  for (int i = 0; i < 8; ++i) {
    const POINT triangle[] = {{19, 22}, rim[i], rim[(i + 1) % 8]};
    Polygon(canvas.dc, triangle, 3);
  }
  std::string all;
  for (int i = 0; i < 40; ++i) {
    all += std::string(40, '#') + '\n';
  }
  EXPECT_EQ(canvas.picture(), all);
}

TEST(Polygon, DashesRunOnFromEdgeToEdge) {
  Canvas canvas(12, 7);
  canvas.pen(PS_DOT, 1);
  canvas.brush(0x0000ff);
  const POINT box[] = {{0, 0}, {11, 0}, {11, 6}, {0, 6}};
  Polygon(canvas.dc, box, 4);
  EXPECT_EQ(canvas.picture(0xff0000),
            "###...###...\n"
            ".oooooooooo#\n"
            "#oooooooooo#\n"
            "#oooooooooo#\n"
            "#oooooooooo.\n"
            ".oooooooooo.\n"
            "..###...###.\n");
}

TEST(Polygon, FewPoints) {
  Canvas canvas(6, 3);
  canvas.brush(0xffffff);
  const POINT same[] = {{4, 1}, {4, 1}, {4, 1}};
  Polygon(canvas.dc, same, 3);
  const POINT two[] = {{0, 0}, {2, 2}};
  Polygon(canvas.dc, two, 2);
  EXPECT_EQ(canvas.picture(), "#.....\n.#..#.\n..#...\n");
  SetROP2(canvas.dc, R2_XORPEN);
  Polygon(canvas.dc, two, 2);
  Polygon(canvas.dc, same, 3);
  EXPECT_EQ(canvas.picture(), "......\n......\n......\n");
  canvas.pen(PS_DOT, 1);
  Polygon(canvas.dc, same, 2);
  EXPECT_EQ(canvas.picture(), "......\n....#.\n......\n");
}

TEST(Polygon, TenMillionPoints) {
  std::vector<POINT> points(10'000'000);
  for (std::size_t i = 0; i < points.size(); ++i) {
    points[i] = {static_cast<LONG>(i % 97), static_cast<LONG>(i / 97 % 89)};
  }
  Canvas canvas(100, 100);
  canvas.pen(PS_SOLID, 1);
  canvas.brush(0xffffff);
  EXPECT_TRUE(Polygon(canvas.dc, points.data(), static_cast<int>(points.size())));
  EXPECT_EQ(krtest::PixelAt(canvas.dc, 0, 0), 0xffffffu);
}

TEST(Polygon, EdgesThatPassTheViewAreNotWalked) {
  // 200,000 edges, each as high as the view of 4000 rows: too many steps to take within the test's
  // time limit. One point of the first ten decides on the inside.
  ShapeMaker maker(33);
  std::vector<POINT> points;
  for (int i = 0; i < 100'000; ++i) {
    const LONG left = static_cast<LONG>(maker.number(-2147483647, -1000000));
    points.push_back({left, -2147483647});
    points.push_back({static_cast<LONG>(maker.number(-2147483647, -1000000)), 2147483647});
  }
  points.push_back({2147483647, 2147483647});
  points.push_back({2147483647, -2147483647});
  for (const int width : {1, 7}) {
    Canvas canvas(100, 4000);
    canvas.pen(PS_SOLID, width);
    canvas.brush(0x0000ff);
    EXPECT_TRUE(Polygon(canvas.dc, points.data(), static_cast<int>(points.size())));
    for (const int y : {0, 1999, 3999}) {
      EXPECT_EQ(krtest::PixelAt(canvas.dc, 50, y), Inside(points, 50, y) ? 0xff0000u : 0u);
    }
  }
}

TEST(Rectangle, OutlineAndFill) {
  Canvas canvas(26, 8);
  canvas.brush(0x0000ff);
  Rectangle(canvas.dc, 0, 0, 5, 4);
  Rectangle(canvas.dc, 8, 7, 6, 1);
  Rectangle(canvas.dc, 9, 0, 10, 6);
  Rectangle(canvas.dc, 11, 3, 11, 9);
  canvas.pen(PS_SOLID, 3);
  Rectangle(canvas.dc, 13, 1, 20, 7);
  canvas.pen(PS_NULL, 3);
  Rectangle(canvas.dc, 22, 1, 25, 4);
  EXPECT_EQ(canvas.picture(0xff0000),
            "#####....#..#########.....\n"
            "#ooo#.##.#..#########.ooo.\n"
            "#ooo#.##.#..#########.ooo.\n"
            "#####.##.#..###ooo###.ooo.\n"
            "......##.#..###ooo###.....\n"
            "......##.#..#########.....\n"
            "......##....#########.....\n"
            "............#########.....\n");
}

}  // namespace
