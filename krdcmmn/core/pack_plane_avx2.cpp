// The packer for processors with 32-byte vectors. This file alone is compiled for them, so it holds
// nothing that the linker could take for the rest of the program.
#include <immintrin.h>

#include "krdcmmn/core/plane_encoder.h"

namespace KRD {

namespace {

struct Avx2Windows {
  using Byte = std::uint8_t;

  [[gnu::always_inline]] static PlaneWindow Look(const Byte* x) {
    const PlaneWindow low = LookAtHalf(x);
    const PlaneWindow high = LookAtHalf(x + 32);
    return {low.same | high.same << 32, low.back | high.back << 32,
            low.even_step | high.even_step << 32, low.zigzag | high.zigzag << 32};
  }

  [[gnu::always_inline]] static std::uint64_t LookForPair(const Byte* x, Byte a, Byte b) {
    const __m256i as = _mm256_set1_epi8(static_cast<char>(a));
    const __m256i bs = _mm256_set1_epi8(static_cast<char>(b));
    return PairInHalf(x, as, bs) | PairInHalf(x + 32, as, bs) << 32;
  }

  static std::size_t Repeats(const Byte* x, std::size_t lag, std::size_t count) {
    std::size_t n = 0;
    while (n + 128 <= count && RepeatsAll(x + n, lag)) {
      n += 128;
    }
    for (; n + 32 <= count; n += 32) {
      const auto same = Bits(_mm256_cmpeq_epi8(Load(x + n), Load(x + n - lag)));
      if (same != 0xffffffff) {
        return n + static_cast<std::size_t>(__builtin_ctzll(~same));
      }
    }
    while (n < count && x[n] == *(x + n - lag)) {
      ++n;
    }
    return n;
  }

  static std::size_t Climbs(const Byte* x, int step, std::size_t count) {
    const __m256i steps = _mm256_set1_epi8(static_cast<char>(step));
    const __m256i up = _mm256_set1_epi8(static_cast<char>(step >= 0 ? -1 : 0));
    std::size_t n = 0;
    for (; n + 32 <= count; n += 32) {
      const __m256i x0 = Load(x + n - 1);
      const __m256i x1 = Load(x + n);
      const __m256i goes_up = _mm256_cmpeq_epi8(_mm256_max_epu8(x0, x1), x1);
      const __m256i climbs = _mm256_and_si256(_mm256_cmpeq_epi8(_mm256_sub_epi8(x1, x0), steps),
                                              _mm256_cmpeq_epi8(goes_up, up));
      const auto all = Bits(climbs);
      if (all != 0xffffffff) {
        return n + static_cast<std::size_t>(__builtin_ctzll(~all));
      }
    }
    while (n < count && x[n] - *(x + n - 1) == step) {
      ++n;
    }
    return n;
  }

 private:
  [[gnu::always_inline]] static PlaneWindow LookAtHalf(const Byte* x) {
    const __m256i x0 = Load(x);
    const __m256i x1 = Load(x + 1);
    const __m256i x2 = Load(x + 2);
    const __m256i d = _mm256_sub_epi8(x1, x0);
    const __m256i e = _mm256_sub_epi8(x2, x1);
    const __m256i d_up = _mm256_cmpeq_epi8(_mm256_max_epu8(x0, x1), x1);  // d >= 0
    const __m256i e_up = _mm256_cmpeq_epi8(_mm256_max_epu8(x1, x2), x2);
    const __m256i even = _mm256_and_si256(_mm256_cmpeq_epi8(d, e), _mm256_cmpeq_epi8(d_up, e_up));
    const __m256i zigzag =
        _mm256_and_si256(_mm256_andnot_si256(d_up, _mm256_cmpeq_epi8(d, _mm256_set1_epi8(-1))),
                         _mm256_and_si256(e_up, _mm256_cmpeq_epi8(e, _mm256_set1_epi8(3))));
    return {Bits(_mm256_cmpeq_epi8(x0, x1)), Bits(_mm256_cmpeq_epi8(x0, x2)), Bits(even),
            Bits(zigzag)};
  }

  [[gnu::always_inline]] static std::uint64_t PairInHalf(const Byte* x, __m256i as, __m256i bs) {
    const __m256i x0 = Load(x);
    const __m256i x1 = Load(x + 1);
    const __m256i ab = _mm256_and_si256(_mm256_cmpeq_epi8(x0, as), _mm256_cmpeq_epi8(x1, bs));
    const __m256i ba = _mm256_and_si256(_mm256_cmpeq_epi8(x0, bs), _mm256_cmpeq_epi8(x1, as));
    return Bits(_mm256_or_si256(ab, ba));
  }

  [[gnu::always_inline]] static bool RepeatsAll(const Byte* x, std::size_t lag) {
    __m256i same = _mm256_set1_epi8(-1);
    for (std::size_t i = 0; i < 128; i += 32) {
      same = _mm256_and_si256(same, _mm256_cmpeq_epi8(Load(x + i), Load(x + i - lag)));
    }
    return Bits(same) == 0xffffffff;
  }

  [[gnu::always_inline]] static __m256i Load(const Byte* from) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
  }
  [[gnu::always_inline]] static std::uint64_t Bits(__m256i mask) {
    return static_cast<std::uint32_t>(_mm256_movemask_epi8(mask));
  }
};

}  // namespace

std::size_t PackPlaneAvx2(std::uint8_t* out, const std::uint8_t* plane, std::size_t count) {
  return out != nullptr ? PlaneEncoder<Avx2Windows, true>::Run(out, plane, count)
                        : PlaneEncoder<Avx2Windows, false>::Run(out, plane, count);
}

}  // namespace KRD
