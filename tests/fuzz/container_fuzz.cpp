// A container of any bytes: it loads or is refused, each file of it opens or is refused, and what
// was loaded can be saved, is sound then, and has the same contents.
//
// An odd first byte has the checksums put right before, so that what lies behind them is reached.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "krdcmmn/core/block_format.h"
#include "krdcmmn/core/block_io.h"
#include "krdcmmn/core/byte_order.h"
#include "krdcmmn/core/checksum.h"
#include "krdcmmn/core/exception.h"
#include "krdcmmn/platform/files.h"
#include "krdcmmn/platform/memory.h"
#include "krdcmmn/vfs/container_check.h"
#include "krdcmmn/vfs/vfstorage.h"

#include "tests/support/temp_dir.h"

namespace {

constexpr std::size_t kMostMemory = 64 << 20;

// Runs `work`; false when it threw one of the documented exceptions.
template <class Work>
bool Works(Work work) {
  try {
    work();
    return true;
  } catch (KRD::EXCEPTION* e) {
    const std::int32_t code = e->code;
    e->Delete();
    if (code != 109 && code != 114 && (code < 2 || code > 4)) {
      std::abort();
    }
    return false;
  }
}

class Storage final : public KRD::VFSTORAGE {
 public:
  bool ReadHeader(std::int32_t size) override {
    header_size_ = size;
    return true;
  }
  bool WriteHeader() override { return true; }
  std::int32_t GetHeaderSize() override { return header_size_; }
  KRD::VF_KEEP& table() { return keep; }

  // Commit without waiting for the medium.
  void save() {
    const std::int32_t table_pos = keep.SaveKeep(file, 12 + header_size_);
    SetEndOfFile(file);
    char words[12];
    KRD::StoreI32(words, header_size_);
    KRD::StoreU32(words + 4, keep.count());
    KRD::StoreI32(words + 8, table_pos);
    SetFilePointer(file, 0, nullptr, FILE_BEGIN);
    KRD::WriteFile(file, words, sizeof words);
    Finish();
  }

  bool start(const std::string& path) {
    return Works([&] { Start(path.c_str(), true, false, true); });
  }

 private:
  std::int32_t header_size_ = 0;
};

void FixBlock(std::string& bytes, std::int64_t pos) {
  const auto size = static_cast<std::int64_t>(bytes.size());
  if (pos < 0 || pos + 8 > size) {
    return;
  }
  char* block = bytes.data() + pos;
  const std::uint32_t length = KRD::LoadU32(block);
  if (length <= size - pos - 8) {
    KRD::StoreU32(block + 4 + length, KRD::BlockChecksum(block + 4, length));
  }
}

bool Opens(Storage& storage, unsigned index) {
  return Works([&] { storage.table().vfile(index).r_open(storage.table().file); });
}

// What the files hold, links and all. Those that do not open are removed.
std::vector<std::string> Contents(Storage& storage) {
  KRD::VF_KEEP& table = storage.table();
  for (unsigned i = 0; i < table.count(); ++i) {
    if (!Opens(storage, i)) {
      table.vfremove(static_cast<int>(i));
    } else {
      table.vfile(i).r_close();
    }
  }
  std::vector<std::string> contents;
  for (unsigned i = 0; i < table.count(); ++i) {
    KRD::virt_file& file = table.vfile(i);
    if (file.state != KRD::virt_file::kSaved || !Opens(storage, i)) {
      continue;
    }
    std::string content = std::to_string(file.count());
    for (int at = file.first(); at >= 0; at = file.next(at)) {
      content += '+' + std::to_string(at) + ':' + std::to_string(file.ma(at).getSizePack());
    }
    contents.push_back(content);
    file.r_close();
  }
  return contents;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const krtest::TempDir dir;
  const std::string path = dir.file("container");
  if (size < 1) {
    return 0;
  }
  SetMemoryHook([](MemoryStep, std::size_t bytes) { return bytes <= kMostMemory; });
  std::string bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  const bool fix = data[0] % 2 != 0 && bytes.size() >= 12;
  if (fix && KRD::LoadU32(bytes.data() + 4) > 3) {
    FixBlock(bytes, KRD::LoadI32(bytes.data() + 8));
  }
  krtest::WriteBytes(path, bytes);
  KRD::CheckContainer(path.c_str());
  Storage storage;
  if (!storage.start(path)) {
    return 0;
  }
  if (fix) {
    for (unsigned i = 0; i < storage.table().count(); ++i) {
      FixBlock(bytes, storage.table().vfile(i).filePos);
    }
    krtest::WriteBytes(path, bytes);
  }
  const std::vector<std::string> before = Contents(storage);
  if (Works([&] { storage.save(); })) {
    if (!storage.start(path) || Contents(storage) != before) {
      std::abort();
    }
    storage.Finish();
    for (const KRD::CONTAINER_DAMAGE& damage : KRD::CheckContainer(path.c_str())) {
      // These come in with the input, do no harm, and stay in front of what a save writes.
      if (damage.text != "in no directory" &&
          damage.text != "the blocks take less than their place") {
        std::abort();
      }
    }
  }
  return 0;
}
