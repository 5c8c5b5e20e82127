#include <cfloat>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "krdcmmn/text/krdstr.h"

#include "gtest/gtest.h"
#include "tests/text/probe.h"

namespace {

using krtest::Str;

template <class... Args>
Str Fresh(const char* format, Args... args) {
  Str s;
  s.sprintf(format, args...);
  return s;
}

// A copy would take a capacity of its own, so the rows are checked where they are made.
void Check(const char* what, const Str& got, const char* text, int cap) {
  EXPECT_STREQ(got.c_str(), text) << what;
  EXPECT_EQ(got.capacity(), cap) << what;
}

#define ROW(text, cap, ...) Check(#__VA_ARGS__, Fresh(__VA_ARGS__), text, cap)

TEST(Format, EstimateSizesTheBlock) {
  const char* const null = nullptr;
  ROW("", 1, "");
  ROW("%", 1, "%%");
  ROW("ab%c", 5, "ab%%c");
  ROW("7", 40, "%d", 7);
  ROW("+7", 41, "%+d", 7);
  ROW(" 7", 42, "%  d", 7);
  ROW("0x7", 42, "%#x", 7);
  ROW("7 ", 40, "%-2d", 7);
  ROW("007", 40, "%03d", 7);
  ROW("0007", 40, "%.4u", 7u);
  ROW(std::string(39, ' ').append("7").c_str(), 50, "%40d", 7);
  ROW(std::string(5, ' ').append(34, '0').append("7").c_str(), 93, "%40.35o", 7);
  ROW("  7", 40, "%*d", 3, 7);
  ROW("7  ", 40, "%*d", -3, 7);
  ROW("7", 40, "%.*d", -3, 7);
  ROW("007", 40, "%.*i", 3, 7);
  ROW("x", 2, "%c", 'x');
  ROW("    x", 6, "%5c", 'x');
  ROW("1.500000e+00", 33, "%e", 1.5);
  ROW("1.500000", 390, "%f", 1.5);
  ROW("1.5", 160, "%G", 1.5);
  ROW("0x10", 12, "%p", reinterpret_cast<void*>(16));
  ROW("abc", 3, "%s", "abc");
  ROW("", 1, "%s", "");
  ROW("   ab", 6, "%5s", "ab");
  ROW("ab", 10, "%.2s", "abcdefgh");
  ROW("abc", 12, "%.10s", "abc");
  ROW("(null)", 7, "%s", null);
  ROW("  (null)", 10, "%8s", null);
}

TEST(Format, SizePrefixesChooseTheArgument) {
  ROW("-9223372036854775808abc", 43, "%I64d%s", std::int64_t{INT64_MIN}, "abc");
  ROW("ffffffffffffffff|x", 42, "%I64x|%s", UINT64_MAX, "x");
  ROW("  5000000000", 40, "%12I64u", std::uint64_t{5000000000});
  ROW("0000005000000000", 40, "%.16I64i", std::int64_t{5000000000});
  ROW("5000000000 x", 42, "%ld %s", 5000000000L, "x");
  ROW("-2 x", 42, "%hd %s", 65534, "x");
  ROW("5000000000 x", 42, "%Ld %s", 5000000000LL, "x");
  ROW("2.5 x", 162, "%Lg %s", 2.5L, "x");
  ROW("1.5s", 161, "%I64gs", 1.5);
  ROW("abc", 3, "%I64s", "abc");
}

// Where the estimate falls short the block is sized by what is written.
TEST(Format, OutputBeyondTheEstimateFits) {
  ROW("abc", 3, "%ls", L"abc");
  ROW("abcdefgh!", 11, "%S!", L"abcdefgh");
  ROW("5000000000x", 13, "%lld%s", 5000000000LL, "x");
  ROW("7 00007 x", 11, "%zu %05jd %s", std::size_t{7}, std::intmax_t{7}, "x");
  ROW("0x1.8p+0 1.500000 2.5 x", 28, "%a %F %.1LF %s", 1.5, 1.5, 2.5L, "x");
  ROW("  -7 7 7 x", 12, "%*lld %td %qd %s", 4, -7LL, std::ptrdiff_t{7}, 7LL, "x");
  ROW("world hello", 13, "%2$s %1$s", "hello", "world");
  Str s;
  s.GetBuffer(250);
  ASSERT_EQ(s.capacity(), 312);
  s.sprintf("%f", -DBL_MAX);
  EXPECT_EQ(s.size(), 317);
  EXPECT_EQ(s.capacity(), 317 + 79);
  s = "x";
  s.sprintf("%*d", -1000, 7);
  EXPECT_EQ(s.size(), 1000);
}

template <class Number>
void ExpectAsHost(const std::string& format, Number number) {
  char want[512];
  std::snprintf(want, sizeof want, format.c_str(), number);
  EXPECT_STREQ(Fresh(format.c_str(), number).c_str(), want) << format;
}

TEST(Format, EveryNumberIsWhatTheHostWrites) {
  for (const char* flag : {"", "-", "+", " ", "0", "#", "-#", "+0", "-+ #0"}) {
    for (const char* size : {"", "1", "9", "33", ".0", ".3", "12.7", ".40", "60.50"}) {
      for (const char conversion : std::string("dioxXu")) {
        ExpectAsHost(std::string("<%") + flag + size + conversion + ">", -123456);
      }
      for (const char conversion : std::string("eEfgG")) {
        ExpectAsHost(std::string("<%") + flag + size + conversion + ">", -DBL_MAX);
        ExpectAsHost(std::string("<%") + flag + size + conversion + ">", 123456.75);
      }
    }
  }
}

TEST(Format, HostileFormatsEndInSomething) {
  ROW("abc", 3, "abc%");
  ROW("abc", 6, "abc%-#");
  ROW("", 1, "%I64");
  ROW("", 1, "%*", 3);
  ROW("", 1, "%99999999999d", 7);  // beyond an int: the host refuses, and only that counts
  int written = -1;
  Str s = Fresh("ab%n%d", &written, 5);
  EXPECT_STREQ(s.c_str(), "ab5");
  EXPECT_EQ(written, 2);
  s.sprintf(nullptr);
  EXPECT_STREQ(s.c_str(), "");
  s.sprintf("%.2147483647s", "abc");  // no block of the estimate's size is asked for
  EXPECT_STREQ(s.c_str(), "abc");
  s.sprintf("%s%10000000d", "x", 7);
  EXPECT_EQ(s.size(), 10000001);
}

TEST(Format, OwnTextServesAsArgumentAndFormat) {
  Str s("abcdefgh");
  s.sprintf("%s-%s", s.c_str(), s.c_str() + 6);
  EXPECT_STREQ(s.c_str(), "abcdefgh-gh");
  s.GetBuffer(100);
  s.sprintf("<%s|%s>", s.c_str(), s.c_str());  // fits without growing
  EXPECT_STREQ(s.c_str(), "<abcdefgh-gh|abcdefgh-gh>");
  s = "%d%d";
  s.sprintf(s.c_str(), 1, 2);
  EXPECT_STREQ(s.c_str(), "12");
}

}  // namespace
