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

bool Short(std::int64_t v) {
  constexpr std::int64_t kLimit = std::int64_t{1} << 30;
  return v < kLimit && v > -kLimit;
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
  short_ = Short(start_.x) && Short(start_.y) && Short(end_.x) && Short(end_.y);
}

Sector::Sides Sector::sides(std::int64_t x, std::int64_t y) const {
  x += x == 0 && y == 0 ? 1 : 0;
  if (short_ && Short(x) && Short(y)) {
    const auto past = [&](Place ray) {
      const std::int64_t cross = ray.y * x - ray.x * y;
      return cross > 0 || (cross == 0 && ray.x * x + ray.y * y > 0);
    };
    return {past(start_), past(end_)};
  }
  const auto past = [&](Place ray) {
    const int128 cross = Cross(ray, x, y);
    return cross > 0 || (cross == 0 && Dot(ray, x, y) > 0);
  };
  return {past(start_), past(end_)};
}

// Along a row each ray changes its side at most once.
std::int64_t Sector::SameUntil(Sides here, std::int64_t low, std::int64_t high,
                               std::int64_t middle2, std::int64_t y) const {
  const auto same = [&](std::int64_t x) { return sides(2 * x - middle2, y) == here; };
  if (same(high)) {
    return high;
  }
  std::int64_t last = low;
  std::int64_t other = high;
  while (other - last > 1) {
    const std::int64_t x = last + (other - last) / 2;
    (same(x) ? last : other) = x;
  }
  return last;
}

}  // namespace krraster
