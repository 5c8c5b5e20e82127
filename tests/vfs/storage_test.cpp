// The storage's life cycle and its handles.
#include <cstdlib>
#include <limits>

#include "tests/vfs/storage_fixture.h"

namespace {

using krtest::Fill;
using krtest::Ints;
using krtest::Load;
using krtest::Raised;
using krtest::Save;
using krtest::TestStorage;
using krtest::ValuesOf;

class Storage : public krtest::StorageTest {};

TEST_F(Storage, FilesComeBackAfterReopening) {
  TestStorage storage("owner");
  start(storage);
  KRD::VDIR dir = storage.MkDir("dir", nullptr);
  KRD::VDIR inner = storage.MkDir("inner", &dir);
  KRD::VFILE file = inner.vfopen("file", 'w');
  Ints few;
  Ints many;
  std::vector<std::int32_t> ramp(20000);
  for (std::size_t i = 0; i < ramp.size(); ++i) {
    ramp[i] = static_cast<std::int32_t>(i * i);
  }
  file << "text" << KRD::KRDSTR("string") << *Fill(few, {7, 8}) << KRD::KRDSTR()
       << *Fill(many, ramp);
  EXPECT_EQ(inner.vfclose(file), 0);
  ASSERT_TRUE(storage.Commit());
  storage.Finish();
  EXPECT_FALSE(storage.good());

  TestStorage reader;
  ASSERT_TRUE(reader.Start(path().c_str(), false, false, false));
  EXPECT_EQ(reader.header, "owner");
  dir = reader.OpenDir("dir", nullptr);
  inner = reader.OpenDir("inner", &dir);
  file = inner.vfopen("FILE", 'r');
  char text[5];
  KRD::KRDSTR string;
  file >> text >> string >> few;
  EXPECT_STREQ(text, "text");
  EXPECT_STREQ(string.c_str(), "string");
  EXPECT_EQ(ValuesOf(few), (std::vector<std::int32_t>{7, 8}));
  file >> string >> many;
  EXPECT_TRUE(string.IsEmpty());
  EXPECT_EQ(ValuesOf(many), ramp);
  EXPECT_EQ(inner.vfclose(file), 0);
  EXPECT_EQ(inner.vfclose(file), -1);
  EXPECT_EQ(Raised([&] { reader.Commit(); }), "host");  // opened for reading only
}

TEST_F(Storage, OpeningFollowsTheMode) {
  TestStorage storage;
  EXPECT_EQ(Raised([&] { storage.Start(path().c_str(), false, false, false); }), "host");
  start(storage);
  KRD::VDIR root = storage.root();
  Save(root, "a", "1");
  EXPECT_EQ(Raised([&] { root.vfopen("A", 'w'); }), "100 A");
  EXPECT_EQ(Raised([&] { root.vfopen("b", 'r'); }), "101 b");
  EXPECT_EQ(Raised([&] { root.vfopen("a", 'x'); }), "103 ");
  KRD::VFILE open = root.vfopen("a", 'r');
  EXPECT_EQ(Raised([&] { root.vfopen("a", 'r'); }), "102 a");
  EXPECT_EQ(root.vfclose(open), 1);

  storage.MkDir("dir", nullptr);
  EXPECT_EQ(storage.MkDir("dir", nullptr).index, -1);
  EXPECT_EQ(storage.OpenDir("none", nullptr).index, -1);
  Save(root, "file", "");
  EXPECT_EQ(storage.OpenDir("file", nullptr).index, -1);
}

TEST_F(Storage, UncommittedWorkLivesInMemoryOnly) {
  TestStorage storage;
  start(storage);
  Save(storage.root(), "kept", "1");
  ASSERT_TRUE(storage.Commit());
  const std::string committed = bytes();
  storage.root().vfremove("kept");
  Save(storage.root(), "new", "2");
  EXPECT_EQ(bytes(), committed);
  storage.Finish();
  start(storage);
  EXPECT_EQ(Load(storage.root(), "kept"), "1");
  EXPECT_EQ(storage.root().vfaccess("new"), -1);
  Save(storage.root(), "new", "3");
  storage.Rollback();
  ASSERT_TRUE(storage.Commit());
  EXPECT_EQ(Load(storage.root(), "new"), "3");
}

TEST_F(Storage, CommitRefusesOpenFilesBeforeAnyByteChanges) {
  TestStorage storage;
  start(storage);
  Save(storage.root(), "old", "1");
  ASSERT_TRUE(storage.Commit());
  const std::string committed = bytes();
  Save(storage.root(), "new", "2");
  KRD::VFILE writing = storage.root().vfopen("writing", 'w');
  EXPECT_EQ(Raised([&] { storage.Commit(); }), "102 writing");
  storage.root().vfclose(writing);
  KRD::VFILE reading = storage.root().vfopen("old", 'r');
  EXPECT_EQ(Raised([&] { storage.Commit(); }), "102 old");
  EXPECT_EQ(bytes(), committed);
  storage.root().vfclose(reading);
  EXPECT_TRUE(storage.Commit());
}

TEST_F(Storage, CommitRefusesOffsetsBeyond32Bits) {
  constexpr std::int32_t kHuge = std::numeric_limits<std::int32_t>::max();
  TestStorage storage;
  start(storage);
  Save(storage.root(), "a", "1");
  ASSERT_TRUE(storage.Commit());
  const std::string committed = bytes();
  EXPECT_EQ(Raised([&] { storage.table().SaveKeep(storage.handle(), kHuge - 50); }),
            "114 " + path());
  EXPECT_EQ(bytes(), committed);
  EXPECT_TRUE(storage.Commit());
  EXPECT_EQ(Load(storage.root(), "a"), "1");
}

TEST_F(Storage, RefusedHeadersMakeStartAndCommitFalse) {
  TestStorage storage("magic");
  start(storage);
  Save(storage.root(), "a", "1");
  storage.accept = false;
  EXPECT_FALSE(storage.Commit());
  storage.accept = true;
  EXPECT_TRUE(storage.Commit());
  storage.accept = false;
  EXPECT_FALSE(storage.Start(path().c_str(), true, false, true));
  EXPECT_FALSE(storage.good());
  EXPECT_EQ(Raised([&] { storage.Commit(); }), "host");
}

TEST_F(Storage, AutoFileReplacesAndCloses) {
  TestStorage storage;
  start(storage);
  for (const char* text : {"first", "second"}) {
    KRD::auto_vfile file(storage, "f", 'w');
    ASSERT_TRUE(file.opened);
    file.file << text;
  }
  EXPECT_FALSE(KRD::auto_vfile(storage, "none", 'r').opened);
  EXPECT_TRUE(storage.Commit());
  EXPECT_EQ(storage.table().count(), 1u);
  char text[7];
  {
    KRD::auto_vfile file(storage, "f", 'r');
    file.file >> text;
  }
  EXPECT_STREQ(text, "second");
  EXPECT_EQ(Raised([&] { KRD::auto_vfile(storage, "f", 'q'); }), "103 ");
  EXPECT_TRUE(storage.Commit());
}

TEST_F(Storage, HandlesWithoutAnEntryRaise107OrGiveNothing) {
  TestStorage storage;
  start(storage);
  KRD::VFILE none;
  char text[2];
  EXPECT_EQ(Raised([&] { none << "a"; }), "107 ");
  none.keep = &storage.table();
  EXPECT_EQ(Raised([&] { none >> text; }), "107 ");
  EXPECT_EQ(storage.root().vfclose(none), -1);
  KRD::VDIR gone = storage.MkDir("gone", nullptr);
  KRD::VDIR copy = gone;
  storage.RmDir(gone);
  EXPECT_EQ(Raised([&] { copy.vfopen("f", 'w'); }), "107 ");
  EXPECT_EQ(Raised([&] { storage.MkDir("d", &copy); }), "107 ");
  EXPECT_TRUE(storage.Commit());
  EXPECT_EQ(Raised([&] { copy.vfopen("f", 'w'); }), "107 ");
  EXPECT_EQ(copy.vfaccess("f"), -1);
  EXPECT_EQ(Raised([&] { KRD::VDIR().vfopen("f", 'r'); }), "107 ");
}

TEST_F(Storage, StringLengthsThatLieStayInsideTheFile) {
  struct Row {
    std::int32_t length;
    const char* text;
    int bytes;  // of the text in the file
    const char* outcome;
  };
  const Row rows[] = {
      {0, "longer", 7, "nothing"},       {6, "ab", 3, "nothing"},         {-5, "ab", 3, "nothing"},
      {0x7fffffff, "abc", 4, "nothing"}, {0x7ffffffe, "abc", 3, "112 f"}, {3, "abc", 3, "112 f"},
  };
  for (const Row& row : rows) {
    TestStorage storage;
    start(storage);
    KRD::VFILE file = storage.root().vfopen("f", 'w');
    std::memcpy(file.record().put(4), &row.length, 4);
    std::memcpy(file.record().put(row.bytes), row.text, static_cast<std::size_t>(row.bytes));
    storage.root().vfclose(file);
    file = storage.root().vfopen("f", 'r');
    KRD::KRDSTR string("before");
    EXPECT_EQ(Raised([&] { file >> string; }), row.outcome) << row.length;
    EXPECT_STREQ(string.c_str(),
                 row.bytes > 3 || row.length == 6 || row.length < 0 ? row.text : "before");
    EXPECT_LT(string.size(), 10);
  }
}

TEST_F(Storage, SharingFollowsTheExclusiveFlagAndTheEnvironment) {
  TestStorage first;
  TestStorage second;
  start(first);
  EXPECT_EQ(Raised([&] { second.Start(path().c_str(), false, false, false); }), "host");
  first.Finish();
  setenv("KRR_SHARE_FILES", "", 1);
  start(first);
  EXPECT_TRUE(second.Start(path().c_str(), true, false, true));
  unsetenv("KRR_SHARE_FILES");
  second.Finish();
  first.Finish();
  ASSERT_TRUE(first.Start(path().c_str(), true, false, false));
  EXPECT_TRUE(second.Start(path().c_str(), true, false, false));
}

TEST_F(Storage, CreatingEmptiesTheFile) {
  TestStorage storage;
  start(storage);
  Save(storage.root(), "a", "1");
  ASSERT_TRUE(storage.Commit());
  ASSERT_TRUE(storage.Start(path().c_str(), true, true, true));
  EXPECT_TRUE(storage.table().isEmpty());
  EXPECT_EQ(bytes(), "");
}

}  // namespace
