#include "krdcmmn/host/file.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>

#include "krdcmmn/host/failure_text.h"
#include "krdcmmn/host/mapfile.h"
#include "krdcmmn/platform/errors.h"
#include "krdcmmn/platform/files.h"

#include "gtest/gtest.h"
#include "tests/support/temp_dir.h"

namespace {

// What the exceptions about `path` say for the host's error `code`.
std::string FileSays(const std::string& path, int code) {
  return "Error! File '" + path + "': " + std::strerror(code);
}
std::string MapSays(const std::string& path, int code) {
  return "Error on mapping '" + path + "': " + std::strerror(code);
}

// What a copy of the exception says that `call` throws; empty when it throws none.
template <typename Exception, typename Call>
std::string Thrown(Call call) {
  try {
    call();
  } catch (const Exception& e) {
    return Exception(e).what();
  }
  return {};
}

class File : public testing::Test {
 protected:
  ~File() override { SetFileHook({}); }

  // The text of a failed call on `file` or `map`.
  template <typename Call>
  std::string FileText(Call call) {
    return Thrown<kr::file::FileExcept>(call);
  }
  template <typename... Arguments>
  std::string MapText(Arguments&&... arguments) {
    return Thrown<kr::mapfile::MapExcept>([&] { map.open(arguments...); });
  }
  bool Shows(const std::string& bytes) const {
    return map.size() == bytes.size() && std::memcmp(map.data(), bytes.data(), bytes.size()) == 0;
  }
  std::string Made(const std::string& name, const std::string& bytes = "0123456789") const {
    krtest::WriteBytes(temp.file(name), bytes);
    return temp.file(name);
  }

  krtest::TempDir temp;
  const std::string path_of_f = Made("f");
  const char* const path = path_of_f.c_str();
  kr::file file;
  kr::mapfile map;
};

using MapFile = File;

TEST_F(File, ModesMakeKeepOrEmptyTheFile) {
  const struct {
    bool there, write, truncate, opens;
    const char* after;
  } rows[] = {
      {true, false, false, true, "old"}, {true, false, true, true, "old"},
      {true, true, false, true, "old"},  {true, true, true, true, ""},
      {false, false, false, false, ""},  {false, false, true, false, ""},
      {false, true, false, true, ""},    {false, true, true, true, ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.there << row.write << row.truncate);
    std::filesystem::remove(path);
    if (row.there) {
      Made("f", "old");
    }
    kr::file opened;
    EXPECT_EQ(FileText([&] { opened.open(path, row.write, false, row.truncate); }),
              row.opens ? "" : FileSays(path, ENOENT));
    EXPECT_EQ(opened.isgood(), row.opens);
    EXPECT_STREQ(opened.name(), row.opens ? path : "");
    EXPECT_EQ(std::filesystem::exists(path), row.opens);
    EXPECT_EQ(krtest::ReadBytes(path), row.after);
  }
}

TEST_F(File, SharingOfEachModeAgainstEachOther) {
  const struct {
    bool write, exclusive;
  } modes[] = {{false, false}, {true, false}, {false, true}, {true, true}};
  // Only a reader beside readers, and beside the one writer, who lets others read.
  const bool together[4][4] = {{true, true}, {true, false}, {}, {}};
  for (int first = 0; first < 4; ++first) {
    for (int second = 0; second < 4; ++second) {
      kr::file a;
      a.open(path, modes[first].write, modes[first].exclusive, false);
      kr::file b;
      EXPECT_EQ(
          FileText([&] { b.open(path, modes[second].write, modes[second].exclusive, false); }),
          together[first][second] ? "" : FileSays(path, EBUSY))
          << first << " " << second;
    }
  }
}

TEST_F(File, TransfersAtThePosition) {
  file.open(path, true, true, true);
  EXPECT_EQ(file.write("hello world", 11), 11u);
  EXPECT_TRUE(file.setoffset(6, nullptr));
  char buffer[16] = {};
  EXPECT_EQ(file.read(buffer, 16), 5u);
  EXPECT_STREQ(buffer, "world");
  EXPECT_EQ(file.read(buffer, 16), 0u);
  file.setoffset(20, nullptr);
  EXPECT_TRUE(file.seteof());
  file.close();
  EXPECT_FALSE(file.isgood());
  EXPECT_EQ(krtest::ReadBytes(path), "hello world" + std::string(9, '\0'));
}

TEST_F(File, PositionsOf64Bits) {
  file.open(path, true, true, true);
  std::int32_t high = 1;
  SetLastError(EIO);  // a low half of all ones is told from a failure
  EXPECT_TRUE(file.setoffset(-1, &high));
  EXPECT_EQ(high, 1);
  file.seteof();
  EXPECT_EQ(std::filesystem::file_size(path), 0x1ffffffffu);
  high = 0;
  EXPECT_TRUE(file.setoffset(5, &high));
  file.seteof();
  EXPECT_EQ(std::filesystem::file_size(path), 5u);
  high = -1;
  EXPECT_EQ(FileText([&] { file.setoffset(0, &high); }), FileSays(path, EINVAL));
}

TEST_F(File, FailuresNameTheFileAndTheReason) {
  char byte = 'x';
  EXPECT_EQ(FileText([&] { file.read(&byte, 1); }), FileSays("", EBADF));
  file.open(path, true, false, false);
  SetFileHook([](FileStep step, std::uint64_t, DWORD) {
    return FileVerdict{.error = DWORD(step == FileStep::kTruncate ? EFBIG : EIO)};
  });
  EXPECT_EQ(FileText([&] { file.read(&byte, 1); }), FileSays(path, EIO));
  EXPECT_EQ(FileText([&] { file.write(&byte, 1); }), FileSays(path, EIO));
  EXPECT_EQ(FileText([&] { file.seteof(); }), FileSays(path, EFBIG));
  SetFileHook([](FileStep, std::uint64_t, DWORD) { return FileVerdict{.limit = 3}; });
  EXPECT_EQ(file.write("abcdef", 6), 3u);  // a short transfer is no failure

  file.close();
  EXPECT_NE(FileText([&] { file.open("/none/such", true, false, false); }), "");
  EXPECT_STREQ(file.name(), path);  // of the last success
}

TEST_F(File, CopiesShareTheHandle) {
  file.open(path, false, true, false);
  {
    const kr::file copy(file);
    EXPECT_EQ(copy.handle(), file.handle());
    EXPECT_STREQ(copy.name(), path);
    file = kr::file();
  }
  // The copy has closed what the original does not hold any more.
  EXPECT_TRUE(file.open(path, false, true, false));
}

TEST(FailureText, WithoutAMessageItIsPathAndReason) {
  SetLastError(ENOSPC);
  const std::string reason = std::strerror(ENOSPC);
  EXPECT_EQ(kr::hosttext::FailureText("no such message", "a%1b"), "a%1b: " + reason);
  EXPECT_EQ(kr::hosttext::FailureText("no such message", nullptr), ": " + reason);
}

TEST_F(MapFile, WritesReachTheFileAndItsLengthStays) {
  EXPECT_TRUE(map.open(path, true, true));
  EXPECT_TRUE(Shows("0123456789"));
  std::memcpy(map.data(), "AB", 2);
  EXPECT_TRUE(map.close());
  EXPECT_EQ(map.data(), nullptr);
  EXPECT_EQ(map.size(), 10u);
  EXPECT_EQ(krtest::ReadBytes(path), "AB23456789");

  file.open(path, true, false, false);
  EXPECT_TRUE(map.open(file, true));
  std::memcpy(map.data(), "CD", 2);
  char bytes[2];
  EXPECT_EQ(file.read(bytes, 2), 2u);  // the file stays open
  EXPECT_EQ(std::string(bytes, 2), "CD");
}

TEST_F(MapFile, FailuresLeaveTheViewAndCloseTheFile) {
  const std::string empty = Made("empty", "");
  const std::string none = temp.file("none");
  map.open(path, false, false);
  EXPECT_EQ(MapText(empty.c_str(), false, true), MapSays(empty, EINVAL));
  EXPECT_EQ(MapText(none.c_str(), true, false), MapSays(none, ENOENT));
  EXPECT_FALSE(std::filesystem::exists(none));
  EXPECT_EQ(map.size(), 0u);  // of the empty file
  EXPECT_EQ(std::memcmp(map.data(), "0123456789", 10), 0);

  EXPECT_TRUE(file.open(empty.c_str(), true, true, false));  // nobody holds it any more
  EXPECT_EQ(MapText(file, false), MapSays("", EINVAL));
  file.close();
  file.open(path, false, false, false);
  EXPECT_EQ(MapText(file, true), MapSays("", EACCES));
}

TEST_F(MapFile, SharingWhileTheFileIsOpened) {
  file.open(path, true, false, false);
  EXPECT_EQ(MapText(path, false, false), MapSays(path, EBUSY));  // it does not share writing
  file.close();
  file.open(path, false, false, false);
  EXPECT_EQ(MapText(path, false, false), "");
  map.close();
  EXPECT_EQ(MapText(path, false, true), MapSays(path, EBUSY));
  file.close();
  EXPECT_TRUE(map.open(path, true, true));
  EXPECT_TRUE(file.open(path, true, true, false));  // a view alone shuts nobody out
}

TEST_F(MapFile, OfAHugeFileTheLowHalfOfTheLengthCounts) {
  std::filesystem::resize_file(path, 0x10000000a);
  EXPECT_TRUE(map.open(path, false, false));
  EXPECT_TRUE(Shows("0123456789"));
}

TEST_F(MapFile, OneOfTwoCopiesReleasesTheView) {
  map.open(path, false, false);
  {
    kr::mapfile copy;
    copy = map;
    EXPECT_EQ(copy.data(), map.data());
    copy = kr::mapfile();
  }
  EXPECT_TRUE(Shows("0123456789"));
}

}  // namespace
