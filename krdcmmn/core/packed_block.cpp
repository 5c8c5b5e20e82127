#include "krdcmmn/core/packed_block.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "krdcmmn/core/block_format.h"
#include "krdcmmn/core/block_io.h"
#include "krdcmmn/core/byte_order.h"
#include "krdcmmn/core/checksum.h"
#include "krdcmmn/core/exception.h"
#include "krdcmmn/core/marray.h"
#include "krdcmmn/core/plane_coder.h"
#include "krdcmmn/core/plane_transpose.h"
#include "krdcmmn/platform/files.h"

namespace KRD {

namespace {

constexpr int kShortTransfer = 2;
constexpr int kDamagedBlock = 3;

constexpr std::size_t kScratch = std::size_t{8} << 20;
constexpr std::size_t kMaxPayload = 1000000000;  // what one array of bytes may hold

// A stretch of planes at a time, copied out of the elements or waiting to go into them.
class PlaneGroup {
 public:
  PlaneGroup(std::size_t count, std::size_t stride)
      : count_(count),
        planes_(std::clamp(std::max(kScratch, count * stride / 4) / count, std::size_t{1}, stride)),
        bytes_(AllocateBytes(count_ * planes_)) {}

  // Planes from `first` on that go together in a stride of `stride`.
  std::size_t size(std::size_t first, std::size_t stride) const {
    return std::min(planes_, stride - first);
  }
  char* plane(std::size_t g) { return bytes_.get() + g * count_; }

  void gather(const char* elements, std::size_t stride, std::size_t first) {
    GatherPlanes(bytes_.get(), count_, elements, count_, stride, first, size(first, stride));
  }
  void scatter(char* elements, std::size_t stride, std::size_t first) const {
    ScatterPlanes(elements, bytes_.get(), count_, count_, stride, first, size(first, stride));
  }

 private:
  std::size_t count_;
  std::size_t planes_;
  HeapBytes bytes_;
};

// Packs all planes to `out`, or only measures when it is null; gives the payload's length.
std::size_t PackPayload(char* out, const char* elements, std::size_t count, std::size_t stride) {
  std::size_t length = 0;
  const auto pack = [&](const char* plane) {
    length += PackPlane(out != nullptr ? out + length : nullptr, plane, count);
  };
  if (stride == 1) {
    pack(elements);
    return length;
  }
  PlaneGroup group(count, stride);
  for (std::size_t first = 0; first < stride; first += group.size(first, stride)) {
    group.gather(elements, stride, first);
    for (std::size_t g = 0; g < group.size(first, stride); ++g) {
      pack(group.plane(g));
    }
  }
  return length;
}

// Whether the payload holds a whole stream for every plane.
bool HoldsPlanes(const char* payload, const char* end, std::size_t count, std::size_t stride) {
  for (std::size_t k = 0; k < stride && payload != nullptr; ++k) {
    payload = SkipPlane(count, payload, end);
  }
  return payload != nullptr;
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
  bytes_ = AllocateBytes(PackPlaneBound(n) * stride + kBlockOverhead);
  char* const payload = bytes_.get() + kLengthSize;
  const std::size_t length = PackPayload(payload, elements, n, stride);
  if (length > kMaxPayload) {
    ThrowException(new MA_EXCEPTION(4, static_cast<int>(length), 1, 0, true));
  }
  StoreU32(bytes_.get(), static_cast<std::uint32_t>(length));
  StoreU32(payload + length, BlockChecksum(payload, length));
  size_ = static_cast<std::uint32_t>(length) + kBlockOverhead;
  // What the payload did not need goes back; a block that cannot be made smaller stays as it is.
  if (void* fitted = std::realloc(bytes_.get(), size_)) {
    static_cast<void>(bytes_.release());
    bytes_.reset(static_cast<char*>(fitted));
  }
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
    throw kShortTransfer;
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
  return static_cast<std::uint32_t>(PackPayload(nullptr, elements, n, stride)) + kBlockOverhead;
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
    throw kShortTransfer;
  }
  const std::uint32_t length = LoadU32(word);
  const auto file_size = static_cast<std::int32_t>(GetFileSize(file, nullptr));
  if (file_size < std::int64_t{length}) {
    throw kShortTransfer;
  }
  if (length > kMaxPayload) {
    ThrowException(new MA_EXCEPTION(4, static_cast<int>(length), 1, 0, true));
  }
  const HeapBytes payload = AllocateBytes(std::size_t{length} + kChecksumSize);
  if (ReadFile(file, payload.get(), length + kChecksumSize) < length + kChecksumSize) {
    throw kShortTransfer;
  }
  if (LoadU32(payload.get() + length) != BlockChecksum(payload.get(), length) ||
      !UnpackPayload(payload.get(), length, elements, count, size_elem)) {
    throw kDamagedBlock;
  }
}

bool UnpackPayload(const char* payload, std::size_t size, char* elements, int count,
                   int size_elem) {
  const auto n = static_cast<std::size_t>(count);
  const auto stride = static_cast<std::size_t>(size_elem);
  const char* const end = payload + size;
  if (stride == 1) {
    return HoldsPlanes(payload, end, n, 1) && UnpackPlane(elements, elements + n, payload, end);
  }
  PlaneGroup group(n, stride);
  if (group.size(0, stride) < stride && !HoldsPlanes(payload, end, n, stride)) {
    return false;
  }
  for (std::size_t first = 0; first < stride; first += group.size(first, stride)) {
    for (std::size_t g = 0; g < group.size(first, stride); ++g) {
      payload = UnpackPlane(group.plane(g), group.plane(g) + n, payload, end);
      if (payload == nullptr) {
        return false;  // all planes are in one group, and nothing was scattered yet
      }
    }
    group.scatter(elements, stride, first);
  }
  return true;
}

}  // namespace KRD
