#include <algorithm>
#include <cmath>
#include <utility>

#include "krdcmmn/platform/raster/ellipse.h"
#include "krdcmmn/platform/raster/exact.h"

namespace krraster {

OutlineExtent::OutlineExtent(std::int64_t a, std::int64_t b) : a_(a), b_(b) {
  constexpr std::int64_t kSmall = std::int64_t{1} << 12;
  size_ = a == b ? Size::circle : a < kSmall && b < kSmall ? Size::small : Size::large;
}

std::int64_t OutlineExtent::root(std::int64_t y) const {
  const auto a = static_cast<std::uint64_t>(a_);
  const auto b = static_cast<std::uint64_t>(b_);
  const std::uint64_t rest =
      static_cast<std::uint64_t>(b_ - y) * static_cast<std::uint64_t>(b_ + y);
  switch (size_) {
    case Size::circle:
      return static_cast<std::int64_t>(SquareRoot(rest));
    case Size::small:
      return static_cast<std::int64_t>(SquareRoot(a * a * rest / (b * b)));
    default:
      return static_cast<std::int64_t>(
          SquareRoot(static_cast<std::uint64_t>(uint128{a * a} * rest / (b * b))));
  }
}

std::int64_t OutlineExtent::at(std::int64_t y) const {
  if (b_ == 0) {
    return a_;
  }
  const std::int64_t by_column = root(y) + 1;
  const std::int64_t by_row = y == 0 ? a_ : root(y - 1);
  const std::int64_t most = std::min(a_, std::max(by_column, by_row));
  return most - ((most ^ a_) & 1);
}

void CircleExtents(std::int32_t a, std::int32_t first, std::int32_t last, std::int32_t* extents) {
  // Roots of numbers below 2^22 are exact in single precision: the nearest number below a square is
  // off by more than the rounding. The root for Y = 0 exceeds a and is cut off.
  const std::int32_t count = (last - first) / 2 + 1;
  for (std::int32_t i = 0; i < count; ++i) {
    const std::int32_t y = first + 2 * i;
    const std::int32_t rest = (a - y) * (a + y);
    const auto by_column = static_cast<std::int32_t>(std::sqrt(static_cast<float>(rest))) + 1;
    const auto by_row =
        static_cast<std::int32_t>(std::sqrt(static_cast<float>(rest + std::max(2 * y - 1, 0))));
    const std::int32_t most = std::min(a, std::max(by_column, by_row));
    extents[i] = most - ((most ^ a) & 1);
  }
}

std::int64_t InsideExtent::at(std::int64_t y, std::int64_t parity) const {
  if (y >= db_ || da_ <= 0) {
    return -1;
  }
  // X^2 db^2 < da^2 (db^2 - Y^2), for integers: X^2 <= (that - 1) / db^2.
  constexpr std::int64_t kExact = std::int64_t{1} << 32;
  std::int64_t most;
  if (da_ == db_ && da_ < kExact / 2) {
    most = static_cast<std::int64_t>(
        SquareRoot(static_cast<std::uint64_t>(da_ - y) * static_cast<std::uint64_t>(da_ + y) - 1));
  } else if (da_ < kExact && db_ < kExact) {
    const auto da2 = static_cast<std::uint64_t>(da_) * static_cast<std::uint64_t>(da_);
    const auto db2 = static_cast<std::uint64_t>(db_) * static_cast<std::uint64_t>(db_);
    const auto y2 = static_cast<std::uint64_t>(y) * static_cast<std::uint64_t>(y);
    most = static_cast<std::int64_t>(
        SquareRoot(static_cast<std::uint64_t>((uint128{da2} * (db2 - y2) - 1) / db2)));
  } else {  // beyond 128 bits; the same in every picture all the same
    const long double part = static_cast<long double>(y) / static_cast<long double>(db_);
    most = static_cast<std::int64_t>(static_cast<long double>(da_) * std::sqrt(1 - part * part));
  }
  return most - ((most ^ parity) & 1);
}

Where Locate(const Area& area, const Box& box, std::int64_t reach) {
  // Places in units of the half axes: the ellipse is the unit circle, and a way of n pixels no
  // longer than n over the shorter half axis. Half a pixel of the outline's own and the rounding
  // are covered by the two pixels more.
  const auto a = static_cast<long double>(box.a);
  const auto b = static_cast<long double>(box.b);
  const long double margin = static_cast<long double>(2 * reach + 4) / std::min(a, b);
  const auto span = [](std::int64_t low, std::int64_t high) {
    const std::int64_t nearest = low > 0 ? low : high < 0 ? -high : 0;
    return std::pair(static_cast<long double>(nearest),
                     static_cast<long double>(std::max(-low, high)));
  };
  const std::int64_t middle_x = 2 * box.left + box.a;
  const std::int64_t middle_y = 2 * box.top + box.b;
  const auto x =
      span(2 * std::int64_t{area.left} - middle_x, 2 * std::int64_t{area.right} - middle_x);
  const auto y =
      span(2 * std::int64_t{area.top} - middle_y, 2 * std::int64_t{area.bottom} - middle_y);
  if (std::hypot(x.first / a, y.first / b) > 1 + margin) {
    return Where::outside;
  }
  return std::hypot(x.second / a, y.second / b) < 1 - margin ? Where::inside : Where::near;
}

}  // namespace krraster
