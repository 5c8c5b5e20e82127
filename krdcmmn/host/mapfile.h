// kr::mapfile: a whole host file as one block of memory.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

#include "krdcmmn/platform/export.h"

namespace kr {

class file;

// The view lives until `close` or the destructor; no handle of the file is kept. Copies share the
// view with no count of owners, and each destructor unmaps what its object holds: a program leaves
// exactly one of the copies to do it. `open` does not unmap an earlier view. One thread at a time.
class KRDCMMN_API mapfile {
 public:
  // "Error on mapping '<path>': <host's text for the last error>", from the message
  // "kr_MapFile_Error". Without that message: the path, a colon, a blank and the host's text.
  class KRDCMMN_API MapExcept : public std::exception {
   public:
    explicit MapExcept(const char* path);
    MapExcept(const MapExcept&) = default;
    MapExcept& operator=(const MapExcept&) = default;
    ~MapExcept() override;
    const char* what() const noexcept override;

   private:
    std::string message;
  };

  mapfile();
  mapfile(const mapfile& other) = default;
  mapfile& operator=(const mapfile& other);
  ~mapfile();

  // Maps all of an existing file, for writing too when `write` is set; its length never changes.
  // While the call runs others may read the file, or do nothing when `exclusive` is set; the view
  // itself shuts nobody out. True, or throws MapExcept: also for an empty file. A file of 4 GiB and
  // more is mapped by the low 32 bits of its length. A failure leaves the view as it was; `size`
  // is that of the file that could not be mapped, once it was open.
  bool open(const char* filename, bool write, bool exclusive);

  // Maps all of an open file, which stays open. A MapExcept of this form carries an empty path.
  bool open(file& source, bool write);

  // Unmaps the view, if there is one. `size` keeps its value. True.
  bool close();

  void* data();
  const void* data() const;
  unsigned size() const;

 private:
  void map(void* handle, const char* path, bool write);

  void* data_;          // null: nothing is mapped
  std::uint32_t size_;  // bytes
};

}  // namespace kr
