// Glyphs as text: what tests compare.
#pragma once

#include <cstdio>
#include <string>

#include "krdcmmn/font/font.h"

namespace krtest {

inline std::string Number(double v) {
  char text[32];
  std::snprintf(text, sizeof text, "%.10g", v == 0 ? 0.0 : v);
  return text;
}

template <class P>
std::string At(P p) {
  return Number(p.x) + "," + Number(p.y);
}

// A slot's primitives: "L from to", "A centre rRADIUS first second", "C centre rRADIUS", with
// blanks between.
inline std::string Strokes(const kr::font& font, int slot) {
  std::string text;
  const auto range = font.Prims(slot);
  for (int i = range.first; i < range.last; ++i) {
    const auto at = static_cast<unsigned>(font.primData[static_cast<unsigned>(i)]);
    text += text.empty() ? "" : " ";
    switch (font.primKind[static_cast<unsigned>(i)]) {
      case kr::PRIM_LINE:
        text += "L " + At(font.linePoints[at]) + " " + At(font.linePoints[at + 1]);
        break;
      case kr::PRIM_ARC:
        text += "A " + At(font.arcPoints[at]) + " r" + Number(font.arcPoints[at + 1].x) + " " +
                At(font.arcPoints[at + 2]) + " " + At(font.arcPoints[at + 3]);
        break;
      case kr::PRIM_CIRCLE:
        text += "C " + At(font.circlePoints[at]) + " r" + Number(font.circlePoints[at + 1].x);
        break;
      default:
        text += "?";
    }
  }
  return text;
}

// A slot's advance and the two corners of its box.
inline std::string Metrics(const kr::font& font, int slot) {
  const auto s = static_cast<unsigned>(slot);
  return At(font.advance[s]) + " " + At(font.boxMin[s]) + " " + At(font.boxMax[s]);
}

// Everything that drawing reads of a font, a line for each slot that is not empty.
inline std::string Everything(const kr::font& font) {
  std::string text = Number(font.height) + " " + std::to_string(font.descent) + "\n";
  for (int slot = 0; slot < kr::font::kSlots; ++slot) {
    const std::string line = Metrics(font, slot) + " " + Strokes(font, slot);
    if (line != "0,0 0,0 0,0 ") {
      text += std::to_string(slot) + ": " + line + "\n";
    }
  }
  return text;
}

}  // namespace krtest
