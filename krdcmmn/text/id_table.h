// ID_TABLE: a set of string ids, found by a fingerprint of their strings.
//
// The chains of HASH_TEXT follow a hash that keeps the order of their ids, and short strings of one
// alphabet share few of its values, so that chains grow long. This table beside them answers the
// lookups: open addressing, in groups of eight slots that fill one cache line. A slot has a word
// with an id in its low bits and as much of the fingerprint as fits above it, and the start of the
// string in its pool, so that a lookup reads a group and the string and nothing between. A search
// goes on to the next group while no slot is empty.
//
//        31            21 20                    0
//   word [ fingerprint   |          id          ]      ids below 2^21
#pragma once

#include <cstddef>
#include <cstdint>

#include "krdcmmn/core/tarray.h"

namespace KRD {

// A fingerprint of `size` bytes; `fold` takes them in upper case.
std::uint64_t Fingerprint(const char* text, std::size_t size, bool fold);

class ID_TABLE {
 public:
  // No ids, and room for those below `limit`; no room, and not usable, for more of them than an
  // array can hold. Throws MA_EXCEPTION.
  void prepare(std::uint32_t limit);
  bool isUsable() const { return groups_.count() != 0; }
  void empty();
  void swap(ID_TABLE& other);

  // The id with this fingerprint for whose start `same` holds, or -1.
  template <class Same>
  int find(std::uint64_t fingerprint, Same same) const;

  // Adds an id that is not there. Needs a table that is not full.
  void insert(std::uint64_t fingerprint, int id, std::uint32_t start);
  // Takes out an id whose string had `size` bytes; lowers those above it by one, and their starts.
  void remove(std::uint64_t fingerprint, int id, std::uint32_t size);

  // Removals have used up the room. `rehash` gives it back.
  bool isFull() const { return empty_left_ == 0; }
  template <class FingerprintOf>
  void rehash(FingerprintOf fingerprint_of);

 private:
  static constexpr unsigned kSlots = 8;
  struct GROUP {
    std::uint32_t words[kSlots];
    std::uint32_t starts[kSlots];  // the first one's top bit: a search goes on to the next group
  };
  static constexpr std::uint32_t kEmpty = 0xffffffff;
  static constexpr std::uint32_t kGone = 0xfffffffe;  // held an id once
  static constexpr std::uint32_t kFurther = 0x80000000;

  std::uint32_t place(std::uint64_t fingerprint) const {
    return static_cast<std::uint32_t>((fingerprint >> 32) * groups_.count() >> 32);
  }
  std::uint32_t next(std::uint32_t group) const { return ++group == groups_.count() ? 0 : group; }
  std::uint32_t mark(std::uint64_t fingerprint) const {
    return static_cast<std::uint32_t>(fingerprint) & ~id_mask_;
  }
  // Bit i tells that word i of the group is `value` in the bits of `mask`.
  static unsigned matches(const GROUP& group, std::uint32_t mask, std::uint32_t value);
  void clear();

  TARRAY<GROUP> groups_;
  std::uint32_t id_mask_ = 0;
  std::uint32_t empty_left_ = 0;  // empty slots that may still be filled; some always stay
};

inline unsigned ID_TABLE::matches(const GROUP& group, std::uint32_t mask, std::uint32_t value) {
  using LANES = std::uint32_t __attribute__((vector_size(16)));
  constexpr LANES kLow = {1, 2, 4, 8};
  constexpr LANES kHigh = {16, 32, 64, 128};
  LANES low;
  LANES high;
  __builtin_memcpy(&low, group.words, sizeof low);
  __builtin_memcpy(&high, group.words + 4, sizeof high);
  const LANES bits = (((low & mask) == value) & kLow) | (((high & mask) == value) & kHigh);
  std::uint64_t halves[2];
  __builtin_memcpy(halves, &bits, sizeof bits);
  const std::uint64_t both = halves[0] | halves[1];
  return static_cast<unsigned>(both | both >> 32) & 0xff;
}

template <class Same>
int ID_TABLE::find(std::uint64_t fingerprint, Same same) const {
  const std::uint32_t wanted = mark(fingerprint);
  for (std::uint32_t at = place(fingerprint);; at = next(at)) {
    const GROUP& group = groups_[at];
    for (unsigned hits = matches(group, ~id_mask_, wanted); hits != 0; hits &= hits - 1) {
      const auto slot = static_cast<unsigned>(__builtin_ctz(hits));
      if (group.words[slot] < kGone && same(group.starts[slot] & ~kFurther)) {
        return static_cast<int>(group.words[slot] & id_mask_);
      }
    }
    if ((group.starts[0] & kFurther) == 0) {
      return -1;
    }
  }
}

template <class FingerprintOf>
void ID_TABLE::rehash(FingerprintOf fingerprint_of) {
  TARRAY<GROUP> old;
  old.setNElem(groups_.count());
  old.swap(groups_);
  clear();
  for (const GROUP& group : old) {
    for (unsigned slot = 0; slot < kSlots; ++slot) {
      if (group.words[slot] < kGone) {
        const auto id = static_cast<int>(group.words[slot] & id_mask_);
        insert(fingerprint_of(id), id, group.starts[slot] & ~kFurther);
      }
    }
  }
}

}  // namespace KRD
