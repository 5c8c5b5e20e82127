// Heap memory that fails on demand: calls of malloc and realloc in the library and in the tests
// pass through here (room.cmake).
#pragma once

namespace krtest {

// While one of these lives, every call but the first `granted` gives null.
class FailingMemory {
 public:
  explicit FailingMemory(int granted = 0);
  ~FailingMemory();
  FailingMemory(const FailingMemory&) = delete;
  FailingMemory& operator=(const FailingMemory&) = delete;
};

}  // namespace krtest
