#include "krdcmmn/host/trace.h"

#include <filesystem>
#include <functional>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include "krdcmmn/host/codepage.h"
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

TEST_F(Trace, RunsAppendTextsCutToALineBuffer) {
  InNewProcess(temp.path(), [] { krTrace_File("run %d\n", 1); });
  InNewProcess(temp.path(), [] {
    for (const std::size_t size : {1u, 511u, 512u, 100000u}) {
      krTrace_File("%s", std::string(size, 'x').c_str());
    }
  });
  EXPECT_EQ(Log("krtrace.log"), "run 1\n" + std::string(1 + 3 * 511, 'x'));

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
    krTrace_SetFileName("last.log");
    krTrace_File("last");
  });
  EXPECT_EQ(Log("missing/krtrace.log"), "found");
  EXPECT_EQ(Log("last.log"), "last");
}

TEST(Todo, ReportIsThrownOrAskedWithNoAsTheDefault) {
  const std::string utf8 =
      "Вызов нереализованной функции\n'Draw()',\nАвтор: me\nФайл: 'a b.cpp', Строка -12.\n"
      "Перейти в отладку?";
  const std::string report = Utf8ToAnsi(utf8.data(), static_cast<unsigned>(utf8.size()));
  int answer = 0;  // of the box; 0: it must not open
  SetMessageBoxHandler([&](HWND owner, const char* text, const char* caption, UINT style) {
    EXPECT_NE(answer, 0);
    EXPECT_EQ(owner, nullptr);
    EXPECT_EQ(text, report);
    EXPECT_STREQ(caption, "Not Implemented");
    EXPECT_EQ(style, 0x2134u);
    return answer;
  });
  try {
    ShowTodoMessage(true, "Draw()", "me", "a b.cpp", -12);
    ADD_FAILURE() << "no exception";
  } catch (ExceptionNotImplemented& e) {
    ExceptionNotImplemented copy("");
    copy = e;
    EXPECT_EQ(ExceptionNotImplemented(copy).what(), report);
  }
  answer = IDYES;
  EXPECT_TRUE(ShowTodoMessage(false, "Draw()", "me", "a b.cpp", -12));
  answer = IDNO;
  EXPECT_FALSE(ShowTodoMessage(false, "Draw()", "me", "a b.cpp", -12));
  SetMessageBoxHandler({});
  EXPECT_FALSE(ShowTodoMessage(false, nullptr, nullptr, "%1", 0));
}

}  // namespace
