// Turns a face of the Hershey stroke fonts (the .jhf form) into a source font.
#pragma once

#include <string>
#include <string_view>

namespace kr_app {

struct HersheyFont {
  std::string source;
  int glyphs;    // of the face
  int left_out;  // glyphs for which no byte of a string was left
};

// The glyphs of the face become the characters from the blank on: to 127 by their numbers, above
// by the characters that the ANSI code page has there. The baseline is 0, the font's height above
// it that of the tallest capital, below it that of the deepest small letter. `name` is the font's
// name. Throws std::runtime_error: "glyph 3: ...".
HersheyFont ImportHershey(std::string_view jhf, std::string_view name);

}  // namespace kr_app
