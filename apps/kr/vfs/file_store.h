// A storage that keeps files and directories of the file system under their full names.
//
// A name in the table holds 15 bytes, so an entry's name there is made from a hash of the full one,
// which stands inside the entry:
//
//   a file:       full name (string), attributes (24 bytes), its bytes as arrays of at most 64 MiB
//   a directory:  the file "." in it holds full name and attributes
//
//   attributes    mode 4, nanoseconds of the time 4, seconds of the time 8, size 8
//
// The owner's header is the magic KRVF and the version, 4 bytes each. Integers are little-endian.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "krdcmmn/core/tarray.h"
#include "krdcmmn/vfs/vfstorage.h"

#include "apps/common/app_store.h"

namespace kr_app {

using Bytes = KRD::TARRAY<char>;

// What an entry knows of the file or directory that it was made from.
struct Attributes {
  std::string name;  // the last component
  bool directory = false;
  std::uint32_t mode = 0;
  std::int64_t seconds = 0;  // of the last change, since 1970
  std::uint32_t nanoseconds = 0;
  std::uint64_t size = 0;
};

struct Entry {
  int index = -1;  // in the storage's table
  Attributes attributes;
  std::uint32_t packed = 0;  // bytes in the storage file
  std::string damage;        // why it cannot be read; the attributes are not its own then
};

class FileStore final : public AppStore {
 public:
  static constexpr int kRoot = -1;

  FileStore(const std::string& path, Access access);

  // Saves. Throws Failure.
  void commit();

  // Paths are components between slashes; "" is the root directory. An entry that cannot be read is
  // found by the hash of its name.
  std::optional<Entry> find(const std::string& path);
  std::optional<Entry> findIn(int directory, const std::string& name);
  // The entries of a directory in the order of their names' bytes.
  std::vector<Entry> list(int directory);

  // Puts a directory, or a file with its bytes, into `directory` in the place of what has its name.
  // A directory in the place of one keeps what is in it. Give the new entry's index.
  int addDirectory(int directory, const Attributes& attributes);
  int addFile(int directory, const Attributes& attributes, std::deque<Bytes>& parts);
  void remove(int index);

  // Gives the file's bytes to `sink`, part by part.
  void readFile(const Entry& entry, const std::function<void(const char*, std::size_t)>& sink);

  // Header words of the container, and counts.
  const KRD::VF_KEEP& table() const { return keep; }

 private:
  KRD::VDIR at(int directory);
  Entry entryAt(int index);
  Attributes attributesAt(int index);
  Attributes readAttributes(KRD::VFILE& file) const;
  void writeAttributes(KRD::VFILE& file, const Attributes& attributes);
  std::string freeTableName(int directory, const std::string& name);
  void close(KRD::VDIR& dir, KRD::VFILE& file);

  std::uint64_t new_bytes_ = 0;  // packed bytes of this session's files
  // What was added in this session, by index: reading it before the commit would use it up.
  std::unordered_map<int, Attributes> added_;
};

}  // namespace kr_app
