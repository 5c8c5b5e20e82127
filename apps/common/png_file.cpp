#include "apps/common/png_file.h"

#include <algorithm>
#include <csetjmp>
#include <png.h>
#include <vector>

#include "apps/common/errors.h"

namespace kr_app {

namespace {

struct Writer {
  ~Writer() { png_destroy_write_struct(&png, &info); }
  png_structp png = nullptr;
  png_infop info = nullptr;
};

// Called by libpng, which exceptions must not pass through.
void Append(png_structp png, png_bytep bytes, std::size_t size) {
  auto* out = static_cast<std::string*>(png_get_io_ptr(png));
  bool kept = false;
  try {
    out->append(reinterpret_cast<const char*>(bytes), size);
    kept = true;
  } catch (...) {
    kept = false;
  }
  if (!kept) {
    png_error(png, "out of memory");
  }
}

// False when libpng gave up. No object with a destructor lives here, since libpng leaves by
// longjmp.
bool Encode(Writer& writer, const PIXELS& pixels, unsigned dots_per_metre, std::string* out,
            png_bytep row) {
  if (setjmp(png_jmpbuf(writer.png)) != 0) {
    return false;
  }
  png_set_write_fn(writer.png, out, Append, nullptr);
  png_set_IHDR(writer.png, writer.info, static_cast<png_uint_32>(pixels.width),
               static_cast<png_uint_32>(pixels.height), 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  if (dots_per_metre != 0) {
    png_set_pHYs(writer.png, writer.info, dots_per_metre, dots_per_metre, PNG_RESOLUTION_METER);
  }
  png_write_info(writer.png, writer.info);
  for (int y = 0; y < pixels.height; ++y) {
    const std::uint32_t* from = pixels.data + std::ptrdiff_t{y} * pixels.stride;
    for (int x = 0; x < pixels.width; ++x) {
      row[3 * x] = static_cast<png_byte>(from[x] >> 16);
      row[3 * x + 1] = static_cast<png_byte>(from[x] >> 8);
      row[3 * x + 2] = static_cast<png_byte>(from[x]);
    }
    png_write_row(writer.png, row);
  }
  png_write_end(writer.png, nullptr);
  return true;
}

}  // namespace

std::string PngOf(const PIXELS& pixels, unsigned dots_per_metre) {
  std::string bytes;
  Writer writer;
  writer.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  writer.info = writer.png != nullptr ? png_create_info_struct(writer.png) : nullptr;
  if (writer.info == nullptr) {
    throw Failure("out of memory");
  }
  std::vector<png_byte> row(3 * static_cast<std::size_t>(std::max(pixels.width, 1)));
  if (pixels.data == nullptr || !Encode(writer, pixels, dots_per_metre, &bytes, row.data())) {
    throw Failure("the picture could not be made");
  }
  return bytes;
}

}  // namespace kr_app
