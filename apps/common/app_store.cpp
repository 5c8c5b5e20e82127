#include "apps/common/app_store.h"

#include <filesystem>

#include "apps/common/errors.h"

namespace kr_app {

AppStore::AppStore(const std::string& file_path, Access access, const StoreKind& kind)
    : path_(file_path), kind_(kind) {
  std::error_code ignored;
  const bool exists = std::filesystem::exists(path_, ignored);
  if (access != Access::kWrite) {
    if (!exists) {
      throw Failure(path_ + ": no such file; " + kind_.maker);
    }
    if (std::filesystem::is_regular_file(path_, ignored) &&
        std::filesystem::file_size(path_, ignored) == 0) {
      throw Failure(path_ + ": an empty file; " + kind_.maker + " of it");
    }
  }
  const bool write = access != Access::kRead;
  if (!Naming(path_, [&] { return Start(path_.c_str(), write, false, write); })) {
    throw Failure(path_ + ": not " + kind_.name);
  }
  created_ = !exists;
}

AppStore::~AppStore() {
  if (created_) {
    Close();
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
  }
}

void AppStore::commit() {
  Naming(path_, [&] {
    if (!Commit()) {
      throw Failure(path_ + ": the header could not be written");
    }
  });
  created_ = false;
}

bool AppStore::ReadHeader(std::int32_t size) {
  return ReadStoreHeader(file, size, kind_.header);
}

bool AppStore::WriteHeader() {
  return WriteStoreHeader(file, kind_.header);
}

std::int32_t AppStore::GetHeaderSize() {
  return kStoreHeaderBytes;
}

}  // namespace kr_app
