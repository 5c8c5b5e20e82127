#include "krdcmmn/platform/errors.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <thread>

namespace {

// The built text; "FAILED n" with the last error when there is none.
std::string Take(DWORD length, char* text) {
  if (length == 0) {
    EXPECT_EQ(text, nullptr);
    return "FAILED " + std::to_string(GetLastError());
  }
  EXPECT_EQ(std::strlen(text), length);
  std::string result(text, length);
  EXPECT_EQ(LocalFree(text), nullptr);
  return result;
}

std::string Fill(const char* source, ...) {
  va_list arguments;
  va_start(arguments, source);
  char* text = nullptr;
  const DWORD length = FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_STRING,
                                      source, 0, 0, &text, 0, &arguments);
  va_end(arguments);
  return Take(length, text);
}

std::string FillWithoutList(const std::string& source) {
  char* text = nullptr;
  const DWORD length = FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_STRING,
                                      source.c_str(), 0, 0, &text, 0, nullptr);
  return Take(length, text);
}

std::string SystemText(DWORD code) {
  char* text = nullptr;
  const DWORD length = FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM,
                                      nullptr, code, 0x400, &text, 0, nullptr);
  return Take(length, text);
}

TEST(Templates, StringsComeInAnyOrderAndAnyNumberOfTimes) {
  const struct {
    const char* source;
    const char* text;
  } rows[] = {
      {"Error! File '%1': %2", "Error! File 'one': two"},
      {"%2%1%2", "twoonetwo"},
      {"%3", "three"},
      {"%10|%1", "ten|one"},
      {"%100", "ten0"},
      {"%1!s!-%2!8s!-%3!-8s!|", "one-     two-three   |"},
      {"%3!.2s!%3!8.2s!", "th      th"},
      {"%1!", "one!"},
      {"%1!!%2", "two"},
      {"%1!q!%2", "two"},
      {"%1!ls!%2!hs!", "two"},
      {"100%% %. %! %b|%t|%r|%n", "100% . !  |\t|\r|\r\n"},
      {"%q%Z%-", "qZ-"},
      {"a%", "a%"},
      {"a%0b%1", "a"},
      {"a%01", "a"},
      {"line\nend\r\n", "line\nend\r\n"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Fill(row.source, "one", "two", "three", "4", "5", "6", "7", "8", "9", "ten"),
              row.text)
        << row.source;
  }
}

TEST(Templates, NumbersFollowTheirConversions) {
  const struct {
    const char* conversion;
    const char* text;
  } rows[] = {
      {"d", "-5"},       {"i", "-5"},          {"u", "4294967291"},  {"lu", "4294967291"},
      {"x", "fffffffb"}, {"#X", "0XFFFFFFFB"}, {"o", "37777777773"}, {"5d", "   -5"},
      {"-5d", "-5   "},  {"05ld", "-0005"},    {".3d", "-005"},      {"hd", "-5"},
      {"hx", "fffb"},    {"hhu", "251"},       {"c", "\xfb"},        {"I32d", "-5"},
  };
  for (const auto& row : rows) {
    const std::string source = "[%2!" + std::string(row.conversion) + "!|%1|%3]";
    EXPECT_EQ(Fill(source.c_str(), "a", -5, "c"), "[" + std::string(row.text) + "|a|c]") << source;
  }
  const std::int64_t wide = -5'000'000'000;
  for (const char* conversion : {"I64d", "lld", "Id"}) {
    const std::string source = "%3%1!" + std::string(conversion) + "!%2!d!";
    EXPECT_EQ(Fill(source.c_str(), wide, 7, "c"), "c-50000000007") << source;
  }
  EXPECT_EQ(Fill("%1!I64x!%1!d!", std::int64_t{0x100000002}), "1000000022");
}

TEST(Templates, AStarTakesAnInsertOfItsOwn) {
  EXPECT_EQ(Fill("%1!*.*s! %4 %5!*s!", 4, 2, "Bill", "Bob", 6, "Bill"), "  Bi Bob   Bill");
  EXPECT_EQ(Fill("%1!*d!|", -6, 42), "42    |");
  EXPECT_EQ(Fill("%1!.*s!|", -1, "all"), "all|");
  EXPECT_EQ(Fill("%1!*s!|%1!d!|", -2147483647 - 1, "x").substr(0, 2), "x ");
}

TEST(Templates, NullsAndMissingListsReadAsEmpty) {
  EXPECT_EQ(Fill("[%1|%2!3s!]", nullptr, nullptr), "[|   ]");
  EXPECT_EQ(FillWithoutList("[%1|%99!d!|%2!*.*s!]%%"), "[||]%");
  EXPECT_EQ(Fill("%1", ""), "FAILED " + std::to_string(ERROR_RESOURCE_NOT_FOUND));
}

TEST(Templates, HostileTemplatesEndInATextOrAFailure) {
  std::string many;
  for (int i = 0; i < 20000; ++i) {
    many += "%1%2";
  }
  EXPECT_EQ(Fill(many.c_str(), "ab", "c").size(), 60000u);
  EXPECT_EQ(Fill("%1!99999999999s!", "x").size(), 4095u);
  EXPECT_EQ(Fill("%1!.99999999999d!", 1).size(), 4095u);
  EXPECT_EQ(Fill("%1!99999.99999d!", 1).size(), 4095u);
  EXPECT_EQ(Fill("%1!#0-+ #0-+ 6x!|", 255), "0xff  |");
  const std::string long_text(1 << 20, 'x');
  std::string bomb;
  for (int i = 0; i < 65; ++i) {
    bomb += "%1";
  }
  EXPECT_EQ(Fill(bomb.c_str(), long_text.c_str()),
            "FAILED " + std::to_string(ERROR_NOT_ENOUGH_MEMORY));
  // Every short text over the characters that mean something.
  const std::string alphabet = "%!19*.s0";
  for (std::size_t number = 0; number < 8 * 8 * 8 * 8 * 8 * 8; ++number) {
    std::string source;
    for (std::size_t rest = number; source.size() < 6; rest /= alphabet.size()) {
      source += alphabet[rest % alphabet.size()];
    }
    FillWithoutList(source);
  }
}

TEST(Templates, FlagsThatAreNotServedAreRefused) {
  char* text = nullptr;
  for (const DWORD flags : {0u, 0x400u, 0x100u, 0x1500u, 0x501u}) {
    EXPECT_EQ(FormatMessageA(flags, "x", 2, 0, &text, 0, nullptr), 0u);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
  }
  EXPECT_EQ(FormatMessageA(0x500, nullptr, 0, 0, &text, 0, nullptr), 0u);
  EXPECT_EQ(FormatMessageA(0x500, "x", 0, 0, nullptr, 0, nullptr), 0u);
}

TEST(SystemTexts, AreTheHostsOwn) {
  EXPECT_EQ(SystemText(ENOENT), std::strerror(ENOENT));
  EXPECT_EQ(SystemText(0), std::strerror(0));
  EXPECT_EQ(SystemText(123456), "FAILED " + std::to_string(ERROR_RESOURCE_NOT_FOUND));
  EXPECT_EQ(SystemText(0xffffffff), "FAILED " + std::to_string(ERROR_RESOURCE_NOT_FOUND));
}

TEST(LastError, BelongsToItsThreadAndSurvivesSuccess) {
  SetLastError(5);
  std::thread([] {
    EXPECT_EQ(GetLastError(), 0u);
    SetLastError(6);
  }).join();
  EXPECT_EQ(Fill("%1", "x"), "x");
  EXPECT_EQ(GetLastError(), 5u);
}

}  // namespace
