// One text to be set: its font, attributes and bytes, the paper that it covers, and its strokes.
//
// The model unit is a hundredth of a millimetre, y upward, and the point that the text is aligned
// to is (0, 0).
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "krdcmmn/font/drawfont.h"
#include "krdcmmn/font/font.h"

#include "apps/kr/text/stroke_sink.h"

class DRAW_DEVICE;

namespace kr_app {

inline constexpr int kUnitsPerMm = 100;

struct TextSettings {
  double height_mm = 5.0;     // of the font: above the baseline plus below it
  double width_factor = 1.0;  // times the font's own proportions
  double pen_mm = 0.0;        // 0 takes one font unit
  double margin_mm = 2.0;     // of the paper around the strokes
  int angle = 0;              // whole degrees
  kr::ALIGN align = kr::ALIGN_BOTTOM_LEFT;
  bool mirror = false;
  bool frame = false;
};

// A box in model units.
struct Box {
  std::int64_t left, bottom, right, top;

  std::int64_t width() const { return right - left; }
  std::int64_t height() const { return top - bottom; }
};

class TextJob {
 public:
  // `bytes` are slots of the font, with CR LF for a line's end. Throws Failure for a font without a
  // height.
  TextJob(std::unique_ptr<kr::font> font, const TextSettings& settings, std::string bytes);

  // The strokes in order, then the frame's if there is one. Gives their number.
  int Write(StrokeSink& sink) const;
  // The same as pixels, in black.
  void Draw(DRAW_DEVICE& device) const;

  // The corners of the text's frame, as GetStringSize orders them.
  struct Frame {
    KRD::DOT corner[4];
  };
  Frame TextFrame() const;

  // What the strokes cover with the pen and the margin. Throws Failure for a text beyond the range
  // of the model.
  Box Paper() const;

  int pen() const { return text_.width; }  // model units
  const std::string& bytes() const { return bytes_; }

 private:
  std::unique_ptr<kr::font> font_;
  TextSettings settings_;
  std::string bytes_;
  mutable kr::drawfont text_;  // its measuring operations are not const
  KRD::DOT position_;
};

}  // namespace kr_app
