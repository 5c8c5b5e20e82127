// The exceptions of namespace KRD, and the two functions that end or question the process.
//
// The core throws a pointer to a heap object, of static type EXCEPTION*; a handler catches
// EXCEPTION* and calls Delete when it is done with it:
//
//   try { ... } catch (KRD::EXCEPTION* e) { e->ReportError(nullptr); e->Delete(); }
//
// Codes: 1 EXCEPTION; 2 to 6 MA_EXCEPTION; 100 to 114, without 104, VF_EXCEPTION (vf_exception.h).
#pragma once

#include <cstdint>

#include "krdcmmn/platform/export.h"

namespace KRD {

class KRDCMMN_API EXCEPTION {
 public:
  explicit EXCEPTION(std::int32_t code = 1, bool autoDelete = true);
  EXCEPTION(const EXCEPTION&) = default;
  EXCEPTION& operator=(const EXCEPTION&) = default;
  virtual ~EXCEPTION();

  // Writes the error's text, cut to `size` bytes, into `text` and gives true; byte `size` - 1 is
  // always a terminator then. Gives false, and leaves `text` alone, when the error has no text or
  // `size` is below 1.
  virtual bool GetErrorMessage(char* text, int size) const;

  // Shows the text in a message box and gives the box's answer. Only code 4 is ever shown;
  // everything else gives 0 at once. A null title stands for the class's own.
  virtual int ReportError(const char* title) const;

  // The handler's last word: deletes the object when `autoDelete` is set.
  void Delete();

  std::int32_t code;
  bool autoDelete;
};

// An array's failure. 2 no memory; 3 no address range; 4 more elements than the limits allow
// (`nElem` asked for, of `sizeElem` bytes); 5 a null; 6 `index` out of `nElem`.
class KRDCMMN_API MA_EXCEPTION : public EXCEPTION {
 public:
  MA_EXCEPTION(std::int32_t code, int nElem, int sizeElem, int index, bool autoDelete);
  MA_EXCEPTION(const MA_EXCEPTION&) = default;
  MA_EXCEPTION& operator=(const MA_EXCEPTION&) = default;
  ~MA_EXCEPTION() override;

  bool GetErrorMessage(char* text, int size) const override;
  int ReportError(const char* title) const override;

  int nElem;
  int sizeElem;
  int index;
};

// The one place that throws.
[[noreturn]] KRDCMMN_API void ThrowException(EXCEPTION* exception);

// Shows a printf-style text as "Fatal error" and ends the process with status 1. A text beyond 1023
// bytes is cut.
[[noreturn]] KRDCMMN_API void GOERROR(const char* format, ...)
    __attribute__((format(printf, 1, 2)));

// Shows a printf-style text as "Error"; the answer Cancel ends the process with status 1.
KRDCMMN_API void WARNING(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Message formats for the package's modules: out of memory; a file that cannot be opened (name,
// mode); a failed assertion (condition, line, file).
extern KRDCMMN_API const char* const TOOLS_ERROR_MESSAGE[3];

}  // namespace KRD
