// Exact integer arithmetic for places up to 34 bits: floor division, square roots, and floors of a
// linear function from row to row. No rounding depends on where a picture is cut.
#pragma once

#include <cmath>
#include <cstdint>

namespace krraster {

__extension__ typedef __int128 int128;
__extension__ typedef unsigned __int128 uint128;

// The greatest integer not above n / d; d > 0.
template <class Int>
Int FloorDiv(Int n, Int d) {
  const Int q = n / d;
  return n % d < 0 ? q - 1 : q;
}

// The greatest integer whose square is not above n.
inline std::uint64_t SquareRoot(std::uint64_t n) {
  if (n <
      std::uint64_t{1} << 52) {  // exact: a root just below an integer is further off than an ulp
    return static_cast<std::uint64_t>(std::sqrt(static_cast<double>(n)));
  }
  constexpr std::uint64_t kMost = 0xffffffff;
  const double guess = std::sqrt(static_cast<double>(n));
  std::uint64_t root =
      guess >= static_cast<double>(kMost) ? kMost : static_cast<std::uint64_t>(guess);
  while (root * root > n) {
    --root;
  }
  while (root < kMost && (root + 1) * (root + 1) <= n) {
    ++root;
  }
  return root;
}

inline std::uint64_t SquareRoot128(uint128 n) {
  if (n >> 64 == 0) {
    return SquareRoot(static_cast<std::uint64_t>(n));
  }
  const long double guess = std::sqrt(static_cast<long double>(n));
  std::uint64_t root =
      guess >= 18446744073709551615.0L ? ~std::uint64_t{0} : static_cast<std::uint64_t>(guess);
  while (uint128{root} * root > n) {
    --root;
  }
  while (root != ~std::uint64_t{0} && (uint128{root} + 1) * (uint128{root} + 1) <= n) {
    ++root;
  }
  return root;
}

// floor((n + i * dn) / d) for i = 0, 1, 2, ..., with divisions only at the start; d > 0.
template <class Int>
class FloorWalk {
 public:
  FloorWalk(Int n, Int dn, Int d) : value_(FloorDiv(n, d)), step_(FloorDiv(dn, d)), divisor_(d) {
    rest_ = n - value_ * d - d;
    step_rest_ = dn - step_ * d;
  }
  Int value() const { return value_; }
  void next() {
    value_ += step_;
    rest_ += step_rest_;
    if (rest_ >= 0) {
      ++value_;
      rest_ -= divisor_;
    }
  }

 private:
  Int value_;
  Int step_;
  Int divisor_;
  Int rest_;  // the remainder less the divisor
  Int step_rest_;
};

// How i * dn / d becomes an integer.
enum class Rounding { nearest_low, nearest_high, up };  // of two nearest the lower, or the higher

// The integers nearest to i * dn / d, or above it, for i = 0, 1, 2, ... without a division a step
// and without a chain of comparisons: a multiple of the slope in units of 2^-40. Exact for d and
// |dn| below 2^18 and i up to d: the slope is too great by less than a unit, the sum so by less
// than d units, and no fraction that matters is nearer than 1 / 2d to where the integer changes.
class SlopeWalk {
 public:
  static constexpr std::int64_t kLimit = std::int64_t{1} << 18;

  SlopeWalk(std::int64_t dn, std::int64_t d, Rounding rounding, std::int64_t i)
      : slope_(FloorDiv(dn * kOne, d) + 1) {
    const std::int64_t shift = rounding == Rounding::nearest_low    ? kOne / 2 - (d + 1)
                               : rounding == Rounding::nearest_high ? kOne / 2
                                                                    : kOne - (d + 1);
    sum_ = slope_ * i + shift;
  }
  std::int64_t value() const { return sum_ >> kBits; }
  void next() { sum_ += slope_; }
  // From here on values are counted from the present one.
  void restart() { sum_ &= kOne - 1; }

 private:
  static constexpr int kBits = 40;
  static constexpr std::int64_t kOne = std::int64_t{1} << kBits;
  std::int64_t slope_;
  std::int64_t sum_;
};

}  // namespace krraster
