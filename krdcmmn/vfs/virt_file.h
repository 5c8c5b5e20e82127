// virt_file: one entry of a container, a stream that is written once and then read in the order in
// which it was written.
//
// The stream takes raw blocks, strings and whole MARRAYs. An array is not copied: the file takes
// over its memory and keeps a link of 20 bytes in the stream. All offsets are those of the file.
//
//   offset 0  first    the next array link that was not taken yet, or -1
//          4  last     while writing: the last link, or -1; while reading: the read position
//          8  stream   blocks, strings and links, with nothing between them
//
// One thread at a time in one storage.
#pragma once

#include <cstdint>
#include <memory>

#include "krdcmmn/core/marray.h"

namespace KRD {

class BLOCK_WRITER;

// An int at any address of a stream: reads and assigns like the int it stands for. Where the file
// has no such int (no memory, an offset outside) it reads as -1 and forgets what it is assigned.
class KRDCMMN_API STREAM_INT {
 public:
  explicit STREAM_INT(char* address) : address_(address) {}
  STREAM_INT(const STREAM_INT&) = default;
  operator int() const;
  STREAM_INT& operator=(int value);
  // Assigns the int, not the place. NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
  STREAM_INT& operator=(const STREAM_INT& other) { return *this = int{other}; }
  STREAM_INT& operator+=(int value) { return *this = int{*this} + value; }

 private:
  char* address_;
};

class KRDCMMN_API virt_file : public MARRAY {
 public:
  // What `state` holds.
  enum STATE {
    kConsumed = -1,  // never saved, read and closed: nothing is left of it
    kSaved = 0,      // the content is in the host file at `filePos`
    kClosed = 1,     // the content is in memory and not yet in the host file at this place
    kRemoved = 2,    // leaves the table at the next save
    kReading = 3,
    kWriting = 4,
  };

  // No content, no name, state 0, no links to other entries.
  virt_file();
  // Frees all memory, that of the linked arrays too.
  ~virt_file();
  virt_file(const virt_file&) = delete;
  virt_file& operator=(const virt_file&) = delete;

  // Writing, in state 4 only; else VF_EXCEPTION 106 with the file's name.
  // The address of `size` new bytes, for the caller to fill; good until the file's next change. A
  // negative size raises MA_EXCEPTION 4.
  void* put(int size);
  // Appends the text with its terminator; null reads as empty.
  void strput(const char* text);
  // Appends a link and moves `array` into it; `array` is left empty and keeps its sizes.
  void ma_put(MARRAY& array);

  // Reading, in state 3 only; else VF_EXCEPTION 105 with the file's name. What raises leaves the
  // file open.
  // The address of the next `size` bytes. Code 111 before an array link, 110 past the end (the read
  // position has moved on then) and for a negative size.
  void* get(int size);
  // Copies the next string with its terminator into `text`, which the caller sizes. Code 113 before
  // an array link, 112 for a string without an end.
  void strget(char* text);
  // Bytes that the next strget would write, the terminator included; 0 when it would raise.
  int strget_size();
  // Moves the array of the next link into `array`, which has the same element size. Code 109 where
  // no link stands and for another element size, 108 past the end.
  void ma_get(MARRAY& array);

  // Makes the record an empty file open for writing. A name beyond 15 bytes is cut. Memory that the
  // record held is freed.
  void w_open(const char* name);
  // State 1; `sizeFull` is that of the file's blocks from now on. Packs the content, and keeps a
  // small result for the save.
  void w_close();
  // Opens for reading and loads from the host file `file` when there is nothing in memory. 0, or 1
  // with nothing changed for a state other than 0 and 1. Whatever the file holds instead of a
  // content raises VF_EXCEPTION 109 with the file's name; the state is 3 and no memory is held
  // then.
  int r_open(void* file);
  // Frees the memory. 0 when everything was read, else 1. A file that was never saved is gone.
  int r_close();

  // Bytes that the content takes in the host file.
  unsigned int GetSizeFull();
  // Frees the memory and marks the record as removed.
  void remove();
  // Frees the linked arrays and the byte array; the count stays.
  void freemem();

  // The words and links of the stream.
  STREAM_INT first();
  STREAM_INT last();
  STREAM_INT posC();
  STREAM_INT next(int offset);
  // The array behind the link at `offset`; good until that array is freed or taken. Raises
  // MA_EXCEPTION 6 where no link stands.
  MARRAY& ma(int offset);

  // Bytes of the content, and whether they are in memory.
  unsigned int count() const { return nElem; }
  bool inMemory() const { return data != nullptr; }

  std::int32_t filePos;    // host file offset of the first block, -1 when never saved
  std::uint32_t sizeFull;  // bytes that the blocks take in the host file
  char name[16];           // at most 15 bytes and a terminator
  std::int32_t state;
  std::int32_t isFile;       // 1 a file, 0 a directory
  std::int32_t nextEntry;    // table indices, -1 for none: the next and the previous entry of the
  std::int32_t prevEntry;    // same directory,
  std::int32_t firstEntry;   // a directory's first entry,
  std::int32_t parentEntry;  // the directory that holds it

 private:
  friend class VF_KEEP;
  friend class CONTAINER_CHECK;
  friend class CONTAINER_WRITER;
  struct LINK;
  struct EXTRAS;

  [[noreturn]] void raise(int code) const;
  char* at(int offset, int size);
  EXTRAS& extras();
  LINK* findLink(int offset);
  template <class Visit>
  void eachLink(Visit visit);
  void syncLink(const LINK& link);
  void movePosC(int pos, std::int64_t size);
  int stringSize();

  void load(void* host);
  std::uint32_t readContent(void* host);
  std::uint64_t pack();
  void writeBlocks(BLOCK_WRITER& out);
  void distrust();
  void settle(std::int64_t pos, std::uint64_t size);
  void encode(char* record, std::int64_t pos, std::uint64_t size) const;
  void decode(const char* record);

  std::unique_ptr<EXTRAS> extras_;  // linked arrays and the kept packed form, when there are any
  int first_before_reading_ = -1;
  int last_before_reading_ = -1;
  bool only_copy_ = false;  // saved once, but its place in the host file may be overwritten
  bool damaged_ = false;    // could not be loaded
};

}  // namespace KRD
