// Sources: the tokenizer, what its tokens draw, and the two ways in.
#include <gmock/gmock.h>
#include <string>
#include <vector>

#include "krdcmmn/font/shape_reader.h"
#include "krdcmmn/host/system_error.h"
#include "krdcmmn/platform/modules.h"

#include "tests/font/font_text.h"
#include "tests/support/temp_dir.h"

namespace {

using krtest::Metrics;
using krtest::Strokes;

void Read(kr::font& font, const std::string& source) {
  font.ResetGlyphs();
  kr::ShapeReader(&font).ReadSource(source.data(), source.data() + source.size());
}

const std::string kHead = "*0,4,test\r\n18,7,2,0\r\n";

// The strokes of a font with one shape 65 of this program, CR LF behind it.
std::string Shape(const std::string& program) {
  kr::font font;
  Read(font, kHead + "*65,9,a\r\n" + program + "\r\n");
  return Strokes(font, 65);
}

struct Row {
  const char* program;
  const char* strokes;
};

void Check(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    EXPECT_EQ(Shape(row.program), row.strokes) << row.program;
  }
}

TEST(Source, Tokens) {
  Check({
      {"034,0", "L 0,0 0,3"},
      {"034,\r\n01C\r\n,010,0", "L 0,0 0,3 L 0,3 0,2 L 0,2 1,2"},
      {"034,\n010\n014,0", "L 0,0 0,3 L 0,3 0,4"},  // a bare LF loses 010
      {"-12,0", "L 0,0 1,1"},
      {"100,0", "L 0,0 0,0"},
      {" 034,014,0", "L 0,0 0,1"},
      {"08,034,+1,\t2,0", "L 0,0 0,3"},
      {"0xA,1", ""},                    // a word counts as 0 and ends the shape
      {"034,word,014,0", "L 0,0 0,3"},  // so does the 0: one line for each end
      {"034,99,-5,15,014,0", "L 0,0 0,3 L 0,3 0,4"},
      {"034,0*", "L 0,0 0,3"},
      {"0f4,0B0,0", "L 0,0 0,15 L 0,15 11,15"},
      {"03g,0z4,0", "L 0,0 0,0 L 0,0 0,0"},
      {"8(1,2),0", "L 0,0 1,2"},
      {"8,(99999999999,-99999999999),0", "L 0,0 2147483647,-2147483648"},
  });
  EXPECT_EQ(Shape("034,0\n"), "");  // a lost end
  // The name ends at a comma, and what follows it is program.
  kr::font font;
  Read(font, kHead + "*65,9,a,034\r\n014,0\r\n");
  EXPECT_EQ(Strokes(font, 65), "L 0,0 0,3 L 0,3 0,4");
}

TEST(Source, Vectors) {
  Check({
      {"8,(1,2),0", "L 0,0 1,2"},
      {"8,( 1, -2),0", "L 0,0 1,-2"},
      {"8,(0,0),0", "L 0,0 0,0"},
      {"9,(1,2),(3,4),(0,0),014,0", "L 0,0 1,2 L 1,2 4,6 L 4,6 4,7"},
      {"9,(1,2,3,4,0,0),014,0", "L 0,0 1,2 L 1,2 4,6 L 4,6 4,7"},
      {"9,(0,0),8,(1,1),0", "L 0,0 1,1"},
      {"3,4,9,(8,4),(1,1),8,(0,0),0", "L 0,0 2,1 L 2,1 2,1"},  // 1,1 rounds to 0,0 and ends the run
      {"2,8,(5,6),1,014,0", "L 5,6 5,7"},
      {"8,(1),(2),0", "L 0,0 1,2"},
      {"5,8,(3,4),6,010,0", "L 0,0 3,4 L 0,0 1,0"},
      {"7,2,034,0", ""},  // 2 is read as a command
  });
}

TEST(Source, Scales) {
  Check({
      {"3,2,8,(3,-3),014,0", "L 0,0 2,-2 L 2,-2 2,-1"},
      {"3,(2),8,(3,3),0", "L 0,0 2,2"},
      {"3,100,2,8,(4,4),0", "L 0,0 0,0 L 0,0 2,2"},  // the pen stays down: 2 divides
      {"3,(100),8,(51,49),0", "L 0,0 1,0"},
      {"4,3,021,3,3,021,0", "L 0,0 6,3 L 6,3 8,4"},
      {"3,0,021,0", "L 0,0 2,1"},
      {"4,2,10,(2,002),11,(0,0,0,3,002),12,(1,2,0),0",
       "A -4,0 r4 0,0 -4,4 A -10,4 r6 -4,4 -10,10 L -10,10 -8,14"},
  });
}

TEST(Source, Arcs) {
  Check({
      {"10,(4,034),0", "A 4,-4 r4 0,0 8,-8"},
      {"10,(4,-034),0", "A 4,-4 r4 8,-8 0,0"},
      {"10,(4,20),0", "C 0,-4 r4"},
      {"10,(4,-000),0", "C -4,0 r4"},
      {"10,(1,081),0", "A -1,0 r1 0,0 0,1"},
      {"10,(1,089),0", "A -1,0 r1 0,0 0,1"},    // 8 + 9 - 8 is 9, and 9 is 1
      {"10,(1,-009),0", "A -1,0 r1 0,-1 0,0"},  // -9 + 8 is -1, and -1 is 7
      {"10,(4,091),014,0", "L 0,0 0,1"},        // no octant 9
      {"10,(4,999999999999),014,0", "L 0,0 0,1"},
      {"10,(4),034,(002),0", "L 0,0 0,3 L 0,3 0,5"},  // the 4 counts as a vector's x
      {"11,(0,0,0,5,002),014,0", "A -5,0 r5 0,0 -5,5 L -5,5 -5,6"},
      {"11,(0,0,0,5,-002),0", "A -5,0 r5 -5,-5 0,0"},
      {"11,(0,0,0,5,-000),0", "A -5,0 r5 0,0 0,0"},
      {"11,(0,0,0,5,192),0", "A -5,0 r5 0,0 -5,5"},  // the tens are 9, no octant: 0
      {"12,(3,4,0),014,0", "L 0,0 3,4 L 3,4 3,5"},
      {"13,(1,2,0),(3,4,0),(0,0),014,0", "L 0,0 1,2 L 1,2 4,6 L 4,6 4,7"},
      {"13,(0,0),014,0", "L 0,0 0,1"},
      {"12,(3,4,65536),0", "L 0,0 3,4"},  // 16 bits of the bulge count
      {"2,12,(3,4,0),0", "L 0,0 3,4"},
  });
}

TEST(Source, ArcsLeftHalfGivenUseNothingUnset) {
  EXPECT_EQ(Shape("8,(1),11,(0,0,5,002),0"), "A -5,0 r5 0,0 -5,5");
  EXPECT_EQ(Shape("12,(5,6),0,0"), "L 0,0 5,6");
  EXPECT_EQ(Shape("11,(1,2),8,(3,4),034,0"), "L 0,0 0,3");
}

TEST(Source, Skips) {
  Check({
      {"14,8,(5,6),014,0", "L 0,0 0,1"},
      {"14,034,034,1,034,0", "L 0,0 0,3"},
      {"14,9,(5,6),(1,1),(0,0),0", "L 0,0 1,1"},
      {"14,3,2,044,0", "L 0,0 0,2"},
      {"14,10,(4,020),034,8,(1,1),014,0", "C 0,-4 r4 L 0,0 0,1"},
      {"14,12,(1,0,0),034,0", "L 0,0 1,0 L 1,0 1,3"},
      {"14,11,(0,0,0,5,002),034,0", "A -5,0 r5 0,0 -5,5 L -5,5 -5,8"},
  });
}

TEST(Source, HeadersGiveHeightAndDepth) {
  const struct {
    const char* head;
    const char* metrics;
  } rows[] = {
      {"*0,4,test\r\n18,7,2,0\r\n", "25 7"},
      {"; *9,9,9\r\n;\r\n*UNIFONT,6,test\r\n18,7,2,0,0,0\r\n", "25 7"},
      {"*0,4,test\r\n0,18,7\r\n", "25 7"},
      {"*0,4,test\r\n18,0,2\r\n", "18 0"},
      {"*0,4,test\n18,7,2,0\n", "25 7"},
      {"*0,4,5,18,7\r\n", "25 7"},  // fields count, not lines
      {"garbage *0,4,test\r\n-18,-7,2,0\r\n", "-25 -7"},
      {"*0,4,test\r\n18,7", "18 0"},  // nothing closes the 7
  };
  for (const auto& row : rows) {
    kr::font font;
    Read(font, row.head);
    EXPECT_EQ(krtest::Number(font.height) + " " + std::to_string(font.descent), row.metrics)
        << row.head;
  }
}

TEST(Source, ShapeNumbers) {
  const struct {
    const char* number;
    int slot;
  } rows[] = {{"65", 65},     {"00041", 65},   {"041", 65}, {"0c", 12},   {"00410", 0xc0},
              {"1040", 0xc0}, {"word", 0},     {"0", 0},    {"128", '?'}, {"-65", '?'},
              {"65599", -1},  {"66627", 0xf3}, {"0x41", 0}};
  for (const auto& row : rows) {
    kr::font font;
    Read(font, kHead + "*" + row.number + ",3,a\r\n034,0\r\n");
    const std::string slot =
        row.slot < 0 ? "" : std::to_string(row.slot) + ": 0,3 0,0 0,3 L 0,0 0,3\n";
    EXPECT_EQ(krtest::Everything(font), "25 7\n" + slot) << row.number;
  }
}

TEST(Source, ADroppedShapeLeavesNoTrace) {
  kr::font font;
  Read(font, kHead +
                 "*233,9,e acute\r\n4,7,034,10,(1,012),13,5,2,0\r\n*66,3,b\r\n014,0\r\n"
                 "*99999999999,9,big\r\n034,0\r\n");
  EXPECT_EQ(krtest::Everything(font), "25 7\n66: 0,1 0,0 0,1 L 0,0 0,1\n");
}

// The pen, the scale and the saved position are each shape's own; a skip is not.
TEST(Source, WhatAShapeHandsOn) {
  kr::font font;
  Read(font, kHead + "*65,9,a\r\n4,7,034,5,2,14,0\r\n*66,9,b\r\n034,6,014,0\r\n");
  EXPECT_EQ(Strokes(font, 66), "L 0,0 0,1");
  Read(font, kHead + "*10,9,lf\r\n2,8,(3,-30),0\r\n");
  EXPECT_EQ(Metrics(font, 10), "3,-30 3,-30 0,0");
}

TEST(Source, AShapeWithoutAnEndCountsTowardsTheNext) {
  kr::font font;
  Read(font, kHead + "*65,9,a\r\n034,014,0\n*66,9,b\r\n010,0\r\n");
  EXPECT_EQ(font.primCount[65], 0);
  EXPECT_EQ(font.primFirst[66], 2);
  EXPECT_EQ(font.primCount[66], 3);
  // The count runs past the arrays; the walk stops at their end.
  EXPECT_EQ(Strokes(font, 66), "L 0,4 1,4");
  EXPECT_EQ(font.Prims(-1).last, 0);
  EXPECT_EQ(font.Prims(256).last, 0);
}

TEST(Source, FileStaysMappedAndIsRememberedByName) {
  const krtest::TempDir dir;
  const std::string path = dir.file("a.shp");
  const std::string source = kHead + "*65,3,a\r\n034,0\r\n";
  krtest::WriteBytes(path, source);
  kr::font font;
  EXPECT_FALSE(font.LoadFromSHPFile(""));
  ASSERT_TRUE(font.LoadFromSHPFile(path.c_str()));
  EXPECT_EQ(font.sourceSize, static_cast<int>(source.size()));
  EXPECT_EQ(std::string(font.text, source.size()), source);
  EXPECT_EQ(font.size(), font.sourceSize);

  EXPECT_FALSE(font.LoadFromSHPFile((path.substr(0, path.size() - 5) + "A.SHP").c_str()));
  EXPECT_EQ(Strokes(font, 65), "L 0,0 0,3");
  EXPECT_TRUE(font.Close());
  EXPECT_EQ(font.size(), font.sourceSize);

  EXPECT_THROW(font.LoadFromSHPFile(dir.file("none.shp").c_str()), kr::mapfile::MapExcept);
  EXPECT_EQ(krtest::Everything(font), "0 7\n");
  EXPECT_EQ(font.fileName, path.c_str());
  EXPECT_FALSE(font.LoadFromSHPFile(""));
}

TEST(Source, ResourceOfAModule) {
  kr::font font;
  EXPECT_THROW(font.LoadFromRes(nullptr, 8), krerr::Win32Ecept);
  font.LoadFromRes(nullptr, 0x10007);
  const std::string from_resource = krtest::Everything(font);
  EXPECT_EQ(font.size(), 0);
  ASSERT_TRUE(font.LoadFromSHPFile(KRD_TEST_DATA "/strokes.shp"));
  EXPECT_EQ(krtest::Everything(font), from_resource);
  EXPECT_THROW(font.LoadFromRes(nullptr, 8), krerr::Win32Ecept);
  EXPECT_EQ(krtest::Everything(font), from_resource);
}

}  // namespace
