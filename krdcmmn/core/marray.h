// MARRAY: the growable array under everything else in the library.
//
// An untyped array of fixed-size elements whose size is a field. Elements are raw bytes: they move
// by block moves and are never constructed or destroyed. Below 64 KiB of capacity the block is on
// the heap; from there on it is a range of reserved address space that is committed page by page as
// the array grows and decommitted as it shrinks, so that growing inside the reservation copies
// nothing.
//
// Pointers into an array stay good while its count stays within its capacity. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>

#include "krdcmmn/platform/export.h"

namespace KRD {

class KRDCMMN_API MARRAY {
 public:
  MARRAY(const MARRAY&) = delete;

  // Sets the count; new elements hold unspecified bytes, 0 gives all memory back. Growing past the
  // capacity asks for n / 2 elements more than n. Throws MA_EXCEPTION 4 (nothing changed) for a
  // count above 1 << (8 * sizeIndex - 1) or above 1000000000 bytes, 2 or 3 when there is no memory.
  void setNElem(unsigned int n);

  // Opens a gap of `count` elements at `index`. Throws MA_EXCEPTION 6 for an index beyond the old
  // count; the array has grown by `count` then.
  void ins(unsigned int index, unsigned int count);
  // Removes `count` elements at `index`. Throws MA_EXCEPTION 6, with nothing changed, when they are
  // not all there. Removing all elements gives the memory back.
  void del(unsigned int index, unsigned int count);

  // Count 0; capacity and reservation stay.
  void empty();
  bool isEmpty() const { return nElem == 0; }
  // The capacity in elements.
  int maxNElem() const { return maxNElem_; }

  // Exchanges contents; the size fields stay where they are. Both arrays have one element size.
  void swap(MARRAY& other);
  // Moves this array and its size fields into `target`, whose memory is freed first. Moving an
  // array into itself changes nothing.
  void put(MARRAY& target);
  // Moves `source` into this array, whose memory is freed first; the size fields stay, so both have
  // one element size.
  void get(MARRAY& source);
  // Hands over as `get` does, size fields included, so that two arrays never own one block: the
  // source is empty afterwards.
  MARRAY& operator=(MARRAY& source);

  // The packed form (docs/block-format.md). `file` is a host file handle, used at its position.
  // Bytes that `write` puts into a file: 0 without elements, the raw bytes for 1 to 3, else a
  // packed block. Exact.
  std::int32_t getSizePack() const;
  // Gives the bytes written. Throws krerr::Win32Ecept, or the int 2 for a short write.
  std::int32_t write(void* file) const;
  // Reads `nElem` elements of `sizeElem` bytes, for which there is memory (allocSeg). Throws the
  // int 2 when the file is too short, the int 3 for a wrong checksum or a stream that its payload
  // does not hold, krerr::Win32Ecept, or MA_EXCEPTION; a failed packed read leaves the elements as
  // they were.
  void read(void* file);

  // For callers' inline accessors.
  [[noreturn]] static void IndexError(unsigned int nElem, unsigned int index);  // code 6
  [[noreturn]] static void ZeroError();                                         // code 5
  [[noreturn]] static void AllocError();                                        // code 3
  [[noreturn]] static void MemoryError();                                       // code 2

 protected:
  MARRAY();
  ~MARRAY();

  // Sets the capacity and gives the capacity reached.
  int setMaxNElem(unsigned int n);
  // Inside the page that the last element ends in, and inside all limits, appending is an increment
  // in either regime.
  void addElem() {
    const std::size_t end = bytesOf(nElem);
    const std::size_t grown = bytesOf(nElem + 1);
    appendOne(InOnePage(end, grown) && grown <= kMaxBytes);
  }
  // The same where the compiler knows the element's size.
  template <std::size_t kSize>
  void addElemOfSize() {
    if constexpr (kPageSize % kSize == 0) {
      appendOne(nElem % (kPageSize / kSize) != 0 && nElem < kMaxBytes / kSize);
    } else {
      appendOne(InOnePage(nElem * kSize, (nElem + 1) * kSize) && nElem < kMaxBytes / kSize);
    }
  }
  // Gives all memory back.
  void MarrayFree();
  // MarrayFree that keeps the count, and memory for the count that was kept.
  void freeSeg();
  void allocSeg();
  // Moves `size` bytes of pages between two reserved ranges; false when the target cannot be had.
  bool MarrayVirtualMove(char* to, char* from, unsigned int size) const;

  static constexpr std::uint32_t kPageSize = 0x1000;      // what is committed at once
  static constexpr std::uint32_t kMaxBytes = 1000000000;  // of all elements together

  static unsigned int RoundToPageSize(int size);
  static unsigned int RoundToGranularitySize(int size);
  static char* RoundToPageAddr(const char* address);
  static char* RoundToGranularityAddr(const char* address);

  unsigned int nElem;       // elements in use
  int maxNElem_;            // capacity in elements
  char* data;               // first element; null exactly when no memory is held
  short sizeElem;           // bytes an element; 1 unless a derived class sets it
  unsigned char sizeIndex;  // bytes of the owner's index type: 4, or 2 for 16-bit ids
  bool pageKept;            // one committed page lies behind those that nElem needs

 private:
  std::size_t bytesOf(unsigned int n) const {
    return std::size_t{n} * static_cast<unsigned short>(sizeElem);
  }
  static bool InOnePage(std::size_t end, std::size_t grown) {
    return ((end - 1) ^ (grown - 1)) < kPageSize;
  }
  void appendOne(bool inside) {
    if (inside && nElem < static_cast<unsigned>(maxNElem_) && sizeIndex == 4 && !pageKept) {
      ++nElem;
    } else {
      setNElem(nElem + 1);
    }
  }
  bool isReserved() const;
  void growTo(unsigned int n);
  void shrinkTo(unsigned int n);
  void reserveAnew(unsigned int n);
  void leaveHeap(unsigned int n);
};

}  // namespace KRD
