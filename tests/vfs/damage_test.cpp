// Containers with bytes changed, cut off, or written by somebody who means harm.
#include "krdcmmn/core/byte_order.h"
#include "krdcmmn/core/packed_block.h"
#include "krdcmmn/vfs/container_check.h"
#include "krdcmmn/vfs/container_layout.h"

#include "tests/vfs/storage_fixture.h"

namespace {

using krtest::Fill;
using krtest::Ints;
using krtest::Raised;
using krtest::Save;
using krtest::TestStorage;

class Damage : public krtest::StorageTest {
 protected:
  // `files` in the root and one directory with a file; short contents of every kind.
  std::string sound(int files) {
    TestStorage storage("own");
    start(storage);
    for (int i = 0; i < files; ++i) {
      KRD::VFILE file = storage.root().vfopen(("f" + std::to_string(i)).c_str(), 'w');
      Ints array;
      file << "text" << *Fill(array, {1, 2, 3, 4, 5 + i}) << *Fill(array, {i});
      storage.root().vfclose(file);
    }
    KRD::VDIR dir = storage.MkDir("dir", nullptr);
    Save(dir, "inner", "inner text");
    EXPECT_TRUE(storage.Commit());
    return bytes();
  }

  // Opens and reads whatever is there, takes some of it out and commits the rest. Everything may
  // fail, but only as documented.
  void survive(const std::string& container, bool commit) {
    std::remove(path().c_str());  // a new file is not waited for when it is closed
    krtest::WriteBytes(path(), container);
    EXPECT_EQ(Raised([&] { KRD::CheckContainer(path().c_str()); }), "nothing");
    TestStorage storage;
    bool started = false;
    expectDocumented(Raised([&] { started = storage.Start(path().c_str(), true, false, true); }));
    if (!started) {
      if (storage.good()) {  // the old table must not be replaced by an empty one
        EXPECT_EQ(Raised([&] { storage.Commit(); }), "114 " + path());
        EXPECT_EQ(bytes(), container);
      }
      return;
    }
    KRD::VF_KEEP& table = storage.table();
    for (unsigned i = 0; i < table.count(); ++i) {
      KRD::virt_file& record = table.vfile(i);
      expectDocumented(Raised([&] { record.r_open(table.file); }));
      char text[64];
      Ints array;
      expectDocumented(Raised([&] {
        if (record.strget_size() < 64) {
          record.strget(text);
        }
      }));
      expectDocumented(Raised([&] { record.ma_get(array); }));
      record.r_close();
    }
    if (!commit) {  // it waits for the medium each time
      return;
    }
    storage.root().vfremove("f0");
    expectDocumented(Raised([&] { storage.Commit(); }));
  }

  static void expectDocumented(const std::string& raised) {
    EXPECT_TRUE(raised == "nothing" || raised.substr(0, 2) == "10" || raised.substr(0, 2) == "11" ||
                raised == "4")
        << raised;
  }
};

TEST_F(Damage, CutAtEveryLength) {
  for (int files : {1, 6}) {  // a raw table and a packed one
    const std::string whole = sound(files);
    for (std::size_t size = 0; size < whole.size(); ++size) {
      SCOPED_TRACE(size);
      survive(whole.substr(0, size), true);
    }
    std::remove(path().c_str());
  }
}

TEST_F(Damage, EveryByteChanged) {
  for (int files : {1, 6}) {
    const std::string whole = sound(files);
    for (std::size_t at = 0; at < whole.size(); ++at) {
      for (int mask : {0x01, 0x80, 0xff}) {
        SCOPED_TRACE(std::to_string(at) + " ^ " + std::to_string(mask));
        std::string changed = whole;
        changed[at] = static_cast<char>(changed[at] ^ mask);
        survive(changed, mask == 0x01);
      }
    }
    std::remove(path().c_str());
  }
}

TEST_F(Damage, AnyByteOfAContentIsFoundAndNamed) {
  const std::string whole = sound(6);
  TestStorage storage;
  start(storage);
  const KRD::virt_file& record = storage.table().vfile(2);
  const auto from = static_cast<std::size_t>(record.filePos);
  const std::size_t behind = from + record.sizeFull - 4;  // the last array stands raw
  storage.Finish();
  for (std::size_t at = from; at < behind; ++at) {
    std::string changed = whole;
    changed[at] = static_cast<char>(changed[at] ^ 0x10);
    krtest::WriteBytes(path(), changed);
    const auto damages = KRD::CheckContainer(path().c_str());
    ASSERT_EQ(damages.size(), 1u) << at;
    EXPECT_EQ(damages[0].entry, 2);
    EXPECT_EQ(damages[0].name, "f2");
    TestStorage damaged;
    damaged.Start(path().c_str(), false, false, false);
    EXPECT_EQ(Raised([&] { damaged.root().vfopen("f2", 'r'); }), "109 f2");
  }
}

TEST_F(Damage, DamagedFileIsRemovedOrLeftAloneButNeverMoved) {
  std::string changed = sound(6);
  TestStorage storage;
  start(storage);
  const auto at = static_cast<std::size_t>(storage.table().vfile(2).filePos) + 5;
  storage.Finish();
  changed[at] = static_cast<char>(changed[at] ^ 1);
  krtest::WriteBytes(path(), changed);
  start(storage);
  EXPECT_EQ(Raised([&] { storage.root().vfopen("f2", 'r'); }), "109 f2");
  Save(storage.root(), "new", "1");
  EXPECT_TRUE(storage.Commit());  // the new file comes behind it
  storage.root().vfremove("f0");
  EXPECT_EQ(Raised([&] { storage.Commit(); }), "102 f2");
  storage.Finish();
  start(storage);
  storage.root().vfremove("f0");
  EXPECT_EQ(Raised([&] { storage.Commit(); }), "109 f2");
  EXPECT_EQ(Raised([&] { storage.Commit(); }), "109 f2");
  storage.root().vfremove("f2");
  EXPECT_TRUE(storage.Commit());
  EXPECT_EQ(krtest::Load(storage.root(), "new"), "1");
  storage.Finish();
  EXPECT_TRUE(KRD::CheckContainer(path().c_str()).empty());
}

// A content of 100 bytes that says of itself what the test wants, saved with good checksums.
class HostileContent : public Damage {
 protected:
  struct Link {
    int offset;
    int next;
    std::uint32_t count;
    std::int16_t element;
    std::uint8_t index_size;
  };

  std::string open(int first, const std::vector<Link>& links) {
    TestStorage storage;
    start(storage);
    storage.root().vfremove("f");
    KRD::VFILE file = storage.root().vfopen("f", 'w');
    KRD::virt_file& record = file.record();
    char* bytes = static_cast<char*>(record.put(92)) - 8;
    std::memset(bytes + 8, 0, 92);
    for (const Link& link : links) {
      std::memcpy(bytes + link.offset, &link.next, 4);
      std::memcpy(bytes + link.offset + 4, &link.count, 4);
      std::memcpy(bytes + link.offset + 16, &link.element, 2);
      std::memcpy(bytes + link.offset + 18, &link.index_size, 1);
    }
    record.first() = first;
    storage.root().vfclose(file);
    EXPECT_TRUE(storage.Commit());
    storage.Finish();
    start(storage);
    return Raised([&] { storage.root().vfopen("f", 'r'); });
  }
};

TEST_F(HostileContent, LinksAreFollowedForwardAndInsideOnly) {
  struct Row {
    const char* what;
    int first;
    std::vector<Link> links;
    const char* outcome;
  };
  const Row rows[] = {
      {"an empty array", 8, {{8, -1, 0, 4, 4}}, "nothing"},
      {"the last place", 80, {{80, -1, 0, 4, 4}}, "nothing"},
      {"one byte behind it", 81, {}, "109 f"},
      {"inside the words", 4, {{4, -1, 0, 4, 4}}, "109 f"},
      {"negative", -2, {}, "109 f"},
      {"far outside", 0x7fffffff, {}, "109 f"},
      {"backward", 40, {{40, 8, 0, 4, 4}, {8, -1, 0, 4, 4}}, "109 f"},
      {"a circle", 40, {{40, 40, 0, 4, 4}}, "109 f"},
      {"overlapping", 40, {{40, 59, 0, 4, 4}}, "109 f"},
      {"no element size", 8, {{8, -1, 0, 0, 4}}, "109 f"},
      {"a negative element size", 8, {{8, -1, 1, -4, 4}}, "109 f"},
      {"no index size", 8, {{8, -1, 0, 4, 0}}, "109 f"},
      {"a wide index", 8, {{8, -1, 0, 4, 200}}, "109 f"},
      {"raw elements that are not there", 8, {{8, -1, 3, 30000, 4}}, "109 f"},
      {"a block that is not there", 8, {{8, -1, 1000, 4, 4}}, "109 f"},
      {"more than the limit", 8, {{8, -1, 250000001, 4, 4}}, "4"},
      {"more than the index", 8, {{8, -1, 32769, 4, 2}}, "4"},
      {"the most that there can be", 8, {{8, -1, 250000000, 4, 4}}, "109 f"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(open(row.first, row.links), row.outcome) << row.what;
  }
}

// The table as a save writes it, with whatever its fields hold.
std::string tableBytes(const KRD::VF_KEEP& table) {
  using namespace KRD::container;
  std::string records(table.count() * std::size_t{kRecordBytes}, '\0');
  for (unsigned i = 0; i < table.count(); ++i) {
    const KRD::virt_file& file = table.vfile(i);
    char* record = records.data() + std::size_t{i} * kRecordBytes;
    const auto put = [record](RecordField field, std::int32_t value) {
      KRD::StoreI32(record + kRecord[field].offset, value);
    };
    put(kCount, static_cast<std::int32_t>(file.count()));
    put(kElementSize, 1 | 4 << 16);  // and the index size behind it
    put(kFilePos, file.filePos);
    put(kSizeFull, static_cast<std::int32_t>(file.sizeFull));
    std::memcpy(record + kRecord[kName].offset, file.name, kNameBytes);
    put(kState, file.state);
    put(kIsFile, file.isFile);
    put(kNextEntry, file.nextEntry);
    put(kPrevEntry, file.prevEntry);
    put(kFirstEntry, file.firstEntry);
    put(kParentEntry, file.parentEntry);
  }
  const KRD::PackedBlock block(records.data(), static_cast<int>(table.count()), kRecordBytes);
  std::string bytes(block.bytes(), block.size());
  bytes.resize(bytes.size() + kFirstRootBytes);
  KRD::StoreI32(bytes.data() + block.size(), table.firstRoot);
  return bytes;
}

TEST_F(Damage, TablesThatNoWriterMakesAreRefused) {
  using Table = KRD::VF_KEEP;
  struct Row {
    const char* what;
    void (*bend)(Table&);
    bool refused;
  };
  // Entries 0 to 5 are f0 to f5, 6 is dir, 7 is inner in it.
  const Row rows[] = {
      {"nothing", [](Table&) {}, false},
      {"next outside", [](Table& t) { t.vfile(3).nextEntry = 8; }, true},
      {"next negative", [](Table& t) { t.vfile(3).nextEntry = -2; }, true},
      {"next in a circle", [](Table& t) { t.vfile(0).nextEntry = 5; }, true},
      {"next to itself", [](Table& t) { t.vfile(3).nextEntry = 3; }, true},
      {"prev outside", [](Table& t) { t.vfile(3).prevEntry = 100; }, true},
      {"prev of another", [](Table& t) { t.vfile(3).prevEntry = 1; }, true},
      {"parent outside", [](Table& t) { t.vfile(7).parentEntry = 8; }, true},
      {"parent of another", [](Table& t) { t.vfile(7).parentEntry = -1; }, true},
      {"first outside", [](Table& t) { t.vfile(6).firstEntry = 1 << 30; }, true},
      {"first is its own list", [](Table& t) { t.vfile(6).firstEntry = 5; }, true},
      {"root outside", [](Table& t) { t.firstRoot = 8; }, true},
      {"root inside a directory", [](Table& t) { t.firstRoot = 7; }, true},
      {"a directory inside itself",
       [](Table& t) {
         t.vfile(7).firstEntry = 6;
         t.vfile(6).parentEntry = 7;
         t.vfile(6).nextEntry = t.vfile(6).prevEntry = -1;
         t.vfile(5).prevEntry = -1;
         t.firstRoot = 5;
       },
       true},
      {"a list cut off",
       [](Table& t) {
         t.vfile(3).nextEntry = -1;
         t.vfile(2).prevEntry = -1;
       },
       false},
      {"a state", [](Table& t) { t.vfile(3).state = 2; }, true},
      {"a name without an end", [](Table& t) { std::memset(t.vfile(3).name, 'x', 16); }, true},
      {"neither file nor directory", [](Table& t) { t.vfile(3).isFile = 2; }, true},
      {"contents swapped", [](Table& t) { std::swap(t.vfile(2).filePos, t.vfile(3).filePos); },
       true},
      {"contents overlapping", [](Table& t) { t.vfile(2).sizeFull += 1; }, true},
      {"content in the header", [](Table& t) { t.vfile(0).filePos = 14; }, true},
      {"content behind the table", [](Table& t) { t.vfile(7).sizeFull = 1u << 31; }, true},
      {"content outside", [](Table& t) { t.vfile(7).filePos = -5; }, true},
      {"a gap", [](Table& t) { t.vfile(2).sizeFull -= 1; }, false},
  };
  const std::string whole = sound(6);
  for (const Row& row : rows) {
    krtest::WriteBytes(path(), whole);
    TestStorage storage;
    start(storage);
    KRD::VF_KEEP& table = storage.table();
    const auto pos = static_cast<std::size_t>(table.tablePos);
    row.bend(table);
    krtest::WriteBytes(path(), whole.substr(0, pos) + tableBytes(table));
    storage.Finish();
    EXPECT_EQ(KRD::CheckContainer(path().c_str()).empty(), row.what == std::string("nothing"));
    const std::string outcome = Raised([&] { storage.Start(path().c_str(), true, false, true); });
    EXPECT_EQ(outcome, row.refused ? "114 " + path() : "nothing") << row.what;
    if (row.refused) {
      EXPECT_TRUE(storage.table().isEmpty());
      EXPECT_EQ(Raised([&] { storage.Commit(); }), "114 " + path());
    } else {
      storage.RmDir(6);
      EXPECT_TRUE(storage.Commit()) << row.what;
    }
  }
}

TEST_F(Damage, ManyEntriesNeedAFileThatHoldsThem) {
  std::string whole = sound(6);
  const std::uint32_t counts[] = {9, 100000, 15625000, 15625001, 0xffffffff};
  for (std::uint32_t count : counts) {
    std::memcpy(whole.data() + 4, &count, 4);
    krtest::WriteBytes(path(), whole);
    TestStorage storage;
    EXPECT_EQ(Raised([&] { storage.Start(path().c_str(), true, false, true); }),
              count > 15625000 ? "4" : "114 " + path());
    EXPECT_TRUE(storage.table().isEmpty());
  }
}

}  // namespace
