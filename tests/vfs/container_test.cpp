// The container file byte for byte, and what a save writes and leaves alone.
#include "krdcmmn/core/packed_block.h"
#include "krdcmmn/platform/files.h"
#include "krdcmmn/vfs/container_layout.h"

#include "tests/vfs/storage_fixture.h"

namespace {

using krtest::Fill;
using krtest::Ints;
using krtest::Load;
using krtest::Raised;
using krtest::Save;
using krtest::TestStorage;

class Container : public krtest::StorageTest {
 protected:
  // Offsets that a commit writes at, in order.
  std::vector<std::uint64_t> writesOf(TestStorage& storage) {
    std::vector<std::uint64_t> offsets;
    SetFileHook([&](FileStep step, std::uint64_t position, DWORD) {
      if (step == FileStep::kWrite) {
        offsets.push_back(position);
      }
      return FileVerdict();
    });
    EXPECT_TRUE(storage.Commit());
    SetFileHook(nullptr);
    return offsets;
  }
};

TEST_F(Container, OneFileTakes93Bytes) {
  TestStorage storage;
  start(storage);
  Save(storage.root(), "a", "hi");
  ASSERT_TRUE(storage.Commit());
  const char expected[] =
      "\x00\x00\x00\x00\x01\x00\x00\x00\x19\x00\x00\x00"                  // H, N, T
      "\x05\x00\x00\x00\x27\x02\x68\x69\x00\x73\x7a\x95\xbd"              // the block
      "\x0b\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x01\x00\x04\x00"  // the record
      "\x0c\x00\x00\x00\x0d\x00\x00\x00"
      "a\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"
      "\x00\x00\x00\x00\x01\x00\x00\x00"
      "\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff"
      "\x00\x00\x00\x00";  // firstRoot
  EXPECT_EQ(bytes(), std::string(expected, 93));
}

TEST_F(Container, MovedContentsHoldTheReadPositionOfAnOpening) {
  // The header may grow into the place of what was removed: the rest counts as moved all the same.
  for (const bool header_grows : {false, true}) {
    TestStorage storage;
    ASSERT_TRUE(storage.Start(path().c_str(), true, true, true));
    Save(storage.root(), "gone", "1");
    Save(storage.root(), "a", "hi");
    ASSERT_TRUE(storage.Commit());
    if (header_grows) {
      storage.header.resize(storage.table().vfile(0).sizeFull);
    }
    storage.root().vfremove("gone");
    ASSERT_TRUE(storage.Commit());
    const KRD::PackedBlock block("\xff\xff\xff\xff\x08\0\0\0hi", 11, 1);
    EXPECT_EQ(bytes().substr(12 + storage.header.size(), block.size()),
              std::string(block.bytes(), block.size()));
  }
}

TEST_F(Container, EmptyTableIsTheWordsTheHeaderAndNoRoot) {
  TestStorage storage("own");
  start(storage);
  ASSERT_TRUE(storage.Commit());
  EXPECT_EQ(bytes(), std::string("\3\0\0\0\0\0\0\0\x0f\0\0\0own\xff\xff\xff\xff", 19));
  storage.Finish();
  start(storage);
  EXPECT_TRUE(storage.table().isEmpty());
}

TEST_F(Container, ContentsLieInTableOrderWithoutGaps) {
  TestStorage storage("header");
  start(storage);
  KRD::VDIR sub = storage.MkDir("sub", nullptr);
  for (int i = 0; i < 20; ++i) {
    Save(i % 2 != 0 ? sub : storage.root(), std::to_string(i).c_str(), std::string(5, 'a'));
  }
  ASSERT_TRUE(storage.Commit());
  std::int64_t pos = 12 + 6;
  for (unsigned i = 0; i < storage.table().count(); ++i) {
    EXPECT_EQ(storage.table().vfile(i).filePos, pos);
    pos += storage.table().vfile(i).sizeFull;
  }
  EXPECT_EQ(storage.table().tablePos, pos);
  EXPECT_EQ(bytes().size(), static_cast<std::size_t>(pos + storage.table().getSizePack() + 4));
}

TEST_F(Container, SaveWritesFromTheFirstChangeOn) {
  TestStorage storage;
  start(storage);
  for (const char* name : {"a", "b", "c", "d"}) {
    Save(storage.root(), name, name);
  }
  ASSERT_TRUE(storage.Commit());
  const auto pos = static_cast<std::uint64_t>(storage.table().vfile(2).filePos);
  const auto table = static_cast<std::uint64_t>(storage.table().tablePos);
  EXPECT_EQ(writesOf(storage).front(), table);
  storage.root().vfremove("c");
  EXPECT_EQ(writesOf(storage).front(), pos);
  Save(storage.root(), "c", "again");
  const std::vector<std::uint64_t> writes = writesOf(storage);
  EXPECT_EQ(writes.front(), static_cast<std::uint64_t>(storage.table().vfile(3).filePos));
  storage.header = "now with one";
  EXPECT_EQ(writesOf(storage).front(), 24u);
  for (const char* name : {"a", "b", "d"}) {
    EXPECT_EQ(Load(storage.root(), name), name);
  }
}

TEST_F(Container, RemovalsRenumberTheTree) {
  TestStorage storage;
  start(storage);
  Save(storage.root(), "gone", "1");
  KRD::VDIR dir = storage.MkDir("dir", nullptr);
  Save(dir, "inner-gone", "2");
  Save(dir, "inner", "3");
  Save(storage.root(), "last", "4");
  ASSERT_TRUE(storage.Commit());
  storage.root().vfremove("GONE");
  dir.vfremove("inner-gone");
  ASSERT_TRUE(storage.Commit());
  storage.Finish();
  start(storage);
  EXPECT_EQ(storage.table().count(), 3u);
  EXPECT_EQ(storage.root().vfaccess("gone"), -1);
  EXPECT_EQ(Load(storage.root(), "last"), "4");
  KRD::VDIR found = storage.OpenDir("DIR", nullptr);
  EXPECT_EQ(found.index, 0);
  EXPECT_EQ(found.vfaccess("inner-gone"), -1);
  EXPECT_EQ(Load(found, "inner"), "3");
  storage.RmDir(found);
  EXPECT_EQ(storage.table().vfaccess("inner", 0), -1);
  ASSERT_TRUE(storage.Commit());
  EXPECT_EQ(storage.table().count(), 1u);
}

TEST_F(Container, RemovingAnEntryAgainLeavesItsOldNeighboursAlone) {
  TestStorage storage;
  start(storage);
  for (const char* name : {"a", "b", "c", "d"}) {
    Save(storage.root(), name, name);
  }
  // Inside the list, with the neighbour gone in the meantime, and at its head, with a new one
  // there.
  for (int index : {2, 1, 2, 3}) {
    storage.root().vfremove(index);
  }
  Save(storage.root(), "e", "e");
  storage.root().vfremove(3);
  ASSERT_TRUE(storage.Commit());
  storage.Finish();
  start(storage);
  EXPECT_EQ(storage.table().count(), 2u);
  EXPECT_EQ(Load(storage.root(), "a"), "a");
  EXPECT_EQ(Load(storage.root(), "e"), "e");
}

TEST_F(Container, ShrunkenFileIsCut) {
  TestStorage storage;
  start(storage);
  Save(storage.root(), "big", std::string(1000, 'x') + std::string("abcdefgh"));
  ASSERT_TRUE(storage.Commit());
  storage.root().vfremove("big");
  ASSERT_TRUE(storage.Commit());
  EXPECT_EQ(bytes().size(), 16u);
}

TEST_F(Container, ConsumedFilesLeaveTheTable) {
  TestStorage storage;
  start(storage);
  Save(storage.root(), "read", "1");
  Save(storage.root(), "kept", "2");
  EXPECT_EQ(Load(storage.root(), "read"), "1");
  EXPECT_EQ(storage.root().vfaccess("read"), -1);
  Save(storage.root(), "read", "new");
  ASSERT_TRUE(storage.Commit());
  EXPECT_EQ(storage.table().count(), 2u);
  EXPECT_EQ(Load(storage.root(), "read"), "new");
  EXPECT_EQ(Load(storage.root(), "read"), "new");
}

TEST_F(Container, DeepTreesAreRemovedWithoutRecursion) {
  TestStorage storage;
  start(storage);
  KRD::VDIR dir = storage.root();
  for (int i = 0; i < 50000; ++i) {
    dir = storage.MkDir("d", &dir);
  }
  ASSERT_TRUE(storage.Commit());
  storage.Finish();
  start(storage);
  storage.RmDir(0);
  ASSERT_TRUE(storage.Commit());
  EXPECT_TRUE(storage.table().isEmpty());
}

// A linear walk over the lists, which the index of long directories must agree with.
int Walk(const KRD::VF_KEEP& table, const std::string& name) {
  int i = table.firstRoot;
  for (; i >= 0; i = table.vfile(static_cast<unsigned>(i)).nextEntry) {
    const KRD::virt_file& record = table.vfile(static_cast<unsigned>(i));
    if (record.state != 2 && record.state != -1 && name == record.name) {
      break;
    }
  }
  return i;
}

TEST_F(Container, LongDirectoriesAreSearchedLikeShortOnes) {
  TestStorage storage;
  start(storage);
  const auto name = [](int i) { return "n" + std::to_string(i); };
  for (int i = 0; i < 3000; ++i) {
    Save(storage.root(), name(i).c_str(), "x");
    if (i % 3 == 0) {
      storage.root().vfremove(name(i / 2).c_str());
    }
    if (i % 5 == 0 && storage.root().vfaccess(name(i / 3).c_str()) >= 0) {
      Load(storage.root(), name(i / 3).c_str());  // consumed, unless it was saved
      storage.root().vfremove(name(i / 3).c_str());
      Save(storage.root(), name(i / 3).c_str(), "y");
    }
    if (i % 1000 == 999) {
      ASSERT_TRUE(storage.Commit());
    }
    for (int probe : {i, i / 2, i / 3, i / 7}) {
      ASSERT_EQ(storage.root().vfaccess(name(probe).c_str()), Walk(storage.table(), name(probe)));
    }
  }
  // Entries that a caller renames by hand are found under their new names.
  const auto at = static_cast<unsigned>(storage.root().vfaccess("n2000"));
  std::strcpy(storage.table().vfile(at).name, "other");
  EXPECT_EQ(storage.root().vfaccess("OTHER"), static_cast<int>(at));
  EXPECT_EQ(storage.root().vfaccess("n2000"), -1);
}

}  // namespace
