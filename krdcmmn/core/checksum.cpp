#include "krdcmmn/core/checksum.h"

#include <bit>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "krdcmmn/core/block_format.h"
#include "krdcmmn/core/byte_order.h"

namespace KRD {

namespace {

constexpr std::size_t kStep = 8;
constexpr std::size_t kBatch = 64;  // bytes whose steps are computed side by side

// For each eight bytes of a batch their sum, started at zero: byte i counts 2 to the power 7 - i.
// Below 2^16.
void SumsOfBatch(const char* bytes, std::uint32_t (&sums)[kBatch / kStep]) {
#if defined(__SSE2__)
  // Bytes in pairs, pairs in pairs, and these again; the second weight is a multiplication.
  const __m128i weights = _mm_set1_epi32(1 << 16 | 4);
  for (std::size_t i = 0; i < kBatch; i += 16) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + i));
    const __m128i even = _mm_and_si128(v, _mm_set1_epi16(0xff));
    const __m128i pairs = _mm_add_epi16(_mm_add_epi16(even, even), _mm_srli_epi16(v, 8));
    const __m128i quads = _mm_madd_epi16(pairs, weights);
    const __m128i eights = _mm_add_epi32(_mm_slli_epi32(quads, 4), _mm_srli_epi64(quads, 32));
    sums[i / kStep] = static_cast<std::uint32_t>(_mm_cvtsi128_si32(eights));
    sums[i / kStep + 1] =
        static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_unpackhi_epi64(eights, eights)));
  }
#else
  constexpr std::uint64_t kEven = 0x00ff00ff00ff00ff;
  constexpr std::uint64_t kLow = 0x0000ffff0000ffff;
  for (std::size_t i = 0; i < kBatch; i += kStep) {
    const std::uint64_t eight = LoadU64(bytes + i);
    const std::uint64_t pairs = ((eight & kEven) << 1) + (eight >> 8 & kEven);
    const std::uint64_t quads = ((pairs & kLow) << 2) + (pairs >> 16 & kLow);
    sums[i / kStep] =
        (static_cast<std::uint32_t>(quads) << 4) + static_cast<std::uint32_t>(quads >> 32);
  }
#endif
}

// A sum that may overflow within the next eight bytes.
bool MayOverflow(std::uint32_t sum) {
  constexpr std::uint32_t kOnes = 0x00ffff00;
  return (sum & kOnes) == kOnes;
}

std::uint32_t OneByOne(std::uint32_t sum, const char* bytes, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    sum = std::rotl(sum, 1) + static_cast<unsigned char>(bytes[i]);
  }
  return sum;
}

}  // namespace

// Eight bytes in one step. After i of them the sum is rotl(sum, i) + s, where s is the sum of the
// i bytes started at zero, as long as none of these additions has overflowed: without an overflow
// rotating a sum is the sum of the rotations. s is below 2^(8 + i), so an overflow after i bytes
// needs the top 24 - i bits of rotl(sum, i) all set. Those are bits 31 - i down to 8 of the sum
// at the start, and every i from 1 to 8 needs at least bits 23 down to 8.
std::uint32_t BlockChecksum(const char* bytes, std::size_t count) {
  std::uint32_t sum = kChecksumStart;
  std::size_t i = 0;
  for (; i + kBatch <= count; i += kBatch) {
    std::uint32_t sums[kBatch / kStep];
    SumsOfBatch(bytes + i, sums);
    for (std::size_t k = 0; k < kBatch / kStep; ++k) {
      sum = MayOverflow(sum) ? OneByOne(sum, bytes + i + k * kStep, kStep)
                             : std::rotl(sum, kStep) + sums[k];
    }
  }
  return OneByOne(sum, bytes + i, count - i);
}

}  // namespace KRD
