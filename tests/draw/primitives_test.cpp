#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <vector>

#include "tests/support/device.h"

namespace {

using KRD::DOT;
using krtest::OpenDevice;
using krtest::Stage;

// Draws on the main buffer of 200 by 160 pixels: model x is pixel 100 + x, model y is pixel 80 - y.
TEST(Rejection, SidesDifferFromShapeToShape) {
  using Draw = std::function<int(OpenDevice&, int, int)>;
  const Draw pixel = [](OpenDevice& d, int x, int y) { return d.pixel(x, y, 0); };
  const Draw dot = [](OpenDevice& d, int x, int y) { return d.dot({x, y}); };
  const Draw line = [](OpenDevice& d, int x, int y) { return d.line({x, y}, {x, y}); };
  const Draw outline = [](OpenDevice& d, int x, int y) { return d.rectangle({x, y}, {x, y}); };
  const Draw rect = [](OpenDevice& d, int x, int y) { return d.fillrect({x, y}, {x, y}); };
  const Draw poly3 = [](OpenDevice& d, int x, int y) {
    return d.fillpoly3({x, y}, {x, y}, {x, y});
  };
  const Draw disc = [](OpenDevice& d, int x, int y) { return d.fillcirc({x, y}, 5); };
  const Draw ring = [](OpenDevice& d, int x, int y) { return d.circle({x, y}, 5); };
  const Draw arc = [](OpenDevice& d, int x, int y) {
    return d.arc({x, y}, 5, {x + 5, y}, {x - 5, y});
  };
  const Draw track = [](OpenDevice& d, int x, int y) {
    return d.sousage({x, y}, 5, {0, 0}, false);
  };
  // The last pixels still drawn on the left and on the right, with a pen of 4 pixels.
  const struct {
    const char* name;
    Draw draw;
    int low, high_past_width;
  } rows[] = {{"pixel", pixel, 0, -1},     {"dot", dot, -2, 2},   {"line", line, -4, 4},
              {"outline", outline, -4, 3}, {"rect", rect, -4, 3}, {"poly3", poly3, -4, 3},
              {"disc", disc, -9, 8},       {"ring", ring, -9, 8}, {"arc", arc, -9, 8},
              {"track", track, -5, 4}};
  for (const auto& row : rows) {
    Stage s;
    s.device.setPenStyle(0, 4, 0);
    const int right = 200 + row.high_past_width - 100;
    EXPECT_NE(row.draw(s.device, row.low - 100, 0), 0) << row.name;
    EXPECT_EQ(row.draw(s.device, row.low - 101, 0), 0) << row.name;
    EXPECT_NE(row.draw(s.device, right, 0), 0) << row.name;
    EXPECT_EQ(row.draw(s.device, right + 1, 0), 0) << row.name;
    const int bottom = 80 - (160 + row.high_past_width);
    EXPECT_NE(row.draw(s.device, 0, 80 - row.low), 0) << row.name;
    EXPECT_EQ(row.draw(s.device, 0, 81 - row.low), 0) << row.name;
    EXPECT_NE(row.draw(s.device, 0, bottom), 0) << row.name;
    EXPECT_EQ(row.draw(s.device, 0, bottom - 1), 0) << row.name;
  }
}

TEST(Rejection, BeforeTheFirstPenTheMarginIsMinusOne) {
  Stage s;
  s.device.ReleaseContext();
  s.device.SetContext(s.dc);
  EXPECT_EQ(s.device.penWidth, -1);
  EXPECT_EQ(s.device.line({-100, 0}, {-100, 9}), 0);  // pixel column 0
  EXPECT_NE(s.device.line({-99, 0}, {-99, 9}), 0);
}

TEST(Arc, EndsOnOnePixelDrawTheCircleOnlyTheLongWayRound) {
  Stage s;
  auto& d = s.device;
  EXPECT_EQ(d.arc({0, 0}, 20, {20, 0}, {20, 0}), 0);
  EXPECT_EQ(Stage::Painted(d.memDC), 0);
  d.Zoom(0.1);
  EXPECT_EQ(d.arc({0, 0}, 200, {200, 0}, {200, 2}), 0);  // the short way
  EXPECT_EQ(Stage::Painted(d.memDC), 0);
  EXPECT_NE(d.arc({0, 0}, 200, {200, 2}, {200, 0}), 0);  // the long way is the whole circle
  const int whole = Stage::Painted(d.memDC);
  d.cleardevice(0xffffff);
  d.circle({0, 0}, 200);
  EXPECT_EQ(Stage::Painted(d.memDC), whole);
}

TEST(Arc, RunsAnticlockwiseInTheModel) {
  Stage s;
  auto& d = s.device;
  d.arc({0, 0}, 30, {30, 0}, {0, 30});  // the upper right quarter
  int quarter[4] = {};
  for (int y = 0; y < 160; ++y) {
    for (int x = 0; x < 200; ++x) {
      if (Stage::At(d.memDC, x, y) != 0xffffff) {
        ++quarter[(x < 99 ? 1 : 0) + (y > 81 ? 2 : 0)];
      }
    }
  }
  EXPECT_GT(quarter[0], 30);
  EXPECT_EQ(quarter[1] + quarter[2] + quarter[3], 0);
}

TEST(Track, ThickLeavesAThinPenAndThinHasSquareEnds) {
  Stage s;
  auto& d = s.device;
  d.setPenStyle(0, 3, 0x123456);
  EXPECT_EQ(d.sousage({0, 0}, 5, {20, 0}, true), 1);
  EXPECT_EQ(d.penWidth, 0);
  EXPECT_EQ(d.penColour, 0x123456u);
  EXPECT_EQ(Stage::At(d.memDC, 100 - 24, 80), 0x563412u);  // the round end reaches out
  d.cleardevice(0xffffff);
  d.setColorBrush(0);
  d.sousage({0, 0}, 5, {20, 0}, false);
  EXPECT_EQ(Stage::At(d.memDC, 100 - 24, 80), 0xffffffu);
  EXPECT_EQ(Stage::At(d.memDC, 100, 80 - 4), 0u);
  EXPECT_EQ(Stage::At(d.memDC, 100, 80 - 7), 0xffffffu);
}

TEST(Polygon, OffsetMovesEveryPoint) {
  Stage s;
  auto& d = s.device;
  d.setColorBrush(0);
  const DOT square[] = {{0, 0}, {10, 0}, {10, 10}, {0, 10}};
  EXPECT_NE(d.fillpoly(4, {20, 30}, square), 0);
  EXPECT_EQ(Stage::At(d.memDC, 125, 80 - 35), 0u);
  EXPECT_EQ(Stage::At(d.memDC, 105, 75), 0xffffffu);
  EXPECT_EQ(d.fillpoly(0, square), 0);
}

TEST(Grid, VanishesBelowTenPixels) {
  Stage s;
  auto& d = s.device;
  d.DrawGrid({9, 20}, 0, false);
  EXPECT_EQ(Stage::Painted(d.memDC), 0);
  d.gridOrigin = {3, 0};
  d.DrawGrid({10, 20}, 0, false);
  EXPECT_EQ(Stage::Painted(d.memDC), 20 * 8);
  EXPECT_EQ(Stage::At(d.memDC, 103, 80), 0u);
  d.DrawGrid({10, 20}, 0xff, true);
  EXPECT_EQ(Stage::At(d.memDC, 103, 85), 0xff0000u);
  EXPECT_EQ(d.penWidth, 0);
}

TEST(Style, OneObjectServesAllSurfacesAndReplacedOnesAreFreed) {
  Stage s;
  auto& d = s.device;
  const int before = CountGdiObjects();
  HGDIOBJ const pen = GetCurrentObject(s.dc, OBJ_PEN);
  d.setPenStyle(0, 0, 0);  // what is selected already
  EXPECT_EQ(GetCurrentObject(s.dc, OBJ_PEN), pen);
  d.Zoom(0.25);
  d.setPenStyle(0, 1, 0);  // rounds to the same width
  EXPECT_EQ(GetCurrentObject(s.dc, OBJ_PEN), pen);
  for (std::uint32_t colour = 1; colour < 20; ++colour) {
    d.setPenStyle(0, 40, colour);
    d.setColorBrush(colour);
    d.sousage({0, 0}, 3, {9, 9}, true);
  }
  EXPECT_EQ(GetCurrentObject(d.memDC, OBJ_PEN), GetCurrentObject(s.dc, OBJ_PEN));
  EXPECT_EQ(GetCurrentObject(d.extraDC, OBJ_BRUSH), GetCurrentObject(s.dc, OBJ_BRUSH));
  d.setColorBrush(OpenDevice::kHollow);
  d.setColorBrush(5);
  LOGFONTA font{};
  font.lfHeight = 12;
  EXPECT_TRUE(d.SetFont(font));
  d.RestoreFont();
  EXPECT_EQ(CountGdiObjects(), before + 1);  // pen and brush as before, and the font in force
  d.ReleaseContext();
  EXPECT_EQ(CountGdiObjects(), before - 2);
}

// Drawn whole on the main buffer, the window's part is what direct drawing shows, at every pan.
TEST(Frames, WindowPictureEqualsBufferPictureAtEveryPan) {
  std::mt19937 random(3);
  const auto any = [&](int reach) {
    return static_cast<int>(random() % (2u * static_cast<unsigned>(reach))) - reach;
  };
  struct Shape {
    int kind;
    DOT a, b, c;
  };
  for (int pan = -50; pan < 50; pan += 7) {
    Stage s;
    auto& d = s.device;
    d.ScrollH(pan);
    d.ScrollV(pan / 2);
    std::vector<Shape> shapes;
    for (int i = 0; i < 30; ++i) {
      shapes.push_back({i % 5, {any(120), any(100)}, {any(120), any(100)}, {any(40), any(40)}});
    }
    const auto draw = [&] {
      d.setColorBrush(0x808080);
      for (const Shape& shape : shapes) {
        d.setPenStyle(0, shape.c.x & 7, static_cast<std::uint32_t>(shape.c.y) & 0xffffff);
        switch (shape.kind) {
          case 0:
            d.line(shape.a, shape.b);
            break;
          case 1:
            d.fillcirc(shape.a, 20 + shape.c.y / 3);
            break;
          case 2:
            d.fillpoly3(shape.a, shape.b, {shape.b.x + shape.c.x, shape.a.y});
            break;
          case 3:
            d.arc(shape.a, 25, {shape.a.x + 25, shape.a.y}, shape.b);
            break;
          default:
            d.fillrect(shape.a, shape.b);
        }
      }
    };
    draw();
    d.Render(nullptr);
    std::vector<std::uint32_t> copied;
    for (int i = 0; i < 100 * 80; ++i) {
      copied.push_back(Stage::At(s.dc, i % 100, i / 100));
    }
    d.DirectDraw(true);
    d.cleardevice(0xffffff);
    draw();
    for (int i = 0; i < 100 * 80; ++i) {
      ASSERT_EQ(Stage::At(s.dc, i % 100, i / 100), copied[static_cast<unsigned>(i)])
          << "pan " << pan << " at " << i % 100 << ',' << i / 100;
    }
  }
}

}  // namespace
