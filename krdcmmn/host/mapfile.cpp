#include "krdcmmn/host/mapfile.h"

#include "krdcmmn/host/failure_text.h"
#include "krdcmmn/host/file.h"
#include "krdcmmn/platform/files.h"
#include "krdcmmn/platform/memory.h"

namespace kr {

namespace {

// Closes a handle at the end of its scope; 0 and -1 are none.
class HandleGuard {
 public:
  explicit HandleGuard(HANDLE handle) : handle_(handle) {}
  ~HandleGuard() {
    if (isgood()) {
      CloseHandle(handle_);
    }
  }
  HandleGuard(const HandleGuard&) = delete;
  HandleGuard& operator=(const HandleGuard&) = delete;

  bool isgood() const { return handle_ != nullptr && handle_ != INVALID_HANDLE_VALUE; }
  HANDLE get() const { return handle_; }

 private:
  HANDLE handle_;
};

}  // namespace

mapfile::MapExcept::MapExcept(const char* path)
    : message(hosttext::FailureText("kr_MapFile_Error", path)) {}

mapfile::MapExcept::~MapExcept() = default;

const char* mapfile::MapExcept::what() const noexcept {
  return message.c_str();
}

mapfile::mapfile() : data_(nullptr), size_(0) {}

mapfile& mapfile::operator=(const mapfile& other) = default;

mapfile::~mapfile() {
  close();
}

bool mapfile::open(const char* filename, bool write, bool exclusive) {
  const DWORD access = write ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ;
  const HandleGuard handle(CreateFileA(filename, access, exclusive ? 0 : FILE_SHARE_READ, nullptr,
                                       OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!handle.isgood()) {
    throw MapExcept(filename);
  }
  map(handle.get(), filename, write);
  return true;
}

bool mapfile::open(file& source, bool write) {
  map(source.handle(), "", write);
  return true;
}

// The exception takes the last error before any guard closes its handle.
void mapfile::map(void* handle, const char* path, bool write) {
  size_ = GetFileSize(handle, nullptr);
  const HandleGuard mapping(CreateFileMappingA(
      handle, nullptr, write ? PAGE_READWRITE : PAGE_READONLY, 0, size_, nullptr));
  if (!mapping.isgood()) {
    throw MapExcept(path);
  }
  void* view = MapViewOfFile(mapping.get(), write ? FILE_MAP_WRITE : FILE_MAP_READ, 0, 0, 0);
  if (view == nullptr) {
    throw MapExcept(path);
  }
  data_ = view;
}

bool mapfile::close() {
  if (data_ != nullptr) {
    UnmapViewOfFile(data_);
    data_ = nullptr;
  }
  return true;
}

void* mapfile::data() {
  return data_;
}

const void* mapfile::data() const {
  return data_;
}

unsigned mapfile::size() const {
  return size_;
}

}  // namespace kr
