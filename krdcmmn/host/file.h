// kr::file: a plain read, write and seek handle on a host file.
//
// Every failure is an exception of class kr::file::FileExcept that names the file and gives the
// host's text; the bool results are true whenever a call returns. A short transfer is no failure.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

#include "krdcmmn/platform/export.h"

namespace kr {

// Copies share the host handle with no count of owners, and each destructor closes what its object
// holds: a program leaves exactly one of the copies to do it. Neither assignment nor `open` closes
// a handle that the object held. One thread at a time.
class KRDCMMN_API file {
 public:
  // "Error! File '<path>': <host's text for the last error>", from the message "kr_File_Error".
  // Without that message: the path, a colon, a blank and the host's text.
  class KRDCMMN_API FileExcept : public std::exception {
   public:
    explicit FileExcept(const char* path);
    FileExcept(const FileExcept&) = default;
    FileExcept& operator=(const FileExcept&) = default;
    ~FileExcept() override;
    const char* what() const noexcept override;

   private:
    std::string message;
  };

  file();
  file(const file& other);
  file& operator=(const file& other);
  ~file();

  // Opens `filename`; the object's name changes only on success, and a failure leaves it closed.
  // - `write` false: for reading; the file must exist.
  // - `write` true: for reading and writing; made when missing, emptied when `truncate` is set.
  // - `exclusive`: nobody else may open it meanwhile. Otherwise others may read, and also write
  //   when this one only reads.
  bool open(const char* filename, bool write, bool exclusive, bool truncate);

  void close();

  // One transfer at the file position; gives the bytes transferred, 0 at the end of the file.
  unsigned read(void* buffer, unsigned size);
  unsigned write(const void* buffer, unsigned size);

  // Moves the file position from the start of the file; past the end is legal. With `high` null,
  // `offset` is the whole position. Otherwise `offset` is the low and `*high` the high half of a
  // 64-bit position, and `*high` receives the high half of the new one.
  bool setoffset(std::int32_t offset, std::int32_t* high);

  // Makes the current position the end of the file.
  bool seteof();

  bool isgood() const;       // holds an open file
  const char* name() const;  // the path of the last successful open; empty before
  void* handle() const;

 private:
  void* handle_;  // -1: none
  std::string name_;
};

}  // namespace kr
