#include <csignal>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "krdcmmn/platform/errors.h"
#include "krdcmmn/platform/files.h"

#include "tests/support/temp_dir.h"

namespace {

constexpr DWORD kReadWrite = GENERIC_READ | GENERIC_WRITE;
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE;
constexpr DWORD kAccesses[] = {GENERIC_READ, GENERIC_WRITE, kReadWrite};
constexpr DWORD kShares[] = {0, FILE_SHARE_READ, FILE_SHARE_WRITE, kShareAll};

HANDLE Open(const std::string& path, DWORD access, DWORD share, DWORD disposition = OPEN_EXISTING) {
  return CreateFileA(path.c_str(), access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL,
                     nullptr);
}

// Whether a handle can be had; gives it back at once.
bool CanOpen(const std::string& path, DWORD access, DWORD share) {
  const HANDLE file = Open(path, access, share);
  if (file == INVALID_HANDLE_VALUE) {
    EXPECT_EQ(GetLastError(), ERROR_SHARING_VIOLATION);
    return false;
  }
  return CloseHandle(file) != FALSE;
}

// Runs `work` in a process of its own and gives its exit status.
int InProcess(const std::function<int()>& work) {
  const pid_t child = fork();
  if (child == 0) {
    _exit(work());
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// What reading, writing, or both allow and want, as bits of the sharing.
DWORD Wants(DWORD access) {
  return ((access & GENERIC_READ) != 0 ? FILE_SHARE_READ : 0) |
         ((access & GENERIC_WRITE) != 0 ? FILE_SHARE_WRITE : 0);
}

class FileSharingTest : public testing::Test {
 protected:
  FileSharingTest() { krtest::WriteBytes(path_, "content"); }

  // Tries every second open against every first one.
  void CheckMatrix(const std::function<bool(DWORD, DWORD)>& second_open) {
    for (const DWORD access : kAccesses) {
      for (const DWORD share : kShares) {
        const HANDLE first = Open(path_, access, share);
        ASSERT_NE(first, INVALID_HANDLE_VALUE) << "left behind by an earlier one";
        for (const DWORD access2 : kAccesses) {
          for (const DWORD share2 : kShares) {
            const bool allowed = (Wants(access) & ~share2) == 0 && (Wants(access2) & ~share) == 0;
            EXPECT_EQ(second_open(access2, share2), allowed)
                << std::hex << access << "/" << share << " then " << access2 << "/" << share2;
          }
        }
        ASSERT_TRUE(CloseHandle(first));
      }
    }
  }

  krtest::TempDir dir_;
  const std::string path_ = dir_.file("a");
};

TEST_F(FileSharingTest, TheMatrixHoldsInsideOneProcess) {
  CheckMatrix([&](DWORD access, DWORD share) { return CanOpen(path_, access, share); });
}

TEST_F(FileSharingTest, TheMatrixHoldsBetweenProcesses) {
  CheckMatrix([&](DWORD access, DWORD share) {
    return InProcess([&] { return CanOpen(path_, access, share) ? 1 : 0; }) == 1;
  });
}

TEST_F(FileSharingTest, AReaderOfAReadOnlyFileShutsOutEverybody) {
  ASSERT_EQ(chmod(path_.c_str(), 0444), 0);
  const int outcome = InProcess([&] {
    // Without the rights of an administrator, who may write anything.
    if (geteuid() == 0 && (chmod(dir_.path().c_str(), 0755) != 0 || setuid(65534) != 0)) {
      return 10;
    }
    if (Open(path_, GENERIC_WRITE, kShareAll) != INVALID_HANDLE_VALUE) {
      return 11;
    }
    const HANDLE file = Open(path_, GENERIC_READ, 0);
    const int inside = CanOpen(path_, GENERIC_READ, kShareAll) ? 1 : 0;
    const int outside = InProcess([&] { return CanOpen(path_, GENERIC_READ, kShareAll) ? 1 : 0; });
    return file == INVALID_HANDLE_VALUE ? 12 : inside + 2 * outside;
  });
  EXPECT_EQ(outcome, 0);
  EXPECT_TRUE(CanOpen(path_, GENERIC_READ, 0));
}

TEST_F(FileSharingTest, WritersOfAFileThatNobodyMayReadKeepTheirSharing) {
  ASSERT_EQ(chmod(path_.c_str(), 0222), 0);
  const int outcome = InProcess([&] {
    if (geteuid() == 0 && (chmod(dir_.path().c_str(), 0755) != 0 || setuid(65534) != 0)) {
      return 10;
    }
    const HANDLE first = Open(path_, GENERIC_WRITE, FILE_SHARE_WRITE);
    const HANDLE second = Open(path_, GENERIC_WRITE, FILE_SHARE_WRITE);
    if (first == INVALID_HANDLE_VALUE || second == INVALID_HANDLE_VALUE) {
      return 11;
    }
    if (CanOpen(path_, GENERIC_WRITE, FILE_SHARE_READ)) {
      return 12;
    }
    CloseHandle(first);
    CloseHandle(second);
    return CanOpen(path_, GENERIC_WRITE, 0) ? 0 : 13;
  });
  EXPECT_EQ(outcome, 0);
}

TEST_F(FileSharingTest, OneFileUnderSeveralPathsIsOneFile) {
  std::filesystem::create_hard_link(path_, dir_.file("hard"));
  std::filesystem::create_symlink(path_, dir_.file("soft"));
  const HANDLE file = Open(path_, GENERIC_READ, FILE_SHARE_READ);
  for (const char* name : {"hard", "soft", "./a"}) {
    EXPECT_FALSE(CanOpen(dir_.file(name), kReadWrite, kShareAll)) << name;
    EXPECT_TRUE(CanOpen(dir_.file(name), GENERIC_READ, FILE_SHARE_READ)) << name;
  }
  EXPECT_TRUE(CloseHandle(file));
}

TEST_F(FileSharingTest, AFileThatIsHeldIsNotEmptied) {
  for (const DWORD share : {DWORD{0}, FILE_SHARE_READ}) {
    const HANDLE file = Open(path_, GENERIC_READ, share);
    for (const DWORD access : kAccesses) {
      EXPECT_EQ(Open(path_, access, kShareAll, CREATE_ALWAYS), INVALID_HANDLE_VALUE);
      EXPECT_EQ(GetLastError(), ERROR_SHARING_VIOLATION);
    }
    EXPECT_TRUE(CloseHandle(file));
  }
  EXPECT_EQ(krtest::ReadBytes(path_), "content");
}

TEST_F(FileSharingTest, SharingEndsWithTheProcessHoweverItEnds) {
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  const pid_t child = fork();
  if (child == 0) {
    const HANDLE file = Open(path_, kReadWrite, 0);
    const char told = file != INVALID_HANDLE_VALUE ? 'y' : 'n';
    _exit(write(ready[1], &told, 1) == 1 ? pause() : 1);
  }
  char told = 0;
  ASSERT_EQ(read(ready[0], &told, 1), 1);
  EXPECT_EQ(told, 'y');
  EXPECT_FALSE(CanOpen(path_, GENERIC_READ, kShareAll));
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_TRUE(CanOpen(path_, kReadWrite, 0));
  close(ready[0]);
  close(ready[1]);
}

TEST_F(FileSharingTest, AForkedProcessLeavesItsParentsHandlesAlone) {
  const HANDLE file = Open(path_, kReadWrite, 0);
  EXPECT_EQ(InProcess([&] { return CloseHandle(file) != FALSE ? 0 : 1; }), 0);
  EXPECT_FALSE(CanOpen(path_, GENERIC_READ, kShareAll));
  EXPECT_TRUE(CloseHandle(file));
}

// Adds one to the number in the file as often as it wins the file for itself, and gives how often.
int CountUp(const std::string& path, int rounds) {
  int wins = 0;
  for (int round = 0; round < rounds; ++round) {
    const HANDLE file = Open(path, kReadWrite, 0);
    if (file == INVALID_HANDLE_VALUE) {
      continue;
    }
    DWORD done = 0;
    int number = 0;
    ReadFile(file, &number, sizeof number, &done, nullptr);
    ++number;
    SetFilePointer(file, 0, nullptr, FILE_BEGIN);
    WriteFile(file, &number, sizeof number, &done, nullptr);
    CloseHandle(file);
    ++wins;
  }
  return wins;
}

TEST_F(FileSharingTest, OfManyExclusiveOpenersOneIsInAtATime) {
  int number = 0;
  krtest::WriteBytes(path_, std::string(sizeof number, '\0'));
  // Wins of two processes with two threads each, in memory that they share.
  constexpr std::size_t kSize = 4 * sizeof(int);
  auto* const wins = static_cast<int*>(
      mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  const auto race = [&](int* own) {
    std::thread other([&] { own[1] = CountUp(path_, 400); });
    own[0] = CountUp(path_, 400);
    other.join();
  };
  const pid_t child = fork();
  if (child == 0) {
    race(wins + 2);
    _exit(0);
  }
  race(wins);
  waitpid(child, nullptr, 0);
  krtest::ReadBytes(path_).copy(reinterpret_cast<char*>(&number), sizeof number);
  EXPECT_EQ(number, wins[0] + wins[1] + wins[2] + wins[3]);
  EXPECT_GT(number, 0);
  munmap(wins, kSize);
}

}  // namespace
