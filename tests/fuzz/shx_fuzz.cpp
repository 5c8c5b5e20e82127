// Any bytes as a compiled font, through a file in memory.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

#include "tests/fuzz/font_walk.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // The loader's own words.
  return std::freopen("/dev/null", "w", stdout) == nullptr;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const int file = memfd_create("font", MFD_CLOEXEC);
  static const std::string path = "/proc/self/fd/" + std::to_string(file);
  if (ftruncate(file, 0) != 0 || pwrite(file, data, size, 0) != static_cast<ssize_t>(size)) {
    std::abort();
  }
  kr::font font;
  try {
    font.LoadFromSHXFile(path.c_str());
  } catch (const std::exception&) {
  }
  WalkFont(font, size);
  return 0;
}
