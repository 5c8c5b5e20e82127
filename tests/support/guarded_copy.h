// A copy of bytes whose end is the end of readable memory: reading one byte too many ends the test.
#pragma once

#include <cstring>
#include <stdexcept>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

namespace krtest {

class GuardedCopy {
 public:
  explicit GuardedCopy(std::string_view bytes) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t room = (bytes.size() + page - 1) / page * page;
    size_ = room + page;
    void* block = mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (block == MAP_FAILED) {
      throw std::runtime_error("no memory for a guarded copy");
    }
    block_ = static_cast<char*>(block);
    data_ = block_ + room - bytes.size();
    std::memcpy(data_, bytes.data(), bytes.size());
    mprotect(block_ + room, page, PROT_NONE);
  }
  ~GuardedCopy() { munmap(block_, size_); }
  GuardedCopy(const GuardedCopy&) = delete;
  GuardedCopy& operator=(const GuardedCopy&) = delete;

  const char* data() const { return data_; }

 private:
  char* block_;
  char* data_;
  std::size_t size_;
};

}  // namespace krtest
