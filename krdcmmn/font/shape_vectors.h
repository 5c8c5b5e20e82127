// The straight steps of ShapeReader, inline: most of a font is vectors.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "krdcmmn/font/shape_reader.h"

namespace kr {

inline std::int32_t Saturated(std::int64_t v) {
  const auto low = static_cast<std::int32_t>(v);
  if (low == v) {
    return low;
  }
  return v < 0 ? std::numeric_limits<std::int32_t>::min()
               : std::numeric_limits<std::int32_t>::max();
}

// Displacement of a vector in the 16 directions, in lengths and in halves of a length.
struct DirectionRow {
  std::int8_t x_full, x_half, y_full, y_half;
};
// clang-format off
inline constexpr DirectionRow kDirections[16] = {
    { 1,  0,  0,  0}, { 1,  0,  0,  1}, { 1,  0,  1,  0}, { 0,  1,  1,  0},
    { 0,  0,  1,  0}, { 0, -1,  1,  0}, {-1,  0,  1,  0}, {-1,  0,  0,  1},
    {-1,  0,  0,  0}, {-1,  0,  0, -1}, {-1,  0, -1,  0}, { 0, -1, -1,  0},
    { 0,  0, -1,  0}, { 0,  1, -1,  0}, { 1,  0, -1,  0}, { 1,  0,  0, -1},
};
// clang-format on

inline std::int32_t ShapeReader::Scaled(std::int32_t length) const {
  return scale == 1.0 ? length : KRD::RoundHalfAway(length * scale);
}

inline void ShapeReader::MoveTarget(std::int32_t dx, std::int32_t dy) {
  target = {Saturated(std::int64_t{target.x} + dx), Saturated(std::int64_t{target.y} + dy)};
}

inline void ShapeReader::AddEntry(std::int32_t kind, unsigned record) {
  const unsigned i = prims.Take(1);
  prims.at(i) = kind;
  prims.at<1>(i) = static_cast<std::int32_t>(record);
}

inline void ShapeReader::AddPlainLine() {
  const unsigned at = lines.Take(2);
  lines.at(at) = pen;
  lines.at(at + 1) = target;
  AddEntry(PRIM_LINE, at);
}

inline void ShapeReader::AddLine() {
  boxLow.x = std::min(boxLow.x, std::min(pen.x, target.x));
  boxLow.y = std::min(boxLow.y, std::min(pen.y, target.y));
  boxHigh.x = std::max(boxHigh.x, std::max(pen.x, target.x));
  boxHigh.y = std::max(boxHigh.y, std::max(pen.y, target.y));
  AddPlainLine();
}

inline void ShapeReader::FinishVector() {
  if (penDown) {
    AddLine();
  }
  pen = target;
  skipNext = false;
}

inline void ShapeReader::TurnedVector(unsigned turn, std::int32_t length) {
  const DirectionRow& row = kDirections[turn];
  const std::int64_t half = length / 2;
  target = {Saturated(target.x + std::int64_t{length} * row.x_full + half * row.x_half),
            Saturated(target.y + std::int64_t{length} * row.y_full + half * row.y_half)};
  FinishVector();
}

}  // namespace kr
