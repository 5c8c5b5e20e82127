// Small drawings as text: a memory context of its own, and its pixels as rows of characters to
// stand beside the expected ones.
#pragma once

#include <cstdint>
#include <string>

#include "krdcmmn/platform/gdi.h"

namespace krtest {

// The pixels of a context, a row a line: '.' for 0, '#' for `ink` and '?' for any other value; with
// `fill` given, 'o' for that. For example "..#\n.#.\n".
inline std::string Picture(HDC dc, std::uint32_t ink = 0xffffff, std::uint32_t fill = 0) {
  PIXELS p{};
  std::string rows;
  if (GetPixels(dc, &p) == FALSE) {
    return "no context";
  }
  for (int y = 0; y < p.height; ++y) {
    for (int x = 0; x < p.width; ++x) {
      const std::uint32_t pixel = p.data[std::ptrdiff_t{y} * p.stride + x];
      rows += pixel == 0 ? '.' : pixel == ink ? '#' : pixel == fill ? 'o' : '?';
    }
    rows += '\n';
  }
  return rows;
}

inline std::uint32_t PixelAt(HDC dc, int x, int y) {
  PIXELS p{};
  GetPixels(dc, &p);
  return p.data[std::ptrdiff_t{y} * p.stride + x];
}

// A memory context with a bitmap of w by h pixels, all 0, a white pen of one pixel and no brush.
// What the test selects through it is freed with it.
class Canvas {
 public:
  Canvas(int w, int h) : dc(CreateCompatibleDC(nullptr)) {
    bitmap_ = CreateCompatibleBitmap(dc, w, h);
    SelectObject(dc, bitmap_);
    SelectObject(dc, GetStockObject(WHITE_PEN));
    SelectObject(dc, GetStockObject(NULL_BRUSH));
    SetBkMode(dc, TRANSPARENT);
  }
  ~Canvas() {
    DeleteDC(dc);
    DeleteObject(bitmap_);
    DeleteObject(pen_);
    DeleteObject(brush_);
  }
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;

  void pen(int style, int width, COLORREF colour = 0xffffff) {
    const HPEN made = CreatePen(style, width, colour);
    SelectObject(dc, made);
    DeleteObject(pen_);
    pen_ = made;
  }
  void brush(COLORREF colour) {
    const HBRUSH made = CreateSolidBrush(colour);
    SelectObject(dc, made);
    DeleteObject(brush_);
    brush_ = made;
  }
  void line(int x0, int y0, int x1, int y1) {
    MoveToEx(dc, x0, y0, nullptr);
    LineTo(dc, x1, y1);
  }
  std::string picture(std::uint32_t fill = 0) const { return Picture(dc, 0xffffff, fill); }

  const HDC dc;

 private:
  HBITMAP bitmap_ = nullptr;
  HPEN pen_ = nullptr;
  HBRUSH brush_ = nullptr;
};

}  // namespace krtest
