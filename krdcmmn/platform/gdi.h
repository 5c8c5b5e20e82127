// Drawing contexts and what is selected into them: bitmaps, pens, brushes, fonts, modes; shapes,
// areas and copies on 32-bit pixels.
//
// Pixels are x to the right, y downward, the first pixel (0, 0). A null or dead handle makes a call
// fail quietly (0, null, FALSE). Any 32-bit coordinate is legal: what lies outside the target is
// clipped, costs in proportion to what is visible, and the visible pixels are those of the whole
// shape.
//
// Rules in pixels:
// - a line of width 0 or 1 does not paint its last point; a wider solid pen paints a stroke with
// round
//   ends;
// - Rectangle, Ellipse and Arc take a box in any corner order and leave out its right column and
//   bottom row;
// - Polygon fills by the even-odd rule and closes its outline; fill and outline of one call agree:
// no
//   gap, and no pixel painted twice, so that the same shape drawn twice in XOR restores every
//   pixel;
// - the raster operation applies to pen and brush, not to SetPixelV, PatBlt and BitBlt.
#pragma once

#include "krdcmmn/platform/types.h"

inline namespace krplatform {

inline constexpr int PS_SOLID = 0;
inline constexpr int PS_DASH = 1;
inline constexpr int PS_DOT = 2;
inline constexpr int PS_DASHDOT = 3;
inline constexpr int PS_DASHDOTDOT = 4;
inline constexpr int PS_NULL = 5;

inline constexpr int WHITE_BRUSH = 0;
inline constexpr int BLACK_BRUSH = 4;
inline constexpr int NULL_BRUSH = 5;
inline constexpr int WHITE_PEN = 6;
inline constexpr int BLACK_PEN = 7;
inline constexpr int NULL_PEN = 8;
inline constexpr int DEVICE_DEFAULT_FONT = 14;

inline constexpr UINT OBJ_PEN = 1;
inline constexpr UINT OBJ_BRUSH = 2;
inline constexpr UINT OBJ_FONT = 6;
inline constexpr UINT OBJ_BITMAP = 7;

inline constexpr int TRANSPARENT = 1;
inline constexpr int OPAQUE = 2;
inline constexpr int MM_TEXT = 1;
inline constexpr int MM_ISOTROPIC = 7;
inline constexpr int R2_XORPEN = 7;
inline constexpr int R2_COPYPEN = 13;
inline constexpr DWORD SRCCOPY = 0x00cc0020;
inline constexpr DWORD PATCOPY = 0x00f00021;

// A memory context like `dc`, with a bitmap of 1 by 1 pixel, white brush, black pen and default
// font selected; the caller ends it with DeleteDC, which gives the selected objects free.
KRDCMMN_API HDC CreateCompatibleDC(HDC dc);
KRDCMMN_API BOOL DeleteDC(HDC dc);

// A bitmap of w by h pixels, all 0. A size below 1 gives a bitmap of 1 by 1; null when there is no
// memory for it.
KRDCMMN_API HBITMAP CreateCompatibleBitmap(HDC dc, int w, int h);

// Objects belong to the caller until DeleteObject. A bitmap is held by one context at most; other
// objects by any number.
KRDCMMN_API HPEN CreatePen(int style, int width, COLORREF colour);
KRDCMMN_API HBRUSH CreateSolidBrush(COLORREF colour);
KRDCMMN_API HFONT CreateFontIndirectA(const LOGFONTA* description);
KRDCMMN_API HGDIOBJ GetStockObject(int kind);

// Makes `object` current in `dc` and gives what was current of its kind; null when it cannot.
KRDCMMN_API HGDIOBJ SelectObject(HDC dc, HGDIOBJ object);
KRDCMMN_API HGDIOBJ GetCurrentObject(HDC dc, UINT kind);
// Frees an object. FALSE, with nothing freed, for one that a context holds; stock objects stay and
// give TRUE.
KRDCMMN_API BOOL DeleteObject(HGDIOBJ object);

// Modes: each sets one and gives the former, 0 on failure.
KRDCMMN_API int SetBkMode(HDC dc, int mode);
KRDCMMN_API int SetMapMode(HDC dc, int mode);
KRDCMMN_API int SetROP2(HDC dc, int operation);
KRDCMMN_API int GetROP2(HDC dc);
// Logical units are pixels: only the extents (1, 1) are accepted.
KRDCMMN_API BOOL SetWindowExtEx(HDC dc, int x, int y, SIZE* former);
KRDCMMN_API BOOL SetViewportExtEx(HDC dc, int x, int y, SIZE* former);
// The origin is added to every coordinate of this context.
KRDCMMN_API BOOL GetViewportOrgEx(HDC dc, POINT* origin);
KRDCMMN_API BOOL SetViewportOrgEx(HDC dc, int x, int y, POINT* former);

// Copies w by h pixels of `source` at (sx, sy) to (x, y); source and target may overlap. Only
// SRCCOPY.
KRDCMMN_API BOOL BitBlt(HDC dc, int x, int y, int w, int h, HDC source, int sx, int sy,
                        DWORD operation);
// Fills an area with the current brush. Only PATCOPY.
KRDCMMN_API BOOL PatBlt(HDC dc, int x, int y, int w, int h, DWORD operation);
KRDCMMN_API BOOL SetPixelV(HDC dc, int x, int y, COLORREF colour);

// Moves the pen; LineTo draws from there with the current pen and moves it on.
KRDCMMN_API BOOL MoveToEx(HDC dc, int x, int y, POINT* former);
KRDCMMN_API BOOL LineTo(HDC dc, int x, int y);

KRDCMMN_API BOOL Ellipse(HDC dc, int left, int top, int right, int bottom);
// Anticlockwise on the screen from the ray through (xs, ys) to that through (xe, ye); equal rays
// give the whole ellipse's outline.
KRDCMMN_API BOOL Arc(HDC dc, int left, int top, int right, int bottom, int xs, int ys, int xe,
                     int ye);
KRDCMMN_API BOOL Rectangle(HDC dc, int left, int top, int right, int bottom);
// FALSE for fewer than 2 points, with nothing drawn.
KRDCMMN_API BOOL Polygon(HDC dc, const POINT* points, int count);

// The pixels of the bitmap that `dc` draws on: `stride` pixels a row, each 0x00RRGGBB with the top
// byte 0. Borrowed; good until another bitmap is selected or the window changes its size.
struct PIXELS {
  std::uint32_t* data;
  int width;
  int height;
  int stride;
};
KRDCMMN_API BOOL GetPixels(HDC dc, PIXELS* out);

// For leak checks: objects and contexts that were created and are still there, stock objects left
// out.
KRDCMMN_API int CountGdiObjects();

}  // namespace krplatform
