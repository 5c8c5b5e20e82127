// A loaded font as text: one line a primitive, or JSON.
#pragma once

#include <string>

#include "krdcmmn/font/font.h"

#include "apps/kr/font/font_file.h"

namespace kr_app {

// A slot that has primitives or an advance.
bool InUse(const kr::font& font, int slot);

// Form, name, metrics and counts, a line each.
std::string FontInfo(const kr::font& font, const FontFile& file);

// Each slot in use, or the one slot: advance, box, and the primitives in drawing order. Numbers are
// font units; those that are not whole have the digits that give the same double again.
std::string GlyphText(const kr::font& font, int first_slot, int last_slot);
std::string GlyphJson(const kr::font& font, int first_slot, int last_slot);

}  // namespace kr_app
