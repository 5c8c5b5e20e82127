// A drawing device on a window in memory, with its fields open to tests.
#pragma once

#include "krdcmmn/draw/draw_device.h"
#include "krdcmmn/platform/window.h"

namespace krtest {

class OpenDevice : public DRAW_DEVICE {
 public:
  using DRAW_DEVICE::brushColour;
  using DRAW_DEVICE::bufOrigin;
  using DRAW_DEVICE::bufSize;
  using DRAW_DEVICE::curView;
  using DRAW_DEVICE::extraDC;
  using DRAW_DEVICE::gridOrigin;
  using DRAW_DEVICE::maxScale;
  using DRAW_DEVICE::memDC;
  using DRAW_DEVICE::minScale;
  using DRAW_DEVICE::panOffset;
  using DRAW_DEVICE::penColour;
  using DRAW_DEVICE::penStyle;
  using DRAW_DEVICE::penWidth;
  using DRAW_DEVICE::r2mX;
  using DRAW_DEVICE::r2mY;
  using DRAW_DEVICE::scale;
  using DRAW_DEVICE::scrollPos;
  using DRAW_DEVICE::VIEW;
  using DRAW_DEVICE::viewPending;
  using DRAW_DEVICE::views;
  using DRAW_DEVICE::wndDC;
};

// A device of w by h pixels between SetContext and ReleaseContext, white, at scale 1 with the
// model's origin in the middle.
struct Stage {
  explicit Stage(int w = 100, int h = 80) : window(w, h) {
    device.Init(w, h, window.handle());
    dc = window.GetContext();
    device.SetContext(dc);
    device.cleardevice(0xffffff);
    device.setPenStyle(0, 0, 0);
  }
  ~Stage() {
    if (device.ContextSelected()) {
      device.ReleaseContext();
    }
    window.ReleaseContext(dc);
  }
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;

  static std::uint32_t At(HDC surface, int x, int y) {
    PIXELS p{};
    GetPixels(surface, &p);
    return p.data[y * p.stride + x];
  }
  // Pixels of the target that are not white.
  static int Painted(HDC surface) {
    PIXELS p{};
    GetPixels(surface, &p);
    int count = 0;
    for (int y = 0; y < p.height; ++y) {
      for (int x = 0; x < p.width; ++x) {
        count += p.data[y * p.stride + x] != 0xffffff;
      }
    }
    return count;
  }

  MEMORY_WINDOW window;
  OpenDevice device;
  HDC dc = nullptr;
};

}  // namespace krtest
