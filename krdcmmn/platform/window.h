// A window as the drawing device sees it: a context of its client area, invalidation, a timer and
// the cursor. The host program derives from WINDOW; MEMORY_WINDOW is the one that ships with the
// layer.
#pragma once

#include <map>
#include <vector>

#include "krdcmmn/platform/gdi.h"
#include "krdcmmn/platform/types.h"

inline namespace krplatform {

// The host side of a window. It lives as long as its handle is in use and is not copied.
class KRDCMMN_API WINDOW {
 public:
  WINDOW();
  virtual ~WINDOW();  // its handle is dead afterwards
  WINDOW(const WINDOW&) = delete;
  WINDOW& operator=(const WINDOW&) = delete;

  HWND handle();

  // A context that draws on the client area, and its end.
  virtual HDC GetContext() = 0;
  virtual void ReleaseContext(HDC dc) = 0;
  // Asks for a paint; `area` null is everything.
  virtual void Invalidate(const RECT* area) = 0;
  // A repeating timer by number; setting it again starts its period anew. FALSE when it cannot.
  virtual bool StartTimer(std::uint32_t id, std::uint32_t period_ms) = 0;
  virtual bool StopTimer(std::uint32_t id) = 0;
  // The cursor in client pixels; it may lie outside.
  virtual POINT Cursor() const = 0;

 private:
  HWND handle_;
};

// The calls below fail quietly (0, null, FALSE) for a window that is null or gone.
KRDCMMN_API HDC GetDC(HWND window);
// 1, or 0 for a context that is null or was released before.
KRDCMMN_API int ReleaseDC(HWND window, HDC dc);
// `erase` has no meaning: nothing is ever erased.
KRDCMMN_API BOOL InvalidateRect(HWND window, const RECT* area, BOOL erase);
// `id`, or 0 on failure and for a number beyond 32 bits. The timer reaches the host side alone:
// `callback` is not called.
KRDCMMN_API std::uintptr_t SetTimer(HWND window, std::uintptr_t id, UINT period_ms, void* callback);
KRDCMMN_API BOOL KillTimer(HWND window, std::uintptr_t id);
// The cursor on the screen. The screen's coordinates are those of the window that was created last
// among the living; ScreenToClient turns them into those of `window`, so that the cursor of the
// screen becomes the cursor of `window`. FALSE without a window.
KRDCMMN_API BOOL GetCursorPos(POINT* point);
KRDCMMN_API BOOL ScreenToClient(HWND window, POINT* point);

// A window in memory. Its pixels, cursor, timers and invalidations are open to the program.
class KRDCMMN_API MEMORY_WINDOW : public WINDOW {
 public:
  // w by h pixels, all 0; none for a size below 1 or without memory.
  MEMORY_WINDOW(int w, int h);
  ~MEMORY_WINDOW() override;

  // Any number of contexts may be out; they draw on the same pixels and end with the window.
  HDC GetContext() override;
  void ReleaseContext(HDC dc) override;
  void Invalidate(const RECT* area) override;
  bool StartTimer(std::uint32_t id, std::uint32_t period_ms) override;
  bool StopTimer(std::uint32_t id) override;
  POINT Cursor() const override;

  // A new client size; pixels in both sizes are kept, new ones are 0. Without memory for it the
  // window stays as it is.
  void Resize(int w, int h);
  int width() const;
  int height() const;
  // The pixels, as GetPixels gives them.
  PIXELS pixels() const;

  POINT cursor{0, 0};                             // what Cursor gives
  std::vector<RECT> invalidated;                  // one entry an Invalidate, whole client for null
  std::map<std::uint32_t, std::uint32_t> timers;  // running timers and their periods

 private:
  HBITMAP bitmap_ = nullptr;
  std::vector<HDC> contexts_;  // that are out
};

}  // namespace krplatform
