#include "krdcmmn/host/paths.h"

#include <random>
#include <string>

#include "gtest/gtest.h"

namespace {

using PathFunction = int (*)(const char* path, char* out, int size, const char* base);

const char kBase[] = R"(C:\PRJ\SUB\A.DSN)";

// The result in a buffer of the size that the function asks for; checks that one byte less is
// refused and leaves the buffer alone.
std::string Result(PathFunction function, const std::string& path, const std::string& base) {
  char none = '#';
  const int need = function(path.c_str(), &none, 0, base.c_str());
  EXPECT_EQ(none, '#');
  EXPECT_EQ(need > 0, !path.empty());
  std::string out(static_cast<std::size_t>(need) + 2, '#');
  if (need > 0) {
    EXPECT_EQ(function(path.c_str(), out.data(), need - 1, base.c_str()), need);
    EXPECT_EQ(out[0], '#');
  }
  EXPECT_EQ(function(path.c_str(), out.data(), need + 1, base.c_str()), 0);
  EXPECT_EQ(out.back(), '#');
  return out.c_str();
}

TEST(Paths, RelativeToABase) {
  const struct {
    const char* path;
    const char* base;
    const char* relative;
  } rows[] = {
      {R"(C:\PRJ\SUB\LIB\X.LIB)", kBase, R"(LIB\X.LIB)"},
      {R"(c:\prj\y.txt)", kBase, R"(..\y.txt)"},
      {R"(C:\OTHER\Z.TXT)", kBase, R"(..\..\OTHER\Z.TXT)"},
      {R"(D:\PRJ\Q.TXT)", kBase, R"(D:\PRJ\Q.TXT)"},
      {kBase, kBase, "A.DSN"},
      {R"(C:\PRJ\SUB)", kBase, R"(..\SUB)"},
      {R"(C:\PRJ\SUB\)", kBase, ""},
      {R"(C:\DIRA\X)", R"(C:\DIRB\Y)", R"(..\DIRA\X)"},
      {R"(C:\PRJ\X)", R"(C:\PRJ\)", "X"},
      {R"(C:\PRJ\X)", R"(C:\PRJ)", R"(PRJ\X)"},
      {R"(C:\PRJ\X)", "", R"(C:\PRJ\X)"},
      {R"(\\HOST\A\X)", R"(\\HOST\B\Y)", R"(..\A\X)"},
      {R"(C:/PRJ/X)", R"(C:/PRJ/Y)", R"(:/PRJ/X)"},  // a slash is no separator
      {"AB", "AC", "B"},
      {"A", "A", ""},
      {"", kBase, ""},
      // The case of Cyrillic letters counts no more than that of Latin ones.
      {"C:\\\xef\xf0\xe8\xec\xe5\xf0\\X", "C:\\\xcf\xd0\xc8\xcc\xc5\xd0\\Y", "X"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.path << " from " << row.base);
    EXPECT_EQ(Result(TOOLS::Abs2RelPath, row.path, row.base), row.relative);
  }
}

TEST(Paths, AbsoluteFromABase) {
  const struct {
    const char* path;
    const char* base;
    const char* absolute;
  } rows[] = {
      {R"(..\y.txt)", kBase, R"(C:\PRJ\y.txt)"},
      {R"(LIB\X.LIB)", kBase, R"(C:\PRJ\SUB\LIB\X.LIB)"},
      {R"(..\..\OTHER\Z.TXT)", kBase, R"(C:\OTHER\Z.TXT)"},
      {R"(D:\Q.TXT)", kBase, R"(D:\Q.TXT)"},
      {R"(D:\Q.TXT)", "", R"(D:\Q.TXT)"},
      {R"(A\..\B.TXT)", kBase, R"(C:\PRJ\B.TXT)"},
      {R"(..\A\..\B)", kBase, R"(C:\B)"},
      {R"(...\B)", kBase, R"(C:\PRJ\B)"},
      {R"(..)", kBase, R"(C:\PRJ\SUB\..)"},
      {R"(..\)", kBase, R"(C:\PRJ\)"},
      {R"(D:Q.TXT)", kBase, R"(C:\PRJ\SUB\D:Q.TXT)"},
      {R"(\\HOST\A)", kBase, R"(C:\PRJ\SUB\\\HOST\A)"},
      {R"(..\..\..\B)", kBase, "CB"},
      {R"(..\..\..\..\..\B)", kBase, "CB"},
      {"X", "NAME", "NX"},
      {"X", R"(\NAME)", R"(\X)"},
      {"X", "", ""},
      {"", kBase, ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.path << " at " << row.base);
    EXPECT_EQ(Result(TOOLS::Rel2AbsPath, row.path, row.base), row.absolute);
  }
}

TEST(Paths, SizesToAskFor) {
  char out[64] = {};
  // A result under a common backslash asks for a byte that it does not fill.
  EXPECT_EQ(TOOLS::Abs2RelPath(R"(C:\OTHER\Z.TXT)", out, 18, kBase), 19);
  EXPECT_EQ(TOOLS::Abs2RelPath(R"(D:\Q.TXT)", out, 8, kBase), 9);
  EXPECT_EQ(TOOLS::Rel2AbsPath(R"(D:\Q.TXT)", out, 8, kBase), 9);
  EXPECT_EQ(TOOLS::Rel2AbsPath(R"(..\y.txt)", out, -5, kBase), 13);
  EXPECT_EQ(TOOLS::Abs2RelPath("", nullptr, 0, kBase), 0);
  EXPECT_EQ(TOOLS::Rel2AbsPath(nullptr, nullptr, 0, nullptr), 0);
}

TEST(Paths, AbsolutePathFillsTheBufferWithZeros) {
  std::string out(12, '#');
  EXPECT_EQ(TOOLS::Rel2AbsPath(R"(D:\Q)", out.data(), 10, kBase), 0);
  EXPECT_EQ(out, std::string(R"(D:\Q)") + std::string(6, '\0') + "##");
}

TEST(Paths, OutputMayBeTheInput) {
  char path[64] = R"(C:\OTHER\Z.TXT)";
  EXPECT_EQ(TOOLS::Abs2RelPath(path, path, sizeof path, kBase), 0);
  EXPECT_STREQ(path, R"(..\..\OTHER\Z.TXT)");
  EXPECT_EQ(TOOLS::Rel2AbsPath(path, path, sizeof path, kBase), 0);
  EXPECT_STREQ(path, R"(C:\OTHER\Z.TXT)");
}

TEST(Paths, RandomPathsOfAnyLengthComeBack) {
  std::mt19937 random(7);
  const auto path = [&] {
    std::string text = R"(C:\)";
    for (auto depth = random() % 6; depth > 0; --depth) {
      text +=
          std::string(random() % 8 == 0 ? 300 : 1, static_cast<char>('A' + random() % 2)) + "\\";
    }
    return text + "F" + std::to_string(random() % 3);
  };
  for (int round = 0; round < 3000; ++round) {
    const std::string target = path();
    const std::string base = path();
    const std::string relative = Result(TOOLS::Abs2RelPath, target, base);
    EXPECT_EQ(Result(TOOLS::Rel2AbsPath, relative, base), target) << base;
  }
}

}  // namespace
