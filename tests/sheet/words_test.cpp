// Texts of DXF: characters, formatting, placing.
#include "apps/sheet/dxf_text.h"
#include "tests/sheet/imported.h"

namespace {

using namespace krtest;
using Groups = std::initializer_list<std::pair<int, std::string>>;

TEST(Words, CodesBecomeCharacters) {
  const std::pair<const char*, const char*> rows[] = {
      {"plain", "plain"},
      {"45%%d %%p1 %%c20", "45\u00b0 \u00b11 \u230020"},
      {"%%uunder%%u %%oover", "under over"},
      {"100%%%", "100%"},
      {"%%065%%300%%x", "A%%300%%x"},
      {"\\U+0416\\U+00B2 \\U+zz", "\u0416\u00b2 \\U+zz"},
      {"\\U+D800", "\\U+D800"},
      {"%%", "%%"},
      {"a^ b^Ic", "a^b c"},
      {"end^", "end^"},
  };
  for (const auto& [text, expected] : rows) {
    EXPECT_EQ(kr_sheet::PlainText(text), expected) << text;
  }
}

TEST(Words, FormattingIsDropped) {
  const std::pair<const char*, const char*> rows[] = {
      {"one\\Ptwo", "one\ntwo"},
      {"{\\fArial|b0|i0;bold} x", "bold x"},
      {"\\H2.5x;\\C1;big\\L line\\l", "big line"},
      {"\\S1/2; \\S3^4;", "1/2 3/4"},
      {"a\\\\b\\{c\\}", "a\\b{c}"},
      {"tab^Inext^Jline", "tab next\nline"},
      {"\\A1;mid\\~dle", "mid dle"},
      {"\\Hno end", ""},
      {"dangling\\", "dangling\\"},
      {"", ""},
  };
  for (const auto& [text, expected] : rows) {
    EXPECT_EQ(kr_sheet::PlainMText(text), expected) << text;
  }
}

TEST(Words, BytesAreReadInTheFilesCodePage) {
  using kr_sheet::ToUtf8;
  EXPECT_EQ(ToUtf8("\xc6\xf3\xea", "ANSI_1251", false), "\u0416\u0443\u043a");
  EXPECT_EQ(ToUtf8("\xe9t\xe9", "ANSI_1252", false), "\u00e9t\u00e9");
  EXPECT_EQ(ToUtf8("\xe9", "", false), "\u00e9");
  EXPECT_EQ(ToUtf8("\xe9", "ANSI_no such", false), "\u00e9");
  EXPECT_EQ(ToUtf8("\u0416", "ANSI_1252", true), "\u0416");
  // Said to be UTF-8, and is not.
  EXPECT_EQ(ToUtf8("\xe9t\xe9", "ANSI_1252", true), "\u00e9t\u00e9");
  EXPECT_EQ(ToUtf8("a\x81z", "ANSI_1252", false), "a?z");
  const std::string many(1000, '\xc6');
  EXPECT_EQ(ToUtf8(many, "ANSI_1251", false).size(), 2000u);
}

kr_sheet::Text Label(const std::string& kind, Groups groups, const std::string& insert = "") {
  std::string entity = Entity(kind, groups);
  const Imported d = Import(insert.empty() ? Dxf(entity) : Dxf(insert, BlockOf("B", entity)));
  EXPECT_EQ(d->labels.count(), 1u);
  return d->labels.count() == 1 ? d->labels[0] : kr_sheet::Text{};
}

TEST(Words, PlaceAndAlignmentAreCarriedOver) {
  struct Row {
    const char* across;
    const char* up;
    int align;
    const char* at;
  };
  const Row rows[] = {
      {"0", "0", 6, "1000,2000"}, {"1", "0", 7, "5000,6000"}, {"2", "0", 8, "5000,6000"},
      {"0", "1", 6, "5000,6000"}, {"1", "2", 4, "5000,6000"}, {"2", "3", 2, "5000,6000"},
      {"4", "0", 4, "5000,6000"}, {"0", "3", 0, "5000,6000"}, {"5", "0", 6, "1000,2000"},
  };
  for (const Row& row : rows) {
    const auto label = Label("TEXT", {{10, "1"},
                                      {20, "2"},
                                      {11, "5"},
                                      {21, "6"},
                                      {40, "3"},
                                      {72, row.across},
                                      {73, row.up},
                                      {1, "x"}});
    EXPECT_EQ(label.align, row.align) << row.across << row.up;
    EXPECT_EQ(At(label.at), row.at) << row.across << row.up;
    // One that fits between two points follows them.
    EXPECT_EQ(label.angle, row.across[0] == '5' ? 450 : 0);
  }
  for (int attachment = 1; attachment <= 9; ++attachment) {
    EXPECT_EQ(Label("MTEXT",
                    {{10, "0"}, {20, "0"}, {40, "3"}, {71, std::to_string(attachment)}, {1, "x"}})
                  .align,
              attachment - 1);
  }
  EXPECT_EQ(
      Label("MTEXT", {{10, "0"}, {20, "0"}, {40, "3"}, {11, "0"}, {21, "-2"}, {1, "x"}}).angle,
      2700);
}

TEST(Words, SizeAndTurnFollowTheInsert) {
  const Groups groups = {{10, "0"}, {20, "0"}, {40, "2"}, {41, "0.5"}, {50, "30"}, {1, "x"}};
  struct Row {
    const char* sx;
    const char* sy;
    const char* angle;
    int height, factor, turn, mirrored;
  };
  const Row rows[] = {
      {"1", "1", "0", 2000, 500, 300, 0},    {"3", "3", "45", 6000, 500, 750, 0},
      {"-1", "1", "0", 2000, 500, 3300, 1},  {"1", "-1", "0", 2000, 500, 1500, 1},
      {"-1", "-1", "0", 2000, 500, 2100, 0},
  };
  for (const Row& row : rows) {
    const auto label = Label(
        "TEXT", groups,
        Entity("INSERT",
               {{2, "B"}, {10, "0"}, {20, "0"}, {41, row.sx}, {42, row.sy}, {50, row.angle}}));
    EXPECT_EQ(label.height, row.height);
    EXPECT_EQ(label.width_factor, row.factor);
    EXPECT_EQ(label.angle, row.turn) << row.sx << ' ' << row.sy;
    EXPECT_EQ(label.mirrored, row.mirrored);
  }
  EXPECT_EQ(Label("TEXT", {{10, "0"}, {20, "0"}, {40, "2"}, {71, "2"}, {1, "x"}}).mirrored, 1);
  const auto upside_down = Label("TEXT", {{10, "0"}, {20, "0"}, {40, "2"}, {71, "4"}, {1, "x"}});
  EXPECT_EQ(upside_down.mirrored, 1);
  EXPECT_EQ(upside_down.angle, 1800);
}

TEST(Words, EqualTextsAreKeptOnce) {
  const Groups groups = {{10, "0"}, {20, "0"}, {40, "2"}, {1, "again"}};
  const Imported d =
      Import(Dxf(Entity("TEXT", groups) + Entity("ATTRIB", groups) + Entity("MTEXT", groups)));
  EXPECT_EQ(d->labels.count(), 3u);
  EXPECT_EQ(d->texts.nElem(), 1);
  // Long texts come in pieces.
  const Imported pieces = Import(Dxf(Entity(
      "MTEXT", {{10, "0"}, {20, "0"}, {40, "2"}, {3, "one "}, {3, "two\\P"}, {1, "three"}})));
  EXPECT_STREQ(pieces->texts(0), "one two\nthree");
}

}  // namespace
