// Drawing contexts and what is selected into them: bitmaps, pens, brushes, fonts, modes; shapes,
// areas and copies on 32-bit pixels.
//
// Pixels are x to the right, y downward, the first pixel (0, 0); a coordinate names a pixel's
// centre. A null or dead handle, or a value that never was one, makes a call fail quietly (0, null,
// FALSE). Any 32-bit coordinate is legal: what lies outside the target is clipped, costs in
// proportion to what is visible, and the visible pixels are those of the whole shape. A shape that
// is clipped away counts as drawn; one for which there is no memory is not drawn and gives FALSE.
//
// Pens paint, by width:
// - 0 and 1, and below: one pixel, in the pen's style. A line does not paint its last point. Gaps
//   between dashes stay as they are, or become white with the background mode OPAQUE;
// - 2 and more: every pixel whose centre is within half the width of the line, so that its ends
//   are round. An even width runs along the upper left corners of the pixels. Always solid;
// - of the style PS_NULL: nothing.
//
// Rules in pixels:
// - Rectangle, Ellipse and Arc take a box in any corner order and leave out its right column and
//   bottom row. A box without pixels draws nothing; in one of a single row or column an ellipse is
//   a straight run;
// - Ellipse touches all four sides of the box and is its own mirror image both ways. Its outline is
//   the border of its solid shape. A wide pen covers what lies between the ellipse grown and the
//   ellipse shrunk by half the width;
// - Polygon fills by the even-odd rule, at pixel centres: those on a left or upper edge are inside,
//   those on a right or lower edge are not. It closes its outline;
// - fill and outline of one call agree: no gap, and no pixel painted twice, so that the same shape
//   drawn twice in XOR restores every pixel. With a pen that paints nothing the fill covers a box's
//   shape whole, and a polygon's inside;
// - the raster operation applies to pen and brush, not to SetPixelV, PatBlt and BitBlt.
//
// Objects, and a context with what it holds, are for one thread at a time; different ones may be
// used by different threads at once.
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

// A memory context like `dc` (null stands for the screen), with a bitmap of 1 by 1 pixel, white
// brush, black pen and default font selected; OPAQUE, MM_TEXT, R2_COPYPEN, origin and position (0,
// 0). The caller ends it with DeleteDC, which gives the selected objects free; a window's context
// ends with ReleaseDC, and DeleteDC refuses it.
KRDCMMN_API HDC CreateCompatibleDC(HDC dc);
KRDCMMN_API BOOL DeleteDC(HDC dc);

// A bitmap of w by h pixels, all 0. A width or height below 1 gives a bitmap of 1 by 1; null when
// there is no memory for it, and beyond 2^30 pixels.
KRDCMMN_API HBITMAP CreateCompatibleBitmap(HDC dc, int w, int h);

// Objects belong to the caller until DeleteObject. A bitmap is held by one context at most; other
// objects by any number. A style that is not one of the above counts as PS_SOLID. The top byte of a
// colour is ignored.
KRDCMMN_API HPEN CreatePen(int style, int width, COLORREF colour);
KRDCMMN_API HBRUSH CreateSolidBrush(COLORREF colour);
KRDCMMN_API HFONT CreateFontIndirectA(const LOGFONTA* description);
// The stock objects above; null for another number.
KRDCMMN_API HGDIOBJ GetStockObject(int kind);

// Makes `object` current in `dc` and gives what was current of its kind; null, with nothing
// changed, for a bitmap that another context holds and for any bitmap in a window's context.
KRDCMMN_API HGDIOBJ SelectObject(HDC dc, HGDIOBJ object);
KRDCMMN_API HGDIOBJ GetCurrentObject(HDC dc, UINT kind);
// Frees an object. FALSE, with nothing freed, for one that a context holds; stock objects stay and
// give TRUE.
KRDCMMN_API BOOL DeleteObject(HGDIOBJ object);

// Modes: each sets one and gives the former; 0, with nothing changed, for a value other than those
// above.
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

// Copies w by h pixels of `source` at (sx, sy) to (x, y); source and target may overlap. Target
// pixels whose source lies outside its bitmap stay as they are, and a w or h below 1 copies
// nothing. FALSE for an operation other than SRCCOPY.
KRDCMMN_API BOOL BitBlt(HDC dc, int x, int y, int w, int h, HDC source, int sx, int sy,
                        DWORD operation);
// Fills an area with the current brush; nothing with a hollow brush and for a w or h below 1. FALSE
// for an operation other than PATCOPY.
KRDCMMN_API BOOL PatBlt(HDC dc, int x, int y, int w, int h, DWORD operation);
// FALSE outside the bitmap.
KRDCMMN_API BOOL SetPixelV(HDC dc, int x, int y, COLORREF colour);

// Moves the pen; LineTo draws from there with the current pen and moves it on. A dash pattern
// starts anew with each line. A line and its reverse are the same pixels, but for the point that is
// left out.
KRDCMMN_API BOOL MoveToEx(HDC dc, int x, int y, POINT* former);
KRDCMMN_API BOOL LineTo(HDC dc, int x, int y);

KRDCMMN_API BOOL Ellipse(HDC dc, int left, int top, int right, int bottom);
// Those pixels of the ellipse's outline that lie anticlockwise on the screen from the ray through
// (xs, ys), included, to that through (xe, ye), left out; both rays start at the box's middle. So
// two arcs that share their ends make up the outline, each pixel once. Rays of one direction, or
// through the middle itself, give the whole outline. A wide pen adds round ends.
KRDCMMN_API BOOL Arc(HDC dc, int left, int top, int right, int bottom, int xs, int ys, int xe,
                     int ye);
KRDCMMN_API BOOL Rectangle(HDC dc, int left, int top, int right, int bottom);
// FALSE for fewer than 2 points, with nothing drawn. Points that all coincide show one pixel.
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
