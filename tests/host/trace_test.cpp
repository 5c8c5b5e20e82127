#include "krdcmmn/host/trace.h"

#include <filesystem>
#include <functional>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "krdcmmn/host/todo.h"
#include "krdcmmn/platform/ui.h"

#include "gtest/gtest.h"
#include "tests/support/temp_dir.h"

namespace {

using KRDTOOLS::krTrace_File;
using KRDTOOLS::krTrace_SetFileName;

// Runs `steps` in `directory` as a process of its own, with its own trace from the start.
void InNewProcess(const std::filesystem::path& directory, const std::function<void()>& steps) {
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    std::filesystem::current_path(directory);
    steps();
    std::_Exit(0);  // without a flush: what is not in the file by now is lost
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
}

class Trace : public testing::Test {
 protected:
  std::string Log(const std::string& name) const { return krtest::ReadBytes(temp.file(name)); }

  krtest::TempDir temp;
};

TEST_F(Trace, RunsAppendToTheDefaultFile) {
  InNewProcess(temp.path(), [] { krTrace_File("run %d\n", 1); });
  InNewProcess(temp.path(), [] {
    krTrace_File("run %d: ", 2);
    krTrace_File("%s", "done\n");
  });
  EXPECT_EQ(Log("krtrace.log"), "run 1\nrun 2: done\n");
}

TEST_F(Trace, LongTextsAreCut) {
  InNewProcess(temp.path(), [] {
    for (const std::size_t size : {511u, 512u, 600u, 100000u}) {
      krTrace_File("%s", std::string(size, 'x').c_str());
    }
  });
  EXPECT_EQ(Log("krtrace.log"), std::string(4 * 511, 'x'));

  std::string text;
  SetDebugTextHandler([&](const char* shown) { text = shown; });
  KRDTOOLS::krTrace_Debug("%0600d", 7);
  SetDebugTextHandler({});
  EXPECT_EQ(text, std::string(511, '0'));
}

TEST_F(Trace, OpenLogMovesAtOnceAndAClosedOneAtTheFirstText) {
  InNewProcess(temp.path(), [] {
    krTrace_SetFileName("first.log");
    EXPECT_FALSE(std::filesystem::exists("first.log"));
    krTrace_SetFileName(nullptr);
    krTrace_File("one");
    krTrace_SetFileName("second.log");
    EXPECT_TRUE(std::filesystem::exists("second.log"));
    krTrace_SetFileName(nullptr);
    krTrace_File("two");
    // The stream stays on its file as long as the name stays, whatever becomes of the file.
    std::filesystem::rename("second.log", "moved.log");
    krTrace_SetFileName("second.log");
    krTrace_File("three");
    std::_Exit(testing::Test::HasFailure() ? 1 : 0);
  });
  EXPECT_EQ(Log("first.log"), "one");
  EXPECT_EQ(Log("moved.log"), "twothree");
  EXPECT_FALSE(std::filesystem::exists(temp.file("second.log")));
}

TEST_F(Trace, FailuresAreSilentAndTheNextTextTriesAgain) {
  InNewProcess(temp.path(), [] {
    krTrace_SetFileName("missing/krtrace.log");
    krTrace_File("lost");
    std::filesystem::create_directory("missing");
    krTrace_File("found");
    krTrace_SetFileName("missing");  // a directory
    krTrace_File("lost");
    krTrace_SetFileName("/dev/full");
    krTrace_File("lost");
    krTrace_File("lost");
    krTrace_SetFileName("last.log");
    krTrace_File("last");
  });
  EXPECT_EQ(Log("missing/krtrace.log"), "found");
  EXPECT_EQ(Log("last.log"), "last");
}

// "Call of a function that is not implemented", "author", "file", "line" and the question, in 1251.
const char kReport[] =
    "\xc2\xfb\xe7\xee\xe2 \xed\xe5\xf0\xe5\xe0\xeb\xe8\xe7\xee\xe2\xe0\xed\xed\xee\xe9 "
    "\xf4\xf3\xed\xea\xf6\xe8\xe8\n'Draw()',\n\xc0\xe2\xf2\xee\xf0: me\n"
    "\xd4\xe0\xe9\xeb: 'a b.cpp', \xd1\xf2\xf0\xee\xea\xe0 -12.\n"
    "\xcf\xe5\xf0\xe5\xe9\xf2\xe8 \xe2 \xee\xf2\xeb\xe0\xe4\xea\xf3?";

TEST(Todo, ThrowsTheReportWithoutABox) {
  int boxes = 0;
  SetMessageBoxHandler([&](HWND, const char*, const char*, UINT) { return ++boxes; });
  try {
    ShowTodoMessage(true, "Draw()", "me", "a b.cpp", -12);
    ADD_FAILURE() << "no exception";
  } catch (const ExceptionNotImplemented& e) {
    const ExceptionNotImplemented copy(e);
    ExceptionNotImplemented assigned("");
    ExceptionNotImplemented source(e);
    assigned = source;
    EXPECT_STREQ(copy.what(), kReport);
    EXPECT_STREQ(assigned.what(), kReport);
  }
  SetMessageBoxHandler({});
  EXPECT_EQ(boxes, 0);
}

TEST(Todo, AsksWithNoAsTheDefault) {
  for (const int answer : {IDYES, IDNO}) {
    SetMessageBoxHandler([&](HWND owner, const char* text, const char* caption, UINT style) {
      EXPECT_EQ(owner, nullptr);
      EXPECT_STREQ(text, kReport);
      EXPECT_STREQ(caption, "Not Implemented");
      EXPECT_EQ(style, 0x2134u);
      return answer;
    });
    EXPECT_EQ(ShowTodoMessage(false, "Draw()", "me", "a b.cpp", -12), answer == IDYES);
  }
  SetMessageBoxHandler({});
  testing::internal::CaptureStderr();
  EXPECT_FALSE(ShowTodoMessage(false, nullptr, "%1", "", 2147483647));
  EXPECT_NE(testing::internal::GetCapturedStderr().find("'',\n\xc0\xe2\xf2\xee\xf0: %1\n"),
            std::string::npos);
}

}  // namespace
