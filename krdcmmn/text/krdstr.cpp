#include "krdcmmn/text/krdstr.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>

#include "krdcmmn/core/exception.h"
#include "krdcmmn/platform/codepage.h"
#include "krdcmmn/platform/modules.h"
#include "krdcmmn/text/krdstr_block.h"

namespace KRD {

namespace {

const char* TextOf(const char* s) {
  return s != nullptr ? s : "";
}

// The length of a source. Throws when no string can hold it.
int LengthOf(const char* s) {
  const std::size_t length = std::strlen(TextOf(s));
  if (length > static_cast<std::size_t>(kMostCharacters)) {
    ThrowException(new EXCEPTION(1, true));
  }
  return static_cast<int>(length);
}

std::size_t Bytes(int n) {
  return static_cast<std::size_t>(n);
}

bool IsSeparator(char c) {
  return c == '/' || c == '\\';
}

}  // namespace

// --- The block

void KRDSTR::Init() {
  buf = static_cast<char*>(std::malloc(2));
  cap = 1;
  if (buf == nullptr) {
    OutOfMemory(1);
  }
  buf[0] = buf[1] = 0;
}

void KRDSTR::AllocateBuffer(int n) {
  if (n > kMostCharacters) {
    ThrowException(new EXCEPTION(1, true));
  }
  const int new_cap = WithReserve(std::max(n, 0));
  const bool was_null = buf == nullptr;
  char* const block = static_cast<char*>(std::realloc(buf, Bytes(new_cap) + 1));
  if (block == nullptr) {
    OutOfMemory(new_cap);
  }
  buf = block;
  cap = new_cap;
  buf[cap] = 0;
  if (was_null) {
    buf[0] = 0;
  }
}

void KRDSTR::OutOfMemory(int new_cap) {
  std::free(buf);
  buf = nullptr;
  cap = new_cap;
  ThrowException(new EXCEPTION(1, true));
}

void KRDSTR::Adopt(char* block, int new_cap) {
  std::free(buf);
  buf = block;
  cap = new_cap;
}

bool KRDSTR::Holds(const char* s) const {
  const std::less<const char*> before;
  return buf != nullptr && !before(s, buf) && !before(buf + cap, s);
}

void KRDSTR::ConcatInPlace(const char* s, int n) {
  if (n < 1 || s == nullptr) {
    return;
  }
  const int length = size();
  if (n > kMostCharacters - length) {
    ThrowException(new EXCEPTION(1, true));
  }
  const int total = length + n;
  if (total >= Room()) {
    const bool own = Holds(s);
    const std::ptrdiff_t offset = own ? s - buf : 0;
    AllocateBuffer(total);
    if (own) {
      s = buf + offset;
    }
  }
  std::memmove(buf + length, s, Bytes(n));
  buf[total] = 0;
}

void KRDSTR::ConcatCopy(const char* a, int na, const char* b, int nb) {
  na = a != nullptr ? std::max(na, 0) : 0;
  nb = b != nullptr ? std::max(nb, 0) : 0;
  if (na < 1 && nb < 1) {
    return;
  }
  if (na > kMostCharacters - std::min(nb, kMostCharacters)) {
    ThrowException(new EXCEPTION(1, true));
  }
  // A new block, since both sources may lie in the old one.
  const int new_cap = WithReserve(na + nb);
  char* const block = static_cast<char*>(std::malloc(Bytes(new_cap) + 1));
  if (block == nullptr) {
    OutOfMemory(new_cap);
  }
  if (na > 0) {
    std::memcpy(block, a, Bytes(na));
  }
  if (nb > 0) {
    std::memcpy(block + na, b, Bytes(nb));
  }
  block[na + nb] = 0;
  block[new_cap] = 0;
  Adopt(block, new_cap);
}

// --- Life and assignment. Constructors delegate, so that a failure after Init frees the block.

KRDSTR::KRDSTR() {
  Init();
}

KRDSTR::KRDSTR(const KRDSTR& s) : KRDSTR() {
  const int length = s.size();
  AllocateBuffer(length);
  std::memcpy(buf, TextOf(s.buf), Bytes(length));
  buf[length] = 0;
}

KRDSTR::KRDSTR(char c, int n) : KRDSTR() {
  if (n < 1) {
    return;
  }
  AllocateBuffer(n);
  std::memset(buf, static_cast<unsigned char>(c), Bytes(n));
  buf[n] = 0;
}

KRDSTR::KRDSTR(const char* s) : KRDSTR() {
  const int length = LengthOf(s);
  if (length > 0) {
    AllocateBuffer(length);
    std::memcpy(buf, s, Bytes(length) + 1);
  }
}

KRDSTR::~KRDSTR() {
  std::free(buf);
  buf = nullptr;
  cap = 0;
}

const KRDSTR& KRDSTR::operator=(const KRDSTR& s) {
  if (this == &s) {
    return *this;
  }
  const int length = s.size();
  if (length == 0) {
    empty();
    return *this;
  }
  if (Room() < length) {
    AllocateBuffer(length);
  }
  std::memcpy(buf, s.buf, Bytes(length));
  buf[length] = 0;
  return *this;
}

const KRDSTR& KRDSTR::operator=(const char* s) {
  const int length = LengthOf(s);
  if (length == 0) {
    empty();
    return *this;
  }
  if (Room() < length + 1) {
    // A source in the own text that is as long as the block starts where the block starts.
    const bool own = Holds(s);
    AllocateBuffer(length);
    if (own) {
      s = buf;
    }
  }
  std::memmove(buf, s, Bytes(length));
  buf[length] = 0;
  return *this;
}

const KRDSTR& KRDSTR::operator=(char c) {
  if (Room() < 2) {
    AllocateBuffer(2);
  }
  buf[0] = c;
  buf[1] = 0;
  return *this;
}

const KRDSTR& KRDSTR::operator+=(const KRDSTR& s) {
  ConcatInPlace(s.buf, s.size());
  return *this;
}

const KRDSTR& KRDSTR::operator+=(const char* s) {
  ConcatInPlace(s, LengthOf(s));
  return *this;
}

const KRDSTR& KRDSTR::operator+=(char c) {
  ConcatInPlace(&c, 1);
  return *this;
}

void KRDSTR::empty() {
  AllocateBuffer(1);
  buf[0] = 0;
}

// --- Comparing

int KRDSTR::Compare(const char* s) const {
  // strcmp takes bytes as unsigned numbers.
  const int order = std::strcmp(TextOf(buf), TextOf(s));
  return (order > 0) - (order < 0);
}

int KRDSTR::CompareNoCase(const char* s) const {
  return _stricmp(TextOf(buf), TextOf(s));
}

bool KRDSTR::operator==(const KRDSTR& s) const {
  return Compare(s.buf) == 0;
}

bool KRDSTR::operator==(const char* s) const {
  return Compare(s) == 0;
}

bool KRDSTR::operator!=(const KRDSTR& s) const {
  return Compare(s.buf) != 0;
}

bool KRDSTR::operator!=(const char* s) const {
  return Compare(s) != 0;
}

bool KRDSTR::operator<(const KRDSTR& s) const {
  return Compare(s.buf) < 0;
}

bool KRDSTR::operator>(const KRDSTR& s) const {
  return Compare(s.buf) > 0;
}

// --- Reading

int KRDSTR::size() const {
  return IsNull() ? 0 : static_cast<int>(std::strlen(buf));
}

int KRDSTR::strlen() const {
  return size();
}

bool KRDSTR::IsEmpty() const {
  return IsNull() || buf[0] == 0;
}

char KRDSTR::operator[](int i) const {
  return i >= 0 && i <= Room() ? buf[i] : '\0';
}

int KRDSTR::Find(char c) const {
  const char* const text = TextOf(buf);
  const char* const found = std::strchr(text, c);
  return found != nullptr ? static_cast<int>(found - text) : -1;
}

int KRDSTR::ReverseFind(char c) const {
  const char* const text = TextOf(buf);
  const char* const found = std::strrchr(text, c);
  return found != nullptr ? static_cast<int>(found - text) : -1;
}

KRDSTR KRDSTR::Left(int n) const {
  return Mid(0, n);
}

KRDSTR KRDSTR::Right(int n) const {
  const int length = size();
  n = std::clamp(n, 0, length);
  return Mid(length - n, n);
}

KRDSTR KRDSTR::Mid(int first, int n) const {
  const std::int64_t length = size();
  const std::int64_t end =
      std::clamp(std::int64_t{first} + std::max(n, 0), std::int64_t{0}, length);
  first = std::max(first, 0);
  n = static_cast<int>(std::max(end - first, std::int64_t{0}));
  KRDSTR piece;
  piece.AllocateBuffer(n + 1);
  if (n > 0) {
    std::memcpy(piece.buf, buf + first, Bytes(n));
  }
  piece.buf[n] = 0;
  return piece;
}

const char* KRDSTR::GetFileName() const {
  if (IsEmpty()) {
    return nullptr;
  }
  const char* name = buf;
  for (const char* p = buf; *p != 0; ++p) {
    if (IsSeparator(*p)) {
      name = p + 1;
    }
  }
  return name;
}

// --- Changing

void KRDSTR::SetAt(int i, char c) {
  if (i >= 0 && i < Room()) {
    buf[i] = c;
  }
}

void KRDSTR::Delete(int index, int count) {
  const int length = size();
  if (index < 0 || index >= length || count < 1) {
    return;
  }
  count = std::min(count, length - index);
  std::memmove(buf + index, buf + index + count, Bytes(length - index - count) + 1);
}

void KRDSTR::Replace(char from, char to) {
  std::replace(buf, buf + size(), from, to);
}

char* KRDSTR::GetBuffer(int n) {
  if (n > Room()) {
    AllocateBuffer(n);
  }
  return buf;
}

void KRDSTR::ReleaseBuffer(int n) {
  if (buf == nullptr) {
    return;
  }
  if (n < 0) {
    const void* const end = std::memchr(buf, 0, Bytes(cap) + 1);
    n = end != nullptr ? static_cast<int>(static_cast<const char*>(end) - buf) : cap;
  }
  buf[std::min(n, cap)] = 0;
}

void KRDSTR::LoadStringA(unsigned int id, HINSTANCE module) {
  if (module == nullptr) {
    module = GetModuleHandleA(nullptr);
  }
  for (int room = 256;; room *= 2) {
    const std::unique_ptr<char, FREE> text(static_cast<char*>(std::calloc(Bytes(room), 1)));
    if (text == nullptr) {
      ThrowException(new EXCEPTION(1, true));
    }
    // A full buffer may have cut the text.
    const int copied = krplatform::LoadStringA(module, id, text.get(), room);
    if (copied != room - 1 || room > kMostCharacters / 2) {
      *this = text.get();
      return;
    }
  }
}

}  // namespace KRD
