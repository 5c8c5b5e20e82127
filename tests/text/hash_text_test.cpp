#include "krdcmmn/text/hash_text.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "tests/text/memory.h"
#include "tests/text/plain_index.h"
#include "tests/text/probe.h"

namespace {

using krtest::CodeOf;
using krtest::PlainIndex;

class Index : public KRD::HASH_TEXT {
 public:
  using KRD::HASH_TEXT::compare;
  using KRD::HASH_TEXT::compareN;
  using KRD::HASH_TEXT::hash;
  using KRD::HASH_TEXT::hashExt;
  std::vector<int> bucketList() const { return {buckets.begin(), buckets.end()}; }
  unsigned bucketCount() const { return buckets.count(); }
  // The ids of a bucket's chain.
  std::vector<int> idsOf(std::size_t bucket) const {
    std::vector<int> ids;
    for (int id = buckets[static_cast<unsigned>(bucket)]; id >= 0;
         id = chain[static_cast<unsigned>(id)]) {
      ids.push_back(id);
    }
    return ids;
  }
};

void ExpectSame(const Index& index, const PlainIndex& plain) {
  ASSERT_EQ(index.nElem(), static_cast<int>(plain.strings.size()));
  for (unsigned i = 0; i < plain.strings.size(); ++i) {
    ASSERT_STREQ(index(i), plain.strings[i].c_str());
  }
  ASSERT_EQ(index.bucketList(), plain.buckets);
  for (std::size_t bucket = 0; bucket < plain.buckets.size(); ++bucket) {
    std::vector<int> ids;
    for (int id = plain.buckets[bucket]; id >= 0; id = plain.chain[static_cast<std::size_t>(id)]) {
      ids.push_back(id);
    }
    ASSERT_EQ(index.idsOf(bucket), ids) << bucket;
  }
}

// Every way in and out, the base class's among them, and after each step the same strings, the same
// ids, the same buckets and the same order in every chain.
class Pair {
 public:
  Pair(unsigned seed, bool ignore_case) : random_(seed), plain_(ignore_case), backdoor_(seed % 3) {
    if (ignore_case) {
      index_.setIgnoreCase();
    }
  }

  void Step() {
    const std::size_t lengths[] = {0, 1, 4, 9, 15, 30, 40};  // in front of a number and a letter
    std::string text(lengths[Below(7)], 'x');
    text += std::to_string(Below(30)) + "aAbB\xc1"[Below(5)];
    if (Below(30) == 0) {
      text.clear();
    }
    const auto i = static_cast<int>(Below(100));
    const auto at = static_cast<std::size_t>(i);
    const bool there = i < index_.nElem();
    const unsigned kind = Below(backdoor_ == 0 ? 12 : 10);
    if (kind < 5) {
      const auto [id, is_new] = plain_.add(text);
      ASSERT_EQ(index_.add(text.c_str()), id);
      ASSERT_EQ(index_.isAddNew(), is_new);
    } else if (kind < 7) {
      ASSERT_EQ(index_.del(text.c_str()), plain_.del(text));
    } else if (kind == 7) {
      ASSERT_EQ(index_(text.c_str()), plain_.find(text));
      ASSERT_EQ(index_(text.data(), text.data() + text.size()), plain_.find(text));
    } else if (kind == 8 && there && Below(4) == 0) {
      index_.rename(i, text.c_str());
      plain_.strings[at] = text;
      plain_.rebuild(0);
    } else if (kind == 9 && Below(20) == 0) {
      index_.rebuild(i);
      plain_.rebuild(i);
    } else if (kind == 9 && Below(20) == 0) {
      index_.empty();
      plain_.empty();
    } else if (kind == 10) {
      index_.BASE_TEXT::add(text.c_str());
      plain_.strings.push_back(text);
      plain_.chain.push_back(-1);
    } else if (kind == 11 && there) {
      index_.BASE_TEXT::set(i, text.c_str());
      plain_.strings[at] = text;
    }
    ExpectSame(index_, plain_);
  }

 private:
  unsigned Below(unsigned n) { return static_cast<unsigned>(random_() % n); }

  std::mt19937 random_;
  Index index_;
  PlainIndex plain_;
  unsigned backdoor_;  // 0: strings come in behind the index's back too
};

TEST(HashText, EveryStepIsThatOfThePlainIndex) {
  for (unsigned seed = 1; seed <= 24; ++seed) {
    SCOPED_TRACE(seed);
    Pair pair(seed, seed % 2 == 0);
    for (int step = 0; step < 700; ++step) {
      ASSERT_NO_FATAL_FAILURE(pair.Step()) << step;
    }
  }
}

TEST(HashText, HashFollowsItsFormula) {
  Index index;
  EXPECT_EQ(index("abc"), -1);
  EXPECT_EQ(index.del("abc"), -1);
  EXPECT_EQ(index.bucketCount() + static_cast<unsigned>(index.hash("abc")), 0u);
  index.rebuild(0);
  const char text[] = "xabcy";
  EXPECT_EQ(index.hash(""), 27);
  EXPECT_EQ(index.hash("abc"), 54);
  EXPECT_EQ(index.hash("ABC"), 25);
  EXPECT_EQ(index.hashExt(text + 1, text + 4), 54);
  index.rebuild(1000);
  EXPECT_EQ(index.bucketCount(), 2065u);
  EXPECT_EQ(CodeOf([&] { index.rebuild(0x7fffffff); }), 4);
  EXPECT_EQ(index.bucketCount(), 0u);
}

TEST(HashText, RangesMatchWholeStringsOnly) {
  Index index;
  index.add("abcd");
  const char text[] = "abcdef";
  EXPECT_EQ(index(text, text + 3), -1);
  index.add("abc");
  EXPECT_EQ(index(text, text + 3), 1);
  EXPECT_EQ(index(text, text + 4), 0);
  const char broken[] = "abc\0d";
  EXPECT_EQ(index(broken, broken + 4), -1);
  EXPECT_EQ(index(text, text), -1);
  index.add("");
  EXPECT_EQ(index(text, text), 2);
}

TEST(HashText, CaseIsThatOfTheCodePage) {
  KRD::HASH_TEXT_NOCASE names;
  EXPECT_EQ(names.add("Net \xe9"), 0);
  EXPECT_EQ(names.add("NET \xc9"), 0);
  EXPECT_FALSE(names.isAddNew());
  EXPECT_STREQ(names(0), "Net \xe9");
  const char text[] = "nEt \xc9!";
  EXPECT_EQ(names(text, text + 5), 0);
  names.setCase();
  EXPECT_EQ(names.nElem(), 0);
  names.add("Net");
  EXPECT_EQ(names("NET"), -1);

  Index index;
  EXPECT_FALSE(index.compare("a", "A"));
  EXPECT_TRUE(index.compareN("ab", "ac", 1));
  index.setIgnoreCase();
  EXPECT_TRUE(index.compare("a", "A"));
  EXPECT_TRUE(
      index.compareN("\xe9"
                     "b",
                     "\xc9"
                     "c",
                     1));
}

TEST(HashText, RemovalLowersTheIdsBehind) {
  Index index;
  for (char c = '0'; c <= '9'; ++c) {
    index.add(std::string(1, c).c_str());
  }
  EXPECT_EQ(index.del("3"), 3);
  EXPECT_EQ(index("7"), 6);
  EXPECT_EQ(index("3"), -1);
  index.BASE_TEXT::del(0);  // behind its back: the next lookup sees the strings that are there
  EXPECT_EQ(index("0"), -1);
  EXPECT_EQ(index("9"), 7);
  index.BASE_TEXT::empty();
  EXPECT_EQ(index("9"), -1);
  EXPECT_EQ(index.add("9"), 0);
}

TEST(HashText, SwapTakesEverything) {
  Index a;
  Index b;
  b.setIgnoreCase();
  b.add("Net");
  a.add("x");
  a.add("y");
  a.swap(b);
  EXPECT_EQ(a("NET"), 0);
  EXPECT_EQ(b("y"), 1);
  EXPECT_EQ(b("Y"), -1);
  EXPECT_EQ(a.add("nET"), 0);
}

// Strings that come and go in a table that does not grow.
TEST(HashText, ChurnLeavesNoTrace) {
  Index index;
  PlainIndex plain(false);
  for (int i = 0; i < 2000; ++i) {
    const std::string text = "string number " + std::to_string(i);
    ASSERT_EQ(index.add(text.c_str()), plain.add(text).first);
    if (i >= 60) {
      const std::string old = "string number " + std::to_string(i - 60 + i % 3);
      ASSERT_EQ(index.del(old.c_str()), plain.del(old));
    }
  }
  ExpectSame(index, plain);
}

TEST(HashText, StringsChangedBehindItsBackAreSeenByARebuild) {
  Index index;
  index.add("abc");
  index.add("d");
  index.setLater(0, "a longer one");
  index.rebuild(0);
  EXPECT_EQ(index("a longer one"), 0);
  index.setLater(0, "d");
  index.settle();
  EXPECT_EQ(index("d"), 1);
  index.addEmpty(3);
  index.rebuild(0);
  std::memcpy(const_cast<char*>(index(2u)), "d", 1);
  index.rebuild(0);
  EXPECT_EQ(index.del("d"), 0);  // its doubles were left out
  EXPECT_EQ(index("d"), -1);
  index.rebuild(0);
  EXPECT_EQ(index("d"), 0);
}

TEST(HashText, CopyAlwaysEnds) {
  Index index;
  index.add("abcdef");
  char out[8] = "#######";
  EXPECT_EQ(index.copy(out, 0, 0), out);
  EXPECT_STREQ(out, "#######");
  EXPECT_STREQ(index.copy(out, 0, 4), "abc");
  EXPECT_STREQ(index.copy(out, 0, 8), "abcdef");
  EXPECT_STREQ(index.copy(out, -1, 8), "");
}

TEST(HashText, FailedMemoryKeepsTheTable) {
  for (int granted = 0; granted < 12; ++granted) {
    Index index;
    for (int i = 0; i < 64; ++i) {
      index.add(std::to_string(i).c_str());
    }
    int code;
    {
      const krtest::FailingMemory failing(granted);
      code = CodeOf([&] {
        index.add(
            "and one that is longer than the room behind it in the pool, whatever that is now");
        index.add("1000");
        index.add("1001");
      });
    }
    EXPECT_TRUE(code == 0 || code == 2);
    for (int i = 0; i < 64; ++i) {
      ASSERT_EQ(index(std::to_string(i).c_str()), i);
    }
  }
}

}  // namespace
