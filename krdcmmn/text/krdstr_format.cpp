// The formatter of KRDSTR: an estimate sizes the block, the host writes, and where the estimate
// fell short the host writes once more.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "krdcmmn/core/exception.h"
#include "krdcmmn/text/format_scan.h"
#include "krdcmmn/text/krdstr.h"
#include "krdcmmn/text/krdstr_block.h"

namespace KRD {

namespace {

// Gives the length that the output needs, or -1 when the host refuses the format.
int HostFormat(char* out, std::size_t size, const char* format, va_list args) {
  va_list copy;
  va_copy(copy, args);
  const int length = std::vsnprintf(out, size, format, copy);
  va_end(copy);
  return length;
}

// Ends the list on every way out.
struct ARGUMENTS {
  va_list list;
  ~ARGUMENTS() { va_end(list); }
};

}  // namespace

void KRDSTR::sprintf(const char* format, ...) {
  ARGUMENTS args;
  va_start(args.list, format);
  vsprintf(format, args.list);
}

void KRDSTR::sprintf(HINSTANCE module, unsigned int id, ...) {
  KRDSTR format;
  format.LoadStringA(id, module);
  if (format.IsEmpty()) {
    return;
  }
  ARGUMENTS args;
  va_start(args.list, id);
  vsprintf(format.c_str(), args.list);
}

void KRDSTR::vsprintf(const char* format, va_list args) {
  if (format == nullptr) {
    format = "";
  }
  const FORMAT_SCAN scan = ScanFormat(format, args, buf, Room(), nullptr);
  const bool apart = scan.reads_block || Holds(format);
  if (!scan.translates) {
    Print(format, args, scan.estimate, apart);
    return;
  }
  const std::size_t size = std::strlen(format) + 1;
  const std::unique_ptr<char, FREE> host(static_cast<char*>(std::malloc(size)));
  if (host == nullptr) {
    ThrowException(new EXCEPTION(1, true));
  }
  ScanFormat(format, args, nullptr, 0, host.get());
  Print(host.get(), args, scan.estimate, apart);
}

// `apart`: the format or an argument lies in the own block, which stays until the output is done.
void KRDSTR::Print(const char* format, va_list args, std::int64_t estimate, bool apart) {
  if (estimate > kMostCharacters) {
    // No block is that large: only what is really written counts.
    estimate = std::max(HostFormat(nullptr, 0, format, args), 0);
  }
  for (int pass = 0; pass < 2; ++pass) {
    if (estimate > kMostCharacters) {
      ThrowException(new EXCEPTION(1, true));
    }
    const bool grow = estimate > Room();
    const int new_cap = grow ? WithReserve(static_cast<int>(estimate)) : cap;
    std::unique_ptr<char, FREE> block;
    if (grow || apart) {
      block.reset(static_cast<char*>(std::malloc(static_cast<std::size_t>(new_cap) + 1)));
      if (block == nullptr) {
        OutOfMemory(new_cap);
      }
      block.get()[new_cap] = 0;
    }
    char* const out = block != nullptr ? block.get() : buf;
    out[0] = 0;
    const int length = HostFormat(out, static_cast<std::size_t>(new_cap) + 1, format, args);
    if (length <= new_cap || pass == 1) {
      if (block != nullptr) {
        Adopt(block.release(), new_cap);
      }
      return;
    }
    estimate = length;
  }
}

}  // namespace KRD
