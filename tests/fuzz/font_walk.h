// Walks a font as drawing does and stops the fuzzer where a record is not there.
#pragma once

#include <cstdlib>

#include "krdcmmn/font/font.h"

inline void WalkFont(const kr::font& font, std::size_t input_size) {
  const auto check = [](bool holds) {
    if (!holds) {
      std::abort();
    }
  };
  for (int slot = 0; slot < kr::font::kSlots; ++slot) {
    const auto range = font.Prims(slot);
    check(range.first >= 0 && range.first <= range.last);
    for (int i = range.first; i < range.last; ++i) {
      const auto at = static_cast<unsigned>(font.primData[static_cast<unsigned>(i)]);
      switch (font.primKind[static_cast<unsigned>(i)]) {
        case kr::PRIM_LINE:
          check(at + 2 <= font.linePoints.count());
          break;
        case kr::PRIM_ARC:
          check(at + 4 <= font.arcPoints.count());
          break;
        case kr::PRIM_CIRCLE:
          check(at + 2 <= font.circlePoints.count());
          break;
        default:
          check(false);
      }
    }
  }
  // No byte of a font gives more than one primitive.
  check(font.primKind.count() <= input_size && font.primKind.count() == font.primData.count());
}
