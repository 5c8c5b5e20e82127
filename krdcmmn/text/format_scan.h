// A walk over a printf-style format and its arguments that estimates the output's size.
#pragma once

#include <cstdarg>
#include <cstdint>

namespace KRD {

struct FORMAT_SCAN {
  std::int64_t estimate = 0;  // bytes, without the terminator
  bool translates = false;    // the format holds a prefix that the host does not know
  bool reads_block = false;   // a string argument lies in [block, block + size]
};

// Walks `format`, stepping over the arguments as the host's formatter will. When `host_format` is
// not null it gets the format as the host knows it, with its terminator; it is never longer than
// `format`.
FORMAT_SCAN ScanFormat(const char* format, va_list args, const char* block, int size,
                       char* host_format);

}  // namespace KRD
