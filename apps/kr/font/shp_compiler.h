// Compiles a source font into the two compiled layouts, so that one font loads all three ways.
//
// It takes the part of the source form in which the loader of sources and that of compiled fonts
// agree (docs/shp-source.md), lines ending in LF or CR LF, and refuses the rest with the line and
// the reason. What the two forms treat differently by design is told in `warnings`.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kr_app {

enum class ShxLayout { kShapes, kUnifont };

struct CompiledFont {
  std::string bytes;
  std::vector<std::string> warnings;
};

// Throws std::runtime_error: "line 12: ...".
CompiledFont CompileShp(std::string_view source, ShxLayout layout);

}  // namespace kr_app
