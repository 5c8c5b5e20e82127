#include "krdcmmn/core/exception.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "krdcmmn/platform/ui.h"

namespace {

using KRD::EXCEPTION;
using KRD::MA_EXCEPTION;

struct Box {
  HWND owner;
  std::string text;
  std::string caption;
  UINT style;
};

class ExceptionTest : public testing::Test {
 protected:
  ExceptionTest() {
    SetMessageBoxHandler([this](HWND owner, const char* text, const char* caption, UINT style) {
      boxes_.push_back({owner, text, caption, style});
      return answer_;
    });
  }
  ~ExceptionTest() override { SetMessageBoxHandler({}); }

  std::vector<Box> boxes_;
  int answer_ = IDOK;
};

TEST_F(ExceptionTest, TextsByCodeAreCutAndTerminated) {
  const struct {
    int code;
    int size;
    const char* text;  // null: none
  } rows[] = {
      {1, 100, nullptr},
      {2, 100, "Out of memory."},
      {3, 100, "Out of memory."},
      {3, 15, "Out of memory."},
      {3, 14, "Out of memory"},
      {2, 5, "Out "},
      {2, 1, ""},
      {2, 0, nullptr},
      {5, 100, "Internal error."},
      {6, 100, "Internal error."},
      {7, 100, nullptr},
  };
  for (const auto& row : rows) {
    char text[100];
    std::memset(text, 'x', sizeof text);
    const MA_EXCEPTION exception(row.code, 7, 8, 9, false);
    ASSERT_EQ(exception.GetErrorMessage(text, row.size), row.text != nullptr) << row.code;
    if (row.text == nullptr) {
      EXPECT_EQ(text[0], 'x');
    } else {
      EXPECT_STREQ(text, row.text);
      EXPECT_EQ(text[row.size - 1], '\0');
      EXPECT_TRUE(row.size == 100 || text[row.size] == 'x');
    }
  }
}

TEST_F(ExceptionTest, OnlyTooManyElementsAreShown) {
  for (const int code : {1, 2, 3, 5, 6, 7}) {
    EXPECT_EQ(MA_EXCEPTION(code, 1, 2, 3, false).ReportError(nullptr), 0);
  }
  EXPECT_EQ(EXCEPTION(4, false).ReportError(nullptr), 0);  // has no text
  EXPECT_TRUE(boxes_.empty());

  const MA_EXCEPTION exception(4, 15625001, 64, 0, false);
  EXPECT_EQ(exception.ReportError(nullptr), IDOK);
  EXPECT_EQ(exception.ReportError("mine"), IDOK);
  ASSERT_EQ(boxes_.size(), 2u);
  EXPECT_EQ(boxes_[0].owner, GetDesktopWindow());
  EXPECT_NE(boxes_[0].text.find("15625001"), std::string::npos);
  EXPECT_NE(boxes_[0].text.find("64"), std::string::npos);
  EXPECT_EQ(boxes_[0].caption, "Error");
  EXPECT_EQ(boxes_[0].style, 0x2010u);
  EXPECT_EQ(boxes_[1].caption, "mine");
}

TEST_F(ExceptionTest, DeleteKeepsWhatIsOwnedElsewhere) {
  MA_EXCEPTION kept(6, 5, 0, 9, false);
  kept.Delete();
  EXPECT_EQ(kept.index, 9);
  try {
    KRD::ThrowException(new MA_EXCEPTION(kept));
  } catch (EXCEPTION* e) {
    EXPECT_EQ(static_cast<MA_EXCEPTION*>(e)->nElem, 5);
    e->autoDelete = true;
    e->Delete();
  }
}

TEST_F(ExceptionTest, WarningGoesOnUnlessItIsCancelled) {
  KRD::WARNING("%d doubts", 3);
  ASSERT_EQ(boxes_.size(), 1u);
  EXPECT_EQ(boxes_[0].owner, nullptr);
  EXPECT_EQ(boxes_[0].text, "3 doubts");
  EXPECT_EQ(boxes_[0].caption, "Error");
  EXPECT_EQ(boxes_[0].style, 0x2001u);
  answer_ = IDCANCEL;
  EXPECT_EXIT(KRD::WARNING("doubt"), testing::ExitedWithCode(1), "");
}

TEST(ExceptionDeathTest, FatalErrorIsShownCutAndEndsTheProcess) {
  const std::string long_text(2000, 'y');
  EXPECT_EXIT(KRD::GOERROR("x%s", long_text.c_str()), testing::ExitedWithCode(1),
              "Fatal error: xy{1022}\n");
}

}  // namespace
