// Windows by handle, and the calls that go to them.
#include "krdcmmn/platform/window.h"

#include <algorithm>
#include <limits>
#include <mutex>

namespace {

// Handles of windows count up and are never used again. Their low bits differ from those of drawing
// objects, which end in 0xc.
struct LivingWindow {
  std::uintptr_t handle;
  WINDOW* window;
};

std::mutex guard;

std::vector<LivingWindow>& Living() {
  static auto* const living = new std::vector<LivingWindow>;  // in the order of creation
  return *living;
}

WINDOW* FindWindow(HWND handle) {
  const std::lock_guard lock(guard);
  for (const LivingWindow& w : Living()) {
    if (w.handle == reinterpret_cast<std::uintptr_t>(handle)) {
      return w.window;
    }
  }
  return nullptr;
}

WINDOW* NewestWindow() {
  const std::lock_guard lock(guard);
  return Living().empty() ? nullptr : Living().back().window;
}

bool TimerNumber(std::uintptr_t id, std::uint32_t* number) {
  *number = static_cast<std::uint32_t>(id);
  return *number == id;
}

LONG Saturated(std::int64_t v) {
  return static_cast<LONG>(std::clamp<std::int64_t>(v, std::numeric_limits<LONG>::min(),
                                                    std::numeric_limits<LONG>::max()));
}

}  // namespace

inline namespace krplatform {

WINDOW::WINDOW() {
  static std::uintptr_t last = 0;
  const std::lock_guard lock(guard);
  last += 16;
  handle_ = reinterpret_cast<HWND>(last + 8);
  Living().push_back({last + 8, this});
}

WINDOW::~WINDOW() {
  const std::lock_guard lock(guard);
  std::erase_if(Living(), [this](const LivingWindow& w) { return w.window == this; });
}

HWND WINDOW::handle() {
  return handle_;
}

HDC GetDC(HWND window) {
  WINDOW* w = FindWindow(window);
  return w != nullptr ? w->GetContext() : nullptr;
}

int ReleaseDC(HWND window, HDC dc) {
  WINDOW* w = FindWindow(window);
  if (w == nullptr || GetROP2(dc) == 0) {  // 0: no living context
    return 0;
  }
  w->ReleaseContext(dc);
  return 1;
}

BOOL InvalidateRect(HWND window, const RECT* area, BOOL) {
  WINDOW* w = FindWindow(window);
  if (w == nullptr) {
    return FALSE;
  }
  w->Invalidate(area);
  return TRUE;
}

std::uintptr_t SetTimer(HWND window, std::uintptr_t id, UINT period_ms, void*) {
  WINDOW* w = FindWindow(window);
  std::uint32_t number = 0;
  return w != nullptr && TimerNumber(id, &number) && w->StartTimer(number, period_ms) ? id : 0;
}

BOOL KillTimer(HWND window, std::uintptr_t id) {
  WINDOW* w = FindWindow(window);
  std::uint32_t number = 0;
  return w != nullptr && TimerNumber(id, &number) && w->StopTimer(number) ? TRUE : FALSE;
}

BOOL GetCursorPos(POINT* point) {
  const WINDOW* w = NewestWindow();
  if (w == nullptr || point == nullptr) {
    return FALSE;
  }
  *point = w->Cursor();
  return TRUE;
}

BOOL ScreenToClient(HWND window, POINT* point) {
  const WINDOW* w = FindWindow(window);
  const WINDOW* newest = NewestWindow();
  if (w == nullptr || newest == nullptr || point == nullptr) {
    return FALSE;
  }
  const POINT here = w->Cursor();
  const POINT there = newest->Cursor();
  *point = {Saturated(std::int64_t{point->x} - there.x + here.x),
            Saturated(std::int64_t{point->y} - there.y + here.y)};
  return TRUE;
}

}  // namespace krplatform
