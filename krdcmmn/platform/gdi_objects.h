// Drawing objects and contexts as the layer keeps them, behind the handles of gdi.h.
#pragma once

#include <cstdint>
#include <memory>

#include "krdcmmn/platform/gdi_table.h"
#include "krdcmmn/platform/raster/canvas.h"
#include "krdcmmn/platform/raster/stroke.h"
#include "krdcmmn/platform/types.h"

namespace krgdi {

struct Pen : Object {
  Pen() : Object(Kind::pen) {}
  krraster::StrokeKind stroke = krraster::StrokeKind::thin;
  std::int32_t width = 1;
  std::uint32_t pixel = 0;
  std::uint32_t dashes = 0;
};

struct Brush : Object {
  Brush() : Object(Kind::brush) {}
  bool solid = true;
  std::uint32_t pixel = 0;
};

struct Font : Object {
  Font() : Object(Kind::font) {}
  LOGFONTA description{};
};

struct FreePixels {
  void operator()(std::uint32_t* pixels) const;
};
using Pixels = std::unique_ptr<std::uint32_t[], FreePixels>;

// w by h pixels, all 0, one at least; null when there is no memory for them.
Pixels MakePixels(std::int32_t w, std::int32_t h);

struct Bitmap : Object {
  Bitmap() : Object(Kind::bitmap) {}
  Pixels pixels;
  krraster::Canvas canvas{};
};

struct Context : Object {
  Context() : Object(Kind::context) {}
  Bitmap* bitmap = nullptr;
  Pen* pen = nullptr;
  Brush* brush = nullptr;
  Font* font = nullptr;
  const krraster::Canvas* canvas = nullptr;  // the bitmap's, or `own` for the stock bitmap
  bool of_window = false;                    // its bitmap is the window's and cannot be changed
  int background_mode = 0;
  int map_mode = 0;
  int raster_operation = 0;
  POINT origin{};
  POINT position{};
  std::uint32_t own_pixel = 0;
  krraster::Canvas own{};
};

inline Context* FindContext(HDC dc) {
  Object* object = Find(dc);
  return object != nullptr && object->kind == Kind::context ? static_cast<Context*>(object)
                                                            : nullptr;
}

// 0x00BBGGRR to 0x00RRGGBB; the top byte is ignored.
constexpr std::uint32_t PixelOf(COLORREF colour) {
  return (colour & 0xffu) << 16 | (colour & 0xff00u) | (colour >> 16 & 0xffu);
}

// A bitmap that a window's contexts share: any number of them draw on it, and a new size replaces
// its pixels under them. Null when there is no memory.
Bitmap* MakeWindowBitmap(std::int32_t w, std::int32_t h);
// Pixels in both sizes are kept, others are 0. False, with nothing changed, without memory.
bool ResizeWindowBitmap(Bitmap* bitmap, std::int32_t w, std::int32_t h);
void FreeWindowBitmap(Bitmap* bitmap);
HDC MakeWindowContext(Bitmap* bitmap);
void FreeWindowContext(HDC dc);

}  // namespace krgdi
