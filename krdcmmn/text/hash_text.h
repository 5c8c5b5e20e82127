// BASE_TEXT, a list of strings in one byte pool; HASH_TEXT, the same as an index of unique strings
// with 32-bit ids; HASH_TEXT_NOCASE, an index that ignores case.
//
//   offsets   0     4     6           11        one more than there are strings
//   pool      a b c 0 d 0 h e l l o 0           each string with its terminator, in index order
//
// The pool holds at most 1000000000 bytes, the lists 250000000 entries less one: MA_EXCEPTION 4
// beyond that, 2 and 3 when there is no memory; a failed call leaves the strings as they were. An
// address inside the pool is good until the list next changes. A text to add or set may lie in the
// list itself; null reads as the empty text.
//
// One thread at a time: even a lookup can build the hash.
#pragma once

#include <cstdint>

#include "krdcmmn/core/tarray.h"
#include "krdcmmn/text/id_table.h"

namespace KRD {

class KRDCMMN_API BASE_TEXT {
 public:
  BASE_TEXT();
  ~BASE_TEXT();
  BASE_TEXT(const BASE_TEXT&) = delete;
  BASE_TEXT& operator=(const BASE_TEXT&) = delete;

  int nElem() const { return static_cast<int>(offsets.count()) - 1; }
  // String i; the empty text for an index beyond the list.
  const char* operator()(unsigned int i) const {
    if (i < late_.count() && late_[i] >= 0) {
      return LateText(i);
    }
    return i + 1u < offsets.count() && i + 1u != 0 ? pool.begin() + offsets[i] : "";
  }
  // Bytes of string i with its terminator, so at least 1; 0 for an index beyond the list.
  unsigned int len(unsigned int i) const {
    if (i < late_.count() && late_[i] >= 0) {
      return LateSize(i);
    }
    return i + 1u < offsets.count() && i + 1u != 0
               ? static_cast<unsigned int>(offsets[i + 1] - offsets[i])
               : 0;
  }

  // Appends a string and gives its index. Of a range the bytes up to the first zero are kept, the
  // rest of the range becomes zeros.
  int add(const char* text);
  int add(const char* begin, const char* end);
  // Appends `size` zeros (none for a negative `size`) and a terminator, to be filled in place.
  int addEmpty(int size);

  // Replaces string i; nothing happens for an index beyond the list. Moves all that lies behind it
  // in the pool, unless the length stays or it is the last.
  void set(int i, const char* text);
  // Replaces string i in time proportional to `text`: the replacement is kept beside the pool until
  // `settle`, or the building of a hash, writes all such strings into their places in one pass.
  // What the other functions give is the same as after `set`.
  void setLater(int i, const char* text);
  void settle();

  // Later strings move down. What lies beyond the list is left out.
  void del(unsigned int i);
  void del(unsigned int i, unsigned int count);
  // No strings; memory stays.
  void empty();
  // Makes this list a copy of `other`, in the memory that it has where that is enough.
  void copy_from(const BASE_TEXT& other);

 protected:
  void swap(BASE_TEXT& other);
  // `add` and `del` that are not counted as edits: for an index that follows them itself.
  int Append(const char* text, std::size_t size);
  void Remove(unsigned int i, unsigned int count);
  // No string waits beside the pool.
  bool isSettled() const { return late_.count() == 0; }

  TARRAY<std::int32_t> offsets;  // start of each string, and the pool's used size behind them
  TARRAY<char> pool;

  std::uint32_t edits_ = 0;     // changes made through this class
  std::uint32_t removals_ = 0;  // those that moved or dropped indices
  bool filledInPlace_ = false;  // a string may have changed without a count: see addEmpty

 private:
  // A string that waits beside the pool.
  struct LATE {
    std::uint32_t start;  // in latePool_
    std::uint32_t size;   // with the terminator
    std::uint32_t room;   // bytes that belong to it
  };

  const char* LateText(unsigned int i) const;
  unsigned int LateSize(unsigned int i) const;
  bool Holds(const char* text) const;
  char* Extend(std::size_t size);
  void Replace(unsigned int i, const char* text, std::size_t size);
  void PutLate(unsigned int i, const char* text, std::size_t size);
  void Forget(unsigned int i);

  TARRAY<std::int32_t> late_;  // per string up to the last that waits: its entry, or -1
  TARRAY<LATE> lateEntries_;
  TARRAY<char> latePool_;
  std::size_t lateWaste_ = 0;  // bytes of latePool_ that no entry owns
};

// Ids are list indices: they stay until a `del`, which lowers those above the removed one. The hash
// is built by the first `add`, or by the first lookup in a table that was filled through BASE_TEXT.
// It knows neither strings that were added or set through BASE_TEXT behind its back nor, after a
// rebuild, the empty string and doubles; removing through BASE_TEXT ends the hash.
class KRDCMMN_API HASH_TEXT : public BASE_TEXT {
 public:
  HASH_TEXT();
  ~HASH_TEXT();

  using BASE_TEXT::operator();
  const char* operator()(int i) const { return (*this)(static_cast<unsigned int>(i)); }

  // The id of `text`, which is inserted when it is new; isAddNew tells which.
  int add(const char* text);
  bool isAddNew() const { return addNew; }
  // The id of a text, or -1.
  int operator()(const char* text) const;
  int operator()(const char* begin, const char* end) const;
  // Removes `text` and gives its former id, or -1. Takes time in proportion to the table.
  int del(const char* text);
  // Both replace string i and rebuild the hash.
  void set(int i, const char* text);
  void rename(int i, const char* text) { set(i, text); }
  // Copies at most `size` bytes of string i, fills up with zeros, and makes byte `size` - 1 a
  // terminator; gives `target`. Nothing happens for `size` 0.
  char* copy(char* target, int i, unsigned int size) const;

  // Builds the hash for at least `size` strings.
  void rebuild(int size);
  // No strings, no hash; memory stays.
  void empty();
  // Both empty the table.
  void setCase();
  void setIgnoreCase();
  void swap(HASH_TEXT& other);

 protected:
  // Whether two texts, or their first `size` bytes, are equal.
  bool compare(const char* a, const char* b) const;
  bool compareN(const char* a, const char* b, unsigned int size) const;
  // The bucket of a text; 0 while there is no hash.
  int hash(const char* text) const;
  int hashExt(const char* begin, const char* end) const;

  mutable TARRAY<std::int32_t> chain;    // per string: the next in its bucket, or -1
  mutable TARRAY<std::int32_t> buckets;  // per bucket: its first string, or -1; none without hash
  bool ignoreCase = false;
  bool addNew = false;  // the last `add` inserted a string

 private:
  static constexpr int kNone = -1;

  // A text to look for.
  struct KEY {
    const char* text;
    std::size_t size;
    std::uint64_t fingerprint;  // while ids_ answers
  };

  bool IdsAnswer() const {
    return seenEdits_ == edits_ && seenIgnoreCase_ == ignoreCase && ids_.isUsable();
  }
  KEY KeyOf(const char* text, std::size_t size) const;
  std::uint32_t HashOf(const char* begin, const char* end) const;
  std::uint32_t BucketOf(const KEY& key) const;
  bool Same(std::uint32_t start, const KEY& key) const;
  int Find(const KEY& key) const;
  int FindInIds(const KEY& key) const;
  int FindInChain(const KEY& key) const;
  bool Ready() const;
  void Build(int size) const;

  // Finds the ids of the chains faster than their walk, while no string was changed behind its
  // back: the two below tell `edits_` and `ignoreCase` of the time when it was built.
  mutable ID_TABLE ids_;
  mutable std::uint32_t seenEdits_ = 0;
  mutable bool seenIgnoreCase_ = false;
  mutable std::uint32_t seenRemovals_ = 0;  // `removals_` when the hash was built
};

class KRDCMMN_API HASH_TEXT_NOCASE : public HASH_TEXT {
 public:
  HASH_TEXT_NOCASE();
  ~HASH_TEXT_NOCASE();
};

}  // namespace KRD
