#include "krdcmmn/text/hash_text.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <utility>

#include "krdcmmn/platform/codepage.h"

namespace KRD {

namespace {

constexpr std::uint32_t kSeed = 0x0decabac;

std::uint32_t Mix(std::uint32_t h, char byte) {
  return (h << 1 | h >> 31) + static_cast<std::uint32_t>(static_cast<signed char>(byte));
}

char Upper(char byte) {
  return static_cast<char>(AnsiUpper(static_cast<unsigned char>(byte)));
}

const char* TextOf(const char* text) {
  return text != nullptr ? text : "";
}

// Lowers every id above `gone` by one.
void Lower(TARRAY<std::int32_t>& ids, std::int32_t gone) {
  for (std::int32_t& id : ids) {
    id -= id > gone;
  }
}

}  // namespace

HASH_TEXT::HASH_TEXT() = default;
HASH_TEXT::~HASH_TEXT() = default;

HASH_TEXT_NOCASE::HASH_TEXT_NOCASE() {
  ignoreCase = true;
}
HASH_TEXT_NOCASE::~HASH_TEXT_NOCASE() = default;

// --- Hashing and comparing

// Of a text up to its terminator; gives its length too.
std::uint32_t HASH_TEXT::HashOf(const char* text, std::size_t* size) const {
  std::uint32_t h = kSeed;
  const char* p = text;
  if (ignoreCase) {
    for (; *p != 0; ++p) {
      h = Mix(h, Upper(*p));
    }
  } else {
    for (; *p != 0; ++p) {
      h = Mix(h, *p);
    }
  }
  *size = static_cast<std::size_t>(p - text);
  return h;
}

std::uint32_t HASH_TEXT::HashOf(const char* begin, const char* end) const {
  std::uint32_t h = kSeed;
  for (const char* p = begin; p != end; ++p) {
    h = Mix(h, ignoreCase ? Upper(*p) : *p);
  }
  return h;
}

int HASH_TEXT::hash(const char* text) const {
  std::size_t size;
  const std::uint32_t h = HashOf(TextOf(text), &size);
  return buckets.count() != 0 ? static_cast<int>(h % buckets.count()) : 0;
}

int HASH_TEXT::hashExt(const char* begin, const char* end) const {
  return buckets.count() != 0 ? static_cast<int>(HashOf(begin, end) % buckets.count()) : 0;
}

bool HASH_TEXT::compare(const char* a, const char* b) const {
  return (ignoreCase ? lstrcmpiA(a, b) : lstrcmpA(a, b)) == 0;
}

bool HASH_TEXT::compareN(const char* a, const char* b, unsigned int size) const {
  return (ignoreCase ? _mbsnbicmp(a, b, size) : _mbsnbcmp(a, b, size)) == 0;
}

// Whether an entry of more than `size` bytes is the text of `size` bytes.
bool HASH_TEXT::Same(const char* entry, const char* text, std::size_t size) const {
  if (entry[size] != 0) {
    return false;
  }
  return ignoreCase ? compareN(entry, text, static_cast<unsigned int>(size))
                    : std::memcmp(entry, text, size) == 0;
}

// The string in a bucket that is the text, or -1; `*before` gets the one in front of it in the
// chain, or -1.
int HASH_TEXT::Find(const char* text, std::size_t size, std::uint32_t bucket, int* before) const {
  const std::int32_t* const next = chain.begin();
  *before = kNone;
  for (int id = buckets[bucket]; id >= 0; id = next[id]) {
    const auto index = static_cast<unsigned int>(id);
    if (len(index) > size && Same(BASE_TEXT::operator()(index), text, size)) {
      return id;
    }
    *before = id;
  }
  return kNone;
}

// --- The hash

// Sees to a hash that fits the strings; false when there are none.
bool HASH_TEXT::Ready() const {
  if (nElem() == 0) {
    return false;
  }
  if (buckets.count() == 0 || seenRemovals_ != removals_) {
    Build(0);
  }
  return true;
}

void HASH_TEXT::rebuild(int size) {
  Build(size);
}

void HASH_TEXT::Build(int size) const {
  const auto strings = static_cast<unsigned int>(nElem());
  const auto most = static_cast<std::uint64_t>(std::max(size, nElem()));
  // Without buckets there is no hash, whatever fails from here on.
  buckets.empty();
  chain.setNElem(strings);
  buckets.setNElem(
      static_cast<unsigned int>(std::min<std::uint64_t>((2 * most + 64) | 1, 0xffffffff)));
  std::fill(buckets.begin(), buckets.end(), kNone);
  seenRemovals_ = removals_;
  if (unique_ && !filledInPlace_ && seenEdits_ == edits_ && seenIgnoreCase_ == ignoreCase) {
    BuildUnique();
  } else {
    BuildChecked();
  }
}

// From the last string to the first, each at the head of its chain: chains rise.
void HASH_TEXT::BuildUnique() const {
  const std::uint32_t count = buckets.count();
  for (unsigned int i = chain.count(); i-- != 0;) {
    const char* const text = BASE_TEXT::operator()(i);
    chain[i] = kNone;
    if (*text != 0) {
      std::size_t size;
      std::int32_t& head = buckets[HashOf(text, &size) % count];
      chain[i] = std::exchange(head, static_cast<std::int32_t>(i));
    }
  }
}

// From the first string to the last, each at the end of its chain unless it is there already.
void HASH_TEXT::BuildChecked() const {
  const std::uint32_t count = buckets.count();
  unique_ = true;
  for (unsigned int i = 0; i < chain.count(); ++i) {
    const char* const text = BASE_TEXT::operator()(i);
    chain[i] = kNone;
    if (*text == 0) {
      continue;
    }
    std::size_t size;
    const std::uint32_t bucket = HashOf(text, &size) % count;
    int last;
    if (Find(text, size, bucket, &last) != kNone) {
      unique_ = false;
    } else if (last == kNone) {
      buckets[bucket] = static_cast<std::int32_t>(i);
    } else {
      chain[static_cast<unsigned int>(last)] = static_cast<std::int32_t>(i);
    }
  }
  seenEdits_ = edits_;
  seenIgnoreCase_ = ignoreCase;
}

// --- The index

int HASH_TEXT::add(const char* text) {
  text = TextOf(text);
  if (buckets.count() <= static_cast<unsigned int>(nElem()) || seenRemovals_ != removals_) {
    Build(0);
  }
  std::size_t size;
  const std::uint32_t bucket = HashOf(text, &size) % buckets.count();
  int before;
  const int found = Find(text, size, bucket, &before);
  addNew = found == kNone;
  if (!addNew) {
    return found;
  }
  chain.setNElem(static_cast<unsigned int>(nElem()) + 1);
  const int id = Append(text, size);
  chain[static_cast<unsigned int>(id)] = std::exchange(buckets[bucket], id);
  return id;
}

int HASH_TEXT::operator()(const char* text) const {
  if (!Ready()) {
    return kNone;
  }
  std::size_t size;
  text = TextOf(text);
  const std::uint32_t bucket = HashOf(text, &size) % buckets.count();
  int before;
  return Find(text, size, bucket, &before);
}

int HASH_TEXT::operator()(const char* begin, const char* end) const {
  const std::less<const char*> before_end;
  if (!Ready()) {
    return kNone;
  }
  if (begin == nullptr || !before_end(begin, end)) {
    return (*this)("");
  }
  const auto size = static_cast<std::size_t>(end - begin);
  // No string has a zero byte inside.
  if (std::memchr(begin, 0, size) != nullptr) {
    return kNone;
  }
  int before;
  return Find(begin, size, HashOf(begin, end) % buckets.count(), &before);
}

int HASH_TEXT::del(const char* text) {
  if (!Ready()) {
    return kNone;
  }
  std::size_t size;
  text = TextOf(text);
  const std::uint32_t bucket = HashOf(text, &size) % buckets.count();
  int before;
  const int id = Find(text, size, bucket, &before);
  if (id == kNone) {
    return kNone;
  }
  const std::int32_t next = chain[static_cast<unsigned int>(id)];
  (before == kNone ? buckets[bucket] : chain[static_cast<unsigned int>(before)]) = next;
  Remove(static_cast<unsigned int>(id), 1);
  chain.del(static_cast<unsigned int>(id), 1);
  Lower(buckets, id);
  Lower(chain, id);
  return id;
}

void HASH_TEXT::set(int i, const char* text) {
  BASE_TEXT::set(i, text);
  Build(0);
}

char* HASH_TEXT::copy(char* target, int i, unsigned int size) const {
  if (size != 0) {
    _mbsnbcpy(target, BASE_TEXT::operator()(static_cast<unsigned int>(i)), size);
    target[size - 1] = 0;
  }
  return target;
}

void HASH_TEXT::empty() {
  BASE_TEXT::empty();
  chain.empty();
  buckets.empty();
  unique_ = true;
  seenEdits_ = edits_;
  seenRemovals_ = removals_;
  seenIgnoreCase_ = ignoreCase;
}

void HASH_TEXT::setCase() {
  empty();
  ignoreCase = seenIgnoreCase_ = false;
}

void HASH_TEXT::setIgnoreCase() {
  empty();
  ignoreCase = seenIgnoreCase_ = true;
}

void HASH_TEXT::swap(HASH_TEXT& other) {
  BASE_TEXT::swap(other);
  chain.swap(other.chain);
  buckets.swap(other.buckets);
  std::swap(ignoreCase, other.ignoreCase);
  std::swap(addNew, other.addNew);
  std::swap(unique_, other.unique_);
  std::swap(seenIgnoreCase_, other.seenIgnoreCase_);
  std::swap(seenEdits_, other.seenEdits_);
  std::swap(seenRemovals_, other.seenRemovals_);
}

}  // namespace KRD
