#include "krdcmmn/platform/files.h"

#include <algorithm>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>

#include "krdcmmn/platform/errors.h"
#include "krdcmmn/platform/file_handles.h"
#include "krdcmmn/platform/file_sharing.h"

inline namespace krplatform {

namespace {

constexpr DWORD kAccess = GENERIC_READ | GENERIC_WRITE;
constexpr std::size_t kMostTransfer = 0x7ffff000;  // of one call of the host

// Opens the host's file, readable if at all possible, since marks want that.
int OpenHost(const char* path, bool write, bool create, bool* readable) {
  const int flags = O_CLOEXEC | O_NOCTTY | (create ? O_CREAT : 0);
  *readable = true;
  int fd = Carry([&] { return open(path, flags | (write ? O_RDWR : O_RDONLY), 0666); });
  if (fd < 0 && errno == EACCES && write) {
    *readable = false;
    fd = Carry([&] { return open(path, flags | O_WRONLY, 0666); });
  }
  return fd;
}

int Truncate(int fd, off_t size) {
  if (const DWORD error = AskFileHook(FileStep::kTruncate, fd, 0).error; error != 0) {
    return static_cast<int>(error);
  }
  return Carry([&] { return ftruncate(fd, size); }) == 0 ? 0 : errno;
}

// Wins the sharing of a file that was just opened, then empties it if asked to. 0 or an error.
int Settle(OpenFile& file, DWORD share, bool readable, bool empty) {
  struct stat info = {};
  if (fstat(file.fd(), &info) != 0) {
    return errno;
  }
  if (S_ISDIR(info.st_mode)) {
    return EISDIR;
  }
  file.regular = S_ISREG(info.st_mode);
  if (!file.regular) {
    return 0;
  }
  const SharingGate gate(file.fd());
  if (gate.error() != 0) {
    return gate.error();
  }
  if (const int error = WinSharing(file, share, readable, empty); error != 0) {
    EndSharing(file);
    return error;
  }
  return empty ? Truncate(file.fd(), 0) : 0;
}

// Transfers up to `size` bytes by repeated calls of the host. Stops at a call that moves nothing
// and, where `whole` is not set, at the first short one.
template <typename Call>
int Transfer(const Call& call, DWORD size, bool whole, DWORD* done) {
  while (*done < size) {
    const std::size_t want = std::min<std::size_t>(size - *done, kMostTransfer);
    const ssize_t moved = Carry([&] { return call(*done, want); });
    if (moved < 0) {
      return errno;
    }
    *done += static_cast<DWORD>(moved);
    if (moved == 0 || (!whole && static_cast<std::size_t>(moved) < want)) {
      break;
    }
  }
  return 0;
}

}  // namespace

HANDLE CreateFileA(const char* path, DWORD access, DWORD share, void* /*security*/,
                   DWORD disposition, DWORD /*attributes*/, HANDLE /*template_file*/) {
  const bool known =
      disposition == CREATE_ALWAYS || disposition == OPEN_EXISTING || disposition == OPEN_ALWAYS;
  if (path == nullptr || !known || (access & kAccess) == 0) {
    Fail(EINVAL);
    return INVALID_HANDLE_VALUE;
  }
  const bool empty = disposition == CREATE_ALWAYS;
  const bool write = (access & GENERIC_WRITE) != 0 || empty;
  bool readable = true;
  const auto file = std::make_shared<OpenFile>();
  const int fd = OpenHost(path, write, disposition != OPEN_EXISTING, &readable);
  if (fd < 0) {
    Fail(errno);
    return INVALID_HANDLE_VALUE;
  }
  file->descriptor.Own(fd);
  file->access = access & kAccess;
  file->owner = getpid();
  const bool blind = !readable && (access & GENERIC_READ) != 0;
  if (const int error = blind ? EACCES : Settle(*file, share, readable, empty); error != 0) {
    Fail(error);
    return INVALID_HANDLE_VALUE;
  }
  return Handles().Add(file);
}

BOOL CloseHandle(HANDLE handle) {
  const auto object = Handles().Take(handle);
  return std::holds_alternative<std::monostate>(object) ? Fail(EBADF) : TRUE;
}

BOOL ReadFile(HANDLE file, void* buffer, DWORD size, DWORD* done, void* /*overlapped*/) {
  DWORD read_bytes = 0;
  DWORD& count = done != nullptr ? *done : read_bytes;
  count = 0;
  const auto open_file = FileOf(file, GENERIC_READ);
  if (open_file == nullptr) {
    return FALSE;
  }
  const FileVerdict verdict = AskFileHook(FileStep::kRead, open_file->fd(), size);
  if (verdict.error != 0) {
    return Fail(static_cast<int>(verdict.error));
  }
  const int error = Transfer(
      [&](DWORD at, std::size_t want) {
        return read(open_file->fd(), static_cast<char*>(buffer) + at, want);
      },
      std::min(size, verdict.limit), open_file->regular, &count);
  return error == 0 ? TRUE : Fail(error);
}

BOOL WriteFile(HANDLE file, const void* buffer, DWORD size, DWORD* done, void* /*overlapped*/) {
  DWORD written_bytes = 0;
  DWORD& count = done != nullptr ? *done : written_bytes;
  count = 0;
  const auto open_file = FileOf(file, GENERIC_WRITE);
  if (open_file == nullptr) {
    return FALSE;
  }
  const FileVerdict verdict = AskFileHook(FileStep::kWrite, open_file->fd(), size);
  if (verdict.error != 0) {
    return Fail(static_cast<int>(verdict.error));
  }
  const int error = Transfer(
      [&](DWORD at, std::size_t want) {
        return write(open_file->fd(), static_cast<const char*>(buffer) + at, want);
      },
      std::min(size, verdict.limit), true, &count);
  return error == 0 ? TRUE : Fail(error);
}

DWORD SetFilePointer(HANDLE file, LONG distance, LONG* high, DWORD method) {
  const auto open_file = FileOf(file, 0);
  if (open_file == nullptr) {
    return INVALID_SET_FILE_POINTER;
  }
  const int fd = open_file->fd();
  const auto low = static_cast<DWORD>(distance);
  std::int64_t move = method == FILE_BEGIN ? std::int64_t{low} : std::int64_t{distance};
  if (high != nullptr) {
    move = static_cast<std::int64_t>(std::uint64_t{static_cast<DWORD>(*high)} << 32 | low);
  }
  std::int64_t base = 0;
  if (method == FILE_CURRENT) {
    base = lseek(fd, 0, SEEK_CUR);
  } else if (method == FILE_END) {
    struct stat info = {};
    base = fstat(fd, &info) == 0 ? info.st_size : -1;
  } else if (method != FILE_BEGIN) {
    Fail(EINVAL);
    return INVALID_SET_FILE_POINTER;
  }
  if (base < 0) {
    Fail(errno);
    return INVALID_SET_FILE_POINTER;
  }
  std::int64_t position = 0;
  if (__builtin_add_overflow(base, move, &position) || position < 0 ||
      (high == nullptr && position > std::int64_t{0xffffffff})) {
    Fail(EINVAL);
    return INVALID_SET_FILE_POINTER;
  }
  if (lseek(fd, position, SEEK_SET) < 0) {
    Fail(errno);
    return INVALID_SET_FILE_POINTER;
  }
  if (high != nullptr) {
    *high = static_cast<LONG>(position >> 32);
  }
  const auto result = static_cast<DWORD>(position & 0xffffffff);
  if (result == INVALID_SET_FILE_POINTER) {
    SetLastError(ERROR_SUCCESS);
  }
  return result;
}

BOOL SetEndOfFile(HANDLE file) {
  const auto open_file = FileOf(file, GENERIC_WRITE);
  if (open_file == nullptr) {
    return FALSE;
  }
  const off_t position = lseek(open_file->fd(), 0, SEEK_CUR);
  const int error = position < 0 ? errno : Truncate(open_file->fd(), position);
  return error == 0 ? TRUE : Fail(error);
}

BOOL FlushFileBuffers(HANDLE file) {
  const auto open_file = FileOf(file, GENERIC_WRITE);
  if (open_file == nullptr) {
    return FALSE;
  }
  const FileVerdict verdict = AskFileHook(FileStep::kFlush, open_file->fd(), 0);
  if (verdict.error != 0) {
    return Fail(static_cast<int>(verdict.error));
  }
  return Carry([&] { return fsync(open_file->fd()); }) == 0 ? TRUE : Fail(errno);
}

DWORD GetFileSize(HANDLE file, DWORD* high) {
  const auto open_file = FileOf(file, 0);
  if (open_file == nullptr) {
    return INVALID_FILE_SIZE;
  }
  struct stat info = {};
  if (fstat(open_file->fd(), &info) != 0) {
    Fail(errno);
    return INVALID_FILE_SIZE;
  }
  const auto size = static_cast<std::uint64_t>(info.st_size);
  if (high != nullptr) {
    *high = static_cast<DWORD>(size >> 32);
  }
  const auto low = static_cast<DWORD>(size & 0xffffffff);
  if (low == INVALID_FILE_SIZE) {
    SetLastError(ERROR_SUCCESS);
  }
  return low;
}

BOOL ReserveFileSpace(HANDLE file, std::uint64_t size) {
  const auto open_file = FileOf(file, GENERIC_WRITE);
  if (open_file == nullptr) {
    return FALSE;
  }
  const int fd = open_file->fd();
  const auto asked = static_cast<DWORD>(std::min<std::uint64_t>(size, 0xffffffff));
  const FileVerdict verdict = AskFileHook(FileStep::kReserve, fd, asked);
  if (verdict.error != 0) {
    return Fail(static_cast<int>(verdict.error));
  }
  if (size == 0) {
    return TRUE;
  }
  if (size > static_cast<std::uint64_t>(std::numeric_limits<off_t>::max())) {
    return Fail(EFBIG);
  }
  const auto length = static_cast<off_t>(size);
  if (Carry([&] { return fallocate(fd, FALLOC_FL_KEEP_SIZE, 0, length); }) == 0) {
    return TRUE;
  }
  const int error = errno;
  if (error == EOPNOTSUPP || error == ENOSYS || error == ENODEV || error == ESPIPE) {
    return TRUE;
  }
  // What was had of the space behind the end goes back.
  struct stat info = {};
  if (fstat(fd, &info) == 0) {
    static_cast<void>(Carry([&] { return ftruncate(fd, info.st_size); }));
  }
  return Fail(error);
}

int _stat64i32(const char* path, STAT64I32* out) {
  struct stat info = {};
  if (path == nullptr || out == nullptr) {
    Fail(EINVAL);
    return -1;
  }
  if (stat(path, &info) != 0) {
    Fail(errno);
    return -1;
  }
  if (info.st_size > std::numeric_limits<std::int32_t>::max()) {
    Fail(EOVERFLOW);
    return -1;
  }
  out->st_size = static_cast<std::int32_t>(info.st_size);
  out->st_mtime_seconds = info.st_mtim.tv_sec;
  return 0;
}

}  // namespace krplatform
