// Blocks of a container on their way from and to the host file.
#pragma once

#include <cstdint>
#include <vector>

#include "krdcmmn/core/packed_block.h"
#include "krdcmmn/vfs/linked_array.h"

namespace KRD {

// What the core throws for a packed block, and this room for a table.
inline constexpr int kFileTooShort = 2;
inline constexpr int kFileDamaged = 3;

// Moves the file position to `pos`. Throws krerr::Win32Ecept.
void SeekFile(void* file, std::int64_t pos);
// The host file's length in bytes. Throws krerr::Win32Ecept.
std::int64_t FileSizeOf(void* file);
// ReadFile and WriteFile of all `size` bytes. Throw the int 2 when they are not all transferred.
void ReadAll(void* file, void* bytes, std::uint32_t size);
void WriteAll(void* file, const void* bytes, std::uint32_t size);

// The blocks of one entry, one behind the other. Reads ahead, so the file position is its own while
// it lives. Nothing is allocated that the bytes in the file do not account for: a block's elements
// only after its checksum is right and its streams are known to produce as many.
class CONTENT_READER {
 public:
  // The blocks lie in the `size` bytes from `pos` on.
  CONTENT_READER(void* file, std::int64_t pos, std::uint32_t size);

  // Reads the next block into `array`, which is empty, as `count` elements of its size. Throws the
  // int 2 when the block passes the end, 3 when it is damaged, MA_EXCEPTION 4 for a count beyond
  // the array's limits, krerr::Win32Ecept.
  void read(LINKED_ARRAY& array, std::uint32_t count);
  // Bytes of the entry that were not read.
  std::uint32_t left() const {
    return ahead_ + static_cast<std::uint32_t>(buffer_.size() - taken_);
  }

 private:
  const char* take(std::uint32_t size);

  void* file_;
  std::int64_t pos_;     // in the file, of what is not in the buffer yet
  std::uint32_t ahead_;  // bytes from there on that belong to the entry
  std::vector<char> buffer_;
  std::size_t taken_ = 0;  // bytes of the buffer that were given out
};

// Gathers small blocks, and writes them to the host file from its position on in large pieces.
// Throws krerr::Win32Ecept, or the int 2 for a short write. What is not flushed is dropped.
class BLOCK_WRITER {
 public:
  explicit BLOCK_WRITER(void* file) : file_(file) {}
  void append(const char* bytes, std::uint32_t size);
  void append(const PackedBlock& block) { append(block.bytes(), block.size()); }
  void flush();

 private:
  void* file_;
  std::vector<char> buffer_;
};

}  // namespace KRD
