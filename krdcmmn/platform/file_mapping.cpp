#include <fcntl.h>
#include <map>
#include <sys/mman.h>
#include <sys/stat.h>

#include "krdcmmn/platform/file_handles.h"
#include "krdcmmn/platform/files.h"

inline namespace krplatform {

namespace {

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

// Never destroyed: views of static objects use it to the very end.
ViewTable& Views() {
  static auto* table = new ViewTable;
  return *table;
}

}  // namespace

HANDLE CreateFileMappingA(HANDLE file, void* /*security*/, DWORD protection, DWORD size_high,
                          DWORD size_low, const char* /*name*/) {
  const bool writable = protection != PAGE_READONLY;
  const auto open_file = FileOf(file, writable ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ);
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
  const auto mapping = std::make_shared<FileMapping>();
  mapping->size = static_cast<std::size_t>(size);
  mapping->writable = writable;
  mapping->descriptor.Own(fcntl(open_file->fd(), F_DUPFD_CLOEXEC, 0));
  if (mapping->descriptor.get() < 0) {
    Fail(errno);
    return nullptr;
  }
  return Handles().Add(mapping);
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

}  // namespace krplatform
