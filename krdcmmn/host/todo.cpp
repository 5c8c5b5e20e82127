#include "krdcmmn/host/todo.h"

#include <algorithm>
#include <cwchar>

#include "krdcmmn/host/codepage.h"
#include "krdcmmn/host/system_error.h"
#include "krdcmmn/platform/ui.h"

namespace {

// The report's text. It is in code page 1251, whatever the process's page is; in UTF-8 it reads
//
//   Вызов нереализованной функции
//   '%1',
//   Автор: %2
//   Файл: '%3', Строка %4.
//   Перейти в отладку?
//
// (Call of a function that is not implemented: function, author, file, line. Go to debugging?)
// clang-format off
constexpr char kReport[] =
    "\xc2\xfb\xe7\xee\xe2 \xed\xe5\xf0\xe5\xe0\xeb\xe8\xe7\xee\xe2\xe0\xed\xed\xee\xe9 \xf4\xf3\xed\xea\xf6\xe8\xe8\n"
    "'%1',\n"
    "\xc0\xe2\xf2\xee\xf0: %2\n"
    "\xd4\xe0\xe9\xeb: '%3', \xd1\xf2\xf0\xee\xea\xe0 %4.\n"
    "\xcf\xe5\xf0\xe5\xe9\xf2\xe8 \xe2 \xee\xf2\xeb\xe0\xe4\xea\xf3?";
// clang-format on

// A whole number as decimal digits, in both forms.
class NumberText {
 public:
  explicit NumberText(int number) {
    wchar_t digits[15] = {};
    std::swprintf(digits, std::size(digits), L"%d", number);
    wide_ = digits;
    narrow_ = WideToAnsi(wide_.c_str(), static_cast<unsigned>(wide_.size()));
  }

  const char* narrow() const { return narrow_.c_str(); }

 private:
  std::string narrow_;
  std::wstring wide_;
};

}  // namespace

ExceptionNotImplemented::ExceptionNotImplemented(const std::string& message) : message_(message) {}

ExceptionNotImplemented::ExceptionNotImplemented(const ExceptionNotImplemented& other) = default;

// NOLINTNEXTLINE(misc-unconventional-assign-operator)
ExceptionNotImplemented& ExceptionNotImplemented::operator=(ExceptionNotImplemented& other) =
    default;

ExceptionNotImplemented::~ExceptionNotImplemented() = default;

const char* ExceptionNotImplemented::what() const noexcept {
  return message_.c_str();
}

bool ShowTodoMessage(bool doThrow, const char* function, const char* author, const char* file,
                     int line) {
  const NumberText digits(line);
  const std::string text = FormatText(kReport, function, author, file, digits.narrow());
  if (doThrow) {
    throw ExceptionNotImplemented(text);
  }
  return MessageBoxA(nullptr, text.c_str(), "Not Implemented",
                     MB_YESNO | MB_ICONEXCLAMATION | MB_DEFBUTTON2 | MB_TASKMODAL) == IDYES;
}
