// The tables of one single-byte code page. Internal to the platform layer.
#pragma once

#include <array>

#include "krdcmmn/platform/types.h"

inline namespace krplatform {

struct CodePage {
  UINT number;
  bool holds_ascii;                          // bytes 0 to 127 mean what they mean in ASCII
  std::array<char16_t, 256> unit_of;         // U+FFFD: the byte means nothing
  std::array<unsigned char, 256> upper;      // the upper case of each byte
  std::array<unsigned char, 65536> byte_of;  // 0: not in the page, unless the unit is unit_of[0]
  const CodePage* next;                      // the page that was built before this one
};

// The ANSI code page in use. Tables are never freed, so that the reference stays good.
const CodePage& CurrentCodePage();

// The upper case of a character by Unicode's one-to-one table, for the alphabets that single-byte
// pages hold: Latin, Greek, Cyrillic, Armenian.
char16_t UpperCase(char16_t unit);

}  // namespace krplatform
