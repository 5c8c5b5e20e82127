#include "krdcmmn/text/id_table.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

#include "krdcmmn/platform/codepage.h"

namespace KRD {

namespace {

// Odd numbers without a pattern; the first two and Finish are those of MurmurHash3.
constexpr std::uint64_t kFirst = 0xff51afd7ed558ccd;
constexpr std::uint64_t kSecond = 0xc4ceb9fe1a85ec53;
constexpr std::uint64_t kThird = 0x9e3779b97f4a7c15;
constexpr std::uint64_t kFourth = 0xbf58476d1ce4e5b9;

std::uint64_t Stir(std::uint64_t h, std::uint64_t word) {
  h = (h ^ word) * kThird;
  return h ^ h >> 32;
}

std::uint64_t Finish(std::uint64_t h) {
  h = (h ^ h >> 33) * kFirst;
  h = (h ^ h >> 33) * kSecond;
  return h ^ h >> 33;
}

template <class Word>
std::uint64_t Load(const char* p) {
  Word word;
  std::memcpy(&word, p, sizeof word);
  return word;
}

std::uint64_t FoldedFingerprint(const char* text, std::size_t size) {
  std::uint64_t h = size;
  while (size != 0) {
    std::uint64_t word = 0;
    for (std::size_t taken = std::min<std::size_t>(size, 8); taken != 0; --taken, --size) {
      word = word << 8 | AnsiUpper(static_cast<unsigned char>(*text++));
    }
    h = Stir(h, word);
  }
  return Finish(h);
}

// Its slots still fit into an array.
constexpr std::uint32_t kMostIds = 100000000;

}  // namespace

std::uint64_t Fingerprint(const char* text, std::size_t size, bool fold) {
  if (fold) {
    return FoldedFingerprint(text, size);
  }
  std::uint64_t h = size;
  if (size < 4) {
    // Bytes at the front, in the middle and at the end.
    const auto byte = [&](std::size_t i) { return Load<std::uint8_t>(text + i); };
    return Finish(size == 0 ? h : Stir(h, byte(0) << 16 | byte(size / 2) << 8 | byte(size - 1)));
  }
  if (size < 8) {
    const std::uint64_t front = Load<std::uint32_t>(text);
    return Finish(Stir(h, front << 32 | Load<std::uint32_t>(text + size - 4)));
  }
  const char* const last = text + size - 8;
  if (size <= 32) {
    // Four words, of which some overlap, so that no length takes a branch of its own.
    const std::uint64_t words[] = {
        Load<std::uint64_t>(text), Load<std::uint64_t>(text + std::min<std::size_t>(8, size - 8)),
        Load<std::uint64_t>(text + std::min<std::size_t>(16, size - 8)), Load<std::uint64_t>(last)};
    return Finish(h * kFourth + (words[0] ^ words[0] >> 29) * kFirst +
                  (words[1] ^ words[1] >> 31) * kSecond + (words[2] ^ words[2] >> 33) * kThird +
                  (words[3] ^ words[3] >> 35) * kFourth);
  }
  for (; text < last; text += 8) {
    h = Stir(h, Load<std::uint64_t>(text));
  }
  return Finish(Stir(h, Load<std::uint64_t>(last)));
}

void ID_TABLE::prepare(std::uint32_t limit) {
  groups_.empty();
  if (limit > kMostIds) {
    return;
  }
  // Full to sixteen seventeenths when all ids are there.
  groups_.setNElem((limit + limit / 16) / kSlots + 1);
  // Two ids of all ones stand for the marks of empty slots.
  id_mask_ = (std::uint32_t{1} << std::bit_width(limit + 2)) - 1;
  clear();
}

void ID_TABLE::clear() {
  for (GROUP& group : groups_) {
    std::memset(group.words, 0xff, sizeof group.words);
    std::memset(group.starts, 0, sizeof group.starts);
  }
  const std::uint32_t slots = groups_.count() * kSlots;
  empty_left_ = slots - slots / 32 - 1;
}

void ID_TABLE::empty() {
  groups_.empty();
  empty_left_ = 0;
}

void ID_TABLE::swap(ID_TABLE& other) {
  groups_.swap(other.groups_);
  std::swap(id_mask_, other.id_mask_);
  std::swap(empty_left_, other.empty_left_);
}

void ID_TABLE::insert(std::uint64_t fingerprint, int id, std::uint32_t start) {
  std::uint32_t at = place(fingerprint);
  unsigned room;
  while ((room = matches(groups_[at], kGone, kGone)) == 0) {
    groups_[at].starts[0] |= kFurther;
    at = next(at);
  }
  const auto slot = static_cast<unsigned>(std::countr_zero(room));
  empty_left_ -= groups_[at].words[slot] == kEmpty;
  groups_[at].words[slot] = mark(fingerprint) | static_cast<std::uint32_t>(id);
  groups_[at].starts[slot] = start | (groups_[at].starts[slot] & kFurther);
}

void ID_TABLE::remove(std::uint64_t fingerprint, int id, std::uint32_t size) {
  const auto gone = static_cast<std::uint32_t>(id);
  std::uint32_t at = place(fingerprint);
  unsigned hit;
  while ((hit = matches(groups_[at], kEmpty, mark(fingerprint) | gone)) == 0) {
    at = next(at);
  }
  groups_[at].words[std::countr_zero(hit)] = kGone;
  for (GROUP& group : groups_) {
    for (unsigned slot = 0; slot < kSlots; ++slot) {
      const std::uint32_t word = group.words[slot];
      const std::uint32_t behind = (word & id_mask_) > gone && word < kGone;
      group.words[slot] = word - behind;
      group.starts[slot] -= behind * size;
    }
  }
}

}  // namespace KRD
