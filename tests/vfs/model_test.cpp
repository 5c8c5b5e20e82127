// Random edits on a storage and on a map, with commits, reopenings and failing hosts between them.
#include <map>
#include <random>

#include "krdcmmn/platform/files.h"

#include "tests/vfs/storage_fixture.h"

namespace {

using krtest::Fill;
using krtest::Ints;
using krtest::Raised;
using krtest::TestStorage;
using krtest::ValuesOf;

struct Content {
  std::string text;
  std::vector<std::vector<std::int32_t>> arrays;
  bool saved = false;  // else reading consumes it
};

class Model {
 public:
  Model(std::string path, unsigned seed) : path_(std::move(path)), random_(seed) { reopen(); }

  void step() {
    switch (pick(20)) {
      case 0:
        commit();
        break;
      case 1:
        failingCommit();
        break;
      case 2:
        if (pick(4) == 0) {
          commit();
          reopen();
        } else if (pick(4) == 0) {
          state_ = committed_;  // drops what was not committed
          reopen();
        }
        break;
      case 3:
      case 4:
      case 5:
        remove();
        break;
      case 6:
      case 7:
      case 8:
      case 9:
        read();
        break;
      case 10:
        storage_.header.resize(pick(3) * 5u);
        break;
      default:
        write();
    }
  }

 private:
  unsigned pick(unsigned n) { return static_cast<unsigned>(random_() % n); }

  void reopen() {
    storage_.Finish();
    ASSERT_TRUE(storage_.Start(path_.c_str(), true, false, true));
  }

  // "dir/name"; the directory is made when it is missing.
  KRD::VDIR directory(const std::string& name) {
    const std::string dir = name.substr(0, name.find('/'));
    KRD::VDIR found = storage_.OpenDir(dir.c_str(), nullptr);
    return found.index >= 0 ? found : storage_.MkDir(dir.c_str(), nullptr);
  }
  static std::string baseOf(const std::string& name) { return name.substr(name.find('/') + 1); }
  std::string randomName() {
    return "d" + std::to_string(pick(3)) + "/f" + std::to_string(pick(60));
  }

  void write() {
    const std::string name = randomName();
    KRD::VDIR dir = directory(name);
    const auto old = state_.find(name);
    if (old != state_.end()) {
      EXPECT_EQ(Raised([&] { dir.vfopen(baseOf(name).c_str(), 'w'); }), "100 " + baseOf(name));
      dir.vfremove(baseOf(name).c_str());
    }
    Content content;
    content.text.assign(pick(50), static_cast<char>('a' + pick(26)));
    KRD::VFILE file = dir.vfopen(baseOf(name).c_str(), 'w');
    file << content.text.c_str();
    for (unsigned n = pick(4); n > 0; --n) {
      std::vector<std::int32_t> values(pick(2) == 0 ? pick(5) : pick(3000));
      for (auto& value : values) {
        value = static_cast<std::int32_t>(random_() >> pick(32));
      }
      Ints array;
      file << *Fill(array, values);
      content.arrays.push_back(std::move(values));
    }
    EXPECT_EQ(dir.vfclose(file), 0);
    state_[name] = std::move(content);
  }

  void read(bool saved_only = false) {
    const std::string name = randomName();
    KRD::VDIR dir = directory(name);
    const auto expected = state_.find(name);
    if (expected == state_.end()) {
      EXPECT_EQ(Raised([&] { dir.vfopen(baseOf(name).c_str(), 'r'); }), "101 " + baseOf(name));
      return;
    }
    if (saved_only && !expected->second.saved) {
      return;
    }
    KRD::VFILE file = dir.vfopen(baseOf(name).c_str(), 'r');
    char text[64];
    file >> text;
    EXPECT_EQ(text, expected->second.text);
    const bool all = pick(3) != 0;
    for (const auto& values : expected->second.arrays) {
      if (!all) {
        break;
      }
      Ints array;
      file >> array;
      EXPECT_EQ(ValuesOf(array), values);
    }
    EXPECT_EQ(dir.vfclose(file), all || expected->second.arrays.empty() ? 0 : 1);
    if (!expected->second.saved) {
      state_.erase(expected);
    }
  }

  void remove() {
    const std::string name = randomName();
    directory(name).vfremove(baseOf(name).c_str());
    state_.erase(name);
    if (pick(100) == 0) {
      KRD::VDIR dir = directory(name);
      storage_.RmDir(dir);
      std::erase_if(
          state_, [&](const auto& entry) { return entry.first.substr(0, 2) == name.substr(0, 2); });
    }
  }

  void commit() {
    ASSERT_TRUE(storage_.Commit());
    for (auto& [name, content] : state_) {
      content.saved = true;
    }
    committed_ = state_;
  }

  // Fails at some step, and must then succeed with everything there. Between the two, reading
  // takes nothing away that was saved before.
  void failingCommit() {
    unsigned left = pick(12);
    SetFileHook([&](FileStep, std::uint64_t, DWORD) {
      FileVerdict verdict;
      if (left-- == 0) {
        verdict.error = 28;
      }
      return verdict;
    });
    const std::string raised = Raised([&] { storage_.Commit(); });
    SetFileHook(nullptr);
    for (int i = 0; i < 10 && raised != "nothing"; ++i) {
      read(true);
    }
    commit();
  }

  std::string path_;
  std::mt19937 random_;
  TestStorage storage_;
  std::map<std::string, Content> state_;
  std::map<std::string, Content> committed_;
};

class StorageModel : public krtest::StorageTest, public testing::WithParamInterface<unsigned> {};

TEST_P(StorageModel, AgreesWithAMap) {
  SCOPED_TRACE("seed " + std::to_string(GetParam()));
  Model model(path(), GetParam());
  for (int i = 0; i < 1500 && !HasFailure(); ++i) {
    SCOPED_TRACE("step " + std::to_string(i));
    model.step();
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, StorageModel, testing::Range(1u, 9u));

}  // namespace
