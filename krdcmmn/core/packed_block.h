// Arrays in their packed form, in memory: packed once, asked for the size, written when it suits.
// The form is that of block_format.h: nothing for no elements, the raw bytes for 1 to 3, else a
// block of byte planes.
//
// Beside the result packing takes a scratch of 2 MB at most, or a quarter of a larger array (one
// plane of it, if that is more), unpacking one of 8 MB. Each thread keeps up to 4 MB of it for the
// next time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace KRD {

struct FreeDeleter {
  void operator()(void* block) const { std::free(block); }
};

// Bytes off the heap, unspecified; a null when none were asked for.
using HeapBytes = std::unique_ptr<char[], FreeDeleter>;

// Throws MA_EXCEPTION 2 when there is no memory.
HeapBytes AllocateBytes(std::size_t size);

// The bytes that an array leaves in a file, held in memory.
class PackedBlock {
 public:
  PackedBlock() = default;
  // Packs `count` elements of `size_elem` bytes (at least 1); they are not needed afterwards.
  // Throws MA_EXCEPTION 2, or 4 for a payload above the array limit.
  PackedBlock(const char* elements, int count, int size_elem);
  PackedBlock(PackedBlock&& other) noexcept;
  PackedBlock& operator=(PackedBlock&& other) noexcept;

  const char* bytes() const { return bytes_.get(); }
  std::uint32_t size() const { return size_; }

  // Writes the bytes at the file's position and gives how many were transferred. Throws
  // krerr::Win32Ecept, or the int 2 for a short write of a block; raw elements are not tested.
  std::int32_t write(void* file) const;

 private:
  HeapBytes bytes_;
  std::uint32_t size_ = 0;
  bool raw_ = true;
};

// PackedBlock's size without making one.
std::uint32_t PackedSize(const char* elements, int count, int size_elem);

// Reads what PackedBlock::write wrote. Throws the int 2 when the file does not hold the block, the
// int 3 when its checksum is wrong or a stream runs out of the payload, krerr::Win32Ecept, or
// MA_EXCEPTION; the elements are as they were then. Raw elements are not tested: those that the
// file does not hold become zero. Bytes of the payload behind the last plane's stream are ignored.
void ReadPacked(void* file, char* elements, int count, int size_elem);

// Decodes a payload, without its length word and checksum, to `count` elements. False, with the
// elements as they were, when a stream does not end inside the payload.
bool UnpackPayload(const char* payload, std::size_t size, char* elements, int count, int size_elem);

}  // namespace KRD
