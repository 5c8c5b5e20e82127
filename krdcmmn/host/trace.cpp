#include "krdcmmn/host/trace.h"

#include <cstdarg>
#include <cstdio>
#include <fstream>
#include <string>

#include "krdcmmn/platform/modules.h"
#include "krdcmmn/platform/ui.h"

namespace KRDTOOLS {

namespace {

// Ahead of the parser's state and the attach step, and destroyed behind them.
[[gnu::init_priority(kTraceStreamPriority)]] std::ofstream traceStream;
[[gnu::init_priority(kTraceNamePriority)]] std::string traceFileName = "krtrace.log";

constexpr std::size_t kLineSize = 512;

// A formatted text, cut to its line.
struct Line {
  char text[kLineSize] = {};

  void Format(const char* format, va_list arguments) {
    if (format != nullptr && std::vsnprintf(text, kLineSize, format, arguments) < 0) {
      text[0] = '\0';
    }
  }
};

void OpenLog() {
  traceStream.open(traceFileName, std::ios::out | std::ios::app);
}

}  // namespace

void krTrace_Debug(const char* format, ...) {
  Line line;
  va_list arguments;
  va_start(arguments, format);
  line.Format(format, arguments);
  va_end(arguments);
  OutputDebugStringA(line.text);
}

void krTrace_File(const char* format, ...) {
  Line line;
  va_list arguments;
  va_start(arguments, format);
  line.Format(format, arguments);
  va_end(arguments);
  try {
    if (!traceStream.is_open()) {
      OpenLog();
    }
    traceStream.clear();  // an earlier failure, a full disk for one, may be over
    traceStream << line.text << std::flush;
  } catch (const std::exception&) {
    // Tracing never disturbs its caller.
  }
}

void krTrace_SetFileName(const char* name) {
  if (name == nullptr) {
    return;
  }
  try {
    const bool move = traceStream.is_open() && traceFileName != name;
    if (move) {
      traceStream.close();
    }
    traceFileName = name;
    if (move) {
      OpenLog();
    }
  } catch (const std::exception&) {
    // As above.
  }
}

}  // namespace KRDTOOLS
