// ANSI code pages: conversion to and from UTF-16 and UTF-8, upper-casing, comparison, and the
// multibyte string functions.
//
// The process has one ANSI code page, a single-byte page of the host's iconv, 1251 from the start.
// The host program changes it before it uses the library. All tables are built once a page. `_mbs*`
// functions and comparisons see one byte as one character.
//
// Any thread may call; SetAnsiCodePage counts from the next call on.
#pragma once

#include <cerrno>

#include "krdcmmn/platform/types.h"

inline namespace krplatform {

inline constexpr UINT CP_ACP = 0;
inline constexpr UINT CP_UTF8 = 65001;
inline constexpr DWORD ERROR_INSUFFICIENT_BUFFER = ENOBUFS;

// The number of the ANSI code page in use. On a host that does not know 1251 it is ASCII, 20127,
// from the start.
KRDCMMN_API UINT GetACP();

// Makes `page` the ANSI code page: a Windows page (874, 1250 to 1258), an OEM or DOS page (437,
// 866...), KOI8-R 20866, KOI8-U 21866, ISO 8859-n as 28590 + n, ASCII 20127. FALSE, with nothing
// changed, for a page that the host does not know or that is not single-byte.
KRDCMMN_API BOOL SetAnsiCodePage(UINT page);

// True when the code page in use gives the bytes 0 to 127 the meaning that ASCII gives them, as all
// but a few do.
KRDCMMN_API bool AnsiHoldsAscii();

// `size` bytes of `text` in `page` (CP_ACP or CP_UTF8) to UTF-16 units; gives their number. With
// `capacity` 0 gives the units needed. A byte from 0x80 to 0x9F that the page does not define gives
// the control character of its number, and back; any other undefined byte gives U+FFFD. Malformed
// UTF-8 gives U+FFFD for each maximal ill-formed part, and a character above U+FFFF two surrogates.
// 0 with the last error set on failure: ERROR_INVALID_PARAMETER (no input, another page),
// ERROR_INSUFFICIENT_BUFFER (too little room; `out` holds the beginning).
KRDCMMN_API int MultiByteToWideChar(UINT page, DWORD flags, const char* text, int size,
                                    char16_t* out, int capacity);

// `size` UTF-16 units to bytes in `page`. With `capacity` 0 gives the bytes needed. For CP_ACP a
// unit that the page does not hold gives the first byte of `substitute` ("?" when null) and sets
// `*used_substitute`: one for each UTF-16 unit, with no best fit. An unpaired surrogate gives
// U+FFFD in UTF-8, which takes neither `substitute` nor `used_substitute`. Fails as
// MultiByteToWideChar does.
KRDCMMN_API int WideCharToMultiByte(UINT page, DWORD flags, const char16_t* text, int size,
                                    char* out, int capacity, const char* substitute,
                                    BOOL* used_substitute);

// Upper-cases `size` bytes in place by the code page; gives `size`. A byte changes when the upper
// case of its character, by the one-to-one table of Unicode, is in the code page too; the host's
// locale plays no part.
KRDCMMN_API DWORD CharUpperBuffA(char* text, DWORD size);
// The upper case of one byte.
KRDCMMN_API unsigned char AnsiUpper(unsigned char byte);

// Negative, 0 or positive. lstrcmpA tells texts apart by their bytes (as unsigned numbers): 0 means
// the same bytes. lstrcmpiA and the `i` functions compare what CharUpperBuffA makes of both. `N`
// functions stop after `size` bytes.
KRDCMMN_API int lstrcmpA(const char* a, const char* b);
KRDCMMN_API int lstrcmpiA(const char* a, const char* b);
// As lstrcmpiA, but only ASCII letters have two cases, and they compare as small ones.
KRDCMMN_API int _stricmp(const char* a, const char* b);
KRDCMMN_API int _mbsicmp(const char* a, const char* b);
KRDCMMN_API int _mbsnbcmp(const char* a, const char* b, std::size_t size);
KRDCMMN_API int _mbsnbicmp(const char* a, const char* b, std::size_t size);

// As strncpy: at most `size` bytes, the rest filled with zeros; no terminator when `from` is
// longer.
KRDCMMN_API char* _mbsnbcpy(char* to, const char* from, std::size_t size);
// Upper-cases in place; gives `text`.
KRDCMMN_API char* _mbsupr(char* text);
// The first occurrence of `part`, or null.
KRDCMMN_API const char* _mbsstr(const char* text, const char* part);

// The extension of the last component of `path` from its point on, or its terminator when there is
// none. Backslash and slash both separate.
KRDCMMN_API const char* PathFindExtensionA(const char* path);
// The decimal number at the start of `text`, after blanks (blank, tab, line end) and a sign; 0 when
// there is none. Saturates.
KRDCMMN_API int StrToIntA(const char* text);
// The same number in `*out`. `flags` 1 also accepts 0x and hexadecimal digits, of any value in 32
// bits. FALSE, and 0 in `*out`, when there is no number. Saturates.
KRDCMMN_API BOOL StrToIntExA(const char* text, DWORD flags, int* out);

}  // namespace krplatform
