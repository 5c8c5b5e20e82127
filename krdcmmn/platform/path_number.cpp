// Extensions of paths and numbers in texts, as platform/codepage.h declares them.

#include <climits>
#include <cstdint>
#include <cstring>

#include "krdcmmn/platform/codepage.h"

inline namespace krplatform {

namespace {

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// The value of a hexadecimal digit, or -1.
int HexDigit(char c) {
  if (IsDigit(c)) {
    return c - '0';
  }
  const char lower = static_cast<char>(c | 0x20);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// Moves behind blanks and a sign; true for a minus.
bool SkipToNumber(const char*& text) {
  text += std::strspn(text, " \t\n\r\v\f");
  const bool minus = *text == '-';
  if (minus || *text == '+') {
    ++text;
  }
  return minus;
}

int Decimal(const char* text, bool minus) {
  std::int64_t value = 0;
  for (; IsDigit(*text) && value <= INT_MAX; ++text) {
    value = value * 10 + (*text - '0');
  }
  value = minus ? -value : value;
  if (value > INT_MAX) {
    return INT_MAX;
  }
  return value < INT_MIN ? INT_MIN : static_cast<int>(value);
}

int Hexadecimal(const char* text, bool minus) {
  std::uint64_t value = 0;
  for (; HexDigit(*text) >= 0 && value <= UINT32_MAX; ++text) {
    value = value * 16 + static_cast<unsigned>(HexDigit(*text));
  }
  const auto bits = value > UINT32_MAX ? UINT32_MAX : static_cast<std::uint32_t>(value);
  return static_cast<int>(minus ? 0u - bits : bits);
}

}  // namespace

const char* PathFindExtensionA(const char* path) {
  const char* point = nullptr;
  const char* p = path;
  for (; *p != '\0'; ++p) {
    if (*p == '\\' || *p == '/') {
      point = nullptr;
    } else if (*p == '.') {
      point = p;
    }
  }
  return point != nullptr ? point : p;
}

int StrToIntA(const char* text) {
  const bool minus = SkipToNumber(text);
  return Decimal(text, minus);
}

BOOL StrToIntExA(const char* text, DWORD flags, int* out) {
  constexpr DWORD kHex = 1;
  *out = 0;
  const bool minus = SkipToNumber(text);
  if ((flags & kHex) != 0 && text[0] == '0' && (text[1] | 0x20) == 'x') {
    if (HexDigit(text[2]) < 0) {
      return FALSE;
    }
    *out = Hexadecimal(text + 2, minus);
    return TRUE;
  }
  if (!IsDigit(*text)) {
    return FALSE;
  }
  *out = Decimal(text, minus);
  return TRUE;
}

}  // namespace krplatform
