#include "krdcmmn/text/name_table.h"

#include <algorithm>
#include <cstring>
#include <functional>

namespace KRD {

namespace {

// A cell has at most this many bytes.
constexpr int kWidestCell = 255;

}  // namespace

MA_STRING::MA_STRING(int size) {
  MARRAY::sizeElem = static_cast<short>(size & kWidestCell);
  sizeIndex = 2;
}

char* MA_STRING::last() {
  return nElem != 0 ? (*this)[static_cast<unsigned short>(nElem - 1)] : nullptr;
}

void MA_STRING::set(short i, const char* text) {
  if (i < 0 || static_cast<unsigned int>(i) >= nElem || MARRAY::sizeElem < 1) {
    return;
  }
  char* const cell = (*this)[static_cast<unsigned short>(i)];
  const std::size_t width = static_cast<std::size_t>(MARRAY::sizeElem);
  if (text == nullptr) {
    std::memset(cell, 0, width);
    return;
  }
  // By hand, since the text may overlap the cell.
  const void* const end = std::memchr(text, 0, width - 1);
  const std::size_t length =
      end != nullptr ? static_cast<std::size_t>(static_cast<const char*>(end) - text) : width - 1;
  std::memmove(cell, text, length);
  std::memset(cell + length, 0, width - 1 - length);
}

_NAME_TABLE::_NAME_TABLE(short size) : MA_STRING(size) {}

short _NAME_TABLE::hash(const char* name) const {
  const std::uint32_t count = buckets.count();
  if (count == 0 || name == nullptr) {
    return 0;
  }
  std::uint32_t h = 0;
  for (; *name != 0; ++name) {
    const auto byte = static_cast<std::uint32_t>(std::int32_t{static_cast<signed char>(*name)});
    h = ((byte + h) << 8) % count;
  }
  return static_cast<short>(h);
}

void _NAME_TABLE::rebuild(short size) {
  const int most = std::max(size, nBusy_);
  buckets.empty();
  chain.setNElem(nElem);
  buckets.setNElem(static_cast<unsigned int>((most / 2 + 64) | 1));
  std::fill(buckets.begin(), buckets.end(), short{-1});
  firstFree = -1;
  nBusy_ = 0;
  for (unsigned int cell = 0; cell < nElem; ++cell) {
    const auto id = static_cast<short>(cell);
    const char* const name = (*this)[static_cast<unsigned short>(cell)];
    if (*name == 0) {
      FreeCell(id);
      continue;
    }
    const short bucket = hash(name);
    short before;
    if (Find(name, bucket, &before) >= 0) {
      if (onDuplicate != nullptr) {
        onDuplicate(name, id);
      }
      FreeCell(id);
    } else if (nBusy_ < kMostNames) {
      Append(id, bucket, before);
    }
  }
}

// Walks a chain for a name; `*before` gets the cell in front of the one found, or the chain's last
// cell, or -1.
short _NAME_TABLE::Find(const char* name, short bucket, short* before) const {
  *before = -1;
  short id = buckets[static_cast<unsigned int>(bucket)];
  while (id >= 0 && std::strcmp(Cell(id), name) != 0) {
    *before = id;
    id = chain[static_cast<unsigned int>(id)];
  }
  return id;
}

void _NAME_TABLE::Append(short id, short bucket, short before) {
  chain[static_cast<unsigned int>(id)] = -1;
  if (before < 0) {
    buckets[static_cast<unsigned int>(bucket)] = id;
  } else {
    chain[static_cast<unsigned int>(before)] = id;
  }
  ++nBusy_;
}

// Zeroes a cell and puts it in front of the free list.
void _NAME_TABLE::FreeCell(short id) {
  set(id, nullptr);
  chain[static_cast<unsigned int>(id)] = firstFree;
  firstFree = id;
}

// The most recently freed cell, else a new zeroed one.
short _NAME_TABLE::TakeCell() {
  short id = firstFree;
  if (id >= 0) {
    firstFree = chain[static_cast<unsigned int>(id)];
    return id;
  }
  chain.setNElem(nElem + 1);
  setNElem(nElem + 1);
  id = static_cast<short>(nElem - 1);
  set(id, nullptr);
  return id;
}

// A name that lies in a cell is copied out, since cells move.
const char* _NAME_TABLE::Outside(const char* name, char* own) const {
  const std::less<const char*> before;
  const char* const end = data + nElem * static_cast<unsigned int>(MARRAY::sizeElem);
  if (data == nullptr || before(name, data) || !before(name, end)) {
    return name;
  }
  const auto most = static_cast<std::size_t>(MARRAY::sizeElem - 1);
  std::strncpy(own, name, most);
  own[most] = 0;
  return own;
}

short _NAME_TABLE::add(const char* name) {
  if (name == nullptr || std::strlen(name) >= static_cast<std::size_t>(MARRAY::sizeElem)) {
    return -1;
  }
  char own[kWidestCell];
  name = Outside(name, own);
  if (buckets.count() <= static_cast<unsigned int>(nBusy_ / 4)) {
    rebuild(0);
  }
  const short bucket = hash(name);
  short before;
  const short found = Find(name, bucket, &before);
  if (found >= 0) {
    if (onDuplicate != nullptr) {
      onDuplicate(name, found);
    }
    return found;
  }
  if (nBusy_ == kMostNames) {
    return -1;
  }
  const short id = TakeCell();
  Append(id, bucket, before);
  set(id, name);
  return id;
}

_NAME_TABLE& _NAME_TABLE::operator<<(const char* name) {
  if (buckets.count() != 0) {
    add(name);
    return *this;
  }
  if (name == nullptr || nBusy_ == kMostNames || MARRAY::sizeElem < 1) {
    return *this;
  }
  char own[kWidestCell];
  name = Outside(name, own);
  setNElem(nElem + 1);
  const auto id = static_cast<short>(nElem - 1);
  set(id, nullptr);
  set(id, name);
  ++nBusy_;
  return *this;
}

short _NAME_TABLE::operator()(const char* name) {
  if (nBusy_ <= 0 || name == nullptr) {
    return -1;
  }
  if (buckets.count() == 0) {
    rebuild(0);
  }
  short before;
  return Find(name, hash(name), &before);
}

short _NAME_TABLE::del(const char* name) {
  if (nBusy_ <= 0 || name == nullptr) {
    return -1;
  }
  if (buckets.count() == 0) {
    rebuild(0);
  }
  const short bucket = hash(name);
  short before;
  const short id = Find(name, bucket, &before);
  if (id < 0) {
    return -1;
  }
  const short next = chain[static_cast<unsigned int>(id)];
  if (before < 0) {
    buckets[static_cast<unsigned int>(bucket)] = next;
  } else {
    chain[static_cast<unsigned int>(before)] = next;
  }
  FreeCell(id);
  --nBusy_;
  return id;
}

short _NAME_TABLE::len(short id) const {
  if (id < 0 || static_cast<unsigned int>(id) >= nElem) {
    return 0;
  }
  const char* const cell = Cell(id);
  const std::size_t width = static_cast<std::size_t>(MARRAY::sizeElem);
  const void* const end = std::memchr(cell, 0, width);
  return end != nullptr ? static_cast<short>(static_cast<const char*>(end) - cell)
                        : MARRAY::sizeElem;
}

char* _NAME_TABLE::copy(char* const target, short id) const {
  const auto length = static_cast<std::size_t>(len(id));
  if (length != 0) {
    std::memcpy(target, Cell(id), length);
  }
  target[length] = 0;
  return target;
}

void _NAME_TABLE::empty() {
  MARRAY::empty();
  chain.empty();
  buckets.empty();
  nBusy_ = 0;
  firstFree = -1;
  onDuplicate = nullptr;
}

}  // namespace KRD
