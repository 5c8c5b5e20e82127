// A specimen of a font.
#pragma once

#include <string>

#include "krdcmmn/font/font.h"

namespace CLI {
class App;
}

namespace kr_app {

// Every slot in use in a cell of its own: its number, its shape, the baseline with the heights
// above and below it, and its origin and advance. `title` is UTF-8. Throws Failure for a font
// without a height.
std::string SheetSvg(const kr::font& font, const std::string& title);
std::string SheetPng(const kr::font& font, const std::string& title, double dpi);

// Adds the subcommand to kr font.
void AddFontSheet(CLI::App& font);

}  // namespace kr_app
