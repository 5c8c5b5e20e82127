// Numbers in the tokens of a source. A token is a piece of a mapped text without a terminator, so
// these stand for atoi and StrToIntA; numbers beyond 32 bits give the nearest end of the range.
#pragma once

#include <array>
#include <cstdint>
#include <limits>
#include <string_view>

namespace kr {

// The values of the hexadecimal digits, -1 for every other character.
inline constexpr auto kHexDigits = [] {
  std::array<std::int8_t, 256> values{};
  values.fill(-1);
  for (unsigned i = 0; i < 16; ++i) {
    values[static_cast<unsigned char>("0123456789abcdef"[i])] = static_cast<std::int8_t>(i);
    values[static_cast<unsigned char>("0123456789ABCDEF"[i])] = static_cast<std::int8_t>(i);
  }
  return values;
}();

constexpr int HexDigit(char c) {
  return kHexDigits[static_cast<unsigned char>(c)];
}

// Digits at the start of `text`; 0 when there are none.
constexpr std::int32_t DigitsNumber(std::string_view text, bool negative) {
  constexpr std::int64_t kLimit = std::int64_t{std::numeric_limits<std::int32_t>::max()} + 1;
  std::int64_t value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') {
      break;
    }
    if (value < kLimit) {
      value = value * 10 + (c - '0');
    }
  }
  if (negative) {
    return static_cast<std::int32_t>(value < kLimit ? -value : -kLimit);
  }
  return static_cast<std::int32_t>(value < kLimit ? value : kLimit - 1);
}

// As StrToIntA: an optional minus, then digits.
constexpr std::int32_t DecimalNumber(std::string_view text) {
  const bool negative = !text.empty() && text[0] == '-';
  return DigitsNumber(text.substr(negative ? 1 : 0), negative);
}

// As atoi: blanks, an optional sign, then digits.
constexpr std::int32_t BlankedNumber(std::string_view text) {
  while (!text.empty() && (text[0] == ' ' || (text[0] >= '\t' && text[0] <= '\r'))) {
    text.remove_prefix(1);
  }
  const bool negative = !text.empty() && text[0] == '-';
  const bool sign = negative || (!text.empty() && text[0] == '+');
  return DigitsNumber(text.substr(sign ? 1 : 0), negative);
}

}  // namespace kr
