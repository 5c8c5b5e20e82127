#include "krdcmmn/platform/codepage.h"

#include <climits>
#include <locale.h>
#include <string>
#include <string_view>
#include <vector>
#include <wctype.h>

#include "krdcmmn/platform/errors.h"

#include "gtest/gtest.h"

namespace {

using namespace std::string_literals;

// Uses another code page for one scope.
class PageGuard {
 public:
  explicit PageGuard(UINT page) : before_(GetACP()) { EXPECT_TRUE(SetAnsiCodePage(page)) << page; }
  ~PageGuard() { SetAnsiCodePage(before_); }

 private:
  UINT before_;
};

std::u16string ToWide(UINT page, std::string_view text) {
  const int size = static_cast<int>(text.size());
  const int units = MultiByteToWideChar(page, 0, text.data(), size, nullptr, 0);
  std::u16string out(static_cast<std::size_t>(units), u'#');
  EXPECT_EQ(MultiByteToWideChar(page, 0, text.data(), size, out.data(), units), units);
  return out;
}

std::string FromWide(UINT page, std::u16string_view text, const char* substitute = nullptr,
                     BOOL* used = nullptr) {
  const int size = static_cast<int>(text.size());
  const int bytes = WideCharToMultiByte(page, 0, text.data(), size, nullptr, 0, substitute, used);
  std::string out(static_cast<std::size_t>(bytes), '#');
  EXPECT_EQ(WideCharToMultiByte(page, 0, text.data(), size, out.data(), bytes, substitute, used),
            bytes);
  return out;
}

// Every page that the header promises.
std::vector<UINT> Pages() {
  std::vector<UINT> pages = {437, 737, 775, 850, 852, 855, 857,   858,   860,  861,
                             862, 863, 865, 866, 869, 874, 20127, 20866, 21866};
  for (UINT page = 1250; page <= 1258; ++page) {
    pages.push_back(page);
  }
  for (UINT part = 1; part <= 16; ++part) {
    if (part != 12) {  // there is no such part
      pages.push_back(28590 + part);
    }
  }
  return pages;
}

TEST(CodePage, StartsWithCyrillic) {
  EXPECT_EQ(GetACP(), 1251u);
  EXPECT_EQ(ToWide(CP_ACP, "\xcf\xf0\xe8 \xb9 5"), u"При № 5");
}

TEST(CodePage, MeaningsOfBytes) {
  const struct {
    UINT page;
    unsigned char byte;
    char16_t unit;
  } rows[] = {
      // clang-format off
      {874, 0xa1, u'\u0e01'}, {874, 0x80, u'\u20ac'}, {1250, 0x8a, u'Š'},   {1252, 0x9f, u'Ÿ'},
      {1253, 0xd3, u'Σ'},     {1254, 0xdd, u'İ'},     {1258, 0xe2, u'â'},    {437, 0xc4, u'─'},
      {1255, 0xe0, u'\u05d0'}, {1255, 0xc8, u'\u05b8'}, {1258, 0xec, u'\u0301'},
      {866, 0x80, u'А'},      {20866, 0xc1, u'а'},    {21866, 0xa4, u'є'},   {28595, 0xb0, u'А'},
      {28605, 0xa4, u'\u20ac'}, {20127, 0x41, u'A'},
      // What a page does not define: a control of that number, else nothing.
      {1251, 0x98, u'\u0098'}, {1252, 0x81, u'\u0081'}, {20127, 0x85, u'\u0085'},
      {1253, 0xff, u'\ufffd'}, {874, 0xff, u'\ufffd'}, {20127, 0xa0, u'\ufffd'},
      // clang-format on
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.page << " byte " << int{row.byte});
    const PageGuard guard(row.page);
    const std::string byte(1, static_cast<char>(row.byte));
    EXPECT_EQ(ToWide(CP_ACP, byte), std::u16string(1, row.unit));
    EXPECT_EQ(FromWide(CP_ACP, std::u16string(1, row.unit), "\x01"),
              row.unit == u'\ufffd' ? "\x01" : byte);
  }
}

TEST(CodePage, EveryPageGivesEachTextBack) {
  for (const UINT page : Pages()) {
    SCOPED_TRACE(page);
    const PageGuard guard(page);
    std::string all;
    for (int byte = 0; byte < 256; ++byte) {
      const std::string one(1, static_cast<char>(byte));
      if (ToWide(CP_ACP, one) != u"\ufffd") {
        all += one;
      }
    }
    EXPECT_GE(all.size(), 128u + 32u);
    EXPECT_TRUE(AnsiHoldsAscii());
    BOOL lost = FALSE;
    EXPECT_EQ(FromWide(CP_ACP, ToWide(CP_ACP, all), "_", &lost), all);
    EXPECT_FALSE(lost);
    EXPECT_EQ(FromWide(CP_UTF8, ToWide(CP_UTF8, FromWide(CP_UTF8, ToWide(CP_ACP, all)))),
              FromWide(CP_UTF8, ToWide(CP_ACP, all)));
  }
}

TEST(CodePage, PagesThatAreNotSingleByteAreRefused) {
  for (const UINT page : {0u, 1u, 932u, 936u, 949u, 950u, 1200u, 28602u, 28607u, 54936u, 65000u,
                          65001u, 4294967295u}) {
    EXPECT_FALSE(SetAnsiCodePage(page)) << page;
    EXPECT_EQ(GetACP(), 1251u) << page;
  }
}

TEST(CodePage, NoSimilarCharacterIsTaken) {
  BOOL lost = FALSE;
  EXPECT_EQ(FromWide(CP_ACP, u"a\u00e9\u2212\u03c0", "_", &lost), "a___");
  EXPECT_TRUE(lost);
  EXPECT_EQ(FromWide(CP_ACP, u"\U0001f600", "_"), "__");  // one for each unit
  EXPECT_EQ(FromWide(CP_ACP, u"\u00e9"), "?");
  EXPECT_EQ(FromWide(CP_ACP, u"_\u0410", "_", &lost), "_\xc0");
  EXPECT_FALSE(lost);
}

TEST(CodePage, MalformedUtf8LosesTheLeastPart) {
  const struct {
    const char* what;
    std::string_view utf8;
    std::u16string_view units;
  } rows[] = {
      {"stray trail bytes", "a\x80\xbfz", u"a\ufffd\ufffdz"},
      {"bytes that never occur", "\xc0\xaf\xc1\xff\xfe\xf5",
       u"\ufffd\ufffd\ufffd\ufffd\ufffd\ufffd"},
      {"cut off by a letter", "\xe2\x82x\xf0\x9f\x98y\xc3z", u"\ufffdx\ufffdy\ufffdz"},
      {"cut off by the end", "\xf0\x9f\x98", u"\ufffd"},
      {"cut off by a lead byte", "\xe2\x82\xe2\x82\xac", u"\ufffd\u20ac"},
      {"overlong", "\xe0\x9f\xbf\xf0\x8f\xbf\xbf", u"\ufffd\ufffd\ufffd\ufffd\ufffd\ufffd\ufffd"},
      {"surrogates", "\xed\xa0\x80\xed\xbf\xbf", u"\ufffd\ufffd\ufffd\ufffd\ufffd\ufffd"},
      {"too great", "\xf4\x90\x80\x80", u"\ufffd\ufffd\ufffd\ufffd"},
      {"last before each gap", "\x7f\xdf\xbf\xed\x9f\xbf\xf4\x8f\xbf\xbf",
       u"\u007f\u07ff\ud7ff\U0010ffff"},
      {"first behind each gap", "\xc2\x80\xe0\xa0\x80\xee\x80\x80\xf0\x90\x80\x80",
       u"\u0080\u0800\ue000\U00010000"},
      {"zero is a character", std::string_view("a\0b", 3), std::u16string_view(u"a\0b", 3)},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    EXPECT_EQ(ToWide(CP_UTF8, row.utf8), row.units);
  }
}

TEST(CodePage, UnpairedSurrogatesBecomeTheReplacement) {
  const char16_t rows[][3] = {{0xd800, 'a', 0xdc00}, {0xdc00, 0xd800, 'a'}, {'a', 'b', 0xdbff}};
  for (const auto& row : rows) {
    std::u16string expected(row, 3);
    for (char16_t& unit : expected) {
      unit = unit >= 0xd800 ? u'\ufffd' : unit;
    }
    EXPECT_EQ(ToWide(CP_UTF8, FromWide(CP_UTF8, {row, 3})), expected);
  }
  EXPECT_EQ(FromWide(CP_UTF8, u"\U0010ffff\u0800\u07ff"), "\xf4\x8f\xbf\xbf\xe0\xa0\x80\xdf\xbf");
}

TEST(CodePage, TooLittleRoomAndMissingInputFail) {
  char16_t units[4] = {u'#', u'#', u'#', u'#'};
  for (const UINT page : {CP_ACP, CP_UTF8}) {
    EXPECT_EQ(MultiByteToWideChar(page, 0, "abc", 3, units, 2), 0);
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(units[2], u'#');
    char bytes[4] = "###";
    EXPECT_EQ(WideCharToMultiByte(page, 0, u"abc", 3, bytes, 2, nullptr, nullptr), 0);
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(bytes[2], '#');
  }
  EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "abc", 0, units, 4), 0);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(WideCharToMultiByte(1251, 0, u"abc", 3, nullptr, 0, nullptr, nullptr), 0);
}

// Case folding, compared with what the host's own tables of Unicode say about every byte.
TEST(CodePage, UpperCaseIsUnicodesWithinThePage) {
  const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  ASSERT_NE(unicode, nullptr);
  std::vector<UINT> pages = Pages();
  pages.insert(pages.end(), {10000, 10007});
  for (const UINT page : pages) {
    const PageGuard guard(page);
    for (int byte = 0; byte < 256; ++byte) {
      const std::string one(1, static_cast<char>(byte));
      const char16_t unit = ToWide(CP_ACP, one)[0];
      const auto upper = static_cast<char16_t>(towupper_l(unit, unicode));
      std::string expected = FromWide(CP_ACP, std::u16string(1, upper), "\x01");
      expected = expected == "\x01" ? one : expected;
      EXPECT_EQ(AnsiUpper(static_cast<unsigned char>(byte)),
                static_cast<unsigned char>(expected[0]))
          << page << " byte " << byte;
    }
  }
  freelocale(unicode);
}

TEST(CodePage, FoldingFollowsThePage) {
  // "Ёлка" in 1251 and in 866.
  std::string text = "\xb8\xeb\xea\xe0 abc";
  EXPECT_EQ(CharUpperBuffA(text.data(), 3), 3u);
  EXPECT_EQ(text, "\xa8\xcb\xca\xe0 abc");
  EXPECT_EQ(_mbsupr(text.data()), "\xa8\xcb\xca\xc0 ABC"s);
  EXPECT_EQ(_mbsicmp("\xb8\xeb\xea\xe0", "\xa8\xcb\xca\xc0"), 0);
  EXPECT_NE(_stricmp("\xb8", "\xa8"), 0);
  const PageGuard guard(866);
  EXPECT_NE(_mbsicmp("\xb8\xeb\xea\xe0", "\xa8\xcb\xca\xc0"), 0);
  EXPECT_EQ(_mbsicmp("\xf1\xab\xaa\xa0", "\xf0\x8b\x8a\x80"), 0);
}

TEST(CodePage, ComparisonSigns) {
  const struct {
    const char* a;
    const char* b;
    std::size_t size;
    int exact;
    int folded;
  } rows[] = {
      {"abc", "abc", 9, 0, 0},    {"abc", "abd", 9, -1, -1}, {"abc", "ABC", 9, 1, 0},
      {"ab", "abc", 9, -1, -1},   {"", "", 9, 0, 0},         {"abc", "abd", 2, 0, 0},
      {"abX", "abx", 3, -1, 0},   {"a\xe4", "az", 9, 1, 1},  {"abc", "xyz", 0, 0, 0},
      {"\xe0", "\xdf", 9, 1, -1},  // a small letter folds below the capital behind it
  };
  const auto sign = [](int value) { return (value > 0) - (value < 0); };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.a << " " << row.b << " " << row.size);
    EXPECT_EQ(sign(_mbsnbcmp(row.a, row.b, row.size)), row.exact);
    EXPECT_EQ(sign(_mbsnbicmp(row.a, row.b, row.size)), row.folded);
    EXPECT_EQ(sign(_mbsnbicmp(row.b, row.a, row.size)), -row.folded);
    if (row.size == 9) {
      EXPECT_EQ(sign(lstrcmpA(row.a, row.b)), row.exact);
      EXPECT_EQ(sign(lstrcmpiA(row.a, row.b)), row.folded);
      EXPECT_EQ(sign(_mbsicmp(row.b, row.a)), -row.folded);
    }
  }
  EXPECT_LT(_stricmp("a_", "AB"), 0);  // letters count as small ones: '_' lies below them
}

TEST(CodePage, CopyFillsAndLeavesTheTerminatorOut) {
  std::string to(6, '#');
  EXPECT_EQ(_mbsnbcpy(to.data(), "abc", 5), to.data());
  EXPECT_EQ(to, "abc\0\0#"s);
  _mbsnbcpy(to.data(), "uvwxyz", 3);
  EXPECT_EQ(to, "uvw\0\0#"s);
}

TEST(PathNumber, Extensions) {
  const struct {
    const char* path;
    const char* extension;
  } rows[] = {
      {"", ""},           {"a", ""},        {"a.shp", ".shp"},  {"a.b.c", ".c"},
      {"a.", "."},        {".shx", ".shx"}, {"C:\\d.d\\a", ""}, {"/d.d/a", ""},
      {"d.d\\a.X", ".X"}, {"d.d/", ""},     {"..", "."},
  };
  for (const auto& row : rows) {
    EXPECT_STREQ(PathFindExtensionA(row.path), row.extension) << row.path;
  }
}

TEST(PathNumber, Numbers) {
  const struct {
    const char* text;
    int plain;
    int hex;  // what StrToIntExA gives with flag 1
    bool found;
  } rows[] = {
      // clang-format off
      {"034", 34, 34, true},   {"-034", -34, -34, true}, {" \t+7,8", 7, 7, true}, {"12abc", 12, 12, true},
      {"", 0, 0, false},       {"-", 0, 0, false},       {"abc", 0, 0, false},    {"- 5", 0, 0, false},
      {"0x00041", 0, 0x41, true}, {"0XfFFf", 0, 0xffff, true}, {"-0x10", 0, -16, true},
      {"0x", 0, 0, false},     {"0xg", 0, 0, false},
      {"0xffffffff", 0, -1, true}, {"0x123456789", 0, -1, true},
      {"2147483647", INT_MAX, INT_MAX, true}, {"2147483648", INT_MAX, INT_MAX, true},
      {"-2147483648", INT_MIN, INT_MIN, true}, {"-99999999999999999999999", INT_MIN, INT_MIN, true},
      // clang-format on
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    int value = 77;
    EXPECT_EQ(StrToIntA(row.text), row.plain);
    EXPECT_EQ(StrToIntExA(row.text, 1, &value) != FALSE, row.found);
    EXPECT_EQ(value, row.hex);
  }
  int value = 77;
  EXPECT_TRUE(StrToIntExA("0x41", 0, &value));
  EXPECT_EQ(value, 0);
}

}  // namespace
