#include "krdcmmn/platform/files.h"

#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "krdcmmn/platform/errors.h"
#include "krdcmmn/platform/memory.h"  // PAGE_READWRITE

#include "tests/support/temp_dir.h"

namespace {

using krtest::ReadBytes;
using krtest::WriteBytes;

constexpr DWORD kReadWrite = GENERIC_READ | GENERIC_WRITE;

HANDLE Open(const std::string& path, DWORD access = kReadWrite, DWORD disposition = OPEN_ALWAYS) {
  return CreateFileA(path.c_str(), access, 0, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

class FilesTest : public testing::Test {
 protected:
  ~FilesTest() override { SetFileHook({}); }

  // Bytes read at the position; "FALSE" with the error's number when the call fails.
  std::string Read(HANDLE file, DWORD size) {
    std::string bytes(size, '?');
    DWORD done = 0;
    if (ReadFile(file, bytes.data(), size, &done, nullptr) == FALSE) {
      return "FALSE " + std::to_string(GetLastError());
    }
    return bytes.substr(0, done);
  }

  // Bytes written, negated when the call fails.
  int Write(HANDLE file, const std::string& bytes) {
    DWORD done = 0;
    const BOOL good =
        WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &done, nullptr);
    return good != FALSE ? static_cast<int>(done) : -1 - static_cast<int>(done);
  }

  krtest::TempDir dir_;
  const std::string path_ = dir_.file("a");
};

TEST_F(FilesTest, DispositionsOpenCreateAndEmpty) {
  struct Row {
    DWORD disposition;
    bool exists;
    DWORD error;
    const char* content;
  };
  const Row rows[] = {
      {OPEN_EXISTING, false, ENOENT, ""}, {OPEN_EXISTING, true, 0, "old"},
      {OPEN_ALWAYS, false, 0, ""},        {OPEN_ALWAYS, true, 0, "old"},
      {CREATE_ALWAYS, false, 0, ""},      {CREATE_ALWAYS, true, 0, ""},
      {77, true, EINVAL, "old"},
  };
  for (const Row& row : rows) {
    for (const DWORD access : {kReadWrite, GENERIC_READ, GENERIC_WRITE}) {
      SCOPED_TRACE(testing::Message() << row.disposition << row.exists << " " << access);
      unlink(path_.c_str());
      if (row.exists) {
        WriteBytes(path_, "old");
      }
      SetLastError(0);
      const HANDLE file = Open(path_, access, row.disposition);
      EXPECT_EQ(file == INVALID_HANDLE_VALUE, row.error != 0);
      EXPECT_EQ(GetLastError(), row.error);
      EXPECT_EQ(CloseHandle(file), row.error == 0 ? TRUE : FALSE);
      EXPECT_EQ(ReadBytes(path_), row.content);
    }
  }
  for (const DWORD access : {GENERIC_READ, GENERIC_WRITE}) {
    EXPECT_EQ(Open(dir_.path().string(), access, OPEN_EXISTING), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD{EISDIR});
  }
  EXPECT_EQ(Open(path_, 0, OPEN_EXISTING), INVALID_HANDLE_VALUE);
}

TEST_F(FilesTest, TransfersMoveThePositionAndStopAtTheEnd) {
  const HANDLE file = Open(path_);
  EXPECT_EQ(Write(file, "0123456789"), 10);
  EXPECT_EQ(SetFilePointer(file, 4, nullptr, FILE_BEGIN), 4u);
  EXPECT_EQ(Read(file, 3), "456");
  EXPECT_EQ(Read(file, 100), "789");
  EXPECT_EQ(Read(file, 100), "");
  EXPECT_EQ(SetFilePointer(file, -8, nullptr, FILE_CURRENT), 2u);
  EXPECT_EQ(Write(file, "xy"), 2);
  EXPECT_EQ(SetFilePointer(file, -5, nullptr, FILE_END), 5u);
  EXPECT_TRUE(SetEndOfFile(file));
  EXPECT_EQ(GetFileSize(file, nullptr), 5u);
  EXPECT_EQ(SetFilePointer(file, 8, nullptr, FILE_BEGIN), 8u);
  EXPECT_TRUE(SetEndOfFile(file));
  EXPECT_TRUE(FlushFileBuffers(file));
  EXPECT_TRUE(CloseHandle(file));
  EXPECT_EQ(ReadBytes(path_), std::string("01xy4\0\0\0", 8));
}

TEST_F(FilesTest, PositionsOf64Bits) {
  struct Row {
    LONG low;
    LONG high;
    bool wide;  // whether `high` is given
    DWORD method;
    std::int64_t position;  // -1: refused
  };
  const Row rows[] = {
      {-1, 0, true, FILE_BEGIN, 0xffffffff},
      {0, 1, true, FILE_BEGIN, 0x100000000},
      {-2, 0, false, FILE_BEGIN, 0xfffffffe},
      {-1, 0, false, FILE_CURRENT, 15},
      {-17, 0, false, FILE_CURRENT, -1},
      {-17, -1, true, FILE_CURRENT, -1},
      {-16, -1, true, FILE_CURRENT, 0},
      {0x7fffffff, 0, false, FILE_END, 0x80000002},
      {-1, 0x7fffffff, true, FILE_END, -1},
      {0, 1, true, FILE_END, 0x100000003},
      {0, 0, false, 3, -1},
  };
  const HANDLE file = Open(path_);
  Write(file, "abc");
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << row.low << " " << row.high << " " << row.method);
    ASSERT_EQ(SetFilePointer(file, 16, nullptr, FILE_BEGIN), 16u);
    LONG high = row.high;
    SetLastError(99);
    const DWORD low = SetFilePointer(file, row.low, row.wide ? &high : nullptr, row.method);
    if (row.position < 0) {
      EXPECT_EQ(low, INVALID_SET_FILE_POINTER);
      EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
      EXPECT_EQ(SetFilePointer(file, 0, nullptr, FILE_CURRENT), 16u) << "the position has moved";
    } else {
      EXPECT_EQ(low, static_cast<DWORD>(row.position & 0xffffffff));
      EXPECT_EQ(row.wide ? high : 0, static_cast<LONG>(row.wide ? row.position >> 32 : 0));
      EXPECT_EQ(GetLastError(), low == INVALID_SET_FILE_POINTER ? 0u : 99u);
    }
  }
  LONG high = 1;
  SetFilePointer(file, 7, &high, FILE_BEGIN);
  EXPECT_EQ(SetFilePointer(file, 0, nullptr, FILE_CURRENT), INVALID_SET_FILE_POINTER);
  EXPECT_TRUE(SetEndOfFile(file));
  DWORD size_high = 0;
  EXPECT_EQ(GetFileSize(file, &size_high), 7u);
  EXPECT_EQ(size_high, 1u);
  STAT64I32 info = {};
  EXPECT_EQ(_stat64i32(path_.c_str(), &info), -1) << "4 GiB in 32 bits";
  EXPECT_TRUE(CloseHandle(file));
  EXPECT_EQ(truncate(path_.c_str(), 0x7fffffff), 0);
  EXPECT_EQ(_stat64i32(path_.c_str(), &info), 0);
  EXPECT_EQ(info.st_size, 0x7fffffff);
  EXPECT_EQ(_stat64i32(dir_.file("missing").c_str(), &info), -1);
}

TEST_F(FilesTest, WhatNamesNoOpenFileIsRefusedEverywhere) {
  const HANDLE stale = Open(path_);
  ASSERT_TRUE(CloseHandle(stale));
  const HANDLE successor = Open(path_);
  ASSERT_NE(successor, stale);
  char byte = 0;
  const auto stray = [](std::uintptr_t value) { return reinterpret_cast<HANDLE>(value); };
  for (const HANDLE handle : {HANDLE{nullptr}, INVALID_HANDLE_VALUE, stale, stray(1), stray(4),
                              stray(0x12345678), static_cast<HANDLE>(&byte)}) {
    SCOPED_TRACE(handle);
    DWORD done = 9;
    SetLastError(0);
    EXPECT_FALSE(ReadFile(handle, &byte, 1, &done, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_EQ(done, 0u);
    EXPECT_FALSE(WriteFile(handle, &byte, 1, &done, nullptr));
    EXPECT_EQ(SetFilePointer(handle, 0, nullptr, FILE_BEGIN), INVALID_SET_FILE_POINTER);
    EXPECT_FALSE(SetEndOfFile(handle));
    EXPECT_FALSE(FlushFileBuffers(handle));
    EXPECT_EQ(GetFileSize(handle, nullptr), INVALID_FILE_SIZE);
    EXPECT_FALSE(ReserveFileSpace(handle, 1));
    EXPECT_EQ(CreateFileMappingA(handle, nullptr, PAGE_READONLY, 0, 0, nullptr), nullptr);
    EXPECT_EQ(MapViewOfFile(handle, FILE_MAP_READ, 0, 0, 0), nullptr);
    EXPECT_FALSE(CloseHandle(handle));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
  }
  EXPECT_FALSE(UnmapViewOfFile(&byte));
  EXPECT_TRUE(CloseHandle(successor));
}

TEST_F(FilesTest, AHandleDoesWhatItWasOpenedFor) {
  WriteBytes(path_, "abc");
  const HANDLE reader = Open(path_, GENERIC_READ, CREATE_ALWAYS);
  EXPECT_EQ(Write(reader, "x"), -1);
  EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
  EXPECT_FALSE(SetEndOfFile(reader));
  EXPECT_FALSE(ReserveFileSpace(reader, 1));
  EXPECT_TRUE(CloseHandle(reader));
  const HANDLE writer = Open(path_, GENERIC_WRITE);
  EXPECT_EQ(Write(writer, "x"), 1);
  EXPECT_EQ(Read(writer, 1), "FALSE " + std::to_string(EACCES));
  EXPECT_EQ(CreateFileMappingA(writer, nullptr, PAGE_READONLY, 0, 1, nullptr), nullptr);
  EXPECT_TRUE(CloseHandle(writer));
}

TEST_F(FilesTest, TheHookFailsAndShortensSteps) {
  std::string seen;
  FileVerdict verdict;
  SetFileHook([&](FileStep step, std::uint64_t position, DWORD size) {
    seen += "RWTFS"[static_cast<int>(step)] + std::to_string(position) + "+" +
            std::to_string(size) + " ";
    return verdict;
  });
  const HANDLE file = Open(path_, kReadWrite, CREATE_ALWAYS);
  verdict.limit = 4;
  EXPECT_EQ(Write(file, "0123456789"), 4);
  SetFilePointer(file, 1, nullptr, FILE_BEGIN);
  EXPECT_EQ(Read(file, 9), "123");
  verdict = {.error = ENOSPC};
  EXPECT_EQ(Write(file, "more"), -1);
  EXPECT_EQ(GetLastError(), ERROR_DISK_FULL);
  EXPECT_EQ(Read(file, 1), "FALSE " + std::to_string(ENOSPC));
  EXPECT_FALSE(SetEndOfFile(file));
  EXPECT_FALSE(FlushFileBuffers(file));
  EXPECT_FALSE(ReserveFileSpace(file, 77));
  EXPECT_EQ(seen, "T0+0 W0+10 R1+9 W4+4 R4+1 T4+0 F4+0 S4+77 ");
  EXPECT_TRUE(CloseHandle(file));
  EXPECT_EQ(ReadBytes(path_), "0123");
  EXPECT_EQ(Open(path_, kReadWrite, CREATE_ALWAYS), INVALID_HANDLE_VALUE);
  SetFileHook({});
  const HANDLE again = Open(path_);
  EXPECT_NE(again, INVALID_HANDLE_VALUE) << "a failed open has left its sharing behind";
  EXPECT_TRUE(CloseHandle(again));
}

TEST_F(FilesTest, ReservingSpaceShowsNothing) {
  const HANDLE file = Open(path_);
  Write(file, "abc");
  EXPECT_TRUE(ReserveFileSpace(file, 0));
  EXPECT_TRUE(ReserveFileSpace(file, 1 << 20));
  EXPECT_EQ(GetFileSize(file, nullptr), 3u);
  struct stat before = {};
  struct stat after = {};
  EXPECT_EQ(stat(path_.c_str(), &before), 0);
  EXPECT_FALSE(ReserveFileSpace(file, std::uint64_t{1} << 60));
  EXPECT_FALSE(ReserveFileSpace(file, ~std::uint64_t{0}));
  EXPECT_EQ(stat(path_.c_str(), &after), 0);
  EXPECT_LE(after.st_blocks, before.st_blocks);
  EXPECT_TRUE(CloseHandle(file));
  EXPECT_EQ(ReadBytes(path_), "abc");
}

TEST_F(FilesTest, AViewOutlivesItsHandlesButNotTheirSharing) {
  WriteBytes(path_, "abcdef");
  const HANDLE file = Open(path_);
  const HANDLE mapping = CreateFileMappingA(file, nullptr, PAGE_READWRITE, 0, 6, nullptr);
  auto* const view = static_cast<char*>(MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 0));
  ASSERT_NE(view, nullptr);
  EXPECT_TRUE(CloseHandle(file));
  const HANDLE early = Open(path_);
  EXPECT_NE(early, INVALID_HANDLE_VALUE) << "a mapping holds the file";
  auto* const second = static_cast<char*>(MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, 0));
  EXPECT_TRUE(CloseHandle(mapping));
  view[1] = 'X';
  EXPECT_EQ(std::string(second, 6), "aXcdef");
  EXPECT_EQ(Read(early, 9), "aXcdef");
  EXPECT_TRUE(CloseHandle(early));
  EXPECT_TRUE(UnmapViewOfFile(view));
  EXPECT_FALSE(UnmapViewOfFile(view));
  EXPECT_TRUE(UnmapViewOfFile(second));
}

TEST_F(FilesTest, AMappingNeverChangesTheLength) {
  const HANDLE file = Open(path_);
  EXPECT_EQ(CreateFileMappingA(file, nullptr, PAGE_READWRITE, 0, 0, nullptr), nullptr);
  Write(file, "abcdef");
  EXPECT_EQ(CreateFileMappingA(file, nullptr, PAGE_READWRITE, 0, 7, nullptr), nullptr);
  EXPECT_EQ(CreateFileMappingA(file, nullptr, PAGE_READWRITE, 1, 0, nullptr), nullptr);
  EXPECT_EQ(GetFileSize(file, nullptr), 6u);
  const HANDLE mapping = CreateFileMappingA(file, nullptr, PAGE_READONLY, 0, 3, nullptr);
  EXPECT_EQ(MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 0), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
  EXPECT_TRUE(CloseHandle(mapping));
  EXPECT_TRUE(CloseHandle(file));
}

}  // namespace
