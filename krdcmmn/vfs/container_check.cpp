#include "krdcmmn/vfs/container_check.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "krdcmmn/core/byte_order.h"
#include "krdcmmn/core/exception.h"
#include "krdcmmn/host/system_error.h"
#include "krdcmmn/platform/files.h"
#include "krdcmmn/vfs/container_layout.h"
#include "krdcmmn/vfs/content_io.h"
#include "krdcmmn/vfs/name_index.h"
#include "krdcmmn/vfs/vf_keep.h"

namespace KRD {

using namespace container;

class CONTAINER_CHECK {
 public:
  explicit CONTAINER_CHECK(void* file) : file_(file), size_(FileSizeOf(file)) {}

  std::vector<CONTAINER_DAMAGE> run() {
    if (size_ != 0 && readHeader() && readTable()) {
      checkPlaces();
      checkContents();
    }
    std::stable_sort(damages_.begin(), damages_.end(),
                     [](const auto& a, const auto& b) { return a.entry < b.entry; });
    return std::move(damages_);
  }

 private:
  void add(int entry, std::string text) {
    const char* name = entry < 0 ? "" : keep_.entry(entry).name;
    damages_.push_back({entry, std::string(name, strnlen(name, kNameBytes)), std::move(text)});
  }

  bool readHeader() {
    if (size_ < kHeaderBytes) {
      add(-1, "the file is shorter than the header");
      return false;
    }
    char words[kHeaderBytes];
    ReadAll(file_, words, sizeof words);
    header_size_ = LoadI32(words + kHeader[kHeaderSize].offset);
    records_ = LoadU32(words + kHeader[kRecordCount].offset);
    table_pos_ = LoadI32(words + kHeader[kTablePos].offset);
    if (header_size_ < 0 || table_pos_ < kHeaderBytes || header_size_ > table_pos_ - kHeaderBytes) {
      add(-1, "the owner's header does not fit in front of the table");
    } else if (table_pos_ > size_ - kFirstRootBytes) {
      add(-1, "the table lies behind the end of the file");
    } else if (std::int64_t{records_} >
               (table_pos_ - kHeaderBytes - header_size_) / kLeastBlockBytes) {
      add(-1, "the table counts more entries than there are contents");
    } else {
      return true;
    }
    return false;
  }

  bool readTable() {
    try {
      keep_.setNElem(records_);
      keep_.loadTable(file_, table_pos_);
    } catch (EXCEPTION* e) {
      e->Delete();
      add(-1, "the table is larger than any table can be");
      return false;
    } catch (int) {
      keep_.FreeKeep();
      add(-1, "the table's block is damaged or cut off");
      return false;
    }
    const auto behind = static_cast<std::int64_t>(SetFilePointer(file_, 0, nullptr, FILE_CURRENT));
    if (behind != size_) {
      add(-1, std::to_string(size_ - behind) + " bytes stand behind the container's end");
    }
    return true;
  }

  void checkPlaces() {
    const auto report = [this](int entry, const char* text) { add(entry, text); };
    keep_.checkLayout(table_pos_, report);
    keep_.checkTree(report);
    checkReached();
    std::int64_t pos = kHeaderBytes + std::int64_t{header_size_};
    for (unsigned i = 0; i < records_; ++i) {
      const virt_file& record = *keep_.entries_[i];
      if (record.filePos != pos) {
        add(static_cast<int>(i), "the content does not begin where the one before it ends");
      }
      pos = std::int64_t{record.filePos} + record.sizeFull;
    }
    if (pos != table_pos_) {
      add(-1, "the table does not begin where the last content ends");
    }
  }

  // The followers of a list's head are reached if it is.
  void checkReached() {
    for (unsigned i = 0; i < records_; ++i) {
      const virt_file& record = *keep_.entries_[i];
      const int dir = record.parentEntry;
      if (record.prevEntry == -1 && (dir == -1 || keep_.isIndex(dir)) &&
          keep_.headOf(dir) != static_cast<std::int32_t>(i)) {
        add(static_cast<int>(i), "in no directory");
      }
    }
  }

  void checkContents() {
    for (unsigned i = 0; i < records_; ++i) {
      virt_file& record = *keep_.entries_[i];
      const auto at = static_cast<int>(i);
      try {
        if (record.readContent(file_) != 0) {
          add(at, "the blocks take less than their place");
        }
      } catch (EXCEPTION* e) {
        e->Delete();
        add(at, "an array is larger than any array can be");
      } catch (int number) {
        add(at, number == kFileTooShort ? "a block ends behind its place"
                                        : "a block or a link is damaged");
      }
      record.freemem();
    }
  }

  void* file_;
  std::int64_t size_;
  std::int32_t header_size_ = 0;
  std::uint32_t records_ = 0;
  std::int32_t table_pos_ = 0;
  VF_KEEP keep_;
  std::vector<CONTAINER_DAMAGE> damages_;
};

std::vector<CONTAINER_DAMAGE> CheckContainer(const char* path) {
  void* file = CreateFileA(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                           OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    throw krerr::Win32Ecept();
  }
  struct CLOSER {
    void* file;
    ~CLOSER() { CloseHandle(file); }
  } closer{file};
  return CONTAINER_CHECK(file).run();
}

}  // namespace KRD
