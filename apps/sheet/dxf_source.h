// What a DXF file holds, before its blocks are expanded: items in the drawing's own units.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "apps/sheet/curves.h"
#include "apps/sheet/model.h"

namespace kr_sheet {

// Beside the model's own values: as the insert that brings the block.
inline constexpr std::int32_t kByBlock = -3;

struct Look {
  std::int32_t layer = 0;  // in Source::layers
  std::int32_t colour = kByLayer;
  std::int32_t style = kByLayer;
};

enum class Shape : std::uint8_t {
  kPoint,   // x y
  kLine,    // x y, x y
  kCurve,   // a Curve's numbers
  kPath,    // for each vertex x y bulge, width at its start and at its end; `closed`
  kFill,    // pieces: each its PieceTag and numbers
  kSpline,  // degree, controls, knots, then x y weight of each control
  kText,    // x y height width-factor angle; `index` in texts, `detail` the alignment and mirroring
  kInsert,  // x y, scales, angle, columns, rows, distances; `index` in block_names
};

// What a filled area's outline is made of.
enum class PieceTag : std::uint8_t {
  kLoop,     // begins a loop
  kPoint,    // x y
  kCurve,    // a Curve's numbers
  kReverse,  // the same, from its end to its start
  kSpline,   // as Shape::kSpline
};

inline constexpr std::int32_t kTextMirrored = 16;  // in `detail`, above the alignment

struct Item {
  Shape shape;
  bool closed = false;
  bool flipped = false;  // drawn in a plane seen from behind: x counts the other way
  Look look;
  std::int32_t index = 0;
  std::int32_t detail = 0;
  std::int32_t kind = 0;  // in Source::kinds
  std::size_t first = 0;  // of its numbers
  std::size_t count = 0;
};

struct Block {
  FDOT base{0, 0};
  std::vector<Item> items;
  bool paper = false;  // a sheet of paper, not part of the model
};

struct SourceLayer {
  std::string name;
  std::int32_t colour = kContrast;
  std::int32_t style = 0;
  std::int32_t flags = 0;
};

// Entities of a kind: how many there were, and why how many of them are not in the drawing.
struct KindCount {
  std::int64_t seen = 0;
  std::map<std::string, std::int64_t> unread;
};
using Counts = std::map<std::string, KindCount>;

struct Source {
  int units = 0;  // $INSUNITS
  std::vector<SourceLayer> layers;
  std::vector<std::string> kinds;
  std::vector<std::string> texts;        // UTF-8
  std::vector<std::string> block_names;  // that inserts name
  std::unordered_map<std::string, Block> blocks;
  Block model;
  std::vector<double> numbers;
  Counts counts;
};

// Finds a name without regard to the case of ASCII letters, as DXF does.
std::string FoldedName(std::string_view name);

// Reads a file's text. Throws kr_app::Failure, without the file's name, for what is no DXF or is
// cut off.
Source ReadSource(std::string_view text);

}  // namespace kr_sheet
