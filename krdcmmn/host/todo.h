// Reports of features that are not finished yet.
#pragma once

#include <exception>
#include <string>

#include "krdcmmn/platform/export.h"

class KRDCMMN_API ExceptionNotImplemented : public std::exception {
 public:
  explicit ExceptionNotImplemented(const std::string& message);
  ExceptionNotImplemented(const ExceptionNotImplemented& other);
  // The parameter is not const.
  // NOLINTNEXTLINE(misc-unconventional-assign-operator)
  ExceptionNotImplemented& operator=(ExceptionNotImplemented& other);
  ~ExceptionNotImplemented() override;
  const char* what() const noexcept override;

 private:
  std::string message_;
};

// Says, in Russian and in code page 1251, that `function` by `author` in `file` at `line` is not
// implemented. With `doThrow` as the text of an ExceptionNotImplemented; else in a box that asks
// whether to go to the debugger, with No as the default: true for Yes, and it is the caller who
// then goes there. A null text reads as empty.
KRDCMMN_API bool ShowTodoMessage(bool doThrow, const char* function, const char* author,
                                 const char* file, int line);
