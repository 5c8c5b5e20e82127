#include "krdcmmn/host/system_error.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "krdcmmn/platform/errors.h"
#include "krdcmmn/platform/files.h"

namespace {

TEST(FormatText, FillsByNumberAndKeepsMissingInsertsEmpty) {
  EXPECT_EQ(FormatText("%2 then %1", "a", std::string("b").c_str()), "b then a");
  EXPECT_EQ(FormatText("%1!03d!%%", 7), "007%");
  EXPECT_EQ(FormatText("[%1|%2|%99|%5!d!]", "a"), "[a|||0]");
  EXPECT_EQ(FormatText("[%98!*.*s!|%99!*d!]"), "[|]") << "inserts beyond 99 are empty";
  EXPECT_EQ(FormatText(nullptr, "a"), "");
  EXPECT_EQ(FormatText(""), "");
}

TEST(LastErrorText, IsTheHostsTextOrNamesTheNumber) {
  SetLastError(ERROR_DISK_FULL);
  EXPECT_EQ(LastErrorText(), std::strerror(ENOSPC));
  EXPECT_EQ(GetLastError(), ERROR_DISK_FULL);
  SetLastError(99999);
  EXPECT_EQ(LastErrorText(), "Unknown error 99999");
  EXPECT_EQ(GetLastError(), 99999u);
}

TEST(SystemExceptions, KeepTheTextOfTheirMoment) {
  CreateFileA("/missing/file", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  std::string seen;
  try {
    throw krerr::Win32Ecept();
  } catch (const std::exception& error) {
    SetLastError(ERROR_DISK_FULL);
    seen = error.what();
  }
  EXPECT_EQ(seen, std::strerror(ENOENT));
  const krerr::Win32Ecept original;
  krerr::Win32Ecept copy = original;
  SetLastError(0);
  EXPECT_STREQ(copy.what(), std::strerror(ENOSPC));
  copy = krerr::Win32Ecept();
  EXPECT_STREQ(copy.what(), std::strerror(0));
  SetLastError(ENOENT);
  EXPECT_EQ(std::string(DllException("libexpat.dll").what()),
            std::string("libexpat.dll: \n") + std::strerror(ENOENT));
  EXPECT_EQ(std::string(DllException(nullptr).what()), std::string(": \n") + std::strerror(ENOENT));
}

}  // namespace
