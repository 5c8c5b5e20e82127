// One font in three forms: the source, and what the app compiles it to in both layouts.
#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "apps/kr/font/font_file.h"
#include "apps/kr/font/hershey.h"
#include "apps/kr/font/listing.h"
#include "apps/kr/font/shp_compiler.h"
#include "tests/font/font_text.h"
#include "tests/support/temp_dir.h"

namespace {

using kr_app::CompileShp;
using kr_app::ShxLayout;
using krtest::Everything;

// Loads a source, and both of its compiled forms, as text.
struct Forms {
  explicit Forms(const std::string& text) {
    krtest::WriteBytes(dir.file("f.shp"), text);
    krtest::WriteBytes(dir.file("s.shx"), CompileShp(text, ShxLayout::kShapes).bytes);
    krtest::WriteBytes(dir.file("u.shx"), CompileShp(text, ShxLayout::kUnifont).bytes);
    source = Load("f.shp");
    shapes = Load("s.shx");
    unifont = Load("u.shx");
  }
  std::string Load(const char* name) {
    kr::font font;
    kr_app::LoadQuietly(font, dir.file(name));
    return Everything(font);
  }

  krtest::TempDir dir;
  std::string source;
  std::string shapes;
  std::string unifont;
};

TEST(Compile, TheTestFontIsOneInAllForms) {
  const Forms forms(krtest::ReadBytes(KRD_TEST_DATA "/strokes.shp"));
  EXPECT_EQ(forms.shapes, forms.source);
  EXPECT_EQ(forms.unifont, forms.source);
  // Remade with: kr font glyphs tests/data/strokes.shp >tests/data/strokes.txt, after a look.
  kr::font font;
  kr_app::LoadQuietly(font, KRD_TEST_DATA "/strokes.shp");
  EXPECT_EQ(kr_app::GlyphText(font, 0, 255), krtest::ReadBytes(KRD_TEST_DATA "/strokes.txt"));
}

// Programs of the part of the form in which sources and compiled fonts agree.
class RandomFont {
 public:
  explicit RandomFont(unsigned seed) : random_(seed) {}

  std::string Source() {
    std::string text =
        "; random\r\n*0,4,random\r\n" + Number(1, 255) + "," + Number(0, 255) + ",0,0\r\n";
    for (int shape = 0; shape < 20; ++shape) {
      text += "*" + Number(1, 127) + ",0,s\r\n";
      for (int command = 0; command < 12; ++command) {
        text += Command() + (command % 5 == 4 ? "\r\n" : ",");
      }
      text += down_ ? "2,0\r\n" : "1,0\r\n";
      down_ = true;
    }
    return text;
  }

 private:
  int Pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random_); }
  std::string Number(int low, int high) { return std::to_string(Pick(low, high)); }
  std::string Pair() { return Number(-128, 127) + "," + Number(-128, 127); }
  std::string Octants() {
    return std::string(Pick(0, 1) != 0 ? "-" : "") + "0" + Number(0, 7) + Number(1, 7);
  }
  std::string Command() {
    const char* digits = "0123456789ABCDEF";
    switch (Pick(0, 12)) {
      case 0:
        down_ = !down_;
        return down_ ? "1" : "2";
      case 1: {
        const std::string factor = Number(2, 9);
        return "3," + factor + ",024,4,(" + factor + ")";
      }
      case 2:
        return "5,8,(" + Pair() + "),6";
      case 3:
        return "7," + Number(15, 99);
      case 4:
        return "8,(" + Pair() + ")";
      case 5:
        return "9,(1," + Number(-128, 127) + "),(" + Number(1, 127) + ",0),(0,0)";
      case 6:
        return "10,(" + Number(1, 127) + "," + Octants() + ")";
      case 7:
        return "10,(" + Number(1, 127) + ",0" + Number(0, 7) + "0)";
      case 8:
        return "11,(" + Number(0, 255) + "," + Number(0, 255) + ",0," + Number(1, 255) + "," +
               Octants() + ")";
      case 9:
        return "12,(" + Pair() + "," + Number(-127, 127) + ")";
      case 10:
        return "13,(1," + Number(-128, 127) + ",5),(3," + Pair() + "),(0,0)";
      case 11:
        return down_ ? "2,14,8,(" + Pair() + "),1" : "14,8,(" + Pair() + ")";
      default:
        return std::string("0") + digits[Pick(1, 15)] + digits[Pick(0, 15)];
    }
  }

  std::mt19937 random_;
  bool down_ = true;
};

TEST(Compile, RandomFontsAreOneInAllForms) {
  for (unsigned seed = 0; seed < 100; ++seed) {
    const std::string source = RandomFont(seed).Source();
    const Forms forms(source);
    ASSERT_EQ(forms.shapes, forms.source) << "seed " << seed << "\n" << source;
    ASSERT_EQ(forms.unifont, forms.source) << "seed " << seed;
  }
}

// Where the two forms are read differently, as documented; the compiler warns of the first.
TEST(Compile, WhatCompiledShapesPassOn) {
  const std::string source = "*0,4,f\r\n9,3,0\r\n*65,4,a\r\n4,2,014,0\r\n*66,3,b\r\n014,0\r\n";
  const Forms forms(source);
  EXPECT_THAT(forms.source, testing::HasSubstr("66: 0,1 0,0 0,1 L 0,0 0,1"));
  EXPECT_THAT(forms.shapes, testing::HasSubstr("66: 0,2 0,0 0,2 L 0,0 0,2"));
  EXPECT_THAT(CompileShp(source, ShxLayout::kShapes).warnings,
              testing::ElementsAre(testing::StartsWith("line 3: ")));
}

TEST(Compile, RefusalsNameTheLine) {
  const struct {
    const char* program;  // of the one shape, from line 4 on
    const char* text;
  } rows[] = {
      {"034,\r\n014", "line 3: the shape has no end"},
      {"034,0,\r\n1", "line 5: a token behind the end"},
      {"34,0", "line 4: 34 is no decimal number from 0 to 14"},
      {"004,0", "line 4: 004 has three"},
      {"03G,0", "line 4: 03G has three"},
      {"08,0", "line 4: 08 is no decimal"},
      {"3,100,0", "line 4: 100 has three"},
      {"3,0,0", "line 4: 0 is no decimal"},
      {"8,1,2,0", "line 4: 1 should stand within"},
      {"8,(1,200),0", "line 4: 200 is no decimal number from -128 to 127"},
      {"8,(1),0", "line 4: 1 numbers where 2"},
      {"8,(1,2", "line 4: the line ends within"},
      {"8(1,2),0", "line 4: a comma is missing"},
      {"8,(1,,2),0", "line 4: a number is missing"},
      {"(1,2),0", "line 4: parentheses without"},
      {"8,1),0", "line 4: a ) without"},
      {"9,(0,0),0", "line 4: a run ends"},
      {"9,(1,1,1),(0,0),0", "line 4: a run of 2"},
      {"9,(1,1)", "line 3: the shape ends where"},
      {"13,(1,1,1),(0,0,3),0", "line 4: a run ends"},
      {"10,(4,082),0", "line 4: 082 should be octants"},
      {"10,(4,-000),0", "line 4: -000 should be"},
      {"11,(0,0,1,5,012),0", "line 4: 1 is no decimal number from 0 to 0"},
      {"7,5,0", "line 4: 5 is no decimal"},
      {" 034,0", "line 4: a blank"},
      {"034,0 ; up", "line 4: a blank"},
      {"034;up,0", "line 4: comments"},
  };
  for (const auto& row : rows) {
    try {
      CompileShp("*0,4,f\r\n9,3,0\r\n*65,4,a\r\n" + std::string(row.program), ShxLayout::kShapes);
      ADD_FAILURE() << row.program;
    } catch (const std::runtime_error& e) {
      EXPECT_THAT(e.what(), testing::StartsWith(row.text)) << row.program;
    }
  }
}

TEST(Compile, RefusesFontsThatALayoutCannotHold) {
  const std::string head = "*0,4,f\n9,3,0\n";
  std::string wide = head + "*65,4,a\n";
  for (int i = 0; i < 2000; ++i) {
    wide += "014\n";
  }
  EXPECT_NO_THROW(CompileShp(wide + "0", ShxLayout::kShapes));
  EXPECT_THROW(CompileShp(wide + "0", ShxLayout::kUnifont), std::runtime_error);
  for (const std::string& source :
       {std::string(), std::string("text"), std::string("*65,3,a\n014,0"), head + "*08000,3,a\n0",
        head + "*0,3,a\n0", head + "*65,3,a,b\n0", head + "*65\n0", std::string("*0,4,f\n9,3\n"),
        std::string("*0,4,f\n0,3,0\n")}) {
    EXPECT_THROW(CompileShp(source, ShxLayout::kShapes), std::runtime_error) << source;
  }
}

TEST(Hershey, EveryFaceIsOneInAllForms) {
  int faces = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/usr/share/hershey-fonts")) {
    if (entry.path().extension() != ".jhf") {
      continue;
    }
    ++faces;
    const std::string face = kr_app::ReadInput(entry.path().string());
    const auto font = kr_app::ImportHershey(face, entry.path().stem().string());
    const Forms forms(font.source);
    EXPECT_EQ(forms.shapes, forms.source) << entry.path();
    EXPECT_EQ(forms.unifont, forms.source) << entry.path();
    EXPECT_EQ(font.left_out, 0) << entry.path();
    EXPECT_EQ(kr_app::DescribeFontFile(font.source).shapes, font.glyphs + 1) << entry.path();
  }
  EXPECT_GE(faces, 30) << "the package hershey-fonts-data has more faces";
}

// Glyph 34 is 'A' by its place: two strokes and a bar, 18 wide.
TEST(Hershey, StrokesStandOnTheBaseline) {
  std::string face;
  for (int i = 32; i < 65; ++i) {
    face += "12345  1JZ\n";
  }
  face += "12345  9I[RFJ[ RRF\nZ[ RMTWT\n12345  2JZRR\n";
  const auto imported = kr_app::ImportHershey(face, "f");
  const Forms forms(imported.source);
  EXPECT_THAT(forms.source, testing::StartsWith("21 0\n10: 0,-26 0,-26 0,0 \n32: 16,0 0,0 0,0 \n"));
  EXPECT_THAT(forms.source,
              testing::HasSubstr("65: 18,0 0,0 17,21 L 9,21 1,0 L 9,21 17,0 L 4,7 14,7\n"));
  EXPECT_THAT(forms.source, testing::HasSubstr("66: 16,0 0,0 8,9 L 8,9 8,9\n"));
}

TEST(Hershey, DamageNamesTheGlyph) {
  for (const char* face : {"12345  1JZ\n12345  3JZRR", "12345  1JZ\n12345  0JZ", "12345  1JZ\n123",
                           "12345  1JZ\n12345  2JZ\x01R\n"}) {
    EXPECT_THAT([&] { kr_app::ImportHershey(face, "f"); },
                testing::ThrowsMessage<std::runtime_error>(testing::StartsWith("glyph 2: ")))
        << face;
  }
  EXPECT_THROW(kr_app::ImportHershey("\n", "f"), std::runtime_error);
}

TEST(Listing, InfoTellsFormNameAndCounts) {
  const Forms forms(krtest::ReadBytes(KRD_TEST_DATA "/strokes.shp"));
  const std::string counts =
      "height      25\nabove       18\nbelow       7\nline pitch  -30\nshapes      15\n"
      "slots used  13\n";
  const struct {
    const char* file;
    const char* form;
  } rows[] = {{"f.shp", "SHP source"}, {"s.shx", "SHX shapes 1.1"}, {"u.shx", "SHX unifont 1.0"}};
  for (const auto& row : rows) {
    const std::string path = forms.dir.file(row.file);
    kr::font font;
    kr_app::LoadQuietly(font, path);
    EXPECT_THAT(kr_app::FontInfo(font, kr_app::DescribeFontFile(krtest::ReadBytes(path))),
                testing::StartsWith("form        " + std::string(row.form) +
                                    "\nname        strokes\n" + counts));
  }
  // What is cut short describes itself as far as it goes.
  const std::string bytes = krtest::ReadBytes(forms.dir.file("s.shx"));
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    EXPECT_GE(kr_app::DescribeFontFile(bytes.substr(0, size)).shapes, 0);
  }
}

TEST(Listing, JsonHoldsEachPrimitiveWithItsNumbers) {
  const Forms forms(
      "*0,4,f\r\n9,3,0\r\n*65,4,a\r\n014,10,(2,020),12,(10,0,64),0\r\n*66,2,b\r\n020,0\r\n");
  kr::font font;
  kr_app::LoadQuietly(font, forms.dir.file("s.shx"));
  EXPECT_EQ(kr_app::GlyphJson(font, 65, 65),
            "{\"height\": 12, \"descent\": 3,\n \"glyphs\": [\n"
            "  {\"slot\": 65, \"advance\": [10,1], \"box\": [[0,0], [0,1]],\n   \"primitives\": [\n"
            "    {\"line\": [[0,0], [0,1]]},\n"
            "    {\"circle\": {\"centre\": [0,-1], \"radius\": 2}},\n"
            "    {\"arc\": {\"centre\": [5,5.938536943519223], \"radius\": 7.027741254663847, "
            "\"from\": [0,1], \"to\": [10,1]}}]}\n ]}\n");
  EXPECT_THAT(kr_app::GlyphJson(font, 0, 255), testing::HasSubstr("\"slot\": 66"));
  EXPECT_EQ(kr_app::GlyphText(font, 66, 66),
            "slot 66 'B' advance 2,0 box 0,0 2,0\n  line 0,0 2,0\n");
}

}  // namespace
