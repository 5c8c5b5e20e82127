// The font that the apps carry: no file is needed to set a text (docs/default-font.md).
#pragma once

#include "krdcmmn/font/font.h"

namespace kr_app {

// The slot of the diameter sign, which code page 1251 does not hold.
inline constexpr unsigned char kDiameterSlot = 127;

// Loads it, replacing the glyphs of `font`.
void LoadDefaultFont(kr::font& font);

}  // namespace kr_app
