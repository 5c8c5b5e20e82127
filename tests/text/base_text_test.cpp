#include <algorithm>
#include <cstring>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "krdcmmn/text/hash_text.h"

#include "gtest/gtest.h"
#include "tests/text/memory.h"
#include "tests/text/probe.h"

namespace {

using krtest::CodeOf;

class List : public KRD::BASE_TEXT {
 public:
  // The strings cover the pool without gaps, in index order.
  std::string poolBytes() const { return std::string(pool.begin(), pool.end()); }
  std::vector<std::int32_t> offsetList() const { return {offsets.begin(), offsets.end()}; }
  std::vector<int> capacities() const { return {offsets.maxNElem(), pool.maxNElem()}; }
};

using Model = std::vector<std::string>;  // each without its terminator

void ExpectSame(const KRD::BASE_TEXT& list, const Model& model) {
  ASSERT_EQ(list.nElem(), static_cast<int>(model.size()));
  for (unsigned i = 0; i < model.size(); ++i) {
    ASSERT_EQ(list.len(i), model[i].size() + 1) << i;
    ASSERT_EQ(std::memcmp(list(i), model[i].c_str(), model[i].size() + 1), 0) << i;
  }
}

void ExpectPool(const List& list, const Model& model) {
  std::string pool;
  std::vector<std::int32_t> offsets = {0};
  for (const std::string& s : model) {
    pool += s + '\0';
    offsets.push_back(static_cast<std::int32_t>(pool.size()));
  }
  ASSERT_EQ(list.poolBytes(), pool);
  ASSERT_EQ(list.offsetList(), offsets);
}

void EditBoth(std::mt19937& random, List& list, Model& model, bool later) {
  const std::string text(random() % (random() % 20 == 0 ? 9000 : 12),
                         static_cast<char>('a' + random() % 26));
  const std::size_t i = random() % (model.size() + 1);  // may be just beyond the list
  const auto index = static_cast<int>(i);
  const bool there = i < model.size();
  const auto kind = random() % 10;
  if (kind < 3) {
    ASSERT_EQ(list.add(text.c_str()), static_cast<int>(model.size()));
    model.push_back(text);
  } else if (kind == 3) {
    list.add(text.data(), text.data() + text.size() / 2);
    model.push_back(text.substr(0, text.size() / 2));
  } else if (kind == 4) {
    list.addEmpty(static_cast<int>(text.size()));
    model.push_back(std::string(text.size(), '\0'));
  } else if (kind == 5) {
    const std::size_t count = random() % 4;  // may reach beyond the end
    list.del(static_cast<unsigned>(i), static_cast<unsigned>(count));
    const std::size_t end = std::min(i + count, model.size());
    model.erase(model.begin() + index, model.begin() + static_cast<std::ptrdiff_t>(end));
  } else if (kind == 6) {
    list.add(list(static_cast<unsigned>(i)));  // from its own pool
    model.push_back(there ? model[i].c_str() : "");
  } else {
    later&& random() % 4 != 0 ? list.setLater(index, text.c_str()) : list.set(index, text.c_str());
    if (there) {
      model[i] = text;
    }
  }
}

TEST(BaseText, RandomEditsFollowTheModel) {
  for (unsigned seed = 1; seed <= 30; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const bool later = seed % 2 == 0;
    List list;
    Model model;
    for (int step = 0; step < 600; ++step) {
      ASSERT_NO_FATAL_FAILURE(EditBoth(random, list, model, later));
      ASSERT_NO_FATAL_FAILURE(ExpectSame(list, model));
      if (!later) {
        ASSERT_NO_FATAL_FAILURE(ExpectPool(list, model));
      }
    }
    List copy;
    copy.add("goes");
    copy.copy_from(list);
    ExpectSame(copy, model);
    list.settle();
    ExpectPool(list, model);
    copy.empty();
    EXPECT_EQ(copy.add("a"), 0);
    ExpectPool(copy, {"a"});
  }
}

// An array that has memory grows by the rule of arrays and does not shrink.
TEST(BaseText, CopiesGoIntoTheMemoryThatIsThere) {
  List source;
  for (int i = 0; i < 6; ++i) {
    source.add("nine byte");
  }
  List target;
  target.copy_from(source);
  EXPECT_EQ(target.capacities(), (std::vector<int>{10, 60}));  // 7 + 3 entries, 60 bytes at once
  List few;
  few.add("few");
  const char* const pool = target(0);
  target.copy_from(few);
  EXPECT_EQ(target.capacities(), (std::vector<int>{10, 60}));
  EXPECT_EQ(target(0), pool);
  ExpectPool(target, {"few"});
  few.copy_from(source);
  EXPECT_EQ(few.capacities(), (std::vector<int>{10, 90}));
  target.copy_from(List());
  EXPECT_EQ(target.capacities(), (std::vector<int>{10, 0}));
  ExpectPool(target, {});
}

TEST(BaseText, RangeEndsAtItsFirstZero) {
  List list;
  ExpectPool(list, {});
  const char bytes[] = "ab\0cd";
  list.add(bytes, bytes + 5);
  list.add(bytes, bytes);
  list.add(nullptr);
  list.addEmpty(-5);
  ExpectPool(list, {std::string("ab\0\0\0", 5), "", "", ""});
}

TEST(BaseText, IndicesBeyondTheListAreHarmless) {
  List list;
  list.add("abc");
  for (const int i : {-1, 1, 0x7fffffff, -0x7fffffff - 1}) {
    list.set(i, "x");
    list.setLater(i, "x");
    list.del(static_cast<unsigned>(i));
    EXPECT_STREQ(list(static_cast<unsigned>(i)), "");
    EXPECT_EQ(list.len(static_cast<unsigned>(i)), 0u);
  }
  list.del(0, 0);
  ExpectPool(list, {"abc"});
}

TEST(BaseText, OwnTextServesEveryEdit) {
  List list;
  list.add("abcdefgh");
  list.add("tail");
  list.set(0, list(0) + 3);
  ExpectPool(list, {"defgh", "tail"});
  list.setLater(0, "a string that waits beside the pool");
  list.setLater(0, list(0) + 2);
  list.set(1, list(0));
  list.add(list(0) + 7, list(0) + 13);
  ExpectSame(list,
             {"string that waits beside the pool", "string that waits beside the pool", "that w"});
}

TEST(BaseText, FailedMemoryKeepsTheStrings) {
  using Edit = void (*)(List&);
  const Edit edits[] = {
      [](List& list) { list.add("a text that has no room"); },
      [](List& list) { list.addEmpty(100); },
      [](List& list) { list.addEmpty(1000000000); },
      [](List& list) { list.set(0, "a text that has no room"); },
      [](List& list) { list.setLater(0, "a text that has no room"); },
      [](List& list) {
        List other;
        for (int i = 0; i < 20; ++i) {
          other.add("other");
        }
        list.copy_from(other);
      },
  };
  for (std::size_t k = 0; k < std::size(edits); ++k) {
    SCOPED_TRACE(k);
    // Fails at the first block, the second, ... until the edit has all that it needs.
    for (int granted = 0; granted < 20; ++granted) {
      List list;
      list.add("abc");
      list.add("d");
      int code;
      {
        const krtest::FailingMemory failing(granted);
        code = CodeOf([&] { edits[k](list); });
      }
      if (code == 0) {
        break;
      }
      EXPECT_EQ(code, k == 2 ? 4 : 2);
      ExpectSame(list, {"abc", "d"});
    }
  }
}

// A parent in front of all its children, whose text every child replaces as it closes: a list that
// moved the pool for each of them would not come to an end here.
TEST(BaseText, LaterReplacementsCostTheirOwnLength) {
  List list;
  list.add("");
  const std::string text(200, 't');
  for (int i = 1; i <= 200000; ++i) {
    list.add("");
    list.setLater(0, "\n    ");
    list.setLater(i, text.c_str());
    list.setLater(0, i % 1000 == 0 ? text.c_str() : "");
    list.setLater(i / 2, text.c_str());
  }
  EXPECT_EQ(list.len(0), 201u);
  EXPECT_EQ(list.len(100000), 201u);
  list.settle();
  EXPECT_EQ(list.poolBytes().size(), 200001u * 201u);
  for (std::size_t size = 1; size < 2000000; size *= 2) {
    list.setLater(1, std::string(size, 'g').c_str());  // and what grows does not pile up
  }
  EXPECT_EQ(list.len(1), 1048577u);
}

}  // namespace
