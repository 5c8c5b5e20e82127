// One bit a pixel of a part of the canvas: where shapes that overlap themselves are put together,
// so that each pixel is painted once.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "krdcmmn/platform/raster/canvas.h"

namespace krraster {

// The part of `area` within [left, right) by [top, bottom).
inline Area Intersection(const Area& area, std::int64_t left, std::int64_t top, std::int64_t right,
                         std::int64_t bottom) {
  const auto in = [](std::int64_t v, std::int32_t low, std::int32_t high) {
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(v, low, high));
  };
  return {in(left, area.left, area.right), in(top, area.top, area.bottom),
          in(right, area.left, area.right), in(bottom, area.top, area.bottom)};
}

// All bits are clear at first. Places are those of the canvas, and must lie in the area.
class Mask {
 public:
  explicit Mask(const Area& area)
      : area_(area),
        words_(static_cast<std::size_t>((std::int64_t{area.right} - area.left + 63) / 64)) {
    const std::size_t all = words_ * static_cast<std::size_t>(std::int64_t{area.bottom} - area.top);
    if (all <= few_.size()) {
      std::fill_n(few_.data(), all, 0);
      bits_ = few_.data();
    } else {
      many_.resize(all);
      bits_ = many_.data();
    }
  }
  Mask(const Mask&) = delete;
  Mask& operator=(const Mask&) = delete;

  const Area& area() const { return area_; }
  std::size_t words() const { return words_; }  // of a row
  const std::uint64_t* row(std::int64_t y) const {
    return bits_ + static_cast<std::size_t>(y - area_.top) * words_;
  }
  std::uint64_t* row(std::int64_t y) {
    return bits_ + static_cast<std::size_t>(y - area_.top) * words_;
  }

  void set(std::int64_t x, std::int64_t y) { word(x, y) |= bit(x); }
  void flip(std::int64_t x, std::int64_t y) { word(x, y) ^= bit(x); }
  void set(std::int64_t y, std::int64_t x0, std::int64_t x1);
  // Each bit becomes the parity of itself and all before it in its row: flips at the crossings of a
  // polygon's edges become its inside.
  void fill_between_flips();
  // Clears what is set in `other`, a mask of the same area.
  void remove(const Mask& other);

 private:
  std::uint64_t& word(std::int64_t x, std::int64_t y) {
    return row(y)[static_cast<std::size_t>(x - area_.left) / 64];
  }
  std::uint64_t bit(std::int64_t x) const { return std::uint64_t{1} << ((x - area_.left) & 63); }

  Area area_;
  std::size_t words_;
  std::uint64_t* bits_;
  std::array<std::uint64_t, 256> few_;  // a small shape asks for no memory
  std::vector<std::uint64_t> many_;
};

// Sets the run [x0, x1).
inline void Mask::set(std::int64_t y, std::int64_t x0, std::int64_t x1) {
  std::uint64_t* words = row(y);
  const auto first = static_cast<std::size_t>(x0 - area_.left);
  const auto last = static_cast<std::size_t>(x1 - 1 - area_.left);
  const std::uint64_t head = ~std::uint64_t{0} << (first & 63);
  const std::uint64_t tail = ~std::uint64_t{0} >> (63 - (last & 63));
  if (first / 64 == last / 64) {
    words[first / 64] |= head & tail;
    return;
  }
  words[first / 64] |= head;
  std::fill(words + first / 64 + 1, words + last / 64, ~std::uint64_t{0});
  words[last / 64] |= tail;
}

// Calls `run(first, end)` for each run of set bits of a row, in bits from the row's start.
template <class Run>
void ForEachRun(const std::uint64_t* words, std::size_t count, Run&& run) {
  constexpr std::uint64_t kAll = ~std::uint64_t{0};
  std::int64_t open = -1;  // where a run began that reached the end of a word
  for (std::size_t i = 0; i < count; ++i) {
    std::uint64_t w = words[i];
    const std::int64_t base = static_cast<std::int64_t>(i) * 64;
    if (open >= 0) {
      if (w == kAll) {
        continue;
      }
      run(open, base + std::countr_one(w));
      open = -1;
      w &= w + 1;  // without the bits up to its first 0
    }
    while (w != 0) {
      const int first = std::countr_zero(w);
      const int end = first + std::countr_one(w >> first);
      if (end == 64) {
        open = base + first;
        break;
      }
      run(base + first, base + end);
      w &= w + (w & -w);  // without the run: the carry goes through it
    }
  }
  if (open >= 0) {
    run(open, static_cast<std::int64_t>(count) * 64);
  }
}

// Paints the set pixels.
void Paint(const Canvas& canvas, const Mask& mask, Ink ink);

}  // namespace krraster
