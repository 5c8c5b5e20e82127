// Little-endian words at any address: the one place that knows byte order and alignment.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace KRD {

// The value whose bytes in memory are those of `value` with the lowest first, and the way back.
template <class Word>
constexpr Word LittleEndian(Word value) {
  if constexpr (std::endian::native == std::endian::little) {
    return value;
  } else {
    Word turned = 0;
    for (std::size_t i = 0; i < sizeof value; ++i) {
      turned = static_cast<Word>(turned << 8 | (value >> (8 * i) & 0xff));
    }
    return turned;
  }
}

template <class Word>
Word LoadWord(const void* from) {
  Word value;
  std::memcpy(&value, from, sizeof value);
  return LittleEndian(value);
}

template <class Word>
void StoreWord(void* to, Word value) {
  value = LittleEndian(value);
  std::memcpy(to, &value, sizeof value);
}

inline std::uint16_t LoadU16(const void* from) {
  return LoadWord<std::uint16_t>(from);
}
inline std::uint32_t LoadU32(const void* from) {
  return LoadWord<std::uint32_t>(from);
}
inline std::uint64_t LoadU64(const void* from) {
  return LoadWord<std::uint64_t>(from);
}
inline std::int32_t LoadI32(const void* from) {
  return static_cast<std::int32_t>(LoadU32(from));
}

inline void StoreU16(void* to, std::uint16_t value) {
  StoreWord(to, value);
}
inline void StoreU32(void* to, std::uint32_t value) {
  StoreWord(to, value);
}
inline void StoreU64(void* to, std::uint64_t value) {
  StoreWord(to, value);
}
inline void StoreI32(void* to, std::int32_t value) {
  StoreU32(to, static_cast<std::uint32_t>(value));
}

}  // namespace KRD
