#include "tests/text/memory.h"

#include <cstddef>

namespace {

int granted_left = -1;  // below 0: all of them

bool Grant() {
  if (granted_left < 0) {
    return true;
  }
  return granted_left != 0 && granted_left-- > 0;
}

}  // namespace

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void* __wrap_malloc(std::size_t size);
void* __wrap_realloc(void* block, std::size_t size);

void* __wrap_malloc(std::size_t size) {
  return Grant() ? __real_malloc(size) : nullptr;
}

void* __wrap_realloc(void* block, std::size_t size) {
  return Grant() ? __real_realloc(block, size) : nullptr;
}
}

namespace krtest {

FailingMemory::FailingMemory(int granted) {
  granted_left = granted;
}

FailingMemory::~FailingMemory() {
  granted_left = -1;
}

}  // namespace krtest
