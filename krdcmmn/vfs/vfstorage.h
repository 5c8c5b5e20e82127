// VFSTORAGE: a container file's life cycle, and the handles VDIR, VFILE and auto_vfile.
//
// Nothing reaches the host file before Commit: new files, removals and closed files live in memory
// until then. Handles borrow the storage's table; a Commit that drops removed entries shifts the
// indices behind them. One thread at a time in one storage.
#pragma once

#include <cstdint>

#include "krdcmmn/core/marray.h"
#include "krdcmmn/core/vf_exception.h"
#include "krdcmmn/text/krdstr.h"
#include "krdcmmn/vfs/vf_keep.h"

namespace KRD {

// What VDIR and VFILE have in common. Copied freely; owns nothing.
struct KRDCMMN_API VFS_ENTITY {
  // Raises VF_EXCEPTION 107.
  [[noreturn]] static void IndexError();

  VF_KEEP* keep = nullptr;  // the table, or null
  int index = -1;           // table index
};

// A file of a storage, in the order of writing. An index outside the table raises VF_EXCEPTION 107.
class KRDCMMN_API VFILE : public VFS_ENTITY {
 public:
  bool good() const { return index >= 0 && keep != nullptr; }

  // Moves the array into the file or out of it.
  VFILE& operator<<(MARRAY& array);
  VFILE& operator>>(MARRAY& array);
  // A text with its terminator. The reader's `text` has room for it.
  VFILE& operator<<(const char* text);
  VFILE& operator>>(char* text);

  // The record behind the handle.
  virt_file& record() const;
};

// A string: its length in 32 bits, then its text. A length that lies changes the room that the
// reader makes, not what it reads.
KRDCMMN_API VFILE& operator<<(VFILE& file, const KRDSTR& text);
KRDCMMN_API VFILE& operator>>(VFILE& file, KRDSTR& text);

// A directory of a storage; index -1 is the root.
class KRDCMMN_API VDIR : public VFS_ENTITY {
 public:
  // Also true for the root handle that a failed MkDir or OpenDir gives.
  bool good() const { return keep != nullptr; }

  // Opens `name` in this directory for reading, mode 'r' (VF_EXCEPTION 101 when it is not there,
  // 102 when it is open), or as a new file, mode 'w' (100 when it is there). 103 for another mode,
  // 107 for a handle without a table or on an entry that is no more.
  VFILE vfopen(const char* name, char mode);
  // Closes and resets the handle. For a file that was read: 0 when it was read to its end, else 1.
  // 0 for one that was written or is closed already. -1 for a handle that names no such file.
  int vfclose(VFILE& file);
  // The index of `name` in this directory, or -1.
  int vfaccess(const char* name);
  // Removes an entry with all under it; one that is not there is no error.
  void vfremove(const char* name);
  void vfremove(int index);
  void vfremove(VFILE& file);

 private:
  friend class VFSTORAGE;
  int addEntry(const char* name, int is_file);
};

// The base of an application's storage, which adds a header of its own.
class KRDCMMN_API VFSTORAGE {
 public:
  VFSTORAGE();
  VFSTORAGE(const VFSTORAGE&) = delete;
  VFSTORAGE& operator=(const VFSTORAGE&) = delete;

  // The owner's header of `size` bytes; the host file stands at its start. False makes Start give
  // false. `size` comes from the file as it is: compare it with what the header must be.
  virtual bool ReadHeader(std::int32_t size) = 0;
  // The host file stands where the owner's header begins. False makes Commit give false.
  virtual bool WriteHeader() = 0;
  // Bytes of the owner's header.
  virtual std::int32_t GetHeaderSize() = 0;

  // Opens the host file and loads the table; an open storage is finished first. `write`: for
  // writing too, creating the file when it is missing; with `create` also emptying it. `exclusive`:
  // no other may open the file, unless the environment has KRR_SHARE_FILES.
  // False, with the file closed, when its size is not known or ReadHeader refuses. Throws
  // krerr::Win32Ecept when the file cannot be opened. A damaged container raises VF_EXCEPTION 114
  // with the path (MA_EXCEPTION 4 for a count beyond the limits); the file stays open then, the
  // table is empty, and Commit refuses with 114.
  bool Start(const char* path, bool write, bool create, bool exclusive);
  // Saves everything. All files are closed: else VF_EXCEPTION 102 with the name of one that is not.
  // For what else it raises see VF_KEEP::SaveKeep. A failure of the host leaves in memory what is
  // not in the file: after its cause is gone, a second Commit succeeds.
  bool Commit();
  // Does nothing. Finish and Start drop what was not committed.
  void Rollback() {}
  // Closes the host file; the table stays in memory.
  void Close();
  // Closes the host file and empties the table.
  void Finish();
  bool good() const;
  const char* GetPath() const { return path.c_str(); }

  VDIR root();
  // Creates a directory in `parent` (null: the root). An existing name gives the root handle.
  VDIR MkDir(const char* name, VDIR* parent);
  // Finds a directory; anything else gives the root handle.
  VDIR OpenDir(const char* name, VDIR* parent);
  // Removes an entry with all under it.
  void RmDir(VDIR& dir);
  void RmDir(int index);

 protected:
  // No commit. There is no virtual destructor: derived storages are final.
  ~VFSTORAGE();
  void OpenFile(const char* path, bool write, bool create, bool exclusive);

  VF_KEEP keep;
  void* file;  // host file handle, -1 as a number when closed
  KRDSTR path;

 private:
  bool load();
  void abandonTable();
};

// Opens a file of the root directory, and closes it at the end of its scope. Mode 'r' on a missing
// name opens nothing and raises nothing; mode 'w' replaces what is there.
class KRDCMMN_API auto_vfile {
 public:
  auto_vfile(VFSTORAGE& storage, const char* name, char mode);
  ~auto_vfile();
  auto_vfile(const auto_vfile&) = delete;
  auto_vfile& operator=(const auto_vfile&) = delete;

  VDIR dir;
  VFILE file;
  bool opened;  // `file` names an opened file
};

}  // namespace KRD
