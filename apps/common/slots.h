// The characters of a text as slots of a font.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "krdcmmn/font/font.h"

namespace kr_app {

struct MissingCharacter {
  char32_t character;
  int count;
};

struct SlotText {
  std::string bytes;                      // CR LF at each line's end
  std::vector<MissingCharacter> missing;  // in the order in which they come first
};

// "\n" and "\\" typed as two characters become a line feed and a backslash.
std::string Unescaped(std::string_view text);

// UTF-8 to the bytes of the code page, with `diameter` as the slot of the diameter sign where it is
// not 0. Missing is a character that the code page does not hold, which becomes "_" or is dropped
// when it is a zero, and one whose slot in the font is empty, which shows nothing.
SlotText SlotsOf(std::string_view utf8, const kr::font& font, unsigned char diameter);

// "Ж U+0416 (2), U+0007 (1)", at most twenty of them; and how many times in all.
std::string NamesOf(const std::vector<MissingCharacter>& missing);
int CountOf(const std::vector<MissingCharacter>& missing);

}  // namespace kr_app
