#include "krdcmmn/core/packed_block.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "krdcmmn/core/block_format.h"
#include "krdcmmn/core/block_io.h"
#include "krdcmmn/core/byte_order.h"
#include "krdcmmn/core/checksum.h"
#include "krdcmmn/core/exception.h"
#include "krdcmmn/core/plane_coder.h"
#include "krdcmmn/core/plane_transpose.h"
#include "krdcmmn/core/tarray.h"
#include "krdcmmn/platform/files.h"

namespace KRD {

namespace {

constexpr int kShortTransfer = 2;
constexpr int kDamagedBlock = 3;

// Planes are copied out of the elements a few at a time. On the way back all of them wait for the
// last one's stream to be found whole, as long as this is not too much; then the streams are looked
// through first.
constexpr std::size_t kPackScratch = std::size_t{2} << 20;
constexpr std::size_t kUnpackScratch = std::size_t{8} << 20;
constexpr std::size_t kStretch = 16384;    // elements that are put together at a time
constexpr std::size_t kTileElements = 16;  // at least
constexpr std::size_t kMostKept = std::size_t{4} << 20;
constexpr std::size_t kMaxPayload = 1000000000;  // what one array of bytes may hold

// Fresh pages cost more than the work on them, so each thread keeps its last scratch. Objects that
// are destroyed late in the thread may pack still, so what is kept needs no destructor of its own.
struct KeptScratch {
  char* bytes;
  std::size_t size;
  bool closed;
};
thread_local KeptScratch kept_scratch{};

struct KeptScratchEnd {
  ~KeptScratchEnd() {
    std::free(kept_scratch.bytes);
    kept_scratch = {nullptr, 0, true};
  }
};

class Scratch {
 public:
  explicit Scratch(std::size_t size) : size_(std::exchange(kept_scratch.size, 0)) {
    static thread_local const KeptScratchEnd end;
    bytes_.reset(std::exchange(kept_scratch.bytes, nullptr));
    if (size_ < size) {
      bytes_.reset();
      bytes_ = AllocateBytes(size);
      size_ = size;
    }
  }
  ~Scratch() {
    if (size_ <= kMostKept && kept_scratch.bytes == nullptr && !kept_scratch.closed) {
      kept_scratch.bytes = bytes_.release();
      kept_scratch.size = size_;
    }
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  char* get() const { return bytes_.get(); }

 private:
  HeapBytes bytes_;
  std::size_t size_;
};

// A few planes at a time, copied out of the elements.
class PlaneGroup {
 public:
  PlaneGroup(std::size_t count, std::size_t stride)
      : count_(count),
        planes_(
            std::clamp(std::max(kPackScratch, count * stride / 4) / count, std::size_t{1}, stride)),
        bytes_(count_ * planes_) {}

  // Planes from `first` on that go together in a stride of `stride`.
  std::size_t size(std::size_t first, std::size_t stride) const {
    return std::min(planes_, stride - first);
  }
  char* plane(std::size_t g) { return bytes_.get() + g * count_; }

  void gather(const char* elements, std::size_t stride, std::size_t first) {
    GatherPlanes(bytes_.get(), count_, elements, count_, stride, first, size(first, stride));
  }

 private:
  std::size_t count_;
  std::size_t planes_;
  Scratch bytes_;
};

// A block's bytes while they come into being: grows, and never holds fresh memory in plenty, which
// costs more than the packing that would fill it.
class GrowingBytes {
 public:
  void reserve(std::size_t size) {
    if (size <= capacity_) {
      return;
    }
    resize(std::max(size, capacity_ + capacity_ / 2));
  }
  // Gives back what lies behind `size` bytes when it is worth the trouble.
  HeapBytes finish(std::size_t size) {
    if (capacity_ - size > capacity_ / 8) {
      resize(size);
    }
    return std::move(bytes_);
  }
  char* at(std::size_t offset) { return bytes_.get() + offset; }

 private:
  void resize(std::size_t size) {
    void* block = std::realloc(bytes_.get(), size);
    if (block == nullptr) {
      MARRAY::MemoryError();
    }
    static_cast<void>(bytes_.release());
    bytes_.reset(static_cast<char*>(block));
    capacity_ = size;
  }

  HeapBytes bytes_;
  std::size_t capacity_ = 0;
};

// Calls `work` with each plane in turn, its bytes side by side.
template <class Work>
void ForEachPlane(const char* elements, std::size_t count, std::size_t stride, Work work) {
  if (stride == 1) {
    work(elements);
    return;
  }
  PlaneGroup group(count, stride);
  for (std::size_t first = 0; first < stride; first += group.size(first, stride)) {
    group.gather(elements, stride, first);
    for (std::size_t g = 0; g < group.size(first, stride); ++g) {
      work(group.plane(g));
    }
  }
}

// One reader a plane; false when the payload does not hold a whole stream for each.
bool MakeReaders(TARRAY<PlaneReader>& readers, const char* payload, const char* end,
                 std::size_t count, std::size_t stride) {
  for (std::size_t k = 0; k < stride && payload != nullptr; ++k) {
    readers.add(PlaneReader(payload, end));
    payload = SkipPlane(count, payload, end);
  }
  return payload != nullptr;
}

// All planes side by side, a stretch of elements at a time, once all streams are known to be whole.
bool UnpackInStretches(const char* payload, const char* end, char* elements, std::size_t count,
                       std::size_t stride) {
  TARRAY<PlaneReader> readers;
  if (!MakeReaders(readers, payload, end, count, stride)) {
    return false;
  }
  const std::size_t stretch = std::clamp(kUnpackScratch / stride, kTileElements, kStretch);
  const Scratch planes(stretch * stride);
  for (std::size_t from = 0; from < count; from += stretch) {
    const std::size_t n = std::min(stretch, count - from);
    char* plane = planes.get();
    for (PlaneReader& reader : readers) {
      reader.read(plane, n);
      plane += stretch;
    }
    ScatterPlanes(elements + from * stride, planes.get(), stretch, n, stride, 0, stride);
  }
  return true;
}

}  // namespace

HeapBytes AllocateBytes(std::size_t size) {
  HeapBytes bytes(size != 0 ? static_cast<char*>(std::malloc(size)) : nullptr);
  if (size != 0 && !bytes) {
    MARRAY::MemoryError();
  }
  return bytes;
}

PackedBlock::PackedBlock(const char* elements, int count, int size_elem)
    : raw_(count <= kRawElements) {
  if (count <= 0) {
    return;
  }
  const auto n = static_cast<std::size_t>(count);
  const auto stride = static_cast<std::size_t>(size_elem);
  if (raw_) {
    bytes_ = AllocateBytes(n * stride);
    std::memcpy(bytes_.get(), elements, n * stride);
    size_ = static_cast<std::uint32_t>(n * stride);
    return;
  }
  GrowingBytes bytes;
  std::size_t end = kLengthSize;
  ForEachPlane(elements, n, stride, [&](const char* plane) {
    bytes.reserve(end + PackPlaneBound(n) + kChecksumSize);
    end += PackPlane(bytes.at(end), plane, n);
  });
  const std::size_t length = end - kLengthSize;
  if (length > kMaxPayload) {
    ThrowException(new MA_EXCEPTION(4, static_cast<int>(length), 1, 0, true));
  }
  StoreU32(bytes.at(0), static_cast<std::uint32_t>(length));
  StoreU32(bytes.at(end), BlockChecksum(bytes.at(kLengthSize), length));
  size_ = static_cast<std::uint32_t>(length) + kBlockOverhead;
  bytes_ = bytes.finish(size_);
}

PackedBlock::PackedBlock(PackedBlock&& other) noexcept
    : bytes_(std::move(other.bytes_)), size_(std::exchange(other.size_, 0)), raw_(other.raw_) {}

PackedBlock& PackedBlock::operator=(PackedBlock&& other) noexcept {
  bytes_ = std::move(other.bytes_);
  size_ = std::exchange(other.size_, 0);
  raw_ = other.raw_;
  return *this;
}

std::int32_t PackedBlock::write(void* file) const {
  if (size_ == 0) {
    return 0;
  }
  const std::uint32_t done = WriteFile(file, bytes_.get(), size_);
  if (!raw_ && done < size_) {
    throw int{kShortTransfer};
  }
  return static_cast<std::int32_t>(done);
}

std::uint32_t PackedSize(const char* elements, int count, int size_elem) {
  if (count <= 0) {
    return 0;
  }
  const auto n = static_cast<std::size_t>(count);
  const auto stride = static_cast<std::size_t>(size_elem);
  if (count <= kRawElements) {
    return static_cast<std::uint32_t>(n * stride);
  }
  std::size_t length = 0;
  ForEachPlane(elements, n, stride,
               [&](const char* plane) { length += PackPlane(nullptr, plane, n); });
  return static_cast<std::uint32_t>(length) + kBlockOverhead;
}

void ReadPacked(void* file, char* elements, int count, int size_elem) {
  if (count <= 0) {
    return;
  }
  if (count <= kRawElements) {
    const auto size = static_cast<std::uint32_t>(count) * static_cast<std::uint32_t>(size_elem);
    const std::uint32_t done = ReadFile(file, elements, size);
    std::memset(elements + done, 0, size - done);
    return;
  }
  char word[kLengthSize];
  if (ReadFile(file, word, kLengthSize) < kLengthSize) {
    throw int{kShortTransfer};
  }
  const std::uint32_t length = LoadU32(word);
  const auto file_size = static_cast<std::int32_t>(GetFileSize(file, nullptr));
  if (file_size < std::int64_t{length}) {
    throw int{kShortTransfer};
  }
  if (length > kMaxPayload) {
    ThrowException(new MA_EXCEPTION(4, static_cast<int>(length), 1, 0, true));
  }
  const HeapBytes payload = AllocateBytes(std::size_t{length} + kChecksumSize);
  if (ReadFile(file, payload.get(), length + kChecksumSize) < length + kChecksumSize) {
    throw int{kShortTransfer};
  }
  if (LoadU32(payload.get() + length) != BlockChecksum(payload.get(), length) ||
      !UnpackPayload(payload.get(), length, elements, count, size_elem)) {
    throw int{kDamagedBlock};
  }
}

bool UnpackPayload(const char* payload, std::size_t size, char* elements, int count,
                   int size_elem) {
  const auto n = static_cast<std::size_t>(count);
  const auto stride = static_cast<std::size_t>(size_elem);
  const char* const end = payload + size;
  if (stride == 1) {
    return SkipPlane(n, payload, end) != nullptr &&
           UnpackPlane(elements, elements + n, payload, end) != nullptr;
  }
  if (n * stride > kUnpackScratch) {
    return UnpackInStretches(payload, end, elements, n, stride);
  }
  const Scratch planes(n * stride);
  for (std::size_t k = 0; k < stride; ++k) {
    char* const plane = planes.get() + k * n;
    payload = UnpackPlane(plane, plane + n, payload, end);
    if (payload == nullptr) {
      return false;
    }
  }
  ScatterPlanes(elements, planes.get(), n, n, stride, 0, stride);
  return true;
}

}  // namespace KRD
