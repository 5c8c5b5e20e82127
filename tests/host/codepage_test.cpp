#include "krdcmmn/host/codepage.h"

#include <string>

#include "krdcmmn/host/system_error.h"
#include "krdcmmn/platform/errors.h"

#include "gtest/gtest.h"
#include "tests/support/guarded_copy.h"

namespace {

using namespace std::string_literals;

unsigned Length(const auto& text) {
  return static_cast<unsigned>(text.size());
}

std::string ToAnsi(const std::string& utf8) {
  const krtest::GuardedCopy copy(utf8);
  return Utf8ToAnsi(copy.data(), Length(utf8));
}

std::string ToUtf8(const std::string& ansi) {
  const krtest::GuardedCopy copy(ansi);
  return AnsiToUtf8(copy.data(), Length(ansi));
}

TEST(Conversions, TextsAndTheirUtf8) {
  const struct {
    std::string utf8;
    std::string ansi;
    std::string back;  // the UTF-8 of `ansi`
  } rows[] = {
      {"", "", ""},
      {"plain", "plain", "plain"},
      {"Масштаб 1:100", "\xcc\xe0\xf1\xf8\xf2\xe0\xe1 1:100", "Масштаб 1:100"},
      {"x \xc3\xa9 \xf0\x9f\x98\x80", "x _ __", "x _ __"},
      {"a\xff"
       "b",
       "a_b", "a_b"},
      {"cut \xd0", "cut _", "cut _"},
      {"\x7f\x01", "\x7f\x01", "\x7f\x01"},
      {"ends\0here"s, "ends", "ends"},
      {"Ж\0here"s, "\xc6", "Ж"},
      {"\0Ж"s, "", ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.utf8);
    EXPECT_EQ(ToAnsi(row.utf8), row.ansi);
    EXPECT_EQ(ToUtf8(row.ansi), row.back);
  }
  EXPECT_EQ(ToUtf8("\xc6\0\xc6"s), "Ж");
}

TEST(Conversions, LengthsAroundTheBlockOfTheAsciiTest) {
  for (std::size_t length = 0; length <= 200; ++length) {
    std::string text(length, 'k');
    EXPECT_EQ(ToAnsi(text), text);
    EXPECT_EQ(ToUtf8(text), text);
    for (std::size_t at = 0; at < length; ++at) {
      text[at] = '\x80';
      ASSERT_FALSE(IsPlainAscii(text.data(), Length(text))) << at << " of " << length;
      text[at] = '\0';
      ASSERT_FALSE(IsPlainAscii(text.data(), Length(text))) << at << " of " << length;
      text[at] = 'k';
    }
    ASSERT_TRUE(IsPlainAscii(text.data(), Length(text)));
  }
}

TEST(Conversions, WideTextHoldsUnits) {
  const std::wstring wide = AnsiToWide("\xc6\0z\x98", 4);
  EXPECT_EQ(wide, (std::wstring{0x416, 0, L'z', 0x98}));
  EXPECT_EQ(WideToAnsi(wide.data(), Length(wide)), "\xc6");
  const std::wstring pair = {0xd83d, 0xde00, 0x416};
  EXPECT_EQ(WideToAnsi(pair.data(), Length(pair)), "__\xc6");
  EXPECT_EQ(WideToAnsi(nullptr, 0), "");
  EXPECT_EQ(AnsiToWide(nullptr, 0), L"");
}

TEST(Conversions, LostCharactersAreCounted) {
  const auto lost_in = [](const std::string& utf8) {
    const std::uint64_t before = LossyCharacterCount();
    ToAnsi(utf8);
    return LossyCharacterCount() - before;
  };
  EXPECT_EQ(lost_in("plain _ and Ж_"), 0u);
  EXPECT_EQ(lost_in("\xc3\xa9_\xc3\xa9"), 2u);
  EXPECT_EQ(lost_in("\xf0\x9f\x98\x80\xf0\x9f\x98\x80"), 2u);
  const std::wstring unpaired = {0xd83d, 0xd83d, 0xde00, 0xde00};
  const std::uint64_t before = LossyCharacterCount();
  WideToAnsi(unpaired.data(), Length(unpaired));
  EXPECT_EQ(LossyCharacterCount() - before, 3u);
}

// Long texts are converted in pieces; no character, part of one or pair is torn by that.
TEST(Conversions, LengthsAroundThePieces) {
  const std::string parts[] = {"\xd0\x96",     "\xf0\x9f\x98\x80", "\xe2\x82\xac",
                               "\xf0\x9f\x98", "\x80\x80\x80\x80", "\xd0\xd0\xd0\xd0",
                               "\xff\x80",     "\xe2\x82"};
  for (std::size_t before = 505; before < 515; ++before) {
    for (const std::string& part : parts) {
      const std::string text = std::string(before, 'k') + part + "\xd0\x96 and more";
      EXPECT_EQ(ToAnsi(text), std::string(before, 'k') + ToAnsi(part) + "\xc6 and more") << before;
    }
    std::wstring wide(before, L'k');
    wide += {0xd83d, 0xde00, 0x416};
    const std::uint64_t lost = LossyCharacterCount();
    EXPECT_EQ(WideToAnsi(wide.data(), Length(wide)), std::string(before, 'k') + "__\xc6");
    EXPECT_EQ(LossyCharacterCount() - lost, 1u) << before;
    const std::string ansi = std::string(before, '\xc6') + "\0\xc6"s;
    EXPECT_EQ(ToAnsi(ToUtf8(ansi)), std::string(before, '\xc6'));
    EXPECT_EQ(AnsiToWide(ansi.data(), Length(ansi)), std::wstring(before, 0x416) + L"\0\x416"s);
  }
}

TEST(Conversions, TooLongATextIsRefusedBeforeItIsRead) {
  const unsigned length = 1u << 31;
  SetLastError(0);
  EXPECT_THROW(WideToAnsi(L"", length), krerr::Win32Ecept);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(AnsiToWide("", length), L"");
  EXPECT_THROW(Utf8ToAnsi("\xff", length), krerr::Win32Ecept);
  EXPECT_THROW(AnsiToUtf8("\xff", length), krerr::Win32Ecept);
}

}  // namespace
