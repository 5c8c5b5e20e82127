// Any bytes as a source font.
#include <cstdint>

#include "krdcmmn/font/shape_reader.h"

#include "tests/fuzz/font_walk.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const char* source = reinterpret_cast<const char*>(data);
  kr::font font;
  kr::ShapeReader(&font).ReadSource(source, source + size);
  WalkFont(font, size);
  return 0;
}
