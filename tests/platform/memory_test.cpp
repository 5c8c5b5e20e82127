#include "krdcmmn/platform/memory.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <sys/mman.h>
#include <sys/resource.h>
#include <thread>
#include <vector>

#include "krdcmmn/platform/errors.h"

namespace {

constexpr std::size_t kPage = 0x1000;
constexpr std::size_t kUnit = 0x10000;
constexpr std::size_t kMega = 0x100000;

char* Reserve(std::size_t size) {
  return static_cast<char*>(VirtualAlloc(nullptr, size, MEM_RESERVE, PAGE_READWRITE));
}

bool Commit(char* at, std::size_t size) {
  return VirtualAlloc(at, size, MEM_COMMIT, PAGE_READWRITE) == at;
}

bool Decommit(char* at, std::size_t size) {
  return VirtualFree(at, size, MEM_DECOMMIT) != FALSE;
}

bool Release(char* at) {
  return VirtualFree(at, 0, MEM_RELEASE) != FALSE;
}

std::size_t ResidentBytes(char* at, std::size_t size) {
  std::vector<unsigned char> pages(size / kPage);
  EXPECT_EQ(mincore(at, size, pages.data()), 0);
  return kPage * static_cast<std::size_t>(std::count_if(pages.begin(), pages.end(),
                                                        [](int page) { return (page & 1) != 0; }));
}

std::size_t PeakBytes() {
  rusage usage = {};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<std::size_t>(usage.ru_maxrss) * 1024;
}

TEST(Memory, PageByPageGrowthHoldsTheDataPlusOneStep) {
  constexpr std::size_t kSize = 40 * kMega;
  char* const range = Reserve(64 * kMega);
  ASSERT_NE(range, nullptr);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(range) % kUnit, 0u);
  EXPECT_EQ(ResidentBytes(range, 64 * kMega), 0u);
  for (std::size_t at = 0; at < kSize; at += kPage) {
    ASSERT_TRUE(Commit(range + at, kPage));
    ASSERT_EQ(range[at], 0);
    std::memset(range + at, 7, kPage);
    if (at == 20 * kMega) {
      EXPECT_LE(ResidentBytes(range, 64 * kMega), at + kPage + kUnit);
    }
  }
  EXPECT_LE(ResidentBytes(range, 64 * kMega), kSize + kUnit);
  EXPECT_TRUE(Commit(range, kSize));
  EXPECT_EQ(std::count(range, range + kSize, 7), static_cast<std::ptrdiff_t>(kSize));
  EXPECT_TRUE(Release(range));
}

TEST(Memory, DecommitGivesMemoryBackAndTheRangeStays) {
  constexpr std::size_t kSize = 64 * kMega;
  char* const range = Reserve(kSize);
  ASSERT_TRUE(Commit(range, kSize));
  EXPECT_EQ(ResidentBytes(range, kSize), 0u) << "memory before the first touch";
  std::memset(range, 1, kSize);
  ASSERT_TRUE(Decommit(range + 16 * kMega, 8 * kMega));
  EXPECT_EQ(ResidentBytes(range + 16 * kMega, 8 * kMega), 0u);
  ASSERT_TRUE(Decommit(range + 30 * kMega, 34 * kMega));
  EXPECT_EQ(ResidentBytes(range, kSize), 22 * kMega);
  ASSERT_TRUE(Commit(range + 16 * kMega, 2 * kPage));
  EXPECT_EQ(range[16 * kMega], 0);
  EXPECT_EQ(range[16 * kMega - 1], 1);
  ASSERT_TRUE(Decommit(range, 0));
  EXPECT_EQ(ResidentBytes(range, kSize), 0u);
  ASSERT_TRUE(Commit(range, kPage));
  EXPECT_EQ(range[0], 0);
  EXPECT_TRUE(Release(range));
}

TEST(MemoryDeathTest, WhatWasNotCommittedOrWasGivenBackFaults) {
  char* const range = Reserve(4 * kMega);
  ASSERT_TRUE(Commit(range, kPage));
  EXPECT_DEATH(range[2 * kMega] = 1, "");
  ASSERT_TRUE(Commit(range, 3 * kMega));
  range[2 * kMega] = 1;
  ASSERT_TRUE(Decommit(range + kPage, 3 * kMega - kPage));
  EXPECT_DEATH(range[2 * kMega] = 1, "");
  EXPECT_TRUE(Release(range));
}

TEST(Memory, MoveKeepsTheBytesAndNeverHoldsThemTwice) {
  constexpr std::size_t kSize = 256 * kMega;
  char* first = Reserve(kSize);
  ASSERT_TRUE(Commit(first, kSize));
  for (std::size_t at = 0; at < kSize; at += kPage) {
    std::memcpy(first + at, &at, sizeof at);
  }
  const std::size_t before = PeakBytes();
  for (int round = 0; round < 3; ++round) {
    char* const second = Reserve(kSize + kMega);
    ASSERT_TRUE(VirtualMove(second, first, kSize - static_cast<std::size_t>(round) * kPage));
    ASSERT_TRUE(Commit(second, kSize + kMega));
    EXPECT_LE(ResidentBytes(first, kSize), 2 * kPage);
    EXPECT_TRUE(Commit(first, kPage));
    EXPECT_EQ(first[0], 0);
    EXPECT_TRUE(Release(first));
    first = second;
  }
  EXPECT_LT(PeakBytes(), before + 16 * kMega);
  for (std::size_t at = 0; at < kSize - 3 * kPage; at += kPage) {
    ASSERT_EQ(std::memcmp(first + at, &at, sizeof at), 0) << at;
  }
  EXPECT_TRUE(Release(first));
}

// Random calls on two ranges and on a model: what is committed reads as it was written, or as zero.
class MemoryModel {
 public:
  explicit MemoryModel(unsigned seed) : random_(seed) {
    for (auto& side : sides_) {
      side.range = Reserve(kSize);
      side.bytes.resize(kPages);
    }
  }
  ~MemoryModel() {
    for (auto& side : sides_) {
      EXPECT_TRUE(Release(side.range));
    }
  }
  MemoryModel(const MemoryModel&) = delete;
  MemoryModel& operator=(const MemoryModel&) = delete;

  void Step() {
    Side& side = sides_[Below(2)];
    const std::size_t from = Below(kPages);
    const std::size_t to = from + 1 + Below(std::min<std::size_t>(kPages - from, 24));
    switch (Below(8)) {
      case 0:
        Decommitted(side, from, to);
        ASSERT_TRUE(Decommit(side.range + from * kPage, (to - from) * kPage));
        break;
      case 1:
        MoveToStart(side, &side == &sides_[0] ? sides_[1] : sides_[0], from, to);
        break;
      default:
        ASSERT_TRUE(Commit(side.range + from * kPage, (to - from) * kPage));
        for (std::size_t page = from; page < to; ++page) {
          side.bytes[page] = std::max(side.bytes[page], 0);
        }
        Write(side, from + Below(to - from));
        break;
    }
    Check();
  }

 private:
  static constexpr std::size_t kSize = 8 * kUnit;
  static constexpr std::size_t kPages = kSize / kPage;

  struct Side {
    char* range = nullptr;
    std::vector<int> bytes = std::vector<int>(kPages, kNone);  // what fills each page
  };
  static constexpr int kNone = -1;

  std::size_t Below(std::size_t bound) { return random_() % bound; }

  void Write(Side& side, std::size_t page) {
    side.bytes[page] = static_cast<int>(1 + Below(100));
    std::memset(side.range + page * kPage, side.bytes[page], kPage);
  }

  static void Decommitted(Side& side, std::size_t from, std::size_t to) {
    std::fill(side.bytes.begin() + static_cast<std::ptrdiff_t>(from),
              side.bytes.begin() + static_cast<std::ptrdiff_t>(to), kNone);
  }

  void MoveToStart(Side& source, Side& target, std::size_t from, std::size_t to) {
    ASSERT_TRUE(Commit(source.range + from * kPage, (to - from) * kPage));
    ASSERT_TRUE(VirtualMove(target.range, source.range + from * kPage, (to - from) * kPage));
    for (std::size_t page = from; page < to; ++page) {
      target.bytes[page - from] = std::max(source.bytes[page], 0);
    }
    Decommitted(source, from, to);
  }

  void Check() const {
    for (const Side& side : sides_) {
      for (std::size_t page = 0; page < kPages; ++page) {
        const char* const start = side.range + page * kPage;
        if (side.bytes[page] != kNone) {
          ASSERT_EQ(std::count(start, start + kPage, side.bytes[page]), std::ptrdiff_t{kPage})
              << "page " << page;
        }
      }
    }
  }

  std::mt19937 random_;
  Side sides_[2];
};

class MemoryModelTest : public testing::TestWithParam<std::size_t> {
 protected:
  ~MemoryModelTest() override { SetHostPageSize(0); }
};

TEST_P(MemoryModelTest, RandomCallsAgreeWithTheModel) {
  for (unsigned seed = 1; seed <= 4; ++seed) {
    SCOPED_TRACE(seed);
    SetHostPageSize(GetParam());
    MemoryModel model(seed);
    for (int step = 0; step < 250 && !HasFatalFailure(); ++step) {
      model.Step();
    }
  }
}

INSTANTIATE_TEST_SUITE_P(HostPages, MemoryModelTest,
                         testing::Values(std::size_t{0}, std::size_t{0x4000}, std::size_t{0x10000},
                                         std::size_t{0x20000}));

TEST(Memory, RangesOfUnequalHostPagesAreMovedByCopy) {
  char* const small = Reserve(kMega);
  ASSERT_TRUE(Commit(small, kMega));
  std::memset(small, 5, kMega);
  SetHostPageSize(0x4000);
  char* const large = Reserve(2 * kMega);
  SetHostPageSize(0);
  ASSERT_TRUE(VirtualMove(large, small, kMega));
  EXPECT_EQ(std::count(large, large + kMega, 5), std::ptrdiff_t{kMega});
  EXPECT_EQ(ResidentBytes(small, kMega), 0u);
  EXPECT_TRUE(Release(small));
  EXPECT_TRUE(Release(large));
}

TEST(Memory, WhatNamesNoRangeIsRefused) {
  char local[16] = {};
  char* const range = Reserve(kUnit);
  ASSERT_TRUE(Commit(range, kPage));
  EXPECT_EQ(Reserve(0), nullptr);
  EXPECT_EQ(Reserve(~std::size_t{0}), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_NOT_ENOUGH_MEMORY);
  EXPECT_FALSE(Commit(local, 1));
  EXPECT_FALSE(Commit(range, kUnit + 1));
  EXPECT_FALSE(Commit(range + kPage, ~std::size_t{0}));
  EXPECT_FALSE(Decommit(local, 1));
  EXPECT_FALSE(Decommit(range + kPage, 0));
  EXPECT_FALSE(Release(range + kPage));
  EXPECT_FALSE(VirtualMove(range, range, kPage));
  EXPECT_FALSE(VirtualMove(local, range, kPage));
  EXPECT_TRUE(Release(range));
  EXPECT_FALSE(Release(range));
}

TEST(Memory, TheHookSeesEachCallAndItsRefusalChangesNothing) {
  char* const range = Reserve(kMega);
  ASSERT_TRUE(Commit(range, kPage));
  range[0] = 9;
  std::vector<std::pair<MemoryStep, std::size_t>> seen;
  SetMemoryHook([&](MemoryStep step, std::size_t size) {
    seen.emplace_back(step, size);
    return false;
  });
  SetLastError(0);
  EXPECT_EQ(Reserve(kUnit), nullptr);
  EXPECT_FALSE(Commit(range + kPage, 2 * kPage));
  EXPECT_FALSE(Decommit(range, kPage));
  EXPECT_FALSE(VirtualMove(range, range + kPage, 3 * kPage));
  EXPECT_FALSE(Release(range));
  EXPECT_EQ(GetLastError(), ERROR_NOT_ENOUGH_MEMORY);
  SetMemoryHook({});
  const decltype(seen) expected = {{MemoryStep::kReserve, kUnit},
                                   {MemoryStep::kCommit, 2 * kPage},
                                   {MemoryStep::kDecommit, kPage},
                                   {MemoryStep::kMove, 3 * kPage},
                                   {MemoryStep::kRelease, 0}};
  EXPECT_EQ(seen, expected);
  EXPECT_EQ(range[0], 9);
  EXPECT_TRUE(Release(range));
}

TEST(Memory, ThreadsWorkOnRangesOfTheirOwn) {
  const auto work = [](int mark) {
    for (int round = 0; round < 200; ++round) {
      char* const range = Reserve(kUnit);
      char* const next = Reserve(2 * kUnit);
      EXPECT_TRUE(Commit(range, kUnit));
      std::memset(range, mark, kUnit);
      EXPECT_TRUE(VirtualMove(next, range, kUnit));
      EXPECT_EQ(std::count(next, next + kUnit, mark), std::ptrdiff_t{kUnit});
      EXPECT_TRUE(Release(range));
      EXPECT_TRUE(Release(next));
    }
  };
  std::vector<std::thread> threads;
  for (int mark = 1; mark <= 4; ++mark) {
    threads.emplace_back(work, mark);
  }
  for (auto& thread : threads) {
    thread.join();
  }
}

}  // namespace
