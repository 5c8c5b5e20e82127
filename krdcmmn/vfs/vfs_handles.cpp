// The handles on a storage's entries.
#include "krdcmmn/core/byte_order.h"
#include "krdcmmn/vfs/name_index.h"
#include "krdcmmn/vfs/vfstorage.h"

namespace KRD {
namespace {

[[noreturn]] void Raise(int code, const char* name) {
  ThrowException(new VF_EXCEPTION(code, name, true));
}

}  // namespace

void VFS_ENTITY::IndexError() {
  Raise(107, nullptr);
}

virt_file& VFILE::record() const {
  if (keep == nullptr || !keep->isIndex(index)) {
    IndexError();
  }
  return keep->entry(index);
}

VFILE& VFILE::operator<<(MARRAY& array) {
  record().ma_put(array);
  return *this;
}

VFILE& VFILE::operator>>(MARRAY& array) {
  record().ma_get(array);
  return *this;
}

VFILE& VFILE::operator<<(const char* text) {
  record().strput(text);
  return *this;
}

VFILE& VFILE::operator>>(char* text) {
  record().strget(text);
  return *this;
}

VFILE& operator<<(VFILE& file, const KRDSTR& text) {
  virt_file& record = file.record();
  const int length = text.IsEmpty() ? 0 : text.size();
  StoreI32(record.put(4), length);
  record.strput(length == 0 ? "" : text.c_str());
  return file;
}

VFILE& operator>>(VFILE& file, KRDSTR& text) {
  virt_file& record = file.record();
  const std::int32_t length = LoadI32(record.get(4));
  // Room for what the file says, as far as the file can hold that, and for what it holds.
  const std::int32_t held = record.strget_size();
  const bool believable = length >= 0 && static_cast<std::uint32_t>(length) < record.count();
  std::int32_t room = believable ? length + 1 : 1;
  room = room < held ? held : room;
  record.strget(text.GetBuffer(room));
  return file;
}

// Makes a new file at the head of this directory, open for writing, and gives its index.
int VDIR::addEntry(const char* name, int is_file) {
  const int dir = index < 0 ? -1 : index;
  if (keep == nullptr || (dir >= 0 && !(keep->isIndex(dir) && IsVisible(keep->entry(dir).state)))) {
    IndexError();
  }
  const int added = keep->FindFree();
  virt_file& record = keep->entry(added);
  try {
    record.w_open(name);
  } catch (...) {
    record.remove();
    throw;
  }
  record.isFile = is_file;
  keep->linkEntry(added, dir);
  return added;
}

VFILE VDIR::vfopen(const char* name, char mode) {
  if (mode != 'r' && mode != 'w') {
    Raise(103, nullptr);
  }
  if (keep == nullptr) {
    IndexError();
  }
  VFILE opened;
  opened.keep = keep;
  opened.index = vfaccess(name);
  if (mode == 'w') {
    if (opened.index >= 0) {
      Raise(100, name);
    }
    opened.index = addEntry(name, 1);
    return opened;
  }
  if (opened.index < 0) {
    Raise(101, name);
  }
  if (keep->entry(opened.index).r_open(keep->file) != 0) {
    Raise(102, name);
  }
  return opened;
}

int VDIR::vfclose(VFILE& opened) {
  if (keep == nullptr || !keep->isIndex(opened.index)) {
    return -1;
  }
  virt_file& record = keep->entry(opened.index);
  switch (record.state) {
    case virt_file::kReading:
      opened.index = -1;
      return record.r_close();
    case virt_file::kWriting:
      record.w_close();
      opened.index = -1;
      return 0;
    case virt_file::kSaved:
      opened.index = -1;
      return 0;
    default:
      return -1;
  }
}

int VDIR::vfaccess(const char* name) {
  return keep == nullptr ? -1 : keep->vfaccess(name, index);
}

void VDIR::vfremove(const char* name) {
  vfremove(vfaccess(name));
}

void VDIR::vfremove(int entry) {
  if (keep != nullptr) {
    keep->vfremove(entry);
  }
}

void VDIR::vfremove(VFILE& entry) {
  vfremove(entry.index);
}

auto_vfile::auto_vfile(VFSTORAGE& storage, const char* name, char mode)
    : dir(storage.root()), opened(false) {
  const bool found = dir.vfaccess(name) >= 0;
  if (mode == 'r' && !found) {
    return;
  }
  if (mode == 'w' && found) {
    dir.vfremove(name);
  }
  file = dir.vfopen(name, mode);
  opened = file.index >= 0;
}

auto_vfile::~auto_vfile() {
  if (!opened) {
    return;
  }
  try {
    dir.vfclose(file);
  } catch (EXCEPTION* e) {
    e->Delete();  // no memory to pack the file; it stays open, and Commit will say so
  } catch (...) {
  }
}

}  // namespace KRD
