#include "krdcmmn/text/hash_text.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <utility>

#include "krdcmmn/platform/codepage.h"

namespace KRD {

namespace {

constexpr std::uint32_t kSeed = 0x0decabac;
constexpr std::uint64_t kMany = 0xffffffff;  // more than any array holds
constexpr std::int32_t kLeftOut = -2;        // of a string that the hash does not know

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

std::uint32_t HASH_TEXT::HashOf(const char* begin, const char* end) const {
  std::uint32_t h = kSeed;
  if (ignoreCase) {
    for (const char* p = begin; p < end; ++p) {
      h = Mix(h, Upper(*p));
    }
  } else {
    for (const char* p = begin; p < end; ++p) {
      h = Mix(h, *p);
    }
  }
  return h;
}

int HASH_TEXT::hash(const char* text) const {
  text = TextOf(text);
  return hashExt(text, text + std::strlen(text));
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

HASH_TEXT::KEY HASH_TEXT::KeyOf(const char* text, std::size_t size) const {
  return {text, size, IdsAnswer() ? Fingerprint(text, size, ignoreCase) : 0};
}

std::uint32_t HASH_TEXT::BucketOf(const KEY& key) const {
  return HashOf(key.text, key.text + key.size) % buckets.count();
}

namespace {

std::uint64_t Load(const char* p) {
  std::uint64_t word;
  std::memcpy(&word, p, sizeof word);
  return word;
}

bool SameBytes(const char* a, const char* b, std::size_t size) {
  if (size < 8 || size > 32) {
    return std::memcmp(a, b, size) == 0;
  }
  // Four words, of which some overlap, so that no length takes a branch of its own.
  const std::size_t last = size - 8;
  const std::size_t second = std::min<std::size_t>(8, last);
  const std::size_t third = std::min<std::size_t>(16, last);
  return ((Load(a) ^ Load(b)) | (Load(a + second) ^ Load(b + second)) |
          (Load(a + third) ^ Load(b + third)) | (Load(a + last) ^ Load(b + last))) == 0;
}

}  // namespace

// Whether the string that starts there is the text. A text has no zero inside, so a string that is
// shorter differs at its end.
bool HASH_TEXT::Same(std::uint32_t start, const KEY& key) const {
  if (pool.count() - start <= key.size) {
    return false;
  }
  const char* const entry = pool.begin() + start;
  if (entry[key.size] != 0) {
    return false;
  }
  return ignoreCase ? compareN(entry, key.text, static_cast<unsigned int>(key.size))
                    : SameBytes(entry, key.text, key.size);
}

int HASH_TEXT::Find(const KEY& key) const {
  return IdsAnswer() ? FindInIds(key) : FindInChain(key);
}

int HASH_TEXT::FindInIds(const KEY& key) const {
  return ids_.find(key.fingerprint, [&](std::uint32_t start) { return Same(start, key); });
}

int HASH_TEXT::FindInChain(const KEY& key) const {
  int id = buckets[BucketOf(key)];
  while (id != kNone) {
    const auto index = static_cast<unsigned int>(id);
    const char* const entry = BASE_TEXT::operator()(index);
    if (len(index) > key.size && entry[key.size] == 0 &&
        (ignoreCase ? compareN(entry, key.text, static_cast<unsigned int>(key.size))
                    : SameBytes(entry, key.text, key.size))) {
      break;
    }
    id = chain[index];
  }
  return id;
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
  if (!isSettled()) {
    // Only a table that may be changed can have got strings that wait beside the pool.
    const_cast<HASH_TEXT*>(this)->settle();
  }
  const auto strings = static_cast<unsigned int>(nElem());
  const auto most = static_cast<std::uint64_t>(std::max(size, nElem()));
  const auto count = static_cast<unsigned int>(std::min<std::uint64_t>((2 * most + 64) | 1, kMany));
  // Without buckets there is no hash, whatever fails from here on.
  buckets.empty();
  chain.setNElem(strings);
  buckets.setNElem(count);
  ids_.empty();
  try {
    if (!filledInPlace_) {
      ids_.prepare(count);
    }
  } catch (...) {
    buckets.empty();
    throw;
  }
  std::fill(buckets.begin(), buckets.end(), kNone);
  seenRemovals_ = removals_;
  seenEdits_ = edits_;
  seenIgnoreCase_ = ignoreCase;

  // Forward to leave out empty strings and doubles, and back again to put the others at the heads
  // of their chains: so each chain rises.
  const bool in_ids = ids_.isUsable();
  for (unsigned int i = 0; i < strings; ++i) {
    const char* const text = BASE_TEXT::operator()(i);
    const std::size_t length = std::strlen(text);
    const KEY key = {text, length, in_ids ? Fingerprint(text, length, ignoreCase) : 0};
    if (length == 0 || (in_ids ? FindInIds(key) : FindInChain(key)) != kNone) {
      chain[i] = kLeftOut;
    } else if (in_ids) {
      chain[i] = kNone;
      ids_.insert(key.fingerprint, static_cast<int>(i), static_cast<std::uint32_t>(offsets[i]));
    } else {
      chain[i] = std::exchange(buckets[BucketOf(key)], static_cast<std::int32_t>(i));
    }
  }
  std::fill(buckets.begin(), buckets.end(), kNone);
  for (unsigned int i = strings; i-- != 0;) {
    const char* const text = BASE_TEXT::operator()(i);
    chain[i] = chain[i] == kLeftOut ? kNone
                                    : std::exchange(buckets[BucketOf({text, std::strlen(text), 0})],
                                                    static_cast<std::int32_t>(i));
  }
}

// --- The index

int HASH_TEXT::add(const char* text) {
  text = TextOf(text);
  if (buckets.count() <= static_cast<unsigned int>(nElem()) || seenRemovals_ != removals_) {
    Build(0);
  }
  const KEY key = KeyOf(text, std::strlen(text));
  const int found = Find(key);
  addNew = found == kNone;
  if (!addNew) {
    return found;
  }
  if (IdsAnswer() && ids_.isFull()) {
    ids_.rehash([this](int id) {
      const char* const string = (*this)(id);
      return Fingerprint(string, std::strlen(string), ignoreCase);
    });
  }
  chain.setNElem(static_cast<unsigned int>(nElem()) + 1);
  std::int32_t& head = buckets[BucketOf(key)];
  const int id = Append(text, key.size);
  chain[static_cast<unsigned int>(id)] = std::exchange(head, id);
  if (IdsAnswer()) {
    ids_.insert(key.fingerprint, id,
                static_cast<std::uint32_t>(offsets[static_cast<unsigned int>(id)]));
  }
  return id;
}

int HASH_TEXT::operator()(const char* text) const {
  if (!Ready()) {
    return kNone;
  }
  text = TextOf(text);
  return Find(KeyOf(text, std::strlen(text)));
}

int HASH_TEXT::operator()(const char* begin, const char* end) const {
  const std::less<const char*> before;
  const std::size_t size =
      begin != nullptr && before(begin, end) ? static_cast<std::size_t>(end - begin) : 0;
  // No string has a zero byte inside.
  if (!Ready() || (size != 0 && std::memchr(begin, 0, size) != nullptr)) {
    return kNone;
  }
  return Find(KeyOf(TextOf(begin), size));
}

int HASH_TEXT::del(const char* text) {
  if (!Ready()) {
    return kNone;
  }
  text = TextOf(text);
  const KEY key = KeyOf(text, std::strlen(text));
  const int id = Find(key);
  if (id == kNone) {
    return kNone;
  }
  std::int32_t* link = &buckets[BucketOf(key)];
  while (*link != id) {
    link = &chain[static_cast<unsigned int>(*link)];
  }
  *link = chain[static_cast<unsigned int>(id)];
  if (IdsAnswer()) {
    ids_.remove(key.fingerprint, id, len(static_cast<unsigned int>(id)));
  }
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
  ids_.empty();
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
  ids_.swap(other.ids_);
  std::swap(seenIgnoreCase_, other.seenIgnoreCase_);
  std::swap(seenEdits_, other.seenEdits_);
  std::swap(seenRemovals_, other.seenRemovals_);
}

}  // namespace KRD
