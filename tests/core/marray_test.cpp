#include "krdcmmn/core/marray.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

#include "krdcmmn/core/exception.h"
#include "krdcmmn/core/tarray.h"
#include "krdcmmn/platform/memory.h"

namespace {

using KRD::MA_EXCEPTION;
using KRD::MARRAY;

// An array of any element size with all that its owners can do.
class Array : public MARRAY {
 public:
  explicit Array(int size = 1, int index = 4) {
    sizeElem = static_cast<short>(size);
    sizeIndex = static_cast<unsigned char>(index);
  }
  using MARRAY::addElem;
  using MARRAY::allocSeg;
  using MARRAY::data;
  using MARRAY::freeSeg;
  using MARRAY::nElem;
  using MARRAY::pageKept;
  using MARRAY::setMaxNElem;
  using MARRAY::sizeElem;
  using MARRAY::sizeIndex;

  std::string bytes() const { return data == nullptr ? std::string() : std::string(data, size()); }
  std::size_t size() const { return std::size_t{nElem} * static_cast<std::size_t>(sizeElem); }
};

// The code that `work` raises, with the three numbers; 0 for none.
struct Raised {
  int code = 0;
  int nElem = 0;
  int sizeElem = 0;
  int index = 0;
};
template <class Work>
Raised RaisedBy(Work work) {
  try {
    work();
  } catch (KRD::EXCEPTION* e) {
    const auto* m = static_cast<MA_EXCEPTION*>(e);
    const Raised raised{m->code, m->nElem, m->sizeElem, m->index};
    e->Delete();
    return raised;
  }
  return {};
}

// Counts what is asked of the host and refuses one kind of it.
class MemoryWatch {
 public:
  MemoryWatch() {
    SetMemoryHook([this](MemoryStep step, std::size_t size) {
      sizes_[static_cast<int>(step)].push_back(size);
      return step != refused_ || !refuses_;
    });
  }
  ~MemoryWatch() { SetMemoryHook({}); }
  void refuse(MemoryStep step) {
    refused_ = step;
    refuses_ = true;
  }
  void allow() { refuses_ = false; }
  std::vector<std::size_t> taken(MemoryStep step) {
    return std::exchange(sizes_[static_cast<int>(step)], {});
  }

 private:
  std::vector<std::size_t> sizes_[5];
  MemoryStep refused_ = MemoryStep::kReserve;
  bool refuses_ = false;
};

TEST(Marray, CapacitiesFollowTheRule) {
  const struct {
    int size;
    std::vector<unsigned> counts;
    int capacity;
  } rows[] = {
      {1, {1}, 16},
      {1, {17}, 17},
      {1, {1, 17}, 25},
      {1, {1, 17, 0}, 0},
      {1, {1, 17, 3}, 25},
      {2, {1}, 8},
      {3, {1}, 6},
      {4, {1}, 4},
      {64, {1}, 4},
      {64, {5}, 5},
      {64, {4, 5}, 7},
      {1, {0xffff, 0x10000}, 0x18000},           // leaves the heap: not rounded
      {1, {0xffff, 0x10000, 0x18001}, 0x30000},  // moves on: whole granules
      {3, {0x10000, 0x10001}, 0x50000 / 3},
      {16383, {1}, 4},
      {16384, {1}, 4},  // four of them are no longer on the heap
      {16384, {1, 5}, 8},
      {32767, {3}, 3},
      {32767, {1, 2, 5}, 8},
  };
  for (const auto& row : rows) {
    Array array(row.size);
    for (const unsigned n : row.counts) {
      array.setNElem(n);
    }
    EXPECT_EQ(array.maxNElem(), row.capacity) << row.size << " after " << row.counts.back();
  }
}

// Random work on an array and on a vector of bytes side by side. What the array does to memory is
// followed by the documented rule: when pages are committed and when they go.
class Model {
 public:
  Model(int size, unsigned seed) : array_(size), size_(size), random_(seed) {}

  void run(int steps) {
    for (int i = 0; i < steps && !testing::Test::HasFatalFailure(); ++i) {
      step();
    }
  }

 private:
  unsigned count() const { return static_cast<unsigned>(bytes_.size()) / unsigned(size_); }
  unsigned below(unsigned n) { return std::uniform_int_distribution<unsigned>(0, n - 1)(random_); }

  // Often near the sizes at which something changes.
  unsigned someCount() {
    const unsigned bytes[] = {below(200), below(0x3000), below(0x30000), below(300000)};
    const unsigned edges[] = {0xffff, 0x10000, 0x10001, 0x1000, 0x8000, 0x18000, 0x20000};
    const unsigned wanted = below(3) == 0 ? edges[below(7)] : bytes[below(4)];
    return std::min(wanted, 400000u) / unsigned(size_) + below(2);
  }

  void step() {
    const unsigned n = count();
    switch (below(9)) {
      case 0:
      case 1:
        return resize(someCount());
      case 2:
        return resize(n + below(n / 3 + 3));
      case 3:
        return resize(n - below(std::min(n, 9000u / unsigned(size_) + 1) + 1) * (n != 0));
      case 4:
        return insert(below(n + 1), below(3000u / unsigned(size_) + 2));
      case 5:
        if (n != 0) {
          const unsigned at = below(n);
          erase(at, below(n - at + 1));
        }
        return;
      case 6:
        for (int i = 0; i < 20; ++i) {
          const unsigned was = count();
          array_.addElem();
          grown(was, was + 1);
        }
        return;
      case 7: {
        Array other(size_);
        const bool put = below(2) == 0;
        put ? array_.put(other) : other.get(array_);
        kept_ = kept_ && put;  // get counts no spare page
        ASSERT_EQ(array_.data, nullptr);
        ASSERT_EQ(array_.maxNElem(), 0);
        below(2) == 0 ? array_.swap(other) : void(array_ = other);
        return check();
      }
      default:
        if (below(10) == 0) {
          const int capacity = array_.maxNElem();
          array_.empty();
          ASSERT_EQ(array_.maxNElem(), capacity);
          bytes_.clear();
          kept_ = false;
          check();
        }
    }
  }

  void resize(unsigned n) {
    const unsigned was = count();
    array_.setNElem(n);
    n > was ? grown(was, n) : shrunk(n);
  }

  void insert(unsigned at, unsigned n) {
    const unsigned was = count();
    array_.ins(at, n);
    if (n != 0) {
      followGrowth(was, was + n);
      const std::string gap = fill(at, n);
      bytes_.insert(std::size_t{at} * unsigned(size_), gap);
    }
    check();
  }

  void erase(unsigned at, unsigned n) {
    array_.del(at, n);
    const unsigned left = count() - n;
    bytes_.erase(std::size_t{at} * unsigned(size_), std::size_t{n} * unsigned(size_));
    followShrinking(left + n, left);
    check();
  }

  void grown(unsigned was, unsigned n) {
    followGrowth(was, n);
    bytes_ += fill(was, n - was);
    check();
  }

  void shrunk(unsigned n) {
    followShrinking(count(), n);
    bytes_.resize(std::size_t{n} * unsigned(size_));
    check();
  }

  // Writes random bytes into elements whose bytes are unspecified, and gives them.
  std::string fill(unsigned at, unsigned n) {
    std::string bytes(std::size_t{n} * unsigned(size_), '\0');
    for (std::size_t i = 0; i < bytes.size(); i += 61) {
      bytes[i] = static_cast<char>(below(256));
    }
    bytes.copy(array_.data + std::size_t{at} * unsigned(size_), bytes.size());
    return bytes;
  }

  bool reserved() const { return capacity_ * size_ >= 0x10000; }

  void followGrowth(unsigned was, unsigned n) {
    if (n > unsigned(capacity_)) {
      const int wanted = static_cast<int>(capacity_ == 0 ? n : n + n / 2);
      const int least = std::max({wanted, 4, (size_ + 15) / size_});
      if (reserved()) {
        capacity_ = (wanted * size_ + 0xffff) / 0x10000 * 0x10000 / size_;
        kept_ = false;
      } else {
        capacity_ = wanted * size_ >= 0x10000 ? wanted : least;
      }
    }
    kept_ = kept_ && was == n;
  }

  void followShrinking(unsigned was, unsigned n) {
    if (n == 0 && was != 0) {
      capacity_ = 0;
      kept_ = false;
    } else if (reserved() && was != n) {
      const auto pages = [&](unsigned count) { return (count * unsigned(size_) + 0xfff) / 0x1000; };
      const unsigned freed = pages(was) - pages(n);
      kept_ = freed == 0 ? kept_ : freed + kept_ < 2;
    }
  }

  void check() {
    ASSERT_EQ(array_.nElem, count());
    ASSERT_EQ(array_.maxNElem(), capacity_);
    ASSERT_EQ(array_.pageKept, kept_);
    ASSERT_EQ(array_.data == nullptr, capacity_ == 0);
    ASSERT_TRUE(std::equal(bytes_.begin(), bytes_.end(), array_.data));
  }

  Array array_;
  int size_;
  std::string bytes_;
  int capacity_ = 0;
  bool kept_ = false;
  std::mt19937 random_;
};

TEST(Marray, RandomWorkAgreesWithAVectorInBothRegimes) {
  unsigned seed = 0;
  for (const int size : {1, 2, 3, 4, 12, 64, 100, 5000, 16384, 32767}) {
    SCOPED_TRACE(testing::Message() << size << " bytes, seed " << ++seed);
    Model(size, seed).run(1500);
  }
}

TEST(Marray, SparePageStaysUntilTwoCanGo) {
  MemoryWatch watch;
  Array array;
  array.setNElem(0x20000);
  watch.taken(MemoryStep::kCommit);
  array.setNElem(0x1f000);
  EXPECT_TRUE(array.pageKept);
  EXPECT_TRUE(watch.taken(MemoryStep::kDecommit).empty());
  array.setNElem(0x1f001);  // takes the spare page back without asking the host
  EXPECT_FALSE(array.pageKept);
  EXPECT_TRUE(watch.taken(MemoryStep::kCommit).empty());
  array.setNElem(0x1f000);
  array.setNElem(0x1e000);
  EXPECT_FALSE(array.pageKept);
  EXPECT_EQ(watch.taken(MemoryStep::kDecommit), std::vector<std::size_t>{0x2000});
  array.setNElem(0x1e001);
  EXPECT_EQ(watch.taken(MemoryStep::kCommit), std::vector<std::size_t>{0x1000});
}

TEST(Marray, GrowthPastAReservationMovesPages) {
  MemoryWatch watch;
  KRD::TARRAY<int> array;
  for (int i = 0; i < 1000000; ++i) {
    array.add(i);
  }
  EXPECT_GT(watch.taken(MemoryStep::kMove).size(), 4u);
  EXPECT_EQ(watch.taken(MemoryStep::kRelease).size() + 1, watch.taken(MemoryStep::kReserve).size());
  int expected = 0;
  EXPECT_TRUE(std::all_of(array.begin(), array.end(), [&](int i) { return i == expected++; }));
}

TEST(Marray, CountsBeyondTheLimitsChangeNothing) {
  const struct {
    int size;
    int index;
    unsigned good;
    unsigned bad;
  } rows[] = {
      {64, 4, 15625000, 15625001},
      {1, 4, 1000000000, 1000000001},
      {4, 2, 32768, 32769},
      {1, 1, 128, 129},
      {32767, 4, 30518, 30519},
      {4, 4, 5, 0xffffffff},
      {0, 4, 0, 1},
      {-4, 4, 0, 1},
      {1, 0, 1000000000, 1000000001},
  };
  for (const auto& row : rows) {
    Array array(row.size, row.index);
    array.setNElem(row.good);
    const int capacity = array.maxNElem();
    const Raised raised = RaisedBy([&] { array.setNElem(row.bad); });
    EXPECT_EQ(raised.code, 4) << row.size << ' ' << row.bad;
    EXPECT_EQ(static_cast<unsigned>(raised.nElem), row.bad);
    EXPECT_EQ(raised.sizeElem, row.size);
    EXPECT_EQ(array.nElem, row.good);
    EXPECT_EQ(array.maxNElem(), capacity);
  }
  Array array(4, 2);
  array.setNElem(32768);
  EXPECT_EQ(RaisedBy([&] { array.addElem(); }).code, 4);
  EXPECT_EQ(RaisedBy([&] { array.ins(0, 0xffffffff); }).code, 4);
  EXPECT_EQ(array.nElem, 32768u);
}

TEST(Marray, RangesOutsideAreIndexErrors) {
  const struct {
    unsigned index;
    unsigned count;
    int insert_code;
    unsigned inserted;  // the count afterwards
    int delete_code;
    unsigned deleted;
  } rows[] = {
      {0, 0, 0, 10, 0, 10},  {10, 0, 0, 10, 0, 10},         {11, 0, 6, 10, 0, 10},
      {10, 5, 0, 15, 6, 10}, {11, 1, 6, 11, 6, 10},         {0, 11, 0, 21, 6, 10},
      {9, 1, 0, 11, 0, 9},   {0xffffffff, 2, 6, 12, 6, 10}, {1, 0xffffffff, 4, 10, 6, 10},
      {0, 10, 0, 20, 0, 0},
  };
  for (const auto& row : rows) {
    Array array(2);
    array.setNElem(10);
    EXPECT_EQ(RaisedBy([&] { array.ins(row.index, row.count); }).code, row.insert_code);
    EXPECT_EQ(array.nElem, row.inserted);
    Array other(2);
    other.setNElem(10);
    const Raised raised = RaisedBy([&] { other.del(row.index, row.count); });
    EXPECT_EQ(raised.code, row.delete_code);
    EXPECT_EQ(other.nElem, row.deleted);
    if (raised.code == 6) {
      EXPECT_EQ(raised.nElem, 10);
      EXPECT_EQ(static_cast<unsigned>(raised.index), row.index);
    }
    EXPECT_EQ(other.data == nullptr, row.deleted == 0);
  }
}

TEST(Marray, RefusedMemoryIsReported) {
  MemoryWatch watch;
  Array array;
  array.setNElem(0xffff);
  std::memset(array.data, 'a', 0xffff);
  const std::string before = array.bytes();

  watch.refuse(MemoryStep::kReserve);
  EXPECT_EQ(RaisedBy([&] { array.setNElem(0x10000); }).code, 3);
  EXPECT_EQ(array.bytes(), before);
  watch.refuse(MemoryStep::kCommit);
  EXPECT_EQ(RaisedBy([&] { array.setNElem(0x10000); }).code, 2);
  EXPECT_EQ(array.bytes(), before);
  EXPECT_EQ(array.maxNElem(), 0xffff);

  watch.allow();
  array.setNElem(0x10000);
  watch.refuse(MemoryStep::kCommit);
  EXPECT_EQ(RaisedBy([&] { array.setNElem(0x12000); }).code, 2);
  EXPECT_EQ(array.nElem, 0x10000u);
  watch.refuse(MemoryStep::kReserve);
  EXPECT_EQ(RaisedBy([&] { array.setNElem(0x20000); }).code, 3);
  EXPECT_EQ(array.bytes().substr(0, 0xffff), before);
  watch.refuse(MemoryStep::kDecommit);
  EXPECT_EQ(RaisedBy([&] { array.setNElem(0x8000); }).code, 2);
  EXPECT_EQ(array.nElem, 0x10000u);
  watch.refuse(MemoryStep::kMove);
  EXPECT_EQ(RaisedBy([&] { array.setNElem(0x40000); }).code, 2);
  EXPECT_EQ(array.nElem, 0u);  // no half of the pages is passed off as the array
  EXPECT_EQ(array.data, nullptr);
  EXPECT_EQ(RaisedBy([&] { array.setMaxNElem(0xffffffff); }).code, 3);
}

TEST(Marray, HandingOverMovesTheBlockAndLeavesTheGiverUsable) {
  Array giver(4, 2);
  giver.setNElem(20000);
  giver.setNElem(19000);
  std::memset(giver.data, 'g', giver.size());
  const char* const block = giver.data;
  Array target(8);
  target.setNElem(3);
  giver.put(target);
  EXPECT_EQ(target.data, block);
  EXPECT_EQ(target.sizeElem, 4);
  EXPECT_EQ(target.sizeIndex, 2);
  EXPECT_TRUE(target.pageKept);
  EXPECT_FALSE(giver.pageKept);
  EXPECT_EQ(giver.sizeElem, 4);
  giver.setNElem(2);

  Array receiver(4);
  receiver.get(target);
  EXPECT_EQ(receiver.data, block);
  EXPECT_EQ(receiver.sizeIndex, 4);
  receiver.get(receiver);
  receiver.put(receiver);
  receiver.swap(receiver);
  EXPECT_EQ(receiver.nElem, 19000u);
  EXPECT_EQ(receiver.bytes(), std::string(76000, 'g'));
}

TEST(Marray, FreedSegmentComesBackWithItsCount) {
  Array array(4);
  array.setNElem(100);
  array.freeSeg();
  EXPECT_EQ(array.nElem, 100u);
  EXPECT_EQ(array.maxNElem(), 0);
  EXPECT_EQ(array.data, nullptr);
  array.allocSeg();
  EXPECT_EQ(array.nElem, 100u);
  EXPECT_EQ(array.maxNElem(), 100);
  std::memset(array.data, 1, array.size());
}

// Only owners lower a capacity. The regime can still be told from the two size fields.
TEST(Marray, LoweredCapacityStaysReserved) {
  Array array(3);
  array.setNElem(30000);
  array.setNElem(10);
  std::memset(array.data, 'z', 30);
  EXPECT_GE(array.setMaxNElem(11) * 3, 0x10000);
  EXPECT_EQ(array.bytes(), std::string(30, 'z'));
  Array small(3);
  small.setNElem(1000);
  small.setNElem(10);
  EXPECT_EQ(small.setMaxNElem(11), 11);
  EXPECT_EQ(small.setMaxNElem(10), 11);
}

}  // namespace
