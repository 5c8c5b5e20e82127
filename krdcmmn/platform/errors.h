// The last error of the thread, its text, and message templates with numbered inserts.
//
// Codes are the host's own errno values and the texts are the host's. 0 is no error.
#pragma once

#include <cerrno>
#include <cstdarg>

#include "krdcmmn/platform/types.h"

inline namespace krplatform {

inline constexpr DWORD ERROR_SUCCESS = 0;
inline constexpr DWORD ERROR_FILE_NOT_FOUND = ENOENT;
inline constexpr DWORD ERROR_ACCESS_DENIED = EACCES;
inline constexpr DWORD ERROR_INVALID_HANDLE = EBADF;
inline constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = ENOMEM;
inline constexpr DWORD ERROR_INVALID_PARAMETER = EINVAL;
inline constexpr DWORD ERROR_SHARING_VIOLATION = EBUSY;
inline constexpr DWORD ERROR_DISK_FULL = ENOSPC;
inline constexpr DWORD ERROR_RESOURCE_NOT_FOUND = ESRCH;
inline constexpr DWORD ERROR_NO_UNICODE_TRANSLATION = EILSEQ;

KRDCMMN_API DWORD GetLastError();
KRDCMMN_API void SetLastError(DWORD code);

inline constexpr DWORD FORMAT_MESSAGE_ALLOCATE_BUFFER = 0x100;
inline constexpr DWORD FORMAT_MESSAGE_FROM_STRING = 0x400;
inline constexpr DWORD FORMAT_MESSAGE_FROM_SYSTEM = 0x1000;

// Builds a text and stores the address of its block, for LocalFree, in `*buffer`. Always with
// FORMAT_MESSAGE_ALLOCATE_BUFFER, and one of
// - FROM_SYSTEM: the host's text for the error `code`, inserts untouched; 0 for an unknown code;
// - FROM_STRING: `source` is a template. `%1` to `%99` are inserts, a null-terminated string each
//   or, as `%1!format!`, a printf conversion of that argument; they may come in any order and any
//   number of times. `%%` is a percent sign, `%n` a line end (CR LF), `%r` a carriage return,
//   `%t` a tab, `%b` a blank, `%.` a point, `%!` an exclamation mark; `%0` ends the text; a `%`
//   before any other character gives that character, and at the very end itself. A `!` without a
//   second one is text. `arguments` is a list that the highest insert number must not exceed; null
//   leaves every insert empty, as does a null string.
//
// The conversions are d i u x X o c s p with flags, width and precision (4095 at most); a `*` takes
// an insert of its own, from the numbered one on, ahead of the value: `%1!*.*s!` shows insert 3.
// `l` is 32 bits wide, `ll`, `I64` and `I` are 64. Any other conversion shows nothing and its
// argument is taken as a pointer, like the numbers that the template leaves out. A template that
// gives no text, or more than 64 MiB, fails. Gives the text's length, or 0 with a null `*buffer`
// and the last error set.
KRDCMMN_API DWORD FormatMessageA(DWORD flags, const void* source, DWORD code, DWORD language,
                                 char** buffer, DWORD size, va_list* arguments);

// Frees a block of FormatMessageA. Gives null.
KRDCMMN_API void* LocalFree(void* block);

}  // namespace krplatform
