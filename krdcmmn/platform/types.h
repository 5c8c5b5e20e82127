// Handles, fixed-width integers and the small structures that the host calls of the other platform
// headers take. All names of the layer live in one inline namespace: they read as plain names and
// cannot collide with symbols of other libraries.
#pragma once

#include <cstddef>
#include <cstdint>

#include "krdcmmn/platform/export.h"

inline namespace krplatform {

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = std::uint32_t;
using BOOL = std::int32_t;
using LONG = std::int32_t;

// 0x00BBGGRR: red in the low byte.
using COLORREF = std::uint32_t;

constexpr COLORREF RGB(unsigned red, unsigned green, unsigned blue) {
  return (red & 0xffu) | (green & 0xffu) << 8 | (blue & 0xffu) << 16;
}

inline constexpr BOOL FALSE = 0;
inline constexpr BOOL TRUE = 1;

// An open file, a file mapping, or nothing. 0 and INVALID_HANDLE_VALUE never name an open file.
using HANDLE = void*;
inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(std::intptr_t{-1});

// A loaded module; null names the main program where a call says so.
using HMODULE = struct MODULE_TAG*;
using HINSTANCE = HMODULE;

// A window, and a drawing context with what is selected into it.
using HWND = struct WINDOW_TAG*;
using HDC = struct CONTEXT_TAG*;
using HGDIOBJ = struct GDIOBJECT_TAG*;
using HBITMAP = HGDIOBJ;
using HPEN = HGDIOBJ;
using HBRUSH = HGDIOBJ;
using HFONT = HGDIOBJ;

struct POINT {
  LONG x;
  LONG y;
};

struct SIZE {
  LONG cx;
  LONG cy;
};

// right and bottom lie outside.
struct RECT {
  LONG left;
  LONG top;
  LONG right;
  LONG bottom;
};

// What a font object remembers. The layer draws no text by itself; the fields are kept as given.
struct LOGFONTA {
  LONG lfHeight;
  LONG lfWidth;
  LONG lfEscapement;
  LONG lfOrientation;
  LONG lfWeight;
  BYTE lfItalic;
  BYTE lfUnderline;
  BYTE lfStrikeOut;
  BYTE lfCharSet;
  BYTE lfOutPrecision;
  BYTE lfClipPrecision;
  BYTE lfQuality;
  BYTE lfPitchAndFamily;
  char lfFaceName[32];
};

}  // namespace krplatform
