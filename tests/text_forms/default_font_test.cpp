#include "apps/common/default_font.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <string>

#include "krdcmmn/font/drawfont.h"

#include "apps/kr/font/font_file.h"
#include "apps/kr/font/listing.h"
#include "apps/kr/font/shp_compiler.h"
#include "apps/kr/text/stroke_sink.h"
#include "tests/support/temp_dir.h"

namespace {

struct DefaultFontTest : testing::Test {
  DefaultFontTest() { kr_app::LoadDefaultFont(font); }
  kr::font font;
};

// The strokes' right edge and the number of each kind.
struct Reach : kr_app::StrokeSink {
  void Line(KRD::DOT from, KRD::DOT to) override {
    Take(std::max(from.x, to.x), std::min(from.y, to.y));
  }
  void Arc(const kr_app::ArcStroke& arc) override {
    for (int i = 0; i <= 64; ++i) {
      Take(arc.At(i / 64.0).x, arc.At(i / 64.0).y);
    }
  }
  void Circle(KRD::DOT, int) override { ++circles; }
  void Take(double x, double y) {
    right = std::max(right, x);
    low = std::min(low, y);
  }
  double right = -1e9;
  double low = 1e9;
  int circles = 0;
};

TEST_F(DefaultFontTest, HoldsTheWholeCodePage) {
  std::string empty;
  for (int slot = 33; slot < 256; ++slot) {
    const kr::font::PRIM_RANGE prims = font.Prims(slot);
    if (prims.first == prims.last || font.advance[static_cast<unsigned>(slot)].x <= 0) {
      empty += ' ' + std::to_string(slot);
    }
  }
  EXPECT_EQ(empty, " 152 160");  // no character, and the blank that does not break
  EXPECT_EQ(font.boxMin[10].y, -24);
  for (char digit = '0'; digit <= '9'; ++digit) {
    EXPECT_EQ(font.advance[static_cast<unsigned char>(digit)].x, font.advance[unsigned{'0'}].x);
  }
}

// The last letter of a text is measured by its box, which knows of lines alone.
TEST_F(DefaultFontTest, BoxesReachAsFarAsTheArcs) {
  kr::drawfont text;
  text.InitFont(&font);
  text.SetHeight(1800);
  text.SetSWidth(0.0);
  text.SetAlign(kr::ALIGN_BOTTOM_LEFT);
  for (unsigned slot = 33; slot < 256; ++slot) {
    const char letter[] = {static_cast<char>(slot), '\0'};
    Reach reach;
    reach.Expect(kr_app::ArcRadii(text, letter));
    if (text.Write({0, 0}, letter, reach) == 0) {
      continue;
    }
    EXPECT_NEAR(font.boxMax[slot].x * 100 + 50, reach.right, 16) << slot;
    EXPECT_LE(reach.right, font.advance[slot].x * 100.0) << slot;
    EXPECT_GE(reach.low, -400 + 50) << slot;
    EXPECT_EQ(reach.circles, 0) << "circles go by the pen, not by the height";
  }
}

TEST_F(DefaultFontTest, CompilesToTheSameStrokes) {
  const krtest::TempDir dir;
  const std::string source = krtest::ReadBytes(KRD_TEST_DATA "/../../apps/common/default_font.shp");
  krtest::WriteBytes(dir.file("a.shx"),
                     kr_app::CompileShp(source, kr_app::ShxLayout::kUnifont).bytes);
  kr::font compiled;
  kr_app::LoadQuietly(compiled, dir.file("a.shx"));
  EXPECT_EQ(kr_app::GlyphText(compiled, 0, 255), kr_app::GlyphText(font, 0, 255));
}

}  // namespace
