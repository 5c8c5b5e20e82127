#include "krdcmmn/platform/raster/ellipse.h"
#include "krdcmmn/platform/raster/exact.h"

namespace krraster {

namespace {

// Above 0 when (x, y) lies anticlockwise of `ray` by less than half a turn; y points down.
int128 Cross(Place ray, std::int64_t x, std::int64_t y) {
  return int128{ray.y} * x - int128{ray.x} * y;
}

int128 Dot(Place ray, std::int64_t x, std::int64_t y) {
  return int128{ray.x} * x + int128{ray.y} * y;
}

}  // namespace

Sector::Sector(const Box& box, Place start, Place end) {
  const std::int64_t middle_x = 2 * box.left + box.a;
  const std::int64_t middle_y = 2 * box.top + box.b;
  start_ = {2 * start.x - middle_x, 2 * start.y - middle_y};
  end_ = {2 * end.x - middle_x, 2 * end.y - middle_y};
  const int128 cross = Cross(start_, end_.x, end_.y);
  const int128 dot = Dot(start_, end_.x, end_.y);
  whole_ = cross == 0 && dot >= 0;  // 0 and 0: one of them has no direction
  wide_ = cross < 0;
}

// Whether (x, y) is on the ray or anticlockwise of it by less than half a turn.
bool Sector::LeftOf(Place ray, std::int64_t x, std::int64_t y) {
  x += x == 0 && y == 0 ? 1 : 0;
  constexpr std::int64_t kSmall = std::int64_t{1} << 30;
  const auto small = [](std::int64_t v) { return v < kSmall && v > -kSmall; };
  if (small(ray.x) && small(ray.y) && small(x) && small(y)) {
    const std::int64_t cross = ray.y * x - ray.x * y;
    return cross > 0 || (cross == 0 && ray.x * x + ray.y * y > 0);
  }
  const int128 cross = Cross(ray, x, y);
  return cross > 0 || (cross == 0 && Dot(ray, x, y) > 0);
}

bool Sector::holds(std::int64_t x, std::int64_t y) const {
  if (whole_) {
    return true;
  }
  return wide_ ? LeftOf(start_, x, y) || !LeftOf(end_, x, y)
               : LeftOf(start_, x, y) && !LeftOf(end_, x, y);
}

// Along a row each ray changes its side at most once.
std::int64_t Sector::SameSideUntil(std::int64_t low, std::int64_t high, std::int64_t middle2,
                                   std::int64_t y) const {
  if (whole_) {
    return high;
  }
  const auto side = [&](std::int64_t x) {
    const std::int64_t qx = 2 * x - middle2;
    return (LeftOf(start_, qx, y) ? 1 : 0) + (LeftOf(end_, qx, y) ? 2 : 0);
  };
  const int here = side(low);
  if (side(high) == here) {
    return high;
  }
  std::int64_t same = low;
  std::int64_t other = high;
  while (other - same > 1) {
    const std::int64_t x = same + (other - same) / 2;
    (side(x) == here ? same : other) = x;
  }
  return same;
}

}  // namespace krraster
