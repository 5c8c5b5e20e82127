#include "krdcmmn/platform/raster/mask.h"

namespace krraster {

namespace {

// Each bit becomes the parity of itself and all lower ones.
std::uint64_t Parities(std::uint64_t w) {
  w ^= w << 1;
  w ^= w << 2;
  w ^= w << 4;
  w ^= w << 8;
  w ^= w << 16;
  w ^= w << 32;
  return w;
}

}  // namespace

void Mask::fill_between_flips() {
  // Where the area cuts a shape at the right the parity stays odd: the last word ends with the
  // area.
  const std::uint64_t last =
      ~std::uint64_t{0} >> (63 & -(std::uint64_t{static_cast<std::uint32_t>(area_.right)} -
                                   static_cast<std::uint32_t>(area_.left)));
  const auto rows = static_cast<std::size_t>(std::int64_t{area_.bottom} - area_.top);
  if (words_ == 1) {
    for (std::size_t i = 0; i < rows; ++i) {
      bits_[i] = Parities(bits_[i]) & last;
    }
    return;
  }
  for (std::uint64_t* words = bits_; words != bits_ + rows * words_; words += words_) {
    std::uint64_t inside = 0;  // all bits while the row's parity is odd
    for (std::size_t i = 0; i < words_; ++i) {
      words[i] = Parities(words[i]) ^ inside;
      inside = words[i] >> 63 != 0 ? ~std::uint64_t{0} : 0;
    }
    words[words_ - 1] &= last;
  }
}

void Mask::remove(const Mask& other) {
  const std::size_t all = words_ * static_cast<std::size_t>(std::int64_t{area_.bottom} - area_.top);
  for (std::size_t i = 0; i < all; ++i) {
    bits_[i] &= ~other.bits_[i];
  }
}

void Paint(const Canvas& canvas, const Mask& mask, Ink ink) {
  WithKernel(ink, [&](auto kernel) {
    for (std::int64_t y = mask.area().top; y < mask.area().bottom; ++y) {
      std::uint32_t* pixels = canvas.at(mask.area().left, y);
      ForEachRun(mask.row(y), mask.words(), [&](std::int64_t first, std::int64_t end) {
        kernel.run(pixels + first, end - first);
      });
    }
  });
}

}  // namespace krraster
