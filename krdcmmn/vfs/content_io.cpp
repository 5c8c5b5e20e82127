#include "krdcmmn/vfs/content_io.h"

#include <algorithm>
#include <limits>

#include "krdcmmn/core/block_format.h"
#include "krdcmmn/core/block_io.h"
#include "krdcmmn/core/byte_order.h"
#include "krdcmmn/core/checksum.h"
#include "krdcmmn/core/plane_coder.h"
#include "krdcmmn/host/system_error.h"
#include "krdcmmn/platform/errors.h"
#include "krdcmmn/platform/files.h"

namespace KRD {
namespace {

constexpr std::uint32_t kReadAhead = 0x40000;
constexpr std::size_t kGather = 0x100000;

// Elements of this many bytes, or this many times their block, are simply allocated.
constexpr std::uint64_t kHarmlessBytes = 0x10000;
constexpr std::uint64_t kHarmlessRatio = 16;

std::uint64_t IndexLimit(const LINKED_ARRAY& array) {
  return std::uint64_t{1} << (8 * std::clamp<int>(array.indexSize(), 1, 4) - 1);
}

// Whether the payload holds `planes` streams of `count` bytes.
bool HoldsPlanes(const char* payload, std::uint32_t size, std::uint32_t count, int planes) {
  const char* stream = payload;
  for (int k = 0; k < planes && stream != nullptr; ++k) {
    stream = SkipPlane(count, stream, payload + size);
  }
  return stream != nullptr;
}

}  // namespace

void SeekFile(void* file, std::int64_t pos) {
  LONG high = static_cast<LONG>(pos >> 32);
  const auto low = static_cast<LONG>(static_cast<std::uint32_t>(pos));
  SetLastError(ERROR_SUCCESS);
  if (SetFilePointer(file, low, &high, FILE_BEGIN) == INVALID_SET_FILE_POINTER &&
      GetLastError() != ERROR_SUCCESS) {
    throw krerr::Win32Ecept();
  }
}

std::int64_t FileSizeOf(void* file) {
  DWORD high = 0;
  SetLastError(ERROR_SUCCESS);
  const DWORD low = GetFileSize(file, &high);
  if (low == INVALID_FILE_SIZE && GetLastError() != ERROR_SUCCESS) {
    throw krerr::Win32Ecept();
  }
  return static_cast<std::int64_t>(std::uint64_t{high} << 32 | low);
}

void ReadAll(void* file, void* bytes, std::uint32_t size) {
  if (ReadFile(file, bytes, size) != size) {
    throw kFileTooShort;
  }
}

void WriteAll(void* file, const void* bytes, std::uint32_t size) {
  if (WriteFile(file, bytes, size) != size) {
    throw kFileTooShort;
  }
}

CONTENT_READER::CONTENT_READER(void* file, std::int64_t pos, std::uint32_t size)
    : file_(file), pos_(pos), ahead_(0) {
  const std::int64_t end = FileSizeOf(file);
  if (pos < 0 || pos > end) {
    throw kFileTooShort;
  }
  ahead_ = static_cast<std::uint32_t>(std::min<std::int64_t>(size, end - pos));
  SeekFile(file, pos);
}

// The next `size` bytes, good until the next call.
const char* CONTENT_READER::take(std::uint32_t size) {
  std::size_t have = buffer_.size() - taken_;
  if (size > have) {
    const auto missing = static_cast<std::uint32_t>(size - have);
    if (missing > ahead_) {
      throw kFileTooShort;
    }
    const std::uint32_t more = std::min(ahead_, std::max(missing, kReadAhead));
    buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(taken_));
    taken_ = 0;
    buffer_.resize(have + more);
    ReadAll(file_, buffer_.data() + have, more);
    pos_ += more;
    ahead_ -= more;
  }
  const char* bytes = buffer_.data() + taken_;
  taken_ += size;
  return bytes;
}

void CONTENT_READER::read(LINKED_ARRAY& array, std::uint32_t count) {
  const auto element = static_cast<std::uint32_t>(array.elementSize());
  const std::uint64_t size = std::uint64_t{count} * element;
  if (count > IndexLimit(array) || size > 1000000000) {
    array.setNElem(count);  // raises its own
  }
  if (count == 0) {
    return;
  }
  if (count <= kRawElements) {
    const char* raw = take(static_cast<std::uint32_t>(size));
    array.setNElem(count);
    std::copy_n(raw, size, array.bytes());
    return;
  }
  const std::uint32_t length = LoadU32(take(kLengthSize));
  if (length > std::numeric_limits<std::int32_t>::max() - kChecksumSize) {
    throw kFileTooShort;
  }
  const char* payload = take(length + kChecksumSize);
  if (LoadU32(payload + length) != BlockChecksum(payload, length)) {
    throw kFileDamaged;
  }
  if (size > std::max(kHarmlessBytes, kHarmlessRatio * length) &&
      !HoldsPlanes(payload, length, count, array.elementSize())) {
    throw kFileDamaged;
  }
  array.setNElem(count);
  if (!UnpackPayload(payload, length, array.bytes(), static_cast<int>(count),
                     array.elementSize())) {
    throw kFileDamaged;
  }
}

void BLOCK_WRITER::append(const char* bytes, std::uint32_t size) {
  if (buffer_.size() + size > kGather) {
    flush();
  }
  if (size > kGather) {
    WriteAll(file_, bytes, size);
  } else {
    buffer_.insert(buffer_.end(), bytes, bytes + size);
  }
}

void BLOCK_WRITER::flush() {
  WriteAll(file_, buffer_.data(), static_cast<std::uint32_t>(buffer_.size()));
  buffer_.clear();
}

}  // namespace KRD
