#include "krdcmmn/host/file.h"

#include "krdcmmn/host/failure_text.h"
#include "krdcmmn/platform/errors.h"
#include "krdcmmn/platform/files.h"

namespace kr {

file::FileExcept::FileExcept(const char* path)
    : message(hosttext::FailureText("kr_File_Error", path)) {}

file::FileExcept::~FileExcept() = default;

const char* file::FileExcept::what() const noexcept {
  return message.c_str();
}

file::file() : handle_(INVALID_HANDLE_VALUE) {}

file::file(const file& other) = default;

file& file::operator=(const file& other) = default;

file::~file() {
  close();
}

bool file::open(const char* filename, bool write, bool exclusive, bool truncate) {
  DWORD access = GENERIC_READ;
  DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE;
  DWORD disposition = OPEN_EXISTING;
  if (write) {
    access = GENERIC_READ | GENERIC_WRITE;
    share = FILE_SHARE_READ;
    disposition = truncate ? CREATE_ALWAYS : OPEN_ALWAYS;
  }
  if (exclusive) {
    share = 0;
  }
  handle_ =
      CreateFileA(filename, access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle_ == INVALID_HANDLE_VALUE) {
    throw FileExcept(filename);
  }
  name_ = filename;
  return true;
}

void file::close() {
  if (isgood()) {
    CloseHandle(handle_);
    handle_ = INVALID_HANDLE_VALUE;
  }
}

unsigned file::read(void* buffer, unsigned size) {
  DWORD done = 0;
  if (ReadFile(handle_, buffer, size, &done, nullptr) == FALSE) {
    throw FileExcept(name());
  }
  return done;
}

unsigned file::write(const void* buffer, unsigned size) {
  DWORD done = 0;
  if (WriteFile(handle_, buffer, size, &done, nullptr) == FALSE) {
    throw FileExcept(name());
  }
  return done;
}

bool file::setoffset(std::int32_t offset, std::int32_t* high) {
  const DWORD low = SetFilePointer(handle_, offset, high, FILE_BEGIN);
  if (low == INVALID_SET_FILE_POINTER && (high == nullptr || GetLastError() != ERROR_SUCCESS)) {
    throw FileExcept(name());
  }
  return true;
}

bool file::seteof() {
  if (SetEndOfFile(handle_) == FALSE) {
    throw FileExcept(name());
  }
  return true;
}

bool file::isgood() const {
  return handle_ != INVALID_HANDLE_VALUE;
}

const char* file::name() const {
  return name_.c_str();
}

void* file::handle() const {
  return handle_;
}

}  // namespace kr
