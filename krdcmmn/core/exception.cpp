#include "krdcmmn/core/exception.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "krdcmmn/platform/ui.h"

namespace KRD {

namespace {

constexpr UINT kStopBox = MB_TASKMODAL | MB_ICONERROR;
constexpr std::size_t kTextSize = 1024;  // of GOERROR and WARNING, with the terminator

void FormatCut(char (&text)[kTextSize], const char* format, va_list arguments) {
  if (std::vsnprintf(text, sizeof text, format, arguments) < 0) {
    text[0] = '\0';
  }
}

// ReportError of the base class with this class's own title in the place of a null.
const char* TitleOr(const char* title, const char* own) {
  return title != nullptr ? title : own;
}

}  // namespace

EXCEPTION::EXCEPTION(std::int32_t error_code, bool auto_delete)
    : code(error_code), autoDelete(auto_delete) {}

EXCEPTION::~EXCEPTION() = default;

bool EXCEPTION::GetErrorMessage(char*, int) const {
  return false;
}

int EXCEPTION::ReportError(const char* title) const {
  char text[256] = "";
  if (code != 4 || !GetErrorMessage(text, 255)) {
    return 0;
  }
  return MessageBoxA(GetDesktopWindow(), text, TitleOr(title, "Generic EXCEPTION"), kStopBox);
}

void EXCEPTION::Delete() {
  if (autoDelete) {
    delete this;
  }
}

MA_EXCEPTION::MA_EXCEPTION(std::int32_t error_code, int n_elem, int size_elem, int bad_index,
                           bool auto_delete)
    : EXCEPTION(error_code, auto_delete), nElem(n_elem), sizeElem(size_elem), index(bad_index) {}

MA_EXCEPTION::~MA_EXCEPTION() = default;

bool MA_EXCEPTION::GetErrorMessage(char* text, int size) const {
  if (code < 2 || code > 6 || text == nullptr || size < 1) {
    return false;
  }
  const auto room = static_cast<std::size_t>(size);
  if (code == 4) {
    // A count above 31 bits was asked for as an unsigned number and is shown as one.
    std::snprintf(text, room, "An array cannot hold %u elements of %d bytes.",
                  static_cast<unsigned>(nElem), sizeElem);
  } else {
    std::snprintf(text, room, "%s", code < 4 ? "Out of memory." : "Internal error.");
  }
  text[room - 1] = '\0';
  return true;
}

int MA_EXCEPTION::ReportError(const char* title) const {
  return EXCEPTION::ReportError(TitleOr(title, "Error"));
}

void ThrowException(EXCEPTION* exception) {
  throw exception;
}

void GOERROR(const char* format, ...) {
  char text[kTextSize];
  va_list arguments;
  va_start(arguments, format);
  FormatCut(text, format, arguments);
  va_end(arguments);
  MessageBoxA(nullptr, text, "Fatal error", kStopBox);
  std::exit(1);
}

void WARNING(const char* format, ...) {
  char text[kTextSize];
  va_list arguments;
  va_start(arguments, format);
  FormatCut(text, format, arguments);
  va_end(arguments);
  if (MessageBoxA(nullptr, text, "Error", MB_TASKMODAL | MB_OKCANCEL) == IDCANCEL) {
    std::exit(1);
  }
}

const char* const TOOLS_ERROR_MESSAGE[3] = {
    "Out Of Memory.",
    "File \"%s\"\n can't be open in mode \"%s\".",
    "Assertion \"%s\" \n failed! Line %d \n File '%s'.",
};

}  // namespace KRD
