#include "krdcmmn/platform/ui.h"

#include <gtest/gtest.h>
#include <string>

namespace {

TEST(Ui, BoxWithoutHandlerIsItsTextAndItsDefaultAnswer) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(MessageBoxA(nullptr, "text", "caption", MB_OKCANCEL), IDOK);
  EXPECT_EQ(MessageBoxA(nullptr, "go?", "todo", MB_YESNO | MB_DEFBUTTON2), IDNO);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "caption: text\ntodo: go?\n");
}

TEST(Ui, HandlersOfTheHostProgramReplaceTheDefaults) {
  std::string seen;
  SetMessageBoxHandler([&](HWND, const char* text, const char*, UINT) {
    seen += text;
    return IDCANCEL;
  });
  SetDebugTextHandler([&](const char* text) { seen += text; });
  EXPECT_EQ(MessageBoxA(GetDesktopWindow(), "a", "", MB_OKCANCEL), IDCANCEL);
  OutputDebugStringA("b");
  SetMessageBoxHandler({});
  SetDebugTextHandler({});
  OutputDebugStringA("c");
  EXPECT_EQ(seen, "ab");
}

}  // namespace
