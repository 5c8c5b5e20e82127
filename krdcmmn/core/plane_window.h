// What the packer needs to know of the next 64 bytes of a plane, as bit masks: bit i speaks of byte
// i and of its successors. Two or four instructions' worth of bytes at a time where the processor
// has vectors, one byte at a time elsewhere; the masks are the same.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace KRD {

// With d and e for the two steps from a byte to its successor and on to the next, from -255 to 255:
struct PlaneWindow {
  std::uint64_t same;       // d = 0
  std::uint64_t back;       // d + e = 0
  std::uint64_t even_step;  // d = e
  std::uint64_t zigzag;     // d = -1 and e = 3
};

inline constexpr std::size_t kWindow = 64;
inline constexpr std::size_t kWindowReach = kWindow + 2;  // bytes that a window looks at

// One byte at a time.
struct PortableWindows {
  static PlaneWindow Look(const std::uint8_t* x) {
    PlaneWindow w{};
    for (std::size_t i = 0; i < kWindow; ++i) {
      const int d = x[i + 1] - x[i];
      const int e = x[i + 2] - x[i + 1];
      w.same |= std::uint64_t{d == 0} << i;
      w.back |= std::uint64_t{d + e == 0} << i;
      w.even_step |= std::uint64_t{d == e} << i;
      w.zigzag |= std::uint64_t{d == -1 && e == 3} << i;
    }
    return w;
  }

  // Where the two bytes follow each other, in either order.
  static std::uint64_t LookForPair(const std::uint8_t* x, std::uint8_t a, std::uint8_t b) {
    std::uint64_t found = 0;
    for (std::size_t i = 0; i < kWindow; ++i) {
      const bool here = (x[i] == a && x[i + 1] == b) || (x[i] == b && x[i + 1] == a);
      found |= std::uint64_t{here} << i;
    }
    return found;
  }

  // How many of the `count` bytes at `x` are the same as the byte `lag` in front of them.
  static std::size_t Repeats(const std::uint8_t* x, std::size_t lag, std::size_t count) {
    std::size_t n = 0;
    while (n < count && x[n] == *(x + n - lag)) {
      ++n;
    }
    return n;
  }

  // How many of them are `step` above the byte in front of them.
  static std::size_t Climbs(const std::uint8_t* x, int step, std::size_t count) {
    std::size_t n = 0;
    while (n < count && x[n] - *(x + n - 1) == step) {
      ++n;
    }
    return n;
  }
};

#if defined(__SSE2__)

// Sixteen bytes at a time, with what every x86-64 processor has.
struct Sse2Windows {
  static PlaneWindow Look(const std::uint8_t* x) {
    PlaneWindow w{};
    for (unsigned i = 0; i < kWindow; i += 16) {
      const __m128i x0 = Load(x + i);
      const __m128i x1 = Load(x + i + 1);
      const __m128i x2 = Load(x + i + 2);
      const __m128i d = _mm_sub_epi8(x1, x0);
      const __m128i e = _mm_sub_epi8(x2, x1);
      const __m128i d_up = _mm_cmpeq_epi8(_mm_max_epu8(x0, x1), x1);  // d >= 0
      const __m128i e_up = _mm_cmpeq_epi8(_mm_max_epu8(x1, x2), x2);
      const __m128i even = _mm_and_si128(_mm_cmpeq_epi8(d, e), _mm_cmpeq_epi8(d_up, e_up));
      const __m128i zigzag =
          _mm_and_si128(_mm_andnot_si128(d_up, _mm_cmpeq_epi8(d, _mm_set1_epi8(-1))),
                        _mm_and_si128(e_up, _mm_cmpeq_epi8(e, _mm_set1_epi8(3))));
      w.same |= Bits(_mm_cmpeq_epi8(x0, x1)) << i;
      w.back |= Bits(_mm_cmpeq_epi8(x0, x2)) << i;
      w.even_step |= Bits(even) << i;
      w.zigzag |= Bits(zigzag) << i;
    }
    return w;
  }

  static std::uint64_t LookForPair(const std::uint8_t* x, std::uint8_t a, std::uint8_t b) {
    const __m128i as = _mm_set1_epi8(static_cast<char>(a));
    const __m128i bs = _mm_set1_epi8(static_cast<char>(b));
    std::uint64_t found = 0;
    for (unsigned i = 0; i < kWindow; i += 16) {
      const __m128i x0 = Load(x + i);
      const __m128i x1 = Load(x + i + 1);
      const __m128i ab = _mm_and_si128(_mm_cmpeq_epi8(x0, as), _mm_cmpeq_epi8(x1, bs));
      const __m128i ba = _mm_and_si128(_mm_cmpeq_epi8(x0, bs), _mm_cmpeq_epi8(x1, as));
      found |= Bits(_mm_or_si128(ab, ba)) << i;
    }
    return found;
  }

  static std::size_t Repeats(const std::uint8_t* x, std::size_t lag, std::size_t count) {
    std::size_t n = 0;
    while (n + 64 <= count && RepeatsAll(x + n, lag)) {
      n += 64;
    }
    return n + PortableWindows::Repeats(x + n, lag, count - n);
  }

  static std::size_t Climbs(const std::uint8_t* x, int step, std::size_t count) {
    const __m128i steps = _mm_set1_epi8(static_cast<char>(step));
    const __m128i up = _mm_set1_epi8(static_cast<char>(step >= 0 ? -1 : 0));
    std::size_t n = 0;
    for (; n + 16 <= count; n += 16) {
      const __m128i x0 = Load(x + n - 1);
      const __m128i x1 = Load(x + n);
      const __m128i goes_up = _mm_cmpeq_epi8(_mm_max_epu8(x0, x1), x1);
      const __m128i all =
          _mm_and_si128(_mm_cmpeq_epi8(_mm_sub_epi8(x1, x0), steps), _mm_cmpeq_epi8(goes_up, up));
      if (Bits(all) != 0xffff) {
        break;
      }
    }
    return n + PortableWindows::Climbs(x + n, step, count - n);
  }

 private:
  static __m128i Load(const std::uint8_t* from) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
  }
  static std::uint64_t Bits(__m128i mask) {
    return static_cast<std::uint64_t>(static_cast<unsigned>(_mm_movemask_epi8(mask)));
  }
  static bool RepeatsAll(const std::uint8_t* x, std::size_t lag) {
    __m128i same = _mm_set1_epi8(-1);
    for (std::size_t i = 0; i < 64; i += 16) {
      same = _mm_and_si128(same, _mm_cmpeq_epi8(Load(x + i), Load(x + i - lag)));
    }
    return Bits(same) == 0xffff;
  }
};

#endif

}  // namespace KRD
