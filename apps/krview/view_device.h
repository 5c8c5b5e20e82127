// The device of the drawing, with what its user wants to know of its history.
#pragma once

#include "krdcmmn/draw/draw_device.h"

namespace kr_view {

class ViewDevice : public DRAW_DEVICE {
 public:
  // The view shown counts from 1. One that is not entered yet is the one behind the current: it
  // ends the history when it is entered.
  int viewNumber() const { return curView + 1 + (viewPending ? 1 : 0); }
  int viewCount() const { return viewPending ? viewNumber() : static_cast<int>(views.count()); }

  // The window's size in pixels.
  int width() const { return wndSize.w; }
  int height() const { return wndSize.h; }
  // Whether the main buffer could be had in its full size.
  bool bufferMade() const {
    PIXELS pixels{};
    return GetPixels(memDC, &pixels) != FALSE && pixels.width >= bufSize.w &&
           pixels.height >= bufSize.h;
  }

  // Another drawing: its views begin anew.
  void forgetViews() {
    views.setNElem(0);
    curView = -1;
    viewPending = false;
  }
};

}  // namespace kr_view
