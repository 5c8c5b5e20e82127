// Saving. Everything is known before the first byte is written: which contents move, where to, and
// where the file ends. A failure up to there changes nothing; a later one leaves what was being
// written in memory, marked as not saved.
#include <limits>
#include <vector>

#include "krdcmmn/core/byte_order.h"
#include "krdcmmn/core/packed_block.h"
#include "krdcmmn/core/vf_exception.h"
#include "krdcmmn/host/system_error.h"
#include "krdcmmn/platform/files.h"
#include "krdcmmn/vfs/container_layout.h"
#include "krdcmmn/vfs/content_io.h"
#include "krdcmmn/vfs/name_index.h"
#include "krdcmmn/vfs/vf_keep.h"

namespace KRD {

using namespace container;

// One save of a table that has no removed entries.
class CONTAINER_WRITER {
 public:
  CONTAINER_WRITER(VF_KEEP& keep, void* host, std::int32_t start, unsigned dirty)
      : keep_(keep), host_(host), dirty_(dirty), begin_(start) {
    if (dirty > 0) {
      const virt_file& before = *keep.entries_[dirty - 1];
      begin_ = std::int64_t{before.filePos} + before.sizeFull;
    }
  }

  // Loads what has to move, packs it and reserves the space.
  void prepare() {
    try {
      load();
      layOut();
    } catch (...) {
      for (virt_file* record : loaded_) {
        record->freemem();
      }
      throw;
    }
  }

  // Gives the table's offset.
  std::int32_t write() {
    for (unsigned i = dirty_; i < keep_.nElem; ++i) {
      keep_.entries_[i]->distrust();
    }
    SeekFile(host_, begin_);
    BLOCK_WRITER out(host_);
    for (unsigned i = dirty_; i < keep_.nElem; ++i) {
      keep_.entries_[i]->writeBlocks(out);
    }
    out.append(table_);
    char word[kFirstRootBytes];
    StoreI32(word, keep_.firstRoot);
    out.append(word, sizeof word);
    out.flush();
    std::int64_t pos = begin_;
    for (unsigned i = dirty_; i < keep_.nElem; ++i) {
      keep_.entries_[i]->settle(pos, sizes_[i - dirty_]);
      pos += static_cast<std::int64_t>(sizes_[i - dirty_]);
    }
    return static_cast<std::int32_t>(table_pos_);
  }

 private:
  static constexpr std::int64_t kLastOffset = std::numeric_limits<std::int32_t>::max();

  void load() {
    for (unsigned i = dirty_; i < keep_.nElem; ++i) {
      virt_file& record = *keep_.entries_[i];
      if (record.state == virt_file::kSaved && record.nElem != 0) {
        if (!record.inMemory()) {
          record.load(host_);
          loaded_.push_back(&record);
        }
        record.posC() = kContentBytes;  // as every opening leaves it
      }
    }
  }

  void layOut() {
    sizes_.reserve(keep_.nElem - dirty_);
    table_pos_ = begin_;
    for (unsigned i = 0; i < keep_.nElem; ++i) {
      virt_file& record = *keep_.entries_[i];
      char* bytes = keep_.data + std::size_t{i} * kRecordBytes;
      if (i < dirty_) {
        record.encode(bytes, record.filePos, record.sizeFull);
        continue;
      }
      sizes_.push_back(record.pack());
      record.encode(bytes, table_pos_, sizes_.back());
      table_pos_ += static_cast<std::int64_t>(sizes_.back());
      refuseBeyond(table_pos_);
    }
    table_ = PackedBlock(keep_.data, static_cast<int>(keep_.nElem), kRecordBytes);
    const std::int64_t end = table_pos_ + table_.size() + kFirstRootBytes;
    refuseBeyond(end);
    if (!ReserveFileSpace(host_, static_cast<std::uint64_t>(end))) {
      throw krerr::Win32Ecept();
    }
  }

  void refuseBeyond(std::int64_t offset) const {
    if (offset > kLastOffset) {
      ThrowException(new VF_EXCEPTION(114, keep_.path.c_str(), true));
    }
  }

  VF_KEEP& keep_;
  void* host_;
  unsigned dirty_;      // entries from here on are written
  std::int64_t begin_;  // where the first of them goes
  std::int64_t table_pos_ = 0;
  std::vector<virt_file*> loaded_;
  std::vector<std::uint64_t> sizes_;
  PackedBlock table_;
};

// The first entry whose content is not, or will not be, in its place behind `start` in the file.
unsigned VF_KEEP::firstChanged(std::int32_t start) const {
  std::int64_t pos = start;
  unsigned i = 0;
  for (; i < nElem; ++i) {
    const virt_file& record = *entries_[i];
    if (record.state == virt_file::kClosed || !IsVisible(record.state) || record.filePos != pos) {
      break;
    }
    pos += record.sizeFull;
  }
  return i;
}

// A file that could not be loaded counts as open, but is in nobody's way while it need not move.
void VF_KEEP::refuseOpenFiles(std::int32_t start) const {
  const unsigned dirty = firstChanged(start);
  for (unsigned i = 0; i < nElem; ++i) {
    const virt_file& record = *entries_[i];
    const bool open = record.state == virt_file::kReading || record.state == virt_file::kWriting;
    if (open && (i >= dirty || !record.damaged_)) {
      ThrowException(new VF_EXCEPTION(102, record.name, true));
    }
  }
}

std::int32_t VF_KEEP::SaveKeep(void* host, std::int32_t start) {
  refuseOpenFiles(start);
  file = host;
  removeConsumed();
  // With the removed entries still there: the ones behind them move, even those whose place stays
  // the same because the header grew by as much.
  const unsigned dirty = firstChanged(start);
  dropRemoved();
  CONTAINER_WRITER writer(*this, host, start, dirty);
  writer.prepare();
  lastDirty_ = dirty;
  tablePos = writer.write();
  return tablePos;
}

void VF_KEEP::DistrustSave() {
  for (unsigned i = lastDirty_; i < nElem; ++i) {
    entries_[i]->distrust();
  }
}

}  // namespace KRD
