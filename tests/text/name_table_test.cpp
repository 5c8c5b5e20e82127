#include "krdcmmn/text/name_table.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "gtest/gtest.h"

namespace {

class Table : public KRD::_NAME_TABLE {
 public:
  using KRD::_NAME_TABLE::_NAME_TABLE;
  unsigned bucketCount() const { return buckets.count(); }
  // The ids of one chain.
  std::vector<int> chainOf(short bucket) const {
    std::vector<int> ids;
    for (short id = buckets[static_cast<unsigned>(bucket)]; id >= 0;
         id = chain[static_cast<unsigned>(id)]) {
      ids.push_back(id);
    }
    return ids;
  }
};

std::vector<std::string> doubles;

void NoteDouble(const char* name, int id) {
  doubles.push_back(name + std::to_string(id));
}

std::string Name(KRD::_NAME_TABLE& table, short id) {
  char name[256];
  return table.copy(name, id);
}

// Cells alone: a name is found by looking at all of them.
struct Model {
  std::vector<std::string> cells;  // empty: free
  std::vector<std::size_t> free;   // in the order of their freeing

  short find(const std::string& name) const {
    const auto at = std::find(cells.begin(), cells.end(), name);
    return name.empty() || at == cells.end() ? short{-1} : static_cast<short>(at - cells.begin());
  }
  // What building the hash does: the free list falls by id, and doubles go.
  void rebuild() {
    free.clear();
    for (std::size_t i = 0; i < cells.size(); ++i) {
      if (find(cells[i]) != static_cast<short>(i)) {
        cells[i].clear();
        free.push_back(i);
      }
    }
  }
  short add(const std::string& name) {
    if (find(name) >= 0 || name.size() > 7) {
      return find(name);
    }
    if (free.empty()) {
      free.push_back(cells.size());
      cells.emplace_back();
    }
    cells[free.back()] = name;
    free.pop_back();
    return find(name);
  }
  short del(const std::string& name) {
    const short id = find(name);
    if (id >= 0) {
      free.push_back(static_cast<std::size_t>(id));
      cells[free.back()].clear();
    }
    return id;
  }
};

TEST(NameTable, RandomNamesFollowTheModel) {
  for (unsigned seed = 1; seed <= 12; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    Table table(8);
    Model model;
    for (std::size_t k = random() % 400; k != 0; --k) {
      const std::string name = std::to_string(random() % 500) + "-long enough to be cut";
      table << name.c_str();
      model.cells.push_back(name.substr(0, 7));
      ASSERT_EQ(table.nBusy(), table.nCell());
    }
    for (int step = 0; step < 3000; ++step) {
      const std::string name =
          std::to_string(random() % (step < 1500 ? 2000 : 60)) + std::string(random() % 5, 'x');
      const auto kind = random() % 3;
      const auto names = static_cast<unsigned>(table.nBusy());
      if (kind == 0 ? name.size() < 8 && table.bucketCount() <= names / 4
                    : table.bucketCount() == 0 && names != 0) {
        model.rebuild();
      }
      if (kind == 0) {
        ASSERT_EQ(table.add(name.c_str()), model.add(name)) << name;
      } else {
        ASSERT_EQ(kind == 1 ? table.del(name.c_str()) : table(name.c_str()),
                  kind == 1 ? model.del(name) : model.find(name));
      }
      if (table.bucketCount() != 0) {
        ASSERT_EQ(table.nBusy() + static_cast<int>(model.free.size()), table.nCell());
      }
      ASSERT_EQ(static_cast<std::size_t>(table.nCell()), model.cells.size());
    }
    for (std::size_t i = 0; i < model.cells.size(); ++i) {
      ASSERT_EQ(Name(table, static_cast<short>(i)), model.cells[i]);
    }
  }
}

TEST(NameTable, HashFollowsItsFormula) {
  Table table(8);
  EXPECT_EQ(table.hash("a"), 0);
  table.rebuild(0);
  EXPECT_EQ(table.hash(""), 0);
  EXPECT_EQ(table.hash("a"), 2);
  EXPECT_EQ(table.hash("ab"), 55);
  EXPECT_EQ(table.hash("abc"), 34);
  EXPECT_EQ(table.hash("\xc0"), 57);
}

TEST(NameTable, BucketsFollowTheNames) {
  Table table(8);
  for (int i = 0; i < 260; ++i) {
    table.add(std::to_string(i).c_str());
    ASSERT_EQ(table.bucketCount(), 65u);
  }
  table.add("260");
  EXPECT_EQ(table.bucketCount(), 195u);
  table.rebuild(1001);
  EXPECT_EQ(table.bucketCount(), 565u);
  for (short bucket = 0; bucket < 565; ++bucket) {
    const std::vector<int> ids = table.chainOf(bucket);
    EXPECT_TRUE(std::is_sorted(ids.begin(), ids.end()));
  }
}

TEST(NameTable, DoublesAreToldWithTheCellThatGoesOrStays) {
  doubles.clear();
  Table table(32);
  table.onDuplicate = NoteDouble;
  table << "a"
        << "b"
        << "a";
  EXPECT_EQ(table.nBusy(), 3);
  EXPECT_EQ(table("b"), 1);
  EXPECT_EQ(table.nBusy(), 2);
  EXPECT_EQ(table.add("b"), 1);
  EXPECT_EQ(doubles, (std::vector<std::string>{"a2", "b1"}));
  EXPECT_EQ(table.add("c"), 2);
  table.empty();
  EXPECT_EQ(table.onDuplicate, nullptr);
  EXPECT_EQ(table.nCell() + table("a") + table.del("a"), -2);
}

TEST(NameTable, WidthDecidesWhatFits) {
  Table table(32);
  EXPECT_EQ(table.add(std::string(32, 'x').c_str()), -1);
  EXPECT_EQ(table.nCell(), 0);
  EXPECT_EQ(table.add(std::string(31, 'x').c_str()), 0);
  EXPECT_EQ(Name(table, 0), std::string(31, 'x'));
  EXPECT_EQ(KRD::MA_STRING(300).sizeElem(), 44);
  Table nothing(256);
  EXPECT_EQ(nothing.add(""), -1);
  nothing << "a";
  EXPECT_EQ(nothing.nCell() + nothing.len(0) + nothing.len(-1), 0);
}

TEST(NameTable, NamesMayLieInCells) {
  Table table(8);
  table << "abcdefg"
        << "b";
  for (int i = 0; i < 100; ++i) {
    table << table[0];
  }
  EXPECT_EQ(Name(table, 101), "abcdefg");
  EXPECT_EQ(table.add(table[1] + 0), 1);
  EXPECT_EQ(table.add(table[0] + 3), 101);  // the cell that was freed last
  EXPECT_EQ(Name(table, 101), "defg");
}

TEST(NameTable, HoldsNoMoreNamesThanItsCountCanTell) {
  Table table(6);
  for (int i = 0; i < 32767; ++i) {
    table << std::to_string(i).c_str();
  }
  table << "x";
  EXPECT_EQ(table.nBusy(), 32767);
  EXPECT_EQ(table.add("x"), -1);
  EXPECT_EQ(table.add("32766"), 32766);
  EXPECT_EQ(table.del("7"), 7);
  EXPECT_EQ(table.add("x"), 7);
  EXPECT_EQ(table.nCell(), 32767);
}

TEST(MaString, SetLeavesTheLastByteAlone) {
  KRD::MA_STRING cells(4);
  EXPECT_EQ(cells.last(), nullptr);
  cells.setNElem(2);
  std::memcpy(cells[0], "#######!", 8);
  cells.set(0, "a");
  cells.set(1, "abcdef");
  cells.set(2, "x");
  cells.set(-1, "x");
  EXPECT_EQ(std::memcmp(cells(0), "a\0\0#abc!", 8), 0);
  cells.set(1, nullptr);
  EXPECT_EQ(std::memcmp(cells.last(), "\0\0\0\0", 4), 0);
}

}  // namespace
