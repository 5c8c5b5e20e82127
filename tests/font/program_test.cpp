// Compiled programs run directly, compared as text.
#include <gmock/gmock.h>
#include <string>
#include <vector>

#include "krdcmmn/font/shape_reader.h"

#include "tests/font/font_text.h"

namespace {

using krtest::Metrics;
using krtest::Strokes;
using Bytes = std::vector<unsigned char>;

// A font under way: shapes run one after the other, as in one load.
class Loading {
 public:
  std::string Shape(int code, const Bytes& program) {
    if (!reader_.MapCode(code)) {
      return "dropped";
    }
    reader_.RunProgram(program.data(), program.size());
    const int slot = font.current;
    reader_.FinishCompiledShape();
    reader_.Finish();
    return Strokes(font, slot);
  }

  kr::font font;

 private:
  kr::ShapeReader reader_{&font};
};

struct Row {
  Bytes program;
  const char* strokes;
  const char* metrics;
};

void Check(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    Loading loading;
    EXPECT_EQ(loading.Shape('A', row.program), row.strokes)
        << "program " << testing::PrintToString(row.program);
    EXPECT_EQ(Metrics(loading.font, 'A'), row.metrics)
        << "program " << testing::PrintToString(row.program);
  }
}

TEST(Program, VectorsMoveDrawAndGrowTheBox) {
  Check({
      {{1, 0x34, 0}, "L 0,0 0,3", "0,3 0,0 0,3"},
      {{0x14, 0x11, 0x31, 0x3f, 0}, "L 0,0 0,1 L 0,1 1,1 L 1,1 4,2 L 4,2 7,1", "7,1 0,0 7,2"},
      {{0x52, 0x55, 0x5a, 0x5d, 0}, "L 0,0 5,5 L 5,5 3,10 L 3,10 -2,5 L -2,5 0,0", "0,0 -2,0 5,10"},
      {{0x37, 0x39, 0x3b, 0x33, 0},
       "L 0,0 -3,1 L -3,1 -6,0 L -6,0 -7,-3 L -7,-3 -6,0",
       "-6,0 -7,-3 0,1"},
      {{2, 8, 5, 6, 0}, "", "5,6 0,0 0,0"},
      {{8, 0x80, 0x7f, 0}, "L 0,0 -128,127", "-128,127 -128,0 0,127"},
      {{9, 0, 0, 1, 2, 0, 3, 0, 0, 0x10, 0},
       "L 0,0 0,0 L 0,0 1,2 L 1,2 1,5 L 1,5 2,5",
       "2,5 0,0 2,5"},
      {{15, 0}, "L 0,0 0,0", "0,0 0,0 0,0"},
      {{0x10, 0, 0x10}, "L 0,0 1,0 L 1,0 2,0", "1,0 0,0 1,0"},
  });
}

TEST(Program, SkipTakesOneCommandOrARunOfLengthVectors) {
  Check({
      {{2, 14, 8, 5, 6, 0}, "", "0,0 0,0 0,0"},
      {{14, 8, 5, 6, 0x10, 0}, "L 0,0 0,0 L 0,0 1,0", "1,0 0,0 1,0"},
      {{14, 9, 5, 6, 1, 1, 0, 0, 0}, "L 0,0 0,0 L 0,0 1,1", "1,1 0,0 1,1"},
      {{14, 0x34, 0x34, 1, 0x34, 0}, "L 0,0 0,3", "0,3 0,0 0,3"},
      {{14, 3, 2, 0x44, 14, 4, 2, 0x44, 0}, "L 0,0 0,2 L 0,2 0,6", "0,6 0,0 0,6"},
      {{14, 12, 4, 0, 0, 0x34, 8, 1, 1, 0}, "L 0,0 4,0 L 4,0 4,0", "4,0 0,0 4,0"},
      {{14, 13, 4, 0, 0, 0, 0, 0x34, 5, 0x10, 0}, "L 0,0 4,0 L 4,0 5,0", "5,0 0,0 5,0"},
      {{14, 10, 4, 0x12, 0x10, 0}, "L 0,0 1,0", "1,0 0,0 1,0"},
      {{14, 11, 0, 0, 0, 5, 0x02, 0x10, 0}, "A -5,0 r5 0,0 -5,5 L -5,5 -4,5", "-4,5 -5,0 0,5"},
      {{14, 7, 65, 0x34, 7, 0, 1, 2, 3, 4, 5, 6, 0x34, 1, 0x34, 0}, "L 0,0 0,3", "0,3 0,0 0,3"},
  });
}

TEST(Program, OctantArcs) {
  Check({
      {{10, 4, 0x20, 0}, "C 0,-4 r4", "0,0 0,0 0,0"},
      {{10, 4, 0x12, 0}, "A -4,-4 r4 0,0 -8,0", "-8,0 0,0 0,0"},
      {{10, 4, 0x92, 0}, "A -4,-4 r4 0,-8 0,0", "0,-8 0,0 0,0"},
      {{10, 2, 0x71, 0}, "A -2,2 r2 0,0 0,2", "0,2 0,0 0,0"},
      {{10, 2, 0xf7, 0}, "A -2,2 r2 0,2 0,0", "0,2 0,0 0,0"},     // to octant 0
      {{10, 2, 0x80, 0}, "C -2,0 r2", "0,0 0,0 0,0"},             // -000 has no sign
      {{10, 2, 0x1a, 0}, "A -2,-2 r2 0,0 -4,0", "-4,0 0,0 0,0"},  // bit 3 is nothing
      {{10, 0xfe, 0x01, 0}, "A 2,0 r-2 0,0 0,-2", "0,-2 0,0 0,0"},
      {{2, 10, 2, 0x02, 0x10, 0}, "A -2,0 r2 0,0 -2,2", "-1,2 0,0 0,0"},
  });
}

TEST(Program, BulgeArcs) {
  // Over a chord of 10 with the half angle a of bulge 64: 5 / tan a is 4.9385..., 5 / sin a the
  // radius.
  Check({
      {{12, 10, 0, 127, 0}, "A 5,3.061616998e-16 r5 0,0 10,0", "10,0 0,0 0,0"},
      {{12, 10, 0, 0x81, 0}, "A 5,-3.061616998e-16 r5 10,0 0,0", "10,0 0,0 0,0"},
      {{12, 10, 0, 64, 0}, "A 5,4.938536944 r7.027741255 0,0 10,0", "10,0 0,0 0,0"},
      {{12, 10, 0, 0xc0, 0}, "A 5,-4.938536944 r7.027741255 10,0 0,0", "10,0 0,0 0,0"},
      {{2, 12, 3, 4, 0, 0}, "L 0,0 3,4", "3,4 0,0 0,0"},
      {{13, 0, 0, 0, 3, 0, 0, 0, 0, 0x10, 0}, "L 0,0 0,0 L 0,0 3,0 L 3,0 4,0", "4,0 0,0 4,0"},
  });
}

TEST(Program, ScaleRoundsHalfAwayAndSurvivesAZero) {
  Check({
      {{3, 2, 8, 3, 0xfd, 0x10, 0}, "L 0,0 2,-2 L 2,-2 3,-2", "3,-2 0,-2 3,0"},
      {{4, 3, 8, 3, 0xfd, 3, 3, 0x10, 0}, "L 0,0 9,-9 L 9,-9 10,-9", "10,-9 0,-9 10,0"},
      {{4, 0xff, 0x21, 0}, "L 0,0 -2,-1", "-2,-1 -2,-1 0,0"},
      {{3, 2, 10, 5, 0x02, 11, 0, 0, 9, 5, 0x02, 0},
       "A -3,0 r3 0,0 -3,3 A -6,3 r3 -3,3 -6,6",
       "-6,6 0,0 0,0"},
      {{3, 0, 0x10, 0}, "L 0,0 1,0", "1,0 0,0 1,0"},
      {{4, 0, 0x10, 3, 2, 0x10, 0}, "L 0,0 0,0 L 0,0 0,0", "0,0 0,0 0,0"},
  });
}

TEST(Program, CoordinatesSaturate) {
  Bytes program;
  for (int i = 0; i < 400; ++i) {
    program.insert(program.end(), {4, 0x7f});  // 127 to the power of 400 has no double
  }
  program.insert(program.end(), {8, 1, 0xff, 0x1a, 10, 1, 0x12, 11, 1, 2, 3, 4, 0x93, 12, 1, 1, 1});
  Loading loading;
  EXPECT_THAT(loading.Shape('A', program),
              testing::StartsWith("L 0,0 2147483647,-2147483648 L 2147483647,-2147483648 0,-2147"));
}

TEST(Program, ACommandWithoutItsOperandsDoesNothing) {
  const std::vector<Bytes> cut = {{3},        {4},       {7},     {7, 0, 1, 2},
                                  {8, 1},     {9, 1},    {10, 4}, {11, 1, 2, 3, 4},
                                  {12, 1, 2}, {13, 1, 2}};
  for (Bytes program : cut) {
    program.insert(program.begin(), 0x34);
    Loading loading;
    EXPECT_EQ(loading.Shape('A', program), "L 0,0 0,3") << testing::PrintToString(program);
  }
  Loading loading;
  EXPECT_EQ(loading.Shape('A', {9, 1, 2, 3}), "L 0,0 1,2");
  EXPECT_EQ(loading.Shape('B', {13, 1, 2, 0, 3, 4}), "L 0,0 1,2");
}

// What a shape hands on to the next in a compiled font, and what it does not.
TEST(Program, ScaleSavedPositionAndSkipOutliveAShape) {
  Loading loading;
  loading.Shape('A', {4, 2, 0x24, 5, 2, 14, 0});
  EXPECT_EQ(loading.Shape('B', {0x34, 6, 0x10, 0}), "L 0,4 2,4");
  EXPECT_EQ(Metrics(loading.font, 'B'), "2,4 0,0 2,4");
}

TEST(Program, AShapeWithoutAnEndKeepsItsStrokesAndNoMetrics) {
  Loading loading;
  EXPECT_EQ(loading.Shape('A', {0x34}), "L 0,0 0,3");
  EXPECT_EQ(Metrics(loading.font, 'A'), "0,0 0,0 0,0");
  EXPECT_EQ(loading.Shape('B', {0x34, 0}), "L 0,0 0,3");
}

TEST(Program, ShapeTenHasThePitchInItsBox) {
  Loading loading;
  loading.Shape(10, {0x34, 2, 8, 2, 0xe2, 0});
  EXPECT_EQ(Metrics(loading.font, 10), "2,-27 2,-27 0,0");
}

TEST(Program, CodesGoThroughTheCodePage) {
  Loading loading;
  EXPECT_EQ(loading.Shape(0x410, {0x14, 0}), "L 0,0 0,1");
  EXPECT_EQ(loading.font.current, 0xc0);
  EXPECT_EQ(loading.Shape(0xe9, {0x14}), "dropped");  // e acute is not in this page
  EXPECT_EQ(loading.font.current, 0xe9);
  EXPECT_EQ(loading.Shape(0x20ac, {0x24, 0}), "L 0,0 0,2");  // the euro sign
  EXPECT_EQ(loading.font.current, 0x88);
  // Codes that count as 128 or less are never dropped: they take the slot of the substitute.
  EXPECT_EQ(loading.Shape(128, {0x34, 0}), "L 0,0 0,3");
  EXPECT_EQ(loading.Shape(-2, {0x44, 0}), "L 0,0 0,4");
  EXPECT_EQ(Strokes(loading.font, '?'), "L 0,0 0,4");
}

}  // namespace
