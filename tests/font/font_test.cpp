// The font as an object: copies, opening, choosing a loader.
#include "krdcmmn/font/font.h"

#include <gmock/gmock.h>
#include <string>

#include "krdcmmn/font/font_exception.h"

#include "tests/font/font_text.h"
#include "tests/support/temp_dir.h"

namespace {

using krtest::Everything;

const std::string kSource = KRD_TEST_DATA "/strokes.shp";

TEST(Font, CopiesHaveTheGlyphsAndNotTheView) {
  kr::font source;
  ASSERT_TRUE(source.LoadFile(kSource.c_str()));
  const std::string glyphs = Everything(source);

  const kr::font copy(source);
  kr::font assigned;
  assigned.sourceSize = 5;
  assigned = source;
  EXPECT_EQ(copy.view.data(), nullptr);
  EXPECT_EQ(copy.text, source.text);
  EXPECT_EQ(copy.sourceSize, 0);
  EXPECT_EQ(assigned.sourceSize, 5);
  EXPECT_EQ(copy.current, source.current);
  EXPECT_FALSE(assigned.LoadFromSHPFile(kSource.c_str()));  // the name came along

  source.ResetGlyphs();
  EXPECT_EQ(Everything(copy), glyphs);
  assigned = *&assigned;
  EXPECT_EQ(Everything(assigned), glyphs);
  assigned = source;  // fewer elements than before
  EXPECT_EQ(Everything(assigned), "0 7\n");
  EXPECT_EQ(assigned.primCount.count() + assigned.boxMax.count(), 512u);
}

TEST(Font, InitLeavesTheGeometry) {
  kr::font font;
  ASSERT_TRUE(font.LoadFile(kSource.c_str()));
  const unsigned lines = font.linePoints.count();
  font.Init();
  EXPECT_EQ(Everything(font), "0 0\n");
  EXPECT_EQ(font.linePoints.count(), lines);
  EXPECT_NE(font.view.data(), nullptr);
  EXPECT_EQ(font.text, nullptr);
  EXPECT_TRUE(font.LoadFile(kSource.c_str()));
}

TEST(Font, OpenReplacesTheViewOrLeavesIt) {
  const krtest::TempDir dir;
  krtest::WriteBytes(dir.file("one"), "first");
  krtest::WriteBytes(dir.file("two"), "second one");
  kr::font font;
  ASSERT_TRUE(font.Open(dir.file("one").c_str()));
  ASSERT_TRUE(font.Open(dir.file("two").c_str()));
  EXPECT_THROW(font.Open(dir.file("three").c_str()), kr::mapfile::MapExcept);
  EXPECT_EQ(std::string(font.text, static_cast<unsigned>(font.size())), "second one");
  const char* text = font.text;
  EXPECT_TRUE(font.Close());
  EXPECT_EQ(font.text, text);
  EXPECT_EQ(font.size(), 10);
}

TEST(Font, LoadFileGoesByTheExtension) {
  const krtest::TempDir dir;
  krtest::WriteBytes(dir.file("UPPER.SHP"), krtest::ReadBytes(kSource));
  krtest::WriteBytes(dir.file("source.SHX"), krtest::ReadBytes(kSource));
  kr::font font;
  ASSERT_TRUE(font.LoadFile(dir.file("UPPER.SHP").c_str()));
  const std::string glyphs = Everything(font);
  const std::string no_extension = dir.file("a.shp") + "/font";
  for (const char* path : {"", "name", "font.txt", "font.sh", "font.shpx", no_extension.c_str()}) {
    EXPECT_THROW(font.LoadFile(path), kr::FontException) << path;
    EXPECT_EQ(Everything(font), glyphs) << path;
  }
  EXPECT_THROW(font.LoadFile(nullptr), kr::FontException);
  EXPECT_THROW(font.LoadFile(dir.file("source.SHX").c_str()), kr::FontException);
  EXPECT_EQ(Everything(font), "0 0\n");
}

}  // namespace
