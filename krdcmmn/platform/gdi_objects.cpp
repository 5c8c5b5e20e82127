// Pens, brushes, fonts and bitmaps: how they are made, which are always there, how they end.
#include "krdcmmn/platform/gdi_objects.h"

#include <algorithm>
#include <cstdlib>
#include <new>

#include "krdcmmn/platform/gdi.h"
#include "krdcmmn/platform/gdi_stock.h"

namespace krgdi {

namespace {

constexpr std::int64_t kMostPixels = std::int64_t{1} << 30;  // of one bitmap

// Bits of a pattern's 24 steps, first step lowest: painted steps 1, gaps 0.
constexpr std::uint32_t Dashes(std::initializer_list<int> lengths) {
  std::uint32_t bits = 0;
  int at = 0;
  bool painted = true;
  while (at < krraster::Stroke::kPeriod) {
    for (const int length : lengths) {
      for (int i = 0; i < length; ++i, ++at) {
        bits |= painted ? std::uint32_t{1} << at : 0;
      }
      painted = !painted;
    }
  }
  return bits;
}

constexpr std::uint32_t kPatterns[] = {
    Dashes({18, 6}),             // PS_DASH
    Dashes({3, 3}),              // PS_DOT
    Dashes({9, 6, 3, 6}),        // PS_DASHDOT
    Dashes({9, 3, 3, 3, 3, 3}),  // PS_DASHDOTDOT
};

void Describe(Pen* pen, int style, int width, COLORREF colour) {
  pen->width = std::max(width, 1);
  pen->pixel = PixelOf(colour);
  if (style == PS_NULL) {
    pen->stroke = krraster::StrokeKind::none;
  } else if (pen->width > 1) {
    pen->stroke = krraster::StrokeKind::wide;
  } else if (style >= PS_DASH && style <= PS_DASHDOTDOT) {
    pen->stroke = krraster::StrokeKind::dashed;
    pen->dashes = kPatterns[style - PS_DASH];
  }
}

// Enters a new object and gives its handle; without room it is freed and the handle is null.
template <class Made>
HGDIOBJ EnterNew(Made* made) {
  if (made == nullptr || !Enter(made)) {
    delete made;
    return nullptr;
  }
  return static_cast<HGDIOBJ>(made->handle);
}

void Free(Object* object) {
  Remove(object);
  switch (object->kind) {
    case Kind::pen:
      delete static_cast<Pen*>(object);
      break;
    case Kind::brush:
      delete static_cast<Brush*>(object);
      break;
    case Kind::font:
      delete static_cast<Font*>(object);
      break;
    case Kind::bitmap:
      delete static_cast<Bitmap*>(object);
      break;
    case Kind::context:
      break;
  }
}

bool HoldsPixels(std::int32_t w, std::int32_t h) {
  return std::int64_t{w} * h <= kMostPixels;
}

Bitmap* NewBitmap(std::int32_t w, std::int32_t h) {
  Pixels pixels = MakePixels(w, h);
  auto* bitmap = pixels ? new (std::nothrow) Bitmap : nullptr;
  if (bitmap != nullptr) {
    bitmap->canvas = {pixels.get(), w, h, w};
    bitmap->pixels = std::move(pixels);
  }
  return bitmap;
}

}  // namespace

void FreePixels::operator()(std::uint32_t* pixels) const {
  std::free(pixels);
}

Pixels MakePixels(std::int32_t w, std::int32_t h) {
  if (!HoldsPixels(w, h)) {
    return nullptr;
  }
  const std::size_t count =
      std::max<std::size_t>(1, static_cast<std::size_t>(w) * static_cast<std::size_t>(h));
  return Pixels(static_cast<std::uint32_t*>(std::calloc(count, sizeof(std::uint32_t))));
}

Stock::Stock() {
  white_brush.pixel = 0xffffff;
  null_brush.solid = false;
  white_pen.pixel = 0xffffff;
  null_pen.stroke = krraster::StrokeKind::none;
  font.description.lfHeight = 16;
  font.description.lfWeight = 400;
  Object* const all[] = {&white_brush, &black_brush, &null_brush, &white_pen,
                         &black_pen,   &null_pen,    &font,       &bitmap};
  for (Object* object : all) {
    object->stock = true;
    Enter(object);
  }
}

Stock& TheStock() {
  static Stock* const stock = new Stock;  // stays as long as any code can draw
  return *stock;
}

Bitmap* MakeWindowBitmap(std::int32_t w, std::int32_t h) {
  Bitmap* bitmap = NewBitmap(w, h);
  if (bitmap != nullptr && !Enter(bitmap)) {
    delete bitmap;
    return nullptr;
  }
  if (bitmap != nullptr) {
    bitmap->holders = 1;  // the window: no other context takes it and DeleteObject leaves it
  }
  return bitmap;
}

bool ResizeWindowBitmap(Bitmap* bitmap, std::int32_t w, std::int32_t h) {
  Pixels pixels = MakePixels(w, h);
  if (!pixels) {
    return false;
  }
  const krraster::Canvas& old = bitmap->canvas;
  const krraster::Canvas canvas{pixels.get(), w, h, w};
  for (std::int32_t y = 0; y < std::min(h, old.height); ++y) {
    std::copy_n(old.at(0, y), std::min(w, old.width), canvas.at(0, y));
  }
  bitmap->pixels = std::move(pixels);
  bitmap->canvas = canvas;
  return true;
}

void FreeWindowBitmap(Bitmap* bitmap) {
  Free(bitmap);
}

}  // namespace krgdi

inline namespace krplatform {

using namespace krgdi;

HBITMAP CreateCompatibleBitmap(HDC dc, int w, int h) {
  if (FindContext(dc) == nullptr) {
    return nullptr;
  }
  const bool sized = w >= 1 && h >= 1;
  return EnterNew(NewBitmap(sized ? w : 1, sized ? h : 1));
}

HPEN CreatePen(int style, int width, COLORREF colour) {
  auto* pen = new (std::nothrow) Pen;
  if (pen != nullptr) {
    Describe(pen, style, width, colour);
  }
  return EnterNew(pen);
}

HBRUSH CreateSolidBrush(COLORREF colour) {
  auto* brush = new (std::nothrow) Brush;
  if (brush != nullptr) {
    brush->pixel = PixelOf(colour);
  }
  return EnterNew(brush);
}

HFONT CreateFontIndirectA(const LOGFONTA* description) {
  auto* font = description != nullptr ? new (std::nothrow) Font : nullptr;
  if (font != nullptr) {
    font->description = *description;
  }
  return EnterNew(font);
}

HGDIOBJ GetStockObject(int kind) {
  Stock& stock = TheStock();
  const Object* found = nullptr;
  switch (kind) {
    case WHITE_BRUSH:
      found = &stock.white_brush;
      break;
    case BLACK_BRUSH:
      found = &stock.black_brush;
      break;
    case NULL_BRUSH:
      found = &stock.null_brush;
      break;
    case WHITE_PEN:
      found = &stock.white_pen;
      break;
    case BLACK_PEN:
      found = &stock.black_pen;
      break;
    case NULL_PEN:
      found = &stock.null_pen;
      break;
    case DEVICE_DEFAULT_FONT:
      found = &stock.font;
      break;
    default:
      return nullptr;
  }
  return static_cast<HGDIOBJ>(found->handle);
}

BOOL DeleteObject(HGDIOBJ handle) {
  Object* object = Find(handle);
  if (object == nullptr || object->kind == Kind::context || object->holders > 0) {
    return FALSE;
  }
  if (!object->stock) {
    Free(object);
  }
  return TRUE;
}

int CountGdiObjects() {
  return CountEntered();
}

}  // namespace krplatform
