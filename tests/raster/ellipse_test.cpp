// Ellipses, their outlines, rings and arcs, against what a person would say of them.
#include "krdcmmn/platform/raster/ellipse.h"

#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/raster/any_shape.h"

namespace {

using krtest::Canvas;
using krtest::PixelAt;
using krtest::ShapeMaker;
using Dots = std::set<std::pair<int, int>>;

constexpr int kSize = 90;

// The pixels that `draw` paints on a canvas whose first pixel is (-5, -5).
template <class Draw>
Dots Painted(int pen_style, int pen_width, bool filled, Draw draw) {
  Canvas canvas(kSize, kSize);
  canvas.pen(pen_style, pen_width);
  if (filled) {
    canvas.brush(0xffffff);
  }
  SetViewportOrgEx(canvas.dc, 5, 5, nullptr);
  draw(canvas.dc);
  Dots dots;
  for (int y = 0; y < kSize; ++y) {
    for (int x = 0; x < kSize; ++x) {
      if (PixelAt(canvas.dc, x, y) != 0) {
        dots.insert({x - 5, y - 5});
      }
    }
  }
  return dots;
}

Dots Ellipses(int style, int width, bool filled, int w, int h) {
  return Painted(style, width, filled, [&](HDC dc) { Ellipse(dc, 0, 0, w, h); });
}

// Whether the pixel's centre, moved half a pixel toward the middle along an axis, is within the
// ellipse through the outermost pixels' centres.
bool InShape(int w, int h, int x, int y) {
  const std::int64_t a = w - 1, b = h - 1;
  const std::int64_t qx = std::abs(2 * x - a), qy = std::abs(2 * y - b);
  const auto within = [&](std::int64_t px, std::int64_t py) {
    return px <= a && py <= b && px * px * b * b + py * py * a * a <= a * a * b * b;
  };
  return qx <= a && qy <= b &&
         (within(std::max<std::int64_t>(qx - 1, 0), qy) ||
          within(qx, std::max<std::int64_t>(qy - 1, 0)));
}

TEST(Ellipse, SmallCircles) {
  Canvas canvas(30, 8);
  for (int size = 1, x = 0; size <= 6; x += size + 1, ++size) {
    Ellipse(canvas.dc, x, 0, x + size, size);
  }
  Ellipse(canvas.dc, 28, 8, 30, 4);  // corners the other way round
  EXPECT_EQ(canvas.picture(),
            "#.##..#...##...###...####.....\n"
            "..##.#.#.#..#.#...#.#....#....\n"
            "......#..#..#.#...#.#....#....\n"
            "..........##..#...#.#....#....\n"
            "...............###..#....#..##\n"
            ".....................####...##\n"
            "............................##\n"
            "............................##\n");
}

TEST(Ellipse, TheSolidShapeIsWhatTheRuleSays) {
  for (int w = 1; w < 80; w += w < 12 ? 1 : 7) {
    for (int h = 1; h < 80; h += h < 12 ? 1 : 5) {
      Dots expected;
      for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
          if (InShape(w, h, x, y)) {
            expected.insert({x, y});
          }
        }
      }
      ASSERT_EQ(Ellipses(PS_NULL, 1, true, w, h), expected) << w << " by " << h;
      ASSERT_EQ(Ellipses(PS_SOLID, 1, true, w, h), expected) << w << " by " << h;
    }
  }
}

TEST(Ellipse, TheOutlineIsTheSolidShapesBorderConnectedAndSymmetric) {
  for (int w = 1; w < 80; w += w < 10 ? 1 : 9) {
    for (int h = 1; h < 80; h += h < 10 ? 1 : 11) {
      const Dots solid = Ellipses(PS_NULL, 1, true, w, h);
      const Dots outline = Ellipses(PS_SOLID, 1, false, w, h);
      Dots border;
      bool sides[4] = {};
      for (const auto& [x, y] : solid) {
        if (!solid.contains({x - 1, y}) || !solid.contains({x + 1, y}) ||
            !solid.contains({x, y - 1}) || !solid.contains({x, y + 1})) {
          border.insert({x, y});
        }
        sides[0] |= x == 0;
        sides[1] |= x == w - 1;
        sides[2] |= y == 0;
        sides[3] |= y == h - 1;
        ASSERT_TRUE(solid.contains({w - 1 - x, y}) && solid.contains({x, h - 1 - y}));
      }
      ASSERT_EQ(outline, border) << w << " by " << h;
      ASSERT_TRUE(sides[0] && sides[1] && sides[2] && sides[3]) << w << " by " << h;
      Dots reached, next{*outline.begin()};
      while (!next.empty()) {
        const auto [x, y] = *next.begin();
        next.erase(next.begin());
        reached.insert({x, y});
        for (int i = 0; i < 9; ++i) {
          const std::pair<int, int> dot{x + i % 3 - 1, y + i / 3 - 1};
          if (outline.contains(dot) && !reached.contains(dot)) {
            next.insert(dot);
          }
        }
      }
      ASSERT_EQ(reached.size(), outline.size()) << w << " by " << h << " falls apart";
    }
  }
}

TEST(Ellipse, ThreeWaysToTheSameExtents) {
  // One circle as a circle, and sizes on both sides of where 64 bits end, against the definition.
  ShapeMaker maker(21);
  for (int i = 0; i < 3000; ++i) {
    const std::int64_t limit = i % 3 == 0 ? 5000 : i % 3 == 1 ? 1 << 20 : std::int64_t{1} << 30;
    const std::int64_t a = maker.number(1, limit);
    const std::int64_t b = i % 5 == 0 ? a : maker.number(1, limit);
    const std::int64_t y = b - 2 * maker.number(0, b / 2);
    const std::int64_t x = krraster::OutlineExtent(a, b).at(y);
    __extension__ typedef __int128 wide_int;
    const auto within = [&](wide_int px, wide_int py) {
      return px * px * b * b + py * py * a * a <= wide_int{a} * a * b * b;
    };
    const auto in = [&](std::int64_t px) {
      return px <= a && (within(std::max<std::int64_t>(px - 1, 0), y) ||
                         within(px, std::max<std::int64_t>(y - 1, 0)));
    };
    ASSERT_TRUE(in(x) && !in(x + 2) && (x - a) % 2 == 0) << a << " " << b << " " << y << " " << x;
  }
}

TEST(Ellipse, CirclesInOneGoHaveTheSameExtents) {
  std::vector<std::int32_t> extents(1025);
  for (std::int32_t a = 1; a < 2048; a += a < 300 ? 1 : 29) {
    krraster::CircleExtents(a, a & 1, a, extents.data());
    for (std::int32_t y = a & 1; y <= a; y += 2) {
      ASSERT_EQ(extents[static_cast<std::size_t>(y / 2)], krraster::OutlineExtent(a, a).at(y)) << a;
    }
  }
}

TEST(Ellipse, AWidePenCoversHalfItsWidthOnBothSidesOfTheCircle) {
  for (const int size : {1, 2, 9, 10, 40, 61}) {
    for (const int width : {2, 3, 4, 7, 8}) {
      const Dots ring = Ellipses(PS_SOLID, width, false, size, size);
      for (int y = -5; y < kSize - 5; ++y) {
        for (int x = -5; x < kSize - 5; ++x) {
          const double distance = std::hypot(2 * x - (size - 1), 2 * y - (size - 1));
          const bool expected = distance < size - 1 + width && distance >= size - 1 - width;
          ASSERT_EQ(ring.contains({x, y}), expected)
              << "size " << size << " pen " << width << " at " << x << ", " << y;
        }
      }
    }
  }
}

TEST(Ellipse, ABoxWithoutPixelsDrawsNothing) {
  EXPECT_TRUE(Ellipses(PS_SOLID, 1, true, 0, 9).empty());
  EXPECT_TRUE(Ellipses(PS_SOLID, 5, true, 9, 0).empty());
  EXPECT_EQ(Ellipses(PS_SOLID, 1, true, 6, 1).size(), 6u);
  EXPECT_TRUE(Painted(PS_SOLID, 5, false, [](HDC dc) { Arc(dc, 3, 3, 3, 9, 0, 0, 9, 0); }).empty());
}

TEST(Ellipse, DashesGoRoundWithoutASeam) {
  for (const int size : {30, 31}) {
    const Dots whole = Ellipses(PS_SOLID, 1, false, size, size);
    const Dots dashes = Ellipses(PS_DOT, 1, false, size, size);
    EXPECT_GT(dashes.size(), whole.size() / 3);
    EXPECT_LT(dashes.size(), whole.size() * 2 / 3);
    // From the rightmost point anticlockwise: three steps painted, three not.
    const int middle = size / 2 - (size % 2 == 0 ? 1 : 0);
    for (int i = 0; i < 3; ++i) {
      EXPECT_TRUE(dashes.contains({size - 1, middle - i})) << i;
    }
    EXPECT_FALSE(dashes.contains({size - 1, middle - 3}));
  }
}

Dots Arcs(int width, int w, int h, POINT start, POINT end, int style = PS_SOLID) {
  return Painted(style, width, false,
                 [&](HDC dc) { Arc(dc, 0, 0, w, h, start.x, start.y, end.x, end.y); });
}

TEST(Ellipse, OutlinesThatPassTheViewAreNotWalked) {
  Canvas canvas(4000, 4000);
  for (const int width : {1, 9}) {
    canvas.pen(PS_SOLID, width);
    for (int i = 0; i < 50000; ++i) {
      Ellipse(canvas.dc, -2147483647 + i, -2147483647, 2147483647, 2147483647 - i);  // around it
      Ellipse(canvas.dc, -2147483647, -2147483647, 5000, 5000 + i);  // its corner within the box
      Arc(canvas.dc, -2147483647, -2147483647, 2147483647, 2147483647, 5, 5, i, -i);
    }
  }
  canvas.brush(0xffffff);
  Ellipse(canvas.dc, -100000, -100000, 100000, 100000);
  EXPECT_EQ(PixelAt(canvas.dc, 0, 0), 0xffffffu) << "a fill is seen where the outline is not";
  EXPECT_EQ(PixelAt(canvas.dc, 3999, 3999), 0xffffffu);
}

TEST(Arc, RunsAnticlockwiseOnTheScreen) {
  Canvas canvas(11, 11);
  Arc(canvas.dc, 0, 0, 11, 11, 20, 5, 5, -20);
  EXPECT_EQ(canvas.picture(),
            "......##...\n"
            "........#..\n"
            ".........#.\n"
            "..........#\n"
            "..........#\n"
            "..........#\n"
            "...........\n"
            "...........\n"
            "...........\n"
            "...........\n"
            "...........\n");
}

TEST(Arc, TwoArcsOfTheSameEndsAreTheOutlineEachPixelOnce) {
  ShapeMaker maker(22);
  for (int i = 0; i < 400; ++i) {
    const int w = static_cast<int>(maker.number(1, 70)), h = static_cast<int>(maker.number(1, 70));
    const auto any = [&] {
      return POINT{static_cast<LONG>(maker.number(-20, 90)),
                   static_cast<LONG>(maker.number(-20, 90))};
    };
    const POINT start = any(), end = any();
    const int style = i % 4 == 0 ? PS_DASH : PS_SOLID;
    const Dots one = Arcs(1, w, h, start, end, style), other = Arcs(1, w, h, end, start, style);
    const Dots outline = Ellipses(style, 1, false, w, h);
    Dots both = one;
    both.insert(other.begin(), other.end());
    ASSERT_EQ(both, outline);
    const bool one_ray = one == outline && other == outline;
    if (!one_ray) {
      ASSERT_EQ(one.size() + other.size(), outline.size());
      const double middle_x = (w - 1) / 2.0, middle_y = (h - 1) / 2.0;
      // The middle itself counts as lying to the right.
      const auto turn = [&](double x, double y) { return std::atan2(middle_y - y, x - middle_x); };
      const auto from_start = [&](double angle) {
        const double d = angle - turn(start.x, start.y);
        return d < -1e-9 ? d + 2 * M_PI : d;
      };
      const double length = from_start(turn(end.x, end.y));
      for (const auto& [x, y] : outline) {
        const double at = from_start(turn(x, y));
        if (std::abs(at - length) > 1e-9 && at > 1e-9 && at < 2 * M_PI - 1e-9) {
          ASSERT_EQ(one.contains({x, y}), at < length) << x << ", " << y;
        }
      }
    }
  }
}

TEST(Arc, TheStartIsPaintedAndTheEndIsNot) {
  const Dots arc = Arcs(1, 21, 21, {20, 10}, {10, 0});
  EXPECT_TRUE(arc.contains({20, 10}));
  EXPECT_FALSE(arc.contains({10, 0}));
  EXPECT_TRUE(arc.contains({11, 0}));
  const Dots outline = Ellipses(PS_SOLID, 1, false, 21, 21);
  EXPECT_EQ(Arcs(1, 21, 21, {30, 40}, {50, 70}), outline) << "one direction";
  EXPECT_EQ(Arcs(1, 21, 21, {10, 10}, {50, 0}), outline) << "a ray without direction";
}

TEST(Arc, AWideOneIsThePartOfTheRingWithRoundEnds) {
  const Dots ring = Ellipses(PS_SOLID, 9, false, 60, 60);
  const Dots arc = Arcs(9, 60, 60, {80, 29}, {30, -30});
  for (const auto& dot : arc) {
    ASSERT_TRUE(ring.contains(dot) || dot.second < 0) << dot.first << ", " << dot.second;
  }
  for (const auto& [x, y] : ring) {
    const bool inside = 2 * y - 59 < -2 && 2 * x - 59 > 2;
    const bool far = 2 * y - 59 > 12 || 2 * x - 59 < -12;
    ASSERT_TRUE(!inside || arc.contains({x, y})) << x << ", " << y;
    ASSERT_TRUE(!far || !arc.contains({x, y})) << x << ", " << y;
  }
  EXPECT_TRUE(arc.contains({59, 32})) << "the start's round end";
  EXPECT_FALSE(arc.contains({55, 33})) << "which is round";
}

}  // namespace
