#include "krdcmmn/host/file.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>

#include "krdcmmn/host/failure_text.h"
#include "krdcmmn/host/mapfile.h"
#include "krdcmmn/host/system_error.h"
#include "krdcmmn/platform/errors.h"
#include "krdcmmn/platform/files.h"
#include "krdcmmn/xml/message_container.h"

#include "gtest/gtest.h"
#include "tests/support/temp_dir.h"

namespace {

// What an exception about `path` says for the host's error `code`.
std::string Says(const char* message, const std::string& path, int code) {
  const char* text = SystemMessageContainer().find(message);
  return FormatText(text != nullptr ? text : "%1: %2", path.c_str(), std::strerror(code));
}

// The text of the exception that `call` throws; nothing when it throws none.
template <typename Exception, typename Call>
std::optional<std::string> TextOf(Call call) {
  try {
    call();
  } catch (const Exception& e) {
    const Exception copy(e);
    EXPECT_STREQ(copy.what(), e.what());
    return e.what();
  }
  return std::nullopt;
}

template <typename Call>
std::optional<std::string> FileText(Call call) {
  return TextOf<kr::file::FileExcept>(call);
}

template <typename Call>
std::optional<std::string> MapText(Call call) {
  return TextOf<kr::mapfile::MapExcept>(call);
}

class File : public testing::Test {
 protected:
  ~File() override { SetFileHook({}); }

  std::string Made(const std::string& name, const std::string& bytes = "0123456789") const {
    krtest::WriteBytes(temp.file(name), bytes);
    return temp.file(name);
  }

  krtest::TempDir temp;
};

using MapFile = File;

TEST_F(File, ModesMakeKeepOrEmptyTheFile) {
  const struct {
    bool there, write, truncate;
    std::optional<std::string> after;  // none: the open fails
  } rows[] = {
      {true, false, false, "old"}, {true, false, true, "old"}, {true, true, false, "old"},
      {true, true, true, ""},      {false, false, false, {}},  {false, false, true, {}},
      {false, true, false, ""},    {false, true, true, ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.there << row.write << row.truncate);
    const std::string path = temp.file("f");
    std::filesystem::remove(path);
    if (row.there) {
      krtest::WriteBytes(path, "old");
    }
    kr::file file;
    const auto failure =
        FileText([&] { EXPECT_TRUE(file.open(path.c_str(), row.write, false, row.truncate)); });
    EXPECT_EQ(failure.has_value(), !row.after.has_value());
    EXPECT_EQ(file.isgood(), row.after.has_value());
    EXPECT_EQ(file.name(), row.after.has_value() ? path : "");
    EXPECT_EQ(std::filesystem::exists(path), row.after.has_value());
    EXPECT_EQ(krtest::ReadBytes(path), row.after.value_or(""));
    if (failure) {
      EXPECT_EQ(*failure, Says("kr_File_Error", path, ENOENT));
    }
  }
}

TEST_F(File, SharingOfEachModeAgainstEachOther) {
  const std::string path = Made("f");
  const struct {
    bool write, exclusive;
  } modes[] = {{false, false}, {true, false}, {false, true}, {true, true}};
  // Only a reader beside readers, and beside the one writer, who lets others read.
  const bool together[4][4] = {{true, true}, {true, false}, {}, {}};
  for (int first = 0; first < 4; ++first) {
    for (int second = 0; second < 4; ++second) {
      kr::file a;
      kr::file b;
      a.open(path.c_str(), modes[first].write, modes[first].exclusive, false);
      const auto failure = FileText(
          [&] { b.open(path.c_str(), modes[second].write, modes[second].exclusive, false); });
      EXPECT_EQ(!failure.has_value(), together[first][second]) << first << " " << second;
      if (failure) {
        EXPECT_EQ(*failure, Says("kr_File_Error", path, EBUSY));
      }
    }
  }
}

TEST_F(File, FailedOpenKeepsTheNameAndLeavesTheObjectClosed) {
  const std::string path = Made("f");
  kr::file file;
  file.open(path.c_str(), false, false, false);
  file.close();
  EXPECT_FALSE(file.isgood());
  EXPECT_TRUE(FileText([&] { file.open(temp.file("none").c_str(), false, false, false); }));
  EXPECT_EQ(file.name(), path);
  EXPECT_EQ(file.handle(), INVALID_HANDLE_VALUE);
}

TEST_F(File, TransfersAtThePosition) {
  const std::string path = temp.file("f");
  kr::file file;
  file.open(path.c_str(), true, true, true);
  EXPECT_EQ(file.write("hello world", 11), 11u);
  EXPECT_TRUE(file.setoffset(6, nullptr));
  char buffer[16] = {};
  EXPECT_EQ(file.read(buffer, 16), 5u);
  EXPECT_STREQ(buffer, "world");
  EXPECT_EQ(file.read(buffer, 16), 0u);
  file.setoffset(20, nullptr);
  EXPECT_TRUE(file.seteof());
  file.close();
  EXPECT_EQ(krtest::ReadBytes(path), "hello world" + std::string(9, '\0'));
}

TEST_F(File, PositionsOf64Bits) {
  const std::string path = temp.file("f");
  kr::file file;
  file.open(path.c_str(), true, true, true);
  std::int32_t high = 1;
  SetLastError(EIO);  // a low half of all ones is told from a failure
  EXPECT_TRUE(file.setoffset(-1, &high));
  EXPECT_EQ(high, 1);
  file.seteof();
  EXPECT_EQ(std::filesystem::file_size(path), 0x1ffffffffu);
  high = 0;
  EXPECT_TRUE(file.setoffset(5, &high));
  EXPECT_EQ(high, 0);
  file.seteof();
  EXPECT_EQ(std::filesystem::file_size(path), 5u);
  high = -1;
  EXPECT_EQ(FileText([&] { file.setoffset(0, &high); }), Says("kr_File_Error", path, EINVAL));
}

TEST_F(File, FailuresNameTheFileAndTheReason) {
  const std::string path = Made("f");
  kr::file file;
  char byte = 'x';
  EXPECT_EQ(FileText([&] { file.read(&byte, 1); }), Says("kr_File_Error", "", EBADF));
  file.open(path.c_str(), true, false, false);
  SetFileHook([](FileStep step, std::uint64_t, DWORD) {
    return FileVerdict{.error = DWORD(step == FileStep::kTruncate ? EFBIG : EIO)};
  });
  EXPECT_EQ(FileText([&] { file.read(&byte, 1); }), Says("kr_File_Error", path, EIO));
  EXPECT_EQ(FileText([&] { file.write(&byte, 1); }), Says("kr_File_Error", path, EIO));
  EXPECT_EQ(FileText([&] { file.seteof(); }), Says("kr_File_Error", path, EFBIG));
  SetFileHook([](FileStep, std::uint64_t, DWORD) { return FileVerdict{.limit = 3}; });
  EXPECT_EQ(file.write("abcdef", 6), 3u);  // a short transfer is no failure
}

TEST_F(File, CopiesShareTheHandle) {
  const std::string path = Made("f");
  kr::file original;
  original.open(path.c_str(), false, true, false);
  {
    kr::file copy(original);
    EXPECT_EQ(copy.handle(), original.handle());
    EXPECT_STREQ(copy.name(), path.c_str());
    original = kr::file();
  }
  kr::file other;  // the copy has closed what the original does not hold any more
  EXPECT_TRUE(other.open(path.c_str(), false, true, false));
}

TEST(FailureText, WithoutAMessageItIsPathAndReason) {
  SetLastError(ENOSPC);
  const std::string reason = std::strerror(ENOSPC);
  EXPECT_EQ(kr::hosttext::FailureText("no such message", "a%1b"), "a%1b: " + reason);
  SetLastError(ENOSPC);
  EXPECT_EQ(kr::hosttext::FailureText("no such message", nullptr), ": " + reason);
}

TEST_F(MapFile, ShowsTheWholeFile) {
  const std::string path = Made("f");
  kr::mapfile map;
  EXPECT_TRUE(map.open(path.c_str(), false, false));
  ASSERT_EQ(map.size(), 10u);
  EXPECT_EQ(std::memcmp(map.data(), "0123456789", 10), 0);
  EXPECT_TRUE(map.close());
  EXPECT_EQ(map.data(), nullptr);
  EXPECT_EQ(map.size(), 10u);
  EXPECT_TRUE(map.close());
}

TEST_F(MapFile, WritesReachTheFileAndItsLengthStays) {
  const std::string path = Made("f");
  {
    kr::mapfile map;
    map.open(path.c_str(), true, true);
    std::memcpy(map.data(), "AB", 2);
  }
  EXPECT_EQ(krtest::ReadBytes(path), "AB23456789");

  kr::file file;
  file.open(path.c_str(), true, false, false);
  kr::mapfile map;
  EXPECT_TRUE(map.open(file, true));
  std::memcpy(map.data(), "CD", 2);
  char bytes[2];
  EXPECT_EQ(file.read(bytes, 2), 2u);  // the file stays open
  EXPECT_EQ(std::string(bytes, 2), "CD");
}

TEST_F(MapFile, FailuresLeaveTheViewAndCloseTheFile) {
  const std::string empty = Made("empty", "");
  const std::string full = Made("full");
  kr::mapfile map;
  map.open(full.c_str(), false, false);
  EXPECT_EQ(MapText([&] { map.open(empty.c_str(), false, true); }),
            Says("kr_MapFile_Error", empty, EINVAL));
  EXPECT_EQ(MapText([&] { map.open(temp.file("none").c_str(), true, false); }),
            Says("kr_MapFile_Error", temp.file("none"), ENOENT));
  EXPECT_FALSE(std::filesystem::exists(temp.file("none")));
  EXPECT_EQ(map.size(), 10u);
  EXPECT_EQ(std::memcmp(map.data(), "0123456789", 10), 0);

  kr::file file;
  EXPECT_TRUE(file.open(empty.c_str(), true, true, false));  // nobody holds it any more
  EXPECT_EQ(MapText([&] { map.open(file, false); }), Says("kr_MapFile_Error", "", EINVAL));
  file.close();
  file.open(full.c_str(), false, false, false);
  EXPECT_EQ(MapText([&] { map.open(file, true); }), Says("kr_MapFile_Error", "", EACCES));
}

TEST_F(MapFile, SharingWhileTheFileIsOpened) {
  const std::string path = Made("f");
  kr::file held;
  kr::mapfile map;
  held.open(path.c_str(), true, false, false);
  EXPECT_EQ(MapText([&] { map.open(path.c_str(), false, false); }),
            Says("kr_MapFile_Error", path, EBUSY));  // it does not share writing
  held.close();
  held.open(path.c_str(), false, false, false);
  EXPECT_TRUE(map.open(path.c_str(), false, false));
  map.close();
  EXPECT_TRUE(MapText([&] { map.open(path.c_str(), false, true); }));
  held.close();
  EXPECT_TRUE(map.open(path.c_str(), true, true));
  EXPECT_TRUE(held.open(path.c_str(), true, true, false));  // a view alone shuts nobody out
}

TEST_F(MapFile, OfAHugeFileTheLowHalfOfTheLengthCounts) {
  const std::string path = Made("f");
  std::filesystem::resize_file(path, 0x10000000a);
  kr::mapfile map;
  EXPECT_TRUE(map.open(path.c_str(), false, false));
  EXPECT_EQ(map.size(), 10u);
  EXPECT_EQ(std::memcmp(map.data(), "0123456789", 10), 0);
}

TEST_F(MapFile, OneOfTwoCopiesReleasesTheView) {
  const std::string path = Made("f");
  kr::mapfile owner;
  owner.open(path.c_str(), false, false);
  {
    kr::mapfile copy;
    copy = owner;
    EXPECT_EQ(copy.data(), owner.data());
    copy = kr::mapfile();
    EXPECT_EQ(copy.data(), nullptr);
  }
  EXPECT_EQ(std::memcmp(owner.data(), "0123456789", owner.size()), 0);
}

}  // namespace
