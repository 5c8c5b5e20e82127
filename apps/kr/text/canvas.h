// A device on a picture of the paper, and the picture as PNG.
#pragma once

#include <string>

#include "krdcmmn/draw/draw_device.h"
#include "krdcmmn/platform/window.h"

#include "apps/kr/text/text_job.h"

namespace kr_app {

// White at first. The device draws straight on it.
class Canvas {
 public:
  // Throws Failure for a picture of more than 16384 pixels a side or 32 million in all.
  Canvas(const Box& paper, double dpi);
  ~Canvas();
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;

  DRAW_DEVICE& device() { return device_; }
  std::string Png() const;

 private:
  double dpi_;
  MEMORY_WINDOW window_;
  DRAW_DEVICE device_;
  HDC context_;
};

}  // namespace kr_app
