// kr vfs from a user's side: trees go in, come back, and are the same.
#include <cstring>
#include <gmock/gmock.h>
#include <random>
#include <sys/stat.h>
#include <unistd.h>

#include "krdcmmn/core/block_io.h"
#include "krdcmmn/vfs/vfstorage.h"

#include "tests/support/program.h"

namespace {

namespace fs = std::filesystem;
using krtest::Outcome;
using krtest::ReadBytes;
using krtest::WriteBytes;

class Vfs : public testing::Test {
 protected:
  Outcome kr(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "vfs");
    return krtest::Run(KR_PROGRAM, arguments, work_.path().string());
  }
  // Expects success without a complaint and gives the output.
  std::string good(const std::vector<std::string>& arguments) {
    const Outcome outcome = kr(arguments);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    return outcome.out;
  }
  // Expects exit status 1 and a complaint that holds `text`.
  void bad(const std::vector<std::string>& arguments, const std::string& text) {
    const Outcome outcome = kr(arguments);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find(text), std::string::npos) << outcome.err;
  }
  fs::path path(const std::string& name) const { return work_.path() / name; }
  void write(const std::string& name, const std::string& bytes) {
    fs::create_directories(path(name).parent_path());
    WriteBytes(path(name).string(), bytes);
  }
  std::string read(const std::string& name) { return ReadBytes(path(name).string()); }

  // Names, kinds, modes, times and bytes of a tree, as one text.
  std::string describe(const std::string& root) {
    std::vector<fs::path> all(fs::recursive_directory_iterator(path(root)), {});
    std::sort(all.begin(), all.end());
    std::string text;
    for (const fs::path& entry : all) {
      struct stat info;
      lstat(entry.c_str(), &info);
      text += entry.lexically_relative(path(root)).string() + ' ' + std::to_string(info.st_mode) +
              ' ' + std::to_string(info.st_mtim.tv_sec) + '.' +
              std::to_string(info.st_mtim.tv_nsec) + ' ' +
              (S_ISREG(info.st_mode) ? ReadBytes(entry.string()) : "") + '\n';
    }
    return text;
  }

  krtest::TempDir work_;
};

TEST_F(Vfs, TreesComeBackAsTheyWere) {
  std::mt19937 random(5);
  std::string noise(300000, '\0');
  for (char& c : noise) {
    c = static_cast<char>(random());
  }
  write("tree/noise", noise);
  write("tree/empty", "");
  write("tree/a name longer than fifteen bytes", "1");
  write("tree/a name longer than fifteen bytes, too", "2");
  write("tree/Case", "upper");
  write("tree/case", "lower");
  write("tree/имя файла/文件\n\x01", "utf-8");
  write("tree/-l", "not an option");
  write("tree/deep/er/and/deeper/still/file", std::string(1000, '\0'));
  fs::create_directory(path("tree/no files"));
  fs::permissions(path("tree/Case"), fs::perms(0640));
  fs::permissions(path("tree/noise"), fs::perms(0755));
  fs::last_write_time(path("tree/empty"),
                      fs::file_time_type::clock::now() - std::chrono::hours(99999));
  fs::permissions(path("tree/no files"), fs::perms(0555));

  good({"add", "s", "tree"});
  good({"get", "s", "-C", "out"});
  EXPECT_EQ(describe("out/tree"), describe("tree"));
  EXPECT_EQ(good({"cat", "s", "tree/noise"}), noise);
  EXPECT_NE(good({"check", "s"}).find("no damage"), std::string::npos);

  const std::string once = read("s");
  good({"add", "s2", "tree"});
  EXPECT_EQ(read("s2"), once);  // the same tree gives the same bytes
}

TEST_F(Vfs, ListingsShowFullNamesInOrder) {
  write("t/b with a rather long name.txt", "12345");
  write("t/a/c", "");
  fs::permissions(path("t/a/c"), fs::perms(0604));
  fs::last_write_time(path("t/a/c"), fs::file_time_type::clock::from_sys(
                                         std::chrono::sys_seconds(std::chrono::seconds(86399))));
  good({"add", "s", "t"});
  EXPECT_EQ(good({"ls", "s"}), "t/\n");
  EXPECT_EQ(good({"ls", "s", "t"}), "a/\nb with a rather long name.txt\n");
  EXPECT_EQ(good({"ls", "-R", "s"}), "t/\nt/a/\nt/a/c\nt/b with a rather long name.txt\n");
  const std::string line = good({"ls", "-l", "s", "t/a/c"});
  EXPECT_EQ(line.substr(0, 24), "-rw----r--            0 ");
  EXPECT_EQ(line.substr(34), " 1970-01-01 23:59:59 c\n");
  EXPECT_EQ(good({"tree", "s"}),
            ".\n└── t\n    ├── a\n    │   └── c\n    └── b with a rather long name.txt\n"
            "\n2 directories, 2 files\n");
  const std::string info = good({"info", "s"});
  EXPECT_NE(info.find("storage, bytes         " +
                      std::string(12 - std::to_string(read("s").size()).size(), ' ') +
                      std::to_string(read("s").size())),
            std::string::npos)
      << info;
}

TEST_F(Vfs, EntriesAreReplacedAndRemoved) {
  write("t/f", "old");
  write("t/kept", "kept");
  good({"add", "s", "t", "t/f"});
  write("t/f", "new and longer");
  good({"add", "s", "./t/../t//f"});
  EXPECT_EQ(good({"ls", "s", "t"}), "f\nkept\n");
  EXPECT_EQ(good({"cat", "s", "t/f"}), "new and longer");
  fs::remove(path("t/f"));
  write("t/f/inner", "a directory now");
  good({"add", "s", "t/f"});
  EXPECT_EQ(good({"cat", "s", "t/f/inner"}), "a directory now");
  good({"rm", "s", "t/f"});
  EXPECT_EQ(good({"ls", "-R", "s"}), "t/\nt/kept\n");
  const std::string before = read("s");
  bad({"rm", "s", "t/kept", "t/none"}, "no entry \"t/none\"");
  EXPECT_EQ(read("s"), before);
  good({"rm", "s", "t"});
  EXPECT_EQ(good({"ls", "s"}), "");
}

TEST_F(Vfs, NamedEntriesAreExtractedUnderTheirPaths) {
  write("t/a/b/file", "1");
  write("t/a/other", "2");
  good({"add", "s", "t"});
  good({"get", "s", "t/a/b", "-C", "out"});
  EXPECT_EQ(read("out/t/a/b/file"), "1");
  EXPECT_FALSE(fs::exists(path("out/t/a/other")));
  bad({"get", "s", "t/a/other", "none", "-C", "out"}, "no entry \"none\"");
  EXPECT_EQ(read("out/t/a/other"), "2");
}

TEST_F(Vfs, LinksAndSpecialFilesAreToldAndNotStored) {
  write("t/file", "1");
  fs::create_symlink("file", path("t/link"));
  mkfifo(path("t/pipe").c_str(), 0600);
  const Outcome outcome = kr({"add", "t/s", "t"});
  EXPECT_EQ(outcome.status, 0);
  for (const char* told :
       {"t/link: a symbolic link", "t/pipe: a special file", "t/s: the storage itself"}) {
    EXPECT_NE(outcome.err.find(told), std::string::npos) << outcome.err;
  }
  EXPECT_EQ(good({"ls", "t/s", "t"}), "file\n");
  bad({"add", "s2", "t/link"}, "symbolic link");
  EXPECT_FALSE(fs::exists(path("s2")));
}

TEST_F(Vfs, ExtractionStaysInsideItsDirectory) {
  write("t/dir/file", "from the storage");
  good({"add", "s", "t"});
  write("victim/file", "untouched");
  fs::create_directories(path("out/t"));
  fs::create_directory_symlink(path("victim"), path("out/t/dir"));
  bad({"get", "s", "-C", "out"}, "in the way");
  EXPECT_EQ(read("victim/file"), "untouched");

  fs::remove(path("out/t/dir"));
  fs::create_directory(path("out/t/dir"));
  fs::create_symlink(path("victim/file"), path("out/t/dir/file"));
  good({"get", "s", "-C", "out"});
  EXPECT_EQ(read("victim/file"), "untouched");
  EXPECT_EQ(read("out/t/dir/file"), "from the storage");

  EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(path("out/t/dir/file"))));
}

// A storage with the app's header, whose entries say of themselves what they are called.
class HostileStore final : public KRD::VFSTORAGE {
 public:
  HostileStore(const std::string& store, const std::vector<std::string>& names) {
    EXPECT_TRUE(Start(store.c_str(), true, true, true));
    for (const std::string& name : names) {
      KRD::VDIR dir = root();
      KRD::VFILE entry = dir.vfopen(std::to_string(keep.count()).c_str(), 'w');
      entry << KRD::KRDSTR(name.c_str());
      std::memset(entry.record().put(24), 0, 24);
      dir.vfclose(entry);
    }
    EXPECT_TRUE(Commit());
  }
  bool ReadHeader(std::int32_t) override { return true; }
  bool WriteHeader() override { return KRD::WriteFile(file, "KRVF\1\0\0\0", 8) == 8; }
  std::int32_t GetHeaderSize() override { return 8; }
};

TEST_F(Vfs, NamesThatLeadElsewhereAreNotExtracted) {
  const std::string absolute = path("absolute").string();
  HostileStore(path("s").string(), {"../up", "..", ".", "", "a/b", absolute, "good"});
  const Outcome outcome = kr({"get", "s", "-C", "out/inner"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.err.find("6 failures"), std::string::npos) << outcome.err;
  std::vector<std::string> made;
  for (const fs::path& entry : fs::recursive_directory_iterator(work_.path())) {
    made.push_back(entry.lexically_relative(work_.path()).string());
  }
  EXPECT_THAT(made, testing::UnorderedElementsAre("s", "out", "out/inner", "out/inner/good"));
  EXPECT_EQ(kr({"check", "s"}).status, 1);
}

TEST_F(Vfs, ForeignFilesAreRefusedAndLeftAlone) {
  for (const std::string& bytes :
       {std::string("short"), std::string(100, '\0'), std::string("a text that is no storage\n")}) {
    write("foreign", bytes);
    write("f", "1");
    for (const char* operation : {"ls", "tree", "info", "check", "get"}) {
      EXPECT_EQ(kr({operation, "foreign"}).status, 1) << operation;
    }
    bad({"add", "foreign", "f"}, "foreign: not a storage of kr vfs");
    EXPECT_EQ(read("foreign"), bytes);
  }
  bad({"ls", "missing"}, "missing: no such file");
  bad({"add", "s", "f", "missing"}, "missing: No such file");
  EXPECT_FALSE(fs::exists(path("s")));
}

TEST_F(Vfs, CheckFindsAChangedByteOfAFile) {
  write("t/damaged file with a long name", std::string(500, 'x') + "the quick brown fox");
  write("t/other", "sound");
  good({"add", "s", "t"});
  std::string bytes = read("s");
  bytes[bytes.find("quick brown") + 3] = '?';
  write("s", bytes);
  const Outcome outcome = kr({"check", "s"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.err.find("damaged"), std::string::npos) << outcome.err;
  EXPECT_EQ(good({"cat", "s", "t/other"}), "sound");
  bad({"cat", "s", "t/damaged file with a long name"}, "damaged");
  bad({"get", "s", "-C", "out"}, "damaged");
  EXPECT_EQ(read("out/t/other"), "sound");
  good({"rm", "s", "t/damaged file with a long name"});
  EXPECT_NE(good({"check", "s"}).find("no damage"), std::string::npos);
}

TEST_F(Vfs, UsageIsToldWithStatus2) {
  for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
           {}, {"nonsense"}, {"ls"}, {"add", "s"}, {"ls", "s", "a", "b"}, {"get", "s", "-C"}}) {
    const Outcome outcome = kr(arguments);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_NE(outcome.err, "");
  }
  for (const char* operation : {"add", "ls", "tree", "cat", "get", "rm", "info", "check"}) {
    const std::string help = good({operation, "--help"});
    EXPECT_NE(help.find("kr vfs " + std::string(operation) + ' '), std::string::npos) << help;
  }
}

}  // namespace
