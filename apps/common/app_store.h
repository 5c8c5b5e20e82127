// What the storages of the apps have in common: the file and its opening, an owner's header of
// magic and version, a file that is gone again when nothing was committed.
#pragma once

#include <string>

#include "krdcmmn/vfs/vfstorage.h"

#include "apps/common/store_names.h"

namespace kr_app {

// How an app's storages are told from others, and what messages call them.
struct StoreKind {
  StoreHeader header;
  const char* name;   // "a storage of kr vfs"
  const char* maker;  // "kr vfs add makes a storage"
};

class AppStore : public KRD::VFSTORAGE {
 public:
  enum class Access { kRead, kChange, kWrite };

  // Saves. Throws Failure.
  void commit();

  const std::string& name() const { return path_; }

  bool ReadHeader(std::int32_t size) override;
  bool WriteHeader() override;
  std::int32_t GetHeaderSize() override;

 protected:
  // Opens `path`; kWrite makes a storage where there is no file, or an empty one. Throws Failure,
  // which names the file and what is wrong with it.
  AppStore(const std::string& path, Access access, const StoreKind& kind);
  ~AppStore();

  std::string path_;

 private:
  const StoreKind& kind_;
  bool created_ = false;  // the file was not there and is not committed yet
};

// An entry open for reading, closed at the end of the scope.
struct OpenedFile {
  OpenedFile(KRD::VDIR in, const char* name) : dir(in), file(dir.vfopen(name, 'r')) {}
  ~OpenedFile() { close(); }
  OpenedFile(const OpenedFile&) = delete;
  OpenedFile& operator=(const OpenedFile&) = delete;

  int close() { return dir.vfclose(file); }

  KRD::VDIR dir;
  KRD::VFILE file;
};

}  // namespace kr_app
