// VF_KEEP: the table of all entries of one container, and the owner of its layout.
//
// An entry is known by its index in the table; the tree of directories is made of index links
// inside the entries. Each directory's entries form a doubly linked list, new ones at its head.
// Table order is the order of creation, with the removed entries squeezed out at saves, and the
// contents lie in the host file in table order. docs/container-format.md draws the file.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "krdcmmn/core/marray.h"
#include "krdcmmn/text/krdstr.h"
#include "krdcmmn/vfs/virt_file.h"

namespace KRD {

class NAME_INDEX;
class VDIR;
class VFILE;
class VFSTORAGE;

// As an array: the records in their file form of 64 bytes. They are brought up to date by a save;
// the entries themselves live beside them and stay where they are when the table grows.
class KRDCMMN_API VF_KEEP : public MARRAY {
 public:
  VF_KEEP();
  ~VF_KEEP();
  VF_KEEP(const VF_KEEP&) = delete;
  VF_KEEP& operator=(const VF_KEEP&) = delete;

  // Brings the host file up to date from offset `start` on: drops removed and consumed entries,
  // loads what has to move, and writes the contents from the first changed one on, the table and
  // `firstRoot`. Gives the table's offset; the file stands behind `firstRoot` then.
  //
  // Before a byte of the file changes: VF_EXCEPTION 102 with the name of a file that is open, 109
  // with the name of one that is damaged and has to move, 114 for a layout beyond the 32-bit
  // offsets, krerr::Win32Ecept when the file's space cannot be reserved. Afterwards whatever the
  // host's failure raises. In every case the contents that are not safely in the file stay in
  // memory, and a later save writes them.
  std::int32_t SaveKeep(void* file, std::int32_t start);
  // Loads the table from offset `pos`; the count was set with setNElem. Throws krerr::Win32Ecept,
  // the int 2 when the file is too short, or the int 3 for a table that no writer makes; the table
  // is empty and closed then.
  void RestKeep(void* file, std::int32_t pos);
  // Takes back that the contents of the last save are safely in the file: the next save writes
  // them again. For an owner whose own part of the save failed.
  void DistrustSave();

  // Frees every entry's memory and empties the table.
  void FreeKeep();
  // Appends an entry and gives its index. It is not in any directory yet.
  int FindFree();
  // The index of the visible entry `name` of directory `dir` (negative: the root), or -1. Case does
  // not count. Of several the one nearest to the head of the list.
  int vfaccess(const char* name, int dir);
  // Removes an entry and all under it. An index outside the table changes nothing, nor does that of
  // an entry removed before.
  void vfremove(int index);
  // Puts entry `index` at the head of directory `dir`'s list (negative: the root).
  void linkEntry(int index, int dir);

  // The entry at `index`; raises MA_EXCEPTION 6 outside the table.
  virt_file& vfile(unsigned int index);
  const virt_file& vfile(unsigned int index) const;

  int sizeElem() const { return MARRAY::sizeElem; }
  unsigned int count() const { return nElem; }
  // True when the table holds no memory.
  int operator!() const { return data == nullptr; }

  // The count of entries; new ones are empty.
  void setNElem(unsigned int n);

  std::int32_t tablePos;   // host file offset of the table
  void* file;              // host file handle, -1 as a number when none is open
  std::int32_t firstRoot;  // the root directory's first entry, or -1
  KRDSTR path;             // of the host file, for VF_EXCEPTION 114

 private:
  friend class CONTAINER_CHECK;
  friend class CONTAINER_WRITER;
  friend class VDIR;
  friend class VFILE;
  friend class VFSTORAGE;
  using MARRAY::del;
  using MARRAY::empty;
  using MARRAY::get;
  using MARRAY::ins;
  using MARRAY::put;
  using MARRAY::read;
  using MARRAY::swap;

  virt_file& entry(int index) { return *entries_[static_cast<unsigned>(index)]; }
  bool isIndex(int index) const { return index >= 0 && static_cast<unsigned>(index) < nElem; }
  std::int32_t& headOf(int dir) { return dir < 0 ? firstRoot : entry(dir).firstEntry; }
  unsigned firstChanged(std::int32_t start) const;
  void refuseOpenFiles(std::int32_t start) const;
  void removeConsumed();
  void dropRemoved();
  void unlink(int index);
  void loadTable(void* host, std::int32_t pos);
  // Tell the entry (-1: the table as a whole) and what is wrong with it.
  using REPORT = std::function<void(int entry, const char* text)>;
  void checkLayout(std::int32_t pos, const REPORT& report) const;
  void checkTree(const REPORT& report) const;
  void checkParents(const REPORT& report) const;

  std::vector<std::unique_ptr<virt_file>> entries_;
  std::unique_ptr<NAME_INDEX> names_;  // finds names in long directories
  unsigned lastDirty_ = 0;             // from here on the last save wrote contents
};

}  // namespace KRD
