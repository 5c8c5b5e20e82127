// Where every field of a container file stands: the header, a record of the table, an array link
// in a file's stream. Reader and writer know these places from here alone. Integers are
// little-endian; fields without a meaning are written as zero and never looked at.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>

namespace KRD::container {

// A field's place in its structure, in bytes.
struct Field {
  const char* name;
  int offset;
  int size;
};

// The size of a structure whose rows leave no gap and do not overlap, else -1.
template <std::size_t kRows>
constexpr int TiledSize(const Field (&rows)[kRows]) {
  int end = 0;
  for (const Field& row : rows) {
    if (row.offset != end) {
      return -1;
    }
    end += row.size;
  }
  return end;
}

// clang-format off

// The container's first bytes. The owner's header of H bytes, then the contents in table order,
// the table and the word firstRoot follow.
enum HeaderField { kHeaderSize, kRecordCount, kTablePos };
inline constexpr Field kHeader[] = {
    {"headerSize",   0, 4},  // H, bytes of the owner's header
    {"recordCount",  4, 4},  // N; the table's block does not hold its own count
    {"tablePos",     8, 4},  // T, file offset of the table
};
inline constexpr int kHeaderBytes = 12;
inline constexpr int kFirstRootBytes = 4;  // the word behind the table
static_assert(TiledSize(kHeader) == kHeaderBytes);

// A record of the table: one file or directory.
enum RecordField {
  kCount, kMaxCount, kData, kElementSize, kIndexSize, kPageKept, kFilePos, kSizeFull, kName, kState,
  kIsFile, kNextEntry, kPrevEntry, kFirstEntry, kParentEntry
};
inline constexpr Field kRecord[] = {
    {"nElem",        0, 4},   // bytes of the content, 8 at the least
    {"maxNElem",     4, 4},   // no meaning
    {"data",         8, 4},   // no meaning
    {"sizeElem",    12, 2},   // 1
    {"sizeIndex",   14, 1},   // 4
    {"pageKept",    15, 1},   // no meaning
    {"filePos",     16, 4},   // file offset of the first block
    {"sizeFull",    20, 4},   // bytes of all the entry's blocks
    {"name",        24, 16},  // with a terminator within the 16
    {"state",       40, 4},   // 0
    {"isFile",      44, 4},   // 1 a file, 0 a directory
    {"nextEntry",   48, 4},   // table indices, -1 for none
    {"prevEntry",   52, 4},
    {"firstEntry",  56, 4},
    {"parentEntry", 60, 4},
};
inline constexpr int kRecordBytes = 64;
inline constexpr int kNameBytes = 16;
static_assert(TiledSize(kRecord) == kRecordBytes);
static_assert(kRecord[kName].size == kNameBytes);

// The two words at the start of a content.
enum ContentField { kFirst, kLast };
inline constexpr Field kContent[] = {
    {"first", 0, 4},  // offset of the first array link, or -1
    {"last",  4, 4},  // offset of the last one while writing, read position while reading
};
inline constexpr int kContentBytes = 8;
static_assert(TiledSize(kContent) == kContentBytes);

// The least that an entry's blocks take: those of a content of the two words alone.
inline constexpr int kLeastBlockBytes = 9;

// A link to an array, at any offset of a content.
enum LinkField { kNext, kLinkCount, kLinkMaxCount, kLinkData, kLinkElementSize, kLinkIndexSize,
                 kLinkPageKept };
inline constexpr Field kLink[] = {
    {"next",       0, 4},  // offset of the next link, or -1
    {"nElem",      4, 4},  // elements of the array, whose block follows only if there are any
    {"maxNElem",   8, 4},  // no meaning
    {"data",      12, 4},  // no meaning
    {"sizeElem",  16, 2},
    {"sizeIndex", 18, 1},
    {"pageKept",  19, 1},  // no meaning
};
inline constexpr int kLinkBytes = 20;
static_assert(TiledSize(kLink) == kLinkBytes);

// clang-format on

}  // namespace KRD::container
