// What a font file says about itself beyond what the library keeps, and loading without its words
// on standard output.
#pragma once

#include <string>
#include <string_view>

#include "krdcmmn/font/font.h"

namespace kr_app {

struct FontFile {
  std::string form;  // "SHX shapes 1.0", "SHX shapes 1.1", "SHX unifont 1.0" or "SHP source"
  std::string name;
  long shapes;  // records, the font's own aside
};

// For the bytes of a file that loads; what a damaged one lacks is empty or 0.
FontFile DescribeFontFile(std::string_view bytes);

// Loads the font at `path`; throws Failure when the library refuses it. What the library prints
// about the load is kept from standard output, which belongs to the subcommand.
void LoadQuietly(kr::font& font, const std::string& path);

// The bytes of a file, "-" being standard input. Throws Failure.
std::string ReadInput(const std::string& path);
// Writes a file, "-" being standard output. Throws Failure; a file that could not be written whole
// is not left behind.
void WriteOutput(const std::string& path, std::string_view bytes);

}  // namespace kr_app
