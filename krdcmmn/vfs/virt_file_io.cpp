// A file's way from and to the container: loading, packing, and its record of 64 bytes.
#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

#include "krdcmmn/core/byte_order.h"
#include "krdcmmn/core/exception.h"
#include "krdcmmn/vfs/container_layout.h"
#include "krdcmmn/vfs/content_io.h"
#include "krdcmmn/vfs/virt_file.h"
#include "krdcmmn/vfs/virt_file_extras.h"

namespace KRD {

using namespace container;

namespace {

// A packed form up to this size is kept from the closing to the save. A larger one is made again,
// so that the memory for it is taken for one file at a time.
constexpr std::uint64_t kKeptPackedBytes = 0x100000;
constexpr std::uint64_t kKeptPackedShare = 4;  // or up to this part of the content

std::uint64_t elementBytes(const LINKED_ARRAY& array) {
  return static_cast<std::uint64_t>(array.elementSize());
}

}  // namespace

// Loads the content from its place in the host file.
void virt_file::load(void* host) {
  try {
    readContent(host);
  } catch (EXCEPTION*) {
    throw;
  } catch (...) {
    raise(109);
  }
}

// Gives the bytes of the content's place that its blocks do not take.
std::uint32_t virt_file::readContent(void* host) {
  const auto size = nElem;
  if (size < kContentBytes || sizeElem != 1) {
    throw kFileDamaged;
  }
  CONTENT_READER blocks(host, filePos, sizeFull);
  LINKED_ARRAY content;
  blocks.read(content, size);
  auto loaded = std::make_unique<EXTRAS>();
  const std::int64_t last_place = std::int64_t{size} - kLinkBytes;
  int behind = kContentBytes;
  for (int offset = LoadI32(content.bytes() + kContent[kFirst].offset); offset != -1;) {
    if (offset < behind || offset > last_place) {
      throw kFileDamaged;
    }
    const char* link = content.bytes() + offset;
    const auto element = static_cast<short>(LoadU16(link + kLink[kLinkElementSize].offset));
    const auto index_size = static_cast<unsigned char>(link[kLink[kLinkIndexSize].offset]);
    if (element <= 0 || index_size < 1 || index_size > 4) {
      throw kFileDamaged;
    }
    LINKED_ARRAY& array = loaded->links.emplace_back(offset, element, index_size).array;
    blocks.read(array, LoadU32(link + kLink[kLinkCount].offset));
    behind = offset + kLinkBytes;
    offset = LoadI32(link + kLink[kNext].offset);
  }
  MARRAY::get(content);
  if (!loaded->links.empty()) {
    extras_ = std::move(loaded);
    eachLink([this](const LINK& link) { syncLink(link); });
  }
  return blocks.left();
}

unsigned int virt_file::GetSizeFull() {
  if (nElem == 0) {
    return 0;
  }
  if (data == nullptr) {
    return sizeFull;
  }
  eachLink([this](const LINK& link) { syncLink(link); });
  auto size = static_cast<std::uint64_t>(getSizePack());
  eachLink(
      [&size](const LINK& link) { size += static_cast<std::uint64_t>(link.array.getSizePack()); });
  return static_cast<unsigned>(std::min<std::uint64_t>(size, std::numeric_limits<unsigned>::max()));
}

// Gives the bytes that the content in memory takes in the host file, and keeps its packed form
// where that is small.
std::uint64_t virt_file::pack() {
  std::uint64_t size = 0;
  if (data == nullptr) {
    return size;
  }
  std::vector<PackedBlock>& packed = extras().packed;
  if (!packed.empty()) {
    for (const PackedBlock& block : packed) {
      size += block.size();
    }
    return size;
  }
  eachLink([this](const LINK& link) { syncLink(link); });
  std::uint64_t unpacked = nElem;
  eachLink([&unpacked](const LINK& link) {
    unpacked += std::uint64_t{link.array.count()} * elementBytes(link.array);
  });
  const std::uint64_t most = std::max(kKeptPackedBytes, unpacked / kKeptPackedShare);
  bool keep = true;
  const auto add = [&](const char* elements, unsigned count, int size_elem) {
    if (keep) {
      packed.emplace_back(elements, static_cast<int>(count), size_elem);
      size += packed.back().size();
      keep = size <= most;
    } else {
      size += PackedSize(elements, static_cast<int>(count), size_elem);
    }
  };
  add(data, nElem, sizeElem);
  eachLink([&add](const LINK& link) {
    add(link.array.bytes(), link.array.count(), link.array.elementSize());
  });
  if (!keep) {
    std::vector<PackedBlock>().swap(packed);
  }
  return size;
}

// Writes what `pack` has measured.
void virt_file::writeBlocks(BLOCK_WRITER& out) {
  if (data == nullptr) {
    return;
  }
  if (extras_ != nullptr && !extras_->packed.empty()) {
    for (const PackedBlock& block : extras_->packed) {
      out.append(block);
    }
    return;
  }
  out.append(PackedBlock(data, static_cast<int>(nElem), sizeElem));
  eachLink([&out](const LINK& link) {
    out.append(PackedBlock(link.array.bytes(), static_cast<int>(link.array.count()),
                           link.array.elementSize()));
  });
}

// Its place in the host file may be overwritten from now on: what is in memory counts. A file that
// was never saved is what it was.
void virt_file::distrust() {
  if (data != nullptr && state == kSaved) {
    state = kClosed;
    only_copy_ = true;
  }
}

// The content is in the host file, at `pos`.
void virt_file::settle(std::int64_t pos, std::uint64_t size) {
  filePos = static_cast<std::int32_t>(pos);
  sizeFull = static_cast<std::uint32_t>(size);
  state = kSaved;
  only_copy_ = false;
  if (extras_ != nullptr) {
    std::vector<PackedBlock>().swap(extras_->packed);
  }
}

// The record of the file whose blocks take `size` bytes from `pos` on.
void virt_file::encode(char* record, std::int64_t pos, std::uint64_t size) const {
  std::memset(record, 0, kRecordBytes);
  const auto put_word = [record](RecordField field, std::int32_t value) {
    StoreI32(record + kRecord[field].offset, value);
  };
  put_word(kCount, static_cast<std::int32_t>(nElem));
  StoreU16(record + kRecord[kElementSize].offset, static_cast<std::uint16_t>(sizeElem));
  record[kRecord[kIndexSize].offset] = static_cast<char>(sizeIndex);
  put_word(kFilePos, static_cast<std::int32_t>(pos));
  put_word(kSizeFull, static_cast<std::int32_t>(size));
  // Up to the terminator: what stands behind it has no meaning.
  std::memcpy(record + kRecord[kName].offset, name, strnlen(name, kNameBytes - 1));
  put_word(kState, kSaved);
  put_word(kIsFile, isFile);
  put_word(kNextEntry, nextEntry);
  put_word(kPrevEntry, prevEntry);
  put_word(kFirstEntry, firstEntry);
  put_word(kParentEntry, parentEntry);
}

void virt_file::decode(const char* record) {
  const auto word = [record](RecordField field) { return LoadI32(record + kRecord[field].offset); };
  nElem = static_cast<unsigned>(word(kCount));
  sizeElem = static_cast<short>(LoadU16(record + kRecord[kElementSize].offset));
  sizeIndex = static_cast<unsigned char>(record[kRecord[kIndexSize].offset]);
  filePos = word(kFilePos);
  sizeFull = static_cast<std::uint32_t>(word(kSizeFull));
  std::memcpy(name, record + kRecord[kName].offset, kNameBytes);
  state = word(kState);
  isFile = word(kIsFile);
  nextEntry = word(kNextEntry);
  prevEntry = word(kPrevEntry);
  firstEntry = word(kFirstEntry);
  parentEntry = word(kParentEntry);
}

}  // namespace KRD
