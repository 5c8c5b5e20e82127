// Compiled fonts: recognition and the two layouts. The file is read once into one block and its
// programs run where they lie.

#include <algorithm>
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

FilePtr OpenUnbuffered(const char* path) {
  FilePtr file(path != nullptr ? std::fopen(path, "rb") : nullptr);
  if (file) {
    std::setvbuf(file.get(), nullptr, _IONBF, 0);
  }
  return file;
}

// The first line of a file as text, without what lies behind a zero byte.
class FirstLine {
 public:
  FirstLine(const unsigned char* bytes, std::size_t size) {
    std::copy_n(bytes, std::min(size, kMagicLineMax), text_);
    text_[std::strcspn(text_, "\n")] = '\0';
  }
  bool IsShapes() const { return Holds(kShapesMagic10) || Holds(kShapesMagic11); }
  bool IsUnifont() const { return Holds(kUnifontMagic); }

 private:
  bool Holds(const char* magic) const { return std::strstr(text_, magic) != nullptr; }

  char text_[kMagicLineMax + 1] = {};
};

FirstLine FirstLineOf(const char* path) {
  unsigned char bytes[kMagicLineMax];
  const FilePtr file = OpenUnbuffered(path);
  return {bytes, file ? std::fread(bytes, 1, sizeof bytes, file.get()) : 0};
}

// A file that is read into one block, as far as its first bytes and then whole.
class FileBytes {
 public:
  explicit FileBytes(const char* path) : file_(OpenUnbuffered(path)) {}

  // False at the end of the file, for 2 GiB and more, or when it cannot be read.
  bool ReadSome() {
    if (!file_ || capacity_ > std::numeric_limits<std::int32_t>::max()) {
      return false;
    }
    const std::size_t larger = capacity_ == 0 ? 0x8000 : 2 * capacity_;
    std::unique_ptr<unsigned char[]> block(new unsigned char[larger]);
    std::copy_n(data_.get(), size_, block.get());
    data_ = std::move(block);
    capacity_ = larger;
    size_ += std::fread(data_.get() + size_, 1, capacity_ - size_, file_.get());
    return size_ == capacity_;
  }
  // After ReadSome gave false: all of the file is here.
  bool whole() const { return file_ && size_ < capacity_ && std::ferror(file_.get()) == 0; }
  const unsigned char* data() const { return data_.get(); }
  std::size_t size() const { return size_; }

 private:
  FilePtr file_;
  std::unique_ptr<unsigned char[]> data_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

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
      : count(cursor.Number(2)), entries(bytes.data(), bytes.size()) {
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
  Cursor bodies(bytes.data(), bytes.size());
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
  Cursor cursor(bytes.data(), bytes.size());
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
  return FirstLineOf(path).IsShapes() ? 1 : 0;
}

int font::IsUnicodeFont(const char* path) {
  return FirstLineOf(path).IsUnifont() ? 1 : 0;
}

bool font::LoadFromSHXFile(const char* path) {
  ResetGlyphs();
  descent = 0;
  try {
    FileBytes bytes(path);
    bool more = bytes.ReadSome();
    const FirstLine line(bytes.data(), bytes.size());
    if (!line.IsShapes() && !line.IsUnifont()) {
      throw FontException();
    }
    while (more) {
      more = bytes.ReadSome();
    }
    ShapeReader reader(this);
    reader.Expect(bytes.size() * 3 / 8);  // as compiled fonts usually have them
    const bool read = bytes.whole() && (line.IsShapes() ? ReadShapes(*this, reader, bytes)
                                                        : ReadUnifont(*this, reader, bytes));
    if (!reader.Finish() || !read) {
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
