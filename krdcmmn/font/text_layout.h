// What measuring and drawing a text share: its length, its turn, sums that stay within 32 bits.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

#include "krdcmmn/core/geometry.h"

namespace kr {

constexpr unsigned char kCarriageReturn = 13;
constexpr unsigned char kLineFeed = 10;

inline std::int32_t Within32(std::int64_t v) {
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(
      v, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()));
}

inline KRD::DOT Plus(KRD::DOT a, KRD::DOT b) {
  return {Within32(std::int64_t{a.x} + b.x), Within32(std::int64_t{a.y} + b.y)};
}

// The length of `s` without the CR and LF bytes at its end; 0 for null.
inline std::size_t TextLength(const char* s) {
  std::size_t n = s != nullptr ? std::strlen(s) : 0;
  while (n > 0 && (s[n - 1] == kCarriageReturn || s[n - 1] == kLineFeed)) {
    --n;
  }
  return n;
}

// A mirroring in x and then a turn by whole degrees.
class TURN {
 public:
  // `angle` in tenths of a degree, of which whole degrees count.
  TURN(bool mirror, std::int32_t angle);

  // Quarter turns are exact, also of a negative angle; other results are rounded half away from
  // zero.
  KRD::DOT Of(std::int64_t x, std::int64_t y) const;
  // Quarter turns from 0 to 270 degrees are exact; a negative angle goes by the formula.
  KRD::FDOT OfDoubles(double x, double y) const;
  // The formula whatever the angle is, without mirroring.
  KRD::FDOT Plain(double x, double y) const;

 private:
  bool mirror_;
  int quarter_;        // 0 to 3 when the reduced angle is one of 0, 90, 180, 270; else -1
  int exact_quarter_;  // the same for the angle as it was given
  double sine_;        // of the angle as it was given
  double cosine_;
  double turn_sine_;  // of the angle brought into 0 to 359 when it is negative
  double turn_cosine_;
};

}  // namespace kr
