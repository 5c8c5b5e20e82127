// Files and directories of the host: what add takes from there, and what get makes there.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

#include "apps/kr/vfs/file_store.h"

namespace kr_app {

enum class HostKind { kFile, kDirectory, kLink, kSpecial };

struct HostEntry {
  HostKind kind = HostKind::kSpecial;
  Attributes attributes;     // `name` is the path's last component
  std::uint64_t device = 0;  // tells, with `node`, one file from another
  std::uint64_t node = 0;
};

enum class Links { kTell, kFollow };

// Throws Failure.
HostEntry LookAt(const std::string& path, Links links = Links::kTell);
// The names in a directory, in the order of their bytes. Throws Failure.
std::vector<std::string> NamesIn(const std::string& path);
// Reads a file whole; `attributes` receive the size that was read. Throws Failure.
std::deque<Bytes> ReadHostFile(const std::string& path, Attributes& attributes);

// A directory of the host that files are extracted into. Nothing is followed or written outside of
// it: a symbolic link in the way is a Failure, except as the last component of a file's name, where
// the file takes its place.
class HostDirectory {
 public:
  // Makes the directory and those above it when they are missing.
  explicit HostDirectory(const std::string& path);
  HostDirectory(HostDirectory&& other) noexcept;
  HostDirectory(const HostDirectory&) = delete;
  HostDirectory& operator=(const HostDirectory&) = delete;
  ~HostDirectory();

  // The directory `name` in this one, made when it is missing.
  HostDirectory enter(const std::string& name);
  // Gives the directory the mode and the time; the last thing to be done with it.
  void finish(const Attributes& attributes);

  const std::string& path() const { return path_; }

 private:
  friend class HostFileWriter;
  HostDirectory(int handle, std::string path);

  int handle_;
  std::string path_;
};

// A file on its way into a directory: it has another name there until it is whole, so that a
// failure leaves what was there before.
class HostFileWriter {
 public:
  HostFileWriter(HostDirectory& directory, const Attributes& attributes);
  HostFileWriter(const HostFileWriter&) = delete;
  HostFileWriter& operator=(const HostFileWriter&) = delete;
  ~HostFileWriter();

  void write(const char* bytes, std::size_t size);
  void finish();

 private:
  [[noreturn]] void fail();

  HostDirectory& directory_;
  const Attributes& attributes_;
  std::string temporary_;
  int handle_;
};

}  // namespace kr_app
