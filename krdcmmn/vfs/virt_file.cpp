#include "krdcmmn/vfs/virt_file.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <limits>
#include <utility>

#include "krdcmmn/core/byte_order.h"
#include "krdcmmn/core/vf_exception.h"
#include "krdcmmn/platform/codepage.h"
#include "krdcmmn/vfs/container_layout.h"
#include "krdcmmn/vfs/virt_file_extras.h"

namespace KRD {

using namespace container;

STREAM_INT::operator int() const {
  return address_ == nullptr ? -1 : LoadI32(address_);
}

STREAM_INT& STREAM_INT::operator=(int value) {
  if (address_ != nullptr) {
    StoreI32(address_, value);
  }
  return *this;
}

virt_file::virt_file()
    : filePos(-1),
      sizeFull(0),
      name{},
      state(kSaved),
      isFile(0),
      nextEntry(-1),
      prevEntry(-1),
      firstEntry(-1),
      parentEntry(-1) {}

virt_file::~virt_file() = default;

void virt_file::raise(int code) const {
  ThrowException(new VF_EXCEPTION(code, name, true));
}

// The address of `size` bytes at `offset`, or null when the content in memory does not have them.
char* virt_file::at(int offset, int size) {
  const bool inside = data != nullptr && offset >= 0 && size >= 0 &&
                      std::int64_t{offset} + size <= std::int64_t{nElem};
  return inside ? data + offset : nullptr;
}

STREAM_INT virt_file::first() {
  return STREAM_INT(at(kContent[kFirst].offset, kContent[kFirst].size));
}

STREAM_INT virt_file::last() {
  return STREAM_INT(at(kContent[kLast].offset, kContent[kLast].size));
}

STREAM_INT virt_file::posC() {
  return last();
}

STREAM_INT virt_file::next(int offset) {
  return STREAM_INT(at(offset, kLink[kNext].size));
}

MARRAY& virt_file::ma(int offset) {
  LINK* link = findLink(offset);
  if (link == nullptr) {
    MARRAY::IndexError(nElem, static_cast<unsigned>(offset));
  }
  return link->array;
}

virt_file::EXTRAS& virt_file::extras() {
  if (extras_ == nullptr) {
    extras_ = std::make_unique<EXTRAS>();
  }
  return *extras_;
}

// Links come in the order of their offsets.
virt_file::LINK* virt_file::findLink(int offset) {
  if (extras_ == nullptr) {
    return nullptr;
  }
  const auto found =
      std::lower_bound(extras_->links.begin(), extras_->links.end(), offset,
                       [](const LINK& link, int sought) { return link.offset < sought; });
  return found != extras_->links.end() && found->offset == offset ? &*found : nullptr;
}

void virt_file::w_open(const char* new_name) {
  char copy[kNameBytes];
  _mbsnbcpy(copy, new_name == nullptr ? "" : new_name, sizeof copy);
  copy[kNameBytes - 1] = 0;
  extras_.reset();
  MarrayFree();
  nElem = 0;
  sizeElem = 1;
  sizeIndex = 4;
  std::memcpy(name, copy, sizeof name);
  only_copy_ = false;
  damaged_ = false;
  filePos = -1;
  sizeFull = 0;
  state = kWriting;
  setNElem(kContentBytes);
  first() = -1;
  last() = -1;
}

void* virt_file::put(int size) {
  if (state != kWriting) {
    raise(106);
  }
  const unsigned old = nElem;
  setNElem(size < 0 ? std::numeric_limits<unsigned>::max() : old + static_cast<unsigned>(size));
  return data == nullptr ? nullptr : data + old;
}

void virt_file::strput(const char* text) {
  if (text == nullptr) {
    text = "";
  }
  const std::size_t size = std::strlen(text) + 1;
  // The text may stand in this very stream, which can move.
  const bool own =
      data != nullptr && !std::less<>()(text, data) && std::less<>()(text, data + nElem);
  const std::size_t own_offset = own ? static_cast<std::size_t>(text - data) : 0;
  const auto limit = static_cast<std::size_t>(std::numeric_limits<int>::max());
  void* room = put(size <= limit ? static_cast<int>(size) : -1);
  std::memmove(room, own ? data + own_offset : text, size);
}

void virt_file::ma_put(MARRAY& array) {
  if (state != kWriting) {
    raise(106);
  }
  const auto offset = static_cast<int>(nElem);
  extras().links.emplace_back(offset);
  try {
    setNElem(nElem + kLinkBytes);
  } catch (...) {
    extras_->links.pop_back();
    throw;
  }
  LINK& link = extras_->links.back();
  array.put(link.array);
  next(offset) = -1;
  syncLink(link);
  if (first() < 0) {
    first() = offset;
  } else {
    next(last()) = offset;
  }
  last() = offset;
}

// Writes the array's sizes into its link, in the form of the file.
void virt_file::syncLink(const LINK& link) {
  if (char* bytes = at(link.offset, kLinkBytes)) {
    StoreU32(bytes + kLink[kLinkCount].offset, link.array.count());
    StoreU32(bytes + kLink[kLinkMaxCount].offset, 0);
    StoreU32(bytes + kLink[kLinkData].offset, 0);
    StoreU16(bytes + kLink[kLinkElementSize].offset,
             static_cast<std::uint16_t>(link.array.elementSize()));
    bytes[kLink[kLinkIndexSize].offset] = static_cast<char>(link.array.indexSize());
    bytes[kLink[kLinkPageKept].offset] = 0;
  }
}

void* virt_file::get(int size) {
  if (state != kReading) {
    raise(105);
  }
  const int pos = posC();
  if (pos >= 0 && first() == pos) {
    raise(111);
  }
  movePosC(pos, size);
  char* block = at(pos, size);
  if (block == nullptr) {
    raise(110);
  }
  return block;
}

// Moves the read position on from `pos`; it stays where a number can tell it.
void virt_file::movePosC(int pos, std::int64_t size) {
  posC() =
      static_cast<int>(std::clamp<std::int64_t>(pos + size, 0, std::numeric_limits<int>::max()));
}

// Bytes of the string at the read position, its terminator included, which may stand one byte
// behind the end.
int virt_file::stringSize() {
  const char* text = at(posC(), 0);
  if (text == nullptr) {
    return 1;
  }
  const auto left = static_cast<std::size_t>(data + nElem - text);
  const void* end = left == 0 ? nullptr : std::memchr(text, 0, left);
  return static_cast<int>(end == nullptr
                              ? left
                              : static_cast<std::size_t>(static_cast<const char*>(end) - text)) +
         1;
}

int virt_file::strget_size() {
  const int pos = posC();
  const int size = stringSize();
  return state == kReading && first() != pos && at(pos, size) != nullptr ? size : 0;
}

void virt_file::strget(char* text) {
  if (state != kReading) {
    raise(105);
  }
  const int pos = posC();
  if (pos >= 0 && first() == pos) {
    raise(113);
  }
  const int size = stringSize();
  movePosC(pos, size);
  const char* string = at(pos, size);
  if (string == nullptr) {
    raise(112);
  }
  std::memcpy(text, string, static_cast<std::size_t>(size));
}

void virt_file::ma_get(MARRAY& array) {
  if (state != kReading) {
    raise(105);
  }
  const int offset = posC();
  movePosC(offset, kLinkBytes);
  if (at(offset, kLinkBytes) == nullptr) {
    raise(108);
  }
  LINK* link = first() == offset ? findLink(offset) : nullptr;
  if (link == nullptr || link->array.elementSize() != LINKED_ARRAY::elementSizeOf(array)) {
    raise(109);
  }
  if (only_copy_) {
    LINKED_ARRAY copy(link->array.elementSize(), link->array.indexSize());
    copy.setNElem(link->array.count());
    if (copy.count() != 0) {
      std::memcpy(copy.bytes(), link->array.bytes(),
                  std::size_t{copy.count()} * static_cast<std::size_t>(copy.elementSize()));
    }
    array.get(copy);
  } else {
    array.get(link->array);
  }
  first() = next(offset);
}

void virt_file::w_close() {
  if (state != kWriting) {
    return;
  }
  sizeFull = static_cast<std::uint32_t>(
      std::min<std::uint64_t>(pack(), std::numeric_limits<std::uint32_t>::max()));
  state = kClosed;
}

int virt_file::r_open(void* host) {
  if (state != kSaved && state != kClosed) {
    return 1;
  }
  state = kReading;
  if (data == nullptr) {
    damaged_ = true;  // until it is loaded
    load(host);
    damaged_ = false;
  }
  first_before_reading_ = first();
  last_before_reading_ = last();
  posC() = kContentBytes;
  return 0;
}

int virt_file::r_close() {
  if (state != kReading) {
    return 1;
  }
  const int unread = data == nullptr || posC() != static_cast<int>(nElem) ? 1 : 0;
  damaged_ = false;
  if (only_copy_) {
    first() = first_before_reading_;
    last() = last_before_reading_;
    state = kClosed;
    return unread;
  }
  freemem();
  state = filePos >= 0 ? kSaved : kConsumed;
  return unread;
}

void virt_file::remove() {
  freemem();
  only_copy_ = false;
  damaged_ = false;
  state = kRemoved;
  filePos = -1;
  sizeFull = 0;
}

void virt_file::freemem() {
  extras_.reset();
  freeSeg();
}

}  // namespace KRD
