#include "krdcmmn/text/krdstr.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <string>

#include "krdcmmn/core/vf_exception.h"

#include "gtest/gtest.h"
#include "tests/text/memory.h"
#include "tests/text/probe.h"

namespace {

using krtest::CodeOf;
using krtest::Str;

// What a string must be after each operation: its text, and a capacity that follows the rules of
// growth and nothing else.
struct Model {
  std::string text;
  int cap = 1;

  int length() const { return static_cast<int>(text.size()); }
  void allocate(int n) { cap = n + n / 4; }
  // `spare`: characters beyond the text that a kept block must hold.
  void assign(const std::string& s, int spare) {
    text = s;
    if (s.empty()) {
      allocate(1);
    } else if (cap < length() + spare) {
      allocate(length());
    }
  }
  void append(const std::string& s) {
    text += s;
    if (!s.empty() && length() >= cap) {
      allocate(length());
    }
  }
};

#define EXPECT_STR(s, want_text, want_cap)  \
  do {                                      \
    EXPECT_STREQ((s).c_str(), (want_text)); \
    EXPECT_EQ((s).capacity(), (want_cap));  \
  } while (false)

TEST(Krdstr, ConstructorsSizeTheirBlock) {
  EXPECT_STR(Str(), "", 1);
  EXPECT_STR(Str(static_cast<const char*>(nullptr)), "", 1);
  EXPECT_STR(Str(""), "", 1);
  EXPECT_STR(Str("a"), "a", 1);
  EXPECT_STR(Str("abcd"), "abcd", 5);
  EXPECT_STR(Str('x', -1), "", 1);
  EXPECT_STR(Str('x', 0), "", 1);
  EXPECT_STR(Str('x', 3), "xxx", 3);
  const Str nothing;
  const Str text("abcdefgh");
  EXPECT_STR(Str(nothing), "", 0);
  EXPECT_STR(Str(text), "abcdefgh", 10);
  EXPECT_TRUE(Str(nothing).IsEmpty());
}

void EditBoth(std::mt19937& random, Str& s, Model& model) {
  const std::string piece(random() % (random() % 8 == 0 ? 60 : 6),
                          static_cast<char>('a' + random() % 4));
  const std::size_t n = random() % 12;
  const auto size = static_cast<int>(n);
  const std::string tail = model.text.substr(std::min(n, model.text.size()));
  const auto kind = random() % 11;
  if (kind == 0) {
    s = Str(piece.c_str());
    model.assign(piece, 0);
  } else if (kind == 1) {
    s = piece.c_str();
    model.assign(piece, 1);
  } else if (kind == 2) {
    s = 'b';
    model = {"b", std::max(model.cap, 2)};
  } else if (kind == 3) {
    s += Str(piece.c_str());
    model.append(piece);
  } else if (kind == 4) {
    s += 'c';
    model.append("c");
  } else if (kind == 5) {
    s.Delete(size, 4);
    s.Replace('a', 'z');
    model.text.erase(std::min(n, model.text.size()), 4);
    std::replace(model.text.begin(), model.text.end(), 'a', 'z');
  } else if (kind == 6) {
    s.GetBuffer(size * 4);
    s.ReleaseBuffer(std::min(size, s.size()));
    model = {model.text.substr(0, n), model.cap < size * 4 ? size * 5 : model.cap};
  } else if (kind == 7) {
    s += s;
    model.append(std::string(model.text));
  } else if (kind == 8) {
    s += s.c_str() + model.text.size() - tail.size();
    model.append(tail);
  } else if (kind == 9) {
    s = s.c_str() + model.text.size() - tail.size();
    model.assign(tail, 1);
  } else if (!model.text.empty() || !piece.empty()) {
    s.ConcatCopy(s.c_str(), s.size(), piece.c_str(), static_cast<int>(piece.size()));
    model.text += piece;
    model.allocate(model.length());
  }
}

TEST(Krdstr, RandomEditsFollowTheModel) {
  for (unsigned seed = 1; seed <= 40; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    Str s;
    Model model;
    for (int step = 0; step < 400; ++step) {
      if (s.size() > 300) {
        s.empty();
        model = Model();
      }
      EditBoth(random, s, model);
      ASSERT_STREQ(s.c_str(), model.text.c_str());
      ASSERT_EQ(s.capacity(), model.cap);
      ASSERT_EQ(s.size(), model.length());
    }
  }
}

TEST(Krdstr, BlocksGrowAndGoBackAtTheirLimits) {
  Str s("abcd");
  s = static_cast<const Str&>(s);
  EXPECT_STR(s, "abcd", 5);
  s += static_cast<const char*>(nullptr);
  EXPECT_STR(s, "abcd", 5);
  std::memcpy(s.GetBuffer(10), "abc", 4);
  s.ReleaseBuffer(-1);
  EXPECT_STR(s, "abc", 12);
  std::memset(s.GetBuffer(12), 'z', 12);
  s.ReleaseBuffer(1000);
  EXPECT_STR(s, "zzzzzzzzzzzz", 12);
  EXPECT_STREQ(s.GetBuffer(-5), "zzzzzzzzzzzz");
}

TEST(Krdstr, PiecesAreSizedByWhatIsAskedOfTheText) {
  const Str s("abcdef");
  const auto piece = [](const KRD::KRDSTR& p) {
    const Str copy(p);
    return std::string(p.c_str()) + ":" + std::to_string(copy.size());
  };
  EXPECT_EQ(piece(s.Left(3)), "abc:3");
  EXPECT_EQ(piece(s.Right(2)), "ef:2");
  EXPECT_EQ(piece(s.Mid(1, 3)), "bcd:3");
  // What lies outside the text is left out.
  const int most = 0x7fffffff;
  EXPECT_EQ(piece(s.Left(most)), "abcdef:6");
  EXPECT_EQ(piece(s.Left(-most - 1)), ":0");
  EXPECT_EQ(piece(s.Right(most)), "abcdef:6");
  EXPECT_EQ(piece(s.Right(-1)), ":0");
  EXPECT_EQ(piece(s.Mid(-2, 4)), "ab:2");
  EXPECT_EQ(piece(s.Mid(most, most)), ":0");
  EXPECT_EQ(piece(s.Mid(4, most)), "ef:2");
  EXPECT_EQ(s[-1] + s[most] + s[6], 0);
}

TEST(Krdstr, EditsOutsideTheBlockDoNothing) {
  Str s("abcdef");
  s.SetAt(-1, 'x');
  s.SetAt(7, 'x');  // the block's last byte stays a terminator
  s.SetAt(1000, 'x');
  s.Delete(-1, 3);
  s.Delete(6, 1);
  s.Delete(2, -1);
  EXPECT_STR(s, "abcdef", 7);
  s.Delete(2, 0x7fffffff);
  EXPECT_STR(s, "ab", 7);
  s.SetAt(0, 0);
  EXPECT_TRUE(s.IsEmpty());
}

TEST(Krdstr, OrderIsThatOfUnsignedBytes) {
  const char* const rising[] = {"", "A", "Ab", "B", "a", "\x7f", "\x80", "\xe4", "\xe4z"};
  for (const char* a : rising) {
    for (const char* b : rising) {
      const int order = (&a == &b) ? 0 : (std::strcmp(a, b) > 0) - (std::strcmp(a, b) < 0);
      EXPECT_EQ(Str(a).Compare(b), order) << a << " " << b;
      EXPECT_EQ(Str(a) < Str(b), order < 0);
      EXPECT_EQ(Str(a) > Str(b), order > 0);
      EXPECT_EQ(Str(a) == Str(b), order == 0);
      EXPECT_EQ(Str(a) == b, order == 0);
      EXPECT_NE(Str(a) != b, order == 0);
      EXPECT_NE(Str(a) != Str(b), order == 0);
    }
  }
  EXPECT_EQ(Str("Net").CompareNoCase("nET"), 0);
  EXPECT_LT(Str("net").CompareNoCase("Neu"), 0);
  EXPECT_NE(Str("\xc0").CompareNoCase("\xe0"), 0);
  EXPECT_EQ(Str().Compare(nullptr), 0);
}

TEST(Krdstr, SearchesSeeTheTerminatorAndBothSeparators) {
  const Str s("a/b\\a");
  EXPECT_EQ(s.Find('a'), 0);
  EXPECT_EQ(s.ReverseFind('a'), 4);
  EXPECT_EQ(s.Find('x'), -1);
  EXPECT_EQ(s.Find(0), s.strlen());
  EXPECT_EQ(s.ReverseFind(0), 5);
  EXPECT_STREQ(Str("c:\\dir/name.txt").GetFileName(), "name.txt");
  EXPECT_STREQ(Str("name.txt").GetFileName(), "name.txt");
  EXPECT_STREQ(Str("dir\\").GetFileName(), "");
  EXPECT_EQ(Str().GetFileName(), nullptr);
}

TEST(Krdstr, FailedMemoryLeavesAStringThatReadsEmptyAndCanBeUsed) {
  using Edit = void (*)(Str&);
  const Edit edits[] = {
      [](Str& s) { s = "a text of some length"; },
      [](Str& s) { s += "a text of some length"; },
      [](Str& s) { s.ConcatCopy("a text ", 7, "of some length", 14); },
      [](Str& s) { s.sprintf("%s%d", "a text of some length", 1); },
      [](Str& s) { s.GetBuffer(21); },
      [](Str& s) { s.empty(); },
  };
  for (const Edit edit : edits) {
    Str s("abc");
    {
      const krtest::FailingMemory none;
      EXPECT_EQ(CodeOf([&] { edit(s); }), 1);
    }
    EXPECT_FALSE(s.hasBlock());
    EXPECT_TRUE(s.IsEmpty());
    EXPECT_EQ(s.size(), 0);
    EXPECT_EQ(s.Find('a'), -1);
    EXPECT_EQ(s[0], 0);
    EXPECT_EQ(s.Compare(""), 0);
    EXPECT_EQ(Str(s.Left(4)).size(), 0);
    s.Replace('a', 'b');
    s.ReleaseBuffer(-1);
    EXPECT_EQ(Str(s).capacity(), 0);
    s += "again";
    EXPECT_STREQ(s.c_str(), "again");
  }
  const krtest::FailingMemory one(1);
  EXPECT_EQ(CodeOf([] { Str("abc"); }), 1);  // the block of the unfinished string is freed
}

TEST(Krdstr, ResourcesAreLoadedWhole) {
  Str s("before");
  s.LoadStringA(40, nullptr);
  EXPECT_STR(s, "short", 7);
  s.LoadStringA(41, nullptr);  // fills the first buffer to its last byte
  EXPECT_EQ(s.size(), 255);
  EXPECT_EQ(s[254], 'a' + 254 % 26);
  s.LoadStringA(42, nullptr);
  EXPECT_EQ(s.size(), 600);
  s.LoadStringA(49, nullptr);
  EXPECT_STR(s, "", 1);
  s.sprintf(nullptr, 43, 2, "three");
  EXPECT_STREQ(s.c_str(), "2 of three");
  s.sprintf(nullptr, 49, 2, "three");
  EXPECT_STREQ(s.c_str(), "2 of three");
}

TEST(VfException, HoldsItsOwnNameAndNeverAsks) {
  char name[] = "plan";
  KRD::VF_EXCEPTION e(101, name, false);
  name[0] = 'x';
  KRD::VF_EXCEPTION other(103, nullptr, false);
  EXPECT_TRUE(other.name.IsEmpty());
  other = e;
  EXPECT_EQ(other.code, 101);
  EXPECT_STREQ(other.name.c_str(), "plan");
  char text[32];
  ASSERT_TRUE(other.GetErrorMessage(text, 32));
  EXPECT_STREQ(text, "Sorry!\nInternal error!");
  ASSERT_TRUE(other.GetErrorMessage(text, 4));
  EXPECT_STREQ(text, "Sor");
  EXPECT_FALSE(other.GetErrorMessage(text, 0));
  EXPECT_EQ(other.ReportError(nullptr), 0);
}

}  // namespace
