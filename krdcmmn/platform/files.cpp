#include "krdcmmn/platform/files.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fcntl.h>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <variant>
#include <vector>

#include "krdcmmn/platform/errors.h"

// Sharing rests on locks of the open file description: they hold between processes and between two
// handles of one process alike, belong to the file whatever path led to it, and end with the
// process. Four areas far behind any real byte stand for what the open handles do and forbid:
//
//   area         locked by every handle that      an open fails on it when it
//   reads        has read access                  does not share reading
//   writes       has write access                 does not share writing
//   no reading   does not share reading           wants to read
//   no writing   does not share writing           wants to write
//
// Marks are shared locks, which any readable descriptor may take, so an exclusive reader of a
// read-only file shuts out everybody as well; whether others hold a mark is asked without taking a
// lock. Asking, marking and emptying are one step: meanwhile the opener holds the file's gate, an
// flock, which needs no access right at all and is never kept beyond the open.
//
// Pipes and devices have no sharing, nor has a file system that knows no locks.

inline namespace krplatform {

namespace {

constexpr DWORD kAccess = GENERIC_READ | GENERIC_WRITE;
constexpr off_t kAreaSize = 0x1000000;
constexpr off_t kFirstArea = 0x7fffffff00000000;
constexpr std::chrono::milliseconds kGatePatience{5000};
constexpr std::size_t kMostTransfer = 0x7ffff000;  // of one call of the host

enum Area { kReads, kWrites, kNoReading, kNoWriting };

// A descriptor that is closed at its end.
class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : fd_(fd) {}
  ~Descriptor() {
    if (fd_ >= 0) {
      close(fd_);
    }
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int get() const { return fd_; }

 private:
  int fd_;
};

struct OpenFile {
  explicit OpenFile(int fd) : descriptor(fd) {}
  ~OpenFile() { Unlock(); }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  int fd() const { return descriptor.get(); }

  // A mapping keeps the open file description and with it the locks, so they end here by name. A
  // process that was forked off later leaves its parent's alone.
  void Unlock() const {
    if (owner == getpid()) {
      struct flock all = {};
      all.l_type = F_UNLCK;
      all.l_whence = SEEK_SET;
      all.l_start = kFirstArea;
      all.l_len = 4 * kAreaSize;
      fcntl(fd(), F_OFD_SETLK, &all);
    }
  }

  Descriptor descriptor;
  DWORD access = 0;
  bool regular = false;
  pid_t owner = getpid();
};

struct FileMapping {
  Descriptor descriptor;
  std::size_t size = 0;
  bool writable = false;
};

// Open handles by number. A handle is the slot and the count of the slot's uses, so that a closed
// one is told from its successor. Never 0, never -1.
class HandleTable {
 public:
  using Object =
      std::variant<std::monostate, std::shared_ptr<OpenFile>, std::shared_ptr<FileMapping>>;

  HANDLE Add(Object object) {
    const std::lock_guard lock(mutex_);
    if (free_.empty()) {
      free_.push_back(slots_.size());
      slots_.emplace_back();
    }
    const std::size_t index = free_.back();
    free_.pop_back();
    Slot& slot = slots_[index];
    slot.uses = (slot.uses + 1) & 0xffffff;
    slot.object = std::move(object);
    return reinterpret_cast<HANDLE>((slot.uses << 32 | (index + 1)) << 2);
  }

  template <typename T>
  std::shared_ptr<T> Find(HANDLE handle) {
    const std::lock_guard lock(mutex_);
    Slot* const slot = SlotOf(handle);
    const auto* object = slot != nullptr ? std::get_if<std::shared_ptr<T>>(&slot->object) : nullptr;
    return object != nullptr ? *object : nullptr;
  }

  // Takes the object out; monostate for a handle that is not open.
  Object Take(HANDLE handle) {
    const std::lock_guard lock(mutex_);
    Slot* const slot = SlotOf(handle);
    if (slot == nullptr || std::holds_alternative<std::monostate>(slot->object)) {
      return {};
    }
    free_.push_back(static_cast<std::size_t>(slot - slots_.data()));
    return std::exchange(slot->object, {});
  }

 private:
  struct Slot {
    std::uint64_t uses = 0;
    Object object;
  };

  Slot* SlotOf(HANDLE handle) {
    const auto value = reinterpret_cast<std::uint64_t>(handle);
    const std::uint64_t number = (value >> 2) & 0xffffffff;
    if ((value & 3) != 0 || number == 0 || number > slots_.size()) {
      return nullptr;
    }
    Slot& slot = slots_[number - 1];
    return slot.uses == value >> 34 ? &slot : nullptr;
  }

  std::mutex mutex_;
  std::vector<Slot> slots_;
  std::vector<std::size_t> free_;
};

// Lengths of the views by address.
class ViewTable {
 public:
  void Add(const void* view, std::size_t size) {
    const std::lock_guard lock(mutex_);
    sizes_[view] = size;
  }

  // Forgets the view and gives its length; 0 for an unknown one.
  std::size_t Take(const void* view) {
    const std::lock_guard lock(mutex_);
    const auto node = sizes_.extract(view);
    return node.empty() ? 0 : node.mapped();
  }

 private:
  std::mutex mutex_;
  std::map<const void*, std::size_t> sizes_;
};

class HookBox {
 public:
  void Set(FileHook hook) {
    const std::lock_guard lock(mutex_);
    set_ = static_cast<bool>(hook);
    hook_ = std::move(hook);
  }

  FileVerdict Ask(FileStep step, int fd, DWORD size) {
    if (!set_) {
      return {};
    }
    FileHook hook;
    {
      const std::lock_guard lock(mutex_);
      hook = hook_;
    }
    const off_t position = lseek(fd, 0, SEEK_CUR);
    return hook ? hook(step, static_cast<std::uint64_t>(std::max<off_t>(position, 0)), size)
                : FileVerdict{};
  }

 private:
  std::atomic<bool> set_ = false;
  std::mutex mutex_;
  FileHook hook_;
};

// None is ever destroyed: files of static objects use them to the very end.
HandleTable& Handles() {
  static auto* table = new HandleTable;
  return *table;
}

ViewTable& Views() {
  static auto* table = new ViewTable;
  return *table;
}

HookBox& Hook() {
  static auto* hook = new HookBox;
  return *hook;
}

BOOL Fail(int error) {
  SetLastError(static_cast<DWORD>(error));
  return FALSE;
}

// Repeats a call of the host that was interrupted.
template <typename Call>
auto Carry(const Call& call) {
  auto result = call();
  while (result == -1 && errno == EINTR) {
    result = call();
  }
  return result;
}

// The open file of a handle with the access that a call needs; null with the last error set.
std::shared_ptr<OpenFile> FileOf(HANDLE handle, DWORD access) {
  auto file = Handles().Find<OpenFile>(handle);
  if (file == nullptr) {
    Fail(EBADF);
  } else if ((file->access & access) != access) {
    Fail(EACCES);
    return nullptr;
  }
  return file;
}

struct flock AreaLock(Area area, short type) {
  struct flock lock = {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  lock.l_start = kFirstArea + area * kAreaSize;
  lock.l_len = kAreaSize;
  return lock;
}

bool KnowsNoLocks(int error) {
  return error == EINVAL || error == ENOLCK || error == ENOSYS || error == EOPNOTSUPP;
}

// 0 when no other handle has a mark in `area`.
int AskArea(int fd, Area area) {
  struct flock lock = AreaLock(area, F_WRLCK);
  if (Carry([&] { return fcntl(fd, F_OFD_GETLK, &lock); }) != 0) {
    return KnowsNoLocks(errno) ? 0 : errno;
  }
  return lock.l_type == F_UNLCK ? 0 : EBUSY;
}

// A readable descriptor shares the area's first byte with the others; one that is not takes a byte
// of its own.
int MarkArea(int fd, Area area, bool readable) {
  struct flock lock = AreaLock(area, readable ? F_RDLCK : F_WRLCK);
  lock.l_len = 1;
  const off_t end = lock.l_start + kAreaSize;
  while (Carry([&] { return fcntl(fd, F_OFD_SETLK, &lock); }) != 0) {
    if (KnowsNoLocks(errno)) {
      return 0;
    }
    if ((errno != EAGAIN && errno != EACCES) || readable || ++lock.l_start == end) {
      return errno == EAGAIN || errno == EACCES ? EBUSY : errno;
    }
  }
  return 0;
}

// The marks of one open; the caller holds the gate.
int WinSharing(int fd, DWORD access, DWORD share, bool readable) {
  const std::pair<Area, bool> rows[] = {
      {kReads, (access & GENERIC_READ) != 0},
      {kWrites, (access & GENERIC_WRITE) != 0},
      {kNoReading, (share & FILE_SHARE_READ) == 0},
      {kNoWriting, (share & FILE_SHARE_WRITE) == 0},
  };
  constexpr Area kOpposite[] = {kNoReading, kNoWriting, kReads, kWrites};
  for (const auto& [area, holds] : rows) {
    if (const int error = holds ? AskArea(fd, kOpposite[area]) : 0; error != 0) {
      return error;
    }
  }
  for (const auto& [area, holds] : rows) {
    if (const int error = holds ? MarkArea(fd, area, readable) : 0; error != 0) {
      return error;
    }
  }
  return 0;
}

// Holds a file's gate. A process that is stopped inside its own open, or a foreign program that
// keeps such a lock, is not waited for without end.
class Gate {
 public:
  explicit Gate(int fd) : fd_(fd) {
    const auto give_up = std::chrono::steady_clock::now() + kGatePatience;
    std::chrono::microseconds pause{50};
    while (Carry([&] { return flock(fd_, LOCK_EX | LOCK_NB); }) != 0) {
      if (errno != EWOULDBLOCK) {
        error_ = KnowsNoLocks(errno) ? 0 : errno;
        return;
      }
      if (std::chrono::steady_clock::now() > give_up) {
        error_ = EBUSY;
        return;
      }
      std::this_thread::sleep_for(pause);
      pause = std::min(2 * pause, std::chrono::microseconds{2000});
    }
  }
  ~Gate() { flock(fd_, LOCK_UN); }
  Gate(const Gate&) = delete;
  Gate& operator=(const Gate&) = delete;

  int error() const { return error_; }

 private:
  int fd_;
  int error_ = 0;
};

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
  if (const DWORD error = Hook().Ask(FileStep::kTruncate, fd, 0).error; error != 0) {
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
  const Gate gate(file.fd());
  if (gate.error() != 0) {
    return gate.error();
  }
  if (const int error = WinSharing(file.fd(), file.access, share, readable); error != 0) {
    file.Unlock();
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
  const int fd = OpenHost(path, write, disposition != OPEN_EXISTING, &readable);
  if (fd < 0) {
    Fail(errno);
    return INVALID_HANDLE_VALUE;
  }
  const auto file = std::make_shared<OpenFile>(fd);
  file->access = access & kAccess;
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
  const FileVerdict verdict = Hook().Ask(FileStep::kRead, open_file->fd(), size);
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
  const FileVerdict verdict = Hook().Ask(FileStep::kWrite, open_file->fd(), size);
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
  const FileVerdict verdict = Hook().Ask(FileStep::kFlush, open_file->fd(), 0);
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
  const FileVerdict verdict = Hook().Ask(FileStep::kReserve, fd, asked);
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

HANDLE CreateFileMappingA(HANDLE file, void* /*security*/, DWORD protection, DWORD size_high,
                          DWORD size_low, const char* /*name*/) {
  const bool writable = protection != PAGE_READONLY;
  const auto open_file = FileOf(file, writable ? kAccess : GENERIC_READ);
  if (open_file == nullptr) {
    return nullptr;
  }
  struct stat info = {};
  if (fstat(open_file->fd(), &info) != 0) {
    Fail(errno);
    return nullptr;
  }
  const auto length = static_cast<std::uint64_t>(info.st_size);
  const std::uint64_t asked = std::uint64_t{size_high} << 32 | size_low;
  const std::uint64_t size = asked != 0 ? asked : length;
  if (size == 0 || size > length || !open_file->regular) {
    Fail(EINVAL);
    return nullptr;
  }
  const int copy = fcntl(open_file->fd(), F_DUPFD_CLOEXEC, 0);
  if (copy < 0) {
    Fail(errno);
    return nullptr;
  }
  return Handles().Add(std::shared_ptr<FileMapping>(
      new FileMapping{Descriptor(copy), static_cast<std::size_t>(size), writable}));
}

void* MapViewOfFile(HANDLE mapping, DWORD access, DWORD /*offset_high*/, DWORD /*offset_low*/,
                    std::size_t /*size*/) {
  const auto source = Handles().Find<FileMapping>(mapping);
  if (source == nullptr) {
    Fail(EBADF);
    return nullptr;
  }
  const bool write = (access & FILE_MAP_WRITE) != 0;
  if (write && !source->writable) {
    Fail(EACCES);
    return nullptr;
  }
  void* const view = mmap(nullptr, source->size, write ? PROT_READ | PROT_WRITE : PROT_READ,
                          MAP_SHARED, source->descriptor.get(), 0);
  if (view == MAP_FAILED) {
    Fail(errno);
    return nullptr;
  }
  Views().Add(view, source->size);
  return view;
}

BOOL UnmapViewOfFile(const void* view) {
  const std::size_t size = Views().Take(view);
  if (size == 0) {
    return Fail(EINVAL);
  }
  return munmap(const_cast<void*>(view), size) == 0 ? TRUE : Fail(errno);
}

void SetFileHook(FileHook hook) {
  Hook().Set(std::move(hook));
}

}  // namespace krplatform
