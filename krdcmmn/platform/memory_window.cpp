#include <algorithm>

#include "krdcmmn/platform/gdi_objects.h"
#include "krdcmmn/platform/window.h"

inline namespace krplatform {

using krgdi::Bitmap;

namespace {

Bitmap* BitmapOf(HBITMAP handle) {
  return static_cast<Bitmap*>(krgdi::Find(handle));
}

}  // namespace

MEMORY_WINDOW::MEMORY_WINDOW(int w, int h) {
  Bitmap* bitmap = krgdi::MakeWindowBitmap(std::max(w, 0), std::max(h, 0));
  if (bitmap == nullptr) {
    bitmap = krgdi::MakeWindowBitmap(0, 0);
  }
  bitmap_ = bitmap != nullptr ? static_cast<HBITMAP>(bitmap->handle) : nullptr;
}

MEMORY_WINDOW::~MEMORY_WINDOW() {
  for (const HDC dc : contexts_) {
    krgdi::FreeWindowContext(dc);
  }
  if (Bitmap* bitmap = BitmapOf(bitmap_)) {
    krgdi::FreeWindowBitmap(bitmap);
  }
}

HDC MEMORY_WINDOW::GetContext() {
  contexts_.reserve(contexts_.size() + 1);
  Bitmap* bitmap = BitmapOf(bitmap_);
  const HDC dc = bitmap != nullptr ? krgdi::MakeWindowContext(bitmap) : nullptr;
  if (dc != nullptr) {
    contexts_.push_back(dc);
  }
  return dc;
}

void MEMORY_WINDOW::ReleaseContext(HDC dc) {
  const auto found = std::find(contexts_.begin(), contexts_.end(), dc);
  if (found != contexts_.end()) {
    contexts_.erase(found);
    krgdi::FreeWindowContext(dc);
  }
}

void MEMORY_WINDOW::Invalidate(const RECT* area) {
  invalidated.push_back(area != nullptr ? *area : RECT{0, 0, width(), height()});
}

bool MEMORY_WINDOW::StartTimer(std::uint32_t id, std::uint32_t period_ms) {
  timers[id] = period_ms;
  return true;
}

bool MEMORY_WINDOW::StopTimer(std::uint32_t id) {
  return timers.erase(id) != 0;
}

POINT MEMORY_WINDOW::Cursor() const {
  return cursor;
}

void MEMORY_WINDOW::Resize(int w, int h) {
  if (Bitmap* bitmap = BitmapOf(bitmap_)) {
    krgdi::ResizeWindowBitmap(bitmap, std::max(w, 0), std::max(h, 0));
  }
}

int MEMORY_WINDOW::width() const {
  return pixels().width;
}

int MEMORY_WINDOW::height() const {
  return pixels().height;
}

PIXELS MEMORY_WINDOW::pixels() const {
  const Bitmap* bitmap = BitmapOf(bitmap_);
  if (bitmap == nullptr) {
    return {nullptr, 0, 0, 0};
  }
  const krraster::Canvas& canvas = bitmap->canvas;
  return {canvas.data, canvas.width, canvas.height, static_cast<int>(canvas.stride)};
}

}  // namespace krplatform
