// A storage with an owner's header of any size, and verbs for what tests do with one.
#pragma once

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "krdcmmn/core/block_io.h"
#include "krdcmmn/core/tarray.h"
#include "krdcmmn/host/system_error.h"
#include "krdcmmn/vfs/vfstorage.h"

#include "tests/support/temp_dir.h"

namespace krtest {

using Ints = KRD::TARRAY<std::int32_t>;

inline Ints* Fill(Ints& array, const std::vector<std::int32_t>& values) {
  array.setNElem(static_cast<unsigned>(values.size()));
  for (unsigned i = 0; i < array.count(); ++i) {
    array[i] = values[i];
  }
  return &array;
}

inline std::vector<std::int32_t> ValuesOf(const Ints& array) {
  return {array.begin(), array.end()};
}

// The code of the EXCEPTION* that `work` throws, with the name of a VF_EXCEPTION behind it ("109
// name"); "host", "int N" or "nothing" for the other outcomes.
template <class Work>
std::string Raised(Work work) {
  try {
    work();
  } catch (KRD::EXCEPTION* e) {
    std::string text = std::to_string(e->code);
    if (const auto* storage = dynamic_cast<KRD::VF_EXCEPTION*>(e)) {
      text += std::string(" ") + storage->name.c_str();
    }
    e->Delete();
    return text;
  } catch (const krerr::Win32Ecept&) {
    return "host";
  } catch (int number) {
    return "int " + std::to_string(number);
  }
  return "nothing";
}

class TestStorage final : public KRD::VFSTORAGE {
 public:
  explicit TestStorage(std::string owner_header = "") : header(std::move(owner_header)) {}

  bool ReadHeader(std::int32_t size) override {
    if (!accept || size < 0 || size > 1000) {
      return false;
    }
    header.assign(static_cast<std::size_t>(size), '\0');
    return KRD::ReadFile(file, header.data(), static_cast<std::uint32_t>(size)) ==
           static_cast<std::uint32_t>(size);
  }
  bool WriteHeader() override {
    KRD::WriteFile(file, header.data(), static_cast<std::uint32_t>(header.size()));
    return accept;
  }
  std::int32_t GetHeaderSize() override { return static_cast<std::int32_t>(header.size()); }

  KRD::VF_KEEP& table() { return keep; }
  void* handle() { return file; }

  std::string header;
  bool accept = true;
};

// Writes a file of one text, and reads it back.
inline void Save(KRD::VDIR dir, const char* name, const std::string& text) {
  KRD::VFILE file = dir.vfopen(name, 'w');
  file << text.c_str();
  dir.vfclose(file);
}

inline std::string Load(KRD::VDIR dir, const char* name) {
  KRD::VFILE file = dir.vfopen(name, 'r');
  std::string text(static_cast<std::size_t>(file.record().strget_size()), '\0');
  file >> text.data();
  EXPECT_EQ(dir.vfclose(file), 0) << name;
  return text.c_str();
}

class StorageTest : public testing::Test {
 protected:
  std::string path() const { return dir_.file("store"); }
  std::string bytes() const { return ReadBytes(path()); }
  void start(TestStorage& storage) {
    ASSERT_TRUE(storage.Start(path().c_str(), true, false, true));
  }

  TempDir dir_;
};

}  // namespace krtest
