// A host that fails at any one step of a commit: the caller is told, nothing that was not saved is
// lost, and the next commit brings the file to where it should be.
#include <map>

#include "krdcmmn/platform/files.h"
#include "krdcmmn/platform/memory.h"
#include "krdcmmn/vfs/container_check.h"

#include "tests/vfs/storage_fixture.h"

namespace {

using krtest::Fill;
using krtest::Ints;
using krtest::Load;
using krtest::Raised;
using krtest::Save;
using krtest::TestStorage;

constexpr DWORD kDiskFull = 28;

struct HookGuard {
  ~HookGuard() {
    SetFileHook(nullptr);
    SetMemoryHook(nullptr);
  }
};

class FailingHost : public krtest::StorageTest {
 protected:
  using Texts = std::map<std::string, std::string>;

  // Six committed files; then the first one is removed, one is replaced and one is added, so that
  // all have to move.
  void prepare(TestStorage& storage) {
    std::remove(path().c_str());
    start(storage);
    for (int i = 0; i < 6; ++i) {
      Save(storage.root(), ("f" + std::to_string(i)).c_str(),
           std::string(30 + 9 * static_cast<std::size_t>(i), 'a'));
    }
    ASSERT_TRUE(storage.Commit());
    before_ = bytes();
    storage.root().vfremove("f0");
    storage.root().vfremove("f3");
    Save(storage.root(), "f3", "replaced");
    Save(storage.root(), "new", "added");
    expected_ = {{"f1", std::string(39, 'a')}, {"f2", std::string(48, 'a')}, {"f3", "replaced"},
                 {"f4", std::string(66, 'a')}, {"f5", std::string(75, 'a')}, {"new", "added"}};
  }

  void expectSaved(TestStorage& storage) {
    ASSERT_TRUE(storage.Commit());
    storage.Finish();
    EXPECT_TRUE(KRD::CheckContainer(path().c_str()).empty());
    start(storage);
    EXPECT_EQ(storage.table().count(), expected_.size());
    for (const auto& [name, text] : expected_) {
      EXPECT_EQ(Load(storage.root(), name.c_str()), text);
    }
  }

  HookGuard guard_;
  std::string before_;
  Texts expected_;
};

TEST_F(FailingHost, EveryStepOfACommitCanFail) {
  struct Row {
    const char* what;
    FileVerdict verdict;
  };
  for (const Row& row : {Row{"error", {kDiskFull, 0xffffffff}}, Row{"short", {0, 1}}}) {
    bool failed = true;
    for (int step = 0; failed; ++step) {
      SCOPED_TRACE(row.what + std::to_string(step));
      TestStorage storage("owner");
      prepare(storage);
      int left = step;
      bool wrote = false;
      failed = false;
      SetFileHook([&](FileStep kind, std::uint64_t, DWORD) {
        const bool now = left-- == 0;
        failed |= now;
        wrote |= kind == FileStep::kWrite;
        return now ? row.verdict : FileVerdict();
      });
      std::string raised = Raised([&] { storage.Commit(); });
      SetFileHook(nullptr);
      if (raised != "nothing") {
        if (!wrote) {
          EXPECT_EQ(bytes(), before_);
        }
        for (const char* name : {"f1", "f2", "f4", "f5"}) {  // saved once, and not used up by this
          EXPECT_EQ(Load(storage.root(), name), expected_[name]);
          EXPECT_EQ(Load(storage.root(), name), expected_[name]);
        }
      }
      expectSaved(storage);
    }
  }
}

TEST_F(FailingHost, FullDiskLeavesTheOldFileWhole) {
  TestStorage storage;
  prepare(storage);
  SetFileHook([](FileStep step, std::uint64_t, DWORD) {
    return FileVerdict{step == FileStep::kReserve ? kDiskFull : 0, 0xffffffff};
  });
  EXPECT_EQ(Raised([&] { storage.Commit(); }), "host");
  EXPECT_EQ(bytes(), before_);
  SetFileHook(nullptr);
  expectSaved(storage);
}

TEST_F(FailingHost, LinkedArraysOutliveAFailedCommitAndReading) {
  TestStorage storage;
  start(storage);
  Save(storage.root(), "first", "1");
  KRD::VFILE file = storage.root().vfopen("arrays", 'w');
  std::vector<std::int32_t> values(50000);
  for (std::size_t i = 0; i < values.size(); ++i) {
    values[i] = static_cast<std::int32_t>(i * 12345u);
  }
  Ints array;
  file << *Fill(array, values) << *Fill(array, {1});
  storage.root().vfclose(file);
  ASSERT_TRUE(storage.Commit());
  storage.root().vfremove("first");
  SetFileHook([](FileStep step, std::uint64_t, DWORD) {
    return FileVerdict{step == FileStep::kWrite ? kDiskFull : 0, 0xffffffff};
  });
  EXPECT_EQ(Raised([&] { storage.Commit(); }), "host");
  SetFileHook(nullptr);
  for (int round = 0; round < 4; ++round) {
    if (round == 2) {
      ASSERT_TRUE(storage.Commit());
    }
    Ints one;
    file = storage.root().vfopen("arrays", 'r');
    file >> array >> one;
    EXPECT_EQ(krtest::ValuesOf(array), values);
    EXPECT_EQ(one[0], 1);
    EXPECT_EQ(storage.root().vfclose(file), 0);
  }
}

TEST_F(FailingHost, LackOfMemoryIsToldAndNothingIsLost) {
  bool failed = true;
  for (int step = 0; failed; ++step) {
    SCOPED_TRACE(step);
    TestStorage storage;
    std::remove(path().c_str());
    start(storage);
    Save(storage.root(), "first", "1");
    KRD::VFILE file = storage.root().vfopen("big", 'w');
    Ints array;
    file << *Fill(array, std::vector<std::int32_t>(30000, 7));
    storage.root().vfclose(file);
    ASSERT_TRUE(storage.Commit());
    storage.Finish();
    start(storage);
    storage.root().vfremove("first");
    int left = step;
    failed = false;
    SetMemoryHook([&](MemoryStep kind, std::size_t) {
      const bool asks = kind == MemoryStep::kReserve || kind == MemoryStep::kCommit;
      failed |= asks && left == 0;
      return !asks || left-- != 0;
    });
    const std::string raised = Raised([&] { storage.Commit(); });
    SetMemoryHook(nullptr);
    EXPECT_EQ(raised == "nothing", !failed) << raised;
    ASSERT_TRUE(storage.Commit());
    file = storage.root().vfopen("big", 'r');
    file >> array;
    EXPECT_EQ(krtest::ValuesOf(array), std::vector<std::int32_t>(30000, 7));
    storage.root().vfclose(file);
  }
}

}  // namespace
