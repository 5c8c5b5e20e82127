#include "krdcmmn/vfs/vfstorage.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "krdcmmn/core/block_io.h"
#include "krdcmmn/core/byte_order.h"
#include "krdcmmn/host/system_error.h"
#include "krdcmmn/platform/errors.h"
#include "krdcmmn/platform/files.h"
#include "krdcmmn/vfs/container_layout.h"
#include "krdcmmn/vfs/content_io.h"

namespace KRD {

using namespace container;

namespace {

// Records beyond this count are beyond the array's limits.
constexpr std::uint32_t kMaxRecords = 1000000000 / kRecordBytes;

[[noreturn]] void RaiseDamaged(const KRDSTR& path) {
  ThrowException(new VF_EXCEPTION(114, path.c_str(), true));
}

// A header word; 0 when the file does not hold it.
std::int32_t ReadWord(void* file) {
  char word[4];
  return ReadFile(file, word, sizeof word) == sizeof word ? LoadI32(word) : 0;
}

void WriteWord(void* file, std::int32_t value) {
  char word[4];
  StoreI32(word, value);
  if (WriteFile(file, word, sizeof word) != sizeof word) {
    SetLastError(ERROR_DISK_FULL);
    throw krerr::Win32Ecept();
  }
}

void Require(bool holds) {
  if (!holds) {
    throw kFileDamaged;
  }
}

}  // namespace

VFSTORAGE::VFSTORAGE() : file(INVALID_HANDLE_VALUE) {}

VFSTORAGE::~VFSTORAGE() {
  Close();
}

bool VFSTORAGE::good() const {
  return file != INVALID_HANDLE_VALUE;
}

void VFSTORAGE::Close() {
  if (good()) {
    CloseHandle(file);
  }
  file = INVALID_HANDLE_VALUE;
  keep.file = INVALID_HANDLE_VALUE;
}

void VFSTORAGE::Finish() {
  Close();
  keep.FreeKeep();
}

void VFSTORAGE::OpenFile(const char* name, bool write, bool create, bool exclusive) {
  const DWORD access = write ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ;
  const DWORD disposition = !write ? OPEN_EXISTING : create ? CREATE_ALWAYS : OPEN_ALWAYS;
  const bool shared = !exclusive || std::getenv("KRR_SHARE_FILES") != nullptr;
  const DWORD share = shared ? FILE_SHARE_READ | FILE_SHARE_WRITE : 0;
  file = CreateFileA(name, access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
  keep.file = file;
  if (!good()) {
    throw krerr::Win32Ecept();
  }
}

bool VFSTORAGE::Start(const char* name, bool write, bool create, bool exclusive) {
  path = name;
  keep.path = path;
  Finish();
  OpenFile(path.c_str(), write, create, exclusive);
  STAT64I32 info;
  if (_stat64i32(path.c_str(), &info) != 0) {
    Close();
    return false;
  }
  if (info.st_size == 0) {
    return true;
  }
  try {
    return load();
  } catch (EXCEPTION*) {
    abandonTable();
    throw;
  } catch (...) {
    abandonTable();
    RaiseDamaged(path);
  }
}

// Leaves an empty table without a file: Commit would otherwise put it in the place of the old one.
void VFSTORAGE::abandonTable() {
  keep.FreeKeep();
  keep.file = INVALID_HANDLE_VALUE;
}

bool VFSTORAGE::load() {
  const std::int32_t header_size = ReadWord(file);
  const auto records = static_cast<std::uint32_t>(ReadWord(file));
  const std::int32_t table_pos = ReadWord(file);
  SeekFile(file, kHeaderBytes);
  if (!ReadHeader(header_size)) {
    Close();
    return false;
  }
  Require(header_size >= 0 && table_pos >= kHeaderBytes && header_size <= table_pos - kHeaderBytes);
  const int room = table_pos - kHeaderBytes - header_size;
  Require(records <= static_cast<std::uint32_t>(room / kLeastBlockBytes) || records > kMaxRecords);
  keep.setNElem(records);
  keep.RestKeep(file, table_pos);
  Require(records == 0 || keep.entry(0).filePos >= kHeaderBytes + header_size);
  return true;
}

bool VFSTORAGE::Commit() {
  const std::int32_t header_size = GetHeaderSize();
  const std::int32_t most = std::numeric_limits<std::int32_t>::max() - kHeaderBytes;
  if (keep.file != file || header_size < 0 || header_size > most) {
    RaiseDamaged(path);
  }
  const std::int32_t table_pos = keep.SaveKeep(file, kHeaderBytes + header_size);
  try {
    const DWORD end = SetFilePointer(file, 0, nullptr, FILE_CURRENT);
    SeekFile(file, 0);
    WriteWord(file, header_size);
    WriteWord(file, static_cast<std::int32_t>(keep.count()));
    WriteWord(file, table_pos);
    if (!WriteHeader()) {
      return false;
    }
    SeekFile(file, end);
    if (!SetEndOfFile(file) || !FlushFileBuffers(file)) {
      throw krerr::Win32Ecept();
    }
  } catch (...) {
    keep.DistrustSave();
    throw;
  }
  return true;
}

VDIR VFSTORAGE::root() {
  VDIR dir;
  dir.keep = &keep;
  return dir;
}

VDIR VFSTORAGE::MkDir(const char* name, VDIR* parent) {
  VDIR dir = root();
  dir.index = parent == nullptr ? -1 : parent->index;
  if (dir.vfaccess(name) >= 0) {
    return root();
  }
  dir.index = dir.addEntry(name, 0);
  keep.entry(dir.index).w_close();
  return dir;
}

VDIR VFSTORAGE::OpenDir(const char* name, VDIR* parent) {
  VDIR dir = root();
  const int found = keep.vfaccess(name, parent == nullptr ? -1 : parent->index);
  if (found >= 0 && keep.entry(found).isFile == 0) {
    dir.index = found;
  }
  return dir;
}

void VFSTORAGE::RmDir(VDIR& dir) {
  keep.vfremove(dir.index);
}

void VFSTORAGE::RmDir(int index) {
  keep.vfremove(index);
}

}  // namespace KRD
