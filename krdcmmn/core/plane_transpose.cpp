#include "krdcmmn/core/plane_transpose.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace KRD {

namespace {

// What the tiles below leave over, and all of it on a host without their instructions.
void GatherBytes(char* planes, std::size_t pitch, const char* elements, std::size_t from,
                 std::size_t to, std::size_t stride, std::size_t wanted) {
  for (std::size_t i = from; i < to; ++i) {
    for (std::size_t g = 0; g < wanted; ++g) {
      planes[g * pitch + i] = elements[i * stride + g];
    }
  }
}

void ScatterBytes(char* elements, const char* planes, std::size_t pitch, std::size_t from,
                  std::size_t to, std::size_t stride, std::size_t given) {
  for (std::size_t g = 0; g < given; ++g) {
    for (std::size_t i = from; i < to; ++i) {
      elements[i * stride + g] = planes[g * pitch + i];
    }
  }
}

#if defined(__SSE2__)

constexpr std::size_t kTile = 16;  // elements in a tile: the bytes of a vector

__m128i Load(const char* from) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

void Store(char* to, __m128i value) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), value);
}

// The bytes of a tile are numbered by vector and byte. Interleaving the first half of the vectors
// with the second half turns the binary numbers left by one place, so that the lowest bit of the
// new number tells the half. Turned by the four places that count the elements, element-major order
// becomes plane-major; turned by the rest it comes back.
template <std::size_t kVectors, int kTurns>
void Turn(__m128i (&v)[kVectors]) {
  for (int turn = 0; turn < kTurns; ++turn) {
    __m128i w[kVectors];
    for (std::size_t i = 0; i < kVectors / 2; ++i) {
      w[2 * i] = _mm_unpacklo_epi8(v[i], v[i + kVectors / 2]);
      w[2 * i + 1] = _mm_unpackhi_epi8(v[i], v[i + kVectors / 2]);
    }
    std::memcpy(v, w, sizeof v);
  }
}

constexpr int Log2(std::size_t n) {
  return n == 1 ? 0 : 1 + Log2(n / 2);
}

// Elements of 2, 4 or 8 bytes, which lie side by side in the vectors of a tile.
template <std::size_t kStride>
std::size_t GatherSmall(char* planes, std::size_t pitch, const char* elements, std::size_t count,
                        std::size_t first, std::size_t wanted) {
  std::size_t i = 0;
  for (; i + kTile <= count; i += kTile) {
    __m128i v[kStride];
    for (std::size_t k = 0; k < kStride; ++k) {
      v[k] = Load(elements + i * kStride + k * kTile);
    }
    Turn<kStride, 4>(v);
    for (std::size_t g = 0; g < wanted; ++g) {
      Store(planes + g * pitch + i, v[first + g]);
    }
  }
  return i;
}

template <std::size_t kStride>
std::size_t ScatterSmall(char* elements, const char* planes, std::size_t pitch, std::size_t count) {
  std::size_t i = 0;
  for (; i + kTile <= count; i += kTile) {
    __m128i v[kStride];
    for (std::size_t g = 0; g < kStride; ++g) {
      v[g] = Load(planes + g * pitch + i);
    }
    Turn<kStride, Log2(kStride)>(v);
    for (std::size_t k = 0; k < kStride; ++k) {
      Store(elements + i * kStride + k * kTile, v[k]);
    }
  }
  return i;
}

// Sixteen planes of elements of any size. Up to sixteen bytes behind the first wanted byte of an
// element are read, so the last elements are left to the caller when the planes end before.
std::size_t GatherSixteen(char* planes, std::size_t pitch, const char* elements, std::size_t count,
                          std::size_t stride, std::size_t wanted) {
  std::size_t i = 0;
  for (; i + kTile <= count; i += kTile) {
    __m128i v[kTile];
    for (std::size_t e = 0; e < kTile; ++e) {
      v[e] = Load(elements + (i + e) * stride);
    }
    Turn<kTile, 4>(v);
    for (std::size_t g = 0; g < wanted; ++g) {
      Store(planes + g * pitch + i, v[g]);
    }
  }
  return i;
}

// Writes sixteen bytes of each element in ascending order: what goes beyond the planes given is
// written over by the element that it belongs to, or by the caller.
std::size_t ScatterSixteen(char* elements, const char* planes, std::size_t pitch, std::size_t count,
                           std::size_t stride, std::size_t given) {
  std::size_t i = 0;
  for (; i + kTile <= count; i += kTile) {
    __m128i v[kTile];
    for (std::size_t g = 0; g < kTile; ++g) {
      v[g] = g < given ? Load(planes + g * pitch + i) : _mm_setzero_si128();
    }
    Turn<kTile, 4>(v);
    for (std::size_t e = 0; e < kTile; ++e) {
      Store(elements + (i + e) * stride, v[e]);
    }
  }
  return i;
}

// Elements of which sixteen bytes from the first wanted one on lie inside the array, whatever
// follows it.
std::size_t WithSixteenBytes(std::size_t count, std::size_t stride, std::size_t first) {
  const std::size_t bytes = count * stride - first;
  return bytes < kTile ? 0 : (bytes - kTile) / stride + 1;
}

// As many elements as whole tiles hold, for planes of which at most sixteen are asked for.
std::size_t GatherTiles(char* planes, std::size_t pitch, const char* elements, std::size_t count,
                        std::size_t stride, std::size_t first, std::size_t wanted) {
  switch (stride) {
    case 2:
      return GatherSmall<2>(planes, pitch, elements, count, first, wanted);
    case 4:
      return GatherSmall<4>(planes, pitch, elements, count, first, wanted);
    case 8:
      return GatherSmall<8>(planes, pitch, elements, count, first, wanted);
    default:
      return GatherSixteen(planes, pitch, elements + first, WithSixteenBytes(count, stride, first),
                           stride, wanted);
  }
}

std::size_t ScatterTiles(char* elements, const char* planes, std::size_t pitch, std::size_t count,
                         std::size_t stride, std::size_t first, std::size_t given) {
  if (given == stride && stride == 2) {
    return ScatterSmall<2>(elements, planes, pitch, count);
  }
  if (given == stride && stride == 4) {
    return ScatterSmall<4>(elements, planes, pitch, count);
  }
  if (given == stride && stride == 8) {
    return ScatterSmall<8>(elements, planes, pitch, count);
  }
  if (given == stride || given == kTile) {
    return ScatterSixteen(elements + first, planes, pitch, WithSixteenBytes(count, stride, first),
                          stride, given);
  }
  return 0;
}

#else

constexpr std::size_t kTile = 16;

std::size_t GatherTiles(char*, std::size_t, const char*, std::size_t, std::size_t, std::size_t,
                        std::size_t) {
  return 0;
}

std::size_t ScatterTiles(char*, const char*, std::size_t, std::size_t, std::size_t, std::size_t,
                         std::size_t) {
  return 0;
}

#endif

}  // namespace

void GatherPlanes(char* planes, std::size_t pitch, const char* elements, std::size_t count,
                  std::size_t stride, std::size_t first, std::size_t planes_wanted) {
  for (std::size_t g = 0; g < planes_wanted; g += kTile) {
    const std::size_t wanted = std::min(planes_wanted - g, kTile);
    char* const to = planes + g * pitch;
    const std::size_t done = GatherTiles(to, pitch, elements, count, stride, first + g, wanted);
    GatherBytes(to, pitch, elements + first + g, done, count, stride, wanted);
  }
}

void ScatterPlanes(char* elements, const char* planes, std::size_t pitch, std::size_t count,
                   std::size_t stride, std::size_t first, std::size_t planes_given) {
  for (std::size_t next = 0; next < planes_given; next += kTile) {
    // The last sixteen planes overlap those before, so that they are sixteen.
    const std::size_t g = std::min(next, planes_given - std::min(planes_given, kTile));
    const std::size_t given = std::min(planes_given, kTile);
    const char* const from = planes + g * pitch;
    const std::size_t done = ScatterTiles(elements, from, pitch, count, stride, first + g, given);
    ScatterBytes(elements + first + g, from, pitch, done, count, stride, given);
  }
}

}  // namespace KRD
