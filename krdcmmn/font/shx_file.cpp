// Compiled fonts: recognition and the two layouts. The file is read once into one block and its
// programs run where they lie.

#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <string_view>

#include "krdcmmn/core/exception.h"
#include "krdcmmn/font/font.h"
#include "krdcmmn/font/font_exception.h"
#include "krdcmmn/font/shape_reader.h"
#include "krdcmmn/font/shx_layout.h"

namespace kr {

namespace {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

// The first line of a file as text, without what lies behind a zero byte; empty without a file.
struct FirstLine {
  explicit FirstLine(const char* path) {
    const FilePtr file(path != nullptr ? std::fopen(path, "r") : nullptr);
    if (!file || std::fgets(text, sizeof text, file.get()) == nullptr) {
      text[0] = '\0';
    }
  }
  bool Holds(const char* magic) const { return std::strstr(text, magic) != nullptr; }

  char text[kMagicLineMax + 1] = {};
};

struct FileBytes {
  std::unique_ptr<unsigned char[]> data;
  std::size_t size = 0;
};

// All bytes of the file at `path`; false when it cannot be read or has 2 GiB or more.
bool ReadWhole(const char* path, FileBytes& bytes) {
  const FilePtr file(std::fopen(path, "rb"));
  if (!file) {
    return false;
  }
  std::setvbuf(file.get(), nullptr, _IONBF, 0);
  constexpr std::size_t kLimit = std::numeric_limits<std::int32_t>::max();
  std::size_t capacity = 0x8000;
  bytes.data.reset(new unsigned char[capacity]);
  for (;;) {
    bytes.size += std::fread(bytes.data.get() + bytes.size, 1, capacity - bytes.size, file.get());
    if (bytes.size < capacity) {
      return std::ferror(file.get()) == 0;
    }
    if (capacity >= kLimit) {
      return false;
    }
    std::unique_ptr<unsigned char[]> larger(new unsigned char[2 * capacity]);
    std::memcpy(larger.get(), bytes.data.get(), bytes.size);
    bytes.data = std::move(larger);
    capacity *= 2;
  }
}

// A position in a block. Once a read or a skip asks for more than there is, `good` is false, every
// number read is 0 and every block empty.
class Cursor {
 public:
  Cursor(const unsigned char* data, std::size_t size) : at_(data), left_(size) {}

  bool good() const { return good_; }

  const unsigned char* Take(std::size_t size) {
    good_ = good_ && size <= left_;
    if (!good_) {
      return nullptr;
    }
    const unsigned char* block = at_;
    at_ += size;
    left_ -= size;
    return block;
  }
  std::uint32_t Number(std::size_t size) {
    std::uint32_t value = 0;
    if (const unsigned char* bytes = Take(size)) {
      for (std::size_t i = size; i-- > 0;) {
        value = value << 8 | bytes[i];
      }
    }
    return value;
  }
  std::int16_t Signed16() { return static_cast<std::int16_t>(Number(2)); }

  // A font's name: bytes up to and including a zero byte, kFontNameMax at most. Null when that many
  // pass without one, or the block ends.
  const char* Name() {
    const unsigned char* name = at_;
    for (std::size_t i = 0; i < kFontNameMax && good_; ++i) {
      if (Number(1) == 0) {
        return good_ ? reinterpret_cast<const char*>(name) : nullptr;
      }
    }
    return nullptr;
  }

 private:
  const unsigned char* at_;
  std::size_t left_;
  bool good_ = true;
};

void SetMetrics(font& target, unsigned above, unsigned below) {
  target.descent = static_cast<std::int32_t>(below);
  target.height = static_cast<double>(above) + target.descent;
}

// A shape's body: its name with a zero byte, then its program.
void RunShape(ShapeReader& reader, std::int32_t code, const unsigned char* body,
              std::size_t length) {
  if (!reader.MapCode(code)) {
    return;
  }
  if (const void* zero = length != 0 ? std::memchr(body, 0, length) : nullptr) {
    const unsigned char* program = static_cast<const unsigned char*>(zero) + 1;
    reader.RunProgram(program, static_cast<std::size_t>(body + length - program));
  }
  reader.FinishCompiledShape();
}

// The index of a shapes layout, and the bodies that it describes. With code 0 ahead of all others
// the first body is the font's record, of one length whatever the index says.
struct ShapeIndex {
  struct Entry {
    std::int16_t code;
    std::int16_t length;
  };
  ShapeIndex(const FileBytes& bytes, Cursor& cursor)
      : count(cursor.Number(2)), entries(bytes.data.get(), bytes.size) {
    entries.Take(kShapesHeaderSize + 2);
    cursor.Take(count * kIndexEntrySize);
    hasFontRecord = count != 0 && cursor.good() && Cursor(entries).Signed16() == 0;
  }
  Entry Next() {
    Entry entry = {entries.Signed16(), entries.Signed16()};
    if (first && hasFontRecord) {
      entry.length = kFontRecordSize;
    }
    first = false;
    return entry;
  }

  std::uint32_t count;
  Cursor entries;
  bool hasFontRecord = false;
  bool first = true;
};

// The bodies lie within the file, and the metrics are set from the first.
bool CheckBodies(font& target, ShapeIndex index, Cursor bodies) {
  const unsigned char* first_body = nullptr;
  std::size_t first_length = 0;
  for (std::uint32_t i = 0; i < index.count; ++i) {
    const auto entry = index.Next();
    if (entry.length < 0) {
      return false;
    }
    const unsigned char* body = bodies.Take(static_cast<std::size_t>(entry.length));
    if (i == 0) {
      first_body = body;
      first_length = static_cast<std::size_t>(entry.length);
    }
  }
  if (!bodies.good() || index.count == 0) {
    return false;
  }
  SetMetrics(target, first_length > 0 ? first_body[0] : 0, first_length > 1 ? first_body[1] : 0);
  return true;
}

bool ReadShapes(font& target, ShapeReader& reader, const FileBytes& bytes) {
  Cursor bodies(bytes.data.get(), bytes.size);
  bodies.Take(kShapesHeaderSize);
  ShapeIndex index(bytes, bodies);
  if (index.hasFontRecord) {
    bodies.Name();
  }
  if (!CheckBodies(target, index, bodies)) {
    return false;
  }
  for (std::uint32_t i = 0; i < index.count; ++i) {
    const auto entry = index.Next();
    const auto length = static_cast<std::size_t>(entry.length);
    const unsigned char* body = bodies.Take(length);
    if (i != 0 || !index.hasFontRecord) {
      RunShape(reader, entry.code, body, length);
    }
  }
  return true;
}

bool ReadUnifont(font& target, ShapeReader& reader, const FileBytes& bytes) {
  Cursor cursor(bytes.data.get(), bytes.size);
  cursor.Take(kUnifontHeaderSize);
  const std::uint32_t records = cursor.Number(4);
  cursor.Take(kIndexEntrySize);
  if (const char* name = cursor.Name()) {
    std::printf("\nUnicode font-name/description: %s", *name != '\0' ? name : "unspecified");
  }
  const unsigned char* metrics = cursor.Take(kUnifontMetricsSize);
  if (metrics == nullptr) {
    return false;
  }
  SetMetrics(target, metrics[0], metrics[1]);
  for (std::uint32_t i = 1; i < records; ++i) {
    const std::int16_t code = cursor.Signed16();
    const std::int16_t length = cursor.Signed16();
    if (length < 0 || length > kUnifontBodyMax) {
      return false;
    }
    const unsigned char* body = cursor.Take(static_cast<std::size_t>(length));
    if (!cursor.good()) {
      return false;
    }
    RunShape(reader, code, body, static_cast<std::size_t>(length));
  }
  return true;
}

}  // namespace

int font::IsNormalFont(const char* path) {
  const FirstLine line(path);
  return line.Holds(kShapesMagic11) || line.Holds(kShapesMagic10) ? 1 : 0;
}

int font::IsUnicodeFont(const char* path) {
  return FirstLine(path).Holds(kUnifontMagic) ? 1 : 0;
}

bool font::LoadFromSHXFile(const char* path) {
  ResetGlyphs();
  descent = 0;
  ShapeReader reader(this);
  const bool shapes = IsNormalFont(path) != 0;
  if (!shapes && IsUnicodeFont(path) == 0) {
    throw FontException();
  }
  try {
    FileBytes bytes;
    if (!ReadWhole(path, bytes) ||
        !(shapes ? ReadShapes(*this, reader, bytes) : ReadUnifont(*this, reader, bytes))) {
      return false;
    }
  } catch (const std::bad_alloc&) {
    return false;
  } catch (KRD::EXCEPTION* e) {
    e->Delete();
    return false;
  }
  std::fputs("\nDone.\n", stdout);
  return true;
}

}  // namespace kr
