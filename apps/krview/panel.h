// Texts and boxes in window pixels, in the apps' own vector font: the status line, lists, help.
#pragma once

#include <cstdint>
#include <string>

#include "krdcmmn/draw/draw_device.h"
#include "krdcmmn/font/drawfont.h"
#include "krdcmmn/font/font.h"

namespace kr_view {

class Panel {
 public:
  // The height of a line of text with its surroundings.
  static constexpr int kLine = 22;

  // The font is borrowed.
  explicit Panel(kr::font& font);

  // Everything else is called between begin and end; `dc` has w by h pixels.
  void begin(HDC dc, int w, int h);
  void end();

  void fill(RECT area, std::uint32_t colour);
  void frame(RECT area, std::uint32_t colour);
  // UTF-8, its letters on `baseline`; what has no room in `room` pixels is cut, with "..." behind.
  // Gives the pixels that it took.
  int text(int x, int baseline, const std::string& utf8, std::uint32_t colour, int room);
  int width(const std::string& utf8);

  // Where in a line of text, counted from its top, its letters stand.
  static constexpr int kBaseline = 16;

 private:
  // The device at scale 1 on the window's pixels alone: it needs no buffers.
  class Pixels : public DRAW_DEVICE {
   public:
    void cover(int w, int h) { wndSize = {w, h}; }
  };

  int widthOf(const std::string& slots);
  KRD::DOT at(int x, int y) { return {x - origin_.x, origin_.y - y}; }

  kr::font& font_;
  kr::drawfont writer_;
  Pixels device_;
  KRD::DOT origin_{0, 0};
};

}  // namespace kr_view
