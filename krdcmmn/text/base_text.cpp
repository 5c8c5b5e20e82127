// BASE_TEXT: the list in its pool, and the strings that wait beside it.
#include <algorithm>
#include <cstring>
#include <functional>
#include <utility>

#include "krdcmmn/text/hash_text.h"

namespace KRD {

namespace {

// Beyond this many bytes an array refuses; a larger number still fits its count.
constexpr std::size_t kRefused = 0xffffffff;

// Replaced strings may waste this many bytes more than the pool holds before they are written into
// their places.
constexpr std::size_t kSpareWaste = std::size_t{1} << 20;
constexpr std::size_t kLeastRoom = 16;

const char* TextOf(const char* text) {
  return text != nullptr ? text : "";
}

unsigned int Count(std::size_t bytes) {
  return static_cast<unsigned int>(std::min(bytes, kRefused));
}

bool Within(const TARRAY<char>& array, const char* text) {
  const std::less<const char*> before;
  return array.count() != 0 && !before(text, array.begin()) && before(text, array.end());
}

template <class T>
void Copy(TARRAY<T>& to, const TARRAY<T>& from) {
  to.setNElem(from.count());
  std::copy(from.begin(), from.end(), to.begin());
}

// A text that outlives changes of the list it may lie in.
class STEADY_TEXT {
 public:
  STEADY_TEXT(const char* text, std::size_t size, bool copy) : text_(text) {
    if (copy) {
      own_.setNElem(Count(size));
      std::memcpy(own_.begin(), text, size);
      text_ = own_.begin();
    }
  }
  const char* get() const { return text_; }

 private:
  TARRAY<char> own_;
  const char* text_;
};

}  // namespace

BASE_TEXT::BASE_TEXT() {
  offsets.add(0);
}

BASE_TEXT::~BASE_TEXT() = default;

bool BASE_TEXT::Holds(const char* text) const {
  return Within(pool, text) || Within(latePool_, text);
}

// A new last string of `size` bytes; gives its address.
char* BASE_TEXT::Extend(std::size_t size) {
  const auto used = static_cast<std::size_t>(offsets.end()[-1]);
  pool.setNElem(Count(used + std::min(size, kRefused)));
  offsets.add(static_cast<std::int32_t>(used + size));
  return pool.begin() + used;
}

int BASE_TEXT::Append(const char* text, std::size_t size) {
  const bool own = Within(pool, text);
  const std::ptrdiff_t offset = own ? text - pool.begin() : 0;
  char* const to = Extend(size + 1);
  std::memcpy(to, own ? pool.begin() + offset : text, size);
  to[size] = 0;
  return nElem() - 1;
}

int BASE_TEXT::add(const char* text) {
  ++edits_;
  text = TextOf(text);
  return Append(text, std::strlen(text));
}

int BASE_TEXT::add(const char* begin, const char* end) {
  ++edits_;
  const std::less<const char*> before;
  const std::size_t size =
      begin != nullptr && before(begin, end) ? static_cast<std::size_t>(end - begin) : 0;
  const int id = Append(TextOf(begin), size);
  char* const text = pool.begin() + offsets[static_cast<unsigned int>(id)];
  const std::size_t length = std::strlen(text);
  std::memset(text + length, 0, size - length);
  return id;
}

int BASE_TEXT::addEmpty(int size) {
  ++edits_;
  filledInPlace_ = true;
  const std::size_t bytes = static_cast<std::size_t>(std::max(size, 0)) + 1;
  std::memset(Extend(bytes), 0, bytes);
  return nElem() - 1;
}

void BASE_TEXT::set(int i, const char* text) {
  if (i < 0 || i >= nElem()) {
    return;
  }
  ++edits_;
  text = TextOf(text);
  const std::size_t size = std::strlen(text) + 1;
  const STEADY_TEXT steady(text, size, Holds(text));
  Replace(static_cast<unsigned int>(i), steady.get(), size);
  Forget(static_cast<unsigned int>(i));
}

// Writes `size` bytes, terminator included, into the place of string i in the pool.
void BASE_TEXT::Replace(unsigned int i, const char* text, std::size_t size) {
  const auto start = static_cast<unsigned int>(offsets[i]);
  const auto now = static_cast<std::size_t>(offsets[i + 1] - offsets[i]);
  if (size < now) {
    pool.del(start, static_cast<unsigned int>(now - size));
  } else if (size > now) {
    pool.ins(start, Count(size - now));
  }
  if (size != now) {
    const auto delta =
        static_cast<std::int32_t>(static_cast<std::int64_t>(size) - static_cast<std::int64_t>(now));
    for (std::int32_t* p = offsets.begin() + i + 1; p != offsets.end(); ++p) {
      *p += delta;
    }
  }
  std::memcpy(pool.begin() + start, text, size);
}

void BASE_TEXT::Remove(unsigned int i, unsigned int count) {
  const auto all = static_cast<unsigned int>(nElem());
  if (i >= all || count == 0) {
    return;
  }
  count = std::min(count, all - i);
  const std::int32_t bytes = offsets[i + count] - offsets[i];
  pool.del(static_cast<unsigned int>(offsets[i]), static_cast<unsigned int>(bytes));
  for (std::int32_t* p = offsets.begin() + i + count; p != offsets.end(); ++p) {
    *p -= bytes;
  }
  offsets.del(i, count);
  if (i < late_.count()) {
    const unsigned int waiting = std::min(count, late_.count() - i);
    for (unsigned int k = i; k < i + waiting; ++k) {
      Forget(k);
    }
    late_.del(i, waiting);
  }
}

void BASE_TEXT::del(unsigned int i) {
  del(i, 1);
}

void BASE_TEXT::del(unsigned int i, unsigned int count) {
  ++edits_;
  ++removals_;
  Remove(i, count);
}

void BASE_TEXT::empty() {
  ++edits_;
  ++removals_;
  filledInPlace_ = false;
  pool.empty();
  offsets.setNElem(1);
  offsets[0] = 0;
  late_.empty();
  lateEntries_.empty();
  latePool_.empty();
  lateWaste_ = 0;
}

void BASE_TEXT::copy_from(const BASE_TEXT& other) {
  if (this == &other) {
    return;
  }
  // All that may fail comes first.
  TARRAY<std::int32_t> late;
  TARRAY<LATE> late_entries;
  TARRAY<char> late_pool;
  Copy(late, other.late_);
  Copy(late_entries, other.lateEntries_);
  Copy(late_pool, other.latePool_);
  const unsigned int kept = offsets.count();
  offsets.setNElem(std::max(kept, other.offsets.count()));
  try {
    pool.setNElem(std::max(pool.count(), other.pool.count()));
  } catch (...) {
    offsets.setNElem(kept);
    throw;
  }
  Copy(offsets, other.offsets);
  Copy(pool, other.pool);
  late_.get(late);
  lateEntries_.get(late_entries);
  latePool_.get(late_pool);
  lateWaste_ = other.lateWaste_;
  filledInPlace_ = other.filledInPlace_;
  ++edits_;
  ++removals_;
}

void BASE_TEXT::swap(BASE_TEXT& other) {
  offsets.swap(other.offsets);
  pool.swap(other.pool);
  late_.swap(other.late_);
  lateEntries_.swap(other.lateEntries_);
  latePool_.swap(other.latePool_);
  std::swap(lateWaste_, other.lateWaste_);
  std::swap(edits_, other.edits_);
  std::swap(removals_, other.removals_);
  std::swap(filledInPlace_, other.filledInPlace_);
}

// --- Strings that wait beside the pool

const char* BASE_TEXT::LateText(unsigned int i) const {
  return latePool_.begin() + lateEntries_[static_cast<unsigned int>(late_[i])].start;
}

unsigned int BASE_TEXT::LateSize(unsigned int i) const {
  return lateEntries_[static_cast<unsigned int>(late_[i])].size;
}

// What waits for string i is no longer wanted.
void BASE_TEXT::Forget(unsigned int i) {
  if (i < late_.count() && late_[i] >= 0) {
    lateWaste_ += lateEntries_[static_cast<unsigned int>(late_[i])].room + sizeof(LATE);
    late_[i] = -1;
  }
}

void BASE_TEXT::setLater(int i, const char* text) {
  if (i < 0 || i >= nElem()) {
    return;
  }
  ++edits_;
  text = TextOf(text);
  const std::size_t size = std::strlen(text) + 1;
  const auto index = static_cast<unsigned int>(i);
  const STEADY_TEXT steady(text, size, Holds(text));
  const bool waits = index < late_.count() && late_[index] >= 0;
  const bool in_place = i == nElem() - 1 || size == len(index);
  if (!waits && in_place) {
    Replace(index, steady.get(), size);
    return;
  }
  PutLate(index, steady.get(), size);
  if (lateWaste_ > pool.count() + kSpareWaste) {
    settle();
  }
}

void BASE_TEXT::PutLate(unsigned int i, const char* text, std::size_t size) {
  const unsigned int known = late_.count();
  if (i >= known) {
    late_.setNElem(i + 1);
    std::fill(late_.begin() + known, late_.end(), -1);
  }
  LATE* const waiting =
      late_[i] >= 0 ? &lateEntries_[static_cast<unsigned int>(late_[i])] : nullptr;
  const std::size_t had = waiting != nullptr ? waiting->room : 0;
  LATE entry = {waiting != nullptr ? waiting->start : 0, static_cast<std::uint32_t>(size),
                static_cast<std::uint32_t>(had)};
  if (size > had) {
    // Half as much again, so that a string that keeps growing moves rarely.
    const std::size_t room = std::max(size + (had != 0 ? size / 2 : 0), kLeastRoom);
    entry.start = latePool_.count();
    latePool_.setNElem(Count(entry.start + room));
    entry.room = static_cast<std::uint32_t>(room);
    lateWaste_ += had;
  }
  std::memcpy(latePool_.begin() + entry.start, text, size);
  if (waiting != nullptr) {
    *waiting = entry;
  } else {
    lateEntries_.add(entry);
    late_[i] = static_cast<std::int32_t>(lateEntries_.count() - 1);
  }
}

void BASE_TEXT::settle() {
  if (isSettled()) {
    return;
  }
  ++edits_;
  const auto all = static_cast<unsigned int>(nElem());
  std::size_t bytes = 0;
  for (unsigned int i = 0; i < all; ++i) {
    bytes += len(i);
  }
  TARRAY<char> settled;
  settled.setNElem(Count(bytes));
  std::size_t at = 0;
  std::int32_t start = 0;  // of string i before it moves
  for (unsigned int i = 0; i < all; ++i) {
    const std::int32_t next = offsets[i + 1];
    const bool waits = i < late_.count() && late_[i] >= 0;
    const std::size_t size = waits ? LateSize(i) : static_cast<std::size_t>(next - start);
    std::memcpy(settled.begin() + at, waits ? LateText(i) : pool.begin() + start, size);
    at += size;
    start = next;
    offsets[i + 1] = static_cast<std::int32_t>(at);
  }
  pool.get(settled);
  late_.setNElem(0);
  lateEntries_.setNElem(0);
  latePool_.setNElem(0);
  lateWaste_ = 0;
}

}  // namespace KRD
