// What of a text cannot be seen on a device: the device would map and reject each of its primitives
// one by one. A glyph is left out only when that is certain for all of them, so that the pixels are
// the same.
#pragma once

#include <array>
#include <bitset>
#include <cstddef>

#include "krdcmmn/core/geometry.h"
#include "krdcmmn/font/font.h"
#include "krdcmmn/font/text_layout.h"

class DRAW_DEVICE;

namespace kr {

class drawfont;

// For one call of Draw, behind its setPenStyle: a font may change between calls, so nothing is kept
// longer.
class TEXT_SIGHT {
 public:
  // `origin` is where the font point (0, 0) of the first glyph lands, `stroke` the pen's width,
  // both in model units.
  TEXT_SIGHT(const font& glyphs, const drawfont& text, KRD::DOT origin, int stroke,
             DRAW_DEVICE& device);

  // True when nothing of the `n` bytes can be seen. Otherwise readies Hides.
  bool HidesAll(const char* s, std::size_t n);
  // True when nothing of the glyph can be seen with the cursor at `cursor`.
  bool Hides(unsigned char slot, KRD::DOT cursor) { return partial_ && HidesGlyph(slot, cursor); }

 private:
  // A box that is empty while left is above right.
  struct RANGE {
    double left, bottom, right, top;

    void Clear();
    void Take(double x, double y);
    void Take(const RANGE& other, double dx, double dy);
  };
  // The ends of lines and centres of arcs, which go by the scales, and the centres of circles,
  // which go by the stroke width, in font units from the cursor.
  struct INK {
    RANGE scaled;
    RANGE by_width;
    double reach;  // the largest radius, in model units; infinite when nothing can be said
    bool circles;

    void Clear();
    void Take(const INK& other, double dx, double dy);
  };
  // Pixels of a model coordinate x, y ahead of mirroring and turning: start + x * by_x + y * by_y.
  struct AXIS {
    double start, by_x, by_y, size;
  };
  enum class PLACE { kInside, kAcross, kOutside, kUnknown };

  const INK& InkOf(unsigned char slot);
  void Measure(unsigned char slot, INK& ink) const;
  bool IsInside(double x, double y) const;
  bool HidesGlyph(unsigned char slot, KRD::DOT cursor);
  PLACE PlaceOf(const INK& ink) const;
  PLACE PlaceOf(const RANGE& range, double x_scale, double y_scale, double reach) const;
  static PLACE PlaceOn(const AXIS& axis, double left, double right, double bottom, double top,
                       double margin);

  const font& glyphs_;
  double width_scale_;
  double height_scale_;
  double stroke_;
  double widest_;  // the largest factor of font units, at least 1
  double scale_;   // pixels in a model unit; 0 when the view is beyond what is computed here
  double margin_;  // pixels that ink can lie beside the computed place
  AXIS across_;
  AXIS down_;
  bool partial_ = false;  // only then is a glyph worth a test of its own
  std::bitset<font::kSlots> measured_;
  std::array<INK, font::kSlots> ink_;  // of the slots in measured_
};

}  // namespace kr
