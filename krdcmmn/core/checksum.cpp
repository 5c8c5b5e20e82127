#include "krdcmmn/core/checksum.h"

#include <bit>

#include "krdcmmn/core/block_format.h"
#include "krdcmmn/core/byte_order.h"

namespace KRD {

namespace {

// The sum of eight bytes that starts at zero: byte i counts 2 to the power 7 - i. Below 2^16.
std::uint32_t SumOfEight(std::uint64_t bytes) {
  constexpr std::uint64_t kEven = 0x00ff00ff00ff00ff;
  constexpr std::uint64_t kLow = 0x0000ffff0000ffff;
  const std::uint64_t pairs = ((bytes & kEven) << 1) + (bytes >> 8 & kEven);
  const std::uint64_t quads = ((pairs & kLow) << 2) + (pairs >> 16 & kLow);
  return (static_cast<std::uint32_t>(quads) << 4) + static_cast<std::uint32_t>(quads >> 32);
}

}  // namespace

// Eight bytes in one step. After i of them the sum is rotl(sum, i) + s, where s is the sum of the
// i bytes started at zero, as long as none of these additions has overflowed: without an overflow
// rotating a sum is the sum of the rotations. s is below 2^(8 + i), so an overflow after i bytes
// needs the top 24 - i bits of rotl(sum, i) all set. Those are bits 31 - i down to 8 of the sum
// at the start, and every i from 1 to 8 needs at least bits 23 down to 8.
std::uint32_t BlockChecksum(const char* bytes, std::size_t count) {
  constexpr std::uint32_t kMayOverflow = 0x00ffff00;
  std::uint32_t sum = kChecksumStart;
  std::size_t i = 0;
  while (i < count) {
    if (count - i >= 8 && (sum & kMayOverflow) != kMayOverflow) {
      sum = std::rotl(sum, 8) + SumOfEight(LoadU64(bytes + i));
      i += 8;
    } else {
      sum = std::rotl(sum, 1) + static_cast<unsigned char>(bytes[i]);
      ++i;
    }
  }
  return sum;
}

}  // namespace KRD
