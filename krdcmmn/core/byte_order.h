// Little-endian words at any address: the one place that knows byte order and alignment.
#pragma once

#include <cstdint>
#include <cstring>

namespace KRD {

// Written byte by byte, which compilers turn into one move on a little-endian host.
inline std::uint16_t LoadU16(const void* from) {
  unsigned char b[2];
  std::memcpy(b, from, sizeof b);
  return static_cast<std::uint16_t>(b[0] | b[1] << 8);
}

inline std::uint32_t LoadU32(const void* from) {
  unsigned char b[4];
  std::memcpy(b, from, sizeof b);
  return std::uint32_t{b[0]} | std::uint32_t{b[1]} << 8 | std::uint32_t{b[2]} << 16 |
         std::uint32_t{b[3]} << 24;
}

inline std::uint64_t LoadU64(const void* from) {
  return LoadU32(from) | std::uint64_t{LoadU32(static_cast<const char*>(from) + 4)} << 32;
}

inline std::int32_t LoadI32(const void* from) {
  return static_cast<std::int32_t>(LoadU32(from));
}

inline void StoreU16(void* to, std::uint16_t value) {
  const unsigned char b[2] = {static_cast<unsigned char>(value),
                              static_cast<unsigned char>(value >> 8)};
  std::memcpy(to, b, sizeof b);
}

inline void StoreU32(void* to, std::uint32_t value) {
  const unsigned char b[4] = {
      static_cast<unsigned char>(value), static_cast<unsigned char>(value >> 8),
      static_cast<unsigned char>(value >> 16), static_cast<unsigned char>(value >> 24)};
  std::memcpy(to, b, sizeof b);
}

inline void StoreI32(void* to, std::int32_t value) {
  StoreU32(to, static_cast<std::uint32_t>(value));
}

}  // namespace KRD
