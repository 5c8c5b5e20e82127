// What stands behind the handles of files.h: open files and mappings, the table that tells a live
// handle from a stale one, and the small helpers that all calls of the family share.
#pragma once

#include <cerrno>
#include <cstdint>
#include <memory>
#include <mutex>
#include <sys/types.h>
#include <variant>
#include <vector>

#include "krdcmmn/platform/files.h"

inline namespace krplatform {

// A descriptor that is closed at its end.
class Descriptor {
 public:
  Descriptor() = default;
  ~Descriptor();
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int get() const { return fd_; }
  void Own(int fd) { fd_ = fd; }  // once

 private:
  int fd_ = -1;
};

struct OpenFile {
  OpenFile() = default;
  ~OpenFile();  // ends its sharing
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  int fd() const { return descriptor.get(); }

  Descriptor descriptor;
  DWORD access = 0;
  bool regular = false;  // only such files have sharing
  pid_t owner = 0;       // the process that opened it
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

  HANDLE Add(Object object);

  template <typename T>
  std::shared_ptr<T> Find(HANDLE handle) {
    const std::lock_guard lock(mutex_);
    Slot* const slot = SlotOf(handle);
    const auto* object = slot != nullptr ? std::get_if<std::shared_ptr<T>>(&slot->object) : nullptr;
    return object != nullptr ? *object : nullptr;
  }

  // Takes the object out; monostate for a handle that is not open.
  Object Take(HANDLE handle);

 private:
  struct Slot {
    std::uint64_t uses = 0;
    Object object;
  };

  Slot* SlotOf(HANDLE handle);

  std::mutex mutex_;
  std::vector<Slot> slots_;
  std::vector<std::size_t> free_;
};

HandleTable& Handles();

// Sets the last error to one of the host's codes; gives FALSE.
BOOL Fail(int error);

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
std::shared_ptr<OpenFile> FileOf(HANDLE handle, DWORD access);

// What the test hook says of a step at the file's position.
FileVerdict AskFileHook(FileStep step, int fd, DWORD size);

}  // namespace krplatform
