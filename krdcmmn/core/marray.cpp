#include "krdcmmn/core/marray.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "krdcmmn/core/exception.h"
#include "krdcmmn/core/packed_block.h"
#include "krdcmmn/platform/memory.h"

namespace KRD {

namespace {

constexpr std::uint32_t kGranularity = 0x10000;     // reservation unit
constexpr std::uint32_t kReservedFrom = 0x10000;    // capacity in bytes that leaves the heap
constexpr std::uint64_t kMaxReserved = 0x7fff0000;  // whole granules that a signed size can tell
constexpr unsigned kMinCapacity = 4;                // elements on the heap, and at least
constexpr unsigned kMinCapacityBytes = 16;          // these bytes, rounded up to elements

// Elements that an index of `size_index` bytes can name; other widths set no limit.
std::uint64_t IndexLimit(unsigned char size_index) {
  return size_index >= 1 && size_index <= 4 ? std::uint64_t{1} << (8 * size_index - 1)
                                            : std::uint64_t{1} << 31;
}

char* Reserve(std::uint32_t bytes) {
  return static_cast<char*>(VirtualAlloc(nullptr, bytes, MEM_RESERVE, PAGE_READWRITE));
}

bool Commit(char* address, std::uint32_t bytes) {
  return VirtualAlloc(address, bytes, MEM_COMMIT, PAGE_READWRITE) != nullptr;
}

void Release(char* address) {
  VirtualFree(address, 0, MEM_RELEASE);
}

std::uint32_t RoundUp(std::uint64_t size, std::uint32_t unit) {
  return static_cast<std::uint32_t>((size - 1) | (unit - 1)) + 1;
}

}  // namespace

void MARRAY::IndexError(unsigned int count, unsigned int bad_index) {
  ThrowException(
      new MA_EXCEPTION(6, static_cast<int>(count), 0, static_cast<int>(bad_index), true));
}

void MARRAY::ZeroError() {
  ThrowException(new MA_EXCEPTION(5, 0, 0, 0, true));
}

void MARRAY::AllocError() {
  ThrowException(new MA_EXCEPTION(3, 0, 0, 0, true));
}

void MARRAY::MemoryError() {
  ThrowException(new MA_EXCEPTION(2, 0, 0, 0, true));
}

MARRAY::MARRAY()
    : nElem(0), maxNElem_(0), data(nullptr), sizeElem(1), sizeIndex(4), pageKept(false) {}

MARRAY::~MARRAY() {
  MarrayFree();
}

unsigned int MARRAY::RoundToPageSize(int size) {
  return RoundUp(static_cast<unsigned>(size), kPageSize);
}

unsigned int MARRAY::RoundToGranularitySize(int size) {
  return RoundUp(static_cast<unsigned>(size), kGranularity);
}

char* MARRAY::RoundToPageAddr(const char* address) {
  return reinterpret_cast<char*>(reinterpret_cast<std::uintptr_t>(address) &
                                 ~std::uintptr_t{kPageSize - 1});
}

char* MARRAY::RoundToGranularityAddr(const char* address) {
  return reinterpret_cast<char*>(reinterpret_cast<std::uintptr_t>(address) &
                                 ~std::uintptr_t{kGranularity - 1});
}

bool MARRAY::isReserved() const {
  return bytesOf(static_cast<unsigned>(maxNElem_)) >= kReservedFrom;
}

void MARRAY::setNElem(unsigned int n) {
  if (n == nElem) {
    return;
  }
  if (n == 0) {
    MarrayFree();
  } else if (n > nElem) {
    growTo(n);
  } else {
    shrinkTo(n);
  }
}

void MARRAY::growTo(unsigned int n) {
  // A size that makes no element can hold nothing.
  if (sizeElem <= 0 || n > IndexLimit(sizeIndex) || bytesOf(n) > kMaxBytes) {
    ThrowException(new MA_EXCEPTION(4, static_cast<int>(n), sizeElem, 0, true));
  }
  if (n > static_cast<unsigned>(maxNElem_)) {
    setMaxNElem(maxNElem_ == 0 ? n : n + n / 2);
  }
  if (isReserved()) {
    const std::uint32_t have = RoundUp(bytesOf(nElem), kPageSize) + (pageKept ? kPageSize : 0);
    const std::uint32_t need = RoundUp(bytesOf(n), kPageSize);
    pageKept = false;
    if (need > have && !Commit(data + have, need - have)) {
      MemoryError();
    }
  }
  nElem = n;
}

void MARRAY::shrinkTo(unsigned int n) {
  if (isReserved()) {
    const std::uint32_t end = RoundUp(bytesOf(n), kPageSize);
    std::uint32_t free = RoundUp(bytesOf(nElem), kPageSize) - end;
    if (free != 0) {
      free += pageKept ? kPageSize : 0;
      // Nothing goes until two pages can go at once, so that an array that swings around a page's
      // end does not commit and decommit it each time.
      pageKept = free < 2 * kPageSize;
      if (!pageKept && !VirtualFree(data + end, free, MEM_DECOMMIT)) {
        MemoryError();
      }
    }
  }
  nElem = n;
}

int MARRAY::setMaxNElem(unsigned int n) {
  if (n <= nElem) {
    if (nElem == 0) {
      MarrayFree();
    }
    return maxNElem_;
  }
  if (n == static_cast<unsigned>(maxNElem_)) {
    return maxNElem_;
  }
  if (sizeElem <= 0 || bytesOf(n) > kMaxReserved) {
    AllocError();
  }
  if (isReserved()) {
    reserveAnew(n);
    return maxNElem_;
  }
  const auto size = static_cast<unsigned>(sizeElem);
  const unsigned capacity = std::max({n, kMinCapacity, (size + kMinCapacityBytes - 1) / size});
  if (bytesOf(n) >= kReservedFrom) {
    leaveHeap(n);
  } else if (bytesOf(capacity) >= kReservedFrom) {
    // Four elements of 16 KiB and more: the minimum decides too, so that the two size fields
    // always tell which memory is held.
    leaveHeap(capacity);
  } else if (capacity != static_cast<unsigned>(maxNElem_)) {
    void* block = std::realloc(data, bytesOf(capacity));
    if (block == nullptr) {
      MemoryError();
    }
    data = static_cast<char*>(block);
    maxNElem_ = static_cast<int>(capacity);
  }
  return maxNElem_;
}

// From one reserved range to another that holds at least `n` elements.
void MARRAY::reserveAnew(unsigned int n) {
  const auto size = static_cast<unsigned>(sizeElem);
  std::uint32_t bytes = RoundUp(bytesOf(n), kGranularity);
  if (bytes / size * size < kReservedFrom) {
    bytes += kGranularity;  // whole elements of one granule alone would read as a heap block
  }
  const int capacity = static_cast<int>(bytes / size);
  if (capacity == maxNElem_) {
    return;
  }
  char* range = Reserve(bytes);
  if (range == nullptr) {
    AllocError();
  }
  if (nElem != 0 && !MarrayVirtualMove(range, data, RoundUp(bytesOf(nElem), kPageSize))) {
    // Some pages may lie in either range, so neither is an array any more.
    Release(range);
    MarrayFree();
    MemoryError();
  }
  Release(data);
  data = range;
  maxNElem_ = capacity;
  pageKept = false;
}

// From the heap, or from nothing, to a reserved range of exactly `n` elements of capacity.
void MARRAY::leaveHeap(unsigned int n) {
  char* range = Reserve(RoundUp(bytesOf(n), kGranularity));
  if (range == nullptr) {
    AllocError();
  }
  if (nElem != 0) {
    if (!Commit(range, RoundUp(bytesOf(nElem), kPageSize))) {
      Release(range);
      MemoryError();
    }
    if (data != nullptr) {
      std::memcpy(range, data, bytesOf(nElem));
    }
  }
  std::free(data);
  data = range;
  maxNElem_ = static_cast<int>(n);
  pageKept = false;
}

bool MARRAY::MarrayVirtualMove(char* to, char* from, unsigned int size) const {
  return size == 0 || VirtualMove(to, from, size);
}

void MARRAY::MarrayFree() {
  if (data == nullptr) {
    return;
  }
  if (isReserved()) {
    Release(data);
  } else {
    std::free(data);
  }
  data = nullptr;
  nElem = 0;
  maxNElem_ = 0;
  pageKept = false;
}

void MARRAY::freeSeg() {
  const unsigned kept = nElem;
  MarrayFree();
  nElem = kept;
}

void MARRAY::allocSeg() {
  const unsigned kept = nElem;
  nElem = 0;
  setNElem(kept);
}

void MARRAY::empty() {
  if (data != nullptr && isReserved()) {
    VirtualFree(data, 0, MEM_DECOMMIT);
  }
  pageKept = false;
  nElem = 0;
}

void MARRAY::ins(unsigned int index, unsigned int count) {
  const std::uint64_t grown = std::uint64_t{nElem} + count;
  const std::uint64_t behind = std::uint64_t{index} + count;
  setNElem(static_cast<unsigned>(std::min<std::uint64_t>(grown, 0xffffffff)));
  if (behind < nElem) {
    std::memmove(data + bytesOf(index) + bytesOf(count), data + bytesOf(index),
                 bytesOf(nElem - index - count));
  } else if (behind > nElem) {
    IndexError(nElem, index);
  }
}

void MARRAY::del(unsigned int index, unsigned int count) {
  if (count == 0) {
    return;
  }
  const std::uint64_t behind = std::uint64_t{index} + count;
  if (behind < nElem) {
    std::memmove(data + bytesOf(index), data + bytesOf(index) + bytesOf(count),
                 bytesOf(nElem - index - count));
  } else if (behind > nElem) {
    IndexError(nElem, index);
  }
  setNElem(nElem - count);
}

void MARRAY::swap(MARRAY& other) {
  std::swap(nElem, other.nElem);
  std::swap(maxNElem_, other.maxNElem_);
  std::swap(data, other.data);
  std::swap(pageKept, other.pageKept);
}

void MARRAY::put(MARRAY& target) {
  target = *this;
}

void MARRAY::get(MARRAY& source) {
  if (&source == this) {
    return;
  }
  MarrayFree();
  nElem = std::exchange(source.nElem, 0);
  maxNElem_ = std::exchange(source.maxNElem_, 0);
  data = std::exchange(source.data, nullptr);
  pageKept = false;  // a spare page of the source is committed still, and counted no more
  source.pageKept = false;
}

MARRAY& MARRAY::operator=(MARRAY& source) {
  if (&source == this) {
    return *this;
  }
  const bool kept = source.pageKept;
  get(source);
  pageKept = kept;
  sizeElem = source.sizeElem;
  sizeIndex = source.sizeIndex;
  return *this;
}

std::int32_t MARRAY::getSizePack() const {
  return static_cast<std::int32_t>(PackedSize(data, static_cast<int>(nElem), sizeElem));
}

std::int32_t MARRAY::write(void* file) const {
  return PackedBlock(data, static_cast<int>(nElem), sizeElem).write(file);
}

void MARRAY::read(void* file) {
  ReadPacked(file, data, static_cast<int>(nElem), sizeElem);
}

}  // namespace KRD
