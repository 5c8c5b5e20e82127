// drawfont: the attributes with which a string is set in a vector font; the string measured, drawn
// on a device, or written to a sink.
//
// A string is bytes, each a glyph slot of the font. CR (13) goes back to the line's start; LF (10)
// moves on by its own glyph's advance, which is how a line moves down; both are cut off at the
// string's end. All else is the font's. Model coordinates, y upward; angles are counter-clockwise.
#pragma once

#include <cstdint>

#include "krdcmmn/core/geometry.h"
#include "krdcmmn/platform/export.h"

class DRAW_DEVICE;

namespace kr {

class font;
class fontstream;

// Which point of the text's block stands on the position: value % 3 is left, centre, right; value /
// 3 is top, middle, bottom. Any other value counts as ALIGN_BOTTOM_LEFT.
enum ALIGN : std::int32_t {
  ALIGN_TOP_LEFT = 0,
  ALIGN_TOP_CENTRE = 1,
  ALIGN_TOP_RIGHT = 2,
  ALIGN_MIDDLE_LEFT = 3,
  ALIGN_MIDDLE_CENTRE = 4,
  ALIGN_MIDDLE_RIGHT = 5,
  ALIGN_BOTTOM_LEFT = 6,
  ALIGN_BOTTOM_CENTRE = 7,
  ALIGN_BOTTOM_RIGHT = 8,
};

// Borrows its font, which must outlive it. Without a font every string is empty.
class KRDCMMN_API drawfont {
 public:
  // Scales 0 and no font, until InitFont and SetHeight.
  drawfont() = default;

  // Takes the font and sets every attribute but `widthScale` to its default: no height, middle
  // centre, white, not turned, not mirrored.
  void InitFont(font* f);

  void SetAlign(ALIGN a) { align = a; }
  void SetAngle(int a) { angle = a; }  // tenths of a degree; whole degrees count
  void SetMirror(bool m) { mirror = m; }
  void SetColor(std::uint32_t c) { color = c; }
  void SetRectColor(std::uint32_t c) { rectColor = c; }
  void SetWidth(int w) { width = w; }  // stroke width in model units; 0 is derived from the height
  // Height of the font in model units; the width scale becomes 0.75 of the height's. With a font of
  // height 0 both scales become 0.
  void SetHeight(int h);
  // Model units for one font unit in x; 0 stands for the height's scale.
  void SetSWidth(double w) { widthScale = w == 0.0 ? heightScale : w; }

  // The offset of the text's origin from its anchor, in font units, mirrored and turned. A caller
  // multiplies both coordinates by `heightScale`.
  KRD::FDOT GetStrAlign(const char* s);
  // The four corners of the text's frame, relative to the anchor, in model units: lower right,
  // upper right, upper left, lower left of the text itself, in the opposite order when mirrored.
  // `rect` has room for four.
  void GetStringSize(const char* s, KRD::DOT* rect);
  // Moves four corners.
  void AddOffsetToRect(KRD::DOT* rect, KRD::DOT offset) const;

  // Draws the string with its anchor at `pos`, and with `frame` the frame in `rectColor`. The
  // device's pen stays as the last stroke left it.
  void Draw(KRD::DOT pos, const char* s, DRAW_DEVICE& dev, bool frame);
  // Gives the same strokes to a sink, with `width` as it is. Gives the sum of the sink's results,
  // held within 32 bits. An exception of the sink passes through.
  int Write(KRD::DOT pos, const char* s, fontstream& out);

  font* fontData = nullptr;
  bool mirror = false;
  std::int32_t angle = 0;
  ALIGN align = ALIGN_MIDDLE_CENTRE;
  std::uint32_t color = 0xffffff;
  std::uint32_t rectColor = 0xffffff;
  std::int32_t width = 0;
  double heightScale = 0.0;  // model units for one font unit in y
  double widthScale = 0.0;   // the same in x
};

}  // namespace kr
