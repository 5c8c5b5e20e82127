#include "apps/common/slots.h"

#include <gtest/gtest.h>
#include <string>

#include "apps/common/default_font.h"
#include "apps/common/errors.h"
#include "apps/common/whole_file.h"
#include "tests/support/temp_dir.h"

namespace {

struct SlotsTest : testing::Test {
  SlotsTest() { kr_app::LoadDefaultFont(font); }
  kr::font font;
};

TEST_F(SlotsTest, CharactersBecomeBytesAndTheRestIsNamed) {
  const struct {
    std::string text, bytes, missing;
  } rows[] = {
      {"Ra 3,2", "Ra 3,2", ""},
      {"Ш°±", "\xd8\xb0\xb1", ""},
      {"Ø⌀ø∅", "\x7f\x7f\x7f\x7f", ""},
      {"a\nb\r\nc\rd", "a\r\nb\r\nc\rd", ""},
      {"語é語", "___", "語 U+8A9E (2), é U+00E9 (1)"},
      {"😀", "_", "😀 U+1F600 (1)"},
      {"a\xff"
       "b",
       "a_b", "\xef\xbf\xbd U+FFFD (1)"},
      {std::string("a\0b", 3), "ab", "U+0000 (1)"},
      {"\x01\t", "\x01\t", "U+0001 (1), U+0009 (1)"},
      {"", "", ""},
  };
  for (const auto& row : rows) {
    const kr_app::SlotText slots = kr_app::SlotsOf(row.text, font, kr_app::kDiameterSlot);
    EXPECT_EQ(slots.bytes, row.bytes) << row.text;
    EXPECT_EQ(kr_app::NamesOf(slots.missing), row.missing) << row.text;
  }
  EXPECT_EQ(kr_app::NamesOf(kr_app::SlotsOf("Ø", font, 0).missing), "Ø U+00D8 (1)");
}

TEST_F(SlotsTest, ManyMissingCharactersAreCutShort) {
  std::string text;
  for (int i = 0; i < 50; ++i) {
    text += "\xe4\xb8";
    text += static_cast<char>(0x80 + i);
  }
  const auto missing = kr_app::SlotsOf(text + text, font, 0).missing;
  EXPECT_EQ(kr_app::CountOf(missing), 100);
  EXPECT_NE(kr_app::NamesOf(missing).find(" and 30 more"), std::string::npos);
}

TEST(Unescaped, BreaksAndBackslashes) {
  EXPECT_EQ(kr_app::Unescaped(R"(a\nb\\n\t\)"), "a\nb\\n\\t\\");
}

TEST(WholeFile, FailuresLeaveWhatWasThere) {
  const krtest::TempDir dir;
  kr_app::WriteWholeFile(dir.file("a"), "first");
  kr_app::WriteWholeFile(dir.file("a"), "second");
  EXPECT_EQ(krtest::ReadBytes(dir.file("a")), "second");
  EXPECT_THROW(kr_app::WriteWholeFile(dir.file("none/a"), "x"), kr_app::Failure);
  EXPECT_THROW(kr_app::WriteWholeFile(dir.path().string(), "x"), kr_app::Failure);
  EXPECT_THROW(kr_app::WriteWholeFile("/dev/full", "x"), kr_app::Failure);
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(dir.path())) {
    EXPECT_EQ(entry.path().filename(), "a");
    ++files;
  }
  EXPECT_EQ(files, 1);
}

}  // namespace
