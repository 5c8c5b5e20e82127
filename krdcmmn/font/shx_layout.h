// The two layouts of a compiled font (docs/shx-format.md). Numbers are little-endian.
#pragma once

#include <cstddef>

namespace kr {

inline constexpr char kShapesMagic10[] = "AutoCAD-86 shapes 1.0";
inline constexpr char kShapesMagic11[] = "AutoCAD-86 shapes 1.1";
inline constexpr char kUnifontMagic[] = "AutoCAD-86 unifont 1.0";
inline constexpr std::size_t kMagicLineMax = 128;  // bytes of the first line that are looked at

// Shapes: header, entry count, index, name of the font if the first code is 0, bodies.
inline constexpr std::size_t kShapesHeaderSize = 28;
inline constexpr std::size_t kIndexEntrySize = 4;  // code, signed 16 bits; length, signed 16 bits
inline constexpr std::size_t kFontRecordSize = 4;  // above, below, two unread

// Unifont: header, record count, the font's record, then entry and body of each shape.
inline constexpr std::size_t kUnifontHeaderSize = 25;
inline constexpr std::size_t kUnifontMetricsSize = 6;  // above, below, four unread
inline constexpr int kUnifontBodyMax = 2000;           // bytes of a shape's body

inline constexpr std::size_t kFontNameMax = 129;  // bytes of a font's name, its zero included

}  // namespace kr
