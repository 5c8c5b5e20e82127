// Trace lines to the debugger or to a log file.
//
// A text is printf-style, at most 511 bytes (the rest is cut off), and comes out as it is: no date,
// no prefix, no line end of its own. No failure is ever reported. krTrace_Debug may run on any
// thread; the log file is for one thread at a time.
#pragma once

#include "krdcmmn/platform/export.h"

namespace KRDTOOLS {

// To the debugger (OutputDebugStringA).
[[gnu::format(printf, 1, 2)]] KRDCMMN_API void krTrace_Debug(const char* format, ...);

// Appends to the log file, which is opened by the first call, made when it is missing, and flushed
// by each call. It stays open until the library ends. Text for a file that cannot be opened is
// lost; the next call tries again.
[[gnu::format(printf, 1, 2)]] KRDCMMN_API void krTrace_File(const char* format, ...);

// Changes the log file, "krtrace.log" in the current directory from the start. An open log moves at
// once. Null does nothing.
KRDCMMN_API void krTrace_SetFileName(const char* name);

}  // namespace KRDTOOLS
