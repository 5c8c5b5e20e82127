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

void VF_KEEP::RestKeep(void* host, std::int32_t pos) {
  try {
    loadTable(host, pos);
    const auto refuse = [](int, const char*) { throw kFileDamaged; };
    checkLayout(pos, refuse);
    checkTree(refuse);
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
void VF_KEEP::checkLayout(std::int32_t pos, const REPORT& report) const {
  std::int64_t behind = kHeaderBytes;
  for (unsigned i = 0; i < nElem; ++i) {
    const virt_file& record = *entries_[i];
    const auto require = [&](bool holds, const char* text) {
      if (!holds) {
        report(static_cast<int>(i), text);
      }
    };
    require(record.sizeElem == 1 && record.sizeIndex == 4,
            "the sizes of the content are not 1 and 4");
    require(record.state == virt_file::kSaved, "the state is not 0");
    require(record.isFile == 0 || record.isFile == 1, "neither a file nor a directory");
    require(std::memchr(record.name, 0, kNameBytes) != nullptr, "the name has no end");
    require(record.filePos >= behind, "the content begins inside the one before it");
    const std::int64_t end = std::int64_t{record.filePos} + record.sizeFull;
    require(end <= pos, "the content reaches into the table");
    behind = end <= pos && end > behind ? end : behind;
  }
}

// Both ends of every link agree, and nothing lies inside itself. So a list that begins at a head
// comes to an end, and so does the way down from any entry.
void VF_KEEP::checkTree(const REPORT& report) const {
  const auto check = [&](int from, std::int32_t to, const char* text, auto agrees) {
    if (to != -1 && !(isIndex(to) && agrees(*entries_[static_cast<unsigned>(to)]))) {
      report(from, text);
    }
  };
  const auto check_head = [&](int dir, std::int32_t head) {
    check(dir, head, "the first entry belongs elsewhere", [dir](const virt_file& first) {
      return first.prevEntry == -1 && first.parentEntry == dir;
    });
  };
  check_head(-1, firstRoot);
  for (unsigned i = 0; i < nElem; ++i) {
    const auto at = static_cast<int>(i);
    const virt_file& record = *entries_[i];
    check(at, record.nextEntry, "the next entry belongs elsewhere", [&](const virt_file& next) {
      return next.prevEntry == at && next.parentEntry == record.parentEntry;
    });
    check(at, record.prevEntry, "the previous entry belongs elsewhere",
          [at](const virt_file& prev) { return prev.nextEntry == at; });
    check(at, record.parentEntry, "the directory is not there",
          [](const virt_file&) { return true; });
    check_head(at, record.firstEntry);
  }
  checkParents(report);
}

void VF_KEEP::checkParents(const REPORT& report) const {
  enum : char { kUnknown, kOnTheWay, kReachesRoot };
  std::vector<char> marks(nElem, kUnknown);
  for (unsigned i = 0; i < nElem; ++i) {
    const auto climb = [&](char mark, char stop) {
      auto at = static_cast<std::int32_t>(i);
      while (isIndex(at) && marks[static_cast<unsigned>(at)] == stop) {
        marks[static_cast<unsigned>(at)] = mark;
        at = entries_[static_cast<unsigned>(at)]->parentEntry;
      }
      return at;
    };
    const std::int32_t end = climb(kOnTheWay, kUnknown);
    if (isIndex(end) && marks[static_cast<unsigned>(end)] == kOnTheWay) {
      report(static_cast<int>(i), "the directory lies inside itself");
    }
    climb(kReachesRoot, kOnTheWay);
  }
}

}  // namespace KRD
