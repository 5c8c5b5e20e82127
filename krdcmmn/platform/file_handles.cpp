#include "krdcmmn/platform/file_handles.h"

#include <algorithm>
#include <atomic>
#include <unistd.h>
#include <utility>

#include "krdcmmn/platform/errors.h"
#include "krdcmmn/platform/file_sharing.h"

inline namespace krplatform {

namespace {

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

HookBox& Hook() {
  static auto* hook = new HookBox;
  return *hook;
}

}  // namespace

Descriptor::~Descriptor() {
  if (fd_ >= 0) {
    close(fd_);
  }
}

OpenFile::~OpenFile() {
  if (regular) {
    EndSharing(*this);
  }
}

HANDLE HandleTable::Add(Object object) {
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

HandleTable::Object HandleTable::Take(HANDLE handle) {
  const std::lock_guard lock(mutex_);
  Slot* const slot = SlotOf(handle);
  if (slot == nullptr || std::holds_alternative<std::monostate>(slot->object)) {
    return {};
  }
  free_.push_back(static_cast<std::size_t>(slot - slots_.data()));
  return std::exchange(slot->object, {});
}

HandleTable::Slot* HandleTable::SlotOf(HANDLE handle) {
  const auto value = reinterpret_cast<std::uint64_t>(handle);
  const std::uint64_t number = (value >> 2) & 0xffffffff;
  if ((value & 3) != 0 || number == 0 || number > slots_.size()) {
    return nullptr;
  }
  Slot& slot = slots_[number - 1];
  return slot.uses == value >> 34 ? &slot : nullptr;
}

// Never destroyed: files of static objects use it to the very end.
HandleTable& Handles() {
  static auto* table = new HandleTable;
  return *table;
}

BOOL Fail(int error) {
  SetLastError(static_cast<DWORD>(error));
  return FALSE;
}

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

FileVerdict AskFileHook(FileStep step, int fd, DWORD size) {
  return Hook().Ask(step, fd, size);
}

void SetFileHook(FileHook hook) {
  Hook().Set(std::move(hook));
}

}  // namespace krplatform
