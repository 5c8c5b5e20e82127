// MA_STRING, an array of fixed-width character cells, and _NAME_TABLE, a hashed set of names on it.
//
// In a table every name has a small stable id, its cell's index: ids stay when other names come and
// go, and freed cells are used again. Names are bytes, and case matters. One thread at a time: even
// a lookup can build the hash.
#pragma once

#include <cstdint>

#include "krdcmmn/core/tarray.h"

namespace KRD {

// At most 32768 cells. New cells from setNElem hold unspecified bytes; a cell's address is good
// until the array grows past its capacity.
class KRDCMMN_API MA_STRING : public MARRAY {
 public:
  // Cells of `size` bytes, of which the low 8 bits count. Cells of 0 bytes hold nothing.
  explicit MA_STRING(int size);

  short sizeElem() const { return MARRAY::sizeElem; }
  char* operator[](unsigned short i) { return data + i * MARRAY::sizeElem; }
  const char* operator()(unsigned short i) const { return data + i * MARRAY::sizeElem; }
  // The last cell; null when there is none.
  char* last();
  // Null zeroes the cell; else copies at most sizeElem - 1 bytes and fills up with zeros, the last
  // byte untouched. Nothing happens for a cell that is not there.
  void set(short i, const char* text);
};

// A table is loading (no hash; filled fast by <<) until the first add, lookup or del builds its
// hash. It holds at most 32767 names: at that count `add` of a new name gives -1 and << of one does
// nothing. The functions that take a name treat null as a name that is never there.
class KRDCMMN_API _NAME_TABLE : public MA_STRING {
 public:
  // Cells of `size` bytes: names of up to `size` - 1 bytes.
  explicit _NAME_TABLE(short size);
  _NAME_TABLE(const _NAME_TABLE&) = delete;
  _NAME_TABLE& operator=(const _NAME_TABLE&) = delete;

  // The id of `name`, which takes the most recently freed cell, or a new one, when it is new. -1
  // for a name that does not fit into a cell.
  short add(const char* name);
  // The id of `name`, or -1.
  short operator()(const char* name);
  // Frees the cell of `name` and gives its id, or -1.
  short del(const char* name);
  // As `add` when there is a hash. Else appends a cell, cut to its width and without a look for
  // doubles; these go when the hash is built.
  _NAME_TABLE& operator<<(const char* name);

  // Builds the hash for at least `size` names. Of two cells with one name the later is freed.
  void rebuild(short size);
  // The bucket of `name`; 0 while there is no hash.
  short hash(const char* name) const;

  // Length of the name in a cell; 0 for a cell that is free or not there.
  short len(short id) const;
  // Copies the name with its terminator; gives `target`.
  char* copy(char* target, short id) const;

  short nBusy() const { return nBusy_; }
  // 32768 cells, which only setNElem can make, read as -32768.
  short nCell() const { return static_cast<short>(nElem); }

  // No names, loading, no `onDuplicate`; memory stays.
  void empty();

 protected:
  TARRAY<short> chain;    // per cell: the next in its hash chain or in the free list; -1 ends
  TARRAY<short> buckets;  // per bucket: its first cell, or -1; none while there is no hash
  short nBusy_ = 0;       // names held
  short firstFree = -1;   // first cell of the free list

 public:
  // Called with a name that meets its double and an id: from `add` that of the cell that stays,
  // while the hash is built that of the cell that goes. It must not change the table.
  void (*onDuplicate)(const char* name, int id) = nullptr;

 private:
  static constexpr short kMostNames = 32767;

  const char* Cell(short id) const {
    return MA_STRING::operator()(static_cast<unsigned short>(id));
  }
  short Find(const char* name, short bucket, short* before) const;
  const char* Outside(const char* name, char* own) const;
  short TakeCell();
  void FreeCell(short id);
  void Append(short id, short bucket, short before);
};

}  // namespace KRD
