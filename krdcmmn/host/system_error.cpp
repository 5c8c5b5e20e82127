#include "krdcmmn/host/system_error.h"

#include <cstdarg>
#include <memory>

#include "krdcmmn/platform/errors.h"

namespace {

constexpr DWORD kNeutralLanguage = 0x400;

// Runs FormatMessageA and takes over the block it built; empty when there is none.
std::string Message(DWORD flags, const void* source, DWORD code, DWORD language,
                    va_list* arguments) {
  char* block = nullptr;
  const DWORD length = FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | flags, source, code,
                                      language, &block, 0, arguments);
  const std::unique_ptr<char, void* (*)(void*)> owner(
      block, [](void* text) -> void* { return LocalFree(text); });
  return length != 0 ? std::string(block, length) : std::string();
}

}  // namespace

std::string FormatTextList(const char* format, ...) {
  if (format == nullptr) {
    return {};
  }
  va_list arguments;
  va_start(arguments, format);
  std::string text = Message(FORMAT_MESSAGE_FROM_STRING, format, 0, 0, &arguments);
  va_end(arguments);
  return text;
}

std::string LastErrorText() {
  const DWORD code = GetLastError();
  std::string text = Message(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, code, kNeutralLanguage, nullptr);
  if (text.empty()) {
    text = "Unknown error " + std::to_string(code);
    SetLastError(code);
  }
  return text;
}

namespace krerr {

Win32Ecept::Win32Ecept() : text_(LastErrorText()) {}

Win32Ecept::~Win32Ecept() = default;

const char* Win32Ecept::what() const noexcept {
  return text_.c_str();
}

}  // namespace krerr

DllException::DllException(const char* text)
    : text_(std::string(text != nullptr ? text : "") + ": \n" + LastErrorText()) {}

DllException::~DllException() = default;

const char* DllException::what() const noexcept {
  return text_.c_str();
}
