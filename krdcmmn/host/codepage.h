// Conversions between UTF-8, UTF-16 and the ANSI code page (platform/codepage.h).
//
// A wide string holds one UTF-16 unit in each wchar_t element, whatever the width of wchar_t here;
// what an element holds above 16 bits is not looked at. A character that the code page does not
// hold becomes "_", one for each UTF-16 unit, and no conversion looks for a similar character.
// Malformed UTF-8 becomes U+FFFD, which is one "_" for each maximal ill-formed part.
//
// Results in bytes end before their first zero byte. A length of 0 gives the empty string. A
// length of 2^31 and more, or a failure of the host, throws krerr::Win32Ecept. Any thread may
// convert.
#pragma once

#include <cstdint>
#include <string>

#include "krdcmmn/platform/export.h"

KRDCMMN_API std::string Utf8ToAnsi(const char* text, unsigned length);
KRDCMMN_API std::string AnsiToUtf8(const char* text, unsigned length);
KRDCMMN_API std::string WideToAnsi(const wchar_t* text, unsigned length);

// Exactly the units of all `length` bytes, zeros among them; a length of 2^31 and more gives the
// empty string here.
KRDCMMN_API std::wstring AnsiToWide(const char* text, unsigned length);

// True when all bytes lie between 1 and 127 and the code page agrees with ASCII on them: text that
// is the same in UTF-8 and ANSI and that the conversions copy.
KRDCMMN_API bool IsPlainAscii(const char* text, unsigned length);

// Characters that Utf8ToAnsi and WideToAnsi replaced by "_" on this thread so far. A pair of
// surrogates is one character.
KRDCMMN_API std::uint64_t LossyCharacterCount();
