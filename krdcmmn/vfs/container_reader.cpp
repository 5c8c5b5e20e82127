// Loading the table of a container. What it says is believed only after it was checked: later code
// walks the tree and lays out the file by it.
#include <cstring>
#include <vector>

#include "krdcmmn/core/block_io.h"
#include "krdcmmn/core/byte_order.h"
#include "krdcmmn/platform/types.h"
#include "krdcmmn/vfs/container_layout.h"
#include "krdcmmn/vfs/content_io.h"
#include "krdcmmn/vfs/name_index.h"
#include "krdcmmn/vfs/vf_keep.h"

namespace KRD {

using namespace container;

namespace {

void Require(bool holds) {
  if (!holds) {
    throw kFileDamaged;
  }
}

}  // namespace

void VF_KEEP::RestKeep(void* host, std::int32_t pos) {
  try {
    loadTable(host, pos);
    checkLayout(pos);
    checkTree();
  } catch (...) {
    FreeKeep();
    file = INVALID_HANDLE_VALUE;
    throw;
  }
}

void VF_KEEP::loadTable(void* host, std::int32_t pos) {
  file = host;
  tablePos = pos;
  names_->invalidate();
  const std::int64_t end = FileSizeOf(host);
  // A few records stand raw, and reading them does not tell whether they are all there.
  const std::uint64_t raw = nElem <= 3 ? std::uint64_t{nElem} * kRecordBytes : 0;
  if (pos < 0 || pos + static_cast<std::int64_t>(raw) + kFirstRootBytes > end) {
    throw kFileTooShort;
  }
  SeekFile(host, pos);
  if (nElem != 0) {
    MARRAY::read(host);
  }
  for (unsigned i = 0; i < nElem; ++i) {
    entries_[i]->decode(data + std::size_t{i} * kRecordBytes);
  }
  char word[kFirstRootBytes];
  ReadAll(host, word, sizeof word);
  firstRoot = LoadI32(word);
}

// The contents lie in table order between the header and the table. A gap does no harm; the next
// save closes it.
void VF_KEEP::checkLayout(std::int32_t pos) const {
  std::int64_t behind = kHeaderBytes;
  for (const auto& record : entries_) {
    Require(record->sizeElem == 1 && record->sizeIndex == 4);
    Require(record->state == virt_file::kSaved);
    Require(record->isFile == 0 || record->isFile == 1);
    Require(record->name[kNameBytes - 1] == 0 || strnlen(record->name, kNameBytes) < kNameBytes);
    Require(record->filePos >= behind);
    behind = std::int64_t{record->filePos} + record->sizeFull;
    Require(behind <= pos);
  }
}

// Both ends of every link agree, and nothing lies inside itself. So a list that begins at a head
// comes to an end, and so does the way down from any entry.
void VF_KEEP::checkTree() const {
  const auto link_to = [this](std::int32_t index) -> const virt_file* {
    Require(index == -1 || isIndex(index));
    return index == -1 ? nullptr : entries_[static_cast<unsigned>(index)].get();
  };
  const auto check_head = [&](std::int32_t head, std::int32_t dir) {
    const virt_file* first = link_to(head);
    Require(first == nullptr || (first->prevEntry == -1 && first->parentEntry == dir));
  };
  check_head(firstRoot, -1);
  for (unsigned i = 0; i < nElem; ++i) {
    const auto index = static_cast<std::int32_t>(i);
    const virt_file& record = *entries_[i];
    const virt_file* next = link_to(record.nextEntry);
    const virt_file* prev = link_to(record.prevEntry);
    link_to(record.parentEntry);
    Require(next == nullptr ||
            (next->prevEntry == index && next->parentEntry == record.parentEntry));
    Require(prev == nullptr || prev->nextEntry == index);
    check_head(record.firstEntry, index);
  }
  checkParents();
}

void VF_KEEP::checkParents() const {
  enum : char { kUnknown, kOnTheWay, kReachesRoot };
  std::vector<char> marks(nElem, kUnknown);
  for (unsigned i = 0; i < nElem; ++i) {
    const auto climb = [&](char mark, char stop) {
      std::int32_t at = static_cast<std::int32_t>(i);
      while (at >= 0 && marks[static_cast<unsigned>(at)] == stop) {
        marks[static_cast<unsigned>(at)] = mark;
        at = entries_[static_cast<unsigned>(at)]->parentEntry;
      }
      return at;
    };
    const std::int32_t end = climb(kOnTheWay, kUnknown);
    Require(end < 0 || marks[static_cast<unsigned>(end)] == kReachesRoot);
    climb(kReachesRoot, kOnTheWay);
  }
}

}  // namespace KRD
