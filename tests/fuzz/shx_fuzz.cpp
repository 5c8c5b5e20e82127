// Any bytes as a compiled font, through a file.
#include <cstdint>
#include <cstdio>
#include <exception>
#include <string>

#include "tests/fuzz/font_walk.h"
#include "tests/support/temp_dir.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // The loader's own words.
  return std::freopen("/dev/null", "w", stdout) == nullptr;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const krtest::TempDir dir;
  static const std::string path = dir.file("font.shx");
  krtest::WriteBytes(path, std::string(reinterpret_cast<const char*>(data), size));
  kr::font font;
  try {
    font.LoadFromSHXFile(path.c_str());
  } catch (const std::exception&) {
  }
  WalkFont(font, size);
  return 0;
}
