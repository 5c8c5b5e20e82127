#include "krdcmmn/font/drawfont.h"

#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <vector>

#include "krdcmmn/font/font.h"
#include "krdcmmn/font/fontstream.h"

#include "tests/support/device.h"

namespace {

using KRD::DOT;
using KRD::FDOT;

// A font built by hand: A is a stroke of 18 with an advance of 20; B an arc, the upper right
// quarter of radius 10 about (0, 0); C a circle; the line feed goes down by 30.
struct HandFont : kr::font {
  HandFont() {
    height = 20.0;
    descent = 5;
    boxMin[10] = {0, -30};
    advance[10] = {0, -30};
    Begin('A', {20, 0}, {18, 15});
    Add(kr::PRIM_LINE, linePoints, {{0, 0}, {18, 15}});
    Begin('B', {12, 0}, {10, 10});
    Add(kr::PRIM_ARC, arcPoints, {{0, 0}, {10, 0}, {10, 0}, {0, 10}});
    Begin('C', {12, 0}, {0, 0});
    Add(kr::PRIM_CIRCLE, circlePoints, {{5, 5}, {5, 0}});
  }

 private:
  void Begin(unsigned char c, DOT step, DOT box) {
    current = c;
    advance[c] = step;
    boxMax[c] = box;
    boxMin[c] = {0, c == 'A' ? -4 : 0};
    primFirst[c] = static_cast<int>(primKind.count());
    primCount[c] = 1;
  }
  template <class T>
  void Add(kr::PRIM_KIND kind, KRD::TARRAY<T>& points, std::vector<T> record) {
    primKind.add(kind);
    primData.add(static_cast<int>(points.count()));
    for (const T& p : record) {
      points.add(p);
    }
  }
};

// Strokes as text: "L 0,0 18,15", "A centre first second", "O centre radius".
struct TextSink : kr::fontstream {
  int line(int width, DOT from, DOT to) override { return Say('L', width, {from, to}); }
  int arc(int width, DOT centre, DOT first, DOT second) override {
    return Say('A', width, {centre, first, second});
  }
  int circle(int width, DOT centre, int radius) override {
    return Say('O', width, {centre, {radius, 0}});
  }
  int Say(char kind, int width, std::vector<DOT> points) {
    said += kind;
    if (width != 0) {
      said += std::to_string(width);
    }
    for (DOT p : points) {
      said += ' ' + std::to_string(p.x) + ',' + std::to_string(p.y);
    }
    said += '\n';
    return 1;
  }
  std::string said;
};

struct DrawFontTest : testing::Test {
  DrawFontTest() {
    text.InitFont(&glyphs);
    text.SetHeight(20);
    text.SetAlign(kr::ALIGN_BOTTOM_LEFT);
  }
  std::string Written(const char* s, DOT pos = {0, 0}) {
    TextSink sink;
    text.Write(pos, s, sink);
    return sink.said;
  }
  std::string Frame(const char* s) {
    DOT r[4];
    text.GetStringSize(s, r);
    std::string out;
    for (DOT p : r) {
      out += std::to_string(p.x) + ',' + std::to_string(p.y) + ' ';
    }
    return out;
  }

  HandFont glyphs;
  kr::drawfont text;
};

TEST_F(DrawFontTest, AnchorsByAlignment) {
  text.SetHeight(20);
  const struct {
    int align;
    double x, y;
  } rows[] = {{0, 0.5, -20.5}, {1, -38 * 0.375, -20.5}, {2, -0.5 - 28.5, -20.5},
              {3, 0.5, -10.0}, {4, -14.25, -10.0},      {8, -29.0, 0.5},
              {6, 0.5, 0.5},   {9, 0.5, 0.5},           {-1, 0.5, 0.5}};
  for (const auto& row : rows) {
    text.SetAlign(static_cast<kr::ALIGN>(row.align));
    for (const char* s : {"AA", "AA\r\n", "AA\n\r\n"}) {
      const FDOT a = text.GetStrAlign(s);
      EXPECT_EQ(a.x, row.x) << row.align;
      EXPECT_EQ(a.y, row.y) << row.align;
    }
  }
}

TEST_F(DrawFontTest, LinesRaiseTheBottomAnchorAndOnlyCrStartsOver) {
  EXPECT_EQ(text.GetStrAlign("A\r\nA").y, 30.5);
  EXPECT_EQ(text.GetStrAlign("A\nA\nA").y, 60.5);
  text.SetAlign(kr::ALIGN_BOTTOM_RIGHT);
  EXPECT_EQ(text.GetStrAlign("A\r\nA").x, -0.5 - 20 * 0.75);  // a line's end counts by its advance
  EXPECT_EQ(text.GetStrAlign("A\nA").x, -0.5 - 38 * 0.75);
  EXPECT_EQ(text.GetStrAlign("\r\n").x, 0.0);
  glyphs.advance[13] = {5, 0};  // a font's own CR indents the line that it starts
  EXPECT_EQ(text.GetStrAlign("A\r\nA").x, -0.5 - 23 * 0.75);
  EXPECT_EQ(Written("A\r\nA"), "L -18,31 -4,46\nL -14,1 0,16\n");
}

TEST_F(DrawFontTest, AnchorTurnsByWholeDegrees) {
  text.SetAngle(905);
  const FDOT a = text.GetStrAlign("A");  // the general formula, also at a right angle
  EXPECT_EQ(a.x, 0.5 * std::cos(90 * M_PI / 180.0) - 0.5 * std::sin(90 * M_PI / 180.0));
  EXPECT_EQ(a.y, 0.5 * std::cos(90 * M_PI / 180.0) + 0.5 * std::sin(90 * M_PI / 180.0));
  text.SetMirror(true);
  EXPECT_EQ(text.GetStrAlign("A").x, -0.5);  // exact here: (-0.5, 0.5) turned
  EXPECT_EQ(text.GetStrAlign("A").y, -0.5);
  text.SetAngle(5);
  EXPECT_EQ(text.GetStrAlign("A").y, 0.5);
}

TEST_F(DrawFontTest, FramesFollowWidthPitchTurnAndMirror) {
  EXPECT_EQ(Frame(""), "0,0 0,1 0,1 0,0 ");
  // right = round(18 * 0.75 + 0.75) = 14, bottom = -4, top = 15; the anchor is (0.5, 0.5) rounded.
  EXPECT_EQ(Frame("A"), "15,-3 15,16 1,16 1,-3 ");
  text.SetWidth(2);
  EXPECT_EQ(Frame("A"), "17,-5 17,18 -1,18 -1,-5 ");
  text.SetWidth(0);
  EXPECT_EQ(Frame("A\r\nA"), "17,-3 17,46 1,46 1,-3 ");
  text.SetAngle(-900);
  EXPECT_EQ(Frame("A"), "-3,-15 16,-15 16,-1 -3,-1 ");
  text.SetAngle(0);
  text.SetMirror(true);
  EXPECT_EQ(Frame("A"), "-1,-3 -1,16 -15,16 -15,-3 ");
}

TEST_F(DrawFontTest, ScalesCursorAndPointApart) {
  glyphs.advance['A'] = {3, 0};
  glyphs.linePoints[1] = {3, 2};
  text.SetSWidth(0.5);
  EXPECT_EQ(Written("AA"), "L 1,1 3,3\nL 3,1 5,3\n");  // 2 + 2, not the 3 of a common rounding
}

TEST_F(DrawFontTest, ArcsAreTheClockwiseSweepForSinks) {
  text.SetSWidth(0.0);
  EXPECT_EQ(Written("B"), "A 1,1 1,11 11,1\n");
  text.SetMirror(true);
  EXPECT_EQ(Written("B"), "A -1,1 -11,1 -1,11\n");
}

TEST_F(DrawFontTest, CirclesGoByTheStrokeWidth) {
  EXPECT_EQ(Written("C"), "O 1,1 0,0\n");
  text.SetWidth(3);
  EXPECT_EQ(Written("AC"), "L3 1,1 15,16\nO3 76,16 15,0\n");
}

TEST_F(DrawFontTest, CarriageReturnAndLineFeedMoveTheCursor) {
  EXPECT_EQ(Written("A\r\nA"), "L 1,31 15,46\nL 1,1 15,16\n");
  EXPECT_EQ(Written("A\nA"), "L 1,31 15,46\nL 16,1 30,16\n");
  EXPECT_EQ(Written("\r\n"), "");
  EXPECT_EQ(Written(nullptr), "");
}

TEST_F(DrawFontTest, SinkResultsAddUpAndItsExceptionsPass) {
  TextSink sink;
  EXPECT_EQ(text.Write({0, 0}, "ABCx", sink), 3);
  struct Thrower : TextSink {
    int line(int, DOT, DOT) override { throw std::runtime_error("full"); }
  } thrower;
  EXPECT_THROW(text.Write({0, 0}, "A", thrower), std::runtime_error);
}

TEST_F(DrawFontTest, NoFontNoHeightAndHugeValuesAreHarmless) {
  kr::drawfont bare;
  TextSink sink;
  krtest::Stage stage;
  bare.SetHeight(10);
  EXPECT_EQ(bare.Write({0, 0}, "A", sink), 0);
  bare.Draw({0, 0}, "A", stage.device, true);
  glyphs.height = 0.0;
  text.SetHeight(10);
  EXPECT_EQ(text.heightScale, 0.0);
  glyphs.height = 1e-300;
  for (int v : {0x7fffffff, -0x7fffffff - 1}) {
    text.SetHeight(v);
    text.SetAngle(v);
    text.SetWidth(v);
    text.SetMirror(v < 0);
    glyphs.advance['A'] = {v, v};
    text.Write({v, v}, "AAABCC\nA", sink);
    text.Draw({v, ~v}, "AAABCC\nA", stage.device, true);
    Frame("AABC");
  }
}

// What the device paints is the primitive's arc, mirrored or not, at every angle: the picture of
// Draw lies on the sink's arcs.
TEST_F(DrawFontTest, DrawAndWriteAgreeOnArcs) {
  text.SetHeight(60);
  text.SetColor(0);
  text.SetSWidth(0.0);
  for (bool mirror : {false, true}) {
    for (int angle = 0; angle < 3600; angle += 230) {
      krtest::Stage s(200, 200);
      text.SetMirror(mirror);
      text.SetAngle(angle);
      text.SetWidth(1);
      text.Draw({0, 0}, "B", s.device, false);
      struct Bisector : TextSink {
        int arc(int, DOT c, DOT first, DOT second) override {
          centre = c;
          toward = {first.x + second.x - 2 * c.x, first.y + second.y - 2 * c.y};
          return 1;
        }
        DOT centre{0, 0}, toward{0, 0};
      } bisector;
      text.Write({0, 0}, "B", bisector);
      const double length = std::hypot(bisector.toward.x, bisector.toward.y);
      const auto painted = [&](double side) {
        const double x = bisector.centre.x + side * bisector.toward.x * 30 / length;
        const double y = bisector.centre.y + side * bisector.toward.y * 30 / length;
        int hits = 0;
        for (int dx = -2; dx <= 2; ++dx) {
          for (int dy = -2; dy <= 2; ++dy) {
            hits += krtest::Stage::At(s.device.memDC, 200 + static_cast<int>(x) + dx,
                                      200 - static_cast<int>(y) + dy) != 0xffffff;
          }
        }
        return hits > 0;
      };
      EXPECT_TRUE(painted(1)) << angle << mirror;
      EXPECT_FALSE(painted(-1)) << angle << mirror;
    }
  }
}

}  // namespace
